#include "media/vid_props_text.h"

#include <cstddef>
#include <cstdint>

#include "media/format_table.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

struct KEYWORD {
    const char16_t* szText;
    uint32_t nValue;
};

// In the order in which a text is compared; where a value stands twice, the first is its keyword.
constexpr KEYWORD arrInterlace[] = {
    {u"auto", eZrI_Default},       {u"top", eZrI_Field1First},
    {u"bottom", eZrI_Field2First}, {u"progressive", eZrI_Progressive},
    {u"inverse", eZrI_Inverse},    {u"field", eZrI_OneField},
};
constexpr KEYWORD arrScaleType[] = {
    {u"default", eZrST_Default}, {u"ignore-ar", eZrST_IgnoreAR}, {u"letter-box", eZrST_LetterBox},
    {u"crop", eZrST_Crop},       {u"no-scale", eZrST_NoScale},   {u"none", eZrST_IgnoreAR},
};
constexpr KEYWORD arr3DFormat[] = {
    {u"", eZr3D_None},
    {u"3D-HSbS", eZr3D_SideBySide},
    {u"3D-HTnB", eZr3D_TopAndBottom},
    {u"3D-SbS", eZr3D_FullSideBySide},
    {u"3D-TnB", eZr3D_FullTopAndBottom},
    {u"3D-Auto", eZr3D_Tile},
    {u"3D-Tile", eZr3D_Auto},
    {u"none", eZr3D_None},
};

template <size_t N>
uint32_t ParseKeyword(const KEYWORD (&_arrList)[N], std::u16string_view _text) {
    for (const KEYWORD& keyword : _arrList)
        if (EqualNoCase(_text, keyword.szText)) return keyword.nValue;
    return 0;
}

template <size_t N>
std::u16string_view KeywordOf(const KEYWORD (&_arrList)[N], uint32_t _nValue) {
    for (const KEYWORD& keyword : _arrList)
        if (keyword.nValue == _nValue) return keyword.szText;
    return {};
}

// Entry _nIndex of a list whose last entry stands for everything beyond it.
template <size_t N>
std::u16string_view EntryOrLast(const char16_t* const (&_arrList)[N], int32_t _nIndex) {
    return _arrList[_nIndex >= 0 && static_cast<size_t>(_nIndex) < N ? static_cast<size_t>(_nIndex) : N - 1];
}

std::u16string_view InterlaceMark(eZrInterlace _eInterlace) {
    static constexpr const char16_t* arrMarks[] = {u"A", u"iT", u"iB", u"p", u"INV", u"OF", u"ER"};
    return EntryOrLast(arrMarks, _eInterlace);
}

std::u16string_view ScaleMark(eZrScaleType _eScaleType) {
    static constexpr const char16_t* arrMarks[] = {u"", u"I", u"L", u"C", u"N"};
    return EntryOrLast(arrMarks, _eScaleType);
}

bool HasAspect(const ZR_VID_PROPS& _props) { return _props.nAspectX != 0 && _props.nAspectY != 0; }

void AppendAspect(std::u16string& _text, const ZR_VID_PROPS& _props) {
    AppendInt(_text, _props.nAspectX);
    _text += u':';
    AppendInt(_text, _props.nAspectY);
}

void AppendWidthAndRow(std::u16string& _text, const ZR_VID_PROPS& _props) {
    AppendInt(_text, _props.nWidth);
    _text += u'(';
    AppendInt(_text, _props.nRowBytes);
    _text += u")x";
}

std::u16string ShortForm(const ZR_VID_PROPS& _props) {
    std::u16string text = PixelFormatText(_props.fccType);
    text += u' ';
    AppendWidthAndRow(text, _props);
    AppendInt(text, _props.nHeight);
    text += u'@';
    AppendFixed(text, _props.dblRate, 3);
    text += InterlaceMark(_props.eInterlace);
    if (HasAspect(_props)) {
        text += u' ';
        AppendAspect(text, _props);
    }
    return text;
}

std::u16string NameForm(const ZR_VID_PROPS& _props) {
    std::u16string text;
    if (_props.e3DFormat & kLayoutPairMask) {
        text += LayoutKeyword(_props.e3DFormat);
        text += u' ';
    }
    if (const ZrVideoFormatRow* pRow = RowOf(_props.eVideoFormat)) {
        text += pRow->szShortName;
        text += u' ';
    }
    if (_props.fccType != eZrFCC_Default) {
        text += PixelFormatText(_props.fccType);
        text += u' ';
    }
    AppendInt(text, _props.nWidth);
    text += u'x';
    AppendInt(text, _props.nHeight);
    text += u'@';
    AppendFixed(text, _props.dblRate, 2);
    if (_props.eInterlace != eZrI_Default) text += InterlaceMark(_props.eInterlace);
    if (HasAspect(_props)) {
        text += u' ';
        AppendAspect(text, _props);
    }
    return text;
}

}  // namespace

eZrInterlace ParseInterlace(std::u16string_view _text) {
    return static_cast<eZrInterlace>(ParseKeyword(arrInterlace, _text));
}

eZrScaleType ParseScaleType(std::u16string_view _text) {
    return static_cast<eZrScaleType>(ParseKeyword(arrScaleType, _text));
}

eZr3DFormat Parse3DFormat(std::u16string_view _text) {
    return static_cast<eZr3DFormat>(ParseKeyword(arr3DFormat, _text));
}

std::u16string_view InterlaceKeyword(eZrInterlace _eInterlace) {
    return KeywordOf(arrInterlace, static_cast<uint32_t>(_eInterlace));
}

std::u16string_view ScaleTypeKeyword(eZrScaleType _eScaleType) {
    return KeywordOf(arrScaleType, static_cast<uint32_t>(_eScaleType));
}

std::u16string_view LayoutKeyword(eZr3DFormat _e3DFormat) {
    return KeywordOf(arr3DFormat, static_cast<uint32_t>(_e3DFormat) & kLayoutMask);
}

std::u16string VideoTechnicalText(const ZR_VID_PROPS* _pProps) {
    if (_pProps && _pProps->eVideoFormat == eZrVF_Disabled) return u"disabled";
    if (!PropsValid(_pProps, false)) return {};
    const ZR_VID_PROPS& props = *_pProps;
    std::u16string text;
    AppendWidthAndRow(text, props);
    AppendInt(text, props.nHeight);
    text += u'(';
    text += PixelFormatText(props.fccType);
    text += u")@";
    AppendFixed(text, props.dblRate, 3);
    text += InterlaceMark(props.eInterlace);
    if (HasAspect(props)) {
        text += u" (";
        AppendAspect(text, props);
        text += ScaleMark(props.eScaleType);
        text += u')';
    }
    return text;
}

std::u16string VideoListText(const ZR_VID_PROPS* _pProps, bool _bShort) {
    ZR_VID_PROPS props = _pProps ? *_pProps : ZR_VID_PROPS{};
    NormalizeProps(&props, false);
    if (props.eVideoFormat == eZrVF_Disabled) return _bShort ? u"-" : u"<No Video>";
    if (!PropsValid(&props, false)) return _bShort ? u"-" : u"<Auto/Not Specified>";
    return _bShort ? ShortForm(props) : NameForm(props);
}

}  // namespace zr
