// Buffers on memory of the host: wrapped, or had from its callbacks.

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <vector>

#include "foundation/BufferChecks.h"
#include "foundation/BufferSeam.h"

namespace Zan {
namespace {

using namespace buffer_test;

// --- memory of the host

TEST(AlignedMemoryBufferTest, WrappedMemoryIsMovedForwardAndNotFreed) {
    alignas(64) unsigned char memory[128];
    for (std::size_t offset = 0; offset < 16; ++offset) {
        // Freeing what lies on the stack would end the test.
        const AlignedMemoryBuffer buffer(memory + offset, 64, 8, kNoAliasWorkAround);
        EXPECT_EQ(buffer.GetAlignedPointer(), memory + (offset + 7) / 8 * 8) << offset;
        EXPECT_EQ(BufferSeam::RawPointer(buffer), memory + offset);
        EXPECT_FALSE(BufferSeam::OwnsMemory(buffer));
        EXPECT_EQ(buffer.size(), 64U);
        EXPECT_EQ(buffer.GetTotalSize(), 71U) << "computed, and compared with nothing";
    }
}

TEST(AlignedMemoryBufferTest, WrappedLines) {
    alignas(64) unsigned char memory[512];
    const AlignedMemoryBuffer buffer(memory, 100, 4, 16, 8, kNoAliasWorkAround);
    EXPECT_EQ(buffer.GetAlignedPointer(), memory);
    EXPECT_EQ(buffer.GetPitch(), 104U);
    EXPECT_EQ(buffer.size(), 416U);
    EXPECT_EQ(buffer.GetNumberOfLines(), 4U);
    EXPECT_FALSE(BufferSeam::OwnsMemory(buffer));
}

TEST(AlignedMemoryBufferTest, NullMemoryIsAllocated) {
    unsigned char* const none = nullptr;
    const AlignedMemoryBuffer line(none, 100, 16, kNoAliasWorkAround);
    ASSERT_NE(line.GetAlignedPointer(), nullptr);
    EXPECT_TRUE(BufferSeam::OwnsMemory(line));
    const AlignedMemoryBuffer lines(none, 100, 10, 16, 16, kNoAliasWorkAround);
    ASSERT_NE(lines.GetAlignedPointer(), nullptr);
    EXPECT_TRUE(BufferSeam::OwnsMemory(lines));
    EXPECT_EQ(lines.GetPitch(), 112U);
}

// --- callbacks

TEST(AlignedMemoryBufferTest, CallbacksGetTheFinalSizeAndAlignments) {
    Host host;
    {
        const AlignedMemoryBuffer line(&host, Host::Alloc, Host::Free, 100, 16, kNoAliasWorkAround);
        EXPECT_TRUE(BufferSeam::OwnsMemory(line));
        EXPECT_EQ(BufferSeam::AllocatorContext(line), &host);
        EXPECT_EQ(BufferSeam::FreeCallback(line), &Host::Free);
    }
    ASSERT_EQ(host.requests.size(), 1U);
    EXPECT_EQ(host.requests[0].totalSize, 127U);
    EXPECT_EQ(host.requests[0].bufferAlignment, 16U);
    EXPECT_EQ(host.requests[0].lineAlignment, 1U);
    {
        const AlignedMemoryBuffer lines(&host, Host::Alloc, Host::Free, 100, 10, 32, 16, kNoAliasWorkAround);
        EXPECT_EQ(lines.GetPitch(), 112U);
        EXPECT_EQ(lines.size(), 1120U);
    }
    ASSERT_EQ(host.requests.size(), 2U);
    EXPECT_EQ(host.requests[1].totalSize, 1151U);  // 1120 = 35 * 32: 1120 + 31
    EXPECT_EQ(host.requests[1].bufferAlignment, 32U);
    EXPECT_EQ(host.requests[1].lineAlignment, 16U);
}

TEST(AlignedMemoryBufferTest, CallbackNeedNotAlignAndGetsBackWhatItGave) {
    Host host;
    host.offset = 3;
    {
        const AlignedMemoryBuffer buffer(&host, Host::Alloc, Host::Free, 100, 10, 64, 64, kNoAliasWorkAround);
        EXPECT_EQ(BufferSeam::RawPointer(buffer), host.given);
        EXPECT_EQ(AddressOf(buffer.GetAlignedPointer()) % 64, 0U);
        EXPECT_GE(buffer.GetAlignedPointer(), host.given);
        EXPECT_LT(buffer.GetAlignedPointer(), host.given + 64);
        EXPECT_TRUE(host.freed.empty());
    }
    EXPECT_EQ(host.freed, (std::vector<void*>{host.given}));
}

TEST(AlignedMemoryBufferTest, CallbackThatGivesNothingLeavesTheBufferEmpty) {
    Host host;
    host.refuses = true;
    {
        const AlignedMemoryBuffer buffer(&host, Host::Alloc, Host::Free, 100, 10, 16, 16, kNoAliasWorkAround);
        ExpectEmpty(buffer);
    }
    EXPECT_EQ(host.requests.size(), 1U);
    EXPECT_TRUE(host.freed.empty());
}

TEST(AlignedMemoryBufferTest, CallbackThatThrowsLeavesTheBufferEmpty) {
    Host host;
    const auto throws = [](void*, ULong32, ULong32, ULong32) -> unsigned char* { throw std::bad_alloc(); };
    ExpectEmpty(AlignedMemoryBuffer(&host, throws, Host::Free, 100, 10, 16, 16, kNoAliasWorkAround));
    EXPECT_TRUE(host.freed.empty());
}

TEST(AlignedMemoryBufferTest, WrappedMemoryAtTheEndOfTheAddressSpaceLeavesTheBufferEmpty) {
    auto* const last = reinterpret_cast<unsigned char*>(~std::uintptr_t{0});
    ExpectEmpty(AlignedMemoryBuffer(last, 1, 16, kNoAliasWorkAround));
}

TEST(AlignedMemoryBufferTest, CallbacksMustAllBeThere) {
    Host host;
    ExpectEmpty(AlignedMemoryBuffer(nullptr, Host::Alloc, Host::Free, 100, 16, kNoAliasWorkAround));
    ExpectEmpty(AlignedMemoryBuffer(&host, nullptr, Host::Free, 100, 16, kNoAliasWorkAround));
    ExpectEmpty(AlignedMemoryBuffer(&host, Host::Alloc, nullptr, 100, 16, kNoAliasWorkAround));
    ExpectEmpty(AlignedMemoryBuffer(nullptr, Host::Alloc, Host::Free, 100, 10, 16, 16, kNoAliasWorkAround));
    ExpectEmpty(AlignedMemoryBuffer(&host, nullptr, Host::Free, 100, 10, 16, 16, kNoAliasWorkAround));
    ExpectEmpty(AlignedMemoryBuffer(&host, Host::Alloc, nullptr, 100, 10, 16, 16, kNoAliasWorkAround));
    EXPECT_TRUE(host.requests.empty());
    EXPECT_TRUE(host.freed.empty());
}

}  // namespace
}  // namespace Zan
