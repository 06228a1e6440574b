#include <TesselU/image/Image.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

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

std::uint32_t BitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

ULong32 RoundUp(ULong32 value, ULong32 unit) {
    return (value + unit - 1) / unit * unit;
}

// What the table of formats promises for one format.
struct ExpectedPlane {
    ULong32 bytesPerLine;
    ULong32 lines;
};
struct ExpectedChannel {
    std::size_t plane;
    ULong32 width;
    ULong32 height;
    ChannelSamplingEnum sampling;
    enum Kind { kRgbSample, kLuma, kChroma, kAlphaSample } kind;
};
struct FormatCase {
    std::string name;
    ImageDescriptor format;
    ULong32 width;
    ULong32 height;
    ULong32 bits;
    float bytesPerPixel;
    std::vector<ExpectedPlane> planes;
    std::vector<ExpectedChannel> channels;
};

std::vector<FormatCase> SupportedFormats() {
    using C = ExpectedChannel;
    constexpr auto kFull = kFullSampling;
    constexpr auto kRgbS = C::kRgbSample;
    constexpr auto kA = C::kAlphaSample;
    std::vector<FormatCase> cases;

    // 4:4:4:4 and 4:4:4 take any width as it is.
    const std::vector<C> rgba = {{0, 721, 487, kFull, kRgbS},
                                 {0, 721, 487, kFull, kRgbS},
                                 {0, 721, 487, kFull, kRgbS},
                                 {0, 721, 487, kFull, kA}};
    const std::vector<C> rgb(rgba.begin(), rgba.begin() + 3);
    cases.push_back({"RGB 4444", Rgb32(721, 487), 721, 487, 8, 4, {{2884, 487}}, rgba});
    cases.push_back({"RGB 4444 8 bits", Rgb32(721, 487, k8Bits), 721, 487, 8, 4, {{2884, 487}}, rgba});
    cases.push_back({"RGB 4444 16 bits", Rgb32(721, 487, k16Bits), 721, 487, 16, 8, {{5768, 487}}, rgba});
    cases.push_back({"RGB 4444 32 bits", Rgb32(721, 487, k32Bits), 721, 487, 32, 16, {{11536, 487}}, rgba});
    cases.push_back({"RGB 444", Rgb24(721, 487), 721, 487, 8, 3, {{2163, 487}}, rgb});
    cases.push_back({"RGB 444 asking for 16 bits",
                     Format(721, 487, kRGB, k444, kBGRA, kPacked, k16Bits),
                     721,
                     487,
                     8,
                     3,
                     {{2163, 487}},
                     rgb});
    const auto yuvWithLumaAt = [&](std::size_t luma, std::size_t count) {
        std::vector<C> channels = {rgba.begin(), rgba.begin() + static_cast<std::ptrdiff_t>(count)};
        for (std::size_t i = 0; i < 3; ++i) {
            channels[i].kind = i == luma ? C::kLuma : C::kChroma;
        }
        return channels;
    };
    cases.push_back({"CbYCrA 4444",
                     Format(721, 487, kYCrCb, k4444, kCbYCrA),
                     721,
                     487,
                     8,
                     4,
                     {{2884, 487}},
                     yuvWithLumaAt(1, 4)});
    cases.push_back({"YCbCrA 4444",
                     Format(721, 487, kYCrCb, k4444, kYCbCrA),
                     721,
                     487,
                     8,
                     4,
                     {{2884, 487}},
                     yuvWithLumaAt(0, 4)});
    cases.push_back({"YCrCb 4444 asking for 16 bits",
                     Format(721, 487, kYCrCb, k4444, kCbYCrA, kPacked, k16Bits),
                     721,
                     487,
                     8,
                     4,
                     {{2884, 487}},
                     yuvWithLumaAt(1, 4)});
    cases.push_back({"CbYCr 444",
                     Format(721, 487, kYCrCb, k444, kCbYCrA),
                     721,
                     487,
                     8,
                     3,
                     {{2163, 487}},
                     yuvWithLumaAt(1, 3)});
    cases.push_back({"YCbCr 444",
                     Format(721, 487, kYCrCb, k444, kYCbCrA),
                     721,
                     487,
                     8,
                     3,
                     {{2163, 487}},
                     yuvWithLumaAt(0, 3)});

    // 4:2:2 widths go up to even.
    const C luma722{0, 722, 487, kFull, C::kLuma};
    const C chroma722{0, 361, 487, kHalfHorizontal, C::kChroma};
    cases.push_back(
        {"CbYCrA 422", Uyvy(721, 487), 722, 487, 8, 2, {{1444, 487}}, {chroma722, luma722, chroma722}});
    cases.push_back({"CbYCrA 422 even",
                     Uyvy(720, 486),
                     720,
                     486,
                     8,
                     2,
                     {{1440, 486}},
                     {{0, 360, 486, kHalfHorizontal, C::kChroma},
                      {0, 720, 486, kFull, C::kLuma},
                      {0, 360, 486, kHalfHorizontal, C::kChroma}}});
    cases.push_back({"YCbYCr 422",
                     Format(721, 487, kYCrCb, k422, kYCbYCr),
                     722,
                     487,
                     8,
                     2,
                     {{1444, 487}},
                     {luma722, chroma722, chroma722}});
    cases.push_back({"CbYCrA 4224",
                     UyvyWithAlpha(721, 487),
                     722,
                     487,
                     8,
                     3,
                     {{1444, 487}, {722, 487}},
                     {chroma722, luma722, chroma722, {1, 722, 487, kFull, C::kAlphaSample}}});
    cases.push_back(
        {"planar 422",
         Planar(721, 487, k422),
         722,
         487,
         8,
         2,
         {{722, 487}, {361, 487}, {361, 487}},
         {luma722, {1, 361, 487, kHalfHorizontal, C::kChroma}, {2, 361, 487, kHalfHorizontal, C::kChroma}}});
    cases.push_back(
        {"two-plane 422",
         Planar(721, 487, k422, kYPlaneCbCrPlane),
         722,
         487,
         8,
         2,
         {{722, 487}, {722, 487}},
         {luma722, {1, 361, 487, kHalfHorizontal, C::kChroma}, {1, 361, 487, kHalfHorizontal, C::kChroma}}});
    cases.push_back({"planar 420",
                     Planar(721, 487, k420),
                     722,
                     488,
                     8,
                     1.5F,
                     {{722, 488}, {361, 244}, {361, 244}},
                     {{0, 722, 488, kFull, C::kLuma},
                      {1, 361, 244, kHalfBoth, C::kChroma},
                      {2, 361, 244, kHalfBoth, C::kChroma}}});
    cases.push_back({"planar 411",
                     Planar(724, 487, k411),
                     724,
                     487,
                     8,
                     1.5F,
                     {{724, 487}, {181, 487}, {181, 487}},
                     {{0, 724, 487, kFull, C::kLuma},
                      {1, 181, 487, kQuarterHorizontal, C::kChroma},
                      {2, 181, 487, kQuarterHorizontal, C::kChroma}}});
    const std::vector<C> grey = {{0, 721, 487, kFull, kA}};
    cases.push_back({"alpha only", Alpha(721, 487), 721, 487, 8, 1, {{721, 487}}, grey});
    cases.push_back({"alpha only 16 bits", Alpha(721, 487, k16Bits), 721, 487, 16, 2, {{1442, 487}}, grey});
    cases.push_back({"alpha only 32 bits", Alpha(721, 487, k32Bits), 721, 487, 32, 4, {{2884, 487}}, grey});
    return cases;
}

