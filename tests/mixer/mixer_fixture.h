#pragma once
// A mixer on the virtual clock, with sources and receivers that a test decides.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "mixer/co_zr_mixer.h"
#include "platform/class_registry.h"
#include "support/frame_collector.h"
#include "support/scripted_source.h"
#include "zr/class_ids.h"

namespace zr {

inline ZR_VID_PROPS SmallPicture(double _dblRate) {
    ZR_VID_PROPS props;
    props.fccType = eZrFCC_UYVY;
    props.nWidth = 64;
    props.nHeight = 36;
    props.nRowBytes = 128;
    props.eInterlace = eZrI_Progressive;
    props.dblRate = _dblRate;
    return props;
}

// A mixer of small pictures with a scripted background, a collector on its output, and its events by name.
class MixerTest : public ::testing::Test {
protected:
    void Make(double _dblRate, bool _bKeepFrames = false) {
        ASSERT_EQ(CreateInstance(kClsidZrMixer, IZrObject::kIid, reinterpret_cast<void**>(pMixer.Out())), S_OK);
        pFile = pMixer.As<IZrFile>();
        pProps = pMixer.As<IZrProps>();
        const ZR_VID_PROPS props = SmallPicture(_dblRate);
        ASSERT_EQ(pMixer.As<IZrFormat>()->FormatVideoSet(eZrFT_Convert, &props), S_OK);
        pSource = ScriptedSource::Make(props, 0);
        ASSERT_EQ(pMixer.As<IZrStreams>()->StreamsBackgroundSet(pSource.Get(), u"", u"", nullptr, 0), S_OK);
        pCollector = ZrPtr<FrameCollector>::Attach(new FrameCollector(_bKeepFrames));
        ASSERT_EQ(pMixer.As<IZrSender_I>()->SenderConnect(pCollector.Get(), u"test", u"rate_control=0", nullptr), S_OK);
        pMixer->ObjectCallbackSetFunc(reinterpret_cast<int64_t>(&OnEvent), 0, reinterpret_cast<int64_t>(this));
    }
    void TearDown() override {
        if (pMixer) pMixer->ObjectClose();
    }
    static HRESULT OnEvent(int64_t _llUser, const char16_t*, const char16_t* _szEvent, const char16_t* _szParam,
                           IUnknown*) {
        auto& test = *reinterpret_cast<MixerTest*>(_llUser);
        {
            MutexLock lock(test.mtx);
            test.arrEvents.push_back(std::u16string(_szEvent) + u"/" + (_szParam ? _szParam : u""));
        }
        if (test.stopAt == _szEvent) {
            test.stopAt.clear();
            test.pFile->FilePlayStop(0);
        }
        return S_OK;
    }
    int CountEvents(const std::u16string& _event) {
        MutexLock lock(mtx);
        return static_cast<int>(std::count(arrEvents.begin(), arrEvents.end(), _event));
    }
    eZrState State() {
        eZrState eState = eZrS_Error;
        pMixer->ObjectStateGet(&eState);
        return eState;
    }

    VirtualClock clock;
    Mutex mtx;
    std::vector<std::u16string> arrEvents ZR_GUARDED_BY(mtx);
    std::u16string stopAt;  // the next event of that name stops the mixer, on the thread that tells it
    ZrPtr<IZrObject> pMixer;
    ZrPtr<IZrFile> pFile;
    ZrPtr<IZrProps> pProps;
    ZrPtr<ScriptedSource> pSource;
    ZrPtr<FrameCollector> pCollector;
};

}  // namespace zr
