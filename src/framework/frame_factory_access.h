#pragma once
// The process's maker of frames, found by its class id at first use. For everything that makes frames.

#include "media/frame_interfaces.h"
#include "platform/status.h"

namespace zr {

// The two faces of the maker; both live as long as the process. The caller takes no reference. Any thread.
// E_UNEXPECTED, and null: there is no maker of frames in this process. A later call looks again.
HRESULT FrameFactory(IZrFFactory** _ppFactory);
HRESULT FrameFactory(ZrFrameFactory_I** _ppFactory);

}  // namespace zr
