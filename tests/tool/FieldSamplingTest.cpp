#include "media/FieldSampling.h"

#include <gtest/gtest.h>

namespace tool {
namespace {

using namespace Zan;

TEST(FieldSamplingTest, ProgressiveFramesBecomeFields) {
    const FieldSampling sampling(kProgressive, false, kUpperFieldFirst);
    EXPECT_EQ(sampling.FrameOf(0, 0), 0);
    EXPECT_EQ(sampling.FrameOf(0, 1), 1);
    EXPECT_EQ(sampling.FrameOf(7, 0), 14);
    EXPECT_EQ(sampling.FrameOf(7, 1), 15);
    EXPECT_EQ(sampling.Pictures(41), 20);
    EXPECT_EQ(sampling.Pictures(1), 1);
    EXPECT_EQ(sampling.Rate({30000, 1001}).num, 15000);
    EXPECT_EQ(sampling.Rate({30000, 1001}).den, 1001);
}

TEST(FieldSamplingTest, InterlacedFramesKeepTheirFields) {
    const FieldSampling sampling(kUpperFieldFirst, false, kUpperFieldFirst);
    EXPECT_EQ(sampling.FrameOf(3, 0), 3);
    EXPECT_EQ(sampling.FrameOf(3, 1), 3);
    EXPECT_EQ(sampling.Pictures(41), 41);
    EXPECT_EQ(sampling.Rate({25, 1}).num, 25);
}

// The first output field is then the source's second one, and its companion comes from the next frame.
TEST(FieldSamplingTest, OtherFieldOrderStartsOneFieldLater) {
    const FieldSampling sampling(kUpperFieldFirst, false, kLowerFieldFirst);
    EXPECT_EQ(sampling.FrameOf(3, 0), 3);
    EXPECT_EQ(sampling.FrameOf(3, 1), 4);
    EXPECT_EQ(sampling.Pictures(41), 40);
}

TEST(FieldSamplingTest, ProgressiveOutputTakesFramesAsTheyAre) {
    for (const ScanStyleEnum source : {kProgressive, kUpperFieldFirst, kLowerFieldFirst}) {
        const FieldSampling sampling(source, false, kProgressive);
        EXPECT_EQ(sampling.FrameOf(5, 0), 5);
        EXPECT_EQ(sampling.Pictures(41), 41);
    }
}

TEST(FieldSamplingTest, AStillStandsStill) {
    const FieldSampling sampling(kProgressive, true, kUpperFieldFirst);
    EXPECT_EQ(sampling.FrameOf(1000, 0), 0);
    EXPECT_EQ(sampling.FrameOf(1000, 1), 0);
}

}  // namespace
}  // namespace tool
