// The two estimates that normalising in single precision scales by: over all mantissas, at all exponents and
// at their limits.

#include <TesselU/vector/Operations3D.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/CapabilitySeam.h"
#include "vector/ModelRuns.h"

using namespace vector_test;
using vector_model::BitsOf;
using vector_model::FloatOf;
using vector_model::Vector;
using Zan::Operations3D;
using Zan::SoA_3D;
using Zan::ULong32;

namespace {

constexpr std::uint32_t kOne = 0x3F800000U, kTwo = 0x40000000U, kFour = 0x40800000U;

TEST(EstimatesModel, AreAsGoodAsPromised) {
    EXPECT_EQ(BitsOf(vector_model::InverseRootEstimate(25.0F)), 0x3E4CD128U);
    EXPECT_EQ(BitsOf(vector_model::ReciprocalEstimate(5.0F)), 0x3E4CCE4DU);
    double worstRoot = 0, worstReciprocal = 0;
    for (std::uint32_t bits = kOne; bits < kFour; ++bits) {
        const float value = FloatOf(bits);
        const double exact = static_cast<double>(value);
        worstRoot = std::max(
            worstRoot,
            std::fabs(static_cast<double>(vector_model::InverseRootEstimate(value)) * std::sqrt(exact) - 1));
        if (bits < kTwo) {
            worstReciprocal =
                std::max(worstReciprocal,
                         std::fabs(static_cast<double>(vector_model::ReciprocalEstimate(value)) * exact - 1));
        }
    }
    EXPECT_LE(worstRoot, 9.97e-5);
    EXPECT_GT(worstRoot, 9.96e-5);
    EXPECT_LE(worstReciprocal, 1.291e-4);
    EXPECT_GT(worstReciprocal, 1.290e-4);
}

// Vectors whose x is 1, so that x of the result is the very factor, and of which the sum of squares is any
// float that is wanted, from 1 on.
Vector WithSumOfSquares(float wanted) {
    float y = std::sqrt(wanted - 1.0F);
    volatile float sum = y * y;
    sum = 1.0F + sum;
    while (sum > wanted) {
        y = std::nextafter(y, 0.0F);
        sum = y * y;
        sum = 1.0F + sum;
    }
    return {1.0F, y, std::sqrt(wanted - sum)};
}

// The same vectors in all layouts.
class Layouts {
public:
    void Add(Vector v) {
        interleaved.insert(interleaved.end(), {v.x, v.y, v.z});
        x.push_back(v.x);
        y.push_back(v.y);
        z.push_back(v.z);
    }
    void Clear() {
        for (Floats* each : {&interleaved, &x, &y, &z}) {
            each->clear();
        }
    }
    std::size_t Count() const { return x.size(); }
    Vector At(std::size_t i) const { return {x[i], y[i], z[i]}; }

    void Check() {
        CheckInterleaved();
        CheckOthers();
    }

    /// On every target, against the model. The count must be one of whole blocks.
    void CheckInterleaved() {
        const std::size_t n = Count();
        ASSERT_EQ(n % 4, 0U);
        Floats expected(3 * n), out(3 * n);
        for (std::size_t i = 0; i < n; ++i) {
            const Vector v = vector_model::NormalizedByReciprocal(At(i));
            expected[3 * i] = v.x;
            expected[3 * i + 1] = v.y;
            expected[3 * i + 2] = v.z;
        }
        for (const Zan::simd::Target target : Targets()) {
            SCOPED_TRACE(Zan::simd::TargetName(target));
            const Zan::simd::ScopedTarget limit(target);
            Operations3D::NormalizeVectors(interleaved.data(), out.data(), static_cast<ULong32>(n),
                                           Zan::kFlp_SIMD);
            ExpectEqual(out, expected);
        }
    }

    /// The same for structures of arrays and blocks of four.
    void CheckOthers() {
        const std::size_t n = Count();
        ASSERT_EQ(n % 4, 0U);
        Floats xs(n), ys(n), zs(n), blocks(3 * n), normalized(3 * n), out(3 * n), ox(n), oy(n), oz(n);
        for (std::size_t i = 0; i < n; ++i) {
            const Vector w = vector_model::NormalizedByInverseRoot(At(i));
            xs[i] = w.x;
            ys[i] = w.y;
            zs[i] = w.z;
            const std::size_t first = i / 4 * 12 + i % 4;
            blocks[first] = x[i];
            blocks[first + 4] = y[i];
            blocks[first + 8] = z[i];
            normalized[first] = w.x;
            normalized[first + 4] = w.y;
            normalized[first + 8] = w.z;
        }
        for (const Zan::simd::Target target : Targets()) {
            SCOPED_TRACE(Zan::simd::TargetName(target));
            const Zan::simd::ScopedTarget limit(target);
            Operations3D::NormalizeVectors(Structure(x, y, z), Structure(ox, oy, oz), Zan::kFlp_SIMD);
            ExpectEqual(ox, xs);
            ExpectEqual(oy, ys);
            ExpectEqual(oz, zs);
            Operations3D::NormalizeVectors_SoAoS(blocks.data(), out.data(), static_cast<ULong32>(n),
                                                 Zan::kFlp_SIMD);
            ExpectEqual(out, normalized);
        }
    }

private:
    static SoA_3D Structure(Floats& xs, Floats& ys, Floats& zs) {
        SoA_3D structure;
        structure.x = xs.data();
        structure.y = ys.data();
        structure.z = zs.data();
        structure.count = static_cast<ULong32>(xs.size());
        return structure;
    }
    static void ExpectEqual(const Floats& now, const Floats& expected) {
        if (std::memcmp(now.data(), expected.data(), now.size() * sizeof(float)) == 0) {
            return;
        }
        for (std::size_t i = 0; i < now.size(); ++i) {
            ASSERT_TRUE(BitsOf(now[i]) == BitsOf(expected[i]) ||
                        (std::isnan(now[i]) && std::isnan(expected[i])))
                << "float " << i << " is " << Words(now[i]) << " instead of " << Words(expected[i]);
        }
    }

