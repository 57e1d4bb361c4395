#include "audio/audio_buffer2.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "audio/drift_control.h"
#include "audio/layout_map.h"
#include "audio/sound_sum.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr double kTurn = 6.283185307179586;
constexpr ZR_AUD_PROPS kFloat48{1, 48000, -32, 0};

using Sound = std::vector<float>;

// A tone that goes on from block to block whatever their rate.
class Tone {
public:
    explicit Tone(double _dblHz) : dblHz(_dblHz) {}
    Sound Block(int32_t _nRate, size_t _n) {
        Sound sound(_n);
        for (float& f : sound) {
            f = static_cast<float>(0.5 * std::cos(kTurn * dblTurns));
            dblTurns += dblHz / _nRate;
        }
        return sound;
    }

private:
    double dblHz, dblTurns = 0;
};

HRESULT Put(ZrAudioBuffer2& _buffer, const Sound& _sound, int32_t _nRate, double _dblScale = 1) {
    const ZR_AUD_PROPS props{1, _nRate, -32, 0};
    return _buffer.PutAudio(props, reinterpret_cast<const uint8_t*>(_sound.data()),
                            static_cast<int64_t>(_sound.size() * 4), false, true, _dblScale);
}

Sound TakeAll(ZrAudioBuffer2& _buffer) {
    Sound sound(static_cast<size_t>(_buffer.Fill()));
    _buffer.GetAudio(reinterpret_cast<uint8_t*>(sound.data()), static_cast<int64_t>(sound.size()));
    return sound;
}

// A tone bends by no more than its amplitude times the square of its step; what jumps, or is out of order, bends more.
void ExpectSmooth(const Sound& _sound, size_t _nFrom, double _dblHz, int32_t _nRate) {
    const double dblStep = kTurn * _dblHz / _nRate;
    for (size_t i = _nFrom + 2; i < _sound.size(); ++i) {
        const double d = double{_sound[i]} - 2 * double{_sound[i - 1]} + double{_sound[i - 2]};
        ASSERT_LT(std::fabs(d), 0.5 * dblStep * dblStep * 1.5) << i << " of " << _sound.size();
    }
}

// A tone that is smoothed rises no steeper than itself and a ramp together.
void ExpectNoStep(const Sound& _sound, double _dblHz, int32_t _nRate) {
    for (size_t i = 1; i < _sound.size(); ++i)
        ASSERT_LT(std::fabs(_sound[i] - _sound[i - 1]), 0.5 * kTurn * _dblHz / _nRate + 1.0 / 220) << i;
}

// Formats follow each other, of bits and of rates near and far; nothing is lost, nothing is missing where they meet,
// and what needs no conversion any more is kept bit for bit.
TEST(AudioBuffer, FormatsThatComeAndGoLeaveNoHole) {
    constexpr double kHz = 500;
    constexpr int32_t kFrame = 960;
    for (const int32_t nOther : {44100, 32000, 8000, 96000, 192000}) {
        SCOPED_TRACE(nOther);
        ZrAudioBuffer2 buffer;
        ASSERT_EQ(buffer.FormatSet(kFloat48), S_OK);
        Tone tone(kHz);
        Sound sound, last;
        for (const int32_t nRate : {48000, nOther, 48000, 44100, nOther, 48000}) {
            for (int i = 0; i < 2; ++i) {
                last = tone.Block(nRate, static_cast<size_t>(nRate / 50));
                ASSERT_EQ(Put(buffer, last, nRate), S_OK);
                EXPECT_NEAR(static_cast<double>(buffer.Fill()), kFrame, 2) << nRate;
                const Sound block = TakeAll(buffer);
                sound.insert(sound.end(), block.begin(), block.end());
            }
        }
        EXPECT_LE(buffer.Size(), 4 * kFrame) << "it grows without end";
        ExpectNoStep(sound, kHz, 48000);
        EXPECT_TRUE(std::equal(last.rbegin(), last.rend(), sound.rbegin()));
    }
}

