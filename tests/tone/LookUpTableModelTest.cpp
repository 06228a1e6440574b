// Tables, their negatives and their posterised forms against a second, plain model.

#include <TesselU/tone/InvertLUT.h>
#include <TesselU/tone/LookUpTable.h>
#include <TesselU/tone/PosterizeLUT.h>

#include <cmath>
#include <limits>

#include "tone/ModelScenes.h"
#include "tone/model/Tables.h"

using namespace tone_test;

namespace {

Format AnyPairs() {
    return Pairs(AnyOf({Zan::k422, Zan::k4224}), Zan::kCbYCrA);
}
Format AnyPairsAndOrder() {
    // Luma first exists without alpha only.
    return OneIn(4) ? Pairs(Zan::k422, Zan::kYCbYCr) : AnyPairs();
}

Layout AnyLayout(int width) {
    Layout layout;
    layout.width = width;
    layout.height = RandomFrom<int>(0, 7);
    return layout;
}

// A model and the library's object with the same random entries.
struct Filled {
    tone_model::Tables model;
    Zan::LookUpTable table;

    Filled(Zan::ULong32 count, Zan::ULong32 entries, Zan::ULong32 bits)
        : model(count, entries, bits), table(count, entries, bits) {
        for (Zan::ULong32 i = 0; i < count; ++i) {
            for (Zan::ULong32 entry = 0; entry < entries; ++entry) {
                const auto value = static_cast<Zan::ULong32>(Random()());
                model.Set(i, entry, value);
                table.SetLUT(i, entry, value);
            }
        }
    }

