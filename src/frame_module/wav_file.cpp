#include "frame_module/wav_file.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "media/aud_props.h"
#include "platform/file.h"

namespace zr {

namespace {

constexpr uint32_t kRIFF = 0x46464952, kWAVE = 0x45564157, kFmt = 0x20746D66, kData = 0x61746164, kFact = 0x74636166;
constexpr uint16_t kPcm = 1, kFloat = 3, kExtensible = 0xFFFE;
constexpr int kMaxChunks = 4096;                   // a file of nothing but empty chunks would take for ever
constexpr uint64_t kMaxTail = uint64_t{16} << 20;  // chunks behind the samples, which move when samples are added
constexpr uint64_t kMaxFile = uint64_t{0xFFFFFFFF} + 8;
// The rest of a sample coding's id behind its first two bytes.
constexpr uint8_t arrCodingTail[14] = {0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};

uint16_t Get16(const uint8_t* _p) { return static_cast<uint16_t>(_p[0] | _p[1] << 8); }
uint32_t Get32(const uint8_t* _p) { return Get16(_p) | uint32_t{Get16(_p + 2)} << 16; }

void Put16(uint8_t* _p, uint32_t _n) {
    _p[0] = static_cast<uint8_t>(_n);
    _p[1] = static_cast<uint8_t>(_n >> 8);
}
void Put32(uint8_t* _p, uint32_t _n) {
    Put16(_p, _n);
    Put16(_p + 2, _n >> 16);
}

// The format chunk, of which _cb bytes are there.
HRESULT ParseFormat(const uint8_t* _p, size_t _cb, WAV_INFO* _pInfo) {
    if (_cb < 16) return ZR_E_INVALID_DATA;
    uint16_t nCoding = Get16(_p);
    const uint32_t nChannels = Get16(_p + 2), nRate = Get32(_p + 4), cbBlock = Get16(_p + 12);
    uint32_t nValidBits = Get16(_p + 14);
    const uint32_t nBits = nValidBits;
    if (nCoding == kExtensible) {
        if (_cb < 40) return ZR_E_INVALID_DATA;
        if (std::memcmp(_p + 26, arrCodingTail, sizeof(arrCodingTail)) != 0) return kUnsupportedAudio;
        nCoding = Get16(_p + 24);
        if (Get16(_p + 18) != 0) nValidBits = Get16(_p + 18);
    }
    if (nChannels == 0 || nRate == 0 || nRate > INT32_MAX || cbBlock == 0 || cbBlock % nChannels != 0)
        return ZR_E_INVALID_DATA;
    const uint32_t cbSample = cbBlock / nChannels;
    if (nChannels > kMaxAudioChannels || (nCoding != kPcm && nCoding != kFloat)) return kUnsupportedAudio;
    if (nBits == 0 || nBits > cbSample * 8 || nValidBits > cbSample * 8) return ZR_E_INVALID_DATA;
    if (nCoding == kFloat && (nBits != 32 || cbSample != 4)) return kUnsupportedAudio;
    if (cbSample > 4) return kUnsupportedAudio;

    // The bits of a sample that are not used are its low ones, so the container says how it reads.
    constexpr int32_t arrBits[] = {0, 16, 16, 24, 32};
    int32_t nFrameBits = arrBits[cbSample];
    if (nCoding == kFloat) nFrameBits = -32;
    if (cbSample == 3 && nValidBits <= 20) nFrameBits = 20;
    _pInfo->audProps = {static_cast<int32_t>(nChannels), static_cast<int32_t>(nRate), nFrameBits, 0};
    _pInfo->cbBlock = cbBlock;
    _pInfo->bBytes = cbSample == 1;
    return S_OK;
}

class FileSource final : public ByteSource {
public:
    HRESULT Open(const char16_t* _szName, File::Access _eAccess) {
        HRESULT hr = file.Open(_szName, _eAccess);
        if (Succeeded(hr)) hr = file.Size(&cbSize);
        return hr;
    }
    uint64_t Size() const override { return cbSize; }
    HRESULT ReadAt(uint64_t _nPosition, void* _pv, size_t _cb) const override {
        size_t cbRead = 0;
        const HRESULT hr = file.ReadAt(_nPosition, _pv, _cb, &cbRead);
        return hr == S_FALSE ? ZR_E_INVALID_DATA : hr;  // cut short since it was opened
    }
    File& Handle() { return file; }

private:
    File file;
    uint64_t cbSize = 0;
};

// All in front of the samples. Returns its bytes; the sizes in it are those of an empty file.
size_t MakeHeader(const ZR_AUD_PROPS& _props, uint8_t (&_arr)[80], size_t* _pnFactPosition) {
    const bool bFloat = _props.nBitsPerSample == -32;
    // 20 bits in three bytes can only be said in the long form.
    const bool bLong = _props.nBitsPerSample == 20;
    const auto nChannels = static_cast<uint32_t>(_props.nChannels);
    const auto nRate = static_cast<uint32_t>(_props.nSamplesPerSec);
    const auto cbSample = static_cast<uint32_t>(AudBytesPerSample(_props.nBitsPerSample));
    const uint32_t cbFormat = bLong ? 40 : bFloat ? 18 : 16;
    std::memset(_arr, 0, sizeof(_arr));
    Put32(_arr, kRIFF);
    Put32(_arr + 8, kWAVE);
    Put32(_arr + 12, kFmt);
    Put32(_arr + 16, cbFormat);
    uint8_t* p = _arr + 20;
    Put16(p, bLong ? kExtensible : bFloat ? kFloat : kPcm);
    Put16(p + 2, nChannels);
    Put32(p + 4, nRate);
    Put32(p + 8, nRate * nChannels * cbSample);
    Put16(p + 12, nChannels * cbSample);
    Put16(p + 14, cbSample * 8);
    if (bLong) {
        Put16(p + 16, 22);
        Put16(p + 18, 20);
        Put16(p + 24, kPcm);
        std::memcpy(p + 26, arrCodingTail, sizeof(arrCodingTail));
    }
    p += cbFormat;
    *_pnFactPosition = 0;
    if (bFloat) {
        Put32(p, kFact);
        Put32(p + 4, 4);
        *_pnFactPosition = static_cast<size_t>(p + 8 - _arr);
        p += 12;
    }
    Put32(p, kData);
    return static_cast<size_t>(p + 8 - _arr);
}

// Writes samples where a file's samples end, and what the file had behind them after that; then the sizes.
HRESULT AddSamples(File* _pFile, const WAV_INFO& _info, const std::vector<uint8_t>& _arrTail, const uint8_t* _p,
                   uint32_t _cb) {
    const uint64_t cbData = _info.cbData + _cb;
    const uint64_t nEnd = _info.nDataPosition + cbData + cbData % 2;
    if (nEnd + _arrTail.size() > kMaxFile) return kFileTooLarge;
    HRESULT hr = _pFile->WriteAt(_info.nDataPosition + _info.cbData, _p, _cb);
    if (Succeeded(hr) && cbData % 2 != 0) hr = _pFile->WriteAt(nEnd - 1, "", 1);
    if (Succeeded(hr) && !_arrTail.empty()) hr = _pFile->WriteAt(nEnd, _arrTail.data(), _arrTail.size());
    uint8_t arr[4];
    Put32(arr, static_cast<uint32_t>(cbData));
    if (Succeeded(hr)) hr = _pFile->WriteAt(_info.nDataPosition - 4, arr, 4);
    Put32(arr, static_cast<uint32_t>(nEnd + _arrTail.size() - 8));
    if (Succeeded(hr)) hr = _pFile->WriteAt(4, arr, 4);
    Put32(arr, static_cast<uint32_t>(cbData / _info.cbBlock));
    if (Succeeded(hr) && _info.nFactPosition > 0) hr = _pFile->WriteAt(_info.nFactPosition, arr, 4);
    return hr;
}

HRESULT Append(FileSource* _pSource, const uint8_t* _p, uint32_t _cb) {
    WAV_INFO info;
    HRESULT hr = WavParse(*_pSource, &info);
    if (Failed(hr)) return hr;
    const uint64_t nTail = info.nDataPosition + info.cbDataDeclared + info.cbDataDeclared % 2;
    std::vector<uint8_t> arrTail;
    if (nTail < _pSource->Size()) {
        if (_pSource->Size() - nTail > kMaxTail) return ZR_E_NOT_SUPPORTED;
        try {
            arrTail.resize(_pSource->Size() - nTail);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        hr = _pSource->ReadAt(nTail, arrTail.data(), arrTail.size());
        if (Failed(hr)) return hr;
    }
    return AddSamples(&_pSource->Handle(), info, arrTail, _p, _cb);
}

}  // namespace

HRESULT WavParse(const ByteSource& _source, WAV_INFO* _pInfo) {
    *_pInfo = {};
    uint8_t arr[40];
    const uint64_t cbAll = _source.Size();
    if (cbAll < 12) return ZR_E_INVALID_DATA;
    HRESULT hr = _source.ReadAt(0, arr, 12);
    if (Failed(hr)) return hr;
    if (Get32(arr) != kRIFF || Get32(arr + 8) != kWAVE) return ZR_E_INVALID_DATA;
    uint64_t nPosition = 12;
    for (int i = 0; i < kMaxChunks && nPosition + 8 <= cbAll; ++i) {
        hr = _source.ReadAt(nPosition, arr, 8);
        if (Failed(hr)) return hr;
        const uint32_t nKind = Get32(arr);
        const uint64_t cbChunk = Get32(arr + 4), nContent = nPosition + 8,
                       cbThere = std::min(cbChunk, cbAll - nContent);
        if (nKind == kFmt && _pInfo->cbBlock == 0) {
            const auto cbFormat = static_cast<size_t>(std::min<uint64_t>(cbThere, sizeof(arr)));
            hr = _source.ReadAt(nContent, arr, cbFormat);
            if (Succeeded(hr)) hr = ParseFormat(arr, cbFormat, _pInfo);
            if (Failed(hr)) return hr;
        } else if (nKind == kFact && cbThere >= 4) {
            _pInfo->nFactPosition = nContent;
        } else if (nKind == kData && _pInfo->nDataPosition == 0) {
            _pInfo->nDataPosition = nContent;
            _pInfo->cbData = cbThere;  // a file that was cut, or never finished, has less than it says
            _pInfo->cbDataDeclared = cbChunk;
        }
        nPosition = nContent + cbChunk + cbChunk % 2;
    }
    if (_pInfo->cbBlock == 0 || _pInfo->nDataPosition == 0) return ZR_E_INVALID_DATA;
    _pInfo->cbData -= _pInfo->cbData % _pInfo->cbBlock;
    return S_OK;
}

HRESULT WavRead(const ByteSource& _source, const WAV_INFO& _info, uint64_t _nFirst, uint32_t _nCount, uint8_t* _pOut) {
    if (_nFirst > _info.Samples() || _nCount > _info.Samples() - _nFirst) return E_INVALIDARG;
    const uint64_t nPosition = _info.nDataPosition + _nFirst * _info.cbBlock;
    const size_t cb = size_t{_nCount} * _info.cbBlock;
    if (cb == 0) return S_OK;
    if (!_info.bBytes) return _source.ReadAt(nPosition, _pOut, cb);
    // Into the upper half of the room, from where the samples spread over all of it.
    const HRESULT hr = _source.ReadAt(nPosition, _pOut + cb, cb);
    if (Failed(hr)) return hr;
    for (size_t i = 0; i < cb; ++i) {
        const uint8_t nSample = _pOut[cb + i];
        _pOut[2 * i] = 0;
        _pOut[2 * i + 1] = nSample ^ 0x80;
    }
    return S_OK;
}

class WavFile::Source {
public:
    FileSource file;
};

WavFile::WavFile() = default;
WavFile::~WavFile() = default;

HRESULT WavFile::Open(const char16_t* _szName) {
    pSource.reset(new (std::nothrow) Source);
    if (!pSource) return E_OUTOFMEMORY;
    const HRESULT hr = pSource->file.Open(_szName, File::Access::Read);
    return Failed(hr) ? hr : WavParse(pSource->file, &info);
}

HRESULT WavFile::Read(uint64_t _nFirst, uint32_t _nCount, uint8_t* _pOut) const {
    return WavRead(pSource->file, info, _nFirst, _nCount, _pOut);
}

HRESULT WavSave(const char16_t* _szName, const ZR_AUD_PROPS& _props, const uint8_t* _p, uint32_t _cb, bool _bAppend) {
    const int64_t cbBlock = AudBlockBytes(_props);
    if (cbBlock == 0 || _props.nChannels > kMaxAudioChannels) return E_INVALIDARG;
    FileSource source;
    HRESULT hr = ZR_E_NOT_FOUND_FILE;
    if (_bAppend) hr = source.Open(_szName, File::Access::Update);
    if (Succeeded(hr)) return Append(&source, _p, _cb);
    if (hr != ZR_E_NOT_FOUND_FILE) return hr;

    hr = source.Open(_szName, File::Access::Create);
    if (Failed(hr)) return hr;
    uint8_t arrHeader[80];
    size_t nFactPosition = 0;
    const size_t cbHeader = MakeHeader(_props, arrHeader, &nFactPosition);
    hr = source.Handle().WriteAt(0, arrHeader, cbHeader);
    WAV_INFO info;
    info.cbBlock = static_cast<uint32_t>(cbBlock);
    info.nDataPosition = cbHeader;
    info.nFactPosition = nFactPosition;
    return Failed(hr) ? hr : AddSamples(&source.Handle(), info, {}, _p, _cb);
}

}  // namespace zr
