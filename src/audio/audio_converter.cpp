#include "audio/audio_converter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

#include "audio/sample_convert.h"
#include "media/aud_props.h"

namespace zr {
namespace {

constexpr size_t kLeastMirror = 64;               // samples
constexpr int64_t kMostBytes = int64_t{1} << 28;  // of one block; a rate that is nonsense asks for more

bool IsSupported(const ZR_AUD_PROPS& _props) {
    return AudBytesPerSample(_props.nBitsPerSample) > 0 && _props.nSamplesPerSec > 0 && _props.nChannels > 0 &&
           _props.nChannels <= kMaxConvertedChannels;
}

int32_t ScaledRate(const ZR_AUD_PROPS& _props, double _dblScale) {
    return static_cast<int32_t>(
        std::min(std::round(_props.nSamplesPerSec * _dblScale), double{std::numeric_limits<int32_t>::max()}));
}

// 16-bit samples add with saturation, float ones up to full scale.
void AddTo(int16_t* _pTo, const int16_t* _p, size_t _n) {
    for (size_t i = 0; i < _n; ++i) {
        const int32_t nSum = _pTo[i] + _p[i];
        _pTo[i] = static_cast<int16_t>(std::clamp(nSum, -32768, 32767));
    }
}

void AddTo(float* _pTo, const float* _p, size_t _n) {
    for (size_t i = 0; i < _n; ++i) _pTo[i] = std::clamp(_pTo[i] + _p[i], -1.0f, 1.0f);
}

// Calls _add(source, destination) in the order in which a destination's sources are summed.
template <class ADD>
void ForEachMapping(int32_t _nSrc, int32_t _nDst, const ADD& _add) {
    if (_nSrc == 1) {
        for (int32_t d = 0; d < _nDst; ++d) _add(0, d);
    } else if (_nSrc == 6 && _nDst == 2) {
        for (const int32_t s : {0, 2, 4}) _add(s, 0);
        for (const int32_t s : {1, 2, 5}) _add(s, 1);
    } else if (_nSrc == 2 && _nDst == 6) {
        for (const int32_t d : {0, 2, 4, 5}) _add(0, d);
        for (const int32_t d : {1, 2, 4, 5}) _add(1, d);
    } else {
        for (int32_t i = 0; i < std::max(_nSrc, _nDst); ++i) _add(i % _nSrc, i % _nDst);
    }
}

// Interleaved samples to a row for each channel, and back. Stereo goes in vectors.
template <class SAMPLE>
void Split(const SAMPLE* _p, size_t _nChannels, size_t _nSamples, SAMPLE* _pRows) {
    if (_nChannels == 2) {
        SAMPLE* const pRight = _pRows + _nSamples;
        for (size_t i = 0; i < _nSamples; ++i) {
            _pRows[i] = _p[2 * i];
            pRight[i] = _p[2 * i + 1];
        }
        return;
    }
    for (size_t c = 0; c < _nChannels; ++c)
        for (size_t i = 0; i < _nSamples; ++i) _pRows[c * _nSamples + i] = _p[i * _nChannels + c];
}

template <class SAMPLE>
void Join(const SAMPLE* _pRows, size_t _nStride, size_t _nChannels, size_t _nSamples, SAMPLE* _p) {
    if (_nChannels == 2) {
        const SAMPLE* const pRight = _pRows + _nStride;
        for (size_t i = 0; i < _nSamples; ++i) {
            _p[2 * i] = _pRows[i];
            _p[2 * i + 1] = pRight[i];
        }
        return;
    }
    for (size_t c = 0; c < _nChannels; ++c)
        for (size_t i = 0; i < _nSamples; ++i) _p[i * _nChannels + c] = _pRows[c * _nStride + i];
}

template <class ROW>
void GrowTo(ROW& _row, size_t _n) {
    if (_row.size() < _n) _row.resize(_n);
}

}  // namespace

HRESULT ZrAudioConverter::Init(const ZR_AUD_PROPS& _src, const ZR_AUD_PROPS& _dst, int32_t _nSamples,
                               double _dblScale) try {
    if (!(_dblScale >= 0.1 && _dblScale <= 10.0) || _nSamples < 0) return E_INVALIDARG;
    if (!IsSupported(_src) || !IsSupported(_dst)) return VFW_E_UNSUPPORTED_AUDIO;
    const bool bGoesOn = GoesOn(_src, _dst);
    if (bGoesOn && dblScale == _dblScale) return S_FALSE;
    if (!bGoesOn) {
        arr16s.clear();
        arr32f.clear();
    }
    const auto nChannels = static_cast<size_t>(_dst.nChannels);
    const bool b16 = _src.nBitsPerSample == 16 && _dst.nBitsPerSample == 16;
    arr16s.resize(b16 ? nChannels : 0);
    arr32f.resize(b16 ? 0 : nChannels);
    const int32_t nOutRate = ScaledRate(_dst, _dblScale);
    const auto InitAll = [&](auto& _arrResamplers) {
        for (auto& resampler : _arrResamplers) {
            const HRESULT hr = resampler.Init(_src.nSamplesPerSec, nOutRate, IPPResampler32f::kTaps, _nSamples);
            if (Failed(hr)) return hr;
        }
        return S_OK;
    };
    HRESULT hr = InitAll(arr16s);
    if (Succeeded(hr)) hr = InitAll(arr32f);
    if (Failed(hr)) return hr;
    src = _src;
    dst = _dst;
    dblScale = _dblScale;
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

bool ZrAudioConverter::GoesOn(const ZR_AUD_PROPS& _src, const ZR_AUD_PROPS& _dst) const {
    return AudSameFormat(src, _src) && AudSameFormat(dst, _dst);
}

size_t ZrAudioConverter::Taps() const {
    if (!arr16s.empty()) return arr16s[0].Taps();
    return arr32f.empty() ? 0 : arr32f[0].Taps();
}

void ZrAudioConverter::Prepare(const ZR_AUD_PROPS& _src, const ZR_AUD_PROPS& _dst, double _dblScale) {
    IPPResampler32f::Prepare(_src.nSamplesPerSec, ScaledRate(_dst, _dblScale));
}

HRESULT ZrAudioConverter::Prime(const uint8_t* _pSrc, int64_t _nSamples, int64_t* _pnEarly) try {
    *_pnEarly = 0;
    if (!IsSupported(src)) return VFW_E_UNSUPPORTED_AUDIO;
    const auto nBefore = static_cast<int64_t>(std::max(Taps(), kLeastMirror));
    const auto cbBlock = static_cast<size_t>(AudBlockBytes(src));
    std::vector<uint8_t> arrMirror(static_cast<size_t>(nBefore) * cbBlock), arrDropped;
    FillSilence(src.nBitsPerSample, arrMirror.data(), arrMirror.size());
    for (int64_t i = 0; i < nBefore && _nSamples > 0; ++i)  // beyond a short block its end stands still
        std::memcpy(arrMirror.data() + static_cast<size_t>(nBefore - 1 - i) * cbBlock,
                    _pSrc + static_cast<size_t>(std::min(i, _nSamples - 1)) * cbBlock, cbBlock);
    const auto cb = static_cast<int32_t>(arrMirror.size());
    int32_t cbDropped = 0;
    HRESULT hr = Convert(arrMirror.data(), cb, nullptr, &cbDropped, dblScale);
    if (Failed(hr)) return hr;
    arrDropped.resize(static_cast<size_t>(cbDropped));
    hr = Convert(arrMirror.data(), cb, arrDropped.data(), &cbDropped, dblScale);
    if (Failed(hr)) return hr;
    const int64_t nResults = arr16s.empty() ? arr32f[0].ResultsBefore(nBefore) : arr16s[0].ResultsBefore(nBefore);
    *_pnEarly = std::max<int64_t>(nResults - cbDropped / AudBlockBytes(dst), 0);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

void ZrAudioConverter::Reset() {
    for (auto& resampler : arr16s) resampler.Reset();
    for (auto& resampler : arr32f) resampler.Reset();
}

// Samples of each channel that a block may become.
int32_t ZrAudioConverter::RoomFor(int64_t _nSamples, double _dblScale) const {
    const double dblRatio = std::max(dst.nSamplesPerSec * _dblScale, static_cast<double>(ScaledRate(dst, _dblScale)));
    const double n = std::round(static_cast<double>(_nSamples) * dblRatio / src.nSamplesPerSec + 1);
    return static_cast<int32_t>(std::min(std::ceil(n / 4) * 4, double{std::numeric_limits<int32_t>::max() - 3}));
}

HRESULT ZrAudioConverter::Convert(const uint8_t* _pSrc, int32_t _cbSrc, uint8_t* _pDst, int32_t* _pcbDst,
                                  double _dblScale) try {
    if (!_pcbDst || !(_dblScale >= 0.1 && _dblScale <= 10.0) || _cbSrc < 0 || (_cbSrc > 0 && !_pSrc))
        return E_INVALIDARG;
    if (!IsSupported(src)) return VFW_E_UNSUPPORTED_AUDIO;
    const int64_t nSamples = _cbSrc / AudBlockBytes(src);
    const int64_t nRoom = RoomFor(nSamples, _dblScale);
    const int64_t cbRoom = nRoom * AudBlockBytes(dst);
    if (cbRoom > kMostBytes) return E_INVALIDARG;
    if (!_pDst) {
        *_pcbDst = static_cast<int32_t>(cbRoom);
        return S_OK;
    }
    if (*_pcbDst < cbRoom) return E_INVALIDARG;
    if (_dblScale != dblScale) {
        const HRESULT hr = Init(src, dst, static_cast<int32_t>(nSamples), _dblScale);
        if (Failed(hr)) return hr;
    }
    const auto n = static_cast<size_t>(nSamples);
    const auto nMost = static_cast<size_t>(nRoom);
    const int64_t nDone =
        arr16s.empty() ? Run(rows32f, arr32f, _pSrc, n, _pDst, nMost) : Run(rows16s, arr16s, _pSrc, n, _pDst, nMost);
    *_pcbDst = static_cast<int32_t>(nDone * AudBlockBytes(dst));
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

template <class SAMPLE>
const SAMPLE* ZrAudioConverter::MixChannels(ROWS<SAMPLE>& _rows, size_t _nSamples) const {
    const auto nDst = static_cast<size_t>(dst.nChannels);
    GrowTo(_rows.arrMixed, nDst * _nSamples);
    uint32_t nFilled = 0;  // destination channels that have something, a bit each
    ForEachMapping(src.nChannels, dst.nChannels, [&](int32_t _nFrom, int32_t _nTo) {
        const SAMPLE* const pFrom = _rows.arrIn.data() + static_cast<size_t>(_nFrom) * _nSamples;
        SAMPLE* const pTo = _rows.arrMixed.data() + static_cast<size_t>(_nTo) * _nSamples;
        const uint32_t nBit = uint32_t{1} << _nTo;
        if (nFilled & nBit) {
            AddTo(pTo, pFrom, _nSamples);
        } else {
            std::copy_n(pFrom, _nSamples, pTo);
        }
        nFilled |= nBit;
    });
    for (size_t c = 0; c < nDst; ++c)
        if (!(nFilled & uint32_t{1} << c)) std::fill_n(_rows.arrMixed.data() + c * _nSamples, _nSamples, SAMPLE{0});
    return _rows.arrMixed.data();
}

template <class SAMPLE, class RESAMPLER>
int64_t ZrAudioConverter::Run(ROWS<SAMPLE>& _rows, std::vector<RESAMPLER>& _arrResamplers, const uint8_t* _pSrc,
                              size_t _nSamples, uint8_t* _pDst, size_t _nRoom) {
    constexpr bool kFloat = std::is_same_v<SAMPLE, float>;
    const auto nSrc = static_cast<size_t>(src.nChannels), nDst = static_cast<size_t>(dst.nChannels);
    // Interleaved and of the width that is computed in, then channel by channel.
    const SAMPLE* pPacked = reinterpret_cast<const SAMPLE*>(_pSrc);
    if constexpr (kFloat) {
        GrowTo(arrPacked, std::max(nSrc * _nSamples, nDst * _nRoom) * sizeof(float));
        if (src.nBitsPerSample != -32) {
            ConvertSamples(src.nBitsPerSample, _pSrc, -32, arrPacked.data(), nSrc * _nSamples);
            pPacked = reinterpret_cast<const float*>(arrPacked.data());
        }
    }
    GrowTo(_rows.arrIn, nSrc * _nSamples);
    Split(pPacked, nSrc, _nSamples, _rows.arrIn.data());
    const SAMPLE* const pMixed = nSrc == nDst ? _rows.arrIn.data() : MixChannels(_rows, _nSamples);

    size_t nResults = 0;
    const size_t nStride = _arrResamplers[0].MostFor(_nSamples);
    GrowTo(_rows.arrOut, nDst * nStride);
    for (size_t c = 0; c < nDst; ++c) {
        nResults = _arrResamplers[c].Put(pMixed + c * _nSamples, _nSamples, _rows.arrOut.data() + c * nStride);
    }
    nResults = std::min(nResults, _nRoom);

    if constexpr (kFloat) {
        // Nothing changes: not even what float has no bits for.
        if (AudSameFormat(src, dst) && _arrResamplers[0].Copies()) {
            std::memcpy(_pDst, _pSrc, nResults * static_cast<size_t>(AudBlockBytes(dst)));
            return static_cast<int64_t>(nResults);
        }
        const bool bDone = dst.nBitsPerSample == -32;
        uint8_t* const pTo = bDone ? _pDst : arrPacked.data();
        Join(_rows.arrOut.data(), nStride, nDst, nResults, reinterpret_cast<float*>(pTo));
        if (!bDone) ConvertSamples(-32, pTo, dst.nBitsPerSample, _pDst, nDst * nResults);
    } else {
        Join(_rows.arrOut.data(), nStride, nDst, nResults, reinterpret_cast<SAMPLE*>(_pDst));
    }
    return static_cast<int64_t>(nResults);
}

HRESULT ConvertAlone(const ZR_AUD_PROPS& _src, const uint8_t* _pSrc, int64_t _nSrc, const ZR_AUD_PROPS& _dst,
                     std::vector<uint8_t>& _arrDst, int64_t* _pnDst) try {
    *_pnDst = 0;
    ZrAudioConverter converter;
    HRESULT hr = converter.Init(_src, _dst, static_cast<int32_t>(_nSrc), 1.0);
    int64_t nEarly = 0;
    if (Succeeded(hr)) hr = converter.Prime(_pSrc, _nSrc, &nEarly);
    if (Failed(hr) || _nSrc == 0) return hr;
    // Behind its end, too, it is taken to be mirrored.
    const auto cbSrc = static_cast<size_t>(AudBlockBytes(_src)), cbDst = static_cast<size_t>(AudBlockBytes(_dst));
    const size_t nSrc = static_cast<size_t>(_nSrc), nBehind = converter.Taps();
    std::vector<uint8_t> arrLong((nSrc + nBehind) * cbSrc);
    std::memcpy(arrLong.data(), _pSrc, nSrc * cbSrc);
    for (size_t i = 0; i < nBehind; ++i)
        std::memcpy(arrLong.data() + (nSrc + i) * cbSrc, _pSrc + (nSrc - 1 - std::min(i, nSrc - 1)) * cbSrc, cbSrc);
    const auto cbLong = static_cast<int32_t>(arrLong.size());
    int32_t cb = 0;
    hr = converter.Convert(arrLong.data(), cbLong, nullptr, &cb, 1.0);
    if (Failed(hr)) return hr;
    _arrDst.resize(static_cast<size_t>(cb));
    hr = converter.Convert(arrLong.data(), cbLong, _arrDst.data(), &cb, 1.0);
    if (Failed(hr)) return hr;
    const auto nEnd =
        static_cast<int64_t>(std::llround(static_cast<double>(_nSrc) * _dst.nSamplesPerSec / _src.nSamplesPerSec));
    *_pnDst = std::min<int64_t>(nEnd, static_cast<int64_t>(static_cast<size_t>(cb) / cbDst) - nEarly);
    std::memmove(_arrDst.data(), _arrDst.data() + static_cast<size_t>(nEarly) * cbDst,
                 static_cast<size_t>(*_pnDst) * cbDst);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace zr
