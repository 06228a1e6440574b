// What a converter that has served calls may show of them, and what not.

#include <TesselU/convert/ColorSpaceConverter.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "convert/ConvertedPicture.h"
#include "foundation/CapabilitySeam.h"

namespace {

using namespace Zan;
using namespace convert_test;

/// A picture of a format in memory of its own, all of it seen.
struct Whole {
    ConvertedPicture picture;
    ImageView view;

    Whole(ConverterFormat format, std::size_t width, std::size_t height)
        : picture(format, width, height), view(&picture.GetImage()) {}

    void FillPlane(std::size_t plane, std::uint8_t value) {
        FencedMemory& bytes = picture.PlaneMemory(plane);
        std::memset(bytes.Data(), value, bytes.Length());
    }
    ULong32* First() { return reinterpret_cast<ULong32*>(picture.PlaneMemory(0).Data()); }
    Long32 Pitch() const { return static_cast<Long32>(picture.Pitch(0)); }
    std::uint8_t& Byte(std::size_t pixel, std::size_t row, std::size_t sample) {
        return picture.At(0, 4 * pixel + sample, row);
    }
};

Long32 Do(ColorSpaceConverter& converter, Whole& from, Whole& to, ProcessingStyleEnum style = kInt_MMXorSIMD,
          double* matrix = nullptr, double* offset = nullptr) {
    return converter.Do(from.view, to.view, style, matrix, offset);
}

std::vector<double> MatrixOf(const ColorSpaceConverter& converter) {
    std::vector<double> matrix(16);
    converter.GetMatrixCoef(matrix.data());
    return matrix;
}

std::vector<double> OffsetOf(const ColorSpaceConverter& converter) {
    std::vector<double> offset(8);
    converter.GetOffset(offset.data());
    return offset;
}

std::vector<double> In4096ths(std::vector<double> matrix) {
    for (double& value : matrix) {
        value /= 4096;
    }
    return matrix;
}

const std::vector<double> kToFullRgb =
    In4096ths({8263, 4769, 0, 0, -1605, 4769, -3330, 0, 0, 4769, 6537, 0, 0, 0, 0, 4096});
const std::vector<double> kOffsetsToFullRgb = {-128, -16, -128, 0, 0, 0, 0, 0};

/// A matrix and offsets of a caller, left behind by a call that is refused after it took them over.
struct Callers {
    std::vector<double> matrix = std::vector<double>(16, 0.25), offset = {1, 2, 3, 4, 5, 6, 7, 8};

