#include <TesselU/vector/Operations3D.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "foundation/CapabilitySeam.h"

using namespace Zan;

namespace {

using Floats = std::vector<float>;

constexpr ProcessingStyleEnum kEveryStyle[] = {
    kFlp, kFP, kInt_MMXorSIMD, kFlp_SIMD, kStyle4, kBestAvailable, kGeneralFormat};
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::uint32_t Bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

Floats Repeated(const Floats& values, std::size_t times) {
    Floats all;
    for (std::size_t i = 0; i < times; ++i) {
        all.insert(all.end(), values.begin(), values.end());
    }
    return all;
}

/// Interleaved vectors of lengths from 1/8 to 8.
Floats RandomVectors(std::size_t n) {
    std::mt19937 random(7);
    std::normal_distribution<float> direction;
    std::uniform_real_distribution<float> logarithm(-3, 3);
    Floats all;
    while (all.size() < 3 * n) {
        float v[3] = {direction(random), direction(random), direction(random)};
        const float length = std::hypot(v[0], v[1], v[2]);
        if (length < 0.1F) {
            continue;
        }
        const float scale = std::exp2(logarithm(random)) / length;
        for (const float c : v) {
            all.push_back(c * scale);
        }
    }
    return all;
}

/// The arrays of `n` vectors, and the record of their addresses.
struct Arrays {
    explicit Arrays(const Floats& interleaved) {
        for (std::size_t i = 0; i < interleaved.size(); i += 3) {
            x.push_back(interleaved[i]);
            y.push_back(interleaved[i + 1]);
            z.push_back(interleaved[i + 2]);
        }
    }
    SoA_3D Record() { return {x.data(), y.data(), z.data(), static_cast<ULong32>(x.size())}; }

    Floats x, y, z;
};

Floats NormalizedInPlace(Floats v, ProcessingStyleEnum style) {
    EXPECT_EQ(Operations3D::NormalizeVectors(v.data(), static_cast<ULong32>(v.size() / 3), style), 0);
    return v;
}
Floats Normalized(Floats v, ProcessingStyleEnum style) {
    Floats out(v.size());
    EXPECT_EQ(Operations3D::NormalizeVectors(v.data(), out.data(), static_cast<ULong32>(v.size() / 3), style),
              0);
    return out;
}
/// By way of arrays, interleaved again.
Floats NormalizedArrays(const Floats& v, ProcessingStyleEnum style) {
    Arrays arrays(v);
    EXPECT_EQ(Operations3D::NormalizeVectors(arrays.Record(), style), 0);
    Floats out;
    for (std::size_t i = 0; i < arrays.x.size(); ++i) {
        out.insert(out.end(), {arrays.x[i], arrays.y[i], arrays.z[i]});
    }
    return out;
}
/// By way of blocks of four, interleaved again.
Floats NormalizedBlocks(const Floats& v, ProcessingStyleEnum style) {
    const std::size_t n = v.size() / 3;
    Floats blocks(v.size()), out(v.size());
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            blocks[i / 4 * 12 + 4 * c + i % 4] = v[3 * i + c];
        }
    }
    Floats made(v.size());
    EXPECT_EQ(
        Operations3D::NormalizeVectors_SoAoS(blocks.data(), made.data(), static_cast<ULong32>(n), style), 0);
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            out[3 * i + c] = made[i / 4 * 12 + 4 * c + i % 4];
        }
    }
    return out;
}

TEST(Operations3D, LengthsOfVectors) {
    Floats v = {3, 4, 0, 1, 2, 2, -2, 3, 6, 0, 0, 0, 0, -5, 12};
    const Floats expected = {5, 3, 7, 0, 13};
    for (const ProcessingStyleEnum style : kEveryStyle) {
        Floats length(5, -1);
        EXPECT_EQ(Operations3D::LengthOfVectors(v.data(), length.data(), 5, style), 0);
        EXPECT_EQ(length, expected);
    }
}

TEST(Operations3D, LengthsInSinglePrecisionOverflowInBlocksOfFourAndNotBeyond) {
    Floats v = Repeated({3e30F, 4e30F, 0}, 6), length(6);
    Operations3D::LengthOfVectors(v.data(), length.data(), 6, kFlp_SIMD);
    EXPECT_EQ(length, (Floats{kInfinity, kInfinity, kInfinity, kInfinity, 5e30F, 5e30F}));
    Operations3D::LengthOfVectors(v.data(), length.data(), 6, kBestAvailable);
    EXPECT_EQ(length, Floats(6, 5e30F));
}

