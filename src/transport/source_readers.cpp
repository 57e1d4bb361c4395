#include "transport/source_readers.h"

#include <algorithm>

#include "attributes/interface_call.h"
#include "framework/rate_timer.h"
#include "platform/clock.h"
#include "platform/trace.h"
#include "platform/wide_text.h"
#include "transport/frame_flags.h"

namespace zr {
namespace {

constexpr NameKey kPutWait{u"pull_mode.put_wait"};
constexpr NameKey kOutputType{u"pull_mode.output_type"};
constexpr NameKey kCycles{u"pull_mode.cycles_before_disconnect"};
constexpr NameKey kWaitTillGet{u"pull_mode.wait_till_get"};
constexpr NameKey kRateControl{u"rate_control"};

constexpr int32_t kRateByReaders = 4, kRateByItself = 3;
constexpr int64_t kNegativeWait = kTicksPerSecond;

int32_t KeyOr(const XMLNodePtr& _pNode, const NameKey& _key, int32_t _nDefault) {
    _pNode->GetOwnAttribute(_key, _nDefault);
    return _nDefault;
}

// An id that no other reader of the process has: steps of the golden ratio, stirred (splitmix64, public domain).
uint64_t NewReaderId() {
    static std::atomic<uint64_t> nLast{0x5EED};
    uint64_t n = nLast.fetch_add(0x9E3779B97F4A7C15ull, std::memory_order_relaxed);
    n = (n ^ (n >> 30)) * 0xBF58476D1CE4E5B9ull;
    n = (n ^ (n >> 27)) * 0x94D049BB133111EBull;
    return n ^ (n >> 31);
}

}  // namespace

SourceReaders::~SourceReaders() {
    CRWWriteScope lock(lockReaders, "~SourceReaders");
    for (auto it = mapReaders.begin(); it != mapReaders.end();) it = Remove_I(it);
}

// --- Consumers

HRESULT SourceReaders::SourceFrameGetEx_I(uint64_t* _pllReaderID, int64_t _rtMaxWait, IZrFFrame** _ppFrame,
                                          const char16_t* _szParam) {
    TraceScope trace("SourceFrameGetEx_I");
    if (_ppFrame) *_ppFrame = nullptr;
    if (EqualNoCase(TextArgument(_szParam), u"remove_reader")) return ReaderRemove(_pllReaderID ? *_pllReaderID : 0);
    ReaderPtr pReader;
    HRESULT hr = FindOrMake(_pllReaderID, pReader);
    if (Failed(hr) || !_ppFrame) return hr;
    const int64_t rtBegin = ClockNow();
    hr = host.OnSourceStart(_szParam);
    if (Failed(hr)) return hr;
    switch (WaitAny({&pReader->evAvailable, &evStop, &evEnd}, _rtMaxWait < 0 ? kNegativeWait : _rtMaxWait)) {
        case 0: break;
        case 1: return E_ABORT;
        case 2: return Win32Error(1100);
        default: return ZR_E_TIMEOUT;
    }
    TraceScope traceGet("SourceFrameGetEx(GET)");
    const int64_t rtNow = ClockNow();
    return pReader->Take(rtNow - rtLastPut.load(std::memory_order_relaxed), rtNow - rtBegin, _ppFrame);
}

HRESULT SourceReaders::SourceFrameGetEx(int64_t* _pllReaderID, int64_t _rtMaxWait, IZrFrame** _ppFrame,
                                        int32_t _nFlags) {
    if (_ppFrame) *_ppFrame = nullptr;
    uint64_t llID = _pllReaderID ? static_cast<uint64_t>(*_pllReaderID) : 0;
    uint64_t* const pllID = _pllReaderID ? &llID : nullptr;
    if (_nFlags == -1) return SourceFrameGetEx_I(pllID, 0, nullptr, u"remove_reader");
    ZrPtr<IZrFFrame> pFrame;
    const HRESULT hr = SourceFrameGetEx_I(pllID, _rtMaxWait, _ppFrame ? pFrame.Out() : nullptr, nullptr);
    if (_pllReaderID) *_pllReaderID = static_cast<int64_t>(llID);
    if (Failed(hr) || !_ppFrame) return hr;
    *_ppFrame = pFrame.As<IZrFrame>().Detach();
    return *_ppFrame ? hr : E_NOINTERFACE;
}

SourceReaders::ReaderPtr SourceReaders::Find(uint64_t _llReaderID) const {
    CRWReadScope lock(lockReaders);
    const auto it = mapReaders.find(_llReaderID != 0 ? _llReaderID : llDefaultReader);
    return it == mapReaders.end() ? ReaderPtr() : it->second;
}

HRESULT SourceReaders::FindOrMake(uint64_t* _pllReaderID, ReaderPtr& _pReader) {
    const uint64_t llWanted = _pllReaderID ? *_pllReaderID : 0;
    if (!_pllReaderID || llWanted != 0) {
        _pReader = Find(llWanted);
        if (_pReader) return S_OK;
        if (llWanted != 0) return ZR_E_NOT_FOUND;
    }
    const auto pNew = ZrReader::Make();
    if (!pNew) return E_OUTOFMEMORY;
    size_t nCount = 0;
    {
        CRWWriteScope lock(lockReaders, "SourceFrameGetEx_I");
        if (!_pllReaderID && llDefaultReader != 0) {  // another thread was faster
            if (const auto it = mapReaders.find(llDefaultReader); it != mapReaders.end()) {
                _pReader = it->second;
                return S_OK;
            }
        }
        uint64_t llID = NewReaderId();
        while (llID == 0 || mapReaders.contains(llID)) ++llID;
        mapReaders.emplace(llID, pNew);
        (_pllReaderID ? *_pllReaderID : llDefaultReader) = llID;
        if (pLastFrame) pNew->Offer(pLastFrame.Get());
        evReadersExist.Set();
        evStop.Reset();
        nCount = mapReaders.size();
    }
    _pReader = pNew;
    host.OnReaderCount(nCount);
    return S_OK;
}

HRESULT SourceReaders::ReaderKeep(uint64_t _llReaderID) {
    const ReaderPtr pReader = Find(_llReaderID);
    if (!pReader) return ZR_E_NOT_FOUND;
    pReader->Keep();
    ForgetLastFrame();
    host.OnReaderKept();
    return S_OK;
}

HRESULT SourceReaders::ReaderRemove(uint64_t _llReaderID) {
    ReaderPtr pRemoved;  // ends without the lock
    size_t nLeft = 0;
    {
        CRWWriteScope lock(lockReaders, "ReaderRemove");
        const auto it = mapReaders.find(_llReaderID != 0 ? _llReaderID : llDefaultReader);
        if (it == mapReaders.end()) return ZR_E_NOT_FOUND;
        pRemoved = it->second;
        Remove_I(it);
        nLeft = mapReaders.size();
    }
    TellCount(nLeft, true);
    return S_OK;
}

SourceReaders::ReaderMap::iterator SourceReaders::Remove_I(ReaderMap::iterator _it) {
    _it->second->Remove();
    if (_it->first == llDefaultReader) llDefaultReader = 0;
    const auto itNext = mapReaders.erase(_it);
    if (mapReaders.empty()) evReadersExist.Reset();
    return itNext;
}

// An object that its readers pace goes by itself when the last one has gone.
void SourceReaders::TellCount(size_t _nLeft, bool _bGone) {
    if (!_bGone) return;
    if (_nLeft == 0 && KeyOr(pObject, kRateControl, kRateByItself) == kRateByReaders) {
        pObject->SetAttribute<int32_t>(kRateControl.text, kRateByItself);
    }
    host.OnReaderCount(_nLeft);
}

HRESULT SourceReaders::LastFrameGet(IZrFFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    if (!lockReaders.TryEnterRead()) return ZR_E_EMPTY;
    const HRESULT hr = pLastFrame ? pLastFrame.CopyTo(_ppFrame) : ZR_E_EMPTY;
    lockReaders.LeaveRead();
    return hr;
}

// --- The object

HRESULT SourceReaders::PutFrame(IZrFFrame* _pFrame, int32_t _nPutWait, int64_t _rtMaxWait, Waitable* _pStop,
                                int32_t* _pnReaders, int32_t* _pnWaited) {
    TraceScope trace("Source_PutFrame");
    if (_pnReaders) *_pnReaders = 0;
    if (_pnWaited) *_pnWaited = 0;
    if (!_pFrame) return E_UNEXPECTED;
    ZR_TIME time;
    HRESULT hr = _pFrame->ZrFTimeGet(&time);
    if (Failed(hr)) return hr;
    if (IsRestart(time)) {
        evStop.Reset();
        evEnd.Reset();
    } else if (IsClosed()) {
        return ZR_E_WRONG_STATE;
    }
    const bool bLive = HasFlags(time, eZrFF_Live);
    int32_t nPutWait = KeyOr(pObject, kPutWait, _nPutWait);
    if (bLive && KeyOr(pObject, kOutputType, 0) > 1) nPutWait |= kPutWaitLive;
    const int32_t nWaited = WaitForReaders(*_pFrame, bLive, nPutWait, _rtMaxWait, _pStop);
    int32_t nReaders = 0;
    hr = OfferToAll(_pFrame, _pStop, nReaders);
    if (_pnReaders) *_pnReaders = nReaders;
    if (_pnWaited) *_pnWaited = nWaited;
    return hr;
}

// Returns how many it has waited for.
int32_t SourceReaders::WaitForReaders(IZrFFrame& _frame, bool _bLive, int32_t _nPutWait, int64_t _rtMaxWait,
                                      Waitable* _pStop) {
    if (_bLive && _nPutWait < kPutWaitLive) return 0;
    const int32_t nCycles = KeyOr(pRoot, kCycles, 15);
    const bool bLonger = _nPutWait >= kPutWaitForReaders;
    if (nCycles <= 0 && !bLonger) return 0;
    const int64_t rtDeadline = DeadlineAfter(ClockNow(), _rtMaxWait);
    ReaderPtr pReader;
    Awaited eAwaited = FindAwaited(nCycles, pReader);
    if (eAwaited == Awaited::First) {
        if (!bLonger || _bLive || (_nPutWait & kPutOnlyPresent) != 0) return 0;
        if (WaitAnyUntil({_pStop, &evReadersExist, &evEnd, &evStop}, rtDeadline) != 1) return 1;
        eAwaited = FindAwaited(nCycles, pReader);
    }
    if (eAwaited != Awaited::Reader) return 0;
    const int64_t rtLimit = DeadlineAfter(ClockNow(), FetchLimit(_frame, _nPutWait));
    WaitAnyUntil({_pStop, &pReader->evTaken, &evStop}, std::min(rtLimit, rtDeadline));
    return 1;
}

HRESULT SourceReaders::WaitFetched(int64_t _rtMaxWait, Waitable* _pStop) {
    ReaderPtr pReader;
    if (FindAwaited(INT32_MAX, pReader) != Awaited::Reader) return S_OK;
    return WaitAny({_pStop, &evStop, &pReader->evTaken}, _rtMaxWait) == 2 ? S_OK : S_FALSE;
}

// The first reader in order that still holds a frame; the rest need not be looked at.
SourceReaders::Awaited SourceReaders::FindAwaited(int32_t _nCycles, ReaderPtr& _pReader) const {
    CRWReadScope lock(lockReaders);
    if (mapReaders.empty()) return Awaited::First;
    for (const auto& [llID, pReader] : mapReaders) {
        if (!pReader->IsAwaited(_nCycles)) continue;
        _pReader = pReader;
        return Awaited::Reader;
    }
    return Awaited::Nobody;
}

// Two thirds of the frame's time, so that the frames keep their pace behind a reader that comes late.
int64_t SourceReaders::FetchLimit(IZrFFrame& _frame, int32_t _nPutWait) const {
    ZRF_FRAME_INFO info;
    _frame.ZrFAllGet(&info);
    const Thirds nDuration = FrameDuration(info.avProps, info.mTime, info.cbAudio);
    const int64_t rtLimit = (2 * nDuration * 2 + 9) / 18;  // 2/3 of so many thirds, to the nearest
    if (_nPutWait < kPutWaitForReaders) return rtLimit;
    return rtLimit + std::max(KeyOr(pRoot, kWaitTillGet, 200), 0) * kTicksPerMs;
}

HRESULT SourceReaders::OfferToAll(IZrFFrame* _pFrame, Waitable* _pStop, int32_t& _nReaders) {
    ZrPtr<IZrFFrame> pFrame(_pFrame);  // becomes the last one; the one before goes without the lock
    size_t nLeft = 0;
    bool bGone = false;
    {
        CRWWriteScope lock(lockReaders, "Source_PutFrame");
        // A frame from before a flush must not show after it.
        if (IsClosed() || (_pStop && _pStop->IsSet())) return ZR_E_WRONG_STATE;
        rtLastPut.store(ClockNow(), std::memory_order_relaxed);
        for (auto it = mapReaders.begin(); it != mapReaders.end();) {
            if (it->second->Offer(_pFrame)) {
                ++it;
                ++_nReaders;
            } else {
                it = Remove_I(it);
                bGone = true;
            }
        }
        nLeft = mapReaders.size();
        std::swap(pFrame, pLastFrame);
    }
    TellCount(nLeft, bGone);
    return _nReaders > 0 ? S_OK : S_FALSE;
}

void SourceReaders::Flush() {
    evStop.Set();
    Drop();
}

void SourceReaders::Drop() {
    CRWReadScope lock(lockReaders);
    for (const auto& [llID, pReader] : mapReaders) pReader->Clear();
}

void SourceReaders::End() { evEnd.Set(); }

void SourceReaders::ForgetLastFrame() {
    ZrPtr<IZrFFrame> pOld;
    CRWWriteScope lock(lockReaders, "ForgetLastFrame");
    std::swap(pOld, pLastFrame);
}

size_t SourceReaders::Count() const {
    CRWReadScope lock(lockReaders);
    return mapReaders.size();
}

}  // namespace zr
