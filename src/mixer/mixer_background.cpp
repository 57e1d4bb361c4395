#include "mixer/mixer_background.h"

#include <cstdio>

#include "attributes/interface_call.h"
#include "media/format_table.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "media/vid_props_text.h"

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

// What a source is told of the output, so that it can give frames that need no conversion.
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

std::u16string MixerBackground::FileLine(std::u16string_view _param) const {
    std::u16string line(_param);
    const ZR_VID_PROPS wanted = format.Wanted().vidProps;
    if (wanted.eVideoFormat != eZrVF_Disabled && PropsValid(&wanted, true)) line += FormatLine(wanted);
    if (line.find(u"loop=") == std::u16string::npos && props.Root()->AttributeOr(u"file.loop", true)) {
        line += u" loop='true'";
    }
    return line;
}

ZrPtr<CCoZrItem> MixerBackground::Exchange(ZrPtr<CCoZrItem> _pItem) {
    MutexLock lock(cycle.mtxCycle);
    return streams.ExchangeBackground(std::move(_pItem));
}

HRESULT MixerBackground::Set(IUnknown* _pExternOrRef, std::u16string_view _path, std::u16string_view _param,
                             IZrItem** _ppItem) {
    if (_ppItem) *_ppItem = nullptr;
    ZrPtr<CCoZrItem> pItem;
    if (_pExternOrRef) {
        const ZrPtr<CCoZrItem> pPresent = streams.Background();
        const ZrPtr<IUnknown> pIdentity = QueryAs<IUnknown>(_pExternOrRef);
        if (pPresent && QueryAs<IUnknown>(pPresent->Source()) == pIdentity) return S_FALSE;
        if (!QueryAs<IZrSource_I>(_pExternOrRef)) return E_NOINTERFACE;
        pItem = CCoZrItem::Make(_pExternOrRef, _path);
        if (!pItem) return E_OUTOFMEMORY;
    } else if (!_path.empty()) {
        const HRESULT hr = InterfaceCall([&] { return CCoZrItem::MakeFile(_path, FileLine(_param), pItem); });
        if (Failed(hr)) return hr;
    }
    if (_ppItem) ZrPtr<IZrItem>(pItem).CopyTo(_ppItem);
    const ZrPtr<CCoZrItem> pOld = Exchange(std::move(pItem));
    if (pOld) pOld->Close();
    cycle.Wake();
    return S_OK;
}

HRESULT MixerBackground::Get(BSTR* _pbsPath, IZrItem** _ppItem) const {
    if (_pbsPath) *_pbsPath = nullptr;
    if (_ppItem) *_ppItem = nullptr;
    const ZrPtr<CCoZrItem> pItem = streams.Background();
    if (!pItem) return S_FALSE;
    if (_pbsPath) {
        if (const HRESULT hr = GiveText(pItem->Path(), _pbsPath); Failed(hr)) return hr;
    }
    if (_ppItem) ZrPtr<IZrItem>(pItem).CopyTo(_ppItem);
    return S_OK;
}

void MixerBackground::Close() {
    if (const ZrPtr<CCoZrItem> pOld = Exchange({})) pOld->Close();
}

}  // namespace zr
