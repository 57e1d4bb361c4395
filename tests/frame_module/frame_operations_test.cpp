// Frames in other formats: the operations of the frame and of its factory.

#include <algorithm>
#include <numeric>
#include <tuple>

#include "frame_builders.h"
#include "video/color_convert.h"
#include "video/image_format.h"

namespace zr {
namespace {

ZrPtr<IZrFrame> Short(const ZrPtr<IZrFFrame>& _p) { return _p.As<IZrFrame>(); }

// 32-bit pixels that say where they are from: blue x, green y.
ZrPtr<IZrFFrame> PlaceFrame(int32_t _nWidth, int32_t _nHeight) {
    ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(eZrFCC_ARGB32, _nWidth, -_nHeight));
    const std::span<uint8_t> video = VideoOf(*pFrame);
    for (size_t i = 0; i < video.size() / 4; ++i) {
        video[4 * i] = static_cast<uint8_t>(i % static_cast<size_t>(_nWidth));
        video[4 * i + 1] = static_cast<uint8_t>(i / static_cast<size_t>(_nWidth));
    }
    return pFrame;
}

TEST(FrameConvert, CutsTurnsConvertsAndMirrorsInThisOrder) {
    const ZrPtr<IZrFFrame> pFrame = PlaceFrame(40, 30);
    const ZR_VID_PROPS wanted = VidProps(eZrFCC_ARGB32, 20, -32);  // the turned rest of 32 x 20
    ZrPtr<IZrFrame> pResult;
    ASSERT_EQ(Short(pFrame)->FrameConvert(&wanted, pResult.Out(), u"mirror='horz' rotate=right crop='2,3,6,7'"), S_OK);
    const ZrPtr<IZrFFrame> pFull = pResult.As<IZrFFrame>();
    const std::span<uint8_t> video = VideoOf(*pFull);
    ASSERT_EQ(video.size(), 20u * 32 * 4);
    for (int32_t y = 0; y < 32; ++y)
        for (int32_t x = 0; x < 20; ++x) {
            // Mirrored, column x shows column 19 - x of the turned picture, which is line x of the rest; its row y is
            // column y of it.
            const auto nAt = static_cast<size_t>(4 * (y * 20 + x));
            ASSERT_EQ(video[nAt], 2 + y) << x << ", " << y;
            ASSERT_EQ(video[nAt + 1], 3 + x) << x << ", " << y;
        }
}

TEST(FrameConvert, PlanesAreTurnedTooAndKeepTheirFormat) {
    for (const eZrFCC fcc : {eZrFCC_I420, eZrFCC_NV12, eZrFCC_YV12}) {
        const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(fcc, 40, 30));
        const std::span<uint8_t> source = VideoOf(*pFrame);
        ZrPtr<IZrFrame> pResult;
        const ZR_VID_PROPS any;
        ASSERT_EQ(Short(pFrame)->FrameConvert(&any, pResult.Out(), u"rotate=left"), S_OK);
        const ZrPtr<IZrFFrame> pFull = pResult.As<IZrFFrame>();
        const ZR_VID_PROPS props = InfoOf(*pFull).avProps.vidProps;
        ASSERT_EQ(props.fccType, fcc);
        ASSERT_EQ(props.nWidth, 30);
        ASSERT_EQ(props.nHeight, 40);
        const std::span<uint8_t> turned = VideoOf(*pFull);
        for (size_t y = 0; y < 40; ++y)
            for (size_t x = 0; x < 30; ++x)
                ASSERT_EQ(turned[y * static_cast<size_t>(props.nRowBytes) + x], source[x * 40 + 39 - y])
                    << x << ' ' << y;
    }
}

// As a clone in the format does: nothing is scaled by the one pixel.
TEST(FrameConvert, FormatsThatShareChromaDropAnOddColumnAndLine) {
    const ZrPtr<IZrFFrame> pFrame = PlaceFrame(61, 21);
    for (const eZrFCC fcc : {eZrFCC_I420, eZrFCC_NV12, eZrFCC_UYVY}) {
        const ZR_VID_PROPS wanted = VidProps(fcc, 0, 0);
        ZrPtr<IZrFrame> pResult;
        ZrPtr<IZrFFrame> pClone;
        ASSERT_EQ(Short(pFrame)->FrameConvert(&wanted, pResult.Out(), nullptr), S_OK);
        ASSERT_EQ(pFrame->ZrFClone(pClone.Out(), eZrFC_Video, fcc), S_OK);
        EXPECT_EQ(PropsOf(*pClone).vidProps.nWidth, 60);
        EXPECT_EQ(PropsOf(*pClone).vidProps.nHeight, fcc == eZrFCC_UYVY ? 21 : 20);
        EXPECT_TRUE(std::ranges::equal(VideoOf(*pResult.As<IZrFFrame>()), VideoOf(*pClone))) << std::hex << fcc;
    }
}

