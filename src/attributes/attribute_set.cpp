#include "attributes/attribute_set.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "attributes/attribute_line.h"
#include "attributes/co_xml_node.h"
#include "attributes/interface_call.h"
#include "attributes/schema.h"
#include "zr/utf8.h"

namespace zr {
namespace {

bool IsEmpty(const char16_t* _sz) { return !_sz || !*_sz; }

// S_FALSE and no text when there is none.
HRESULT GiveInfo(const std::optional<std::u16string>& _text, BSTR* _pbs) {
    if (!_pbs) return E_POINTER;
    *_pbs = nullptr;
    return _text ? GiveText(*_text, _pbs) : S_FALSE;
}

}  // namespace

template <class F>
bool AttributeSet::AnyHiddenChild(F&& _f) const {
    bool bSkip = node.SkipFirstHidden();
    for (const NameKey& key : node.HiddenNames()) {
        if (std::exchange(bSkip, false)) continue;
        if (const XMLNodeRef pChild = node.FindSettingNode(key); pChild && _f(*pChild)) return true;
    }
    return false;
}

HRESULT AttributeSet::GetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    return InterfaceCall([&] {
        size_t nCount = node.AttributeCount();
        AnyHiddenChild([&](const XMLNodeBase& _child) {
            nCount += _child.AttributeCount();
            return false;
        });
        *_pnCount = static_cast<int32_t>(nCount);
        return nCount > 0 ? S_OK : S_FALSE;
    });
}

HRESULT AttributeSet::GetByIndex(int32_t _nIndex, BSTR* _pbsName, BSTR* _pbsValue) const {
    if (_pbsName) *_pbsName = nullptr;
    if (_pbsValue) *_pbsValue = nullptr;
    if (_nIndex < 0) return ZR_E_BAD_INDEX;
    return InterfaceCall([&] {
        std::u16string strName, strValue;
        size_t nIndex = static_cast<size_t>(_nIndex);
        bool bFound = node.AttributeAt(nIndex, &strName, &strValue);
        if (!bFound) {
            nIndex -= std::min(nIndex, node.AttributeCount());
            bFound = AnyHiddenChild([&](const XMLNodeBase& _child) {
                if (_child.AttributeAt(nIndex, &strName, &strValue)) {
                    strName.insert(0, _child.Name() + u"::");
                    return true;
                }
                nIndex -= std::min(nIndex, _child.AttributeCount());
                return false;
            });
        }
        if (!bFound) return ZR_E_BAD_INDEX;
        HRESULT hr = _pbsName ? GiveText(strName, _pbsName) : S_OK;
        if (Succeeded(hr) && _pbsValue) hr = GiveText(strValue, _pbsValue);
        if (Failed(hr) && _pbsName) SysFreeString(std::exchange(*_pbsName, nullptr));
        return hr;
    });
}

HRESULT AttributeSet::Remove(const char16_t* _bsName) {
    return InterfaceCall([&] { return node.RemoveAttribute(TextArgument(_bsName)) ? S_OK : ZR_E_NOT_FOUND; });
}

HRESULT AttributeSet::RemoveAll() {
    return InterfaceCall([&] {
        node.RemoveAttributes();
        return S_OK;
    });
}

HRESULT AttributeSet::StringSet(const char16_t* _bsName, const char16_t* _bsValue) {
    return InterfaceCall(
        [&] { return node.SetAttribute(TextArgument(_bsName), TextArgument(_bsValue)) ? S_OK : E_INVALIDARG; });
}

template <AttrBinary V>
HRESULT AttributeSet::ValueSet(const char16_t* _bsName, V _value) {
    return InterfaceCall([&] { return node.SetAttribute(TextArgument(_bsName), _value) ? S_OK : E_INVALIDARG; });
}
template HRESULT AttributeSet::ValueSet(const char16_t*, bool);
template HRESULT AttributeSet::ValueSet(const char16_t*, int32_t);
template HRESULT AttributeSet::ValueSet(const char16_t*, double);

HRESULT AttributeSet::Have(const char16_t* _bsName, int32_t* _pbHave, BSTR* _pbsValueOrDefault) const {
    if (_pbHave) *_pbHave = 0;
    if (_pbsValueOrDefault) *_pbsValueOrDefault = nullptr;
    return InterfaceCall([&] {
        const std::u16string_view name = TextArgument(_bsName);
        const HRESULT hrGive = _pbsValueOrDefault        ? node.GiveAttribute(name, _pbsValueOrDefault)
                               : node.HasAttribute(name) ? S_OK
                                                         : S_FALSE;
        if (hrGive != S_FALSE) {
            if (_pbHave) *_pbHave = 1;
            return hrGive;
        }
        if (!_pbsValueOrDefault) return S_FALSE;
        const HRESULT hr = GiveInfo(Schema(node).Info(name, eZrIT_Default), _pbsValueOrDefault);
        return Failed(hr) ? hr : S_FALSE;
    });
}

