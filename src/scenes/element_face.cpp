#include "scenes/element_face.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "attributes/attribute_line.h"
#include "attributes/attribute_set.h"
#include "attributes/interface_call.h"
#include "attributes/name_path.h"
#include "attributes/schema.h"
#include "attributes/xml_file.h"
#include "scenes/animated_value.h"
#include "scenes/element_change.h"
#include "scenes/element_names.h"
#include "scenes/element_place.h"
#include "scenes/element_select.h"
#include "scenes/scene_file.h"

namespace zr {
namespace {

using namespace element;

constexpr HRESULT kCircular = Win32Error(1059);
constexpr HRESULT kBadName = Win32Error(123);

HRESULT GiveElement(const ElementPtr& _p, IZrElement** _pp) {
    if (_pp) *_pp = _p.As<IZrElement>().Detach();
    return S_OK;
}

// A child in the order in which they are drawn, settings and texts left out. The position of _element among them.
std::vector<size_t> ElementPositions(const CoElement& _parent) {
    std::vector<size_t> arr;
    for (size_t i = 0; const ElementPtr pChild = _parent.ChildAt(i); ++i)
        if (!pChild->IsText() && !IsSettingNode(pChild->TypeHash())) arr.push_back(i);
    return arr;
}

// An attribute that is set at once, without the scenes lock.
HRESULT NoteSet(const CoElement& _element, HRESULT _hr) {
    if (const auto& pShared = _element.Shared()) pShared->NoteChange();
    return _hr;
}

// The body of a text, with what says how it shows kept.
void SetBody(CoElement& _text, std::u16string_view _body) {
    std::vector<ElementPtr> arrKept;
    for (const NameKey& key : {kOnShow, kOnHide, kAdd, kVary})
        if (ElementPtr p = _text.Setting(key)) arrKept.push_back(std::move(p));
    for (XMLNodeRef& pChild : _text.ChildNodes()) _text.Discard(std::move(pChild));
    _text.RemoveChildren();
    _text.AppendText(_body);
    for (const ElementPtr& p : arrKept) _text.AppendChild(p);
    _text.RemoveObject(kText);
}

// What a host says that an element is to be: another element, or else a line of attributes.
struct DESCRIPTION {
    ElementPtr pNew;
    std::u16string strLine;
};

// A description that is the name of a file is what stands in it. Without the scenes lock: it may be long.
HRESULT ReadDescription(const char16_t* _bsText, const CoElement& _for, DESCRIPTION& _description) {
    std::u16string strText(TextArgument(_bsText));
    if (IsSceneFile(strText)) {
        const std::u16string strName = std::move(strText);
        if (const HRESULT hr = ReadTextFile(strName.c_str(), strText); Failed(hr)) return hr;
    }
    if (strText.find(u'<') != strText.npos) return ReadElement(strText, _for, _description.pNew);
    _description.strLine = std::move(strText);
    return S_OK;
}

// Under the scenes lock. Uses the description up.
void SetElement(CoElement& _element, std::u16string_view _type, const DESCRIPTION& _description, double _dblTime) {
    if (_description.pNew) {
        ReplaceElement(_element, _description.pNew, _type, _dblTime);
        return;
    }
    if (!(_dblTime > 0) && _element.HasTag(kText) && NameHash(_type) == kText.nHash) {
        SetBody(_element, _description.strLine);
        return;
    }
    if (IsOneOf(_element.TypeHash(), {u"loaded_item", u"ticker_item"})) _element.Discard(_element.TakeObjectsBelow());
    ChangeByLine(_element, _description.strLine, _dblTime);
    if (!_type.empty() && !_element.HasTag(kScene)) _element.SetTag(_type);
}

// Where the new parent does not take it, it stays where it is.
HRESULT MoveTo(CoElement& _element, CoElement& _from, CoElement& _to) {
    const ElementPtr pSelf(&_element);
    const std::vector<XMLNodeRef> arr = _from.ChildNodes();
    const auto it = std::find_if(arr.begin(), arr.end(), [&](const XMLNodeRef& _p) { return _p.Get() == &_element; });
    if (!_from.RemoveChild(&_element)) return ZR_E_NOT_FOUND;
    HRESULT hr = E_UNEXPECTED;
    try {
        if (_to.AppendChild(pSelf)) hr = S_OK;
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    }
    if (Failed(hr)) _from.InsertChild(pSelf, it - arr.begin());
    return hr;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// The element

HRESULT ElementFace::ParentGet(IZrElement** _ppParent) const {
    if (!_ppParent) return E_POINTER;
    *_ppParent = nullptr;
    const ElementPtr pParent = element.Parent();
    return pParent ? GiveElement(pParent, _ppParent) : S_FALSE;
}

HRESULT ElementFace::ParentSet(IZrElement* _pParent) {
    if (!_pParent) return Detach(0);
    return InterfaceCall([&] {
        const ElementPtr pParent = QueryAs<CoElement>(_pParent);
        if (!pParent || pParent->IsText()) return E_INVALIDARG;
        if (pParent.Get() == &element) return kCircular;
        if (pParent->Shared() != element.Shared()) return E_INVALIDARG;
        ElementLock lock(element, "ElementParentSet");
        const ElementPtr pOld = element.Parent();
        if (!pOld) return ZR_E_NOT_FOUND;
        if (pOld == pParent) return S_FALSE;
        for (ElementPtr p = pParent; p; p = p->Parent())
            if (p.Get() == &element) return kCircular;
        if (pOld->Top() != pParent->Top()) DropRunTimeState(element);
        return MoveTo(element, *pOld, *pParent);
    });
}

HRESULT ElementFace::BoolSet(const char16_t* _bsName, int32_t _bValue, double _dblTime) {
    const std::u16string_view name = TextArgument(_bsName);
    if (name.empty()) return E_INVALIDARG;
    if (!(_dblTime > 0) || !IsTimedName(NameKey(name)))
        return NoteSet(element, AttributeSet(element).ValueSet(_bsName, _bValue != 0));
    return StringSet(_bsName, _bValue != 0 ? u"true" : u"false", _dblTime);
}

HRESULT ElementFace::DoubleSet(const char16_t* _bsName, double _dblValue, double _dblTime) {
    const std::u16string_view name = TextArgument(_bsName);
    if (name.empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        if (!IsTimedName(NameKey(name)) && !IsContentType(element))
            return NoteSet(element, AttributeSet(element).ValueSet(_bsName, _dblValue));
        AttrValue value;
        value.Set(_dblValue);
        return StringSet(_bsName, std::u16string(value.Text()).c_str(), _dblTime);
    });
}

HRESULT ElementFace::StringSet(const char16_t* _bsName, const char16_t* _bsValue, double _dblTime) {
    const std::u16string_view name = TextArgument(_bsName);
    if (name.empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        if (!IsTimedName(NameKey(name)) && !IsContentType(element))
            return NoteSet(element, AttributeSet(element).StringSet(_bsName, _bsValue));
        ElementLock lock(element, "ElementStringSet");
        return ElementChange(element, name, TextArgument(_bsValue), _dblTime);
    });
}

HRESULT ElementFace::Set(const char16_t* _bsType, const char16_t* _bsDescription, double _dblTime) {
    return InterfaceCall([&] {
        const std::u16string_view type = TextArgument(_bsType);
        if (!type.empty() && !IsXmlName(type)) return E_INVALIDARG;
        DESCRIPTION description;
        if (const HRESULT hr = ReadDescription(_bsDescription, element, description); Failed(hr)) return hr;
        ElementLock lock(element, "ElementSet");
        SetElement(element, type, description, _dblTime);
        return S_OK;
    });
}

HRESULT ElementFace::TypeGet(BSTR* _pbsType) const {
    if (!_pbsType) return E_POINTER;
    *_pbsType = nullptr;
    return InterfaceCall([&] { return GiveText(element.Tag(), _pbsType); });
}

HRESULT ElementFace::Get(BSTR* _pbsType, BSTR* _pbsXml) const {
    if (_pbsType) *_pbsType = nullptr;
    if (_pbsXml) *_pbsXml = nullptr;
    return InterfaceCall([&] {
        std::u16string strXml;
        if (_pbsXml) element.Write(strXml);
        HRESULT hr = _pbsXml ? GiveText(strXml, _pbsXml) : S_OK;
        if (Succeeded(hr) && _pbsType) hr = GiveText(element.Tag(), _pbsType);
        if (Failed(hr) && _pbsXml) SysFreeString(std::exchange(*_pbsXml, nullptr));
        return hr;
    });
}

HRESULT ElementFace::Reorder(int32_t _nAddIndex) {
    return InterfaceCall([&] {
        ElementLock lock(element, "ElementReorder");
        const ElementPtr pParent = element.Parent();
        if (!pParent) return S_FALSE;
        const std::vector<size_t> arr = ElementPositions(*pParent);
        for (size_t i = 0; i < arr.size(); ++i) {
            if (pParent->ChildAt(arr[i]).Get() != &element) continue;
            const int64_t nTo =
                std::clamp<int64_t>(static_cast<int64_t>(i) + _nAddIndex, 0, static_cast<int64_t>(arr.size()) - 1);
            pParent->MoveChildNode(&element, arr[static_cast<size_t>(nTo)]);
            return S_OK;
        }
        return S_FALSE;
    });
}

HRESULT ElementFace::Invoke(const char16_t* _bsCommand, const char16_t* _bsParam, double _dblTime) {
    return InterfaceCall([&] {
        ElementLock lock(element, "ElementInvoke");
        if (IsView(element)) return InvokeView(element, TextArgument(_bsParam), _dblTime);
        if (NameHash(TextArgument(_bsCommand)) != NameHash(u"select")) return E_NOTIMPL;
        return SelectElement(element, TextArgument(_bsParam), _dblTime);
    });
}

HRESULT ElementFace::Detach(double _dblTime) {
    return InterfaceCall([&] {
        ElementLock lock(element, "ElementDetach");
        const ElementPtr pParent = element.Parent();
        if (!pParent) return S_FALSE;
        if (_dblTime > 0 && pParent->Top()->bSceneActive && IsDrawn(element)) {
            ElementChange(element, kShow.text, u"false", _dblTime);
            element.SetAttribute(kRemove.text, true);
            if (element.Setting(kNodeFrom)) return S_OK;  // the drawing takes it out when it is hidden
        }
        DropRunTimeState(element);
        return pParent->RemoveChild(&element) ? S_OK : S_FALSE;
    });
}

HRESULT ElementFace::AbsolutePosGet(double* _pdblX, double* _pdblY, double* _pdblW, double* _pdblH) const {
    return InterfaceCall([&] {
        const ElementReadLock lock(element);
        const RECT_F rect = AbsolutePlace(element);
        if (_pdblX) *_pdblX = static_cast<double>(rect.left);
        if (_pdblY) *_pdblY = static_cast<double>(rect.top);
        if (_pdblW) *_pdblW = static_cast<double>(rect.Width());
        if (_pdblH) *_pdblH = static_cast<double>(rect.Height());
        return S_OK;
    });
}

HRESULT ElementFace::AbsolutePosSet(double _dblX, double _dblY, double _dblW, double _dblH) {
    return InterfaceCall([&] {
        ElementLock lock(element, "ElementAbsolutePosSet");
        return SetAbsolutePlace(element, _dblX, _dblY, _dblW, _dblH);
    });
}

HRESULT ElementFace::InfoGet(const char16_t* _bsInfoType, BSTR* _pbsDescription) const {
    if (!_pbsDescription) return E_POINTER;
    *_pbsDescription = nullptr;
    return InterfaceCall([&] {
        const auto text = Schema(element).NodeInfo(TextArgument(_bsInfoType));
        return text ? GiveText(*text, _pbsDescription) : S_FALSE;
    });
}

// ---------------------------------------------------------------------------------------------------------------------
// What it holds

HRESULT ElementFace::GetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    *_pnCount = element.IsRawXml() ? 0 : static_cast<int32_t>(element.ElementCount());
    return S_OK;
}

