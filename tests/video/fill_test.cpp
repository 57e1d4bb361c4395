#include "video/fill.h"

#include "picture_bytes.h"

namespace zr {
namespace {

using test::Bytes;
using test::Props;

// A part that is filled looks like the same part of a picture that is filled whole, and nothing beside it changes.
TEST(Fill, APartIsFilledAndNothingBesideIt) {
    for (const eZrFCC fcc : {eZrFCC_UYVY, eZrFCC_YVYU, eZrFCC_v210, eZrFCC_I420, eZrFCC_NV12, kFCC_Y422, kFCC_Y444,
                             eZrFCC_RGB24, eZrFCC_ARGB32, eZrFCC_RGB8, kFCC_RGB565}) {
        SCOPED_TRACE(testing::Message() << std::hex << fcc);
        const ZR_VID_PROPS props = Props(fcc, 60, 12, 8);
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
    ZR_VID_PROPS unknown = Props(kFCC_YVU9, 8, 8, 8);
    Bytes bytes(1024, 7);
    EXPECT_TRUE(Failed(FillColour(bytes.data(), unknown, kFillBlack)));
    EXPECT_EQ(bytes, Bytes(1024, 7));
}

}  // namespace
}  // namespace zr
