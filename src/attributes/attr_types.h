#pragma once
// The kinds of values that an attribute can hold beside its text.

#include <cstdint>

#include "zr/unknown.h"

namespace zr {

enum class AttrKind : uint32_t {
    kText = 0,
    kBool = 1,
    kInt32 = 2,
    kUInt32 = 3,
    kInt64 = 4,
    kUInt64 = 5,
    kMeasure = 6,
    kDouble = 7,
    kGuid = 8,
    kFourCC = 9,
    kColour = 10,
    kDateTime = 11,
};

enum class AttrUnit : uint32_t { kNone = 0, kPercent = 1, kPixels = 2, kPoints = 3 };

struct AttrMeasure {
    double dblValue;
    AttrUnit eUnit;
};

struct AttrFourCC {
    uint32_t nCode;  // the first character is the low byte
};

struct AttrColour {
    uint32_t nValue;  // red in the low byte, then green, blue, alpha
};

// Year, month and day are all 0 for a time of day alone.
struct AttrDateTime {
    uint16_t nYear;
    uint16_t nMonth;
    uint16_t nDayOfWeek;
    uint16_t nDay;
    uint16_t nHour;
    uint16_t nMinute;
    uint16_t nSecond;
    uint16_t nMilliseconds;
};

namespace detail {
template <class T>
inline constexpr AttrKind kKindOf = AttrKind::kText;
template <>
inline constexpr AttrKind kKindOf<bool> = AttrKind::kBool;
template <>
inline constexpr AttrKind kKindOf<int32_t> = AttrKind::kInt32;
template <>
inline constexpr AttrKind kKindOf<uint32_t> = AttrKind::kUInt32;
template <>
inline constexpr AttrKind kKindOf<int64_t> = AttrKind::kInt64;
template <>
inline constexpr AttrKind kKindOf<uint64_t> = AttrKind::kUInt64;
template <>
inline constexpr AttrKind kKindOf<AttrMeasure> = AttrKind::kMeasure;
template <>
inline constexpr AttrKind kKindOf<double> = AttrKind::kDouble;
template <>
inline constexpr AttrKind kKindOf<GUID> = AttrKind::kGuid;
template <>
inline constexpr AttrKind kKindOf<AttrFourCC> = AttrKind::kFourCC;
template <>
inline constexpr AttrKind kKindOf<AttrColour> = AttrKind::kColour;
template <>
inline constexpr AttrKind kKindOf<AttrDateTime> = AttrKind::kDateTime;
}  // namespace detail

// A type in which an attribute can be read and set.
template <class T>
concept AttrBinary = detail::kKindOf<T>
!= AttrKind::kText;

}  // namespace zr
