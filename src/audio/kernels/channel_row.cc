#include "audio/kernels/channel_row.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "audio/kernels/channel_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {

namespace vec = hwy::HWY_NAMESPACE;

// One step of the source is a Wide, whose low part is the sample. Returns how many are done: all but the last ones, as
// a Wide of the last sample reaches behind the row.
template <class Wide, class Narrow>
HWY_INLINE size_t TakeLowParts([[maybe_unused]] const uint8_t* src, [[maybe_unused]] uint8_t* dst,
                               [[maybe_unused]] size_t n) {
    size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const vec::ScalableTag<Wide> dWide;
    const vec::Rebind<Narrow, decltype(dWide)> dNarrow;
    const vec::Repartition<uint8_t, decltype(dWide)> dSrc;
    const vec::Repartition<uint8_t, decltype(dNarrow)> dDst;
    const size_t nStep = vec::Lanes(dWide);
    for (; n - x > nStep; x += nStep) {
        const auto wide = vec::BitCast(dWide, vec::LoadU(dSrc, src + x * sizeof(Wide)));
        vec::StoreU(vec::BitCast(dDst, vec::TruncateTo(dNarrow, wide)), dDst, dst + x * sizeof(Narrow));
    }
#endif
    return x;
}

template <size_t kBytes>
HWY_INLINE void TakeRest(const uint8_t* src, size_t cbStep, uint8_t* dst, size_t x, size_t n) {
    for (; x < n; ++x) std::memcpy(dst + x * kBytes, src + x * cbStep, kBytes);
}

void TakeChannelRowImpl(size_t cb, const uint8_t* src, size_t cbStep, uint8_t* dst, size_t n) {
    switch (cb) {
        case 1: return TakeRest<1>(src, cbStep, dst, 0, n);
        case 2: {
            size_t x = 0;
            if (cbStep == 4) x = TakeLowParts<uint32_t, uint16_t>(src, dst, n);
            if (cbStep == 8) x = TakeLowParts<uint64_t, uint16_t>(src, dst, n);
            return TakeRest<2>(src, cbStep, dst, x, n);
        }
        case 3: return TakeRest<3>(src, cbStep, dst, 0, n);
        case 4: {
            const size_t x = cbStep == 8 ? TakeLowParts<uint64_t, uint32_t>(src, dst, n) : 0;
            return TakeRest<4>(src, cbStep, dst, x, n);
        }
        default: return;
    }
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace zr {

HWY_EXPORT(TakeChannelRowImpl);
void TakeChannelRow(size_t _cbSample, const uint8_t* _pSrc, size_t _cbStep, uint8_t* _pDst, size_t _nSamples) {
    HWY_DYNAMIC_DISPATCH(TakeChannelRowImpl)(_cbSample, _pSrc, _cbStep, _pDst, _nSamples);
}

}  // namespace zr

#endif  // HWY_ONCE