TEST(Operations3D, NormalsInDoubles) {
    const Floats v = {3, 4, 0, 0, -8, 6, 0, 0, -7};
    const Floats expected = {0.6F, 0.8F, 0, 0, -0.8F, 0.6F, 0, 0, -1};
    for (const ProcessingStyleEnum style : kEveryStyle) {
        EXPECT_EQ(NormalizedInPlace(v, style), expected);
        if (style != kFlp_SIMD) {
            EXPECT_EQ(Normalized(v, style), expected);
            EXPECT_EQ(NormalizedArrays(v, style), expected);
        }
    }
}

TEST(Operations3D, InPlaceInterleavedNormalsAreInDoublesWhateverTheStyle) {
    const Floats v = RandomVectors(64), expected = NormalizedInPlace(v, kFlp);
    EXPECT_EQ(NormalizedInPlace(v, kFlp_SIMD), expected);
    EXPECT_EQ(Normalized(v, kFlp), expected);
    EXPECT_NE(Normalized(v, kFlp_SIMD), expected);
}

TEST(Operations3D, ZeroVectorsStayZeroOnEveryPath) {
    const Floats zeros = Repeated({0, -0.0F, 0}, 11);
    for (const ProcessingStyleEnum style : kEveryStyle) {
        EXPECT_EQ(NormalizedInPlace(zeros, style), zeros);
        EXPECT_EQ(Normalized(zeros, style), zeros);
        EXPECT_EQ(NormalizedArrays(zeros, style), zeros);
    }
    const Floats blocks = Repeated({0, -0.0F, 0}, 12);
    EXPECT_EQ(NormalizedBlocks(blocks, kFlp_SIMD), blocks);
}

TEST(Operations3D, SignsOfZeroAreKept) {
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
        const Floats out = Normalized(Repeated({-0.0F, 2, 0}, 5), style);
        for (std::size_t i = 0; i < 5; ++i) {
            EXPECT_TRUE(std::signbit(out[3 * i]));
            EXPECT_FALSE(std::signbit(out[3 * i + 2]));
        }
    }
}

TEST(Operations3D, EstimatesHaveTheirDocumentedBits) {
    // 1 / 5, by the length of (3, 4, 0), and by the square of it. The products are exact.
    const float byLength = std::bit_cast<float>(0x3E4CCE4DU), bySquare = std::bit_cast<float>(0x3E4CD128U);
    const Floats v = Repeated({4, 2, 2}, 4), unit = Repeated({5, 0, 0}, 4);
    EXPECT_EQ(Normalized(unit, kFlp_SIMD), Repeated({5 * byLength, 0, 0}, 4));
    EXPECT_EQ(NormalizedArrays(unit, kFlp_SIMD), Repeated({5 * bySquare, 0, 0}, 4));
    EXPECT_EQ(NormalizedBlocks(unit, kFlp_SIMD), Repeated({5 * bySquare, 0, 0}, 4));
    const Floats slanted = Repeated({4, -2, 2}, 4);  // 24, whose root is no float
    EXPECT_NE(NormalizedArrays(slanted, kFlp_SIMD), NormalizedArrays(slanted, kFlp));
    for (std::size_t i = 0; i < 4; ++i) {
        const Floats normal = Normalized(Repeated({3, 0, 4}, 4), kFlp_SIMD);
        EXPECT_EQ(Bits(normal[3 * i]), Bits(3 * byLength));
        EXPECT_EQ(Bits(normal[3 * i + 2]), Bits(4 * byLength));
    }
}

