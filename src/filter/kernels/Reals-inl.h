// Numbers in the lanes of 16- and 32-bit vectors, in either precision. Nothing is fused.

#if defined(TESSELU_SRC_FILTER_KERNELS_REALS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_FILTER_KERNELS_REALS_INL_H
#undef TESSELU_SRC_FILTER_KERNELS_REALS_INL_H
#else
#define TESSELU_SRC_FILTER_KERNELS_REALS_INL_H
#endif

#include "simd/Extra-inl.h"
#include "simd/Whole-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

using namespace simd::HWY_NAMESPACE;

// On a lambda, which compilers otherwise leave alone where it is called more than once.
#undef TESSELU_INLINED
#if HWY_COMPILER_MSVC
#define TESSELU_INLINED
#else
#define TESSELU_INLINED __attribute__((always_inline)) HWY_ATTR
#endif

/// As many numbers as there are 32-bit lanes.
template <class Real>
struct Reals;

template <>
struct Reals<float> {
    using D = hn::ScalableTag<float>;
    hn::Vec<D> v;

    template <class F>
    HWY_INLINE HWY_ATTR static Reals Each(const Reals& a, const Reals& b, F f) {
        return {f(D(), a.v, b.v)};
    }
    HWY_INLINE HWY_ATTR static Reals Set(float value) { return {hn::Set(D(), value)}; }
    HWY_INLINE HWY_ATTR static Reals Load(const float* from) { return {hn::Load(D(), from)}; }
    HWY_INLINE HWY_ATTR static Reals From(VI32 whole) { return {hn::ConvertTo(D(), whole)}; }
    /// Truncated; below 2^31 either way. What is not a number becomes 0 or negative.
    HWY_INLINE HWY_ATTR VI32 Whole() const { return WholePart(v); }
};

template <>
struct Reals<double> {
    using D = hn::ScalableTag<double>;
    using DHalf = hn::Half<DI32>;
    hn::Vec<D> low, high;

    template <class F>
    HWY_INLINE HWY_ATTR static Reals Each(const Reals& a, const Reals& b, F f) {
        return {f(D(), a.low, b.low), f(D(), a.high, b.high)};
    }
    HWY_INLINE HWY_ATTR static Reals Set(double value) {
        const auto v = hn::Set(D(), value);
        return {v, v};
    }
    HWY_INLINE HWY_ATTR static Reals Load(const double* from) {
        return {hn::Load(D(), from), hn::Load(D(), from + hn::MaxLanes(D()))};
    }
    HWY_INLINE HWY_ATTR static Reals From(VI32 whole) {
        return {hn::PromoteTo(D(), hn::LowerHalf(DHalf(), whole)),
                hn::PromoteTo(D(), hn::UpperHalf(DHalf(), whole))};
    }
    HWY_INLINE HWY_ATTR VI32 Whole() const {
        return hn::Combine(DI32(), hn::DemoteTo(DHalf(), high), hn::DemoteTo(DHalf(), low));
    }
};

#define TESSELU_EACH(NAME, EXPRESSION)                                                 \
    template <class Real>                                                              \
    HWY_INLINE HWY_ATTR Reals<Real> NAME(const Reals<Real>& a, const Reals<Real>& b) { \
        return Reals<Real>::Each(a, b, [](auto d, auto x, auto y) TESSELU_INLINED {    \
            (void)d;                                                                   \
            return EXPRESSION;                                                         \
        });                                                                            \
    }
TESSELU_EACH(operator+, hn::Add(x, y))
TESSELU_EACH(operator-, hn::Sub(x, y))
TESSELU_EACH(operator*, hn::Mul(x, y))
TESSELU_EACH(operator/, hn::Div(x, y))
// Of numbers.
TESSELU_EACH(Smaller, hn::Min(x, y))
TESSELU_EACH(Larger, hn::Max(x, y))
// b may be none: then it is the result, of which x86 and ARM both make sure.
TESSELU_EACH(AtMost, hn::Min(x, y))
TESSELU_EACH(AtLeast, hn::Max(x, y))
// a, or b where b is not a number.
TESSELU_EACH(UnlessNone, hn::IfThenElse(hn::Eq(y, y), x, y))
TESSELU_EACH(EvensAndOdds, hn::OddEven(y, x))
TESSELU_EACH(EvensTwice, hn::DupEven(x))
TESSELU_EACH(OddsTwice, hn::DupOdd(x))
#undef TESSELU_EACH

/// The lower and the upper lanes of each block, in 32 bits; PackToShorts is the way back.
HWY_INLINE HWY_ATTR VI32 Lower(VU16 v) {
    return hn::BitCast(DI32(), hn::InterleaveLower(DU16(), v, hn::Zero(DU16())));
}
HWY_INLINE HWY_ATTR VI32 Upper(VU16 v) {
    return hn::BitCast(DI32(), hn::InterleaveUpper(DU16(), v, hn::Zero(DU16())));
}

/// The lower and the upper bytes of each block, in 16 bits; PackToBytes is the way back, with limits.
HWY_INLINE HWY_ATTR VU16 LowerBytes(VU8 v) {
    return hn::BitCast(DU16(), hn::InterleaveLower(DU8(), v, hn::Zero(DU8())));
}
HWY_INLINE HWY_ATTR VU16 UpperBytes(VU8 v) {
    return hn::BitCast(DU16(), hn::InterleaveUpper(DU8(), v, hn::Zero(DU8())));
}

/// Even and odd bytes of words, and back with limits.
HWY_INLINE HWY_ATTR VU16 EvenBytes(VU8 v) {
    return hn::And(hn::BitCast(DU16(), v), hn::Set(DU16(), 0xFF));
}
HWY_INLINE HWY_ATTR VU16 OddBytes(VU8 v) {
    return hn::ShiftRight<8>(hn::BitCast(DU16(), v));
}
HWY_INLINE HWY_ATTR VU8 BytesInTurn(VI16 even, VI16 odd) {
    alignas(16) static constexpr std::uint8_t kInTurn[16] = {0, 8,  1, 9,  2, 10, 3, 11,
                                                             4, 12, 5, 13, 6, 14, 7, 15};
    return hn::TableLookupBytes(PackToBytes(even, odd), InEveryBlock(kInTurn));
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
