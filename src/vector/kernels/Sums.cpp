// Products and sums of batches of 3D vectors.

#include "simd/Job.h"
#include "vector/kernels/Vectors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/kernels/Sums.cpp"
#include "simd/Foreach.h"
// After it: this is compiled once per target.
#include "vector/kernels/Batch-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

struct DotProducts {
    void Unit(std::size_t i) const { dst[i] = DotProductOf(At(a, i), At(b, i)); }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        const DoubleTriples left = ToDoubles(LoadTriples(a + 3 * i)),
                            right = ToDoubles(LoadTriples(b + 3 * i));
        Store<Around>(InOrder(ToFloats(SumOfProducts(left, right))), dst + i);
    }
    Output Destination() const {
        return {{dst}, 1, 1, 1, 28, a == dst || b == dst};
    }
#endif

    const float *a, *b;
    float* dst;
};

struct CrossProducts {
    void Unit(std::size_t i) const { Put(CrossProductOf(At(a, i), At(b, i)), dst, i); }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        const DoubleTriples v = ToDoubles(LoadTriples(a + 3 * i)), w = ToDoubles(LoadTriples(b + 3 * i));
        StoreTriples<Around>(
            ToFloats(DoubleTriples{v.y * w.z - v.z * w.y, v.z * w.x - v.x * w.z, v.x * w.y - v.y * w.x}),
            dst + 3 * i);
    }
    Output Destination() const {
        return {{dst}, 1, 3, 1, 36, a == dst || b == dst};
    }
#endif

    const float *a, *b;
    float* dst;
};

/// An exact product, or the exact sum, rounded to double and to float, is that rounded to float.
struct ScaledFloats {
    void Unit(std::size_t i) const { v[i] = s * v[i]; }
#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStepsTogether = 4;
    template <bool Around>
    void Step(std::size_t i) const {
        const DF d;
        Store<Around>(hn::Mul(hn::Set(d, s), hn::LoadU(d, v + i)), v + i);
    }
    Output Destination() const {
        return {{v}, 1, 1, 1, 8, true};
    }
#endif

    float s;
    float* v;
};

struct SumsOfFloats {
    void Unit(std::size_t i) const { dst[i] = a[i] + b[i]; }
#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStepsTogether = 4;
    template <bool Around>
    void Step(std::size_t i) const {
        const DF d;
        Store<Around>(hn::Add(hn::LoadU(d, a + i), hn::LoadU(d, b + i)), dst + i);
    }
    Output Destination() const {
        return {{dst}, 1, 1, 1, 12, a == dst || b == dst};
    }
#endif

    const float *a, *b;
    float* dst;
};

struct ConstantSums {
    ConstantSums(const float* vectors, const FloatVector& constant, float* sums)
        : v(vectors), c(constant), dst(sums) {
#if HWY_TARGET != HWY_SCALAR
        // c over and over, so that lanes may begin with any component.
        constexpr std::size_t kLanes = hn::MaxLanes(DF());
        float pattern[kLanes + 2];
        for (std::size_t i = 0; i < kLanes + 2; ++i) {
            pattern[i] = i % 3 == 0 ? c.x : i % 3 == 1 ? c.y : c.z;
        }
        constants = {hn::LoadU(DF(), pattern), hn::LoadU(DF(), pattern + kLanes % 3),
                     hn::LoadU(DF(), pattern + 2 * kLanes % 3)};
#endif
    }

    void Unit(std::size_t i) const {
        const FloatVector at = At(v, i);
        Put({at.x + c.x, at.y + c.y, at.z + c.z}, dst, i);
    }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        constexpr std::size_t kLanes = hn::MaxLanes(DF());
        AddTo<Around>(constants.x, 3 * i);
        AddTo<Around>(constants.y, 3 * i + kLanes);
        AddTo<Around>(constants.z, 3 * i + 2 * kLanes);
    }
    template <bool Around>
    HWY_INLINE HWY_ATTR void AddTo(VF constant, std::size_t at) const {
        Store<Around>(hn::Add(hn::LoadU(DF(), v + at), constant), dst + at);
    }
    Output Destination() const {
        return {{dst}, 1, 3, 1, 24, v == dst};
    }
