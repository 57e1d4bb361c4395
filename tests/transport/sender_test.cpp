#include "transport/sender.h"

#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "support/stress.h"
#include "transport/transport_support.h"
#include "zr/utf8.h"

namespace zr {
namespace {

constexpr HRESULT kEnd = Win32Error(1100);
constexpr HRESULT kGone = static_cast<HRESULT>(0x800706BAu);

// What a receiver was told, in order.
struct TOLD {
    char chKind;  // 'R' frame, 'E' end, 'F' flush
    int64_t rtTime;
    uint32_t nFlags;  // of a frame
    int32_t nParam;   // of the rest; of a frame its lock flag
    int64_t rtStart;
};

class TestReceiver final : public UnknownImpl<IZrReceiver_I, IZrFramesWanted_I> {
public:
    HRESULT MediaReceive(const char16_t*, IUnknown*, IZrFFrame* _pFrame) override {
        const ZR_TIME time = TimeOf(*_pFrame);
        Tell({'R', ClockNow(), time.eFFlags, PropsOf(*_pFrame).bLocked, time.rtStartTime});
        if (rtBusy > 0) SleepFor(rtBusy);
        if (onReceive) onReceive();
        return hrAnswer;
    }
    HRESULT MediaEnd(const char16_t*, IUnknown*, int32_t _nParam) override {
        Tell({'E', ClockNow(), 0, _nParam, 0});
        return S_OK;
    }
    HRESULT MediaFlush(const char16_t*, IUnknown*, int32_t _nParam) override {
        Tell({'F', ClockNow(), 0, _nParam, 0});
        return S_OK;
    }
    HRESULT FramesWanted() override { return hrWanted; }

    std::string Kinds() const {
        std::string str;
        for (const TOLD& told : arrTold) str += told.chKind;
        return str;
    }

    HRESULT hrAnswer = S_OK, hrWanted = S_OK;
    int64_t rtBusy = 0;
    std::function<void()> onReceive;
    std::vector<TOLD> arrTold;
    std::atomic<int32_t>* pnOverlaps = nullptr;  // set: calls that overlap are counted, and nothing else is kept
    std::atomic<int32_t> nInside{0};

private:
    void Tell(const TOLD& _told) {
        if (pnOverlaps) {
            *pnOverlaps += nInside.fetch_add(1) != 0;
            SleepFor(0);
            nInside.fetch_sub(1);
        } else {
            arrTold.push_back(_told);
        }
    }
};

struct Booth : Door, ISenderHost {
    ~Booth() { sender.SenderSendEnd(1, false); }
    HRESULT OnSenderFormat(ZR_VID_PROPS*, ZR_AUD_PROPS*) override { return S_OK; }
    Waitable* SenderStopEvent() override { return &evStop; }
    bool IsSenderHeld() override { return bHeld; }

    ZrPtr<TestReceiver> Connect(const char16_t* _szID, const char16_t* _szParam = nullptr) {
        auto pReceiver = ZrPtr<TestReceiver>::Attach(new TestReceiver);
        EXPECT_EQ(sender.SenderConnect(static_cast<IZrReceiver_I*>(pReceiver.Get()), _szID, _szParam, nullptr), S_OK);
        return pReceiver;
    }
    HRESULT Send(int64_t _nIndex, uint32_t _nFlags = 0, int32_t _nMode = kSendAll, int32_t _nInternal = 0) {
        return sender.Sender_SendMedia(FrameAt(_nIndex, _nFlags).Get(), _nMode, _nInternal);
    }
    int32_t Count() {
        int32_t n = -1;
        EXPECT_EQ(sender.SenderGetCount(&n), S_OK);
        return n;
    }

