#include "mixer/mixer_background.h"

#include "attributes/interface_call.h"

namespace zr {

// Puts another background, or none, in place, and ends the old one. S_FALSE: its source is the background already.
HRESULT MixerBackground::Exchange(ZrPtr<CCoZrItem> _pItem) {
    ZrPtr<CCoZrItem> pOld;
    {
        LinkEvents events(links, sink);
        MutexLock lockChange(links.streams.mtxChange);
        MutexLock lockCycle(cycle.mtxCycle);
        if (_pItem) {
            const ZrPtr<CCoZrItem> pPresent = links.streams.Background();
            if (pPresent && pPresent->Source() == _pItem->Source()) return S_FALSE;
            if (cycle.HasOnePlace() && links.streams.Uses(_pItem->Source())) return ZR_E_EXISTS;
        }
        pOld = links.streams.ExchangeBackground(_pItem);
        if (pOld) links.DisconnectOld({pOld, {}}, events);
        if (_pItem) links.ConnectNew({_pItem, {}}, events);
    }
    cycle.producers.Update();
    if (pOld && !links.streams.Uses(pOld->Source())) pOld->Close();
    return S_OK;
}

HRESULT MixerBackground::Set(IUnknown* _pExternOrRef, std::u16string_view _path, std::u16string_view _param,
                             IZrItem** _ppItem) {
    if (_ppItem) *_ppItem = nullptr;
    ZrPtr<CCoZrItem> pItem;
    if (_pExternOrRef || !_path.empty()) {
        if (const HRESULT hr = maker.Make(_pExternOrRef, _path, _param, pItem); Failed(hr)) return hr;
    }
    const HRESULT hr = Exchange(pItem);
    if (hr != S_OK) return hr;
    if (_ppItem) ZrPtr<IZrItem>(pItem).CopyTo(_ppItem);
    cycle.Wake();
    return S_OK;
}

HRESULT MixerBackground::SetColour(std::u16string_view _path) {
    ZrPtr<CCoZrItem> pItem;
    const HRESULT hr = maker.MakeFile(_path, {}, pItem);
    return Failed(hr) ? hr : Exchange(std::move(pItem));
}

HRESULT MixerBackground::Get(BSTR* _pbsPath, IZrItem** _ppItem) const {
    if (_pbsPath) *_pbsPath = nullptr;
    if (_ppItem) *_ppItem = nullptr;
    const ZrPtr<CCoZrItem> pItem = links.streams.Background();
    if (!pItem) return S_FALSE;
    if (_pbsPath) {
        if (const HRESULT hr = GiveText(pItem->Path(), _pbsPath); Failed(hr)) return hr;
    }
    if (_ppItem) ZrPtr<IZrItem>(pItem).CopyTo(_ppItem);
    return S_OK;
}

}  // namespace zr
