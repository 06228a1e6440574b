// The soft and the bordered wipe against their model: all paths and styles, all widths, views anywhere in
// their pictures.

#include <cmath>

#include "composite/ModelRuns.h"

using namespace composite_test;

namespace {

// A word a pixel. Pixels of more bytes pass for such, too, of which the first words of a row are taken.
Format Words() {
    if (OneIn(12)) {
        return Format::Rgb(0, 0).Bits(AnyOf({Zan::k16Bits, Zan::k32Bits}));
    }
    return OneIn(2) ? Format::Rgb(0, 0) : Format::YCrCb(0, 0, Zan::k4444);
}
Format Pairs() {
    return Format::YCrCb(0, 0, AnyOf({Zan::k422, Zan::k4224, Zan::k4224}));
}
Format Key(Zan::AggregateBitsPerChannelEnum bits = Zan::k8Bits) {
    return Format::Grey(0, 0).Bits(bits);
}

Layout AnyLayout(int width) {
    Layout layout;
    layout.width = width;
    layout.height = RandomFrom<int>(1, 4);
    layout.key = 2;
    return layout;
}

// Some keys have long ends, where one source alone counts.
void VaryKey(Scene& scene) {
    if (OneIn(2)) {
        PutRuns(scene.pictures[2]->ColourMemory());
    }
}

// Some alpha planes go, some are called opaque.
void VaryAlpha(Scene& scene) {
    for (const std::size_t i : {0U, 1U, 3U}) {
        Picture& picture = *scene.pictures[i];
        if (picture->GetChannelSampling() != Zan::k4224) {
            continue;
        }
        if (OneIn(5)) {
            DropAlpha(picture);
        }
        picture->SetAlphaChannelDescription(
            AnyOf({Zan::kAlphaOpaque, Zan::kAlphaVarying, Zan::kAlphaVarying}));
    }
}

double AnyPosition() {
    return OneIn(3) ? AnyOf({0.0, 1.0, 0.5, -0.5, 1.5, 1 / 255.0, 254 / 255.0})
                    : RandomFrom<int>(0, 100000) / 100000.0;
}

// From hard to softer than the key is long.
double AnySoftness() {
    return OneIn(2) ? AnyOf({0.0, 1.0, 0.5, 254.0, 255.0, -5.0, 40000.0, 32768.0, 3.0})
                    : RandomFrom<int>(0, 60000) / 100.0;
}

void ExpectSoftWipe(Zan::ZanCompositor& compositor, const Machine& machine, int style, Scene& scene,
                    int inPlaceOver) {
    const double position = AnyPosition(), softness = AnySoftness();
    SCOPED_TRACE(::testing::Message() << "position " << position << ", softness " << softness);
    ExpectAsModel(
        compositor, scene,
        [&](Zan::ZanCompositor& by, std::vector<Zan::ImageView>& v) {
            return by.CompositeTwoSrcAndAlphaGradient(v[0], v[1], v[2], v[3], position, softness,
                                                      Style(style));
        },
        [&](std::vector<Operand>& o) {
            return composite_model::SoftWipe(o[0], o[1], o[2], o[3], position, softness, style,
                                             ProcessorOf(machine));
        },
        inPlaceOver);
}

TEST(WipeModel, SoftOnWords) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        ForWidths(1, [&](int width) {
            Scene scene = MakeScene({Words(), Words(), Key(), Words()}, AnyLayout(width));
            VaryKey(scene);
            ExpectSoftWipe(compositor, machine, style, scene, OneIn(8) ? RandomFrom<int>(0, 1) : -1);
        });
    });
}

TEST(WipeModel, SoftOnPairs) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        ForWidths(1, [&](int width) {
            Scene scene = MakeScene({Pairs(), Pairs(), Key(), Pairs()}, AnyLayout(width));
            VaryAlpha(scene);
            Polarise(scene.pictures[2]->ColourMemory());
            VaryKey(scene);
            ExpectSoftWipe(compositor, machine, style, scene, OneIn(8) ? RandomFrom<int>(0, 1) : -1);
        });
    });
}

