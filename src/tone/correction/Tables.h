#ifndef TESSELU_SRC_TONE_CORRECTION_TABLES_H
#define TESSELU_SRC_TONE_CORRECTION_TABLES_H

#include <array>
#include <cstdint>

#include "tone/kernels/Correction.h"

namespace Zan::BaseCC {

using ByteTable = std::array<std::uint8_t, 256>;

/// A triple of the record, each within -255 ... 255.
struct Levels {
    int low = 0, mid = 0, high = 0;
    bool operator==(const Levels&) const = default;
};

/// Within -255 ... 255.
struct BrightnessContrast {
    int brightness = 0, contrast = 0;
    bool operator==(const BrightnessContrast&) const = default;
};

/// The exponent that the gamma control `mid` stands for.
double ExponentOf(int mid) noexcept;

void MakeLumaLevels(const Levels& levels, bool studioRange, ByteTable& table) noexcept;

/// Contrast about mid grey, then brightness: added, and taken away.
void MakeContrast(const BrightnessContrast& parameters, ByteTable& table, ByteTable& downwards) noexcept;
/// Sends each entry through the same.
void AddContrast(const BrightnessContrast& parameters, ByteTable& table) noexcept;

/// Degrees within -180 ... 180.
int AngleOf(int hue) noexcept;
void MakeRotation(int angle, ChromaRotation& rotation) noexcept;

/// Saturation within -255 ... 255, of which positive values are stretched.
double GainOf(int saturation) noexcept;
void MakeGain(double factor, ChromaGain& gain) noexcept;

/// The halves of the even entries for a colour, see `CorrectionSettings::colours`.
void MakeColourLevels(const Levels& levels, ByteTable& halves) noexcept;

}  // namespace Zan::BaseCC

#endif  // TESSELU_SRC_TONE_CORRECTION_TABLES_H
