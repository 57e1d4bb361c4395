#include "platform/class_registry.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/ref_object.h"

namespace zr {
namespace {

constexpr GUID kClsidOne = GuidOf("A0000000-0000-0000-0000-000000000001");
constexpr GUID kClsidTwo = GuidOf("A0000000-0000-0000-0000-000000000002");

struct IOne : IUnknown {
    static constexpr GUID kIid = GuidOf("A0000000-0000-0000-0000-000000000011");
    virtual int Number() = 0;
};

int nAlive = 0;
template <int N>
class One : public UnknownImpl<IOne> {
public:
    One() { ++nAlive; }
    ~One() override { --nAlive; }
    int Number() override { return N; }
};
class Greedy : public UnknownImpl<IOne> {
public:
    Greedy() { throw std::bad_alloc(); }
    int Number() override { return 0; }
};

TEST(ClassRegistry, MakesObjectsOfTheClassesThereAreNow) {
    ZrPtr<IOne> p;
    EXPECT_EQ(ZrCreateInstance(kClsidOne, p), REGDB_E_CLASSNOTREG);
    {
        const ClassRegistrar one(kClsidOne, MakeObject<One<1>>);
        {
            const ClassRegistrar second(kClsidOne, MakeObject<One<2>>);  // too late, and nothing to take away
        }
        ASSERT_EQ(ZrCreateInstance(kClsidOne, p), S_OK);
        EXPECT_EQ(p->Number(), 1);
        EXPECT_EQ(p->QueryInterface(IOne::kIid, nullptr), E_POINTER);
        EXPECT_EQ(nAlive, 1);
        EXPECT_EQ(ZrCreateInstance(kClsidTwo, p), REGDB_E_CLASSNOTREG);
        EXPECT_FALSE(p);
        EXPECT_EQ(nAlive, 0);
        ZrPtr<IStream> pNone;
        EXPECT_EQ(ZrCreateInstance(kClsidOne, pNone), E_NOINTERFACE);
        EXPECT_FALSE(pNone);
        EXPECT_EQ(nAlive, 0);
        ASSERT_EQ(ZrRegisterClass(&kClsidTwo, MakeObject<One<2>>), S_OK);
        ASSERT_EQ(ZrCreateInstance(kClsidTwo, p), S_OK);
        EXPECT_EQ(p->Number(), 2);
        EXPECT_EQ(ZrUnregisterClass(&kClsidTwo), S_OK);
        EXPECT_EQ(ZrUnregisterClass(&kClsidTwo), ZR_E_NOT_FOUND);
    }
    EXPECT_EQ(ZrCreateInstance(kClsidOne, p), REGDB_E_CLASSNOTREG);
    const ClassRegistrar greedy(kClsidOne, MakeObject<Greedy>);
    EXPECT_EQ(ZrCreateInstance(kClsidOne, p), E_OUTOFMEMORY);
}

TEST(ClassRegistry, NullArgumentsAreRefusedAndTheResultIsClearedFirst) {
    void* pv = &pv;
    EXPECT_EQ(ZrCreateInstance(nullptr, &IOne::kIid, &pv), E_POINTER);
    EXPECT_EQ(pv, nullptr);
    pv = &pv;
    EXPECT_EQ(CreateInstance(kClsidOne, IOne::kIid, &pv), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(pv, nullptr);
    EXPECT_EQ(ZrCreateInstance(&kClsidOne, nullptr, &pv), E_POINTER);
    EXPECT_EQ(ZrCreateInstance(&kClsidOne, &IOne::kIid, nullptr), E_POINTER);
    EXPECT_EQ(ZrRegisterClass(&kClsidOne, nullptr), E_POINTER);
    EXPECT_EQ(ZrRegisterClass(nullptr, MakeObject<One<1>>), E_POINTER);
    EXPECT_EQ(ZrUnregisterClass(nullptr), E_POINTER);
}

TEST(ClassRegistry, ClassesComeAndGoWhileObjectsAreMade) {
    const ClassRegistrar two(kClsidTwo, MakeObject<One<2>>);
    std::thread other([] {
        for (int n = 0; n < 2000; ++n) ClassRegistrar(kClsidOne, MakeObject<One<1>>);
    });
    for (int n = 0; n < 2000; ++n) {
        ZrPtr<IOne> p;
        EXPECT_EQ(ZrCreateInstance(kClsidTwo, p), S_OK);
        EXPECT_TRUE(p && p->Number() == 2);
    }
    other.join();
}

}  // namespace
}  // namespace zr
