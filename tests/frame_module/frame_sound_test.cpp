#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <vector>

#include "frame_module/frame_builders.h"
#include "media/aud_props.h"

namespace zr {
namespace {

using Samples = std::vector<int16_t>;

ZrPtr<IZrFFrame> SoundFrame(const Samples& _samples, int32_t _nChannels, int32_t _nRate = 48000) {
    return FrameOfSound({_nChannels, _nRate, 16, 0}, _samples);
}

Samples SoundIn(IZrFFrame& _frame) {
    const auto audio = AudioOf(_frame);
    const auto* p = reinterpret_cast<const int16_t*>(audio.data());
    return {p, p + audio.size() / 2};
}

double Db(double _dblGain) { return 20 * std::log10(_dblGain); }

TEST(FrameSound, GainsOfTheListedChannelsRunLinearly) {
    const Samples before = {1000, -1000, 2000, 30000, 1000, 1000, 1000, -30000};
    const std::tuple<const char*, const char16_t*, double, double, HRESULT, Samples> arrCases[] = {
        {"all halved", nullptr, 0.5, 0.5, S_OK, {500, -500, 1000, 15000, 500, 500, 500, -15000}},
        {"a ramp ends where the next block begins",
         u"",
         1,
         3,
         S_OK,
         {1000, -1000, 3000, 32767, 2000, 2000, 2500, -32768}},
        {"one channel", u"1", 2, 2, S_OK, {1000, -2000, 2000, 32767, 1000, 2000, 1000, -32768}},
        {"no such channel", u"0,2", 2, 2, ZR_E_BAD_INDEX, before},
    };
    for (const auto& [szName, szChannels, dblStart, dblEnd, hr, expected] : arrCases) {
        SCOPED_TRACE(szName);
        const ZrPtr<IZrFFrame> p = SoundFrame(before, 2);
        EXPECT_EQ(p->ZrFAudioGain(szChannels, Db(dblStart), Db(dblEnd)), hr);
        EXPECT_EQ(SoundIn(*p), expected);
    }
    EXPECT_EQ(EmptyFrame()->ZrFAudioGain(nullptr, 0, 0), ZR_E_EMPTY);
}

TEST(FrameSound, MixesPartsAndCrossFades) {
    const ZrPtr<IZrFFrame> pFrom = SoundFrame({100, 200, 300, 32767}, 1);
    ZrPtr<IZrFFrame> p = SoundFrame({1, 2, 3, 4, 20000}, 1);
    int32_t nTo = 1, nFrom = 2;
    EXPECT_EQ(p->ZrFAudioMixDirect(&nTo, pFrom.Get(), &nFrom, 100, 0, 0, 0), S_OK);
    EXPECT_EQ(SoundIn(*p), (Samples{1, 302, 32767, 4, 20000}));
    EXPECT_EQ(nTo, 3);
    EXPECT_EQ(nFrom, 4);
    nFrom = 5;
    EXPECT_EQ(p->ZrFAudioMixDirect(&nTo, pFrom.Get(), &nFrom, 1, 0, 0, 0), E_INVALIDARG);
    EXPECT_EQ(p->ZrFAudioMixDirect(&nTo, SoundFrame({1}, 1, 44100).Get(), &(nFrom = 0), 1, 0, 0, 0), E_INVALIDARG);

    // A quarter of the one with three quarters of the other, mono to both channels.
    p = SoundFrame({400, 800, 400, 800}, 2);
    nTo = nFrom = 0;
    EXPECT_EQ(p->ZrFAudioMixDirect(&nTo, SoundFrame({1000, -1000}, 1).Get(), &nFrom, 2, Db(0.25), Db(0.25), 1), S_OK);
    EXPECT_EQ(SoundIn(*p), (Samples{550, 850, 50, 350}));
}

// The one that ends early does not bring the other one back at full strength, and goes without a step.
TEST(FrameSound, ACrossFadeIntoAShorterSoundMakesNoStep) {
    constexpr int kOwn = 2000, kFrom = 1500, kLevel = 20000;
    for (const int nFrom : {0, kFrom}) {
        SCOPED_TRACE(nFrom);
        const ZrPtr<IZrFFrame> p = SoundFrame(Samples(kOwn, kLevel), 1);
        const HRESULT hr = p->ZrFAudioMix(SoundFrame(Samples(static_cast<size_t>(nFrom), kLevel), 1).Get(), Db(0.25),
                                          Db(0.75), 1, nullptr);
        EXPECT_EQ(hr, nFrom > 0 ? S_OK : S_FALSE);
        const Samples mixed = SoundIn(*p);
        EXPECT_NEAR(mixed[0], nFrom > 0 ? kLevel : kLevel * 3 / 4, 1);
        EXPECT_NEAR(mixed[kOwn - 1], kLevel / 4, 10);
        for (size_t i = 1; i < kOwn; ++i) ASSERT_LE(std::abs(mixed[i] - mixed[i - 1]), kLevel / 240 + 1) << i;
    }
}

// What a stream of frames brings comes out whole and in order, whatever the lengths of its frames.
TEST(FrameSound, WhatDoesNotFitWaitsUnderItsName) {
    int16_t nPut = 0, nGot = 0;
    for (int i = 0; i < 200; ++i) {
        Samples brought(static_cast<size_t>(i % 2 == 0 ? 9 : 3));
        for (int16_t& n : brought) n = ++nPut;
        const ZrPtr<IZrFFrame> p = SoundFrame(Samples(6), 1);
        EXPECT_EQ(p->ZrFAudioMix(SoundFrame(brought, 1).Get(), 0, 0, 0, u"frame-sound-test"), S_OK);
        for (const int16_t n : SoundIn(*p)) ASSERT_EQ(n, ++nGot);
    }
    // Of three seconds two are kept, the last ones.
    Samples much(3 * 48000);
    for (size_t i = 0; i < much.size(); ++i) much[i] = static_cast<int16_t>(i / 1000);
    const ZrPtr<IZrFFrame> pFirst = SoundFrame(Samples(1000), 1), pNext = SoundFrame(Samples(1), 1);
    EXPECT_EQ(pFirst->ZrFAudioMix(SoundFrame(much, 1).Get(), 0, 0, 0, u"frame-sound-much"), S_OK);
    EXPECT_EQ(pNext->ZrFAudioMix(SoundFrame({1}, 1).Get(), 0, 0, 0, u"frame-sound-much"), S_OK);
    EXPECT_EQ(SoundIn(*pNext), Samples{48});
    // Without a name the rest is lost.
    const ZrPtr<IZrFFrame> p = SoundFrame({1, 1}, 1);
    EXPECT_EQ(p->ZrFAudioMix(SoundFrame({5, 6, 7}, 1).Get(), 0, 0, 0, nullptr), S_OK);
    EXPECT_EQ(p->ZrFAudioMix(SoundFrame({5}, 1).Get(), 0, 0, 0, u""), S_OK);
    EXPECT_EQ(SoundIn(*p), (Samples{11, 7}));
}

TEST(FrameSound, CopiesChannelsInTheBitsOfTheTarget) {
    const ZrPtr<IZrFFrame> pFrom = SoundFrame({1, 2, 3, 4, 5, 6}, 3);
    const ZrPtr<IZrFFrame> pTo = EmptyFrame();
    EXPECT_EQ(pFrom->ZrFAudioCopyTo(u"2,0", pTo.Get()), S_OK);
    EXPECT_EQ(SoundIn(*pTo), (Samples{3, 1, 6, 4}));
    const ZR_AUD_PROPS wide{1, 48000, 32, 0};
    EXPECT_EQ(pTo->ZrFAudioAlloc(&wide, 1), S_OK);
    EXPECT_EQ(pFrom->ZrFAudioCopyTo(u"1", pTo.Get()), S_OK);
    EXPECT_EQ(SoundIn(*pTo), (Samples{0, 2, 0, 5}));
    EXPECT_EQ(pFrom->ZrFAudioCopyTo(u"3", pTo.Get()), ZR_E_BAD_INDEX);
    EXPECT_EQ(SoundIn(*pTo), (Samples{0, 2, 0, 5}));
}

TEST(FrameSound, ConvertsToAnotherFormatAcrossFrames) {
    ZR_AV_PROPS wanted{{}, {1, 44100, -32, 0}, {}};
    int64_t nOut = 0;
    double dblBefore = 0;
    for (int i = 0; i < 50; ++i) {
        Samples samples(1920 * 2);
        for (size_t x = 0; x < 1920; ++x) {
            const double dblTime = (i * 1920.0 + static_cast<double>(x)) / 48000;
            samples[2 * x] = samples[2 * x + 1] =
                static_cast<int16_t>(std::lrint(8000 * std::sin(440 * 6.283185307 * dblTime)));
        }
        ZrPtr<IZrFFrame> pResult;
        ASSERT_EQ(SoundFrame(samples, 2)->ZrFConvert(&wanted, pResult.Out(), nullptr, nullptr, u"frame-sound-rate"),
                  S_OK);
        const auto* p = reinterpret_cast<const float*>(AudioOf(*pResult).data());
        for (size_t x = 0; x < AudioOf(*pResult).size() / 4; ++x, ++nOut) {
            const double dblSlope = 16000.0 / 32768 * 440 * 6.2832 / 44100;
            ASSERT_LT(std::fabs(p[x] - dblBefore), dblSlope * (nOut < 100 ? 1.2 : 1.01)) << nOut;  // the onset rings
            dblBefore = p[x];
        }
    }
    EXPECT_NEAR(static_cast<double>(nOut), 50 * 1764.0, 64);
}

// Without a name there is no frame before and none behind: the sound is all there, from its first sample to its last.
TEST(FrameSound, ConvertsAFrameThatStandsAlone) {
    ZR_AV_PROPS wanted;
    wanted.audProps = {1, 44100, -32, 0};
    ZrPtr<IZrFFrame> pResult;
    ASSERT_EQ(SoundFrame(Samples(1920, 8192), 1)->ZrFConvert(&wanted, pResult.Out(), nullptr, nullptr, nullptr), S_OK);
    ASSERT_EQ(AudioOf(*pResult).size(), 1764u * 4);
    const auto* p = reinterpret_cast<const float*>(AudioOf(*pResult).data());
    for (int32_t x = 0; x < 1764; ++x) ASSERT_NEAR(p[x], 0.25f, 1e-4f) << x;
}

}  // namespace
}  // namespace zr
