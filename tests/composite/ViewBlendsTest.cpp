#include "composite/Shot.h"

using namespace composite_test;
using Zan::ImageView;
using Zan::ZanCompositor;

namespace {

// ---- CrossDissolve ----

TEST(DissolveOfViews, FormatsThatDoNotGoTogether) {
    const Format rgb = Format::Rgb(16, 4), grey = Format::Grey(16, 4);
    struct Case {
        Format a, b, dst;
        Zan::Long32 status;
    };
    const Case cases[] = {{rgb, rgb, rgb, 0},
                          {kPairs, kPairsAndAlpha, kPairs, 0},
                          {kPairsAndAlpha, kPairs, kPairsAndAlpha, 0},
                          {rgb, rgb, kPairs, 4},
                          {rgb, kPairs, rgb, 4},
                          {kPairsAndAlpha, rgb, rgb, 4},
                          {kThreeBytes, kThreeBytes, kThreeBytes, 4},
                          {grey, grey, grey, 4}};
    OnEveryMachine([&](ZanCompositor& compositor, const Machine&) {
        for (const Case& c : cases) {
            for (const int style : AllStyles()) {
                Shot a(c.a), b(c.b), dst(c.dst);
                const Bytes before = dst.picture.Colour();
                EXPECT_EQ(compositor.CrossDissolve(a.view, b.view, dst.view, 0.5, Style(style)), c.status);
                EXPECT_EQ(dst.picture.Colour() == before, c.status != 0);
            }
        }
    });
}

TEST(DissolveOfViews, NothingToDissolve) {
    ZanCompositor compositor;
    for (int lacking = 0; lacking < 3; ++lacking) {
        Shot shots[] = {Shot(kPairsAndAlpha), Shot(kPairsAndAlpha), Shot(kPairsAndAlpha)};
        shots[lacking].DropMemory(0);
        const Bytes before = shots[2].picture.Colour(), alphaBefore = shots[2].picture.Alpha();
        EXPECT_EQ(
            compositor.CrossDissolve(shots[0].view, shots[1].view, shots[2].view, 0.5, Zan::kBestAvailable),
            1);
        EXPECT_EQ(shots[2].picture.Colour(), before);
        EXPECT_EQ(shots[2].picture.Alpha(), alphaBefore);
        shots[lacking].view = ImageView();
        EXPECT_EQ(
            compositor.CrossDissolve(shots[0].view, shots[1].view, shots[2].view, 0.5, Zan::kBestAvailable),
            1);
    }
}

TEST(DissolveOfViews, StylesThatNobodyKnowsDissolveInDoubles) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            Shot a(Format::Rgb(5, 2)), b(Format::Rgb(5, 2)), dst(Format::Rgb(5, 2));
            a.Paint({255, 255, 255, 255});
            b.Paint({0, 0, 0, 0});
            // 255 / 512 is below a half; as a weight it is 1 of 256 or 0 (0.998) of 255.
            ASSERT_EQ(compositor.CrossDissolve(a.view, b.view, dst.view, 1.0 / 512, Style(style)), 0);
            const bool isVector =
                style == Zan::kInt_MMXorSIMD || style == Zan::kFlp_SIMD || style == Zan::kBestAvailable;
            const bool isOf256 = style == Zan::kFP || (isVector && machine.HasSse2());
            const std::uint8_t expected = isOf256 ? 1 : 0;
            EXPECT_EQ(dst.At(1, 4), (Word{expected, expected, expected, expected})) << style;
        }
    });
}

// White on white: the last pixels of the MMX and SSE forms are one lower.
TEST(DissolveOfViews, BlocksAndWhatLiesBeyond) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine& machine) {
        const std::ptrdiff_t block = machine.HasSse2() ? 1 : machine.TakesSse() ? 16 : 8;
        for (const auto sampling : {Zan::k4444, Zan::k422}) {
            const std::ptrdiff_t words = 37;
            const Format format =
                sampling == Zan::k4444 ? Format::Rgb(37, 2) : Format::YCrCb(74, 2, sampling);
            Shot a(format), b(format), dst(format);
            a.Paint({255, 255, 255, 255});
            b.Paint({255, 255, 255, 255});
            ASSERT_EQ(compositor.CrossDissolve(a.view, b.view, dst.view, 0.3, Zan::kBestAvailable), 0);
            for (std::ptrdiff_t i = 0; i < words; ++i) {
                const std::uint8_t expected = i < words / block * block ? 255 : 254;
                ASSERT_EQ(dst.At(1, i), (Word{expected, expected, expected, expected})) << i;
            }
        }
    });
}

