#include "video/conversion_matrix.h"

#include <algorithm>
#include <cstring>

#include "video/kernels/packed_row.h"
#include "video/kernels/yuv_rgb_row.h"

namespace zr {

namespace {

constexpr int kFormats = 6;

int FormatIndex(eZrFCC _fccType) {
    switch (_fccType) {
        case eZrFCC_RGB32:
        case eZrFCC_ARGB32: return 0;
        case eZrFCC_RGB24: return 1;
        case eZrFCC_UYVY: return 2;
        case eZrFCC_HDYC: return 3;
        case eZrFCC_YUY2: return 4;
        case eZrFCC_v210: return 5;
        default: return -1;
    }
}

template <size_t kBytesPerPixel>
void CopyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    std::memcpy(_pDst, _pSrc, _nPixels * kBytesPerPixel);
}
void CopyRowV210(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    std::memcpy(_pDst, _pSrc, (_nPixels + 47) / 48 * 128);
}

// The rows above, with the arguments of the matrix.
template <auto kRow>
void PairsRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    kRow(_pSrc, _pDst, _nPixels / 2);
}
template <auto kRow>
void OpaqueRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    kRow(_pSrc, _pDst, _nPixels / 2, 255);
}
void SwapPairsRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    ReorderGroupsRow(_pSrc, _pDst, _nPixels / 2, kSwapPairs);
}
void OpaqueBgraRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) { BgrToBgraRow(_pSrc, _pDst, _nPixels, 255); }

// Two conversions by way of a third format with kMiddleBytes per pixel, in runs that stay in the first-level cache. A
// run is whole groups of v210.
template <RowConversion kFirst, RowConversion kSecond, size_t kFirstBytesNum, size_t kFirstBytesDen,
          size_t kMiddleBytes, size_t kLastBytes>
void ThroughRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    constexpr size_t kRun = 768;
    alignas(64) uint8_t arrMiddle[kRun * kMiddleBytes];
    for (size_t x = 0; x < _nPixels; x += kRun) {
        const size_t nPart = std::min(kRun, _nPixels - x);
        kFirst(_pSrc + x * kFirstBytesNum / kFirstBytesDen, arrMiddle, nPart);
        kSecond(arrMiddle, _pDst + x * kLastBytes, nPart);
    }
}

constexpr RowConversion Bgra601 = OpaqueRow<UyvyToBgraRow601>, Bgra709 = OpaqueRow<UyvyToBgraRow709>,
                        BgraOfYuy2 = OpaqueRow<Yuy2ToBgraRow601>;
constexpr RowConversion ToUyvy = PairsRow<BgraToUyvyRow601>, ToHdyc = PairsRow<BgraToUyvyRow709>,
                        ToYuy2 = PairsRow<BgraToYuy2Row601>;

template <RowConversion kToBgra>
constexpr RowConversion ToBgr = ThroughRow<kToBgra, BgraToBgrRow, 2, 1, 4, 3>;
template <RowConversion kFromBgra>
constexpr RowConversion FromBgr = ThroughRow<OpaqueBgraRow, kFromBgra, 3, 1, 4, 2>;
constexpr RowConversion V210ToBgra = ThroughRow<V210ToUyvyRow, Bgra601, 8, 3, 2, 4>;
constexpr RowConversion V210ToBgr = ThroughRow<V210ToUyvyRow, ToBgr<Bgra601>, 8, 3, 2, 3>;

constexpr RowConversion arrMatrix[kFormats][kFormats] = {
    // RGB32, RGB24, UYVY, HDYC, YUY2, v210
    {CopyRow<4>, BgraToBgrRow, ToUyvy, ToHdyc, ToYuy2, nullptr},
    {OpaqueBgraRow, CopyRow<3>, FromBgr<ToUyvy>, FromBgr<ToHdyc>, FromBgr<ToYuy2>, nullptr},
    {Bgra601, ToBgr<Bgra601>, CopyRow<2>, CopyRow<2>, SwapPairsRow, UyvyToV210Row},
    {Bgra709, ToBgr<Bgra709>, CopyRow<2>, CopyRow<2>, SwapPairsRow, UyvyToV210Row},
    {BgraOfYuy2, ToBgr<BgraOfYuy2>, SwapPairsRow, SwapPairsRow, CopyRow<2>, Yuy2ToV210Row},
    {V210ToBgra, V210ToBgr, V210ToUyvyRow, V210ToUyvyRow, V210ToYuy2Row, CopyRowV210},
};

}  // namespace

CONVERSION_CELL ConversionCell(eZrFCC _fccFrom, eZrFCC _fccTo) {
    const int nFrom = FormatIndex(_fccFrom), nTo = FormatIndex(_fccTo);
    if (nFrom < 0 || nTo < 0) return {};
    return {true, arrMatrix[nFrom][nTo]};
}

}  // namespace zr
