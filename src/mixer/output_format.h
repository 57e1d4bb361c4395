#pragma once
// What the output of a mixer is, where its host has not said so.

#include "media/av_format.h"

namespace zr {

// Whether there is to be a picture, and its record is whole.
bool HasVideo(const AV_FORMAT& _format);
// Nothing is missing: a picture, or none by choice; and sound.
bool IsWhole(const AV_FORMAT& _format);
// What is missing becomes that of a frame, as far as it has it.
void CompleteByFrame(const AV_FORMAT& _frame, AV_FORMAT& _format);
// The same for sound. That of 8 bits, in which nothing is mixed, becomes one of 16.
void CompleteAudioByFrame(const ZR_AUD_PROPS& _frame, ZR_AUD_PROPS& _props);
// What is missing becomes 1080i at 59.94 and stereo sound at 48 kHz.
void CompleteByDefault(AV_FORMAT& _format);

}  // namespace zr
