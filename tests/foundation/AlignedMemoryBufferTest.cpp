// Sizes, lines and alignments of buffers, and what is refused.

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

#include "foundation/BufferChecks.h"
#include "foundation/BufferSeam.h"

namespace Zan {
namespace {

using namespace buffer_test;

/// The largest power of two that divides `number`; 0 is divided by all, so that `limit` answers.
ULong32 PowerOfTwoIn(std::uintptr_t number, ULong32 limit = 0x80000000U) {
    ULong32 power = 1;
    while (power < limit && number % (std::uintptr_t{power} * 2) == 0) {
        power *= 2;
    }
    return power;
}

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
    EXPECT_EQ(BufferSeam::NextStartOffset(), 0x400U) << "the first displacement, which nothing has used";
    for (const WorkAround64KaliasEnum ignored : {kNoAliasWorkAround, kAliasWorkAround}) {
        const AlignedMemoryBuffer buffer(101, 7, 64, 32, ignored);
        EXPECT_EQ(buffer.size(), buffer.GetPitch() * buffer.GetNumberOfLines());
        EXPECT_EQ(buffer.size(), 128U * 7U);
        EXPECT_EQ(buffer.GetPixelBytes(), buffer.size());
    }
    EXPECT_EQ(BufferSeam::NextStartOffset(), 0x400U);
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

}  // namespace
}  // namespace Zan
