#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ConversionMatrix.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageDescriptor.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "convert/ConversionPairs.h"
#include "convert/ConverterSeam.h"
#include "convert/KernelTable.h"
#include "foundation/CapabilitySeam.h"

namespace {

using namespace Zan;

using Bytes = std::vector<unsigned char>;
using Matrix = std::array<double, 16>;
using Offsets = std::array<double, 8>;

constexpr Matrix kUnitMatrix = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

Matrix MatrixOf(const ColorSpaceConverter& converter) {
    Matrix matrix{};
    converter.GetMatrixCoef(matrix.data());
    return matrix;
}

Offsets OffsetsOf(const ColorSpaceConverter& converter) {
    Offsets offsets{};
    converter.GetOffset(offsets.data());
    return offsets;
}

// A packed picture in memory of our own, every byte of which tests look at.
class Packed {
public:
    Packed(ColorSpaceEnum space, AggregateChannelSamplingEnum sampling, ComponentOrderEnum order,
           unsigned width, unsigned height, unsigned char fill = 0)
        : pitch((sampling == k422   ? 2
                 : sampling == k444 ? 3
                                    : 4) *
                width),
          bytes(std::size_t{pitch} * height, fill),
          image(std::make_unique<Image>(
              bytes.data(), pitch,
              ImageDescriptor(width, height, space, sampling, order, kPacked, kUpperFieldFirst,
                              kInterleavedFields, kTopLeft, 1.0F, kUnshaped),
              1U, 1U)) {}

    Image& Get() { return *image; }
    ImageView View() { return ImageView(image.get()); }
    ImageView View(Rectangle region, WhichFieldEnum field = kFrame) {
        return ImageView(image.get(), region, field);
    }
    unsigned char* Row(unsigned y) { return bytes.data() + std::size_t{y} * pitch; }
    Bytes Pixel(unsigned x, unsigned y) { return Bytes(Row(y) + 4 * x, Row(y) + 4 * x + 4); }

    /// Repeats four bytes over the picture.
    Packed& Fill(const Bytes& four) {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = four[i % 4];
        }
        return *this;
    }

    const unsigned pitch;
    Bytes bytes;

private:
    std::unique_ptr<Image> image;
};

Packed Uyvy(unsigned width, unsigned height) {
    return {kYCrCb, k422, kCbYCrA, width, height};
}
Packed Yuyv(unsigned width, unsigned height) {
    return {kYCrCb, k422, kYCbYCr, width, height};
}
Packed Rgb32(unsigned width, unsigned height, unsigned char fill = 0) {
    return {kRGB, k4444, kBGRA, width, height, fill};
}

Long32 Convert(ColorSpaceConverter& converter, ImageView from, ImageView to,
               ProcessingStyleEnum style = kInt_MMXorSIMD, const Matrix* matrix = nullptr,
               const Offsets* offsets = nullptr) {
    Matrix m = matrix != nullptr ? *matrix : Matrix{};
    Offsets o = offsets != nullptr ? *offsets : Offsets{};
    return converter.Do(from, to, style, matrix != nullptr ? m.data() : nullptr,
                        offsets != nullptr ? o.data() : nullptr);
}

// ---- The object ------------------------------------------------------------------------------------------

TEST(ColorSpaceConverter, StartsWithTheIdentity) {
    const ColorSpaceConverter converter;
    EXPECT_EQ(MatrixOf(converter), kUnitMatrix);
    EXPECT_EQ(OffsetsOf(converter), Offsets{});
}

TEST(ColorSpaceConverter, AlphaFillIsFullUntilSetAndStays) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(18, 1), to = Rgb32(18, 1);
    from.Fill({128, 126, 128, 126});
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    // In the group and in the tail.
    EXPECT_EQ(to.Pixel(0, 0)[3], 255);
    EXPECT_EQ(to.Pixel(17, 0)[3], 255);
    converter.SetAlphaChannel(7);
    for (int call = 0; call < 2; ++call) {
        to.Fill({1, 1, 1, 1});
        EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
        EXPECT_EQ(to.Pixel(0, 0)[3], 7);
        EXPECT_EQ(to.Pixel(17, 0)[3], 7);
    }
}

TEST(ColorSpaceConverter, CopiesCarryFieldsAndSettings) {
    ColorSpaceConverter converter;
    converter.SetAlphaChannel(9);
    Matrix own{};
    own[5] = 0.5;
    Packed from = Uyvy(2, 1), to = Rgb32(2, 1);
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD, &own), 0);
    ColorSpaceConverter copy;
    copy = converter;
    EXPECT_EQ(MatrixOf(copy), own);
    EXPECT_EQ(Convert(copy, from.View(), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 0)[3], 9);
}

TEST(ColorSpaceConverter, MmxOnlyChangesNoResult) {
    Packed from = Uyvy(40, 3), with = Rgb32(40, 3), without = Rgb32(40, 3);
    for (std::size_t i = 0; i < from.bytes.size(); ++i) {
        from.bytes[i] = static_cast<unsigned char>(i * 37);
    }
    ColorSpaceConverter converter;
    EXPECT_EQ(Convert(converter, from.View(), without.View()), 0);
    converter.SetMMXonlyStyle(true);
    EXPECT_EQ(Convert(converter, from.View(), with.View()), 0);
    EXPECT_EQ(with.bytes, without.bytes);
    // Nor does the processor.
    for (const CPUinstructionSetEnum set : {kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2}) {
        const ScopedInstructionSet scope(set);
        with.Fill({0, 0, 0, 0});
        EXPECT_EQ(Convert(converter, from.View(), with.View()), 0);
        EXPECT_EQ(with.bytes, without.bytes) << set;
    }
}

