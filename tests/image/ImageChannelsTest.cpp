#include <TesselU/image/Image.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
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

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

ChannelDescriptor AlphaRecord(ULong32 width, ULong32 height, ULong32 bits = 8) {
    ChannelDescriptor record;
    record.SetAlpha(1.0F, width, height, kLowerFieldFirst, kNoFields, bits);
    return record;
}

TEST(ImageChannels, AddChannelTakesOnlyAlpha) {
    Image image(Uyvy(64, 8), 64);
    ChannelDescriptor record = AlphaRecord(64, 8);
    record.isAlpha = 0;
    unsigned char memory[64 * 8];
    Host host;
    EXPECT_EQ(image.AddChannel(record, 128), kStatusBadArgument);
    EXPECT_EQ(image.AddChannel(record, 64, 16), kStatusBadArgument);
    EXPECT_EQ(image.AddChannel(memory, 64, record, 1, 1), kStatusBadArgument);
    EXPECT_EQ(image.AddChannel(&host, Host::Alloc, Host::Free, record, 1, 1), kStatusBadArgument);
    EXPECT_EQ(image.GetNumberOfChannels(), 3U);
    EXPECT_EQ(image.GetChannelSampling(), k422);
}

TEST(ImageChannels, AddedAlphaMakesFourTwoTwoFour) {
    Image image(Uyvy(64, 8), 64);
    EXPECT_EQ(image.GetAlphaChannelDescription(), kNoAlpha);
    EXPECT_EQ(image.AddChannel(AlphaRecord(64, 8), 64, 16), 3);
    EXPECT_EQ(image.GetChannelSampling(), k4224);
    EXPECT_EQ(image.GetNumberOfChannels(), 4U);
    EXPECT_EQ(image.GetBytesPerPixel(), 3.0F);
    EXPECT_EQ(image.GetAlphaChannelDescription(), kAlphaVarying);
    EXPECT_NE(image.GetMemoryPointer(3), nullptr);
    EXPECT_NE(image.GetMemoryPointer(3), image.GetMemoryPointer(0));
    EXPECT_EQ(image.GetPitch(3), 64U);
    const ChannelDescriptor& record = image.GetImageDescriptor()->channels[3];
    EXPECT_EQ(record.version, 1.0F);
    EXPECT_EQ(record.width, 64U);
    EXPECT_EQ(record.height, 8U);
    EXPECT_EQ(record.scanStyle, kLowerFieldFirst);
    EXPECT_EQ(record.fieldPacking, kNoFields);
    EXPECT_EQ(record.bitsPerSample, 8U);
    EXPECT_FALSE(record.memory->IsShared());

    EXPECT_EQ(image.DeleteChannel(3), kStatusOk);
    EXPECT_EQ(image.GetChannelSampling(), k422);
    EXPECT_EQ(image.GetNumberOfChannels(), 3U);
    EXPECT_EQ(image.GetBytesPerPixel(), 2.0F);
}

TEST(ImageChannels, AddedAlphaCountsForPlanesOfFourTwoTwoToo) {
    for (const ComponentOrderEnum order : {kYCbCrPlanes, kYPlaneCbCrPlane}) {
        Image image(Planar(64, 8, k422, order), 64);
        EXPECT_EQ(image.AddChannel(AlphaRecord(64, 8), 64, 16), 3);
        EXPECT_EQ(image.GetChannelSampling(), k4224) << order;
        EXPECT_EQ(image.GetPixelPacking(), kPlanar);
        EXPECT_EQ(image.GetBytesPerPixel(), 3.0F);
        EXPECT_EQ(image.DeleteChannel(3), kStatusOk);
        EXPECT_EQ(image.GetChannelSampling(), k422) << order;
        EXPECT_EQ(image.GetBytesPerPixel(), 2.0F);
    }
}

