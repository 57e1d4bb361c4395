#include "attributes/node_face.h"

#include <string>
#include <utility>
#include <vector>

#include "attributes/interface_call.h"
#include "attributes/schema.h"

namespace zr {
namespace {

bool IsEmpty(const char16_t* _sz) { return !_sz || !*_sz; }

HRESULT GiveNode(const XMLNodeRef& _pNode, IZrNode** _ppNode) {
    if (_ppNode) *_ppNode = _pNode.As<IZrNode>().Detach();
    return S_OK;
}

// What stands between the first tag of the text and its last; E_UNEXPECTED when there are no two tags.
HRESULT CutInner(std::u16string_view _xml, std::u16string_view& _inner) {
    char16_t chQuote = 0;
    size_t nBegin = 0;
    for (; nBegin < _xml.size(); ++nBegin) {
        const char16_t ch = _xml[nBegin];
        if (chQuote != 0) {
            if (ch == chQuote) chQuote = 0;
        } else if (ch == u'\'' || ch == u'"') {
            chQuote = ch;
        } else if (ch == u'>') {
            break;
        }
    }
    const size_t nEnd = _xml.rfind(u'<');
    if (nBegin == _xml.size() || nEnd == _xml.npos || nEnd <= nBegin) return E_UNEXPECTED;
    _inner = _xml.substr(nBegin + 1, nEnd - nBegin - 1);
    return S_OK;
}

// Moves what was read into _source over to _target.
void TakeOver(XMLNodeBase& _source, XMLNodeBase& _target) {
    _target.CopyAttributesFrom(_source, eZrUT_Update);
    std::vector<XMLNodeRef> arrChildren = _source.ChildNodes();
    _source.RemoveChildren();  // all at once: one by one would take the square of their number
    for (XMLNodeRef& pChild : arrChildren) _target.InsertChildNode(std::move(pChild));
}

}  // namespace

HRESULT NodeFace::NameGet(BSTR* _pbsName) const {
    if (!_pbsName) return E_POINTER;
    *_pbsName = nullptr;
    return InterfaceCall([&] { return GiveText(node.Name(), _pbsName); });
}

HRESULT NodeFace::NameSet(const char16_t* _bsName) {
    if (IsEmpty(_bsName)) return E_INVALIDARG;
    return InterfaceCall([&] {
        node.Rename(_bsName);
        return S_OK;
    });
}

HRESULT NodeFace::ValueGet(BSTR* _pbsValue) const {
    if (!_pbsValue) return E_POINTER;
    *_pbsValue = nullptr;
    return InterfaceCall([&] {
        if (!node.IsRawXml()) return GiveText(node.Text(), _pbsValue);
        if (node.ChildCount() == 0) return GiveText({}, _pbsValue);
        std::u16string strXml;
        node.Write(strXml, {.nIndent = -1});
        std::u16string_view inner;
        const HRESULT hr = CutInner(strXml, inner);
        return Failed(hr) ? hr : GiveText(inner, _pbsValue);
    });
}

HRESULT NodeFace::ValueSet(const char16_t* _bsValue, XMLNodeRef (*_pfnNew)(const XMLNodeBase& _like)) {
    return InterfaceCall([&] {
        if (!node.IsRawXml()) {
            node.SetText(TextArgument(_bsValue));
            return S_OK;
        }
        if (IsEmpty(_bsValue)) {
            node.RemoveChildren();
            return S_OK;
        }
        std::u16string strXml = u"<temp>";
        strXml += _bsValue;
        strXml += u"</temp>";
        const XMLNodeRef pTemp = _pfnNew(node);
        const HRESULT hr = pTemp->Parse(strXml.c_str());
        if (Failed(hr)) return hr;
        node.RemoveChildren();
        TakeOver(*pTemp, node);
        return S_OK;
    });
}

HRESULT NodeFace::PathGet(BSTR* _pbsPath, IZrNode* _pRoot) const {
    if (!_pbsPath) return S_OK;
    return InterfaceCall([&] {
        std::u16string strPath;
        XMLNodeRef pNode(&node);
        for (XMLNodeRef pUp = pNode->ParentNode(); pUp; pUp = pNode->ParentNode()) {
            if (_pRoot && pNode.As<IZrNode>().Get() == _pRoot) break;
            strPath.insert(0, strPath.empty() ? pNode->Name() : pNode->Name() + u"::");
            pNode = pUp;
        }
        return strPath.empty() ? S_OK : GiveText(strPath, _pbsPath);
    });
}

HRESULT NodeFace::ParentGet(IZrNode** _ppParent) const {
    if (!_ppParent) return E_POINTER;
    *_ppParent = nullptr;
    const XMLNodeRef pParent = node.ParentNode();
    return pParent ? GiveNode(pParent, _ppParent) : S_FALSE;
}

HRESULT NodeFace::Detach() {
    return InterfaceCall([&] {
        if (!node.HasParent()) return S_FALSE;
        node.RemoveObjects();
        return node.Detach() ? S_OK : S_FALSE;
    });
}

HRESULT NodeFace::GetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    *_pnCount = 0;
    return InterfaceCall([&] {
        if (!node.IsRawXml()) *_pnCount = static_cast<int32_t>(node.ElementCount());
        return S_OK;
    });
}

