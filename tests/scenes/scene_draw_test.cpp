// The walk over a scene: what is drawn in which frame, how bright, and what ends.

#include "scenes/scene_draw.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "scenes/element_names.h"
#include "scenes/element_select.h"
#include "scenes/element_support.h"
#include "support/allocation_count.h"

namespace zr {
namespace {

// As the mixer does it: what is collected is drawn in the next frame. Logs "name#picture:alpha" of what is.
class Screen final : public ISceneVideo, public IEventSink {
public:
    bool CollectVideo(const VIDEO_ELEMENT& _video, DrawContext& _context, RECT_F* _pRect) override {
        if (_video.texts.streamID == u"none") return false;
        if (!_video.element.Object(element::kVideoBlock))
            _video.element.SetObject(element::kVideoBlock, ObjectVal<int>::Make(++nPictures));
        *_pRect = PlaceElement(_video.place, nullptr, _context.target_props, _video.parent, _video.previous);
        return true;
    }
    void DrawVideo(const VIDEO_ELEMENT& _video, DrawContext&) override {
        if (bQuiet) return;
        const int n = _video.element.ObjectAs<int>(element::kVideoBlock);
        char sz[64];
        std::snprintf(sz, sizeof(sz), "#%d:%.2f ", n, _video.dblAlpha);
        if (n != 0) strLog += ToUtf8(_video.element.Name()) + sz;
    }
    void DropVideo(CoElement& _element) override {
        ++nDrops;
        _element.RemoveObject(element::kVideoBlock);
    }
    void ChangeEnded(CoElement& _scene) override { RunViewStep(_scene); }
    void RaiseEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t*, IUnknown*) override {
        strLog += "[" + ToUtf8(_szEvent) + " " + ToUtf8(_szName) + "] ";
    }
    void RaiseFrame(const char16_t*, IZrFFrame*) override {}

    std::string strLog;
    bool bQuiet = false;
    int nPictures = 0, nDrops = 0;
};

class SceneDraw : public testing::Test {
protected:
    // Discarded elements hold what holds them, until it is told to let them go.
    ~SceneDraw() override { pShared->TakeDiscarded(); }

    void Make(std::u16string_view _xml) {
        pScene = CoElement::CreateTop(u"zr_scene", pShared);
        pScene->Parse(_xml);
        pScene->bSceneActive = true;
        Frame();
    }
    // Both passes of a frame and what they drew; frames are a tenth of a second apart.
    std::string Frame() {
        DrawContext context;
        context.target_props.eInterlace = eZrI_Progressive;
        context.target_props.nWidth = 1000;
        context.target_props.nHeight = 500;
        context.target_props.dblRate = 10;
        const ElementPtr pForeground = pScene->FindChild(u"foreground");
        for (const bool bDraw : {true, false}) {
            context.bDraw = bDraw;
            context.now = (nFrame + (bDraw ? 0 : 1)) / 10.0;
            walk.Draw(context, *pScene, pForeground ? *pForeground : *pScene);
        }
        ++nFrame;
        walk.RaiseEvents(screen);
        return std::exchange(screen.strLog, {});
    }
    std::string FrameAfter(int _nFrames) {
        while (--_nFrames > 0) Frame();
        return Frame();
    }
    ElementPtr At_(const char16_t* _szPath) { return pScene->Find(_szPath); }