TEST(FrameConvert, TimeAndAudioGoAlongAndWhatIsNotGivenIsTheSources) {
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(eZrFCC_UYVY, 64, 36));
    const ZR_AUD_PROPS audProps{2, 48000, 16, 0};
    int16_t arrAudio[8];
    std::iota(std::begin(arrAudio), std::end(arrAudio), int16_t{5});
    ASSERT_EQ(pFrame->ZrFAudioSet(&audProps, sizeof(arrAudio), reinterpret_cast<int64_t>(arrAudio)), S_OK);
    ZR_TIME time{.rtStartTime = 400000, .rtEndTime = 800000, .tcFrame = {}, .eFFlags = eZrFF_Break};
    ASSERT_EQ(pFrame->ZrFTimeSet(&time), S_OK);
    const std::tuple<const char*, ZR_VID_PROPS, eZrFCC, int32_t, int32_t> arrCases[] = {
        {"only_a_format", VidProps(eZrFCC_I420, 0, 0), eZrFCC_I420, 64, 36},
        {"rgb_comes_top_down", VidProps(eZrFCC_RGB24, 0, 0), eZrFCC_RGB24, 64, -36},
        {"only_a_size", VidProps(eZrFCC_Default, 32, 18), eZrFCC_UYVY, 32, 18},
        {"the_family_stays", VidProps(eZrFCC_HDYC, 32, 18), eZrFCC_UYVY, 32, 18},
        {"nothing", {}, eZrFCC_UYVY, 64, 36},
    };
    for (const auto& [szName, wanted, fcc, nWidth, nHeight] : arrCases) {
        SCOPED_TRACE(szName);
        ZrPtr<IZrFrame> pResult;
        ASSERT_EQ(CZrFrameFactory::Shared().FrameConvertEx(Short(pFrame).Get(), 0, &wanted, pResult.Out(), nullptr),
                  S_OK);
        const ZrPtr<IZrFFrame> pFull = pResult.As<IZrFFrame>();
        const ZRF_FRAME_INFO info = InfoOf(*pFull);
        EXPECT_EQ(info.avProps.vidProps.fccType, fcc);
        EXPECT_EQ(info.avProps.vidProps.nWidth, nWidth);
        EXPECT_EQ(info.avProps.vidProps.nHeight, nHeight);
        EXPECT_EQ(info.avProps.vidProps.dblRate, 25);
        EXPECT_EQ(info.mTime.rtEndTime, 800000);
        EXPECT_EQ(info.mTime.eFFlags, eZrFF_Break);
        EXPECT_NE(info.lpVideo, InfoOf(*pFrame).lpVideo);
        EXPECT_TRUE(std::ranges::equal(AudioOf(*pFull), AudioOf(*pFrame)));
    }
}

// Windows onto planar pictures have their planes apart.
TEST(FrameConvert, WindowsAndFieldsConvertLikePicturesOfTheirOwn) {
    for (const eZrFCC fcc : {eZrFCC_I420, eZrFCC_NV12, eZrFCC_UYVY, eZrFCC_RGB24}) {
        SCOPED_TRACE(testing::Message() << std::hex << fcc);
        const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(fcc, 64, 48));
        for (const int32_t nField : {0, 2}) {
            const auto pCut = CutOf(*pFrame, {16, 8, 48, 40}, nField), pOwn = CloneOf(*pCut, eZrFC_Video);
            ZrPtr<IZrFFrame> pFromCut, pFromOwn;
            for (const eZrFCC fccTo : {eZrFCC_YUY2, eZrFCC_ARGB32}) {
                ASSERT_EQ(pCut->ZrFClone(pFromCut.Out(), eZrFC_VideoRef, fccTo), S_OK);
                ASSERT_EQ(pOwn->ZrFClone(pFromOwn.Out(), eZrFC_VideoRef, fccTo), S_OK);
                EXPECT_TRUE(std::ranges::equal(VideoOf(*pFromCut), VideoOf(*pFromOwn)));
                ZrPtr<IZrFFrame> pSmallCut, pSmallOwn;
                ASSERT_EQ(pCut->ZrFResize(fccTo, 20, 10, 0, pSmallCut.Out(), nullptr, u"test"), S_OK);
                ASSERT_EQ(pOwn->ZrFResize(fccTo, 20, 10, 0, pSmallOwn.Out(), nullptr, nullptr), S_OK);
                EXPECT_TRUE(std::ranges::equal(VideoOf(*pSmallCut), VideoOf(*pSmallOwn)));
            }
        }
    }
}

