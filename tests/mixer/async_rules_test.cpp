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

ZR_VID_PROPS RateProps(double _dblRate, eZrInterlace _eInterlace) {
    ZR_VID_PROPS props;
    props.dblRate = _dblRate;
    props.eInterlace = _eInterlace;
    return props;
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
    std::vector<RATE_SLOT> arrSlots;
    for (const auto& [szName, dblRate, dblOutput, eFlags, arrStarts, slotsWanted, stepsWanted] : arrCases) {
        SCOPED_TRACE(szName);
        StreamRate rate;
        std::string slots, steps;
        for (const int64_t nMs : arrStarts) {
            ZR_TIME time;
            time.rtStartTime = nMs * 10'000;
            time.rtEndTime = time.rtStartTime + static_cast<int64_t>(1e7 / dblRate);
            time.eFFlags = eFlags;
            rate.Put(time, RateProps(dblRate, eZrI_Progressive), RateProps(dblOutput, eZrI_Progressive), arrSlots);
            slots += std::to_string(arrSlots.size());
            steps += rate.HasStepped() ? 'y' : 'n';
            for (size_t i = 1; i < arrSlots.size(); ++i)
                EXPECT_EQ(arrSlots[i].time.rtStartTime, arrSlots[i - 1].time.rtEndTime);
        }
        EXPECT_EQ(slots, slotsWanted);
        EXPECT_EQ(steps, stepsWanted);
    }
}

// A rate in whole numbers.
struct RATIO {
    int64_t nFrames, nSeconds;
    bool bFields;
    double Rate() const { return static_cast<double>(nFrames) / static_cast<double>(nSeconds); }
    ZR_VID_PROPS Props() const { return RateProps(Rate(), bFields ? eZrI_Field1First : eZrI_Progressive); }
    int64_t Ticks(int64_t _n) const { return (2 * _n * nSeconds * 10'000'000 + nFrames) / (2 * nFrames); }
};

// The source frame that is on screen a millisecond before slot _n of so many a frame: the first that begins then or
// later. -1: one begins at that very moment, as far as one can tell.
int64_t FrameAt(const RATIO& _source, const RATIO& _output, int64_t _n, int64_t _nParts) {
    const int64_t nUp = (1000 * _n * _output.nSeconds - _output.nFrames * _nParts) * _source.nFrames;
    const int64_t nDown = 1000 * _output.nFrames * _nParts * _source.nSeconds;
    if (nUp < 0) return 0;
    return nUp % nDown == 0 ? -1 : nUp / nDown + 1;
}

// What both fields of an output frame show: a frame and of it all (w), the first (1) or the second field (2); with a
// hyphen where nobody can tell.
std::string FieldsAt(const RATIO& _source, const RATIO& _output, bool _bLive, int64_t _n) {
    const auto Text = [](int64_t _nA, char _cA, int64_t _nB, char _cB) {
        return std::to_string(_nA) + _cA + " " + std::to_string(_nB) + _cB;
    };
    if (_output.bFields && !_source.bFields && _source.Rate() > 40)
        return Text(FrameAt(_source, _output, 2 * _n, 2), 'w', FrameAt(_source, _output, 2 * _n + 1, 2), 'w');
    const int64_t nFrame = FrameAt(_source, _output, _n, 1);
    int64_t nFirst = _n, nEnd = _n + 1;
    while (nFirst > 0 && FrameAt(_source, _output, nFirst - 1, 1) == nFrame) --nFirst;
    while (FrameAt(_source, _output, nEnd, 1) == nFrame) ++nEnd;
    if (_source.bFields && (FrameAt(_source, _output, nFirst - 1, 1) < 0 || FrameAt(_source, _output, nEnd, 1) < 0))
        return "-";
    const int64_t nAll = nEnd - nFirst;
    const bool bAsItIs = !_bLive && _source.Rate() == _output.Rate();
    const bool bWhole = !_source.bFields || bAsItIs || (_output.bFields && nAll == 1);
    const char c = bWhole ? 'w' : _n - nFirst < nAll - nAll / 2 ? '1' : '2';
    return Text(nFrame, c, nFrame, c);
}

