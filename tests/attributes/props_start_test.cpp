#include <gtest/gtest.h>

#include <tuple>

#include "attributes/file_keys.h"
#include "attributes/mixer_keys.h"
#include "attributes/props_support.h"
#include "platform/user_store.h"
#include "support/temp_folder.h"

namespace zr {
namespace {

namespace fs = std::filesystem;

// A folder of its own for the user's settings.
class PropsStart : public testing::Test {
protected:
    fs::path StoreFile(const char* _szObject) const { return folder / "orvanta/halvane" / _szObject; }
    void Write(const char* _szObject, std::string_view _text) const { WriteFile(StoreFile(_szObject), _text); }
    std::string Read(const char* _szObject) const { return BytesOfFile(StoreFile(_szObject)); }

    const OwnConfig config;
    const fs::path& folder = config.path;
};

TEST_F(PropsStart, KeysStandWhereTheyBelong) {
    PropsObject object(MixerProfile());
    ASSERT_EQ(object.Start(), S_OK);
    const std::tuple<const char*, const char*> arrCases[] = {
        {"object::sync_mode", "true"},
        {"file::in_preroll", "1.0"},
        {"object::in_preroll", "S_FALSE <null>"},
        {"file::decode", "S_FALSE <null>"},
        {"loop", "true"},
        {"object::loop", "S_FALSE <null>"},
        {"object::file.loop", "true"},
        {"pause_changes", "1"},
        {"preview.audio_channels", ""},
        {"object::preview.pull", "S_FALSE <null>"},
        {"object::default_name", "ZrMixer"},
        {"audio", ""},
    };
    for (const auto& [szKey, szValue] : arrCases) EXPECT_EQ(object.Get(szKey), szValue) << szKey;
}

TEST_F(PropsStart, HostIsCalledInOrder) {
    const fs::path scene = folder / "scene.xml";
    std::ofstream(scene) << "<zr_scene/>";
    Write("zrmixer.conf",
          "default_name = 'Studio 1'\nactive_frc = 2\ndefault_tracks = 3\nchannels_per_track = 2\n"
          "last_scene.load = 1\nlast_scene.path = '" +
              scene.string() + "'\noutput.min_buffers = 4\nthreads.priority_max = '9'\n");
    PropsObject object(MixerProfile());
    ASSERT_EQ(object.Start(), S_OK);
    EXPECT_EQ(object.Notes(),
              (std::vector<std::string>{"name Studio 1 Studio 1.xml", "frc 2", "preview", "audio 3 2",
                                        "scene " + scene.string() + " as scenes", "buffers 4 1", "priority 9"}));
    const auto& arrPreview = object.pPreviewProps->arrSet;
    EXPECT_EQ(arrPreview, (std::vector<std::string>{"preview.type=direct3d", "preview.show_cc=true", "deinterlace=true",
                                                    "preview.drop_frames=false", "preview.pull=false",
                                                    "preview.crop=0.0%,0.0%,0.0%,0.0%", "preview.audio_channels="}));
}

TEST_F(PropsStart, SceneIsLoadedOnlyWhenItIsWantedAndThere) {
    const fs::path scene = folder / "scene.xml";
    std::ofstream(scene) << "<zr_scene/>";
    const std::string strThere = "last_scene.path = '" + scene.string() + "'\n";
    const std::tuple<const char*, std::string, bool> arrCases[] = {
        {"not_wanted", strThere + "last_scene.load = 0\n", false},
        {"wanted", strThere + "last_scene.load = 2\n", true},
        {"no_path", "last_scene.path = \"\"\nlast_scene.load = 1\n", false},
        {"no_file", "last_scene.path = \"/none/scene.xml\"\nlast_scene.load = 1\n", false}};
    for (const auto& [szName, strStore, bLoaded] : arrCases) {
        Write("zrmixer.conf", strStore);
        PropsObject object(MixerProfile());
        ASSERT_EQ(object.Start(), S_OK);
        const auto arrNotes = object.Notes();
        EXPECT_EQ(std::count(arrNotes.begin(), arrNotes.end(), "empty scene"), bLoaded ? 0 : 1) << szName;
    }
}

TEST_F(PropsStart, UserValuesGoOverTheDefaults) {
    UserKey key;
    key.mapValues[u"deinterlace"] = int32_t{1};
    key.mapValues[u"pause_changes"] = int32_t{7};
    key.mapValues[u"big"] = int64_t{-5000000000};
    key.mapValues[u"SYNC_MODE"] = std::u16string(u"no");
    key.mapValues[u"sub::value"] = std::u16string(u"deep");
    key.Make(u"Inner\\Two").mapValues[u"n"] = int32_t{-3};
    ASSERT_EQ(UserStore::Save(MixerProfile().szStoreKey, std::move(key)), S_OK);

    PropsObject object(MixerProfile());
    ASSERT_EQ(object.Start(), S_OK);
    const std::tuple<const char*, const char*> arrCases[] = {{"deinterlace", "1"},
                                                             {"pause_changes", "1"},
                                                             {"object::big", "-5000000000"},
                                                             {"object::sync_mode", "no"},
                                                             {"object::sub::value", "deep"},
                                                             {"object::inner::two::n", "-3"},
                                                             {"object::cut_overlapped", "true"}};
    for (const auto& [szKey, szValue] : arrCases) EXPECT_EQ(object.Get(szKey), szValue) << szKey;
    EXPECT_TRUE(object.Props().Root()->AttributeOr(u"deinterlace", false));
    EXPECT_FALSE(object.Props().IsSynchronous());

    // What was there keeps its form; what was not is there now.
    ASSERT_EQ(UserStore::Load(MixerProfile().szStoreKey, &key), S_OK);
    EXPECT_EQ(key.mapValues.at(u"deinterlace"), UserValue(int32_t{1}));
    EXPECT_EQ(key.mapValues.at(u"pause_changes"), UserValue(int32_t{7}));
    EXPECT_EQ(key.mapValues.at(u"big"), UserValue(int64_t{-5000000000}));
    EXPECT_EQ(key.mapValues.at(u"sync_mode"), UserValue(std::u16string(u"no")));
    EXPECT_EQ(key.mapValues.at(u"in_preroll"), UserValue(std::u16string(u"1.0")));
    EXPECT_EQ(key.mapValues.at(u"default_tracks"), UserValue(int32_t{1}));
    EXPECT_EQ(key.mapValues.at(u"loop"), UserValue(std::u16string(u"true")));
    ASSERT_NE(key.Find(u"Inner\\Two"), nullptr);
    EXPECT_EQ(key.mapValues.size(), 59u);  // those of the mixer, and two that were there
}

TEST_F(PropsStart, BadStoreLeavesTheDefaults) {
    PropsObject fresh(MixerProfile());
    ASSERT_EQ(fresh.Start(), S_OK);
    const std::string strTree = fresh.Get("");

    const std::string strHuge(kMaxUserKeyText + 1, 'x');
    Write("zrmixer.conf", strHuge);
    PropsObject huge(MixerProfile());
    EXPECT_EQ(huge.Start(), S_OK);
    EXPECT_EQ(huge.Get(""), strTree);
    EXPECT_EQ(Read("zrmixer.conf").size(), strHuge.size()) << "a file that was not understood was overwritten";

    fs::remove_all(folder / "orvanta");
    std::ofstream(folder / "orvanta") << "a file where the folder should be";
    PropsObject blocked(MixerProfile());
    EXPECT_EQ(blocked.Start(), S_OK);
    EXPECT_EQ(blocked.Get(""), strTree);
}

TEST_F(PropsStart, FileSourceHasItsOwnKeysAndStore) {
    Write("zrfile.conf", "loop = 1\nseek_timecode = \"true\"\n[Decode\\MKV]\nDecode = \"dshow\"\n");
    Write("zrmixer.conf", "img.tone = 1\n");
    PropsObject object(FileProfile());
    ASSERT_EQ(object.Start(), S_OK);
    const std::tuple<const char*, const char*> arrCases[] = {
        {"file::loop", "1"},
        {"file::seek_timecode", "true"},
        {"file::img.default_duration", "3600.0"},
        {"file::out_point.mode", "wait"},
        {"file::auto_start", "false"},
        {"file::img.tone", ""},
        {"file::interlace", "S_FALSE <null>"},
        {"object::internal.convert_frame", "false"},
        {"object::decode::mkv::decode", "dshow"},
        {"active_frc", "1"},
        {"pull_mode.wait_till_get", "200"},
        {"pause_changes", "S_FALSE <null>"},
    };
    for (const auto& [szKey, szValue] : arrCases) EXPECT_EQ(object.Get(szKey), szValue) << szKey;
    EXPECT_EQ(object.Notes().front(), "name ZrFile ZrFile.xml");
}

TEST_F(PropsStart, ConfigurationFileKeepsAnExtension) {
    const std::tuple<const char*, const char*> arrCases[] = {{"show.cfg", "name show.cfg show.cfg"},
                                                             {"v1.2/show", "name v1.2/show v1.2/show.xml"},
                                                             {"v1.2\\show", "name v1.2\\show v1.2\\show.xml"},
                                                             {"", "name ZrMixer ZrMixer.xml"}};
    for (const auto& [szName, szNote] : arrCases) {
        Write("zrmixer.conf", std::string("default_name = '") + szName + "'\n");
        PropsObject object(MixerProfile());
        ASSERT_EQ(object.Start(), S_OK);
        EXPECT_EQ(object.Notes().front(), szNote);
    }
}

}  // namespace
}  // namespace zr
