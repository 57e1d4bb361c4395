#include "backends/ffmpeg/writer.h"

#include <algorithm>
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

constexpr size_t kMostWaiting = 8;                 // frames before the sender is held back
constexpr size_t kMostWaitingLive = 25;            // frames before they are left out
constexpr int64_t kLiveEnd = 5 * kTicksPerSecond;  // for what is still to be sent when a live output is stopped
constexpr HRESULT kReceiverEnded = Win32Error(1100);

const ClassRegistrar registrar(kClsidZrWriter, MakeObject<FFmpegWriter>);

bool ReadBool(std::u16string_view _sv) {
    return EqualNoCase(_sv, u"true") || EqualNoCase(_sv, u"yes") || ParseInt32(_sv, 10) != 0;
}

// "5M" and "128k" as well as plain numbers of bits a second. Below 0: it is none of them.
int64_t ReadBitrate(std::u16string_view _sv) {
    size_t nUsed = 0;
    const double dblNumber = ParseDouble(_sv, &nUsed);
    const std::u16string_view unit = _sv.substr(nUsed);
    const double dblUnit = EqualNoCase(unit, u"k") ? 1e3 : EqualNoCase(unit, u"m") ? 1e6 : 1;
    const bool bGood = nUsed > 0 && dblNumber >= 0 && (unit.empty() || dblUnit > 1);
    return bGood ? static_cast<int64_t>(std::min(dblNumber * dblUnit, 1e12)) : -1;
}

}  // namespace

void LinkFFmpegWriter() {}

FFmpegWriter::~FFmpegWriter() { WriterStop(); }

HRESULT FFmpegWriter::ReadOptions_I(const char16_t* _bsParam, bool _bUrl, OUTPUT_OPTIONS* _pOptions) {
    _pOptions->bLive = _bUrl;
    AttributeLineScanner scanner(_bsParam ? std::u16string_view(_bsParam) : std::u16string_view());
    while (scanner.Next()) {
        const std::u16string_view svName = scanner.Name(), svValue = scanner.Value();
        if (EqualNoCase(svName, u"format"))
            _pOptions->strFormat = ToUtf8(svValue);
        else if (EqualNoCase(svName, u"format.options"))
            _pOptions->strFormatOptions = ToUtf8(svValue);
        else if (EqualNoCase(svName, u"video.codec"))
            _pOptions->strVideoCodec = ToUtf8(svValue);
        else if (EqualNoCase(svName, u"video.options"))
            _pOptions->strVideoOptions = ToUtf8(svValue);
        else if (EqualNoCase(svName, u"video.bitrate"))
            _pOptions->nVideoBitrate = ReadBitrate(svValue);
        else if (EqualNoCase(svName, u"audio.codec"))
            _pOptions->strAudioCodec = ToUtf8(svValue);
        else if (EqualNoCase(svName, u"audio.options"))
            _pOptions->strAudioOptions = ToUtf8(svValue);
        else if (EqualNoCase(svName, u"audio.bitrate"))
            _pOptions->nAudioBitrate = ReadBitrate(svValue);
        else if (EqualNoCase(svName, u"live"))
            _pOptions->bLive = ReadBool(svValue);
        else if (EqualNoCase(svName, u"frames"))
            _pOptions->nMostFrames = static_cast<int64_t>(std::clamp(ParseDouble(svValue, nullptr), 0.0, 1e15));
        else {
            MutexLock lock(mtx);
            strError = "There is no parameter \"" + ToUtf8(svName) + "\" of the writer.";
            return E_INVALIDARG;
        }
    }
    if (_pOptions->nVideoBitrate >= 0 && _pOptions->nAudioBitrate >= 0) return S_OK;
    MutexLock lock(mtx);
    strError = std::string("The ") + (_pOptions->nVideoBitrate < 0 ? "video" : "audio") +
               " bit rate is no number of bits a second, such as 8M or 192k.";
    return E_INVALIDARG;
}

