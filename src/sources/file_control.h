#pragma once
// What the host tells a file source to do: open and close, name, points, position, play; and what it is asked.

#include <atomic>
#include <memory>
#include <string>

#include "framework/lock_order.h"
#include "platform/rw_lock.h"
#include "sources/file_grabber.h"
#include "sources/file_pump.h"
#include "sources/file_timecode.h"

namespace zr {

// The operations are those of IZrObject and IZrFile with their results. Any thread; those that change something wait
// for each other. The owner closes it before it goes.
class FileControl {
public:
    explicit FileControl(const FILE_PARTS& _parts) : parts(_parts), pump(_parts) {}
    FileControl(const FileControl&) = delete;
    FileControl& operator=(const FileControl&) = delete;

    FilePump& Pump() { return pump; }

    HRESULT ObjectStart();
    HRESULT ObjectClose();
    eZrState State() const;

    HRESULT FileNameSet(const char16_t* _bsFile, const char16_t* _bsParam);
    std::u16string FileName() const { return *fileName.Get(); }
    HRESULT FileInOutSet(double _dblIn, double _dblOut);
    HRESULT FileInOutGet(double* _pdblIn, double* _pdblOut, double* _pdblDuration);
    HRESULT FilePosSet(double _dblPos, double _dblPreroll);
    HRESULT FilePosGet(double* _pdblFilePos);
    HRESULT FilePlayStart();
    HRESULT FilePlayPause(double _dblSeconds);
    HRESULT FilePlayStop(double _dblSeconds);
    HRESULT FileStateGet(eZrState* _peState, double* _pdblTimeRemain);
    HRESULT FileRateSet(double _dblRate);
    HRESULT FileFrameGet(double _dblPos, double _dblPreroll, ZrPtr<IZrFFrame>* _ppFrame);

    HRESULT FileInOutSetTC(const ZR_TIMECODE* _pTCIn, const ZR_TIMECODE* _pTCOut);
    HRESULT FileInOutGetTC(ZR_TIMECODE* _pTCIn, ZR_TIMECODE* _pTCOut, int32_t* _pbOutSpecified);
    HRESULT FilePosSetTC(const ZR_TIMECODE* _pTC);
    HRESULT FilePosGetTC(ZR_TIMECODE* _pTC);
    HRESULT FileFrameGetByTC(const ZR_TIMECODE* _pTC, ZrPtr<IZrFFrame>* _ppFrame);

private:
    class Call;  // one call that changes something: the lock, and the events that go out after it
    using PlayerPtr = FilePump::PlayerPtr;

    // The clock of a file's time codes: how its frames are numbered, and the number of its first.
    struct CODES {
        TimecodeRate rate;
        int64_t nFirst;
        double SecondsOf(const ZR_TIMECODE& _tc) const { return rate.SecondsOf(rate.FrameOf(_tc) - nFirst); }
        ZR_TIMECODE CodeAt(double _dblSeconds) const { return rate.CodeOf(nFirst + rate.FrameAt(_dblSeconds)); }
    };

    HRESULT Start_I(Call& _call) ZR_REQUIRES(lockState);
    void Close_I() ZR_REQUIRES(lockState);
    HRESULT Change_I(Call& _call, const XMLNodeBase& _param) ZR_REQUIRES(lockState);
    HRESULT Open_I(Call& _call, XMLNodeBase& _file) ZR_REQUIRES(lockState);
    HRESULT OpenPlayer(const PlayerPtr& _pPlayer, const FILE_REQUEST& _request, std::u16string* _pstrError);
    HRESULT Play_I(Call& _call) ZR_REQUIRES(lockState);
    FILE_REQUEST RequestOf(const XMLNodeBase& _file) const ZR_REQUIRES(lockState);
    AV_FORMAT Wanted() const;
    void TellInfo(FilePlayer& _player, XMLNodeBase& _file) ZR_REQUIRES(lockState);
    XMLNodeRef FileNode() const { return parts.props.Root()->FindNode(u"file", true); }
    HRESULT Codes(std::unique_ptr<CODES>* _ppCodes);

    const FILE_PARTS parts;
    FilePump pump;
    FileGrabber grabber;
    ObjectName fileName;

    CRWSynchroLiteRW lockState{lock_order::kState};
    std::u16string strParam ZR_GUARDED_BY(lockState);  // what came with the name
    double dblFound ZR_GUARDED_BY(lockState) = 0;      // duration of the file that was opened last
    std::atomic<eZrState> eObject{eZrS_Closed};        // closed, error, or stopped for open; written under lockState

    // A close does not wait until a file that does not answer has been opened.
    std::atomic<int32_t> nClosing{0};
    Mutex mtxOpening;
    PlayerPtr pOpening ZR_GUARDED_BY(mtxOpening);

    mutable Mutex mtxHint;
    ZR_VID_PROPS propsHint ZR_GUARDED_BY(mtxHint);
};

}  // namespace zr
