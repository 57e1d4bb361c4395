#pragma once
// Frames and an object with a pull door for the tests of this folder.

#include <gtest/gtest.h>

#include <cstdint>

#include "frame_module/frame_builders.h"
#include "platform/clock.h"
#include "platform/thread.h"
#include "transport/source_readers.h"

namespace zr {

constexpr int64_t kMs = kTicksPerMs;
constexpr int64_t kFrame25 = 40 * kMs;

// A small picture with sound, the _nIndex-th of 25 a second.
inline ZrPtr<IZrFFrame> FrameAt(int64_t _nIndex, uint32_t _nFlags = 0, double _dblRate = 25) {
    ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(eZrFCC_UYVY, 16, 8));
    const ZR_AUD_PROPS audProps{2, 48000, 16, 0};
    EXPECT_EQ(pFrame->ZrFAudioAlloc(&audProps, 1920), S_OK);
    ZR_AV_PROPS props = PropsOf(*pFrame);
    props.vidProps.dblRate = _dblRate;
    EXPECT_EQ(pFrame->ZrFAVPropsSet(&props, nullptr), S_OK);
    ZR_TIME time;
    time.rtStartTime = _nIndex * kFrame25;
    time.rtEndTime = time.rtStartTime + kFrame25;
    time.eFFlags = static_cast<eZrFrameFlags>(_nFlags);
    EXPECT_EQ(pFrame->ZrFTimeSet(&time), S_OK);
    return pFrame;
}

inline ZR_TIME TimeOf(IZrFFrame& _frame) {
    ZR_TIME time;
    EXPECT_EQ(_frame.ZrFTimeGet(&time), S_OK);
    return time;
}

// Waits on the virtual clock until _condition holds; the other threads run meanwhile.
template <class Condition>
void WaitUntil(Condition _condition) {
    for (int i = 0; i < 100000 && !_condition(); ++i) SleepFor(kMs);
    EXPECT_TRUE(_condition());
}

struct Door : ISourceHost {
    HRESULT OnSourceStart(const char16_t*) override { return hrStart; }
    void OnReaderCount(size_t _nReaders) override { nCount = _nReaders; }
    void OnReaderKept() override { ++nKept; }

    uint64_t NewReader() {
        uint64_t llID = 0;
        EXPECT_EQ(readers.SourceFrameGetEx_I(&llID, 0, nullptr, nullptr), S_OK);
        return llID;
    }
    HRESULT Get(uint64_t _llID, int64_t _rtMaxWait, ZrPtr<IZrFFrame>* _ppFrame = nullptr) {
        ZrPtr<IZrFFrame> pFrame;
        const HRESULT hr = readers.SourceFrameGetEx_I(&_llID, _rtMaxWait, pFrame.Out(), nullptr);
        EXPECT_EQ(hr == S_OK, static_cast<bool>(pFrame));
        if (_ppFrame) *_ppFrame = pFrame;
        return hr;
    }
    HRESULT Put(int64_t _nIndex, uint32_t _nFlags = 0, int32_t _nPutWait = 0) {
        return readers.PutFrame(FrameAt(_nIndex, _nFlags).Get(), _nPutWait, -1);
    }

    HRESULT hrStart = S_OK;
    std::atomic<size_t> nCount{0};
    std::atomic<int32_t> nKept{0};
    XMLNodePtr pRoot = CoXMLNode::Create(u"props"), pObject = pRoot->Find(u"object", true);
    SourceReaders readers{pRoot, pObject, *this};
};

}  // namespace zr