// The ring itself gets another format, with sound in it and without.
TEST(AudioBuffer, WhatIsHeldGoesAlongIntoAnotherFormat) {
    constexpr double kHz = 500;
    for (const bool bHolds : {true, false}) {
        ZrAudioBuffer2 buffer;
        ASSERT_EQ(buffer.FormatSet(kFloat48), S_OK);
        Tone tone(kHz);
        Put(buffer, tone.Block(48000, 960), 48000);
        Sound sound;
        if (!bHolds) sound = TakeAll(buffer);
        ASSERT_EQ(buffer.FormatSet({1, 44100, -32, 0}), S_OK);
        EXPECT_EQ(buffer.Fill(), bHolds ? 882 : 0);
        Put(buffer, tone.Block(48000, 960), 48000);
        const Sound rest = TakeAll(buffer);
        sound.insert(sound.end(), rest.begin(), rest.end());
        EXPECT_NEAR(static_cast<double>(sound.size()), bHolds ? 2 * 882 : 960 + 882, 1);
        ExpectNoStep(sound, kHz, 44100);
    }
}

// What is held of stereo, or of one channel, when the channels change: by the call and by another format.
TEST(AudioBuffer, ItsChannelsChangeWhileItHoldsSound) {
    struct CHANGE {
        int32_t nFrom, nTo, nBitsOfSplit;
        bool bCreate;
        HRESULT hr;                      // of the call
        std::vector<int> arrSet, arrBy;  // levels by the call and by the format; empty: not asked
    };
    const CHANGE arrChanges[] = {
        {2, 6, 0, true, S_OK, {1, 2, 0, 0, 0, 0}, {1, 2, 0, 0, 0, 0}},
        {2, 6, 0, false, S_FALSE, {1, 2}, {}},
        {3, 4, 0, true, S_OK, {1, 2, 3, 0}, {1, 2, 3, 0}},
        {4, 4, 0, true, S_FALSE, {1, 2, 3, 4}, {1, 2, 3, 4}},
        {6, 2, 0, true, S_FALSE, {1, 2}, {1 + 3 + 5, 2 + 3 + 6}},
        {1, 4, 0, true, S_OK, {1, 0, 0, 0}, {1, 1, 0, 0}},
        {1, 3, 0x7, true, S_OK, {1, 0, 0}, {1, 0, 0}},
        {40, 41, 0, true, S_OK, {}, {}},
        {2, 1000, 0, true, S_OK, {}, {}},
        {2, 0, 0, true, E_INVALIDARG, {1, 2}, {}},
    };
    constexpr int64_t kHeld = 30;
    for (const CHANGE& change : arrChanges) {
        for (const int32_t nBits : {8, 16, 20, 24, 32, -32}) {
            SCOPED_TRACE(testing::Message() << change.nFrom << " to " << change.nTo << ", " << nBits);
            const ZR_AUD_PROPS from{change.nFrom, 48000, nBits, 0};
            Sound sound(static_cast<size_t>(change.nFrom * kHeld));
            for (size_t i = 0; i < sound.size(); ++i)
                sound[i] = static_cast<float>(i % static_cast<size_t>(change.nFrom) + 1) / 128;
            std::vector<uint8_t> bytes(static_cast<size_t>(AudBlockBytes(from) * kHeld));
            ConvertSamples(-32, reinterpret_cast<const uint8_t*>(sound.data()), nBits, bytes.data(), sound.size());
            for (const bool bCall : {true, false}) {
                const std::vector<int>& arrLevels = bCall ? change.arrSet : change.arrBy;
                if (!bCall && arrLevels.empty()) continue;
                ZrAudioBuffer2 buffer;
                ASSERT_EQ(buffer.ChannelsSet(2, true), E_INVALIDARG);
                ASSERT_EQ(buffer.PutAudio(from, bytes.data(), static_cast<int64_t>(bytes.size()), false, true), S_OK);
                if (bCall) {
                    EXPECT_EQ(buffer.ChannelsSet(change.nTo, change.bCreate), change.hr);
                } else {
                    buffer.FormatSet({change.nTo, 48000, nBits, change.nBitsOfSplit});
                }
                ASSERT_EQ(buffer.Fill(), kHeld);
                const ZR_AUD_PROPS now = buffer.Format();
                const auto nNow = static_cast<size_t>(now.nChannels);
                ASSERT_EQ(nNow, arrLevels.empty() ? static_cast<size_t>(std::min(change.nTo, 128)) : arrLevels.size());
                std::vector<uint8_t> taken(static_cast<size_t>(AudBlockBytes(now) * kHeld));
                ASSERT_EQ(buffer.GetAudio(taken.data(), kHeld), kHeld);
                Sound out(nNow * kHeld);
                ConvertSamples(nBits, taken.data(), -32, reinterpret_cast<uint8_t*>(out.data()), out.size());
                for (size_t i = 0; i < out.size(); ++i) {
                    const size_t c = i % nNow;
                    const bool bOld = c < static_cast<size_t>(change.nFrom);
                    const int nLevel = !arrLevels.empty() ? arrLevels[c] : bOld ? static_cast<int>(c) + 1 : 0;
                    ASSERT_EQ(out[i] * 128, static_cast<float>(nLevel)) << i;
                }
            }
        }
    }
}