TEST(ImageLayout, BuildsEveryFormatOfTheTable) {
    for (const FormatCase& c : SupportedFormats()) {
        SCOPED_TRACE(c.name);
        Image image(c.format, 32, 16);
        ASSERT_NE(image.GetImageDescriptor(), nullptr);
        EXPECT_EQ(image.GetWidth(), c.width);
        EXPECT_EQ(image.GetHeight(), c.height);
        EXPECT_EQ(image.GetBytesPerPixel(), c.bytesPerPixel);
        ASSERT_EQ(image.GetNumberOfChannels(), c.channels.size());

        std::vector<void*> pointerOfPlane(c.planes.size());
        for (ULong32 i = 0; i < c.channels.size(); ++i) {
            SCOPED_TRACE(i);
            const ExpectedChannel& channel = c.channels[i];
            const ExpectedPlane& plane = c.planes[channel.plane];
            EXPECT_EQ(image.GetWidth(i), channel.width);
            EXPECT_EQ(image.GetHeight(i), channel.height);
            EXPECT_EQ(image.GetBytesPerChannel(i), static_cast<float>(c.bits) / 8);
            const ULong32 pitch = RoundUp(plane.bytesPerLine, 16);
            EXPECT_EQ(image.GetPitch(i), pitch);
            EXPECT_EQ(image.GetBytesPerLine(i), pitch);
            EXPECT_EQ(image.GetMemorySize(i), pitch * plane.lines);
            EXPECT_GE(image.GetBufferAlignment(i), 32U);
            EXPECT_GE(image.GetLineAlignment(i), 16U);
            void* const pointer = image.GetMemoryPointer(i);
            ASSERT_NE(pointer, nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pointer) % 32, 0U);
            void*& known = pointerOfPlane[channel.plane];
            if (known) {
                EXPECT_EQ(pointer, known) << "channels of one plane share its buffer";
            }
            known = pointer;
        }
        EXPECT_EQ(std::set<void*>(pointerOfPlane.begin(), pointerOfPlane.end()).size(), c.planes.size());
        const auto channels = static_cast<ULong32>(c.channels.size());
        EXPECT_EQ(image.GetMemoryPointer(channels), nullptr);
        EXPECT_EQ(image.GetPitch(channels), 0U);
        EXPECT_EQ(image.GetBytesPerLine(channels), 0U);
        EXPECT_EQ(image.GetWidth(channels), 0U);
        EXPECT_EQ(image.GetHeight(channels), 0U);
        EXPECT_EQ(image.GetMemorySize(channels), 0U);
        EXPECT_EQ(image.GetBufferAlignment(channels), 0U);
        EXPECT_EQ(image.GetLineAlignment(channels), 0U);
        EXPECT_EQ(image.GetBytesPerChannel(channels), 0.0F);
    }
}

