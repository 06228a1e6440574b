// Transforms of batches of points.

#include <algorithm>

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

#if HWY_TARGET == HWY_AVX3

/// Where the factors of a register's floats stand in the matrix, by register and column.
struct FactorPlaces {
    constexpr FactorPlaces() {
        for (int part = 0; part < 3; ++part) {
            for (int column = 0; column < 3; ++column) {
                for (int i = 0; i < kFloatLanes; ++i) {
                    of[part][column].lane[i] = (part * kFloatLanes + i) % 3 * 3 + column;
                }
            }
        }
    }
    LaneOrder of[3][3] = {};
};

/// A matrix for points as they lie in three registers: every float is made where it stays.
class LyingMatrix {
public:
    HWY_INLINE HWY_ATTR explicit LyingMatrix(const SingleMatrix& matrix) {
        alignas(64) float m[kFloatLanes] = {};
        std::copy_n(matrix.m, 9, m);
        static constexpr FactorPlaces kPlaces;
        const VF values = hn::Load(DF(), m);
        for (int part = 0; part < 3; ++part) {
            for (int column = 0; column < 3; ++column) {
                factors[part][column] = Reordered(values, kPlaces.of[part][column]);
            }
        }
    }

    template <int Part>
    HWY_INLINE HWY_ATTR VF Row(VF a, VF b, VF c) const {
        const auto& row = factors[Part];
        return hn::Add(hn::Add(hn::Mul(row[0], ComponentOfOwners<Part, 0>(a, b, c)),
                               hn::Mul(row[1], ComponentOfOwners<Part, 1>(a, b, c))),
                       hn::Mul(row[2], ComponentOfOwners<Part, 2>(a, b, c)));
    }

private:
    VF factors[3][3];
};

#endif

struct SingleTransformed {
    SingleTransformed(const TransformMatrix& all, const float* from, float* to)
        : matrix(all), src(from), dst(to) {}
    void Unit(std::size_t i) const { Put(SingleLinearPoint(matrix, At(src, i)), dst, i); }
#if HWY_TARGET == HWY_AVX3
    template <bool Around>
    HWY_INLINE HWY_ATTR void Step(std::size_t i) const {
        const DF d;
        const float* from = src + 3 * i;
        float* to = dst + 3 * i;
        const VF a = hn::LoadU(d, from), b = hn::LoadU(d, from + kFloatLanes),
                 c = hn::LoadU(d, from + 2 * kFloatLanes);
        Store<Around>(lying.Row<0>(a, b, c), to);
        Store<Around>(lying.Row<1>(a, b, c), to + kFloatLanes);
        Store<Around>(lying.Row<2>(a, b, c), to + 2 * kFloatLanes);
    }
#elif HWY_TARGET != HWY_SCALAR
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
#endif
#if HWY_TARGET != HWY_SCALAR
    Output Destination() const {
        return {{dst}, 1, 3, 1, 24, src == dst};
    }
#endif

    SingleMatrix matrix;
#if HWY_TARGET == HWY_AVX3
    LyingMatrix lying{matrix};
#endif
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
    Batch(SingleTransformed(matrix, src, dst), n);
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
