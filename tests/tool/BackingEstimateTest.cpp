#include "commands/BackingEstimate.h"

#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <tuple>
#include <utility>

#include "media/Picture.h"

using namespace Zan;
using namespace tool;

namespace {

/// Chroma around a value, as grain and uneven light leave it.
ChromaCount Backing(double cb, double cr, double sigma = 2.0) {
    std::mt19937 random(1);
    std::normal_distribution<double> grain(0.0, 1.0);
    ChromaCount count;
    for (int i = 0; i < 20000; ++i) {
        const double light = 1.0 + 0.05 * grain(random);
        const double b = 128.0 + (cb - 128.0) * light + sigma * grain(random);
        const double r = 128.0 + (cr - 128.0) * light + sigma * grain(random);
        count.Add(static_cast<unsigned>(b + 0.5), static_cast<unsigned>(r + 0.5));
    }
    return count;
}

TEST(BackingEstimate, HueAndSpillFollowTheMean) {
    // Down and left by the same: 180 + 45 degrees. Straight along Cb: none.
    for (const auto& [cb, cr, hue] : {std::tuple{78.0, 78.0, 225.0}, {188.0, 128.0, 0.0}}) {
        const auto made = EstimateBacking(Backing(cb, cr));
        ASSERT_TRUE(made);
        EXPECT_LE(std::min(std::fabs(made->hueAngle - hue), std::fabs(made->hueAngle - 360.0 - hue)), 0.3);
        EXPECT_EQ(made->spillAngle, made->hueAngle);
        EXPECT_GE(made->spillGain, 1.0);
        EXPECT_LT(made->spillGain, 1.4);
    }
}

TEST(BackingEstimate, NothingOfGrey) {
    EXPECT_FALSE(EstimateBacking(ChromaCount()));
    EXPECT_FALSE(EstimateBacking(Backing(130.0, 125.0)));
    EXPECT_TRUE(HeaviestPeak(ChromaCount()).IsEmpty());
    EXPECT_TRUE(HeaviestPeak(Backing(128.0, 128.0, 1.0)).IsEmpty());
}

TEST(BackingEstimate, ThePeakLeavesOthersOut) {
    ChromaCount mixed = Backing(70.0, 60.0);
    Backing(128.0, 128.0).ForEach([&](unsigned cb, unsigned cr, std::uint32_t n) {
        mixed.Add(cb, cr, 3 * n);
    });
    mixed.Add(100, 200, 15000);  // fewer than the backing's, though all at one place
    const ChromaCount peak = HeaviestPeak(mixed);
    EXPECT_EQ(peak.Of(100, 200), 0U);
    EXPECT_EQ(peak.Of(128, 128), 0U);
    EXPECT_EQ(peak.Of(70, 60), mixed.Of(70, 60));
    EXPECT_GT(peak.Of(70, 60), 0U);
}

/// The matte of a chroma value, in code values: 255 where the background shows.
int MatteOf(const BackingEstimate& made, int cb, int cr) {
    const ImagePtr picture = NewPicture({.width = 2, .height = 1, .hasFullChroma = true});
    const ImagePtr key = NewKey({.width = 2, .height = 1});
    for (unsigned x = 0; x < 2; ++x) {
        std::uint8_t* const word = Line(*picture, 0) + 4 * x;
        word[0] = static_cast<std::uint8_t>(cb);
        word[1] = 128;
        word[2] = static_cast<std::uint8_t>(cr);
        word[3] = 255;
    }
    ChromaKeyerYUV keyer;
    made.ApplyTo(keyer);
    ImageView view(picture.get()), keyView(key.get());
    EXPECT_EQ(keyer.Do(view, nullptr, view, &keyView, kBestAvailable), 0);
    return *Line(*key, 0);
}

TEST(BackingEstimate, KeysTheBackingAndNothingElse) {
    for (const auto& [cb, cr] : {std::pair{70, 60}, {200, 100}, {90, 200}}) {
        const auto made = EstimateBacking(Backing(cb, cr));
        ASSERT_TRUE(made);
        EXPECT_EQ(MatteOf(*made, cb, cr), 255);
        EXPECT_EQ(MatteOf(*made, 128, 128), 0);
        EXPECT_EQ(MatteOf(*made, 256 - cb, 256 - cr), 0);
        // Half of it: a little above the middle, since black is clipped below the middle and white above.
        EXPECT_NEAR(MatteOf(*made, (cb + 128) / 2, (cr + 128) / 2), 128, 40);
    }
}

TEST(BackingEstimate, WishesGoFirst) {
    const ChromaCount sample = Backing(60.0, 60.0);
    const auto made = EstimateBacking(sample, {.acceptance = 178.0, .white = 0.75, .black = 0.25});
    ASSERT_TRUE(made);
    EXPECT_EQ(made->acceptanceAngle, 178.0);
    // The key is the chroma along the hue, 68 * sqrt(2) / 128 = 0.7513, less next to nothing.
    EXPECT_NEAR(made->keyOffset, -0.25 * 0.7513, 0.005);
    EXPECT_NEAR(made->keyGain, 2.0 / 0.7513, 0.03);
    EXPECT_NEAR(made->spillGain, 1.0, 0.02);
}

TEST(BackingEstimate, BordersAndDiscs) {
    for (const bool hasFullChroma : {false, true}) {
        const ImagePtr picture = NewPicture({.width = 60, .height = 60, .hasFullChroma = hasFullChroma});
        const unsigned words = hasFullChroma ? 60 : 30;
        for (unsigned y = 0; y < 60; ++y) {
            for (unsigned x = 0; x < words; ++x) {
                std::uint8_t* const word = Line(*picture, y) + 4 * x;
                word[0] = static_cast<std::uint8_t>(x);
                word[2] = static_cast<std::uint8_t>(y);
            }
        }
        // Two rows above and below, and in between two pixels at either end: one pair each.
        const ChromaCount border = CountBorder(*picture);
        EXPECT_EQ(border.Of(0, 30), 1U);
        EXPECT_EQ(border.Of(words - 1, 30), 1U);
        EXPECT_EQ(border.Of(1, 30), hasFullChroma ? 1U : 0U);
        EXPECT_EQ(border.Of(2, 30), 0U);
        EXPECT_EQ(border.Of(20, 1), 1U);
        EXPECT_EQ(border.Of(20, 2), 0U);
        EXPECT_EQ(border.Of(20, 58), 1U);

        const ChromaCount point = CountDisc(*picture, 11, 7, 0);
        unsigned times = 0;
        point.ForEach([&](unsigned, unsigned, std::uint32_t n) { times += n; });
        EXPECT_EQ(times, 1U);
        EXPECT_EQ(point.Of(hasFullChroma ? 11 : 5, 7), 1U);
        const ChromaCount disc = CountDisc(*picture, 30, 30, 10);
        EXPECT_EQ(disc.Of(hasFullChroma ? 30 : 15, 40), 1U);
        EXPECT_EQ(disc.Of(hasFullChroma ? 31 : 15, 41), 0U);
        EXPECT_EQ(disc.Of(hasFullChroma ? 20 : 10, 30), 1U);
    }
}

}  // namespace
