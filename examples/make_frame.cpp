// Makes a frame, draws a white square into it, and cuts that square out again without a copy.
//
//     c++ -std=c++20 -Iinclude examples/make_frame.cpp -Lbuild/release/lib -lzrmixer -Wl,-rpath,build/release/lib

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "zr/module.h"
#include "zr/zr.h"

namespace {

constexpr int kSide = 100;

// Prints what went wrong and says whether something did.
bool Fails(zr::HRESULT _hr, const char* _szWhat) {
    if (zr::Succeeded(_hr)) return false;
    std::fprintf(stderr, "%s: %s\n", _szWhat, zr::StatusText(_hr).c_str());
    return true;
}

}  // namespace

int main() {
    zr::ZrPtr<zr::IZrFFactory> pFactory;
    if (Fails(zr::ZrCreateInstance(zr::kClsidZrFrameFactory, pFactory), "the maker of frames")) return 1;

    // No address of a picture: the frame is filled with one colour.
    zr::ZR_AV_PROPS props;
    props.vidProps.eVideoFormat = zr::eZrVF_HD1080_25p;
    props.vidProps.fccType = zr::eZrFCC_ARGB32;
    zr::ZrPtr<zr::IZrFFrame> pFrame;
    if (Fails(pFactory->ZrFFrameCreateFromMem(&props, 0, 0, 0, pFrame.Out(), u"color=gray"), "the frame")) return 1;

    // The planes say where the upper row is and how far the next one, whichever way the picture is stored.
    zr::ZRF_VID_PTR planes;
    if (Fails(pFrame->ZrFVideoGetBytesEx(&planes), "the picture")) return 1;
    auto* pRow = reinterpret_cast<uint8_t*>(planes.lpVideoPlanes[0]);
    for (int y = 0; y < kSide; ++y, pRow += planes.cbVideoRowBytes[0]) std::memset(pRow, 0xFF, kSide * 4);

    // The cut shares the picture; each of the two keeps it alive.
    const zr::tagRECT rcSquare{0, 0, kSide, kSide};
    zr::ZrPtr<zr::IZrFFrame> pSquare;
    if (Fails(pFrame->ZrFCut(0, &rcSquare, pSquare.Out()), "the cut")) return 1;
    pFrame.Reset();

    if (Fails(pSquare->ZrFStrSet(u"title", u"square"), "the title")) return 1;
    std::string strTitle;
    if (Fails(zr::GetText([&](zr::BSTR* _pbs) { return pSquare->ZrFStrGet(u"title", _pbs); }, strTitle), "the title"))
        return 1;
    zr::ZRF_VID_PTR squarePlanes;
    if (Fails(pSquare->ZrFVideoGetBytesEx(&squarePlanes), "the square")) return 1;
    std::printf("%s: %d x %d pixels, %s the frame's memory\n", strTitle.c_str(), squarePlanes.szVideoPlanes[0].cx,
                squarePlanes.szVideoPlanes[0].cy,
                squarePlanes.lpVideoPlanes[0] == planes.lpVideoPlanes[0] ? "in" : "not in");
    return 0;
}
