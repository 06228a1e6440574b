#include <array>

#include "composite/Pictures.h"

using namespace composite_test;
using Zan::ImageView;
using Zan::ZanCompositor;

namespace {

using Word = std::array<std::uint8_t, 4>;

/// A picture and the view on all of it.
struct Shot {
    Picture picture;
    ImageView view;

    explicit Shot(const Format& format) : picture(format), view(picture) {}
    Zan::Image& Of() { return *picture; }

    /// All bytes of the first plane, word after word.
    void Paint(const Word& word) {
        std::uint8_t* bytes = picture.ColourMemory().Data();
        for (std::size_t i = 0; i < picture.ColourMemory().Length(); ++i) {
            bytes[i] = word[i % 4];
        }
    }
    void PaintAlpha(std::uint8_t value) {
        std::fill_n(picture.AlphaMemory().Data(), picture.AlphaMemory().Length(), value);
    }
    Word At(std::ptrdiff_t row, std::ptrdiff_t word) const {
        const PlaneModel model = picture.Model(const_cast<ImageView&>(view));
        return {model.At(row, 4 * word), model.At(row, 4 * word + 1), model.At(row, 4 * word + 2),
                model.At(row, 4 * word + 3)};
    }
    std::uint8_t AlphaAt(std::ptrdiff_t row, std::ptrdiff_t x) const {
        return picture.Model(const_cast<ImageView&>(view), 3).At(row, x);
    }
    void DropMemory(Zan::ULong32 channel) {
        picture->GetImageDescriptor()->channels[channel].memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
    }
};

const Format kPairs = Format::YCrCb(16, 4, Zan::k422);
const Format kPairsAndAlpha = Format::YCrCb(16, 4, Zan::k4224);
const Format kThreeBytes = Format::YCrCb(16, 4, Zan::k444);

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

// ---- AoverB ----

/// Three pictures of the kind that it asks for.
struct Overlay {
    Shot a, b, dst;

    explicit Overlay(Zan::ULong32 width = 16, Zan::ULong32 height = 4)
        : a(Format::YCrCb(width, height, Zan::k4224)),
          b(Format::YCrCb(width, height, Zan::k4224)),
          dst(Format::YCrCb(width, height, Zan::k4224)) {
        a.Of().SetPixelShaping(Zan::kUnshaped);
        b.Of().SetPixelShaping(Zan::kShaped2);
        dst.Of().SetPixelShaping(Zan::kShaped2);
    }
    Zan::Long32 Run(ZanCompositor& compositor, Zan::ProcessingStyleEnum style = Zan::kBestAvailable) {
        return compositor.AoverB(a.view, b.view, dst.view, style);
    }
};

TEST(AoverB, FormatsAndMemory) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (int operand = 0; operand < 3; ++operand) {
            const auto refuse = [&](Zan::Long32 status, auto&& spoil) {
                Overlay overlay;
                Shot* const shots[] = {&overlay.a, &overlay.b, &overlay.dst};
                spoil(*shots[operand]);
                const Bytes colour = overlay.dst.picture.Colour(), alpha = overlay.dst.picture.Alpha();
                for (const int style : AllStyles()) {
                    EXPECT_EQ(overlay.Run(compositor, Style(style)), status) << operand;
                }
                EXPECT_EQ(overlay.dst.picture.Colour(), colour);
                EXPECT_EQ(overlay.dst.picture.Alpha(), alpha);
            };
            for (const auto shaped : {Zan::kUnshaped, Zan::kShaped, Zan::kShaped2}) {
                if (shaped != (operand == 0 ? Zan::kUnshaped : Zan::kShaped2)) {
                    refuse(4, [&](Shot& shot) { shot.Of().SetPixelShaping(shaped); });
                }
            }
            refuse(4, [](Shot& shot) { shot.Of().GetImageDescriptor()->channelSampling = Zan::k422; });
            refuse(4, [](Shot& shot) { shot.Of().GetImageDescriptor()->colorSpace = Zan::kRGB; });
            refuse(4, [](Shot& shot) {
                auto& channels = shot.Of().GetImageDescriptor()->channels;
                channels.push_back(channels.back());
            });
            refuse(1, [](Shot& shot) { shot.DropMemory(0); });
            refuse(1, [](Shot& shot) { shot.DropMemory(3); });
            refuse(1, [](Shot& shot) { shot.view = ImageView(); });
        }
    });
}

