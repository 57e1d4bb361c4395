#include "audio/audio_tracks.h"

#include <algorithm>

#include "attributes/interface_call.h"
#include "audio/layout_map.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

std::u16string NameOf(int32_t _nIndex) {
    std::u16string name = u"Track ";
    AppendInt(name, _nIndex + 1);
    return name;
}

}  // namespace

void AudioTracks::SetUp(XMLNodeBase& _audio, int32_t _nTracks, int32_t _nChannelsPerTrack) {
    const CRWWriteScope scope(lock, "AudioTracks(SetUp)");
    pAudio = XMLNodeRef(&_audio);
    nDefaultTracks = std::clamp(_nTracks, 0, kMostTracks);
    nChannelsPerTrack = std::clamp(_nChannelsPerTrack, 0, kMaxTrackChannels);
    MakeTracks_I(nDefaultTracks);
    Inputs_I();
}

void AudioTracks::OnKey(std::u16string_view _name, const XMLNodeBase& _keys) {
    constexpr std::u16string_view kTracks = u"default_tracks", kChannels = u"channels_per_track";
    const std::u16string_view own = _name.substr(_name.rfind(u':') + 1);  // all of it when there is no path
    if (EqualNoCase(own, kTracks)) AudioTracksSetCount_I(_keys.AttributeOr(kTracks, int32_t{0}));
    if (EqualNoCase(own, kChannels)) AudioChannelsPerTrackSet_I(_keys.AttributeOr(kChannels, int32_t{0}));
}

void AudioTracks::Reset() {
    const CRWWriteScope scope(lock, "AudioTracks(Reset)");
    props = {};
    sizes = {};
    Inputs_I();
}

// --- The list

int32_t AudioTracks::Shown_I() const { return std::max(static_cast<int32_t>(sizes.size()), nDefaultTracks); }

int32_t AudioTracks::ListedCount_I() const { return Shown_I() + static_cast<int32_t>(arrVirtual.size()); }

CCoZrTrack* AudioTracks::Listed_I(int32_t _nIndex) const {
    const int32_t nShown = Shown_I();
    if (_nIndex < 0 || _nIndex >= ListedCount_I()) return nullptr;
    return (_nIndex < nShown ? arrReal[static_cast<size_t>(_nIndex)]
                             : arrVirtual[static_cast<size_t>(_nIndex - nShown)])
        .Get();
}

// A track that the object cannot have has no channels beyond the last that a track may have.
ChannelList AudioTracks::Sizes_I(const ZR_AUD_PROPS& _props) const {
    return CutTracks(
        split.empty() ? TracksOfSplitBits(_props.nChannels, _props.nTrackSplitBits) : ParseTrackSplit(split),
        _props.nChannels);
}

AudioTracks::TrackPtr AudioTracks::MakeTrack_I(const CCoZrTrack::SOURCE& _source, std::u16string_view _desc) {
    TrackPtr pTrack = CCoZrTrack::Make(_source, _desc);
    if (pTrack && pToCome) pTrack->GainsOf(*pToCome);
    return pTrack;
}

void AudioTracks::MakeTracks_I(int32_t _nCount) {
    while (static_cast<int32_t>(arrReal.size()) < _nCount) {
        const auto nIndex = static_cast<int32_t>(arrReal.size());
        TrackPtr pTrack = MakeTrack_I({false, nIndex, {}}, NameOf(nIndex));
        if (!pTrack) throw std::bad_alloc();
        if (pAudio) pAudio->InsertChildNode(XMLNodeRef(&pTrack->Node()));
        arrReal.push_back(std::move(pTrack));
    }
}

void AudioTracks::UpdateTracks_I(const ZR_AUD_PROPS& _props) {
    props = _props;
    sizes = Sizes_I(_props);
    MakeTracks_I(static_cast<int32_t>(sizes.size()));
    Inputs_I();
}

