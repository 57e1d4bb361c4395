#pragma once
// Frames for the tests of this folder.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <span>

#include "frame_module/frame.h"
#include "frame_module/frame_factory.h"
#include "media/record_support.h"

namespace zr {

inline ZR_VID_PROPS VidProps(eZrFCC _fcc, int32_t _nWidth, int32_t _nHeight, int32_t _nRowBytes = 0) {
    ZR_VID_PROPS props{.fccType = _fcc, .nWidth = _nWidth, .nHeight = _nHeight, .nRowBytes = _nRowBytes, .dblRate = 25};
    return props;
}

inline ZRF_FRAME_INFO InfoOf(IZrFFrame& _frame) {
    ZRF_FRAME_INFO info;
    EXPECT_EQ(_frame.ZrFAllGet(&info), S_OK);
    return info;
}

inline ZR_AV_PROPS PropsOf(IZrFFrame& _frame) { return InfoOf(_frame).avProps; }

inline std::span<uint8_t> VideoOf(IZrFFrame& _frame) {
    const ZRF_FRAME_INFO info = InfoOf(_frame);
    return {reinterpret_cast<uint8_t*>(info.lpVideo), info.cbVideo};
}

inline std::span<uint8_t> AudioOf(IZrFFrame& _frame) {
    const ZRF_FRAME_INFO info = InfoOf(_frame);
    return {reinterpret_cast<uint8_t*>(info.lpAudio), info.cbAudio};
}

inline ZRF_VID_PTR PlanesOf(IZrFFrame& _frame) {
    ZRF_VID_PTR planes;
    EXPECT_EQ(_frame.ZrFVideoGetBytesEx(&planes), S_OK);
    return planes;
}

// A frame with nothing but sound.
template <class Samples>
ZrPtr<IZrFFrame> FrameOfSound(const ZR_AUD_PROPS& _props, const Samples& _samples) {
    ZrPtr<IZrFFrame> pFrame;
    EXPECT_EQ(CZrFrameFactory::Shared().ZrFFrameCreatePlain(0, pFrame.Out()), S_OK);
    const std::span bytes = std::as_bytes(std::span(_samples));
    EXPECT_EQ(pFrame->ZrFAudioSet(&_props, static_cast<int32_t>(bytes.size()), reinterpret_cast<int64_t>(bytes.data())),
              S_OK);
    return pFrame;
}

// A frame of a format, black or of the colour in the list.
inline ZrPtr<IZrFFrame> OneColour(const ZR_VID_PROPS& _props, const char16_t* _szList = nullptr) {
    const ZR_AV_PROPS props{_props, {}, {}};
    ZrPtr<IZrFFrame> pFrame;
    EXPECT_EQ(CZrFrameFactory::Shared().ZrFFrameCreateFromMem(&props, 0, 0, 0, pFrame.Out(), _szList), S_OK);
    return pFrame;
}

// A frame of a format whose bytes count up, 251 to a turn, so that rows and planes differ.
inline ZrPtr<IZrFFrame> CountingFrame(const ZR_VID_PROPS& _props) {
    ZrPtr<IZrFFrame> pFrame = OneColour(_props);
    const std::span<uint8_t> video = VideoOf(*pFrame);
    for (size_t i = 0; i < video.size(); ++i) video[i] = static_cast<uint8_t>(i % 251);
    return pFrame;
}

// Such a frame with sound, data, a text, a time and flags.
inline ZrPtr<IZrFFrame> FullFrame(const ZR_VID_PROPS& _props) {
    ZrPtr<IZrFFrame> p = CountingFrame(_props);
    const int16_t arr[] = {1, -1, 2, -2, 3, -3};
    const ZR_AUD_PROPS audProps{2, 48000, 16, 2};
    EXPECT_EQ(p->ZrFAudioSet(&audProps, sizeof(arr), reinterpret_cast<int64_t>(arr)), S_OK);
    EXPECT_EQ(p->ZrFDataSet(u"C608", 3, reinterpret_cast<int64_t>("abc")), S_OK);
    EXPECT_EQ(p->ZrFStrSet(u"title", u"News"), S_OK);
    const ZR_TIME time{.rtStartTime = 400000, .rtEndTime = 800000, .tcFrame = {}, .eFFlags = eZrFF_Break | eZrFF_Live};
    EXPECT_EQ(p->ZrFTimeSet(&time), S_OK);
    return p;
}

inline ZrPtr<IZrFFrame> CloneOf(IZrFFrame& _frame, eZrFrameClone _eType) {
    ZrPtr<IZrFFrame> pClone;
    EXPECT_EQ(_frame.ZrFClone(pClone.Out(), _eType, eZrFCC_Default), S_OK);
    return pClone;
}

// A part of a frame: a field (0: all lines) of a rectangle.
inline ZrPtr<IZrFFrame> CutOf(IZrFFrame& _frame, int32_t _nField, const tagRECT* _pRect = nullptr) {
    ZrPtr<IZrFFrame> pCut;
    EXPECT_EQ(_frame.ZrFCut(_nField, _pRect, pCut.Out()), S_OK);
    return pCut;
}
inline ZrPtr<IZrFFrame> CutOf(IZrFFrame& _frame, const tagRECT& _rect, int32_t _nField = 0) {
    return CutOf(_frame, _nField, &_rect);
}

// A frame with _cb bytes for a picture, which then gets its format.
inline ZrPtr<IZrFFrame> SizedFrame(uint32_t _cb, const ZR_VID_PROPS& _props) {
    ZrPtr<IZrFrame> pFrame;
    EXPECT_EQ(CZrFrameFactory::Shared().FrameCreateSized(_cb, 0, 0, pFrame.Out()), S_OK);
    const ZR_AV_PROPS props{_props, {}, {}};
    EXPECT_EQ(pFrame->FrameAVPropsSet(&props), S_OK);
    return pFrame.As<IZrFFrame>();
}

inline ZrPtr<IZrFFrame> EmptyFrame() {
    ZrPtr<IZrFFrame> pFrame;
    EXPECT_EQ(CZrFrameFactory::Shared().ZrFFrameCreatePlain(0, pFrame.Out()), S_OK);
    return pFrame;
}

// Equal in every field; the bytes between the fields are nobody's.
inline bool SameRecords(const ZR_AV_PROPS& _a, const ZR_AV_PROPS& _b) {
    return Fields(_a.vidProps) == Fields(_b.vidProps) && _a.bLocked == _b.bLocked &&
           std::memcmp(&_a.audProps, &_b.audProps, sizeof(_a.audProps)) == 0;
}

// The same samples, wherever they lie. The record of _b says how many.
inline void ExpectSamePlanes(IZrFFrame& _a, IZrFFrame& _b) {
    const ZR_VID_PROPS props = PropsOf(_b).vidProps;
    const ZRF_VID_PTR a = PlanesOf(_a), b = PlanesOf(_b);
    for (int32_t i = 0; i < PlaneCount(props.fccType); ++i)
        for (int32_t y = 0; y < b.szVideoPlanes[i].cy; ++y)
            ASSERT_EQ(std::memcmp(reinterpret_cast<const void*>(a.lpVideoPlanes[i] + int64_t{y} * a.cbVideoRowBytes[i]),
                                  reinterpret_cast<const void*>(b.lpVideoPlanes[i] + int64_t{y} * b.cbVideoRowBytes[i]),
                                  static_cast<size_t>(PlaneRowBytes(props, i))),
                      0)
                << "plane " << i << " line " << y;
}

// An object that says when it is gone.
class Mortal final : public UnknownImpl<IUnknown> {
public:
    explicit Mortal(bool* _pbGone) : pbGone(_pbGone) {}
    ~Mortal() override { *pbGone = true; }

private:
    bool* const pbGone;
};

}  // namespace zr
