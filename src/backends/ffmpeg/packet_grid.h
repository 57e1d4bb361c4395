#pragma once
// Where packets of sound stand, in files whose stamps are coarser than a sample.

#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace zr {

// Codecs cut sound into packets of one size, so that all of them stand on a grid. Played from the start, packets follow
// each other to the sample and show the grid; after a jump the first packet's stamp, rounded to a millisecond say,
// names one place of it. Without this a jump would move the sound by up to half a unit of the stamps.
class PacketGrid {
public:
    // _dblUnit: of the stamps, in samples. A file with finer ones needs no grid.
    void Init(double _dblUnit) { *this = PacketGrid(), dblUnit = _dblUnit; }

    // More packets are needed to know it.
    bool Learning() const { return dblUnit > 1 && !bKnown && !bBroken; }
    // The first packet since a jump: the place that its stamp stands for, both in samples.
    double Place(double _dblStamp) const {
        if (!bKnown || bBroken || dblUnit <= 1 || dblUnit * 2 > nSize) return _dblStamp;
        const double dblOnGrid = dblPhase + std::round((_dblStamp - dblPhase) / nSize) * nSize;
        return std::abs(_dblStamp - dblOnGrid) <= dblUnit + 1 ? dblOnGrid : _dblStamp;
    }
    // A packet in the first run from the start of the file. The first one may have been trimmed.
    void Learn(double _dblStamp, int _nSamples) {
        if (nPackets == 0) nNext = std::llround(_dblStamp);
        if (nPackets == 1) {
            nSize = _nSamples;
            dblPhase = static_cast<double>(nNext);
        }
        if (nPackets >= 1 && _nSamples != nSize) bBroken = bBroken || nPackets < 3 || bOdd;
        bOdd = bOdd || (nPackets >= 1 && _nSamples != nSize);  // one is the last of the file, two are another codec
        nNext += _nSamples;
        bKnown = ++nPackets >= 3;
    }

private:
    double dblUnit = 0;
    int64_t nNext = 0;
    int64_t nPackets = 0;
    int nSize = 0;
    double dblPhase = 0;
    bool bKnown = false;
    bool bOdd = false;
    bool bBroken = false;
};

}  // namespace zr
