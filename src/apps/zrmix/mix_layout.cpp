#include "apps/zrmix/mix_layout.h"

#include <cstdio>

namespace zrmix {
namespace {

std::vector<MIX_PLACE> Grid(int _nColumns, int _nRows) {
    std::vector<MIX_PLACE> arrPlaces;
    const double dblW = 1.0 / _nColumns, dblH = 1.0 / _nRows;
    for (int y = 0; y < _nRows; ++y)
        for (int x = 0; x < _nColumns; ++x) arrPlaces.push_back({x * dblW, y * dblH, dblW, dblH});
    return arrPlaces;
}

}  // namespace

MIX_PLACE MIX_PLACE::For(double _dblAspect, double _dblOutputAspect) const {
    if (!(_dblAspect > 0) || !(_dblOutputAspect > 0)) return *this;
    const double dblWider = _dblAspect * dblH / (_dblOutputAspect * dblW);  // than the place
    MIX_PLACE place = *this;
    if (dblWider > 1) {
        place.dblH = dblH / dblWider;
        place.dblY += (dblH - place.dblH) / 2;
    } else {
        place.dblW = dblW * dblWider;
        place.dblX += (dblW - place.dblW) / 2;
    }
    return place;
}

std::string MIX_PLACE::Attributes() const {
    char sz[128];
    std::snprintf(sz, sizeof sz, "pos='top-left' x='%.6f' y='%.6f' w='%.6f' h='%.6f'", dblX, dblY, dblW, dblH);
    return sz;
}

std::vector<std::string> LayoutNames() { return {"full", "2x2", "3x3", "pip", "side-by-side"}; }

std::vector<MIX_PLACE> PlacesOf(const std::string& _layout, size_t _nInputs) {
    if (_layout == "full") return std::vector<MIX_PLACE>(_nInputs);
    if (_layout == "2x2") return Grid(2, 2);
    if (_layout == "3x3") return Grid(3, 3);
    if (_layout == "side-by-side") return {{0, 0.25, 0.5, 0.5}, {0.5, 0.25, 0.5, 0.5}};
    if (_layout == "pip") return {MIX_PLACE(), {0.68, 0.65, 0.29, 0.29}};
    return {};
}

}  // namespace zrmix
