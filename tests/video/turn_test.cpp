// Mirrors and 90-degree turns against their plain definitions, pixel by pixel.

#include <array>
#include <tuple>

#include "plain_picture.h"
#include "video/crop.h"
#include "video/mirror.h"
#include "video/picture.h"
#include "video/rotate.h"

namespace zr {
namespace {

using test::Bytes;
using test::Picture;

ZR_VID_PROPS Props(eZrFCC _fcc, int32_t _nWidth, int32_t _nHeight) {
    ZR_VID_PROPS props = test::Props(_fcc, _nWidth, _nHeight, 8);
    props.nAspectX = 16;
    props.nAspectY = 9;
    return props;
}

Picture NoiseOf(const ZR_VID_PROPS& _props) {
    std::mt19937 rng(4);
    return {_props, rng};
}

// The samples of a pixel: bytes of RGB, or luma and the chroma of its pair.
std::array<int, 4> PixelAt(Picture& _picture, int32_t _x, int32_t _y) {
    std::array<int, 4> pixel{};
    for (int32_t n = 0; n < _picture.Channels(); ++n)
        pixel[static_cast<size_t>(n)] = _picture.At(n, _x / _picture.Across(n), _y);
    return pixel;
}

constexpr eZrFCC arrFormats[] = {eZrFCC_RGB32, eZrFCC_RGB24, eZrFCC_UYVY, eZrFCC_YUY2, eZrFCC_YVYU};

TEST(MirrorPicture, PixelsChangePlacesAndColoursStayRight) {
    for (const eZrFCC fcc : arrFormats)
        for (const int32_t nWidth : {2, 6, 514, 1500})  // below, around and above a run; an odd number of pairs
            for (const eMirror e : {eMirror::Horz, eMirror::Vert, eMirror::Both}) {
                SCOPED_TRACE(testing::Message()
                             << std::hex << fcc << std::dec << " width " << nWidth << " mode " << int(e));
                const ZR_VID_PROPS props = Props(fcc, nWidth, 5);
                Picture before = NoiseOf(props), after = before;
                ASSERT_EQ(MirrorPicture(after.bytes.data(), props, e), S_OK);
                for (int32_t y = 0; y < 5; ++y)
                    for (int32_t x = 0; x < nWidth; ++x)
                        ASSERT_EQ(PixelAt(after, x, y), PixelAt(before, e == eMirror::Vert ? x : nWidth - 1 - x,
                                                                e == eMirror::Horz ? y : 4 - y))
                            << x << ' ' << y;
            }
}

// By a row towards the start of the memory, which is a line down in a picture that is stored bottom-up.
TEST(MirrorPicture, VerticalKeepsTheFieldOrder) {
    for (const bool bBottomUp : {false, true}) {
        ZR_VID_PROPS props = Props(bBottomUp ? eZrFCC_RGB24 : eZrFCC_UYVY, 4, 6);
        props.eInterlace = eZrI_Field1First;
        Picture before = NoiseOf(props), after = before;
        ASSERT_EQ(MirrorPicture(after.bytes.data(), props, eMirror::Vert), S_OK);
        for (int32_t y = 0; y < 6; ++y) {
            const int32_t nFrom = bBottomUp ? std::min(6 - y, 5) : std::max(4 - y, 0);
            EXPECT_EQ(PixelAt(after, 0, y), PixelAt(before, 0, nFrom)) << y;
        }
    }
}

TEST(MirrorPicture, RefusesPlanesAndLeavesThem) {
    const ZR_VID_PROPS props = Props(eZrFCC_I420, 4, 4);
    const Bytes before = test::Noise(props);
    Bytes bytes = before;
    EXPECT_EQ(MirrorPicture(bytes.data(), props, eMirror::Horz), E_NOTIMPL);
    EXPECT_EQ(bytes, before);
    EXPECT_EQ(MirrorPicture(nullptr, props, eMirror::Horz), E_POINTER);
    EXPECT_EQ(MirrorPicture(bytes.data(), Props(eZrFCC_UYVY, 4, 0), eMirror::Horz), E_INVALIDARG);
}

TEST(RotatePicture, LinesBecomeColumns) {
    for (const eZrFCC fcc : arrFormats)
        for (const int32_t nSign : {1, -1})
            for (const eRotate e : {eRotate::Right, eRotate::Left}) {
                SCOPED_TRACE(testing::Message()
                             << std::hex << fcc << std::dec << " sign " << nSign << " right " << (e == eRotate::Right));
                const bool b422 = HasChromaPairs(fcc);
                constexpr int32_t kWidth = 70, kHeight = 38;  // more than a tile, and not whole tiles
                const ZR_VID_PROPS srcProps = Props(fcc, kWidth, b422 ? kHeight : nSign * kHeight);
                const ZR_VID_PROPS dstProps = RotatedProps(srcProps, nullptr);
                ASSERT_EQ(dstProps.nWidth, kHeight);
                ASSERT_EQ(dstProps.nHeight, kWidth);
                ASSERT_EQ(dstProps.nAspectX, 9);
                Picture src = NoiseOf(srcProps), dst = NoiseOf(dstProps);
                ASSERT_EQ(RotatePicture(src.bytes.data(), srcProps, dst.bytes.data(), dstProps, e), S_OK);
                const auto From = [&](int32_t x, int32_t y) {
                    return e == eRotate::Right ? PixelAt(src, y, kHeight - 1 - x) : PixelAt(src, kWidth - 1 - y, x);
                };
                for (int32_t y = 0; y < kWidth; ++y)
                    for (int32_t x = 0; x < kHeight; ++x) {
                        auto want = From(x, y);
                        const auto other = From(x ^ 1, y);
                        for (const size_t n : {1u, 2u})
                            if (b422) want[n] = (want[n] + other[n] + 1) / 2;
                        ASSERT_EQ(PixelAt(dst, x, y), want) << x << ' ' << y;
                    }
            }
}

TEST(RotatePicture, OddSizesLoseALineAndMisfitsAreRefused) {
    const ZR_VID_PROPS props = Props(eZrFCC_UYVY, 8, 5), turned = RotatedProps(props, nullptr);
    EXPECT_EQ(turned.nWidth, 4);
    EXPECT_EQ(turned.nHeight, 8);
    const Bytes src = test::Noise(props);
    Bytes dst(PictureBytes(turned));
    EXPECT_EQ(RotatePicture(src.data(), props, dst.data(), turned, eRotate::Left), S_OK);
    EXPECT_EQ(RotatePicture(src.data(), props, dst.data(), Props(eZrFCC_UYVY, 6, 8), eRotate::Left), E_INVALIDARG);
    EXPECT_EQ(RotatePicture(src.data(), props, dst.data(), Props(eZrFCC_YUY2, 4, 8), eRotate::Left), E_INVALIDARG);
    EXPECT_EQ(RotatePicture(src.data(), Props(eZrFCC_I420, 8, 4), dst.data(), turned, eRotate::Left), E_NOTIMPL);
}

// A row of a turned interlaced picture has pixels of its own field only.
TEST(RotatePicture, FieldsStayApart) {
    ZR_VID_PROPS props = Props(eZrFCC_RGB32, 40, -36);
    props.eInterlace = eZrI_Field2First;
    Picture src = NoiseOf(props);
    for (const eRotate e : {eRotate::Right, eRotate::Left}) {
        Picture dst = NoiseOf(RotatedProps(props, nullptr));
        ASSERT_EQ(RotatePicture(src.bytes.data(), props, dst.bytes.data(), dst.props, e), S_OK);
        for (int32_t y = 0; y < 40; ++y)
            for (int32_t x = 0; x < 36; ++x) {
                const int32_t nLine = (e == eRotate::Right ? 35 - x : x) / 2 * 2 + y % 2;
                ASSERT_EQ(PixelAt(dst, x, y), PixelAt(src, e == eRotate::Right ? y : 39 - y, nLine)) << x << ' ' << y;
            }
    }
}

constexpr std::tuple<const char16_t*, HRESULT, tagRECT> arrCrops[] = {
    {u"10", S_OK, {10, 10, 1910, 1070}},
    {u"20 4", S_OK, {20, 4, 1900, 1076}},
    {u"20,4,6", S_OK, {20, 4, 1900, 1074}},
    {u"left 1; top 2; right 3; bottom 4; 5", S_OK, {1, 2, 1917, 1076}},
    {u"0", S_OK, {0, 0, 1920, 1080}},
    {u"08", S_OK, {8, 8, 1912, 1072}},
    {u"-", E_INVALIDARG, {}},
    {u"", E_INVALIDARG, {}},
    {u"-4", E_INVALIDARG, {}},
    {u"540", E_INVALIDARG, {}},  // no line is left
    {u"2147483647", E_INVALIDARG, {}},
};

TEST(CropRect, CutsWhatTheTextLists) {
    const ZR_VID_PROPS props = Props(eZrFCC_RGB32, 1920, -1080);
    for (const auto& [szText, hr, rectWanted] : arrCrops) {
        SCOPED_TRACE(testing::PrintToString(std::u16string(szText)));
        tagRECT rect{};
        EXPECT_EQ(CropRect(szText, props, &rect), hr);
        EXPECT_EQ(std::memcmp(&rect, &rectWanted, sizeof(rect)), 0)
            << rect.left << ' ' << rect.top << ' ' << rect.right;
    }
}

}  // namespace
}  // namespace zr
