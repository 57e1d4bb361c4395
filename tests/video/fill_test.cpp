#include "video/fill.h"

#include "media/pixel_format.h"
#include "support/row_test.h"
#include "video/copy_frame.h"

namespace zr {
namespace {

using test::Bytes;

ZR_VID_PROPS Props(eZrFCC _fcc, int32_t _nWidth, int32_t _nHeight) {
    ZR_VID_PROPS props{};
    props.fccType = _fcc;
    props.nWidth = _nWidth;
    props.nHeight = _nHeight;
    props.nRowBytes = MinRowBytes(_fcc, _nWidth) + 8;
    return props;
}

// A part that is filled looks like the same part of a picture that is filled whole, and nothing beside it changes.
TEST(Fill, APartIsFilledAndNothingBesideIt) {
    for (const eZrFCC fcc : {eZrFCC_UYVY, eZrFCC_YVYU, eZrFCC_v210, eZrFCC_I420, eZrFCC_NV12, kFCC_Y422, kFCC_Y444,
                             eZrFCC_RGB24, eZrFCC_ARGB32, eZrFCC_RGB8, kFCC_RGB565}) {
        SCOPED_TRACE(testing::Message() << std::hex << fcc);
        const ZR_VID_PROPS props = Props(fcc, 60, 12);
        const Bytes before(PictureBytes(props), 0xA5);
        Bytes whole = before, part = before, expected = before;
        const FILL_COLOUR colour = FILL_COLOUR::Rgb(200, 30, 90, 50);
        ASSERT_EQ(FillColour(whole.data(), props, colour), S_OK);
        const tagRECT rect{12, 4, 54, 10};
        PICTURE from, to;
        ASSERT_EQ(PictureOf(part.data(), props, to), S_OK);
        ASSERT_EQ(FillColour(CutPicture(to, rect), colour), S_OK);
        ASSERT_EQ(PictureOf(whole.data(), props, from), S_OK);
        ASSERT_EQ(PictureOf(expected.data(), props, to), S_OK);
        from = CutPicture(from, rect);
        to = CutPicture(to, rect);
        for (int32_t n = 0; n < to.nPlanes; ++n)
            for (int32_t y = 0; y < to.arrPlanes[n].nHeight; ++y)
                std::memcpy(to.arrPlanes[n].Row(y), from.arrPlanes[n].Row(y), SampleBytes(to, n));
        EXPECT_EQ(part, expected);
    }
    ZR_VID_PROPS unknown = Props(kFCC_YVU9, 8, 8);
    Bytes bytes(1024, 7);
    EXPECT_TRUE(Failed(FillColour(bytes.data(), unknown, kFillBlack)));
    EXPECT_EQ(bytes, Bytes(1024, 7));
}

// A colour written into YCbCr is what the same colour becomes by conversion.
TEST(Fill, AgreesWithTheConversions) {
    const ZR_VID_PROPS rgb = Props(eZrFCC_ARGB32, 12, -2);
    Bytes pixels(PictureBytes(rgb));
    const FILL_COLOUR arrColours[] = {FILL_COLOUR::Rgb(255, 0, 0), FILL_COLOUR::Rgb(1, 77, 200), kFillBlack};
    for (const FILL_COLOUR& colour : arrColours)
        for (const eZrFCC fcc : {eZrFCC_UYVY, eZrFCC_HDYC, eZrFCC_YUY2, eZrFCC_YVYU}) {
            const ZR_VID_PROPS yuv = Props(fcc, 12, 2);
            ASSERT_EQ(FillColour(pixels.data(), rgb, colour), S_OK);
            Bytes converted(PictureBytes(yuv)), filled = converted;
            ASSERT_EQ(CopyFrameCC(pixels.data(), converted.data(), rgb, yuv, 1), S_OK);
            ASSERT_EQ(FillColour(filled.data(), yuv, colour), S_OK);
            ASSERT_EQ(filled, converted) << fcc;
        }
}

}  // namespace
}  // namespace zr