TEST(DissolveOfViews, OddPixelOf422KeepsItsColourButNotItsAlpha) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const int style : AllStyles()) {
            Shot a(kPairsAndAlpha), b(kPairsAndAlpha), dst(kPairsAndAlpha);
            a.Paint({10, 20, 30, 40});
            b.Paint({10, 20, 30, 40});
            a.PaintAlpha(77);
            b.PaintAlpha(77);
            dst.Paint({1, 2, 3, 4});
            dst.PaintAlpha(5);
            dst.view = Part(dst.picture, 2, 1, 5, 2);
            ASSERT_EQ(compositor.CrossDissolve(a.view, b.view, dst.view, 1, Style(style)), 0);
            EXPECT_EQ(dst.At(1, 1), (Word{10, 20, 30, 40}));
            EXPECT_EQ(dst.At(1, 2), (Word{1, 2, 3, 4}));
            EXPECT_EQ(dst.AlphaAt(1, 4), 77);
            EXPECT_EQ(dst.AlphaAt(1, 5), 5);
            EXPECT_EQ(dst.AlphaAt(1, -1), 5);
            EXPECT_EQ(dst.At(2, 0), (Word{1, 2, 3, 4}));
        }
    });
}

TEST(DissolveOfViews, AlphaPlanesThatAreMissing) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const int style : AllStyles()) {
            for (const auto sampling : {Zan::k422, Zan::k4224}) {
                for (const auto samplingB : {Zan::k422, Zan::k4224}) {
                    for (const Zan::ULong32 width : {3U, 70U}) {
                        Shot a(Format::YCrCb(width, 3, sampling)), b(Format::YCrCb(width, 3, samplingB)),
                            dst(Format::YCrCb(width, 3, Zan::k4224));
                        a.PaintAlpha(100);
                        b.PaintAlpha(30);
                        dst.PaintAlpha(1);
                        ASSERT_EQ(compositor.CrossDissolve(a.view, b.view, dst.view, 0.25, Style(style)), 0);
                        // Weights 64 and 192: 64 * 100 + 192 * 30 + 128 is 12288; with 255 for b 55488, with
                        // 255 for a 22208.
                        const unsigned expected = sampling == Zan::k4224
                                                      ? (samplingB == Zan::k4224 ? 48 : 216)
                                                      : (samplingB == Zan::k4224 ? 86 : 255);
                        for (const std::ptrdiff_t x :
                             {std::ptrdiff_t{0}, static_cast<std::ptrdiff_t>(width) - 1}) {
                            EXPECT_EQ(dst.AlphaAt(2, x), expected) << style << " " << x;
                        }
                    }
                }
            }
            Shot a(kPairsAndAlpha), b(kPairsAndAlpha), dst(kPairs);
            a.Paint({9, 9, 9, 9});
            EXPECT_EQ(compositor.CrossDissolve(a.view, b.view, dst.view, 1, Style(style)), 0);
            EXPECT_EQ(dst.At(3, 7), (Word{9, 9, 9, 9}));
        }
    });
}

// A missing source on either side, for every byte and a weight of every kind.
TEST(DissolveOfViews, AlphaAgainstFullOfEveryByte) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const unsigned weight : {0U, 1U, 64U, 127U, 128U, 129U, 200U, 255U, 256U}) {
            for (const bool isA : {false, true}) {
                Shot with(Format::YCrCb(256, 1, Zan::k4224)), without(Format::YCrCb(256, 1, Zan::k422)),
                    dst(Format::YCrCb(256, 1, Zan::k4224));
                for (unsigned i = 0; i < 256; ++i) {
                    with.picture.AlphaMemory().Data()[i] = static_cast<std::uint8_t>(i);
                }
                ASSERT_EQ(
                    compositor.CrossDissolve(isA ? with.view : without.view, isA ? without.view : with.view,
                                             dst.view, weight / 256.0, Zan::kBestAvailable),
                    0);
                for (unsigned i = 0; i < 256; ++i) {
                    const unsigned a = isA ? i : 255, b = isA ? 255 : i;
                    ASSERT_EQ(dst.AlphaAt(0, i), (weight * a + (256 - weight) * b + 128) / 256)
                        << i << " weight " << weight << " of a: " << isA;
                }
            }
        }
    });
}

