#include "media/format_table.h"

namespace zr {
namespace {

constexpr ZrVideoFormatRow Row(eZrVideoFormat _eFormat, const char16_t* _szShortName, const char16_t* _szEnumName,
                               int32_t _nRateNum, int32_t _nRateDen, eZrInterlace _eInterlace, int32_t _nWidth,
                               int32_t _nHeight, int32_t _nAspectX, int32_t _nAspectY, int32_t _nClass,
                               int32_t _nBlankingLines) {
    const double dblRate = static_cast<double>(_nRateNum) / _nRateDen;
    return {_eFormat, _szShortName, _szEnumName, _nRateNum, _nRateDen, dblRate,        _eInterlace,
            _nWidth,  _nHeight,     _nAspectX,   _nAspectY, _nClass,   _nBlankingLines};
}

// NTSC is second field first, PAL and all high-definition interlaced formats first field first. The text of row 2 has a
// p that its enumerator lacks; hosts write the text.
// clang-format off
constexpr ZrVideoFormatRow arrRows[] = {
    Row(eZrVF_Custom, u"Custom", u"eZrVF_Custom", 0, 1, eZrI_Default, 0, 0, 0, 0, -1, 0),
    Row(eZrVF_NTSC, u"NTSC", u"eZrVF_NTSC", 30000, 1001, eZrI_Field2First, 720, 486, 4, 3, 0, 39),
    Row(eZrVF_NTSC_2398, u"NTSC-23p", u"eZrVF_NTSC_2398p", 24000, 1001, eZrI_Progressive, 720, 486, 4, 3, 0, 39),
    Row(eZrVF_NTSC_16x9, u"NTSC-16x9", u"eZrVF_NTSC_16x9", 30000, 1001, eZrI_Field2First, 720, 486, 16, 9, 0, 39),
    Row(eZrVF_PAL, u"PAL", u"eZrVF_PAL", 25, 1, eZrI_Field1First, 720, 576, 4, 3, 0, 49),
    Row(eZrVF_PAL_16x9, u"PAL-16x9", u"eZrVF_PAL_16x9", 25, 1, eZrI_Field1First, 720, 576, 16, 9, 0, 49),
    Row(eZrVF_HD720_50p, u"HD720-50p", u"eZrVF_HD720_50p", 50, 1, eZrI_Progressive, 1280, 720, 16, 9, 1, 30),
    Row(eZrVF_HD720_5994p, u"HD720-59p", u"eZrVF_HD720_5994p", 60000, 1001, eZrI_Progressive, 1280, 720, 16, 9, 1, 30),
    Row(eZrVF_HD720_60p, u"HD720-60p", u"eZrVF_HD720_60p", 60, 1, eZrI_Progressive, 1280, 720, 16, 9, 1, 30),
    Row(eZrVF_HD1080_2398p, u"HD1080-23p", u"eZrVF_HD1080_2398p", 24000, 1001, eZrI_Progressive, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_24p, u"HD1080-24p", u"eZrVF_HD1080_24p", 24, 1, eZrI_Progressive, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_25p, u"HD1080-25p", u"eZrVF_HD1080_25p", 25, 1, eZrI_Progressive, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_2997p, u"HD1080-29p", u"eZrVF_HD1080_2997p", 30000, 1001, eZrI_Progressive, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_30p, u"HD1080-30p", u"eZrVF_HD1080_30p", 30, 1, eZrI_Progressive, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_50i, u"HD1080-50i", u"eZrVF_HD1080_50i", 25, 1, eZrI_Field1First, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_5994i, u"HD1080-59i", u"eZrVF_HD1080_5994i", 30000, 1001, eZrI_Field1First, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_60i, u"HD1080-60i", u"eZrVF_HD1080_60i", 30, 1, eZrI_Field1First, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_50p, u"HD1080-50p", u"eZrVF_HD1080_50p", 50, 1, eZrI_Progressive, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_5994p, u"HD1080-59p", u"eZrVF_HD1080_5994p", 60000, 1001, eZrI_Progressive, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_HD1080_60p, u"HD1080-60p", u"eZrVF_HD1080_60p", 60, 1, eZrI_Progressive, 1920, 1080, 16, 9, 1, 45),
    Row(eZrVF_2K_DCI_2398p, u"2K-DCI-23p", u"eZrVF_2K_DCI_2398p", 24000, 1001, eZrI_Progressive, 2048, 1080, 256, 135, 2, 0),
    Row(eZrVF_2K_DCI_24p, u"2K-DCI-24p", u"eZrVF_2K_DCI_24p", 24, 1, eZrI_Progressive, 2048, 1080, 256, 135, 2, 0),
    Row(eZrVF_2K_DCI_25p, u"2K-DCI-25p", u"eZrVF_2K_DCI_25p", 25, 1, eZrI_Progressive, 2048, 1080, 256, 135, 2, 0),
    Row(eZrVF_2K_DCI_50p, u"2K-DCI-50p", u"eZrVF_2K_DCI_50p", 50, 1, eZrI_Progressive, 2048, 1080, 256, 135, 2, 0),
    Row(eZrVF_2K_DCI_5994p, u"2K-DCI-59p", u"eZrVF_2K_DCI_5994p", 60000, 1001, eZrI_Progressive, 2048, 1080, 256, 135, 2, 0),
    Row(eZrVF_2K_DCI_60p, u"2K-DCI-60p", u"eZrVF_2K_DCI_60p", 60, 1, eZrI_Progressive, 2048, 1080, 256, 135, 2, 0),
    Row(eZrVF_2K_2398p, u"2K-23p", u"eZrVF_2K_2398p", 24000, 1001, eZrI_Progressive, 2048, 1556, 239, 100, 2, 0),
    Row(eZrVF_2K_24p, u"2K-24p", u"eZrVF_2K_24p", 24, 1, eZrI_Progressive, 2048, 1556, 239, 100, 2, 0),
    Row(eZrVF_2K_25p, u"2K-25p", u"eZrVF_2K_25p", 25, 1, eZrI_Progressive, 2048, 1556, 239, 100, 2, 0),
    Row(eZrVF_4K_UHD_50i, u"4K-UHD-50i", u"eZrVF_4K_UHD_50i", 25, 1, eZrI_Field1First, 3840, 2160, 16, 9, 4, 0),
    Row(eZrVF_4K_UHD_5994i, u"4K-UHD-59i", u"eZrVF_4K_UHD_5994i", 30000, 1001, eZrI_Field1First, 3840, 2160, 16, 9, 4, 0),
    Row(eZrVF_4K_UHD_60i, u"4K-UHD-60i", u"eZrVF_4K_UHD_60i", 30, 1, eZrI_Field1First, 3840, 2160, 16, 9, 4, 0),
    Row(eZrVF_4K_UHD_2398p, u"4K-UHD-23p", u"eZrVF_4K_UHD_2398p", 24000, 1001, eZrI_Progressive, 3840, 2160, 16, 9, 4, 0),
    Row(eZrVF_4K_UHD_24p, u"4K-UHD-24p", u"eZrVF_4K_UHD_24p", 24, 1, eZrI_Progressive, 3840, 2160, 16, 9, 4, 0),
    Row(eZrVF_4K_UHD_25p, u"4K-UHD-25p", u"eZrVF_4K_UHD_25p", 25, 1, eZrI_Progressive, 3840, 2160, 16, 9, 4, 0),
    Row(eZrVF_4K_UHD_2997p, u"4K-UHD-29p", u"eZrVF_4K_UHD_2997p", 30000, 1001, eZrI_Progressive, 3840, 2160, 16, 9, 4, 0),
    Row(eZrVF_4K_UHD_30p, u"4K-UHD-30p", u"eZrVF_4K_UHD_30p", 30, 1, eZrI_Progressive, 3840, 2160, 16, 9, 4, 0),
    Row(eZrVF_4K_DCI_2398p, u"4K-DCI-23p", u"eZrVF_4K_DCI_2398p", 24000, 1001, eZrI_Progressive, 4096, 2160, 256, 135, 4, 0),
    Row(eZrVF_4K_DCI_24p, u"4K-DCI-24p", u"eZrVF_4K_DCI_24p", 24, 1, eZrI_Progressive, 4096, 2160, 256, 135, 4, 0),
    Row(eZrVF_4K_DCI_25p, u"4K-DCI-25p", u"eZrVF_4K_DCI_25p", 25, 1, eZrI_Progressive, 4096, 2160, 256, 135, 4, 0),
    Row(eZrVF_4K_UHD_50p, u"4K-UHD-50p", u"eZrVF_4K_UHD_50p", 50, 1, eZrI_Progressive, 3840, 2160, 16, 9, 8, 0),
    Row(eZrVF_4K_UHD_5994p, u"4K-UHD-59p", u"eZrVF_4K_UHD_5994p", 60000, 1001, eZrI_Progressive, 3840, 2160, 16, 9, 8, 0),
    Row(eZrVF_4K_UHD_60p, u"4K-UHD-60p", u"eZrVF_4K_UHD_60p", 60, 1, eZrI_Progressive, 3840, 2160, 16, 9, 8, 0),
    Row(eZrVF_4K_DCI_50p, u"4K-DCI-50p", u"eZrVF_4K_DCI_50p", 50, 1, eZrI_Progressive, 4096, 2160, 256, 135, 8, 0),
    Row(eZrVF_4K_DCI_5994p, u"4K-DCI-59p", u"eZrVF_4K_DCI_5994p", 60000, 1001, eZrI_Progressive, 4096, 2160, 256, 135, 8, 0),
    Row(eZrVF_4K_DCI_60p, u"4K-DCI-60p", u"eZrVF_4K_DCI_60p", 60, 1, eZrI_Progressive, 4096, 2160, 256, 135, 8, 0),
    Row(eZrVF_Disabled, u"Disabled", u"eZrVF_Disabled", 0, 1, eZrI_Default, 0, 0, 0, 0, -1, 0),
};
// clang-format on
static_assert(sizeof(arrRows) / sizeof(arrRows[0]) == kVideoFormatRows);

constexpr bool RowsAreInOrder() {
    for (int32_t i = 0; i < kVideoFormatRows; ++i)
        if (arrRows[i].llVideoFormat != i) return false;
    return true;
}
static_assert(RowsAreInOrder());

const ZrVideoFormatRow& RowOrCustom(eZrVideoFormat _eFormat) {
    const ZrVideoFormatRow* pRow = RowOf(_eFormat);
    return pRow ? *pRow : arrRows[eZrVF_Custom];
}

}  // namespace

const ZrVideoFormatRow* RowTable(int32_t _nIndex) {
    return _nIndex >= 0 && _nIndex < kVideoFormatRows ? &arrRows[_nIndex] : nullptr;
}

double FormatRate(eZrVideoFormat _eFormat) { return RowOrCustom(_eFormat).dblRate; }

eZrInterlace FormatInterlace(eZrVideoFormat _eFormat) { return RowOrCustom(_eFormat).eInterlace; }

VIDEO_ASPECT FormatAspect(eZrVideoFormat _eFormat) {
    const ZrVideoFormatRow& row = RowOrCustom(_eFormat);
    return {row.nAspectX, row.nAspectY};
}

int32_t FormatClass(eZrVideoFormat _eFormat) { return RowOrCustom(_eFormat).nClass; }

int32_t FormatBlanking(eZrVideoFormat _eFormat) { return RowOrCustom(_eFormat).nBlankingLines; }

VIDEO_SIZE FormatSize(eZrVideoFormat _eFormat) {
    const ZrVideoFormatRow& row = RowOrCustom(_eFormat);
    const eZr3DFormat eLayout = Format3D(_eFormat);
    const bool bFull = eLayout & eZr3D_FullFlag;
    return {bFull && (eLayout & eZr3D_SideBySide) ? row.nWidth * 2 : row.nWidth,
            bFull && (eLayout & eZr3D_TopAndBottom) ? row.nHeight * 2 : row.nHeight};
}

}  // namespace zr
