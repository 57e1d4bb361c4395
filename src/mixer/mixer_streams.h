#pragma once
// The streams of a mixer as its host handles them: added, replaced, removed, put in another order.

#include <string_view>
#include <vector>

#include "framework/statistics_sink.h"
#include "mixer/item_maker.h"
#include "mixer/mix_cycle.h"
#include "mixer/mixer_links.h"
#include "mixer/stream_table.h"
#include "mixer/video_block.h"

namespace zr {

// Any thread. The operations and results are those of IZrStreams. A change that has a time is a cut.
class MixerStreams {
public:
    struct PARTS {
        const ZrPropsHW& props;
        const ItemMaker& maker;
        MixerLinks& links;
        MixCycle& cycle;
        BlockSet& blocks;
        IStatisticsSink& statistics;
        IEventSink& events;
    };
    explicit MixerStreams(const PARTS& _parts) : parts(_parts) {}

    HRESULT GetCount(int32_t* _pnCount) const;
    HRESULT GetByIndex(int32_t _nIndex, BSTR* _pbsStreamID, IZrItem** _ppStream) const;
    HRESULT Get(std::u16string_view _id, int32_t* _pnIndex, IZrItem** _ppStream) const;
    HRESULT Add(std::u16string_view _id, IUnknown* _pExternOrRef, std::u16string_view _path, std::u16string_view _param,
                IZrItem** _ppItem, double _dblTimeForChange);
    // Puts an item that was made elsewhere, and that nobody has, in the place of that id or on top.
    HRESULT AddItem(std::u16string_view _id, const ZrPtr<CCoZrItem>& _pItem);
    HRESULT Remove(IZrItem* _pStream, double _dblTimeForChange);
    HRESULT RemoveByIndex(int32_t _nIndex, int32_t _nExtraRemove, double _dblTimeForChange);
    HRESULT Reorder(IZrItem* _pStream, int32_t _nIndexAdd, double _dblTimeForChange);

    // The mixer closes: all streams go.
    void Close();

private:
    HRESULT Place(std::u16string_view _id, const ZrPtr<CCoZrItem>& _pItem, ZrPtr<CCoZrItem>& _pOld,
                  LinkEvents& _events);
    void PlaceNew(std::u16string _id, const ZrPtr<CCoZrItem>& _pItem, LinkEvents& _events)
        ZR_REQUIRES(parts.links.streams.mtxChange);
    ZrPtr<CCoZrItem> PlaceInstead(int32_t _nIndex, const CInputStream& _old, const ZrPtr<CCoZrItem>& _pItem,
                                  LinkEvents& _events) ZR_REQUIRES(parts.links.streams.mtxChange);
    std::vector<CInputStream> TakeOut(int32_t _nFirst, int32_t _nEnd, LinkEvents& _events)
        ZR_REQUIRES(parts.links.streams.mtxChange);
    void End(const std::vector<CInputStream>& _arrGone);

    const PARTS parts;
};

}  // namespace zr
