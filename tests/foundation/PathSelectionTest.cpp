#include <gtest/gtest.h>

#include <climits>

#include "foundation/CapabilitySeam.h"
#include "foundation/PathSelection.h"

namespace Zan {
namespace {

// The usual operation: scalar but for two styles, with kernels of its own for MMX, SSE and SSE2.
constexpr StyleRule kStyles{Ask::kScalar, Ask::kScalar, Ask::kVector,
                            Ask::kScalar, Ask::kVector, Ask::kScalar};
constexpr VectorRule kVectors{true, Path::kSSE, Path::kMMX};

CPUcapabilities Processor(CPUinstructionSetEnum set) {
    CPUcapabilities processor;
    CapabilitySeam::SetInstructionSet(processor, set);
    return processor;
}

constexpr CPUinstructionSetEnum kSets[] = {kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2};

TEST(PathSelection, ScalarStylesAskNoProcessor) {
    for (const int style : {INT_MIN, -1, +kFlp, +kFP, +kFlp_SIMD, +kStyle4, +kGeneralFormat, 7, INT_MAX}) {
        for (const CPUinstructionSetEnum set : kSets) {
            for (const bool mmxOnly : {false, true}) {
                EXPECT_EQ(
                    ChoosePath(kStyles, kVectors, static_cast<unsigned>(style), Processor(set), mmxOnly),
                    Path::kScalar)
                    << "style " << style << ", set " << set;
            }
        }
    }
}

TEST(PathSelection, VectorStylesFollowTheProcessor) {
    const struct {
        CPUinstructionSetEnum set;
        bool mmxOnly;
        Path path;
    } rows[] = {
        {kMMX, false, Path::kMMX},    {kMMX, true, Path::kMMX},   {kSSE_MMX, false, Path::kSSE},
        {kSSE_MMX, true, Path::kMMX}, {kSIMD, false, Path::kSSE}, {kSIMD, true, Path::kMMX},
        {kSSE2, false, Path::kSSE2},  {kSSE2, true, Path::kSSE2}, {kScalarOnly, false, Path::kMMX},
    };
    for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kBestAvailable}) {
        for (const auto& row : rows) {
            EXPECT_EQ(
                ChoosePath(kStyles, kVectors, static_cast<unsigned>(style), Processor(row.set), row.mmxOnly),
                row.path)
                << "style " << style << ", set " << row.set << ", MMX only " << row.mmxOnly;
        }
    }
}

TEST(PathSelection, OperationWithoutSSE2KernelKeepsToTheFlag) {
    constexpr VectorRule kNoSSE2{false, Path::kSSE, Path::kMMX};
    EXPECT_EQ(ChoosePath(kStyles, kNoSSE2, kBestAvailable, Processor(kSSE2), false), Path::kSSE);
    EXPECT_EQ(ChoosePath(kStyles, kNoSSE2, kBestAvailable, Processor(kSSE2), true), Path::kMMX);
}

TEST(PathSelection, FormOnSSERegistersAsksForThem) {
    constexpr VectorRule kInSingles{true, Path::kSSE, Path::kScalar, true};
    // The flag is about MMX.
    for (const bool mmxOnly : {false, true}) {
        const auto path = [&](CPUinstructionSetEnum set) {
            return ChoosePath(kStyles, kInSingles, kBestAvailable, Processor(set), mmxOnly);
        };
        EXPECT_EQ(path(kScalarOnly), Path::kScalar);
        EXPECT_EQ(path(kMMX), Path::kScalar);
        EXPECT_EQ(path(kSSE_MMX), Path::kScalar);
        EXPECT_EQ(path(kSIMD), Path::kSSE);
        EXPECT_EQ(path(kSSE2), Path::kSSE2);
    }
}

TEST(PathSelection, EveryStyleHasItsOwnAnswer) {
    constexpr StyleRule kRule{Ask::kFloat,  Ask::kScalar, Ask::kVector,
                              Ask::kRefuse, Ask::kScalar, Ask::kFloat};
    const CPUcapabilities processor = Processor(kSSE2);
    const auto path = [&](unsigned style) { return ChoosePath(kRule, kVectors, style, processor, false); };
    EXPECT_EQ(path(kFlp), Path::kFloat);
    EXPECT_EQ(path(kFP), Path::kScalar);
    EXPECT_EQ(path(kInt_MMXorSIMD), Path::kSSE2);
    EXPECT_EQ(path(kFlp_SIMD), Path::kRefused);
    EXPECT_EQ(path(kStyle4), Path::kFloat);
    EXPECT_EQ(path(kBestAvailable), Path::kScalar);
    EXPECT_EQ(path(kGeneralFormat), Path::kFloat);
}

}  // namespace
}  // namespace Zan
