#pragma once
// Blocks of sound from one channel count, rate and sample format to another, in one pass.

#include <array>
#include <cstdint>
#include <vector>

#include "audio/resampler.h"
#include "platform/status.h"
#include "zr/records.h"

namespace zr {

inline constexpr int32_t kMaxConvertedChannels = 32;

// One thread at a time. What its resamplers remember goes on from block to block.
class ZrAudioConverter {
public:
    // _nSamples: of each channel that a block is expected to have, for which the room is made at once. _dblScale: the
    // output comes out that much longer, 0.1 to 10.0; it makes good for a clock that is fast or slow. Another
    // format on either side forgets the sound before it, another scale does not. S_OK: rebuilt. S_FALSE: nothing has
    // changed. E_INVALIDARG: the scale. VFW_E_UNSUPPORTED_AUDIO: a format. E_FAIL: rates too far apart.
    HRESULT Init(const ZR_AUD_PROPS& _src, const ZR_AUD_PROPS& _dst, int32_t _nSamples, double _dblScale);
    // _cbSrc bytes of the source format, of which a started sample is ignored. *_pcbDst: in the room at _pDst, out what
    // was written, or, with _pDst null, the room that the block needs. E_INVALIDARG: less room than that, and nothing
    // is done; the scale; or no size.
    HRESULT Convert(const uint8_t* _pSrc, int32_t _cbSrc, uint8_t* _pDst, int32_t* _pcbDst, double _dblScale);
    // Before the first block after Reset, or after Init when the sound before was forgotten: what comes before the
    // block is taken to be its mirror image, so that the sound starts at once and not out of a silence that it never
    // had. *_pnEarly: so many samples that the next Convert gives lie before the block.
    HRESULT Prime(const uint8_t* _pSrc, int64_t _nSamples, int64_t* _pnEarly);
    // Whether Init with these formats will not forget the sound before.
    bool GoesOn(const ZR_AUD_PROPS& _src, const ZR_AUD_PROPS& _dst) const;
    const ZR_AUD_PROPS& Source() const { return src; }
    // Samples of the source that a result needs, of which half come behind it; 0 where rates are the same.
    size_t Taps() const;
    // Forgets the sound before.
    void Reset();

    // Computes what Init would otherwise compute while its caller waits. Any thread; throws std::bad_alloc.
    static void Prepare(const ZR_AUD_PROPS& _src, const ZR_AUD_PROPS& _dst, double _dblScale);

private:
    template <class SAMPLE>
    struct ROWS {
        std::vector<SAMPLE> arrIn, arrMixed, arrOut;  // channel after channel
    };

    int32_t RoomFor(int64_t _nSamples, double _dblScale) const;
    template <class SAMPLE>
    const SAMPLE* MixChannels(ROWS<SAMPLE>& _rows, size_t _nSamples) const;
    template <class SAMPLE, class RESAMPLER>
    int64_t Run(ROWS<SAMPLE>& _rows, std::vector<RESAMPLER>& _arrResamplers, const uint8_t* _pSrc, size_t _nSamples,
                uint8_t* _pDst, size_t _nRoom);

    ZR_AUD_PROPS src, dst;
    double dblScale = 0;
    std::vector<IPPResampler16s> arr16s;  // one for each destination channel, of the kind that is needed
    std::vector<IPPResampler32f> arr32f;
    ROWS<int16_t> rows16s;
    ROWS<float> rows32f;
    std::vector<uint8_t> arrPacked;  // interleaved floats
};

// A block that stands alone: _arrDst gets *_pnDst samples of it in the other format, as long as it was and from its
// begin to its end.
HRESULT ConvertAlone(const ZR_AUD_PROPS& _src, const uint8_t* _pSrc, int64_t _nSrc, const ZR_AUD_PROPS& _dst,
                     std::vector<uint8_t>& _arrDst, int64_t* _pnDst);

}  // namespace zr
