#pragma once
// How long the stress tests run, and on which threads.

#include <thread>
#include <vector>

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

// Calls _body(0) to _body(_nThreads - 1) at once, each on a thread of its own, and waits until all are done.
template <class Body>
void OnThreads(int _nThreads, const Body& _body) {
    std::vector<std::thread> arrThreads;
    for (int i = 0; i < _nThreads; ++i) arrThreads.emplace_back([&_body, i] { _body(i); });
    for (std::thread& thread : arrThreads) thread.join();
}

}  // namespace zr
