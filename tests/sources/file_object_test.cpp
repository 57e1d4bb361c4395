// The file source as a host has it, and as several threads do.

#include "sources/co_zr_file.h"

#include <gtest/gtest.h>

#include <random>

#include "sources/file_support.h"
#include "support/scripted_plugin.h"
#include "support/stress.h"
#include "zr/class_ids.h"
#include "zr/events.h"
#include "zr/module.h"

namespace zr {
namespace {

// The object by its class id, as a host has it.
TEST_F(FileControlTest, IsAnObjectWithAllItsFaces) {
    LinkFileSource();
    OwnConfig config;
    ZrPtr<IZrObject> pObject;
    ASSERT_EQ(ZrCreateInstance(kClsidZrFile, pObject), S_OK);
    const auto pFile = pObject.As<IZrFile>();
    const auto pProps = pObject.As<IZrProps>();
    const auto pSource = pObject.As<IZrSource>();
    ASSERT_TRUE(pFile && pProps && pSource && pObject.As<IZrFormat>() && pObject.As<IZrSource_I>() &&
                pObject.As<IZrSender_I>() && pObject.As<IZrEventsAdvise>());
    std::atomic<int32_t> nEvents{0};
    const PFOnEvent pfnEvent = [](int64_t _ll, const char16_t* _szName, const char16_t*, const char16_t*, IUnknown*) {
        if (std::u16string_view(_szName) == u"ZrFile") reinterpret_cast<std::atomic<int32_t>*>(_ll)->fetch_add(1);
        return S_OK;
    };
    pObject->ObjectCallbackSetFunc(reinterpret_cast<int64_t>(pfnEvent), 0, reinterpret_cast<int64_t>(&nEvents));
    ASSERT_EQ(pProps->PropsSet(u"object::rate_control", u"0"), S_OK);
    ASSERT_EQ(pFile->FileNameSet(u"clip", u"loop=1"), S_OK);
    ASSERT_EQ(pObject->ObjectCommandExecute(u"start", nullptr, nullptr, nullptr), S_OK);
    int64_t llReader = 0;
    ZrPtr<IZrFrame> pFrame;
    for (int64_t n = 0; n < 120; ++n) {
        ASSERT_EQ(pSource->SourceFrameGetEx(&llReader, kTicksPerSecond, pFrame.Out(), 0), S_OK);
        EXPECT_EQ(SCRIPT_FRAME(*pFrame.As<IZrFFrame>()).nPicture, n % 100);
    }
    EXPECT_EQ(pObject->ObjectFrameGet(pFrame.Out(), u"pixel_format=0"), S_OK);
    EXPECT_EQ(pObject->ObjectCommandExecute(u"pause", u"time=1.5", nullptr, nullptr), S_OK);
    eZrState eState = eZrS_Error;
    pObject->ObjectStateGet(&eState);
    EXPECT_EQ(eState, eZrS_Paused);
    SleepFor(kMs);
    EXPECT_EQ(nEvents.load(), 4);  // start, loop, start of the loop, pause
    EXPECT_EQ(pObject->ObjectClose(), S_OK);
    EXPECT_EQ(pSource->SourceFrameGetEx(&llReader, 0, pFrame.Out(), 0), E_ABORT);
}

TEST_F(FileControlTest, ItsPlugInsGiveTheFramesAndHearWhereTheLineBreaksOff) {
    FileRig rig;
    const auto pPlugin = ScriptedPlugin::Make([](int64_t, IZrFrame* _pFrame, IZrFrame** _ppResult) {
        const int64_t nPicture = SCRIPT_FRAME(*QueryAs<IZrFFrame>(_pFrame)).nPicture;
        return MEDIA_SCRIPT().Make(99 - nPicture, eZrFF_None).As<IZrFrame>().CopyTo(_ppResult);
    });
    ASSERT_EQ(rig.plugins.Add(pPlugin.Get(), 0), S_OK);
    rig.Play(u"clip");
    for (int64_t n = 0; n < 10; ++n) EXPECT_EQ(rig.Fetch().nPicture, 99 - n);
    EXPECT_EQ(pPlugin->nFlushes, 0);
    EXPECT_EQ(rig.control.FilePosSet(2.0, 0), S_OK);
    EXPECT_EQ(rig.Fetch().nPicture, 49);
    EXPECT_EQ(pPlugin->nFlushes, 1);
    EXPECT_EQ(rig.control.FilePlayPause(0), S_OK);
    EXPECT_EQ(rig.control.FilePlayStart(), S_OK);
    rig.Fetch();
    EXPECT_EQ(pPlugin->nFlushes, 1);
    EXPECT_EQ(rig.control.FilePlayStop(0), S_OK);
    SleepFor(kMs);
    EXPECT_EQ(pPlugin->nFlushes, 2);
    EXPECT_EQ(pPlugin->nEnds, 0);
    rig.control.ObjectClose();
    EXPECT_EQ(pPlugin->nEnds, 1);
}

// Three threads that do anything at any time, a fourth that fetches: no deadlock, nothing torn, nothing leaked.
void RunRandomControl(uint32_t _nSeed, int _nRounds, int32_t _nMostSleepMs) {
    ScriptedFiles files;
    files.mapScripts[u"clip"] = {};
    files.mapScripts[u"film"].nRateNum = 60;
    FileRig rig;
    files.mapScripts[u"live"].bLive = true;
    files.mapScripts[u"live"].rtFrameTime = kFrame25;
    files.mapScripts[u"pipe"].bSeekable = false;
    files.mapScripts[u"slow"].rtFrameTime = 30 * kMs;
    files.mapScripts[u"stall"].nStallAt = 10;
    std::atomic<bool> bDone{false};
    const auto Act = [&](uint32_t _nActSeed) {
        std::mt19937 engine(_nActSeed);
        const auto random = [&engine] { return static_cast<int32_t>(engine() >> 1); };
        constexpr const char16_t* arrNames[] = {u"clip", u"film",  u"live",  u"pipe",
                                                u"slow", u"stall", u"black", u"missing"};
        for (int i = 0; i < _nRounds; ++i) {
            double dbl = 0;
            ZrPtr<IZrFFrame> pFrame;
            switch (random() % 14) {
                case 0: rig.control.ObjectStart(); break;
                case 1: rig.control.ObjectClose(); break;
                case 2:
                    rig.control.FileNameSet(arrNames[random() % 8], random() % 2 ? u"loop=1" : u"in=0.5 out=1.5");
                    break;
                case 3: rig.control.FilePosSet(random() % 5, 0); break;
                case 4: rig.control.FilePlayPause((random() % 3) * 0.1); break;
                case 5: rig.control.FilePlayStop((random() % 3) * 0.1); break;
                case 6: rig.control.FileRateSet(0.5 + random() % 4); break;
                case 7: rig.control.FileInOutGet(nullptr, nullptr, &dbl); break;
                case 8: rig.Set(u"object::rate_control", random() % 2 ? u"0" : u"3"); break;
                case 9: rig.control.FileFrameGet(random() % 4, 0, &pFrame); break;
                case 10: rig.Set(u"file::loop", random() % 2 ? u"1" : u"0"); break;
                case 11: SleepFor(random() % _nMostSleepMs * kMs); break;
                default: rig.control.FilePlayStart(); break;
            }
        }
    };
    Thread arrThreads[3], fetcher;
    fetcher.Start("fetches", [&](ManualEvent&) {
        while (!bDone) {
            ZrPtr<IZrFFrame> pFrame;
            const HRESULT hr = rig.Get(&pFrame, 10 * kMs);
            if (hr == ZR_E_NOT_FOUND) rig.llReader = 0;
            SleepFor(kMs);  // or no time would pass
        }
    });
    for (uint32_t i = 0; i < 3; ++i)
        ASSERT_EQ(arrThreads[i].Start("controls", [&Act, i, _nSeed](ManualEvent&) { Act(_nSeed + i); }), S_OK);
    for (Thread& thread : arrThreads) thread.Join();
    EXPECT_EQ(rig.control.FileNameSet(u"clip", u"loop=1"), S_OK);
    rig.control.FileRateSet(1.0);
    rig.control.FilePlayStart();
    const int32_t nBefore = rig.nFrames;
    SleepFor(2 * kTicksPerSecond);
    EXPECT_GT(rig.nFrames, nBefore + 20);
    bDone = true;
    fetcher.Join();
}

TEST(FileControlStress, StandsRandomControlFromThreeThreads) {
    for (uint32_t nSeed = 10; nSeed <= 40 && !testing::Test::HasFailure(); nSeed += 10) {
        SCOPED_TRACE(nSeed);
        VirtualClock clock(nSeed);
        RunRandomControl(nSeed, StressRounds(1000), 100);
    }
}

// On the virtual clock threads take turns, which hides some races.
TEST(FileControlStress, StandsItInRealTimeToo) { RunRandomControl(50, 100, 5); }

}  // namespace
}  // namespace zr
