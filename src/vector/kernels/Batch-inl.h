// The walk over batches of 3D vectors, and their arithmetic in double precision. Nothing is ever fused.

#if defined(TESSELU_SRC_VECTOR_KERNELS_BATCH_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_VECTOR_KERNELS_BATCH_INL_H
#undef TESSELU_SRC_VECTOR_KERNELS_BATCH_INL_H
#else
#define TESSELU_SRC_VECTOR_KERNELS_BATCH_INL_H
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "simd/Job.h"
#include "vector/kernels/Triples-inl.h"
#include "vector/kernels/Vectors.h"

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

/// What was begun waits here while one step is made.
template <class S>
struct Waiting {
    static constexpr std::size_t kDepth = 1;

    HWY_INLINE HWY_ATTR S Push(const S& next) {
        const S out = state;
        state = next;
        return out;
    }

    S state;
};

/// Makes whole steps of the vectors from `i` on, and returns the first that is left.
template <bool Around, class K>
std::size_t Steps(const K kernel, std::size_t i, std::size_t n) {
    constexpr std::size_t kLanes = hn::MaxLanes(DF());
    if constexpr (requires { kernel.Begin(i); }) {
        // Each stage works on other vectors: a processor does not look ahead as far as one's whole way.
        using Line = typename K::Line;
        constexpr std::size_t kVectors = 2 * kLanes;
        constexpr std::size_t kAhead = Line::kDepth * kVectors;
        if (n - i >= kAhead + kVectors) {
            Line even = {}, odd = {};
            for (std::size_t at = i; at < i + kAhead; at += kVectors) {
                even.Push(kernel.Begin(at));
                odd.Push(kernel.Begin(at + kLanes));
            }
            for (; n - i >= kAhead + kVectors; i += kVectors) {
                kernel.template Finish<Around>(i, even.Push(kernel.Begin(i + kAhead)));
                kernel.template Finish<Around>(i + kLanes, odd.Push(kernel.Begin(i + kAhead + kLanes)));
            }
        }
        for (; n - i >= kLanes; i += kLanes) {
            const auto begun = kernel.Begin(i);
            Line line = {};
            for (std::size_t stage = 0; stage < Line::kDepth; ++stage) {
                line.Push(begun);
            }
            kernel.template Finish<Around>(i, line.Push(begun));
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
/// Step: Begin(i), which writes nothing, and Finish(i, what comes out of the kernel's Line for it).
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

// ---- Lanes in double precision

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

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // TESSELU_SRC_VECTOR_KERNELS_BATCH_INL_H
