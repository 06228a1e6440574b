// Operations on batches of 3D vectors. Nothing is ever fused, and what Max makes of numbers that are none
// differs by target: limits compare.

#include "vector/kernels/Vectors.h"

#include "simd/Job.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/kernels/Vectors.cpp"
#include "simd/Foreach.h"
// After it: this is compiled once per target.
#include "vector/kernels/Triples-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// What a kernel writes: one array, or three, of `stride` floats a vector.
struct Output {
    const float* arrays[3];
    std::size_t arrayCount;
    std::size_t stride;
    std::size_t together;  ///< vectors that belong together
    std::size_t bytes;     ///< read and written in all, for each vector
    bool isOperand;        ///< written where operands were read
};

#if HWY_TARGET != HWY_SCALAR

/// How many vectors come before one whose place in all arrays is aligned to the lanes; `n` without one.
std::size_t UntilAligned(const Output& output, std::size_t n) {
    constexpr std::size_t kBytes = hn::MaxLanes(DF()) * sizeof(float);
    for (std::size_t i = 0; i < kBytes / sizeof(float) && i * output.together < n; ++i) {
        std::uintptr_t low = 0;
        for (std::size_t k = 0; k < output.arrayCount; ++k) {
            low |= reinterpret_cast<std::uintptr_t>(output.arrays[k] + i * output.together * output.stride);
        }
        if (low % kBytes == 0) {
            return i * output.together;
        }
    }
    return n;
}

/// Makes whole steps of the vectors from `i` on, and returns the first that is left.
template <bool Around, class K>
std::size_t Steps(const K kernel, std::size_t i, std::size_t n) {
    constexpr std::size_t kLanes = hn::MaxLanes(DF());
    if constexpr (requires { kernel.Begin(i); }) {
        // The next vectors are begun before these are finished: a processor does not look ahead far enough.
        using Begun = decltype(kernel.Begin(i));
        constexpr std::size_t kAtOnce = sizeof(Begun) == sizeof(VF) ? 2 : 1;
        constexpr std::size_t kVectors = kAtOnce * kLanes;
        if (n - i >= 2 * kVectors) {
            Begun begun[kAtOnce];
            for (std::size_t k = 0; k < kAtOnce; ++k) {
                begun[k] = kernel.Begin(i + k * kLanes);
            }
            for (; n - i >= 2 * kVectors; i += kVectors) {
                Begun next[kAtOnce];
                for (std::size_t k = 0; k < kAtOnce; ++k) {
                    next[k] = kernel.Begin(i + kVectors + k * kLanes);
                }
                for (std::size_t k = 0; k < kAtOnce; ++k) {
                    kernel.template Finish<Around>(i + k * kLanes, begun[k]);
                    begun[k] = next[k];
                }
            }
            for (std::size_t k = 0; k < kAtOnce; ++k) {
                kernel.template Finish<Around>(i + k * kLanes, begun[k]);
            }
            i += kVectors;
        }
        for (; n - i >= kLanes; i += kLanes) {
            kernel.template Finish<Around>(i, kernel.Begin(i));
        }
    } else {
        if constexpr (requires { K::kStepsTogether; }) {
            // Steps of two instructions, which a loop's own would double.
            constexpr std::size_t kVectors = K::kStepsTogether * kLanes;
            for (; n - i >= kVectors; i += kVectors) {
                for (std::size_t k = 0; k < kVectors; k += kLanes) {
                    kernel.template Step<Around>(i + k);
                }
            }
        }
        for (; n - i >= kLanes; i += kLanes) {
            kernel.template Step<Around>(i);
        }
    }
    return i;
}

#endif

