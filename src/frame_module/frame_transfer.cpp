#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "frame_module/frame.h"
#include "frame_module/frame_serial.h"
#include "frame_module/memory_stream.h"
#include "zr/memory.h"

namespace zr {

namespace {

class MemorySink final : public ByteSink {
public:
    MemorySink(uint8_t* _p, size_t _cb) : p(_p), cbLeft(_cb) {}
    HRESULT Write(const void* _pv, size_t _cb) override {
        if (_cb > cbLeft) return E_UNEXPECTED;
        std::memcpy(p, _pv, _cb);
        p += _cb;
        cbLeft -= _cb;
        return S_OK;
    }

private:
    uint8_t* p;
    size_t cbLeft;
};

class StreamSink final : public ByteSink {
public:
    explicit StreamSink(IStream* _pStream) : pStream(_pStream) {}
    HRESULT Write(const void* _pv, size_t _cb) override {
        const auto* p = static_cast<const uint8_t*>(_pv);
        while (_cb > 0) {
            const auto cbStep = static_cast<uint32_t>(std::min<size_t>(_cb, std::numeric_limits<int32_t>::max()));
            uint32_t cbDone = 0;
            const HRESULT hr = pStream->Write(p, cbStep, &cbDone);
            if (Failed(hr)) return hr;
            if (cbDone == 0 || cbDone > cbStep) return E_FAIL;
            p += cbDone;
            _cb -= cbDone;
        }
        return S_OK;
    }

private:
    IStream* const pStream;
};

}  // namespace

HRESULT CZrFrame::ZrFSave(uint32_t* _pcbData, uint8_t** _ppData, eZrFrameClone _eSaveType) {
    if (!_pcbData || !_ppData) return E_POINTER;
    *_pcbData = 0;
    *_ppData = nullptr;
    const uint64_t cb = SerialBytes(content, _eSaveType);
    if (cb > std::numeric_limits<uint32_t>::max()) return ZR_E_NOT_SUPPORTED;
    auto* p = static_cast<uint8_t*>(CoTaskMemAlloc(cb));
    if (!p) return E_OUTOFMEMORY;
    MemorySink sink(p, cb);
    const HRESULT hr = SerialWrite(content, _eSaveType, sink);
    if (Failed(hr)) {
        CoTaskMemFree(p);
        return hr;
    }
    *_pcbData = static_cast<uint32_t>(cb);
    *_ppData = p;
    return S_OK;
}

HRESULT CZrFrame::ZrFLoad(uint32_t _cbData, const uint8_t* _pbData, eZrFrameClone _eLoadType) {
    if (!_pbData) return E_POINTER;
    return SerialRead(_pbData, _cbData, _eLoadType, &content);
}

HRESULT CZrFrame::ZrFSaveToStream(IStream** _ppStream, eZrFrameClone _eSaveType) {
    if (!_ppStream) return E_POINTER;
    *_ppStream = nullptr;
    const auto pStream = ZrPtr<MemoryStream>::Attach(new (std::nothrow) MemoryStream);
    if (!pStream) return E_OUTOFMEMORY;
    HRESULT hr = ZrFAddToStream(pStream.Get(), _eSaveType);
    if (Succeeded(hr)) hr = pStream->Seek(0, 0, nullptr);
    if (Failed(hr)) return hr;
    pStream->AddRef();
    *_ppStream = pStream.Get();
    return S_OK;
}

HRESULT CZrFrame::ZrFAddToStream(IStream* _pStream, eZrFrameClone _eSaveType) {
    if (!_pStream) return E_POINTER;
    StreamSink sink(_pStream);
    return SerialWrite(content, _eSaveType, sink);
}

HRESULT CZrFrame::ZrFLoadFromStream(IStream* _pStream, eZrFrameClone _eLoadType) {
    if (!_pStream) return E_POINTER;
    return SerialReadStream(_pStream, _eLoadType, &content);
}

}  // namespace zr
