// The adaptive filter, and what is refused.

#include <TesselU/filter/NoiseReduction.h>
#include <TesselU/filter/NoiseSource.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "filter/ReductionCalls.h"
#include "simd/Targets.h"

using namespace filter_test;

TEST(NoiseReduction, OneSampleIsItsOwnMean) {
    const Picture picture = Random(33, 7, 1);
    for (const Call& call : AllForms()) {
        EXPECT_EQ(Filtered({picture}, {7, 8, 9}, call), picture)
            << "format " << call.format << ", implementation " << call.implementation;
    }
}

TEST(NoiseReduction, FlatWindowWithoutLevelIsBlackInImplementation3) {
    // 0 / 0: the fraction is not a number.
    const Picture picture(20, 3, 0x80808080U);
    Call call;
    call.windowWidth = call.windowHeight = 3;
    for (call.implementation = 0; call.implementation < 3; ++call.implementation) {
        EXPECT_EQ(Filtered({picture}, kNoLevels, call), picture);
    }
    EXPECT_EQ(Filtered({picture}, kNoLevels, call), Picture(20, 3, 0));
    // The limit works after it.
    call.limits = true;
    EXPECT_EQ(Filtered({picture}, kNoLevels, call), picture);
    // With a level for luma alone, which is the second one here, chroma is black.
    call.limits = false;
    EXPECT_EQ(Filtered({picture}, {0, 1, 0}, call), [] {
        Picture expected(20, 3, 0);
        for (std::size_t i = 1; i < 4 * 60; i += 2) {
            expected.Byte(i) = 0x80;
        }
        return expected;
    }());
}

TEST(NoiseReduction, ThreeEqualFramesAreLikeOne) {
    const Picture picture = Random(40, 9, 2, 100, 20);
    Call one;
    one.windowWidth = one.windowHeight = 3;
    one.strength = 0.7;
    Call three = one;
    three.windowFrames = 3;
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(Filtered({picture, picture, picture}, {4, 5, 6}, AllForms(three)[i]),
                  Filtered({picture}, {4, 5, 6}, AllForms(one)[i]))
            << i;
    }
}

TEST(NoiseReduction, WithoutLevelsTheFrameIsCopied) {
    const Picture picture = Random(40, 9, 3);
    Call call;
    call.windowWidth = call.windowHeight = 5;
    for (const Call& form : AllForms(call)) {
        // Implementation 3 as well, where no window is without differences.
        EXPECT_EQ(Filtered({picture}, kNoLevels, form), picture) << form.format << form.implementation;
    }
}

TEST(NoiseReduction, WithoutStrengthTheMeanIsTaken) {
    Call call;
    call.windowWidth = 3;
    call.strength = 0;
    const std::vector<int> luma = {10, 20, 60, 100, 101, 103};
    // (10+10+20)/3 = 13.3, (10+20+60)/3 = 30, 60, 87, 101.3, (101+103+103)/3 = 102.3
    for (call.implementation = 0; call.implementation < 4; ++call.implementation) {
        EXPECT_EQ(LumaOf(Filtered({Lumas(luma)}, {1, 1, 1}, call)),
                  (std::vector<int>{13, 30, 60, 87, 101, 102}));
    }
    // A limit of 5 holds it back.
    call.limits = true;
    for (call.implementation = 0; call.implementation < 4; ++call.implementation) {
        EXPECT_EQ(LumaOf(Filtered({Lumas(luma)}, {5, 5, 5}, call)),
                  (std::vector<int>{13, 25, 60, 95, 101, 102}));
    }
    // A limit of 0 returns the centre.
    for (call.implementation = 0; call.implementation < 4; ++call.implementation) {
        EXPECT_EQ(LumaOf(Filtered({Lumas(luma)}, kNoLevels, call)), luma);
    }
}

