// Samples of patterns that mix a fraction of the column with one of the row, in doubles: exact operations in
// one order, so that all targets agree.

#include "gradient/kernels/Mixes.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gradient/kernels/Mixes.cpp"
#include "simd/Foreach.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Two doubles at a time are no faster than what compilers make of the formula.
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_NEON
#define TESSELU_MIX_HAS_VECTORS 0
#else
#define TESSELU_MIX_HAS_VECTORS 1
#endif

#if TESSELU_MIX_HAS_VECTORS

// As MixOf, operation by operation; halves are exact products.
template <Mix kMix, class D, class V = hn::Vec<D>>
HWY_INLINE HWY_ATTR V Mixed(D d, V column, V row) {
    const V one = hn::Set(d, 1.0), half = hn::Set(d, 0.5);
    if constexpr (kMix == Mix::kSmaller) {
        return hn::Min(column, row);
    } else if constexpr (kMix == Mix::kMean) {
        return hn::Mul(hn::Add(column, row), half);
    } else if constexpr (kMix == Mix::kFallingMean) {
        return hn::Sub(one, hn::Mul(hn::Add(column, row), half));
    } else if constexpr (kMix == Mix::kVee) {
        return hn::Mul(hn::Sub(hn::Add(column, one), row), half);
    } else if constexpr (kMix == Mix::kRidge) {
        return hn::Sub(one, hn::Abs(hn::Sub(column, row)));
    } else {
        return hn::Sub(one, hn::Abs(hn::Sub(hn::Add(column, row), one)));
    }
}

#endif

template <Mix kMix, class Sample>
HWY_ATTR void MixSamples(const double* columns, double row, double peak, Sample* samples, std::size_t n) {
    std::size_t i = 0;
#if TESSELU_MIX_HAS_VECTORS
    const hn::ScalableTag<double> d;
    const hn::ScalableTag<std::int32_t> whole;
    const hn::Rebind<std::int32_t, decltype(d)> half;
    const hn::Rebind<Sample, decltype(whole)> narrow;
    const std::size_t lanes = hn::Lanes(d);
    const auto down = hn::Set(d, row), range = hn::Set(d, peak), rounding = hn::Set(d, 0.5);
    const auto made = [&](std::size_t from) HWY_ATTR {
        const auto fraction = Mixed<kMix>(d, hn::LoadU(d, columns + from), down);
        return hn::DemoteTo(half, hn::Add(hn::Mul(fraction, range), rounding));
    };
    for (; i + 2 * lanes <= n; i += 2 * lanes) {
        const auto sums = hn::Combine(whole, made(i + lanes), made(i));
        hn::StoreU(hn::DemoteTo(narrow, sums), narrow, samples + i);
    }
#endif
    for (; i < n; ++i) {
        samples[i] = static_cast<Sample>(MixOf(kMix, columns[i], row) * peak + 0.5);
    }
}

template <class Sample>
void Run(Mix mix, const double* columns, double row, double peak, Sample* samples, std::size_t n) {
    switch (mix) {
        case Mix::kSmaller:
            return MixSamples<Mix::kSmaller>(columns, row, peak, samples, n);
        case Mix::kMean:
            return MixSamples<Mix::kMean>(columns, row, peak, samples, n);
        case Mix::kFallingMean:
            return MixSamples<Mix::kFallingMean>(columns, row, peak, samples, n);
        case Mix::kVee:
            return MixSamples<Mix::kVee>(columns, row, peak, samples, n);
        case Mix::kRidge:
            return MixSamples<Mix::kRidge>(columns, row, peak, samples, n);
        case Mix::kRidgeOfSum:
            return MixSamples<Mix::kRidgeOfSum>(columns, row, peak, samples, n);
    }
}

void RunMix8(Mix mix, const double* columns, double row, double peak, std::uint8_t* samples, std::size_t n) {
    Run(mix, columns, row, peak, samples, n);
}
void RunMix16(Mix mix, const double* columns, double row, double peak, std::uint16_t* samples,
              std::size_t n) {
    Run(mix, columns, row, peak, samples, n);
}

#undef TESSELU_MIX_HAS_VECTORS

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(MixKernel8, kMixSamples8, RunMix8);
TESSELU_KERNEL(MixKernel16, kMixSamples16, RunMix16);

}  // namespace Zan

#endif  // HWY_ONCE
