#include "media/aud_props.h"

#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr int32_t kSplitBits = 32;

// Calls _take with each part of a text that reads as a whole number to its end.
template <class Take>
void ForEachNumber(std::u16string_view _text, Take _take) {
    constexpr std::u16string_view kSeparators = u", \t\r\n";
    for (size_t nStart = _text.find_first_not_of(kSeparators); nStart != std::u16string_view::npos;) {
        const size_t nEnd = _text.find_first_of(kSeparators, nStart);
        const std::u16string_view part = _text.substr(nStart, nEnd - nStart);
        size_t nUsed = 0;
        const int32_t nNumber = ParseInt32(part, 10, &nUsed);
        if (nUsed == part.size()) _take(nNumber);
        nStart = nEnd == std::u16string_view::npos ? nEnd : _text.find_first_not_of(kSeparators, nEnd);
    }
}

ChannelList NumbersFrom(std::u16string_view _text, int32_t _nLeast) {
    ChannelList list;
    ForEachNumber(_text, [&](int32_t _nNumber) {
        if (_nNumber >= _nLeast) list.Add(_nNumber);
    });
    return list;
}

}  // namespace

int32_t AudBytesPerSample(int32_t _nBitsPerSample) {
    switch (_nBitsPerSample) {
        case 8: return 1;
        case 16: return 2;
        case 20:
        case 24: return 3;
        case 32:
        case -32: return 4;
        default: return 0;
    }
}

bool AudUsable(const ZR_AUD_PROPS& _props) {
    return _props.nChannels > 0 && _props.nSamplesPerSec > 0 && AudBytesPerSample(_props.nBitsPerSample) != 0;
}

bool AudSameFormat(const ZR_AUD_PROPS& _a, const ZR_AUD_PROPS& _b) {
    return _a.nChannels == _b.nChannels && _a.nSamplesPerSec == _b.nSamplesPerSec &&
           _a.nBitsPerSample == _b.nBitsPerSample;
}

bool AudSame(const ZR_AUD_PROPS& _a, const ZR_AUD_PROPS& _b) {
    return AudSameFormat(_a, _b) && _a.nTrackSplitBits == _b.nTrackSplitBits;
}

int64_t AudBlockBytes(const ZR_AUD_PROPS& _props) {
    return AudUsable(_props) ? int64_t{_props.nChannels} * AudBytesPerSample(_props.nBitsPerSample) : 0;
}

bool ChannelList::Add(int32_t _n) {
    if (nCount == arrItems.size()) return false;
    arrItems[nCount++] = _n;
    return true;
}

ChannelList TracksOfSplitBits(int32_t _nChannels, int32_t _nTrackSplitBits) {
    ChannelList tracks;
    int32_t nFirst = 0;  // of the track
    for (int32_t i = 0; i < kSplitBits && i < _nChannels; ++i) {
        if (((static_cast<uint32_t>(_nTrackSplitBits) >> i) & 1) == 0) continue;
        tracks.Add(i + 1 - nFirst);
        nFirst = i + 1;
    }
    if (_nChannels > nFirst) tracks.Add(_nChannels - nFirst);
    return tracks;
}

int32_t SplitBitsOfTracks(std::span<const int32_t> _arrTracks) {
    uint32_t nBits = 0;
    int64_t nChannels = 0;
    for (const int32_t nTrack : _arrTracks) {
        if (nTrack < 1) continue;
        nChannels += nTrack;
        if (nChannels > kSplitBits) break;
        nBits |= 1u << (nChannels - 1);
    }
    return static_cast<int32_t>(nBits);
}

std::u16string TrackSplitText(std::span<const int32_t> _arrTracks) {
    std::u16string text;
    for (const int32_t nTrack : _arrTracks) {
        if (!text.empty()) text += u',';
        AppendInt(text, nTrack);
    }
    return text;
}

ChannelList ParseTrackSplit(std::u16string_view _text) { return NumbersFrom(_text, 1); }

ChannelList ParseChannelList(std::u16string_view _text) { return NumbersFrom(_text, 0); }

}  // namespace zr
