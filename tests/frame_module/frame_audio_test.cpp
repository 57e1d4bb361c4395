#include "frame_module/frame_audio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "frame_module/channel_samples.h"
#include "frame_module/frame_builders.h"
#include "media/aud_props.h"
#include "zr/memory.h"

namespace zr {
namespace {

std::vector<uint8_t> CountingBytes(size_t _cb) {
    std::vector<uint8_t> arr(_cb);
    for (size_t i = 0; i < _cb; ++i) arr[i] = static_cast<uint8_t>(i * 7 + 3);
    return arr;
}

// A frame of three channels whose bytes count.
ZrPtr<IZrFFrame> AudioFrame(int32_t _nBits, int32_t _nSamples) {
    const ZR_AUD_PROPS props{3, 48000, _nBits, 0};
    return FrameOfSound(props, CountingBytes(static_cast<size_t>(AudBlockBytes(props) * _nSamples)));
}

template <class T>
std::span<T> ChannelOf(IZrFFrame& _frame, int32_t _nChannel, bool _bCreate = false) {
    int32_t cb = 0;
    int64_t lp = 0;
    EXPECT_EQ(_frame.ZrFAudioChannelGetBytes(_nChannel, _bCreate, &cb, &lp), S_OK);
    return {reinterpret_cast<T*>(lp), static_cast<size_t>(cb) / sizeof(T)};
}

// What a float of a sample must be, from the bytes, in double arithmetic.
double ValueOf(int32_t _nBits, const uint8_t* _p) {
    if (_nBits == -32) {
        float f;
        std::memcpy(&f, _p, 4);
        return f;
    }
    if (_nBits == 8) return (_p[0] - 128) / 128.0;
    const int nBytes = AudBytesPerSample(_nBits);
    int64_t n = 0;
    for (int i = 0; i < nBytes; ++i) n += int64_t{_p[i]} << (8 * i);
    if (n >= int64_t{1} << (8 * nBytes - 1)) n -= int64_t{1} << (8 * nBytes);
    return std::ldexp(static_cast<double>(n), 1 - 8 * nBytes);
}

TEST(FrameAudio, ChannelRowsAreFloatsOfFullScaleOne) {
    for (const int32_t nBits : {8, 20, 24, 32}) {
        SCOPED_TRACE(nBits);
        const ZrPtr<IZrFFrame> p = AudioFrame(nBits, 40);
        const std::vector<uint8_t> arrBefore(AudioOf(*p).begin(), AudioOf(*p).end());
        for (int32_t nChannel = 0; nChannel < 3; ++nChannel) {
            const auto row = ChannelOf<float>(*p, nChannel);
            ASSERT_EQ(row.size(), 40u);
            for (size_t i = 0; i < row.size(); ++i) {
                const size_t nAt =
                    (i * 3 + static_cast<size_t>(nChannel)) * static_cast<size_t>(AudBytesPerSample(nBits));
                ASSERT_EQ(row[i], static_cast<float>(ValueOf(nBits, &arrBefore[nAt])));
            }
        }
        // Put back unchanged, every bit is as before, even those of 32 that a float does not hold.
        EXPECT_EQ(p->ZrFAudioChannelsUpdate(), S_OK);
        EXPECT_TRUE(std::ranges::equal(AudioOf(*p), arrBefore));
    }
}

TEST(FrameAudio, ChangesArriveByUpdateOnlyRoundedAndSaturated) {
    constexpr float fNan = std::numeric_limits<float>::quiet_NaN();
    const std::tuple<int32_t, float, double> arrCases[] = {
        {24, 1.5f, 1.0 - 0x1p-23},
        {24, -1.5f, -1.0},
        {24, 0.5f + 0x1p-23f, 0.5 + 0x1p-23},
        {24, fNan, 0.0},
        {20, 0.3f, 157286 * 0x1p-19},  // 157286.4 of 2^19
        {20, 2.0f, 1.0 - 0x1p-19},
        {32, 1.0f, 1.0 - 0x1p-31},
        {32, -7.0f, -1.0},
        {32, 0.25f, 0.25},
        {8, -2.0f, -1.0},
        {8, 0.5f, 0.5},
        {-32, 3.0f, 3.0},  // float has no full scale to saturate at
    };
    for (const auto& [nBits, fValue, dblStored] : arrCases) {
        SCOPED_TRACE(testing::Message() << nBits << " bits " << fValue);
        const ZrPtr<IZrFFrame> p = AudioFrame(nBits, 5);
        const std::vector<uint8_t> arrBefore(AudioOf(*p).begin(), AudioOf(*p).end());
        const auto cbSample = static_cast<size_t>(AudBytesPerSample(nBits));
        ChannelOf<float>(*p, 1)[2] = fValue;
        EXPECT_TRUE(std::ranges::equal(AudioOf(*p), arrBefore));
        EXPECT_EQ(p->ZrFAudioChannelsUpdate(), S_OK);
        EXPECT_EQ(ValueOf(nBits, &AudioOf(*p)[7 * cbSample]), dblStored);
        for (size_t i = 0; i < arrBefore.size(); ++i)
            if (i / cbSample != 7) {
                EXPECT_EQ(AudioOf(*p)[i], arrBefore[i]) << i;
            }
    }
}

TEST(FrameAudio, NewChannelsAreSilentAndComeByUpdate) {
    const ZrPtr<IZrFFrame> p = AudioFrame(16, 4);
    const std::vector<uint8_t> arrBefore(AudioOf(*p).begin(), AudioOf(*p).end());
    int32_t cb = 0;
    int64_t lp = 0;
    EXPECT_EQ(p->ZrFAudioChannelGetBytes(3, 0, &cb, &lp), ZR_E_BAD_INDEX);
    EXPECT_EQ(p->ZrFAudioChannelGetBytes(-1, 1, &cb, &lp), ZR_E_BAD_INDEX);
    EXPECT_EQ(p->ZrFAudioChannelGetBytes(128, 1, &cb, &lp), ZR_E_BAD_INDEX);
    EXPECT_EQ(p->ZrFAudioChannelsUpdate(), S_FALSE);
    const auto first = ChannelOf<int16_t>(*p, 0), fifth = ChannelOf<int16_t>(*p, 4, true);
    ASSERT_EQ(fifth.size(), 4u);
    EXPECT_EQ(PropsOf(*p).audProps.nChannels, 3);
    fifth[1] = -77;
    first[3] = 55;
    EXPECT_EQ(p->ZrFAudioChannelsUpdate(), S_OK);
    EXPECT_EQ(PropsOf(*p).audProps.nChannels, 5);
    EXPECT_EQ(InfoOf(*p).lAudioSamples, 4);
    const auto* pSamples = reinterpret_cast<const int16_t*>(AudioOf(*p).data());
    const auto* pBefore = reinterpret_cast<const int16_t*>(arrBefore.data());
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(pSamples[i * 5], i == 3 ? 55 : pBefore[i * 3]);
        EXPECT_EQ(pSamples[i * 5 + 2], pBefore[i * 3 + 2]);
        EXPECT_EQ(pSamples[i * 5 + 3], 0);
        EXPECT_EQ(pSamples[i * 5 + 4], i == 1 ? -77 : 0);
    }
}

TEST(FrameAudio, RemapGivesTheOutputOrder) {
    // arrExpected: channels of the first sample, 10 20 30 at first
    const std::tuple<const char16_t*, HRESULT, std::vector<int>> arrCases[] = {
        {u"2,0,1", S_OK, {30, 10, 20}},
        {u"1", S_OK, {20}},
        {u"0 0 2 2 1", S_OK, {10, 10, 30, 30, 20}},
        {u"", S_OK, {10, 20, 30}},
        {u"3", ZR_E_BAD_INDEX, {10, 20, 30}},
    };
    for (const auto& [szRemap, hr, arrExpected] : arrCases) {
        const int16_t arr[] = {10, 20, 30, 11, 21, 31};
        const ZrPtr<IZrFFrame> p = FrameOfSound({3, 48000, 16, 0}, arr);
        ZR_AV_PROPS avProps = PropsOf(*p);
        avProps.audProps.nTrackSplitBits = 5;
        EXPECT_EQ(p->ZrFAVPropsSet(&avProps, szRemap), hr);
        EXPECT_EQ(PropsOf(*p).audProps.nTrackSplitBits, hr == S_OK ? 5 : 0);
        ASSERT_EQ(PropsOf(*p).audProps.nChannels, static_cast<int32_t>(arrExpected.size()));
        EXPECT_EQ(InfoOf(*p).lAudioSamples, 2);
        const auto* pSamples = reinterpret_cast<const int16_t*>(AudioOf(*p).data());
        for (size_t i = 0; i < arrExpected.size(); ++i) {
            EXPECT_EQ(pSamples[i], arrExpected[i]);
            EXPECT_EQ(pSamples[arrExpected.size() + i], arrExpected[i] + 1);
        }
    }
}

TEST(FrameAudio, FormatsThatCannotBeAreRefusedAndTheOldAudioStays) {
    const std::tuple<const char*, ZR_AUD_PROPS, int32_t> arrCases[] = {
        {"no_channels", {0, 48000, 16, 0}, 10},
        {"no_rate", {2, 0, 16, 0}, 10},
        {"odd_bits", {2, 48000, 17, 0}, 10},
        {"negative_count", {2, 48000, 16, 0}, -1},
        {"too_many_channels", {129, 48000, 16, 0}, 10},
        {"too_many_bytes", {128, 48000, 32, 0}, INT32_MAX},
    };
    const ZrPtr<IZrFFrame> p = AudioFrame(16, 4);
    for (const auto& [szName, props, nSamples] : arrCases) {
        EXPECT_EQ(p->ZrFAudioAlloc(&props, nSamples), E_INVALIDARG) << szName;
        EXPECT_EQ(InfoOf(*p).cbAudio, 24u);
        EXPECT_EQ(PropsOf(*p).audProps.nChannels, 3);
    }
    const ZR_AUD_PROPS stereo{2, 48000, 16, 0};
    EXPECT_EQ(p->ZrFAudioSet(&stereo, 7, InfoOf(*p).lpAudio), E_INVALIDARG);
    // From the frame's own memory.
    EXPECT_EQ(p->ZrFAudioSet(&stereo, 16, InfoOf(*p).lpAudio + 8), S_OK);
    EXPECT_EQ(AudioOf(*p)[0], CountingBytes(24)[8]);
    EXPECT_EQ(p->ZrFAudioAlloc(&stereo, 100), S_OK);
    EXPECT_TRUE(std::ranges::all_of(AudioOf(*p), [](uint8_t b) { return b == 0; }));
    EXPECT_EQ(p->ZrFAudioAlloc(&stereo, 0), S_OK);
    EXPECT_EQ(InfoOf(*p).lpAudio, 0);
    // What has bytes cannot be called something of another size.
    const ZrPtr<IZrFFrame> pThree = AudioFrame(24, 4);
    ZR_AV_PROPS props = PropsOf(*pThree);
    props.audProps.nBitsPerSample = 16;
    EXPECT_EQ(pThree->ZrFAVPropsSet(&props, nullptr), E_INVALIDARG);
    props.audProps = {3, 44100, 20, 7};
    EXPECT_EQ(pThree->ZrFAVPropsSet(&props, nullptr), S_OK);
    EXPECT_EQ(PropsOf(*pThree).audProps.nSamplesPerSec, 44100);
}

// A frame with room for sound gets its first format and its channel order in one call, or nothing; a silent one only
// the order's count. What a frame has can always be saved and loaded.
TEST(FrameAudio, FormatAndRemapAreOneStep) {
    std::u16string sHuge;
    for (int i = 0; i < 128; ++i) sHuge += u"0 ";
    // nChannels, nSamples: afterwards
    const std::tuple<const char*, uint32_t, ZR_AUD_PROPS, const char16_t*, HRESULT, int32_t, int32_t> arrCases[] = {
        {"format_alone", 400, {2, 48000, 16, 0}, nullptr, S_OK, 2, 100},
        {"part_of_a_byte_pair", 401, {2, 48000, 16, 0}, nullptr, E_INVALIDARG, 0, 0},
        {"part_of_a_block", 402, {2, 48000, 16, 0}, nullptr, E_INVALIDARG, 0, 0},
        {"first_format", 16, {2, 48000, 16, 0}, u"1,0", S_OK, 2, 4},
        {"first_format_one_dropped", 16, {2, 48000, 16, 0}, u"1", S_OK, 1, 4},
        {"index_past_the_new_count", 16, {2, 48000, 16, 0}, u"2", ZR_E_BAD_INDEX, 0, 0},
        {"no_format_yet", 16, {0, 0, 0, 0}, u"0", ZR_E_EMPTY, 0, 0},
        {"result_too_large", 1 << 24, {1, 48000, 8, 0}, sHuge.c_str(), E_INVALIDARG, 0, 0},
        {"silent", 0, {2, 48000, 16, 0}, u"1,0,0", S_OK, 3, 0},
        {"silent_without_format", 0, {0, 0, 0, 0}, u"1,0", S_OK, 0, 0},
        {"silent_index_past_the_count", 0, {2, 48000, 16, 0}, u"2", ZR_E_BAD_INDEX, 0, 0},
    };
    for (const auto& [szName, cbRoom, audProps, szRemap, hr, nChannels, nSamples] : arrCases) {
        SCOPED_TRACE(szName);
        ZrPtr<IZrFrame> pFrame;
        ASSERT_EQ(CZrFrameFactory::Shared().FrameCreateSized(0, cbRoom, 0, pFrame.Out()), S_OK);
        const auto p = pFrame.As<IZrFFrame>();
        ZR_AV_PROPS props;
        props.audProps = audProps;
        EXPECT_EQ(p->ZrFAVPropsSet(&props, szRemap), hr);
        EXPECT_EQ(PropsOf(*p).audProps.nChannels, nChannels);
        EXPECT_EQ(InfoOf(*p).lAudioSamples, nSamples);
        uint32_t cb = 0;
        uint8_t* pBytes = nullptr;
        ASSERT_EQ(p->ZrFSave(&cb, &pBytes, eZrFC_Full), S_OK);
        EXPECT_EQ(EmptyFrame()->ZrFLoad(cb, pBytes, eZrFC_Full), S_OK);
        CoTaskMemFree(pBytes);
    }
}

// Rows that were written back are not written again over what has changed since, until they are asked for anew.
TEST(FrameAudio, UpdateWritesTheRowsOfOneRequest) {
    for (const int32_t nBits : {16, 24}) {
        SCOPED_TRACE(nBits);
        const ZrPtr<IZrFFrame> p = AudioFrame(nBits, 6);
        const auto First = [&](int32_t _nChannel) { return ChannelOf<uint8_t>(*p, _nChannel).data(); };
        const uint8_t *pRow0 = First(0), *pRow1 = First(1);
        EXPECT_EQ(p->ZrFAudioChannelsUpdate(), S_OK);
        EXPECT_EQ(p->ZrFAudioChannelsUpdate(), S_FALSE);
        const std::vector<uint8_t> arrZeros(AudioOf(*p).size());
        std::ranges::copy(arrZeros, AudioOf(*p).begin());
        EXPECT_EQ(First(1), pRow1);  // where it was, with what is there now
        EXPECT_EQ(pRow1[0], 0);
        EXPECT_EQ(p->ZrFAudioChannelsUpdate(), S_OK);
        EXPECT_TRUE(std::ranges::equal(AudioOf(*p), arrZeros));
        EXPECT_EQ(First(0), pRow0);
    }
}

}  // namespace
}  // namespace zr
