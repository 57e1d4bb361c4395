#include "platform/ref_object.h"

#include <gtest/gtest.h>

#include <string>

#include "support/stress.h"

namespace zr {
namespace {

struct Counted : AutoObjBase<Counted> {
    explicit Counted(int& _nAlive) : nAlive(_nAlive) { ++nAlive; }
    ~Counted() override { --nAlive; }
    int& nAlive;
};

TEST(RefObject, LivesUntilTheLastHolderOnAnyThreadLetsGo) {
    int nAlive = 0;
    CAutoObj<Counted> pFirst = Counted::Make(nAlive);
    OnThreads(4, [&pFirst](int) {
        for (int n = 0; n < 10000; ++n) CAutoObj<Counted> pCopy = pFirst;
    });
    EXPECT_EQ(nAlive, 1);
    pFirst.Reset();
    EXPECT_EQ(nAlive, 0);
}

TEST(RefObject, ValueComesBackOnlyAsTheTypeItWentInAs) {
    int nAlive = 0;
    CAutoObj<ObjectBase> pObject = ObjectVal<CAutoObj<Counted>>::Make(Counted::Make(nAlive));
    const CAutoObj<ObjectBase> pText = ObjectVal<std::u16string>::Make(u"text");
    EXPECT_EQ(ObjectVal<std::u16string>::In(pObject), nullptr);
    EXPECT_EQ(ObjectVal<CAutoObj<Counted>>::In(pText), nullptr);
    EXPECT_EQ(ObjectVal<CAutoObj<Counted>>::In(nullptr), nullptr);
    ASSERT_NE(ObjectVal<std::u16string>::In(pText), nullptr);
    EXPECT_EQ(*ObjectVal<std::u16string>::In(pText), u"text");
    ASSERT_NE(ObjectVal<CAutoObj<Counted>>::In(pObject), nullptr);
    EXPECT_EQ(nAlive, 1);
    pObject.Reset();
    EXPECT_EQ(nAlive, 0);
}

}  // namespace
}  // namespace zr
