#include <gtest/gtest.h>

#include "convert/ConvertedPicture.h"
#include "convert/PackedPicture.h"
#include "convert/PairsOfPaths.h"
#include "foundation/CapabilitySeam.h"

namespace {

using namespace Zan;
using namespace convert_test;

constexpr ProcessingStyleEnum kAllStyles[] = {
    kFlp, kFP, kInt_MMXorSIMD, kFlp_SIMD, kStyle4, kBestAvailable, kGeneralFormat};

TEST(ConverterRefusals, MissingMemoryIsRefusedFirst) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to = Rgb32(4, 2, 0x33);
    const Matrix16 own = {2, 3};
    const Offsets8 offsets = {4, 5};
    Image none(ImageDescriptor(4, 4, kColorSpace2, k4444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft,
                               1.0F, kUnshaped),
               64U);
    Image empty(static_cast<unsigned char*>(nullptr), 0U, ImageDescriptor(), 16U, 16U);
    for (const ProcessingStyleEnum style : kAllStyles) {
        for (Image* image : {static_cast<Image*>(nullptr), &none, &empty}) {
            EXPECT_EQ(Convert(converter, ImageView(image), to.View(), style, &own, &offsets), 1);
            EXPECT_EQ(Convert(converter, from.View(), ImageView(image), style, &own, &offsets), 1);
        }
    }
    // Nothing else has happened yet.
    EXPECT_EQ(MatrixOf(converter), kUnitMatrix);
    EXPECT_EQ(OffsetsOf(converter), Offsets8{});
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

TEST(ConverterRefusals, EveryChannelMustHaveMemory) {
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

// What may be wrong with a call.
enum Fault : unsigned {
    kNoMemory = 1,
    kPitchOfTwo = 2,
    kUnknownFormat = 4,
    kUnknownFunction = 8,
    kOldProcessor = 16,
    kOutside = 32,
    kAllFaults = 64
};

struct Refusal {
    Fault fault;
    Long32 status;
};

// A style on a pair, and the refusals in the order in which they come.
struct OrderOfRefusals {
    ProcessingStyleEnum style;
    ConverterFormat source, destination;
    std::vector<Refusal> order;
};

const OrderOfRefusals kOrders[] = {
    {kInt_MMXorSIMD, kFmtCbYCrY, kFmtRGB32, {{kNoMemory, 1}, {kUnknownFormat, 4}, {kOutside, 98}}},
    {kStyle4, kFmtCbYCrY, kFmtRGB32, {{kNoMemory, 1}, {kUnknownFormat, 4}, {kOutside, 98}}},
    {kInt_MMXorSIMD, kFmtPlanar420, kFmtRGB32, {{kNoMemory, 1}, {kUnknownFormat, 4}, {kOutside, 98}}},
    {kInt_MMXorSIMD, kFmtCbYCrY4, kFmtCbYCrY4, {{kNoMemory, 1}, {kUnknownFormat, 4}, {kOutside, 98}}},
    {kInt_MMXorSIMD,
     kFmtRGB32Studio,
     kFmtCbYCrA,
     {{kNoMemory, 1}, {kUnknownFormat, 4}, {kUnknownFunction, 5}}},
    {kInt_MMXorSIMD,
     kFmtRGB32NarrowClamp,
     kFmtCbYCrA,
     {{kNoMemory, 1}, {kUnknownFormat, 4}, {kUnknownFunction, 5}}},
    {kBestAvailable, kFmtCbYCrY, kFmtRGB32, {{kNoMemory, 1}, {kOutside, 98}}},
    {kBestAvailable, kFmtRGB32Studio, kFmtCbYCrA, {{kNoMemory, 1}, {kUnknownFunction, 5}}},
    {kFlp, kFmtCbYCrY, kFmtRGB32, {{kNoMemory, 1}, {kUnknownFormat, 4}}},
    {kFlp, kFmtRGB32Studio, kFmtCbYCrA, {{kNoMemory, 1}, {kUnknownFormat, 4}, {kUnknownFunction, 5}}},
    {kFP, kFmtRGB32, kFmtCbYCrA, {{kNoMemory, 1}, {kPitchOfTwo, 2}, {kUnknownFormat, 4}}},
    {kFlp_SIMD,
     kFmtRGB32,
     kFmtCbYCrA,
     {{kNoMemory, 1}, {kPitchOfTwo, 2}, {kUnknownFormat, 4}, {kOldProcessor, 5}}},
    {kGeneralFormat, kFmtRGB32, kFmtCbYCrA, {{kNoMemory, 1}}},
};

// Whatever it was before, this is in no row of the catalogue.
void SpoilFormat(Image& image) {
    for (const ULong32 channel : {0U, 1U}) {
        ASSERT_EQ(image.SetBlackAndWhiteLevel(0.0F, 0.5F, channel), 0);
    }
}

// One call with some faults, on the source or on the destination.
void ExpectFirstRefusal(const OrderOfRefusals& each, unsigned faults, bool onSource) {
    const Placement placement = {(faults & kPitchOfTwo) != 0 ? 2U : 0U, 0, false};
    ConvertedPicture source(each.source, 16, 4, onSource ? placement : Placement{});
    ConvertedPicture destination(each.destination, 16, 4, onSource ? Placement{} : placement);
    Image& spoiled = onSource ? source.GetImage() : destination.GetImage();
    if ((faults & kUnknownFormat) != 0) {
        SpoilFormat(spoiled);
    }
    ImageView from(source), to(destination);
    if ((faults & kOutside) != 0) {
        spoiled.SetOrigin(kBottomLeft);
        (onSource ? from : to).SetFieldOfInterest(kLowerField);
    }
    if ((faults & kNoMemory) != 0) {
        spoiled.GetImageDescriptor()->channels.back().memory = Tuk::RCPtr<AlignedMemoryBuffer>();
    }
    const ScopedInstructionSet set((faults & kOldProcessor) != 0 ? kSSE_MMX : kSSE2);
    ColorSpaceConverter converter;
    converter.SetPlusFunction((faults & kUnknownFunction) != 0 ? 7 : 0);
    const ExpectedPicture before(destination);
    const Long32 status = converter.Do(from, to, each.style, nullptr, nullptr);
    for (const Refusal& refusal : each.order) {
        if ((faults & refusal.fault) != 0) {
            EXPECT_EQ(status, refusal.status)
                << "style " << each.style << ", " << each.source << " to " << each.destination << ", faults "
                << faults << (onSource ? " of the source" : " of the destination");
            break;
        }
    }
    EXPECT_EQ(before.FirstDifference(), "");
}

TEST(ConverterRefusals, ComeInTheirOrder) {
    for (const OrderOfRefusals& each : kOrders) {
        unsigned possible = 0;
        for (const Refusal& refusal : each.order) {
            possible |= refusal.fault;
        }
        for (unsigned faults = 1; faults < kAllFaults; ++faults) {
            if ((faults & ~possible) == 0) {
                ExpectFirstRefusal(each, faults, true);
                ExpectFirstRefusal(each, faults, false);
            }
        }
    }
}

// The integer path steps by any pitch; the other two look at the low bits.
TEST(ConverterRefusals, PitchesThatPathsRefuse) {
    for (unsigned padding = 0; padding < 8; ++padding) {
        for (const bool bottomUp : {false, true}) {
            for (const bool onSource : {false, true}) {
                const Placement odd = {padding, 0, bottomUp};
                ConvertedPicture source(kFmtRGB32, 4, 3, onSource ? odd : Placement{});
                ConvertedPicture destination(kFmtRGB32, 4, 3, onSource ? Placement{} : odd);
                // A pair that no path but the general one has.
                SpoilFormat(source.GetImage());
                ImageView from(source), to(destination);
                ColorSpaceConverter converter;
                EXPECT_EQ(converter.Do(from, to, kFP, nullptr, nullptr), padding % 4 != 0 ? 2 : 4) << padding;
                // This one looks at a single bit, so that an odd pitch may pass. -17 is ...01111.
                const unsigned low = bottomUp ? (4 - padding % 4) % 4 : padding % 4;
                EXPECT_EQ(converter.Do(from, to, kFlp_SIMD, nullptr, nullptr), low >= 2 ? 2 : 4) << padding;
                EXPECT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 4) << padding;
                EXPECT_EQ(converter.Do(from, to, kFlp, nullptr, nullptr), 4) << padding;
            }
        }
    }
}

TEST(ConverterRefusals, PairsBeyondThePath) {
    const struct {
        ProcessingStyleEnum style;
        const PairList& pairs;
    } paths[] = {{kInt_MMXorSIMD, kIntegerPath},
                 {kFlp, kFloatPath},
                 {kFP, kFixedPointPath},
                 {kFlp_SIMD, kFloatSimdPath}};
    for (const FormatShape& from : AllFormats()) {
        for (const FormatShape& to : AllFormats()) {
            ConvertedPicture source(from.code, 16, 4), destination(to.code, 16, 4);
            ImageView fromView(source), toView(destination);
            ColorSpaceConverter converter;
            for (const auto& [style, pairs] : paths) {
                const ExpectedPicture before(destination);
                const Long32 status = converter.Do(fromView, toView, style, nullptr, nullptr);
                SCOPED_TRACE(testing::Message() << from.code << " to " << to.code << ", style " << style);
                EXPECT_EQ(status, Lists(pairs, from.code, to.code) ? 0 : 4);
                if (status != 0) {
                    EXPECT_EQ(before.FirstDifference(), "");
                }
            }
        }
    }
}

TEST(ConverterRefusals, FloatSimdNeedsItsInstructions) {
    ConvertedPicture source(kFmtRGB32, 16, 2), destination(kFmtCbYCrA, 16, 2), pairs(kFmtCbYCrY, 16, 2);
    ImageView from(source), to(destination), toPairs(pairs);
    ColorSpaceConverter converter;
    for (const CPUinstructionSetEnum set : {kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2}) {
        const ScopedInstructionSet scope(set);
        EXPECT_EQ(converter.Do(from, to, kFlp_SIMD, nullptr, nullptr) == 5, set < kSIMD) << set;
        EXPECT_EQ(converter.Do(from, toPairs, kFlp_SIMD, nullptr, nullptr), 4) << set;
    }
}

TEST(ConverterRefusals, UnknownPlusFunctionIsRefusedOnItsPairsAlone) {
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
            Packed narrow = Rgb32(4, 2, 90);
            for (ULong32 channel = 0; channel < 3; ++channel) {
                narrow.Get().SetClampLowAndHighLevel(16.0F / 255, 235.0F / 255, channel);
            }
            EXPECT_EQ(Convert(converter, narrow.View(), to.View(), style), 5) << function;
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

TEST(ConverterRefusals, UnclassifiedFormatsAreRefused) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to = Rgb32(4, 2, 0x11);
    from.Get().SetColor(kColor2);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 4);
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x11));
    from.Get().SetColor(kFullColor);
    to.Get().SetPixelShaping(kShaped2);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 4);
}

}  // namespace
