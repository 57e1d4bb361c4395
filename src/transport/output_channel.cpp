#include "transport/output_channel.h"

#include <utility>

#include "attributes/attribute_line.h"
#include "attributes/co_xml_node.h"
#include "platform/trace.h"
#include "platform/wide_text.h"
#include "zr/props.h"

namespace zr {
namespace {

constexpr HRESULT kMediaEnded = Win32Error(1100);
constexpr HRESULT kReceiverGone = static_cast<HRESULT>(0x800706BAu);

// "true" and every number but 0.
bool IsOn(const XMLNodePtr& _pNode, std::u16string_view _key) {
    return _pNode->AttributeOr(_key, true) || _pNode->AttributeOr<int32_t>(_key, 1) != 0;
}

bool IsGpuReceiver(IUnknown* _pReceiver) {
    const auto pProps = QueryAs<IZrProps>(_pReceiver);
    BSTR bs = nullptr;
    if (!pProps || Failed(pProps->PropsGet(u"GPU", &bs)) || !bs) return false;
    const std::u16string_view text(bs);
    const bool bGpu = text == u"1" || EqualNoCase(text, u"true");
    SysFreeString(bs);
    return bGpu;
}

}  // namespace

CHANNEL_KEYS::CHANNEL_KEYS(std::u16string_view _param) {
    if (_param.empty()) return;
    const XMLNodePtr pNode = CoXMLNode::Create(u"channel");
    const size_t nFirst = _param.find_first_not_of(u" \t\r\n");
    if (nFirst != _param.npos && _param[nFirst] == u'<') {
        pNode->Parse(_param);
    } else {
        SetAttributeLine(*pNode, _param, eZrUT_ClearDest);
    }
    nKinds = (IsOn(pNode, u"video") ? kMediaVideo : 0u) | (IsOn(pNode, u"audio") ? kMediaAudio : 0u);
    bRateControl = IsOn(pNode, u"rate_control");
    nDisconnectType = pNode->AttributeOr<int32_t>(u"disconnect-type", 1);
}

HRESULT CHANNEL_RECEIVER::Init(IUnknown* _pReceiver) {
    pReceiver = QueryAs<IZrReceiver_I>(_pReceiver);
    if (!pReceiver) return E_NOINTERFACE;
    pWanted = QueryAs<IZrFramesWanted_I>(_pReceiver);
    bGpu = IsGpuReceiver(_pReceiver);
    return S_OK;
}

COutputChannel::~COutputChannel() {
    Close();
    if (thread.IsJoinable()) thread.Abandon();  // it is the thread itself, on its way out
}

ZrPtr<IZrReceiver_I> COutputChannel::Connect(CHANNEL_RECEIVER _receiver, std::u16string_view _param) {
    const CHANNEL_KEYS newKeys(_param);
    std::u16string newParam(_param);
    MutexLock lock(mtx);
    keys = newKeys;
    strParam.swap(newParam);
    nFirstMask = kMediaVideo | kMediaAudio;
    std::swap(receiver, _receiver);
    if (_receiver.pReceiver == receiver.pReceiver) return {};
    bDead = false;
    return std::move(_receiver.pReceiver);
}

void COutputChannel::Close() {
    {
        MutexLock lock(mtx);
        bClosed = true;
    }
    thread.RequestStop();
    thread.Join();  // at once when a receiver closes its own channel; the end of the channel sees to it then
    DropPending();
    CHANNEL_RECEIVER left;
    LockIdle();
    std::swap(left, receiver);
    mtx.Unlock();
}

// What the thread has not taken any more.
void COutputChannel::DropPending() {
    ZrPtr<IZrFFrame> pLeft;
    ZrPtr<IUnknown> pLeftSender;
    MutexLock lock(mtx);
    if (!pFrame) return;
    std::swap(pLeft, pFrame);
    std::swap(pLeftSender, pSender);
    hrSent = E_ABORT;
    evDone.Set();
}

CHANNEL_KEYS COutputChannel::Keys() const {
    MutexLock lock(mtx);
    return keys;
}

std::u16string COutputChannel::Param() const {
    MutexLock lock(mtx);
    return strParam;
}

bool COutputChannel::IsGpu() const {
    MutexLock lock(mtx);
    return receiver.bGpu;
}

bool COutputChannel::WantsFrames() const {
    ZrPtr<IZrFramesWanted_I> pWanted;
    {
        MutexLock lock(mtx);
        pWanted = receiver.pWanted;
    }
    return !pWanted || pWanted->FramesWanted() != S_FALSE;
}

bool COutputChannel::IsDead() const {
    MutexLock lock(mtx);
    return bDead;
}

ZrPtr<IZrReceiver_I> COutputChannel::Receiver() const {
    MutexLock lock(mtx);
    return receiver.pReceiver;
}

bool COutputChannel::LockIdle() {
    for (;;) {
        mtx.Lock();
        if (evDone.IsSet()) return true;
        if (idCaller != 0 && idCaller == CurrentThreadId()) return false;
        mtx.Unlock();
        WaitOne(evDone, -1);
    }
}

HRESULT COutputChannel::OutputChannelSendAsync(IUnknown* _pSender, ZrPtr<IZrFFrame> _pFrame, uint32_t _nKinds) {
    {
        MutexLock lock(mtx);
        if (pSender) return E_UNEXPECTED;  // until its frame is done with
    }
    const bool bIdle = LockIdle();
    HRESULT hr = bIdle ? S_OK : E_UNEXPECTED;
    if (Succeeded(hr) && (bClosed || !receiver.pReceiver)) hr = E_NOINTERFACE;
    if (Succeeded(hr) && !thread.IsJoinable()) {
        hr = thread.Start("zr-send", [this](ManualEvent& _evStop) { Run(_evStop); });
    }
    if (Succeeded(hr)) {
        std::swap(pFrame, _pFrame);
        pSender = _pSender;
        nKinds = _nKinds;
        hrSent = S_FALSE;
        bSent = true;
        evDone.Reset();
    }
    mtx.Unlock();
    if (Succeeded(hr)) evWake.Set();
    return hr;
}

HRESULT COutputChannel::OutputChannelWaitSent(int64_t _rtTimeout) {
    {
        MutexLock lock(mtx);
        if (!bSent) return E_FAIL;
    }
    if (!WaitOne(evDone, _rtTimeout)) return ZR_E_TIMEOUT;
    MutexLock lock(mtx);
    return hrSent;
}

// The receiver, or the sender that is let go of, may close the channel from within, or end it: nothing of it is touched
// then.
void COutputChannel::Run(ManualEvent& _evStop) {
    while (!_evStop.IsSet() && WaitAny({&_evStop, &evWake}, -1) == 1) Serve();
}

void COutputChannel::Serve() {
    TraceScope trace("SendMedia_Async(Thread)");
    const ZrPtr<COutputChannel> pSelf(this);
    ZrPtr<IZrFFrame> pSend;
    ZrPtr<IUnknown> pFrom;
    ZrPtr<IZrReceiver_I> pTo;
    {
        MutexLock lock(mtx);
        if (!pFrame) return;
        std::swap(pSend, pFrame);
        pFrom = pSender;
        pTo = receiver.pReceiver;
        idCaller = CurrentThreadId();
    }
    const HRESULT hr = pTo ? pTo->MediaReceive(id.c_str(), pFrom.Get(), pSend.Get()) : E_UNEXPECTED;
    pSend.Reset();
    MutexLock lock(mtx);
    if (pTo == receiver.pReceiver) {
        if (hr == S_OK || hr == kTakenWithoutAudio) nFirstMask = nFirstMask & ~nKinds;
        bDead = hr == kMediaEnded || hr == kReceiverGone;
    }
    idCaller = 0;
    hrSent = hr;
    pSender.Reset();  // not the last one: that goes without the lock
    evDone.Set();
}

void COutputChannel::Tell(ReceiverCall _pCall, IUnknown* _pSender, int32_t _nParam, IZrReceiver_I* _pReceiver) {
    const bool bIdle = LockIdle();
    const ZrPtr<IZrReceiver_I> pTo = _pReceiver ? ZrPtr<IZrReceiver_I>(_pReceiver) : receiver.pReceiver;
    if (bIdle) {
        evDone.Reset();
        idCaller = CurrentThreadId();
    }
    mtx.Unlock();
    if (pTo) (pTo.Get()->*_pCall)(id.c_str(), _pSender, _nParam);
    if (!bIdle) return;
    MutexLock lock(mtx);
    idCaller = 0;
    evDone.Set();
}

void COutputChannel::TellEnd(IUnknown* _pSender, int32_t _nParam) {
    Tell(&IZrReceiver_I::MediaEnd, _pSender, _nParam, nullptr);
}

void COutputChannel::TellFlush(IUnknown* _pSender, int32_t _nParam) {
    Tell(&IZrReceiver_I::MediaFlush, _pSender, _nParam, nullptr);
}

void COutputChannel::TellEnd(IZrReceiver_I& _receiver, IUnknown* _pSender, int32_t _nParam) {
    Tell(&IZrReceiver_I::MediaEnd, _pSender, _nParam, &_receiver);
}

}  // namespace zr
