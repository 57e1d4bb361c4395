#include "mixer/audio_mixer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

#include "attributes/number_text.h"
#include "media/aud_props.h"

namespace zr {
namespace {

constexpr int64_t kLeastSamples = 4;      // fewer are no sound
constexpr int64_t kMostBackground = 512;  // samples that may be left over of the background
constexpr int64_t kNearlySame = 32;       // samples by which a stream may differ from the background
constexpr double kMostDb = 120;           // either way, of a gain

double LinearOf(double _dblDb) { return std::pow(10.0, std::clamp(_dblDb, -kMostDb, kMostDb) / 20.0); }

double GainAt(const std::vector<double>& _arr, size_t _nChannel) {
    if (_arr.empty()) return 1;
    if (_arr.size() == 1) return _arr[0];
    return _nChannel < _arr.size() ? _arr[_nChannel] : 1;
}

}  // namespace

AudioMixer::AudioMixer(IStatisticsSink& _statistics)
    : statistics(_statistics), nBackgroundReset(_statistics.Resolve(u"audio.bg.reset")) {}

// False: the frame has no sound.
bool AudioMixer::TakeBackground(IZrFFrame& _frame, const ZR_AUD_PROPS& _output) {
    if (background.Fill() > kMostBackground) {
        statistics.AddCount(nBackgroundReset, 1);
        background.Clear(false);
    }
    ZRF_FRAME_INFO info;
    if (Failed(_frame.ZrFAllGet(&info))) return false;
    const ZR_AUD_PROPS& props = info.avProps.audProps;
    if (!AudUsable(props) || info.lpAudio == 0 || info.cbAudio / AudBlockBytes(props) < kLeastSamples) return false;
    background.FormatSet(_output);
    return Succeeded(
        background.PutAudio(props, reinterpret_cast<const uint8_t*>(info.lpAudio), info.cbAudio, true, true));
}

HRESULT AudioMixer::DoMixing_I(IZrFFrame& _frame, const ZR_AUD_PROPS& _output, int64_t _nClock, int64_t _rtFrame,
                               const std::vector<ZrMixerStream*>& _arrStreams) {
    if (!AudUsable(_output)) {
        Reset();
        return S_FALSE;
    }
    const bool bBackground = TakeBackground(_frame, _output);
    int64_t nSamples = bBackground ? background.Fill() : _nClock;
    if (bBackground) {
        for (ZrMixerStream* const pStream : _arrStreams) {
            const int64_t nStream = pStream->Audio().Held(_output);
            if (nStream > 0 && std::abs(nSamples - nStream) < kNearlySame) nSamples = std::min(nSamples, nStream);
        }
    }
    nSamples = std::min<int64_t>(nSamples, std::numeric_limits<int32_t>::max());
    if (nSamples <= 0) {
        background.Clear(false);
        return S_FALSE;
    }
    if (const HRESULT hr = _frame.ZrFAudioAlloc(&_output, static_cast<int32_t>(nSamples)); Failed(hr)) return hr;
    int32_t cbAudio = 0;
    int64_t pbAudio = 0;
    if (const HRESULT hr = _frame.ZrFAudioGetBytes(&cbAudio, &pbAudio); Failed(hr)) return hr;
    auto* const pSum = reinterpret_cast<uint8_t*>(pbAudio);
    if (bBackground) background.GetAudio(pSum, nSamples);
    const auto cbBlock = static_cast<size_t>(nSamples * AudBlockBytes(_output));
    if (arrBlock.size() < cbBlock) arrBlock.resize(cbBlock);
    sum.Begin(_output, pSum, nSamples);
    for (ZrMixerStream* const pStream : _arrStreams) AddStream(*pStream, _output, nSamples, _rtFrame, false);
    // One that was there before and is not now goes in the course of this frame.
    for (const CAutoObj<ZrMixerStream>& pBefore : arrBefore) {
        const auto it = std::find(_arrStreams.begin(), _arrStreams.end(), pBefore.Get());
        if (it == _arrStreams.end()) AddStream(*pBefore, _output, nSamples, _rtFrame, true);
    }
    arrBefore.assign(_arrStreams.begin(), _arrStreams.end());
    sum.End();
    return S_OK;
}

// A block on its way to silence is taken all the same: the stream's sound goes on with its picture.
void AudioMixer::AddStream(ZrMixerStream& _stream, const ZR_AUD_PROPS& _output, int64_t _nSamples, int64_t _rtFrame,
                           bool _bLeaves) {
    StreamAudio& audio = _stream.Audio();
    const int64_t nTaken = audio.Take(_output, arrBlock.data(), _nSamples, _rtFrame);
    const double dblGain = _bLeaves ? 0 : _stream.VisibleGain() + _stream.AudioGain();
    sum.Add(arrBlock.data(), nTaken, {audio.dblLastGain, dblGain});
    audio.dblLastGain = dblGain;
}

HRESULT AudioMixer::MasterGain(IZrFFrame& _frame, std::u16string_view _gains) {
    if (_gains != gainText) {
        gainText = _gains;
        arrGains.clear();
        for (size_t n = 0; (n = _gains.find_first_of(u"-+.0123456789", n)) != _gains.npos;) {
            const DOUBLE_TEXT number = ReadDouble(_gains.substr(n));
            n += std::max<size_t>(number.nUsed, 1);
            if (number.nUsed > 0) arrGains.push_back(LinearOf(number.dblValue));
        }
    }
    const bool bChanged = arrGains != arrGainsBefore;
    if (arrGains.empty() && !bChanged) return S_FALSE;
    ZRF_FRAME_INFO info;
    if (const HRESULT hr = _frame.ZrFAllGet(&info); Failed(hr)) return hr;
    const ZR_AUD_PROPS& props = info.avProps.audProps;
    if (!AudUsable(props) || info.lpAudio == 0) return S_FALSE;
    const int64_t nSamples = info.cbAudio / AudBlockBytes(props);
    auto* const pbAudio = reinterpret_cast<uint8_t*>(info.lpAudio);
    if (arrGains.size() <= 1 && arrGainsBefore.size() <= 1) {
        gain.Apply(props, pbAudio, nSamples, {GainAt(arrGainsBefore, 0), GainAt(arrGains, 0)});
    } else {
        for (size_t c = 0; c < static_cast<size_t>(props.nChannels); ++c) {
            gain.Apply(props, pbAudio, nSamples, {GainAt(arrGainsBefore, c), GainAt(arrGains, c)},
                       static_cast<int32_t>(c));
        }
    }
    if (bChanged) arrGainsBefore = arrGains;
    return S_OK;
}

}  // namespace zr
