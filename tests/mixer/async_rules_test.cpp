// The rules of asynchronous mixing that need no thread: whom a cycle waits for, for how long, and what becomes of
// frames of another rate.

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "mixer/async_collect.h"
#include "mixer/async_pace.h"
#include "mixer/stream_rate.h"

namespace zr {
namespace {

// A stream a letter each: R running, d drops, m master, w must be waited for, v visible, l locked.
WAIT_INPUT Stream(const std::string& _str) {
    const auto Has = [&](char _c) { return _str.find(_c) != std::string::npos; };
    return {Has('R'), Has('d'), Has('m'), Has('w'), Has('v'), Has('l')};
}

std::string Text(const std::vector<size_t>& _arr) {
    std::string str;
    for (const size_t n : _arr) str += std::to_string(n);
    return str;
}

TEST(AsyncRulesTest, WhomACycleWaitsFor) {
    struct CASE {
        const char* szName;
        std::vector<std::string> arrStreams;
        bool bWaitAll, bOwn;
        const char *szRequired, *szPace, *szOptional, *szSkip;
        bool bLocked;
    };
    const CASE arrCases[] = {
        {"nobody", {}, true, true, "", "", "", "", false},
        {"files are always current", {"Rw", "Rwl"}, true, true, "01", "", "", "", true},
        {"live ones by the pace", {"R", "Rw", "Rl"}, true, true, "1", "02", "", "", true},
        {"unseen live ones not at all", {"R", "Rv"}, false, true, "", "1", "0", "0", false},
        {"unseen, nobody else, own frame", {"Rl", "R"}, false, true, "", "01", "01", "01", false},
        {"unseen, nobody else, background", {"R", "R"}, false, false, "", "", "01", "01", false},
        {"all drop, own frame", {"Rd", "Rdw"}, true, true, "", "01", "01", "01", false},
        {"all drop, background", {"Rd", "Rdm"}, true, false, "", "", "01", "01", false},
        {"a master clears those before it", {"Rwl", "R", "Rm"}, true, true, "2", "", "", "", false},
        {"nobody after a master", {"Rml", "Rw", "R", "Rd"}, true, true, "0", "", "", "3", true},
        {"two masters are both waited for", {"R", "Rm", "Rw", "Rm"}, true, true, "13", "", "", "", false},
        {"a master that drops is none", {"Rmd", "Rw"}, true, true, "1", "", "0", "0", false},
        {"what is before a master stays optional", {"Rd", "Rm"}, true, true, "1", "", "0", "0", false},
        {"a source that has ended", {"mw", "w", "d"}, true, true, "", "", "", "2", false},
    };
    WAIT_LISTS lists;
    for (const CASE& c : arrCases) {
        SCOPED_TRACE(c.szName);
        std::vector<WAIT_INPUT> arrInputs;
        for (const std::string& str : c.arrStreams) arrInputs.push_back(Stream(str));
        CollectWaits(arrInputs, c.bWaitAll, c.bOwn, lists);
        EXPECT_EQ(Text(lists.arrRequired), c.szRequired);
        EXPECT_EQ(Text(lists.arrPace), c.szPace);
        EXPECT_EQ(Text(lists.arrOptional), c.szOptional);
        EXPECT_EQ(Text(lists.arrSkip), c.szSkip);
        EXPECT_EQ(lists.bLocked, c.bLocked);
    }
}

TEST(AsyncRulesTest, ThePaceIsTheMeanOfTheLastCycles) {
    // At 25 frames a second; the last ones after a change to 50.
    const std::tuple<int64_t, int64_t, int64_t> arrCycles[] = {
        {0, 400'000, -400'000},          // the first one waits a frame
        {100'000, 400'000, -700'000},    // far too early
        {700'000, 400'000, -500'000},    // 0.7 of 1.2 passed
        {1'300'000, 400'000, -300'000},  // late, less than half a frame
        {1'800'000, 400'000, -200'000},  // late by half a frame exactly: not forgotten
        {2'400'000, 400'000, 0},         // late: forgets what was
        {2'450'000, 400'000, -400'000},  // and begins anew
        {2'500'000, 200'000, -200'000},  // another rate, too
        {2'550'000, 200'000, -350'000},
    };
    PaceHistory pace;
    for (const auto& [rtNow, rtFrame, rtInterval] : arrCycles)
        EXPECT_EQ(pace.Interval(rtNow, rtFrame, false, 0), rtInterval) << rtNow;
}

TEST(AsyncRulesTest, AReceiverOrAKeyMayGiveThePace) {
    PaceHistory pace;
    EXPECT_EQ(pace.Interval(0, 400'000, true, 0), -363'636);  // 400000 / 1.1
    EXPECT_EQ(pace.Interval(0, 400'000, false, 2.0), -200'000);
    EXPECT_EQ(pace.Interval(9'000'000, 400'000, true, 2.0), -200'000);  // whatever was before
    EXPECT_EQ(pace.Interval(9'000'000, 333'667, true, 3.0), -111'222);
    PaceHistory late;
    late.Interval(0, 400'000, false, 2.0);
    // The fixed wait has not forgotten the first stamp: 0.7 - 0.8.
    EXPECT_EQ(late.Interval(700'000, 400'000, false, 0.00001), -100'000);
}

TEST(AsyncRulesTest, AHundredCyclesAreRemembered) {
    PaceHistory pace;
    for (int64_t n = 0; n < 250; ++n) ASSERT_EQ(pace.Interval(400'000 * n, 400'000, false, 0), -400'000) << n;
    // One cycle comes 0.1 late: the others are on their line, and 99 later it is not remembered as the first any more.
    int64_t rt = 400'000 * 249;
    EXPECT_EQ(pace.Interval(rt += 500'000, 400'000, false, 0), -300'000);
    for (int n = 0; n < 98; ++n) ASSERT_EQ(pace.Interval(rt += 400'000, 400'000, false, 0), -300'000) << n;
    EXPECT_EQ(pace.Interval(rt += 400'000, 400'000, false, 0), -400'000);
}

TEST(AsyncRulesTest, FramesOfAnotherRateFillTheSlotsOfTheOutput) {
    constexpr auto eLive = eZrFF_Live;
    // arrStarts: ms; slots, steps: of each frame: how many; a step: y
    const std::tuple<const char*, double, double, eZrFrameFlags, std::vector<int64_t>, std::string, std::string>
        arrCases[] = {
            {"same rate", 25, 25, eZrFF_None, {0, 40, 80, 500}, "1111", "nnnn"},
            {"25 to 50", 25, 50, eZrFF_None, {0, 40, 80, 120}, "1222", "nnnn"},
            {"50 to 25", 50, 25, eZrFF_None, {0, 20, 40, 60, 80}, "10101", "nnnnn"},
            // Slots at 0, 40, 80, ...: 33 is early, 67 fills 40, 100 fills 80, and so on: one of six is left out.
            {"30 to 25", 30, 25, eZrFF_None, {0, 33, 67, 100, 133, 167, 200, 233}, "10111110", "nnnnnnnn"},
            // Slots at 0, 40, ...: each frame is later by 1.7, until one is late by a whole slot.
            {"24 to 25",
             24,
             25,
             eZrFF_None,
             {0,   42,  83,  125, 167, 208, 250, 292, 333, 375, 417, 458,  500,
              542, 583, 625, 667, 708, 750, 792, 833, 875, 917, 958, 1000, 1042},
             "11111111111111111111111121",
             "nnnnnnnnnnnnnnnnnnnnnnnnnn"},
            {"live ones jump and are filled up", 25, 25, eLive, {0, 40, 120, 160}, "1121", "nnyn"},
            {"live ones are early and left out", 25, 25, eLive, {0, 40, 70, 120}, "1102", "nnyy"},
            {"a clock that stands begins anew",
             50,
             25,
             eZrFF_None,
             {0, 20, 40, 60, 50, 50, 50, 50, 50},
             "101001001",
             "nnnnnnnnn"},
            {"a jump begins anew", 25, 50, eZrFF_None, {0, 40, 9000, 9040, 10, 50}, "121212", "nnnnnn"},
        };
    std::vector<ZR_TIME> arrSlots;
    for (const auto& [szName, dblRate, dblOutput, eFlags, arrStarts, slotsWanted, stepsWanted] : arrCases) {
        SCOPED_TRACE(szName);
        StreamRate rate;
        std::string slots, steps;
        for (const int64_t nMs : arrStarts) {
            ZR_TIME time;
            time.rtStartTime = nMs * 10'000;
            time.rtEndTime = time.rtStartTime + static_cast<int64_t>(1e7 / dblRate);
            time.eFFlags = eFlags;
            rate.Put(time, dblRate, dblOutput, arrSlots);
            slots += std::to_string(arrSlots.size());
            steps += rate.HasStepped() ? 'y' : 'n';
            for (size_t i = 1; i < arrSlots.size(); ++i) EXPECT_EQ(arrSlots[i].rtStartTime, arrSlots[i - 1].rtEndTime);
        }
        EXPECT_EQ(slots, slotsWanted);
        EXPECT_EQ(steps, stepsWanted);
    }
}

}  // namespace
}  // namespace zr
