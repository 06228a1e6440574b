#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "image/Formats.h"
#include "image/ViewPlane.h"

namespace Zan {
namespace {

using test::Alpha;
using test::Planar;
using test::Rgb24;
using test::Rgb32;
using test::Uyvy;

constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();

void ExpectHoldsNothing(const Plane& plane) {
    EXPECT_FALSE(plane.Holds(1, 1));
    EXPECT_EQ(plane.Clip(1, 0), 0U);
    EXPECT_EQ(plane.Clip(kHuge, 0), 0U);
}

TEST(ViewPlane, OfNothingIsEmpty) {
    ImageView none;
    Image noChannels(test::Format(8, 8, kColorSpace2, k4444, kBGRA), 64);
    Image noMemory(Rgb32(8, 8), 16, 32);
    ImageView onNoChannels(&noChannels);
    ImageView onNoMemory(&noMemory, Rectangle(1, 1, 2, 2), kUpperField);
    for (ImageView* view : {&none, &onNoChannels, &onNoMemory}) {
        const Plane plane = PlaneOf(*view, 0);
        EXPECT_EQ(plane.first, nullptr);
        EXPECT_EQ(plane.begin, plane.end);
        ExpectHoldsNothing(plane);
        ExpectHoldsNothing(PlaneOf(*view, 5));
    }
}

TEST(ViewPlane, IsWhatTheViewAnswers) {
    std::vector<unsigned char> memory(70 * 10);
    Image image(memory.data(), 70, Rgb24(20, 10), 1, 1);
    for (const OriginEnum origin : {kTopLeft, kBottomLeft}) {
        image.SetOrigin(origin);
        ImageView view(&image, Rectangle(3, 2, 10, 5), kFrame);
        const Plane plane = PlaneOf(view, 1);
        EXPECT_EQ(plane.first, view.GetMemoryPointer(1));
        EXPECT_EQ(plane.pitch, view.GetPitch(1));
        EXPECT_EQ(plane.begin, memory.data());
        EXPECT_EQ(plane.end, memory.data() + memory.size());
    }
    image.SetOrigin(kTopLeft);
    ImageView field(&image, Rectangle(0, 0, 20, 10), kLowerField);
    EXPECT_EQ(PlaneOf(field, 0).pitch, 140);
    EXPECT_EQ(PlaneOf(field, 0).first, memory.data() + 70);
}

TEST(ViewPlane, HoldsExactlyTheMemory) {
    std::vector<unsigned char> memory(70 * 10);
    Image image(memory.data(), 70, Rgb24(20, 10), 1, 1);
    ImageView view(&image);
    const Plane plane = PlaneOf(view, 0);
    EXPECT_TRUE(plane.Holds(60, 10));
    EXPECT_TRUE(plane.Holds(70, 10));
    EXPECT_FALSE(plane.Holds(71, 10));
    EXPECT_TRUE(plane.Holds(140, 9));
    EXPECT_FALSE(plane.Holds(141, 9));
    EXPECT_TRUE(plane.Holds(700, 1));
    EXPECT_FALSE(plane.Holds(701, 1));
    EXPECT_FALSE(plane.Holds(1, 11));
    EXPECT_TRUE(plane.Holds(0, 0));
    EXPECT_TRUE(plane.Holds(0, 10));
    EXPECT_TRUE(plane.Holds(kHuge, 0));
}

TEST(ViewPlane, HoldsWithANegativePitch) {
    std::vector<unsigned char> memory(70 * 10);
    ImageDescriptor format = Rgb24(20, 10);
    format.origin = kBottomLeft;
    Image image(memory.data(), 70, format, 1, 1);
    ImageView view(&image);
    const Plane plane = PlaneOf(view, 0);
    EXPECT_TRUE(plane.Holds(70, 10));
    EXPECT_FALSE(plane.Holds(71, 10)) << "the first row is the last of the memory";
    EXPECT_FALSE(plane.Holds(71, 1));
    EXPECT_FALSE(plane.Holds(1, 11));
    ImageView part(&image, Rectangle(2, 4, 10, 6), kFrame);
    EXPECT_TRUE(PlaneOf(part, 0).Holds(30, 6));
    EXPECT_FALSE(PlaneOf(part, 0).Holds(30, 7));
}

TEST(ViewPlane, HoldsAFieldOfATopLeftImage) {
    std::vector<unsigned char> memory(70 * 9);
    Image image(memory.data(), 70, Rgb24(20, 9), 1, 1);
    ImageView upper(&image, Rectangle(0, 0, 20, 9), kUpperField);
    EXPECT_TRUE(PlaneOf(upper, 0).Holds(70, 5));
    EXPECT_FALSE(PlaneOf(upper, 0).Holds(1, 6));
    ImageView lower(&image, Rectangle(0, 0, 20, 9), kLowerField);
    EXPECT_TRUE(PlaneOf(lower, 0).Holds(140, 4));
    EXPECT_FALSE(PlaneOf(lower, 0).Holds(1, 5));
}

TEST(ViewPlane, HoldsNoFieldOfABottomLeftImage) {
    ImageDescriptor format = Rgb32(20, 10);
    format.origin = kBottomLeft;
    Image image(format, 64);
    for (const WhichFieldEnum field : {kFirstField, kSecondField, kUpperField, kLowerField}) {
        ImageView view(&image, Rectangle(0, 0, 20, 10), field);
        const Plane plane = PlaneOf(view, 0);
        EXPECT_FALSE(plane.Holds(80, 5)) << field;
        EXPECT_EQ(plane.Clip(80, 0), 0U) << field;
    }
}

TEST(ViewPlane, HoldsNoLeftEdgeOutside) {
    std::vector<unsigned char> memory(64 * 4);
    Image image(memory.data(), 64, Uyvy(32, 4), 1, 1);
    ImageView view(&image, Rectangle(-3, 0, 10, 4), kFrame);
    ASSERT_EQ(view.GetRegionOfInterest().getLeft(), -4);
    const Plane plane = PlaneOf(view, 0);
    EXPECT_FALSE(plane.Holds(1, 1));
    EXPECT_FALSE(plane.Holds(14, 4));
    EXPECT_EQ(plane.Clip(14, 0), 0U);

    ImageView beyond(&image, Rectangle(1000, 0, 10, 4), kFrame);
    EXPECT_FALSE(PlaneOf(beyond, 0).Holds(1, 1));
}

TEST(ViewPlane, HoldsSeesThroughAnySize) {
    std::vector<unsigned char> memory(70 * 10);
    ImageDescriptor format = Rgb24(20, 10);
    for (const OriginEnum origin : {kTopLeft, kBottomLeft}) {
        format.origin = origin;
        Image image(memory.data(), 70, format, 1, 1);
        ImageView view(&image);
        const Plane plane = PlaneOf(view, 0);
        for (const std::size_t large :
             {kHuge, kHuge / 2, kHuge / 2 + 1, kHuge / 70, kHuge / 70 + 1, kHuge - 69}) {
            SCOPED_TRACE(large);
            EXPECT_FALSE(plane.Holds(large, 1));
            EXPECT_FALSE(plane.Holds(1, large));
            EXPECT_FALSE(plane.Holds(large, large));
            EXPECT_EQ(plane.Clip(1, large), 0U);
        }
    }
}

TEST(ViewPlane, RowsThatWouldWrapAroundTheAddressSpace) {
    std::vector<unsigned char> memory(64 * 8);
    ImageDescriptor format = Alpha(64, 8);
    for (const OriginEnum origin : {kTopLeft, kBottomLeft}) {
        format.origin = origin;
        Image image(memory.data(), 64, format, 1, 1);
        ImageView view(&image);
        const Plane plane = PlaneOf(view, 0);
        const std::size_t around = kHuge / 64 + 1;  // this many rows come back to the first one
        EXPECT_FALSE(plane.Holds(64, around + 1));
        EXPECT_FALSE(plane.Holds(1, around + 2));
        EXPECT_EQ(plane.Clip(64, around), 0U);
    }
}

TEST(ViewPlane, ClipsAtTheEndOfTheMemory) {
    std::vector<unsigned char> memory(70 * 10);
    Image image(memory.data(), 70, Rgb24(20, 10), 1, 1);
    ImageView view(&image, Rectangle(5, 0, 15, 10), kFrame);
    const Plane plane = PlaneOf(view, 0);
    EXPECT_EQ(plane.Clip(45, 0), 45U);
    EXPECT_EQ(plane.Clip(500, 0), 500U) << "only the memory clips, not the row";
    EXPECT_EQ(plane.Clip(1000, 0), 685U);
    EXPECT_EQ(plane.Clip(kHuge, 0), 685U);
    EXPECT_EQ(plane.Clip(45, 9), 45U);
    EXPECT_EQ(plane.Clip(55, 9), 55U);
    EXPECT_EQ(plane.Clip(56, 9), 55U);
    EXPECT_EQ(plane.Clip(kHuge, 9), 55U);
    EXPECT_EQ(plane.Clip(10, 10), 0U);
    EXPECT_EQ(plane.Clip(0, 0), 0U);
}

TEST(ViewPlane, ClipsWithANegativePitch) {
    std::vector<unsigned char> memory(70 * 10);
    ImageDescriptor format = Rgb24(20, 10);
    format.origin = kBottomLeft;
    Image image(memory.data(), 70, format, 1, 1);
    ImageView view(&image);
    const Plane plane = PlaneOf(view, 0);
    EXPECT_EQ(plane.Clip(100, 0), 70U);
    EXPECT_EQ(plane.Clip(100, 1), 100U);
    EXPECT_EQ(plane.Clip(1000, 9), 700U);
    EXPECT_EQ(plane.Clip(1, 10), 0U);
}

TEST(ViewPlane, OfOneLine) {
    std::vector<unsigned char> memory(70);
    Image image(memory.data(), 70, Rgb24(20, 1), 1, 1);
    ImageView view(&image);
    const Plane plane = PlaneOf(view, 0);
    EXPECT_EQ(plane.pitch, 0);
    EXPECT_TRUE(plane.Holds(70, 1));
    EXPECT_FALSE(plane.Holds(71, 1));
    EXPECT_FALSE(plane.Holds(1, 2)) << "no second row";
    EXPECT_EQ(plane.Clip(100, 0), 70U);
    EXPECT_EQ(plane.Clip(1, 1), 0U);
}

TEST(ViewPlane, OfSubsampledPlanes) {
    std::vector<unsigned char> y(64 * 16);
    std::vector<unsigned char> cb(32 * 8);
    std::vector<unsigned char> cr(32 * 8);
    unsigned char* memory[] = {y.data(), cb.data(), cr.data()};
    ULong32 pitches[] = {64, 32, 32};
    Image image(memory, pitches, Planar(64, 16, k420), 1, 1);
    ImageView view(&image, Rectangle(0, 2, 64, 14), kFrame);
    EXPECT_TRUE(PlaneOf(view, 0).Holds(64, 14));
    EXPECT_TRUE(PlaneOf(view, 2).Holds(32, 7));
    EXPECT_FALSE(PlaneOf(view, 2).Holds(32, 8));
    EXPECT_EQ(PlaneOf(view, 1).begin, cb.data());
    EXPECT_EQ(PlaneOf(view, 1).end, cb.data() + cb.size());
    // The left edge is not divided, so a right half leaves the last row of a chroma plane.
    ImageView right(&image, Rectangle(32, 0, 32, 16), kFrame);
    EXPECT_TRUE(PlaneOf(right, 0).Holds(32, 16));
    EXPECT_FALSE(PlaneOf(right, 1).Holds(16, 8));
    EXPECT_EQ(PlaneOf(right, 1).Clip(16, 7), 0U);
}

TEST(ViewPlane, FollowsTheImageWhenItChanges) {
    // A view keeps its region when a host swaps the image's meaning under it.
    std::vector<unsigned char> memory(70 * 10);
    Image image(memory.data(), 70, Rgb24(20, 10), 1, 1);
    ImageView view(&image, Rectangle(0, 0, 20, 10), kUpperField);
    EXPECT_TRUE(PlaneOf(view, 0).Holds(60, 5));
    image.SetOrigin(kBottomLeft);
    EXPECT_FALSE(PlaneOf(view, 0).Holds(60, 5));
}

struct Block {
    std::vector<unsigned char> memory;

