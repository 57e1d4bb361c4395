#include "platform/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <map>
#include <new>
#include <utility>
#include <vector>

#include "platform/lock.h"
#include "platform/thread.h"
#include "platform/utf.h"

extern char** environ;

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
    return Begin(std::move(process), _evEnded);
}

HRESULT ProcessWatch::Begin(Descriptor _process, ManualEvent& _evEnded) {
    End();
    try {
        HRESULT hr = ProcessWatcher::Get(pWatcher);
        if (Succeeded(hr)) hr = pWatcher->Add(std::move(_process), _evEnded, nEntry);
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

namespace {

// Starts a program in a state that does not depend on ours: no blocked or ignored signals, no input, no files of ours.
// 0, or the error number.
int Spawn(char* const* _arrArguments, pid_t& _id) {
    posix_spawnattr_t attributes;
    if (const int nError = posix_spawnattr_init(&attributes)) return nError;
    posix_spawn_file_actions_t actions;
    int nError = posix_spawn_file_actions_init(&actions);
    if (nError == 0) {
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        nError = posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        if (nError == 0) nError = posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
        if (nError == 0) nError = posix_spawn(&_id, _arrArguments[0], &actions, &attributes, _arrArguments, environ);
        posix_spawn_file_actions_destroy(&actions);
    }
    posix_spawnattr_destroy(&attributes);
    return nError;
}

}  // namespace

HRESULT ChildProcess::Start(std::span<const std::u16string> _arguments) {
    Close();
    try {
        std::vector<std::string> arrTexts;
        std::vector<char*> arrPointers;
        for (const std::u16string& strArgument : _arguments) {
            if (strArgument.find(u'\0') != strArgument.npos) return E_INVALIDARG;
            arrTexts.push_back(Utf8FromUtf16(strArgument));
        }
        if (arrTexts.empty() || arrTexts[0].empty()) return E_INVALIDARG;
        for (std::string& strText : arrTexts) arrPointers.push_back(strText.data());
        arrPointers.push_back(nullptr);
        pid_t idChild = 0;
        if (const int nError = Spawn(arrPointers.data(), idChild)) return StatusFromErrno(nError);
        id = static_cast<uint32_t>(idChild);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    process = OpenProcess(id);
    HRESULT hr = process ? S_OK : StatusFromErrno(errno);
    if (Succeeded(hr)) {
        Descriptor copy(fcntl(process.Get(), F_DUPFD_CLOEXEC, 0));
        hr = copy ? watch.Begin(std::move(copy), evEnded) : StatusFromErrno(errno);
    }
    if (Failed(hr)) Close();
    return hr;
}

void ChildProcess::Kill() {
    if (process) {
        syscall(SYS_pidfd_send_signal, process.Get(), SIGKILL, nullptr, 0);
    } else if (id != 0) {
        kill(static_cast<pid_t>(id), SIGKILL);  // its handle could not be opened, but it is still our child
    }
}

void ChildProcess::Close() {
    watch.End();
    if (id != 0) {
        Kill();
        const ClockBlockingCall blocking;
        const idtype_t eKind = process ? P_PIDFD : P_PID;
        siginfo_t info{};
        while (waitid(eKind, process ? static_cast<id_t>(process.Get()) : id, &info, WEXITED) != 0 && errno == EINTR) {
        }
    }
    id = 0;
    process.Reset();
    evEnded.Reset();
    nExitCode = kUnknownExit;
}

HRESULT ChildProcess::Wait(int64_t _rtTimeout) { return id == 0 || WaitOne(evEnded, _rtTimeout) ? S_OK : ZR_E_TIMEOUT; }

int32_t ChildProcess::ExitCode() {
    if (id == 0 || nExitCode != kUnknownExit) return nExitCode;
    siginfo_t info{};
    // Left for Close to take, so that the number of the child stays its own until then.
    if (waitid(P_PIDFD, static_cast<id_t>(process.Get()), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid != 0)
        nExitCode = info.si_code == CLD_EXITED ? info.si_status : -info.si_status;
    return nExitCode;
}

bool ProcessRuns(uint32_t _idProcess) {
    const Descriptor process = OpenProcess(_idProcess);
    pollfd poll{process.Get(), POLLIN, 0};
    return process && ::poll(&poll, 1, 0) == 0;
}

std::u16string ExecutablePath(uint32_t _idProcess) {
    char arrPath[PATH_MAX];
    const std::string strLink = "/proc/" + std::to_string(_idProcess) + "/exe";
    const ssize_t nLength = readlink(strLink.c_str(), arrPath, sizeof arrPath);
    if (nLength < 0) return {};
    std::string_view svPath(arrPath, static_cast<size_t>(nLength));
    constexpr std::string_view svDeleted = " (deleted)";  // the program was replaced since it started
    if (svPath.ends_with(svDeleted)) svPath.remove_suffix(svDeleted.size());
    return Utf16FromUtf8(svPath);
}

std::u16string ExecutableName(uint32_t _idProcess) {
    const std::u16string strPath = ExecutablePath(_idProcess);
    return strPath.substr(strPath.rfind(u'/') + 1);
}

}  // namespace zr
