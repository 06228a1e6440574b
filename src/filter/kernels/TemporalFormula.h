#ifndef TESSELU_SRC_FILTER_KERNELS_TEMPORALFORMULA_H
#define TESSELU_SRC_FILTER_KERNELS_TEMPORALFORMULA_H

#include <cstddef>
#include <cstdint>

namespace Zan {

/// The temporal filter on words of packed 4:2:2, in doubles. Weights are by byte: Cb, luma, Cr.
struct TemporalFormula {
    double frameWeights[3], channelWeights[3];
    int lowThreshold, highThreshold;

    /// The difference of byte k of two frames, weighted.
    double Difference(std::uint8_t a, std::uint8_t b, std::size_t k) const {
        return (a < b ? b - a : a - b) * channelWeights[k % 2 == 1 ? 1 : k];
    }

    /// The largest of differences, truncated. Beyond 256 it makes no difference, nor below 0.
    static int Motion(const double* differences, std::size_t count) {
        double most = 0;
        for (std::size_t i = 0; i < count; ++i) {
            most = differences[i] > most ? differences[i] : most;
        }
        return most < 256 ? static_cast<int>(most) : 256;
    }

    std::uint8_t Mix(int motion, std::uint8_t a, std::uint8_t b, std::uint8_t c) const {
        if (motion > lowThreshold && motion >= highThreshold) {
            return b;
        }
        const double mean = frameWeights[0] * a + frameWeights[1] * b + frameWeights[2] * c;
        const double filtered = mean > 0 ? mean < 255 ? mean : 255 : 0;
        if (motion <= lowThreshold) {
            return static_cast<std::uint8_t>(filtered + 0.5);
        }
        const double m = static_cast<double>(motion - lowThreshold) / (highThreshold - lowThreshold);
        return static_cast<std::uint8_t>(filtered * (1 - m) + b * m + 0.5);
    }

    /// One word of previous, current and next frame.
    void Unit(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c, std::uint8_t* to) const {
        double differences[8];
        for (std::size_t k = 0; k < 4; ++k) {
            differences[2 * k] = Difference(b[k], a[k], k);
            differences[2 * k + 1] = Difference(b[k], c[k], k);
        }
        const int motion = Motion(differences, 6), motionOdd = Motion(differences + 6, 2);
        std::uint8_t made[4];
        for (std::size_t k = 0; k < 4; ++k) {
            made[k] = Mix(k == 3 ? motionOdd : motion, a[k], b[k], c[k]);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            to[k] = made[k];
        }
    }
};

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_KERNELS_TEMPORALFORMULA_H
