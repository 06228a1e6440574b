#include <TesselU/tone/BaseColorCorrection.h>
#include <gtest/gtest.h>

#include "support/CountedAllocations.h"
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

// ---- Views ---------------------------------------------------------------------------------------------

/// Asks for something to be done in every pair: luma is to become 235 at most and 16 at least.
tagBASECOLORCORRINFO Legal() {
    tagBASECOLORCORRINFO record;
    record.flags = 2;
    return record;
}

constexpr Pair kBefore = {0, 0, 255, 255}, kAfter = {16, 16, 240, 235};
constexpr Pair kUntouched = {Picture::kUntouched, Picture::kUntouched, Picture::kUntouched,
                             Picture::kUntouched};

/// A picture of the pair above.
Picture Filled(Zan::ULong32 width, Zan::ULong32 height, Zan::ULong32 padding = 0,
               Zan::OriginEnum origin = Zan::kTopLeft) {
    Picture picture(width, height, 0, padding, Zan::k422, origin);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width / 2; ++x) {
            picture.Set(y, x, kBefore);
        }
    }
    return picture;
}

TEST(BaseColorCorrection, NeedsTheSecondDetector) {
    Picture picture = Filled(4, 2);
    Zan::ImageView view = picture.View();
    EXPECT_EQ(Zan::BaseCC::CorrectViews(nullptr, view, view, Legal()), 72);
    tagBASECOLORCORRINFO record;
    record.size = 0;
    EXPECT_EQ(Zan::BaseCC::CorrectViews(nullptr, view, view, record), 72);
    EXPECT_EQ(picture.At(0, 0), kBefore);
}

TEST(BaseColorCorrection, AddsBrightnessWithoutSSE2) {
    Zan::CPUfeatures& features = *Zan::CPUfeatures::Instance();
    const bool before = features.IsSSE2usable();
    tagBASECOLORCORRINFO record;
    record.brightness = 10;
    Picture picture(8, 2);
    picture.Set(0, 0, {1, 50, 2, 60});
    Zan::CapabilitySeam::UseSSE2(features, false);
    EXPECT_EQ(Correct(picture, picture, record), 0);
    Zan::CapabilitySeam::UseSSE2(features, before);
    EXPECT_EQ(picture.At(0, 0), (Pair{1, 60, 2, 70}));
}

TEST(BaseColorCorrection, AlignmentIsThatOfTheDestinationImage) {
    tagBASECOLORCORRINFO record;
    record.brightness = 10;
    const auto luma = [&record](Picture& to, Zan::WhichFieldEnum field) {
        Picture from(8, 4, 2, 2);
        for (std::size_t y = 0; y < 4; ++y) {
            from.Set(y, 0, {1, 50, 2, 60});
        }
        EXPECT_EQ(Correct(from, to, record, field), 0);
        return to.At(field == Zan::kLowerField ? 1 : 0, 0).y0;
    };
    Picture aligned(8, 4), shifted(8, 4, 8), longer(8, 4, 0, 8);
    EXPECT_EQ(luma(aligned, Zan::kFrame), 40);
    EXPECT_EQ(luma(shifted, Zan::kFrame), 60);
    EXPECT_EQ(luma(longer, Zan::kFrame), 60);
    // The pitch of a field, 48, counts for nothing, and neither does the address of its first line.
    EXPECT_EQ(luma(longer, Zan::kUpperField), 60);
    EXPECT_EQ(luma(aligned, Zan::kLowerField), 40);
}

TEST(BaseColorCorrection, OtherKindsOfPicturesAreRefused) {
    Picture good = Filled(4, 2);
    Zan::BaseCC::BaseColorCorrection corrector;
    const auto status = [&](Zan::ColorSpaceEnum space, Zan::AggregateChannelSamplingEnum sampling,
                            Zan::PixelPackingEnum packing) {
        const Zan::ImageDescriptor format(
            4, 2, space, sampling, packing == Zan::kPlanar ? Zan::kYCbCrPlanes : Zan::kCbYCrA, packing,
            Zan::kProgressive, Zan::kNoFields, Zan::kTopLeft, 1.0F, Zan::kUnshaped);
        Zan::Image image(format, 64);
        Zan::ImageView other(&image), view = good.View();
        const Zan::Long32 to = corrector.Do(view, other, Legal(), Zan::kFlp);
        EXPECT_EQ(corrector.Do(other, view, Legal(), Zan::kFlp), to);
        return to;
    };
    EXPECT_EQ(status(Zan::kYCrCb, Zan::k422, Zan::kPacked), 0);
    EXPECT_EQ(status(Zan::kYCrCb, Zan::k4224, Zan::kPacked), 0);
    EXPECT_EQ(status(Zan::kYCrCb, Zan::k4444, Zan::kPacked), 4);
    EXPECT_EQ(status(Zan::kYCrCb, Zan::k422, Zan::kPlanar), 4);
    EXPECT_EQ(status(Zan::kYCrCb, Zan::k420, Zan::kPlanar), 4);
    EXPECT_EQ(status(Zan::kRGB, Zan::k4444, Zan::kPacked), 4);
    EXPECT_EQ(status(Zan::kAlphaOnly, Zan::k4444, Zan::kPacked), 4);
}

