#include "sources/picture_source.h"

#include <gtest/gtest.h>

#include <tuple>

#include "frame_module/frame_builders.h"
#include "media/vid_props.h"
#include "support/scripted_worker.h"
#include "support/temp_folder.h"
#include "zr/utf8.h"

namespace zr {
namespace {

TEST(BuiltInPicture, KnowsColoursFromFileNames) {
    // nBgra: the first pixel as ARGB32
    constexpr std::tuple<const char16_t*, bool, uint32_t> arrCases[] = {
        {u"black", true, 0xFF000000},
        {u"White", true, 0xFFFFFFFF},
        {u"red", true, 0xFFFF0000},
        {u"blue", true, 0xFF0000FF},
        {u"green", true, 0xFF008000},
        {u"Red(128)", true, 0x80800000},
        {u"transparent", true, 0},
        {u"NONE", true, 0},
        {u"F00", true, 0xFFFF0000},
        {u"0000ff", true, 0xFF0000FF},
        {u"#00FF00", true, 0xFF00FF00},
        {u"80FF8040", true, 0x80804020},  // premultiplied: 80 x 80 / FF is 40, 40 x 80 / FF is 20
        {u"FADE.mp4", false, 0},
        {u"12.mkv", false, 0},
        {u"red.mp4", false, 0},
        {u"", false, 0},
        {u"reddish", false, 0},
        {u"FADE", false, 0},
        {u"Red(", false, 0},
        {u"Red(1)x", false, 0},
        {u"/red", false, 0},
        {u"(128)", false, 0},
        {u"Default", false, 0},
        {u"#", false, 0},
    };
    for (const auto& [szName, bColour, nBgra] : arrCases) {
        SCOPED_TRACE(std::string(szName, szName + std::u16string(szName).size()));
        BuiltInPicture picture;
        ASSERT_EQ(BuiltInPicture::Find(szName, &picture), bColour);
        if (!bColour) continue;
        ZR_VID_PROPS props{.fccType = eZrFCC_ARGB32, .nWidth = 64, .nHeight = 32};
        ZrPtr<IZrFFrame> pFrame;
        ASSERT_EQ(picture.Make(picture.Format(props), &pFrame), S_OK);
        const ZRF_FRAME_INFO info = InfoOf(*pFrame);
        ASSERT_EQ(info.cbVideo, 64u * 32 * 4);
        EXPECT_EQ(reinterpret_cast<const uint32_t*>(info.lpVideo)[0], nBgra);
        EXPECT_EQ(reinterpret_cast<const uint32_t*>(info.lpVideo)[64 * 32 - 1], nBgra);
    }
}

TEST(PictureSource, PlaysOnePictureForItsDurationByReference) {
    PictureSource& source = *new PictureSource;
    const auto pHold = ZrPtr<PictureSource>::Attach(&source);
    AV_FORMAT wanted;
    wanted.vidProps = PropsFromFormat(eZrVF_HD1080_2997p, eZrFCC_Default);
    wanted.audProps = {2, 48000, 16, 0};
    source.FormatSet(wanted);
    ASSERT_EQ(source.WorkerOpen(u"blue", u"img.default_duration=2.0 loop=1", 0), S_OK);
    ZrPtr<IZrFFrame> pFrame;
    int64_t llVideoID = 0, nSamples = 0;
    int nFrames = 0;
    for (HRESULT hr = S_OK; (hr = source.WorkerFrameGet(0, pFrame.Out())) != Win32Error(1100); ++nFrames) {
        ASSERT_EQ(hr, S_OK);
        const ZRF_FRAME_INFO info = InfoOf(*pFrame);
        if (nFrames == 0) llVideoID = info.llVideoID;
        EXPECT_EQ(info.llVideoID, llVideoID);
        EXPECT_EQ(info.avProps.vidProps.eVideoFormat, eZrVF_HD1080_2997p);
        EXPECT_EQ(info.mTime.rtStartTime, (nFrames * int64_t{20'020'000} + 30) / 60);
        EXPECT_EQ(info.mTime.eFFlags, nFrames == 0 ? eZrFF_Break : nFrames == 59 ? eZrFF_Last : eZrFF_None);
        nSamples += info.lAudioSamples;
        EXPECT_EQ(nSamples, ((nFrames + 1) * 3 * int64_t{16016} + 15) / 30);
    }
    EXPECT_EQ(nFrames, 60);

    // Another format makes another picture, from the same place on.
    ASSERT_EQ(source.WorkerSeek(1.0, 0), S_OK);
    wanted.vidProps = PropsFromFormat(eZrVF_PAL, eZrFCC_I420);
    source.FormatSet(wanted);
    ASSERT_EQ(source.WorkerFrameGet(0, pFrame.Out()), S_OK);
    const ZRF_FRAME_INFO info = InfoOf(*pFrame);
    EXPECT_NE(info.llVideoID, llVideoID);
    EXPECT_EQ(info.avProps.vidProps.nWidth, 720);
    EXPECT_EQ(info.mTime.eFFlags, eZrFF_Break);
    EXPECT_NEAR(static_cast<double>(info.mTime.rtStartTime), 1e7, 333'667);

    EXPECT_EQ(source.WorkerClose(), S_OK);
    EXPECT_EQ(source.WorkerFrameGet(0, pFrame.Out()), E_ABORT);
}

TEST(PictureSource, PlaysAPictureFileOrSaysWhyNot) {
    const TempFolder folder;
    const std::u16string strName = folder.Name("a.bmp");
    ZrPtr<IZrFFrame> pFrame = OneColour(VidProps(eZrFCC_RGB32, 20, -10), u"color=red");
    ASSERT_EQ(pFrame->ZrFVideoSaveToFile(strName.c_str()), S_OK);

    const auto pSource = ZrPtr<PictureSource>::Attach(new PictureSource);
    AV_FORMAT wanted;
    wanted.vidProps.dblRate = 50;
    pSource->FormatSet(wanted);
    ASSERT_EQ(pSource->WorkerOpen(strName.c_str(), u"img.default_duration=1", 0), S_OK);
    int nFrames = 0;
    while (pSource->WorkerFrameGet(0, pFrame.Out()) == S_OK) {
        const ZRF_FRAME_INFO info = InfoOf(*pFrame);
        EXPECT_EQ(info.avProps.vidProps.nWidth, 20);
        EXPECT_EQ(info.avProps.vidProps.dblRate, 50);
        EXPECT_EQ(reinterpret_cast<const uint8_t*>(info.lpVideo)[2], 255);
        EXPECT_EQ(info.mTime.rtStartTime, 200'000 * nFrames++);
    }
    EXPECT_EQ(nFrames, 50);

    wanted.vidProps.fccType = eZrFCC_UYVY;  // its size counts, its pixel format would take the alpha
    wanted.vidProps.nWidth = 64;
    wanted.vidProps.nHeight = 32;
    pSource->FormatSet(wanted);
    ASSERT_EQ(pSource->WorkerOpen(strName.c_str(), u"file::img.scale=true", 0), S_OK);
    ASSERT_EQ(pSource->WorkerFrameGet(0, pFrame.Out()), S_OK);
    const ZRF_FRAME_INFO scaled = InfoOf(*pFrame);
    EXPECT_EQ(scaled.avProps.vidProps.nWidth, 64);
    EXPECT_EQ(std::abs(scaled.avProps.vidProps.nHeight), 32);
    EXPECT_EQ(scaled.avProps.vidProps.fccType, eZrFCC_RGB32);
    EXPECT_NEAR(reinterpret_cast<const uint8_t*>(scaled.lpVideo)[2], 255, 1);
    std::filesystem::remove(folder.path / "a.bmp");

    EXPECT_TRUE(IsPictureName(u"/nowhere/logo.PNG"));
    EXPECT_FALSE(IsPictureName(u"/nowhere/clip.mp4"));
    EXPECT_EQ(pSource->WorkerOpen(strName.c_str(), nullptr, 0), ZR_E_NOT_FOUND_FILE);
    Text text;
    ASSERT_EQ(pSource->WorkerErrorGet(text.Out()), S_OK);
    EXPECT_EQ(text.View(), u"There is no such file.");
}

}  // namespace
}  // namespace zr
