#pragma once
// The container side of writing: a file or a stream on the network, and the packets that go into it.

#include <cstdint>
#include <string>

#include "backends/ffmpeg/av_ptr.h"
#include "backends/ffmpeg/demuxer.h"
#include "backends/ffmpeg/output_file.h"
#include "platform/status.h"

namespace zr {

// How to write, as the attribute line of WriterOpen says it.
struct OUTPUT_OPTIONS {
    std::string strFormat;         // empty: by the ending or the protocol
    std::string strFormatOptions;  // "name=value:name=value"
    std::string strVideoCodec;     // empty: H.264 where the container takes it, else its own
    std::string strVideoOptions;
    int64_t nVideoBitrate = 0;
    std::string strAudioCodec;
    std::string strAudioOptions;
    int64_t nAudioBitrate = 0;
    bool bLive = false;
    int64_t nMostFrames = 0;  // 0: as many as come
};

// Sets the options of a text "name=value:name=value", blanks or colons between, on top of what is there.
// E_INVALIDARG: it is not of that form.
HRESULT ReadOptions(const std::string& _strText, AvOptions* _pOptions);

// One thread at a time. After a failure Error() says why in a sentence.
class Muxer {
public:
    explicit Muxer(Interrupt& _interrupt) : interrupt(_interrupt) {}
    ~Muxer() { Close(); }
    Muxer(const Muxer&) = delete;
    Muxer& operator=(const Muxer&) = delete;

    // Makes the file, or connects.
    HRESULT Open(const std::string& _strPath, const OUTPUT_OPTIONS& _options);
    // For the choice of encoders; null when nothing is open.
    const AVOutputFormat* Format() const { return pFormat ? pFormat->oformat : nullptr; }
    bool NeedsGlobalHeader() const { return (Format()->flags & AVFMT_GLOBALHEADER) != 0; }
    // A track for what an open encoder gives; before Begin. Null: memory is out.
    AVStream* AddTrack(const AVCodecContext& _codec);
    HRESULT Begin();
    // Takes the packet, whose times are in _base.
    HRESULT Write(AVPacket* _pPacket, const AVStream& _track, AVRational _base);
    // The end of the file, when it was begun.
    HRESULT End();
    void Close();

    int64_t Bytes() const;
    const std::string& Error() const { return strError; }
    // Keeps the first reason. Returns _hr.
    HRESULT Fail(HRESULT _hr, const std::string& _strReason);
    void ForgetError() { strError.clear(); }

private:
    HRESULT OpenTarget();
    HRESULT Check(int _nResult);

    Interrupt& interrupt;
    std::string strPath;
    OUTPUT_OPTIONS options;
    AVFormatContext* pFormat = nullptr;
    OutputFile file;
    bool bOwnFile = false;  // written through file
    bool bBegun = false;
    int64_t nBytes = 0;  // of a closed one
    int64_t nPackets = 0;
    int64_t cbLargest = 0;  // packet
    std::string strError;
};

}  // namespace zr
