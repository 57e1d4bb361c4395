// The way of a frame through the overlays and the plug-ins.

#include "output/plugin_list.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "frame_module/frame_builders.h"
#include "support/allocation_count.h"
#include "support/scripted_plugin.h"

namespace zr {
namespace {

struct Nobody final : UnknownImpl<IUnknown> {};

struct Rig {
    XMLNodePtr pKeys = CoXMLNode::Create(u"object");
    Nobody self;
    PluginList list{pKeys, self};

    // "n*": the number of each plug-in in its order, with a star where it is called with a slot for a result.
    std::string strCalls;

    void Set(const char16_t* _szKey, std::u16string_view _value) {
        pKeys->SetAttribute(_szKey, _value);
        list.OnKeys();
    }
    // k keeps the frame, n gives another, s gives the same back, f gives another and fails, x is no plug-in at all.
    void Add(char _chKind, int64_t _nNumber) {
        if (_chKind == 'x') {
            ASSERT_EQ(list.Add(ZrPtr<Nobody>::Attach(new Nobody).Get(), _nNumber), S_OK);
            return;
        }
        const auto p = ScriptedPlugin::Make([this, _chKind](int64_t _n, IZrFrame* _pFrame, IZrFrame** _ppResult) {
            strCalls += std::to_string(_n) + (_ppResult ? "* " : " ");
            if (!_ppResult || _chKind == 'k') return S_OK;
            if (_chKind == 's') return ZrPtr<IZrFrame>(_pFrame).CopyTo(_ppResult);
            const HRESULT hr = _pFrame->FrameClone(_ppResult, eZrFC_Reference, eZrFCC_Default);
            return _chKind == 'f' ? E_FAIL : hr;
        });
        ASSERT_EQ(list.Add(p.Get(), _nNumber), S_OK);
    }
    std::string Order() const {
        std::string str;
        ZrPtr<IUnknown> p;
        int64_t ll = 0;
        for (int32_t i = 0; list.GetByIndex(i, p.Out(), &ll) == S_OK; ++i) str += std::to_string(ll);
        return str;
    }
};

ZrPtr<IZrFFrame> Grey(eZrFCC _fcc = eZrFCC_UYVY) { return OneColour(VidProps(_fcc, 120, 100), u"color=808080"); }

TEST(PluginList, RunsTheLastFirstAndGivesASlotByTheRule) {
    struct CASE {
        const char* szKinds;  // in order of adding
        bool bOptimization;
        const char* szCalls;
        bool bNew;  // the result is another frame than the input
    };
    constexpr CASE arrCases[] = {
        {"", true, "", false},
        {"kkk", true, "2* 1* 0* ", false},
        {"kxnk", true, "3* 2* 0 ", true},
        {"nkn", false, "2* 1* 0* ", true},
        {"nn", true, "1* 0 ", true},
        {"kf", true, "1* 0* ", false},
        {"ks", true, "1* 0* ", false},
        {"x", true, "", false},
    };
    for (const CASE& c : arrCases) {
        SCOPED_TRACE(std::string(c.szKinds) + (c.bOptimization ? "" : " without optimization"));
        Rig rig;
        if (!c.bOptimization) rig.Set(u"plugins.optimization", u"false");
        for (int64_t i = 0; c.szKinds[i]; ++i) rig.Add(c.szKinds[i], i);
        const ZrPtr<IZrFFrame> pIn = Grey();
        ZrPtr<IZrFFrame> pOut;
        EXPECT_EQ(rig.list.ProcessFrame(&rig.self, pIn.Get(), pOut.Out()), S_OK);
        EXPECT_EQ(rig.strCalls, c.szCalls);
        EXPECT_EQ(pOut != pIn, c.bNew);
    }
    Rig rig;
    ZrPtr<IZrFFrame> pOut;
    EXPECT_EQ(rig.list.ProcessFrame(&rig.self, nullptr, pOut.Out()), E_POINTER);
    EXPECT_EQ(rig.list.ProcessFrame(&rig.self, Grey().Get(), nullptr), E_POINTER);
}

// No deadlock, and the walk that is under way is not disturbed; when nothing is edited, nothing is taken from the heap.
TEST(PluginList, CanBeEditedFromWithinACall) {
    Rig rig;
    const auto pEditor = ScriptedPlugin::Make([&rig](int64_t, IZrFrame*, IZrFrame**) {
        rig.list.Remove(nullptr);
        rig.Add('k', 7);
        rig.Add('k', 8);
        // Nobody has the lock, so that another thread gets through as well.
        std::thread([&rig] { rig.Add('k', 9); }).join();
        return S_OK;
    });
    rig.Add('k', 1);
    ASSERT_EQ(rig.list.Add(pEditor.Get(), 2), S_OK);
    ZrPtr<IZrFFrame> pFrame = rig.list.Pass(Grey());
    EXPECT_EQ(rig.strCalls, "1* ");
    EXPECT_EQ(rig.Order(), "789");
    rig.strCalls.clear();
    rig.strCalls.reserve(10'000);
    const int64_t nBefore = AllocationCount();
    for (int i = 0; i < 100; ++i) pFrame = rig.list.Pass(std::move(pFrame));
    EXPECT_EQ(AllocationCount(), nBefore);
    EXPECT_EQ(rig.strCalls.size(), 900u);
}

TEST(PluginList, IsReordered) {
    struct CASE {
        int32_t nChange;
        const char* szOrder;
    };
    for (const CASE& c : {CASE{1, "0213"}, {2, "0231"}, {9, "0231"}, {-1, "1023"}, {-9, "1023"}, {0, "0123"}}) {
        Rig rig;
        for (int64_t i = 0; i < 4; ++i) rig.Add('k', i);
        ZrPtr<IUnknown> pSecond;
        ASSERT_EQ(rig.list.GetByIndex(1, pSecond.Out(), nullptr), S_OK);
        EXPECT_EQ(rig.list.Reorder(pSecond.Get(), c.nChange), c.nChange ? S_OK : S_FALSE);
        EXPECT_EQ(rig.Order(), c.szOrder) << c.nChange;
        EXPECT_EQ(rig.list.Remove(pSecond.Get()), S_OK);
        EXPECT_EQ(rig.Order().find('1'), std::string::npos);
        EXPECT_EQ(rig.list.Remove(pSecond.Get()), ZR_E_NOT_FOUND);
        EXPECT_EQ(rig.list.GetByIndex(3, pSecond.Out(), nullptr), ZR_E_BAD_INDEX);
    }
}

struct PROBE {
    int32_t x, y;
    int32_t nRed, nGreen, nBlue;
};

void ExpectColours(IZrFFrame& _frame, std::span<const PROBE> _probes) {
    ZR_AV_PROPS props{VidProps(eZrFCC_ARGB32, 120, 100), {}, {}};
    ZrPtr<IZrFFrame> pRgb;
    int32_t nRest = 0;
    ASSERT_EQ(_frame.ZrFConvert(&props, pRgb.Out(), &nRest, nullptr, nullptr), S_OK);
    const PLANE plane = [&] {
        PICTURE picture;
        EXPECT_EQ(PictureOfPlanes(PlanesOf(*pRgb), PropsOf(*pRgb).vidProps, picture), S_OK);
        return picture.Packed();
    }();
    for (const PROBE& probe : _probes) {
        const uint8_t* const p = plane.Row(probe.y) + 4 * probe.x;
        SCOPED_TRACE("at " + std::to_string(probe.x) + "," + std::to_string(probe.y));
        EXPECT_NEAR(p[2], probe.nRed, 6);
        EXPECT_NEAR(p[1], probe.nGreen, 6);
        EXPECT_NEAR(p[0], probe.nBlue, 6);
    }
}

// A constant level of a half reads 20 log 0.5 + 3.01 = -3.01 dB, of 60 dB in 80 rows that is 75.98 rows, drawn as 74.
// -20 dB lies 52 rows up, -9 dB 68. The ground lets half of the picture through, but in v210.
TEST(PluginList, DrawsTheSoundOntoANewFrame) {
    constexpr PROBE arrProbes[] = {
        {11, 50, 128, 128, 128},                                                    // beside the meter
        {12, 50, 64, 64, 64},     {20, 14, 64, 64, 64},                             // its ground
        {18, 16, 255, 0, 0},      {23, 20, 255, 0, 0},                              // red above -9 dB
        {18, 22, 255, 255, 0},    {23, 36, 255, 255, 0},                            // yellow above -20 dB
        {18, 38, 0, 128, 0},      {23, 68, 0, 128, 0},                              // green below
        {20, 90, 128, 128, 128},                                                    // under the meter
        {50, 68, 128, 128, 128},  {50, 70, 64, 64, 64},                             // the strip begins at 70
        {58, 74, 255, 255, 255},  {58, 76, 64, 64, 64},                             // first half: up by 5 of 10 rows
        {62, 84, 255, 255, 255},  {62, 82, 64, 64, 64},  {106, 84, 255, 255, 255},  // second half: down
        {108, 84, 128, 128, 128},
    };
    for (const eZrFCC fcc : {eZrFCC_UYVY, eZrFCC_ARGB32, eZrFCC_I420, eZrFCC_v210}) {
        for (const int32_t nBits : {16, -32}) {
            SCOPED_TRACE(std::to_string(fcc) + " with sound of " + std::to_string(nBits));
            Rig rig;
            rig.Set(u"overlay_rms", u"true");
            rig.Set(u"overlay_waveform", u"true");
            const ZrPtr<IZrFFrame> pIn = Grey(fcc);
            const ZR_AUD_PROPS audProps{1, 48000, nBits, 0};
            std::vector<float> arrFloat(1920, 0.5f);
            std::vector<int16_t> arrShort(1920, 16384);
            std::fill(arrFloat.begin() + 960, arrFloat.end(), -0.5f);
            std::fill(arrShort.begin() + 960, arrShort.end(), int16_t{-16384});
            const auto bytes = nBits == 16 ? std::as_bytes(std::span(arrShort)) : std::as_bytes(std::span(arrFloat));
            ASSERT_EQ(pIn->ZrFAudioSet(&audProps, static_cast<int32_t>(bytes.size()),
                                       reinterpret_cast<int64_t>(bytes.data())),
                      S_OK);
            const ZrPtr<IZrFFrame> pOut = rig.list.Pass(pIn);
            ASSERT_NE(pOut, pIn);
            std::vector<PROBE> arrExpected(std::begin(arrProbes), std::end(arrProbes));
            for (PROBE& probe : arrExpected)
                if (fcc == eZrFCC_v210 && probe.nRed == 64) probe = {probe.x, probe.y, 0, 0, 0};
            ExpectColours(*pOut, arrExpected);
            ExpectColours(*pIn, std::array{PROBE{20, 50, 128, 128, 128}, PROBE{58, 74, 128, 128, 128}});
        }
    }
    Rig rig;
    rig.Set(u"overlay_rms", u"true");
    const ZrPtr<IZrFFrame> pSilent = Grey();
    EXPECT_EQ(rig.list.Pass(pSilent), pSilent);  // without sound there is nothing to draw
}

}  // namespace
}  // namespace zr
