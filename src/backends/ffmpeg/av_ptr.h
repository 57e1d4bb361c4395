#pragma once
// Holders of the objects of the libav libraries.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>

namespace zr {

struct AvDelete {
    void operator()(AVFrame* _p) const { av_frame_free(&_p); }
    void operator()(AVPacket* _p) const { av_packet_free(&_p); }
    void operator()(AVCodecContext* _p) const { avcodec_free_context(&_p); }
    void operator()(SwsContext* _p) const { sws_freeContext(_p); }
    void operator()(SwrContext* _p) const { swr_free(&_p); }
};

using FramePtr = std::unique_ptr<AVFrame, AvDelete>;
using PacketPtr = std::unique_ptr<AVPacket, AvDelete>;
using CodecPtr = std::unique_ptr<AVCodecContext, AvDelete>;
using SwsPtr = std::unique_ptr<SwsContext, AvDelete>;
using SwrPtr = std::unique_ptr<SwrContext, AvDelete>;

// Options by name, freed with the holder.
class AvOptions {
public:
    AvOptions() = default;
    ~AvOptions() { av_dict_free(&pDict); }
    AvOptions(const AvOptions&) = delete;
    AvOptions& operator=(const AvOptions&) = delete;

    void Set(const char* _szName, const char* _szValue) { av_dict_set(&pDict, _szName, _szValue, 0); }
    // Keeps what is there already.
    void SetDefault(const char* _szName, const char* _szValue) {
        av_dict_set(&pDict, _szName, _szValue, AV_DICT_DONT_OVERWRITE);
    }
    // The name of one of them, null when there is none.
    const char* First() const {
        const AVDictionaryEntry* pEntry = av_dict_get(pDict, "", nullptr, AV_DICT_IGNORE_SUFFIX);
        return pEntry ? pEntry->key : nullptr;
    }
    AVDictionary** Ptr() { return &pDict; }

private:
    AVDictionary* pDict = nullptr;
};

}  // namespace zr
