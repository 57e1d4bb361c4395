#include "backends/ffmpeg/output_session.h"

#include <algorithm>
#include <cmath>

#include "media/pixel_format.h"
#include "platform/clock.h"

namespace zr {

namespace {

bool HasPicture(const ZR_VID_PROPS& _props) { return _props.nWidth > 0 && _props.eVideoFormat != eZrVF_Disabled; }
bool HasSound(const ZR_AUD_PROPS& _props) { return _props.nChannels > 0 && _props.nSamplesPerSec > 0; }

}  // namespace

HRESULT OutputSession::Open(const std::string& _strPath, const OUTPUT_OPTIONS& _options) {
    video.Close();
    audio.Close();
    options = _options;
    vidExpected = {};
    audExpected = {};
    bBegun = false;
    dblPlaces = 0;
    nPictures = nSamplesAtEnd = 0;
    return muxer.Open(_strPath, _options);
}

void OutputSession::Expect(const ZR_VID_PROPS& _vidProps, const ZR_AUD_PROPS& _audProps) {
    vidExpected = _vidProps;
    audExpected = _audProps;
}

HRESULT OutputSession::Begin(IZrFFrame& _frame) {
    ZRF_FRAME_INFO info;
    HRESULT hr = _frame.ZrFAllGet(&info);
    if (Failed(hr)) return hr;
    const AVOutputFormat& format = *muxer.Format();
    const bool bPicture = info.lpVideo != 0 && HasPicture(info.avProps.vidProps);
    if (!bPicture && HasPicture(vidExpected)) return S_FALSE;
    const bool bVideo = bPicture && ChooseVideoCodec(format, {}).bTakes;
    ZR_AUD_PROPS audProps = info.lAudioSamples > 0 ? info.avProps.audProps : audExpected;
    const bool bAudio = HasSound(audProps) && ChooseAudioCodec(format, {}).bTakes;
    if (!bVideo && !bAudio) return muxer.Fail(E_INVALIDARG, "this kind of file takes nothing of what is sent");

    ZR_VID_PROPS vidProps = info.avProps.vidProps;
    const int64_t rtLength = info.mTime.rtEndTime - info.mTime.rtStartTime;
    if (vidProps.dblRate <= 0 && rtLength > 0)
        vidProps.dblRate = static_cast<double>(kTicksPerSecond) / static_cast<double>(rtLength);
    if (bVideo) hr = video.Open(vidProps, options);
    if (Succeeded(hr) && bAudio) hr = audio.Open(audProps, options);
    if (Failed(hr)) return hr;
    if (bVideo) video.SetTrack(muxer.AddTrack(*video.Context()));
    if (bAudio) audio.SetTrack(muxer.AddTrack(*audio.Context()));
    hr = muxer.Begin();
    bBegun = Succeeded(hr);
    return hr;
}

// A frame takes one place, or, when it stands much longer or shorter than one of the rate, what its time comes to.
double OutputSession::PlacesOf(int64_t _rtLength) const {
    const double dblRate = av_q2d(video.Rate());
    const auto dblLength = static_cast<double>(_rtLength);
    const double dblOfOne = kTicksPerSecond / dblRate;
    if (dblLength <= 0 || std::abs(dblLength - dblOfOne) < dblOfOne / 100) return 1;
    constexpr double kMostSeconds = 3600;
    return std::min(dblLength / kTicksPerSecond, kMostSeconds) * dblRate;
}

int64_t OutputSession::SamplesUpTo(double _dblPlaces) const {
    return std::llround(_dblPlaces * audio.Rate() / av_q2d(video.Rate()));
}

HRESULT OutputSession::Encode(IZrFFrame& _frame) {
    if (!bBegun) {
        const HRESULT hr = Begin(_frame);
        if (hr != S_OK) return hr;
    }
    ZRF_FRAME_INFO info;
    HRESULT hr = _frame.ZrFAllGet(&info);
    if (Failed(hr)) return hr;
    if (video.IsOpen()) {
        dblPlaces += PlacesOf(info.mTime.rtEndTime - info.mTime.rtStartTime);
        const int64_t nTimes = std::llround(dblPlaces) - video.Next();
        if (info.lpVideo != 0)
            hr = video.Encode(_frame, nTimes);
        else
            for (int64_t i = 0; i < nTimes && Succeeded(hr); ++i) hr = video.Repeat();
        if (Failed(hr)) return hr;
        nPictures += std::max<int64_t>(nTimes, 0);
    }
    return audio.IsOpen() ? EncodeSound(_frame, info.avProps.audProps) : S_OK;
}

// The frame's sound, and silence for what it should have: the tracks never run apart by more than a frame.
HRESULT OutputSession::EncodeSound(IZrFFrame& _frame, const ZR_AUD_PROPS& _audProps) {
    int32_t cbAudio = 0;
    int64_t lpAudio = 0;
    if (Failed(_frame.ZrFAudioGetBytes(&cbAudio, &lpAudio))) cbAudio = 0;
    const int64_t cbSample =
        _audProps.nChannels * int64_t{_audProps.nBitsPerSample == 20 || _audProps.nBitsPerSample == 24
                                          ? 3
                                          : std::abs(_audProps.nBitsPerSample) / 8};
    int64_t nSamples = cbSample > 0 ? cbAudio / cbSample : 0;
    if (!video.IsOpen()) return audio.Encode(_audProps, reinterpret_cast<const uint8_t*>(lpAudio), nSamples);

    const int64_t nWanted = SamplesUpTo(dblPlaces);
    const int64_t nOne = SamplesUpTo(1);
    if (_audProps.nSamplesPerSec == audio.Rate())
        nSamples = std::min(nSamples, std::max<int64_t>(nWanted + nOne - audio.Taken(), 0));
    const HRESULT hr = audio.Encode(_audProps, reinterpret_cast<const uint8_t*>(lpAudio), nSamples);
    if (Failed(hr)) return hr;
    const int64_t nMissing = nWanted - audio.Taken();
    return nMissing > nOne || (nSamples == 0 && nMissing > 0) ? audio.AddSilence(nMissing) : S_OK;
}

void OutputSession::Skip(int64_t _rtLength) {
    if (!bBegun || !video.IsOpen() || _rtLength <= 0) return;
    dblPlaces += PlacesOf(_rtLength);
    video.Skip(std::max<int64_t>(std::llround(dblPlaces) - video.Next(), 0));
}

HRESULT OutputSession::Finish(HRESULT _hr) {
    HRESULT hr = _hr;
    if (bBegun && Succeeded(hr)) {
        const int64_t nLength = video.IsOpen() && audio.IsOpen() ? SamplesUpTo(static_cast<double>(video.Next()))
                                : audio.IsOpen()                 ? audio.Taken()
                                                                 : 0;
        hr = video.Finish();
        if (Succeeded(hr)) hr = audio.Finish(nLength);
    }
    const HRESULT hrEnd = muxer.End();
    bBegun = false;
    if (audio.IsOpen()) nSamplesAtEnd = audio.Taken();
    video.Close();
    audio.Close();
    return Failed(hr) ? hr : hrEnd;
}

}  // namespace zr
