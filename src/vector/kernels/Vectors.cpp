// Operations on batches of 3D vectors. Nothing is ever fused, and what Max makes of numbers that are none
// differs by target: limits compare.

#include "vector/kernels/Vectors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/kernels/Vectors.cpp"
#include "simd/Foreach.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Runs a kernel over n vectors: Unit(i) makes vector i, reading all of its operands before it writes.
template <class K>
void Batch(const K& kernel, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        kernel.Unit(i);
    }
}

FloatVector At(const float* v, std::size_t i) {
    return {v[3 * i], v[3 * i + 1], v[3 * i + 2]};
}

void Put(const FloatVector& v, float* to, std::size_t i) {
    to[3 * i] = v.x;
    to[3 * i + 1] = v.y;
    to[3 * i + 2] = v.z;
}

// ---- Lengths

struct Lengths {
    void Unit(std::size_t i) const { length[i] = Length(At(v, i)); }

    const float* v;
    float* length;
};

struct SingleLengths {
    void Unit(std::size_t i) const { length[i] = SingleLength(At(v, i)); }

    const float* v;
    float* length;
};

// ---- Normals

struct Normals {
    void Unit(std::size_t i) const { Put(Normal(At(src, i)), dst, i); }

    const float* src;
    float* dst;
};

struct SingleNormals {
    void Unit(std::size_t i) const { Put(NormalByLength(At(src, i)), dst, i); }

    const float* src;
    float* dst;
};

struct ArrayNormals {
    void Unit(std::size_t i) const {
        const FloatVector normal = Normal({src.x[i], src.y[i], src.z[i]});
        dst.x[i] = normal.x;
        dst.y[i] = normal.y;
        dst.z[i] = normal.z;
    }

    const SourceArrays& src;
    const DestinationArrays& dst;
};

struct SingleArrayNormals {
    void Unit(std::size_t i) const {
        const FloatVector normal = NormalBySquare({src.x[i], src.y[i], src.z[i]});
        dst.x[i] = normal.x;
        dst.y[i] = normal.y;
        dst.z[i] = normal.z;
    }

    const SourceArrays& src;
    const DestinationArrays& dst;
};

/// Twelve floats hold four vectors.
struct BlockNormals {
    void Unit(std::size_t i) const {
        const std::size_t at = i / 4 * 12 + i % 4;
        const FloatVector normal = NormalBySquare({src[at], src[at + 4], src[at + 8]});
        dst[at] = normal.x;
        dst[at + 4] = normal.y;
        dst[at + 8] = normal.z;
    }

    const float* src;
    float* dst;
};

// ---- Products and sums

struct DotProducts {
    void Unit(std::size_t i) const { dst[i] = DotProductOf(At(a, i), At(b, i)); }

    const float *a, *b;
    float* dst;
};

struct CrossProducts {
    void Unit(std::size_t i) const { Put(CrossProductOf(At(a, i), At(b, i)), dst, i); }

    const float *a, *b;
    float* dst;
};

/// An exact product, or the exact sum, rounded to double and to float, is that rounded to float.
struct ScaledFloats {
    void Unit(std::size_t i) const { v[i] = s * v[i]; }

    float s;
    float* v;
};

struct SumsOfFloats {
    void Unit(std::size_t i) const { dst[i] = a[i] + b[i]; }

    const float *a, *b;
    float* dst;
};

struct ConstantSums {
    void Unit(std::size_t i) const {
        const FloatVector at = At(v, i);
        Put({at.x + c.x, at.y + c.y, at.z + c.z}, dst, i);
    }

    const float* v;
    FloatVector c;
    float* dst;
};

/// Scales for each vector, or one for all.
template <bool EachA, bool EachB>
struct ScaledSums {
    void Unit(std::size_t i) const {
        const float sa = sum.sa[EachA ? i : 0], sb = sum.sb[EachB ? i : 0];
        const FloatVector a = At(sum.a, i), b = At(sum.b, i);
        Put({ScaledSum(sa, a.x, sb, b.x), ScaledSum(sa, a.y, sb, b.y), ScaledSum(sa, a.z, sb, b.z)}, sum.dst,
            i);
    }

    const ScaledSum3D& sum;
};

// ---- Transforms

template <FloatVector (*Formula)(const TransformMatrix&, const FloatVector&)>
struct Transformed {
    void Unit(std::size_t i) const { Put(Formula(matrix, At(src, i)), dst, i); }

    const TransformMatrix& matrix;
    const float* src;
    float* dst;
};

struct SingleTransformed {
    void Unit(std::size_t i) const { Put(SingleLinearPoint(matrix, At(src, i)), dst, i); }

    SingleMatrix matrix;
    const float* src;
    float* dst;
};

