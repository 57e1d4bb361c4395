#include "backends/ffmpeg/link_ffmpeg.h"

#include "backends/ffmpeg/file_worker.h"
#include "backends/ffmpeg/picture_codec.h"
#include "backends/ffmpeg/writer.h"

namespace zr {

void LinkFFmpegBackend() {
    LinkFFmpegFileWorker();
    LinkFFmpegWriter();
    LinkFFmpegPictureCodec();
}

}  // namespace zr
