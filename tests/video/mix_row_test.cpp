#include "video/kernels/mix_row.h"

#include <cmath>
#include <functional>

#include "support/row_test.h"

namespace zr {
namespace {

using test::Bytes;
using test::GuardedRow;
using test::SourceRow;

// The mixes again, in floating point or long arithmetic and straight from their definitions.
int FloorDiv(int _n, int _nBy) { return static_cast<int>(std::floor(static_cast<double>(_n) / _nBy)); }
int Limit(int _n) { return _n < 0 ? 0 : _n > 255 ? 255 : _n; }

struct PIXEL_ROWS {
    Bytes over, base, mask;
};

using RowCall =
    std::function<void(const uint8_t* pOver, const uint8_t* pMask, uint8_t* pBase, size_t nPixels, uint32_t nA)>;
using Expected = std::function<int(const PIXEL_ROWS& rows, size_t nByte, size_t nPixels, int nA)>;

struct MIX_CASE {
    const char* szName;
    size_t nBytesPerPixel;
    int nFullWeight;
    RowCall row;
    Expected expected;
};

int ExpectedOver(const PIXEL_ROWS& _r, size_t _i, int _nA, int _nUnit) {
    const auto Scaled = [&](size_t i) {
        return _nA >= _nUnit ? static_cast<int>(_r.over[i])
                             : static_cast<int>(std::floor(_r.over[i] * _nA / double(_nUnit) + 0.5));
    };
    const int nAlpha = Scaled(_i / 4 * 4 + 3);
    return Limit(Scaled(_i) + static_cast<int>(std::floor(_r.base[_i] * (255 - nAlpha) / 255.0 + 0.5)));
}

int ExpectedOffset(const PIXEL_ROWS& _r, size_t _i, size_t _nPixels, int _nA, bool _bLuma) {
    const auto Solid = [&](size_t i) { return _r.mask[i] == 255 ? 256 : static_cast<int>(_r.mask[i]); };
    const size_t nPixel = _i / 2, nOther = (nPixel ^ 1) < _nPixels ? nPixel ^ 1 : nPixel;
    const int nMask = _bLuma ? Solid(nPixel) : (Solid(nPixel) + Solid(nOther)) / 2, nOrigin = _bLuma ? 16 : 128;
    const int nSum = (_r.base[_i] - nOrigin) * (256 - _nA * nMask / 256) + _nA * (_r.over[_i] - nOrigin);
    return Limit(FloorDiv(nSum, 256) + nOrigin);
}

const MIX_CASE arrCases[] = {
    {"plain", 1, 256, [](auto s, auto, auto d, size_t n, uint32_t a) { MixPlainRow(s, d, n, a); },
     [](auto& r, size_t i, size_t, int a) { return (r.over[i] * a + r.base[i] * (256 - a)) / 256; }},
    {"plain_equals_chroma_around_128", 1, 256,
     [](auto s, auto, auto d, size_t n, uint32_t a) { MixPlainRow(s, d, n, a); },
     [](auto& r, size_t i, size_t, int a) {
         return FloorDiv((r.over[i] - 128) * a + (r.base[i] - 128) * (256 - a), 256) + 128;
     }},
    {"fade_128", 1, 128, [](auto s, auto, auto d, size_t n, uint32_t a) { Fade128Row(s, d, n, a); },
     [](auto& r, size_t i, size_t, int a) {
         return Limit(static_cast<int>(std::floor(r.over[i] * a / 128.0 + 0.5)) +
                      static_cast<int>(std::floor(r.base[i] * (128 - a) / 128.0 + 0.5)));
     }},
    {"mask_premul_32", 4, 256, MixMaskPremulRow32,
     [](auto& r, size_t i, size_t, int a) {
         return Limit((r.over[i] * a + (255 - r.mask[i / 4]) * r.base[i] + 255) / 256);
     }},
    {"mask_premul_24", 3, 256, MixMaskPremulRow24,
     [](auto& r, size_t i, size_t, int a) {
         return Limit((r.over[i] * a + (255 - r.mask[i / 3]) * r.base[i] + 255) / 256);
     }},
    {"mask_plain_422", 2, 256, MixMaskPlainRow422,
     [](auto& r, size_t i, size_t, int a) {
         const int w = a >= 255 ? static_cast<int>(r.mask[i / 2]) : r.mask[i / 2] * a / 256;
         return (r.over[i] * w + (255 - w) * r.base[i] + 255) / 256;
     }},
    {"mask_offset_uyvy", 2, 256,
     [](auto s, auto m, auto d, size_t n, uint32_t a) { MixMaskOffsetRow422(s, m, d, n, a, eLumaAt::Odd); },
     [](auto& r, size_t i, size_t n, int a) { return ExpectedOffset(r, i, n, a, i % 2 == 1); }},
    {"mask_offset_yuy2", 2, 256,
     [](auto s, auto m, auto d, size_t n, uint32_t a) { MixMaskOffsetRow422(s, m, d, n, a, eLumaAt::Even); },
     [](auto& r, size_t i, size_t n, int a) { return ExpectedOffset(r, i, n, a, i % 2 == 0); }},
    {"over", 4, 256, [](auto s, auto, auto d, size_t n, uint32_t a) { MixOverRow(s, d, n, a); },
     [](auto& r, size_t i, size_t, int a) { return ExpectedOver(r, i, a, 256); }},
    {"fade_over_128", 4, 128, [](auto s, auto, auto d, size_t n, uint32_t a) { FadeOverRow128(s, d, n, a); },
     [](auto& r, size_t i, size_t, int a) { return ExpectedOver(r, i, a, 128); }},
};

void CheckRow(const MIX_CASE& _case, std::mt19937& _rng, size_t _nPixels, size_t _nSkew, uint32_t _nA) {
    const size_t cbRow = _nPixels * _case.nBytesPerPixel;
    const PIXEL_ROWS rows{test::HarshBytes(_rng, cbRow), test::HarshBytes(_rng, cbRow),
                          test::HarshBytes(_rng, _nPixels)};
    GuardedRow base(rows.base, _nSkew);
    _case.row(SourceRow(rows.over, _nSkew).Get(), SourceRow(rows.mask, _nSkew + 1).Get(), base.Get(), _nPixels, _nA);
    const Bytes mixed = base.Take();
    for (size_t i = 0; i < cbRow; ++i)
        ASSERT_EQ(mixed[i], _case.expected(rows, i, _nPixels, static_cast<int>(_nA)))
            << "byte " << i << " of " << cbRow << ", weight " << _nA << ", over " << int(rows.over[i]) << ", base "
            << int(rows.base[i]);
}

TEST(MixRow, EveryTargetGivesTheFormula) {
    test::OnEveryTarget(130, [](std::mt19937& rng, size_t nPixels, size_t nSkew) {
        for (const MIX_CASE& mix : arrCases) {
            SCOPED_TRACE(mix.szName);
            const auto nFull = static_cast<uint32_t>(mix.nFullWeight), nRandom = static_cast<uint32_t>(rng());
            for (const uint32_t nA : {0u, 1u, nFull / 2, nFull - 1, nFull, nRandom % (nFull + 1)})
                CheckRow(mix, rng, nPixels, nSkew, nA);
        }
    });
}

// Every pair of overlay and base byte.
TEST(MixRow, EveryPairOfBytesGivesTheFormula) {
    std::mt19937 rng(6);
    for (const MIX_CASE& mix : arrCases) {
        SCOPED_TRACE(mix.szName);
        const size_t nPixels = 2 * 65536 / mix.nBytesPerPixel / 2 * 2, cbRow = nPixels * mix.nBytesPerPixel;
        PIXEL_ROWS rows{Bytes(cbRow), Bytes(cbRow), test::HarshBytes(rng, nPixels)};
        for (size_t i = 0; i < cbRow; ++i) {
            rows.over[i] = static_cast<uint8_t>(i / 2);
            rows.base[i] = static_cast<uint8_t>(i / 512);
        }
        for (const int nA : {0, 1, mix.nFullWeight / 3, mix.nFullWeight - 1, mix.nFullWeight}) {
            Bytes mixed = rows.base;
            mix.row(rows.over.data(), rows.mask.data(), mixed.data(), nPixels, static_cast<uint32_t>(nA));
            for (size_t i = 0; i < cbRow; ++i)
                ASSERT_EQ(mixed[i], mix.expected(rows, i, nPixels, nA)) << i << ' ' << nA;
        }
    }
}

TEST(MixRow, DivisionBy255IsExactOverItsWholeRange) {
    for (int n = 0; n <= 255 * 255; ++n) ASSERT_EQ(Div255(n), (2 * n + 255) / 510) << n;
}

}  // namespace
}  // namespace zr
