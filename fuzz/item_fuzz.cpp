// Any text as an item of a configuration: loaded with its source and breaks, saved, and loaded again as the same.

#include <cstdlib>
#include <string>

#include "attributes/co_xml_node.h"
#include "sources/co_zr_file.h"
#include "sources/item_xml.h"

namespace zr {
namespace {

std::u16string Saved(CCoZrItem& _item, bool _bShort) {
    const XMLNodePtr pNode = CoXMLNode::Create(u"item");
    ITEM_SAVE save;
    save.bShort = _bShort;
    SaveItem(_item, *pNode, save);
    std::u16string str;
    pNode->Write(str);
    return str;
}

ZrPtr<CCoZrItem> Loaded(const std::u16string& _text, ItemPlace _ePlace) {
    const XMLNodePtr pTop = CoXMLNode::Create(u"top");
    ZrPtr<CCoZrItem> pItem;
    if (Failed(pTop->Parse(_text))) return {};
    ITEM_LOAD load;
    load.strFolder = u"/nowhere";
    if (Failed(LoadItem(pTop.Get(), _ePlace, load, pItem)) != !pItem) std::abort();
    return pItem;
}

void Look(CCoZrItem& _item) {
    int32_t nBreaks = 0;
    double dblSeconds = 0;
    ZR_DATETIME start, stop;
    eZrStartType eType = eZrST_Off;
    if (Failed(_item.BreaksGetCount(&nBreaks, &dblSeconds)) || nBreaks < 0) std::abort();
    _item.ItemPlayTimeGet(&dblSeconds);
    _item.ItemTimesGet(&start, &stop, &eType);
    int64_t rtLast = 0;
    const PLAY_RANGE range = _item.Range();
    for (const BREAK_ENTRY& entry : _item.Breaks().All()) {
        if (entry.rtTime < rtLast || entry.rtTime < BreakTime(0, range)) std::abort();  // sorted, and within the range
        rtLast = entry.rtTime;
    }
    _item.BreaksTimeSet(0, -1.5);
    _item.FileInOutSet(1, 2);
}

}  // namespace
}  // namespace zr

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    using namespace zr;
    LinkFileSource();
    if (_cb < 1 || _cb > 4096) return 0;
    const ItemPlace ePlace = _pData[0] & 1 ? ItemPlace::kMixer : ItemPlace::kList;
    const std::u16string text(_pData + 1, _pData + _cb);
    const ZrPtr<CCoZrItem> pItem = Loaded(text, ePlace);
    if (!pItem) return 0;
    const std::u16string first = Saved(*pItem, false);
    Saved(*pItem, true);
    const ZrPtr<CCoZrItem> pAgain = Loaded(first, ePlace);
    if (!pAgain || Saved(*pAgain, false) != first) std::abort();
    Look(*pItem);
    pItem->PersistLoad(u"", first.c_str(), nullptr);
    return 0;
}
