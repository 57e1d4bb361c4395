#include "audio/channels_buffer.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace zr {

// _pRings keeps what is there at this capacity; all others in the range are made, and nothing changes on failure.
HRESULT ZrChannelsBuffer::MakeRings(size_t _nFrom, size_t _nTo, uint32_t _nCapacity, Rings* _pRings) {
    if (_nCapacity == 0) return S_OK;
    Rings arrNew;
    for (size_t i = _nFrom; i < _nTo; ++i) {
        if ((*_pRings)[i] && (*_pRings)[i]->Size() == _nCapacity * kSampleBytes) continue;
        arrNew[i] = Ring::Make();
        if (!arrNew[i] || Failed(arrNew[i]->Resize(_nCapacity * kSampleBytes))) return E_OUTOFMEMORY;
    }
    for (size_t i = _nFrom; i < _nTo; ++i)
        if (arrNew[i]) (*_pRings)[i] = std::move(arrNew[i]);
    return S_OK;
}

HRESULT ZrChannelsBuffer::ChannelsSet(int32_t _nCount, bool _bCreate) {
    if (_nCount < 0) return E_INVALIDARG;
    const int32_t nCount = std::min(_nCount, kMaxAudioChannels);
    if (nCount <= nChannels || !_bCreate) {
        nChannels = std::min(nCount, nChannels);
        return S_FALSE;
    }
    const auto nOld = static_cast<size_t>(nChannels), nNew = static_cast<size_t>(nCount);
    const HRESULT hr = MakeRings(nOld, nNew, nCapacity, &arrRings);
    if (Failed(hr)) return hr;
    if (nCapacity > 0)
        for (size_t i = nOld; i < nNew; ++i) std::memset(arrRings[i]->Data(), 0, nCapacity * kSampleBytes);
    nChannels = nCount;
    return S_OK;
}

HRESULT ZrChannelsBuffer::Reserve(uint32_t _nFree) {
    if (_nFree > kMaxSamples - nFill) return E_INVALIDARG;
    const uint32_t nNeeded = nFill + _nFree;
    if (nNeeded <= nCapacity) return S_OK;
    constexpr uint32_t kLeast = 4096;  // samples: two frames of 25 a second at 48 kHz
    const uint32_t nNew = std::bit_ceil(std::max(nNeeded, kLeast));
    const auto nCount = static_cast<size_t>(nChannels);
    Rings arrNew;
    const HRESULT hr = MakeRings(0, nCount, nNew, &arrNew);
    if (Failed(hr)) return hr;
    for (size_t i = 0; i < nCount; ++i) Read(i, nFill, arrNew[i]->Data());
    arrRings.swap(arrNew);
    nCapacity = nNew;
    nFirst = 0;
    return S_OK;
}

std::array<ZrChannelsBuffer::PART, 2> ZrChannelsBuffer::Parts(uint32_t _nAt, uint32_t _nCount) const {
    const uint32_t nAt = _nAt & (nCapacity - 1);
    const uint32_t nUpToEnd = std::min(_nCount, nCapacity - nAt);
    return {PART{nAt, nUpToEnd}, PART{0, _nCount - nUpToEnd}};
}

void ZrChannelsBuffer::Read(size_t _nChannel, uint32_t _nSamples, uint8_t* _pTo) const {
    if (_nSamples == 0) return;
    for (const PART& part : Parts(nFirst, _nSamples)) {
        const size_t cb = size_t{part.nCount} * kSampleBytes;
        std::memcpy(_pTo, arrRings[_nChannel]->Data() + size_t{part.nAt} * kSampleBytes, cb);
        _pTo += cb;
    }
}

HRESULT ZrChannelsBuffer::Put(std::span<const uint8_t* const> _arrRows, uint32_t _nSamples) {
    if (_nSamples == 0) return S_OK;
    const HRESULT hr = Reserve(_nSamples);
    if (Failed(hr)) return hr;
    for (size_t i = 0; i < static_cast<size_t>(nChannels); ++i) {
        const uint8_t* pFrom = i < _arrRows.size() ? _arrRows[i] : nullptr;
        for (const PART& part : Parts(nFirst + nFill, _nSamples)) {
            const size_t cb = size_t{part.nCount} * kSampleBytes;
            uint8_t* pTo = arrRings[i]->Data() + size_t{part.nAt} * kSampleBytes;
            if (pFrom) {
                std::memcpy(pTo, pFrom, cb);
                pFrom += cb;
            } else {
                std::memset(pTo, 0, cb);
            }
        }
    }
    nFill += _nSamples;
    return S_OK;
}

uint32_t ZrChannelsBuffer::Get(std::span<uint8_t* const> _arrRows, uint32_t _nSamples) {
    const uint32_t nSamples = std::min(_nSamples, nFill);
    if (nSamples == 0) return 0;
    for (size_t i = 0; i < std::min(_arrRows.size(), static_cast<size_t>(nChannels)); ++i)
        if (_arrRows[i]) Read(i, nSamples, _arrRows[i]);
    nFirst = (nFirst + nSamples) & (nCapacity - 1);
    nFill -= nSamples;
    return nSamples;
}

}  // namespace zr