    static unsigned char* Alloc(void* context, ULong32 totalSize, ULong32, ULong32) {
        Block& block = *static_cast<Block*>(context);
        block.memory.resize(totalSize);
        return block.memory.data();
    }
    static void Free(void*, void*) {}
};

TEST(ViewPlane, StaysInsideTheBlockUnderTheAliasingWorkaround) {
    AlignedMemoryBuffer::SetEnable64KBaliasingWorkAround(true);
    for (int position = 0; position < 70; ++position) {
        for (const ULong32 height : {1U, 5U}) {
            Block block;
            Image image(&block, Block::Alloc, Block::Free, Rgb32(100, height), 64, 16);
            ImageView view(&image);
            const Plane plane = PlaneOf(view, 0);
            EXPECT_GE(plane.begin, block.memory.data());
            EXPECT_LE(plane.end, block.memory.data() + block.memory.size());
            EXPECT_TRUE(plane.Holds(400, height));
        }
    }
    // Memory of the host has no reserve.
    std::vector<unsigned char> memory(400 * 5);
    Image wrapped(memory.data(), 400, Rgb32(100, 5), 1, 1);
    AlignedMemoryBuffer::SetEnable64KBaliasingWorkAround(false);
    ImageView view(&wrapped);
    EXPECT_EQ(PlaneOf(view, 0).end, memory.data() + memory.size());
}

#if SIZE_MAX > 0xFFFFFFFFU
TEST(ViewPlane, DoubledPitchBeyond32Bits) {
    // Never touched: two lines of almost 2 GB each.
    auto* const memory = reinterpret_cast<unsigned char*>(std::uintptr_t{1} << 40);
    Image image(memory, 0x7FFFFFFFU, Alpha(64, 2), 1, 1);
    ASSERT_EQ(image.GetPitch(0), 0x7FFFFFFFU);
    ImageView view(&image, Rectangle(0, 0, 64, 2), kUpperField);
    const Plane plane = PlaneOf(view, 0);
    EXPECT_TRUE(plane.Holds(64, 1));
    EXPECT_FALSE(plane.Holds(64, 2));
    ImageView lower(&image, Rectangle(0, 0, 64, 2), kLowerField);
    EXPECT_TRUE(PlaneOf(lower, 0).Holds(0x7FFFFFFFU, 1));
    EXPECT_FALSE(PlaneOf(lower, 0).Holds(0x80000000U, 1));
}

TEST(ViewPlane, FrameFarHigherThanAChannelOfLongLines) {
    // A frame without memory may have any height, and an added channel lines of any length.
    Image image(test::Format(64, 0xFFFFFFFFU, kColorSpace2, k4444, kBGRA), 64);
    ChannelDescriptor record;
    record.SetAlpha(0.0F, 64, 2, kProgressive, kNoFields, 8);
    auto* const memory = reinterpret_cast<unsigned char*>(std::uintptr_t{1} << 40);
    ASSERT_EQ(image.AddChannel(memory, 0x7FFFFFFFU, record, 1, 1), 0);
    image.SetOrigin(kBottomLeft);
    for (const WhichFieldEnum field : {kFrame, kUpperField, kLowerField}) {
        ImageView view(&image, Rectangle(0, 0, 64, 8), field);
        const Plane plane = PlaneOf(view, 0);
        EXPECT_GT(plane.first, plane.end) << field;
        EXPECT_FALSE(plane.Holds(1, 1)) << field;
    }
}
#endif

}  // namespace
}  // namespace Zan
