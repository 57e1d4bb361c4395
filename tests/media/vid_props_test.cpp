#include "media/vid_props.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "media/format_table.h"
#include "media/pixel_format.h"
#include "media/record_support.h"

namespace zr {
namespace {

TEST(VidProps, DetectsFormats) {
    constexpr auto P = eZrI_Progressive;
    // {format, pixel format, width, height, row bytes, field order, aspect, rate, scale type, 3D}
    const std::tuple<const char*, ZR_VID_PROPS, int32_t, int32_t> arrCases[] = {
        {"PAL by its raster", {{}, {}, 720, 576, 0, {}, 0, 0, 25}, 4, 4},
        {"PAL wide by its aspect", {{}, {}, 720, 576, 0, {}, 16, 9, 25}, 5, 5},
        {"top-down PAL without aspect counts as wide", {{}, {}, 720, -576, 0, {}, 0, 0, 25}, 5, 5},
        {"PAL with NTSC's 39 blanking lines", {{}, {}, 720, 615, 0, {}, 0, 0, 25}, 4, 0},
        {"PAL with one more", {{}, {}, 720, 616, 0, {}, 0, 0, 25}, 0, 0},
        {"480 lines by their raster", {{}, {}, 720, 480, 0, {}, 0, 0, 29.97}, 3, 3},  // 720 / 480 = 1.5 is wide
        {"NTSC by its aspect", {{}, {}, 720, 486, 0, {}, 4, 3, 29.97}, 1, 1},
        {"NTSC with all lines", {{}, {}, 720, 525, 0, {}, 0, 0, 30 / 1.001}, 1, 0},  // 720 / 525 = 1.37
        {"NTSC with one line more", {{}, {}, 720, 526, 0, {}, 0, 0, 29.97}, 0, 0},
        {"NTSC film is never wide", {{}, {}, 720, 480, 0, {}, 16, 9, 23.976}, 2, 2},
        {"field order is no matter in SD", {{}, {}, 720, 576, 0, P, 0, 0, 25}, 4, 4},
        {"NTSC does not run at 25", {{}, {}, 720, 486, 0, {}, 0, 0, 25}, 0, 0},
        {"rate within tolerance", {{}, {}, 1280, 720, 0, {}, 0, 0, 50.0099}, 6, 6},
        {"rate out of tolerance", {{}, {}, 1280, 720, 0, {}, 0, 0, 50.0101}, 0, 0},
        {"59.94 is not 60", {{}, {}, 1280, 720, 0, {}, 0, 0, 59.94}, 7, 7},
        {"720 with all lines", {{}, {}, 1280, 750, 0, {}, 0, 0, 60}, 8, 0},
        {"720 takes the pair bits only", {{}, {}, 1280, 720, 0, {}, 0, 0, 60, {}, eZr3D_FullTopAndBottom}, 1032, 1032},
        {"1080 at 25 without field order", {{}, {}, 1920, 1080, 0, {}, 0, 0, 25}, 14, 14},
        {"1080 at 25 progressive", {{}, {}, 1920, 1080, 0, P, 0, 0, 25}, 11, 11},
        {"1080 with a wrong field order", {{}, {}, 1920, 1080, 0, eZrI_Field2First, 0, 0, 25}, 0, 0},
        {"1080 top-down with all lines", {{}, {}, 1920, -1125, 0, {}, 0, 0, 50}, 17, 0},
        {"1080 with one line more", {{}, {}, 1920, 1126, 0, {}, 0, 0, 50}, 0, 0},
        {"2K DCI takes no layout", {{}, {}, 2048, 1080, 0, {}, 0, 0, 24, {}, eZr3D_SideBySide}, 21, 21},
        {"2K DCI has no blanking", {{}, {}, 2048, 1081, 0, {}, 0, 0, 24}, 0, 0},
        {"2K film", {{}, {}, 2048, 1556, 0, {}, 0, 0, 24}, 27, 27},
        {"UHD at 25 without field order", {{}, {}, 3840, 2160, 0, {}, 0, 0, 25}, 34, 34},
        {"UHD at 25 interlaced", {{}, {}, 3840, 2160, 0, eZrI_Field1First, 0, 0, 25}, 29, 29},
        {"4K DCI", {{}, {}, 4096, 2160, 0, {}, 0, 0, 59.94}, 44, 44},
        {"stacked", {{}, {}, 1920, 2160, 0, P, 0, 0, 25}, 11 + 0x1400, 11 + 0x1400},
        {"stacked, own layout ignored", {{}, {}, 1280, 1441, 0, {}, 0, 0, 50, {}, eZr3D_SideBySide}, 5126, 5126},
        {"stacked with blanking even when exact", {{}, {}, 1280, 1500, 0, {}, 0, 0, 50}, 5126, 5126},
        {"stacked top-down is not seen", {{}, {}, 1280, -1440, 0, {}, 0, 0, 50}, 0, 0},
        {"stack of stacks", {{}, {}, 1280, 2880, 0, {}, 0, 0, 50}, 0, 0},
        {"side by side", {{}, eZrFCC_UYVY, 3840, 1080, 7680, P, 0, 0, 25}, 11 + 0x200, 11 + 0x200},
        {"rows of two such pictures", {{}, eZrFCC_UYVY, 3840, 1080, 15360, P, 0, 0, 25}, 0, 0},
        {"rows of one byte less", {{}, eZrFCC_UYVY, 3840, 1080, 15359, P, 0, 0, 25}, 11 + 0x200, 11 + 0x200},
        {"side by side needs a pixel format", {{}, {}, 2560, 720, 0, {}, 0, 0, 50}, 0, 0},
        {"side by side, top-down", {{}, eZrFCC_RGB32, 2560, -720, 0, {}, 0, 0, 50}, 6 + 0x200, 6 + 0x200},
        {"nothing", {}, 0, 0},
        {"not a number", {{}, {}, 1920, 1080, 0, {}, 0, 0, NAN}, 0, 0},
        {"extremes", {{}, eZrFCC_RGB32, INT32_MAX, INT32_MIN, 0, {}, 0, 0, 25}, 0, 0},
        {"extremes the other way", {{}, {}, INT32_MIN, INT32_MAX, 0, {}, 0, 0, 25}, 0, 0},
    };
    for (const auto& [szName, props, nInexact, nExact] : arrCases) {
        EXPECT_EQ(DetectFormat(&props, false), nInexact) << szName;
        EXPECT_EQ(DetectFormat(&props, true), nExact) << szName;
    }
}

// What a format builds is recognised as that format, with these exceptions: two full pictures side by side come back as
// half ones, and two stacked in top-down rows are not seen. As a frame it is in form already.
TEST(VidProps, RecognisesWhatFormatsBuild) {
    EXPECT_EQ(NamedFormats().size(), 92u);  // and Custom and Disabled
    for (const eZrVideoFormat eFormat : NamedFormats()) {
        for (const eZrFCC fccType : {eZrFCC_Default, eZrFCC_v210, eZrFCC_ARGB32}) {
            SCOPED_TRACE(testing::Message() << eFormat << " " << fccType);
            const ZR_VID_PROPS props = PropsFromFormat(eFormat, fccType);
            int32_t nExpected = eFormat;
            if ((eFormat & 0x1600) == 0x1200) nExpected -= 0x1000;
            if ((eFormat & 0x1600) == 0x1400 && fccType == eZrFCC_ARGB32) nExpected = 0;
            EXPECT_EQ(DetectFormat(&props, true), nExpected);
            ZR_VID_PROPS wish = props;
            EXPECT_EQ(NormalizeProps(&wish, false), nExpected);
            ZR_VID_PROPS frame = props;
            EXPECT_EQ(NormalizeProps(&frame, true), eFormat);
            EXPECT_EQ(Fields(frame), Fields(props));
        }
    }
}

TEST(VidProps, ComparesRecords) {
    struct CASE {
        const char* szName;
        ZR_VID_PROPS a, b;
        bool arrSame[4];  // by level
    };
    const ZR_VID_PROPS base = {{}, eZrFCC_UYVY, 640, 360, 1280, {}, 4, 3, 25};
    const ZR_VID_PROPS pal = PropsFromFormat(eZrVF_PAL, eZrFCC_UYVY);
    const auto But = [](ZR_VID_PROPS _props, auto _field, auto _value) {
        _props.*_field = static_cast<std::remove_reference_t<decltype(_props.*_field)>>(_value);
        return _props;
    };
    using R = ZR_VID_PROPS;
    const R palEightToSix = But(But(pal, &R::nAspectX, 8), &R::nAspectY, 6);
    const R ignoring = But(base, &R::eScaleType, eZrST_IgnoreAR);
    const CASE arrCases[] = {
        {"a name and what it stands for", {.eVideoFormat = eZrVF_PAL}, pal, {true, true, true, true}},
        {"scale type under one name", pal, But(pal, &R::eScaleType, eZrST_Crop), {true, true, true, true}},
        {"3D under one name", pal, But(pal, &R::e3DFormat, eZr3D_Auto), {true, true, true, true}},
        {"row bytes under one name", pal, But(pal, &R::nRowBytes, 2048), {true, true, true, false}},
        {"rate within tolerance", base, But(base, &R::dblRate, 25.0099), {true, true, true, true}},
        {"rate out of tolerance", base, But(base, &R::dblRate, 25.0101), {false, true, true, true}},
        {"pixel format", base, But(base, &R::fccType, eZrFCC_HDYC), {false, true, false, false}},
        {"row bytes", base, But(base, &R::nRowBytes, 1408), {true, true, true, false}},
        {"field order", base, But(base, &R::eInterlace, eZrI_Progressive), {false, true, true, true}},
        {"scale type", base, But(base, &R::eScaleType, eZrST_Crop), {false, true, true, true}},
        {"3D", base, But(base, &R::e3DFormat, eZr3D_Auto), {false, true, true, true}},
        {"an aspect against none", base, But(base, &R::nAspectX, 0), {true, true, true, true}},
        {"4:3 and 8:6", base, But(But(base, &R::nAspectX, 8), &R::nAspectY, 6), {false, true, true, true}},
        {"aspect ignored by one", But(pal, &R::eScaleType, eZrST_IgnoreAR), palEightToSix, {true, true, true, true}},
        {"aspect ignored by the other",
         pal,
         But(palEightToSix, &R::eScaleType, eZrST_IgnoreAR),
         {true, true, true, true}},
        {"8:6 under one name", pal, palEightToSix, {false, true, true, true}},
        {"aspect ignored by both", ignoring, But(ignoring, &R::nAspectX, 16), {true, true, true, true}},
        {"width", base, But(base, &R::nWidth, 642), {false, false, false, false}},
        {"row order", {{}, eZrFCC_RGB32, 64, 36}, {{}, eZrFCC_RGB32, 64, -36}, {false, true, true, true}},
    };
    for (const CASE& c : arrCases)
        for (int32_t nLevel = 0; nLevel < 4; ++nLevel)
            EXPECT_EQ(SameProps(&c.a, &c.b, nLevel), c.arrSame[nLevel]) << c.szName << ", level " << nLevel;
    EXPECT_TRUE(SameProps(nullptr, nullptr, 0));
    EXPECT_FALSE(SameProps(&base, nullptr, 1));
}

TEST(VidProps, ValidAsWishAndAsFrame) {
    const std::tuple<const char*, ZR_VID_PROPS, bool, bool> arrCases[] = {
        {"nothing", {}, false, false},
        {"a name only", {.eVideoFormat = eZrVF_PAL}, false, true},
        {"disabled", {.eVideoFormat = eZrVF_Disabled, .fccType = eZrFCC_UYVY}, true, false},
        {"a negative name", {.eVideoFormat = Format(-1)}, false, false},
        {"rate", {.dblRate = 0.5}, true, false},
        {"negative rate", {.dblRate = -25}, false, false},
        {"half an aspect", {.nAspectX = 4}, false, false},
        {"aspect", {.nAspectX = 4, .nAspectY = 3}, true, false},
        {"width only", {.nWidth = 8}, false, false},
        {"size", {.nWidth = 8, .nHeight = -8}, true, false},
        {"field order", {.eInterlace = eZrI_OneField}, true, false},
        {"a frame", {{}, eZrFCC_UYVY, 8, -8, -1}, true, true},
        {"a frame without rows", {{}, eZrFCC_UYVY, 8, 8, 0}, true, false},
        {"a frame without width", {{}, eZrFCC_UYVY, 0, 8, 16}, true, false},
    };
    for (const auto& [szName, props, bWish, bFrame] : arrCases) {
        EXPECT_EQ(PropsValid(&props, false), bWish) << szName;
        EXPECT_EQ(PropsValid(&props, true), bFrame) << szName;
    }
    EXPECT_FALSE(PropsValid(nullptr, false));
    EXPECT_FALSE(PropsValid(nullptr, true));
}

TEST(VidProps, AspectAndInterlaceClass) {
    EXPECT_EQ(AspectValue(nullptr), 1.0);
    const auto Aspect = [](ZR_VID_PROPS _props) { return AspectValue(&_props); };
    EXPECT_EQ(Aspect({.nWidth = 720, .nHeight = 576, .nAspectX = -4, .nAspectY = 3}), 1.25);
    EXPECT_EQ(Aspect({.nWidth = 720, .nHeight = -576}), 1.7777777777777777);
    EXPECT_EQ(Aspect({.nWidth = 720, .nHeight = -576, .nAspectX = 4, .nAspectY = 2}), 2.0);
    const auto Class = [](int32_t _nInterlace, eZrVideoFormat _eFormat) {
        const ZR_VID_PROPS props = {.eVideoFormat = _eFormat, .eInterlace = static_cast<eZrInterlace>(_nInterlace)};
        return InterlaceClass(&props);
    };
    EXPECT_EQ(Class(0, eZrVF_NTSC), -1);
    EXPECT_EQ(Class(0, eZrVF_3D_SbS_1080_50i), 1);
    EXPECT_EQ(Class(0, eZrVF_HD1080_25p), 0);
    EXPECT_EQ(Class(0, Format(255)), 0);
    EXPECT_EQ(Class(2, eZrVF_PAL), -1);
    for (const int32_t nInterlace : {3, 4, 5, 256, 512, -1}) EXPECT_EQ(Class(nInterlace, eZrVF_PAL), 0) << nInterlace;
}

}  // namespace
}  // namespace zr
