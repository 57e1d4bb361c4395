#include "scenes/animated_value.h"

#include <algorithm>
#include <iterator>
#include <numbers>
#include <utility>

namespace zr {
namespace {

constexpr TIMED_NAME arrNames[kTimedNames] = {
    {u"show", 1.0, u"true"}, {u"x", 0.0, u"0.0"},     {u"y", 0.0, u"0.0"},          {u"w", 1.0, u"1.0"},
    {u"h", 1.0, u"1.0"},     {u"sx", 0.0, u"0"},      {u"sy", 0.0, u"0"},           {u"sw", 1.0, u"1.0"},
    {u"sh", 1.0, u"1.0"},    {u"alpha", 1.0, u"1.0"}, {u"audio_gain", 0.0, u"0.0"},
};
constexpr size_t kShow = static_cast<size_t>(eTimed::Show);
constexpr size_t kGain = static_cast<size_t>(eTimed::AudioGain);

// How each of them comes back when it moves by itself; 0: by the size of the element.
constexpr double arrWraps[kTimedNames] = {-1, 0, 0, -1, -1, 1, 1, -1, -1, -1, -1};

constexpr NameKey keyTime{u"time"};
constexpr NameKey keyStart{u"_start_"};
constexpr NameKey keyChangeTime{u"_change_time_"};
constexpr NameKey keyDelayTime{u"_delay_time_"};
constexpr NameKey keyAccel{u"_change_accel_"};
constexpr NameKey keyLast{u"_stream_last_"};

// The nodes of an element that its values depend on.
enum { kFrom, kHide, kAdd, kVary, kParts };
constexpr NameKey arrParts[kParts] = {u"node_from", u"node_hide", u"add", u"vary"};

// A gain counts when its text says a number, if only a wrong one.
bool SaysNumber(AttrValue& _value) { return _value.Text().find_first_of(u"-.0123456789") != std::u16string_view::npos; }

double Kept(double _dblValue, double _dblFallback) { return std::isfinite(_dblValue) ? _dblValue : _dblFallback; }

std::optional<double> OwnValue(const XMLNodeBase& _node, const NameKey& _key) {
    if (_key.nHash == arrNames[kShow].key.nHash) {
        bool bShow = true;
        if (!_node.GetOwnAttribute(_key, bShow)) return std::nullopt;
        return bShow ? 1.0 : 0.0;
    }
    double dbl = 0;
    if (!_node.GetOwnAttribute(_key, dbl) || !std::isfinite(dbl)) return std::nullopt;
    return dbl;
}

MOVED_VALUE MovedValue(const XMLNodeBase& _node, const XMLNodeBase* _pAdd, const NameKey& _key) {
    MOVED_VALUE value{OwnValue(_node, _key), _pAdd != nullptr, 0};
    if (_pAdd) value.dblSpeed = OwnValue(*_pAdd, _key).value_or(0);
    return value;
}

void ReadVary(const XMLNodeBase& _vary, const NameKey& _key, COMBINED_SIDES& _sides) {
    _sides.dblAmplitude = OwnValue(_vary, _key).value_or(0);
    if (_sides.dblAmplitude == 0) return;
    _sides.dblPeriod = OwnValue(_vary, keyTime).value_or(10.0);
    if (const XMLNodeRef pTime = _vary.FindChildNode(keyTime))
        _sides.dblPeriod = OwnValue(*pTime, _key).value_or(_sides.dblPeriod);
}

void StoreMoved(XMLNodeBase* _pNode, const MOVED_VALUE& _moved, const NameKey& _key, double _dblValue) {
    if (_pNode && _moved.dblSpeed != 0) _pNode->SetAttribute(_key.text, _dblValue);
}

// From the nodes around an element to the value of one of its attributes.
struct PARTS {
    XMLNodeRef arr[kParts];
    XMLNodeRef pTarget;
    XMLNodeRef pFromAdd;
    double dblProgress = 0;
    size_t nChildren = 0;