// ---- Refusals --------------------------------------------------------------------------------------------

TEST(ColorSpaceConverter, MissingMemoryIsRefusedFirst) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to = Rgb32(4, 2, 0x33);
    const Matrix own = {2, 3};
    const Offsets offsets = {4, 5};
    Image none(ImageDescriptor(4, 4, kColorSpace2, k4444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft,
                               1.0F, kUnshaped),
               64U);
    Image empty(static_cast<unsigned char*>(nullptr), 0U, ImageDescriptor(), 16U, 16U);
    for (const ProcessingStyleEnum style :
         {kFlp, kFP, kInt_MMXorSIMD, kFlp_SIMD, kStyle4, kBestAvailable, kGeneralFormat}) {
        for (Image* image : {static_cast<Image*>(nullptr), &none, &empty}) {
            EXPECT_EQ(Convert(converter, ImageView(image), to.View(), style, &own, &offsets), 1);
            EXPECT_EQ(Convert(converter, from.View(), ImageView(image), style, &own, &offsets), 1);
        }
    }
    // Nothing else has happened yet.
    EXPECT_EQ(MatrixOf(converter), kUnitMatrix);
    EXPECT_EQ(OffsetsOf(converter), Offsets{});
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x33));
}

// Gives memory to the first plane that asks and to no other.
unsigned char* AllocateOnce(void* context, ULong32 size, ULong32, ULong32) {
    auto& given = *static_cast<Bytes*>(context);
    if (!given.empty()) {
        return nullptr;
    }
    given.resize(size);
    return given.data();
}
void KeepMemory(void*, void*) {}

TEST(ColorSpaceConverter, EveryChannelMustHaveMemory) {
    Bytes memory;
    Image image(&memory, AllocateOnce, KeepMemory,
                ImageDescriptor(4, 4, kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft,
                                1.0F, kUnshaped),
                1U, 1U);
    ASSERT_NE(image.GetMemoryPointer(0), nullptr);
    ASSERT_EQ(image.GetMemoryPointer(3), nullptr);
    ColorSpaceConverter converter;
    Packed other = Rgb32(4, 4);
    EXPECT_EQ(Convert(converter, ImageView(&image), ImageView(&image)), 1);
    EXPECT_EQ(Convert(converter, ImageView(&image), other.View()), 1);
    EXPECT_EQ(Convert(converter, other.View(), ImageView(&image)), 1);
}

using Call = ConverterSeam::Call;

TEST(ColorSpaceConverter, StatusesComeInTheirOrder) {
    unsigned char memory[64] = {};
    ColorSpaceConverter converter;
    const auto status = [&](ProcessingStyleEnum style, bool planes, Long32 pitch, Long32 width,
                            ULong32 source, ULong32 destination) {
        Call call;
        call.style = style;
        call.source = source;
        call.destination = destination;
        call.sourcePlane = planes ? memory : nullptr;
        call.destinationPlane = planes ? memory : nullptr;
        call.sourcePitch = call.destinationPitch = pitch;
        call.width = width;
        return ConverterSeam::Route(converter, call);
    };
    // Everything wrong, then one thing less at a time.
    for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kFlp, kFP, kFlp_SIMD, kBestAvailable, kStyle4}) {
        EXPECT_EQ(status(style, false, 2, -1, 100, 100), 1) << style;
    }
    EXPECT_EQ(status(kFP, true, 2, -1, 100, 100), 2);
    EXPECT_EQ(status(kFlp_SIMD, true, 2, -1, 100, 100), 2);
    for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kFlp, kBestAvailable, kStyle4, kGeneralFormat}) {
        EXPECT_EQ(status(style, true, 2, -1, 100, 100), 3) << style;
    }
    for (const ProcessingStyleEnum style : {kFP, kFlp_SIMD}) {
        EXPECT_EQ(status(style, true, 4, -1, 100, 100), 3) << style;
        EXPECT_EQ(status(style, true, 4, std::numeric_limits<Long32>::min(), 100, 100), 3) << style;
        EXPECT_EQ(status(style, true, 4, 0, 100, 100), 4) << style;
    }
    for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kFlp, kStyle4}) {
        EXPECT_EQ(status(style, true, 2, 0, 100, 100), 4) << style;
        EXPECT_EQ(status(style, true, 2, 0, 0, 100), 4) << style;
        EXPECT_EQ(status(style, true, 2, 0, 100, 0), 4) << style;
    }
    EXPECT_EQ(status(kInt_MMXorSIMD, true, 3, 0, 0, 0), 0);
}

TEST(ColorSpaceConverter, OnePlaneMissingIsEnough) {
    unsigned char memory[64] = {};
    ColorSpaceConverter converter;
    for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kFlp, kFP, kFlp_SIMD, kBestAvailable}) {
        Call call;
        call.style = style;
        call.sourcePlane = memory;
        EXPECT_EQ(ConverterSeam::Route(converter, call), 1) << style;
        std::swap(call.sourcePlane, call.destinationPlane);
        EXPECT_EQ(ConverterSeam::Route(converter, call), 1) << style;
    }
}

