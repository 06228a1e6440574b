#include <TesselU/filter/NoiseSource.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <thread>
#include <vector>

#include "simd/Targets.h"

using namespace Zan;

namespace {

using Words = std::vector<ULong32>;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

ULong32 Word(unsigned b0, unsigned b1, unsigned b2, unsigned b3) {
    const unsigned char bytes[4] = {static_cast<unsigned char>(b0), static_cast<unsigned char>(b1),
                                    static_cast<unsigned char>(b2), static_cast<unsigned char>(b3)};
    ULong32 word;
    std::memcpy(&word, bytes, 4);
    return word;
}

std::uint8_t ByteOf(const Words& words, std::size_t i) {
    std::uint8_t bytes[4];
    std::memcpy(bytes, &words[i / 4], 4);
    return bytes[i % 4];
}

/// Pixels in one row, from one vector into another.
enum class Noise { kGaussian, kUniform, kErrors };

Long32 Add(NoiseSource& source, Noise noise, Words& from, Words& to, double a, double b = 0) {
    const auto n = static_cast<ULong32>(from.size());
    switch (noise) {
        case Noise::kGaussian:
            return source.AddGaussian(from.data(), to.data(), n, 1, 4 * n, 4 * n, a, b);
        case Noise::kUniform:
            return source.AddUniform(from.data(), to.data(), n, 1, 4 * n, 4 * n, a, b);
        case Noise::kErrors:
            break;
    }
    return source.UniformBitErrors(from.data(), to.data(), n, 1, 4 * n, 4 * n, a);
}

/// The same on every target.
Words Made(Noise noise, const Words& picture, double a, double b = 0) {
    NoiseSource source;
    Words from = picture, to(picture.size());
    EXPECT_EQ(Add(source, noise, from, to, a, b), 0);
    EXPECT_EQ(from, picture);
    for (std::size_t target = 0; target < simd::kTargetCount; ++target) {
        if (simd::IsTargetAvailable(static_cast<simd::Target>(target))) {
            const simd::ScopedTarget scope(static_cast<simd::Target>(target));
            Words other(picture.size());
            EXPECT_EQ(Add(source, noise, from, other, a, b), 0);
            EXPECT_TRUE(other == to) << "target " << target << ", " << a << ", " << b;
        }
    }
    return to;
}

/// The generator, written down once more.
struct Draws {
    std::uint64_t state;
    unsigned Next() {
        state = (state * 214013 + 2531011) % 4294967296U;
        return static_cast<unsigned>(state / 65536 % 32768);
    }
};

}  // namespace

TEST(NoiseSource, DrawsAreThoseOfTheWrittenGenerator) {
    Draws draws{2};
    EXPECT_EQ(draws.Next(), 45U);
    EXPECT_EQ(draws.Next(), 29216U);
    EXPECT_EQ(draws.Next(), 24198U);
    EXPECT_EQ(draws.Next(), 17795U);
}

TEST(NoiseSource, FirstBytesOfSeedTwo) {
    // On 128 from -127: 128 + 255 * draw / 32767 - 127.
    EXPECT_EQ(Made(Noise::kUniform, {Word(128, 128, 128, 128)}, -127, 128), Words{Word(1, 228, 189, 139)});
    EXPECT_EQ(Made(Noise::kGaussian, {Word(128, 128, 128, 128)}, 100, 0), Words{Word(128, 144, 145, 124)});
    // None of the first draws is as low as 0.
    EXPECT_EQ(Made(Noise::kErrors, {Word(1, 2, 3, 4)}, 0), Words{Word(1, 2, 3, 4)});
    // Up to 16384 a draw flips its bit: of 45, 29216, 24198, 17795, 29484, 19650, 14590, 26431 the first and
    // the seventh.
    EXPECT_EQ(ByteOf(Made(Noise::kErrors, {Word(0, 0, 0, 0)}, 0.5), 0), 0x41);
}

