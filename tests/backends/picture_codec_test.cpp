// PNG, JPEG and TIFF: what was encoded is decoded again, and files of another maker are read as they are.

#include <cstdlib>

#include "backends/clip_support.h"
#include "media/picture_codec.h"

namespace zr {
namespace {

class Target final : public PictureTarget {
public:
    HRESULT Make(PICTURE_ROWS* _pRows) override {
        ++nCalls;
        if (Failed(hrRefuse)) return hrRefuse;
        rows = *_pRows;
        arrBytes.assign(static_cast<size_t>(rows.nWidth) * static_cast<size_t>(rows.nHeight) * 4, 0xCD);
        // Bottom-up, as a frame's rows may be.
        rows.nStride = -ptrdiff_t{4} * rows.nWidth;
        rows.pTop = arrBytes.data() + ptrdiff_t{4} * rows.nWidth * (rows.nHeight - 1);
        *_pRows = rows;
        return S_OK;
    }
    const uint8_t* At(int _x, int _y) const { return rows.pTop + _y * rows.nStride + 4 * _x; }

    HRESULT hrRefuse = S_OK;
    int nCalls = 0;
    PICTURE_ROWS rows;
    std::vector<uint8_t> arrBytes;
};

class PictureFiles : public ClipTest {
protected:
    void SetUp() override {
        ClipTest::SetUp();
        void* pv = nullptr;
        ASSERT_EQ(CreateInstance(kClsidPictureCodec, IPictureCodec_I::kIid, &pv), S_OK);
        pCodec = ZrPtr<IPictureCodec_I>::Attach(static_cast<IPictureCodec_I*>(pv));
    }
    ZrPtr<IPictureCodec_I> pCodec;
};

TEST_F(PictureFiles, EncodedIsDecoded) {
    constexpr int kWidth = 37, kHeight = 21;  // odd, and no multiple of anything
    for (const eZrFCC fcc : {eZrFCC_RGB24, eZrFCC_RGB32, eZrFCC_ARGB32}) {
        const int nBytes = fcc == eZrFCC_RGB24 ? 3 : 4;
        std::vector<uint8_t> arrPixels(kWidth * kHeight * 4);
        PICTURE_ROWS picture{fcc, kWidth, kHeight, arrPixels.data(), kWidth * nBytes};
        const auto Value = [](int _x, int _y, int _nByte) {
            return static_cast<uint8_t>(_nByte == 3 ? _x * 5 + 40 : 60 + 3 * _x + 2 * _y + 20 * _nByte);
        };
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int n = 0; n < nBytes; ++n) picture.pTop[y * picture.nStride + x * nBytes + n] = Value(x, y, n);
        for (const ePictureType eType : {ePictureType::Png, ePictureType::Tiff, ePictureType::Jpeg}) {
            SCOPED_TRACE(std::to_string(nBytes) + " bytes, type " + std::to_string(static_cast<int>(eType)));
            std::vector<uint8_t> arrFile{1, 2, 3};
            ASSERT_EQ(pCodec->Encode(eType, picture, 95, &arrFile), S_OK);
            Target target;
            ASSERT_EQ(pCodec->Decode(arrFile.data(), arrFile.size(), &target), S_OK);
            const bool bLossy = eType == ePictureType::Jpeg, bAlpha = fcc == eZrFCC_ARGB32 && !bLossy;
            ASSERT_EQ(target.rows.fccType, bAlpha ? eZrFCC_ARGB32 : eZrFCC_RGB32);
            int nWorst = 0;
            for (int y = 0; y < kHeight; ++y)
                for (int x = 0; x < kWidth; ++x) {
                    for (int n = 0; n < 3; ++n)
                        nWorst = std::max(nWorst, std::abs(target.At(x, y)[n] - Value(x, y, n)));
                    ASSERT_EQ(target.At(x, y)[3], bAlpha ? Value(x, y, 3) : 255);
                }
            EXPECT_LE(nWorst, bLossy ? 8 : 0);
            // Half a file is no picture; a refusal comes before the pixels.
            EXPECT_EQ(pCodec->Decode(arrFile.data(), arrFile.size() / 2, &target), ZR_E_INVALID_DATA);
            Target refusing;
            refusing.hrRefuse = E_OUTOFMEMORY;
            EXPECT_EQ(pCodec->Decode(arrFile.data(), arrFile.size(), &refusing), E_OUTOFMEMORY);
            EXPECT_EQ(refusing.nCalls, 1);
        }
    }
    std::vector<uint8_t> arrFile;
    PICTURE_ROWS none{eZrFCC_RGB32, 0, 5, reinterpret_cast<uint8_t*>(&none), 4};
    EXPECT_EQ(pCodec->Encode(ePictureType::Png, none, 90, &arrFile), E_INVALIDARG);
    EXPECT_EQ(pCodec->Encode(ePictureType::Bmp, none, 90, &arrFile), E_INVALIDARG);
}

// One pixel in each depth and layout, made by another program: 16 bits round, grey and palettes become RGB.
TEST_F(PictureFiles, FormsOfOthers) {
    const struct {
        const char* szName;
        const char* szMake;  // of the colour 0x80FF40, alpha 0xC0 where there is any
        eZrFCC fcc;
        uint8_t arr[4];
        int nTolerance;
    } arrCases[] = {
        {"a.png", "format=rgb24", eZrFCC_RGB32, {0x40, 0xFF, 0x80, 0xFF}, 0},
        {"b.png", "format=rgba,colorchannelmixer=aa=0.75294", eZrFCC_ARGB32, {0x40, 0xFF, 0x80, 0xC0}, 0},
        {"c.png", "format=rgb48be", eZrFCC_RGB32, {0x40, 0xFF, 0x80, 0xFF}, 1},
        {"d.png", "format=rgba64be", eZrFCC_ARGB32, {0x40, 0xFF, 0x80, 0xFF}, 1},
        {"e.png", "format=gray", eZrFCC_RGB32, {0xC3, 0xC3, 0xC3, 0xFF}, 3},
        {"f.png", "format=gray16be", eZrFCC_RGB32, {0xC3, 0xC3, 0xC3, 0xFF}, 3},
        {"g.png", "format=rgb8,format=pal8", eZrFCC_RGB32, {0x55, 0xFF, 0x92, 0xFF}, 30},
        {"h.tiff", "format=rgb48le", eZrFCC_RGB32, {0x40, 0xFF, 0x80, 0xFF}, 1},
        {"i.tiff", "format=yuv420p", eZrFCC_RGB32, {0x40, 0xFF, 0x80, 0xFF}, 6},
        {"j.jpg", "format=yuvj422p", eZrFCC_RGB32, {0x40, 0xFF, 0x80, 0xFF}, 6},
        {"k.jpg", "format=gray", eZrFCC_RGB32, {0xC3, 0xC3, 0xC3, 0xFF}, 4},
    };
    for (const auto& form : arrCases) {
        SCOPED_TRACE(form.szName);
        const std::string strCommand =
            "ffmpeg -v error -f lavfi -i color=0x80FF40:s=16x16:d=0.04,format=rgba -frames:v 1 -vf " +
            std::string(form.szMake) + " " + Path(form.szName) + " 2>/dev/null";
        if (std::system(strCommand.c_str()) != 0) {
            EXPECT_EQ(std::string(form.szName), "k.jpg") << "could not be made";  // not every version makes it
            continue;
        }
        const std::string strFile = BytesOfFile(Path(form.szName));
        Target target;
        ASSERT_EQ(pCodec->Decode(reinterpret_cast<const uint8_t*>(strFile.data()), strFile.size(), &target), S_OK);
        EXPECT_EQ(target.rows.fccType, form.fcc);
        for (int n = 0; n < 4; ++n) EXPECT_NEAR(target.At(5, 7)[n], form.arr[n], n == 3 ? 0 : form.nTolerance) << n;
    }
    const uint8_t arrText[] = "no picture at all";
    Target target;
    EXPECT_EQ(pCodec->Decode(arrText, sizeof(arrText), &target), ZR_E_NOT_SUPPORTED);
    EXPECT_EQ(pCodec->Decode(arrText, 0, &target), ZR_E_NOT_SUPPORTED);
}

}  // namespace
}  // namespace zr
