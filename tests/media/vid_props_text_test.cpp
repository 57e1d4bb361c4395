#include "media/vid_props_text.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "attributes/attribute_line.h"
#include "media/pixel_format.h"
#include "media/record_support.h"
#include "media/vid_props.h"
#include "media/vid_props_attributes.h"

namespace zr {
namespace {

TEST(VidPropsText, Forms) {
    const std::tuple<const char*, ZR_VID_PROPS, const char16_t*, const char16_t*, const char16_t*> arrCases[] = {
        {"full record", PropsFromFormat(eZrVF_HD1080_50i, eZrFCC_Default), u"1920(3840)x1080(HDYC)@25.000iT (16:9)",
         u"HDYC 1920(3840)x1080@25.000iT 16:9", u"HD1080-50i HDYC 1920x1080@25.00iT 16:9"},
        {"top-down, rate with a fraction, scale letter",
         {eZrVF_NTSC, eZrFCC_ARGB32, 720, -486, 2880, eZrI_Field2First, 4, 3, 30000 / 1001.0, eZrST_LetterBox},
         u"720(2880)x-486(ARGB32)@29.970iB (4:3L)",
         u"ARGB32 720(2880)x-486@29.970iB 4:3",
         u"NTSC ARGB32 720x-486@29.97iB 4:3"},
        {"a name alone asks for nothing until it is filled",
         {.eVideoFormat = eZrVF_HD720_5994p},
         u"",
         u"HDYC 1280(2560)x720@59.940p 16:9",
         u"HD720-59p HDYC 1280x720@59.94p 16:9"},
        {"custom, no field order, no aspect",
         {{}, eZrFCC_I420, 640, 360, 640, {}, 0, 0, 12.5},
         u"640(640)x360(I420)@12.500A",
         u"I420 640(640)x360@12.500A",
         u"Custom I420 640x360@12.50"},
        {"no pixel format",
         {{}, {}, 640, 360, 0, eZrI_Inverse},
         u"640(0)x360(BI_RGB)@0.000INV",
         u"BI_RGB 640(0)x360@0.000INV",
         u"Custom 640x360@0.00INV"},
        {"stereoscopic", PropsFromFormat(eZrVF_3D_Full_TnB_720_50p, eZrFCC_UYVY),
         u"1280(2560)x1440(UYVY)@50.000p (16:9)", u"UYVY 1280(2560)x1440@50.000p 16:9",
         u"3D-TnB HD720-50p UYVY 1280x1440@50.00p 16:9"},
        {"values beyond the lists",
         {{}, eZrFCC_UYVY, 8, 8, 16, eZrI_DeinterlaceF1, 1, 1, 1, static_cast<eZrScaleType>(9)},
         u"8(16)x8(UYVY)@1.000ER (1:1N)",
         u"UYVY 8(16)x8@1.000ER 1:1",
         u"Custom UYVY 8x8@1.00ER 1:1"},
        {"disabled", {.eVideoFormat = eZrVF_Disabled, .nWidth = 8}, u"disabled", u"-", u"<No Video>"},
        {"nothing", {}, u"", u"-", u"<Auto/Not Specified>"},
    };
    for (const auto& [szName, props, szTechnical, szShort, szListName] : arrCases) {
        SCOPED_TRACE(szName);
        EXPECT_EQ(VideoTechnicalText(&props), szTechnical);
        EXPECT_EQ(VideoListText(&props, true), szShort);
        EXPECT_EQ(VideoListText(&props, false), szListName);
    }
    EXPECT_EQ(VideoTechnicalText(nullptr), u"");
    EXPECT_EQ(VideoListText(nullptr, false), u"<Auto/Not Specified>");
}

TEST(VidPropsText, Keywords) {
    EXPECT_EQ(ParseInterlace(u"Progressive"), eZrI_Progressive);
    EXPECT_EQ(ParseInterlace(u"FIELD"), eZrI_OneField);
    EXPECT_EQ(ParseInterlace(u"interlaced"), eZrI_Default);
    EXPECT_EQ(ParseScaleType(u"none"), eZrST_IgnoreAR);
    EXPECT_EQ(ParseScaleType(u"no-scale"), eZrST_NoScale);
    EXPECT_EQ(Parse3DFormat(u"3d-auto"), eZr3D_Tile);
    EXPECT_EQ(Parse3DFormat(u"3D-Tile"), eZr3D_Auto);
    EXPECT_EQ(Parse3DFormat(u"default"), eZr3D_None);
    for (int32_t i = 0; i <= 5; ++i) {
        const auto eInterlace = static_cast<eZrInterlace>(i);
        EXPECT_EQ(ParseInterlace(InterlaceKeyword(eInterlace)), eInterlace);
    }
    for (const uint32_t nLayout : {0x0u, 0x200u, 0x400u, 0x1200u, 0x1400u}) {
        const auto e3DFormat = static_cast<eZr3DFormat>(nLayout);
        EXPECT_EQ(Parse3DFormat(LayoutKeyword(e3DFormat)), e3DFormat);
    }
    EXPECT_EQ(InterlaceKeyword(eZrI_DeinterlaceF1), u"");
    EXPECT_EQ(ScaleTypeKeyword(eZrST_IgnoreAR), u"ignore-ar");
}

ZR_VID_PROPS Read(const char16_t* _szLine, ZR_VID_PROPS _props) {
    ReadVidProps(
        [&](const char16_t* _szName, std::u16string_view& _value) {
            AttributeLineScanner line(_szLine);
            while (line.Next())
                if (line.Name() == _szName) {
                    _value = line.Value();
                    return true;
                }
            return false;
        },
        &_props);
    return _props;
}

TEST(VidPropsAttributes, Reads) {
    constexpr auto P = eZrI_Progressive;
    const ZR_VID_PROPS pal = PropsFromFormat(eZrVF_PAL, eZrFCC_UYVY);
    const ZR_VID_PROPS hd = {eZrVF_HD720_50p, eZrFCC_UYVY, 1280, 720, 2560, P, 16, 9, 50};
    const ZR_VID_PROPS tiny = {{}, eZrFCC_UYVY, 64, 36, 128, P, 16, 9, 25};
    const ZR_VID_PROPS palRaster = {{}, {}, 720, 576, 0, {}, 0, 0, 25}, top565 = {{}, kFCC_RGB565, 64, -36, 0, P};
    const std::tuple<const char16_t*, ZR_VID_PROPS, ZR_VID_PROPS> arrCases[] = {
        {u"", {{}, eZrFCC_UYVY, 64, 36, 999, P, 16, 9, 25}, tiny},  // but for row bytes nothing changes
        {u"", top565, top565},                                      // a code that has no name to read stays
        {u"video_format=HD720-50p", pal, hd},
        {u"video_format=eZrVF_PAL", {}, pal},
        {u"video_format=hd720-50p", tiny, tiny},  // no such format
        {u"video_format=eZrVF_3D_SbS_1080_50i", tiny, tiny},
        {u"video_format=pal", palRaster, {eZrVF_PAL, eZrFCC_UYVY, 720, 576, 1440, P, 4, 3, 25}},  // by the numbers
        {u"width=0x140 height=' 180 lines' rate=12.5fps",
         {{}, eZrFCC_UYVY},
         {{}, eZrFCC_UYVY, 320, 180, 640, {}, 0, 0, 12.5}},
        {u"width=wide rate=True", tiny, {{}, eZrFCC_UYVY, 0, 36, 0, P, 16, 9, 1}},
        {u"rate=2500%", tiny, tiny},
        {u"width=99999999999 height=-99999999999 aspect_ratio=99999:-99999",
         tiny,
         {{}, eZrFCC_UYVY, 2147483646, 2147483647, 2147483647, P, 32767, -32768, 25}},
        {u"pixel_format=yuy2 colorspace=RGB32",
         tiny,
         {{}, eZrFCC_YUY2, 64, 36, 128, P, 16, 9, 25}},  // before its older name
        {u"colorspace=RGB24 aspect-ratio=4x3 keep-aspect=None",
         tiny,
         {{}, eZrFCC_RGB24, 64, 36, 192, P, 4, 3, 25, eZrST_IgnoreAR}},
        {u"aspect_ratio=auto", tiny, tiny},
        {u"aspect_ratio=4", tiny, {{}, eZrFCC_UYVY, 64, 36, 128, P, 4, 9, 25}},
        {u"aspect_ratio=x16:9", tiny, {{}, eZrFCC_UYVY, 64, 36, 128, P, 0, 0, 25}},
        {u"interlace=bottom scale_type=crop format_3d=3D-HSbS",
         tiny,
         {{}, eZrFCC_UYVY, 64, 36, 128, eZrI_Field2First, 16, 9, 25, eZrST_Crop, eZr3D_SideBySide}},
        {u"video_format=PAL interlace=auto", {}, pal},  // gives the field order back to the format
        {u"pixel_format='' interlace='' aspect_ratio=''", tiny, {{}, {}, 64, 36, 0, {}, 16, 9, 25}},
    };
    for (const auto& [szLine, in, out] : arrCases) {
        SCOPED_TRACE(testing::PrintToString(szLine));
        EXPECT_EQ(Fields(Read(szLine, in)), Fields(out));
    }
}

TEST(VidPropsAttributes, WritesTheLineOfAWish) {
    EXPECT_EQ(VidPropsLine(PropsFromFormat(eZrVF_3D_SbS_1080_50i, eZrFCC_ARGB32)),
              u" video_format='HD1080-50i' pixel_format='ARGB32'");
    EXPECT_EQ(VidPropsLine({{}, eZrFCC_UYVY, 640, -360, 0, eZrI_Progressive, 0, 0, 30 / 1.001}),
              u" width='640' height='-360' rate='29.970' interlace='progressive' pixel_format='UYVY'");
}

}  // namespace
}  // namespace zr
