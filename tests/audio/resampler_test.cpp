#include "audio/resampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "support/row_test.h"

namespace zr {
namespace {

using Sound = std::vector<float>;

Sound Sine(double _dblFrequency, int32_t _nRate, size_t _n) {
    Sound sound(_n);
    for (size_t i = 0; i < _n; ++i) {
        sound[i] =
            static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * _dblFrequency * static_cast<double>(i) / _nRate));
    }
    return sound;
}

// In blocks of these lengths in turn; 0: all at once.
Sound Resampled(IPPResampler32f& _resampler, const Sound& _in, std::vector<size_t> _arrBlocks = {0}) {
    Sound out;
    for (size_t n = 0, k = 0; n < _in.size(); ++k) {
        size_t nBlock = std::min(_arrBlocks[k % _arrBlocks.size()], _in.size() - n);
        if (_arrBlocks[0] == 0) nBlock = _in.size();
        Sound block(_resampler.MostFor(nBlock));
        block.resize(_resampler.Put(_in.data() + n, nBlock, block.data()));
        out.insert(out.end(), block.begin(), block.end());
        n += nBlock;
    }
    return out;
}

// Power of what is left of the second half when a sine of that frequency is fitted and taken away, in dB of the sine's.
double ResidueDb(const Sound& _sound, double _dblFrequency, int32_t _nRate) {
    const size_t nFrom = _sound.size() / 2;
    double ss = 0, cc = 0, sc = 0, xs = 0, xc = 0;
    const auto Angle = [&](size_t i) { return 2 * std::numbers::pi * _dblFrequency * static_cast<double>(i) / _nRate; };
    for (size_t i = nFrom; i < _sound.size(); ++i) {
        const double s = std::sin(Angle(i)), c = std::cos(Angle(i)), x = double{_sound[i]};
        ss += s * s, cc += c * c, sc += s * c, xs += x * s, xc += x * c;
    }
    const double det = ss * cc - sc * sc;
    const double a = (xs * cc - xc * sc) / det, b = (xc * ss - xs * sc) / det;
    double dblRest = 0, dblAll = 0;
    for (size_t i = nFrom; i < _sound.size(); ++i) {
        const double f = a * std::sin(Angle(i)) + b * std::cos(Angle(i));
        dblRest += (double{_sound[i]} - f) * (double{_sound[i]} - f);
        dblAll += f * f;
    }
    return 10 * std::log10(dblRest / dblAll);
}

TEST(Resampler, KeepsATonePureAndItsLength) {
    struct {
        int32_t nIn, nOut;
        double dblFrequency;
    } const arrCases[] = {{44100, 48000, 997},   {48000, 44100, 997},   {32000, 48000, 12000}, {96000, 48000, 15000},
                          {48000, 48005, 10000}, {44101, 48000, 15000}, {8000, 48000, 3000}};
    for (const auto& c : arrCases) {
        SCOPED_TRACE(testing::Message() << c.nIn << " to " << c.nOut);
        IPPResampler32f resampler;
        ASSERT_EQ(resampler.Init(c.nIn, c.nOut, IPPResampler32f::kTaps, 0), S_OK);
        const Sound out = Resampled(resampler, Sine(c.dblFrequency, c.nIn, static_cast<size_t>(c.nIn)), {1024});
        EXPECT_NEAR(static_cast<double>(out.size()), c.nOut, 1.0);
        EXPECT_LT(ResidueDb(out, c.dblFrequency, c.nOut), -100);
    }
}

// The edge of the band lies at the same part of half the lower rate, whichever it is and however far the other one.
TEST(Resampler, KeepsWhatTheOutputCanHoldAndNoMore) {
    constexpr std::pair<int32_t, int32_t> arrRates[] = {{44100, 48000}, {48000, 44100}, {96000, 48000}, {48000, 32000},
                                                        {48000, 16000}, {192000, 8000}, {96000, 47990}, {48000, 44101}};
    for (const auto& [nIn, nOut] : arrRates) {
        const auto Db = [nIn = nIn, nOut = nOut](double _dblPart) {
            IPPResampler32f resampler;
            EXPECT_EQ(resampler.Init(nIn, nOut, IPPResampler32f::kTaps, 0), S_OK);
            const double dblHz = _dblPart * std::min(nIn, nOut) / 2;
            const Sound out = Resampled(resampler, Sine(dblHz, nIn, static_cast<size_t>(nIn)));
            double dblPower = 0;
            for (size_t i = 1000; i < out.size(); ++i) dblPower += double{out[i]} * double{out[i]};
            return 10 * std::log10(dblPower / static_cast<double>(out.size() - 1000) / 0.125);
        };
        SCOPED_TRACE(testing::Message() << nIn << " to " << nOut);
        EXPECT_NEAR(Db(0.5), 0, 0.001);
        EXPECT_NEAR(Db(0.85), 0, 0.02);
        EXPECT_NEAR(Db(0.9), -0.38, 0.03);
        EXPECT_NEAR(Db(0.95), -6, 0.1);
        EXPECT_LT(Db(nIn > nOut ? 1.06 : 0), -89);
    }
    IPPResampler32f resampler;
    EXPECT_EQ(resampler.Init(257 * 100, 100, IPPResampler32f::kTaps, 0), E_FAIL);
}

