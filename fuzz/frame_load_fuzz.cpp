// A frame from a block of bytes, then everything that reads what was believed: planes, copies, cuts, channels, and the
// way back into bytes, which must give the same frame again.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "frame_module/frame.h"
#include "zr/memory.h"

namespace {

uint32_t nSum = 0;

// Reads every byte, so that the address sanitizer sees them all.
void Touch(const void* _p, size_t _cb) {
    for (size_t i = 0; i < _cb; ++i) nSum += static_cast<const uint8_t*>(_p)[i];
}

void TouchPicture(zr::IZrFFrame& _frame) {
    int32_t cb = 0;
    int64_t lp = 0;
    _frame.ZrFVideoGetBytes(&cb, &lp);
    Touch(reinterpret_cast<const void*>(lp), static_cast<size_t>(cb));
    zr::ZR_AV_PROPS props;
    _frame.ZrFAVPropsGet(&props, nullptr);
    zr::ZRF_VID_PTR planes;
    _frame.ZrFVideoGetBytesEx(&planes);
    for (int32_t i = 0; i < zr::PlaneCount(props.vidProps.fccType); ++i)
        for (int64_t y = 0; y < planes.szVideoPlanes[i].cy; ++y)
            Touch(reinterpret_cast<const void*>(planes.lpVideoPlanes[i] + y * planes.cbVideoRowBytes[i]),
                  static_cast<size_t>(zr::PlaneRowBytes(props.vidProps, i)));
}

void Use(zr::IZrFFrame& _frame) {
    TouchPicture(_frame);
    zr::ZrPtr<zr::IZrFFrame> pCut, pCopy;
    const zr::tagRECT rect{1, 1, 7, 5};
    if (zr::Succeeded(_frame.ZrFCut(2, &rect, pCut.Out()))) TouchPicture(*pCut);
    if (pCut && zr::Succeeded(pCut->ZrFClone(pCopy.Out(), zr::eZrFC_Full, zr::eZrFCC_Default))) TouchPicture(*pCopy);
    int32_t cb = 0;
    int64_t lp = 0;
    _frame.ZrFAudioGetBytes(&cb, &lp);
    Touch(reinterpret_cast<const void*>(lp), static_cast<size_t>(cb));
    if (zr::Succeeded(_frame.ZrFAudioChannelGetBytes(1, 1, &cb, &lp)))
        Touch(reinterpret_cast<const void*>(lp), static_cast<size_t>(cb));
    for (int32_t i = 0;; ++i) {
        zr::BSTR bsID = nullptr, bsText = nullptr;
        const bool bData = zr::Succeeded(_frame.ZrFDataGetByIndex(i, &bsID, &cb, &lp));
        if (bData) Touch(reinterpret_cast<const void*>(lp), static_cast<size_t>(cb));
        zr::SysFreeString(bsID);
        const bool bText = zr::Succeeded(_frame.ZrFStrGetByIndex(i, &bsID, &bsText));
        if (bText) Touch(bsText, zr::SysStringByteLen(bsText));
        zr::SysFreeString(bsText);
        if (bText) zr::SysFreeString(bsID);
        if (!bData && !bText) break;
    }
}

std::vector<uint8_t> Saved(zr::IZrFFrame& _frame) {
    uint32_t cb = 0;
    uint8_t* p = nullptr;
    if (zr::Failed(_frame.ZrFSave(&cb, &p, zr::eZrFC_Full))) std::abort();
    std::vector<uint8_t> arr(p, p + cb);
    zr::CoTaskMemFree(p);
    return arr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pData, size_t _cb) {
    if (_cb == 0) return 0;
    const auto pFrame = zr::CZrFrame::Make();
    for (const auto eType : {zr::eZrFC_Data_Audio, zr::eZrFC_Full}) {
        // A block of its own, so that a byte too far is outside of it; at an odd address, as a host may have it.
        std::vector<uint8_t> arr(_cb + 1);
        std::memcpy(arr.data() + 1, _pData, _cb);
        const zr::HRESULT hr = pFrame->ZrFLoad(static_cast<uint32_t>(_cb), arr.data() + 1, eType);
        if (zr::Failed(hr)) return 0;
    }
    const std::vector<uint8_t> arrFirst = Saved(*pFrame);
    const auto pAgain = zr::CZrFrame::Make();
    if (zr::Failed(pAgain->ZrFLoad(static_cast<uint32_t>(arrFirst.size()), arrFirst.data(), zr::eZrFC_Full)))
        std::abort();
    if (Saved(*pAgain) != arrFirst) std::abort();
    Use(*pFrame);
    return 0;
}
