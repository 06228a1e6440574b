// All operations on batches of vectors, bit for bit against a second, plain model.

#include <TesselU/vector/Operations3D.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/CapabilitySeam.h"
#include "support/Streaming.h"
#include "vector/ModelRuns.h"

using namespace vector_test;
using vector_model::BitsOf;
using vector_model::Dot;
using vector_model::LengthInDoubles;
using vector_model::NormalizedByInverseRoot;
using vector_model::NormalizedInDoubles;
using vector_model::Vector;
using Zan::Operations3D;
using Zan::ProcessingStyleEnum;
using Zan::SoA_3D;
using Zan::ULong32;

namespace {

using Pointers = float* const*;

Vector At(const Floats& floats, std::size_t i) {
    return {floats[3 * i], floats[3 * i + 1], floats[3 * i + 2]};
}

template <class Body>
std::vector<Floats> Interleaved(std::size_t n, Body body) {
    Floats out;
    for (std::size_t i = 0; i < n; ++i) {
        const Vector v = body(i);
        out.insert(out.end(), {v.x, v.y, v.z});
    }
    return {out};
}

template <class Body>
std::vector<Floats> Numbers(std::size_t n, Body body) {
    Floats out;
    for (std::size_t i = 0; i < n; ++i) {
        out.push_back(body(i));
    }
    return {out};
}

std::vector<Floats> LengthsModel(const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic) {
    return Numbers(n, [&](std::size_t i) {
        return i < WholeBlocks(n, arithmetic) ? LengthInSingle(At(in[0], i)) : LengthInDoubles(At(in[0], i));
    });
}

std::vector<Floats> InterleavedModel(const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic) {
    return Interleaved(n, [&](std::size_t i) {
        return i < WholeBlocks(n, arithmetic) ? NormalizedByReciprocal(At(in[0], i))
                                              : NormalizedInDoubles(At(in[0], i));
    });
}

std::vector<Floats> StructureModel(const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic) {
    std::vector<Floats> out(3);
    for (std::size_t i = 0; i < n; ++i) {
        const Vector given = {in[0][i], in[1][i], in[2][i]};
        const Vector v =
            i < WholeBlocks(n, arithmetic) ? NormalizedByInverseRoot(given) : NormalizedInDoubles(given);
        out[0].push_back(v.x);
        out[1].push_back(v.y);
        out[2].push_back(v.z);
    }
    return out;
}

std::vector<Floats> BlocksModel(const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic) {
    if (arithmetic == Arithmetic::kDouble) {
        return InterleavedModel(in, n, arithmetic);  // which takes the blocks for triples
    }
    Floats out(n / 4 * 12);
    for (std::size_t i = 0; i < n / 4 * 4; ++i) {
        const std::size_t x = i / 4 * 12 + i % 4;
        const Vector v = NormalizedByInverseRoot({in[0][x], in[0][x + 4], in[0][x + 8]});
        out[x] = v.x;
        out[x + 4] = v.y;
        out[x + 8] = v.z;
    }
    return {out};
}

Operation Normalizations(const char* name, std::vector<std::vector<std::size_t>> places, bool hasSingle,
                         decltype(Operation::call) call) {
    return {name, {3}, {3}, hasSingle, false, std::move(places), std::move(call), InterleavedModel};
}

SoA_3D Structure(Pointers arrays, ULong32 n) {
    SoA_3D structure;
    structure.x = arrays[0];
    structure.y = arrays[1];
    structure.z = arrays[2];
    structure.count = n;
    return structure;
}

// The four forms of scaled sums: a scale of its own for each vector, or one for all. A constant scale is an
// array of one vector here, of which the first float counts.
Operation ScaledSums(const char* name, bool firstIsConstant, bool secondIsConstant,
                     decltype(Operation::call) call) {
    Operation operation;
    operation.name = name;
    operation.inputs = {firstIsConstant ? kOneVector : 1, 3, secondIsConstant ? kOneVector : 1, 3};
    operation.outputs = {3};
    operation.hasSingle = false;
    operation.places = {{0, 1, 2, 3, 4}, {0, 1, 2, 1, 3}, {0, 1, 2, 3, 1}, {0, 1, 2, 3, 3}, {0, 1, 2, 1, 1}};
    operation.call = std::move(call);
    operation.model = [=](const std::vector<Floats>& in, std::size_t n, Arithmetic) {
        return Interleaved(n, [&](std::size_t i) {
            return ScaledSum(in[0][firstIsConstant ? 0 : i], At(in[1], i), in[2][secondIsConstant ? 0 : i],
                             At(in[3], i));
        });
    };
    return operation;
}

template <class Model>
Operation OfTwo(const char* name, std::size_t second, std::vector<std::vector<std::size_t>> places,
                decltype(Operation::call) call, Model model) {
    return {name,
            {3, second},
            {3},
            false,
            false,
            std::move(places),
            std::move(call),
            [=](const std::vector<Floats>& in, std::size_t n, Arithmetic) {
                return Interleaved(
                    n, [&](std::size_t i) { return model(At(in[0], i), At(in[1], second == 3 ? i : 0)); });
            }};
}

const std::vector<Operation>& Operations() {
    static const std::vector<Operation> kAll = {
        {"LengthOfVectors",
         {3},
         {1},
         true,
         false,
         {{0, 1}, {0, 0}},
         [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::LengthOfVectors(in[0], out[0], n, style);
         },
         LengthsModel},
        Normalizations("NormalizeVectors in place", {{0, 0}}, false,
                       [](Pointers in, Pointers, ULong32 n, ProcessingStyleEnum style) {
                           return Operations3D::NormalizeVectors(in[0], n, style);
                       }),
        Normalizations("NormalizeVectors", {{0, 1}, {0, 0}}, true,
                       [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                           return Operations3D::NormalizeVectors(in[0], out[0], n, style);
                       }),
        {"NormalizeVectors of a structure in place",
         {1, 1, 1},
         {1, 1, 1},
         true,
         false,
         {{0, 1, 2, 0, 1, 2}},
         [](Pointers in, Pointers, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::NormalizeVectors(Structure(in, n), style);
         },
         StructureModel},
        {"NormalizeVectors of a structure",
         {1, 1, 1},
         {1, 1, 1},
         true,
         false,
         {{0, 1, 2, 3, 4, 5}, {0, 1, 2, 0, 1, 2}, {0, 1, 2, 1, 2, 0}, {0, 1, 2, 3, 4, 1}, {0, 0, 0, 1, 2, 3}},
         [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::NormalizeVectors(Structure(in, n), Structure(out, n), style);
         },
         StructureModel},
        {"NormalizeVectors_SoAoS",
         {3},
         {3},
         true,
         true,
         {{0, 1}, {0, 0}},
         [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::NormalizeVectors_SoAoS(in[0], out[0], n, style);
         },
         BlocksModel},
        {"ScaleVectors",
         {kOneVector, 3},
         {3},
         false,
         false,
         {{0, 1, 1}},
         [](Pointers in, Pointers, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::ScaleVectors(in[0][0], in[1], n, style);
         },
         [](const std::vector<Floats>& in, std::size_t n, Arithmetic) {
             return Interleaved(n, [&](std::size_t i) { return Scaled(in[0][0], At(in[1], i)); });
         }},
        {"DotProduct",
         {3, 3},
         {1},
         false,
         false,
         {{0, 1, 2}, {0, 0, 1}, {0, 1, 0}, {0, 1, 1}, {0, 0, 0}},
         [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
             return Operations3D::DotProduct(in[0], in[1], out[0], n, style);
         },
         [](const std::vector<Floats>& in, std::size_t n, Arithmetic) {
             return Numbers(n, [&](std::size_t i) { return Dot(At(in[0], i), At(in[1], i)); });
         }},
        OfTwo(
            "CrossProduct", 3, {{0, 1, 2}, {0, 0, 1}, {0, 1, 0}, {0, 1, 1}, {0, 0, 0}},
            [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                return Operations3D::CrossProduct(in[0], in[1], out[0], n, style);
            },
            vector_model::Cross),
        // The constant may be a vector of the batch.
        OfTwo(
            "AddConstantVector", kOneVector, {{0, 1, 2}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}},
            [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                return Operations3D::AddConstantVector(in[0], in[1], out[0], n, style);
            },
            vector_model::Sum),
        OfTwo(
            "SubtractConstantVector", kOneVector, {{0, 1, 2}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}},
            [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                return Operations3D::SubtractConstantVector(in[0], in[1], out[0], n, style);
            },
            vector_model::Difference),
        OfTwo(
            "AddVectors", 3, {{0, 1, 2}, {0, 0, 1}, {0, 1, 0}, {0, 1, 1}, {0, 0, 0}},
            [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                return Operations3D::AddVectors(in[0], in[1], out[0], n, style);
            },
            vector_model::Sum),
        ScaledSums("AddScaledVectors", false, false,
                   [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                       return Operations3D::AddScaledVectors(in[0], in[1], in[2], in[3], out[0], n, style);
                   }),
        ScaledSums("AddScaledVectors, first scale constant", true, false,
                   [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                       return Operations3D::AddScaledVectors(in[0][0], in[1], in[2], in[3], out[0], n, style);
                   }),
        ScaledSums("AddScaledVectors, second scale constant", false, true,
                   [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                       return Operations3D::AddScaledVectors(in[0], in[1], in[2][0], in[3], out[0], n, style);
                   }),
        ScaledSums("AddScaledVectors, constant scales", true, true,
                   [](Pointers in, Pointers out, ULong32 n, ProcessingStyleEnum style) {
                       return Operations3D::AddScaledVectors(in[0][0], in[1], in[2][0], in[3], out[0], n,
                                                             style);
                   }),
    };
    return kAll;
}

