#include <TesselU/image/Image.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "foundation/CapabilitySeam.h"
#include "image/Formats.h"
#include "image/ImageFixtures.h"

namespace Zan {
namespace {

using test::Alpha;
using test::ExpectEmpty;
using test::Format;
using test::Host;
using test::Planar;
using test::Rgb24;
using test::Rgb32;
using test::Uyvy;
using test::UyvyWithAlpha;

TEST(Image, Setters) {
    Image image(Rgb32(8, 8), 64);
    void* const memory = image.GetMemoryPointer(0);
    image.SetOrigin(kBottomLeft);
    image.SetPixelShaping(kShaped2);
    image.SetColor(kMonochrome);
    image.SetMemoryType(static_cast<MemoryTypeEnum>(3));
    EXPECT_EQ(image.GetOrigin(), kBottomLeft);
    EXPECT_EQ(image.GetPixelShaping(), kShaped2);
    EXPECT_EQ(image.GetColor(), kMonochrome);
    EXPECT_EQ(static_cast<int>(image.GetMemoryType()), 3);
    EXPECT_EQ(image.GetMemoryPointer(0), memory);
}

TEST(Image, DefaultLineAlignmentFollowsTheProcessor) {
    {
        const ScopedInstructionSet sse2(kSSE2);
        Image image(Alpha(96, 4), 64);
        EXPECT_EQ(image.GetPitch(0), 128U);
        EXPECT_GE(image.GetLineAlignment(0), 64U);
    }
    {
        const ScopedInstructionSet sse(kSIMD);
        Image image(Alpha(96, 4), 64);
        EXPECT_EQ(image.GetPitch(0), 96U);
        EXPECT_EQ(image.GetLineAlignment(0), 32U);
    }
}

TEST(Image, OneLineHasPitchZero) {
    Image image(Rgb32(100, 1), 64);
    EXPECT_EQ(image.GetPitch(0), 0U);
    EXPECT_EQ(image.GetBytesPerLine(0), 0U);
    EXPECT_NE(image.GetMemoryPointer(0), nullptr);
}

TEST(Image, AlignmentsThatDoNotFitLeaveNoMemory) {
    Image image(Rgb32(100, 10), 16, 32);
    ASSERT_NE(image.GetImageDescriptor(), nullptr);
    EXPECT_EQ(image.GetWidth(), 100U);
    EXPECT_EQ(image.GetNumberOfChannels(), 4U);
    EXPECT_EQ(image.GetWidth(0), 100U);
    EXPECT_EQ(image.GetMemoryPointer(0), nullptr);
    EXPECT_EQ(image.GetPitch(0), 0U);
}

TEST(Image, SizesBeyond32BitsLeaveNoMemory) {
    const ImageDescriptor formats[] = {
        Rgb32(0x40000001U, 2),           // 4 * width wraps to 4
        Rgb32(0x10000001U, 1, k32Bits),  // 16 * width wraps to 16
        Rgb24(0x55555556U, 2),           // 3 * width wraps to 2
        Uyvy(0x80000002U, 1),            // 2 * width wraps to 4
        Rgb32(0x10000U, 0x10000U),       // lines
        Alpha(0xFFFFFFFFU, 0xFFFFFFFFU),
    };
    for (std::size_t i = 0; i < std::size(formats); ++i) {
        SCOPED_TRACE(i);
        Image image(formats[i], 64);
        EXPECT_EQ(image.GetMemoryPointer(0), nullptr);
        EXPECT_EQ(image.GetMemorySize(0), 0U);
    }
}

TEST(Image, AWidthWithoutANextEvenNumberIsNoWidth) {
    for (const ImageDescriptor& format :
         {Uyvy(0xFFFFFFFFU, 1), Planar(0xFFFFFFFFU, 2, k422), Planar(0xFFFFFFFFU, 0xFFFFFFFFU, k420)}) {
        Image image(format, 64);
        EXPECT_EQ(image.GetWidth(), 0U);
        EXPECT_EQ(image.GetWidth(1), 0U);
        EXPECT_EQ(image.GetMemorySize(0), 0U);
    }
}

TEST(Image, WrapsOnePlaneOfTheHost) {
    alignas(64) static unsigned char memory[64 * 10];
    Image image(memory, 60, Rgb24(20, 10), 1, 1);
    EXPECT_EQ(image.GetMemoryPointer(0), memory);
    EXPECT_EQ(image.GetMemoryPointer(2), memory);
    EXPECT_EQ(image.GetPitch(0), 60U);
    EXPECT_EQ(image.GetMemorySize(0), 600U);

    Image rounded(memory, 60, Rgb24(20, 10), 32, 32);
    EXPECT_EQ(rounded.GetPitch(0), 64U) << "the given line size is rounded like a computed one";

    // An unaligned plane starts at its first aligned byte.
    Image moved(memory + 1, 60, Rgb24(20, 8), 8, 1);
    EXPECT_EQ(moved.GetMemoryPointer(0), memory + 8);
}

TEST(Image, OnePlaneOfTheHostNeedsMemoryAndPitch) {
    unsigned char memory[64];
    Image noMemory(nullptr, 16, Alpha(16, 4), 1, 1);
    ExpectEmpty(noMemory);
    Image noPitch(memory, 0, Alpha(16, 4), 1, 1);
    ExpectEmpty(noPitch);
    // One plane cannot serve a format of three.
    Image tooFew(memory, 4, Planar(4, 4, k420), 1, 1);
    ExpectEmpty(tooFew);
}

TEST(Image, WrapsPlanesOfTheHost) {
    std::vector<unsigned char> y(800);
    std::vector<unsigned char> cb(300);
    std::vector<unsigned char> cr(300);
    unsigned char* memory[] = {y.data(), cb.data(), cr.data()};
    ULong32 pitches[] = {77, 41, 43};
    Image image(memory, pitches, Planar(64, 10, k420), 1, 1);
    for (ULong32 i = 0; i < 3; ++i) {
        EXPECT_EQ(image.GetMemoryPointer(i), memory[i]);
        EXPECT_EQ(image.GetPitch(i), pitches[i]);
        EXPECT_EQ(image.GetMemorySize(i), pitches[i] * (i == 0 ? 10U : 5U));
    }
    for (std::size_t missing = 0; missing < 3; ++missing) {
        SCOPED_TRACE(missing);
        unsigned char* incomplete[] = {y.data(), cb.data(), cr.data()};
        incomplete[missing] = nullptr;
        Image none(incomplete, pitches, Planar(64, 10, k420), 1, 1);
        ExpectEmpty(none);
    }
    Image noMemory(static_cast<unsigned char**>(nullptr), pitches, Planar(64, 10, k420), 1, 1);
    ExpectEmpty(noMemory);
    Image noPitches(memory, static_cast<ULong32*>(nullptr), Planar(64, 10, k420), 1, 1);
    ExpectEmpty(noPitches);
}

TEST(Image, WrapsTwoPlanesOfTheHost) {
    std::vector<unsigned char> y(640);
    std::vector<unsigned char> chroma(700);
    unsigned char* memory[] = {y.data(), chroma.data()};
    ULong32 pitches[] = {64, 70};
    Image image(memory, pitches, Planar(64, 10, k422, kYPlaneCbCrPlane), 1, 1);
    EXPECT_EQ(image.GetMemoryPointer(0), y.data());
    EXPECT_EQ(image.GetMemoryPointer(1), chroma.data());
    EXPECT_EQ(image.GetMemoryPointer(2), chroma.data());
    EXPECT_EQ(image.GetPitch(2), 70U);
}

TEST(Image, AllocatesAMissingAlphaPlaneOfTheHost) {
    std::vector<unsigned char> colour(128 * 4);
    std::vector<unsigned char> alpha(64 * 4);
    unsigned char* memory[] = {colour.data(), alpha.data()};
    ULong32 pitches[] = {128, 64};
    Image both(memory, pitches, UyvyWithAlpha(64, 4), 1, 1);
    EXPECT_EQ(both.GetMemoryPointer(2), colour.data());
    EXPECT_EQ(both.GetMemoryPointer(3), alpha.data());

    memory[1] = nullptr;
    Image own(memory, pitches, UyvyWithAlpha(64, 4), 1, 1);
    EXPECT_EQ(own.GetMemoryPointer(0), colour.data());
    ASSERT_NE(own.GetMemoryPointer(3), nullptr);
    EXPECT_EQ(own.GetPitch(3), 64U);
    std::memset(own.GetMemoryPointer(3), 1, own.GetMemorySize(3));

    memory[0] = nullptr;
    Image none(memory, pitches, UyvyWithAlpha(64, 4), 1, 1);
    ExpectEmpty(none);
}

TEST(Image, SamplingsWithoutALayoutHaveAPlaneOfNoBytes) {
    for (const ImageDescriptor& format :
         {Format(16, 8, kRGB, k422, kBGRA), Format(16, 8, kYCrCb, k420, kCbYCrA)}) {
        Host host;
        const Image image(&host, Host::Alloc, Host::Free, format, 64, 16);
        ASSERT_EQ(host.requests.size(), 1U);
        EXPECT_EQ(host.requests[0].totalSize, 63U) << "room to align nothing";
        EXPECT_TRUE(host.lent.empty()) << "no channel keeps it";
    }
}

TEST(Image, CallbacksWithLineSizesOfTheHost) {
    Host host;
    ULong32 pitches[] = {100, 60, 52};
    {
        Image image(&host, Host::Alloc, Host::Free, pitches, Planar(64, 10, k422), 4, 4);
        EXPECT_EQ(image.GetPitch(0), 100U);
        EXPECT_EQ(image.GetPitch(1), 60U);
        EXPECT_EQ(image.GetPitch(2), 52U);
    }
    {
        Image image(&host, Host::Alloc, Host::Free, static_cast<ULong32*>(nullptr), Planar(64, 10, k422), 4,
                    4);
        EXPECT_EQ(image.GetPitch(0), 64U);
        EXPECT_EQ(image.GetPitch(1), 32U);
    }
    {
        Image image(&host, Host::Alloc, Host::Free, ULong32{120}, Rgb24(30, 10), 4, 4);
        EXPECT_EQ(image.GetPitch(0), 120U);
        EXPECT_EQ(image.GetMemorySize(0), 1200U);
    }
}

TEST(Image, CallbacksMustAllBeThere) {
    Host host;
    ULong32 pitches[] = {64};
    for (int missing = 0; missing < 3; ++missing) {
        SCOPED_TRACE(missing);
        void* const context = missing == 0 ? nullptr : &host;
        const Image::AllocCallback alloc = missing == 1 ? nullptr : &Host::Alloc;
        const Image::FreeCallback release = missing == 2 ? nullptr : &Host::Free;
        Image computed(context, alloc, release, Alpha(64, 4), 64, 16);
        ExpectEmpty(computed);
        Image array(context, alloc, release, pitches, Alpha(64, 4), 64, 16);
        ExpectEmpty(array);
        Image single(context, alloc, release, ULong32{64}, Alpha(64, 4), 64, 16);
        ExpectEmpty(single);
    }
    EXPECT_TRUE(host.requests.empty());
}

TEST(Image, RefusedMemoryShowsOnlyAsANullPointer) {
    Host host;
    host.refuse = true;
    Image image(&host, Host::Alloc, Host::Free, Uyvy(64, 4), 64, 16);
    EXPECT_EQ(host.requests.size(), 1U);
    EXPECT_EQ(image.GetWidth(), 64U);
    EXPECT_EQ(image.GetNumberOfChannels(), 3U);
    EXPECT_EQ(image.GetWidth(1), 64U);
    EXPECT_EQ(image.GetMemoryPointer(0), nullptr);
    EXPECT_EQ(image.GetMemorySize(0), 0U);
}

TEST(Image, BuffersOutliveTheImageWhileReferenced) {
    Host host;
    Tuk::RCPtr<AlignedMemoryBuffer> kept;
    {
        Image image(&host, Host::Alloc, Host::Free, Alpha(64, 4), 64, 16);
        kept = image.GetImageDescriptor()->channels[0].memory;
    }
    EXPECT_EQ(host.lent.size(), 1U);
    kept = nullptr;
    EXPECT_TRUE(host.lent.empty());
}

}  // namespace
}  // namespace Zan
