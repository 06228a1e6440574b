// Whole parts of single-precision lanes.

#if defined(TESSELU_SRC_SIMD_WHOLE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_SIMD_WHOLE_INL_H
#undef TESSELU_SRC_SIMD_WHOLE_INL_H
#else
#define TESSELU_SRC_SIMD_WHOLE_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Zan::simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

/// Toward zero, of what fits 32 bits; what is not a number becomes 0 or negative. Highway's own conversion
/// takes care of all numbers, with more instructions.
HWY_INLINE HWY_ATTR hn::Vec<hn::ScalableTag<std::int32_t>> WholePart(hn::Vec<hn::ScalableTag<float>> v) {
    using Whole = hn::Vec<hn::ScalableTag<std::int32_t>>;
#if HWY_TARGET == HWY_AVX3
    return Whole{_mm512_cvttps_epi32(v.raw)};
#elif HWY_TARGET == HWY_AVX2
    return Whole{_mm256_cvttps_epi32(v.raw)};
#elif HWY_TARGET == HWY_SSSE3
    return Whole{_mm_cvttps_epi32(v.raw)};
#else
    return Whole{hn::ConvertTo(hn::ScalableTag<std::int32_t>(), v)};
#endif
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace Zan::simd
HWY_AFTER_NAMESPACE();

#endif  // TESSELU_SRC_SIMD_WHOLE_INL_H
