#include <cstdio>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/run_error.h"

namespace zrmix {
namespace {

void ListFormats() {
    zr::ZrPtr<zr::IZrFormat> pFormat;
    Check(zr::ZrCreateInstance(zr::kClsidZrMixer, pFormat), "mixer");
    int32_t nCount = 0;
    Check(pFormat->FormatVideoGetCount(zr::eZrFT_Convert, &nCount), "formats");
    std::printf("%-16s %-11s %9s  %-12s %s\n", "name", "size", "frames/s", "scan", "aspect");
    for (int32_t i = 1; i < nCount; ++i) {
        zr::ZR_VID_PROPS props;
        zr::Text name;
        if (zr::Failed(pFormat->FormatVideoGetByIndex(zr::eZrFT_Convert, i, &props, name.Out()))) continue;
        if (props.nWidth <= 0) continue;  // "Disabled"
        const char* szScan = props.eInterlace == zr::eZrI_Progressive   ? "progressive"
                             : props.eInterlace == zr::eZrI_Field1First ? "field 1 first"
                                                                        : "field 2 first";
        const std::string size = std::to_string(props.nWidth) + "x" + std::to_string(std::abs(props.nHeight));
        std::printf("%-16s %-11s %9.3f  %-13s %d:%d\n", name.Utf8().c_str(), size.c_str(), props.dblRate, szScan,
                    props.nAspectX, props.nAspectY);
    }
}

}  // namespace

void AddFormats(CLI::App& _app) {
    _app.add_subcommand("formats", "List the named video formats.")->callback(ListFormats);
}

}  // namespace zrmix
