#pragma once
// What the sources of tests have in common: they serve one reader, whatever its id.

#include "media/transport_interfaces.h"
#include "platform/unknown.h"

namespace zr {

class OneReaderSource : public UnknownImpl<IZrSource_I> {
public:
    HRESULT SourceFrameGet_I(int64_t _rtMaxWait, IZrFFrame** _ppFrame, const char16_t*) override {
        uint64_t llReader = 1;
        return SourceFrameGetEx_I(&llReader, _rtMaxWait, _ppFrame, nullptr);
    }
    HRESULT SourceFrameGetEx_I(uint64_t* _pllReaderID, int64_t _rtMaxWait, IZrFFrame** _ppFrame,
                               const char16_t*) override {
        if (*_pllReaderID == 0) *_pllReaderID = 77;
        if (!_ppFrame) return S_OK;
        *_ppFrame = nullptr;
        return NextFrame(_rtMaxWait, _ppFrame);
    }
    HRESULT ReaderKeep(uint64_t) override { return S_OK; }
    HRESULT ReaderRemove(uint64_t) override { return S_OK; }
    HRESULT ProcessAdd(uint32_t) override { return E_NOTIMPL; }
    HRESULT ProcessRemove(uint32_t) override { return E_NOTIMPL; }
    HRESULT ProcessCheck(Waitable**) override { return E_NOTIMPL; }
    HRESULT LastFrameGet(IZrFFrame**) override { return ZR_E_EMPTY; }

protected:
    virtual HRESULT NextFrame(int64_t _rtMaxWait, IZrFFrame** _ppFrame) = 0;
};

}  // namespace zr
