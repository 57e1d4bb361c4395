#include "frame_module/channel_samples.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zr {

namespace {

// A sample format: how it reads as float and how a float becomes it. Integers are numbers of 32 bits with the low ones
// missing, so all of them scale by 2^31.
template <int32_t nBits>
struct Sample;

// Rounded to nBits bits, saturated.
int32_t Quantise(float _f, int32_t _nBits) {
    if (std::isnan(_f)) return 0;
    const double dblFull = std::ldexp(1.0, _nBits - 1);
    return static_cast<int32_t>(std::lrint(std::clamp(_f * dblFull, -dblFull, dblFull - 1)));
}

template <>
struct Sample<8> {
    static float Read(const uint8_t* _p) { return (static_cast<float>(*_p) - 128.0f) / 128.0f; }
    static void Write(uint8_t* _p, float _f) { *_p = static_cast<uint8_t>(Quantise(_f, 8) + 128); }
};

// 20 bits stand in the upper bits of three bytes.
template <int32_t nBits>
struct Sample24 {
    static float Read(const uint8_t* _p) {
        const uint32_t n = uint32_t{_p[0]} << 8 | uint32_t{_p[1]} << 16 | uint32_t{_p[2]} << 24;
        return static_cast<float>(static_cast<int32_t>(n)) * 0x1p-31f;
    }
    static void Write(uint8_t* _p, float _f) {
        const uint32_t n = static_cast<uint32_t>(Quantise(_f, nBits)) << (24 - nBits);
        for (int i = 0; i < 3; ++i) _p[i] = static_cast<uint8_t>(n >> (8 * i));
    }
};
template <>
struct Sample<20> : Sample24<20> {};
template <>
struct Sample<24> : Sample24<24> {};

template <>
struct Sample<32> {
    static float Read(const uint8_t* _p) {
        int32_t n;
        std::memcpy(&n, _p, sizeof(n));
        return static_cast<float>(n) * 0x1p-31f;
    }
    static void Write(uint8_t* _p, float _f) {
        const int32_t n = Quantise(_f, 32);
        std::memcpy(_p, &n, sizeof(n));
    }
};

template <>
struct Sample<-32> {
    static float Read(const uint8_t* _p) {
        float f;
        std::memcpy(&f, _p, sizeof(f));
        return f;
    }
    static void Write(uint8_t* _p, float _f) { std::memcpy(_p, &_f, sizeof(_f)); }
};

template <class S>
void TakeFloats(const uint8_t* _pFirst, size_t _nStep, size_t _nSamples, float* _pRow) {
    for (size_t i = 0; i < _nSamples; ++i) _pRow[i] = S::Read(_pFirst + i * _nStep);
}

template <class S>
void PutFloats(const float* _pRow, size_t _nStep, size_t _nSamples, uint8_t* _pFirst) {
    for (size_t i = 0; i < _nSamples; ++i) {
        uint8_t* p = _pFirst + i * _nStep;
        if (S::Read(p) != _pRow[i]) S::Write(p, _pRow[i]);
    }
}

}  // namespace

int32_t ChannelSampleBytes(int32_t _nBitsPerSample) { return _nBitsPerSample == 16 ? 2 : 4; }

void TakeChannel(int32_t _nBitsPerSample, const uint8_t* _pFirst, size_t _nStep, size_t _nSamples, void* _pRow) {
    auto* pFloats = static_cast<float*>(_pRow);
    switch (_nBitsPerSample) {
        case 8: return TakeFloats<Sample<8>>(_pFirst, _nStep, _nSamples, pFloats);
        case 16:
            for (size_t i = 0; i < _nSamples; ++i)
                std::memcpy(static_cast<uint8_t*>(_pRow) + i * 2, _pFirst + i * _nStep, 2);
            return;
        case 20: return TakeFloats<Sample<20>>(_pFirst, _nStep, _nSamples, pFloats);
        case 24: return TakeFloats<Sample<24>>(_pFirst, _nStep, _nSamples, pFloats);
        case 32: return TakeFloats<Sample<32>>(_pFirst, _nStep, _nSamples, pFloats);
        case -32: return TakeFloats<Sample<-32>>(_pFirst, _nStep, _nSamples, pFloats);
        default: return;
    }
}

void PutChannel(int32_t _nBitsPerSample, const void* _pRow, size_t _nStep, size_t _nSamples, uint8_t* _pFirst) {
    const auto* pFloats = static_cast<const float*>(_pRow);
    switch (_nBitsPerSample) {
        case 8: return PutFloats<Sample<8>>(pFloats, _nStep, _nSamples, _pFirst);
        case 16:
            for (size_t i = 0; i < _nSamples; ++i)
                std::memcpy(_pFirst + i * _nStep, static_cast<const uint8_t*>(_pRow) + i * 2, 2);
            return;
        case 20: return PutFloats<Sample<20>>(pFloats, _nStep, _nSamples, _pFirst);
        case 24: return PutFloats<Sample<24>>(pFloats, _nStep, _nSamples, _pFirst);
        case 32: return PutFloats<Sample<32>>(pFloats, _nStep, _nSamples, _pFirst);
        case -32: return PutFloats<Sample<-32>>(pFloats, _nStep, _nSamples, _pFirst);
        default: return;
    }
}

void FillSilence(int32_t _nBitsPerSample, uint8_t* _p, size_t _cb) {
    if (_cb > 0) std::memset(_p, _nBitsPerSample == 8 ? 0x80 : 0, _cb);
}

}  // namespace zr
