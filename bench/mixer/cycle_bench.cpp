// What a cycle costs beside the pictures: sources are asked, streams are fed, the scene is walked, the frame is stamped
// and handed over. Nothing is drawn and nothing paces the output.

#include <benchmark/benchmark.h>

#include <atomic>
#include <string>

#include "../../tests/support/drawn_show.h"
#include "../../tests/support/scripted_source.h"
#include "mixer/co_zr_mixer.h"
#include "platform/event.h"

namespace zr {
namespace {

constexpr int64_t kFrames = 1000;

class Counter final : public UnknownImpl<IZrReceiver_I> {
public:
    HRESULT MediaReceive(const char16_t*, IUnknown*, IZrFFrame*) override {
        if (++nFrames == nWanted) evDone.Set();
        return S_OK;
    }
    HRESULT MediaEnd(const char16_t*, IUnknown*, int32_t) override { return S_OK; }
    HRESULT MediaFlush(const char16_t*, IUnknown*, int32_t) override { return S_OK; }
    void WaitForMore(int64_t _n) {
        nWanted = nFrames + _n;
        WaitOne(evDone, kTicksPerSecond * 60);
    }

private:
    std::atomic<int64_t> nFrames{0}, nWanted{-1};
    AutoEvent evDone;
};

// So many streams, of which the scene shows none, over a background that passes through.
void BM_Mixer_Cycle(benchmark::State& _state) {
    const auto pMixer = ZrPtr<CCoZrMixer>::Attach(new CCoZrMixer);
    const ZR_VID_PROPS props = PictureProps(eZrFCC_UYVY, 1920, 1080);
    pMixer->FormatVideoSet(eZrFT_Convert, &props);
    pMixer->PropsSet(u"object::rate_control", u"0");
    const auto MakeSource = [&](int32_t _nSamples) {
        auto p = ScriptedSource::Make(props, _nSamples);
        p->bNumbered = false;
        return p;
    };
    pMixer->StreamsBackgroundSet(MakeSource(0).Get(), nullptr, nullptr, nullptr, 0);
    for (int64_t n = 0; n < _state.range(0); ++n)
        pMixer->StreamsAdd(nullptr, MakeSource(0).Get(), nullptr, nullptr, nullptr, 0);
    const auto pCounter = ZrPtr<Counter>::Attach(new Counter);
    pMixer->SenderConnect(pCounter.Get(), u"bench", u"rate_control=0", nullptr);
    pMixer->FilePlayStart();
    pCounter->WaitForMore(kFrames);
    for (auto _ : _state) pCounter->WaitForMore(kFrames);
    pMixer->ObjectClose();
    _state.counters["seconds_a_frame"] = benchmark::Counter(
        static_cast<double>(kFrames), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_Mixer_Cycle)->Arg(0)->Arg(1)->Arg(4)->Arg(16)->UseRealTime()->MeasureProcessCPUTime();

}  // namespace
}  // namespace zr