TEST(DissolveOfViews, FadesBeyondTheirRange) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const int style : AllStyles()) {
            Shot a(kPairsAndAlpha), b(kPairsAndAlpha), dst(kPairsAndAlpha);
            a.Paint({1, 2, 3, 4});
            a.PaintAlpha(5);
            b.Paint({6, 7, 8, 9});
            b.PaintAlpha(10);
            for (const double fade : {-0.5, 0.0}) {
                ASSERT_EQ(compositor.CrossDissolve(a.view, b.view, dst.view, fade, Style(style)), 0);
                EXPECT_EQ(dst.At(2, 3), (Word{6, 7, 8, 9}));
                EXPECT_EQ(dst.AlphaAt(2, 3), 10);
            }
            for (const double fade : {1.0, 1.5}) {
                ASSERT_EQ(compositor.CrossDissolve(a.view, b.view, dst.view, fade, Style(style)), 0);
                EXPECT_EQ(dst.At(2, 3), (Word{1, 2, 3, 4}));
                EXPECT_EQ(dst.AlphaAt(2, 3), 5);
            }
        }
    });
}

// ---- CompositeTwoSources ----

TEST(TwoSourcesOfViews, BlendByTheSecondOnesAlpha) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const int style : AllStyles()) {
            Shot a(Format::Rgb(6, 2)), b(Format::Rgb(6, 2)), dst(Format::Rgb(6, 2));
            a.Paint({10, 20, 30, 40});
            b.Paint({200, 100, 50, 128});
            dst.Paint({1, 1, 1, 1});
            const bool isScalar = style == Zan::kFlp || style == Zan::kFP;
            const bool isVector = style == Zan::kInt_MMXorSIMD || style == Zan::kBestAvailable;
            const Zan::Long32 status = compositor.CompositeTwoSources(a.view, b.view, dst.view, Style(style));
            EXPECT_EQ(status, isScalar || isVector ? 0 : 100) << style;
            // 127 and 128 parts of 255: 26870, 15340, 10210, 21464 over 255.
            const Word made = {105, 60, 40, 84}, old = {1, 1, 1, 1};
            EXPECT_EQ(dst.At(1, 3), status == 0 ? made : old);
            EXPECT_EQ(dst.At(1, 4), isScalar ? made : old) << "beyond the last block of four";
        }
    });
}

TEST(TwoSourcesOfViews, FewerThanFourWords) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        Shot a(Format::Rgb(3, 2)), b(Format::Rgb(3, 2)), dst(Format::Rgb(3, 2));
        const Bytes before = dst.picture.Colour();
        EXPECT_EQ(compositor.CompositeTwoSources(a.view, b.view, dst.view, Zan::kBestAvailable), 0);
        EXPECT_EQ(dst.picture.Colour(), before);
    });
}

// No format is refused. What a row holds follows from the first source: of 4:2:2 with alpha three bytes a
// pixel, which runs on into the next row.
TEST(TwoSourcesOfViews, WordsOfOtherFormats) {
    ZanCompositor compositor;
    const struct {
        Format format;
        std::ptrdiff_t words;
    } cases[] = {{Format::YCrCb(16, 3, Zan::k422), 8},  {Format::YCrCb(16, 3, Zan::k4224), 12},
                 {Format::YCrCb(16, 3, Zan::k444), 12}, {Format::Grey(16, 3), 4},
                 {Format::Grey(15, 3).Padded(1), 3},    {Format::Rgb(16, 3).Bits(Zan::k16Bits), 32}};
    for (const auto& c : cases) {
        Shot a(c.format), b(c.format), dst(c.format);
        a.Paint({0, 0, 0, 0});
        b.Paint({9, 8, 7, 255});
        dst.Paint({1, 2, 3, 4});
        ImageView row = Part(dst.picture, 0, 0, static_cast<Zan::Long32>(c.format.width), 1);
        ASSERT_EQ(compositor.CompositeTwoSources(a.view, b.view, row, Zan::kFP), 0);
        EXPECT_EQ(dst.At(0, c.words - 1), (Word{9, 8, 7, 255}));
        EXPECT_EQ(dst.At(0, c.words), (Word{1, 2, 3, 4}));
    }
}

