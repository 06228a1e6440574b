#ifndef TESSELU_SRC_GRADIENT_KERNELS_ANGLEFORMULA_H
#define TESSELU_SRC_GRADIENT_KERNELS_ANGLEFORMULA_H

#include <cmath>
#include <cstddef>
#include <iterator>

namespace Zan {

namespace angle {

inline constexpr double kQuarterPi = 0.78539816339744831;
inline constexpr double kTanOfEighthPi = 0.41421356237309505;

/// atan(q) / q for |q| up to tan(pi / 8), by falling powers of q squared; minimax, within 3e-14.
inline constexpr double kSeries[] = {0.030662440370424447, -0.05874505621307831, 0.07563703551915192,
                                     -0.09078392072943424, 0.11110385046148014,  -0.14285690423839287,
                                     0.19999999604891977,  -0.33333333330803444, 0.9999999999999732};

}  // namespace angle

/// atan2(x, y), the angle from the y axis towards +x, within 1e-13; 0 for (0, 0). The C library's function
/// differs from one library to the next in its last bit; this one is the same everywhere.
inline double AngleFromDown(double x, double y) noexcept {
    using namespace angle;
    const double ax = std::fabs(x);
    const double ay = std::fabs(y);
    const double low = ax < ay ? ax : ay;
    const double high = ax < ay ? ay : ax;

    // Angles of up to 45 degrees as 45 degrees less what is left, if that is smaller.
    const bool wide = low > kTanOfEighthPi * high;
    const double numerator = wide ? low - high : low;
    const double denominator = wide ? low + high : high;
    const double q = numerator / (denominator > 0.0 ? denominator : 1.0);

    const double z = q * q;
    double series = kSeries[0];
    for (std::size_t i = 1; i < std::size(kSeries); ++i)
        series = series * z + kSeries[i];

    const double fromNearerAxis = (wide ? kQuarterPi : 0.0) + q * series;
    const double fromAxis = ax > ay ? 2.0 * kQuarterPi - fromNearerAxis : fromNearerAxis;
    const double angle = y < 0.0 ? 4.0 * kQuarterPi - fromAxis : fromAxis;
    return x < 0.0 ? -angle : angle;
}

}  // namespace Zan

#endif  // TESSELU_SRC_GRADIENT_KERNELS_ANGLEFORMULA_H