class Operations3DModel : public ::testing::TestWithParam<std::size_t> {
protected:
    const Zan::ScopedInstructionSet set{Zan::kSSE2};
    const Operation& operation = Operations()[GetParam()];
};

TEST_P(Operations3DModel, EveryCountAtEveryAlignment) {
    RunCountsAndAlignments(operation, 67);
}

TEST_P(Operations3DModel, EveryStyleOnEveryProcessor) {
    for (const auto processor : {Zan::kScalarOnly, Zan::kMMX, Zan::kSSE_MMX, Zan::kSIMD, Zan::kSSE2}) {
        SCOPED_TRACE(processor);
        const Zan::ScopedInstructionSet scope(processor);
        for (const std::size_t n : {1U, 4U, 7U, 22U, 48U, 67U}) {
            RunStyles(operation, n, processor);
        }
    }
}

TEST_P(Operations3DModel, LargeBatches) {
    for (const bool aroundCache : {false, true}) {
        SCOPED_TRACE(aroundCache ? "around the cache" : "through the cache");
        const test_support::ScopedStreaming streaming(aroundCache);
        for (const std::vector<std::size_t>& places : operation.places) {
            RunLarge(operation, places, 4099, Targets());
        }
        RunLarge(operation, operation.places.front(), 65539, Targets());
    }
}

