#pragma once
// Gives an object T its face for saving and loading. P holds a node of the tree that it is saved as. T has
//     P NewTree_I();
//     HRESULT Save_I(std::u16string_view _object, P _pTop, const PERSIST_PARAM&);
//     HRESULT Load_I(std::u16string_view _object, P _pTree, const PERSIST_PARAM&);

#include <string>
#include <string_view>

#include "attributes/attribute_line.h"
#include "attributes/co_xml_node.h"
#include "attributes/interface_call.h"
#include "attributes/xml_file.h"
#include "platform/file.h"
#include "zr/persist.h"

namespace zr {

// What one save or load is about.
struct PERSIST_PARAM {
    std::u16string strFile;  // from the root of the file system on; empty for a text
    bool bXmlHeader = false;
    bool bUnicode = false;
    bool bSeparateFiles = false;

    PERSIST_PARAM(const char16_t* _szLine, std::u16string_view _file) : strFile(AbsolutePath(_file)) {
        const XMLNodePtr pParam = CoXMLNode::Create(u"param");
        SetAttributeLine(*pParam, TextArgument(_szLine), eZrUT_Update);
        bXmlHeader = pParam->AttributeOr(u"xml_header", false);
        bUnicode = pParam->AttributeOr(u"unicode", false);
        bSeparateFiles = pParam->AttributeOr(u"separate_files", false);
    }
    // Where relative names are looked up and written from; empty for a text.
    std::u16string_view Folder() const {
        const size_t n = strFile.rfind(u'/');
        return n == strFile.npos ? std::u16string_view() : std::u16string_view(strFile).substr(0, n == 0 ? 1 : n);
    }
};

template <class T, class P>
class IZrPersistImpl : public IZrPersist {
public:
    HRESULT PersistSaveToFile(const char16_t* _bsObject, const char16_t* _bsFileName,
                              const char16_t* _bsSaveParam) override {
        if (TextArgument(_bsFileName).empty()) return E_INVALIDARG;
        return InterfaceCall([&] {
            const PERSIST_PARAM param(_bsSaveParam, _bsFileName);
            const P pTop = Self().NewTree_I();
            const HRESULT hr = Self().Save_I(TextArgument(_bsObject), pTop, param);
            if (Failed(hr)) return hr;
            return SaveXmlFile(*pTop, param.strFile.c_str(), {param.bXmlHeader, param.bUnicode});
        });
    }
    HRESULT PersistSaveToString(const char16_t* _bsObject, BSTR* _pbsXMLDesc, const char16_t* _bsSaveParam) override {
        if (!_pbsXMLDesc) return E_POINTER;
        *_pbsXMLDesc = nullptr;
        return InterfaceCall([&] {
            PERSIST_PARAM param(_bsSaveParam, {});
            param.bSeparateFiles = false;
            const P pTop = Self().NewTree_I();
            if (const HRESULT hr = Self().Save_I(TextArgument(_bsObject), pTop, param); Failed(hr)) return hr;
            std::u16string strXml;
            WriteXmlDocument(*pTop, param.bXmlHeader, strXml);
            return GiveText(strXml, _pbsXMLDesc);
        });
    }
    HRESULT PersistLoad(const char16_t* _bsObject, const char16_t* _bsXMLDescOrFile,
                        const char16_t* _bsLoadParam) override {
        return InterfaceCall([&] {
            bool bFile = false;
            const P pTree = Self().NewTree_I();
            const std::u16string_view text = TextArgument(_bsXMLDescOrFile);
            if (const HRESULT hr = LoadXmlFileOrText(text, *pTree, &bFile); Failed(hr)) return hr;
            const PERSIST_PARAM param(_bsLoadParam, bFile ? text : std::u16string_view());
            return Self().Load_I(TextArgument(_bsObject), pTree, param);
        });
    }

protected:
    ~IZrPersistImpl() = default;

private:
    T& Self() { return *static_cast<T*>(this); }
};

}  // namespace zr
