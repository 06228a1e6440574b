// The blends on views against their model: all paths and styles, all widths, views anywhere in their
// pictures.

#include "composite/ModelRuns.h"

using namespace composite_test;

namespace {

constexpr Zan::AggregateChannelSamplingEnum kPairSamplings[] = {Zan::k422, Zan::k4224};

Format Pairs(Zan::AggregateChannelSamplingEnum sampling) {
    return Format::YCrCb(0, 0, sampling);
}
Format Words() {
    return OneIn(2) ? Format::Rgb(0, 0) : Format::YCrCb(0, 0, Zan::k4444);
}
// A word a pixel: of pixels of more bytes the first words of a row are taken.
Format WordsOrMore() {
    return OneIn(10) ? Format::Rgb(0, 0).Bits(AnyOf({Zan::k16Bits, Zan::k32Bits})) : Words();
}

double AnyFade() {
    return OneIn(3) ? AnyOf({-0.5, 0.0, 0.5, 1.0, 1.5, 0.25, 1 / 512.0, 511 / 512.0, 0.9999})
                    : RandomFrom<int>(0, 100000) / 100000.0;
}

Layout AnyLayout(int width) {
    Layout layout;
    layout.width = width;
    layout.height = RandomFrom<int>(1, 4);
    return layout;
}

// -1, or sometimes one of the sources.
int MaybeInPlace(int sources) {
    return OneIn(8) ? RandomFrom<int>(0, sources - 1) : -1;
}

void ExpectDissolve(Zan::ZanCompositor& compositor, const Machine& machine, int style, Scene& scene,
                    int inPlaceOver = -1) {
    const double fade = AnyFade();
    SCOPED_TRACE(::testing::Message() << "fade " << fade);
    ExpectAsModel(
        compositor, scene,
        [&](Zan::ZanCompositor& by, std::vector<Zan::ImageView>& v) {
            return by.CrossDissolve(v[0], v[1], v[2], fade, Style(style));
        },
        [&](std::vector<Operand>& o) {
            return composite_model::CrossDissolve(o[0], o[1], o[2], fade, style, ProcessorOf(machine));
        },
        inPlaceOver);
}

TEST(BlendModel, CrossDissolveOfWords) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        ForWidths(1, [&](int width) {
            Layout layout = AnyLayout(width);
            // Bytes beyond whole words are taken off, so rows slant; upwards they would leave the picture.
            layout.pitchUnit = OneIn(3) ? 1 : 4;
            layout.bottomLeft = layout.pitchUnit == 4;
            Scene scene = MakeScene({WordsOrMore(), WordsOrMore(), WordsOrMore()}, layout);
            ExpectDissolve(compositor, machine, style, scene, MaybeInPlace(2));
        });
    });
}

TEST(BlendModel, CrossDissolveOfPairsWithAndWithoutAlpha) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        ForWidths(1, [&](int width) {
            std::vector<Format> formats;
            for (int i = 0; i < 3; ++i) {
                formats.push_back(Pairs(kPairSamplings[RandomFrom<std::size_t>(0, 1)]));
            }
            Scene scene = MakeScene(formats, AnyLayout(width));
            for (auto& picture : scene.pictures) {
                if ((*picture)->GetChannelSampling() == Zan::k4224 && OneIn(4)) {
                    DropAlpha(*picture);
                }
            }
            ExpectDissolve(compositor, machine, style, scene, MaybeInPlace(2));
        });
    });
}