TEST(Operations3D, TheLimitIsOnTheLengthOrOnItsSquare) {
    const Floats v = Repeated({0.00001F, 0, 0}, 4);
    EXPECT_EQ(Normalized(v, kFlp)[0], 1.0F);
    EXPECT_EQ(NormalizedArrays(v, kFlp)[0], 1.0F);
    EXPECT_NEAR(Normalized(v, kFlp_SIMD)[0], 1.0F, 1.3e-4F);
    EXPECT_NEAR(NormalizedArrays(v, kFlp_SIMD)[0], 0.316228F, 3.2e-5F);
    EXPECT_NEAR(NormalizedBlocks(v, kFlp_SIMD)[0], 0.316228F, 3.2e-5F);

    // Shorter than the limit: a tenth of the length is left.
    const Floats shorter = Repeated({0, 1e-10F, 0}, 4);
    EXPECT_NEAR(Normalized(shorter, kFlp)[1], 0.1F, 1e-6F);
    EXPECT_NEAR(Normalized(shorter, kFlp_SIMD)[1], 0.1F, 1.4e-5F);
    // Exactly the limit: the same either way.
    EXPECT_EQ(Normalized(Repeated({1e-9F, 0, 0}, 4), kFlp)[0], 1.0F);
}

TEST(Operations3D, InfiniteLengthsInSinglePrecisionGiveNothing) {
    const Floats v = Repeated({1e20F, -1e20F, 0}, 5);
    const Floats out = Normalized(v, kFlp_SIMD), arrays = NormalizedArrays(v, kFlp_SIMD);
    for (std::size_t i = 0; i < 12; ++i) {
        EXPECT_EQ(out[i], 0.0F);
        EXPECT_EQ(arrays[i], 0.0F);
    }
    EXPECT_TRUE(std::signbit(out[1]));
    // The fifth goes through doubles.
    const float half = static_cast<float>(std::sqrt(0.5));
    EXPECT_EQ(out[12], half);
    EXPECT_EQ(out[13], -half);
    EXPECT_EQ(arrays[12], half);
    // The longest that are served.
    EXPECT_NEAR(Normalized(Repeated({1.8e19F, 0, 0}, 4), kFlp_SIMD)[0], 1.0F, 1.3e-4F);
    EXPECT_NEAR(NormalizedArrays(Repeated({1.8e19F, 0, 0}, 4), kFlp_SIMD)[0], 1.0F, 1e-4F);
}

TEST(Operations3D, WhatIsNoNumberStaysWithItsVector) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
        for (const Floats& out : {Normalized(Repeated({nan, 1e-9F, 0}, 4), style),
                                  NormalizedArrays(Repeated({nan, 0, 0}, 4), style),
                                  Normalized(Repeated({0, kInfinity, 0}, 4), style)}) {
            EXPECT_EQ(std::count_if(out.begin(), out.end(), [](float v) { return std::isnan(v); }), 4);
        }
        // Its length counts as 1e-9, so that the other components are as long as ever.
        const Floats out = Normalized(Repeated({nan, 1e-9F, 0}, 4), style);
        EXPECT_NEAR(out[1], 1.0F, 1.3e-4F);
        EXPECT_EQ(out[2], 0.0F);
    }
}

TEST(Operations3D, BlocksOfFourInSinglePrecisionAndTheRestInDoubles) {
    for (std::size_t n = 0; n <= 67; ++n) {
        const Floats v = RandomVectors(n), doubles = NormalizedInPlace(v, kFlp);
        const Floats whole = RandomVectors(68), single = Normalized(whole, kFlp_SIMD),
                     arrays = NormalizedArrays(whole, kFlp_SIMD);
        const std::size_t split = n / 4 * 12;
        for (const auto& [got, fast] : {std::pair(Normalized(v, kFlp_SIMD), &single),
                                        std::pair(NormalizedArrays(v, kFlp_SIMD), &arrays)}) {
            for (std::size_t i = 0; i < 3 * n; ++i) {
                EXPECT_EQ(got[i], i < split ? (*fast)[i] : doubles[i]) << n << " vectors, float " << i;
            }
        }
        EXPECT_NE(single, NormalizedInPlace(whole, kFlp));
    }
}

TEST(Operations3D, FiveVectorsTakeOneStepOfFourAndOneOfOne) {
    const Floats v = RandomVectors(5);
    const Floats exact = NormalizedArrays(v, kFlp), fast = NormalizedArrays(v, kFlp_SIMD);
    EXPECT_FALSE(std::equal(exact.begin(), exact.begin() + 12, fast.begin()));
    EXPECT_TRUE(std::equal(exact.begin() + 12, exact.end(), fast.begin() + 12));
}

