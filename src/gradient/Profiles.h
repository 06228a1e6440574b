#ifndef TESSELU_SRC_GRADIENT_PROFILES_H
#define TESSELU_SRC_GRADIENT_PROFILES_H

#include <TesselU/foundation/Types.h>

namespace GradientGenerator {

// The profiles along one axis that patterns are made of, for position i of n.

/// Falls from 1 at the first position to 1/n at the last.
inline double Falling(Zan::ULong32 i, Zan::ULong32 n) noexcept {
    return static_cast<double>(n - i) / n;
}

/// From 0 at the first position to just under 1 at the last.
inline double Along(Zan::ULong32 i, Zan::ULong32 n) noexcept {
    return static_cast<double>(i) / n;
}

/// The centre of the position on an axis from -1 to 1 over the picture; exactly opposite for opposite
/// positions.
inline double Centred(Zan::ULong32 i, Zan::ULong32 n) noexcept {
    return (2.0 * i + 1.0 - n) / n;
}

/// The longer half of an axis; an odd middle belongs to it.
inline Zan::ULong32 FirstHalf(Zan::ULong32 n) noexcept {
    return n - n / 2;
}

/// Steps from the edge to the middle: 1 at either edge, FirstHalf(n) in the middle, there twice if n is even.
inline Zan::ULong32 StepsFromEdge(Zan::ULong32 i, Zan::ULong32 n) noexcept {
    return i < FirstHalf(n) ? i + 1 : n - i;
}

/// Rises in equal steps to exactly 1 in the middle and falls again.
inline double SteppedTent(Zan::ULong32 i, Zan::ULong32 n) noexcept {
    return static_cast<double>(StepsFromEdge(i, n)) / FirstHalf(n);
}

inline double Smaller(double a, double b) noexcept {
    return a < b ? a : b;
}

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_PROFILES_H