HRESULT NodeFace::GetByIndex(int32_t _nIndex, BSTR* _pbsName, IZrNode** _ppNode) const {
    if (_pbsName) *_pbsName = nullptr;
    if (_ppNode) *_ppNode = nullptr;
    if (_nIndex < 0) return ZR_E_BAD_INDEX;
    return InterfaceCall([&] {
        const XMLNodeRef pChild = node.IsRawXml() ? XMLNodeRef() : node.ElementNodeAt(static_cast<size_t>(_nIndex));
        if (!pChild) return ZR_E_BAD_INDEX;
        const HRESULT hr = _pbsName ? GiveText(pChild->Name(), _pbsName) : S_OK;
        return Failed(hr) ? hr : GiveNode(pChild, _ppNode);
    });
}

HRESULT NodeFace::Add(const char16_t* _bsPath, const char16_t* _bsValue, IZrNode** _ppNode) {
    if (_ppNode) *_ppNode = nullptr;
    if (IsEmpty(_bsPath)) return E_INVALIDARG;
    return InterfaceCall([&] {
        const XMLNodeRef pNew = node.AddNode(_bsPath);
        if (!pNew) return E_FAIL;
        if (!IsEmpty(_bsValue)) pNew->SetText(_bsValue);
        return GiveNode(pNew, _ppNode);
    });
}

HRESULT NodeFace::Get(const char16_t* _bsPath, int32_t _bCreateNew, IZrNode** _ppNode) {
    if (_ppNode) *_ppNode = nullptr;
    if (IsEmpty(_bsPath)) return E_INVALIDARG;
    return InterfaceCall([&] {
        const XMLNodeRef pFound = node.FindNode(_bsPath, _bCreateNew != 0);
        return pFound ? GiveNode(pFound, _ppNode) : ZR_E_NOT_FOUND;
    });
}

HRESULT NodeFace::Remove(const char16_t* _bsPath) {
    if (IsEmpty(_bsPath)) return E_INVALIDARG;
    return InterfaceCall([&] {
        const XMLNodeRef pFound = node.FindNode(_bsPath);
        return pFound && pFound.Get() != &node && pFound->Detach() ? S_OK : S_FALSE;
    });
}

HRESULT NodeFace::RemoveAll(int32_t _bRemoveAttributes) {
    return InterfaceCall([&] {
        node.RemoveChildren();
        if (_bRemoveAttributes != 0) node.RemoveAttributes();
        return S_OK;
    });
}

HRESULT NodeFace::Parse(const char16_t* _bsXMLString, int32_t _bUpdateName) {
    return InterfaceCall([&] {
        const std::u16string strName = node.Name();
        const HRESULT hr = node.Parse(_bsXMLString);
        if (Succeeded(hr) && _bUpdateName == 0) node.Rename(strName);
        return hr;
    });
}

HRESULT NodeFace::Save(BSTR* _pbsXMLString) const {
    if (!_pbsXMLString) return E_POINTER;
    *_pbsXMLString = nullptr;
    return InterfaceCall([&] {
        std::u16string strXml;
        node.Write(strXml);
        return GiveText(strXml, _pbsXMLString);
    });
}

HRESULT NodeFace::Clone(XMLNodeRef (*_pfnClone)(const XMLNodeBase& _node), IZrNode** _ppClone) const {
    if (!_ppClone) return E_POINTER;
    *_ppClone = nullptr;
    return InterfaceCall([&] { return GiveNode(_pfnClone(node), _ppClone); });
}

HRESULT NodeFace::InfoGet(const char16_t* _bsInfoType, BSTR* _pbsDescription) const {
    if (!_pbsDescription) return E_POINTER;
    *_pbsDescription = nullptr;
    return InterfaceCall([&] {
        const auto text = Schema(node).NodeInfo(TextArgument(_bsInfoType));
        return text ? GiveText(*text, _pbsDescription) : S_FALSE;
    });
}

}  // namespace zr