TEST(ImageChannels, AddedAlphaChangesNoOtherSampling) {
    const ImageDescriptor formats[] = {Rgb24(64, 8), Rgb32(64, 8), Planar(64, 8, k420), Planar(64, 8, k411),
                                       UyvyWithAlpha(64, 8)};
    for (const ImageDescriptor& format : formats) {
        Image image(format, 64);
        const ULong32 before = image.GetNumberOfChannels();
        EXPECT_EQ(image.AddChannel(AlphaRecord(64, 8), 128), static_cast<Long32>(before));
        EXPECT_EQ(image.GetChannelSampling(), format.channelSampling);
        EXPECT_EQ(image.GetNumberOfChannels(), before + 1);
    }
}

TEST(ImageChannels, DeleteChannelMovesLaterRecordsDown) {
    Image image(Uyvy(64, 8), 64);
    EXPECT_EQ(image.AddChannel(AlphaRecord(64, 8), 64, 16), 3);
    EXPECT_EQ(image.AddChannel(AlphaRecord(48, 6), 64, 16), 4);
    EXPECT_EQ(image.GetChannelSampling(), k4224);
    void* const last = image.GetMemoryPointer(4);
    EXPECT_EQ(image.DeleteChannel(3), kStatusOk);
    EXPECT_EQ(image.GetNumberOfChannels(), 4U);
    EXPECT_EQ(image.GetWidth(3), 48U);
    EXPECT_EQ(image.GetHeight(3), 6U);
    EXPECT_EQ(image.GetMemoryPointer(3), last);
    EXPECT_EQ(image.GetChannelSampling(), k422);
}

TEST(ImageChannels, DeleteChannelLeavesColourAlone) {
    Image image(UyvyWithAlpha(64, 8), 64);
    EXPECT_EQ(image.DeleteChannel(0), kStatusOk);
    EXPECT_EQ(image.DeleteChannel(2), kStatusOk);
    EXPECT_EQ(image.GetNumberOfChannels(), 4U);
    EXPECT_EQ(image.GetChannelSampling(), k4224);
    EXPECT_EQ(image.DeleteChannel(99), kStatusOk);
    EXPECT_EQ(image.GetNumberOfChannels(), 4U);
}

TEST(ImageChannels, DeleteChannelOfAnotherSamplingKeepsIt) {
    Image image(Rgb32(64, 8), 64);
    EXPECT_EQ(image.DeleteChannel(3), kStatusOk);
    EXPECT_EQ(image.GetNumberOfChannels(), 3U);
    EXPECT_EQ(image.GetChannelSampling(), k4444);
}

TEST(ImageChannels, AddChannelDefaultLineAlignmentFollowsTheProcessor) {
    Image image(Uyvy(160, 8), 64);
    {
        const ScopedInstructionSet sse2(kSSE2);
        ASSERT_EQ(image.AddChannel(AlphaRecord(160, 8), 128), 3);
        EXPECT_EQ(image.GetPitch(3), 256U);
        EXPECT_GE(image.GetLineAlignment(3), 128U);
    }
    {
        const ScopedInstructionSet sse(kSIMD);
        ASSERT_EQ(image.AddChannel(AlphaRecord(160, 8), 128), 4);
        EXPECT_EQ(image.GetPitch(4), 160U);
    }
}

TEST(ImageChannels, AddChannelLineSizeFollowsTheBits) {
    const struct {
        ULong32 bits;
        ULong32 bytesPerLine;
    } cases[] = {{8, 50}, {16, 100}, {32, 200}, {24, 150}, {1, 50}, {10, 100}, {12, 100}, {17, 150}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bits);
        Image image(Uyvy(64, 8), 64);
        ASSERT_EQ(image.AddChannel(AlphaRecord(50, 8, c.bits), 1, 1), 3);
        EXPECT_EQ(image.GetPitch(3), c.bytesPerLine);
        EXPECT_EQ(image.GetMemorySize(3), c.bytesPerLine * 8);
    }
}

TEST(ImageChannels, AddChannelWrapsMemoryWithItsPitch) {
    Image image(Uyvy(64, 8), 64);
    std::vector<unsigned char> memory(100 * 8);
    ASSERT_EQ(image.AddChannel(memory.data(), 100, AlphaRecord(64, 8), 1, 1), 3);
    EXPECT_EQ(image.GetMemoryPointer(3), memory.data());
    EXPECT_EQ(image.GetPitch(3), 100U);
    EXPECT_EQ(image.GetMemorySize(3), 800U);
    EXPECT_EQ(image.GetChannelSampling(), k4224);
}

