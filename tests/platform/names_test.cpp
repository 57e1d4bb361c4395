#include "platform/names.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace zr {
namespace {

std::u16string OwnName(std::u16string_view _svName) {
    std::u16string str(_svName);
    for (const char ch : std::to_string(getpid())) str += static_cast<char16_t>(ch);  // apart from other test runs
    return str;
}

TEST(Names, OneOwnerAtATime) {
    const std::u16string strName = OwnName(u"sender|\u00e9|"), strOther = OwnName(u"other|");
    UniqueName first, second;
    EXPECT_EQ(first.Claim(u""), E_INVALIDARG);
    ASSERT_EQ(first.Claim(strName), S_OK);
    EXPECT_EQ(second.Claim(strName), ZR_E_EXISTS);
    EXPECT_FALSE(second.IsHeld());
    EXPECT_EQ(second.Claim(strOther), S_OK);
    ASSERT_EQ(first.Claim(strName), S_OK);  // its own claim is not in its way
    UniqueName moved = std::move(first);
    EXPECT_EQ(second.Claim(strName), ZR_E_EXISTS);
    EXPECT_EQ(first.Claim(strOther), S_OK);  // the failed claim has let go of it
    moved.Release();
    EXPECT_EQ(second.Claim(strName), S_OK);
}

TEST(Names, LongNamesDifferByTheirLastCharacter) {
    const std::u16string strName = OwnName(u"long|") + std::u16string(500, u'x');
    UniqueName first, second;
    ASSERT_EQ(first.Claim(strName + u'1'), S_OK);
    EXPECT_EQ(second.Claim(strName + u'1'), ZR_E_EXISTS);
    EXPECT_EQ(second.Claim(strName + u'2'), S_OK);
}

TEST(Names, FreeWhenTheOwnerIsKilled) {
    const std::u16string strName = OwnName(u"killed|");
    int arrPipe[2];
    ASSERT_EQ(pipe(arrPipe), 0);
    const pid_t idChild = fork();
    ASSERT_GE(idChild, 0);
    if (idChild == 0) {
        UniqueName name;
        const char chClaimed = name.Claim(strName) == S_OK;
        if (write(arrPipe[1], &chClaimed, 1) == 1) pause();
        _exit(1);
    }
    char chClaimed = 0;
    ASSERT_EQ(read(arrPipe[0], &chClaimed, 1), 1);
    EXPECT_TRUE(chClaimed);
    UniqueName name;
    EXPECT_EQ(name.Claim(strName), ZR_E_EXISTS);
    kill(idChild, SIGKILL);
    waitpid(idChild, nullptr, 0);
    EXPECT_EQ(name.Claim(strName), S_OK);
    close(arrPipe[0]);
    close(arrPipe[1]);
}

}  // namespace
}  // namespace zr