TEST(ColorSpaceConverter, PitchesThatPathsRefuse) {
    unsigned char memory[64] = {};
    ColorSpaceConverter converter;
    for (Long32 pitch = -9; pitch <= 9; ++pitch) {
        for (const bool onSource : {false, true}) {
            Call call;
            call.sourcePlane = call.destinationPlane = memory;
            call.source = call.destination = 100;
            (onSource ? call.sourcePitch : call.destinationPitch) = pitch;
            call.style = kFP;
            EXPECT_EQ(ConverterSeam::Route(converter, call), pitch % 4 != 0 ? 2 : 4) << pitch;
            // This one looks at a single bit, so that an odd pitch may pass.
            call.style = kFlp_SIMD;
            const int inFour = ((pitch % 4) + 4) % 4;
            EXPECT_EQ(ConverterSeam::Route(converter, call), inFour >= 2 ? 2 : 4) << pitch;
            call.style = kInt_MMXorSIMD;
            EXPECT_EQ(ConverterSeam::Route(converter, call), 4) << pitch;
            call.style = kFlp;
            EXPECT_EQ(ConverterSeam::Route(converter, call), 4) << pitch;
        }
    }
}

TEST(ColorSpaceConverter, PairsBeyondThePathAreRefused) {
    unsigned char memory[64] = {};
    ColorSpaceConverter converter;
    int converted = 0;
    for (ULong32 source = 0; source <= 27; ++source) {
        for (ULong32 destination = 0; destination <= 27; ++destination) {
            Call call;
            call.source = source;
            call.destination = destination;
            call.sourcePlane = call.destinationPlane = memory;
            // A pair of the path whose kernel does not exist is refused alike.
            const bool exists = FindIntegerKernel(source, destination, true).run != nullptr;
            EXPECT_EQ(ConverterSeam::Route(converter, call), exists ? 0 : 4)
                << source << " to " << destination;
            EXPECT_TRUE(!exists || integerPairs.Has(source, destination));
            converted += exists;
            const auto refusesBeyond = [&](ProcessingStyleEnum style, const PairTable& pairs) {
                if (!pairs.Has(source, destination)) {
                    call.style = style;
                    EXPECT_EQ(ConverterSeam::Route(converter, call), 4)
                        << source << " to " << destination << ", style " << style;
                }
            };
            refusesBeyond(kFlp, floatPairs);
            refusesBeyond(kFP, fixedPointPairs);
            refusesBeyond(kFlp_SIMD, floatSimdPairs);
        }
    }
    EXPECT_GT(converted, 20);
}

TEST(ColorSpaceConverter, FloatSimdNeedsItsInstructions) {
    unsigned char memory[64] = {};
    ColorSpaceConverter converter;
    Call call;
    call.style = kFlp_SIMD;
    call.sourcePlane = call.destinationPlane = memory;
    call.destination = 1;
    for (const CPUinstructionSetEnum set : {kScalarOnly, kMMX, kSSE_MMX}) {
        const ScopedInstructionSet scope(set);
        EXPECT_EQ(ConverterSeam::Route(converter, call), 5) << set;
        Call other = call;
        other.destination = 2;
        EXPECT_EQ(ConverterSeam::Route(converter, other), 4) << set;
        other = call;
        other.width = -1;
        EXPECT_EQ(ConverterSeam::Route(converter, other), 3) << set;
    }
    for (const CPUinstructionSetEnum set : {kSIMD, kSSE2}) {
        const ScopedInstructionSet scope(set);
        EXPECT_NE(ConverterSeam::Route(converter, call), 5) << set;
    }
}

TEST(ColorSpaceConverter, UnknownPlusFunctionIsRefusedOnItsPairsAlone) {
    ColorSpaceConverter converter;
    Packed from = Rgb32(4, 2, 90), to(kYCrCb, k4444, kCbYCrA, 4, 2, 0x5C);
    for (ULong32 channel = 0; channel < 3; ++channel) {
        from.Get().SetBlackAndWhiteLevel(16.0F / 255, 235.0F / 255, channel);
        from.Get().SetClampLowAndHighLevel(16.0F / 255, 235.0F / 255, channel);
    }
    for (const ULong32 function : {7U, 8U, 255U, 0xFFFFFFFFU}) {
        converter.SetPlusFunction(function);
        for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kFlp, kBestAvailable, kStyle4}) {
            // Studio levels, then narrow clamp.
            EXPECT_EQ(Convert(converter, from.View(), to.View(), style), 5) << function;
            EXPECT_EQ(ConverterSeam::SourceFormat(converter), 4U);
            Packed narrow = Rgb32(4, 2, 90);
            for (ULong32 channel = 0; channel < 3; ++channel) {
                narrow.Get().SetClampLowAndHighLevel(16.0F / 255, 235.0F / 255, channel);
            }
            EXPECT_EQ(Convert(converter, narrow.View(), to.View(), style), 5) << function;
            EXPECT_EQ(ConverterSeam::SourceFormat(converter), 3U);
        }
        EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x5C));
        // Full levels do not ask for it, and other pairs go on.
        Packed full = Rgb32(4, 2, 90);
        EXPECT_NE(Convert(converter, full.View(), to.View()), 5);
        to.Fill({0x5C, 0x5C, 0x5C, 0x5C});
        EXPECT_EQ(Convert(converter, from.View(), from.View()), 0);
    }
    for (ULong32 function = 0; function < 7; ++function) {
        converter.SetPlusFunction(function);
        Packed result(kYCrCb, k4444, kCbYCrA, 4, 2);
        EXPECT_NE(Convert(converter, from.View(), result.View()), 5) << function;
    }
}

TEST(ColorSpaceConverter, UnclassifiedFormatsAreRefused) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to = Rgb32(4, 2, 0x11);
    from.Get().SetColor(kColor2);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 4);
    // Classified twice, still unknown.
    EXPECT_EQ(ConverterSeam::SourceFormat(converter), 100U);
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 0U);
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x11));
    from.Get().SetColor(kFullColor);
    to.Get().SetPixelShaping(kShaped2);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 4);
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 100U);
}

// ---- Classification and simplification in a call ---------------------------------------------------------

