#pragma once
// What the operations on the sound of frames keep from call to call, by the name that the caller gives.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "audio/audio_buffer2.h"
#include "audio/audio_converter.h"
#include "platform/lock.h"
#include "platform/ref_object.h"

namespace zr {

// The sound of one stream of frames.
class NamedSound final : public AutoObjBase<NamedSound> {
public:
    Mutex mtx{lock_order::kFrameSound};
    ZrAudioConverter converter ZR_GUARDED_BY(mtx);  // of ZrFConvert
    std::vector<uint8_t> arrConverted ZR_GUARDED_BY(mtx);
    ZrAudioBuffer2 waiting;  // of ZrFAudioMix: what did not fit the last frame
};

// The sound of a name. 64 names are kept; a further one pushes the one out that has not been asked for longest. Empty:
// memory is out. Any thread.
CAutoObj<NamedSound> SoundOfName(std::u16string_view _svName);

}  // namespace zr
