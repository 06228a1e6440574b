#include "tone/correction/Tables.h"

#include <algorithm>
#include <cmath>

#include "foundation/Elementary.h"
#include "tone/correction/QuickPower.h"
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

/// Whole parts of what `finish` makes of a power, up to 255.
class Gamma {
public:
    Gamma(int mid, double stepSize, int steps)
        : exponent(ExponentOf(mid)), unit(stepSize), quick(exponent, steps) {}

    template <class Finish>
    std::uint8_t operator()(int k, const Finish& finish) const {
        if (exponent == 1 || k == 0) {
            return static_cast<std::uint8_t>(std::min(finish(k * unit), 255.0));
        }
        const double near = std::min(finish(quick(k)), 256.0);
        const int whole = Truncated(near);
        // Where the error may decide, the power itself is asked.
        constexpr double kError = 1e-6;
        const double fraction = near - whole;
        if (whole > 255) {
            return 255;
        }
        if (fraction > kError && fraction < 1 - kError) {
            return static_cast<std::uint8_t>(whole);
        }
        return static_cast<std::uint8_t>(std::min(finish(Power(k * unit, exponent)), 255.0));
    }

private:
    double exponent, unit;
    QuickPower quick;
};

class Contrast {
public:
    explicit Contrast(const BrightnessContrast& parameters)
        : brightness(parameters.brightness),
          contrast(parameters.contrast),
          slope(static_cast<float>(2 * contrast + 255) * 0.003921569F) {}

    std::uint8_t operator()(int luma) const {
        const int turned = Rounded(static_cast<float>(luma) * slope - static_cast<float>(contrast));
        return static_cast<std::uint8_t>(std::clamp(turned + brightness, 0, 255));
    }
    /// Brightness taken away, and rounded as the processor does: halves to even.
    std::uint8_t Downwards(int luma) const {
        constexpr float kWhole = 12582912.0F;  // 1.5 * 2^23: leaves no bits for a fraction
        const float scaled = (static_cast<float>(luma) * slope + kWhole) - kWhole;
        return static_cast<std::uint8_t>(
            std::clamp(static_cast<int>(scaled) - (brightness + contrast), 0, 255));
    }

private:
    int brightness, contrast;
    float slope;
};

/// The product of two numbers that are not negative, halves away from zero.
int RoundedProduct(int a, double b) {
    return static_cast<int>(a * b + 0.49999999999999994);
}

/// The factor in 1/32768 by which (x * 2^shift * factor + 2^14) >> 15, limited to `limit`, is products[x] for
/// x up to `greatest`, and without ties, so that it holds for either sign. Every angle and every gain has
/// one, at most two steps off.
int FactorFor(double factor, int shift, int limit, int greatest, const std::int16_t* products) {
    const int nearest = RoundedProduct(32768 >> shift, factor);
    for (const int step : {0, 1, -1, 2, -2}) {
        const int candidate = std::clamp(nearest + step, 0, 32767);
        int wrong = 0;
        for (int x = 0; x <= greatest; ++x) {
            const int sum = (x << shift) * candidate + (1 << 14);
            wrong |= (std::min(sum >> 15, limit) ^ products[x]) | ((sum & 0x7FFF) == 0 ? 1 : 0);
        }
        if (wrong == 0) {
            return candidate;
        }
    }
    return std::min(nearest, 32767);
}

}  // namespace

double ExponentOf(int mid) noexcept {
    return 1.0 / (mid / (mid < 1 ? 260.0 : 50.0) + 1.0);
}

void MakeLumaLevels(const Levels& levels, bool studioRange, ByteTable& table) noexcept {
    if (!studioRange) {
        const double slope = SlopeOf(levels);
        const Gamma gamma(levels.mid, kPerStep, 256);
        for (int i = 0; i < 256; ++i) {
            const int v = std::clamp(Truncated(i * slope + levels.low + 0.5), 0, 255);
            table[static_cast<std::size_t>(i)] = gamma(v, [](double power) { return power * 256; });
        }
        return;
    }
    const double slope = (levels.high - levels.low + 219) * kPerStudioCode;
    const double lift = (levels.low + 16) - slope * 16;
    const Gamma gamma(levels.mid, kPerStudioStep, 220);
    for (int i = 0; i < 256; ++i) {
        const int v = std::clamp(Truncated(i * slope + lift + 0.5), 16, 235);
        table[static_cast<std::size_t>(i)] = gamma(v - 16, [](double power) { return power * 220 + 16; });
    }
}

void MakeContrast(const BrightnessContrast& parameters, ByteTable& table, ByteTable& downwards) noexcept {
    const Contrast contrast(parameters);
    for (int i = 0; i < 256; ++i) {
        table[static_cast<std::size_t>(i)] = contrast(i);
    }
    for (int i = 0; i < 256; ++i) {
        downwards[static_cast<std::size_t>(i)] = contrast.Downwards(i);
    }
}

void AddContrast(const BrightnessContrast& parameters, ByteTable& table) noexcept {
    const Contrast contrast(parameters);
    for (std::uint8_t& entry : table) {
        entry = contrast(entry);
    }
}

int AngleOf(int hue) noexcept {
    return std::clamp(hue * 180 / 256, -180, 180);
}

void MakeRotation(int angle, ChromaRotation& rotation) noexcept {
    constexpr double kPi = 3.141592653589793;
    const double radians = angle * kPi / 180;
    const auto make = [](double factor, std::int16_t* products) {
        const double size = std::fabs(factor);
        for (int i = 0; i <= 128; ++i) {
            products[i] = static_cast<std::int16_t>(RoundedProduct(i, size));
        }
        const int found = FactorFor(size, 0, 128, 128, products);
        if (factor >= 0) {
            return static_cast<std::int16_t>(found);
        }
        std::transform(products, products + 129, products,
                       [](std::int16_t product) { return static_cast<std::int16_t>(-product); });
        return static_cast<std::int16_t>(-found);
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
    std::int16_t products[128];
    for (int i = 0; i < 128; ++i) {
        products[i] = static_cast<std::int16_t>(std::min(RoundedProduct(i, factor), 127));
        gain.table[128 + i] = static_cast<std::uint8_t>(128 + products[i]);
        gain.table[128 - i] = static_cast<std::uint8_t>(128 - products[i]);
    }
    gain.table[0] = gain.table[1];
    int shift = 0;
    while (factor >= 1 << shift) {
        ++shift;
    }
    gain.shift = static_cast<std::uint8_t>(shift);
    gain.factor = static_cast<std::int16_t>(FactorFor(factor, shift, 127, 127, products));
}

void MakeColourLevels(const Levels& levels, ByteTable& halves) noexcept {
    const double slope = SlopeOf(levels);
    const Gamma gamma(levels.mid, kPerStep, 256);
    for (int j = 0; j < 256; ++j) {
        const int t = Truncated(2 * j * slope + levels.low + 0.5);
        halves[static_cast<std::size_t>(j)] =
            t < 0 ? std::uint8_t{0} : gamma(t, [](double power) { return (power * 256 + 0.5) * 0.5; });
    }
}

}  // namespace Zan::BaseCC
