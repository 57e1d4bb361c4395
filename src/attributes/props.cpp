#include "attributes/props.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "attributes/attribute_line.h"
#include "attributes/attribute_set.h"
#include "attributes/interface_call.h"
#include "attributes/key_lists.h"
#include "attributes/schema.h"
#include "attributes/special_names.h"
#include "platform/wide_text.h"
#include "zr/utf8.h"

namespace zr {
namespace {

using ReadScope = CRWReadScope<CRWSynchroLiteRW>;
using WriteScope = CRWWriteScope<CRWSynchroLiteRW>;

constexpr NameKey keyObject{u"object"};

bool IsEmpty(const char16_t* _sz) { return !_sz || !*_sz; }

std::u16string_view FirstName(std::u16string_view _path) { return _path.substr(0, _path.find(u"::")); }

bool IsXml(std::u16string_view _value) {
    const size_t nFirst = _value.find_first_not_of(u" \t\r\n");
    return nFirst != _value.npos && _value[nFirst] == u'<';
}

// Two texts, either of which may not be wanted; none of them after a failure.
HRESULT GivePair(std::u16string_view _first, BSTR* _pbsFirst, std::u16string_view _second, BSTR* _pbsSecond) {
    HRESULT hr = _pbsFirst ? GiveText(_first, _pbsFirst) : S_OK;
    if (Succeeded(hr) && _pbsSecond) hr = GiveText(_second, _pbsSecond);
    if (Failed(hr) && _pbsFirst) SysFreeString(std::exchange(*_pbsFirst, nullptr));
    return hr;
}

// The children of one name, in order, and which of them is the next to be merged into.
struct PRESENT {
    std::vector<XMLNodeRef> arrNodes;
    size_t nNext = 0;
};

std::map<uint64_t, PRESENT> PresentChildren(const XMLNodeBase& _node) {
    std::map<uint64_t, PRESENT> mapPresent;
    for (XMLNodeRef& pChild : _node.ChildNodes()) {
        if (pChild->IsText()) continue;
        const std::u16string strName = pChild->Name();
        mapPresent[NameHash(strName)].arrNodes.push_back(std::move(pChild));
    }
    return mapPresent;
}

// Puts what _source holds into _target: values over values, nodes into the nodes of their name, in order, where there
// are any. _source is used up. Without recursion, for trees of any depth.
void Merge(XMLNodeBase& _source, XMLNodeBase& _target) {
    std::vector<std::pair<XMLNodeRef, XMLNodeRef>> arrOpen{{&_source, &_target}};
    while (!arrOpen.empty()) {
        const auto [pSource, pTarget] = std::move(arrOpen.back());
        arrOpen.pop_back();
        pTarget->CopyAttributesFrom(*pSource, eZrUT_Update);
        // Taken out all at once and looked up in a map: one by one either would take the square of their number.
        std::vector<XMLNodeRef> arrChildren = pSource->ChildNodes();
        pSource->RemoveChildren();
        std::map<uint64_t, PRESENT> mapPresent = PresentChildren(*pTarget);
        for (XMLNodeRef& pChild : arrChildren) {
            if (pChild->IsText()) {
                pTarget->SetText(pChild->Text());
                continue;
            }
            const std::u16string strName = pChild->Name();
            PRESENT& present = mapPresent[NameHash(strName)];
            if (present.nNext < present.arrNodes.size())
                arrOpen.emplace_back(std::move(pChild), present.arrNodes[present.nNext++]);
            else
                pTarget->InsertChildNode(std::move(pChild));
        }
    }
}

}  // namespace

ZrPropsHW::ZrPropsHW(const PROPS_PROFILE& _profile, IPropsHost& _host, const LockRank& _rank)
    : pProfile(&_profile),
      host(_host),
      pRoot(CoXMLNode::Create(u"props")),
      pObject(pRoot->Find(keyObject.text, true)),
      lockTree(_rank) {
    SetDefaults();
}

ZrPropsHW::ZrPropsHW(XMLNodePtr _pRoot, IPropsHost& _host, const LockRank& _rank)
    : host(_host), pRoot(std::move(_pRoot)), pObject(pRoot->Find(keyObject.text, true)), lockTree(_rank) {}

bool ZrPropsHW::IsSynchronous() const {
    return pObject->AttributeOr(u"sync_mode", true) && !pRoot->AttributeOr(u"background.direct_out", false);
}

// --- Setting

HRESULT ZrPropsHW::PropsSet_I(const char16_t* _bsPropName, const char16_t* _bsPropValue) {
    if (IsEmpty(_bsPropName) && IsEmpty(_bsPropValue)) return E_INVALIDARG;
    return InterfaceCall([&] {
        const WriteScope scope(lockTree, "PropsSet");
        return IsEmpty(_bsPropName) ? SetAll(_bsPropValue) : SetKey(_bsPropName, TextArgument(_bsPropValue));
    });
}

HRESULT ZrPropsHW::SetKey(std::u16string_view _name, std::u16string_view _value) {
    if (const HRESULT hr = host.OnHostedSet(_name, _value); hr != ZR_E_RETRY) return hr;

    if (EqualNoCase(FirstName(_name), keyObject.text)) AttachObject();
    std::optional<std::u16string> old;
    const XMLNodeRef pNode = pRoot->FindNode(_name);
    if (pNode && pNode.Get() != pRoot.Get()) {
        old = pNode->Text();
        pNode->SetText(_value);
    } else {
        if (std::u16string strOld; pRoot->GetAttribute(_name, strOld)) old = std::move(strOld);
        if (!pRoot->SetAttribute(_name, _value)) return E_INVALIDARG;
    }

    // "a::b" beside an attribute "a" would make "a" both a value and a node: the value becomes the node's text.
    if (const size_t nSplit = _name.rfind(u"::"); nSplit != _name.npos) {
        const std::u16string_view parent = _name.substr(0, nSplit);
        std::u16string strMoved;
        if (pRoot->GetAttribute(parent, strMoved)) {
            if (const XMLNodeRef pParent = pRoot->FindNode(parent)) pParent->SetText(strMoved);
            pRoot->RemoveAttribute(parent);
        }
    }
    return OnChanged(_name, _value, old ? &*old : nullptr);
}

HRESULT ZrPropsHW::SetAll(const char16_t* _szValue) {
    const bool bHadObject = pObject->HasParent();
    AttachObject();
    HRESULT hr = S_OK;
    if (IsXml(_szValue)) {
        const XMLNodePtr pSource = CoXMLNode::Create(u"props");
        hr = pSource->Parse(_szValue);
        if (Succeeded(hr)) Merge(*pSource, *pRoot);
    } else {
        SetAttributeLine(*pRoot, _szValue, eZrUT_Update, BareNames::kDrop, LineNames::kPaths);
    }
    if (!bHadObject && pObject->AttributeCount() == 0 && pObject->ChildCount() == 0) pObject->Detach();
    if (Succeeded(hr)) OnAllChanged();
    return Failed(hr) ? hr : S_OK;
}

// The node `object` stays one and the same, because readers on other threads hold on to it: it goes back into a tree
// from which it was removed, instead of a new one.
void ZrPropsHW::AttachObject() {
    if (!pObject->HasParent()) pRoot->AppendChild(pObject);
}

void ZrPropsHW::ClearObjectIfGone() {
    if (pObject->HasParent()) return;
    pObject->RemoveChildren();
    pObject->RemoveAttributes();
}

HRESULT ZrPropsHW::PropsRemove_I(const char16_t* _bsPropName) {
    if (IsEmpty(_bsPropName)) return E_INVALIDARG;
    return InterfaceCall([&] {
        const WriteScope scope(lockTree, "PropsRemove");
        const HRESULT hr = Remove(_bsPropName);
        ClearObjectIfGone();
        if (Succeeded(hr)) host.OnKeyChanged({}, {}, nullptr);
        return hr;
    });
}

HRESULT ZrPropsHW::Remove(std::u16string_view _name) {
    if (_name == u"_all_props_") {
        pRoot->RemoveAttributes();
        return S_OK;
    }
    if (_name == u"_all_nodes_") {
        pRoot->RemoveChildren();
        return S_OK;
    }
    if (pRoot->RemoveAttribute(_name)) return S_OK;
    const XMLNodeRef pNode = pRoot->FindNode(_name);
    return pNode && pNode.Get() != pRoot.Get() && pNode->Detach() ? S_OK : E_INVALIDARG;
}

// --- Reading

HRESULT ZrPropsHW::PropsGet_I(const char16_t* _bsPropName, BSTR* _pbsPropValue) const {
    if (!_pbsPropValue) return E_POINTER;
    *_pbsPropValue = nullptr;
    return InterfaceCall([&] {
        const ReadScope scope(lockTree);
        if (!IsEmpty(_bsPropName)) return GetKey(_bsPropName, _pbsPropValue);
        std::u16string strXml;
        pRoot->Write(strXml);
        return GiveText(strXml, _pbsPropValue);
    });
}

HRESULT ZrPropsHW::GetKey(std::u16string_view _name, BSTR* _pbsPropValue) const {
    if (const HRESULT hr = GetHosted(_name, _pbsPropValue); hr != ZR_E_RETRY) return hr;
    if (const SPECIAL_NAME* pSpecial = FindSpecialName(_name)) return GiveText(pSpecial->pfnValue(), _pbsPropValue);

    if (const HRESULT hr = pRoot->GiveAttribute(_name, _pbsPropValue); hr != S_FALSE) return hr;
    const XMLNodeRef pNode = pRoot->FindNode(_name);
    if (pNode && pNode.Get() != pRoot.Get()) return GiveText(pNode->Text(), _pbsPropValue);

    const auto strDefault = Schema(*pRoot).Info(_name, eZrIT_Default);
    if (!strDefault) return S_FALSE;
    const HRESULT hr = GiveText(*strDefault, _pbsPropValue);
    return Failed(hr) ? hr : S_FALSE;
}

std::u16string ZrPropsHW::TextOf(std::u16string_view _name) const {
    Text value;
    GetKey(_name, value.Out());
    return std::u16string(value.View());
}

XMLNodeRef ZrPropsHW::SubNode(std::u16string_view _path) const { return pRoot->FindNode(_path); }

HRESULT ZrPropsHW::PropsGetCount_I(const char16_t* _bsNodeName, int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    *_pnCount = 0;
    return InterfaceCall([&] {
        const ReadScope scope(lockTree);
        const XMLNodeRef pNode = SubNode(TextArgument(_bsNodeName));
        if (!pNode) return E_INVALIDARG;
        const size_t nDescribed = Schema(*pNode).Entries().size();
        const size_t nKeys = nDescribed > 0 ? nDescribed : pNode->AttributeCount();
        *_pnCount = static_cast<int32_t>(nKeys + pNode->ElementCount());
        return S_OK;
    });
}

HRESULT ZrPropsHW::PropsGetByIndex_I(const char16_t* _bsNodeName, int32_t _nIndex, BSTR* _pbsPropName,
                                     BSTR* _pbsPropValue, int32_t* _pbNode) const {
    if (_pbsPropName) *_pbsPropName = nullptr;
    if (_pbsPropValue) *_pbsPropValue = nullptr;
    if (_pbNode) *_pbNode = 0;
    if (_nIndex < 0) return ZR_E_BAD_INDEX;
    return InterfaceCall([&] {
        const ReadScope scope(lockTree);
        POSITION position;
        const HRESULT hr = GetPosition(TextArgument(_bsNodeName), static_cast<size_t>(_nIndex), position);
        if (Failed(hr)) return hr;
        if (_pbNode) *_pbNode = position.bNode ? 1 : 0;
        return GivePair(position.strName, _pbsPropName, position.strValue, _pbsPropValue);
    });
}

HRESULT ZrPropsHW::GetPosition(std::u16string_view _node, size_t _nIndex, POSITION& _position) const {
    _position.bNode = false;
    const XMLNodeRef pNode = SubNode(_node);
    if (!pNode) {
        if (!EqualNoCase(_node, u"_info_")) return E_INVALIDARG;
        // The keys of the root, each with its attribute line.
        const XMLNodePtr pLine = CoXMLNode::Create(u"_info_");
        if (!pRoot->AttributeAt(_nIndex, &_position.strName, &_position.strValue)) return ZR_E_BAD_INDEX;
        pLine->SetOwnAttribute(NameKey(_position.strName), _position.strValue);
        _position.strValue.clear();
        pLine->WriteAttributes(_position.strValue);
        _position.strValue.erase(0, 1);  // the blank in front
        return S_OK;
    }
    const Schema schema(*pNode);
    const std::vector<std::u16string> arrDescribed = schema.Entries();
    const size_t nKeys = !arrDescribed.empty() ? arrDescribed.size() : pNode->AttributeCount();
    if (_nIndex >= nKeys) {
        const XMLNodeRef pChild = pNode->ElementNodeAt(_nIndex - nKeys);
        if (!pChild) return ZR_E_BAD_INDEX;
        _position = {pChild->Name(), pChild->Text(), true};
    } else if (arrDescribed.empty()) {
        if (!pNode->AttributeAt(_nIndex, &_position.strName, &_position.strValue)) return ZR_E_BAD_INDEX;
    } else {
        _position.strName = arrDescribed[_nIndex];
        if (!pNode->GetAttribute(_position.strName, _position.strValue))
            _position.strValue = schema.Info(_position.strName, eZrIT_Default).value_or(u"");
    }
    return S_OK;
}

HRESULT ZrPropsHW::PropsInfoGet_I(const char16_t* _bsPropName, eZrInfoType _eType, BSTR* _pbsInfo) const {
    const ReadScope scope(lockTree);
    return AttributeSet(*pRoot).InfoGet(_bsPropName, _eType, _pbsInfo);
}

// --- Options

HRESULT ZrPropsHW::PropsOptionGetCount_I(const char16_t* _bsPropName, int32_t* _pnOptionCount) const {
    if (!_pnOptionCount) return E_POINTER;
    *_pnOptionCount = 0;
    return InterfaceCall([&] {
        const WriteScope scope(lockTree, "PropsOptionGetCount");
        *_pnOptionCount = static_cast<int32_t>(Schema(*pRoot).Options(TextArgument(_bsPropName)).size());
        return *_pnOptionCount > 0 ? S_OK : S_FALSE;
    });
}

HRESULT ZrPropsHW::PropsOptionGetByIndex_I(const char16_t* _bsPropName, int32_t _nOptionIdx, BSTR* _pbsOptionValue,
                                           BSTR* _pbsHelp) const {
    if (_pbsOptionValue) *_pbsOptionValue = nullptr;
    if (_pbsHelp) *_pbsHelp = nullptr;
    return InterfaceCall([&] {
        const WriteScope scope(lockTree, "PropsOptionGetByIndex");
        const Schema schema(*pRoot);
        const std::u16string_view name = TextArgument(_bsPropName);
        const std::vector<std::u16string> arrOptions = schema.Options(name);
        if (_nOptionIdx < 0 || static_cast<size_t>(_nOptionIdx) >= arrOptions.size()) return ZR_E_BAD_INDEX;
        const std::u16string& strOption = arrOptions[static_cast<size_t>(_nOptionIdx)];
        return GivePair(strOption, _pbsOptionValue, schema.ValueInfo(name, strOption, {}).value_or(u""), _pbsHelp);
    });
}

HRESULT ZrPropsHW::PropsOptionSetByIndex_I(const char16_t* _bsPropName, int32_t _nOptionIdx) {
    return InterfaceCall([&] {
        const WriteScope scope(lockTree, "PropsOptionSetByIndex");
        const std::u16string_view name = TextArgument(_bsPropName);
        const std::vector<std::u16string> arrOptions = Schema(*pRoot).Options(name);
        if (_nOptionIdx < 0 || static_cast<size_t>(_nOptionIdx) >= arrOptions.size()) return ZR_E_BAD_INDEX;
        return SetKey(name, arrOptions[static_cast<size_t>(_nOptionIdx)]);
    });
}

HRESULT ZrPropsHW::PropsOptionGet_I(const char16_t* _bsPropName, int32_t* _pnOptionIdx, BSTR* _pbsOptionValue,
                                    BSTR* _pbsHelp) const {
    if (_pnOptionIdx) *_pnOptionIdx = -1;
    if (_pbsOptionValue) *_pbsOptionValue = nullptr;
    if (_pbsHelp) *_pbsHelp = nullptr;
    return InterfaceCall([&] {
        const WriteScope scope(lockTree, "PropsOptionGet");
        const Schema schema(*pRoot);
        const std::u16string_view name = TextArgument(_bsPropName);
        const std::u16string strPresent = TextOf(name);
        int32_t nOption = 0;
        for (const std::u16string& strOption : schema.Options(name)) {
            if (EqualNoCase(strOption, strPresent)) {
                if (_pnOptionIdx) *_pnOptionIdx = nOption;
                return GivePair(strOption, _pbsOptionValue, schema.ValueInfo(name, strOption, {}).value_or(u""),
                                _pbsHelp);
            }
            ++nOption;
        }
        const HRESULT hr = GivePair(strPresent, _pbsOptionValue, {}, _pbsHelp);
        return Failed(hr) ? hr : S_FALSE;
    });
}

}  // namespace zr
