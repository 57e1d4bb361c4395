#pragma once
// Clips for the tests of this folder: numbered pictures with a known row of samples, written and read back.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "backends/ffmpeg/link_ffmpeg.h"
#include "frame_module/frame_builders.h"
#include "media/file_worker.h"
#include "media/pixel_format.h"
#include "media/transport_interfaces.h"
#include "platform/class_registry.h"
#include "platform/clock.h"
#include "support/temp_folder.h"
#include "zr/module.h"
#include "zr/utf8.h"
#include "zr/writer.h"

namespace zr {

inline constexpr HRESULT kMediaEnded = Win32Error(1100);

struct RATE {
    int64_t nNum;
    int64_t nDen;
};

// Start of frame n, in ticks, rounded to the nearest.
inline int64_t FrameStart(RATE _rate, int64_t _n) {
    return (_n * 2 * kTicksPerSecond * _rate.nDen + _rate.nNum) / (2 * _rate.nNum);
}
// First sample of frame n at 48 kHz.
inline int64_t FrameSample(RATE _rate, int64_t _n) {
    return (_n * 2 * 48000 * _rate.nDen + _rate.nNum) / (2 * _rate.nNum);
}
// Sample n of a channel: no two stretches of the row are alike.
inline int16_t SampleValue(int64_t _n, int _nChannel) {
    return static_cast<int16_t>((_n * 7919 + _n * _n / 31 + _nChannel * 12345) % 20011 - 10000);
}

struct CLIP_FORMAT {
    eZrFCC fccType = eZrFCC_I420;
    int32_t nWidth = 320;
    int32_t nHeight = 192;
    RATE rate = {25, 1};
    int32_t nChannels = 2;
    eZrInterlace eInterlace = eZrI_Progressive;
};

inline constexpr int kNumberBits = 8;

// The picture has the bits of the number as upright bars of luma in the upper half and their complement in the lower,
// so that a picture upside down is another number.
inline ZrPtr<IZrFFrame> MakeClipFrame(const CLIP_FORMAT& _format, int _nNumber) {
    LinkFrameModule();
    ZR_AV_PROPS props;
    props.vidProps.fccType = eZrFCC_UYVY;
    props.vidProps.nWidth = _format.nWidth;
    props.vidProps.nHeight = _format.nHeight;
    props.vidProps.eInterlace = _format.eInterlace;
    props.vidProps.dblRate = static_cast<double>(_format.rate.nNum) / static_cast<double>(_format.rate.nDen);
    props.audProps = {_format.nChannels, 48000, 16, 0};
    const int64_t nFirst = FrameSample(_format.rate, _nNumber);
    const int64_t nSamples = FrameSample(_format.rate, _nNumber + 1) - nFirst;
    std::vector<int16_t> arrSamples;
    for (int64_t i = 0; i < nSamples; ++i)
        for (int n = 0; n < _format.nChannels; ++n) arrSamples.push_back(SampleValue(nFirst + i, n));
    ZrPtr<IZrFFrame> pFrame;
    EXPECT_EQ(CZrFrameFactory::Shared().ZrFFrameCreateFromMem(
                  &props, 0, static_cast<int32_t>(_format.nChannels > 0 ? nSamples : 0),
                  reinterpret_cast<int64_t>(arrSamples.data()), pFrame.Out(), u"color=gray"),
              S_OK);
    if (!pFrame) return pFrame;
    auto* p = reinterpret_cast<uint8_t*>(InfoOf(*pFrame).lpVideo) + 1;
    for (int32_t y = 0; y < _format.nHeight; ++y)
        for (int32_t x = 0; x < _format.nWidth; ++x, p += 2) {
            const bool bSet = (_nNumber >> (x * kNumberBits / _format.nWidth) & 1) != 0;
            *p = bSet == (y < _format.nHeight / 2) ? 200 : 40;
        }
    ZR_TIME time;
    time.rtStartTime = FrameStart(_format.rate, _nNumber);
    time.rtEndTime = FrameStart(_format.rate, _nNumber + 1);
    pFrame->ZrFTimeSet(&time);
    ZrPtr<IZrFFrame> pClip;
    EXPECT_EQ(pFrame->ZrFClone(pClip.Out(), eZrFC_Full, _format.fccType), S_OK);
    return pClip;
}

// The number in a picture, -1 when its halves or the columns of a bar do not belong together.
inline int NumberOf(IZrFFrame& _frame) {
    ZrPtr<IZrFFrame> pUyvy;
    if (Failed(_frame.ZrFClone(pUyvy.Out(), eZrFC_VideoRef, eZrFCC_UYVY))) return -1;
    const ZRF_FRAME_INFO info = InfoOf(*pUyvy);
    const ZR_VID_PROPS& props = info.avProps.vidProps;
    if (info.cbVideo == 0) return -1;
    int nNumber = -1;
    for (int32_t nShift = 0; nShift < 6; ++nShift) {  // each place in a group of six pixels
        int nUpper = 0, nLower = 0;
        for (int nBit = 0; nBit < kNumberBits; ++nBit) {
            const int32_t x = (2 * nBit + 1) * props.nWidth / (2 * kNumberBits) + nShift;
            const auto IsBright = [&](int32_t _y) {
                return reinterpret_cast<const uint8_t*>(info.lpVideo)[_y * props.nRowBytes + 2 * x + 1] > 120;
            };
            nUpper |= int{IsBright(props.nHeight / 4)} << nBit;
            nLower |= int{IsBright(props.nHeight * 3 / 4)} << nBit;
        }
        if (nUpper != (~nLower & ((1 << kNumberBits) - 1)) || (nShift > 0 && nUpper != nNumber)) return -1;
        nNumber = nUpper;
    }
    return nNumber;
}

// A folder that is gone with the test.
class ClipTest : public ::testing::Test {
protected:
    void SetUp() override {
        LinkFFmpegBackend();
        LinkFrameModule();
    }

