#include "media/format_table.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace zr {
namespace {

// A short name says everything about its format, so the table is checked against the meaning of its names:
// raster, rate in whole frames or fields (23, 29 and 59 stand for the NTSC-related rates), scan.
struct RASTER {
    const char* szPrefix;
    int32_t nWidth, nHeight, nAspectX, nAspectY, nClass, nBlanking;
};
constexpr RASTER arrRasters[] = {
    // total lines: 525 - 486, 750 - 720, 1125 - 1080; film and 4K rasters have no capture format with blanking
    {"NTSC", 720, 486, 4, 3, 0, 525 - 486},
    {"HD720", 1280, 720, 16, 9, 1, 750 - 720},
    {"HD1080", 1920, 1080, 16, 9, 1, 1125 - 1080},
    {"2K-DCI", 2048, 1080, 256, 135, 2, 0},
    {"2K", 2048, 1556, 239, 100, 2, 0},
    {"4K-UHD", 3840, 2160, 16, 9, 4, 0},
    {"4K-DCI", 4096, 2160, 256, 135, 4, 0},
};

std::string Narrow(std::u16string_view _text) { return {_text.begin(), _text.end()}; }

void ExpectRow(const ZrVideoFormatRow& _row, const RASTER& _raster, double _dblRate, eZrInterlace _eInterlace,
               const std::string& _enumName) {
    EXPECT_EQ(Narrow(_row.szEnumName), _enumName);
    EXPECT_DOUBLE_EQ(_row.dblRate, _dblRate);
    EXPECT_EQ(_row.eInterlace, _eInterlace);
    EXPECT_EQ(_row.nWidth, _raster.nWidth);
    EXPECT_EQ(_row.nHeight, _raster.nHeight);
    EXPECT_EQ(_row.nAspectX, _raster.nAspectX);
    EXPECT_EQ(_row.nAspectY, _raster.nAspectY);
    EXPECT_EQ(_row.nClass, _raster.nClass);
    EXPECT_EQ(_row.nBlankingLines, _raster.nBlanking);
}

TEST(FormatTable, RowsAreWhatTheirNamesSay) {
    for (int32_t i = eZrVF_HD720_50p; i < eZrVF_Disabled; ++i) {
        const ZrVideoFormatRow& row = *RowTable(i);
        const std::string name = Narrow(row.szShortName);
        SCOPED_TRACE(name);
        const size_t nDash = name.rfind('-');
        const RASTER* pRaster = nullptr;
        for (const RASTER& raster : arrRasters)
            if (name.substr(0, nDash) == raster.szPrefix) pRaster = &raster;
        ASSERT_TRUE(pRaster);
        const int nNumber = std::stoi(name.substr(nDash + 1));
        const bool bInterlaced = name.back() == 'i';
        const bool bNtscRate = nNumber == 23 || nNumber == 29 || nNumber == 59;
        double dblRate = bNtscRate ? (nNumber + 1) * 1000 / 1001.0 : nNumber;
        if (bInterlaced) dblRate /= 2;
        std::string enumName = "eZrVF_" + name.substr(0, nDash) + "_" + std::to_string(nNumber);
        if (nNumber == 23) enumName += "98";
        if (nNumber == 29) enumName += "97";
        if (nNumber == 59) enumName += "94";
        enumName += name.back();
        if (const size_t n = enumName.find('-'); n != std::string::npos) enumName[n] = '_';
        RASTER raster = *pRaster;
        if (raster.nClass == 4 && dblRate > 49) raster.nClass = 8;
        ExpectRow(row, raster, dblRate, bInterlaced ? eZrI_Field1First : eZrI_Progressive, enumName);
    }
}

TEST(FormatTable, StandardDefinitionRows) {
    constexpr RASTER ntsc = {"NTSC", 720, 486, 4, 3, 0, 39};
    constexpr RASTER ntscWide = {"NTSC-16x9", 720, 486, 16, 9, 0, 39};
    constexpr RASTER pal = {"PAL", 720, 576, 4, 3, 0, 625 - 576};
    constexpr RASTER palWide = {"PAL-16x9", 720, 576, 16, 9, 0, 49};
    ExpectRow(*RowTable(1), ntsc, 30 / 1.001, eZrI_Field2First, "eZrVF_NTSC");
    ExpectRow(*RowTable(2), ntsc, 24 / 1.001, eZrI_Progressive, "eZrVF_NTSC_2398p");
    ExpectRow(*RowTable(3), ntscWide, 30 / 1.001, eZrI_Field2First, "eZrVF_NTSC_16x9");
    ExpectRow(*RowTable(4), pal, 25, eZrI_Field1First, "eZrVF_PAL");
    ExpectRow(*RowTable(5), palWide, 25, eZrI_Field1First, "eZrVF_PAL_16x9");
}

TEST(FormatTable, IndexesOutsideGiveNoRow) {
    for (const int32_t nIndex : {INT32_MIN, -1, 47, 48, 255, INT32_MAX}) EXPECT_EQ(RowTable(nIndex), nullptr) << nIndex;
    const auto eUnknown = static_cast<eZrVideoFormat>(0x22F);
    EXPECT_EQ(FormatRate(eUnknown), 0);
    EXPECT_EQ(FormatSize(eUnknown).nWidth, 0);
    EXPECT_EQ(FormatClass(eUnknown), -1);
}

TEST(FormatTable, LayoutsChangeOnlyTheSizeOfFullOnes) {
    constexpr std::tuple<const char*, eZrVideoFormat, int32_t, int32_t, uint32_t> arrCases[] = {
        {"half side by side", eZrVF_3D_SbS_1080_50i, 1920, 1080, 0x200},
        {"half top and bottom", eZrVF_3D_TnB_720_50p, 1280, 720, 0x400},
        {"full side by side", eZrVF_3D_Full_SbS_1080_24p, 3840, 1080, 0x1200},
        {"full top and bottom", eZrVF_3D_Full_TnB_720_60p, 1280, 1440, 0x1400},
        {"flag without a layout", static_cast<eZrVideoFormat>(0x1000 + 14), 1920, 1080, 0x1000},
        {"bits that are no layout", static_cast<eZrVideoFormat>(0x0900 + 14), 1920, 1080, 0},
    };
    for (const auto& [szName, eFormat, nWidth, nHeight, nLayout] : arrCases) {
        SCOPED_TRACE(szName);
        EXPECT_EQ(FormatSize(eFormat).nWidth, nWidth);
        EXPECT_EQ(FormatSize(eFormat).nHeight, nHeight);
        EXPECT_EQ(Format3D(eFormat), nLayout);
        EXPECT_EQ(FormatBlanking(eFormat), nWidth == 1280 ? 30 : 45);
    }
}

}  // namespace
}  // namespace zr