    bool bHeld = false;
    ManualEvent evStop;
    ZrPtr<Mortal> pSelf = ZrPtr<Mortal>::Attach(new Mortal(&bGone));
    bool bGone = false;
    Sender sender{pObject, *pSelf, readers, *this};
};

TEST(Sender, RateControl) {
    // nFramesOfTime: what 50 frames take
    constexpr std::tuple<const char*, int32_t, bool, uint32_t, int32_t, int64_t> arrCases[] = {
        {"0_never", 0, false, 0, 0, 0},
        {"1_always", 1, false, 0, 0, 50},
        {"1_always_with_a_channel", 1, true, 0, 0, 50},
        {"2_paced_by_its_channel", 2, true, 0, 0, 0},
        {"3_by_itself", 3, false, 0, 0, 50},
        {"3_paced_by_its_channel", 3, true, 0, 0, 0},
        {"live_frames_have_their_own_pace", 3, false, eZrFF_Live, 0, 0},
        {"internal_receiver", 3, false, 0, 1, 0},
    };
    for (const auto& [szName, nRateControl, bRateChannel, nFlags, nInternal, nFramesOfTime] : arrCases) {
        VirtualClock clock;
        Booth booth;
        booth.pObject->SetAttribute(u"rate_control", nRateControl);
        const auto pQuiet = booth.Connect(u"a", u"rate_control=0");
        if (bRateChannel) booth.Connect(u"b");
        booth.sender.ResetRate();
        const int64_t rtBegin = ClockNow();
        for (int64_t i = 0; i < 50; ++i) ASSERT_EQ(booth.Send(i, nFlags, kSendAll, nInternal), S_OK);
        EXPECT_EQ(ClockNow() - rtBegin, nFramesOfTime * kFrame25) << szName;
        EXPECT_EQ(pQuiet->arrTold.size(), 50u) << szName;
    }
}

// Value 2 holds the frame until a channel that paces comes, or the object stops; value 4 waits for the readers.
TEST(Sender, RateControlThatBlocks) {
    VirtualClock clock;
    Booth booth;
    booth.pObject->SetAttribute(u"rate_control", 2);
    Thread thread;
    std::vector<HRESULT> arrResults;
    const auto send = [&](ManualEvent&) { arrResults.push_back(booth.Send(0)); };
    thread.Start("send", send);
    SleepFor(5 * kTicksPerSecond);
    EXPECT_TRUE(arrResults.empty());
    const auto pReceiver = booth.Connect(u"a");
    thread.Join();
    EXPECT_EQ(pReceiver->arrTold.size(), 1u);
    EXPECT_EQ(booth.sender.SenderDisconnect(u"a"), S_OK);
    thread.Start("send", send);
    SleepFor(5 * kTicksPerSecond);
    booth.evStop.Set();
    thread.Join();
    EXPECT_EQ(arrResults, (std::vector<HRESULT>{S_OK, E_ABORT}));

    booth.evStop.Reset();
    booth.readers.ForgetLastFrame();
    booth.pObject->SetAttribute(u"rate_control", 4);
    const uint64_t llID = booth.NewReader();
    thread.Start("send", [&](ManualEvent&) {
        for (int64_t i = 0; i < 10; ++i) booth.Send(i);
    });
    ZrPtr<IZrFFrame> p;
    for (int64_t i = 0; i < 10; ++i, SleepFor(70 * kMs)) {
        ASSERT_EQ(booth.Get(llID, -1, &p), S_OK);
        EXPECT_EQ(TimeOf(*p).rtStartTime, i * kFrame25);
        EXPECT_EQ(TimeOf(*p).eFFlags, 0u);
    }
    thread.Join();
}

// All receivers get the frame at once; the slowest holds up the end of the round, and no more than that.
TEST(Sender, ASlowReceiverDelaysTheEndOfTheRoundOnly) {
    VirtualClock clock;
    Booth booth;
    booth.pObject->SetAttribute(u"rate_control", 0);
    const auto pFast = booth.Connect(u"fast"), pSlow = booth.Connect(u"slow"), pOther = booth.Connect(u"a");
    pSlow->rtBusy = 30 * kMs;
    std::string order;  // the last id first; on the virtual clock threads take turns
    for (const auto& [p, ch] : {std::pair{pFast, 'f'}, {pSlow, 's'}, {pOther, 'a'}}) {
        p->onReceive = [&order, chOwn = ch] { order += chOwn; };
    }
    const int64_t rtBegin = ClockNow();
    for (int64_t i = 0; i < 3; ++i) ASSERT_EQ(booth.Send(i), S_OK);
    EXPECT_EQ(ClockNow() - rtBegin, 90 * kMs);
    EXPECT_EQ(order, "fasfasfas");  // the slow one writes when it is done
    for (size_t i = 0; i < 3; ++i) {
        for (const auto& p : {pFast, pSlow, pOther}) {
            EXPECT_EQ(p->arrTold[i].rtTime, rtBegin + static_cast<int64_t>(i) * 30 * kMs);
        }
    }
}

// The first frame of each kind of media that a receiver has taken is a break.
TEST(Sender, FirstFramesAreBreaks) {
    constexpr uint32_t B = eZrFF_Break;
    // szAudio: per frame: 'a' sound alone, 'b' both
    const std::tuple<const char*, const char16_t*, std::vector<HRESULT>, const char*, std::vector<uint32_t>>
        arrCases[] = {
            {"both_at_once", u"", {0, 0, 0}, "bbb", {B, 0, 0}},
            {"sound_then_picture", u"", {0, 0, 0, 0}, "aabb", {B, 0, B, 0}},
            {"refused_frames_do_not_count", u"", {E_FAIL, E_FAIL, 0, 0}, "bbbb", {B, B, B, 0}},
            {"taken_without_sound", u"", {0x00040258, 0, 0}, "bbb", {B, 0, 0}},
            {"sound_not_wanted", u"audio=0", {0, 0, 0}, "aab", {0, 0, B}},
            {"as_xml", u"<c audio='false' video='1'/>", {0, 0}, "ab", {0, B}},
            {"nothing_wanted", u"audio=0 video=0", {0, 0}, "bb", {0, 0}},
        };
    for (const auto& [szName, szParam, arrAnswers, szAudio, arrFlags] : arrCases) {
        VirtualClock clock;
        Booth booth;
        const auto pReceiver = booth.Connect(u"a", szParam);
        for (size_t i = 0; i < arrFlags.size(); ++i) {
            pReceiver->hrAnswer = arrAnswers[i];
            auto pFrame = FrameAt(static_cast<int64_t>(i), eZrFF_Pause);
            if (szAudio[i] == 'a') pFrame = CloneOf(*pFrame, eZrFC_Audio);
            ASSERT_EQ(booth.sender.Sender_SendMedia(pFrame.Get(), kSendAll, 0), S_OK);
            const uint32_t nExpected = arrFlags[i] == 0 ? uint32_t{eZrFF_Pause} : arrFlags[i];
            EXPECT_EQ(pReceiver->arrTold.back().nFlags, nExpected) << szName << " frame " << i;
            EXPECT_EQ(TimeOf(*pFrame).eFFlags, eZrFF_Pause);  // everyone's own
        }
    }
}

TEST(Sender, DeadReceiversGoAndNoOthers) {
    VirtualClock clock;
    Booth booth;
    const auto pEnded = booth.Connect(u"1"), pFailing = booth.Connect(u"2"),
               pGone = booth.Connect(u"3", u"rate_control=0");
    pEnded->hrAnswer = kEnd;
    pFailing->hrAnswer = E_FAIL;
    pGone->hrAnswer = kGone;
    EXPECT_EQ(booth.Send(0), S_OK);
    EXPECT_EQ(booth.Count(), 1);
    EXPECT_TRUE(booth.sender.RateChannels().IsSet());
    pFailing->hrAnswer = kEnd;
    EXPECT_EQ(booth.Send(1), S_OK);
    EXPECT_EQ(booth.Count(), 0);
    EXPECT_FALSE(booth.sender.RateChannels().IsSet());
    EXPECT_EQ(booth.Send(2), S_OK);
    EXPECT_EQ(pEnded->Kinds() + pFailing->Kinds() + pGone->Kinds(), "RRRR");
}

TEST(Sender, AnotherReceiverTakesAChannelOver) {
    VirtualClock clock;
    Booth booth;
    const auto pOld = booth.Connect(u"a", u"disconnect-type=5");
    ASSERT_EQ(booth.Send(0), S_OK);
    const auto pNew = booth.Connect(u"a", u"disconnect-type=7");
    ASSERT_EQ(booth.Send(1), S_OK);
    ASSERT_EQ(booth.Send(2), S_OK);
    EXPECT_EQ(pOld->Kinds(), "RE");
    EXPECT_EQ(pOld->arrTold[1].nParam, 7);
    ASSERT_EQ(pNew->Kinds(), "RR");
    EXPECT_EQ(pNew->arrTold[0].nFlags, eZrFF_Break);
    EXPECT_EQ(pNew->arrTold[1].nFlags, 0u);
    // The same one again gets no end, but a break.
    ASSERT_EQ(booth.sender.SenderConnect(static_cast<IZrReceiver_I*>(pNew.Get()), u"a", nullptr, nullptr), S_OK);
    ASSERT_EQ(booth.Send(3), S_OK);
    EXPECT_EQ(pNew->Kinds(), "RRR");
    EXPECT_EQ(pNew->arrTold[2].nFlags, eZrFF_Break);
    BSTR bsID = nullptr, bsParam = nullptr;
    EXPECT_EQ(booth.sender.SenderGetByIndex(1, &bsID, &bsParam), E_INVALIDARG);
    EXPECT_EQ(booth.sender.SenderDisconnect(u"b"), ZR_E_NOT_FOUND_FILE);
    const auto pNothing = ZrPtr<Mortal>::Attach(new Mortal(&booth.bGone));
    EXPECT_EQ(booth.sender.SenderConnect(pNothing.Get(), u"x", nullptr, nullptr), E_NOINTERFACE);
}

// A receiver may act on its own channel from within a call.
TEST(Sender, AReceiverDisconnectsItself) {
    VirtualClock clock;
    Booth booth;
    const auto pSelf = booth.Connect(u"a"), pOther = booth.Connect(u"b");
    pSelf->onReceive = [&] { EXPECT_EQ(booth.sender.SenderDisconnect(u"a"), S_OK); };
    pOther->onReceive = [&] { booth.sender.SenderSendFlush(); };
    ASSERT_EQ(booth.Send(0), S_OK);
    ASSERT_EQ(booth.Send(1, eZrFF_Break), S_OK);
    EXPECT_EQ(pSelf->Kinds().substr(0, 1), "R");
    EXPECT_EQ(pOther->Kinds(), "RFRF");
}

struct PREVIEW_CASE {
    const char* szName;
    int32_t nMode;
    HRESULT hrWanted;
    const char16_t* szOther;  // parameters of the other channel
    const char *szPreview, *szOthers;
    int32_t nLocked;
    bool bPaced;
};

TEST(Sender, PreviewChannel) {
    constexpr PREVIEW_CASE arrCases[] = {
        {"sound_of_the_preview_sets_the_pace", kSendAll, S_OK, u"rate_control=0", "R", "R", 0, false},
        {"locked_to_a_channel_that_paces", kSendAll, S_OK, u"", "R", "R", 1, false},
        {"not_wanted", kSendAll, S_FALSE, u"rate_control=0", "", "R", 0, true},
        {"all_but_the_preview", kSendAllButPreview, S_OK, u"rate_control=0", "", "R", 0, true},
        {"preview_only", kSendPreviewOnly, S_OK, u"rate_control=0", "R", "", 0, false},
        {"preview_only_not_wanted", kSendPreviewOnly, S_FALSE, u"rate_control=0", "", "", 0, false},
        {"preview_and_readers", kSendPreviewAndReaders, S_OK, u"rate_control=0", "R", "", 0, false},
    };
    for (const PREVIEW_CASE& c : arrCases) {
        VirtualClock clock;
        Booth booth;
        const auto pPreview = booth.Connect(u"_preview_", u"rate_control=0"), pOther = booth.Connect(u"z", c.szOther);
        pPreview->hrWanted = c.hrWanted;
        booth.sender.ResetRate();
        const int64_t rtBegin = ClockNow();
        ASSERT_EQ(booth.Send(0, 0, c.nMode), S_OK);
        EXPECT_EQ(pPreview->Kinds(), c.szPreview) << c.szName;
        EXPECT_EQ(pOther->Kinds(), c.szOthers) << c.szName;
        const int32_t nLocked = pPreview->arrTold.empty() ? 0 : pPreview->arrTold[0].nParam;
        EXPECT_EQ(nLocked, c.nLocked) << c.szName;
        EXPECT_EQ(ClockNow() - rtBegin, c.bPaced ? kFrame25 : 0) << c.szName;
        ZrPtr<IZrFFrame> pLast;
        EXPECT_EQ(booth.readers.LastFrameGet(pLast.Out()), c.nMode == kSendPreviewOnly ? ZR_E_EMPTY : S_OK);
    }
}

// Gives out a frame of its own, or a status, and may change the list from within.
class TestFilter final : public UnknownImpl<IZrFrameFilter_I> {
public:
    HRESULT Filter(int64_t _llUser, IUnknown*, IZrFFrame* _pFrame, IZrFFrame** _ppReplacement) override {
        rtSeen = TimeOf(*_pFrame).rtStartTime;
        llUser = _llUser;
        if (onFilter) onFilter();
        if (nReplaceBy >= 0) *_ppReplacement = FrameAt(nReplaceBy).Detach();
        return hr;
    }
    HRESULT FilterEnd(int64_t, IUnknown*, int32_t _bRemove) override {
        nEnd = _bRemove;
        return S_OK;
    }

