#include "sources/item_xml.h"

#include <algorithm>
#include <cmath>

#include "attributes/attr_text.h"
#include "attributes/attribute_line.h"
#include "attributes/file_keys.h"
#include "attributes/interface_call.h"
#include "attributes/item_keys.h"
#include "attributes/name_path.h"
#include "attributes/xml_file.h"
#include "platform/class_registry.h"
#include "platform/wide_text.h"
#include "sources/built_in_picture.h"
#include "sources/file_line.h"
#include "zr/class_ids.h"

namespace zr {
namespace {

constexpr size_t kMostBreakDepth = 8;  // breaks of breaks; a configuration made by hand has one
constexpr size_t kMostKeyDepth = 8;    // "a::b::c" has two nodes

// Not written as keys: what the place of the item is, and what has a form of its own.
constexpr std::u16string_view arrOwnForm[] = {u"pause_in",  u"pause_out", u"stop_in", u"stop_out",
                                              u"stream_id", u"command",   u"param"};
// What belongs to the place of the item, whatever its text says.
constexpr std::u16string_view arrPlaceKeys[] = {u"stream_id", u"command", u"param"};
constexpr std::u16string_view arrEdges[] = {u"pause_in", u"pause_out", u"stop_in", u"stop_out"};
constexpr std::u16string_view arrSourceNodes[] = {u"file", u"device", u"object", u"info", u"audio", u"stat", u"stats"};
constexpr std::u16string_view arrDeviceNames[] = {u"video", u"audio", u"ext_audio", u"line-in"};
// Of a file: found by opening it, or written by other means.
constexpr std::u16string_view arrFoundKeys[] = {u"path", u"duration", u"ref_id", u"start_timecode"};

template <class List>
bool IsOneOf(std::u16string_view _name, const List& _list) {
    return std::any_of(std::begin(_list), std::end(_list), [&](auto _other) { return EqualNoCase(_name, _other); });
}

struct OwnText {
    BSTR bs = nullptr;
    ~OwnText() { SysFreeString(bs); }
    std::u16string_view View() const { return TextArgument(bs); }
};

// The keys with which a mixer makes its items, as they are when nobody sets them.
bool IsMade(std::u16string_view _name, std::u16string_view _value) {
    const PROP_KEY* const pKey = MadeItemKey(_name);
    return pKey && ReadBool(_value) == (pKey->nDefault != 0);
}

// What else may stand in a text, or would not come back from one as the same, is no key: a quote in a name, once
// written, would take the rest of the text with it.
bool IsKeyName(std::u16string_view _name) {
    return IsXmlAttributeName(_name) && _name.find(u':') == std::u16string_view::npos;
}
bool IsNodeName(std::u16string_view _name) { return IsXmlName(_name) && IsKeyName(_name); }

// _nDepth: of the node that it begins at.
bool IsKeyPath(std::u16string_view _path, size_t _nDepth) {
    for (std::u16string_view name; CutPath(_path, name); ++_nDepth)
        if (!IsNodeName(name) || _nDepth >= kMostKeyDepth) return false;
    return IsKeyName(_path);
}

// --- Saving

// As it is read again.
std::u16string TagOf(const XMLNodeBase& _node) {
    std::u16string strTag = _node.Name();
    for (char16_t& ch : strTag)
        if (ch >= u'A' && ch <= u'Z') ch = static_cast<char16_t>(ch + (u'a' - u'A'));
    return strTag;
}

bool IsSavedKey(std::u16string_view _name, std::u16string_view _value, size_t _nDepth) {
    return IsKeyName(_name) && (_nDepth > 0 || (!IsOneOf(_name, arrOwnForm) && !IsMade(_name, _value)));
}

// A key that is a node as well has its value in the text of the node. Only an attribute brings any value back
// unchanged; those of nodes stand behind the others, wherever they came from.
void SaveKeyNode(const XMLNodeBase& _from, XMLNodeBase& _to, size_t _nDepth) {
    std::u16string strName, strText;
    for (size_t i = 0; _from.AttributeAt(i, &strName, &strText); ++i)
        if (IsSavedKey(strName, strText, _nDepth) && !_from.FindChildNode(NameKey(strName)))
            _to.SetOwnAttribute(NameKey(strName), strText);
    for (const XMLNodeRef& pChild : _from.ChildNodes()) {
        strName = TagOf(*pChild);
        if (!IsNodeName(strName) || (_nDepth == 0 && IsOneOf(strName, arrSourceNodes))) continue;
        if (!_from.GetAttribute(strName, strText)) strText = pChild->Text();
        if (!strText.empty() && IsSavedKey(strName, strText, _nDepth)) _to.SetOwnAttribute(NameKey(strName), strText);
        if (_nDepth == kMostKeyDepth) continue;
        const XMLNodePtr pCopy = CoXMLNode::Create(strName);
        SaveKeyNode(*pChild, *pCopy, _nDepth + 1);
        if (pCopy->AttributeCount() > 0 || pCopy->ChildCount() > 0) _to.InsertChildNode(XMLNodeRef(pCopy.Get()));
    }
}

void SaveKeys(const CCoZrItem& _item, XMLNodeBase& _node) {
    std::u16string strText;
    for (const std::u16string_view name : arrEdges)
        if (_item.Node()->GetAttribute(name, strText)) _node.SetAttribute(name, std::u16string_view(strText));
    const XMLNodePtr pKeys = CoXMLNode::Create(u"zritem_props");
    SaveKeyNode(*_item.Node(), *pKeys, 0);
    if (pKeys->AttributeCount() > 0 || pKeys->ChildCount() > 0) _node.InsertChildNode(XMLNodeRef(pKeys.Get()));
}

// Whether a key of a file is what it is by itself.
bool IsStandard(std::u16string_view _name, std::u16string_view _value) {
    for (const PROP_KEY& key : FileProfile().arrKeys) {
        if (!EqualNoCase(_name, key.szName)) continue;
        switch (key.eType) {
            case eZrKeyType::Bool: return ReadBool(_value) == (key.nDefault != 0);
            case eZrKeyType::Int: return ParseInt32(_value, 10) == key.nDefault;
            case eZrKeyType::Double: return ParseDouble(_value) == key.dblDefault;
            case eZrKeyType::String: return _value == TextArgument(key.szDefault);
        }
    }
    return _value.empty();
}

void SaveFileKeys(IZrProps* _pProps, XMLNodeBase& _node) {
    int32_t nCount = 0;
    if (!_pProps || Failed(_pProps->PropsGetCount(u"file", &nCount))) return;
    for (int32_t i = 0; i < nCount; ++i) {
        OwnText name, value;
        int32_t bNode = 0;
        if (Failed(_pProps->PropsGetByIndex(u"file", i, &name.bs, &value.bs, &bNode)) || bNode) continue;
        if (IsOneOf(name.View(), arrFoundKeys)) continue;
        if (IsXmlAttributeName(name.View()) && !IsStandard(name.View(), value.View()))
            _node.SetOwnAttribute(NameKey(name.View()), value.View());
    }
}

void SaveDevice(IZrProps* _pProps, XMLNodeBase& _node) {
    for (const std::u16string_view name : arrDeviceNames) {
        OwnText value;
        const std::u16string strKey = u"device::" + std::u16string(name);
        if (!_pProps || Failed(_pProps->PropsGet(strKey.c_str(), &value.bs)) || value.View().empty()) continue;
        if (const XMLNodeRef pDevice = _node.FindNode(u"device", true))
            pDevice->SetOwnAttribute(NameKey(name), value.View());
    }
}

void SaveSource(CCoZrItem& _item, XMLNodeBase& _node, ITEM_SAVE& _save) {
    eZrItemType eType = eZrPIT_Live;
    _item.ItemTypeGet(&eType);
    const XMLNodeRef pKind = _node.AddNode(eType == eZrPIT_File       ? u"file"
                                           : eType == eZrPIT_Playlist ? u"playlist"
                                                                      : u"live");
    if (!pKind) return;
    const auto [it, bFirst] =
        _save.mapRefIds.try_emplace(_item.Source(), static_cast<int32_t>(_save.mapRefIds.size()) + 1);
    if (!bFirst) {
        pKind->SetAttribute(u"ref_id", it->second);
        return;
    }
    pKind->SetAttribute(u"path", _item.Path());
    pKind->SetAttribute(u"ref_id", it->second);
    if (eType == eZrPIT_File) {
        if (_item.OwnFormat()) pKind->CopyAttributesFrom(*_item.OwnFormat(), eZrUT_Update);
        SaveFileKeys(_item.SourceProps(), *pKind);
        return;
    }
    SaveDevice(_item.SourceProps(), _node);
    OwnText xml;
    const ZrPtr<IZrPersist> pPersist = QueryAs<IZrPersist>(_item.Source());
    if (!_item.OwnsSource() || !pPersist || Failed(pPersist->PersistSaveToString(u"", &xml.bs, nullptr))) return;
    const XMLNodePtr pState = CoXMLNode::Create(u"state");
    if (Succeeded(pState->Parse(xml.View()))) pKind->InsertChildNode(XMLNodeRef(pState.Get()));
}

void SaveTracks(CCoZrItem& _item, XMLNodeBase& _node) {
    const XMLNodeRef pAudio = _item.Tracks_I().IsUntouched() ? XMLNodeRef() : _node.AddNode(u"audio");
    if (pAudio) _item.Tracks_I().Save(*pAudio);
}

void SaveStart(const ITEM_START& _start, XMLNodeBase& _node) {
    if (_start.eType == eZrST_Auto) _node.SetAttribute(u"start_time", std::u16string_view(u"auto"));
    if (_start.eType == eZrST_Specified) _node.SetAttribute(u"start_time", DateTimeText(_start.time));
}

void SaveItemAt(CCoZrItem& _item, XMLNodeBase& _node, ITEM_SAVE& _save, size_t _nDepth);

void SaveBreaks(CCoZrItem& _item, XMLNodeBase& _node, ITEM_SAVE& _save, size_t _nDepth) {
    const std::vector<BREAK_ENTRY> arrBreaks = _item.Breaks().All();
    if (arrBreaks.empty() || _nDepth >= kMostBreakDepth) return;
    const XMLNodeRef pList = _node.AddNode(u"breaks");
    for (const BREAK_ENTRY& entry : arrBreaks) {
        const XMLNodeRef pBreak = pList ? pList->AddNode(u"item") : XMLNodeRef();
        if (!pBreak) return;
        if (entry.place.bAtDateTime) {
            pBreak->SetAttribute(u"break_time", DateTimeText(entry.place.time));
        } else {
            pBreak->SetAttribute(u"break_pos", entry.place.dblPosition);
        }
        SaveItemAt(*entry.pItem, *pBreak, _save, _nDepth + 1);
    }
}

void SaveItemAt(CCoZrItem& _item, XMLNodeBase& _node, ITEM_SAVE& _save, size_t _nDepth) {
    if (_item.IsCommand()) {
        OwnText command, param;
        _item.ItemCommandGet(&command.bs, &param.bs, nullptr);
        _node.SetTag(u"command");
        _node.SetAttribute(u"command", command.View());
        _node.SetAttribute(u"param", param.View());
    } else if (_save.bShort) {
        _node.SetAttribute(u"path", _item.Path());
    } else {
        SaveSource(_item, _node, _save);
    }
    SaveKeys(_item, _node);
    SaveTracks(_item, _node);
    SaveBreaks(_item, _node, _save, _nDepth);
    SaveStart(_item.Start(), _node);
}

// --- Loading

HRESULT LoadAt(XMLNodeBase* _pNode, ItemPlace _ePlace, ITEM_LOAD& _load, size_t _nDepth, ZrPtr<CCoZrItem>& _pItem);

// _path: where the node stands, with a separator behind it; empty for the item's own.
void LoadKeyNode(const XMLNodeBase& _node, const std::u16string& _path, CCoZrItem& _item, size_t _nDepth) {
    std::u16string strName, strText;
    for (size_t i = 0; _node.AttributeAt(i, &strName, &strText); ++i)
        if (IsKeyPath(strName, _nDepth)) _item.PropsSet((_path + strName).c_str(), strText.c_str());
    for (const XMLNodeRef& pChild : _node.ChildNodes()) {
        if (!IsNodeName(pChild->Name())) continue;
        const std::u16string strPath = _path + pChild->Name();
        strText = pChild->Text();
        if (!strText.empty()) _item.PropsSet(strPath.c_str(), strText.c_str());
        if (_nDepth < kMostKeyDepth) LoadKeyNode(*pChild, strPath + u"::", _item, _nDepth + 1);
    }
}

void LoadKeys(XMLNodeBase& _node, CCoZrItem& _item) {
    if (const XMLNodeRef pKeys = _node.FindNode(u"zritem_props")) LoadKeyNode(*pKeys, {}, _item, 0);
    std::u16string strText;
    for (const std::u16string_view name : arrEdges)
        if (_node.GetAttribute(name, strText)) _item.Node()->SetAttribute(name, std::u16string_view(strText));
}

void LoadBreaks(XMLNodeBase& _node, CCoZrItem& _item, ITEM_LOAD& _load, size_t _nDepth) {
    const XMLNodeRef pList = _node.FindNode(u"breaks");
    if (!pList || _nDepth >= kMostBreakDepth) return;
    for (const XMLNodeRef& pChild : pList->ChildNodes()) {
        ZrPtr<CCoZrItem> pBreak;
        if (pChild->IsText() || Failed(LoadAt(pChild.Get(), ItemPlace::kList, _load, _nDepth + 1, pBreak))) continue;
        BREAK_PLACE place;
        std::u16string strTime;
        if (!pChild->GetAttribute(u"break_pos", place.dblPosition) && pChild->GetAttribute(u"break_time", strTime)) {
            place.bAtDateTime = true;
            place.time = ReadDateTimeText(strTime);
        }
        if (!std::isfinite(place.dblPosition)) place.dblPosition = 0;
        _item.Breaks().Add(std::move(pBreak), place, _item.Range());
    }
}

void LoadStart(XMLNodeBase& _node, CCoZrItem& _item) {
    std::u16string strTime;
    if (!_node.GetAttribute(u"start_time", strTime) || strTime.empty()) return;
    if (EqualNoCase(strTime, u"auto")) {
        _item.ItemStartTimeSet(nullptr, eZrST_Auto);
        return;
    }
    const ZR_DATETIME time = ReadDateTimeText(strTime);
    _item.ItemStartTimeSet(&time, eZrST_Specified);
}

void LoadState(XMLNodeBase& _node, CCoZrItem& _item, ITEM_LOAD& _load, size_t _nDepth) {
    LoadKeys(_node, _item);
    if (const XMLNodeRef pAudio = _node.FindNode(u"audio")) _item.Tracks_I().Load(*pAudio);
    LoadBreaks(_node, _item, _load, _nDepth);
    LoadStart(_node, _item);
}

// What a text leaves out is as it was made. What it speaks of is not touched, so that it changes once.
void ResetKeys(CCoZrItem& _item, XMLNodeBase& _node) {
    const XMLNodeRef pKeys = _node.FindNode(u"zritem_props");
    std::vector<std::u16string> arrNames, arrNodes;
    std::u16string strName;
    for (size_t i = 0; _item.Node()->AttributeAt(i, &strName, nullptr); ++i)
        if (!IsOneOf(strName, arrPlaceKeys) && !(pKeys && pKeys->HasAttribute(strName))) arrNames.push_back(strName);
    for (const std::u16string& name : arrNames) {
        const PROP_KEY* const pKey = MadeItemKey(name);
        pKey ? _item.PropsSet(name.c_str(), pKey->nDefault != 0 ? u"true" : u"false") : _item.PropsRemove(name.c_str());
    }
    for (const XMLNodeRef& pChild : _item.Node()->ChildNodes())
        if (!pChild->IsText() && !IsOneOf(TagOf(*pChild), arrSourceNodes)) arrNodes.push_back(TagOf(*pChild));
    for (const std::u16string& name : arrNodes)
        if (const XMLNodeRef pChild = _item.Node()->FindChildNode(NameKey(name))) pChild->Detach();
}

void ResetState(CCoZrItem& _item, XMLNodeBase& _node) {
    _item.Breaks().Clear();
    _item.ItemStartTimeSet(nullptr, eZrST_Off);
    ResetKeys(_item, _node);
    if (!_item.Tracks_I().IsUntouched() && !_node.FindNode(u"audio"))
        _item.Tracks_I().Load(*CoXMLNode::Create(u"audio"));
}

// What the attributes of a "file" node give the file source beside its path.
std::u16string LineOf(const XMLNodeBase& _kind) {
    const XMLNodePtr pLine = CoXMLNode::Create(u"line");
    pLine->CopyAttributesFrom(_kind, eZrUT_ClearDest);
    pLine->RemoveAttribute(u"path");
    pLine->RemoveAttribute(u"ref_id");
    std::u16string strLine;
    pLine->WriteAttributes(strLine);
    return strLine;
}

HRESULT LoadFamilyObject(const GUID& _clsid, XMLNodeBase& _node, XMLNodeBase& _kind, ItemPlace _ePlace,
                         std::u16string_view _path, ZrPtr<CCoZrItem>& _pItem) {
    void* pv = nullptr;
    const HRESULT hr = CreateInstance(_clsid, IUnknown::kIid, &pv);
    if (Failed(hr)) return hr;
    const auto pObject = ZrPtr<IUnknown>::Attach(static_cast<IUnknown*>(pv));
    if (const ZrPtr<IZrProps> pProps = pObject.As<IZrProps>()) {
        const XMLNodeRef pDevice = _node.FindNode(u"device");
        std::u16string strName, strText;
        for (size_t i = 0; pDevice && pDevice->AttributeAt(i, &strName, &strText); ++i)
            pProps->PropsSet((u"device::" + strName).c_str(), strText.c_str());
    }
    if (const ZrPtr<IZrPersist> pPersist = pObject.As<IZrPersist>(); pPersist && _kind.ElementCount() > 0) {
        std::u16string strXml;
        _kind.ElementNodeAt(0)->Write(strXml);
        pPersist->PersistLoad(u"", strXml.c_str(), nullptr);
    }
    _pItem = CCoZrItem::Make(pObject.Get(), _path, std::make_shared<OwnedSource>(pObject.Get()), _ePlace);
    return _pItem ? S_OK : E_OUTOFMEMORY;
}

// _bShort: the path is all that is known, and may be that of anything.
HRESULT LoadSource(XMLNodeBase& _node, XMLNodeBase& _kind, bool _bShort, ItemPlace _ePlace, ITEM_LOAD& _load,
                   ZrPtr<CCoZrItem>& _pItem) {
    int32_t nRefId = 0;
    const bool bNumbered = _kind.GetAttribute(u"ref_id", nRefId);
    if (const auto it = _load.mapSources.find(nRefId); bNumbered && it != _load.mapSources.end()) {
        const ITEM_LOAD::SOURCE& source = it->second;
        _pItem = CCoZrItem::Make(source.pSource.Get(), source.strPath, source.pOwned, _ePlace);
        return _pItem ? S_OK : E_OUTOFMEMORY;
    }
    const std::u16string strPath = _kind.AttributeOr(u"path", std::u16string_view());
    const bool bLive = _kind.HasTag(NameKey(u"live"));
    HRESULT hr = E_INVALIDARG;
    ZrPtr<IUnknown> pNamed;
    if ((bLive || _bShort) && _kind.ElementCount() == 0 && _ePlace == ItemPlace::kMixer && _load.FindObject)
        pNamed = _load.FindObject(strPath);
    if (pNamed) {
        _pItem = CCoZrItem::Make(pNamed.Get(), strPath, {}, _ePlace);
        hr = _pItem ? S_OK : E_OUTOFMEMORY;
    } else if (_kind.HasTag(NameKey(u"playlist"))) {
        hr = LoadFamilyObject(kClsidZrPlaylist, _node, _kind, _ePlace, strPath, _pItem);
    } else if (bLive) {
        hr = LoadFamilyObject(kClsidZrLive, _node, _kind, _ePlace, strPath, _pItem);
    } else if (std::u16string strFile; !strPath.empty() && ResolveItemPath(_load.strFolder, strPath, strFile)) {
        hr = CCoZrItem::MakeFile(strFile, LineOf(_kind), _load.strFormatLine, _pItem, _ePlace);
    }
    if (Succeeded(hr) && bNumbered)
        _load.mapSources[nRefId] = {ZrPtr<IUnknown>(_pItem->Source()), _pItem->Owned(), _pItem->Path()};
    return hr;
}

HRESULT LoadAt(XMLNodeBase* _pNode, ItemPlace _ePlace, ITEM_LOAD& _load, size_t _nDepth, ZrPtr<CCoZrItem>& _pItem) {
    if (!_pNode || _pNode->IsText()) return E_INVALIDARG;
    HRESULT hr = E_INVALIDARG;
    if (_pNode->HasTag(NameKey(u"command"))) {
        hr = CCoZrItem::MakeCommand(_pNode->AttributeOr(u"command", std::u16string_view()),
                                    _pNode->AttributeOr(u"param", std::u16string_view()), nullptr, _pItem);
    } else if (const XMLNodeRef pKind = ItemKind(*_pNode)) {
        hr = LoadSource(*_pNode, *pKind, false, _ePlace, _load, _pItem);
    } else if (_pNode->HasAttribute(u"path")) {
        const XMLNodePtr pShort = CoXMLNode::Create(u"file");
        pShort->SetAttribute(u"path", _pNode->AttributeOr(u"path", std::u16string_view()));
        hr = LoadSource(*_pNode, *pShort, true, _ePlace, _load, _pItem);
    }
    if (Succeeded(hr)) LoadState(*_pNode, *_pItem, _load, _nDepth);
    return hr;
}

bool IsAbsolute(std::u16string_view _path) {
    return _path.starts_with(u'/') || _path.find(u"://") != std::u16string_view::npos;
}

}  // namespace

XMLNodeRef ItemKind(XMLNodeBase& _node) {
    for (const XMLNodeRef& pChild : _node.ChildNodes()) {
        if (pChild->IsText()) continue;
        for (const char16_t* szKind : {u"file", u"playlist", u"live"})
            if (pChild->HasTag(NameKey(szKind))) return pChild;
    }
    return {};
}

bool ResolveItemPath(std::u16string_view _folder, std::u16string_view _path, std::u16string& _resolved) {
    _resolved = _path;
    BuiltInPicture picture;
    if (_folder.empty() || IsAbsolute(_path) || BuiltInPicture::Find(_path, &picture)) return true;
    int nDepth = 0;
    for (size_t nAt = 0; nAt <= _path.size();) {
        const size_t nEnd = std::min(_path.find(u'/', nAt), _path.size());
        const std::u16string_view step = _path.substr(nAt, nEnd - nAt);
        if (step == u"..") {
            if (--nDepth < 0) return false;
        } else if (!step.empty() && step != u".") {
            ++nDepth;
        }
        nAt = nEnd + 1;
    }
    _resolved = std::u16string(_folder) + (_folder.ends_with(u'/') ? u"" : u"/") + std::u16string(_path);
    return true;
}

void SaveItem(CCoZrItem& _item, XMLNodeBase& _node, ITEM_SAVE& _save) { SaveItemAt(_item, _node, _save, 0); }

HRESULT LoadItem(XMLNodeBase* _pNode, ItemPlace _ePlace, ITEM_LOAD& _load, ZrPtr<CCoZrItem>& _pItem) {
    _pItem.Reset();
    return InterfaceCall([&] { return LoadAt(_pNode, _ePlace, _load, 0, _pItem); });
}

HRESULT LoadItemState(XMLNodeBase& _node, CCoZrItem& _item, ITEM_LOAD& _load) {
    return InterfaceCall([&] {
        ResetState(_item, _node);
        LoadState(_node, _item, _load, 0);
        return S_OK;
    });
}

// --- IZrPersist of the item

namespace {

struct SAVE_PARAM {
    ITEM_SAVE save;
    XML_FILE_OPTIONS file;
};

SAVE_PARAM ReadSaveParam(const char16_t* _bsParam) {
    SAVE_PARAM param;
    AttributeLineScanner scanner(TextArgument(_bsParam));
    while (scanner.Next()) {
        if (EqualNoCase(scanner.Name(), u"short_xml")) param.save.bShort = ReadBool(scanner.Value());
        if (EqualNoCase(scanner.Name(), u"xml_header")) param.file.bHeader = ReadBool(scanner.Value());
        if (EqualNoCase(scanner.Name(), u"unicode")) param.file.bUnicode = ReadBool(scanner.Value());
    }
    return param;
}

}  // namespace

HRESULT CCoZrItem::PersistSaveToFile(const char16_t*, const char16_t* _bsFileName, const char16_t* _bsSaveParam) {
    if (TextArgument(_bsFileName).empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        SAVE_PARAM param = ReadSaveParam(_bsSaveParam);
        const XMLNodePtr pNode = CoXMLNode::Create(u"item");
        SaveItem(*this, *pNode, param.save);
        return SaveXmlFile(*pNode, _bsFileName, param.file);
    });
}

