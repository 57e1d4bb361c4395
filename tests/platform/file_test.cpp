#include "platform/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <tuple>

#include "platform/utf.h"
#include "support/temp_folder.h"

namespace zr {
namespace {

TEST(File, NamesThatAreNoRegularFileAreRefusedWithoutWaiting) {
    const TempFolder folder;
    mkfifo((folder.path / "pipe").c_str(), 0600);
    const std::tuple<std::u16string, HRESULT, HRESULT, HRESULT> arrCases[] = {
        {folder.Name("none"), ZR_E_NOT_FOUND_FILE, ZR_E_NOT_FOUND_FILE, S_OK},
        {folder.Name("no/such/folder"), ZR_E_NOT_FOUND_FILE, ZR_E_NOT_FOUND_FILE, ZR_E_NOT_FOUND_FILE},
        {folder.Name("pipe"), ZR_E_NOT_SUPPORTED, ZR_E_NOT_SUPPORTED, ZR_E_NOT_SUPPORTED},
        {folder.Name(""), ZR_E_NOT_SUPPORTED, ZR_E_NOT_SUPPORTED, ZR_E_NOT_SUPPORTED},
        {u"/dev/zero", ZR_E_NOT_SUPPORTED, ZR_E_NOT_SUPPORTED, ZR_E_NOT_SUPPORTED},
        {u"", E_INVALIDARG, E_INVALIDARG, E_INVALIDARG},
    };
    for (const auto& [sName, hrRead, hrUpdate, hrCreate] : arrCases) {
        SCOPED_TRACE(Utf8FromUtf16(sName));
        File file;
        EXPECT_EQ(file.Open(sName.c_str(), File::Access::Read), hrRead);
        EXPECT_EQ(file.Open(sName.c_str(), File::Access::Update), hrUpdate);
        EXPECT_EQ(file.Open(sName.c_str(), File::Access::Create), hrCreate);
    }
}

TEST(File, PositionsPastTheEndReadShortAndGapsReadAsZeros) {
    const TempFolder folder;
    const std::u16string sName = folder.Name("\xC3\xA9.bin");
    File file;
    ASSERT_EQ(file.Open(sName.c_str(), File::Access::Create), S_OK);
    ASSERT_EQ(file.WriteAt(10, "abc", 3), S_OK);
    uint64_t cbSize = 0;
    EXPECT_EQ(file.Size(&cbSize), S_OK);
    EXPECT_EQ(cbSize, 13u);
    char sz[8] = "xxxxxxx";
    size_t cbRead = 0;
    EXPECT_EQ(file.ReadAt(9, sz, 8, &cbRead), S_FALSE);
    EXPECT_EQ(std::string(sz, cbRead), std::string("\0abc", 4));
    EXPECT_EQ(file.ReadAt(13, sz, 1, &cbRead), S_FALSE);
    EXPECT_EQ(cbRead, 0u);
    EXPECT_EQ(file.ReadAt(UINT64_MAX, sz, 1, &cbRead), E_INVALIDARG);
    EXPECT_EQ(file.WriteAt(UINT64_MAX - 1, sz, 4), E_INVALIDARG);

    ASSERT_EQ(file.Open(sName.c_str(), File::Access::Read), S_OK);
    EXPECT_TRUE(Failed(file.WriteAt(0, "z", 1)));
    ASSERT_EQ(file.Open(sName.c_str(), File::Access::Update), S_OK);
    EXPECT_EQ(file.ReadAt(10, sz, 3, &cbRead), S_OK);
    ASSERT_EQ(file.Open(sName.c_str(), File::Access::Create), S_OK);
    EXPECT_EQ(file.Size(&cbSize), S_OK);
    EXPECT_EQ(cbSize, 0u);
}

}  // namespace
}  // namespace zr
