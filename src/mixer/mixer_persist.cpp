#include "mixer/mixer_persist.h"

#include <string>
#include <utility>

#include "mixer/format_xml.h"
#include "platform/trace.h"
#include "platform/wide_text.h"
#include "scenes/scene_file.h"
#include "scenes/scene_persist.h"
#include "sources/item_xml.h"

namespace zr {
namespace {

constexpr std::u16string_view kConfig = u"zr_config";
constexpr std::u16string_view kObjectNode = u"object", kScenesNode = u"zr_scenes";
constexpr std::u16string_view kBackgroundNode = u"background", kStreamsNode = u"mixer_streams";
constexpr std::u16string_view kStreamId = u"stream_id", kPath = u"path";

bool IsScenesOnly(std::u16string_view _object) { return EqualNoCase(_object, u"scenes"); }

// The paths of files in an item and below are written from the folder on.
void MakePathsRelative(XMLNodeBase& _item, std::u16string_view _folder, int _nDepth) {
    std::u16string strPath;
    if (_item.GetAttribute(kPath, strPath) && IsSceneFile(strPath))
        _item.SetAttribute(kPath, RelativePath(_folder, AbsolutePath(strPath)));
    if (_nDepth == 0) return;
    for (const XMLNodeRef& pChild : _item.ChildNodes())
        if (!pChild->IsText()) MakePathsRelative(*pChild, _folder, _nDepth - 1);
}

// An item's children and keys stand in the place's own node.
void SaveInto(CCoZrItem& _item, CoElement& _node, ITEM_SAVE& _save, const PERSIST_PARAM& _param) {
    constexpr int kDepthOfItems = 24;
    const XMLNodePtr pItem = CoXMLNode::Create(u"item");
    SaveItem(_item, *pItem, _save);
    MakePathsRelative(*pItem, _param.Folder(), kDepthOfItems);
    pItem->CopyTo(_node, false, eZrUT_Update);
}

HRESULT LoadFrom(const CoElement& _node, ITEM_LOAD& _load, ZrPtr<CCoZrItem>& _pItem) {
    const XMLNodePtr pItem = CoXMLNode::Create(u"item");
    _node.CopyTo(*pItem, false, eZrUT_ClearDest);
    const HRESULT hr = LoadItem(pItem.Get(), ItemPlace::kMixer, _load, _pItem);
    return Succeeded(hr) && !_pItem ? E_OUTOFMEMORY : hr;
}

}  // namespace

HRESULT MixerPersist::Save(std::u16string_view _object, CoElement& _top, const PERSIST_PARAM& _param) const {
    _top.SetTag(kConfig);
    const bool bAll = !IsScenesOnly(_object);
    if (bAll) _top.CopyAttributesFrom(*parts.props.Root(), eZrUT_Update);
    _top.Find(kObjectNode, true)->CopyAttributesFrom(*parts.props.Object(), eZrUT_Update);
    if (bAll) {
        SaveFormat(parts.format, _top);
        SaveItems(_top, _param);
    }
    return SaveScenes(parts.scenes, *_top.Find(kScenesNode, true), _param);
}

void MixerPersist::SaveItems(CoElement& _top, const PERSIST_PARAM& _param) const {
    ITEM_SAVE save;
    const ElementPtr pBackground = _top.Find(kBackgroundNode, true);
    if (const ZrPtr<CCoZrItem> pItem = parts.streams.Background()) SaveInto(*pItem, *pBackground, save, _param);
    const ElementPtr pStreams = _top.Find(kStreamsNode, true);
    CInputStream entry;
    for (int32_t i = 0; parts.streams.At(i, entry); ++i) {
        const ElementPtr pStream = pStreams->Add(u"item");
        pStream->SetAttribute(kStreamId, std::u16string_view(entry.pStream->Id()));
        SaveInto(*entry.pItem, *pStream, save, _param);
    }
}

// Only what differs: a key may set much in motion.
void MixerPersist::LoadKeys(const CoElement& _node, std::u16string_view _prefix) {
    std::u16string strName, strText, strPresent;
    for (size_t i = 0; _node.AttributeAt(i, &strName, &strText); ++i) {
        const std::u16string strKey = std::u16string(_prefix) + strName;
        if (parts.props.Root()->GetAttribute(strKey, strPresent) && strPresent == strText) continue;
        parts.props.PropsSet_I(strKey.c_str(), strText.c_str());
    }
}

void MixerPersist::LoadItems(CoElement& _tree, const PERSIST_PARAM& _param) {
    ITEM_LOAD load;
    load.strFormatLine = parts.maker.OutputLine();
    load.strFolder = _param.Folder();
    if (const ElementPtr pNode = _tree.Find(kBackgroundNode)) {
        const TraceScope trace("Mixer_LoadXML(BG)");
        ZrPtr<CCoZrItem> pItem;
        if (pNode->ElementCount() == 0)
            parts.background.SetItem({});
        else if (Succeeded(LoadFrom(*pNode, load, pItem)))
            parts.background.SetItem(std::move(pItem));
    }
    const ElementPtr pStreams = _tree.Find(kStreamsNode);
    if (!pStreams) return;
    const TraceScope trace("Mixer_LoadXML");
    parts.inputs.Close();
    for (size_t i = 0; const ElementPtr pNode = pStreams->ChildAt(i); ++i) {
        ZrPtr<CCoZrItem> pItem;
        if (pNode->IsText() || Failed(LoadFrom(*pNode, load, pItem))) continue;
        parts.inputs.AddItem(pNode->AttributeOr(kStreamId, std::u16string_view()), pItem);
    }
}

HRESULT MixerPersist::Load(std::u16string_view _object, CoElement& _tree, const PERSIST_PARAM& _param) {
    if (!IsScenesOnly(_object) && _tree.HasTag(NameKey(kConfig))) {
        LoadKeys(_tree, {});
        if (const ElementPtr pObject = _tree.Find(kObjectNode)) LoadKeys(*pObject, u"object::");
        LoadFormat(_tree, parts.format);  // before the items, which are asked for it
        LoadItems(_tree, _param);
        if (!_tree.Find(kScenesNode)) return S_OK;
    }
    return LoadScenes(parts.scenes, _tree, _param);
}

}  // namespace zr
