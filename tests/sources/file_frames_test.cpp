// What a file source gives: its frames, in which format, and when.

#include <gtest/gtest.h>

#include <cmath>

#include "sources/file_support.h"
#include "support/allocation_count.h"

namespace zr {
namespace {

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

}  // namespace
}  // namespace zr