TEST(BaseColorCorrection, NeedsImagesWithMemory) {
    Picture good = Filled(4, 2);
    Zan::BaseCC::BaseColorCorrection corrector;
    Zan::ImageView nothing, view = good.View();
    EXPECT_EQ(corrector.Do(nothing, view, Legal(), Zan::kFlp), 1);
    EXPECT_EQ(corrector.Do(view, nothing, {}, Zan::kFlp), 1);
    const Zan::ImageDescriptor format(4, 2, Zan::kYCrCb, Zan::k422, Zan::kCbYCrA, Zan::kPacked,
                                      Zan::kProgressive, Zan::kNoFields, Zan::kTopLeft, 1.0F, Zan::kUnshaped);
    Zan::Image unsupported(format, 3, 2);  // alignments that do not divide: no memory
    Zan::ImageView without(&unsupported);
    EXPECT_EQ(corrector.Do(without, view, Legal(), Zan::kFlp), 1);
    EXPECT_EQ(corrector.Do(view, without, {}, Zan::kFlp), 1);
    EXPECT_EQ(good.At(0, 0), kBefore);
}

TEST(BaseColorCorrection, OneLineHasNoPitch) {
    Picture line = Filled(4, 1);
    EXPECT_EQ(Correct(line, line, Legal()), 1);
    EXPECT_EQ(Correct(line, line, {}), 0);
    EXPECT_EQ(line.At(0, 0), kBefore);
}

TEST(BaseColorCorrection, SourceMustFitIntoTheDestination) {
    Picture small = Filled(4, 2), wide = Filled(6, 2), high = Filled(4, 3);
    EXPECT_EQ(Correct(wide, small, Legal()), 4);
    EXPECT_EQ(Correct(high, small, Legal()), 4);
    EXPECT_EQ(small.At(0, 0), kBefore);

    Picture large(8, 4);
    EXPECT_EQ(Correct(small, large, Legal()), 0);
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 4; ++x) {
            EXPECT_EQ(large.At(y, x), y < 2 && x < 2 ? kAfter : kUntouched);
        }
    }
}

TEST(BaseColorCorrection, FieldsTakeEveryOtherLine) {
    for (const Zan::WhichFieldEnum field : {Zan::kUpperField, Zan::kLowerField}) {
        for (const Zan::ULong32 height : {2U, 5U}) {
            Picture from = Filled(4, height), to(4, height, 0, 4);
            EXPECT_EQ(Correct(from, to, Legal(), field), 0);
            for (std::size_t y = 0; y < height; ++y) {
                EXPECT_EQ(to.At(y, 1), y % 2 == (field == Zan::kLowerField ? 1U : 0U) ? kAfter : kUntouched);
            }
        }
    }
    Picture picture = Filled(4, 2);
    for (const int field : {int{Zan::kFirstField}, int{Zan::kSecondField}, 17, -1}) {
        EXPECT_EQ(Correct(picture, picture, Legal(), static_cast<Zan::WhichFieldEnum>(field)), 98);
    }
    EXPECT_EQ(picture.At(0, 0), kBefore);
}

TEST(BaseColorCorrection, FieldAndRegionAreThoseOfTheImages) {
    Picture from = Filled(8, 4), to(8, 4);
    Zan::ImageView source(&from.GetImage(), Zan::Rectangle(2, 1, 4, 2), Zan::kFrame);
    Zan::ImageView destination(&to.GetImage(), Zan::Rectangle(4, 2, 2, 1), Zan::kFirstField);
    Zan::BaseCC::BaseColorCorrection corrector;
    EXPECT_EQ(corrector.Do(source, destination, Legal(), Zan::kStyle4), 0);
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 4; ++x) {
            EXPECT_EQ(to.At(y, x), kAfter);
        }
    }
}

TEST(BaseColorCorrection, BottomLeftFramesGoInPictureOrder) {
    Picture from(4, 2, 0, 0, Zan::k422, Zan::kBottomLeft), to(4, 2);
    from.Set(0, 0, {50, 50, 50, 50});  // the lower line of the picture
    from.Set(1, 0, {60, 60, 60, 60});
    EXPECT_EQ(Correct(from, to, Legal()), 0);
    EXPECT_EQ(to.At(0, 0), (Pair{60, 60, 60, 60}));
    EXPECT_EQ(to.At(1, 0), (Pair{50, 50, 50, 50}));
    EXPECT_EQ(Correct(from, to, Legal(), Zan::kUpperField), 98);
    EXPECT_EQ(Correct(to, from, Legal(), Zan::kLowerField), 98);
}

