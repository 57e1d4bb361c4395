#include "framework/object_format.h"

#include <iterator>
#include <string>

#include "attributes/interface_call.h"
#include "media/aud_props.h"
#include "media/format_table.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"

namespace zr {
namespace {

// Frames a second; the length of one is counted in 100 ns.
constexpr double kMostRate = 10000;

constexpr ZR_AUD_PROPS arrAudioFormats[] = {
    {1, 48000, 16, 0},  {2, 48000, 16, 0},  {2, 48000, 24, 0}, {2, 48000, -32, 0}, {6, 48000, 16, 0},
    {6, 48000, 24, 0},  {8, 48000, 16, 0},  {8, 48000, 24, 0}, {16, 48000, 16, 0}, {16, 48000, 24, 0},
    {16, 48000, 32, 0}, {32, 48000, 16, 0}, {2, 44100, 16, 0}, {2, 96000, 24, 0},
};

// "48000 Hz, 2 channels, 16 bits"
std::u16string AudioName(const ZR_AUD_PROPS& _props) {
    const auto Number = [](int32_t _n) {
        const std::string str = std::to_string(_n);
        return std::u16string(str.begin(), str.end());
    };
    std::u16string name = Number(_props.nSamplesPerSec) + u" Hz, " + Number(_props.nChannels);
    name += _props.nChannels == 1 ? u" channel, " : u" channels, ";
    return name + (_props.nBitsPerSample == -32 ? u"32 bits float" : Number(_props.nBitsPerSample) + u" bits");
}

HRESULT GiveAudioName(const ZR_AUD_PROPS& _props, BSTR* _pbs) {
    return InterfaceCall([&] { return GiveText(AudUsable(_props) ? AudioName(_props) : std::u16string(), _pbs); });
}

bool SameAudio(const ZR_AUD_PROPS& _a, const ZR_AUD_PROPS& _b) {
    return _a.nChannels == _b.nChannels && _a.nSamplesPerSec == _b.nSamplesPerSec &&
           _a.nBitsPerSample == _b.nBitsPerSample;
}

}  // namespace

HRESULT ObjectFormat::VideoGetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    *_pnCount = kVideoFormatRows;
    return S_OK;
}

HRESULT ObjectFormat::VideoGetByIndex(int32_t _nIndex, ZR_VID_PROPS* _pVidProps, BSTR* _pbsName) const {
    if (_pbsName) *_pbsName = nullptr;
    if (!_pVidProps && !_pbsName) return E_POINTER;
    const ZrVideoFormatRow* const pRow = RowTable(_nIndex);
    if (!pRow) return ZR_E_BAD_INDEX;
    if (_pVidProps) *_pVidProps = PropsFromFormat(static_cast<eZrVideoFormat>(_nIndex), eZrFCC_Default);
    return _pbsName ? GiveText(pRow->szShortName, _pbsName) : S_OK;
}

HRESULT ObjectFormat::VideoSet(eZrFormatType _eFormatType, const ZR_VID_PROPS* _pVidProps) {
    if (!_pVidProps) return E_POINTER;
    if (_eFormatType < 0 || _eFormatType >= kTypes) return E_INVALIDARG;
    ZR_VID_PROPS props = *_pVidProps;
    if (props.eVideoFormat != eZrVF_Custom && !RowOf(props.eVideoFormat)) return E_INVALIDARG;
    if (!(props.dblRate <= kMostRate)) return E_INVALIDARG;  // what is no number neither
    const bool bDisabled = props.eVideoFormat == eZrVF_Disabled;
    const bool bRateOnly = props.eVideoFormat == eZrVF_Custom && props.nWidth == 0 && props.nHeight == 0;
    if (bDisabled) {
        props = {};
        props.eVideoFormat = eZrVF_Disabled;
    } else if (!bRateOnly) {
        NormalizeProps(&props, false);
        NormalizeProps(&props, true);  // completes what the first run recognised
        if (props.nRowBytes <= 0) props.nRowBytes = MinRowBytes(props.fccType, props.nWidth);
        if (!PropsValid(&props, true) || props.nRowBytes <= 0) return E_INVALIDARG;
    }
    MutexLock lock(mtx);
    arrFormats[_eFormatType].vidProps = props;
    return S_OK;
}

