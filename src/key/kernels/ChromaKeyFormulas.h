#ifndef TESSELU_SRC_KEY_KERNELS_CHROMAKEYFORMULAS_H
#define TESSELU_SRC_KEY_KERNELS_CHROMAKEYFORMULAS_H

#include <cmath>
#include <cstdint>

// The key of one chroma value in three arithmetics, and what is made of it. Each is a class with
//
//     Key operator()(cb, cr) const          m, the key as it mixes, 0 to kOpaque; chroma without spill
//     Mix(foreground, background, m)        one sample
//     Full(m)                               the key as a sample
//     Nearest(alpha, m), Truncated(alpha, m)

namespace Zan {

/// What a call makes of the settings of a keyer. 0 to 1, and doubles, where nothing else is said.
struct ChromaKeySettings {
    double cosine = 1, sine = 0;  ///< of the hue
    double slope = 0;             ///< of the wedge: 0 to 100
    double leastSaturation = 0;
    double spillCb = 0, spillCr = 0;  ///< cosine and sine of the suppression, times its gain: up to 256
    double offset = 0;                ///< -1 to 1
    double gain = 1;                  ///< 0 to 256
    bool invertBefore = false;
    bool invertAfter = false;

    /// The same of the fixed-point form, which takes a degree for another double.
    struct {
        int cosine = 128, sine = 0;    ///< -128 to 128
        int slope = 0;                 ///< 0 to 128
        int leastSaturation = 0;       ///< 0 to 32640, where full saturation is 16256
        int spillCb = 0, spillCr = 0;  ///< -16384 to 16384
        int offset = 0;                ///< -255 to 255
        int gain = 128;                ///< 0 to 32768
    } fixed;

    bool showsKey = false;   ///< rows of the key as a picture
    bool keyIsFull = false;  ///< of such rows the key that is written apart is 255
};

constexpr std::uint8_t LimitedSample(double value) noexcept {
    return value > 0 ? value < 255 ? static_cast<std::uint8_t>(value) : std::uint8_t{255} : std::uint8_t{0};
}

constexpr double LimitedToOne(double value) noexcept {
    return value > 0 ? value < 1 ? value : 1.0 : 0.0;
}

/// t / 255, rounded, for t up to 65025.
constexpr std::uint8_t MixBy255(unsigned foreground, unsigned background, unsigned weight) noexcept {
    const unsigned t = 255 * background + weight * foreground - weight * background + 128;
    return static_cast<std::uint8_t>((t + (t >> 8)) >> 8);
}

template <class M>
struct KeyOfChroma {
    M m;
    std::uint8_t cb, cr;
};

// ---- Double precision -------------------------------------------------------------------------------------

/// Chroma along the hue, -1.42 to 1.42.
constexpr double AlongHue(const ChromaKeySettings& s, unsigned cb, unsigned cr) noexcept {
    const double b = (static_cast<int>(cb) - 128) / 128.0, r = (static_cast<int>(cr) - 128) / 128.0;
    return s.cosine * b + s.sine * r;
}

/// Whether any chroma lies within `distance`, which is small, of the least saturation.
inline bool HasChromaNearLeast(const ChromaKeySettings& s, double distance) noexcept {
    // For each value of the axis across, the two next to the line on the other.
    const bool isSteep = std::abs(s.sine) > std::abs(s.cosine);
    const double along = isSteep ? s.sine : s.cosine, across = isSteep ? s.cosine : s.sine;
    const double start = s.leastSaturation * 128 / along, step = across / along;
    for (int i = -128; i < 128; ++i) {
        const int next = static_cast<int>(std::floor(start - i * step));
        for (int j = next; j <= next + 1; ++j) {
            const auto cb = static_cast<unsigned>((isSteep ? i : j) + 128);
            const auto cr = static_cast<unsigned>((isSteep ? j : i) + 128);
            if (j >= -128 && j < 128 && std::abs(AlongHue(s, cb, cr) - s.leastSaturation) <= distance) {
                return true;
            }
        }
    }
    return false;
}

class DoubleKey {
public:
    using Key = KeyOfChroma<double>;
    static constexpr double kOpaque = 1;

