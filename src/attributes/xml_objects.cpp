// The run-time objects that are kept with nodes.

#include <algorithm>
#include <memory>

#include "attributes/xml_node.h"

namespace zr {

XMLNodeBase::OBJECTS& XMLNodeBase::MakeObjects() {
    OBJECTS* p = pObjects.load(std::memory_order_acquire);
    if (p) return *p;
    auto pNew = std::make_unique<OBJECTS>();
    if (pObjects.compare_exchange_strong(p, pNew.get(), std::memory_order_acq_rel)) p = pNew.release();
    return *p;
}

ObjectsMap::ObjectPtr XMLNodeBase::Object(const NameKey& _key) const {
    OBJECTS* p = pObjects.load(std::memory_order_acquire);
    if (!p) return {};
    CRWReadScope lock(p->lock);
    return p->map.Get(_key);
}

void XMLNodeBase::SetObject(const NameKey& _key, ObjectsMap::ObjectPtr _pObject) {
    OBJECTS& objects = MakeObjects();
    ObjectsMap::ObjectPtr pOld;  // let go after the lock
    CRWWriteScope lock(objects.lock, "XMLNodeBase::SetObject");
    pOld = objects.map.Set(_key, std::move(_pObject));
}

bool XMLNodeBase::RemoveObject(const NameKey& _key) {
    OBJECTS* p = pObjects.load(std::memory_order_acquire);
    if (!p) return false;
    ObjectsMap::ObjectPtr pOld;
    CRWWriteScope lock(p->lock, "XMLNodeBase::RemoveObject");
    pOld = p->map.Remove(_key);
    return static_cast<bool>(pOld);
}

void XMLNodeBase::RemoveObjects() {
    OBJECTS* p = pObjects.load(std::memory_order_acquire);
    if (!p) return;
    NamedList<ObjectsMap::ObjectPtr> arrOld;
    CRWWriteScope lock(p->lock, "XMLNodeBase::RemoveObjects");
    arrOld = p->map.RemoveAll();
}

// Calls _f for this node and all below it, each before what is below it.
template <class F>
void XMLNodeBase::ForEachBelow(F _f) const {
    _f(*this);
    std::vector<XMLNodeRef> arrWaiting = ChildNodes();
    std::reverse(arrWaiting.begin(), arrWaiting.end());
    while (!arrWaiting.empty()) {
        const XMLNodeRef p = std::move(arrWaiting.back());
        arrWaiting.pop_back();
        _f(*p);
        const std::vector<XMLNodeRef> arrChild = p->ChildNodes();
        arrWaiting.insert(arrWaiting.end(), arrChild.rbegin(), arrChild.rend());
    }
}

std::vector<ObjectsMap::ObjectPtr> XMLNodeBase::CollectObjects(const NameKey& _key) const {
    std::vector<ObjectsMap::ObjectPtr> arr;
    ForEachBelow([&](const XMLNodeBase& _node) {
        if (ObjectsMap::ObjectPtr p = _node.Object(_key)) arr.push_back(std::move(p));
    });
    return arr;
}

std::vector<ObjectsMap::ObjectPtr> XMLNodeBase::TakeObjectsBelow(std::span<const NameKey> _arrKeep) {
    std::vector<ObjectsMap::ObjectPtr> arrTaken;
    ForEachBelow([&](const XMLNodeBase& _node) {
        OBJECTS* const p = _node.pObjects.load(std::memory_order_acquire);
        if (!p) return;
        CRWWriteScope lock(p->lock, "XMLNodeBase::TakeObjectsBelow");
        NamedList<ObjectsMap::ObjectPtr> arrOld = p->map.RemoveAll();
        for (auto& entry : arrOld) {
            if (HasHash(_arrKeep, entry.nHash))
                p->map.Set(NameKey(entry.name.View()), std::move(entry.value));
            else
                arrTaken.push_back(std::move(entry.value));
        }
    });
    return arrTaken;
}

}  // namespace zr
