#include "sources/test_bars.h"

#include <algorithm>
#include <cmath>

namespace zr {
namespace {

uint8_t Code(double _dbl) { return static_cast<uint8_t>(std::lround(std::clamp(_dbl, 0.0, 255.0))); }

// Draws cells from left to right in rows from top to bottom; edges come as parts of the whole.
class BarPainter {
public:
    explicit BarPainter(const PICTURE& _picture)
        : picture(_picture),
          bRgb(IsRgbFormat(_picture.fccType)),
          nStepX(_picture.fccType == eZrFCC_v210    ? 6
                 : HasChromaPairs(_picture.fccType) ? 2
                                                    : 1),
          nStepY(Is420(_picture.fccType) ? 2 : 1) {}

    void Row(double _dblBottom) {
        nTop = nBottom;
        nBottom = Edge(_dblBottom, picture.Height(), nStepY);
        nLeft = 0;
    }
    void Cell(double _dblRight, const FILL_COLOUR& _colour) {
        const int32_t nRight = Edge(_dblRight, picture.Width(), nStepX);
        if (nRight > nLeft && nBottom > nTop) {
            const HRESULT hrFill = FillColour(CutPicture(picture, {nLeft, nTop, nRight, nBottom}), _colour);
            if (Succeeded(hr)) hr = hrFill;
        }
        nLeft = nRight;
    }
    void Level(double _dblRight, double _dblRed, double _dblGreen, double _dblBlue) {
        Cell(_dblRight, LevelColour(picture.fccType, _dblRed, _dblGreen, _dblBlue));
    }
    // A bar by its bits: 4 red, 2 green, 1 blue.
    void Bar(double _dblRight, int _nBits, double _dblLevel) {
        Level(_dblRight, _nBits & 4 ? _dblLevel : 0, _nBits & 2 ? _dblLevel : 0, _nBits & 1 ? _dblLevel : 0);
    }
    void Grey(double _dblRight, double _dblLevel) {
        // Steps below black exist in YCbCr only.
        if (bRgb)
            Bar(_dblRight, 7, std::max(_dblLevel, 0.0));
        else
            Cell(_dblRight, FILL_COLOUR::Yuv(Code(16 + 219 * _dblLevel), 128, 128));
    }
    void Either(double _dblRight, const FILL_COLOUR& _yuv, const FILL_COLOUR& _rgb) {
        Cell(_dblRight, bRgb ? _rgb : _yuv);
    }
    void Ramp(double _dblLeft, double _dblRight) {
        const int32_t nFrom = nLeft, nTo = Edge(_dblRight, picture.Width(), nStepX);
        for (int32_t x = nFrom; x < nTo; x += nStepX) {
            const double dblEnd = std::min<double>(x + nStepX, nTo) / picture.Width();
            const double dblMiddle = (x + nStepX / 2.0) / picture.Width();
            Grey(dblEnd, std::clamp((dblMiddle - _dblLeft) / (_dblRight - _dblLeft), 0.0, 1.0));
        }
    }
    HRESULT Result() const { return hr; }

private:
    static int32_t Edge(double _dblPart, int32_t _nWhole, int32_t _nStep) {
        if (_dblPart >= 1 - 1e-9) return _nWhole;
        return std::min(static_cast<int32_t>(std::lround(_dblPart * _nWhole / _nStep)) * _nStep, _nWhole);
    }

