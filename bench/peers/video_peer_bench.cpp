// The pixel engine beside the best well-known libraries for the same work, in one program so that both are measured in
// the same minute: run it with --benchmark_enable_random_interleaving=true. One thread, 1080p unless the name says
// otherwise. Names are BM_Peers_<operation>/<who>; scripts/bench --table makes a table of them.
//
// The scaling rows carry how near our luma comes to zimg's on a picture like a photograph, in dB, as their label: a
// counter that not every benchmark has makes the CSV reporter abort when one without it is the first to end.

#include <benchmark/benchmark.h>
#include <libyuv.h>
#include <zimg.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "media/pixel_format.h"
#include "platform/thread_pool.h"
#include "video/color_convert.h"
#include "video/image_convert.h"
#include "video/kernels/mix_row.h"
#include "video/video_bench.h"

namespace zr::bench {
namespace {

constexpr int kW = 1920, kH = 1080;

// Bytes that start at a cache line, as those of frames do.
class AlignedBytes {
public:
    explicit AlignedBytes(size_t _cb, uint32_t _nSeed)
        : cb(_cb), p(static_cast<uint8_t*>(std::aligned_alloc(4096, (_cb + 8191) & ~size_t{4095}))) {
        const std::vector<uint8_t> noise = Noise(_cb, _nSeed);
        std::memcpy(p, noise.data(), _cb);
    }
    AlignedBytes(const AlignedBytes&) = delete;
    AlignedBytes& operator=(const AlignedBytes&) = delete;
    ~AlignedBytes() { std::free(p); }
    uint8_t* data() { return p; }
    size_t size() const { return cb; }
    uint8_t& operator[](size_t _n) { return p[_n]; }

private:
    size_t cb;
    uint8_t* p;
};

struct Frame {
    ZR_VID_PROPS props;
    AlignedBytes bytes;

