#include "scenes/element_change.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "attributes/attribute_line.h"
#include "attributes/name_path.h"
#include "scenes/animated_value.h"
#include "scenes/element_names.h"

namespace zr {
namespace {

using namespace element;

constexpr NameKey keyAccel{u"_change_accel_"};
constexpr NameKey keyStart{u"_start_"};
constexpr NameKey keyChangeTime{u"_change_time_"};
constexpr NameKey keyDelayTime{u"_delay_time_"};
constexpr NameKey keyLast{u"_stream_last_"};

// How deep showing goes on with what is nested; a scene from outside may be deeper than the stack.
constexpr int32_t kMaxNested = 64;

template <class F>
void ForEachTimed(F _f) {
    for (size_t i = 0; i < kTimedNames; ++i) _f(TimedName(static_cast<eTimed>(i)));
}

bool ReadShow(const XMLNodeBase& _node) {
    bool bShow = true;
    _node.GetOwnAttribute(kShow, bShow);
    return bShow;
}

bool HasTimed(const XMLNodeBase& _node) {
    bool bAny = false;
    ForEachTimed([&](const TIMED_NAME& _name) { bAny |= _node.HasOwnAttribute(_name.key); });
    return bAny;
}

// Stores what an element says of an attribute, or its fallback.
void StorePresent(const CoElement& _element, const TIMED_NAME& _name, CoElement& _from) {
    _from.SetOwnAttribute(_name.key, _element.AttributeOr(_name.key.text, _name.szFallback));
}

void RemoveNode(CoElement& _element, const NameKey& _key) {
    if (const ElementPtr p = _element.Setting(_key)) {
        _element.RemoveChild(p.Get());
        _element.Discard(XMLNodeRef(p));
    }
}

// One showing or hiding: what it works on. The nodes are not in the tree yet.
struct SHOW {
    CoElement& element;
    CoElement& from;
    const ElementPtr pHide;  // made when it hides
    const double dblTime;
    const double dblDelay;
    bool bOn;
    bool bReversal;  // it hides and has to come back from where it is
    int32_t nDepth;
    double dblTotal = 0;
};

// The children follow one after another; each begins when the ones before are partly through.
void ShowNested(SHOW& _show, double _dblFactor) {
    if (_show.nDepth >= kMaxNested) return;
    for (size_t i = 0; ElementPtr pChild = _show.element.ChildAt(i); ++i) {
        if (pChild->IsText() || !IsNestedType(*pChild)) continue;
        if (!_show.bReversal && ReadShow(*pChild) == _show.bOn) {
            EndChange(*pChild);
            pChild->SetAttribute(kShow.text, !_show.bOn);
        }
        double dblChild = 0;
        ElementChange(*pChild, kShow.text, _show.bOn ? u"true" : u"false", _show.dblTime,
                      _show.dblTotal + _show.dblDelay, &dblChild, _show.nDepth + 1);
        _show.dblTotal += dblChild * _dblFactor;
    }
}

enum class Shown { kNothing, kInstant, kTimed };

// _pWay: the node "on_show" or "on_hide"; empty for a plain fade.
void ShowBy(SHOW& _show, const ElementPtr& _pWay) {
    CoElement& source = _show.bOn ? _show.from : *_show.pHide;
    if (!_pWay) {
        if (_show.dblDelay > 0) _show.from.SetAttribute(keyDelayTime.text, _show.dblDelay);
        if (!_show.bReversal) source.SetAttribute(kAlpha.text, 0.0);
        _show.dblTotal = _show.dblDelay;
        return;
    }
    const bool bNested = _pWay->AttributeOr(u"nested", false);
    const double dblFactor = std::clamp(_pWay->AttributeOr(u"delay", 0.5), 0.0, 1000.0);
    if (!bNested) {
        _show.dblTotal = _show.dblTime;
        if (_show.dblDelay > 0) _show.from.SetAttribute(keyDelayTime.text, _show.dblDelay);
    } else {
        if (_show.bOn) {
            _show.dblTotal = _show.dblTime * dblFactor;
            if (_show.dblDelay > 0) _show.from.SetAttribute(keyDelayTime.text, _show.dblDelay);
        }
        ShowNested(_show, dblFactor);
        if (!_show.bOn && _show.dblTotal + _show.dblDelay > 0)
            _show.from.SetAttribute(keyDelayTime.text, _show.dblTotal + _show.dblDelay);
        _show.dblTotal += _show.dblTime * dblFactor;
    }
    if (!_show.bReversal) source.CopyAttributesFrom(*_pWay, eZrUT_Update);
}

// Compares "show" at the start of a change with what the element now says. _pHide: receives the node that the element
// moves to when it hides.
Shown ShowChange(CoElement& _from, CoElement& _element, double _dblTime, double _dblDelay, double* _pdblTotal,
                 ElementPtr& _pHide, int32_t _nDepth) {
    const bool bOn = ReadShow(_element);
    const bool bVisible = ReadShow(_from);
    const bool bReversal = bOn && bVisible && _element.Setting(kNodeHide);
    if (bOn == bVisible && !bReversal) return Shown::kNothing;

    const ElementPtr pWay = _element.Setting(bOn ? kOnShow : kOnHide);
    if (pWay && pWay->AttributeCount() == 0) {
        _from.RemoveAttribute(kShow.text);
        RemoveNode(_element, kNodeHide);
        return Shown::kInstant;
    }
    if (!bOn) {
        _pHide = CoElement::CreateTop(kNodeHide.text, _element.Shared());
        _pHide->CopyAttributesFrom(_element, eZrUT_Update);
    }
    SHOW show{_element, _from, _pHide, _dblTime, _dblDelay, bOn, bReversal, _nDepth};
    ShowBy(show, pWay);
    if (_pdblTotal) *_pdblTotal = show.dblTotal;
    return Shown::kTimed;
}

void CopyTarget(const CoElement& _target, CoElement& _element) {
    if (!_target.HasOwnAttribute(keyAccel)) {
        _element.CopyAttributesFrom(_target, eZrUT_Update);
        return;
    }
    const ElementPtr pCopy = CoElement::CreateTop(u"target");
    pCopy->CopyAttributesFrom(_target, eZrUT_Update);
    pCopy->RemoveAttribute(keyAccel.text);
    _element.CopyAttributesFrom(*pCopy, eZrUT_Update);
}

// The state that an element is hiding to is that of the element, but for what its way of hiding says.
void ChangeHidden(CoElement& _element, const CoElement& _target) {
    const ElementPtr pHide = _element.Setting(kNodeHide);
    if (!pHide) return;
    CopyTarget(_target, *pHide);
    if (const ElementPtr pWay = _element.Setting(kOnHide))
        pHide->CopyAttributesFrom(*pWay, eZrUT_Update);
    else
        pHide->SetAttribute(kAlpha.text, 0.0);
}

// The values that a change under way has reached become the start of the next. _bKeepDelay: so does what is left of its
// delay.
void KeepReached(CoElement& _element, CoElement& _from, bool _bKeepDelay) {
    ForEachTimed([&](const TIMED_NAME& _name) {
        if (!_from.HasOwnAttribute(_name.key)) return;
        const double dbl = AnimatedValue(_element, _name.key, _name.dblFallback, -1, -1);
        if (_name.key.nHash == kShow.nHash)
            _from.SetAttribute(_name.key.text, dbl != 0);
        else
            _from.SetAttribute(_name.key.text, dbl);
    });
    const double dblStart = _from.AttributeOr(keyStart.text, -1.0);
    const double dblRun = dblStart >= 0 ? _from.AttributeOr(keyLast.text, dblStart) - dblStart : 0;
    const double dblLeft = _from.AttributeOr(keyDelayTime.text, 0.0) - dblRun;
    _from.RemoveAttribute(keyStart.text);
    if (_bKeepDelay && dblLeft > 0)
        _from.SetAttribute(keyDelayTime.text, dblLeft);
    else
        _from.RemoveAttribute(keyDelayTime.text);
}

}  // namespace

void BeginChange(CoElement& _element, const CoElement& _target, double _dblTime, double _dblDelay, double* _pdblTotal,
                 int32_t _nDepth) {
    if (!(_dblTime > 0)) {
        CopyTarget(_target, _element);
        return;
    }
    // What the change starts from is put together beside the element, as the values are read from it all the while.
    const ElementPtr pOld = _element.Setting(kNodeFrom);
    // It is showing or hiding, and that is not what changes now.
    const bool bGoesOn = pOld && pOld->HasOwnAttribute(kShow) && !_target.HasOwnAttribute(kShow);
    const ElementPtr pFrom = CoElement::CreateTop(kNodeFrom.text, _element.Shared());
    if (pOld) {
        pOld->CopyTo(*pFrom, false, eZrUT_ClearDest);
        KeepReached(_element, *pFrom, bGoesOn);
    }
    if (const double dblAccel = _target.AttributeOr(keyAccel.text, -1000.0); dblAccel > -1000)
        pFrom->SetAttribute(keyAccel.text, dblAccel);
    ForEachTimed([&](const TIMED_NAME& _name) {
        if (_target.HasOwnAttribute(_name.key) && !pFrom->HasOwnAttribute(_name.key))
            StorePresent(_element, _name, *pFrom);
    });
    CopyTarget(_target, _element);

    ElementPtr pHide;
    Shown eShown = Shown::kTimed;
    if (bGoesOn)
        ChangeHidden(_element, _target);
    else
        eShown = ShowChange(*pFrom, _element, _dblTime, _dblDelay, _pdblTotal, pHide, _nDepth);
    const bool bChange = eShown == Shown::kTimed || HasTimed(*pFrom);
    if (bChange) {
        pFrom->SetAttribute(keyChangeTime.text, _dblTime);
        if (pHide) {
            ForEachTimed([&](const TIMED_NAME& _name) {
                if (!pFrom->HasOwnAttribute(_name.key)) StorePresent(_element, _name, *pFrom);
            });
        }
        _element.AppendChild(pFrom);
    }
    if (pOld) _element.RemoveChild(pOld.Get());
    if (pHide || ReadShow(_element)) RemoveNode(_element, kNodeHide);
    if (pHide) _element.AppendChild(pHide);
}

// ---------------------------------------------------------------------------------------------------------------------
// Whole descriptions

namespace {

// What may be left behind by an earlier life of an element.
constexpr NameKey arrTransient[] = {kNodeFrom, kNodeHide, kClone};
// What the drawing keeps with an element.
constexpr NameKey arrDrawn[] = {kVideoBlock, kMixerStream, kSrcProps, kMixProps, kDstRect};
// Elements cross-faded again before they are done: how many of the old ones go on fading.
constexpr int32_t kMaxFading = 4;

struct NAMED_CHILD {
    uint64_t nHash;
    ElementPtr p;
};

// The elements below, by name; those of one name as they stand.
std::vector<NAMED_CHILD> ChildrenByName(const CoElement& _element) {
    std::vector<NAMED_CHILD> arr;
    for (size_t i = 0; ElementPtr p = _element.ChildAt(i); ++i)
        if (!p->IsText() && !IsSettingNode(p->TypeHash())) arr.push_back({NameHash(p->Name()), std::move(p)});
    std::stable_sort(arr.begin(), arr.end(),
                     [](const NAMED_CHILD& _a, const NAMED_CHILD& _b) { return _a.nHash < _b.nHash; });
    return arr;
}

void CopyDrawn(const CoElement& _from, CoElement& _to) {
    for (const NameKey& key : arrDrawn)
        if (ObjectsMap::ObjectPtr p = _from.Object(key)) _to.SetObject(key, std::move(p));
}

// What stands below both by its name and type goes on with the pictures that it has.
void CarryBelow(CoElement& _old, CoElement& _new) {
    struct PAIR {
        ElementPtr pOld, pNew;
    };
    std::vector<PAIR> arrWaiting{{ElementPtr(&_old), ElementPtr(&_new)}};
    while (!arrWaiting.empty()) {
        const PAIR pair = std::move(arrWaiting.back());
        arrWaiting.pop_back();
        const std::vector<NAMED_CHILD> arrOld = ChildrenByName(*pair.pOld), arrNew = ChildrenByName(*pair.pNew);
        for (size_t i = 0, k = 0; i < arrOld.size() && k < arrNew.size();) {
            const NAMED_CHILD &was = arrOld[i], &is = arrNew[k];
            if (was.nHash == is.nHash && was.p->TypeHash() == is.p->TypeHash()) {
                CopyDrawn(*was.p, *is.p);
                arrWaiting.push_back({was.p, is.p});
            }
            i += was.nHash <= is.nHash;
            k += is.nHash <= was.nHash;
        }
    }
}

void MoveChildren(CoElement& _from, CoElement& _to) {
    std::vector<XMLNodeRef> arrChildren = _from.ChildNodes();
    _from.RemoveChildren();
    for (XMLNodeRef& pChild : arrChildren) _to.InsertChildNode(std::move(pChild));
}

void PutInPlace(CoElement& _element, CoElement& _new, std::u16string_view _type) {
    const std::u16string strType = _type.empty() ? _new.Tag() : std::u16string(_type);
    if (_element.HasTag(NameKey(strType)) && !IsContentType(_element))
        CarryBelow(_element, _new);
    else
        _element.Discard(_element.TakeObjectsBelow());
    const ElementPtr pInfo = _new.Setting(kInfo) ? ElementPtr() : _element.Setting(kInfo);
    for (XMLNodeRef& pChild : _element.ChildNodes()) {
        if (pChild.Get() == pInfo.Get()) continue;
        _element.Discard(pChild->TakeObjectsBelow());
        _element.Discard(std::move(pChild));
    }
    _element.RemoveChildren();
    _element.CopyAttributesFrom(_new, eZrUT_ClearDest);
    MoveChildren(_new, _element);
    if (pInfo) _element.AppendChild(pInfo);  // what a scene knows of attributes
    if (!_element.HasTag(kScene)) _element.SetTag(strType);
}

// All that an element is goes on as its clone, which fades out: with its pictures, so that no frame lacks them.
ElementPtr MoveToClone(CoElement& _element) {
    const ElementPtr pClone = CoElement::CreateTop(kClone.text, _element.Shared());
    pClone->CopyAttributesFrom(_element, eZrUT_ClearDest);
    pClone->SetOwnAttribute(kCloneType, _element.Tag());
    CopyDrawn(_element, *pClone);
    for (const NameKey& key : arrDrawn) _element.RemoveObject(key);
    _element.RemoveObject(kText);
    MoveChildren(_element, *pClone);
    ElementPtr pOlder = pClone;
    for (int32_t i = 1; i < kMaxFading && pOlder; ++i) pOlder = pOlder->Setting(kClone);
    if (pOlder) RemoveNode(*pOlder, kClone);
    return pClone;
}

// The old description stays for the time of the change, hiding, beside the new one that shows.
void CrossFade(CoElement& _element, CoElement& _new, std::u16string_view _type, double _dblTime, double _dblDelay,
               double* _pdblTotal) {
    const ElementPtr pClone = MoveToClone(_element);
    PutInPlace(_element, _new, _type);
    ElementChange(*pClone, kShow.text, u"false", _dblTime);
    if (pClone->Setting(kNodeFrom)) {
        pClone->SetAttribute(kRemove.text, true);
        _element.AppendChild(pClone);
    } else {
        _element.Discard(XMLNodeRef(pClone));
    }
    if (!ReadShow(_element)) return;
    _element.SetAttribute(kShow.text, false);
    ElementChange(_element, kShow.text, u"true", _dblTime, _dblDelay, _pdblTotal);
}

}  // namespace

HRESULT ReadElement(std::u16string_view _xml, const CoElement& _for, ElementPtr& _pNew) {
    _pNew = CoElement::CreateTop(u"item", _for.Shared());
    return _pNew->Parse(_xml);
}

void ReplaceElement(CoElement& _element, const ElementPtr& _pNew, std::u16string_view _type, double _dblTime,
                    double _dblDelay, double* _pdblTotal) {
    const bool bFades = _dblTime > 0 && ReadShow(_element) && _element.HasParent();  // a scene itself is not drawn
    if (!bFades)
        PutInPlace(_element, *_pNew, _type);
    else
        CrossFade(_element, *_pNew, _type, _dblTime, _dblDelay, _pdblTotal);
}

// ---------------------------------------------------------------------------------------------------------------------
// Attributes

namespace {

// Paths go to the element at once, names to the target.
void Take(CoElement& _element, std::u16string_view _name, std::u16string_view _value, CoElement& _target) {
    if (FindPathSeparator(_name) != _name.npos)
        _element.SetByPath(_name, _value);
    else
        _target.SetOwnAttribute(_name, _value);
}

}  // namespace

void ChangeTo(CoElement& _element, const CoElement& _target, double _dblTime, double _dblDelay, double* _pdblTotal,
              int32_t _nDepth) {
    if (IsContentType(_element)) {
        _dblTime = 0;
        _element.Discard(_element.TakeObjectsBelow());
    }
    BeginChange(_element, _target, HasTimed(_target) ? _dblTime : 0, _dblDelay, _pdblTotal, _nDepth);
}

void ChangeByLine(CoElement& _element, std::u16string_view _line, double _dblTime) {
    const ElementPtr pTarget = CoElement::CreateTop(u"target");
    AttributeLineScanner scanner(_line);
    while (scanner.Next())
        if (!scanner.IsBare()) Take(_element, scanner.Name(), scanner.Value(), *pTarget);
    ChangeTo(_element, *pTarget, _dblTime);
}

HRESULT ElementChange(CoElement& _element, std::u16string_view _name, std::u16string_view _value, double _dblTime,
                      double _dblDelay, double* _pdblTotal, int32_t _nDepth) {
    if (_name.empty() && _value.find(u'<') != _value.npos) {
        ElementPtr pNew;
        if (const HRESULT hr = ReadElement(_value, _element, pNew); Failed(hr)) return hr;
        ReplaceElement(_element, pNew, {}, _dblTime, _dblDelay, _pdblTotal);
        return S_OK;
    }
    if (_name.empty()) {
        ChangeByLine(_element, _value, _dblTime);
        return S_OK;
    }
    std::u16string strPresent;
    if (_element.GetAttribute(_name, strPresent) && strPresent == _value) return S_FALSE;
    const ElementPtr pTarget = CoElement::CreateTop(u"target");
    Take(_element, _name, _value, *pTarget);
    ChangeTo(_element, *pTarget, _dblTime, _dblDelay, _pdblTotal, _nDepth);
    return S_OK;
}

bool IsDrawn(const CoElement& _element) {
    if (!ReadShow(_element) && !_element.Setting(kNodeFrom)) return false;
    for (ElementPtr p = _element.Parent(); p; p = p->Parent())
        if (!ReadShow(*p)) return false;
    return true;
}

void DropRunTimeState(CoElement& _element) {
    for (const NameKey& key : arrTransient) RemoveNode(_element, key);
    _element.RemoveAttribute(kRemove.text);
    _element.Discard(_element.TakeObjectsBelow());
}

}  // namespace zr