TEST(NoiseSource, UniformNoiseIsTheWrittenFormulaOfTheNextDraw) {
    // Longer than the generator's lower half repeats in, in every vector and with a rest.
    Words picture(70001);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        picture[i] = Word(i % 256, i / 3 % 256, 0, 255);
    }
    const double ranges[][2] = {{-127, 128}, {-255, 0},    {0, 255},  {-0.5, 0.5},      {-12.25, 3.75},
                                {10, 10},    {-3.5, -3.5}, {-20, 20}, {1e-300, 2e-300}, {-0.7, 100.1}};
    for (const auto& [low, high] : ranges) {
        const Words noisy = Made(Noise::kUniform, picture, low, high);
        Draws draws{2};
        for (std::size_t i = 0; i < 4 * picture.size(); ++i) {
            const double span = high - low;
            const double value = draws.Next() * 3.051850947599719e-05 * span + low + ByteOf(picture, i);
            const double limited = std::fmin(std::fmax(value, 0.0), 255.0) + 0.5;
            ASSERT_EQ(ByteOf(noisy, i), static_cast<int>(limited))
                << "byte " << i << " of " << low << ", " << high;
        }
    }
}

TEST(NoiseSource, GaussianNoiseIsTheWrittenFormulaOfTheNextTwoDraws) {
    Words picture(40003);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        picture[i] = Word(128, i % 256, 0, 255);
    }
    const double parameters[][2] = {{100, 0}, {0.01, 0}, {400, -3.5}, {10000, 20},
                                    {0, 0.5}, {1e9, 0},  {25, 1e7}};
    for (const auto& [variance, mean] : parameters) {
        const Words noisy = Made(Noise::kGaussian, picture, variance, mean);
        Draws draws{2};
        std::size_t near = 0;
        for (std::size_t i = 0; i < 4 * picture.size(); ++i) {
            const double u = 1.0 - draws.Next() * 3.0518416338339375e-05;
            const double radius = std::sqrt(std::log(u) * variance * -2.0);
            const double angle = draws.Next() * 0.00019175345011749627 - 3.141592653589793;
            const double value = std::cos(angle) * radius + mean + ByteOf(picture, i);
            const double limited = std::fmin(std::fmax(value, 0.0), 255.0) + 0.5;
            // The C library's logarithms and cosines may be one bit off.
            if (std::fabs(limited - std::nearbyint(limited)) < 1e-9 && variance != 0) {
                near += limited < 255 && limited > 1;
                continue;
            }
            ASSERT_EQ(ByteOf(noisy, i), static_cast<int>(limited))
                << "byte " << i << " of " << variance << ", " << mean;
        }
        EXPECT_LT(near, 40U) << variance;
    }
}

TEST(NoiseSource, BitErrorsAreTheWrittenFormulaOfTheNextEightDraws) {
    Words picture(5003);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        picture[i] = Word(i % 256, i / 256 % 256, 0, 255);
    }
    for (const double probability : {0.0, 1e-4, 0.01, 0.25, 0.5, 0.99999, 1.0}) {
        const Words noisy = Made(Noise::kErrors, picture, probability);
        const int threshold = static_cast<int>(probability * 32767.0 + 0.5);
        Draws draws{2};
        std::size_t flipped = 0;
        for (std::size_t i = 0; i < 4 * picture.size(); ++i) {
            unsigned byte = ByteOf(picture, i);
            for (unsigned bit = 0; bit < 8; ++bit) {
                if (static_cast<int>(draws.Next()) <= threshold) {
                    byte ^= 1U << bit;
                    ++flipped;
                }
            }
            ASSERT_EQ(ByteOf(noisy, i), byte) << "byte " << i << " of " << probability;
        }
        // At 0.0 a draw of 0 still flips.
        EXPECT_GT(flipped, 0U) << probability;
        EXPECT_EQ(flipped == 32 * picture.size(), probability >= 0.9999) << probability;
    }
}

TEST(NoiseSource, RepeatsItsNoiseAtFirst) {
    Words picture(100, Word(50, 100, 150, 200));
    NoiseSource source;
    for (const Noise noise : {Noise::kGaussian, Noise::kUniform, Noise::kErrors}) {
        Words first(100), second(100);
        Add(source, noise, picture, first, 0.5, 90);
        Add(source, noise, picture, second, 0.5, 90);
        EXPECT_EQ(first, second);
        EXPECT_NE(first, picture);
    }
}

TEST(NoiseSource, GoesOnWhereTheLastCallEnded) {
    for (const Noise noise : {Noise::kGaussian, Noise::kUniform, Noise::kErrors}) {
        Words picture(300, Word(50, 100, 150, 200)), whole(300), first(100), second(200), third(100);
        Words head(100, picture[0]), rest(200, picture[0]);
        NoiseSource source;
        source.SetRandomSeed(77);
        Add(source, noise, picture, whole, 0.4, 90);
        Add(source, noise, head, first, 0.4, 90);
        source.EnableSameRandomSeed(false);
        Add(source, noise, rest, second, 0.4, 90);
        EXPECT_TRUE(std::equal(first.begin(), first.end(), whole.begin()));
        EXPECT_TRUE(std::equal(second.begin(), second.end(), whole.begin() + 100));
        Add(source, noise, head, third, 0.4, 90);
        EXPECT_NE(third, first);
        source.EnableSameRandomSeed(true);
        Add(source, noise, head, third, 0.4, 90);
        EXPECT_EQ(third, first);
    }
}

