#pragma once
// Start, play, pause, stop and close of a mixer.

#include "framework/event_sink.h"
#include "framework/statistics_node.h"
#include "mixer/deferred_events.h"
#include "mixer/mix_cycle.h"
#include "mixer/mixer_background.h"
#include "mixer/mixer_links.h"
#include "mixer/mixer_output.h"
#include "mixer/mixer_state.h"
#include "mixer/mixer_streams.h"

namespace zr {

// Any thread; the calls wait for each other. Results as of IZrObject and IZrFile. ZR_E_RETRY, with no effect: called by
// a listener on a thread of the mixer that another call may be waiting for.
class MixerControl {
public:
    struct PARTS {
        const ZrPropsHW& props;
        MixerState& state;
        ObjectFormat& format;
        StreamTable& streams;
        MixCycle& cycle;
        MixerBackground& background;
        MixerStreams& inputs;
        MixerLinks& links;
        MixerOutput& output;
        Sender& sender;
        AudioTracks& tracks;
        StatisticsNode& statistics;
        IEventSink& events;
    };
    explicit MixerControl(const PARTS& _parts) : parts(_parts) {}

    HRESULT ObjectStart();
    HRESULT ObjectClose();
    // _dblSeconds: below 0 runs, else pauses for so long; 0 has no end.
    HRESULT FilePlay(double _dblSeconds);
    HRESULT FilePlayStop(double _dblSeconds);
    HRESULT FileStateGet(eZrState* _peState, double* _pdblTimeRemain);

    // One input alone; see IItemHost.
    HRESULT ItemPlay(IZrItem* _pItem, double _dblSeconds);
    HRESULT ItemStop(IZrItem* _pItem);

private:
    HRESULT PlayWithItem_I(IZrItem* _pItem, double _dblSeconds, DeferredEvents& _events) ZR_REQUIRES(parts.state.lock);
    HRESULT Start_I(DeferredEvents& _events) ZR_REQUIRES(parts.state.lock);
    HRESULT OnObjectStart(DeferredEvents& _events) ZR_REQUIRES(parts.state.lock);
    void Close_I(DeferredEvents& _events) ZR_REQUIRES(parts.state.lock);
    HRESULT Play_I(double _dblSeconds, DeferredEvents& _events) ZR_REQUIRES(parts.state.lock);
    HRESULT PlayOpen_I(IZrItem* _pItem, double _dblSeconds, DeferredEvents& _events) ZR_REQUIRES(parts.state.lock);
    // Has the mixer run in that state; on failure it is stopped. _pItem: whose input alone is connected, null for all.
    // _dblSeconds: of the pause, below 0 for none.
    HRESULT StartAs_I(eZrState _eState, IZrItem* _pItem, double _dblSeconds, DeferredEvents& _events)
        ZR_REQUIRES(parts.state.lock);
    // Connects what is on the mixer, or one input of it, and has the cycle run.
    HRESULT Mixer_Start(IZrItem* _pItem, double _dblSeconds, DeferredEvents& _events) ZR_REQUIRES(parts.state.lock);
    void Mixer_Stop(DeferredEvents& _events) ZR_REQUIRES(parts.state.lock);
    void Raise(DeferredEvents& _events, const char16_t* _szEvent, const char16_t* _szParam);

    const PARTS parts;
};

}  // namespace zr
