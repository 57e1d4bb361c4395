#pragma once
// A source whose frames and silences a test decides.

#include <atomic>
#include <functional>
#include <vector>

#include "attributes/props_impl.h"
#include "framework/frame_factory_access.h"
#include "media/vid_props.h"
#include "one_reader_source.h"
#include "platform/clock.h"
#include "platform/event.h"

namespace zr {

// Gives a frame at every get, numbered by its data "NUMB", unless it is told to stall. Has no pace of its own.
class ScriptedSource final : public OneReaderSource {
public:
    // _arrLevels: the value of all samples of each channel.
    static ZrPtr<ScriptedSource> Make(const ZR_VID_PROPS& _vidProps, int32_t _nSamples,
                                      const std::vector<int16_t>& _arrLevels = {0, 0}, int32_t _nSplitBits = 0) {
        auto p = ZrPtr<ScriptedSource>::Attach(new ScriptedSource);
        p->props.vidProps = _vidProps;
        if (_nSamples > 0) p->props.audProps = {static_cast<int32_t>(_arrLevels.size()), 48000, 16, _nSplitBits};
        std::vector<int16_t> arrSound;
        for (int32_t i = 0; i < _nSamples; ++i) arrSound.insert(arrSound.end(), _arrLevels.begin(), _arrLevels.end());
        IZrFFactory* pFactory = nullptr;
        FrameFactory(&pFactory);
        const auto pSound = reinterpret_cast<int64_t>(_nSamples > 0 ? arrSound.data() : nullptr);
        pFactory->ZrFFrameCreateFromMem(&p->props, 0, _nSamples, pSound, p->pFrame.Out(), nullptr);
        return p;
    }
    // The number of a frame that came from here, -1 for any other.
    static int32_t NumberOf(IZrFFrame* _pFrame) {
        int32_t cb = 0;
        int64_t pb = 0;
        if (Failed(_pFrame->ZrFDataGet(u"NUMB", &cb, &pb)) || cb != sizeof(int32_t)) return -1;
        return *reinterpret_cast<const int32_t*>(pb);
    }

    std::atomic<bool> bStalls{false};
    std::atomic<bool> bNumbered{true};  // numbers are attached, which allocates
    std::atomic<int32_t> nGets{0};
    std::atomic<int32_t> nNext{0};
    std::atomic<int64_t> rtWaited{0};  // in all gets

    HRESULT NextFrame(int64_t _rtMaxWait, IZrFFrame** _ppFrame) override {
        nGets.fetch_add(1);
        if (bStalls.load()) {
            const int64_t rtBegin = ClockNow();
            WaitOne(evNever, _rtMaxWait);
            rtWaited.fetch_add(ClockNow() - rtBegin);
            return ZR_E_TIMEOUT;
        }
        const HRESULT hr = pFrame->ZrFClone(_ppFrame, eZrFC_Reference, eZrFCC_Default);
        if (Succeeded(hr) && bNumbered.load()) {
            const int32_t n = nNext.fetch_add(1);
            (*_ppFrame)->ZrFDataSet(u"NUMB", sizeof(n), reinterpret_cast<int64_t>(&n));
        }
        return hr;
    }
    HRESULT LastFrameGet(IZrFFrame** _ppFrame) override { return pFrame.CopyTo(_ppFrame); }

private:
    ZR_AV_PROPS props;
    ZrPtr<IZrFFrame> pFrame;
    ManualEvent evNever;
};

}  // namespace zr