    void LeaveIn(ColorSpaceConverter& converter, Whole& from, Whole& to) {
        ASSERT_EQ(Do(converter, from, to, kFP, matrix.data(), offset.data()), 4);
        ASSERT_EQ(MatrixOf(converter), matrix);
        ASSERT_EQ(OffsetOf(converter), offset);
    }
};

TEST(ConverterAfterCalls, ADefaultMatrixIsShownAgainAfterEachDefaultCall) {
    Whole from(kFmtCbYCrY, 16, 2), to(kFmtRGB32, 16, 2);
    ColorSpaceConverter converter;
    Callers callers;
    for (int i = 0; i < 3; ++i) {
        callers.LeaveIn(converter, from, to);
        ASSERT_EQ(Do(converter, from, to), 0);
        EXPECT_EQ(MatrixOf(converter), kToFullRgb) << i;
        // The integer path keeps its default offsets to itself.
        EXPECT_EQ(OffsetOf(converter), callers.offset) << i;
    }
    for (int i = 0; i < 3; ++i) {
        callers.LeaveIn(converter, from, to);
        ASSERT_EQ(Do(converter, from, to, kFlp), 0);
        EXPECT_EQ(MatrixOf(converter), kToFullRgb) << i;
        EXPECT_EQ(OffsetOf(converter), kOffsetsToFullRgb) << i;
    }
}

TEST(ConverterAfterCalls, ATransposedMatrixIsShownAgainToo) {
    Whole from(kFmtPlanar420, 16, 2), to(kFmtRGB32, 16, 2);
    const std::vector<double> transposed =
        In4096ths({8263, -1605, 0, 0, 4769, 4769, 4769, 0, 0, -3330, 6537, 0, 0, 0, 0, 4096});
    ColorSpaceConverter converter;
    Callers callers;
    for (int i = 0; i < 3; ++i) {
        callers.LeaveIn(converter, from, to);
        ASSERT_EQ(Do(converter, from, to), 0);
        EXPECT_EQ(MatrixOf(converter), transposed) << i;
    }
}

TEST(ConverterAfterCalls, CopiesLeaveTheMatrixAsItIs) {
    Whole from(kFmtRGB32, 16, 2), to(kFmtRGB32, 16, 2), other(kFmtCbYCrY, 16, 2);
    ColorSpaceConverter converter;
    Callers callers;
    ASSERT_EQ(Do(converter, from, to), 0);
    for (int i = 0; i < 3; ++i) {
        callers.LeaveIn(converter, other, to);
        ASSERT_EQ(Do(converter, from, to), 0);
        EXPECT_EQ(MatrixOf(converter), callers.matrix) << i;
        EXPECT_EQ(OffsetOf(converter), callers.offset) << i;
    }
}

TEST(ConverterAfterCalls, EachCallStatesItsMatrixAnew) {
    // 4:2:2 of one grey: luma 100, neutral chroma. The default is 1.164... * (100 - 16) = 97.8.
    Whole from(kFmtCbYCrY, 32, 1), to(kFmtRGB32, 32, 1);
    for (std::size_t i = 0; i < 64; ++i) {
        from.picture.At(0, i, 0) = i % 2 == 0 ? 128 : 100;
    }
    std::array<double, 16> lumaAlone = {0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1};
    std::array<double, 8> none = {};
    ColorSpaceConverter converter;
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(Do(converter, from, to), 0);
        EXPECT_EQ(to.Byte(3, 0, 0), 97) << i;
        ASSERT_EQ(Do(converter, from, to, kInt_MMXorSIMD, lumaAlone.data(), none.data()), 0);
        EXPECT_EQ(to.Byte(3, 0, 0), 100 + i) << i;
        EXPECT_EQ(MatrixOf(converter), std::vector<double>(lumaAlone.begin(), lumaAlone.end()));
        // The same address, other values: one code value more after the matrix.
        none[4] += 1;
    }
}

TEST(ConverterAfterCalls, RefusalsAreToldEachTimeAndLeaveNothingBehind) {
    Whole from(kFmtRGB32, 20, 4), to(kFmtCbYCrA, 20, 4), studio(kFmtRGB32Studio, 20, 4);
    from.FillPlane(0, 255);
    ImageView nothing;
    ColorSpaceConverter converter;
    const auto good = [&] {
        to.FillPlane(0, 7);
        ASSERT_EQ(Do(converter, from, to), 0);
        // White: 128, 235 less what is cut, 128.
        ASSERT_EQ(to.Byte(0, 0, 0), 128);
        ASSERT_GE(to.Byte(0, 3, 1), 234);
        ASSERT_EQ(to.Byte(19, 3, 3), 255);
        to.FillPlane(0, 7);
    };
    const auto refused = [&](auto call, Long32 status) {
        for (int i = 0; i < 2; ++i) {
            ASSERT_NO_FATAL_FAILURE(good());
            for (int again = 0; again < 2; ++again) {
                ASSERT_EQ(call(), status);
                for (std::size_t x = 0; x < 20; ++x) {
                    ASSERT_EQ(to.Byte(x, 2, 1), 7) << "a refused call wrote";
                }
            }
        }
        ASSERT_NO_FATAL_FAILURE(good());
    };
    refused([&] { return converter.Do(nothing, to.view, kInt_MMXorSIMD, nullptr, nullptr); }, 1);
    refused([&] { return converter.Do(from.view, nothing, kInt_MMXorSIMD, nullptr, nullptr); }, 1);
    refused([&] { return Do(converter, studio, to, kFP); }, 4);
    refused(
        [&] {
            converter.SetPlusFunction(7);
            const Long32 status = Do(converter, studio, to);
            converter.SetPlusFunction(0);
            return status;
        },
        5);
    refused(
        [&] {
            const ScopedInstructionSet without(kMMX);
            return Do(converter, from, to, kFlp_SIMD);
        },
        5);
    refused(
        [&] {
            return converter.Do(from.First(), to.First(), 0x80000000U, 1, from.Pitch(), to.Pitch(), kFmtRGB32,
                                kFmtCbYCrA, kInt_MMXorSIMD, nullptr, nullptr);
        },
        3);
    refused(
        [&] {
            return converter.Do(nullptr, to.First(), 4, 1, from.Pitch(), to.Pitch(), kFmtRGB32, kFmtCbYCrA,
                                kInt_MMXorSIMD, nullptr, nullptr);
        },
        1);
    refused(
        [&] {
            return converter.Do(from.First(), to.First(), 4, 1, from.Pitch(), to.Pitch(), kFmtUnknown,
                                kFmtCbYCrA, kInt_MMXorSIMD, nullptr, nullptr);
        },
        4);
    refused(
        [&] {
            from.picture.GetImage().SetPixelShaping(kShaped);
            const Long32 status = Do(converter, from, to);
            from.picture.GetImage().SetPixelShaping(kUnshaped);
            return status;
        },
        4);
    refused(
        [&] {
            // A field of an image that begins at its last line lies outside of it.
            from.picture.GetImage().SetOrigin(kBottomLeft);
            from.view.SetFieldOfInterest(kLowerField);
            const Long32 status = Do(converter, from, to);
            from.picture.GetImage().SetOrigin(kTopLeft);
            from.view.SetFieldOfInterest(kFrame);
            return status;
        },
        98);
}