composite_model::Border AnyBorder() {
    composite_model::Border border{};
    border.position = AnyPosition();
    border.softnessA = AnySoftness();
    border.width = OneIn(2) ? AnyOf({0.0, 10.0, 255.0, 40000.0, 1e-3}) : RandomFrom<int>(0, 9000) / 100.0;
    border.softnessB = AnySoftness();
    border.colour = OneIn(4) ? AnyOf({0xFFFFFFFFU, 0U, 0xFF0000FFU, 0x80FF0000U, 0x0000FF00U})
                             : static_cast<std::uint32_t>(Random()());
    return border;
}

void ExpectBorderWipe(Zan::ZanCompositor& compositor, int style, Scene& scene,
                      const composite_model::Border& border, int inPlaceOver = -1) {
    SCOPED_TRACE(::testing::Message()
                 << "position " << border.position << ", widths " << border.softnessA << ", " << border.width
                 << ", " << border.softnessB << ", colour " << border.colour);
    ExpectAsModel(
        compositor, scene,
        [&](Zan::ZanCompositor& by, std::vector<Zan::ImageView>& v) {
            return by.CompositeTwoSrcAndAlphaGradientWithBorder(
                v[0], v[1], v[2], v[3], border.position, border.softnessA, border.width, border.softnessB,
                border.colour, Style(style));
        },
        [&](std::vector<Operand>& o) { return composite_model::BorderWipe(o[0], o[1], o[2], o[3], border); },
        inPlaceOver);
}

TEST(WipeModel, BorderOnWords) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        ForWidths(1, [&](int width) {
            Scene scene = MakeScene({Words(), Words(), Key(), Words()}, AnyLayout(width));
            VaryKey(scene);
            ExpectBorderWipe(compositor, style, scene, AnyBorder(), OneIn(8) ? RandomFrom<int>(0, 1) : -1);
        });
    });
}

TEST(WipeModel, BorderOnPairs) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        ForWidths(1, [&](int width) {
            Scene scene = MakeScene({Pairs(), Pairs(), Key(), Pairs()}, AnyLayout(width));
            VaryAlpha(scene);
            VaryKey(scene);
            ExpectBorderWipe(compositor, style, scene, AnyBorder(), OneIn(8) ? RandomFrom<int>(0, 1) : -1);
        });
    });
}