    explicit DoubleKey(const ChromaKeySettings& s) noexcept : settings(s) {}

    Key operator()(unsigned cb, unsigned cr) const noexcept {
        const ChromaKeySettings& s = settings;
        const double b = (static_cast<int>(cb) - 128) / 128.0, r = (static_cast<int>(cr) - 128) / 128.0;
        const double x = AlongHue(s, cb, cr), z = -s.sine * b + s.cosine * r;
        const double k = x < s.leastSaturation ? 0 : LimitedToOne(x - std::abs(z) * s.slope);
        const double p = s.invertBefore ? 1 - k : k;
        const double gained = LimitedToOne((p + s.offset) * s.gain);
        return {s.invertAfter ? 1 - gained : gained, LimitedSample((b - s.spillCb * k) * 128 + 128.5),
                LimitedSample((r - s.spillCr * k) * 128 + 128.5)};
    }

    static std::uint8_t Mix(unsigned foreground, unsigned background, double m) noexcept {
        return static_cast<std::uint8_t>(background * (1 - m) + 0.5 + foreground * m);
    }
    static std::uint8_t Full(double m) noexcept { return Nearest(255, m); }
    static std::uint8_t Nearest(unsigned alpha, double m) noexcept {
        return static_cast<std::uint8_t>(m * alpha + 0.5);
    }
    static std::uint8_t Truncated(unsigned alpha, double m) noexcept {
        return static_cast<std::uint8_t>(m * alpha);
    }

private:
    const ChromaKeySettings& settings;
};

// ---- Single precision -------------------------------------------------------------------------------------

/// The constants of single precision. Across the hue, where the slope multiplies every error by up to 100 and
/// the gain by 256, cosine and sine are taken in two halves whose products with chroma are exact.
struct SingleKeyConstants {
    explicit SingleKeyConstants(const ChromaKeySettings& s) noexcept
        : cosine(static_cast<float>(s.cosine / 128)),
          sine(static_cast<float>(s.sine / 128)),
          slope(static_cast<float>(s.slope / 128 / kHighUnit)),
          spillCb(static_cast<float>(s.spillCb * 128)),
          spillCr(static_cast<float>(s.spillCr * 128)) {
        const auto split = [](double value, std::int16_t& high, std::int16_t& low) {
            high = static_cast<std::int16_t>(std::lround(value * kHighUnit));
            low = static_cast<std::int16_t>(std::lround((value * kHighUnit - high) * kLowUnit));
        };
        split(s.cosine, cosineHigh, cosineLow);
        split(s.sine, sineHigh, sineLow);
        // (p + offset) gain, both inversions, and the unit of m, as one line over k.
        double factor = s.gain, constant = s.offset * s.gain;
        if (s.invertBefore) {
            constant += factor;
            factor = -factor;
        }
        if (s.invertAfter) {
            constant = 1 - constant;
            factor = -factor;
        }
        gain = static_cast<float>(factor * kUnitOfM);
        offset = static_cast<float>(constant * kUnitOfM + 0.5);
    }

    static constexpr int kUnitOfM = 32768;
    static constexpr int kHighUnit = 16384, kLowUnit = 32768;

    float cosine, sine;      ///< for chroma in code values
    float slope;             ///< for chroma in code values times `kHighUnit`
    float spillCb, spillCr;  ///< in code values
    float gain, offset;      ///< of m in its unit
    std::int16_t cosineHigh, cosineLow, sineHigh, sineLow;
};

class SingleKey {
public:
    using Key = KeyOfChroma<int>;
    static constexpr int kOpaque = SingleKeyConstants::kUnitOfM;

    explicit SingleKey(const ChromaKeySettings& s) noexcept : settings(s), constants(s) {}

