// What stands below a node.

#include <algorithm>
#include <new>

#include "attributes/xml_node.h"

namespace zr {

size_t XMLNodeBase::FindChildPosition(const XMLNodeBase* _pChild) const {
    for (size_t i = arrChildren.Size(); i-- > 0;)
        if (arrChildren[i].Get() == _pChild) return i;
    return arrChildren.kNone;
}

size_t XMLNodeBase::ChildCount() const {
    CRWReadScope lock(lockChildren);
    return arrChildren.Size();
}

XMLNodeRef XMLNodeBase::ChildNodeAt(size_t _i) const {
    CRWReadScope lock(lockChildren);
    return _i < arrChildren.Size() ? arrChildren[_i] : XMLNodeRef();
}

XMLNodeRef XMLNodeBase::FindChildNode(const NameKey& _key, size_t _nOccurrence) const {
    CRWReadScope lock(lockChildren);
    const size_t i = arrChildren.Find(_key.nHash, _nOccurrence);
    return i == arrChildren.kNone ? XMLNodeRef() : arrChildren[i];
}

bool XMLNodeBase::FindChildNodes(std::span<const NameKey> _arrKeys, XMLNodeRef* _pFound, size_t* _pnChildren) const {
    CRWReadScope lock(lockChildren);
    if (_pnChildren) *_pnChildren = arrChildren.Size();
    bool bAny = false;
    if (arrChildren.Empty()) {
        std::fill_n(_pFound, _arrKeys.size(), XMLNodeRef());
        return false;
    }
    for (const NameKey& key : _arrKeys) {
        const size_t i = arrChildren.Find(key.nHash);
        *_pFound++ = i == arrChildren.kNone ? XMLNodeRef() : arrChildren[i];
        bAny |= i != arrChildren.kNone;
    }
    return bAny;
}

XMLNodeRef XMLNodeBase::FindSettingNode(const NameKey& _key) const {
    CRWReadScope lock(lockChildren);
    for (size_t nOccurrence = 0;; ++nOccurrence) {
        const size_t i = arrChildren.Find(_key.nHash, nOccurrence);
        if (i == arrChildren.kNone) return {};
        if (arrChildren[i]->HasTag(_key)) return arrChildren[i];
    }
}

std::vector<XMLNodeRef> XMLNodeBase::ChildNodes() const {
    CRWReadScope lock(lockChildren);
    std::vector<XMLNodeRef> arr;
    arr.reserve(arrChildren.Size());
    for (const auto& entry : arrChildren) arr.push_back(entry.value);
    return arr;
}

bool XMLNodeBase::IsElement(const NAMED_ENTRY<XMLNodeRef>& _child) const {
    if (_child.value->bText) return false;
    const std::span<const NameKey> arrHidden = HiddenNames();
    return std::none_of(arrHidden.begin(), arrHidden.end(),
                        [&](const NameKey& _key) { return _key.nHash == _child.nHash && _child.value->HasTag(_key); });
}

size_t XMLNodeBase::ElementCount() const {
    CRWReadScope lock(lockChildren);
    size_t nCount = 0;
    for (const auto& entry : arrChildren) nCount += IsElement(entry);
    return nCount;
}

XMLNodeRef XMLNodeBase::ElementNodeAt(size_t _i) const {
    CRWReadScope lock(lockChildren);
    for (const auto& entry : arrChildren)
        if (IsElement(entry) && _i-- == 0) return entry.value;
    return {};
}

std::vector<XMLNodeRef> XMLNodeBase::ElementNodes() const {
    CRWReadScope lock(lockChildren);
    std::vector<XMLNodeRef> arr;
    for (const auto& entry : arrChildren)
        if (IsElement(entry)) arr.push_back(entry.value);
    return arr;
}

uint32_t XMLNodeBase::NamesFreed() const {
    CRWReadScope lock(lockChildren);
    return nNamesFreed;
}

bool XMLNodeBase::InsertChildNode(XMLNodeRef _pChild, ptrdiff_t _nPosition) {
    if (!_pChild || bText || _pChild->HasParent()) return false;
    if (_pChild.Get() == this || (_pChild->ChildCount() > 0 && IsBelow(*_pChild))) return false;
    const std::u16string strName = _pChild->Name();
    const NameKey key(strName);

    CRWWriteScope lock(lockChildren, "XMLNodeBase::InsertChildNode");
    const bool bAppend = _nPosition < 0 || static_cast<size_t>(_nPosition) > arrChildren.Size();
    // Whoever puts itself in as the parent first has the child.
    XMLNodeBase* pNone = nullptr;
    if (!_pChild->pParent.compare_exchange_strong(pNone, this, std::memory_order_acq_rel)) return false;
    try {
        arrChildren.Insert(bAppend ? arrChildren.Size() : static_cast<size_t>(_nPosition),
                           _pChild->bText ? nullptr : &key, _pChild);
    } catch (const std::bad_alloc&) {
        _pChild->ForgetParent();
        throw;
    }
    return true;
}

bool XMLNodeBase::RemoveChildNode(XMLNodeBase* _pChild) {
    XMLNodeRef pRemoved;  // let go after the lock
    CRWWriteScope lock(lockChildren, "XMLNodeBase::RemoveChildNode");
    const size_t i = FindChildPosition(_pChild);
    if (i == arrChildren.kNone) return false;
    pRemoved = arrChildren.Remove(i);
    ++nNamesFreed;
    pRemoved->ForgetParent();
    if (i > 1 && i + 1 < arrChildren.Size()) JoinTexts(i);
    return true;
}

// Makes one of two texts at a position and before it.
void XMLNodeBase::JoinTexts(size_t _i) {
    XMLNodeBase& before = *arrChildren[_i - 1];
    XMLNodeBase& behind = *arrChildren[_i];
    if (!before.bText || !behind.bText) return;
    const std::u16string strText = behind.Text();
    {
        CRWWriteScope lock(before.lockAttributes, "XMLNodeBase::JoinTexts");
        before.name.AppendText(strText);
    }
    behind.ForgetParent();
    arrChildren.Remove(_i);
}

void XMLNodeBase::RemoveChildren() {
    NamedList<XMLNodeRef> arrRemoved;  // let go after the lock
    CRWWriteScope lock(lockChildren, "XMLNodeBase::RemoveChildren");
    for (const auto& entry : arrChildren) entry.value->ForgetParent();
    std::swap(arrRemoved, arrChildren);
    ++nNamesFreed;
}

bool XMLNodeBase::MoveChildNode(XMLNodeBase* _pChild, size_t _nPosition) {
    const XMLNodeRef pHeld(_pChild);
    if (!pHeld) return false;
    const std::u16string strName = pHeld->Name();
    const NameKey key(strName);
    CRWWriteScope lock(lockChildren, "XMLNodeBase::MoveChildNode");
    const size_t i = FindChildPosition(_pChild);
    if (i == arrChildren.kNone || _nPosition >= arrChildren.Size()) return false;
    if (i != _nPosition) arrChildren.Insert(_nPosition, pHeld->bText ? nullptr : &key, arrChildren.Remove(i));
    return true;
}

bool XMLNodeBase::Detach() {
    const XMLNodeRef pUp = ParentNode();
    return pUp && pUp->RemoveChildNode(this);
}

}  // namespace zr
