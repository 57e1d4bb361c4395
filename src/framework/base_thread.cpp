#include "framework/base_thread.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <string>

#include "platform/call_stack.h"
#include "platform/clock.h"
#include "platform/module_info.h"
#include "platform/utf.h"
#include "platform/wide_text.h"

namespace zr {
namespace {

void ReportRunningThread(const char* _szName, uint32_t _nId) {
    const std::string text = std::string("Thread: ") + _szName + "\n" + CallStackText(1);
    std::fprintf(stderr,
                 "WARNING !!! Thread not stopped.\n"
                 "WARNING !!! Thread %04X(%d) NOT STOPPED before destroying.\n%s\nEXE: %s\n",
                 static_cast<unsigned>(_nId), static_cast<int>(_nId), text.c_str(),
                 Utf8FromUtf16(ProcessName()).c_str());
}

}  // namespace

CBaseThread::RunPtr CBaseThread::Current_I() {
    if (pRun && pRun->evEnded.IsSet()) {
        pRun->thread.Join();
        pRun.reset();
    }
    return pRun;
}

CBaseThread::RunPtr CBaseThread::FindCurrent() {
    MutexLock lock(mtx);
    return Current_I();
}

CBaseThread::~CBaseThread() {
    if (const RunPtr p = FindCurrent()) {
        ReportRunningThread(szName, p->nId);
        if (Stop(-1) == ZR_E_TIMEOUT) p->thread.Abandon();
    }
}

HRESULT CBaseThread::Start(void* _pOwner, Procedure _pProcedure, ThreadOptions _flags) {
    for (;;) {
        if (const HRESULT hr = Stop(-1); Failed(hr)) return hr;
        MutexLock lock(mtx);
        if (Current_I()) continue;  // another thread started it between the stop and here
        try {
            const RunPtr pNew = std::make_shared<ThreadRun>();
            const HRESULT hr = pNew->thread.Start(
                szName,
                [_pOwner, _pProcedure, pNew](ManualEvent&) {
                    _pProcedure(_pOwner, *pNew);
                    pNew->evEnded.Set();
                },
                _flags);
            if (Failed(hr)) return hr;
            pNew->nId = pNew->thread.Id();
            pRun = pNew;
            return S_OK;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }
}

CBaseThread::State CBaseThread::IsRunning(Handle* _pHandle) {
    const RunPtr p = FindCurrent();
    if (_pHandle) *_pHandle = p ? Handle(p, &p->evEnded) : nullptr;
    if (!p) return kStopped;
    return p->IsWanted() ? kRunning : kStopping;
}

bool CBaseThread::Wake(Handle* _pHandle) {
    MutexLock lock(mtx);
    const bool bRuns = pRun && !pRun->evEnded.IsSet();
    if (_pHandle) *_pHandle = bRuns ? Handle(pRun, &pRun->evEnded) : nullptr;
    if (bRuns) pRun->Wake();
    return bRuns;
}

HRESULT CBaseThread::Stop(int64_t _nTimeoutMs, MessagePump* _pPump) {
    const RunPtr p = FindCurrent();
    if (!p) return S_FALSE;
    p->bRunFlag.store(false, std::memory_order_release);
    p->evStop.Set();
    p->Wake();
    if (p->nId == CurrentThreadId()) return ZR_E_TIMEOUT;

    const int64_t rtTimeout = _nTimeoutMs < 0 || _nTimeoutMs > kNever / kTicksPerMs ? -1 : _nTimeoutMs * kTicksPerMs;
    Waitable* const pEnded = &p->evEnded;
    const WaitSet set(&pEnded, 1);
    const int32_t nSet = _pPump ? WaitAnyPumped(set, rtTimeout, *_pPump) : WaitAny(set, rtTimeout);
    if (nSet == kWaitTimeout) return ZR_E_TIMEOUT;
    FindCurrent();  // joins it
    return S_OK;
}

void CBaseThread::SetPriority(int32_t _nPriority) {
    MutexLock lock(mtx);
    if (const RunPtr p = Current_I()) p->thread.SetPriority(_nPriority);
}

int32_t ThreadPriorityFromText(std::u16string_view _szText) { return std::clamp(ParseInt32(_szText, 10), -15, 15); }

}  // namespace zr
