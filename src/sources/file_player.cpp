#include "sources/file_player.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "attributes/interface_call.h"
#include "platform/class_registry.h"
#include "platform/clock.h"

namespace zr {
namespace {

constexpr HRESULT kEndOfMedia = Win32Error(1100);
constexpr double kTicks = static_cast<double>(kTicksPerSecond);
constexpr int64_t kPointTolerance = 30'000;  // a frame that would begin 3 ms before a point is beyond it

int64_t TicksOf(double _dblSeconds) {
    constexpr double kMost = 1e11;  // three thousand years
    return std::llround(std::clamp(_dblSeconds, -kMost, kMost) * kTicks);
}

std::u16string TakeText(BSTR _bs) {
    std::u16string str(TextArgument(_bs));
    SysFreeString(_bs);
    return str;
}

}  // namespace

int64_t PLAY_SETTINGS::OutPoint(double _dblDuration) const {
    if (dblOut > dblIn) return TicksOf(dblOut);
    if (dblOut >= 0 || _dblDuration <= 0) return kNever;
    return TicksOf(std::max(_dblDuration + dblOut, dblIn + 0.001));
}

// --- The worker

HRESULT FilePlayer::ChooseWorker(WorkerPtr* _ppWorker, std::u16string* _pstrError) {
    pPicture = nullptr;
    if (IsPictureName(request.strFile.c_str())) {
        pPicture = new PictureSource;
        *_ppWorker = WorkerPtr::Attach(pPicture);
        pPicture->FormatSet(request.wanted);
        return S_OK;
    }
    void* pv = nullptr;
    const HRESULT hr = CreateInstance(kClsidFileWorkerFFmpeg, IZrFileWorker_I::kIid, &pv);
    *_ppWorker = WorkerPtr::Attach(static_cast<IZrFileWorker_I*>(pv));
    if (hr == REGDB_E_CLASSNOTREG) *_pstrError = u"No reader for media files is part of this program.";
    return hr;
}

FilePlayer::WorkerPtr FilePlayer::Worker() const {
    MutexLock lock(mtxWorker);
    return pWorker;
}

HRESULT FilePlayer::Open(const FILE_REQUEST& _request, std::u16string* _pstrError) {
    request = _request;
    WorkerPtr pNew;
    HRESULT hr = ChooseWorker(&pNew, _pstrError);
    if (Failed(hr)) return hr;
    {
        MutexLock lock(mtxWorker);
        pWorker = pNew;
    }
    hr = pNew->WorkerOpen(request.strFile.c_str(), request.strParam.c_str(), request.rtMaxWait);
    BSTR bsInfo = nullptr;
    if (Succeeded(hr)) hr = pNew->WorkerInfoGet(&info, &bsInfo);
    strInfoXml = TakeText(bsInfo);
    if (request.dblDuration > 0) info.dblDuration = request.dblDuration;
    if (Succeeded(hr) && request.dblIn > 0) hr = Seek(request.dblIn, request.dblInPreroll);
    if (Failed(hr)) *_pstrError = ErrorText();
    return hr;
}

void FilePlayer::Close() {
    WorkerPtr pOld;
    {
        MutexLock lock(mtxWorker);
        std::swap(pOld, pWorker);
    }
    if (pOld) pOld->WorkerClose();
}

void FilePlayer::Interrupt() {
    if (const WorkerPtr p = Worker()) p->WorkerRelease();
}

void FilePlayer::WantedSet(const AV_FORMAT& _wanted) {
    if (pPicture) pPicture->FormatSet(_wanted);
}

std::u16string FilePlayer::ErrorText() const {
    BSTR bs = nullptr;
    const WorkerPtr p = Worker();
    if (p) p->WorkerErrorGet(&bs);
    return TakeText(bs);
}

// --- Playing

HRESULT FilePlayer::Seek(double _dblPos, double _dblPreroll) {
    const WorkerPtr p = Worker();
    if (!p) return E_ABORT;
    double dblPos = _dblPos;
    if (info.dblDuration > 0) dblPos = std::min(dblPos, info.dblDuration - 1 / OwnRate());
    dblPos = std::max(dblPos, 0.0);
    const HRESULT hr = p->WorkerSeek(dblPos, std::max(_dblPreroll, 0.0));
    if (Failed(hr)) return hr;
    step.Reset();
    bJoin = bRewind = bLooped = false;
    nFramesOfPass = 0;
    dblPosition = dblPos;
    return S_OK;
}

HRESULT FilePlayer::Next(const PLAY_SETTINGS& _settings, int64_t _rtMaxWait, ZrPtr<IZrFFrame>* _ppFrame,
                         bool* _pbLooped) {
    *_pbLooped = false;
    step.SetRate(_settings.dblRate > 0 ? _settings.dblRate : OwnRate(), _settings.dblSpeed, _settings.nFields);
    const int64_t rtDeadline = DeadlineAfter(ClockNow(), _rtMaxWait);
    for (;;) {
        HRESULT hr = step.Get(_ppFrame);
        if (hr == S_OK) {
            dblPosition = static_cast<double>(step.MediaTime()) / kTicks;
            *_pbLooped = std::exchange(bLooped, false);
            return S_OK;
        }
        if (hr == kEndOfMedia && (bRewind || (_settings.bLoop && nFramesOfPass > 0))) {
            hr = Rewind(_settings);
            step.Reset();
        } else if (hr == S_FALSE) {
            hr = Feed(_settings, std::max<int64_t>(rtDeadline - ClockNow(), 0));
        }
        if (Failed(hr)) return hr;
    }
}

// Gives the step one frame more, or tells it that there is none.
HRESULT FilePlayer::Feed(const PLAY_SETTINGS& _settings, int64_t _rtMaxWait) {
    const WorkerPtr p = Worker();
    if (!p) return E_ABORT;
    ZrPtr<IZrFFrame> pFrame;
    HRESULT hr = p->WorkerFrameGet(_rtMaxWait, pFrame.Out());
    if (hr == kEndOfMedia) {
        EndPass(_settings);
        return S_OK;
    }
    if (Failed(hr)) return hr;
    ZR_TIME time;
    hr = pFrame->ZrFTimeGet(&time);
    if (Failed(hr)) return hr;
    // A position behind the out point shows its one frame.
    FrameRateStep::INPUT input;
    input.bJoin = std::exchange(bJoin, false);
    const int64_t rtOut = _settings.OutPoint(info.dblDuration);
    const bool bBeyond = time.rtStartTime >= rtOut - kPointTolerance;
    if (bBeyond && nFramesOfPass > 0) {
        EndPass(_settings);
        return S_OK;
    }
    if (!bBeyond) input.rtOut = rtOut;
    hr = step.Put(pFrame.Get(), input);
    if (Failed(hr)) return hr;
    ++nFramesOfPass;
    const bool bLast = (time.eFFlags & eZrFF_Last) != 0;
    if (bLast || bBeyond || time.rtEndTime >= rtOut - kPointTolerance) EndPass(_settings);
    return S_OK;
}

// All input of this pass is there. Loops without breaks go on in the same run of the step.
void FilePlayer::EndPass(const PLAY_SETTINGS& _settings) {
    const bool bLoop = _settings.bLoop && nFramesOfPass > 0;
    if (bLoop && _settings.bNoBreaks && Succeeded(Rewind(_settings))) {
        bJoin = true;
        return;
    }
    bRewind = bLoop;
    step.PutEnd(!bLoop);
}

// A file that cannot be positioned is opened anew.
HRESULT FilePlayer::Rewind(const PLAY_SETTINGS& _settings) {
    const WorkerPtr p = Worker();
    if (!p) return E_ABORT;
    HRESULT hr = p->WorkerSeek(std::max(_settings.dblIn, 0.0), request.dblInPreroll);
    if (hr == ZR_E_NOT_SUPPORTED) {
        p->WorkerClose();
        hr = p->WorkerOpen(request.strFile.c_str(), request.strParam.c_str(), request.rtMaxWait);
    }
    bRewind = false;
    nFramesOfPass = 0;
    bLooped = Succeeded(hr);
    return hr;
}

}  // namespace zr
