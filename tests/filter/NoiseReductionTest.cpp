#include <TesselU/filter/NoiseReduction.h>
#include <TesselU/filter/NoiseSource.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "simd/Targets.h"

using namespace Zan;

namespace {

using Control = NoiseReduction::AlphaControlEnum;
constexpr auto kOwn = static_cast<Control>(3);
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Words in rows without gaps.
struct Picture {
    Picture(ULong32 wide, ULong32 high, ULong32 fill = 0)
        : words(wide), rows(high), memory(std::size_t{wide} * high, fill) {}

    std::uint8_t& Byte(std::size_t i, std::size_t y = 0) {
        return reinterpret_cast<std::uint8_t*>(memory.data())[4 * words * y + i];
    }
    bool operator==(const Picture& other) const { return memory == other.memory; }

    ULong32 words, rows;
    std::vector<ULong32> memory;
};

Picture Random(ULong32 wide, ULong32 high, unsigned seed, unsigned low = 0, unsigned range = 256) {
    Picture picture(wide, high);
    std::mt19937 random(seed);
    for (std::size_t i = 0; i < 4 * picture.memory.size(); ++i) {
        picture.Byte(i) = static_cast<std::uint8_t>(low + random() % range);
    }
    return picture;
}

/// A row of packed 4:2:2 with luma as given and chroma of 128.
Picture Lumas(const std::vector<int>& luma) {
    Picture picture(static_cast<ULong32>((luma.size() + 1) / 2), 1, 0);
    for (std::size_t x = 0; x < 2 * picture.words; ++x) {
        picture.Byte(2 * x) = 128;
        picture.Byte(2 * x + 1) = static_cast<std::uint8_t>(luma[std::min(x, luma.size() - 1)]);
    }
    return picture;
}

struct Call {
    ULong32 windowWidth = 1, windowHeight = 1, windowFrames = 1;
    Control control = kOwn;
    double* weights = nullptr;
    bool limits = false;
    double strength = 1;
    ULong32 format = 2, implementation = 0;
    ULong32 width = 0;  ///< 0: that of all words
};

/// Runs on frames in the order of time.
Long32 Filter(NoiseReduction& filter, std::vector<Picture>& frames, Picture& out, const Call& call) {
    std::vector<ULong32*> pointers;
    for (Picture& frame : frames) {
        pointers.push_back(frame.memory.data());
    }
    const ULong32 words = frames[0].words, width = call.width != 0    ? call.width
                                                   : call.format == 2 ? 2 * words
                                                                      : words;
    return filter.DoFilterSSF(pointers.data(), out.memory.data(), width, frames[0].rows, 4 * words, 4 * words,
                              call.weights, call.windowWidth, call.windowHeight, call.windowFrames,
                              call.control, call.limits, call.strength, call.format, call.implementation);
}

Picture Filtered(std::vector<Picture> frames, const std::array<float, 3>& levels, const Call& call) {
    NoiseReduction filter;
    std::array<float, 3> copy = levels;
    filter.SetBaseNoiseLevel(copy.data());
    Picture out(frames[0].words, frames[0].rows, 0xEEEEEEEEU);
    EXPECT_EQ(Filter(filter, frames, out, call), 0);
    return out;
}

std::vector<int> LumaOf(Picture picture) {
    std::vector<int> luma;
    for (std::size_t x = 0; x < 2 * picture.words; ++x) {
        luma.push_back(picture.Byte(2 * x + 1));
    }
    return luma;
}

/// Every form of the filter: 4:2:2 by four implementations, and 32-bit pixels.
std::vector<Call> AllForms(Call call = {}) {
    std::vector<Call> forms;
    for (const ULong32 implementation : {0U, 1U, 2U, 3U}) {
        call.implementation = implementation;
        forms.push_back(call);
    }
    call.format = 0;
    forms.push_back(call);
    return forms;
}

constexpr std::array<float, 3> kNoLevels = {0, 0, 0};

}  // namespace

// ---- The adaptive filter --------------------------------------------------------------------------------

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

// ---- Levels ----------------------------------------------------------------------------------------------

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

// ---- The temporal filter ---------------------------------------------------------------------------------

namespace {

ULong32 Word(int b0, int b1, int b2, int b3) {
    const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(b0), static_cast<std::uint8_t>(b1),
                                   static_cast<std::uint8_t>(b2), static_cast<std::uint8_t>(b3)};
    ULong32 word;
    std::memcpy(&word, bytes, 4);
    return word;
}

