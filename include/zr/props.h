#pragma once
// The settings of an object: a tree of keys with text values, addressed by path as in "object::sync_mode".

#include <cstdint>

#include "zr/enums.h"
#include "zr/text.h"
#include "zr/unknown.h"

namespace zr {

// Any thread. A new value counts from the next use of the key, for most keys the next frame. The caller frees every
// text it receives. Values are converted where they are used: text that is no number is 0, "true" and "1" are true.
struct IZrProps : IUnknown {
    static constexpr GUID kIid = GuidOf("E87EC11B-88D2-4673-B486-DE4907D47269");

    // Sets a key, making the nodes on the way. Null or empty name: the value is XML, or an attribute line, and goes
    // into the tree as a whole. E_INVALIDARG: neither name nor value, or a path that cannot be made.
    virtual HRESULT PropsSet(const char16_t* _bsPropName, const char16_t* _bsPropValue) = 0;
    // The value of a key, its known default where it is not set, or a node's text; for an empty name the whole tree as
    // XML. Also "_process_name_", "_process_pid_", "dll-version", "dll-file-version", "dll-path", "dll-date".
    // S_FALSE: it is not set; the text is its default, or null where none is known.
    virtual HRESULT PropsGet(const char16_t* _bsPropName, BSTR* _pbsPropValue) = 0;
    // Keys and child nodes below a node; null or empty: the root. Where the node's keys are described somewhere, all of
    // these count, set or not. E_POINTER: _pnCount is null. E_INVALIDARG: no such node.
    virtual HRESULT PropsGetCount(const char16_t* _bsNodeName, int32_t* _pnCount) = 0;
    // One of those, 0 first, keys before nodes; each out argument may be null. _pbNode: 1 for a node, whose value is
    // its text. The node "_info_" gives each key of the root with its attribute line. ZR_E_BAD_INDEX: no such position.
    virtual HRESULT PropsGetByIndex(const char16_t* _bsNodeName, int32_t _nIndex, BSTR* _pbsPropName,
                                    BSTR* _pbsPropValue, int32_t* _pbNode) = 0;
    // Removes a key, or else the node of that name with all below it. "_all_props_": all keys of the root;
    // "_all_nodes_": all its nodes. E_INVALIDARG: an empty name, or nothing of that name.
    virtual HRESULT PropsRemove(const char16_t* _bsPropName) = 0;
    // What is known about a key: help, type, default, values, least, greatest. S_FALSE: nothing is known.
    // E_INVALIDARG: an empty name or another type.
    virtual HRESULT PropsInfoGet(const char16_t* _bsPropName, eZrInfoType _eType, BSTR* _pbsInfo) = 0;
    // How many fixed values a key can be given. S_FALSE and 0: it takes anything.
    virtual HRESULT PropsOptionGetCount(const char16_t* _bsPropName, int32_t* _pnOptionCount) = 0;
    // One of them, 0 first, with its help; either may be null. ZR_E_BAD_INDEX: no such position.
    virtual HRESULT PropsOptionGetByIndex(const char16_t* _bsPropName, int32_t _nOptionIdx, BSTR* _pbsOptionValue,
                                          BSTR* _pbsHelp) = 0;
    // Sets the key to one of them. ZR_E_BAD_INDEX: no such position.
    virtual HRESULT PropsOptionSetByIndex(const char16_t* _bsPropName, int32_t _nOptionIdx) = 0;
    // Which of them the key has now; each out argument may be null. S_FALSE and index -1: another value, or none.
    virtual HRESULT PropsOptionGet(const char16_t* _bsPropName, int32_t* _pnOptionIdx, BSTR* _pbsOptionValue,
                                   BSTR* _pbsHelp) = 0;

protected:
    ~IZrProps() = default;
};

}  // namespace zr