// All keys under edges from a thousandth of a step to many times the key's range.
TEST(WipeModel, BorderUnderEveryKey) {
    const auto anyWidth = [] {
        return OneIn(6) ? 0.0 : std::pow(10.0, RandomFrom<int>(-3000, 4000) / 1000.0);
    };
    OnEveryPath([&](Zan::ZanCompositor& compositor, const Machine&, int style) {
        for (int round = 0; round < (kSanitized ? 4 : 60); ++round) {
            composite_model::Border border = AnyBorder();
            border.softnessA = anyWidth();
            border.width = anyWidth();
            border.softnessB = anyWidth();
            Layout layout = AnyLayout(256);
            layout.height = 1;
            Scene scene = OneIn(2) ? MakeScene({Words(), Words(), Key(), Words()}, layout)
                                   : MakeScene({Pairs(), Pairs(), Key(), Pairs()}, layout);
            auto* const key = static_cast<std::uint8_t*>(scene.views[2].GetMemoryPointer(0));
            for (int g = 0; g < 256; ++g) {
                key[g] = static_cast<std::uint8_t>(g);
            }
            ExpectBorderWipe(compositor, style, scene, border);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// Rows of the key are taken two at a time, and run out before those of the picture where it has no more.
TEST(WipeModel, BorderOnPairsByWordsOfTheKey) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        ForWidths(1, [&](int width) {
            Scene scene = MakeScene({Pairs(), Pairs(), Key(Zan::k16Bits), Pairs()}, AnyLayout(width));
            VaryAlpha(scene);
            ExpectBorderWipe(compositor, style, scene, AnyBorder());
        });
    });
}

// A key of two bytes whose values lie close together, so that single steps of 65535 show.
TEST(WipeModel, BorderOnPairsBySingleStepsOfWords) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        for (int round = 0; round < (kSanitized ? 1 : 10); ++round) {
            Scene scene = MakeScene({Pairs(), Pairs(), Key(Zan::k16Bits), Pairs()}, AnyLayout(66));
            FencedMemory& key = scene.pictures[2]->ColourMemory();
            const std::uint8_t high = RandomByte();
            for (std::size_t i = 1; i < key.Length(); i += 2) {
                key.Data()[i] = high;
            }
            composite_model::Border border = AnyBorder();
            border.softnessA = RandomFrom<int>(0, 100) / 100.0;
            border.width = RandomFrom<int>(0, 100) / 100.0;
            border.softnessB = RandomFrom<int>(0, 100) / 100.0;
            border.position = (high + 0.5) / 255;
            ExpectBorderWipe(compositor, style, scene, border);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// All 65,536 keys of two bytes, in the rows of the key that are read.
TEST(WipeModel, BorderUnderEveryWordOfTheKey) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        for (int round = 0; round < (kSanitized ? 1 : 2); ++round) {
            Scene scene;
            for (const Format& format :
                 {Format::YCrCb(256, 256, Zan::k422), Format::YCrCb(256, 256, Zan::k422),
                  Format::Grey(256, 512).Bits(Zan::k16Bits), Format::YCrCb(256, 256, Zan::k422)}) {
                scene.pictures.push_back(std::make_unique<Picture>(format));
                scene.views.emplace_back(*scene.pictures.back());
            }
            std::uint8_t* const key = scene.pictures[2]->ColourMemory().Data();
            for (int g = 0; g < 65536; ++g) {
                std::uint8_t* const at = key + g / 256 * 1024 + g % 256 * 2;
                at[0] = static_cast<std::uint8_t>(g % 256);
                at[1] = static_cast<std::uint8_t>(g / 256);
            }
            composite_model::Border border = AnyBorder();
            border.position = RandomFrom<int>(1000, 9000) / 10000.0;
            border.softnessA = std::pow(10.0, RandomFrom<int>(-2000, 2500) / 1000.0);
            border.softnessB = std::pow(10.0, RandomFrom<int>(-2000, 2500) / 1000.0);
            ExpectBorderWipe(compositor, style, scene, border);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// Other keys pass unasked: pictures, and alpha of four bytes. On words they are read a byte a pixel, on pairs
// as words of two bytes.
TEST(WipeModel, BorderWithAnyKey) {
    Format threeBytes = Format::Rgb(0, 0);
    threeBytes.sampling = Zan::k444;
    const Format keys[] = {Format::Rgb(0, 0), Format::YCrCb(0, 0, Zan::k4224), Key(Zan::k32Bits), threeBytes,
                           Format::YCrCb(0, 0, Zan::k4444)};
    OnEveryPath([&](Zan::ZanCompositor& compositor, const Machine&, int style) {
        for (const Format& key : keys) {
            for (const int width : {1, 2, 7, 34}) {
                Layout layout = AnyLayout(width);
                Scene onPairs = MakeScene({Pairs(), Pairs(), key, Pairs()}, layout);
                VaryAlpha(onPairs);
                ExpectBorderWipe(compositor, style, onPairs, AnyBorder());
                Scene onWords = MakeScene({Words(), Words(), key, Words()}, layout);
                ExpectBorderWipe(compositor, style, onWords, AnyBorder());
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
        // A key of two bytes on words.
        Scene scene = MakeScene({Words(), Words(), Key(Zan::k16Bits), Words()}, AnyLayout(23));
        ExpectBorderWipe(compositor, style, scene, AnyBorder());
    });
}

// A width below 0 lets the zones overlap; the first one wins.
TEST(WipeModel, BorderOfNegativeWidth) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        for (int round = 0; round < (kSanitized ? 2 : 20); ++round) {
            composite_model::Border border = AnyBorder();
            border.softnessA = RandomFrom<int>(10, 1000) / 10.0;
            border.softnessB = RandomFrom<int>(10, 1000) / 10.0;
            // Neither softness is used up, so that both ends are those of their sources.
            border.width = -RandomFrom<int>(1, 99) / 100.0 * std::min(border.softnessA, border.softnessB);
            const bool pairs = OneIn(2);
            Scene scene =
                pairs ? MakeScene({Pairs(), Pairs(), Key(AnyOf({Zan::k8Bits, Zan::k16Bits})), Pairs()},
                                  AnyLayout(30))
                      : MakeScene({Words(), Words(), Key(), Words()}, AnyLayout(30));
            ExpectBorderWipe(compositor, style, scene, border);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// Widths that come to nothing or less count as 0: d is at one of its ends, e1 is beyond it, and all is srcA.
TEST(WipeModel, BorderOfNoTotal) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        for (const double width : {-20.0, -50.0, -1e6}) {
            composite_model::Border border = AnyBorder();
            border.softnessA = border.softnessB = 10;
            border.width = width;
            border.position = 100.5 / 255;  // lies between two keys
            Scene onWords = MakeScene({Words(), Words(), Key(), Words()}, AnyLayout(30));
            ExpectBorderWipe(compositor, style, onWords, border);
            Scene onPairs = MakeScene({Pairs(), Pairs(), Key(), Pairs()}, AnyLayout(30));
            ExpectBorderWipe(compositor, style, onPairs, border);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// Rows that are wide enough to be written around the cache.
TEST(WipeModel, WideRowsAroundTheCache) {
    StreamingOnEveryTarget([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {0, 1, 2}) {
            for (int round = 0; round < (kSanitized ? 2 : 20); ++round) {
                const int width = 300 + RandomFrom<int>(0, 400);
                SCOPED_TRACE(::testing::Message() << "style " << style << ", width " << width);
                Scene words = MakeScene({Words(), Words(), Key(), Words()}, AnyLayout(width));
                VaryKey(words);
                ExpectSoftWipe(compositor, machine, style, words, -1);
                ExpectBorderWipe(compositor, style, words, AnyBorder());
                Scene pairs = MakeScene({Pairs(), Pairs(), Key(), Pairs()}, AnyLayout(width));
                VaryAlpha(pairs);
                VaryKey(pairs);
                ExpectSoftWipe(compositor, machine, style, pairs, -1);
                ExpectBorderWipe(compositor, style, pairs, AnyBorder());
                Scene wordKey = MakeScene({Pairs(), Pairs(), Key(Zan::k16Bits), Pairs()}, AnyLayout(width));
                ExpectBorderWipe(compositor, style, wordKey, AnyBorder());
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    });
}

// Every combination of planes that are there and are not, without memory or without a channel.
TEST(WipeModel, EveryCombinationOfAlphaPlanes) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        for (int combination = 0; combination < 27; ++combination) {
            const int state[] = {combination % 3, combination / 3 % 3, combination / 9};
            const auto format = [&](int i) {
                return Format::YCrCb(0, 0, state[i] == 0 ? Zan::k422 : Zan::k4224);
            };
            for (const bool bordered : {false, true}) {
                Scene scene = MakeScene({format(0), format(1), Key(), format(2)}, AnyLayout(21));
                for (std::size_t i = 0; i < 3; ++i) {
                    if (state[i] == 1) {
                        DropAlpha(*scene.pictures[i == 2 ? 3 : i]);
                    }
                }
                (*scene.pictures[1])
                    ->SetAlphaChannelDescription(AnyOf({Zan::kAlphaOpaque, Zan::kAlphaVarying}));
                if (bordered) {
                    ExpectBorderWipe(compositor, style, scene, AnyBorder());
                } else {
                    ExpectSoftWipe(compositor, machine, style, scene, -1);
                }
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    });
}

}  // namespace
