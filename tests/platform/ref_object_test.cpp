#include "platform/ref_object.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

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
    CAutoObj<Counted> arrOwn[] = {pFirst, pFirst, pFirst, pFirst};
    pFirst.Reset();
    OnThreads(4, [&arrOwn](int _nThread) {
        CAutoObj<Counted> pMine = std::move(arrOwn[_nThread]);
        for (int n = 0; n < 10000; ++n) CAutoObj<Counted> pCopy = pMine;
    });
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
