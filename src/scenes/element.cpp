#include "scenes/element.h"

#include <algorithm>
#include <iterator>
#include <utility>

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
    ElementPtr p = FindChild(_key);
    if (!p || p->HasTag(_key)) return p;
    for (size_t i = 0; (p = ChildAt(i)); ++i)
        if (!p->IsText() && p->HasName(_key) && p->HasTag(_key)) break;
    return p;
}

ElementPtr CoElement::Top() {
    ElementPtr p(this);
    for (ElementPtr pUp = Parent(); pUp; pUp = p->Parent()) p = pUp;
    return p;
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