HRESULT AttributeSet::StringGet(const char16_t* _bsName, BSTR* _pbsValue) const {
    if (!_pbsValue) return E_POINTER;
    *_pbsValue = nullptr;
    return InterfaceCall([&] {
        const HRESULT hr = node.GiveAttribute(TextArgument(_bsName), _pbsValue);
        return hr == S_FALSE ? ZR_E_NOT_FOUND : hr;
    });
}

template <AttrBinary V>
HRESULT AttributeSet::ValueGet(const char16_t* _bsName, V& _value) const {
    return InterfaceCall([&] { return node.GetAttribute(TextArgument(_bsName), _value) ? S_OK : ZR_E_NOT_FOUND; });
}
template HRESULT AttributeSet::ValueGet(const char16_t*, bool&) const;
template HRESULT AttributeSet::ValueGet(const char16_t*, int32_t&) const;
template HRESULT AttributeSet::ValueGet(const char16_t*, double&) const;

HRESULT AttributeSet::MultipleSet(const char16_t* _bsAttributesList, eZrUpdateType _eUpdateType) {
    if (!_bsAttributesList) return E_INVALIDARG;
    return InterfaceCall([&] {
        const bool bAny = SetAttributeLine(node, _bsAttributesList, _eUpdateType, BareNames::kDrop, LineNames::kPaths);
        return bAny ? S_FALSE : S_OK;
    });
}

HRESULT AttributeSet::Save(BSTR* _pbsAttributesList) const {
    if (!_pbsAttributesList) return E_POINTER;
    *_pbsAttributesList = nullptr;
    return InterfaceCall([&] {
        std::u16string strLine;
        node.WriteAttributes(strLine);
        AnyHiddenChild([&](const XMLNodeBase& _child) {
            strLine += u' ';
            _child.WriteAttributes(strLine, _child.Name() + u"::");
            return false;
        });
        return GiveText(strLine, _pbsAttributesList);
    });
}

HRESULT AttributeSet::Clone(IZrAttributes** _ppClone) const {
    if (!_ppClone) return E_POINTER;
    *_ppClone = nullptr;
    return InterfaceCall([&] {
        const XMLNodePtr pClone = CoXMLNode::Create(u"zr_attributes");
        pClone->CopyAttributesFrom(node, eZrUT_ClearDest);
        *_ppClone = pClone.As<IZrAttributes>().Detach();
        return S_OK;
    });
}

HRESULT AttributeSet::Set(IZrAttributes* _pAttributesList, eZrUpdateType _eUpdateType) {
    if (!_pAttributesList) return E_INVALIDARG;
    return InterfaceCall([&] {
        // Gathered first: the source may be this very node, and any object may stand behind its face.
        std::vector<std::pair<std::u16string, std::u16string>> arrSource;
        int32_t nCount = 0;
        _pAttributesList->AttributesGetCount(&nCount);
        for (int32_t i = 0; i < nCount; ++i) {
            Text name, value;
            if (Failed(_pAttributesList->AttributesGetByIndex(i, name.Out(), value.Out()))) break;
            arrSource.emplace_back(name.View(), value.View());
        }
        if (_eUpdateType == eZrUT_ClearDest) node.RemoveAttributes();
        for (const auto& [strName, strValue] : arrSource)
            if (_eUpdateType != eZrUT_AddNew || !node.HasAttribute(strName)) node.SetAttribute(strName, strValue);
        return S_OK;
    });
}

HRESULT AttributeSet::InfoGetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    return InterfaceCall([&] {
        *_pnCount = static_cast<int32_t>(Schema(node).Entries().size());
        return *_pnCount > 0 ? S_OK : S_FALSE;
    });
}

HRESULT AttributeSet::InfoGetByIndex(int32_t _nIndex, BSTR* _pbsName) const {
    if (_nIndex < 0) return E_INVALIDARG;
    if (!_pbsName) return E_POINTER;
    *_pbsName = nullptr;
    return InterfaceCall([&] {
        const std::vector<std::u16string> arrEntries = Schema(node).Entries();
        if (static_cast<size_t>(_nIndex) >= arrEntries.size()) return ZR_E_BAD_INDEX;
        const std::u16string& strName = arrEntries[static_cast<size_t>(_nIndex)];
        return strName.empty() ? ZR_E_NOT_FOUND : GiveText(strName, _pbsName);
    });
}

HRESULT AttributeSet::InfoGet(const char16_t* _bsName, eZrInfoType _eType, BSTR* _pbsInfo) const {
    if (IsEmpty(_bsName) || _eType < eZrIT_Help || _eType > eZrIT_Dynamic) return E_INVALIDARG;
    return InterfaceCall([&] { return GiveInfo(Schema(node).Info(_bsName, _eType), _pbsInfo); });
}

HRESULT AttributeSet::ValuesInfoGet(const char16_t* _bsName, const char16_t* _bsValue, const char16_t* _bsType,
                                    BSTR* _pbsInfo) const {
    if (IsEmpty(_bsName) || IsEmpty(_bsValue)) return E_INVALIDARG;
    return InterfaceCall(
        [&] { return GiveInfo(Schema(node).ValueInfo(_bsName, _bsValue, TextArgument(_bsType)), _pbsInfo); });
}

}  // namespace zr
