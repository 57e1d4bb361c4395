#include <gtest/gtest.h>

#include "media/format_table.h"
#include "media/pixel_format.h"
#include "media/record_support.h"
#include "media/vid_props.h"

namespace zr {
namespace {

constexpr auto HD50i = eZrVF_HD1080_50i;
constexpr auto HD25p = eZrVF_HD1080_25p;
constexpr auto HD720 = eZrVF_HD720_50p;
constexpr auto PAL = eZrVF_PAL;
constexpr auto NTSC = eZrVF_NTSC;
constexpr auto FILM = eZrVF_NTSC_2398;
constexpr auto F1 = eZrI_Field1First;
constexpr auto F2 = eZrI_Field2First;
constexpr auto P = eZrI_Progressive;
constexpr auto UYVY = eZrFCC_UYVY;
constexpr auto HDYC = eZrFCC_HDYC;
constexpr auto RGB32 = eZrFCC_RGB32;
constexpr auto LETTER = eZrST_LetterBox;
constexpr double kNtsc = 30000 / 1001.0, kFilm = 24000 / 1001.0;

constexpr ZR_VID_PROPS kHD = {HD50i, HDYC, 1920, 1080, 3840, F1, 16, 9, 25};
constexpr ZR_VID_PROPS kHDRgb = {HD50i, RGB32, 1920, 1080, 7680, F1, 16, 9, 25};
constexpr ZR_VID_PROPS kHDTopDown = {HD50i, RGB32, 1920, -1080, 7680, F1, 16, 9, 25};

// {format, pixel format, width, height, row bytes, field order, aspect, rate, scale type, 3D}
struct CASE {
    const char* szName;
    ZR_VID_PROPS in, out;
};

void Check(const CASE& _case, bool _bKeepOwnSize) {
    SCOPED_TRACE(_case.szName);
    ZR_VID_PROPS props = _case.in;
    EXPECT_EQ(NormalizeProps(&props, _bKeepOwnSize), _case.out.eVideoFormat);
    EXPECT_EQ(Fields(props), Fields(_case.out));
}

TEST(NormalizeProps, Wishes) {
    const CASE arrCases[] = {
        {"a name fills all",
         {HD50i, {}, 0, 0, 0, {}, 0, 0, 0, LETTER},
         {HD50i, HDYC, 1920, 1080, 3840, F1, 16, 9, 25, LETTER}},
        {"given values stay", {HD50i, UYVY, 640, 0, 5000, P, 1, 1}, {HD50i, UYVY, 640, 1080, 5000, P, 1, 1, 25}},
        {"own width makes own rows", {HD50i, {}, 640}, {HD50i, HDYC, 640, 1080, 1280, F1, 16, 9, 25}},
        {"height 1 is a sign", {HD50i, RGB32, 0, 1}, kHDRgb},
        {"height -1 is a sign", {HD50i, RGB32, 0, -1}, kHDTopDown},
        {"height 2 is a height", {HD50i, RGB32, 0, 2}, {HD50i, RGB32, 1920, 2, 7680, F1, 16, 9, 25}},
        {"a rate alone changes nothing", {HD50i, {}, 0, 0, 0, {}, 0, 0, 50}, kHD},
        {"raster and rate name it",
         {PAL, {}, 1280, 720, 0, {}, 0, 0, 50},
         {HD720, UYVY, 1280, 720, 2560, F1, 4, 3, 50}},
        {"at a rate of no format both stay",
         {PAL, {}, 1920, 1080, 0, {}, 0, 0, 12},
         {{}, UYVY, 1920, 1080, 3840, F1, 4, 3, 12}},
        {"numbers of no format", {PAL, {}, 640, 480, 0, {}, 0, 0, 12}, {{}, UYVY, 640, 480, 1280, F1, 4, 3, 12}},
        {"bare numbers fit exactly",
         {{}, UYVY, 1920, 1125, 0, {}, 0, 0, 25},
         {{}, UYVY, 1920, 1125, 3840, {}, 0, 0, 25}},
        {"a stack may have an odd line",
         {{}, eZrFCC_RGB24, 1280, 1441, 0, P, 0, 0, 50},
         {Format(6 + 0x1400), eZrFCC_RGB24, 1280, 1441, 3840, P, 0, 0, 50, {}, eZr3D_FullTopAndBottom}},
        {"the layout of a pair is written",
         {{}, {}, 1280, 1440, 0, {}, 0, 0, 50, {}, eZr3D_Auto},
         {Format(6 + 0x1400), {}, 1280, 1440, 0, {}, 0, 0, 50, {}, eZr3D_FullTopAndBottom}},
        {"no format is made up", {{}, {}, 320, 240, 0, eZrI_Inverse}, {{}, {}, 320, 240, 0, eZrI_Inverse}},
    };
    for (const CASE& c : arrCases) Check(c, false);
    EXPECT_EQ(NormalizeProps(nullptr, false), eZrVF_Custom);
}

TEST(NormalizeProps, Frames) {
    const CASE arrCases[] = {
        {"all blanking lines stay", {HD50i, UYVY, 1920, 1125}, {HD50i, UYVY, 1920, 1125, 3840, F1, 16, 9, 25}},
        {"some lines become even", {HD50i, UYVY, 1920, 1123}, {HD50i, UYVY, 1920, 1122, 3840, F1, 16, 9, 25}},
        {"lines of a progressive format", {HD25p, UYVY, 1920, 1123}, {HD25p, UYVY, 1920, 1123, 3840, P, 16, 9, 25}},
        {"one more is cut", {HD50i, RGB32, 1920, 1126}, kHDRgb},
        {"with its sign", {HD50i, RGB32, 1920, -1126}, kHDTopDown},
        {"too low", {HD50i, RGB32, 1920, -1079}, kHDTopDown},
        {"480 bare lines", {{}, {}, 720, 480, 0, {}, 4, 3, kNtsc}, {NTSC, UYVY, 720, 480, 1440, P, 4, 3, kNtsc}},
        {"480 lines of NTSC", {NTSC, {}, 720, 480}, {NTSC, UYVY, 720, 480, 1440, F2, 4, 3, kNtsc}},
        {"486 lines of NTSC", {NTSC, {}, 720, 486}, {NTSC, UYVY, 720, 486, 1440, F2, 4, 3, kNtsc}},
        {"480 lines of film", {FILM, {}, 720, 480}, {FILM, UYVY, 720, 486, 1440, P, 4, 3, kFilm}},
        {"a name overrules the rest",
         {HD50i, UYVY, 640, 0, 9000, P, 1, 1, 60, LETTER, eZr3D_Tile},
         {HD50i, UYVY, 1920, 1080, 3840, F1, 16, 9, 25, LETTER}},
        {"625 lines are UYVY", {{}, {}, 320, 625, 0, eZrI_DeinterlaceF1}, {{}, UYVY, 320, 625, 640, P}},
        {"626 lines are HDYC", {{}, {}, 320, -626}, {{}, HDYC, 320, 626, 640, P}},
        {"nothing is filled without a size", {{}, {}, 0, 480}, {{}, {}, 0, 480}},
        {"bare numbers with blanking",
         {{}, UYVY, 1920, 1125, 0, {}, 0, 0, 25},
         {HD50i, UYVY, 1920, 1125, 3840, P, 0, 0, 25}},
        {"and get an even height", {{}, UYVY, 720, 577, 0, F1, 4, 3, 25}, {PAL, UYVY, 720, 576, 1440, F1, 4, 3, 25}},
        {"extremes",
         {{}, UYVY, INT32_MAX, INT32_MIN, INT32_MIN, F1},
         {{}, UYVY, INT32_MAX - 1, INT32_MAX - 1, INT32_MAX, F1}},
        {"extremes of a name", {HD50i, RGB32, INT32_MIN, INT32_MIN}, kHDTopDown},
    };
    for (const CASE& c : arrCases) Check(c, true);
}

TEST(NormalizeProps, WishesAndFrames) {
    const CASE arrCases[] = {
        {"disabled stays", {eZrVF_Disabled, UYVY, 721, 1, 3}, {eZrVF_Disabled, UYVY, 721, 1, 3}},
        {"odd width of UYVY", {{}, UYVY, 721, -9, 0, P}, {{}, UYVY, 720, 9, 1440, P}},
        {"odd width of RGB32", {{}, RGB32, 721, -9, 0, P}, {{}, RGB32, 721, -9, 2884, P}},
        {"odd interlaced height", {{}, RGB32, 8, 1081, 0, F1}, {{}, RGB32, 8, 1080, 32, F1}},
        {"odd interlaced height, top-down", {{}, RGB32, 8, -1081, 0, F2}, {{}, RGB32, 8, -1080, 32, F2}},
        {"wider rows stay", {{}, UYVY, 720, 9, 2000, P}, {{}, UYVY, 720, 9, 2000, P}},
        {"rows of planes are not corrected", {{}, eZrFCC_I420, 8, 8, 2, P}, {{}, eZrFCC_I420, 8, 8, 2, P}},
        {"half an aspect is none", {{}, eZrFCC_I420, 8, 8, 8, P, 0, 9}, {{}, eZrFCC_I420, 8, 8, 8, P}},
    };
    for (const CASE& c : arrCases) {
        Check(c, false);
        Check(c, true);
    }
    ZR_VID_PROPS unknown = {Format(0x22F), UYVY, 721, 9, 3};  // a format without a row stays
    EXPECT_EQ(NormalizeProps(&unknown, true), eZrVF_Custom);
    EXPECT_EQ(Fields(unknown), Fields({Format(0x22F), UYVY, 721, 9, 3}));
}

TEST(NormalizeProps, RecordsAreInFormAfterwards) {
    RandomRecords records;
    for (int i = 0; i < 200000; ++i) {
        const ZR_VID_PROPS in = records.Next();
        if (in.eVideoFormat != eZrVF_Custom && FormatRate(in.eVideoFormat) == 0) continue;  // left alone
        for (const bool bKeepOwnSize : {false, true}) {
            SCOPED_TRACE(testing::Message() << i << (bKeepOwnSize ? " frame" : " wish"));
            ZR_VID_PROPS props = in;
            ASSERT_EQ(NormalizeProps(&props, bKeepOwnSize), props.eVideoFormat);
            ASSERT_EQ(props.eScaleType, in.eScaleType);
            ASSERT_EQ(props.nAspectX == 0, props.nAspectY == 0);
            ASSERT_GE(props.nRowBytes, 0);
            if (PixelFormatPackedKnown(props.fccType)) {
                ASSERT_GE(props.nRowBytes, MinRowBytes(props.fccType, props.nWidth));
            }
            if (!PixelFormatBottomUp(props.fccType)) {
                ASSERT_EQ(props.nWidth & 1, 0);
                ASSERT_GE(props.nHeight, 0);
            }
            const int32_t nAllLines = FormatSize(props.eVideoFormat).nHeight + FormatBlanking(props.eVideoFormat);
            if (InterlaceClass(&props) != 0 && !(bKeepOwnSize && AbsHeight(props.nHeight) == nAllLines)) {
                ASSERT_EQ(props.nHeight % 2, 0);
            }
            if (!bKeepOwnSize || in.eVideoFormat == eZrVF_Custom) continue;
            ZR_VID_PROPS again = props;  // what a name decides for a frame, it decides once
            NormalizeProps(&again, true);
            ASSERT_EQ(Fields(again), Fields(props));
        }
    }
}

}  // namespace
}  // namespace zr
