#pragma once
// The XML form of items: saved configurations hold their streams, their background and breaks so.
//
//     <item start_time="auto">
//       <file path="clip.mp4" ref_id="1" in="2.5"/>
//       <zritem_props audio="false"/>
//       <breaks>
//         <item break_pos="10.0"><file path="advert.mp4" ref_id="2"/></item>
//         <command break_pos="-5.0" command="mute" param="on"/>
//       </breaks>
//     </item>

#include <functional>
#include <map>
#include <string>

#include "sources/co_zr_item.h"

namespace zr {

// One save: numbers the sources, so that one that stands at two places is written once.
struct ITEM_SAVE {
    bool bShort = false;  // of each source its path alone
    std::map<IUnknown*, int32_t> mapRefIds;
};

// One load: the sources by the numbers that they were saved with.
struct ITEM_LOAD {
    struct SOURCE {
        ZrPtr<IUnknown> pSource;
        OwnedSourcePtr pOwned;
        std::u16string strPath;
    };
    std::u16string strFormatLine;  // what file sources are told of the output they are for
    std::u16string strFolder;      // what relative paths are looked up in; empty: where the process is
    std::map<int32_t, SOURCE> mapSources;
    // The object that is there under a name, for a place on a mixer; may be empty.
    std::function<ZrPtr<IUnknown>(std::u16string_view)> FindObject;
};

// The child that says what the source of an item is: a "file", a "playlist" or a "live". Null: none does.
XMLNodeRef ItemKind(XMLNodeBase& _node);

// Writes an item into a node named "item", or as the place wants it; of a command item, the node becomes a "command".
void SaveItem(CCoZrItem& _item, XMLNodeBase& _node, ITEM_SAVE& _save);
// Makes the item of a node, with its source opened and not playing. E_INVALIDARG: no node, or none of an item.
// Otherwise what the source said, and no item.
HRESULT LoadItem(XMLNodeBase* _pNode, ItemPlace _ePlace, ITEM_LOAD& _load, ZrPtr<CCoZrItem>& _pItem);
// Keys, breaks and start of a node into an item that is there.
HRESULT LoadItemState(XMLNodeBase& _node, CCoZrItem& _item, ITEM_LOAD& _load);

// The file that a path in a configuration means. False: it leads out of the folder without being absolute.
bool ResolveItemPath(std::u16string_view _folder, std::u16string_view _path, std::u16string& _resolved);

}  // namespace zr
