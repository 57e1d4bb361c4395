#include "platform/wide_text.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cstdio>
#include <random>
#include <tuple>

namespace zr {
namespace {

TEST(WideText, ReadsWholeNumbersForgivingly) {
    constexpr std::tuple<const char16_t*, int, int32_t, size_t> arrCases[] = {
        {u"", 10, 0, 0},
        {u"  +12x", 10, 12, 5},
        {u"-", 10, 0, 0},
        {u"x1", 10, 0, 0},
        {u"0x1F", 0, 31, 4},
        {u"0x1F", 10, 0, 1},  // base 10 stops at the x
        {u"0x1F", 16, 31, 4},
        {u"0xg", 0, 0, 1},  // the 0 is a number, the x is not
        {u"017", 0, 15, 3},
        {u"018", 0, 1, 2},
        {u"2147483647", 10, INT32_MAX, 10},
        {u"2147483648", 10, INT32_MAX, 10},
        {u"-2147483648", 10, INT32_MIN, 11},
        {u"-2147483649", 10, INT32_MIN, 11},
        {u"99999999999999999999999999999999", 10, INT32_MAX, 32},
        {u"\t\r\n -7\u00a0", 10, -7, 6},
    };
    for (const auto& [szText, nBase, nValue, nUsedWanted] : arrCases) {
        size_t nUsed = 99;
        EXPECT_EQ(ParseInt32(szText, nBase, &nUsed), nValue) << testing::PrintToString(szText);
        EXPECT_EQ(nUsed, nUsedWanted) << testing::PrintToString(szText);
    }
    EXPECT_EQ(ParseInt64(u"-9223372036854775809", 10), INT64_MIN);
    EXPECT_EQ(ParseInt64(u"9223372036854775807", 10), INT64_MAX);
    EXPECT_EQ(ParseInt64(u"9223372036854775808", 10), INT64_MAX);
}

TEST(WideText, ReadsFractionsForgivingly) {
    const std::tuple<const char16_t*, double, size_t> arrCases[] = {
        {u"", 0, 0},
        {u".", 0, 0},
        {u"-.5%", -0.5, 3},
        {u"5.", 5, 2},
        {u"29.97", 29.97, 5},
        {u"1,5", 1, 1},  // the comma ends a number whatever the locale
        {u"1e3", 1000, 3},
        {u"1e", 1, 1},
        {u"1e+", 1, 1},
        {u"1.2.3", 1.2, 3},
        {u"1e999", DBL_MAX, 5},
        {u"-1e999", -DBL_MAX, 6},
        {u"1e-999", 0, 6},
        {u"0.001e999999999999", DBL_MAX, 18},
        {u"0e999999999999", 0, 14},
        {u"inf", 0, 0},
        {u"nan", 0, 0},
    };
    for (const auto& [szText, dbl, nUsedWanted] : arrCases) {
        size_t nUsed = 99;
        EXPECT_EQ(ParseDouble(szText, &nUsed), dbl) << testing::PrintToString(szText);
        EXPECT_EQ(nUsed, nUsedWanted) << testing::PrintToString(szText);
    }
    const std::u16string longDigits(400, u'9');
    EXPECT_EQ(ParseDouble(longDigits), DBL_MAX);
    EXPECT_EQ(ParseDouble(u"0." + std::u16string(400, u'0') + u"1"), 0);
    EXPECT_EQ(ParseDouble(u"0." + std::u16string(400, u'0') + u"1e401"), 1);
}

TEST(WideText, WritesAsPrintf) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 2000; ++i) {
        const uint64_t n = random() >> (random() % 64);
        const double dbl = static_cast<double>(static_cast<int64_t>(random())) / static_cast<double>(1ull << (i % 63));
        char arr[1024];
        std::u16string text;
        snprintf(arr, sizeof(arr), "%lld %07llu %llX %010llX %.3f %.0f", static_cast<long long>(n),
                 static_cast<unsigned long long>(n), static_cast<unsigned long long>(n),
                 static_cast<unsigned long long>(n), dbl, dbl);
        AppendInt(text, static_cast<int64_t>(n));
        text += u' ';
        AppendPadded(text, n, 7);
        text += u' ';
        AppendHex(text, n);
        text += u' ';
        AppendHex(text, n, 10);
        text += u' ';
        AppendFixed(text, dbl, 3);
        text += u' ';
        AppendFixed(text, dbl, 0);
        ASSERT_EQ(std::string(text.begin(), text.end()), arr);
    }
    std::u16string text;
    AppendInt(text, INT64_MIN);
    AppendFixed(text, -DBL_MAX, 17);
    EXPECT_EQ(text.substr(0, 24), u"-9223372036854775808-179");
    EXPECT_EQ(text.size(), 20 + 1 + 309 + 1 + 17);
}

TEST(WideText, ComparesAsciiLettersOnlyWithoutCase) {
    EXPECT_TRUE(EqualNoCase(u"letter-BOX", u"Letter-box"));
    EXPECT_FALSE(EqualNoCase(u"[", u"{"));  // 0x20 apart, but no letters
    EXPECT_FALSE(EqualNoCase(u"\u00c4", u"\u00e4"));
    EXPECT_FALSE(EqualNoCase(u"ab", u"abc"));
}

}  // namespace
}  // namespace zr
