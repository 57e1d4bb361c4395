#include "media/premultiply.h"

#include <algorithm>
#include <cstring>

namespace zr {

void PremultiplyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    for (const uint8_t* const pEnd = _pSrc + 4 * _nPixels; _pSrc < pEnd; _pSrc += 4, _pDst += 4) {
        const int nAlpha = _pSrc[3];
        if (nAlpha == 255) {  // most of most pictures
            std::memmove(_pDst, _pSrc, 4);
            continue;
        }
        for (int i = 0; i < 3; ++i) _pDst[i] = static_cast<uint8_t>(Div255(_pSrc[i] * nAlpha));
        _pDst[3] = static_cast<uint8_t>(nAlpha);
    }
}

void UnpremultiplyRow(const uint8_t* _pSrc, uint8_t* _pDst, size_t _nPixels) {
    for (const uint8_t* const pEnd = _pSrc + 4 * _nPixels; _pSrc < pEnd; _pSrc += 4, _pDst += 4) {
        const int nAlpha = _pSrc[3];
        for (int i = 0; i < 3; ++i) {
            const int n = nAlpha == 0 ? 0 : (_pSrc[i] * 255 + nAlpha / 2) / nAlpha;
            _pDst[i] = static_cast<uint8_t>(std::min(n, 255));
        }
        _pDst[3] = static_cast<uint8_t>(nAlpha);
    }
}

}  // namespace zr
