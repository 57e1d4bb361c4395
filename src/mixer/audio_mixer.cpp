#include "mixer/audio_mixer.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "media/aud_props.h"

namespace zr {
namespace {

constexpr int64_t kLeastSamples = 4;      // fewer are no sound
constexpr int64_t kMostBackground = 512;  // samples that may be left over of the background
constexpr std::u16string_view kBackgroundId = u"background";
constexpr int64_t kNearlySame = 32;  // samples by which a stream may differ from the background

}  // namespace

AudioMixer::AudioMixer(IStatisticsSink& _statistics)
    : statistics(_statistics), nBackgroundReset(_statistics.Resolve(u"audio.bg.reset")) {}

void AudioMixer::Reset() {
    background.Clear(true);
    backgroundEdge.Reset();
    backgroundMix.Forget();
    bBackgroundBroken = false;
    for (const CAutoObj<ZrMixerStream>& pBefore : arrBefore) pBefore->mix.Forget();
    arrBefore.clear();
}

bool AudioMixer::EndsLoud() {
    return backgroundEdge.EndsLoud() || std::any_of(arrBefore.begin(), arrBefore.end(),
                                                    [](const auto& _pBefore) { return _pBefore->mix.EndsLoud(); });
}

void AudioMixer::Skip(const ZR_AUD_PROPS& _output, int64_t _nClock, const std::vector<MIX_SOUND>& _arrStreams) {
    if (!AudUsable(_output)) return;
    if (_arrStreams.empty()) Reset();
    DropBackground();
    for (const MIX_SOUND& sound : _arrStreams) sound.pStream->Audio().Skip(_output, _nClock);
}

void AudioMixer::DropBackground() {
    background.Clear(false);
    backgroundMix.Forget();  // the edge behind it joins what comes
    bBackgroundBroken = true;
}

// False: the frame has no sound.
bool AudioMixer::TakeBackground(IZrFFrame& _frame, CCoZrItem* _pItem, const XMLNodeBase& _mixer) {
    if (background.Fill() > kMostBackground) {
        statistics.AddCount(nBackgroundReset, 1);
        DropBackground();
    }
    const SOUND_BLOCK sound = SoundOf(_frame);
    if (sound.nSamples < kLeastSamples) return false;
    SOUND_BLOCK block = sound;
    if (_pItem) {
        backgroundMix.ReadKeys(kBackgroundId, *_pItem, _mixer, nKeysSet.load(std::memory_order_acquire));
        backgroundMix.Shape(&block);
    }
    if (block.nSamples == 0) block = {sound.props, nullptr, sound.nSamples};  // no track goes out
    return Succeeded(
        background.PutAudio(block.props, block.p, block.nSamples * AudBlockBytes(block.props), true, true));
}

HRESULT AudioMixer::DoMixing_I(IZrFFrame& _frame, CCoZrItem* _pBackground, const ZR_AUD_PROPS& _output, int64_t _nClock,
                               bool _bBreak, const std::vector<MIX_SOUND>& _arrStreams, const XMLNodeBase& _mixer) {
    if (!AudUsable(_output)) {
        Reset();
        return S_FALSE;
    }
    background.FormatSet(_output);
    if (_bBreak) DropBackground();
    const bool bBackground = TakeBackground(_frame, _pBackground, _mixer);
    if (!bBackground && _pBackground) backgroundMix.NoSound(_output, _nClock);
    int64_t nSamples = bBackground ? background.Fill() : _nClock;
    if (bBackground) {
        for (const MIX_SOUND& sound : _arrStreams) {
            const int64_t nStream = sound.pStream->Audio().Held(_output);
            if (nStream > 0 && std::abs(nSamples - nStream) < kNearlySame) nSamples = std::min(nSamples, nStream);
        }
    }
    nSamples = std::min<int64_t>(nSamples, std::numeric_limits<int32_t>::max());
    if (nSamples <= 0) {
        _arrStreams.empty() ? Reset() : DropBackground();
        return S_FALSE;
    }
    if (const HRESULT hr = _frame.ZrFAudioAlloc(&_output, static_cast<int32_t>(nSamples)); Failed(hr)) return hr;
    int32_t cbAudio = 0;
    int64_t pbAudio = 0;
    if (const HRESULT hr = _frame.ZrFAudioGetBytes(&cbAudio, &pbAudio); Failed(hr)) return hr;
    auto* const pSum = reinterpret_cast<uint8_t*>(pbAudio);
    // One that has no more sound ends with what is left of it.
    const int64_t nTaken = background.GetAudio(pSum, nSamples);
    backgroundEdge.Smooth(_output, pSum, nTaken, nSamples, std::exchange(bBackgroundBroken, false));
    sum.Begin(_output, pSum, nSamples);
    for (const MIX_SOUND& sound : _arrStreams) {
        ZrMixerStream& stream = *sound.pStream;
        stream.mix.ReadKeys(stream.Id(), *sound.pItem, _mixer, nKeysSet.load(std::memory_order_acquire));
        stream.Audio().CountTaken(AddStream(stream, _output, nSamples, stream.VisibleGain() + stream.AudioGain()),
                                  nSamples);
    }
    // One that was there before and is not now goes in the course of this frame.
    for (const CAutoObj<ZrMixerStream>& pBefore : arrBefore) {
        const auto IsIt = [&](const MIX_SOUND& _sound) { return _sound.pStream == pBefore.Get(); };
        if (std::none_of(_arrStreams.begin(), _arrStreams.end(), IsIt)) AddStream(*pBefore, _output, nSamples, 0);
    }
    arrBefore.clear();
    for (const MIX_SOUND& sound : _arrStreams) arrBefore.emplace_back(sound.pStream);
    sum.End();
    return S_OK;
}

// A block on its way to silence is taken all the same: the stream's sound goes on with its picture. Returns how many
// samples the stream had, 0 when a track of it cannot be brought into the output.
int64_t AudioMixer::AddStream(ZrMixerStream& _stream, const ZR_AUD_PROPS& _output, int64_t _nSamples, double _dblGain) {
    bool bBroken = false;
    SOUND_BLOCK block = _stream.Audio().Take(_output, _nSamples, arrBlock, &bBroken);
    const int64_t nFound = block.nSamples;
    const GAIN_RAMP ramp = _stream.mix.GainTo(_dblGain);
    const bool bWhole = _stream.mix.Process(_output, _nSamples, bBroken, &block);
    if (block.nSamples > 0) sum.Add(block.p, block.nSamples, ramp);
    return bWhole ? nFound : 0;
}

}  // namespace zr