// What each track gets of the input.
void AudioTracks::Inputs_I() {
    const auto nValid = static_cast<int32_t>(sizes.size());
    const int32_t nShown = Shown_I();
    for (int32_t i = 0; i < static_cast<int32_t>(arrReal.size()); ++i) {
        const auto n = static_cast<size_t>(i);
        arrReal[n]->InputSet(i, i < nValid, i < nValid ? sizes[n] : 0, nChannelsPerTrack, props.nSamplesPerSec);
    }
    for (size_t i = 0; i < arrVirtual.size(); ++i) {
        const CCoZrTrack::SOURCE& source = arrVirtual[i]->Source();
        const auto nChosen = static_cast<int32_t>(source.channels.size());
        const bool bThere = source.nTrack < nValid;
        const int32_t nInputs = nChosen > 0 ? nChosen : bThere ? sizes[static_cast<size_t>(source.nTrack)] : 0;
        arrVirtual[i]->InputSet(nShown + static_cast<int32_t>(i), nInputs > 0 && nValid > 0, nInputs, nChannelsPerTrack,
                                props.nSamplesPerSec);
    }
}

HRESULT AudioTracks::Add_I(const CCoZrTrack::SOURCE& _source, std::u16string_view _desc, TrackPtr* _ppTrack) {
    if (ListedCount_I() >= kMostTracks) return E_INVALIDARG;
    TrackPtr pTrack = MakeTrack_I(_source, _desc.empty() ? NameOf(ListedCount_I()) : _desc);
    if (!pTrack) return E_OUTOFMEMORY;
    arrVirtual.push_back(pTrack);
    if (pAudio) pAudio->InsertChildNode(XMLNodeRef(&pTrack->Node()));
    Inputs_I();
    *_ppTrack = std::move(pTrack);
    return S_OK;
}

// --- IZrAudio

HRESULT AudioTracks::AudioSplitStringGet_I(BSTR* _pbsSplitString, int32_t* _pnChannels) {
    if (!_pbsSplitString && !_pnChannels) return E_POINTER;
    const CRWReadScope scope(lock);
    if (_pnChannels) *_pnChannels = props.nChannels;
    if (!_pbsSplitString) return S_OK;
    return GiveText(sizes.empty() ? split : TrackSplitText(sizes), _pbsSplitString);
}

HRESULT AudioTracks::AudioSplitStringSet_I(const char16_t* _bsSplitString) {
    const ChannelList wanted = ParseTrackSplit(TextArgument(_bsSplitString));
    if (wanted.empty() && !TextArgument(_bsSplitString).empty()) return E_INVALIDARG;
    bTouched.store(true, std::memory_order_relaxed);
    return InterfaceCall([&] {
        const CRWWriteScope scope(lock, "AudioSplitStringSet");
        split = TrackSplitText(wanted);
        UpdateTracks_I(ZR_AUD_PROPS(props));
        return S_OK;
    });
}

HRESULT AudioTracks::AudioTracksSetCount_I(int32_t _nTracks) {
    if (_nTracks < 0 || _nTracks > kMostTracks) return E_INVALIDARG;
    return InterfaceCall([&] {
        const CRWWriteScope scope(lock, "AudioTracksSetCount");
        MakeTracks_I(_nTracks);
        nDefaultTracks = _nTracks;
        Inputs_I();
        return S_OK;
    });
}

HRESULT AudioTracks::AudioTracksGetCount_I(int32_t* _pnTracks) {
    if (!_pnTracks) return E_POINTER;
    const CRWReadScope scope(lock);
    *_pnTracks = ListedCount_I();
    return S_OK;
}

HRESULT AudioTracks::AudioTrackGetByIndex_I(int32_t _nIndex, BSTR* _pbsDesc, IZrAudioTrack** _ppTrack) {
    if (!_pbsDesc && !_ppTrack) return E_POINTER;
    if (_pbsDesc) *_pbsDesc = nullptr;
    if (_ppTrack) *_ppTrack = nullptr;
    const CRWReadScope scope(lock);
    CCoZrTrack* const pTrack = Listed_I(_nIndex);
    if (!pTrack) return ZR_E_BAD_INDEX;
    if (_pbsDesc) {
        if (const HRESULT hr = GiveText(pTrack->Desc(), _pbsDesc); Failed(hr)) return hr;
    }
    if (!_ppTrack) return S_OK;
    bTouched.store(true, std::memory_order_relaxed);
    pTrack->MarkSeen();
    pTrack->AddRef();
    *_ppTrack = pTrack;
    return S_OK;
}

HRESULT AudioTracks::AudioChannelsPerTrackSet_I(int32_t _nChannelsPerTrack) {
    if (_nChannelsPerTrack < 0 || _nChannelsPerTrack > kMaxTrackChannels) return E_INVALIDARG;
    if (_nChannelsPerTrack > 0) bTouched.store(true, std::memory_order_relaxed);
    const CRWWriteScope scope(lock, "AudioChannelsPerTrackSet");
    nChannelsPerTrack = _nChannelsPerTrack;
    for (const auto* pList : {&arrReal, &arrVirtual})
        for (const TrackPtr& pTrack : *pList) pTrack->DefaultOutputsSet(_nChannelsPerTrack);
    return S_OK;
}

