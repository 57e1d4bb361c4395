// Row bands on a fixed set of threads. These waits are not seen by the virtual clock: to it, a thread inside
// ParallelRows runs.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

#include "platform/futex.h"
#include "platform/thread.h"
#include "platform/thread_pool.h"

namespace zr {
namespace {

constexpr int32_t kMaxThreads = 64;
constexpr int32_t kBandsPerThread = 2;  // so that a thread that comes late leaves less work to wait for

constinit thread_local bool tbInBand = false;

// One call, on the caller's stack.
struct RowJob {
    RowBandFunction pFunction;
    void* pContext;
    int32_t nRows;
    int32_t nBands;
    int32_t nNext = 0;  // under RowThreadSet::mtx, as the next two
    int32_t nDone = 0;
    RowJob* pNextJob = nullptr;
    std::atomic<uint32_t> nAllDone{0};

    void Run(int32_t _nBand) const {
        const auto edge = [this](int32_t _n) { return static_cast<int32_t>(int64_t{nRows} * _n / nBands); };
        pFunction(pContext, edge(_nBand), edge(_nBand + 1));
    }
};

class RowThreadSet {
public:
    ~RowThreadSet();
    void Run(RowJob& _job, int32_t _nThreads);

private:
    void EnsureThreads(int32_t _nThreads);
    void Work();
    bool RunOneBand(RowJob* _pJob) ZR_REQUIRES(mtx);

    RawMutex mtx;
    RowJob* pFirstJob ZR_GUARDED_BY(mtx) = nullptr;  // jobs with bands that nobody has taken, oldest first
    int32_t nSleeping ZR_GUARDED_BY(mtx) = 0;
    bool bStop ZR_GUARDED_BY(mtx) = false;
    std::atomic<uint32_t> nPosts{0};  // what the threads sleep on

    Mutex mtxThreads;
    std::vector<std::unique_ptr<Thread>> arrThreads ZR_GUARDED_BY(mtxThreads);
    std::atomic<int32_t> nStarted{0};
};

RowThreadSet::~RowThreadSet() {
    {
        RawLock lock(mtx);
        bStop = true;
    }
    nPosts.fetch_add(1);
    FutexWake(&nPosts, kMaxThreads);
    MutexLock lock(mtxThreads);
    for (auto& pThread : arrThreads) pThread->Join();
}

// The thread set is one short of _nThreads, as the caller is one of them. A thread that cannot be made is done without.
void RowThreadSet::EnsureThreads(int32_t _nThreads) {
    if (nStarted.load(std::memory_order_relaxed) >= _nThreads - 1) return;
    MutexLock lock(mtxThreads);
    while (nStarted.load(std::memory_order_relaxed) < _nThreads - 1) {
        char szName[16];
        std::snprintf(szName, sizeof(szName), "rows %d", nStarted.fetch_add(1) + 1);
        auto pThread = std::make_unique<Thread>();
        const HRESULT hr =
            pThread->Start(szName, [this](ManualEvent&) { Work(); }, {.nPriority = 0, .bOnClock = false});
        if (Succeeded(hr)) arrThreads.push_back(std::move(pThread));
    }
}

// Takes the next band of the job and runs it, without the lock. True if that was the last one to be done.
bool RowThreadSet::RunOneBand(RowJob* _pJob) {
    const int32_t nBand = _pJob->nNext++;
    if (_pJob->nNext == _pJob->nBands) {
        RowJob** ppJob = &pFirstJob;
        while (*ppJob != _pJob) ppJob = &(*ppJob)->pNextJob;
        *ppJob = _pJob->pNextJob;
    }
    mtx.Unlock();
    _pJob->Run(nBand);
    mtx.Lock();
    return ++_pJob->nDone == _pJob->nBands;
}

void RowThreadSet::Work() {
    tbInBand = true;
    mtx.Lock();
    while (!bStop) {
        if (RowJob* const pJob = pFirstJob) {
            if (RunOneBand(pJob)) {
                mtx.Unlock();
                pJob->nAllDone.store(1, std::memory_order_release);  // the job may be gone after this
                FutexWake(&pJob->nAllDone, 1);
                mtx.Lock();
            }
            continue;
        }
        const uint32_t nSeen = nPosts.load();
        ++nSleeping;
        mtx.Unlock();
        FutexWait(nPosts, nSeen, kNever);
        mtx.Lock();
        --nSleeping;
    }
    mtx.Unlock();
}

void RowThreadSet::Run(RowJob& _job, int32_t _nThreads) {
    EnsureThreads(_nThreads);
    mtx.Lock();
    RowJob** ppLast = &pFirstJob;
    while (*ppLast) ppLast = &(*ppLast)->pNextJob;
    *ppLast = &_job;
    nPosts.fetch_add(1, std::memory_order_relaxed);
    const int32_t nWake = std::min({nSleeping, _job.nBands - 1, _nThreads - 1});
    mtx.Unlock();
    if (nWake > 0) FutexWake(&nPosts, nWake);

    tbInBand = true;
    mtx.Lock();
    bool bAllDone = false;
    while (_job.nNext < _job.nBands) bAllDone = RunOneBand(&_job);
    mtx.Unlock();
    tbInBand = false;
    for (int32_t i = 0; !bAllDone && _job.nAllDone.load(std::memory_order_acquire) == 0; ++i) {
        if (i < 200) {
            CpuRelax();
        } else {
            FutexWait(_job.nAllDone, 0, kNever);
        }
    }
}

RowThreadSet& SharedSet() {
    static RowThreadSet set;
    return set;
}

constinit std::atomic<int32_t> nThreadsWanted{0};

}  // namespace

int32_t RowThreads() {
    const int32_t nWanted = nThreadsWanted.load(std::memory_order_relaxed);
    if (nWanted > 0) return nWanted;
    static const int32_t nProcessors =
        std::clamp(static_cast<int32_t>(std::thread::hardware_concurrency()), 1, kMaxThreads);
    return nProcessors;
}

void SetRowThreads(int32_t _nThreads) { nThreadsWanted = std::clamp(_nThreads, 0, kMaxThreads); }

void ParallelRowBands(int32_t _nRows, int32_t _nMinRowsPerBand, RowBandFunction _pFunction, void* _pContext) {
    if (_nRows <= 0) return;
    const int32_t nThreads = RowThreads();
    const int32_t nBands = std::min(_nRows / std::max(_nMinRowsPerBand, 1), nThreads * kBandsPerThread);
    if (nBands < 2 || nThreads < 2 || tbInBand) {
        _pFunction(_pContext, 0, _nRows);
        return;
    }
    RowJob job{_pFunction, _pContext, _nRows, nBands};
    SharedSet().Run(job, nThreads);
}

}  // namespace zr
