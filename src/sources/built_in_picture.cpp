#include "sources/built_in_picture.h"

#include <algorithm>
#include <string>

#include "attributes/attr_text.h"
#include "framework/frame_factory_access.h"
#include "media/vid_props.h"
#include "platform/wide_text.h"
#include "sources/test_bars.h"
#include "sources/test_chart.h"
#include "video/fill.h"

namespace zr {

struct TEST_SIGNAL {
    const char16_t* szName;
    bool bChart;
    eTestBars eBars;
    eZrVideoFormat eFormat;  // size and aspect where the wish has none
    double dblRate;          // 0: of the format
};

namespace {

constexpr uint32_t kBlack = 0xFF000000;
constexpr auto kPlainFormat = eZrVF_HD1080_25p;  // where nothing else says one

constexpr TEST_SIGNAL kSignals[] = {
    {u"colorbars", false, eTestBars::Broadcast, eZrVF_PAL, 30000 / 1001.0},
    {u"colorbars-pal", false, eTestBars::Broadcast, eZrVF_PAL, 25.0},
    {u"colorbars-75", false, eTestBars::Eight75, eZrVF_PAL, 0},
    {u"colorbars-100", false, eTestBars::Eight100, eZrVF_PAL, 0},
    {u"colorbars-ntsc", false, eTestBars::Standard, eZrVF_NTSC, 30000 / 1001.0},
    {u"colorbars-hd", false, eTestBars::High, eZrVF_HD720_5994p, 60000 / 1001.0},
    {u"colorbars-hd1080", false, eTestBars::High, eZrVF_HD1080_5994p, 60000 / 1001.0},
    {u"bars", false, eTestBars::Standard, kPlainFormat, 0},
    {u"bars75", false, eTestBars::Eight75, kPlainFormat, 0},
    {u"bars100", false, eTestBars::Eight100, kPlainFormat, 0},
    {u"videoq", true, eTestBars::Eight75, kPlainFormat, 0},
};

// Every pixel of the chart is its own: it is drawn in a packed format of the same colour family, which costs no grey
// its exact code, and takes its own format by conversion.
HRESULT MakeChart(IZrFFactory* _pFactory, ZR_AV_PROPS _props, ZrPtr<IZrFFrame>* _ppFrame) {
    const eZrFCC fccType = _props.vidProps.fccType;
    const eZrFCC fccDrawn = IsRgbFormat(fccType) ? eZrFCC_ARGB32 : fccType == eZrFCC_HDYC ? fccType : eZrFCC_UYVY;
    _props.vidProps.fccType = fccDrawn;
    _props.vidProps.nRowBytes = 0;
    ZrPtr<IZrFFrame> pDrawn;
    HRESULT hr = _pFactory->ZrFFrameCreateFromMem(&_props, 0, 0, 0, pDrawn.Out(), nullptr);
    ZRF_FRAME_INFO info;
    if (Succeeded(hr)) hr = pDrawn->ZrFAllGet(&info);
    PICTURE picture;
    if (Succeeded(hr)) hr = PictureOf(reinterpret_cast<uint8_t*>(info.lpVideo), info.avProps.vidProps, picture);
    if (Succeeded(hr)) hr = DrawTestChart(picture);
    if (Failed(hr) || fccType == fccDrawn) return Failed(hr) ? hr : pDrawn.CopyTo(_ppFrame->Out());
    return pDrawn->ZrFClone(_ppFrame->Out(), eZrFC_Video, fccType);
}

bool IsHexDigit(char16_t _ch) {
    return (_ch >= u'0' && _ch <= u'9') || (_ch >= u'A' && _ch <= u'F') || (_ch >= u'a' && _ch <= u'f');
}
bool IsLetter(char16_t _ch) { return (_ch >= u'A' && _ch <= u'Z') || (_ch >= u'a' && _ch <= u'z'); }

// The attributes read a colour into nearly every text. A file name is no colour because it begins like one.
bool ReadWholeColour(std::u16string_view _text, AttrColour* _pColour) {
    if (_text.size() > 1 && _text[0] == u'#') _text.remove_prefix(1);
    const std::u16string_view body = _text.substr(0, _text.find(u'('));
    if (body.empty() || (body.size() != _text.size() && _text.back() != u')')) return false;
    std::u16string text(_text);
    if (std::all_of(body.begin(), body.end(), IsHexDigit)) {
        if (body.size() != 3 && body.size() != 6 && body.size() != 8) return false;
        text.insert(0, u"0x");
    } else if (!std::all_of(body.begin(), body.end(), IsLetter)) {
        return false;
    }
    // A text that the reader does not know gives whatever default it is handed.
    *_pColour = ReadColour(text, AttrColour{0x01020304});
    return ReadColour(text, AttrColour{0x05060708}).nValue == _pColour->nValue;
}

}  // namespace

bool BuiltInPicture::Find(std::u16string_view _name, BuiltInPicture* _pPicture) {
    _pPicture->pSignal = nullptr;
    for (const TEST_SIGNAL& signal : kSignals) {
        if (!EqualNoCase(_name, signal.szName)) continue;
        _pPicture->pSignal = &signal;
        _pPicture->colour = {kBlack};
        return true;
    }
    if (EqualNoCase(_name, u"none")) {
        _pPicture->colour = {0};
        return true;
    }
    return ReadWholeColour(_name, &_pPicture->colour);
}

ZR_VID_PROPS BuiltInPicture::Format(const ZR_VID_PROPS& _wanted) const {
    ZR_VID_PROPS props = _wanted;
    if (props.eVideoFormat == eZrVF_Custom && (props.nWidth == 0 || props.nHeight == 0)) {
        const ZR_VID_PROPS plain = PropsFromFormat(pSignal ? pSignal->eFormat : kPlainFormat, props.fccType);
        const double dblOwn = pSignal && pSignal->dblRate > 0 ? pSignal->dblRate : plain.dblRate;
        const double dblRate = props.dblRate > 0 ? props.dblRate : dblOwn;
        props = plain;
        props.dblRate = dblRate;
        props.eVideoFormat = DetectFormat(&props, true);
    }
    if (pSignal && props.nAspectX <= 0) {
        const ZR_VID_PROPS own = PropsFromFormat(pSignal->eFormat, props.fccType);
        if (props.nWidth == own.nWidth && AbsHeight(props.nHeight) == AbsHeight(own.nHeight)) {
            props.nAspectX = own.nAspectX;
            props.nAspectY = own.nAspectY;
        }
    }
    if (colour.nValue >> 24 != 255 && props.fccType != eZrFCC_ARGB32) {
        props.fccType = eZrFCC_ARGB32;
        props.nRowBytes = 0;
    }
    // Planes of half the size have whole lines only: an odd last one is left off, as of a file's pictures.
    if (PixelFormatPlanar(props.fccType) && props.nHeight > 1) props.nHeight &= ~1;
    NormalizeProps(&props, false);
    NormalizeProps(&props, true);  // completes what the first run recognised
    return props;
}

HRESULT BuiltInPicture::Make(const ZR_VID_PROPS& _props, ZrPtr<IZrFFrame>* _ppFrame) const {
    IZrFFactory* pFactory = nullptr;
    HRESULT hr = FrameFactory(&pFactory);
    if (Failed(hr)) return hr;
    ZR_AV_PROPS props;
    props.vidProps = _props;
    if (pSignal && pSignal->bChart) return MakeChart(pFactory, props, _ppFrame);
    hr = pFactory->ZrFFrameCreateFromMem(&props, 0, 0, 0, _ppFrame->Out(), nullptr);
    if (Failed(hr) || (!pSignal && colour.nValue == kBlack)) return hr;
    ZRF_FRAME_INFO info;
    hr = (*_ppFrame)->ZrFAllGet(&info);
    if (Failed(hr)) return hr;
    if (pSignal) {
        PICTURE picture;
        hr = PictureOf(reinterpret_cast<uint8_t*>(info.lpVideo), info.avProps.vidProps, picture);
        return Failed(hr) ? hr : DrawTestBars(picture, pSignal->eBars);
    }
    return FillColour(reinterpret_cast<uint8_t*>(info.lpVideo), info.avProps.vidProps, FILL_COLOUR::Of(colour));
}

}  // namespace zr