TEST(ImageChannels, AddChannelThroughCallbacks) {
    Host host;
    {
        Image image(Uyvy(64, 8), 64);
        ASSERT_EQ(image.AddChannel(&host, Host::Alloc, Host::Free, AlphaRecord(64, 8), 32, 16), 3);
        ASSERT_EQ(host.requests.size(), 1U);
        EXPECT_EQ(host.requests[0].totalSize, 512U + 31);
        EXPECT_EQ(host.requests[0].bufferAlignment, 32U);
        EXPECT_EQ(host.requests[0].lineAlignment, 16U);
    }
    EXPECT_TRUE(host.lent.empty());
}

TEST(ImageChannels, AddChannelWithoutMemoryOrCallbacks) {
    Host host;
    Image image(Uyvy(64, 8), 64);
    const ChannelDescriptor record = AlphaRecord(64, 8);
    EXPECT_EQ(image.AddChannel(nullptr, 64, record, 1, 1), kStatusNoPixelMemory);
    EXPECT_EQ(image.AddChannel(nullptr, Host::Alloc, Host::Free, record, 1, 1), kStatusNoPixelMemory);
    EXPECT_EQ(image.AddChannel(&host, nullptr, Host::Free, record, 1, 1), kStatusNoPixelMemory);
    EXPECT_EQ(image.AddChannel(&host, Host::Alloc, nullptr, record, 1, 1), kStatusNoPixelMemory);
    EXPECT_EQ(image.GetNumberOfChannels(), 3U);
    EXPECT_EQ(image.GetChannelSampling(), k422);
    EXPECT_TRUE(host.requests.empty());
}

TEST(ImageChannels, AddChannelThatGetsNoMemory) {
    Image image(Uyvy(64, 8), 64);
    // By the library a channel without memory is refused: alignments that do not fit, sizes beyond 32 bits.
    EXPECT_EQ(image.AddChannel(AlphaRecord(64, 8), 48), kStatusNoPixelMemory);
    EXPECT_EQ(image.AddChannel(AlphaRecord(64, 8), 16, 32), kStatusNoPixelMemory);
    EXPECT_EQ(image.AddChannel(AlphaRecord(0x40000001U, 1, 32), 1, 1), kStatusNoPixelMemory);
    EXPECT_EQ(image.AddChannel(AlphaRecord(0x10000U, 0x10000U), 1, 1), kStatusNoPixelMemory);
    EXPECT_EQ(image.GetNumberOfChannels(), 3U);
    EXPECT_EQ(image.GetChannelSampling(), k422);

    // By the host it is added and has a null pointer.
    Host host;
    host.refuse = true;
    EXPECT_EQ(image.AddChannel(&host, Host::Alloc, Host::Free, AlphaRecord(64, 8), 16, 16), 3);
    EXPECT_EQ(image.AddChannel(&host, Host::Alloc, Host::Free, AlphaRecord(0x40000001U, 1, 32), 1, 1), 4);
    EXPECT_EQ(host.requests.size(), 1U) << "4 bytes, to which the second size wraps, are not asked for";
    unsigned char memory[64];
    EXPECT_EQ(image.AddChannel(memory, 64, AlphaRecord(64, 8), 16, 32), 5);
    for (const ULong32 channel : {3U, 4U, 5U}) {
        EXPECT_EQ(image.GetMemoryPointer(channel), nullptr) << channel;
        EXPECT_EQ(image.GetMemorySize(channel), 0U) << channel;
    }
    EXPECT_EQ(image.GetChannelSampling(), k4224);
}

TEST(ImageChannels, AddAndDeleteChannelOnAnEmptyImage) {
    Image image(nullptr, 16, Alpha(16, 4), 1, 1);
    unsigned char memory[64 * 8];
    Host host;
    const ChannelDescriptor record = AlphaRecord(64, 8);
    EXPECT_EQ(image.AddChannel(record, 128), kStatusBadArgument);
    EXPECT_EQ(image.AddChannel(record, 64, 16), kStatusBadArgument);
    EXPECT_EQ(image.AddChannel(memory, 64, record, 1, 1), kStatusBadArgument);
    EXPECT_EQ(image.AddChannel(&host, Host::Alloc, Host::Free, record, 1, 1), kStatusBadArgument);
    EXPECT_TRUE(host.requests.empty());
    EXPECT_EQ(image.DeleteChannel(0), kStatusOk);
    ExpectEmpty(image);
}

