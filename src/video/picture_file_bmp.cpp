#include "video/picture_file_bmp.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "video/picture_file_bytes.h"
#include "video/picture_file_rows.h"

namespace zr {

namespace {

constexpr size_t kFileHeader = 14;

enum : uint32_t {
    kRgb = 0,
    kRle8 = 1,
    kRle4 = 2,
    kBitFields = 3,
    kAlphaBitFields = 6,
};

// A channel of a pixel: the bits of its mask, of which the upper 8 count.
struct CHANNEL {
    uint32_t nShift = 0, nBits = 0;

    uint8_t Of(uint32_t _nPixel) const {
        if (nBits <= 8) return WidenTo8(_nPixel >> nShift & ((1u << nBits) - 1), nBits);
        return static_cast<uint8_t>(_nPixel >> (nShift + nBits - 8));
    }
};

struct BMP_INFO {
    int32_t nWidth = 0, nHeight = 0;
    bool bTopDown = false;
    uint32_t nBits = 0;  // 1, 4, 8, 16, 24, 32
    uint32_t nCompression = kRgb;
    CHANNEL arrChannels[4];  // B, G, R, A of 16 and 32 bits
    BGRA8 arrPalette[256];   // black where the file has none
    size_t nPixels = 0;      // where they start
    bool HasAlpha() const { return arrChannels[3].nBits > 0; }
    bool IsRle() const { return nCompression == kRle8 || nCompression == kRle4; }
};

// False: the bits of the mask are not in one piece.
bool ReadChannel(uint32_t _nMask, CHANNEL* _pChannel) {
    if (_nMask == 0) return true;
    const auto nShift = static_cast<uint32_t>(std::countr_zero(_nMask));
    const auto nBits = static_cast<uint32_t>(std::popcount(_nMask));
    *_pChannel = {nShift, nBits};
    return static_cast<uint32_t>(std::countr_one(_nMask >> nShift)) == nBits;
}

HRESULT ReadMasks(FileBytes _file, size_t _cbHeader, BMP_INFO* _pInfo) {
    uint32_t arrMasks[4] = {0x0000FF, 0x00FF00, 0xFF0000, 0};  // B, G, R, A
    if (_pInfo->nBits == 16) arrMasks[0] = 0x1F, arrMasks[1] = 0x3E0, arrMasks[2] = 0x7C00;
    if (_pInfo->nCompression == kBitFields || _pInfo->nCompression == kAlphaBitFields) {
        // In a header of 40 bytes they follow it; later headers have them in the same place, inside.
        const bool bAlpha = _pInfo->nCompression == kAlphaBitFields || _cbHeader >= 56;
        const size_t nAt = kFileHeader + 40, nCount = bAlpha ? 4 : 3;
        if (_file.size() < nAt + 4 * nCount) return ZR_E_INVALID_DATA;
        for (size_t i = 0; i < 3; ++i) arrMasks[2 - i] = Read32(_file, nAt + 4 * i);
        if (bAlpha) arrMasks[3] = Read32(_file, nAt + 12);
        if (_pInfo->nBits == 16)
            for (const uint32_t nMask : arrMasks)
                if (nMask > 0xFFFF) return ZR_E_INVALID_DATA;
    }
    for (size_t i = 0; i < 4; ++i)
        if (!ReadChannel(arrMasks[i], &_pInfo->arrChannels[i])) return ZR_E_INVALID_DATA;
    return S_OK;
}

void ReadPalette(FileBytes _file, size_t _nAt, size_t _cbEntry, size_t _nColours, BMP_INFO* _pInfo) {
    const size_t nMost = std::min(_nColours, size_t{1} << _pInfo->nBits);
    for (size_t i = 0; i < nMost && _nAt + 3 <= _file.size(); ++i, _nAt += _cbEntry)
        _pInfo->arrPalette[i] = {_file[_nAt], _file[_nAt + 1], _file[_nAt + 2], 255};
}

bool CompressionFits(const BMP_INFO& _info) {
    switch (_info.nCompression) {
        case kRgb: return true;
        case kRle8: return _info.nBits == 8 && !_info.bTopDown;
        case kRle4: return _info.nBits == 4 && !_info.bTopDown;
        default: return _info.nBits == 16 || _info.nBits == 32;
    }
}

// Size and coding; the header's other fields say nothing about the pixels.
HRESULT ReadGeometry(FileBytes _file, size_t _cbHeader, BMP_INFO* _pInfo) {
    const bool bCore = _cbHeader == 12;
    int64_t nWidth, nHeight;
    if (bCore) {
        nWidth = Read16(_file, 18), nHeight = Read16(_file, 20);
        _pInfo->nBits = Read16(_file, 24);
    } else {
        nWidth = static_cast<int32_t>(Read32(_file, 18)), nHeight = static_cast<int32_t>(Read32(_file, 22));
        _pInfo->nBits = Read16(_file, 28);
        _pInfo->nCompression = Read32(_file, 30);
    }
    _pInfo->bTopDown = nHeight < 0;
    nHeight = nHeight < 0 ? -nHeight : nHeight;
    if (nWidth < 1 || nWidth > kMaxPictureFileSide || nHeight < 1 || nHeight > kMaxPictureFileSide)
        return ZR_E_INVALID_DATA;
    _pInfo->nWidth = static_cast<int32_t>(nWidth);
    _pInfo->nHeight = static_cast<int32_t>(nHeight);
    if (_pInfo->nCompression > kBitFields && _pInfo->nCompression != kAlphaBitFields) return ZR_E_NOT_SUPPORTED;
    switch (_pInfo->nBits) {
        case 1:
        case 4:
        case 8:
        case 16:
        case 24:
        case 32: return CompressionFits(*_pInfo) ? S_OK : ZR_E_INVALID_DATA;
        case 0: return ZR_E_NOT_SUPPORTED;  // what a picture of another kind has
        default: return ZR_E_INVALID_DATA;
    }
}

HRESULT ReadInfo(FileBytes _file, BMP_INFO* _pInfo) {
    if (_file.size() < kFileHeader + 12 || !IsBmp(_file.data(), _file.size())) return ZR_E_INVALID_DATA;
    const size_t cbHeader = Read32(_file, kFileHeader);
    const bool bCore = cbHeader == 12;
    if (!bCore && (cbHeader < 40 || cbHeader > 1024)) return ZR_E_INVALID_DATA;
    if (_file.size() < kFileHeader + cbHeader) return ZR_E_INVALID_DATA;
    HRESULT hr = ReadGeometry(_file, cbHeader, _pInfo);
    if (Succeeded(hr)) hr = ReadMasks(_file, cbHeader, _pInfo);
    if (Failed(hr)) return hr;

    _pInfo->nPixels = Read32(_file, 10);
    const size_t nBehindHeader = kFileHeader + cbHeader;
    if (_pInfo->nPixels < nBehindHeader || _pInfo->nPixels > _file.size()) return ZR_E_INVALID_DATA;
    if (_pInfo->nBits <= 8) {
        const size_t cbEntry = bCore ? 3 : 4, nRoom = (_pInfo->nPixels - nBehindHeader) / cbEntry;
        const size_t nUsed = bCore ? 0 : Read32(_file, 46);
        ReadPalette(_file, nBehindHeader, cbEntry, std::min(nUsed > 0 ? nUsed : 256, nRoom), _pInfo);
    }
    return S_OK;
}

// ---- Rows

void UnpackPalette(const BMP_INFO& _info, const uint8_t* _pRow, uint8_t* _pDst) {
    const uint32_t nBits = _info.nBits, nMask = (1u << nBits) - 1;
    for (uint32_t x = 0; x < static_cast<uint32_t>(_info.nWidth); ++x) {
        const uint32_t nBit = x * nBits;
        const BGRA8& colour = _info.arrPalette[_pRow[nBit / 8] >> (8 - nBits - nBit % 8) & nMask];
        std::memcpy(_pDst + 3 * x, &colour, 3);
    }
}

void UnpackMasks(const BMP_INFO& _info, const uint8_t* _pRow, uint8_t* _pDst) {
    const bool bWide = _info.nBits == 32;
    const size_t cbDst = _info.HasAlpha() || bWide ? 4 : 3;
    for (int32_t x = 0; x < _info.nWidth; ++x, _pDst += cbDst) {
        const FileBytes pixel(_pRow, 4);
        const uint32_t nPixel = bWide ? Read32(pixel, 0) : Read16(pixel, 0);
        _pRow += bWide ? 4 : 2;
        for (size_t i = 0; i < 3; ++i) _pDst[i] = _info.arrChannels[i].Of(nPixel);
        if (cbDst == 4) _pDst[3] = _info.HasAlpha() ? _info.arrChannels[3].Of(nPixel) : 255;
    }
}

HRESULT ReadPlain(FileBytes _file, const BMP_INFO& _info, const PICTURE_ROWS& _rows) {
    const uint64_t cbRow = (uint64_t{static_cast<uint32_t>(_info.nWidth)} * _info.nBits + 31) / 32 * 4;
    for (int32_t y = 0; y < _info.nHeight; ++y) {
        const uint8_t* pRow = _file.data() + _info.nPixels + cbRow * static_cast<uint64_t>(y);
        uint8_t* pDst = RowOf(_rows, _info.bTopDown ? y : _info.nHeight - 1 - y);
        if (_info.nBits <= 8)
            UnpackPalette(_info, pRow, pDst);
        else if (_info.nBits == 24)
            std::memcpy(pDst, pRow, 3 * static_cast<size_t>(_info.nWidth));
        else
            UnpackMasks(_info, pRow, pDst);
    }
    return S_OK;
}

// Run lengths: a count and a value, or 0 and an escape: 0 end of row, 1 end of picture, 2 a move to the right and up,
// from 3 on that many plain pixels, padded to two bytes. Pixels that are left out have colour 0.
class RleReader {
public:
    RleReader(FileBytes _file, const BMP_INFO& _info, const PICTURE_ROWS& _rows)
        : file(_file), info(_info), rows(_rows), nAt(_info.nPixels), bNibbles(_info.nBits == 4) {}

