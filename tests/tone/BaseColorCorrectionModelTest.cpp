// The corrector against a second, plain model.

#include <TesselU/foundation/CPUfeatures.h>
#include <TesselU/tone/BaseColorCorrection.h>

#include "tone/ModelScenes.h"
#include "tone/model/Correction.h"

using namespace tone_test;
using tone_model::Correction;

namespace {

using Record = Zan::BaseCC::tagBASECOLORCORRINFO;

Record RecordOf(const Correction& c) {
    const auto word = [](int value) { return static_cast<std::int16_t>(value); };
    Record record;
    record.size = c.size;
    record.flags = word(c.flags);
    record.brightness = word(c.brightness);
    record.contrast = word(c.contrast);
    record.lumaHigh = word(c.luma.high);
    record.lumaMid = word(c.luma.mid);
    record.lumaLow = word(c.luma.low);
    record.hue = word(c.hue);
    record.saturation = word(c.saturation);
    record.redHigh = word(c.colours[0].high);
    record.redMid = word(c.colours[0].mid);
    record.redLow = word(c.colours[0].low);
    record.greenHigh = word(c.colours[1].high);
    record.greenMid = word(c.colours[1].mid);
    record.greenLow = word(c.colours[1].low);
    record.blueHigh = word(c.colours[2].high);
    record.blueMid = word(c.colours[2].mid);
    record.blueLow = word(c.colours[2].low);
    return record;
}

std::string Describe(const Correction& c) {
    const auto triple = [](const tone_model::Triple& t) {
        return " (" + std::to_string(t.low) + ", " + std::to_string(t.mid) + ", " + std::to_string(t.high) +
               ")";
    };
    return "size " + std::to_string(c.size) + " flags " + std::to_string(c.flags) + " brightness " +
           std::to_string(c.brightness) + " contrast " + std::to_string(c.contrast) + " luma" +
           triple(c.luma) + " hue " + std::to_string(c.hue) + " saturation " + std::to_string(c.saturation) +
           " red" + triple(c.colours[0]) + " green" + triple(c.colours[1]) + " blue" + triple(c.colours[2]);
}

int AnyParameter() {
    return OneIn(4)   ? AnyOf({-32768, -300, -256, -255, -254, -130, -129, -128, -127, -64, -2,  -1,
                               1,      2,    50,   64,   127,  128,  129,  254,  255,  256, 300, 32767})
           : OneIn(2) ? RandomFrom<int>(-40, 40)
                      : RandomFrom<int>(-255, 255);
}
tone_model::Triple AnyTriple() {
    tone_model::Triple triple;
    triple.low = OneIn(3) ? 0 : AnyParameter();
    triple.mid = OneIn(3) ? 0 : AnyParameter();
    triple.high = OneIn(3) ? 0 : AnyParameter();
    return triple;
}

Correction AnyCorrection() {
    Correction c;
    c.flags = OneIn(2) ? RandomFrom<int>(0, 7) : OneIn(20) ? AnyOf({8, -32768, 0x7FF8, -1, 0x108}) : 0;
    c.brightness = OneIn(2) ? 0 : AnyParameter();
    c.contrast = OneIn(2) ? 0 : AnyParameter();
    c.hue = OneIn(2) ? 0 : AnyParameter();
    c.saturation = OneIn(2) ? 0 : AnyParameter();
    c.luma = OneIn(2) ? tone_model::Triple() : AnyTriple();
    for (tone_model::Triple& colour : c.colours) {
        colour = OneIn(2) ? tone_model::Triple() : AnyTriple();
    }
    return c;
}

/// What the second detector says for the life of the object.
class ScopedSse2 {
public:
    explicit ScopedSse2(bool on) : features(Zan::CPUfeatures::Instance()), before(features->IsSSE2usable()) {
        Zan::CapabilitySeam::UseSSE2(*features, on);
    }
    ~ScopedSse2() { Zan::CapabilitySeam::UseSSE2(*features, before); }
    ScopedSse2(const ScopedSse2&) = delete;
    ScopedSse2& operator=(const ScopedSse2&) = delete;
    bool IsOn() const { return features->IsSSE2usable(); }

private:
    Zan::CPUfeatures* features;
    bool before;
};

Format AnyPairs() {
    return OneIn(6) ? Pairs(Zan::k422, Zan::kYCbYCr) : Pairs(AnyOf({Zan::k422, Zan::k4224}));
}

void Expect(Scene& scene, const Correction& correction, bool inPlace = false, bool sse2 = true) {
    SCOPED_TRACE(Describe(correction));
    const ScopedSse2 features(sse2);
    const tone_model::CorrectorMachine machine = {features.IsOn()};
    const Record record = RecordOf(correction);
    ExpectAsModel(
        scene,
        [&](Zan::ImageView& a, Zan::ImageView& b) {
            return Zan::BaseCC::BaseColorCorrection().Do(a, b, record,
                                                         Style(AnyOf({0, 1, 2, 3, 4, 5, 6, -1, 99})));
        },
        [&](const Operand& a, Operand& b) { return tone_model::Correct(a, b, correction, machine); },
        inPlace);
}

// Whole pictures: the views' regions do not count. The second is as large as the first or larger.
Scene WholePictures(int width, int height) {
    Scene scene;
    const auto field = OneIn(3) ? AnyOf({Zan::kUpperField, Zan::kLowerField}) : Zan::kFrame;
    const bool aligned = OneIn(3);
    for (int i = 0; i < 2; ++i) {
        Format format = AnyPairs();
        format.width = static_cast<Zan::ULong32>(width + (i == 0 || OneIn(2) ? 0 : RandomFrom<int>(0, 9)));
        format.height = static_cast<Zan::ULong32>(height + (i == 0 || OneIn(2) ? 0 : RandomFrom<int>(0, 3)));
        format.padding = OneIn(2) ? 0U : RandomFrom<Zan::ULong32>(0, 20);
        format.alphaPadding = RandomFrom<Zan::ULong32>(0, 5);
        format.slack = OneIn(2) ? 0U : RandomFrom<std::size_t>(0, 40);
        if (aligned) {
            format.padding += (16 - (format.LineBytes() + format.padding) % 16) % 16;
            format.slack = OneIn(3) ? 16 : 0;
        }
        if (field == Zan::kFrame && OneIn(4)) {
            format.origin = Zan::kBottomLeft;
        }
        scene.pictures.push_back(std::make_unique<Picture>(format));
        if (OneIn(3)) {
            // A region and a field of the destination's view mean nothing here.
            scene.views.emplace_back(
                *scene.pictures.back(), Zan::Rectangle(3, 1, 4, 2),
                i == 0 ? field : AnyOf({Zan::kFrame, Zan::kUpperField, Zan::kFirstField}));
        } else {
            scene.views.emplace_back(*scene.pictures.back());
            scene.views.back().SetFieldOfInterest(field);
        }
        if (OneIn(5)) {
            Polarise(scene.pictures.back()->ColourMemory());
        }
    }
    return scene;
}

TEST(BaseColorCorrectionModel, RandomRecordsOnEveryTarget) {
    OnEveryTarget([] {
        for (int width = 1; width <= 70; ++width) {
            if (kSanitized && !OneIn(12)) {
                continue;
            }
            for (int round = 0; round < 3; ++round) {
                Scene scene = WholePictures(width, RandomFrom<int>(1, 7));
                Expect(scene, AnyCorrection(), OneIn(4), !OneIn(4));
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    });
}

TEST(BaseColorCorrectionModel, WidePictures) {
    OnEveryTarget([] {
        for (int round = 0; round < (kSanitized ? 4 : 40); ++round) {
            Scene scene = WholePictures(RandomFrom<int>(100, 800), RandomFrom<int>(2, 6));
            Expect(scene, AnyCorrection(), OneIn(4), !OneIn(4));
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// An image that says of itself to be odd.
TEST(BaseColorCorrectionModel, OddPixelsStay) {
    for (int round = 0; round < (kSanitized ? 30 : 300); ++round) {
        Scene scene = WholePictures(RandomFrom<int>(2, 40), RandomFrom<int>(2, 5));
        for (auto& picture : scene.pictures) {
            (*picture)->GetImageDescriptor()->width -= 1;
        }
        Correction correction = AnyCorrection();
        Expect(scene, correction, OneIn(4));
        if (HasFatalFailure()) {
            return;
        }
    }
    Scene one = WholePictures(2, 3);
    for (auto& picture : one.pictures) {
        (*picture)->GetImageDescriptor()->width = 1;
    }
    Correction correction;
    correction.contrast = 30;
    Expect(one, correction);
}

// ---- Stages

/// 256 pairs a line: chroma runs through all its pairs over 256 lines, luma through all its values in each.
Scene AllColours(bool aligned) {
    Scene scene;
    for (int i = 0; i < 2; ++i) {
        Format format = Pairs();
        format.width = 512;
        format.height = 256;
        format.slack = aligned || i == 0 ? 0 : 4;
        scene.pictures.push_back(std::make_unique<Picture>(format));
        scene.views.emplace_back(*scene.pictures.back());
    }
    std::uint8_t* word = scene.pictures[0]->ColourMemory().Data();
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x, word += 4) {
            word[0] = static_cast<std::uint8_t>(y);
            word[1] = static_cast<std::uint8_t>(x + 7 * y);
            word[2] = static_cast<std::uint8_t>(x);
            word[3] = static_cast<std::uint8_t>(3 * x + 101 * y);
        }
    }
    return scene;
}

TEST(BaseColorCorrectionModel, EveryColourThroughEveryStage) {
    OnEveryTarget([] {
        for (int stage = 0; stage < 12; ++stage) {
            Correction c;
            const auto nonZero = [] {
                const int value = AnyParameter();
                return value == 0 ? 20 : value;
            };
            switch (stage) {
                case 0:
                    c.luma = {nonZero(), nonZero(), nonZero()};
                    c.flags = AnyOf({0, 1});
                    break;
                case 1:
                    c.brightness = nonZero();
                    c.contrast = nonZero();
                    break;
                case 2:
                    c.hue = AnyOf({256, 128, -128, 64, 43, 86, 171, 213, -86, RandomFrom<int>(2, 300)});
                    break;
                case 3:
                    c.saturation = nonZero();
                    break;
                case 4:
                    c.hue = AnyParameter();
                    c.hue = c.hue == 0 ? 17 : c.hue;
                    c.saturation = nonZero();
                    break;
                default:
                    for (std::size_t i = 0; i < 3; ++i) {
                        if (((stage - 4) >> i & 1) != 0) {
                            c.colours[i] = AnyTriple();
                            c.colours[i].low += c.colours[i].IsEmpty() ? 9 : 0;
                        }
                    }
            }
            Scene scene = AllColours(OneIn(2));
            Expect(scene, c);
            if (::testing::Test::HasFatalFailure() || (kSanitized && stage > 6)) {
                return;
            }
        }
        for (int flags = 1; flags < 8; ++flags) {
            Correction c;
            c.flags = flags;
            Scene scene = AllColours(true);
            Expect(scene, c);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

/// All lumas and some chroma, two lines.
Scene AllLumas(bool aligned) {
    Scene scene;
    for (int i = 0; i < 2; ++i) {
        Format format = Pairs();
        format.width = 128;
        format.height = 2;
        format.slack = aligned || i == 0 ? 0 : 4;
        scene.pictures.push_back(std::make_unique<Picture>(format));
        scene.views.emplace_back(*scene.pictures.back());
    }
    for (std::size_t i = 0; i < 512; ++i) {
        if (i % 2 == 1) {
            scene.pictures[0]->ColourMemory().Data()[i] = static_cast<std::uint8_t>(i / 2);
        }
    }
    return scene;
}

TEST(BaseColorCorrectionModel, EveryMiddleOfLuma) {
    for (int mid = -256; mid <= 256; mid += kSanitized ? 17 : 1) {
        Correction c;
        c.luma = {OneIn(2) ? 0 : AnyParameter(), mid, OneIn(2) ? 0 : AnyParameter()};
        c.luma.low += c.luma.IsEmpty() ? 1 : 0;
        c.flags = AnyOf({0, 0, 1, 2, 4});
        Scene scene = AllLumas(OneIn(2));
        Expect(scene, c);
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(BaseColorCorrectionModel, EveryContrast) {
    for (int contrast = -256; contrast <= 256; contrast += kSanitized ? 17 : 1) {
        for (const bool aligned : {true, false}) {
            Correction c;
            c.contrast = contrast;
            c.brightness = contrast == 0 ? 10 : OneIn(2) ? 0 : AnyParameter();
            Scene scene = AllLumas(aligned);
            Expect(scene, c, false, !OneIn(4));
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

// Each chroma beside a neutral one, which shows every product by itself, then random pairs and corners.
TEST(BaseColorCorrectionModel, EveryHueAndSaturation) {
    for (int value = -300; value <= 300; value += kSanitized ? 19 : 1) {
        for (const bool hue : {true, false}) {
            Correction c;
            (hue ? c.hue : c.saturation) = value;
            Format format = Pairs();
            format.width = 128;
            format.height = 12;
            Scene scene;
            for (int i = 0; i < 2; ++i) {
                scene.pictures.push_back(std::make_unique<Picture>(format));
                scene.views.emplace_back(*scene.pictures.back());
            }
            if (OneIn(2)) {
                Polarise(scene.pictures[0]->ColourMemory());
            }
            std::uint8_t* word = scene.pictures[0]->ColourMemory().Data();
            for (int i = 0; i < 512; ++i, word += 4) {
                word[0] = static_cast<std::uint8_t>(i < 256 ? i : 128);
                word[2] = static_cast<std::uint8_t>(i < 256 ? 128 : i);
            }
            Expect(scene, c);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

// ---- Rules

TEST(BaseColorCorrectionModel, BrightnessSubtractsWhereTheDestinationIsAligned) {
    const auto luma = [](bool alignedAddress, bool alignedPitch, bool sse2, bool besideLuma) {
        Format format = Pairs();
        format.height = 2;
        format.slack = alignedAddress ? 0 : 8;
        format.padding = alignedPitch ? 0 : 8;
        if (!alignedPitch) {
            format.height = 4;  // 160 bytes: the address stays a multiple of 16
        }
        Picture picture(format);
        std::fill_n(picture.ColourMemory().Data(), picture.ColourMemory().Length(), std::uint8_t{100});
        const ScopedSse2 features(sse2);
        Record record;
        record.brightness = 10;
        record.lumaLow = besideLuma ? 1 : 0;
        record.lumaHigh = besideLuma ? 1 : 0;
        Zan::ImageView view(picture);
        EXPECT_EQ(Zan::BaseCC::BaseColorCorrection().Do(view, view, record, Zan::kFlp), 0);
        EXPECT_EQ(picture.ColourMemory().Data()[0], 100);
        return int{picture.ColourMemory().Data()[1]};
    };
    EXPECT_EQ(luma(true, true, true, false), 90);
    EXPECT_EQ(luma(false, true, true, false), 110);
    EXPECT_EQ(luma(true, false, true, false), 110);
    EXPECT_EQ(luma(true, true, false, false), 110);
    EXPECT_EQ(luma(true, true, true, true), 111);
}

TEST(BaseColorCorrectionModel, WorkedValues) {
    int cb = 30, cr = -20;
    tone_model::Hue(256, cb, cr);
    EXPECT_EQ(cb, -30);
    EXPECT_EQ(cr, 20);
    tone_model::Hue(128, cb, cr);
    EXPECT_EQ(cb, 20);  // Cb' = Cr, Cr' = -Cb
    EXPECT_EQ(cr, 30);
    for (const int c : {-128, -5, 0, 7, 127}) {
        EXPECT_EQ(tone_model::Saturated(-255, c), 0);
    }
    EXPECT_EQ(tone_model::LumaLevel({-300, 0, 0}, false, 255),
              tone_model::LumaLevel({-255, 0, 0}, false, 255));
    EXPECT_EQ(tone_model::LumaLevel({0, 50, 0}, false, 64), 128);
    EXPECT_EQ(tone_model::LumaLevel({0, -130, 0}, false, 128), 64);
}

// Wrong in several ways at once: the first of the rules answers, and nothing is written.
TEST(BaseColorCorrectionModel, RefusalsInTheirOrder) {
    int seen[100] = {};
    for (int round = 0; round < (kSanitized ? 2000 : 20000); ++round) {
        Correction c;
        if (OneIn(6)) {
            c.size = AnyOf({0U, 4U, 37U});
        } else if (OneIn(6)) {
            c.size = AnyOf({39U, 1000U, 0xFFFFFFFFU});
        }
        const int kind = RandomFrom<int>(0, 5);
        if (kind == 1) {
            c.flags = AnyOf({8, 16, -8});
        } else if (kind == 2) {
            c.hue = AnyOf({1, -1});
            c.brightness = OneIn(2) ? 5 : 0;
        } else if (kind > 2) {
            c.contrast = 9;
        }
        Scene scene;
        for (int i = 0; i < 2; ++i) {
            Format format = AnyPairs();
            if (OneIn(10)) {
                format = AnyOf({Rgb(), Words(), Grey(), Planar(Zan::k422), Planar(Zan::k420),
                                Planar(Zan::k422, Zan::kYPlaneCbCrPlane)});
            }
            format.width = OneIn(5) ? 18 : 16;
            format.height = OneIn(8) ? 1 : OneIn(5) ? 5 : 4;
            format.origin = OneIn(5) ? Zan::kBottomLeft : Zan::kTopLeft;
            scene.pictures.push_back(std::make_unique<Picture>(format));
            scene.views.emplace_back(*scene.pictures.back());
            if (OneIn(3)) {
                scene.views.back().SetFieldOfInterest(
                    AnyOf({Zan::kFirstField, Zan::kSecondField, Zan::kUpperField, Zan::kLowerField,
                           static_cast<Zan::WhichFieldEnum>(5), static_cast<Zan::WhichFieldEnum>(-1)}));
            }
            if (OneIn(10)) {
                scene.pictures.back()->Drop(0);
            }
            if (OneIn(12)) {
                // More columns than a line has bytes; no memory is touched.
                (*scene.pictures.back())->GetImageDescriptor()->width = 100;
            }
        }
        std::vector<Operand> operands = scene.Operands();
        for (std::size_t i = 0; i < 2; ++i) {
            if (OneIn(10)) {
                scene.views[i] = Zan::ImageView();
                operands[i].isNull = true;
            }
        }
        const ScopedSse2 features(true);
        const int status = tone_model::Correct(operands[0], operands[1], c, {features.IsOn()});
        const Record record = RecordOf(c);
        ASSERT_EQ(Zan::BaseCC::BaseColorCorrection().Do(scene.views[0], scene.views[1], record, Zan::kFlp),
                  status)
            << Describe(c);
        for (std::size_t i = 0; i < 2; ++i) {
            ASSERT_TRUE(SameMemory("colour", operands[i].colour, scene.pictures[i]->Colour())) << Describe(c);
        }
        ++seen[status];
    }
    for (const int status : {0, 1, 4, 98}) {
        EXPECT_GT(seen[status], 50) << status;
    }
}

// ---- Properties

Bytes AfterSteps(Scene& scene, const std::vector<Correction>& steps,
                 Zan::WhichFieldEnum field = Zan::kFrame) {
    Zan::ImageView& from = scene.views[0];
    Zan::ImageView& to = scene.views[1];
    from.SetFieldOfInterest(field);
    bool first = true;
    for (const Correction& step : steps) {
        if (step.IsEmpty()) {
            continue;
        }
        Zan::ImageView& source = first ? from : to;
        to.SetFieldOfInterest(field);
        const Record record = RecordOf(step);
        EXPECT_EQ(Zan::BaseCC::BaseColorCorrection().Do(source, to, record, Zan::kFlp), 0) << Describe(step);
        first = false;
    }
    return scene.pictures[1]->Colour();
}

Scene FramesOf(int width, int height, std::size_t slack) {
    Scene scene;
    for (int i = 0; i < 2; ++i) {
        Format format = Pairs();
        format.width = static_cast<Zan::ULong32>(width);
        format.height = static_cast<Zan::ULong32>(height);
        format.slack = slack;
        scene.pictures.push_back(std::make_unique<Picture>(format));
        scene.views.emplace_back(*scene.pictures.back());
    }
    return scene;
}

TEST(BaseColorCorrectionModel, AChainEqualsItsSteps) {
    OnEveryTarget([] {
        for (int round = 0; round < (kSanitized ? 5 : 60); ++round) {
            Correction all = AnyCorrection();
            all.flags &= 6;
            if (all.hue == 1 || all.hue == -1) {
                all.hue *= 9;
            }
            Correction luma, contrast, hue, saturation, colours, limit;
            luma.luma = all.luma;
            contrast.brightness = all.brightness;
            contrast.contrast = all.contrast;
            hue.hue = all.hue;
            saturation.saturation = all.saturation;
            colours.colours = all.colours;
            limit.flags = all.flags;
            if (all.IsEmpty()) {
                continue;
            }
            // On an address of no alignment, brightness is added beside a luma triple and alone.
            const std::size_t slack = luma.IsEmpty() ? AnyOf<std::size_t>({0, 4}) : 4;
            Scene scene = FramesOf(64, 4, slack);
            const Bytes stepwise = AfterSteps(scene, {luma, contrast, hue, saturation, colours, limit});
            FillRandom(scene.pictures[1]->ColourMemory().Data(), 64 * 4 * 2);
            EXPECT_EQ(AfterSteps(scene, {all}), stepwise) << Describe(all);
        }
    });
}

TEST(BaseColorCorrectionModel, TwoFieldsEqualTheFrame) {
    for (int round = 0; round < (kSanitized ? 10 : 100); ++round) {
        const Correction all = AnyCorrection();
        Scene scene = FramesOf(RandomFrom<int>(1, 35) * 2, RandomFrom<int>(2, 7), AnyOf<std::size_t>({0, 4}));
        const Record record = RecordOf(all);
        const Zan::Long32 status =
            Zan::BaseCC::BaseColorCorrection().Do(scene.views[0], scene.views[1], record, Zan::kFlp);
        if (status != 0) {
            continue;
        }
        const Bytes whole = scene.pictures[1]->Colour();
        AfterSteps(scene, {all}, Zan::kLowerField);
        EXPECT_EQ(AfterSteps(scene, {all}, Zan::kUpperField), whole) << Describe(all);
    }
}

}  // namespace
