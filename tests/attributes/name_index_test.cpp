// The hash of names, and lists that find their entries by it.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "attributes/name_hash.h"
#include "attributes/named_list.h"

namespace zr {
namespace {

// Ignoring case and exactly, by a calculation in another language, written from the definition alone.
constexpr std::tuple<const char16_t*, uint64_t, uint64_t> arrHashes[] = {
    {u"", 0xD5CE0FC12638C9ACull, 0xD5CE0FC12638C9ACull},
    {u"ab", 0x91ED0F80F349EDAEull, 0x91ED0F80F349EDAEull},
    {u"\u0161b", 0x91ED0F80F349EDAEull, 0x91ED0F80F349EDAEull},  // only low bytes count
    {u"abcdefgh", 0x538D846062406DF0ull, 0x538D846062406DF0ull},
    {u"abcdefghi", 0xDDF4BB1F3BC2A3EAull, 0xDDF4BB1F3BC2A3EAull},
    {u"pull_mode.cycles_before_disc", 0x3DFEAABE3CBD591Full, 0x1ABC789F99CCB759ull},
    {u"0123456789abcdefghijklm", 0x61A951E16BD5EF81ull, 0x61A951E16BD5EF81ull},
    {u"0123456789abcdefghijklmn", 0x7F503AB89B2E13A0ull, 0x7F503AB89B2E13A0ull},
    {u"0123456789abcdefghijklmno", 0xCE9CD64CE29A973Eull, 0xCE9CD64CE29A973Eull},
    {u"VIDEO_BLOCK", 0xF19ED2C69523DD64ull, 0xA8F6814446EBC7DBull},
};

TEST(NameHash, EqualsTheIndependentCalculation) {
    for (const auto& [szName, nIgnoringCase, nExact] : arrHashes) {
        EXPECT_EQ(NameHash(szName), nIgnoringCase) << std::string(szName, szName + std::u16string_view(szName).size());
        EXPECT_EQ(NameHash(szName, NameCase::kExact), nExact);
    }
    static_assert(NameHash(u"abcdefghi") == NameKey(u"ABCDEFGHI").nHash);  // at compile time the same
}

// A list against a plain vector of names and numbers, over random changes.
TEST(NamedList, FindsLikeASearchAfterAnyChanges) {
    std::mt19937 rng(11);
    const auto Pick = [&](size_t n) { return static_cast<size_t>(rng() % n); };
    for (int nRound = 0; nRound < 40; ++nRound) {
        const size_t nNames = nRound % 2 ? 4 : 40;  // lists with many of a name, and lists of many names
        NamedList<int> list;
        std::vector<std::pair<std::u16string, int>> plain;  // an empty name is none
        for (int nStep = 0; nStep < 200; ++nStep) {
            const std::u16string name =
                Pick(8) == 0 ? std::u16string() : u"n" + std::u16string(1, static_cast<char16_t>(u'0' + Pick(nNames)));
            const NameKey key(name);
            const bool bLast = !plain.empty() && Pick(2) == 0;  // the index then changes, else it is made anew
            const size_t i = bLast ? plain.size() - 1 : Pick(plain.size() + 1);
            switch (plain.empty() ? 0 : Pick(5)) {
                case 0:
                case 1:
                    list.Insert(i, name.empty() ? nullptr : &key, nStep);
                    plain.insert(plain.begin() + static_cast<ptrdiff_t>(i), {name, nStep});
                    break;
                case 2:
                    if (i == plain.size()) break;
                    ASSERT_EQ(list.Remove(i), plain[i].second);
                    plain.erase(plain.begin() + static_cast<ptrdiff_t>(i));
                    for (const auto& [left, n] : plain)
                        ASSERT_EQ(list.Find(NameKey(left).nHash) == NamedList<int>::kNone, left.empty());
                    break;
                case 3:
                    if (i == plain.size() || name.empty()) break;
                    list.Rename(i, key);
                    plain[i].first = name;
                    break;
                default:
                    if (name.empty()) break;
                    list.Append(key, nStep);
                    plain.emplace_back(name, nStep);
            }
            ASSERT_EQ(list.Size(), plain.size());
            const size_t nOccurrence = Pick(3);
            size_t nWant = NamedList<int>::kNone, nSeen = 0;
            for (size_t p = 0; p < plain.size() && nWant == NamedList<int>::kNone; ++p)
                if (!name.empty() && plain[p].first == name && nSeen++ == nOccurrence) nWant = p;
            ASSERT_EQ(list.Find(name.empty() ? 0 : key.nHash, nOccurrence), nWant);
        }
        const NamedList<int> copy(list);
        for (size_t p = 0; p < plain.size(); ++p) ASSERT_EQ(copy[p], plain[p].second);
    }
}

}  // namespace
}  // namespace zr
