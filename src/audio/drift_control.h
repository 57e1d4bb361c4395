#pragma once
// How much longer or shorter sound is to be made, so that a source with a clock of its own neither runs ahead of the
// output nor falls behind.

#include <cstdint>

namespace zr {

// Looks at how much sound is held after each block. In the first seconds it learns how much that is, and then keeps it
// there, and with it the distance from the picture. A source that keeps time by itself is left alone. One thread at a
// time; all times in ticks.
class DriftControl {
public:
    // The scale for the next block, 0.995 to 1.005. _rtHeld: what is held now, with the block of _rtBlock that has just
    // come. It is kept within _rtLeast to _rtMost, which may change.
    double Next(int64_t _rtHeld, int64_t _rtBlock, int64_t _rtLeast, int64_t _rtMost);
    void Reset() { *this = {}; }

private:
    int64_t rtSeen = 0;    // of sound, since the begin
    double dblHeld = 0;    // smoothed
    double dblTarget = 0;  // known after the first seconds
    bool bActive = false;  // it has begun to correct
};

}  // namespace zr
