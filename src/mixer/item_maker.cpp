#include "mixer/item_maker.h"

#include <cstdio>

#include "attributes/interface_call.h"
#include "media/format_table.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "media/vid_props_text.h"
#include "sources/file_line.h"

namespace zr {
namespace {

std::u16string Number(int32_t _n) {
    const std::string str = std::to_string(_n);
    return {str.begin(), str.end()};
}

std::u16string Rate(double _dbl) {
    char sz[32];
    std::snprintf(sz, sizeof(sz), "%.3f", _dbl);
    const std::string_view str(sz);
    return {str.begin(), str.end()};
}

std::u16string FormatLine(const ZR_VID_PROPS& _props) {
    const std::u16string pixels = u" pixel_format='" + PixelFormatText(_props.fccType) + u"'";
    const ZrVideoFormatRow* const pRow = RowOf(_props.eVideoFormat);
    if (pRow && _props.eVideoFormat != eZrVF_Custom) {
        return std::u16string(u" video_format='") + pRow->szShortName + u"'" + pixels;
    }
    return u" width='" + Number(_props.nWidth) + u"' height='" + Number(_props.nHeight) + u"' rate='" +
           Rate(_props.dblRate) + u"' interlace='" + std::u16string(InterlaceKeyword(_props.eInterlace)) + u"'" +
           pixels;
}

}  // namespace

std::u16string ItemMaker::OutputLine() const {
    const ZR_VID_PROPS wanted = format.Wanted().vidProps;
    const bool bWanted = wanted.eVideoFormat != eZrVF_Disabled && PropsValid(&wanted, true);
    return bWanted ? FormatLine(wanted) : std::u16string();
}

std::u16string ItemMaker::FileLine(std::u16string_view _param) const {
    std::u16string line(_param);
    if (LoopsFiles() && !NamesKey(_param, u"loop")) line += u" loop='true'";
    return line;
}

HRESULT ItemMaker::Make(IUnknown* _pExternOrRef, std::u16string_view _path, std::u16string_view _param,
                        ZrPtr<CCoZrItem>& _pItem) const {
    _pItem.Reset();
    if (_pExternOrRef) return MakeLink(SourceOf(_pExternOrRef).Get(), _path, _pItem);
    if (_path.empty()) return E_INVALIDARG;
    if (const ZrPtr<IUnknown> pNamed = named.Find(_path)) return MakeLink(pNamed.Get(), _path, _pItem);
    return MakeFile(_path, _param, _pItem);
}

HRESULT ItemMaker::MakeLink(IUnknown* _pSource, std::u16string_view _path, ZrPtr<CCoZrItem>& _pItem) const {
    if (!QueryAs<IZrSource_I>(_pSource)) return E_NOINTERFACE;
    _pItem = CCoZrItem::Make(_pSource, _path);
    if (!_pItem) return E_OUTOFMEMORY;
    _pItem->SetHost(pHost);
    return S_OK;
}

HRESULT ItemMaker::MakeFile(std::u16string_view _path, std::u16string_view _param, ZrPtr<CCoZrItem>& _pItem) const {
    const HRESULT hr =
        InterfaceCall([&] { return CCoZrItem::MakeFile(_path, FileLine(_param), OutputLine(), _pItem); });
    if (_pItem) _pItem->SetHost(pHost);
    return hr;
}

ZrPtr<IUnknown> SourceOf(IUnknown* _pExternOrRef) {
    ZrPtr<IUnknown> pSource;
    if (const ZrPtr<IZrItem> pItem = QueryAs<IZrItem>(_pExternOrRef)) {
        pItem->ItemInnerGet(pSource.Out());
    } else {
        pSource = _pExternOrRef;
    }
    return QueryAs<IUnknown>(pSource.Get());
}

}  // namespace zr
