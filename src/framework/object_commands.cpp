#include "framework/object_commands.h"

#include <string>
#include <string_view>

#include "attributes/attr_text.h"
#include "attributes/attribute_line.h"
#include "attributes/co_xml_node.h"
#include "attributes/interface_call.h"
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
            pNode->SetAttribute(u"value", _text);
        } else {
            SetAttributeLine(*pNode, _text, eZrUT_ClearDest);
        }
    }
    double Value(std::u16string_view _key, double _dblDefault) const {
        return pNode->AttributeOr(bPlain ? u"value" : _key, _dblDefault);
    }
    // Of a key that a single value does not stand for.
    double Other(std::u16string_view _key, double _dblDefault) const { return pNode->AttributeOr(_key, _dblDefault); }
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

}  // namespace

HRESULT ExecuteObjectCommand(IUnknown* _pObject, const char16_t* _szCommand, const char16_t* _szParam,
                             BSTR* _pbsReturn) {
    if (_pbsReturn) *_pbsReturn = nullptr;
    const std::u16string_view command = TextArgument(_szCommand);
    if (command.empty()) return E_INVALIDARG;
    return InterfaceCall([&] {
        const CommandParam param(TextArgument(_szParam));
        for (std::u16string_view known : {u"start", u"pause", u"stop", u"rate", u"seek", u"skip"}) {
            if (command != known) continue;
            const ZrPtr<IZrFile> pFile = QueryAs<IZrFile>(_pObject);
            return pFile ? FileCommand(pFile.Get(), command, param) : E_NOINTERFACE;
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
