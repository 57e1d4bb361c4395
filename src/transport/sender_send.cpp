// The way of one frame through a sender, and the end.

#include <algorithm>
#include <utility>

#include "platform/trace.h"
#include "transport/frame_flags.h"
#include "transport/sender.h"

namespace zr {
namespace {

constexpr NameKey kRateControl{u"rate_control"};

// Values of the key.
constexpr int32_t kRateNone = 0, kRateAlways = 1, kRateByChannelsOnly = 2, kRateUnlessChannels = 3;
constexpr int32_t kRateByReadersBit = 4;

constexpr uint32_t kLeastMediaBytes = 2;

bool IsPreviewOnly(int32_t _nSendMode) { return _nSendMode < 0; }
bool HasPreview(int32_t _nSendMode) { return _nSendMode != kSendAllButPreview; }

}  // namespace

struct Sender::SEND {
    ZrPtr<IZrFFrame> pFrame;
    ZRF_FRAME_INFO info;
    ZR_TIME time;  // of the frame as it came
    int32_t nSendMode;
    int32_t nInternalMode;
    int32_t nRateControl;
    bool bPreviewTookAudio = false;  // it plays the sound, and so holds up the round to real time
};

HRESULT Sender::Sender_SendMedia(IZrFFrame* _pFrame, int32_t _nSendMode, int32_t _nInternalMode) {
    if (!_pFrame) return E_UNEXPECTED;
    SEND send{.pFrame = _pFrame,
              .info = {},
              .time = {},
              .nSendMode = _nSendMode,
              .nInternalMode = _nInternalMode,
              .nRateControl = kRateNone};
    if (_nInternalMode < 1) {
        send.nRateControl = kRateUnlessChannels;
        pObject->GetOwnAttribute(kRateControl, send.nRateControl);
    }
    if (_nSendMode != kSendPreviewOnly) {
        const bool bWait = _nInternalMode < 0 || (send.nRateControl & kRateByReadersBit) != 0;
        readers.PutFrame(_pFrame, bWait ? kPutWaitForReaders : kPutAsItGoes, -1, host.SenderStopEvent());
        if (_nInternalMode < 0) return S_OK;
    }
    HRESULT hr = _pFrame->ZrFTimeGet(&send.time);
    if (Failed(hr)) return hr;
    if (!OpenOrDrop(send)) return S_FALSE;
    hr = RunFilters(send.pFrame);
    if (hr != S_OK) return hr;
    bSending = true;
    const bool bLive = HasFlags(send.time, eZrFF_Live);
    hr = send.pFrame->ZrFAllGet(&send.info);
    if (Failed(hr)) return hr;
    if (_nSendMode != kSendPreviewOnly && !bLive && _nInternalMode < 2 && send.nRateControl == kRateByChannelsOnly) {
        hr = RateWait(send);
        if (hr != S_OK) return hr;
    }
    hr = Deliver(send);
    if (Failed(hr) || IsPreviewOnly(send.nSendMode)) return hr;
    if (send.bPreviewTookAudio || bLive || _nInternalMode >= 2 || send.nRateControl == kRateByChannelsOnly) {
        ResetRate();
        return S_OK;
    }
    return RateWait(send);
}

// False: the sender is stopped and drops the frame.
bool Sender::OpenOrDrop(const SEND& _send) {
    const bool bHeld = host.IsSenderHeld();
    MutexLock lock(mtxName);
    if (HasFlags(_send.time, eZrFF_Break) && !bHeld) {
        evStopSend.Reset();
        return true;
    }
    return !(evStopSend.IsSet() && _send.nInternalMode > 0);
}

// A filter may change the list: each is taken out as its turn comes.
HRESULT Sender::RunFilters(ZrPtr<IZrFFrame>& _pFrame) {
    FILTER filter;
    for (size_t i = 0; FilterAt(i, filter); ++i) {
        ZrPtr<IZrFFrame> pReplacement;
        const HRESULT hr = filter.pFilter->Filter(filter.llUserValue, &self, _pFrame.Get(), pReplacement.Out());
        if (hr != S_OK) return hr;
        if (pReplacement) _pFrame = std::move(pReplacement);
    }
    return S_OK;
}

// A round works on copies of the list of channels, so that no lock is held; the memory is kept from round to round.
Sender::Round Sender::TakeRound() {
    Round round;
    {
        MutexLock lock(mtxName);
        round.swap(keptRound);
    }
    CRWReadScope lock(lockChannels);
    AddChannels(round);
    return round;
}

void Sender::KeepRound(Round _round) {
    _round.clear();
    MutexLock lock(mtxName);
    keptRound.swap(_round);
}

HRESULT Sender::Deliver(SEND& _send) {
    Round round = TakeRound();
    const HRESULT hr = SendToAll(_send, round);
    WaitForAll(_send, round);
    KeepRound(std::move(round));
    return hr;
}

HRESULT Sender::SendToAll(SEND& _send, Round& _round) {
    TraceScope trace("Sender_SendMedia(ALL)");
    for (SENT& sent : _round) {
        const bool bPreview = sent.pChannel->IsPreview();
        if (bPreview ? !HasPreview(_send.nSendMode) : IsPreviewOnly(_send.nSendMode)) continue;
        if (bPreview && !sent.pChannel->WantsFrames()) continue;
        if (const HRESULT hr = SendToOne(_send, sent); Failed(hr)) return hr;
    }
    return S_OK;
}

// Fails only when the frame cannot be copied; a channel that does not take it is passed over.
HRESULT Sender::SendToOne(SEND& _send, SENT& _sent) {
    COutputChannel& channel = *_sent.pChannel;
    ZrPtr<IZrFFrame> pClone;
    HRESULT hr = _send.pFrame->ZrFClone(pClone.Out(), eZrFC_Reference, eZrFCC_Default);
    if (Failed(hr)) return hr;
    const uint32_t nMedia = (_send.info.cbVideo >= kLeastMediaBytes ? kMediaVideo : 0u) |
                            (_send.info.cbAudio >= kLeastMediaBytes ? kMediaAudio : 0u);
    _sent.nKinds = channel.Keys().nKinds & nMedia;
    if ((channel.FirstMask() & _sent.nKinds) != 0) hr = MarkBreak(*pClone, kReplacePause);
    if (channel.IsPreview()) {
        _send.bPreviewTookAudio = (_sent.nKinds & kMediaAudio) != 0;
        const bool bLock = evRateChannels.IsSet() || _send.nInternalMode < 0;
        if (Succeeded(hr) && bLock && _send.info.avProps.bLocked == 0) {
            ZR_AV_PROPS props = _send.info.avProps;
            props.bLocked = 1;
            hr = pClone->ZrFAVPropsSet(&props, nullptr);
        }
    }
    if (Failed(hr)) return hr;
    _sent.bSent = Succeeded(channel.OutputChannelSendAsync(&self, std::move(pClone), _sent.nKinds));
    return S_OK;
}

void Sender::WaitForAll(SEND& _send, Round& _round) {
    TraceScope trace("Sender_SendMedia(AsyncWait)");
    for (const SENT& sent : _round) {
        if (!sent.bSent) continue;
        const HRESULT hr = sent.pChannel->OutputChannelWaitSent(-1);
        if (hr == kTakenWithoutAudio) _send.bPreviewTookAudio = false;
    }
    for (const SENT& sent : _round)
        if (sent.bSent && sent.pChannel->IsDead()) RemoveDead(sent.pChannel);
}

HRESULT Sender::RateWait(const SEND& _send) {
    const auto waitFrame = [&] {
        rateTimer.WaitFrame(_send.info.avProps, _send.info.mTime, _send.info.cbAudio, host.SenderStopEvent(), 0, -1);
    };
    if (_send.nRateControl == kRateNone) {
        ResetRate();
        return S_OK;
    }
    if (evRateChannels.IsSet()) {
        if (_send.nRateControl == kRateAlways) waitFrame();
    } else if (_send.nRateControl == kRateByChannelsOnly) {
        ResetRate();
        if (WaitAny({host.SenderStopEvent(), &evStopSend, &evRateChannels}, -1) != 2) return E_ABORT;
    } else if ((_send.nRateControl & 1) != 0) {
        waitFrame();
    }
    return bSending ? S_OK : ZR_E_NOT_RUNNING;
}

// --- The end

HRESULT Sender::SenderSendEnd(int32_t _nRemove, bool _bNoFilters) {
    FILTER filter;
    for (size_t i = 0; !_bNoFilters && FilterAt(i, filter); ++i) {
        const HRESULT hr = filter.pFilter->FilterEnd(filter.llUserValue, &self, _nRemove);
        if (hr != S_OK) return hr;
    }
    Round round;
    {
        CRWWriteScope lock(lockChannels, "SenderSendEnd");
        AddChannels(round);
        if (_nRemove > 0) {
            mapChannels.clear();
            evRateChannels.Reset();
        }
    }
    for (const SENT& sent : round) {
        const ZrPtr<IZrReceiver_I> pReceiver = sent.pChannel->Receiver();
        if (_nRemove > 0) sent.pChannel->Close();
        if (pReceiver) sent.pChannel->TellEnd(*pReceiver, &self, _nRemove);
    }
    evStopSend.Set();
    bSending = false;
    ResetRate();  // ends its wait
    return S_OK;
}

HRESULT Sender::SenderSendFlush() {
    readers.Flush();
    evStopSend.Set();
    ResetRate();
    Round round;
    {
        CRWReadScope lock(lockChannels);
        AddChannels(round);
    }
    for (const SENT& sent : round) sent.pChannel->TellFlush(&self, 0);
    return S_OK;
}

}  // namespace zr
