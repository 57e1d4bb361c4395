#pragma once
// Time. Every reading of the time and every wait of the library goes through this layer, so that all of it can run on
// a virtual clock: a day of show in seconds, and the same way each time.
//
// On the virtual clock the counted threads (those that Thread starts, and those that hold a ClockThread) run one at a
// time. A thread that waits, ends, or waits for a Mutex passes the turn to the thread that became ready first. When no
// thread is ready, the time jumps to the earliest deadline anyone waits for; of threads due at the same instant the one
// that began to wait first goes first, and the next only when that one waits again. As threads meet only through the
// objects of this layer, a run is the same each time. Work takes no time: the time stands while a thread runs.
// For that a counted thread must not wait by other means: no std::mutex, std::condition_variable or spin on an atomic
// that another counted thread sets (or a spin that sleeps, SleepFor), and a ClockBlockingCall around system calls that
// block.
// Threads that are not counted run as they come; their waits end in virtual time too, but time does not wait for them.

#include <cstdint>
#include <limits>
#include <string>

namespace zr {

// Times and durations are in 100 ns ticks.
inline constexpr int64_t kTicksPerSecond = 10'000'000;
inline constexpr int64_t kTicksPerMs = 10'000;
inline constexpr int64_t kNever = std::numeric_limits<int64_t>::max();  // a deadline that does not come

// Monotonic time in ticks. On the real clock the origin is the start of the machine.
int64_t ClockNow();
// Time of day in ticks since 1970-01-01 00:00 UTC; may be set back or forward by the system.
int64_t WallNow();

// Returns after _rtTicks; 0 or less lets the threads run that can run now. A wait that must end early is a WaitAny with
// the stop event.
void SleepFor(int64_t _rtTicks);
void SleepUntil(int64_t _rtTime);

// _rtTime + _rtTicks, held at kNever; a negative duration is without limit.
constexpr int64_t DeadlineAfter(int64_t _rtTime, int64_t _rtTicks) {
    return _rtTicks < 0 || _rtTime > kNever - _rtTicks ? kNever : _rtTime + _rtTicks;
}

// Counts the calling thread for its lifetime, if it is not counted yet. For threads that Thread did not start.
class ClockThread {
public:
    explicit ClockThread(const char* _szName);
    ~ClockThread();
    ClockThread(const ClockThread&) = delete;
    ClockThread& operator=(const ClockThread&) = delete;

private:
    bool bListedBefore;
    bool bCountedBefore;
};

// Installs the virtual clock for its lifetime and counts the thread that makes it. One at a time; made and destroyed on
// the same thread. Make it before the objects that are to run on it, and destroy it after them: a timer armed on one
// clock means nothing on the other. Threads that wait meanwhile go on waiting for what is left of their time.
class VirtualClock {
public:
    // Default start of the virtual time, and of its time of day: 2024-01-01 00:00 UTC.
    static constexpr int64_t kStart = 1000 * kTicksPerSecond;
    static constexpr int64_t kWallStart = 1'704'067'200 * kTicksPerSecond;

    // _nSeed: 0 runs the threads in the order said above; any other value shuffles those that could run at an instant,
    // each value in its own way and the same way each time. _rtStart: 0 or more.
    explicit VirtualClock(uint64_t _nSeed = 0, int64_t _rtStart = kStart, int64_t _rtWallStart = kWallStart);
    ~VirtualClock();
    VirtualClock(const VirtualClock&) = delete;
    VirtualClock& operator=(const VirtualClock&) = delete;

    // True while every counted thread waits and nobody waits for a time: only a thread that is not counted can end it.
    static bool IsStalled();
    // Called, without a lock, the first time that happens on a clock, with DescribeThreads(). The default writes the
    // text to the standard error. nullptr puts the default back. It must not wait.
    static void SetStallHandler(void (*_pHandler)(const char* _szThreads));

private:
    ClockThread thread;
};

// Around a call that blocks in the operating system (a read from a socket, a wait for a process): meanwhile the thread
// is not counted, and the time may go on without it. Not around work, such as the reading of a file, which is to take
// no time.
class ClockBlockingCall {
public:
    ClockBlockingCall();
    ~ClockBlockingCall();
    ClockBlockingCall(const ClockBlockingCall&) = delete;
    ClockBlockingCall& operator=(const ClockBlockingCall&) = delete;

private:
    bool bWasCounted;
};

// For diagnosis: one line per known thread (counted or waiting): name, id, what it does, and until when it waits.
std::string DescribeThreads();

}  // namespace zr
