#include "tone/correction/Tables.h"

#include <algorithm>
#include <cmath>

#include "foundation/Elementary.h"
#include "tone/kernels/CorrectionFormulas.h"

namespace Zan::BaseCC {
namespace {

constexpr double kPerCode = 0.00392156862745098;         // 1/255
constexpr double kPerStudioCode = 0.0045662100456621;    // 1/219
constexpr double kPerStep = 0.00390625;                  // 1/256
constexpr double kPerStudioStep = 0.004545454545454545;  // 1/220

double SlopeOf(const Levels& levels) {
    return (levels.high - levels.low + 255) * kPerCode;
}

/// The whole part of a number that is not far from the range of codes.
int Truncated(double x) {
    return static_cast<int>(x);
}

float ContrastSlope(int contrast) {
    return static_cast<float>(2 * contrast + 255) * 0.003921569F;
}

}  // namespace

double ExponentOf(int mid) noexcept {
    return 1.0 / (mid / (mid < 1 ? 260.0 : 50.0) + 1.0);
}

void MakeLumaLevels(const Levels& levels, bool studioRange, ByteTable& table) noexcept {
    const double exponent = ExponentOf(levels.mid);
    if (!studioRange) {
        const double slope = SlopeOf(levels);
        for (int i = 0; i < 256; ++i) {
            const int v = std::clamp(Truncated(i * slope + levels.low + 0.5), 0, 255);
            table[static_cast<std::size_t>(i)] =
                static_cast<std::uint8_t>(Truncated(Power(v * kPerStep, exponent) * 256));
        }
        return;
    }
    const double slope = (levels.high - levels.low + 219) * kPerStudioCode;
    const double lift = (levels.low + 16) - slope * 16;
    for (int i = 0; i < 256; ++i) {
        const int v = std::clamp(Truncated(i * slope + lift + 0.5), 16, 235);
        table[static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(Truncated(Power((v - 16) * kPerStudioStep, exponent) * 220 + 16));
    }
}

std::uint8_t Adjusted(const BrightnessContrast& parameters, std::uint8_t luma) noexcept {
    const float about = static_cast<float>(luma) * ContrastSlope(parameters.contrast) -
                        static_cast<float>(parameters.contrast);
    return static_cast<std::uint8_t>(std::clamp(Rounded(about) + parameters.brightness, 0, 255));
}

std::uint8_t AdjustedDownwards(const BrightnessContrast& parameters, std::uint8_t luma) noexcept {
    // As the processor rounds: halves to even.
    const float scaled = std::nearbyint(static_cast<float>(luma) * ContrastSlope(parameters.contrast));
    return static_cast<std::uint8_t>(
        std::clamp(static_cast<int>(scaled) - (parameters.brightness + parameters.contrast), 0, 255));
}

int AngleOf(int hue) noexcept {
    return std::clamp(hue * 180 / 256, -180, 180);
}

void MakeRotation(int angle, ChromaRotation& rotation) noexcept {
    constexpr double kPi = 3.141592653589793;
    const double radians = angle * kPi / 180;
    const auto make = [](double factor, std::int16_t* products) {
        for (int i = 0; i <= 128; ++i) {
            products[i] = static_cast<std::int16_t>(std::round(i * factor));
        }
    };
    make(Cosine(radians), rotation.cosine);
    make(Sine(radians), rotation.sine);
}

double GainOf(int saturation) noexcept {
    if (saturation > 0) {
        const double x = saturation * 0.0078125;
        saturation = Truncated((Exponential(x) - 1 + x) * 128);
    }
    return (saturation + 255) * kPerCode;
}

void MakeGain(double gain, ByteTable& table) noexcept {
    for (int i = 0; i < 256; ++i) {
        const double product = std::round(std::max(i - 128, -127) * gain);
        table[static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(static_cast<int>(std::clamp(product, -127.0, 127.0)) + 128);
    }
}

void MakeColourLevels(const Levels& levels, ByteTable& halves) noexcept {
    const double slope = SlopeOf(levels), exponent = ExponentOf(levels.mid);
    for (int j = 0; j < 256; ++j) {
        const int t = Truncated(2 * j * slope + levels.low + 0.5);
        const double half = t < 0 ? 0.0 : (Power(t * kPerStep, exponent) * 256 + 0.5) * 0.5;
        halves[static_cast<std::size_t>(j)] = static_cast<std::uint8_t>(std::min(half, 255.0));
    }
}

}  // namespace Zan::BaseCC
