// How a file source is controlled, on the virtual clock.

#include "sources/file_control.h"

#include <gtest/gtest.h>

#include <tuple>

#include "sources/file_support.h"

namespace zr {
namespace {

TEST_F(FileControlTest, LoopsBetweenItsPoints) {
    // nFirst, nEnd: pictures
    const std::tuple<const char*, const char16_t*, int64_t, int64_t, bool> arrCases[] = {
        {"whole", u"loop=1", 0, 100, true},
        {"points", u"loop=1 in=1.0 out=2.0", 25, 50, true},
        {"seamless", u"loop=1 no_breaks=1 in=1.0 out=2.0", 25, 50, false},
        {"from_the_end", u"loop=1 in=1.0 out=-2.5", 25, 38, true},  // 1.5 s: the frame at 1.48 is the last
        {"out_before_in", u"loop=1 in=3.0 out=2.0", 75, 100, true},
        {"by_mode", u"out_point.mode=loop in=3.0", 75, 100, true},
    };
    for (const auto& [szName, szParam, nFirst, nEnd, bBreaks] : arrCases) {
        SCOPED_TRACE(szName);
        FileRig rig;
        rig.Play(u"clip", szParam);
        int64_t nPicture = nFirst;
        for (int64_t n = 0; n < 250; ++n) {
            const SCRIPT_FRAME frame = rig.Fetch();
            ASSERT_EQ(frame.nPicture, nPicture) << n;
            const bool bBreak = n == 0 || (nPicture == nFirst && bBreaks);
            ASSERT_EQ(frame.eFlags, bBreak ? eZrFF_Break : eZrFF_None) << n;
            ASSERT_EQ(frame.arrSamples.at(0), 1920 * nPicture);
            if (++nPicture == nEnd) nPicture = nFirst;
        }
        EXPECT_NE(rig.Events().find("loop(clip) start(loop) "), std::string::npos);
    }
}

TEST_F(FileControlTest, LoopsWhatCannotBePositionedByOpeningItAnew) {
    files.mapScripts[u"pipe"].bSeekable = false;
    files.mapScripts[u"pipe"].nFrames = 10;
    FileRig rig;
    rig.Play(u"pipe", u"loop=1");
    for (int64_t n = 0; n < 25; ++n) ASSERT_EQ(rig.Fetch().nPicture, n % 10) << n;
}

TEST_F(FileControlTest, HoldsStopsOrEndsAtTheEnd) {
    {  // the last frame stays
        FileRig rig;
        rig.Play(u"clip", u"in=3.8");
        for (int64_t n = 95; n < 100; ++n) ASSERT_EQ(rig.Fetch().nPicture, n);
        for (int i = 0; i < 3; ++i) {
            const SCRIPT_FRAME frame = rig.Fetch();
            EXPECT_EQ(frame.nPicture, 99);
            EXPECT_EQ(frame.eFlags, eZrFF_Pause | eZrFF_Last);
            EXPECT_EQ(frame.arrSamples, std::vector<int32_t>(1920, 0));
        }
        EXPECT_EQ(rig.control.State(), eZrS_Running);
        ASSERT_EQ(rig.control.FilePlayStart(), S_OK);  // and begins again on request
        EXPECT_EQ(rig.Fetch().nPicture, 95);
    }
    for (const bool bStop : {true, false}) {
        FileRig rig;
        rig.BePulled();
        ASSERT_EQ(rig.control.FileNameSet(u"clip", bStop ? u"in=3.8 eof_stop=1" : u"in=3.8 out_point.mode=eof"), S_OK);
        for (int nTwice = 0; nTwice < 2; ++nTwice) {
            ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
            SleepFor(50 * kMs);  // until the first frame opens the readers again
            for (int64_t n = 95; n < 100; ++n) ASSERT_EQ(rig.Fetch().nPicture, n);
            ZrPtr<IZrFFrame> pFrame;
            EXPECT_EQ(rig.Get(&pFrame), Win32Error(1100));
            EXPECT_EQ(rig.control.State(), eZrS_Stopped);
            EXPECT_EQ(rig.Events(), "start(clip) stop(clip) ");
            double dblPos = 0;
            rig.control.FilePosGet(&dblPos);
            EXPECT_NEAR(dblPos, bStop ? 3.8 : 3.96, 0.001);
        }
    }
}

TEST_F(FileControlTest, PausesForATimeAndSteps) {
    FileRig rig;
    rig.BePulled();
    ASSERT_EQ(rig.control.FileNameSet(u"clip", nullptr), S_OK);
    ASSERT_EQ(rig.control.FilePlayPause(0), S_OK);  // from the start: the first frame shows
    SCRIPT_FRAME frame = rig.Fetch();
    EXPECT_EQ(frame.nPicture, 0);
    EXPECT_EQ(frame.eFlags, eZrFF_Break);
    EXPECT_EQ(rig.Fetch().eFlags, eZrFF_Pause);
    EXPECT_EQ(rig.control.State(), eZrS_Paused);
    ASSERT_EQ(rig.control.FilePlayPause(0), S_OK);  // a step
    int64_t nHeld = 0;
    while ((frame = rig.Fetch()).nPicture == 0) ASSERT_LT(++nHeld, 4);
    EXPECT_EQ(frame.nPicture, 1);
    EXPECT_EQ(frame.eFlags, eZrFF_Pause);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    while ((frame = rig.Fetch()).nPicture == 1) ASSERT_LT(++nHeld, 8);
    EXPECT_EQ(frame.nPicture, 2);
    EXPECT_EQ(frame.eFlags, eZrFF_None);
    EXPECT_EQ(rig.Events(), "pause(0.000) start(clip) ");

    ASSERT_EQ(rig.control.FilePlayPause(0.5), S_OK);
    double dblRemain = 0;
    ASSERT_EQ(rig.control.FileStateGet(nullptr, &dblRemain), S_OK);
    EXPECT_GT(dblRemain, 0.3);
    int64_t nPauses = 0, nPicture = 2;
    for (int n = 0; n < 30; ++n) {
        frame = rig.Fetch();
        if (frame.eFlags == eZrFF_Pause) {
            ++nPauses;
            ASSERT_EQ(frame.nPicture, nPicture);
            ASSERT_EQ(frame.arrSamples, std::vector<int32_t>(1920, 0));
        } else {
            ASSERT_EQ(frame.nPicture, ++nPicture);
            ASSERT_EQ(frame.eFlags, eZrFF_None);
        }
    }
    EXPECT_EQ(nPauses, 13);  // 12.5 of them
    EXPECT_EQ(rig.control.State(), eZrS_Running);
    EXPECT_EQ(rig.Events(), "pause(0.500) pause(pause-done) ");
}

TEST_F(FileControlTest, StopsAndGoesOnWhereItWas) {
    FileRig rig;
    rig.Play(u"clip");
    EXPECT_EQ(rig.control.FilePlayStart(), S_FALSE);
    for (int64_t n = 0; n < 10; ++n) ASSERT_EQ(rig.Fetch().nPicture, n);
    ASSERT_EQ(rig.control.FilePlayStop(0), S_OK);
    ZrPtr<IZrFFrame> pFrame;
    EXPECT_EQ(rig.Get(&pFrame), E_ABORT);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(rig.Get(&pFrame), E_ABORT);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    SleepFor(100 * kMs);
    SCRIPT_FRAME frame = rig.Fetch();
    EXPECT_GE(frame.nPicture, 10);
    EXPECT_LE(frame.nPicture, 13);
    EXPECT_EQ(frame.eFlags, eZrFF_Break);

    rig.Events();
    ASSERT_EQ(rig.control.FilePlayStop(2.0), S_OK);
    EXPECT_EQ(rig.control.State(), eZrS_Stopped);
    SleepFor(3 * kTicksPerSecond);
    EXPECT_EQ(rig.control.State(), eZrS_Running);
    EXPECT_EQ(rig.Events(), "stop(2.000) start(clip) ");
}

TEST_F(FileControlTest, GoesToPositionsInEveryState) {
    FileRig rig;
    rig.BePulled();
    ASSERT_EQ(rig.control.FileNameSet(u"clip", nullptr), S_OK);
    ASSERT_EQ(rig.control.FilePosSet(2.0, 1.0), S_OK);  // stopped
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    SCRIPT_FRAME frame = rig.Fetch();
    EXPECT_EQ(frame.nPicture, 50);
    EXPECT_EQ(frame.eFlags, eZrFF_Break);
    for (int64_t n = 51; n < 60; ++n) ASSERT_EQ(rig.Fetch().nPicture, n);

    for (const int64_t nAhead : {0, 1, 100}) {  // running: the frames that are ready or on their way are never seen
        SleepFor(nAhead * kMs);
        ASSERT_EQ(rig.control.FilePosSet(1.0, 0), S_OK);
        frame = rig.Fetch();
        EXPECT_EQ(frame.nPicture, 25) << nAhead;
        EXPECT_EQ(frame.eFlags, eZrFF_Break);
        EXPECT_EQ(rig.Fetch().nPicture, 26);
    }

    ASSERT_EQ(rig.control.FilePlayPause(0), S_OK);
    for (int i = 0; i < 5; ++i) rig.Fetch();
    ASSERT_EQ(rig.control.FilePosSet(3.0, 0), S_OK);  // paused: its picture shows
    frame = rig.Fetch();
    EXPECT_EQ(frame.nPicture, 75);
    EXPECT_EQ(frame.eFlags, eZrFF_Break);
    EXPECT_EQ(rig.Fetch().eFlags, eZrFF_Pause);
    double dblPos = 0;
    rig.control.FilePosGet(&dblPos);
    EXPECT_NEAR(dblPos, 3.0, 0.001);

    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    ASSERT_EQ(rig.control.FilePosSet(1000.0, 0), S_OK);  // behind the end: the last frame
    for (int i = 0; i < 3; ++i) frame = rig.Fetch();
    EXPECT_EQ(frame.nPicture, 99);
}

TEST_F(FileControlTest, TellsWhyAFileCannotBeOpenedAndPlaysOn) {
    files.mapScripts[u"broken"].hrOpen = ZR_E_INVALID_DATA;
    FileRig rig;
    rig.BePulled();
    EXPECT_EQ(rig.control.FilePlayStart(), ZR_E_EMPTY);
    EXPECT_EQ(rig.control.FileNameSet(u"missing", nullptr), ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(rig.Key(u"info::error"), u"There is no such file.");
    EXPECT_EQ(rig.Events(), "error(missing) ");
    ASSERT_EQ(rig.control.FileNameSet(u"clip", u"in=1"), S_OK);
    EXPECT_EQ(rig.Key(u"info::error"), u"");
    EXPECT_EQ(rig.Key(u"info::format"), u"script");
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    EXPECT_EQ(rig.Fetch().nPicture, 25);
    EXPECT_EQ(rig.control.FileNameSet(u"broken", u"in=2"), ZR_E_INVALID_DATA);
    EXPECT_EQ(rig.Key(u"info::error"), u"The script says no.");
    EXPECT_EQ(rig.Fetch().nPicture, 26);
    EXPECT_EQ(rig.control.FileName(), u"clip");
    double dblIn = 0, dblOut = 0, dblDuration = 0;
    ASSERT_EQ(rig.control.FileInOutGet(&dblIn, &dblOut, &dblDuration), S_OK);
    EXPECT_EQ(dblIn, 1.0);
    EXPECT_EQ(dblOut, -1.0);
    EXPECT_EQ(dblDuration, 4.0);

    SleepFor(kTicksPerSecond / 10);                              // the next frame of the clip is ready
    ASSERT_EQ(rig.control.FileNameSet(u"film", nullptr), S_OK);  // takes over at once, with a break
    const SCRIPT_FRAME frame = rig.Fetch();
    EXPECT_EQ(frame.eFlags, eZrFF_Break);
    EXPECT_EQ(frame.nPicture, 0);
    EXPECT_EQ(rig.Fetch().rtEnd, 834'167);
}

TEST_F(FileControlTest, EndsAtWhatCannotBeRead) {
    files.mapScripts[u"clip"].nFailAt = 5;
    FileRig rig;
    rig.Play(u"clip");
    for (int64_t n = 0; n < 5; ++n) ASSERT_EQ(rig.Fetch().nPicture, n);
    EXPECT_EQ(rig.Fetch().eFlags, eZrFF_Pause | eZrFF_Last);
    EXPECT_EQ(rig.Events(), "start(clip) error(The script says no.) ");
}

TEST_F(FileControlTest, ClosesWhileTheFileDoesNotAnswer) {
    files.mapScripts[u"clip"].nStallAt = 3;
    files.mapScripts[u"slow"].bOpenHangs = true;
    FileRig rig;
    rig.Play(u"clip");
    for (int64_t n = 0; n < 3; ++n) ASSERT_EQ(rig.Fetch().nPicture, n);
    ZrPtr<IZrFFrame> pFrame;
    EXPECT_EQ(rig.Get(&pFrame, 250 * kMs), ZR_E_TIMEOUT);
    int64_t rtBefore = ClockNow();
    EXPECT_EQ(rig.control.FilePosSet(1.0, 0), S_OK);  // controls do not wait for it
    EXPECT_LT(ClockNow() - rtBefore, 50 * kMs);
    EXPECT_EQ(rig.Fetch().nPicture, 25);

    HRESULT hrOpen = S_OK;
    Thread thread;
    ASSERT_EQ(thread.Start("opens", [&](ManualEvent&) { hrOpen = rig.control.FileNameSet(u"slow", nullptr); }), S_OK);
    SleepFor(kTicksPerSecond);
    rtBefore = ClockNow();
    EXPECT_EQ(rig.control.ObjectClose(), S_OK);
    EXPECT_LT(ClockNow() - rtBefore, 100 * kMs);
    thread.Join();
    EXPECT_EQ(hrOpen, E_ABORT);
    EXPECT_EQ(rig.control.State(), eZrS_Closed);
    EXPECT_EQ(rig.Get(&pFrame, 0), E_ABORT);
    ASSERT_EQ(rig.control.ObjectStart(), S_OK);  // the name is kept
    EXPECT_EQ(rig.control.ObjectStart(), S_FALSE);
    EXPECT_EQ(rig.control.State(), eZrS_Stopped);
}

TEST_F(FileControlTest, PlaysFasterAndSlower) {
    FileRig rig;
    rig.BePulled();
    ASSERT_EQ(rig.control.FileNameSet(u"clip", nullptr), S_OK);
    EXPECT_EQ(rig.control.FileRateSet(-1.0), E_NOTIMPL);
    EXPECT_EQ(rig.control.FileRateSet(0), E_INVALIDARG);
    EXPECT_EQ(rig.control.FileRateSet(1.0005), S_FALSE);
    ASSERT_EQ(rig.control.FileRateSet(2.0), S_OK);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    for (int64_t n = 0; n < 20; ++n) {
        const SCRIPT_FRAME frame = rig.Fetch();
        ASSERT_EQ(frame.nPicture, 2 * n);
        ASSERT_EQ(frame.rtStart, n * kFrame25);
        ASSERT_EQ(frame.arrSamples, std::vector<int32_t>(1920, 0));
    }
}

}  // namespace
}  // namespace zr
