#pragma once
// A mixer as a saved configuration: keys, output format, background, streams, scenes.

#include <string_view>

#include "attributes/persist_impl.h"
#include "attributes/props.h"
#include "framework/object_format.h"
#include "mixer/mixer_background.h"
#include "mixer/mixer_streams.h"
#include "mixer/stream_table.h"
#include "scenes/scenes_set.h"
#include "sources/item_xml.h"

namespace zr {

// Any thread, with no lock of the mixer held; the mix goes on.
class MixerPersist {
public:
    struct PARTS {
        ZrPropsHW& props;
        ObjectFormat& format;
        const StreamTable& streams;
        const ItemMaker& maker;
        const DirectLinks& named;
        MixerBackground& background;
        MixerStreams& inputs;
        ScenesSet& scenes;
        AudioTracks& tracks;
    };
    explicit MixerPersist(const PARTS& _parts) : parts(_parts) {}

    // _object: "scenes" for the scenes alone. _top: a new tree, which becomes "zr_config".
    HRESULT Save(std::u16string_view _object, CoElement& _top, const PERSIST_PARAM& _param) const;
    // What the tree does not speak of stays, but for the scenes when they alone are loaded. The first failure of the
    // scenes is the result; a stream that cannot be opened is left out, and so is a format that there is not.
    // All that is new is opened before anything goes. A source that the tree names by the number ("ref_id") that it has
    // from the last save or load, with the same path and keys, plays on; at its old place the item stays too.
    HRESULT Load(std::u16string_view _object, CoElement& _tree, const PERSIST_PARAM& _param);

private:
    void SaveItems(CoElement& _top, const PERSIST_PARAM& _param) const;
    void LoadKeys(const CoElement& _node, std::u16string_view _prefix);
    void SaveInto(CCoZrItem& _item, XMLNodeBase& _node, ITEM_SAVE& _save, std::u16string_view _folder) const;
    struct LOADING;
    bool IsSame(CCoZrItem& _present, XMLNodeBase& _kind, int32_t _nRefId, const LOADING& _loading) const;
    HRESULT LoadPlace(const CoElement& _node, CCoZrItem* _pHere, LOADING& _loading, ZrPtr<CCoZrItem>& _pItem) const;
    void LoadBackground(CoElement& _node, LOADING& _loading);
    void LoadStreams(CoElement& _node, LOADING& _loading);
    void LoadItems(CoElement& _tree, const PERSIST_PARAM& _param);

    const PARTS parts;
};

}  // namespace zr
