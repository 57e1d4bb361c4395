// Cuts and fields against the picture they are cut from, read sample by sample.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>

#include "frame_module/frame_builders.h"

namespace zr {
namespace {

// Reads samples of a whole frame by picture coordinates, by layout rules written out by hand: nothing here uses the
// code under test but for the bytes and the record.
struct Reader {
    explicit Reader(IZrFFrame& _frame) : props(PropsOf(_frame).vidProps), p(VideoOf(_frame).data()) {}

    // The byte at offset _nX of line _nY of a plane, counted from the top of the picture.
    uint8_t At(int32_t _nPlane, int64_t _nX, int64_t _nY) const {
        const int64_t nRow = props.nRowBytes, nLines = std::abs(props.nHeight);
        const bool bRgb = props.fccType == eZrFCC_RGB24 || props.fccType == eZrFCC_RGB32;
        if (bRgb) return p[(props.nHeight > 0 ? nLines - 1 - _nY : _nY) * nRow + _nX];
        if (_nPlane == 0) return p[_nY * nRow + _nX];
        if (props.fccType == eZrFCC_NV12) return p[nRow * nLines + _nY * nRow + _nX];
        const int64_t cbChroma = nRow / 2 * (nLines / 2);
        const int64_t nFirst = (_nPlane == 1) == (props.fccType == eZrFCC_I420) ? 0 : cbChroma;
        return p[nRow * nLines + nFirst + _nY * (nRow / 2) + _nX];
    }

