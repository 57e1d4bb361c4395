#include "platform/thread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>
#include <utility>

#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/status.h"
#include "platform/wait_engine.h"

namespace zr {
namespace {

void ReportThreadFault(const char* _szName, uint32_t _nId) {
    std::fprintf(stderr, "ZrMixer: thread \"%s\" (%u) was not stopped before its owner destroyed it\n%s", _szName, _nId,
                 DescribeThreads().c_str());
}
constinit std::atomic<ThreadFaultHandler> pThreadFaultHandler{ReportThreadFault};

// 15 asks for the real-time class; what lies below becomes a nice value of -20 to 10. It goes no lower, as a thread
// that gets next to no time may hold a lock that the mix thread needs. Without the right to it the thread goes on as it
// is.
void ApplyPriority(uint32_t _nId, int32_t _nPriority) {
    const int32_t nPriority = std::clamp(_nPriority, -15, 15);
    const pid_t nId = static_cast<pid_t>(_nId);
    sched_param param{};
    if (nPriority == 15) {
        param.sched_priority = 1;
        if (sched_setscheduler(nId, SCHED_RR, &param) == 0) return;
        param.sched_priority = 0;
    }
    sched_setscheduler(nId, SCHED_OTHER, &param);
    setpriority(PRIO_PROCESS, _nId, nPriority < 0 ? -nPriority * 10 / 15 : -nPriority * 20 / 15);
}

}  // namespace

struct Thread::Block {
    ThreadState state;
    ManualEvent evStop;
    ManualEvent evFinished;
    Body body;
    pthread_t handle{};
    std::atomic<int32_t> nPriority{0};

    static void* Main(void* _pArgument);
};

void* Thread::Block::Main(void* _pArgument) {
    std::shared_ptr<Block> pBlock = std::move(*static_cast<std::shared_ptr<Block>*>(_pArgument));
    delete static_cast<std::shared_ptr<Block>*>(_pArgument);
    WaitEngine& engine = WaitEngine::Get();
    WaitEngine::BindSelf(&pBlock->state);
    pBlock->state.SetId();
    FutexWake(&pBlock->state.nId, INT32_MAX);
    char szShort[16];  // what the system keeps of a name
    std::snprintf(szShort, sizeof(szShort), "%.15s", pBlock->state.szName);
    pthread_setname_np(pthread_self(), szShort);
    prctl(PR_SET_TIMERSLACK, 1UL);  // timed waits end when they are due; the default adds 50 us
    if (pBlock->nPriority != 0) ApplyPriority(pBlock->state.nId, pBlock->nPriority);
    engine.AwaitTurn(pBlock->state);
    [&]() noexcept { pBlock->body(pBlock->evStop); }();
    pBlock->body = nullptr;  // what it holds goes before the thread counts as ended
    engine.Unlist(pBlock->state, &pBlock->evFinished);
    WaitEngine::BindSelf(nullptr);
    return nullptr;
}

Thread::~Thread() {
    if (!pBlock) return;
    if (IsRunning()) pThreadFaultHandler.load()(Name(), Id());
    RequestStop();
    if (!Join()) Abandon();
}

HRESULT Thread::Start(const char* _szName, Body _body, ThreadOptions _options) try {
    if (IsRunning()) return ZR_E_WRONG_STATE;
    Join();
    auto pNew = std::make_shared<Block>();
    pNew->body = std::move(_body);
    pNew->nPriority = _options.nPriority;
    auto pArgument = std::make_unique<std::shared_ptr<Block>>(pNew);
    WaitEngine::Get().ListNew(pNew->state, _szName, _options.bOnClock);
    const int nError = pthread_create(&pNew->handle, nullptr, &Block::Main, pArgument.get());
    if (nError != 0) {
        WaitEngine::Get().Unlist(pNew->state, nullptr);
        return StatusFromErrno(nError);
    }
    pArgument.release();
    pBlock = std::move(pNew);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

void Thread::RequestStop() {
    if (pBlock) pBlock->evStop.Set();
}

bool Thread::Join(int64_t _rtTimeout) {
    if (!pBlock) return true;
    if (&pBlock->state == &WaitEngine::Self()) return false;
    if (!WaitOne(pBlock->evFinished, _rtTimeout)) return false;
    pthread_join(pBlock->handle, nullptr);
    pBlock.reset();
    return true;
}

void Thread::Abandon() {
    if (!pBlock) return;
    pthread_detach(pBlock->handle);
    pBlock.reset();
}

bool Thread::IsRunning() const { return pBlock && !pBlock->evFinished.IsSet(); }
ManualEvent& Thread::StopEvent() { return pBlock->evStop; }
Waitable& Thread::Finished() { return pBlock->evFinished; }
uint32_t Thread::Id() const {
    std::atomic<uint32_t>& nId = pBlock->state.nId;
    while (nId == 0) FutexWait(nId, 0, kNever);  // only until the new thread has taken its first steps
    return nId;
}
const char* Thread::Name() const { return pBlock->state.szName; }

void Thread::SetPriority(int32_t _nPriority) {
    pBlock->nPriority = _nPriority;
    ApplyPriority(Id(), _nPriority);
}

void SetThreadFaultHandler(ThreadFaultHandler _pHandler) {
    pThreadFaultHandler = _pHandler ? _pHandler : ReportThreadFault;
}

uint32_t CurrentThreadId() { return static_cast<uint32_t>(gettid()); }
void SetCurrentThreadPriority(int32_t _nPriority) { ApplyPriority(CurrentThreadId(), _nPriority); }
std::string ThreadName(uint32_t _nId) { return WaitEngine::Get().NameOf(_nId); }

}  // namespace zr
