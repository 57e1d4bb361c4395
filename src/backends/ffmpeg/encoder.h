#pragma once
// Encoders of pictures and of sound. Times are counted: pictures and samples that went in make the output's time line.

extern "C" {
#include <libavutil/audio_fifo.h>
}

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backends/ffmpeg/muxer.h"
#include "backends/ffmpeg/pixel_map.h"
#include "zr/frame.h"
#include "zr/ptr.h"
#include "zr/records.h"

namespace zr {

struct FifoDelete {
    void operator()(AVAudioFifo* _p) const { av_audio_fifo_free(_p); }
};
using FifoPtr = std::unique_ptr<AVAudioFifo, FifoDelete>;

// Frames a second as a fraction, exact for the rates of the 1001 family; 25 for a rate that is not above 0.
AVRational RateOf(const ZR_VID_PROPS& _props);

// The encoders that a name asks for, or those of the usual codec of the container: the first that opens is taken.
struct CODEC_CHOICE {
    std::vector<const AVCodec*> arrCodecs;  // in the order of preference
    bool bTakes = true;                     // the container takes that kind of track at all
};
CODEC_CHOICE ChooseVideoCodec(const AVOutputFormat& _format, const std::string& _strName);
CODEC_CHOICE ChooseAudioCodec(const AVOutputFormat& _format, const std::string& _strName);

// What encoders have in common. One thread at a time.
class Encoder {
public:
    AVCodecContext* Context() const { return pContext.get(); }
    bool IsOpen() const { return pContext != nullptr; }
    void SetTrack(AVStream* _pTrack) { pTrack = _pTrack; }

protected:
    explicit Encoder(Muxer& _muxer) : muxer(_muxer) {}
    ~Encoder() = default;
    // Tries _openWith(codec) with those of the choice that the container takes, until one opens. _what they encode, for
    // the error.
    template <class OpenWith>
    HRESULT OpenOneOf(const CODEC_CHOICE& _choice, const std::string& _strName, const char* _szWhat,
                      const OpenWith& _openWith);
    // Opens pContext, which is filled in; what the text names and the codec does not know is an error.
    HRESULT OpenContext(const AVCodec& _codec, const std::string& _strOptions, AvOptions* _pOptions);
    // Null: the encoder is told that nothing follows.
    HRESULT Send(const AVFrame* _pFrame);

    Muxer& muxer;
    CodecPtr pContext;
    AVStream* pTrack = nullptr;
    PacketPtr pPacket{av_packet_alloc()};
};

class VideoEncoder final : public Encoder {
public:
    explicit VideoEncoder(Muxer& _muxer) : Encoder(_muxer) {}
    HRESULT Open(const ZR_VID_PROPS& _props, const OUTPUT_OPTIONS& _options);
    void Close();
    // Encodes the frame's picture _nTimes times.
    HRESULT Encode(IZrFFrame& _frame, int64_t _nTimes);
    // The last picture again: the frame that comes next has none.
    HRESULT Repeat();
    // Leaves out places on the time line.
    void Skip(int64_t _nPictures) { nNext += _nPictures; }
    HRESULT Finish() { return IsOpen() ? Send(nullptr) : S_OK; }
    int64_t Next() const { return nNext; }  // place of the next picture
    AVRational Rate() const { return rate; }

private:
    HRESULT OpenWith(const AVCodec& _codec, const ZR_VID_PROPS& _props, const OUTPUT_OPTIONS& _options);
    ZrPtr<IZrFFrame> InEncoderFormat(IZrFFrame& _frame, const ZR_AV_PROPS& _props) const;
    HRESULT ToEncoder(IZrFFrame& _frame);
    HRESULT NextBuffer();

    AVRational rate = {25, 1};
    int64_t nNext = 0;
    bool bFields = false;
    bool bTopFirst = true;
    PixelConverter converter;
    ScratchPicture scratch;
    std::vector<FramePtr> arrBuffers;  // those that the encoder has let go of are used again
    AVFrame* pCurrent = nullptr;       // the last picture, one of arrBuffers
};

class AudioEncoder final : public Encoder {
public:
    explicit AudioEncoder(Muxer& _muxer) : Encoder(_muxer) {}
    HRESULT Open(const ZR_AUD_PROPS& _props, const OUTPUT_OPTIONS& _options);
    void Close();
    // Adds samples of the format; a change of it is followed. Address null: silence.
    HRESULT Encode(const ZR_AUD_PROPS& _props, const uint8_t* _pSamples, int64_t _nSamples);
    // Cuts or fills the track to so many samples of its rate, as far as that can still be done, and ends it.
    HRESULT Finish(int64_t _nLength);
    // Samples taken so far, in the encoder's rate.
    int64_t Taken() const { return nTaken; }
    int Rate() const { return pContext->sample_rate; }
    HRESULT AddSilence(int64_t _nSamples);

private:
    HRESULT OpenWith(const AVCodec& _codec, const ZR_AUD_PROPS& _props, const OUTPUT_OPTIONS& _options);
    HRESULT Prepare(const ZR_AUD_PROPS& _props);
    HRESULT Drain(bool _bAll);
    void PointPlanes(size_t _cbChannel);
    HRESULT Resample(const uint8_t* _pSamples, int _nSamples);

    ZR_AUD_PROPS input;
    SwrPtr pResampler;
    FifoPtr pFifo;
    FramePtr pFrame;
    std::vector<uint8_t> arrWide;  // 20 and 24-bit samples as 32-bit ones; channels that are taken
    std::vector<uint8_t> arrOut;   // converted samples, and where their planes begin
    std::vector<uint8_t*> arrOutPlanes;
    int64_t nTaken = 0;
    int64_t nSent = 0;
    int nChannels = 0;
};

}  // namespace zr
