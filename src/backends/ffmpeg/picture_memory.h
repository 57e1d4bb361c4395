#pragma once
// Decoded pictures in the memory of frames: a decoder writes into blocks of the frame factory, and its pictures go on
// as frames over them, without a copy.

#include "backends/ffmpeg/av_ptr.h"
#include "zr/frame.h"
#include "zr/ptr.h"
#include "zr/records.h"
#include "zr/status.h"

namespace zr {

// Before the decoder is opened. Pictures that are handed on as they are lie in blocks then, others where the decoder
// has them by itself.
void UseFrameMemory(AVCodecContext& _codec);

// A frame over a picture that lies in such a block; the decoder may read it on. S_FALSE: it lies elsewhere, or is no
// picture of that record, and has to be copied.
HRESULT FrameOverPicture(const AVFrame& _picture, const ZR_VID_PROPS& _props, ZrPtr<IZrFFrame>* _ppFrame);

}  // namespace zr
