#include "mixer/async_producer.h"

#include <algorithm>
#include <new>

#include "attributes/interface_call.h"
#include "media/frame_time.h"
#include "mixer/mix_clock.h"
#include "mixer/source_frame.h"
#include "mixer/source_start.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr int64_t kGetSlice = 50 * kTicksPerMs;  // between two looks at the stop event
constexpr int64_t kNap = 20 * kTicksPerMs;       // before a source that has failed or ended is asked again
constexpr int64_t kDefaultFrame = 400'000;       // ticks

int64_t DurationOf(IZrFFrame& _frame) {
    ZR_TIME time;
    if (Failed(_frame.ZrFTimeGet(&time)) || time.rtEndTime <= time.rtStartTime) return kDefaultFrame;
    return std::clamp(time.rtEndTime - time.rtStartTime, kTicksPerMs, kTicksPerSecond);
}

}  // namespace

HRESULT AsyncProducer::Start(std::unique_ptr<AsyncProducer>& _pBefore) {
    pBefore = std::move(_pBefore);
    const HRESULT hr = thread.Start("zr-producer", [this](ManualEvent& _evStop) {
        if (pBefore) pBefore->Join();
        pBefore.reset();
        Run(_evStop);
    });
    if (Failed(hr)) _pBefore = std::move(pBefore);
    return hr;
}

// A get under way ends with its reader.
void AsyncProducer::EndGet() {
    if (const uint64_t ll = llReaderID.load(std::memory_order_acquire)) input.pItem->Pulled()->ReaderRemove(ll);
}

void AsyncProducer::Run(ManualEvent& _evStop) {
    IZrSource_I* const pSource = input.pItem->Pulled();
    Note(pSource != nullptr, true);
    if (!pSource) return;
    // The reader first: not one frame is lost when the source starts.
    uint64_t ll = 0;
    pSource->SourceFrameGetEx_I(&ll, 0, nullptr, nullptr);
    llReaderID.store(ll, std::memory_order_release);
    StartSource(_evStop);
    while (!_evStop.IsSet()) {
        try {
            GiveOne(_evStop);
        } catch (const std::bad_alloc&) {
            WaitOne(_evStop, kNap);  // this frame is lost
        }
    }
    Note(false, false);
    if (const uint64_t llLast = llReaderID.load(std::memory_order_relaxed)) pSource->ReaderRemove(llLast);
}

// A source that hangs in its start holds neither this thread nor the stop of the mixer.
void AsyncProducer::StartSource(ManualEvent& _evStop) {
    if (!host.StartsIt(*input.pItem) || !input.pItem->CanStart()) return;
    InterfaceCall([&] {
        WaitAny({&_evStop, &StartOnPool(input.pItem)->evEnded}, -1);
        return S_OK;
    });
}

void AsyncProducer::GiveOne(ManualEvent& _evStop) {
    FramePtr pFrame = Get(_evStop);
    // A background that has stalled or ended goes on giving the pace, in even steps, with its last picture; before it
    // has one, with black.
    const bool bPace = !pFrame && GivesPace();
    if (bPace && pLast) pFrame = BreakClone(pLast, eZrFC_VideoRef);
    if ((!pFrame && !bPace) || _evStop.IsSet()) return;
    rtGiven = bPace ? std::max(rtGiven + Step(), ClockNow() - Step()) : ClockNow();
    if (pFrame) pFrame = WithinReach(input.pItem->Plugins_I().Pass(std::move(pFrame)));
    Push(pFrame, _evStop);
}

bool AsyncProducer::IsStalled() const { return rtWaited >= ZrMixerStream::kStalledAfter; }

bool AsyncProducer::GivesPace() const { return !input.pStream && IsStalled(); }

// From one frame of a background that gives the pace to the next.
int64_t AsyncProducer::Step() const {
    return pLast ? DurationOf(*pLast) : FrameDurationOfRate(host.PutNow().output.vidProps.dblRate).rtDuration;
}

// How long an ask for a frame lasts; of one that gives the pace, until the next is due.
int64_t AsyncProducer::Slice() const {
    return GivesPace() ? std::clamp<int64_t>(rtGiven + Step() - ClockNow(), 0, Step()) : kGetSlice;
}

HRESULT AsyncProducer::Ask(int64_t _rtLimit, ManualEvent& _evStop, FramePtr& _pFrame) {
    IZrSource_I* const pSource = input.pItem->Pulled();
    uint64_t ll = llReaderID.load(std::memory_order_relaxed);
    const uint64_t llBefore = ll;
    if (input.pStream) input.pStream->NoteAsk(ClockNow());
    HRESULT hr = pSource->SourceFrameGetEx_I(&ll, _rtLimit, _pFrame.Out(), nullptr);
    if (hr == ZR_E_NOT_FOUND && !_evStop.IsSet()) {  // the source has dropped the reader: a new one is made
        ll = 0;
        hr = pSource->SourceFrameGetEx_I(&ll, _rtLimit, _pFrame.Out(), nullptr);
    }
    if (input.pStream) input.pStream->NoteAsk(kNever);
    if (ll != llBefore) llReaderID.store(ll, std::memory_order_release);
    return hr;
}

// Null: there is none yet, or the wait was ended.
FramePtr AsyncProducer::Get(ManualEvent& _evStop) {
    FramePtr pFrame;
    const int64_t rtSlice = Slice(), rtBegin = ClockNow();
    const HRESULT hr = Ask(rtSlice, _evStop, pFrame);
    if (hr == ZR_E_TIMEOUT) {
        // One that does not wait itself would be asked again and again.
        WaitOne(_evStop, std::clamp<int64_t>(rtBegin + rtSlice - ClockNow(), 0, GivesPace() ? rtSlice : kNap));
        rtWaited += ClockNow() - rtBegin;
        if (IsStalled()) Note(true, false);
        return {};
    }
    if (Failed(hr) || !pFrame) {
        Note(false, false);
        rtWaited = ZrMixerStream::kStalledAfter;
        WaitOne(_evStop, GivesPace() ? Slice() : kNap);
        return {};
    }
    rtWaited = 0;
    Note(true, true);
    pFrame = WithinReach(bBegun ? std::move(pFrame) : BreakClone(pFrame, eZrFC_Reference));
    bBegun = true;
    if (!input.pStream) pLast = pFrame;
    return pFrame;
}

void AsyncProducer::Push(const FramePtr& _pFrame, ManualEvent& _evStop) {
    if (!input.pStream) {
        if (Failed(host.DriveCycle(_pFrame, _evStop))) WaitOne(_evStop, kNap);
        return;
    }
    STREAM_PUT put = host.PutNow();
    const XMLNodePtr& pNode = input.pItem->Node();
    if (!pNode->AttributeOr(u"video", true)) put.output.vidProps.eVideoFormat = eZrVF_Disabled;
    if (!pNode->AttributeOr(u"audio", true)) put.output.audProps.nChannels = -1;
    put.pAbort = &_evStop;
    const int64_t rtBegin = ClockNow();
    const HRESULT hr = input.pStream->PutMedia(_pFrame.Get(), put);
    if (hr == S_OK) return;
    // A stream that takes nothing holds nobody back: a source without a pace of its own would spin.
    const int64_t rtFrame = DurationOf(*_pFrame);
    if (ClockNow() - rtBegin < rtFrame / 4) WaitOne(_evStop, rtFrame / 2);
}

// What the cycle needs to know of the source.
void AsyncProducer::Note(bool _bFed, bool _bHasFrames) {
    if (input.pStream) input.pStream->NoteSource(_bFed, _bHasFrames);
}

}  // namespace zr