TEST(NoiseReduction, FractionsByHand) {
    Call call;
    call.windowWidth = 3;
    const std::vector<int> luma = {100, 100, 130, 100};
    // Pixel 1: mean 110, differences 10 + 10 + 20 = 40, dev 13 (13.33); level 4. fraction 4/13, keep 9/13:
    // 110 * 4/13 + 100 * 9/13 = 103.08. In single precision 4/13.33: 0.3 * 110 + 0.7 * 100 = 103.0.
    // Pixel 2: the same window: 110 * 4/13 + 130 * 9/13 = 123.85; 124. Single: 0.3 * 110 + 0.7 * 130 = 124.
    // Pixel 3: mean 110: 100 * 9/13 + 110 * 4/13 = 103.08. Pixel 0: flat, the mean.
    for (call.implementation = 0; call.implementation < 4; ++call.implementation) {
        EXPECT_EQ(LumaOf(Filtered({Lumas(luma)}, {4, 4, 4}, call)), (std::vector<int>{100, 103, 124, 103}));
    }
    // A level of 13 is not below a dev of 13, but below 13.33: there 110 * 0.975 + 130 * 0.025 = 110.5. Half
    // a unit in the last place decides; a strength of 1.1 does not leave it to that: 0.0275 * 20 = 0.55.
    call.strength = 1.1;
    for (call.implementation = 0; call.implementation < 3; ++call.implementation) {
        EXPECT_EQ(LumaOf(Filtered({Lumas(luma)}, {13, 13, 13}, call))[2], 110);
    }
    EXPECT_EQ(LumaOf(Filtered({Lumas(luma)}, {13, 13, 13}, call))[2], 111);
}

TEST(NoiseReduction, StrengthHasNoLowerLimitAndResultsAreLimited) {
    Call call;
    call.windowWidth = 3;
    // Mean 110, centre 130, fraction 4/13, keep 9/13 * -2 = -1.385: 2.385 * 110 - 1.385 * 130 = 82.3.
    call.strength = -2;
    EXPECT_EQ(LumaOf(Filtered({Lumas({100, 100, 130, 100})}, {4, 4, 4}, call))[2], 82);
    // -13.8: far below 0, and above 255 on the dark side.
    call.strength = -20;
    EXPECT_EQ(LumaOf(Filtered({Lumas({100, 100, 130, 100})}, {4, 4, 4}, call))[2], 0);
    EXPECT_EQ(LumaOf(Filtered({Lumas({100, 100, 70, 100})}, {4, 4, 4}, call))[2], 255);
    // Not a number: 0.
    call.strength = kNaN;
    EXPECT_EQ(LumaOf(Filtered({Lumas({100, 100, 130, 100})}, {4, 4, 4}, call)),
              (std::vector<int>{0, 0, 0, 0}));
}

TEST(NoiseReduction, ChromaOfAPairIsThatOfItsEvenPixel) {
    // Three pairs; windows of 3 pixels around pixels 0, 2, 4 hold chroma of pairs 0 0 0, 0 1 1, 1 2 2.
    Picture picture(3, 1);
    const int cb[3] = {10, 40, 100}, cr[3] = {200, 140, 20};
    for (std::size_t p = 0; p < 3; ++p) {
        picture.Byte(4 * p) = static_cast<std::uint8_t>(cb[p]);
        picture.Byte(4 * p + 2) = static_cast<std::uint8_t>(cr[p]);
    }
    Call call;
    call.windowWidth = 3;
    call.strength = 0;
    for (call.implementation = 0; call.implementation < 4; ++call.implementation) {
        Picture out = Filtered({picture}, {1, 1, 1}, call);
        EXPECT_EQ(out.Byte(0), 10);
        EXPECT_EQ(out.Byte(4), 30);
        EXPECT_EQ(out.Byte(8), 80);
        EXPECT_EQ(out.Byte(2), 200);
        EXPECT_EQ(out.Byte(6), 160);
        EXPECT_EQ(out.Byte(10), 60);
    }
}

