#pragma once
// Texts as they stand between tags, to what they mean: entities and folded white space.

#include <optional>
#include <string>
#include <string_view>

namespace zr {

enum class TextSpace { kDrop, kKeep };  // what a text of nothing but blanks is: no text, or a text
enum class TextFold { kFold, kKeep };   // line breaks and tabs become blanks, or stay

// Empty when there is no text. Entities are known by their first letters and skipped by their full length: "&lxyz" is
// "<z". A "&" that begins none goes away. The view is _text or what _buffer then holds.
std::optional<std::u16string_view> DecodeText(std::u16string_view _text, TextSpace _eSpace, TextFold _eFold,
                                              std::u16string& _buffer);

}  // namespace zr
