#pragma once
// One element of a scene. A scene is a tree of them: where each stream stands on the output picture.

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "attributes/attributes_impl.h"
#include "attributes/node_impl.h"
#include "attributes/xml_node.h"
#include "framework/lock_order.h"
#include "platform/rw_lock.h"
#include "scenes/element_impl.h"

namespace zr {

class CoElement;
using ElementPtr = ZrPtr<CoElement>;

// What the elements of all scenes of one object share. The lock: of the list of scenes and the structure of their
// trees; held shared while the active one is drawn, exclusively by whoever changes the structure or begins a change of
// values, so that no frame shows half of it. Single attributes need it not.
class ScenesShared {
public:
    CRWSynchroLiteRW lock{lock_order::kScenes};

    // What was taken out under the lock; it ends after it, since its end takes locks of others and its time.
    void Discard(XMLNodeRef _pNode);
    void Discard(std::vector<ObjectsMap::ObjectPtr> _arrObjects);
    struct DISCARDED {
        std::vector<XMLNodeRef> arrNodes;
        std::vector<ObjectsMap::ObjectPtr> arrObjects;
    };
    // All of it. Who changes things takes his before he leaves the lock, so that it does not end on the mix thread.
    DISCARDED TakeDiscarded();

    // What the elements show has changed otherwise than by time. Under the lock, unless only single attributes have.
    void NoteChange() { nChanges.fetch_add(1, std::memory_order_release); }
    uint64_t Changes() const { return nChanges.load(std::memory_order_acquire); }

private:
    std::atomic<uint64_t> nChanges{1};
    Mutex mtx;  // a leaf
    DISCARDED discarded ZR_GUARDED_BY(mtx);
};

// Its tag is its type and its id its name in the tree: an element is addressed by its id. It has no code of its own for
// each type; the drawing knows what each does. Run-time companions of an element stand among its objects.
class CoElement final : public XMLNodeImpl<CoElement, ElementPtr>,
                        public IZrNodeImpl<CoElement>,
                        public IZrAttributesImpl<CoElement>,
                        public IZrElementImpl<CoElement> {
public:
    static constexpr NameKey kId{u"id"};
    // An element as itself, for who has any of its faces.
    static constexpr GUID kIid = GuidOf("5E3B6E02-6C1B-4C3E-9D0A-7F1C2B9A4D11");

    // A new top whose elements have ids. _pShared: empty where nobody draws it. Throws std::bad_alloc.
    static ElementPtr CreateTop(std::u16string_view _tag, std::shared_ptr<ScenesShared> _pShared = {});

    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override;
    uint32_t AddRef() override { return XMLNodeBase::AddRef(); }
    uint32_t Release() override { return XMLNodeBase::Release(); }

    // That of the scenes that the element is in or came from; may be empty.
    const std::shared_ptr<ScenesShared>& Shared() const { return pShared; }

    // To be done with what is taken out of it; see there.
    void Discard(XMLNodeRef _pNode) const;
    void Discard(std::vector<ObjectsMap::ObjectPtr> _arrObjects) const;
    // A child that says something of this element; one whose id is that name is an element like any other.
    ElementPtr Setting(const NameKey& _key) const;
    // The element at the top of the tree. Under the scenes lock.
    ElementPtr Top();
    // An id for a new child of a type: the type, or else with the lowest number that is free. Under the scenes lock.
    std::u16string FreeID(std::u16string_view _type);
    // Sets an attribute at once. Names of settings in the path are those of settings, whatever has such an id.
    void SetByPath(std::u16string_view _path, std::u16string_view _value);

    // --- Mix thread

    uint64_t nDropped = 0;  // it is hidden, and was at that ScenesShared::Changes: nothing below has a picture

    // --- Of a root

    std::atomic<bool> bSceneActive{false};  // it is the scene that is drawn

    // Views that wait for their turn, and what each is told.
    struct VIEW_QUEUE {
        std::vector<std::u16string> arrPending;  // the next one last
        double dblStepTime = 0;
        std::u16string strStepParam;
    };
    Mutex mtx;  // before the locks of the tree
    VIEW_QUEUE views ZR_GUARDED_BY(mtx);

private:
    friend class XMLNodeImpl<CoElement, ElementPtr>;
    CoElement() = default;
    ~CoElement() override = default;
    XMLNodeBase* NewNode(TreeSource* _pSource) const override;

    std::shared_ptr<ScenesShared> pShared;  // set before anybody else knows the node

    // By the hash of a type: the first number behind it that may be free. Good while no name becomes free.
    struct NEXT_NUMBERS {
        uint32_t nNamesFreed = 0;
        std::unordered_map<uint64_t, uint64_t> map;
    };
    std::unique_ptr<NEXT_NUMBERS> pNumbers ZR_GUARDED_BY(mtx);  // made when they are needed
};

// Holds the scenes lock of an element for reading, if it has one.
class ElementReadLock {
public:
    explicit ElementReadLock(const CoElement& _element);
    ~ElementReadLock();
    ElementReadLock(const ElementReadLock&) = delete;
    ElementReadLock& operator=(const ElementReadLock&) = delete;

private:
    const std::shared_ptr<ScenesShared> pShared;
};

// Holds the scenes lock of an element exclusively, if it has one.
class ElementLock {
public:
    ElementLock(const CoElement& _element, const char* _szLabel);
    ~ElementLock();
    ElementLock(const ElementLock&) = delete;
    ElementLock& operator=(const ElementLock&) = delete;

private:
    const std::shared_ptr<ScenesShared> pShared;
};

}  // namespace zr
