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

/// To the nearest whole number, halves away from zero.
int Rounded(double x) {
    return static_cast<int>(x + std::copysign(0.49999999999999994, x));
}

float ContrastSlope(int contrast) {
    return static_cast<float>(2 * contrast + 255) * 0.003921569F;
}

/// Products of chroma -128 ... 127.
using Products = std::array<std::int16_t, 256>;

/// The factor in 1/32768 by which (x * 2^shift * factor + 2^14) >> 15, limited to `limit` either way, is what
/// stands for x, and which negated gives its negation. Every angle and every gain has one, at most two steps
/// off.
std::int16_t FactorFor(double factor, int shift, int limit, int lowest, const Products& products) {
    const int nearest = Rounded(factor * (32768 >> shift));
    int found = nearest;
    for (const int step : {0, 1, -1, 2, -2}) {
        const int candidate = std::clamp(nearest + step, -32767, 32767);
        int wrong = 0;
        for (int x = lowest; x < 128; ++x) {
            const auto rounded = [&](int by) {
                return std::clamp(((x << shift) * by + (1 << 14)) >> 15, -limit, limit);
            };
            const int product = products[static_cast<std::size_t>(x + 128)];
            wrong |= (rounded(candidate) ^ product) | (rounded(-candidate) ^ -product);
        }
        if (wrong == 0) {
            found = candidate;
            break;
        }
    }
    return static_cast<std::int16_t>(std::clamp(found, -32767, 32767));
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
    const auto make = [](double factor, std::int16_t* magnitudes) {
        Products products;
        for (int i = 0; i <= 128; ++i) {
            magnitudes[i] = static_cast<std::int16_t>(Rounded(i * factor));
            products[static_cast<std::size_t>(128 - i)] = static_cast<std::int16_t>(-magnitudes[i]);
        }
        std::copy(magnitudes, magnitudes + 128, products.begin() + 128);
        return FactorFor(factor, 0, 128, -128, products);
    };
    rotation.cosineFactor = make(Cosine(radians), rotation.cosine);
    rotation.sineFactor = make(Sine(radians), rotation.sine);
}

double GainOf(int saturation) noexcept {
    if (saturation > 0) {
        const double x = saturation * 0.0078125;
        saturation = Truncated((Exponential(x) - 1 + x) * 128);
    }
    return (saturation + 255) * kPerCode;
}

void MakeGain(double factor, ChromaGain& gain) noexcept {
    Products products;
    for (int i = 0; i < 256; ++i) {
        const auto product = std::clamp(Rounded(std::max(i - 128, -127) * factor), -127, 127);
        products[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(product);
        gain.table[i] = static_cast<std::uint8_t>(product + 128);
    }
    int shift = 0;
    while (factor >= 1 << shift) {
        ++shift;
    }
    gain.shift = static_cast<std::uint8_t>(shift);
    gain.factor = FactorFor(factor, shift, 127, -127, products);
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