TEST(Operations3D, BlocksOfFourLeaveTheRestUnwritten) {
    Floats v = Repeated({2, 2, 2, 2, 2, 2, 2, 2, 1, 1, 1, 1}, 2);  // lengths of 3
    for (ULong32 n = 0; n < 8; ++n) {
        Floats out(24, -5);
        EXPECT_EQ(Operations3D::NormalizeVectors_SoAoS(v.data(), out.data(), n, kFlp_SIMD), 0);
        for (std::size_t i = 0; i < 24; ++i) {
            if (i >= n / 4 * 12) {
                EXPECT_EQ(out[i], -5.0F);
            } else {
                EXPECT_NEAR(out[i], i % 12 < 8 ? 2.0F / 3 : 1.0F / 3, 7e-5F);
            }
        }
    }
}

TEST(Operations3D, BlocksOfFourAreTriplesOutsideOfTheirStyle) {
    Floats v = RandomVectors(7);
    const Floats triples = NormalizedInPlace(v, kFlp);
    for (const ProcessingStyleEnum style : kEveryStyle) {
        Floats out(21);
        Operations3D::NormalizeVectors_SoAoS(v.data(), out.data(), 7, style);
        EXPECT_EQ(out == triples, style != kFlp_SIMD);
    }
    const ScopedInstructionSet lowered(kSSE_MMX);
    Floats out(21);
    Operations3D::NormalizeVectors_SoAoS(v.data(), out.data(), 7, kFlp_SIMD);
    EXPECT_EQ(out, triples);
}

TEST(Operations3D, OnlyProcessorsWithSSETakeTheSinglePrecisionForm) {
    const Floats v = RandomVectors(8), doubles = NormalizedInPlace(v, kFlp);
    Floats source = v, length(8), exact(8);
    Operations3D::LengthOfVectors(source.data(), exact.data(), 8, kFlp);
    for (const CPUinstructionSetEnum set : {kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2}) {
        const ScopedInstructionSet scope(set);
        EXPECT_EQ(Normalized(v, kFlp_SIMD) == doubles, set < kSIMD);
        EXPECT_EQ(NormalizedArrays(v, kFlp_SIMD) == doubles, set < kSIMD);
    }
}

TEST(Operations3D, SinglePrecisionDiffersAtAboutTheTwelfthBit) {
    const Floats v = RandomVectors(100000);
    const Floats exact = Normalized(v, kFlp);
    for (const Floats& fast : {Normalized(v, kFlp_SIMD), NormalizedArrays(v, kFlp_SIMD)}) {
        float most = 0;
        for (std::size_t i = 0; i < v.size(); ++i) {
            most = std::max(most, std::fabs(fast[i] - exact[i]));
        }
        EXPECT_GT(most, std::ldexp(1.0F, -15));
        EXPECT_LT(most, std::ldexp(1.0F, -11));
    }
}

TEST(Operations3D, TheSmallerOfTwoCountsHolds) {
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
        for (const auto& [from, to] : {std::pair(9U, 6U), std::pair(6U, 9U)}) {
            Arrays src(Repeated({0, 0, 7}, 9)), dst(Repeated({-5, -5, -5}, 9));
            SoA_3D source = src.Record(), destination = dst.Record();
            source.count = from;
            destination.count = to;
            EXPECT_EQ(Operations3D::NormalizeVectors(source, destination, style), 0);
            for (std::size_t i = 0; i < 9; ++i) {
                EXPECT_EQ(dst.x[i], i < 6 ? 0.0F : -5.0F);
                EXPECT_NEAR(dst.z[i], i < 6 ? 1.0F : -5.0F, 1e-4F);
            }
        }
    }
}

TEST(Operations3D, ArraysMayChangePlaces) {
    // x goes where y was, y where z was, z where x was.
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
        const Floats v = RandomVectors(37), expected = NormalizedArrays(v, style);
        Arrays arrays(v);
        const SoA_3D source = arrays.Record();
        Operations3D::NormalizeVectors(source, {source.y, source.z, source.x, source.count}, style);
        for (std::size_t i = 0; i < 37; ++i) {
            EXPECT_EQ(arrays.y[i], expected[3 * i]);
            EXPECT_EQ(arrays.z[i], expected[3 * i + 1]);
            EXPECT_EQ(arrays.x[i], expected[3 * i + 2]);
        }
    }
}

