// Who holds the memory of a buffer, and when it is released.

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "foundation/BufferChecks.h"
#include "foundation/BufferSeam.h"

namespace Zan {
namespace {

using namespace buffer_test;

TEST(AlignedMemoryBufferTest, LastReferenceReleasesTheMemory) {
    Host host;
    {
        const Tuk::RCPtr<AlignedMemoryBuffer> first(
            new AlignedMemoryBuffer(&host, Host::Alloc, Host::Free, 100, 16, kNoAliasWorkAround));
        {
            const Tuk::RCPtr<AlignedMemoryBuffer> second(first);
            EXPECT_TRUE(first->IsShared());
        }
        EXPECT_TRUE(host.freed.empty());
    }
    EXPECT_EQ(host.freed.size(), 1U);
}

void ExpectSameMemory(const AlignedMemoryBuffer& copy, const AlignedMemoryBuffer& original) {
    EXPECT_EQ(BufferSeam::RawPointer(copy), BufferSeam::RawPointer(original));
    EXPECT_EQ(BufferSeam::OwnsMemory(copy), BufferSeam::OwnsMemory(original));
    EXPECT_EQ(BufferSeam::AllocatorContext(copy), BufferSeam::AllocatorContext(original));
    EXPECT_EQ(BufferSeam::FreeCallback(copy), BufferSeam::FreeCallback(original));
    EXPECT_EQ(copy.GetAlignedPointer(), original.GetAlignedPointer());
    EXPECT_EQ(copy.GetBufferAlignment(), original.GetBufferAlignment());
    EXPECT_EQ(copy.GetLineAlignment(), original.GetLineAlignment());
    EXPECT_EQ(copy.GetTotalSize(), original.GetTotalSize());
    EXPECT_EQ(copy.size(), original.size());
    EXPECT_EQ(copy.GetPitch(), original.GetPitch());
    EXPECT_EQ(copy.GetNumberOfLines(), original.GetNumberOfLines());
}

TEST(AlignedMemoryBufferTest, CopiesAreShallow) {
    Host host;
    {
        const AlignedMemoryBuffer original(&host, Host::Alloc, Host::Free, 100, 10, 32, 16,
                                           kNoAliasWorkAround);
        {
            const AlignedMemoryBuffer copy(original);
            ExpectSameMemory(copy, original);
            AlignedMemoryBuffer assigned(0, 1, 2, 4, kNoAliasWorkAround);
            assigned = original;
            ExpectSameMemory(assigned, original);
        }
        EXPECT_TRUE(host.freed.empty());
    }
    EXPECT_EQ(host.requests.size(), 1U);
    EXPECT_EQ(host.freed, std::vector<void*>{host.given});
}

TEST(AlignedMemoryBufferTest, TheLastCopyReleases) {
    Host host;
    auto original = std::make_unique<AlignedMemoryBuffer>(&host, Host::Alloc, Host::Free, 100, 10, 32, 16,
                                                          kNoAliasWorkAround);
    const Tuk::RCPtr<AlignedMemoryBuffer> copy(new AlignedMemoryBuffer(*original));
    original.reset();
    EXPECT_TRUE(host.freed.empty());
    copy->GetAlignedPointer()[copy->size() - 1] = 1;

    AlignedMemoryBuffer last(*copy);
    last = *copy;
    AlignedMemoryBuffer& itself = last;
    last = itself;
    EXPECT_TRUE(host.freed.empty());
}

TEST(AlignedMemoryBufferTest, AssignmentLetsGoOfTheOldMemory) {
    Host first;
    Host second;
    AlignedMemoryBuffer buffer(&first, Host::Alloc, Host::Free, 100, 16, kNoAliasWorkAround);
    {
        const AlignedMemoryBuffer other(&second, Host::Alloc, Host::Free, 200, 16, kNoAliasWorkAround);
        buffer = other;
        EXPECT_EQ(first.freed, std::vector<void*>{first.given});
    }
    EXPECT_TRUE(second.freed.empty());
    EXPECT_EQ(buffer.size(), 200U);

    unsigned char memory[64];
    buffer = AlignedMemoryBuffer(memory, 64, 1, kNoAliasWorkAround);
    EXPECT_EQ(second.freed, std::vector<void*>{second.given});
    EXPECT_EQ(buffer.GetAlignedPointer(), memory);
    EXPECT_FALSE(BufferSeam::OwnsMemory(buffer));
}

TEST(AlignedMemoryBufferTest, CopiesOfAllocatedMemory) {
    const AlignedMemoryBuffer original(100, 10, 32, 16, kNoAliasWorkAround);
    std::vector<AlignedMemoryBuffer> copies(3, original);
    copies.push_back(AlignedMemoryBuffer(50, 16, kNoAliasWorkAround));
    copies.erase(copies.begin());
    EXPECT_EQ(copies[0].GetAlignedPointer(), original.GetAlignedPointer());
    EXPECT_EQ(copies[2].size(), 50U);
}

TEST(AlignedMemoryBufferTest, CopiesDoNotTakeTheReferenceCount) {
    unsigned char memory[64];
    const Tuk::RCPtr<AlignedMemoryBuffer> original(
        new AlignedMemoryBuffer(memory, 64, 1, kNoAliasWorkAround));
    const Tuk::RCPtr<AlignedMemoryBuffer> again(original);
    ASSERT_TRUE(original->IsShared());
    AlignedMemoryBuffer copy(*original);
    EXPECT_FALSE(copy.IsShared());
    copy = *original;
    EXPECT_FALSE(copy.IsShared());
}

}  // namespace
}  // namespace Zan
