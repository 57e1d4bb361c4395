#pragma once
// Which inputs of a mixer are connected: while the mixer runs or is paused its streams are open, else they take
// nothing.

#include <vector>

#include "mixer/deferred_events.h"
#include "mixer/mixer_state.h"
#include "mixer/stream_table.h"

namespace zr {

class LinkEvents;

// Any thread.
class MixerLinks {
public:
    StreamTable& streams;

    // Both outlive the links.
    MixerLinks(MixerState& _state, StreamTable& _streams) : streams(_streams), state(_state) {}

    // The mixer starts, plays or pauses: all inputs are connected. _dblSeconds: below 0 the streams run, else they are
    // paused for so long; 0 has no end.
    void ConnectAll(double _dblSeconds, LinkEvents& _events);
    // One input plays, of a mixer that may do so too. ZR_E_NOT_FOUND_FILE: it is not on the mixer.
    HRESULT ConnectItem(IZrItem* _pItem, double _dblSeconds, LinkEvents& _events);
    // The mixer stops.
    void DisconnectAll(LinkEvents& _events);
    // All streams run on, or are paused.
    void PauseAll(double _dblSeconds);

    // One input. Again is only the pause.
    void Connect(const CInputStream& _input, double _dblSeconds, LinkEvents& _events) ZR_REQUIRES(streams.mtxChange);
    void Disconnect(const CInputStream& _input, LinkEvents& _events) ZR_REQUIRES(streams.mtxChange);
    // One that has come to the mixer: it is connected if the mixer is, and paused with it.
    void ConnectNew(const CInputStream& _input, LinkEvents& _events) ZR_REQUIRES(streams.mtxChange);
    // One that has left the table: it is disconnected if the mixer is connected; without a word if its source stays on
    // the mixer in another place.
    void DisconnectOld(const CInputStream& _input, LinkEvents& _events) ZR_REQUIRES(streams.mtxChange);

private:
    friend class LinkEvents;

    void ConnectBackground(LinkEvents& _events) ZR_REQUIRES(streams.mtxChange);

    MixerState& state;
    bool bConnected ZR_GUARDED_BY(streams.mtxChange) = false;  // inputs that come are connected
};

// One call's "connect" and "disconnect", on its own thread. They go out with the end of the object, which is therefore
// made before a lock is taken: what they say is asked of the items then. The plug-ins of an item that is disconnected
// are told too.
class LinkEvents {
public:
    LinkEvents(const MixerLinks& _links, IEventSink& _sink) : links(_links), sink(_sink) {}
    // Of a call that ends under a lock: plug-ins are told by _later.
    LinkEvents(const MixerLinks& _links, DeferredEvents& _later) : links(_links), sink(_later), pLater(&_later) {}
    ~LinkEvents();
    LinkEvents(const LinkEvents&) = delete;
    LinkEvents& operator=(const LinkEvents&) = delete;

    void Add(const char16_t* _szEvent, const ZrPtr<CCoZrItem>& _pItem) { arrEvents.push_back({_szEvent, _pItem}); }
    // It is disconnected, without a word.
    void AddEnd(const ZrPtr<CCoZrItem>& _pItem) { Add(nullptr, _pItem); }

private:
    struct EVENT {
        const char16_t* szEvent;
        ZrPtr<CCoZrItem> pItem;
    };
    void EndPlugins(const ZrPtr<CCoZrItem>& _pItem);

    const MixerLinks& links;
    IEventSink& sink;
    DeferredEvents* pLater = nullptr;
    std::vector<EVENT> arrEvents;
};

}  // namespace zr
