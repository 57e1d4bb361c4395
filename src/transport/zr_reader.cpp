#include "transport/zr_reader.h"

#include <limits>

#include "transport/frame_flags.h"

namespace zr {
namespace {

void CountUp(int32_t& _n) {
    if (_n < std::numeric_limits<int32_t>::max()) ++_n;
}

HRESULT SetTicks(IZrFFrame& _frame, const char16_t* _szId, int64_t _rt) {
    return _frame.ZrFDataSet(_szId, sizeof(_rt), reinterpret_cast<int64_t>(&_rt));
}

}  // namespace

bool ZrReader::Offer(IZrFFrame* _pFrame) {
    MutexLock lock(mtx);
    if (pFrame) {
        CountUp(nMissed);
        CountUp(nMissedTotal);
        if (nMissed > kMostMissed && !bKeep) return false;
    }
    pFrame = _pFrame;
    evTaken.Reset();
    evAvailable.Set();
    return true;
}

HRESULT ZrReader::Take(int64_t _rtSincePut, int64_t _rtWaited, IZrFFrame** _ppFrame) {
    MutexLock lock(mtx);
    if (!pFrame) {
        if (!bRemoved) evAvailable.Reset();
        return E_ABORT;
    }
    ZrPtr<IZrFFrame> pClone;
    HRESULT hr = pFrame->ZrFClone(pClone.Out(), eZrFC_Reference, eZrFCC_Default);
    if (Succeeded(hr)) hr = SetTicks(*pClone, u"AFPT", _rtSincePut);
    if (Succeeded(hr)) hr = SetTicks(*pClone, u"WAIT", _rtWaited);
    if (Succeeded(hr) && nMissed > 0) hr = MarkBreak(*pClone, kKeepPause);
    if (Failed(hr)) return hr;
    pFrame.Reset();
    nMissed = 0;
    if (!bRemoved) evAvailable.Reset();
    evTaken.Set();
    *_ppFrame = pClone.Detach();
    return S_OK;
}

void ZrReader::Clear() {
    ZrPtr<IZrFFrame> pOld;
    MutexLock lock(mtx);
    std::swap(pOld, pFrame);
    if (!bRemoved) evAvailable.Reset();
    evTaken.Set();
}

void ZrReader::Remove() {
    MutexLock lock(mtx);
    bRemoved = true;
    evTaken.Set();
    evAvailable.Set();
}

void ZrReader::Keep() {
    MutexLock lock(mtx);
    bKeep = true;
}

bool ZrReader::IsAwaited(int32_t _nCycles) const {
    MutexLock lock(mtx);
    return pFrame && nMissed < _nCycles;
}

int32_t ZrReader::MissedTotal() const {
    MutexLock lock(mtx);
    return nMissedTotal;
}

}  // namespace zr