TEST(NoiseSource, RefusedCallsDrawNothing) {
    Words picture(10, Word(1, 2, 3, 4)), out(10), expected(10);
    NoiseSource source;
    source.SetRandomSeed(5);
    Words both(20, picture[0]), bothOut(20);
    Add(source, Noise::kUniform, both, bothOut, 0, 200);
    Add(source, Noise::kUniform, picture, out, 0, 200);
    source.EnableSameRandomSeed(false);
    EXPECT_EQ(Add(source, Noise::kUniform, picture, out, 200, 0), -2);
    EXPECT_EQ(Add(source, Noise::kErrors, picture, out, 2), -2);
    EXPECT_EQ(source.AddGaussian(nullptr, out.data(), 10, 1, 40, 40, 1, 0), -1);
    // Nor does a picture without rows, or without columns.
    EXPECT_EQ(source.AddUniform(picture.data(), out.data(), 10, 0, 40, 40, 0, 200), 0);
    EXPECT_EQ(source.AddGaussian(picture.data(), out.data(), 10, 0, 40, 40, 100, 0), 0);
    EXPECT_EQ(source.UniformBitErrors(picture.data(), out.data(), 10, 0, 40, 40, 0.5), 0);
    EXPECT_EQ(source.UniformBitErrors(picture.data(), out.data(), 0, 10, 40, 40, 0.5), 0);
    Add(source, Noise::kUniform, picture, out, 0, 200);
    EXPECT_TRUE(std::equal(out.begin(), out.end(), bothOut.begin() + 10));
}

TEST(NoiseSource, RepeatedCallWithoutRowsStillSetsTheSeed) {
    Words picture(10, Word(1, 2, 3, 4)), out(10), again(10);
    NoiseSource source;
    Add(source, Noise::kUniform, picture, out, 0, 200);
    EXPECT_EQ(source.AddUniform(picture.data(), again.data(), 10, 0, 40, 40, 0, 200), 0);
    source.EnableSameRandomSeed(false);
    Add(source, Noise::kUniform, picture, again, 0, 200);
    EXPECT_EQ(again, out);
}

TEST(NoiseSource, ANewObjectSeedsFromTheClock) {
    // Both seconds that the clock may show lead to one of two noises.
    Words picture(10, Word(100, 100, 100, 100)), out(10), expected(10);
    const auto before = static_cast<ULong32>(std::time(nullptr));
    NoiseSource source;
    const auto after = static_cast<ULong32>(std::time(nullptr));
    source.EnableSameRandomSeed(false);
    Add(source, Noise::kUniform, picture, out, -100, 100);
    source.EnableSameRandomSeed(true);
    bool found = false;
    for (ULong32 seed = before; seed <= after; ++seed) {
        source.SetRandomSeed(seed);
        Add(source, Noise::kUniform, picture, expected, -100, 100);
        found = found || expected == out;
    }
    EXPECT_TRUE(found);
}