HRESULT AudioTracks::AudioChannelsPerTrackGet_I(int32_t* _pnChannelsPerTrack) {
    if (!_pnChannelsPerTrack) return E_POINTER;
    const CRWReadScope scope(lock);
    *_pnChannelsPerTrack = nChannelsPerTrack;
    return S_OK;
}

HRESULT AudioTracks::AudioTrackAdd_I(int32_t _nSourceTrack, const char16_t* _bsUseChannels, const char16_t* _bsDesc,
                                     IZrAudioTrack** _ppTrack) {
    if (_ppTrack) *_ppTrack = nullptr;
    if (_nSourceTrack < 0) return ZR_E_BAD_INDEX;
    const std::u16string_view chosen = TextArgument(_bsUseChannels);
    const CCoZrTrack::SOURCE source{true, _nSourceTrack, ParseChannelList(chosen)};
    if (source.channels.empty() != chosen.empty() || source.channels.size() > size_t{kMaxTrackChannels})
        return E_INVALIDARG;
    for (const int32_t n : source.channels)
        if (n >= kMaxTrackChannels) return ZR_E_BAD_INDEX;
    return InterfaceCall([&] {
        TrackPtr pTrack;
        {
            const CRWWriteScope scope(lock, "AudioTrackAdd");
            if (const HRESULT hr = Add_I(source, TextArgument(_bsDesc), &pTrack); Failed(hr)) return hr;
        }
        bTouched.store(true, std::memory_order_relaxed);
        pTrack->MarkSeen();
        if (_ppTrack) *_ppTrack = pTrack.Detach();
        return S_OK;
    });
}

HRESULT AudioTracks::AudioTrackRemove_I(IZrAudioTrack* _pTrack) {
    TrackPtr pGone;
    const CRWWriteScope scope(lock, "AudioTrackRemove");
    const auto it = std::find_if(arrVirtual.begin(), arrVirtual.end(),
                                 [&](const TrackPtr& _p) { return static_cast<IZrAudioTrack*>(_p.Get()) == _pTrack; });
    if (!_pTrack || it == arrVirtual.end()) return E_INVALIDARG;
    pGone = std::move(*it);
    arrVirtual.erase(it);
    pGone->Node().Detach();
    Inputs_I();
    return S_OK;
}

template <class DO>
HRESULT AudioTracks::ForAllTracks(const DO& _do) {
    bTouched.store(true, std::memory_order_relaxed);
    const CRWWriteScope scope(lock, "AudioTracks(ForAllTracks)");
    if (!pToCome) pToCome = CCoZrTrack::Make({}, {});
    if (!pToCome) return E_OUTOFMEMORY;
    if (const HRESULT hr = _do(*pToCome); Failed(hr)) return hr;
    for (const auto* pList : {&arrReal, &arrVirtual})
        for (const TrackPtr& pTrack : *pList) _do(*pTrack);
    return S_OK;
}

HRESULT AudioTracks::AllTracksGainSet_I(int32_t _nChannel, double _dblGain, double _dblTimeForChange) {
    return ForAllTracks(
        [&](CCoZrTrack& _track) { return _track.TrackGainSet(_nChannel, _dblGain, _dblTimeForChange); });
}

HRESULT AudioTracks::AllTracksMuteSet_I(int32_t _nChannel, int32_t _bMute, double _dblTimeForChange) {
    return ForAllTracks([&](CCoZrTrack& _track) { return _track.TrackMuteSet(_nChannel, _bMute, _dblTimeForChange); });
}

void AudioTracks::GainsSet(std::span<const double> _arrDb) {
    bTouched.store(true, std::memory_order_relaxed);
    const auto nCount = std::min(static_cast<int32_t>(_arrDb.size()), kMostTracks);
    const CRWWriteScope scope(lock, "AudioTracks(GainsSet)");
    MakeTracks_I(nCount);
    Inputs_I();
    for (size_t i = 0; i < static_cast<size_t>(nCount); ++i) arrReal[i]->TrackGainSet(-1, _arrDb[i], 0);
}

}  // namespace zr
