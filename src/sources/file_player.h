#pragma once
// One file as it plays: its worker, where it is, between which points and how fast; frame after frame at one rate.

#include <memory>
#include <string>

#include "media/av_format.h"
#include "media/file_worker.h"
#include "platform/lock.h"
#include "sources/frame_rate_step.h"
#include "sources/picture_source.h"

namespace zr {

// What is played, as it was asked for.
struct FILE_REQUEST {
    std::u16string strFile;
    std::u16string strParam;  // an attribute line for the worker
    int64_t rtMaxWait = 0;    // ticks that opening may take
    double dblIn = 0;         // seconds at which playing begins
    double dblInPreroll = 0;
    double dblDuration = 0;  // to take as the file's, in seconds; 0: what the worker finds
    AV_FORMAT wanted;        // of a picture; parts that are 0 are left to it
};

// How it is played, read anew for each frame.
struct PLAY_SETTINGS {
    double dblIn = 0;   // seconds
    double dblOut = 0;  // not above dblIn: none; negative: from the end
    bool bLoop = false;
    bool bNoBreaks = false;  // a loop goes on without a break
    double dblRate = 0;      // of the output; 0: the file's own
    int32_t nFields = 0;     // of the output, as of InterlaceClass
    double dblSpeed = 1.0;   // above 0

    // The point at which playing ends, in ticks, kNever for none. _dblDuration: of the file, 0 when it is not known.
    int64_t OutPoint(double _dblDuration) const;
};

// One thread at a time, but for Interrupt and Close, which any may call.
class FilePlayer {
public:
    FilePlayer() = default;
    ~FilePlayer() { Close(); }
    FilePlayer(const FilePlayer&) = delete;
    FilePlayer& operator=(const FilePlayer&) = delete;

    // Chooses a worker by the name: a built-in picture, a picture file, or the worker of the backend. The result is
    // that of the choice or the worker's; *_pstrError says why in one sentence.
    HRESULT Open(const FILE_REQUEST& _request, std::u16string* _pstrError);
    // Ends what the worker waits for, and its threads.
    void Close();
    // Ends what the worker waits for.
    void Interrupt();

    const FILE_REQUEST& Request() const { return request; }
    const ZR_FILE_INFO& Info() const { return info; }
    const std::u16string& InfoXml() const { return strInfoXml; }
    // The file's frames a second, 25 where it has none.
    double OwnRate() const { return info.vidProps.dblRate > 0 ? info.vidProps.dblRate : 25.0; }
    // Of a picture, from the next frame on.
    void WantedSet(const AV_FORMAT& _wanted);

    // Goes to a position, in seconds. Whatever had come to an end goes on there.
    HRESULT Seek(double _dblPos, double _dblPreroll);
    // The next frame, waiting up to _rtMaxWait ticks. *_pbLooped: the file has begun again with it, or just before it.
    // ZR_E_TIMEOUT: not yet. Win32Error(1100): it has ended, with a frame that has the last flag. Otherwise what the
    // worker came to.
    HRESULT Next(const PLAY_SETTINGS& _settings, int64_t _rtMaxWait, ZrPtr<IZrFFrame>* _ppFrame, bool* _pbLooped);
    // Seconds: of the last frame, or where the last seek went.
    double Position() const { return dblPosition; }
    // What the worker says of its last failure.
    std::u16string ErrorText() const;

private:
    using WorkerPtr = ZrPtr<IZrFileWorker_I>;

    HRESULT ChooseWorker(WorkerPtr* _ppWorker, std::u16string* _pstrError);
    WorkerPtr Worker() const;
    HRESULT Feed(const PLAY_SETTINGS& _settings, int64_t _rtMaxWait);
    void EndPass(const PLAY_SETTINGS& _settings);
    HRESULT Rewind(const PLAY_SETTINGS& _settings);

    FILE_REQUEST request;
    ZR_FILE_INFO info;
    std::u16string strInfoXml;
    PictureSource* pPicture = nullptr;  // the worker, when it is one of ours
    FrameRateStep step;
    double dblPosition = 0;
    bool bJoin = false;         // the next input frame follows on the last pass
    bool bRewind = false;       // when all of this pass has been given, the file begins again
    bool bLooped = false;       // to be told with the next frame
    int64_t nFramesOfPass = 0;  // input frames since the last seek

    mutable Mutex mtxWorker;
    WorkerPtr pWorker ZR_GUARDED_BY(mtxWorker);
};

}  // namespace zr