TEST(AudioBuffer, IsClosedForWhatItCannotConvert) {
    ZrAudioBuffer2 buffer;
    buffer.FormatSet(kFloat48);
    const ZR_AUD_PROPS many{64, 44100, 16, 0};
    const std::vector<uint8_t> arrMany(128 * 10);
    const auto PutMany = [&] { return buffer.PutAudio(many, arrMany.data(), 1280, false, true); };
    EXPECT_EQ(PutMany(), VFW_E_UNSUPPORTED_AUDIO);
    EXPECT_EQ(PutMany(), ZR_E_NOT_SUPPORTED);
    EXPECT_EQ(Put(buffer, Sound(10), 48000), S_OK);
    EXPECT_EQ(buffer.Fill(), 10);
    buffer.FormatSet(many);
    EXPECT_EQ(PutMany(), S_OK);
}

// The first samples are those of the sound, not a rise out of a silence before it, and all of them are there.
TEST(AudioBuffer, ASoundOfAnotherRateStartsAtOnce) {
    ZrAudioBuffer2 buffer;
    buffer.FormatSet(kFloat48);
    Put(buffer, Sound(882, 0.5f), 44100);
    const Sound sound = TakeAll(buffer);
    EXPECT_NEAR(static_cast<double>(sound.size()), 960, 1);
    const auto itSound = std::find_if(sound.begin(), sound.end(), [](float _f) { return _f != 0; });
    EXPECT_NEAR(static_cast<double>(itSound - sound.begin()), 35, 1);  // the half of the filter
    EXPECT_TRUE(std::all_of(itSound, sound.end(), [](float _f) { return std::fabs(_f - 0.5f) < 1e-4f; }));
}

TEST(AudioBuffer, ScaledSoundIsLongerAndDoesNotJumpWhenItBegins) {
    constexpr double kHz = 500;
    ZrAudioBuffer2 buffer;
    buffer.FormatSet(kFloat48);
    Tone tone(kHz);
    for (int i = 0; i < 200; ++i) Put(buffer, tone.Block(48000, 960), 48000, i < 100 ? 1 : 1 + 1e-5 * (i - 100));
    EXPECT_NEAR(static_cast<double>(buffer.Fill()), 200 * 960 + 960e-5 * 100 * 99 / 2, 40);
    ExpectSmooth(TakeAll(buffer), 0, kHz, 48000);
}

TEST(AudioBuffer, SilenceBetweenSoundsMakesNoStep) {
    struct SOURCE {
        int32_t nRate;
        double dblFirst, dblScale;  // of the first block and of the others
    };
    for (const SOURCE& source : {SOURCE{48000, 1, 1}, SOURCE{48000, 1, 1.001}, SOURCE{44100, 1, 1}}) {
        SCOPED_TRACE(std::to_string(source.nRate) + " x " + std::to_string(source.dblScale));
        ZrAudioBuffer2 buffer;
        buffer.FormatSet(kFloat48);
        double dblScale = source.dblFirst;
        for (const int64_t nSilence : {256, 0, 4, 256, 1000}) {
            Put(buffer, Sound(500, 0.5f), source.nRate, dblScale);
            buffer.PutAudio(kFloat48, nullptr, 4 * nSilence, true, true);
            dblScale = source.dblScale;
        }
        Put(buffer, Sound(500, 0.5f), source.nRate, dblScale);
        const Sound sound = TakeAll(buffer);
        const auto itSound = std::find_if(sound.begin(), sound.end(), [](float _f) { return _f != 0; });
        const bool bSame = source.nRate == 48000 && source.dblScale == 1;
        EXPECT_NEAR(static_cast<double>(sound.size()), 6.0 * 500 * 48000 / source.nRate + 2 * 256 + 4 + 1000,
                    bSame ? 0 : 40);
        for (auto it = itSound + 1; it < sound.end(); ++it)
            ASSERT_LT(std::fabs(it[0] - it[-1]), 0.5 / 240 * (bSame ? 1.01 : 1.15)) << it - sound.begin();
    }
}

