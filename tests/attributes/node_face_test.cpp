#include "attributes/node_face.h"

#include <gtest/gtest.h>

#include <tuple>

#include "attributes/faces.h"
#include "attributes/node_impl.h"

namespace zr {
namespace {

ZrPtr<IZrNode> Child(IZrNode& _node, const char16_t* _szPath) {
    ZrPtr<IZrNode> p;
    EXPECT_EQ(_node.NodeGet(_szPath, 0, p.Out()), S_OK);
    return p;
}

std::string PathOf(IZrNode& _node, IZrNode* _pRoot) {
    static char16_t szUntouched[] = u"untouched";
    BSTR bsPath = szUntouched;
    EXPECT_EQ(_node.NodePathGet(&bsPath, _pRoot), S_OK);
    if (bsPath == szUntouched) return "untouched";
    const std::string strPath = ToUtf8(bsPath);
    SysFreeString(bsPath);
    return strPath;
}

TEST(NodeFace, PathStopsBelowTheRootThatIsGiven) {
    const XMLNodePtr pTop = NodeOf("<top><a><b><c/></b></a><other/></top>");
    const auto pA = Child(*pTop, u"a"), pC = Child(*pTop, u"A::b::C"), pOther = Child(*pTop, u"other");
    EXPECT_EQ(PathOf(*pC, nullptr), "a::b::c");
    EXPECT_EQ(PathOf(*pC, pTop.Get()), "a::b::c");
    EXPECT_EQ(PathOf(*pC, pA.Get()), "b::c");
    EXPECT_EQ(PathOf(*pC, pOther.Get()), "a::b::c");
    EXPECT_EQ(PathOf(*pC, pC.Get()), "untouched");
    EXPECT_EQ(PathOf(*pTop, nullptr), "untouched");
    EXPECT_EQ(pTop->NodePathGet(nullptr, nullptr), S_OK);
}

TEST(NodeFace, AddMakesANewLastNodeEveryTime) {
    const XMLNodePtr p = NodeOf("<top><a/></top>");
    ZrPtr<IZrNode> pNew;
    EXPECT_EQ(p->NodeAdd(u"a::b", u"one", pNew.Out()), S_OK);
    EXPECT_EQ(p->NodeAdd(u"a::b", nullptr, nullptr), S_OK);
    EXPECT_EQ(XmlOf(*p), "<top>\r\n\t<a>\r\n\t\t<b>one</b>\r\n\t\t<b/>\r\n\t</a>\r\n</top>");
    EXPECT_EQ(PathOf(*pNew, nullptr), "a::b");
    EXPECT_EQ(p->NodeAdd(u"", u"x", nullptr), E_INVALIDARG);
    EXPECT_EQ(p->NodeAdd(nullptr, u"x", nullptr), E_INVALIDARG);
    EXPECT_EQ(p->NodeAdd(u"::", u"x", nullptr), E_FAIL);
}

TEST(NodeFace, GetMakesOnlyWhatIsMissing) {
    const XMLNodePtr p = NodeOf("<top><a/></top>");
    ZrPtr<IZrNode> pNode;
    EXPECT_EQ(p->NodeGet(u"a::x", 0, pNode.Out()), ZR_E_NOT_FOUND);
    EXPECT_FALSE(pNode);
    EXPECT_EQ(p->NodeGet(u"a::x", 1, pNode.Out()), S_OK);
    EXPECT_EQ(p->NodeGet(u"A::X", 1, nullptr), S_OK);
    EXPECT_EQ(XmlOf(*p), "<top>\r\n\t<a>\r\n\t\t<x/>\r\n\t</a>\r\n</top>");
    EXPECT_EQ(p->NodeGet(u"", 1, pNode.Out()), E_INVALIDARG);
}

TEST(NodeFace, ChildrenAreNeitherTextsNorHidden) {
    const XMLNodePtr p = NodeOf("<top>text<a/><attributes_info/>more<b>B</b></top>");
    int32_t nCount = 99;
    EXPECT_EQ(p->NodeGetCount(&nCount), S_OK);
    EXPECT_EQ(nCount, 2);
    EXPECT_EQ(p->NodeGetCount(nullptr), E_POINTER);
    Text name, value;
    ZrPtr<IZrNode> pB;
    EXPECT_EQ(p->NodeGetByIndex(1, name.Out(), pB.Out()), S_OK);
    EXPECT_EQ(Shown(name), "b");
    EXPECT_EQ(pB->NodeValueGet(value.Out()), S_OK);
    EXPECT_EQ(Shown(value), "B");
    EXPECT_EQ(p->NodeGetByIndex(0, nullptr, nullptr), S_OK);
    EXPECT_EQ(p->NodeGetByIndex(2, name.Out(), pB.Out()), ZR_E_BAD_INDEX);
    EXPECT_EQ(p->NodeGetByIndex(-1, name.Out(), pB.Out()), ZR_E_BAD_INDEX);
    EXPECT_FALSE(pB);
}

TEST(NodeFace, RemoveTakesOneNodeButNeverThisOne) {
    const XMLNodePtr p = NodeOf("<top k='1'><a/><a/><b/></top>");
    EXPECT_EQ(p->NodeRemove(u"a"), S_OK);
    EXPECT_EQ(p->NodeRemove(u"none"), S_FALSE);
    EXPECT_EQ(p->NodeRemove(u"::"), S_FALSE);
    EXPECT_EQ(p->NodeRemove(nullptr), E_INVALIDARG);
    EXPECT_EQ(XmlOf(*p), "<top k='1'>\r\n\t<a/>\r\n\t<b/>\r\n</top>");
    EXPECT_EQ(p->NodeRemoveAll(0), S_OK);
    EXPECT_EQ(XmlOf(*p), "<top k='1'/>");
    EXPECT_EQ(p->NodeRemoveAll(1), S_OK);
    EXPECT_EQ(XmlOf(*p), "<top/>");
}

TEST(NodeFace, DetachedNodeLivesOnAsATopWithoutItsObjects) {
    XMLNodePtr p = NodeOf("<top><a k='1'/></top>");
    const XMLNodePtr pA = p->Find(u"a");
    pA->SetObject(NameKey(u"held"), ObjectVal<int>::Make(1));
    ZrPtr<IZrNode> pParent;
    EXPECT_EQ(pA->NodeParentGet(pParent.Out()), S_OK);
    EXPECT_EQ(pParent.As<IUnknown>(), p.As<IUnknown>());
    EXPECT_EQ(pA->NodeDetach(), S_OK);
    EXPECT_EQ(pA->NodeDetach(), S_FALSE);
    EXPECT_FALSE(pA->Object(NameKey(u"held")));
    EXPECT_EQ(XmlOf(*p), "<top/>");
    pParent.Reset();
    p.Reset();
    EXPECT_EQ(pA->NodeParentGet(pParent.Out()), S_FALSE);
    EXPECT_EQ(XmlOf(*pA), "<a k='1'/>");
}

TEST(NodeFace, ParseKeepsTheNameUnlessToldOtherwise) {
    const XMLNodePtr p = NodeOf("<top><old/></top>");
    EXPECT_EQ(p->NodeParse(u"<New K='1'>text</New>", 0), S_OK);
    EXPECT_EQ(XmlOf(*p), "<top K='1'>text</top>");
    EXPECT_EQ(p->NodeParse(u"<New/>", 1), S_OK);
    EXPECT_EQ(XmlOf(*p), "<new/>");
    EXPECT_EQ(p->NodeParse(u"no tag", 0), E_INVALIDARG);
    EXPECT_EQ(p->NodeParse(nullptr, 0), E_INVALIDARG);
}

TEST(NodeFace, NameAndTextCanBeSet) {
    const XMLNodePtr p = NodeOf("<top><a>x</a></top>");
    const auto pA = Child(*p, u"a");
    EXPECT_EQ(pA->NodeNameSet(u"b"), S_OK);
    EXPECT_EQ(pA->NodeNameSet(u""), E_INVALIDARG);
    EXPECT_EQ(pA->NodeValueSet(u"y < z"), S_OK);
    EXPECT_EQ(Child(*p, u"b"), pA);
    EXPECT_EQ(XmlOf(*p), "<top>\r\n\t<b>y &lt; z</b>\r\n</top>");
    EXPECT_EQ(pA->NodeSet(p.Get(), eZrUT_Update), E_NOTIMPL);
    EXPECT_EQ(pA->NodeSet(nullptr, eZrUT_ClearDest), E_NOTIMPL);
}

TEST(NodeFace, CloneIsDeepAndCounted) {
    XMLNodePtr p = NodeOf("<top k='1'><a><b/></a>text</top>");
    const std::string strXml = XmlOf(*p);
    ZrPtr<IZrNode> pClone;
    ASSERT_EQ(Child(*p, u"a")->NodeClone(pClone.Out()), S_OK);
    EXPECT_EQ(PathOf(*pClone, nullptr), "untouched");
    ASSERT_EQ(p->NodeClone(pClone.Out()), S_OK);
    p->NodeRemoveAll(1);
    p.Reset();
    EXPECT_EQ(XmlOf(*pClone), strXml);
    const auto pB = Child(*pClone, u"a::b");
    EXPECT_EQ(pClone->AddRef(), 2u);
    EXPECT_EQ(pClone->Release(), 1u);
}

// A node whose body goes in and out as XML.
class RawNode;
using RawPtr = ZrPtr<RawNode>;
constexpr NameKey arrRaw[] = {u"text"};

class RawNode final : public XMLNodeImpl<RawNode, RawPtr>, public IZrNodeImpl<RawNode> {
public:
    HRESULT QueryInterface(const GUID& _iid, void** _ppv) override { return XMLNodeBase::QueryInterface(_iid, _ppv); }
    uint32_t AddRef() override { return XMLNodeBase::AddRef(); }
    uint32_t Release() override { return XMLNodeBase::Release(); }
    std::span<const NameKey> RawXmlNames() const override { return arrRaw; }

private:
    friend class XMLNodeImpl<RawNode, RawPtr>;
    RawNode() = default;
};

TEST(NodeFace, RawBodyGoesInAndOutAsXml) {
    const RawPtr p = RawNode::Create(u"text");
    p->SetAttribute(u"k", u"a > b");
    Text value;
    EXPECT_EQ(p->NodeValueGet(value.Out()), S_OK);
    EXPECT_EQ(Shown(value), "");
    const std::tuple<const char*, const char*> arrCases[] = {
        {"plain", "plain"},
        {"one <b k='1'>two</b> three", "one <b k='1'>two</b> three"},
        {"<b/><i>x</i>", "<b/><i>x</i>"},
        {"", ""}};
    for (const auto& [szIn, szOut] : arrCases) {
        EXPECT_EQ(p->NodeValueSet(Wide(szIn).c_str()), S_OK);
        EXPECT_EQ(p->NodeValueGet(value.Out()), S_OK);
        EXPECT_EQ(Shown(value), szOut);
        int32_t nCount = 99;
        EXPECT_EQ(p->NodeGetCount(&nCount), S_OK);
        EXPECT_EQ(nCount, 0);
        EXPECT_EQ(p->NodeGetByIndex(0, nullptr, nullptr), ZR_E_BAD_INDEX);
    }
    EXPECT_TRUE(p->HasAttribute(u"k"));
}

}  // namespace
}  // namespace zr
