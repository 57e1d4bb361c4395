// The file source on the virtual clock.

#include "sources/file_control.h"

#include <gtest/gtest.h>
#include <cmath>

#include <random>
#include <tuple>

#include "sources/co_zr_file.h"
#include "sources/file_support.h"
#include "support/allocation_count.h"
#include "support/stress.h"
#include "zr/class_ids.h"
#include "zr/events.h"
#include "zr/file.h"
#include "zr/format.h"
#include "zr/module.h"
#include "zr/object.h"
#include "zr/props.h"
#include "zr/transport.h"

namespace zr {
namespace {

class FileControlTest : public testing::Test {
protected:
    FileControlTest() {
        files.mapScripts[u"clip"] = {};
        files.mapScripts[u"film"] = {};
        files.mapScripts[u"film"].nRateNum = 24000;
        files.mapScripts[u"film"].nRateDen = 1001;
        files.mapScripts[u"film"].nFrames = 500;
    }
    VirtualClock clock;
    ScriptedFiles files;
};

TEST_F(FileControlTest, GivesEveryFrameOnceToAReaderOfAnyPace) {
    for (const int64_t nDelayMs : {0, 40, 1000}) {
        FileRig rig;
        rig.Play(u"clip", nullptr, 25);
        for (int64_t n = 0; n < 100; ++n) {
            const SCRIPT_FRAME frame = rig.Fetch();
            ASSERT_EQ(frame.nPicture, n);
            ASSERT_EQ(frame.eFlags, n == 0 ? eZrFF_Break : n == 99 ? eZrFF_Last : eZrFF_None) << n;
            ASSERT_EQ(frame.arrSamples[0], 1920 * n);
            SleepFor(nDelayMs * kMs);
        }
        EXPECT_EQ(rig.Events(), "start(clip) ");
    }
}

// The gain of a track counts for what goes out, a pause and its silence pass through the tracks too, and the frame that
// is held keeps its own sound.
TEST_F(FileControlTest, SendsItsSoundThroughItsTracks) {
    FileRig rig;
    ZrPtr<IZrAudioTrack> pTrack;
    ASSERT_EQ(rig.tracks.AudioTracksSetCount_I(1), S_OK);
    ASSERT_EQ(rig.tracks.AudioTrackAdd_I(0, nullptr, nullptr, nullptr), S_OK);
    ASSERT_EQ(rig.tracks.AudioTrackGetByIndex_I(0, nullptr, pTrack.Out()), S_OK);
    pTrack->TrackGainSet(-1, 20 * std::log10(0.5), 0);
    rig.Play(u"clip", nullptr, 25);
    for (int64_t n = 0; n < 20; ++n) {
        ZrPtr<IZrFFrame> pFrame;
        ASSERT_EQ(rig.Get(&pFrame), S_OK);
        const ZRF_FRAME_INFO info = InfoOf(*pFrame);
        ASSERT_EQ(info.avProps.audProps.nChannels, 2);
        const auto* const p = reinterpret_cast<const int32_t*>(info.lpAudio);
        const bool bHeld = (info.mTime.eFFlags & eZrFF_Pause) == eZrFF_Pause;
        EXPECT_EQ(p[2 * 20], bHeld ? 0 : (1920 * n + 20) / 2) << n;
        EXPECT_EQ(p[2 * 20 + 1], bHeld ? 0 : 1920 * n + 20) << "the added track has no gain";
        if (n == 10) rig.control.FilePlayPause(0);
    }
}

TEST_F(FileControlTest, SendsItsSoundByItsKeys) {
    FileRig rig;
    rig.Set(u"object::audio_channels", u"0,0");
    rig.Set(u"object::audio_gain", u"-6.0205999132796239, 0");
    rig.Play(u"clip", nullptr, 25);
    constexpr int64_t kBack = 7;  // the frame behind the last one is made when the keys are taken back
    for (int64_t n = 0; n < 10; ++n) {
        ZrPtr<IZrFFrame> pFrame;
        ASSERT_EQ(rig.Get(&pFrame), S_OK);
        const ZRF_FRAME_INFO info = InfoOf(*pFrame);
        const int32_t nChannels = info.avProps.audProps.nChannels;
        ASSERT_EQ(nChannels, n < kBack ? 2 : 1) << n;
        const auto* const p = reinterpret_cast<const int32_t*>(info.lpAudio) + nChannels * 20;
        const auto nSample = static_cast<double>(1920 * n + 20);
        const double dblOnTheWay = 0.5 * 20 / 1920;  // there in the first frame, and back in that one
        const double dblGain = n == 0 ? 1 - dblOnTheWay : n < kBack ? 0.5 : n == kBack ? 0.5 + dblOnTheWay : 1;
        EXPECT_NEAR(p[0], nSample * dblGain, 1) << n;
        if (n < kBack) {
            EXPECT_EQ(p[1], nSample) << n;
        }
        if (n == kBack - 2) {
            rig.Set(u"object::audio_channels", u"");
            rig.Set(u"object::audio_gain", u"");
        }
    }
}

TEST_F(FileControlTest, KeepsRealTimeByItself) {
    FileRig rig;
    ASSERT_EQ(rig.control.FileNameSet(u"film", u"start='no key'"), S_OK);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    SleepFor(10 * kTicksPerSecond);
    double dblPos = 0;
    EXPECT_EQ(rig.control.FilePosGet(&dblPos), S_OK);
    EXPECT_NEAR(dblPos, 10.0, 0.05);
    EXPECT_NEAR(rig.nFrames.load(), 239, 2);
}

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

TEST_F(FileControlTest, GrabsAFrameBesideItsPlaying) {
    FileRig rig;
    rig.BePulled();
    ZrPtr<IZrFFrame> pFrame;
    EXPECT_EQ(rig.control.FileFrameGet(1.0, 0, &pFrame), ZR_E_EMPTY);
    ASSERT_EQ(rig.control.FileNameSet(u"clip", nullptr), S_OK);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    for (int64_t n = 0; n < 5; ++n) {
        ASSERT_EQ(rig.Fetch().nPicture, n);
        ASSERT_EQ(rig.control.FileFrameGet(3.0 - 0.2 * static_cast<double>(n), 0, &pFrame), S_OK);
        const SCRIPT_FRAME frame(*pFrame);
        EXPECT_EQ(frame.nPicture, 75 - 5 * n);
        EXPECT_TRUE(frame.arrSamples.empty());
    }
}

TEST_F(FileControlTest, ShowsColoursInTheFormatThatCameWithTheName) {
    FileRig rig;
    rig.Set(u"object::rate_control", u"0");
    ASSERT_EQ(rig.control.FileNameSet(
                  u"red", u"width='1280' height='720' rate='50' interlace='progressive' pixel_format='UYVY'"),
              S_OK);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    const auto Next = [&] {
        ZrPtr<IZrFFrame> pFrame;
        EXPECT_EQ(rig.Get(&pFrame), S_OK);
        return pFrame ? InfoOf(*pFrame) : ZRF_FRAME_INFO();
    };
    ZRF_FRAME_INFO info = Next();
    EXPECT_EQ(info.avProps.vidProps.eVideoFormat, eZrVF_HD720_50p);
    EXPECT_EQ(info.avProps.vidProps.fccType, eZrFCC_UYVY);
    EXPECT_EQ(info.mTime.rtEndTime, 200'000);
    rig.BePulled(25);  // the mixer changes its rate
    for (int i = 0; i < 3; ++i) info = Next();
    EXPECT_EQ(info.mTime.rtEndTime - info.mTime.rtStartTime, 400'000);
    EXPECT_EQ(info.avProps.vidProps.nWidth, 1280);
    EXPECT_EQ(rig.Key(u"file::width"), u"");
    EXPECT_EQ(rig.Key(u"file::interlace"), u"");
}

TEST_F(FileControlTest, GivesTheSizeThatTheObjectIsAskedFor) {
    FileRig rig;
    rig.BePulled();
    ZR_VID_PROPS props{.fccType = eZrFCC_UYVY, .nWidth = 64, .nHeight = 32, .dblRate = 50};
    ASSERT_EQ(rig.format.VideoSet(eZrFT_Convert, &props), S_OK);
    ASSERT_EQ(rig.control.FileNameSet(u"clip", nullptr), S_OK);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    for (int64_t n = 0; n < 10; ++n) {
        ZrPtr<IZrFFrame> pFrame;
        ASSERT_EQ(rig.Get(&pFrame), S_OK);
        const ZRF_FRAME_INFO info = InfoOf(*pFrame);
        EXPECT_EQ(info.avProps.vidProps.nWidth, 64);
        EXPECT_EQ(info.avProps.vidProps.fccType, eZrFCC_UYVY);
        EXPECT_EQ(info.avProps.vidProps.dblRate, 50);
        EXPECT_EQ(info.mTime.rtStartTime, 200'000 * n);
        EXPECT_EQ(info.mTime.eFFlags, n == 0 ? eZrFF_Break : n % 2 ? eZrFF_Dup : eZrFF_None);
        EXPECT_EQ(info.lAudioSamples, 960);
        EXPECT_EQ(*reinterpret_cast<const int32_t*>(info.lpAudio), 960 * n);
    }
}

TEST_F(FileControlTest, CountsInTimeCode) {
    FileRig rig;
    rig.BePulled();
    ASSERT_EQ(rig.control.FileNameSet(u"clip", u"tc_start='10:00:00:00'"), S_OK);
    const ZR_TIMECODE tcIn{10, 0, 1, 0, eZrTCF_NonDropFrame, 0}, tcOut{10, 0, 2, 5, eZrTCF_NonDropFrame, 0};
    ASSERT_EQ(rig.control.FileInOutSetTC(&tcIn, &tcOut), S_OK);
    double dblIn = 0, dblOut = 0;
    ASSERT_EQ(rig.control.FileInOutGet(&dblIn, &dblOut, nullptr), S_OK);
    EXPECT_NEAR(dblIn, 1.0, 1e-6);
    EXPECT_NEAR(dblOut, 2.2, 1e-6);
    ZR_TIMECODE tc;
    int32_t bOut = 1;
    ASSERT_EQ(rig.control.FileInOutSetTC(nullptr, nullptr), S_OK);
    ASSERT_EQ(rig.control.FileInOutGetTC(nullptr, &tc, &bOut), S_OK);
    EXPECT_EQ(bOut, 0);
    EXPECT_EQ(TimecodeText(tc), u"10:00:03:24");
    ASSERT_EQ(rig.control.FilePosSetTC(&tcOut), S_OK);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    EXPECT_EQ(rig.Fetch().nPicture, 55);
    ASSERT_EQ(rig.control.FilePosGetTC(&tc), S_OK);
    EXPECT_EQ(TimecodeText(tc), u"10:00:02:05");
}

TEST_F(FileControlTest, TakesNothingFromTheHeapForAFrame) {
    FileRig rig;
    rig.BePulled(25);
    files.mapScripts[u"film"].nFrames = 100000;
    ASSERT_EQ(rig.control.FileNameSet(u"film", nullptr), S_OK);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    ZrPtr<IZrFFrame> pFrame;
    for (int n = 0; n < 200; ++n) ASSERT_EQ(rig.Get(&pFrame), S_OK);
    const int64_t nBefore = AllocationCount();
    for (int n = 0; n < 200; ++n) ASSERT_EQ(rig.Get(&pFrame), S_OK);
    EXPECT_EQ(AllocationCount() - nBefore, 0);
}

// The object by its class id, as a host has it.
TEST_F(FileControlTest, IsAnObjectWithAllItsFaces) {
    LinkFileSource();
    OwnConfig config;
    ZrPtr<IZrObject> pObject;
    ASSERT_EQ(ZrCreateInstance(kClsidZrFile, pObject), S_OK);
    const auto pFile = pObject.As<IZrFile>();
    const auto pProps = pObject.As<IZrProps>();
    const auto pSource = pObject.As<IZrSource>();
    ASSERT_TRUE(pFile && pProps && pSource && pObject.As<IZrFormat>() && pObject.As<IZrSource_I>() &&
                pObject.As<IZrSender_I>() && pObject.As<IZrEventsAdvise>());
    std::atomic<int32_t> nEvents{0};
    const PFOnEvent pfnEvent = [](int64_t _ll, const char16_t* _szName, const char16_t*, const char16_t*, IUnknown*) {
        if (std::u16string_view(_szName) == u"ZrFile") reinterpret_cast<std::atomic<int32_t>*>(_ll)->fetch_add(1);
        return S_OK;
    };
    pObject->ObjectCallbackSetFunc(reinterpret_cast<int64_t>(pfnEvent), 0, reinterpret_cast<int64_t>(&nEvents));
    ASSERT_EQ(pProps->PropsSet(u"object::rate_control", u"0"), S_OK);
    ASSERT_EQ(pFile->FileNameSet(u"clip", u"loop=1"), S_OK);
    ASSERT_EQ(pObject->ObjectCommandExecute(u"start", nullptr, nullptr, nullptr), S_OK);
    int64_t llReader = 0;
    ZrPtr<IZrFrame> pFrame;
    for (int64_t n = 0; n < 120; ++n) {
        ASSERT_EQ(pSource->SourceFrameGetEx(&llReader, kTicksPerSecond, pFrame.Out(), 0), S_OK);
        EXPECT_EQ(SCRIPT_FRAME(*pFrame.As<IZrFFrame>()).nPicture, n % 100);
    }
    EXPECT_EQ(pObject->ObjectFrameGet(pFrame.Out(), u"pixel_format=0"), S_OK);
    EXPECT_EQ(pObject->ObjectCommandExecute(u"pause", u"time=1.5", nullptr, nullptr), S_OK);
    eZrState eState = eZrS_Error;
    pObject->ObjectStateGet(&eState);
    EXPECT_EQ(eState, eZrS_Paused);
    SleepFor(kMs);
    EXPECT_EQ(nEvents.load(), 4);  // start, loop, start of the loop, pause
    EXPECT_EQ(pObject->ObjectClose(), S_OK);
    EXPECT_EQ(pSource->SourceFrameGetEx(&llReader, 0, pFrame.Out(), 0), E_ABORT);
}

// Three threads that do anything at any time, a fourth that fetches: no deadlock, nothing torn, nothing leaked.
void RunRandomControl(uint32_t _nSeed, int _nRounds, int32_t _nMostSleepMs) {
    ScriptedFiles files;
    files.mapScripts[u"clip"] = {};
    files.mapScripts[u"film"].nRateNum = 60;
    FileRig rig;
    files.mapScripts[u"live"].bLive = true;
    files.mapScripts[u"live"].rtFrameTime = kFrame25;
    files.mapScripts[u"pipe"].bSeekable = false;
    files.mapScripts[u"slow"].rtFrameTime = 30 * kMs;
    files.mapScripts[u"stall"].nStallAt = 10;
    std::atomic<bool> bDone{false};
    const auto Act = [&](uint32_t _nActSeed) {
        std::mt19937 engine(_nActSeed);
        const auto random = [&engine] { return static_cast<int32_t>(engine() >> 1); };
        constexpr const char16_t* arrNames[] = {u"clip", u"film",  u"live",  u"pipe",
                                                u"slow", u"stall", u"black", u"missing"};
        for (int i = 0; i < _nRounds; ++i) {
            double dbl = 0;
            ZrPtr<IZrFFrame> pFrame;
            switch (random() % 14) {
                case 0: rig.control.ObjectStart(); break;
                case 1: rig.control.ObjectClose(); break;
                case 2:
                    rig.control.FileNameSet(arrNames[random() % 8], random() % 2 ? u"loop=1" : u"in=0.5 out=1.5");
                    break;
                case 3: rig.control.FilePosSet(random() % 5, 0); break;
                case 4: rig.control.FilePlayPause((random() % 3) * 0.1); break;
                case 5: rig.control.FilePlayStop((random() % 3) * 0.1); break;
                case 6: rig.control.FileRateSet(0.5 + random() % 4); break;
                case 7: rig.control.FileInOutGet(nullptr, nullptr, &dbl); break;
                case 8: rig.Set(u"object::rate_control", random() % 2 ? u"0" : u"3"); break;
                case 9: rig.control.FileFrameGet(random() % 4, 0, &pFrame); break;
                case 10: rig.Set(u"file::loop", random() % 2 ? u"1" : u"0"); break;
                case 11: SleepFor(random() % _nMostSleepMs * kMs); break;
                default: rig.control.FilePlayStart(); break;
            }
        }
    };
    Thread arrThreads[3], fetcher;
    fetcher.Start("fetches", [&](ManualEvent&) {
        while (!bDone) {
            ZrPtr<IZrFFrame> pFrame;
            const HRESULT hr = rig.Get(&pFrame, 10 * kMs);
            if (hr == ZR_E_NOT_FOUND) rig.llReader = 0;
            SleepFor(kMs);  // or no time would pass
        }
    });
    for (uint32_t i = 0; i < 3; ++i)
        ASSERT_EQ(arrThreads[i].Start("controls", [&Act, i, _nSeed](ManualEvent&) { Act(_nSeed + i); }), S_OK);
    for (Thread& thread : arrThreads) thread.Join();
    EXPECT_EQ(rig.control.FileNameSet(u"clip", u"loop=1"), S_OK);
    rig.control.FileRateSet(1.0);
    rig.control.FilePlayStart();
    const int32_t nBefore = rig.nFrames;
    SleepFor(2 * kTicksPerSecond);
    EXPECT_GT(rig.nFrames, nBefore + 20);
    bDone = true;
    fetcher.Join();
}

TEST(FileControlStress, StandsRandomControlFromThreeThreads) {
    for (uint32_t nSeed = 10; nSeed <= 40 && !testing::Test::HasFailure(); nSeed += 10) {
        SCOPED_TRACE(nSeed);
        VirtualClock clock(nSeed);
        RunRandomControl(nSeed, StressRounds(1000), 100);
    }
}

// On the virtual clock threads take turns, which hides some races.
TEST(FileControlStress, StandsItInRealTimeToo) { RunRandomControl(50, 100, 5); }

TEST(FileTimecode, CountsAsTheClockDoes) {
    constexpr std::tuple<const char*, double, const char16_t*, int64_t> arrCases[] = {
        {"pal", 25, u"00:01:00:24", 1524},
        {"film", 24000 / 1001.0, u"01:00:00:00", 86400},
        {"ntsc", 30000 / 1001.0, u"00:01:00:00", 1800},
        {"drop_before", 30000 / 1001.0, u"00:00:59;29", 1799},
        {"drop_after", 30000 / 1001.0, u"00:01:00;02", 1800},
        {"drop_tenth", 30000 / 1001.0, u"00:10:00;00", 17982},
        {"drop_hour", 30000 / 1001.0, u"01:00:00;00", 107892},
        {"drop_late", 30000 / 1001.0, u"23:59:59;29", 2589407},
        {"no_drop_at_30", 30, u"00:01:00;00", 1800},
    };
    for (const auto& [szName, dblRate, szCode, nFrame] : arrCases) {
        SCOPED_TRACE(szName);
        ZR_TIMECODE tc;
        ASSERT_TRUE(ParseTimecode(szCode, &tc));
        const bool bDrop = (tc.eTCFlags & eZrTCF_DropFrame) != 0;
        const TimecodeRate rate(dblRate, bDrop);
        EXPECT_EQ(rate.FrameOf(tc), nFrame);
        EXPECT_EQ(TimecodeText(rate.CodeOf(nFrame)), dblRate == 30 ? u"00:01:00:00" : szCode);
    }
    for (const double dblRate : {23.976, 25.0, 29.97, 50.0, 59.94, 60.0, 120.0}) {
        for (const bool bDrop : {false, true}) {
            const TimecodeRate rate(dblRate, bDrop);
            for (int64_t n = 0; n < 500000; n += n < 80000 ? 1 : 997)
                ASSERT_EQ(rate.FrameOf(rate.CodeOf(n)), n) << dblRate;
        }
    }
    ZR_TIMECODE tc;
    for (const char16_t* sz :
         {u"", u"1:2:3", u"a:b:c:d", u"10:00:00:00x", u"10;00:00:00", u"-1:00:00:00", u"00:00:00:9999"})
        EXPECT_FALSE(ParseTimecode(sz, &tc));
}

}  // namespace
}  // namespace zr
