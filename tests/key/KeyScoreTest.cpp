// What keys made of scenes with known alpha may differ from it, in code values.

#include <gtest/gtest.h>

#include "Keying.h"
#include "Scenes.h"

using namespace score;

namespace {

constexpr unsigned kWidth = 640, kHeight = 360;

Scene Generated(bool isDisc, Plate plate) {
    return {"",
            std::make_shared<Raster>(isDisc ? DiscCutout(800) : StrandCutout(900, 900)),
            std::make_shared<Raster>(PaintedBackground(320, 180)),
            plate,
            1.0F,
            5};
}

struct Case {
    bool isDisc;
    Sampling sampling;
    Errors most;
};
const Case kCases[] = {
    {true, Sampling::kPixels, {2.5, 50.0, 1.2}},
    {true, Sampling::kPairs, {2.5, 50.0, 1.3}},
    {false, Sampling::kPixels, {4.7, 52.0, 2.3}},
    {false, Sampling::kPairs, {10.0, 100.0, 3.0}},
};

void ExpectWithin(const Errors& errors, const Errors& most) {
    EXPECT_LT(errors.alpha, most.alpha);
    EXPECT_LT(errors.partial, most.partial);
    EXPECT_LT(errors.composite, most.composite);
}

TEST(KeyScore, SettingsFoundByThemselves) {
    for (const Plate plate : {Plate::kGreen, Plate::kBlue}) {
        for (const Case& c : kCases) {
            const Scene scene = Generated(c.isDisc, plate);
            const Frame first = MakeFrame(scene, 0, kWidth, kHeight),
                        second = MakeFrame(scene, 1, kWidth, kHeight);
            const tool::BackingEstimate settings = Automatic(first, c.sampling);
            ExpectWithin(Compare(second, KeyByOurs(second, c.sampling, settings)), c.most);
        }
    }
}

TEST(KeyScore, SettingsSearched) {
    for (const Plate plate : {Plate::kGreen, Plate::kBlue}) {
        for (const Case& c : kCases) {
            const Scene scene = Generated(c.isDisc, plate);
            const Frame first = MakeFrame(scene, 0, kWidth, kHeight),
                        second = MakeFrame(scene, 1, kWidth, kHeight);
            const Contestant ours = Ours(scene, c.sampling);
            ExpectWithin(ours.score(second, Search(ours, first, 24)), c.most);
        }
    }
}

// The true matte and composite score nothing, and a key of the wrong hue far more than the bounds.
TEST(KeyScore, TellsGoodFromBad) {
    const Frame frame = MakeFrame(Generated(true, Plate::kGreen), 0, kWidth, kHeight);
    const Errors none = Compare(frame, {frame.alpha, frame.composite});
    EXPECT_EQ(none.alpha, 0.0);
    EXPECT_EQ(none.partial, 0.0);
    EXPECT_EQ(none.composite, 0.0);
    tool::BackingEstimate settings = Automatic(frame, Sampling::kPixels);
    settings.hueAngle -= 90.0;
    EXPECT_GT(Compare(frame, KeyByOurs(frame, Sampling::kPixels, settings)).alpha, 50.0);
}

}  // namespace