TEST(NoiseReduction, AnOddPixelHasItsOwnFractions) {
    // Chroma changes between the pairs. The window of pixel 1 holds pairs 0, 0, 1, that of pixel 0 only pair
    // 0.
    Picture picture(2, 1, 0);
    const int luma[4] = {100, 100, 130, 100};
    for (std::size_t x = 0; x < 4; ++x) {
        picture.Byte(2 * x) = x < 2 ? 50 : 110;
        picture.Byte(2 * x + 1) = static_cast<std::uint8_t>(luma[x]);
    }
    Call call;
    call.windowWidth = 3;
    call.control = NoiseReduction::kAlphaMinimum;
    double weights[3] = {1, 1, 1};
    call.weights = weights;
    // Pixel 1: luma dev 13, fraction 5/13; chroma: mean 70, dev (20+20+40)/3 = 26.67: 5/27. That is the
    // smaller: 110 * 5/27 + 100 * 22/27 = 101.85. Alone it would be 103.85.
    call.implementation = 0;
    EXPECT_EQ(LumaOf(Filtered({picture}, {5, 5, 5}, call))[1], 102);
    call.implementation = 3;
    EXPECT_EQ(LumaOf(Filtered({picture}, {5, 5, 5}, call))[1], 102);
    call.control = NoiseReduction::kAlphaMaximum;
    EXPECT_EQ(LumaOf(Filtered({picture}, {5, 5, 5}, call))[1], 104);
    call.implementation = 0;
    EXPECT_EQ(LumaOf(Filtered({picture}, {5, 5, 5}, call))[1], 104);
}

TEST(NoiseReduction, AnOddWidthLeavesTheEvenLumaTwice) {
    Picture picture = Lumas({10, 20, 30, 99});
    Call call;
    call.windowWidth = 3;
    call.strength = 0;
    call.width = 3;
    for (call.implementation = 0; call.implementation < 4; ++call.implementation) {
        // Pixel 2: (20 + 30 + 30) / 3 = 26.7; the luma beyond the width does not count.
        EXPECT_EQ(LumaOf(Filtered({picture}, {1, 1, 1}, call)), (std::vector<int>{13, 20, 27, 27}));
    }
}

TEST(NoiseReduction, BordersOf32BitPixelsAreDark) {
    const Picture picture(5, 5, 0x5A5A5A5AU);  // 90
    Call call;
    call.format = 0;
    call.windowWidth = call.windowHeight = 3;
    call.strength = 0;
    Picture out = Filtered({picture}, {1, 1, 1}, call);
    // 4, 6 and 9 of 9 samples are inside; sample 3 is copied.
    EXPECT_EQ(out.Byte(0, 0), 40);
    EXPECT_EQ(out.Byte(1, 0), 40);
    EXPECT_EQ(out.Byte(2, 0), 40);
    EXPECT_EQ(out.Byte(3, 0), 90);
    EXPECT_EQ(out.Byte(4, 0), 60);
    EXPECT_EQ(out.Byte(0, 1), 60);
    EXPECT_EQ(out.Byte(4, 1), 90);
    EXPECT_EQ(out.Byte(16, 4), 40);
}

TEST(NoiseReduction, LevelsAndWeightsFollowTheOrderOfTheImplementation) {
    // Only luma differs within its window: only its level counts.
    const Picture picture = Lumas({100, 100, 130, 100});
    Call call;
    call.windowWidth = 3;
    for (const ULong32 implementation : {0U, 1U, 2U, 3U}) {
        call.implementation = implementation;
        const bool isFirst = implementation != 3;
        EXPECT_EQ(LumaOf(Filtered({picture}, {isFirst ? 4.0F : 0.0F, isFirst ? 0.0F : 4.0F, 0}, call))[2],
                  124);
        EXPECT_EQ(LumaOf(Filtered({picture}, {isFirst ? 0.0F : 4.0F, isFirst ? 4.0F : 0.0F, 4}, call))[2],
                  130);
    }
    // Sample 1 of 32-bit pixels has level 1.
    Picture pixels(5, 1, 0x64646464U);
    pixels.Byte(9) = 130;
    call.format = 0;
    EXPECT_EQ(Filtered({pixels}, {0, 4, 0}, call).Byte(9), 124);
    EXPECT_EQ(Filtered({pixels}, {4, 0, 4}, call).Byte(9), 130);
}

