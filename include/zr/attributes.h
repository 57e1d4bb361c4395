#pragma once
// The tree that holds all settings, as nodes with attributes. One object shows both faces.
//
// An attribute line is the text form of attributes: "a=1 b='two words' c=\"x\"", values with blanks in either kind of
// quotes, without escapes. Names and paths may go through child nodes, joined by "::".
//
// Any thread: each call is whole. The caller frees every text and releases every node that it receives.

#include <cstdint>

#include "zr/enums.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

struct IZrNode : IUnknown {
    static constexpr GUID kIid = GuidOf("3FC5BA07-C1EC-466D-B8E6-8F0FEBF6F8C9");

    // E_POINTER: _pbsName is null.
    virtual HRESULT NodeNameGet(BSTR* _pbsName) = 0;
    // E_INVALIDARG: a null or empty name.
    virtual HRESULT NodeNameSet(const char16_t* _bsName) = 0;
    // The node's text; the XML inside it for nodes that are kept as XML. E_POINTER: _pbsValue is null.
    virtual HRESULT NodeValueGet(BSTR* _pbsValue) = 0;
    // Sets that; a node that is kept as XML returns the reader's error for a text that is none.
    virtual HRESULT NodeValueSet(const char16_t* _bsValue) = 0;
    // The path down to this node from below _pRoot, or from below the top when _pRoot is null or not above this node.
    // The top itself has no path: *_pbsPath stays as it is.
    virtual HRESULT NodePathGet(BSTR* _pbsPath, IZrNode* _pRoot) = 0;
    // S_FALSE: this is the top.
    virtual HRESULT NodeParentGet(IZrNode** _ppParent) = 0;
    // Takes the node out of its parent; it lives on as a top while somebody holds it. S_FALSE: it is one already.
    virtual HRESULT NodeDetach() = 0;
    // Children that are nodes: texts and hidden ones do not count. E_POINTER: _pnCount is null.
    virtual HRESULT NodeGetCount(int32_t* _pnCount) = 0;
    // One of those, 0 first; name and node may be null. ZR_E_BAD_INDEX: no such place.
    virtual HRESULT NodeGetByIndex(int32_t _nIndex, BSTR* _pbsName, IZrNode** _ppNode) = 0;
    // Makes a new node at a path, even beside one of that name, and the missing ones on the way. _bsValue: its text,
    // may be null, as _ppNode may. E_INVALIDARG: an empty path. E_FAIL: it cannot be made.
    virtual HRESULT NodeAdd(const char16_t* _bsPath, const char16_t* _bsValue, IZrNode** _ppNode) = 0;
    // The node at a path, made where missing if _bCreateNew is not 0; _ppNode may be null. E_INVALIDARG: an empty path.
    // ZR_E_NOT_FOUND: there is none.
    virtual HRESULT NodeGet(const char16_t* _bsPath, int32_t _bCreateNew, IZrNode** _ppNode) = 0;
    // Removes the node at a path with all below it. S_FALSE: there is none, or it is this node. E_INVALIDARG: an empty
    // path.
    virtual HRESULT NodeRemove(const char16_t* _bsPath) = 0;
    // Removes all children, and all attributes too if _bRemoveAttributes is not 0.
    virtual HRESULT NodeRemoveAll(int32_t _bRemoveAttributes) = 0;
    // Reads XML into this node. Its name becomes that of the XML's top only if _bUpdateName is not 0. A text that is
    // not XML returns the reader's error.
    virtual HRESULT NodeParse(const char16_t* _bsXMLString, int32_t _bUpdateName) = 0;
    // The node and all below it as XML. E_POINTER: _pbsXMLString is null.
    virtual HRESULT NodeSave(BSTR* _pbsXMLString) = 0;
    // A copy of the node and all below it, a top of its own. E_POINTER: _ppClone is null.
    virtual HRESULT NodeClone(IZrNode** _ppClone) = 0;
    // Always E_NOTIMPL.
    virtual HRESULT NodeSet(IZrNode* _pNodeSet, eZrUpdateType _eUpdateType) = 0;
    // What is known about nodes of this name: the help (null or empty _bsInfoType), or what is under that name.
    // S_FALSE: nothing. E_POINTER: _pbsDescription is null.
    virtual HRESULT NodeInfoGet(const char16_t* _bsInfoType, BSTR* _pbsDescription) = 0;

protected:
    ~IZrNode() = default;
};

