#include "platform/process.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <map>
#include <new>
#include <utility>

#include "platform/descriptor.h"
#include "platform/lock.h"
#include "platform/thread.h"

namespace zr {

namespace {

Descriptor OpenProcess(uint32_t _id) {
    if (_id == 0 || _id > INT32_MAX) {
        errno = ESRCH;
        return {};
    }
    return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, static_cast<pid_t>(_id), 0)));
}

}  // namespace

// The thread that waits for processes to end.
class ProcessWatcher {
public:
    // The one there is, or a new one.
    static HRESULT Get(std::shared_ptr<ProcessWatcher>& _p);
    ~ProcessWatcher();

    HRESULT Add(Descriptor _process, ManualEvent& _evEnded, uint64_t& _nEntry);
    void Remove(uint64_t _nEntry);

private:
    struct ENTRY {
        Descriptor process;
        ManualEvent* pevEnded;
    };
    using Entries = std::map<uint64_t, ENTRY>;
    static constexpr uint64_t kStop = 0;

    HRESULT Start();
    void Run();
    HRESULT Listen(int _fd, uint64_t _nEntry);
    void Forget(Entries::iterator _it) ZR_REQUIRES(mtx);

    Mutex mtx;
    Entries mapEntries ZR_GUARDED_BY(mtx);
    uint64_t nLastEntry ZR_GUARDED_BY(mtx) = kStop;
    Descriptor poller;
    Descriptor wakeToStop;
    Thread thread;
};

namespace {
Mutex mtxWatcher;
std::weak_ptr<ProcessWatcher> pSharedWatcher ZR_GUARDED_BY(mtxWatcher);
}  // namespace

HRESULT ProcessWatcher::Get(std::shared_ptr<ProcessWatcher>& _p) {
    MutexLock lock(mtxWatcher);
    _p = pSharedWatcher.lock();
    if (_p) return S_OK;
    auto pNew = std::make_shared<ProcessWatcher>();
    if (const HRESULT hr = pNew->Start(); Failed(hr)) return hr;
    pSharedWatcher = pNew;
    _p = std::move(pNew);
    return S_OK;
}

HRESULT ProcessWatcher::Start() {
    poller = Descriptor(epoll_create1(EPOLL_CLOEXEC));
    if (!poller) return StatusFromErrno(errno);
    wakeToStop = Descriptor(eventfd(0, EFD_CLOEXEC));
    if (!wakeToStop) return StatusFromErrno(errno);
    if (const HRESULT hr = Listen(wakeToStop.Get(), kStop); Failed(hr)) return hr;
    return thread.Start("ProcessWatcher", [this](ManualEvent&) { Run(); }, {.bOnClock = false});
}

ProcessWatcher::~ProcessWatcher() {
    if (!thread.IsJoinable()) return;
    const uint64_t nOne = 1;
    while (write(wakeToStop.Get(), &nOne, sizeof nOne) < 0 && errno == EINTR) {
    }
    const ClockBlockingCall blocking;
    thread.Join();
}

HRESULT ProcessWatcher::Listen(int _fd, uint64_t _nEntry) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = _nEntry;
    return epoll_ctl(poller.Get(), EPOLL_CTL_ADD, _fd, &event) == 0 ? S_OK : StatusFromErrno(errno);
}

void ProcessWatcher::Run() {
    for (;;) {
        epoll_event event{};
        if (epoll_wait(poller.Get(), &event, 1, -1) < 1) continue;  // interrupted
        if (event.data.u64 == kStop) return;
        MutexLock lock(mtx);
        const auto it = mapEntries.find(event.data.u64);
        if (it == mapEntries.end()) continue;  // removed meanwhile
        it->second.pevEnded->Set();
        Forget(it);
    }
}

HRESULT ProcessWatcher::Add(Descriptor _process, ManualEvent& _evEnded, uint64_t& _nEntry) {
    MutexLock lock(mtx);
    const uint64_t nEntry = ++nLastEntry;
    const auto it = mapEntries.emplace(nEntry, ENTRY{std::move(_process), &_evEnded}).first;
    const HRESULT hr = Listen(it->second.process.Get(), nEntry);
    if (Failed(hr))
        mapEntries.erase(it);
    else
        _nEntry = nEntry;
    return hr;
}

void ProcessWatcher::Remove(uint64_t _nEntry) {
    MutexLock lock(mtx);
    if (const auto it = mapEntries.find(_nEntry); it != mapEntries.end()) Forget(it);
}

// Closing the descriptor is not enough for the poller: others may have the same open process.
void ProcessWatcher::Forget(Entries::iterator _it) {
    epoll_ctl(poller.Get(), EPOLL_CTL_DEL, _it->second.process.Get(), nullptr);
    mapEntries.erase(_it);
}

HRESULT ProcessWatch::Begin(uint32_t _idProcess, ManualEvent& _evEnded) {
    End();
    Descriptor process = OpenProcess(_idProcess);
    if (!process) return errno == ESRCH || errno == EINVAL ? ZR_E_NOT_FOUND : StatusFromErrno(errno);
    try {
        HRESULT hr = ProcessWatcher::Get(pWatcher);
        if (Succeeded(hr)) hr = pWatcher->Add(std::move(process), _evEnded, nEntry);
        if (Failed(hr)) pWatcher.reset();
        return hr;
    } catch (const std::bad_alloc&) {
        pWatcher.reset();
        return E_OUTOFMEMORY;
    }
}

void ProcessWatch::End() {
    if (!pWatcher) return;
    pWatcher->Remove(nEntry);
    pWatcher.reset();
}

}  // namespace zr
