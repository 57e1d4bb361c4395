// The cycle with frames in flight: the mix thread asks the sources and sends, another thread composes.

#include <algorithm>
#include <string>

#include "attributes/interface_call.h"
#include "mixer/mix_cycle.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr int32_t kMostFlights = 100;

}  // namespace

// One round: one more frame is asked for, and once there are as many as wanted, the first is sent. S_FALSE: there are
// no sources.
HRESULT MixCycle::RunFlights(int64_t _nCycle) {
    ApplyPriority(priorityOfFlights);
    const bool bAsks = IsSynchronous(3);
    const auto nMost = static_cast<size_t>(
        std::clamp(parts.props.Object()->AttributeOr(u"sync_mode.fixed_buffers", 0), 1, kMostFlights));
    HRESULT hr = bAsks ? flights.Start() : S_FALSE;
    if (bAsks && Succeeded(hr)) {
        const MixerState::Work work(parts.state);
        hr = InterfaceCall([&] { return AskForFlight(_nCycle); });
        CountFailure(hr);
        if (evStop.IsSet()) return ZR_E_NOT_RUNNING;
    }
    // Without another request what is there goes out.
    const size_t nKeep = hr == S_OK ? nMost - 1 : 0;
    const bool bSends = flights.Count() > nKeep;
    while (flights.Count() > nKeep) {
        if (!SendFlight()) return ZR_E_NOT_RUNNING;
    }
    // The thread that composes has nothing to do.
    if (bAsks && hr == S_FALSE && !audioMixer.EndsLoud()) audioMixer.Reset();
    PublishFlights(nMost);
    return bSends ? S_OK : hr;
}

HRESULT MixCycle::AskForFlight(int64_t _nCycle) {
    FLIGHT& flight = flights.Next();
    flight.nCycle = _nCycle;
    flight.bFirst = bFirstFrame.load(std::memory_order_relaxed);
    HRESULT hr = sync.Sync_Request(evStop, parts.state.Get() == eZrS_Paused, flight.request);
    if (hr == S_FALSE && flights.Count() == 0 && audioMixer.EndsLoud()) {
        flight.request.props = formatOnAir;
        hr = S_OK;
    }
    if (hr == S_OK && !evStop.IsSet()) flights.Push();
    return hr;
}

// False: the mixer stops.
bool MixCycle::SendFlight() {
    FramePtr pFrame;
    if (!flights.TakeFirst(evStop, &pFrame)) return false;
    if (!pFrame) return true;
    const MixerState::Work work(parts.state);
    parts.output.Output(std::move(pFrame));
    return true;
}

// Requests, frames and those of them that are made, all, and how many are wanted.
void MixCycle::PublishFlights(size_t _nMost) {
    const size_t nAll = flights.Count(), nDone = flights.CountDone();
    const auto Number = [](std::u16string& _text, size_t _n) { AppendInt(_text, static_cast<int64_t>(_n)); };
    flightsText.clear();
    Number(flightsText, nAll - nDone);
    Number(flightsText += u'/', nDone);
    Number(flightsText += u'(', nDone);
    Number(flightsText += u")/", nAll);
    Number(flightsText += u"(Max:", _nMost);
    flightsText += u')';
    if (flightsText == flightsShown) return;
    parts.statistics.SetText(nInFlight, flightsText);
    flightsText.swap(flightsShown);
}

void MixCycle::Compose(FLIGHT& _flight) {
    const MixerState::Work work(parts.state);
    CountFailure(InterfaceCall([&] { return Sync_DoMixing_I(_flight); }));
}

// The puts and the frame of a request, on the thread that composes: meanwhile the mix thread asks for the next.
HRESULT MixCycle::Sync_DoMixing_I(FLIGHT& _flight) {
    ApplyPriority(priorityOfPass);
    AnnounceFrame();
    if (evStop.IsSet()) return ZR_E_NOT_RUNNING;
    PASS pass;
    pass.bFirst = _flight.bFirst;
    pass.nCycle = _flight.nCycle;
    pass.pRequest = &_flight.request;
    pass.bHasInputs = _flight.request.Count() > 0;
    FramePtr pBase;
    _flight.request.bStraight = GoesStraight();
    HRESULT hr = sync.Sync_Put(_flight.request, &pBase, &pass.bMustCopy);
    if (Succeeded(hr)) hr = MakeStraight(pass, pBase, _flight.request.bStraight);
    if (hr == S_FALSE) hr = MakeFrame(pass, pBase);
    if (hr != S_OK || pass.bSkipped) return hr;
    parts.statistics.SetValue(nSyncFrames, cycleTimer.Ms());
    _flight.pFrame = std::move(pass.pFrame);
    EndPass(pass);
    return S_OK;
}

}  // namespace zr
