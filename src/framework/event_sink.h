#pragma once
// Where the parts of an object raise its events and show its frames, without knowing who listens.

#include "zr/frame.h"
#include "zr/unknown.h"

namespace zr {

// Any thread, with no lock held: a listener may be called from within, and may call the object. _szName: what raises
// it, the object or a part of it. Texts and objects are good for the call; each may be null where nothing is said.
class IEventSink {
public:
    virtual void RaiseEvent(const char16_t* _szName, const char16_t* _szEvent, const char16_t* _szParam,
                            IUnknown* _pObject) = 0;
    // Every frame that the object sends. Costs next to nothing while nobody listens.
    virtual void RaiseFrame(const char16_t* _szName, IZrFFrame* _pFrame) = 0;

protected:
    ~IEventSink() = default;
};

}  // namespace zr
