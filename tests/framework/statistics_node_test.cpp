#include "framework/statistics_node.h"

#include <gtest/gtest.h>

namespace zr {
namespace {

TEST(StatisticsNode, NumbersGoWithTheirLastUser) {
    const XMLNodePtr pNode = CoXMLNode::Create(u"stat");
    StatisticsNode statistics{XMLNodeRef(pNode.Get())};
    const auto nKept = statistics.Resolve(u"kept");
    const auto nA = statistics.Resolve(u"clip.a"), nAgain = statistics.Resolve(u"clip.a");
    EXPECT_EQ(nA, nAgain);
    statistics.AddCount(nA, 2);
    statistics.Release(nA);
    statistics.AddCount(nAgain, 3);
    EXPECT_EQ(pNode->AttributeOr(u"clip.a", 0), 5);
    statistics.Release(nAgain);
    statistics.AddCount(nA, 1);  // late
    EXPECT_FALSE(pNode->HasAttribute(u"clip.a"));

    // A playout of ever new names: what is gone takes no room, and nothing late reaches what came after it.
    for (int i = 0; i < 2000; ++i) {  // the turn of a slot comes round after 2048
        const std::u16string name = u"clip." + std::u16string(1, static_cast<char16_t>(u'a' + i % 26));
        const auto nClip = statistics.Resolve(name.c_str());
        EXPECT_NE(nClip, nA) << i;
        EXPECT_EQ(nClip & 0xFFFFF, nA & 0xFFFFF) << i;
        statistics.AddCount(nA, 100);
        statistics.AddCount(nClip, 1);
        EXPECT_EQ(pNode->AttributeOr(name, 0), 1);
        EXPECT_EQ(pNode->AttributeCount(), 1u);
        statistics.Release(nClip);
    }
    statistics.SetCount(nKept, 7);
    EXPECT_EQ(pNode->AttributeOr(u"kept", 0), 7);
    statistics.SetCount(IStatisticsSink::kNone, 7);
}

}  // namespace
}  // namespace zr