    PARTS(CoElement& _element, double _dblNow) : pTarget(&_element) {
        if (!_element.FindChildNodes(arrParts, arr, &nChildren)) return;
        for (size_t i = 0; i < kParts; ++i)
            if (arr[i] && !arr[i]->HasTag(arrParts[i])) arr[i] = XMLNodeRef(_element.Setting(arrParts[i]).Get());
        dblProgress = Progress(arr[kFrom].Get(), _dblNow);
        // An element that was shown again at once may still have the node.
        if (arr[kHide] && OwnValue(_element, arrNames[kShow].key) != 0.0) arr[kHide] = {};
        if (arr[kHide]) {
            pTarget = arr[kHide];
            // What moves by itself goes on with it until it is gone, and so does where it comes from.
            XMLNodeRef arrOwn[2];
            pTarget->FindChildNodes({arrParts + kAdd, 2}, arrOwn);
            for (size_t i = 0; i < std::size(arrOwn); ++i)
                if (arrOwn[i]) arr[kAdd + i] = std::move(arrOwn[i]);
        }
        if (!arr[kFrom]) return;
        pFromAdd = arr[kFrom]->FindChildNode(arrParts[kAdd]);
        if (!pFromAdd && arr[kHide]) pFromAdd = arr[kAdd];
    }
    bool FromCounts() const { return arr[kFrom] && dblProgress <= 1; }
};

COMBINED_VALUE CombineOne(const PARTS& _parts, COMBINED_SIDES& _sides, const NameKey& _key, double _dblFallback,
                          double _dblNow, double _dblWrap, const MOTION& _motion) {
    if (_parts.arr[kVary]) ReadVary(*_parts.arr[kVary], _key, _sides);
    const double dblProgress = _parts.dblProgress > 1 ? 0 : _parts.dblProgress;
    const COMBINED_VALUE value = Combine(_sides, _dblFallback, dblProgress, _dblNow, _dblWrap, _motion.dblStep);
    if (_motion.bStore) {
        StoreMoved(_parts.pTarget.Get(), _sides.target, _key, value.dblTarget);
        if (_sides.bFrom) StoreMoved(_parts.arr[kFrom].Get(), _sides.from, _key, value.dblFrom);
    }
    return value;
}

}  // namespace

const TIMED_NAME& TimedName(eTimed _e) { return arrNames[static_cast<size_t>(_e)]; }

std::optional<eTimed> TimedByHash(uint64_t _nHash) {
    switch (_nHash) {
        case arrNames[0].key.nHash: return eTimed::Show;
        case arrNames[1].key.nHash: return eTimed::X;
        case arrNames[2].key.nHash: return eTimed::Y;
        case arrNames[3].key.nHash: return eTimed::W;
        case arrNames[4].key.nHash: return eTimed::H;
        case arrNames[5].key.nHash: return eTimed::Sx;
        case arrNames[6].key.nHash: return eTimed::Sy;
        case arrNames[7].key.nHash: return eTimed::Sw;
        case arrNames[8].key.nHash: return eTimed::Sh;
        case arrNames[9].key.nHash: return eTimed::Alpha;
        case arrNames[10].key.nHash: return eTimed::AudioGain;
        default: return std::nullopt;
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// The formulas

double Ease(double _dblT, double _dblAccel) {
    if (!(_dblAccel > 0)) return _dblT;
    const double dblPower = _dblAccel + 1;
    const double dblRamp =
        _dblT <= 0.5 ? std::pow(2 * _dblT, dblPower) / 2 : 1 - std::pow(2 * (1 - _dblT), dblPower) / 2;
    const double dblCosine = (1 - std::cos(std::numbers::pi * dblRamp)) / 2;
    return _dblAccel < 1 ? dblRamp * (1 - _dblAccel) + dblCosine * _dblAccel : dblCosine;
}

double Progress(XMLNodeBase* _pFrom, double _dblNow) {
    if (!_pFrom) return 0;
    double dblStart = -1, dblChange = 0, dblDelay = 0, dblAccel = 1, dblLast = -1;
    bool bStart = false, bLast = false;
    _pFrom->VisitOwnAttributes([&](uint64_t _nHash, AttrValue& _value) {
        switch (_nHash) {
            case keyStart.nHash:
                dblStart = _value.As<double>();
                if (dblStart < 0 && _dblNow >= 0) _value.Set(_dblNow);
                bStart = true;
                break;
            case keyLast.nHash:
                dblLast = _value.As<double>();
                if (_dblNow >= 0) _value.Set(_dblNow);
                bLast = true;
                break;
            case keyChangeTime.nHash: dblChange = _value.As<double>(); break;
            case keyDelayTime.nHash: dblDelay = _value.As<double>(); break;
            case keyAccel.nHash: dblAccel = _value.As<double>(); break;
            default: break;
        }
    });
    if (_dblNow < 0)
        _dblNow = dblLast;
    else if (!bLast)
        _pFrom->SetAttribute(keyLast.text, _dblNow);
    if (!(_dblNow >= 0)) return 0;
    if (!(dblStart >= 0)) {
        if (!bStart) _pFrom->SetAttribute(keyStart.text, _dblNow);
        return 0;
    }
    const double dblRun = _dblNow - dblStart - dblDelay;
    if (!(dblChange > 0) || !(dblRun > 0)) return 0;
    const double dblRaw = dblRun / dblChange;
    return dblRaw <= 1 ? Ease(dblRaw, dblAccel) : dblRaw;
}

double Advance(const MOVED_VALUE& _value, double _dblFallback, double _dblWrap, double _dblStep) {
    double dbl = _value.value.value_or(_dblFallback) + _value.dblSpeed * _dblStep;
    if (_value.dblSpeed == 0 || _dblWrap == 0) return Kept(dbl, _dblFallback);
    if (_dblWrap > 0) return Kept(dbl - _dblWrap * std::trunc(dbl / _dblWrap), _dblFallback);
    // Down to the next lower whole: what moves the other way comes back too.
    const double dblRange = -2 * _dblWrap;
    dbl += dblRange / 2;
    dbl -= dblRange * std::floor(dbl / dblRange);
    return Kept(dbl - dblRange / 2, _dblFallback);
}

COMBINED_VALUE Combine(const COMBINED_SIDES& _sides, double _dblFallback, double _dblProgress, double _dblNow,
                       double _dblWrap, double _dblStep) {
    const bool bMoves = _sides.target.bMoves || (_sides.bFrom && _sides.from.bMoves);
    const double dblWrap = bMoves ? _dblWrap : 0;
    const double dblTarget = Advance(_sides.target, _dblFallback, dblWrap, _dblStep);
    double dblFrom = dblTarget, dblBase = dblTarget;
    if (_sides.bFrom && _dblProgress >= 0) {
        dblFrom = Advance(_sides.from, _dblFallback, dblWrap, _dblStep);
        if (_dblProgress <= 0)
            dblBase = dblFrom;
        else if (_dblProgress < 1)
            dblBase = dblFrom * (1 - _dblProgress) + dblTarget * _dblProgress;
    }
    if (std::abs(_sides.dblAmplitude) >= 0.0001 && _dblNow >= 0 && _sides.dblPeriod != 0) {
        const double dblTurns = _dblNow / _sides.dblPeriod;
        dblBase += _sides.dblAmplitude * std::cos(2 * std::numbers::pi * (dblTurns - std::trunc(dblTurns)));
    }
    return {Kept(dblBase, _dblFallback), dblTarget, dblFrom};
}

double AnimatedValue(CoElement& _element, const NameKey& _key, double _dblFallback, double _dblNow, double _dblWrap,
                     const MOTION& _motion) {
    const PARTS parts(_element, _dblNow);
    COMBINED_SIDES sides;
    sides.target = MovedValue(*parts.pTarget, parts.arr[kAdd].Get(), _key);
    // An attribute that the change does not have is not in it.
    if (parts.FromCounts() && parts.arr[kFrom]->HasOwnAttribute(_key)) {
        sides.bFrom = true;
        sides.from = MovedValue(*parts.arr[kFrom], parts.pFromAdd.Get(), _key);
    }
    return CombineOne(parts, sides, _key, _dblFallback, _dblNow, _dblWrap, _motion).dblValue;
}

void EndChange(CoElement& _element) {
    if (const ElementPtr pFrom = _element.Setting(arrParts[kFrom])) _element.RemoveChild(pFrom.Get());
}

// ---------------------------------------------------------------------------------------------------------------------
// All values at once

bool ElementValues::SIDE::Take(uint64_t _nHash, AttrValue& _value) {
    const std::optional<eTimed> e = TimedByHash(_nHash);
    if (!e) return false;
    const size_t i = static_cast<size_t>(*e);
    if (i == kGain && !SaysNumber(_value)) return bNoGain = true;
    arr[i] = i == kShow ? (_value.As<bool>() ? 1.0 : 0.0) : _value.As<double>();
    if (std::isfinite(arr[i])) nPresent |= 1u << i;
    return true;
}

void ElementValues::SIDE::Read(const XMLNodeBase& _node) {
    _node.VisitOwnAttributes([this](uint64_t _nHash, AttrValue& _value) { Take(_nHash, _value); });
}

void ElementValues::Resolve(CoElement& _element, SIDE& _own, double _dblNow, const MOTION& _motion) {
    nPresent = _own.nPresent;
    bNoGain = _own.bNoGain;
    const PARTS parts(_element, _dblNow);
    bHasChildren = parts.nChildren > 0;
    if (parts.arr[kHide]) _own.Read(*parts.arr[kHide]);
    if (!parts.arr[kFrom] && !parts.arr[kAdd] && !parts.arr[kVary]) {
        for (size_t i = 0; i < kTimedNames; ++i) arrValues[i] = _own.Get(i).value_or(arrNames[i].dblFallback);
        return;
    }
    dblProgress = parts.dblProgress;
    bChanging = static_cast<bool>(parts.arr[kFrom]);
    SIDE from, add, fromAdd;
    if (parts.FromCounts()) from.Read(*parts.arr[kFrom]);
    if (parts.arr[kAdd]) add.Read(*parts.arr[kAdd]);
    if (parts.pFromAdd) fromAdd.Read(*parts.pFromAdd);

    const auto resolve = [&](eTimed _e, double _dblWrap) {
        const size_t i = static_cast<size_t>(_e);
        COMBINED_SIDES sides;
        sides.target = {_own.Get(i), static_cast<bool>(parts.arr[kAdd]), add.Get(i).value_or(0)};
        sides.bFrom = from.Get(i).has_value();
        if (sides.bFrom) sides.from = {from.Get(i), static_cast<bool>(parts.pFromAdd), fromAdd.Get(i).value_or(0)};
        const TIMED_NAME& name = arrNames[i];
        arrValues[i] = CombineOne(parts, sides, name.key, name.dblFallback, _dblNow, _dblWrap, _motion).dblValue;
    };
    for (size_t i = 0; i < kTimedNames; ++i)
        if (arrWraps[i] != 0) resolve(static_cast<eTimed>(i), arrWraps[i]);
    resolve(eTimed::X, -0.5 * (1 + (*this)[eTimed::W]));
    resolve(eTimed::Y, -0.5 * (1 + (*this)[eTimed::H]));
}

}  // namespace zr
