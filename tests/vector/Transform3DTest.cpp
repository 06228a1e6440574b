#include <TesselU/vector/Transform3D.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "foundation/CapabilitySeam.h"

using namespace Zan;

namespace {

using Floats = std::vector<float>;
using Doubles = std::vector<double>;

constexpr ProcessingStyleEnum kEveryStyle[] = {
    kFlp, kFP, kInt_MMXorSIMD, kFlp_SIMD, kStyle4, kBestAvailable, kGeneralFormat};

Floats Do(const Transform3D& transform, Floats points, ProcessingStyleEnum style = kFlp) {
    Floats out(points.size());
    EXPECT_EQ(transform.Do(points.data(), out.data(), static_cast<ULong32>(points.size() / 3), style), 0);
    return out;
}

Transform3D With(Doubles values, ULong32 columns = 4, ULong32 rows = 4) {
    Transform3D transform;
    transform.SetMatrix(values.data(), columns, rows);
    return transform;
}

Floats RandomPoints(std::size_t n) {
    std::mt19937 random(11);
    std::uniform_real_distribution<float> any(-100, 100);
    Floats points(3 * n);
    for (float& c : points) {
        c = any(random);
    }
    return points;
}

const Doubles kScale2 = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1};

TEST(Transform3D, BeginsAsTheIdentity) {
    const Floats points = RandomPoints(37);
    for (const ProcessingStyleEnum style : kEveryStyle) {
        EXPECT_EQ(Do(Transform3D(), points, style), points);
    }
}

TEST(Transform3D, LinearAffineAndProjectivePoints) {
    const Floats points = {1, 2, 3, -1, 0, 4, 0, 0, 0};
    for (const ProcessingStyleEnum style : kEveryStyle) {
        // Rows (1, 2, 3), (0, -1, 5), (4, 0, 1).
        EXPECT_EQ(Do(With({1, 2, 3, 0, 0, -1, 5, 0, 4, 0, 1, 0, 0, 0, 0, 1}), points, style),
                  (Floats{14, 13, 7, 11, 20, 0, 0, 0, 0}));
        EXPECT_EQ(Do(With({1, 2, 3, 10, 0, -1, 5, 20, 4, 0, 1, 30, 0, 0, 0, 1}), points, style),
                  (Floats{24, 33, 37, 21, 40, 30, 10, 20, 30}));
        // w = z + 1: 4, 5 and 1.
        EXPECT_EQ(Do(With({4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 4, 0, 0, 0, 1, 1}), points, style),
                  (Floats{1, 2, 3, static_cast<float>(-4 * 0.2), 0, static_cast<float>(16 * 0.2), 0, 0, 0}));
        // w = 2 throughout.
        EXPECT_EQ(Do(With({4, 0, 0, 2, 0, 4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 2}), points, style),
                  (Floats{3, 4, 6, -1, 0, 8, 1, 0, 0}));
    }
}

TEST(Transform3D, APointAtInfinityKeepsItsCoordinates) {
    const Transform3D transform = With({3, 0, 0, 1, 0, 3, 0, 2, 0, 0, 3, 0, 0, 0, 1, 0});
    EXPECT_EQ(Do(transform, {5, 7, 0, 5, 7, 2}), (Floats{16, 23, 0, 8, 11.5F, 3}));
    EXPECT_EQ(Do(transform, {5, 7, -0.0F}), (Floats{16, 23, 0}));
}

TEST(Transform3D, ColumnsComeBeforeRows) {
    Doubles values(12);
    for (std::size_t i = 0; i < 12; ++i) {
        values[i] = static_cast<double>(i + 1);
    }
    // Three columns and four rows: the last row becomes 10, 11, 12 and keeps its 1.
    const Floats point = {1, 0, -1};
    EXPECT_EQ(Do(With(values, 3, 4), point),
              (Floats{static_cast<float>(-2 * (1.0 / -1)), static_cast<float>(-2 * (1.0 / -1)),
                      static_cast<float>(-2 * (1.0 / -1))}));
    // Four columns and three rows: affine.
    EXPECT_EQ(Do(With(values, 4, 3), point), (Floats{1 - 3 + 4, 5 - 7 + 8, 9 - 11 + 12}));
}

