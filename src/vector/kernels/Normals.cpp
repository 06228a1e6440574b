// Lengths and normals of batches of 3D vectors.

#include "simd/Job.h"
#include "vector/kernels/Vectors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vector/kernels/Normals.cpp"
#include "simd/Foreach.h"
// After it: this is compiled once per target.
#include "vector/kernels/Batch-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

template <class D, class V = hn::Vec<D>>
HWY_INLINE HWY_ATTR V AboveLimit(D d, V v) {
    // What Max makes of numbers that are none differs by target; here it gives its second operand.
    const V least = hn::Set(d, kLeastLength);
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
    return hn::Max(v, least);
#else
    return hn::IfThenElse(hn::Gt(v, least), v, least);
#endif
}
HWY_INLINE HWY_ATTR VF Limited(VF v) {
    return AboveLimit(DF(), v);
}
HWY_INLINE HWY_ATTR Doubles Limited(const Doubles& v) {
    return {AboveLimit(DD(), v.low), AboveLimit(DD(), v.high)};
}

HWY_INLINE HWY_ATTR hn::Mask<DF> BelowInfinity(VF v) {
    return hn::Lt(v, hn::Set(DF(), std::numeric_limits<float>::infinity()));
}

/// Squares go in; 1 / sqrt(square) comes out three steps later.
struct RootLine {
    static constexpr std::size_t kDepth = 3;

    HWY_INLINE HWY_ATTR VF Push(VF next) {
        const DF d;
        const hn::RebindToUnsigned<DF> du;
        const VF out = root;
        const VF inner = hn::Sub(hn::Set(d, 1.25F), hn::Mul(hn::Set(d, 0.375F), t));
        root = hn::IfThenElseZero(isFinite, hn::Mul(lateY, hn::Sub(hn::Set(d, 1.875F), hn::Mul(t, inner))));
        t = hn::Mul(hn::Mul(square, y), y);
        lateY = y;
        isFinite = BelowInfinity(square);
        square = next;
        const auto half = hn::ShiftRight<1>(hn::BitCast(du, next));
        y = hn::BitCast(d, hn::Sub(hn::Set(du, 0x5F375580U), half));
        return out;
    }

    VF square, y;
    VF t, lateY;
    hn::Mask<DF> isFinite;
    VF root;
};

HWY_INLINE HWY_ATTR VF Reciprocal(VF length) {
    const DF d;
    const hn::RebindToUnsigned<DF> du;
    const VF one = hn::Set(d, 1.0F);
    const VF y = hn::BitCast(d, hn::Sub(hn::Set(du, 0x7EF31100U), hn::BitCast(du, length)));
    const VF e = hn::Sub(one, hn::Mul(length, y));
    return hn::IfThenElseZero(BelowInfinity(length), hn::Mul(y, hn::Add(one, hn::Add(e, hn::Mul(e, e)))));
}

/// Lengths go in; 1 / length comes out two steps later.
struct ReciprocalLine {
    static constexpr std::size_t kDepth = 2;

    HWY_INLINE HWY_ATTR VF Push(VF next) {
        const VF out = reciprocal;
        reciprocal = Reciprocal(length);
        length = next;
        return out;
    }

    VF length;
    VF reciprocal;
};

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
    using Line = ReciprocalLine;
    VF Begin(std::size_t i) const {
        const Triples t = LoadTriples(src + 3 * i);
        return Limited(hn::Sqrt(SumOfSquares(t.x, t.y, t.z)));
    }
    template <bool Around>
    void Finish(std::size_t i, VF scale) const {
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
    using Line = RootLine;
    VF Begin(std::size_t i) const {
        const DF d;
        return Limited(
            SumOfSquares(hn::LoadU(d, src.x + i), hn::LoadU(d, src.y + i), hn::LoadU(d, src.z + i)));
    }
    template <bool Around>
    void Finish(std::size_t i, VF scale) const {
        const DF d;
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
    using Line = RootLine;
    VF Begin(std::size_t i) const {
        const DF d;
        constexpr std::size_t kLanes = hn::MaxLanes(d);
        const float* from = src + 3 * i;
        return Limited(SquaresOfBlocks(hn::LoadU(d, from), hn::LoadU(d, from + kLanes),
                                       hn::LoadU(d, from + 2 * kLanes)));
    }
    template <bool Around>
    void Finish(std::size_t i, VF scale) const {
        constexpr std::size_t kLanes = hn::MaxLanes(DF());
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

}  // namespace Zan

#endif  // HWY_ONCE