// Every combination of planes that are there and are not, without memory or without a channel.
TEST(BlendModel, CrossDissolveWithEveryCombinationOfAlphaPlanes) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        for (int combination = 0; combination < 27; ++combination) {
            std::vector<Format> formats;
            int digits = combination;
            for (int i = 0; i < 3; ++i, digits /= 3) {
                formats.push_back(Pairs(digits % 3 == 0 ? Zan::k422 : Zan::k4224));
            }
            Scene scene = MakeScene(formats, AnyLayout(37));
            digits = combination;
            for (int i = 0; i < 3; ++i, digits /= 3) {
                if (digits % 3 == 1) {
                    DropAlpha(*scene.pictures[static_cast<std::size_t>(i)]);
                }
            }
            ExpectDissolve(compositor, machine, style, scene);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

void ExpectTwoSources(Zan::ZanCompositor& compositor, int style, Scene& scene, int inPlaceOver = -1) {
    ExpectAsModel(
        compositor, scene,
        [&](Zan::ZanCompositor& by, std::vector<Zan::ImageView>& v) {
            return by.CompositeTwoSources(v[0], v[1], v[2], Style(style));
        },
        [&](std::vector<Operand>& o) {
            return composite_model::CompositeTwoSources(o[0], o[1], o[2], style);
        },
        inPlaceOver);
}

// The first source's format says how long a row is; no format is refused.
Format AnyFirst() {
    Format sixteen = Format::Rgb(0, 0);
    sixteen.bits = Zan::k16Bits;
    Format threeBytes = Format::Rgb(0, 0);
    threeBytes.sampling = Zan::k444;
    Format planar = Format::YCrCb(0, 0, Zan::k422);
    planar.packing = Zan::kPlanar;
    planar.order = Zan::kYCbCrPlanes;
    return AnyOf({Words(), Words(), Words(), Pairs(Zan::k422), Pairs(Zan::k4224), Format::Grey(0, 0), sixteen,
                  threeBytes, planar});
}

// Rows of one length may be read as rows of another: every row has room for the longest, and one picture
// lends its format to all, so that rows do not meet.
Layout RoomyLayout(int width) {
    Layout layout = AnyLayout(width);
    layout.spareColumns = static_cast<Zan::ULong32>(width) + 8;
    return layout;
}

TEST(BlendModel, CompositeTwoSources) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        ForWidths(1, [&](int width) {
            const Format format = AnyFirst();
            Scene scene = MakeScene({format, format, format}, RoomyLayout(width));
            Polarise(scene.pictures[1]->ColourMemory());
            ExpectTwoSources(compositor, style, scene, MaybeInPlace(2));
        });
    });
}

// A source of four bytes a pixel with others of two: rows of the others are as long as those of the first.
TEST(BlendModel, CompositeTwoSourcesOfFormatsThatDiffer) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        ForWidths(1, [&](int width) {
            Scene scene =
                MakeScene({AnyOf({Format::Rgb(0, 0), Pairs(Zan::k422), Pairs(Zan::k4224)}), Words(), Words()},
                          RoomyLayout(width));
            ExpectTwoSources(compositor, style, scene);
        });
    });
}

void ExpectTwoSrcAndAlpha(Zan::ZanCompositor& compositor, const Machine& machine, int style, Scene& scene,
                          int inPlaceOver = -1) {
    ExpectAsModel(
        compositor, scene,
        [&](Zan::ZanCompositor& by, std::vector<Zan::ImageView>& v) {
            return by.CompositeTwoSrcAndAlpha(v[0], v[1], v[2], v[3], Style(style));
        },
        [&](std::vector<Operand>& o) {
            return composite_model::CompositeTwoSrcAndAlpha(o[0], o[1], o[2], o[3], style,
                                                            ProcessorOf(machine));
        },
        inPlaceOver);
}

TEST(BlendModel, CompositeTwoSrcAndAlpha) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        ForWidths(1, [&](int width) {
            const Format format = AnyFirst();
            Layout layout = RoomyLayout(width);
            // The integer form takes whole words of a pitch, the others take it in bytes.
            layout.pitchUnit = OneIn(3) ? 1 : 4;
            layout.key = 2;
            Scene scene = MakeScene({format, format, Format::Grey(0, 0), format}, layout);
            Polarise(scene.pictures[2]->ColourMemory());
            if (OneIn(2)) {
                PutRuns(scene.pictures[2]->ColourMemory());
            }
            ExpectTwoSrcAndAlpha(compositor, machine, style, scene, MaybeInPlace(2));
        });
    });
}

// Any view will do for a key: its first bytes are taken.
TEST(BlendModel, CompositeTwoSrcAndAlphaWithAnyKey) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        for (const int width : {1, 8, 29, 40}) {
            Scene scene = MakeScene({Words(), Words(), AnyFirst(), Words()}, RoomyLayout(width));
            ExpectTwoSrcAndAlpha(compositor, machine, style, scene);
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// Three bytes a pixel of 4:2:2:4 are more than its colour has: rows run into those that follow, which are
// written later.
TEST(BlendModel, RowsThatRunIntoEachOther) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        ForWidths(1, [&](int width) {
            Layout layout = AnyLayout(width);
            layout.spareLines = 4;
            layout.bottomLeft = false;  // where the first row lies at the end of its plane
            Scene two = MakeScene({Pairs(Zan::k4224), Pairs(Zan::k4224), Pairs(Zan::k4224)}, layout);
            ExpectTwoSources(compositor, style, two);
            layout.key = 2;
            Scene keyed = MakeScene(
                {Pairs(Zan::k4224), Pairs(Zan::k4224), Format::Grey(0, 0), Pairs(Zan::k4224)}, layout);
            ExpectTwoSrcAndAlpha(compositor, machine, style, keyed);
        });
    });
}

