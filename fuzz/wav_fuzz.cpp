// A wav file in memory: what it says must lie inside of it, and its samples must be readable.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame_module/wav_file.h"
#include "media/aud_props.h"

namespace {

class Bytes final : public zr::ByteSource {
public:
    Bytes(const uint8_t* _p, size_t _cb) : arr(_p, _p + _cb) {}
    uint64_t Size() const override { return arr.size(); }
    zr::HRESULT ReadAt(uint64_t _nPosition, void* _pv, size_t _cb) const override {
        if (_nPosition > arr.size() || _cb > arr.size() - _nPosition) return zr::ZR_E_INVALID_DATA;
        if (_cb > 0) std::memcpy(_pv, arr.data() + _nPosition, _cb);
        return zr::S_OK;
    }

private:
    std::vector<uint8_t> arr;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    const Bytes bytes(_pData, _cb);
    zr::WAV_INFO info;
    if (zr::Failed(zr::WavParse(bytes, &info))) return 0;
    const auto cbBlock = static_cast<size_t>(zr::AudBlockBytes(info.audProps));
    if (cbBlock == 0 || info.audProps.nChannels > zr::kMaxAudioChannels) std::abort();
    if (info.nDataPosition + info.cbData > _cb || info.cbData % info.cbBlock != 0) std::abort();
    const uint64_t nFirst = info.Samples() / 3;
    const auto nCount = static_cast<uint32_t>(info.Samples() - nFirst);
    std::vector<uint8_t> arrOut(nCount * cbBlock);
    if (zr::Failed(zr::WavRead(bytes, info, nFirst, nCount, arrOut.data()))) std::abort();
    return 0;
}
