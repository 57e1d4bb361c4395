#include "scenes/scenes_set.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "scenes/element_support.h"
#include "scenes/placing.h"

namespace zr {
namespace {

class Log final : public IEventSink {
public:
    void RaiseEvent(const char16_t* _szName, const char16_t*, const char16_t* _szParam, IUnknown*) override {
        str += ToUtf8(_szName) + "=" + ToUtf8(_szParam) + " ";
        if (pSet) pSet->ActiveID();  // a listener may ask: the lock is free
    }
    void RaiseFrame(const char16_t*, IZrFFrame*) override {}
    std::string Take() { return std::exchange(str, {}); }
    std::string str;
    ScenesSet* pSet = nullptr;
};

class Scenes : public testing::Test {
protected:
    Scenes() { log.pSet = &set; }
    std::string Add(const char16_t* _szDescription, const char16_t* _szID) {
        BSTR bs = SysAllocString(_szID);
        hr = set.Add(_szDescription, &bs, nullptr);
        const std::string strID = bs ? ToUtf8(bs) : "-";
        SysFreeString(bs);
        return strID;
    }
    std::string List() {
        std::string str;
        for (const ScenesSet::SCENE& scene : set.Scenes())
            str += ToUtf8(scene.strID) + (scene.pRoot->bSceneActive ? "* " : " ");
        return str;
    }
    ElementPtr Scene(const char16_t* _szID) {
        ZrPtr<IZrElements> p;
        set.Get(_szID, p.Out());
        return p.As<CoElement>();
    }