    std::string Path(const std::string& _strName) const { return (folder / _strName).string(); }

    static ZrPtr<IZrWriter> NewWriter() {
        ZrPtr<IZrWriter> pWriter;
        EXPECT_EQ(ZrCreateInstance(kClsidZrWriter, pWriter), S_OK);
        return pWriter;
    }
    static ZrPtr<IZrFileWorker_I> NewWorker() {
        ZrPtr<IZrFileWorker_I> pWorker;
        EXPECT_EQ(ZrCreateInstance(kClsidFileWorkerFFmpeg, pWorker), S_OK);
        return pWorker;
    }
    static HRESULT Open(IZrFileWorker_I& _worker, const std::string& _strPath, const char16_t* _szParam = nullptr) {
        return _worker.WorkerOpen(ToUtf16(_strPath).c_str(), _szParam, 10 * kTicksPerSecond);
    }
    template <class Object>
    static std::string ErrorOf(Object& _object, HRESULT (Object::*_pGet)(BSTR*)) {
        std::string strError;
        GetText([&](BSTR* _pbs) { return (_object.*_pGet)(_pbs); }, strError);
        return strError;
    }
    // Writes frames 0 to _nFrames - 1.
    static ZR_WRITER_STATE WriteClip(const std::string& _strPath, const CLIP_FORMAT& _format, int _nFrames,
                                     const char16_t* _szParam = nullptr) {
        const ZrPtr<IZrWriter> pWriter = NewWriter();
        ZR_WRITER_STATE state;
        EXPECT_EQ(pWriter->WriterOpen(ToUtf16(_strPath).c_str(), _szParam), S_OK);
        const ZrPtr<IZrReceiver_I> pReceiver = pWriter.As<IZrReceiver_I>();
        for (int i = 0; i < _nFrames; ++i)
            EXPECT_EQ(pReceiver->MediaReceive(u"c", nullptr, MakeClipFrame(_format, i).Get()), S_OK);
        EXPECT_EQ(pWriter->WriterStop(), S_OK) << ErrorOf(*pWriter, &IZrWriter::WriterErrorGet);
        EXPECT_EQ(pWriter->WriterStateGet(&state), S_OK);
        return state;
    }

    const TempFolder temp;
    const std::filesystem::path& folder = temp.path;
};

}  // namespace zr
