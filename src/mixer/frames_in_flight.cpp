#include "mixer/frames_in_flight.h"

#include <iterator>

namespace zr {

HRESULT FramesInFlight::Start() {
    return thread.IsRunning() == CBaseThread::kRunning ? S_FALSE : thread.Start(this, &FramesInFlight::Run);
}

HRESULT FramesInFlight::Stop() {
    const HRESULT hr = thread.Stop(-1);
    return Failed(hr) ? hr : S_OK;
}

// With the end of the thread, so that one that stops itself leaves nothing behind. The mix thread has gone before.
void FramesInFlight::Clear() {
    std::vector<std::unique_ptr<FLIGHT>> arrGone;
    {
        MutexLock lock(mtx);
        arrGone.swap(arrLine);
        nDone = 0;
    }
    arrFree.clear();
    evDone.Reset();
}

FLIGHT& FramesInFlight::Next() {
    if (arrFree.empty()) arrFree.push_back(std::make_unique<FLIGHT>());
    return *arrFree.back();
}

void FramesInFlight::Push() {
    {
        MutexLock lock(mtx);
        arrLine.push_back(std::move(arrFree.back()));
    }
    arrFree.pop_back();
    thread.Wake();
}

size_t FramesInFlight::Count() const {
    MutexLock lock(mtx);
    return arrLine.size();
}

size_t FramesInFlight::CountDone() const {
    MutexLock lock(mtx);
    return nDone;
}

bool FramesInFlight::TakeFirst(ManualEvent& _evStop, FramePtr* _ppFrame) {
    while (CountDone() == 0) {
        if (WaitAny({&_evStop, &evDone}, -1) == 0) return false;
    }
    std::unique_ptr<FLIGHT> pFirst;
    {
        MutexLock lock(mtx);
        pFirst = std::move(arrLine.front());
        arrLine.erase(arrLine.begin());
        --nDone;
    }
    *_ppFrame = std::move(pFirst->pFrame);
    pFirst->request.Release();
    arrFree.insert(arrFree.begin(), std::move(pFirst));
    return true;
}

FLIGHT* FramesInFlight::FirstWaiting() const {
    MutexLock lock(mtx);
    return nDone < arrLine.size() ? arrLine[nDone].get() : nullptr;
}

void FramesInFlight::Run(void* _pThis, ThreadRun& _run) {
    FramesInFlight& self = *static_cast<FramesInFlight*>(_pThis);
    while (_run.WaitWake()) self.ComposeAll(_run);
    self.Clear();
}

void FramesInFlight::ComposeAll(ThreadRun& _run) {
    while (FLIGHT* const pFlight = FirstWaiting()) {
        maker.Compose(*pFlight);
        if (!_run.IsWanted()) return;
        {
            MutexLock lock(mtx);
            ++nDone;
        }
        evDone.Set();
    }
}

}  // namespace zr
