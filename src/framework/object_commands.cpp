#include "framework/object_commands.h"

#include <cmath>

#include <string>
#include <string_view>

#include "attributes/attr_text.h"
#include "attributes/attribute_line.h"
#include "attributes/co_xml_node.h"
#include "attributes/interface_call.h"
#include "framework/all_tracks.h"
#include "media/track_mode.h"
#include "zr/audio.h"
#include "zr/file.h"
#include "zr/props.h"
#include "zr/ptr.h"

namespace zr {
namespace {

// The parameter of a command: an attribute line, or one value, which stands for the command's first key.
class CommandParam {
public:
    explicit CommandParam(std::u16string_view _text) : pNode(CoXMLNode::Create(u"props")), bPlain(!IsLine(_text)) {
        if (bPlain) {
            if (!_text.empty()) pNode->SetAttribute(u"value", _text);
        } else {
            SetAttributeLine(*pNode, _text, eZrUT_ClearDest);
        }
    }
    double Value(std::u16string_view _key, double _dblDefault) const {
        return pNode->AttributeOr(bPlain ? u"value" : _key, _dblDefault);
    }
    // Of a key that a single value does not stand for.
    double Other(std::u16string_view _key, double _dblDefault) const { return pNode->AttributeOr(_key, _dblDefault); }
    // A number of tracks or channels, below 0 all of them. False: none that there can be.
    static bool Index(double _dbl, int32_t* _pn) {
        if (!(std::fabs(_dbl) < 1e9)) return false;
        *_pn = static_cast<int32_t>(_dbl);
        return true;
    }
    bool Switch(std::u16string_view _key, bool _bDefault) const {
        return pNode->AttributeOr(bPlain ? u"value" : _key, _bDefault);
    }
    bool Has(std::u16string_view _key) const { return pNode->HasAttribute(_key); }
    std::u16string Named(std::u16string_view _key) const { return pNode->AttributeOr(_key, u""); }
    std::u16string Text(std::u16string_view _key) const { return pNode->AttributeOr(bPlain ? u"value" : _key, u""); }

private:
    static bool IsLine(std::u16string_view _text) { return _text.find(u'=') != std::u16string_view::npos; }

