#pragma once
// Makes the items of a mixer: places for a file, a picture, a test signal or an object that is there.

#include <string>
#include <string_view>

#include "attributes/props.h"
#include "framework/object_format.h"
#include "mixer/direct_links.h"
#include "sources/co_zr_item.h"

namespace zr {

// Any thread.
class ItemMaker {
public:
    // All outlive it.
    ItemMaker(const ZrPropsHW& _props, const ObjectFormat& _format, const DirectLinks& _named)
        : props(_props), format(_format), named(_named) {}

    // _pExternOrRef (may be null): the source, or an item, whose source is used. Else _path names an object that is
    // there, or is opened as by MakeFile. With no lock held. E_INVALIDARG: neither is given. E_NOINTERFACE: an object
    // that gives no frames. Otherwise what opening the source returned.
    HRESULT Make(IUnknown* _pExternOrRef, std::u16string_view _path, std::u16string_view _param,
                 ZrPtr<CCoZrItem>& _pItem) const;
    // Opens a file, a picture or a test signal, which is asked for the output's format.
    HRESULT MakeFile(std::u16string_view _path, std::u16string_view _param, ZrPtr<CCoZrItem>& _pItem) const;

    // For an item that was made by other means: its play calls go where those of all go.
    void Adopt(CCoZrItem& _item) const { _item.SetHost(pHost); }
    // Whether a file plays again and again where nothing else is said.
    bool LoopsFiles() const { return props.Root()->AttributeOr(u"file.loop", true); }

    // What a file source is told of the output, so that it can give frames that need no conversion.
    std::u16string OutputLine() const;

    // Where the items' play calls go. Once, before the first item is made.
    void SetHost(ZrPtr<IItemHost> _pHost) { pHost = std::move(_pHost); }

private:
    std::u16string FileLine(std::u16string_view _param) const;
    HRESULT MakeLink(IUnknown* _pSource, std::u16string_view _path, ZrPtr<CCoZrItem>& _pItem) const;

    const ZrPropsHW& props;
    const ObjectFormat& format;
    const DirectLinks& named;
    ZrPtr<IItemHost> pHost;
};

// The object whose frames are meant by the argument of a host: itself, or what is in it when it is an item.
ZrPtr<IUnknown> SourceOf(IUnknown* _pExternOrRef);

}  // namespace zr
