#include "attributes/schema.h"

#include <gtest/gtest.h>

#include <tuple>

#include "attributes/faces.h"

namespace zr {
namespace {

constexpr char szScene[] = R"(
<scene>
  <attributes_info>
    <group show_nodes="on_show, add">Group help<show type="bool" default="true" min="0">Show item</show>
      <alpha type="double" default="1.0" min="0" max="1" dynamic="true"/></group>
    <video inherit="group">Video help<pos type="option" default="center" values="center, left,  top-left">Place</pos>
      <mask select_from="shapes">Mask</mask>
      <mode><slow speed="1">Slow help</slow><fast/></mode>
      <alpha default="0.5"/>
      <look select_from="looks"/></video>
    <loop inherit="loop2"/><loop2 inherit="loop"><k default="L"/></loop2>
    <shapes values="none,circle"/>
    <looks><dark tint="9">Dark help</dark><light/></looks>
  </attributes_info>
  <layer>
    <video k="1" mode="slow" id="v"/><video.two/><loop/><unknown/>
    <video><attributes_info><own default="O">Own<mine/></own><pos default="here"/></attributes_info>
      <sub/><video><attributes_info inherit="false"><x/></attributes_info></video></video>
  </layer>
</scene>)";

XMLNodePtr At(const XMLNodePtr& _pTop, size_t _nChild) { return _pTop->Find(u"layer")->ElementAt(_nChild); }

TEST(Schema, InfoComesFromTheNearestDescription) {
    const XMLNodePtr pTop = NodeOf(szScene);
    const XMLNodePtr pOwner = At(pTop, 4);
    const std::tuple<const char*, XMLNodePtr, const char16_t*, eZrInfoType, const char*> arrCases[] = {
        {"kind", At(pTop, 0), u"pos", eZrIT_Default, "center"},
        {"help", At(pTop, 0), u"POS", eZrIT_Help, "Place"},
        {"no_help", At(pTop, 0), u"alpha", eZrIT_Help, "<null>"},
        {"inherited", At(pTop, 0), u"show", eZrIT_Min, "0"},
        {"inherited_help", At(pTop, 0), u"show", eZrIT_Help, "Show item"},
        {"nearer_kind_hides_the_whole_entry", At(pTop, 0), u"alpha", eZrIT_Max, "<null>"},
        {"nearer_kind", At(pTop, 0), u"alpha", eZrIT_Default, "0.5"},
        {"tag_up_to_the_dot", At(pTop, 1), u"pos", eZrIT_Type, "option"},
        {"circle_of_kinds", At(pTop, 2), u"k", eZrIT_Default, "L"},
        {"circle_without_the_name", At(pTop, 2), u"none", eZrIT_Default, "<null>"},
        {"unknown_tag", At(pTop, 3), u"show", eZrIT_Type, "<null>"},
        {"values", At(pTop, 0), u"pos", eZrIT_Values, "center, left,  top-left"},
        {"values_of_another", At(pTop, 0), u"mask", eZrIT_Values, "none,circle"},
        {"values_of_children", At(pTop, 0), u"mode", eZrIT_Values, "slow|fast|"},
        {"values_of_another_s_children", At(pTop, 0), u"look", eZrIT_Values, "dark|light|"},
        {"help_text_is_no_option", At(pTop, 0), u"show", eZrIT_Values, "<null>"},
        {"own_before_kind", pOwner, u"pos", eZrIT_Default, "here"},
        {"own", pOwner, u"own", eZrIT_Help, "Own"},
        {"kind_behind_own", pOwner, u"pos", eZrIT_Type, "<null>"},
        {"kind_of_others", pOwner, u"alpha", eZrIT_Default, "<null>"},
        {"parent", pOwner->ElementAt(0), u"own", eZrIT_Default, "O"},
        {"parent_kept_away", pOwner->ElementAt(1), u"own", eZrIT_Default, "<null>"},
        {"path_through_the_tree", pTop, u"layer::video::pos", eZrIT_Default, "center"},
    };
    for (const auto& [szName, pNode, szAttribute, eType, szInfo] : arrCases) {
        SCOPED_TRACE(szName);
        Text text;
        const HRESULT hr = pNode->AttributesInfoGet(szAttribute, eType, text.Out());
        EXPECT_EQ(Shown(text), szInfo);
        EXPECT_EQ(hr, text ? S_OK : S_FALSE);
    }
    Text text;
    EXPECT_EQ(pTop->AttributesInfoGet(u"", eZrIT_Help, text.Out()), E_INVALIDARG);
    EXPECT_EQ(pTop->AttributesInfoGet(nullptr, eZrIT_Help, text.Out()), E_INVALIDARG);
    EXPECT_EQ(pTop->AttributesInfoGet(u"x", static_cast<eZrInfoType>(7), text.Out()), E_INVALIDARG);
    EXPECT_EQ(pTop->AttributesInfoGet(u"x", static_cast<eZrInfoType>(-1), text.Out()), E_INVALIDARG);
}

std::string EntriesOf(IZrAttributes& _attributes) {
    int32_t nCount = 99;
    std::string strAll;
    const HRESULT hr = _attributes.AttributesInfoGetCount(&nCount);
    EXPECT_EQ(hr, nCount > 0 ? S_OK : S_FALSE);
    for (int32_t i = 0; i < nCount; ++i) {
        Text name;
        const HRESULT hrName = _attributes.AttributesInfoGetByIndex(i, name.Out());
        strAll += hrName == ZR_E_NOT_FOUND ? "(text)" : name.Utf8();
        strAll += ' ';
    }
    Text name;
    EXPECT_EQ(_attributes.AttributesInfoGetByIndex(nCount, name.Out()), ZR_E_BAD_INDEX);
    EXPECT_EQ(_attributes.AttributesInfoGetByIndex(-1, name.Out()), E_INVALIDARG);
    return strAll;
}

TEST(Schema, EntriesAreTheParentsTheOwnOrTheKinds) {
    const XMLNodePtr pTop = NodeOf(szScene);
    const XMLNodePtr pOwner = At(pTop, 4);
    EXPECT_EQ(EntriesOf(*At(pTop, 0)), "pos mask mode alpha look show alpha ");
    EXPECT_EQ(EntriesOf(*At(pTop, 3)), "");
    EXPECT_EQ(EntriesOf(*pOwner), "own pos ");
    EXPECT_EQ(EntriesOf(*pOwner->ElementAt(0)), "own pos ");
    EXPECT_EQ(EntriesOf(*pOwner->ElementAt(1)), "x ");
    EXPECT_EQ(EntriesOf(*NodeOf("<a><attributes_info>t<x/></attributes_info><b><attributes_info><y/></attributes_info>"
                                "</b></a>")
                             ->Find(u"b")),
              "(text) x y ");
}

TEST(Schema, ValueInfoTellsOfOneOption) {
    const XMLNodePtr pTop = NodeOf(szScene);
    const XMLNodePtr p = At(pTop, 0);
    const auto Info = [&](const char16_t* _szName, const char16_t* _szValue, const char16_t* _szType) {
        Text text;
        const HRESULT hr = p->AttributesValuesInfoGet(_szName, _szValue, _szType, text.Out());
        EXPECT_EQ(hr, text ? S_OK : S_FALSE);
        return Shown(text);
    };
    EXPECT_EQ(Info(u"mode", u"slow", nullptr), "Slow help");
    EXPECT_EQ(Info(u"mode", u"slow", u"speed"), "1");
    EXPECT_EQ(Info(u"mode", u"fast", u""), "<null>");
    EXPECT_EQ(Info(u"look", u"DARK", u"tint"), "9");
    EXPECT_EQ(Info(u"look", u"none", u"tint"), "<null>");
    EXPECT_EQ(Info(u"none", u"dark", u"tint"), "<null>");
    EXPECT_EQ(p->AttributesValuesInfoGet(u"mode", u"", u"", Text().Out()), E_INVALIDARG);
    EXPECT_EQ(p->AttributesValuesInfoGet(u"", u"slow", u"", Text().Out()), E_INVALIDARG);
    EXPECT_EQ(Schema(*p).ValueInfo(u"mode", u"", u"speed"), u"1") << "the value that is set";
}

TEST(Schema, NodeInfoFollowsTheChain) {
    const XMLNodePtr pTop = NodeOf(szScene);
    const auto Info = [](IZrNode& _node, const char16_t* _szType) {
        Text text;
        const HRESULT hr = _node.NodeInfoGet(_szType, text.Out());
        EXPECT_EQ(hr, text ? S_OK : S_FALSE);
        return Shown(text);
    };
    EXPECT_EQ(Info(*At(pTop, 0), u""), "Video help");
    EXPECT_EQ(Info(*At(pTop, 0), nullptr), "Video help");
    EXPECT_EQ(Info(*At(pTop, 0), u"show_nodes"), "on_show, add");
    EXPECT_EQ(Info(*At(pTop, 2), u"show_nodes"), "<null>");
    EXPECT_EQ(Info(*At(pTop, 3), u""), "<null>");
    EXPECT_EQ(At(pTop, 0)->NodeInfoGet(u"", nullptr), E_POINTER);
}

}  // namespace
}  // namespace zr
