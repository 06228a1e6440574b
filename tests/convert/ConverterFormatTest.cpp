#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageDescriptor.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "convert/Formats.h"
#include "convert/Pairs.h"
#include "convert/PairsOfPaths.h"

namespace {

using namespace Zan;
using namespace convert_test;

// An image of four by four that tests change until it is what they want.
class Picture {
public:
    Picture(ColorSpaceEnum space, AggregateChannelSamplingEnum sampling, ComponentOrderEnum order,
            PixelPackingEnum packing = kPacked, AggregateBitsPerChannelEnum bits = k8Bits,
            ScanStyleEnum scan = kProgressive)
        : image(std::make_unique<Image>(ImageDescriptor(4, 4, space, sampling, order, packing, scan,
                                                        kInterleavedFields, kTopLeft, bits, 1.0F, kUnshaped),
                                        64U)) {}

    Picture& Shaped(ShapedEnum shaping = kShaped) {
        image->SetPixelShaping(shaping);
        return *this;
    }
    Picture& Color(ColorEnum color) {
        image->SetColor(color);
        return *this;
    }
    Picture& Alpha(AlphaDescriptionEnum alpha) {
        EXPECT_EQ(image->SetAlphaChannelDescription(alpha), 0);
        return *this;
    }
    Picture& Levels(float black, float white, std::set<ULong32> channels = {0, 1, 2}) {
        for (const ULong32 channel : channels) {
            EXPECT_EQ(image->SetBlackAndWhiteLevel(black, white, channel), 0);
        }
        return *this;
    }
    Picture& Clamp(float low, float high, std::set<ULong32> channels = {0, 1, 2}) {
        for (const ULong32 channel : channels) {
            EXPECT_EQ(image->SetClampLowAndHighLevel(low, high, channel), 0);
        }
        return *this;
    }