// The same at the end of the memory, where there is no next row.
TEST(TwoSourcesOfViews, RowsEndWithTheMemory) {
    ZanCompositor compositor;
    const Format format = Format::YCrCb(16, 2, Zan::k4224);
    for (const auto style : {Zan::kFP, Zan::kBestAvailable}) {
        Shot a(format), b(format), dst(format);
        b.Paint({9, 8, 7, 255});
        ASSERT_EQ(compositor.CompositeTwoSources(a.view, b.view, dst.view, style), 0);
        EXPECT_EQ(dst.At(1, 7), (Word{9, 8, 7, 255}));
    }
}

// ---- CompositeTwoSrcAndAlpha ----

TEST(AlphaOfViews, OneKeyForEveryWord) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const int style : AllStyles()) {
            for (const bool pairs : {false, true}) {
                const Format format = pairs ? Format::YCrCb(26, 2, Zan::k422) : Format::Rgb(13, 2);
                Shot a(format), b(format), dst(format), key(Format::Grey(pairs ? 26 : 13, 2));
                a.Paint({10, 20, 30, 40});
                b.Paint({200, 100, 50, 128});
                dst.Paint({1, 1, 1, 1});
                for (std::size_t i = 0; i < key.picture.ColourMemory().Length(); ++i) {
                    key.picture.ColourMemory().Data()[i] = i % 2 == 0 ? 128 : 255;
                }
                const std::ptrdiff_t odd = pairs ? 0 : 1;  // the second row of 13 keys starts with an odd one
                const Zan::Long32 status =
                    compositor.CompositeTwoSrcAndAlpha(a.view, b.view, key.view, dst.view, Style(style));
                EXPECT_EQ(status, style == Zan::kFlp_SIMD ? 100 : 0);
                const bool isVector = style == Zan::kInt_MMXorSIMD || style == Zan::kBestAvailable;
                const Word old = {1, 1, 1, 1}, half = {105, 60, 40, 84}, full = {200, 100, 50, 128};
                EXPECT_EQ(dst.At(1, 6 + odd), status == 0 ? half : old);
                EXPECT_EQ(dst.At(1, 5 + odd), status == 0 ? full : old);
                // Beyond the last block of eight.
                EXPECT_EQ(dst.At(1, 12), status != 0 || isVector ? old : (odd == 0 ? half : full));
            }
        }
    });
}

TEST(AlphaOfViews, TheKeyCountsInTheCommonSize) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        Shot a(Format::Rgb(32, 4)), b(Format::Rgb(32, 4)), dst(Format::Rgb(32, 4)), key(Format::Grey(16, 2));
        std::fill_n(key.picture.ColourMemory().Data(), 32, std::uint8_t{255});
        b.Paint({7, 7, 7, 7});
        dst.Paint({1, 1, 1, 1});
        ASSERT_EQ(compositor.CompositeTwoSrcAndAlpha(a.view, b.view, key.view, dst.view, Zan::kBestAvailable),
                  0);
        EXPECT_EQ(dst.At(1, 15), (Word{7, 7, 7, 7}));
        EXPECT_EQ(dst.At(1, 16), (Word{1, 1, 1, 1}));
        EXPECT_EQ(dst.At(2, 0), (Word{1, 1, 1, 1}));
        key.DropMemory(0);
        EXPECT_EQ(compositor.CompositeTwoSrcAndAlpha(a.view, b.view, key.view, dst.view, Zan::kFP), 1);
    });
}

}  // namespace
