#include <TesselU/tone/BaseColorCorrection.h>
#include <gtest/gtest.h>

#include "tone/CorrectedPicture.h"
#include "tone/correction/Context.h"

using namespace correction_test;
using Zan::BaseCC::tagBASECOLORCORRINFO;

namespace {

TEST(BaseColorCorrection, EmptyRecordTouchesNothing) {
    Picture from({{1, 2, 3, 4}}), to({{5, 6, 7, 8}});
    EXPECT_EQ(Correct(from, to, {}), 0);
    EXPECT_EQ(to.At(0, 0), (Pair{5, 6, 7, 8}));
}

TEST(BaseColorCorrection, ShortRecordIsRefused) {
    Picture picture({{1, 2, 3, 4}});
    tagBASECOLORCORRINFO record;
    record.size = 37;
    record.saturation = -255;
    EXPECT_EQ(Correct(picture, picture, record), 4);
    EXPECT_EQ(picture.At(0, 0), (Pair{1, 2, 3, 4}));
    record.size = 39;
    EXPECT_EQ(Correct(picture, picture, record), 0);
    EXPECT_EQ(picture.At(0, 0), (Pair{128, 2, 128, 4}));
}

TEST(BaseColorCorrection, BrightnessIsAddedToOrTakenFromLuma) {
    tagBASECOLORCORRINFO record;
    record.brightness = 10;
    EXPECT_EQ(Corrected({100, 50, 200, 250}, record), (Pair{100, 60, 200, 255}));

    Picture aligned(8, 2);
    aligned.Set(0, 0, {100, 50, 200, 5});
    ASSERT_EQ(Correct(aligned, aligned, record), 0);
    EXPECT_EQ(aligned.At(0, 0), (Pair{100, 40, 200, 0}));
}

TEST(BaseColorCorrection, HueTurnsChroma) {
    tagBASECOLORCORRINFO record;
    record.hue = 256;  // 180 degrees
    EXPECT_EQ(Corrected({138, 7, 118, 9}, record), (Pair{118, 7, 138, 9}));
    EXPECT_EQ(Corrected({0, 7, 255, 9}, record), (Pair{255, 7, 1, 9}));
    record.hue = 128;  // 90 degrees
    EXPECT_EQ(Corrected({138, 7, 108, 9}, record), (Pair{108, 7, 118, 9}));
}

TEST(BaseColorCorrection, SaturationOfNothingLeavesGrey) {
    tagBASECOLORCORRINFO record;
    record.saturation = -255;
    EXPECT_EQ(Corrected({0, 7, 255, 9}, record), (Pair{128, 7, 128, 9}));
}

TEST(BaseColorCorrection, NarrowChromaLeavesLuma) {
    tagBASECOLORCORRINFO record;
    record.flags = 4;
    EXPECT_EQ(Corrected({0, 0, 255, 255}, record), (Pair{44, 0, 212, 255}));
    record.flags = 2;
    EXPECT_EQ(Corrected({0, 0, 255, 255}, record), (Pair{16, 16, 240, 235}));
    record.flags = 1;
    EXPECT_EQ(Corrected({0, 0, 255, 255}, record), (Pair{16, 16, 240, 235}));
    record.flags = 6;
    EXPECT_EQ(Corrected({0, 0, 255, 255}, record), (Pair{44, 16, 212, 235}));
}

TEST(BaseColorCorrection, LumaLevelsAndGamma) {
    tagBASECOLORCORRINFO record;
    record.lumaMid = 50;  // the exponent 0.5: sqrt(64 / 256) * 256, sqrt(1 / 256) * 256
    EXPECT_EQ(Corrected({1, 64, 2, 1}, record), (Pair{1, 128, 2, 16}));
    record.lumaMid = -130;  // the exponent 2: 128 * 128 / 256, 100 * 100 / 256
    EXPECT_EQ(Corrected({1, 128, 2, 100}, record), (Pair{1, 64, 2, 39}));
}

TEST(BaseColorCorrection, ColoursOfGreyGoThroughTheirTables) {
    // Twice the light of all three, which leaves grey grey: (100 + 1) / 2 halves.
    tagBASECOLORCORRINFO record;
    record.redHigh = record.greenHigh = record.blueHigh = 255;
    EXPECT_EQ(Corrected({128, 50, 128, 100}, record), (Pair{128, 100, 128, 200}));
    // Red is taken away: the chroma is that of the first pixel.
    record = {};
    record.redHigh = -255;
    // Y' = 0.701172 * 200, Cb' = 0.167969 * 200, Cr' = -0.5 * 200.
    EXPECT_EQ(Corrected({128, 200, 128, 100}, record), (Pair{162, 140, 28, 70}));
}

}  // namespace
