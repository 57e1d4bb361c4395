#include "platform/process.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <tuple>
#include <vector>

namespace zr {
namespace {

constexpr int64_t kPatience = 60 * kTicksPerSecond;  // far more than any of this takes

using Arguments = std::vector<std::u16string>;

Arguments Shell(const char16_t* _szScript) { return {u"/bin/sh", u"-c", _szScript}; }

TEST(Process, EndAndExitCodeAreNoticed) {
    constexpr std::tuple<const char*, const char16_t*, int32_t> arrCases[] = {
        {"at_once", u"exit 0", 0},
        {"with_a_code", u"exit 67", 67},
        {"by_a_signal", u"kill -TERM $$", -15},
        {"no_input", u"read line; exit $?", 1},
        {"later", u"sleep 0.05; exit 5", 5},
    };
    for (const auto& [szName, szScript, nExitCode] : arrCases) {
        SCOPED_TRACE(szName);
        ChildProcess child;
        ASSERT_EQ(child.Start(Shell(szScript)), S_OK);
        EXPECT_EQ(WaitAny({&child.Ended()}, kPatience), 0);
        EXPECT_EQ(child.ExitCode(), nExitCode);
    }
}

TEST(Process, ArgumentsArriveAsTheyAre) {
    ChildProcess child;
    ASSERT_EQ(child.Start(Arguments{u"/bin/sh", u"-c", u"test \"$#:$1:$2\" = \"2:a  'b\\$HOME:\u00e9\"", u"sh",
                                    u"a  'b$HOME", u"\u00e9"}),
              S_OK);
    ASSERT_EQ(child.Wait(kPatience), S_OK);
    EXPECT_EQ(child.ExitCode(), 0);
}

TEST(Process, ChildHasNoFilesOfOurs) {
    const Descriptor ours(dup(STDERR_FILENO));  // one that would be inherited
    const std::string strTest = "! test -e /proc/self/fd/" + std::to_string(ours.Get());
    ChildProcess child;
    ASSERT_EQ(child.Start(Shell(std::u16string(strTest.begin(), strTest.end()).c_str())), S_OK);
    ASSERT_EQ(child.Wait(kPatience), S_OK);
    EXPECT_EQ(child.ExitCode(), 0);
}

TEST(Process, StillRunsUntilKilledAndDoesNotOutliveItsObject) {
    uint32_t id = 0;
    {
        ChildProcess child;
        ASSERT_EQ(child.Start(Shell(u"trap '' TERM INT HUP; while :; do sleep 1; done")), S_OK);
        id = child.Id();
        EXPECT_EQ(child.Wait(0), ZR_E_TIMEOUT);
        EXPECT_EQ(child.ExitCode(), ChildProcess::kUnknownExit);
        EXPECT_TRUE(ProcessRuns(id));
        child.Kill();
        EXPECT_EQ(child.Wait(kPatience), S_OK);
        EXPECT_EQ(child.ExitCode(), -9);
        EXPECT_FALSE(ProcessRuns(id));
        ASSERT_EQ(child.Start(Shell(u"while :; do sleep 1; done")), S_OK);
        EXPECT_EQ(child.Wait(0), ZR_E_TIMEOUT);  // the end of the one before is forgotten
        id = child.Id();
    }
    EXPECT_FALSE(ProcessRuns(id));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was left behind";
}

TEST(Process, WhatCannotStartLeavesNothing) {
    ChildProcess child;
    EXPECT_EQ(child.Start(Arguments{u"/nowhere/program"}), ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(child.Start(Arguments{u"/"}), E_ACCESSDENIED);
    EXPECT_EQ(child.Start(Arguments{}), E_INVALIDARG);
    EXPECT_EQ(child.Start(Arguments{u"/bin/sh", std::u16string(u"a\0b", 3)}), E_INVALIDARG);
    EXPECT_EQ(child.Id(), 0u);
    EXPECT_EQ(child.Wait(-1), S_OK);
}

TEST(Process, EachWatchSetsItsOwnEventAndNoneAfterItsEnd) {
    ChildProcess first, second;
    ASSERT_EQ(first.Start(Shell(u"while :; do sleep 1; done")), S_OK);
    ASSERT_EQ(second.Start(Shell(u"while :; do sleep 1; done")), S_OK);
    ManualEvent evFirst, evSecond, evDropped;
    ProcessWatch watchFirst, watchSecond, watchDropped;
    ASSERT_EQ(watchFirst.Begin(first.Id(), evFirst), S_OK);
    ASSERT_EQ(watchSecond.Begin(second.Id(), evSecond), S_OK);
    ASSERT_EQ(watchDropped.Begin(second.Id(), evDropped), S_OK);
    watchDropped.End();
    second.Kill();
    EXPECT_EQ(WaitAny({&evFirst, &evSecond}, kPatience), 1);
    first.Kill();
    EXPECT_TRUE(WaitOne(evFirst, kPatience));
    EXPECT_FALSE(evDropped.IsSet());  // the end of the first was told after all that came before it
    first.Close();
    EXPECT_EQ(watchFirst.Begin(0, evFirst), ZR_E_NOT_FOUND);
    EXPECT_EQ(watchFirst.Begin(0xFFFFFFFFu, evFirst), ZR_E_NOT_FOUND);
    evFirst.Reset();
    ASSERT_EQ(watchFirst.Begin(second.Id(), evFirst), S_OK);  // ended, but not yet forgotten by the system
    EXPECT_TRUE(WaitOne(evFirst, kPatience));
}

TEST(Process, ProgramOfAProcessIsKnown) {
    ChildProcess child;
    ASSERT_EQ(child.Start(Arguments{u"/bin/sleep", u"60"}), S_OK);
    EXPECT_EQ(ExecutableName(child.Id()), u"sleep");
    EXPECT_EQ(ExecutableName(static_cast<uint32_t>(getpid())), u"test_platform");
    EXPECT_EQ(ExecutablePath(0), u"");
}

}  // namespace
}  // namespace zr
