#include "platform/unknown.h"

#include <gtest/gtest.h>

#include "zr/text.h"

namespace zr {
namespace {

struct IFirst : IUnknown {
    static constexpr GUID kIid = GuidOf("11111111-0000-0000-0000-000000000001");
    virtual int First() = 0;
};
struct ISecond : IUnknown {
    static constexpr GUID kIid = GuidOf("11111111-0000-0000-0000-000000000002");
    virtual int Second() = 0;
};
struct IThird : IUnknown {
    static constexpr GUID kIid = GuidOf("11111111-0000-0000-0000-000000000003");
};

class Two : public UnknownImpl<IFirst, ISecond> {
public:
    explicit Two(bool& _bAlive) : bAlive(_bAlive) { bAlive = true; }
    ~Two() override { bAlive = false; }
    int First() override { return 1; }
    int Second() override { return 2; }

private:
    bool& bAlive;
};

TEST(Unknown, EachFaceReachesTheSameObjectAndTheLastReferenceEndsIt) {
    bool bAlive = false;
    auto pFirst = ZrPtr<IFirst>::Attach(new Two(bAlive));
    ZrPtr<ISecond> pSecond = pFirst.As<ISecond>();
    ASSERT_TRUE(pSecond);
    EXPECT_EQ(pSecond->Second(), 2);
    EXPECT_EQ(pSecond.As<IFirst>().Get(), pFirst.Get());
    EXPECT_EQ(pSecond.As<IUnknown>(), pFirst.As<IUnknown>());  // one identity
    EXPECT_FALSE(pFirst.As<IThird>());

    void* pv = &bAlive;
    EXPECT_EQ(pFirst->QueryInterface(IThird::kIid, &pv), E_NOINTERFACE);
    EXPECT_EQ(pv, nullptr);
    EXPECT_EQ(pFirst->QueryInterface(IThird::kIid, nullptr), E_POINTER);

    pFirst.Reset();
    EXPECT_TRUE(bAlive);
    pSecond = nullptr;
    EXPECT_FALSE(bAlive);
}

TEST(Text, KeepsZerosInsideAndCountsBytes) {
    const BSTR bs = SysAllocStringLen(u"a\0b", 3);
    EXPECT_EQ(SysStringLen(bs), 3u);
    EXPECT_EQ(SysStringByteLen(bs), 6u);
    EXPECT_EQ(bs[2], u'b');
    EXPECT_EQ(bs[3], u'\0');
    SysFreeString(bs);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);
}

}  // namespace
}  // namespace zr