TEST(BaseColorCorrection, AlphaIsLeftAlone) {
    Picture from(4, 2, 0, 0, Zan::k4224), to(4, 2, 0, 0, Zan::k4224);
    from.Set(0, 0, kBefore);
    const std::vector<std::uint8_t> before = to.Alpha();
    EXPECT_EQ(Correct(from, to, Legal()), 0);
    EXPECT_EQ(to.At(0, 0), kAfter);
    EXPECT_EQ(to.Alpha(), before);
    Picture without = Filled(4, 2);
    EXPECT_EQ(Correct(without, to, Legal()), 0);
    EXPECT_EQ(to.At(1, 1), kAfter);
    EXPECT_EQ(to.Alpha(), before);
}

TEST(BaseColorCorrection, OddLastPixelStays) {
    Picture from = Filled(6, 2), to(6, 2);
    from.GetImage().GetImageDescriptor()->width = 5;
    EXPECT_EQ(Correct(from, to, Legal()), 0);
    EXPECT_EQ(to.At(1, 1), kAfter);
    EXPECT_EQ(to.At(1, 2), kUntouched);
    from.GetImage().GetImageDescriptor()->width = 1;
    Picture other(6, 2);
    EXPECT_EQ(Correct(from, other, Legal()), 0);
    EXPECT_EQ(other.At(0, 0), kUntouched);
}

TEST(BaseColorCorrection, NothingThatCanBeDone) {
    Picture picture = Filled(4, 2);
    tagBASECOLORCORRINFO record;
    record.flags = 8;
    EXPECT_EQ(Correct(picture, picture, record), 1);
    for (const std::int16_t hue : {std::int16_t{1}, std::int16_t{-1}}) {
        record = Legal();
        record.hue = hue;
        record.brightness = 20;
        EXPECT_EQ(Correct(picture, picture, record), 1);
    }
    EXPECT_EQ(picture.At(0, 0), kBefore);
    record.saturation = -255;
    EXPECT_EQ(Correct(picture, picture, record), 0);
}

// What a host knows of a record by its size alone is not looked at.
TEST(BaseColorCorrection, RecordMayBeLonger) {
    struct {
        tagBASECOLORCORRINFO record;
        std::uint8_t more[2] = {1, 1};
    } longer;
    longer.record.size = 40;
    Picture picture = Filled(4, 2);
    EXPECT_EQ(Correct(picture, picture, longer.record), 0);
    EXPECT_EQ(picture.At(0, 0), kBefore);
}

// ---- Chains --------------------------------------------------------------------------------------------

TEST(BaseColorCorrection, ChainEqualsItsSteps) {
    tagBASECOLORCORRINFO luma, chroma, colours, limits, all;
    all.lumaLow = luma.lumaLow = -10;
    all.lumaMid = luma.lumaMid = 20;
    all.hue = chroma.hue = 30;
    all.saturation = chroma.saturation = 60;
    all.redMid = colours.redMid = 30;
    all.blueHigh = colours.blueHigh = -40;
    all.flags = limits.flags = 6;
    Picture from(256, 256), stepwise(256, 256), atOnce(256, 256);
    for (std::size_t y = 0; y < 256; ++y) {
        for (std::size_t x = 0; x < 128; ++x) {
            const int cr = static_cast<int>(2 * x + y % 2);
            from.Set(y, x, {static_cast<int>(y), cr, cr, static_cast<int>(255 - y)});
        }
    }
    ASSERT_EQ(Correct(from, atOnce, all), 0);
    ASSERT_EQ(Correct(from, stepwise, luma), 0);
    for (const tagBASECOLORCORRINFO& step : {chroma, colours, limits}) {
        ASSERT_EQ(Correct(stepwise, stepwise, step), 0);
    }
    for (std::size_t y = 0; y < 256; ++y) {
        for (std::size_t x = 0; x < 128; ++x) {
            ASSERT_EQ(atOnce.At(y, x), stepwise.At(y, x)) << from.At(y, x).cb << " " << from.At(y, x).cr;
        }
    }
}

TEST(BaseColorCorrection, NothingIsAllocated) {
    Picture picture = Filled(64, 8);
    tagBASECOLORCORRINFO record = Legal();
    record.lumaMid = record.hue = record.redLow = 9;
    EXPECT_EQ(Correct(picture, picture, record), 0);  // the first asks for the processor's features
    const long before = test_support::Allocations();
    EXPECT_EQ(Correct(picture, picture, record), 0);
    EXPECT_EQ(test_support::Allocations(), before);
}

}  // namespace