TEST(FrameConvert, ResizeTakesOneFieldAndNeverKeepsTheAspect) {
    ZR_VID_PROPS props = VidProps(eZrFCC_UYVY, 64, 36);
    props.nAspectX = 16;
    props.nAspectY = 9;
    props.eScaleType = eZrST_LetterBox;
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(props);
    const std::span<uint8_t> video = VideoOf(*pFrame);
    for (size_t i = 0; i < video.size(); ++i) video[i] = i / 128 % 2 == 0 ? 90 : 170;  // the fields
    for (const int32_t nField : {1, 2}) {
        ZrPtr<IZrFFrame> pSmall;
        ASSERT_EQ(pFrame->ZrFResize(eZrFCC_Default, 30, 30, nField, pSmall.Out(), u"scaling_quality=2", nullptr), S_OK);
        EXPECT_EQ(PropsOf(*pSmall).vidProps.eScaleType, eZrST_LetterBox);
        for (const uint8_t n : VideoOf(*pSmall)) ASSERT_NEAR(n, nField == 1 ? 90 : 170, 1);
    }
}

TEST(FrameConvert, SaysWhatItCannotDo) {
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(eZrFCC_UYVY, 64, 36)), pEmpty = EmptyFrame();
    ZrPtr<IZrFrame> pResult;
    const ZR_VID_PROPS planar = VidProps(eZrFCC_I420, 64, 36), v210 = VidProps(eZrFCC_v210, 48, 36),
                       unknown = VidProps(kFCC_r210, 64, 36);
    EXPECT_EQ(Short(pFrame)->FrameConvert(nullptr, pResult.Out(), nullptr), E_POINTER);
    EXPECT_EQ(Short(pEmpty)->FrameConvert(&planar, pResult.Out(), nullptr), ZR_E_EMPTY);
    EXPECT_EQ(Short(pFrame)->FrameConvert(&planar, pResult.Out(), u"mirror=horz"), E_NOTIMPL);
    EXPECT_EQ(Short(pFrame)->FrameConvert(&unknown, pResult.Out(), nullptr), kTypeNotAccepted);
    EXPECT_EQ(Short(PlaceFrame(16, 16))->FrameConvert(&v210, pResult.Out(), nullptr), E_FAIL);
    EXPECT_FALSE(pResult);
    ZR_AV_PROPS wanted{planar, {}, {}};
    ZrPtr<IZrFFrame> pFull;
    int32_t nRest = 7;
    ASSERT_EQ(pFrame->ZrFConvert(&wanted, pFull.Out(), &nRest, nullptr, u"one"), S_OK);
    EXPECT_EQ(nRest, 0);
    EXPECT_EQ(PropsOf(*pFull).vidProps.fccType, eZrFCC_I420);
}

// The step of a stream: what is as wanted already moves no pixels.
TEST(FrameConvert, AStreamsFrameThatIsAsWantedIsAReference) {
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(eZrFCC_UYVY, 64, 36));
    const CAutoObj<ZrImageFormat> pFormat = ZrImageFormat::Make();
    const ZR_VID_PROPS wanted = PropsOf(*pFrame).vidProps;
    FRAME_CONVERT_OPTIONS mirror;
    mirror.svMirror = u"vert";
    const std::tuple<int32_t, FRAME_CONVERT_OPTIONS, bool> arrCases[] = {
        {2, {}, true}, {1, {}, false}, {2, mirror, false}};
    for (const auto& [nLevel, options, bSame] : arrCases) {
        ZrPtr<IZrFrame> pResult;
        ASSERT_EQ(pFormat->ConvertFrame_I(Short(pFrame).Get(), wanted, nLevel, options, pResult.Out()), S_OK);
        EXPECT_EQ(InfoOf(*pResult.As<IZrFFrame>()).lpVideo == InfoOf(*pFrame).lpVideo, bSame);
    }
}

}  // namespace
}  // namespace zr
