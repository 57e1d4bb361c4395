#pragma once
// Saving the state of an object to XML and loading it again.

#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// Any thread; the mix goes on meanwhile. _bsObject says what is meant: "scenes" the scenes alone, anything else the
// whole: keys, background, streams and scenes.
// Save parameters: "xml_header" (false) writes the XML line first, "unicode" (false) writes UTF-16 instead of UTF-8,
// "separate_files" (false) writes each scene to a file of its own beside the main one.
struct IZrPersist : IUnknown {
    static constexpr GUID kIid = GuidOf("8813934C-64F3-4278-9032-639211B897AD");

    // E_INVALIDARG: a null or empty file name. A file that cannot be written gives the system's error as a status.
    virtual HRESULT PersistSaveToFile(const char16_t* _bsObject, const char16_t* _bsFileName,
                                      const char16_t* _bsSaveParam) = 0;
    // The same into a text that the caller frees. E_POINTER: _pbsXMLDesc is null.
    virtual HRESULT PersistSaveToString(const char16_t* _bsObject, BSTR* _pbsXMLDesc, const char16_t* _bsSaveParam) = 0;
    // Loads a file when one of that name exists, otherwise reads the text itself as XML. Scenes replace all present
    // ones, and a file with a bare scene loads as that one scene. A stream that cannot be opened is left out and the
    // rest goes on. A text that cannot be parsed gives an error; what was loaded before it stays.
    virtual HRESULT PersistLoad(const char16_t* _bsObject, const char16_t* _bsXMLDescOrFile,
                                const char16_t* _bsLoadParam) = 0;

protected:
    ~IZrPersist() = default;
};

}  // namespace zr
