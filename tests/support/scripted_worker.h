#pragma once
// A file worker whose media is a formula: each frame tells its number, each sample its position.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "frame_module/frame_factory.h"
#include "media/file_worker.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/unknown.h"

namespace zr {

// What the media of a ScriptedWorker is. Frame n starts at round(n * 1e7 * nRateDen / nRateNum), or at arrStarts[n].
struct MEDIA_SCRIPT {
    int64_t nRateNum = 25;
    int64_t nRateDen = 1;
    int64_t nFrames = 100;
    std::vector<int64_t> arrStarts;  // not empty: times of frames without a rate; one more than frames
    int32_t nSampleRate = 48000;     // one channel of 32 bits; 0: no sound
    int64_t rtFrameTime = 0;         // what decoding a frame takes
    int64_t nStallAt = -1;           // this frame does not come
    int64_t nFailAt = -1;            // this one cannot be read
    HRESULT hrOpen = S_OK;
    bool bOpenHangs = false;  // opening waits until it is released
    bool bSeekable = true;
    bool bLive = false;

    int64_t StartOf(int64_t _n) const {
        if (!arrStarts.empty()) return arrStarts[static_cast<size_t>(_n)];
        return (_n * 20'000'000 * nRateDen + nRateNum) / (2 * nRateNum);
    }
    int64_t Frames() const { return arrStarts.empty() ? nFrames : static_cast<int64_t>(arrStarts.size()) - 1; }
    int64_t SampleAt(int64_t _rt) const {
        const auto n = static_cast<__int128>(_rt) * nSampleRate;
        return static_cast<int64_t>((n + 5'000'000) / 10'000'000);
    }
    double Rate() const {
        return arrStarts.empty() ? static_cast<double>(nRateNum) / static_cast<double>(nRateDen) : 0;
    }

    static constexpr int32_t kWidth = 16, kHeight = 2;
    ZR_VID_PROPS VidProps() const {
        ZR_VID_PROPS props{.fccType = eZrFCC_ARGB32, .nWidth = kWidth, .nHeight = kHeight, .dblRate = Rate()};
        return props;
    }
    ZR_AUD_PROPS AudProps() const { return nSampleRate > 0 ? ZR_AUD_PROPS{1, nSampleRate, 32, 0} : ZR_AUD_PROPS{}; }

    // Frame _n with the flags it has in the middle of the media. Sample _i of the media holds the number _i.
    ZrPtr<IZrFFrame> Make(int64_t _n, eZrFrameFlags _eFlags) const {
        ZR_AV_PROPS props{VidProps(), AudProps(), {}};
        const int64_t rtStart = StartOf(_n), rtEnd = StartOf(_n + 1);
        const int64_t nFirst = SampleAt(rtStart), nSamples = SampleAt(rtEnd) - nFirst;
        std::vector<int32_t>& arrSamples = Scratch();
        arrSamples.resize(static_cast<size_t>(nSamples));
        for (size_t i = 0; i < arrSamples.size(); ++i)
            arrSamples[i] = static_cast<int32_t>(nFirst + static_cast<int64_t>(i));
        int64_t arrPixels[kWidth * kHeight / 2] = {_n};
        ZrPtr<IZrFFrame> pFrame;
        CZrFrameFactory::Shared().ZrFFrameCreateFromMem(
            &props, reinterpret_cast<int64_t>(arrPixels), static_cast<int32_t>(nSamples),
            reinterpret_cast<int64_t>(arrSamples.data()), pFrame.Out(), nullptr);
        ZR_TIME time{.rtStartTime = rtStart, .rtEndTime = rtEnd, .tcFrame = {}, .eFFlags = _eFlags};
        if (bLive) time.eFFlags |= eZrFF_Live;
        pFrame->ZrFTimeSet(&time);
        pFrame->ZrFDataSet(u"C608", sizeof(_n), reinterpret_cast<int64_t>(&_n));  // captions: for one showing only
        return pFrame;
    }

private:
    static std::vector<int32_t>& Scratch() {
        static thread_local std::vector<int32_t> arr;
        return arr;
    }
};

// What a frame of a script, or made of one, says.
struct SCRIPT_FRAME {
    int64_t nPicture = -1;
    int64_t rtStart = 0, rtEnd = 0;
    eZrFrameFlags eFlags = eZrFF_None;
    int32_t nData = 0;  // attached blocks
    std::vector<int32_t> arrSamples;

