#include "mixer/frames_in_flight.h"

#include <iterator>

namespace zr {

HRESULT FramesInFlight::Start() {
    return thread.IsRunning() == CBaseThread::kRunning ? S_FALSE : thread.Start(this, &FramesInFlight::Run);
}

HRESULT FramesInFlight::Stop() {
    if (const HRESULT hr = thread.Stop(-1); Failed(hr)) return hr;
    MutexLock lock(mtx);
    arrLine.clear();
    arrFree.clear();
    nDone = 0;
    evDone.Reset();
    return S_OK;
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
    while (_run.WaitWake()) {
        while (FLIGHT* const pFlight = self.FirstWaiting()) {
            self.maker.Compose(*pFlight);
            if (!_run.IsWanted()) return;
            {
                MutexLock lock(self.mtx);
                ++self.nDone;
            }
            self.evDone.Set();
        }
    }
}

}  // namespace zr
