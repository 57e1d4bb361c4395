#include "video/picture_file_tga.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

#include "media/premultiply.h"
#include "video/kernels/packed_row.h"
#include "video/picture_file_bytes.h"
#include "video/picture_file_rows.h"

namespace zr {

namespace {

constexpr size_t kHeader = 18;
constexpr size_t kFooter = 26;  // two offsets and the mark
constexpr size_t kExtension = 495;
constexpr std::string_view svMark("TRUEVISION-XFILE.\0", 18);

// What the last byte of the extension says about alpha.
enum : uint8_t { kAlphaNone = 0, kAlphaIgnore = 1, kAlphaKept = 2, kAlphaUseful = 3, kAlphaMultiplied = 4 };

struct TGA_INFO {
    int32_t nWidth = 0, nHeight = 0;
    bool bMapped = false, bGrey = false, bRuns = false;
    bool bRightToLeft = false, bTopDown = false;
    bool bAlpha = false, bMultiplied = false;
    size_t cbPixel = 0;      // in the file
    uint32_t nMapFirst = 0;  // index of the first entry of the palette
    uint32_t nMapCount = 0;
    size_t cbMapEntry = 0;
    size_t nMapAt = 0;
    size_t nPixels = 0;  // where they start
};

// One colour of 2 (5 bits each), 3 or 4 bytes.
BGRA8 ColourAt(const uint8_t* _p, size_t _cb) {
    if (_cb != 2) return {_p[0], _p[1], _p[2], _cb == 4 ? _p[3] : uint8_t{255}};
    const uint32_t n = _p[0] | uint32_t{_p[1]} << 8;
    return {WidenTo8(n & 31, 5), WidenTo8(n >> 5 & 31, 5), WidenTo8(n >> 10 & 31, 5), 255};
}

// The tests of the header that refuse a file.
bool HeaderStands(FileBytes _file) {
    if (_file.size() < kHeader) return false;
    const uint32_t nMap = _file[1], nType = _file[2], nDepth = _file[16];
    if (nType == 0 || nType > 11 || (nType >= 4 && nType <= 8)) return false;
    const bool bMapped = nType == 1 || nType == 9;
    if (bMapped != (nMap != 0)) return false;
    return Read16(_file, 12) != 0 && Read16(_file, 14) != 0 && nDepth != 0 && nDepth <= 32;
}

// What an extended file says about its alpha; kAlphaUseful for one that says nothing.
uint8_t AlphaKind(FileBytes _file) {
    if (_file.size() < kHeader + kFooter) return kAlphaUseful;
    const size_t nFooter = _file.size() - kFooter;
    if (std::memcmp(_file.data() + nFooter + 8, svMark.data(), svMark.size()) != 0) return kAlphaUseful;
    const size_t nExtension = Read32(_file, nFooter);
    if (nExtension < kHeader || nExtension > nFooter || nFooter - nExtension < kExtension) return kAlphaUseful;
    return _file[nExtension + kExtension - 1];
}

HRESULT ReadMapInfo(FileBytes _file, TGA_INFO* _pInfo) {
    _pInfo->nMapFirst = Read16(_file, 3);
    _pInfo->nMapCount = Read16(_file, 5);
    _pInfo->cbMapEntry = (_file[7] + size_t{7}) >> 3;
    const bool bEntry = _pInfo->cbMapEntry >= 2 && _pInfo->cbMapEntry <= 4;
    if (_pInfo->nMapCount == 0 || !bEntry || _pInfo->cbPixel > 2) return ZR_E_INVALID_DATA;
    _pInfo->nPixels += _pInfo->nMapCount * _pInfo->cbMapEntry;
    return S_OK;
}

HRESULT ReadInfo(FileBytes _file, TGA_INFO* _pInfo) {
    if (!HeaderStands(_file)) return E_FAIL;
    const uint32_t nType = _file[2], nDescriptor = _file[17];
    TGA_INFO& info = *_pInfo;
    info.bRuns = nType >= 9;
    info.bMapped = nType % 8 == 1;
    info.bGrey = nType % 8 == 3;
    info.nWidth = static_cast<int32_t>(Read16(_file, 12));
    info.nHeight = static_cast<int32_t>(Read16(_file, 14));
    if (info.nWidth > kMaxPictureFileSide || info.nHeight > kMaxPictureFileSide) return ZR_E_INVALID_DATA;
    info.cbPixel = (_file[16] + size_t{7}) >> 3;
    info.bRightToLeft = (nDescriptor & 0x10) != 0;
    info.bTopDown = (nDescriptor & 0x20) != 0;
    info.nMapAt = info.nPixels = kHeader + _file[0];

    // Grey with alpha has 16 bits; colours have alpha in their fourth byte only.
    size_t cbColour = info.cbPixel;
    if (info.bMapped) {
        const HRESULT hr = ReadMapInfo(_file, _pInfo);
        if (Failed(hr)) return hr;
        cbColour = info.cbMapEntry;
    } else if (info.bGrey ? info.cbPixel > 2 : info.cbPixel < 2) {
        return ZR_E_INVALID_DATA;
    }
    const bool bRoom = info.bGrey ? cbColour == 2 : cbColour == 4;
    const uint8_t nKind = AlphaKind(_file);
    info.bAlpha = bRoom && (nDescriptor & 0x0F) == 8 && (nKind == kAlphaUseful || nKind == kAlphaMultiplied);
    info.bMultiplied = nKind == kAlphaMultiplied;

    // The pixels must be there before memory is asked for; runs have at best 128 pixels in one and a pixel's bytes.
    if (info.nPixels > _file.size()) return ZR_E_INVALID_DATA;
    const uint64_t cbThere = _file.size() - info.nPixels;
    const uint64_t nCount = static_cast<uint64_t>(info.nWidth) * static_cast<uint64_t>(info.nHeight);
    const bool bEnough = info.bRuns ? nCount <= cbThere / (1 + info.cbPixel) * 128 : nCount * info.cbPixel <= cbThere;
    return bEnough ? S_OK : ZR_E_INVALID_DATA;
}

// Pixels of the file one after the other, as colours.
class PixelReader {
public:
    PixelReader(FileBytes _file, const TGA_INFO& _info) : file(_file), info(_info), nAt(_info.nPixels) {}