    ZR_VID_PROPS props;
    const uint8_t* p;
};

struct FORMAT {
    const char* szName;
    eZrFCC fccType;
    int32_t nHeight;  // signed
    int32_t nGroupPixels, nGroupBytes;
    int32_t nAlignLeft, nAlignX, nAlignY;
    int32_t nPlanes;
};

constexpr FORMAT arrFormats[] = {
    {"UYVY", eZrFCC_UYVY, 20, 2, 4, 2, 2, 1, 1},
    {"RGB32_bottom_up", eZrFCC_RGB32, 20, 1, 4, 1, 1, 1, 1},
    {"RGB32_top_down", eZrFCC_RGB32, -20, 1, 4, 1, 1, 1, 1},
    {"RGB24_bottom_up_odd", eZrFCC_RGB24, 21, 1, 3, 1, 1, 1, 1},
    {"RGB24_top_down_odd", eZrFCC_RGB24, -21, 1, 3, 1, 1, 1, 1},
    {"v210", eZrFCC_v210, 20, 6, 16, 6, 2, 1, 1},
    {"I420", eZrFCC_I420, 20, 1, 1, 2, 2, 2, 3},
    {"YV12", eZrFCC_YV12, 20, 1, 1, 2, 2, 2, 3},
    {"NV12", eZrFCC_NV12, 20, 1, 1, 2, 2, 2, 2},
    {"I420_chroma_lines_odd", eZrFCC_I420, 22, 1, 1, 2, 2, 2, 3},
};
constexpr int32_t kWidth = 48;

struct WINDOW {
    int32_t nLeft, nTop, nRight, nBottom, nField;
};

// Compares a cut with what the rules say it shows; everything it points to must lie inside the frame's memory.
void ExpectShows(IZrFFrame& _cut, const FORMAT& _format, const Reader& _whole, std::span<const uint8_t> _memory,
                 const WINDOW& _w) {
    const ZR_VID_PROPS props = PropsOf(_cut).vidProps;
    const int32_t nFieldLines = (_w.nBottom - _w.nTop) / 2 / _format.nAlignY * _format.nAlignY;
    const int32_t nLines = _w.nField > 0 ? nFieldLines : _w.nBottom - _w.nTop;
    ASSERT_EQ(props.nWidth, _w.nRight - _w.nLeft);
    ASSERT_EQ(props.nHeight, _format.nHeight < 0 ? -nLines : nLines);
    ASSERT_EQ(props.nRowBytes, _whole.props.nRowBytes * (_w.nField > 0 ? 2 : 1));
    const uint8_t *pBegin = _memory.data(), *pEnd = pBegin + _memory.size();
    const ZRF_VID_PTR planes = PlanesOf(_cut);
    for (int32_t nPlane = 0; nPlane < _format.nPlanes; ++nPlane) {
        SCOPED_TRACE(nPlane);
        const int32_t nSub = nPlane > 0 ? 2 : 1;
        const int32_t nBytes = nPlane > 0 && _format.fccType == eZrFCC_NV12 ? 2 : _format.nGroupBytes;
        const int64_t cbLeft = _w.nLeft / nSub / _format.nGroupPixels * nBytes;
        const int64_t cbRow = props.nWidth / nSub / _format.nGroupPixels * nBytes;  // whole groups
        for (int32_t y = 0; y < nLines / nSub; ++y) {
            const int32_t nY = _w.nTop / nSub + (_w.nField > 0 ? 2 * y + _w.nField - 1 : y);
            const auto* pRow = reinterpret_cast<const uint8_t*>(planes.lpVideoPlanes[nPlane] +
                                                                int64_t{y} * planes.cbVideoRowBytes[nPlane]);
            ASSERT_TRUE(pRow >= pBegin && pRow + cbRow <= pEnd) << "line " << y;
            for (int64_t x = 0; x < cbRow; ++x)
                ASSERT_EQ(pRow[x], _whole.At(nPlane, cbLeft + x, nY)) << "byte " << x << " line " << y;
        }
        EXPECT_EQ(planes.szVideoPlanes[nPlane].cx, props.nWidth / nSub);
        EXPECT_EQ(planes.szVideoPlanes[nPlane].cy, nLines / nSub);
    }
    // The first row in memory and the size keep a plain walk inside the memory too.
    const std::span<uint8_t> window = VideoOf(_cut);
    EXPECT_TRUE(window.data() >= pBegin && window.data() + window.size() <= pEnd);
    const int64_t lpTop = planes.lpVideoPlanes[0], nStride = planes.cbVideoRowBytes[0];
    EXPECT_EQ(reinterpret_cast<int64_t>(window.data()), nStride < 0 ? lpTop + (nLines - 1) * nStride : lpTop);
}

class PictureCutTest : public testing::TestWithParam<FORMAT> {};

TEST_P(PictureCutTest, RectanglesAndFieldsShowTheSamplesTheyName) {
    const FORMAT& format = GetParam();
    const int32_t nLines = std::abs(format.nHeight);
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(format.fccType, kWidth, format.nHeight));
    const Reader whole(*pFrame);
    const WINDOW arrWindows[] = {
        {0, 0, kWidth, nLines, 0}, {0, 0, kWidth, nLines, 1},       {0, 0, kWidth, nLines, 2},
        {13, 4, 31, 17, 0},        {7, 3, 48, nLines, 2},           {0, 1, 12, 5, 1},
        {47, 19, 48, 20, 0},       {6, nLines - 5, 30, nLines, -3},
    };
    for (const WINDOW& asked : arrWindows) {
        SCOPED_TRACE(testing::Message() << asked.nLeft << "," << asked.nTop << "," << asked.nRight << ","
                                        << asked.nBottom << " field " << asked.nField);
        WINDOW w = asked;
        if (w.nRight - w.nLeft < kWidth) {
            w.nLeft -= w.nLeft % format.nAlignLeft;
            w.nRight -= w.nRight % format.nAlignX;
        }
        if (w.nBottom - w.nTop < nLines) {
            w.nTop -= w.nTop % format.nAlignY;
            w.nBottom -= w.nBottom % format.nAlignY;
        }
        const tagRECT rect{asked.nLeft, asked.nTop, asked.nRight, asked.nBottom};
        ZrPtr<IZrFFrame> pCut;
        const HRESULT hr = pFrame->ZrFCut(asked.nField, &rect, pCut.Out());
        const bool bNothing = w.nLeft >= w.nRight || w.nTop >= w.nBottom;
        ASSERT_EQ(hr, bNothing ? E_INVALIDARG : S_OK);
        if (bNothing) continue;
        ExpectShows(*pCut, format, whole, VideoOf(*pFrame), w);

        const ZrPtr<IZrFFrame> pCopy = CloneOf(*pCut, eZrFC_Video);
        EXPECT_EQ(VideoOf(*pCopy).size(), PictureBytes(PropsOf(*pCopy).vidProps));
        ExpectSamePlanes(*pCut, *pCopy);
    }
}

TEST_P(PictureCutTest, ACutOfACutIsTheCutOfTheSum) {
    const FORMAT& format = GetParam();
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(format.fccType, kWidth, format.nHeight));
    const Reader whole(*pFrame);
    const auto pInner = CutOf(*CutOf(*pFrame, {12, 4, 42, 16}), {6, 2, 24, 10});
    ExpectShows(*pInner, format, whole, VideoOf(*pFrame), {18, 6, 36, 14, 0});
    ExpectShows(*CutOf(*pInner, 2), format, whole, VideoOf(*pFrame), {18, 6, 36, 14, 2});
    // A rectangle of a field: line 2 of field 2 is line 5 of the frame.
    const auto pPart = CutOf(*CutOf(*pFrame, 2), {0, 2, 12, 4});
    EXPECT_EQ(*reinterpret_cast<const uint8_t*>(PlanesOf(*pPart).lpVideoPlanes[0]), whole.At(0, 0, 5));
}

