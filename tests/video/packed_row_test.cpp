#include "video/kernels/packed_row.h"

#include "support/row_test.h"

namespace zr {
namespace {

using test::Bytes;
using test::GuardedRow;
using test::OnEveryTarget;
using test::SourceRow;

// Where byte i of the destination row comes from, for kernels that only move bytes; -1: not from the source.
using Origin = long (*)(size_t i, size_t nPixels);
struct MOVE_CASE {
    const char* szName;
    size_t nSrcBytes, nDstBytes;  // per pixel, or per pair for 4:2:2
    void (*row)(const uint8_t*, uint8_t*, size_t);
    Origin origin;
};

long At(size_t _i) { return static_cast<long>(_i); }

const MOVE_CASE arrMoves[] = {
    {"uyvy_to_yuy2", 4, 4, [](auto s, auto d, size_t n) { ReorderGroupsRow(s, d, n, kSwapPairs); },
     [](size_t i, size_t) { return At(i ^ 1); }},
    // Y0 Cr Y1 Cb in, Cb Y0 Cr Y1 out.
    {"yvyu_to_uyvy", 4, 4, [](auto s, auto d, size_t n) { ReorderGroupsRow(s, d, n, kYvyuToUyvy); },
     [](size_t i, size_t) { return At(i / 4 * 4 + (i + 3) % 4); }},
    {"uyvy_to_yvyu", 4, 4, [](auto s, auto d, size_t n) { ReorderGroupsRow(s, d, n, kUyvyToYvyu); },
     [](size_t i, size_t) { return At(i / 4 * 4 + (i + 1) % 4); }},
    {"yvyu_to_yuy2", 4, 4, [](auto s, auto d, size_t n) { ReorderGroupsRow(s, d, n, kYvyuToYuy2); },
     [](size_t i, size_t) { return At(i % 2 ? i ^ 2 : i); }},
    {"bgr_to_bgra", 3, 4, [](auto s, auto d, size_t n) { BgrToBgraRow(s, d, n, 0x5C); },
     [](size_t i, size_t) { return i % 4 == 3 ? -1 : At(i / 4 * 3 + i % 4); }},
    {"bgra_to_bgr", 4, 3, BgraToBgrRow, [](size_t i, size_t) { return At(i / 3 * 4 + i % 3); }},
    {"alpha", 4, 1, BgraToAlphaRow, [](size_t i, size_t) { return At(4 * i + 3); }},
    {"mirror_32", 4, 4, MirrorRow32, [](size_t i, size_t n) { return At(4 * (n - 1 - i / 4) + i % 4); }},
    {"mirror_24", 3, 3, MirrorRow24, [](size_t i, size_t n) { return At(3 * (n - 1 - i / 3) + i % 3); }},
    // Cb Y0 Cr Y1: luma at 1 and 3 change places.
    {"mirror_uyvy", 4, 4, MirrorRowUyvy,
     [](size_t i, size_t n) { return At(4 * (n - 1 - i / 4) + (i % 2 ? (i % 4) ^ 2 : i % 4)); }},
    {"mirror_yuy2", 4, 4, MirrorRowYuy2,
     [](size_t i, size_t n) { return At(4 * (n - 1 - i / 4) + (i % 2 ? i % 4 : (i % 4) ^ 2)); }},
};

TEST(PackedRow, MovesEveryByteToItsPlace) {
    OnEveryTarget(130, [](std::mt19937& rng, size_t nPixels, size_t nSkew) {
        for (const MOVE_CASE& c : arrMoves) {
            SCOPED_TRACE(c.szName);
            const Bytes src = test::HarshBytes(rng, nPixels * c.nSrcBytes);
            const SourceRow source(src, nSkew);
            GuardedRow row(nPixels * c.nDstBytes, nSkew);
            c.row(source.Get(), row.Get(), nPixels);
            const Bytes dst = row.Take();
            for (size_t i = 0; i < dst.size(); ++i) {
                const long nFrom = c.origin(i, nPixels);
                ASSERT_EQ(dst[i], nFrom < 0 ? 0x5C : src[static_cast<size_t>(nFrom)])
                    << "byte " << i << " of " << dst.size();
            }
        }
    });
}

TEST(PackedRow, ReordersInPlaceAndFills) {
    OnEveryTarget(70, [](std::mt19937& rng, size_t nGroups, size_t nSkew) {
        const Bytes src = test::HarshBytes(rng, 4 * nGroups);
        GuardedRow row(src, nSkew);
        ReorderGroupsRow(row.Get(), row.Get(), nGroups, kSwapPairs);
        const Bytes swapped = row.Take();
        for (size_t i = 0; i < swapped.size(); ++i) ASSERT_EQ(swapped[i], src[i ^ 1]);
        FillGroupsRow(row.Get(), nGroups, {9, 8, 7, 6});
        const Bytes filled = row.Take();
        for (size_t i = 0; i < filled.size(); ++i) ASSERT_EQ(filled[i], 9 - i % 4);
    });
}

// Sample i of a row in the order Cb Y Cr Y: word i / 3 of the row, 10 bits from bit 10 * (i % 3).
uint32_t V210Sample(const Bytes& _row, size_t _i) {
    uint32_t nWord;
    std::memcpy(&nWord, &_row[_i / 3 * 4], 4);
    return nWord >> (10 * (_i % 3)) & 0x3FF;
}

TEST(PackedRow, V210HoldsTheSamplesInItsOrderAndBlackBeyondTheRow) {
    OnEveryTarget(130, [](std::mt19937& rng, size_t nPixels, size_t nSkew) {
        for (const bool bYuy2 : {false, true}) {
            SCOPED_TRACE(bYuy2 ? "yuy2" : "uyvy");
            const Bytes src = test::HarshBytes(rng, 2 * nPixels);
            const SourceRow source(src, nSkew);
            GuardedRow packed(V210GroupBytes(nPixels), nSkew);
            (bYuy2 ? Yuy2ToV210Row : UyvyToV210Row)(source.Get(), packed.Get(), nPixels);
            const Bytes v210 = packed.Take();
            const size_t nSamples = nPixels / 2 * 4;
            for (size_t i = 0; i < v210.size() / 4 * 3; ++i) {
                const uint32_t nBlack = i % 2 ? 16 : 128, nWant = i < nSamples ? src[bYuy2 ? i ^ 1 : i] : nBlack;
                ASSERT_EQ(V210Sample(v210, i), nWant << 2) << "sample " << i << " of " << nSamples;
            }
            for (size_t i = 3; i < v210.size(); i += 4) ASSERT_LT(v210[i], 0x40) << "the two spare bits of a word";

            GuardedRow unpacked(2 * nPixels, nSkew);
            (bYuy2 ? V210ToYuy2Row : V210ToUyvyRow)(SourceRow(v210, nSkew).Get(), unpacked.Get(), nPixels);
            const Bytes back = unpacked.Take();
            for (size_t i = 0; i < nSamples; ++i) ASSERT_EQ(back[i], src[i]) << "byte " << i;
            for (size_t i = nSamples; i < back.size(); ++i) ASSERT_EQ(back[i], 0xA5) << "an odd last pixel";
        }
    });
}

TEST(PackedRow, V210DropsTheLowTwoBits) {
    OnEveryTarget(60, [](std::mt19937& rng, size_t nGroups, size_t nSkew) {
        const Bytes v210 = test::HarshBytes(rng, 16 * nGroups);
        GuardedRow row(12 * nGroups, nSkew);
        V210ToUyvyRow(SourceRow(v210, nSkew).Get(), row.Get(), 6 * nGroups);
        const Bytes uyvy = row.Take();
        for (size_t i = 0; i < uyvy.size(); ++i) ASSERT_EQ(uyvy[i], V210Sample(v210, i) / 4);
    });
}

}  // namespace
}  // namespace zr
