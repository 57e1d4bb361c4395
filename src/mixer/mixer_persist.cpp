#include "mixer/mixer_persist.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "attributes/item_keys.h"
#include "mixer/format_xml.h"
#include "platform/trace.h"
#include "platform/wide_text.h"
#include "scenes/scene_file.h"
#include "scenes/scene_persist.h"

namespace zr {
namespace {

constexpr std::u16string_view kConfig = u"zr_config", kAudioNode = u"audio";
constexpr std::u16string_view kObjectNode = u"object", kScenesNode = u"zr_scenes";
constexpr std::u16string_view kBackgroundNode = u"background", kStreamsNode = u"mixer_streams";
constexpr std::u16string_view kStreamId = u"stream_id";
constexpr NameKey kPath{u"path"}, kRefId{u"ref_id"}, kLoop{u"loop"}, kFile{u"file"}, kLive{u"live"};

bool IsScenesOnly(std::u16string_view _object) { return EqualNoCase(_object, u"scenes"); }

// The paths of files in an item and below are written from the folder on.
void MakePathsRelative(XMLNodeBase& _item, std::u16string_view _folder, int _nDepth) {
    std::u16string strPath;
    if (_item.GetAttribute(kPath.text, strPath) && IsSceneFile(strPath))
        _item.SetAttribute(kPath.text, RelativePath(_folder, AbsolutePath(strPath)));
    if (_nDepth == 0) return;
    for (const XMLNodeRef& pChild : _item.ChildNodes())
        if (!pChild->IsText()) MakePathsRelative(*pChild, _folder, _nDepth - 1);
}

// Run-time object of an item: the number of its source in the last save or load, as ObjectVal<int32_t>.
constexpr NameKey kRefIdObject{u"ref_id"};

void NoteRefId(CCoZrItem& _item, int32_t _nRefId) {
    if (_nRefId > 0) _item.Node()->SetObject(kRefIdObject, ObjectVal<int32_t>::Make(_nRefId));
}

// The own attributes of two nodes say the same, but for where and by which number.
bool SameKeys(const XMLNodeBase& _a, const XMLNodeBase& _b) {
    const auto Count = [](const XMLNodeBase& _node) {
        return _node.AttributeCount() - _node.HasOwnAttribute(kPath) - _node.HasOwnAttribute(kRefId);
    };
    if (Count(_a) != Count(_b)) return false;
    std::u16string strName, strText, strOther;
    for (size_t i = 0; _a.AttributeAt(i, &strName, &strText); ++i) {
        if (EqualNoCase(strName, kPath.text) || EqualNoCase(strName, kRefId.text)) continue;
        if (!_b.GetAttribute(strName, strOther) || strText != strOther) return false;
    }
    return true;
}

}  // namespace

HRESULT MixerPersist::Save(std::u16string_view _object, CoElement& _top, const PERSIST_PARAM& _param) const {
    _top.SetTag(kConfig);
    const bool bAll = !IsScenesOnly(_object);
    if (bAll) _top.CopyAttributesFrom(*parts.props.Root(), eZrUT_Update);
    _top.Find(kObjectNode, true)->CopyAttributesFrom(*parts.props.Object(), eZrUT_Update);
    if (bAll) {
        SaveFormat(parts.format, _top);
        if (!parts.tracks.IsUntouched()) parts.tracks.Save(*_top.Find(kAudioNode, true));
        SaveItems(_top, _param);
    }
    return SaveScenes(parts.scenes, *_top.Find(kScenesNode, true), _param);
}

// An item's children and keys stand in the place's own node.
void MixerPersist::SaveInto(CCoZrItem& _item, XMLNodeBase& _node, ITEM_SAVE& _save, std::u16string_view _folder) const {
    constexpr int kDepthOfItems = 24;
    const XMLNodePtr pItem = CoXMLNode::Create(u"item");
    SaveItem(_item, *pItem, _save);
    if (const XMLNodeRef pKind = ItemKind(*pItem); pKind && pKind->HasOwnAttribute(kPath)) {
        if (pKind->HasTag(kFile) && parts.maker.LoopsFiles()) pKind->SetOwnAttribute(kLoop, u"false", false);
        NoteRefId(_item, pKind->AttributeOr(kRefId.text, 0));
    }
    MakePathsRelative(*pItem, _folder, kDepthOfItems);
    pItem->CopyTo(_node, false, eZrUT_Update);
}

void MixerPersist::SaveItems(CoElement& _top, const PERSIST_PARAM& _param) const {
    ITEM_SAVE save;
    const ElementPtr pBackground = _top.Find(kBackgroundNode, true);
    if (const ZrPtr<CCoZrItem> pItem = parts.streams.Background())
        SaveInto(*pItem, *pBackground, save, _param.Folder());
    const ElementPtr pStreams = _top.Find(kStreamsNode, true);
    CInputStream entry;
    for (int32_t i = 0; parts.streams.At(i, entry); ++i) {
        const ElementPtr pStream = pStreams->Add(u"item");
        pStream->SetAttribute(kStreamId, std::u16string_view(entry.pStream->Id()));
        SaveInto(*entry.pItem, *pStream, save, _param.Folder());
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

// One load, and what is there when it begins.
struct MixerPersist::LOADING {
    ITEM_LOAD load;
    std::vector<ZrPtr<CCoZrItem>> arrPresent;
};

// Whether what is described is what an item that is there plays.
bool MixerPersist::IsSame(CCoZrItem& _present, XMLNodeBase& _kind, int32_t _nRefId, const LOADING& _loading) const {
    if (_nRefId <= 0 || _present.Node()->ObjectAs<int32_t>(kRefIdObject) != _nRefId) return false;
    std::u16string strPath, strFile;
    if (!_kind.GetAttribute(kPath.text, strPath)) {  // a further place of a source that was named before
        const auto it = _loading.load.mapSources.find(_nRefId);
        return it != _loading.load.mapSources.end() && it->second.pSource.Get() == _present.Source();
    }
    ITEM_SAVE save;
    const XMLNodePtr pNow = CoXMLNode::Create(u"item");
    SaveInto(_present, *pNow, save, {});
    NoteRefId(_present, _nRefId);
    const XMLNodeRef pKind = ItemKind(*pNow);
    return pKind && pKind->HasTag(NameKey(_kind.Tag())) && SameKeys(*pKind, _kind) &&
           (_kind.HasTag(kLive) ? strPath == _present.Path()
                                : ResolveItemPath(_loading.load.strFolder, strPath, strFile) &&
                                      AbsolutePath(strFile) == AbsolutePath(_present.Path()));
}

// _pHere (may be null): the item that has the place now; it is the result where it stays.
HRESULT MixerPersist::LoadPlace(const CoElement& _node, CCoZrItem* _pHere, LOADING& _loading,
                                ZrPtr<CCoZrItem>& _pItem) const {
    const XMLNodePtr pNode = CoXMLNode::Create(u"item");
    _node.CopyTo(*pNode, false, eZrUT_ClearDest);
    const XMLNodeRef pKind = ItemKind(*pNode);
    const int32_t nRefId = pKind ? pKind->AttributeOr(kRefId.text, 0) : 0;
    if (pKind && pKind->HasTag(kFile) && pKind->HasOwnAttribute(kPath) && parts.maker.LoopsFiles())
        pKind->SetOwnAttribute(kLoop, u"true", false);
    for (const ZrPtr<CCoZrItem>& pPresent : _loading.arrPresent) {
        if (!pKind || !IsSame(*pPresent, *pKind, nRefId, _loading)) continue;
        _loading.load.mapSources.try_emplace(
            nRefId, ITEM_LOAD::SOURCE{ZrPtr<IUnknown>(pPresent->Source()), pPresent->Owned(), pPresent->Path()});
        if (pPresent.Get() != _pHere) continue;
        _pItem = pPresent;
        return LoadItemState(*pNode, *_pItem, _loading.load);
    }
    const HRESULT hr = LoadItem(pNode.Get(), ItemPlace::kMixer, _loading.load, _pItem);
    if (Failed(hr)) return hr;
    if (!_pItem) return E_OUTOFMEMORY;
    parts.maker.Adopt(*_pItem);
    NoteRefId(*_pItem, nRefId);
    return S_OK;
}

void MixerPersist::LoadBackground(CoElement& _node, LOADING& _loading) {
    const TraceScope trace("Mixer_LoadXML(BG)");
    const ZrPtr<CCoZrItem> pHere = parts.streams.Background();
    ZrPtr<CCoZrItem> pItem;
    if (_node.ElementCount() > 0 && Failed(LoadPlace(_node, pHere.Get(), _loading, pItem))) return;
    if (pItem != pHere) parts.background.SetItem(std::move(pItem));
}

void MixerPersist::LoadStreams(CoElement& _node, LOADING& _loading) {
    const TraceScope trace("Mixer_LoadXML");
    struct PLACE {
        std::u16string strId;
        ZrPtr<CCoZrItem> pItem;
        bool bStays;
    };
    std::vector<PLACE> arrPlaces;
    CInputStream here;
    for (size_t i = 0; const ElementPtr pNode = _node.ChildAt(i); ++i) {
        if (pNode->IsText()) continue;
        PLACE place{pNode->AttributeOr(kStreamId, std::u16string_view()), {}, false};
        const bool bHere = parts.streams.Find(place.strId, &here) >= 0;
        CCoZrItem* const pHere = bHere ? here.pItem.Get() : nullptr;
        if (Failed(LoadPlace(*pNode, pHere, _loading, place.pItem))) continue;
        place.bStays = pHere && place.pItem.Get() == pHere;
        arrPlaces.push_back(std::move(place));
    }
    // All that is new is there. First goes what has no place any more, as its source may have got another one.
    for (int32_t i = 0; parts.streams.At(i, here);) {
        const bool bNamed = std::any_of(arrPlaces.begin(), arrPlaces.end(),
                                        [&](const PLACE& _place) { return _place.strId == here.pStream->Id(); });
        if (bNamed || parts.inputs.RemoveByIndex(i, 0, 0) != S_OK) ++i;
    }
    int32_t nPlace = 0;
    for (const PLACE& place : arrPlaces) {
        if (!place.bStays && Failed(parts.inputs.AddItem(place.strId, place.pItem))) continue;
        if (const int32_t nAt = parts.streams.Find(place.pItem.Get(), nullptr); nAt >= 0)
            parts.inputs.Reorder(place.pItem.Get(), nPlace++ - nAt, 0);
    }
}

void MixerPersist::LoadItems(CoElement& _tree, const PERSIST_PARAM& _param) {
    LOADING loading;
    loading.load.strFormatLine = parts.maker.OutputLine();
    loading.load.strFolder = _param.Folder();
    loading.load.FindObject = [this](std::u16string_view _path) { return parts.named.Find(_path); };
    if (ZrPtr<CCoZrItem> pItem = parts.streams.Background()) loading.arrPresent.push_back(std::move(pItem));
    CInputStream entry;
    for (int32_t i = 0; parts.streams.At(i, entry); ++i) loading.arrPresent.push_back(entry.pItem);
    if (const ElementPtr pNode = _tree.Find(kBackgroundNode)) LoadBackground(*pNode, loading);
    if (const ElementPtr pNode = _tree.Find(kStreamsNode)) LoadStreams(*pNode, loading);
}

HRESULT MixerPersist::Load(std::u16string_view _object, CoElement& _tree, const PERSIST_PARAM& _param) {
    if (!IsScenesOnly(_object) && _tree.HasTag(NameKey(kConfig))) {
        LoadKeys(_tree, {});
        if (const ElementPtr pObject = _tree.Find(kObjectNode)) LoadKeys(*pObject, u"object::");
        LoadFormat(_tree, parts.format);  // before the items, which are asked for it
        if (const ElementPtr pAudio = _tree.Find(kAudioNode)) parts.tracks.Load(*pAudio);
        LoadItems(_tree, _param);
        if (!_tree.Find(kScenesNode)) return S_OK;
    }
    return LoadScenes(parts.scenes, _tree, _param);
}

}  // namespace zr
