#include "video/kernels/sharpen_row.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "video/kernels/sharpen_row.cc"
#include <hwy/foreach_target.h>  // what follows is compiled once per CPU target
#include <hwy/highway.h>
HWY_BEFORE_NAMESPACE();
namespace zr::HWY_NAMESPACE {
namespace {
namespace vec = hwy::HWY_NAMESPACE;

// Division by multiplication: exact, as the sums are below 2^14 times the divisor below 2^7, and the product with the
// limit of a few thousand on the quotient fits 32 bits.
constexpr int kShift = 21;

template <class D16>
HWY_INLINE void SharpenStep(D16 d16, const uint8_t* above, const uint8_t* row, const uint8_t* below, uint8_t* dst,
                            ptrdiff_t side, const SHARPEN_KERNEL& kernel, uint32_t nReciprocal) {
    const vec::Rebind<uint8_t, D16> d8;
    const vec::Rebind<uint32_t, D16> d32;
    const vec::Rebind<int32_t, D16> di32;
    const auto At = [&](const uint8_t* p) HWY_ATTR { return vec::PromoteTo(d16, vec::LoadU(d8, p)); };
    const auto Factor = [&](int32_t n) HWY_ATTR { return vec::Set(d16, static_cast<int16_t>(n)); };
    auto sum = vec::Add(vec::Mul(At(row), Factor(kernel.nCentre)),
                        vec::Mul(vec::Add(At(row - side), At(row + side)), Factor(kernel.nBeside)));
    if (kernel.nAbove != 0) {
        const auto corners =
            vec::Add(vec::Add(At(above - side), At(above + side)), vec::Add(At(below - side), At(below + side)));
        sum = vec::Add(sum, vec::Mul(vec::Add(At(above), At(below)), Factor(kernel.nAbove)));
        sum = vec::Add(sum, vec::Mul(corners, Factor(kernel.nCorner)));
    }
    sum = vec::Max(vec::Add(sum, Factor(kernel.nDivisor / 2)), vec::Zero(d16));
    const auto wide = vec::BitCast(d32, vec::PromoteTo(di32, sum));
    const auto quotient = vec::ShiftRight<kShift>(vec::Mul(wide, vec::Set(d32, nReciprocal)));
    vec::StoreU(vec::DemoteTo(d8, vec::BitCast(di32, quotient)), d8, dst);
}

void SharpenRowImpl(const uint8_t* above, const uint8_t* row, const uint8_t* below, uint8_t* dst, size_t cb,
                    ptrdiff_t side, const SHARPEN_KERNEL& kernel) {
    const auto nDivisor = static_cast<uint32_t>(kernel.nDivisor);
    const uint32_t nReciprocal = ((1u << kShift) + nDivisor - 1) / nDivisor;
    const vec::CappedTag<int16_t, 4> dFull;  // four 32-bit products fit the smallest vector
    const vec::CappedTag<int16_t, 1> dOne;
    const size_t n = vec::Lanes(dFull);
    size_t x = 0;
    for (; cb - x >= n; x += n) SharpenStep(dFull, above + x, row + x, below + x, dst + x, side, kernel, nReciprocal);
    for (; x < cb; ++x) SharpenStep(dOne, above + x, row + x, below + x, dst + x, side, kernel, nReciprocal);
}

}  // namespace
}  // namespace zr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zr {
HWY_EXPORT(SharpenRowImpl);
void SharpenRow(const uint8_t* _pAbove, const uint8_t* _pRow, const uint8_t* _pBelow, uint8_t* _pDst, size_t _cb,
                ptrdiff_t _cbPixel, const SHARPEN_KERNEL& _kernel) {
    HWY_DYNAMIC_DISPATCH(SharpenRowImpl)(_pAbove, _pRow, _pBelow, _pDst, _cb, _cbPixel, _kernel);
}
}  // namespace zr
#endif
