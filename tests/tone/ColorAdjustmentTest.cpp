// Settings, refusals and planes. Values of the steps: ColorAdjustmentValuesTest.cpp.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "foundation/CapabilitySeam.h"
#include "tone/Adjusting.h"

namespace {

using namespace tone_test;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// What an object makes of one line in place, by both paths where both take it.
Bytes Adjusted(ColorAdjustment& adjustment, const Layout& layout, const Bytes& line) {
    const auto width = static_cast<unsigned>(line.size()) / layout.bytesPerPixel;
    Picture picture(layout, width, 1, line);
    ImageView view = picture.View();
    EXPECT_EQ(adjustment.Do(view, view, kFlp), 0);
    if (layout.hasIntegerPath) {
        Picture other(layout, width, 1, line);
        ImageView otherView = other.View();
        EXPECT_EQ(adjustment.Do(otherView, otherView, kInt_MMXorSIMD), 0);
        EXPECT_EQ(other.bytes, picture.bytes);
    }
    return picture.bytes;
}

unsigned AdjustedLuma(ColorAdjustment& adjustment, unsigned char luma) {
    return Adjusted(adjustment, kCbYCrY, {128, luma, 128, luma})[1];
}
Bytes AdjustedChroma(ColorAdjustment& adjustment, unsigned char cb, unsigned char cr) {
    const Bytes pixel = Adjusted(adjustment, kCbYCrAPixels, {cb, 16, cr, 0});
    return {pixel[0], pixel[2]};
}

// ---- Settings ---------------------------------------------------------------------------------------------

TEST(ColorAdjustment, ChangesNothingWithNeutralSettings) {
    ColorAdjustment adjustment;
    for (const Layout& layout : {kCbYCrY, kYCbYCrOrder, kCbYCrAPixels, kYCbCrAPixels}) {
        Picture picture = Noise(layout, 70, 3);
        const Bytes before = picture.bytes;
        Picture other(layout, 70, 3);
        ImageView from = picture.View(), to = other.View();
        ASSERT_EQ(adjustment.Do(from, to, kFlp), 0) << layout.name;
        EXPECT_EQ(other.bytes, before) << layout.name;
        ASSERT_EQ(adjustment.Do(from, from, kFlp), 0) << layout.name;
        EXPECT_EQ(picture.bytes, before) << layout.name;
    }
}

TEST(ColorAdjustment, TakesRgbThroughBothMatricesAlways) {
    ColorAdjustment adjustment;
    // 128: Y = trunc(128 * 3518 / 4096 + 16) = 125, (125 - 16) * 4769 / 4096 = 126.9. Chroma sums are 0.
    // 255: Y = 235, 219 * 4769 / 4096 = 254.9.
    EXPECT_EQ(Adjusted(adjustment, kRgb32, {128, 128, 128, 7, 255, 255, 255, 9, 0, 0, 0, 255}),
              (Bytes{126, 126, 126, 7, 254, 254, 254, 9, 0, 0, 0, 255}));
    EXPECT_EQ(Adjusted(adjustment, kRgb24, {128, 128, 128, 255, 255, 255}),
              (Bytes{126, 126, 126, 254, 254, 254}));
}

TEST(ColorAdjustment, LimitsContrast) {
    ColorAdjustment adjustment;
    adjustment.SetContrast(1000);
    // 17: 127.99609375 + 16; 15: -127.99609375 + 16.
    EXPECT_EQ(AdjustedLuma(adjustment, 17), 143U);
    EXPECT_EQ(AdjustedLuma(adjustment, 16), 16U);
    EXPECT_EQ(AdjustedLuma(adjustment, 15), 0U);
    EXPECT_EQ(AdjustedLuma(adjustment, 255), 255U);
    adjustment.SetContrast(-2);
    for (const int luma : {0, 15, 16, 128, 255}) {
        EXPECT_EQ(AdjustedLuma(adjustment, static_cast<unsigned char>(luma)), 16U);
    }
}

TEST(ColorAdjustment, LimitsSaturation) {
    ColorAdjustment adjustment;
    adjustment.SetSaturation(1000);
    // 127.99609375 beside 128: trunc(255.99609375) and trunc(0.00390625).
    EXPECT_EQ(AdjustedChroma(adjustment, 129, 127), (Bytes{255, 0}));
    EXPECT_EQ(AdjustedChroma(adjustment, 128, 130), (Bytes{128, 255}));
    adjustment.SetSaturation(-1);
    EXPECT_EQ(AdjustedChroma(adjustment, 0, 255), (Bytes{128, 128}));
}

TEST(ColorAdjustment, AddsBrightnessTruncated) {
    ColorAdjustment adjustment;
    adjustment.SetBrightness(0.5);
    EXPECT_EQ(AdjustedLuma(adjustment, 0), 127U);
    EXPECT_EQ(AdjustedLuma(adjustment, 200), 255U);
    adjustment.SetBrightness(-0.5);
    EXPECT_EQ(AdjustedLuma(adjustment, 128), 1U);
    EXPECT_EQ(AdjustedLuma(adjustment, 100), 0U);
    adjustment.SetBrightness(0.0039);  // 0.9945
    EXPECT_EQ(AdjustedLuma(adjustment, 100), 100U);
    adjustment.SetBrightness(7);
    EXPECT_EQ(AdjustedLuma(adjustment, 0), 255U);
    adjustment.SetBrightness(-7);
    EXPECT_EQ(AdjustedLuma(adjustment, 255), 0U);
}

TEST(ColorAdjustment, LimitsHueToHalfATurnWhichIsNoMirror) {
    ColorAdjustment adjustment;
    adjustment.SetHue(360);
    // u = 10, v = 5: -10 + 5 * 3.59e-9 truncates to -9, -5 - 10 * 3.59e-9 to -5.
    EXPECT_EQ(AdjustedChroma(adjustment, 138, 133), (Bytes{119, 123}));
    adjustment.SetHue(-360);
    // The sine is negative: -10 - 5 * 3.59e-9, -5 + 10 * 3.59e-9.
    EXPECT_EQ(AdjustedChroma(adjustment, 138, 133), (Bytes{118, 124}));
    adjustment.SetHue(0);
    EXPECT_EQ(AdjustedChroma(adjustment, 138, 133), (Bytes{138, 133}));
}

TEST(ColorAdjustment, TurnsByAQuarter) {
    ColorAdjustment adjustment;
    adjustment.SetHue(90);
    // The cosine is 1.79e-9: u = 40, v = 0 gives 7.2e-8 and -40; u = 0, v = -128 gives -128 and -2.3e-7.
    EXPECT_EQ(AdjustedChroma(adjustment, 168, 128), (Bytes{128, 88}));
    EXPECT_EQ(AdjustedChroma(adjustment, 128, 0), (Bytes{0, 128}));
    // u = -128: 0 - 2.3e-7 is 0, 128 is limited.
    EXPECT_EQ(AdjustedChroma(adjustment, 0, 128), (Bytes{128, 255}));
    // u = 20, v = -30: -30 + 3.6e-8 truncates to -29, -20 - 5.4e-8 to -20.
    EXPECT_EQ(AdjustedChroma(adjustment, 148, 98), (Bytes{99, 108}));
}

TEST(ColorAdjustment, GammaBendsLumaOfPairsAlone) {
    ColorAdjustment adjustment;
    adjustment.SetYgamma(2);
    // 128 * 128 / 255 = 64.25; 200 * 200 / 255 = 156.86; 1 / 255 rounds to 0.
    EXPECT_EQ(Adjusted(adjustment, kCbYCrY, {3, 128, 5, 200, 7, 1, 9, 255}),
              (Bytes{3, 64, 5, 157, 7, 0, 9, 255}));
    EXPECT_EQ(Adjusted(adjustment, kYCbYCrOrder, {128, 3, 200, 5}), (Bytes{64, 3, 157, 5}));
    EXPECT_EQ(Adjusted(adjustment, kCbYCrAPixels, {3, 128, 5, 200}), (Bytes{3, 128, 5, 200}));
    EXPECT_EQ(Adjusted(adjustment, kRgb24, {128, 128, 128}), (Bytes{126, 126, 126}));
    // Behind contrast and brightness: (60 - 16) * 2 + 16 + 51 = 155; 155 * 155 / 255 = 94.2.
    adjustment.SetContrast(2);
    adjustment.SetBrightness(0.2);
    EXPECT_EQ(AdjustedLuma(adjustment, 60), 94U);
}

TEST(ColorAdjustment, GammaBelowZeroIsZeroAndHasNoUpperLimit) {
    ColorAdjustment adjustment;
    adjustment.SetYgamma(-1);
    EXPECT_EQ(AdjustedLuma(adjustment, 0), 255U);
    EXPECT_EQ(AdjustedLuma(adjustment, 77), 255U);
    adjustment.SetYgamma(100000);
    EXPECT_EQ(AdjustedLuma(adjustment, 254), 0U);
    EXPECT_EQ(AdjustedLuma(adjustment, 255), 255U);
    adjustment.SetYgamma(kInfinity);
    EXPECT_EQ(AdjustedLuma(adjustment, 254), 0U);
}

TEST(ColorAdjustment, WhatIsNoNumberLeavesASettingAsItWas) {
    ColorAdjustment adjustment, same;
    for (ColorAdjustment* each : {&adjustment, &same}) {
        each->SetBrightness(0.1);
        each->SetContrast(1.3);
        each->SetSaturation(0.7);
        each->SetHue(25);
        each->SetYgamma(1.1);
    }
    adjustment.SetBrightness(kNaN);
    adjustment.SetContrast(kNaN);
    adjustment.SetSaturation(kNaN);
    adjustment.SetHue(kNaN);
    adjustment.SetYgamma(kNaN);
    const Bytes line{90, 40, 200, 150};
    const Bytes made = Adjusted(adjustment, kCbYCrY, line);
    EXPECT_EQ(made, Adjusted(same, kCbYCrY, line));
    EXPECT_NE(made, line);
}

TEST(ColorAdjustment, TakesInfinityAsTheNearestLimit) {
    ColorAdjustment adjustment;
    adjustment.SetContrast(kInfinity);
    EXPECT_EQ(AdjustedLuma(adjustment, 17), 143U);
    adjustment.SetContrast(-kInfinity);
    adjustment.SetBrightness(-kInfinity);
    EXPECT_EQ(AdjustedLuma(adjustment, 255), 0U);
    adjustment.SetHue(kInfinity);
    EXPECT_EQ(AdjustedChroma(adjustment, 138, 133), (Bytes{119, 123}));
}

TEST(ColorAdjustment, EmptySettersDoNothing) {
    ColorAdjustment adjustment;
    adjustment.SetContrastCenter(0.3);
    adjustment.SetHueOffset(10, 20);
    const Bytes line{1, 2, 3, 4};
    EXPECT_EQ(Adjusted(adjustment, kCbYCrAPixels, line), line);
}

TEST(ColorAdjustment, CopiesCarryAllSettings) {
    ColorAdjustment adjustment;
    adjustment.SetBrightness(-0.1);
    adjustment.SetContrast(1.4);
    adjustment.SetSaturation(1.7);
    adjustment.SetHue(-70);
    adjustment.SetYgamma(0.8);
    ColorAdjustment copy(adjustment), assigned;
    assigned = adjustment;
    const Bytes line{90, 40, 200, 150};
    const Bytes made = Adjusted(adjustment, kCbYCrY, line);
    EXPECT_NE(made, line);
    EXPECT_EQ(Adjusted(copy, kCbYCrY, line), made);
    EXPECT_EQ(Adjusted(assigned, kCbYCrY, line), made);
}

TEST(ColorAdjustment, ProcessorAndFlagDoNotShow) {
    for (const Layout& layout : kLayouts) {
        const Picture source = Noise(layout, 66, 2);
        Bytes first;
        for (const CPUinstructionSetEnum set : {kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2}) {
            for (const bool only : {false, true}) {
                const ScopedInstructionSet scope(set);
                ColorAdjustment adjustment;
                adjustment.SetMMXonlyStyle(only);
                adjustment.SetContrast(1.2);
                adjustment.SetHue(33);
                const Bytes made = Adjusted(adjustment, layout, source.bytes);
                if (first.empty()) {
                    first = made;
                }
                EXPECT_EQ(made, first) << layout.name;
            }
        }
        EXPECT_NE(first, source.bytes);
    }
}

// ---- Refusals ---------------------------------------------------------------------------------------------

Image Planar() {
    return {ImageDescriptor(8, 2, kYCrCb, k422, kYCbCrPlanes, kPlanar, kProgressive, kNoFields, kTopLeft,
                            1.0F, kUnshaped),
            64};
}

/// An image that has everything but its memory.
Image WithoutMemory(PixelPackingEnum packing = kPacked) {
    Image image(ImageDescriptor(8, 2, kYCrCb, packing == kPacked ? k4444 : k422,
                                packing == kPacked ? kCbYCrA : kYCbCrPlanes, packing, kProgressive, kNoFields,
                                kTopLeft, 1.0F, kUnshaped),
                64);
    for (ChannelDescriptor& channel : image.GetImageDescriptor()->channels) {
        channel.memory = {};
    }
    return image;
}

constexpr int kAllStyles[] = {0, 1, 2, 3, 4, 5, 6, -1, 1000};

TEST(ColorAdjustment, RefusesSourceBeforeDestinationBeforeStyle) {
    Image planar = Planar(), empty = WithoutMemory(), emptyPlanar = WithoutMemory(kPlanar);
    Picture good(kCbYCrAPixels, 8, 2);
    ColorAdjustment adjustment;
    const auto status = [&](Image* from, Image* to, int style) {
        ImageView source(from), destination(to);
        return adjustment.Do(source, destination, static_cast<ProcessingStyleEnum>(style));
    };
    for (const int style : kAllStyles) {
        EXPECT_EQ(status(&planar, &empty, style), 2);
        EXPECT_EQ(status(&empty, &planar, style), 1);
        EXPECT_EQ(status(&emptyPlanar, &good.Get(), style), 2);
        EXPECT_EQ(status(&good.Get(), &planar, style), 2);
        EXPECT_EQ(status(&good.Get(), &empty, style), 1);
        EXPECT_EQ(status(nullptr, &good.Get(), style), 1);
        EXPECT_EQ(status(&good.Get(), nullptr, style), 1);
    }
}

TEST(ColorAdjustment, HasTwoStyles) {
    ColorAdjustment adjustment;
    for (const Layout& layout : kLayouts) {
        Picture picture = Noise(layout, 8, 2);
        const Bytes before = picture.bytes;
        ImageView view = picture.View();
        for (const int style : kAllStyles) {
            const Long32 expected = style == kFP || style == kFlp_SIMD ? 4 : 100;
            if (style != kFlp && style != kInt_MMXorSIMD) {
                EXPECT_EQ(adjustment.Do(view, view, static_cast<ProcessingStyleEnum>(style)), expected);
            }
        }
        EXPECT_EQ(picture.bytes, before);
        EXPECT_EQ(adjustment.Do(view, view, kFlp), 0) << layout.name;
        EXPECT_EQ(adjustment.Do(view, view, kInt_MMXorSIMD), layout.hasIntegerPath ? 0 : 4) << layout.name;
    }
}

/// Images of all packed formats that may be had.
std::vector<std::pair<std::string, Image>> PackedImages() {
    std::vector<std::pair<std::string, Image>> all;
    const auto add = [&](const char* name, ColorSpaceEnum space, AggregateChannelSamplingEnum sampling,
                         ComponentOrderEnum order, AggregateBitsPerChannelEnum bits = k8Bits,
                         ShapedEnum shaped = kUnshaped) {
        all.emplace_back(name, Image(ImageDescriptor(8, 2, space, sampling, order, kPacked, kProgressive,
                                                     kNoFields, kTopLeft, bits, 1.0F, shaped),
                                     64));
    };
    add("RGB32", kRGB, k4444, kBGRA);
    add("RGB24", kRGB, k444, kBGRA);
    add("RGB32 shaped", kRGB, k4444, kBGRA, k8Bits, kShaped);
    add("RGB64", kRGB, k4444, kBGRA, k16Bits);
    add("RGB128", kRGB, k4444, kBGRA, k32Bits);
    add("CbYCrA", kYCrCb, k4444, kCbYCrA);
    add("CbYCrA shaped", kYCrCb, k4444, kCbYCrA, k8Bits, kShaped);
    add("YCbCrA", kYCrCb, k4444, kYCbCrA);
    add("YCbCrA shaped", kYCrCb, k4444, kYCbCrA, k8Bits, kShaped);
    add("CbYCr", kYCrCb, k444, kCbYCrA);
    add("YCbCr", kYCrCb, k444, kYCbCrA);
    add("CbYCrY", kYCrCb, k422, kCbYCrA);
    add("YCbYCr", kYCrCb, k422, kYCbYCr);
    add("CbYCrY4", kYCrCb, k4224, kCbYCrA);
    add("alpha", kAlphaOnly, k4444, kBGRA);
    return all;
}

TEST(ColorAdjustment, FloatPathTakesRgbPairsAndYCrCbIntoAnything) {
    ColorAdjustment adjustment;
    auto images = PackedImages();
    const auto isRgb = [](const std::string& name, const char* what) { return name.rfind(what, 0) == 0; };
    for (auto& [from, source] : images) {
        for (auto& [to, destination] : images) {
            const bool rgb32 = isRgb(from, "RGB32") && isRgb(to, "RGB32");
            const bool rgb24 = from == "RGB24" && to == "RGB24";
            const bool pairs = (from == "CbYCrY" || from == "YCbYCr") && (to == "CbYCrY" || to == "YCbYCr");
            const bool pixels = from.size() >= 6 &&
                                (from.substr(0, 6) == "CbYCrA" || from.substr(0, 6) == "YCbCrA") &&
                                to != "RGB64" && to != "RGB128";
            ImageView a(&source), b(&destination);
            EXPECT_EQ(adjustment.Do(a, b, kFlp), rgb32 || rgb24 || pairs || pixels ? 0 : 2)
                << from << " to " << to;
        }
    }
}

TEST(ColorAdjustment, IntegerPathTakesFourFormatsTheSameOnBothSides) {
    ColorAdjustment adjustment;
    auto images = PackedImages();
    for (auto& [from, source] : images) {
        for (auto& [to, destination] : images) {
            const bool taken = from == "RGB32" || from == "RGB24" || from == "CbYCrA" || from == "YCbCrA";
            ImageView a(&source), b(&destination);
            EXPECT_EQ(adjustment.Do(a, b, kInt_MMXorSIMD), taken && from == to ? 0 : 4)
                << from << " to " << to;
        }
    }
}

TEST(ColorAdjustment, IntegerPathLooksAtLevels) {
    ColorAdjustment adjustment;
    Picture studio(kRgb32, 4, 1), open(kCbYCrAPixels, 4, 1), lumaFirst(kYCbCrAPixels, 4, 1);
    studio.Get().SetBlackAndWhiteLevel(16 / 255.0F, 235 / 255.0F, 0);
    open.Get().SetBlackAndWhiteLevel(0, 1, 0);
    lumaFirst.Get().SetBlackAndWhiteLevel(0, 1, 0);
    for (Picture* picture : {&studio, &open}) {
        ImageView view = picture->View();
        EXPECT_EQ(adjustment.Do(view, view, kInt_MMXorSIMD), 4);
        EXPECT_EQ(adjustment.Do(view, view, kFlp), 0);
    }
    // Which is tested for no level.
    ImageView view = lumaFirst.View();
    EXPECT_EQ(adjustment.Do(view, view, kInt_MMXorSIMD), 0);
}

TEST(ColorAdjustment, NothingToDoIsDone) {
    ColorAdjustment adjustment;
    adjustment.SetContrast(0);
    Picture picture = Noise(kRgb32, 4, 4);
    const Bytes before = picture.bytes;
    ImageView whole = picture.View(), none = picture.View(Rectangle(1, 1, 0, 3)),
              noLines = picture.View(Rectangle(0, 2, 4, 0));
    for (ImageView* empty : {&none, &noLines}) {
        EXPECT_EQ(adjustment.Do(whole, *empty, kFlp), 0);
        EXPECT_EQ(adjustment.Do(*empty, whole, kInt_MMXorSIMD), 0);
    }
    EXPECT_EQ(picture.bytes, before);
}

TEST(ColorAdjustment, RefusesSelectionsOutsideTheirPlane) {
    ColorAdjustment adjustment;
    adjustment.SetContrast(0);
    Picture upright = Noise(kCbYCrAPixels, 4, 4), turned = Noise(kCbYCrAPixels, 4, 4);
    turned.Get().SetOrigin(kBottomLeft);
    const Bytes before = turned.bytes, beforeUpright = upright.bytes;
    ImageView good = upright.View(), field = turned.View(Rectangle(0, 0, 4, 4), kUpperField);
    for (const ProcessingStyleEnum style : {kFlp, kInt_MMXorSIMD}) {
        EXPECT_EQ(adjustment.Do(field, good, style), 98);
        EXPECT_EQ(adjustment.Do(good, field, style), 98);
    }
    // What the style lacks comes first.
    EXPECT_EQ(adjustment.Do(field, good, kFP), 4);
    EXPECT_EQ(adjustment.Do(field, good, kBestAvailable), 100);
    EXPECT_EQ(turned.bytes, before);
    EXPECT_EQ(upright.bytes, beforeUpright);
}

// ---- Planes -----------------------------------------------------------------------------------------------

TEST(ColorAdjustment, WorksOnTheSmallerSize) {
    ColorAdjustment adjustment;
    adjustment.SetBrightness(1);
    Picture source(kCbYCrAPixels, 3, 2), destination(kCbYCrAPixels, 2, 3);
    ImageView from = source.View(), to = destination.View();
    ASSERT_EQ(adjustment.Do(from, to, kFlp), 0);
    EXPECT_EQ(destination.bytes,
              (Bytes{0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ColorAdjustment, AnOddLastPixelOfPairsStays) {
    ColorAdjustment adjustment;
    adjustment.SetBrightness(1);
    adjustment.SetSaturation(0);
    for (const Layout& layout : {kCbYCrY, kYCbYCrOrder}) {
        Picture picture(layout, 6, 1, Bytes(12, 9));
        ImageView view = picture.View(Rectangle(0, 0, 5, 1));
        ASSERT_EQ(adjustment.Do(view, view, kFlp), 0);
        const Bytes pair = layout.order == kCbYCrA ? Bytes{128, 255, 128, 255} : Bytes{255, 128, 255, 128};
        Bytes expected = pair;
        expected.insert(expected.end(), pair.begin(), pair.end());
        expected.insert(expected.end(), 4, 9);
        EXPECT_EQ(picture.bytes, expected) << layout.name;
        ImageView single = picture.View(Rectangle(4, 0, 1, 1));
        ASSERT_EQ(adjustment.Do(single, single, kFlp), 0);
        EXPECT_EQ(picture.bytes, expected) << layout.name;
    }
}

TEST(ColorAdjustment, TakesRegionsAndFields) {
    ColorAdjustment adjustment;
    adjustment.SetBrightness(1);
    Picture picture(kCbYCrAPixels, 3, 4, Bytes(48, 5));
    ImageView lower = picture.View(Rectangle(1, 0, 2, 4), kLowerField);
    ASSERT_EQ(adjustment.Do(lower, lower, kInt_MMXorSIMD), 0);
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 3; ++x) {
            const Bytes pixel(&picture.bytes[12 * y + 4 * x], &picture.bytes[12 * y + 4 * x] + 4);
            EXPECT_EQ(pixel, y % 2 == 1 && x >= 1 ? (Bytes{5, 255, 5, 5}) : Bytes(4, 5)) << x << ", " << y;
        }
    }
}

TEST(ColorAdjustment, TwoFieldsAreTheFrame) {
    for (const Layout& layout : kLayouts) {
        ColorAdjustment adjustment;
        adjustment.SetContrast(1.2);
        adjustment.SetHue(-40);
        const Picture source = Noise(layout, 38, 7);
        Picture whole(layout, 38, 7, source.bytes), fields(layout, 38, 7, source.bytes);
        ImageView frame = whole.View();
        ASSERT_EQ(adjustment.Do(frame, frame, kFlp), 0);
        for (const WhichFieldEnum field : {kUpperField, kLowerField}) {
            ImageView view = fields.View(Rectangle(0, 0, 38, 7), field);
            ASSERT_EQ(adjustment.Do(view, view, kFlp), 0);
        }
        EXPECT_EQ(fields.bytes, whole.bytes) << layout.name;
    }
}

TEST(ColorAdjustment, BottomLeftFramesAreTakenInPictureOrder) {
    ColorAdjustment adjustment;
    adjustment.SetSaturation(0.5);
    Picture source = Noise(kRgb24, 5, 3), upright(kRgb24, 5, 3), turned(kRgb24, 5, 3);
    turned.Get().SetOrigin(kBottomLeft);
    ImageView from = source.View(), to = upright.View(), upsideDown = turned.View();
    ASSERT_EQ(adjustment.Do(from, to, kInt_MMXorSIMD), 0);
    ASSERT_EQ(adjustment.Do(from, upsideDown, kInt_MMXorSIMD), 0);
    for (std::size_t y = 0; y < 3; ++y) {
        EXPECT_EQ(std::memcmp(&upright.bytes[15 * y], &turned.bytes[15 * (2 - y)], 15), 0);
    }
}

TEST(ColorAdjustment, GoesByTheOrderOfTheSource) {
    ColorAdjustment adjustment;
    adjustment.SetBrightness(1);
    Picture lumaFirst(kYCbCrAPixels, 1, 1, Bytes{1, 2, 3, 4}),
        chromaFirst(kCbYCrAPixels, 1, 1, Bytes{1, 2, 3, 4});
    ImageView from = lumaFirst.View(), to = chromaFirst.View();
    ASSERT_EQ(adjustment.Do(from, to, kFlp), 0);
    EXPECT_EQ(chromaFirst.bytes, (Bytes{255, 2, 3, 4}));
    ASSERT_EQ(adjustment.Do(to, from, kFlp), 0);
    EXPECT_EQ(lumaFirst.bytes, (Bytes{255, 255, 3, 4}));
}

TEST(ColorAdjustment, WritesFourBytesAPixelAsFarAsThePlaneReaches) {
    ColorAdjustment adjustment;
    adjustment.SetBrightness(1);
    // Lines of 12 bytes, 6 apart in a plane of 12: the second begins in the first and ends with the plane.
    Picture source(kCbYCrAPixels, 3, 2, Bytes{1,  0, 2,  3,  4,  0, 5,  6,  7,  0, 8,  9,  //
                                              11, 0, 12, 13, 14, 0, 15, 16, 17, 0, 18, 19});
    Picture destination(Layout{"", kYCrCb, k422, kCbYCrA, 2, false}, 4, 2);
    ImageView from = source.View(), to = destination.View(Rectangle(0, 0, 3, 2));
    ASSERT_EQ(adjustment.Do(from, to, kFlp), 0);
    EXPECT_EQ(destination.bytes, (Bytes{1, 255, 2, 3, 4, 255, 5, 6, 11, 255, 12, 13, 14, 255, 15, 16}));
    // Lines 3 apart in a plane of 6: of the second no whole pixel is left.
    Picture grey(Layout{"", kAlphaOnly, k4444, kBGRA, 1, false}, 3, 2);
    ImageView bytes = grey.View();
    ASSERT_EQ(adjustment.Do(from, bytes, kFlp), 0);
    EXPECT_EQ(grey.bytes, (Bytes{1, 255, 2, 3, 0, 0}));
}

}  // namespace
