#pragma once
// How long an asynchronous cycle waits for its streams, so that cycles keep to the rate of the output.

#include <array>
#include <cstddef>
#include <cstdint>

namespace zr {

// The stamps of the last cycles. A function of what it is fed; mix thread only.
class PaceHistory {
public:
    static constexpr size_t kMost = 100;  // stamps

    // Begins a cycle at _rtNow, with frames of _rtFrame ticks, above 0. Returns the pace interval in ticks: negative
    // when the mixer is ahead of its pace, and then so long before the next frame is due. By the mean of the last
    // cycles, so that short jitter evens out; when it is late by more than half a frame the past is forgotten, and lost
    // time is not caught up.
    // _bReceiverPaces: a receiver is the real clock, so the mixer waits a little less. _dblFixedDiv: above 0.00001 the
    // wait is the frame divided by it, whatever the past.
    int64_t Interval(int64_t _rtNow, int64_t _rtFrame, bool _bReceiverPaces, double _dblFixedDiv);
    void Reset() { nCount = 0; }

private:
    void Add(int64_t _rtNow);

    std::array<int64_t, kMost> arrStamps{};
    size_t nFirst = 0;  // the oldest
    size_t nCount = 0;
    int64_t rtFrameBefore = 333'667;
};

}  // namespace zr
