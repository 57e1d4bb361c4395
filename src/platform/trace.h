#pragma once
// Labelled scopes and messages for whoever looks for a fault or for lost time: lines on the standard error, off unless
// the environment says ZR_TRACE=<prefixes of labels, with commas between>, or ZR_TRACE=* for all.
//
//   14:05:47.123456Z [MixThread 4711] DoMixing_I(Draw) 1.234 ms
//   14:05:47.123999Z [MixThread 4711] DoMixing_I: source 3 is late

#include <atomic>
#include <cstdint>

namespace zr {

namespace detail {
inline constinit std::atomic<bool> bTraceOn{false};
}

// Whether any label is on: the one branch that tracing costs when it is off.
inline bool TraceIsOn() { return detail::bTraceOn.load(std::memory_order_relaxed); }

// Puts another list in place of that of the environment; null or empty turns tracing off. Not while others trace.
void SetTraceLabels(const char* _szLabels);

// Writes one line if the label is on, cut at 500 bytes. As printf; allocates nothing. Use ZR_TRACE_MESSAGE.
void TraceMessage(const char* _szLabel, const char* _szFormat, ...) __attribute__((format(printf, 2, 3)));

// The arguments behind the label are evaluated only when tracing is on.
#define ZR_TRACE_MESSAGE(_szLabel, ...) \
    (::zr::TraceIsOn() ? ::zr::TraceMessage(_szLabel, __VA_ARGS__) : static_cast<void>(0))

// Tells at its end how long it lasted. _szLabel is a literal, or outlives the scope.
class TraceScope {
public:
    explicit TraceScope(const char* _szLabel) {
        if (TraceIsOn()) [[unlikely]]
            Begin(_szLabel);
    }
    ~TraceScope() {
        if (szLabel) [[unlikely]]
            End();
    }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

private:
    void Begin(const char* _szLabel);
    void End();

    const char* szLabel = nullptr;  // null: the label is off
    int64_t rtBegin = 0;
};

}  // namespace zr
