#include <cstring>
#include <string_view>
#include <utility>

#include "frame_module/frame.h"

namespace zr {

namespace {

// An id that names something. Null: E_POINTER, empty: E_INVALIDARG.
HRESULT CheckID(const char16_t* _szID) {
    if (!_szID) return E_POINTER;
    return *_szID ? S_OK : E_INVALIDARG;
}

HRESULT CopyText(std::u16string_view _sv, BSTR* _pbs) {
    *_pbs = SysAllocStringLen(_sv.data(), static_cast<uint32_t>(_sv.size()));
    return *_pbs ? S_OK : E_OUTOFMEMORY;
}

HRESULT GiveObject(const ZrPtr<IUnknown>& _pObject, bool _bMakeLocal, IUnknown** _pp) {
    if (_bMakeLocal && QueryAs<IZrFFrame>(_pObject.Get())) {
        ZrPtr<IZrFFrame> pLocal;
        const HRESULT hr = MakeFrameLocal(_pObject.Get(), false, &pLocal);
        if (Failed(hr)) return hr;
        *_pp = pLocal.As<IUnknown>().Detach();
        return S_OK;
    }
    return _pObject.CopyTo(_pp);
}

}  // namespace

// The record of planes comes behind the list, as the last of the data.
HRESULT CZrFrame::Data_I(int32_t _nIndex, std::u16string_view* _psvID, int32_t* _pcb, int64_t* _pp) {
    *_pcb = 0;
    *_pp = 0;
    if (const Attachment* pItem = content.data.At(_nIndex)) {
        *_psvID = pItem->ID();
        *_pcb = static_cast<int32_t>(pItem->Size());
        *_pp = reinterpret_cast<int64_t>(pItem->Data());
        return S_OK;
    }
    if (!content.picture.bHasPlanes || _nIndex != static_cast<int32_t>(content.data.Count())) return ZR_E_BAD_INDEX;
    *_psvID = szVideoPlanesID;
    *_pcb = sizeof(ZRF_VID_PTR);
    *_pp = reinterpret_cast<int64_t>(&content.picture.planes);
    return S_OK;
}

HRESULT CZrFrame::ZrFDataGetByIndex(int32_t _nIndex, BSTR* _pbsDataID, int32_t* _pcbANCData, int64_t* _ppbANCData) {
    if (!_pbsDataID || !_pcbANCData || !_ppbANCData) return E_POINTER;
    *_pbsDataID = nullptr;
    std::u16string_view svID;
    const HRESULT hr = Data_I(_nIndex, &svID, _pcbANCData, _ppbANCData);
    return Failed(hr) ? hr : CopyText(svID, _pbsDataID);
}

HRESULT CZrFrame::ZrFDataGet(const char16_t* _bsDataID, int32_t* _pcbANCData, int64_t* _ppbANCData) {
    if (!_pcbANCData || !_ppbANCData) return E_POINTER;
    *_pcbANCData = 0;
    *_ppbANCData = 0;
    const HRESULT hr = CheckID(_bsDataID);
    if (Failed(hr)) return hr;
    if (const Attachment* pItem = content.data.Find(_bsDataID)) {
        *_pcbANCData = static_cast<int32_t>(pItem->Size());
        *_ppbANCData = reinterpret_cast<int64_t>(pItem->Data());
        return S_OK;
    }
    if (!content.picture.bHasPlanes || std::u16string_view(_bsDataID) != szVideoPlanesID) return ZR_E_NOT_FOUND;
    *_pcbANCData = sizeof(ZRF_VID_PTR);
    *_ppbANCData = reinterpret_cast<int64_t>(&content.picture.planes);
    return S_OK;
}

HRESULT CZrFrame::ZrFDataSet(const char16_t* _bsDataID, int32_t _cbANCData, int64_t _pbANCData) {
    const HRESULT hr = CheckID(_bsDataID);
    if (Failed(hr)) return hr;
    if (_cbANCData < 0) return E_INVALIDARG;
    if (_cbANCData > 0 && _pbANCData == 0) return E_POINTER;
    if (std::u16string_view(_bsDataID) == szVideoPlanesID) return PlanesSet_I(_cbANCData, _pbANCData);
    if (_cbANCData == 0) return content.data.Remove(_bsDataID) ? S_OK : S_FALSE;
    return content.data.Set(_bsDataID, reinterpret_cast<const void*>(_pbANCData), static_cast<uint32_t>(_cbANCData));
}

HRESULT CZrFrame::PlanesSet_I(int32_t _cb, int64_t _pb) {
    Picture& picture = content.picture;
    if (_cb == 0) {
        // A part of planes is not where the record alone would find it.
        if (picture.bPart && PlaneCount(content.avProps.vidProps.fccType) > 1) return E_INVALIDARG;
        return std::exchange(picture.bHasPlanes, false) ? S_OK : S_FALSE;
    }
    if (_cb != sizeof(ZRF_VID_PTR)) return E_INVALIDARG;
    ZRF_VID_PTR planes;
    std::memcpy(&planes, reinterpret_cast<const void*>(_pb), sizeof(planes));
    return PictureSetPlanes(content.avProps.vidProps, planes, &picture);
}

HRESULT CZrFrame::ZrFObjGetByIndex(int32_t _nIndex, BSTR* _pbsObjID, IUnknown** _ppObj, int32_t _bMakeFrameLocal) {
    if (!_pbsObjID || !_ppObj) return E_POINTER;
    *_pbsObjID = nullptr;
    *_ppObj = nullptr;
    const Attachment* pItem = content.objects.At(_nIndex);
    if (!pItem) return ZR_E_BAD_INDEX;
    ZrPtr<IUnknown> pObject;
    HRESULT hr = GiveObject(pItem->Object(), _bMakeFrameLocal != 0, pObject.Out());
    if (Succeeded(hr)) hr = CopyText(pItem->ID(), _pbsObjID);
    if (Succeeded(hr)) *_ppObj = pObject.Detach();
    return hr;
}

HRESULT CZrFrame::ZrFObjGet(const char16_t* _bsObjID, IUnknown** _ppObj, int32_t _bMakeFrameLocal) {
    if (!_ppObj) return E_POINTER;
    *_ppObj = nullptr;
    const HRESULT hr = CheckID(_bsObjID);
    if (Failed(hr)) return hr;
    const Attachment* pItem = content.objects.Find(_bsObjID);
    return pItem ? GiveObject(pItem->Object(), _bMakeFrameLocal != 0, _ppObj) : ZR_E_NOT_FOUND;
}

HRESULT CZrFrame::ZrFObjSet(const char16_t* _bsObjID, IUnknown* _pObj) {
    const HRESULT hr = CheckID(_bsObjID);
    if (Failed(hr)) return hr;
    if (!_pObj) return content.objects.Remove(_bsObjID) ? S_OK : S_FALSE;
    // A frame that held itself would never go.
    if (QueryAs<IUnknown>(_pObj).Get() == static_cast<IUnknown*>(static_cast<IZrFFrame*>(this))) return E_INVALIDARG;
    return content.objects.SetObject(_bsObjID, _pObj);
}

HRESULT CZrFrame::ZrFStrGetByIndex(int32_t _nIndex, BSTR* _pbsStrID, BSTR* _pbsString) {
    if (!_pbsStrID || !_pbsString) return E_POINTER;
    *_pbsStrID = nullptr;
    *_pbsString = nullptr;
    const Attachment* pItem = content.texts.At(_nIndex);
    if (!pItem) return ZR_E_BAD_INDEX;
    HRESULT hr = CopyText(pItem->ID(), _pbsStrID);
    if (Succeeded(hr)) hr = CopyText(pItem->Text(), _pbsString);
    if (Failed(hr)) SysFreeString(std::exchange(*_pbsStrID, nullptr));
    return hr;
}

HRESULT CZrFrame::ZrFStrGet(const char16_t* _bsStrID, BSTR* _pbsString) {
    if (!_pbsString) return E_POINTER;
    *_pbsString = nullptr;
    const HRESULT hr = CheckID(_bsStrID);
    if (Failed(hr)) return hr;
    const Attachment* pItem = content.texts.Find(_bsStrID);
    return pItem ? CopyText(pItem->Text(), _pbsString) : ZR_E_NOT_FOUND;
}

HRESULT CZrFrame::ZrFStrSet(const char16_t* _bsStrID, const char16_t* _bsString) {
    const HRESULT hr = CheckID(_bsStrID);
    if (Failed(hr)) return hr;
    if (!_bsString) return content.texts.Remove(_bsStrID) ? S_OK : S_FALSE;
    const std::u16string_view svText(_bsString);
    if (svText.size() > BufferPool::kMaxBytes / (2 * sizeof(char16_t))) return E_INVALIDARG;
    return content.texts.Set(_bsStrID, svText.data(), static_cast<uint32_t>(svText.size() * sizeof(char16_t)));
}

}  // namespace zr
