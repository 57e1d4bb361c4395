#include "platform/utf.h"

#include <gtest/gtest.h>

namespace zr {
namespace {

struct UTF_CASE {
    const char* szName;
    std::string_view svUtf8;
    std::u16string_view svUtf16;
    bool bBothWays;
};

constexpr UTF_CASE arrUtfCases[] = {
    {"one_to_four_bytes_at_their_edges", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
     u"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF", true},
    {"around_the_surrogates", "\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000", true},
    {"zero_inside", std::string_view("a\0b", 3), std::u16string_view(u"a\0b", 3), true},
    {"lone_continuation",
     "\x80"
     "a",
     u"\uFFFDa", false},
    {"overlong_two", "\xC0\xAF", u"\uFFFD\uFFFD", false},
    {"overlong_three", "\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD", false},
    {"encoded_surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false},
    {"above_the_last", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},
    {"cut_by_a_character",
     "\xE2\x82"
     "A",
     u"\uFFFDA", false},
    {"cut_by_the_end", "\xF0\x9F\x98", u"\uFFFD", false},
};

TEST(Utf, ReadsEveryWidthAndReplacesWhatIsMalformed) {
    for (const UTF_CASE& test : arrUtfCases) {
        SCOPED_TRACE(test.szName);
        EXPECT_EQ(Utf16FromUtf8(test.svUtf8), test.svUtf16);
        if (test.bBothWays) {
            EXPECT_EQ(Utf8FromUtf16(test.svUtf16), test.svUtf8);
        }
    }
}

TEST(Utf, SurrogateWithoutPartnerIsReplaced) {
    const char16_t arrTexts[][3] = {{0xD83D, u'a'}, {0xDE00, 0xD83D}, {u'a', 0xD83D}};
    EXPECT_EQ(Utf8FromUtf16(arrTexts[0]),
              "\xEF\xBF\xBD"
              "a");
    EXPECT_EQ(Utf8FromUtf16(arrTexts[1]), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(Utf8FromUtf16(arrTexts[2]), "a\xEF\xBF\xBD");
}

}  // namespace
}  // namespace zr