TEST(ConverterAfterCalls, TheProcessorCountsFromTheNextCallOn) {
    Whole from(kFmtRGB32, 20, 4), to(kFmtCbYCrA, 20, 4);
    ColorSpaceConverter converter;
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(Do(converter, from, to, kFlp_SIMD), 0);
        ASSERT_EQ(Do(converter, from, to, kFlp_SIMD), 0);
        const ScopedInstructionSet without(kMMX);
        ASSERT_EQ(Do(converter, from, to, kFlp_SIMD), 5);
    }
}

TEST(ConverterAfterCalls, SettersCountFromTheNextCallOn) {
    Whole uyvy(kFmtCbYCrY, 33, 2), rgb(kFmtRGB32, 33, 2);
    ColorSpaceConverter converter;
    for (const int fill : {255, 0, 17, 17, 255}) {
        if (fill != 255) {
            converter.SetAlphaChannel(static_cast<unsigned char>(fill));
        } else {
            converter = ColorSpaceConverter();
        }
        ASSERT_EQ(Do(converter, uyvy, rgb), 0);
        for (std::size_t x = 0; x < 33; ++x) {
            ASSERT_EQ(rgb.Byte(x, 1, 3), fill) << x;
        }
    }
    Whole studio(kFmtRGB32Studio, 33, 2), ycc(kFmtCbYCrA, 33, 2);
    for (std::size_t x = 0; x < 33; ++x) {
        studio.Byte(x, 1, 3) = 90;
    }
    const std::array<int, 7> alphaOut = {90, 165, 90, 165, 90, 90, 255};
    for (const ULong32 function : {0U, 1U, 6U, 3U, 2U, 1U, 4U, 5U, 0U}) {
        converter.SetPlusFunction(function);
        ASSERT_EQ(Do(converter, studio, ycc), 0);
        for (std::size_t x = 0; x < 33; ++x) {
            ASSERT_EQ(ycc.Byte(x, 1, 3), alphaOut[function]) << x << ", function " << function;
        }
    }
}

TEST(ConverterAfterCalls, MarksOfAnImageCountFromTheNextCallOn) {
    Whole shaped(kFmtRGB32Shaped, 21, 2), rgb(kFmtRGB32, 21, 2);
    shaped.FillPlane(0, 100);
    ColorSpaceConverter converter;
    for (int i = 0; i < 2; ++i) {
        // 100 * 255 / 100 is full colour; an opaque picture is the same shaped or not.
        shaped.picture.GetImage().SetAlphaChannelDescription(kAlphaVarying);
        ASSERT_EQ(Do(converter, shaped, rgb), 0);
        EXPECT_EQ(rgb.Byte(5, 1, 0), 255);
        shaped.picture.GetImage().SetAlphaChannelDescription(kAlphaOpaque);
        ASSERT_EQ(Do(converter, shaped, rgb), 0);
        EXPECT_EQ(rgb.Byte(5, 1, 0), 100);
    }
    // Lines of 4:2:0 share chroma with their neighbour, or with the next line of their field.
    Whole planar(kFmtPlanar420, 16, 4), to(kFmtRGB32, 16, 4);
    planar.FillPlane(0, 100);
    planar.FillPlane(1, 128);
    planar.FillPlane(2, 128);
    for (std::size_t x = 0; x < 8; ++x) {
        planar.picture.At(1, x, 1) = 200;
    }
    ImageDescriptor& descriptor = *planar.picture.GetImage().GetImageDescriptor();
    for (int i = 0; i < 2; ++i) {
        descriptor.scanStyle = kProgressive;
        ASSERT_EQ(Do(converter, planar, to), 0);
        EXPECT_EQ(to.Byte(2, 1, 0), to.Byte(2, 0, 0));
        EXPECT_LT(to.Byte(2, 1, 0), to.Byte(2, 2, 0));
        descriptor.scanStyle = kLowerFieldFirst;
        ASSERT_EQ(Do(converter, planar, to), 0);
        EXPECT_EQ(to.Byte(2, 2, 0), to.Byte(2, 0, 0));
        EXPECT_LT(to.Byte(2, 2, 0), to.Byte(2, 1, 0));
    }
}

