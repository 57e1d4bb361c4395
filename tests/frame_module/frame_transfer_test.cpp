// Frames as bytes: there and back, and bytes that lie.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "frame_module/frame_builders.h"
#include "frame_module/frame_serial.h"
#include "zr/memory.h"
#include "zr/utf8.h"

namespace zr {
namespace {

std::vector<uint8_t> SavedBytes(IZrFFrame& _frame, eZrFrameClone _eType) {
    uint32_t cb = 0;
    uint8_t* p = nullptr;
    EXPECT_EQ(_frame.ZrFSave(&cb, &p, _eType), S_OK);
    const std::vector<uint8_t> arr(p, p + cb);
    CoTaskMemFree(p);
    return arr;
}

HRESULT Load(IZrFFrame& _frame, const std::vector<uint8_t>& _arr, eZrFrameClone _eType = eZrFC_Full) {
    return _frame.ZrFLoad(static_cast<uint32_t>(_arr.size()), _arr.data(), _eType);
}

ZrPtr<IZrFFrame> SmallFrame() { return FullFrame(VidProps(eZrFCC_I420, 8, 4)); }

void ExpectSame(IZrFFrame& _a, IZrFFrame& _b) {
    const ZRF_FRAME_INFO a = InfoOf(_a), b = InfoOf(_b);
    EXPECT_TRUE(SameRecords(a.avProps, b.avProps));
    EXPECT_EQ(std::memcmp(&a.mTime, &b.mTime, offsetof(ZR_TIME, eFFlags) + sizeof(ZR_TIME::eFFlags)), 0);
    EXPECT_TRUE(std::ranges::equal(VideoOf(_a), VideoOf(_b)));
    EXPECT_TRUE(std::ranges::equal(AudioOf(_a), AudioOf(_b)));
    EXPECT_EQ(a.lAudioSamples, b.lAudioSamples);
    EXPECT_EQ(a.nDataCount, b.nDataCount);
    EXPECT_EQ(a.nStrCount, b.nStrCount);
}

TEST(FrameTransfer, ALoadedFrameIsTheCloneOfThatKind) {
    const ZrPtr<IZrFFrame> pFrame = SmallFrame();
    for (const eZrFrameClone eSave : {eZrFC_Props, eZrFC_Video, eZrFC_Audio, eZrFC_Data, eZrFC_Reference, eZrFC_Full}) {
        for (const eZrFrameClone eLoad : {eZrFC_Props, eZrFC_VideoRef, eZrFC_Data_Audio, eZrFC_Full}) {
            SCOPED_TRACE(testing::Message() << std::hex << eSave << " loaded as " << eLoad);
            const ZrPtr<IZrFFrame> pLoaded = SmallFrame();
            ASSERT_EQ(Load(*pLoaded, SavedBytes(*pFrame, eSave), eLoad), S_OK);
            const ZrPtr<IZrFFrame> pWanted = CloneOf(*CloneOf(*pFrame, eSave), eLoad);
            ExpectSame(*pLoaded, *pWanted);
        }
    }
    Text text;
    const ZrPtr<IZrFFrame> pLoaded = EmptyFrame();
    ASSERT_EQ(Load(*pLoaded, SavedBytes(*pFrame, eZrFC_Full)), S_OK);
    EXPECT_EQ(pLoaded->ZrFStrGet(u"title", text.Out()), S_OK);
    EXPECT_EQ(text.View(), u"News");
    EXPECT_NE(InfoOf(*pLoaded).llVideoID, InfoOf(*pFrame).llVideoID);
}

TEST(FrameTransfer, PartsOfPicturesTravelAsTheirCopies) {
    constexpr eZrFCC arrFormats[] = {eZrFCC_UYVY, eZrFCC_v210, eZrFCC_RGB24, eZrFCC_I420,
                                     eZrFCC_YV12, eZrFCC_NV12, kFCC_Y422,    kFCC_Y444};
    for (const eZrFCC fcc : arrFormats) {
        for (const int32_t nHeight : {22, -22}) {
            SCOPED_TRACE(testing::Message() << std::hex << fcc << std::dec << " " << nHeight);
            const ZrPtr<IZrFFrame> pFrame = CountingFrame(VidProps(fcc, 48, nHeight));
            const auto pCut = CutOf(*pFrame, {12, 2, 30, 12}, 1), pLoaded = EmptyFrame(),
                       pCopy = CloneOf(*pCut, eZrFC_Full);
            ASSERT_EQ(Load(*pLoaded, SavedBytes(*pCut, eZrFC_Full)), S_OK);
            ASSERT_TRUE(SameRecords(PropsOf(*pCopy), PropsOf(*pLoaded)));
            ExpectSamePlanes(*pLoaded, *pCut);
        }
    }
}

// A picture of two views: side by side in one block of 32 x 8, or the second one in the memory of _pSecond.
ZrPtr<IZrFFrame> TwoViews(IZrFFrame* _pSecond) {
    ZrPtr<IZrFFrame> p = SizedFrame(128 * 8, VidProps(eZrFCC_RGB32, 16, 8, 128));
    for (size_t i = 0; i < 128 * 8; ++i) VideoOf(*p)[i] = static_cast<uint8_t>(i % 253);
    ZRF_VID_PTR views = PlanesOf(*(_pSecond ? _pSecond : p.Get()));
    views.lpVideoPlanes[1] = views.lpVideoPlanes[0] + (_pSecond ? 0 : 64);
    views.cbVideoRowBytes[1] = views.cbVideoRowBytes[0];
    views.lpVideoPlanes[0] = 0;
    EXPECT_EQ(p->ZrFDataSet(u"__vptr_", sizeof(views), reinterpret_cast<int64_t>(&views)), S_OK);
    return p;
}

TEST(FrameTransfer, SecondViewsAreCopiedAndTravel) {
    const ZrPtr<IZrFFrame> pSecond = CountingFrame(VidProps(eZrFCC_RGB32, 16, 8));
    for (const auto& pFrame : {TwoViews(nullptr), TwoViews(pSecond.Get()), CutOf(*TwoViews(nullptr), {3, 1, 9, 6})}) {
        const ZrPtr<IZrFFrame> pLoaded = EmptyFrame(), pCopy = CloneOf(*pFrame, eZrFC_Full);
        const std::vector<uint8_t> arrGood = SavedBytes(*pFrame, eZrFC_Full);
        ASSERT_EQ(Load(*pLoaded, arrGood), S_OK);
        ExpectSame(*pLoaded, *pCopy);
        const ZRF_VID_PTR from = PlanesOf(*pFrame);
        for (const auto& pTo : {pLoaded, pCopy}) {
            const ZRF_VID_PTR to = PlanesOf(*pTo);
            const auto* pBits = VideoOf(*pTo).data();
            for (int32_t i = 0; i < 2; ++i) {
                ASSERT_EQ(to.szVideoPlanes[i].cy, from.szVideoPlanes[i].cy);
                for (int32_t y = 0; y < to.szVideoPlanes[i].cy; ++y) {
                    const auto* p = reinterpret_cast<uint8_t*>(to.lpVideoPlanes[i] + y * to.cbVideoRowBytes[i]);
                    const size_t cbRow = static_cast<size_t>(to.szVideoPlanes[i].cx) * 4;
                    ASSERT_TRUE(p >= pBits && p + cbRow <= pBits + VideoOf(*pTo).size());
                    ASSERT_EQ(
                        std::memcmp(
                            p, reinterpret_cast<uint8_t*>(from.lpVideoPlanes[i] + int64_t{y} * from.cbVideoRowBytes[i]),
                            cbRow),
                        0)
                        << "view " << i << " line " << y;
                }
            }
        }
        // The section of the planes comes last: four offsets, four row bytes.
        const std::tuple<size_t, int64_t, size_t> arrBad[] = {
            {48, -1, 8}, {40, 1 << 20, 8}, {40, INT64_MAX, 8}, {16, 0, 4}, {12, INT32_MIN, 4}};
        for (const auto& [nFromEnd, nValue, cb] : arrBad) {
            std::vector<uint8_t> arr = arrGood;
            std::memcpy(arr.data() + arr.size() - nFromEnd, &nValue, cb);
            EXPECT_EQ(Load(*pLoaded, arr), ZR_E_INVALID_DATA) << nFromEnd << " " << nValue;
        }
    }
}

TEST(FrameTransfer, BytesCutOrChangedAnywhereAreRefusedOrHarmless) {
    const ZrPtr<IZrFFrame> pFrame = SmallFrame(), pTarget = SmallFrame();
    const std::vector<uint8_t> arrGood = SavedBytes(*pFrame, eZrFC_Full);
    for (size_t cb = 1; cb < arrGood.size(); ++cb)
        ASSERT_EQ(Load(*pTarget, {arrGood.begin(), arrGood.begin() + static_cast<ptrdiff_t>(cb)}), ZR_E_INVALID_DATA)
            << cb;
    std::vector<uint8_t> arrLong = arrGood;
    arrLong.push_back(0);
    EXPECT_EQ(Load(*pTarget, arrLong), ZR_E_INVALID_DATA);
    ExpectSame(*pTarget, *pFrame);  // nothing of it has stuck
    std::vector<uint8_t> arr = arrGood;
    for (size_t i = 0; i < arr.size(); ++i) {
        for (const int nBits : {0x01, 0x80, 0xFF}) {
            arr[i] = static_cast<uint8_t>(arrGood[i] ^ nBits);
            const ZrPtr<IZrFFrame> p = EmptyFrame();
            if (Succeeded(Load(*p, arr)) && !VideoOf(*p).empty()) {
                EXPECT_LE(PictureBytes(PropsOf(*p).vidProps), VideoOf(*p).size()) << i;
            }
        }
        arr[i] = arrGood[i];
    }
}

// Fields of the head and of the first sections, set to what no writer writes.
TEST(FrameTransfer, NumbersThatContradictTheBytesAreRefused) {
    const std::vector<uint8_t> arrGood = SavedBytes(*SmallFrame(), eZrFC_Full);
    constexpr size_t nProps = 24 + 16, nTime = nProps + 2144 + 16, nPicture = nTime + 48, nAudio = nPicture + 16 + 48;
    const std::tuple<const char*, size_t, uint64_t, size_t> arrCases[] = {
        {"version", 4, 2, 2},
        {"sections_none", 8, 0, 4},
        {"sections_more", 8, 7, 4},
        {"sections_fewer", 8, 5, 4},
        {"sections_huge", 8, 0xFFFFFFFF, 4},
        {"all_bytes_huge", 16, UINT64_MAX, 8},
        {"record_of_another_size", 24 + 8, 2143, 8},
        {"record_with_an_id", 24 + 4, 2, 4},
        {"time_is_a_record", nTime - 16, 1, 4},
        {"picture_id_wraps", nPicture + 4, 0xFFFFFFFF, 4},
        {"picture_bytes_huge", nPicture + 8, UINT64_MAX - 7, 8},
        {"picture_bytes_none", nPicture + 8, 0, 8},
        {"picture_twice", nAudio, 3, 4},
        {"kind_unknown", nAudio, 99, 4},
        {"width_huge", nProps + 8, 0x7FFFFFFF, 4},
        {"width_negative", nProps + 8, 0xFFFFFFF8, 4},
        {"height_lowest", nProps + 12, 0x80000000, 4},
        {"height_larger", nProps + 12, 5, 4},
        {"height_smaller", nProps + 12, 2, 4},
        {"rows_shorter", nProps + 16, 4, 4},
        {"rows_negative", nProps + 16, 0xFFFFFFF8, 4},
        {"channels_huge", nProps + 48, 0x7FFFFFFF, 4},
        {"channels_not_whole", nProps + 48, 5, 4},
    };
    const ZrPtr<IZrFFrame> pTarget = EmptyFrame();
    for (const auto& [szName, nOffset, nValue, cb] : arrCases) {
        std::vector<uint8_t> arr = arrGood;
        std::memcpy(arr.data() + nOffset, &nValue, cb);
        EXPECT_EQ(Load(*pTarget, arr), ZR_E_INVALID_DATA) << szName;
    }
    // Counts that others walk arrays by are brought into range.
    std::vector<uint8_t> arr = arrGood;
    const int32_t nWild = 1000000;
    std::memcpy(arr.data() + nProps + offsetof(ZR_AV_PROPS, ancData.audOutput.nValidChannels), &nWild, 4);
    std::memcpy(arr.data() + nProps + offsetof(ZR_AV_PROPS, ancData.audOutput.nValidTracks), &nWild, 4);
    ASSERT_EQ(Load(*pTarget, arr), S_OK);
    EXPECT_EQ(PropsOf(*pTarget).ancData.audOutput.nValidChannels, 32);
    EXPECT_EQ(PropsOf(*pTarget).ancData.audOutput.nValidTracks, 32);
}

TEST(FrameTransfer, OneStreamHoldsManyFrames) {
    const ZrPtr<IZrFFrame> pA = SmallFrame(), pB = CountingFrame(VidProps(eZrFCC_RGB32, 1000, 600)),
                           pLoaded = EmptyFrame();
    ZrPtr<IStream> pStream;
    ASSERT_EQ(pA->ZrFSaveToStream(pStream.Out(), eZrFC_Full), S_OK);
    uint64_t nEnd = 0;
    ASSERT_EQ(pStream->Seek(0, 2, &nEnd), S_OK);
    ASSERT_EQ(pB->ZrFAddToStream(pStream.Get(), eZrFC_Full), S_OK);
    ASSERT_EQ(pStream->Write("tail", 4, nullptr), S_OK);
    ASSERT_EQ(pStream->Seek(0, 0, nullptr), S_OK);
    EXPECT_EQ(pLoaded->ZrFLoadFromStream(pStream.Get(), eZrFC_Full), S_OK);
    ExpectSame(*pLoaded, *pA);
    uint64_t nAt = 0;
    EXPECT_EQ(pStream->Seek(0, 1, &nAt), S_OK);
    EXPECT_EQ(nAt, nEnd);
    EXPECT_EQ(pLoaded->ZrFLoadFromStream(pStream.Get(), eZrFC_Full), S_OK);
    ExpectSame(*pLoaded, *pB);
    EXPECT_EQ(pLoaded->ZrFLoadFromStream(pStream.Get(), eZrFC_Full), ZR_E_INVALID_DATA);
    EXPECT_EQ(pLoaded->ZrFLoadFromStream(pStream.Get(), eZrFC_Full), ZR_E_EMPTY);
    // A stream that announces four gigabytes and ends.
    ASSERT_EQ(pStream->SetSize(0), S_OK);
    ASSERT_EQ(pStream->Seek(0, 0, nullptr), S_OK);
    std::vector<uint8_t> arr = SavedBytes(*pA, eZrFC_Full);
    const uint64_t cbAll = 0xFFFFFFFF;
    std::memcpy(arr.data() + 16, &cbAll, 8);
    ASSERT_EQ(pStream->Write(arr.data(), static_cast<uint32_t>(arr.size()), nullptr), S_OK);
    ASSERT_EQ(pStream->Seek(0, 0, nullptr), S_OK);
    EXPECT_EQ(pLoaded->ZrFLoadFromStream(pStream.Get(), eZrFC_Full), ZR_E_INVALID_DATA);
    ExpectSame(*pLoaded, *pB);
}

TEST(FrameTransfer, TheMemoryStreamKeepsToItsRules) {
    ZrPtr<IStream> pStream;
    ASSERT_EQ(EmptyFrame()->ZrFSaveToStream(pStream.Out(), eZrFC_Props), S_OK);
    ASSERT_EQ(pStream->SetSize(3), S_OK);
    uint64_t nPosition = 0;
    EXPECT_EQ(pStream->Seek(-1, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(pStream->Seek(0, 3, nullptr), E_INVALIDARG);
    EXPECT_EQ(pStream->Seek(INT64_MAX, 2, nullptr), E_INVALIDARG);
    EXPECT_EQ(pStream->Seek(2, 2, &nPosition), S_OK);
    EXPECT_EQ(nPosition, 5u);
    uint8_t arr[8] = {};
    uint32_t cb = 9;
    EXPECT_EQ(pStream->Read(arr, 1, &cb), S_FALSE);
    EXPECT_EQ(cb, 0u);
    EXPECT_EQ(pStream->Write("x", 1, &cb), S_OK);
    EXPECT_EQ(pStream->Seek(3, 0, nullptr), S_OK);
    EXPECT_EQ(pStream->Read(arr, 8, &cb), S_FALSE);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(arr), cb), std::string("\0\0x", 3));
    EXPECT_EQ(pStream->Seek(INT64_MAX, 0, nullptr), S_OK);
    EXPECT_EQ(pStream->Write("x", 1, nullptr), E_OUTOFMEMORY);
    EXPECT_EQ(pStream->SetSize(UINT64_MAX), E_OUTOFMEMORY);
}

}  // namespace
}  // namespace zr
