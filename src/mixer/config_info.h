#pragma once
// What a saved configuration of a mixer can hold, as XML; see IZrPersistInfo.

#include <string>

namespace zr {

// Made of the tables that the library itself reads by: keys, elements, positions, colours.
std::u16string ConfigInfoXml();

}  // namespace zr