TEST(AudioBuffer, EightBitsAreNotSilent) {
    constexpr ZR_AUD_PROPS kProps{1, 8000, 8, 0};
    ZrAudioBuffer2 buffer;
    buffer.FormatSet(kProps);
    buffer.PutAudio(kProps, nullptr, 2, true, true);
    uint8_t arrBlock[4] = {200, 100, 255, 0};
    buffer.PutAudio(kProps, arrBlock, 4, false, true);
    uint8_t arrSum[6] = {128, 129, 128, 128, 200, 10};
    uint8_t arrTaken[6];
    ASSERT_EQ(buffer.GetAudio(arrTaken, 6), 6);
    SoundSum sum;
    sum.Begin(kProps, arrSum, 6);
    sum.Add(arrTaken, 6, {1, 1});
    sum.End();
    constexpr uint8_t kExpected[6] = {128, 129, 200, 100, 255, 0};
    EXPECT_EQ(std::memcmp(arrSum, kExpected, 6), 0);
    SoundGain gain;
    gain.Apply(kProps, arrSum, 6, {0.5, 0.5});
    constexpr uint8_t kHalf[6] = {128, 128, 164, 114, 192, 64};
    EXPECT_EQ(std::memcmp(arrSum, kHalf, 6), 0);
    SOUND_BLOCK block{kProps, arrSum, 6};
    LayoutMap map;
    ASSERT_TRUE(map.Map({2, 8000, 8, 1}, &block));  // the second track has nothing
    for (size_t i = 0; i < 6; ++i) EXPECT_EQ(block.p[2 * i] * 1000 + block.p[2 * i + 1], kHalf[i] * 1000 + 128) << i;
}

// Float has not the bits of all 32-bit samples.
TEST(AudioConverter, EqualFormatsAreCopied) {
    const ZR_AUD_PROPS props{1, 48000, 32, 0};
    std::vector<int32_t> in(1000), out(1004);
    for (size_t i = 0; i < in.size(); ++i) in[i] = static_cast<int32_t>(i * 2654435761u);
    ZrAudioConverter converter;
    ASSERT_EQ(converter.Init(props, props, 1000, 1.0), S_OK);
    auto cb = static_cast<int32_t>(4 * out.size());
    ASSERT_EQ(converter.Convert(reinterpret_cast<const uint8_t*>(in.data()), 4000,
                                reinterpret_cast<uint8_t*>(out.data()), &cb, 1.0),
              S_OK);
    ASSERT_EQ(cb, 4000);
    out.resize(1000);
    EXPECT_EQ(out, in);
}

// More channels than a track has are several, of which the first goes to the first.
TEST(LayoutMap, TakesMoreChannelsThanATrackHas) {
    std::vector<int16_t> sound(64, 100);
    std::fill_n(sound.begin(), 32, int16_t{1});
    SOUND_BLOCK block{{64, 48000, 16, 0}, reinterpret_cast<uint8_t*>(sound.data()), 1};
    LayoutMap map;
    ASSERT_TRUE(map.Map({4, 48000, 16, 0}, &block));
    for (int c = 0; c < 4; ++c) EXPECT_EQ(reinterpret_cast<const int16_t*>(block.p)[c], 32 / 4) << c;
}

// --- Where sound begins and ends

struct EDGE_CASE {
    const char* szName;
    std::vector<std::pair<float, int>> arrParts;  // level and samples; level 9: nothing comes
    bool bBreaks;                                 // at each part
    bool bExact;                                  // nothing is touched
};

