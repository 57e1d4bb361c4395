#include "backends/ffmpeg/file_worker.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string_view>
#include <utility>

#include "attributes/attribute_line.h"
#include "backends/ffmpeg/av_error.h"
#include "platform/class_registry.h"
#include "platform/clock.h"
#include "platform/wide_text.h"
#include "zr/utf8.h"

namespace zr {

namespace {

constexpr size_t kMostBytesAhead = size_t{192} << 20;
constexpr size_t kFewestAhead = 3;
constexpr size_t kMostAhead = 250;

const ClassRegistrar registrar(kClsidFileWorkerFFmpeg, MakeObject<FFmpegFileWorker>);

int64_t Ticks(double _dblSeconds) {
    constexpr double kMost = 1e11;  // seconds, three thousand years
    return std::isnan(_dblSeconds) ? 0 : std::llround(std::clamp(_dblSeconds, -kMost, kMost) * kTicksPerSecond);
}

}  // namespace

void LinkFFmpegFileWorker() {}

FFmpegFileWorker::PARAMETERS FFmpegFileWorker::ReadParameters(const char16_t* _bsFile, const char16_t* _bsParam,
                                                              int64_t _rtMaxWait) {
    PARAMETERS wanted;
    wanted.strFile = ToUtf8(_bsFile);
    wanted.rtMaxWait = _rtMaxWait;
    AttributeLineScanner scanner(_bsParam ? std::u16string_view(_bsParam) : std::u16string_view());
    while (scanner.Next()) {
        const std::u16string_view svName = scanner.Name(), svValue = scanner.Value();
        if (EqualNoCase(svName, u"audio_track")) wanted.choice.nAudio = ParseInt32(svValue, 10);
        if (EqualNoCase(svName, u"video_track")) wanted.choice.nVideo = ParseInt32(svValue, 10);
        if (EqualNoCase(svName, u"file.buffer_max")) wanted.dblFileBuffer = ParseDouble(svValue);
        if (EqualNoCase(svName, u"network.buffer_max")) wanted.dblNetworkBuffer = ParseDouble(svValue);
    }
    return wanted;
}

HRESULT FFmpegFileWorker::WorkerCheck(IUnknown*, int32_t* _pbFlag) {
    if (!_pbFlag) return E_POINTER;
    MutexLock lock(mtx);
    *_pbFlag = bProgress.exchange(false) || bIdle || !bOpen;
    return S_OK;
}

HRESULT FFmpegFileWorker::WorkerRelease() {
    {
        MutexLock lock(mtx);
        ++nReleases;
    }
    // What the network is asked for; the reading of a file does not wait, and half of it would be lost.
    interrupt.BreakRead();
    evFrame.Set();
    return S_OK;
}

HRESULT FFmpegFileWorker::WorkerClose() {
    interrupt.Stop();
    evFrame.Set();
    MutexLock lock(mtxControl);
    Close_I();
    return S_OK;
}

void FFmpegFileWorker::Close_I() {
    interrupt.Stop();
    thread.RequestStop();
    thread.Join();
    decoder.Close();
    std::deque<ZrPtr<IZrFFrame>> arrGone;
    MutexLock lock(mtx);
    arrGone.swap(arrFrames);
    bOpen = bIdle = false;
    seek = {};
    hrEnd = S_OK;
    rtPosition = 0;
    info = {};
    strInfo.clear();
    evFrame.Set();
}

HRESULT FFmpegFileWorker::WorkerOpen(const char16_t* _bsFile, const char16_t* _bsParam, int64_t _rtMaxWait) {
    if (!_bsFile) return E_POINTER;
    if (!*_bsFile) return E_INVALIDARG;
    try {
        MutexLock lock(mtxControl);
        Close_I();
        parameters = ReadParameters(_bsFile, _bsParam, _rtMaxWait);
        return Open_I(parameters, 0);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT FFmpegFileWorker::WorkerReset() {
    try {
        interrupt.Stop();
        MutexLock lock(mtxControl);
        if (parameters.strFile.empty()) return ZR_E_NOT_RUNNING;
        int64_t rtPos = 0;
        {
            MutexLock lockState(mtx);
            rtPos = rtPosition;
        }
        Close_I();
        return Open_I(parameters, rtPos);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT FFmpegFileWorker::Open_I(const PARAMETERS& _parameters, int64_t _rtPos) {
    uint32_t nBefore = 0;
    {
        MutexLock lock(mtx);
        strError.clear();
        nBefore = nReleases;
    }
    interrupt.Clear();
    interrupt.SetDeadline(DeadlineAfter(ClockNow(), _parameters.rtMaxWait));
    HRESULT hr = S_OK;
    if (Demuxer::NamesProtocol(_parameters.strFile)) {
        ClockBlockingCall blocking;
        interrupt.BeginRead(true);
        hr = decoder.Open(_parameters.strFile, _parameters.choice);
        interrupt.EndRead();
    } else {
        interrupt.BeginRead(false);
        hr = decoder.Open(_parameters.strFile, _parameters.choice);
    }
    interrupt.SetDeadline(kNever);
    if (Succeeded(hr) && _rtPos > 0 && decoder.Info().bSeekable) hr = decoder.Seek(_rtPos, 0);
    const std::string strReason = Failed(hr) ? decoder.Error() : std::string();
    {
        MutexLock lock(mtx);
        if (hr == ZR_E_TIMEOUT && nReleases != nBefore) hr = E_ABORT;
        strError = strReason;
        if (Succeeded(hr)) {
            bOpen = true;
            info = decoder.Info();
            strInfo = decoder.InfoText();
            dblBuffer = decoder.IsUrl() ? _parameters.dblNetworkBuffer : _parameters.dblFileBuffer;
            nMostFrames = kFewestAhead;
            rtPosition = _rtPos;
            ++nSerial;
        }
    }
    if (Succeeded(hr)) hr = thread.Start("zr file", [this](ManualEvent& _evStop) { RunThread(_evStop); });
    if (Failed(hr)) Close_I();
    return hr;
}

HRESULT FFmpegFileWorker::WorkerInfoGet(ZR_FILE_INFO* _pInfo, BSTR* _pbsInfo) {
    if (_pbsInfo) *_pbsInfo = nullptr;
    if (!_pInfo) return E_POINTER;
    MutexLock lock(mtx);
    if (!bOpen) return ZR_E_NOT_RUNNING;
    *_pInfo = info;
    return _pbsInfo ? GiveText(strInfo, _pbsInfo) : S_OK;
}

HRESULT FFmpegFileWorker::WorkerErrorGet(BSTR* _pbsError) {
    MutexLock lock(mtx);
    return GiveText(strError, _pbsError);
}

void FFmpegFileWorker::SetError(const std::string& _strError) {
    MutexLock lock(mtx);
    strError = _strError;
}

HRESULT FFmpegFileWorker::WorkerFrameGet(int64_t _rtMaxWait, IZrFFrame** _ppFrame) {
    if (!_ppFrame) return E_POINTER;
    *_ppFrame = nullptr;
    const int64_t rtDeadline = DeadlineAfter(ClockNow(), _rtMaxWait);
    MutexLock lock(mtx);
    const uint32_t nBefore = nReleases;
    for (;;) {
        if (!bOpen) return ZR_E_NOT_RUNNING;
        if (nReleases != nBefore) return E_ABORT;
        if (!arrFrames.empty()) break;
        if (Failed(hrEnd)) return hrEnd;
        lock.Unlock();
        const int32_t nWoken = WaitAnyUntil({&evFrame}, rtDeadline);
        lock.Lock();
        if (nWoken == kWaitTimeout && arrFrames.empty() && Succeeded(hrEnd)) return ZR_E_TIMEOUT;
    }
    ZR_TIME time;
    arrFrames.front()->ZrFTimeGet(&time);
    rtPosition = time.rtEndTime;
    *_ppFrame = arrFrames.front().Detach();
    arrFrames.pop_front();
    lock.Unlock();
    bProgress = true;
    evChanged.Set();
    return S_OK;
}

HRESULT FFmpegFileWorker::WorkerSeek(double _dblPos, double _dblPreroll) {
    std::deque<ZrPtr<IZrFFrame>> arrGone;
    {
        MutexLock lock(mtx);
        if (!bOpen) return ZR_E_NOT_RUNNING;
        if (!info.bSeekable) {
            strError = "This file or stream cannot be positioned.";
            return ZR_E_NOT_SUPPORTED;
        }
        seek = {true, std::max<int64_t>(Ticks(_dblPos), 0), std::max<int64_t>(Ticks(_dblPreroll), 0)};
        ++nSerial;
        rtPosition = seek.rtPos;
        hrEnd = S_OK;
        bIdle = false;
        arrGone.swap(arrFrames);
    }
    evChanged.Set();
    return S_OK;
}

// The number of frames that the buffer takes: so many seconds of them, and never more than memory for many large ones.
void FFmpegFileWorker::Fit(IZrFFrame& _frame) {
    ZRF_FRAME_INFO frame;
    if (Failed(_frame.ZrFAllGet(&frame))) return;
    const auto rtLength = static_cast<double>(std::max<int64_t>(frame.mTime.rtEndTime - frame.mTime.rtStartTime, 1));
    const double dblBySeconds = std::clamp(dblBuffer * kTicksPerSecond / rtLength, 0.0, double{kMostAhead});
    const size_t nByBytes = kMostBytesAhead / (size_t{frame.cbVideo} + frame.cbAudio + 1);
    nMostFrames = std::max(std::min(static_cast<size_t>(dblBySeconds), nByBytes), kFewestAhead);
}

void FFmpegFileWorker::RunThread(ManualEvent& _evStop) {
    uint32_t nMine = 0;
    bool bEnded = false;
    while (!_evStop.IsSet()) {
        try {
            if (RunSeek(&nMine)) bEnded = false;
            if (bEnded) {
                WaitAny({&_evStop, &evChanged}, -1);
                continue;
            }
            ZrPtr<IZrFFrame> pFrame;
            const HRESULT hr = decoder.Read(&pFrame);
            bProgress = true;
            if (hr == E_ABORT) continue;  // released, or to be stopped
            bEnded = Failed(hr) ? (End(hr, decoder.Error(), nMine), true) : !Put(_evStop, pFrame, nMine);
        } catch (const std::bad_alloc&) {
            End(E_OUTOFMEMORY, "Memory is out.", nMine);
            bEnded = true;
        }
    }
}

// Carries out a seek that is wanted. *_pnSerial: of the frames that come. True: there was one.
bool FFmpegFileWorker::RunSeek(uint32_t* _pnSerial) {
    SEEK wanted;
    {
        MutexLock lock(mtx);
        *_pnSerial = nSerial;
        wanted = std::exchange(seek, SEEK());
    }
    if (!wanted.bWanted) return false;
    const HRESULT hr = decoder.Seek(wanted.rtPos, wanted.rtPreroll);
    if (Failed(hr)) End(hr, decoder.Error(), *_pnSerial);
    return Succeeded(hr);
}

// Queues a frame as soon as there is room. False: it is out of date, or the thread is to stop.
bool FFmpegFileWorker::Put(ManualEvent& _evStop, const ZrPtr<IZrFFrame>& _pFrame, uint32_t _nSerial) {
    for (;;) {
        {
            MutexLock lock(mtx);
            if (nSerial != _nSerial) return true;
            if (arrFrames.empty()) Fit(*_pFrame);
            bIdle = arrFrames.size() >= nMostFrames;
            if (!bIdle) {
                arrFrames.push_back(_pFrame);
                break;
            }
        }
        if (WaitAny({&_evStop, &evChanged}, -1) == 0) return false;
    }
    evFrame.Set();
    return true;
}

void FFmpegFileWorker::End(HRESULT _hr, const std::string& _strError, uint32_t _nSerial) {
    {
        MutexLock lock(mtx);
        if (nSerial != _nSerial) return;
        hrEnd = _hr;
        bIdle = true;
        if (_hr != Win32Error(1100)) strError = _strError;
    }
    evFrame.Set();
}

}  // namespace zr
