#include "video/picture_file.h"

#include <new>
#include <vector>

#include "platform/class_registry.h"
#include "platform/file.h"
#include "video/picture_file_bmp.h"
#include "video/picture_file_tga.h"
#include "zr/ptr.h"

namespace zr {

namespace {

constexpr uint64_t kMaxFileBytes = INT32_MAX;
constexpr int32_t kQuality = 92;  // of JPEG: a loss that is not seen

// ZR_E_NOT_SUPPORTED: no backend has one.
HRESULT FindCodec(ZrPtr<IPictureCodec_I>* _ppCodec) {
    void* pv = nullptr;
    const HRESULT hr = CreateInstance(kClsidPictureCodec, IPictureCodec_I::kIid, &pv);
    if (hr == REGDB_E_CLASSNOTREG) return ZR_E_NOT_SUPPORTED;
    if (Succeeded(hr)) *_ppCodec = ZrPtr<IPictureCodec_I>::Attach(static_cast<IPictureCodec_I*>(pv));
    return hr;
}

HRESULT ReadWhole(const char16_t* _szFileName, std::vector<uint8_t>* _parrBytes) {
    File file;
    HRESULT hr = file.Open(_szFileName, File::Access::Read);
    uint64_t cb = 0;
    if (Succeeded(hr)) hr = file.Size(&cb);
    if (Failed(hr)) return hr;
    if (cb > kMaxFileBytes) return ZR_E_INVALID_DATA;
    try {
        _parrBytes->resize(static_cast<size_t>(cb));
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    size_t cbRead = 0;
    hr = file.ReadAt(0, _parrBytes->data(), _parrBytes->size(), &cbRead);
    return hr == S_FALSE ? ZR_E_INVALID_DATA : hr;  // it became shorter meanwhile
}

}  // namespace

HRESULT ReadPictureFile(const char16_t* _szFileName, PictureTarget* _pTarget) {
    if (!_szFileName || !_pTarget) return E_POINTER;
    std::vector<uint8_t> arrFile;
    HRESULT hr = ReadWhole(_szFileName, &arrFile);
    if (Failed(hr)) return hr;
    if (arrFile.empty()) return ZR_E_INVALID_DATA;
    const ePictureType eType = PictureTypeOf(_szFileName);
    if (eType == ePictureType::Tga) return ReadTga(arrFile.data(), arrFile.size(), _pTarget);
    if (IsBmp(arrFile.data(), arrFile.size())) return ReadBmp(arrFile.data(), arrFile.size(), _pTarget);
    ZrPtr<IPictureCodec_I> pCodec;
    hr = FindCodec(&pCodec);
    if (Succeeded(hr)) return pCodec->Decode(arrFile.data(), arrFile.size(), _pTarget);
    return eType == ePictureType::Bmp ? ZR_E_INVALID_DATA : hr;
}

HRESULT WritePictureFile(const char16_t* _szFileName, const PICTURE_ROWS& _picture) {
    if (!_szFileName) return E_POINTER;
    const ePictureType eType = PictureTypeOf(_szFileName);
    std::vector<uint8_t> arrFile;
    HRESULT hr = ZR_E_NOT_SUPPORTED;
    ZrPtr<IPictureCodec_I> pCodec;
    switch (eType) {
        case ePictureType::Unknown: break;
        case ePictureType::Bmp: hr = WriteBmp(_picture, &arrFile); break;
        case ePictureType::Tga: hr = WriteTga(_picture, &arrFile); break;
        default:
            hr = FindCodec(&pCodec);
            if (Succeeded(hr)) hr = pCodec->Encode(eType, _picture, kQuality, &arrFile);
    }
    if (Failed(hr)) return hr;
    File file;
    hr = file.Open(_szFileName, File::Access::Create);
    return Failed(hr) ? hr : file.WriteAt(0, arrFile.data(), arrFile.size());
}

}  // namespace zr
