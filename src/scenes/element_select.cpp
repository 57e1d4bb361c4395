#include "scenes/element_select.h"

#include <algorithm>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "attributes/attribute_line.h"
#include "scenes/animated_value.h"
#include "scenes/element_change.h"
#include "scenes/element_names.h"

namespace zr {
namespace {

using namespace element;

constexpr std::u16string_view kOnInvoke = u"on_invoke";

// Calls _f(CoElement&) for an element and all below it, settings and texts left out, in the order of the tree, until it
// returns false.
template <class F>
void WhileElements(const ElementPtr& _pTop, F _f) {
    std::vector<ElementPtr> arrWaiting{_pTop};
    while (!arrWaiting.empty()) {
        const ElementPtr p = std::move(arrWaiting.back());
        arrWaiting.pop_back();
        if (!_f(*p)) return;
        for (size_t i = p->ChildCount(); i-- > 0;) {
            ElementPtr pChild = p->ChildAt(i);
            if (pChild && !pChild->IsText() && !IsSettingNode(pChild->TypeHash()))
                arrWaiting.push_back(std::move(pChild));
        }
    }
}

template <class F>
void ForEachElement(const ElementPtr& _pTop, F _f) {
    WhileElements(_pTop, [&](CoElement& _element) {
        _f(_element);
        return true;
    });
}

// What is selected by default: the whole of the parent.
void FillOnSelect(const CoElement& _element, CoElement& _onSelect) {
    if (_onSelect.AttributeCount() > 0) return;
    constexpr struct {
        NameKey key;
        std::u16string_view szValue;
    } arrWhole[] = {{u"x", u"0"}, {u"y", u"0"}, {u"w", u"1"}, {u"h", u"1"}};
    for (const auto& [key, szValue] : arrWhole)
        if (_element.HasOwnAttribute(key)) _onSelect.SetOwnAttribute(key, szValue);
}

// What the element has of the names that are about to change, or falls back to.
ElementPtr MakeRestore(const CoElement& _element, const CoElement& _onSelect) {
    const ElementPtr pRestore = CoElement::CreateTop(kSelRestore.text, _element.Shared());
    std::u16string strName, strValue;
    for (size_t i = 0; _onSelect.AttributeAt(i, &strName, nullptr); ++i) {
        const NameKey key(strName);
        if (_element.GetAttribute(strName, strValue))
            pRestore->SetOwnAttribute(key, strValue);
        else if (const auto eTimedName = TimedByHash(key.nHash))
            pRestore->SetOwnAttribute(key, TimedName(*eTimedName).szFallback);
    }
    return pRestore;
}

void Restore(CoElement& _element, const NameKey& _node, double _dblTime) {
    const ElementPtr pRestore = _element.Setting(_node);
    if (!pRestore) return;
    _element.RemoveChild(pRestore.Get());
    _element.RemoveAttribute(kSelected.text);
    ChangeTo(_element, *pRestore, _dblTime);
}

void Unselect(CoElement& _element, double _dblTime) { Restore(_element, kSelRestore, _dblTime); }

}  // namespace

HRESULT SelectElement(CoElement& _element, std::u16string_view _param, double _dblTime) {
    const bool bIsSelected = _element.AttributeOr(kSelected.text, false) && _element.Setting(kSelRestore);
    const ElementPtr pParam = CoElement::CreateTop(u"param");
    bool bSelect = !bIsSelected;
    if (_param.find(u'=') != _param.npos) {
        SetAttributeLine(*pParam, _param, eZrUT_Update);
        pParam->GetAttribute(u"select", bSelect);
    } else if (!_param.empty()) {
        pParam->SetAttribute(u"select", _param);
        pParam->GetAttribute(u"select", bSelect);
    }
    if (bSelect == bIsSelected) return S_FALSE;
    if (!bSelect) {
        Unselect(_element, _dblTime);
        return S_OK;
    }
    ElementPtr pOnSelect = _element.Setting(kOnSelect);
    if (!pOnSelect) pOnSelect = _element.Add(kOnSelect.text);
    if (!pOnSelect) return E_FAIL;
    FillOnSelect(_element, *pOnSelect);
    _element.AppendChild(MakeRestore(_element, *pOnSelect));
    ChangeTo(_element, *pOnSelect, _dblTime);
    _element.SetAttribute(kSelected.text, true);

    if (!pParam->AttributeOr(u"multiple_select", false)) {
        ForEachElement(_element.Top(), [&](CoElement& _other) {
            if (&_other != &_element) Unselect(_other, _dblTime);
        });
    }
    return S_OK;
}

void RestoreSelections(CoElement& _scene) {
    ForEachElement(ElementPtr(&_scene), [](CoElement& _element) {
        Unselect(_element, 0);
        Restore(_element, kTickerRestore, 0);
    });
}

// ---------------------------------------------------------------------------------------------------------------------
// Views

namespace {

// Elements of a scene, each by a path, or else anywhere in it by the id; empty where there is none. One walk for all.
std::vector<ElementPtr> FindElements(CoElement& _scene, std::span<const std::u16string> _arrPaths) {
    std::vector<ElementPtr> arrFound(_arrPaths.size());
    std::unordered_map<uint64_t, size_t> mapWanted;
    for (size_t i = 0; i < arrFound.size(); ++i) {
        arrFound[i] = _scene.Find(_arrPaths[i]);
        if (arrFound[i].Get() == &_scene) arrFound[i] = {};
        if (!arrFound[i]) mapWanted.try_emplace(NameHash(_arrPaths[i]), i);
    }
    if (mapWanted.empty()) return arrFound;
    WhileElements(ElementPtr(&_scene), [&](CoElement& _element) {
        const auto it = &_element == &_scene ? mapWanted.end() : mapWanted.find(_element.HashOfName());
        if (it == mapWanted.end()) return true;
        arrFound[it->second] = ElementPtr(&_element);
        mapWanted.erase(it);
        return !mapWanted.empty();
    });
    return arrFound;
}

// A camera looks from where its target is.
void FollowTarget(CoElement& _scene, CoElement& _camera, double _dblTime) {
    std::u16string strTarget;
    if (!_camera.HasTag(u"camera") || !_camera.GetAttribute(u"target_id", strTarget) || strTarget.empty()) return;
    const ElementPtr pTarget = FindElements(_scene, {&strTarget, 1})[0];
    if (!pTarget || pTarget.Get() == &_camera) return;
    const ElementPtr pPosition = CoElement::CreateTop(u"position");
    std::u16string strValue;
    for (const std::u16string_view name : {u"x", u"y", u"z"})
        if (pTarget->GetAttribute(name, strValue)) pPosition->SetAttribute(name, strValue);
    BeginChange(_camera, *pPosition, _dblTime, 0, nullptr);
}

// Each attribute of a view is the id of an element and what that is to become. False: nothing has begun that will end.
bool GoToView(CoElement& _scene, const CoElement& _view, std::u16string_view _param, double _dblTime) {
    std::vector<std::u16string> arrIds, arrLines;
    std::u16string strID, strLine;
    for (size_t i = 0; _view.AttributeAt(i, &strID, &strLine); ++i) {
        if (NameHash(strID) == NameHash(kOnInvoke)) continue;
        if (!_param.empty()) strLine.append(u" ").append(_param);
        arrIds.push_back(std::move(strID));
        arrLines.push_back(std::move(strLine));
    }
    const std::vector<ElementPtr> arrElements = FindElements(_scene, arrIds);
    bool bBegun = false;
    for (size_t i = 0; i < arrElements.size(); ++i) {
        const ElementPtr& pElement = arrElements[i];
        if (!pElement) continue;
        ChangeByLine(*pElement, arrLines[i], _dblTime);
        FollowTarget(_scene, *pElement, _dblTime);
        bBegun |= _dblTime > 0 && pElement->Setting(kNodeFrom) && IsDrawn(*pElement);
    }
    return bBegun;
}

void AppendNames(std::u16string_view _list, std::vector<std::u16string>& _arrNames) {
    constexpr std::u16string_view kBreaks = u" ,\t\r\n";
    for (;;) {
        const size_t nFirst = _list.find_first_not_of(kBreaks);
        if (nFirst == _list.npos) return;
        const size_t nEnd = std::min(_list.find_first_of(kBreaks, nFirst), _list.size());
        _arrNames.push_back(u"view::" + std::u16string(_list.substr(nFirst, nEnd - nFirst)));
        _list.remove_prefix(nEnd);
    }
}

}  // namespace

bool IsView(const CoElement& _element) {
    if (_element.HasTag(kView)) return true;
    const ElementPtr pParent = _element.Parent();
    return pParent && pParent->HasTag(kView);
}

HRESULT InvokeView(CoElement& _view, std::u16string_view _param, double _dblTime) {
    const ElementPtr pScene = _view.Top();
    if (pScene.Get() == &_view) return E_UNEXPECTED;
    CoElement::VIEW_QUEUE queue;
    AppendNames(_view.AttributeOr(kOnInvoke, std::u16string_view()), queue.arrPending);
    const bool bDirect = queue.arrPending.empty();
    if (!bDirect) {
        queue.dblStepTime = _dblTime > 0 ? _dblTime / static_cast<double>(queue.arrPending.size() + 1) : 0;
        queue.strStepParam = _param;
        queue.arrPending.push_back(u"view::" + _view.Name());
        std::reverse(queue.arrPending.begin(), queue.arrPending.end());
    }
    {
        MutexLock lock(pScene->mtx);
        pScene->views = std::move(queue);
    }
    if (bDirect)
        GoToView(*pScene, _view, _param, _dblTime);
    else
        RunViewStep(*pScene);
    return S_OK;
}

bool RunViewStep(CoElement& _scene) {
    std::u16string strPath, strParam;
    for (;;) {
        double dblTime = 0;
        {
            MutexLock lock(_scene.mtx);
            if (_scene.views.arrPending.empty()) return false;
            strPath = std::move(_scene.views.arrPending.back());
            _scene.views.arrPending.pop_back();
            strParam = _scene.views.strStepParam;
            dblTime = _scene.views.dblStepTime;
        }
        const ElementPtr pView = _scene.Find(strPath);
        if (pView && GoToView(_scene, *pView, strParam, dblTime)) return true;
    }
}

}  // namespace zr