TEST(ColorSpaceConverter, OpaqueSourcesAreNotUnshaped) {
    ColorSpaceConverter converter;
    Image from(ImageDescriptor(4, 4, kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft, 1.0F,
                               kShaped),
               64U);
    Packed to = Rgb32(4, 4);
    Convert(converter, ImageView(&from), to.View());
    EXPECT_EQ(ConverterSeam::SourceFormat(converter), 16U);
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 0U);
    from.SetAlphaChannelDescription(kAlphaOpaque);
    Convert(converter, ImageView(&from), to.View());
    EXPECT_EQ(ConverterSeam::SourceFormat(converter), 17U);
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 0U);
}

TEST(ColorSpaceConverter, TheAlphaOfTheDestinationCountsForNothing) {
    ColorSpaceConverter converter;
    Packed from = Rgb32(4, 4), to = Rgb32(4, 4);
    to.Get().SetPixelShaping(kShaped);
    to.Get().SetAlphaChannelDescription(kAlphaOpaque);
    Convert(converter, from.View(), to.View());
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 14U);
    // The other way round both are unshaped, and a copy is left.
    from.Get().SetAlphaChannelDescription(kAlphaOpaque);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 0U);
    EXPECT_EQ(to.bytes, from.bytes);
}

TEST(ColorSpaceConverter, InterlacedPlanesAreAnotherFormat) {
    ColorSpaceConverter converter;
    Packed to = Rgb32(4, 4);
    for (const ScanStyleEnum scan : {kProgressive, kUpperFieldFirst, kLowerFieldFirst}) {
        Image from(ImageDescriptor(4, 4, kYCrCb, k420, kYCbCrPlanes, kPlanar, scan, kInterleavedFields,
                                   kTopLeft, 1.0F, kUnshaped),
                   64U);
        Convert(converter, ImageView(&from), to.View());
        EXPECT_EQ(ConverterSeam::SourceFormat(converter), scan == kProgressive ? 6U : 8U);
    }
    EXPECT_STRNE(FindIntegerKernel(6, 0, true).name, FindIntegerKernel(8, 0, true).name);
}

// ---- Routing ---------------------------------------------------------------------------------------------

TEST(ColorSpaceConverter, StylesThatTakeTheIntegerPath) {
    Packed from = Uyvy(20, 2), expected = Rgb32(20, 2);
    for (std::size_t i = 0; i < from.bytes.size(); ++i) {
        from.bytes[i] = static_cast<unsigned char>(i * 91);
    }
    ColorSpaceConverter converter;
    ASSERT_EQ(Convert(converter, from.View(), expected.View(), kInt_MMXorSIMD), 0);
    for (const int style : {4, 5, 7, 99, -1}) {
        Packed to = Rgb32(20, 2);
        EXPECT_EQ(Convert(converter, from.View(), to.View(), static_cast<ProcessingStyleEnum>(style)), 0);
        EXPECT_EQ(to.bytes, expected.bytes) << style;
    }
}

TEST(ColorSpaceConverter, BestAvailableGoesOnOnlyFromAMissingPair) {
    unsigned char memory[64] = {};
    ColorSpaceConverter converter;
    Call call;
    call.style = kBestAvailable;
    EXPECT_EQ(ConverterSeam::Route(converter, call), 1);
    call.sourcePlane = call.destinationPlane = memory;
    call.width = -5;
    EXPECT_EQ(ConverterSeam::Route(converter, call), 3);
    call.width = 0;
    call.source = 4;
    call.destination = 1;
    converter.SetPlusFunction(7);
    EXPECT_EQ(ConverterSeam::Route(converter, call), 5);
    // 2 to 13 has no integer kernel, but one of the float path; 0 to 3 has neither.
    EXPECT_FALSE(integerPairs.Has(2, 13));
    EXPECT_TRUE(floatPairs.Has(2, 13));
    EXPECT_FALSE(integerPairs.Has(0, 3));
    EXPECT_FALSE(floatPairs.Has(0, 3));
}

// ---- Matrix and offsets ----------------------------------------------------------------------------------

TEST(ColorSpaceConverter, DefaultsAreKeptInTheObjectButForOffsets) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to = Rgb32(4, 2);
    Matrix expected{};
    Offsets offsets{};
    DefaultMatrixForFormats(expected.data(), offsets.data(), 2, 0);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(MatrixOf(converter), expected);
    EXPECT_EQ(OffsetsOf(converter), Offsets{});

    // Given values stay until something replaces them; offsets of a default call do not.
    const Matrix own = {0.25, 0.5};
    const Offsets ownOffsets = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD, &own, &ownOffsets), 0);
    EXPECT_EQ(MatrixOf(converter), own);
    EXPECT_EQ(OffsetsOf(converter), ownOffsets);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(MatrixOf(converter), expected);
    EXPECT_EQ(OffsetsOf(converter), ownOffsets);
}

TEST(ColorSpaceConverter, PlanarDefaultsAreKeptTransposed) {
    ColorSpaceConverter converter;
    Image from(ImageDescriptor(16, 2, kYCrCb, k420, kYCbCrPlanes, kPlanar, kProgressive, kNoFields, kTopLeft,
                               1.0F, kUnshaped),
               64U);
    Packed to = Rgb32(16, 2);
    EXPECT_EQ(Convert(converter, ImageView(&from), to.View()), 0);
    Matrix natural{};
    Offsets offsets{};
    DefaultMatrixForFormats(natural.data(), offsets.data(), 6, 0);
    const Matrix kept = MatrixOf(converter);
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_EQ(kept[4 * j + i], natural[4 * i + j]) << i << ", " << j;
        }
    }
    EXPECT_EQ(OffsetsOf(converter), Offsets{});
    // What a caller gives stays as it was given.
    EXPECT_EQ(Convert(converter, ImageView(&from), to.View(), kInt_MMXorSIMD, &natural), 0);
    EXPECT_EQ(MatrixOf(converter), natural);
}