    int Code() const { return ClassifyImage(*image); }
    Image& Get() { return *image; }

private:
    std::unique_ptr<Image> image;
};

Picture Rgb32() {
    return {kRGB, k4444, kBGRA};
}
Picture Rgb24() {
    return {kRGB, k444, kBGRA};
}
Picture CbYCrA() {
    return {kYCrCb, k4444, kCbYCrA};
}
Picture YCbCrA() {
    return {kYCrCb, k4444, kYCbCrA};
}
Picture CbYCrY() {
    return {kYCrCb, k422, kCbYCrA};
}
Picture YCbYCr() {
    return {kYCrCb, k422, kYCbYCr};
}
Picture CbYCrY4() {
    return {kYCrCb, k4224, kCbYCrA};
}
Picture Planar(AggregateChannelSamplingEnum sampling, ScanStyleEnum scan = kProgressive,
               ComponentOrderEnum order = kYCbCrPlanes) {
    return {kYCrCb, sampling, order, kPlanar, k8Bits, scan};
}
Picture Grey(AggregateBitsPerChannelEnum bits = k8Bits) {
    return {kAlphaOnly, k4444, kBGRA, kPacked, bits};
}

constexpr float kDark = 16.0F / 255, kWhite = 235.0F / 255;

TEST(ConverterFormat, CodesHaveTheirNumbers) {
    const std::vector<std::pair<ConverterFormat, int>> numbers = {{kFmtRGB32, 0},
                                                                  {kFmtCbYCrA, 1},
                                                                  {kFmtCbYCrY, 2},
                                                                  {kFmtRGB32NarrowClamp, 3},
                                                                  {kFmtRGB32Studio, 4},
                                                                  {kFmtRGB32StudioOpen, 5},
                                                                  {kFmtPlanar420, 6},
                                                                  {kFmtPlanar422, 7},
                                                                  {kFmtPlanar420Interlaced, 8},
                                                                  {kFmtPlanar411, 9},
                                                                  {kFmtRGB24, 10},
                                                                  {kFmtYCbYCr, 11},
                                                                  {kFmtPlanarGrouped, 12},
                                                                  {kFmtYCbCrA, 13},
                                                                  {kFmtRGB32Shaped, 14},
                                                                  {kFmtCbYCrAShaped, 15},
                                                                  {kFmtCbYCrY4Shaped, 16},
                                                                  {kFmtCbYCrY4, 17},
                                                                  {kFmtCbYCrYMono, 18},
                                                                  {kFmtCbYCrY4Mono, 19},
                                                                  {kFmtRGB32ShapedOpaque, 20},
                                                                  {kFmtCbYCr24, 21},
                                                                  {kFmtCbYCrY4MonoShaped, 22},
                                                                  {kFmtYCbCrAShaped, 23},
                                                                  {kFmtYCbCr24, 24},
                                                                  {kFmtAlpha8, 25},
                                                                  {kFmtUnknown, 100}};
    for (const auto& [code, number] : numbers) {
        EXPECT_EQ(int{code}, number);
    }
}

TEST(ConverterFormat, EveryRowOfTheCatalogue) {
    EXPECT_EQ(Rgb32().Code(), 0);
    EXPECT_EQ(CbYCrA().Code(), 1);
    EXPECT_EQ(CbYCrY().Code(), 2);
    EXPECT_EQ(Rgb32().Clamp(kDark, kWhite).Code(), 3);
    EXPECT_EQ(Rgb32().Levels(kDark, kWhite).Clamp(kDark, kWhite).Code(), 4);
    EXPECT_EQ(Rgb32().Levels(kDark, kWhite).Code(), 5);
    EXPECT_EQ(Planar(k420).Code(), 6);
    EXPECT_EQ(Planar(k422).Code(), 7);
    EXPECT_EQ(Planar(k420, kUpperFieldFirst).Code(), 8);
    EXPECT_EQ(Planar(k411).Code(), 9);
    EXPECT_EQ(Rgb24().Code(), 10);
    EXPECT_EQ(YCbYCr().Code(), 11);
    EXPECT_EQ(Planar(k422, kProgressive, kYPlaneCbCrPlane).Code(), 12);
    EXPECT_EQ(YCbCrA().Code(), 13);
    EXPECT_EQ(Rgb32().Shaped().Code(), 14);
    EXPECT_EQ(CbYCrA().Shaped().Code(), 15);
    EXPECT_EQ(CbYCrY4().Shaped().Code(), 16);
    EXPECT_EQ(CbYCrY4().Code(), 17);
    EXPECT_EQ(CbYCrY().Color(kMonochrome).Code(), 18);
    EXPECT_EQ(CbYCrY4().Color(kMonochrome).Code(), 19);
    EXPECT_EQ(Picture(kYCrCb, k444, kCbYCrA).Code(), 21);
    EXPECT_EQ(CbYCrY4().Color(kMonochrome).Shaped().Code(), 22);
    EXPECT_EQ(YCbCrA().Shaped().Code(), 23);
    EXPECT_EQ(Picture(kYCrCb, k444, kYCbCrA).Code(), 24);
    EXPECT_EQ(Grey().Code(), 25);
}

TEST(ConverterFormat, LevelsOfRgbPartFourCodes) {
    // All sixteen answers of the four level questions.
    for (int bits = 0; bits < 16; ++bits) {
        const bool black = (bits & 1) != 0, white = (bits & 2) != 0, low = (bits & 4) != 0,
                   high = (bits & 8) != 0;
        Picture picture = Rgb32();
        picture.Levels(black ? 0 : kDark, white ? 1 : kWhite).Clamp(low ? 0 : kDark, high ? 1 : kWhite);
        const int expected = bits == 15 ? 0 : bits == 3 ? 3 : bits == 0 ? 4 : bits == 12 ? 5 : 100;
        EXPECT_EQ(picture.Code(), expected) << bits;
        // Three bytes a pixel have the extreme levels or no code.
        Picture small = Rgb24();
        small.Levels(black ? 0 : kDark, white ? 1 : kWhite).Clamp(low ? 0 : kDark, high ? 1 : kWhite);
        EXPECT_EQ(small.Code(), bits == 15 ? 10 : 100) << bits;
    }
}

TEST(ConverterFormat, LevelsAreAskedOfTwoChannels) {
    EXPECT_EQ(Rgb32().Levels(kDark, kWhite, {2}).Clamp(kDark, kWhite, {2}).Code(), 0);
    // A level that the two disagree on is not at its end, whichever it is.
    for (const ULong32 channel : {0U, 1U}) {
        EXPECT_EQ(Rgb32().Levels(kDark, kWhite, {channel}).Code(), 5) << channel;
        EXPECT_EQ(Rgb32().Clamp(kDark, kWhite, {channel}).Code(), 3) << channel;
    }
    EXPECT_EQ(Rgb32().Levels(kDark, 1).Code(), 100);
}

TEST(ConverterFormat, ShapingOfRgb) {
    EXPECT_EQ(Rgb32().Shaped(kShaped2).Code(), 100);
    EXPECT_EQ(Rgb32().Shaped().Alpha(kNoAlpha).Code(), 100);
    // The row of shaped pictures takes opaque ones as well, so that code 20 never comes up.
    EXPECT_EQ(Rgb32().Shaped().Alpha(kAlphaOpaque).Code(), 14);
    EXPECT_EQ(Rgb32().Shaped().Alpha(kAlphaTransparent).Code(), 14);
    EXPECT_EQ(Rgb32().Alpha(kNoAlpha).Code(), 0);
    // Other levels do not look at shaping.
    for (const ShapedEnum shaping : {kUnshaped, kShaped, kShaped2}) {
        EXPECT_EQ(Rgb32().Shaped(shaping).Clamp(kDark, kWhite).Code(), 3);
        EXPECT_EQ(Rgb32().Shaped(shaping).Levels(kDark, kWhite).Clamp(kDark, kWhite).Code(), 4);
        EXPECT_EQ(Rgb32().Shaped(shaping).Levels(kDark, kWhite).Code(), 5);
        EXPECT_EQ(Rgb24().Shaped(shaping).Code(), 10);
    }
}

TEST(ConverterFormat, ShapingOfFullRateYCrCb) {
    EXPECT_EQ(CbYCrA().Shaped().Alpha(kNoAlpha).Code(), 100);
    EXPECT_EQ(CbYCrA().Shaped().Alpha(kAlphaOpaque).Code(), 15);
    EXPECT_EQ(CbYCrA().Shaped(kShaped2).Code(), 100);
    EXPECT_EQ(YCbCrA().Shaped().Alpha(kNoAlpha).Code(), 23);
    EXPECT_EQ(YCbCrA().Shaped(kShaped2).Code(), 100);
    EXPECT_EQ(Picture(kYCrCb, k444, kCbYCrA).Shaped().Code(), 100);
    EXPECT_EQ(Picture(kYCrCb, k444, kYCbCrA).Shaped().Code(), 24);
}

TEST(ConverterFormat, ContentAndShapingOf422) {
    // Content: full colour and black are one format, neutral chroma another.
    EXPECT_EQ(CbYCrY().Color(kBlack).Code(), 2);
    EXPECT_EQ(CbYCrY().Color(kColor2).Code(), 100);
    for (const ShapedEnum shaping : {kUnshaped, kShaped, kShaped2}) {
        EXPECT_EQ(CbYCrY().Shaped(shaping).Code(), 2);
        EXPECT_EQ(CbYCrY().Shaped(shaping).Color(kMonochrome).Code(), 18);
        EXPECT_EQ(YCbYCr().Shaped(shaping).Code(), 11);
    }
    EXPECT_EQ(YCbYCr().Color(kMonochrome).Code(), 11);
    EXPECT_EQ(YCbYCr().Color(kColor2).Code(), 11);

    EXPECT_EQ(CbYCrY4().Color(kBlack).Code(), 17);
    EXPECT_EQ(CbYCrY4().Color(kColor2).Code(), 100);
    EXPECT_EQ(CbYCrY4().Alpha(kNoAlpha).Code(), 17);
    EXPECT_EQ(CbYCrY4().Color(kBlack).Shaped().Code(), 16);
    EXPECT_EQ(CbYCrY4().Color(kColor2).Shaped().Code(), 100);
    EXPECT_EQ(CbYCrY4().Shaped().Alpha(kNoAlpha).Code(), 100);
    EXPECT_EQ(CbYCrY4().Shaped().Alpha(kAlphaTransparent).Code(), 16);
    EXPECT_EQ(CbYCrY4().Shaped(kShaped2).Code(), 100);
    EXPECT_EQ(CbYCrY4().Color(kMonochrome).Alpha(kNoAlpha).Code(), 19);
    EXPECT_EQ(CbYCrY4().Color(kMonochrome).Shaped().Alpha(kNoAlpha).Code(), 100);
    EXPECT_EQ(CbYCrY4().Color(kMonochrome).Shaped(kShaped2).Code(), 100);

    // Formats without that question take any content.
    for (const ColorEnum color : {kFullColor, kBlack, kColor2, kMonochrome}) {
        EXPECT_EQ(Rgb32().Color(color).Code(), 0);
        EXPECT_EQ(CbYCrA().Color(color).Code(), 1);
        EXPECT_EQ(Planar(k420).Color(color).Code(), 6);
        EXPECT_EQ(Picture(kYCrCb, k444, kCbYCrA).Color(color).Code(), 21);
    }
}

TEST(ConverterFormat, ScanPartsPlanar420Alone) {
    EXPECT_EQ(Planar(k420, kProgressive).Code(), 6);
    EXPECT_EQ(Planar(k420, kUpperFieldFirst).Code(), 8);
    EXPECT_EQ(Planar(k420, kLowerFieldFirst).Code(), 8);
    for (const ScanStyleEnum scan : {kProgressive, kUpperFieldFirst, kLowerFieldFirst}) {
        EXPECT_EQ(Planar(k422, scan).Code(), 7);
        EXPECT_EQ(Planar(k411, scan).Code(), 9);
        EXPECT_EQ(Planar(k422, scan, kYPlaneCbCrPlane).Code(), 12);
    }
}

TEST(ConverterFormat, VideoLevelsOfYCrCb) {
    struct Case {
        Picture (*make)();
        int code;
        ULong32 luma;
    };
    const Case cases[] = {
        {CbYCrA, 1, 1},
        {CbYCrY, 2, 1},
        {YCbYCr, 11, 0},
        {CbYCrY4, 17, 1},
        {[] { return Planar(k420); }, 6, 0},
        {[] { return Planar(k422); }, 7, 0},
        {[] { return Planar(k420, kLowerFieldFirst); }, 8, 0},
        {[] { return Planar(k411); }, 9, 0},
        {[] { return Planar(k422, kProgressive, kYPlaneCbCrPlane); }, 12, 0},
        {[] { return Picture(kYCrCb, k444, kCbYCrA); }, 21, 1},
        {[] { return Picture(kYCrCb, k444, kYCbCrA); }, 24, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.code);
        EXPECT_EQ(c.make().Code(), c.code);
        for (ULong32 channel = 0; channel < 3; ++channel) {
            const float white = channel == c.luma ? 235.0F : 240.0F;
            EXPECT_EQ(c.make().Levels(15.6F / 255, (white + 0.4F) / 255, {channel}).Code(), c.code);
            EXPECT_EQ(c.make().Levels(15.4F / 255, white / 255, {channel}).Code(), 100);
            EXPECT_EQ(c.make().Levels(16.6F / 255, white / 255, {channel}).Code(), 100);
            EXPECT_EQ(c.make().Levels(16.0F / 255, (white + 0.6F) / 255, {channel}).Code(), 100);
            EXPECT_EQ(c.make().Levels(16.0F / 255, (white - 0.6F) / 255, {channel}).Code(), 100);
        }
        // Clamp levels are not looked at.
        EXPECT_EQ(c.make().Clamp(0.2F, 0.8F).Code(), c.code);
    }
    // The rows of shaped and of monochrome pictures ask as well.
    EXPECT_EQ(CbYCrA().Shaped().Levels(0, 1).Code(), 100);
    EXPECT_EQ(CbYCrY4().Shaped().Levels(0, 1).Code(), 100);
    EXPECT_EQ(CbYCrY().Color(kMonochrome).Levels(0, 1).Code(), 100);
    EXPECT_EQ(CbYCrY4().Color(kMonochrome).Levels(0, 1).Code(), 100);
    EXPECT_EQ(CbYCrY4().Color(kMonochrome).Shaped().Levels(0, 1).Code(), 100);
    // Y, Cb, Cr, A does only when shaped.
    EXPECT_EQ(YCbCrA().Levels(0, 1).Code(), 13);
    EXPECT_EQ(YCbCrA().Levels(0, 1).Shaped().Code(), 100);
}

TEST(ConverterFormat, BitsAndFormatsBeyondTheCatalogue) {
    EXPECT_EQ(Picture(kRGB, k4444, kBGRA, kPacked, k16Bits).Code(), 100);
    EXPECT_EQ(Picture(kRGB, k4444, kBGRA, kPacked, k32Bits).Code(), 100);
    // Three samples have eight bits whatever is asked for.
    EXPECT_EQ(Picture(kRGB, k444, kBGRA, kPacked, k16Bits).Code(), 10);
    EXPECT_EQ(Grey(k16Bits).Code(), 100);
    EXPECT_EQ(Grey(k32Bits).Code(), 100);
    EXPECT_EQ(Grey().Levels(0.3F, 0.4F, {0}).Shaped().Color(kColor2).Code(), 25);
    EXPECT_EQ(Picture(kAlphaOnly, k422, kYCbYCr, kPlanar).Code(), 25);
    EXPECT_EQ(Picture(kColorSpace2, k4444, kBGRA).Code(), 100);
    EXPECT_EQ(Picture(kRGB, k4444, kBGRA, kPlanar).Code(), 100);
    EXPECT_EQ(Picture(kRGB, k422, kBGRA).Code(), 100);
    EXPECT_EQ(Picture(kYCrCb, k4444, kBGRA).Code(), 100);
    EXPECT_EQ(Picture(kYCrCb, k4444, kYCbYCr).Code(), 100);
    EXPECT_EQ(Picture(kYCrCb, k422, kYCbCrA).Code(), 100);
    EXPECT_EQ(Picture(kYCrCb, k4224, kYCbYCr).Code(), 100);
    EXPECT_EQ(Picture(kYCrCb, k420, kYCbCrPlanes, kPacked).Code(), 100);
    EXPECT_EQ(Picture(kYCrCb, k4444, kCbYCrA, kPlanar).Code(), 100);
    // Laid out as three planes, but not called so.
    EXPECT_EQ(Picture(kYCrCb, k420, kCbYCrA, kPlanar).Code(), 100);
    EXPECT_EQ(Picture(kYCrCb, k411, kYPlaneCbCrPlane, kPlanar).Code(), 100);
    // An image that did not come to be.
    EXPECT_EQ(Picture(kYCrCb, k422, kCbYCrA, kPlanar).Code(), 100);
}

TEST(ConverterFormat, AddedAlphaMakesAnotherFormat) {
    Picture picture = CbYCrY();
    ChannelDescriptor alpha;
    alpha.SetAlpha(0, 4, 4, kProgressive, kInterleavedFields, 8);
    EXPECT_EQ(picture.Get().AddChannel(alpha, 128), 3);
    EXPECT_EQ(picture.Code(), 17);
    EXPECT_EQ(picture.Get().DeleteChannel(3), 0);
    EXPECT_EQ(picture.Code(), 2);
}

// ---- Shaped and unshaped are the same where alpha is constant --------------------------------------------

TEST(ConverterFormat, SimplifiesEveryPairByTheAlphaOfTheSource) {
    struct Row {
        AlphaDescriptionEnum alpha;
        bool onlyBlack;
        int source, destination, newSource, newDestination;
    };
    const Row rows[] = {
        {kAlphaOpaque, false, 16, 0, 17, 0},        {kAlphaOpaque, false, 17, 14, 17, 0},
        {kAlphaOpaque, false, 16, 17, 17, 17},      {kAlphaOpaque, false, 17, 16, 17, 17},
        {kAlphaOpaque, false, 14, 0, 0, 0},         {kAlphaOpaque, false, 0, 14, 0, 0},
        {kAlphaOpaque, false, 14, 17, 0, 17},       {kAlphaOpaque, false, 0, 16, 0, 17},
        {kAlphaTransparent, false, 16, 0, 17, 0},   {kAlphaTransparent, false, 14, 17, 0, 17},
        {kAlphaTransparent, false, 16, 17, 17, 17}, {kAlphaTransparent, false, 14, 0, 0, 0},
        {kAlphaTransparent, true, 17, 14, 17, 0},   {kAlphaTransparent, true, 0, 16, 0, 17},
        {kAlphaTransparent, true, 17, 16, 17, 17},  {kAlphaTransparent, true, 0, 14, 0, 0},
    };
    int changed = 0;
    for (const AlphaDescriptionEnum alpha : {kAlphaVarying, kNoAlpha, kAlphaOpaque, kAlphaTransparent}) {
        for (const ColorEnum color : {kFullColor, kBlack, kColor2, kMonochrome}) {
            Picture source = Rgb32();
            source.Alpha(alpha).Color(color);
            for (int from = 0; from <= 26; ++from) {
                for (int to = 0; to <= 26; ++to) {
                    int newFrom = from, newTo = to;
                    for (const Row& row : rows) {
                        if (row.alpha == alpha && row.source == from && row.destination == to &&
                            (!row.onlyBlack || color == kBlack)) {
                            newFrom = row.newSource;
                            newTo = row.newDestination;
                            ++changed;
                            break;
                        }
                    }
                    // 26 stands for the code of no format.
                    const FormatPair pair =
                        SimplifyPair({static_cast<ConverterFormat>(from == 26 ? 100 : from),
                                      static_cast<ConverterFormat>(to == 26 ? 100 : to)},
                                     source.Get());
                    EXPECT_EQ(int{pair.source}, newFrom == 26 ? 100 : newFrom)
                        << from << " to " << to << ", alpha " << alpha << ", color " << color;
                    EXPECT_EQ(int{pair.destination}, newTo == 26 ? 100 : newTo)
                        << from << " to " << to << ", alpha " << alpha << ", color " << color;
                }
            }
        }
    }
    EXPECT_EQ(changed, 4 * 8 + 4 * 4 + 4);
}

TEST(ConverterFormat, AnImageWithoutAlphaSimplifiesNothing) {
    Picture source = CbYCrY();
    const FormatPair pair = SimplifyPair({kFmtCbYCrY4Shaped, kFmtRGB32}, source.Get());
    EXPECT_EQ(int{pair.source}, 16);
    EXPECT_EQ(int{pair.destination}, 0);
}

// ---- Pair tables -----------------------------------------------------------------------------------------

const PairRecord* Find(int source, int destination) {
    return FindPair(static_cast<ConverterFormat>(source), static_cast<ConverterFormat>(destination));
}

void ExpectPath(PairPaths path, const PairList& pairs) {
    for (int source = 0; source < 40; ++source) {
        for (int destination = 0; destination < 40; ++destination) {
            const PairRecord* pair = Find(source, destination);
            EXPECT_EQ(pair != nullptr && pair->IsOn(path), Lists(pairs, source, destination))
                << source << " to " << destination;
        }
    }
}

TEST(ConverterPairs, IntegerPath) {
    ExpectPath(kOnInteger, kIntegerPath);
}

TEST(ConverterPairs, FloatPath) {
    ExpectPath(kOnFloat, kFloatPath);
}

TEST(ConverterPairs, FixedPointAndFloatSimdPaths) {
    ExpectPath(kOnFixedPoint, kFixedPointPath);
    ExpectPath(kOnFloatSimd, kFloatSimdPath);
}

TEST(ConverterPairs, WhatIsNoFormatHasNoPair) {
    EXPECT_EQ(Find(100, 0), nullptr);
    EXPECT_EQ(Find(0, 100), nullptr);
    EXPECT_EQ(Find(100, 100), nullptr);
    EXPECT_EQ(Find(-1, -1), nullptr);
}

TEST(ConverterPairs, RecordsStandByThemselves) {
    for (const PairRecord& pair : Pairs()) {
        SCOPED_TRACE(std::to_string(pair.source) + " to " + std::to_string(pair.destination));
        EXPECT_EQ(FindPair(pair.source, pair.destination), &pair);
        EXPECT_EQ(pair.Has(kPlusFunction),
                  pair.destination == kFmtCbYCrA &&
                      (pair.source == kFmtRGB32Studio || pair.source == kFmtRGB32NarrowClamp));
    }
}

TEST(ConverterPairs, EveryPairOfTheIntegerPathHasANamedKernel) {
    for (const PairRecord& pair : Pairs()) {
        SCOPED_TRACE(std::to_string(pair.source) + " to " + std::to_string(pair.destination));
        EXPECT_EQ(pair.integer.nameWithoutSse2 != nullptr, pair.IsOn(kOnInteger));
        EXPECT_EQ(pair.integer.nameWithSse2 != nullptr, pair.IsOn(kOnInteger));
        EXPECT_EQ(pair.integer.run != nullptr, pair.IsOn(kOnInteger));
    }
}

}  // namespace