HRESULT ObjectFormat::VideoGet(eZrFormatType _eFormatType, ZR_VID_PROPS* _pVidProps, int32_t* _pnIndex,
                               BSTR* _pbsName) const {
    if (_pbsName) *_pbsName = nullptr;
    if (!_pVidProps && !_pnIndex && !_pbsName) return E_POINTER;
    if (_eFormatType < 0 || _eFormatType >= kTypes) return E_INVALIDARG;
    MutexLock lock(mtx);
    const ZR_VID_PROPS props = arrFormats[_eFormatType].vidProps;
    lock.Unlock();
    const bool bNamed = props.eVideoFormat != eZrVF_Custom && RowOf(props.eVideoFormat);
    if (_pVidProps) *_pVidProps = props;
    if (_pnIndex) *_pnIndex = bNamed ? static_cast<int32_t>(props.eVideoFormat & 0xFF) : -1;
    return _pbsName ? GiveText(bNamed ? RowOf(props.eVideoFormat)->szShortName : u"", _pbsName) : S_OK;
}

HRESULT ObjectFormat::AudioGetCount(int32_t* _pnCount) const {
    if (!_pnCount) return E_POINTER;
    *_pnCount = static_cast<int32_t>(std::size(arrAudioFormats));
    return S_OK;
}

HRESULT ObjectFormat::AudioGetByIndex(int32_t _nIndex, ZR_AUD_PROPS* _pAudProps, BSTR* _pbsName) const {
    if (_pbsName) *_pbsName = nullptr;
    if (!_pAudProps && !_pbsName) return E_POINTER;
    if (_nIndex < 0 || _nIndex >= static_cast<int32_t>(std::size(arrAudioFormats))) return ZR_E_BAD_INDEX;
    if (_pAudProps) *_pAudProps = arrAudioFormats[_nIndex];
    return _pbsName ? GiveAudioName(arrAudioFormats[_nIndex], _pbsName) : S_OK;
}

HRESULT ObjectFormat::AudioSet(eZrFormatType _eFormatType, const ZR_AUD_PROPS* _pAudProps) {
    if (!_pAudProps) return E_POINTER;
    if (_eFormatType < 0 || _eFormatType >= kTypes) return E_INVALIDARG;
    const bool bNone = _pAudProps->nChannels == 0 && _pAudProps->nSamplesPerSec == 0 && _pAudProps->nBitsPerSample == 0;
    if (!bNone && (!AudUsable(*_pAudProps) || AudBytesPerSample(_pAudProps->nBitsPerSample) < 2 ||
                   _pAudProps->nChannels > kMaxAudioChannels || _pAudProps->nSamplesPerSec > kMaxSampleRate)) {
        return E_INVALIDARG;
    }
    MutexLock lock(mtx);
    arrFormats[_eFormatType].audProps = *_pAudProps;
    return S_OK;
}

HRESULT ObjectFormat::AudioGet(eZrFormatType _eFormatType, ZR_AUD_PROPS* _pAudProps, int32_t* _pnIndex,
                               BSTR* _pbsName) const {
    if (_pbsName) *_pbsName = nullptr;
    if (!_pAudProps && !_pnIndex && !_pbsName) return E_POINTER;
    if (_eFormatType < 0 || _eFormatType >= kTypes) return E_INVALIDARG;
    MutexLock lock(mtx);
    const ZR_AUD_PROPS props = arrFormats[_eFormatType].audProps;
    lock.Unlock();
    if (_pAudProps) *_pAudProps = props;
    if (_pnIndex) {
        *_pnIndex = -1;
        for (size_t i = 0; i < std::size(arrAudioFormats) && *_pnIndex < 0; ++i) {
            if (SameAudio(props, arrAudioFormats[i])) *_pnIndex = static_cast<int32_t>(i);
        }
    }
    return _pbsName ? GiveAudioName(props, _pbsName) : S_OK;
}

AV_FORMAT ObjectFormat::Wanted() const {
    MutexLock lock(mtx);
    return arrFormats[eZrFT_Convert];
}

void ObjectFormat::Note(eZrFormatType _eFormatType, const AV_FORMAT& _format) {
    MutexLock lock(mtx);
    arrFormats[_eFormatType] = _format;
}

void ObjectFormat::Close() {
    MutexLock lock(mtx);
    arrFormats[eZrFT_Input] = {};
    arrFormats[eZrFT_Output] = {};
}

}  // namespace zr
