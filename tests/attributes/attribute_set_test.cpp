#include "attributes/attribute_set.h"

#include <gtest/gtest.h>

#include <tuple>

#include "attributes/attributes_impl.h"
#include "attributes/faces.h"
#include "attributes/node_impl.h"

namespace zr {
namespace {

TEST(AttributeSet, MultipleSetReadsALineOfPaths) {
    const XMLNodePtr p = NodeWith("a='1'");
    EXPECT_EQ(p->AttributesMultipleSet(nullptr, eZrUT_ClearDest), E_INVALIDARG);
    EXPECT_EQ(p->AttributesMultipleSet(u"bare names", eZrUT_Update), S_OK);
    EXPECT_EQ(p->AttributesMultipleSet(u"x::y=1", eZrUT_Update), S_FALSE);
    EXPECT_EQ(XmlOf(*p), "<node a='1'>\r\n\t<x y='1'/>\r\n</node>");
}

constexpr std::tuple<const char*, eZrUpdateType, const char*> arrSetCases[] = {
    {"add_new_keeps", eZrUT_AddNew, " a='1' c='3' b='8'"},
    {"update_overwrites", eZrUT_Update, " a='7' c='3' b='8'"},
    {"clear_dest_removes_first", eZrUT_ClearDest, " a='7' b='8'"},
};

TEST(AttributeSet, SetTakesOverByMode) {
    for (const auto& [szName, eUpdate, szAfter] : arrSetCases) {
        SCOPED_TRACE(szName);
        const XMLNodePtr pSource = NodeWith("a='7' b='8'"), pTarget = NodeWith("a='1' c='3'");
        EXPECT_EQ(pTarget->AttributesSet(pSource.Get(), eUpdate), S_OK);
        EXPECT_EQ(LineOf(*pTarget), szAfter);
    }
    const XMLNodePtr p = NodeWith("a='1' b='2'");
    EXPECT_EQ(p->AttributesSet(p.Get(), eZrUT_ClearDest), S_OK);
    EXPECT_EQ(LineOf(*p), " a='1' b='2'");
    EXPECT_EQ(p->AttributesSet(nullptr, eZrUT_Update), E_INVALIDARG);
}

TEST(AttributeSet, IndexEndsAtTheCount) {
    const XMLNodePtr p = NodeWith("first='1' second='2'");
    int32_t nCount = 0;
    EXPECT_EQ(p->AttributesGetCount(&nCount), S_OK);
    EXPECT_EQ(nCount, 2);
    Text name, value;
    EXPECT_EQ(p->AttributesGetByIndex(1, name.Out(), value.Out()), S_OK);
    EXPECT_EQ(Shown(name) + Shown(value), "second2");
    EXPECT_EQ(p->AttributesGetByIndex(1, nullptr, nullptr), S_OK);
    for (const int32_t nIndex : {2, -1, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(p->AttributesGetByIndex(nIndex, name.Out(), value.Out()), ZR_E_BAD_INDEX) << nIndex;
        EXPECT_FALSE(name);
    }
    EXPECT_EQ(p->AttributesRemoveAll(), S_OK);
    EXPECT_EQ(p->AttributesGetCount(&nCount), S_FALSE);
    EXPECT_EQ(nCount, 0);
}

TEST(AttributeSet, ValuesSetInOneKindReadAsAnother) {
    const XMLNodePtr p = NodeWith("word='true' number='0x1F' nothing='abc' percent='50%'");
    EXPECT_EQ(p->AttributesBoolSet(u"sub::bool", 7), S_OK);
    EXPECT_EQ(p->AttributesIntSet(u"int", -3), S_OK);
    EXPECT_EQ(p->AttributesDoubleSet(u"double", 0.5), S_OK);
    EXPECT_EQ(p->AttributesStringSet(u"text", u"12"), S_OK);

    const std::tuple<const char16_t*, const char*, int32_t, int32_t, double> arrCases[] = {
        {u"word", "true", 1, 1, 1.0},    {u"number", "0x1F", 31, 1, 0.0},   {u"nothing", "abc", 0, 0, 0.0},
        {u"percent", "50%", 50, 1, 0.5}, {u"SUB::Bool", "true", 1, 1, 1.0}, {u"int", "-3", -3, 0, -3.0},
        {u"double", "0.5", 0, 0, 0.5},   {u"text", "12", 12, 1, 12.0},
    };
    for (const auto& [szName, szText, nIntWanted, bBoolWanted, dblWanted] : arrCases) {
        SCOPED_TRACE(szText);
        Text text;
        int32_t nInt = 99, bBool = 99;
        double dbl = 99;
        EXPECT_EQ(p->AttributesStringGet(szName, text.Out()), S_OK);
        EXPECT_EQ(p->AttributesIntGet(szName, &nInt), S_OK);
        EXPECT_EQ(p->AttributesBoolGet(szName, &bBool), S_OK);
        EXPECT_EQ(Shown(text), szText);
        EXPECT_EQ(nInt, nIntWanted);
        EXPECT_EQ(bBool, bBoolWanted);
        EXPECT_EQ(p->AttributesDoubleGet(szName, &dbl), S_OK);
        EXPECT_EQ(dbl, dblWanted);
    }
}

TEST(AttributeSet, WhatIsNotThereReadsAsZero) {
    const XMLNodePtr p = NodeWith("");
    Text text(std::u16string_view(u"old"));
    int32_t n = 99, b = 99;
    double dbl = 99;
    EXPECT_EQ(p->AttributesStringGet(u"x", text.Out()), ZR_E_NOT_FOUND);
    EXPECT_EQ(p->AttributesIntGet(u"x", &n), ZR_E_NOT_FOUND);
    EXPECT_EQ(p->AttributesBoolGet(u"x::y", &b), ZR_E_NOT_FOUND);
    EXPECT_EQ(p->AttributesDoubleGet(nullptr, &dbl), ZR_E_NOT_FOUND);
    EXPECT_FALSE(text);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(b, 0);
    EXPECT_EQ(dbl, 0.0);
    EXPECT_EQ(p->AttributesRemove(u"x"), ZR_E_NOT_FOUND);
    EXPECT_EQ(p->AttributesStringGet(u"x", nullptr), E_POINTER);
    EXPECT_EQ(p->AttributesIntGet(u"x", nullptr), E_POINTER);
    EXPECT_EQ(p->NodeGet(u"x", 0, nullptr), ZR_E_NOT_FOUND) << "reading made a node";
}

TEST(AttributeSet, HaveGivesTheKnownDefault) {
    const XMLNodePtr p = NodeOf("<a set='1'><attributes_info><known default='7'/><bare/></attributes_info></a>");
    const std::tuple<const char16_t*, HRESULT, int32_t, const char*> arrCases[] = {{u"set", S_OK, 1, "1"},
                                                                                   {u"known", S_FALSE, 0, "7"},
                                                                                   {u"bare", S_FALSE, 0, "<null>"},
                                                                                   {u"unknown", S_FALSE, 0, "<null>"},
                                                                                   {u"", S_FALSE, 0, "<null>"}};
    for (const auto& [szName, hr, bHaveWanted, szValue] : arrCases) {
        int32_t bHave = 99;
        Text value(std::u16string_view(u"old"));
        EXPECT_EQ(p->AttributesHave(szName, &bHave, value.Out()), hr) << szValue;
        EXPECT_EQ(bHave, bHaveWanted);
        EXPECT_EQ(Shown(value), szValue);
    }
}

// A node type of its own: an id for a name, two hidden children of which the second counts, a body kept as XML.
class OtherNode;
using OtherPtr = ZrPtr<OtherNode>;
constexpr NameKey keyId{u"id"};
constexpr NameKey arrHidden[] = {u"attributes_info", u"more", u"rest"};

class OtherNode final : public XMLNodeImpl<OtherNode, OtherPtr>,
                        public IZrNodeImpl<OtherNode>,
                        public IZrAttributesImpl<OtherNode> {
public:
    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override { return XMLNodeBase::QueryInterface(_iid, _ppv); }
    uint32_t AddRef() override { return XMLNodeBase::AddRef(); }
    uint32_t Release() override { return XMLNodeBase::Release(); }
    std::span<const NameKey> HiddenNames() const override { return arrHidden; }

private:
    friend class XMLNodeImpl<OtherNode, OtherPtr>;
    OtherNode() = default;
};

TEST(AttributeSet, HiddenChildrenButTheFirstLendTheirAttributes) {
    const OtherPtr p = OtherNode::Create(u"node", &keyId);
    ASSERT_EQ(p->Parse(u"<a x='1' id='me'><rest r='4'/><attributes_info no='9'/><more m='2' n='3'/><b/></a>"), S_OK);
    int32_t nCount = 0;
    EXPECT_EQ(p->AttributesGetCount(&nCount), S_OK);
    EXPECT_EQ(nCount, 4);
    std::string strAll;
    for (int32_t i = 0; i < nCount; ++i) {
        Text name, value;
        EXPECT_EQ(p->AttributesGetByIndex(i, name.Out(), value.Out()), S_OK);
        strAll += name.Utf8() + "=" + value.Utf8() + " ";
    }
    EXPECT_EQ(strAll, "x=1 more::m=2 more::n=3 rest::r=4 ");
    EXPECT_EQ(p->AttributesGetByIndex(4, nullptr, nullptr), ZR_E_BAD_INDEX);
    EXPECT_EQ(LineOf(*p), " x='1'  more::m='2' more::n='3'  rest::r='4'");

    // The names lead back, also into another node.
    const XMLNodePtr pPlain = NodeWith("");
    EXPECT_EQ(pPlain->AttributesSet(p.Get(), eZrUT_Update), S_OK);
    EXPECT_EQ(XmlOf(*pPlain), "<node x='1'>\r\n\t<more m='2' n='3'/>\r\n\t<rest r='4'/>\r\n</node>");
    Text id;
    EXPECT_EQ(p->AttributesStringGet(u"id", id.Out()), S_OK);
    EXPECT_EQ(Shown(id), "me");
}

TEST(AttributeSet, CloneIsANodeOfItsOwn) {
    XMLNodePtr p = NodeOf("<a x='1' y='2'><b z='3'/></a>");
    ZrPtr<IZrAttributes> pClone;
    ASSERT_EQ(p->AttributesClone(pClone.Out()), S_OK);
    p->AttributesStringSet(u"x", u"9");
    p.Reset();
    EXPECT_EQ(XmlOf(*pClone.As<IZrNode>()), "<zr_attributes x='1' y='2'/>");
    EXPECT_EQ(pClone->Release(), 0u) << "somebody else holds the clone";
    (void)pClone.Detach();
}

}  // namespace
}  // namespace zr