    Log log;
    ScenesSet set{log};
    HRESULT hr = S_OK;
};

TEST_F(Scenes, HaveIdsAndOneIsActive) {
    EXPECT_EQ(List(), "scene_000* ");
    EXPECT_EQ(Add(nullptr, nullptr), "scene_001");
    EXPECT_EQ(Add(u"<x><video id='a' w='0.5'/></x>", u"news"), "news");
    EXPECT_EQ(Add(u"<x/>", u"NEWS"), "NEWS_001");
    EXPECT_EQ(Add(u"<", u"bad"), "-");
    EXPECT_EQ(hr, E_INVALIDARG);
    EXPECT_EQ(Add(u"/no/such/file.xml", u"bad"), "-");
    EXPECT_EQ(hr, ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(log.Take(), "");

    EXPECT_EQ(set.ActiveSet(u"news", nullptr), S_OK);
    EXPECT_EQ(log.Take(), "scene_000=false news=true ");
    EXPECT_EQ(set.ActiveSet(u"news", nullptr), S_FALSE);
    EXPECT_EQ(set.ActiveSet(u"no", nullptr), ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(set.ActiveSet(u"", nullptr), E_INVALIDARG);
    EXPECT_EQ(log.Take(), "");
    EXPECT_EQ(Add(u"copy_active=true", nullptr), "scene_002");
    EXPECT_TRUE(Scene(u"scene_002")->Find(u"a"));

    EXPECT_EQ(set.Remove(u"news"), S_OK);  // the next one takes over
    EXPECT_EQ(List(), "scene_000 scene_001 NEWS_001* scene_002 ");
    set.Remove(u"NEWS_001"), set.Remove(u"scene_002");  // the last goes: the one before
    EXPECT_EQ(List(), "scene_000 scene_001* ");
    EXPECT_EQ(log.Take(), "news=false NEWS_001=true NEWS_001=false scene_002=true scene_002=false scene_001=true ");
    set.Remove(u"scene_000");
    EXPECT_EQ(set.Remove(u"scene_001"), ZR_E_EMPTY);
    EXPECT_EQ(List(), "scene_001* ");
}

// As many as there are numbers, at a cost that does not grow with each; a number that is free again is found.
TEST_F(Scenes, OfOneNameGetNumbers) {
    std::vector<ScenesSet::SCENE> arrScenes;
    for (int i = 0; i < 40000; ++i) arrScenes.push_back({u"same", set.NewScene()});
    EXPECT_EQ(set.ReplaceAll(std::move(arrScenes), {}), ZR_E_EXISTS);
    int32_t nCount = 0;
    set.GetCount(&nCount);
    EXPECT_EQ(nCount, 32768);
    EXPECT_TRUE(Scene(u"same_32767"));
    EXPECT_EQ(set.Remove(u"same_007"), S_OK);
    EXPECT_EQ(Add(nullptr, u"same"), "same_007");
    EXPECT_EQ(Add(nullptr, u"same"), "-");
}

TEST_F(Scenes, LoseObjectsAsAsked) {
    Add(u"<x/>", u"b");
    const auto mark = [](const ElementPtr& _p) {
        for (const char16_t* sz : {u"video_block", u"src_props"})
            _p->Find(u"foreground", true)->SetObject(sz, ObjectVal<int>::Make(1));
    };
    const auto kept = [](const ElementPtr& _p) {
        const ElementPtr p = _p->Find(u"foreground");
        return (p->Object(u"video_block") ? 1 : 0) + (p->Object(u"src_props") ? 2 : 0);
    };
    const ElementPtr pA = Scene(u"scene_000"), pB = Scene(u"b");
    mark(pA), mark(pB);
    pA->Parse(
        u"<zr_scene highlight_item='v'><foreground highlight_item='v'/><video id='v' selected='true' "
        u"x='1'><_sel_restore_ "
        u"x='0.1'/></video></zr_scene>");
    mark(pA);
    set.ActiveSet(u"b", u"reset=false");
    EXPECT_EQ(kept(pA), 3);
    EXPECT_EQ(kept(pB), 3);
    EXPECT_EQ(XmlOf(*pA->Find(u"v")), "<video id='v' x='0.1'/>");
    EXPECT_FALSE(pA->HasAttribute(u"highlight_item"));
    EXPECT_EQ(XmlOf(*pA->Find(u"foreground")), "<foreground/>") << "nor the foreground's";
    set.ActiveSet(u"scene_000", u"restart=true");
    EXPECT_EQ(kept(pA), 0);
    EXPECT_EQ(kept(pB), 2);
}

TEST_F(Scenes, AreHitFromTheTop) {
    const ElementPtr p = set.Active();
    p->Parse(
        u"<zr_scene><video id='low'/><group id='g'><video id='mid'/></group><video id='top'/><video id='hid' "
        u"show='no'/>"
        u"</zr_scene>");
    const auto stand = [&](const char16_t* _szPath, RECT_F _rect, bool _bBlock) {
        const auto pRects = ElementRects::Make();
        pRects->Set({_rect, {0, 0, 1, 1}});
        p->Find(_szPath)->SetObject(u"dst_rect", ObjectVal<CAutoObj<ElementRects>>::Make(pRects));
        if (_bBlock) p->Find(_szPath)->SetObject(u"video_block", ObjectVal<int>::Make(1));
    };
    stand(u"low", {0, 0, 1, 1}, true);
    stand(u"g::mid", {0.25f, 0.25f, 0.75f, 0.75f}, true);
    stand(u"top", {0.25f, 0.25f, 0.5f, 0.5f}, false);  // no stream
    stand(u"hid", {0.5f, 0.5f, 1, 1}, true);
    const std::tuple<double, double, int32_t, const char*> arrCases[] = {{0.1, 0.1, 0, "low"},   {0.3, 0.3, 0, "mid"},
                                                                         {0.75, 0.75, 0, "mid"}, {0.75, 0.75, 1, "hid"},
                                                                         {0, 1, 0, "low"},       {1.01, 0.5, 1, "-"}};
    for (const auto& [x, y, bHidden, szHit] : arrCases) {
        ZrPtr<IZrElement> pHit;
        EXPECT_EQ(set.ElementGetByPos(x, y, bHidden, pHit.Out()), *szHit == '-' ? S_FALSE : S_OK);
        EXPECT_EQ(pHit ? ToUtf8(pHit.As<CoElement>()->Name()) : "-", szHit) << x << ", " << y;
    }
}

TEST_F(Scenes, KnowTheirElements) {
    Text text;
    const ElementPtr p = set.Active();
    p->Parse(u"<zr_scene><video id='v'/></zr_scene>");
    const uint64_t nChanges = set.Shared().Changes();
    double dblX;
    EXPECT_EQ(p->Find(u"v")->ElementAbsolutePosGet(&dblX, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(set.Shared().Changes(), nChanges) << "who asks changes nothing";
    EXPECT_EQ(p->Find(u"v")->ElementInfoGet(nullptr, text.Out()), S_FALSE) << "a scene that was never activated";
    Add(nullptr, u"b");
    set.ActiveSet(u"b", nullptr), set.ActiveSet(u"scene_000", nullptr);
    EXPECT_EQ(p->Find(u"v")->ElementInfoGet(nullptr, text.Out()), S_OK);
    EXPECT_EQ(ToUtf8(text.View()), "Put description here");
    EXPECT_EQ(p->Find(u"v")->ElementInfoGet(u"show_nodes", text.Out()), S_OK);
    EXPECT_EQ(ToUtf8(text.View()), "on_show, on_hide, add, vary");
    EXPECT_EQ(p->Find(u"v")->AttributesHave(u"sh", nullptr, text.Out()), S_FALSE);
    EXPECT_EQ(ToUtf8(text.View()), "1.0");
    EXPECT_EQ(p->Find(u"v")->AttributesInfoGet(u"spos", eZrIT_Help, text.Out()), S_OK);
    EXPECT_EQ(ToUtf8(text.View()), "Crop relative position");
}

// Changes from several threads while a drawing reads: nothing may break, and no pass sees half a change.
TEST_F(Scenes, ChangeWhileTheyAreDrawn) {
    const ElementPtr p = set.Active();
    p->Parse(u"<zr_scene><video id='v' x='0' alpha='0'/></zr_scene>");
    std::atomic<bool> bStop{false};
    std::thread draw([&] {
        for (double dblNow = 0; !bStop; dblNow += 0.01) {
            CRWReadScope lock(set.Shared().lock);
            if (const ElementPtr pV = set.Active()->Find(u"v")) {
                const ElementValues values(*pV, dblNow, {});
                // Both always have one value, and change together.
                EXPECT_NEAR(values[eTimed::X], values[eTimed::Alpha], 1e-9);
                if (values.Progress() > 1) EndChange(*pV);
            }
        }
    });
    std::vector<std::thread> arrThreads;
    for (int n = 0; n < 3; ++n) {
        arrThreads.emplace_back([&, n] {
            for (int i = 0; i < 300; ++i) {
                if (n == 0) {
                    p->Find(u"v")->ElementMultipleSet(i % 2 != 0 ? u"x=0 alpha=0" : u"x=1 alpha=1", 0.02);
                } else {
                    set.Active()->ElementsAdd(u"w", u"video", i % 3 != 0 ? u"x=1" : u"<video><video/></video>", nullptr,
                                              0.01);
                    if (const ElementPtr pW = set.Active()->Find(u"w"); pW && i % 5 == 0) pW->ElementDetach(0);
                    BSTR bs = nullptr;
                    set.Add(u"copy_active=true", &bs, nullptr);
                    if (n == 2) set.ActiveSet(bs, nullptr), set.ActiveSet(u"scene_000", nullptr);
                    set.Remove(bs);
                    SysFreeString(bs);
                }
            }
        });
    }
    for (std::thread& thread : arrThreads) thread.join();
    bStop = true;
    draw.join();
    EXPECT_EQ(List(), "scene_000* ");
}

}  // namespace
}  // namespace zr
