#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <numbers>

#include "audio/channel_meters.h"
#include "audio/kernels/level_row.h"
#include "audio/sample_convert.h"
#include "media/aud_props.h"
#include "support/allocation_count.h"
#include "support/row_test.h"

namespace zr {
namespace {

using test::Bytes;
using Wave = std::function<double(size_t)>;  // by sample

constexpr float kInfinity = std::numeric_limits<float>::infinity();

Wave Sine(double _dblPeak, double _dblHz, double _dblPhase = 0) {
    return [=](size_t _i) {
        return _dblPeak * std::sin(2 * std::numbers::pi * _dblHz * static_cast<double>(_i) / 48000 + _dblPhase);
    };
}

double Amplitude(double _dblDb) { return std::pow(10.0, _dblDb / 20); }

TEST(LevelRow, IsTheSameSumsOnEveryTarget) {
    test::OnEveryTarget(130, [](std::mt19937& _rng, size_t _n, size_t _nSkew) {
        const auto Number = [&] { return static_cast<float>(static_cast<int32_t>(_rng())) * 0x1p-31f; };
        std::vector<float> arrSrc(_n + 8), arrFirst(_n + 8), arrSecond(_n + 8);
        std::vector<int16_t> arr16(_n + 8);
        for (size_t i = 0; i < _n + 8; ++i) {
            arrSrc[i] = Number();
            arrFirst[i] = Number();
            arrSecond[i] = Number();
            arr16[i] = _rng() % 4 == 0 ? int16_t{-32768} : static_cast<int16_t>(_rng());
        }
        const float *pSrc = &arrSrc[_nSkew], *pFirst = &arrFirst[_nSkew], *pSecond = &arrSecond[_nSkew];
        const int16_t* p16 = &arr16[_nSkew];
        const auto Sum = [&](const auto& _item) {
            float arr[8] = {};
            for (size_t i = 0; i < _n; ++i) arr[i % 8] += _item(i);
            return ((arr[0] + arr[4]) + (arr[2] + arr[6])) + ((arr[1] + arr[5]) + (arr[3] + arr[7]));
        };
        LEVEL_SUMS sums;
        LevelRow32f(pSrc, pFirst, pSecond, _n, &sums);
        EXPECT_EQ(sums.fSquares, Sum([&](size_t i) { return pSrc[i] * pSrc[i]; }));
        EXPECT_EQ(sums.fFirst, Sum([&](size_t i) { return std::abs(pSrc[i]) * pFirst[i]; }));
        EXPECT_EQ(sums.fSecond, Sum([&](size_t i) { return std::abs(pSrc[i]) * pSecond[i]; }));
        const size_t nPlaces = _n < kTruePeakTaps ? 0 : _n - kTruePeakTaps + 1;
        float arrTaps[3][kTruePeakTaps], fTruePeak = 0;
        for (auto& taps : arrTaps)
            for (float& f : taps) f = Number();
        for (size_t i = 0; i < nPlaces; ++i) {
            for (const auto& taps : arrTaps) {
                float fSum = 0;
                for (size_t k = 0; k < kTruePeakTaps; ++k) fSum += taps[k] * pSrc[i + k];
                fTruePeak = std::max(fTruePeak, std::abs(fSum));
            }
        }
        EXPECT_EQ(TruePeakRow(pSrc, nPlaces, arrTaps), fTruePeak);
        LEVEL_SUMS_16 sums16;
        LevelRow16s(p16, pFirst, pSecond, _n, &sums16);
        EXPECT_EQ(sums16.fFirst, Sum([&](size_t i) { return std::abs(static_cast<float>(p16[i])) * pFirst[i]; }));
        EXPECT_EQ(sums16.fSecond, Sum([&](size_t i) { return std::abs(static_cast<float>(p16[i])) * pSecond[i]; }));
        float fPeak = 0;
        int32_t nPeak = 0;
        uint64_t nSquares = 0;
        for (size_t i = 0; i < _n; ++i) {
            fPeak = std::max(fPeak, std::abs(pSrc[i]));
            nPeak = std::max(nPeak, std::abs(int32_t{p16[i]}));
            nSquares += static_cast<uint64_t>(int64_t{p16[i]} * p16[i]);
        }
        EXPECT_EQ(sums.fPeak, fPeak);
        EXPECT_EQ(sums16.nPeak, nPeak);
        EXPECT_EQ(sums16.nSquares, nSquares);
        std::vector<int16_t> arrStereo(2 * _n);
        for (size_t i = 0; i < _n; ++i) {
            arrStereo[2 * i] = p16[i];
            arrStereo[2 * i + 1] = p16[_n - 1 - i];
        }
        std::vector<int16_t> arrBackward(p16, p16 + _n);
        std::reverse(arrBackward.begin(), arrBackward.end());
        LEVEL_SUMS_16 arrBoth[2], arrWanted[2] = {sums16, {}};
        LevelRow16s(arrBackward.data(), pFirst, pSecond, _n, &arrWanted[1]);
        LevelRowStereo16s(arrStereo.data(), pFirst, pSecond, _n, arrBoth);
        for (const int c : {0, 1}) EXPECT_EQ(arrBoth[c], arrWanted[c]) << c;
    });
}

TEST(LevelMeter, ReadsKnownSignals) {
    struct CASE {
        const char* szName;
        Wave wave;
        float fRMS, fPeak, fVU;  // behind two seconds, when the needle stands
    };
    const float fHigher = static_cast<float>(20 * std::log10(32768.0 / 32767));
    const CASE arrCases[] = {
        {"full_sine", Sine(1, 997), 0, 0, -3.922f},
        {"sine_20_db_down", Sine(0.1, 997), -20, -20, -23.922f},
        {"square", [](size_t i) { return i / 24 % 2 ? 1.0 : -1.0; }, 3.0103f, 0, 0},
        {"lowest_of_16_bits", [](size_t) { return -32768.0 / 32767; }, 3.0103f + fHigher, fHigher, fHigher},
        {"silence", [](size_t) { return 0.0; }, -kInfinity, -kInfinity, -kInfinity},
    };
    for (const CASE& test : arrCases) {
        SCOPED_TRACE(test.szName);
        std::vector<int16_t> arr16(96000);
        std::vector<float> arr32(96000);
        for (size_t i = 0; i < arr16.size(); ++i) {
            arr16[i] = static_cast<int16_t>(std::lround(test.wave(i) * 32767));
            arr32[i] = static_cast<float>(test.wave(i));
        }
        IPPMeter16s meter16;
        IPPMeter32f meter32;
        float arrRMS[2], arrPeak[2], arrVU[2];
        meter16.Process(arr16.data(), arr16.size(), 48000, &arrRMS[0], &arrPeak[0], &arrVU[0]);
        meter32.Process(arr32.data(), arr32.size(), 48000, &arrRMS[1], &arrPeak[1], &arrVU[1]);
        for (size_t i = 0; i < 2; ++i) {
            if (std::isinf(test.fRMS)) {
                EXPECT_EQ(arrRMS[i], -kInfinity);
                EXPECT_EQ(arrPeak[i], -kInfinity);
                EXPECT_EQ(arrVU[i], -kInfinity);
                continue;
            }
            EXPECT_NEAR(arrRMS[i], test.fRMS, 0.001);
            EXPECT_NEAR(arrPeak[i], test.fPeak, 0.001);
            EXPECT_NEAR(arrVU[i], test.fVU, 0.01);
        }
    }
}

// The times of the swing are those of the differential equation, integrated numerically elsewhere.
TEST(LevelMeter, SwingsAsAVuMeterHoweverTheBlocksFall) {
    struct {
        size_t nSamples;
        double dblLevel;
    } constexpr arrSwing[] = {{960, 0.03152039},   {4800, 0.43508685},  {9600, 0.84529025}, {14400, 0.99},
                              {19200, 1.01249896}, {21120, 1.01108513}, {48000, 0.99997659}};
    for (size_t nBlock : {size_t{1}, size_t{801}, size_t{1920}, size_t{100000}}) {
        SCOPED_TRACE(nBlock);
        IPPMeter32f meter;
        std::vector<float> arrOnes(48000, 1.0f);
        size_t nDone = 0;
        float fVU = 0;
        for (const auto& point : arrSwing) {
            while (nDone < point.nSamples) {
                const size_t n = std::min(nBlock, point.nSamples - nDone);
                meter.Process(arrOnes.data(), n, 48000, nullptr, nullptr, &fVU);
                nDone += n;
            }
            EXPECT_NEAR(fVU, 20 * std::log10(point.dblLevel), 0.002) << point.nSamples;
        }
        arrOnes[40] = std::numeric_limits<float>::quiet_NaN();
        float fRMS = 0, fPeak = 0;
        meter.Process(arrOnes.data(), 100, 48000, &fRMS, &fPeak, &fVU);
        EXPECT_NEAR(fRMS, 10 * std::log10(2 * 0.99), 0.001) << "the others are measured";
        EXPECT_NEAR(fPeak, 0, 0.001);
        arrOnes[40] = 1e30f;
        IPPMeter32f loud;
        loud.Process(arrOnes.data(), 100, 48000, &fRMS, &fPeak, nullptr);
        EXPECT_GT(fRMS, 100);
        EXPECT_GT(fPeak, 100);
        arrOnes[40] = 1;
        meter.Process(arrOnes.data(), 48000, 48000, nullptr, nullptr, &fVU);
        EXPECT_NEAR(fVU, 0, 0.01) << "a sample that is no number has left something behind";
    }
}

Bytes Block(const ZR_AUD_PROPS& _props, std::span<const Wave> _arrWaves, size_t _nSamples, size_t _nFrom = 0) {
    std::vector<float> arrFloats;
    for (size_t i = 0; i < _nSamples; ++i)
        for (const Wave& wave : _arrWaves) arrFloats.push_back(static_cast<float>(wave(_nFrom + i)));
    Bytes bytes(_nSamples * static_cast<size_t>(AudBlockBytes(_props)));
    ConvertSamples(-32, reinterpret_cast<const uint8_t*>(arrFloats.data()), _props.nBitsPerSample, bytes.data(),
                   arrFloats.size());
    return bytes;
}

TEST(ChannelMeters, MeasuresEveryFormatAndHoldsPeaksUntilTheyAreRead) {
    const Wave arrWaves[] = {Sine(0.5, 1000), Sine(0.01, 500), Sine(0.25, 3000)};
    for (int32_t nBits : {16, 20, 24, 32, -32}) {
        SCOPED_TRACE(nBits);
        const ZR_AUD_PROPS props{3, 48000, nBits, 0};
        ChannelMeters meters;
        Bytes bytes = Block(props, arrWaves, 9600);
        ASSERT_EQ(meters.Measure(props, bytes.data(), 9600), S_OK);
        ZR_AUDIO_TRACK_LOUDNESS loud, soft, later;
        meters.Read(&loud, false);
        ASSERT_EQ(loud.nValidChannels, 3);
        EXPECT_NEAR(loud.arrRMS[0], -6.02, 0.01);
        EXPECT_NEAR(loud.arrRMS[1], -40, 0.05);
        EXPECT_NEAR(loud.arrRMS[2], -12.04, 0.01);
        std::fill(bytes.begin(), bytes.end(), uint8_t{0});
        const int64_t nAllocations = AllocationCount();
        ASSERT_EQ(meters.Measure(props, bytes.data(), 9600), S_OK);
        EXPECT_EQ(AllocationCount(), nAllocations);
        meters.Read(&soft);
        EXPECT_EQ(soft.arrRMS[0], -kInfinity);
        EXPECT_LT(soft.arrVUMeter[0], loud.arrVUMeter[0] - 10);
        EXPECT_EQ(soft.arrVUPeaks[0], loud.arrVUMeter[0]);
        meters.Measure(props, bytes.data(), 9600);
        meters.Read(&later);
        EXPECT_EQ(later.arrVUPeaks[0], later.arrVUMeter[0]);

        const ZR_AUD_PROPS other{3, 48000, nBits == 16 ? -32 : 16, 0};
        bytes.assign(100 * 3 * 4, 0);
        meters.Measure(other, bytes.data(), 100);
        meters.Read(&later);
        // Between 16 bits and the others the history goes.
        EXPECT_EQ(std::isinf(later.arrVUMeter[0]), nBits == 16 || other.nBitsPerSample == 16);
    }
    EXPECT_EQ(ChannelMeters().Measure({2, 48000, 17, 0}, nullptr, 10), ZR_E_NOT_SUPPORTED);
}

TEST(ChannelMeters, AppendsTracksUntilTheRecordIsFull) {
    ZR_AUDIO_LOUDNESS all;
    ZR_AUDIO_TRACK_LOUDNESS track;
    track.nValidChannels = 6;
    track.arrEBUMode_I = -23;
    for (int i = 0; i < 32; ++i) track.arrRMS[i] = static_cast<float>(i);
    for (int i = 0; i < 7; ++i) AppendLevels(track, &all);
    EXPECT_EQ(all.nValidChannels, 32);
    EXPECT_EQ(all.nValidTracks, 6);
    EXPECT_EQ(static_cast<uint32_t>(all.nTracksSplitBit), 0xA0820820u);
    EXPECT_EQ(all.arrRMS[31], 1);
    EXPECT_EQ(all.arrEBUMode_I[31], -23);
}

// One part of a test signal: the level of each channel for so long.
struct PART {
    double dblSeconds;
    std::vector<double> arrDb;
};

LOUDNESS MeasureTone(LoudnessMeter* _pMeter, std::span<const PART> _arrParts, size_t _nBlock) {
    size_t i = 0;
    for (const PART& part : _arrParts) {
        const size_t nEnd = i + static_cast<size_t>(part.dblSeconds * 48000);
        while (i < nEnd) {
            const size_t n = std::min(_nBlock, nEnd - i);
            std::vector<float> arrBlock;
            for (size_t k = 0; k < n; ++k)
                for (double dblDb : part.arrDb)
                    arrBlock.push_back(static_cast<float>(Sine(Amplitude(dblDb), 1000)(i + k)));
            _pMeter->Process(arrBlock.data(), n, static_cast<int32_t>(part.arrDb.size()), 48000);
            i += n;
        }
    }
    return _pMeter->Levels();
}

// The minimum requirements of EBU Tech 3341 and their readings.
TEST(LoudnessMeter, ReadsTheEbuTones) {
    if (!MakeLoudnessEngine(2, 48000)) GTEST_SKIP() << "built without libebur128";
    struct CASE {
        const char* szName;
        std::vector<PART> arrParts;
        double dblM, dblS, dblI;
    };
    const CASE arrCases[] = {
        {"stereo_23", {{20, {-23, -23}}}, -23, -23, -23},
        {"stereo_33", {{20, {-33, -33}}}, -33, -33, -33},
        {"relative_gate", {{10, {-36, -36}}, {60, {-23, -23}}, {10, {-36, -36}}}, -36, -36, -23},
        {"absolute_gate",
         {{10, {-72, -72}}, {10, {-36, -36}}, {60, {-23, -23}}, {10, {-36, -36}}, {10, {-72, -72}}},
         -72,
         -72,
         -23},
        {"surround_5", {{20, {-28, -28, -24, -30, -30}}}, -23, -23, -23},
    };
    for (const CASE& test : arrCases) {
        SCOPED_TRACE(test.szName);
        LoudnessMeter meter;
        const LOUDNESS loudness = MeasureTone(&meter, test.arrParts, 1601);
        EXPECT_NEAR(loudness.fMomentary, test.dblM, 0.1);
        EXPECT_NEAR(loudness.fShortTerm, test.dblS, 0.1);
        EXPECT_NEAR(loudness.fIntegrated, test.dblI, 0.1);
    }
}

TEST(LoudnessMeter, FindsPeaksBetweenTheSamples) {
    struct {
        double dblHz, dblPhaseDegrees;
    } constexpr arrTones[] = {{12000, 0}, {12000, 45}, {8000, 60}, {6000, 67.5}};
    for (const auto& tone : arrTones) {
        LoudnessMeter meter;
        const Wave wave = Sine(0.5, tone.dblHz, tone.dblPhaseDegrees * std::numbers::pi / 180);
        for (size_t nBlock = 0; nBlock < 10; ++nBlock) {
            std::vector<float> arrBlock;
            for (size_t i = 0; i < 1920; ++i) {
                arrBlock.push_back(0);
                arrBlock.push_back(static_cast<float>(wave(nBlock * 1920 + i)));
            }
            meter.Process(arrBlock.data(), 1920, 2, 48000);
        }
        EXPECT_GT(meter.Levels().fTruePeak, -6.4) << tone.dblHz << " " << tone.dblPhaseDegrees;
        EXPECT_LT(meter.Levels().fTruePeak, -5.8) << tone.dblHz << " " << tone.dblPhaseDegrees;
    }
}

// Bursts of 5 kHz read that far below the steady tone, with the tolerances of IEC 60268-10 type II.
TEST(LoudnessMeter, MovesAsAProgrammeMeter) {
    struct {
        double dblMs, dblDb, dblTolerance;
    } constexpr arrBursts[] = {{0.5, -17, 2}, {1.5, -9, 1}, {5, -4, 0.75}, {10, -2, 0.5}, {100, 0, 0.3}};
    const auto Feed = [](LoudnessMeter* _pMeter, double _dblPeak, double _dblMs) {
        std::vector<float> arrBlock;
        for (size_t i = 0; i < static_cast<size_t>(_dblMs * 48); ++i)
            arrBlock.push_back(static_cast<float>(Sine(_dblPeak, 5000)(i)));
        _pMeter->Process(arrBlock.data(), arrBlock.size(), 1, 48000);
        return _pMeter->Levels().fQuasiPeak;
    };
    for (const auto& burst : arrBursts) {
        LoudnessMeter meter;
        EXPECT_NEAR(Feed(&meter, 0.5, burst.dblMs), -6.02 + burst.dblDb, burst.dblTolerance) << burst.dblMs;
    }
    LoudnessMeter meter;
    const float fSteady = Feed(&meter, 1, 2000);
    EXPECT_NEAR(fSteady, 0, 0.05);
    EXPECT_NEAR(Feed(&meter, 0, 2800), fSteady - 24, 0.3);
}

}  // namespace
}  // namespace zr
