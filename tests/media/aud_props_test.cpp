#include "media/aud_props.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>
#include <vector>

namespace zr {
namespace {

std::vector<int32_t> Vector(const ChannelList& _list) { return {_list.begin(), _list.end()}; }

TEST(AudProps, BlockBytesOfUsableRecords) {
    // nBlock: 0: not usable
    constexpr std::tuple<const char*, ZR_AUD_PROPS, int64_t> arrCases[] = {
        {"8 bits", {3, 8000, 8}, 3},
        {"16 bits", {2, 48000, 16}, 4},
        {"20 bits take three bytes", {2, 48000, 20}, 6},
        {"24 bits", {6, 96000, 24}, 18},
        {"32 bits", {1, 44100, 32}, 4},
        {"float", {128, 48000, -32}, 512},
        {"no channels", {0, 48000, 16}, 0},
        {"no rate", {2, 0, 16}, 0},
        {"no bits", {2, 48000, 0}, 0},
        {"bits that cannot be", {2, 48000, -16}, 0},
        {"negative channels", {-2, 48000, 16}, 0},
        {"most channels", {INT32_MAX, 48000, 32}, 8589934588},
    };
    for (const auto& [szName, props, nBlock] : arrCases) {
        EXPECT_EQ(AudBlockBytes(props), nBlock) << szName;
        EXPECT_EQ(AudUsable(props), nBlock != 0) << szName;
    }
}

TEST(AudProps, SplitBitsToTracks) {
    struct CASE {
        const char* szName;
        int32_t nChannels;
        uint32_t nBits;
        std::vector<int32_t> tracks;
    };
    const CASE arrCases[] = {
        {"no bits, one track", 4, 0, {4}},
        {"bits 1 and 5", 8, 0b100010, {2, 4, 2}},
        {"the last channel's bit says nothing", 8, 0b10100010, {2, 4, 2}},
        {"bits beyond the channels", 2, 0xFFFFFFF0, {2}},
        {"every channel", 3, 0xFFFFFFFF, {1, 1, 1}},
        {"channels beyond the bits", 128, 0x80000000, {32, 96}},
        {"all bits", 34, 0xFFFFFFFF, std::vector<int32_t>(32, 1)},
        {"no channels", 0, 0xFFFFFFFF, {}},
        {"negative channels", INT32_MIN, 1, {}},
        {"endless channels", INT32_MAX, 1, {1, INT32_MAX - 1}},
    };
    for (CASE c : arrCases) {
        if (c.nChannels == 34) c.tracks.push_back(2);
        EXPECT_EQ(Vector(TracksOfSplitBits(c.nChannels, static_cast<int32_t>(c.nBits))), c.tracks) << c.szName;
    }
}

TEST(AudProps, TracksToSplitBitsAndBack) {
    EXPECT_EQ(SplitBitsOfTracks(std::vector<int32_t>{2, 6, 4}), 0b1000'1000'0010);  // ends 1, 7, 11
    EXPECT_EQ(SplitBitsOfTracks(std::vector<int32_t>{32}), INT32_MIN);
    EXPECT_EQ(SplitBitsOfTracks(std::vector<int32_t>{2, 31, 1}), 0b10);  // the second ends at channel 32
    EXPECT_EQ(SplitBitsOfTracks(std::vector<int32_t>{INT32_MAX, INT32_MAX, INT32_MAX}), 0);
    EXPECT_EQ(SplitBitsOfTracks(std::vector<int32_t>{-3, 2, 0, 2}), 0b1010);
    std::mt19937 random(5);
    for (int i = 0; i < 2000; ++i) {
        std::vector<int32_t> tracks;
        int32_t nChannels = 0;
        while (nChannels < 25) {
            tracks.push_back(1 + static_cast<int32_t>(random() % 7));
            nChannels += tracks.back();
        }
        ASSERT_EQ(Vector(TracksOfSplitBits(nChannels, SplitBitsOfTracks(tracks))), tracks);
        ASSERT_EQ(Vector(ParseTrackSplit(TrackSplitText(tracks))), tracks);
    }
}

TEST(AudProps, Lists) {
    const std::tuple<const char16_t*, std::vector<int32_t>, std::vector<int32_t>> arrCases[] = {
        {u"1,3", {1, 3}, {1, 3}},
        {u"0", {0}, {}},
        {u" 2, 6 4,", {2, 6, 4}, {2, 6, 4}},
        {u",,", {}, {}},
        {u"", {}, {}},
        {u"1,-1,x,2y,3", {1, 3}, {1, 3}},
        {u"99999999999", {INT32_MAX}, {INT32_MAX}},
        {u"7 7", {7, 7}, {7, 7}},
    };
    for (const auto& [szText, channels, tracks] : arrCases) {
        EXPECT_EQ(Vector(ParseChannelList(szText)), channels) << testing::PrintToString(szText);
        EXPECT_EQ(Vector(ParseTrackSplit(szText)), tracks) << testing::PrintToString(szText);
    }
    std::u16string text;
    for (int i = 0; i < 200; ++i) text += u"5,";
    EXPECT_EQ(Vector(ParseChannelList(text)), std::vector<int32_t>(128, 5));
    EXPECT_EQ(TrackSplitText(std::vector<int32_t>{2, 6, 4}), u"2,6,4");
}

}  // namespace
}  // namespace zr
