#ifndef TESSELU_SRC_CONVERT_DEFAULTMATRICES_H
#define TESSELU_SRC_CONVERT_DEFAULTMATRICES_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "convert/Coefficients.h"

// The matrices of the conversion kinds, derived from the luma weights and the levels.

namespace Zan {
namespace bt601 {

// Luma weights of ITU-R BT.601.
inline constexpr double kRed = 0.299;
inline constexpr double kGreen = 0.587;
inline constexpr double kBlue = 0.114;

using Rows = std::array<std::array<double, 3>, 3>;

// B, G, R to Cb, Y, Cr: chroma is the colour difference scaled to run from -0.5 to 0.5.
inline constexpr double kCbScale = 2 * (1 - kBlue);
inline constexpr double kCrScale = 2 * (1 - kRed);
inline constexpr Rows kRgbToYCrCb{{
    {0.5, -kGreen / kCbScale, -kRed / kCbScale},
    {kBlue, kGreen, kRed},
    {-kBlue / kCrScale, -kGreen / kCrScale, 0.5},
}};
inline constexpr Rows kYCrCbToRgb{{
    {kCbScale, 1, 0},
    {-kCbScale * kBlue / kGreen, 1, -kCrScale* kRed / kGreen},
    {0, 1, kCrScale},
}};

// Code values of black and white (or of the chroma extremes) for the three components in memory order.
struct ComponentLevels {
    std::array<double, 3> low;
    std::array<double, 3> high;

    constexpr double Range(std::size_t component) const { return high[component] - low[component]; }
};
inline constexpr ComponentLevels kFullLevels{{0, 0, 0}, {255, 255, 255}};
inline constexpr ComponentLevels kStudioRgbLevels{{16, 16, 16}, {235, 235, 235}};
inline constexpr ComponentLevels kYCrCbLevels{{16, 16, 16}, {240, 235, 240}};

// Offsets as fractions of full scale: where zero chroma and black lie.
using Offsets = std::array<double, 3>;
inline constexpr Offsets kNoOffsets{0, 0, 0};
inline constexpr Offsets kYCrCbZero{0.5, 0.0625, 0.5};
inline constexpr Offsets kStudioRgbZero{0.0625, 0.0625, 0.0625};

class ColorMatrixBuilder {
public:
    // Levels are undone before a matrix that leads away from YCrCb ...
    static constexpr ColorMatrix ToRgb(const ComponentLevels& rgb, const Offsets& zero) {
        Rows rows{};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                rows[i][j] = kYCrCbToRgb[i][j] * (rgb.Range(j) / kYCrCbLevels.Range(j));
            }
        }
        return Build(rows, kYCrCbZero, zero);
    }

    // ... and made after one that leads to it.
    static constexpr ColorMatrix ToYCrCb(const ComponentLevels& rgb, const Offsets& zero) {
        Rows rows{};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                rows[i][j] = kYCrCbLevels.Range(i) / rgb.Range(i) * kRgbToYCrCb[i][j];
            }
        }
        return Build(rows, zero, kYCrCbZero);
    }

    static constexpr ColorMatrix Identity() {
        return Build({{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}, kNoOffsets, kNoOffsets);
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

}  // namespace bt601

/// By `ConversionKind`.
inline constexpr std::array<ColorMatrix, 5> kDefaultMatrices{
    bt601::ColorMatrixBuilder::Identity(),
    bt601::ColorMatrixBuilder::ToRgb(bt601::kStudioRgbLevels, bt601::kStudioRgbZero),
    bt601::ColorMatrixBuilder::ToYCrCb(bt601::kStudioRgbLevels, bt601::kStudioRgbZero),
    bt601::ColorMatrixBuilder::ToYCrCb(bt601::kFullLevels, bt601::kNoOffsets),
    bt601::ColorMatrixBuilder::ToRgb(bt601::kFullLevels, bt601::kNoOffsets),
};

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_DEFAULTMATRICES_H
