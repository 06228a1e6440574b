#include <TesselU/convert/ConversionMatrix.h>
#include <gtest/gtest.h>

#include "convert/PackedPicture.h"
#include "foundation/CapabilitySeam.h"

namespace {

using namespace Zan;
using namespace convert_test;

// ---- The object ------------------------------------------------------------------------------------------

TEST(ColorSpaceConverter, StartsWithTheIdentity) {
    const ColorSpaceConverter converter;
    EXPECT_EQ(MatrixOf(converter), kUnitMatrix);
    EXPECT_EQ(OffsetsOf(converter), Offsets8{});
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
    Matrix16 own{};
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

// ---- Matrix16 and offsets ---------------------------------------------------------------------------------

TEST(ColorSpaceConverter, DefaultsAreKeptInTheObjectButForOffsets) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to = Rgb32(4, 2);
    Matrix16 expected{};
    Offsets8 offsets{};
    DefaultMatrixForFormats(expected.data(), offsets.data(), 2, 0);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(MatrixOf(converter), expected);
    EXPECT_EQ(OffsetsOf(converter), Offsets8{});

    // Given values stay until something replaces them; offsets of a default call do not.
    const Matrix16 own = {0.25, 0.5};
    const Offsets8 ownOffsets = {1, 2, 3, 4, 5, 6, 7, 8};
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
    Matrix16 natural{};
    Offsets8 offsets{};
    DefaultMatrixForFormats(natural.data(), offsets.data(), 6, 0);
    const Matrix16 kept = MatrixOf(converter);
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_EQ(kept[4 * j + i], natural[4 * i + j]) << i << ", " << j;
        }
    }
    EXPECT_EQ(OffsetsOf(converter), Offsets8{});
    // What a caller gives stays as it was given.
    EXPECT_EQ(Convert(converter, ImageView(&from), to.View(), kInt_MMXorSIMD, &natural), 0);
    EXPECT_EQ(MatrixOf(converter), natural);
}

TEST(ColorSpaceConverter, EqualFormatsFillNothing) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to = Uyvy(4, 2);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(MatrixOf(converter), kUnitMatrix);
    const Matrix16 own = {7};
    EXPECT_EQ(Convert(converter, from.View(), to.View(), kInt_MMXorSIMD, &own), 0);
    EXPECT_EQ(MatrixOf(converter), own);
}

TEST(ColorSpaceConverter, ARefusedPairKeepsWhatWasGiven) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 2), to(kYCrCb, k4444, kYCbCrA, 4, 2);
    const Matrix16 own = {0, 1, 2, 3};
    const Offsets8 offsets = {9};
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
    Matrix16 half{};
    half[1] = half[5] = half[9] = 0.5;
    const Offsets8 lift = {0, 0, 0, 0, 10, 20, 30, 0};
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

}  // namespace
