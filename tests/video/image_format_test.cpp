#include "video/image_format_base.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "picture_bytes.h"
#include "video/color_convert.h"
#include "video/image_convert.h"

namespace zr {
namespace {

using test::Bytes;

ZR_VID_PROPS Props(eZrFCC _fcc, int32_t _nWidth, int32_t _nHeight, eZrInterlace _eInterlace = eZrI_Progressive) {
    ZR_VID_PROPS props = test::Props(_fcc, _nWidth, _nHeight);
    props.eInterlace = _eInterlace;
    return props;
}

// UYVY whose luma is what _luma gives for each line.
Bytes Lines(const ZR_VID_PROPS& _props, const std::function<int32_t(int32_t)>& _luma) {
    Bytes bytes(PictureBytes(_props), 128);
    for (size_t i = 1; i < bytes.size(); i += 2)
        bytes[i] = static_cast<uint8_t>(_luma(static_cast<int32_t>(i) / _props.nRowBytes));
    return bytes;
}
int32_t LumaAt(const Bytes& _bytes, const ZR_VID_PROPS& _props, int32_t _x, int32_t _y) {
    return _bytes[static_cast<size_t>(_y * _props.nRowBytes + 2 * _x + 1)];
}

constexpr int32_t kUpper = 60, kLower = 200;  // luma of the fields
int32_t FieldLuma(int32_t _y) { return _y % 2 == 0 ? kUpper : kLower; }

// Where the lines of an interlaced picture end up. The luma of even and odd lines says which field they are of.
TEST(ImageFormatBase, FieldsGoWhereTheRouteSays) {
    constexpr eZrInterlace p = eZrI_Progressive, i1 = eZrI_Field1First, i2 = eZrI_Field2First;
    const std::tuple<const char*, eZrInterlace, eZrInterlace, int32_t, int32_t, int32_t, int32_t> arrCases[] = {
        {"woven_when_only_the_format_changes", i1, p, 64, 2, kUpper, kLower},
        {"one_field_alone_upper_first", i1, p, 64, 12, kUpper, kUpper},
        {"one_field_alone_lower_first", i2, p, 64, 12, kLower, kLower},
        {"fields_apart_reduced", i1, i1, 48, 2, kUpper, kLower},
        {"fields_apart_enlarged", i2, i2, 96, 4, kUpper, kLower},
        {"fields_apart_by_the_other_route", i1, i1, 48, 14, kUpper, kLower},
        {"order_changed_by_a_line", i1, i2, 64, 2, kLower, kUpper},
        {"order_changed_by_a_line_back", i2, i1, 64, 2, kLower, kUpper},
        {"order_changed_scaled", i1, i2, 48, 2, kLower, kUpper},
        {"order_changed_separated", i2, i1, 48, 16, kLower, kUpper},
        {"upper_field_wanted", i2, eZrI_DeinterlaceF1, 64, 2, kUpper, kUpper},
        {"lower_field_wanted", i1, eZrI_DeinterlaceF2, 48, 4, kLower, kLower},
        {"automatic_at_double_rate", i1, p, 64, 0, kUpper, kUpper},
    };
    const CAutoObj<ZrImageFormatBase> pFormat = ZrImageFormatBase::Make();
    for (const auto& [szName, eFrom, eTo, nLines, nQuality, nEven, nOdd] : arrCases) {
        SCOPED_TRACE(szName);
        const ZR_VID_PROPS from = Props(eZrFCC_UYVY, 64, 64, eFrom);
        ZR_VID_PROPS to = Props(eZrFCC_UYVY, 64, nLines, eTo);
        to.eScaleType = eZrST_IgnoreAR;
        if (nQuality == 0) to.dblRate = 50;
        Bytes source = Lines(from, FieldLuma), result(PictureBytes(to), 7);
        DESCRIBED_PICTURE src{{}, from}, dst{{}, to};
        ASSERT_EQ(PictureOf(source.data(), from, src.picture), S_OK);
        ASSERT_EQ(PictureOf(result.data(), to, dst.picture), S_OK);
        ASSERT_EQ(pFormat->ConvertPicture(src, dst, nQuality, -1), S_OK);
        // One line at either end repeats its neighbour where the picture has moved.
        for (int32_t y = 1; y < nLines - 1; ++y)
            ASSERT_NEAR(LumaAt(result, to, 11, y), y % 2 == 0 ? nEven : nOdd, 1) << "line " << y;
    }
}

// 1366 pixels centred on 1280 leave 1278 by their even margins: they stay as they are, nothing becomes soft.
TEST(ImageFormatBase, NearlyEqualSizesAreCentredWithoutScaling) {
    const CAutoObj<ZrImageFormatBase> pFormat = ZrImageFormatBase::Make();
    const ZR_VID_PROPS from = Props(eZrFCC_UYVY, 1366, 768), to = Props(eZrFCC_UYVY, 1280, 720);
    const Bytes source = test::Noise(from);
    Bytes result(PictureBytes(to), 7);
    ASSERT_EQ(pFormat->ConvertFrame2(source.data(), result.data(), nullptr, nullptr, from, to, eInterpolation::Linear),
              S_OK);
    for (int32_t y = 0; y < 720; ++y)
        for (int32_t x = 0; x < 1280; ++x)
            ASSERT_EQ(LumaAt(result, to, x, y), x < 1278 ? LumaAt(source, from, 44 + x, 24 + y) : 16) << x << ' ' << y;
}

TEST(ImageFormatBase, BothFieldsAsPicturesAndEqualOnesCopied) {
    const CAutoObj<ZrImageFormatBase> pFormat = ZrImageFormatBase::Make();
    ZR_VID_PROPS from = Props(eZrFCC_UYVY, 64, 64, eZrI_Field2First), to = Props(eZrFCC_YUY2, 32, 64);
    to.eScaleType = eZrST_IgnoreAR;
    const Bytes source = Lines(from, FieldLuma);
    Bytes whole(PictureBytes(to)), first = whole, second = whole;
    const auto Luma = [](const Bytes& _bytes) { return _bytes[32 * 64 + 20]; };
    ASSERT_EQ(pFormat->ConvertFrame3(source.data(), whole.data(), first.data(), second.data(), from, to,
                                     eInterpolation::Linear),
              S_OK);
    EXPECT_NEAR(Luma(whole), kLower, 1);
    EXPECT_EQ(first, whole);
    EXPECT_NEAR(Luma(second), kUpper, 1);
    // Both interlaced: all are the whole picture.
    to.eInterlace = eZrI_Field2First;
    ASSERT_EQ(
        pFormat->ConvertFrame3(source.data(), nullptr, first.data(), second.data(), from, to, eInterpolation::Linear),
        S_OK);
    EXPECT_EQ(first, second);
    ASSERT_EQ(
        pFormat->ConvertFrame2(source.data(), whole.data(), nullptr, second.data(), from, to, eInterpolation::Linear),
        S_OK);
    EXPECT_EQ(whole, second);
    EXPECT_EQ(pFormat->ConvertFrame2(source.data(), nullptr, nullptr, nullptr, from, to, eInterpolation::Linear),
              E_POINTER);
    EXPECT_EQ(pFormat->ConvertFrame3(nullptr, whole.data(), nullptr, nullptr, from, to, eInterpolation::Linear),
              E_POINTER);
}

// The part of the destination that the scale rule leaves free is black, and nothing else is.
TEST(ImageFormatBase, WhatIsLeftFreeIsBlack) {
    struct {
        const char* szName;
        int32_t nFromWidth, nFromHeight, nAspectX, nAspectY;
        eZrScaleType eScale;
        int32_t nToWidth, nToHeight;
        tagRECT used;  // of a destination with square pixels
    } const arrCases[] = {
        {"pillars", 720, 576, 4, 3, eZrST_LetterBox, 1280, 720, {160, 0, 1120, 720}},
        {"letter_box", 1280, 720, 16, 9, eZrST_LetterBox, 640, 480, {0, 60, 640, 420}},
        {"cropped_fills_all", 1280, 720, 16, 9, eZrST_Crop, 640, 480, {0, 0, 640, 480}},
        {"centred_unscaled", 640, 360, 16, 9, eZrST_NoScale, 1280, 720, {320, 180, 960, 540}},
        {"ignored_aspect", 720, 576, 4, 3, eZrST_IgnoreAR, 1280, 720, {0, 0, 1280, 720}},
    };
    const CAutoObj<ZrImageFormatBase> pFormat = ZrImageFormatBase::Make();
    for (const auto& c : arrCases) {
        SCOPED_TRACE(c.szName);
        ZR_VID_PROPS from = Props(eZrFCC_UYVY, c.nFromWidth, c.nFromHeight);
        from.nAspectX = static_cast<int16_t>(c.nAspectX);
        from.nAspectY = static_cast<int16_t>(c.nAspectY);
        from.eScaleType = c.eScale;
        const ZR_VID_PROPS to = Props(eZrFCC_UYVY, c.nToWidth, c.nToHeight);
        const Bytes source = Lines(from, [](int32_t) { return 180; });
        Bytes result(PictureBytes(to), 77);
        ASSERT_EQ(
            pFormat->ConvertFrame2(source.data(), result.data(), nullptr, nullptr, from, to, eInterpolation::Linear),
            S_OK);
        for (int32_t y = 0; y < to.nHeight; ++y)
            for (int32_t x = 0; x < to.nWidth; ++x) {
                const bool bUsed = x >= c.used.left && x < c.used.right && y >= c.used.top && y < c.used.bottom;
                ASSERT_NEAR(LumaAt(result, to, x, y), bUsed ? 180 : 16, bUsed ? 1 : 0) << x << ", " << y;
            }
        // Pictures that cannot be cut at the rectangle's edges come out the same.
        const ZR_VID_PROPS packed = Props(eZrFCC_v210, c.nToWidth, c.nToHeight);
        Bytes v210(PictureBytes(packed)), wanted = v210;
        ASSERT_EQ(
            pFormat->ConvertFrame2(source.data(), v210.data(), nullptr, nullptr, from, packed, eInterpolation::Linear),
            S_OK);
        ScalingEngine engine;
        ASSERT_EQ(ColorConvert(engine, result.data(), wanted.data(), to, packed, nullptr, nullptr), S_OK);
        EXPECT_EQ(v210 == wanted, true);
    }
}

// Planar pictures change their field order by a line too, luma and chroma.
TEST(ImageFormatBase, PlanarPicturesChangeTheirFieldOrder) {
    const CAutoObj<ZrImageFormatBase> pFormat = ZrImageFormatBase::Make();
    std::mt19937 rng(3);
    for (const eZrFCC fcc : {eZrFCC_I420, kFCC_Y422}) {
        const ZR_VID_PROPS from = Props(fcc, 32, 16, eZrI_Field2First), to = Props(fcc, 32, 16, eZrI_Field1First);
        const Bytes source = test::HarshBytes(rng, PictureBytes(from));
        Bytes result(PictureBytes(to), 7);
        ASSERT_EQ(
            pFormat->ConvertFrame2(source.data(), result.data(), nullptr, nullptr, from, to, eInterpolation::Linear),
            S_OK);
        for (size_t y = 0; y < 16; ++y)  // down by one line; the first stands twice
            ASSERT_EQ(std::memcmp(&result[y * 32], &source[(y > 0 ? y - 1 : 0) * 32], 32), 0) << y;
    }
}

}  // namespace
}  // namespace zr
