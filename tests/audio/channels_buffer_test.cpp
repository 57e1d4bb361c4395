#include "audio/channels_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <vector>

namespace zr {
namespace {

using Line = std::deque<int32_t>;
using Row = std::vector<int32_t>;

// The rings and plain lines beside them, through puts, gets and changes of the channels in any order.
TEST(ChannelsBuffer, IsALineOfSamplesForEachChannel) {
    std::mt19937 rng(11);
    const auto Random = [&rng](int32_t _nBelow) {
        return static_cast<int32_t>(rng() % static_cast<uint32_t>(_nBelow));
    };
    ZrChannelsBuffer buffer;
    std::vector<Line> arrLines;
    size_t nFill = 0;
    int32_t nNext = 1;  // every sample is another number
    for (int nStep = 0; nStep < 3000; ++nStep) {
        const auto nSamples = static_cast<size_t>(Random(nStep % 500 == 0 ? 9000 : 1200));
        std::vector<Row> arrRows(arrLines.size(), Row(nSamples));
        if (Random(50) == 0) {
            const int32_t nCount = Random(150);
            const bool bCreate = Random(3) != 0;
            const size_t nWanted = static_cast<size_t>(std::min(nCount, kMaxAudioChannels));
            const bool bMore = bCreate && nWanted > arrLines.size();
            EXPECT_EQ(buffer.ChannelsSet(nCount, bCreate), bMore ? S_OK : S_FALSE);
            if (bMore || nWanted < arrLines.size()) arrLines.resize(nWanted, Line(nFill));
        } else if (Random(2) == 0) {
            std::vector<const uint8_t*> arrPointers;
            for (size_t i = 0; i < arrRows.size(); ++i) {
                const bool bSilent = Random(8) == 0;
                if (!bSilent) std::generate(arrRows[i].begin(), arrRows[i].end(), [&] { return nNext++; });
                arrLines[i].insert(arrLines[i].end(), arrRows[i].begin(), arrRows[i].end());
                arrPointers.push_back(bSilent ? nullptr : reinterpret_cast<const uint8_t*>(arrRows[i].data()));
            }
            ASSERT_EQ(buffer.Put(arrPointers, static_cast<uint32_t>(nSamples)), S_OK);
            nFill += nSamples;
        } else {
            std::vector<uint8_t*> arrPointers;
            for (Row& row : arrRows) arrPointers.push_back(reinterpret_cast<uint8_t*>(row.data()));
            const size_t nGot = std::min(nSamples, nFill);
            ASSERT_EQ(buffer.Get(arrPointers, static_cast<uint32_t>(nSamples)), nGot);
            for (size_t i = 0; i < arrRows.size(); ++i) {
                const auto pEnd = arrLines[i].begin() + static_cast<ptrdiff_t>(nGot);
                ASSERT_TRUE(std::equal(arrLines[i].begin(), pEnd, arrRows[i].begin())) << "step " << nStep;
                arrLines[i].erase(arrLines[i].begin(), pEnd);
            }
            nFill -= nGot;
        }
        ASSERT_EQ(buffer.Fill(), nFill);
        ASSERT_EQ(buffer.Channels(), static_cast<int32_t>(arrLines.size()));
    }
}

TEST(ChannelsBuffer, WhatCannotBeChangesNothing) {
    ZrChannelsBuffer buffer;
    EXPECT_EQ(buffer.ChannelsSet(1, true), S_OK);
    const Row row = {7, 8, 9};
    const uint8_t* pRow = reinterpret_cast<const uint8_t*>(row.data());
    EXPECT_EQ(buffer.Put({&pRow, 1}, 3), S_OK);
    const uint32_t nSize = buffer.Size();
    EXPECT_EQ(buffer.Put({}, ZrChannelsBuffer::kMaxSamples - 2), E_INVALIDARG);
    EXPECT_EQ(buffer.ChannelsSet(-1, true), E_INVALIDARG);
    Row out(4);
    uint8_t* pOut = reinterpret_cast<uint8_t*>(out.data());
    EXPECT_EQ(buffer.Get({&pOut, 1}, 4), 3u);
    EXPECT_EQ(out, (Row{7, 8, 9, 0}));
    for (int i = 0; i < 10000; ++i) {  // in a steady show the rings do not grow
        EXPECT_EQ(buffer.Put({&pRow, 1}, 3), S_OK);
        buffer.Get({}, 3);
    }
    EXPECT_EQ(buffer.Size(), nSize);
}

}  // namespace
}  // namespace zr
