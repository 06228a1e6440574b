#include <TesselU/image/Image.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "foundation/CapabilitySeam.h"
#include "image/Formats.h"

namespace Zan {
namespace {

using test::Alpha;
using test::Format;
using test::Planar;
using test::Rgb24;
using test::Rgb32;
using test::Uyvy;
using test::UyvyWithAlpha;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

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

// An image with a null descriptor answers 0 wherever that is safe to ask.
void ExpectEmpty(Image& image) {
    EXPECT_EQ(image.GetImageDescriptor(), nullptr);
    EXPECT_EQ(image.GetWidth(), 0U);
    EXPECT_EQ(image.GetHeight(), 0U);
    EXPECT_EQ(image.GetMemoryPointer(0), nullptr);
    EXPECT_EQ(image.GetBufferAlignment(0), 0U);
    EXPECT_EQ(image.GetLineAlignment(0), 0U);
    EXPECT_EQ(image.GetWidth(0), 0U);
    EXPECT_EQ(image.GetHeight(0), 0U);
    EXPECT_EQ(image.GetPitch(0), 0U);
    EXPECT_EQ(image.GetBytesPerLine(0), 0U);
    EXPECT_EQ(image.GetMemorySize(0), 0U);
    EXPECT_EQ(image.GetBytesPerChannel(0), 0.0F);
    EXPECT_EQ(image.GetBytesPerPixel(), 0.0F);
    EXPECT_EQ(image.GetAlphaChannelDescription(), kNoAlpha);
    EXPECT_EQ(image.SetAlphaChannelDescription(kAlphaOpaque), kStatusBadArgument);
    EXPECT_EQ(image.SetBlackAndWhiteLevel(0, 1, 0), kStatusUnsupportedKind);
    EXPECT_EQ(image.SetClampLowAndHighLevel(0, 1, 0), kStatusUnsupportedKind);
    image.SetOrigin(kBottomLeft);
}

// A host that hands out memory and watches it.
struct Host {
    struct Request {
        ULong32 totalSize;
        ULong32 bufferAlignment;
        ULong32 lineAlignment;
        unsigned char* memory;
    };
    std::vector<Request> requests;
    std::set<void*> lent;
    bool refuse = false;

    ~Host() { EXPECT_TRUE(lent.empty()) << "memory was not given back"; }

