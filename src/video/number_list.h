#pragma once
// Lists of whole numbers in attribute texts, such as "10, 20" of crop and borders.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zr {

// Reads up to _nMost numbers, each with its sign, whatever stands between them. _nBase: as ParseInt32. Returns how many
// there were.
size_t ReadNumberList(std::u16string_view _text, int _nBase, int32_t* _pnNumbers, size_t _nMost);

}  // namespace zr