/// Runs a kernel over n vectors, or floats where all are treated alike: Unit(i) makes one, Step(i) as many as
/// there are lanes, both reading all of their operands before they write. Some have two halves in place of
/// Step: Begin(i) writes nothing.
template <class K>
void Batch(const K& kernel, std::size_t n) {
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const Output output = kernel.Destination();
    std::size_t first = n;
    if (!output.isOperand && simd::ExceedsCache(output.bytes * n)) {
        first = UntilAligned(output, n);
    }
    if (first != n) {
        for (; i < first; ++i) {
            kernel.Unit(i);
        }
        i = Steps<true>(kernel, i, n);
        hwy::FlushStream();
    } else {
        i = Steps<false>(kernel, i, n);
    }
#endif
    for (; i < n; ++i) {
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

// ---- What the bodies are made of

#if HWY_TARGET != HWY_SCALAR

using DD = hn::ScalableTag<double>;
using VD = hn::Vec<DD>;

/// The lanes of a vector of floats.
struct Doubles {
    VD low, high;
};
struct DoubleTriples {
    Doubles x, y, z;
};

HWY_INLINE HWY_ATTR Doubles Broadcast(double value) {
    const VD v = hn::Set(DD(), value);
    return {v, v};
}
HWY_INLINE HWY_ATTR Doubles operator+(const Doubles& a, const Doubles& b) {
    return {hn::Add(a.low, b.low), hn::Add(a.high, b.high)};
}
HWY_INLINE HWY_ATTR Doubles operator-(const Doubles& a, const Doubles& b) {
    return {hn::Sub(a.low, b.low), hn::Sub(a.high, b.high)};
}
HWY_INLINE HWY_ATTR Doubles operator*(const Doubles& a, const Doubles& b) {
    return {hn::Mul(a.low, b.low), hn::Mul(a.high, b.high)};
}
HWY_INLINE HWY_ATTR Doubles Inverse(const Doubles& a) {
    const VD one = hn::Set(DD(), 1.0);
    return {hn::Div(one, a.low), hn::Div(one, a.high)};
}
HWY_INLINE HWY_ATTR Doubles Root(const Doubles& a) {
    return {hn::Sqrt(a.low), hn::Sqrt(a.high)};
}

HWY_INLINE HWY_ATTR Doubles ToDoubles(VF v) {
    const DD d;
    const hn::Half<DF> h;
    return {hn::PromoteTo(d, hn::LowerHalf(h, v)), hn::PromoteTo(d, hn::UpperHalf(h, v))};
}
HWY_INLINE HWY_ATTR VF ToFloats(const Doubles& v) {
    const hn::Half<DF> h;
    return hn::Combine(DF(), hn::DemoteTo(h, v.high), hn::DemoteTo(h, v.low));
}
/// The same from memory and into it, where halves cost less than to take vectors apart.
HWY_INLINE HWY_ATTR Doubles LoadDoubles(const float* from) {
    const DD d;
    const hn::Half<DF> h;
    return {hn::PromoteTo(d, hn::LoadU(h, from)), hn::PromoteTo(d, hn::LoadU(h, from + hn::MaxLanes(h)))};
}
template <bool Around>
HWY_INLINE HWY_ATTR void StoreFloats(const Doubles& v, float* to) {
    if constexpr (Around) {
        Store<true>(ToFloats(v), to);
    } else {
        const hn::Half<DF> h;
        hn::StoreU(hn::DemoteTo(h, v.low), h, to);
        hn::StoreU(hn::DemoteTo(h, v.high), h, to + hn::MaxLanes(h));
    }
}
HWY_INLINE HWY_ATTR DoubleTriples ToDoubles(const Triples& v) {
    return {ToDoubles(v.x), ToDoubles(v.y), ToDoubles(v.z)};
}
HWY_INLINE HWY_ATTR Triples ToFloats(const DoubleTriples& v) {
    return {ToFloats(v.x), ToFloats(v.y), ToFloats(v.z)};
}

HWY_INLINE HWY_ATTR Doubles SumOfProducts(const DoubleTriples& a, const DoubleTriples& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE HWY_ATTR V AboveLimit(D d, V v) {
    const V least = hn::Set(d, kLeastLength);
    return hn::IfThenElse(hn::Gt(v, least), v, least);
}
HWY_INLINE HWY_ATTR VF Limited(VF v) {
    return AboveLimit(DF(), v);
}
HWY_INLINE HWY_ATTR Doubles Limited(const Doubles& v) {
    return {AboveLimit(DD(), v.low), AboveLimit(DD(), v.high)};
}

/// `value`, and 0 where `of` is infinite.
HWY_INLINE HWY_ATTR VF ZeroIfInfinite(VF of, VF value) {
    return hn::IfThenElseZero(hn::Lt(of, hn::Set(DF(), std::numeric_limits<float>::infinity())), value);
}

HWY_INLINE HWY_ATTR VF ReciprocalRoot(VF square) {
    const DF d;
    const hn::RebindToUnsigned<DF> du;
    const VF y =
        hn::BitCast(d, hn::Sub(hn::Set(du, 0x5F375580U), hn::ShiftRight<1>(hn::BitCast(du, square))));
    const VF t = hn::Mul(hn::Mul(square, y), y);
    const VF inner = hn::Sub(hn::Set(d, 1.25F), hn::Mul(hn::Set(d, 0.375F), t));
    const VF root = hn::Mul(y, hn::Sub(hn::Set(d, 1.875F), hn::Mul(t, inner)));
    return ZeroIfInfinite(square, root);
}

HWY_INLINE HWY_ATTR VF Reciprocal(VF length) {
    const DF d;
    const hn::RebindToUnsigned<DF> du;
    const VF one = hn::Set(d, 1.0F);
    const VF y = hn::BitCast(d, hn::Sub(hn::Set(du, 0x7EF31100U), hn::BitCast(du, length)));
    const VF e = hn::Sub(one, hn::Mul(length, y));
    return ZeroIfInfinite(length, hn::Mul(y, hn::Add(one, hn::Add(e, hn::Mul(e, e)))));
}

HWY_INLINE HWY_ATTR DoubleTriples NormalsOf(const DoubleTriples& v) {
    const Doubles scale = Inverse(Limited(Root(SumOfProducts(v, v))));
    return {v.x * scale, v.y * scale, v.z * scale};
}

#endif

// ---- Lengths

struct Lengths {
    void Unit(std::size_t i) const { length[i] = Length(At(v, i)); }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        const DoubleTriples d = ToDoubles(LoadTriples(v + 3 * i));
        Store<Around>(InOrder(ToFloats(Root(SumOfProducts(d, d)))), length + i);
    }
    Output Destination() const {
        return {{length}, 1, 1, 1, 16, v == length};
    }
#endif

    const float* v;
    float* length;
};

struct SingleLengths {
    void Unit(std::size_t i) const { length[i] = SingleLength(At(v, i)); }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        const Triples t = LoadTriples(v + 3 * i);
        Store<Around>(InOrder(hn::Sqrt(SumOfSquares(t.x, t.y, t.z))), length + i);
    }
    Output Destination() const {
        return {{length}, 1, 1, 1, 16, v == length};
    }
#endif

    const float* v;
    float* length;
};

// ---- Normals

struct Normals {
    void Unit(std::size_t i) const { Put(Normal(At(src, i)), dst, i); }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        StoreTriples<Around>(ToFloats(NormalsOf(ToDoubles(LoadTriples(src + 3 * i)))), dst + 3 * i);
    }
    Output Destination() const {
        return {{dst}, 1, 3, 1, 24, src == dst};
    }
#endif

    const float* src;
    float* dst;
};

