#pragma once
// One open file or stream: its tracks, and packets of the chosen ones.

#include <atomic>
#include <cstdint>
#include <string>

#include "backends/ffmpeg/av_ptr.h"
#include "platform/status.h"

namespace zr {

// Ends what the libraries wait for: any thread sets it, the blocked one sees it within some milliseconds.
class Interrupt {
public:
    void Stop() { bStop.store(true, std::memory_order_release); }
    void Clear() { bStop.store(false, std::memory_order_release); }
    bool Stopped() const { return bStop.load(std::memory_order_acquire); }
    // Breaks off the read under way, if there is one.
    void BreakRead() { bBreak.store(bReading.load()); }
    // Of the calls from here on, in ticks of ClockNow.
    void SetDeadline(int64_t _rtDeadline) { rtDeadline.store(_rtDeadline, std::memory_order_release); }

    // _bBreakable: BreakRead may end it; of a file it would only lose a part. False: stopped.
    bool BeginRead(bool _bBreakable);
    void EndRead();
    AVIOInterruptCB Callback() { return {Check, this}; }

private:
    static int Check(void* _pThis);

    std::atomic<bool> bStop{false};
    std::atomic<bool> bBreak{false};
    std::atomic<bool> bReading{false};
    std::atomic<int64_t> rtDeadline{INT64_MAX};
};

struct TRACK_CHOICE {
    int nVideo = 0;  // by position among those of its kind; below 0: none. 0: the one meant to be played
    int nAudio = 0;
};

// One thread at a time.
class Demuxer {
public:
    explicit Demuxer(Interrupt& _interrupt) : interrupt(_interrupt) {}
    ~Demuxer() { Close(); }
    Demuxer(const Demuxer&) = delete;
    Demuxer& operator=(const Demuxer&) = delete;

    // On failure Error() says why.
    HRESULT Open(const std::string& _strUrl, const TRACK_CHOICE& _choice);
    void Close();
    // The next packet of a chosen track, its times put on one line where a stream's own break off. A negative error
    // number on failure, AVERROR_EOF at the end. Damaged stretches are passed over.
    int Read(AVPacket* _pPacket);
    // To the key frame at or before _dblSeconds (on the file's own line) of the video, or of the audio.
    int Seek(double _dblSeconds);
    // To the first packet.
    int Rewind();

    AVFormatContext* Format() const { return pFormat; }
    AVStream* Video() const { return pVideo; }  // null: none
    AVStream* Audio() const { return pAudio; }
    int Tracks(AVMediaType _eType) const;
    bool Seekable() const;
    bool IsUrl() const { return bUrl; }
    bool IsLive() const { return bUrl && !Seekable(); }
    const std::string& Error() const { return strError; }

    // It names a protocol: "srt://...".
    static bool NamesProtocol(const std::string& _strUrl);

private:
    HRESULT Fail(HRESULT _hr, const std::string& _strReason);
    HRESULT CheckFile(const std::string& _strPath);
    AVStream* Choose(AVMediaType _eType, int _nWanted, AVStream* _pRelated) const;
    void ForgetBreaks();
    void FollowBreaks(AVPacket* _pPacket, const AVStream& _stream);

    Interrupt& interrupt;
    AVFormatContext* pFormat = nullptr;
    AVStream* pVideo = nullptr;
    AVStream* pAudio = nullptr;
    bool bUrl = false;
    std::string strUrl;
    std::string strError;
    int64_t nOffset = 0;                 // added to all times since a break, in microseconds
    int64_t nLastTime = AV_NOPTS_VALUE;  // decoding time of the last packet, offset included, in microseconds
    int nDamaged = 0;                    // failures since the last packet
};

}  // namespace zr
