#include "scenes/element.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "attributes/name_path.h"
#include "platform/wide_text.h"
#include "scenes/element_names.h"

namespace zr {

void ScenesShared::Discard(XMLNodeRef _pNode) {
    MutexLock hold(mtx);
    discarded.arrNodes.push_back(std::move(_pNode));
}

void ScenesShared::Discard(std::vector<ObjectsMap::ObjectPtr> _arrObjects) {
    MutexLock hold(mtx);
    std::move(_arrObjects.begin(), _arrObjects.end(), std::back_inserter(discarded.arrObjects));
}

ScenesShared::DISCARDED ScenesShared::TakeDiscarded() {
    MutexLock hold(mtx);
    return std::exchange(discarded, {});
}

ElementReadLock::ElementReadLock(const CoElement& _element) ZR_NO_THREAD_SAFETY_ANALYSIS : pShared(_element.Shared()) {
    if (pShared) pShared->lock.EnterRead();
}

ElementReadLock::~ElementReadLock() ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (pShared) pShared->lock.LeaveRead();
}

ElementLock::ElementLock(const CoElement& _element, const char* _szLabel) ZR_NO_THREAD_SAFETY_ANALYSIS
    : pShared(_element.Shared()) {
    if (pShared) pShared->lock.EnterWrite(_szLabel);
}

ElementLock::~ElementLock() ZR_NO_THREAD_SAFETY_ANALYSIS {
    if (!pShared) return;
    pShared->NoteChange();
    const ScenesShared::DISCARDED gone = pShared->TakeDiscarded();
    pShared->lock.LeaveWrite();
}

void CoElement::Discard(XMLNodeRef _pNode) const {
    if (pShared) pShared->Discard(std::move(_pNode));
}

void CoElement::Discard(std::vector<ObjectsMap::ObjectPtr> _arrObjects) const {
    if (pShared && !_arrObjects.empty()) pShared->Discard(std::move(_arrObjects));
}

ElementPtr CoElement::Setting(const NameKey& _key) const {
    return ElementPtr::Attach(static_cast<CoElement*>(FindSettingNode(_key).Detach()));
}

ElementPtr CoElement::Top() {
    ElementPtr p(this);
    for (ElementPtr pUp = Parent(); pUp; pUp = p->Parent()) p = pUp;
    return p;
}

std::u16string CoElement::FreeID(std::u16string_view _type) {
    std::u16string strID(_type);
    if (!FindChild(NameKey(strID))) return strID;
    MutexLock lock(mtx);
    if (!pNumbers) pNumbers = std::make_unique<NEXT_NUMBERS>();
    if (const uint32_t n = NamesFreed(); std::exchange(pNumbers->nNamesFreed, n) != n) pNumbers->map.clear();
    uint64_t& nNext = pNumbers->map.try_emplace(NameHash(_type), 1).first->second;
    for (;; ++nNext) {
        strID.assign(_type).append(u"_");
        AppendPadded(strID, nNext, 3);
        if (!FindChild(NameKey(strID))) return strID;
    }
}

void CoElement::SetByPath(std::u16string_view _path, std::u16string_view _value) {
    ElementPtr p(this);
    for (std::u16string_view segment; p && CutPath(_path, segment);) {
        if (segment.empty()) continue;
        const NameKey key(segment);
        ElementPtr pNext = element::IsSettingNode(key.nHash) ? p->Setting(key) : p->FindChild(key);
        p = pNext ? pNext : p->Add(segment);
    }
    if (p && !p->IsText()) p->SetAttribute(_path, _value);
}

ElementPtr CoElement::CreateTop(std::u16string_view _tag, std::shared_ptr<ScenesShared> _pShared) {
    ElementPtr p = Create(_tag, &kId);
    p->pShared = std::move(_pShared);
    return p;
}

XMLNodeBase* CoElement::NewNode(TreeSource* _pSource) const {
    CoElement* const p = static_cast<CoElement*>(XMLNodeImpl::NewNode(_pSource));
    p->pShared = pShared;
    return p;
}

HRESULT CoElement::QueryInterface(const GUID& _iid, void** _ppv) {
    if (!_ppv) return E_POINTER;
    if (_iid == IZrElement::kIid) {
        *_ppv = static_cast<IZrElement*>(this);
    } else if (_iid == IZrElements::kIid) {
        *_ppv = static_cast<IZrElements*>(this);
    } else if (_iid == IZrNode::kIid) {
        *_ppv = static_cast<IZrNode*>(this);
    } else if (_iid == IZrAttributes::kIid) {
        *_ppv = static_cast<IZrAttributes*>(this);
    } else if (_iid == kIid) {
        *_ppv = this;
    } else {
        return XMLNodeBase::QueryInterface(_iid, _ppv);
    }
    AddRef();
    return S_OK;
}

}  // namespace zr