// ---- Rows of the table

void RunLengths(const float* v, float* length, std::size_t n) {
    Batch(Lengths{v, length}, n);
}
void RunSingleLengths(const float* v, float* length, std::size_t n) {
    Batch(SingleLengths{v, length}, n);
}
void RunNormals(const float* src, float* dst, std::size_t n) {
    Batch(Normals{src, dst}, n);
}
void RunSingleNormals(const float* src, float* dst, std::size_t n) {
    Batch(SingleNormals{src, dst}, n);
}
void RunBlockNormals(const float* src, float* dst, std::size_t n) {
    Batch(BlockNormals{src, dst}, n);
}
void RunArrayNormals(const SourceArrays& src, const DestinationArrays& dst, std::size_t n) {
    Batch(ArrayNormals{src, dst}, n);
}
void RunSingleArrayNormals(const SourceArrays& src, const DestinationArrays& dst, std::size_t n) {
    Batch(SingleArrayNormals{src, dst}, n);
}
void RunScaleFloats(float s, float* v, std::size_t floats) {
    Batch(ScaledFloats{s, v}, floats);
}
void RunAddFloats(const float* a, const float* b, float* dst, std::size_t floats) {
    Batch(SumsOfFloats{a, b, dst}, floats);
}
void RunAddConstant(const float* v, const FloatVector& c, float* dst, std::size_t n) {
    Batch(ConstantSums{v, c, dst}, n);
}
void RunDotProducts(const float* a, const float* b, float* dst, std::size_t n) {
    Batch(DotProducts{a, b, dst}, n);
}
void RunCrossProducts(const float* a, const float* b, float* dst, std::size_t n) {
    Batch(CrossProducts{a, b, dst}, n);
}
void RunAddScaled(const ScaledSum3D& sum, std::size_t n) {
    Batch(ScaledSums<true, true>{sum}, n);
}
void RunAddScaledAndConstant(const ScaledSum3D& sum, std::size_t n) {
    Batch(ScaledSums<true, false>{sum}, n);
}
void RunAddConstantScaled(const ScaledSum3D& sum, std::size_t n) {
    Batch(ScaledSums<false, false>{sum}, n);
}
void RunLinear(const TransformMatrix& matrix, const float* src, float* dst, std::size_t n) {
    Batch(Transformed<&LinearPoint>{matrix, src, dst}, n);
}
void RunAffine(const TransformMatrix& matrix, const float* src, float* dst, std::size_t n) {
    Batch(Transformed<&AffinePoint>{matrix, src, dst}, n);
}
void RunProjective(const TransformMatrix& matrix, const float* src, float* dst, std::size_t n) {
    Batch(Transformed<&ProjectivePoint>{matrix, src, dst}, n);
}
void RunSingleLinear(const TransformMatrix& matrix, const float* src, float* dst, std::size_t n) {
    Batch(SingleTransformed{SingleMatrix(matrix), src, dst}, n);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(LengthKernel, kLengths, RunLengths);
TESSELU_KERNEL(LengthKernel, kSingleLengths, RunSingleLengths);
TESSELU_KERNEL(NormalKernel, kNormals, RunNormals);
TESSELU_KERNEL(NormalKernel, kSingleNormals, RunSingleNormals);
TESSELU_KERNEL(NormalKernel, kBlockNormals, RunBlockNormals);
TESSELU_KERNEL(ArrayNormalKernel, kArrayNormals, RunArrayNormals);
TESSELU_KERNEL(ArrayNormalKernel, kSingleArrayNormals, RunSingleArrayNormals);
TESSELU_KERNEL(ScaleKernel, kScaleFloats, RunScaleFloats);
TESSELU_KERNEL(SumKernel, kAddFloats, RunAddFloats);
TESSELU_KERNEL(ConstantSumKernel, kAddConstant, RunAddConstant);
TESSELU_KERNEL(ProductKernel, kDotProducts, RunDotProducts);
TESSELU_KERNEL(ProductKernel, kCrossProducts, RunCrossProducts);
TESSELU_KERNEL(ScaledSumKernel, kAddScaled, RunAddScaled);
TESSELU_KERNEL(ScaledSumKernel, kAddScaledAndConstant, RunAddScaledAndConstant);
TESSELU_KERNEL(ScaledSumKernel, kAddConstantScaled, RunAddConstantScaled);
TESSELU_KERNEL(TransformKernel, kLinear, RunLinear);
TESSELU_KERNEL(TransformKernel, kAffine, RunAffine);
TESSELU_KERNEL(TransformKernel, kProjective, RunProjective);
TESSELU_KERNEL(TransformKernel, kSingleLinear, RunSingleLinear);

}  // namespace Zan

#endif  // HWY_ONCE