    void ExpectSameEntries() const {
        for (Zan::ULong32 i = 0; i <= model.count; ++i) {
            for (Zan::ULong32 entry = 0; entry <= model.entries; ++entry) {
                ASSERT_EQ(table.GetLUT(i, entry), model.Get(i, entry))
                    << "table " << i << ", entry " << entry;
            }
        }
    }
};

void ExpectTables(Scene& scene, const Zan::LookUpTable& table, const tone_model::Tables& model, int style,
                  bool inPlace = false) {
    ExpectAsModel(
        scene, [&](Zan::ImageView& a, Zan::ImageView& b) { return table.Do(a, b, Style(style)); },
        [&](const Operand& a, Operand& b) { return model.Apply(a, b); }, inPlace);
}

TEST(LookUpTableModel, EntriesOfEveryDepth) {
    for (const Zan::ULong32 bits : {0U, 1U, 7U, 8U, 9U, 16U, 17U, 24U, 25U, 32U, 33U, 40U, 64U}) {
        for (const Zan::ULong32 entries : {1U, 2U, 100U, 256U, 300U}) {
            SCOPED_TRACE(::testing::Message() << bits << " bits, " << entries << " entries");
            Filled filled(3, entries, bits);
            EXPECT_EQ(filled.table.GetNumberOfLUTs(), 3U);
            EXPECT_EQ(filled.table.GetNumberOfLUTentries(), entries);
            EXPECT_EQ(filled.table.GetNumberOfBitsPerEntry(), filled.model.bits);
            EXPECT_EQ(filled.table.GetNumberOfBytesPerEntry(), filled.model.bytes);
            filled.ExpectSameEntries();
            filled.table.SetLUTtoIdentity(1);
            filled.model.SetToIdentity(1);
            filled.ExpectSameEntries();
            filled.table.SetLUTtoIdentity();
            for (const Zan::ULong32 i : {0U, 1U, 2U}) {
                filled.model.SetToIdentity(i);
            }
            filled.ExpectSameEntries();
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST(LookUpTableModel, EveryCurve) {
    struct Range {
        double low, high;
    };
    const Range ranges[] = {{0, 1},     {0.1, 1},       {0, 0.5},       {0.25, 0.75}, {0.5, 0.25},
                            {1, 0},     {0.3, 0.3},     {0, 2},         {-0.5, 1},    {-1, 2},
                            {0.999, 1}, {0.0625, 0.92}, {0.004, 0.005}, {0.5, 1.5},   {1.25, 1.75}};
    for (const Zan::ULong32 bits : {1U, 8U, 10U, 16U, 24U, 32U, 40U}) {
        for (const Zan::ULong32 entries : {2U, 17U, 256U, 1000U}) {
            for (const int type : {-1, 0, 1, 2, 3, 4, 5, 6, 1000}) {
                for (const Range& range : ranges) {
                    SCOPED_TRACE(::testing::Message() << bits << " bits, " << entries << " entries, type "
                                                      << type << ", " << range.low << " to " << range.high);
                    Filled filled(1, entries, bits);
                    filled.table.SetLUTtoGammaCorrect(0, static_cast<Zan::TypeOfGamma>(type), range.low,
                                                      range.high);
                    filled.model.SetToGamma(0, type, range.low, range.high);
                    filled.ExpectSameEntries();
                    if (HasFatalFailure()) {
                        return;
                    }
                }
            }
        }
    }
}

// Powers of the usual curves, wherever they start and end.
TEST(LookUpTableModel, CurvesOverRandomRanges) {
    for (int round = 0; round < (kSanitized ? 40 : 400); ++round) {
        const double low = RandomFrom<int>(-300, 1200) / 1000.0, high = RandomFrom<int>(-300, 1200) / 1000.0;
        const int type = RandomFrom<int>(0, 5);
        const auto entries = RandomFrom<Zan::ULong32>(1, 600), bits = RandomFrom<Zan::ULong32>(1, 32);
        SCOPED_TRACE(::testing::Message() << bits << " bits, " << entries << " entries, type " << type << ", "
                                          << low << " to " << high);
        Filled filled(1, entries, bits);
        filled.table.SetLUTtoGammaCorrect(0, static_cast<Zan::TypeOfGamma>(type), low, high);
        filled.model.SetToGamma(0, type, low, high);
        filled.ExpectSameEntries();
        if (HasFatalFailure()) {
            return;
        }
    }
}

double Wave(double x) {
    return 0.5 + 0.7 * (x - 0.3) * (x + 2) * (1.1 - x);
}
double NotANumber(double) {
    return std::numeric_limits<double>::quiet_NaN();
}
double BelowZero(double x) {
    return -x;
}
double Straight(double x) {
    return x;
}
double Reversed(double x) {
    return 1 - x;
}
double Endless(double x) {
    return x > 0.5 ? std::numeric_limits<double>::infinity() : -std::numeric_limits<double>::infinity();
}

TEST(LookUpTableModel, EveryFunction) {
    double (*const functions[])(double) = {Wave, NotANumber, BelowZero, Straight, Reversed, Endless};
    for (std::size_t i = 0; i < std::size(functions); ++i) {
        for (int round = 0; round < (kSanitized ? 10 : 100); ++round) {
            const double low = round == 0 ? 0 : RandomFrom<int>(-200, 1200) / 1000.0;
            const double high = round == 0 ? 1 : RandomFrom<int>(-200, 1200) / 1000.0;
            const auto entries = RandomFrom<Zan::ULong32>(1, 400), bits = RandomFrom<Zan::ULong32>(1, 32);
            SCOPED_TRACE(::testing::Message() << "function " << i << ", " << bits << " bits, " << entries
                                              << " entries, " << low << " to " << high);
            Filled filled(2, entries, bits);
            filled.table.SetLUTbyFunction(1, functions[i], low, high);
            filled.model.SetByFunction(1, functions[i], low, high);
            filled.table.SetLUTbyFunction(2, functions[i], low, high);  // is not there
            filled.ExpectSameEntries();
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

// By the words alone: the identity, and the top of the curve below the foot.
TEST(LookUpTableModel, WorkedValuesOfCurves) {
    Zan::LookUpTable table(1, 256, 8);
    table.SetLUTtoGammaCorrect(0, Zan::kGammaIdentity, 0, 1);
    for (Zan::ULong32 i = 0; i < 256; ++i) {
        EXPECT_EQ(table.GetLUT(0, i), i);
    }
    table.SetLUTtoGammaCorrect(0, Zan::kGammaIdentity, 0.1, 1);
    for (Zan::ULong32 i = 0; i < 25; ++i) {
        EXPECT_EQ(table.GetLUT(0, i), 255U);
    }
    EXPECT_EQ(table.GetLUT(0, 25), 25U);
    EXPECT_EQ(table.GetLUT(0, 255), 255U);
    table.SetLUTtoGammaCorrect(0, Zan::kGammaVideoEncode, 0, 1);
    EXPECT_EQ(table.GetLUT(0, 4), 18U);     // 4.5 * 4
    EXPECT_EQ(table.GetLUT(0, 128), 180U);  // 255 * (1.099 * 0.5020^0.45 - 0.099) = 180.3
}

TEST(LookUpTableModel, EveryNumberOfTablesOnEveryTarget) {
    OnEveryTarget([] {
        ForWidths(0, [](int width) {
            const auto count = RandomFrom<Zan::ULong32>(OneIn(4) ? 0 : 3, 5);
            const Zan::ULong32 entries =
                OneIn(3) ? AnyOf({1U, 2U, 63U, 64U, 100U, 128U, 200U, 255U, 257U, 400U}) : 256U;
            const Zan::ULong32 bits = OneIn(3) ? AnyOf({0U, 9U, 16U, 24U, 32U}) : 8U;
            SCOPED_TRACE(::testing::Message()
                         << count << " tables, " << entries << " entries, " << bits << " bits");
            const Filled filled(count, entries, bits);
            Scene scene = MakeScene({AnyPairsAndOrder(), AnyPairsAndOrder()}, AnyLayout(width));
            for (auto& picture : scene.pictures) {
                if ((*picture)->GetChannelSampling() == Zan::k4224 && OneIn(8)) {
                    picture->Drop(3);
                }
            }
            ExpectTables(scene, filled.table, filled.model, AnyOf({0, 1, 2, 3, 4, 5, 6, -1, 99}), OneIn(5));
        });
    });
}

TEST(LookUpTableModel, RowsWideEnoughForEveryStep) {
    OnEveryTarget([] {
        for (int round = 0; round < (kSanitized ? 3 : 25); ++round) {
            const Filled filled(RandomFrom<Zan::ULong32>(3, 4), 256, 8);
            Layout layout = AnyLayout(RandomFrom<int>(100, 700));
            Scene scene = MakeScene({AnyPairs(), AnyPairs()}, layout);
            ExpectTables(scene, filled.table, filled.model, 5, OneIn(3));
            if (HasFatalFailure()) {
                return;
            }
        }
    });
}

TEST(LookUpTableModel, EveryStyleAndMachine) {
    OnEveryMachine([](bool mmxOnly) {
        for (const int style : AllStyles()) {
            Filled filled(4, 256, 8);
            filled.table.SetMMXonlyStyle(mmxOnly);
            Scene scene = MakeScene({AnyPairs(), AnyPairs()}, AnyLayout(RandomFrom<int>(1, 70)));
            ExpectTables(scene, filled.table, filled.model, style);
        }
    });
}

// All bytes at all four places, with all alphas.
TEST(LookUpTableModel, EveryByteAtEveryPlace) {
    OnEveryTarget([] {
        const Filled filled(4, 256, 8);
        Format format = Pairs(Zan::k4224);
        format.width = 256;
        format.height = 2;
        Scene scene;
        Layout layout;
        layout.width = 256;
        layout.height = 2;
        layout.fields = false;
        scene.Add(format, layout, true, true);
        scene.Add(format, layout, true, true);
        Picture& picture = *scene.pictures[0];
        for (int y = 0; y < 2; ++y) {
            for (int x = 0; x < 256; ++x) {
                auto* const colour = static_cast<std::uint8_t*>(scene.views[0].GetMemoryPointer(0)) +
                                     y * scene.views[0].GetPitch(0) + 2 * x;
                auto* const alpha = static_cast<std::uint8_t*>(scene.views[0].GetMemoryPointer(3)) +
                                    y * scene.views[0].GetPitch(3) + x;
                // Line 0 runs up through even places, line 1 through odd ones.
                colour[0] = static_cast<std::uint8_t>(y == 0 ? x : 255 - x);
                colour[1] = static_cast<std::uint8_t>(y == 0 ? 255 - x : x);
                *alpha = static_cast<std::uint8_t>(x);
            }
        }
        ASSERT_EQ(picture->GetWidth() % 2, 0U);
        ExpectTables(scene, filled.table, filled.model, 2);
    });
}

TEST(LookUpTableModel, Refusals) {
    Filled filled(4, 256, 8);
    const Format refused[] = {Rgb(),
                              Rgb(Zan::k444),
                              Words(),
                              Words(Zan::kYCbCrA),
                              Grey(),
                              Planar(Zan::k422),
                              Planar(Zan::k422, Zan::kYPlaneCbCrPlane),
                              Planar(Zan::k420),
                              {Zan::kYCrCb, Zan::k444, Zan::kCbYCrA}};
    for (const Format& format : refused) {
        for (const bool first : {true, false}) {
            Layout layout;
            layout.fields = layout.bottomLeft = false;
            Scene scene = MakeScene({first ? format : AnyPairs(), first ? AnyPairs() : format}, layout);
            ExpectTables(scene, filled.table, filled.model, 2);
            // A format is refused before missing memory is noticed.
            scene.pictures[0]->Drop(0);
            if (first) {
                EXPECT_EQ(filled.table.Do(scene.views[0], scene.views[1], Zan::kBestAvailable), 4);
            }
        }
    }
    for (const bool first : {true, false}) {
        Scene scene = MakeScene({AnyPairs(), AnyPairs()}, Layout());
        scene.pictures[first ? 0 : 1]->Drop(0);
        ExpectTables(scene, filled.table, filled.model, 0);
        Zan::ImageView nothing;
        EXPECT_EQ(first ? filled.table.Do(nothing, scene.views[1], Zan::kFlp)
                        : filled.table.Do(scene.views[0], nothing, Zan::kFlp),
                  1);
    }
}

// A field of an upward picture, and a region that begins left of its picture, leave their memory.
TEST(LookUpTableModel, SelectionsOutsideTheirPictures) {
    const Zan::LookUpTable table(4, 256, 8);
    for (const bool first : {true, false}) {
        for (const bool field : {true, false}) {
            Format format = Pairs();
            format.origin = field ? Zan::kBottomLeft : Zan::kTopLeft;
            Picture bad(format), good(Pairs());
            Zan::ImageView selected = field
                                          ? Zan::ImageView(bad, Zan::Rectangle(0, 0, 16, 4), Zan::kUpperField)
                                          : Zan::ImageView(bad, Zan::Rectangle(-3, 0, 16, 4), Zan::kFrame);
            Zan::ImageView whole(good);
            const Bytes before = good.Colour(), badBefore = bad.Colour();
            EXPECT_EQ(first ? table.Do(selected, whole, Zan::kFlp) : table.Do(whole, selected, Zan::kFlp),
                      98);
            EXPECT_EQ(good.Colour(), before);
            EXPECT_EQ(bad.Colour(), badBefore);
        }
    }
}

TEST(LookUpTableModel, PlainReads) {
    const Zan::LookUpTable table;
    unsigned char bytes[] = {3, 200, 7};
    unsigned short words[] = {3, 60000, 7};
    Zan::ULong32 longs[] = {3, 4000000000U, 7};
    EXPECT_EQ(table.Do(bytes, 1), 200U);
    EXPECT_EQ(table.Do(words, 1), 60000U);
    EXPECT_EQ(table.Do(longs, 1), 4000000000U);
}

TEST(LookUpTableModel, CopiesShareAndInitParts) {
    Zan::LookUpTable one(3, 256, 8);
    Zan::LookUpTable two(one);
    Zan::LookUpTable three;
    three = one;
    one.SetLUT(1, 5, 77);
    EXPECT_EQ(two.GetLUT(1, 5), 77U);
    EXPECT_EQ(three.GetLUT(1, 5), 77U);
    EXPECT_EQ(three.GetNumberOfLUTs(), 3U);
    one.Init(4, 10, 16);
    EXPECT_EQ(one.GetLUT(3, 9), 9U);
    one.SetLUT(1, 5, 1234);
    EXPECT_EQ(one.GetLUT(1, 5), 1234U);
    EXPECT_EQ(two.GetLUT(1, 5), 77U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(one.GetPointerToLUT(0)) % 128, 0U);
    EXPECT_EQ(one.GetPointerToLUT(4), nullptr);
}

// Component and alpha through tables of 65536 bytes.
TEST(LookUpTableModel, ComponentAndAlpha) {
    for (int round = 0; round < (kSanitized ? 20 : 200); ++round) {
        const auto count = RandomFrom<Zan::ULong32>(OneIn(5) ? 0 : 3, 4);
        Zan::LookUpTable table(count, 65536, 8);
        std::vector<std::vector<std::uint8_t>> entries(count, std::vector<std::uint8_t>(65536));
        for (Zan::ULong32 i = 0; i < count; ++i) {
            FillRandom(entries[i].data(), 65536);
            std::copy(entries[i].begin(), entries[i].end(), table.GetPointerToLUT(i));
        }
        Layout layout = AnyLayout(RandomFrom<int>(0, 70));
        layout.fields = OneIn(2);
        Scene scene = MakeScene({Pairs(Zan::k4224), Pairs(Zan::k4224)}, layout);
        const bool inPlace = OneIn(4), noSourceAlpha = OneIn(10), noDestinationAlpha = OneIn(10);
        std::vector<Operand> o = scene.Operands();
        if (inPlace) {
            o[1] = o[0];
        }
        const int width = std::min(o[0].width, o[1].width), height = std::min(o[0].height, o[1].height);
        if (count >= 3 && !noSourceAlpha && !noDestinationAlpha) {
            tone_model::ApplyByComponentAndAlpha(entries, o[0].colour, o[0].alpha, o[1].colour, o[1].alpha,
                                                 width, height);
        }
        Zan::ImageView& a = scene.views[0];
        Zan::ImageView& b = scene.views[inPlace ? 0 : 1];
        const auto colour = [](Zan::ImageView& v) {
            return static_cast<Zan::ULong32*>(v.GetMemoryPointer(0));
        };
        const auto alpha = [](Zan::ImageView& v) {
            return static_cast<unsigned char*>(v.GetMemoryPointer(3));
        };
        ASSERT_EQ(table.Do_ButUseComponentAndAlphaYCrCb4224(
                      colour(a), noSourceAlpha ? nullptr : alpha(a), colour(b),
                      noDestinationAlpha ? nullptr : alpha(b), static_cast<Zan::ULong32>(width),
                      static_cast<Zan::ULong32>(height), a.GetPitch(0), a.GetPitch(3), b.GetPitch(0),
                      b.GetPitch(3)),
                  0);
        Picture& destination = *scene.pictures[inPlace ? 0 : 1];
        ASSERT_TRUE(SameMemory("colour", o[1].colour, destination.Colour())) << scene.Describe();
        ASSERT_TRUE(SameMemory("alpha", o[1].alpha, destination.Alpha())) << scene.Describe();
    }
}

// ---- InvertLUT

TEST(InvertLUTModel, EveryCombinationOfChannels) {
    OnEveryTarget([] {
        for (int switches = 0; switches < 16; ++switches) {
            Zan::InvertLUT invert;
            tone_model::Tables model(4, 256, 8);
            for (Zan::ULong32 channel = 0; channel < 4; ++channel) {
                const bool on = (switches >> channel & 1) != 0;
                invert.SetInvert(static_cast<Zan::InvertLUT::WhichChannelEnum>(channel), on);
                for (int v = 0; v < 256; ++v) {
                    model.Set(channel, static_cast<Zan::ULong32>(v),
                              static_cast<Zan::ULong32>(
                                  on ? tone_model::Inverted(static_cast<int>(channel), v) : v));
                }
            }
            for (Zan::ULong32 channel = 0; channel < 4; ++channel) {
                for (Zan::ULong32 v = 0; v < 256; ++v) {
                    ASSERT_EQ(invert.GetLUT(channel, v), model.Get(channel, v)) << channel << ", " << v;
                }
            }
            Scene scene = MakeScene({AnyPairs(), AnyPairs()}, AnyLayout(RandomFrom<int>(0, 70)));
            ExpectTables(scene, invert, model, AnyOf({0, 1, 2, 3, 5, 6, 77}), OneIn(4));
            if (HasFatalFailure()) {
                return;
            }
        }
    });
}

TEST(InvertLUTModel, BeginsInverted) {
    const Zan::InvertLUT invert;
    for (Zan::ULong32 v = 0; v < 256; ++v) {
        for (const int channel : {0, 1, 2}) {
            EXPECT_EQ(invert.GetLUT(static_cast<Zan::ULong32>(channel), v),
                      static_cast<Zan::ULong32>(tone_model::Inverted(channel, static_cast<int>(v))));
        }
        EXPECT_EQ(invert.GetLUT(3, v), v);
    }
    Zan::InvertLUT unchanged;
    unchanged.SetMMXonlyStyle(true);
    for (const int channel : {4, -1, 1000}) {
        unchanged.SetInvert(static_cast<Zan::InvertLUT::WhichChannelEnum>(channel), false);
    }
    EXPECT_EQ(unchanged.GetLUT(0, 0), 255U);
    EXPECT_EQ(invert.GetLUT(1, 16), 234U);
    EXPECT_EQ(invert.GetLUT(1, 235), 15U);
    EXPECT_EQ(invert.GetLUT(1, 251), 0U);
    EXPECT_EQ(invert.GetLUT(0, 0), 255U);
    EXPECT_EQ(invert.GetLUT(0, 1), 255U);
    EXPECT_EQ(invert.GetLUT(2, 128), 128U);
}

// ---- PosterizeLUT

double AnyLevels() {
    return OneIn(3) ? AnyOf({1.0, 1.5, 2.0, 3.0, 127.5, 254.0, 254.5, 255.0, 0.5, -3.0, 300.0, 0.999999,
                             255.000001})
                    : RandomFrom<int>(1000, 255000) / 1000.0;
}

void ExpectPosterised(const Zan::PosterizeLUT& tables, const double (&levels)[4]) {
    for (Zan::ULong32 channel = 0; channel < 4; ++channel) {
        ASSERT_EQ(tables.GetLevels(static_cast<Zan::PosterizeLUT::WhichChannelEnum>(channel)),
                  levels[channel]);
        for (int v = 0; v < 256; ++v) {
            const int expected =
                channel == 3 ? v : tone_model::Posterized(v, channel == 1 ? 16 : 128, levels[channel]);
            ASSERT_EQ(tables.GetLUT(channel, static_cast<Zan::ULong32>(v)),
                      static_cast<Zan::ULong32>(expected))
                << "channel " << channel << ", levels " << levels[channel] << ", value " << v;
        }
    }
}

TEST(PosterizeLUTModel, EverySequenceOfLevels) {
    Zan::PosterizeLUT tables;
    double levels[4] = {255, 255, 255, 255};
    ExpectPosterised(tables, levels);
    for (int round = 0; round < (kSanitized ? 100 : 1000); ++round) {
        const double wanted = AnyLevels(), kept = tone_model::LimitedLevels(wanted);
        const Zan::Long32 status = kept == wanted ? 0 : -1;
        if (OneIn(3)) {
            ASSERT_EQ(tables.SetLevels(wanted), status) << wanted;
            levels[0] = levels[1] = levels[2] = kept;
        } else {
            const auto channel = RandomFrom<std::size_t>(0, 3);
            ASSERT_EQ(tables.SetLevels(static_cast<Zan::PosterizeLUT::WhichChannelEnum>(channel), wanted),
                      status);
            levels[channel] = kept;
        }
        ExpectPosterised(tables, levels);
        if (HasFatalFailure()) {
            return;
        }
    }
}

TEST(PosterizeLUTModel, ChannelsThatAreNotThere) {
    Zan::PosterizeLUT tables;
    const double levels[4] = {255, 255, 255, 255};
    for (const int channel : {4, 5, -1, 1000}) {
        EXPECT_EQ(tables.SetLevels(static_cast<Zan::PosterizeLUT::WhichChannelEnum>(channel), 10), -1);
        EXPECT_EQ(tables.GetLevels(static_cast<Zan::PosterizeLUT::WhichChannelEnum>(channel)), -1.0);
    }
    ExpectPosterised(tables, levels);
    EXPECT_EQ(tables.SetLevels(std::numeric_limits<double>::quiet_NaN()), -1);
    ExpectPosterised(tables, {1, 1, 1, 255});
}

TEST(PosterizeLUTModel, Pictures) {
    OnEveryTarget([] {
        ForWidths(0, [](int width) {
            Zan::PosterizeLUT tables;
            tone_model::Tables model(4, 256, 8);
            for (Zan::ULong32 channel = 0; channel < 3; ++channel) {
                const double levels = tone_model::LimitedLevels(AnyLevels());
                tables.SetLevels(static_cast<Zan::PosterizeLUT::WhichChannelEnum>(channel), levels);
                for (int v = 0; v < 256; ++v) {
                    model.Set(channel, static_cast<Zan::ULong32>(v),
                              static_cast<Zan::ULong32>(
                                  tone_model::Posterized(v, channel == 1 ? 16 : 128, levels)));
                }
            }
            Scene scene = MakeScene({AnyPairs(), AnyPairs()}, AnyLayout(width));
            ExpectTables(scene, tables, model, AnyOf({0, 1, 2, 3, 4, 5, 6, 50}), OneIn(4));
        });
    });
}

}  // namespace
