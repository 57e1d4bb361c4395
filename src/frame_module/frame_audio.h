#pragma once
// The audio of a frame: interleaved samples, and on request rows of single channels to work on.

#include <cstdint>
#include <span>
#include <vector>

#include "frame_module/frame_buffer.h"
#include "platform/status.h"
#include "zr/records.h"

namespace zr {

// The format (ZR_AUD_PROPS) stands beside it in the frame and is passed in. One thread at a time.
class FrameAudio {
public:
    bool Empty() const { return cbAudio == 0; }
    uint8_t* Data() const { return pBuffer ? pBuffer->Data() : nullptr; }
    uint32_t Size() const { return cbAudio; }     // bytes
    int32_t Samples() const { return nSamples; }  // of each channel

    // Drops everything; the list of rows keeps its room.
    void Reset();
    // Replaces the audio by _cb bytes without content and without a format.
    HRESULT AllocBytes(uint64_t _cb);
    // Replaces the audio by _nSamples samples in a format: those at _p, silence for null. E_INVALIDARG: the format is
    // not usable, has more than kMaxAudioChannels, a negative count, or more than BufferPool::kMaxBytes. On failure the
    // old audio is kept.
    HRESULT Set(const ZR_AUD_PROPS& _props, int32_t _nSamples, const void* _p);
    // Becomes a copy.
    HRESULT Copy(const FrameAudio& _from);

    // Lays a format over the bytes, and then puts the channels with the indexes of _arrRemap (empty: no remap) in this
    // order in place of all. With a usable old format, the new one must divide the bytes in the same way; what is not
    // usable leaves the old one but for rate and track bits. On failure nothing is changed. E_INVALIDARG: the bytes
    // cannot be that. ZR_E_BAD_INDEX: there is no channel of an index. ZR_E_EMPTY: a remap of bytes without a format.
    HRESULT Describe(const ZR_AUD_PROPS& _new, std::span<const int32_t> _arrRemap, ZR_AUD_PROPS* _pProps);

    // The row of a channel, see IZrFFrame::ZrFAudioChannelGetBytes. It stays where it is until the audio is replaced.
    HRESULT ChannelRow(const ZR_AUD_PROPS& _props, int32_t _nChannel, bool _bCreate, uint32_t* _pcb, uint8_t** _pp);
    // Writes back the rows that were asked for since the last update. S_FALSE: there is none.
    HRESULT UpdateChannels(ZR_AUD_PROPS* _pProps);

private:
    struct Row {
        BufferPtr pBuffer;  // empty where nobody asked
        bool bOut = false;  // to be written back
    };

    void Take(FrameAudio* _pFrom, int32_t _nSamples);
    HRESULT Remap(std::span<const int32_t> _arrChannels, const ZR_AUD_PROPS& _props, FrameAudio* _pMapped) const;
    HRESULT Widen(int32_t _nChannels, ZR_AUD_PROPS* _pProps);

    BufferPtr pBuffer;
    uint32_t cbAudio = 0;
    int32_t nSamples = 0;      // 0 while the format is not known
    std::vector<Row> arrRows;  // by channel
};

}  // namespace zr
