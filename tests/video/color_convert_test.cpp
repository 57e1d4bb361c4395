#include "video/color_convert.h"

#include <gtest/gtest.h>

#include <utility>

#include "media/vid_props.h"
#include "plain_picture.h"
#include "platform/thread_pool.h"
#include "video/conversion_matrix.h"
#include "video/copy_frame.h"
#include "video/fill.h"
#include "video/image_planes.h"

namespace zr {
namespace {

using test::Bytes;
using test::Picture;
using test::Props;
using test::RandomRect;

constexpr eZrFCC arrYuv[] = {eZrFCC_UYVY, eZrFCC_HDYC, eZrFCC_YUY2, eZrFCC_YVYU, eZrFCC_I420,
                             eZrFCC_YV12, eZrFCC_NV12, kFCC_Y422,   kFCC_Y444};

// The two lines of a frame that share chroma line _nRow: neighbours, or neighbours in a field.
std::pair<int32_t, int32_t> LinesOf(int32_t _nRow, bool _bInterlaced) {
    if (!_bInterlaced) return {2 * _nRow, 2 * _nRow + 1};
    const int32_t nField = _nRow % 2, nFirst = _nRow - nField;  // of the field: lines nFirst and nFirst + 1
    return {2 * nFirst + nField, 2 * (nFirst + 1) + nField};
}

// Chroma of a line at half width, from planes or bytes.
int32_t HalfWidthChroma(Picture& _p, const tagRECT& _rect, bool _bInterlaced, int32_t _n, int32_t _x, int32_t _y) {
    if (_p.Across(_n) == 1) return (_p.At(_n, 2 * _x, _y) + _p.At(_n, 2 * _x + 1, _y) + 1) / 2;
    if (_p.Down(_n) == 1) return _p.At(_n, _x, _y);
    const int32_t nFirst = _rect.top / 2, nEnd = (_rect.bottom + 1) / 2, nStep = _bInterlaced ? 2 : 1;
    int32_t nRow = 0;
    while (LinesOf(nRow, _bInterlaced).first != _y && LinesOf(nRow, _bInterlaced).second != _y) ++nRow;
    while (nRow < nFirst) nRow += nStep;
    while (nRow >= nEnd) nRow -= nStep;
    return _p.At(_n, _x, std::clamp(nRow, nFirst, nEnd - 1));
}

void PlainConvert(Picture& _src, Picture& _dst, const tagRECT& _from, const tagRECT& _to, bool _bInterlaced) {
    const int32_t nWidth = _to.right - _to.left, dx = _from.left - _to.left, dy = _from.top - _to.top;
    const auto Chroma = [&](int32_t n, int32_t x, int32_t y) {
        return HalfWidthChroma(_src, _from, _bInterlaced, n, x + dx / 2, y + dy);
    };
    for (int32_t y = _to.top; y < _to.bottom; ++y)
        for (int32_t x = _to.left; x < _to.right; ++x) _dst.At(0, x, y) = _src.At(0, x + dx, y + dy);
    for (int32_t n = 1; n < 3; ++n) {
        const bool b420 = _dst.Down(n) == 2;
        for (int32_t r = _to.top / (b420 ? 2 : 1); r < (b420 ? (_to.bottom + 1) / 2 : _to.bottom); ++r)
            for (int32_t x = _to.left / 2; x < (_to.left + nWidth) / 2; ++x) {
                int32_t nValue;
                if (b420) {
                    auto [nLine, nNext] = LinesOf(r, _bInterlaced);
                    const auto Has = [&](int32_t y) { return y >= _to.top && y < _to.bottom; };
                    if (!Has(nLine) && !Has(nNext)) {  // the field has no line here: the other one's
                        nLine ^= 1;
                        nNext ^= 1;
                    }
                    if (!Has(nLine)) nLine = nNext;
                    if (!Has(nNext)) nNext = nLine;
                    nValue = (Chroma(n, x, nLine) + Chroma(n, x, nNext) + 1) / 2;
                } else {
                    nValue = Chroma(n, x, r);
                }
                const int32_t nAcross = 3 - _dst.Across(n);  // samples of the destination for one at half width
                for (int32_t i = 0; i < nAcross; ++i) _dst.At(n, x * nAcross + i, r) = static_cast<uint8_t>(nValue);
            }
    }
}

bool CopiesPlanes(eZrFCC _a, eZrFCC _b) { return (Is420(_a) && Is420(_b)) || _a == _b; }

TEST(ColorConvert, GivesWhatEachSampleGivesByItsPlace) {
    std::mt19937 rng(5);
    ScalingEngine engine;
    for (int32_t nRun = 0; nRun < 600; ++nRun) {
        const eZrFCC fccFrom = arrYuv[rng() % std::size(arrYuv)], fccTo = arrYuv[rng() % std::size(arrYuv)];
        const int32_t nWidth = nRun % 50 == 0 ? 1930 : 2 + static_cast<int32_t>(rng() % 60) * 2;
        const int32_t nHeight = 4 + static_cast<int32_t>(rng() % 12) * 2, nPad = static_cast<int32_t>(rng() % 3) * 8;
        const bool bInterlaced = rng() % 2 != 0;
        Picture src(Props(fccFrom, nWidth, nHeight, nPad), rng), dst(Props(fccTo, nWidth, nHeight, 16 - nPad), rng);
        dst.props.eInterlace = bInterlaced ? eZrI_Field1First : eZrI_Progressive;
        tagRECT rect = RandomRect(rng, nWidth, nHeight), to = rect;
        if (rng() % 2 != 0 && rect.top > 0) --rect.top, --rect.bottom;  // phases apart
        SCOPED_TRACE(testing::Message() << "run " << nRun << ", " << PixelFormatBits(fccFrom) << " bits " << std::hex
                                        << fccFrom << " to " << fccTo << std::dec << ", " << nWidth << " x " << nHeight
                                        << ", top " << to.top << " bottom " << to.bottom << ", interlaced "
                                        << bInterlaced);
        Picture want = dst;
        if (CopiesPlanes(fccFrom, fccTo) && (rect.top == to.top || !Is420(fccTo))) {
            for (int32_t n = 0; n < 3; ++n) want.Put(n, to, src.Take(n, rect));
        } else {
            PlainConvert(src, want, rect, to, bInterlaced);
        }
        engine.bMultiThread = rng() % 2 != 0;
        ASSERT_EQ(ColorConvert(engine, src.bytes.data(), dst.bytes.data(), src.props, dst.props, &rect, &to), S_OK);
        ASSERT_EQ(dst.bytes == want.bytes, true);
    }
}

// Formats with a step between: the same as the two steps, whose parts are tested elsewhere.
TEST(ColorConvert, OtherFormatsGoByWayOfUyvy) {
    std::mt19937 rng(6);
    ScalingEngine engine;
    const auto Convert = [&](Picture& _src, eZrFCC _fcc) {
        Picture dst(Props(_fcc, _src.props.nWidth, std::abs(_src.props.nHeight)), rng);
        std::fill(dst.bytes.begin(), dst.bytes.end(), uint8_t{0});
        EXPECT_EQ(ColorConvert(engine, _src.bytes.data(), dst.bytes.data(), _src.props, dst.props, nullptr, nullptr),
                  S_OK)
            << std::hex << _src.props.fccType << " to " << _fcc;
        return dst;
    };
    for (const eZrFCC planar : {eZrFCC_I420, eZrFCC_YV12, eZrFCC_NV12, kFCC_Y422, kFCC_Y444})
        for (const eZrFCC packed : {eZrFCC_RGB24, eZrFCC_RGB32, eZrFCC_ARGB32, eZrFCC_v210}) {
            SCOPED_TRACE(testing::Message() << std::hex << planar << " and " << packed);
            const bool bFull = planar == kFCC_Y444 && packed != eZrFCC_v210;
            Picture source(Props(planar, 2000, 8), rng), pixels(Props(packed, 2000, 8), rng);
            if (!bFull) {
                Picture middle = Convert(source, eZrFCC_UYVY);
                EXPECT_EQ(Convert(source, packed).bytes == Convert(middle, packed).bytes, true);
                middle = Convert(pixels, eZrFCC_UYVY);
                EXPECT_EQ(Convert(pixels, planar).bytes == Convert(middle, planar).bytes, true);
            }
            // RGB of studio range and full chroma stays what it was, but for rounding.
            for (uint8_t& n : pixels.bytes) n = static_cast<uint8_t>(40 + n / 2);
            if (!bFull) continue;
            Picture planes = Convert(pixels, planar), back = Convert(planes, packed);
            for (int32_t x = 0; x < 2000 * 3; ++x)
                ASSERT_NEAR(back.At(x % 3, x / 3, 2), pixels.At(x % 3, x / 3, 2), 2) << x;
        }
    Picture rgb(Props(eZrFCC_ARGB32, 48, 4), rng), v210(Props(eZrFCC_v210, 48, 4), rng);
    EXPECT_EQ(ColorConvert(engine, rgb.bytes.data(), v210.bytes.data(), rgb.props, v210.props, nullptr, nullptr),
              E_FAIL);
    Picture grey(Props(eZrFCC_RGB8, 48, 4), rng), copy(Props(eZrFCC_RGB8, 48, 4), rng);
    EXPECT_EQ(ColorConvert(engine, grey.bytes.data(), v210.bytes.data(), grey.props, v210.props, nullptr, nullptr),
              kTypeNotAccepted);
    EXPECT_EQ(ColorConvert(engine, grey.bytes.data(), copy.bytes.data(), grey.props, copy.props, nullptr, nullptr),
              S_OK);
    EXPECT_EQ(copy.bytes, grey.bytes);
    const tagRECT within{2, 0, 26, 4};
    EXPECT_EQ(ColorConvert(engine, v210.bytes.data(), v210.bytes.data(), v210.props, v210.props, &within, &within),
              E_INVALIDARG);
}

TEST(ImagePlanes, AnyPictureGivesPlanesAndTakesThem) {
    std::mt19937 rng(9);
    for (const eZrFCC fcc : {eZrFCC_UYVY, eZrFCC_YVYU, eZrFCC_YV12, eZrFCC_NV12, kFCC_Y444, eZrFCC_v210}) {
        SCOPED_TRACE(testing::Message() << std::hex << fcc);
        Picture src(Props(fcc, 96, 10), rng), again = src;
        if (fcc == eZrFCC_v210) FillColour(src.bytes.data(), src.props, FILL_COLOUR::Rgb(10, 200, 90));
        std::fill(again.bytes.begin(), again.bytes.end(), uint8_t{0});
        ScratchBuffer scratch;
        ZrPlanarImage image;
        ASSERT_EQ(InitPlanar(image, src.bytes.data(), src.props, scratch), S_OK);
        EXPECT_EQ(image.bInScratch, fcc != eZrFCC_YV12 && fcc != kFCC_Y444);
        ASSERT_EQ(FromPlanar(image, again.bytes.data(), again.props), S_OK);
        EXPECT_EQ(again.bytes == src.bytes, true);
        again.props.nWidth -= 2;
        EXPECT_EQ(FromPlanar(image, again.bytes.data(), again.props), E_INVALIDARG);
    }
}

}  // namespace
}  // namespace zr