struct SingleNormals {
    void Unit(std::size_t i) const { Put(NormalByLength(At(src, i)), dst, i); }
#if HWY_TARGET != HWY_SCALAR
    VF Begin(std::size_t i) const {
        const Triples t = LoadTriples(src + 3 * i);
        return hn::Sqrt(SumOfSquares(t.x, t.y, t.z));
    }
    template <bool Around>
    void Finish(std::size_t i, VF length) const {
        const VF scale = Reciprocal(Limited(length));
#if TESSELU_BLENDED_TRIPLES
        constexpr std::size_t kLanes = hn::MaxLanes(DF());
        Scale<Around>(3 * i, Owners<0>(scale));
        Scale<Around>(3 * i + kLanes, Owners<1>(scale));
        Scale<Around>(3 * i + 2 * kLanes, Owners<2>(scale));
    }
    template <bool Around>
    HWY_INLINE HWY_ATTR void Scale(std::size_t at, VF scale) const {
        Store<Around>(hn::Mul(hn::LoadU(DF(), src + at), scale), dst + at);
    }
#else
        const Triples t = LoadTriples(src + 3 * i);
        StoreTriples<Around>({hn::Mul(t.x, scale), hn::Mul(t.y, scale), hn::Mul(t.z, scale)}, dst + 3 * i);
    }
#endif
    Output Destination() const {
        return {{dst}, 1, 3, 1, 24, src == dst};
    }
#endif

    const float* src;
    float* dst;
};

#if HWY_TARGET != HWY_SCALAR
Output OutputOf(const SourceArrays& src, const DestinationArrays& dst) {
    bool isOperand = false;
    for (const float* operand : {src.x, src.y, src.z}) {
        isOperand |= operand == dst.x || operand == dst.y || operand == dst.z;
    }
    return {{dst.x, dst.y, dst.z}, 3, 1, 1, 24, isOperand};
}
#endif

