#pragma once
// Settings of an object's sound as a whole, whether its tracks are known yet or not.

#include <cstdint>

#include "zr/unknown.h"

namespace zr {

// Beside IZrAudio, for callers in this library: as the operations of each track, for those that there are and for those
// that come later.
struct IZrAllTracks : IUnknown {
    static constexpr GUID kIid = GuidOf("7D3A51C8-0E94-4B6F-8A2C-5F19D6E3B740");

    virtual HRESULT AllTracksGainSet(int32_t _nChannel, double _dblGain, double _dblTimeForChange) = 0;
    virtual HRESULT AllTracksMuteSet(int32_t _nChannel, int32_t _bMute, double _dblTimeForChange) = 0;
};

}  // namespace zr
