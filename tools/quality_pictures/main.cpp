// Makes the pictures of docs/pixel-engine.md: quality_pictures FOLDER

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "framework/frame_factory_access.h"
#include "video/borders.h"
#include "video/image_convert.h"
#include "video/masks.h"
#include "video/scaling_engine.h"
#include "zr/utf8.h"

namespace {

using namespace zr;
using FramePtr = ZrPtr<IZrFFrame>;

void Check(HRESULT _hr, const char* _szWhat) {
    if (Succeeded(_hr)) return;
    std::fprintf(stderr, "quality_pictures: %s: %s\n", _szWhat, StatusText(_hr).c_str());
    std::exit(1);
}

// An ARGB32 picture, top row first, and its pixels.
struct CANVAS {
    CANVAS(int32_t _nWidth, int32_t _nHeight, eZrInterlace _eInterlace = eZrI_Progressive) {
        props.vidProps.fccType = eZrFCC_ARGB32;
        props.vidProps.nWidth = _nWidth;
        props.vidProps.nHeight = -_nHeight;
        props.vidProps.nRowBytes = _nWidth * 4;
        props.vidProps.eInterlace = _eInterlace;
        IZrFFactory* pFactory = nullptr;
        Check(FrameFactory(&pFactory), "factory");
        Check(pFactory->ZrFFrameCreateFromMem(&props, 0, 0, 0, pFrame.Out(), nullptr), "canvas");
        Look();
    }
    explicit CANVAS(FramePtr _pFrame) : pFrame(std::move(_pFrame)) { Look(); }

    void Look() {
        int32_t cb = 0;
        int64_t pb = 0;
        Check(pFrame->ZrFAVPropsGet(&props, nullptr), "props");
        Check(pFrame->ZrFVideoGetBytes(&cb, &pb), "pixels");
        pBits = reinterpret_cast<uint8_t*>(pb);
    }
    int32_t Width() const { return props.vidProps.nWidth; }
    int32_t Height() const { return std::abs(props.vidProps.nHeight); }
    // Blue, green, red, alpha.
    uint8_t* At(int32_t _x, int32_t _y) const {
        const int32_t nRow = props.vidProps.nHeight < 0 ? _y : Height() - 1 - _y;
        return pBits + static_cast<ptrdiff_t>(nRow) * props.vidProps.nRowBytes + _x * 4;
    }
    void Set(int32_t _x, int32_t _y, double _r, double _g, double _b) const {
        if (_x < 0 || _y < 0 || _x >= Width() || _y >= Height()) return;
        uint8_t* const p = At(_x, _y);
        const double arr[] = {_b, _g, _r};
        for (int i = 0; i < 3; ++i) p[i] = static_cast<uint8_t>(std::lround(std::clamp(arr[i], 0.0, 1.0) * 255));
        p[3] = 255;
    }
    void Paste(const CANVAS& _from, int32_t _nLeft, int32_t _nTop) const {
        for (int32_t y = 0; y < _from.Height(); ++y) {
            for (int32_t x = 0; x < _from.Width(); ++x) std::copy_n(_from.At(x, y), 4, At(_nLeft + x, _nTop + y));
        }
    }
    CANVAS Scaled(int32_t _nWidth, int32_t _nHeight, int32_t _nQuality) const {
        FramePtr pScaled;
        const Text list(std::string_view("scaling_quality=" + std::to_string(_nQuality)));
        Check(pFrame->ZrFResize(eZrFCC_ARGB32, _nWidth, _nHeight, 0, pScaled.Out(), list.Get(), nullptr), "scale");
        return CANVAS(std::move(pScaled));
    }
    void Save(const std::string& _path) const {
        Check(pFrame->ZrFVideoSaveToFile(Text(std::string_view(_path)).Get()), _path.c_str());
    }

