#pragma once
// Where the frames of the mix cycle go.

#include "mixer/sync_request.h"

namespace zr {

class IFrameOutput {
public:
    // Sends a frame, or queues it, which may wait for room. The frame is not written to afterwards.
    virtual void Output(FramePtr _pFrame) = 0;
    // Whether a receiver sets the pace of the output at this moment.
    virtual bool IsPacedByReceiver() = 0;
    // The priority of the thread that sends.
    virtual void SetPriority(int32_t _nPriority) = 0;

protected:
    ~IFrameOutput() = default;
};

}  // namespace zr
