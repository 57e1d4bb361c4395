#include "plot.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace zr::curves {
namespace {

constexpr double kWidth = 760, kHeight = 360, kX = 62, kY = 34, kW = 680, kH = 270;

std::string Number(double _f) {
    std::ostringstream text;
    text << std::round(_f * 1000) / 1000;
    return text.str();
}

}  // namespace

bool WritePlot(const std::string& _path, const PLOT& _plot) {
    const auto X = [&](double _f) { return kX + (_f - _plot.dblLeft) / (_plot.dblRight - _plot.dblLeft) * kW; };
    const auto Y = [&](double _f) { return kY + kH - (_f - _plot.dblBottom) / (_plot.dblTop - _plot.dblBottom) * kH; };
    std::ofstream out(_path);
    out << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 " << kWidth << ' ' << kHeight
        << "' font-family='sans-serif' font-size='12'>\n<rect width='100%' height='100%' fill='#fff'/>\n<clipPath "
           "id='c'><rect x='"
        << kX << "' y='" << kY << "' width='" << kW << "' height='" << kH << "'/></clipPath>\n"
        << "<text x='" << kX << "' y='20' font-size='14' font-weight='bold'>" << _plot.strTitle << "</text>\n";
    const auto Line = [&](double _x1, double _y1, double _x2, double _y2) {
        out << "<line x1='" << Number(_x1) << "' y1='" << Number(_y1) << "' x2='" << Number(_x2) << "' y2='"
            << Number(_y2) << "' stroke='#ccc'/>\n";
    };
    for (double f = _plot.dblLeft; f <= _plot.dblRight + 1e-9; f += _plot.dblStepAcross) {
        Line(X(f), kY, X(f), kY + kH);
        out << "<text x='" << Number(X(f)) << "' y='" << kY + kH + 16 << "' text-anchor='middle'>" << Number(f)
            << "</text>\n";
    }
    for (double f = _plot.dblBottom; f <= _plot.dblTop + 1e-9; f += _plot.dblStepUp) {
        Line(kX, Y(f), kX + kW, Y(f));
        out << "<text x='" << kX - 6 << "' y='" << Number(Y(f) + 4) << "' text-anchor='end'>" << Number(f)
            << "</text>\n";
    }
    out << "<text x='" << kX + kW / 2 << "' y='" << kY + kH + 34 << "' text-anchor='middle'>" << _plot.strAcross
        << "</text>\n<text transform='translate(16 " << kY + kH / 2 << ") rotate(-90)' text-anchor='middle'>"
        << _plot.strUp << "</text>\n";
    double dblKey = kX + kW;
    for (auto it = _plot.arrCurves.rbegin(); it != _plot.arrCurves.rend(); ++it) {
        out << "<polyline clip-path='url(#c)' fill='none' stroke-width='1.6' stroke='" << it->strColour << "'"
            << (it->bDashed ? " stroke-dasharray='6 5'" : "") << " points='";
        for (const auto& [x, y] : it->arrPoints)
            out << Number(X(x)) << ',' << Number(std::clamp(Y(y), -1000.0, 2000.0)) << ' ';
        out << "'/>\n<text x='" << dblKey << "' y='20' text-anchor='end' fill='" << it->strColour << "'>" << it->strName
            << "</text>\n";
        dblKey -= 14 + 6.6 * static_cast<double>(it->strName.size());
    }
    out << "</svg>\n";
    return out.good();
}

}  // namespace zr::curves
