#pragma once
// A picture in a block of exactly its size, bottom-up when its height is odd.

#include <cstdint>
#include <cstring>
#include <vector>

#include "media/picture_codec.h"

namespace zr {

class FuzzPictureTarget final : public PictureTarget {
public:
    HRESULT Make(PICTURE_ROWS* _pRows) override {
        const size_t cbRow = (_pRows->fccType == eZrFCC_RGB24 ? 3u : 4u) * static_cast<size_t>(_pRows->nWidth);
        const auto nRows = static_cast<size_t>(_pRows->nHeight);
        if (cbRow * nRows > size_t{32} << 20) return E_OUTOFMEMORY;
        bytes.assign(cbRow * nRows, 0);
        const bool bUp = nRows % 2 != 0;
        _pRows->pTop = bytes.data() + (bUp ? cbRow * (nRows - 1) : 0);
        _pRows->nStride = bUp ? -static_cast<ptrdiff_t>(cbRow) : static_cast<ptrdiff_t>(cbRow);
        rows = *_pRows;
        return S_OK;
    }
    std::vector<uint8_t> bytes;
    PICTURE_ROWS rows;
};

}  // namespace zr