    const XMLNodePtr pNode;
    const bool bPlain;
};

HRESULT Skip(IZrFile* _pFile, double _dblTime, double _dblPreroll) {
    double dblPos = 0;
    const HRESULT hr = _pFile->FilePosGet(&dblPos);
    return Failed(hr) ? hr : _pFile->FilePosSet(dblPos + _dblTime, _dblPreroll);
}

HRESULT FileCommand(IZrFile* _pFile, std::u16string_view _command, const CommandParam& _param) {
    constexpr double kPreroll = 1.0;  // seconds
    if (_command == u"start") return _pFile->FilePlayStart();
    if (_command == u"pause") return _pFile->FilePlayPause(_param.Value(u"time", 0.0));
    if (_command == u"stop") return _pFile->FilePlayStop(_param.Value(u"time", 0.0));
    if (_command == u"rate") return _pFile->FileRateSet(_param.Value(u"rate", 1.0));
    if (_command == u"seek") return _pFile->FilePosSet(_param.Value(u"time", 0.0), _param.Other(u"preroll", kPreroll));
    return Skip(_pFile, _param.Value(u"time", 0.0), _param.Other(u"preroll", kPreroll));
}

// Calls _do with the track of an object, or with each of them for -1.
template <class DO>
HRESULT ForTracks(IZrAudio* _pAudio, int32_t _nTrack, const DO& _do) {
    int32_t nCount = 0;
    if (const HRESULT hr = _pAudio->AudioTracksGetCount(&nCount); Failed(hr)) return hr;
    const int32_t nFirst = _nTrack < 0 ? 0 : _nTrack;
    const int32_t nEnd = _nTrack < 0 ? nCount : _nTrack + 1;
    for (int32_t i = nFirst; i < nEnd; ++i) {
        ZrPtr<IZrAudioTrack> pTrack;
        HRESULT hr = _pAudio->AudioTrackGetByIndex(i, nullptr, pTrack.Out());
        if (Succeeded(hr)) hr = _do(*pTrack);
        if (Failed(hr)) return hr;
    }
    return S_OK;
}

HRESULT AudioCommand(IZrAudio* _pAudio, std::u16string_view _command, const CommandParam& _param) {
    const bool bGain = _command == u"gain" || (_command == u"audio" && _param.Has(u"gain"));
    const bool bMute = _command == u"mute" || (_command == u"audio" && _param.Has(u"mute"));
    if (!bGain && !bMute) return E_INVALIDARG;
    int32_t nChannel = -1, nTrack = -1;
    if (!CommandParam::Index(_param.Other(u"channel", -1), &nChannel) ||
        !CommandParam::Index(_param.Other(u"track", -1), &nTrack))
        return ZR_E_BAD_INDEX;
    const double dblRamp = _param.Other(u"ramp", 0.1);
    const bool bMuted = bMute && _param.Switch(u"mute", true);
    const double dblGain = bGain ? _param.Value(u"gain", 0.0) : 0.0;
    const ZrPtr<IZrAllTracks> pAll = QueryAs<IZrAllTracks>(_pAudio);
    if (nTrack < 0 && pAll) {
        HRESULT hr = bGain ? pAll->AllTracksGainSet(nChannel, dblGain, dblRamp) : S_OK;
        if (Succeeded(hr) && bMute) hr = pAll->AllTracksMuteSet(nChannel, bMuted, dblRamp);
        return hr;
    }
    return ForTracks(_pAudio, nTrack, [&](IZrAudioTrack& _track) {
        HRESULT hr = bGain ? _track.TrackGainSet(nChannel, dblGain, dblRamp) : S_OK;
        if (Succeeded(hr) && bMute) hr = _track.TrackMuteSet(nChannel, bMuted, dblRamp);
        return hr;
    });
}

// Without a mode the track is the one to hear.
HRESULT TrackCommand(IZrAudio* _pAudio, const CommandParam& _param) {
    eZrAudioTrackMode eMode = eZrAT_Exclusive;
    const std::u16string mode = _param.Named(u"mode");
    if (!mode.empty() && !TrackModeOfName(mode, &eMode)) return E_INVALIDARG;
    int32_t nAddTo = -1, nTrack = 0;
    if (!CommandParam::Index(_param.Other(u"add-to", -1), &nAddTo) ||
        !CommandParam::Index(_param.Value(u"track", 0), &nTrack))
        return ZR_E_BAD_INDEX;
    const double dblGain = _param.Other(u"add-gain", 0.0);
    return ForTracks(_pAudio, nTrack,
                     [&](IZrAudioTrack& _track) { return _track.TrackModeSet(eMode, nAddTo, dblGain); });
}

}  // namespace

HRESULT ExecuteObjectCommand(IUnknown* _pObject, const char16_t* _szCommand, const char16_t* _szParam,
                             BSTR* _pbsReturn) {
    if (_pbsReturn) *_pbsReturn = nullptr;
    std::u16string_view command = TextArgument(_szCommand), line = TextArgument(_szParam);
    if (const size_t nBlank = command.find(u' '); nBlank != command.npos && line.empty()) {
        line = command.substr(nBlank + 1);  // both in one: "audio gain=-6"
        command = command.substr(0, nBlank);
    }
    if (command.empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        const CommandParam param(line);
        for (std::u16string_view known : {u"start", u"pause", u"stop", u"rate", u"seek", u"skip"}) {
            if (command != known) continue;
            const ZrPtr<IZrFile> pFile = QueryAs<IZrFile>(_pObject);
            return pFile ? FileCommand(pFile.Get(), command, param) : E_NOINTERFACE;
        }
        for (std::u16string_view known : {u"mute", u"audio", u"gain", u"audio-track"}) {
            if (command != known) continue;
            const ZrPtr<IZrAudio> pAudio = QueryAs<IZrAudio>(_pObject);
            if (!pAudio) return E_NOINTERFACE;
            return known == u"audio-track" ? TrackCommand(pAudio.Get(), param)
                                           : AudioCommand(pAudio.Get(), command, param);
        }
        if (command == u"loop") {
            const ZrPtr<IZrProps> pProps = QueryAs<IZrProps>(_pObject);
            const std::u16string value = param.Text(u"files");
            return pProps ? pProps->PropsSet(u"object::loop", value.empty() ? u"true" : value.c_str()) : E_NOINTERFACE;
        }
        return E_NOINTERFACE;
    });
}

}  // namespace zr
