#pragma once
// The way of a finished frame out of the mixer: plug-ins, the queue, then listeners, channels and readers.

#include <atomic>
#include <utility>

#include "attributes/props.h"
#include "framework/deq_active.h"
#include "framework/event_sink.h"
#include "framework/last_frame.h"
#include "framework/statistics_sink.h"
#include "mixer/frame_output.h"
#include "mixer/mixer_state.h"
#include "output/plugin_list.h"
#include "platform/event.h"
#include "transport/sender.h"

namespace zr {

// A frame in the queue or on its way out of it, which is counted as long as that.
class QueuedFrame {
public:
    QueuedFrame() = default;
    QueuedFrame(FramePtr _pFrame, CountdownEvent& _evCount) : pFrame(std::move(_pFrame)), pCount(&_evCount) {
        pCount->Add();
    }
    QueuedFrame(QueuedFrame&& _other) noexcept { *this = std::move(_other); }
    QueuedFrame& operator=(QueuedFrame&& _other) noexcept {
        std::swap(pFrame, _other.pFrame);
        std::swap(pCount, _other.pCount);
        return *this;
    }
    ~QueuedFrame() {
        if (pCount) pCount->Done();
    }
    const FramePtr& Frame() const { return pFrame; }

private:
    FramePtr pFrame;
    CountdownEvent* pCount = nullptr;
};

class MixerOutput final : public IFrameOutput {
public:
    // All outlive the output. _pObject: the node with the mixer's keys.
    MixerOutput(const XMLNodePtr& _pObject, MixerState& _state, SourceReaders& _readers, Sender& _sender,
                PluginList& _plugins, LastFrame& _lastFrame, IEventSink& _events, IStatisticsSink& _statistics);

    // From now on frames are taken. _bQueue: at least one may wait while the one before it is sent. S_FALSE: they are
    // taken already. Under the state lock, as Close.
    HRESULT Open(bool _bQueue);
    // Ends the output: what is queued is let go, receivers and readers are told.
    void Close();
    // Ends a wait for room in the queue: its frame is let go, and so are those that find none until the next Open.
    void EndPut() { evEndPut.Set(); }
    // The next frame begins a new line of time.
    void ResetPosition();
    // Tells the mixer's plug-ins the end. With no lock held.
    void EndPlugins() { plugins.MediaEnd(); }
    // Bounds of the queue; 0 at most means none. Any thread.
    void SetBounds(int32_t _nMin, int32_t _nMax, bool _bQueue);

    void Output(FramePtr _pFrame) override;
    bool IsPacedByReceiver() override { return sender.RateChannels().IsSet(); }
    void SetPriority(int32_t _nPriority) override { queue.SetPriority(_nPriority); }

    HRESULT OnActiveDeq(QueuedFrame& _frame, int32_t _nLeft);
    void OnActiveDeqOverflow(QueuedFrame&) {}

private:
    void MediaSend_I(const FramePtr& _pFrame);
    void WaitForPull(IZrFFrame& _frame);

    const XMLNodePtr pObject;
    MixerState& state;
    SourceReaders& readers;
    Sender& sender;
    PluginList& plugins;
    LastFrame& lastFrame;
    IEventSink& events;
    std::atomic<bool> bOpen{false};  // changed under the state lock
    ManualEvent evEndPut;
    int64_t rtLatest = 0;  // of the next frame, for readers that others need not wait for; of the thread that sends
    CountdownEvent evOnTheWay;  // counts the frames in the queue and the one that is sent from it
    CDeqActive<MixerOutput, QueuedFrame> queue{*this, "zr-output"};
};

}  // namespace zr
