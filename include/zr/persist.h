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

// What such a file can hold, for who writes one by hand, edits or checks it.
struct IZrPersistInfo : IUnknown {
    static constexpr GUID kIid = GuidOf("14A7BFC1-A433-445A-8213-4B7AEE743890");

    // XML, which the caller frees. Its top holds a node for each kind of node, by its name; where there are several of
    // one name, they count together. "nodes": the kinds it can hold, separated by commas; "inherit": a kind whose
    // attributes it has as well; "any": it takes whatever attributes and nodes stand there, as does a kind without a
    // node. Below it its attributes with "type", "default", "values" and, as text, their help. Types: "string", "bool",
    // "int", "double", "time" (seconds or a date), "option" (one of the values), "path" (a file), "media" (what a
    // source plays), "format" (of the table of pictures), "numbers" and "colors" (lists), "color", "position" and
    // "mask". The node "_values_" has the names that values of a type can have.
    virtual HRESULT PersistInfoGet(BSTR* _pbsXMLInfo) = 0;

protected:
    ~IZrPersistInfo() = default;
};

}  // namespace zr
