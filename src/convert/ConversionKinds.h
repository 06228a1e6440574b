#ifndef TESSELU_SRC_CONVERT_CONVERSIONKINDS_H
#define TESSELU_SRC_CONVERT_CONVERSIONKINDS_H

#include <TesselU/convert/ConversionMatrix.h>

#include <cstdint>

namespace Zan {

/// A colour matrix with the offsets before and after it.
struct ColorMatrix {
    double matrix[4][4];
    double offset[2][4];
};

ColorMatrix MatrixOfKind(ConversionKind kind) noexcept;

/// The kind of matrix that a pair of format codes needs by default on the integer path.
ConversionKind KindOfIntegerPair(std::uint32_t source, std::uint32_t destination) noexcept;

/// The same on the floating-point path, which has a few pairs more.
ConversionKind KindOfFloatPair(std::uint32_t source, std::uint32_t destination) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_CONVERSIONKINDS_H
