#pragma once
// Where the inputs of a mix stand on the picture.

#include <string>
#include <vector>

namespace zrmix {

// As fractions of the picture, from its upper left corner.
struct MIX_PLACE {
    double dblX = 0, dblY = 0, dblW = 1, dblH = 1;
    // The largest place within, in its middle, for a picture that is so many times as wide as it is high, on an output
    // that is so many times as wide as it is high; 0: not known, it takes all.
    MIX_PLACE For(double _dblAspect, double _dblOutputAspect) const;
    // The attributes of an element that stands there.
    std::string Attributes() const;
};

// Names of layouts, as the user gives them.
std::vector<std::string> LayoutNames();
// The places of a layout, lowest first. "full": as many as inputs, one over the other. Empty: no such layout.
std::vector<MIX_PLACE> PlacesOf(const std::string& _layout, size_t _nInputs);

}  // namespace zrmix
