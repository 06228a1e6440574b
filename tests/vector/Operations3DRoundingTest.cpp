// Batches whose doubles are so near to half way between two floats that the last of their bits shows.

#include <gtest/gtest.h>

#include <cmath>

#include "foundation/CapabilitySeam.h"
#include "vector/VectorOperations.h"

using namespace vector_test;
using vector_model::Dot;
using vector_model::LengthInDoubles;
using vector_model::NormalizedInDoubles;
using vector_model::Vector;

namespace {

class Operations3DRounding : public ::testing::Test {
protected:
    // Few vectors are near enough, so many are tried and those are kept.
    static constexpr int kTries = 200000;
    static constexpr std::size_t kEnough = 40;

    void Keep(Vector each) {
        v.insert(v.end(), {each.x, each.y, each.z});
        x.push_back(each.x);
        y.push_back(each.y);
        z.push_back(each.z);
    }

    const Zan::ScopedInstructionSet set{Zan::kSSE2};
    Draw draw;
    Floats v, x, y, z;
};

TEST_F(Operations3DRounding, LengthsInTheOrderOfTheTerms) {
    for (int i = 0; i < kTries; ++i) {
        const double length = HalfWay(draw);
        const Vector each = OfLength(length, static_cast<float>(length / 2));
        if (LengthInDoubles(each) != LengthInDoubles({each.z, each.y, each.x})) {
            Keep(each);
        }
    }
    EXPECT_GT(x.size(), kEnough);
    RunInDoubles(Batch(Named("LengthOfVectors"), {0, 1}, x.size(), {v, Floats(x.size())}));
}

// x of the result is nearly half way between two floats. Another order of the squares, or a division by the
// length, would make it the other one.
TEST_F(Operations3DRounding, NormalizingInTheOrderOfTheTerms) {
    std::size_t inAnotherOrder = 0, divided = 0;
    for (int i = 0; i < kTries; ++i) {
        const float first = std::fabs(draw.WithExponent(0));
        const double half = HalfWay(draw) / 4;
        const Vector each = OfLength(static_cast<double>(first) / half, first);
        const float result = NormalizedInDoubles(each).x;
        const double a = static_cast<double>(each.x), b = static_cast<double>(each.y),
                     c = static_cast<double>(each.z);
        const bool orderShows = NormalizedInDoubles({each.z, each.y, each.x}).z != result;
        const bool divisionShows = static_cast<float>(a / std::sqrt(a * a + b * b + c * c)) != result;
        if (orderShows || divisionShows) {
            Keep(each);
        }
        inAnotherOrder += orderShows ? 1U : 0U;
        divided += divisionShows ? 1U : 0U;
    }
    EXPECT_GT(inAnotherOrder, kEnough);
    EXPECT_GT(divided, kEnough);
    const std::size_t n = x.size();
    const Floats none(v.size());
    RunInDoubles(Batch(Named("NormalizeVectors in place"), {0, 0}, n, {v}));
    RunInDoubles(Batch(Named("NormalizeVectors"), {0, 1}, n, {v, none}));
    RunInDoubles(Batch(Named("NormalizeVectors_SoAoS"), {0, 1}, n, {v, none}));
    RunInDoubles(Batch(Named("NormalizeVectors of a structure in place"), {0, 1, 2, 0, 1, 2}, n, {x, y, z}));
    RunInDoubles(Batch(Named("NormalizeVectors of a structure"), {0, 1, 2, 3, 4, 5}, n, {x, y, z, x, x, x}));
}

// Two terms that nearly cancel each other, and a small one that loses bits where it is added to either of
// them.
TEST_F(Operations3DRounding, DotProductsInTheOrderOfTheTerms) {
    constexpr std::size_t kCount = 6000;
    Floats a, b;
    std::size_t backwards = 0, lastTwoFirst = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
        const std::size_t small = i % 3, large = (i + 1) % 3, opposite = (i + 2) % 3;
        float p[3], q[3];
        p[small] = draw.WithExponent(-12);
        q[small] = draw.WithExponent(-12);
        p[large] = draw.WithExponent(0);
        q[large] = draw.WithExponent(0);
        p[opposite] = draw.WithExponent(-1);
        q[opposite] = static_cast<float>(-static_cast<double>(p[large]) * static_cast<double>(q[large]) /
                                         static_cast<double>(p[opposite]));
        a.insert(a.end(), p, p + 3);
        b.insert(b.end(), q, q + 3);
        const Vector s = {p[0], p[1], p[2]}, t = {q[0], q[1], q[2]};
        backwards += Dot(s, t) != Dot({s.z, s.y, s.x}, {t.z, t.y, t.x}) ? 1U : 0U;
        lastTwoFirst += Dot(s, t) != Dot({s.y, s.z, s.x}, {t.y, t.z, t.x}) ? 1U : 0U;
    }
    EXPECT_GT(backwards, kEnough);
    EXPECT_GT(lastTwoFirst, kEnough);
    RunInDoubles(Batch(Named("DotProduct"), {0, 1, 2}, kCount, {a, b, Floats(kCount)}));
}

}  // namespace
