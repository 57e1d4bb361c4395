// The step in which a block goes through the tracks.

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "audio/audio_tracks.h"
#include "audio/sample_convert.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr int64_t kLeastSamples = 5;  // of a frame; fewer are no sound

bool AddsTo(eZrAudioTrackMode _eMode) { return _eMode == eZrAT_Enabled_AddTo || _eMode == eZrAT_Disabled_AddTo; }

}  // namespace

// Which tracks go out, and which go into which. A track that is alone leaves all others out, but those that are added
// to it; of tracks that are alone together all go into the first.
void AudioTracks::ChooseOut() {
    arrOut.clear();
    for (const STEP& step : arrSteps) arrOut.push_back(&step);
    std::sort(arrOut.begin(), arrOut.end(),
              [](const STEP* _a, const STEP* _b) { return _a->look.ComesBefore(_b->look); });
    const auto FirstOf = [&](eZrAudioTrackMode _eMode) {
        const auto it = std::find_if(arrOut.begin(), arrOut.end(),
                                     [&](const STEP* _p) { return _p->look.bValid && _p->look.eMode == _eMode; });
        return it == arrOut.end() ? nullptr : *it;
    };
    const bool bAlone = FirstOf(eZrAT_Exclusive) != nullptr;
    const STEP* const pTogether = FirstOf(eZrAT_Mix_Exclusive);
    for (STEP& step : arrSteps) {
        const CCoZrTrack::LOOK& look = step.look;
        step.nAddTo = -1;
        step.bOut = false;
        if (!look.bValid) continue;
        const bool bOther = look.nAddTo >= 0 && static_cast<size_t>(look.nAddTo) < arrSteps.size() &&
                            look.nAddTo != look.nIndex && arrSteps[static_cast<size_t>(look.nAddTo)].look.bValid;
        if (AddsTo(look.eMode) && bOther) step.nAddTo = look.nAddTo;
        if (look.eMode == eZrAT_Mix_Exclusive && &step != pTogether) step.nAddTo = pTogether->look.nIndex;
        if (bAlone) {
            step.bOut = look.eMode == eZrAT_Exclusive;
        } else if (pTogether) {
            step.bOut = &step == pTogether;
        } else {
            step.bOut = look.eMode == eZrAT_Enabled || look.eMode == eZrAT_Enabled_AddTo;
        }
    }
    std::erase_if(arrOut, [](const STEP* _p) { return !_p->bOut; });
}

// The settings of all tracks for the block.
void AudioTracks::Plan_I(int64_t _nSamples) {
    arrSteps.clear();
    int32_t nFirst = 0;
    for (int32_t i = 0; CCoZrTrack* const pTrack = Listed_I(i); ++i) {
        STEP& step = arrSteps.emplace_back();
        step.pTrack = pTrack;
        step.look = pTrack->Look();
        const CCoZrTrack::SOURCE& source = pTrack->Source();
        const auto nOf = static_cast<size_t>(source.nTrack);
        if (source.bVirtual) {
            step.nFirst = nOf < sizes.size() ? arrSteps[nOf].nFirst : -1;
        } else if (step.look.bValid) {
            step.nFirst = nFirst;
            nFirst += sizes[nOf];
        }
    }
    ChooseOut();
    for (STEP& step : arrSteps) {
        if (!step.look.bValid) {
            step.pTrack->sound.Silence();
            continue;
        }
        const double dblGain = step.look.eMode == eZrAT_Mix_Exclusive ? 1 : step.look.dblAddGain;
        const bool bMeasure = eLevels == Levels::kAlways || bLoudness || step.pTrack->IsSeen();
        if (bMeasure) {
            step.pTrack->sound.LevelsOut().LoudnessSet(bLoudness);
        }
        step.pTrack->sound.Begin(step.pTrack->NextBlock(_nSamples, step.nAddTo, dblGain), bMeasure);
        step.nEffects = TrackSound::Effects(step.pTrack->Node());
    }
}

// Every channel stays where it is: only gains are applied.
bool AudioTracks::IsInPlace(const SOUND_BLOCK& _block) const {
    int32_t nChannels = 0;
    for (const STEP* const pStep : arrOut) {
        const TRACK_BLOCK& block = pStep->pTrack->sound.Now();
        const bool bPlain = !pStep->pTrack->Source().bVirtual && pStep->nFirst == nChannels && block.bNatural &&
                            block.nOutputs == pStep->look.nInputs;
        if (!bPlain) return false;
        nChannels += pStep->look.nInputs;
    }
    const auto IsApart = [](const STEP& _step) {
        return _step.look.bValid && (!_step.bOut || _step.pTrack->sound.Now().nAddTo >= 0 || _step.nEffects != 0);
    };
    return nChannels == _block.props.nChannels && std::none_of(arrSteps.begin(), arrSteps.end(), IsApart);
}

