#ifndef TESSELU_SRC_TONE_KERNELS_ADJUSTMENTFORMULAS_H
#define TESSELU_SRC_TONE_KERNELS_ADJUSTMENTFORMULAS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "convert/DefaultMatrices.h"
#include "tone/kernels/FixedTurn.h"

// The steps of the processing amplifier, on samples of one pixel.

namespace Zan {

struct AdjustmentSettings {
    bool isLumaFirst = false;  ///< of YCrCb: Y Cb Y Cr or Y Cb Cr A; else Cb Y Cr Y or Cb Y Cr A
    double contrast = 1;
    int lift = 0;                         ///< in code values
    const std::uint8_t* gamma = nullptr;  ///< 256 entries; null: none
    double cosine = 1, sine = 0;
    FixedTurn turn;
    double saturation = 1;

    bool Turns() const noexcept { return cosine != 1; }
    bool IsNeutral() const noexcept {
        return contrast == 1 && lift == 0 && gamma == nullptr && !Turns() && saturation == 1;
    }
};

/// Truncated toward zero, limited to 0...255.
constexpr std::uint8_t LimitedByte(double value) noexcept {
    return value > 0 ? value < 255 ? static_cast<std::uint8_t>(value) : std::uint8_t{255} : std::uint8_t{0};
}

/// `value` after a gain around `center`.
constexpr std::uint8_t Amplified(unsigned value, double gain, int center) noexcept {
    return gain == 1 ? static_cast<std::uint8_t>(value)
                     : LimitedByte((static_cast<int>(value) - center) * gain + center);
}

/// Contrast, brightness, gamma.
constexpr std::uint8_t AdjustedLuma(const AdjustmentSettings& settings, unsigned luma) noexcept {
    const int lifted = Amplified(luma, settings.contrast, 16) + settings.lift;
    const auto limited = static_cast<std::uint8_t>(std::clamp(lifted, 0, 255));
    return settings.gamma != nullptr ? settings.gamma[limited] : limited;
}

struct ChromaSamples {
    std::uint8_t cb, cr;
};

/// Hue. -128...127 on entry, limited on return.
constexpr ChromaSamples TurnedChroma(int u, int v, double cosine, double sine) noexcept {
    const auto limited = [](double value) {
        return static_cast<std::uint8_t>(std::clamp(static_cast<int>(value) + 128, 0, 255));
    };
    return {limited(u * cosine + v * sine), limited(v * cosine - u * sine)};
}

// ---- RGB --------------------------------------------------------------------------------------------------

/// Matrix entries in 4096ths, B, G, R to Cb, Y, Cr or back.
using MatrixIn4096ths = std::array<std::array<std::int32_t, 3>, 3>;

constexpr MatrixIn4096ths In4096ths(ConversionKind kind) noexcept {
    MatrixIn4096ths made{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            made[i][j] = static_cast<std::int32_t>(
                kDefaultMatrices[static_cast<std::size_t>(kind)].matrix[i][j] * 4096);
        }
    }
    return made;
}
inline constexpr MatrixIn4096ths kRgbToYCrCb = In4096ths(kKindFullRGBToYCrCb);
inline constexpr MatrixIn4096ths kYCrCbToRgb = In4096ths(kKindYCrCbToFullRGB);

/// A row of a matrix, rounded down. In double precision, too, sums of products of 12 fraction bits and whole
/// samples are exact, so that this is what the floating-point conversion gives before limiting.
constexpr int RowIn4096ths(const std::array<std::int32_t, 3>& row, int a, int b, int c) noexcept {
    return (row[0] * a + row[1] * b + row[2] * c) >> 12;
}

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_ADJUSTMENTFORMULAS_H