    explicit SCRIPT_FRAME(IZrFFrame& _frame) {
        ZRF_FRAME_INFO info;
        _frame.ZrFAllGet(&info);
        if (info.cbVideo > 0) nPicture = *reinterpret_cast<const int64_t*>(info.lpVideo);
        rtStart = info.mTime.rtStartTime;
        rtEnd = info.mTime.rtEndTime;
        eFlags = info.mTime.eFFlags;
        nData = info.nDataCount;
        const auto* p = reinterpret_cast<const int32_t*>(info.lpAudio);
        if (p) arrSamples.assign(p, p + info.lAudioSamples);
    }
};

class ScriptedWorker final : public UnknownImpl<IZrFileWorker_I> {
public:
    explicit ScriptedWorker(MEDIA_SCRIPT _script) : script(std::move(_script)) {}

    HRESULT WorkerCheck(IUnknown*, int32_t* _pbFlag) override {
        *_pbFlag = bMoved.exchange(false) ? 1 : 0;
        return S_OK;
    }
    HRESULT WorkerRelease() override {
        evRelease.Pulse();
        return S_OK;
    }
    HRESULT WorkerReset() override { return S_OK; }
    HRESULT WorkerClose() override {
        bClosed = true;
        evRelease.Set();
        return S_OK;
    }
    HRESULT WorkerOpen(const char16_t* _bsFile, const char16_t* _bsParam, int64_t _rtMaxWait) override {
        strFile = _bsFile;
        strParam = _bsParam ? _bsParam : u"";
        nNext = 0;
        bBreak = true;
        bClosed = false;
        evRelease.Reset();
        if (script.bOpenHangs && WaitOne(evRelease, _rtMaxWait)) return E_ABORT;
        if (script.bOpenHangs) return ZR_E_TIMEOUT;
        bOpen = Succeeded(script.hrOpen);
        return script.hrOpen;
    }
    HRESULT WorkerInfoGet(ZR_FILE_INFO* _pInfo, BSTR* _pbsInfo) override {
        if (!bOpen) return ZR_E_NOT_RUNNING;
        *_pInfo = {};
        _pInfo->dblDuration = script.bLive ? 0 : static_cast<double>(script.StartOf(script.Frames())) / 1e7;
        _pInfo->vidProps = script.VidProps();
        _pInfo->audProps = script.AudProps();
        _pInfo->nVideoTracks = 1;
        _pInfo->nAudioTracks = script.nSampleRate > 0 ? 1 : 0;
        _pInfo->bSeekable = !script.bLive && script.bSeekable ? 1 : 0;
        _pInfo->bLive = script.bLive ? 1 : 0;
        if (_pbsInfo) *_pbsInfo = SysAllocString(u"<info format='script'/>");
        return S_OK;
    }
    HRESULT WorkerFrameGet(int64_t _rtMaxWait, IZrFFrame** _ppFrame) override {
        *_ppFrame = nullptr;
        if (bClosed || !bOpen) return E_ABORT;
        nGets.fetch_add(1);
        if (nNext >= script.Frames()) return Win32Error(1100);
        if (nNext == script.nStallAt) return WaitOne(evRelease, _rtMaxWait) ? E_ABORT : ZR_E_TIMEOUT;
        if (nNext == script.nFailAt) return ZR_E_INVALID_DATA;
        if (script.rtFrameTime > 0) SleepFor(script.rtFrameTime);
        eZrFrameFlags eFlags = bBreak ? eZrFF_Break : eZrFF_None;
        if (nNext + 1 == script.Frames()) eFlags |= eZrFF_Last;
        *_ppFrame = script.Make(nNext++, eFlags).Detach();
        bBreak = false;
        bMoved = true;
        return S_OK;
    }
    HRESULT WorkerSeek(double _dblPos, double) override {
        if (script.bLive || !script.bSeekable) return ZR_E_NOT_SUPPORTED;
        const auto rt = static_cast<int64_t>(std::llround(_dblPos * 1e7));
        for (nNext = 0; nNext < script.Frames() && script.StartOf(nNext + 1) <= rt;) ++nNext;
        bBreak = true;
        nSeeks.fetch_add(1);
        return S_OK;
    }
    HRESULT WorkerErrorGet(BSTR* _pbsError) override {
        *_pbsError = SysAllocString(u"The script says no.");
        return S_OK;
    }

    MEDIA_SCRIPT script;
    std::u16string strFile, strParam;
    std::atomic<int32_t> nGets{0}, nSeeks{0};

private:
    ManualEvent evRelease;
    std::atomic<bool> bClosed{false}, bMoved{false}, bOpen{false};
    int64_t nNext = 0;
    bool bBreak = true;
};

}  // namespace zr