// Where the channels that a track has stand in the input.
PerChannel<int32_t> AudioTracks::ChannelsOf_I(const STEP& _step) const {
    PerChannel<int32_t> arrFrom;
    arrFrom.fill(-1);
    const CCoZrTrack::SOURCE& source = _step.pTrack->Source();
    if (_step.nFirst < 0) return arrFrom;
    const int32_t nSource = sizes[static_cast<size_t>(source.nTrack)];
    for (int32_t c = 0; c < _step.look.nInputs; ++c) {
        const auto i = static_cast<size_t>(c);
        const int32_t nOf = source.channels.empty() ? c : source.channels[i];
        if (nOf < nSource) arrFrom[i] = _step.nFirst + nOf;
    }
    return arrFrom;
}

bool AudioTracks::IsRerouted_I(bool _bInPlace) {
    arrWay.swap(arrWayBefore);
    arrWay.clear();
    if (_bInPlace) return !arrWayBefore.empty();
    for (const STEP* const pStep : arrOut) {
        const TRACK_BLOCK& block = pStep->pTrack->sound.Now();
        arrWay.insert(arrWay.end(), {pStep->look.nInputs, block.nOutputs, pStep->nEffects});
        const PerChannel<int32_t> arrFrom = ChannelsOf_I(*pStep);
        for (int32_t c = 0; c < pStep->look.nInputs; ++c)
            arrWay.push_back(arrFrom[static_cast<size_t>(block.arrInput[static_cast<size_t>(c)])]);
        arrWay.insert(arrWay.end(), block.arrOutput.begin(), block.arrOutput.begin() + block.nOutputs);
    }
    return arrWay != arrWayBefore;
}

void AudioTracks::ProcessApart_I(SOUND_BLOCK* _pBlock) {
    for (const STEP& step : arrSteps)
        if (step.look.bValid) step.pTrack->sound.Take(*_pBlock, ChannelsOf_I(step), step.look.nInputs);
    for (const STEP& step : arrSteps) {
        const int32_t nTo = step.look.bValid ? step.pTrack->sound.Now().nAddTo : -1;
        if (nTo < 0 || static_cast<size_t>(nTo) >= arrSteps.size()) continue;
        const STEP& to = arrSteps[static_cast<size_t>(nTo)];
        if (to.look.bValid && &to != &step) to.pTrack->sound.Add(step.pTrack->sound);
    }
    for (const STEP& step : arrSteps) {
        if (!step.look.bValid) continue;
        step.pTrack->sound.RunEffects(&step.pTrack->Node());
        step.pTrack->sound.Finish();
    }
    Compose(_pBlock);
}

// The tracks that go out, side by side.
void AudioTracks::Compose(SOUND_BLOCK* _pBlock) {
    ChannelList tracks;
    int32_t nChannels = 0;
    for (const STEP* const pStep : arrOut) {
        const int32_t nTrack = pStep->pTrack->sound.Out().props.nChannels;
        if (nTrack == 0 || nChannels + nTrack > kMaxAudioChannels) continue;
        tracks.Add(nTrack);
        nChannels += nTrack;
    }
    SOUND_BLOCK result = *_pBlock;
    result.props.nChannels = nChannels;
    result.props.nTrackSplitBits = SplitBitsOfTracks(tracks);
    MakeRoom(arrResult, &result);
    if (nChannels == 0) result.p = nullptr;
    int32_t nTo = 0;
    for (const STEP* const pStep : arrOut) {
        const SOUND_BLOCK& out = pStep->pTrack->sound.Out();
        if (nTo + out.props.nChannels > kMaxAudioChannels) continue;
        pStep->pTrack->FirstOutputSet(nTo);
        for (int32_t c = 0; c < out.props.nChannels; ++c, ++nTo) CopyChannel(out, c, result, nTo);
    }
    *_pBlock = result;
}