TEST(Transform3D, BlocksKeepTheirOwnPitchAndLoseWhatIsTooMuch) {
    Doubles values(42);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<double>(i);
    }
    // Six columns and seven rows, of which four of each count: rows 0..3, 6..9, 12..15, 18..21.
    const Floats big = Do(With(values, 6, 7), {1, 1, 1});
    const double w = 18 + 19 + 20 + 21;
    EXPECT_EQ(big, (Floats{static_cast<float>(6 * (1.0 / w)), static_cast<float>(30 * (1.0 / w)),
                           static_cast<float>(54 * (1.0 / w))}));
    // Two by two, and three by three: linear.
    EXPECT_EQ(Do(With({1, 2, 3, 4}, 2, 2), {1, 1, 5}), (Floats{3, 7, 5}));
    EXPECT_EQ(Do(With({1, 2, 3, 4, 5, 6, 7, 8, 9}, 3, 3), {1, 1, 1}, kFlp_SIMD), (Floats{6, 15, 24}));
    // One row of ten, and one column of ten: what lies beyond is not read.
    EXPECT_EQ(Do(With({2, 3, 4, 5, 0, 0, 0, 0, 0, 0}, 10, 1), {1, 1, 1}), (Floats{14, 1, 1}));
    EXPECT_EQ(Do(With({2, 3, 4, 0}, 1, 4), {1, 1, 1}), (Floats{2, 4, 5}));
}

TEST(Transform3D, SettingAMatrixForgetsTheOneBefore) {
    Transform3D transform = With({9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9});
    Doubles two = {2};
    transform.SetMatrix(two.data(), 1, 1);
    EXPECT_EQ(Do(transform, {1, 1, 1}), (Floats{2, 1, 1}));
    transform.SetMatrix(two.data(), 0, 4);
    EXPECT_EQ(Do(transform, {1, 2, 3}), (Floats{1, 2, 3}));
    transform.SetMatrix(two.data(), 1, 1);
    transform.SetMatrix(two.data(), 4, 0);
    EXPECT_EQ(Do(transform, {1, 2, 3}), (Floats{1, 2, 3}));
    transform.SetMatrix(two.data(), 1, 1);
    transform.SetMatrix(nullptr, 4, 4);
    EXPECT_EQ(Do(transform, {1, 2, 3}), (Floats{1, 2, 3}));
}

TEST(Transform3D, TheMatrixIsComparedExactly) {
    // In single precision 1 / 3 of 3e30 overflows nothing, but products of doubles show: 1 + 2^-30 times 1.
    const double more = 1 + std::ldexp(1.0, -30);
    const float large = std::ldexp(1.0F, 24);
    // large * more - large = 2^-6 in doubles, 0 where more is rounded to 1.
    const Floats points = {large, large, 0, large, large, 0, large, large, 0, large, large, 0};
    const auto firstOf = [&](double translation, double last, double one) {
        return Do(With({more, -1, 0, translation, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, last, one}), points,
                  kFlp_SIMD)[0];
    };
    const float exact = std::ldexp(1.0F, -6);
    EXPECT_EQ(firstOf(0.0, 0.0, 1.0), 0.0F);      // linear
    EXPECT_EQ(firstOf(-0.0, -0.0, 1.0), 0.0F);    // -0 is 0
    EXPECT_EQ(firstOf(1e-300, 0.0, 1.0), exact);  // affine
    EXPECT_EQ(firstOf(0.0, 1e-300, 1.0), exact);  // projective
    EXPECT_EQ(firstOf(0.0, 0.0, std::nextafter(1.0, 2.0)), exact);
    EXPECT_EQ(firstOf(std::numeric_limits<double>::denorm_min(), 0.0, 1.0), exact);
}

TEST(Transform3D, SinglePrecisionForWholeBlocksOfFourOfALinearMatrix) {
    const Transform3D transform = With({0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9}, 3, 3);
    const Floats all = RandomPoints(68), single = Do(transform, all, kFlp_SIMD), exact = Do(transform, all);
    EXPECT_NE(single, exact);
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_NEAR(single[i], exact[i], 1e-4F);
    }
    for (std::size_t n = 0; n <= 67; ++n) {
        const Floats points(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(3 * n));
        const Floats got = Do(transform, points, kFlp_SIMD);
        for (std::size_t i = 0; i < 3 * n; ++i) {
            EXPECT_EQ(got[i], i < n / 4 * 12 ? single[i] : exact[i]) << n << " points, float " << i;
        }
    }
    for (const ProcessingStyleEnum style : kEveryStyle) {
        EXPECT_EQ(Do(transform, all, style) == exact, style != kFlp_SIMD);
    }
    for (const CPUinstructionSetEnum set : {kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2}) {
        const ScopedInstructionSet scope(set);
        EXPECT_EQ(Do(transform, all, kFlp_SIMD) == exact, set < kSIMD);
    }
}

