#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>

#include "scenes/element_select.h"
#include "scenes/element_support.h"
#include "scenes/placing.h"

namespace zr {
namespace {

constexpr HRESULT kCircular = static_cast<HRESULT>(0x80070423);

// A scene, and what stands in it by paths.
class Elements : public testing::Test {
protected:
    ElementPtr At_(const char16_t* _szPath) { return pScene->Find(_szPath); }
    std::string Xml() { return XmlOf(*pScene); }
    std::string Add(const char16_t* _szID, const char16_t* _szType, const char16_t* _szProps, double _dblTime = 0,
                    const ElementPtr& _pParent = {}) {
        ZrPtr<IZrElement> pNew;
        hr = (_pParent ? _pParent : pScene)->ElementsAdd(_szID, _szType, _szProps, pNew.Out(), _dblTime);
        const ElementPtr p = pNew.As<CoElement>();
        return p ? ToUtf8(p->Name()) : "-";
    }

    ElementPtr pScene = ElementOf(u"<zr_scene/>");
    HRESULT hr = S_OK;
};

TEST_F(Elements, AreAddedOrReplaced) {
    EXPECT_EQ(Add(nullptr, u"video", nullptr), "video");
    EXPECT_EQ(Add(u"", u"video", u"x=0.1 on_show::x=-1"), "video_001");
    EXPECT_EQ(Add(nullptr, nullptr, u"id=mine"), "item");
    EXPECT_EQ(Add(u"g", u"group", u"<any id='no' w='0.5'><video id='in'/></any>"), "g");
    EXPECT_EQ(Add(u"cam", nullptr, u"<video stream_id='a'/>"), "cam");
    EXPECT_EQ(Add(u"cam", nullptr, u"stream_id=b h=0.2"), "cam");
    EXPECT_EQ(Xml(),
              "<zr_scene><video id='video'/><video id='video_001' x='0.1'><on_show x='-1'/></video><item id='item'/>"
              "<group id='g' w='0.5'><video id='in'/></group><video id='cam' stream_id='b' h='0.2'/></zr_scene>");
    Add(u"v", u"view", u"");
    EXPECT_EQ(hr, static_cast<HRESULT>(0x8007007B));
    Add(u"bad", u"video", u"<");
    EXPECT_EQ(hr, E_INVALIDARG);
    EXPECT_FALSE(At_(u"bad"));
    EXPECT_EQ(Add(u"f", u"cube", u""), "f");
    EXPECT_EQ(Add(u"side", u"front", u"", 0, At_(u"f")), "front") << "sides have no id";

    EXPECT_EQ(Add(u"late", u"video", u"", 1), "late");
    EXPECT_FALSE(At(At_(u"late"), 0).Shown()) << "it is faded in";
    EXPECT_NEAR(At(At_(u"late"), 0.5)[eTimed::Alpha], 0.5, 1e-9);
    Add(u"cam", u"video", u"h=0.4", 1);
    At(At_(u"cam"), 0);
    EXPECT_NEAR(At(At_(u"cam"), 0.5)[eTimed::H], 0.3, 1e-9);
    EXPECT_EQ(pScene->ElementsMediaAdd(nullptr, nullptr, u"bars", nullptr, nullptr, 0), E_NOTIMPL);
}

// The lowest number that is free, whatever has become of the others.
TEST_F(Elements, GetTheLowestFreeNumber) {
    const auto next = [&](const char16_t* _szType = u"video") { return Add(nullptr, _szType, nullptr); };
    for (int i = 0; i < 3; ++i) next();
    EXPECT_EQ(next(), "video_003");
    EXPECT_EQ(next(u"img"), "img");
    At_(u"video_001")->ElementDetach(0);
    EXPECT_EQ(next(), "video_001");
    At_(u"video_002")->Rename(u"other");
    EXPECT_EQ(Add(u"VIDEO_004", u"img", nullptr), "VIDEO_004");
    EXPECT_EQ(next(), "video_002");
    EXPECT_EQ(next(), "video_005");
    const ElementPtr pElsewhere = ElementOf(u"<zr_scene/>");
    At_(u"video_003")->ElementParentSet(pElsewhere.As<IZrElement>().Get());
    At_(u"video")->NodeNameSet(u"renamed");
    EXPECT_EQ(next(), "video");
    EXPECT_EQ(next(), "video_003");
    pScene->Parse(u"<zr_scene><video id='video'/></zr_scene>");
    EXPECT_EQ(next(), "video_001");
    pScene->NodeRemoveAll(0);
    EXPECT_EQ(next(), "video");
}

// What names a setting in a path, or hides a node, does so as a tag and not as the id of an element.
TEST_F(Elements, AreNotTakenForSettings) {
    EXPECT_EQ(Add(u"a::b", u"video", u""), "-");
    EXPECT_EQ(hr, E_INVALIDARG) << "nobody would find it";
    EXPECT_EQ(Add(u"g", u"group", u""), "g");
    const ElementPtr pG = At_(u"g");
    for (const char16_t* sz : {u"vary", u"attributes_info"}) Add(sz, u"video", u"", 0, pG);
    int32_t nCount = 0;
    EXPECT_EQ(pG->ElementsGetCount(&nCount), S_OK);
    EXPECT_EQ(nCount, 2);
    EXPECT_EQ(pG->ElementMultipleSet(u"vary::x=0.5 vary::y=0.25", 0), S_OK);
    EXPECT_EQ(pScene->ElementMultipleSet(u"g::vary::x=1 g::new::x=1 g::new::add::x=2", 0), S_OK);
    EXPECT_EQ(XmlOf(*pG),
              "<group id='g'><video id='vary'/><video id='attributes_info'/><vary x='1' y='0.25'/>"
              "<new x='1'><add x='2'/></new></group>");
}

// A type is what the element is written as.
TEST_F(Elements, HaveTypesThatCanBeWritten) {
    Add(u"a", u"video.big-2_x", u"");
    EXPECT_EQ(hr, S_OK);
    const std::string strXml = Xml();
    for (const char16_t* szType : {u"a b", u"<", u"a>b", u"'", u"&", u"!--", u"1st", u"-", u"a/", u"a=b"}) {
        Add(u"b", szType, u"x=1");
        EXPECT_EQ(hr, E_INVALIDARG) << ToUtf8(szType);
        EXPECT_EQ(At_(u"a")->ElementSet(szType, u"x=1", 0), E_INVALIDARG) << ToUtf8(szType);
    }
    EXPECT_EQ(Xml(), strXml);
}

TEST_F(Elements, AreFoundMovedAndTakenOut) {
    pScene->Parse(
        u"<zr_scene><group id='g'><video id='a'/><video id='b'/><vary x='1'/><video id='c'/></group></zr_scene>");
    const ElementPtr pA = At_(u"g::a"), pG = At_(u"g");
    ZrPtr<IZrElement> pFound;
    EXPECT_EQ(pScene->ElementsGetByID(u"g::c", pFound.Out()), S_OK);
    EXPECT_EQ(pScene->ElementsGetByID(u"g::no", pFound.Out()), ZR_E_BAD_INDEX);
    EXPECT_EQ(pScene->ElementsGetByID(nullptr, pFound.Out()), E_INVALIDARG);
    EXPECT_EQ(pG->ElementsGetByIndex(4, pFound.Out()), ZR_E_BAD_INDEX);
    EXPECT_EQ(pG->ElementsGetByIndex(-1, pFound.Out()), ZR_E_BAD_INDEX);

    const std::tuple<int32_t, const char*> arrMoves[] = {{1, "bac"},  {1, "bca"},         {5, "bca"},
                                                         {-1, "bac"}, {INT32_MIN, "abc"}, {INT32_MAX, "bca"}};
    for (const auto& [nAdd, szOrder] : arrMoves) {
        EXPECT_EQ(pA->ElementReorder(nAdd), S_OK);
        std::string strOrder;
        for (size_t i = 0; i < pG->ChildCount(); ++i)
            if (pG->ChildAt(i)->HasTag(u"video")) strOrder += ToUtf8(pG->ChildAt(i)->Name());
        EXPECT_EQ(strOrder, szOrder);
    }
    EXPECT_EQ(pScene->ElementReorder(1), S_FALSE);

    EXPECT_EQ(pG->ElementParentSet(pG.As<IZrElement>().Get()), kCircular);
    EXPECT_EQ(pG->ElementParentSet(pA.As<IZrElement>().Get()), kCircular) << "nor into what it holds";
    EXPECT_EQ(pA->ElementParentSet(pG.As<IZrElement>().Get()), S_FALSE);
    EXPECT_EQ(pA->ElementParentSet(pScene.As<IZrElement>().Get()), S_OK);
    EXPECT_EQ(pScene->ChildAt(1), pA);
    EXPECT_EQ(pScene->ElementParentSet(pG.As<IZrElement>().Get()), ZR_E_NOT_FOUND);
    pScene->AppendText(u"text");
    EXPECT_EQ(pA->ElementParentSet(pScene->ChildAt(2).As<IZrElement>().Get()), E_INVALIDARG);
    EXPECT_EQ(pA->Parent(), pScene) << "and stays where it is";

    EXPECT_EQ(pA->ElementDetach(5), S_OK) << "at once where nobody draws";
    EXPECT_FALSE(pA->HasParent());
    EXPECT_EQ(pA->ElementDetach(0), S_FALSE);
    pScene->bSceneActive = true;
    EXPECT_EQ(pG->ElementDetach(5), S_OK);
    EXPECT_TRUE(pG->HasParent() && pG->AttributeOr(u"_remove_", false));
    EXPECT_TRUE(At(pG, 0).Shown());
}

TEST_F(Elements, TakeAttributesTypesAndBodies) {
    pScene->Parse(u"<zr_scene><video id='v' x='0.5'/><text id='t'>Old<on_show x='1'/></text></zr_scene>");
    const ElementPtr pV = At_(u"v"), pT = At_(u"t");
    EXPECT_EQ(pV->ElementDoubleSet(u"x", 0.5, 0), S_FALSE);
    EXPECT_EQ(pV->ElementDoubleSet(u"x", 0.25, 0), S_OK);
    EXPECT_EQ(pV->ElementDoubleSet(u"zoom", 2, 3), S_OK);
    EXPECT_EQ(pV->ElementBoolSet(u"show", 0, 0), S_OK);
    EXPECT_EQ(pV->ElementStringSet(u"", u"x", 0), E_INVALIDARG);
    EXPECT_EQ(pV->ElementBoolSet(nullptr, 1, 1), E_INVALIDARG);
    EXPECT_EQ(pV->ElementMultipleSet(u"y=1 on_hide::y=2", 0), S_OK);
    EXPECT_EQ(XmlOf(*pV), "<video id='v' x='0.25' zoom='2.0' show='false' y='1'><on_hide y='2'/></video>");
    EXPECT_EQ(pV->ElementSet(u"img", u"<other sx='1'><add x='1'/></other>", 0), S_OK);
    EXPECT_EQ(XmlOf(*pV), "<img id='v' sx='1'><add x='1'/></img>");
    EXPECT_EQ(pT->ElementSet(u"text", u"New words", 0), S_OK);
    EXPECT_EQ(XmlOf(*pT), "<text id='t'>New words<on_show x='1'/></text>");
    pT->SetObject(u"text", ObjectVal<int>::Make(1));
    EXPECT_EQ(pT->ElementStringSet(u"color", u"red", 2), S_OK);
    EXPECT_FALSE(pT->Object(u"text")) << "made anew by its look";
    EXPECT_EQ(pV->ElementMediaSet(nullptr, u"bars", nullptr, 0), E_NOTIMPL);
    EXPECT_EQ(pV->ElementTypeGet(nullptr), E_POINTER);
}

// Positions on the output, by hand; set where they are and nothing moves.
TEST_F(Elements, StandOnTheOutput) {
    pScene->Parse(
        u"<zr_scene><group id='g' w='0.5' h='0.5' pos='bottom-right' x='0.1' y='0.2'><video id='a' w='0.5' h='0.25' "
        u"y='0.1'/></group></zr_scene>");
    const auto check = [&](const char16_t* _szPath, double _x, double _y, double _w, double _h) {
        double x, y, w, h;
        EXPECT_EQ(At_(_szPath)->ElementAbsolutePosGet(&x, &y, &w, &h), S_OK);
        EXPECT_NEAR(x, _x, 1e-6);
        EXPECT_NEAR(y, _y, 1e-6);
        EXPECT_NEAR(w, _w, 1e-6);
        EXPECT_NEAR(h, _h, 1e-6);
    };
    check(u"g", 0.4, 0.3, 0.5, 0.5);
    check(u"g::a", 0.525, 0.3 + 0.25 - 0.0625 - 0.05, 0.25, 0.125);
    for (const char16_t* szPos : {u"center", u"top-left", u"bottom-right", u"top", u"right", u"left", u"bottom-left"}) {
        SCOPED_TRACE(ToUtf8(szPos));
        At_(u"g::a")->SetAttribute(u"pos", std::u16string_view(szPos));
        EXPECT_EQ(At_(u"g::a")->ElementAbsolutePosSet(0.2, 0.3, 0.4, 0.1), S_OK);
        check(u"g::a", 0.2, 0.3, 0.4, 0.1);
    }
    EXPECT_EQ(At_(u"g")->ElementAbsolutePosSet(0, 0, std::nan(""), 1), E_INVALIDARG);
}

TEST_F(Elements, SelectAndRestore) {
    pScene->Parse(
        u"<zr_scene><group><video id='a' x='0.1' w='0.2'/></group><video id='b'><on_select x='0.5' alpha='1'/></video>"
        u"</zr_scene>");
    const ElementPtr pA = At_(u"group::a"), pB = At_(u"b");
    EXPECT_EQ(pA->ElementInvoke(u"select", u"false", 0), S_FALSE);
    EXPECT_EQ(pA->ElementInvoke(u"select", nullptr, 0), S_OK);
    EXPECT_EQ(pA->ElementInvoke(u"select", u"true", 0), S_FALSE);
    EXPECT_EQ(pA->ElementInvoke(u"jump", nullptr, 0), E_NOTIMPL);
    EXPECT_EQ(XmlOf(*pA),
              "<video id='a' x='0' w='1' selected='true'><on_select x='0' w='1'/>"
              "<_sel_restore_ x='0.1' w='0.2'/></video>");
    EXPECT_EQ(pB->ElementInvoke(u"select", u"multiple_select=true", 0), S_OK);
    EXPECT_TRUE(pA->HasAttribute(u"selected"));
    EXPECT_EQ(pB->ElementInvoke(u"select", u"", 0), S_OK);
    EXPECT_EQ(XmlOf(*pB), "<video id='b' x='0.0' alpha='1.0'><on_select x='0.5' alpha='1'/></video>");
    EXPECT_EQ(pB->ElementInvoke(u"select", u"true", 0), S_OK);
    EXPECT_EQ(XmlOf(*pA), "<video id='a' x='0.1' w='0.2'><on_select x='0' w='1'/></video>");
    pB->SetAttribute(u"on_select::mask", std::u16string_view(u"a<b"));
    pB->RemoveAttribute(u"selected");
    EXPECT_EQ(pB->ElementInvoke(u"select", u"true", 0), S_OK);
    EXPECT_EQ(ToUtf8(pB->AttributeOr(u"mask", std::u16string_view())), "a<b");
}

TEST_F(Elements, GoToViewsOneAfterAnother) {
    pScene->Parse(
        u"<zr_scene><video id='a' x='0'/><group><video id='deep'/></group><view><near a='x=1' deep='y=1'/>"
        u"<far a='x=2'/><tour on_invoke='near, far' a='x=3'/></view></zr_scene>");
    const ElementPtr pA = At_(u"a");
    EXPECT_EQ(At_(u"view::tour")->ElementInvoke(nullptr, nullptr, 6), S_OK);
    for (const double dbl : {1.0, 2.0, 3.0}) {
        EXPECT_EQ(pA->AttributeOr(u"x", 0.0), dbl);
        EXPECT_EQ(pA->AttributeOr(u"node_from::_change_time_", 0.0), 2.0);
        EXPECT_EQ(RunViewStep(*pScene), dbl < 3) << "the last is the view itself";
    }
    EXPECT_EQ(At_(u"group::deep")->AttributeOr(u"y", 0.0), 1.0);
    EXPECT_EQ(At_(u"view::near")->ElementInvoke(nullptr, u"_change_accel_=3", 1), S_OK);
    EXPECT_EQ(pA->AttributeOr(u"node_from::_change_accel_", 0.0), 3.0);
    EXPECT_EQ(ElementOf(u"<view/>")->ElementInvoke(nullptr, nullptr, 0), E_UNEXPECTED);
}

}  // namespace
}  // namespace zr
