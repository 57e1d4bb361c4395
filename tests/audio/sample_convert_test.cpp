#include "audio/sample_convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "media/aud_props.h"
#include "support/row_test.h"

namespace zr {
namespace {

using test::Bytes;

constexpr int32_t arrFormats[] = {8, 16, 20, 24, 32, -32};

size_t CbOf(int32_t _nBits) { return static_cast<size_t>(AudBytesPerSample(_nBits)); }

// The number of 32 bits that an integer sample is the upper part of. 8 bits stand above an offset.
int64_t ReadPcm(const uint8_t* _p, size_t _cb) {
    int64_t n = 0;
    if (_cb == 1) return (int64_t{*_p} - 128) << 24;
    for (size_t i = 0; i < _cb; ++i) n += int64_t{_p[i]} << (8 * i);
    const int64_t nFull = int64_t{1} << (8 * _cb - 1);
    return (n >= nFull ? n - 2 * nFull : n) * (int64_t{1} << (32 - 8 * _cb));
}

Bytes WritePcm(int64_t _n, size_t _cb) {
    Bytes bytes;
    if (_cb == 1) return {static_cast<uint8_t>((_n >> 24) + 128)};
    for (size_t i = 4 - _cb; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(_n >> (8 * i)));
    return bytes;
}

// The nearest integer, ties to even, limited to _nBits.
int64_t Nearest(long double _f, int32_t _nBits) {
    const long double full = std::ldexp(1.0L, _nBits - 1);
    if (std::isnan(_f)) return 0;
    if (_f >= full - 1) return static_cast<int64_t>(full) - 1;
    if (_f <= -full) return -static_cast<int64_t>(full);
    const auto nFloor = static_cast<int64_t>(std::floor(_f));
    const long double rest = _f - std::floor(_f);
    return nFloor + (rest > 0.5L || (rest == 0.5L && nFloor % 2 != 0) ? 1 : 0);
}

Bytes Expected(int32_t _nFrom, const uint8_t* _p, int32_t _nTo) {
    if (_nFrom == _nTo) return {_p, _p + CbOf(_nFrom)};
    if (_nFrom == -32) {
        float f;
        std::memcpy(&f, _p, 4);
        const int64_t n = Nearest(std::ldexp(static_cast<long double>(f), _nTo - 1), _nTo);
        return WritePcm(n * (int64_t{1} << (32 - _nTo)), CbOf(_nTo));
    }
    const int64_t n = ReadPcm(_p, CbOf(_nFrom));
    if (_nTo == -32) {
        const auto f = static_cast<float>(static_cast<double>(n) / 2147483648.0);
        Bytes bytes(4);
        std::memcpy(bytes.data(), &f, 4);
        return bytes;
    }
    if (_nTo >= static_cast<int32_t>(8 * CbOf(_nFrom))) return WritePcm(n, CbOf(_nTo));
    const int64_t nStep = int64_t{1} << (32 - _nTo);
    const auto nRounded = static_cast<int64_t>(std::floor(std::ldexp(static_cast<double>(n), _nTo - 32) + 0.5));
    return WritePcm(std::min(nRounded, (int64_t{1} << (_nTo - 1)) - 1) * nStep, CbOf(_nTo));
}

// Floats around all steps, ties and limits of the integers, and those that are no sound at all.
Bytes HarshFloats(std::mt19937& _rng, size_t _n) {
    constexpr float fInf = std::numeric_limits<float>::infinity();
    static constexpr float arrHarsh[] = {0.0f,          -0.0f,
                                         1.0f,          -1.0f,
                                         0x0.ffffffp0f, -0x1.000002p0f,
                                         1.5f,          -40.0f,
                                         fInf,          -fInf,
                                         3e38f,         -3e38f,
                                         1e-42f,        std::numeric_limits<float>::quiet_NaN(),
                                         0x0.7fff8p0f,  -0x0.7fff8p0f};
    Bytes bytes(_n * 4);
    for (size_t i = 0; i < _n; ++i) {
        const auto nRandom = static_cast<uint32_t>(_rng());
        const auto nTies = static_cast<float>(static_cast<int32_t>(nRandom << 8) >> 8);
        float f = std::ldexp(nTies, -static_cast<int>(16 + nRandom / 0x1000000 % 16));  // k / 2 steps of 16 to 24 bits
        if (nRandom >> 30 == 0) f = arrHarsh[nRandom % std::size(arrHarsh)];
        std::memcpy(&bytes[i * 4], &f, 4);
    }
    return bytes;
}

void Check(int32_t _nFrom, int32_t _nTo, std::mt19937& _rng, size_t _n, size_t _nSkew) {
    SCOPED_TRACE(testing::Message() << _nFrom << " to " << _nTo << " bits, " << _n << " samples");
    const Bytes src = _nFrom == -32 ? HarshFloats(_rng, _n) : test::HarshBytes(_rng, _n * CbOf(_nFrom));
    const test::SourceRow srcRow(src, _nSkew);
    test::GuardedRow dstRow(_n * CbOf(_nTo), _nSkew * 3);
    ASSERT_EQ(ConvertSamples(_nFrom, srcRow.Get(), _nTo, dstRow.Get(), _n), S_OK);
    const Bytes dst = dstRow.Take();
    for (size_t i = 0; i < _n; ++i) {
        const Bytes expected = Expected(_nFrom, &src[i * CbOf(_nFrom)], _nTo);
        const auto pSample = dst.begin() + static_cast<ptrdiff_t>(i * CbOf(_nTo));
        ASSERT_EQ(Bytes(pSample, pSample + static_cast<ptrdiff_t>(CbOf(_nTo))), expected) << "sample " << i;
    }
}

TEST(ConvertSamples, EachFormatToEach) {
    test::OnEveryTarget(70, [](std::mt19937& _rng, size_t _n, size_t _nSkew) {
        for (const int32_t nFrom : arrFormats)
            for (const int32_t nTo : arrFormats) Check(nFrom, nTo, _rng, _n, _nSkew);
    });
    std::mt19937 rng(3);
    for (const int32_t nFrom : arrFormats)
        for (const int32_t nTo : arrFormats) Check(nFrom, nTo, rng, 20011, 1);
    EXPECT_EQ(ConvertSamples(12, nullptr, 16, nullptr, 1), ZR_E_NOT_SUPPORTED);
    EXPECT_EQ(ConvertSamples(16, nullptr, 0, nullptr, 1), ZR_E_NOT_SUPPORTED);
}

}  // namespace
}  // namespace zr
