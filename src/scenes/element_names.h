#pragma once
// The names that elements are made of.

#include <initializer_list>

#include "scenes/element.h"

namespace zr::element {

// --- Nodes that say how an element changes

inline constexpr NameKey kOnShow{u"on_show"};
inline constexpr NameKey kOnHide{u"on_hide"};
inline constexpr NameKey kAdd{u"add"};
inline constexpr NameKey kVary{u"vary"};
inline constexpr NameKey kOnSelect{u"on_select"};
// --- Nodes that are there while it changes
inline constexpr NameKey kNodeFrom{u"node_from"};
inline constexpr NameKey kNodeHide{u"node_hide"};
inline constexpr NameKey kClone{u"clone"};
inline constexpr NameKey kSelRestore{u"_sel_restore_"};
inline constexpr NameKey kTickerRestore{u"_ticker_next_restore_"};
inline constexpr NameKey kInfo{u"attributes_info"};

// --- Attributes

inline constexpr NameKey kShow{u"show"};
inline constexpr NameKey kAlpha{u"alpha"};
inline constexpr NameKey kRemove{u"_remove_"};
inline constexpr NameKey kCloneType{u"_type_"};  // of a clone: what it is a copy of
inline constexpr NameKey kSelected{u"selected"};
inline constexpr NameKey kHighlight{u"highlight_item"};

// --- Objects

inline constexpr NameKey kText{u"text"};
inline constexpr NameKey kSrcProps{u"src_props"};
inline constexpr NameKey kMixProps{u"mix_props"};
inline constexpr NameKey kVideoBlock{u"video_block"};
inline constexpr NameKey kMixerStream{u"mixer_stream"};
inline constexpr NameKey kDstRect{u"dst_rect"};

// --- Types

inline constexpr NameKey kScene{u"zr_scene"};
inline constexpr NameKey kView{u"view"};
inline constexpr NameKey kForeground{u"foreground"};  // the usual place for a scene's elements

inline bool IsOneOf(uint64_t _nHash, std::initializer_list<NameKey> _arrKeys) {
    return HasHash({_arrKeys.begin(), _arrKeys.size()}, _nHash);
}

// Settings of an element and companions of its change: no elements of their own.
inline bool IsSettingNode(uint64_t _nHash) {
    return IsOneOf(_nHash, {kOnShow, kOnHide, kAdd, kVary, kOnSelect, kNodeFrom, kNodeHide, kClone, kSelRestore,
                            kTickerRestore, kInfo});
}

// Types whose picture is made from what they contain.
inline bool IsContentType(const CoElement& _element) {
    return IsOneOf(NameHash(_element.Tag()),
                   {u"text", u"roll", u"crawl", u"matrix", u"cloud", u"polygon", u"cube", u"star"});
}

// Types that show and hide with their parent where it says "nested".
inline bool IsNestedType(const CoElement& _element) {
    return IsOneOf(NameHash(_element.Tag()), {u"group", u"block", u"cube", u"face", u"polygon", u"star", u"matrix",
                                              u"img", u"video", u"text", u"roll", u"crawl", u"ticker", u"object"});
}

// Sides of a body: elements without an id.
inline bool IsFaceType(std::u16string_view _type) {
    return IsOneOf(NameHash(_type),
                   {u"face", u"cell", u"front", u"right", u"left", u"back", u"top", u"bottom", u"rear_side"});
}

}  // namespace zr::element
