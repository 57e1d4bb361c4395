#pragma once
// The scenes of an object, of which one is active. IZrScenesImpl gives an object its face for them.

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "attributes/named_list.h"
#include "framework/event_sink.h"
#include "scenes/element.h"
#include "zr/scenes.h"

namespace zr {

// What is known about the attributes of elements, as XML.
std::u16string_view ElementSchemaXml();

// The operations of IZrScenes with their results, and what the owner of the scenes needs. There is always a scene, and
// one of them is active. Any thread. Events go out when the lock is free again.
class ScenesSet {
public:
    // Begins with an empty scene. _events outlives the set. Throws std::bad_alloc.
    explicit ScenesSet(IEventSink& _events);
    ~ScenesSet() { pShared->TakeDiscarded(); }  // discarded elements hold what holds them
    ScenesSet(const ScenesSet&) = delete;
    ScenesSet& operator=(const ScenesSet&) = delete;

    HRESULT GetCount(int32_t* _pnCount) const;
    HRESULT GetByIndex(int32_t _nIndex, BSTR* _pbsID, IZrElements** _ppScene) const;
    HRESULT Get(const char16_t* _bsID, IZrElements** _ppScene) const;
    HRESULT Add(const char16_t* _bsDescription, BSTR* _pbsID, IZrElements** _ppScene);
    HRESULT Remove(const char16_t* _bsID);
    HRESULT ActiveGet(BSTR* _pbsID, int32_t* _pnIndex, IZrElements** _ppScene) const;
    HRESULT ActiveSet(const char16_t* _bsID, const char16_t* _bsParameters);
    HRESULT ElementGetByPos(double _dblX, double _dblY, int32_t _bHiddenToo, IZrElement** _ppElement) const;

    // --- For the owner

    // The lock that a pass of the drawing holds for reading.
    ScenesShared& Shared() const { return *pShared; }
    // The root that is drawn. Never empty.
    ElementPtr Active() const;
    // A root to be filled and put in; it knows this set's lock.
    ElementPtr NewScene() const;
    struct SCENE {
        std::u16string strID;
        ElementPtr pRoot;
    };
    // All in order.
    std::vector<SCENE> Scenes() const;
    std::u16string ActiveID() const;
    // Puts other scenes in the place of all; the one of that id becomes active, or else the first. Ids in use get
    // numbers. Without any there is an empty one.
    HRESULT ReplaceAll(std::vector<SCENE> _arrScenes, std::u16string_view _activeID);

private:
    struct EVENT {
        std::u16string strID;
        bool bActive;
    };
    using EVENTS = std::vector<EVENT>;

    HRESULT AddToList(std::u16string_view _id, const ElementPtr& _pRoot, std::u16string& _strID)
        ZR_REQUIRES(pShared->lock);
    void Activate(const ElementPtr& _pRoot, bool _bReset, bool _bRestart, EVENTS& _events) ZR_REQUIRES(pShared->lock);
    void Deactivate(bool _bReset, EVENTS& _events) ZR_REQUIRES(pShared->lock);
    ElementPtr RootOf(std::u16string_view _id) const;
    size_t PositionOf(const ElementPtr& _pRoot) const ZR_REQUIRES_SHARED(pShared->lock);
    HRESULT Read(std::u16string_view _description, ElementPtr& _pRoot) const;
    void Raise(const EVENTS& _events);

    IEventSink& events;
    const std::shared_ptr<ScenesShared> pShared;
    NamedList<ElementPtr> arrScenes ZR_GUARDED_BY(pShared->lock);  // by id
    ElementPtr pActive ZR_GUARDED_BY(pShared->lock);
    // By the hash of an id: the first number behind it that may be free.
    std::unordered_map<uint64_t, int32_t> mapNextNumber ZR_GUARDED_BY(pShared->lock);
};

}  // namespace zr
