// Noise levels: as they are set, measured and followed.

#include <TesselU/filter/NoiseReduction.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "filter/ReductionCalls.h"

using namespace filter_test;

TEST(NoiseReduction, ALevelOf255AndMoreIsDropped) {
    Call call;
    call.windowWidth = 3;
    const Picture picture = Lumas({100, 100, 130, 100});
    for (const float level : {255.0F, 300.0F, std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN(), 0.0F, -5.0F, 0.49F}) {
        EXPECT_EQ(Filtered({picture}, {level, 0, 0}, call), picture) << level;
    }
    // 254.9 counts as 255: everything is noise. 0.5 counts as 1: 110 / 13 + 130 * 12 / 13 = 128.46.
    EXPECT_EQ(LumaOf(Filtered({picture}, {254.9F, 0, 0}, call))[2], 110);
    EXPECT_EQ(LumaOf(Filtered({picture}, {0.5F, 0, 0}, call))[2], 128);
}

TEST(NoiseReduction, NewLevelsAreZero) {
    NoiseReduction filter;
    float measured[4] = {1, 2, 3, 4};
    filter.GetMeasuredNoiseLevel(measured);
    for (const float level : measured) {
        EXPECT_EQ(level, 0.0F);
    }
    std::vector<Picture> frames = {Lumas({100, 100, 130, 100})};
    Picture out(2, 1);
    Call call;
    call.windowWidth = 3;
    EXPECT_EQ(Filter(filter, frames, out, call), 0);
    EXPECT_EQ(out, frames[0]);
}

namespace {

/// A picture of 16 by 16 pixels whose deviation in a window of three pixels is known at pixel (10, 10), the
/// last one that is measured, and other elsewhere.
Picture Measured(int cb, int luma, int cr) {
    Picture picture = Random(8, 16, 9);
    for (std::size_t x = 8; x < 13; ++x) {
        picture.Byte(2 * x + 1, 10) = 100;
        picture.Byte(x / 2 * 4, 10) = 50;
        picture.Byte(x / 2 * 4 + 2, 10) = 60;
    }
    picture.Byte(2 * 10 + 1, 10) = static_cast<std::uint8_t>(100 + luma);
    // Of the window's chroma, pixel 9 is of the pair before.
    picture.Byte(4 * 4, 10) = static_cast<std::uint8_t>(50 + cb);
    picture.Byte(4 * 4 + 2, 10) = static_cast<std::uint8_t>(60 + cr);
    return picture;
}

/// Samples v, v and v + d: the mean is v + round(d / 3).
float DeviationOf(int d) {
    const int mean = (2 * d + 3) / 6;
    return static_cast<float>(2 * mean + (d - mean)) * (1.0F / 3.0F);
}

}  // namespace

TEST(NoiseReduction, MeasuresTheLastPixelInside) {
    NoiseReduction filter;
    std::vector<Picture> frames = {Measured(30, 60, 9)};
    Picture out(8, 16);
    Call call;
    call.windowWidth = 3;
    call.implementation = 3;
    EXPECT_EQ(Filter(filter, frames, out, call), 0);
    float measured[4] = {9, 9, 9, 9};
    filter.GetMeasuredNoiseLevel(measured);
    EXPECT_EQ(measured[0], DeviationOf(30));  // 40 / 3
    EXPECT_EQ(measured[1], DeviationOf(60));
    EXPECT_EQ(measured[2], DeviationOf(9));
    EXPECT_EQ(measured[3], 0.0F);
    EXPECT_NEAR(measured[1], 80.0 / 3, 1e-4);

    // Nothing else measures.
    for (const Call& form : {AllForms(call)[0], AllForms(call)[1], AllForms(call)[2], AllForms(call)[4]}) {
        std::vector<Picture> others = {Measured(3, 6, 12)};
        EXPECT_EQ(Filter(filter, others, out, form), 0);
        float still[4];
        filter.GetMeasuredNoiseLevel(still);
        EXPECT_TRUE(std::equal(still, still + 4, measured));
    }
}

TEST(NoiseReduction, APictureWithoutInsideMeasures255) {
    const ULong32 sizes[][2] = {{12, 11}, {10, 12}, {11, 12}, {1, 1}, {2, 40}};
    for (const auto& [width, height] : sizes) {
        NoiseReduction filter;
        std::vector<Picture> frames = {Random((width + 1) / 2, height, 4)};
        Picture out((width + 1) / 2, height);
        Call call;
        call.windowWidth = 3;
        call.implementation = 3;
        call.width = width;
        EXPECT_EQ(Filter(filter, frames, out, call), 0);
        float measured[4];
        filter.GetMeasuredNoiseLevel(measured);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(measured[i], 255.0F) << width << "x" << height;
        }
    }
    // One pixel inside, (6, 6).
    NoiseReduction filter;
    std::vector<Picture> frames = {Random(6, 12, 4)};
    Picture out(6, 12);
    Call call;
    call.windowWidth = 3;
    call.implementation = 3;
    EXPECT_EQ(Filter(filter, frames, out, call), 0);
    float measured[4];
    filter.GetMeasuredNoiseLevel(measured);
    EXPECT_LT(measured[1], 255.0F);
    const int a = frames[0].Byte(11, 6), b = frames[0].Byte(13, 6), c = frames[0].Byte(15, 6);
    const int mean = static_cast<int>(std::nearbyint((a + b + c) / 3.0));
    const int differences = std::abs(a - mean) + std::abs(b - mean) + std::abs(c - mean);
    EXPECT_EQ(measured[1], static_cast<float>(differences) * (1.0F / 3.0F));
}