bool AudioTracks::Process(SOUND_BLOCK* _pBlock, bool* _pbRerouted) {
    const ZR_AUD_PROPS& input = _pBlock->props;
    if (_pBlock->nSamples < 1 || !_pBlock->p || !AudUsable(input) || input.nBitsPerSample == 8 ||
        input.nChannels > kMaxAudioChannels) {
        return false;
    }
    bool bNew = false;
    {
        const CRWReadScope scope(lock);
        bNew = !AudSame(props, input);
    }
    if (bNew) {
        const CRWWriteScope scope(lock, "Audio_Process(UpdateTracks_I)");
        UpdateTracks_I(input);
    }
    const CRWReadScope scope(lock);
    Plan_I(_pBlock->nSamples);
    for (size_t i = sizes.size(); i < arrReal.size(); ++i) arrReal[i]->sound.Silence();
    for (const STEP& step : arrSteps) step.pTrack->FirstOutputSet(-1);
    const bool bInPlace = IsInPlace(*_pBlock), bRerouted = IsRerouted_I(bInPlace);
    if (_pbRerouted) *_pbRerouted = bRerouted;
    if (!bInPlace) {
        ProcessApart_I(_pBlock);
        return true;
    }
    for (const STEP* const pStep : arrOut) {
        pStep->pTrack->FirstOutputSet(pStep->nFirst);
        pStep->pTrack->sound.ProcessInPlace(*_pBlock, pStep->nFirst, pStep->look.nInputs);
    }
    if (!split.empty()) _pBlock->props.nTrackSplitBits = SplitBitsOfTracks(sizes);
    return true;
}

void AudioTracks::ProcessSilence(int64_t _rtDuration) {
    SOUND_BLOCK block;
    {
        const CRWReadScope scope(lock);
        block.props = props;
    }
    if (!AudUsable(block.props)) return;
    block.nSamples =
        std::clamp<int64_t>(_rtDuration, 0, kTicksPerSecond) * block.props.nSamplesPerSec / kTicksPerSecond;
    MakeRoom(arrSilence, &block);
    FillSilence(block.props.nBitsPerSample, block.p, static_cast<size_t>(AudBlockBytes(block.props) * block.nSamples));
    Process(&block);
}

void AudioTracks::Silence() {
    const CRWReadScope scope(lock);
    for (const auto* pList : {&arrReal, &arrVirtual})
        for (const TrackPtr& pTrack : *pList) pTrack->sound.Silence();
}

void AudioTracks::Pass(IZrFFrame& _frame, bool _bOff) try {
    const bool bChange = std::exchange(bPasses, _bOff) != _bOff;
    if (bChange && _bOff) Silence();
    const SOUND_BLOCK block = SoundOf(_frame);
    block.p ? edge.Join(block.props, block.p, block.nSamples, bChange && !IsUntouched()) : edge.Reset();
} catch (const std::bad_alloc&) {
}

HRESULT AudioTracks::Audio_Process(IZrFFrame& _frame) try {
    SOUND_BLOCK block = SoundOf(_frame);
    if (block.nSamples < kLeastSamples) {
        ZR_TIME time;
        _frame.ZrFTimeGet(&time);
        if (time.rtEndTime > time.rtStartTime && time.rtStartTime >= 0)
            ProcessSilence(time.rtEndTime - time.rtStartTime);
        return S_FALSE;
    }
    const ZR_AUD_PROPS propsBefore = block.props;
    const uint8_t* const pBefore = block.p;
    bool bRerouted = false;
    if (!Process(&block, &bRerouted)) return S_FALSE;
    bRerouted |= std::exchange(bPasses, false) && !IsUntouched();
    if (!block.p) {
        edge.Reset();
        return _frame.ZrFAudioAlloc(&propsBefore, 0);
    }
    edge.Join(block.props, block.p, block.nSamples, bRerouted);
    if (block.p != pBefore) {
        const auto cb = static_cast<int32_t>(AudBlockBytes(block.props) * block.nSamples);
        return _frame.ZrFAudioSet(&block.props, cb, reinterpret_cast<int64_t>(block.p));
    }
    if (block.props.nTrackSplitBits == propsBefore.nTrackSplitBits) return S_OK;
    ZR_AV_PROPS avProps;
    _frame.ZrFAVPropsGet(&avProps, nullptr);
    avProps.audProps = block.props;
    return _frame.ZrFAVPropsSet(&avProps, nullptr);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

void AudioTracks::AppendLevelsIn(ZR_AUDIO_LOUDNESS* _pAll) {
    const CRWReadScope scope(lock);
    for (size_t i = 0; i < sizes.size(); ++i) {
        ZR_AUDIO_TRACK_LOUDNESS levels;
        arrReal[i]->sound.LevelsIn().Read(&levels, false);
        std::copy(std::begin(levels.arrVUMeter), std::end(levels.arrVUMeter), std::begin(levels.arrVUPeaks));
        AppendLevels(levels, _pAll);
    }
}

}  // namespace zr