    // False: the file ends.
    bool Next(BGRA8* _pColour) {
        if (!info.bRuns) return Take(_pColour);
        if (nRun == 0) {
            if (nAt >= file.size()) return false;
            nRun = (file[nAt] & 0x7Fu) + 1;
            bRepeat = (file[nAt] & 0x80) != 0;
            ++nAt;
            if (bRepeat && !Take(&repeated)) return false;
        }
        --nRun;
        if (!bRepeat) return Take(_pColour);
        *_pColour = repeated;
        return true;
    }

private:
    bool Take(BGRA8* _pColour) {
        if (file.size() - nAt < info.cbPixel) return false;
        const uint8_t* p = file.data() + nAt;
        nAt += info.cbPixel;
        if (info.bMapped)
            *_pColour = Mapped(info.cbPixel == 1 ? *p : p[0] | uint32_t{p[1]} << 8);
        else if (info.bGrey)
            *_pColour = {p[0], p[0], p[0], info.cbPixel == 2 ? p[1] : uint8_t{255}};
        else
            *_pColour = ColourAt(p, info.cbPixel);
        return true;
    }
    // An index beyond the palette is black.
    BGRA8 Mapped(uint32_t _nIndex) const {
        if (_nIndex < info.nMapFirst || _nIndex - info.nMapFirst >= info.nMapCount) return {};
        return ColourAt(file.data() + info.nMapAt + (_nIndex - info.nMapFirst) * info.cbMapEntry, info.cbMapEntry);
    }

    FileBytes file;
    const TGA_INFO& info;
    size_t nAt;
    uint32_t nRun = 0;
    bool bRepeat = false;
    BGRA8 repeated;
};

}  // namespace

HRESULT ReadTga(const uint8_t* _pFile, size_t _cbFile, PictureTarget* _pTarget) {
    if (!_pFile || !_pTarget) return E_POINTER;
    const FileBytes file(_pFile, _cbFile);
    TGA_INFO info;
    HRESULT hr = ReadInfo(file, &info);
    if (Failed(hr)) return hr;
    PICTURE_ROWS rows;
    rows.fccType = info.bAlpha ? eZrFCC_ARGB32 : eZrFCC_RGB24;
    rows.nWidth = info.nWidth;
    rows.nHeight = info.nHeight;
    hr = _pTarget->Make(&rows);
    if (Failed(hr)) return hr;

    PixelReader reader(file, info);
    const size_t cbDst = info.bAlpha ? 4 : 3;
    for (int32_t y = 0; y < info.nHeight; ++y) {
        uint8_t* pRow = RowOf(rows, info.bTopDown ? y : info.nHeight - 1 - y);
        for (int32_t x = 0; x < info.nWidth; ++x) {
            BGRA8 colour;
            if (!reader.Next(&colour)) return ZR_E_INVALID_DATA;
            const int32_t nColumn = info.bRightToLeft ? info.nWidth - 1 - x : x;
            std::memcpy(pRow + cbDst * static_cast<size_t>(nColumn), &colour, cbDst);
        }
        if (info.bAlpha && info.bMultiplied) UnpremultiplyRow(pRow, pRow, static_cast<size_t>(info.nWidth));
    }
    return S_OK;
}

HRESULT WriteTga(const PICTURE_ROWS& _picture, std::vector<uint8_t>* _parrFile) {
    if (!_parrFile) return E_POINTER;
    if (PixelBytes(_picture) == 0) return E_INVALIDARG;
    const bool bAlpha = _picture.fccType == eZrFCC_ARGB32;
    const size_t nWidth = static_cast<size_t>(_picture.nWidth), cbRow = (bAlpha ? 4 : 3) * nWidth;
    try {
        std::vector<uint8_t>& file = *_parrFile;
        file.assign({0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0});  // no text, no palette, true colour, at the origin
        file.reserve(kHeader + cbRow * static_cast<size_t>(_picture.nHeight) + kFooter);
        Append16(file, static_cast<uint32_t>(_picture.nWidth));
        Append16(file, static_cast<uint32_t>(_picture.nHeight));
        Append16(file, bAlpha ? 32 | (0x20 | 8) << 8 : 24 | 0x20 << 8);  // depth; top-down, bits of alpha
        for (int32_t y = 0; y < _picture.nHeight; ++y) {
            const size_t nAt = file.size();
            file.resize(nAt + cbRow);
            if (_picture.fccType == eZrFCC_RGB32)
                BgraToBgrRow(RowOf(_picture, y), &file[nAt], nWidth);
            else
                std::memcpy(&file[nAt], RowOf(_picture, y), cbRow);
        }
        Append32(file, 0);  // no extension, no directory
        Append32(file, 0);
        file.insert(file.end(), svMark.begin(), svMark.end());
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

}  // namespace zr
