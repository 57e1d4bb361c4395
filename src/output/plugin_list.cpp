#include "output/plugin_list.h"

#include <algorithm>
#include <utility>

#include "attributes/attr_text.h"
#include "attributes/interface_call.h"
#include "platform/trace.h"

namespace zr {
namespace {

constexpr AttrColour kGreen{0xFF008000};

template <class List>
auto FindIn(List& _entries, IUnknown* _pIdentity) {
    return std::find_if(_entries.begin(), _entries.end(),
                        [&](const auto& _e) { return _e.pPlugin.Get() == _pIdentity; });
}

}  // namespace

// --- The list

// What there was goes without the lock: the last reference to a plug-in may be in it.
template <class Change>
HRESULT PluginList::ChangeEntries(Change _change) {
    return InterfaceCall([&] {
        const auto pNew = std::make_shared<Entries>();
        EntriesPtr pOld;
        CRWWriteScope scope(lock, "ChangeEntries");
        *pNew = *pEntries;
        const HRESULT hr = _change(*pNew);
        if (hr != S_OK) return hr;
        pOld = std::exchange(pEntries, pNew);
        nCount.store(pNew->size(), std::memory_order_release);
        return hr;
    });
}

PluginList::EntriesPtr PluginList::Now() const {
    CRWReadScope scope(lock);
    return pEntries;
}

HRESULT PluginList::GetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    *_pnCount = static_cast<int32_t>(nCount.load(std::memory_order_acquire));
    return S_OK;
}

HRESULT PluginList::GetByIndex(int32_t _nIndex, IUnknown** _ppPlugin, int64_t* _pllUserData) const {
    if (!_ppPlugin) return E_POINTER;
    *_ppPlugin = nullptr;
    const EntriesPtr p = Now();
    if (_nIndex < 0 || static_cast<size_t>(_nIndex) >= p->size()) return ZR_E_BAD_INDEX;
    const ENTRY& entry = (*p)[static_cast<size_t>(_nIndex)];
    if (_pllUserData) *_pllUserData = entry.llUserData;
    return entry.pPlugin.CopyTo(_ppPlugin);
}

HRESULT PluginList::Add(IUnknown* _pPlugin, int64_t _llUserData) {
    if (!_pPlugin) return E_POINTER;
    ENTRY entry{QueryAs<IUnknown>(_pPlugin), QueryAs<IZrPlugin>(_pPlugin), _llUserData};
    return ChangeEntries([&](Entries& _entries) {
        _entries.push_back(std::move(entry));
        return S_OK;
    });
}

HRESULT PluginList::Remove(IUnknown* _pPlugin) {
    const ZrPtr<IUnknown> pIdentity = QueryAs<IUnknown>(_pPlugin);
    return ChangeEntries([&](Entries& _entries) {
        const auto IsIt = [&](const ENTRY& _entry) { return !_pPlugin || _entry.pPlugin == pIdentity; };
        const auto it = std::remove_if(_entries.begin(), _entries.end(), IsIt);
        if (it == _entries.end()) return _pPlugin ? ZR_E_NOT_FOUND : S_FALSE;
        _entries.erase(it, _entries.end());
        return S_OK;
    });
}

HRESULT PluginList::Reorder(IUnknown* _pPlugin, int32_t _nOrderChange) {
    if (!_pPlugin) return E_POINTER;
    const ZrPtr<IUnknown> pIdentity = QueryAs<IUnknown>(_pPlugin);
    return ChangeEntries([&](Entries& _entries) {
        const auto it = FindIn(_entries, pIdentity.Get());
        if (it == _entries.end()) return ZR_E_NOT_FOUND;
        const int64_t nFrom = it - _entries.begin();
        const int64_t nLast = static_cast<int64_t>(_entries.size()) - 1;
        const auto itTo = _entries.begin() + std::clamp<int64_t>(nFrom + _nOrderChange, 0, nLast);
        if (itTo == it) return S_FALSE;
        itTo > it ? std::rotate(it, it + 1, itTo + 1) : std::rotate(itTo, it, it + 1);
        return S_OK;
    });
}

// --- Frames