TEST(ImageChannels, AddsACopyOfOneOfItsOwnRecords) {
    Image image(Uyvy(64, 8), 64);
    for (Long32 index = 3; index < 20; ++index) {
        if (index == 3) {
            ASSERT_EQ(image.AddChannel(AlphaRecord(48, 6), 1, 1), index);
        } else {
            // The record moves while it is added.
            ASSERT_EQ(image.AddChannel(image.GetImageDescriptor()->channels[3], 1, 1), index);
        }
        EXPECT_EQ(image.GetWidth(static_cast<ULong32>(index)), 48U);
        EXPECT_EQ(image.GetHeight(static_cast<ULong32>(index)), 6U);
    }
}

TEST(ImageChannels, AlphaDescription) {
    Image image(Rgb32(8, 8), 64);
    EXPECT_EQ(image.GetAlphaChannelDescription(), kAlphaVarying);
    EXPECT_EQ(image.SetAlphaChannelDescription(kAlphaOpaque), kStatusOk);
    EXPECT_EQ(image.GetAlphaChannelDescription(), kAlphaOpaque);
    EXPECT_EQ(image.GetImageDescriptor()->channels[3].alphaDescription, kAlphaOpaque);
    EXPECT_EQ(image.GetImageDescriptor()->channels[0].alphaDescription, kNoAlpha);

    // With several alpha channels the first one counts.
    ASSERT_EQ(image.AddChannel(AlphaRecord(8, 8), 128), 4);
    EXPECT_EQ(image.SetAlphaChannelDescription(kAlphaTransparent), kStatusOk);
    EXPECT_EQ(image.GetAlphaChannelDescription(), kAlphaTransparent);
    EXPECT_EQ(image.GetImageDescriptor()->channels[4].alphaDescription, kAlphaVarying);

    Image opaque(Rgb24(8, 8), 64);
    EXPECT_EQ(opaque.GetAlphaChannelDescription(), kNoAlpha);
    EXPECT_EQ(opaque.SetAlphaChannelDescription(kAlphaOpaque), kStatusBadArgument);
    EXPECT_EQ(opaque.GetImageDescriptor()->channels[0].alphaDescription, kNoAlpha);
}

TEST(ImageChannels, SetsLevelsOfOneChannel) {
    Image image(Rgb32(8, 8), 64);
    EXPECT_EQ(image.SetBlackAndWhiteLevel(0.25F, 0.125F, 1), kStatusOk);
    EXPECT_EQ(image.SetClampLowAndHighLevel(0.75F, 0.5F, 2), kStatusOk);
    const auto& records = image.GetImageDescriptor()->channels;
    EXPECT_EQ(records[1].blackLevel, 0.25F);
    EXPECT_EQ(records[1].whiteLevel, 0.125F);
    EXPECT_EQ(records[1].clampLowLevel, 0.0F);
    EXPECT_EQ(records[1].clampHighLevel, 1.0F);
    EXPECT_EQ(records[2].clampLowLevel, 0.75F);
    EXPECT_EQ(records[2].clampHighLevel, 0.5F);
    EXPECT_EQ(records[2].blackLevel, 0.0F);
    EXPECT_EQ(records[0].blackLevel, 0.0F);
    EXPECT_EQ(image.SetBlackAndWhiteLevel(1.0F, 0.0F, 3), kStatusOk);
    EXPECT_EQ(image.SetClampLowAndHighLevel(1.0F, 0.0F, 3), kStatusOk);
}