TEST(Resampler, BlocksOfAnyLengthGiveTheSameSamples) {
    for (const int32_t nOut : {48000, 47999, 22050}) {
        IPPResampler32f whole, parts;
        whole.Init(44100, nOut, IPPResampler32f::kTaps, 0);
        parts.Init(44100, nOut, IPPResampler32f::kTaps, 0);
        const Sound in = Sine(1234, 44100, 20000);
        EXPECT_EQ(Resampled(whole, in), Resampled(parts, in, {1, 2, 0x100, 3, 63, 64, 65, 1764}));
    }
}

// The largest second difference of a sine is its amplitude times the square of its step: a click is above.
TEST(Resampler, AChangeOfRatesMakesNoStep) {
    IPPResampler32f resampler;
    resampler.Init(48000, 48000, IPPResampler32f::kTaps, 0);
    Sound out;
    const Sound in = Sine(1000, 48000, 48000);
    const int32_t arrRates[] = {48000, 48005, 48000, 47990, 48100, 44100, 48000};
    size_t n = 0;
    for (const int32_t nRate : arrRates) {
        ASSERT_TRUE(Succeeded(resampler.Init(48000, nRate, IPPResampler32f::kTaps, 0)));
        const Sound part = Resampled(
            resampler, Sound(in.begin() + static_cast<ptrdiff_t>(n), in.begin() + static_cast<ptrdiff_t>(n + 4800)));
        out.insert(out.end(), part.begin(), part.end());
        n += 4800;
    }
    const double dblStep = 2 * std::numbers::pi * 1000 / 44100;
    for (size_t i = 2; i < out.size(); ++i) {
        const double d = double{out[i]} - 2 * double{out[i - 1]} + double{out[i - 2]};
        ASSERT_LT(std::fabs(d), 0.5 * dblStep * dblStep * 1.5) << i;
    }
}

TEST(Resampler, RowsFollowTheirFormulaOnEveryTarget) {
    test::OnEveryTarget(40, [](std::mt19937& _rng, size_t _n, size_t _nSkew) {
        std::uniform_real_distribution<float> random(-1, 1);
        Sound weights(6 * 144), src(300);
        for (float& f : weights) f = random(_rng);
        for (float& f : src) f = random(_rng);
        for (const auto& [nTaps, bExact] : {std::pair<size_t, bool>{64, true}, {64, false}, {144, true}, {80, false}}) {
            const RESAMPLE_PLAN plan{weights.data(), nTaps, 5, bExact ? 5u : 7u, 1, 2, bExact, bExact ? 0 : 0.25};
            RESAMPLE_POSITION position{_nSkew, 3};
            Sound out(_n + 1, 9.0f);
            ResampleRow(src.data(), out.data(), _n, plan, position);
            EXPECT_EQ(out[_n], 9.0f);
            for (size_t r = 0; r < _n; ++r) {
                const uint64_t nAt = 3 + r * (plan.nPhases + 2);
                const double dblPlace =
                    (static_cast<double>(nAt % plan.nPhases) + plan.dblOffset) / plan.nPhases * plan.nPlaces;
                const auto nPlace = static_cast<size_t>(dblPlace);
                const auto fPart = static_cast<float>(dblPlace - static_cast<double>(nPlace));
                float s[16];
                for (size_t i = 0; i < nTaps; ++i) {
                    const float a = weights[nPlace * nTaps + i], b = weights[(nPlace + 1) * nTaps + i];
                    volatile float w = bExact ? a : b - a;
                    if (!bExact) w = w * fPart;
                    if (!bExact) w = a + w;
                    volatile float product = src[_nSkew + nAt / plan.nPhases + i] * w;
                    s[i % 16] = i < 16 ? product : s[i % 16] + product;
                }
                for (size_t i = 0; i < 8; ++i) s[i] += s[i + 8];
                for (size_t i = 0; i < 4; ++i) s[i] += s[i + 4];
                EXPECT_EQ(out[r], (s[0] + s[2]) + (s[1] + s[3])) << r << " of " << _n;
            }
        }
    });
}

// From a copy and back, by a little and by an octave: no step is larger than the slope of the sound.
TEST(Resampler, AChangeOfTheRateDoesNotClick) {
    constexpr double kHz = 440, kTurn = 6.283185307179586;
    IPPResampler32f resampler;
    std::vector<float> in(1600), out(8000);
    const double dblSlope = 0.5 * kTurn * kHz / 47990;
    double dblLast = 0, dblLastStep = 0;
    int64_t nIn = 0, nOut = 0;
    for (int nBlock = 0; nBlock < 300; ++nBlock) {
        static constexpr int32_t arrRates[] = {48000, 48005, 48000, 47990, 48117, 96000};
        ASSERT_GE(resampler.Init(48000, arrRates[nBlock / 10 % 6], IPPResampler32f::kTaps, 1600), S_OK);
        for (float& f : in) f = static_cast<float>(0.5 * std::sin(kTurn * kHz * static_cast<double>(nIn++) / 48000));
        const size_t n = resampler.Put(in.data(), in.size(), out.data());
        for (size_t i = 0; i < n; ++i, ++nOut) {
            const double dblStep = out[i] - dblLast;
            ASSERT_LT(std::fabs(dblStep), dblSlope * 1.01) << nOut;
            // A jump by a hundredth of a sample shows here.
            ASSERT_LT(std::fabs(dblStep - dblLastStep), dblSlope * (nOut < 100 ? 1.1 : 0.6)) << nOut;
            dblLast = out[i];
            dblLastStep = dblStep;
        }
    }
}

}  // namespace
}  // namespace zr