TEST(Operations3D, ScaledVectors) {
    for (const ProcessingStyleEnum style : kEveryStyle) {
        Floats v = {1, 2, 3, -4, 0, 0.5F};
        EXPECT_EQ(Operations3D::ScaleVectors(-2, v.data(), 2, style), 0);
        EXPECT_EQ(v, (Floats{-2, -4, -6, 8, 0, -1}));
    }
}

TEST(Operations3D, DotProducts) {
    Floats a = {1, 2, 3, 4, 5, 6}, b = {7, -8, 9, 0.5F, 0, -1};
    for (const ProcessingStyleEnum style : kEveryStyle) {
        Floats result(2);
        EXPECT_EQ(Operations3D::DotProduct(a.data(), b.data(), result.data(), 2, style), 0);
        EXPECT_EQ(result, (Floats{18, -4}));
    }
}

TEST(Operations3D, DotProductsAreSummedInDoublesFromLeftToRight) {
    // 2^60 swallows 1 in either precision; 2^30 only in single precision.
    const float large = std::ldexp(1.0F, 30), huge = std::ldexp(1.0F, 60);
    Floats a = {large, 1, -large, huge, 1, -huge, huge, -huge, 1}, b(9, 1);
    Floats result(3);
    Operations3D::DotProduct(a.data(), b.data(), result.data(), 3, kFlp_SIMD);
    EXPECT_EQ(result, (Floats{1, 0, 1}));
}

TEST(Operations3D, CrossProducts) {
    Floats a = {1, 0, 0, 0, 1, 0, 1, 2, 3}, b = {0, 1, 0, 1, 0, 0, 4, 5, 6};
    for (const ProcessingStyleEnum style : kEveryStyle) {
        Floats result(9);
        EXPECT_EQ(Operations3D::CrossProduct(a.data(), b.data(), result.data(), 3, style), 0);
        EXPECT_EQ(result, (Floats{0, 0, 1, 0, 0, -1, -3, 6, -3}));
    }
}

TEST(Operations3D, CrossProductsAreRoundedOnce) {
    // (1 + 2^-12)^2 - 1 = 2^-11 + 2^-24: a product in single precision would lose the last term.
    const float a = 1 + std::ldexp(1.0F, -12);
    Floats v = {0, a, 1, 0, 1, a}, w = {0, 1, a, 0, a, 1}, result(6);
    Operations3D::CrossProduct(v.data(), w.data(), result.data(), 2, kFlp_SIMD);
    const float expected = std::ldexp(1.0F, -11) + std::ldexp(1.0F, -24);
    EXPECT_EQ(result, (Floats{expected, 0, 0, -expected, 0, 0}));
}

TEST(Operations3D, ConstantVectors) {
    Floats v = {1, 2, 3, 4, 5, 6, 7, 8, 9}, c = {10, -20, 0.5F};
    for (const ProcessingStyleEnum style : kEveryStyle) {
        Floats sum(9), difference(9);
        EXPECT_EQ(Operations3D::AddConstantVector(v.data(), c.data(), sum.data(), 3, style), 0);
        EXPECT_EQ(sum, (Floats{11, -18, 3.5F, 14, -15, 6.5F, 17, -12, 9.5F}));
        EXPECT_EQ(Operations3D::SubtractConstantVector(v.data(), c.data(), difference.data(), 3, style), 0);
        EXPECT_EQ(difference, (Floats{-9, 22, 2.5F, -6, 25, 5.5F, -3, 28, 8.5F}));
    }
}

TEST(Operations3D, DifferencesOfZerosHaveTheSignOfASubtraction) {
    Floats v = {0, -0.0F, 0}, c = {0, 0, -0.0F}, out(3);
    Operations3D::SubtractConstantVector(v.data(), c.data(), out.data(), 1, kFlp);
    EXPECT_EQ(Bits(out[0]), 0U);
    EXPECT_EQ(Bits(out[1]), 0x80000000U);
    EXPECT_EQ(Bits(out[2]), 0U);
}