ULong32 Mixed(ULong32 a, ULong32 b, ULong32 c, int low, int high, double* frameWeights = nullptr,
              double* channelWeights = nullptr) {
    NoiseReduction filter;
    ULong32 out = 0;
    EXPECT_EQ(filter.DoFilterSAT(&a, &b, &c, &out, 2, 1, 4, 4, static_cast<unsigned char>(low),
                                 static_cast<unsigned char>(high), frameWeights, channelWeights, 0),
              0);
    return out;
}

}  // namespace

TEST(NoiseReduction, ThreeEqualFramesGiveTheCurrentOne) {
    Picture picture = Random(100, 5, 6);
    NoiseReduction filter;
    for (const unsigned char low : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{255}}) {
        Picture out(100, 5);
        EXPECT_EQ(filter.DoFilterSAT(picture.memory.data(), picture.memory.data(), picture.memory.data(),
                                     out.memory.data(), 200, 5, 400, 400, low, 100, nullptr, nullptr, 0),
                  0);
        EXPECT_EQ(out, picture);
    }
}

TEST(NoiseReduction, LumasOfAPairDecideSeparately) {
    // A large difference in byte 3 leaves that byte alone; the others are the mean of three.
    EXPECT_EQ(Mixed(Word(10, 20, 30, 0), Word(13, 23, 33, 200), Word(10, 20, 30, 100), 10, 20),
              Word(11, 21, 31, 200));
    // One in the even luma counts for the whole word but byte 3.
    EXPECT_EQ(Mixed(Word(10, 0, 30, 20), Word(13, 200, 33, 23), Word(10, 100, 30, 20), 10, 20),
              Word(13, 200, 33, 21));
    // And so does one in either chroma.
    EXPECT_EQ(Mixed(Word(0, 20, 30, 20), Word(200, 23, 33, 23), Word(0, 20, 30, 20), 10, 20),
              Word(200, 23, 33, 21));
    EXPECT_EQ(Mixed(Word(10, 20, 30, 20), Word(13, 23, 200, 23), Word(10, 20, 30, 20), 10, 20),
              Word(13, 23, 200, 21));
}

TEST(NoiseReduction, HalfWayBetweenThresholds) {
    // 239, 6 and 76, half way: (321 / 3 + 6) / 2 is 56.5, and the doubles lie below it. Motion 233 of
    // 232...234.
    const ULong32 made = Mixed(Word(239, 239, 239, 239), Word(6, 6, 6, 6), Word(76, 76, 76, 76), 232, 234);
    EXPECT_EQ(made, Word(56, 56, 56, 56));
    // 30, 60 and 60 half way: 50 and 60 give 55.
    EXPECT_EQ(Mixed(Word(30, 30, 30, 30), Word(60, 60, 60, 60), Word(60, 60, 60, 60), 20, 40),
              Word(55, 55, 55, 55));
    // A quarter of the way from 50 to 60: 52.5, rounded up.
    EXPECT_EQ(Mixed(Word(30, 30, 30, 30), Word(60, 60, 60, 60), Word(60, 60, 60, 60), 20, 60),
              Word(53, 53, 53, 53));
}

TEST(NoiseReduction, ThresholdsAreComparedAsGiven) {
    const ULong32 a = Word(100, 100, 100, 100), b = Word(130, 130, 130, 130);
    const ULong32 mean = Word(110, 110, 110, 110);  // of a, b and a
    EXPECT_EQ(Mixed(a, b, a, 30, 40), mean);
    EXPECT_EQ(Mixed(a, b, a, 29, 30), b);
    EXPECT_EQ(Mixed(a, b, a, 0, 30), b);
    EXPECT_EQ(Mixed(a, b, a, 0, 31), Word(129, 129, 129, 129));  // 110 / 31 + 130 * 30 / 31 = 129.35
    EXPECT_EQ(Mixed(a, b, a, 30, 30), mean);
    EXPECT_EQ(Mixed(a, b, a, 40, 30), mean);
    EXPECT_EQ(Mixed(a, b, a, 29, 20), b);
    EXPECT_EQ(Mixed(a, b, a, 29, 29), b);
    EXPECT_EQ(Mixed(Word(0, 0, 0, 0), Word(255, 255, 255, 255), Word(0, 0, 0, 0), 255, 0),
              Word(85, 85, 85, 85));
}