#endif

    const float* v;
    FloatVector c;
    float* dst;
#if HWY_TARGET != HWY_SCALAR
    Triples constants;  ///< for each of three registers
#endif
};

/// One scale for all vectors on either side, which leaves floats.
struct ConstantScaledSums {
    void Unit(std::size_t i) const { dst[i] = ScaledSum(sa, a[i], sb, b[i]); }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        const Doubles sum = Broadcast(sa) * LoadDoubles(a + i) + Broadcast(sb) * LoadDoubles(b + i);
        StoreFloats<Around>(sum, dst + i);
    }
    Output Destination() const {
        return {{dst}, 1, 1, 1, 12, a == dst || b == dst};
    }
#endif

    float sa, sb;
    const float *a, *b;
    float* dst;
};

/// A scale for each vector of `a`, and for each of `b` or one for all.
template <bool EachB>
struct ScaledSums {
    void Unit(std::size_t i) const {
        const float sa = sum.sa[i], sb = sum.sb[EachB ? i : 0];
        const FloatVector a = At(sum.a, i), b = At(sum.b, i);
        Put({ScaledSum(sa, a.x, sb, b.x), ScaledSum(sa, a.y, sb, b.y), ScaledSum(sa, a.z, sb, b.z)}, sum.dst,
            i);
    }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        const DF d;
        const VF sa = hn::LoadU(d, sum.sa + i), sb = EachB ? hn::LoadU(d, sum.sb + i) : hn::Set(d, sum.sb[0]);
        Part<0, Around>(i, sa, sb);
        Part<1, Around>(i, sa, sb);
        Part<2, Around>(i, sa, sb);
    }
    template <int Register, bool Around>
    HWY_INLINE HWY_ATTR void Part(std::size_t i, VF sa, VF sb) const {
        const std::size_t at = 3 * i + Register * hn::MaxLanes(DF());
        const Doubles left = ToDoubles(Spread<Register>(sa)) * LoadDoubles(sum.a + at);
        const Doubles scale = ToDoubles(EachB ? Spread<Register>(sb) : sb);
        StoreFloats<Around>(left + scale * LoadDoubles(sum.b + at), sum.dst + at);
    }
    Output Destination() const {
        return {{sum.dst}, 1, 3, 1, EachB ? 44 : 40, sum.a == sum.dst || sum.b == sum.dst};
    }
#endif

    ScaledSum3D sum;
};

// ---- Rows of the table

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
    Batch(ScaledSums<true>{sum}, n);
}
void RunAddScaledAndConstant(const ScaledSum3D& sum, std::size_t n) {
    Batch(ScaledSums<false>{sum}, n);
}
void RunAddConstantScaled(const ScaledSum3D& sum, std::size_t n) {
    Batch(ConstantScaledSums{sum.sa[0], sum.sb[0], sum.a, sum.b, sum.dst}, 3 * n);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ScaleKernel, kScaleFloats, RunScaleFloats);
TESSELU_KERNEL(SumKernel, kAddFloats, RunAddFloats);
TESSELU_KERNEL(ConstantSumKernel, kAddConstant, RunAddConstant);
TESSELU_KERNEL(ProductKernel, kDotProducts, RunDotProducts);
TESSELU_KERNEL(ProductKernel, kCrossProducts, RunCrossProducts);
TESSELU_KERNEL(ScaledSumKernel, kAddScaled, RunAddScaled);
TESSELU_KERNEL(ScaledSumKernel, kAddScaledAndConstant, RunAddScaledAndConstant);
TESSELU_KERNEL(ScaledSumKernel, kAddConstantScaled, RunAddConstantScaled);

}  // namespace Zan

#endif  // HWY_ONCE