    Floats interleaved, x, y, z;
};

class EstimatesOfTheLibrary : public ::testing::Test {
protected:
    const Zan::ScopedInstructionSet set{Zan::kSSE2};
};

constexpr std::uint32_t kChunk = 4096;

TEST_F(EstimatesOfTheLibrary, EverySquareFromOneToFour) {
    Layouts vectors;
    for (std::uint32_t bits = kOne; bits < kFour && !HasFailure(); bits += kChunk) {
        vectors.Clear();
        for (std::uint32_t i = 0; i < kChunk; ++i) {
            const float square = FloatOf(bits + i);
            vectors.Add(WithSumOfSquares(square));
            ASSERT_EQ(vector_model::SquareInSingle(vectors.At(i)), square);
        }
        vectors.CheckOthers();
    }
}

TEST_F(EstimatesOfTheLibrary, EveryLengthFromOneToTwo) {
    Layouts vectors;
    for (std::uint32_t bits = kOne; bits < kTwo && !HasFailure(); bits += kChunk) {
        vectors.Clear();
        for (std::uint32_t i = 0; i < kChunk; ++i) {
            const float length = FloatOf(bits + i);
            vectors.Add(WithSumOfSquares(length * length));
            ASSERT_EQ(vector_model::LengthInSingle(vectors.At(i)), length);
        }
        vectors.CheckInterleaved();
    }
}

// Every exponent that a length can have, along each axis and between them.
TEST_F(EstimatesOfTheLibrary, EveryExponent) {
    Layouts vectors;
    Draw draw;
    for (int exponent = -149; exponent < 128; ++exponent) {
        for (int i = 0; i < 32; ++i) {
            const float a = draw.WithExponent(exponent), zero = i % 2 == 0 ? 0.0F : -0.0F;
            vectors.Add({a, zero, zero});
            vectors.Add({zero, a, zero});
            vectors.Add({zero, zero, a});
            vectors.Add({a, draw.WithExponent(exponent), draw.WithExponent(exponent)});
        }
    }
    vectors.Check();
}

// Around the limit of lengths, that of squares, and where a square becomes infinite or nothing.
TEST_F(EstimatesOfTheLibrary, Limits) {
    Layouts vectors;
    for (const float limit :
         {1e-9F, std::sqrt(1e-9F), 0x1p64F, 0x1p-63F, 0x1p-75F, std::numeric_limits<float>::min()}) {
        for (std::uint32_t bits = BitsOf(limit) - 24; bits != BitsOf(limit) + 24; ++bits) {
            const float a = FloatOf(bits);
            vectors.Add({a, 0.0F, -0.0F});
            vectors.Add({-0.0F, -a, 0.0F});
            vectors.Add({0.0F, 0.0F, a});
            vectors.Add({a, a, -a});
        }
    }
    const float infinity = std::numeric_limits<float>::infinity(), nan = std::nanf("");
    for (const float odd : {infinity, -infinity, nan}) {
        vectors.Add({odd, 1.0F, -1.0F});
        vectors.Add({1e-30F, odd, 2.0F});
        vectors.Add({1e30F, 0.0F, odd});
        vectors.Add({odd, -odd, nan});
    }
    vectors.Check();
    // In doubles the limit is that of lengths, the float nearest to 1e-9 itself being one that is replaced by
    // itself.
    for (std::uint32_t bits = BitsOf(1e-9F) - 24; bits != BitsOf(1e-9F) + 24; ++bits) {
        float v[3] = {0.0F, FloatOf(bits), 0.0F};
        Operations3D::NormalizeVectors(v, 1, Zan::kFlp);
        const double limited = std::max(static_cast<double>(FloatOf(bits)), static_cast<double>(1e-9F));
        EXPECT_EQ(v[1], static_cast<float>(static_cast<double>(FloatOf(bits)) * (1.0 / limited)));
    }
}

}  // namespace