struct ArrayNormals {
    void Unit(std::size_t i) const {
        const FloatVector normal = Normal({src.x[i], src.y[i], src.z[i]});
        dst.x[i] = normal.x;
        dst.y[i] = normal.y;
        dst.z[i] = normal.z;
    }
#if HWY_TARGET != HWY_SCALAR
    template <bool Around>
    void Step(std::size_t i) const {
        const DoubleTriples normal =
            NormalsOf({LoadDoubles(src.x + i), LoadDoubles(src.y + i), LoadDoubles(src.z + i)});
        StoreFloats<Around>(normal.x, dst.x + i);
        StoreFloats<Around>(normal.y, dst.y + i);
        StoreFloats<Around>(normal.z, dst.z + i);
    }
    Output Destination() const {
        return OutputOf(src, dst);
    }
#endif

    SourceArrays src;
    DestinationArrays dst;
};

struct SingleArrayNormals {
    void Unit(std::size_t i) const {
        const FloatVector normal = NormalBySquare({src.x[i], src.y[i], src.z[i]});
        dst.x[i] = normal.x;
        dst.y[i] = normal.y;
        dst.z[i] = normal.z;
    }
#if HWY_TARGET != HWY_SCALAR
    VF Begin(std::size_t i) const {
        const DF d;
        return SumOfSquares(hn::LoadU(d, src.x + i), hn::LoadU(d, src.y + i), hn::LoadU(d, src.z + i));
    }
    template <bool Around>
    void Finish(std::size_t i, VF square) const {
        const DF d;
        const VF scale = ReciprocalRoot(Limited(square));
        const VF x = hn::LoadU(d, src.x + i), y = hn::LoadU(d, src.y + i), z = hn::LoadU(d, src.z + i);
        Store<Around>(hn::Mul(x, scale), dst.x + i);
        Store<Around>(hn::Mul(y, scale), dst.y + i);
        Store<Around>(hn::Mul(z, scale), dst.z + i);
    }
    Output Destination() const {
        return OutputOf(src, dst);
    }
#endif

    SourceArrays src;
    DestinationArrays dst;
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
#if HWY_TARGET != HWY_SCALAR
    VF Begin(std::size_t i) const {
        const DF d;
        constexpr std::size_t kLanes = hn::MaxLanes(d);
        const float* from = src + 3 * i;
        return SquaresOfBlocks(hn::LoadU(d, from), hn::LoadU(d, from + kLanes),
                               hn::LoadU(d, from + 2 * kLanes));
    }
    template <bool Around>
    void Finish(std::size_t i, VF square) const {
        constexpr std::size_t kLanes = hn::MaxLanes(DF());
        const VF scale = ReciprocalRoot(Limited(square));
        Scale<Around>(3 * i, BlockOwners<0>(scale));
        Scale<Around>(3 * i + kLanes, BlockOwners<1>(scale));
        Scale<Around>(3 * i + 2 * kLanes, BlockOwners<2>(scale));
    }
    template <bool Around>
    HWY_INLINE HWY_ATTR void Scale(std::size_t at, VF scale) const {
        Store<Around>(hn::Mul(hn::LoadU(DF(), src + at), scale), dst + at);
    }
    Output Destination() const {
        return {{dst}, 1, 3, 4, 24, src == dst};
    }
#endif

    const float* src;
    float* dst;
};

// ---- Products and sums

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
    static constexpr std::size_t kStepsTogether = 4;
    void Unit(std::size_t i) const { v[i] = s * v[i]; }
#if HWY_TARGET != HWY_SCALAR
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
    static constexpr std::size_t kStepsTogether = 4;
    void Unit(std::size_t i) const { dst[i] = a[i] + b[i]; }
#if HWY_TARGET != HWY_SCALAR
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

// ---- Transforms

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
    Batch(ScaledSums<true>{sum}, n);
}
void RunAddScaledAndConstant(const ScaledSum3D& sum, std::size_t n) {
    Batch(ScaledSums<false>{sum}, n);
}
void RunAddConstantScaled(const ScaledSum3D& sum, std::size_t n) {
    Batch(ConstantScaledSums{sum.sa[0], sum.sb[0], sum.a, sum.b, sum.dst}, 3 * n);
}
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
