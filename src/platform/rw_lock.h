#pragma once
// Recursive locks: the plain counted one, and reader/writer locks that a reader may enter again while a writer waits.
// All take part in the lock order of platform/lock.h, and let other threads run on the virtual clock while they wait.

#include <atomic>
#include <cstdint>

#include "platform/lock.h"

namespace zr {

// The plain lock: its owner may enter it again and leaves it as many times.
class ZR_CAPABILITY("mutex") CMTSingleEx {
public:
    constexpr CMTSingleEx() = default;
    explicit constexpr CMTSingleEx(const LockRank& _rank) : mtx(_rank) {}
    CMTSingleEx(const CMTSingleEx&) = delete;
    CMTSingleEx& operator=(const CMTSingleEx&) = delete;

    void Enter() ZR_ACQUIRE();
    // False, and nothing taken, when another thread has it.
    bool TryEnter() ZR_TRY_ACQUIRE(true);
    void Leave() ZR_RELEASE();
    // Whether the calling thread has it.
    bool IsMine() const;

private:
    Mutex mtx;
    uint32_t nDepth = 0;                // owner only
    std::atomic<uintptr_t> idOwner{0};  // the owner writes; another thread only learns that it is not itself
};

class ZR_SCOPED_CAPABILITY CMTSingleExScope {
public:
    explicit CMTSingleExScope(CMTSingleEx& _lock) ZR_ACQUIRE(_lock) : lock(_lock) { lock.Enter(); }
    ~CMTSingleExScope() ZR_RELEASE() { lock.Leave(); }
    CMTSingleExScope(const CMTSingleExScope&) = delete;
    CMTSingleExScope& operator=(const CMTSingleExScope&) = delete;

private:
    CMTSingleEx& lock;
};

// A lock with a shared and an exclusive side. Both sides may be entered again by the thread that has them, and the
// exclusive owner may also read-enter; a thread that has only the shared side must not ask for the exclusive one.
// _szLabel names the place that writes, for diagnosis: a literal, or a text that outlives the hold.
class ZR_CAPABILITY("mutex") CRWSynchroLiteBase {
public:
    virtual ~CRWSynchroLiteBase() = default;

    virtual void EnterRead() ZR_ACQUIRE_SHARED() = 0;
    // False, and nothing taken, when it would have to wait.
    virtual bool TryEnterRead() ZR_TRY_ACQUIRE_SHARED(true) = 0;
    virtual void LeaveRead() ZR_RELEASE_SHARED() = 0;
    virtual void EnterWrite(const char* _szLabel) ZR_ACQUIRE() = 0;
    virtual bool TryEnterWrite(const char* _szLabel) ZR_TRY_ACQUIRE(true) = 0;
    virtual void LeaveWrite() ZR_RELEASE() = 0;

    // Who has the exclusive side now; null when nobody has. Any thread.
    const char* WriterLabel() const { return szWriter.load(std::memory_order_relaxed); }

protected:
    CRWSynchroLiteBase() = default;
    CRWSynchroLiteBase(const CRWSynchroLiteBase&) = delete;
    CRWSynchroLiteBase& operator=(const CRWSynchroLiteBase&) = delete;

    std::atomic<const char*> szWriter{nullptr};
};

// One plain lock for both sides: for data that is held too briefly for sharing to pay.
class ZR_CAPABILITY("mutex") CRWSynchroLiteCS final : public CRWSynchroLiteBase {
public:
    CRWSynchroLiteCS() = default;
    explicit CRWSynchroLiteCS(const LockRank& _rank) : cs(_rank) {}

    void EnterRead() override ZR_ACQUIRE_SHARED();
    bool TryEnterRead() override ZR_TRY_ACQUIRE_SHARED(true);
    void LeaveRead() override ZR_RELEASE_SHARED();
    void EnterWrite(const char* _szLabel) override ZR_ACQUIRE();
    bool TryEnterWrite(const char* _szLabel) override ZR_TRY_ACQUIRE(true);
    void LeaveWrite() override ZR_RELEASE();

private:
    CMTSingleEx cs;
    uint32_t nWrites = 0;  // under cs
};

// Readers share. A waiting writer stops new readers, but a thread that already reads gets in again, so that it cannot
// deadlock with the writer. Entering to read costs one atomic operation, or none when the thread reads already.
class ZR_CAPABILITY("mutex") CRWSynchroLiteRW final : public CRWSynchroLiteBase {
public:
    CRWSynchroLiteRW() = default;
#ifdef ZR_LOCK_ORDER
    explicit CRWSynchroLiteRW(const LockRank& _rank) : rank(_rank) {}
#else
    explicit CRWSynchroLiteRW(const LockRank&) {}
#endif
    ~CRWSynchroLiteRW() override;

    void EnterRead() override ZR_ACQUIRE_SHARED();
    bool TryEnterRead() override ZR_TRY_ACQUIRE_SHARED(true);
    void LeaveRead() override ZR_RELEASE_SHARED();
    void EnterWrite(const char* _szLabel) override ZR_ACQUIRE();
    bool TryEnterWrite(const char* _szLabel) override ZR_TRY_ACQUIRE(true);
    void LeaveWrite() override ZR_RELEASE();

private:
    bool EnterReadPastWriter(bool _bMayWait, bool _bMayPass);
    void DropReader();
    void WaitForReaders();

#ifdef ZR_LOCK_ORDER
    const LockRank& Rank() const { return rank; }
    const LockRank rank{};
#else
    static constexpr LockRank Rank() { return {}; }
#endif
    // The low bits count the threads that read; the two top bits tell of a writer. One word, so that a writer takes
    // the lock only in the very instant in which nobody reads.
    std::atomic<uint32_t> nState{0};
    uint32_t nWrites = 0;  // how often its owner has the exclusive side; under cs
    CMTSingleEx cs;        // held by the writer; new readers queue here behind it
};

template <class Lock>
class ZR_SCOPED_CAPABILITY CRWReadScope {
public:
    explicit CRWReadScope(Lock& _lock) ZR_ACQUIRE_SHARED(_lock) : lock(_lock) { lock.EnterRead(); }
    ~CRWReadScope() ZR_RELEASE() { lock.LeaveRead(); }
    CRWReadScope(const CRWReadScope&) = delete;
    CRWReadScope& operator=(const CRWReadScope&) = delete;

private:
    Lock& lock;
};

template <class Lock>
class ZR_SCOPED_CAPABILITY CRWWriteScope {
public:
    CRWWriteScope(Lock& _lock, const char* _szLabel) ZR_ACQUIRE(_lock) : lock(_lock) { lock.EnterWrite(_szLabel); }
    ~CRWWriteScope() ZR_RELEASE() { lock.LeaveWrite(); }
    CRWWriteScope(const CRWWriteScope&) = delete;
    CRWWriteScope& operator=(const CRWWriteScope&) = delete;

private:
    Lock& lock;
};

}  // namespace zr