TEST(AoverB, TakesItsOffsetsOff) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        Overlay overlay;
        overlay.a.Paint({16, 235, 240, 16});
        overlay.a.PaintAlpha(255);
        ASSERT_EQ(overlay.Run(compositor), 0);
        EXPECT_EQ(overlay.dst.At(3, 7), (Word{144, 219, 112, 0}));
    });
}

TEST(AoverB, OneRowOfAlphaForAll) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const Zan::ULong32 width : {16U, 300U}) {
            Overlay overlay(width, 4);
            overlay.a.Paint({128, 26, 129, 36});
            overlay.b.Paint({128, 216, 228, 216});
            overlay.a.PaintAlpha(0);
            std::fill_n(overlay.a.picture.AlphaMemory().Data(), width, std::uint8_t{255});
            overlay.dst.PaintAlpha(7);
            ASSERT_EQ(overlay.Run(compositor), 0);
            for (std::ptrdiff_t row = 0; row < 4; ++row) {
                for (const std::ptrdiff_t word :
                     {std::ptrdiff_t{0}, static_cast<std::ptrdiff_t>(width) / 2 - 1}) {
                    EXPECT_EQ(overlay.dst.At(row, word), (Word{0, 10, 1, 20})) << row;
                }
                EXPECT_EQ(overlay.dst.AlphaAt(row, 0), row == 0 ? 255 : 7);
                EXPECT_EQ(overlay.dst.AlphaAt(row, static_cast<std::ptrdiff_t>(width) - 1),
                          row == 0 ? 255 : 7);
            }
        }
    });
}

// A plane of one row of alpha is all that it needs.
TEST(AoverB, AlphaPlanesOfOneRow) {
    ZanCompositor compositor;
    Overlay overlay;
    for (Shot* shot : {&overlay.a, &overlay.b, &overlay.dst}) {
        shot->Of().GetImageDescriptor()->channels[3].memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>(
            new Zan::AlignedMemoryBuffer(16, 1, 64, 1, Zan::kNoAliasWorkAround));
        std::fill_n(static_cast<std::uint8_t*>(shot->view.GetMemoryPointer(3)), 16, std::uint8_t{255});
    }
    overlay.a.Paint({130, 26, 129, 36});
    ASSERT_EQ(overlay.Run(compositor), 0);
    EXPECT_EQ(overlay.dst.At(3, 7), (Word{2, 10, 1, 20}));
}

TEST(AoverB, AnOddWidthDoesAWholePair) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        Overlay overlay;
        overlay.a.Paint({128, 26, 129, 36});
        overlay.a.PaintAlpha(255);
        overlay.dst.Paint({1, 2, 3, 4});
        overlay.dst.PaintAlpha(7);
        overlay.dst.view = Part(overlay.dst.picture, 0, 1, 5, 2);
        ASSERT_EQ(overlay.Run(compositor), 0);
        EXPECT_EQ(overlay.dst.At(1, 2), (Word{0, 10, 1, 20}));
        EXPECT_EQ(overlay.dst.At(1, 3), (Word{1, 2, 3, 4}));
        EXPECT_EQ(overlay.dst.AlphaAt(0, 5), 255);
        EXPECT_EQ(overlay.dst.AlphaAt(0, 6), 7);
        EXPECT_EQ(overlay.dst.AlphaAt(1, 0), 7);
    });
}