    HRESULT hr = S_OK;
    int64_t nReplaceBy = -1, rtSeen = -1, llUser = 0;
    int32_t nEnd = -1;
    std::function<void()> onFilter;
};

TEST(Sender, FiltersInTheirOrder) {
    VirtualClock clock;
    Booth booth;
    const auto pReceiver = booth.Connect(u"a");
    const auto pFirst = ZrPtr<TestFilter>::Attach(new TestFilter), pSecond = ZrPtr<TestFilter>::Attach(new TestFilter);
    booth.sender.SenderFilterAdd(pFirst.Get(), 1);
    booth.sender.SenderFilterAdd(pSecond.Get(), 2);
    booth.sender.SenderFilterAdd(pFirst.Get(), 3);
    pFirst->nReplaceBy = 77;
    ASSERT_EQ(booth.Send(0), S_OK);
    EXPECT_EQ(pFirst->rtSeen, 0);
    EXPECT_EQ(pFirst->llUser, 3);
    EXPECT_EQ(pSecond->rtSeen, 77 * kFrame25);
    EXPECT_EQ(pReceiver->arrTold[0].rtStart, 77 * kFrame25);
    pSecond->hr = S_FALSE;
    EXPECT_EQ(booth.Send(1), S_FALSE);
    EXPECT_EQ(pReceiver->arrTold.size(), 1u);
    pFirst->onFilter = [&] { booth.sender.SenderFilterRemove(pSecond.Get()); };
    EXPECT_EQ(booth.Send(2), S_OK);
    EXPECT_EQ(booth.sender.SenderFilterRemove(pSecond.Get()), ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(booth.sender.SenderSendEnd(1, false), S_OK);
    EXPECT_EQ(pFirst->nEnd, 1);
    EXPECT_EQ(pReceiver->Kinds(), "RRE");
    EXPECT_EQ(booth.Count(), 0);
    EXPECT_FALSE(booth.sender.RateChannels().IsSet());
}

TEST(Sender, AStoppedSenderOpensWithABreak) {
    VirtualClock clock;
    Booth booth;
    const auto pReceiver = booth.Connect(u"a");
    ASSERT_EQ(booth.Send(0, 0, kSendAll, 1), S_OK);
    EXPECT_TRUE(booth.sender.IsSending());
    booth.sender.SenderSendEnd(0, false);
    EXPECT_FALSE(booth.sender.IsSending());
    EXPECT_EQ(booth.Send(1, 0, kSendAll, 1), S_FALSE);
    booth.bHeld = true;
    EXPECT_EQ(booth.Send(2, eZrFF_Break, kSendAll, 1), S_FALSE);
    booth.bHeld = false;
    EXPECT_EQ(booth.Send(3, eZrFF_Break, kSendAll, 1), S_OK);
    booth.sender.SenderSendFlush();
    EXPECT_EQ(booth.Send(4, 0, kSendAll, 1), S_FALSE);
    EXPECT_EQ(booth.Send(5, 0, kSendAll, 0), S_OK);  // without an internal receiver frames go on
    EXPECT_EQ(pReceiver->Kinds(), "RERFR");
}

TEST(Sender, NamesAreClaimedOnce) {
    VirtualClock clock;
    Booth one, two, three;
    const auto nameOf = [](Booth& _booth, const char16_t* _szWish, bool _bExact, HRESULT _hr = S_OK) {
        Text name{std::u16string_view(_szWish)};
        EXPECT_EQ(_booth.sender.SenderNameSet(name.InOut(), _bExact), _hr);
        return std::u16string(name.View());
    };
    EXPECT_EQ(nameOf(one, u"Test Cam/1", false), u"Test Cam/1");
    EXPECT_EQ(nameOf(two, u"TEST cam\\1", false), u"TEST cam\\1-001");
    EXPECT_EQ(nameOf(three, u"test CAM/1", true, Win32Error(80)), u"");
    EXPECT_EQ(nameOf(three, u"Test Cam/1", false), u"Test Cam/1-002");
    EXPECT_EQ(nameOf(two, u"", false).substr(0, 8), u"ZrObject");
    EXPECT_EQ(nameOf(three, u"test cam|1-001", true), u"test cam|1-001");
}

// One thread sends, two change whatever can be changed: no receiver is in two calls at once, and nothing hangs.
TEST(Sender, RandomCallsFromThreeThreads) {
    Booth booth;
    booth.pObject->SetAttribute(u"rate_control", 0);
    std::atomic<int32_t> nOverlaps{0};
    const auto connect = [&](const char16_t* _szID, const char16_t* _szParam) {
        const auto pReceiver = ZrPtr<TestReceiver>::Attach(new TestReceiver);
        pReceiver->pnOverlaps = &nOverlaps;
        booth.sender.SenderConnect(static_cast<IZrReceiver_I*>(pReceiver.Get()), _szID, _szParam, nullptr);
    };
    const char16_t* const arrIDs[] = {u"a", u"b", u"c", u"d"};
    const auto pFilter = ZrPtr<TestFilter>::Attach(new TestFilter);
    const auto control = [&](int _nThread) {
        std::mt19937 random(static_cast<uint32_t>(_nThread + 1));
        for (int i = 0; i < StressRounds(10'000); ++i) {
            const size_t n = random() % 4;
            switch (random() % 8) {
                case 0:
                case 1:
                case 2: connect(arrIDs[n], random() % 2 ? u"" : u"rate_control=0"); break;
                case 3: booth.sender.SenderDisconnect(arrIDs[n]); break;
                case 4: booth.sender.SenderSendEnd(static_cast<int32_t>(random() % 2), random() % 2 != 0); break;
                case 5: booth.sender.SenderSendFlush(); break;
                case 6: booth.sender.SenderFilterAdd(pFilter.Get(), 0); break;
                default: booth.sender.SenderFilterRemove(pFilter.Get()); break;
            }
        }
    };
    Thread sending;
    std::atomic<int64_t> nFaults{0};
    sending.Start("send", [&](ManualEvent& _evStop) {
        for (int32_t i = 0; !_evStop.IsSet(); ++i) {
            const HRESULT hr = booth.Send(i, i % 3 == 0 ? 1 : 0, kSendAll, i % 2);
            nFaults += hr != S_OK && hr != S_FALSE && hr != ZR_E_NOT_RUNNING;
        }
    });
    OnThreads(2, control);
    sending.RequestStop();
    sending.Join();
    EXPECT_EQ(nFaults, 0);
    booth.sender.SenderSendEnd(1, false);
    EXPECT_EQ(nOverlaps, 0);
}

}  // namespace
}  // namespace zr
