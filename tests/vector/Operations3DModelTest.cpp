// All operations on batches of vectors, bit for bit against a second, plain model.

#include <TesselU/vector/Operations3D.h>
#include <gtest/gtest.h>

#include "foundation/CapabilitySeam.h"
#include "support/Streaming.h"
#include "vector/VectorOperations.h"

using namespace vector_test;
using Zan::Operations3D;

namespace {

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

}  // namespace