    HRESULT Read() {
        Clear();
        while (file.size() - nAt >= 2) {
            const uint32_t nCount = file[nAt], nValue = file[nAt + 1];
            nAt += 2;
            if (nCount > 0) {
                for (uint32_t i = 0; i < nCount; ++i) Put(bNibbles ? (i % 2 ? nValue & 15 : nValue >> 4) : nValue);
            } else if (nValue == 1) {
                return S_OK;
            } else if (nValue == 0) {
                x = 0;
                ++y;
            } else if (nValue == 2) {
                if (file.size() - nAt < 2) break;
                x = std::min(x + file[nAt], info.nWidth);
                y += file[nAt + 1];
                nAt += 2;
            } else if (!Plain(nValue)) {
                break;
            }
            if (y >= info.nHeight) return S_OK;
        }
        const bool bWhole = y == info.nHeight - 1 && x == info.nWidth;  // only the end mark is missing
        return bWhole ? S_OK : ZR_E_INVALID_DATA;
    }

private:
    void Clear() const {
        for (int32_t nRow = 0; nRow < info.nHeight; ++nRow)
            for (int32_t n = 0; n < info.nWidth; ++n) std::memcpy(RowOf(rows, nRow) + 3 * n, &info.arrPalette[0], 3);
    }
    void Put(uint32_t _nIndex) {
        if (x < info.nWidth && y < info.nHeight)
            std::memcpy(RowOf(rows, info.nHeight - 1 - y) + 3 * x, &info.arrPalette[_nIndex], 3);
        if (x < info.nWidth) ++x;
    }
    bool Plain(uint32_t _nCount) {
        const size_t cb = bNibbles ? (_nCount + 1) / 2 : _nCount;
        if (file.size() - nAt < cb) return false;
        for (uint32_t i = 0; i < _nCount; ++i) {
            const uint32_t nValue = file[nAt + (bNibbles ? i / 2 : i)];
            Put(bNibbles ? (i % 2 ? nValue & 15 : nValue >> 4) : nValue);
        }
        nAt += std::min((cb + 1) & ~size_t{1}, file.size() - nAt);
        return true;
    }

