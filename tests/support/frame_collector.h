#pragma once
// A receiver that writes down what it is sent.

#include <vector>

#include "media/transport_interfaces.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/unknown.h"

namespace zr {

class FrameCollector final : public UnknownImpl<IZrReceiver_I> {
public:
    struct RECEIVED {
        ZR_TIME time;
        int64_t rtArrived = 0;
        int32_t nSamples = 0;
        ZrPtr<IZrFFrame> pFrame;  // kept when bKeep is set
    };
    explicit FrameCollector(bool _bKeep = false) : bKeep(_bKeep) {}

    HRESULT MediaReceive(const char16_t*, IUnknown*, IZrFFrame* _pFrame) override {
        RECEIVED received;
        ZR_AV_PROPS props;
        _pFrame->ZrFTimeGet(&received.time);
        _pFrame->ZrFAVPropsGet(&props, &received.nSamples);
        received.rtArrived = ClockNow();
        if (bKeep) received.pFrame = _pFrame;
        MutexLock lock(mtx);
        arrFrames.push_back(std::move(received));
        return S_OK;
    }
    HRESULT MediaEnd(const char16_t*, IUnknown*, int32_t) override { return S_OK; }
    HRESULT MediaFlush(const char16_t*, IUnknown*, int32_t) override { return S_OK; }

    size_t Count() {
        MutexLock lock(mtx);
        return arrFrames.size();
    }
    std::vector<RECEIVED> Frames() {
        MutexLock lock(mtx);
        return arrFrames;
    }
    void Reserve(size_t _n) {
        MutexLock lock(mtx);
        arrFrames.reserve(_n);
    }

private:
    const bool bKeep;
    Mutex mtx;
    std::vector<RECEIVED> arrFrames ZR_GUARDED_BY(mtx);
};

}  // namespace zr
