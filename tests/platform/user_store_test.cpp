#include "platform/user_store.h"

#include <gtest/gtest.h>

#include <iterator>
#include <tuple>

#include "support/stress.h"
#include "support/temp_folder.h"

namespace zr {
namespace {

namespace fs = std::filesystem;
using Text = std::u16string;

constexpr char16_t szMixer[] = u"Software\\Orvanta\\Halvane\\ZrMixer";
constexpr char16_t szFile[] = u"Software\\Orvanta\\Halvane\\ZrFile";

// The tree in one line, for comparing: name=value pairs and {keys}.
Text Flat(const UserKey& _key) {
    Text str;
    for (const auto& [strName, value] : _key.mapValues) {
        str += strName + u"=";
        if (const auto* pText = std::get_if<Text>(&value)) {
            str += u"'" + *pText + u"'";
        } else {
            const auto* pn = std::get_if<int32_t>(&value);
            for (const char ch : pn ? std::to_string(*pn) : std::to_string(std::get<int64_t>(value)) + "L")
                str += static_cast<char16_t>(ch);
        }
        str += u";";
    }
    for (const auto& [strName, pKey] : _key.mapKeys) str += strName + u"{" + Flat(*pKey) + u"}";
    return str;
}

constexpr std::tuple<const char*, std::string_view, std::u16string_view> arrParseCases[] = {
    {"empty", "", u""},
    {"numbers_by_width", "a=2147483647\nb=2147483648\nc=-2147483648\nd=7L\ne=-9223372036854775808\n",
     u"a=2147483647;b=2147483648L;c=-2147483648;d=7L;e=-9223372036854775808L;"},
    {"no_number", "a=9223372036854775808\nb=1.5\nc=12x\nd=+1\ne=L\nf=-\n",
     u"a='9223372036854775808';b='1.5';c='12x';d='+1';e='L';f='-';"},
    {"text_without_quotes", "colour = #FF0000 ; red \r\nempty =\r\n", u"colour='#FF0000 ; red';empty='';"},
    {"escapes", R"(a = "\"\\\n\t\u00e9\ud83d" tail)", u"a='\"\\\n\t\u00e9\xD83D';"},
    {"escapes_that_are_none", R"(a = "C:\Video\u12" )", u"a='C:\\Video\\u12';"},
    {"as_it_stands", R"(a = 'C:\new\"x" ')", u"a='C:\\new\\\"x\" ';"},
    {"quote_never_closed", "a = \"open\\", u"a='open\\';"},
    {"last_of_a_name_wins_in_any_case", "Loop=1\nloop=2\n[K]\nx=1\n[k]\nX=3\n", u"Loop=2;K{x=3;}"},
    {"nested_with_odd_names", "[Decode\\\"a]\\\\b\"\\ c d ]\nx=1\n[Decode]\ny=2\n", u"Decode{y=2;a]\\b{c d{x=1;}}}"},
    {"lines_that_are_none",
     "\xEF\xBB\xBF"
     "a=1\nnoise\n=5\n# b=2\n;c=3\n\x01=4\n\"q\" 5\nd=4",
     u"a=1;d=4;"},
    {"bad_header_takes_its_lines_with_it", "a=1\n[]\nb=2\n[x\\]\nc=3\n[y\nd=4\n", u"a=1;x{}y{d=4;}"},
    {"not_utf8", "a=\xFF\xC3\nb=1", u"a='\uFFFD\uFFFD';b=1;"},
};

TEST(UserKey, ReadsWhatIsReadable) {
    for (const auto& [szName, svText, svExpected] : arrParseCases) {
        SCOPED_TRACE(szName);
        EXPECT_EQ(Flat(ParseUserKey(svText)), svExpected);
    }
}

TEST(UserKey, ComesBackTheSameWhateverIsInIt) {
    UserKey key;
    key.mapValues[u"object::sync_mode"] = Text(u"true");
    key.mapValues[u"narrow"] = int32_t{-5};
    key.mapValues[u"wide"] = int64_t{-5};
    key.mapValues[u""] = Text(u"");
    key.mapValues[u"a = [b] #"] = Text(u" spaces ");
    key.mapValues[u"looks_like_a_number"] = Text(u"12");
    key.mapValues[u"path"] = Text(u"..\\..\\Resources\\n.xml");
    key.mapValues[u"path_with_quotes"] = Text(u"\\'\"\\");
    key.mapValues[u"control"] = Text(u"\x01\x7F\r\n\t") + char16_t(0) + u'\u0085';
    key.mapValues[u"surrogates"] = Text(u"\U0001F600") + char16_t(0xDE00) + char16_t(0xD83D);
    key.Make(u"Decode\\MKV").mapValues[u"Decode"] = Text(u"dshow");
    key.Make(u"empty");
    key.mapKeys[u"odd\\]\"name"] = std::make_unique<UserKey>();
    std::string strText;
    ASSERT_EQ(FormatUserKey(key, "two\nlines", strText), S_OK);
    EXPECT_EQ(Flat(ParseUserKey(strText)), Flat(key)) << strText;
}

TEST(UserKey, SizeAndDepthHaveBounds) {
    std::string strDeep = "a=1\n[", strMany;
    for (int i = 0; i < 100000; ++i) strDeep += "k\\";
    UserKey cut = ParseUserKey(strDeep + "k]\nb=2");
    EXPECT_EQ(cut.mapValues.size(), 1u);
    EXPECT_NE(cut.Find(u"k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k"), nullptr);
    EXPECT_EQ(cut.Find(u"k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k\\k"), nullptr);
    for (int i = 0; i < 70000; ++i) strMany.append("[").append(std::to_string(i)).append("]\n");
    EXPECT_EQ(ParseUserKey(strMany).mapKeys.size(), kMaxUserKeyEntries);

    std::string strText;
    UserKey deep;
    deep.Make(u"1\\2\\3\\4\\5\\6\\7\\8\\9\\10\\11\\12\\13\\14\\15\\16");
    EXPECT_EQ(FormatUserKey(deep, "", strText), S_OK);
    deep.Make(u"1\\2\\3\\4\\5\\6\\7\\8\\9\\10\\11\\12\\13\\14\\15\\16\\17");
    EXPECT_EQ(FormatUserKey(deep, "", strText), E_INVALIDARG);
    UserKey large;
    large.mapValues[u"a"] = Text(kMaxUserKeyText, u'x');
    EXPECT_EQ(FormatUserKey(large, "", strText), E_INVALIDARG);
}

class UserStoreFiles : public testing::Test {
protected:
    static UserKey One(std::u16string_view _svName, UserValue _value) {
        UserKey key;
        key.mapValues[Text(_svName)] = std::move(_value);
        return key;
    }
    static Text Loaded(std::u16string_view _svKey) {
        UserKey key;
        const HRESULT hr = UserStore::Load(_svKey, &key);
        return Failed(hr) ? Text(u"failed") : Flat(key);
    }
    size_t Files() const {
        const fs::recursive_directory_iterator all(folder);
        return static_cast<size_t>(
            std::count_if(begin(all), end(all), [](const fs::directory_entry& _e) { return !_e.is_directory(); }));
    }
    const OwnConfig config;
    const fs::path& folder = config.path;
};

TEST_F(UserStoreFiles, KeyInsideAFileIsReadAndReplacedAlone) {
    UserKey key = One(u"loop", Text(u"true"));
    key.Make(u"Decode\\MKV").mapValues[u"Decode"] = Text(u"dshow");
    UserKey none;
    EXPECT_EQ(UserStore::Load(szFile, &none), ZR_E_NOT_FOUND_FILE);
    ASSERT_EQ(UserStore::Save(szFile, std::move(key)), S_OK);
    ASSERT_EQ(UserStore::Save(szMixer, One(u"loop", int32_t{0})), S_OK);
    EXPECT_EQ(Loaded(u"SOFTWARE\\orvanta\\Halvane\\ZrFile\\decode"), u"MKV{Decode='dshow';}");
    EXPECT_EQ(UserStore::Load(u"Software\\Orvanta\\Halvane\\ZrFile\\Other", &none), ZR_E_NOT_FOUND_FILE);
    ASSERT_EQ(UserStore::Save(u"Software\\Orvanta\\Halvane\\ZrFile\\Decode", One(u"x", int64_t{1})), S_OK);
    EXPECT_EQ(Loaded(szFile), u"loop='true';Decode{x=1L;}");
    EXPECT_EQ(Loaded(szMixer), u"loop=0;");
    EXPECT_TRUE(fs::exists(folder / "orvanta/halvane/zrfile.conf"));
    EXPECT_EQ(Files(), 2u);
}

TEST_F(UserStoreFiles, NamesStayInsideTheFolder) {
    ASSERT_EQ(UserStore::Save(u"..\\..\\a/b\\.c", One(u"x", int32_t{1})), S_OK);
    EXPECT_EQ(Loaded(u"..\\..\\a/b\\.c"), u"x=1;");
    EXPECT_TRUE(fs::exists(folder / "%2e.")) << "the first name is not Software, so it is part of the path";
    for (const auto* szKey : {u"", u"a\\b\\c", u"a\\\\b\\c\\d", u"a\\b\\c\\d\\", u"a\\b\\c\\d\\e\\\\f"})
        EXPECT_EQ(UserStore::Save(szKey, {}), E_INVALIDARG);
}

TEST_F(UserStoreFiles, WhatIsNoTextFileIsRefusedAndAFailedSaveLeavesNothing) {
    fs::create_directories(folder / "orvanta/halvane/zrfile.conf/inside");
    UserKey key;
    EXPECT_EQ(UserStore::Load(szFile, &key), ZR_E_INVALID_DATA);
    EXPECT_TRUE(Failed(UserStore::Save(szFile, One(u"x", int32_t{1}))));
    EXPECT_EQ(Files(), 0u);

    std::ofstream(folder / "orvanta/halvane/zrmixer.conf") << "a=1\n";
    fs::resize_file(folder / "orvanta/halvane/zrmixer.conf", kMaxUserKeyText + 1);
    EXPECT_EQ(UserStore::Load(szMixer, &key), ZR_E_INVALID_DATA);
    EXPECT_EQ(UserStore::Save(Text(szMixer) + u"\\sub", One(u"x", int32_t{1})), ZR_E_INVALID_DATA);
}

TEST_F(UserStoreFiles, SaveOfTheSameLeavesTheFileAlone) {
    const fs::path path = folder / "orvanta/halvane/zrmixer.conf";
    ASSERT_EQ(UserStore::Save(szMixer, One(u"x", int32_t{1})), S_OK);
    const auto timeLongAgo = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::last_write_time(path, timeLongAgo);
    ASSERT_EQ(UserStore::Save(szMixer, One(u"x", int32_t{1})), S_OK);
    EXPECT_EQ(fs::last_write_time(path), timeLongAgo);
    ASSERT_EQ(UserStore::Save(szMixer, One(u"x", int32_t{2})), S_OK);
    EXPECT_NE(fs::last_write_time(path), timeLongAgo);
}

// The lock is on an open folder, so two threads exclude each other as two processes do.
TEST_F(UserStoreFiles, WritersAtOnceLoseNothingAndReadersSeeWholeFiles) {
    ASSERT_EQ(UserStore::Save(szFile, {}), S_OK);
    OnThreads(3, [](int _nThread) {
        for (int32_t n = 0; n < 20 && _nThread < 2; ++n) {
            const Text strKey = Text(szFile) + u'\\' + (_nThread ? u'a' : u'b') + static_cast<char16_t>(u'A' + n);
            UserKey key;
            key.mapValues[u"first"] = Text(3000, u'1');
            key.mapValues[u"last"] = n;
            EXPECT_EQ(UserStore::Save(strKey, std::move(key)), S_OK);
        }
        for (int i = 0; i < 200 && _nThread == 2; ++i) {
            UserKey key;
            ASSERT_EQ(UserStore::Load(szFile, &key), S_OK);
            for (const auto& [strName, pKey] : key.mapKeys) ASSERT_EQ(pKey->mapValues.size(), 2u);
        }
    });
    UserKey key;
    ASSERT_EQ(UserStore::Load(szFile, &key), S_OK);
    EXPECT_EQ(key.mapKeys.size(), 40u);
    EXPECT_EQ(Files(), 1u);
}

}  // namespace
}  // namespace zr
