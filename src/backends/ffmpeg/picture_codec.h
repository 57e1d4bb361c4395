#pragma once
// PNG, JPEG and TIFF files.

#include "backends/ffmpeg/pixel_map.h"
#include "media/picture_codec.h"
#include "platform/unknown.h"

namespace zr {

// See link_ffmpeg.h.
void LinkFFmpegPictureCodec();

class FFmpegPictureCodec final : public UnknownImpl<IPictureCodec_I> {
public:
    HRESULT Decode(const uint8_t* _pFile, size_t _cbFile, PictureTarget* _pTarget) override;
    HRESULT Encode(ePictureType _eType, const PICTURE_ROWS& _picture, int32_t _nQuality,
                   std::vector<uint8_t>* _parrFile) override;
};

}  // namespace zr
