// Keys from tables, and the picture of all chroma values, against a second, plain model.

#include <TesselU/key/GenerateCrCbGradient.h>
#include <TesselU/key/KeyerRGB.h>
#include <TesselU/key/LinearKeyer.h>
#include <TesselU/key/LumaKeyer.h>

#include <cmath>
#include <limits>

#include "key/ModelScenes.h"
#include "key/model/KeyTables.h"

using namespace key_test;
using key_model::KeyTable;
using key_model::Operand;

namespace {

struct Parameters {
    double center, halfWidth, softness, level, offset;
    bool invert;
};

/// A library's object and its model, filled alike.
template <class Keyer>
struct Filled {
    Keyer keyer;
    KeyTable model;

    void Set(const Parameters& p) {
        const int expected = model.Set(p.center, p.halfWidth, p.softness, p.level, p.offset, p.invert);
        ASSERT_EQ(keyer.Set(p.center, p.halfWidth, p.softness, p.level, p.offset, p.invert), expected);
    }
    void FillRandomly() {
        for (unsigned i = 0; i < 256; ++i) {
            model.lut[i] = RandomByte();
            keyer.SetLUT(static_cast<unsigned char>(i), model.lut[i]);
        }
    }
    void ExpectSameEntries() const {
        for (unsigned i = 0; i < 256; ++i) {
            ASSERT_EQ(int{keyer.GetLUT(static_cast<unsigned char>(i))}, int{model.lut[i]}) << "entry " << i;
        }
    }
};

void ExpectTable(const Parameters& p) {
    SCOPED_TRACE(::testing::Message()
                 << std::hexfloat << "center " << p.center << " half width " << p.halfWidth << " softness "
                 << p.softness << " level " << p.level << " offset " << p.offset << " invert " << p.invert);
    Filled<Zan::LinearKeyer> linear;
    linear.Set(p);
    linear.ExpectSameEntries();
    Filled<Zan::LumaKeyer> luma;
    luma.Set(p);
    luma.ExpectSameEntries();
}

TEST(KeyTableModel, RandomParameters) {
    for (int round = 0; round < (kSanitized ? 500 : 20000); ++round) {
        const auto any = [](double low) {
            return OneIn(3)   ? AnyOf({0.0, 0.25, 0.5, 1.0})
                   : OneIn(2) ? RandomFrom<int>(0, 255) / 255.0
                              : low + (1 - low) * RandomShare();
        };
        Parameters p = {};
        p.center = any(0);
        p.halfWidth = any(0) * AnyOf({0.05, 0.5, 1.0});
        p.softness = any(0) * AnyOf({0.05, 0.5, 1.0});
        p.level = any(0);
        p.offset = OneIn(3) ? 0 : any(-1);
        p.invert = OneIn(2);
        if (OneIn(10)) {
            (OneIn(2) ? p.center : p.offset) += AnyOf({-1.5, 1.5});
        }
        ExpectTable(p);
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(KeyTableModel, ParametersAtAndBeyondTheirEnds) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    const std::initializer_list<double> ends = {0,
                                                1,
                                                0.5,
                                                std::nextafter(1.0, 2.0),
                                                std::nextafter(0.0, -1.0),
                                                -0.0,
                                                -1,
                                                -1.5,
                                                2,
                                                1e308,
                                                infinity,
                                                -infinity,
                                                nan};
    for (const double center : ends) {
        for (const double halfWidth : ends) {
            for (int round = 0; round < (kSanitized ? 4 : 60); ++round) {
                const double softness = AnyOf(ends), level = AnyOf(ends), offset = AnyOf(ends);
                ExpectTable({center, halfWidth, softness, level, offset, OneIn(2)});
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

// By the words alone.
TEST(KeyTableModel, WorkedTables) {
    Zan::LinearKeyer keyer;
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(keyer.GetLUT(static_cast<unsigned char>(i)), i);
    }
    EXPECT_EQ(keyer.Set(0.5, 0, 0, 1, 0, false), 0);
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(keyer.GetLUT(static_cast<unsigned char>(i)), i == 128 ? 255 : 0) << i;
    }
    EXPECT_EQ(keyer.Set(0, 1, 0, 1, 0, false), 0);
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(keyer.GetLUT(static_cast<unsigned char>(i)), 255) << i;
    }
    EXPECT_EQ(keyer.Set(2, 0, 0, 1, 0, false), -1);
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(keyer.GetLUT(static_cast<unsigned char>(i)), i == 255 ? 255 : 0) << i;
    }
    EXPECT_EQ(keyer.Set(2, 0, 0, 1, 2, false), -5);
    EXPECT_EQ(keyer.Set(-1, 2, -3, 4, 0, false), -4);
    EXPECT_EQ(keyer.Set(0.5, 0, 1, 0.5, 0, false), 0);
    EXPECT_EQ(keyer.GetLUT(128), 128);
    EXPECT_EQ(keyer.GetLUT(127), 128);  // 127.5 + 0.5
    EXPECT_EQ(keyer.GetLUT(126), 127);
    EXPECT_EQ(keyer.GetLUT(129), 128);
    EXPECT_EQ(keyer.Set(0.5, 0, 0, 1, 0.5, true), 0);
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(keyer.GetLUT(static_cast<unsigned char>(i)), i == 128 ? 128 : 255) << i;
    }
}

TEST(KeyTableModel, CopiesAndEntries) {
    Filled<Zan::LinearKeyer> linear;
    linear.FillRandomly();
    linear.keyer.SetMMXonlyStyle(true);
    linear.ExpectSameEntries();
    Zan::LinearKeyer copy;
    copy = linear.keyer;
    linear.keyer.SetLUT(7, static_cast<unsigned char>(linear.model.lut[7] + 1));
    EXPECT_EQ(copy.GetLUT(7), linear.model.lut[7]);
    Filled<Zan::LumaKeyer> luma;
    luma.FillRandomly();
    luma.ExpectSameEntries();
    Zan::LumaKeyer second(luma.keyer);
    luma.keyer.SetLUT(9, static_cast<unsigned char>(luma.model.lut[9] + 1));
    EXPECT_EQ(second.GetLUT(9), luma.model.lut[9]);
    Zan::KeyerRGB one, two;
    one.SetMMXonlyStyle(true);
    two = one;
}

/// Runs an operation and its model from the first view to the second.
template <class Run, class Model>
void ExpectAsModel(Scene& scene, const Run& run, const Model& model) {
    std::vector<Operand> operands;
    for (std::size_t i = 0; i < 2; ++i) {
        operands.push_back(AsOperand(*scene.pictures[i], scene.views[i]));
    }
    const int status = model(operands[0], operands[1]);
    ASSERT_EQ(run(scene.views[0], scene.views[1]), status) << scene.Describe();
    for (std::size_t i = 0; i < 2; ++i) {
        ASSERT_TRUE(SameBytes(operands[i], *scene.pictures[i])) << "operand " << i << scene.Describe();
    }
}

void ExpectLinear(Scene& scene, int style) {
    Filled<Zan::LinearKeyer> filled;
    filled.FillRandomly();
    filled.keyer.SetMMXonlyStyle(OneIn(2));
    ExpectAsModel(
        scene, [&](Zan::ImageView& a, Zan::ImageView& b) { return filled.keyer.Do(a, b, Style(style)); },
        [&](const Operand& a, Operand& b) { return filled.model.KeyLinear(a, b); });
}

void ExpectLuma(Scene& scene, int style) {
    Filled<Zan::LumaKeyer> filled;
    filled.FillRandomly();
    filled.keyer.SetMMXonlyStyle(OneIn(2));
    ExpectAsModel(
        scene, [&](Zan::ImageView& a, Zan::ImageView& b) { return filled.keyer.Do(a, b, Style(style)); },
        [&](const Operand& a, Operand& b) { return filled.model.KeyLuma(a, b); });
}

Layout AnyLayout(int width) {
    Layout layout;
    layout.width = width;
    layout.height = RandomFrom<int>(0, 5);
    return layout;
}

Scene MakeScene(const Format& source, const Format& key, const Layout& layout) {
    Scene scene;
    const bool exactWidth = OneIn(2), exactHeight = OneIn(2);
    scene.Add(source, layout, exactWidth, exactHeight);
    scene.Add(key, layout, !exactWidth, !exactHeight);
    Polarise(scene.pictures[1]->ColourMemory());
    return scene;
}

Format AnyPairs() {
    return OneIn(5) ? Pairs(Zan::k422, Zan::kYCbYCr) : Pairs(AnyOf({Zan::k422, Zan::k4224}));
}

int AnyStyle() {
    return AnyOf({0, 1, 2, 3, 4, 5, 6, -1, 1000});
}

TEST(KeyTableModel, EveryWidthOnEveryTarget) {
    OnEveryTarget([] {
        ForWidths(0, [](int width) {
            for (int round = 0; round < (kSanitized ? 1 : 20) && !::testing::Test::HasFatalFailure();
                 ++round) {
                Scene alpha = MakeScene(Pairs(Zan::k4224), AnyKeyFormat(), AnyLayout(width));
                ExpectLinear(alpha, AnyStyle());
                Scene luma = MakeScene(AnyPairs(), AnyKeyFormat(), AnyLayout(width));
                ExpectLuma(luma, AnyStyle());
            }
        });
    });
}

TEST(KeyTableModel, RowsWideEnoughForEveryStep) {
    OnEveryTarget([] {
        for (int round = 0; round < Rounds(200) && !::testing::Test::HasFatalFailure(); ++round) {
            const int width = RandomFrom<int>(100, 1500);
            Scene alpha = MakeScene(Pairs(Zan::k4224), AnyKeyFormat(), AnyLayout(width));
            ExpectLinear(alpha, AnyStyle());
            Scene luma = MakeScene(AnyPairs(), AnyKeyFormat(), AnyLayout(width));
            ExpectLuma(luma, AnyStyle());
        }
    });
}

TEST(KeyTableModel, EveryStyleAndMachine) {
    for (const auto set : {Zan::kScalarOnly, Zan::kMMX, Zan::kSSE_MMX, Zan::kSIMD, Zan::kSSE2}) {
        const Zan::ScopedInstructionSet scope(set);
        for (const int style : AllStyles()) {
            for (int round = 0; round < 5 && !HasFatalFailure(); ++round) {
                Scene alpha = MakeScene(Pairs(Zan::k4224), AnyKeyFormat(), AnyLayout(RandomFrom<int>(1, 90)));
                ExpectLinear(alpha, style);
                Scene luma = MakeScene(AnyPairs(), AnyKeyFormat(), AnyLayout(RandomFrom<int>(1, 90)));
                ExpectLuma(luma, style);
            }
        }
    }
}

// Every table entry over everything that a key may hold.
TEST(KeyTableModel, EveryEntryTimesEveryKey) {
    Format format = Pairs(Zan::k4224), grey = Grey();
    format.width = format.height = grey.width = grey.height = 256;
    Scene scene;
    for (const Format& each : {format, grey}) {
        scene.pictures.push_back(std::make_unique<Picture>(each));
        scene.views.emplace_back(*scene.pictures.back());
    }
    OnEveryTarget([&] {
        for (std::size_t i = 0; i < 65536; ++i) {
            // Luma lies in every second byte.
            scene.pictures[0]->ColourMemory().Data()[2 * i + 1] = static_cast<std::uint8_t>(i / 256);
            scene.pictures[1]->ColourMemory().Data()[i] = static_cast<std::uint8_t>(i);
        }
        ExpectAsModel(
            scene, [](Zan::ImageView& a, Zan::ImageView& b) { return Zan::LumaKeyer().Do(a, b, Zan::kFlp); },
            [](const Operand& a, Operand& b) { return KeyTable().KeyLuma(a, b); });
    });
}

// The key may be the alpha that it is made from.
TEST(KeyTableModel, LinearInPlace) {
    OnEveryTarget([] {
        for (int round = 0; round < Rounds(60); ++round) {
            Format format = Pairs(Zan::k4224);
            format.width = RandomFrom<Zan::ULong32>(1, 200);
            format.height = RandomFrom<Zan::ULong32>(1, 5);
            Picture picture(format);
            const auto pitch = static_cast<Zan::ULong32>(format.EvenWidth());
            const Zan::ImageDescriptor grey(format.width, format.height, Zan::kAlphaOnly, Zan::kProgressive,
                                            Zan::kNoFields, Zan::kTopLeft, 1.0F);
            Zan::Image alpha(picture.AlphaMemory().Data(), pitch, grey, 1, 1);
            Filled<Zan::LinearKeyer> filled;
            filled.FillRandomly();
            Zan::ImageView from(picture), to(&alpha);
            Operand source = AsOperand(picture, from), key = source;
            key.colorSpace = Zan::kAlphaOnly;
            key.colour = key.alpha;
            // An image of odd width has a column of alpha that the grey picture does not show.
            key.width = static_cast<int>(format.width);
            ASSERT_EQ(filled.model.KeyLinear(source, key), 0);
            ASSERT_EQ(filled.keyer.Do(from, to, Zan::kBestAvailable), 0);
            ASSERT_TRUE(SameBytes("alpha", key.colour, picture.Alpha()));
            ASSERT_TRUE(SameBytes("colour", source.colour, picture.Colour()));
        }
    });
}

// Formats, missing images, missing memory and selections, any of them wrong at once.
TEST(KeyTableModel, OrderOfRefusals) {
    const auto anyFormat = [] {
        return AnyOf({Words(), Words(Zan::kYCbCrA), Pairs(), Pairs(Zan::k4224),
                      Pairs(Zan::k422, Zan::kYCbYCr), Rgb(), Rgb(Zan::k444), Grey(),
                      Format{Zan::kYCrCb, Zan::k444, Zan::kCbYCrA}});
    };
    for (int round = 0; round < (kSanitized ? 300 : 6000); ++round) {
        const Format source =
            OneIn(10) ? anyFormat() : AnyOf({Pairs(), Pairs(Zan::k4224), Pairs(Zan::k4224)});
        const Format key = OneIn(10) ? anyFormat() : AnyKeyFormat();
        const Layout layout = AnyLayout(RandomFrom<int>(0, 20));
        Scene scene = MakeScene(source, key, layout);
        for (std::size_t i = 0; i < 2; ++i) {
            Picture& picture = *scene.pictures[i];
            if (OneIn(12)) {
                const bool upward = OneIn(2);
                picture->SetOrigin(upward ? Zan::kBottomLeft : Zan::kTopLeft);
                scene.views[i] = Zan::ImageView(picture, Zan::Rectangle(upward ? 0 : -3, 0, 16, 4),
                                                upward ? Zan::kUpperField : Zan::kFrame);
            }
            if (OneIn(20)) {
                picture.Drop(0);
            }
            if (picture->GetChannelSampling() == Zan::k4224 && OneIn(10)) {
                picture.Drop(3);
            }
            if (OneIn(20)) {
                scene.views[i] = Zan::ImageView();
            }
        }
        if (OneIn(2)) {
            ExpectLinear(scene, AnyStyle());
        } else {
            ExpectLuma(scene, AnyStyle());
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

// A plane of luma is read as if it held words, twice as long as its rows: those of the upper half are there.
TEST(KeyTableModel, LumaOfPlanarPictures) {
    OnEveryTarget([] {
        for (int round = 0; round < Rounds(80) && !::testing::Test::HasFatalFailure(); ++round) {
            Scene scene = MakeScene(Planar(Zan::k422, AnyOf({Zan::kYCbCrPlanes, Zan::kYPlaneCbCrPlane})),
                                    AnyKeyFormat(), AnyLayout(RandomFrom<int>(1, 90)));
            Picture& picture = *scene.pictures[0];
            const Zan::Rectangle upper(0, 0, static_cast<Zan::Long32>(picture->GetWidth()),
                                       static_cast<Zan::Long32>(picture->GetHeight() / 2));
            picture->SetOrigin(Zan::kTopLeft);
            scene.views[0] = Zan::ImageView(picture, upper, Zan::kFrame);
            ExpectLuma(scene, AnyStyle());
        }
    });
}

// Drawn into a planar picture, words end with the plane.
TEST(GenerateCrCbGradientModel, PlanarPicturesKeepTheirGuards) {
    OnEveryTarget([] {
        for (int round = 0; round < Rounds(80); ++round) {
            Layout layout = AnyLayout(RandomFrom<int>(1, 90));
            layout.pitchUnit = 4;
            layout.bottomLeft = layout.fields = false;
            Scene scene;
            scene.Add(Planar(Zan::k422, AnyOf({Zan::kYCbCrPlanes, Zan::kYPlaneCbCrPlane})), layout, true,
                      true);
            Operand expected = AsOperand(*scene.pictures[0], scene.views[0]);
            key_model::Plane& plane = expected.colour;
            plane.written.resize(plane.memory.size());
            std::fill(plane.written.begin() + plane.begin, plane.written.begin() + plane.end,
                      std::uint8_t{1});
            ASSERT_EQ(Zan::GenerateCrCbGradient(scene.views[0]), 0) << scene.Describe();
            ASSERT_TRUE(SameBytes("colour", plane, scene.pictures[0]->Colour(), 255)) << scene.Describe();
        }
    });
}

void ExpectGradient(Scene& scene) {
    Operand expected = AsOperand(*scene.pictures[0], scene.views[0]);
    const int status = key_model::DrawGradient(expected);
    ASSERT_EQ(Zan::GenerateCrCbGradient(scene.views[0]), status) << scene.Describe();
    ASSERT_TRUE(SameBytes(expected, *scene.pictures[0])) << scene.Describe();
}

TEST(GenerateCrCbGradientModel, EverySize) {
    OnEveryTarget([] {
        ForWidths(0, [](int width) {
            for (int height = 0; height <= 20 && !::testing::Test::HasFatalFailure(); ++height) {
                Layout layout;
                layout.width = width;
                layout.height = height;
                layout.pitchUnit = OneIn(8) ? AnyOf({1U, 2U}) : 4U;
                Scene scene;
                scene.Add(OneIn(2) ? Words(AnyOf({Zan::kCbYCrA, Zan::kYCbCrA})) : AnyPairs(), layout, true,
                          true);
                if ((*scene.pictures[0])->GetChannelSampling() == Zan::k4224 && OneIn(6)) {
                    scene.pictures[0]->Drop(3);
                }
                ExpectGradient(scene);
            }
        });
    });
}

TEST(GenerateCrCbGradientModel, LargePictures) {
    for (int round = 0; round < Rounds(40) && !HasFatalFailure(); ++round) {
        Layout layout;
        layout.width = RandomFrom<int>(200, 2000);
        layout.height = RandomFrom<int>(1, 60);
        layout.pitchUnit = 4;
        Scene scene;
        scene.Add(OneIn(2) ? Words() : AnyPairs(), layout, true, true);
        ExpectGradient(scene);
    }
}

TEST(GenerateCrCbGradientModel, Refusals) {
    for (int round = 0; round < (kSanitized ? 100 : 1500) && !HasFatalFailure(); ++round) {
        Layout layout = AnyLayout(RandomFrom<int>(0, 20));
        layout.pitchUnit = AnyOf({1U, 2U, 4U});
        Scene scene;
        scene.Add(AnyOf({Words(), Pairs(), Pairs(Zan::k4224), Rgb(), Rgb(Zan::k444), Grey(),
                         Planar(Zan::k420), Format{Zan::kYCrCb, Zan::k444, Zan::kCbYCrA}}),
                  layout, true, true);
        Picture& picture = *scene.pictures[0];
        if (OneIn(3)) {
            const bool upward = OneIn(2);
            picture->SetOrigin(upward ? Zan::kBottomLeft : Zan::kTopLeft);
            scene.views[0] = Zan::ImageView(picture, Zan::Rectangle(upward ? 0 : -3, 0, 16, 4),
                                            upward ? Zan::kUpperField : Zan::kFrame);
        }
        if (OneIn(8)) {
            picture.Drop(0);
        }
        if (OneIn(8)) {
            scene.views[0] = Zan::ImageView();
        }
        ExpectGradient(scene);
    }
}

// By the words alone: three columns and three rows.
TEST(GenerateCrCbGradientModel, WorkedValues) {
    Format format = Words();
    format.width = format.height = 3;
    Picture picture(format);
    Zan::ImageView view(picture);
    ASSERT_EQ(Zan::GenerateCrCbGradient(view), 0);
    const std::uint8_t expected[3][3][2] = {
        {{0, 255}, {128, 255}, {255, 255}}, {{0, 128}, {128, 128}, {255, 128}}, {{0, 0}, {128, 0}, {255, 0}}};
    for (std::size_t y = 0; y < 3; ++y) {
        for (std::size_t x = 0; x < 3; ++x) {
            const std::uint8_t* const pixel = picture.ColourMemory().Data() + 12 * y + 4 * x;
            EXPECT_EQ(pixel[0], expected[y][x][0]);
            EXPECT_EQ(pixel[1], 128);
            EXPECT_EQ(pixel[2], expected[y][x][1]);
            EXPECT_EQ(pixel[3], 255);
        }
    }
    format.width = format.height = 1;
    Picture one(format);
    Zan::ImageView oneView(one);
    ASSERT_EQ(Zan::GenerateCrCbGradient(oneView), 0);
    EXPECT_EQ(one.ColourMemory().Data()[0], 0);
    EXPECT_EQ(one.ColourMemory().Data()[2], 255);
}

}  // namespace
