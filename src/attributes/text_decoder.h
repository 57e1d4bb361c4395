#pragma once
// Texts as they stand between tags, to what they mean: entities and folded white space.

#include <optional>
#include <string_view>

namespace zr {

enum class TextSpace { kDrop, kKeep };  // what a text of nothing but blanks is: no text, or a text
enum class TextFold { kFold, kKeep };   // line breaks and tabs become blanks, or stay

// In place: the text is never longer than what stands for it. Empty when there is no text. Entities are known by their
// first letters and skipped by their full length: "&lxyz" is "<z". A "&" that begins none goes away.
std::optional<std::u16string_view> DecodeText(char16_t* _pText, char16_t* _pEnd, TextSpace _eSpace, TextFold _eFold);

}  // namespace zr
