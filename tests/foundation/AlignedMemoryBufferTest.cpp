#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <thread>
#include <type_traits>
#include <vector>

#include "foundation/BufferSeam.h"
#include "foundation/CapabilitySeam.h"
#include "foundation/ClassCapabilities.h"

namespace Zan {
namespace {

std::uintptr_t AddressOf(const void* pointer) {
    return reinterpret_cast<std::uintptr_t>(pointer);
}

/// The largest power of two that divides `number`; 0 is divided by all, so that `limit` answers.
ULong32 PowerOfTwoIn(std::uintptr_t number, ULong32 limit = 0x80000000U) {
    ULong32 power = 1;
    while (power < limit && number % (std::uintptr_t{power} * 2) == 0) {
        power *= 2;
    }
    return power;
}

void ExpectEmpty(const AlignedMemoryBuffer& buffer) {
    EXPECT_EQ(buffer.GetAlignedPointer(), nullptr);
    EXPECT_EQ(BufferSeam::RawPointer(buffer), nullptr);
    EXPECT_EQ(buffer.GetTotalSize(), 0U);
    EXPECT_EQ(buffer.size(), 0U);
    EXPECT_EQ(buffer.GetPitch(), 0U);
    EXPECT_EQ(buffer.GetNumberOfLines(), 0U);
    EXPECT_FALSE(BufferSeam::OwnsMemory(buffer));
    EXPECT_EQ(buffer.GetBufferAlignment(), 1U);
    EXPECT_EQ(buffer.GetLineAlignment(), 1U);
}

/// A host's allocator that keeps account. `offset` moves what it gives away from alignment.
struct Host {
    struct Request {
        ULong32 totalSize, bufferAlignment, lineAlignment;
    };
    std::vector<Request> requests;
    std::vector<void*> freed;
    std::unique_ptr<unsigned char[]> memory;
    std::size_t offset = 0;
    bool refuses = false;
    unsigned char* given = nullptr;

