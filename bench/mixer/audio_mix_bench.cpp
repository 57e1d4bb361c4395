#include <benchmark/benchmark.h>

#include <chrono>
#include <string>
#include <vector>

#include "framework/frame_factory_access.h"
#include "framework/statistics_node.h"
#include "mixer/audio_mixer.h"

namespace zr::bench {
namespace {

// Sixteen stereo streams of 16 bits into one output frame at 48 kHz and 25 frames a second: what the rings hold is
// taken, made louder or softer, and added. How the sound gets into the rings is not timed. With _state.range(0) gains
// move in every frame; with range(1) each stream's tracks are in use and one of its channels has a gain of its own.
void BM_Mixer_SixteenStreams(benchmark::State& _state) {
    constexpr ZR_AUD_PROPS kProps{2, 48000, 16, 0};
    constexpr int64_t kSamples = 1920;
    StatisticsNode statistics(CoXMLNode::Create(u"stat"));
    const XMLNodePtr pKeys = CoXMLNode::Create(u"object");
    BlockSet blocks;
    AudioMixer mixer(statistics);
    std::vector<MixerStreamPtr> arrStreams;
    std::vector<ZrPtr<CCoZrItem>> arrItems;
    std::vector<MIX_SOUND> arrMix;
    for (int i = 0; i < 16; ++i) {
        arrStreams.push_back(MixerStreamPtr::Attach(
            new ZrMixerStream(u"stream" + std::u16string(1, static_cast<char16_t>(u'a' + i)), statistics, blocks)));
        arrItems.push_back(CCoZrItem::Make(nullptr, u"sound"));
        arrMix.push_back({arrStreams.back().Get(), arrItems.back().Get()});
        ZrPtr<IZrAudioTrack> pTrack;
        if (_state.range(1) && arrItems.back()->AudioTrackGetByIndex(0, nullptr, pTrack.Out()) == S_OK)
            pTrack->TrackGainSet(1, -3, 0);
    }
    std::vector<int16_t> arrSound(2 * kSamples);
    for (size_t i = 0; i < arrSound.size(); ++i) arrSound[i] = static_cast<int16_t>(i * 7919);
    STREAM_SOUND sound;
    sound.props = sound.audOutput = kProps;
    sound.pbAudio = reinterpret_cast<const uint8_t*>(arrSound.data());
    sound.cbAudio = static_cast<int32_t>(arrSound.size() * 2);
    sound.dblSourceRate = sound.vidOutput.dblRate = 25;
    IZrFFactory* pFactory = nullptr;
    FrameFactory(&pFactory);
    int64_t nFrame = 0;
    for (auto _ : _state) {
        ++nFrame;
        for (const auto& pStream : arrStreams) {
            pStream->Audio().Put(sound);
            pStream->ResetGains();
            pStream->AddGains(0, _state.range(0) && nFrame % 2 ? 0.5 : 0.25);
        }
        ZrPtr<IZrFFrame> pFrame;
        pFactory->ZrFFrameCreatePlain(0, pFrame.Out());
        const auto tStart = std::chrono::steady_clock::now();
        mixer.DoMixing_I(*pFrame, nullptr, kProps, kSamples, false, arrMix, *pKeys);
        _state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - tStart).count());
    }
    _state.SetBytesProcessed(static_cast<int64_t>(_state.iterations()) * 16 * kSamples * 4);
}
BENCHMARK(BM_Mixer_SixteenStreams)
    ->ArgNames({"moving", "tracks"})
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Args({0, 0})
    ->Args({1, 0})
    ->Args({0, 1});

}  // namespace
}  // namespace zr::bench
