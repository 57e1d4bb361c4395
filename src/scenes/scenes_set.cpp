#include "scenes/scenes_set.h"

#include <cmath>

#include "attributes/attribute_line.h"
#include "attributes/interface_call.h"
#include "attributes/xml_file.h"
#include "platform/wide_text.h"
#include "scenes/element_names.h"
#include "scenes/element_place.h"
#include "scenes/element_select.h"
#include "scenes/scene_file.h"

namespace zr {
namespace {

using namespace element;

constexpr char16_t szSchemaXml[] =
#include "scenes/attributes_info.inc"
    ;
constexpr int32_t kMaxNumber = 32767;
constexpr NameKey arrKeptByReset[] = {kSrcProps};

HRESULT GiveScene(const ElementPtr& _pRoot, IZrElements** _ppScene) {
    if (_ppScene) *_ppScene = _pRoot.As<IZrElements>().Detach();
    return S_OK;
}

// A scene gets it when a host adds it or when it is drawn first: of thousands that are loaded, few ever are.
void AddSchema(CoElement& _root) {
    if (_root.Setting(kInfo)) return;
    const ElementPtr pInfo = _root.Find(kInfo.text, true);
    pInfo->Parse(ElementSchemaXml());
    pInfo->Rename(kInfo.text);
}

ElementPtr MakeRoot(const std::shared_ptr<ScenesShared>& _pShared) {
    return CoElement::CreateTop(kScene.text, _pShared);
}

// What a scene without a description holds.
void FillEmpty(CoElement& _root) {
    _root.Find(kForeground.text, true);
    _root.Find(kView.text, true);
}

// Wherever the drawing looks for it.
void RemoveHighlight(CoElement& _root) {
    _root.RemoveAttribute(kHighlight.text);
    if (const ElementPtr pForeground = _root.FindChild(kForeground)) pForeground->RemoveAttribute(kHighlight.text);
}

}  // namespace

std::u16string_view ElementSchemaXml() { return szSchemaXml; }

ScenesSet::ScenesSet(IEventSink& _events) : events(_events), pShared(std::make_shared<ScenesShared>()) {
    ReplaceAll({}, {});
}

ElementPtr ScenesSet::NewScene() const { return MakeRoot(pShared); }

ElementPtr ScenesSet::Active() const {
    CRWReadScope lock(pShared->lock);
    return pActive;
}

std::vector<ScenesSet::SCENE> ScenesSet::Scenes() const {
    CRWReadScope lock(pShared->lock);
    std::vector<SCENE> arr;
    for (const auto& entry : arrScenes) arr.push_back({std::u16string(entry.name.View()), entry.value});
    return arr;
}

std::u16string ScenesSet::ActiveID() const {
    CRWReadScope lock(pShared->lock);
    return std::u16string(arrScenes.NameAt(PositionOf(pActive)));
}

size_t ScenesSet::PositionOf(const ElementPtr& _pRoot) const {
    for (size_t i = 0; i < arrScenes.Size(); ++i)
        if (arrScenes[i] == _pRoot) return i;
    return arrScenes.kNone;
}

void ScenesSet::Raise(const EVENTS& _events) {
    for (const EVENT& event : _events)
        events.RaiseEvent(event.strID.c_str(), u"scene_active_set", event.bActive ? u"true" : u"false", nullptr);
}

// ---------------------------------------------------------------------------------------------------------------------
// The list

HRESULT ScenesSet::AddToList(std::u16string_view _id, const ElementPtr& _pRoot, std::u16string& _strID) {
    const std::u16string_view base = _id.empty() ? std::u16string_view(u"scene") : _id;
    _strID = _id.empty() ? u"scene_000" : std::u16string(_id);
    // The numbers below were all found taken before, and stay so until a scene goes.
    int32_t& nNext = mapNextNumber.try_emplace(NameHash(base), 1).first->second;
    while (arrScenes.Find(NameHash(_strID)) != arrScenes.kNone) {
        if (nNext > kMaxNumber) return ZR_E_EXISTS;
        const int32_t n = nNext++;
        _strID.assign(base).append(u"_");
        AppendPadded(_strID, static_cast<uint64_t>(n), 3);
    }
    arrScenes.Append(NameKey(_strID), _pRoot);
    if (!pActive) {
        pActive = _pRoot;
        pActive->bSceneActive = true;
    }
    return S_OK;
}

HRESULT ScenesSet::GetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    CRWReadScope lock(pShared->lock);
    *_pnCount = static_cast<int32_t>(arrScenes.Size());
    return S_OK;
}

