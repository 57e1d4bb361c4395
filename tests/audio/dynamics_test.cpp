#include "audio/dynamics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

#include "attributes/co_xml_node.h"
#include "audio/kernels/dynamics_row.h"
#include "audio/sample_convert.h"
#include "support/row_test.h"

namespace zr {
namespace {

using ZrAudioProcessor::AudioEffectBase;
using ZrAudioProcessor::CCompressor;
using ZrAudioProcessor::CDynamicAmplify;

// 997 Hz at 48 kHz: loud, from 0.2 s soft, from 0.5 s loud again; the second channel at half the level.
float Input(size_t _i, size_t _nChannel) {
    const double dblPeak = _i < 9600 || _i >= 24000 ? 0.9 : 0.05;
    return static_cast<float>(dblPeak * (_nChannel == 0 ? 1 : 0.5) *
                              std::sin(2 * std::numbers::pi * 997 * static_cast<double>(_i) / 48000));
}

std::vector<float> Stereo(size_t _nSamples) {
    std::vector<float> arr;
    for (size_t i = 0; i < _nSamples; ++i) {
        arr.push_back(Input(i, 0));
        arr.push_back(Input(i, 1));
    }
    return arr;
}

void Feed(AudioEffectBase* _pEffect, std::vector<float>* _pSamples, size_t _nBlock, int32_t _nChannels = 2) {
    const ZR_AUD_PROPS props{_nChannels, 48000, -32, 0};
    const size_t nAll = _pSamples->size() / static_cast<size_t>(_nChannels);
    for (size_t i = 0; i < nAll; i += _nBlock)
        _pEffect->Process(props, reinterpret_cast<uint8_t*>(_pSamples->data() + i * static_cast<size_t>(_nChannels)),
                          std::min(_nBlock, nAll - i));
}

void Configure(AudioEffectBase* _pEffect, std::u16string_view _xml) {
    const XMLNodePtr pNode = CoXMLNode::Create(u"top");
    ASSERT_EQ(pNode->Parse(_xml), S_OK);
    _pEffect->ReadParameters(*pNode);
}

constexpr size_t arrPoints[] = {100, 1000, 4811, 9599, 9700, 11000, 20001, 23990, 24100, 26007, 30011, 35990};

// What a plain program in another language has from the formulas, in double, sample by sample.
TEST(Compressor, FollowsItsFormulas) {
    struct CASE {
        const char* szName;
        std::u16string_view xml;
        double arrOut[2][12];
    };
    static const CASE arrCases[] = {
        {"as_it_comes",
         u"<c/>",
         {{0.41865601, -0.69309984, -0.20905524, 0.32719618, 0.00379534, 0.00411937, 0.01617395, 0.04312827,
           -0.37576943, 0.50354801, 0.37966119, -0.12486379},
          {0.20952654, -0.40781322, -0.14689323, 0.23134772, 0.00268355, 0.00264974, 0.00881711, 0.02281852,
           -0.19831872, 0.33238375, 0.26802268, -0.08829157}}},
        {"fast_with_make_up",
         u"<c attack_time='0.005' decay_time='0.1' threshold_db='-20' ratio='4' gain_db='6'/>",
         {{0.62815822, -0.35418379, -0.15012770, 0.23779719, 0.00279383, 0.00789931, 0.03801352, 0.09618715,
           -0.62144968, 0.31891791, 0.27509146, -0.09075200},
          {0.39227906, -0.29778041, -0.12624184, 0.19996280, 0.00234932, 0.00507968, 0.01905096, 0.04811001,
           -0.38992210, 0.26817692, 0.23132342, -0.07631303}}},
        {"limiter_with_short_window",
         u"<c attack_time='0.02' decay_time='0.2' threshold_db='-6' ratio='100' window_time='0.005'/>",
         {{0.41711485, -0.54916094, -0.21900124, 0.34688140, 0.00413165, 0.00464981, 0.01851654, 0.04762991,
           -0.41210931, 0.46922003, 0.40128146, -0.13238846},
          {0.20952654, -0.44615018, -0.19548269, 0.30963135, 0.00358732, 0.00326315, 0.00957615, 0.02412255,
           -0.20952654, 0.41527084, 0.35818902, -0.11817460}}},
        {"upward",
         u"<c ratio='0.5'/>",
         {{0.41991624, -1.00000000, -1.00000000, 1.00000000, 0.02564344, 0.01825872, 0.03367005, 0.07318660,
           -0.62878006, 1.00000000, 1.00000000, -0.84682625},
          {0.20952654, -0.55520381, -0.34744117, 0.55465220, 0.00641105, 0.00509998, 0.01184905, 0.02802739,
           -0.24308758, 0.67024794, 0.64032131, -0.21170719}}},
    };
    for (const CASE& test : arrCases) {
        for (size_t nBlock : {size_t{1}, size_t{801}, size_t{36000}}) {
            SCOPED_TRACE(testing::Message() << test.szName << ", blocks of " << nBlock);
            const auto pEffect = CCompressor::Make();
            Configure(pEffect.Get(), test.xml);
            std::vector<float> arr = Stereo(36000);
            Feed(pEffect.Get(), &arr, nBlock);
            for (size_t i = 0; i < std::size(arrPoints); ++i)
                for (size_t c = 0; c < 2; ++c)
                    EXPECT_NEAR(arr[arrPoints[i] * 2 + c], test.arrOut[c][i], 3e-6)
                        << "sample " << arrPoints[i] << " of channel " << c;
        }
    }
}

TEST(Compressor, SettlesAtItsCurve) {
    const auto pEffect = CCompressor::Make();
    std::vector<float> arr(96000);
    const double dblPeak = std::pow(10.0, -6.0 / 20);
    for (size_t i = 0; i < arr.size(); ++i)
        arr[i] = static_cast<float>(dblPeak * std::sin(2 * std::numbers::pi * static_cast<double>(i) / 48));
    Feed(pEffect.Get(), &arr, 1920, 1);
    EXPECT_NEAR(20 * std::log10(*std::max_element(arr.end() - 4800, arr.end())), -9, 0.02);
    EXPECT_TRUE(pEffect->Compressing(0));

    // A ratio of 0 and the words that are no numbers change nothing; a sample that is no number does not stay.
    Configure(pEffect.Get(), u"<c ratio='0' decay_time='0' window_time='-1'/>");
    arr.assign(96000, 0.25f);
    arr[7] = std::numeric_limits<float>::quiet_NaN();
    Feed(pEffect.Get(), &arr, 1920, 1);
    // A constant of 0.25 is e = 0.3536: (0.2512 / 0.3536) ^ 0.5 * 0.25.
    EXPECT_NEAR(arr.back(), 0.21071, 1e-4);
    arr.assign(240000, 1e-3f);
    Feed(pEffect.Get(), &arr, 1920, 1);
    EXPECT_NEAR(arr.back(), 1e-3, 1e-7);
    EXPECT_FALSE(pEffect->Compressing(0));
}

TEST(DynamicAmplify, FollowsItsFormulas) {
    struct CASE {
        const char* szName;
        std::u16string_view xml;
        size_t nBlock;
        double arrOut[12];
    };
    static const CASE arrCases[] = {
        {"as_it_comes",
         u"<a/>",
         1920,
         {0.41908573, -0.89298957, -0.39240151, 0.62372914, 0.00732195, 0.00777934, 0.04479713, 0.12924057, -1.0, 1.0,
          1.0, -0.54968636}},
        {"fast",
         u"<a attack_time='50' release_time='20' max_amplification='8'/>",
         1920,
         {0.42395172, -0.99144494, -0.43440602, 0.68807052, 0.01317177, 0.05221048, 0.15321848, 0.25426511, -1.0, 1.0,
          0.81551848, -0.26265231}},
        {"small_blocks",
         u"<a attack_time='10' release_time='1000' max_amplification='1.5'/>",
         500,
         {0.41915105, -0.89435721, -0.39512936, 0.63179474, 0.00732121, 0.00672821, 0.02128824, 0.05512764, -0.47607550,
          0.92282419, 0.79597569, -0.26261028}},
    };
    for (const CASE& test : arrCases) {
        SCOPED_TRACE(test.szName);
        const auto pEffect = CDynamicAmplify::Make();
        Configure(pEffect.Get(), test.xml);
        std::vector<float> arr = Stereo(36480);
        Feed(pEffect.Get(), &arr, test.nBlock);
        for (size_t i = 0; i < std::size(arrPoints); ++i)
            EXPECT_NEAR(arr[arrPoints[i] * 2], test.arrOut[i], 2e-6) << "sample " << arrPoints[i];
    }
    const auto pEffect = CDynamicAmplify::Make();
    Configure(pEffect.Get(), u"<a release_time='10' attack_time='0' max_amplification='50'/>");
    std::vector<float> arrSilence(9600, 0.0f);
    Feed(pEffect.Get(), &arrSilence, 960, 1);
    EXPECT_EQ(pEffect->Gain(), 50);
    EXPECT_EQ(*std::max_element(arrSilence.begin(), arrSilence.end()), 0);
}

// The same sound in every width comes out the same, to a step of the width; other widths stay as they are.
TEST(AudioEffects, TakeEveryWidth) {
    const std::vector<float> arrIn = Stereo(4800);
    std::vector<float> arrWanted = arrIn;
    const auto pReference = CCompressor::Make();
    Feed(pReference.Get(), &arrWanted, 4800);
    for (int32_t nBits : {8, 16, 32}) {
        SCOPED_TRACE(nBits);
        const auto cb = static_cast<size_t>(nBits / 8);
        const double dblFull = std::ldexp(1.0, nBits - 1);
        std::vector<uint8_t> bytes(arrIn.size() * cb);
        for (size_t i = 0; i < arrIn.size(); ++i) {
            const auto n = static_cast<int64_t>(std::nearbyint(arrIn[i] * dblFull)) + (nBits == 8 ? 128 : 0);
            std::memcpy(&bytes[i * cb], &n, cb);
        }
        const auto pEffect = CCompressor::Make();
        ASSERT_EQ(pEffect->Process({2, 48000, nBits, 0}, bytes.data(), 4800), S_OK);
        for (size_t i = 0; i < arrIn.size(); ++i) {
            int32_t n = 0;
            std::memcpy(reinterpret_cast<uint8_t*>(&n) + 4 - cb, &bytes[i * cb], cb);
            if (nBits == 8) n = static_cast<int32_t>((bytes[i] - 128) * (1 << 24));
            ASSERT_NEAR(std::ldexp(n, -31), arrWanted[i], 1.1 / dblFull + 1e-6) << "sample " << i;
        }
    }
    std::vector<uint8_t> bytes(6000, 0x55);
    EXPECT_EQ(CDynamicAmplify::Make()->Process({2, 48000, 24, 0}, bytes.data(), 1000), S_OK);
    EXPECT_EQ(bytes, std::vector<uint8_t>(6000, 0x55));
}

TEST(DynamicsRow, IsTheFormulaAndTheSameBitsOnEveryTarget) {
    std::vector<std::vector<float>> arrFirstTarget;
    test::OnEveryTarget(130, [&](std::mt19937& _rng, size_t _n, size_t) {
        std::vector<float> arrSrc(_n), arrOut(_n);
        for (float& f : arrSrc)
            f = std::ldexp(1 + static_cast<float>(_rng() % 65536) / 65536, static_cast<int>(_rng() % 40) - 35);
        const float fLimit = 0.0631f, fExponent = _n % 2 ? -0.45f : 0.5f;
        PowerAboveRow(arrSrc.data(), arrOut.data(), _n, fLimit, fExponent);
        for (size_t i = 0; i < _n; ++i) {
            const double dblWanted = arrSrc[i] > fLimit ? std::pow(double{arrSrc[i]} / fLimit, fExponent) : 1;
            EXPECT_NEAR(arrOut[i] / dblWanted, 1, 1e-6) << arrSrc[i];
        }
        std::vector<float> arrGained = arrSrc;
        GainLimitRow(arrGained.data(), arrOut.data(), _n, 1.7f);
        for (size_t i = 0; i < _n; ++i) EXPECT_EQ(arrGained[i], std::min(arrSrc[i] * (arrOut[i] * 1.7f), 1.0f));
        EXPECT_EQ(PeakRow(arrSrc.data(), _n), _n ? *std::max_element(arrSrc.begin(), arrSrc.end()) : 0);
        if (arrFirstTarget.size() <= _n)
            arrFirstTarget.push_back(arrOut);
        else
            EXPECT_EQ(arrOut, arrFirstTarget[_n]);
    });
}

}  // namespace
}  // namespace zr