TEST(ColorSpaceConverter, EqualFormatsFillNothing) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to = Uyvy(4, 2);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(MatrixOf(converter), kUnitMatrix);
    const Matrix own = {7};
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD, &own), 0);
    EXPECT_EQ(MatrixOf(converter), own);
}

TEST(ColorSpaceConverter, ARefusedPairKeepsWhatWasGiven) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to(kYCrCb, k4444, kYCbCrA, 4, 2);
    const Matrix own = {0, 1, 2, 3};
    const Offsets offsets = {9};
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD, &own, &offsets), 4);
    EXPECT_EQ(MatrixOf(converter), own);
    EXPECT_EQ(OffsetsOf(converter), offsets);
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD), 4);
    EXPECT_EQ(MatrixOf(converter), own);
}

TEST(ColorSpaceConverter, MatrixAndOffsetsAreStatedAnewByEachCall) {
    // Cb 128, Y 116, Cr 128: grey of 100 code values above black.
    ColorSpaceConverter converter;
    Packed from = Uyvy(16, 1), to = Rgb32(16, 1);
    from.Fill({128, 116, 128, 116});
    Matrix half{};
    half[1] = half[5] = half[9] = 0.5;
    const Offsets lift = {0, 0, 0, 0, 10, 20, 30, 0};
    // Default matrix: 4769 * 100 / 4096 = 116.43.
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 0), (Bytes{116, 116, 116, 255}));
    // Own matrix with default offsets: 0.5 * (116 - 16).
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD, &half), 0);
    EXPECT_EQ(to.Pixel(0, 0), (Bytes{50, 50, 50, 255}));
    // Own matrix and offsets: 0.5 * 116, plus the lift.
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD, &half, &lift), 0);
    EXPECT_EQ(to.Pixel(0, 0), (Bytes{68, 78, 88, 255}));
    // Default matrix with own offsets, which do not centre chroma: blue 8263 * 128 / 4096 + 135.06 = 393,
    // green (-1605 - 3330) * 128 / 4096 + 135.06 + 20 = 0.84, red 6537 * 128 / 4096 + 135.06 + 30 = 369.
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD, nullptr, &lift), 0);
    EXPECT_EQ(to.Pixel(0, 0), (Bytes{255, 0, 255, 255}));
    // And defaults again.
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 0), (Bytes{116, 116, 116, 255}));
}

// ---- The coefficient block -------------------------------------------------------------------------------

using Pair = std::pair<ULong32, ULong32>;

// Every pair of the path that is no copy.
std::vector<Pair> MatrixPairs() {
    std::vector<Pair> pairs;
    for (ULong32 source = 0; source < 26; ++source) {
        for (ULong32 destination = 0; destination < 26; ++destination) {
            if (source != destination && integerPairs.Has(source, destination)) {
                pairs.emplace_back(source, destination);
            }
        }
    }
    return pairs;
}

bool IsColumnWise(Pair pair) {
    return (pair.first == 6 || pair.first == 8 || pair.first == 9) && (pair.second == 0 || pair.second == 5);
}

std::pair<double, double> ScalesOf(Pair pair) {
    static const std::set<Pair> whole = {{0, 2},  {0, 12}, {0, 16},  {0, 17}, {5, 2},   {5, 12},
                                         {5, 16}, {10, 2}, {10, 11}, {14, 2}, {14, 16}, {14, 17}};
    if (IsColumnWise(pair)) {
        return {16, 16};
    }
    return {128, whole.count(pair) != 0 ? 1 : 16};
}

int Rounded(double value) {
    return static_cast<int>(std::trunc(value < 0 ? value - 0.5 : value + 0.5));
}

// `matrix` and `offset` are those in use.
void ExpectBlock(const FixedPointCoefficients& block, Pair pair, const Matrix& matrix, const Offsets& offset,
                 bool paired) {
    const auto scales = ScalesOf(pair);
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_EQ(block.matrix[i][j], matrix[4 * i + j]) << i << ", " << j;
            const bool transposed = IsColumnWise(pair);
            const std::size_t row = transposed ? j : i, column = transposed ? i : j;
            const int fixed = Rounded(matrix[4 * i + j] * 8192);
            EXPECT_EQ(block.matrixFixed[row][column], fixed) << i << ", " << j;
            if (paired) {
                EXPECT_EQ(block.matrixPaired[row][column], fixed) << i << ", " << j;
                EXPECT_EQ(block.matrixPaired[row][column + 4], fixed) << i << ", " << j;
            }
        }
        for (std::size_t r = 0; r < 2; ++r) {
            EXPECT_EQ(block.offset[r][i], offset[4 * r + i]);
            const int fixed =
                static_cast<int>(std::trunc(offset[4 * r + i] * (r == 0 ? scales.first : scales.second)));
            EXPECT_EQ(block.offsetFixed[r][i], fixed) << r << ", " << i;
            EXPECT_EQ(block.offsetPaired[r][i], fixed) << r << ", " << i;
            EXPECT_EQ(block.offsetPaired[r][i + 4], fixed) << r << ", " << i;
        }
    }
}

const Matrix kOwnMatrix = {0.1, -0.2, 0.3,  -0.4, 1.5,  -1.6,  1.7,  -1.8,
                           3.9, -3.9, 2.01, 0,    0.77, -0.66, 0.55, 0.44};
const Offsets kOwnOffsets = {-128.7, 16.3, -0.009, 100.99, 200.6, -16.6, 0.07, -0.07};

