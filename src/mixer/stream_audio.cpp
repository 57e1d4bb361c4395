#include "mixer/stream_audio.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "media/aud_props.h"
#include "media/frame_time.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr int32_t kLeastBytes = 5;
constexpr int64_t kSlackSamples = 100'000;  // of a source that is pulled
constexpr int64_t kWrongSizeSamples = 32;   // that a block may differ from a frame's
constexpr int64_t kSlackTicks = 10'000;     // that a frame's sound may be short of
constexpr int64_t kMostHeld = 2'000'000;    // ticks, before the producer is to wait
constexpr double kSameRate = 0.01;
constexpr int64_t kPadSamples = 256;

int64_t SamplesOf(int64_t _rtDuration, const ZR_AUD_PROPS& _props) {
    return _rtDuration * _props.nSamplesPerSec / kTicksPerSecond;
}

bool IsPureBreak(eZrFrameFlags _eFlags) { return (_eFlags & 0x31u) == eZrFF_Break; }

}  // namespace

StreamAudio::StreamAudio(const std::u16string& _id, IStatisticsSink& _statistics)
    : statistics(_statistics), counters([&] {
          const auto Counter = [&](const char16_t* _szWhat) {
              return _statistics.Resolve((u"audio." + _id + u"." + _szWhat).c_str());
          };
          return COUNTERS{Counter(u"drop_on_break"), Counter(u"wrong_size"), Counter(u"fake"),   Counter(u"overflow"),
                          Counter(u"reset"),         Counter(u"not_enough"), Counter(u"silence")};
      }()) {}

bool StreamAudio::IsUsable(const STREAM_SOUND& _sound) {
    return AudUsable(_sound.audOutput) && AudUsable(_sound.props) && _sound.pbAudio && _sound.cbAudio >= kLeastBytes &&
           (_sound.eFlags & eZrFF_Pause) != eZrFF_Pause;
}

void StreamAudio::Put(const STREAM_SOUND& _sound) {
    const int64_t rtFrame = FrameDurationOfRate(_sound.vidOutput.dblRate).rtDuration;
    MutexLock lock(mtx);
    if (IsUsable(_sound)) {
        PutSamples(_sound, rtFrame);
        UpdateEvents(rtFrame);
        return;
    }
    // A block that is too short says nothing; a frame without sound, or for an output without, ends what is held.
    const bool bHasSound = AudUsable(_sound.audOutput) && AudUsable(_sound.props);
    if ((bHasSound && (_sound.eFlags & eZrFF_Pause) != eZrFF_Pause) || ring.Count() == 0) return;
    statistics.AddCount(counters.nReset, 1);
    ring.Restart(1);
    evWanted.Set();
    evRoom.Set();
}

void StreamAudio::PutSamples(const STREAM_SOUND& _sound, int64_t _rtFrame) {
    if (IsPureBreak(_sound.eFlags)) {
        if (ring.Count() > 0) statistics.AddCount(counters.nDropOnBreak, ring.Count());
        ring.Restart(1);
        evWanted.Reset();
        evRoom.Set();
    }
    const int64_t nFrameSamples = SamplesOf(_rtFrame, _sound.props);
    const int64_t nSamples = _sound.cbAudio / AudBlockBytes(_sound.props);
    if (std::abs(nSamples - nFrameSamples) >= kWrongSizeSamples) statistics.AddCount(counters.nWrongSize, 1);

    int64_t nLimit = nFrameSamples + kSlackSamples;
    if (!_sound.bSync) {
        const bool bSameRate = std::fabs(_sound.dblSourceRate - _sound.vidOutput.dblRate) <= kSameRate;
        nLimit = SamplesOf(_rtFrame * (bSameRate ? 3 : 4), _sound.props) + kWrongSizeSamples;
    }
    const int64_t nPad = Padding(_sound, _rtFrame);
    bResumed = false;
    nLimit += nPad;
    if (nPad > 0) {
        statistics.AddCount(counters.nFake, 1);
        Append(_sound, nullptr, nPad);
    }
    if (ring.Count() > nLimit && _sound.bHasVideo) {
        statistics.AddCount(counters.nOverflow, ring.Count());
        ring.Restart(1);
    }
    Append(_sound, _sound.pbAudio, nSamples);
}

// Silence that leads in the sound of a stream of another rate, which is otherwise short of some whenever the rate
// conversion repeats or drops a picture.
int64_t StreamAudio::Padding(const STREAM_SOUND& _sound, int64_t _rtFrame) const {
    const double dblOutput = _sound.vidOutput.dblRate;
    const double dblSource = _sound.dblSourceRate;
    if (_sound.bSync || std::fabs(dblSource - dblOutput) <= kSameRate) return 0;
    if (!bResumed && !(_sound.eFlags & eZrFF_Break) && !_sound.bRateStep) return 0;
    const int64_t nHalfFrame = SamplesOf(_rtFrame / 2, _sound.props);
    if (dblSource > dblOutput) return nHalfFrame;
    if (dblSource == 25.0) return 0;
    return bResumed ? nHalfFrame : kPadSamples;
}

void StreamAudio::Append(const STREAM_SOUND& _sound, const uint8_t* _p, int64_t _nSamples) try {
    const int64_t cbBlock = AudBlockBytes(_sound.props);
    const bool bSame = AudBlockBytes(ringProps) == cbBlock && ringProps.nBitsPerSample == _sound.props.nBitsPerSample &&
                       ringProps.nSamplesPerSec == _sound.props.nSamplesPerSec;
    if (!bSame || ring.Count() == 0) ring.Restart(static_cast<size_t>(cbBlock));
    ringProps = _sound.props;
    ring.Append(_p, _nSamples);
} catch (const std::bad_alloc&) {
    // This block is lost; the mix counts it as missing.
}

int64_t StreamAudio::Held() const {
    return ring.Count() == 0 ? 0 : ring.Count() * kTicksPerSecond / ringProps.nSamplesPerSec;
}

void StreamAudio::UpdateEvents(int64_t _rtFrame) {
    const int64_t rtHeld = Held();
    if (rtHeld + kSlackTicks < _rtFrame) {
        evWanted.Reset();
        evRoom.Set();
        return;
    }
    evWanted.Set();
    if (rtHeld > std::max(2 * _rtFrame, kMostHeld)) {
        evRoom.Reset();
    } else {
        evRoom.Set();
    }
}

void StreamAudio::MarkResumed() {
    MutexLock lock(mtx);
    bResumed = true;
}

void StreamAudio::Clear() {
    MutexLock lock(mtx);
    ring.Restart(1);
    evWanted.Set();
    evRoom.Set();
}

}  // namespace zr
