#include "mixer/stream_audio.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "media/aud_props.h"
#include "media/frame_time.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr int32_t kLeastBytes = 5;
constexpr int64_t kSlackSamples = 100'000;  // of a source that is pulled
constexpr int64_t kWrongSizeSamples = 32;   // that a block may differ from a frame's
constexpr int64_t kSlackTicks = 10'000;     // that a frame's sound may be late
constexpr double kSameRate = 0.01;
constexpr int64_t kPadSamples = 256;
constexpr ZR_AUD_PROPS kDefaultAudio{2, 48000, 16, 0};

int64_t SamplesOf(int64_t _rtDuration, const ZR_AUD_PROPS& _props) {
    return _rtDuration * _props.nSamplesPerSec / kTicksPerSecond;
}

// Silence before the first sound, so that the output never lacks what the next block brings. Blocks of the source and
// of the output have lengths that are rounded each in its own way; a source that pushes may be a little late; and one
// whose frames have another length shows a frame, and with it brings its sound, when up to an output frame of it is
// due.
int64_t Lead(const ZR_AUD_PROPS& _output, int64_t _rtFrame, bool _bSync, bool _bSameRate) {
    constexpr int64_t kRounding = 4;
    if (_bSync) return kRounding;
    return kRounding + SamplesOf(_bSameRate ? kSlackTicks : _rtFrame, _output);
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

void StreamAudio::ReleaseNumbers() {
    for (const IStatisticsSink::Handle handle :
         {counters.nDropOnBreak, counters.nWrongSize, counters.nFake, counters.nOverflow, counters.nReset,
          counters.nNotEnough, counters.nSilence})
        statistics.Release(handle);
}

bool StreamAudio::IsUsable(const STREAM_SOUND& _sound) {
    return AudUsable(_sound.audOutput) && AudUsable(_sound.props) && _sound.pbAudio && _sound.cbAudio >= kLeastBytes &&
           (_sound.eFlags & eZrFF_Pause) != eZrFF_Pause;
}

void StreamAudio::Put(const STREAM_SOUND& _sound) {
    const int64_t rtFrame = FrameDurationOfRate(_sound.vidOutput.dblRate).rtDuration;
    if (IsUsable(_sound)) PrepareConverter(_sound);
    MutexLock lock(mtx);
    if (IsUsable(_sound)) {
        PutSamples(_sound, rtFrame);
        return;
    }
    // A block that is too short says nothing; a frame without sound, or for an output without, ends what is held.
    const bool bHasSound = AudUsable(_sound.audOutput) && AudUsable(_sound.props);
    if ((bHasSound && (_sound.eFlags & eZrFF_Pause) != eZrFF_Pause) || buffer.Fill() == 0) return;
    Drop();
    statistics.AddCount(counters.nReset, 1);
}

// Filters are computed here, where neither the mix nor anybody else waits. Without memory the conversion will say so.
void StreamAudio::PrepareConverter(const STREAM_SOUND& _sound) try {
    double dblNext = 1;
    {
        MutexLock lock(mtx);
        dblNext = dblScale;
    }
    ZrAudioConverter::Prepare(_sound.props, _sound.audOutput, dblNext);
} catch (const std::bad_alloc&) {
}

void StreamAudio::PutSamples(const STREAM_SOUND& _sound, int64_t _rtFrame) {
    // Which channel goes where is found out by the mix, track by track.
    ZR_AUD_PROPS output = AudUsable(_sound.audOutput) ? _sound.audOutput : kDefaultAudio;
    output.nChannels = _sound.props.nChannels;
    output.nTrackSplitBits = _sound.props.nTrackSplitBits;
    Format(output);
    if (IsPureBreak(_sound.eFlags)) {
        if (const int64_t nHeld = buffer.Fill(); nHeld > 0) statistics.AddCount(counters.nDropOnBreak, nHeld);
        Drop();
    }
    const int64_t nSamples = _sound.cbAudio / AudBlockBytes(_sound.props);
    if (std::abs(nSamples - SamplesOf(_rtFrame, _sound.props)) >= kWrongSizeSamples)
        statistics.AddCount(counters.nWrongSize, 1);

    const bool bSameRate = std::fabs(_sound.dblSourceRate - _sound.vidOutput.dblRate) <= kSameRate;
    int64_t nLimit = SamplesOf(_rtFrame, output) + kSlackSamples;
    if (!_sound.bSync) nLimit = SamplesOf(_rtFrame * (bSameRate ? 3 : 4), output) + kWrongSizeSamples;
    if (const int64_t nHeld = buffer.Fill(); nHeld > nLimit + nReserve && _sound.bHasVideo) {
        statistics.AddCount(counters.nOverflow, nHeld);
        Drop();
    }
    int64_t nSilence = Padding(_sound, _rtFrame);
    bResumed = false;
    nLimit += nSilence;
    if (nSilence > 0) statistics.AddCount(counters.nFake, 1);
    if (buffer.Fill() == 0) {
        nReserve = Lead(output, _rtFrame, _sound.bSync, bSameRate) + SamplesOf(_sound.rtLater, output);
        nSilence = std::max(nSilence, nReserve);
    }
    if (nSilence > 0) buffer.PutAudio(output, nullptr, nSilence * AudBlockBytes(output), true, true);
    // A block for which there is no memory is lost; the mix counts it as missing.
    buffer.PutAudio(_sound.props, _sound.pbAudio, nSamples * AudBlockBytes(_sound.props), false, true, dblScale);
    FollowClock(_sound, _rtFrame, nLimit);
}

// Only a live source that is not asked for its frames has a clock that one must follow; any other waits for the mixer.
void StreamAudio::FollowClock(const STREAM_SOUND& _sound, int64_t _rtFrame, int64_t _nLimit) {
    if (_sound.bSync || !(_sound.eFlags & eZrFF_Live)) return;
    const int64_t nSamples = _sound.cbAudio / AudBlockBytes(_sound.props);
    const int64_t rtBlock = nSamples * kTicksPerSecond / _sound.props.nSamplesPerSec;
    const int64_t rtLimit = _nLimit * kTicksPerSecond / std::max(buffer.Format().nSamplesPerSec, 1);
    dblScale = drift.Next(buffer.Duration(), rtBlock, rtBlock + _rtFrame / 4, rtLimit - _rtFrame / 2);
}

// What was held does not go on.
void StreamAudio::Drop() {
    buffer.Clear(false);
    nReserve = 0;
    bBroken = true;
    drift.Reset();
    dblScale = 1;
}

// The rate and bits of the output, with the channels of what is held.
ZR_AUD_PROPS StreamAudio::FormatFor(const ZR_AUD_PROPS& _output) const {
    ZR_AUD_PROPS format = _output;
    if (const ZR_AUD_PROPS held = buffer.Format(); AudUsable(held)) {
        format.nChannels = held.nChannels;
        format.nTrackSplitBits = held.nTrackSplitBits;
    }
    return format;
}

// Sound of other channels takes another way through the mix, so that it does not go on from what was taken.
void StreamAudio::Format(const ZR_AUD_PROPS& _props) {
    const ZR_AUD_PROPS before = buffer.Format();
    bBroken |=
        AudUsable(before) && (before.nChannels != _props.nChannels || before.nTrackSplitBits != _props.nTrackSplitBits);
    buffer.FormatSet(_props);
}

int64_t StreamAudio::Held(const ZR_AUD_PROPS& _output) {
    MutexLock lock(mtx);
    Format(FormatFor(_output));
    return buffer.Fill();
}

SOUND_BLOCK StreamAudio::Take(const ZR_AUD_PROPS& _output, int64_t _nSamples, std::vector<uint8_t>& _arrMemory,
                              bool* _pbBroken) {
    SOUND_BLOCK block;
    MutexLock lock(mtx);
    block = {FormatFor(_output), nullptr, _nSamples};
    Format(block.props);
    MakeRoom(_arrMemory, &block);
    block.nSamples = buffer.GetAudio(block.p, _nSamples);
    *_pbBroken = std::exchange(bBroken, false);
    return block;
}

void StreamAudio::Skip(const ZR_AUD_PROPS& _output, int64_t _nSamples) {
    MutexLock lock(mtx);
    Format(FormatFor(_output));
    bBroken |= buffer.GetAudio(nullptr, _nSamples) > 0;
}

// Silence that leads in the sound of a stream of another rate, which is otherwise short of some whenever the rate
// conversion repeats or drops a picture.
int64_t StreamAudio::Padding(const STREAM_SOUND& _sound, int64_t _rtFrame) const {
    const double dblOutput = _sound.vidOutput.dblRate;
    const double dblSource = _sound.dblSourceRate;
    if (_sound.bSync || std::fabs(dblSource - dblOutput) <= kSameRate) return 0;
    if (!bResumed && !(_sound.eFlags & eZrFF_Break) && !_sound.bRateStep) return 0;
    const int64_t nHalfFrame = SamplesOf(_rtFrame / 2, _sound.audOutput);
    if (dblSource > dblOutput) return nHalfFrame;
    if (dblSource == 25.0) return 0;
    return bResumed ? nHalfFrame : kPadSamples;
}

int64_t StreamAudio::HeldTime() {
    MutexLock lock(mtx);
    return buffer.Duration() - nReserve * kTicksPerSecond / std::max(buffer.Format().nSamplesPerSec, 1);
}

void StreamAudio::MarkResumed() {
    MutexLock lock(mtx);
    bResumed = true;
}

void StreamAudio::Clear() {
    MutexLock lock(mtx);
    Drop();
}

}  // namespace zr