TEST_P(Operations3DModel, MoreThanTheCacheHolds) {
    RunLarge(operation, operation.places.front(), operation.hasSingle ? 1000003 : 262147,
             {Zan::simd::BestTarget()});
}

TEST_P(Operations3DModel, NothingBeyondTheArraysIsTouched) {
    RunFenced(operation);
}

TEST_P(Operations3DModel, NothingIsNeededForNoVectors) {
    float* const none[4] = {nullptr, nullptr, nullptr, nullptr};
    float constant[3] = {1, 2, 3};
    for (const int style : {0, 3, 5}) {
        float* in[4] = {nullptr, nullptr, nullptr, nullptr};
        for (std::size_t i = 0; i < operation.inputs.size(); ++i) {
            in[i] = operation.inputs[i] == kOneVector ? constant : nullptr;
        }
        EXPECT_EQ(operation.call(in, none, 0, Style(style)), 0);
        EXPECT_EQ(Operations3D::AddConstantVector(nullptr, nullptr, nullptr, 0, Style(style)), 0);
        EXPECT_EQ(Operations3D::SubtractConstantVector(nullptr, nullptr, nullptr, 0, Style(style)), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(All, Operations3DModel, ::testing::Range<std::size_t>(0, 16));

TEST(Operations3DModelTable, HasTheSixteen) {
    EXPECT_EQ(Operations().size(), 16U);
}

// ---- Doubles that are so near to half way between two floats that the last of their bits shows

const Operation& Named(const std::string& name) {
    return *std::find_if(Operations().begin(), Operations().end(),
                         [&](const Operation& each) { return each.name == name; });
}

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

// ---- What the words say, in numbers worked out by hand

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
