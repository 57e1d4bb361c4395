// Frames into picture files and back, and what the list of properties makes of them.

#include <string>
#include <tuple>

#include "frame_module/frame_builders.h"
#include "media/picture_codec.h"
#include "platform/class_registry.h"
#include "support/temp_folder.h"

namespace zr {
namespace {

class TestFile : TempFolder {
public:
    explicit TestFile(const char* _szExtension) : file(path / (std::string("a.") + _szExtension)) {}
    std::u16string Name() const { return file.u16string(); }
    bool Exists() const { return std::filesystem::exists(file); }

private:
    const std::filesystem::path file;
};

HRESULT Load(const std::u16string& _name, const char16_t* _szList, ZrPtr<IZrFFrame>* _ppFrame) {
    return CZrFrameFactory::Shared().ZrFFrameCreateFromFile(_name.c_str(), _ppFrame->Out(), _szList);
}

// The pixel of an RGB24 or 32-bit frame, 0xAARRGGBB.
uint32_t Pixel(IZrFFrame& _frame, int32_t _x, int32_t _y) {
    const ZRF_VID_PTR planes = PlanesOf(_frame);
    const auto nBytes = PixelFormatBits(PropsOf(_frame).vidProps.fccType) / 8;
    const auto* p =
        reinterpret_cast<const uint8_t*>(planes.lpVideoPlanes[0]) + _y * planes.cbVideoRowBytes[0] + _x * nBytes;
    return (nBytes == 4 ? uint32_t{p[3]} << 24 : 0xFF000000) | uint32_t{p[2]} << 16 | uint32_t{p[1]} << 8 | p[0];
}

// 12 x 8: red on the left, blue on the right, the upper half of what has alpha half transparent.
ZrPtr<IZrFFrame> Halves(eZrFCC _fcc, bool _bBottomUp) {
    const auto pFrame = CountingFrame(VidProps(_fcc, 12, _bBottomUp ? 8 : -8));
    const ZRF_VID_PTR planes = PlanesOf(*pFrame);
    const int nBytes = PixelFormatBits(_fcc) / 8;
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 12; ++x) {
            auto* p = reinterpret_cast<uint8_t*>(planes.lpVideoPlanes[0]) + y * planes.cbVideoRowBytes[0] + x * nBytes;
            const uint8_t nFull = _fcc == eZrFCC_ARGB32 && y < 4 ? 128 : 255;  // premultiplied
            p[0] = x < 6 ? 0 : nFull;
            p[1] = 0;
            p[2] = x < 6 ? nFull : 0;
            if (nBytes == 4) p[3] = nFull;
        }
    return pFrame;
}

TEST(PictureFileFrame, SavedPicturesLoadAgain) {
    for (const char* szType : {"bmp", "tga", "BMP"})
        for (const eZrFCC fcc : {eZrFCC_RGB24, eZrFCC_RGB32, eZrFCC_ARGB32})
            for (const bool bBottomUp : {false, true}) {
                SCOPED_TRACE(testing::Message() << szType << ' ' << std::hex << fcc << ' ' << bBottomUp);
                const TestFile file(szType);
                const auto pFrame = Halves(fcc, bBottomUp);
                ASSERT_EQ(pFrame.As<IZrFrame>()->FrameVideoSaveToFile(file.Name().c_str()), S_OK);
                ZrPtr<IZrFFrame> pLoaded;
                ASSERT_EQ(Load(file.Name(), nullptr, &pLoaded), S_OK);
                EXPECT_EQ(PropsOf(*pLoaded).vidProps.nWidth, 12);
                EXPECT_EQ(PropsOf(*pLoaded).vidProps.nHeight, -8);
                EXPECT_EQ(PropsOf(*pLoaded).vidProps.fccType == eZrFCC_ARGB32, fcc == eZrFCC_ARGB32);
                for (const auto& [x, y] : {std::pair{0, 0}, {11, 0}, {0, 7}, {11, 7}, {5, 3}, {6, 4}})
                    EXPECT_EQ(Pixel(*pLoaded, x, y), Pixel(*pFrame, x, y)) << x << ' ' << y;
            }
}

TEST(PictureFileFrame, EveryFormatIsSavedAsRgb) {
    for (const eZrFCC fcc :
         {eZrFCC_UYVY, eZrFCC_HDYC, eZrFCC_YUY2, eZrFCC_YVYU, eZrFCC_v210, eZrFCC_I420, eZrFCC_YV12, eZrFCC_NV12}) {
        SCOPED_TRACE(testing::Message() << std::hex << fcc);
        const TestFile file("bmp");
        // Planes of a part do not stand one behind the other.
        const auto pCut = CutOf(*OneColour(VidProps(fcc, 48, 32), u"color=FF8000"), {12, 8, 36, 24});
        ZrPtr<IZrFFrame> pLoaded;
        ASSERT_EQ(pCut->ZrFVideoSaveToFile(file.Name().c_str()), S_OK);
        ASSERT_EQ(Load(file.Name(), nullptr, &pLoaded), S_OK);
        ASSERT_EQ(PropsOf(*pLoaded).vidProps.nWidth, 24);
        for (const auto& [x, y] : {std::pair{0, 0}, {23, 0}, {0, 15}, {23, 15}}) {
            const uint32_t n = Pixel(*pLoaded, x, y);
            EXPECT_NEAR(n >> 16 & 0xFF, 0xFF, 4);
            EXPECT_NEAR(n >> 8 & 0xFF, 0x80, 4);
            EXPECT_NEAR(n & 0xFF, 0, 4);
        }
    }
}

const std::tuple<const char*, const char16_t*, int32_t, int32_t, eZrFCC, uint32_t, uint32_t> arrLists[] = {
    {"nothing", u"", 12, 8, eZrFCC_ARGB32, 0x80800000, 0xFF0000FF},
    {"multiplied_already", u"premultiplied=true", 12, 8, eZrFCC_ARGB32, 0x80FF0000, 0xFF0000FF},
    {"crop", u"crop='7,4,0,0'", 5, 4, eZrFCC_ARGB32, 0xFF0000FF, 0xFF0000FF},
    {"rotate_right", u"rotate=right", 8, 12, eZrFCC_ARGB32, 0xFFFF0000, 0x80000080},
    {"rotate_then_mirror", u"rotate=right mirror=both", 8, 12, eZrFCC_ARGB32, 0x80000080, 0xFFFF0000},
    {"mirror", u"mirror=horz", 12, 8, eZrFCC_ARGB32, 0x80000080, 0xFFFF0000},
    {"over_a_colour", u"color=white pixel_format=RGB32", 12, 8, eZrFCC_RGB32, 0xFFFF7F7F, 0xFF0000FF},
    {"letter_box_on_a_colour", u"color=lime width=32 height=8 pixel_format=RGB24", 32, 8, eZrFCC_RGB24, 0xFF00FF00,
     0xFF00FF00},
    {"width_alone_keeps_the_shape", u"color=black width=24 pixel_format=RGB32", 24, 16, eZrFCC_RGB32, 0xFF800000,
     0xFF0000FF},
};

TEST(PictureFileFrame, TheListSaysWhatBecomesOfIt) {
    const TestFile file("tga");
    ASSERT_EQ(Halves(eZrFCC_ARGB32, false)->ZrFVideoSaveToFile(file.Name().c_str()), S_OK);
    for (const auto& [szName, szList, nWidth, nHeight, fcc, nUpperLeft, nLowerRight] : arrLists) {
        SCOPED_TRACE(szName);
        ZrPtr<IZrFFrame> pFrame;
        ASSERT_EQ(Load(file.Name(), szList, &pFrame), S_OK);
        const ZR_VID_PROPS props = PropsOf(*pFrame).vidProps;
        EXPECT_EQ(props.nWidth, nWidth);
        EXPECT_EQ(AbsHeight(props.nHeight), nHeight);
        EXPECT_EQ(props.fccType, fcc);
        const auto Near = [](uint32_t _a, uint32_t _b) {
            for (int i = 0; i < 32; i += 8)
                if (std::abs(int(_a >> i & 0xFF) - int(_b >> i & 0xFF)) > 2) return false;
            return true;
        };
        EXPECT_TRUE(Near(Pixel(*pFrame, 0, 0), nUpperLeft)) << std::hex << Pixel(*pFrame, 0, 0);
        const uint32_t nLast = Pixel(*pFrame, nWidth - 1, nHeight - 1);
        EXPECT_TRUE(Near(nLast, nLowerRight)) << std::hex << nLast;
    }
    ZrPtr<IZrFFrame> pFrame;
    EXPECT_EQ(Load(u"", u"color=red width=64 height=32 pixel_format=ARGB32", &pFrame), S_OK);
    EXPECT_EQ(Pixel(*pFrame, 63, 31), 0xFFFF0000);
    for (const char16_t* szList : {u"crop=x", u"crop=4", u"width=-4", u"color=red width=99999999 height=9"})
        EXPECT_EQ(Load(file.Name(), szList, &pFrame), E_INVALIDARG);
    EXPECT_EQ(Load(u"", nullptr, &pFrame), E_INVALIDARG);
    EXPECT_FALSE(pFrame);
}

TEST(PictureFileFrame, RefusesWhatNobodyReadsOrWrites) {
    const auto pFrame = Halves(eZrFCC_RGB24, false), pEmpty = EmptyFrame();
    const TestFile text("txt"), bmp("bmp");
    ZrPtr<IZrFFrame> pLoaded;
    EXPECT_EQ(pFrame->ZrFVideoSaveToFile(text.Name().c_str()), ZR_E_NOT_SUPPORTED);
    EXPECT_FALSE(text.Exists());
    EXPECT_EQ(pEmpty->ZrFVideoSaveToFile(bmp.Name().c_str()), ZR_E_EMPTY);
    EXPECT_EQ(pFrame->ZrFVideoSaveToFile(nullptr), E_POINTER);
    EXPECT_FALSE(bmp.Exists());
    EXPECT_EQ(Load(bmp.Name(), nullptr, &pLoaded), ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(CZrFrameFactory::Shared().ZrFFrameCreateFromFile(nullptr, pLoaded.Out(), nullptr), E_POINTER);
    EXPECT_EQ(CZrFrameFactory::Shared().ZrFFrameCreateFromFile(bmp.Name().c_str(), nullptr, nullptr), E_POINTER);
}

// A codec of the test: a picture of one pixel, which it also writes.
class OnePixelCodec final : public UnknownImpl<IPictureCodec_I> {
public:
    HRESULT Decode(const uint8_t* _pFile, size_t _cbFile, PictureTarget* _pTarget) override {
        if (_cbFile != 4) return ZR_E_INVALID_DATA;
        PICTURE_ROWS rows{eZrFCC_ARGB32, 1, 1};
        const HRESULT hr = _pTarget->Make(&rows);
        if (Succeeded(hr)) std::memcpy(rows.pTop, _pFile, 4);
        return hr;
    }
    HRESULT Encode(ePictureType _eType, const PICTURE_ROWS& _picture, int32_t,
                   std::vector<uint8_t>* _parrFile) override {
        if (_eType == ePictureType::Tiff) return ZR_E_NOT_SUPPORTED;
        _parrFile->assign(_picture.pTop, _picture.pTop + 4);
        if (_picture.fccType == eZrFCC_RGB32) _parrFile->back() = 1;
        return S_OK;
    }
};

TEST(PictureFileFrame, OtherTypesGoToTheRegisteredCodec) {
    const auto pFrame = CountingFrame(VidProps(eZrFCC_ARGB32, 1, -1));
    const uint8_t arrPixel[] = {64, 0, 128, 128};
    std::ranges::copy(arrPixel, VideoOf(*pFrame).begin());
    const TestFile png("png"), jpg("jpeg"), tiff("tif");
    const ClassRegistrar registrar(kClsidPictureCodec, MakeObject<OnePixelCodec>);
    ASSERT_EQ(pFrame->ZrFVideoSaveToFile(png.Name().c_str()), S_OK);
    ASSERT_EQ(pFrame->ZrFVideoSaveToFile(jpg.Name().c_str()), S_OK);
    EXPECT_EQ(pFrame->ZrFVideoSaveToFile(tiff.Name().c_str()), ZR_E_NOT_SUPPORTED);
    EXPECT_FALSE(tiff.Exists());
    ZrPtr<IZrFFrame> pLoaded;
    ASSERT_EQ(Load(png.Name(), nullptr, &pLoaded), S_OK);
    EXPECT_EQ(Pixel(*pLoaded, 0, 0), 0x80800040u);  // divided by alpha in the file, multiplied in the frame
    ASSERT_EQ(Load(jpg.Name(), u"premultiplied=true", &pLoaded), S_OK);
    EXPECT_EQ(Pixel(*pLoaded, 0, 0), 0x01800040u);  // over black
}

}  // namespace
}  // namespace zr
