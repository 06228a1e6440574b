#ifndef TESSELU_SRC_VECTOR_KERNELS_VECTORS_H
#define TESSELU_SRC_VECTOR_KERNELS_VECTORS_H

#include <cstddef>

#include "simd/Dispatch.h"
#include "vector/kernels/VectorFormulas.h"

namespace Zan {

// All read a vector, and its scales, before they write it, in rising order.

/// One array for each component, or one of interleaved vectors.
struct SourceArrays {
    const float *x, *y, *z;
};
struct DestinationArrays {
    float *x, *y, *z;
};

using LengthKernel = simd::Kernel<void(const float* v, float* length, std::size_t n)>;
using NormalKernel = simd::Kernel<void(const float* src, float* dst, std::size_t n)>;
using ArrayNormalKernel =
    simd::Kernel<void(const SourceArrays& src, const DestinationArrays& dst, std::size_t n)>;

/// In doubles.
extern const LengthKernel kLengths;
extern const NormalKernel kNormals;
extern const ArrayNormalKernel kArrayNormals;

/// In single precision; n is a multiple of 4.
extern const LengthKernel kSingleLengths;
extern const NormalKernel kSingleNormals;
extern const NormalKernel kBlockNormals;
extern const ArrayNormalKernel kSingleArrayNormals;

/// v[i] = s * v[i], for `floats` of them.
using ScaleKernel = simd::Kernel<void(float s, float* v, std::size_t floats)>;
extern const ScaleKernel kScaleFloats;

/// dst[i] = a[i] + b[i], for `floats` of them.
using SumKernel = simd::Kernel<void(const float* a, const float* b, float* dst, std::size_t floats)>;
extern const SumKernel kAddFloats;

/// dst[i] = v[i] + c.
using ConstantSumKernel = simd::Kernel<void(const float* v, const FloatVector& c, float* dst, std::size_t n)>;
extern const ConstantSumKernel kAddConstant;

/// dst[i] = a[i] . b[i] or a[i] x b[i].
using ProductKernel = simd::Kernel<void(const float* a, const float* b, float* dst, std::size_t n)>;
extern const ProductKernel kDotProducts, kCrossProducts;

/// The operands of dst[i] = sa[i] * a[i] + sb[i] * b[i]. Where a side has one scale for all, it is the first.
struct ScaledSum3D {
    const float *sa, *a, *sb, *b;
    float* dst;
};
using ScaledSumKernel = simd::Kernel<void(const ScaledSum3D& sum, std::size_t n)>;
/// With a scale for each vector on both sides, on the side of `a` alone, and on neither.
extern const ScaledSumKernel kAddScaled, kAddScaledAndConstant, kAddConstantScaled;

using TransformKernel =
    simd::Kernel<void(const TransformMatrix& matrix, const float* src, float* dst, std::size_t n)>;
/// In doubles.
extern const TransformKernel kLinear, kAffine, kProjective;
/// In single precision; n is a multiple of 4.
extern const TransformKernel kSingleLinear;

}  // namespace Zan

#endif  // TESSELU_SRC_VECTOR_KERNELS_VECTORS_H
