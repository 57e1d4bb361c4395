#pragma once
// The frame that an object sent last, for whoever wants a look.

#include "platform/event.h"
#include "platform/lock.h"
#include "zr/frame.h"
#include "zr/ptr.h"

namespace zr {

// Any thread.
class LastFrame {
public:
    void Keep(IZrFFrame* _pFrame);
    void Clear();
    // As IZrObject::ObjectFrameGet.
    HRESULT Get(IZrFrame** _ppFrame, const char16_t* _szParam);

private:
    ZrPtr<IZrFFrame> Kept();

    Mutex mtx;
    ZrPtr<IZrFFrame> pFrame ZR_GUARDED_BY(mtx);
    ManualEvent evKept;  // set while there is one
};

}  // namespace zr