TEST(ImageLayout, FillsTheChannelRecords) {
    for (FormatCase c : SupportedFormats()) {
        SCOPED_TRACE(c.name);
        c.format.scanStyle = kLowerFieldFirst;
        c.format.fieldPacking = kFieldPacking1;
        Image image(c.format, 32, 16);
        const auto& records = image.GetImageDescriptor()->channels;
        ASSERT_EQ(records.size(), c.channels.size());
        for (std::size_t i = 0; i < records.size(); ++i) {
            SCOPED_TRACE(i);
            const ChannelDescriptor& record = records[i];
            const ExpectedChannel& expected = c.channels[i];
            EXPECT_EQ(record.version, 0.0F);
            EXPECT_EQ(record.bitsPerSample, c.bits);
            EXPECT_EQ(record.sampling, expected.sampling);
            EXPECT_EQ(record.scanStyle, kLowerFieldFirst);
            EXPECT_EQ(record.fieldPacking, kFieldPacking1);
            EXPECT_EQ(record.clampLowLevel, 0.0F);
            EXPECT_EQ(record.clampHighLevel, 1.0F);
            const bool alpha = expected.kind == ExpectedChannel::kAlphaSample;
            EXPECT_EQ(record.isAlpha, alpha ? 1U : 0U);
            EXPECT_EQ(record.gamma, alpha ? kGammaNone : kGammaVideo);
            EXPECT_EQ(record.alphaDescription, alpha ? kAlphaVarying : kNoAlpha);
            switch (expected.kind) {
                case ExpectedChannel::kLuma:
                    EXPECT_EQ(BitsOf(record.blackLevel), 0x3D808081U);
                    EXPECT_EQ(BitsOf(record.whiteLevel), 0x3F6BEBECU);
                    break;
                case ExpectedChannel::kChroma:
                    EXPECT_EQ(BitsOf(record.blackLevel), 0x3D808081U);
                    EXPECT_EQ(BitsOf(record.whiteLevel), 0x3F70F0F1U);
                    break;
                default:
                    EXPECT_EQ(record.blackLevel, 0.0F);
                    EXPECT_EQ(record.whiteLevel, 1.0F);
            }
        }
    }
}

