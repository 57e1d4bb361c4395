#include "backends/ffmpeg/audio_line.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zr {

namespace {

// The layout of the frame, or the usual one of its channels.
void CopyLayout(const AVChannelLayout& _from, int _nChannels, AVChannelLayout* _pTo) {
    if (_from.order == AV_CHANNEL_ORDER_UNSPEC || _from.nb_channels != _nChannels)
        av_channel_layout_default(_pTo, _nChannels);
    else
        av_channel_layout_copy(_pTo, &_from);
}

}  // namespace

void AudioLine::Init(int _nChannels, int _nBits) {
    Reset();
    props = {};
    props.nChannels = _nChannels;
    props.nSamplesPerSec = kRate;
    props.nBitsPerSample = _nBits;
    eOut = _nBits == 16 ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_S32;
    nBlock = _nChannels * (_nBits == 16 ? 2 : 4);
    eIn = AV_SAMPLE_FMT_NONE;
}

void AudioLine::Reset() {
    arrSegments.clear();
    nUsed = 0;
    nEnd = 0;
    nToDrop = 0;
    bPlaced = false;
    eIn = AV_SAMPLE_FMT_NONE;
}

int AudioLine::Prepare(const AVFrame& _frame) {
    const auto eFormat = static_cast<AVSampleFormat>(_frame.format);
    if (eFormat == eIn && _frame.sample_rate == nInRate && _frame.ch_layout.nb_channels == nInChannels) return 0;
    if (eIn != AV_SAMPLE_FMT_NONE) Finish();
    AVChannelLayout in = {}, out = {};
    CopyLayout(_frame.ch_layout, _frame.ch_layout.nb_channels, &in);
    CopyLayout(in, props.nChannels, &out);
    SwrContext* pSwr = nullptr;
    int nResult = swr_alloc_set_opts2(&pSwr, &out, eOut, kRate, &in, eFormat, _frame.sample_rate, 0, nullptr);
    pResampler.reset(pSwr);
    if (nResult >= 0) nResult = swr_init(pSwr);
    av_channel_layout_uninit(&in);
    av_channel_layout_uninit(&out);
    if (nResult < 0) return nResult;
    eIn = eFormat;
    nInRate = _frame.sample_rate;
    nInChannels = _frame.ch_layout.nb_channels;
    return 0;
}

int AudioLine::Push(const AVFrame& _frame, double _dblStart) {
    if (_frame.sample_rate <= 0 || _frame.ch_layout.nb_channels <= 0) return AVERROR_INVALIDDATA;
    const int nReady = Prepare(_frame);
    if (nReady < 0) return nReady;
    const int64_t nAt = std::isnan(_dblStart) ? 0 : std::llround(_dblStart * kRate);
    if (!bPlaced) {
        nEnd = nAt;
        bPlaced = true;
    } else if (!std::isnan(_dblStart)) {
        const int64_t nOff = nAt - (nEnd + swr_get_delay(pResampler.get(), kRate) - nToDrop);
        if (nOff > kJitter) {
            Finish();
            const int nAgain = Prepare(_frame);
            if (nAgain < 0) return nAgain;
            nToDrop = 0;
            nEnd = nAt;
        } else if (nOff < -kJitter) {
            nToDrop -= nOff;
        }
    }
    return Convert(_frame.extended_data, _frame.nb_samples);
}

int AudioLine::Finish() {
    if (eIn == AV_SAMPLE_FMT_NONE) return 0;
    const int nResult = Convert(nullptr, 0);
    eIn = AV_SAMPLE_FMT_NONE;
    return nResult;
}

int AudioLine::Convert(const uint8_t* const* _ppIn, int _nIn) {
    const int nMost = swr_get_out_samples(pResampler.get(), _nIn);
    if (nMost < 0) return nMost;
    const size_t nNeeded = nUsed + static_cast<size_t>(nMost) * static_cast<size_t>(nBlock);
    if (arrBytes.size() < nNeeded) arrBytes.resize(nNeeded * 2);
    uint8_t* pOut = arrBytes.data() + nUsed;
    const int nGot = swr_convert(pResampler.get(), &pOut, nMost, const_cast<const uint8_t**>(_ppIn), _nIn);
    if (nGot > 0) Append(nGot);
    return nGot;
}

// Takes over samples that stand behind nUsed.
void AudioLine::Append(int64_t _nSamples) {
    const int64_t nDrop = std::min(nToDrop, _nSamples);
    nToDrop -= nDrop;
    const int64_t nKeep = _nSamples - nDrop;
    if (nKeep == 0) return;
    const auto nBlockBytes = static_cast<size_t>(nBlock);
    if (nDrop > 0)
        std::memmove(arrBytes.data() + nUsed, arrBytes.data() + nUsed + static_cast<size_t>(nDrop) * nBlockBytes,
                     static_cast<size_t>(nKeep) * nBlockBytes);
    if (!arrSegments.empty() && arrSegments.back().nAt + arrSegments.back().nCount == nEnd)
        arrSegments.back().nCount += nKeep;
    else
        arrSegments.push_back({nEnd, nKeep, nUsed});
    nUsed += static_cast<size_t>(nKeep) * nBlockBytes;
    nEnd += nKeep;
}

void AudioLine::Cut(int64_t _nFrom, int64_t _nTo, uint8_t* _pTo) {
    const auto nBlockBytes = static_cast<size_t>(nBlock);
    int64_t nDone = _nFrom;
    for (const SEGMENT& segment : arrSegments) {
        const int64_t nFirst = std::max(segment.nAt, nDone);
        const int64_t nLast = std::min(segment.nAt + segment.nCount, _nTo);
        if (nFirst >= nLast) continue;
        uint8_t* const pGap = _pTo + static_cast<size_t>(nDone - _nFrom) * nBlockBytes;
        uint8_t* const pHere = _pTo + static_cast<size_t>(nFirst - _nFrom) * nBlockBytes;
        std::memset(pGap, 0, static_cast<size_t>(pHere - pGap));
        std::memcpy(pHere, arrBytes.data() + segment.nOffset + static_cast<size_t>(nFirst - segment.nAt) * nBlockBytes,
                    static_cast<size_t>(nLast - nFirst) * nBlockBytes);
        nDone = nLast;
    }
    if (nDone < _nTo)
        std::memset(_pTo + static_cast<size_t>(nDone - _nFrom) * nBlockBytes, 0,
                    static_cast<size_t>(_nTo - nDone) * nBlockBytes);
    Drop(_nTo);
}

void AudioLine::Drop(int64_t _nFrom) {
    const auto nBlockBytes = static_cast<size_t>(nBlock);
    while (!arrSegments.empty()) {
        SEGMENT& segment = arrSegments.front();
        const int64_t nGone = std::min(_nFrom - segment.nAt, segment.nCount);
        if (nGone <= 0) break;
        segment.nAt += nGone;
        segment.nCount -= nGone;
        segment.nOffset += static_cast<size_t>(nGone) * nBlockBytes;
        if (segment.nCount > 0) break;
        arrSegments.pop_front();
    }
    const size_t nFirst = arrSegments.empty() ? nUsed : arrSegments.front().nOffset;
    if (nFirst < nUsed / 2) return;  // moved when most is gone, so that each byte moves once
    std::memmove(arrBytes.data(), arrBytes.data() + nFirst, nUsed - nFirst);
    nUsed -= nFirst;
    for (SEGMENT& segment : arrSegments) segment.nOffset -= nFirst;
}

}  // namespace zr