HRESULT FFmpegWriter::WriterOpen(const char16_t* _bsPath, const char16_t* _bsParam) {
    if (!_bsPath) return E_POINTER;
    if (!*_bsPath) return E_INVALIDARG;
    try {
        MutexLock lock(mtxControl);
        Stop_I();
        const std::string strPath = ToUtf8(_bsPath);
        {
            MutexLock lockState(mtx);
            state = {};
            strError.clear();
        }
        OUTPUT_OPTIONS options;
        HRESULT hr = ReadOptions_I(_bsParam, Demuxer::NamesProtocol(strPath), &options);
        if (Failed(hr)) return hr;
        interrupt.Clear();
        interrupt.SetDeadline(kNever);
        hr = session.Open(strPath, options);
        if (Failed(hr)) {
            MutexLock lockState(mtx);
            strError = session.Error();
            state.hrResult = hr;
            return hr;
        }
        bOpen = true;
        evClosed.Reset();
        {
            MutexLock lockState(mtx);
            bLive = options.bLive;
            nFramesLeft = options.nMostFrames > 0 ? options.nMostFrames : -1;
            bTaking = true;
        }
        hr = thread.Start("zr writer", [this](ManualEvent& _evStop) { RunThread(_evStop); });
        if (Failed(hr)) Stop_I();
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT FFmpegWriter::WriterStart(IUnknown* _pSource, const char16_t* _bsParam) {
    if (!_pSource) return E_POINTER;
    try {
        MutexLock lock(mtxControl);
        if (!bOpen || pSource) return ZR_E_WRONG_STATE;
        const ZrPtr<IZrSender_I> pSender = QueryAs<IZrSender_I>(_pSource);
        if (!pSender) return E_NOINTERFACE;
        ZR_VID_PROPS vidProps;
        ZR_AUD_PROPS audProps;
        if (Succeeded(pSender->SenderFormatGet(&vidProps, &audProps))) {
            MutexLock lockState(mtx);
            vidExpected = vidProps;
            audExpected = audProps;
        }
        static std::atomic<int64_t> nNextChannel{1};
        strChannel = u"writer-";
        AppendInt(strChannel, nNextChannel++);
        const HRESULT hr =
            pSender->SenderConnect(static_cast<IZrReceiver_I*>(this), strChannel.c_str(), _bsParam, nullptr);
        if (Succeeded(hr)) pSource = ZrPtr<IUnknown>(_pSource);
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT FFmpegWriter::WriterStop() {
    MutexLock lock(mtxControl);
    if (!bOpen) return S_FALSE;
    return Stop_I();
}

// Leaves the sender, writes what is queued and the end, and waits for that. The result of the run.
HRESULT FFmpegWriter::Stop_I() {
    if (const ZrPtr<IZrSender_I> pSender = pSource.As<IZrSender_I>()) pSender->SenderDisconnect(strChannel.c_str());
    pSource.Reset();
    if (!bOpen) return S_OK;
    bool bHurry = false;
    {
        MutexLock lock(mtx);
        bTaking = false;
        bHurry = bLive;
    }
    if (bHurry) interrupt.SetDeadline(DeadlineAfter(ClockNow(), kLiveEnd));
    evClosed.Set();
    thread.RequestStop();
    thread.Join();
    bOpen = false;
    MutexLock lock(mtx);
    arrItems.clear();
    state.bWriting = 0;
    return state.hrResult;
}

HRESULT FFmpegWriter::WriterStateGet(ZR_WRITER_STATE* _pState) {
    if (!_pState) return E_POINTER;
    MutexLock lock(mtx);
    *_pState = state;
    return S_OK;
}

HRESULT FFmpegWriter::WriterErrorGet(BSTR* _pbsError) {
    MutexLock lock(mtx);
    return GiveText(strError, _pbsError);
}

HRESULT FFmpegWriter::MediaReceive(const char16_t*, IUnknown*, IZrFFrame* _pFrame) {
    if (!_pFrame) return E_POINTER;
    for (;;) {
        {
            MutexLock lock(mtx);
            if (!bTaking || Failed(state.hrResult) || nFramesLeft == 0) return kReceiverEnded;
            const bool bFull = arrItems.size() >= (bLive ? kMostWaitingLive : kMostWaiting);
            if (!bFull || bLive) {
                try {
                    Queue(_pFrame, bFull);
                } catch (const std::bad_alloc&) {
                    return E_OUTOFMEMORY;
                }
                state.nDropped += bFull;
                if (nFramesLeft > 0) --nFramesLeft;
                break;
            }
            evRoom.Reset();
        }
        WaitAny({&evClosed, &evRoom}, -1);
    }
    evItem.Set();
    return S_OK;
}

// The end of one sender is not the end of the file: that is WriterStop.
HRESULT FFmpegWriter::MediaEnd(const char16_t*, IUnknown*, int32_t) { return S_OK; }

// What was sent is written, whatever comes next.
HRESULT FFmpegWriter::MediaFlush(const char16_t*, IUnknown*, int32_t) { return S_OK; }

// The next item. False: the writer is to stop, and none is left.
bool FFmpegWriter::Take(ManualEvent& _evStop, ITEM* _pItem) {
    for (;;) {
        {
            MutexLock lock(mtx);
            if (!arrItems.empty()) {
                *_pItem = std::move(arrItems.front());
                arrItems.pop_front();
                evRoom.Set();
                return true;
            }
            if (_evStop.IsSet()) return false;
        }
        WaitAny({&_evStop, &evItem}, -1);
    }
}

// Shows what has been written. A failure is the last thing that happens.
void FFmpegWriter::Note(HRESULT _hr) {
    MutexLock lock(mtx);
    state.nFrames = session.Pictures();
    state.nSamples = session.Samples();
    state.nBytes = session.Bytes();
    if (Failed(_hr) && Succeeded(state.hrResult)) {
        state.hrResult = _hr;
        strError = session.Error().empty() ? "Cannot write: " + StatusReason(_hr) + "." : session.Error();
        evClosed.Set();
    }
}

void FFmpegWriter::Queue(IZrFFrame* _pFrame, bool _bLost) {
    if (!_bLost) {
        arrItems.push_back({ZrPtr<IZrFFrame>(_pFrame), 0});
        return;
    }
    ZR_TIME time;
    _pFrame->ZrFTimeGet(&time);
    if (arrItems.back().pFrame) arrItems.push_back({});
    arrItems.back().rtLost += std::max<int64_t>(time.rtEndTime - time.rtStartTime, 0);
}

HRESULT FFmpegWriter::Write(const ITEM& _item) {
    try {
        if (!_item.pFrame) {
            session.Skip(_item.rtLost);
            return S_OK;
        }
        const HRESULT hr = session.Encode(*_item.pFrame);
        // The disk may be needed by others: the file ends at once, not at the stop.
        if (Failed(hr)) session.Finish(hr);
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

void FFmpegWriter::RunThread(ManualEvent& _evStop) {
    HRESULT hr = S_OK;
    bool bFirst = true;
    for (ITEM item; Take(_evStop, &item); item = {}) {
        if (Failed(hr)) continue;  // what still comes is let go
        if (std::exchange(bFirst, false)) {
            MutexLock lock(mtx);
            session.Expect(vidExpected, audExpected);
            state.bWriting = 1;
        }
        hr = Write(item);
        Note(hr);
    }
    if (Failed(hr)) return;
    try {
        hr = session.Finish(hr);
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    }
    Note(hr);
}

}  // namespace zr