    static unsigned char* Alloc(void* context, ULong32 totalSize, ULong32 bufferAlignment,
                                ULong32 lineAlignment) {
        Host& host = *static_cast<Host*>(context);
        auto* const memory = host.refuse ? nullptr : new unsigned char[totalSize];
        host.requests.push_back({totalSize, bufferAlignment, lineAlignment, memory});
        if (memory) {
            host.lent.insert(memory);
        }
        return memory;
    }
    static void Free(void* context, void* memory) {
        Host& host = *static_cast<Host*>(context);
        EXPECT_EQ(host.lent.erase(memory), 1U) << "not ours, or twice";
        delete[] static_cast<unsigned char*>(memory);
    }
};

TEST(Image, BuildsEveryFormatOfTheTable) {
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

TEST(Image, FillsTheChannelRecords) {
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

TEST(Image, CountsOneReferencePerChannelOfAPlane) {
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

TEST(Image, RoundsFourTwoTwoWidthUpToEven) {
    Image image(Uyvy(721, 486), 16, 1);
    EXPECT_EQ(image.GetWidth(), 722U);
    EXPECT_EQ(image.GetBytesPerLine(0), 1444U);
    Image padded(Uyvy(721, 486), 16, 16);
    EXPECT_EQ(padded.GetBytesPerLine(0), 1456U);
}

TEST(Image, FourTwoZeroChannelHeights) {
    Image image(Planar(720, 486, k420), 64);
    EXPECT_EQ(image.GetHeight(0), 486U);
    EXPECT_EQ(image.GetHeight(1), 243U);
    EXPECT_EQ(image.GetHeight(2), 243U);
    EXPECT_EQ(image.GetBytesPerPixel(), 1.5F);
}

TEST(Image, CutsFourOneOneWidthToZero) {
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

TEST(Image, RgbTakesItsOwnOrder) {
    for (const AggregateChannelSamplingEnum sampling : {k4444, k444}) {
        Image image(Format(16, 8, kRGB, sampling, kYCbCrA), 64);
        EXPECT_EQ(image.GetComponentOrder(), kBGRA);
        EXPECT_EQ(image.GetChannelSampling(), sampling);
        EXPECT_NE(image.GetMemoryPointer(0), nullptr);
    }
}

TEST(Image, AlphaOnlyIsPackedWhateverTheFormatSays) {
    Image image(Format(16, 8, kAlphaOnly, k420, kYCbCrPlanes, kPlanar), 64);
    EXPECT_EQ(image.GetColorSpace(), kAlphaOnly);
    EXPECT_EQ(image.GetComponentOrder(), kBGRA);
    EXPECT_EQ(image.GetChannelSampling(), k4444);
    EXPECT_EQ(image.GetPixelPacking(), kPacked);
    EXPECT_EQ(image.GetNumberOfChannels(), 1U);
    EXPECT_EQ(image.GetBytesPerPixel(), 1.0F);
    EXPECT_NE(image.GetMemoryPointer(0), nullptr);
}

TEST(Image, FourTwoZeroTakesAnyOrder) {
    for (const ComponentOrderEnum order : {kBGRA, kCbYCrA, kYPlaneCbCrPlane}) {
        for (const AggregateChannelSamplingEnum sampling : {k420, k411}) {
            Image image(Planar(16, 8, sampling, order), 64);
            EXPECT_EQ(image.GetNumberOfChannels(), 3U);
            EXPECT_NE(image.GetMemoryPointer(2), nullptr);
        }
    }
}

TEST(Image, FormatsBeyondTheTableHaveNoChannels) {
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

TEST(Image, PlanarFourTwoTwoOfAnotherOrderIsNoImage) {
    for (const ComponentOrderEnum order : {kBGRA, kCbYCrA, kYCbYCr, kYCbCrA}) {
        SCOPED_TRACE(order);
        Image image(Planar(16, 8, k422, order), 64);
        ExpectEmpty(image);
    }
}

TEST(Image, PackedOrdersThatNoRowNamesLeaveDefaultRecords) {
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

TEST(Image, DropsRecordsThatComeWithTheFormat) {
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

TEST(Image, KeepsACopyOfTheFormat) {
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

TEST(Image, TakesMemoryFromCallbacks) {
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

TEST(Image, CopyNamesTheSameDescriptor) {
    Image image(Rgb32(8, 8), 64);
    // Only one of the two may be destroyed, so the copy lives where no destructor runs.
    alignas(Image) unsigned char place[sizeof(Image)];
    Image* const copy = new (place) Image(image);
    EXPECT_EQ(copy->GetImageDescriptor(), image.GetImageDescriptor());
    EXPECT_EQ(copy->GetMemoryPointer(0), image.GetMemoryPointer(0));
    static_assert(sizeof(Image) == sizeof(void*), "the pointer to the descriptor is the only field");
}

ChannelDescriptor AlphaRecord(ULong32 width, ULong32 height, ULong32 bits = 8) {
    ChannelDescriptor record;
    record.SetAlpha(1.0F, width, height, kLowerFieldFirst, kNoFields, bits);
    return record;
}

TEST(Image, AddChannelTakesOnlyAlpha) {
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

TEST(Image, AddedAlphaMakesFourTwoTwoFour) {
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

TEST(Image, AddedAlphaChangesNoOtherSampling) {
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

TEST(Image, DeleteChannelMovesLaterRecordsDown) {
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

TEST(Image, DeleteChannelLeavesColourAlone) {
    Image image(UyvyWithAlpha(64, 8), 64);
    EXPECT_EQ(image.DeleteChannel(0), kStatusOk);
    EXPECT_EQ(image.DeleteChannel(2), kStatusOk);
    EXPECT_EQ(image.GetNumberOfChannels(), 4U);
    EXPECT_EQ(image.GetChannelSampling(), k4224);
    EXPECT_EQ(image.DeleteChannel(99), kStatusOk);
    EXPECT_EQ(image.GetNumberOfChannels(), 4U);
}

TEST(Image, DeleteChannelOfAnotherSamplingKeepsIt) {
    Image image(Rgb32(64, 8), 64);
    EXPECT_EQ(image.DeleteChannel(3), kStatusOk);
    EXPECT_EQ(image.GetNumberOfChannels(), 3U);
    EXPECT_EQ(image.GetChannelSampling(), k4444);
}

TEST(Image, AddChannelDefaultLineAlignmentFollowsTheProcessor) {
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

TEST(Image, AddChannelLineSizeFollowsTheBits) {
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

TEST(Image, AddChannelWrapsMemoryWithItsPitch) {
    Image image(Uyvy(64, 8), 64);
    std::vector<unsigned char> memory(100 * 8);
    ASSERT_EQ(image.AddChannel(memory.data(), 100, AlphaRecord(64, 8), 1, 1), 3);
    EXPECT_EQ(image.GetMemoryPointer(3), memory.data());
    EXPECT_EQ(image.GetPitch(3), 100U);
    EXPECT_EQ(image.GetMemorySize(3), 800U);
    EXPECT_EQ(image.GetChannelSampling(), k4224);
}

TEST(Image, AddChannelThroughCallbacks) {
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

TEST(Image, AddChannelWithoutMemoryOrCallbacks) {
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

TEST(Image, AddChannelThatGetsNoMemory) {
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

TEST(Image, AddAndDeleteChannelOnAnEmptyImage) {
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

TEST(Image, AddsACopyOfOneOfItsOwnRecords) {
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

TEST(Image, AlphaDescription) {
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

TEST(Image, SetsLevelsOfOneChannel) {
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

TEST(Image, RefusesLevelsOutsideZeroToOne) {
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

TEST(Image, LevelTestsOnDefaultLevels) {
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

TEST(Image, LevelTestsLookAtTheirChannelsOnly) {
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

TEST(Image, KnowsTheVideoLevels) {
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

TEST(Image, FullRangeLumaIsNotAtVideoLevels) {
    Image image(Uyvy(720, 486), 64);
    EXPECT_TRUE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
    EXPECT_EQ(image.SetBlackAndWhiteLevel(0, 1, 1), kStatusOk);
    EXPECT_FALSE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
}

TEST(Image, VideoLevelsHoldWithinHalfACodeValue) {
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

TEST(Image, OtherOrdersAreNeverAtVideoLevels) {
    Image image(Rgb32(8, 8), 64);
    ASSERT_EQ(image.SetBlackAndWhiteLevel(16.0F / 255, 240.0F / 255, 0), kStatusOk);
    ASSERT_EQ(image.SetBlackAndWhiteLevel(16.0F / 255, 235.0F / 255, 1), kStatusOk);
    ASSERT_EQ(image.SetBlackAndWhiteLevel(16.0F / 255, 240.0F / 255, 2), kStatusOk);
    EXPECT_FALSE(image.AreYCrCbBlackAndWhiteLevelsAtITU601());
    EXPECT_FALSE(Image(Alpha(8, 8), 64).AreYCrCbBlackAndWhiteLevelsAtITU601());
}

}  // namespace
}  // namespace Zan
