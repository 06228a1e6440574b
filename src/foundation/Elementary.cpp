#include "foundation/Elementary.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace Zan {
namespace {

// A value as the unevaluated sum of two doubles, the second at most half a unit of the first (T. J. Dekker,
// "A floating-point technique for extending the available precision", 1971).
struct Pair {
    double high = 0, low = 0;
};

// |a| not below |b|, or a is 0.
constexpr Pair QuickSum(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

constexpr Pair Sum(double a, double b) {
    const double sum = a + b;
    const double part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

// The upper 26 bits, and what is left: products of halves are exact. Fused products would do with less, but
// are not everywhere.
constexpr Pair Split(double a) {
    constexpr double kSplitter = 134217729;  // 2^27 + 1
    const double scaled = kSplitter * a;
    const double high = scaled - (scaled - a);
    return {high, a - high};
}

constexpr Pair Product(double a, double b) {
    const double product = a * b;
    const Pair x = Split(a), y = Split(b);
    return {product, ((x.high * y.high - product) + x.high * y.low + x.low * y.high) + x.low * y.low};
}

constexpr Pair operator+(const Pair& a, const Pair& b) {
    const Pair high = Sum(a.high, b.high), low = Sum(a.low, b.low);
    const Pair middle = QuickSum(high.high, high.low + low.high);
    return QuickSum(middle.high, middle.low + low.low);
}
constexpr Pair operator+(const Pair& a, double b) {
    const Pair sum = Sum(a.high, b);
    return QuickSum(sum.high, sum.low + a.low);
}
constexpr Pair operator-(const Pair& a) {
    return {-a.high, -a.low};
}
constexpr Pair operator-(const Pair& a, const Pair& b) {
    return a + -b;
}
constexpr Pair operator*(const Pair& a, const Pair& b) {
    const Pair product = Product(a.high, b.high);
    return QuickSum(product.high, product.low + (a.high * b.low + a.low * b.high));
}
constexpr Pair operator*(const Pair& a, double b) {
    const Pair product = Product(a.high, b);
    return QuickSum(product.high, product.low + a.low * b);
}
constexpr Pair operator/(const Pair& a, const Pair& b) {
    const double first = a.high / b.high;
    Pair rest = a - b * first;
    const double second = rest.high / b.high;
    rest = rest - b * second;
    const double third = rest.high / b.high;
    return QuickSum(first, second) + third;
}
constexpr Pair operator/(const Pair& a, double b) {
    return a / Pair{b, 0};
}

// 2 artanh(s) = 2 (s + s^3/3 + s^5/5 ...)
constexpr Pair TwiceArtanh(const Pair& s, int terms) {
    const Pair square = s * s;
    Pair sum;
    for (int k = 2 * terms - 1; k >= 1; k -= 2) {
        sum = sum * square + Pair{1, 0} / k;
    }
    return sum * s * 2;
}

constexpr Pair kLog2 = TwiceArtanh(Pair{1, 0} / 3, 34);  // of (2 - 1) / (2 + 1)

// A mantissa of 1 to 2 times the reciprocal of the middle of its 64th, cut to 10 bits, is near 1, and exact
// as a pair.
constexpr int kLogSteps = 64;
struct LogStep {
    double reciprocal;
    Pair log;      // of 1 / reciprocal
    int exponent;  // that is left out of it
};
constexpr auto kLogTable = [] {
    std::array<LogStep, kLogSteps> table{};
    for (int i = 0; i < kLogSteps; ++i) {
        // 1 at the first and 2 at the last, so that logarithms of numbers near 1 lose nothing by
        // cancellation.
        const bool isLast = i == kLogSteps - 1;
        const double middle = 1 + (i + 0.5) / kLogSteps;
        const double reciprocal = i == 0 ? 1
                                  : isLast
                                      ? 0.5
                                      : static_cast<double>(static_cast<int>(1024 / middle + 0.5)) / 1024;
        const Pair s = Pair{1 - reciprocal, 0} / (1 + reciprocal);
        table[static_cast<std::size_t>(i)] = {reciprocal, isLast ? Pair{} : TwiceArtanh(s, 34), isLast};
    }
    return table;
}();

// e^r for |r| below 2^-7, or anything small for more terms.
constexpr Pair ExponentialSeries(const Pair& r, int terms) {
    Pair sum{1, 0};
    for (int k = terms; k >= 1; --k) {
        sum = sum * r / k + 1.0;
    }
    return sum;
}

constexpr int kExpSteps = 64;
constexpr auto kExpTable = [] {
    std::array<Pair, kExpSteps> table{};
    for (int i = 0; i < kExpSteps; ++i) {
        table[static_cast<std::size_t>(i)] = ExponentialSeries(kLog2 * i / kExpSteps, 30);
    }
    return table;
}();
constexpr Pair kLog2Step = kLog2 * (1.0 / kExpSteps);

constexpr int kBias = 1023;
constexpr std::uint64_t kFraction = (std::uint64_t{1} << 52) - 1;
constexpr std::uint64_t kOne = std::uint64_t{kBias} << 52;

// mantissa * 2^exponent, and the step of the table that the mantissa lies in.
struct Scaled {
    explicit Scaled(double x) {
        int shift = 0;
        if (x < std::numeric_limits<double>::min()) {
            x *= 18014398509481984.0;  // 2^54
            shift = 54;
        }
        const auto bits = std::bit_cast<std::uint64_t>(x);
        mantissa = std::bit_cast<double>((bits & kFraction) | kOne);
        near = &kLogTable[static_cast<std::size_t>((mantissa - 1) * kLogSteps)];
        exponent = static_cast<int>(bits >> 52) - kBias - shift + near->exponent;
    }
    double mantissa;
    const LogStep* near;
    double exponent;
};

// Of a positive, finite number.
Pair LogarithmOf(double x) {
    const Scaled scaled(x);
    const LogStep& near = *scaled.near;
    const Pair r = Product(scaled.mantissa, near.reciprocal) + -1.0;
    const Pair s = r / (r + 2.0);
    const Pair square = s * s;
    // |s| is at most 2^-7: terms from the third on are below 2^-42, and need no second double.
    double tail = square.high / 15 + 1.0 / 13;
    tail = square.high * tail + 1.0 / 11;
    tail = square.high * tail + 1.0 / 9;
    tail = square.high * tail + 1.0 / 7;
    constexpr Pair kThird = Pair{1, 0} / 3, kFifth = Pair{1, 0} / 5;
    const Pair sum = kThird + square * (kFifth + square.high * tail);
    const Pair log = (s + s * square * sum) * 2;
    return (kLog2 * scaled.exponent + near.log) + log;
}

// The same to 2^-64 of the result, in a third of the time.
Pair QuickLogarithm(double x) {
    const Scaled scaled(x);
    const LogStep& near = *scaled.near;
    // Both products are exact.
    constexpr std::uint64_t kUpper = ~std::uint64_t{0xFFFFF};
    const double upper = std::bit_cast<double>(std::bit_cast<std::uint64_t>(scaled.mantissa) & kUpper);
    const Pair r = Sum(upper * near.reciprocal - 1, (scaled.mantissa - upper) * near.reciprocal);
    // log(1 + r) = r - r^2/2 + r^3/3 ...
    const double x1 = r.high, x2 = x1 * x1, x4 = x2 * x2;
    const Pair square = Product(x1, x1);
    const double tail = (1.0 / 3 - x1 * (1.0 / 4)) + x2 * (1.0 / 5 - x1 * (1.0 / 6)) +
                        x4 * ((1.0 / 7 - x1 * (1.0 / 8)) + x2 * (1.0 / 9 - x1 * (1.0 / 10)) +
                              x4 * (1.0 / 11 - x1 * (1.0 / 12)));
    const Pair whole = kLog2 * scaled.exponent + near.log;
    const Pair first = Sum(whole.high, x1), second = Sum(first.high, square.high * -0.5);
    const double rest = (whole.low + r.low) + (square.low * -0.5 - x1 * r.low);
    return QuickSum(second.high, (second.low + first.low) + (rest + x1 * x2 * tail));
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// e^(steps * log 2 / 64), and what is left of the exponent: |r| is below 2^-7.
struct Reduced {
    explicit Reduced(const Pair& x)
        : steps(std::floor(x.high * (kExpSteps * 1.4426950408889634) + 0.5)),  // 1 / log 2
          r(x - kLog2Step * steps) {}
    const Pair& Near() const {
        return kExpTable[static_cast<std::size_t>(static_cast<std::int64_t>(steps) & (kExpSteps - 1))];
    }
    double Scale(double result) const {
        const int exponent = static_cast<int>(static_cast<std::int64_t>(steps) >> 6);
        if (exponent < -1021 || exponent > 1022) {
            return std::ldexp(result, exponent);
        }
        return result * std::bit_cast<double>(static_cast<std::uint64_t>(exponent + kBias) << 52);
    }
    double steps;
    Pair r;
};

double ExponentialOf(const Pair& x) {
    const Reduced reduced(x);
    const Pair& r = reduced.r;
    // Terms from the fifth on are below 2^-43, and need no second double.
    double tail = r.high / 3628800 + 1.0 / 362880;
    tail = r.high * tail + 1.0 / 40320;
    tail = r.high * tail + 1.0 / 5040;
    tail = r.high * tail + 1.0 / 720;
    tail = r.high * tail + 1.0 / 120;
    constexpr Pair kFourth = Pair{1, 0} / 24, kThird = Pair{1, 0} / 6;
    Pair sum = kFourth + r.high * tail;
    sum = kThird + r * sum;
    sum = r * sum + 0.5;
    sum = r * sum + 1.0;
    sum = r * sum + 1.0;
    return reduced.Scale((reduced.Near() * sum).high);
}

// The same where an exponent known to `error`, and arithmetic good to 2^-62, leave no doubt of the last bit.
bool QuickExponential(const Pair& x, double error, double& result) {
    const Reduced reduced(x);
    const Pair& near = reduced.Near();
    const double x1 = reduced.r.high, x2 = x1 * x1;
    const double tail =
        (0.5 + x1 * (1.0 / 6)) + x2 * ((1.0 / 24 + x1 * (1.0 / 120)) + x2 * (1.0 / 720 + x1 * (1.0 / 5040)));
    const Pair first = Product(near.high, x1);
    const Pair sum = QuickSum(near.high, first.high);
    const double small = reduced.r.low + x2 * tail;
    const double rest = (sum.low + first.low) + (near.low * (1 + x1) + near.high * small);
    const double doubt = sum.high * (error + 0x1p-62);
    const double value = sum.high + (rest + doubt);
    if (value != sum.high + (rest - doubt)) {
        return false;
    }
    result = reduced.Scale(value);
    return true;
}

// Beyond them an exponential is infinite or 0.
constexpr double kLeastExponent = -745.2, kGreatestExponent = 709.79;

bool IsWhole(double x) {
    return std::floor(x) == x;
}
bool IsOdd(double x) {
    return IsWhole(x) && std::fabs(x) < 9007199254740992.0 && !IsWhole(x / 2);
}

// pi / 2 in three parts, of which the first two have 33 bits: whole multiples below 2^20 are exact.
constexpr double kHalfPi[] = {1.57079632673412561417e+00, 6.07710050630396597660e-11,
                              2.02226624879595063154e-21};

struct Turned {
    Pair angle;  // at most pi / 4 either way
    int quarters;
};

Turned Reduce(double x) {
    const double quarters = std::floor(x * 0.63661977236758134308 + 0.5);
    Pair angle = Product(quarters, kHalfPi[0]);
    angle = Sum(x, -angle.high) + -angle.low;
    angle = angle - Product(quarters, kHalfPi[1]);
    angle = angle - Product(quarters, kHalfPi[2]);
    return {angle, static_cast<int>(static_cast<std::int64_t>(quarters) & 3)};
}

// x - x^3/3! + x^5/5! ..., or 1 - x^2/2! + x^4/4! ...
Pair Series(const Pair& x, bool isSine) {
    const Pair square = x * x;
    Pair sum{1, 0};
    for (int k = isSine ? 27 : 26; k >= 2; k -= 2) {
        sum = -(square * sum / (static_cast<double>(k) * (k - 1))) + 1.0;
    }
    return isSine ? x * sum : sum;
}

double Circular(double x, int quartersMore) {
    if (!(std::fabs(x) <= 1048576.0)) {
        return kNaN;
    }
    const Turned turned = Reduce(x);
    const int quarter = (turned.quarters + quartersMore) & 3;
    const double value = Series(turned.angle, quarter % 2 == 0).high;
    return quarter < 2 ? value : -value;
}

}  // namespace

double Logarithm(double x) noexcept {
    if (!(x > 0) || x == kInfinity) {
        return x == 0 ? -kInfinity : x > 0 ? x : kNaN;
    }
    return LogarithmOf(x).high;
}

double Exponential(double x) noexcept {
    if (std::isnan(x) || x > kGreatestExponent) {
        return std::isnan(x) ? x : kInfinity;
    }
    double result = 0;
    if (x < kLeastExponent || QuickExponential({x, 0}, 0, result)) {
        return result;
    }
    return ExponentialOf({x, 0});
}

double Power(double base, double exponent) noexcept {
    if (exponent == 0 || base == 1) {
        return 1;
    }
    if (std::isnan(base) || std::isnan(exponent)) {
        return kNaN;
    }
    const double size = std::fabs(base);
    const bool isNegative = std::signbit(base) && IsOdd(exponent);
    if (std::isinf(exponent)) {
        return size == 1 ? 1 : (size > 1) == (exponent > 0) ? kInfinity : 0;
    }
    if (size == 0 || size == kInfinity) {
        const double result = (size > 1) == (exponent > 0) ? kInfinity : 0;
        return isNegative ? -result : result;
    }
    if (base < 0 && !IsWhole(exponent)) {
        return kNaN;
    }
    double result = 0;
    if (exponent == 1) {
        result = size;
    } else if (exponent == 2) {
        result = size * size;
    } else if (exponent == 0.5) {
        result = std::sqrt(size);
    } else {
        const Pair log = QuickLogarithm(size);
        // Looked at before the product of pairs, which must not overflow.
        const double rough = log.high * exponent;
        if (rough > kGreatestExponent) {
            result = kInfinity;
        } else if (rough > kLeastExponent &&
                   !QuickExponential(log * exponent, std::fabs(rough) * 0x1p-63, result)) {
            result = ExponentialOf(LogarithmOf(size) * exponent);
        }
    }
    return isNegative ? -result : result;
}

double Sine(double x) noexcept {
    return x == 0 ? x : Circular(x, 0);
}

double Cosine(double x) noexcept {
    return Circular(x, 1);
}

}  // namespace Zan
