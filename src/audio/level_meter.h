#pragma once
// What a level meter of one channel shows: RMS, peak, and the needle of a VU meter.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "audio/kernels/level_row.h"

namespace zr {

// The needle of a VU meter: a low-pass of second order over the rectified samples that reaches 99 % of a steady level
// in 300 ms and swings 1.25 % over it. It is only read at the end of a block, so a block costs two weighted sums: the
// state behind n samples is A^n times the old state plus, for each sample, the weight of its age.
class VuNeedle {
public:
    static constexpr size_t kMost = 512;  // samples in one Advance

    // Rebuilds the weights and puts the needle down when the rate is another one.
    void SetRate(int32_t _nRate);
    void Reset() { dblLevel = dblSpeed = 0; }
    // Weights of _nSamples samples, oldest first, for the level and the speed of the needle.
    const float* LevelWeights(size_t _nSamples) const { return arrLevel.data() + (kMost - _nSamples); }
    const float* SpeedWeights(size_t _nSamples) const { return arrSpeed.data() + (kMost - _nSamples); }
    // Moves the needle on by that many samples, of which the weighted sums are given.
    void Advance(size_t _nSamples, double _dblLevelSum, double _dblSpeedSum);
    double Level() const { return dblLevel > 0 ? dblLevel : 0; }

private:
    int32_t nRate = 0;
    double dblOmega = 0, dblDamping = 0, dblSwing = 0;  // a sample: natural frequency, decay, damped frequency
    double dblLevel = 0;
    double dblSpeed = 0;  // of the needle, as a part of the natural frequency
    std::vector<float> arrLevel, arrSpeed;
};

// One channel. One thread at a time; nothing is allocated but by the first block of a rate. Levels are in dB, minus
// infinity for silence. A stretch with samples that are no numbers, or beyond all measure, counts as silence.
class IPPMeterBase {
public:
    virtual ~IPPMeterBase() = default;
    // Forgets everything and takes another rate.
    virtual void Init(int32_t _nRate);
    // Measures the next block of samples of the meter's type, one after the other; a null pointer's level is not
    // worked out. An empty block leaves all levels as they are.
    // RMS: of the block, full-scale sine 0 dB. Peak: its largest magnitude. VU: the needle's place behind the block,
    // where a steady sine reads its mean magnitude, 3.9 dB below its peak.
    virtual void Process(const void* _pSamples, size_t _nSamples, int32_t _nRate, float* _pfRMS, float* _pfPeak,
                         float* _pfVU) = 0;
    // Of the last block.
    virtual float RMS() const;
    virtual float Peak() const;
    float VU() const;  // behind it

protected:
    void Start(int32_t _nRate, size_t _nSamples);
    // The sums over one stretch of the block, of which full scale is 1.
    void Add(size_t _nSamples, double _dblSquares, double _dblPeak, double _dblLevelSum, double _dblSpeedSum);
    void Finish(float* _pfRMS, float* _pfPeak, float* _pfVU) const;

    VuNeedle needle;

private:
    double dblSquares = 0, dblPeak = 0;
    size_t nCount = 0;
};

// Samples are int16_t, full scale 32767.
class IPPMeter16s final : public IPPMeterBase {
public:
    void Process(const void* _pSamples, size_t _nSamples, int32_t _nRate, float* _pfRMS, float* _pfPeak,
                 float* _pfVU) override;
    // The same for two channels side by side, in less time than one after the other; levels by RMS(), Peak() and VU().
    // Any alignment.
    static void ProcessPair(const void* _pSamples, size_t _nSamples, int32_t _nRate, IPPMeter16s* _pFirst,
                            IPPMeter16s* _pSecond);

private:
    void AddRow(size_t _nSamples, const LEVEL_SUMS_16& _sums);
};

// Samples are float, full scale 1.
class IPPMeter32f final : public IPPMeterBase {
public:
    void Process(const void* _pSamples, size_t _nSamples, int32_t _nRate, float* _pfRMS, float* _pfPeak,
                 float* _pfVU) override;
};

}  // namespace zr