HRESULT ElementFace::GetByIndex(int32_t _nIndex, IZrElement** _ppChild) const {
    if (!_ppChild) return E_POINTER;
    *_ppChild = nullptr;
    const ElementPtr pChild = _nIndex < 0 ? ElementPtr() : element.ElementAt(static_cast<size_t>(_nIndex));
    return pChild ? GiveElement(pChild, _ppChild) : ZR_E_BAD_INDEX;
}

HRESULT ElementFace::GetByID(const char16_t* _bsID, IZrElement** _ppChild) const {
    if (_ppChild) *_ppChild = nullptr;
    const std::u16string_view id = TextArgument(_bsID);
    if (id.empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        const ElementPtr pChild = element.Find(id);
        return pChild && pChild.Get() != &element ? GiveElement(pChild, _ppChild) : ZR_E_BAD_INDEX;
    });
}

namespace {

// Everything about a new child but its id and its place in the tree, which need the lock.
ElementPtr MakeChild(const CoElement& _parent, std::u16string_view _type, const DESCRIPTION& _description) {
    const ElementPtr pChild =
        CoElement::CreateTop(_type.empty() ? std::u16string_view(u"item") : _type, _parent.Shared());
    if (_description.pNew)
        ReplaceElement(*pChild, _description.pNew, _type);
    else
        SetAttributeLine(*pChild, _description.strLine, eZrUT_Update, BareNames::kDrop, LineNames::kPaths);
    return pChild;
}

void NameChild(CoElement& _parent, CoElement& _child, std::u16string_view _id) {
    const std::u16string strType = _child.Tag();
    if (_parent.HasTag(kView) || IsFaceType(strType))
        _child.Rename(strType);
    else
        _child.SetOwnAttribute(CoElement::kId, _id.empty() ? _parent.FreeID(strType) : std::u16string(_id));
}

}  // namespace

