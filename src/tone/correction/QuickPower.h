#ifndef TESSELU_SRC_TONE_CORRECTION_QUICKPOWER_H
#define TESSELU_SRC_TONE_CORRECTION_QUICKPOWER_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Zan::BaseCC {

namespace internal {

constexpr double kLogOf2 = 0.693147180559945309417;

constexpr double Log2Of(int k) {
    double exponent = 0, m = k;
    for (; m >= 1.5; m /= 2) {
        exponent += 1;
    }
    // Twice the area tangent of s, |s| up to 1/5.
    const double s = (m - 1) / (m + 1);
    double sum = 0;
    for (int i = 27; i > 0; i -= 2) {
        sum = sum * s * s + 2.0 / i;
    }
    return exponent + sum * s / kLogOf2;
}

constexpr double Exp2Of(double x) {
    double sum = 1;
    for (int i = 20; i > 0; --i) {
        sum = 1 + sum * x * kLogOf2 / i;
    }
    return sum;
}

/// Levels reach 1785, three times 510 and 255.
inline constexpr int kNumbers = 1792;
inline constexpr auto kLog2 = [] {
    std::array<double, kNumbers> table{};
    for (int k = 1; k < kNumbers; ++k) {
        table[static_cast<std::size_t>(k)] = Log2Of(k);
    }
    return table;
}();
inline constexpr auto kExp2 = [] {
    std::array<double, 64> table{};
    for (int i = 0; i < 64; ++i) {
        table[static_cast<std::size_t>(i)] = Exp2Of(i / 64.0);
    }
    return table;
}();

}  // namespace internal

/// Powers of k * unit, k = 1 ... 1791, to about 1 in 10^12: enough to cut most of them to whole numbers.
class QuickPower {
public:
    /// `unit` is one over `steps`.
    constexpr QuickPower(double exponent, int steps)
        : exponent64(exponent * 64), log(internal::kLog2[static_cast<std::size_t>(steps)]) {}

    double operator()(int k) const noexcept {
        // In 64ths, as a whole number and a fraction.
        const double y = exponent64 * (internal::kLog2[static_cast<std::size_t>(k)] - log);
        constexpr double kWhole = 6755399441055744.0;  // 1.5 * 2^52: leaves no bits for a fraction
        const double shifted = y + kWhole;
        const auto n = static_cast<std::int32_t>(std::bit_cast<std::uint64_t>(shifted) & 0xFFFFFFFFU);
        const double r = (y - (shifted - kWhole)) * (internal::kLogOf2 / 64);
        const double series = 1 + r * (1 + r * (1.0 / 2 + r * (1.0 / 6 + r * (1.0 / 24 + r / 120))));
        const auto scale = std::bit_cast<double>(static_cast<std::uint64_t>(1023 + (n >> 6)) << 52);
        return internal::kExp2[static_cast<std::size_t>(n & 63)] * series * scale;
    }

private:
    double exponent64, log;
};

}  // namespace Zan::BaseCC

#endif  // TESSELU_SRC_TONE_CORRECTION_QUICKPOWER_H
