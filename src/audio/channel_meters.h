#pragma once
// The level meters of one side of a track, before or after its gains: one meter for each channel, and the record that
// others read.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "audio/level_meter.h"
#include "audio/loudness_meter.h"
#include "framework/lock_order.h"
#include "platform/lock.h"
#include "zr/records.h"

namespace zr {

// The audio thread measures, any thread reads; the lock is held for a copy of the record. Nothing is allocated but by
// the first block of a format.
class ChannelMeters {
public:
    static constexpr size_t kMaxChannels = 32;

    // Measures the next block. _arrChannels: the first sample of each channel; the next one of the same channel is
    // _cbStep bytes on. _props gives bits and rate only. Channels from the 33rd on are not measured; a null channel
    // keeps its levels. 16-bit samples are measured as they are, other integers as floats; a change between the two
    // begins anew. ZR_E_NOT_SUPPORTED: other bits than ConvertSamples takes. An empty block changes nothing.
    HRESULT Measure(const ZR_AUD_PROPS& _props, std::span<const uint8_t* const> _arrChannels, size_t _cbStep,
                    size_t _nSamples);
    // The same for a whole interleaved block of _props.nChannels channels.
    HRESULT Measure(const ZR_AUD_PROPS& _props, const uint8_t* _pSamples, size_t _nSamples);
    // Whether loudness, quasi-peak and true peak are measured too, over the channels together; off at first. Turning it
    // on begins a new measurement. Audio thread.
    void LoudnessSet(bool _bOn);
    // A copy of the levels behind the last block. The peaks are the highest VU and the highest true peak since the last
    // call with _bTakePeaks, which lets them begin again. Any thread.
    void Read(ZR_AUDIO_TRACK_LOUDNESS* _pLevels, bool _bTakePeaks = true);
    // Silence everywhere, and no channels.
    void Reset();

private:
    // Brings one channel's samples into arrPacked or, as floats, arrFloats; returns them as the meter wants them.
    const void* Gather(int32_t _nBits, const uint8_t* _pFirst, size_t _cbStep, size_t _nSamples);
    bool IsPair(int32_t _nBits, std::span<const uint8_t* const> _arrChannels) const;
    void MeasurePair(int32_t _nRate, size_t _nFirst, const uint8_t* _pFirst, size_t _cbStep, size_t _nSamples);
    HRESULT Prepare(int32_t _nBits, size_t _nChannels, size_t _nSamples);
    HRESULT Measure_I(const ZR_AUD_PROPS& _props, std::span<const uint8_t* const> _arrChannels, size_t _cbStep,
                      size_t _nSamples);
    void Publish(std::span<const uint8_t* const> _arrChannels);

    struct LEVELS {
        float fRMS, fVU;
    };
    // Of the audio thread.
    std::array<std::unique_ptr<IPPMeterBase>, kMaxChannels> arrMeters;
    bool b16Bit = false;  // which kind those are
    std::array<LEVELS, kMaxChannels> arrLevels{};
    std::unique_ptr<LoudnessMeter> pLoudness;  // null: off
    std::vector<uint8_t> arrPacked;            // the block of one channel, or of two of 16 bits
    std::vector<float> arrFloats;              // the same
    std::vector<float> arrInterleaved;         // the block of all channels, for the loudness

    Mutex mtxRecord{lock_order::kLoudness};
    ZR_AUDIO_TRACK_LOUDNESS record ZR_GUARDED_BY(mtxRecord);
    std::array<bool, kMaxChannels> arrPeakHeld ZR_GUARDED_BY(mtxRecord){};  // false: the next block's is the first
    bool bTruePeakHeld ZR_GUARDED_BY(mtxRecord) = false;
};

// Appends the levels of a track to those of all channels of a frame, as far as there is room.
void AppendLevels(const ZR_AUDIO_TRACK_LOUDNESS& _track, ZR_AUDIO_LOUDNESS* _pAll);

}  // namespace zr