void PluginList::ReadKeys() {
    bOptimization = pKeys->AttributeOr(u"plugins.optimization", true);
    bMeters = pKeys->AttributeOr(u"overlay_rms", false);
    bWaveform = pKeys->AttributeOr(u"overlay_waveform", false);
    bOverlays = bMeters || bWaveform;
    dblMetersPos = pKeys->AttributeOr(u"overlay_rms.pos", 0.1);
    dblWaveformPos = pKeys->AttributeOr(u"overlay_waveform.pos", -0.3);
    const std::u16string text = pKeys->AttributeOr(u"overlay_rms.color", u"green");
    colour = FILL_COLOUR::Of(ReadColour(text, kGreen));
}

HRESULT PluginList::ProcessFrame(IUnknown* _pSender, IZrFFrame* _pFrame, IZrFFrame** _ppFrame) {
    if (!_pSender || !_pFrame || !_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    return InterfaceCall([&] {
        if (bKeysSet.exchange(false, std::memory_order_acquire)) ReadKeys();
        ZrPtr<IZrFFrame> pWork(_pFrame);
        if (bOverlays) DrawOverlays(*_pFrame, pWork);
        if (nCount.load(std::memory_order_acquire) == 0) {
            *_ppFrame = pWork.Detach();
            return S_OK;
        }
        ZrPtr<IZrFrame> pGiven = pWork.As<IZrFrame>();
        if (!pGiven) return E_NOINTERFACE;
        CallPlugins(_pSender, pWork.Get() == _pFrame, pGiven);
        *_ppFrame = pGiven.As<IZrFFrame>().Detach();
        return *_ppFrame ? S_OK : E_NOINTERFACE;
    });
}

// Both into the same new frame: the input may have other readers.
void PluginList::DrawOverlays(IZrFFrame& _frame, ZrPtr<IZrFFrame>& _pWork) {
    if (!overlay.Listen(_frame)) return;
    const auto Draw = [&](const char* _szLabel, auto _draw) {
        const TraceScope trace(_szLabel);
        ZrPtr<IZrFFrame> pNew = _pWork;
        if (pNew.Get() == &_frame && Failed(_frame.ZrFClone(pNew.Out(), eZrFC_Full, eZrFCC_Default))) return;
        if (Succeeded(_draw(*pNew))) _pWork = std::move(pNew);
    };
    if (bMeters) Draw("overlay_rms", [&](IZrFFrame& _new) { return overlay.DrawMeters(_new, dblMetersPos, colour); });
    if (bWaveform)
        Draw("overlay_waveform", [&](IZrFFrame& _new) { return overlay.DrawWaveform(_new, dblWaveformPos); });
}

// _bInput: the working frame is the one that came in.
void PluginList::CallPlugins(IUnknown* _pSender, bool _bInput, ZrPtr<IZrFrame>& _pWork) {
    bGiven.store(true, std::memory_order_relaxed);
    TellPlugins([&](const ENTRY& _entry) {
        const TraceScope trace("Plugin::OnMediaReceive");
        ZrPtr<IZrFrame> pResult;
        IZrFrame** const ppSlot = _bInput || !bOptimization ? pResult.Out() : nullptr;
        const HRESULT hr = _entry.pFace->OnMediaReceive(_entry.llUserData, _pSender, _pWork.Get(), ppSlot);
        if (Failed(hr) || !pResult || pResult == _pWork) return;
        _pWork = std::move(pResult);
        _bInput = false;
    });
}

template <class Call>
void PluginList::TellPlugins(Call _call) const {
    const EntriesPtr p = Now();
    for (auto it = p->rbegin(); it != p->rend(); ++it)
        if (it->pFace) _call(*it);
}

void PluginList::MediaFlush() {
    if (!bGiven.load(std::memory_order_relaxed)) return;
    TellPlugins([&](const ENTRY& _entry) { _entry.pFace->OnMediaFlush(_entry.llUserData, &self, 0); });
}

void PluginList::MediaEnd() {
    if (!bGiven.exchange(false, std::memory_order_relaxed)) return;
    TellPlugins([&](const ENTRY& _entry) { _entry.pFace->OnMediaEnd(_entry.llUserData, &self, 0); });
}

}  // namespace zr
