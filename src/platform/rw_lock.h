#pragma once
// Recursive locks: the plain counted one, and reader/writer locks that a reader may enter again while a writer waits.

#include <atomic>
#include <cstdint>

namespace zr {

// The plain lock: its owner may enter it again and leaves it as many times. Waits by a short spin, then sleeps.
class CMTSingleEx {
public:
    CMTSingleEx() = default;
    ~CMTSingleEx();
    CMTSingleEx(const CMTSingleEx&) = delete;
    CMTSingleEx& operator=(const CMTSingleEx&) = delete;

    void Enter();
    // False, and nothing taken, when another thread has it.
    bool TryEnter();
    void Leave();

private:
    void EnterContended();

    std::atomic<uint32_t> nWord{0};     // 0 free, 1 taken, 2 taken and someone sleeps
    uint32_t nDepth = 0;                // owner only
    std::atomic<uintptr_t> idOwner{0};  // the owner writes; another thread only learns that it is not itself
};

class CMTSingleExScope {
public:
    explicit CMTSingleExScope(CMTSingleEx& _lock) : lock(_lock) { lock.Enter(); }
    ~CMTSingleExScope() { lock.Leave(); }
    CMTSingleExScope(const CMTSingleExScope&) = delete;
    CMTSingleExScope& operator=(const CMTSingleExScope&) = delete;

private:
    CMTSingleEx& lock;
};

// A lock with a shared and an exclusive side. Both sides may be entered again by the thread that has them, and the
// exclusive owner may also read-enter; a thread that has only the shared side must not ask for the exclusive one.
// _szLabel names the place that writes, for diagnosis: a literal, or a text that outlives the hold.
class CRWSynchroLiteBase {
public:
    virtual ~CRWSynchroLiteBase() = default;

    virtual void EnterRead() = 0;
    // False, and nothing taken, when it would have to wait.
    virtual bool TryEnterRead() = 0;
    virtual void LeaveRead() = 0;
    virtual void EnterWrite(const char* _szLabel) = 0;
    virtual bool TryEnterWrite(const char* _szLabel) = 0;
    virtual void LeaveWrite() = 0;

    // Who has the exclusive side now; null when nobody has. Any thread.
    const char* WriterLabel() const { return szWriter.load(std::memory_order_relaxed); }

protected:
    CRWSynchroLiteBase() = default;
    CRWSynchroLiteBase(const CRWSynchroLiteBase&) = delete;
    CRWSynchroLiteBase& operator=(const CRWSynchroLiteBase&) = delete;

    std::atomic<const char*> szWriter{nullptr};
};

// One plain lock for both sides: for data that is held too briefly for sharing to pay.
class CRWSynchroLiteCS final : public CRWSynchroLiteBase {
public:
    void EnterRead() override { cs.Enter(); }
    bool TryEnterRead() override { return cs.TryEnter(); }
    void LeaveRead() override { cs.Leave(); }
    void EnterWrite(const char* _szLabel) override;
    bool TryEnterWrite(const char* _szLabel) override;
    void LeaveWrite() override;

private:
    CMTSingleEx cs;
    uint32_t nWrites = 0;  // under cs
};

// Readers share. A waiting writer stops new readers, but a thread that already reads gets in again, so that it cannot
// deadlock with the writer. Entering to read costs one atomic operation, or none when the thread reads already.
class CRWSynchroLiteRW final : public CRWSynchroLiteBase {
public:
    CRWSynchroLiteRW() = default;
    ~CRWSynchroLiteRW() override;

    void EnterRead() override;
    bool TryEnterRead() override;
    void LeaveRead() override;
    void EnterWrite(const char* _szLabel) override;
    bool TryEnterWrite(const char* _szLabel) override;
    void LeaveWrite() override;

private:
    bool EnterReadPastWriter(bool _bMayWait, bool _bMayPass);
    void DropReader();
    void WaitForReaders();

    // The low bits count the threads that read; the two top bits tell of a writer. One word, so that a writer takes
    // the lock only in the very instant in which nobody reads.
    std::atomic<uint32_t> nState{0};
    uint32_t nWrites = 0;  // how often its owner has the exclusive side; under cs
    CMTSingleEx cs;        // held by the writer; new readers queue here behind it
};

template <class Lock>
class CRWReadScope {
public:
    explicit CRWReadScope(Lock& _lock) : lock(_lock) { lock.EnterRead(); }
    ~CRWReadScope() { lock.LeaveRead(); }
    CRWReadScope(const CRWReadScope&) = delete;
    CRWReadScope& operator=(const CRWReadScope&) = delete;

private:
    Lock& lock;
};

template <class Lock>
class CRWWriteScope {
public:
    CRWWriteScope(Lock& _lock, const char* _szLabel) : lock(_lock) { lock.EnterWrite(_szLabel); }
    ~CRWWriteScope() { lock.LeaveWrite(); }
    CRWWriteScope(const CRWWriteScope&) = delete;
    CRWWriteScope& operator=(const CRWWriteScope&) = delete;

private:
    Lock& lock;
};

}  // namespace zr
