#include "video/image_convert.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "plain_picture.h"
#include "plain_scaler.h"
#include "platform/thread_pool.h"
#include "support/row_test.h"
#include "video/conversion_matrix.h"
#include "video/resize_sharpen.h"

namespace zr {
namespace {

using test::Picture;
using test::PlainPlane;
using test::Props;
using test::RandomRect;
using enum eInterpolation;

double PlainWidth(eInterpolation _eMode) {
    static constexpr double arrWidths[] = {1, -1, 0.5, 1, 0.75, 0.8, 0.85, 0.9, 1};
    return static_cast<size_t>(_eMode) < std::size(arrWidths) ? arrWidths[static_cast<size_t>(_eMode)] : 1;
}

struct RUN {
    tagRECT srcRect, dstRect;
    bool bInterlaced;
    eInterpolation eMode;
    uint32_t nFlags;
};

void PlainConvert(Picture& _src, Picture& _dst, const RUN& _run) {
    const uint32_t nFlags = _run.bInterlaced ? _run.nFlags : _run.nFlags | 3;
    const int32_t ws = _run.srcRect.right - _run.srcRect.left, wd = _run.dstRect.right - _run.dstRect.left;
    const auto IsPacked = [](const Picture& _p) { return !_p.IsRgb() && !PixelFormatPlanar(_p.props.fccType); };
    const bool bWholeRows = IsPacked(_src) && IsPacked(_dst) && ws == wd;
    eInterpolation eMode = _run.eMode == SuperSampling && wd > ws ? BSpline : _run.eMode;
    for (int32_t n = 0; n < _src.Channels(); ++n) {
        const PlainPlane plane = _src.Take(n, _run.srcRect);
        const double dblWidth = PlainWidth(_run.eMode) / (n == 0 || bWholeRows || _src.IsRgb() ? 1 : 2);
        const tagRECT r = _dst.PlaneRect(n, _run.dstRect);
        _dst.Put(n, _run.dstRect,
                 PlainHorizontal(PlainVertical(plane, r.bottom - r.top, dblWidth, nFlags), r.right - r.left, eMode));
    }
}

constexpr eZrFCC arrYuv[] = {eZrFCC_UYVY, eZrFCC_HDYC, eZrFCC_YUY2, eZrFCC_YVYU, eZrFCC_I420,
                             eZrFCC_YV12, eZrFCC_NV12, kFCC_Y422,   kFCC_Y444};
constexpr eInterpolation arrModes[] = {Nearest,    Linear,      Cubic,         BSpline,
                                       CatmullRom, CubicB05C03, SuperSampling, Lanczos};

TEST(ImageConvert, GivesWhatPlainPassesGive) {
    std::mt19937 rng(11);
    const auto Size = [&] { return 2 + static_cast<int32_t>(rng() % 60) * 2; };
    ScalingEngine engine;
    for (int32_t nRun = 0; nRun < 700; ++nRun) {
        const bool bRgb = nRun % 4 == 0;
        const eZrFCC fccRgb = nRun % 8 == 0 ? eZrFCC_RGB24 : eZrFCC_ARGB32;
        const eZrFCC fccFrom = bRgb ? fccRgb : arrYuv[rng() % std::size(arrYuv)],
                     fccTo = bRgb ? fccRgb : arrYuv[rng() % std::size(arrYuv)];
        const int32_t nUp = bRgb && rng() % 2 ? -1 : 1;
        Picture src(Props(fccFrom, Size(), Size() * nUp, static_cast<int32_t>(rng() % 3) * 8), rng);
        const bool bEqualWidth = rng() % 5 == 0;
        Picture dst(Props(fccTo, bEqualWidth ? src.props.nWidth : Size(), Size(), static_cast<int32_t>(rng() % 3) * 8),
                    rng);
        static constexpr uint32_t arrFlags[] = {0, 0, 0, 1, 2, 16, 32, 64};
        const bool bInterlaced = rng() % 2 != 0;
        RUN run{RandomRect(rng, src.props.nWidth, std::abs(src.props.nHeight)),
                RandomRect(rng, dst.props.nWidth, dst.props.nHeight), bInterlaced,
                arrModes[rng() % std::size(arrModes)], bInterlaced ? arrFlags[rng() % std::size(arrFlags)] : 0};
        const bool bSameSize = run.srcRect.right - run.srcRect.left == run.dstRect.right - run.dstRect.left &&
                               run.srcRect.bottom - run.srcRect.top == run.dstRect.bottom - run.dstRect.top;
        if (bSameSize) continue;  // a change of format only
        SCOPED_TRACE(testing::Message() << "run " << nRun << ", " << src.props.nWidth << " x " << src.props.nHeight
                                        << " to " << dst.props.nWidth << " x " << dst.props.nHeight << ", mode "
                                        << static_cast<int>(run.eMode) << ", flags " << run.nFlags << ", interlaced "
                                        << run.bInterlaced);
        Picture want = dst;
        PlainConvert(src, want, run);
        engine.bMultiThread = rng() % 2 != 0;
        ASSERT_EQ(Img_Convert(engine, src.bytes.data(), dst.bytes.data(), src.props, dst.props, run.bInterlaced,
                              &run.srcRect, &run.dstRect, run.eMode, 0, run.nFlags),
                  S_OK);
        ASSERT_EQ(dst.bytes == want.bytes, true);
    }
}

}  // namespace
}  // namespace zr
