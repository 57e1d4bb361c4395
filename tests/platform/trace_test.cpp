#include "platform/trace.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/thread.h"
#include "support/stress.h"

namespace zr {
namespace {

// What _function writes to the standard error with these labels on, line by line.
template <class Function>
std::vector<std::string> Traced(const char* _szLabels, Function _function) {
    SetTraceLabels(_szLabels);
    testing::internal::CaptureStderr();
    _function();
    SetTraceLabels(nullptr);
    std::istringstream text(testing::internal::GetCapturedStderr());
    std::vector<std::string> arrLines;
    for (std::string strLine; std::getline(text, strLine);) arrLines.push_back(strLine);
    return arrLines;
}

TEST(Trace, OnlyLabelsThatBeginAsListedAreWritten) {
    const auto WriteAll = [] {
        for (const char* szLabel : {"DoMixing_I(Draw)", "DoMixing", "OnActiveDeq(MediaSend_I)", "[LoadFromRegistry]"})
            ZR_TRACE_MESSAGE(szLabel, "x");
    };
    struct LABEL_CASE {
        const char* szLabels;
        size_t nLines;
    };
    for (const LABEL_CASE& test : {LABEL_CASE{nullptr, 0},
                                   {"", 0},
                                   {" ,", 0},
                                   {"*", 4},
                                   {"DoMixing", 2},
                                   {"DoMixing_I", 1},
                                   {"Mixing", 0},
                                   {"x, [Load;OnActive", 2},
                                   {",*,", 4}}) {
        EXPECT_EQ(Traced(test.szLabels, WriteAll).size(), test.nLines) << (test.szLabels ? test.szLabels : "null");
    }
}

TEST(Trace, LineHasTimeThreadLabelAndText) {
    const auto arrLines = Traced("*", [] {
        VirtualClock clock(0, 5 * kTicksPerSecond, (3600 + 2 * 60 + 3) * kTicksPerSecond + 45);
        const TraceScope scope("outer");
        SleepFor(15'000);
        ZR_TRACE_MESSAGE("inner", "%d\n%s", 5, "five");
        ZR_TRACE_MESSAGE("long", "%s", std::string(5000, 'x').c_str());
    });
    ASSERT_EQ(arrLines.size(), 3u);
    const std::string strThread = "main " + std::to_string(CurrentThreadId());
    EXPECT_EQ(arrLines[0], "01:02:03.001504Z [" + strThread + "] inner: 5 five");
    EXPECT_EQ(arrLines[1].size(), 499u);
    EXPECT_EQ(arrLines[2], "01:02:03.001504Z [" + strThread + "] outer 1.500 ms");
}

TEST(Trace, ArgumentsAreNotEvaluatedWhenOff) {
    int nEvaluated = 0;
    ZR_TRACE_MESSAGE("label", "%d", ++nEvaluated);
    EXPECT_EQ(nEvaluated, 0);
}

TEST(Trace, LinesOfSeveralThreadsDoNotMix) {
    const auto arrLines = Traced("*", [] {
        OnThreads(3, [](int) {
            for (int n = 0; n < 100; ++n) ZR_TRACE_MESSAGE("label", "%s end", std::string(200, 'x').c_str());
        });
    });
    EXPECT_EQ(arrLines.size(), 300u);
    for (const std::string& strLine : arrLines) {
        ASSERT_TRUE(strLine.ends_with("x end"));
        ASSERT_EQ(strLine.find("label"), strLine.rfind("label"));
    }
}

}  // namespace
}  // namespace zr
