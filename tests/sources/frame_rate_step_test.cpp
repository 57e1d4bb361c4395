// The step against a calculation of its own: pictures by the exact fractions of the rates, sound by counting samples.

#include "sources/frame_rate_step.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "media/vid_props.h"
#include "support/scripted_worker.h"
#include "support/stress.h"

namespace zr {
namespace {

struct RATE {
    int64_t nNum, nDen;
    double Value() const { return static_cast<double>(nNum) / static_cast<double>(nDen); }
};

// round(_n * 1e7 / rate), in whole numbers.
int64_t TicksOf(int64_t _n, RATE _rate) {
    return static_cast<int64_t>((static_cast<__int128>(_n) * 20'000'000 * _rate.nDen + _rate.nNum) / (2 * _rate.nNum));
}
// round(_n * samples a second / rate)
int64_t SamplesOf(int64_t _n, RATE _rate, int64_t _nPerSec) {
    return static_cast<int64_t>((static_cast<__int128>(_n) * 2 * _nPerSec * _rate.nDen + _rate.nNum) /
                                (2 * _rate.nNum));
}
// Whether _rt is at most 1 ms behind the start of slot _n.
bool IsBy(int64_t _rt, int64_t _n, RATE _rate) {
    return static_cast<__int128>(_rt - 10'000) * _rate.nNum <= static_cast<__int128>(_n) * 10'000'000 * _rate.nDen;
}

void RunThrough(FrameRateStep& _step, const MEDIA_SCRIPT& _script, const std::function<void(IZrFFrame&)>& _check) {
    const auto Drain = [&] {
        ZrPtr<IZrFFrame> pFrame;
        HRESULT hr = S_OK;
        while ((hr = _step.Get(&pFrame)) == S_OK) _check(*pFrame);
        return hr;
    };
    for (int64_t n = 0; n < _script.Frames(); ++n) {
        ASSERT_EQ(_step.Put(_script.Make(n, n == 0 ? eZrFF_Break : eZrFF_None).Get(), {}), S_OK);
        if (n + 1 == _script.Frames()) _step.PutEnd();
        ASSERT_EQ(Drain(), _step.IsEnded() ? Win32Error(1100) : S_FALSE);
    }
}

// Sends a whole media through and compares every output frame.
void CheckAll(const MEDIA_SCRIPT& _script, RATE _out) {
    FrameRateStep step;
    step.SetRate(_out.Value(), 1.0);
    const int64_t rtEnd = _script.StartOf(_script.Frames());
    int64_t nSlot = 0, nPicture = 0, nLast = -1, nSample = 0;
    int64_t nSlots = 0;
    while (!IsBy(rtEnd, nSlots, _out)) ++nSlots;
    RunThrough(step, _script, [&](IZrFFrame& _frame) {
        if (testing::Test::HasFatalFailure()) return;
        const SCRIPT_FRAME frame(_frame);
        while (nPicture + 1 < _script.Frames() && IsBy(_script.StartOf(nPicture + 1), nSlot, _out)) ++nPicture;
        ASSERT_EQ(frame.nPicture, nPicture) << nSlot;
        ASSERT_EQ(frame.nData, nPicture != nLast) << nSlot;
        ASSERT_EQ(frame.rtStart, TicksOf(nSlot, _out));
        ASSERT_EQ(frame.rtEnd, TicksOf(nSlot + 1, _out));
        uint32_t nFlags = nSlot == 0 ? 0x1 : nPicture == nLast ? 0x11 : 0;
        if (nSlot + 1 == nSlots) nFlags |= 0x2;
        ASSERT_EQ(static_cast<uint32_t>(frame.eFlags), nFlags) << nSlot;
        if (_script.nSampleRate > 0) {
            const int64_t nEnd = SamplesOf(nSlot + 1, _out, _script.nSampleRate), nMedia = _script.SampleAt(rtEnd);
            ASSERT_EQ(static_cast<int64_t>(frame.arrSamples.size()), nEnd - nSample) << nSlot;
            bool bSame = true;
            for (const int32_t n : frame.arrSamples) {
                bSame &= n == (nSample < nMedia ? static_cast<int32_t>(nSample) : 0);
                ++nSample;
            }
            ASSERT_TRUE(bSame) << nSlot;
        } else {
            ASSERT_TRUE(frame.arrSamples.empty());
        }
        nLast = nPicture;
        ++nSlot;
    });
    EXPECT_EQ(nSlot, nSlots);
}

TEST(FrameRateStep, GivesThePictureOnScreenAndEverySampleOnce) {
    constexpr RATE r2398{24000, 1001}, r24{24, 1}, r25{25, 1}, r2997{30000, 1001}, r30{30, 1}, r50{50, 1},
        r5994{60000, 1001}, r60{60, 1}, r120{120, 1}, r15{15, 1}, r1{1, 1}, r1000{1000, 1};
    constexpr std::tuple<const char*, RATE, RATE, int32_t, int64_t> arrCases[] = {
        {"film_to_pal", r2398, r25, 48000, 5000},     {"60_to_25", r60, r25, 48000, 5000},
        {"pal_to_ntsc", r25, r2997, 48000, 5000},     {"ntsc_to_pal", r2997, r25, 48000, 5000},
        {"50_to_25", r50, r25, 48000, 5000},          {"25_to_50", r25, r50, 48000, 2000},
        {"same_ntsc", r2997, r2997, 48000, 5000},     {"same_pal", r25, r25, 48000, 500},
        {"nearly_the_same", r60, r5994, 48000, 5000}, {"24_to_film", r24, r2398, 48000, 5000},
        {"cd_sound", r2997, r5994, 44100, 2000},      {"one_a_second", r1, r2997, 48000, 20},
        {"thousand", r1000, r25, 48000, 5000},        {"silent_film", r2398, r25, 0, 2000},
        {"120_to_15", r120, r15, 48000, 1000},        {"one_frame", r25, r2997, 48000, 1},
        {"30_to_60", r30, r60, 96000, 500},
    };
    for (const auto& [szName, in, out, nSampleRate, nFrames] : arrCases) {
        SCOPED_TRACE(szName);
        MEDIA_SCRIPT script;
        script.nRateNum = in.nNum;
        script.nRateDen = in.nDen;
        script.nFrames = StressRounds(static_cast<int>(nFrames)) + 1;
        script.nSampleRate = nSampleRate;
        CheckAll(script, out);
        if (HasFatalFailure()) return;
    }
}

TEST(FrameRateStep, FollowsTimesWithoutARate) {
    MEDIA_SCRIPT script;
    uint32_t nSeed = 5;
    for (int64_t rt = 0; script.arrStarts.size() < 3000;) {
        script.arrStarts.push_back(rt);
        nSeed = nSeed * 1664525 + 1013904223;
        // Mostly around 30 a second, now and then a still of seconds, or a burst.
        const uint32_t nKind = nSeed >> 28;
        rt += nKind == 0   ? 20'000'000 + (nSeed & 0xFFFFF)
              : nKind == 1 ? 10'000 + (nSeed & 0xFFF)
                           : 200'000 + (nSeed & 0x3FFFF);
    }
    CheckAll(script, {30000, 1001});
    CheckAll(script, {25, 1});
}

// A picture whose lines are white in as many columns as says the number drawn in them: that of its field in time.
class FieldPictures {
public:
    static constexpr int32_t kWidth = 256, kHeight = 8;
    RATE rate;
    int32_t nFields;  // as of InterlaceClass

    ZrPtr<IZrFFrame> Make(int64_t _n) const {
        constexpr eZrInterlace arrOrders[] = {eZrI_Field2First, eZrI_Progressive, eZrI_Field1First};
        ZR_AV_PROPS props;
        props.vidProps = {.fccType = eZrFCC_UYVY,
                          .nWidth = kWidth,
                          .nHeight = kHeight,
                          .eInterlace = arrOrders[nFields + 1],
                          .dblRate = rate.Value()};
        std::vector<uint8_t> arr;
        for (int32_t y = 0; y < kHeight; ++y) {
            const bool bSecond = nFields != 0 && (y % 2 == 0) != (nFields > 0);
            const int64_t nNumber = nFields == 0 ? _n : 2 * _n + bSecond;
            for (int32_t x = 0; x < kWidth; ++x) {
                arr.push_back(128);
                arr.push_back(x / 2 < nNumber % 128 ? 235 : 16);
            }
        }
        ZrPtr<IZrFFrame> pFrame;
        CZrFrameFactory::Shared().ZrFFrameCreateFromMem(&props, reinterpret_cast<int64_t>(arr.data()), 0, 0,
                                                        pFrame.Out(), nullptr);
        ZR_TIME time{
            .rtStartTime = TicksOf(_n, rate), .rtEndTime = TicksOf(_n + 1, rate), .tcFrame = {}, .eFFlags = {}};
        pFrame->ZrFTimeSet(&time);
        return pFrame;
    }
    // The numbers of the lines, each followed by a blank.
    static std::string LinesOf(IZrFFrame& _frame) {
        ZRF_FRAME_INFO info;
        _frame.ZrFAllGet(&info);
        std::string str;
        for (int32_t y = 0; y < kHeight; ++y) {
            const auto* p = reinterpret_cast<const uint8_t*>(info.lpVideo) + y * info.avProps.vidProps.nRowBytes;
            int32_t nWhite = 0;
            while (nWhite < kWidth && p[2 * nWhite + 1] > 128) ++nWhite;
            str += std::to_string(nWhite / 2) + " ";
        }
        return str;
    }
};

// A field of the output shows the frame, and a slot the field, that is on screen when it begins.
TEST(FrameRateStep, FieldsShowTheirOwnTime) {
    constexpr RATE r24{24, 1}, r25{25, 1}, r2997{30000, 1001}, r50{50, 1}, r5994{60000, 1001}, r60{60, 1};
    enum eKind { kWhole, kWoven, kOneField };
    constexpr std::tuple<const char*, FieldPictures, RATE, int32_t, eKind> arrCases[] = {
        {"50p_to_25i", {r50, 0}, r25, 1, kWoven},
        {"50p_to_25i_lower_first", {r50, 0}, r25, -1, kWoven},
        {"5994p_to_2997i", {r5994, 0}, r2997, 1, kWoven},
        {"60p_to_25i", {r60, 0}, r25, 1, kWoven},
        {"50p_to_2997i", {r50, 0}, r2997, 1, kWoven},
        {"25i_to_50p", {r25, 1}, r50, 0, kOneField},
        {"2997i_lower_first_to_5994p", {r2997, -1}, r5994, 0, kOneField},
        {"25i_to_5994p", {r25, 1}, r5994, 0, kOneField},
        {"2997i_to_25p", {r2997, 1}, r25, 0, kOneField},
        {"50p_to_25p", {r50, 0}, r25, 0, kWhole},
        {"24p_to_25i", {r24, 0}, r25, 1, kWhole},
        {"25p_to_50i", {r25, 0}, r50, 1, kWhole},
    };
    for (const auto& testCase : arrCases) {
        SCOPED_TRACE(std::get<0>(testCase));
        const FieldPictures& source = std::get<1>(testCase);
        const RATE out = std::get<2>(testCase);
        const int32_t nOutFields = std::get<3>(testCase);
        const eKind eHow = std::get<4>(testCase);
        // What is on screen _nHalf half slots from the beginning, in frames or fields of the source.
        const auto OnScreen = [&](int64_t _nHalf) {
            const int64_t nUnits = eHow == kOneField ? 2 : 1;
            const int64_t nMs = 1;  // that a picture may be late
            return (_nHalf * 1000 * out.nDen + nMs * 2 * out.nNum) * source.rate.nNum * nUnits /
                   (2000 * out.nNum * source.rate.nDen);
        };
        FrameRateStep step;
        step.SetRate(out.Value(), 1.0, nOutFields);
        int64_t nSlot = 0;
        for (int64_t n = 0; n < 60; ++n) {
            ASSERT_EQ(step.Put(source.Make(n).Get(), {}), S_OK);
            ZrPtr<IZrFFrame> pFrame;
            while (step.Get(&pFrame) == S_OK) {
                const int64_t nFirst = OnScreen(2 * nSlot), nSecond = eHow == kWoven ? OnScreen(2 * nSlot + 1) : nFirst;
                std::string wanted;
                for (int32_t y = 0; y < FieldPictures::kHeight; ++y)
                    wanted += std::to_string((y % 2 == 0) == (nOutFields >= 0) ? nFirst : nSecond) + " ";
                ASSERT_EQ(FieldPictures::LinesOf(*pFrame), wanted) << nSlot;
                ZR_TIME time;
                ZR_AV_PROPS props;
                pFrame->ZrFTimeGet(&time);
                pFrame->ZrFAVPropsGet(&props, nullptr);
                ASSERT_EQ(time.rtStartTime, TicksOf(nSlot, out));
                ASSERT_NEAR(props.vidProps.dblRate, out.Value(), 0.001);
                ASSERT_EQ(InterlaceClass(&props.vidProps), nFirst != nSecond ? nOutFields : 0);
                ++nSlot;
            }
        }
        EXPECT_GE(nSlot, static_cast<int64_t>(58 * out.Value() / source.rate.Value()));
    }
}

// Times in milliseconds, as some files have them, must not make pictures stutter.
TEST(FrameRateStep, SeesThroughRoundedTimes) {
    MEDIA_SCRIPT script;
    for (int64_t n = 0; n <= 3000; ++n)
        script.arrStarts.push_back((TicksOf(n, {24000, 1001}) + 5'000) / 10'000 * 10'000);
    FrameRateStep step;
    step.SetRate(24000 / 1001.0, 1.0);
    int64_t nSlot = 0;
    RunThrough(step, script, [&](IZrFFrame& _frame) {
        const SCRIPT_FRAME frame(_frame);
        EXPECT_EQ(frame.nPicture, nSlot);
        EXPECT_EQ(static_cast<int64_t>(frame.arrSamples.size()),
                  SamplesOf(nSlot + 1, {24000, 1001}, 48000) - SamplesOf(nSlot, {24000, 1001}, 48000));
        ++nSlot;
    });
    EXPECT_EQ(nSlot, 3000);
}

TEST(FrameRateStep, KeepsCountForADay) {
    MEDIA_SCRIPT script;
    script.nRateNum = 30000;
    script.nRateDen = 1001;
    script.nSampleRate = 8000;
    script.nFrames = StressRounds(24 * 3600) * script.nRateNum / script.nRateDen;
    CheckAll(script, {25, 1});
}

TEST(FrameRateStep, LetsFramesOfTheRateThroughUntouched) {
    MEDIA_SCRIPT script;
    script.nRateNum = 30000;
    script.nRateDen = 1001;
    FrameRateStep step;
    step.SetRate(30000 / 1001.0, 1.0);
    // From the middle of a file, where the cadence of samples does not begin at zero.
    for (int64_t n = 777; n < 900; ++n) {
        const ZrPtr<IZrFFrame> pIn = script.Make(n, n == 777 ? eZrFF_Break : eZrFF_None);
        ASSERT_EQ(step.Put(pIn.Get(), {}), S_OK);
        ZrPtr<IZrFFrame> pOut;
        ASSERT_EQ(step.Get(&pOut), S_OK);
        EXPECT_EQ(pOut, pIn) << n;
        ASSERT_EQ(step.Get(&pOut), S_FALSE);
    }
}

TEST(FrameRateStep, JoinsTheEndToTheStart) {
    // Out points in the middle of a frame, and a file of 7 frames to its end; the last two have a part of a sample in
    // each pass, which must not add up.
    for (const int64_t rtOut : {15'000'000, 15'000'100, 2'335'667}) {
        MEDIA_SCRIPT script;
        script.nRateNum = rtOut < 10'000'000 ? 30000 : 24000;
        script.nRateDen = 1001;
        script.nFrames = rtOut < 10'000'000 ? 7 : 50;
        const int64_t nPass = script.SampleAt(rtOut);
        FrameRateStep step;
        step.SetRate(25, 1.0);
        int64_t nSlot = 0, nSample = 0, nOff = 0;
        for (int nLoop = 0; nLoop < 700; ++nLoop) {
            for (int64_t n = 0; n < script.nFrames && script.StartOf(n) < rtOut; ++n) {
                const ZrPtr<IZrFFrame> pIn = script.Make(n, n == 0 ? eZrFF_Break : eZrFF_None);
                ASSERT_EQ(step.Put(pIn.Get(), {nLoop > 0 && n == 0, rtOut}), S_OK);
                ZrPtr<IZrFFrame> pFrame;
                while (step.Get(&pFrame) == S_OK) {
                    const SCRIPT_FRAME frame(*pFrame);
                    const bool bBreak = nSlot == 0 || (frame.eFlags & 0x10) != 0;
                    ASSERT_EQ(frame.rtStart, 400'000 * nSlot);
                    ASSERT_EQ(frame.eFlags & 0xF, bBreak ? 1 : 0);
                    int64_t rtMedia = 400'000 * nSlot % rtOut;
                    if (rtOut - rtMedia <= 10'000) rtMedia -= rtOut;  // as good as the next pass
                    ASSERT_LE(std::abs(step.MediaTime() - rtMedia), 10'000) << nSlot;
                    ASSERT_LE(script.StartOf(frame.nPicture), rtMedia + 10'000);
                    ASSERT_GT(std::min(script.StartOf(frame.nPicture + 1), rtOut), rtMedia - 10'000) << nSlot;
                    for (const int32_t nValue : frame.arrSamples) nOff += nValue != nSample++ % nPass;
                    const int64_t nOfPass = frame.arrSamples[0] - script.SampleAt(rtMedia);
                    ASSERT_LE(std::min(std::abs(nOfPass), nPass - std::abs(nOfPass)), 1) << nSlot;
                    ++nSlot;
                }
            }
        }
        EXPECT_GE(nSlot, 700 * (rtOut / 400'000));
        EXPECT_TRUE(nOff == 0 || rtOut != 15'000'000);
    }
}

TEST(FrameRateStep, ChangesRateAndSpeedWithoutATear) {
    MEDIA_SCRIPT script;
    script.nFrames = 2000;
    FrameRateStep step;
    step.SetRate(25, 1.0);
    const std::tuple<int64_t, double, double> arrChanges[] = {
        {100, 30000 / 1001.0, 1.0}, {200, 30000 / 1001.0, 2.0}, {300, 50, 0.5}, {400, 25, 1.0}};
    int64_t nSlot = 0, rtLine = 0, nSamples = 0;
    double dblSource = 0;  // ticks
    double dblRate = 25, dblSpeed = 1;
    for (int64_t n = 0; n < 800; ++n) {
        ASSERT_EQ(step.Put(script.Make(n, n == 0 ? eZrFF_Break : eZrFF_None).Get(), {}), S_OK);
        ZrPtr<IZrFFrame> pFrame;
        while (step.Get(&pFrame) == S_OK) {
            const SCRIPT_FRAME frame(*pFrame);
            ASSERT_EQ(frame.rtStart, rtLine);
            ASSERT_EQ(frame.nPicture, static_cast<int64_t>((dblSource + 10'000) / 400'000)) << nSlot;
            nSamples += static_cast<int64_t>(frame.arrSamples.size());
            ASSERT_LE(std::abs(nSamples - script.SampleAt(frame.rtEnd)), 1) << nSlot;
            ASSERT_FALSE(frame.arrSamples.empty());
            const int64_t nSample = frame.arrSamples[0], nExpected = script.SampleAt(std::llround(dblSource));
            if (dblSpeed == 1)
                ASSERT_LE(std::abs(nSample - nExpected), 1) << nSlot;
            else
                ASSERT_EQ(nSample, 0);
            ZR_AV_PROPS props;
            pFrame->ZrFAVPropsGet(&props, nullptr);
            ASSERT_NEAR(props.vidProps.dblRate, dblRate, 0.001);
            rtLine = frame.rtEnd;
            dblSource += 1e7 / dblRate * dblSpeed;
            ++nSlot;
            for (const auto& [nAtSlot, dblNewRate, dblNewSpeed] : arrChanges) {
                if (nAtSlot != nSlot) continue;
                dblRate = dblNewRate;
                dblSpeed = dblNewSpeed;
                step.SetRate(dblRate, dblSpeed);
            }
        }
    }
    EXPECT_GT(nSlot, 500);
}

// A source that breaks its word on sound does not part it from the picture for long, nor stop the output.
TEST(FrameRateStep, PutsSilenceWhereSoundIsMissing) {
    MEDIA_SCRIPT script;
    MEDIA_SCRIPT mute = script;
    mute.nSampleRate = 0;
    FrameRateStep step;
    step.SetRate(25, 1.0);
    int64_t nSlots = 0;
    for (int64_t n = 0; n < 90; ++n) {
        if (n >= 60 && n < 70) continue;  // nothing at all
        const bool bMute = n >= 20 && n < 40;
        ASSERT_EQ(step.Put((bMute ? mute : script).Make(n, n == 0 ? eZrFF_Break : eZrFF_None).Get(), {}), S_OK);
        ZrPtr<IZrFFrame> pFrame;
        while (step.Get(&pFrame) == S_OK) {
            const SCRIPT_FRAME frame(*pFrame);
            ASSERT_EQ(frame.arrSamples.size(), 1920u);
            const bool bSilent = (nSlots >= 20 && nSlots < 40) || (nSlots >= 60 && nSlots < 70);
            for (size_t i = 0; i < 1920; ++i)
                ASSERT_EQ(frame.arrSamples[i],
                          bSilent ? 0 : static_cast<int32_t>(1920 * nSlots + static_cast<int64_t>(i)));
            ASSERT_EQ(frame.nPicture, nSlots >= 60 && nSlots < 70 ? 59 : nSlots);
            ++nSlots;
        }
    }
    EXPECT_EQ(nSlots, 90);
}

}  // namespace
}  // namespace zr
