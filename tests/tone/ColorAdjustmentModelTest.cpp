// The processing amplifier against a second, plain model.

#include <TesselU/tone/ColorAdjustment.h>

#include <cstring>
#include <limits>

#include "tone/ModelScenes.h"
#include "tone/model/Adjustment.h"

using namespace tone_test;
using tone_model::Settings;

namespace {

struct Adjusted {
    Zan::ColorAdjustment adjustment;
    Settings model;

    void SetBrightness(double value) {
        adjustment.SetBrightness(value);
        model.SetBrightness(value);
    }
    void SetContrast(double value) {
        adjustment.SetContrast(value);
        model.SetContrast(value);
    }
    void SetSaturation(double value) {
        adjustment.SetSaturation(value);
        model.SetSaturation(value);
    }
    void SetHue(double value) {
        adjustment.SetHue(value);
        model.SetHue(value);
    }
    void SetGamma(double value) {
        adjustment.SetYgamma(value);
        model.SetGamma(value);
    }

    // Neutral now and then, at a corner of the range, or anything within it.
    void SetAny() {
        const double infinity = std::numeric_limits<double>::infinity();
        const auto share = [](double most) { return most * RandomFrom<int>(0, 1000000) / 1e6; };
        if (!OneIn(3)) {
            SetBrightness(OneIn(3) ? AnyOf({1.0, -1.0, 0.5, -0.5, 0.003, -0.003, 1 / 255.0, -7.0, infinity})
                                   : share(2) - 1);
        }
        if (!OneIn(3)) {
            SetContrast(OneIn(3) ? AnyOf({0.0, 127.99609375, 1000.0, -2.0, 0.5, 2.0, 255.0 / 219, 1 + 1e-15,
                                          1 - 1e-15, infinity})
                                 : share(OneIn(4) ? 128 : 3));
        }
        if (!OneIn(3)) {
            SetSaturation(OneIn(3)
                              ? AnyOf({0.0, 127.99609375, 1000.0, -2.0, 0.5, 2.0, 1.25, 1 + 1e-15, infinity})
                              : share(OneIn(4) ? 128 : 3));
        }
        if (!OneIn(3)) {
            SetHue(OneIn(3) ? AnyOf({180.0, -180.0, 90.0, -90.0, 360.0, 60.0, 30.0, 45.0, 1e-9, -infinity,
                                     -0.0, 120.0})
                            : share(360) - 180);
        }
        if (!OneIn(3)) {
            SetGamma(OneIn(3) ? AnyOf({0.0, -1.0, 0.45, 2.2, 1.0 / 0.45, 100.0, 1e-3, infinity})
                              : share(OneIn(4) ? 20 : 3));
        }
    }