    const std::shared_ptr<ScenesShared> pShared = std::make_shared<ScenesShared>();
    Screen screen;
    SceneWalk walk{screen};
    ElementPtr pScene;
    int nFrame = 0;
};

TEST_F(SceneDraw, DrawsInOrderWithTheAlphaOfTheParents) {
    Make(
        u"<zr_scene><foreground><video id='a'/>text<group id='g' alpha='0.5'><video id='b' alpha='0.5'>"
        u"<video id='in' alpha='0.2'/></video></group><video id='hid' show='no'/><crawl><video id='never'/></crawl>"
        u"<video.big id='d'/><video id='e' stream_id='none'/><item><video id='deep'/></item></foreground></zr_scene>");
    EXPECT_EQ(Frame(), "a#1:1.00 b#2:0.25 in#3:0.05 d#4:1.00 ");
    At_(u"foreground")->SetAttribute(u"highlight_item", std::u16string_view(u"g::b"));
    EXPECT_EQ(Frame(), "a#1:0.50 b#2:0.50 in#3:0.10 d#4:0.50 ");
    At_(u"foreground")->RemoveAttribute(u"highlight_item");
    At_(u"foreground::g")->SetAttribute(u"show", false);
    EXPECT_EQ(Frame(), "a#1:1.00 d#4:1.00 ");
    EXPECT_FALSE(At_(u"foreground::g::b::in")->Object(element::kVideoBlock)) << "what is hidden keeps no picture";
    At_(u"foreground::a")->ElementReorder(1);
    EXPECT_EQ(Frame(), "a#1:1.00 d#4:1.00 ");
    At_(u"foreground::g")->SetAttribute(u"show", true);
    EXPECT_EQ(FrameAfter(2), "b#5:0.25 in#6:0.05 a#1:1.00 d#4:1.00 ");
    screen.bQuiet = true;
    const int64_t nBefore = AllocationCount();
    FrameAfter(10);
    EXPECT_EQ(AllocationCount(), nBefore) << "a walk allocates nothing";
}

// The old picture and the new one, in every frame of the way at least one of them whole.
TEST_F(SceneDraw, CrossFadesWithoutAnEmptyFrame) {
    Make(u"<zr_scene><group id='g'><video id='x'/></group></zr_scene>");
    EXPECT_EQ(Frame(), "x#1:1.00 ");
    ASSERT_EQ(At_(u"g")->ElementSet(nullptr, u"<group><video id='y'/></group>", 0.4), S_OK);
    EXPECT_EQ(Frame(), "x#1:1.00 ");
    EXPECT_EQ(Frame(), "y#2:0.04 x#1:0.96 ");  // Ease(0.25, 1) = (1 - cos(pi / 8)) / 2
    ASSERT_EQ(At_(u"g")->ElementSet(nullptr, u"<group><video id='z'/></group>", 0.4), S_OK) << "in the middle of it";
    EXPECT_EQ(Frame(), "y#2:0.50 x#1:0.50 ");
    EXPECT_EQ(FrameAfter(8), "z#3:1.00 ");
    EXPECT_FALSE(At_(u"g::clone"));
    for (int i = 0; i < 50; ++i) At_(u"g")->ElementSet(nullptr, u"<group><video/></group>", 10);
    const std::string strFrame = Frame();
    EXPECT_LE(std::count(strFrame.begin(), strFrame.end(), '#'), 5) << "old ones do not pile up";
}

// Of a type with a suffix too; whoever waits for the end hears of it once.
TEST_F(SceneDraw, CrossFadesOnePictureToAnother) {
    Make(u"<zr_scene><video.main id='x'/></zr_scene>");
    ASSERT_EQ(At_(u"x")->ElementSet(nullptr, u"<video.main w='0.5'/>", 0.2), S_OK);
    Frame();
    EXPECT_EQ(Frame(), "x#2:0.50 clone#1:0.50 ");
    std::string strRest;
    for (int i = 0; i < 4; ++i) strRest += Frame();
    EXPECT_EQ(strRest, "x#2:1.00 [trans-done x] x#2:1.00 x#2:1.00 x#2:1.00 ");
    Make(u"<zr_scene><group id='g'><video id='in'/></group></zr_scene>");
    At_(u"g::in")->ElementDoubleSet(u"x", 0.5, 0.1);
    ASSERT_EQ(At_(u"g")->ElementSet(nullptr, u"<group/>", 0.4), S_OK);
    for (int i = 0; i < 8; ++i) strRest += Frame();
    EXPECT_EQ(strRest.find("clone"), strRest.npos) << "nor of what goes with it: " << strRest;
}

// What is hidden is gone through once, and again when something may have come to be there.
TEST_F(SceneDraw, LetsHiddenPicturesGoOnce) {
    Make(u"<zr_scene><group id='g'><video id='a'/><group><video id='b'/></group></group><video id='c'/></zr_scene>");
    At_(u"g")->ElementBoolSet(u"show", false, 0);
    Frame();
    const int nDrops = screen.nDrops;
    EXPECT_EQ(FrameAfter(3), "c#3:1.00 ");
    EXPECT_EQ(screen.nDrops, nDrops);
    At_(u"c")->ElementParentSet(At_(u"g").As<IZrElement>().Get());
    EXPECT_EQ(Frame(), "");
    EXPECT_FALSE(At_(u"g::c")->Object(element::kVideoBlock));
    At_(u"g")->ElementBoolSet(u"show", true, 0.2);
    EXPECT_EQ(FrameAfter(4), "a#4:1.00 b#5:1.00 c#6:1.00 ");
    At_(u"g")->ElementBoolSet(u"show", false, 0.1);
    FrameAfter(4);
    EXPECT_FALSE(At_(u"g::a")->Object(element::kVideoBlock)) << "and when it is hidden by time";
}

// What has the name of a setting by its id is an element.
TEST_F(SceneDraw, TakesNoElementForASetting) {
    const std::u16string_view arrIds[] = {u"clone",     u"add",     u"vary",    u"node_from",
                                          u"node_hide", u"on_show", u"on_hide", u"_sel_restore_"};
    std::u16string xml = u"<zr_scene><group id='g' w='0.5'>";
    for (const std::u16string_view id : arrIds) xml.append(u"<video x='0.1' w='0.1' id='").append(id).append(u"'/>");
    Make(xml + u"<add y='0'/></group></zr_scene>");
    const std::string strDrawn =
        "clone#1:1.00 add#2:1.00 vary#3:1.00 node_from#4:1.00 node_hide#5:1.00 on_show#6:1.00 on_hide#7:1.00 "
        "_sel_restore_#8:1.00 ";
    EXPECT_EQ(Frame(), strDrawn);
    EXPECT_EQ(ElementValues(*At_(u"g"), 0.3, MOTION::NextFrame(10))[eTimed::W], 0.5);
    At_(u"g")->ElementMultipleSet(u"x=0.3", 0.1);
    At_(u"g")->ElementBoolSet(u"show", false, 0.1);
    FrameAfter(4);
    At_(u"g")->ElementBoolSet(u"show", true, 0);
    FrameAfter(2);
    for (const std::u16string_view id : arrIds) {
        const ElementPtr p = At_(u"g")->Find(id);
        EXPECT_TRUE(p && p->HasTag(u"video")) << ToUtf8(id);
    }
    const ElementPtr pCopy = CoElement::CreateTop(u"zr_scene");
    pScene->CopyTo(*pCopy, false, eZrUT_ClearDest, std::vector<NameKey>{u"clone", u"node_from"});
    EXPECT_TRUE(pCopy->Find(u"g::clone") && pCopy->Find(u"g::node_from")) << "and is saved";
}

TEST_F(SceneDraw, KeepsThePicturesThatANewDescriptionHasToo) {
    Make(u"<zr_scene><group id='g'><video id='x'/><video/><video w='0.5'/><img id='i'/></group></zr_scene>");
    EXPECT_EQ(Frame(), "x#1:1.00 video#2:1.00 video#3:1.00 ");
    At_(u"g")->ElementSet(nullptr, u"<group><video/><video/><video/><video id='i'/><group id='x'/></group>", 0);
    EXPECT_EQ(Frame(), "video#2:1.00 video#3:1.00 ") << "by name and type, no two with one picture";
    EXPECT_EQ(Frame(), "video#2:1.00 video#3:1.00 video#4:1.00 i#5:1.00 ");
    At_(u"g::i")->ElementSet(nullptr, u"<video stream_id='other'/>", 0);
    EXPECT_EQ(Frame(), "video#2:1.00 video#3:1.00 video#4:1.00 i#5:1.00 ");
}

TEST_F(SceneDraw, TellsTheEndOfAChangeOnceAndTakesOutWhatLeaves) {
    Make(u"<zr_scene><video id='a'/><video id='b'/><video id='c'/></zr_scene>");
    At_(u"a")->ElementMultipleSet(u"x=0.5 alpha=0.5", 0.1);
    At_(u"b")->ElementDetach(0.1);
    EXPECT_EQ(Frame(), "a#1:1.00 b#2:1.00 c#3:1.00 ");
    EXPECT_EQ(Frame(), "a#1:0.50 c#3:1.00 [trans-done a] [trans-done b] ");
    EXPECT_EQ(FrameAfter(3), "a#1:0.50 c#3:1.00 ");
    EXPECT_FALSE(At_(u"b"));
    pScene->ElementsAdd(u"g", u"group", u"<group show='no'><video id='d'/></group>", nullptr, 0);
    At_(u"g::d")->ElementDetach(1);
    EXPECT_FALSE(At_(u"g::d")) << "at once where nobody sees it";
    pScene->ElementsAdd(u"a", u"video", u"show=no", nullptr, 0);
    At_(u"a")->ElementDetach(1);
    EXPECT_FALSE(At_(u"a"));
}

// A step by which nothing changes, or that is not there, does not hold the ones behind it up.
TEST_F(SceneDraw, GoesThroughItsViews) {
    Make(
        u"<zr_scene><video id='a' x='1'/><view><still a='pos=left'/><away b='x=3'/><on a='x=2'/>"
        u"<tour on_invoke='still no away on still' a='x=4'/></view></zr_scene>");
    EXPECT_EQ(At_(u"view::tour")->ElementInvoke(nullptr, nullptr, 0.6), S_OK);
    EXPECT_EQ(At_(u"a")->AttributeOr(u"x", 0.0), 2.0);
    FrameAfter(3);
    EXPECT_EQ(At_(u"a")->AttributeOr(u"x", 0.0), 4.0);
    EXPECT_EQ(At_(u"view::tour")->ElementInvoke(nullptr, nullptr, 0), S_OK);
    EXPECT_EQ(At_(u"a")->AttributeOr(u"x", 0.0), 4.0) << "without a time all are gone to at once";
}

// The cursor goes from sibling to sibling, and each parent has its own.
TEST_F(SceneDraw, PlacesByTheSiblingBefore) {
    Make(
        u"<zr_scene><group id='g' pos='top-left' x='0.1' y='0.2' w='0.5' h='0.5'><video id='a' w='0.2' h='0.2' "
        u"pos='next-h'/><video id='b' w='0.2' h='0.4' x='0.1' pos='next-h'/><video id='c' w='0.2' h='0.2' "
        u"pos='next-row'/></group><video id='d' w='0.1' h='0.1' pos='next-v'/></zr_scene>");
    const std::tuple<const char16_t*, double, double, double, double> arrCases[] = {{u"g::a", 0.1, 0.2, 0.1, 0.1},
                                                                                    {u"g::b", 0.25, 0.2, 0.1, 0.2},
                                                                                    {u"g::c", 0.1, 0.4, 0.1, 0.1},
                                                                                    {u"d", 0.1, 0.7, 0.1, 0.1}};
    for (const auto& [szPath, xWanted, yWanted, wWanted, hWanted] : arrCases) {
        double x, y, w, h;
        EXPECT_EQ(At_(szPath)->ElementAbsolutePosGet(&x, &y, &w, &h), S_OK);
        EXPECT_NEAR(x, xWanted, 1e-6) << ToUtf8(szPath);
        EXPECT_NEAR(y, yWanted, 1e-6) << ToUtf8(szPath);
        EXPECT_NEAR(w, wWanted, 1e-6) << ToUtf8(szPath);
        EXPECT_NEAR(h, hWanted, 1e-6) << ToUtf8(szPath);
    }
}

}  // namespace
}  // namespace zr
