// The text form of trees: what the reader makes of any text, and what the writer makes of a tree.

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <tuple>

#include "attributes/attribute_line.h"
#include "attributes/faces.h"
#include "support/stress.h"

namespace zr {
namespace {

// A tree in short: name[attribute=value,...](children), texts in quotes.
std::string Outline(const XMLNodeBase& _node) {
    if (_node.IsText()) return '"' + ToUtf8(_node.Text()) + '"';
    std::string str = ToUtf8(_node.Name());
    std::u16string name, text;
    for (size_t i = 0; i < _node.AttributeCount(); ++i) {
        _node.AttributeAt(i, &name, &text);
        str += (i ? "," : "[") + ToUtf8(name) + "=" + ToUtf8(text);
    }
    if (_node.AttributeCount()) str += "]";
    if (_node.ChildCount() == 0) return str;
    str += "(";
    for (size_t i = 0; i < _node.ChildCount(); ++i) str += (i ? " " : "") + Outline(*_node.ChildNodeAt(i));
    return str + ")";
}

const std::tuple<const char*, const char*> arrReads[] = {
    // Tags
    {"<a/>", "a"},
    {"<a>", "a"},
    {"<A b='1'><C/></A>", "a[b=1](c)"},
    {"<Abc Id='1'/>", "abc[Id=1]"},
    {"<?xml version='>' ?><a/>", "a"},
    {"<!-- <b> --><a/>", "a"},
    {"text before <a/>", "a"},
    {"</b></c><a/>", "a"},
    {"< a x=1 />", "a[x=1]"},
    {"<abc", "abc"},
    {"<abc x='1'", "abc[x=1]"},
    {"<abc x=12", "abc[x=1]"},  // a cut tag ends with its last character
    {"<a / >", "a"},
    {"<a x='1' / >", "a[x=1]"},
    {"<a b='x>y'/>", "a[b=x>y]"},
    {"<a b='1' 'c><d/></a>", "a[b=1]"},  // the lone quote hides every ">" behind it
    {"<a b=c=d e=\"f'g\"/>", "a[b=c=d,e=f'g]"},
    {"<a b='&lt;'/>", "a[b=&lt;]"},  // values are not decoded
    {"<a b='1' b='2' c/>", "a[b=2]"},
    {"<a=b/>", "a[=b]"},
    {"<a-->text</a-->", "a--(\"text\")"},  // no comment: the first ">" ends it
    // Structure
    {"<a><b></a>", "a(b)"},
    {"<a><b></a></b></a>", "a(b)"},
    {"<a><b>x</b>y</a>z", "a(b(\"x\") \"y\")"},
    {"<a><b/><b/></a>", "a(b b)"},
    {"<a><br>text</a>", "a(br \"text\")"},
    {"<a>x<br/>y</br>z</a>", "a(\"x\" br \"y\" br \"z\")"},
    {"<a><br x='1'/></a>", "a(br)"},
    {"<a></A></a>", "a"},
    // Texts
    {"<x>  </x>", "x"},
    {"<x>\n a  b \n</x>", "x(\" a  b \")"},  // blanks stay, line breaks go
    {"<x>\r\n\ta\tb\n</x>", "x(\"a b\")"},
    {"<x>&nbsp;</x>", "x(\" \")"},
    {"<x>a<!-- c -->b</x>", "x(\"ab\")"},
    {"<x>a<!-- c", "x(\"a<!-- c\")"},
    {"<x>&lt;&gt;&amp;&apos;&quot;</x>", "x(\"<>&'\"\")"},
    {"<x>&copy;&reg;</x>", "x(\"\u00a9\u00ae\")"},
    {"<x>&lxyz</x>", "x(\"<z\")"},  // the first letters decide, the whole name is skipped
    {"<x>&foo;</x>", "x(\"foo;\")"},
    {"<x>&#65;&#x42;&#0103;</x>", "x(\"ABC\")"},  // a leading 0 is octal
    {"<x>&#65!b</x>", "x(\"Ab\")"},
    {"<x>&</x>", "x"},
    {"<x><![CDATA[a<b>&lt;]]></x>", "x(\"a<b><\")"},
    {"<x>1<![CDATA[2]]>3</x>", "x(\"123\")"},
    {"<x><![CDATA[a[b]]></x>", "x(\"b\")"},
    {"<x><![CDATA[abcd", "x(\"a\")"},  // three characters are taken for its end
};

TEST(XmlReader, TakesAnyTextInItsOwnWay) {
    for (const auto& [szXml, szOutline] : arrReads) {
        const XMLNodePtr p = CoXMLNode::Create(u"node");
        EXPECT_EQ(p->Parse(ToUtf16(szXml).c_str()), S_OK) << szXml;
        EXPECT_EQ(Outline(*p), szOutline) << szXml;
    }
}

TEST(XmlReader, SaysWhenNothingOpensATag) {
    const XMLNodePtr p = NodeOf("<a b='1'>c</a>");
    EXPECT_EQ(p->Parse(static_cast<const char16_t*>(nullptr)), E_INVALIDARG);
    for (const char16_t* sz : {u"", u"text", u"</a>", u"<!-- <a>", u"<?a", u"<", u"< ><a/>"}) {
        EXPECT_EQ(p->Parse(sz), E_INVALIDARG) << ToUtf8(sz);
        EXPECT_EQ(p->ChildCount() + p->AttributeCount(), 0u);
    }
}

TEST(XmlReader, OptionsAndTheEndOfTheText) {
    const XMLNodePtr p = CoXMLNode::Create(u"node");
    XML_READ_OPTIONS options;
    options.bBodyOnly = options.bKeepSpace = options.bNoFold = true;
    ASSERT_EQ(p->Parse(u" a\n<b> </b>", nullptr, options), S_OK);
    EXPECT_EQ(Outline(*p), "node(\" a\n\" b(\" \"))");

    const char16_t* const sz = u"<a>x</a><b/>";
    const char16_t* pEnd = nullptr;
    ASSERT_EQ(p->Parse(sz, &pEnd), S_OK);
    EXPECT_EQ(pEnd, sz + 8);
    pEnd = sz + 4;
    ASSERT_EQ(p->Parse(sz, &pEnd), S_OK);
    EXPECT_EQ(Outline(*p), "a(\"x\")");
}

TEST(XmlReader, TheIdIsTheName) {
    static constexpr NameKey keyId{u"id"};
    const XMLNodePtr p = CoXMLNode::Create(u"top", &keyId);
    ASSERT_EQ(p->Parse(u"<scene ID='one' x='1'><video id='v1'/><video/></scene>"), S_OK);
    EXPECT_EQ(Outline(*p), "one[x=1](v1 video)");
    std::u16string str;
    ASSERT_TRUE(p->GetAttribute(u"v1::id", str));
    EXPECT_EQ(str, u"v1");
    str.clear();
    p->Write(str, {.nIndent = -1});
    EXPECT_EQ(ToUtf8(str), "<scene id='one' x='1'><video id='v1'/><video/></scene>");
    EXPECT_FALSE(p->HasAttribute(u"video::id"));
    p->SetAttribute(u"video::id", std::u16string_view(u"v2"));
    EXPECT_EQ(Outline(*p), "one[x=1](v1 v2)");
}

TEST(XmlWriter, BreaksLinesAndQuotes) {
    const std::tuple<const char*, int32_t, bool, const char*> arrCases[] = {
        {"<a><b/><c x='1'/></a>", 0, false, "<a>\r\n\t<b/>\r\n\t<c x='1'/>\r\n</a>"},
        {"<a><b/><c x='1'/></a>", -1, false, "<a><b/><c x='1'/></a>"},
        {"<a><b><c/></b></a>", 2, false, "\t\t<a>\r\n\t\t\t<b>\r\n\t\t\t\t<c/>\r\n\t\t\t</b>\r\n\t\t</a>"},
        {"<a>x &lt;&amp;&gt; y</a>", 0, false, "<a>x &lt;&amp;&gt; y</a>"},
        {"<a x=\"it's\" y='\"q\"'/>", 0, false, "<a x=\"it's\" y='\"q\"'/>"},
        {"<a>x<b/>y</a>", 0, false, "<a>\r\n\tx\r\n\t<b/>\r\n\ty\r\n</a>"},
        {"<p>x<i>y</i>z</p>", 0, true, "<p>x<i>y</i>z</p>"},
        {"<a><p>x</p></a>", 0, true, "<a>\r\n\t<p>x</p>\r\n</a>"},
    };
    for (const auto& [szXml, nIndent, bTextFlow, szOut] : arrCases) {
        std::u16string str;
        NodeOf(szXml)->Write(str, {.nIndent = nIndent, .bTextFlow = bTextFlow});
        EXPECT_EQ(ToUtf8(str), szOut) << szXml;
    }
    // A value with both quotes loses the double ones, in the tree too.
    const XMLNodePtr p = NodeOf("<a/>");
    p->SetAttribute(u"x", std::u16string_view(u"'\""));
    std::u16string str;
    p->Write(str, {.bTerminate = true});
    EXPECT_EQ(str, std::u16string(u"<a x=\"''\"/>") + u'\0');
    EXPECT_EQ(p->AttributeOr(u"x", u""), u"''");
}

TEST(AttributeLine, EveryMode) {
    using enum BareNames;
    using enum LineNames;
    // szOutline: onto <n a='0'/>
    const std::tuple<const char*, eZrUpdateType, BareNames, LineNames, bool, const char*> arrCases[] = {
        {"a=1 b='2 3' c=\"x\" d", eZrUT_Update, kDrop, kPaths, true, "n[a=1,b=2 3,c=x]"},
        {"a='1", eZrUT_Update, kDrop, kPlain, true, "n[a=1]"},
        {"a = 1", eZrUT_Update, kDrop, kPlain, true, "n[a=1]"},
        {"b=c=d", eZrUT_Update, kDrop, kPlain, true, "n[a=0,b=c=d]"},
        {"x::y=1", eZrUT_Update, kDrop, kPaths, true, "n[a=0](x[y=1])"},
        {"x::y=1", eZrUT_Update, kDrop, kPlain, true, "n[a=0,x::y=1]"},
        {"a=1 b=2", eZrUT_AddNew, kDrop, kPlain, true, "n[a=0,b=2]"},
        {"a=1 b=2", eZrUT_AddNew, kDrop, kPaths, true, "n[a=1,b=2]"},
        {"b=2", eZrUT_ClearDest, kDrop, kPlain, true, "n[b=2]"},
        {"b c", eZrUT_Update, kKeep, kPlain, true, "n[a=0,b=,c=]"},
        {"b c", eZrUT_Update, kDrop, kPlain, false, "n[a=0]"},
        {"b=", eZrUT_Update, kDrop, kPlain, false, "n[a=0]"},
        {" =x", eZrUT_Update, kDrop, kPlain, true, "n[a=0,=x]"},
        {"", eZrUT_ClearDest, kDrop, kPlain, false, "n[a=0]"},
        {"A=1", eZrUT_Update, kDrop, kPlain, true, "n[a=1]"},
        {"b='x'c='y'", eZrUT_Update, kDrop, kPlain, true, "n[a=0,b=x,c=y]"},
    };
    for (const auto& [szLine, eUpdate, eBare, eNames, bAny, szOutline] : arrCases) {
        const XMLNodePtr p = NodeOf("<n a='0'/>");
        EXPECT_EQ(SetAttributeLine(*p, ToUtf16(szLine), eUpdate, eBare, eNames), bAny) << szLine;
        EXPECT_EQ(Outline(*p), szOutline) << szLine;
    }
}

// ---- What the writer wrote, the reader reads back equal.

std::u16string RandomText(std::mt19937& _rng, std::u16string_view _alphabet, size_t _nMin, size_t _nMax) {
    std::u16string str;
    for (size_t n = _nMin + _rng() % (_nMax - _nMin + 1); n > 0; --n) str += _alphabet[_rng() % _alphabet.size()];
    return str;
}

void Grow(std::mt19937& _rng, CoXMLNode& _node, int _nDepth) {
    for (uint32_t i = static_cast<uint32_t>(_rng() % 4); i > 0; --i) {
        const std::u16string name = RandomText(_rng, u"abcDEF_", 1, 30);
        _node.SetOwnAttribute(NameKey(name), RandomText(_rng, u"az09 <>&\"=/::\u00e9\u4e16", 0, 40));
    }
    bool bAfterText = false;
    for (uint32_t i = static_cast<uint32_t>(_rng() % 5); i > 0 && _nDepth > 0; --i) {
        if (!bAfterText && _rng() % 3 == 0) {
            _node.AppendText(u"t" + RandomText(_rng, u"az <>&;'\"\u00e9", 0, 20) + u"t");
            bAfterText = true;
            continue;
        }
        const XMLNodePtr pChild = CoXMLNode::Create(u"n" + RandomText(_rng, u"abcdef_.", 0, 20));
        Grow(_rng, *pChild, _nDepth - 1);
        _node.AppendChild(pChild);
        bAfterText = false;
    }
}

TEST(XmlRoundTrip, RandomTreesComeBackEqual) {
    std::mt19937 rng(17);
    for (int i = 0; i < 300; ++i) {
        const XMLNodePtr p = CoXMLNode::Create(u"top");
        Grow(rng, *p, 5);
        for (const int32_t nIndent : {-1, 0, 3}) {
            std::u16string str;
            p->Write(str, {.nIndent = nIndent});
            const XMLNodePtr pBack = CoXMLNode::Create(u"other");
            ASSERT_EQ(pBack->Parse(str.c_str()), S_OK);
            ASSERT_EQ(Outline(*pBack), Outline(*p)) << ToUtf8(str);
        }
        ASSERT_EQ(Outline(*p->Clone()), Outline(*p));
    }
}

TEST(XmlTree, PartsOutliveTheTreeTheyWereReadWith) {
    XMLNodePtr pTop = NodeOf("<a><b x='long enough for memory of its own'>text<c/></b><d/></a>");
    const XMLNodePtr pB = pTop->FindChild(NameKey(u"b"));
    ASSERT_TRUE(pB->Detach());
    pTop.Reset();
    EXPECT_EQ(Outline(*pB), "b[x=long enough for memory of its own](\"text\" c)");
    pB->SetAttribute(u"x", 5);
    pB->AppendText(u"!");
    EXPECT_EQ(Outline(*pB), "b[x=5](\"text\" c \"!\")");
    const XMLNodePtr pOther = NodeOf("<o/>");
    EXPECT_TRUE(pOther->AppendChild(pB));
    EXPECT_FALSE(pB->AppendChild(pOther));  // no rings
    EXPECT_EQ(Outline(*pOther), "o(b[x=5](\"text\" c \"!\"))");
}

TEST(XmlTree, TextsThatMeetAreJoined) {
    // With a node in front: only texts that meet behind position 1 are joined.
    const XMLNodePtr p = NodeOf("<a><n/><n/>x<b/>y<c/></a>");
    EXPECT_TRUE(p->RemoveChild(p->FindChild(NameKey(u"b")).Get()));
    EXPECT_EQ(Outline(*p), "a(n n \"xy\" c)");
    p->SetText(u"z");
    EXPECT_EQ(Outline(*p), "a(n n \"z\" c)");
    EXPECT_EQ(p->Text(), u"z");
}

// ---- Any input ends, soon and without harm.

std::u16string Repeat(std::u16string_view _part, size_t _nCharacters) {
    std::u16string str;
    while (str.size() < _nCharacters) str += _part;
    return str;
}

TEST(XmlReader, HugeAndDeepInputEnds) {
    constexpr size_t kCharacters = 5 << 20;  // 10 MB
    for (const std::u16string_view part : {u"<a>", u"<a><a", u"'", u"<a '", u"&", u"<!--", u"<?", u"<![CDATA[", u"<a>&",
                                           u"</a>", u"<a/>", u"a=\"", u"<", u">", u"<a b='>"}) {
        const XMLNodePtr p = CoXMLNode::Create(u"node");
        p->Parse((u"<top>" + Repeat(part, kCharacters)).c_str());
        const std::u16string line = Repeat(part, kCharacters);
        SetAttributeLine(*p, line, eZrUT_Update, BareNames::kKeep);
    }
    // Far deeper than the bound: the tree is as deep as that, and comes apart on a small stack.
    std::thread([] {
        const XMLNodePtr p = CoXMLNode::Create(u"node");
        p->Parse(Repeat(u"<a>", 1 << 20).c_str());
        size_t nDepth = 0;
        for (XMLNodeRef pNode(p.Get()); pNode && pNode->ChildCount(); pNode = pNode->ChildNodeAt(0)) ++nDepth;
        EXPECT_GE(nDepth, 1000u);
        EXPECT_LE(nDepth, XMLNodeBase::kMaxDepth);
        std::u16string str;
        p->Write(str, {.nIndent = -1});
        EXPECT_EQ(Outline(*p->Clone()).size(), Outline(*p).size());
    }).join();
}

// ---- Many threads on one tree. A typed read changes the form in which the value is kept.

// Who has a node may walk up from it whatever becomes of the tree that it was in.
TEST(XmlTree, ParentsEndWhileTheyAreWalkedUpTo) {
    Mutex mtx;
    XMLNodePtr pShared;
    std::atomic<bool> bStop{false};
    std::thread walker([&] {
        while (!bStop) {
            XMLNodePtr pLeaf;
            {
                MutexLock lock(mtx);
                pLeaf = pShared;
            }
            for (XMLNodeRef p(pLeaf.Get()); p; p = p->ParentNode()) EXPECT_FALSE(p->Name().empty());
        }
    });
    for (int i = 0; i < 5000; ++i) {
        const XMLNodePtr pTop = CoXMLNode::Create(u"top");
        const XMLNodePtr pLeaf = pTop->Find(u"a::b::c::d", true);
        if (i % 2 != 0) pTop->Find(u"a::b")->RemoveChildren();
        MutexLock lock(mtx);
        pShared = pLeaf;
    }
    bStop = true;
    walker.join();
}

TEST(XmlTree, ReadersAndWritersOnManyThreads) {
    const XMLNodePtr p = NodeOf("<top number='1.5' flag='true' text='abc'><child x='7'>t</child></top>");
    constexpr int kRounds = 3000;
    const auto Read = [&p] {
        const double dbl = p->AttributeOr(u"number", 0.0);
        EXPECT_TRUE(dbl == 1.5 || dbl == 2.5) << dbl;
        const int32_t n = p->AttributeOr(u"number", int32_t{0});
        EXPECT_TRUE(n == 1 || n == 2) << n;
        const int32_t nChild = p->AttributeOr(u"child::x", int32_t{7});
        EXPECT_TRUE(nChild == 7 || nChild == 8) << nChild;
        std::u16string str;
        p->Write(str);
        EXPECT_GT(str.size(), 10u);
    };
    const auto Write = [&p](int _i) {
        p->SetAttribute(u"number", _i % 2 ? 1.5 : 2.5);
        p->SetAttribute(u"child::x", int32_t{7 + _i % 2});
        p->SetAttribute(u"new" + std::u16string(1, static_cast<char16_t>(u'a' + _i % 20)), _i);
        const XMLNodePtr pChild = CoXMLNode::Create(u"new");
        p->AppendChild(pChild);
        pChild->SetText(u"text");
        pChild->Rename(u"renamed");
        EXPECT_TRUE(pChild->Detach());
    };
    OnThreads(4, [&](int _nThread) {
        for (int i = 0; i < kRounds; ++i) _nThread % 2 ? Write(i) : Read();
    });
    EXPECT_EQ(p->ElementCount(), 1u);
}

}  // namespace
}  // namespace zr
