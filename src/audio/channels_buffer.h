#pragma once
// Sound channel by channel: one ring of 4-byte samples (float or integers) for each, all of them at the same place.

#include <array>
#include <cstdint>
#include <span>

#include "framework/blob_holder.h"
#include "media/aud_props.h"
#include "platform/ref_object.h"
#include "platform/status.h"

namespace zr {

// Can be a member of its owner or be shared by counted reference. Not guarded: one thread at a time.
class ZrChannelsBuffer final : public AutoObjBase<ZrChannelsBuffer> {
public:
    static constexpr uint32_t kSampleBytes = 4;
    static constexpr uint32_t kMaxSamples = uint32_t{1} << 28;

    // The number of channels; above kMaxAudioChannels the others are ignored. New channels are silent as far as the
    // others are filled. S_OK: there are more channels than before. S_FALSE: there are not, as _nCount asks for no
    // more, or because _bCreate forbids to make them; fewer are dropped, and silent when they come again.
    // E_INVALIDARG: a negative count. On failure nothing is changed.
    HRESULT ChannelsSet(int32_t _nCount, bool _bCreate);
    // Room for _nFree samples more in each channel, by doubling; nothing is allocated where there is room.
    // E_INVALIDARG: more than kMaxSamples in all. On failure the rings stay as they were.
    HRESULT Reserve(uint32_t _nFree);

    // Appends _nSamples to every channel: those at _arrRows[channel], silence where that is null or the span is short.
    // Makes the room; fails as Reserve does.
    HRESULT Put(std::span<const uint8_t* const> _arrRows, uint32_t _nSamples);
    // Takes up to _nSamples, the oldest ones, out of every channel into the rows that are not null. Returns how many.
    uint32_t Get(std::span<uint8_t* const> _arrRows, uint32_t _nSamples);

    int32_t Channels() const { return nChannels; }
    uint32_t Fill() const { return nFill; }      // samples of each channel
    uint32_t Size() const { return nCapacity; }  // the same, that there is room for
    // Drops the samples; channels and memory stay.
    void Clear() { nFirst = nFill = 0; }

private:
    using Ring = CBLOBHolder<CHeapAlloc>;
    using Rings = std::array<CAutoObj<Ring>, kMaxAudioChannels>;
    struct PART {
        uint32_t nAt, nCount;
    };

    static HRESULT MakeRings(size_t _nFrom, size_t _nTo, uint32_t _nCapacity, Rings* _pRings);
    // The two pieces in which _nCount samples from _nAt lie in a ring.
    std::array<PART, 2> Parts(uint32_t _nAt, uint32_t _nCount) const;
    void Read(size_t _nChannel, uint32_t _nSamples, uint8_t* _pTo) const;

    Rings arrRings;  // those made so far, a dropped channel's too
    int32_t nChannels = 0;
    uint32_t nCapacity = 0;  // of each ring: 0 or a power of two
    uint32_t nFirst = 0;     // the oldest sample
    uint32_t nFill = 0;
};

}  // namespace zr
