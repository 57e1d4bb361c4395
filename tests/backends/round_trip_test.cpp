// What the writer makes of frames, the worker gives back: their number, times, pictures and samples.

#include <cstdlib>

#include "backends/clip_support.h"
#include "support/stress.h"

namespace zr {
namespace {

constexpr int kFrames = 100;

struct ROUND_TRIP {
    const char* szName;
    const char* szFile;
    const char16_t* szParam;
    CLIP_FORMAT format;
    eZrFCC fccRead;    // what the pictures come back as
    bool bExactSound;  // the samples come back as they were
};

constexpr RATE k25 = {25, 1}, k2997 = {30000, 1001}, k2398 = {24000, 1001}, k5994 = {60000, 1001}, k50 = {50, 1};
constexpr char16_t szPcm[] = u"audio.codec=pcm_s16le";
constexpr CLIP_FORMAT Small(eZrFCC _fcc, RATE _rate, int32_t _nChannels = 2) {
    return {_fcc, 320, 192, _rate, _nChannels};
}
constexpr CLIP_FORMAT kV210 = {eZrFCC_v210, 336, 192, k25, 2}, kHd = {eZrFCC_HDYC, 1280, 720, k50, 2},
                      kPal = {eZrFCC_UYVY, 720, 576, k25, 2, eZrI_Field1First};

const ROUND_TRIP arrTrips[] = {
    {"mp4_h264_aac", "a.mp4", nullptr, Small(eZrFCC_I420, k25), eZrFCC_I420, false},
    {"mp4_2997_from_uyvy", "a.mp4", nullptr, Small(eZrFCC_UYVY, k2997), eZrFCC_I420, false},
    {"mkv_2398_from_rgb", "a.mkv", nullptr, Small(eZrFCC_ARGB32, k2398, 1), eZrFCC_I420, false},
    {"mkv_2997_ms_stamps", "a.mkv", szPcm, Small(eZrFCC_I420, k2997), eZrFCC_I420, true},
    {"mov_5994_pcm", "a.mov", szPcm, Small(eZrFCC_NV12, k5994), eZrFCC_I420, true},
    {"mov_prores_v210", "a.mov", u"video.codec=prores audio.codec=pcm_s16le", kV210, eZrFCC_v210, true},
    {"ts_50", "a.ts", nullptr, Small(eZrFCC_YUY2, k50), eZrFCC_I420, false},
    {"nut_raw_uyvy", "a.nut", u"video.codec=rawvideo audio.codec=pcm_s16le", Small(eZrFCC_UYVY, k2997, 6), eZrFCC_UYVY,
     true},
    {"nut_raw_hd_is_hdyc", "a.nut", u"video.codec=rawvideo audio.codec=flac", kHd, eZrFCC_HDYC, true},
    {"mov_alpha", "a.mov", u"video.codec=qtrle audio.codec=pcm_s16le", Small(eZrFCC_ARGB32, k25), eZrFCC_ARGB32, true},
    {"mpeg2_interlaced", "a.mkv", u"video.codec=mpeg2video audio.codec=pcm_s16le", kPal, eZrFCC_I420, true},
    {"no_sound", "a.mp4", nullptr, Small(eZrFCC_I420, k25, 0), eZrFCC_I420, false},
    {"hls_list", "a.m3u8", nullptr, Small(eZrFCC_I420, k25), eZrFCC_I420, false},
};

class RoundTrip : public ClipTest {
protected:
    // Exact for whole samples; for a lossy codec, that there is sound as loud as what went in.
    static void CheckSound(const ROUND_TRIP& _trip, IZrFFrame& _frame, int _nFrame) {
        int32_t cb = 0;
        int64_t lp = 0;
        ASSERT_EQ(_frame.ZrFAudioGetBytes(&cb, &lp), S_OK);
        const RATE rate = _trip.format.rate;
        const int64_t nFirst = FrameSample(rate, _nFrame), nSamples = FrameSample(rate, _nFrame + 1) - nFirst;
        const int nChannels = _trip.format.nChannels;
        ASSERT_EQ(cb, nSamples * nChannels * 2);
        const auto* p = reinterpret_cast<const int16_t*>(lp);
        int64_t nWrong = 0, nLoud = 0;
        for (int64_t i = 0; i < nSamples; ++i)
            for (int n = 0; n < nChannels; ++n, ++p) {
                nWrong += *p != SampleValue(nFirst + i, n);
                nLoud += std::abs(*p) > 1000;
            }
        if (_trip.bExactSound) {
            EXPECT_EQ(nWrong, 0) << "in frame " << _nFrame;
        } else if (nChannels > 0) {
            EXPECT_GT(nLoud, nSamples * nChannels / 2) << "in frame " << _nFrame;
        }
    }
};

TEST_F(RoundTrip, FramesComeBack) {
    // Threads meet in the same way whatever is written; a slow build draws and compares the least.
    const bool bSlow = StressRounds(10) == 1;
    for (const ROUND_TRIP& trip : arrTrips) {
        if (bSlow && trip.format.fccType != eZrFCC_I420) continue;
        SCOPED_TRACE(trip.szName);
        const RATE rate = trip.format.rate;
        const std::string strPath = Path(trip.szFile);
        const ZR_WRITER_STATE state = WriteClip(strPath, trip.format, kFrames, trip.szParam);
        EXPECT_EQ(state.nFrames, kFrames);
        EXPECT_EQ(state.nSamples, trip.format.nChannels > 0 ? FrameSample(rate, kFrames) : 0);
        EXPECT_EQ(state.nDropped, 0);

        const ZrPtr<IZrFileWorker_I> pWorker = NewWorker();
        ASSERT_EQ(Open(*pWorker, strPath), S_OK) << ErrorOf(*pWorker, &IZrFileWorker_I::WorkerErrorGet);
        ZR_FILE_INFO info;
        ASSERT_EQ(pWorker->WorkerInfoGet(&info, nullptr), S_OK);
        EXPECT_EQ(info.vidProps.fccType, trip.fccRead);
        EXPECT_NEAR(info.vidProps.dblRate, static_cast<double>(rate.nNum) / static_cast<double>(rate.nDen), 1e-9);
        EXPECT_EQ(info.audProps.nChannels, trip.format.nChannels);
        EXPECT_EQ(info.vidProps.eInterlace, trip.format.eInterlace);

        int nFrame = 0;
        for (HRESULT hr = S_OK;; ++nFrame) {
            ZrPtr<IZrFFrame> pFrame;
            hr = pWorker->WorkerFrameGet(10 * kTicksPerSecond, pFrame.Out());
            if (hr == kMediaEnded) break;
            ASSERT_EQ(hr, S_OK);
            ZR_TIME time;
            pFrame->ZrFTimeGet(&time);
            ASSERT_EQ(time.rtStartTime, FrameStart(rate, nFrame));
            ASSERT_EQ(time.rtEndTime, FrameStart(rate, nFrame + 1));
            ASSERT_EQ((time.eFFlags & eZrFF_Break) != 0, nFrame == 0) << nFrame;
            ASSERT_EQ((time.eFFlags & eZrFF_Last) != 0, nFrame == kFrames - 1) << nFrame;
            ASSERT_EQ(NumberOf(*pFrame), nFrame);
            CheckSound(trip, *pFrame, nFrame);
        }
        EXPECT_EQ(nFrame, kFrames);
    }
}

struct SEEK_CASE {
    const char* szName;
    const char* szFile;
    const char16_t* szParam;
    RATE rate;
};

TEST_F(RoundTrip, SeekGivesTheFrameShownThen) {
    const SEEK_CASE arrCases[] = {
        {"mp4", "a.mp4", nullptr, k25},
        {"mov", "a.mov", u"audio.codec=pcm_s16le video.options='g=250:bf=3'", k2997},
        {"ts_without_index", "a.ts", u"video.options='g=250:bf=3'", k25},
        {"mkv_with_stamps_in_ms", "a.mkv", u"audio.codec=pcm_s16le", k2398},
    };
    for (const SEEK_CASE& seek : arrCases) {
        SCOPED_TRACE(seek.szName);
        const bool bPcm = std::u16string_view(seek.szParam ? seek.szParam : u"").find(u"pcm") != std::u16string::npos;
        const ROUND_TRIP trip{seek.szName, seek.szFile, seek.szParam, Small(eZrFCC_I420, seek.rate), eZrFCC_I420, bPcm};
        WriteClip(Path(seek.szFile), trip.format, kFrames, seek.szParam);
        const ZrPtr<IZrFileWorker_I> pWorker = NewWorker();
        ASSERT_EQ(Open(*pWorker, Path(seek.szFile)), S_OK);
        const double dblFrame = static_cast<double>(seek.rate.nDen) / static_cast<double>(seek.rate.nNum);
        for (const double dblFrames : {50.0, 0.0, 99.0, 37.5, 0.9, 98.99, 61.0, 60.0}) {
            SCOPED_TRACE(dblFrames);
            const int nWanted = static_cast<int>(dblFrames);
            ASSERT_EQ(pWorker->WorkerSeek(dblFrames * dblFrame, 0), S_OK);
            for (int nFrame = nWanted; nFrame < std::min(nWanted + 3, kFrames); ++nFrame) {
                ZrPtr<IZrFFrame> pFrame;
                ASSERT_EQ(pWorker->WorkerFrameGet(10 * kTicksPerSecond, pFrame.Out()), S_OK);
                ZR_TIME time;
                pFrame->ZrFTimeGet(&time);
                EXPECT_EQ(time.rtStartTime, FrameStart(seek.rate, nFrame));
                EXPECT_EQ((time.eFFlags & eZrFF_Break) != 0, nFrame == nWanted);
                EXPECT_EQ(NumberOf(*pFrame), nFrame);
                if (trip.bExactSound) CheckSound(trip, *pFrame, nFrame);
            }
        }
        // The same file again goes on where it was; behind the end there is nothing.
        ASSERT_EQ(pWorker->WorkerSeek(40 * dblFrame, 0), S_OK);
        ZrPtr<IZrFFrame> pFrame;
        ASSERT_EQ(pWorker->WorkerFrameGet(-1, pFrame.Out()), S_OK);
        ASSERT_EQ(pWorker->WorkerReset(), S_OK);
        ASSERT_EQ(pWorker->WorkerFrameGet(-1, pFrame.Out()), S_OK);
        EXPECT_EQ(NumberOf(*pFrame), 41);
        ASSERT_EQ(pWorker->WorkerSeek(1000, 0), S_OK);
        EXPECT_EQ(pWorker->WorkerFrameGet(-1, pFrame.Out()), kMediaEnded);
    }
}

// Frames whose times jump, stand still or lack sound or a picture still make one line.
TEST_F(RoundTrip, BreaksInTimeLeaveNoTrace) {
    const CLIP_FORMAT format{eZrFCC_I420, 320, 192, k25, 2};
    const ZrPtr<IZrWriter> pWriter = NewWriter();
    ASSERT_EQ(pWriter->WriterOpen(ToUtf16(Path("a.mov")).c_str(), u"audio.codec=pcm_s16le"), S_OK);
    const ZrPtr<IZrReceiver_I> pReceiver = pWriter.As<IZrReceiver_I>();
    for (int i = 0; i < 40; ++i) {
        const ZrPtr<IZrFFrame> pFrame = MakeClipFrame(format, i);
        ZR_TIME time;
        pFrame->ZrFTimeGet(&time);
        const int64_t rtJump = i >= 30 ? 3600 * kTicksPerSecond : i >= 10 ? -10 * kTicksPerSecond : 0;
        time.rtStartTime += rtJump;
        time.rtEndTime += rtJump;
        if (i == 20) time.rtEndTime = time.rtStartTime + 3 * 400000;  // stands for three frames
        pFrame->ZrFTimeSet(&time);
        const ZR_AUD_PROPS sound{2, 48000, 16, 0};
        if (i == 5) pFrame->ZrFAudioAlloc(&sound, 0);
        ASSERT_EQ(pReceiver->MediaReceive(u"c", nullptr, pFrame.Get()), S_OK);
    }
    ASSERT_EQ(pWriter->WriterStop(), S_OK);
    ZR_WRITER_STATE state;
    pWriter->WriterStateGet(&state);
    EXPECT_EQ(state.nFrames, 42);
    EXPECT_EQ(state.nSamples, 42 * 1920);

    const ZrPtr<IZrFileWorker_I> pWorker = NewWorker();
    ASSERT_EQ(Open(*pWorker, Path("a.mov")), S_OK);
    for (int i = 0; i < 42; ++i) {
        ZrPtr<IZrFFrame> pFrame;
        ASSERT_EQ(pWorker->WorkerFrameGet(-1, pFrame.Out()), S_OK);
        EXPECT_EQ(NumberOf(*pFrame), i <= 20 ? i : i <= 22 ? 20 : i - 2);
    }
}

}  // namespace
}  // namespace zr
