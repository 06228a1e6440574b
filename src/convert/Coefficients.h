#ifndef TESSELU_SRC_CONVERT_COEFFICIENTS_H
#define TESSELU_SRC_CONVERT_COEFFICIENTS_H

#include <TesselU/convert/ConversionMatrix.h>

#include <cstddef>
#include <cstdint>

namespace Zan {

/// A colour matrix with the offsets before and after it.
struct ColorMatrix {
    double matrix[4][4];
    double offset[2][4];
};

ColorMatrix MatrixOfKind(ConversionKind kind) noexcept;

/// How a kernel takes its coefficients.
struct CoefficientForm {
    bool isTransposed;                   ///< a row of the matrix holds what one input sample contributes
    double offsetsBefore, offsetsAfter;  ///< scales of the fixed-point offsets

    constexpr bool operator==(const CoefficientForm&) const = default;
};

inline constexpr CoefficientForm kOffsetsIn16ths{false, 128, 16};
inline constexpr CoefficientForm kWholeOffsets{false, 128, 1};
inline constexpr CoefficientForm kTransposed{true, 16, 16};

/// Everything numeric that an integer kernel of a matrix pair receives.
///
/// `matrix` and `offset` are the doubles in use, always in the sense of out = matrix * (in + offset[0]) +
/// offset[1]; the scalar columns at the end of a row compute from them. The fixed-point members are for the
/// vector columns: `matrixFixed` in 8192ths, transposed where the form says so, `offsetFixed` scaled as the
/// form says. The paired members hold each row twice over.
struct alignas(16) FixedPointCoefficients {
    double matrix[4][4];
    double offset[2][4];
    std::int16_t matrixFixed[4][4];
    std::int16_t offsetFixed[2][4];
    std::int16_t matrixPaired[4][8];
    std::int16_t offsetPaired[2][8];
};
static_assert(sizeof(FixedPointCoefficients) == 336);

/// A block, and what kernels make of it before the first pixel.
struct PreparedCoefficients : FixedPointCoefficients {
    /// Both offsets of a row for input times 128, as they meet the sum of products, in 8192ths.
    std::int32_t sevenBitOffsets[3];
    std::int16_t wholeOffsets[2][4];  ///< `offset`, truncated
    /// No offsets before the matrix, and `EightBitGreyIsNeutral`.
    bool hasNeutralGrey;
};

/// The coefficients of a default matrix: the same for all calls.
const PreparedCoefficients& DefaultCoefficients(ConversionKind kind, const CoefficientForm& form) noexcept;

/// The coefficients of a caller's matrix and offsets: 16 and 8 doubles. Where alpha takes no part in colour
/// its column is 0.
void MakeCoefficients(const double* matrix, const double* offset, const CoefficientForm& form,
                      bool alphaTakesPart, PreparedCoefficients& block) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_COEFFICIENTS_H
