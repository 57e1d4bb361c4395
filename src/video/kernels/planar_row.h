#pragma once
// Rows between packed 4:2:2 and planes of 8-bit samples. Any alignment; no byte outside the rows is touched; sources
// and destinations do not overlap. _nPairs pairs of pixels: 4 bytes packed, 2 luma samples, one sample of each chroma.

#include <cstddef>
#include <cstdint>

namespace zr {

void SplitUyvyRow(const uint8_t* _pSrc, uint8_t* _pY, uint8_t* _pCb, uint8_t* _pCr, size_t _nPairs);
void SplitYuy2Row(const uint8_t* _pSrc, uint8_t* _pY, uint8_t* _pCb, uint8_t* _pCr, size_t _nPairs);

void JoinUyvyRow(const uint8_t* _pY, const uint8_t* _pCb, const uint8_t* _pCr, uint8_t* _pDst, size_t _nPairs);
void JoinYuy2Row(const uint8_t* _pY, const uint8_t* _pCb, const uint8_t* _pCr, uint8_t* _pDst, size_t _nPairs);

// Chroma as pairs Cb, Cr in one plane (NV12).
void JoinUyvyRowNv12(const uint8_t* _pY, const uint8_t* _pCbCr, uint8_t* _pDst, size_t _nPairs);
void JoinYuy2RowNv12(const uint8_t* _pY, const uint8_t* _pCbCr, uint8_t* _pDst, size_t _nPairs);
void SplitPairsRow(const uint8_t* _pCbCr, uint8_t* _pCb, uint8_t* _pCr, size_t _nPairs);
void JoinPairsRow(const uint8_t* _pCb, const uint8_t* _pCr, uint8_t* _pCbCr, size_t _nPairs);

// (a + b + 1) / 2 of each sample: chroma of two lines on the way to 4:2:0.
void MeanRow(const uint8_t* _pA, const uint8_t* _pB, uint8_t* _pDst, size_t _nSamples);
// Each sample twice, and the rounded mean of each two: chroma between full and half width (4:4:4).
void DoubleSamplesRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void HalveSamplesRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs);

}  // namespace zr
