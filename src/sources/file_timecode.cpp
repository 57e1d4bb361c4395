#include "sources/file_timecode.h"

#include <algorithm>
#include <cmath>

#include "platform/wide_text.h"

namespace zr {
namespace {

constexpr int32_t kMaxNumbers = 30;
constexpr int64_t kMinutesPerDay = 24 * 60;

bool IsDrop(const ZR_TIMECODE& _tc) { return (_tc.eTCFlags & eZrTCF_DropFrame) != 0; }

// Which of the frames that share a number, 0 first.
int32_t PlaceOf(const ZR_TIMECODE& _tc) {
    const auto nPlace = static_cast<int32_t>(static_cast<uint32_t>(_tc.eTCFlags) >> 8 & 0xF);
    return std::max(nPlace - 1, 0);
}

}  // namespace

TimecodeRate::TimecodeRate(double _dblRate, bool _bDropFrame) : dblRate(_dblRate > 0 ? _dblRate : 25.0) {
    const auto nFrames = static_cast<int32_t>(std::clamp(std::lround(dblRate), 1L, 8L * kMaxNumbers));
    nShare = (nFrames + kMaxNumbers - 1) / kMaxNumbers;
    nNumbers = std::max(nFrames / nShare, 1);
    const bool bCanDrop = nNumbers == 30 && std::abs(dblRate - nFrames / 1.001) < 0.01 * nShare;
    nDropped = _bDropFrame && bCanDrop ? 2 : 0;
}

int64_t TimecodeRate::FrameOf(const ZR_TIMECODE& _tc) const {
    const int64_t nMinutes = int64_t{60} * _tc.nHours + _tc.nMinutes;
    const int64_t nNumber = (nMinutes * 60 + _tc.nSeconds) * nNumbers + _tc.nFrames;
    return (nNumber - nDropped * (nMinutes - nMinutes / 10)) * nShare + std::min(PlaceOf(_tc), nShare - 1);
}

ZR_TIMECODE TimecodeRate::CodeOf(int64_t _nFrame) const {
    const int64_t nPerMinute = 60 * nNumbers - nDropped, nPerTen = 10 * nPerMinute + nDropped;
    const int64_t nPerDay = kMinutesPerDay / 10 * nPerTen;
    int64_t n = _nFrame / nShare % nPerDay;
    if (n < 0) n += nPerDay;
    // The numbers left out up to here come back in: none in the first minute of ten.
    const int64_t nTens = n / nPerTen, nRest = n % nPerTen;
    const int64_t nMinute = nRest < nPerMinute + nDropped ? 0 : 1 + (nRest - nPerMinute - nDropped) / nPerMinute;
    n += nDropped * (9 * nTens + nMinute);

    ZR_TIMECODE tc;
    tc.nFrames = static_cast<int32_t>(n % nNumbers);
    tc.nSeconds = static_cast<int32_t>(n / nNumbers % 60);
    tc.nMinutes = static_cast<int32_t>(n / (60 * nNumbers) % 60);
    tc.nHours = static_cast<int32_t>(n / (3600 * nNumbers));
    uint32_t nFlags = nNumbers == 24 ? 0x10u : nNumbers == 25 ? 0x20u : nNumbers == 30 ? 0x40u : 0u;
    if (nDropped > 0) nFlags |= eZrTCF_DropFrame;
    if (nShare > 1) nFlags |= static_cast<uint32_t>(1 + std::max<int64_t>(_nFrame, 0) % nShare) << 8;
    tc.eTCFlags = static_cast<eZrTimecodeFlags>(nFlags);
    return tc;
}

int64_t TimecodeRate::FrameAt(double _dblSeconds) const {
    constexpr double kMost = 1e9;
    return static_cast<int64_t>(std::floor(std::clamp(_dblSeconds, -kMost, kMost) * dblRate + 0.05));
}

bool ParseTimecode(std::u16string_view _text, ZR_TIMECODE* _ptc) {
    int32_t arrParts[4] = {};
    bool bDrop = false;
    for (int i = 0; i < 4; ++i) {
        size_t nUsed = 0;
        if (_text.empty() || _text[0] < u'0' || _text[0] > u'9') return false;
        arrParts[i] = ParseInt32(_text, 10, &nUsed);
        if (nUsed > 3) return false;
        _text.remove_prefix(nUsed);
        if (i == 3) break;
        const char16_t ch = _text.empty() ? u'\0' : _text[0];
        bDrop = i == 2 && (ch == u';' || ch == u'.');
        if (ch != u':' && !bDrop) return false;
        _text.remove_prefix(1);
    }
    if (!_text.empty()) return false;
    *_ptc = {arrParts[0], arrParts[1], arrParts[2], arrParts[3], bDrop ? eZrTCF_DropFrame : eZrTCF_NonDropFrame, 0};
    return true;
}

std::u16string TimecodeText(const ZR_TIMECODE& _tc) {
    std::u16string text;
    const int32_t arrParts[] = {_tc.nHours, _tc.nMinutes, _tc.nSeconds, _tc.nFrames};
    for (int i = 0; i < 4; ++i) {
        if (i > 0) text += i == 3 && IsDrop(_tc) ? u';' : u':';
        AppendPadded(text, static_cast<uint64_t>(std::max(arrParts[i], 0)), 2);
    }
    return text;
}

}  // namespace zr