struct IZrAttributes : IUnknown {
    static constexpr GUID kIid = GuidOf("D75B98EE-3203-4558-AC67-1F04CEE437AC");

    // S_FALSE: there are none.
    virtual HRESULT AttributesGetCount(int32_t* _pnCount) = 0;
    // One attribute, 0 first, those of hidden children last under names such as "child::name". Either text may be null.
    // ZR_E_BAD_INDEX: no such place.
    virtual HRESULT AttributesGetByIndex(int32_t _nIndex, BSTR* _pbsName, BSTR* _pbsValue) = 0;
    // ZR_E_NOT_FOUND: none of that name.
    virtual HRESULT AttributesRemove(const char16_t* _bsName) = 0;
    // Removes the attributes of this node, not those of its children.
    virtual HRESULT AttributesRemoveAll() = 0;
    // Set a value, making the nodes on the way. E_INVALIDARG: a path that cannot be made.
    virtual HRESULT AttributesStringSet(const char16_t* _bsName, const char16_t* _bsValue) = 0;
    virtual HRESULT AttributesBoolSet(const char16_t* _bsName, int32_t _bValue) = 0;
    virtual HRESULT AttributesIntSet(const char16_t* _bsName, int32_t _nValue) = 0;
    virtual HRESULT AttributesDoubleSet(const char16_t* _bsName, double _dblValue) = 0;
    // _pbHave: 1 and the value, or S_FALSE, 0 and the known default, null where none is known. Either may be null.
    virtual HRESULT AttributesHave(const char16_t* _bsName, int32_t* _pbHave, BSTR* _pbsValueOrDefault) = 0;
    // Get a value. Text that is no number is 0. ZR_E_NOT_FOUND: none of that name, the number is 0.
    virtual HRESULT AttributesStringGet(const char16_t* _bsName, BSTR* _pbsValue) = 0;
    virtual HRESULT AttributesIntGet(const char16_t* _bsName, int32_t* _pnValue) = 0;
    virtual HRESULT AttributesBoolGet(const char16_t* _bsName, int32_t* _pbValue) = 0;
    virtual HRESULT AttributesDoubleGet(const char16_t* _bsName, double* _pdblValue) = 0;
    // Sets all attributes of a line; eZrUT_ClearDest removes the present ones first. Present values are overwritten in
    // every mode. Beware the results: S_FALSE when something was set, S_OK when the line held nothing.
    // E_INVALIDARG: the line is null.
    virtual HRESULT AttributesMultipleSet(const char16_t* _bsAttributesList, eZrUpdateType _eUpdateType) = 0;
    // All attributes as a line, with a blank before each.
    virtual HRESULT AttributesSave(BSTR* _pbsAttributesList) = 0;
    // A node of its own, named "zr_attributes", with a copy of the attributes and no children.
    virtual HRESULT AttributesClone(IZrAttributes** _ppClone) = 0;
    // Takes over the attributes of another node. eZrUT_AddNew keeps present values, eZrUT_Update overwrites them,
    // eZrUT_ClearDest removes them first. E_INVALIDARG: _pAttributesList is null.
    virtual HRESULT AttributesSet(IZrAttributes* _pAttributesList, eZrUpdateType _eUpdateType) = 0;
    // How many attributes are described for this node, set or not. S_FALSE: none.
    virtual HRESULT AttributesInfoGetCount(int32_t* _pnCount) = 0;
    // The name of one of those, 0 first. E_INVALIDARG: a negative place. ZR_E_BAD_INDEX: past the end.
    virtual HRESULT AttributesInfoGetByIndex(int32_t _nIndex, BSTR* _pbsName) = 0;
    // What is known about an attribute. The values of an option come joined by ",", or each with "|" behind it.
    // S_FALSE: nothing. E_INVALIDARG: an empty name or another type.
    virtual HRESULT AttributesInfoGet(const char16_t* _bsName, eZrInfoType _eType, BSTR* _pbsInfo) = 0;
    // What is known about one value of an option: its help (null or empty _bsType), or what is under that name.
    // S_FALSE: nothing. E_INVALIDARG: an empty name or value.
    virtual HRESULT AttributesValuesInfoGet(const char16_t* _bsName, const char16_t* _bsValue, const char16_t* _bsType,
                                            BSTR* _pbsInfo) = 0;

protected:
    ~IZrAttributes() = default;
};

}  // namespace zr
