// Transforms of batches of points.

#include "simd/Job.h"
#include "vector/kernels/Vectors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/kernels/Transforms.cpp"
#include "simd/Foreach.h"
// After it: this is compiled once per target.
#include "vector/kernels/Batch-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

struct Linear {
    static FloatVector Formula(const TransformMatrix& matrix, const FloatVector& point) {
        return LinearPoint(matrix, point);
    }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR Doubles Row(const double* row, const DoubleTriples& p) {
        return Broadcast(row[0]) * p.x + Broadcast(row[1]) * p.y + Broadcast(row[2]) * p.z;
    }
    static HWY_INLINE HWY_ATTR Triples Body(const TransformMatrix& matrix, const DoubleTriples& p) {
        const double* m = matrix.m;
        return ToFloats(DoubleTriples{Row(m, p), Row(m + 4, p), Row(m + 8, p)});
    }
#endif
};

struct Affine {
    static FloatVector Formula(const TransformMatrix& matrix, const FloatVector& point) {
        return AffinePoint(matrix, point);
    }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR Doubles Row(const double* row, const DoubleTriples& p) {
        return Linear::Row(row, p) + Broadcast(row[3]);
    }
    static HWY_INLINE HWY_ATTR Triples Body(const TransformMatrix& matrix, const DoubleTriples& p) {
        const double* m = matrix.m;
        return ToFloats(DoubleTriples{Row(m, p), Row(m + 4, p), Row(m + 8, p)});
    }
#endif
};

struct Projective {
    static FloatVector Formula(const TransformMatrix& matrix, const FloatVector& point) {
        return ProjectivePoint(matrix, point);
    }
#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR VD Scale(VD w) {
        const DD d;
        const VD one = hn::Set(d, 1.0);
        return hn::IfThenElse(hn::Eq(w, hn::Zero(d)), one, hn::Div(one, w));
    }
    static HWY_INLINE HWY_ATTR Triples Body(const TransformMatrix& matrix, const DoubleTriples& p) {
        const Doubles w = Affine::Row(matrix.m + 12, p), scale = {Scale(w.low), Scale(w.high)};
        const DoubleTriples made = ToDoubles(Affine::Body(matrix, p));
        return ToFloats(DoubleTriples{made.x * scale, made.y * scale, made.z * scale});
    }
#endif
};

template <class Kind>
struct Transformed {
    void Unit(std::size_t i) const { Put(Kind::Formula(matrix, At(src, i)), dst, i); }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        StoreTriples<Around>(Kind::Body(matrix, ToDoubles(LoadTriples(src + 3 * i))), dst + 3 * i);
    }
    Output Destination() const {
        return {{dst}, 1, 3, 1, 24, src == dst};
    }
#endif

    TransformMatrix matrix;
    const float* src;
    float* dst;
};

struct SingleTransformed {
    void Unit(std::size_t i) const { Put(SingleLinearPoint(matrix, At(src, i)), dst, i); }
#if HWY_TARGET != HWY_SCALAR
    using Line = Waiting<Triples>;
    Triples Begin(std::size_t i) const {
        return LoadTriples(src + 3 * i);
    }
    template <bool Around>
    void Finish(std::size_t i, const Triples& p) const {
        const float* m = matrix.m;
        StoreTriples<Around>({Row(m, p), Row(m + 3, p), Row(m + 6, p)}, dst + 3 * i);
    }
    static HWY_INLINE HWY_ATTR VF Row(const float* row, const Triples& p) {
        const DF d;
        return hn::Add(hn::Add(hn::Mul(hn::Set(d, row[0]), p.x), hn::Mul(hn::Set(d, row[1]), p.y)),
                       hn::Mul(hn::Set(d, row[2]), p.z));
    }
    Output Destination() const {
        return {{dst}, 1, 3, 1, 24, src == dst};
    }
#endif

    SingleMatrix matrix;
    const float* src;
    float* dst;
};

// ---- Rows of the table

void RunLinear(const TransformMatrix& matrix, const float* src, float* dst, std::size_t n) {
    Batch(Transformed<Linear>{matrix, src, dst}, n);
}
void RunAffine(const TransformMatrix& matrix, const float* src, float* dst, std::size_t n) {
    Batch(Transformed<Affine>{matrix, src, dst}, n);
}
void RunProjective(const TransformMatrix& matrix, const float* src, float* dst, std::size_t n) {
    Batch(Transformed<Projective>{matrix, src, dst}, n);
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

TESSELU_KERNEL(TransformKernel, kLinear, RunLinear);
TESSELU_KERNEL(TransformKernel, kAffine, RunAffine);
TESSELU_KERNEL(TransformKernel, kProjective, RunProjective);
TESSELU_KERNEL(TransformKernel, kSingleLinear, RunSingleLinear);

}  // namespace Zan

#endif  // HWY_ONCE
