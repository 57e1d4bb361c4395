#pragma once
// The writer: a receiver of frames that encodes and writes them on a thread of its own.

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>

#include "backends/ffmpeg/output_session.h"
#include "media/transport_interfaces.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/thread.h"
#include "platform/unknown.h"
#include "zr/ptr.h"
#include "zr/writer.h"

namespace zr {

// See link_ffmpeg.h.
void LinkFFmpegWriter();

class FFmpegWriter final : public UnknownImpl<IZrWriter, IZrReceiver_I> {
public:
    FFmpegWriter() = default;

    HRESULT WriterOpen(const char16_t* _bsPath, const char16_t* _bsParam) override;
    HRESULT WriterStart(IUnknown* _pSource, const char16_t* _bsParam) override;
    HRESULT WriterStop() override;
    HRESULT WriterStateGet(ZR_WRITER_STATE* _pState) override;
    HRESULT WriterErrorGet(BSTR* _pbsError) override;

    HRESULT MediaReceive(const char16_t* _bsChannelID, IUnknown* _pSender, IZrFFrame* _pFrame) override;
    HRESULT MediaEnd(const char16_t* _bsChannelID, IUnknown* _pSender, int32_t _nParam) override;
    HRESULT MediaFlush(const char16_t* _bsChannelID, IUnknown* _pSender, int32_t _nParam) override;

protected:
    ~FFmpegWriter() override;

private:
    // A frame, or the time of frames that were left out behind one another, which keep their place on the time line.
    struct ITEM {
        ZrPtr<IZrFFrame> pFrame;
        int64_t rtLost = 0;
    };

    HRESULT ReadOptions_I(const char16_t* _bsParam, bool _bUrl, OUTPUT_OPTIONS* _pOptions);
    HRESULT Stop_I() ZR_REQUIRES(mtxControl);
    void RunThread(ManualEvent& _evStop);
    void Queue(IZrFFrame* _pFrame, bool _bLost) ZR_REQUIRES(mtx);
    HRESULT Write(const ITEM& _item);
    bool Take(ManualEvent& _evStop, ITEM* _pItem);
    void Note(HRESULT _hr);

    // Open, Start and Stop, one at a time; held while the sender is left and the thread is joined.
    Mutex mtxControl;
    Thread thread ZR_GUARDED_BY(mtxControl);
    ZrPtr<IUnknown> pSource ZR_GUARDED_BY(mtxControl);  // the sender, as long as it is connected
    std::u16string strChannel ZR_GUARDED_BY(mtxControl);
    bool bOpen ZR_GUARDED_BY(mtxControl) = false;

    Interrupt interrupt;
    // The thread's while it runs, else under mtxControl.
    OutputSession session{interrupt};

    AutoEvent evItem;      // for the thread: look again
    ManualEvent evRoom;    // for MediaReceive: look again
    ManualEvent evClosed;  // nothing is taken any more

    // Held for moments only.
    Mutex mtx;
    std::deque<ITEM> arrItems ZR_GUARDED_BY(mtx);
    bool bTaking ZR_GUARDED_BY(mtx) = false;
    bool bLive ZR_GUARDED_BY(mtx) = false;
    int64_t nFramesLeft ZR_GUARDED_BY(mtx) = -1;  // to take before the end; negative: no limit
    ZR_VID_PROPS vidExpected ZR_GUARDED_BY(mtx);  // what the sender said
    ZR_AUD_PROPS audExpected ZR_GUARDED_BY(mtx);
    ZR_WRITER_STATE state ZR_GUARDED_BY(mtx);
    std::string strError ZR_GUARDED_BY(mtx);
};

}  // namespace zr