    FileBytes file;
    const BMP_INFO& info;
    const PICTURE_ROWS& rows;
    size_t nAt;
    bool bNibbles;
    int32_t x = 0, y = 0;  // y from the bottom
};

// The file has what a picture of that size takes, so that a few bytes cannot ask for gigabytes.
bool HasPixels(FileBytes _file, const BMP_INFO& _info) {
    const uint64_t cbThere = _file.size() - _info.nPixels;
    const auto nWidth = static_cast<uint64_t>(_info.nWidth), nHeight = static_cast<uint64_t>(_info.nHeight);
    if (_info.IsRle()) return nWidth * nHeight <= 128 * cbThere;  // at best 255 pixels in two bytes
    return (nWidth * _info.nBits + 31) / 32 * 4 * nHeight <= cbThere;
}

}  // namespace

bool IsBmp(const uint8_t* _pFile, size_t _cbFile) { return _cbFile >= 2 && _pFile[0] == 'B' && _pFile[1] == 'M'; }

HRESULT ReadBmp(const uint8_t* _pFile, size_t _cbFile, PictureTarget* _pTarget) {
    if (!_pFile || !_pTarget) return E_POINTER;
    const FileBytes file(_pFile, _cbFile);
    BMP_INFO info;
    HRESULT hr = ReadInfo(file, &info);
    if (Failed(hr)) return hr;
    if (!HasPixels(file, info)) return ZR_E_INVALID_DATA;
    PICTURE_ROWS rows;
    rows.fccType = info.HasAlpha() ? eZrFCC_ARGB32 : info.nBits == 32 ? eZrFCC_RGB32 : eZrFCC_RGB24;
    rows.nWidth = info.nWidth;
    rows.nHeight = info.nHeight;
    hr = _pTarget->Make(&rows);
    if (Failed(hr)) return hr;
    return info.IsRle() ? RleReader(file, info, rows).Read() : ReadPlain(file, info, rows);
}

HRESULT WriteBmp(const PICTURE_ROWS& _picture, std::vector<uint8_t>* _parrFile) {
    if (!_parrFile) return E_POINTER;
    const size_t cbPixel = PixelBytes(_picture);
    if (cbPixel == 0) return E_INVALIDARG;
    const bool bAlpha = _picture.fccType == eZrFCC_ARGB32;
    const size_t cbRow = cbPixel * static_cast<size_t>(_picture.nWidth), cbPadded = (cbRow + 3) & ~size_t{3};
    const uint64_t cbPixels = uint64_t{cbPadded} * static_cast<uint64_t>(_picture.nHeight);
    const uint32_t cbInfo = bAlpha ? 108 : 40, nPixels = static_cast<uint32_t>(kFileHeader) + cbInfo;
    if (cbPixels > UINT32_MAX - nPixels) return E_INVALIDARG;
    try {
        std::vector<uint8_t>& file = *_parrFile;
        file.clear();
        file.reserve(nPixels + static_cast<size_t>(cbPixels));
        file.assign({'B', 'M'});
        Append32(file, nPixels + static_cast<uint32_t>(cbPixels));
        Append32(file, 0);
        Append32(file, nPixels);
        Append32(file, cbInfo);
        Append32(file, static_cast<uint32_t>(_picture.nWidth));
        Append32(file, static_cast<uint32_t>(_picture.nHeight));
        Append16(file, 1);  // planes
        Append16(file, static_cast<uint32_t>(8 * cbPixel));
        Append32(file, bAlpha ? kBitFields : kRgb);
        Append32(file, static_cast<uint32_t>(cbPixels));
        Append32(file, 2835);  // 72 dots an inch, in dots a metre
        Append32(file, 2835);
        Append32(file, 0);  // no palette
        Append32(file, 0);
        if (bAlpha) {
            for (const uint32_t nMask : {0xFF0000u, 0x00FF00u, 0x0000FFu, 0xFF000000u}) Append32(file, nMask);
            Append32(file, 0x73524742);  // sRGB
            file.resize(nPixels, 0);
        }
        for (int32_t y = _picture.nHeight - 1; y >= 0; --y) {
            const uint8_t* pRow = RowOf(_picture, y);
            file.insert(file.end(), pRow, pRow + cbRow);
            file.resize(file.size() + cbPadded - cbRow, 0);
        }
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

}  // namespace zr
