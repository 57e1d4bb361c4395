#include "media/pixel_format.h"

#include <gtest/gtest.h>

#include <tuple>

namespace zr {
namespace {

TEST(PixelFormat, RowAndPictureBytes) {
    constexpr std::tuple<const char*, eZrFCC, int32_t, int32_t, int32_t, uint64_t> arrCases[] = {
        {"UYVY", eZrFCC_UYVY, 720, 576, 1440, 829440},
        {"packed rows are multiples of 4", eZrFCC_RGB24, 721, 2, 2164, 4328},  // 721 x 3 = 2163
        {"RGB8, one pixel", eZrFCC_RGB8, 1, 3, 4, 12},
        {"RGB32 top-down", eZrFCC_RGB32, 1920, -1080, 7680, 8294400},
        {"v210, 40 groups", eZrFCC_v210, 1920, 1080, 5120, 5529600},
        {"v210, last group part full", eZrFCC_v210, 1280, 720, 3456, 2488320},
        {"v210, one pixel", eZrFCC_v210, 1, 1, 128, 128},
        {"r210", kFCC_r210, 1920, 1, 7680, 7680},
        {"r210, last group part full", kFCC_r210, 1921, 1, 7936, 7936},
        {"I420: luma row, 3/2 picture", eZrFCC_I420, 1920, 1080, 1920, 3110400},
        {"YV12 of an odd size", eZrFCC_YV12, 721, 3, 721, 3244},
        {"NV12 is 4:2:0 whatever its bits", eZrFCC_NV12, 1280, 720, 1280, 1382400},
        {"Y422", kFCC_Y422, 1280, 720, 1280, 1843200},
        {"Y444", kFCC_Y444, 1280, 720, 1280, 2764800},
        {"IYU2 packed", kFCC_IYU2, 5, 2, 16, 32},
        {"YVU9 by its bits", kFCC_YVU9, 720, 1, 812, 812},  // 6480 bits
        {"unknown code", kFCC_MJPG, 1920, 1080, 0, 0},
        {"no width", eZrFCC_UYVY, 0, 1080, 0, 0},
        {"negative width", eZrFCC_v210, -1920, 1080, 0, 0},
        {"widest row is cut", eZrFCC_RGB32, INT32_MAX, 1, INT32_MAX, INT32_MAX},
        {"largest picture", kFCC_Y444, INT32_MAX, INT32_MIN, INT32_MAX, 13835058042397261827u},  // 3 x (2^31 - 1)^2
    };
    for (const auto& [szName, fccType, nWidth, nHeight, nRowBytes, nPicture] : arrCases) {
        SCOPED_TRACE(szName);
        EXPECT_EQ(MinRowBytes(fccType, nWidth), nRowBytes);
        EXPECT_EQ(PictureBytes({.fccType = fccType, .nWidth = nWidth, .nHeight = nHeight}), nPicture);
    }
    EXPECT_EQ(PictureBytes({.fccType = eZrFCC_UYVY, .nWidth = 8, .nHeight = -3, .nRowBytes = 64}), 192u);
}

TEST(PixelFormat, TextAndCode) {
    constexpr std::tuple<const char*, const char16_t*, uint32_t, const char16_t*> arrCases[] = {
        {"case is ignored in names", u"argb32", 0x773C9AC0, u"ARGB32"},
        {"V210 is v210", u"V210", 0x30313276, u"v210"},
        {"hdyc", u"hdyc", 0x43594448, u"HDYC"},
        {"y422", u"y422", 0x32323459, u"Y422"},
        {"mjpg", u"mjpg", 0x47504A4D, u"MJPG"},
        {"RGB8 is the media type, not four characters", u"RGB8", 0xE436EB7A, u"RGB8"},
        {"RGB4 has four characters", u"RGB4", 0x34424752, u"RGB4"},
        {"ARGB4444", u"Argb4444", 0x6E6415E6, u"ARGB4444"},
        {"BI_BITFIELDS", u"bi_bitfields", 3, u"BI_BITFIELDS"},
        {"raw code keeps its case", u"avc1", 0x31637661, u"avc1"},
        {"raw code with a blank", u"DIB ", 0x20424944, u"DIB "},
        {"wide characters have no byte", u"\u0416abc", 0x6362613F, u"?abc"},
        {"five characters", u"RGB16", 0, u"BI_RGB"},
        {"a name that is only printed", u"RGB565", 0, u"BI_RGB"},
        {"empty", u"", 0, u"BI_RGB"},
    };
    for (const auto& [szName, szText, nCode, szPrinted] : arrCases) {
        SCOPED_TRACE(szName);
        const eZrFCC fccType = ParsePixelFormat(szText);
        EXPECT_EQ(fccType, nCode);
        EXPECT_EQ(PixelFormatText(fccType), szPrinted);
        EXPECT_EQ(ParsePixelFormat(PixelFormatText(fccType)), fccType);
    }
    EXPECT_EQ(PixelFormatText(eZrFCC{0xE436EB78}), u"RGB1");
    EXPECT_EQ(PixelFormatText(kFCC_RGB565), u"RGB565");
    EXPECT_EQ(PixelFormatText(kFCC_RGB555), u"RGB555");
    EXPECT_EQ(PixelFormatText(eZrFCC_RGB24), u"RGB24");
    EXPECT_EQ(PixelFormatText(eZrFCC_RGB32), u"RGB32");
    EXPECT_EQ(PixelFormatText(kFCC_ARGB1555), u"ARGB1555");
    EXPECT_EQ(PixelFormatText(eZrFCC{0x7F414141}), u"0x7F414141");  // DEL does not print
    EXPECT_EQ(PixelFormatText(eZrFCC{0xABC}), u"0xABC");
}

}  // namespace
}  // namespace zr