TEST(ImageLayout, CountsOneReferencePerChannelOfAPlane) {
    Image image(UyvyWithAlpha(64, 8), 64);
    auto& records = image.GetImageDescriptor()->channels;
    ASSERT_EQ(records.size(), 4U);
    EXPECT_FALSE(records[3].memory->IsShared());
    EXPECT_TRUE(records[0].memory->IsShared());
    records[0].memory = nullptr;
    EXPECT_TRUE(records[1].memory->IsShared());
    records[1].memory = nullptr;
    EXPECT_FALSE(records[2].memory->IsShared());
}

TEST(ImageLayout, RoundsFourTwoTwoWidthUpToEven) {
    Image image(Uyvy(721, 486), 16, 1);
    EXPECT_EQ(image.GetWidth(), 722U);
    EXPECT_EQ(image.GetBytesPerLine(0), 1444U);
    Image padded(Uyvy(721, 486), 16, 16);
    EXPECT_EQ(padded.GetBytesPerLine(0), 1456U);
}

TEST(ImageLayout, FourTwoZeroChannelHeights) {
    Image image(Planar(720, 486, k420), 64);
    EXPECT_EQ(image.GetHeight(0), 486U);
    EXPECT_EQ(image.GetHeight(1), 243U);
    EXPECT_EQ(image.GetHeight(2), 243U);
    EXPECT_EQ(image.GetBytesPerPixel(), 1.5F);
}

TEST(ImageLayout, CutsFourOneOneWidthToZero) {
    for (const ULong32 width : {1U, 721U, 722U, 723U}) {
        SCOPED_TRACE(width);
        Image image(Planar(width, 486, k411), 64);
        ASSERT_NE(image.GetImageDescriptor(), nullptr);
        EXPECT_EQ(image.GetWidth(), 0U);
        EXPECT_EQ(image.GetHeight(), 486U);
        ASSERT_EQ(image.GetNumberOfChannels(), 3U);
        for (ULong32 channel = 0; channel < 3; ++channel) {
            EXPECT_EQ(image.GetWidth(channel), 0U);
            EXPECT_EQ(image.GetMemorySize(channel), 0U);
            EXPECT_EQ(image.GetPitch(channel), 0U);
        }
    }
    EXPECT_EQ(Image(Planar(720, 486, k411), 64).GetWidth(), 720U);
}

TEST(ImageLayout, RgbTakesItsOwnOrder) {
    for (const AggregateChannelSamplingEnum sampling : {k4444, k444}) {
        Image image(Format(16, 8, kRGB, sampling, kYCbCrA), 64);
        EXPECT_EQ(image.GetComponentOrder(), kBGRA);
        EXPECT_EQ(image.GetChannelSampling(), sampling);
        EXPECT_NE(image.GetMemoryPointer(0), nullptr);
    }
}

TEST(ImageLayout, AlphaOnlyIsPackedWhateverTheFormatSays) {
    Image image(Format(16, 8, kAlphaOnly, k420, kYCbCrPlanes, kPlanar), 64);
    EXPECT_EQ(image.GetColorSpace(), kAlphaOnly);
    EXPECT_EQ(image.GetComponentOrder(), kBGRA);
    EXPECT_EQ(image.GetChannelSampling(), k4444);
    EXPECT_EQ(image.GetPixelPacking(), kPacked);
    EXPECT_EQ(image.GetNumberOfChannels(), 1U);
    EXPECT_EQ(image.GetBytesPerPixel(), 1.0F);
    EXPECT_NE(image.GetMemoryPointer(0), nullptr);
}

TEST(ImageLayout, FourTwoZeroTakesAnyOrder) {
    for (const ComponentOrderEnum order : {kBGRA, kCbYCrA, kYPlaneCbCrPlane}) {
        for (const AggregateChannelSamplingEnum sampling : {k420, k411}) {
            Image image(Planar(16, 8, sampling, order), 64);
            EXPECT_EQ(image.GetNumberOfChannels(), 3U);
            EXPECT_NE(image.GetMemoryPointer(2), nullptr);
        }
    }
}