TEST(ConverterAfterCalls, PlainMemoryTakesThePlanesOfTheLastCallOnViews) {
    constexpr std::size_t kWidth = 24, kHeight = 3;
    Whole first(kFmtCbYCrY4, kWidth, kHeight), second(kFmtCbYCrY4, kWidth, kHeight),
        wider(kFmtCbYCrY4, kWidth + 40, kHeight), rgb(kFmtRGB32, kWidth, kHeight);
    first.FillPlane(1, 10);
    second.FillPlane(1, 20);
    wider.FillPlane(1, 30);
    for (std::size_t x = 0; x < kWidth; ++x) {
        wider.picture.At(1, x, 2) = 32;
    }
    ColorSpaceConverter converter;
    const auto alphaOfRaw = [&](std::size_t row) {
        rgb.FillPlane(0, 99);
        EXPECT_EQ(converter.Do(first.First(), rgb.First(), kWidth, kHeight, first.Pitch(), rgb.Pitch(),
                               kFmtCbYCrY4, kFmtRGB32, kInt_MMXorSIMD, nullptr, nullptr),
                  0);
        for (std::size_t x = 0; x < kWidth; ++x) {
            EXPECT_EQ(rgb.Byte(x, row, 3), rgb.Byte(0, row, 3)) << x;
        }
        return int{rgb.Byte(0, row, 3)};
    };
    // Without any the call is refused.
    EXPECT_EQ(converter.Do(first.First(), rgb.First(), kWidth, kHeight, first.Pitch(), rgb.Pitch(),
                           kFmtCbYCrY4, kFmtRGB32, kInt_MMXorSIMD, nullptr, nullptr),
              1);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(Do(converter, first, rgb), 0);
        EXPECT_EQ(alphaOfRaw(1), 10);
        // Described like the one before, in other memory.
        ASSERT_EQ(Do(converter, second, rgb), 0);
        EXPECT_EQ(alphaOfRaw(1), 20);
        ASSERT_EQ(Do(converter, first, rgb), 0);
        ASSERT_EQ(Do(converter, second, rgb), 0);
        EXPECT_EQ(alphaOfRaw(1), 20);
        // Calls on plain memory leave the planes alone.
        EXPECT_EQ(alphaOfRaw(2), 20);
        // Another pitch, by a region of the same size.
        wider.view.SetRegionOfInterest(Rectangle(0, 0, kWidth, kHeight), kFrame);
        ASSERT_EQ(Do(converter, wider, rgb), 0);
        EXPECT_EQ(alphaOfRaw(1), 30);
        EXPECT_EQ(alphaOfRaw(2), 32);
        // A pair that the path lacks is found after the planes.
        ASSERT_EQ(Do(converter, second, rgb, kFP), 4);
        EXPECT_EQ(alphaOfRaw(1), 20);
        // A picture that cannot be had keeps those that were read so far.
        ImageView nothing;
        ASSERT_EQ(converter.Do(first.view, nothing, kInt_MMXorSIMD, nullptr, nullptr), 1);
        EXPECT_EQ(alphaOfRaw(1), 10);
        // One of the planes of a copy.
        ASSERT_EQ(Do(converter, second, rgb), 0);
        ColorSpaceConverter copy(converter);
        ASSERT_EQ(Do(converter, first, rgb), 0);
        std::swap(copy, converter);
        EXPECT_EQ(alphaOfRaw(1), 20);
    }
}

}  // namespace
