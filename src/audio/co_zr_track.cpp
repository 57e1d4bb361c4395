#include "audio/co_zr_track.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "attributes/interface_call.h"
#include "audio/gain_text.h"

namespace zr {
namespace {

constexpr int32_t kRateUnknown = 48000;

bool IsChannel(int32_t _n) { return _n >= 0 && _n < kMaxTrackChannels; }

std::atomic<uint32_t> nOrdersSet{0};

}  // namespace

CCoZrTrack::CCoZrTrack(const SOURCE& _source, std::u16string_view _desc)
    : IZrPropsImpl<CCoZrTrack>(CoXMLNode::Create(u"track"), *this), source(_source), desc(_desc) {
    MutexLock lock(mtx);
    for (size_t c = 0; c < kMaxTrackChannels; ++c) ResetChannel_I(c);
}

ZrPtr<CCoZrTrack> CCoZrTrack::Make(const SOURCE& _source, std::u16string_view _desc) try {
    return ZrPtr<CCoZrTrack>::Attach(new CCoZrTrack(_source, _desc));
} catch (const std::bad_alloc&) {
    return {};
}

uint32_t CCoZrTrack::Release() {
    const uint32_t nLeft = references.Drop();
    if (nLeft == 0) delete this;
    return nLeft;
}

void CCoZrTrack::ResetChannel_I(size_t _nChannel) {
    arrGains[_nChannel] = arrGains[kToCome];
    arrInput[_nChannel] = arrOutput[_nChannel] = static_cast<int32_t>(_nChannel);
}

// --- For the list

void CCoZrTrack::InputSet(int32_t _nIndex, bool _bValid, int32_t _nInputs, int32_t _nDefaultOutputs, int32_t _nRate) {
    MutexLock lock(mtx);
    look.nIndex = _nIndex;
    look.bValid = _bValid;
    nDefaultOutputs = _nDefaultOutputs;
    nRate = _nRate;
    if (!_bValid) return;  // its settings wait for it to come back
    if (look.nInputs > 0) {
        for (int32_t c = look.nInputs; c < _nInputs; ++c) ResetChannel_I(static_cast<size_t>(c));
    }
    look.nInputs = _nInputs;
    bNatural = IsNatural_I();
}

void CCoZrTrack::DefaultOutputsSet(int32_t _nDefaultOutputs) {
    MutexLock lock(mtx);
    nDefaultOutputs = _nDefaultOutputs;
}

// One after the other: both locks have one rank.
void CCoZrTrack::GainsOf(const CCoZrTrack& _other) {
    std::array<ChannelGain, kMaxTrackChannels + 1> arr;
    {
        MutexLock lock(_other.mtx);
        arr = _other.arrGains;
    }
    MutexLock lock(mtx);
    for (size_t c = 0; c < arr.size(); ++c) {
        arrGains[c].Set(arr[c].Gain(), 0, 0);
        arrGains[c].MuteSet(arr[c].IsMuted(), 0, 0);
    }
}

bool CCoZrTrack::IsNatural_I() const {
    for (size_t c = 0; c < kMaxTrackChannels; ++c)
        if (arrInput[c] != static_cast<int32_t>(c) || arrOutput[c] != arrInput[c]) return false;
    return true;
}

int32_t CCoZrTrack::Outputs_I() const {
    if (nOutputsSet > 0) return nOutputsSet;
    return nDefaultOutputs > 0 ? nDefaultOutputs : look.nInputs;
}

int32_t CCoZrTrack::Rate_I() const { return nRate > 0 ? nRate : kRateUnknown; }

// --- Audio thread

CCoZrTrack::LOOK CCoZrTrack::Look() const {
    MutexLock lock(mtx);
    return look;
}

TRACK_BLOCK CCoZrTrack::NextBlock(int64_t _nSamples, int32_t _nAddTo, double _dblAddGain) {
    TRACK_BLOCK block;
    MutexLock lock(mtx);
    for (size_t c = 0; c < kMaxTrackChannels; ++c) block.arrRamps[c] = arrGains[c].NextBlock(_nSamples);
    arrGains[kToCome].NextBlock(_nSamples);
    block.arrInput = arrInput;
    block.arrOutput = arrOutput;
    block.bNatural = bNatural;
    block.nOutputs = Outputs_I();
    const double dblWanted = _nAddTo < 0 ? 0 : _dblAddGain;
    if (!bBegun) {
        nAddedTo = _nAddTo;
        dblAdded = dblWanted;
    }
    bBegun = true;
    // Away from another track first: it takes one block to leave it.
    const bool bStays = nAddedTo == _nAddTo || dblAdded == 0;
    if (bStays && _nAddTo >= 0) nAddedTo = _nAddTo;
    const double dblEnd = bStays ? dblWanted : 0;
    block.nAddTo = nAddedTo;
    block.addGain = {dblAdded, dblEnd};
    dblAdded = dblEnd;
    if (dblAdded == 0 && block.addGain.IsSilent()) block.nAddTo = -1;
    return block;
}

// --- IZrAudioTrack

HRESULT CCoZrTrack::TrackLoudnessGet(ZR_AUDIO_TRACK_LOUDNESS* _pAudioLoudnessOrg,
                                     ZR_AUDIO_TRACK_LOUDNESS* _pAudioLoudnessOut) {
    if (!_pAudioLoudnessOrg && !_pAudioLoudnessOut) return E_POINTER;
    MarkSeen();
    if (_pAudioLoudnessOrg) sound.LevelsIn().Read(_pAudioLoudnessOrg);
    if (_pAudioLoudnessOut) sound.LevelsOut().Read(_pAudioLoudnessOut);
    return S_OK;
}

HRESULT CCoZrTrack::TrackModeSet(eZrAudioTrackMode _eMode, int32_t _nAddToTrack, double _dblAddGain) {
    if (_eMode < eZrAT_Disabled || _eMode > eZrAT_Disabled_AddTo) return E_INVALIDARG;
    const bool bAddTo = _eMode == eZrAT_Enabled_AddTo || _eMode == eZrAT_Disabled_AddTo;
    if (bAddTo && (std::isnan(_dblAddGain) || _nAddToTrack < 0)) return E_INVALIDARG;
    MutexLock lock(mtx);
    look.eMode = _eMode;
    look.nAddTo = bAddTo ? _nAddToTrack : -1;
    look.dblAddGain = bAddTo ? LinearOfDb(_dblAddGain) : 1;
    return S_OK;
}

HRESULT CCoZrTrack::TrackModeGet(eZrAudioTrackMode* _peMode, int32_t* _pnAddToTrack, double* _pdblAddGain) {
    if (!_peMode && !_pnAddToTrack && !_pdblAddGain) return E_POINTER;
    MutexLock lock(mtx);
    if (_peMode) *_peMode = look.eMode;
    if (_pnAddToTrack) *_pnAddToTrack = look.nAddTo;
    if (_pdblAddGain) *_pdblAddGain = DbOfLinear(look.dblAddGain);
    return S_OK;
}

HRESULT CCoZrTrack::TrackIsVirtual(int32_t* _pbVirtual, int32_t* _pnSourceTrack, BSTR* _pbsChannelsSet) {
    if (!_pbVirtual && !_pnSourceTrack && !_pbsChannelsSet) return E_POINTER;
    if (_pbVirtual) *_pbVirtual = source.bVirtual;
    if (_pnSourceTrack) *_pnSourceTrack = source.nTrack;
    if (!_pbsChannelsSet) return S_OK;
    return InterfaceCall([&] { return GiveText(TrackSplitText(source.channels), _pbsChannelsSet); });
}

HRESULT CCoZrTrack::TrackChannelsGet(int32_t* _pnInputChannels, int32_t* _pnOutputChannelIdx,
                                     int32_t* _pnOutputChannels) {
    if (!_pnInputChannels && !_pnOutputChannelIdx && !_pnOutputChannels) return E_POINTER;
    MutexLock lock(mtx);
    if (_pnInputChannels) *_pnInputChannels = look.nInputs;
    if (_pnOutputChannelIdx) *_pnOutputChannelIdx = nFirstOutput.load(std::memory_order_relaxed);
    if (_pnOutputChannels) *_pnOutputChannels = Outputs_I();
    return S_OK;
}

HRESULT CCoZrTrack::TrackChannelsSet(int32_t _nOutputChannels) {
    if (_nOutputChannels < 0) return E_INVALIDARG;
    if (_nOutputChannels > kMaxTrackChannels) return ZR_E_BAD_INDEX;
    MutexLock lock(mtx);
    nOutputsSet = _nOutputChannels;
    return S_OK;
}

HRESULT CCoZrTrack::TrackOrderSet(int32_t _nOrder) {
    if (_nOrder < 0) return E_INVALIDARG;
    MutexLock lock(mtx);
    look.nOrder = _nOrder;
    look.nOrderSet = ++nOrdersSet;
    return S_OK;
}

HRESULT CCoZrTrack::TrackOrderGet(int32_t* _pnOrder) {
    if (!_pnOrder) return E_POINTER;
    MutexLock lock(mtx);
    *_pnOrder = look.Order();
    return S_OK;
}

HRESULT CCoZrTrack::TrackChannelOrderSet(int32_t _bInput, int32_t _nChannelIdx, int32_t _nOrder) {
    if (!IsChannel(_nChannelIdx) || !IsChannel(_nOrder)) return ZR_E_BAD_INDEX;
    MutexLock lock(mtx);
    (_bInput ? arrInput : arrOutput)[static_cast<size_t>(_nChannelIdx)] = _nOrder;
    bNatural = IsNatural_I();
    return S_OK;
}

HRESULT CCoZrTrack::TrackChannelOrderGet(int32_t _bInput, int32_t _nChannelIdx, int32_t* _pnOrder) {
    if (!_pnOrder) return E_POINTER;
    if (!IsChannel(_nChannelIdx)) return ZR_E_BAD_INDEX;
    MutexLock lock(mtx);
    *_pnOrder = (_bInput ? arrInput : arrOutput)[static_cast<size_t>(_nChannelIdx)];
    return S_OK;
}

template <class DO>
HRESULT CCoZrTrack::ForChannels_I(int32_t _nChannel, const DO& _do) {
    if (_nChannel == -1) {
        for (ChannelGain& gain : arrGains) _do(gain);
        return S_OK;
    }
    if (!IsChannel(_nChannel)) return ZR_E_BAD_INDEX;
    _do(arrGains[static_cast<size_t>(_nChannel)]);
    return S_OK;
}

HRESULT CCoZrTrack::TrackGainSet(int32_t _nChannel, double _dblGain, double _dblTimeForChange) {
    if (std::isnan(_dblGain) || !std::isfinite(_dblTimeForChange)) return E_INVALIDARG;
    const double dblGain = LinearOfDb(_dblGain);
    MutexLock lock(mtx);
    const int32_t nRateNow = Rate_I();
    return ForChannels_I(_nChannel, [&](ChannelGain& _gain) { _gain.Set(dblGain, _dblTimeForChange, nRateNow); });
}

HRESULT CCoZrTrack::TrackGainGet(int32_t _nChannel, double* _pdblGain) {
    if (!_pdblGain) return E_POINTER;
    MutexLock lock(mtx);
    return ForChannels_I(_nChannel == -1 ? 0 : _nChannel,
                         [&](const ChannelGain& _gain) { *_pdblGain = DbOfLinear(_gain.Gain()); });
}

HRESULT CCoZrTrack::TrackMuteSet(int32_t _nChannel, int32_t _bMute, double _dblTimeForChange) {
    if (!std::isfinite(_dblTimeForChange)) return E_INVALIDARG;
    MutexLock lock(mtx);
    const int32_t nRateNow = Rate_I();
    return ForChannels_I(_nChannel,
                         [&](ChannelGain& _gain) { _gain.MuteSet(_bMute != 0, _dblTimeForChange, nRateNow); });
}

HRESULT CCoZrTrack::TrackMuteGet(int32_t _nChannel, int32_t* _pbMute) {
    if (!_pbMute) return E_POINTER;
    MutexLock lock(mtx);
    return ForChannels_I(_nChannel == -1 ? 0 : _nChannel,
                         [&](const ChannelGain& _gain) { *_pbMute = _gain.IsMuted(); });
}

}  // namespace zr
