#include "video/copy_frame.h"

#include "picture_bytes.h"
#include "platform/thread_pool.h"
#include "video/conversion_matrix.h"
#include "video/picture.h"

namespace zr {
namespace {

using test::Bytes;
using test::Noise;

constexpr int32_t kWidth = 96, kLines = 9;  // whole groups of v210; an odd number of lines

ZR_VID_PROPS Props(eZrFCC _fcc, int32_t _nHeight, eZrInterlace _eInterlace = eZrI_Progressive) {
    ZR_VID_PROPS props = test::Props(_fcc, kWidth, _nHeight, 4);
    props.eInterlace = _eInterlace;
    return props;
}

// Row y from the top, without its padding.
Bytes RowOf(Bytes& _bytes, const ZR_VID_PROPS& _props, int32_t _y) {
    PICTURE picture;
    EXPECT_EQ(PictureOf(_bytes.data(), _props, picture), S_OK);
    const uint8_t* p = picture.Packed().Row(_y);
    return {p, p + PlaneRowBytes(picture, 0)};
}

// Turns a picture to top-down UYVY by single conversions, so that ways through the matrix can be compared.
Bytes Converted(const Bytes& _src, const ZR_VID_PROPS& _from, const ZR_VID_PROPS& _to) {
    Bytes dst(PictureBytes(_to), 0x33);
    EXPECT_EQ(CopyFrameCC(_src.data(), dst.data(), _from, _to, 1), S_OK);
    return dst;
}

TEST(CopyFrame, ThroughOtherFormatsAndBackIsLosslessWhereItMustBe) {
    const ZR_VID_PROPS uyvy = Props(eZrFCC_UYVY, kLines);
    Bytes src = Noise(uyvy);
    for (const eZrFCC fcc : {eZrFCC_HDYC, eZrFCC_YUY2, eZrFCC_YVYU, eZrFCC_v210}) {
        SCOPED_TRACE(fcc);
        const ZR_VID_PROPS middle = Props(fcc, kLines);
        Bytes back = Converted(Converted(src, uyvy, middle), middle, uyvy);
        for (int32_t y = 0; y < kLines; ++y) ASSERT_EQ(RowOf(back, uyvy, y), RowOf(src, uyvy, y));
    }
    const ZR_VID_PROPS argb = Props(eZrFCC_ARGB32, -kLines), rgb24 = Props(eZrFCC_RGB24, kLines);
    Bytes pixels = Noise(argb), packed = Converted(pixels, argb, rgb24), opaque = Converted(packed, rgb24, argb);
    for (int32_t y = 0; y < kLines; ++y) {
        const Bytes before = RowOf(pixels, argb, y), after = RowOf(opaque, argb, y);
        for (size_t i = 0; i < before.size(); ++i) ASSERT_EQ(after[i], i % 4 == 3 ? 255 : before[i]) << y << ' ' << i;
    }
}

TEST(CopyFrame, WaysThroughTheMatrixAgree) {
    const ZR_VID_PROPS bottomUp = Props(eZrFCC_RGB32, kLines), rgb24 = Props(eZrFCC_RGB24, -kLines);
    const Bytes pixels = Noise(bottomUp), packed = Converted(pixels, bottomUp, rgb24);
    for (const eZrFCC fcc : {eZrFCC_UYVY, eZrFCC_HDYC, eZrFCC_YUY2, eZrFCC_YVYU}) {
        SCOPED_TRACE(fcc);
        const ZR_VID_PROPS yuv = Props(fcc, kLines);
        Bytes direct = Converted(pixels, bottomUp, yuv), through = Converted(packed, rgb24, yuv);
        for (int32_t y = 0; y < kLines; ++y) ASSERT_EQ(RowOf(direct, yuv, y), RowOf(through, yuv, y));
        // Back to 24 bits is back to 32 bits without the fourth byte.
        Bytes back32 = Converted(direct, yuv, bottomUp), back24 = Converted(direct, yuv, rgb24);
        Bytes cut = Converted(back32, bottomUp, rgb24);
        for (int32_t y = 0; y < kLines; ++y) ASSERT_EQ(RowOf(back24, rgb24, y), RowOf(cut, rgb24, y));
    }
    // 601 and 709 differ.
    EXPECT_NE(Converted(pixels, bottomUp, Props(eZrFCC_UYVY, kLines)),
              Converted(pixels, bottomUp, Props(eZrFCC_HDYC, kLines)));
}

// The matrices of 709 truncate, 601 is rounded.
TEST(CopyFrame, BarsOf75PercentComeBack) {
    const ZR_VID_PROPS rgb = Props(eZrFCC_RGB32, -1);
    Bytes bars(PictureBytes(rgb));
    for (size_t i = 0; i < 4u * kWidth; ++i) bars[i] = i % 4 == 3 || i / 4 / 12 >> i % 4 & 1 ? 191 : 0;
    for (const auto& [fcc, nMost] : {std::pair{eZrFCC_HDYC, 3}, {eZrFCC_UYVY, 2}, {eZrFCC_YUY2, 2}}) {
        const ZR_VID_PROPS yuv = Props(fcc, 1);
        const Bytes back = Converted(Converted(bars, rgb, yuv), yuv, rgb);
        for (size_t i = 0; i < 4u * kWidth; ++i)
            if (i % 4 != 3) {
                ASSERT_NEAR(back[i], bars[i], nMost) << std::hex << fcc << std::dec << " byte " << i;
            }
    }
}

TEST(CopyFrame, FieldOrderMovesThePictureByALine) {
    for (const bool bDown : {true, false}) {
        const ZR_VID_PROPS from = Props(eZrFCC_UYVY, 8, bDown ? eZrI_Field2First : eZrI_Field1First);
        const ZR_VID_PROPS to = Props(eZrFCC_YUY2, 8, bDown ? eZrI_Field1First : eZrI_Field2First);
        Bytes src = Noise(from), moved = Converted(src, from, to);
        Bytes plain = Converted(src, Props(eZrFCC_UYVY, 8), Props(eZrFCC_YUY2, 8));
        for (int32_t y = 0; y < 8; ++y) {
            const int32_t nFrom = bDown ? std::max(y - 1, 0) : std::min(y + 1, 7);
            EXPECT_EQ(RowOf(moved, to, y), RowOf(plain, to, nFrom)) << y;
        }
    }
}

TEST(CopyFrame, OneLineHasNoFieldsToExchange) {
    const ZR_VID_PROPS from = Props(eZrFCC_UYVY, 1, eZrI_Field2First), to = Props(eZrFCC_YUY2, 1, eZrI_Field1First);
    const Bytes src = Noise(from);
    EXPECT_EQ(Converted(src, from, to), Converted(src, Props(eZrFCC_UYVY, 1), Props(eZrFCC_YUY2, 1)));
}

TEST(CopyFrame, OddWidthLosesItsLastPixel) {
    for (const eZrFCC fccFrom : {eZrFCC_v210, eZrFCC_YUY2}) {
        ZR_VID_PROPS from = Props(fccFrom, 2), to = Props(eZrFCC_UYVY, 2);
        Bytes src = Noise(from), whole = Converted(src, from, to);
        from.nWidth = to.nWidth = 7;
        const Bytes seven = Converted(src, from, to);
        for (size_t i = 0; i < seven.size(); ++i) {
            const size_t nRow = i / static_cast<size_t>(to.nRowBytes), nByte = i % static_cast<size_t>(to.nRowBytes);
            ASSERT_EQ(seven[i], nRow < 2 && nByte < 12 ? whole[i] : 0x33) << i;
        }
    }
}

TEST(CopyFrame, ManyWorkersGiveTheSame) {
    const ZR_VID_PROPS from = Props(eZrFCC_HDYC, kLines), to = Props(eZrFCC_RGB32, kLines);
    const Bytes src = Noise(from), one = Converted(src, from, to);
    SetRowThreads(4);
    for (const int32_t nThreads : {2, 4, 64}) {
        Bytes many(one.size(), 0x33);
        ASSERT_EQ(CopyFrameCC(src.data(), many.data(), from, to, nThreads), S_OK);
        EXPECT_EQ(many, one);
    }
    SetRowThreads(0);
}

TEST(CopyFrame, RefusesWhatItCannotDo) {
    const ZR_VID_PROPS uyvy = Props(eZrFCC_UYVY, kLines), rgb = Props(eZrFCC_RGB32, kLines),
                       v210 = Props(eZrFCC_v210, kLines);
    const Bytes src = Noise(rgb);
    Bytes dst(PictureBytes(rgb), 0x33);
    const auto Copy = [&](const ZR_VID_PROPS& a, const ZR_VID_PROPS& b) {
        return CopyFrameCC(src.data(), dst.data(), a, b, 4);
    };
    EXPECT_EQ(Copy(rgb, v210), E_FAIL);
    EXPECT_EQ(Copy(Props(eZrFCC_RGB24, kLines), v210), E_FAIL);
    EXPECT_EQ(Copy(uyvy, Props(eZrFCC_I420, 8)), kTypeNotAccepted);
    EXPECT_EQ(Copy(uyvy, Props(eZrFCC_RGB8, 8)), kTypeNotAccepted);
    EXPECT_EQ(CopyFrameCC(nullptr, dst.data(), uyvy, rgb, 1), E_POINTER);
    ZR_VID_PROPS one = uyvy, huge = uyvy, upside = uyvy;
    one.nWidth = 1;
    huge.nWidth = huge.nHeight = 65536;
    upside.nRowBytes = -256;
    for (const ZR_VID_PROPS& bad : {one, huge, upside, Props(eZrFCC_UYVY, 0)}) EXPECT_EQ(Copy(bad, rgb), E_INVALIDARG);
    EXPECT_EQ(dst, Bytes(dst.size(), 0x33));
}

}  // namespace
}  // namespace zr
