#include "video/block_mask.h"

#include <new>
#include <utility>

#include "platform/wide_text.h"

namespace zr {

namespace {

// Nobody else holds it.
bool IsOurs(const CAutoObj<MaskPlane>& _p) {
    if (!_p) return false;
    const uint32_t nHolders = _p->AddRef() - 1;
    _p->Release();
    return nHolders == 1;
}

}  // namespace

bool BlockMask::IsNone(std::u16string_view _name) { return _name.empty() || EqualNoCase(_name, u"none"); }

HRESULT BlockMask::Load(const char16_t* _szNameOrPath, STATE* _pState) {
    STATE& state = *_pState;
    state.name = _szNameOrPath ? _szNameOrPath : u"";
    state.bLookedUp = true;
    if (IsNone(state.name)) return S_OK;
    state.pPicture = MaskPlane::Make();
    if (!state.pPicture) return E_OUTOFMEMORY;
    const HRESULT hr = LoadMaskFile(_szNameOrPath, *state.pPicture);
    if (Succeeded(hr)) return S_OK;
    state.pPicture.Reset();
    state.eShape = ReadMaskShape(state.name);
    if (state.eShape != eMaskShape::None) return S_OK;
    return hr == ZR_E_NOT_FOUND_FILE ? E_INVALIDARG : hr;
}

HRESULT BlockMask::SetMask(const char16_t* _szNameOrPath, bool _bScreen) {
    STATE state;
    try {
        {
            MutexLock lock(mtx);
            const STATE& now = arrStates[_bScreen];
            if (now.bLookedUp && EqualNoCase(now.name, _szNameOrPath ? _szNameOrPath : u"")) return S_FALSE;
        }
        const HRESULT hr = Load(_szNameOrPath, &state);
        if (Failed(hr)) return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    MutexLock lock(mtx);
    STATE& now = arrStates[_bScreen];
    if (!state.pPicture && EqualNoCase(now.name, state.name)) {  // the shape that it has
        now.bLookedUp = true;
        return S_FALSE;
    }
    std::swap(now, state);
    return S_OK;
}

HRESULT BlockMask::SetShape(const char16_t* _szName, bool _bScreen) try {
    STATE state;
    state.name = _szName ? _szName : u"";
    state.bLookedUp = IsNone(state.name);
    state.eShape = ReadMaskShape(state.name);
    if (state.eShape == eMaskShape::None && !state.bLookedUp) return S_FALSE;
    MutexLock lock(mtx);
    std::swap(arrStates[_bScreen], state);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT BlockMask::Mask(int32_t _nWidth, int32_t _nHeight, bool _bScreen, eInterpolation _eQuality,
                        CAutoObj<MaskPlane>* _ppMask) {
    _ppMask->Reset();
    MutexLock lock(mtx);
    STATE& state = arrStates[_bScreen];
    if (state.Empty()) return S_OK;
    const auto Fits = [&](const CAutoObj<MaskPlane>& _p) {
        return _p && _p->Width() == _nWidth && _p->Height() == _nHeight;
    };
    if (Fits(state.pPicture)) {
        *_ppMask = state.pPicture;
        return S_OK;
    }
    if (!Fits(state.pScaled)) {
        // Someone may still mix with the old one.
        CAutoObj<MaskPlane> pScaled = IsOurs(state.pSpare) ? std::move(state.pSpare) : MaskPlane::Make();
        if (!pScaled) return E_OUTOFMEMORY;
        HRESULT hr = S_OK;
        if (state.pPicture) {
            hr = ScaleMask(engine, *state.pPicture, _nWidth, _nHeight, _eQuality, *pScaled);
        } else {
            hr = pScaled->Resize(_nWidth, _nHeight);
            if (Succeeded(hr)) hr = DrawMaskShape(state.eShape, *pScaled, engine.rows);
        }
        if (Failed(hr)) return hr;
        state.pSpare = std::exchange(state.pScaled, std::move(pScaled));
    }
    *_ppMask = state.pScaled;
    return S_OK;
}

}  // namespace zr
