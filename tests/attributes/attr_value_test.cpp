// How values read from text and print, kind by kind.

#include "attributes/attr_value.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

#include "zr/utf8.h"

namespace zr {
namespace {

template <class T>
T Read(std::string_view _text) {
    AttrValue value{ToUtf16(_text)};
    return value.As<T>();
}

template <class T>
std::string Print(T _value) {
    AttrValue value;
    value.Set(_value);
    return ToUtf8(value.Text());
}

TEST(AttrValue, Bools) {
    for (const char* sz : {"1", "true", "TRUE", "yes", "Only", "on", "Y", "7", "0x10", "010", "2abc"})
        EXPECT_TRUE(Read<bool>(sz)) << sz;
    for (const char* sz : {"", "0", "false", "False", "no", "off", "-1", "0.9", "x1", "truely"})
        EXPECT_FALSE(Read<bool>(sz)) << sz;
    EXPECT_EQ(Print(true), "true");
    EXPECT_EQ(Print(false), "false");
}

TEST(AttrValue, Integers) {
    const std::tuple<const char*, int64_t> arrCases[] = {
        {"42", 42},  {"-42", -42}, {"0x1F", 31}, {"-0x10", -16}, {"010", 8},  {"08", 0},
        {" \t7", 7}, {"+7", 7},    {"12px", 12}, {"1.9", 1},     {"true", 1}, {"TRUE", 1},
        {"yes", 0},  {"", 0},      {"0x", 0},    {"--1", 0},     {"abc", 0},
    };
    for (const auto& [sz, n] : arrCases) {
        EXPECT_EQ(Read<int32_t>(sz), n) << sz;
        EXPECT_EQ(Read<int64_t>(sz), n) << sz;
    }
    EXPECT_EQ(Read<int64_t>("9223372036854775807"), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(Read<int64_t>("99999999999999999999"), -1);  // read without a sign, the largest there is
    EXPECT_EQ(Read<uint32_t>("0xFFFFFFFF"), 0xFFFFFFFFu);
    EXPECT_EQ(Read<uint64_t>("0xFFFFFFFFFFFFFFFF"), ~uint64_t{0});
    EXPECT_EQ(Print(int32_t{-5}), "-5");
    EXPECT_EQ(Print(uint32_t{0xBEEF}), "0x0000BEEF");
    EXPECT_EQ(Print(std::numeric_limits<int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(Print(uint64_t{0xBEEF}), "0x000000000000BEEF");
}

TEST(AttrValue, Doubles) {
    const std::tuple<const char*, double> arrCases[] = {
        {"0.25", 0.25}, {"-1e3", -1000}, {"50%", 0.5}, {"50 %", 50}, {"true", 1}, {".5", 0.5}, {"5e-2", 0.05},
        {"5.", 5},      {"1.5x", 1.5},   {" 2", 2},    {"", 0},      {"x", 0},    {"%", 0},
    };
    for (const auto& [sz, dbl] : arrCases) EXPECT_DOUBLE_EQ(Read<double>(sz), dbl) << sz;
    const std::tuple<double, const char*> arrPrints[] = {{0, "0.0"},
                                                         {1, "1.0"},
                                                         {0.5, "0.5"},
                                                         {-2.25, "-2.25"},
                                                         {1.0 / 3, "0.333333"},
                                                         {1e15, "1000000000000000.0"},
                                                         {0.0000004, "0.0"},
                                                         {100, "100.0"}};
    for (const auto& [dbl, sz] : arrPrints) EXPECT_EQ(Print(dbl), sz);
    EXPECT_EQ(Print(1e300).size(), 303u);  // 301 digits and ".0"
}

TEST(AttrValue, MeasuresKeepTheirUnit) {
    const std::tuple<const char*, double, AttrUnit, const char*> arrCases[] = {
        {"12.5%", 12.5, AttrUnit::kPercent, "12.500%"},
        {"10px", 10, AttrUnit::kPixels, "10px"},
        {"2.5px", 2.5, AttrUnit::kPixels, "3px"},
        {"-2.5pt", -2.5, AttrUnit::kPoints, "-3pt"},
        {"7", 7, AttrUnit::kNone, "7.00"},
        {"7em", 7, AttrUnit::kNone, "7.00"},
    };
    for (const auto& [szIn, dbl, eUnit, szOut] : arrCases) {
        const auto measure = Read<AttrMeasure>(szIn);
        EXPECT_DOUBLE_EQ(measure.dblValue, dbl) << szIn;
        EXPECT_EQ(measure.eUnit, eUnit) << szIn;
        EXPECT_EQ(Print(measure), szOut);
    }
}

TEST(AttrValue, Identifiers) {
    constexpr GUID id = GuidOf("01234567-89ab-cdef-0123-456789abcdef");
    for (const char* sz : {"{01234567-89AB-CDEF-0123-456789ABCDEF}", "0123456789abcdef0123456789abcdef",
                           "01 23 45 67/89-ab.cd,ef 0123456789abcdef"})
        EXPECT_EQ(Read<GUID>(sz), id) << sz;
    for (const char* sz : {"", "{01234567-89AB-CDEF-0123-456789ABCD}", "0123456789abcdef0123456789abcdef00"})
        EXPECT_EQ(Read<GUID>(sz), GUID{}) << sz;
    EXPECT_EQ(Print(id), "{01234567-89AB-CDEF-0123-456789ABCDEF}");
}

TEST(AttrValue, FourCharacterCodes) {
    const std::tuple<const char*, uint32_t, const char*> arrCases[] = {
        {"UYVY", 0x59565955, "UYVY"},   {"uyvy", 0x59565955, "UYVY"},
        {"v210", 0x30313276, "v210"},   {"ARGB32", 0x773C9AC0, "ARGB32"},
        {"rgb24", 0xE436EB7D, "RGB24"}, {"BI_RLE8", 1, "BI_RLE8"},
        {"avc1", 0x31637661, "avc1"},   {"ARGB4444", 0x6E6415E6, "ARGB4444"},
        {"toolong", 0, "BI_RGB"},       {"abc", 0, "BI_RGB"},
    };
    for (const auto& [sz, nCode, szPrinted] : arrCases) {
        EXPECT_EQ(Read<AttrFourCC>(sz).nCode, nCode) << sz;
        EXPECT_EQ(Print(AttrFourCC{nCode}), szPrinted);
    }
    EXPECT_EQ(Print(AttrFourCC{0xE436EB7B}), "RGB565");
    EXPECT_EQ(Print(AttrFourCC{0x12}), "0x12");
}

TEST(AttrValue, Colours) {
    constexpr uint32_t kDefault = 0x11223344;
    // nValue: alpha, blue, green, red
    const std::tuple<const char*, uint32_t> arrCases[] = {
        {"Red", 0xFF0000FF},      {"blue", 0xFFFF0000},        {"OrangeRed", 0xFF0045FF}, {"ov", 0xFF8A5406},
        {"Transparent", 0},       {"Red(128)", 0x800000FF},    {"Red(0)", 0x000000FF},    {"Red(300)", 0xFF0000FF},
        {"FF0000", 0xFF0000FF},   {"F00", 0xFF0000FF},         {"ABC", 0xFFCCBBAA},       {"0xFF0000", 0xFF0000FF},
        {"80FF0000", 0x800000FF}, {"#FF0000", kDefault},       {"nonsense", kDefault},    {"Default", kDefault},
        {"(16)", 0x10223344},     {"Default(16)", 0x10223344}, {"Red(0.5)", 0x000000FF},  // cut at the point
        {"Red;blue", 0xFF0000FF}, {"00FF00(64)", 0x4000FF00},
    };
    for (const auto& [sz, nValue] : arrCases) {
        AttrValue value{ToUtf16(sz)};
        EXPECT_EQ(value.AsColour({kDefault}).nValue, nValue) << sz;
    }
    AttrValue empty;
    EXPECT_EQ(empty.AsColour({kDefault}).nValue, 0u);  // no text is all zeros
    EXPECT_EQ(Print(AttrColour{0xFF0000FF}), "Red");
    EXPECT_EQ(Print(AttrColour{0x800000FF}), "Red(128)");
    EXPECT_EQ(Print(AttrColour{0xFF030201}), "#010203");
    EXPECT_EQ(Print(AttrColour{0x40030201}), "#010203(64)");
    EXPECT_EQ(Print(AttrColour{0xFF8A5406}), "OV");
}

TEST(AttrValue, Times) {
    const std::tuple<const char*, const char*> arrCases[] = {
        {"1:30:00", "01:30:00"},
        {"1:30", "01:30:00"},
        {"90", "01:30:00"},
        {"1h30m", "01:30:00"},
        {"90.0", "00:01:30"},
        {"1h", "01:00:00"},
        {"2m", "02:00:00"},
        {"5s", "00:05:00"},
        {"25:00:00", "01:00:00"},
        {"0:0:1.5", "00:00:01.500"},
        {"2024-05-31 1:2:3", "2024-05-31 01:02:03"},
        {"31/05/2024 1:2:3.25", "2024-05-31 01:02:03.250"},
        {"31.05.2024 0:00:00", "2024-05-31 00:00:00"},
        {"", "00:00:00"},
    };
    for (const auto& [szIn, szOut] : arrCases) EXPECT_EQ(Print(Read<AttrDateTime>(szIn)), szOut) << szIn;
}

}  // namespace
}  // namespace zr
