#include "frame_module/memory_stream.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace zr {

HRESULT MemoryStream::Read(void* _pv, uint32_t _cb, uint32_t* _pcbRead) {
    if (_pcbRead) *_pcbRead = 0;
    if (!_pv && _cb > 0) return E_POINTER;
    const uint64_t cbLeft = nPosition < arrBytes.size() ? arrBytes.size() - nPosition : 0;
    const auto cbRead = static_cast<uint32_t>(std::min<uint64_t>(_cb, cbLeft));
    if (cbRead > 0) std::memcpy(_pv, arrBytes.data() + nPosition, cbRead);
    nPosition += cbRead;
    if (_pcbRead) *_pcbRead = cbRead;
    return cbRead < _cb ? S_FALSE : S_OK;
}

HRESULT MemoryStream::Write(const void* _pv, uint32_t _cb, uint32_t* _pcbWritten) {
    if (_pcbWritten) *_pcbWritten = 0;
    if (_cb == 0) return S_OK;
    if (!_pv) return E_POINTER;
    if (nPosition + _cb > arrBytes.size()) {
        const HRESULT hr = SetSize(nPosition + _cb);
        if (Failed(hr)) return hr;
    }
    std::memcpy(arrBytes.data() + nPosition, _pv, _cb);
    nPosition += _cb;
    if (_pcbWritten) *_pcbWritten = _cb;
    return S_OK;
}

HRESULT MemoryStream::Seek(int64_t _nMove, uint32_t _nOrigin, uint64_t* _pnNewPos) {
    const uint64_t arrOrigins[] = {0, nPosition, arrBytes.size()};
    if (_nOrigin > 2) return E_INVALIDARG;
    // An origin fits 63 bits, as no position and no size beyond that is ever accepted.
    int64_t nNew = 0;
    if (__builtin_add_overflow(static_cast<int64_t>(arrOrigins[_nOrigin]), _nMove, &nNew) || nNew < 0)
        return E_INVALIDARG;
    nPosition = static_cast<uint64_t>(nNew);
    if (_pnNewPos) *_pnNewPos = nPosition;
    return S_OK;
}

HRESULT MemoryStream::SetSize(uint64_t _cb) {
    if (_cb > arrBytes.max_size()) return E_OUTOFMEMORY;
    try {
        if (_cb > arrBytes.capacity()) arrBytes.reserve(std::max<size_t>(_cb, arrBytes.capacity() * 3 / 2));
        arrBytes.resize(_cb);
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

}  // namespace zr
