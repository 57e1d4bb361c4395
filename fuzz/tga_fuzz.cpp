// A TGA file in memory: nothing outside of it is read, nothing outside of the picture is written, and what was read can
// be written and read again.

#include "video/picture_file_tga.h"

#include <cstdlib>

#include "picture_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    const std::vector<uint8_t> file(_pData, _pData + _cb);
    zr::FuzzPictureTarget target;
    if (zr::Failed(zr::ReadTga(file.data(), file.size(), &target)) || target.rows.nWidth > 200) return 0;
    std::vector<uint8_t> written;
    zr::FuzzPictureTarget again;
    if (zr::Failed(zr::WriteTga(target.rows, &written))) std::abort();
    if (zr::Failed(zr::ReadTga(written.data(), written.size(), &again))) std::abort();
    if (again.bytes != target.bytes) std::abort();
    return 0;
}
