// Frames one after another from a stream that gives its bytes in pieces and may end anywhere.

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frame_module/frame.h"

namespace {

class PieceStream final : public zr::UnknownImpl<zr::IStream> {
public:
    PieceStream(const uint8_t* _p, size_t _cb) : p(_p), cbLeft(_cb) {}
    zr::HRESULT Read(void* _pv, uint32_t _cb, uint32_t* _pcbRead) override {
        nPiece = nPiece % 4099 + 61;
        const auto cb = static_cast<uint32_t>(std::min<size_t>({_cb, cbLeft, nPiece}));
        std::memcpy(_pv, p, cb);
        p += cb;
        cbLeft -= cb;
        *_pcbRead = cb;
        return cb < _cb ? zr::S_FALSE : zr::S_OK;
    }
    zr::HRESULT Write(const void*, uint32_t, uint32_t*) override { return zr::E_ACCESSDENIED; }
    zr::HRESULT Seek(int64_t, uint32_t, uint64_t*) override { return zr::E_NOTIMPL; }
    zr::HRESULT SetSize(uint64_t) override { return zr::E_NOTIMPL; }

private:
    const uint8_t* p;
    size_t cbLeft;
    uint32_t nPiece = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    const auto pStream = zr::ZrPtr<PieceStream>::Attach(new PieceStream(_pData, _cb));
    const auto pFrame = zr::CZrFrame::Make();
    while (zr::Succeeded(pFrame->ZrFLoadFromStream(pStream.Get(), zr::eZrFC_Full))) {
        zr::ZrPtr<zr::IStream> pOut;
        pFrame->ZrFSaveToStream(pOut.Out(), zr::eZrFC_Full);
    }
    return 0;
}
