#ifndef TESSELU_SRC_FILTER_KERNELS_ADAPTIVEFORMULAS_H
#define TESSELU_SRC_FILTER_KERNELS_ADAPTIVEFORMULAS_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace Zan {

// The adaptive filter, sample by sample. `Real` is float for the form that works in single precision, else
// double. Channels are those of a word's bytes: of packed 4:2:2, Cb, luma and Cr.

enum class Combine : unsigned char { kNot, kMinimum, kMaximum, kSum };

struct AdaptiveSettings {
    std::uint8_t levels[3];  ///< N
    double weights[3];
    double strength;
    Combine combine;
    bool limits;
};

template <class Real>
struct AdaptiveFormula {
    static constexpr bool kSingle = sizeof(Real) == sizeof(float);

    explicit AdaptiveFormula(const AdaptiveSettings& settings, std::uint64_t count)
        : given(settings),
          samples(count),
          inverse(Real(1) / static_cast<Real>(count)),
          strength(static_cast<Real>(settings.strength)) {
        for (std::size_t i = 0; i < 3; ++i) {
            weights[i] = static_cast<Real>(settings.weights[i]);
        }
    }

    std::uint8_t Mean(std::uint64_t sum) const {
        if constexpr (kSingle) {
            return static_cast<std::uint8_t>(std::nearbyint(static_cast<Real>(sum) * inverse));
        } else {
            return Rounded(sum);
        }
    }

    Real Deviation(std::uint64_t differences) const {
        if constexpr (kSingle) {
            return static_cast<Real>(differences) * inverse;
        } else {
            return Rounded(differences);
        }
    }

    Real Fraction(std::size_t channel, Real deviation) const {
        const Real level = given.levels[channel];
        if constexpr (kSingle) {
            return level / (deviation > level ? deviation : level);
        } else {
            return level == 0 ? 0 : level < deviation ? level / deviation : 1;
        }
    }

    /// What serves all three channels; with anything that is not a number, that.
    Real Combined(const Real (&fractions)[3]) const {
        Real a = weights[0] * fractions[0], b = weights[1] * fractions[1];
        const Real c = weights[2] * fractions[2];
        if (std::isnan(a) || std::isnan(b) || std::isnan(c)) {
            return std::numeric_limits<Real>::quiet_NaN();
        }
        Real result;
        if (given.combine == Combine::kSum) {
            // Also where luma comes first: the sum of two does not depend on their order.
            result = a + b + c;
        } else if (given.combine == Combine::kMinimum) {
            result = a < b ? a : b;
            result = c < result ? c : result;
        } else {
            result = a > b ? a : b;
            result = c > result ? c : result;
        }
        return result < 0 ? 0 : result > 1 ? 1 : result;
    }

    std::uint8_t Result(std::size_t channel, Real fraction, std::uint8_t mean, std::uint8_t centre) const {
        Real keep = (1 - fraction) * strength;
        keep = keep > 1 ? 1 : keep;
        const Real value = (1 - keep) * mean + keep * centre + Real(0.5);
        // What is not a number becomes 0.
        int result = value > 0 ? value < 255 ? static_cast<int>(value) : 255 : 0;
        if (given.limits) {
            const int level = given.levels[channel];
            if (result < centre - level) {
                result = centre - level;
            } else if (result > centre + level) {
                result = centre + level;
            }
        }
        return static_cast<std::uint8_t>(result);
    }

    const AdaptiveSettings& given;

private:
    /// sum / n + 0.5, truncated; of means of bytes, which doubles tell from halves.
    std::uint8_t Rounded(std::uint64_t sum) const {
        return static_cast<std::uint8_t>(static_cast<double>(sum) / static_cast<double>(samples) + 0.5);
    }

    std::uint64_t samples;
    Real inverse, strength, weights[3];
};

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_KERNELS_ADAPTIVEFORMULAS_H
