#include "audio/layout_map.h"

#include <algorithm>

#include "audio/sample_convert.h"

namespace zr {

ChannelList CutTracks(const ChannelList& _wanted, int32_t _nChannels) {
    ChannelList tracks;
    int32_t nLeft = std::min(_nChannels, kMaxAudioChannels);
    const auto Take = [&](int32_t _nSize) {
        while (_nSize > 0 && nLeft > 0) {
            const int32_t nTrack = std::min({_nSize, nLeft, kMaxConvertedChannels});
            tracks.Add(nTrack);
            _nSize -= nTrack;
            nLeft -= nTrack;
        }
    };
    for (const int32_t nSize : _wanted) Take(nSize);
    Take(nLeft);
    return tracks;
}

HRESULT FitChannels(ZrAudioConverter& _converter, const SOUND_BLOCK& _from, std::vector<uint8_t>& _arrMemory,
                    SOUND_BLOCK* _pTo) {
    const auto cb = static_cast<int32_t>(AudBlockBytes(_from.props) * _from.nSamples);
    int32_t cbRoom = 0;
    HRESULT hr = _converter.Init(_from.props, _pTo->props, static_cast<int32_t>(_from.nSamples), 1.0);
    if (Succeeded(hr)) hr = _converter.Convert(_from.p, cb, nullptr, &cbRoom, 1.0);
    if (Failed(hr)) return hr;
    if (_arrMemory.size() < static_cast<size_t>(cbRoom)) _arrMemory.resize(static_cast<size_t>(cbRoom));
    _pTo->p = _arrMemory.data();
    return _converter.Convert(_from.p, cb, _pTo->p, &cbRoom, 1.0);
}

void LayoutMap::Prepare(const ZR_AUD_PROPS& _from, const ZR_AUD_PROPS& _to) {
    if (AudSame(from, _from) && AudSame(to, _to)) return;
    from = _from;
    to = _to;
    tracksFrom = CutTracks(TracksOfSplitBits(from.nChannels, from.nTrackSplitBits), from.nChannels);
    tracksTo = CutTracks(TracksOfSplitBits(to.nChannels, to.nTrackSplitBits), to.nChannels);
    bSame = from.nChannels == to.nChannels &&
            std::equal(tracksFrom.begin(), tracksFrom.end(), tracksTo.begin(), tracksTo.end());
    arrConverters.clear();
    arrConverters.resize(std::min(tracksFrom.size(), tracksTo.size()));
}

bool LayoutMap::Map(const ZR_AUD_PROPS& _to, SOUND_BLOCK* _pBlock) {
    Prepare(_pBlock->props, _to);
    if (bSame) return true;
    SOUND_BLOCK result = *_pBlock;
    result.props = _to;
    MakeRoom(arrResult, &result);
    FillSilence(_to.nBitsPerSample, result.p, static_cast<size_t>(AudBlockBytes(_to) * result.nSamples));
    int32_t nFrom = 0, nTo = 0;
    bool bAll = true;
    for (size_t i = 0; i < arrConverters.size(); ++i) {
        bAll &= MapTrack(i, nFrom, *_pBlock, nTo, result);
        nFrom += tracksFrom[i];
        nTo += tracksTo[i];
    }
    *_pBlock = result;
    return bAll;
}

bool LayoutMap::MapTrack(size_t _nTrack, int32_t _nFrom, const SOUND_BLOCK& _from, int32_t _nTo,
                         const SOUND_BLOCK& _to) {
    SOUND_BLOCK track = _from;
    track.props.nChannels = tracksFrom[_nTrack];
    if (tracksFrom.size() > 1) {
        MakeRoom(arrTrack, &track);
        for (int32_t c = 0; c < track.props.nChannels; ++c) CopyChannel(_from, _nFrom + c, track, c);
    }
    if (tracksFrom[_nTrack] != tracksTo[_nTrack]) {
        SOUND_BLOCK fitted = track;
        fitted.props.nChannels = tracksTo[_nTrack];
        if (Failed(FitChannels(arrConverters[_nTrack], track, arrConverted, &fitted))) return false;
        track = fitted;
    }
    for (int32_t c = 0; c < track.props.nChannels; ++c) CopyChannel(track, c, _to, _nTo + c);
    return true;
}

}  // namespace zr