TEST(NoiseSource, StatusesInTheirOrder) {
    ULong32 word = 7;
    NoiseSource source;
    EXPECT_EQ(source.AddGaussian(nullptr, &word, 1, 1, 4, 4, 1, 0), -1);
    EXPECT_EQ(source.AddGaussian(&word, nullptr, 1, 1, 4, 4, 1, 0), -1);
    EXPECT_EQ(source.AddUniform(nullptr, &word, 1, 1, 4, 4, 5, 0), -1);
    EXPECT_EQ(source.AddUniform(&word, nullptr, 1, 1, 4, 4, 5, 0), -1);
    EXPECT_EQ(source.UniformBitErrors(nullptr, &word, 1, 1, 4, 4, 2), -1);
    EXPECT_EQ(source.UniformBitErrors(&word, nullptr, 1, 1, 4, 4, 2), -1);

    const auto uniform = [&](double low, double high) {
        return source.AddUniform(&word, &word, 1, 1, 4, 4, low, high);
    };
    EXPECT_EQ(uniform(-255.5, -255.4), -2);
    EXPECT_EQ(uniform(0, 255.5), -2);
    // Above the end by itself, whatever the span.
    EXPECT_EQ(uniform(200, 255.5), -2);
    EXPECT_EQ(uniform(255.5, 255.5), -2);
    EXPECT_EQ(uniform(1, 0), -2);
    EXPECT_EQ(uniform(-128, 128), -2);
    EXPECT_EQ(uniform(kNaN, 1), -2);
    EXPECT_EQ(uniform(1, kNaN), -2);
    EXPECT_EQ(uniform(-kInfinity, 1), -2);
    EXPECT_EQ(uniform(1, kInfinity), -2);
    for (const double probability : {-1e-9, 1.0000001, kNaN, kInfinity, -kInfinity}) {
        EXPECT_EQ(source.UniformBitErrors(&word, &word, 1, 1, 4, 4, probability), -2);
    }
    EXPECT_EQ(word, 7U);
    EXPECT_EQ(uniform(-127, 128), 0);
    EXPECT_EQ(uniform(-255, -255), 0);
    EXPECT_EQ(uniform(-255, 0), 0);
    EXPECT_EQ(uniform(255, 255), 0);
    EXPECT_EQ(uniform(-0.0, 0), 0);
}

TEST(NoiseSource, NoVarianceAndNoMeanCopy) {
    Words picture(1000);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        picture[i] = static_cast<ULong32>(2654435761U * i);
    }
    EXPECT_EQ(Made(Noise::kGaussian, picture, 0, 0), picture);
    EXPECT_EQ(Made(Noise::kGaussian, picture, 0, 0.49), picture);
    EXPECT_NE(Made(Noise::kGaussian, picture, 0, 0.5), picture);
}

TEST(NoiseSource, OneValueIsAddedAndHeld) {
    EXPECT_EQ(Made(Noise::kUniform, {Word(0, 100, 245, 255)}, 10, 10), Words{Word(10, 110, 255, 255)});
    EXPECT_EQ(Made(Noise::kUniform, {Word(0, 9, 10, 255)}, -10, -10), Words{Word(0, 0, 0, 245)});
}

TEST(NoiseSource, WhatIsNotANumberWritesZero) {
    const Words picture(50, Word(10, 20, 30, 255));
    const Words zeros(50, 0);
    EXPECT_EQ(Made(Noise::kGaussian, picture, kNaN, 0), zeros);
    EXPECT_EQ(Made(Noise::kGaussian, picture, 0, kNaN), zeros);
    // The root of a negative number, except where its logarithm is 0; none of these draws is 0.
    EXPECT_EQ(Made(Noise::kGaussian, picture, -1, 0), zeros);
    EXPECT_EQ(Made(Noise::kGaussian, picture, 0, -kInfinity), zeros);
    EXPECT_EQ(Made(Noise::kGaussian, picture, 0, kInfinity), Words(50, Word(255, 255, 255, 255)));
}

TEST(NoiseSource, RowsFollowEachOtherWhateverTheirPitch) {
    constexpr ULong32 kWidth = 37, kHeight = 9, kFrom = 45, kTo = 40;
    Words from(kFrom * kHeight), to(kTo * kHeight, 0xAAAAAAAAU), joined(kWidth * kHeight),
        expected(joined.size());
    for (std::size_t i = 0; i < from.size(); ++i) {
        from[i] = static_cast<ULong32>(2246822519U * i);
        if (i % kFrom < kWidth) {
            joined[i / kFrom * kWidth + i % kFrom] = from[i];
        }
    }
    NoiseSource source;
    const std::function<void(Words&, Words&, ULong32, ULong32, ULong32, ULong32)> noises[] = {
        [&](Words& a, Words& b, ULong32 w, ULong32 h, ULong32 pa, ULong32 pb) {
            source.AddGaussian(a.data(), b.data(), w, h, pa, pb, 300, 1);
        },
        [&](Words& a, Words& b, ULong32 w, ULong32 h, ULong32 pa, ULong32 pb) {
            source.AddUniform(a.data(), b.data(), w, h, pa, pb, -30, 50);
        },
        [&](Words& a, Words& b, ULong32 w, ULong32 h, ULong32 pa, ULong32 pb) {
            source.UniformBitErrors(a.data(), b.data(), w, h, pa, pb, 0.2);
        }};
    for (const auto& noise : noises) {
        noise(joined, expected, kWidth * kHeight, 1, 0, 0);
        noise(from, to, kWidth, kHeight, 4 * kFrom, 4 * kTo);
        for (std::size_t y = 0; y < kHeight; ++y) {
            for (std::size_t x = 0; x < kTo; ++x) {
                ASSERT_EQ(to[y * kTo + x], x < kWidth ? expected[y * kWidth + x] : 0xAAAAAAAAU);
            }
        }
        // In place.
        Words same = from;
        noise(same, same, kWidth, kHeight, 4 * kFrom, 4 * kFrom);
        for (std::size_t y = 0; y < kHeight; ++y) {
            for (std::size_t x = 0; x < kFrom; ++x) {
                ASSERT_EQ(same[y * kFrom + x], x < kWidth ? expected[y * kWidth + x] : from[y * kFrom + x]);
            }
        }
    }
}

