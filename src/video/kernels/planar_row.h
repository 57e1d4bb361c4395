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

// The same with chroma between two rows of it, three parts of the near one and one of the far one: (3 a + b + 2) / 4.
void JoinUyvyRowNear(const uint8_t* _pY, const uint8_t* _pCb, const uint8_t* _pCr, const uint8_t* _pFarCb,
                     const uint8_t* _pFarCr, uint8_t* _pDst, size_t _nPairs);
void JoinYuy2RowNear(const uint8_t* _pY, const uint8_t* _pCb, const uint8_t* _pCr, const uint8_t* _pFarCb,
                     const uint8_t* _pFarCr, uint8_t* _pDst, size_t _nPairs);
void JoinUyvyRowNv12Near(const uint8_t* _pY, const uint8_t* _pCbCr, const uint8_t* _pFarCbCr, uint8_t* _pDst,
                         size_t _nPairs);
void JoinYuy2RowNv12Near(const uint8_t* _pY, const uint8_t* _pCbCr, const uint8_t* _pFarCbCr, uint8_t* _pDst,
                         size_t _nPairs);

// (a + b + 1) / 2 of each sample.
void MeanRow(const uint8_t* _pA, const uint8_t* _pB, uint8_t* _pDst, size_t _nSamples);
// ((8 - n) a + n b + 4) / 8 of each sample, n = 0..8.
void EighthsRow(const uint8_t* _pA, const uint8_t* _pB, uint8_t* _pDst, size_t _nSamples, int32_t _nEighthsOfB);
// Each sample twice, and the rounded mean of each two: chroma between full and half width (4:4:4).
void DoubleSamplesRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nSamples);
void HalveSamplesRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPairs);

}  // namespace zr
