#ifndef TESSELU_SRC_FOUNDATION_ELEMENTARY_H
#define TESSELU_SRC_FOUNDATION_ELEMENTARY_H

namespace Zan {

// The functions that C libraries round each in its own way, so that tables made with them have the same bytes
// on every machine. A result is formed to about 95 bits and rounded once: it is the nearest double, but for
// ties that only powers with small whole exponents can come near. Special values are those of <cmath>;
// errno and the flags of the processor say nothing. Results below the normal range may be one unit off.

double Power(double base, double exponent) noexcept;
double Exponential(double x) noexcept;
double Logarithm(double x) noexcept;

/// Angles in radians; beyond 2^20 either way the result is not a number.
double Sine(double x) noexcept;
double Cosine(double x) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_ELEMENTARY_H