TEST(NoiseReduction, WeightedSum) {
    // Chroma is flat: fractions of 1, with levels. Luma of pixel 2: 4/13.
    const Picture picture = Lumas({100, 100, 130, 100});
    Call call;
    call.windowWidth = 3;
    call.control = NoiseReduction::kAlphaWeightedSum;
    // 0.4 * 4/13 + 0.2 + 0.2 = 0.523: 110 * 0.523 + 130 * 0.477 = 119.54.
    call.implementation = 2;
    EXPECT_EQ(LumaOf(Filtered({picture}, {4, 4, 4}, call))[2], 120);
    // 0.4 is the first chroma's here: 0.4 + 0.2 * 0.3 + 0.2 = 0.66: 116.8.
    call.implementation = 3;
    EXPECT_EQ(LumaOf(Filtered({picture}, {4, 4, 4}, call))[2], 117);
    // Given weights, limited above to 1: the mean.
    double weights[3] = {0.5, 1, 1};
    call.weights = weights;
    EXPECT_EQ(LumaOf(Filtered({picture}, {4, 4, 4}, call))[2], 110);
    call.implementation = 2;
    EXPECT_EQ(LumaOf(Filtered({picture}, {4, 4, 4}, call))[2], 110);
    // Others, and 32-bit pixels, take each channel's own, without weights.
    for (call.implementation = 0; call.implementation < 2; ++call.implementation) {
        EXPECT_EQ(LumaOf(Filtered({picture}, {4, 4, 4}, call))[2], 124);
    }
    Picture pixels(5, 1, 0x64646464U);
    pixels.Byte(9) = 130;
    call.format = 0;
    for (call.implementation = 0; call.implementation < 5; ++call.implementation) {
        EXPECT_EQ(Filtered({pixels}, {4, 4, 4}, call).Byte(9), 124);
    }
}

TEST(NoiseReduction, WindowsLargerThanThePicture) {
    // Clamped: of 9 positions around pixel 0 of two, five are pixel 0 and four pixel 1.
    Call call;
    call.windowWidth = 9;
    call.strength = 0;
    for (call.implementation = 0; call.implementation < 4; ++call.implementation) {
        EXPECT_EQ(LumaOf(Filtered({Lumas({0, 90})}, {1, 1, 1}, call)), (std::vector<int>{40, 50}));
    }
    // More than 257 samples, and more rows than the picture has.
    call.windowHeight = 31;
    for (call.implementation = 0; call.implementation < 4; ++call.implementation) {
        EXPECT_EQ(LumaOf(Filtered({Lumas({0, 90})}, {1, 1, 1}, call)), (std::vector<int>{40, 50}));
    }
    // Outside is 0 for 32-bit pixels: two of nine columns and one of three rows.
    call.format = 0;
    call.windowHeight = 3;
    Picture out = Filtered({Picture(2, 1, 0x87878787U)}, {1, 1, 1}, call);  // 135 * 2 / 27
    EXPECT_EQ(out, Picture(2, 1, 0x870A0A0AU));
}

TEST(NoiseReduction, EveryNumberOfSamplesIsTheSameOnEveryTarget) {
    // Sums fit 16 bits up to 257 samples. White and black pictures reach their ends.
    for (const unsigned range : {256U, 2U, 1U}) {
        const Picture picture = Random(23, 3, 31, 256 - range, range);
        for (ULong32 n = 1; n <= 261; n += 2) {
            for (const bool isWide : {false, true}) {
                Call call;
                (isWide ? call.windowWidth : call.windowHeight) = n;
                call.strength = 0.75;
                for (const Call& form : {AllForms(call)[0], AllForms(call)[3], AllForms(call)[4]}) {
                    Picture expected(1, 1);
                    {
                        const simd::ScopedTarget scope(simd::kPortable);
                        expected = Filtered({picture}, {20, 30, 40}, form);
                    }
                    for (std::size_t i = 1; i < simd::kTargetCount; ++i) {
                        const auto target = static_cast<simd::Target>(i);
                        if (simd::IsTargetAvailable(target)) {
                            const simd::ScopedTarget scope(target);
                            ASSERT_EQ(Filtered({picture}, {20, 30, 40}, form), expected)
                                << n << " samples, target " << i;
                        }
                    }
                }
            }
        }
    }
}