// Against whole numbers, files and live sources.
TEST(AsyncRulesTest, EachFieldShowsTheFrameThatIsOnScreen) {
    std::vector<RATIO> arrSources;
    for (const bool bFields : {false, true})
        for (const auto& [n, s] :
             std::vector<std::pair<int, int>>{{24, 1}, {25, 1}, {30000, 1001}, {30, 1}, {50, 1}, {60000, 1001}})
            arrSources.push_back({n, s, bFields});
    const RATIO arrOutputs[] = {
        {25, 1, true}, {25, 1, false}, {50, 1, false}, {30000, 1001, true}, {60000, 1001, false}};
    for (const RATIO& source : arrSources) {
        for (const RATIO& output : arrOutputs) {
            for (const bool bLive : {false, true}) {
                SCOPED_TRACE(std::to_string(source.Rate()) + (source.bFields ? "i" : "p") + " into " +
                             std::to_string(output.Rate()) + (output.bFields ? "i" : "p") + (bLive ? " live" : ""));
                StreamRate rate;
                std::vector<RATE_SLOT> arrSlots;
                int64_t nKept = -1, nSlot = 0;
                for (int64_t n = 0; n < 2000; ++n) {
                    ZR_TIME time;
                    time.rtStartTime = source.Ticks(n);
                    time.rtEndTime = source.Ticks(n + 1);
                    time.eFFlags = bLive ? eZrFF_Live : eZrFF_None;
                    rate.Put(time, source.Props(), output.Props(), arrSlots);
                    // Of nearly equal rates alone a slot more or less is a step.
                    ASSERT_TRUE(!rate.HasStepped() || std::abs(source.Rate() - output.Rate()) < 0.1) << n;
                    for (const RATE_SLOT& slot : arrSlots) {
                        constexpr char arrParts[] = {'w', '1', '2', 'w'};
                        const char c = arrParts[static_cast<int>(slot.ePicture)];
                        const bool bWoven = slot.ePicture == SlotPicture::Woven;
                        ASSERT_TRUE(!bWoven || nKept >= 0);
                        const std::string shown = std::to_string(bWoven ? nKept : n) + c + " " + std::to_string(n) + c;
                        const std::string wanted = FieldsAt(source, output, bLive, nSlot);
                        ASSERT_TRUE(shown == wanted || wanted.find('-') != std::string::npos)
                            << "slot " << nSlot << ": " << shown << ", not " << wanted;
                        ASSERT_EQ(slot.time.rtStartTime, output.Ticks(nSlot)) << nSlot;
                        ASSERT_EQ(slot.time.rtEndTime, output.Ticks(++nSlot)) << nSlot;
                    }
                    if (rate.KeepsFrame()) nKept = n;
                }
                EXPECT_NEAR(static_cast<double>(nSlot), 2000 * output.Rate() / source.Rate(), 2.5);
            }
        }
    }
}

TEST(AsyncRulesTest, AnOpenFieldEndsWithItsLine) {
    StreamRate rate;
    std::vector<RATE_SLOT> arrSlots;
    const auto Put = [&](int64_t _nMs, eZrFrameFlags _eFlags, eZrInterlace _eOutput) {
        ZR_TIME time;
        time.rtStartTime = _nMs * 10'000;
        time.rtEndTime = time.rtStartTime + 200'000;
        time.eFFlags = _eFlags;
        rate.Put(time, RateProps(50, eZrI_Progressive), RateProps(25, _eOutput), arrSlots);
        return std::to_string(arrSlots.size()) + (rate.KeepsFrame() ? "k" : "");
    };
    EXPECT_EQ(Put(0, eZrFF_Break, eZrI_Field1First), "0k");
    EXPECT_EQ(Put(20, eZrFF_None, eZrI_Field1First), "1");
    EXPECT_EQ(arrSlots[0].time.eFFlags, eZrFF_Break);  // that of the frame which the slot begins with
    EXPECT_EQ(Put(40, eZrFF_None, eZrI_Field1First), "0k");
    EXPECT_EQ(Put(500, eZrFF_Break, eZrI_Field1First), "0k");
    EXPECT_EQ(Put(520, eZrFF_None, eZrI_Field2First), "0k");  // another output
    EXPECT_EQ(Put(540, eZrFF_None, eZrI_Field2First), "1");
    EXPECT_EQ(Put(560, eZrFF_None, eZrI_Field2First), "0k");
    EXPECT_EQ(Put(580, eZrFF_None, eZrI_Progressive), "1");
    EXPECT_EQ(arrSlots[0].ePicture, SlotPicture::Whole);
    // A gap in the source: what is missing is made up of the frame after it, but for the field that was open.
    EXPECT_EQ(Put(600, eZrFF_None, eZrI_Field1First), "0k");
    EXPECT_EQ(Put(660, eZrFF_None, eZrI_Field1First), "2");
    EXPECT_EQ(arrSlots[0].ePicture, SlotPicture::Woven);
    EXPECT_EQ(arrSlots[1].ePicture, SlotPicture::Whole);
}

}  // namespace
}  // namespace zr
