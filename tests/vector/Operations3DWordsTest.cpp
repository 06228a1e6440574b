// What operations on batches of vectors promise, in numbers worked out by hand.

#include <TesselU/vector/Operations3D.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/CapabilitySeam.h"
#include "vector/VectorOperations.h"

using namespace vector_test;
using vector_model::BitsOf;
using Zan::Operations3D;
using Zan::SoA_3D;
using Zan::ULong32;

namespace {

class Operations3DWords : public ::testing::Test {
protected:
    const Zan::ScopedInstructionSet set{Zan::kSSE2};
};

TEST_F(Operations3DWords, AnObjectCanCallToo) {
    Operations3D operations;
    float v[3] = {3, 0, -4}, length = 0;
    EXPECT_EQ(operations.LengthOfVectors(v, &length, 1, Zan::kFlp), 0);
    EXPECT_EQ(length, 5.0F);
    EXPECT_EQ(operations.ScaleVectors(-2.0F, v, 1, Zan::kFlp), 0);
    EXPECT_EQ(v[0], -6.0F);
    EXPECT_EQ(v[2], 8.0F);
}

TEST_F(Operations3DWords, ProductsAndSums) {
    float a[6] = {1, 2, 3, 1, 0, 0}, b[6] = {5, -7, 11, 0, 1, 0}, c[3] = {10, 20, 30}, out[6], dots[2];
    float sa[2] = {2, 3}, sb[2] = {-1, 5};
    Operations3D::DotProduct(a, b, dots, 2, Zan::kFlp);
    EXPECT_EQ(Floats(dots, dots + 2), (Floats{24, 0}));
    Operations3D::CrossProduct(a, b, out, 2, Zan::kFlp);
    EXPECT_EQ(Floats(out, out + 6), (Floats{43, 4, -17, 0, 0, 1}));
    Operations3D::AddConstantVector(a, c, out, 2, Zan::kFlp);
    EXPECT_EQ(Floats(out, out + 6), (Floats{11, 22, 33, 11, 20, 30}));
    Operations3D::SubtractConstantVector(a, c, out, 2, Zan::kFlp);
    EXPECT_EQ(Floats(out, out + 6), (Floats{-9, -18, -27, -9, -20, -30}));
    Operations3D::AddVectors(a, b, out, 2, Zan::kFlp);
    EXPECT_EQ(Floats(out, out + 6), (Floats{6, -5, 14, 1, 1, 0}));
    Operations3D::AddScaledVectors(sa, a, sb, b, out, 2, Zan::kFlp);
    EXPECT_EQ(Floats(out, out + 6), (Floats{-3, 11, -5, 3, 5, 0}));
    Operations3D::AddScaledVectors(10.0F, a, sb, b, out, 2, Zan::kFlp);
    EXPECT_EQ(Floats(out, out + 6), (Floats{5, 27, 19, 10, 5, 0}));
    Operations3D::AddScaledVectors(sa, a, 10.0F, b, out, 2, Zan::kFlp);
    EXPECT_EQ(Floats(out, out + 6), (Floats{52, -66, 116, 3, 10, 0}));
    Operations3D::AddScaledVectors(10.0F, a, -1.0F, b, out, 2, Zan::kFlp);
    EXPECT_EQ(Floats(out, out + 6), (Floats{5, 27, 19, 10, -1, 0}));
}

// A product of floats is exact in doubles: the square of 1 + 2^-23 less 1 + 2^-22 leaves 2^-46, in floats
// nothing.
TEST_F(Operations3DWords, SumsOfProductsAreMadeInDoubles) {
    const float next = 1 + 0x1p-23F;
    for (const auto style : {Zan::kFlp, Zan::kFlp_SIMD, Zan::kBestAvailable}) {
        float a[15], b[15], dots[5], crosses[15], sums[15];
        for (std::size_t i = 0; i < 5; ++i) {
            const float ai[3] = {next, 1 + 0x1p-22F, 0}, bi[3] = {next, -1, 0};
            std::copy(ai, ai + 3, a + 3 * i);
            std::copy(bi, bi + 3, b + 3 * i);
        }
        Operations3D::DotProduct(a, b, dots, 5, style);
        for (const float dot : dots) {
            EXPECT_EQ(dot, 0x1p-46F);
        }
        // With (1, next, 0) for b the z of the product is the same number.
        for (std::size_t i = 0; i < 5; ++i) {
            b[3 * i] = 1;
            b[3 * i + 1] = next;
        }
        Operations3D::CrossProduct(a, b, crosses, 5, style);
        Operations3D::AddScaledVectors(next, a, -1.0F, a, sums, 5, style);
        for (std::size_t i = 0; i < 5; ++i) {
            EXPECT_EQ(crosses[3 * i + 2], 0x1p-46F);
            // next * next - next = 2^-23 + 2^-46.
            EXPECT_EQ(sums[3 * i], 0x1p-23F + 0x1p-46F);
        }
    }
}

TEST_F(Operations3DWords, ZeroVectorsStayZero) {
    for (const auto style : {Zan::kFlp, Zan::kFlp_SIMD}) {
        for (const float zero : {0.0F, -0.0F}) {
            Floats v(27, zero), interleaved(27, 7.0F), blocks(27, 7.0F), x(9, zero), y(9, zero), z(9, zero);
            Operations3D::NormalizeVectors(v.data(), interleaved.data(), 9, style);
            Operations3D::NormalizeVectors_SoAoS(v.data(), blocks.data(), 9, style);
            SoA_3D structure;
            structure.x = x.data();
            structure.y = y.data();
            structure.z = z.data();
            structure.count = 9;
            Operations3D::NormalizeVectors(structure, style);
            Operations3D::NormalizeVectors(v.data(), 9, style);
            for (std::size_t i = 0; i < 27; ++i) {
                EXPECT_EQ(BitsOf(interleaved[i]), BitsOf(zero));
                EXPECT_EQ(BitsOf(v[i]), BitsOf(zero));
                EXPECT_EQ(BitsOf(blocks[i]), BitsOf(style == Zan::kFlp || i < 24 ? zero : 7.0F));
            }
            for (std::size_t i = 0; i < 9; ++i) {
                EXPECT_EQ(BitsOf(x[i]), BitsOf(zero));
                EXPECT_EQ(BitsOf(y[i]), BitsOf(zero));
                EXPECT_EQ(BitsOf(z[i]), BitsOf(zero));
            }
        }
    }
}

// 1 / sqrt(25) is 0x3E4CD128 as it is estimated, 1 / 5 is 0x3E4CCE4D; the fifth vector is worked out in
// doubles.
TEST_F(Operations3DWords, FiveVectorsAreOneBlockAndOneByItself) {
    const float byRoot = vector_model::FloatOf(0x3E4CD128U), byLength = vector_model::FloatOf(0x3E4CCE4DU);
    Floats x(5, 3.0F), y(5, 4.0F), z(5, 0.0F), v, out(15);
    for (int i = 0; i < 5; ++i) {
        v.insert(v.end(), {3.0F, 4.0F, 0.0F});
    }
    SoA_3D structure;
    structure.x = x.data();
    structure.y = y.data();
    structure.z = z.data();
    structure.count = 5;
    for (const Zan::simd::Target target : Targets()) {
        const Zan::simd::ScopedTarget limit(target);
        std::fill(x.begin(), x.end(), 3.0F);
        std::fill(y.begin(), y.end(), 4.0F);
        Operations3D::NormalizeVectors(structure, Zan::kFlp_SIMD);
        Operations3D::NormalizeVectors(v.data(), out.data(), 5, Zan::kFlp_SIMD);
        for (std::size_t i = 0; i < 5; ++i) {
            EXPECT_EQ(x[i], i < 4 ? 3 * byRoot : 0.6F);
            EXPECT_EQ(y[i], i < 4 ? 4 * byRoot : 0.8F);
            EXPECT_EQ(out[3 * i], i < 4 ? 3 * byLength : 0.6F);
            EXPECT_EQ(out[3 * i + 1], i < 4 ? 4 * byLength : 0.8F);
        }
    }
}

TEST_F(Operations3DWords, TheLimitActsOnTheLengthOrOnItsSquare) {
    Floats v, out(12), x(4, 0.00001F), y(4, 0.0F), z(4, 0.0F), blocks(12, 0.0F);
    for (int i = 0; i < 4; ++i) {
        v.insert(v.end(), {0.00001F, 0.0F, 0.0F});
        blocks[static_cast<std::size_t>(i)] = 0.00001F;
    }
    Operations3D::NormalizeVectors(v.data(), out.data(), 4, Zan::kFlp);
    EXPECT_EQ(out[9], 1.0F);
    Operations3D::NormalizeVectors(v.data(), out.data(), 4, Zan::kFlp_SIMD);
    EXPECT_NEAR(out[9], 1.0F, 2e-4);
    SoA_3D structure;
    structure.x = x.data();
    structure.y = y.data();
    structure.z = z.data();
    structure.count = 4;
    Operations3D::NormalizeVectors(structure, Zan::kFlp_SIMD);
    EXPECT_NEAR(x[3], 0.3162, 1e-4);
    Operations3D::NormalizeVectors_SoAoS(blocks.data(), out.data(), 4, Zan::kFlp_SIMD);
    EXPECT_EQ(out[3], x[3]);
}

// A vector that is shorter than the limit of 1e-9 comes out shorter than 1.
TEST_F(Operations3DWords, ShortVectorsStayShort) {
    Floats v, out(12);
    for (int i = 0; i < 4; ++i) {
        v.insert(v.end(), {0.0F, 5e-10F, 0.0F});
    }
    Operations3D::NormalizeVectors(v.data(), out.data(), 4, Zan::kFlp);
    EXPECT_NEAR(out[1], 0.5, 1e-7);
    Operations3D::NormalizeVectors(v.data(), out.data(), 4, Zan::kFlp_SIMD);
    EXPECT_NEAR(out[1], 0.5, 1e-4);
}

// The square of the length exceeds single precision from 1.8e19 on; doubles go on.
TEST_F(Operations3DWords, LongVectors) {
    Floats v, out(12), lengths(4);
    for (int i = 0; i < 4; ++i) {
        v.insert(v.end(), {1e30F, -1e30F, 0.0F});
    }
    Operations3D::NormalizeVectors(v.data(), out.data(), 4, Zan::kFlp);
    EXPECT_NEAR(out[0], std::sqrt(0.5), 1e-7);
    Operations3D::LengthOfVectors(v.data(), lengths.data(), 4, Zan::kFlp);
    EXPECT_NEAR(lengths[3] / 1e30F, std::sqrt(2.0), 1e-6);
    Operations3D::NormalizeVectors(v.data(), out.data(), 4, Zan::kFlp_SIMD);
    EXPECT_EQ(BitsOf(out[0]), BitsOf(0.0F));
    EXPECT_EQ(BitsOf(out[1]), BitsOf(-0.0F));
    Operations3D::LengthOfVectors(v.data(), lengths.data(), 4, Zan::kFlp_SIMD);
    EXPECT_EQ(lengths[0], std::numeric_limits<float>::infinity());
    Operations3D::NormalizeVectors_SoAoS(v.data(), out.data(), 4, Zan::kFlp_SIMD);
    EXPECT_EQ(BitsOf(out[0]), BitsOf(0.0F));
}

TEST_F(Operations3DWords, BothPathsDifferAtAboutTheTwelfthBit) {
    constexpr std::size_t kCount = 100000;
    Draw draw;
    Floats v(3 * kCount);
    for (float& component : v) {
        component = draw.WithExponent(static_cast<int>(draw.Below(4)));
    }
    const auto largest = [](const Floats& a, const Floats& b) {
        float difference = 0;
        for (std::size_t i = 0; i < a.size(); ++i) {
            difference = std::max(difference, std::fabs(a[i] - b[i]));
        }
        return difference;
    };
    Floats doubles(v.size()), single(v.size()), best(v.size());
    Operations3D::NormalizeVectors(v.data(), doubles.data(), kCount, Zan::kFlp);
    Operations3D::NormalizeVectors(v.data(), single.data(), kCount, Zan::kFlp_SIMD);
    Operations3D::NormalizeVectors(v.data(), best.data(), kCount, Zan::kBestAvailable);
    EXPECT_EQ(doubles, best);
    EXPECT_GT(largest(doubles, single), 0x1p-15F);
    EXPECT_LT(largest(doubles, single), 0x1p-11F);

    const auto structure = [&](Floats& arrays) {
        SoA_3D result;
        result.x = arrays.data();
        result.y = arrays.data() + kCount;
        result.z = arrays.data() + 2 * kCount;
        result.count = kCount;
        return result;
    };
    Floats source = v;
    Operations3D::NormalizeVectors(structure(source), structure(doubles), Zan::kFlp);
    Operations3D::NormalizeVectors(structure(source), structure(single), Zan::kFlp_SIMD);
    Operations3D::NormalizeVectors(structure(source), structure(best), Zan::kBestAvailable);
    EXPECT_EQ(doubles, best);
    EXPECT_EQ(source, v);
    EXPECT_GT(largest(doubles, single), 0x1p-15F);
    EXPECT_LT(largest(doubles, single), 0x1p-11F);
}

// Outside of `kFlp_SIMD` the blocks are read as triples, to the last one.
TEST_F(Operations3DWords, BlocksAreTriplesElsewhere) {
    const Floats blocks = {3, 4, 0, 0, 4, 3, 0, 0, 0, 0, 5, 12, 0, 0, 2};
    Floats out(15, 7.0F);
    Operations3D::NormalizeVectors_SoAoS(const_cast<float*>(blocks.data()), out.data(), 5,
                                         Zan::kBestAvailable);
    EXPECT_EQ(out, (Floats{0.6F, 0.8F, 0, 0, 0.8F, 0.6F, 0, 0, 0, 0, static_cast<float>(5.0 * (1.0 / 13.0)),
                           static_cast<float>(12.0 * (1.0 / 13.0)), 0, 0, 1}));
    Floats four(15, 7.0F);
    Operations3D::NormalizeVectors_SoAoS(const_cast<float*>(blocks.data()), four.data(), 5, Zan::kFlp_SIMD);
    // Vector 0 is (3, 4, 0), vector 3 is (0, 0, 12).
    EXPECT_EQ(four[0], 3 * vector_model::FloatOf(0x3E4CD128U));
    EXPECT_EQ(four[4], 4 * vector_model::FloatOf(0x3E4CD128U));
    EXPECT_NEAR(four[11], 1.0, 1.1e-4);
    EXPECT_EQ(Floats(four.begin() + 12, four.end()), Floats(3, 7.0F));
}

TEST_F(Operations3DWords, OfTwoStructuresTheSmallerCounts) {
    for (const auto style : {Zan::kFlp, Zan::kFlp_SIMD}) {
        for (const std::size_t most : {3U, 4U, 9U, 21U, 70U}) {
            for (const std::size_t least : {0U, 1U, 2U, 3U}) {
                Floats source(3 * most, 2.0F), all(3 * most, 7.0F), part(3 * most, 7.0F);
                const auto structure = [&](Floats& arrays, std::size_t count) {
                    SoA_3D result;
                    result.x = arrays.data();
                    result.y = arrays.data() + most;
                    result.z = arrays.data() + 2 * most;
                    result.count = static_cast<ULong32>(count);
                    return result;
                };
                const std::size_t smaller = most - least;
                Operations3D::NormalizeVectors(structure(source, most), structure(part, smaller), style);
                Operations3D::NormalizeVectors(structure(source, smaller), structure(all, most), style);
                EXPECT_EQ(all, part);
                const std::vector<Floats> in(3, Floats(most, 2.0F));
                const Floats expected = StructureModel(
                    in, smaller, style == Zan::kFlp ? Arithmetic::kDouble : Arithmetic::kSingle)[0];
                for (std::size_t i = 0; i < 3 * most; ++i) {
                    EXPECT_EQ(part[i], i % most < smaller ? expected[i % most] : 7.0F);
                }
            }
        }
    }
}

TEST_F(Operations3DWords, LengthsAreNotLimited) {
    Floats v = {1e-30F, 0, 0, 0, 0, -0.0F, 0, 1e-44F, 0, 3, 4, 12, 1e-38F, 0, 0};
    Floats lengths(5);
    Operations3D::LengthOfVectors(v.data(), lengths.data(), 5, Zan::kFlp);
    EXPECT_EQ(lengths, (Floats{1e-30F, 0, 1e-44F, 13, 1e-38F}));
    // Squares that single precision cannot hold are 0.
    Operations3D::LengthOfVectors(v.data(), lengths.data(), 5, Zan::kFlp_SIMD);
    EXPECT_EQ(lengths, (Floats{0, 0, 0, 13, 1e-38F}));
}

}  // namespace
