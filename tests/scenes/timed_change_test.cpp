#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "scenes/element_support.h"
#include "support/allocation_count.h"

namespace zr {
namespace {

struct CHANGE_CASE {
    double dblAccel, dblRun, dblExpected;
};
struct VARY_CASE {
    double dblAmplitude, dblPeriod, dblNow, dblExpected;
};
struct ADD_CASE {
    const char16_t* szName;
    double dblStart, dblSpeed, dblSize;
    int nFrames;
    double dblExpected;
};
#include "expected/timed_values.inc"

constexpr double kEps = 1e-12;

double ByName(const ElementPtr& _p, const char16_t* _szName, double _dblNow) {
    return AnimatedValue(*_p, NameKey(_szName), 0, _dblNow, 0);
}

TEST(TimedChange, FollowsTheFormulaOverItsTime) {
    for (const CHANGE_CASE& c : arrChangeCases) {
        SCOPED_TRACE(testing::Message() << "accel " << c.dblAccel << " after " << c.dblRun);
        const ElementPtr p = ElementOf(u"<video x='0.1'/>");
        AttrValue accel;
        accel.Set(c.dblAccel);
        ElementChange(*p, {}, u"x=0.7 _change_accel_=" + std::u16string(accel.Text()), 2);
        EXPECT_NEAR(At(p, 10)[eTimed::X], 0.1, kEps) << "the first frame is the start, whenever it comes";
        EXPECT_NEAR(At(p, 10 + c.dblRun)[eTimed::X], c.dblExpected, 1e-9);
        EXPECT_NEAR(ByName(p, u"x", 10 + c.dblRun), c.dblExpected, 1e-9);
        EXPECT_NEAR(ByName(p, u"x", -1), c.dblExpected, 1e-9) << "outside a frame it is that of the last";
        EXPECT_FALSE(p->HasAttribute(u"_change_accel_"));
    }
}

TEST(TimedChange, VariesAndMovesByItself) {
    for (const VARY_CASE& c : arrVaryCases) {
        const ElementPtr p = ElementOf(u"<video y='0.25'><vary/></video>");
        p->SetAttribute(u"vary::y", c.dblAmplitude);
        p->SetAttribute(u"vary::time", c.dblPeriod);
        EXPECT_NEAR(At(p, c.dblNow)[eTimed::Y], c.dblExpected, kEps) << c.dblAmplitude << " at " << c.dblNow;
        p->SetAttribute(u"vary::time", 1.0);
        p->SetAttribute(u"vary::time::y", c.dblPeriod);  // a period for this one alone
        EXPECT_NEAR(ByName(p, u"y", c.dblNow), c.dblExpected, kEps);
    }
    for (const ADD_CASE& c : arrAddCases) {
        const ElementPtr p = ElementOf(u"<video><add/></video>");
        const std::u16string strName(c.szName);
        p->SetAttribute(strName, c.dblStart);
        p->SetAttribute(u"w", c.dblSize);
        p->SetAttribute(u"h", c.dblSize);
        p->SetAttribute(u"add::" + strName, c.dblSpeed);
        const eTimed e = *TimedByHash(NameHash(strName));
        double dbl = 0;
        for (int i = 0; i < c.nFrames; ++i) {
            dbl = ElementValues(*p, i / 25.0, MOTION::NextFrame(25))[e];
            EXPECT_NEAR(At(p, i / 25.0)[e], dbl, kEps) << "another pass of the same frame moves nothing";
        }
        EXPECT_NEAR(dbl, c.dblExpected, 1e-9) << ToUtf8(strName) << " after " << c.nFrames;
    }
}

// A change at any moment of another, of the same or another attribute, begins where the element is.
TEST(TimedChange, ChainsWithoutAJump) {
    const std::tuple<const char*, std::u16string_view, std::u16string_view> arrCases[] = {
        {"move_back", u"x=0.9 w=0.2", u"x=-0.4"},
        {"hide_while_moving", u"x=0.9 w=0.2", u"show=false"},
        {"show_while_hiding", u"show=false", u"show=true"},
        {"show_by_its_way_while_hiding_by_it", u"show=false", u"show=true x=0.3"},
        {"fade_while_hiding", u"show=false", u"alpha=0.3"},
    };
    for (const auto& [szName, first, second] : arrCases) {
        for (const double dblAfter : {0.0, 0.3, 0.71, 0.99}) {
            SCOPED_TRACE(testing::Message() << szName << " after " << dblAfter);
            const ElementPtr p = ElementOf(u"<video x='0.1' alpha='0.8'><on_hide x='-1'/><on_show x='2'/></video>");
            ElementChange(*p, {}, first, 1);
            At(p, 5);
            const ElementValues before = At(p, 5 + dblAfter);
            ElementChange(*p, {}, second, 1);
            const ElementValues after = At(p, 5 + dblAfter);
            for (const eTimed e : {eTimed::X, eTimed::W, eTimed::Alpha})
                EXPECT_NEAR(after[e], before[e], kEps) << ToUtf8(TimedName(e).key.text);
            EXPECT_EQ(after.Shown(), before.Shown());
        }
    }
}

// What moves by itself goes on doing so while it fades out.
TEST(TimedChange, HidesWithItsMotion) {
    const ElementPtr p = ElementOf(u"<video x='0.1' y='0.1' w='0.2'><vary x='0.3' time='8'/><add y='0.1'/></video>");
    const auto frame = [&](int _n) { return ElementValues(*p, _n / 25.0, MOTION::NextFrame(25)); };
    const auto expected = [](int _n) { return 0.1 + 0.3 * std::cos(2 * 3.14159265358979 * _n / 25.0 / 8); };
    for (int i = 0; i < 30; ++i) {
        if (i == 5) ElementChange(*p, u"show", u"false", 1);
        const ElementValues values = frame(i);
        EXPECT_NEAR(values[eTimed::X], expected(i), 1e-9) << i;
        EXPECT_NEAR(values[eTimed::Y], 0.1 + (i + 1) * 0.1 / 25, 1e-9) << i;
    }
}

TEST(TimedChange, ShowsAndHidesItsWay) {
    struct STEP {
        double dblX, dblAlpha;
        bool bShown;
    };
    const auto check = [](const ElementPtr& _p, double _dblNow, const STEP& _step) {
        const ElementValues values = At(_p, _dblNow);
        EXPECT_NEAR(values[eTimed::X], _step.dblX, kEps) << _dblNow;
        EXPECT_NEAR(values[eTimed::Alpha], _step.dblAlpha, kEps) << _dblNow;
        EXPECT_EQ(values.Shown(), _step.bShown) << _dblNow;
    };
    {
        SCOPED_TRACE("a plain fade");
        const ElementPtr p = ElementOf(u"<video x='0.1' alpha='0.8'/>");
        ElementChange(*p, u"show", u"false", 2);
        check(p, 0, {0.1, 0.8, true});
        check(p, 1, {0.1, 0.4, true});  // half of the way by the easing of 1
        check(p, 2.1, {0.1, 0, false});
        EndChange(*p);
        check(p, 9, {0.1, 0, false});
        ElementChange(*p, u"show", u"true", 2);
        check(p, 10, {0.1, 0, false});
        check(p, 11, {0.1, 0.4, true});
        check(p, 12.1, {0.1, 0.8, true});
    }
    {
        SCOPED_TRACE("along a way");
        const ElementPtr p = ElementOf(u"<video x='0.1'><on_show x='-2'/><on_hide x='1.1' alpha='0.5'/></video>");
        ElementChange(*p, u"show", u"false", 2);
        check(p, 0, {0.1, 1, true});
        check(p, 1, {0.6, 0.75, true});
        check(p, 3, {1.1, 0.5, false});
        EndChange(*p);
        ElementChange(*p, u"show", u"true", 2);
        check(p, 5, {-2, 1, false});
        check(p, 6, {-0.95, 1, true});
        check(p, 8, {0.1, 1, true});
    }
    {
        SCOPED_TRACE("empty ways are cuts");
        const ElementPtr p = ElementOf(u"<video x='0.1'><on_show/><on_hide/></video>");
        ElementChange(*p, u"show", u"false", 2);
        EXPECT_FALSE(At(p, 0).Shown());
        ElementChange(*p, u"show", u"true", 2);
        check(p, 0, {0.1, 1, true});
    }
    {
        SCOPED_TRACE("shown again at once");
        const ElementPtr p = ElementOf(u"<video x='0.1'/>");
        ElementChange(*p, u"show", u"false", 1);
        At(p, 0);
        p->SetAttribute(u"show", true);
        check(p, 3, {0.1, 1, true});
    }
}

// Delays worked out by hand: when it shows, each child comes after the ones before; when it hides, they go first.
TEST(TimedChange, NestsThreeDeep) {
    constexpr std::u16string_view kXml =
        u"<group show='false'><on_show nested='true' delay='0.5'/><on_hide nested='true' delay='0.5'/>"
        u"<video id='a'/>"
        u"<group id='b'><on_show nested='true' delay='0.25'/><on_hide nested='true' delay='0.25'/><video "
        u"id='c'/></group>"
        u"<item id='other'/></group>";
    const ElementPtr p = ElementOf(kXml);
    const auto delay = [&](const char16_t* _szPath) {
        return p->AttributeOr(std::u16string(_szPath) + u"node_from::_delay_time_", 0.0);
    };
    double dblTotal = 0;
    ElementChange(*p, u"show", u"true", 4, 0, &dblTotal);
    EXPECT_EQ(delay(u""), 0);
    EXPECT_EQ(delay(u"a::"), 2);           // 4 x 0.5
    EXPECT_EQ(delay(u"b::"), 3);           // and half of what a says
    EXPECT_EQ(delay(u"b::c::"), 4);        // 3 + 4 x 0.25
    EXPECT_EQ(dblTotal, 3 + 3 * 0.5 + 2);  // b says 4 x 0.25, and a quarter of 4, and 4 x 0.25
    EXPECT_FALSE(p->Find(u"other::node_from"));
    EXPECT_FALSE(At(p->Find(u"b::c"), 0).Shown());
    EXPECT_FALSE(At(p->Find(u"b::c"), 4).Shown());
    EXPECT_TRUE(At(p->Find(u"b::c"), 4.5).Shown());
}

// What else is changed meanwhile begins nothing of it anew.
TEST(TimedChange, ShowsAndHidesWhileOtherThingsChange) {
    const ElementPtr pIn = ElementOf(u"<group show='no'><on_show nested='true'/><video id='a'/></group>");
    ElementChange(*pIn, u"show", u"true", 4);  // a waits for 2 seconds
    const ElementPtr pA = pIn->Find(u"a");
    At(pA, 0), At(pA, 0.75);
    ElementChange(*pA, u"y", u"0.5", 1);
    EXPECT_EQ(pA->AttributeOr(u"node_from::_delay_time_", 0.0), 1.25);
    EXPECT_FALSE(At(pA, 0.75).Shown() || At(pA, 1.9).Shown());
    EXPECT_TRUE(At(pA, 2.1).Shown());

    const ElementPtr pOut = ElementOf(u"<group w='1'><on_hide nested='true' h='0.5'/><video id='b'/></group>");
    ElementChange(*pOut, u"show", u"false", 4);
    const ElementPtr pB = pOut->Find(u"b");
    At(pOut, 0), At(pB, 0), At(pOut, 2), At(pB, 2);
    ElementChange(*pOut, {}, u"w=0.2 h=0.1", 1);
    EXPECT_NEAR(At(pB, 2)[eTimed::Alpha], 0.5, kEps) << "half gone";
    EXPECT_TRUE(At(pOut, 2).Shown());
    const ElementValues values = At(pOut, 9);
    EXPECT_FALSE(values.Shown());
    EXPECT_EQ(values[eTimed::W], 0.2);
    EXPECT_EQ(values[eTimed::H], 0.5) << "hides its way all the same";
}

TEST(TimedChange, RefusesAndEnds) {
    const ElementPtr p = ElementOf(u"<video id='a' x='0.1'/>");
    EXPECT_EQ(ElementChange(*p, u"x", u"0.1", 1), S_FALSE);
    EXPECT_FALSE(p->Find(u"node_from"));
    ElementChange(*p, u"stream_id", u"cam", 1);
    EXPECT_FALSE(p->Find(u"node_from")) << "nothing of it can move";
    EXPECT_EQ(ElementChange(*p, {}, u"<", 1), E_INVALIDARG);
    EXPECT_EQ(XmlOf(*p), "<video id='a' x='0.1' stream_id='cam'/>");

    ElementChange(*p, u"x", u"0.5", 1);
    p->SetAttribute(u"node_from::_change_time_", 0.0);
    At(p, 1);
    EXPECT_EQ(At(p, 100)[eTimed::X], 0.1) << "a change without a time never gets anywhere";
    EXPECT_EQ(ElementChange(*p, u"x", u"1e999", 1), S_OK);
    At(p, 101);
    EXPECT_TRUE(std::isfinite(At(p, 101.5)[eTimed::X]));
}

TEST(TimedChange, CrossFadesToANewDescription) {
    const ElementPtr p = ElementOf(u"<video id='a' stream_id='old' x='0.1'><video id='below'/></video>");
    const ElementPtr pTop = ElementOf(u"<zr_scene/>");
    pTop->AppendChild(p);
    ASSERT_EQ(ElementChange(*p, {}, u"<group id='ignored' x='0.5'><video id='new'/></group>", 2), S_OK);
    EXPECT_EQ(ToUtf8(p->Tag()), "group");
    EXPECT_EQ(ToUtf8(p->Name()), "a");
    const ElementPtr pClone = p->Find(u"clone");
    ASSERT_TRUE(pClone);
    EXPECT_TRUE(pClone->Find(u"below"));
    EXPECT_EQ(ToUtf8(pClone->AttributeOr(u"_type_", std::u16string_view())), "video");
    At(p, 0), At(pClone, 0);
    EXPECT_NEAR(At(p, 1)[eTimed::Alpha], 0.5, kEps);
    EXPECT_NEAR(At(pClone, 1)[eTimed::Alpha], 0.5, kEps);
    EXPECT_NEAR(At(pClone, 1)[eTimed::X], 0.1, kEps);
    EXPECT_FALSE(At(pClone, 3).Shown());
    EXPECT_TRUE(pClone->AttributeOr(u"_remove_", false));
}

TEST(TimedChange, ReadsValuesWithoutAllocation) {
    const ElementPtr p = ElementOf(u"<video x='0.1' pos='left'><add y='0.1'/><vary w='0.1'/></video>");
    ElementChange(*p, {}, u"x=0.7 alpha=0.2", 2);
    ElementValues(*p, 0, MOTION::NextFrame(25));
    const int64_t nBefore = AllocationCount();
    for (int i = 1; i < 100; ++i) ElementValues(*p, i / 50.0, MOTION::NextFrame(25));
    EXPECT_EQ(AllocationCount(), nBefore);
}

}  // namespace
}  // namespace zr
