#pragma once
// What overlays of frames keep between calls, shared by the process: scaling engines with the filter tables of the
// sizes that come back every frame, and scratch.

#include <cstddef>
#include <cstdint>

#include "platform/lock.h"
#include "video/masks.h"
#include "video/scaling_engine.h"

namespace zr {

struct OverlayEngine {
    ScalingEngine picture;
    ScalingEngine maskEngine;
    ScratchBuffer scaled;              // the overlay at its size on the base
    ScratchBuffer planes, maskPlanes;  // of planes that do not stand one behind the other
    MaskPlane alpha;                   // a mask taken from alpha
    MaskPlane scaledMask;
    uint64_t nKey = 0;  // of the geometry that the tables are for
    OverlayEngine* pNext = nullptr;
};

// Hands engines out, one to each call that runs. It never has more than ran at once, but for a few that are kept so
// that several overlays in turn find their tables.
class OverlayEngines {
public:
    static OverlayEngines& Shared();

    class Lease {
    public:
        explicit Lease(uint64_t _nKey) : p(Shared().Take(_nKey)) {}
        ~Lease() {
            if (p) Shared().Put(p);
        }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        // Null when memory is out.
        OverlayEngine* Get() const { return p; }

    private:
        OverlayEngine* const p;
    };

private:
    static constexpr size_t kKept = 8;

    // That of the geometry if there is one, else a new one until there are kKept, else the one that rested longest.
    OverlayEngine* Take(uint64_t _nKey);
    void Put(OverlayEngine* _p);

    Mutex mtx;                                           // a leaf
    OverlayEngine* pFirst ZR_GUARDED_BY(mtx) = nullptr;  // free ones, the last used first
    size_t nFree ZR_GUARDED_BY(mtx) = 0;
};

}  // namespace zr
