#pragma once
// What lies beneath all streams of a mixer: put in place, taken away, asked for.

#include <string_view>

#include "framework/event_sink.h"
#include "mixer/item_maker.h"
#include "mixer/mix_cycle.h"
#include "mixer/mixer_links.h"
#include "mixer/stream_table.h"

namespace zr {

// Any thread, without a lock of the mixer; SetColour, SetItem and Close may be called under the state lock.
class MixerBackground {
public:
    MixerBackground(const ItemMaker& _maker, MixerLinks& _links, MixCycle& _cycle, IEventSink& _sink)
        : maker(_maker), links(_links), cycle(_cycle), sink(_sink) {}

    // As IZrStreams::StreamsBackgroundSet. _ppItem may be null.
    HRESULT Set(IUnknown* _pExternOrRef, std::u16string_view _path, std::u16string_view _param, IZrItem** _ppItem);
    // A colour or a picture by its path, whatever objects are called so.
    HRESULT SetColour(std::u16string_view _path);
    // Puts an item that was made elsewhere, and that nobody has, beneath the streams; empty: none.
    HRESULT SetItem(ZrPtr<CCoZrItem> _pItem) { return Exchange(std::move(_pItem)); }
    // As IZrStreams::StreamsBackgroundGet.
    HRESULT Get(BSTR* _pbsPath, IZrItem** _ppItem) const;
    // Takes the background away and ends its source.
    void Close() { Exchange({}); }

private:
    HRESULT Exchange(ZrPtr<CCoZrItem> _pItem);

    const ItemMaker& maker;
    MixerLinks& links;
    MixCycle& cycle;
    IEventSink& sink;
};

}  // namespace zr
