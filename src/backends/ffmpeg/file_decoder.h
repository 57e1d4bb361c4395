#pragma once
// A file as a row of frames: pictures with the sound that belongs to them, on one time line from 0.

#include <cstdint>
#include <deque>
#include <string>

#include "backends/ffmpeg/audio_line.h"
#include "backends/ffmpeg/demuxer.h"
#include "backends/ffmpeg/frame_maker.h"
#include "backends/ffmpeg/packet_grid.h"
#include "media/file_worker.h"
#include "zr/ptr.h"

namespace zr {

// One thread at a time.
//
// Video packets wait undecoded until the sound up to the end of their picture is there; sound is decoded as it comes.
// So a file whose tracks lie far apart costs compressed bytes, not pictures.
class FileDecoder {
public:
    explicit FileDecoder(Interrupt& _interrupt) : demuxer(_interrupt) {}

    HRESULT Open(const std::string& _strUrl, const TRACK_CHOICE& _choice);
    void Close();
    // The next frame; Win32Error(1100) behind the last one.
    HRESULT Read(ZrPtr<IZrFFrame>* _ppFrame);
    HRESULT Seek(int64_t _rtPos, int64_t _rtPreroll);

    const ZR_FILE_INFO& Info() const { return info; }
    // For the operator, an XML node.
    std::string InfoText() const;
    std::string Error() const { return strError.empty() ? demuxer.Error() : strError; }
    bool IsUrl() const { return demuxer.IsUrl(); }

private:
    struct PICTURE {
        FramePtr pFrame;
        int64_t rtStart = 0;
        int64_t rtLength = 0;  // 0: not known
    };
    // A stretch of time that makes the next frame.
    struct PART {
        int64_t rtEnd = 0;
        bool bLast = false;
    };

    HRESULT OpenCodec(AVStream& _stream, CodecPtr* _ppCodec);
    void FindOrigin();
    void DescribeTracks();
    void Restart();

    HRESULT Step();
    HRESULT ReadPacket();
    HRESULT DecodeVideo();
    HRESULT DecodeAudio(const AVPacket* _pPacket);
    void TakePicture(FramePtr _pFrame);
    int64_t PictureTime(const AVFrame& _frame);
    void TakeAudio(const AVFrame& _frame);

    bool FindPart(PART* _pPart);
    bool FindSoundPart(PART* _pPart);
    bool SoundReady(int64_t _rtEnd) const;
    bool KeyFrameInTime(const AVPacket& _packet) const;
    int64_t PacketTime(const AVPacket& _packet) const;
    HRESULT StepBackFurther();
    HRESULT MakeFrame(const PART& _part, ZrPtr<IZrFFrame>* _ppFrame);
    void FinishPart(const PART& _part);
    int64_t FrameLength() const;

    Demuxer demuxer;
    CodecPtr pVideoCodec;
    CodecPtr pAudioCodec;
    AudioLine sound;
    PacketGrid grid;  // of the sound's packets
    FrameMaker maker;
    ZR_FILE_INFO info;
    std::string strError;

    PacketPtr pPacket{av_packet_alloc()};
    FramePtr pDecoded{av_frame_alloc()};
    FramePtr pDecodedSound{av_frame_alloc()};
    std::deque<PacketPtr> arrWaiting;  // video packets
    size_t cbWaiting = 0;
    std::deque<PICTURE> arrPictures;  // decoded, in the order of presentation; the first one is next

    bool bHasSound = false;     // pAudioCodec gives something
    bool bReadAll = false;      // the demuxer is at its end
    bool bVideoDone = false;    // the last picture is in arrPictures
    bool bFlushed = false;      // the video decoder was told of the end
    bool bFirstRun = true;      // nothing was sought since Open
    bool bFirstSound = true;    // the next piece of sound is the first one since Open or Seek
    bool bSoundDone = false;    // all sound is in the line
    HRESULT hrRead = S_OK;      // why reading ended, when not for the end of the file
    bool bFirst = true;         // the next frame is the first one since Open or Seek
    bool bFirstPicture = true;  // the next decoded picture likewise

    bool bSeekCheck = false;  // the first key frame since the seek is still to come

    double dblOrigin = 0;  // of the time line, in the file's seconds
    bool bOriginKnown = false;
    int64_t nOriginStamp = AV_NOPTS_VALUE;  // the same in the video's own time base, when it is whole in it
    double dblRate = 0;                     // frames a second; 0: not known
    int64_t rtTick = 1;                     // by how much the times of the file may be rounded

    int64_t rtPart = 0;       // start of the next frame
    int64_t nPart = 0;        // parts that the present picture has given, of FrameLength each
    int64_t rtPartsFrom = 0;  // where they began
    int64_t rtLast = 0;       // start of the last picture taken
    int64_t rtWanted = 0;     // frames that end at or before this are left out
    double dblSeekTo = 0;     // of the last seek of the demuxer, in seconds of the time line
    int nSeekTries = 0;
};

}  // namespace zr
