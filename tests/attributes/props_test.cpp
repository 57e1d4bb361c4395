#include "attributes/props.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <tuple>

#include "attributes/mixer_keys.h"
#include "attributes/props_support.h"

namespace zr {
namespace {

constexpr std::tuple<const char*, const char*, const char*, const char*, HRESULT, const char*> arrStepCases[] = {
    {"attribute", "<props a='1'/>", "A", "2", S_OK, "<props a='2'><object/></props>"},
    {"middle_nodes_are_made", "<props/>", "x::y::z", "1", S_OK, "<props><object/><x><y z='1'/></x></props>"},
    {"node_gets_the_text", "<props><a b='1'/></props>", "a", "text", S_OK, "<props><a b='1'>text</a><object/></props>"},
    {"node_below_gets_the_text", "<props><a><b>x</b></a></props>", "a::b", "y", S_OK,
     "<props><a><b>y</b></a><object/></props>"},
    {"value_becomes_the_text_of_its_node", "<props a='1' c='2'/>", "a::b", "3", S_OK,
     "<props c='2'><object/><a b='3'>1</a></props>"},
    {"also_further_down", "<props a='0'><x a='1'/></props>", "x::a::b", "3", S_OK,
     "<props a='0'><x><a b='3'>1</a></x><object/></props>"},
    {"empty_value", "<props a='1'/>", "a", "", S_OK, "<props a=''><object/></props>"},
    {"line", "<props a='1'/>", "", "a=2 x::y='3 4' bare", S_OK, "<props a='2'><object/><x y='3 4'/></props>"},
    {"line_into_object", "<props/>", "", "object::k=2", S_OK, "<props><object k='2'/></props>"},
    {"xml", "<props a='1' b='1'><x k='1'><old/></x></props>", "", " <any b='2'><x m='3'>t</x><y/></any>", S_OK,
     "<props a='1' b='2'><x k='1' m='3'><old/>t</x><object/><y/></props>"},
    {"xml_by_occurrence", "<props><i k='1'/><i k='2'/></props>", "", "<p><i m='1'/><i m='2'/><i m='3'/></p>", S_OK,
     "<props><i k='1' m='1'/><i k='2' m='2'/><object/><i m='3'/></props>"},
    {"no_xml", "<props a='1'/>", "", "< >", E_INVALIDARG, "<props a='1'><object/></props>"},
    {"nothing_at_all", "<props a='1'/>", "", "", E_INVALIDARG, "<props a='1'><object/></props>"},
};

std::string TreeOf(PropsObject& _object) {
    std::u16string strXml;
    _object.Props().Root()->Write(strXml, {.nIndent = -1});
    return ToUtf8(strXml);
}

TEST(Props, SetGoesToTheAttributeOrTheNode) {
    for (const auto& [szName, szTree, szKey, szValue, hr, szAfter] : arrStepCases) {
        SCOPED_TRACE(szName);
        PropsObject object(NodeOf(szTree));
        EXPECT_EQ(object.Set(szKey, szValue), hr);
        EXPECT_EQ(TreeOf(object), szAfter);
    }
    PropsObject object(NodeOf("<props/>"));
    EXPECT_EQ(object.PropsSet(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(object.PropsSet(nullptr, u"a=1"), S_OK);
    EXPECT_EQ(object.PropsSet(u"b", nullptr), S_OK);
    EXPECT_EQ(object.Get("a") + object.Get("b"), "1");
}

TEST(Props, GetAsksAttributeThenNodeThenDefault) {
    PropsObject object(
        NodeOf("<props a='1' n='2'><n>text</n><o k='3'/><attributes_info><d default='4'/>"
               "<a default='5'/><o><e default='6'/></o></attributes_info></props>"));
    const std::tuple<const char*, const char*> arrCases[] = {{"a", "1"},
                                                             {"n", "2"},
                                                             {"o::k", "3"},
                                                             {"o", ""},
                                                             {"d", "S_FALSE 4"},
                                                             {"o::e", "S_FALSE 6"},
                                                             {"x", "S_FALSE <null>"},
                                                             {"x::y", "S_FALSE <null>"},
                                                             {"dll-x", "S_FALSE <null>"}};
    for (const auto& [szKey, szValue] : arrCases) EXPECT_EQ(object.Get(szKey), szValue) << szKey;
    EXPECT_EQ(object.PropsGet(u"a", nullptr), E_POINTER);
    const std::string strXml = object.Get("");
    PropsObject copy(NodeOf(strXml));
    EXPECT_EQ(copy.Get(""), strXml);
    EXPECT_NE(strXml.find("<o k='3'/>"), strXml.npos);

    EXPECT_EQ(object.Set("n", ""), S_OK);
    EXPECT_EQ(object.PropsRemove(u"n"), S_OK);
    EXPECT_EQ(object.Get("n"), "");
}

TEST(Props, SpecialNamesTellOfTheModule) {
    PropsObject object(NodeOf("<props dll-version='mine'/>"));
    int n[4] = {-1, -1, -1, -1};
    EXPECT_EQ(std::sscanf(object.Get("dll-version").c_str(), "%d.%d.%d.%d", &n[0], &n[1], &n[2], &n[3]), 4);
    EXPECT_GE(*std::min_element(n, n + 4), 0);
    EXPECT_EQ(object.Get("dll-file-version"), object.Get("dll-version"));
    EXPECT_NE(object.Get("dll-path").find("/bin/test_attributes"), std::string::npos);  // linked in here
    EXPECT_EQ(object.Get("_process_name_"), "test_attributes");
    EXPECT_GT(std::stoi(object.Get("_process_pid_")), 1);
    int nYear = 0, nMonth = 0;
    EXPECT_EQ(std::sscanf(object.Get("dll-date").c_str(), "%d-%d-", &nYear, &nMonth), 2);
    EXPECT_GT(nYear, 2000);
}

TEST(Props, RemoveTakesTheKeyAndThenTheNode) {
    PropsObject object(NodeOf("<props a='1' b='2'><a k='1'/><c/></props>"));
    EXPECT_EQ(object.PropsRemove(u"a"), S_OK);
    EXPECT_EQ(TreeOf(object), "<props b='2'><a k='1'/><c/><object/></props>");
    EXPECT_EQ(object.PropsRemove(u"a"), S_OK);
    EXPECT_EQ(object.PropsRemove(u"a"), E_INVALIDARG);
    EXPECT_EQ(object.PropsRemove(u""), E_INVALIDARG);
    EXPECT_EQ(object.PropsRemove(nullptr), E_INVALIDARG);
    EXPECT_EQ(object.PropsRemove(u"::"), E_INVALIDARG);
    EXPECT_EQ(object.PropsRemove(u"_all_props_"), S_OK);
    EXPECT_EQ(TreeOf(object), "<props><c/><object/></props>");
    EXPECT_EQ(object.PropsRemove(u"_all_nodes_"), S_OK);
    EXPECT_EQ(TreeOf(object), "<props/>");
}

TEST(Props, ReadersOfObjectSeeItsRemovalAndItsReturn) {
    PropsObject object(MixerProfile());
    const CoXMLNode* pObject = object.Props().Object().Get();
    ASSERT_EQ(object.Set("object::output.max_buffers", "5"), S_OK);
    for (const char16_t* szRemove : {u"_all_nodes_", u"object"}) {
        EXPECT_EQ(object.PropsRemove(szRemove), S_OK);
        int32_t nCount = 0;
        EXPECT_EQ(object.PropsGetCount(u"object", &nCount), E_INVALIDARG);
        EXPECT_EQ(pObject->AttributeOr(u"output.max_buffers", int32_t{-7}), -7) << "the reader's own default";
        EXPECT_EQ(object.Set("other", "1"), S_OK);
        EXPECT_EQ(object.Set("", "other=2"), S_OK);
        EXPECT_EQ(object.PropsGetCount(u"object", &nCount), E_INVALIDARG);
        EXPECT_EQ(object.Set("Object::output.max_buffers", "6"), S_OK);
        EXPECT_EQ(object.Props().Object().Get(), pObject);
        EXPECT_EQ(pObject->AttributeOr(u"output.max_buffers", int32_t{-7}), 6);
        EXPECT_EQ(object.PropsRemove(u"_all_nodes_"), S_OK);
        EXPECT_EQ(object.Set("", "<p><object k='1'/></p>"), S_OK);
        EXPECT_EQ(pObject->AttributeOr(u"k", int32_t{-7}), 1);
    }
}

std::string Listed(PropsObject& _object, const char16_t* _szNode) {
    int32_t nCount = -1;
    std::string strAll;
    if (Failed(_object.PropsGetCount(_szNode, &nCount))) return "failed";
    for (int32_t i = 0; i < nCount; ++i) {
        Text name, value;
        int32_t bNode = -1;
        EXPECT_EQ(_object.PropsGetByIndex(_szNode, i, name.Out(), value.Out(), &bNode), S_OK);
        strAll += name.Utf8() + (bNode ? ":" : "=") + value.Utf8() + " ";
    }
    EXPECT_EQ(_object.PropsGetByIndex(_szNode, nCount, nullptr, nullptr, nullptr), ZR_E_BAD_INDEX);
    EXPECT_EQ(_object.PropsGetByIndex(_szNode, -1, nullptr, nullptr, nullptr), ZR_E_BAD_INDEX);
    return strAll;
}

TEST(Props, PositionsAreKeysAndThenNodes) {
    PropsObject plain(NodeOf("<props a='1' b='2 3'><n>text</n><m k='4'/></props>"));
    EXPECT_EQ(Listed(plain, nullptr), "a=1 b=2 3 n:text m: object: ");
    EXPECT_EQ(Listed(plain, u"m"), "k=4 ");
    EXPECT_EQ(Listed(plain, u"none"), "failed");
    EXPECT_EQ(plain.PropsGetCount(u"", nullptr), E_POINTER);
    EXPECT_EQ(plain.PropsGetByIndex(u"none", 0, nullptr, nullptr, nullptr), E_INVALIDARG);

    PropsObject described(
        NodeOf("<props a='1' stray='9'><attributes_info><a default='5'/><b default='6'/><c/>"
               "</attributes_info><n/></props>"));
    EXPECT_EQ(Listed(described, u""), "a=1 b=6 c= n: object: ");

    Text name, value;
    EXPECT_EQ(plain.PropsGetByIndex(u"_info_", 1, name.Out(), value.Out(), nullptr), S_OK);
    EXPECT_EQ(Shown(name) + ": " + Shown(value), "b: b='2 3'");
    EXPECT_EQ(plain.PropsGetByIndex(u"_info_", 2, name.Out(), value.Out(), nullptr), ZR_E_BAD_INDEX);
}

TEST(Props, OptionsComeFromTheDescription) {
    PropsObject object(
        NodeOf("<props mode='B'><attributes_info><mode values='a, b,c'><b>Help b</b></mode>"
               "<size default='small'><small>Help s</small><big/></size><free/></attributes_info></props>"));
    const auto Count = [&](const char16_t* _szName) {
        int32_t nCount = -1;
        const HRESULT hr = object.PropsOptionGetCount(_szName, &nCount);
        EXPECT_EQ(hr, nCount > 0 ? S_OK : S_FALSE);
        return nCount;
    };
    EXPECT_EQ(Count(u"mode"), 3);
    EXPECT_EQ(Count(u"size"), 2);
    EXPECT_EQ(Count(u"free"), 0);
    EXPECT_EQ(Count(u"none"), 0);
    EXPECT_EQ(object.PropsOptionGetCount(u"mode", nullptr), E_POINTER);

    Text value, help;
    EXPECT_EQ(object.PropsOptionGetByIndex(u"mode", 1, value.Out(), help.Out()), S_OK);
    EXPECT_EQ(Shown(value) + Shown(help), "bHelp b");
    EXPECT_EQ(object.PropsOptionGetByIndex(u"mode", 3, value.Out(), help.Out()), ZR_E_BAD_INDEX);
    EXPECT_EQ(object.PropsOptionGetByIndex(u"mode", -1, value.Out(), help.Out()), ZR_E_BAD_INDEX);

    int32_t nOption = 9;
    EXPECT_EQ(object.PropsOptionGet(u"mode", &nOption, value.Out(), help.Out()), S_OK);
    EXPECT_EQ(nOption, 1);
    EXPECT_EQ(object.PropsOptionGet(u"size", &nOption, value.Out(), help.Out()), S_OK) << "by its default";
    EXPECT_EQ(Shown(value) + Shown(help), "smallHelp s");

    object.bNoteKeys = true;
    EXPECT_EQ(object.PropsOptionSetByIndex(u"mode", 2), S_OK);
    EXPECT_EQ(object.Notes(), std::vector<std::string>{"mode B->c"});
    EXPECT_EQ(object.PropsOptionSetByIndex(u"mode", 3), ZR_E_BAD_INDEX);
    EXPECT_EQ(object.Get("mode"), "c");
    EXPECT_EQ(object.Set("mode", "z"), S_OK);
    EXPECT_EQ(object.PropsOptionGet(u"mode", &nOption, value.Out(), help.Out()), S_FALSE);
    EXPECT_EQ(nOption, -1);
    EXPECT_EQ(Shown(value), "z");
    Text info;
    EXPECT_EQ(object.PropsInfoGet(u"size", eZrIT_Values, info.Out()), S_OK);
    EXPECT_EQ(Shown(info), "small|big|");
}

// Readers on other threads hold the node `object` while keys are set, removed and put back.
TEST(Props, ManyThreadsSetAndRead) {
    PropsObject object(MixerProfile());
    std::atomic<bool> bStop{false};
    std::atomic<int> nBad{0};
    std::vector<std::thread> arrReaders;
    for (int i = 0; i < 2; ++i)
        arrReaders.emplace_back([&] {
            const CoXMLNode& node = *object.Props().Object();
            while (!bStop) {
                const int32_t n = node.AttributeOr(u"output.max_buffers", int32_t{0});
                Text value;
                int32_t nCount = 0;
                if (n < 0 || n > 99) ++nBad;
                if (Failed(object.PropsGet(u"object::output.max_buffers", value.Out()))) ++nBad;
                object.PropsGetCount(u"object", &nCount);
                object.PropsGetByIndex(nullptr, 0, value.Out(), nullptr, nullptr);
            }
        });
    std::thread other([&] {
        for (int i = 0; i < 300; ++i) object.Set("", "x::y=" + std::to_string(i) + " object::output.max_buffers=7");
    });
    for (int i = 0; i < 300; ++i) {
        object.Set("object::output.max_buffers", std::to_string(i % 100));
        object.Set("x", "text");
        if (i % 50 == 0) object.PropsRemove(u"_all_nodes_");
    }
    other.join();
    bStop = true;
    for (std::thread& reader : arrReaders) reader.join();
    EXPECT_EQ(nBad, 0);
}

}  // namespace
}  // namespace zr