TEST(ImageChannels, RefusesLevelsOutsideZeroToOne) {
    Image image(Rgb32(8, 8), 64);
    const float above = std::nextafter(1.0F, 2.0F);
    const float below = -std::numeric_limits<float>::denorm_min();
    const float infinite = std::numeric_limits<float>::infinity();
    for (const float bad : {above, below, infinite, -infinite, kNaN}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(image.SetBlackAndWhiteLevel(bad, 0.5F, 0), kStatusNullPointer);
        EXPECT_EQ(image.SetBlackAndWhiteLevel(0.5F, bad, 0), kStatusNullPointer);
        EXPECT_EQ(image.SetClampLowAndHighLevel(bad, 0.5F, 0), kStatusNullPointer);
        EXPECT_EQ(image.SetClampLowAndHighLevel(0.5F, bad, 0), kStatusNullPointer);
        EXPECT_EQ(image.SetBlackAndWhiteLevel(bad, bad, 4), kStatusUnsupportedKind)
            << "the index comes first";
        EXPECT_EQ(image.SetClampLowAndHighLevel(bad, bad, 4), kStatusUnsupportedKind);
    }
    const ChannelDescriptor& record = image.GetImageDescriptor()->channels[0];
    EXPECT_EQ(record.blackLevel, 0.0F);
    EXPECT_EQ(record.whiteLevel, 1.0F);
    EXPECT_EQ(record.clampLowLevel, 0.0F);
    EXPECT_EQ(record.clampHighLevel, 1.0F);
    EXPECT_EQ(image.SetBlackAndWhiteLevel(0.5F, 0.5F, 4), kStatusUnsupportedKind);
    EXPECT_EQ(image.SetClampLowAndHighLevel(0.5F, 0.5F, 0xFFFFFFFFU), kStatusUnsupportedKind);
}

TEST(ImageChannels, LevelTestsOnDefaultLevels) {
    Image rgb(Rgb32(8, 8), 64);
    EXPECT_TRUE(rgb.IsBlackLevelAtZero(0, 2));
    EXPECT_TRUE(rgb.IsWhiteLevelAtMax(0, 4));
    EXPECT_TRUE(rgb.IsClampLowLevelAtZero(0, 4));
    EXPECT_TRUE(rgb.IsClampHighLevelAtMax(0, 4));
    Image yuv(Uyvy(8, 8), 64);
    EXPECT_FALSE(yuv.IsBlackLevelAtZero(0, 2));
    EXPECT_FALSE(yuv.IsWhiteLevelAtMax(0, 2));
    EXPECT_TRUE(yuv.IsClampLowLevelAtZero(0, 3));
    EXPECT_TRUE(yuv.IsClampHighLevelAtMax(0, 3));
}

TEST(ImageChannels, LevelTestsLookAtTheirChannelsOnly) {
    Image image(Rgb32(8, 8), 64);
    // Just off the level: the comparison is exact.
    const float aboveZero = std::numeric_limits<float>::min();
    const float belowOne = std::nextafter(1.0F, 0.0F);
    ASSERT_EQ(image.SetBlackAndWhiteLevel(aboveZero, belowOne, 2), kStatusOk);
    ASSERT_EQ(image.SetClampLowAndHighLevel(aboveZero, belowOne, 2), kStatusOk);
    const auto all = [&image](ULong32 first, ULong32 end) {
        const bool black = image.IsBlackLevelAtZero(first, end);
        EXPECT_EQ(image.IsWhiteLevelAtMax(first, end), black);
        EXPECT_EQ(image.IsClampLowLevelAtZero(first, end), black);
        EXPECT_EQ(image.IsClampHighLevelAtMax(first, end), black);
        return black;
    };
    EXPECT_TRUE(all(0, 2));
    EXPECT_FALSE(all(0, 3));
    EXPECT_FALSE(all(1, 100)) << "the end is held below the number of channels";
    EXPECT_TRUE(all(3, 100));
    EXPECT_FALSE(all(2, 0)) << "the first channel is looked at in any case";
    EXPECT_FALSE(all(2, 2));
    EXPECT_TRUE(all(1, 0));
}

