#include "framework/events.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "frame_module/frame_builders.h"
#include "platform/clock.h"
#include "support/stress.h"

namespace zr {
namespace {

constexpr int64_t kMs = kTicksPerMs;

// What was heard, in order: who, and the event or "frame".
struct Heard {
    void Note(const std::string& _who, const char16_t* _szEvent) {
        MutexLock lock(mtx);
        std::string text = _who;
        for (const char16_t* p = _szEvent; p && *p; ++p) text += static_cast<char>(*p);
        arr.push_back(text);
    }
    std::vector<std::string> Take() {
        MutexLock lock(mtx);
        return std::exchange(arr, {});
    }

    Mutex mtx;
    std::vector<std::string> arr ZR_GUARDED_BY(mtx);
};

template <class Face>
class Listener : public UnknownImpl<Face> {
public:
    Listener(Heard& _heard, const char* _szWho) : heard(_heard), szWho(_szWho) {}
    HRESULT Tell(const char16_t* _szEvent) {
        heard.Note(szWho, _szEvent);
        if (onTell) onTell();
        return E_FAIL;  // nobody minds
    }
    std::function<void()> onTell;

private:
    Heard& heard;
    const char* const szWho;
};

// Told of events and frames, directly (with a number of its own in front) or by advice.
template <class Face, class... Number>
struct TellAll final : Listener<Face> {
    using Listener<Face>::Listener;
    HRESULT OnEvent(Number..., const char16_t*, const char16_t* _szEvent, const char16_t*, IUnknown*) override {
        return this->Tell(_szEvent);
    }
    HRESULT OnFrame(Number..., const char16_t*, IUnknown* _pFrame) override {
        pFrame = QueryAs<IZrFFrame>(_pFrame);
        return this->Tell(u"frame");
    }
    ZrPtr<IZrFFrame> pFrame;
};
using Direct = TellAll<IZrCallback, int64_t>;
using Both = TellAll<IZrEvents>;
struct EventsOnly final : Listener<IZrEventsEvent> {
    using Listener::Listener;
    HRESULT OnEventSafe(const char16_t*, const char16_t* _szEvent, const char16_t*, IUnknown*) override {
        return Tell(_szEvent);
    }
};
struct FramesOnly final : Listener<IZrEventsFrame> {
    using Listener::Listener;
    HRESULT OnFrameSafe(const char16_t*, IUnknown*) override { return Tell(u"frame"); }
};

template <class L>
ZrPtr<L> New(Heard& _heard, const char* _szWho) {
    return ZrPtr<L>::Attach(new L(_heard, _szWho));
}

struct Desk {
    uint32_t Advise(IUnknown* _pListener, HRESULT _hr = S_OK) {
        uint32_t nCookie = 0;
        EXPECT_EQ(pEvents->Advise(_pListener, &nCookie), _hr);
        return nCookie;
    }
    void Raise(const char16_t* _szEvent) { pEvents->RaiseEvent(u"object", _szEvent, u"1.000", nullptr); }

