// Angles of directions, in doubles: exact operations in one order, so that all targets agree to the last bit.

#include "gradient/kernels/Angles.h"

#include "gradient/kernels/AngleFormula.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "gradient/kernels/Angles.cpp"
#include "simd/Foreach.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// As AngleFromDown, step by step.
template <class D, class V = hn::Vec<D>>
HWY_INLINE HWY_ATTR V Angle(D d, V x, V y) {
    using namespace angle;
    const V zero = hn::Zero(d);
    const V ax = hn::Abs(x);
    const V ay = hn::Abs(y);
    const V low = hn::Min(ax, ay);
    const V high = hn::Max(ax, ay);

    const auto wide = hn::Gt(low, hn::Mul(hn::Set(d, kTanOfEighthPi), high));
    const V numerator = hn::IfThenElse(wide, hn::Sub(low, high), low);
    const V denominator = hn::IfThenElse(wide, hn::Add(low, high), high);
    const V q = hn::Div(numerator, hn::IfThenElse(hn::Gt(denominator, zero), denominator, hn::Set(d, 1.0)));

    const V z = hn::Mul(q, q);
    V series = hn::Set(d, kSeries[0]);
    for (std::size_t i = 1; i < std::size(kSeries); ++i)
        series = hn::Add(hn::Mul(series, z), hn::Set(d, kSeries[i]));

    const V nearer = hn::Add(hn::IfThenElseZero(wide, hn::Set(d, kQuarterPi)), hn::Mul(q, series));
    const V axis = hn::IfThenElse(hn::Gt(ax, ay), hn::Sub(hn::Set(d, 2.0 * kQuarterPi), nearer), nearer);
    const V angle = hn::IfThenElse(hn::Lt(y, zero), hn::Sub(hn::Set(d, 4.0 * kQuarterPi), axis), axis);
    return hn::IfThenElse(hn::Lt(x, zero), hn::Neg(angle), angle);
}

#endif

void RunAngles(const double* x, const double* y, double* angles, std::size_t n) {
    std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<double> d;
    const std::size_t lanes = hn::Lanes(d);
    for (; i + lanes <= n; i += lanes)
        hn::StoreU(Angle(d, hn::LoadU(d, x + i), hn::LoadU(d, y + i)), d, angles + i);
#endif
    for (; i < n; ++i)
        angles[i] = AngleFromDown(x[i], y[i]);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(AngleKernel, kAngles, RunAngles);

}  // namespace Zan

#endif  // HWY_ONCE
