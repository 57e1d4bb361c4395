// A mixer saved and loaded again.

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <tuple>

#include "attributes/mixer_keys.h"
#include "mixer_fixture.h"
#include "platform/user_store.h"
#include "support/temp_folder.h"
#include "zr/persist.h"
#include "zr/scenes.h"
#include "zr/streams.h"
#include "zr/utf8.h"

namespace zr {
namespace {

using std::string;

class PersistTest : public MixerTest {
protected:
    PersistTest() {
        char szTemplate[] = "/tmp/zr-persist-XXXXXX";
        strFolder = mkdtemp(szTemplate);
    }
    ~PersistTest() override { EXPECT_EQ(std::system(("rm -rf " + strFolder).c_str()), 0); }
    // Another mixer, with the background taken away.
    ZrPtr<IZrPersist> NewMixer() {
        if (pMixer) pMixer->ObjectClose();
        Make(25.0, true);
        pStreams->StreamsBackgroundSet(nullptr, nullptr, nullptr, nullptr, 0);
        return pMixer.As<IZrPersist>();
    }
    void Write(const string& _strName, const string& _strText) {
        std::ofstream(strFolder + "/" + _strName) << _strText;
    }
    string Read(const string& _strName) {
        std::ostringstream text;
        text << std::ifstream(strFolder + "/" + _strName).rdbuf();
        return text.str();
    }
    HRESULT Save(const ZrPtr<IZrPersist>& _p, const string& _strName, const char16_t* _szParam = nullptr) {
        return _p->PersistSaveToFile(nullptr, ToUtf16(strFolder + "/" + _strName).c_str(), _szParam);
    }
    HRESULT Load(const ZrPtr<IZrPersist>& _p, const string& _strName) {
        return _p->PersistLoad(nullptr, ToUtf16(strFolder + "/" + _strName).c_str(), nullptr);
    }
    static string TextOf(const ZrPtr<IZrPersist>& _p, const char16_t* _szObject = u"") {
        Text text;
        EXPECT_EQ(_p->PersistSaveToString(_szObject, text.Out(), nullptr), S_OK);
        return ToUtf8(text.View());
    }
    string Scenes() {
        const auto pScenes = pMixer.As<IZrScenes>();
        string str;
        int32_t nActive = -1;
        pScenes->ScenesActiveGet(nullptr, &nActive, nullptr);
        Text id;
        for (int32_t i = 0; pScenes->ScenesGetByIndex(i, id.Out(), nullptr) == S_OK; ++i)
            str += ToUtf8(id.View()) + (i == nActive ? "* " : " ");
        return str;
    }
    // What the mixer shows after a while.
    string Picture() {
        pMixer->ObjectStart(nullptr);
        SleepFor(kTicksPerSecond);
        ZRF_FRAME_INFO info;
        pCollector->Frames().back().pFrame->ZrFAllGet(&info);
        const ZR_VID_PROPS& props = info.avProps.vidProps;
        return string(reinterpret_cast<const char*>(info.lpVideo),
                      static_cast<size_t>(props.nRowBytes * props.nHeight));
    }
    void FillShow() {
        EXPECT_EQ(pStreams->StreamsBackgroundSet(nullptr, u"grey", nullptr, nullptr, 0), S_OK);
        ZrPtr<IZrItem> pItem;
        EXPECT_EQ(pStreams->StreamsAdd(u"one", nullptr, u"bars", nullptr, pItem.Out(), 0), S_OK);
        pItem.As<IZrProps>()->PropsSet(u"audio", u"false");
        EXPECT_EQ(pStreams->StreamsAdd(nullptr, nullptr, u"white", u"loop=false", nullptr, 0), S_OK);
        pProps->PropsSet(u"object::background", u"navy");
        pProps->PropsSet(u"pause.no_input", u"true");
        const auto pScenes = pMixer.As<IZrScenes>();
        BSTR bs = SysAllocString(u"two & <three>");
        pScenes->ScenesAdd(
            u"<zr_scene><foreground><video id='a' stream_id='one' w='0.5'/><group id='g' x='0.25'>"
            u"<video stream_idx='1' h='0.5' alpha='0.7'/><text>Hi &amp; ho</text></group></foreground>"
            u"<view><far a='x=1'/></view></zr_scene>",
            &bs, nullptr);
        EXPECT_EQ(pScenes->ScenesActiveSet(bs, nullptr), S_OK);
        SysFreeString(bs);
    }