// Each byte of A over each byte of B at each alpha, against the words of the formula.
TEST(AoverB, EverySampleAtEveryAlpha) {
    for (std::size_t i = 0; i < Zan::simd::kTargetCount; ++i) {
        const auto target = static_cast<Zan::simd::Target>(i);
        if (!Zan::simd::IsTargetAvailable(target)) {
            continue;
        }
        const Zan::simd::ScopedTarget limit(target);
        ZanCompositor compositor;
        Overlay overlay(512, 256);
        // Columns are alphas, rows are bytes of B.
        for (unsigned x = 0; x < 512; ++x) {
            overlay.a.picture.AlphaMemory().Data()[x] = static_cast<std::uint8_t>(x / 2);
        }
        for (unsigned y = 0; y < 256; ++y) {
            std::fill_n(overlay.b.picture.ColourMemory().Data() + std::size_t{y} * 1024, 1024,
                        static_cast<std::uint8_t>(y));
        }
        for (int a = 0; a < 256; ++a) {
            const auto byte = static_cast<std::uint8_t>(a);
            overlay.a.Paint({byte, byte, byte, byte});
            ASSERT_EQ(overlay.Run(compositor), 0);
            const std::uint8_t* out = overlay.dst.picture.ColourMemory().Data();
            for (int b = 0; b < 256; ++b) {
                for (int alpha = 0; alpha < 256; ++alpha) {
                    for (int k = 0; k < 4; ++k) {
                        const int zero = k % 2 == 0 ? 128 : 16;
                        const int x = (255 - alpha) * (b - zero) + alpha * (a - zero);
                        // Twice the quotient, cut toward zero, plus one, halved downwards.
                        const int twice = x < 0 ? -(-2 * x / 255) : 2 * x / 255;
                        const int half = twice + 1 < 0 ? -((-twice) / 2) : (twice + 1) / 2;
                        const int at = b * 1024 + alpha * 4 + k;
                        if (out[at] != (half & 255)) {
                            FAIL() << TargetName(target) << ": " << a << " over " << b << " at " << alpha
                                   << ", byte " << k << ": " << unsigned{out[at]} << ", expected "
                                   << (half & 255);
                        }
                    }
                }
            }
        }
    }
}

// ---- CompositeUnshapedAoverBwithFadeOfA ----

struct Faded {
    Shot a, b, dst;

    explicit Faded(Zan::ULong32 width = 10, bool isStraight = false)
        : a(Format::Rgb(width, 2)), b(Format::Rgb(width, 2)), dst(Format::Rgb(width, 2)) {
        dst.Of().SetPixelShaping(Zan::kShaped);
        b.Of().SetAlphaChannelDescription(isStraight ? Zan::kAlphaOpaque : Zan::kAlphaVarying);
    }
    Zan::Long32 Run(ZanCompositor& compositor, double fade, int style) {
        return compositor.CompositeUnshapedAoverBwithFadeOfA(a.view, b.view, dst.view, fade, Style(style));
    }
};

bool TakesTail(int style, const Machine& machine) {
    return machine.HasSse2() &&
           (style == Zan::kInt_MMXorSIMD || style == Zan::kFlp_SIMD || style == Zan::kBestAvailable);
}

TEST(FadedAoverB, FormatsAndMemory) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (int operand = 0; operand < 3; ++operand) {
            const auto refuse = [&](Zan::Long32 status, auto&& spoil) {
                Faded faded;
                Shot* const shots[] = {&faded.a, &faded.b, &faded.dst};
                spoil(*shots[operand]);
                const Bytes colour = faded.dst.picture.Colour();
                for (const int style : AllStyles()) {
                    EXPECT_EQ(faded.Run(compositor, 0.5, style), status) << operand;
                }
                EXPECT_EQ(faded.dst.picture.Colour(), colour);
            };
            for (const auto shaped : {Zan::kUnshaped, Zan::kShaped, Zan::kShaped2}) {
                if (shaped != (operand == 2 ? Zan::kShaped : Zan::kUnshaped)) {
                    refuse(4, [&](Shot& shot) { shot.Of().SetPixelShaping(shaped); });
                }
            }
            refuse(4, [](Shot& shot) { shot.Of().GetImageDescriptor()->colorSpace = Zan::kYCrCb; });
            refuse(4, [](Shot& shot) { shot.Of().GetImageDescriptor()->channelSampling = Zan::k444; });
            refuse(1, [](Shot& shot) { shot.DropMemory(0); });
            refuse(1, [](Shot& shot) { shot.view = ImageView(); });
        }
    });
}