TEST(NoiseReduction, LevelsFollowThePicturesByAMeanOfThree) {
    // Levels start at 6; after pictures that measure 40 for luma they are (40 + 6 + 6) / 3, (80 + 6) / 3, 40.
    NoiseReduction filter;
    float base[3] = {6, 6, 6};
    filter.SetBaseNoiseLevel(base);
    filter.AutomaticNoiseLevelAdjustment(true);
    // 2 * 30 + 60 = 120 thirds.
    std::vector<Picture> loud = {Measured(90, 90, 90)};
    Picture out(8, 16);
    Call call;
    call.windowWidth = 3;
    call.implementation = 3;

    // What the level is now, seen by a filter without strength and a limit: pixel 1 of 0, 255, 255 ... would
    // be 170 and comes to 255 minus the level.
    const auto levelOf = [](NoiseReduction copy) {
        copy.AutomaticNoiseLevelAdjustment(false);
        std::vector<Picture> frames = {Lumas({0, 255, 255, 255})};
        Picture made(2, 1);
        Call look;
        look.windowWidth = 3;
        look.strength = 0;
        look.limits = true;
        look.implementation = 3;
        EXPECT_EQ(Filter(copy, frames, made, look), 0);
        return 255 - made.Byte(3);
    };
    EXPECT_EQ(levelOf(filter), 6);
    // A new object does not follow what it measures.
    NoiseReduction still;
    still.SetBaseNoiseLevel(base);
    Filter(still, loud, out, call);
    EXPECT_EQ(levelOf(still), 6);
    Filter(filter, loud, out, call);
    EXPECT_EQ(levelOf(filter), 17);  // 17.33
    Filter(filter, loud, out, call);
    EXPECT_EQ(levelOf(filter), 29);  // 28.67
    Filter(filter, loud, out, call);
    EXPECT_EQ(levelOf(filter), 40);
    Filter(filter, loud, out, call);
    EXPECT_EQ(levelOf(filter), 40);

    // Others neither measure nor move.
    for (const Call& form : {AllForms(call)[0], AllForms(call)[1], AllForms(call)[2], AllForms(call)[4]}) {
        Filter(filter, loud, out, form);
    }
    EXPECT_EQ(levelOf(filter), 40);

    // A refused call moves the levels if it is of this form: with what was measured last.
    filter.SetBaseNoiseLevel(base);
    EXPECT_EQ(levelOf(filter), 6);
    Call refused = call;
    refused.windowHeight = 2;
    EXPECT_EQ(Filter(filter, loud, out, refused), -2);
    EXPECT_EQ(levelOf(filter), 17);
    EXPECT_EQ(filter.DoFilterSSF(nullptr, out.memory.data(), 16, 16, 32, 32, nullptr, 3, 1, 1, kOwn, false, 1,
                                 2, 3),
              -1);
    EXPECT_EQ(levelOf(filter), 29);
    refused.implementation = 2;
    EXPECT_EQ(Filter(filter, loud, out, refused), -2);
    refused.implementation = 3;
    refused.format = 1;
    EXPECT_EQ(Filter(filter, loud, out, refused), -1);
    refused.format = 0;
    EXPECT_EQ(Filter(filter, loud, out, refused), -2);
    EXPECT_EQ(levelOf(filter), 29);
    filter.AutomaticNoiseLevelAdjustment(false);
    Filter(filter, loud, out, call);
    EXPECT_EQ(levelOf(filter), 29);
}

TEST(NoiseReduction, CopiesHaveLevelsOfTheirOwn) {
    NoiseReduction filter;
    float base[3] = {4, 4, 4};
    filter.SetBaseNoiseLevel(base);
    NoiseReduction copy = filter;
    base[0] = 0;
    filter.SetBaseNoiseLevel(base);
    std::vector<Picture> frames = {Lumas({100, 100, 130, 100})};
    Picture out(2, 1);
    Call call;
    call.windowWidth = 3;
    EXPECT_EQ(Filter(copy, frames, out, call), 0);
    EXPECT_EQ(out.Byte(5), 124);
    EXPECT_EQ(Filter(filter, frames, out, call), 0);
    EXPECT_EQ(out.Byte(5), 130);
}