TEST(ImageLayout, FormatsBeyondTheTableHaveNoChannels) {
    const auto space = [](int value) { return static_cast<ColorSpaceEnum>(value); };
    const auto sampling = [](int value) { return static_cast<AggregateChannelSamplingEnum>(value); };
    const ImageDescriptor formats[] = {
        Format(16, 8, kRGB, k4444, kBGRA, kPlanar),
        Format(16, 8, kRGB, k444, kBGRA, kPlanar),
        Format(16, 8, kRGB, k422, kBGRA),
        Format(16, 8, kRGB, k411, kBGRA),
        Format(16, 8, kColorSpace2, k4444, kBGRA),
        Format(16, 8, space(4), k4444, kBGRA),
        Format(16, 8, space(77), k422, kCbYCrA),
        Format(16, 8, kRGB, k4444, kBGRA, static_cast<PixelPackingEnum>(2)),
        Format(16, 8, kYCrCb, k422, kCbYCrA, static_cast<PixelPackingEnum>(2)),
        Format(16, 8, kYCrCb, k4444, kCbYCrA, kPlanar),
        Format(16, 8, kYCrCb, k444, kYCbCrPlanes, kPlanar),
        Format(16, 8, kYCrCb, k4224, kCbYCrA, kPlanar),
        Format(16, 8, kYCrCb, k420, kCbYCrA),
        Format(16, 8, kYCrCb, k411, kYCbCrPlanes),
        Format(16, 8, kYCrCb, sampling(6), kCbYCrA),
    };
    for (std::size_t i = 0; i < std::size(formats); ++i) {
        SCOPED_TRACE(i);
        Image image(formats[i], 64);
        ASSERT_NE(image.GetImageDescriptor(), nullptr);
        EXPECT_EQ(image.GetWidth(), 16U);
        EXPECT_EQ(image.GetHeight(), 8U);
        EXPECT_EQ(image.GetNumberOfChannels(), 0U);
        EXPECT_EQ(image.GetMemoryPointer(0), nullptr);
        EXPECT_EQ(image.GetMemorySize(0), 0U);
        EXPECT_EQ(image.GetBytesPerPixel(), 0.0F);
    }
}

TEST(ImageLayout, PlanarFourTwoTwoOfAnotherOrderIsNoImage) {
    for (const ComponentOrderEnum order : {kBGRA, kCbYCrA, kYCbYCr, kYCbCrA}) {
        SCOPED_TRACE(order);
        Image image(Planar(16, 8, k422, order), 64);
        ExpectEmpty(image);
    }
}

TEST(ImageLayout, PackedOrdersThatNoRowNamesLeaveDefaultRecords) {
    const struct {
        AggregateChannelSamplingEnum sampling;
        ComponentOrderEnum order;
        ULong32 channels;
    } cases[] = {{k4444, kYCbYCr, 4}, {k4444, kBGRA, 4},  {k444, kYCbCrPlanes, 3},
                 {k422, kYCbCrA, 3},  {k422, kBGRA, 3},   {k422, kYPlaneCbCrPlane, 3},
                 {k4224, kYCbYCr, 4}, {k4224, kYCbCrA, 4}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.sampling << " " << c.order);
        Image image(Format(16, 8, kYCrCb, c.sampling, c.order), 64);
        ASSERT_NE(image.GetImageDescriptor(), nullptr);
        ASSERT_EQ(image.GetNumberOfChannels(), c.channels);
        for (ULong32 i = 0; i < c.channels; ++i) {
            EXPECT_EQ(image.GetMemoryPointer(i), nullptr);
            EXPECT_EQ(image.GetWidth(i), 0U);
            EXPECT_EQ(image.GetPitch(i), 0U);
            EXPECT_EQ(image.GetMemorySize(i), 0U);
            EXPECT_EQ(image.GetImageDescriptor()->channels[i].version, -1.0F);
        }
        EXPECT_EQ(image.GetBytesPerPixel(), 0.0F);
    }
}

