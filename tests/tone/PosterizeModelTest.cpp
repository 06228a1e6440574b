// Posterising by arithmetic against a second, plain model.

#include <TesselU/tone/Posterize.h>

#include <limits>

#include "tone/ModelScenes.h"
#include "tone/model/Tables.h"

using namespace tone_test;

namespace {

using Channel = Zan::Posterize::WhichChannelEnum;

double AnyLevels() {
    return OneIn(3) ? AnyOf({1.0, 1.5, 2.0, 3.0, 64.0, 127.5, 254.0, 254.5, 255.0})
                    : RandomFrom<int>(1000, 255000) / 1000.0;
}

struct Levels {
    Zan::Posterize posterize;
    double levels[3] = {255, 255, 255};

    void SetAny() {
        for (int i = 0; i < 3; ++i) {
            levels[i] = AnyLevels();
            EXPECT_EQ(posterize.SetLevels(static_cast<Channel>(i), levels[i]), 0);
        }
    }
};

void Expect(Scene& scene, const Levels& by, int style, bool inPlace = false) {
    SCOPED_TRACE(::testing::Message() << "style " << style << ", levels " << by.levels[0] << ", "
                                      << by.levels[1] << ", " << by.levels[2]);
    ExpectAsModel(
        scene, [&](Zan::ImageView& a, Zan::ImageView& b) { return by.posterize.Do(a, b, Style(style)); },
        [&](const Operand& a, Operand& b) { return tone_model::Posterize(a, b, by.levels, style); }, inPlace);
}

Format AnyPairs() {
    return OneIn(4) ? Pairs(Zan::k422, Zan::kYCbYCr) : Pairs(AnyOf({Zan::k422, Zan::k4224}));
}

Layout AnyLayout(int width) {
    Layout layout;
    layout.width = width;
    layout.height = RandomFrom<int>(0, 7);
    return layout;
}

TEST(PosterizeModel, EveryStyleOnEveryTarget) {
    OnEveryTarget([] {
        ForWidths(0, [](int width) {
            Levels levels;
            levels.SetAny();
            for (const int style : {0, 1, 2, 5, AnyOf({3, 4, 6, 7, -1, 99})}) {
                Layout layout = AnyLayout(width);
                // Rows of upward pictures that lose bits of their pitch leave the picture at some row.
                layout.pitchUnit = AnyOf({1U, 4U, 4U});
                Scene scene = MakeScene({AnyPairs(), AnyPairs()}, layout);
                Expect(scene, levels, style, OneIn(5));
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        });
    });
}

TEST(PosterizeModel, EveryMachine) {
    OnEveryMachine([](bool mmxOnly) {
        for (const int style : AllStyles()) {
            Levels levels;
            levels.SetAny();
            levels.posterize.SetMMXonlyStyle(mmxOnly);
            Scene scene = MakeScene({AnyPairs(), AnyPairs()}, AnyLayout(RandomFrom<int>(1, 70)));
            Expect(scene, levels, style);
        }
    });
}

// Every byte at every place for all whole levels and some between.
TEST(PosterizeModel, EveryByteForEveryLevel) {
    Format format = Pairs();
    format.width = 512;
    format.height = 1;
    Picture source(format), destination(format);
    for (std::size_t i = 0; i < 1024; ++i) {
        source.ColourMemory().Data()[i] = static_cast<std::uint8_t>(i / 4);
    }
    Zan::ImageView from(source), to(destination);
    for (int step = 0; step < (kSanitized ? 100 : 1017); ++step) {
        const double level = kSanitized ? RandomFrom<int>(1, 255) : 1 + step / 4.0;
        Zan::Posterize posterize;
        EXPECT_EQ(posterize.SetLevels(level), 0);
        for (const int style : {0, 1, 2, 3, 5}) {
            ASSERT_EQ(posterize.Do(from, to, Style(style)), 0);
            const bool fixed = style == 1 || style == 2 || style == 5;
            for (std::size_t i = 0; i < 1024; ++i) {
                const int value = static_cast<int>(i / 4), neutral = i % 2 == 1 ? 16 : 128;
                ASSERT_EQ(int{destination.ColourMemory().Data()[i]},
                          fixed ? tone_model::PosterizedInFixedPoint(value, neutral, level)
                                : tone_model::Posterized(value, neutral, level))
                    << "levels " << level << ", style " << style << ", byte " << i;
            }
        }
    }
}

TEST(PosterizeModel, WorkedValues) {
    EXPECT_EQ(tone_model::Posterized(143, 16, 1), 16);
    EXPECT_EQ(tone_model::Posterized(144, 16, 1), 255);
    EXPECT_EQ(tone_model::Posterized(100, 128, 255), 100);
    EXPECT_EQ(tone_model::PosterizedInFixedPoint(100, 128, 255), 102);
}

TEST(PosterizeModel, LevelsAndTheirLimits) {
    Zan::Posterize posterize;
    const auto expectAll = [&](double value) {
        for (const int channel : {0, 1, 2}) {
            EXPECT_EQ(posterize.GetLevels(static_cast<Channel>(channel)), value);
        }
    };
    expectAll(255);
    EXPECT_EQ(posterize.SetLevels(0.5), -1);
    expectAll(1);
    EXPECT_EQ(posterize.SetLevels(300), -1);
    expectAll(255);
    EXPECT_EQ(posterize.SetLevels(std::numeric_limits<double>::quiet_NaN()), -1);
    expectAll(1);
    EXPECT_EQ(posterize.SetLevels(255), 0);
    EXPECT_EQ(posterize.SetLevels(1), 0);
    expectAll(1);
    EXPECT_EQ(posterize.SetLevels(std::numeric_limits<double>::infinity()), -1);
    expectAll(255);
    EXPECT_EQ(posterize.SetLevels(Channel::kChannelY, -7), -1);
    EXPECT_EQ(posterize.GetLevels(Channel::kChannelY), 1.0);
    EXPECT_EQ(posterize.GetLevels(Channel::kChannelCb), 255.0);
    for (const int channel : {3, 4, -1, 1000}) {
        EXPECT_EQ(posterize.SetLevels(static_cast<Channel>(channel), 10), -1);
        EXPECT_EQ(posterize.GetLevels(static_cast<Channel>(channel)), -1.0);
    }
}

TEST(PosterizeModel, Refusals) {
    Levels levels;
    levels.SetAny();
    const Format refused[] = {Rgb(), Rgb(Zan::k444), Words(), Grey(), Planar(Zan::k422), Planar(Zan::k420)};
    for (const Format& format : refused) {
        for (const bool first : {true, false}) {
            for (const int style : AllStyles()) {
                Layout layout;
                layout.fields = layout.bottomLeft = false;
                Scene scene = MakeScene({first ? format : AnyPairs(), first ? AnyPairs() : format}, layout);
                Expect(scene, levels, style);
            }
        }
    }
    for (const bool first : {true, false}) {
        Scene scene = MakeScene({AnyPairs(), AnyPairs()}, Layout());
        scene.pictures[first ? 0 : 1]->Drop(0);
        Expect(scene, levels, 0);
        Zan::ImageView nothing;
        EXPECT_EQ(first ? levels.posterize.Do(nothing, scene.views[1], Zan::kFlp)
                        : levels.posterize.Do(scene.views[0], nothing, Zan::kFlp),
                  1);
    }
    Format upward = Pairs();
    upward.origin = Zan::kBottomLeft;
    Picture bad(upward), good(Pairs());
    Zan::ImageView field(bad, Zan::Rectangle(0, 0, 16, 4), Zan::kLowerField), whole(good);
    const Bytes before = good.Colour();
    EXPECT_EQ(levels.posterize.Do(field, whole, Zan::kFlp), 98);
    EXPECT_EQ(levels.posterize.Do(whole, field, Zan::kFlp), 98);
    EXPECT_EQ(good.Colour(), before);
}

}  // namespace
