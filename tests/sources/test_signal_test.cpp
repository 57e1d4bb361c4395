#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <tuple>

#include "frame_module/frame_builders.h"
#include "media/pixel_format.h"
#include "media/vid_props.h"
#include "sources/picture_source.h"

namespace zr {
namespace {

ZrPtr<IZrFFrame> Draw(const char16_t* _szName, eZrFCC _fccType, int32_t _nWidth, int32_t _nHeight) {
    BuiltInPicture picture;
    EXPECT_TRUE(BuiltInPicture::Find(_szName, &picture));
    ZR_VID_PROPS props{.fccType = _fccType, .nWidth = _nWidth, .nHeight = _nHeight};
    ZrPtr<IZrFFrame> pFrame;
    EXPECT_EQ(picture.Make(picture.Format(props), &pFrame), S_OK);
    return pFrame;
}

// The four bytes of the pair of pixels (UYVY, HDYC) or of the pixel (ARGB32) at a place.
uint32_t At(IZrFFrame* _pFrame, int32_t _x, int32_t _y) {
    const ZRF_FRAME_INFO info = InfoOf(*_pFrame);
    const ZR_VID_PROPS& props = info.avProps.vidProps;
    const int32_t nAt = props.fccType == eZrFCC_ARGB32 ? _x * 4 : _x / 2 * 4;
    const bool bBottomUp = props.fccType == eZrFCC_ARGB32 && props.nHeight > 0;
    const int32_t nRow = bBottomUp ? props.nHeight - 1 - _y : _y;
    const auto* p = reinterpret_cast<const uint8_t*>(info.lpVideo) + nRow * props.nRowBytes + nAt;
    return static_cast<uint32_t>(p[0] << 16 | p[1] << 8 | p[2]);
}

TEST(TestSignals, EachBarHasItsCodes) {
    constexpr struct {
        const char16_t* szName;
        eZrFCC fccType;
        uint32_t arrCodes[8];  // Cb, Y, Cr or blue, green, red: white, yellow, cyan, green, magenta, red, blue, black
    } arrCases[] = {
        {u"bars75", eZrFCC_UYVY, {0x80B480, 0x2CA28E, 0x9C832C, 0x48703A, 0xB854C6, 0x6441D4, 0xD42372, 0x801080}},
        {u"Bars100", eZrFCC_UYVY, {0x80EB80, 0x10D292, 0xA6AA10, 0x369122, 0xCA6ADE, 0x5A51F0, 0xF0296E, 0x801080}},
        {u"colorbars-pal",
         eZrFCC_HDYC,
         {0x80EB80, 0x2CA888, 0x93912C, 0x3F8534, 0xC13FCC, 0x6D33D4, 0xD41C78, 0x801080}},
        {u"colorbars-75",
         eZrFCC_ARGB32,
         {0xBFBFBF, 0x00BFBF, 0xBFBF00, 0x00BF00, 0xBF00BF, 0x0000BF, 0xBF0000, 0x000000}},
    };
    for (const auto& test : arrCases) {
        SCOPED_TRACE(test.arrCodes[1]);
        const auto pFrame = Draw(test.szName, test.fccType, 334, 50);
        for (int i = 0; i < 8; ++i)
            for (const int y : {0, 49}) EXPECT_EQ(At(pFrame.Get(), 334 * (2 * i + 1) / 16, y), test.arrCodes[i]) << i;
    }
}

TEST(TestSignals, StandardAndHighBarsHaveTheirRows) {
    // x, y: of 1680 x 240
    constexpr std::tuple<const char16_t*, eZrFCC, int32_t, int32_t, uint32_t> arrCases[] = {
        {u"colorbars-ntsc", eZrFCC_UYVY, 100, 159, 0x80B480},  {u"colorbars-ntsc", eZrFCC_UYVY, 100, 160, 0xD42372},
        {u"colorbars-ntsc", eZrFCC_UYVY, 1600, 170, 0x80B480}, {u"colorbars-ntsc", eZrFCC_UYVY, 298, 180, 0x9E105F},
        {u"colorbars-ntsc", eZrFCC_UYVY, 300, 239, 0x80EB80},  {u"colorbars-ntsc", eZrFCC_UYVY, 700, 200, 0xAE1095},
        {u"colorbars-ntsc", eZrFCC_UYVY, 1240, 200, 0x800780}, {u"colorbars-ntsc", eZrFCC_UYVY, 1400, 200, 0x801980},
        {u"colorbars-hd", eZrFCC_HDYC, 208, 139, 0x806880},    {u"colorbars-hd", eZrFCC_HDYC, 210, 139, 0x80B480},
        {u"colorbars-hd1080", eZrFCC_HDYC, 1460, 0, 0xD41C78}, {u"colorbars-hd", eZrFCC_HDYC, 0, 140, 0x9ABC10},
        {u"colorbars-hd", eZrFCC_HDYC, 1679, 150, 0xF02076},   {u"colorbars-hd", eZrFCC_HDYC, 0, 160, 0x10DB8A},
        {u"colorbars-hd", eZrFCC_HDYC, 840, 170, 0x807E80},    {u"colorbars-hd", eZrFCC_HDYC, 1679, 170, 0x663FF0},
        {u"colorbars-hd", eZrFCC_HDYC, 100, 200, 0x803180},    {u"colorbars-hd", eZrFCC_HDYC, 1020, 200, 0x800C80},
        {u"colorbars-hd", eZrFCC_HDYC, 1140, 200, 0x801480},
    };
    for (const auto& [szName, fccType, x, y, nCode] : arrCases)
        EXPECT_EQ(At(Draw(szName, fccType, 1680, 240).Get(), x, y), nCode) << x << ' ' << y;
}

TEST(TestSignals, NamesHaveTheirSizesAndRates) {
    constexpr std::tuple<const char16_t*, int32_t, int32_t, int32_t, double> arrCases[] = {
        {u"colorbars", 720, 576, 4, 29.97},           {u"colorbars-pal", 720, 576, 4, 25},
        {u"colorbars-ntsc", 720, 486, 4, 29.97},      {u"colorbars-hd", 1280, 720, 16, 59.94},
        {u"colorbars-hd1080", 1920, 1080, 16, 59.94},
    };
    for (const auto& [szName, nWidth, nHeight, nAspectX, dblRate] : arrCases) {
        BuiltInPicture picture;
        ASSERT_TRUE(BuiltInPicture::Find(szName, &picture));
        const ZR_VID_PROPS props = picture.Format({});
        EXPECT_EQ(props.nWidth, nWidth);
        EXPECT_EQ(std::abs(props.nHeight), nHeight);
        EXPECT_EQ(props.nAspectX, nAspectX);
        EXPECT_NEAR(props.dblRate, dblRate, 0.001);
        ZR_VID_PROPS sizeOnly{.nWidth = nWidth, .nHeight = nHeight, .dblRate = 29.97};
        EXPECT_EQ(picture.Format(sizeOnly).nAspectX, nAspectX);
    }
}

// Planes of half the size have whole lines only.
TEST(TestSignals, AnySizeIsDrawnInAnyFormat) {
    for (const char16_t* szName : {u"bars", u"red", u"videoq", u"black"}) {
        for (const eZrFCC fccType : {eZrFCC_I420, eZrFCC_NV12, eZrFCC_UYVY, eZrFCC_ARGB32}) {
            const auto pFrame = Draw(szName, fccType, 32, 31);
            ASSERT_TRUE(pFrame);
            const int32_t nHeight = std::abs(InfoOf(*pFrame).avProps.vidProps.nHeight);
            EXPECT_EQ(nHeight, PixelFormatPlanar(fccType) ? 30 : 31);
        }
    }
    const auto pRed = Draw(u"red", eZrFCC_I420, 32, 31);
    const auto* const p = reinterpret_cast<const uint8_t*>(InfoOf(*pRed).lpVideo);
    for (int i = 0; i < 32 * 30; ++i) ASSERT_EQ(p[i], 81) << i;
}

TEST(TestSignals, ChartHasRingsStepsAndNoColour) {
    for (const eZrFCC fccType : {eZrFCC_UYVY, eZrFCC_HDYC, eZrFCC_ARGB32}) {
        const bool bYuv = fccType != eZrFCC_ARGB32;
        const auto pFrame = Draw(u"videoq", fccType, 880, 400);
        EXPECT_EQ(At(pFrame.Get(), 4, 399), bYuv ? 0x801080u : 0u);
        EXPECT_EQ(At(pFrame.Get(), 876, 399), bYuv ? 0x80EB80u : 0xFFFFFFu);
        EXPECT_EQ(At(pFrame.Get(), 440, 380), bYuv ? 0x807E80u : 0x808080u);
        EXPECT_EQ(At(pFrame.Get(), 440, 200), bYuv ? 0x80EB80u : 0xFFFFFFu);  // the middle of the rings
    }
}

TEST(TestSignals, ToneGoesOnOverFrames) {
    const auto pSource = ZrPtr<PictureSource>::Attach(new PictureSource);
    for (const int nBits : {16, 24, -32}) {
        AV_FORMAT wanted;
        wanted.vidProps.fccType = eZrFCC_UYVY;
        wanted.vidProps.nWidth = 32;
        wanted.vidProps.nHeight = 16;
        wanted.vidProps.dblRate = 30000 / 1001.0;
        wanted.audProps = {2, 48000, nBits, 0};
        pSource->FormatSet(wanted);
        ASSERT_EQ(pSource->WorkerOpen(u"bars", u"img.tone=true file::img.tone_level=-6", 0), S_OK);
        int64_t nAt = 0;
        int nShort = 0, nLong = 0;
        for (int nFrame = 0; nFrame < 50; ++nFrame) {
            ZrPtr<IZrFFrame> pFrame;
            ASSERT_EQ(pSource->WorkerFrameGet(0, pFrame.Out()), S_OK);
            const ZRF_FRAME_INFO info = InfoOf(*pFrame);
            nShort += info.lAudioSamples == 1601;
            nLong += info.lAudioSamples == 1602;
            const auto* p = reinterpret_cast<const uint8_t*>(info.lpAudio);
            for (int32_t i = 0; i < info.lAudioSamples; ++i, ++nAt)
                for (int c = 0; c < 2; ++c, p += std::abs(nBits) / 8) {
                    double dbl = 0;
                    if (nBits == -32) {
                        float f = 0;
                        std::memcpy(&f, p, 4);
                        dbl = static_cast<double>(f);
                    } else if (nBits == 24) {
                        dbl = (p[0] + p[1] * 256 + static_cast<int8_t>(p[2]) * 65536) / 8388608.0;
                    } else {
                        dbl = (p[0] + static_cast<int8_t>(p[1]) * 256) / 32768.0;
                    }
                    // 48 samples a turn; -6 dB of full scale is 0.501187.
                    ASSERT_NEAR(dbl, 0.501187 * std::sin(static_cast<double>(nAt % 48) * 0.1308996939), 4e-5) << nAt;
                }
        }
        EXPECT_EQ(nShort + nLong, 50);
        EXPECT_EQ(nShort, 20);
        EXPECT_EQ(nLong, 30);
    }
}

}  // namespace
}  // namespace zr