    Heard heard;
    XMLNodePtr pObject = CoXMLNode::Create(u"object");
    std::unique_ptr<ObjectEvents> pEvents = std::make_unique<ObjectEvents>(pObject);
};

using Texts = std::vector<std::string>;

HRESULT OnEventFunction(int64_t _llHeard, const char16_t* _szName, const char16_t* _szEvent, const char16_t*,
                        IUnknown*) {
    EXPECT_EQ(std::u16string_view(_szName), u"object");
    reinterpret_cast<Heard*>(_llHeard)->Note("f ", _szEvent);
    return S_OK;
}

TEST(Events, EverybodyIsToldInTheirOrder) {
    VirtualClock clock;
    Desk desk;
    desk.Raise(u"nobody");
    EXPECT_EQ(desk.pEvents->Waiting(), 0u);
    const auto pDirect = New<Direct>(desk.heard, "d ");
    const auto pFrames = New<FramesOnly>(desk.heard, "s ");
    const auto pEvents = New<EventsOnly>(desk.heard, "e ");
    const auto pBoth = New<Both>(desk.heard, "b ");
    EXPECT_EQ(desk.Advise(pFrames.Get()), 0x20001u);
    desk.pEvents->RaiseFrame(u"object", EmptyFrame().Get());
    SleepFor(kMs);
    EXPECT_EQ(desk.heard.Take(), Texts{"s frame"});  // nobody else is there
    EXPECT_EQ(desk.Advise(pEvents.Get()), 0x10001u);
    EXPECT_EQ(desk.Advise(pEvents.Get()), 0x10002u);
    EXPECT_EQ(desk.Advise(pBoth.Get()), 1u);
    desk.Advise(EmptyFrame().Get(), static_cast<HRESULT>(0x80040202u));
    desk.pEvents->SetCallback(pDirect.Get(), 0);
    desk.pEvents->SetFunctions(&OnEventFunction, nullptr, reinterpret_cast<int64_t>(&desk.heard));
    desk.Raise(u"start");
    desk.pEvents->RaiseFrame(u"object", EmptyFrame().Get());
    EXPECT_EQ(desk.heard.Take(), Texts());
    SleepFor(kMs);
    EXPECT_EQ(desk.heard.Take(),
              (Texts{"d start", "f start", "b start", "e start", "e start", "d frame", "b frame", "s frame"}));
    EXPECT_EQ(desk.pEvents->Unadvise(0x10001), S_OK);
    EXPECT_EQ(desk.pEvents->Unadvise(0x10001), static_cast<HRESULT>(0x80040200u));
    EXPECT_EQ(desk.Advise(pEvents.Get()), 0x10001u);
    // In step: the direct ones first, on this thread; the others before the call returns.
    desk.pObject->SetAttribute(u"on_event.sync", u"true");
    desk.Raise(u"stop");
    EXPECT_EQ(desk.heard.Take(), (Texts{"d stop", "f stop", "b stop", "e stop", "e stop"}));
}

TEST(Events, FramesBringTheirDataByTheKeys) {
    constexpr std::tuple<const char*, bool, bool, bool, bool, bool> arrCases[] = {
        {"properties", false, false, false, false, false},
        {"data", false, true, true, false, true},
        {"in_step", true, false, true, true, true},
    };
    for (const auto& [szName, bSync, bData, bDirectHasPicture, bDirectIsTheFrame, bAdvisedHasPicture] : arrCases) {
        VirtualClock clock;
        Desk desk;
        desk.pObject->SetAttribute(u"on_frame.sync", bSync);
        desk.pObject->SetAttribute(u"on_frame.data", bData);
        const auto pDirect = New<Direct>(desk.heard, "d ");
        const auto pBoth = New<Both>(desk.heard, "b ");
        desk.pEvents->SetCallback(pDirect.Get(), 0);
        desk.Advise(pBoth.Get());
        const auto pFrame = CountingFrame(VidProps(eZrFCC_UYVY, 64, 32));
        desk.pEvents->RaiseFrame(u"object", pFrame.Get());
        SleepFor(kMs);
        ASSERT_TRUE(pDirect->pFrame && pBoth->pFrame) << szName;
        EXPECT_EQ(VideoOf(*pDirect->pFrame).size() > 0, bDirectHasPicture) << szName;
        EXPECT_EQ(pDirect->pFrame == pFrame, bDirectIsTheFrame) << szName;
        EXPECT_EQ(VideoOf(*pBoth->pFrame).size() > 0, bAdvisedHasPicture) << szName;
        EXPECT_EQ(PropsOf(*pBoth->pFrame).vidProps.nWidth, 64) << szName;
    }
}

TEST(Events, AListenerThatStandsStill) {
    VirtualClock clock;
    Desk desk;
    const auto pBoth = New<Both>(desk.heard, "");
    desk.Advise(pBoth.Get());
    pBoth->onTell = [] { SleepFor(2 * kTicksPerSecond); };
    const int64_t rtBegin = ClockNow();
    desk.pEvents->FireEvent(u"object", u"first", nullptr, nullptr, true);
    desk.pEvents->FireEvent(u"object", u"second", nullptr, nullptr, true);
    EXPECT_EQ(ClockNow() - rtBegin, 2 * kTicksPerSecond);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(desk.heard.Take(), (Texts{"first", "second"}));

    pBoth->onTell = nullptr;
    SleepFor(2 * kTicksPerSecond);
    for (int i = 0; i <= 10'000; ++i) desk.Raise(i == 0 ? u"oldest" : i == 1 ? u"next" : u"more");
    EXPECT_EQ(desk.pEvents->Waiting(), 10'000u);
    SleepFor(kMs);
    EXPECT_EQ(desk.heard.Take()[0], "next");

    // Pictures that wait are held to half a gigabyte; the frames themselves still come.
    const auto pFrame = CountingFrame(VidProps(eZrFCC_UYVY, 2048, 2048));
    for (int i = 0; i < 66; ++i) desk.pEvents->FireFrame(u"object", pFrame.Get(), false, true);
    int32_t nFrames = 0, nPictures = 0;
    pBoth->onTell = [&] {
        ++nFrames;
        nPictures += VideoOf(*pBoth->pFrame).size() > 0;
    };
    SleepFor(kMs);
    EXPECT_EQ(nFrames, 66);
    EXPECT_EQ(nPictures, 64);
    desk.pEvents->FireFrame(u"object", pFrame.Get(), false, true);
    SleepFor(kMs);
    EXPECT_EQ(nPictures, 65);  // there is room again
}

TEST(Events, ListenersActFromWithinTheirCalls) {
    VirtualClock clock;
    Desk desk;
    const auto pBoth = New<Both>(desk.heard, "");
    desk.Advise(pBoth.Get());
    int nDepth = 0;
    pBoth->onTell = [&] {
        if (++nDepth > 3) return;
        const int64_t rtBegin = ClockNow();
        desk.pEvents->FireEvent(u"object", u"inner", nullptr, nullptr, true);
        EXPECT_EQ(ClockNow(), rtBegin);
    };
    desk.Raise(u"outer");
    SleepFor(kMs);
    EXPECT_EQ(desk.heard.Take(), (Texts{"outer", "inner", "inner", "inner"}));

    pBoth->onTell = [&] { desk.pEvents->Close(); };
    desk.Raise(u"closes");
    desk.Raise(u"dropped");
    SleepFor(kMs);
    pBoth->onTell = nullptr;
    desk.Raise(u"open again");
    SleepFor(kMs);
    EXPECT_EQ(desk.heard.Take(), (Texts{"closes", "open again"}));

    pBoth->onTell = [&] { desk.pEvents.reset(); };
    desk.Raise(u"destroys");
    desk.Raise(u"never");
    SleepFor(kMs);
    EXPECT_EQ(desk.heard.Take(), (Texts{"destroys"}));
    EXPECT_FALSE(desk.pEvents);
}

// Close ends the call that is under way first.
TEST(Events, NoCallAfterClose) {
    VirtualClock clock;
    Desk desk;
    const auto pBoth = New<Both>(desk.heard, "");
    desk.Advise(pBoth.Get());
    int64_t rtEnd = 0;
    pBoth->onTell = [&] {
        SleepFor(10 * kMs);
        rtEnd = ClockNow();
    };
    desk.Raise(u"one");
    desk.Raise(u"two");
    Thread waiter;
    int64_t rtLetGo = 0;
    waiter.Start("waiter", [&](ManualEvent&) {
        desk.pEvents->FireEvent(u"object", u"three", nullptr, nullptr, true);
        rtLetGo = ClockNow();
    });
    SleepFor(kMs);
    const int64_t rtClose = ClockNow();
    desk.pEvents->Close();
    EXPECT_EQ(ClockNow(), rtEnd);
    waiter.Join();
    EXPECT_EQ(rtLetGo, rtClose);  // who waits for what is dropped waits no longer
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(desk.heard.Take(), (Texts{"one"}));
}

TEST(Events, RandomCallsFromThreeThreads) {
    Desk desk;
    std::atomic<int32_t> nInside{0}, nOverlaps{0};
    OnThreads(3, [&](int _nThread) {
        std::mt19937 random(static_cast<uint32_t>(_nThread + 1));
        std::vector<uint32_t> arrCookies;
        const auto pBoth = New<Both>(desk.heard, "");
        pBoth->onTell = [&] {
            nOverlaps += nInside.fetch_add(1) != 0;
            SleepFor(0);
            nInside.fetch_sub(1);
        };
        const auto pFrame = EmptyFrame();
        for (int i = 0; i < StressRounds(5'000); ++i) {
            switch (random() % 8) {
                case 0: arrCookies.push_back(desk.Advise(pBoth.Get())); break;
                case 1:
                    if (arrCookies.empty()) break;
                    EXPECT_EQ(desk.pEvents->Unadvise(arrCookies.back()), S_OK);
                    arrCookies.pop_back();
                    break;
                case 2: desk.pEvents->FireFrame(u"object", pFrame.Get(), false, random() % 2 != 0); break;
                case 3: desk.pEvents->FireEvent(u"object", u"e", nullptr, nullptr, random() % 8 == 0); break;
                case 4:
                    if (random() % 16 == 0) desk.pEvents->Close();
                    break;
                default: desk.Raise(u"e"); break;
            }
        }
        for (const uint32_t nCookie : arrCookies) EXPECT_EQ(desk.pEvents->Unadvise(nCookie), S_OK);
        desk.pEvents->Close();
    });
    EXPECT_EQ(nOverlaps, 0);
    EXPECT_FALSE(desk.heard.Take().empty());
}

}  // namespace
}  // namespace zr
