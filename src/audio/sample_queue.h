#pragma once
// Samples that wait between a source whose frames have one length and an output whose frames have another.

#include <cstdint>
#include <cstring>
#include <vector>

#include "audio/sample_convert.h"
#include "media/aud_props.h"

namespace zr {

// Interleaved samples, first in, first out. Its memory only grows: a steady flow allocates nothing. One thread at a
// time. Throws std::bad_alloc.
class SampleQueue {
public:
    // Drops what it holds. _props: usable, the format of what comes.
    void Restart(const ZR_AUD_PROPS& _props) {
        cbSample = static_cast<size_t>(AudBlockBytes(_props));
        nSilence = SilenceByte(_props.nBitsPerSample);
        nHead = nTail = 0;
    }
    int64_t Count() const { return static_cast<int64_t>((nTail - nHead) / cbSample); }
    int64_t Room() const { return static_cast<int64_t>(arrBytes.size() / cbSample); }  // in all

    // Null appends silence.
    void Append(const uint8_t* _p, int64_t _nSamples) {
        const size_t cb = static_cast<size_t>(_nSamples) * cbSample;
        if (cb == 0) return;
        uint8_t* const pRoom = MakeRoom(cb);
        _p ? std::memcpy(pRoom, _p, cb) : std::memset(pRoom, nSilence, cb);
        nTail += cb;
    }
    const uint8_t* Data() const { return arrBytes.data() + nHead; }
    // Copies up to _nSamples out (_p null: drops them) and returns how many there were.
    int64_t Take(uint8_t* _p, int64_t _nSamples) {
        const int64_t nTaken = _nSamples < Count() ? _nSamples : Count();
        const size_t cb = static_cast<size_t>(nTaken) * cbSample;
        if (_p && cb > 0) std::memcpy(_p, arrBytes.data() + nHead, cb);
        nHead += cb;
        return nTaken;
    }

private:
    uint8_t* MakeRoom(size_t _cb) {
        if (arrBytes.size() - nTail < _cb) {
            if (nHead > 0) std::memmove(arrBytes.data(), arrBytes.data() + nHead, nTail - nHead);
            nTail -= nHead;
            nHead = 0;
            if (arrBytes.size() - nTail < _cb) arrBytes.resize(2 * (nTail + _cb));
        }
        return arrBytes.data() + nTail;
    }

    std::vector<uint8_t> arrBytes;  // what is held stands from nHead to nTail
    size_t nHead = 0;
    size_t nTail = 0;
    size_t cbSample = 1;
    uint8_t nSilence = 0;
};

}  // namespace zr
