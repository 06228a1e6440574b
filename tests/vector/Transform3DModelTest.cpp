// Transforms of points, bit for bit against a second, plain model.

#include <TesselU/vector/Transform3D.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <type_traits>

#include "foundation/CapabilitySeam.h"
#include "support/FencedMemory.h"
#include "support/Streaming.h"
#include "vector/ModelRuns.h"

using namespace vector_test;
using vector_model::BitsOf;
using vector_model::Kind;
using vector_model::Vector;
using Zan::Transform3D;
using Zan::ULong32;

namespace {

using Values = std::array<double, 16>;
using Doubles = std::vector<double>;

const double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

/// `transform` as an operation; `model` is what its matrix should be.
Operation Transforming(std::string name, std::shared_ptr<Transform3D> transform,
                       const vector_model::Transform& model) {
    Operation operation;
    operation.name = std::move(name);
    operation.inputs = {3};
    operation.outputs = {3};
    operation.hasSingle = model.Class() == Kind::kLinear;
    operation.places = {{0, 1}, {0, 0}};
    operation.call = [transform](float* const* in, float* const* out, ULong32 n,
                                 Zan::ProcessingStyleEnum style) {
        return transform->Do(in[0], out[0], n, style);
    };
    operation.model = [model](const std::vector<Floats>& in, std::size_t n, Arithmetic arithmetic) {
        Floats out;
        for (std::size_t i = 0; i < n; ++i) {
            const Vector point = {in[0][3 * i], in[0][3 * i + 1], in[0][3 * i + 2]};
            const Vector moved =
                i < WholeBlocks(n, arithmetic) ? model.InSingle(point) : model.InDoubles(point);
            out.insert(out.end(), {moved.x, moved.y, moved.z});
        }
        return std::vector<Floats>{out};
    };
    return operation;
}

Operation Transforming(const std::string& name, Doubles values, std::size_t columns, std::size_t rows) {
    const auto transform = std::make_shared<Transform3D>();
    transform->SetMatrix(values.data(), static_cast<ULong32>(columns), static_cast<ULong32>(rows));
    vector_model::Transform model;
    model.Set(values.data(), columns, rows);
    return Transforming(name, transform, model);
}

Operation Transforming(const std::string& name, const Values& values) {
    return Transforming(name, Doubles(values.begin(), values.end()), 4, 4);
}

/// An element with all 53 bits.
double Element(Draw& draw, int exponent) {
    const double high = static_cast<double>(draw.WithExponent(exponent));
    return high + high * (static_cast<double>(draw.Bits()) * 0x1p-56);
}

Values RandomMatrix(Draw& draw) {
    Values values;
    for (double& each : values) {
        each = Element(draw, static_cast<int>(draw.Below(5)) - 2);
    }
    return values;
}

constexpr std::size_t kTranslation[] = {3, 7, 11};

Values RandomAffine(Draw& draw) {
    Values values = RandomMatrix(draw);
    values[12] = values[13] = values[14] = 0.0;
    values[15] = 1.0;
    return values;
}

Values RandomLinear(Draw& draw) {
    Values values = RandomAffine(draw);
    for (const std::size_t each : kTranslation) {
        values[each] = 0.0;
    }
    return values;
}

Values With(Values values, std::size_t element, double value) {
    values[element] = value;
    return values;
}

/// Matrices on both sides of every border of the classes.
std::vector<Operation> Borders() {
    Draw draw;
    const Values linear = RandomLinear(draw), affine = RandomAffine(draw), any = RandomMatrix(draw);
    std::vector<Operation> all;
    all.push_back(Transforming("identity", Values{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    all.push_back(Transforming("nothing", Values{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    all.push_back(Transforming("linear", linear));
    all.push_back(Transforming("affine", affine));
    all.push_back(Transforming("projective", any));
    for (const std::size_t element : {3U, 7U, 11U, 12U, 13U, 14U, 15U}) {
        for (const double value :
             {-0.0, 1e-300, -1e-300, std::numeric_limits<double>::denorm_min(), 1.0, -1.0, 1 + 0x1p-52,
              1 - 0x1p-53, 2.0, 0.0, kInfinity, -kInfinity, kNaN, 1e300, 1e-45}) {
            for (const Values& base : {linear, affine}) {
                all.push_back(
                    Transforming("element " + std::to_string(element) + " = " + std::to_string(value),
                                 With(base, element, value)));
            }
        }
    }
    // w is that of the point's z, 0, -0, infinite, no number.
    Values byZ = With(With(affine, 15, 0.0), 14, 1.0);
    all.push_back(Transforming("w = z", byZ));
    all.push_back(Transforming("w = -z", With(byZ, 14, -1.0)));
    all.push_back(Transforming("w = 0", With(affine, 15, 0.0)));
    all.push_back(Transforming("w = -0", With(affine, 15, -0.0)));
    all.push_back(Transforming("tiny w", With(affine, 15, std::numeric_limits<double>::denorm_min())));
    all.push_back(Transforming("w = 1e-40 z", With(byZ, 14, 1e-40)));
    all.push_back(Transforming("w = 1e40 z", With(byZ, 14, 1e40)));
    all.push_back(Transforming("w of large terms", With(With(any, 12, 1e300), 13, -1e300)));
    // Elements that floats cannot hold.
    all.push_back(Transforming("beyond floats", With(With(linear, 0, 1e300), 5, 1e-300)));
    all.push_back(Transforming("beyond floats, affine", With(With(affine, 0, 1e300), 5, 1e-300)));
    all.push_back(Transforming("infinite", With(linear, 1, kInfinity)));
    all.push_back(Transforming("not a number", With(linear, 10, kNaN)));
    return all;
}

class Transform3DModel : public ::testing::Test {
protected:
    const Zan::ScopedInstructionSet set{Zan::kSSE2};
    Draw draw;
};

TEST_F(Transform3DModel, EveryCountAtEveryAlignment) {
    RunCountsAndAlignments(Transforming("identity", std::make_shared<Transform3D>(), {}), 67);
    RunCountsAndAlignments(Transforming("linear", RandomLinear(draw)), 67);
    RunCountsAndAlignments(Transforming("affine", RandomAffine(draw)), 67);
    RunCountsAndAlignments(Transforming("projective", RandomMatrix(draw)), 67);
}

TEST_F(Transform3DModel, EveryBorderOfTheClasses) {
    for (const Operation& operation : Borders()) {
        for (const std::size_t n : {3U, 37U}) {
            RunStyles(operation, n, Zan::kSSE2);
        }
        RunLarge(operation, {0, 1}, 411, Targets());
        RunLarge(operation, {0, 0}, 97, Targets());
    }
}

TEST_F(Transform3DModel, EveryStyleOnEveryProcessor) {
    for (const auto processor : {Zan::kScalarOnly, Zan::kMMX, Zan::kSSE_MMX, Zan::kSIMD, Zan::kSSE2}) {
        SCOPED_TRACE(processor);
        const Zan::ScopedInstructionSet scope(processor);
        for (const std::size_t n : {1U, 4U, 7U, 22U, 48U, 67U}) {
            RunStyles(Transforming("linear", RandomLinear(draw)), n, processor);
            RunStyles(Transforming("affine", RandomAffine(draw)), n, processor);
            RunStyles(Transforming("projective", RandomMatrix(draw)), n, processor);
        }
    }
}

// Elements of any exponent and any bits, and among them such that decide on the class.
TEST_F(Transform3DModel, MatricesOfAnyKind) {
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        const std::size_t shape = draw.Below(3);
        Values values = shape == 0   ? RandomLinear(draw)
                        : shape == 1 ? RandomAffine(draw)
                                     : RandomMatrix(draw);
        const std::size_t changed = draw.Below(6);
        for (std::size_t i = 0; i < changed; ++i) {
            double& element = values[draw.Below(shape == 0 ? 12 : 16)];
            switch (draw.Below(4)) {
                case 0:
                    element = Element(draw, static_cast<int>(draw.Below(1000)) % 253 - 126);
                    break;
                case 1:
                    element = static_cast<double>(SpecialFloats()[draw.Below(SpecialFloats().size())]);
                    break;
                case 2: {
                    const std::uint64_t bits = (std::uint64_t{draw.Bits()} << 32) | draw.Bits();
                    std::memcpy(&element, &bits, sizeof element);
                    break;
                }
                default:
                    element = draw.Bits() % 2 == 0 ? 0.0 : -0.0;
            }
        }
        RunLarge(Transforming("round " + std::to_string(round), values), {0, round % 2 == 0 ? 1U : 0U},
                 24 + draw.Below(48), Targets());
    }
}

// Points that a row of the matrix takes nearly to 0, so that the order of the terms shows, and whether a
// product is rounded before it is added.
TEST_F(Transform3DModel, SumsThatNearlyVanish) {
    for (const Values& values : {RandomLinear(draw), RandomAffine(draw), RandomMatrix(draw)}) {
        constexpr std::size_t kPoints = 4000;
        Floats points;
        std::size_t fused = 0, inAnotherOrder = 0;
        for (std::size_t i = 0; i < kPoints; ++i) {
            const double* row = values.data() + i % 4 * 4;
            const float x = draw.WithExponent(0), y = draw.WithExponent(0);
            const double p = static_cast<double>(x), q = static_cast<double>(y);
            const double z = row[2] == 0 ? 1 : -(row[0] * p + row[1] * q + row[3]) / row[2];
            points.insert(points.end(), {x, y, static_cast<float>(z)});
            const double r = static_cast<double>(points.back());
            const volatile double px = row[0] * p, py = row[1] * q, pz = row[2] * r;
            const volatile double sum = px + py, other = py + pz;
            const double whole = sum + pz + row[3];
            fused +=
                static_cast<float>(std::fma(row[2], r, sum) + row[3]) != static_cast<float>(whole) ? 1U : 0U;
            inAnotherOrder += static_cast<float>(px + other + row[3]) != static_cast<float>(whole) ? 1U : 0U;
        }
        EXPECT_GT(fused, kPoints / 100);
        EXPECT_GT(inAnotherOrder, kPoints / 100);
        const Operation operation = Transforming("nearly nothing", values);
        RunInDoubles(Batch(operation, {0, 1}, kPoints, {points, Floats(3 * kPoints)}));
    }
}

TEST_F(Transform3DModel, LargeBatches) {
    for (const bool aroundCache : {false, true}) {
        SCOPED_TRACE(aroundCache ? "around the cache" : "through the cache");
        const test_support::ScopedStreaming streaming(aroundCache);
        for (const Values& values : {RandomLinear(draw), RandomAffine(draw), RandomMatrix(draw)}) {
            const Operation operation = Transforming("large", values);
            RunLarge(operation, {0, 1}, 65539, Targets());
            RunLarge(operation, {0, 0}, 4099, Targets());
        }
    }
    RunLarge(Transforming("a million", RandomLinear(draw)), {0, 1}, 1000003, {Zan::simd::BestTarget()});
    RunLarge(Transforming("a quarter of it", RandomMatrix(draw)), {0, 1}, 262147, {Zan::simd::BestTarget()});
}

TEST_F(Transform3DModel, NothingBeyondTheArraysIsTouched) {
    for (const Values& values : {RandomLinear(draw), RandomAffine(draw), RandomMatrix(draw)}) {
        RunFenced(Transforming("fenced", values));
    }
}

// One object gets block after block, so that whatever a block does not cover must have been reset. Of a block
// nothing is read but what it has.
TEST_F(Transform3DModel, BlocksOfEveryShape) {
    const auto transform = std::make_shared<Transform3D>();
    for (int round = 0; round < 12; ++round) {
        for (std::size_t columns = 0; columns <= 7; ++columns) {
            for (std::size_t rows = 0; rows <= 7; ++rows) {
                Doubles values;
                for (std::size_t i = 0; i < columns * rows; ++i) {
                    // Half of the rounds have elements that often make the class linear or affine.
                    const std::size_t row = i / columns, column = i % columns;
                    const bool decides = row == 3 || column == 3;
                    const double kept = draw.Bits() % 4 == 0 ? -0.0 : 0.0;
                    values.push_back(round % 2 == 0 && decides && draw.Below(8) != 0
                                         ? (row == column ? 1.0 : kept)
                                         : Element(draw, 0));
                }
                test_support::FencedMemory memory(values.size() * sizeof(double));
                if (!values.empty()) {
                    std::memcpy(memory.Data(), values.data(), values.size() * sizeof(double));
                }
                transform->SetMatrix(reinterpret_cast<double*>(memory.Data()), static_cast<ULong32>(columns),
                                     static_cast<ULong32>(rows));
                vector_model::Transform model;
                model.Set(values.data(), columns, rows);
                SCOPED_TRACE(::testing::Message() << columns << " columns, " << rows << " rows");
                RunLarge(Transforming("block", transform, model), {0, 1}, 11, {Zan::simd::BestTarget()});
                if (HasFailure()) {
                    return;
                }
            }
        }
    }
}

TEST_F(Transform3DModel, BlocksWithoutAnything) {
    const auto transform = std::make_shared<Transform3D>();
    Values values = RandomMatrix(draw);
    const auto expectIdentity = [&] {
        RunLarge(Transforming("identity", transform, {}), {0, 1}, 11, {Zan::simd::BestTarget()});
        transform->SetMatrix(values.data(), 4, 4);
    };
    transform->SetMatrix(values.data(), 4, 4);
    transform->SetMatrix(nullptr, 4, 4);
    expectIdentity();
    transform->SetMatrix(values.data(), 0, 4);
    expectIdentity();
    transform->SetMatrix(values.data(), 4, 0);
    expectIdentity();
    transform->SetMatrix(values.data(), 0, 0xFFFFFFFFU);
    expectIdentity();
    transform->SetMatrix(values.data(), 0xFFFFFFFFU, 0);
    expectIdentity();
    transform->SetMatrix(nullptr, 0xFFFFFFFFU, 0xFFFFFFFFU);
    expectIdentity();
}

TEST_F(Transform3DModel, WideAndTallBlocks) {
    // One row of very many columns: only the first four are there.
    Doubles row = {2, 3, 5, 7};
    test_support::FencedMemory memory(sizeof(double) * 4);
    std::memcpy(memory.Data(), row.data(), sizeof(double) * 4);
    const auto transform = std::make_shared<Transform3D>();
    transform->SetMatrix(reinterpret_cast<double*>(memory.Data()), 0xFFFFFFFFU, 1);
    vector_model::Transform model;
    model.Set(row.data(), 4, 1);
    RunLarge(Transforming("wide", transform, model), {0, 1}, 11, {Zan::simd::BestTarget()});
    transform->SetMatrix(reinterpret_cast<double*>(memory.Data()), 1, 0xFFFFFFFFU);
    model.Set(row.data(), 1, 4);
    RunLarge(Transforming("tall", transform, model), {0, 1}, 11, {Zan::simd::BestTarget()});
}

#if defined(TESSELU_TEST_FENCES) && SIZE_MAX > 0xFFFFFFFF
// The third row of so wide a block begins at element 2^32 + 2, which 32 bits would take for 2.
TEST_F(Transform3DModel, StridesBeyond32Bits) {
    constexpr std::size_t kColumns = 0x80000001U, kElements = 2 * kColumns + 4;
    void* reserved = mmap(nullptr, kElements * sizeof(double), PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (reserved == MAP_FAILED) {
        GTEST_SKIP() << "no room for 34 gigabytes of addresses";
    }
    auto* values = static_cast<double*>(reserved);
    const Values expected = RandomMatrix(draw);
    for (std::size_t i = 0; i < 12; ++i) {
        values[i / 4 * kColumns + i % 4] = expected[i];
    }
    const auto transform = std::make_shared<Transform3D>();
    transform->SetMatrix(values, static_cast<ULong32>(kColumns), 3);
    munmap(reserved, kElements * sizeof(double));
    vector_model::Transform model;
    model.Set(expected.data(), 4, 3);
    RunLarge(Transforming("wide", transform, model), {0, 1}, 11, {Zan::simd::BestTarget()});
}
#endif

// ---- Copies

static_assert(std::is_copy_constructible_v<Transform3D> && std::is_copy_assignable_v<Transform3D>);

TEST_F(Transform3DModel, CopiesHaveAMatrixOfTheirOwn) {
    Values first = RandomLinear(draw), second = RandomMatrix(draw), third = RandomAffine(draw);
    vector_model::Transform one, two, three;
    one.Set(first.data(), 4, 4);
    two.Set(second.data(), 4, 4);
    three.Set(third.data(), 4, 4);
    const auto expect = [](const char* name, std::shared_ptr<Transform3D> transform,
                           const vector_model::Transform& model) {
        RunLarge(Transforming(name, std::move(transform), model), {0, 1}, 11, {Zan::simd::BestTarget()});
    };

    auto original = std::make_shared<Transform3D>();
    original->SetMatrix(first.data(), 4, 4);
    const auto copy = std::make_shared<Transform3D>(*original);
    original->SetMatrix(second.data(), 4, 4);
    expect("copy", copy, one);
    expect("its original", original, two);

    const auto assigned = std::make_shared<Transform3D>();
    assigned->SetMatrix(third.data(), 4, 4);
    Transform3D& answer = (*assigned = *original);
    EXPECT_EQ(&answer, assigned.get());
    expect("assigned", assigned, two);
    assigned->SetMatrix(third.data(), 4, 4);
    expect("set behind the assignment", assigned, three);
    expect("what was assigned", original, two);

    Transform3D& itself = *assigned;
    *assigned = itself;
    expect("assigned to itself", assigned, three);

    *assigned = *original;
    original.reset();
    expect("outlives its original", assigned, two);

    std::vector<Transform3D> several(3, *copy);
    several.resize(20, *assigned);
    several.erase(several.begin() + 1, several.begin() + 4);
    expect("first of several", std::make_shared<Transform3D>(several.front()), one);
    expect("last of several", std::make_shared<Transform3D>(std::move(several.back())), two);
}

// ---- What the words say, in numbers worked out by hand

Floats Transformed(const Transform3D& transform, Floats points, int style = Zan::kFlp) {
    Floats out(points.size(), 7.0F);
    EXPECT_EQ(transform.Do(points.data(), out.data(), static_cast<ULong32>(points.size() / 3), Style(style)),
              0);
    return out;
}

TEST_F(Transform3DModel, ANewObjectLeavesPointsAsTheyAre) {
    const Transform3D transform;
    // A translation that is added, even 0, would take the sign of nothing; here in a block and behind all
    // blocks.
    Floats points(3, -0.0F);
    for (std::size_t i = 0; i < 24; ++i) {
        points.push_back(draw.WithExponent(static_cast<int>(draw.Below(200)) - 100));
    }
    points.insert(points.end(), 3, -0.0F);
    for (const int style : {0, 3, 5}) {
        const Floats out = Transformed(transform, points, style);
        for (std::size_t i = 0; i < points.size(); ++i) {
            EXPECT_EQ(BitsOf(out[i]), BitsOf(points[i]));
        }
    }
}

TEST_F(Transform3DModel, NoPoints) {
    const Transform3D transform;
    for (const int style : {0, 3, 5}) {
        EXPECT_EQ(transform.Do(nullptr, nullptr, 0, Style(style)), 0);
        float point[3] = {1, 2, 3}, out[3] = {7, 7, 7};
        EXPECT_EQ(transform.Do(point, out, 0, Style(style)), 0);
        EXPECT_EQ(out[0], 7.0F);
    }
}

TEST_F(Transform3DModel, RowsAndColumns) {
    Transform3D transform;
    double linear[9] = {1, 2, 3, 4, 5, 6, 7, 8, 10};
    transform.SetMatrix(linear, 3, 3);
    EXPECT_EQ(Transformed(transform, {1, 10, 100}), (Floats{321, 654, 1087}));
    double affine[12] = {1, 2, 3, 1000, 4, 5, 6, 2000, 7, 8, 10, 3000};
    transform.SetMatrix(affine, 4, 3);
    EXPECT_EQ(Transformed(transform, {1, 10, 100}), (Floats{1321, 2654, 4087}));
    // What lies to the right of three columns and below two rows is not taken.
    double wide[10] = {1, 2, 3, 4, 99, 5, 6, 7, 8, 99};
    transform.SetMatrix(wide, 5, 2);
    EXPECT_EQ(Transformed(transform, {1, 10, 100}), (Floats{325, 773, 100}));
    double column[4] = {2, 3, 5, 0};
    transform.SetMatrix(column, 1, 4);
    EXPECT_EQ(Transformed(transform, {1, 10, 100}), (Floats{2, 13, 105}));
}

// Three columns and four rows: the last element stays 1, so w = z + 1.
TEST_F(Transform3DModel, ThreeColumnsAndFourRows) {
    Transform3D transform;
    double values[12] = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1};
    transform.SetMatrix(values, 3, 4);
    for (const int style : {0, 3, 5}) {
        EXPECT_EQ(Transformed(transform, {2, 4, 1, 6, 8, 3, 5, 6, 0, 1, 2, -1}, style),
                  (Floats{1, 2, 0.5F, 1.5F, 2, 0.75F, 5, 6, 0, 1, 2, -1}));
    }
}

TEST_F(Transform3DModel, PointsAtInfinityKeepTheirCoordinates) {
    Transform3D transform;
    double values[16] = {2, 0, 0, 1, 0, 2, 0, 1, 0, 0, 2, 1, 0, 0, 1, 0};
    transform.SetMatrix(values, 4, 4);
    for (const int style : {0, 3, 5}) {
        EXPECT_EQ(Transformed(transform, {1, 2, 0, 1, 2, 4, 3, 4, -0.0F, 1, 2, -2}, style),
                  (Floats{3, 5, 1, 0.75F, 1.25F, 2.25F, 7, 9, 1, -1.5F, -2.5F, 1.5F}));
    }
}

// x' = 1 + 2^-24 + 2^-40 is 1 + 2^-23 as a float, which w = 1 + 2^-23 makes 1; unrounded it would be 2^-24
// less. w = 1 + 2^-24, which is 1 as a float, takes three quarters of a float's step from 1.5.
TEST_F(Transform3DModel, ProjectedCoordinatesAreRoundedBeforeTheyAreScaled) {
    double values[16] = {1, 0, 0, 0x1p-24 + 0x1p-40, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1 + 0x1p-23};
    Transform3D transform;
    transform.SetMatrix(values, 4, 4);
    EXPECT_EQ(Transformed(transform, {1, 0, 0})[0], 1.0F);
    values[3] = 0;
    values[15] = 1 + 0x1p-24;
    transform.SetMatrix(values, 4, 4);
    EXPECT_EQ(Transformed(transform, {1.5F, 0, 0})[0], 1.5F - 0x1p-23F);
}

// A translation of -0 is none, so that sums of nothing keep their sign; 1e-300 is one, which is added.
TEST_F(Transform3DModel, TheSignOfNothingTellsTheClass) {
    Transform3D transform;
    double values[16] = {1, 1, 1, -0.0, 0, 1, 0, -0.0, 0, 0, 1, -0.0, -0.0, -0.0, -0.0, 1};
    transform.SetMatrix(values, 4, 4);
    EXPECT_EQ(BitsOf(Transformed(transform, {-0.0F, -0.0F, -0.0F})[0]), BitsOf(-0.0F));
    values[3] = 0.0;
    transform.SetMatrix(values, 4, 4);
    EXPECT_EQ(BitsOf(Transformed(transform, {-0.0F, -0.0F, -0.0F})[0]), BitsOf(-0.0F));
    values[7] = 1e-300;
    transform.SetMatrix(values, 4, 4);
    EXPECT_EQ(BitsOf(Transformed(transform, {-0.0F, -0.0F, -0.0F})[0]), BitsOf(0.0F));
}

// 1/3 is another number in single precision.
TEST_F(Transform3DModel, BothPathsOfALinearMatrixDifferInTheLastBits) {
    double third = 1.0 / 3;
    double values[16] = {third,  third, third, 0, third, -third, third, 0,
                         -third, third, third, 0, 0,     0,      0,     1};
    Transform3D transform;
    transform.SetMatrix(values, 4, 4);
    Floats points;
    for (int i = 0; i < 3 * 1001; ++i) {
        points.push_back(draw.WithExponent(0));
    }
    const Floats doubles = Transformed(transform, points, Zan::kFlp),
                 single = Transformed(transform, points, Zan::kFlp_SIMD);
    std::size_t different = 0;
    for (std::size_t i = 0; i < 3 * 1000; ++i) {
        different += doubles[i] != single[i] ? 1U : 0U;
        EXPECT_NEAR(doubles[i], single[i], 1e-6);
    }
    EXPECT_GT(different, 300U);
    // The last point is one of a block that is not whole.
    EXPECT_EQ(Floats(doubles.end() - 3, doubles.end()), Floats(single.end() - 3, single.end()));
    // With a translation, however small, there is no other path.
    values[3] = 1e-300;
    transform.SetMatrix(values, 4, 4);
    EXPECT_EQ(Transformed(transform, points, Zan::kFlp), Transformed(transform, points, Zan::kFlp_SIMD));
    EXPECT_EQ(Transformed(transform, points, Zan::kFlp_SIMD), doubles);
}

}  // namespace