// Fade 0.5 is a weight of 128, alpha 200 becomes 100 and leaves 155.
TEST(FadedAoverB, HalfFaded) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (const bool isStraight : {false, true}) {
                Faded faded(10, isStraight);
                faded.a.Paint({250, 100, 0, 200});
                faded.b.Paint({60, 120, 255, 128});
                ASSERT_EQ(faded.Run(compositor, 0.5, style), 0);
                // Multiplied, B is 30, 60, 128: 155 parts of it and 100 of A are 29650, 19300, 19840, and of
                // 128 and 255 45340. As it is: 34300, 28600, 39525, and of 128 and 200 39840.
                const Word shaped = {116, 76, 78, 178}, straight = {135, 112, 155, 156};
                const Word onlyShaped = {30, 60, 128, 128}, onlyStraight = {60, 120, 255, 128};
                const bool tail = TakesTail(style, machine);
                for (std::ptrdiff_t x = 0; x < 10; ++x) {
                    EXPECT_EQ(faded.dst.At(1, x), tail && x >= 8 ? (isStraight ? onlyStraight : onlyShaped)
                                                                 : (isStraight ? straight : shaped))
                        << style << ", pixel " << x;
                }
            }
        }
    });
}

TEST(FadedAoverB, WithoutFadeAndInFull) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine& machine) {
        for (const int style : AllStyles()) {
            for (const double fade : {-3.0, 0.0, 1.0, 2.0}) {
                Faded faded(10);
                faded.a.Paint({250, 100, 0, 255});
                faded.b.Paint({60, 120, 255, 128});
                ASSERT_EQ(faded.Run(compositor, fade, style), 0);
                EXPECT_EQ(faded.dst.At(1, 7), fade < 1 ? (Word{30, 60, 128, 128}) : (Word{250, 100, 0, 255}));
                // The tail's alpha at full fade is 1 where A's has its highest bit: 254 parts of B and one of
                // A are 7870, 15340, 32512, and of 128 and 255 32767.
                if (TakesTail(style, machine)) {
                    EXPECT_EQ(faded.dst.At(1, 8),
                              fade < 1 ? (Word{30, 60, 128, 128}) : (Word{31, 60, 127, 128}));
                }
            }
        }
    });
}

// Every alpha of A against every alpha of B, colours that differ.
TEST(FadedAoverB, EveryPairOfAlphas) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const bool isStraight : {false, true}) {
            for (const unsigned weight : {1U, 77U, 128U, 255U, 256U}) {
                for (unsigned alphaB = 0; alphaB < 256; alphaB += 5) {
                    Faded faded(256, isStraight);
                    const Word b = {static_cast<std::uint8_t>(alphaB * 7), 255, 0,
                                    static_cast<std::uint8_t>(alphaB)};
                    faded.b.Paint(b);
                    std::uint8_t* pixels = faded.a.picture.ColourMemory().Data();
                    for (std::size_t i = 0; i < 512; ++i) {
                        pixels[4 * i + 3] = static_cast<std::uint8_t>(i);
                    }
                    ASSERT_EQ(faded.Run(compositor, weight / 256.0, Zan::kBestAvailable), 0);
                    const PlaneModel in = faded.a.picture.Model(faded.a.view),
                                     out = faded.dst.picture.Model(faded.dst.view);
                    for (unsigned x = 0; x < 256; ++x) {
                        const unsigned share = (x * weight + 128) / 256;
                        for (unsigned k = 0; k < 4; ++k) {
                            const unsigned under = k == 3 || isStraight ? b[k] : Div255Round(b[k] * alphaB);
                            const unsigned over = k == 3 && !isStraight ? 255 : in.At(1, 4 * x + k);
                            ASSERT_EQ(out.At(1, 4 * x + k), Blend255(share, under, over))
                                << "alpha " << x << " over " << alphaB << ", weight " << weight << ", byte "
                                << k;
                        }
                    }
                }
            }
        }
    });
}

TEST(FadedAoverB, TheCommonPartOfUnequalSizes) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        Faded faded(24);
        faded.a.view = Part(faded.a.picture, 3, 0, 20, 2);
        faded.b.view = Part(faded.b.picture, 0, 1, 16, 1);
        faded.a.Paint({9, 8, 7, 255});
        faded.dst.Paint({1, 1, 1, 1});
        ASSERT_EQ(faded.Run(compositor, 1, Zan::kFP), 0);
        EXPECT_EQ(faded.dst.At(0, 15), (Word{9, 8, 7, 255}));
        EXPECT_EQ(faded.dst.At(0, 16), (Word{1, 1, 1, 1}));
        EXPECT_EQ(faded.dst.At(1, 0), (Word{1, 1, 1, 1}));
    });
}

}  // namespace
