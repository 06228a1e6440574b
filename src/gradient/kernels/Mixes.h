#ifndef TESSELU_SRC_GRADIENT_KERNELS_MIXES_H
#define TESSELU_SRC_GRADIENT_KERNELS_MIXES_H

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "simd/Dispatch.h"

namespace Zan {

/// What a pixel makes of the fractions of its column and its row, which both lie in 0...1; so do all results.
enum class Mix {
    kSmaller,      ///< of the two
    kMean,         ///< (column + row) / 2
    kFallingMean,  ///< 1 less that
    kVee,          ///< (column + 1 - row) / 2
    kRidge,        ///< 1 - |column - row|
    kRidgeOfSum,   ///< 1 - |column + row - 1|
};

inline double MixOf(Mix mix, double column, double row) noexcept {
    switch (mix) {
        case Mix::kSmaller:
            return column < row ? column : row;
        case Mix::kMean:
            return (column + row) / 2.0;
        case Mix::kFallingMean:
            return 1.0 - (column + row) / 2.0;
        case Mix::kVee:
            return (column + 1.0 - row) / 2.0;
        case Mix::kRidge:
            return 1.0 - std::fabs(column - row);
        case Mix::kRidgeOfSum:
            return 1.0 - std::fabs(column + row - 1.0);
    }
    return 0.0;
}

/// samples[i] = MixOf(mix, columns[i], row) * peak, rounded to the nearest, for n of them.
using MixKernel8 = simd::Kernel<void(Mix mix, const double* columns, double row, double peak,
                                     std::uint8_t* samples, std::size_t n)>;
using MixKernel16 = simd::Kernel<void(Mix mix, const double* columns, double row, double peak,
                                      std::uint16_t* samples, std::size_t n)>;

extern const MixKernel8 kMixSamples8;
extern const MixKernel16 kMixSamples16;

}  // namespace Zan

#endif  // TESSELU_SRC_GRADIENT_KERNELS_MIXES_H
