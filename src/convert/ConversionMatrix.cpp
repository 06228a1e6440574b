#include <TesselU/convert/ConversionMatrix.h>
#include <TesselU/convert/ConverterFormat.h>

#include <array>

#include "convert/ConversionKinds.h"
#include "convert/ConversionPairs.h"

namespace Zan {
namespace {

// Luma weights of ITU-R BT.601.
constexpr double kRed = 0.299;
constexpr double kGreen = 0.587;
constexpr double kBlue = 0.114;

using Rows = std::array<std::array<double, 3>, 3>;

// B, G, R to Cb, Y, Cr: chroma is the colour difference scaled to run from -0.5 to 0.5.
constexpr double kCbScale = 2 * (1 - kBlue);
constexpr double kCrScale = 2 * (1 - kRed);
constexpr Rows rgbToYCrCb{{
    {0.5, -kGreen / kCbScale, -kRed / kCbScale},
    {kBlue, kGreen, kRed},
    {-kBlue / kCrScale, -kGreen / kCrScale, 0.5},
}};
constexpr Rows yCrCbToRgb{{
    {kCbScale, 1, 0},
    {-kCbScale * kBlue / kGreen, 1, -kCrScale* kRed / kGreen},
    {0, 1, kCrScale},
}};

// Code values of black and white (or of the chroma extremes) for the three components in memory order.
struct Levels {
    std::array<double, 3> low;
    std::array<double, 3> high;

    constexpr double Range(std::size_t component) const { return high[component] - low[component]; }
};
constexpr Levels fullLevels{{0, 0, 0}, {255, 255, 255}};
constexpr Levels studioRgbLevels{{16, 16, 16}, {235, 235, 235}};
constexpr Levels yCrCbLevels{{16, 16, 16}, {240, 235, 240}};

// Offsets as fractions of full scale: where zero chroma and black lie.
using Offsets = std::array<double, 3>;
constexpr Offsets noOffsets{0, 0, 0};
constexpr Offsets yCrCbZero{0.5, 0.0625, 0.5};
constexpr Offsets studioRgbZero{0.0625, 0.0625, 0.0625};

class ColorMatrixBuilder {
public:
    // Levels are undone before a matrix that leads away from YCrCb ...
    static constexpr ColorMatrix ToRgb(const Levels& rgb, const Offsets& zero) {
        Rows rows{};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                rows[i][j] = yCrCbToRgb[i][j] * (rgb.Range(j) / yCrCbLevels.Range(j));
            }
        }
        return Build(rows, yCrCbZero, zero);
    }

    // ... and made after one that leads to it.
    static constexpr ColorMatrix ToYCrCb(const Levels& rgb, const Offsets& zero) {
        Rows rows{};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                rows[i][j] = yCrCbLevels.Range(i) / rgb.Range(i) * rgbToYCrCb[i][j];
            }
        }
        return Build(rows, zero, yCrCbZero);
    }

    static constexpr ColorMatrix Identity() {
        return Build({{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}, noOffsets, noOffsets);
    }

private:
    static constexpr int kBits = 8;
    static constexpr int kLevels = 1 << kBits;

    // Twelve fraction bits, halves away from zero.
    static constexpr double Quantized(double entry) {
        return static_cast<double>(static_cast<std::int32_t>(entry * 4096 + (entry < 0 ? -0.5 : 0.5))) / 4096;
    }

    static constexpr ColorMatrix Build(const Rows& rows, const Offsets& before, const Offsets& after) {
        ColorMatrix made{};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                made.matrix[i][j] = Quantized(rows[i][j]);
            }
            // The zero point of a source is taken away; 0 - x keeps plain zeros positive.
            made.offset[0][i] = (0 - before[i]) * kLevels;
            made.offset[1][i] = after[i] * kLevels;
        }
        made.matrix[3][3] = 1;
        return made;
    }
};

constexpr std::array<ColorMatrix, 5> matrixOfKind{
    ColorMatrixBuilder::Identity(),
    ColorMatrixBuilder::ToRgb(studioRgbLevels, studioRgbZero),
    ColorMatrixBuilder::ToYCrCb(studioRgbLevels, studioRgbZero),
    ColorMatrixBuilder::ToYCrCb(fullLevels, noOffsets),
    ColorMatrixBuilder::ToRgb(fullLevels, noOffsets),
};

constexpr PairTable studioRgbFromYCrCb{
    {1, {4, 5}}, {2, {4, 5}}, {6, {5}}, {8, {5}}, {9, {5}}, {11, {5}}, {12, {5}}, {16, {5}}, {17, {5}},
};
constexpr PairTable yCrCbFromStudioRgb{
    {4, {1}},
    {5, {1, 2, 9, 12, 16, 17}},
};
constexpr PairTable yCrCbFromFullRgb{
    {0, {1, 2, 6, 8, 9, 12, 16, 17}},
    {3, {1}},
    {10, {2, 11}},
    {14, {2, 16, 17}},
};
constexpr PairTable fullRgbFromYCrCb{
    {1, {0, 3}}, {2, {0, 10, 14}}, {6, {0}},      {8, {0}},
    {9, {0}},    {11, {0, 10}},    {16, {0, 14}}, {17, {0, 10, 14}},
};
constexpr PairTable yCrCbFromFullRgbFloatOnly{
    {0, {13, 23}},
    {14, {23}},
};

}  // namespace

ColorMatrix MatrixOfKind(ConversionKind kind) noexcept {
    const auto index = static_cast<std::size_t>(kind);
    return matrixOfKind[index < matrixOfKind.size() ? index : std::size_t{kKindIdentity}];
}

ConversionKind KindOfIntegerPair(std::uint32_t source, std::uint32_t destination) noexcept {
    if (studioRgbFromYCrCb.Has(source, destination)) {
        return kKindYCrCbToStudioRGB;
    }
    if (yCrCbFromStudioRgb.Has(source, destination)) {
        return kKindStudioRGBToYCrCb;
    }
    if (yCrCbFromFullRgb.Has(source, destination)) {
        return kKindFullRGBToYCrCb;
    }
    if (fullRgbFromYCrCb.Has(source, destination)) {
        return kKindYCrCbToFullRGB;
    }
    return kKindIdentity;
}

ConversionKind KindOfFloatPair(std::uint32_t source, std::uint32_t destination) noexcept {
    return yCrCbFromFullRgbFloatOnly.Has(source, destination) ? kKindFullRGBToYCrCb
                                                              : KindOfIntegerPair(source, destination);
}

void MakeConversionMatrix(std::vector<std::vector<double>>& matrix, std::vector<std::vector<double>>& offsets,
                          ConversionKind kind) {
    const ColorMatrix made = MatrixOfKind(kind);
    matrix.resize(4);
    for (std::size_t row = 0; row < 4; ++row) {
        matrix[row].assign(made.matrix[row], made.matrix[row] + 4);
    }
    offsets.resize(2);
    for (std::size_t row = 0; row < 2; ++row) {
        offsets[row].assign(made.offset[row], made.offset[row] + 4);
    }
}

void DefaultMatrixForFormats(double* matrix16, double* offsets8, ULong32 sourceFormat,
                             ULong32 destinationFormat) {
    const ColorMatrix made = MatrixOfKind(KindOfIntegerPair(sourceFormat, destinationFormat));
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            matrix16[4 * row + column] = made.matrix[row][column];
        }
    }
    for (std::size_t row = 0; row < 2; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            offsets8[4 * row + column] = made.offset[row][column];
        }
    }
}

}  // namespace Zan