TEST(ColorSpaceConverter, BlockOfDefaults) {
    const std::vector<Pair> pairs = MatrixPairs();
    EXPECT_GT(pairs.size(), 60U);
    for (const Pair& pair : pairs) {
        SCOPED_TRACE(std::to_string(pair.first) + " to " + std::to_string(pair.second));
        ColorSpaceConverter converter;
        Matrix matrix{};
        Offsets offsets{};
        DefaultMatrixForFormats(matrix.data(), offsets.data(), pair.first, pair.second);
        ExpectBlock(ConverterSeam::Coefficients(converter, pair.first, pair.second, nullptr, nullptr), pair,
                    matrix, offsets, true);
    }
}

TEST(ColorSpaceConverter, BlockOfGivenValuesEachByItself) {
    for (const Pair& pair : MatrixPairs()) {
        SCOPED_TRACE(std::to_string(pair.first) + " to " + std::to_string(pair.second));
        ColorSpaceConverter converter;
        Matrix matrix{};
        Offsets offsets{};
        DefaultMatrixForFormats(matrix.data(), offsets.data(), pair.first, pair.second);
        const auto block = [&](const double* m, const double* o) {
            return ConverterSeam::Coefficients(converter, pair.first, pair.second, m, o);
        };
        ExpectBlock(block(kOwnMatrix.data(), kOwnOffsets.data()), pair, kOwnMatrix, kOwnOffsets, false);
        ExpectBlock(block(kOwnMatrix.data(), nullptr), pair, kOwnMatrix, offsets, false);
        ExpectBlock(block(nullptr, kOwnOffsets.data()), pair, matrix, kOwnOffsets, true);
        // What an earlier call gave does not count.
        ExpectBlock(block(nullptr, nullptr), pair, matrix, offsets, true);
        EXPECT_EQ(OffsetsOf(converter), kOwnOffsets);
    }
}

TEST(ColorSpaceConverter, BlockOfHandPickedPairs) {
    ColorSpaceConverter converter;
    // 4:2:2 to full RGB: entries are twice the 4096ths, offsets times 128.
    const FixedPointCoefficients toRgb = ConverterSeam::Coefficients(converter, 2, 0, nullptr, nullptr);
    const std::int16_t rows[3][4] = {{16526, 9538, 0, 0}, {-3210, 9538, -6660, 0}, {0, 9538, 13074, 0}};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_EQ(toRgb.matrixFixed[i][j], rows[i][j]);
        }
    }
    const std::int16_t before[4] = {-16384, -2048, -16384, 0};
    EXPECT_TRUE(std::equal(before, before + 4, toRgb.offsetFixed[0]));
    EXPECT_EQ(toRgb.matrixFixed[3][3], 8192);
    // RGB to 4:2:2 adds whole code values at the end; to 4:1:1 and to 4:4:4 sixteenths.
    const std::int16_t whole[4] = {128, 16, 128, 0}, sixteenths[4] = {2048, 256, 2048, 0};
    for (const auto& [destination, after] : {std::pair{2U, whole},
                                             {12U, whole},
                                             {17U, whole},
                                             {9U, sixteenths},
                                             {1U, sixteenths},
                                             {6U, sixteenths}}) {
        const FixedPointCoefficients block =
            ConverterSeam::Coefficients(converter, 0, destination, nullptr, nullptr);
        EXPECT_TRUE(std::equal(after, after + 4, block.offsetFixed[1])) << destination;
    }
    const FixedPointCoefficients studio = ConverterSeam::Coefficients(converter, 5, 17, nullptr, nullptr);
    EXPECT_TRUE(std::equal(sixteenths, sixteenths + 4, studio.offsetFixed[1]));
    // Planes: rows are what one sample brings to B, G and R.
    const FixedPointCoefficients planes = ConverterSeam::Coefficients(converter, 6, 5, nullptr, nullptr);
    const std::int16_t cb[4] = {14192, -2756, 0, 0}, y[4] = {8192, 8192, 8192, 0},
                       cr[4] = {0, -5720, 11228, 0}, sixteen[4] = {256, 256, 256, 0};
    EXPECT_TRUE(std::equal(cb, cb + 4, planes.matrixFixed[0]));
    EXPECT_TRUE(std::equal(y, y + 4, planes.matrixFixed[1]));
    EXPECT_TRUE(std::equal(cr, cr + 4, planes.matrixFixed[2]));
    EXPECT_TRUE(std::equal(sixteen, sixteen + 4, planes.offsetFixed[1]));
}

TEST(ColorSpaceConverter, BlockRoundsEntriesAndTruncatesOffsets) {
    ColorSpaceConverter converter;
    Matrix matrix{};
    matrix[0] = 0.5 / 8192;
    matrix[1] = -0.5 / 8192;
    matrix[2] = 0.49 / 8192;
    matrix[3] = -0.49 / 8192;
    matrix[4] = 1.5 / 8192;
    matrix[5] = -1.5 / 8192;
    matrix[6] = 32767.0 / 8192;
    matrix[7] = -4;
    Offsets offsets = {0.99 / 128, -0.99 / 128, 1.99 / 128, -1.99 / 128,
                       0.99 / 16,  -0.99 / 16,  1.99 / 16,  -1.99 / 16};
    const FixedPointCoefficients block =
        ConverterSeam::Coefficients(converter, 2, 0, matrix.data(), offsets.data());
    const std::int16_t rows[2][4] = {{1, -1, 0, 0}, {2, -2, 32767, -32768}};
    EXPECT_TRUE(std::equal(rows[0], rows[0] + 4, block.matrixFixed[0]));
    EXPECT_TRUE(std::equal(rows[1], rows[1] + 4, block.matrixFixed[1]));
    const std::int16_t truncated[4] = {0, 0, 1, -1};
    EXPECT_TRUE(std::equal(truncated, truncated + 4, block.offsetFixed[0]));
    EXPECT_TRUE(std::equal(truncated, truncated + 4, block.offsetFixed[1]));
}