TEST(Transform3D, OtherMatricesAreInDoublesWhateverTheStyle) {
    const Floats points = RandomPoints(41);
    for (const Transform3D& transform :
         {With({0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1, 1.1, 1.2}, 4, 3),
          With({0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1, 1.1, 1.2, 0, 0, 0.01, 3})}) {
        EXPECT_EQ(Do(transform, points, kFlp_SIMD), Do(transform, points, kFlp));
    }
}

TEST(Transform3D, ProjectedCoordinatesAreRoundedBeforeTheyAreScaled) {
    // x' = 1 + 2^-25 becomes 1 as a float; w = 1 / (1 + 2^-23), so that one unit shows in the result.
    const double x = 1 + std::ldexp(1.0, -24) + std::ldexp(1.0, -30);  // rounds up to 1 + 2^-23
    const double w = 0.75;
    const float expected = static_cast<float>((1 + std::ldexp(1.0, -23)) * (1.0 / w));
    ASSERT_NE(expected, static_cast<float>(x * (1.0 / w)));
    const Floats out = Do(With({x, 0, 0, 0, 0, x, 0, 0, 0, 0, x, 0, 0, 0, 0, w}), Floats(3 * 19, 1.0F));
    EXPECT_EQ(out, Floats(3 * 19, expected));
}

TEST(Transform3D, PointsMayBeTransformedInPlace) {
    for (const Doubles& matrix :
         {Doubles{0.1, 0.2, 0.3, 0, 0.5, 0.6, 0.7, 0, 0.9, 1, 1.1, 0, 0, 0, 0, 1},
          Doubles{0.1, 0.2, 0.3, 4, 0.5, 0.6, 0.7, 5, 0.9, 1, 1.1, 6, 0, 0, 0, 1},
          Doubles{0.1, 0.2, 0.3, 4, 0.5, 0.6, 0.7, 5, 0.9, 1, 1.1, 6, 0, 1, 0, 300}}) {
        const Transform3D transform = With(matrix);
        for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
            for (std::size_t n = 0; n <= 67; ++n) {
                Floats points = RandomPoints(n);
                const Floats expected = Do(transform, points, style);
                EXPECT_EQ(transform.Do(points.data(), points.data(), static_cast<ULong32>(n), style), 0);
                EXPECT_EQ(points, expected);
            }
        }
    }
}

TEST(Transform3D, CopiesHaveMatricesOfTheirOwn) {
    auto first = std::make_unique<Transform3D>(With(kScale2));
    Transform3D copy(*first), assigned;
    assigned = *first;
    const Transform3D moved(std::move(*first));
    first->SetMatrix(nullptr, 0, 0);
    EXPECT_EQ(Do(*first, {1, 2, 3}), (Floats{1, 2, 3}));
    first.reset();
    for (const Transform3D* other : {&std::as_const(copy), &std::as_const(assigned), &moved}) {
        EXPECT_EQ(Do(*other, {1, 2, 3}), (Floats{2, 4, 6}));
    }
    copy.SetMatrix(nullptr, 0, 0);
    EXPECT_EQ(Do(assigned, {1, 2, 3}), (Floats{2, 4, 6}));
    Transform3D& self = assigned;
    assigned = self;
    EXPECT_EQ(Do(assigned, {1, 2, 3}), (Floats{2, 4, 6}));
}

TEST(Transform3D, NothingIsTouchedWithoutPoints) {
    for (const Transform3D& transform : {Transform3D(), With({1, 2, 3, 4}, 4, 1), With(Doubles(16, 1))}) {
        for (const ProcessingStyleEnum style : kEveryStyle) {
            EXPECT_EQ(transform.Do(nullptr, nullptr, 0, style), 0);
        }
    }
}

}  // namespace
