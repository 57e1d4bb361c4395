#include "apps/zrmix/interrupt.h"

#include <csignal>

namespace zrmix {
namespace {

volatile int bInterrupted = 0;
void OnSignal(int) { bInterrupted = 1; }

}  // namespace

void CatchInterrupts() {
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
}

const volatile int* InterruptFlag() { return &bInterrupted; }

}  // namespace zrmix
