#include "sources/built_in_picture.h"

#include <algorithm>
#include <string>

#include "attributes/attr_text.h"
#include "framework/frame_factory_access.h"
#include "media/vid_props.h"
#include "platform/wide_text.h"
#include "video/fill.h"

namespace zr {
namespace {

constexpr uint32_t kBlack = 0xFF000000;
constexpr auto kPlainFormat = eZrVF_HD1080_25p;  // where nothing else says one

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
    if (EqualNoCase(_name, u"none")) {
        _pPicture->colour = {0};
        return true;
    }
    return ReadWholeColour(_name, &_pPicture->colour);
}

ZR_VID_PROPS BuiltInPicture::Format(const ZR_VID_PROPS& _wanted) const {
    ZR_VID_PROPS props = _wanted;
    if (props.eVideoFormat == eZrVF_Custom && (props.nWidth == 0 || props.nHeight == 0)) {
        const ZR_VID_PROPS plain = PropsFromFormat(kPlainFormat, props.fccType);
        const double dblRate = props.dblRate > 0 ? props.dblRate : plain.dblRate;
        props = plain;
        props.dblRate = dblRate;
        props.eVideoFormat = DetectFormat(&props, true);
    }
    if (colour.nValue >> 24 != 255 && props.fccType != eZrFCC_ARGB32) {
        props.fccType = eZrFCC_ARGB32;
        props.nRowBytes = 0;
    }
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
    hr = pFactory->ZrFFrameCreateFromMem(&props, 0, 0, 0, _ppFrame->Out(), nullptr);
    if (Failed(hr) || colour.nValue == kBlack) return hr;
    ZRF_FRAME_INFO info;
    hr = (*_ppFrame)->ZrFAllGet(&info);
    if (Failed(hr)) return hr;
    return FillColour(reinterpret_cast<uint8_t*>(info.lpVideo), info.avProps.vidProps, FILL_COLOUR::Of(colour));
}

}  // namespace zr