HRESULT ElementFace::Add(const char16_t* _bsID, const char16_t* _bsType, const char16_t* _bsProps,
                         IZrElement** _ppChild, double _dblTime) {
    if (_ppChild) *_ppChild = nullptr;
    return InterfaceCall([&] {
        const std::u16string_view id = TextArgument(_bsID), type = TextArgument(_bsType);
        const bool bInView = element.HasTag(kView);
        if (NameHash(type) == kView.nHash && !bInView) return kBadName;
        if (!type.empty() && !IsXmlName(type)) return E_INVALIDARG;
        if (FindPathSeparator(id) != id.npos) return E_INVALIDARG;
        DESCRIPTION description;
        if (const HRESULT hr = ReadDescription(_bsProps, element, description); Failed(hr)) return hr;
        const ElementPtr pChild = MakeChild(element, type, description);
        if (description.pNew) description.pNew = pChild;  // for one that is there already

        ElementLock lock(element, "ElementsAdd");
        const bool bHasID = !bInView && !IsFaceType(type);
        if (const ElementPtr pPresent = bHasID && !id.empty() ? element.FindChild(NameKey(id)) : ElementPtr()) {
            SetElement(*pPresent, type, description, _dblTime);
            return GiveElement(pPresent, _ppChild);
        }
        NameChild(element, *pChild, id);
        if (!element.AppendChild(pChild)) return E_UNEXPECTED;
        if (_dblTime > 0 && !bInView && pChild->AttributeOr(kShow.text, true)) {
            pChild->SetAttribute(kShow.text, false);
            ElementChange(*pChild, kShow.text, u"true", _dblTime);
        }
        return GiveElement(pChild, _ppChild);
    });
}

}  // namespace zr