TEST(ColorSpaceConverter, BlockOfValuesBeyondItsWordsIsDefined) {
    ColorSpaceConverter converter;
    Matrix matrix{};
    Offsets offsets{};
    const double odd[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity(), 1e308};
    std::copy(std::begin(odd), std::end(odd), matrix.begin());
    std::copy(std::begin(odd), std::end(odd), offsets.begin());
    Packed from = Uyvy(34, 2), to = Rgb32(34, 2);
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD, &matrix, &offsets), 0);
    Packed back = Uyvy(34, 2);
    EXPECT_EQ(Convert(converter, to.View(), back.View(), kInt_MMXorSIMD, &matrix, &offsets), 0);
}

TEST(ColorSpaceConverter, BlockIsLaidOut) {
    EXPECT_EQ(sizeof(FixedPointCoefficients), 336U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, offset), 128U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, matrixFixed), 192U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, offsetFixed), 224U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, matrixPaired), 240U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, offsetPaired), 304U);
}

// ---- Views -----------------------------------------------------------------------------------------------

TEST(ColorSpaceConverter, ConvertsTheSmallerOfBothSizes) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(20, 3), to = Rgb32(24, 2, 0x77);
    from.Fill({128, 16, 128, 235});
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    for (unsigned y = 0; y < 2; ++y) {
        for (unsigned x = 0; x < 24; ++x) {
            // White is 9538 * 28032 >> 20 = 254 and 254.98 in the tail alike.
            const unsigned char grey = x % 2 == 0 ? 0 : 254;
            EXPECT_EQ(to.Pixel(x, y), x < 20 ? (Bytes{grey, grey, grey, 255}) : Bytes(4, 0x77)) << x;
        }
    }
    Packed narrow = Rgb32(6, 4, 0x77);
    EXPECT_EQ(Convert(converter, from.View(), narrow.View()), 0);
    EXPECT_EQ(narrow.Pixel(5, 2), (Bytes{254, 254, 254, 255}));
    EXPECT_EQ(narrow.Pixel(5, 3), Bytes(4, 0x77));
}

TEST(ColorSpaceConverter, EmptyViewsAreDone) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(8, 4), to = Rgb32(8, 4, 0x77);
    EXPECT_EQ(Convert(converter, from.View({0, 0, 0, 4}), to.View()), 0);
    EXPECT_EQ(Convert(converter, from.View({0, 0, 8, 0}), to.View()), 0);
    EXPECT_EQ(Convert(converter, from.View(), to.View({2, 2, 0, 0})), 0);
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x77));
}

TEST(ColorSpaceConverter, RegionsStayInside) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(8, 4), to = Rgb32(8, 4, 0x77);
    from.Fill({128, 235, 128, 235});
    EXPECT_EQ(Convert(converter, from.View(), to.View({3, 1, 4, 2})), 0);
    for (unsigned y = 0; y < 4; ++y) {
        for (unsigned x = 0; x < 8; ++x) {
            const bool inside = x >= 3 && x < 7 && y >= 1 && y < 3;
            EXPECT_EQ(to.Pixel(x, y), inside ? (Bytes{254, 254, 254, 255}) : Bytes(4, 0x77))
                << x << ", " << y;
        }
    }
}

TEST(ColorSpaceConverter, LeftEdgeOutsideIsRefused) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(8, 4), to = Rgb32(8, 4, 0x77);
    // Packed 4:2:2 keeps the edge that was asked for, two pixels left of the picture.
    EXPECT_EQ(Convert(converter, from.View({-2, 0, 8, 4}), to.View()), 98);
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x77));
    Packed back = Uyvy(8, 4);
    back.Fill({9, 9, 9, 9});
    EXPECT_EQ(Convert(converter, to.View(), back.View({-2, 0, 8, 4})), 98);
    EXPECT_EQ(back.bytes, Bytes(back.bytes.size(), 9));
    // Also where the line above would hold the columns that are missing.
    EXPECT_EQ(Convert(converter, from.View({-2, 1, 8, 2}), to.View()), 98);
    EXPECT_EQ(Convert(converter, from.View(), back.View({-2, 1, 8, 2})), 98);
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x77));
    EXPECT_EQ(back.bytes, Bytes(back.bytes.size(), 9));
    // RGB is cut to what lies inside.
    EXPECT_EQ(Convert(converter, from.View(), to.View({-2, 0, 8, 4})), 0);
}

TEST(ColorSpaceConverter, AlphaPlanesTooSmallAreRefused) {
    const ImageDescriptor format(8, 4, kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft,
                                 1.0F, kUnshaped);
    for (const bool source : {true, false}) {
        Image from(format, 64U), to(format, 64U);
        (source ? from : to).GetImageDescriptor()->channels[3].memory =
            Tuk::RCPtr<AlignedMemoryBuffer>(new AlignedMemoryBuffer(8, 3, 64, 1, kNoAliasWorkAround));
        ColorSpaceConverter converter;
        EXPECT_EQ(Convert(converter, ImageView(&from), ImageView(&to)), 98);
        // What is left of the plane will do for three lines.
        EXPECT_EQ(Convert(converter, ImageView(&from, Rectangle(0, 0, 8, 3), kFrame), ImageView(&to)), 0);
    }
}

