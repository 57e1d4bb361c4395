// Full range becomes studio range and the other way round, also between pictures of one layout.

#include "backends/ffmpeg/pixel_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace zr {
namespace {

constexpr int kWidth = 32, kHeight = 16;

// First sample of a component, in 8 bits with fractions.
double SampleOf(const RAW_PICTURE& _picture, int _nComponent) {
    const AVComponentDescriptor& c = av_pix_fmt_desc_get(_picture.eFormat)->comp[_nComponent];
    const uint8_t* p = _picture.arrPlanes[c.plane] + c.offset;
    return c.depth > 8 ? (p[0] | p[1] << 8) / 4.0 : p[0];
}

void Fill(const RAW_PICTURE& _picture, const int (&_arrValues)[3]) {
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(_picture.eFormat);
    for (int i = 0; i < 3; ++i) {
        const AVComponentDescriptor& c = d.comp[i];
        const int nLines = kHeight >> (i > 0 ? d.log2_chroma_h : 0), nPixels = kWidth >> (i > 0 ? d.log2_chroma_w : 0);
        for (int y = 0; y < nLines; ++y)
            for (int x = 0; x < nPixels; ++x) {
                uint8_t* p = _picture.arrPlanes[c.plane] + y * _picture.arrStrides[c.plane] + x * c.step + c.offset;
                const int nValue = c.depth > 8 ? _arrValues[i] * 4 : _arrValues[i];
                *p = static_cast<uint8_t>(nValue);
                if (c.depth > 8) p[1] = static_cast<uint8_t>(nValue >> 8);
            }
    }
}

TEST(PixelMapTest, RangesAreConverted) {
    const AVPixelFormat arrLayouts[][2] = {
        {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P},     {AV_PIX_FMT_NV12, AV_PIX_FMT_NV12},
        {AV_PIX_FMT_YUV422P, AV_PIX_FMT_UYVY422},     {AV_PIX_FMT_UYVY422, AV_PIX_FMT_YUV422P},
        {AV_PIX_FMT_YUV422P10, AV_PIX_FMT_YUV422P10}, {AV_PIX_FMT_YUV420P10, AV_PIX_FMT_YUV420P},
        {AV_PIX_FMT_YUV444P, AV_PIX_FMT_UYVY422},     {AV_PIX_FMT_YUV422P10, AV_PIX_FMT_UYVY422}};
    const int arrColours[][3] = {{235, 128, 128}, {16, 128, 128}, {126, 54, 90}, {180, 200, 60}};
    for (const auto& layouts : arrLayouts)
        for (const bool bFields : {false, true}) {
            PixelConverter converter;  // one for all: it has to see that the range changes
            for (const auto& arrColour : arrColours)
                for (const bool bFull : {false, true, false}) {
                    SCOPED_TRACE(std::string(av_get_pix_fmt_name(layouts[0])) + " to " +
                                 av_get_pix_fmt_name(layouts[1]) + (bFull ? ", from full range" : ", to full range") +
                                 (bFields ? ", fields" : ""));
                    ScratchPicture arrPictures[2];
                    ASSERT_EQ(arrPictures[0].Make(layouts[0], kWidth, kHeight), S_OK);
                    ASSERT_EQ(arrPictures[1].Make(layouts[1], kWidth, kHeight), S_OK);
                    RAW_PICTURE from = arrPictures[0].Planes(), to = arrPictures[1].Planes();
                    from.bFullRange = bFull;
                    to.bFullRange = !bFull;
                    Fill(from, arrColour);
                    ASSERT_EQ(converter.Convert(from, to, bFields), S_OK);
                    const double dblLuma = bFull ? 16 + arrColour[0] * 219.0 / 255 : (arrColour[0] - 16) * 255.0 / 219;
                    EXPECT_NEAR(SampleOf(to, 0), dblLuma, 1.1);
                    const double dblChroma = bFull ? 224.0 / 255 : 255.0 / 224;
                    for (int i = 1; i < 3; ++i)
                        EXPECT_NEAR(SampleOf(to, i), 128 + (arrColour[i] - 128) * dblChroma, 1.1);
                }
        }
}

}  // namespace
}  // namespace zr
