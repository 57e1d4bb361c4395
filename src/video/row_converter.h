#pragma once
// A conversion of rows between any two packed formats, YVYU included: chosen once per picture, run for every row.

#include <cstddef>
#include <cstdint>

#include "video/conversion_matrix.h"
#include "zr/enums.h"
#include "zr/status.h"

namespace zr {

class RowConverter {
public:
    // kTypeNotAccepted: a format without a row in the conversion matrix. E_FAIL: no way between the two.
    static HRESULT Make(eZrFCC _fccFrom, eZrFCC _fccTo, RowConverter& _converter);

    // An even number of pixels in formats with shared chroma. The rows do not overlap.
    void operator()(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) const {
        if (!pBefore && !pAfter)
            pCell(_pSrc, _pDst, _nPixels);
        else
            RunSteps(_pSrc, _pDst, _nPixels);
    }

private:
    void RunSteps(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) const;

    RowConversion pBefore = nullptr;  // YVYU to UYVY
    RowConversion pCell = nullptr;
    RowConversion pAfter = nullptr;  // UYVY to YVYU
    size_t nDstBytesOfSix = 0;       // bytes of six pixels of the destination
};

}  // namespace zr
