// Starts that lie apart in the cache, and the reserve that they take.

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "foundation/BufferChecks.h"
#include "foundation/BufferSeam.h"
#include "foundation/CapabilitySeam.h"
#include "foundation/ClassCapabilities.h"

namespace Zan {
namespace {

using namespace buffer_test;

/// Turns the workaround on, with a known state, and puts everything back.
class WorkAroundOn {
public:
    explicit WorkAroundOn(ULong32 offset = 0x400) : offsetBefore(BufferSeam::NextStartOffset()) {
        AlignedMemoryBuffer::SetEnable64KBaliasingWorkAround(true);
        BufferSeam::NextStartOffset() = offset;
    }
    ~WorkAroundOn() {
        AlignedMemoryBuffer::SetEnable64KBaliasingWorkAround(false);
        BufferSeam::NextStartOffset() = offsetBefore;
    }

private:
    ULong32 offsetBefore;
};

class AliasWorkAroundTest : public testing::Test {
protected:
    AliasWorkAroundTest() : before(Record().WhichInstructionSetIsSupported()) {
        CapabilitySeam::SetInstructionSet(Record(), kSSE2);
    }
    ~AliasWorkAroundTest() override { CapabilitySeam::SetInstructionSet(Record(), before); }

    static CPUcapabilities& Record() { return classCapabilities[kOwnerAlignedMemoryBuffer]; }

private:
    CPUinstructionSetEnum before;
};

TEST_F(AliasWorkAroundTest, AddsTheReserveAndDisplacesTheStart) {
    const WorkAroundOn on;
    Host host;
    const AlignedMemoryBuffer buffer(&host, Host::Alloc, Host::Free, 100, 10, 16, 16, kNoAliasWorkAround);
    EXPECT_EQ(buffer.GetPitch(), 112U);
    EXPECT_EQ(buffer.size(), 1120U + 0x10000U);
    ASSERT_EQ(host.requests.size(), 1U);
    // The size is that of the alignment asked for, 16: 66656 is 4166 * 16.
    EXPECT_EQ(host.requests[0].totalSize, 66656U + 15U);
    EXPECT_EQ(buffer.GetTotalSize(), 66671U);
    EXPECT_EQ(host.requests[0].bufferAlignment, 1024U);
    EXPECT_EQ(host.requests[0].lineAlignment, 16U);
    EXPECT_EQ(AddressOf(buffer.GetAlignedPointer()) % 1024, 0U);
    EXPECT_EQ(BufferSeam::NextStartOffset(), 2048U);
}

TEST_F(AliasWorkAroundTest, OffsetWalksFrom1024To64512AndStartsAgain) {
    const WorkAroundOn on;
    for (int round = 0; round < 2; ++round) {
        for (ULong32 offset = 1024; offset <= 64512; offset += 1024) {
            ASSERT_EQ(BufferSeam::NextStartOffset(), offset);
            Host host;
            const AlignedMemoryBuffer buffer(&host, Host::Alloc, Host::Free, 100, 10, 16, 16,
                                             kNoAliasWorkAround);
            ASSERT_EQ(host.requests.size(), 1U);
            EXPECT_EQ(host.requests[0].bufferAlignment, offset);
            EXPECT_EQ(AddressOf(buffer.GetAlignedPointer()) % offset, 0U);
            EXPECT_GE(buffer.GetBufferAlignment(), offset);
            // The pixels stay inside the block whatever the displacement.
            EXPECT_LE(buffer.GetAlignedPointer() + buffer.GetPixelBytes(),
                      host.given + buffer.GetTotalSize());
            EXPECT_EQ(buffer.GetPixelBytes(), 1120U);
        }
    }
    EXPECT_EQ(BufferSeam::NextStartOffset(), 1024U);
}

TEST_F(AliasWorkAroundTest, OneLineWithTheReserve) {
    const WorkAroundOn on;
    // 65636 = 4102 * 16 + 4: 65636 + 32 - 4 - 1.
    const AlignedMemoryBuffer buffer(100, 16, kNoAliasWorkAround);
    EXPECT_EQ(buffer.size(), 65636U);
    EXPECT_EQ(buffer.GetTotalSize(), 65663U);
    EXPECT_EQ(buffer.GetPitch(), 0U);
    EXPECT_EQ(AddressOf(buffer.GetAlignedPointer()) % 1024, 0U);
    EXPECT_EQ(BufferSeam::NextStartOffset(), 2048U) << "line alignment 1 does not hold it back";
}

TEST_F(AliasWorkAroundTest, AppliesOnlyToAlignmentsThatDivide1024) {
    const WorkAroundOn on;
    for (const ULong32 alignment : {3U, 48U, 2048U, 4096U}) {
        const AlignedMemoryBuffer buffer(100, 10, alignment, 1, kAliasWorkAround);
        EXPECT_EQ(buffer.size(), 1000U) << alignment;
        EXPECT_EQ(BufferSeam::NextStartOffset(), 1024U) << alignment;
    }
    ULong32 expected = 1024;
    for (const ULong32 alignment : {2U, 64U, 512U, 1024U}) {
        const AlignedMemoryBuffer buffer(100, 10, alignment, 1, kAliasWorkAround);
        EXPECT_EQ(buffer.size(), 1000U + 0x10000U) << alignment;
        EXPECT_EQ(AddressOf(buffer.GetAlignedPointer()) % expected, 0U) << alignment;
        expected += 1024;
        EXPECT_EQ(BufferSeam::NextStartOffset(), expected) << alignment;
    }
}

TEST_F(AliasWorkAroundTest, UnalignedRequestsKeepTheirStart) {
    const WorkAroundOn on;
    Host host;
    const AlignedMemoryBuffer buffer(&host, Host::Alloc, Host::Free, 100, 10, 1, 1, kAliasWorkAround);
    EXPECT_EQ(buffer.size(), 1000U + 0x10000U);
    EXPECT_EQ(host.requests.at(0).bufferAlignment, 1U);
    EXPECT_EQ(BufferSeam::NextStartOffset(), 1024U);
}

TEST_F(AliasWorkAroundTest, WithoutSSE2OnlyTheReserveIsAdded) {
    const WorkAroundOn on;
    CapabilitySeam::SetInstructionSet(Record(), kSIMD);
    Host host;
    const AlignedMemoryBuffer buffer(&host, Host::Alloc, Host::Free, 100, 10, 16, 16, kAliasWorkAround);
    EXPECT_EQ(buffer.size(), 1120U + 0x10000U);
    EXPECT_EQ(host.requests.at(0).bufferAlignment, 16U);
    EXPECT_EQ(BufferSeam::NextStartOffset(), 1024U);
}

TEST_F(AliasWorkAroundTest, OffsetThatIsNoMultipleOfTheAlignmentOnlyAdvances) {
    const WorkAroundOn on;
    AlignedMemoryBuffer any(8, 8, kNoAliasWorkAround);
    BufferSeam::NextStartOffset() = 1024;
    ULong32 alignment = 2048;
    BufferSeam::AdjustBufferAlignment(any, alignment, 16);
    EXPECT_EQ(alignment, 2048U) << "1024 is below it";
    EXPECT_EQ(BufferSeam::NextStartOffset(), 2048U);
    BufferSeam::AdjustBufferAlignment(any, alignment, 16);
    EXPECT_EQ(alignment, 2048U);
    EXPECT_EQ(BufferSeam::NextStartOffset(), 3072U);
    BufferSeam::AdjustBufferAlignment(any, alignment, 16);
    EXPECT_EQ(alignment, 2048U) << "3072 is no multiple of it";
    EXPECT_EQ(BufferSeam::NextStartOffset(), 4096U);
    BufferSeam::AdjustBufferAlignment(any, alignment, 16);
    EXPECT_EQ(alignment, 4096U);
    EXPECT_EQ(BufferSeam::NextStartOffset(), 5120U);
}

TEST_F(AliasWorkAroundTest, BuffersAreMadeOnManyThreads) {
    const WorkAroundOn on;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int i = 0; i < 200; ++i) {
                const AlignedMemoryBuffer buffer(100, 10, 16, 16, kNoAliasWorkAround);
                EXPECT_EQ(buffer.size(), 1120U + 0x10000U);
                EXPECT_EQ(AddressOf(buffer.GetAlignedPointer()) % 1024, 0U);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(BufferSeam::NextStartOffset() % 1024, 0U);
    EXPECT_GE(BufferSeam::NextStartOffset(), 1024U);
    EXPECT_LE(BufferSeam::NextStartOffset(), 64512U);
}

TEST_F(AliasWorkAroundTest, EveryConstructorAsksTheSettingAndNotItsArgument) {
    const WorkAroundOn on;
    const auto memory = std::make_unique<unsigned char[]>(0x30000);
    Host host;
    const AlignedMemoryBuffer a(100, 16, kNoAliasWorkAround);
    const AlignedMemoryBuffer b(100, 1, 16, 1, kNoAliasWorkAround);
    const AlignedMemoryBuffer c(memory.get(), 100, 16, kNoAliasWorkAround);
    const AlignedMemoryBuffer d(memory.get(), 100, 1, 16, 1, kNoAliasWorkAround);
    const AlignedMemoryBuffer e(&host, Host::Alloc, Host::Free, 100, 16, kNoAliasWorkAround);
    EXPECT_EQ(a.size(), 65636U);
    EXPECT_EQ(b.size(), 65636U);
    EXPECT_EQ(c.size(), 65636U);
    EXPECT_EQ(d.size(), 65636U);
    EXPECT_EQ(e.size(), 65636U);
    AlignedMemoryBuffer::SetEnable64KBaliasingWorkAround(false);
    const AlignedMemoryBuffer off(100, 16, kAliasWorkAround);
    EXPECT_EQ(off.size(), 100U);
}

TEST(AlignedMemoryBufferTest, ReserveThatDoesNotFit32BitsLeavesABufferEmpty) {
    const WorkAroundOn on;
    Host host;
    ExpectEmpty(AlignedMemoryBuffer(&host, Host::Alloc, Host::Free, 0xFFFF8000, 16, kAliasWorkAround));
    EXPECT_TRUE(host.requests.empty());
}

}  // namespace
}  // namespace Zan
