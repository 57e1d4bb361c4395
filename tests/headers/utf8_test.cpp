#include "zr/utf8.h"

#include <gtest/gtest.h>

namespace zr {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

struct DECODE_CASE {
    const char* szName;
    std::string_view svUtf8;
    std::u16string_view svUtf16;
};

// Expected results are those of Python 3.11: bytes.decode("utf-8", "replace").
constexpr DECODE_CASE arrMalformed[] = {
    {"lone_continuation", "\x80z", u"\uFFFDz"},
    {"continuation_run_one_each", "\x80\xBF\x80", u"\uFFFD\uFFFD\uFFFD"},
    {"overlong_slash_in_two", "\xC0\xAF", u"\uFFFD\uFFFD"},
    {"overlong_slash_in_three", "\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
    {"overlong_in_four", "\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"surrogate_d800", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
    {"surrogate_pair_as_six_bytes", "\xED\xA0\xBD\xED\xB8\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"one_above_the_last", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"never_a_byte", "\xFE\xFF\xF5", u"\uFFFD\uFFFD\uFFFD"},
    {"lead_of_what_lies_above", "\xF5\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    {"two_bytes_cut_by_end", "a\xC3", u"a\uFFFD"},
    {"three_bytes_cut_by_end", "\xE2\x82", u"\uFFFD"},
    {"four_bytes_cut_by_end", "\xF0\x9F\x98", u"\uFFFD"},
    {"cut_by_ascii", "\xE2\x82!", u"\uFFFD!"},
    {"cut_by_next_lead", "\xF0\x9F\xC3\xA9", u"\uFFFD\u00E9"},
    {"cut_then_whole", "\xE2\xE2\x82\xAC", u"\uFFFD\u20AC"},
};

constexpr DECODE_CASE arrWellFormed[] = {
    {"empty", "", u""},
    {"zero_inside", "a\0b"sv, u"a\0b"sv},
    {"edges_of_each_length", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80",
     u"\u007F\u0080\u07FF\u0800\uFFFF\U00010000"},
    {"beside_the_surrogates", "\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000"},
    {"last_character", "\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
    {"byte_order_mark_stays", "\xEF\xBB\xBFx", u"\uFEFFx"},
    {"words", "\xC5\xA0koda \xF0\x9F\x8E\xAC", u"\u0160koda \U0001F3AC"},
};

TEST(Utf8, ReplacesEachMalformedRunOnce) {
    for (const DECODE_CASE& test : arrMalformed) EXPECT_EQ(ToUtf16(test.svUtf8), test.svUtf16) << test.szName;
}

TEST(Utf8, ConvertsWellFormedTextBothWays) {
    for (const DECODE_CASE& test : arrWellFormed) {
        EXPECT_EQ(ToUtf16(test.svUtf8), test.svUtf16) << test.szName;
        EXPECT_EQ(ToUtf8(test.svUtf16), test.svUtf8) << test.szName;
    }
}

TEST(Utf8, ReplacesSurrogatesWithoutPartner) {
    const char16_t arrHighThenLetter[] = {0xD83D, u'a'};
    const char16_t arrLowThenHigh[] = {0xDE00, 0xD83D};
    const char16_t arrTwoLow[] = {0xDE00, 0xDE00};
    const char16_t arrTwoHighThenLow[] = {0xD83D, 0xD83D, 0xDE00};
    EXPECT_EQ(ToUtf8({arrHighThenLetter, 2}), "\xEF\xBF\xBD"s + "a");
    EXPECT_EQ(ToUtf8({arrLowThenHigh, 2}), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(ToUtf8({arrTwoLow, 2}), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(ToUtf8({arrTwoHighThenLow, 3}), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(Utf8, EveryCharacterComesBack) {
    for (char32_t ch = 0; ch <= 0x10FFFF; ++ch) {
        if (ch == 0xD800) ch = 0xE000;
        std::string strUtf8;
        detail::AppendUtf8(strUtf8, ch);
        const std::u16string strUtf16 = ToUtf16(strUtf8);
        ASSERT_EQ(strUtf16.size(), ch < 0x10000 ? 1u : 2u) << std::hex << static_cast<uint32_t>(ch);
        std::u16string_view svRest = strUtf16;
        ASSERT_EQ(static_cast<uint32_t>(detail::TakeUtf16(svRest)), static_cast<uint32_t>(ch));
        ASSERT_EQ(ToUtf8(strUtf16), strUtf8) << std::hex << static_cast<uint32_t>(ch);
    }
}

TEST(Text, TakesOverWhatAnOperationHandsOutAndFreesTheOldOne) {
    Text text("cam \xC3\xA9");
    EXPECT_EQ(text.View(), u"cam \u00E9");
    *text.Out() = SysAllocStringLen(u"a\0b", 3);  // the leak checker watches the first one
    EXPECT_EQ(text.Utf8(), "a\0b"s);
    EXPECT_EQ(SysStringByteLen(text.Get()), 6u);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);

    Text textMoved = std::move(text);
    EXPECT_EQ(textMoved.View(), u"a\0b"sv);
    const BSTR bs = textMoved.Detach();
    EXPECT_FALSE(textMoved);
    EXPECT_EQ(textMoved.View(), u"");
    EXPECT_EQ(textMoved.Get(), nullptr);
    SysFreeString(bs);

    const Text textEmpty(u""sv);
    EXPECT_TRUE(textEmpty);
    ASSERT_NE(textEmpty.Get(), nullptr);
    EXPECT_EQ(textEmpty.Get()[0], u'\0');
}

TEST(Text, GetterGivesNothingOnFailureEvenWithTextLeftBehind) {
    std::string strName = "old";
    EXPECT_EQ(GetText(
                  [](BSTR* _pbs) {
                      *_pbs = SysAllocString(u"half");
                      return ZR_E_TIMEOUT;
                  },
                  strName),
              ZR_E_TIMEOUT);
    EXPECT_EQ(strName, "");
    EXPECT_EQ(GetText(
                  [](BSTR* _pbs) {
                      *_pbs = SysAllocString(u"\u00FC");
                      return S_FALSE;
                  },
                  strName),
              S_FALSE);
    EXPECT_EQ(strName, "\xC3\xBC");
}

TEST(StatusText, UnknownCodeShowsItsNumber) {
    EXPECT_EQ(StatusText(static_cast<HRESULT>(0x8ABC0DEFu)), "Status 0x8ABC0DEF.");
    EXPECT_EQ(StatusText(Win32Error(9999)), "Status 0x8007270F.");
    EXPECT_EQ(StatusText(7), "Status 0x00000007.");
}

}  // namespace
}  // namespace zr
