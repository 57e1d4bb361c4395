#include "platform/shared_memory.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <limits>

namespace zr {
namespace {

TEST(SharedMemory, WhoHasTheDescriptorSeesTheBytesAndCannotChangeTheSize) {
    constexpr size_t cb = 100'000;
    SharedMemory memory;
    ASSERT_EQ(memory.Create(cb, "test"), S_OK);
    const Descriptor copy(dup(memory.FileDescriptor()));
    auto* const pOther = static_cast<char*>(mmap(nullptr, cb, PROT_READ, MAP_SHARED, copy.Get(), 0));
    ASSERT_NE(pOther, MAP_FAILED);
    EXPECT_EQ(pOther[cb - 1], 0);
    std::memset(memory.Data(), 7, cb);
    EXPECT_EQ(pOther[cb - 1], 7);
    EXPECT_NE(ftruncate(copy.Get(), 1), 0);
    EXPECT_NE(ftruncate(copy.Get(), 2 * cb), 0);

    SharedMemory moved = std::move(memory);
    EXPECT_EQ(memory.Data(), nullptr);
    EXPECT_EQ(moved.Size(), cb);
    moved = SharedMemory();
    EXPECT_EQ(moved.FileDescriptor(), -1);
    EXPECT_EQ(pOther[0], 7);  // lives as long as anyone has it
    munmap(pOther, cb);
}

TEST(SharedMemory, FailsWithoutABlock) {
    SharedMemory memory;
    ASSERT_EQ(memory.Create(1, "test"), S_OK);
    EXPECT_EQ(memory.Create(std::numeric_limits<size_t>::max(), "test"), E_OUTOFMEMORY);
    EXPECT_EQ(memory.Data(), nullptr);
    EXPECT_EQ(memory.Create(0, "test"), E_INVALIDARG);
}

}  // namespace
}  // namespace zr
