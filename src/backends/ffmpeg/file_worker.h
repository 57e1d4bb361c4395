#pragma once
// The worker that plays a file: it decodes ahead on a thread of its own.

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>

#include "backends/ffmpeg/file_decoder.h"
#include "media/file_worker.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/thread.h"
#include "platform/unknown.h"

namespace zr {

// See link_ffmpeg.h.
void LinkFFmpegFileWorker();

class FFmpegFileWorker final : public UnknownImpl<IZrFileWorker_I> {
public:
    FFmpegFileWorker() = default;

    HRESULT WorkerCheck(IUnknown* _pSender, int32_t* _pbFlag) override;
    HRESULT WorkerRelease() override;
    HRESULT WorkerReset() override;
    HRESULT WorkerClose() override;
    HRESULT WorkerOpen(const char16_t* _bsFile, const char16_t* _bsParam, int64_t _rtMaxWait) override;
    HRESULT WorkerInfoGet(ZR_FILE_INFO* _pInfo, BSTR* _pbsInfo) override;
    HRESULT WorkerFrameGet(int64_t _rtMaxWait, IZrFFrame** _ppFrame) override;
    HRESULT WorkerSeek(double _dblPos, double _dblPreroll) override;
    HRESULT WorkerErrorGet(BSTR* _pbsError) override;

protected:
    ~FFmpegFileWorker() override { WorkerClose(); }

private:
    struct PARAMETERS {
        std::string strFile;
        TRACK_CHOICE choice;
        double dblFileBuffer = 2.0;  // seconds decoded ahead
        double dblNetworkBuffer = 10.0;
        int64_t rtMaxWait = -1;
    };
    struct SEEK {
        bool bWanted = false;
        int64_t rtPos = 0;
        int64_t rtPreroll = 0;
    };

    static PARAMETERS ReadParameters(const char16_t* _bsFile, const char16_t* _bsParam, int64_t _rtMaxWait);
    HRESULT Open_I(const PARAMETERS& _parameters, int64_t _rtPos) ZR_REQUIRES(mtxControl);
    void Close_I() ZR_REQUIRES(mtxControl);

    void RunThread(ManualEvent& _evStop);
    bool RunSeek(uint32_t* _pnSerial);
    bool Put(ManualEvent& _evStop, const ZrPtr<IZrFFrame>& _pFrame, uint32_t _nSerial);
    void End(HRESULT _hr, const std::string& _strError, uint32_t _nSerial);
    void Fit(IZrFFrame& _frame) ZR_REQUIRES(mtx);
    void SetError(const std::string& _strError);

    // Open, Reset and Close, one at a time; held while the thread is joined.
    Mutex mtxControl;
    PARAMETERS parameters ZR_GUARDED_BY(mtxControl);
    Thread thread ZR_GUARDED_BY(mtxControl);

    Interrupt interrupt;
    // The thread's while it runs, else under mtxControl.
    FileDecoder decoder{interrupt};

    AutoEvent evFrame;    // for WorkerFrameGet: look again
    AutoEvent evChanged;  // for the thread: room, or a seek
    std::atomic<bool> bProgress{false};

    // Held for moments only, never around a call into the decoder.
    Mutex mtx;
    std::deque<ZrPtr<IZrFFrame>> arrFrames ZR_GUARDED_BY(mtx);
    size_t nMostFrames ZR_GUARDED_BY(mtx) = 3;
    bool bOpen ZR_GUARDED_BY(mtx) = false;
    bool bIdle ZR_GUARDED_BY(mtx) = false;    // the thread has nothing to do
    HRESULT hrEnd ZR_GUARDED_BY(mtx) = S_OK;  // what comes behind the queued frames
    SEEK seek ZR_GUARDED_BY(mtx);
    uint32_t nSerial ZR_GUARDED_BY(mtx) = 0;  // of the last seek; frames of older ones are not queued
    uint32_t nReleases ZR_GUARDED_BY(mtx) = 0;
    int64_t rtPosition ZR_GUARDED_BY(mtx) = 0;  // of the next frame that is given out
    double dblBuffer ZR_GUARDED_BY(mtx) = 0;    // seconds ahead
    ZR_FILE_INFO info ZR_GUARDED_BY(mtx);
    std::string strInfo ZR_GUARDED_BY(mtx);
    std::string strError ZR_GUARDED_BY(mtx);
};

}  // namespace zr