    string strFolder;
};

TEST_F(PersistTest, ComesBackTheSame) {
    auto p = NewMixer();
    FillShow();
    const string strPicture = Picture();
    EXPECT_EQ(std::count(strPicture.begin(), strPicture.end(), strPicture[0]) < 3000, true) << "something is shown";
    const string strText = TextOf(p);
    EXPECT_EQ(Save(p, "show.xml"), S_OK);
    EXPECT_EQ(Save(p, "wide.xml", u"unicode=true xml_header=true"), S_OK);
    EXPECT_EQ(Save(p, "parts.xml", u"separate_files=true"), S_OK);
    EXPECT_EQ(Read("wide.xml").substr(0, 8), string("\xFF\xFE<\0?\0x\0", 8));
    EXPECT_TRUE(Read("show.xml").starts_with("<zr_config ")) << Read("show.xml");
    EXPECT_FALSE(Read("parts_scene_000.xml").empty());
    EXPECT_NE(Read("parts_two & _three_.xml").find("Hi &amp; ho"), string::npos);
    EXPECT_EQ(strText.find("attributes_info"), string::npos);
    const string strShow = Read("show.xml");
    for (const char* szFile : {"show.xml", "wide.xml", "parts.xml"}) {
        SCOPED_TRACE(szFile);
        p = NewMixer();
        EXPECT_EQ(Load(p, szFile), S_OK);
        EXPECT_EQ(Scenes(), "scene_000 two & <three>* ");
        EXPECT_EQ(TextOf(p), strText);
        EXPECT_EQ(Save(p, "again.xml"), S_OK);
        EXPECT_EQ(Read("again.xml"), strShow);
        EXPECT_TRUE(Picture() == strPicture) << "bit for bit";
    }
    // The scenes alone leave the streams.
    EXPECT_EQ(p->PersistLoad(u"scenes", u"<zr_scene name='only'><video/></zr_scene>", nullptr), S_OK);
    EXPECT_EQ(Scenes(), "only* ");
    int32_t nCount = 0;
    pStreams->StreamsGetCount(&nCount);
    EXPECT_EQ(nCount, 2);
    EXPECT_EQ(TextOf(p, u"scenes").find("mixer_streams"), string::npos);
}

// The output format goes along; what asks for one that there is not leaves the present one, and what leaves it open
// gets what is usual.
TEST_F(PersistTest, TheFormatComesBack) {
    auto p = NewMixer();
    ZR_VID_PROPS video{.eVideoFormat = eZrVF_HD720_50p, .fccType = eZrFCC_ARGB32};
    const ZR_AUD_PROPS audio{6, 48000, 24, 0};
    EXPECT_EQ(pMixer.As<IZrFormat>()->FormatVideoSet(eZrFT_Convert, &video), S_OK);
    EXPECT_EQ(pMixer.As<IZrFormat>()->FormatAudioSet(eZrFT_Convert, &audio), S_OK);
    const string strText = TextOf(p);
    p = NewMixer();
    EXPECT_EQ(p->PersistLoad(nullptr, ToUtf16(strText).c_str(), nullptr), S_OK);
    for (const char16_t* sz : {u"video_format='HD9000' audio_channels='-1'", u"width='90' height='160' rate='1e300'",
                               u"video_format='HD720-50p' rate='20000'"})
        EXPECT_EQ(
            p->PersistLoad(nullptr, (u"<zr_config><format " + std::u16string(sz) + u"/></zr_config>").c_str(), nullptr),
            S_OK);
    EXPECT_EQ(TextOf(p), strText);
    ZR_VID_PROPS props;
    ZR_AUD_PROPS audioNow;
    pMixer.As<IZrFormat>()->FormatVideoGet(eZrFT_Convert, &props, nullptr, nullptr);
    pMixer.As<IZrFormat>()->FormatAudioGet(eZrFT_Convert, &audioNow, nullptr, nullptr);
    EXPECT_EQ(props.eVideoFormat, eZrVF_HD720_50p);
    EXPECT_EQ(props.fccType, eZrFCC_ARGB32);
    EXPECT_EQ(audioNow.nChannels * 1000 + audioNow.nBitsPerSample, 6024);
    // A size of its own, upright as for a telephone, says enough.
    EXPECT_EQ(p->PersistLoad(nullptr, u"<zr_config><format width='90' height='160' rate='25'/></zr_config>", nullptr),
              S_OK);
    pMixer.As<IZrFormat>()->FormatVideoGet(eZrFT_Convert, &props, nullptr, nullptr);
    EXPECT_EQ(props.nWidth * 1000 + props.nHeight, 90160);
    EXPECT_EQ(props.fccType, eZrFCC_UYVY);
}

// A change that is under way is not saved, only where it goes; what is fading out for good is gone.
TEST_F(PersistTest, SavesWhereChangesGo) {
    const auto p = NewMixer();
    const auto pElements = pMixer.As<IZrElements>();
    ZrPtr<IZrElement> pA, pB, pC;
    pElements->ElementsAdd(u"a", u"video", u"x=0.1", pA.Out(), 0);
    pElements->ElementsAdd(u"b", u"video", u"", pB.Out(), 0);
    pElements->ElementsAdd(u"c", u"video", u"x=0.3", pC.Out(), 0);
    pA->ElementDoubleSet(u"x", 0.5, 10);
    pB->ElementDetach(10);
    pC->ElementSet(nullptr, u"<group x='0.4'/>", 10);
    EXPECT_NE(TextOf(p).find("<view/>\r\n\t\t\t<video id='a' x='0.5'/>\r\n\t\t\t<group id='c' x='0.4' show='true'/>"),
              string::npos)
        << TextOf(p);
}

// By keys: the scenes that a mixer closes with are those that the next one begins with.
TEST_F(PersistTest, SavesAndLoadsTheLastScenes) {
    const OwnConfig config;
    const std::u16string strFile = ToUtf16(strFolder + "/last.xml");
    const std::tuple<int32_t, int32_t, bool, const char*, const char*> arrCases[] = {
        {0, 1, false, "", "scene_000* "},
        {1, 0, false, "<zr_c", "scene_000* "},
        {0, 1, false, "<zr_c", "scene_000 news* "},
        {1, 1, true, "\xFF\xFE<", "scene_000 news* "},
        {0, 1, false, "\xFF\xFE<", "scene_000 news* news_001 "}};
    for (const auto& [nSave, nLoad, bUnicode, szBegin, szScenes] : arrCases) {
        SCOPED_TRACE(szScenes);
        UserKey key;
        key.mapValues[u"last_scene.path"] = strFile;
        key.mapValues[u"last_scene.load"] = nLoad;
        key.mapValues[u"last_scene.save"] = nSave;
        ASSERT_EQ(UserStore::Save(MixerProfile().szStoreKey, std::move(key)), S_OK);
        NewMixer();
        EXPECT_EQ(Scenes(), szScenes);
        BSTR bs = SysAllocString(u"news");
        pMixer.As<IZrScenes>()->ScenesAdd(u"<zr_scene><video id='caf\u00e9'/></zr_scene>", &bs, nullptr);
        pMixer.As<IZrScenes>()->ScenesActiveSet(u"news", nullptr);
        SysFreeString(bs);
        pProps->PropsSet(u"object::last_scene.unicode", bUnicode ? u"true" : u"false");
        pMixer->ObjectClose();
        EXPECT_EQ(Read("last.xml").substr(0, std::strlen(szBegin)), szBegin);
    }
}

// What a configuration names again plays on where it is; the rest is opened before what was there goes.
TEST_F(PersistTest, KeepsWhatItNamesAgain) {
    const auto p = NewMixer();
    FillShow();
    EXPECT_EQ(Save(p, "show.xml"), S_OK);
    const string strShow = Read("show.xml");
    const auto item = [&](int32_t _n) {
        ZrPtr<IZrItem> pItem;
        pStreams->StreamsGetByIndex(_n, nullptr, pItem.Out());
        return pItem;
    };
    const auto source = [&](int32_t _n) {
        ZrPtr<IUnknown> pInner;
        item(_n)->ItemInnerGet(pInner.Out());
        return pInner;
    };
    pMixer->ObjectStart(nullptr);
    SleepFor(kTicksPerSecond);
    const ZrPtr<IZrItem> pOne = item(0), pTwo = item(1);
    const ZrPtr<IUnknown> pOneSource = source(0), pTwoSource = source(1);
    pOne.As<IZrProps>()->PropsSet(u"drop_frames", u"true");
    EXPECT_EQ(pStreams->StreamsAdd(u"ONE", nullptr, u"red", nullptr, nullptr, 0), S_OK);
    const auto count = [&](std::u16string_view _event) {
        SleepFor(kTicksPerSecond / 10);  // events go out on a thread of their own
        MutexLock lock(mtx);
        return std::count_if(arrEvents.begin(), arrEvents.end(),
                             [&](const auto& _e) { return _e.starts_with(_event); });
    };
    const auto nConnected = count(u"connect/");
    EXPECT_EQ(nConnected, 4) << "background and three streams";
    EXPECT_EQ(Load(p, "show.xml"), S_OK);
    EXPECT_TRUE(item(0) == pOne && item(1) == pTwo && source(0) == pOneSource && source(1) == pTwoSource);
    EXPECT_EQ(count(u"connect/"), nConnected);
    EXPECT_EQ(Save(p, "again.xml"), S_OK);
    EXPECT_EQ(Read("again.xml"), strShow) << "its keys are those of the configuration";

    // The same number and another file or key: a new source. Another place for it: the source goes along.
    string strOther = strShow;
    const auto swap = [&](const string& _from, const string& _to) {
        const size_t n = strOther.find(_from);
        ASSERT_NE(n, string::npos) << _from << strOther;
        strOther.replace(n, _from.size(), _to);
    };
    swap("stream_id='one'", "stream_id='moved'");
    swap("path='white'", "path='blue'");
    Write("other.xml", strOther);
    EXPECT_EQ(Load(p, "other.xml"), S_OK);
    EXPECT_TRUE(item(0) != pOne && source(0) == pOneSource);
    EXPECT_TRUE(source(1) != pTwoSource);
    // What was loaded is the mixer's as what was added is, and loops as told.
    const auto nDisconnected = count(u"disconnect/");
    EXPECT_EQ(item(0).As<IZrFile>()->FilePlayStop(0), S_OK);
    EXPECT_EQ(count(u"disconnect/"), nDisconnected + 1) << "the mixer stops its stream, not the source alone";
    EXPECT_EQ(
        p->PersistLoad(
            nullptr, u"<zr_config><mixer_streams><item><file path='red'/></item></mixer_streams></zr_config>", nullptr),
        S_OK);
    Text loop;
    EXPECT_EQ(item(0).As<IZrProps>()->PropsGet(u"file::loop", loop.Out()), S_OK);
    EXPECT_EQ(ToUtf8(loop.View()), "true");
}

// Ids that differ in what a file's name cannot have go to different files; a save that fails leaves what there was.
TEST_F(PersistTest, KeepsEachSceneInAFileOfItsOwn) {
    auto p = NewMixer();
    for (const char16_t* szID : {u"a:b", u"a_b", u"a/b", u"a_b_001"}) {
        BSTR bs = SysAllocString(szID);
        const std::u16string strXml = u"<zr_scene><video id='v' mask='" + std::u16string(szID) + u"'/></zr_scene>";
        EXPECT_EQ(pMixer.As<IZrScenes>()->ScenesAdd(strXml.c_str(), &bs, nullptr), S_OK);
        SysFreeString(bs);
    }
    const string strText = TextOf(p, u"scenes");
    EXPECT_EQ(Save(p, "parts.xml", u"separate_files=true"), S_OK);
    EXPECT_NE(std::system(("ls " + strFolder + "/*~ 2> /dev/null").c_str()), 0) << "nothing is left beside them";
    EXPECT_EQ(std::system(("mkdir " + strFolder + "/folder.xml").c_str()), 0);
    EXPECT_TRUE(Failed(Save(p, "folder.xml")));
    EXPECT_EQ(std::system(("cd " + strFolder + " && touch real.xml && ln -s real.xml link.xml").c_str()), 0);
    EXPECT_EQ(Save(p, "link.xml"), S_OK);
    EXPECT_FALSE(Read("real.xml").empty()) << "a link goes on leading to its file";
    p = NewMixer();
    EXPECT_EQ(Load(p, "parts.xml"), S_OK);
    EXPECT_EQ(TextOf(p, u"scenes"), strText);
}

TEST_F(PersistTest, NamesFilesFromWhereItStands) {
    Write("logo.png", "x");
    EXPECT_EQ(std::system(("mkdir " + strFolder + "/sub").c_str()), 0);
    Write("sub/part.xml", "<zr_scene><video id='v' mask='m.png'/></zr_scene>");
    Write("sub/m.png", "x");
    Write("loop.xml", "<zr_scene src='loop2.xml'/>");
    Write("loop2.xml", "<zr_scene src='loop.xml'/>");
    Write("main.xml",
          "<zr_config><zr_scenes active_scene='none'><zr_scene name='out' src='../part.xml'/>"
          "<zr_scene name='p' src='sub/part.xml'/><zr_scene name='r' src='loop.xml'/><zr_scene name='s'>"
          "<video mask='logo.png' src='../../etc/passwd' id='w'/><video mask='circle'/></zr_scene>"
          "<zr_scene name='gone' src='no.xml'/></zr_scenes></zr_config>");
    const auto p = NewMixer();
    EXPECT_EQ(Load(p, "main.xml"), static_cast<HRESULT>(0x80070005)) << "the first that fails";
    EXPECT_EQ(Scenes(), "p* s ");
    const string strText = TextOf(p);
    EXPECT_NE(strText.find("<video id='v' mask='" + strFolder + "/sub/m.png'/>"), string::npos) << strText;
    EXPECT_NE(strText.find("<video id='w' mask='" + strFolder + "/logo.png'/>"), string::npos) << strText;
    EXPECT_NE(strText.find("<video mask='circle'/>"), string::npos);
    EXPECT_EQ(Save(p, "moved.xml"), S_OK);
    EXPECT_NE(Read("moved.xml").find("<video id='v' mask='sub/m.png'/>"), string::npos) << Read("moved.xml");
}

TEST_F(PersistTest, TakesAnyTextOrSaysWhy) {
    const auto p = NewMixer();
    EXPECT_EQ(p->PersistSaveToFile(nullptr, u"", nullptr), E_INVALIDARG);
    EXPECT_EQ(p->PersistSaveToFile(nullptr, u"/no/such/folder/x.xml", nullptr), ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(p->PersistLoad(nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(p->PersistLoad(nullptr, u"no tags", nullptr), ZR_E_NOT_FOUND_FILE);
    EXPECT_EQ(p->PersistLoad(nullptr, u"<", nullptr), E_INVALIDARG);
    EXPECT_EQ(Scenes(), "scene_000* ");
    EXPECT_EQ(p->PersistLoad(nullptr,
                             u"<zr_config><object sync_mode='true'/><mixer_streams><item stream_id='x'><file "
                             u"path='/no/such.mp4'/></item><item stream_id='y'><file path='bars'/></item><odd/>"
                             u"</mixer_streams></zr_config>",
                             nullptr),
              S_OK);
    BSTR bs = nullptr;
    EXPECT_EQ(pStreams->StreamsGetByIndex(0, &bs, nullptr), S_OK);
    EXPECT_EQ(ToUtf8(bs ? bs : u""), "y") << "one that fails leaves the others";
    SysFreeString(bs);
    std::u16string strDeep = u"<zr_scene>";
    for (int i = 0; i < 50000; ++i) strDeep += u"<group w='0.9'><on_show nested='true'/>";
    EXPECT_EQ(p->PersistLoad(nullptr, strDeep.c_str(), nullptr), S_OK);
    Picture();
    ZrPtr<IZrElement> pTop;
    ASSERT_EQ(pMixer.As<IZrElements>()->ElementsGetByIndex(0, pTop.Out()), S_OK);
    pTop->ElementBoolSet(u"show", 0, 0.1);
    pTop->ElementBoolSet(u"show", 1, 0.1);
    SleepFor(kTicksPerSecond);
    EXPECT_EQ(Scenes(), "scene_000* ");
}

}  // namespace
}  // namespace zr