    std::string Describe() const {
        return "brightness " + std::to_string(model.brightness) + ", contrast " +
               std::to_string(model.contrast) + ", saturation " + std::to_string(model.saturation) +
               ", hue " + std::to_string(model.hue) + ", gamma " + std::to_string(model.gamma);
    }
};

void Expect(Scene& scene, Adjusted& by, int style, bool inPlace = false) {
    SCOPED_TRACE("style " + std::to_string(style) + ", " + by.Describe());
    ExpectAsModel(
        scene, [&](Zan::ImageView& a, Zan::ImageView& b) { return by.adjustment.Do(a, b, Style(style)); },
        [&](const Operand& a, Operand& b) { return tone_model::Adjust(by.model, a, b, style); }, inPlace);
}

Format Deep(Zan::AggregateBitsPerChannelEnum bits) {
    Format format = Rgb();
    format.bits = bits;
    return format;
}
Format Packed24() {
    return {Zan::kYCrCb, Zan::k444, AnyOf({Zan::kCbYCrA, Zan::kYCbCrA})};
}

const std::vector<Format>& Taken() {
    static const std::vector<Format> formats = {Rgb(),
                                                Rgb(Zan::k444),
                                                Words(),
                                                Words(Zan::kYCbCrA),
                                                Pairs(Zan::k422),
                                                Pairs(Zan::k422, Zan::kYCbYCr)};
    return formats;
}

Format AnyFormat() {
    return AnyOf({Rgb(), Rgb(Zan::k444), Words(), Words(Zan::kYCbCrA), Pairs(),
                  Pairs(Zan::k422, Zan::kYCbYCr), Pairs(Zan::k4224), Packed24(), Grey(), Deep(Zan::k16Bits),
                  Deep(Zan::k32Bits), Planar(Zan::k422), Planar(Zan::k420),
                  Planar(Zan::k422, Zan::kYPlaneCbCrPlane)});
}

Layout AnyLayout(int width) {
    Layout layout;
    layout.width = width;
    layout.height = RandomFrom<int>(0, 7);
    return layout;
}

TEST(ColorAdjustmentModel, EveryBodyOnEveryTarget) {
    OnEveryTarget([] {
        ForWidths(0, [](int width) {
            for (const Format& format : Taken()) {
                for (const int style : {0, 2}) {
                    Adjusted by;
                    by.SetAny();
                    Scene scene = MakeScene({format, format}, AnyLayout(width));
                    if (OneIn(3)) {
                        Polarise(scene.pictures[0]->ColourMemory());
                    }
                    Expect(scene, by, style, OneIn(5));
                    if (::testing::Test::HasFatalFailure()) {
                        return;
                    }
                }
            }
        });
    });
}

TEST(ColorAdjustmentModel, EveryStyleAndMachine) {
    OnEveryMachine([](bool mmxOnly) {
        for (const int style : AllStyles()) {
            for (const Format& format : Taken()) {
                Adjusted by;
                by.SetAny();
                by.adjustment.SetMMXonlyStyle(mmxOnly);
                Scene scene = MakeScene({format, format}, AnyLayout(RandomFrom<int>(1, 70)));
                Expect(scene, by, style);
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    });
}

// Shaping and levels decide what the integer path takes.
TEST(ColorAdjustmentModel, EveryPairOfFormats) {
    for (int round = 0; round < (kSanitized ? 300 : 4000); ++round) {
        Adjusted by;
        by.SetAny();
        Format first = AnyFormat(), second = OneIn(2) ? first : AnyFormat();
        for (Format* const format : {&first, &second}) {
            format->shaping = OneIn(8) ? AnyOf({Zan::kShaped, Zan::kShaped2}) : Zan::kUnshaped;
        }
        Scene scene = MakeScene({first, second}, AnyLayout(RandomFrom<int>(0, 40)));
        for (auto& picture : scene.pictures) {
            if (OneIn(8)) {
                (*picture)->SetBlackAndWhiteLevel(AnyOf({0.0F, 0.5F, 16 / 255.0F}), 1.0F,
                                                  RandomFrom<Zan::ULong32>(0, 1));
            }
            if (OneIn(8)) {
                (*picture)->SetClampLowAndHighLevel(AnyOf({0.0F, 0.1F}), AnyOf({1.0F, 0.9F}), 0);
            }
            if (OneIn(16)) {
                picture->Drop(0);
            }
        }
        Expect(scene, by, AnyOf({0, 0, 2, 2, 1, 3, 5, 4, 6, -1}));
        if (HasFatalFailure()) {
            return;
        }
    }
}

// Four bytes a pixel, whatever the destination has.
TEST(ColorAdjustmentModel, FourBytesIntoAnything) {
    for (int round = 0; round < (kSanitized ? 100 : 1500); ++round) {
        Adjusted by;
        by.SetAny();
        Format destination = AnyFormat();
        if (destination.packing == Zan::kPlanar) {
            continue;
        }
        Layout layout = AnyLayout(RandomFrom<int>(0, 70));
        Scene scene = MakeScene({Words(AnyOf({Zan::kCbYCrA, Zan::kYCbCrA})), destination}, layout);
        Expect(scene, by, 0);
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(ColorAdjustmentModel, ViewsOfNothing) {
    for (const int style : AllStyles()) {
        Zan::ColorAdjustment adjustment;
        Scene scene = MakeScene({Planar(Zan::k422), Words()}, Layout());
        Zan::ImageView nothing;
        EXPECT_EQ(adjustment.Do(nothing, scene.views[0], Style(style)), 1);
        EXPECT_EQ(adjustment.Do(scene.views[0], nothing, Style(style)), 2);
        EXPECT_EQ(adjustment.Do(scene.views[1], nothing, Style(style)), 1);
    }
    Format upward = Words();
    upward.origin = Zan::kBottomLeft;
    Picture bad(upward), good(Words());
    Zan::ImageView field(bad, Zan::Rectangle(0, 0, 16, 4), Zan::kUpperField), whole(good);
    Zan::ColorAdjustment adjustment;
    const Bytes before = good.Colour();
    for (const int style : {0, 2}) {
        EXPECT_EQ(adjustment.Do(field, whole, Style(style)), 98);
        EXPECT_EQ(adjustment.Do(whole, field, Style(style)), 98);
    }
    EXPECT_EQ(adjustment.Do(field, whole, Zan::kBestAvailable), 100);
    EXPECT_EQ(adjustment.Do(field, whole, Zan::kFP), 4);
    EXPECT_EQ(good.Colour(), before);
}

// What is no number leaves a setting as it was: each in its turn, after a value that shows.
TEST(ColorAdjustmentModel, NotANumber) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Adjusted by;
    by.SetBrightness(0.25);
    by.SetContrast(1.5);
    by.SetSaturation(0.5);
    by.SetHue(40);
    by.SetGamma(2);
    by.SetBrightness(nan);
    by.SetContrast(nan);
    by.SetSaturation(nan);
    by.SetHue(nan);
    by.SetGamma(nan);
    EXPECT_EQ(by.model.brightness, 0.25);
    EXPECT_EQ(by.model.contrast, 1.5);
    EXPECT_EQ(by.model.hue, 40);
    by.adjustment.SetContrastCenter(0.3);
    by.adjustment.SetHueOffset(10, 20);
    for (const Format& format : Taken()) {
        Scene scene = MakeScene({format, format}, AnyLayout(60));
        Expect(scene, by, 0);
        Zan::ColorAdjustment assigned;
        assigned = by.adjustment;
        const Zan::ColorAdjustment copied(assigned);
        by.adjustment = copied;
        Scene again = MakeScene({format, format}, AnyLayout(60));
        Expect(again, by, 0);
    }
}

// Pictures of all pairs of chroma, each with two of all lumas; both as 4:2:2 and as 4:4:4:4.
Scene AllColours(const Format& format) {
    Layout layout;
    layout.fields = layout.bottomLeft = false;
    layout.width = format.sampling == Zan::k4444 ? 256 : 512;
    layout.height = 256;
    Scene scene;
    scene.Add(format, layout, true, true);
    scene.Add(format, layout, true, true);
    auto* const first = static_cast<std::uint8_t*>(scene.views[0].GetMemoryPointer(0));
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            std::uint8_t* const word = first + y * std::ptrdiff_t{scene.views[0].GetPitch(0)} + 4 * x;
            const bool lumaFirst = format.order == Zan::kYCbYCr || format.order == Zan::kYCbCrA;
            word[lumaFirst ? 1 : 0] = static_cast<std::uint8_t>(y);
            word[lumaFirst ? 0 : 1] = static_cast<std::uint8_t>(3 * x + y);
            word[2] = static_cast<std::uint8_t>(x);
            word[3] = static_cast<std::uint8_t>(x + 5 * y);
        }
    }
    return scene;
}

TEST(ColorAdjustmentModel, EveryColour) {
    OnEveryTarget([] {
        for (const Format& format :
             {Rgb(), Words(), Words(Zan::kYCbCrA), Pairs(), Pairs(Zan::k422, Zan::kYCbYCr)}) {
            for (int round = 0; round < (kSanitized ? 1 : 4); ++round) {
                Adjusted by;
                by.SetAny();
                if (round == 0) {
                    by.SetHue(AnyOf({30.0, 45.0, 60.0, 90.0, 180.0, -120.0}));
                    by.SetSaturation(AnyOf({0.5, 1.25, 2.0}));
                    by.SetContrast(AnyOf({0.5, 1.25, 2.0}));
                }
                Scene scene = AllColours(format);
                Expect(scene, by, format.IsPairs() ? 0 : AnyOf({0, 2}));
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    });
}

// By the words alone.
TEST(ColorAdjustmentModel, WorkedValues) {
    const auto luma = [](Adjusted& by, int y) {
        Zan::ULong32 word = 128U | static_cast<Zan::ULong32>(y) << 8 | 128U << 16;
        Format format = Words();
        format.width = 1;
        format.height = 1;
        Picture picture(format);
        std::memcpy(picture.ColourMemory().Data(), &word, 4);
        Zan::ImageView view(picture);
        EXPECT_EQ(by.adjustment.Do(view, view, Zan::kFlp), 0);
        return int{picture.ColourMemory().Data()[1]};
    };
    Adjusted half;
    half.SetBrightness(0.5);
    EXPECT_EQ(luma(half, 100), 227);
    Adjusted none;
    none.SetContrast(-2);
    for (const int y : {0, 16, 128, 255}) {
        EXPECT_EQ(luma(none, y), 16);
    }
    Settings turned;
    turned.SetHue(360);
    int cb = 138, cr = 133;
    tone_model::Adjustment(turned).Chroma(cb, cr);
    EXPECT_EQ(cb, 119);
    int grey[3] = {128, 128, 128}, white[3] = {255, 255, 255};
    const tone_model::Adjustment neutral{Settings()};
    neutral.Rgb(grey);
    neutral.Rgb(white);
    for (const int i : {0, 1, 2}) {
        EXPECT_EQ(grey[i], 126);
        EXPECT_EQ(white[i], 254);
    }
}

}  // namespace
