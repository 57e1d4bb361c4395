// The scaler on whole pictures; ARGB and 4:2:2, one thread unless the name says otherwise.

#include <string>

#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "platform/thread_pool.h"
#include "video/image_convert.h"
#include "video/video_bench.h"

namespace zr::bench {
namespace {

struct SCALE_JOB {
    const char* szName;
    eZrFCC fccFrom;
    int32_t nSrcWidth, nSrcHeight;
    eZrFCC fccTo;
    int32_t nDstWidth, nDstHeight;
    eInterpolation eMode;
    int32_t nSharpness = 0;
    int32_t nThreads = 1;
};

ZR_VID_PROPS Props(eZrFCC _fccType, int32_t _nWidth, int32_t _nHeight) {
    ZR_VID_PROPS props{};
    props.fccType = _fccType;
    props.nWidth = _nWidth;
    props.nHeight = PixelFormatBottomUp(_fccType) ? -_nHeight : _nHeight;
    props.nRowBytes = MinRowBytes(_fccType, _nWidth);
    return props;
}

void BM_Video_Scale(benchmark::State& _state, const SCALE_JOB& _job) {
    const ZR_VID_PROPS srcProps = Props(_job.fccFrom, _job.nSrcWidth, _job.nSrcHeight),
                       dstProps = Props(_job.fccTo, _job.nDstWidth, _job.nDstHeight);
    const auto src = Noise(PictureBytes(srcProps));
    std::vector<uint8_t> dst(PictureBytes(dstProps));
    ScalingEngine engine;
    engine.bMultiThread = _job.nThreads > 1;
    SetRowThreads(_job.nThreads);
    for (auto _ : _state) {
        Img_Convert(engine, src.data(), dst.data(), srcProps, dstProps, false, nullptr, nullptr, _job.eMode,
                    _job.nSharpness, 0);
        benchmark::ClobberMemory();
    }
    SetRowThreads(0);
    _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(src.size() + dst.size()));
    _state.counters["frames/s"] =
        benchmark::Counter(static_cast<double>(_state.iterations()), benchmark::Counter::kIsRate);
}

// A picture that grows or shrinks: of another size each frame, so that no table of the frame before fits.
void BM_Video_ScaleZoom(benchmark::State& _state) {
    const ZR_VID_PROPS srcProps = Props(eZrFCC_UYVY, 1920, 1080);
    const auto src = Noise(PictureBytes(srcProps));
    std::vector<uint8_t> dst(PictureBytes(srcProps));
    ScalingEngine engine;
    int32_t nFrame = 0;
    for (auto _ : _state) {
        const int32_t nStep = _state.range(0) != 0 ? nFrame++ % 8 : 0;
        const ZR_VID_PROPS dstProps = Props(eZrFCC_UYVY, 1280 + 2 * nStep, 720 + nStep);
        Img_Convert(engine, src.data(), dst.data(), srcProps, dstProps, false, nullptr, nullptr, eInterpolation::Linear,
                    0, 0);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Video_ScaleZoom)->ArgName("moves")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond)->UseRealTime();

constexpr eZrFCC U = eZrFCC_UYVY, A = eZrFCC_ARGB32, P = eZrFCC_I420;
using enum eInterpolation;

constexpr SCALE_JOB arrJobs[] = {
    {"ScaleUyvyLinear/1080p_to_960x540", U, 1920, 1080, U, 960, 540, Linear},
    {"ScaleUyvyLinear/1080p_to_1280x720", U, 1920, 1080, U, 1280, 720, Linear},
    {"ScaleUyvyLinear/1080p_to_640x360", U, 1920, 1080, U, 640, 360, Linear},
    {"ScaleUyvyLinear/720p_to_1080p", U, 1280, 720, U, 1920, 1080, Linear},
    {"ScaleUyvySuper/1080p_to_960x540", U, 1920, 1080, U, 960, 540, SuperSampling},
    {"ScaleUyvyCubic/1080p_to_960x540", U, 1920, 1080, U, 960, 540, Cubic},
    {"ScaleUyvyLanczos/1080p_to_960x540", U, 1920, 1080, U, 960, 540, Lanczos},
    {"ScaleUyvyCubic/2160p_to_1080p", U, 3840, 2160, U, 1920, 1080, Cubic},
    {"ScaleUyvyLanczos/2160p_to_1080p", U, 3840, 2160, U, 1920, 1080, Lanczos},
    {"ScaleUyvyCubic_two_threads/2160p_to_1080p", U, 3840, 2160, U, 1920, 1080, Cubic, 0, 2},
    {"ScaleUyvyCubicSharp/1080p_to_960x540", U, 1920, 1080, U, 960, 540, Cubic, 20},
    {"ScaleUyvyRows/1920x1080_to_1920x540", U, 1920, 1080, U, 1920, 540, Linear},
    {"ScaleI420ToUyvyLinear/1080p_to_960x540", P, 1920, 1080, U, 960, 540, Linear},
    {"ScaleArgbLinear/1080p_to_960x540", A, 1920, 1080, A, 960, 540, Linear},
};

const int nRegistered = [] {
    for (const SCALE_JOB& job : arrJobs)
        benchmark::RegisterBenchmark(("BM_Video_" + std::string(job.szName)).c_str(), BM_Video_Scale, job)
            ->Unit(benchmark::kMicrosecond)
            ->UseRealTime();
    return 0;
}();

}  // namespace
}  // namespace zr::bench
