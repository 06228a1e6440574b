// What the chroma keyer refuses and limits, and values worked out by hand.

#include <limits>
#include <type_traits>

#include "key/ChromaCalls.h"

using namespace key_test;

namespace {

// Formats, missing images, missing memory, pitches and selections, any of them wrong at once.
TEST(ChromaKeyerYUVModel, OrderOfRefusals) {
    const auto anyFormat = [] {
        return AnyOf({Words(), Words(Zan::kYCbCrA), Pairs(), Pairs(Zan::k4224),
                      Pairs(Zan::k422, Zan::kYCbYCr), Rgb(), Rgb(Zan::k444), Grey(),
                      Format{Zan::kYCrCb, Zan::k444, Zan::kCbYCrA}});
    };
    int counts[100] = {};
    for (int round = 0; round < (kSanitized ? 300 : 6000); ++round) {
        const bool pairs = OneIn(2);
        Layout layout = AnyLayout(RandomFrom<int>(0, 20));
        layout.pitchUnit = AnyOf({4U, 4U, 4U, 2U, 1U});
        const auto format = [&] { return OneIn(20) ? anyFormat() : pairs ? AnyPairs() : AnyWords(); };
        const Format foreground = format(), background = format(), result = format();
        const Format key = OneIn(20) ? anyFormat() : AnyKeyFormat();
        Call call = MakeCall({foreground, background, result, key}, layout);
        for (std::size_t i = 0; i < 4; ++i) {
            Picture& picture = *call.scene.pictures[i];
            Zan::ImageView& view = call.scene.views[i];
            if (OneIn(12)) {
                const bool upward = OneIn(2);
                picture->SetOrigin(upward ? Zan::kBottomLeft : Zan::kTopLeft);
                // A field of an upward picture, and a left edge outside, which only pairs keep.
                view = Zan::ImageView(picture, Zan::Rectangle(upward ? 0 : -3, 0, 16, 4),
                                      upward ? Zan::kUpperField : Zan::kFrame);
            }
            if (OneIn(40)) {
                picture.Drop(0);
            }
            if (picture->GetChannelSampling() == Zan::k4224 && OneIn(10)) {
                picture.Drop(3);
            }
            if (OneIn(40)) {
                view = Zan::ImageView();
            }
        }
        ExpectAsModel(call, AnySettings(), AnyStyle(), ProcessorHasSimd());
        if (HasFatalFailure()) {
            return;
        }
        std::vector<key_model::Operand> operands = call.Operands();
        const int status = key_model::KeyChroma(Settings(), call.ViewsOf(operands), 0);
        ++counts[status];
    }
    for (const int status : {0, 1, 2, 4, 98}) {
        EXPECT_GT(counts[status], 10) << "status " << status;
    }
}

// Planes of planar pictures are shorter than the rows that are taken from them. The upper lines have enough
// bytes below them; else nothing outside may change.
TEST(ChromaKeyerYUVModel, PlanarPictures) {
    OnEveryTarget([] {
        for (int round = 0; round < Rounds(80); ++round) {
            Layout layout = AnyLayout(RandomFrom<int>(1, 40));
            layout.fields = layout.bottomLeft = false;
            Format planar = Planar(Zan::k422, AnyOf({Zan::kYCbCrPlanes, Zan::kYPlaneCbCrPlane}));
            Call call = MakeCall({OneIn(2) ? planar : AnyPairs(), OneIn(2) ? planar : AnyPairs(),
                                  OneIn(3) ? planar : AnyPairs(), AnyKeyFormat()},
                                 layout);
            const auto isPlanar = [&](std::size_t i) {
                return (*call.scene.pictures[i])->GetPixelPacking() == Zan::kPlanar;
            };
            for (std::size_t i = 0; i < 3; ++i) {
                // Here nothing leaves its plane.
                if (isPlanar(i) && i != call.ResultIndex()) {
                    Picture& picture = *call.scene.pictures[i];
                    call.scene.views[i] =
                        Zan::ImageView(picture,
                                       Zan::Rectangle(0, 0, static_cast<Zan::Long32>(picture->GetWidth()),
                                                      static_cast<Zan::Long32>(picture->GetHeight() / 2)),
                                       Zan::kFrame);
                }
            }
            const Settings settings = WithAnySplit(AnySettings());
            const int style = AnyStyle();
            if (!isPlanar(call.ResultIndex())) {
                ExpectAsModel(call, settings, style, ProcessorHasSimd());
            } else {
                std::vector<key_model::Operand> operands = call.Operands();
                EXPECT_EQ(call.Do(KeyerOf(settings), style), 0) << call.Describe();
                for (std::size_t i = 0; i < 3; ++i) {
                    key_model::Plane plane = operands[i].colour;
                    if (i == call.ResultIndex()) {
                        plane.written.resize(plane.memory.size());
                        std::fill(plane.written.begin() + plane.begin, plane.written.begin() + plane.end,
                                  std::uint8_t{1});
                    }
                    ASSERT_TRUE(SameBytes("colour", plane, call.scene.pictures[i]->Colour(), 255))
                        << "operand " << i << call.Describe();
                }
            }
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// Setters limit; what is no number becomes the least value.
TEST(ChromaKeyerYUVModel, SettersLimit) {
    const double values[] = {-std::numeric_limits<double>::infinity(),
                             -1e300,
                             -360.5,
                             -1.0000001,
                             -0.0,
                             0.999999,
                             1.0000001,
                             179.5,
                             180,
                             256.5,
                             360.25,
                             1e300,
                             std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()};
    double Settings::*const fields[] = {&Settings::hueAngle,
                                        &Settings::acceptanceAngle,
                                        &Settings::saturationMinimum,
                                        &Settings::spillSuppressionAngle,
                                        &Settings::spillSuppressionGain,
                                        &Settings::keyOffset,
                                        &Settings::keyGain};
    for (double Settings::*const field : fields) {
        for (const double value : values) {
            for (const int style : {0, 1}) {
                Settings settings;
                settings.hueAngle = 100;  // so that all others matter
                settings.acceptanceAngle = 100;
                settings.saturationMinimum = 0.1;
                // So little that gains of 256 and a bit more can be told apart.
                settings.keyOffset = field == &Settings::keyGain ? 0.002 : 0.2;
                settings.*field = value;
                Call call = AnyCall(OneIn(2), AnyLayout(50));
                ExpectAsModel(call, settings, style, ProcessorHasSimd());
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

TEST(ChromaKeyerYUVModel, CopiesCarryEverySetting) {
    for (int round = 0; round < 20; ++round) {
        Layout layout = AnyLayout(60);
        layout.height = 5;
        Call call = AnyCall(OneIn(2), layout);
        Settings settings = AnySettings();
        settings.splitScreenHeight = RandomFrom<std::uint32_t>(0, 5);
        settings.splitScreenTop = OneIn(2);
        const Zan::ChromaKeyerYUV keyer = KeyerOf(settings);
        Zan::ChromaKeyerYUV assigned = KeyerOf(AnySettings());
        assigned = keyer;
        const Zan::ChromaKeyerYUV copied(keyer);
        call.alias = Alias::kNone;  // the second call does the same again
        std::vector<key_model::Operand> operands = call.Operands();
        const int style = AnyOf({0, 1});
        const int status = key_model::KeyChroma(settings, call.ViewsOf(operands), style);
        for (const Zan::ChromaKeyerYUV& each : {assigned, copied}) {
            ASSERT_EQ(call.Do(each, style), status);
            for (std::size_t i = 0; i < 4; ++i) {
                ASSERT_TRUE(SameBytes(operands[i], *call.scene.pictures[i]))
                    << Text(settings) << call.Describe();
            }
        }
    }
}

/// The key of one chroma value, with default settings but for those given.
int KeyByte(const Settings& settings, std::uint8_t cb, std::uint8_t cr, int style) {
    Format format = Words();
    format.width = format.height = 1;
    Format grey = Grey();
    grey.width = grey.height = 1;
    Picture foreground(format), background(format), result(format), key(grey);
    foreground.ColourMemory().Data()[0] = cb;
    foreground.ColourMemory().Data()[2] = cr;
    Zan::ImageView from(foreground), under(background), to(result), keyTo(key);
    EXPECT_EQ(KeyerOf(settings).Do(from, &under, to, &keyTo, Style(style)), 0);
    return key.ColourMemory().Data()[0];
}

// By the words alone.
TEST(ChromaKeyerYUVModel, WorkedValues) {
    Settings settings;
    // X 0.5625, Z 0.09375, t tan 80 degrees = 5.671: k 0.0308, 7.87 as a byte. Fixed, where t is limited to
    // 1: X 9216, W 1536, (7680 + 32) >> 6.
    EXPECT_EQ(KeyByte(settings, 200, 140, 0), 8);
    EXPECT_EQ(KeyByte(settings, 200, 140, 1), 120);
    // On the hue: 127 / 128 of 255 is 253.0; fixed (16256 + 32) >> 6.
    EXPECT_EQ(KeyByte(settings, 255, 128, 0), 253);
    EXPECT_EQ(KeyByte(settings, 255, 128, 1), 254);
    EXPECT_EQ(KeyByte(settings, 128, 128, 0), 0);
    EXPECT_EQ(KeyByte(settings, 128, 128, 1), 0);
    // At the other end of the axis chroma is full, but for the keyer's pi: Z is 9e-5, t 5.67.
    settings.hueAngle = 180;
    EXPECT_EQ(KeyByte(settings, 0, 128, 0), 255);
    EXPECT_EQ(KeyByte(settings, 0, 128, 1), 255);
    settings.hueAngle = 0;
    settings.saturationMinimum = 0.5;  // fixed: 16320, which 127 * 128 does not reach
    EXPECT_EQ(KeyByte(settings, 255, 128, 0), 253);
    EXPECT_EQ(KeyByte(settings, 255, 128, 1), 0);
    EXPECT_EQ(KeyByte(settings, 191, 128, 0), 0);    // X is 63 / 128
    EXPECT_EQ(KeyByte(settings, 192, 128, 0), 128);  // 64 / 128: 127.5 + 0.5
    settings.invertKeyBefore = true;
    EXPECT_EQ(KeyByte(settings, 192, 128, 0), 128);
    EXPECT_EQ(KeyByte(settings, 128, 128, 0), 255);
}

// The spill of a full key: Cb falls by 255 times the gain of -64 / 64, shifted downwards.
TEST(ChromaKeyerYUVModel, SpillOfAFullKeyIsShiftedDownwards) {
    Settings settings;
    settings.hueAngle = 180;
    settings.spillSuppressionAngle = 180;
    Format format = Words();
    format.width = format.height = 1;
    Picture foreground(format), result(format);
    std::uint8_t* const pixel = foreground.ColourMemory().Data();
    pixel[0] = 0;
    pixel[2] = 128;
    Zan::ImageView from(foreground), to(result);
    ASSERT_EQ(KeyerOf(settings).Do(from, nullptr, to, nullptr, Zan::kFP), 0);
    // 128 - (255 * -64 >> 7) - 128 = 128; Cr: sine of the keyer's 180 degrees is 9e-5, 0 in 64ths.
    EXPECT_EQ(result.ColourMemory().Data()[0], 128);
    EXPECT_EQ(result.ColourMemory().Data()[1], pixel[1]);
    EXPECT_EQ(result.ColourMemory().Data()[2], 128);
    EXPECT_EQ(result.ColourMemory().Data()[3], pixel[3]);
}

}  // namespace
