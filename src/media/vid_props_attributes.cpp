#include "media/vid_props_attributes.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "media/format_table.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "media/vid_props_text.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

int32_t WholeNumber(std::u16string_view _text) {
    const int32_t nValue = ParseInt32(_text, 0);
    return nValue == 0 && EqualNoCase(_text, u"true") ? 1 : nValue;
}

double Fraction(std::u16string_view _text) {
    size_t nUsed = 0;
    const double dblValue = ParseDouble(_text, &nUsed);
    if (nUsed < _text.size() && _text[nUsed] == u'%') return dblValue / 100;
    return dblValue == 0 && EqualNoCase(_text, u"true") ? 1.0 : dblValue;
}

int16_t AspectPart(std::u16string_view _text, size_t* _pnUsed) {
    using Limits = std::numeric_limits<int16_t>;
    return static_cast<int16_t>(std::clamp<int32_t>(ParseInt32(_text, 10, _pnUsed), Limits::min(), Limits::max()));
}

void ReadAspect(std::u16string_view _text, ZR_VID_PROPS& _props) {
    if (_text.find_first_of(u"0123456789") == std::u16string_view::npos) return;
    size_t nUsed = 0;
    _props.nAspectX = AspectPart(_text, &nUsed);
    if (nUsed < _text.size()) _props.nAspectY = AspectPart(_text.substr(nUsed + 1), nullptr);
}

}  // namespace

void ReadVidProps(const AttributeLookup& _find, ZR_VID_PROPS* _pProps) {
    if (!_pProps) return;
    ZR_VID_PROPS& props = *_pProps;
    std::u16string_view value;
    if (_find(u"video_format", value)) {
        props.eVideoFormat = ParseFormatName(value, eZrVF_Custom);
        NormalizeProps(&props, true);
    }
    if (_find(u"width", value)) props.nWidth = WholeNumber(value);
    if (_find(u"height", value)) props.nHeight = WholeNumber(value);
    if (_find(u"rate", value)) props.dblRate = Fraction(value);
    if (_find(u"pixel_format", value) || _find(u"colorspace", value)) props.fccType = ParsePixelFormat(value);
    if (_find(u"aspect_ratio", value) || _find(u"aspect-ratio", value)) ReadAspect(value, props);
    if (_find(u"interlace", value)) props.eInterlace = ParseInterlace(value);
    if (_find(u"scale_type", value) || _find(u"keep-aspect", value)) props.eScaleType = ParseScaleType(value);
    if (_find(u"format_3d", value)) props.e3DFormat = Parse3DFormat(value);
    props.nRowBytes = 0;
    NormalizeProps(&props, false);
}

std::u16string VidPropsLine(const ZR_VID_PROPS& _props) {
    std::u16string line;
    const ZrVideoFormatRow* const pRow = RowOf(_props.eVideoFormat);
    if (pRow && _props.eVideoFormat != eZrVF_Custom) {
        line = u" video_format='";
        line += pRow->szShortName;
    } else {
        line = u" width='";
        AppendInt(line, _props.nWidth);
        line += u"' height='";
        AppendInt(line, _props.nHeight);
        line += u"' rate='";
        AppendFixed(line, _props.dblRate, 3);
        line += u"' interlace='";
        line += InterlaceKeyword(_props.eInterlace);
    }
    line += u"' pixel_format='";
    line += PixelFormatText(_props.fccType);
    line += u'\'';
    return line;
}

}  // namespace zr