void ExpectAoverB(Zan::ZanCompositor& compositor, int style, int width) {
    Layout layout = AnyLayout(width);
    layout.pitchUnit = OneIn(3) ? 1 : 4;
    layout.bottomLeft = layout.pitchUnit == 4;
    Scene scene = MakeScene({Pairs(Zan::k4224), Pairs(Zan::k4224), Pairs(Zan::k4224)}, layout);
    Polarise(scene.pictures[0]->AlphaMemory());
    (*scene.pictures[1])->SetPixelShaping(Zan::kShaped2);
    (*scene.pictures[2])->SetPixelShaping(Zan::kShaped2);
    ExpectAsModel(
        compositor, scene,
        [&](Zan::ZanCompositor& by, std::vector<Zan::ImageView>& v) {
            return by.AoverB(v[0], v[1], v[2], Style(style));
        },
        [&](std::vector<Operand>& o) { return composite_model::AoverB(o[0], o[1], o[2]); },
        OneIn(8) ? 1 : -1);
}

TEST(BlendModel, AoverB) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine&, int style) {
        ForWidths(1, [&](int width) { ExpectAoverB(compositor, style, width); });
    });
}

void ExpectUnshapedAoverB(Zan::ZanCompositor& compositor, const Machine& machine, int style, int width) {
    const auto rgb = [] { return Format::Rgb(0, 0).Bits(OneIn(12) ? Zan::k16Bits : Zan::k8Bits); };
    Scene scene = MakeScene({rgb(), rgb(), rgb()}, AnyLayout(width));
    Polarise(scene.pictures[0]->ColourMemory());
    Polarise(scene.pictures[1]->ColourMemory());
    (*scene.pictures[2])->SetPixelShaping(Zan::kShaped);
    (*scene.pictures[1])
        ->SetAlphaChannelDescription(AnyOf({Zan::kAlphaOpaque, Zan::kAlphaOpaque, Zan::kAlphaVarying,
                                            Zan::kAlphaTransparent, Zan::kNoAlpha}));
    (*scene.pictures[0])->SetAlphaChannelDescription(AnyOf({Zan::kAlphaOpaque, Zan::kAlphaVarying}));
    const double fade = AnyFade();
    SCOPED_TRACE(::testing::Message() << "fade " << fade);
    ExpectAsModel(
        compositor, scene,
        [&](Zan::ZanCompositor& by, std::vector<Zan::ImageView>& v) {
            return by.CompositeUnshapedAoverBwithFadeOfA(v[0], v[1], v[2], fade, Style(style));
        },
        [&](std::vector<Operand>& o) {
            return composite_model::UnshapedAoverBwithFadeOfA(o[0], o[1], o[2], fade, style,
                                                              ProcessorOf(machine));
        });
}

TEST(BlendModel, UnshapedAoverBwithFadeOfA) {
    OnEveryPath([](Zan::ZanCompositor& compositor, const Machine& machine, int style) {
        ForWidths(1, [&](int width) { ExpectUnshapedAoverB(compositor, machine, style, width); });
    });
}

// Rows that are wide enough to be written around the cache.
TEST(BlendModel, WideRowsAroundTheCache) {
    StreamingOnEveryTarget([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const int style : {0, 1, 2}) {
            for (int round = 0; round < (kSanitized ? 2 : 20); ++round) {
                const int width = 300 + RandomFrom<int>(0, 400);
                SCOPED_TRACE(::testing::Message() << "style " << style << ", width " << width);
                Scene dissolve = MakeScene({WordsOrMore(), WordsOrMore(), WordsOrMore()}, AnyLayout(width));
                ExpectDissolve(compositor, machine, style, dissolve);
                Scene pairs =
                    MakeScene({Pairs(Zan::k4224), Pairs(Zan::k4224), Pairs(Zan::k4224)}, AnyLayout(width));
                ExpectDissolve(compositor, machine, style, pairs, MaybeInPlace(2));
                Scene two = MakeScene({Words(), Words(), Words()}, AnyLayout(width));
                ExpectTwoSources(compositor, style, two);
                Layout layout = AnyLayout(width);
                layout.key = 2;
                Scene keyed = MakeScene({Words(), Words(), Format::Grey(0, 0), Words()}, layout);
                ExpectTwoSrcAndAlpha(compositor, machine, style, keyed);
                ExpectAoverB(compositor, style, width);
                ExpectUnshapedAoverB(compositor, machine, style, width);
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    });
}

}  // namespace