HRESULT ScenesSet::GetByIndex(int32_t _nIndex, BSTR* _pbsID, IZrElements** _ppScene) const {
    if (_pbsID) *_pbsID = nullptr;
    if (_ppScene) *_ppScene = nullptr;
    return InterfaceCall([&]() -> HRESULT {
        CRWReadScope lock(pShared->lock);
        if (_nIndex < 0 || static_cast<size_t>(_nIndex) >= arrScenes.Size()) return ZR_E_BAD_INDEX;
        const size_t i = static_cast<size_t>(_nIndex);
        if (_pbsID) {
            if (const HRESULT hr = GiveText(arrScenes.NameAt(i), _pbsID); Failed(hr)) return hr;
        }
        return GiveScene(arrScenes[i], _ppScene);
    });
}

HRESULT ScenesSet::Get(const char16_t* _bsID, IZrElements** _ppScene) const {
    if (_ppScene) *_ppScene = nullptr;
    const ElementPtr pRoot = RootOf(TextArgument(_bsID));
    return pRoot ? GiveScene(pRoot, _ppScene) : ZR_E_NOT_FOUND_FILE;
}

ElementPtr ScenesSet::RootOf(std::u16string_view _id) const {
    CRWReadScope lock(pShared->lock);
    const size_t i = _id.empty() ? arrScenes.kNone : arrScenes.Find(NameHash(_id));
    return i == arrScenes.kNone ? ElementPtr() : arrScenes[i];
}

// A description to a root that nobody else knows yet.
HRESULT ScenesSet::Read(std::u16string_view _description, ElementPtr& _pRoot) const {
    _pRoot = MakeRoot(pShared);
    if (_description.empty()) {
        FillEmpty(*_pRoot);
        return S_OK;
    }
    std::u16string strXml;
    if (IsSceneFile(_description)) {
        if (const HRESULT hr = ReadTextFile(std::u16string(_description).c_str(), strXml); Failed(hr)) return hr;
    } else if (_description.find(u'<') != _description.npos) {
        strXml = _description;
    } else {
        if (_description.find(u'=') == _description.npos) return ZR_E_NOT_FOUND_FILE;
        const ElementPtr pParam = CoElement::CreateTop(u"zr-param");
        SetAttributeLine(*pParam, _description, eZrUT_Update);
        if (!pParam->AttributeOr(u"copy_active", false)) {
            FillEmpty(*_pRoot);
            return S_OK;
        }
        constexpr NameKey arrLeaveOut[] = {kNodeFrom, kNodeHide, kClone};
        CRWReadScope lock(pShared->lock);
        pActive->CopyTo(*_pRoot, false, eZrUT_ClearDest, arrLeaveOut);
        return S_OK;
    }
    const ElementPtr pRead = CoElement::CreateTop(u"zr-temp", pShared);
    if (const HRESULT hr = pRead->Parse(strXml); Failed(hr)) return hr;
    pRead->CopyTo(*_pRoot, false, eZrUT_ClearDest);
    return S_OK;
}

HRESULT ScenesSet::Add(const char16_t* _bsDescription, BSTR* _pbsID, IZrElements** _ppScene) {
    if (_ppScene) *_ppScene = nullptr;
    std::u16string strWish, strID;
    return InterfaceCall([&] {
        if (_pbsID) {
            strWish = TextArgument(*_pbsID);
            SysFreeString(std::exchange(*_pbsID, nullptr));
        }
        ElementPtr pRoot;
        if (const HRESULT hr = Read(TextArgument(_bsDescription), pRoot); Failed(hr)) return hr;
        AddSchema(*pRoot);
        {
            CRWWriteScope lock(pShared->lock, "ScenesAdd");
            if (const HRESULT hr = AddToList(strWish, pRoot, strID); Failed(hr)) return hr;
        }
        if (_pbsID) {
            if (const HRESULT hr = GiveText(strID, _pbsID); Failed(hr)) return hr;
        }
        return GiveScene(pRoot, _ppScene);
    });
}

HRESULT ScenesSet::Remove(const char16_t* _bsID) {
    const std::u16string_view id = TextArgument(_bsID);
    if (id.empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        EVENTS arrEvents;
        ElementPtr pRemoved;
        ScenesShared::DISCARDED gone;
        {
            CRWWriteScope lock(pShared->lock, "ScenesRemove");
            const size_t i = arrScenes.Find(NameHash(id));
            if (i == arrScenes.kNone) return ZR_E_NOT_FOUND_FILE;
            pRemoved = arrScenes[i];
            if (pRemoved == pActive) {
                if (arrScenes.Size() == 1) return ZR_E_EMPTY;
                Activate(arrScenes[i + 1 < arrScenes.Size() ? i + 1 : i - 1], true, false, arrEvents);
            }
            arrScenes.Remove(i);
            mapNextNumber.clear();
            gone = pShared->TakeDiscarded();
        }
        Raise(arrEvents);
        return S_OK;
    });
}

