#include <gtest/gtest.h>

#include <tuple>

#include "framework/object_commands.h"
#include "sources/co_zr_file.h"
#include "sources/file_line.h"
#include "sources/item_xml.h"
#include "zr/utf8.h"

namespace zr {
namespace {

ZrPtr<CCoZrItem> MakePlaying(const char16_t* _szPath, const char16_t* _szLine) {
    LinkFileSource();
    ZrPtr<CCoZrItem> pItem;
    EXPECT_EQ(CCoZrItem::MakeFile(_szPath, _szLine, {}, pItem), S_OK);
    return pItem;
}

eZrState StateOf(IUnknown* _pSource) {
    eZrState eState = eZrS_Error;
    QueryAs<IZrObject>(_pSource)->ObjectStateGet(&eState);
    return eState;
}

std::u16string Saved(CCoZrItem& _item, ITEM_SAVE& _save) {
    const XMLNodePtr pNode = CoXMLNode::Create(u"item");
    SaveItem(_item, *pNode, _save);
    std::u16string xml;
    pNode->Write(xml, {-1, false, false});
    return xml;
}

ZrPtr<CCoZrItem> Loaded(const std::u16string& _xml, ITEM_LOAD& _load) {
    const XMLNodePtr pNode = CoXMLNode::Create(u"item");
    EXPECT_EQ(pNode->Parse(std::u16string_view(_xml)), S_OK);
    ZrPtr<CCoZrItem> pItem;
    EXPECT_EQ(LoadItem(pNode.Get(), ItemPlace::kMixer, _load, pItem), S_OK);
    return pItem;
}

TEST(Item, BreakLiesWithinItsFile) {
    constexpr std::tuple<double, double, double, int64_t> arrCases[] = {
        {10, 0, 60, 100'000'000},    {-10, 0, 60, 500'000'000},      {500, 0, 60, 600'000'000},
        {-500, 20, 60, 200'000'000}, {5, 20, 60, 250'000'000},       {-0.00000005, 20, 60, 600'000'000},
        {0, 20, 60, 200'000'000},    {0.00000015, 0, 60, 2},         {1e300, 0, 60, 600'000'000},
        {5, 30, 10, 300'000'000},    {-1e300, 2, 1e300, 20'000'000},
    };
    for (const auto& [dblPosition, dblIn, dblOut, rtTime] : arrCases)
        EXPECT_EQ(BreakTime(dblPosition, {dblIn, dblOut}), rtTime) << dblPosition;
}

TEST(Item, BreaksStaySortedAndFollowThePoints) {
    const auto pItem = MakePlaying(u"red", u"img.default_duration=60");
    ZrPtr<IZrItem> pAdvert;
    ASSERT_EQ(pItem->BreaksAdd(30, nullptr, u"blue", u"img.default_duration=5", pAdvert.Out()), S_OK);
    ASSERT_EQ(pItem->BreaksCommandAdd(-10, u"mute", u"on", nullptr, nullptr), S_OK);
    ASSERT_EQ(pItem->BreaksCommandAdd(500, u"stop", u"", nullptr, nullptr), S_OK);
    ASSERT_EQ(pItem->BreaksCommandAdd(10, u"start", u"", nullptr, nullptr), S_OK);
    EXPECT_EQ(pItem->BreaksAdd(1, nullptr, u"", nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(pItem->BreaksAdd(1, nullptr, u"/nowhere.png", nullptr, nullptr), ZR_E_NOT_FOUND_FILE);

    const auto Times = [&] {
        std::vector<double> arrTimes;
        int32_t nCount = 0;
        pItem->BreaksGetCount(&nCount, nullptr);
        for (int32_t i = 0; i < nCount; ++i) pItem->BreaksGetByIndex(i, &arrTimes.emplace_back(), nullptr, nullptr);
        return arrTimes;
    };
    EXPECT_EQ(Times(), (std::vector<double>{10, 30, 50, 60}));
    double dblSeconds = 0;
    EXPECT_EQ(pItem->ItemPlayTimeGet(&dblSeconds), S_OK);
    EXPECT_DOUBLE_EQ(dblSeconds, 65);

    ASSERT_EQ(pItem->FileInOutSet(20, 40), S_OK);  // times are from the in point on
    EXPECT_EQ(Times(), (std::vector<double>{10, 10, 20, 20}));
    EXPECT_EQ(pItem->ItemPlayTimeGet(&dblSeconds), S_OK);
    EXPECT_DOUBLE_EQ(dblSeconds, 25);
    ASSERT_EQ(pItem->FileInOutSet(0, 40), S_OK);
    EXPECT_EQ(Times(), (std::vector<double>{10, 30, 30, 40}));

    ASSERT_EQ(pItem->BreaksTimeSet(0, 35), S_OK);
    EXPECT_EQ(Times(), (std::vector<double>{30, 30, 35, 40}));
    EXPECT_EQ(pItem->BreaksTimeSet(4, 1), ZR_E_BAD_INDEX);
    int32_t nIndex = -1;
    double dblPosition = 0;
    EXPECT_EQ(pAdvert->ItemPosGet(&dblPosition, &nIndex), S_OK);
    EXPECT_EQ(pItem->BreaksRemoveByIndex(7, 0), ZR_E_BAD_INDEX);
    EXPECT_EQ(pItem->BreaksRemoveByIndex(2, 0), S_OK);
    EXPECT_EQ(Times(), (std::vector<double>{30, 30, 40}));
    EXPECT_EQ(pItem->BreaksRemove(pAdvert.Get()), S_OK);
    EXPECT_EQ(pItem->BreaksRemove(pAdvert.Get()), ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(pItem->BreaksRemoveByIndex(1, -9), S_OK);
    EXPECT_EQ(pItem->BreaksRemoveByIndex(0, 0), ZR_E_EMPTY);
}

TEST(Item, CommandRunsOnItsTargetOrOnTheSourceGiven) {
    const auto pA = MakePlaying(u"red", u""), pB = MakePlaying(u"blue", u"");
    for (const bool bTarget : {true, false}) {
        ZrPtr<CCoZrItem> pCommand;
        ASSERT_EQ(CCoZrItem::MakeCommand(u"start", u"", bTarget ? pA->Source() : nullptr, pCommand), S_OK);
        EXPECT_EQ(pCommand->ItemCommandExecute(bTarget ? nullptr : pB->Source()), S_OK);
        EXPECT_EQ(StateOf(pA->Source()), eZrS_Running);
        EXPECT_EQ(StateOf(pB->Source()), bTarget ? eZrS_Stopped : eZrS_Running);
        if (!bTarget) {
            EXPECT_EQ(pCommand->ItemCommandExecute(nullptr), E_POINTER);
        }
        EXPECT_EQ(pCommand->ItemCommandSet(u"", u"", nullptr), E_INVALIDARG);
    }
    EXPECT_EQ(pA->ItemCommandSet(u"start", u"", nullptr), E_UNEXPECTED);
}

// Before any sound came: a host sets them up in advance.
TEST(Item, HasTracksByItsKeys) {
    const auto pItem = MakePlaying(u"red", u"");
    int32_t nTracks = 0, nChannels = 0;
    EXPECT_EQ(pItem->AudioTracksGetCount(&nTracks), S_OK);
    EXPECT_EQ(nTracks, 1);
    pItem->PropsSet(u"default_tracks", u"3");
    pItem->PropsSet(u"channels_per_track", u"2");
    pItem->AudioTracksGetCount(&nTracks);
    pItem->AudioChannelsPerTrackGet(&nChannels);
    EXPECT_EQ(nTracks, 3);
    EXPECT_EQ(nChannels, 2);
    EXPECT_EQ(ExecuteObjectCommand(static_cast<IZrItem*>(pItem.Get()), u"audio gain=-6", u"", nullptr), S_OK);
    EXPECT_EQ(ExecuteObjectCommand(static_cast<IZrItem*>(pItem.Get()), u"mute", u"track=0", nullptr), S_OK);
    // Those that come later, too.
    pItem->PropsSet(u"default_tracks", u"5");
    EXPECT_EQ(pItem->AudioTrackAdd(0, u"1", nullptr, nullptr), S_OK);
    for (int32_t i = 0; i < 6; ++i) {
        ZrPtr<IZrAudioTrack> pTrack;
        double dblGain = 0;
        int32_t bMute = 0;
        ASSERT_EQ(pItem->AudioTrackGetByIndex(i, nullptr, pTrack.Out()), S_OK);
        pTrack->TrackGainGet(31, &dblGain);
        pTrack->TrackMuteGet(31, &bMute);
        EXPECT_NEAR(dblGain, -6, 1e-9) << i;
        EXPECT_EQ(bMute, i == 0) << i;
    }
}

TEST(Item, StartTimesGoThroughTheirText) {
    const auto pItem = MakePlaying(u"red", u"img.default_duration=7200");
    constexpr std::tuple<const char16_t*, ZR_DATETIME, ZR_DATETIME> arrCases[] = {
        {u"2028/02/28 23:30:00", {2028, 2, 28, 23, 30, 0, 0}, {2028, 2, 29, 1, 30, 0, 0}},
        {u"2026/12/31 22:59:59.250", {2026, 12, 31, 22, 59, 59, 250}, {2027, 1, 1, 0, 59, 59, 250}},
    };
    for (const auto& [szText, startWanted, stopWanted] : arrCases) {
        ASSERT_EQ(pItem->ItemStartTimeSet(&startWanted, eZrST_Specified), S_OK);
        ZR_DATETIME start, stop;
        eZrStartType eType = eZrST_Off;
        ASSERT_EQ(pItem->ItemTimesGet(&start, &stop, &eType), S_OK);
        EXPECT_EQ(DateTimeText(stop), DateTimeText(stopWanted));
        EXPECT_EQ(DateTimeText(start), szText);
        EXPECT_EQ(DateTimeText(ReadDateTimeText(szText)), szText);
    }
    const ZR_DATETIME wrong{2026, 2, 29, 0, 0, 0, 0};
    EXPECT_EQ(pItem->ItemStartTimeSet(&wrong, eZrST_Specified), E_INVALIDARG);
    EXPECT_EQ(pItem->ItemStartTimeSet(nullptr, eZrST_Specified), E_POINTER);
}

TEST(Item, ComesBackFromItsXmlAsItWas) {
    const auto pItem = MakePlaying(u"red", u"img.default_duration=60 width=64 Height=36 in=2.5 out=-5 loop=true");
    pItem->PropsSet(u"audio", u"false");
    pItem->PropsSet(u"transition_in::type", u"fade");
    pItem->PropsSet(u"transition_in", u" of\n'mine' ");  // beside a node of the name
    for (const char16_t* szOdd : {u"a>\"b", u"a'b::c", u"::", u"a b"}) pItem->PropsSet(szOdd, u"no text has it");
    pItem->PropsSet(u"pause_out", u"true");
    pItem->PropsSet(u"file::img.tone", u"440");  // the source's own
    pItem->ItemStartTimeSet(nullptr, eZrST_Auto);
    pItem->BreaksAdd(-10, nullptr, u"bars", u"img.default_duration=5", nullptr);
    pItem->BreaksCommandAdd(3, u"mute", u"on 'and' \"off\"", nullptr, nullptr);
    ITEM_SAVE save, saveAgain;
    const std::u16string xml = Saved(*pItem, save);

    EXPECT_EQ(xml.substr(0, xml.find(u"<zritem_props")),
              u"<item pause_out='true' start_time='auto'><file path='red' ref_id='1' width='64' height='36' "
              u"img.default_duration='60' img.tone='440' loop='true' in='2.5' out='-5'/>");

    ITEM_LOAD load;
    const auto pBack = Loaded(xml, load);
    EXPECT_EQ(Saved(*pBack, saveAgain), xml);
    double dblIn = 0, dblOut = 0, dblDuration = 0, dblBreak = 0;
    pBack->FileInOutGet(&dblIn, &dblOut, &dblDuration);
    EXPECT_DOUBLE_EQ(dblIn, 2.5);
    EXPECT_DOUBLE_EQ(dblDuration, 60);
    EXPECT_EQ(pBack->Start().eType, eZrST_Auto);
    Text text;
    EXPECT_EQ(pBack->BreaksGetByIndex(1, &dblBreak, text.Out(), nullptr), S_OK);
    EXPECT_EQ(text.View(), u"bars");
    EXPECT_DOUBLE_EQ(dblBreak, 42.5);  // 10 s before 55
    for (const auto& [szKey, szValue] :
         std::initializer_list<std::pair<const char16_t*, const char16_t*>>{{u"audio", u"false"},
                                                                            {u"video", u"true"},
                                                                            {u"transition_in::type", u"fade"},
                                                                            {u"transition_in", u" of\n'mine' "},
                                                                            {u"pause_out", u"true"},
                                                                            {u"file::img.tone", u"440"}}) {
        pBack->PropsGet(szKey, text.Out());
        EXPECT_EQ(text.View(), szValue);
    }
}

TEST(Item, LoadingTakesBackWhatTheTextLeavesOut) {
    const auto pItem = MakePlaying(u"red", u"");
    ITEM_SAVE saveMade, saveBack;
    const std::u16string made = Saved(*pItem, saveMade);
    for (const char16_t* szKey : {u"master", u"drop_frames", u"pause_in", u"stop_out"}) pItem->PropsSet(szKey, u"true");
    for (const char16_t* szKey : {u"video", u"audio"}) pItem->PropsSet(szKey, u"false");
    pItem->ItemStartTimeSet(nullptr, eZrST_Auto);
    for (const char16_t* szKey : {u"my_key", u"transition_in::type"}) pItem->PropsSet(szKey, u"7");
    // A break may be the item's own source.
    pItem->BreaksAdd(0, pItem->Source(), nullptr, nullptr, nullptr);
    pItem->BreaksCommandAdd(0, u"stop", u"", nullptr, nullptr);
    ITEM_SAVE saveSet;
    EXPECT_EQ(pItem->PersistLoad(u"", Saved(*pItem, saveSet).c_str(), nullptr), S_OK);
    int32_t nBreaks = 0;
    pItem->BreaksGetCount(&nBreaks, nullptr);
    EXPECT_EQ(nBreaks, 2);
    EXPECT_EQ(pItem->PersistLoad(u"", made.c_str(), nullptr), S_OK);
    EXPECT_EQ(Saved(*pItem, saveBack), made);
    EXPECT_TRUE(pItem->Node()->AttributeOr(u"video", false));
    EXPECT_FALSE(pItem->Node()->AttributeOr(u"master", true));
}

TEST(Item, WhatAHostSaysOfAFileHolds) {
    constexpr std::u16string_view named = u" video_format='PAL' pixel_format='UYVY'";
    constexpr std::u16string_view sized =
        u" width='64' height='36' rate='25.000' interlace='progressive' pixel_format='UYVY'";
    constexpr struct {
        std::u16string_view line, output, complete;
    } arrCases[] = {
        {u"", named, named},
        {u"in=2", sized, u"in=2 width='64' height='36' rate='25.000' interlace='progressive' pixel_format='UYVY'"},
        {u"Width=32 height=18", named, u"Width=32 height=18 pixel_format='UYVY'"},
        {u"video_format='NTSC' pixel_format=YUY2", sized, u"video_format='NTSC' pixel_format=YUY2"},
        {u"x_rate=1 name='video_format=PAL'", named,
         u"x_rate=1 name='video_format=PAL' video_format='PAL' pixel_format='UYVY'"},
        {u"in=1", u"", u"in=1"},
    };
    for (const auto& test : arrCases) EXPECT_EQ(CompleteFileLine(test.line, test.output), test.complete);
    EXPECT_TRUE(NamesKey(u"in=1 LOOP=false", u"loop"));
    EXPECT_FALSE(NamesKey(u"x_loop=1 title='loop=1'", u"loop"));
}

TEST(Item, OneSourceAtTwoPlacesComesBackAsOneAndEndsWithTheLast) {
    const auto pA = MakePlaying(u"red", u"");
    const auto pB = CCoZrItem::Make(pA->Source(), u"red", pA->Owned());
    ITEM_SAVE save;
    ITEM_LOAD load;
    auto pBackA = Loaded(Saved(*pA, save), load), pBackB = Loaded(Saved(*pB, save), load);
    EXPECT_EQ(pBackA->Source(), pBackB->Source());
    EXPECT_EQ(pBackB->Path(), u"red");
    const ZrPtr<IUnknown> pSource(pBackA->Source());
    load.mapSources.clear();
    pBackA->Close();
    EXPECT_EQ(StateOf(pSource.Get()), eZrS_Stopped);
    pBackB.Reset();
    EXPECT_EQ(StateOf(pSource.Get()), eZrS_Closed);
}

TEST(Item, LoadsWhatItCan) {
    ITEM_LOAD load;
    std::u16string xml =
        u"<item start_time='2026/11/24 20:15:00'><file path='red'/><breaks><item break_pos='1'><file path='/no.png'/>"
        u"</item><item break_pos='nan'><file path='blue'/></item><command break_time='2026/11/24 20:16:00' "
        u"command='stop'/><playlist/><item><live path='x'/></item></breaks></item>";
    const auto pItem = Loaded(xml, load);
    int32_t nCount = 0;
    EXPECT_EQ(pItem->BreaksGetCount(&nCount, nullptr), S_OK);
    EXPECT_EQ(nCount, 2);
    EXPECT_EQ(pItem->Start().eType, eZrST_Specified);
    BREAK_ENTRY entry;
    pItem->Breaks().At(1, &entry);
    EXPECT_EQ(DateTimeText(entry.place.time), u"2026/11/24 20:16:00");

    xml.clear();
    for (int i = 0; i < 3000; ++i) xml += u"<item><file path='red'/><breaks>";
    EXPECT_TRUE(Loaded(xml, load));
    ZrPtr<CCoZrItem> pNone;
    EXPECT_EQ(LoadItem(nullptr, ItemPlace::kMixer, load, pNone), E_INVALIDARG);

    std::u16string resolved;
    EXPECT_TRUE(ResolveItemPath(u"/shows", u"a/../clip.mp4", resolved));
    EXPECT_EQ(resolved, u"/shows/a/../clip.mp4");
    EXPECT_FALSE(ResolveItemPath(u"/shows", u"a/../../clip.mp4", resolved));
    for (const char16_t* sz : {u"/a/clip.mp4", u"bars", u"srt://host:1"}) {
        EXPECT_TRUE(ResolveItemPath(u"/shows", sz, resolved));
        EXPECT_EQ(resolved, sz);
    }
}

}  // namespace
}  // namespace zr
