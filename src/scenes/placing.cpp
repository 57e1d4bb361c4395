#include "scenes/placing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "attributes/name_hash.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"

namespace zr {

namespace {

constexpr std::u16string_view arrNames[kPositionNames] = {u"center",
                                                          u"left",
                                                          u"right",
                                                          u"justify",
                                                          u"top",
                                                          u"top-left",
                                                          u"top-right",
                                                          u"top-justify",
                                                          u"bottom",
                                                          u"bottom-left",
                                                          u"bottom-right",
                                                          u"bottom-justify",
                                                          u"!!! unused",
                                                          u"!!! unused",
                                                          u"!!! unused",
                                                          u"!!! unused",
                                                          u"front",
                                                          u"front-left",
                                                          u"front-right",
                                                          u"front-justify",
                                                          u"front-top",
                                                          u"front-top-left",
                                                          u"front-top-right",
                                                          u"front-top-justify",
                                                          u"front-bottom",
                                                          u"front-bottom-left",
                                                          u"front-bottom-right",
                                                          u"front-bottom-justify",
                                                          u"front-!!! unused",
                                                          u"front-!!! unused",
                                                          u"front-!!! unused",
                                                          u"front-!!! unused",
                                                          u"back",
                                                          u"back-left",
                                                          u"back-right",
                                                          u"back-justify",
                                                          u"back-top",
                                                          u"back-top-left",
                                                          u"back-top-right",
                                                          u"back-top-justify",
                                                          u"back-bottom",
                                                          u"back-bottom-left",
                                                          u"back-bottom-right",
                                                          u"back-bottom-justify",
                                                          u"back-!!! unused",
                                                          u"back-!!! unused",
                                                          u"back-!!! unused",
                                                          u"back-!!! unused",
                                                          u"auto"};

constexpr std::pair<std::u16string_view, eCursorPlace> arrCursorNames[] = {{u"next-row", eCursorPlace::NextRow},
                                                                           {u"next-col", eCursorPlace::NextCol},
                                                                           {u"next-h", eCursorPlace::NextH},
                                                                           {u"next-v", eCursorPlace::NextV}};

// Hash to place in the table, the cursor names behind it; sorted, as positions are read for every element and frame.
struct NAME_PLACE {
    uint64_t nHash = 0;
    POSITION position;
};
constexpr auto kNamePlaces = [] {
    std::array<NAME_PLACE, kPositionNames + std::size(arrCursorNames) + 2> arr{};
    size_t n = 0;
    for (uint8_t i = 0; i < kPositionNames; ++i) arr[n++] = {NameHash(arrNames[i]), {i, eCursorPlace::None}};
    for (const auto& [name, eCursor] : arrCursorNames) arr[n++] = {NameHash(name), {0, eCursor}};
    arr[n++] = {NameHash(u"front-center"), {16, eCursorPlace::None}};
    arr[n++] = {NameHash(u"back-center"), {32, eCursorPlace::None}};
    // Of the reserved names, which repeat, the first place counts.
    for (size_t i = 1; i < arr.size(); ++i)
        for (size_t k = i; k > 0 && arr[k].nHash < arr[k - 1].nHash; --k) std::swap(arr[k], arr[k - 1]);
    return arr;
}();

// Offsets and sizes that a float holds to the pixel; what is no number is nothing.
double Sane(double _dbl) {
    constexpr double kMost = 1 << 23;
    return std::isnan(_dbl) ? 0 : std::clamp(_dbl, -kMost, kMost);
}

RECT_F Rect(double _dblLeft, double _dblTop, double _dblW, double _dblH) {
    const auto Edge = [](double _dbl) { return static_cast<float>(Sane(_dbl)); };
    return {Edge(_dblLeft), Edge(_dblTop), Edge(_dblLeft + _dblW), Edge(_dblTop + _dblH)};
}

}  // namespace

std::u16string_view PositionName(int32_t _nIndex) {
    return _nIndex >= 0 && _nIndex < kPositionNames ? arrNames[_nIndex] : std::u16string_view();
}

std::u16string PositionNamesText() {
    std::u16string text;
    for (const std::u16string_view name : arrNames)
        if (name.find(u'!') == name.npos) text.append(name).append(u", ");
    for (const auto& [name, eCursor] : arrCursorNames) text.append(name).append(u", ");
    return text += u"front-center, back-center";
}

POSITION ReadPosition(std::u16string_view _name) {
    if (_name.empty()) return {};
    const uint64_t nHash = NameHash(_name);
    const auto it = std::lower_bound(kNamePlaces.begin(), kNamePlaces.end(), nHash,
                                     [](const NAME_PLACE& _place, uint64_t _n) { return _place.nHash < _n; });
    return it != kNamePlaces.end() && it->nHash == nHash ? it->position : POSITION{};
}

RECT_F PlaceByFlags(int32_t _nIndex, double _dblX, double _dblY, double _dblW, double _dblH, const RECT_F& _parent) {
    const double dblX = Sane(_dblX), dblY = Sane(_dblY), dblW = Sane(_dblW), dblH = Sane(_dblH);
    const double dblPw = _parent.Width(), dblPh = _parent.Height();
    double dblLeft = dblX, dblTop = dblY;
    switch (_nIndex & 3) {
        case 0: dblLeft = dblX + dblPw / 2 - dblW / 2; break;
        case 2: dblLeft = dblPw - dblX - dblW; break;
        default: break;
    }
    switch (_nIndex >> 2 & 3) {
        case 0: dblTop = dblPh / 2 - dblH / 2 - dblY; break;
        case 2: dblTop = dblPh - dblY - dblH; break;
        default: break;
    }
    return Rect(dblLeft + _parent.left, dblTop + _parent.top, dblW, dblH);
}

double DisplayAspect(const ZR_VID_PROPS& _props) {
    if (_props.nWidth < 1 || AbsHeight(_props.nHeight) < 1) return 0;
    if (_props.nAspectX > 0 && _props.nAspectY > 0) return AspectValue(&_props);
    return static_cast<double>(_props.nWidth) / AbsHeight(_props.nHeight);
}

RECT_F PlaceElement(const PLACE_INPUT& _input, const ZR_VID_PROPS* _pSource, const ZR_VID_PROPS& _output,
                    const RECT_F& _parent, const RECT_F& _previous) {
    double dblW = Sane(_input.dblW), dblH = Sane(_input.dblH);
    const double dblPw = _parent.Width(), dblPh = _parent.Height();
    const double dblOutput = DisplayAspect(_output);
    const bool bSeen = _input.dblSw > 0 && _input.dblSh > 0;
    if (_input.bMaintainAr && _pSource && dblPw != 0 && dblPh != 0 && dblOutput > 0 && bSeen) {
        const double dblSource = DisplayAspect(*_pSource) * Sane(_input.dblSw) / Sane(_input.dblSh);
        if (dblSource > 0 && std::isfinite(dblSource)) {
            if (_input.bHasHeight)
                dblW = dblH * dblSource / dblOutput;
            else
                dblH = dblW * dblOutput / dblSource;
        }
    }
    const double dblX = Sane(_input.dblX) * dblPw, dblY = Sane(_input.dblY) * dblPh;
    dblW *= dblPw, dblH *= dblPh;
    switch (_input.position.eCursor) {
        case eCursorPlace::NextRow: return Rect(_parent.left + dblX, _previous.bottom + dblY, dblW, dblH);
        case eCursorPlace::NextCol: return Rect(_previous.right + dblX, _parent.top + dblY, dblW, dblH);
        case eCursorPlace::NextH: return Rect(_previous.right + dblX, _previous.top + dblY, dblW, dblH);
        case eCursorPlace::NextV: return Rect(_previous.left + dblX, _previous.bottom + dblY, dblW, dblH);
        case eCursorPlace::None: break;
    }
    return PlaceByFlags(_input.position.nIndex, dblX, dblY, dblW, dblH, _parent);
}

RECT_F PlaceCrop(double _dblSx, double _dblSy, double _dblSw, double _dblSh, const POSITION& _spos) {
    return PlaceByFlags(_spos.nIndex, _dblSx, _dblSy, _dblSw, _dblSh, {0, 0, 1, 1});
}

RECT_F Ordered(const RECT_F& _rect) {
    return {std::min(_rect.left, _rect.right), std::min(_rect.top, _rect.bottom), std::max(_rect.left, _rect.right),
            std::max(_rect.top, _rect.bottom)};
}

}  // namespace zr