INSTANTIATE_TEST_SUITE_P(Formats, PictureCutTest, testing::ValuesIn(arrFormats),
                         [](const auto& _info) { return std::string(_info.param.szName); });

TEST(PictureCut, RectanglesThatLeaveThePictureAreRefused) {
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(eZrFCC_UYVY, 64, 32));
    constexpr std::tuple<const char*, int32_t, tagRECT> arrCases[] = {
        {"empty", 0, {0, 0, 0, 0}},
        {"no_lines", 0, {0, 5, 64, 5}},
        {"inverted", 0, {20, 0, 10, 32}},
        {"negative_left", 0, {-2, 0, 10, 10}},
        {"negative_top", 0, {0, -1, 10, 10}},
        {"beyond_right", 0, {0, 0, 66, 32}},
        {"beyond_bottom", 0, {0, 0, 64, 33}},
        {"outside", 0, {64, 32, 80, 40}},
        {"extreme", 0, {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}},
        {"less_than_a_pair", 0, {20, 0, 21, 32}},
        {"field_of_one_line", 1, {0, 4, 64, 5}},
        {"no_such_field", 3, {0, 0, 64, 32}},
    };
    for (const auto& [szName, nField, rect] : arrCases) {
        ZrPtr<IZrFFrame> pCut;
        EXPECT_EQ(pFrame->ZrFCut(nField, &rect, pCut.Out()), E_INVALIDARG) << szName;
        EXPECT_FALSE(pCut) << szName;
    }
    ZrPtr<IZrFFrame> pCut;
    EXPECT_EQ(EmptyFrame()->ZrFCut(1, nullptr, pCut.Out()), ZR_E_EMPTY);
}

TEST(PictureCut, TheRecordIsThatOfThePart) {
    ZR_VID_PROPS props = VidProps(eZrFCC_UYVY, 0, 0);
    props.eVideoFormat = eZrVF_HD1080_50i;
    const ZrPtr<IZrFFrame> pFrame = CountingFrame(props);
    ZR_VID_PROPS cut = PropsOf(*CutOf(*pFrame, {240, 0, 1680, 1080})).vidProps;
    EXPECT_EQ(cut.eVideoFormat, eZrVF_Custom);
    EXPECT_EQ(cut.eInterlace, eZrI_Field1First);
    EXPECT_EQ(cut.dblRate, 25);
    EXPECT_EQ(cut.nAspectX * 3, cut.nAspectY * 4);  // 1440 x 1080 square pixels

    EXPECT_EQ(PropsOf(*CutOf(*pFrame, {0, 1, 1920, 1079})).vidProps.eInterlace, eZrI_Field2First);
    cut = PropsOf(*CutOf(*pFrame, 2)).vidProps;
    EXPECT_EQ(cut.eInterlace, eZrI_Progressive);
    EXPECT_EQ(cut.nHeight, 540);
    EXPECT_EQ(cut.nRowBytes, 7680);
    EXPECT_EQ(cut.nAspectX * 9, cut.nAspectY * 16);
}

}  // namespace
}  // namespace zr
