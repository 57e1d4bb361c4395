#include "mixer/mixer_links.h"

#include <new>

namespace zr {
namespace {

constexpr const char16_t *kConnect = u"connect", *kDisconnect = u"disconnect";

}  // namespace

LinkEvents::~LinkEvents() {
    try {
        for (const EVENT& event : arrEvents) {
            if (event.szEvent != kConnect) EndPlugins(event.pItem);
            if (!event.szEvent) continue;
            sink.RaiseEvent(links.state.name.Get()->c_str(), event.szEvent, event.pItem->Name().c_str(),
                            static_cast<IZrItem*>(event.pItem.Get()));
        }
    } catch (const std::bad_alloc&) {
        // Nobody hears of it; what it tells of has happened all the same.
    }
}

void LinkEvents::EndPlugins(const ZrPtr<CCoZrItem>& _pItem) {
    pLater ? pLater->AddEnd(_pItem) : _pItem->Plugins_I().MediaEnd();
}

void MixerLinks::ConnectAll(double _dblSeconds, LinkEvents& _events) {
    std::vector<MIX_INPUT> arrInputs;
    MutexLock lock(streams.mtxChange);
    streams.Collect(arrInputs);
    ConnectBackground(_events);
    for (const MIX_INPUT& input : arrInputs) {
        if (input.pStream) Connect(input, _dblSeconds, _events);
    }
}

HRESULT MixerLinks::ConnectItem(IZrItem* _pItem, double _dblSeconds, LinkEvents& _events) {
    MutexLock lock(streams.mtxChange);
    CInputStream input;
    const bool bStream = streams.Find(_pItem, &input) >= 0;
    if (!bStream && static_cast<IZrItem*>(streams.Background().Get()) != _pItem) return ZR_E_NOT_FOUND_FILE;
    ConnectBackground(_events);
    if (bStream) Connect(input, _dblSeconds, _events);
    return S_OK;
}

// With the first input: it has no stream that would say whether it is connected.
void MixerLinks::ConnectBackground(LinkEvents& _events) {
    const ZrPtr<CCoZrItem> pBackground = streams.Background();
    if (pBackground && !bConnected) Connect({pBackground, {}}, -1.0, _events);
    bConnected = true;
}

void MixerLinks::DisconnectAll(LinkEvents& _events) {
    std::vector<MIX_INPUT> arrInputs;
    MutexLock lock(streams.mtxChange);
    if (!bConnected) return;
    bConnected = false;
    streams.Collect(arrInputs);
    for (const MIX_INPUT& input : arrInputs) Disconnect(input, _events);
}

void MixerLinks::PauseAll(double _dblSeconds) {
    std::vector<MIX_INPUT> arrInputs;
    MutexLock lock(streams.mtxChange);
    streams.Collect(arrInputs);
    for (const MIX_INPUT& input : arrInputs) {
        if (input.pStream) input.pStream->Pause(_dblSeconds);
    }
}

void MixerLinks::Connect(const CInputStream& _input, double _dblSeconds, LinkEvents& _events) {
    const bool bWasOpen = _input.pStream && _input.pStream->IsOpen();
    if (_input.pStream) {
        _input.pStream->Connect();
        _input.pStream->Pause(_dblSeconds);
    }
    if (!bWasOpen) _events.Add(kConnect, _input.pItem);
}

void MixerLinks::Disconnect(const CInputStream& _input, LinkEvents& _events) {
    if (_input.pStream) {
        if (!_input.pStream->IsOpen()) return;
        _input.pStream->ClearBlocks();
    }
    _events.Add(kDisconnect, _input.pItem);
}

void MixerLinks::ConnectNew(const CInputStream& _input, LinkEvents& _events) {
    if (bConnected) Connect(_input, state.Get() == eZrS_Paused ? 0.0 : -1.0, _events);
}

void MixerLinks::DisconnectOld(const CInputStream& _input, LinkEvents& _events) {
    if (!bConnected) return;
    if (!streams.Uses(_input.pItem->Source())) {
        Disconnect(_input, _events);
        return;
    }
    if (_input.pStream && _input.pStream->IsOpen()) _input.pStream->ClearBlocks();
    _events.AddEnd(_input.pItem);
}

}  // namespace zr