HRESULT ScenesSet::ReplaceAll(std::vector<SCENE> _arrScenes, std::u16string_view _activeID) {
    return InterfaceCall([&] {
        EVENTS arrEvents;
        NamedList<ElementPtr> arrOld;
        ScenesShared::DISCARDED gone;
        HRESULT hr = S_OK;
        if (_arrScenes.empty()) {
            _arrScenes.push_back({{}, MakeRoot(pShared)});
            FillEmpty(*_arrScenes[0].pRoot);
        }
        {
            CRWWriteScope lock(pShared->lock, "ScenesReplaceAll");
            const bool bFirst = !pActive;
            if (pActive) Deactivate(true, arrEvents);
            pActive = {};
            arrOld = std::exchange(arrScenes, {});
            mapNextNumber.clear();
            std::u16string strID;
            for (const SCENE& scene : _arrScenes)
                if (const HRESULT hrAdd = AddToList(scene.strID, scene.pRoot, strID); Failed(hrAdd)) hr = hrAdd;
            const size_t i = _activeID.empty() ? 0 : arrScenes.Find(NameHash(_activeID));
            if (bFirst) {
                AddSchema(*pActive);
                return hr;
            }
            pActive->bSceneActive = false;
            pActive = {};
            Activate(arrScenes[i == arrScenes.kNone ? 0 : i], true, false, arrEvents);
            gone = pShared->TakeDiscarded();
        }
        Raise(arrEvents);
        return hr;
    });
}

// ---------------------------------------------------------------------------------------------------------------------
// The active one

HRESULT ScenesSet::ActiveGet(BSTR* _pbsID, int32_t* _pnIndex, IZrElements** _ppScene) const {
    if (_pbsID) *_pbsID = nullptr;
    if (_pnIndex) *_pnIndex = -1;
    if (_ppScene) *_ppScene = nullptr;
    return InterfaceCall([&] {
        CRWReadScope lock(pShared->lock);
        const size_t i = PositionOf(pActive);
        if (_pbsID) {
            if (const HRESULT hr = GiveText(arrScenes.NameAt(i), _pbsID); Failed(hr)) return hr;
        }
        if (_pnIndex) *_pnIndex = static_cast<int32_t>(i);
        return GiveScene(pActive, _ppScene);
    });
}

void ScenesSet::Deactivate(bool _bReset, EVENTS& _events) {
    _events.push_back({std::u16string(arrScenes.NameAt(PositionOf(pActive))), false});
    pActive->bSceneActive = false;
    RemoveHighlight(*pActive);
    RestoreSelections(*pActive);
    if (_bReset) pShared->Discard(pActive->TakeObjectsBelow(arrKeptByReset));
}

void ScenesSet::Activate(const ElementPtr& _pRoot, bool _bReset, bool _bRestart, EVENTS& _events) {
    if (pActive && pActive != _pRoot) Deactivate(_bReset, _events);
    const ElementPtr pNew = _pRoot;  // it may stand in the list that changes
    pActive = pNew;
    pShared->NoteChange();
    pNew->bSceneActive = true;
    AddSchema(*pNew);
    _events.push_back({std::u16string(arrScenes.NameAt(PositionOf(pNew))), true});
    if (_bRestart) pShared->Discard(pNew->TakeObjectsBelow());
    RemoveHighlight(*pNew);
}

HRESULT ScenesSet::ActiveSet(const char16_t* _bsID, const char16_t* _bsParameters) {
    const std::u16string_view id = TextArgument(_bsID);
    if (id.empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        const ElementPtr pParam = CoElement::CreateTop(u"zr-param");
        SetAttributeLine(*pParam, TextArgument(_bsParameters), eZrUT_Update);
        EVENTS arrEvents;
        ScenesShared::DISCARDED gone;
        if (const ElementPtr pNew = RootOf(id)) AddSchema(*pNew);  // before anyone has to wait
        {
            CRWWriteScope lock(pShared->lock, "ScenesActiveSet");
            const size_t i = arrScenes.Find(NameHash(id));
            if (i == arrScenes.kNone) return ZR_E_NOT_FOUND_FILE;
            if (arrScenes[i] == pActive) return S_FALSE;
            Activate(arrScenes[i], pParam->AttributeOr(u"reset", true), pParam->AttributeOr(u"restart", false),
                     arrEvents);
            gone = pShared->TakeDiscarded();
        }
        Raise(arrEvents);
        return S_OK;
    });
}

HRESULT ScenesSet::ElementGetByPos(double _dblX, double _dblY, int32_t _bHiddenToo, IZrElement** _ppElement) const {
    if (_ppElement) *_ppElement = nullptr;
    return InterfaceCall([&] {
        CRWReadScope lock(pShared->lock);
        if (!pActive) return E_UNEXPECTED;
        const ElementPtr pHit = ElementAtPoint(*pActive, _dblX, _dblY, _bHiddenToo != 0);
        if (!pHit) return S_FALSE;
        if (_ppElement) *_ppElement = pHit.As<IZrElement>().Detach();
        return S_OK;
    });
}

}  // namespace zr