    static unsigned char* Alloc(void* context, ULong32 totalSize, ULong32 bufferAlignment,
                                ULong32 lineAlignment) {
        Host& host = *static_cast<Host*>(context);
        host.requests.push_back({totalSize, bufferAlignment, lineAlignment});
        if (host.refuses) {
            return nullptr;
        }
        host.memory = std::make_unique<unsigned char[]>(totalSize + host.offset + 1);
        host.given = host.memory.get() + host.offset;
        return host.given;
    }
    static void Free(void* context, void* memory) { static_cast<Host*>(context)->freed.push_back(memory); }
};

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

static_assert(std::is_base_of_v<Tuk::RCObject, AlignedMemoryBuffer>);
static_assert(std::has_virtual_destructor_v<AlignedMemoryBuffer>);
static_assert(kNoAliasWorkAround == 0 && kAliasWorkAround == 1 && sizeof(WorkAround64KaliasEnum) == 4);

// --- sizes

TEST(AlignedMemoryBufferTest, LinesArePaddedAndTheSizeCoversWholeUnits) {
    const AlignedMemoryBuffer buffer(100, 10, 16, 16, kNoAliasWorkAround);
    ASSERT_NE(buffer.GetAlignedPointer(), nullptr);
    EXPECT_EQ(AddressOf(buffer.GetAlignedPointer()) % 16, 0U);
    EXPECT_EQ(buffer.GetPitch(), 112U);
    EXPECT_EQ(buffer.size(), 1120U);
    EXPECT_EQ(buffer.GetTotalSize(), 1135U);
    EXPECT_EQ(buffer.GetNumberOfLines(), 10U);
    EXPECT_TRUE(BufferSeam::OwnsMemory(buffer));
}

TEST(AlignedMemoryBufferTest, SizeThatIsNoWholeNumberOfUnits) {
    // 100 = 6 * 16 + 4: 100 + 2 * 16 - 4 - 1.
    const AlignedMemoryBuffer buffer(100, 16, kNoAliasWorkAround);
    EXPECT_EQ(buffer.size(), 100U);
    EXPECT_EQ(buffer.GetTotalSize(), 127U);
    // Ten lines of 100 on 4 bytes: 1000 = 62 * 16 + 8: 1000 + 32 - 8 - 1.
    const AlignedMemoryBuffer lines(100, 10, 16, 4, kNoAliasWorkAround);
    EXPECT_EQ(lines.GetPitch(), 100U);
    EXPECT_EQ(lines.size(), 1000U);
    EXPECT_EQ(lines.GetTotalSize(), 1023U);
}

TEST(AlignedMemoryBufferTest, WholeUnitsLieInsideTheBlock) {
    for (const ULong32 alignment : {1U, 2U, 3U, 16U, 48U, 64U, 4096U}) {
        for (ULong32 size = 1; size < 300; size += 7) {
            const AlignedMemoryBuffer buffer(size, alignment, kNoAliasWorkAround);
            const unsigned char* const blockEnd = BufferSeam::RawPointer(buffer) + buffer.GetTotalSize();
            const ULong32 units = (size + alignment - 1) / alignment;
            EXPECT_LE(buffer.GetAlignedPointer() + std::size_t{units} * alignment, blockEnd)
                << size << " bytes on " << alignment;
            EXPECT_EQ(AddressOf(buffer.GetAlignedPointer()) % alignment, 0U);
        }
    }
}

TEST(AlignedMemoryBufferTest, AlignmentsNeedNotBePowersOfTwo) {
    // Lines of 50 on 12 take 60; 180 = 3 * 48 + 36: 180 + 96 - 36 - 1.
    const AlignedMemoryBuffer buffer(50, 3, 48, 12, kNoAliasWorkAround);
    ASSERT_NE(buffer.GetAlignedPointer(), nullptr);
    EXPECT_EQ(AddressOf(buffer.GetAlignedPointer()) % 48, 0U);
    EXPECT_EQ(buffer.GetPitch(), 60U);
    EXPECT_EQ(buffer.size(), 180U);
    EXPECT_EQ(buffer.GetTotalSize(), 239U);
}

TEST(AlignedMemoryBufferTest, AlignmentOf0CountsAs1) {
    const AlignedMemoryBuffer line(7, 0, kNoAliasWorkAround);
    ASSERT_NE(line.GetAlignedPointer(), nullptr);
    EXPECT_EQ(line.size(), 7U);
    EXPECT_EQ(line.GetTotalSize(), 7U);
    const AlignedMemoryBuffer lines(7, 3, 0, 0, kNoAliasWorkAround);
    ASSERT_NE(lines.GetAlignedPointer(), nullptr);
    EXPECT_EQ(lines.GetPitch(), 7U);
    EXPECT_EQ(lines.GetTotalSize(), 21U);
    // Lines on 8 cannot start on a buffer that is aligned to 1.
    ExpectEmpty(AlignedMemoryBuffer(7, 3, 0, 8, kNoAliasWorkAround));
}

TEST(AlignedMemoryBufferTest, WithTheWorkAroundOffTheSizeIsPitchTimesLines) {
    ASSERT_FALSE(BufferSeam::IsWorkAroundEnabled()) << "off by default";
    EXPECT_EQ(BufferSeam::Reserve(), 0x10000U);
    for (const WorkAround64KaliasEnum ignored : {kNoAliasWorkAround, kAliasWorkAround}) {
        const AlignedMemoryBuffer buffer(101, 7, 64, 32, ignored);
        EXPECT_EQ(buffer.size(), buffer.GetPitch() * buffer.GetNumberOfLines());
        EXPECT_EQ(buffer.size(), 128U * 7U);
        EXPECT_EQ(buffer.GetPixelBytes(), buffer.size());
    }
}

// --- lines

TEST(AlignedMemoryBufferTest, OneLineHasNoPitch) {
    const AlignedMemoryBuffer one(100, 1, 32, 16, kNoAliasWorkAround);
    EXPECT_EQ(one.GetPitch(), 0U);
    EXPECT_EQ(one.GetNumberOfLines(), 1U);
    EXPECT_EQ(one.size(), 112U);
    const AlignedMemoryBuffer plain(100, 32, kNoAliasWorkAround);
    EXPECT_EQ(plain.GetPitch(), 0U);
    EXPECT_EQ(plain.GetNumberOfLines(), 1U);
    EXPECT_EQ(plain.size(), 100U);
}

TEST(AlignedMemoryBufferTest, OneLineIsNotPadded) {
    unsigned char memory[16];
    Host host;
    const AlignedMemoryBuffer allocated(7, 3, kNoAliasWorkAround);
    const AlignedMemoryBuffer wrapped(memory, 7, 3, kNoAliasWorkAround);
    const AlignedMemoryBuffer called(&host, Host::Alloc, Host::Free, 7, 3, kNoAliasWorkAround);
    for (const AlignedMemoryBuffer* buffer : {&allocated, &wrapped, &called}) {
        EXPECT_EQ(buffer->size(), 7U);
        EXPECT_EQ(buffer->GetTotalSize(), 11U);  // 7 = 2 * 3 + 1: 7 + 6 - 1 - 1
        EXPECT_EQ(AddressOf(buffer->GetAlignedPointer()) % 3, 0U);
    }
}

TEST(AlignedMemoryBufferTest, NoLinesTakeNoBytes) {
    const AlignedMemoryBuffer buffer(100, 0, 16, 16, kNoAliasWorkAround);
    EXPECT_EQ(buffer.size(), 0U);
    EXPECT_EQ(buffer.GetPitch(), 0U);
    EXPECT_EQ(buffer.GetNumberOfLines(), 0U);
}

// --- refusals

TEST(AlignedMemoryBufferTest, BufferAlignmentMustBeAMultipleOfLineAlignment) {
    ExpectEmpty(AlignedMemoryBuffer(100, 10, 16, 32, kNoAliasWorkAround));
    ExpectEmpty(AlignedMemoryBuffer(100, 10, 48, 32, kNoAliasWorkAround));
    unsigned char memory[64];
    ExpectEmpty(AlignedMemoryBuffer(memory, 8, 2, 16, 32, kNoAliasWorkAround));
    Host host;
    ExpectEmpty(AlignedMemoryBuffer(&host, Host::Alloc, Host::Free, 100, 10, 16, 32, kNoAliasWorkAround));
    EXPECT_TRUE(host.requests.empty());
    EXPECT_TRUE(host.freed.empty());
}

TEST(AlignedMemoryBufferTest, SizesBeyond32BitsLeaveABufferEmpty) {
    ExpectEmpty(AlignedMemoryBuffer(0x10000, 0x10000, 1, 1, kNoAliasWorkAround));       // the product
    ExpectEmpty(AlignedMemoryBuffer(0x10001, 0xFFFF, 0x10000, 1, kNoAliasWorkAround));  // the units
    ExpectEmpty(AlignedMemoryBuffer(0xFFFFFFFF, 1, 16, 16, kNoAliasWorkAround));        // the padding
    ExpectEmpty(AlignedMemoryBuffer(0xFFFFFFF9, 1, 8, 8, kNoAliasWorkAround));
    ExpectEmpty(AlignedMemoryBuffer(0xFFFFFFFF, 16, kNoAliasWorkAround));
    ExpectEmpty(AlignedMemoryBuffer(0xFFFFFFFF, 0xFFFFFFFF, 0x80000000, 0x80000000, kNoAliasWorkAround));
    ExpectEmpty(
        AlignedMemoryBuffer(0x80000000, 3, 1, 1, kNoAliasWorkAround));  // wraps to something plausible

    unsigned char memory[16];
    ExpectEmpty(AlignedMemoryBuffer(memory, 0x10000, 0x10000, 1, 1, kNoAliasWorkAround));
    Host host;
    ExpectEmpty(
        AlignedMemoryBuffer(&host, Host::Alloc, Host::Free, 0x10000, 0x10000, 1, 1, kNoAliasWorkAround));
    EXPECT_TRUE(host.requests.empty());
}

TEST(AlignedMemoryBufferTest, ReserveThatDoesNotFit32BitsLeavesABufferEmpty) {
    const WorkAroundOn on;
    Host host;
    ExpectEmpty(AlignedMemoryBuffer(&host, Host::Alloc, Host::Free, 0xFFFF8000, 16, kAliasWorkAround));
    EXPECT_TRUE(host.requests.empty());
}

TEST(AlignedMemoryBufferTest, CreationTellsWhy) {
    AlignedMemoryBuffer fine(0, 1, 2, 4, kNoAliasWorkAround);
    EXPECT_EQ(BufferSeam::CreateNew(fine, 32, 16, nullptr, 100, 10), 0);
    EXPECT_EQ(fine.size(), 1120U);
    AlignedMemoryBuffer misaligned(0, 1, 2, 4, kNoAliasWorkAround);
    EXPECT_EQ(BufferSeam::CreateNew(misaligned, 16, 32, nullptr, 100, 10), -1);
    ExpectEmpty(misaligned);
    AlignedMemoryBuffer huge(0, 1, 2, 4, kNoAliasWorkAround);
    EXPECT_EQ(BufferSeam::CreateNew(huge, 1, 1, nullptr, 0xFFFFFFFF, 0xFFFFFFFF), -2);
    ExpectEmpty(huge);
}

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

// --- measured alignments

TEST(AlignedMemoryBufferTest, GettersReportWhatWasAchieved) {
    alignas(4096) static unsigned char memory[8192];
    const struct {
        std::size_t offset;
        ULong32 bytesPerLine, lines, bufferAlignment, lineAlignment;
        ULong32 measuredBuffer, measuredLine;
    } rows[] = {
        {64, 96, 4, 1, 1, 64, 32},     // the pitch is 3 * 32
        {64, 128, 4, 16, 16, 64, 64},  // the pointer limits
        {256, 100, 4, 1, 1, 256, 4},   // the pitch limits
        {256, 101, 4, 1, 1, 256, 1},   // an odd pitch
        {3, 100, 4, 1, 1, 1, 1},       // an odd pointer
        {32, 100, 1, 1, 1, 32, 32},    // one line: the pointer alone counts
        {2048, 100, 1, 8, 8, 2048, 2048},
    };
    for (const auto& row : rows) {
        const AlignedMemoryBuffer buffer(memory + row.offset, row.bytesPerLine, row.lines,
                                         row.bufferAlignment, row.lineAlignment, kNoAliasWorkAround);
        EXPECT_EQ(buffer.GetBufferAlignment(), row.measuredBuffer) << "row " << (&row - rows);
        EXPECT_EQ(buffer.GetLineAlignment(), row.measuredLine) << "row " << (&row - rows);
    }
}

TEST(AlignedMemoryBufferTest, RequestsThatAreNoPowersOfTwoStandIfLarger) {
    // A multiple of 48 with no more than 16 in it: the request is larger than the power of two.
    alignas(4096) static unsigned char memory[8192];
    const std::uintptr_t base = AddressOf(memory);
    std::size_t offset = 0;
    while ((base + offset) % 48 != 0 || PowerOfTwoIn(base + offset) != 16) {
        ++offset;
    }
    const AlignedMemoryBuffer buffer(memory + offset, 40, 3, 48, 12, kNoAliasWorkAround);
    EXPECT_EQ(buffer.GetAlignedPointer(), memory + offset);
    EXPECT_EQ(buffer.GetPitch(), 48U);
    EXPECT_EQ(buffer.GetBufferAlignment(), 48U);
    EXPECT_EQ(buffer.GetLineAlignment(), 16U);
    const AlignedMemoryBuffer odd(memory + offset, 40, 3, 48, 24, kNoAliasWorkAround);
    EXPECT_EQ(odd.GetLineAlignment(), 24U) << "16 is what divides, 24 was asked for";
}

TEST(AlignedMemoryBufferTest, AllocatedMemoryIsMeasuredToo) {
    const AlignedMemoryBuffer buffer(100, 10, 16, 4, kNoAliasWorkAround);
    const std::uintptr_t address = AddressOf(buffer.GetAlignedPointer());
    EXPECT_EQ(buffer.GetBufferAlignment(), PowerOfTwoIn(address));
    EXPECT_EQ(buffer.GetLineAlignment(), 4U);
}

// --- the aliasing workaround

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

// --- ownership

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
