#include <gtest/gtest.h>

#include <tuple>

#include "attributes/mixer_keys.h"
#include "attributes/props_support.h"

namespace zr {
namespace {

using Notes = std::vector<std::string>;

TEST(PropsHooks, EachKeySetsItsOwnThingInMotion) {
    PropsObject object(MixerProfile());
    object.bNoteKeys = true;
    const std::tuple<const char*, const char*, Notes> arrCases[] = {
        {"active_frc", "2", {"frc 2"}},
        {"object::output.min_buffers", "3", {"buffers 3 1"}},  // in step with the sources: at least 1
        {"object::output.max_buffers", "4", {"buffers 3 4"}},
        {"Object::Sync_Mode", "false", {"buffers 3 4"}},
        {"object::output.max_buffers", "0", {"buffers 3 0"}},
        {"object::threads.priority_max", "7", {"priority 7"}},
        {"threads.priority_max", "8", {"threads.priority_max <null>->8"}},  // not the key of that name
        {"object::cut_overlapped", "0", {"object::cut_overlapped true->0"}},
        {"object::zrdelay.time", "5", {"object::zrdelay.time <null>->5"}},  // nobody there to take it
        {"preview.type", "x", {}},
    };
    for (const auto& [szKey, szValue, arrNotes] : arrCases) {
        EXPECT_EQ(object.Set(szKey, szValue), S_OK);
        EXPECT_EQ(object.Notes(), arrNotes) << szKey;
    }
}

TEST(PropsHooks, HostedObjectHasTheLastWord) {
    PropsObject object(MixerProfile());
    EXPECT_EQ(object.Set("hosted", "1"), S_FALSE);
    EXPECT_EQ(object.Notes(), Notes{"hosted 1"});
    EXPECT_EQ(object.Get("hosted"), "S_FALSE <null>") << "the tree got it too";
}

TEST(PropsHooks, DelayLineTakesItsKeysByItsOwnNames) {
    PropsObject object(MixerProfile());
    object.bNoteKeys = true;
    auto* pDelay = new HostedProps("zrdelay.t", S_FALSE);
    object.pDelay = ZrPtr<IZrProps>::Attach(pDelay);
    EXPECT_EQ(object.Set("object::zrdelay.time", "2.5"), S_FALSE) << "the delay line's result";
    EXPECT_EQ(pDelay->arrSet, Notes{"zrdelay.time=2.5"});
    EXPECT_EQ(object.Notes(), Notes{}) << "nothing after a claim";
    EXPECT_EQ(object.Props().Object()->AttributeOr(u"zrdelay.time", 0.0), 2.5) << "the tree keeps it as well";

    EXPECT_EQ(object.Set("object::zrdelay.quality", "1"), S_OK) << "in the list but not claimed";
    EXPECT_EQ(object.Set("object::zrdelay.enabled", "1"), S_OK) << "not in the list";
    EXPECT_EQ(object.Set("zrdelay.time", "9"), S_OK) << "another key";
    EXPECT_EQ(pDelay->arrSet.size(), 1u);

    pDelay->mapValues["zrdelay.time"] = "3";
    EXPECT_EQ(object.Get("object::zrdelay.time"), "3");
    EXPECT_EQ(object.Get("object::zrdelay.quality"), "1");
    EXPECT_EQ(object.Get("object::zrdelay.available"), "true");
}

TEST(PropsHooks, PreviewTakesItsKeysAndAnswersForThem) {
    PropsObject object(MixerProfile());
    auto* pPreview = new HostedProps({}, S_FALSE);
    object.pPreview = ZrPtr<IZrProps>::Attach(pPreview);
    EXPECT_EQ(object.Set("Preview.Crop", "1%"), S_FALSE) << "the preview's result";
    EXPECT_EQ(object.Set("preview.other", "1"), S_OK);
    EXPECT_EQ(object.Set("object::preview.type", "1"), S_OK) << "not where the preview's keys stand";
    EXPECT_EQ(pPreview->arrSet, Notes{"Preview.Crop=1%"});
    pPreview->mapValues["preview.zrserver_pid"] = "77";
    EXPECT_EQ(object.Get("preview.zrserver_pid"), "77");
    EXPECT_EQ(object.Get("preview.crop"), "1%") << "what the preview does not know comes from the tree";
}

TEST(PropsHooks, BulkSetCopiesThePreviewKeysInTheirOrder) {
    PropsObject object(MixerProfile());
    auto* pPreview = new HostedProps();
    object.pPreview = ZrPtr<IZrProps>::Attach(pPreview);
    EXPECT_EQ(object.Set("", "deinterlace=0 active_frc=1 preview.type=none other=2 maintain_ar=1"), S_OK);
    EXPECT_EQ(pPreview->arrSet, (Notes{"preview.type=none", "maintain_ar=1", "deinterlace=0"}));
    EXPECT_EQ(object.Notes(), Notes{"frc 1"});
    EXPECT_EQ(object.Set("", "< >"), E_INVALIDARG);
    EXPECT_EQ(object.Notes(), Notes{});
}

}  // namespace
}  // namespace zr