    Key operator()(unsigned cb, unsigned cr) const noexcept {
        const SingleKeyConstants& c = constants;
        const int b = static_cast<int>(cb) - 128, r = static_cast<int>(cr) - 128;
        const auto bf = static_cast<float>(b), rf = static_cast<float>(r);
        const float x = c.cosine * bf + c.sine * rf;
        const float z =
            static_cast<float>(c.cosineHigh * r - c.sineHigh * b) +
            static_cast<float>(c.cosineLow * r - c.sineLow * b) * (1.0F / SingleKeyConstants::kLowUnit);
        const float inside = x - std::abs(z) * c.slope;
        // Without a least saturation k is what it is: 0, or as good as 0, below it.
        const bool isBelow =
            settings.leastSaturation > 0 && AlongHue(settings, cb, cr) < settings.leastSaturation;
        const float k = isBelow || !(inside > 0) ? 0 : inside < 1 ? inside : 1;
        const auto limited = [](float value, int most) {
            return value > 0 ? value < static_cast<float>(most) ? static_cast<int>(value) : most : 0;
        };
        return {limited(k * c.gain + c.offset, SingleKeyConstants::kUnitOfM),
                static_cast<std::uint8_t>(limited(bf - c.spillCb * k + 128.5F, 255)),
                static_cast<std::uint8_t>(limited(rf - c.spillCr * k + 128.5F, 255))};
    }

    static std::uint8_t Mix(unsigned foreground, unsigned background, int m) noexcept {
        const int difference = static_cast<int>(foreground) - static_cast<int>(background);
        return static_cast<std::uint8_t>(static_cast<int>(background) + ((difference * m + 16384) >> 15));
    }
    static std::uint8_t Full(int m) noexcept { return Nearest(255, m); }
    static std::uint8_t Nearest(unsigned alpha, int m) noexcept {
        return static_cast<std::uint8_t>((static_cast<int>(alpha) * m + 16384) >> 15);
    }
    static std::uint8_t Truncated(unsigned alpha, int m) noexcept {
        return static_cast<std::uint8_t>((static_cast<int>(alpha) * m) >> 15);
    }

private:
    const ChromaKeySettings& settings;
    SingleKeyConstants constants;
};

// ---- Fixed point ------------------------------------------------------------------------------------------

class FixedKey {
public:
    using Key = KeyOfChroma<int>;
    static constexpr int kOpaque = 255;

    explicit FixedKey(const ChromaKeySettings& s) noexcept : settings(s) {}

    Key operator()(unsigned cb, unsigned cr) const noexcept {
        const auto& s = settings.fixed;
        const auto limited = [](int value) { return value > 0 ? value < 255 ? value : 255 : 0; };
        const int b = static_cast<int>(cb) - 128, r = static_cast<int>(cr) - 128;
        const int x = r * s.sine + b * s.cosine;
        const int w = (std::abs(r * s.cosine - b * s.sine) * s.slope) >> 7;
        const int k = x >= s.leastSaturation && x - w >= 0 ? limited((x - w + 32) >> 6) : 0;
        const int p = settings.invertBefore ? 255 - k : k;
        const int gained = limited(((p + s.offset) * s.gain) >> 7);
        return {settings.invertAfter ? 255 - gained : gained,
                static_cast<std::uint8_t>(limited(128 - ((k * s.spillCb) >> 7) + b)),
                static_cast<std::uint8_t>(limited(128 - ((k * s.spillCr) >> 7) + r))};
    }

    static std::uint8_t Mix(unsigned foreground, unsigned background, int m) noexcept {
        return MixBy255(foreground, background, static_cast<unsigned>(m));
    }
    static std::uint8_t Full(int m) noexcept { return static_cast<std::uint8_t>(m); }

private:
    const ChromaKeySettings& settings;
};

}  // namespace Zan

#endif  // TESSELU_SRC_KEY_KERNELS_CHROMAKEYFORMULAS_H
