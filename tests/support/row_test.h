#pragma once
// What the tests of row kernels share: random bytes with many extremes, rows between guard bytes at skewed addresses,
// and a run on every instruction set that the machine has.

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace zr::test {

using Bytes = std::vector<uint8_t>;

inline Bytes HarshBytes(std::mt19937& _rng, size_t _n) {
    static constexpr uint8_t arrHarsh[] = {0, 1, 15, 16, 127, 128, 129, 254, 255, 255};
    Bytes bytes(_n);
    for (uint8_t& n : bytes) {
        const auto nRandom = static_cast<uint32_t>(_rng());
        n = nRandom & 0x100 ? arrHarsh[nRandom % std::size(arrHarsh)] : static_cast<uint8_t>(nRandom);
    }
    return bytes;
}

// A row in memory of exactly its size, so that AddressSanitizer sees a read beside it, at an odd address.
class SourceRow {
public:
    SourceRow(const Bytes& _bytes, size_t _nSkew) : nSkew(_nSkew), p(new uint8_t[_nSkew + _bytes.size()]) {
        if (!_bytes.empty()) std::memcpy(p.get() + nSkew, _bytes.data(), _bytes.size());
    }
    const uint8_t* Get() const { return p.get() + nSkew; }

private:
    size_t nSkew;
    std::unique_ptr<uint8_t[]> p;
};

// A row to be written, with guard bytes on both sides that are checked when it is taken.
class GuardedRow {
public:
    explicit GuardedRow(size_t _cb, size_t _nSkew = 0)
        : cb(_cb), nFront(kGuard + _nSkew), arrBytes(nFront + _cb + kGuard, 0xA5) {}
    GuardedRow(const Bytes& _bytes, size_t _nSkew) : GuardedRow(_bytes.size(), _nSkew) {
        std::copy(_bytes.begin(), _bytes.end(), arrBytes.begin() + static_cast<ptrdiff_t>(nFront));
    }
    uint8_t* Get() { return arrBytes.data() + nFront; }
    Bytes Take() const {
        for (size_t i = 0; i < nFront; ++i) EXPECT_EQ(arrBytes[i], 0xA5) << nFront - i << " bytes before the row";
        for (size_t i = nFront + cb; i < arrBytes.size(); ++i)
            EXPECT_EQ(arrBytes[i], 0xA5) << i - nFront - cb << " bytes behind the row";
        return {arrBytes.begin() + static_cast<ptrdiff_t>(nFront),
                arrBytes.begin() + static_cast<ptrdiff_t>(nFront + cb)};
    }

private:
    static constexpr size_t kGuard = 64;
    size_t cb, nFront;
    Bytes arrBytes;
};

// Calls _check(rng, nLength, nSkew) on every instruction set for lengths from 0 to _nMax, until something fails.
template <class Check>
void OnEveryTarget(size_t _nMax, const Check& _check) {
    for (int64_t nTarget : hwy::SupportedAndGeneratedTargets()) {
        SCOPED_TRACE(hwy::TargetName(static_cast<uint32_t>(nTarget)));
        hwy::SetSupportedTargetsForTest(nTarget);
        std::mt19937 rng(7);
        for (size_t n = 0; n <= _nMax && !testing::Test::HasFailure(); ++n) _check(rng, n, n % 7);
        hwy::SetSupportedTargetsForTest(0);
    }
}

}  // namespace zr::test