HRESULT CCoZrItem::PersistSaveToString(const char16_t*, BSTR* _pbsXMLDesc, const char16_t* _bsSaveParam) {
    if (!_pbsXMLDesc) return E_POINTER;
    *_pbsXMLDesc = nullptr;
    return InterfaceCall([&] {
        SAVE_PARAM param = ReadSaveParam(_bsSaveParam);
        const XMLNodePtr pNode = CoXMLNode::Create(u"item");
        SaveItem(*this, *pNode, param.save);
        std::u16string strXml;
        WriteXmlDocument(*pNode, param.file.bHeader, strXml);
        return GiveText(strXml, _pbsXMLDesc);
    });
}

HRESULT CCoZrItem::PersistLoad(const char16_t*, const char16_t* _bsXMLDescOrFile, const char16_t*) {
    if (TextArgument(_bsXMLDescOrFile).empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        const XMLNodePtr pNode = CoXMLNode::Create(u"item");
        ITEM_LOAD load;
        bool bFile = false;
        const HRESULT hr = LoadXmlFileOrText(_bsXMLDescOrFile, *pNode, &bFile);
        if (Failed(hr)) return hr;
        if (const std::u16string_view name = _bsXMLDescOrFile; bFile && name.rfind(u'/') != name.npos)
            load.strFolder = name.substr(0, name.rfind(u'/'));
        // A break may share the item's own source.
        if (const XMLNodeRef pKind = ItemKind(*pNode))
            load.mapSources[pKind->AttributeOr(u"ref_id", int32_t{0})] = {ZrPtr<IUnknown>(Source()), Owned(), Path()};
        return LoadItemState(*pNode, *this, load);
    });
}

}  // namespace zr
