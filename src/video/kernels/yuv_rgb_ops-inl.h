// The conversion of RGB vectors to 4:2:2 that several kernels share.
// Included behind <hwy/highway.h>, once per CPU target.
#if defined(ZR_VIDEO_YUV_RGB_OPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZR_VIDEO_YUV_RGB_OPS_INL_H_
#undef ZR_VIDEO_YUV_RGB_OPS_INL_H_
#else
#define ZR_VIDEO_YUV_RGB_OPS_INL_H_
#endif

#include "video/kernels/vector_ops-inl.h"
#include "video/kernels/yuv_rgb_row.h"
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

struct YuvFactors {
    explicit HWY_INLINE YuvFactors(const RGB_TO_YUV& m)
        : yBR(SetPair(m.nYB, m.nYR)),
          yG(SetPair(m.nYG, 0)),
          cBR(SetPairs(m.nCbB, m.nCbR, m.nCrB, m.nCrR)),
          cG(SetPairs(m.nCbG, 0, m.nCrG, 0)),
          yStart(vec::Set(D32(), m.nRoundY + (16 << m.nShift))),
          cStart(vec::Set(D32(), m.nRoundC + (128 << (m.nShift + 1)))) {}
    V16 yBR, yG, cBR, cG;
    V32 yStart, cStart;
};

// One vector of pixels: their luma, and for each pair Cb in its even and Cr in its odd lane, all 32 bits wide.
template <int kShift>
HWY_INLINE void LumaAndChroma(const uint8_t* src, const YuvFactors& f, V32& luma, V32& chroma) {
    const D16 d16;
    const D32 d32;
    const V8 pixels = vec::LoadU(D8(), src);
    const V16 br = vec::And(vec::BitCast(d16, pixels), vec::Set(d16, 0x00FF));
    const V16 ga = vec::BitCast(d16, vec::ShiftRight<8>(vec::BitCast(DU16(), pixels)));
    luma = vec::ShiftRight<kShift>(PairwiseMulAdd(ga, f.yG, PairwiseMulAdd(br, f.yBR, f.yStart)));
    const V16 brSum = vec::Add(br, vec::BitCast(d16, vec::Reverse2(d32, vec::BitCast(d32, br))));
    const V16 gaSum = vec::Add(ga, vec::BitCast(d16, vec::Reverse2(d32, vec::BitCast(d32, ga))));
    chroma = vec::ShiftRight<kShift + 1>(PairwiseMulAdd(gaSum, f.cG, PairwiseMulAdd(brSum, f.cBR, f.cStart)));
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
