// Masks: shapes against their geometry, files, scaling, and what SetMask keeps.

#include "video/masks.h"

#include <cmath>
#include <tuple>

#include "media/pixel_format.h"
#include "platform/file.h"
#include "support/row_test.h"
#include "support/temp_folder.h"
#include "video/block_mask.h"
#include "video/picture_file.h"

namespace zr {
namespace {

using test::Bytes;

int Pixel(const MaskPlane& _plane, int32_t _x, int32_t _y) { return _plane.Row(_y)[_x]; }

// Inside a shape, said in a way of its own: points of the 256 x 256 field.
bool Inside(eMaskShape _eShape, double _x, double _y) {
    if (_eShape == eMaskShape::Circle) return std::hypot(_x - 128, _y - 128) <= 120;
    if (_x < 8 || _x > 248 || _y < 8 || _y > 248) return false;
    if (_eShape == eMaskShape::Rect) return true;
    const double x = std::clamp(_x, 40.0, 216.0), y = std::clamp(_y, 40.0, 216.0);
    return std::hypot(_x - x, _y - y) <= 32;
}

TEST(DrawMaskShape, CoversWhatTheShapeCovers) {
    const std::tuple<const char16_t*, eMaskShape> arrShapes[] = {
        {u"Circle", eMaskShape::Circle}, {u"rect", eMaskShape::Rect}, {u"ROUND_rect", eMaskShape::RoundRect}};
    ScratchBuffer scratch;
    for (const auto& [szName, eShape] : arrShapes)
        for (const auto& [nWidth, nHeight] : {std::pair{256, 256}, {301, 97}, {20, 64}}) {
            SCOPED_TRACE(testing::Message() << int(eShape) << ' ' << nWidth << 'x' << nHeight);
            ASSERT_EQ(ReadMaskShape(szName), eShape);
            MaskPlane plane;
            ASSERT_EQ(plane.Resize(nWidth, nHeight), S_OK);
            EXPECT_EQ(plane.Stride() % 8, 0);
            ASSERT_EQ(DrawMaskShape(eShape, plane, scratch), S_OK);
            for (int32_t y = 0; y < nHeight; ++y)
                for (int32_t x = 0; x < nWidth; ++x) {
                    constexpr int kPoints = 16;  // across and down a pixel
                    int nIn = 0;
                    for (int i = 0; i < kPoints * kPoints; ++i)
                        nIn += Inside(eShape, (x + (i % kPoints + 0.5) / kPoints) * 256 / nWidth,
                                      (y + (i / kPoints + 0.5) / kPoints) * 256 / nHeight);
                    const double dblWant = 255.0 * nIn / (kPoints * kPoints);
                    if (nIn == 0 || nIn == kPoints * kPoints) {
                        ASSERT_NEAR(Pixel(plane, x, y), dblWant, 3) << x << ' ' << y;
                    } else {
                        ASSERT_NEAR(Pixel(plane, x, y), dblWant, 14) << x << ' ' << y;
                    }
                    ASSERT_NEAR(Pixel(plane, x, y), Pixel(plane, nWidth - 1 - x, nHeight - 1 - y), 1);
                }
        }
}

TEST(ExtractMask, TakesTheAlphaOfARectangle) {
    ZR_VID_PROPS props{.fccType = eZrFCC_ARGB32, .nWidth = 21, .nRowBytes = 96};
    for (const int32_t nHeight : {-9, 9}) {  // top-down, bottom-up
        props.nHeight = nHeight;
        Bytes picture(96 * 9);
        for (size_t i = 0; i < picture.size(); ++i) picture[i] = i % 4 == 3 ? static_cast<uint8_t>(i / 4) : 0xEE;
        MaskPlane plane;
        const tagRECT rect{3, 2, 20, 9}, outside{3, 2, 22, 9};
        ASSERT_EQ(ExtractMask(picture.data(), props, &rect, plane), S_OK);
        ASSERT_EQ(plane.Width(), 17);
        ASSERT_EQ(plane.Stride(), 24);
        for (int32_t y = 0; y < 7; ++y)
            for (int32_t x = 0; x < 17; ++x) {
                const int32_t nRow = nHeight < 0 ? y + 2 : 8 - 2 - y;
                ASSERT_EQ(Pixel(plane, x, y), (nRow * 24 + x + 3) & 0xFF) << x << ' ' << y;
            }
        EXPECT_EQ(ExtractMask(picture.data(), props, &outside, plane), E_INVALIDARG);
    }
    props.fccType = eZrFCC_RGB32;
    MaskPlane plane;
    EXPECT_EQ(ExtractMask(Bytes(96 * 9).data(), props, nullptr, plane), E_INVALIDARG);
}

TEST(ScaleMask, KeepsSolidSolidAndTheCentreInPlace) {
    ScalingEngine engine;
    ScratchBuffer scratch;
    MaskPlane circle, scaled, drawn;
    ASSERT_EQ(circle.Resize(256, 256), S_OK);
    ASSERT_EQ(DrawMaskShape(eMaskShape::Circle, circle, scratch), S_OK);
    for (const auto& [nWidth, nHeight] : {std::pair{480, 270}, {100, 400}, {160, 90}}) {
        ASSERT_EQ(ScaleMask(engine, circle, nWidth, nHeight, eInterpolation::Linear, scaled), S_OK);
        ASSERT_EQ(drawn.Resize(nWidth, nHeight), S_OK);
        ASSERT_EQ(DrawMaskShape(eMaskShape::Circle, drawn, scratch), S_OK);
        EXPECT_EQ(Pixel(scaled, nWidth / 2, nHeight / 2), 255);
        EXPECT_EQ(Pixel(scaled, 0, 0), 0);
        double dblError = 0;
        for (int32_t y = 0; y < nHeight; ++y)
            for (int32_t x = 0; x < nWidth; ++x) dblError += std::abs(Pixel(scaled, x, y) - Pixel(drawn, x, y));
        EXPECT_LT(dblError / (nWidth * nHeight), 3) << nWidth;  // a shift by a pixel gives more
    }
    MaskPlane least;
    ASSERT_EQ(least.Resize(1, 1), S_OK);
    EXPECT_EQ(DrawMaskShape(eMaskShape::RoundRect, least, scratch), S_OK);
    EXPECT_GT(Pixel(least, 0, 0), 200);
    const MIX_MASK narrow{circle.Row(0), 256, 256, 256, 0, 0};
    EXPECT_EQ(MultiplyMask(drawn, narrow), S_OK);
    EXPECT_EQ(MultiplyMask(circle, drawn.Mask()), E_INVALIDARG);
}

TEST(BlockMask, KeepsAMaskUntilAnotherStands) {
    const TempFolder folder;
    const std::filesystem::path path = folder.path / "a.bmp", broken = folder.path / "broken.bmp";
    Bytes picture(16 * 8 * 3);  // left half green, right half white
    for (size_t i = 0; i < picture.size(); ++i) picture[i] = i % 48 >= 24 || i % 3 == 1 ? 255 : 0;
    ASSERT_EQ(WritePictureFile(path.u16string().c_str(), {eZrFCC_RGB24, 16, 8, picture.data(), 48}), S_OK);
    std::filesystem::copy_file(path, broken);
    std::filesystem::resize_file(broken, 100);

    BlockMask mask;
    CAutoObj<MaskPlane> pFirst, pAgain, pOther, pNone;
    const auto Get = [&](int32_t w, int32_t h, CAutoObj<MaskPlane>* pp) {
        return mask.Mask(w, h, false, eInterpolation::Linear, pp);
    };
    EXPECT_EQ(Get(64, 32, &pNone), S_OK);
    EXPECT_FALSE(pNone);
    ASSERT_EQ(mask.SetMask(path.u16string().c_str(), false), S_OK);
    ASSERT_EQ(Get(64, 32, &pFirst), S_OK);
    EXPECT_NEAR(Pixel(*pFirst, 5, 5), 150, 2);  // 0.587 of 255
    EXPECT_EQ(Pixel(*pFirst, 60, 5), 255);
    ASSERT_EQ(Get(64, 32, &pAgain), S_OK);
    EXPECT_EQ(pFirst, pAgain);
    EXPECT_EQ(mask.SetMask(u"no such mask", false), E_INVALIDARG);
    EXPECT_EQ(mask.SetMask(broken.u16string().c_str(), false), ZR_E_INVALID_DATA);
    ASSERT_EQ(Get(64, 32, &pAgain), S_OK);
    EXPECT_EQ(pFirst, pAgain);

    EXPECT_EQ(mask.SetMask(u"circle", false), S_OK);
    EXPECT_EQ(mask.SetMask(u"CIRCLE", false), S_FALSE);
    ASSERT_EQ(Get(64, 32, &pOther), S_OK);
    EXPECT_EQ(Pixel(*pOther, 0, 0), 0);
    EXPECT_EQ(Pixel(*pFirst, 60, 5), 255);  // who mixes with the old one still has it
    ASSERT_EQ(mask.Mask(64, 32, true, eInterpolation::Linear, &pNone), S_OK);
    EXPECT_FALSE(pNone);  // the screen_mask is another
    EXPECT_EQ(mask.SetMask(nullptr, false), S_OK);
    ASSERT_EQ(Get(64, 32, &pNone), S_OK);
    EXPECT_FALSE(pNone);
}

}  // namespace
}  // namespace zr
