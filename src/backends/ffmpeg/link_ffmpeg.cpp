#include "backends/ffmpeg/link_ffmpeg.h"

#include "backends/ffmpeg/file_worker.h"

namespace zr {

void LinkFFmpegBackend() { LinkFFmpegFileWorker(); }

}  // namespace zr
