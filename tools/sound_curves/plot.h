#pragma once
// Curves in a frame with a grid, as an SVG file.

#include <string>
#include <utility>
#include <vector>

namespace zr::curves {

struct CURVE {
    std::string strName;
    std::string strColour;
    std::vector<std::pair<double, double>> arrPoints;
    bool bDashed = false;
};

struct PLOT {
    std::string strTitle, strAcross, strUp;
    double dblLeft, dblRight, dblBottom, dblTop;
    double dblStepAcross, dblStepUp;  // of the grid
    std::vector<CURVE> arrCurves;
};

// Points outside of the frame are cut off. False: the file could not be written.
bool WritePlot(const std::string& _path, const PLOT& _plot);

}  // namespace zr::curves