TEST(Operations3D, TheConstantVectorMayLieInTheDestination) {
    for (const std::size_t at : {0U, 3U, 57U}) {
        Floats v(60, 1);
        std::iota(v.begin() + static_cast<std::ptrdiff_t>(at),
                  v.begin() + static_cast<std::ptrdiff_t>(at) + 3, 10.0F);
        Floats expected = v;
        for (std::size_t i = 0; i < 60; ++i) {
            expected[i] += static_cast<float>(10 + i % 3);
        }
        Operations3D::AddConstantVector(v.data(), v.data() + at, v.data(), 20, kFlp);
        EXPECT_EQ(v, expected);
    }
}

TEST(Operations3D, SumsOfVectors) {
    Floats a = {1, 2, 3, 4, 5, 6}, b = {0.5F, -2, 1e-30F, 0, 0, 7};
    for (const ProcessingStyleEnum style : kEveryStyle) {
        Floats sum(6);
        EXPECT_EQ(Operations3D::AddVectors(a.data(), b.data(), sum.data(), 2, style), 0);
        EXPECT_EQ(sum, (Floats{1.5F, 0, 3, 4, 5, 13}));
    }
}

TEST(Operations3D, ScaledSums) {
    Floats sa = {2, 3}, a = {1, 2, 3, 4, 5, 6}, sb = {-1, 10}, b = {1, 1, 1, 0, 1, 2};
    for (const ProcessingStyleEnum style : kEveryStyle) {
        Floats out(6);
        EXPECT_EQ(
            Operations3D::AddScaledVectors(sa.data(), a.data(), sb.data(), b.data(), out.data(), 2, style),
            0);
        EXPECT_EQ(out, (Floats{1, 3, 5, 12, 25, 38}));
        EXPECT_EQ(Operations3D::AddScaledVectors(2.0F, a.data(), sb.data(), b.data(), out.data(), 2, style),
                  0);
        EXPECT_EQ(out, (Floats{1, 3, 5, 8, 20, 32}));
        EXPECT_EQ(Operations3D::AddScaledVectors(sa.data(), a.data(), 4.0F, b.data(), out.data(), 2, style),
                  0);
        EXPECT_EQ(out, (Floats{6, 8, 10, 12, 19, 26}));
        EXPECT_EQ(Operations3D::AddScaledVectors(2.0F, a.data(), 4.0F, b.data(), out.data(), 2, style), 0);
        EXPECT_EQ(out, (Floats{6, 8, 10, 8, 14, 20}));
    }
}

TEST(Operations3D, ScaledSumsAreRoundedOnce) {
    // As in the cross product: (1 + 2^-12)^2 - 1.
    const float s = 1 + std::ldexp(1.0F, -12);
    const float expected = std::ldexp(1.0F, -11) + std::ldexp(1.0F, -24);
    for (const std::size_t n : {1U, 16U, 37U}) {
        Floats sa(n, s), a(3 * n, s), sb(n, -1), b(3 * n, 1), out(3 * n);
        const auto count = static_cast<ULong32>(n);
        Operations3D::AddScaledVectors(sa.data(), a.data(), sb.data(), b.data(), out.data(), count,
                                       kFlp_SIMD);
        EXPECT_EQ(out, Floats(3 * n, expected));
        Operations3D::AddScaledVectors(s, a.data(), sb.data(), b.data(), out.data(), count, kFlp_SIMD);
        EXPECT_EQ(out, Floats(3 * n, expected));
        Operations3D::AddScaledVectors(sa.data(), a.data(), -1.0F, b.data(), out.data(), count, kFlp_SIMD);
        EXPECT_EQ(out, Floats(3 * n, expected));
        Operations3D::AddScaledVectors(s, a.data(), -1.0F, b.data(), out.data(), count, kFlp_SIMD);
        EXPECT_EQ(out, Floats(3 * n, expected));
    }
}

