#include "mixer/mixer_output.h"

#include <algorithm>

#include "mixer/source_frame.h"
#include "platform/clock.h"
#include "platform/trace.h"

namespace zr {
namespace {

constexpr int32_t kPaceNone = 0, kPaceItself = 3, kPaceByReaders = 4;  // of the key rate_control
constexpr int64_t kPullLimit = kTicksPerSecond;                        // for the one that all is made for

}  // namespace

MixerOutput::MixerOutput(const XMLNodePtr& _pObject, MixerState& _state, SourceReaders& _readers, Sender& _sender,
                         PluginList& _plugins, LastFrame& _lastFrame, IEventSink& _events, IStatisticsSink& _statistics)
    : pObject(_pObject),
      state(_state),
      readers(_readers),
      sender(_sender),
      plugins(_plugins),
      lastFrame(_lastFrame),
      events(_events) {
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
    if (!plugins.IsIdle()) _pFrame = WithinReach(plugins.Pass(std::move(_pFrame)));
    if (!_pFrame) return;
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
    WaitForPull(*_pFrame);
    sender.Sender_SendMedia(_pFrame.Get(), 1, 0);
}

// A mixer that leaves its pace to its readers, such as one that is a stream of another, makes its frames as they fetch
// them. One reader that is all it has loses none; beside others it holds them up for a frame at most, and then they go
// on in real time.
void MixerOutput::WaitForPull(IZrFFrame& _frame) {
    const int32_t nPace = pObject->AttributeOr(u"rate_control", kPaceItself);
    if ((nPace != kPaceNone && nPace != kPaceByReaders) || sender.RateChannels().IsSet()) return;
    const size_t nReaders = readers.Count();
    ZR_TIME time;
    if (nReaders == 0 || Failed(_frame.ZrFTimeGet(&time)) || (time.eFFlags & eZrFF_Live)) return;
    int32_t nChannels = 0;
    sender.SenderGetCount(&nChannels);
    const bool bAlone = nReaders == 1 && nChannels == 0;
    const int64_t rtFrame = time.rtEndTime - time.rtStartTime;
    const int64_t rtUntil = bAlone ? ClockNow() + kPullLimit : rtLatest;
    bool bFetched = true;
    for (size_t i = 0; i < nReaders && bFetched; ++i)
        bFetched = readers.WaitFetched(std::max<int64_t>(rtUntil - ClockNow(), 0), &evEndPut) == S_OK;
    rtLatest = bFetched ? ClockNow() + 2 * rtFrame : std::max(rtLatest + rtFrame, ClockNow());
}

}  // namespace zr
