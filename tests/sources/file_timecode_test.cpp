#include "sources/file_timecode.h"

#include <gtest/gtest.h>

#include <tuple>

#include "sources/file_support.h"

namespace zr {
namespace {

TEST_F(FileControlTest, CountsInTimeCode) {
    FileRig rig;
    rig.BePulled();
    ASSERT_EQ(rig.control.FileNameSet(u"clip", u"tc_start='10:00:00:00'"), S_OK);
    const ZR_TIMECODE tcIn{10, 0, 1, 0, eZrTCF_NonDropFrame, 0}, tcOut{10, 0, 2, 5, eZrTCF_NonDropFrame, 0};
    ASSERT_EQ(rig.control.FileInOutSetTC(&tcIn, &tcOut), S_OK);
    double dblIn = 0, dblOut = 0;
    ASSERT_EQ(rig.control.FileInOutGet(&dblIn, &dblOut, nullptr), S_OK);
    EXPECT_NEAR(dblIn, 1.0, 1e-6);
    EXPECT_NEAR(dblOut, 2.2, 1e-6);
    ZR_TIMECODE tc;
    int32_t bOut = 1;
    ASSERT_EQ(rig.control.FileInOutSetTC(nullptr, nullptr), S_OK);
    ASSERT_EQ(rig.control.FileInOutGetTC(nullptr, &tc, &bOut), S_OK);
    EXPECT_EQ(bOut, 0);
    EXPECT_EQ(TimecodeText(tc), u"10:00:03:24");
    ASSERT_EQ(rig.control.FilePosSetTC(&tcOut), S_OK);
    ASSERT_EQ(rig.control.FilePlayStart(), S_OK);
    EXPECT_EQ(rig.Fetch().nPicture, 55);
    ASSERT_EQ(rig.control.FilePosGetTC(&tc), S_OK);
    EXPECT_EQ(TimecodeText(tc), u"10:00:02:05");
}

TEST(FileTimecode, CountsAsTheClockDoes) {
    constexpr std::tuple<const char*, double, const char16_t*, int64_t> arrCases[] = {
        {"pal", 25, u"00:01:00:24", 1524},
        {"film", 24000 / 1001.0, u"01:00:00:00", 86400},
        {"ntsc", 30000 / 1001.0, u"00:01:00:00", 1800},
        {"drop_before", 30000 / 1001.0, u"00:00:59;29", 1799},
        {"drop_after", 30000 / 1001.0, u"00:01:00;02", 1800},
        {"drop_tenth", 30000 / 1001.0, u"00:10:00;00", 17982},
        {"drop_hour", 30000 / 1001.0, u"01:00:00;00", 107892},
        {"drop_late", 30000 / 1001.0, u"23:59:59;29", 2589407},
        {"no_drop_at_30", 30, u"00:01:00;00", 1800},
    };
    for (const auto& [szName, dblRate, szCode, nFrame] : arrCases) {
        SCOPED_TRACE(szName);
        ZR_TIMECODE tc;
        ASSERT_TRUE(ParseTimecode(szCode, &tc));
        const bool bDrop = (tc.eTCFlags & eZrTCF_DropFrame) != 0;
        const TimecodeRate rate(dblRate, bDrop);
        EXPECT_EQ(rate.FrameOf(tc), nFrame);
        EXPECT_EQ(TimecodeText(rate.CodeOf(nFrame)), dblRate == 30 ? u"00:01:00:00" : szCode);
    }
    for (const double dblRate : {23.976, 25.0, 29.97, 50.0, 59.94, 60.0, 120.0}) {
        for (const bool bDrop : {false, true}) {
            const TimecodeRate rate(dblRate, bDrop);
            for (int64_t n = 0; n < 500000; n += n < 80000 ? 1 : 997)
                ASSERT_EQ(rate.FrameOf(rate.CodeOf(n)), n) << dblRate;
        }
    }
    ZR_TIMECODE tc;
    for (const char16_t* sz :
         {u"", u"1:2:3", u"a:b:c:d", u"10:00:00:00x", u"10;00:00:00", u"-1:00:00:00", u"00:00:00:9999"})
        EXPECT_FALSE(ParseTimecode(sz, &tc));
}

}  // namespace
}  // namespace zr
