#include "foundation/Elementary.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace {

using Zan::Cosine;
using Zan::Exponential;
using Zan::Logarithm;
using Zan::Power;
using Zan::Sine;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class Numbers {
public:
    double Between(double low, double high) {
        return low + (high - low) * (static_cast<double>(generator() >> 11) * 0x1p-53);
    }

private:
    std::mt19937_64 generator{20};
};

// Half a unit of a double, and what the reference itself may be wrong by.
void ExpectNearest(double value, long double exact, const char* what, double x, double y = 0) {
    const double nearest = static_cast<double>(exact);
    const double unit = std::nextafter(std::fabs(nearest), kInfinity) - std::fabs(nearest);
    ASSERT_LE(std::fabs(static_cast<double>(static_cast<long double>(value) - exact)), 0.5005 * unit)
        << what << " of " << x << " " << y << " gives " << value;
}

// Where the C library has more than 53 bits to compare with.
TEST(Elementary, IsTheNearestDouble) {
    if (std::numeric_limits<long double>::digits < 64) {
        GTEST_SKIP() << "no longer double here";
    }
    Numbers numbers;
    for (int i = 0; i < 50000; ++i) {
        const double fraction = numbers.Between(0, 1) + 1e-9, exponent = numbers.Between(0, 60);
        ExpectNearest(Power(fraction, exponent), std::pow(static_cast<long double>(fraction), exponent),
                      "power", fraction, exponent);
        const double wide = std::exp(numbers.Between(-700, 700)), part = numbers.Between(-1, 1);
        ExpectNearest(Power(wide, part), std::pow(static_cast<long double>(wide), part), "power", wide, part);
        const double x = i % 2 == 0 ? numbers.Between(-2, 2) : numbers.Between(-700, 700);
        ExpectNearest(Exponential(x), std::exp(static_cast<long double>(x)), "exponential", x);
        const double y = i % 2 == 0 ? numbers.Between(0.5, 2) : wide;
        ExpectNearest(Logarithm(y), std::log(static_cast<long double>(y)), "logarithm", y);
        const double angle = i % 2 == 0 ? numbers.Between(-7, 7) : numbers.Between(-1000, 1000);
        ExpectNearest(Sine(angle), std::sin(static_cast<long double>(angle)), "sine", angle);
        ExpectNearest(Cosine(angle), std::cos(static_cast<long double>(angle)), "cosine", angle);
    }
}

TEST(Elementary, KnowsExactResults) {
    EXPECT_EQ(Power(64.0 / 256, 0.5) * 256, 128);
    EXPECT_EQ(Power(2, 10), 1024);
    EXPECT_EQ(Power(10, 15), 1e15);
    EXPECT_EQ(Power(0.5, -3), 8);
    EXPECT_EQ(Power(27, 1), 27);
    EXPECT_EQ(Power(1.5, 2), 2.25);
    EXPECT_EQ(Power(-3, 3), -27);
    EXPECT_EQ(Power(-3, 4), 81);
    EXPECT_EQ(Exponential(0), 1);
    EXPECT_EQ(Logarithm(1), 0);
    EXPECT_EQ(Sine(0), 0);
    EXPECT_EQ(Cosine(0), 1);
}

TEST(Elementary, SpecialValuesAreThoseOfTheCLibrary) {
    const double values[] = {
        0.0, -0.0, 1,     -1,     0.5,    -0.5,      2,          -2,
        3,   -3,   1e300, -1e300, 5e-324, kInfinity, -kInfinity, std::numeric_limits<double>::quiet_NaN()};
    for (const double base : values) {
        for (const double exponent : values) {
            const double expected = std::pow(base, exponent), got = Power(base, exponent);
            if (std::isnan(expected)) {
                EXPECT_TRUE(std::isnan(got)) << base << " " << exponent;
            } else if (expected == 0 || std::isinf(expected) || std::fabs(expected) == 1) {
                EXPECT_EQ(got, expected) << base << " " << exponent;
                EXPECT_EQ(std::signbit(got), std::signbit(expected)) << base << " " << exponent;
            }
        }
    }
    EXPECT_EQ(Exponential(-kInfinity), 0);
    EXPECT_EQ(Exponential(kInfinity), kInfinity);
    EXPECT_EQ(Exponential(710), kInfinity);
    EXPECT_EQ(Exponential(-746), 0);
    EXPECT_EQ(Logarithm(0), -kInfinity);
    EXPECT_EQ(Logarithm(kInfinity), kInfinity);
    EXPECT_TRUE(std::isnan(Logarithm(-1)));
    EXPECT_TRUE(std::isnan(Exponential(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_TRUE(std::isnan(Sine(kInfinity)));
    EXPECT_TRUE(std::isnan(Cosine(1e7)));
}

// Held on machines of every kind: the sum of all bits was formed where the test above ran.
TEST(Elementary, HasTheSameBitsEverywhere) {
    std::uint64_t hash = 14695981039346656037U;
    const auto mix = [&](double value) {
        hash = (hash ^ std::bit_cast<std::uint64_t>(value)) * 1099511628211U;
    };
    for (int i = 1; i < 4000; ++i) {
        const double x = i / 1024.0;
        mix(Power(x, 0.45));
        mix(Power(x, 2.2222222222222223));
        mix(Power(x, 1 / (i / 50.0 + 1)));
        mix(Exponential(x * 8 - 16));
        mix(Logarithm(x));
        mix(Sine(x - 2));
        mix(Cosine(x - 2));
    }
    EXPECT_EQ(hash, 0x28C666822AABEA1AU);
}

}  // namespace
