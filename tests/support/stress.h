#pragma once
// How long the stress tests run.

namespace zr {

// The rounds of a stress test: all in an optimised build, a part in a slow one.
constexpr int StressRounds(int _nRounds) {
#if defined(__SANITIZE_THREAD__)
    return _nRounds / 10;
#elif !defined(__OPTIMIZE__)  // all test code under the address sanitizer is
    return _nRounds / 4;
#else
    return _nRounds;
#endif
}

}  // namespace zr