TEST(ColorSpaceConverter, BottomUpFramesComeInPictureOrder) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 3), to = Rgb32(4, 3);
    for (unsigned y = 0; y < 3; ++y) {
        for (unsigned x = 0; x < 2; ++x) {
            const unsigned char luma[] = {16, 126, 235};
            const unsigned char pair[4] = {128, luma[y], 128, luma[y]};
            std::memcpy(from.Row(y) + 4 * x, pair, 4);
        }
    }
    from.Get().SetOrigin(kBottomLeft);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 0)[0], 254);
    // 4769 * 110 / 4096 = 128.07.
    EXPECT_EQ(to.Pixel(0, 1)[0], 128);
    EXPECT_EQ(to.Pixel(0, 2)[0], 0);
    to.Get().SetOrigin(kBottomLeft);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 2)[0], 254);
}

TEST(ColorSpaceConverter, FieldsAreConvertedAlone) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(16, 5), to = Rgb32(16, 5, 0x77);
    from.Fill({128, 235, 128, 235});
    EXPECT_EQ(Convert(converter, from.View({0, 0, 16, 5}, kUpperField), to.View({0, 0, 16, 5}, kLowerField)),
              0);
    for (unsigned y = 0; y < 5; ++y) {
        EXPECT_EQ(to.Pixel(15, y), y % 2 == 1 ? (Bytes{254, 254, 254, 255}) : Bytes(4, 0x77)) << y;
    }
}

TEST(ColorSpaceConverter, FieldsOfBottomUpPicturesAreRefused) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(16, 6), to = Rgb32(16, 6, 0x77);
    from.Get().SetOrigin(kBottomLeft);
    for (const WhichFieldEnum field : {kFirstField, kSecondField, kUpperField, kLowerField}) {
        EXPECT_EQ(Convert(converter, from.View({0, 0, 16, 6}, field), to.View()), 98) << field;
        Packed back = Uyvy(16, 6);
        EXPECT_EQ(Convert(converter, to.View(), from.View({0, 0, 16, 6}, field)), 98) << field;
    }
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x77));
    EXPECT_EQ(from.bytes, Bytes(from.bytes.size(), 0));
}

TEST(ColorSpaceConverter, ConvertsInPlace) {
    // Two images on one piece of memory, the one with chroma first and the other with luma.
    Packed memory = Uyvy(38, 3);
    for (std::size_t i = 0; i < memory.bytes.size(); ++i) {
        memory.bytes[i] = static_cast<unsigned char>(i * 13);
    }
    const Bytes before = memory.bytes;
    Image lumaFirst(memory.bytes.data(), memory.pitch,
                    ImageDescriptor(38, 3, kYCrCb, k422, kYCbYCr, kPacked, kProgressive, kNoFields, kTopLeft,
                                    1.0F, kUnshaped),
                    1U, 1U);
    ColorSpaceConverter converter;
    EXPECT_EQ(Convert(converter, memory.View(), ImageView(&lumaFirst)), 0);
    for (std::size_t i = 0; i < before.size(); ++i) {
        ASSERT_EQ(memory.bytes[i], before[i ^ 1]) << i;
    }
    EXPECT_EQ(Convert(converter, ImageView(&lumaFirst), memory.View()), 0);
    EXPECT_EQ(memory.bytes, before);
    EXPECT_EQ(Convert(converter, memory.View(), memory.View()), 0);
    EXPECT_EQ(memory.bytes, before);
}

TEST(ColorSpaceConverter, MonochromePicturesGetNeutralChroma) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(36, 2), to = Uyvy(36, 2);
    from.Fill({1, 2, 3, 4});
    from.Get().SetColor(kMonochrome);
    to.Get().SetColor(kMonochrome);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(ConverterSeam::SourceFormat(converter), 18U);
    for (std::size_t i = 0; i < to.bytes.size(); ++i) {
        ASSERT_EQ(to.bytes[i], i % 2 == 0 ? 128 : from.bytes[i]) << i;
    }
}

TEST(ColorSpaceConverter, SwapsChromaAndLuma) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(6, 1), to = Yuyv(6, 1);
    from.Fill({1, 2, 3, 4});
    to.Fill({9, 9, 9, 9});
    // Five columns: the last pair gets its chroma and one luma.
    EXPECT_EQ(Convert(converter, from.View({0, 0, 5, 1}), to.View()), 0);
    EXPECT_EQ(to.bytes, (Bytes{2, 1, 4, 3, 2, 1, 4, 3, 2, 1, 9, 3}));
}

TEST(ColorSpaceConverter, PlanarPicturesHaveAlphaOfTheirOffset) {
    ColorSpaceConverter converter;
    converter.SetAlphaChannel(200);
    Image from(ImageDescriptor(18, 2, kYCrCb, k420, kYCbCrPlanes, kPlanar, kProgressive, kNoFields, kTopLeft,
                               1.0F, kUnshaped),
               64U);
    for (ULong32 channel = 0; channel < 3; ++channel) {
        std::memset(from.GetMemoryPointer(channel), 128, from.GetMemorySize(channel));
    }
    Packed to = Rgb32(18, 2, 0x77);
    EXPECT_EQ(Convert(converter, ImageView(&from), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 0)[3], 0);
    EXPECT_EQ(to.Pixel(17, 1)[3], 0);
    const Offsets offsets = {-128, -16, -128, 0, 0, 0, 0, 99.5};
    EXPECT_EQ(Convert(converter, ImageView(&from), to.View(), kInt_MMXorSIMD, nullptr, &offsets), 0);
    EXPECT_EQ(to.Pixel(0, 0)[3], 99);
    EXPECT_EQ(to.Pixel(17, 1)[3], 99);
}

}  // namespace
