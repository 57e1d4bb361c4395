#pragma once
// Scene elements: where each stream stands on the output picture. A scene is a tree of them; its root shows IZrElements
// and IZrElement, as every element does, and so do IZrAttributes and IZrNode for what an element is written as.

#include <cstdint>

#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

struct IZrElement;

// The children of an element. Any thread; a change of the tree waits for the end of a drawing pass. The caller releases
// the elements that it receives. _dblTimeForChange: seconds that the change takes, 0 at once.
struct IZrElements : IUnknown {
    static constexpr GUID kIid = GuidOf("693ACF2E-CF7C-4D1C-A190-0BC4029ED15D");

    // E_POINTER: _pnCount is null.
    virtual HRESULT ElementsGetCount(int32_t* _pnCount) = 0;
    // A child by its place, 0 first and drawn first. ZR_E_BAD_INDEX: no such place.
    virtual HRESULT ElementsGetByIndex(int32_t _nIndex, IZrElement** _ppChildElement) = 0;
    // A child by its id, or one further down by a path of ids joined by "::". ZR_E_BAD_INDEX: none.
    virtual HRESULT ElementsGetByID(const char16_t* _bsElementID, IZrElement** _ppChildElement) = 0;
    // Adds a child at the end, so on top; it is faded in over the time. Where a child of that id exists, that one is
    // changed instead. Null or empty id: one made from the type, "video", then "video_001", the lowest number that is
    // free. Type: "video" shows a stream, "group" holds others; empty: "item". _bsElementProps: an attribute line
    // ("stream_id=cam1 x=0.1"), XML, or an XML file. _ppChildElement may be null. Win32Error(123): a "view" in no view.
    // E_INVALIDARG: an id with "::" in it, which would be a path; a type that is no XML name.
    virtual HRESULT ElementsAdd(const char16_t* _bsNewElementID, const char16_t* _bsElementType,
                                const char16_t* _bsElementProps, IZrElement** _ppChildElement,
                                double _dblTimeForChange) = 0;
    // Always E_NOTIMPL: add a stream, then a "video" element that names it.
    virtual HRESULT ElementsMediaAdd(const char16_t* _bsNewElementID, IUnknown* _pExternOrRef, const char16_t* _bsPath,
                                     const char16_t* _bsParam, IZrElement** _ppChildElement,
                                     double _dblTimeForChange) = 0;

protected:
    ~IZrElements() = default;
};

// One element. Any thread; a new attribute counts from the next frame on. The names "show", "x", "y", "w", "h", "sx",
// "sy", "sw", "sh", "alpha" and "audio_gain" can change over _dblTimeForChange seconds, other ones change at once.
struct IZrElement : IUnknown {
    static constexpr GUID kIid = GuidOf("7B93BB55-93EF-47F6-9260-6961CC7A7D28");

    // The caller releases the parent. S_FALSE and null: this is the root.
    virtual HRESULT ElementParentGet(IZrElement** _ppParent) = 0;
    // Moves the element, with all below it, to the end of another parent; null takes it out of the tree.
    // S_FALSE: it is there already. Win32Error(1059): its own parent. ZR_E_NOT_FOUND: it is in no tree.
    virtual HRESULT ElementParentSet(IZrElement* _pParent) = 0;
    // Set one attribute. E_INVALIDARG: an empty name.
    virtual HRESULT ElementBoolSet(const char16_t* _bsAttributeName, int32_t _bValue, double _dblTimeForChange) = 0;
    virtual HRESULT ElementDoubleSet(const char16_t* _bsAttributeName, double _dblValue, double _dblTimeForChange) = 0;
    virtual HRESULT ElementStringSet(const char16_t* _bsAttributeName, const char16_t* _bsValue,
                                     double _dblTimeForChange) = 0;
    // Sets several attributes by one line, as in "x=0.5 alpha=0.3".
    virtual HRESULT ElementMultipleSet(const char16_t* _bsAttributesList, double _dblTimeForChange) = 0;
    // Changes the element by an attribute line, or replaces all but its id by XML or the name of an XML file. A type
    // that is not empty becomes its type. E_INVALIDARG: it is no XML name.
    virtual HRESULT ElementSet(const char16_t* _bsElementType, const char16_t* _bsXMLDescription,
                               double _dblTimeForChange) = 0;
    // Always E_NOTIMPL: set "stream_id" instead.
    virtual HRESULT ElementMediaSet(IUnknown* _pExternOrRef, const char16_t* _bsPath, const char16_t* _bsParam,
                                    double _dblTimeForChange) = 0;
    // The caller frees the text. E_POINTER: _pbsElementType is null.
    virtual HRESULT ElementTypeGet(BSTR* _pbsElementType) = 0;
    // Its type and the whole of it as XML; either may be null, the caller frees both.
    virtual HRESULT ElementGet(BSTR* _pbsElementType, BSTR* _pbsXMLDescription) = 0;
    // Moves it by that many places among its siblings; the last is drawn on top. S_FALSE: this is the root.
    virtual HRESULT ElementReorder(int32_t _nAddIndex) = 0;
    // On a view: goes to it, by way of the views it lists. On others "select", with "true", "false", or nothing to
    // toggle: applies the element's attributes for selection and puts back those of all others unless the parameter has
    // "multiple_select". S_FALSE: it is so already. E_NOTIMPL: another command.
    virtual HRESULT ElementInvoke(const char16_t* _bsCommand, const char16_t* _bsParam, double _dblTimeForChange) = 0;
    // Takes the element out of its parent; outside the active scene at once, whatever the time.
    virtual HRESULT ElementDetach(double _dblTimeForChange) = 0;
    // The rectangle as fractions of the output picture, through all parents: left and top edge, width, height.
    virtual HRESULT ElementAbsolutePosGet(double* _pdblXPos, double* _pdblYPos, double* _pdblWidth,
                                          double* _pdblHeight) = 0;
    virtual HRESULT ElementAbsolutePosSet(double _dblXPos, double _dblYPos, double _dblWidth, double _dblHeight) = 0;
    // What is known about elements of this type: the help (null or empty _bsInfoType), or what is under that name. The
    // caller frees the text. S_FALSE: nothing.
    virtual HRESULT ElementInfoGet(const char16_t* _bsInfoType, BSTR* _pbsDescription) = 0;

protected:
    ~IZrElement() = default;
};

}  // namespace zr