TEST(ImageChannels, KnowsTheVideoLevels) {
    const ImageDescriptor formats[] = {
        Uyvy(8, 8),
        UyvyWithAlpha(8, 8),
        Format(8, 8, kYCrCb, k422, kYCbYCr),
        Format(8, 8, kYCrCb, k4444, kCbYCrA),
        Format(8, 8, kYCrCb, k4444, kYCbCrA),
        Format(8, 8, kYCrCb, k444, kCbYCrA),
        Format(8, 8, kYCrCb, k444, kYCbCrA),
        Planar(8, 8, k422),
        Planar(8, 8, k422, kYPlaneCbCrPlane),
        Planar(8, 8, k420),
        Planar(8, 8, k411),
    };
    for (std::size_t i = 0; i < std::size(formats); ++i) {
        SCOPED_TRACE(i);
        Image image(formats[i], 64);
        EXPECT_TRUE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
        const ULong32 luma = formats[i].componentOrder == kCbYCrA ? 1 : 0;
        for (ULong32 channel = 0; channel < 3; ++channel) {
            SCOPED_TRACE(channel);
            const float black = 16.0F / 255;
            const float white = (channel == luma ? 235.0F : 240.0F) / 255;
            const float whiteOfOther = (channel == luma ? 240.0F : 235.0F) / 255;
            ASSERT_EQ(image.SetBlackAndWhiteLevel(black, whiteOfOther, channel), kStatusOk);
            EXPECT_FALSE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
            ASSERT_EQ(image.SetBlackAndWhiteLevel(0.0F, white, channel), kStatusOk);
            EXPECT_FALSE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
            ASSERT_EQ(image.SetBlackAndWhiteLevel(black, white, channel), kStatusOk);
            EXPECT_TRUE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
        }
    }
}

TEST(ImageChannels, FullRangeLumaIsNotAtVideoLevels) {
    Image image(Uyvy(720, 486), 64);
    EXPECT_TRUE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
    EXPECT_EQ(image.SetBlackAndWhiteLevel(0, 1, 1), kStatusOk);
    EXPECT_FALSE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
}

TEST(ImageChannels, VideoLevelsHoldWithinHalfACodeValue) {
    Image image(Uyvy(8, 8), 64);
    const struct {
        ULong32 channel;
        double code;
        bool isBlack;
    } levels[] = {{0, 16, true},   {1, 16, true},   {2, 16, true},
                  {0, 240, false}, {1, 235, false}, {2, 240, false}};
    for (const auto& level : levels) {
        SCOPED_TRACE(testing::Message() << level.channel << " " << level.code);
        const ChannelDescriptor before = image.GetImageDescriptor()->channels[level.channel];
        for (const double limit : {level.code - 0.5, level.code + 0.5}) {
            // Walk the floats around the limit; the comparison is strict and in double precision.
            float value = static_cast<float>(limit / 255);
            value = std::nextafter(std::nextafter(value, 0.0F), 0.0F);
            for (int step = 0; step < 5; ++step, value = std::nextafter(value, 1.0F)) {
                const double exact = value;
                const bool inside = exact > (level.code - 0.5) / 255 && exact < (level.code + 0.5) / 255;
                ASSERT_EQ(
                    image.SetBlackAndWhiteLevel(level.isBlack ? value : before.blackLevel,
                                                level.isBlack ? before.whiteLevel : value, level.channel),
                    kStatusOk);
                EXPECT_EQ(image.AreYCrCbBlackAndWhiteLevelsAtITU601(), inside) << exact * 255;
            }
        }
        ASSERT_EQ(image.SetBlackAndWhiteLevel(before.blackLevel, before.whiteLevel, level.channel),
                  kStatusOk);
    }
}

TEST(ImageChannels, OtherOrdersAreNeverAtVideoLevels) {
    Image image(Rgb32(8, 8), 64);
    ASSERT_EQ(image.SetBlackAndWhiteLevel(16.0F / 255, 240.0F / 255, 0), kStatusOk);
    ASSERT_EQ(image.SetBlackAndWhiteLevel(16.0F / 255, 235.0F / 255, 1), kStatusOk);
    ASSERT_EQ(image.SetBlackAndWhiteLevel(16.0F / 255, 240.0F / 255, 2), kStatusOk);
    EXPECT_FALSE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
    EXPECT_FALSE(Image(Alpha(8, 8), 64).AreYCrCbBlackAndWhiteLevelsAtITU601());
}

}  // namespace
}  // namespace Zan
