// In place of ebur128_engine.cpp in a build without the library.
#include "audio/loudness_meter.h"

namespace zr {

std::unique_ptr<ILoudnessEngine> MakeLoudnessEngine(int32_t, int32_t) { return nullptr; }

}  // namespace zr