TEST(NoiseSource, CallsOnSeveralThreadsDrawNumbersOfTheirOwn) {
    // Two calls at once give what two calls in turn give, in either order.
    constexpr std::size_t kPixels = 20000;
    Words picture(kPixels, Word(100, 100, 100, 100)), a(kPixels), b(kPixels), first(kPixels), second(kPixels);
    NoiseSource repeated, free;
    free.EnableSameRandomSeed(false);
    Words none(1);
    const auto reset = [&] { repeated.AddUniform(none.data(), none.data(), 1, 1, 4, 4, 0, 1); };
    reset();
    Add(free, Noise::kUniform, picture, first, -100, 100);
    Add(free, Noise::kUniform, picture, second, -100, 100);
    for (int round = 0; round < 20; ++round) {
        reset();
        std::thread other([&] {
            NoiseSource mine = free;
            Add(mine, Noise::kUniform, picture, b, -100, 100);
        });
        Add(free, Noise::kUniform, picture, a, -100, 100);
        other.join();
        ASSERT_TRUE((a == first && b == second) || (a == second && b == first));
    }
}

TEST(NoiseSource, DistributionsAreThoseTheyAreNamedFor) {
    constexpr std::size_t kPixels = 500000, kSamples = 4 * kPixels;
    const Words picture(kPixels, Word(128, 128, 128, 128));
    const auto counts = [](const Words& noisy) {
        std::array<double, 256> count{};
        for (std::size_t i = 0; i < kSamples; ++i) {
            ++count[ByteOf(noisy, i)];
        }
        return count;
    };
    // Each bin holds its part of the samples, within five standard deviations.
    const auto expect = [](double count, double part, int bin) {
        const double expected = part * kSamples;
        EXPECT_NEAR(count, expected, 5 * std::sqrt(expected) + 3) << "value " << bin;
    };

    const auto normal = counts(Made(Noise::kGaussian, picture, 100, 0));
    double mean = 0, square = 0;
    for (int value = 0; value < 256; ++value) {
        const auto below = [](double x) { return 0.5 * std::erfc(-x / (10 * std::sqrt(2.0))); };
        expect(normal[static_cast<std::size_t>(value)], below(value - 127.5) - below(value - 128.5), value);
        mean += value * normal[static_cast<std::size_t>(value)] / kSamples;
    }
    for (int value = 0; value < 256; ++value) {
        square += (value - mean) * (value - mean) * normal[static_cast<std::size_t>(value)] / kSamples;
    }
    EXPECT_NEAR(mean, 128, 0.04);
    EXPECT_NEAR(square, 100 + 1.0 / 12, 0.5);

    // From 28 to 228 evenly, the outermost two with half a share.
    const auto even = counts(Made(Noise::kUniform, picture, -100, 100));
    for (int value = 0; value < 256; ++value) {
        const double share = value == 28 || value == 228 ? 0.5 : value > 28 && value < 228 ? 1 : 0;
        expect(even[static_cast<std::size_t>(value)], share / 200, value);
    }

    // 0.01 * 32767 + 0.5 is 328.17: 329 of 32768 draws flip.
    const Words zeros(kPixels, 0);
    const Words errors = Made(Noise::kErrors, zeros, 0.01);
    std::array<double, 8> flips{};
    for (std::size_t i = 0; i < kSamples; ++i) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            flips[bit] += ByteOf(errors, i) >> bit & 1;
        }
    }
    for (int bit = 0; bit < 8; ++bit) {
        expect(flips[static_cast<std::size_t>(bit)], 329.0 / 32768, bit);
    }
}
