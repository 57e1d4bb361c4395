#pragma once
// One picture laid over another: a fade of the whole, and the mix with a mask that blocks are drawn by. The arithmetic
// stands in kernels/mix_row.h.

#include <cstddef>
#include <cstdint>

#include "zr/records.h"
#include "zr/status.h"

namespace zr {

inline constexpr HRESULT kMixNotComparable = static_cast<HRESULT>(0x8004022Au);  // planar, or of different families
inline constexpr HRESULT kMixBadRecord = static_cast<HRESULT>(0x80040200u);      // describes no picture

// Fades _pOver over _pBase from their upper left corners, the smaller of both sizes, in steps of 1/128 of _dblAlpha (0
// to 1, limited). ARGB32 is premultiplied and laid over, all other packed formats are faded byte by byte. The overlay
// stays. E_POINTER: a null buffer. kMixBadRecord, kMixNotComparable. The base is untouched then.
HRESULT MixImage(uint8_t* _pBase, const ZR_VID_PROPS& _baseProps, const uint8_t* _pOver, const ZR_VID_PROPS& _overProps,
                 double _dblAlpha);

// A plane with one byte per pixel, rows from top to bottom, and the part of it that lies on the base rectangle.
struct MIX_MASK {
    const uint8_t* pMask = nullptr;
    ptrdiff_t nStride = 0;
    int32_t nWidth = 0, nHeight = 0;
    int32_t nLeft = 0, nTop = 0;  // of the mask that lies on the upper left corner of the base rectangle
};

struct MIX_OPTIONS {
    double dblAlpha = 1;          // 0 to 1, in steps of 1/256
    bool bPremulOverlay = false;  // 4:2:2 overlays are premultiplied by the mask
    int32_t nThreads = 0;         // bands of rows for so many workers; see MixWorkers
};

// Lays _overRect of one picture over _baseRect of another, the smaller of both sizes, clipped to both pictures. Null
// rectangles: the whole. _pMask may be null; ARGB32 does not look at it.
// S_FALSE: nothing to lay, a picture without width or height among it. E_POINTER: a null buffer. E_INVALIDARG:
// different families, a format that cannot be mixed (planar, v210, YVYU), a record or rectangle that cannot be, a mask
// that does not cover what it lies on. The base is untouched then.
HRESULT MixImage_Mask8(uint8_t* _pBase, const ZR_VID_PROPS& _baseProps, const tagRECT* _pBaseRect,
                       const uint8_t* _pOver, const ZR_VID_PROPS& _overProps, const tagRECT* _pOverRect,
                       const MIX_MASK* _pMask, const MIX_OPTIONS& _options);

// _dblAlpha (0 to 1, limited) in whole parts of _nUnit, rounded half away from zero.
uint32_t MixWeight(double _dblAlpha, int32_t _nUnit);

// Into how many bands a mix of _nRows rows is split: one up to 240 rows, which threads would not make faster.
int32_t MixWorkers(int32_t _nThreads, int32_t _nRows);

}  // namespace zr
