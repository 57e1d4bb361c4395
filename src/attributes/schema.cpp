#include "attributes/schema.h"

#include <algorithm>

namespace zr {
namespace {

constexpr NameKey keyInfo{u"attributes_info"};

// By eZrInfoType.
constexpr std::u16string_view arrInfoNames[] = {u"", u"type", u"default", u"values", u"min", u"max", u"dynamic"};

std::optional<std::u16string> OwnAttribute(const XMLNodeRef& _pNode, std::u16string_view _name) {
    std::u16string text;
    if (!_pNode || !_pNode->GetAttribute(_name, text)) return std::nullopt;
    return text;
}

std::optional<std::u16string> Help(const XMLNodeRef& _pNode) {
    if (!_pNode) return std::nullopt;
    std::u16string text = _pNode->Text();
    if (text.empty()) return std::nullopt;
    return text;
}

// The help (empty _name) or an attribute of a node of the description.
std::optional<std::u16string> HelpOrAttribute(const XMLNodeRef& _pNode, std::u16string_view _name) {
    return _name.empty() ? Help(_pNode) : OwnAttribute(_pNode, _name);
}

bool Says(const std::optional<std::u16string>& _text) { return _text && !_text->empty(); }

void AddNames(const XMLNodeBase& _node, bool _bElementsOnly, std::vector<std::u16string>& _arrNames) {
    for (const XMLNodeRef& pChild : _bElementsOnly ? _node.ElementNodes() : _node.ChildNodes())
        _arrNames.push_back(pChild->Name());
}

void SplitOptions(std::u16string_view _list, std::vector<std::u16string>& _arrOptions) {
    while (!_list.empty()) {
        const size_t nComma = std::min(_list.find(u','), _list.size());
        std::u16string_view option = _list.substr(0, nComma);
        _list.remove_prefix(std::min(nComma + 1, _list.size()));
        const size_t nFirst = option.find_first_not_of(u' ');
        if (nFirst == option.npos) continue;
        option = option.substr(nFirst, option.find_last_not_of(u' ') + 1 - nFirst);
        _arrOptions.emplace_back(option);
    }
}

}  // namespace

Schema::Schema(XMLNodeBase& _node) : node(_node), pOwn(_node.FindSettingNode(keyInfo)) {
    pRoot = pOwn;
    bool bFirst = true;
    for (XMLNodeRef pUp = node.ParentNode(); pUp; pUp = pUp->ParentNode()) {
        XMLNodeRef pInfo = pUp->FindSettingNode(keyInfo);
        if (bFirst) pParent = pInfo;
        bFirst = false;
        if (!pRoot) pRoot = pInfo;
        if (pRoot) break;
    }
    bUseParent = !pOwn || pOwn->AttributeOr(u"inherit", true);
}

std::vector<XMLNodeRef> Schema::KindChain() const {
    std::vector<XMLNodeRef> arrChain;
    if (!pRoot) return arrChain;
    const std::u16string strTag = node.Tag();
    XMLNodeRef pKind = pRoot->FindChildNode(NameKey(strTag));
    if (!pKind) {
        const size_t nDot = strTag.find(u'.');
        if (nDot != strTag.npos) pKind = pRoot->FindChildNode(NameKey(std::u16string_view(strTag).substr(0, nDot)));
    }
    while (pKind && std::find(arrChain.begin(), arrChain.end(), pKind) == arrChain.end()) {
        arrChain.push_back(pKind);
        const auto inherit = OwnAttribute(pKind, u"inherit");
        pKind = Says(inherit) ? pRoot->FindChildNode(NameKey(*inherit)) : XMLNodeRef();
    }
    return arrChain;
}

Schema::FOUND Schema::Find(std::u16string_view _name) const {
    const auto FindBelow = [&](const XMLNodeRef& _pNode) {
        XMLNodeRef pInfo = _pNode ? _pNode->FindNode(_name) : XMLNodeRef();
        return pInfo == _pNode ? XMLNodeRef() : pInfo;  // a path without a name leads nowhere
    };
    if (XMLNodeRef pInfo = FindBelow(pOwn)) return {pInfo, pRoot};
    if (bUseParent)
        if (XMLNodeRef pInfo = FindBelow(pParent)) return {pInfo, pRoot};
    for (const XMLNodeRef& pKind : KindChain())
        if (XMLNodeRef pInfo = FindBelow(pKind)) return {pInfo, pRoot};
    std::u16string_view last;
    const XMLNodeRef pHolder = node.FindNode(_name, false, &last);
    if (!pHolder || pHolder.Get() == &node) return {};
    return Schema(*pHolder).Find(last);
}

// Where the options of an attribute stand: at its own description, or at the one that it selects from.
XMLNodeRef Schema::OptionsNode(const FOUND& _found) {
    if (!_found.pRoot || _found.pInfo->ElementCount() > 0) return _found.pInfo;
    const auto select = OwnAttribute(_found.pInfo, u"select_from");
    XMLNodeRef pSelected = Says(select) ? _found.pRoot->FindChildNode(NameKey(*select)) : XMLNodeRef();
    return pSelected ? pSelected : _found.pInfo;
}

std::optional<std::u16string> Schema::Info(std::u16string_view _name, eZrInfoType _eType) const {
    const FOUND found = Find(_name);
    if (!found.pInfo) return std::nullopt;
    auto text = HelpOrAttribute(found.pInfo, arrInfoNames[_eType]);
    if (_eType != eZrIT_Values || Says(text)) return text;

    const XMLNodeRef pOptions = OptionsNode(found);
    if (pOptions != found.pInfo) text = OwnAttribute(pOptions, u"values");
    if (Says(text)) return text;
    std::vector<std::u16string> arrNames;
    AddNames(*pOptions, true, arrNames);
    if (arrNames.empty()) return text;
    text.emplace();
    for (const std::u16string& strName : arrNames) *text += strName + u'|';
    return text;
}

std::vector<std::u16string> Schema::Options(std::u16string_view _name) const {
    std::vector<std::u16string> arrOptions;
    const FOUND found = Find(_name);
    if (!found.pInfo) return arrOptions;
    auto values = OwnAttribute(found.pInfo, u"values");
    const XMLNodeRef pOptions = OptionsNode(found);
    if (!Says(values) && pOptions != found.pInfo) values = OwnAttribute(pOptions, u"values");
    if (Says(values))
        SplitOptions(*values, arrOptions);
    else
        AddNames(*pOptions, true, arrOptions);
    return arrOptions;
}

std::optional<std::u16string> Schema::ValueInfo(std::u16string_view _name, std::u16string_view _value,
                                                std::u16string_view _type) const {
    const FOUND found = Find(_name);
    if (!found.pInfo) return std::nullopt;
    std::u16string strPresent;
    if (_value.empty()) {
        node.GetAttribute(_name, strPresent);
        _value = strPresent;
    }
    XMLNodeRef pValue = found.pInfo->FindChildNode(NameKey(_value));
    if (!pValue && found.pRoot) {
        if (const auto select = OwnAttribute(found.pInfo, u"select_from"); Says(select))
            if (const XMLNodeRef pSelected = found.pRoot->FindChildNode(NameKey(*select)))
                pValue = pSelected->FindChildNode(NameKey(_value));
    }
    return HelpOrAttribute(pValue, _type);
}

std::optional<std::u16string> Schema::NodeInfo(std::u16string_view _type) const {
    const std::vector<XMLNodeRef> arrChain = KindChain();
    if (arrChain.empty()) return std::nullopt;
    if (_type.empty()) return Help(arrChain.front());
    for (const XMLNodeRef& pKind : arrChain)
        if (auto text = OwnAttribute(pKind, _type)) return text;
    return std::nullopt;
}

std::vector<std::u16string> Schema::Entries() const {
    std::vector<std::u16string> arrNames;
    if (bUseParent && pParent) AddNames(*pParent, false, arrNames);
    if (pOwn) AddNames(*pOwn, false, arrNames);
    if (!pOwn && !pParent)
        for (const XMLNodeRef& pKind : KindChain()) AddNames(*pKind, true, arrNames);
    return arrNames;
}

}  // namespace zr