    FramePtr pFrame;
    ZR_AV_PROPS props;
    uint8_t* pBits = nullptr;
};

// Five columns of seven dots; the low bit is the top row.
struct GLYPH {
    char c;
    uint8_t arrColumns[5];
};
constexpr GLYPH arrGlyphs[] = {
    {'0', {0x3E, 0x51, 0x49, 0x45, 0x3E}}, {'1', {0x00, 0x42, 0x7F, 0x40, 0x00}}, {'2', {0x42, 0x61, 0x51, 0x49, 0x46}},
    {'3', {0x21, 0x41, 0x45, 0x4B, 0x31}}, {'4', {0x18, 0x14, 0x12, 0x7F, 0x10}}, {'5', {0x27, 0x45, 0x45, 0x45, 0x39}},
    {'6', {0x3C, 0x4A, 0x49, 0x49, 0x30}}, {'7', {0x01, 0x71, 0x09, 0x05, 0x03}}, {'8', {0x36, 0x49, 0x49, 0x49, 0x36}},
    {'9', {0x06, 0x49, 0x49, 0x29, 0x1E}}, {'A', {0x7E, 0x11, 0x11, 0x11, 0x7E}}, {'E', {0x7F, 0x49, 0x49, 0x49, 0x41}},
    {'I', {0x00, 0x41, 0x7F, 0x41, 0x00}}, {'L', {0x7F, 0x40, 0x40, 0x40, 0x40}}, {'M', {0x7F, 0x02, 0x0C, 0x02, 0x7F}},
    {'N', {0x7F, 0x04, 0x08, 0x10, 0x7F}}, {'O', {0x3E, 0x41, 0x41, 0x41, 0x3E}}, {'R', {0x7F, 0x09, 0x19, 0x29, 0x46}},
    {'S', {0x46, 0x49, 0x49, 0x49, 0x31}}, {'T', {0x01, 0x01, 0x7F, 0x01, 0x01}}, {'V', {0x1F, 0x20, 0x40, 0x20, 0x1F}},
    {'X', {0x63, 0x14, 0x08, 0x14, 0x63}}, {'Z', {0x61, 0x51, 0x49, 0x45, 0x43}},
};

void Write(const CANVAS& _canvas, const std::string& _text, int32_t _nLeft, int32_t _nTop, int32_t _nDot, double _dbl) {
    for (const char c : _text) {
        for (const GLYPH& glyph : arrGlyphs) {
            if (glyph.c != c) continue;
            for (int32_t i = 0; i < 35 * _nDot * _nDot; ++i) {
                const int32_t x = i % (5 * _nDot), y = i / (5 * _nDot);
                if (glyph.arrColumns[x / _nDot] >> (y / _nDot) & 1)
                    _canvas.Set(_nLeft + x, _nTop + y, _dbl, _dbl, _dbl);
            }
        }
        _nLeft += 6 * _nDot;
    }
}

CANVAS ZonePlate() {
    CANVAS canvas(960, 540);
    for (int32_t y = 0; y < 540; ++y) {
        for (int32_t x = 0; x < 960; ++x) {
            const double dx = x - 479.5, dy = y - 269.5;
            const double dbl = 0.5 + 0.5 * std::cos(M_PI * (dx * dx + dy * dy) / 1100);
            canvas.Set(x, y, dbl, dbl, dbl);
        }
    }
    return canvas;
}

CANVAS TextPage() {
    CANVAS canvas(960, 540);
    for (int32_t i = 0; i < 960 * 540; ++i) canvas.Set(i % 960, i / 960, 0.95, 0.95, 0.92);
    int32_t y = 12;
    for (const int32_t nDot : {8, 6, 5, 4, 3, 3, 2, 2, 2, 1, 1, 1}) {
        std::string line = "ZRMIXER 0123456789 LIVE ON AIR ";
        while (static_cast<int32_t>(line.size()) * 6 * nDot < 960) line += "TEXT 16 TO 9 ";
        Write(canvas, line, 12, y, nDot, 0.05);
        y += 10 * nDot;
    }
    return canvas;
}

// Repeatable noise without structure, from -1 to 1, smooth between whole numbers.
double Noise(double _x, double _y) {
    const auto Corner = [](int64_t _nX, int64_t _nY) {
        uint64_t n =
            static_cast<uint64_t>(_nX) * 0x9E3779B97F4A7C15u ^ static_cast<uint64_t>(_nY) * 0xC2B2AE3D27D4EB4Fu;
        n = (n ^ n >> 31) * 0xBF58476D1CE4E5B9u;
        return static_cast<double>((n ^ n >> 29) & 0xFFFF) / 32767.5 - 1;
    };
    const double fx = std::floor(_x), fy = std::floor(_y);
    const auto Smooth = [](double _t) { return _t * _t * (3 - 2 * _t); };
    const double tx = Smooth(_x - fx), ty = Smooth(_y - fy);
    const auto nX = static_cast<int64_t>(fx), nY = static_cast<int64_t>(fy);
    return std::lerp(std::lerp(Corner(nX, nY), Corner(nX + 1, nY), tx),
                     std::lerp(Corner(nX, nY + 1), Corner(nX + 1, nY + 1), tx), ty);
}

double Rough(double _x, double _y) {
    double dblSum = 0, dblSize = 0.5;
    for (int i = 0; i < 6; ++i, _x *= 2.1, _y *= 2.1, dblSize *= 0.5) dblSum += dblSize * Noise(_x, _y);
    return dblSum;
}

// Hills behind hills under a low sun.
CANVAS Landscape() {
    CANVAS canvas(960, 540);
    for (int32_t y = 0; y < 540; ++y) {
        for (int32_t x = 0; x < 960; ++x) {
            const double u = x / 960.0, v = y / 540.0;
            const double dblSun = std::exp(-60 * ((u - 0.7) * (u - 0.7) + 0.32 * (v - 0.35) * (v - 0.35)));
            const double dblCloud = 0.12 * Rough(u * 5, v * 14);
            double r = 0.35 + 0.5 * v + dblSun + dblCloud, g = 0.5 + 0.25 * v + 0.7 * dblSun + dblCloud,
                   b = 0.8 - 0.2 * v + 0.2 * dblSun + dblCloud;
            for (int i = 0; i < 4; ++i) {
                if (v < 0.5 + 0.12 * i + 0.13 * Rough(u * (2 + i) + 17 * i, i)) continue;
                const double dblGrass = 0.5 + 0.6 * Rough(u * 60 * (1 + i * 0.3), v * 90);
                const double dblNear = (i + 1) / 4.0;
                r = std::lerp(0.45, 0.20, dblNear) + 0.13 * dblGrass * dblNear;
                g = std::lerp(0.50, 0.30, dblNear) + 0.18 * dblGrass * dblNear;
                b = std::lerp(0.58, 0.12, dblNear) + 0.06 * dblGrass * dblNear;
            }
            canvas.Set(x, y, r, g, b);
        }
    }
    return canvas;
}

// One tile for each quality, its number in the corner.
void SaveLadder(const CANVAS& _source, const std::string& _path) {
    constexpr int32_t arrQualities[] = {1, 2, 5, 6, 8, 16};
    CANVAS sheet(3 * 320, 2 * 180);
    for (int32_t i = 0; i < 6; ++i) {
        const CANVAS tile = _source.Scaled(320, 180, arrQualities[i]);
        for (int32_t y = 0; y < 20; ++y)
            for (int32_t x = 0; x < 30; ++x) tile.Set(x, y, 0, 0, 0);
        Write(tile, std::to_string(arrQualities[i]), 3, 3, 2, 1);
        sheet.Paste(tile, i % 3 * 320, i / 3 * 180);
    }
    sheet.Save(_path);
}

void SaveMasks(const CANVAS& _photo, const std::string& _path) {
    CANVAS sheet(3 * 320, 180);
    const CANVAS tile = _photo.Scaled(320, 180, 6);
    ScratchBuffer scratch;
    int32_t nLeft = 0;
    for (const eMaskShape eShape : {eMaskShape::Circle, eMaskShape::Rect, eMaskShape::RoundRect}) {
        const auto pMask = MaskPlane::Make();
        Check(pMask->Resize(320, 180), "mask");
        Check(DrawMaskShape(eShape, *pMask, scratch), "mask");
        for (int32_t y = 0; y < 180; ++y) {
            for (int32_t x = 0; x < 320; ++x) {
                const double w = pMask->Row(y)[x] / 255.0;
                const uint8_t* const p = tile.At(x, y);
                sheet.Set(nLeft + x, y, std::lerp(0.25, p[2] / 255.0, w), std::lerp(0.25, p[1] / 255.0, w),
                          std::lerp(0.3, p[0] / 255.0, w));
            }
        }
        nLeft += 320;
    }
    sheet.Save(_path);
}

void SaveBorders(const CANVAS& _photo, const std::string& _path) {
    struct CASE {
        const char16_t *szWidths, *szColours;
        double dblAlpha;
    };
    constexpr CASE arrCases[] = {
        {u"6", u"white", 1.0}, {u"12,4", u"yellow", 0.5}, {u"-10", u"red|green|blue|white", 1.0}};
    CANVAS sheet(3 * 320, 180);
    const CANVAS tile = _photo.Scaled(280, 140, 6);
    int32_t nLeft = 0;
    for (const CASE& c : arrCases) {
        CANVAS box(320, 180);
        for (int32_t i = 0; i < 320 * 180; ++i) box.Set(i % 320, i / 320, 0.25, 0.25, 0.3);
        box.Paste(tile, 20, 20);
        BORDERS borders;
        Check(ReadBorders(c.szWidths, c.szColours, &borders), "borders");
        Check(DrawBorders(box.pBits, box.props.vidProps, tagRECT{20, 20, 300, 160}, borders, c.dblAlpha), "borders");
        sheet.Paste(box, nLeft, 0);
        nLeft += 320;
    }
    sheet.Save(_path);
}

// A disc that has moved between the fields: as it stands, scaled with the fields kept apart, and made of one field.
void SaveInterlaced(const std::string& _path) {
    CANVAS woven(320, 180, eZrI_Field1First);
    for (int32_t y = 0; y < 180; ++y) {
        for (int32_t x = 0; x < 320; ++x) {
            const double dx = x - (y % 2 ? 185 : 150), dy = y - 90;
            const bool bDisc = dx * dx + dy * dy < 60 * 60;
            woven.Set(x, y, bDisc ? 0.9 : 0.1, bDisc ? 0.6 : 0.2, bDisc ? 0.2 : 0.3);
        }
    }
    CANVAS sheet(3 * 320, 180);
    sheet.Paste(woven, 0, 0);
    sheet.Paste(woven.Scaled(240, 134, 4), 360, 22);
    CANVAS whole(320, 180);
    ScalingEngine engine;
    Check(Img_Convert(engine, woven.pBits, whole.pBits, woven.props.vidProps, whole.props.vidProps, true, nullptr,
                      nullptr, eInterpolation::Linear, 0, eScale_Field1),
          "deinterlace");
    sheet.Paste(whole, 640, 0);
    sheet.Save(_path);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : "docs/pictures";
    const CANVAS photo = Landscape();
    SaveLadder(ZonePlate(), folder + "/ladder-zone-plate.png");
    SaveLadder(TextPage(), folder + "/ladder-text.png");
    SaveLadder(photo, folder + "/ladder-landscape.png");
    SaveMasks(photo, folder + "/masks.png");
    SaveBorders(photo, folder + "/borders.png");
    SaveInterlaced(folder + "/interlaced.png");
    return 0;
}