    const PICTURE& picture;
    const bool bRgb;
    const int32_t nStepX, nStepY;
    int32_t nTop = 0, nBottom = 0, nLeft = 0;
    HRESULT hr = S_OK;
};

// White, yellow, cyan, green, magenta, red, blue, black.
constexpr int kOrder[] = {7, 6, 3, 2, 5, 4, 1, 0};

void DrawEight(BarPainter& _painter, double _dblWhite, double _dblColour) {
    _painter.Row(1);
    for (int i = 0; i < 8; ++i) _painter.Bar((i + 1) / 8.0, kOrder[i], i == 0 ? _dblWhite : _dblColour);
}

void DrawStandard(BarPainter& _painter) {
    constexpr int kReverse[] = {1, 0, 5, 0, 3, 0, 7};
    _painter.Row(2 / 3.0);
    for (int i = 0; i < 7; ++i) _painter.Bar((i + 1) / 7.0, kOrder[i], 0.75);
    _painter.Row(0.75);
    for (int i = 0; i < 7; ++i) _painter.Bar((i + 1) / 7.0, kReverse[i], 0.75);
    _painter.Row(1);
    _painter.Either(5 / 28.0, FILL_COLOUR::Yuv(16, 158, 95), FILL_COLOUR::Rgb(0, 33, 76));  // -I
    _painter.Grey(10 / 28.0, 1);
    _painter.Either(15 / 28.0, FILL_COLOUR::Yuv(16, 174, 149), FILL_COLOUR::Rgb(50, 0, 106));  // +Q
    _painter.Grey(5 / 7.0, 0);
    _painter.Grey(16 / 21.0, -0.04);
    _painter.Grey(17 / 21.0, 0);
    _painter.Grey(18 / 21.0, 0.04);
    _painter.Grey(1, 0);
}

void DrawHigh(BarPainter& _painter) {
    const auto At = [](double _dblBars) { return 0.125 + 0.75 * _dblBars / 7; };  // between the sides
    _painter.Row(7 / 12.0);
    _painter.Grey(0.125, 0.4);
    for (int i = 0; i < 7; ++i) _painter.Bar(At(i + 1), kOrder[i], 0.75);
    _painter.Grey(1, 0.4);
    _painter.Row(8 / 12.0);
    _painter.Bar(0.125, 3, 1);
    _painter.Grey(At(1), 1);
    _painter.Grey(At(7), 0.75);
    _painter.Bar(1, 1, 1);
    _painter.Row(9 / 12.0);
    _painter.Bar(0.125, 6, 1);
    _painter.Grey(At(1), 0);
    _painter.Ramp(At(1), At(6));
    _painter.Grey(At(7), 1);
    _painter.Bar(1, 4, 1);
    _painter.Row(1);
    _painter.Grey(0.125, 0.15);
    constexpr struct {
        double dblBars, dblLevel;
    } arrSteps[] = {{9 / 6.0, 0},  {21 / 6.0, 1},    {26 / 6.0, 0}, {28 / 6.0, -0.02}, {30 / 6.0, 0}, {32 / 6.0, 0.02},
                    {34 / 6.0, 0}, {36 / 6.0, 0.04}, {7, 0}};
    for (const auto& step : arrSteps) _painter.Grey(At(step.dblBars), step.dblLevel);
    _painter.Grey(1, 0.15);
}

}  // namespace

bool IsRgbFormat(eZrFCC _fccType) {
    // Only YCbCr keeps what is below black.
    const FILL_PATTERN a = FillPattern(_fccType, 0, FILL_COLOUR::Yuv(15, 128, 128));
    const FILL_PATTERN b = FillPattern(_fccType, 0, FILL_COLOUR::Yuv(16, 128, 128));
    return std::equal(a.arrBytes, a.arrBytes + a.cb, b.arrBytes);
}

FILL_COLOUR LevelColour(eZrFCC _fccType, double _dblRed, double _dblGreen, double _dblBlue) {
    if (IsRgbFormat(_fccType))
        return FILL_COLOUR::Rgb(Code(255 * _dblRed), Code(255 * _dblGreen), Code(255 * _dblBlue));
    const bool b709 = _fccType == eZrFCC_HDYC;
    const double dblKr = b709 ? 0.2126 : 0.299, dblKb = b709 ? 0.0722 : 0.114;
    const double dblY = dblKr * _dblRed + (1 - dblKr - dblKb) * _dblGreen + dblKb * _dblBlue;
    return FILL_COLOUR::Yuv(Code(16 + 219 * dblY), Code(128 + 112 * (_dblBlue - dblY) / (1 - dblKb)),
                            Code(128 + 112 * (_dblRed - dblY) / (1 - dblKr)));
}

HRESULT DrawTestBars(const PICTURE& _picture, eTestBars _eBars) {
    const HRESULT hr = FillColour(_picture, kFillBlack);
    if (Failed(hr)) return hr;
    BarPainter painter(_picture);
    switch (_eBars) {
        case eTestBars::Eight75: DrawEight(painter, 0.75, 0.75); break;
        case eTestBars::Eight100: DrawEight(painter, 1, 1); break;
        case eTestBars::Broadcast: DrawEight(painter, 1, 0.75); break;
        case eTestBars::Standard: DrawStandard(painter); break;
        case eTestBars::High: DrawHigh(painter); break;
    }
    return painter.Result();
}

}  // namespace zr