TEST(SoundEdge, MakesNoStepLargerThanItsRamp) {
    const EDGE_CASE arrCases[] = {
        {"begin", {{0.0f, 100}, {0.8f, 900}}, false, false},
        {"end", {{0.8f, 1000}, {9.0f, 1000}}, false, false},
        {"end and begin in its fade", {{0.8f, 500}, {9.0f, 100}, {-0.8f, 700}}, false, false},
        {"jump", {{0.8f, 500}, {-0.8f, 700}}, true, false},
        {"jump in a jump: their ramps add", {{0.4f, 500}, {-0.4f, 50}, {0.4f, 60}, {-0.4f, 400}}, true, false},
        {"short sound", {{0.8f, 100}, {9.0f, 1000}}, false, false},
        {"silence", {{0.0f, 100}, {0.003f, 500}, {9.0f, 300}, {0.0f, 90}}, false, true},
        {"break without a jump", {{0.003f, 300}, {0.004f, 500}, {0.0025f, 100}}, true, true},
    };
    constexpr int64_t kRoom = 160;
    for (const EDGE_CASE& c : arrCases) {
        for (const int32_t nBits : {-32, 16, 24}) {
            SCOPED_TRACE(testing::Message() << c.szName << ", " << nBits);
            const ZR_AUD_PROPS props{2, 48000, nBits, 0};
            const auto cbBlock = static_cast<size_t>(AudBlockBytes(props));
            SoundEdge edge;
            Sound heard, wanted;
            for (const auto& [fLevel, nAll] : c.arrParts) {
                for (int64_t nDone = 0; nDone < nAll; nDone += kRoom) {
                    const int64_t nRoom = std::min<int64_t>(kRoom, nAll - nDone);
                    const int64_t nSound = fLevel > 1 ? 0 : nRoom;
                    Sound block(static_cast<size_t>(2 * nRoom), fLevel > 1 ? 0.0f : fLevel);
                    wanted.insert(wanted.end(), block.begin(), block.end());
                    std::vector<uint8_t> bytes(cbBlock * static_cast<size_t>(nRoom));
                    ConvertSamples(-32, reinterpret_cast<const uint8_t*>(block.data()), nBits, bytes.data(),
                                   block.size());
                    const int64_t n = edge.Smooth(props, bytes.data(), nSound, nRoom, c.bBreaks && nDone == 0);
                    ASSERT_GE(n, nSound);
                    std::fill(bytes.begin() + static_cast<ptrdiff_t>(cbBlock) * n, bytes.end(), uint8_t{0});
                    ConvertSamples(nBits, bytes.data(), -32, reinterpret_cast<uint8_t*>(block.data()), block.size());
                    heard.insert(heard.end(), block.begin(), block.end());
                }
            }
            for (size_t i = 0; i < heard.size(); ++i) {
                const float fBefore = i < 2 ? 0.0f : heard[i - 2];
                ASSERT_LE(std::fabs(heard[i] - fBefore), 1.6f / 240) << i;
                ASSERT_NEAR(heard[i], wanted[i], c.bExact ? 1.0f / 32768 : 2) << i;
            }
            const float fLast = c.arrParts.back().first;
            EXPECT_NEAR(heard.back(), fLast > 1 ? 0 : fLast, 1e-4f);
        }
    }
}

// --- Clocks that are not the same

// Blocks of a source whose clock is off by so many millionths, taken in blocks of the output, both with jitter.
TEST(DriftControl, HoldsWhatAStreamHeldInTheBegin) {
    constexpr int64_t kFrame = 400'000;
    for (const double dblPpm : {0.0, 100.0, -100.0, 300.0, -1000.0}) {
        SCOPED_TRACE(dblPpm);
        std::mt19937 random(5);
        DriftControl drift;
        double dblHeld = 1.7 * kFrame, dblScale = 1, dblLeast = 1e9, dblMost = 0, dblMean = 0;
        constexpr int kBlocks = 25 * 3600;
        for (int i = 0; i < kBlocks; ++i) {
            dblHeld += kFrame * (1 + dblPpm * 1e-6) * dblScale - kFrame;
            const auto nLate = static_cast<int64_t>(random() % 100'000);
            dblScale = drift.Next(static_cast<int64_t>(dblHeld) - nLate, kFrame, kFrame + kFrame / 4, 5 * kFrame / 2);
            ASSERT_TRUE(dblPpm != 0 || dblScale == 1) << i;
            dblLeast = std::min(dblLeast, dblHeld);
            dblMost = std::max(dblMost, dblHeld);
            if (i >= kBlocks / 2) dblMean += dblScale / (kBlocks / 2);
        }
        EXPECT_GT(dblLeast, 1.7 * kFrame - 200'000);
        EXPECT_LT(dblMost, 1.7 * kFrame + 200'000);
        EXPECT_NEAR((dblMean * (1 + dblPpm * 1e-6) - 1) * 1e6, 0, 1);
    }
}

}  // namespace
}  // namespace zr