TEST(NoiseReduction, FlatPictureNoiseGoesDownByTheNumberOfSamples) {
    // v + 1/12 becomes (v + 1/12) / n + 1/12.
    const auto varianceOf = [](Picture& picture) {
        double sum = 0, squares = 0, count = 0;
        for (std::size_t y = 4; y < picture.rows - 4; ++y) {
            for (std::size_t i = 17; i < 4 * picture.words - 16; i += 2) {
                sum += picture.Byte(i, y);
                squares += picture.Byte(i, y) * picture.Byte(i, y);
                ++count;
            }
        }
        return squares / count - sum / count * (sum / count);
    };
    NoiseSource source;
    std::vector<Picture> frames;
    for (ULong32 i = 0; i < 3; ++i) {
        frames.emplace_back(160U, 200U, 0x80808080U);
        Picture& frame = frames.back();
        source.SetRandomSeed(12345 + 1000000007U * i);
        source.AddGaussian(frame.memory.data(), frame.memory.data(), 160, 200, 640, 640, 64, 0);
        EXPECT_NEAR(varianceOf(frame), 64 + 1.0 / 12, 1.2);
    }
    const ULong32 windows[][3] = {{3, 1, 1}, {3, 3, 1}, {5, 5, 1}, {1, 1, 3}, {3, 3, 3}};
    for (const auto& [w, h, t] : windows) {
        for (const ULong32 implementation : {0U, 3U}) {
            Call call;
            call.windowWidth = w;
            call.windowHeight = h;
            call.windowFrames = t;
            call.strength = 0;
            call.implementation = implementation;
            const std::vector<Picture> given(frames.begin(), frames.begin() + t);
            Picture out = Filtered(given, {9, 9, 9}, call);
            const double expected = (64 + 1.0 / 12) / (w * h * t) + 1.0 / 12;
            EXPECT_NEAR(varianceOf(out), expected, expected * 0.05) << w << h << t << implementation;
        }
    }
}

// ---- What is refused, and what does nothing
// ------------------------------------------------------------------

TEST(NoiseReduction, StatusesInTheirOrder) {
    NoiseReduction filter;
    ULong32 word = 7, out = 9;
    ULong32* frames[] = {&word};
    const auto run = [&](ULong32** in, ULong32* to, ULong32 w, ULong32 h, ULong32 t, ULong32 format,
                         ULong32 implementation) {
        return filter.DoFilterSSF(in, to, 1, 1, 4, 4, nullptr, w, h, t, kOwn, false, 1, format,
                                  implementation);
    };
    for (const ULong32 format : {1U, 3U, 0xFFFFFFFFU}) {
        EXPECT_EQ(run(frames, &out, 1, 1, 1, format, 0), -1);
        EXPECT_EQ(run(frames, &out, 2, 1, 1, format, 9), -1);
    }
    for (const ULong32 format : {0U, 2U}) {
        EXPECT_EQ(run(nullptr, &out, 2, 1, 1, format, 9), -1);
        EXPECT_EQ(run(frames, nullptr, 2, 1, 1, format, 9), -1);
        EXPECT_EQ(run(frames, &out, 2, 1, 1, format, 9), -2);
        EXPECT_EQ(run(frames, &out, 1, 4, 1, format, 9), -2);
        EXPECT_EQ(run(frames, &out, 1, 1, 0, format, 9), -2);
    }
    EXPECT_EQ(run(frames, &out, 1, 1, 1, 2, 4), 100);
    EXPECT_EQ(run(frames, &out, 1, 1, 1, 2, 0xFFFFFFFFU), 100);
    EXPECT_EQ(out, 9U);
    EXPECT_EQ(run(frames, &out, 1, 1, 1, 0, 4), 0);
    EXPECT_EQ(out, 7U);
}

TEST(NoiseReduction, EmptyPicturesAreDone) {
    NoiseReduction filter;
    ULong32 out = 9;
    ULong32* frames[] = {nullptr};
    EXPECT_EQ(filter.DoFilterSSF(frames, &out, 0, 5, 0, 0, nullptr, 3, 3, 1, kOwn, false, 1, 2, 3), 0);
    EXPECT_EQ(filter.DoFilterSSF(frames, &out, 5, 0, 0, 0, nullptr, 3, 3, 1, kOwn, false, 1, 0, 0), 0);
    EXPECT_EQ(out, 9U);
}

TEST(NoiseReduction, PureMedianDoesNothing) {
    NoiseReduction filter;
    EXPECT_EQ(filter.DoFilterPureMedian(nullptr, nullptr, 1, 2, 3, 4, 5, 6, 7), 0);
}
