#ifndef TESSELU_SRC_GRADIENT_ANGLE_H
#define TESSELU_SRC_GRADIENT_ANGLE_H

#include <cmath>

namespace GradientGenerator {

/// atan2(x, y), the angle from the y axis towards +x, within 1e-13; 0 for (0, 0). The C library's function
/// differs from one to the next in its last bit; this one is the same everywhere, and the compiler vectorises
/// it.
inline double AngleFromDown(double x, double y) noexcept {
    constexpr double kQuarterPi = 0.78539816339744831;
    constexpr double kTanOfEighthPi = 0.41421356237309505;
    const double ax = std::fabs(x);
    const double ay = std::fabs(y);
    const double low = ax < ay ? ax : ay;
    const double high = ax < ay ? ay : ax;

    // Angles of up to 45 degrees as 45 degrees less what is left, if that is smaller.
    const bool wide = low > kTanOfEighthPi * high;
    const double numerator = wide ? low - high : low;
    const double denominator = wide ? low + high : high;
    const double q = numerator / (denominator > 0.0 ? denominator : 1.0);

    // atan(q) / q for |q| up to tan(pi / 8), by powers of q squared; minimax, within 3e-14.
    const double z = q * q;
    double series = 0.030662440370424447;
    series = series * z - 0.05874505621307831;
    series = series * z + 0.07563703551915192;
    series = series * z - 0.09078392072943424;
    series = series * z + 0.11110385046148014;
    series = series * z - 0.14285690423839287;
    series = series * z + 0.19999999604891977;
    series = series * z - 0.33333333330803444;
    series = series * z + 0.9999999999999732;

    const double fromNearerAxis = (wide ? kQuarterPi : 0.0) + q * series;
    const double fromAxis = ax > ay ? 2.0 * kQuarterPi - fromNearerAxis : fromNearerAxis;
    const double angle = y < 0.0 ? 4.0 * kQuarterPi - fromAxis : fromAxis;
    return x < 0.0 ? -angle : angle;
}

/// The same in turns, by the single-precision 1 / (2 pi). That lies just below the true value, so that half a
/// turn comes out as less than a half.
inline double Turns(double x, double y) noexcept {
    constexpr double kTurnsPerRadian = static_cast<double>(0.15915494F);
    return AngleFromDown(x, y) * kTurnsPerRadian;
}

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_ANGLE_H
