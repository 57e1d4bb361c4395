#include "mixer/mixer_output.h"

#include <algorithm>

#include "platform/trace.h"

namespace zr {

MixerOutput::MixerOutput(const XMLNodePtr& _pObject, MixerState& _state, SourceReaders& _readers, Sender& _sender,
                         LastFrame& _lastFrame, IEventSink& _events, IStatisticsSink& _statistics)
    : pObject(_pObject), state(_state), readers(_readers), sender(_sender), lastFrame(_lastFrame), events(_events) {
    queue.SetStatistics(&_statistics);
}

void MixerOutput::SetBounds(int32_t _nMin, int32_t _nMax, bool _bQueue) {
    queue.SetBounds(_nMin, std::max(_nMax, _bQueue ? 1 : 0));
}

HRESULT MixerOutput::Open(bool _bQueue) {
    const int32_t nMin = pObject->AttributeOr(u"output.min_buffers", 0);
    const int32_t nMax = std::max(pObject->AttributeOr(u"output.max_buffers", 0), _bQueue ? 1 : 0);
    evEndPut.Reset();
    if (bOpen && (nMax > 0) == (queue.MaxSize() > 0)) return S_FALSE;
    // With another way of sending, what still waits would come after what is sent from now on.
    if (bOpen) queue.Stop();
    const HRESULT hr = queue.Init(nMin, nMax, false);
    bOpen = Succeeded(hr);
    return hr;
}

void MixerOutput::Close() {
    bOpen = false;
    queue.Stop();
    sender.SenderSendEnd(1, false);
    readers.Flush();
    readers.ForgetLastFrame();
    lastFrame.Clear();
}

void MixerOutput::ResetPosition() { sender.ResetRate(); }

void MixerOutput::Output(FramePtr _pFrame) {
    if (queue.MaxSize() < 1) {
        if (WaitAny({&evEndPut, &evOnTheWay}, -1) == 0) return;  // what was queued before goes first
        const TraceScope trace("DoMixing_I(MediaSend_I)");
        MediaSend_I(_pFrame);
        return;
    }
    const TraceScope trace("DoMixing_I(DeqPut)");
    queue.Put(QueuedFrame(std::move(_pFrame), evOnTheWay), -1, &evEndPut);
}

HRESULT MixerOutput::OnActiveDeq(QueuedFrame& _frame, int32_t) {
    MediaSend_I(_frame.Frame());
    if (queue.MaxSize() > 0 && queue.Count() == 0) sender.ResetRate();
    return S_OK;
}

void MixerOutput::MediaSend_I(const FramePtr& _pFrame) {
    const MixerState::Work work(state);
    lastFrame.Keep(_pFrame.Get());
    events.RaiseFrame(state.name.Get()->c_str(), _pFrame.Get());
    if (!bOpen) return;  // closed by whoever was just told
    sender.Sender_SendMedia(_pFrame.Get(), 1, 0);
}

}  // namespace zr
