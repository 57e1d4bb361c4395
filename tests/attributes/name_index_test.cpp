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

constexpr std::tuple<const char16_t*, uint64_t, uint64_t> arrHashes[] = {
#include "expected/name_hash.inc"
};

TEST(NameHash, EqualsTheIndependentCalculation) {
    for (const auto& [szName, nIgnoringCase, nExact] : arrHashes) {
        EXPECT_EQ(NameHash(szName), nIgnoringCase) << std::string(szName, szName + std::u16string_view(szName).size());
        EXPECT_EQ(NameHash(szName, NameCase::kExact), nExact);
    }
    static_assert(NameHash(u"abcdefghi") == NameKey(u"ABCDEFGHI").nHash);  // at compile time the same
}

TEST(NameHash, OnlyLowBytesCountAndCaseIsABit) {
    EXPECT_EQ(NameHash(u"ab"), NameHash(u"AB"));
    EXPECT_EQ(NameHash(u"\u0161b"), NameHash(u"ab"));  // U+0161 ends in 0x61
    EXPECT_NE(NameHash(u"ab", NameCase::kExact), NameHash(u"AB", NameCase::kExact));
    EXPECT_EQ(NameHash(std::u16string_view(u"a\0", 2), NameCase::kExact),
              NameHash(u"a", NameCase::kExact));  // length does not
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
