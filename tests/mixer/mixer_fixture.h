#pragma once
// A mixer on the virtual clock, with sources and receivers that a test decides.

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "mixer/co_zr_mixer.h"
#include "platform/class_registry.h"
#include "support/frame_collector.h"
#include "support/scripted_source.h"
#include "zr/class_ids.h"

namespace zr {

inline ZR_VID_PROPS SmallPicture(double _dblRate) {
    ZR_VID_PROPS props{.fccType = eZrFCC_UYVY,
                       .nWidth = 64,
                       .nHeight = 36,
                       .nRowBytes = 128,
                       .eInterlace = eZrI_Progressive,
                       .dblRate = _dblRate};
    return props;
}

// A mixer of small pictures with a scripted background, a collector on its output, and its events by name.
class MixerTest : public ::testing::Test {
protected:
    void Make(double _dblRate, bool _bKeepFrames = false) {
        ASSERT_EQ(CreateInstance(kClsidZrMixer, IZrObject::kIid, reinterpret_cast<void**>(pMixer.Out())), S_OK);
        pFile = pMixer.As<IZrFile>();
        pProps = pMixer.As<IZrProps>();
        pStreams = pMixer.As<IZrStreams>();
        const ZR_VID_PROPS props = SmallPicture(_dblRate);
        ASSERT_EQ(pMixer.As<IZrFormat>()->FormatVideoSet(eZrFT_Convert, &props), S_OK);
        pSource = ScriptedSource::Make(props, 0);
        ASSERT_EQ(pStreams->StreamsBackgroundSet(pSource.Get(), u"", u"", nullptr, 0), S_OK);
        pCollector = ZrPtr<FrameCollector>::Attach(new FrameCollector(_bKeepFrames));
        ASSERT_EQ(pMixer.As<IZrSender_I>()->SenderConnect(pCollector.Get(), u"test", u"rate_control=0", nullptr), S_OK);
        pMixer->ObjectCallbackSetFunc(reinterpret_cast<int64_t>(&OnEvent), 0, reinterpret_cast<int64_t>(this));
    }
    void TearDown() override {
        if (pMixer) pMixer->ObjectClose();
    }
    static HRESULT OnEvent(int64_t _llUser, const char16_t*, const char16_t* _szEvent, const char16_t* _szParam,
                           IUnknown*) try {
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
    } catch (const std::bad_alloc&) {  // of a test that has the memory out
        return E_OUTOFMEMORY;
    }
    int CountEvents(const std::u16string& _event) {
        MutexLock lock(mtx);
        return static_cast<int>(std::count(arrEvents.begin(), arrEvents.end(), _event));
    }
    // The mixer is to make its own frames.
    void NoBackground() {
        pStreams->StreamsBackgroundSet(nullptr, nullptr, nullptr, nullptr, 0);
        pProps->PropsSet(u"object::background", u"");
    }
    HRESULT Add(const std::u16string& _id, IUnknown* _pSource, ZrPtr<IZrItem>* _ppItem = nullptr) {
        ZrPtr<IZrItem> pItem;
        const HRESULT hr = pStreams->StreamsAdd(_id.c_str(), _pSource, nullptr, nullptr, pItem.Out(), 0);
        if (_ppItem) *_ppItem = pItem;
        return hr;
    }
    static const XMLNodePtr& NodeOf(const ZrPtr<IZrItem>& _pItem) {
        return static_cast<CCoZrItem*>(_pItem.Get())->Node();
    }
    static MixerStreamPtr StreamOf(const ZrPtr<IZrItem>& _pItem) {
        return NodeOf(_pItem)->ObjectAs<MixerStreamPtr>(kMixStreamKey);
    }
    // The number of the last frame of a scripted source in a stream; -1: none.
    static int32_t NumberIn(const MixerStreamPtr& _pStream) {
        const auto pFrame = _pStream->LastFrame();
        return pFrame ? ScriptedSource::NumberOf(pFrame.Get()) : -1;
    }
    // A whole number of the statistics.
    int64_t Counter(const std::u16string& _name) {
        BSTR bs = nullptr;
        int64_t n = 0;
        if (pProps->PropsGet((u"stat::" + _name).c_str(), &bs) == S_OK && bs) {
            for (const char16_t* p = bs; *p >= u'0' && *p <= u'9'; ++p) n = n * 10 + (*p - u'0');
        }
        SysFreeString(bs);
        return n;
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
    ZrPtr<IZrStreams> pStreams;
    ZrPtr<ScriptedSource> pSource;
    ZrPtr<FrameCollector> pCollector;
};

}  // namespace zr
