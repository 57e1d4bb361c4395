#include "mixer/mixer_state.h"

#include <thread>

namespace zr {
namespace {

thread_local const MixerState::Work* pInnermost = nullptr;

}  // namespace

MixerState::Work::Work(const MixerState& _state) : state(_state), pOuter(pInnermost) { pInnermost = this; }

MixerState::Work::~Work() { pInnermost = pOuter; }

bool MixerState::IsWorking() const {
    for (const Work* p = pInnermost; p; p = p->pOuter) {
        if (&p->state == this) return true;
    }
    return false;
}

bool MixerState::Enter(const char* _szLabel) {
    if (!IsWorking()) {
        lock.EnterWrite(_szLabel);
        return true;
    }
    for (;;) {
        if (lock.TryEnterWrite(_szLabel)) return true;
        const char* const szWriter = lock.WriterLabel();
        if (szWriter && szWriter != kEndOfPauseLabel) return false;
        std::this_thread::yield();  // whoever has it now waits for nobody
    }
}

}  // namespace zr