TEST(NoiseReduction, WeightsOfFramesAndChannels) {
    const ULong32 a = Word(100, 50, 20, 10), b = Word(110, 60, 30, 20), c = Word(104, 54, 24, 14);
    double frames[3] = {0.25, 0.5, 0.25};
    // 25 + 55 + 26 = 106, ...
    EXPECT_EQ(Mixed(a, b, c, 10, 20, frames), Word(106, 56, 26, 16));
    double all[3] = {1, 1, 1}, none[3] = {-1, -1, -1}, huge[3] = {1e300, 1e300, 1e300}, nan[3] = {kNaN, 0, 0};
    EXPECT_EQ(Mixed(a, b, c, 10, 20, all), Word(255, 164, 74, 44));
    EXPECT_EQ(Mixed(a, b, c, 10, 20, none), Word(0, 0, 0, 0));
    EXPECT_EQ(Mixed(a, b, c, 10, 20, huge), Word(255, 255, 255, 255));
    EXPECT_EQ(Mixed(a, b, c, 10, 20, nan), Word(0, 0, 0, 0));
    // Motion is 10 times the weight, truncated: 9.99 is 9, not above it.
    double channels[3] = {0.999, 0.999, 0.999};
    EXPECT_EQ(Mixed(a, b, c, 9, 9, frames, channels), Word(106, 56, 26, 16));
    EXPECT_EQ(Mixed(a, b, c, 9, 9, frames), b);
    // The weight of luma decides byte 3 alone, and by byte 1 the others.
    double luma[3] = {0, 3, 0}, chroma[3] = {0, 0, 3};
    EXPECT_EQ(Mixed(a, b, c, 10, 10, frames, luma), b);
    EXPECT_EQ(Mixed(a, b, c, 10, 10, frames, chroma), Word(110, 60, 30, 16));
    // A motion beyond every threshold.
    double large[3] = {1e10, 1e10, 1e300};
    EXPECT_EQ(Mixed(a, b, c, 255, 255, frames, large), b);
    double negative[3] = {-5, -5, -5};
    EXPECT_EQ(Mixed(a, b, c, 0, 1, frames, negative), Word(106, 56, 26, 16));
}

TEST(NoiseReduction, AnOddWidthLeavesTheLastColumn) {
    for (const ULong32 width : {0U, 1U, 2U, 3U, 5U, 64U, 65U, 131U}) {
        Picture a = Random(70, 3, 7), b = Random(70, 3, 8), c = Random(70, 3, 9), out(70, 3, 0xEEEEEEEEU);
        NoiseReduction filter;
        EXPECT_EQ(filter.DoFilterSAT(a.memory.data(), b.memory.data(), c.memory.data(), out.memory.data(),
                                     width, 3, 280, 280, 10, 200, nullptr, nullptr, 5),
                  0);
        for (std::size_t i = 0; i < out.memory.size(); ++i) {
            EXPECT_EQ(out.memory[i], i % 70 < width / 2
                                         ? Mixed(a.memory[i], b.memory[i], c.memory[i], 10, 200)
                                         : 0xEEEEEEEEU);
        }
    }
}

TEST(NoiseReduction, MayWriteOverAFrame) {
    const Picture frames[] = {Random(100, 4, 11), Random(100, 4, 12), Random(100, 4, 13)};
    NoiseReduction filter;
    const auto run = [&](Picture& a, Picture& b, Picture& c, Picture& out) {
        filter.DoFilterSAT(a.memory.data(), b.memory.data(), c.memory.data(), out.memory.data(), 200, 4, 400,
                           400, 10, 250, nullptr, nullptr, 0);
    };
    Picture a = frames[0], b = frames[1], c = frames[2], expected(100, 4);
    run(a, b, c, expected);
    for (std::size_t over = 0; over < 3; ++over) {
        Picture given[] = {frames[0], frames[1], frames[2]};
        run(given[0], given[1], given[2], given[over]);
        EXPECT_EQ(given[over], expected) << over;
    }
}

TEST(NoiseReduction, EveryPictureOfTheTemporalFilterIsNeeded) {
    NoiseReduction filter;
    ULong32 word = 7;
    ULong32* const given[4] = {&word, &word, &word, &word};
    for (std::size_t missing = 0; missing < 4; ++missing) {
        ULong32* p[4] = {given[0], given[1], given[2], given[3]};
        p[missing] = nullptr;
        EXPECT_EQ(filter.DoFilterSAT(p[0], p[1], p[2], p[3], 2, 0, 4, 4, 0, 0, nullptr, nullptr, 0), -1);
    }
    EXPECT_EQ(filter.DoFilterSAT(&word, &word, &word, &word, 2, 0, 4, 4, 0, 0, nullptr, nullptr, 0), 0);
    EXPECT_EQ(word, 7U);
}
