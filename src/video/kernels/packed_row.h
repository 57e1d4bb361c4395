#pragma once
// Rows between packed formats that hold the same samples in another arrangement. Any alignment; no byte outside the
// rows is touched; source and destination do not overlap unless a function says that they may be the same row.

#include <array>
#include <cstddef>
#include <cstdint>

namespace zr {

// Reorders the bytes of each group of four: byte i of a group is byte order[i] of the source group. The destination may
// be the source. Orders between the 4:2:2 formats:
using ByteOrder4 = std::array<uint8_t, 4>;
inline constexpr ByteOrder4 kSwapPairs = {1, 0, 3, 2};   // UYVY to YUY2 and back
inline constexpr ByteOrder4 kYvyuToUyvy = {3, 0, 1, 2};  // Y0 Cr Y1 Cb to Cb Y0 Cr Y1
inline constexpr ByteOrder4 kUyvyToYvyu = {1, 2, 3, 0};
inline constexpr ByteOrder4 kYvyuToYuy2 = {0, 3, 2, 1};  // and back
void ReorderGroupsRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nGroups, const ByteOrder4& _order);

// B, G, R to B, G, R, _nAlpha and back, the fourth byte being dropped.
void BgrToBgraRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels, uint8_t _nAlpha);
void BgraToBgrRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);

// The fourth byte of every pixel, as a row of masks.
void BgraToAlphaRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);

// Writes the group of four bytes _group over and over.
void FillGroupsRow(uint8_t* _pDst, size_t _nGroups, const std::array<uint8_t, 4>& _group);

// The pixels in the opposite order. Of 4:2:2 (_nPairs pairs, 4 bytes each) the two luma samples of a pair change places
// and the chroma samples stay with their pair. Not in place.
void MirrorRow32(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);
void MirrorRow24(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);
void MirrorRowUyvy(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs);
void MirrorRowYuy2(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs);

// ---- v210: groups of 6 pixels in four little-endian words with three samples of 10 bits at bits 0, 10 and 20, in the
// order Cb0 Y0 Cr0, Y1 Cb1 Y2, Cr1 Y3 Cb2, Y4 Cr2 Y5.

// Bytes of the groups that hold a row, without the padding of the row.
constexpr size_t V210GroupBytes(size_t _nPixels) { return (_nPixels + 5) / 6 * 16; }

// 8-bit samples into the upper 8 of the 10 bits. Writes whole groups: what the last one has beyond the row is black.
// An odd last pixel has no chroma pair and is dropped.
void UyvyToV210Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);
void Yuy2ToV210Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);
// The upper 8 of the 10 bits. Whole pairs only: an odd last pixel is dropped.
void V210ToUyvyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);
void V210ToYuy2Row(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels);

}  // namespace zr
