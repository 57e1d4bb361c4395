#include "mixer/mixer_control.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include "platform/clock.h"

namespace zr {
namespace {

// "2.500"
std::u16string SecondsText(double _dblSeconds) {
    char sz[352];  // of the largest double
    std::snprintf(sz, sizeof(sz), "%.3f", _dblSeconds);
    const std::string_view str(sz);
    return {str.begin(), str.end()};
}

int64_t TicksOf(double _dblSeconds) {
    const double dblTicks = _dblSeconds * static_cast<double>(kTicksPerSecond);
    constexpr double kMost = 9e18;
    return static_cast<int64_t>(std::round(std::fmin(dblTicks, kMost)));
}

}  // namespace

void MixerControl::Raise(DeferredEvents& _events, const char16_t* _szEvent, const char16_t* _szParam) {
    _events.RaiseEvent(parts.state.name.Get()->c_str(), _szEvent, _szParam, nullptr);
}

HRESULT MixerControl::ObjectStart() {
    DeferredEvents events(parts.events);
    ControlScope scope(parts.state, "ObjectStart");
    if (scope.IsRefused()) return ZR_E_RETRY;
    return Start_I(events);
}

HRESULT MixerControl::ObjectClose() {
    {
        DeferredEvents events(parts.events);
        ControlScope scope(parts.state, "ObjectClose");
        if (scope.IsRefused()) return ZR_E_RETRY;
        Close_I(events);
    }
    parts.output.EndPlugins();
    return S_OK;
}

HRESULT MixerControl::FilePlay(double _dblSeconds) {
    if (std::isnan(_dblSeconds)) return E_INVALIDARG;
    DeferredEvents events(parts.events);
    ControlScope scope(parts.state, "FilePlay");
    if (scope.IsRefused()) return ZR_E_RETRY;
    return Play_I(_dblSeconds, events);
}

HRESULT MixerControl::FilePlayStop(double _dblSeconds) {
    DeferredEvents events(parts.events);
    ControlScope scope(parts.state, "FilePlayStop");
    if (scope.IsRefused()) return ZR_E_RETRY;
    if (parts.state.Get() == eZrS_Closed) return S_FALSE;  // else it could not be started any more
    Mixer_Stop(events);
    parts.output.ResetPosition();
    parts.state.rtPauseRemainder = 0;
    parts.state.Set(eZrS_Stopped);
    Raise(events, u"stop", SecondsText(_dblSeconds).c_str());
    return S_OK;
}

HRESULT MixerControl::FileStateGet(eZrState* _peState, double* _pdblTimeRemain) {
    if (!_peState && !_pdblTimeRemain) return E_POINTER;
    const eZrState eState = parts.state.Get();
    if (_peState) *_peState = eState;
    if (_pdblTimeRemain) {
        *_pdblTimeRemain = eState == eZrS_Paused ? static_cast<double>(parts.state.rtPauseRemainder.load()) /
                                                       static_cast<double>(kTicksPerSecond)
                                                 : 0.0;
    }
    return S_OK;
}

HRESULT MixerControl::ItemPlay(IZrItem* _pItem, double _dblSeconds) {
    if (std::isnan(_dblSeconds)) return E_INVALIDARG;
    if (_dblSeconds >= 0 && !parts.props.Root()->AttributeOr(u"pause.no_input", false)) return ZR_E_RETRY;
    CInputStream input;
    if (parts.streams.Find(_pItem, &input) < 0) input.pItem = parts.streams.Background();
    if (static_cast<IZrItem*>(input.pItem.Get()) != _pItem) return ZR_E_NOT_FOUND_FILE;
    input.pItem->StartSource();
    eZrState eState = eZrS_Running;
    double dblRemain = 0;
    const ZrPtr<IZrFile> pSource = QueryAs<IZrFile>(input.pItem->Source());
    if (pSource && Succeeded(pSource->FileStateGet(&eState, &dblRemain)) && eState < eZrS_Paused) {
        return ZR_E_NOT_RUNNING;
    }
    DeferredEvents events(parts.events);
    ControlScope scope(parts.state, "ContainerFilePlayStart");
    if (scope.IsRefused()) return ZR_E_RETRY;
    HRESULT hr = S_OK;
    {
        LinkEvents links(parts.links, events);
        hr = parts.links.ConnectItem(_pItem, _dblSeconds, links);
    }
    if (Succeeded(hr)) hr = PlayWithItem_I(_pItem, _dblSeconds, events);
    parts.cycle.producers.Update();
    return hr;
}

// A mixer that is paused runs on with the input; one that is stopped starts with it alone.
HRESULT MixerControl::PlayWithItem_I(IZrItem* _pItem, double _dblSeconds, DeferredEvents& _events) {
    const eZrState eState = parts.state.Get();
    if (eState == eZrS_Paused && _dblSeconds <= 0) {
        parts.state.Set(eZrS_Running);
        parts.state.rtPauseRemainder = 0;
        parts.links.PauseAll(-1.0);
        Raise(_events, u"pause", u"pause-done");
        return S_OK;
    }
    return eState < eZrS_Paused ? PlayOpen_I(_pItem, _dblSeconds, _events) : S_OK;
}

HRESULT MixerControl::ItemStop(IZrItem* _pItem) {
    {
        LinkEvents links(parts.links, parts.events);
        MutexLock lock(parts.links.streams.mtxChange);
        CInputStream input;
        if (parts.links.streams.Find(_pItem, &input) < 0) {
            const bool bBackground = static_cast<IZrItem*>(parts.links.streams.Background().Get()) == _pItem;
            return bBackground ? S_OK : ZR_E_NOT_FOUND_FILE;
        }
        parts.links.Disconnect(input, links);
        input.pStream->Pause(-1.0);
    }
    parts.cycle.producers.Update();
    return S_OK;
}

HRESULT MixerControl::Start_I(DeferredEvents& _events) {
    if (parts.state.Get() >= eZrS_Stopped) return S_FALSE;
    parts.statistics.Clear();
    const HRESULT hr = OnObjectStart(_events);
    if (Failed(hr)) {
        Close_I(_events);
        parts.state.Set(eZrS_Error);
        return hr;
    }
    if (parts.state.Get() < eZrS_Stopped) parts.state.Set(eZrS_Running);
    return S_OK;
}

HRESULT MixerControl::OnObjectStart(DeferredEvents& _events) {
    // A background that is there already was put there by the host and stays.
    const std::u16string colour = parts.props.Object()->AttributeOr(u"background", u"black");
    if (!colour.empty() && !parts.streams.Background()) {
        if (const HRESULT hr = parts.background.SetColour(colour); Failed(hr)) return hr;
    }
    parts.sender.Show(*parts.state.name.Get());
    parts.state.Set(eZrS_Stopped);
    if (!parts.props.Root()->AttributeOr(u"auto_start", true)) return S_OK;
    return Play_I(-1.0, _events);
}

void MixerControl::Close_I(DeferredEvents& _events) {
    parts.sender.Hide();
    Mixer_Stop(_events);
    parts.background.Close();
    parts.inputs.Close();
    parts.output.Close();
    parts.statistics.Clear();
    parts.tracks.Reset();
    parts.format.Close();
    parts.state.rtPauseRemainder = 0;
    if (parts.state.Get() != eZrS_Error) parts.state.Set(eZrS_Closed);
}

HRESULT MixerControl::Play_I(double _dblSeconds, DeferredEvents& _events) {
    const eZrState eTarget = _dblSeconds >= 0.0 ? eZrS_Paused : eZrS_Running;
    const eZrState eBefore = parts.state.Get();
    if (eBefore < eZrS_Stopped || eBefore > eZrS_Running) return PlayOpen_I(nullptr, _dblSeconds, _events);

    if (eBefore != eTarget || eTarget == eZrS_Paused) {
        if (const HRESULT hr = StartAs_I(eTarget, nullptr, _dblSeconds, _events); Failed(hr)) return hr;
        if (eBefore != eTarget) {
            Raise(_events, eTarget == eZrS_Running ? u"start" : u"pause", SecondsText(_dblSeconds).c_str());
        }
    }
    parts.state.rtPauseRemainder = _dblSeconds > 0.0 ? TicksOf(_dblSeconds) : 0;
    return S_OK;
}

// Play of an object that is closed, or in a state from which nothing goes on.
HRESULT MixerControl::PlayOpen_I(IZrItem* _pItem, double _dblSeconds, DeferredEvents& _events) {
    if (parts.state.Get() == eZrS_Closed) {
        if (const HRESULT hr = Start_I(_events); Failed(hr)) return hr;
    }
    const HRESULT hr = StartAs_I(_dblSeconds >= 0.0 ? eZrS_Paused : eZrS_Running, _pItem, _dblSeconds, _events);
    if (Failed(hr)) return hr;
    Raise(_events, u"start", nullptr);
    return S_OK;
}

// The state first: the first pass is of a mixer that plays or is paused already.
HRESULT MixerControl::StartAs_I(eZrState _eState, IZrItem* _pItem, double _dblSeconds, DeferredEvents& _events) {
    // What was on its way when the mixer stopped has set the pace again: frames would hurry to catch up with it.
    if (parts.state.Get() < eZrS_Paused) parts.output.ResetPosition();
    parts.state.Set(_eState);
    const HRESULT hr = Mixer_Start(_pItem, _dblSeconds, _events);
    if (Failed(hr)) {
        parts.state.Set(eZrS_Stopped);
        Mixer_Stop(_events);
    }
    return hr;
}

HRESULT MixerControl::Mixer_Start(IZrItem* _pItem, double _dblSeconds, DeferredEvents& _events) {
    // Here and not at the start of the object: one in error plays without such a start.
    if (const HRESULT hr = parts.output.Open(parts.cycle.IsSynchronous(0)); Failed(hr)) return hr;
    {
        LinkEvents links(parts.links, _events);
        if (!_pItem) {
            parts.links.ConnectAll(_dblSeconds, links);
        } else if (const HRESULT hr = parts.links.ConnectItem(_pItem, _dblSeconds, links); Failed(hr)) {
            return hr;
        }
    }
    return parts.cycle.Start();
}

void MixerControl::Mixer_Stop(DeferredEvents& _events) {
    {
        LinkEvents links(parts.links, _events);
        parts.links.DisconnectAll(links);
    }
    // The mix thread may wait for room that this thread would have to make, or for a receiver that takes its time.
    parts.output.EndPut();
    parts.cycle.Stop(_events);
}

}  // namespace zr