    Frame(eZrFCC _fcc, int32_t _nWidth = kW, int32_t _nHeight = kH, uint32_t _nSeed = 1)
        : props(PropsOf(_fcc, _nWidth, _nHeight)), bytes(PictureBytes(props), _nSeed) {}
    static ZR_VID_PROPS PropsOf(eZrFCC _fcc, int32_t _nWidth, int32_t _nHeight) {
        ZR_VID_PROPS props;
        props.fccType = _fcc;
        props.nWidth = _nWidth;
        props.nHeight = PixelFormatBottomUp(_fcc) ? -_nHeight : _nHeight;
        props.nRowBytes = MinRowBytes(_fcc, _nWidth);
        return props;
    }
    PICTURE Picture() {
        PICTURE picture;
        PictureOf(bytes.data(), props, picture);
        return picture;
    }
    uint8_t* Plane(int32_t _n) { return Picture().arrPlanes[_n].pTop; }
    int Stride(int32_t _n) { return static_cast<int>(Picture().arrPlanes[_n].nStride); }
};
using FramePtr = std::shared_ptr<Frame>;
template <class... Args>
FramePtr Make(Args... _args) {
    return std::make_shared<Frame>(_args...);
}

using Work = std::function<void()>;
// _make: makes the work with its pictures, so that only one benchmark's pictures are alive at a time.
void Add(const std::string& _strName, size_t _cbMoved, std::function<Work()> _make,
         std::function<double()> _psnr = nullptr) {
    auto pPsnr = std::make_shared<double>(0);  // worked out once, not in every repetition
    benchmark::RegisterBenchmark(("BM_Peers_" + _strName).c_str(),
                                 [=](benchmark::State& _state) {
                                     const Work work = _make();
                                     work();
                                     for (auto _ : _state) {
                                         work();
                                         benchmark::ClobberMemory();
                                     }
                                     _state.SetBytesProcessed(_state.iterations() * static_cast<int64_t>(_cbMoved));
                                     if (!_psnr) return;
                                     if (*pPsnr == 0) *pPsnr = _psnr();
                                     _state.SetLabel(std::to_string(*pPsnr));
                                 })
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();
}

size_t Moved(const Frame& _a, const Frame& _b) { return _a.bytes.size() + _b.bytes.size(); }

// ---- Conversions

void AddMemcpy(const std::string& _strOperation, eZrFCC _fcc) {
    Add(_strOperation + "/memcpy", 2 * Frame(_fcc).bytes.size(), [=] {
        FramePtr src = Make(_fcc), dst = Make(_fcc);
        return [=] { std::memcpy(dst->bytes.data(), src->bytes.data(), src->bytes.size()); };
    });
}

void AddOurs(const std::string& _strOperation, eZrFCC _fccFrom, eZrFCC _fccTo) {
    Add(_strOperation + "/ours", Moved(Frame(_fccFrom), Frame(_fccTo)), [=] {
        FramePtr src = Make(_fccFrom), dst = Make(_fccTo);
        return [=] { ConvertPicture(src->Picture(), dst->Picture(), false, false); };
    });
}

// _convert(source, destination): through libyuv.
void AddYuv(const std::string& _strOperation, eZrFCC _fccFrom, eZrFCC _fccTo,
            std::function<void(Frame&, Frame&)> _convert) {
    Add(_strOperation + "/libyuv", Moved(Frame(_fccFrom), Frame(_fccTo)), [=] {
        FramePtr src = Make(_fccFrom), dst = Make(_fccTo);
        return [=] { _convert(*src, *dst); };
    });
}

void AddConversions() {
    AddOurs("UyvyToArgb", eZrFCC_UYVY, eZrFCC_ARGB32);
    AddOurs("HdycToArgb", eZrFCC_HDYC, eZrFCC_ARGB32);
    const auto ToArgb = [](Frame& a, Frame& b) {
        libyuv::UYVYToARGB(a.Plane(0), a.Stride(0), b.Plane(0), b.Stride(0), kW, kH);
    };
    AddYuv("UyvyToArgb", eZrFCC_UYVY, eZrFCC_ARGB32, ToArgb);
    AddYuv("HdycToArgb", eZrFCC_UYVY, eZrFCC_ARGB32, ToArgb);
    const auto FromArgb = [](Frame& a, Frame& b) {
        libyuv::ARGBToUYVY(a.Plane(0), a.Stride(0), b.Plane(0), b.Stride(0), kW, kH);
    };
    AddOurs("ArgbToUyvy", eZrFCC_ARGB32, eZrFCC_UYVY);
    AddOurs("ArgbToHdyc", eZrFCC_ARGB32, eZrFCC_HDYC);
    AddYuv("ArgbToUyvy", eZrFCC_ARGB32, eZrFCC_UYVY, FromArgb);
    AddYuv("ArgbToHdyc", eZrFCC_ARGB32, eZrFCC_UYVY, FromArgb);
    AddOurs("Yuy2ToUyvy", eZrFCC_YUY2, eZrFCC_UYVY);
    AddMemcpy("Yuy2ToUyvy", eZrFCC_UYVY);
    AddOurs("I420ToUyvy", eZrFCC_I420, eZrFCC_UYVY);
    AddYuv("I420ToUyvy", eZrFCC_I420, eZrFCC_UYVY, [](Frame& a, Frame& b) {
        libyuv::I420ToUYVY(a.Plane(0), a.Stride(0), a.Plane(1), a.Stride(1), a.Plane(2), a.Stride(2), b.Plane(0),
                           b.Stride(0), kW, kH);
    });
    AddOurs("Nv12ToUyvy", eZrFCC_NV12, eZrFCC_UYVY);
    AddYuv("Nv12ToUyvy", eZrFCC_I420, eZrFCC_UYVY, [](Frame& a, Frame& b) {  // it has no NV12: from its nearest
        libyuv::I420ToUYVY(a.Plane(0), a.Stride(0), a.Plane(1), a.Stride(1), a.Plane(2), a.Stride(2), b.Plane(0),
                           b.Stride(0), kW, kH);
    });
    AddOurs("UyvyToI420", eZrFCC_UYVY, eZrFCC_I420);
    AddYuv("UyvyToI420", eZrFCC_UYVY, eZrFCC_I420, [](Frame& a, Frame& b) {
        libyuv::UYVYToI420(a.Plane(0), a.Stride(0), b.Plane(0), b.Stride(0), b.Plane(1), b.Stride(1), b.Plane(2),
                           b.Stride(2), kW, kH);
    });
    AddOurs("UyvyToV210", eZrFCC_UYVY, eZrFCC_v210);
    AddMemcpy("UyvyToV210", eZrFCC_v210);
    AddOurs("V210ToUyvy", eZrFCC_v210, eZrFCC_UYVY);
    AddMemcpy("V210ToUyvy", eZrFCC_v210);
}

// ---- Mixing

// _mix(over, base) for rows.
void AddMix(const std::string& _strName, eZrFCC _fcc, std::function<void(Frame&, Frame&, const uint8_t*)> _mix) {
    Add(_strName, 3 * Frame(_fcc).bytes.size(), [=] {
        FramePtr over = Make(_fcc, kW, kH, 1u), base = Make(_fcc, kW, kH, 2u);
        auto mask = std::make_shared<std::vector<uint8_t>>(Noise(size_t{kW} * kH, 3));
        return [=] { _mix(*over, *base, mask->data()); };
    });
}

template <class Row>
void Rows(Frame& _over, Frame& _base, const Row& _row) {
    const PICTURE over = _over.Picture(), base = _base.Picture();
    for (int y = 0; y < kH; ++y) _row(over.Packed().Row(y), base.Packed().Row(y), y);
}

void AddMixes() {
    AddMix("PremultipliedOver/ours", eZrFCC_ARGB32, [](Frame& o, Frame& b, const uint8_t*) {
        Rows(o, b, [](const uint8_t* s, uint8_t* d, int) { MixOverRow(s, d, kW, 256); });
    });
    AddMix("PremultipliedOver/libyuv", eZrFCC_ARGB32, [](Frame& o, Frame& b, const uint8_t*) {
        libyuv::ARGBBlend(o.Plane(0), o.Stride(0), b.Plane(0), b.Stride(0), b.Plane(0), b.Stride(0), kW, kH);
    });
    AddMix("CrossFadeUyvy/ours", eZrFCC_UYVY, [](Frame& o, Frame& b, const uint8_t*) {
        Rows(o, b, [](const uint8_t* s, uint8_t* d, int) { MixPlainRow(s, d, 2 * kW, 128); });
    });
    AddMix("CrossFadeUyvy/libyuv", eZrFCC_UYVY, [](Frame& o, Frame& b, const uint8_t*) {
        libyuv::InterpolatePlane(o.Plane(0), o.Stride(0), b.Plane(0), b.Stride(0), b.Plane(0), b.Stride(0), 2 * kW, kH,
                                 128);
    });
    AddMix("MaskOverUyvy/ours", eZrFCC_UYVY, [](Frame& o, Frame& b, const uint8_t* m) {
        Rows(o, b, [=](const uint8_t* s, uint8_t* d, int y) { MixMaskPlainRow422(s, m + y * kW, d, kW, 200); });
    });
    AddMix("PremultipliedMaskOverUyvy/ours", eZrFCC_UYVY, [](Frame& o, Frame& b, const uint8_t* m) {
        Rows(o, b, [=](const uint8_t* s, uint8_t* d, int y) {
            MixMaskOffsetRow422(s, m + y * kW, d, kW, 200, eLumaAt::Odd);
        });
    });
    for (const char* szName : {"MaskOverUyvy/memcpy", "PremultipliedMaskOverUyvy/memcpy"})
        AddMix(szName, eZrFCC_UYVY,
               [](Frame& o, Frame& b, const uint8_t*) { std::memcpy(b.bytes.data(), o.bytes.data(), o.bytes.size()); });
}

// ---- Scaling

class Zimg {
public:
    // _bGrey: luma alone.
    Zimg(Frame& _src, Frame& _dst, zimg_resample_filter_e _eFilter, bool _bGrey = false) {
        zimg_image_format from, to;
        zimg_image_format_default(&from, ZIMG_API_VERSION);
        from.width = static_cast<unsigned>(_src.props.nWidth);
        from.height = static_cast<unsigned>(_src.props.nHeight);
        from.pixel_type = ZIMG_PIXEL_BYTE;
        from.color_family = _bGrey ? ZIMG_COLOR_GREY : ZIMG_COLOR_YUV;
        from.subsample_w = _bGrey ? 0 : 1;
        from.matrix_coefficients = ZIMG_MATRIX_BT709;
        from.pixel_range = ZIMG_RANGE_LIMITED;
        to = from;
        to.width = static_cast<unsigned>(_dst.props.nWidth);
        to.height = static_cast<unsigned>(_dst.props.nHeight);
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        params.resample_filter = params.resample_filter_uv = _eFilter;
        params.cpu_type = ZIMG_CPU_AUTO_64B;
        pGraph = zimg_filter_graph_build(&from, &to, &params);
        if (!pGraph) std::abort();
        size_t cb = 0;
        zimg_filter_graph_get_tmp_size(pGraph, &cb);
        pScratch = static_cast<uint8_t*>(std::aligned_alloc(64, (cb + 63) & ~size_t{63}));
        for (int n = 0; n < (_bGrey ? 1 : 3); ++n) {
            src.plane[n] = {_src.Plane(n), _src.Stride(n), ZIMG_BUFFER_MAX};
            dst.plane[n] = {_dst.Plane(n), _dst.Stride(n), ZIMG_BUFFER_MAX};
        }
        src.version = dst.version = ZIMG_API_VERSION;
    }
    Zimg(const Zimg&) = delete;
    Zimg& operator=(const Zimg&) = delete;
    ~Zimg() {
        zimg_filter_graph_free(pGraph);
        std::free(pScratch);
    }
    void Run() { zimg_filter_graph_process(pGraph, &src, &dst, pScratch, nullptr, nullptr, nullptr, nullptr); }

private:
    zimg_filter_graph* pGraph;
    uint8_t* pScratch;
    zimg_image_buffer_const src{};
    zimg_image_buffer dst{};
};

// A picture like a photograph: shapes with soft edges on gradients, and texture whose fine detail is weak.
void DrawScene(Frame& _grey) {
    const int32_t nWidth = _grey.props.nWidth, nHeight = AbsHeight(_grey.props.nHeight);
    for (int32_t y = 0; y < nHeight; ++y)
        for (int32_t x = 0; x < nWidth; ++x) {
            const double u = x / 1920.0, v = y / 1080.0;
            double dbl = 90 + 60 * v + 25 * std::sin(7 * u + 3 * v) * std::cos(5 * v);
            const auto Disc = [&](double cx, double cy, double r, double value) {
                const double d = std::hypot((u - cx) * 16 / 9, v - cy) - r;
                const double dblIn = 1 / (1 + std::exp(d * 400));  // an edge of a few pixels
                dbl += (value - dbl) * dblIn;
            };
            Disc(0.3, 0.4, 0.2, 200);
            Disc(0.7, 0.6, 0.3, 50);
            for (int k = 1; k <= 5; ++k)  // octaves, each half as strong as it is coarse
                dbl += 9.0 / k * std::sin((31 * u + 17 * v) * (1 << k) + k) * std::sin((23 * v - 11 * u) * (1 << k));
            _grey.bytes[static_cast<size_t>(y * _grey.props.nRowBytes + x)] =
                static_cast<uint8_t>(std::clamp(dbl, 16.0, 235.0));
        }
}

// How near our luma is to zimg's.
double LumaPsnr(int32_t _w, int32_t _h, int32_t _wTo, int32_t _hTo, eInterpolation _eMode,
                zimg_resample_filter_e _eFilter) {
    Frame src(kFCC_Y444, _w, _h), ours(kFCC_Y444, _wTo, _hTo), theirs(kFCC_Y444, _wTo, _hTo);
    DrawScene(src);
    ScalingEngine engine;
    Img_Convert(engine, src.bytes.data(), ours.bytes.data(), src.props, ours.props, false, nullptr, nullptr, _eMode, 0,
                0);
    Zimg(src, theirs, _eFilter, true).Run();
    double dblSum = 0;
    const size_t nSamples = static_cast<size_t>(_wTo) * static_cast<size_t>(_hTo);
    for (size_t i = 0; i < nSamples; ++i) dblSum += std::pow(ours.bytes[i] - theirs.bytes[i], 2);
    return 10 * std::log10(255.0 * 255 / std::max(dblSum / static_cast<double>(nSamples), 1e-9));
}

void AddScale(const std::string& _strName, int32_t _w, int32_t _h, int32_t _wTo, int32_t _hTo, eInterpolation _eMode,
              zimg_resample_filter_e _eFilter) {
    const size_t cb = Moved(Frame(eZrFCC_UYVY, _w, _h), Frame(eZrFCC_UYVY, _wTo, _hTo));
    Add(
        _strName + "/ours", cb,
        [=] {
            FramePtr src = Make(eZrFCC_UYVY, _w, _h), dst = Make(eZrFCC_UYVY, _wTo, _hTo);
            auto engine = std::make_shared<ScalingEngine>();
            return [=] {
                Img_Convert(*engine, src->bytes.data(), dst->bytes.data(), src->props, dst->props, false, nullptr,
                            nullptr, _eMode, 0, 0);
            };
        },
        [=] { return LumaPsnr(_w, _h, _wTo, _hTo, _eMode, _eFilter); });
    Add(_strName + "/zimg", cb, [=] {
        FramePtr src = Make(kFCC_Y422, _w, _h), dst = Make(kFCC_Y422, _wTo, _hTo);
        auto zimg = std::make_shared<Zimg>(*src, *dst, _eFilter);
        return [=] {
            zimg->Run();
            benchmark::DoNotOptimize(src);
            benchmark::DoNotOptimize(dst);
        };
    });
}

void AddScaling() {
    using enum eInterpolation;
    AddScale("LinearTo960x540", kW, kH, 960, 540, Linear, ZIMG_RESIZE_BILINEAR);
    AddScale("LinearTo1280x720", kW, kH, 1280, 720, Linear, ZIMG_RESIZE_BILINEAR);
    AddScale("CubicTo960x540", kW, kH, 960, 540, Cubic, ZIMG_RESIZE_BICUBIC);
    AddScale("LanczosTo960x540", kW, kH, 960, 540, Lanczos, ZIMG_RESIZE_LANCZOS);
    AddScale("CubicFrom2160pTo1080p", 3840, 2160, kW, kH, Cubic, ZIMG_RESIZE_BICUBIC);
    AddScale("LanczosFrom2160pTo1080p", 3840, 2160, kW, kH, Lanczos, ZIMG_RESIZE_LANCZOS);
    AddScale("CubicFrom720pTo1080p", 1280, 720, kW, kH, Cubic, ZIMG_RESIZE_BICUBIC);
}

// ---- One thread and two

void AddThreads() {
    for (const int32_t nThreads : {1, 2}) {
        const std::string strWho = nThreads == 1 ? "/one_thread" : "/two_threads";
        Add("UyvyToArgb" + strWho, Moved(Frame(eZrFCC_UYVY), Frame(eZrFCC_ARGB32)), [=] {
            FramePtr src = Make(eZrFCC_UYVY), dst = Make(eZrFCC_ARGB32);
            return [=] {
                SetRowThreads(nThreads);
                ConvertPicture(src->Picture(), dst->Picture(), false, nThreads > 1);
            };
        });
        Add("CubicTo1280x720" + strWho, Moved(Frame(eZrFCC_UYVY), Frame(eZrFCC_UYVY, 1280, 720)), [=] {
            FramePtr src = Make(eZrFCC_UYVY), dst = Make(eZrFCC_UYVY, 1280, 720);
            auto engine = std::make_shared<ScalingEngine>();
            engine->bMultiThread = nThreads > 1;
            return [=] {
                SetRowThreads(nThreads);
                Img_Convert(*engine, src->bytes.data(), dst->bytes.data(), src->props, dst->props, false, nullptr,
                            nullptr, eInterpolation::Cubic, 0, 0);
            };
        });
    }
}

const int nRegistered = [] {
    AddConversions();
    AddMixes();
    AddScaling();
    AddThreads();
    return 0;
}();

}  // namespace
}  // namespace zr::bench