TEST(Operations3D, DestinationsMayBeOperands) {
    for (std::size_t n = 0; n <= 67; ++n) {
        const auto count = static_cast<ULong32>(n);
        const Floats a = RandomVectors(n);
        Floats b(a.rbegin(), a.rend()), scales(3 * n), others(3 * n);
        std::iota(scales.begin(), scales.end(), 1.0F);
        std::iota(others.begin(), others.end(), -20.0F);

        Floats in = a, out(3 * n), length(n);
        for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
            in = a;
            Operations3D::LengthOfVectors(in.data(), length.data(), count, style);
            Operations3D::LengthOfVectors(in.data(), in.data(), count, style);
            EXPECT_TRUE(std::equal(length.begin(), length.end(), in.begin()));

            in = a;
            Operations3D::NormalizeVectors(in.data(), in.data(), count, style);
            EXPECT_EQ(in, Normalized(a, style));

            in = a;
            Operations3D::NormalizeVectors_SoAoS(in.data(), out.data(), count, style);
            Operations3D::NormalizeVectors_SoAoS(in.data(), in.data(), count, style);
            EXPECT_TRUE(
                std::equal(in.begin(), in.begin() + static_cast<std::ptrdiff_t>(n / 4 * 12), out.begin()));
        }

        in = a;
        Operations3D::DotProduct(in.data(), b.data(), length.data(), count, kFlp);
        Operations3D::DotProduct(in.data(), b.data(), in.data(), count, kFlp);
        EXPECT_TRUE(std::equal(length.begin(), length.end(), in.begin()));

        in = a;
        Operations3D::CrossProduct(in.data(), b.data(), out.data(), count, kFlp);
        Operations3D::CrossProduct(in.data(), b.data(), in.data(), count, kFlp);
        EXPECT_EQ(in, out);
        in = b;
        Floats left = a;
        Operations3D::CrossProduct(left.data(), in.data(), in.data(), count, kFlp);
        EXPECT_EQ(in, out);

        in = a;
        Operations3D::AddVectors(in.data(), b.data(), out.data(), count, kFlp);
        Operations3D::AddVectors(in.data(), b.data(), in.data(), count, kFlp);
        EXPECT_EQ(in, out);

        // Into the vectors, and into either array of scales.
        in = a;
        Operations3D::AddScaledVectors(scales.data(), in.data(), others.data(), b.data(), out.data(), count,
                                       kFlp);
        Operations3D::AddScaledVectors(scales.data(), in.data(), others.data(), b.data(), in.data(), count,
                                       kFlp);
        EXPECT_EQ(in, out);
        in = scales;
        Operations3D::AddScaledVectors(in.data(), left.data(), others.data(), b.data(), in.data(), count,
                                       kFlp);
        EXPECT_EQ(in, out);
        in = others;
        Operations3D::AddScaledVectors(scales.data(), left.data(), in.data(), b.data(), in.data(), count,
                                       kFlp);
        EXPECT_EQ(in, out);
    }
}

TEST(Operations3D, NothingIsTouchedWithoutVectors) {
    for (const ProcessingStyleEnum style : kEveryStyle) {
        float* const none = nullptr;
        const SoA_3D empty = {nullptr, nullptr, nullptr, 0}, unused = {nullptr, nullptr, nullptr, 8};
        EXPECT_EQ(Operations3D::LengthOfVectors(none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::NormalizeVectors(none, 0, style), 0);
        EXPECT_EQ(Operations3D::NormalizeVectors(none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::NormalizeVectors(empty, style), 0);
        EXPECT_EQ(Operations3D::NormalizeVectors(unused, empty, style), 0);
        EXPECT_EQ(Operations3D::NormalizeVectors(empty, unused, style), 0);
        EXPECT_EQ(Operations3D::NormalizeVectors_SoAoS(none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::ScaleVectors(2, none, 0, style), 0);
        EXPECT_EQ(Operations3D::DotProduct(none, none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::CrossProduct(none, none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::AddConstantVector(none, none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::SubtractConstantVector(none, none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::AddVectors(none, none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::AddScaledVectors(none, none, none, none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::AddScaledVectors(1.0F, none, none, none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::AddScaledVectors(none, none, 1.0F, none, none, 0, style), 0);
        EXPECT_EQ(Operations3D::AddScaledVectors(1.0F, none, 1.0F, none, none, 0, style), 0);
    }
}

TEST(Operations3D, AnObjectCanBeAsked) {
    Operations3D operations;
    Floats v = {0, 3, 4}, length(1);
    EXPECT_EQ(operations.LengthOfVectors(v.data(), length.data(), 1, kBestAvailable), 0);
    EXPECT_EQ(length[0], 5.0F);
}

}  // namespace