TEST(ImageLayout, DropsRecordsThatComeWithTheFormat) {
    ImageDescriptor format = Rgb24(16, 8);
    format.version = 9.0F;
    format.channels.resize(7);
    format.channels[0].width = 1000;
    Image image(format, 64);
    EXPECT_EQ(image.GetVersion(), 0.0F);
    EXPECT_EQ(image.GetNumberOfChannels(), 3U);
    EXPECT_EQ(image.GetWidth(0), 16U);
    EXPECT_EQ(format.channels.size(), 7U);

    format = Format(16, 8, kColorSpace2, k4444, kBGRA);
    format.channels.resize(2);
    EXPECT_EQ(Image(format, 64).GetNumberOfChannels(), 0U);

    // Where no row of the table describes the channels, nothing of the given records shows through either.
    format = Format(16, 8, kYCrCb, k4444, kYCbYCr);
    format.channels.resize(4);
    format.channels[2].SetAlpha(5.0F, 99, 98, kUpperFieldFirst, kNoFields, 16);
    Image undescribed(format, 64);
    ASSERT_EQ(undescribed.GetNumberOfChannels(), 4U);
    EXPECT_EQ(undescribed.GetWidth(2), 0U);
    EXPECT_EQ(undescribed.GetImageDescriptor()->channels[2].isAlpha, 0U);
    EXPECT_EQ(undescribed.GetImageDescriptor()->channels[2].version, -1.0F);
}

TEST(ImageLayout, KeepsACopyOfTheFormat) {
    ImageDescriptor format(64, 32, kYCrCb, k422, kYCbYCr, kPacked, kLowerFieldFirst, kFieldPacking1,
                           kBottomLeft, 0.75F, kShaped2);
    format.color = kBlack;
    format.memoryType = static_cast<MemoryTypeEnum>(12);
    Image image(format, 64);
    EXPECT_NE(image.GetImageDescriptor(), &format);
    EXPECT_EQ(image.GetVersion(), 0.0F);
    EXPECT_EQ(image.GetAspectRatio(), 0.75F);
    EXPECT_EQ(image.GetColorSpace(), kYCrCb);
    EXPECT_EQ(image.GetChannelSampling(), k422);
    EXPECT_EQ(image.GetComponentOrder(), kYCbYCr);
    EXPECT_EQ(image.GetPixelPacking(), kPacked);
    EXPECT_EQ(image.GetPixelShaping(), kShaped2);
    EXPECT_EQ(image.GetScanStyle(), kLowerFieldFirst);
    EXPECT_EQ(image.GetFieldPacking(), kFieldPacking1);
    EXPECT_EQ(image.GetOrigin(), kBottomLeft);
    EXPECT_EQ(image.GetColor(), kBlack);
    EXPECT_EQ(static_cast<int>(image.GetMemoryType()), 12);
}

TEST(ImageLayout, TakesMemoryFromCallbacks) {
    for (const FormatCase& c : SupportedFormats()) {
        SCOPED_TRACE(c.name);
        Host host;
        {
            Image image(&host, Host::Alloc, Host::Free, c.format, 64, 16);
            ASSERT_EQ(host.requests.size(), c.planes.size());
            for (std::size_t plane = 0; plane < c.planes.size(); ++plane) {
                const ULong32 usable = RoundUp(c.planes[plane].bytesPerLine, 16) * c.planes[plane].lines;
                EXPECT_EQ(host.requests[plane].totalSize, RoundUp(usable, 64) + 63);
                EXPECT_EQ(host.requests[plane].bufferAlignment, 64U);
                EXPECT_EQ(host.requests[plane].lineAlignment, 16U);
            }
            for (ULong32 i = 0; i < c.channels.size(); ++i) {
                auto* const pointer = static_cast<unsigned char*>(image.GetMemoryPointer(i));
                const Host::Request& request = host.requests[c.channels[i].plane];
                ASSERT_GE(pointer, request.memory);
                EXPECT_LE(pointer + image.GetMemorySize(i), request.memory + request.totalSize);
                EXPECT_EQ(image.GetPitch(i), RoundUp(c.planes[c.channels[i].plane].bytesPerLine, 16));
            }
        }
        EXPECT_TRUE(host.lent.empty());
    }
}

}  // namespace
}  // namespace Zan
