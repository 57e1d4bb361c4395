#include "apps/zrmix/sound_options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>

#include "apps/zrmix/run_error.h"

namespace zrmix {
namespace {

constexpr int32_t kMostTracks = 32;

// The number that a text is from its begin to its end; false when it is none.
template <class NUMBER>
bool ReadAll(std::string_view _text, NUMBER* _pNumber) {
    if (_text.starts_with('+')) _text.remove_prefix(1);
    const auto [pEnd, code] = std::from_chars(_text.data(), _text.data() + _text.size(), *_pNumber);
    return code == std::errc() && pEnd == _text.data() + _text.size();
}

std::vector<int32_t> ReadTracks(const std::string& _text) {
    std::vector<int32_t> arrTracks;
    for (size_t nAt = 0; nAt <= _text.size();) {
        const size_t nEnd = std::min(_text.find(',', nAt), _text.size());
        int32_t nTrack = -1;
        if (!ReadAll(std::string_view(_text).substr(nAt, nEnd - nAt), &nTrack) || nTrack < 0 || nTrack >= kMostTracks)
            throw UsageError("--tracks " + _text + ": not a list of tracks from 0 to " +
                             std::to_string(kMostTracks - 1) + ", such as \"0,2\"");
        if (std::find(arrTracks.begin(), arrTracks.end(), nTrack) != arrTracks.end())
            throw UsageError("--tracks " + _text + ": track " + std::to_string(nTrack) + " is there twice");
        arrTracks.push_back(nTrack);
        nAt = nEnd + 1;
    }
    return arrTracks;
}

zr::ZrPtr<zr::IZrAudioTrack> TrackOf(zr::IZrAudio* _pAudio, int32_t _nTrack) {
    int32_t nCount = 0;
    Check(_pAudio->AudioTracksGetCount(&nCount), "audio tracks");
    if (nCount <= _nTrack) Check(_pAudio->AudioTracksSetCount(_nTrack + 1), "audio tracks");
    zr::ZrPtr<zr::IZrAudioTrack> pTrack;
    Check(_pAudio->AudioTrackGetByIndex(_nTrack, nullptr, pTrack.Out()), "audio tracks");
    return pTrack;
}

void SetTracks(zr::IZrAudio* _pAudio, const std::string& _text) {
    const std::vector<int32_t> arrTracks = ReadTracks(_text);
    for (int32_t n = 0; n < kMostTracks; ++n) {
        const auto it = std::find(arrTracks.begin(), arrTracks.end(), n);
        const auto pTrack = TrackOf(_pAudio, n);
        if (it == arrTracks.end()) {
            pTrack->TrackModeSet(zr::eZrAT_Disabled, -1, 0);
        } else {
            pTrack->TrackOrderSet(static_cast<int32_t>(it - arrTracks.begin()));
        }
    }
}

// "-6": every track; "1=-6": one; "1.0=-6": a channel of it.
struct GAIN {
    int32_t nTrack = -1, nChannel = -1;  // -1: all
    double dblDb = 0;
};
GAIN ReadGain(const std::string& _text) {
    const size_t nEqual = _text.find('=');
    const std::string_view where =
        nEqual == _text.npos ? std::string_view() : std::string_view(_text).substr(0, nEqual);
    const size_t nDot = where.find('.');
    GAIN gain;
    auto& [nTrack, nChannel, dblDb] = gain;
    bool bRight = ReadAll(std::string_view(_text).substr(nEqual == _text.npos ? 0 : nEqual + 1), &dblDb) &&
                  std::fabs(dblDb) <= 60;
    if (nEqual != _text.npos) {
        bRight &= ReadAll(where.substr(0, nDot), &nTrack) && nTrack >= 0 && nTrack < kMostTracks;
        if (nDot != where.npos) bRight &= ReadAll(where.substr(nDot + 1), &nChannel) && nChannel >= 0 && nChannel < 32;
    }
    if (!bRight)
        throw UsageError("--gain " + _text +
                         ": not a gain from -60 to 60 dB, as in \"-6\", \"1=-6\" (track 1) or "
                         "\"1.0=-6\" (its first channel)");
    return gain;
}

void SetGain(zr::IZrAudio* _pAudio, const GAIN& _gain) {
    const bool bAll = _gain.nTrack < 0;
    for (int32_t n = bAll ? 0 : _gain.nTrack; n < (bAll ? kMostTracks : _gain.nTrack + 1); ++n)
        TrackOf(_pAudio, n)->TrackGainSet(_gain.nChannel, _gain.dblDb, 0);
}

void Append(std::string& _text, const char* _szFormat, float _f) {
    char sz[32];
    std::snprintf(sz, sizeof(sz), _szFormat, static_cast<double>(_f));
    _text += std::isfinite(_f) ? sz : "null";
}

}  // namespace

void AddSoundOptions(CLI::App& _command, SOUND_OPTIONS& _options) {
    _command.add_option("--tracks", _options.tracks,
                        "Audio tracks that go out, in that order, such as \"1,0\"; without it all of them.");
    _command.add_option("--gain", _options.arrGains,
                        "Gain in dB of all audio (-6), of a track (1=-6) or of a channel of it (1.0=-6); may be "
                        "repeated.");
}

void ApplySound(zr::IUnknown* _pMixer, const SOUND_OPTIONS& _options) {
    if (_options.tracks.empty() && _options.arrGains.empty()) return;
    const auto pAudio = zr::QueryAs<zr::IZrAudio>(_pMixer);
    if (!pAudio) throw RunError("mixer: it has no audio tracks");
    if (!_options.tracks.empty()) SetTracks(pAudio.Get(), _options.tracks);
    for (const std::string& gain : _options.arrGains) SetGain(pAudio.Get(), ReadGain(gain));
}

SoundMeter::SoundMeter(zr::IUnknown* _pMixer, bool _bLoudness)
    : pAudio(zr::QueryAs<zr::IZrAudio>(_pMixer)), bMeasured(_bLoudness) {
    const auto pProps = zr::QueryAs<zr::IZrProps>(_pMixer);
    if (bMeasured && pProps) pProps->PropsSet(u"object::izraudio.loudness", u"true");
}

void SoundMeter::Read() {
    int32_t nTracks = 0;
    if (!pAudio || zr::Failed(pAudio->AudioTracksGetCount(&nTracks))) return;
    arrNow.clear();
    bool bNow = false;
    float fLoudest = -std::numeric_limits<float>::infinity();
    for (int32_t n = 0; n < nTracks; ++n) {
        zr::ZrPtr<zr::IZrAudioTrack> pTrack;
        zr::ZR_AUDIO_TRACK_LOUDNESS levels;
        int32_t nInputs = 0, nFirst = -1;
        if (zr::Failed(pAudio->AudioTrackGetByIndex(n, nullptr, pTrack.Out())) ||
            zr::Failed(pTrack->TrackChannelsGet(&nInputs, &nFirst, nullptr)))
            continue;
        if (nInputs > 0) setThere.insert(n);
        if (nFirst < 0 || zr::Failed(pTrack->TrackLoudnessGet(nullptr, &levels))) continue;
        for (int32_t c = 0; c < levels.nValidChannels; ++c) {
            const size_t nAt = arrNow.size();
            arrNow.push_back(levels.arrVUMeter[c]);
            if (arrPeaks.size() <= nAt) arrPeaks.resize(nAt + 1, -std::numeric_limits<float>::infinity());
            arrPeaks[nAt] = std::max(arrPeaks[nAt], levels.arrVUPeaks[c]);
        }
        if (levels.nValidChannels == 0 || !bMeasured) continue;
        fLoudest = std::max(fLoudest, levels.arrEBUMode_I);
        fTruePeak = bLoudness ? std::max(fTruePeak, levels.arrPeaks_TPL) : levels.arrPeaks_TPL;
        bLoudness = bNow = true;
    }
    if (bNow) fIntegrated = fLoudest;
    // All that an option may speak of were set up before it was known which there are: the others hide again.
    if (!setThere.empty() && std::exchange(bAllShown, false)) pAudio->AudioTracksSetCount(1);
}

void SoundMeter::CheckTracks(const SOUND_OPTIONS& _options) const {
    if (setThere.empty()) return;
    std::string options, missing;
    const auto Note = [&](const std::string& _option, int32_t _nTrack) {
        if (_nTrack < 0 || setThere.count(_nTrack)) return;
        if (options.find(_option) == options.npos) options += (options.empty() ? "" : ", ") + _option;
        missing += (missing.empty() ? "" : ", ") + std::to_string(_nTrack);
    };
    if (!_options.tracks.empty())
        for (const int32_t n : ReadTracks(_options.tracks)) Note("--tracks " + _options.tracks, n);
    for (const std::string& gain : _options.arrGains) Note("--gain " + gain, ReadGain(gain).nTrack);
    if (missing.empty()) return;
    throw UsageError(options + ": there was no track " + missing + "; the sound had " +
                     std::to_string(setThere.size()) + (setThere.size() == 1 ? " track" : " tracks") +
                     ", 0 is the first");
}

std::string SoundMeter::Line() const {
    constexpr size_t kMostShown = 8, kCells = 8;
    constexpr float kDbOfCell = 6;
    if (arrNow.empty()) return {};
    std::string bars = "  audio |", numbers;
    for (size_t n = 0; n < std::min(arrNow.size(), kMostShown); ++n) {
        const float fDb = std::clamp(arrNow[n], -99.0f, 9.0f);
        const auto nCells = static_cast<size_t>(std::clamp(8.0f + fDb / kDbOfCell, 0.0f, 8.0f));
        bars += std::string(nCells, '#') + std::string(kCells - nCells, ' ') + '|';
        numbers += ' ';
        Append(numbers, "%.0f", fDb);
    }
    return bars + numbers + " dB";
}

std::string SoundMeter::Json() const {
    std::string json = "{\"vu_peak_db\": [";
    for (size_t n = 0; n < arrPeaks.size(); ++n) {
        if (n > 0) json += ", ";
        Append(json, "%.2f", arrPeaks[n]);
    }
    json += "], \"integrated_lufs\": ";
    Append(json, "%.2f", bLoudness ? fIntegrated : -std::numeric_limits<float>::infinity());
    json += ", \"true_peak_db\": ";
    Append(json, "%.2f", bLoudness ? fTruePeak : -std::numeric_limits<float>::infinity());
    return json + "}";
}

}  // namespace zrmix
