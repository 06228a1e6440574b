// What the wipes on views promise in their corners, in worked numbers.

#include <limits>

#include "composite/ModelRuns.h"

using namespace composite_test;
using Zan::ImageView;
using Zan::ZanCompositor;

namespace {

const Format kRgb = Format::Rgb(256, 2);
const Format kPairs = Format::YCrCb(256, 2, Zan::k422);
const Format kPairsAlpha = Format::YCrCb(256, 2, Zan::k4224);

void Paint(FencedMemory& memory, int value) {
    std::fill_n(memory.Data(), memory.Length(), static_cast<std::uint8_t>(value));
}

/// A wipe whose key is the number of the column.
struct Four {
    Picture a, b, key, dst;
    ImageView viewA{a}, viewB{b}, viewKey{key}, viewDst{dst};

    Four(const Format& ofA, const Format& ofB, const Format& ofKey, const Format& ofDst)
        : a(ofA), b(ofB), key(ofKey), dst(ofDst) {
        for (std::size_t i = 0; i < key.ColourMemory().Length(); ++i) {
            key.ColourMemory().Data()[i] = static_cast<std::uint8_t>(i % 256);
        }
    }
    explicit Four(const Format& ofAll) : Four(ofAll, ofAll, Format::Grey(256, 2), ofAll) {}

    Zan::Long32 Soft(ZanCompositor& by, double position, double softness, int style) {
        return by.CompositeTwoSrcAndAlphaGradient(viewA, viewB, viewKey, viewDst, position, softness,
                                                  Style(style));
    }
    Zan::Long32 Bordered(ZanCompositor& by, double position, double softA, double width, double softB,
                         std::uint32_t colour, int style) {
        return by.CompositeTwoSrcAndAlphaGradientWithBorder(viewA, viewB, viewKey, viewDst, position, softA,
                                                            width, softB, colour, Style(style));
    }
    /// Byte i of pixel x (of four-byte pixels).
    int Out(std::size_t x, std::size_t i) { return dst.ColourMemory().Data()[4 * x + i]; }
    /// Byte i of the pair at pixel x.
    int OutOfPair(std::size_t x, std::size_t i) { return dst.ColourMemory().Data()[2 * x + i]; }
    int OutAlpha(std::size_t x) { return dst.AlphaMemory().Data()[x]; }
};

TEST(WipeEdgeCases, HardAtTheEnds) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (const double softness : {0.0, -5.0}) {
            Four wipe(kRgb);
            ASSERT_EQ(wipe.Soft(compositor, 1, softness, style), 0);
            for (std::size_t i = 0; i < 1024; ++i) {
                ASSERT_EQ(wipe.dst.ColourMemory().Data()[i], wipe.a.ColourMemory().Data()[i]) << i;
            }
            ASSERT_EQ(wipe.Soft(compositor, 0, softness, style), 0);
            for (std::size_t i = 0; i < 1024; ++i) {
                const Picture& from = i < 4 ? wipe.a : wipe.b;
                ASSERT_EQ(wipe.dst.ColourMemory().Data()[i],
                          const_cast<Picture&>(from).ColourMemory().Data()[i])
                    << i;
            }
        }
    });
}

TEST(WipeEdgeCases, OneStepPerKeyValueAtSoftness254) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Four wipe(kPairsAlpha);
        Paint(wipe.a.AlphaMemory(), 0);
        Paint(wipe.b.AlphaMemory(), 255);
        // At position 254/509 the ramp runs over the whole key: the threshold is 0, the gain 1/255, which is
        // 256 of 65280.
        ASSERT_EQ(wipe.Soft(compositor, 254.0 / 509, 254, style), 0);
        for (std::size_t x = 0; x < 256; ++x) {
            ASSERT_EQ(wipe.OutAlpha(x), static_cast<int>(x));
        }
    });
}

TEST(WipeEdgeCases, SoftnessIsLimited) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (const Format& format : {kRgb, kPairsAlpha}) {
            Four wipe(format);
            ASSERT_EQ(wipe.Soft(compositor, 0.7, 40000, style), 0);
            const Bytes colour = wipe.dst.Colour(), alpha = wipe.dst.Alpha();
            ASSERT_EQ(wipe.Soft(compositor, 0.7, 32768, style), 0);
            EXPECT_EQ(colour, wipe.dst.Colour());
            EXPECT_EQ(alpha, wipe.dst.Alpha());
        }
    });
}

TEST(WipeEdgeCases, OpaqueSecondSourceKeepsItsPlaneUnreadInSoftWipesOnly) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Four wipe(kPairsAlpha);
        Paint(wipe.a.AlphaMemory(), 10);
        Paint(wipe.b.AlphaMemory(), 20);
        wipe.b->SetAlphaChannelDescription(Zan::kAlphaOpaque);
        ASSERT_EQ(wipe.Soft(compositor, 0, 0, style), 0);
        EXPECT_EQ(wipe.OutAlpha(0), 10);
        EXPECT_EQ(wipe.OutAlpha(255), 255);
        // The border's form reads it.
        ASSERT_EQ(wipe.Bordered(compositor, 0.5, 0, 10, 0, 0, style), 0);
        EXPECT_EQ(wipe.OutAlpha(0), 10);
        EXPECT_EQ(wipe.OutAlpha(255), 20);
    });
}

// Three zones with hard edges. S = 51 and position 1/2 give a threshold of -51/255 + 306/255 * 0.5 = 0.4,
// that is key 102. Zone 1 ends at (g - 102) * 255 = 1, zone 2 at 1 + 255 * 51: keys 103 to 153 are the
// border.
TEST(WipeEdgeCases, HardBorder) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Four wipe(kRgb);
        ASSERT_EQ(wipe.Bordered(compositor, 0.5, 0, 51, 0, 0x40302010U, style), 0);
        for (std::size_t x = 0; x < 256; ++x) {
            for (std::size_t i = 0; i < 4; ++i) {
                const int a = wipe.a.ColourMemory().Data()[4 * x + i];
                const int b = wipe.b.ColourMemory().Data()[4 * x + i];
                const int border = static_cast<int>(0x10 * (i + 1));
                ASSERT_EQ(wipe.Out(x, i), x < 103 ? a : x < 154 ? border : b) << x;
            }
        }
    });
}

TEST(WipeEdgeCases, BordersSwayFromSourceToSource) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (const Format& format : {kRgb, kPairsAlpha}) {
            Four wipe(format);
            ASSERT_EQ(wipe.Bordered(compositor, 1, 20, 10, 20, 0xFF123456U, style), 0);
            const std::size_t bytes = format.sampling == Zan::k4444 ? 1024 : 512;
            for (std::size_t i = 0; i < bytes; ++i) {
                ASSERT_EQ(wipe.dst.ColourMemory().Data()[i], wipe.a.ColourMemory().Data()[i]) << i;
            }
            // At 0 the key's lowest value is the last of the ramp: d = (0 + 50) * 255 / 50 = 255.
            ASSERT_EQ(wipe.Bordered(compositor, 0, 20, 10, 20, 0xFF123456U, style), 0);
            for (std::size_t i = 0; i < bytes; ++i) {
                ASSERT_EQ(wipe.dst.ColourMemory().Data()[i], wipe.b.ColourMemory().Data()[i]) << i;
            }
        }
    });
}

// No widths at all: S is 0, total 2/255, e1 and e2 127.5. The threshold at 1/2 is 127.5: keys below it are
// srcA, keys above it srcB.
TEST(WipeEdgeCases, BorderOfNoWidths) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Four wipe(kRgb);
        ASSERT_EQ(wipe.Bordered(compositor, 0.5, 0, 0, 0, 0xFFFFFFFFU, style), 0);
        for (std::size_t x = 0; x < 256; ++x) {
            for (std::size_t i = 0; i < 4; ++i) {
                ASSERT_EQ(wipe.Out(x, i), (x < 128 ? wipe.a : wipe.b).ColourMemory().Data()[4 * x + i]) << x;
            }
        }
    });
}

/// What a border of black becomes under a key of one value, 255 times the threshold being `edge`, where it
/// holds `share` of 256 and the rest is of the first source or the second.
void ExpectShare(ZanCompositor& compositor, int style, int key, double edge, double width, bool ofA,
                 int share) {
    SCOPED_TRACE(::testing::Message() << "key " << key << ", edge " << edge << ", width " << width);
    // edge = -S + (255 + S) * position, and S the width alone.
    const double position = (edge + width) / (255 + width);
    for (const Format& format : {Format::Rgb(32, 1), Format::YCrCb(32, 1, Zan::k422)}) {
        Four wipe(format, format, Format::Grey(32, 1), format);
        Paint(wipe.key.ColourMemory(), key);
        ASSERT_EQ(wipe.Bordered(compositor, position, 0, width, 0, 0, style), 0);
        const bool pairs = format.sampling == Zan::k422;
        const std::uint8_t* const source = (ofA ? wipe.a : wipe.b).ColourMemory().Data();
        for (std::size_t i = 0; i < wipe.dst.ColourMemory().Length(); ++i) {
            const int black = !pairs ? 0 : i % 2 == 0 ? 128 : 16;
            ASSERT_EQ(wipe.dst.ColourMemory().Data()[i],
                      ((256 - share) * source[i] + share * black + 128) >> 8)
                << i;
        }
    }
}

// No softness is a 255th of a key value: a threshold that lies 100 parts of 255 of that below a key leaves
// the key in a zone, 255 d / e1 being 100. total is 51 + 2/255, where the other end has its zone.
TEST(WipeEdgeCases, EdgesWithoutSoftnessAreA255thWide) {
    constexpr double kPart = 100.0 / (255 * 255), kTotal = 51 + 2.0 / 255;
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        ExpectShare(compositor, style, 99, 100 - kPart, 51, true, 0);
        ExpectShare(compositor, style, 100, 100 - kPart, 51, true, 100);
        ExpectShare(compositor, style, 101, 100 - kPart, 51, true, 256);
        ExpectShare(compositor, style, 199, 200 - kTotal + kPart, 51, false, 256);
        ExpectShare(compositor, style, 200, 200 - kTotal + kPart, 51, false, 100);
        ExpectShare(compositor, style, 201, 200 - kTotal + kPart, 51, false, 0);
    });
}

// Without any width two such zones meet in the middle: total is 2/255, e1 = e2 = 127.5. `above` 255ths over
// the edge d is 127.5 * above, and the shares are 255 * above and 510 - 255 * above.
TEST(WipeEdgeCases, EdgesOfABorderOfNoWidthsMeetInTheMiddle) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        const auto expect = [&](double above, bool ofA, int share) {
            ExpectShare(compositor, style, 100, 100 - above / 255, 0, ofA, share);
        };
        expect(100.0 / 255, true, 100);
        expect(252.0 / 255, true, 252);
        expect(258.0 / 255, false, 252);
        expect(410.0 / 255, false, 100);
        expect(2.01, false, 0);
        expect(-0.01, true, 0);
    });
}

TEST(WipeEdgeCases, MiddleOfTheBorder) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Four wipe(kRgb);
        // S = 255, position 1/2: threshold 0, d is the key; e1 = 100, e2 = 155.
        ASSERT_EQ(wipe.Bordered(compositor, 0.5, 100, 55, 100, 0x000000FFU, style), 0);
        const auto a = [&](std::size_t x) { return int{wipe.a.ColourMemory().Data()[4 * x]}; };
        const auto b = [&](std::size_t x) { return int{wipe.b.ColourMemory().Data()[4 * x]}; };
        EXPECT_EQ(wipe.Out(0, 0), a(0));
        // m = truncate(255 * 50 / 100 + 0.5) = 128.
        EXPECT_EQ(wipe.Out(50, 0), (128 * a(50) + 128 * 255 + 128) >> 8);
        // m = 255, which is not all of 256.
        EXPECT_EQ(wipe.Out(100, 0), (a(100) + 255 * 255 + 128) >> 8);
        EXPECT_EQ(wipe.Out(101, 0), 255);
        EXPECT_EQ(wipe.Out(154, 0), 255);
        EXPECT_EQ(wipe.Out(155, 0), (b(155) + 255 * 255 + 128) >> 8);
        // m = truncate(255 * 50 / 100 + 0.5) = 128.
        EXPECT_EQ(wipe.Out(205, 0), (128 * b(205) + 128 * 255 + 128) >> 8);
        EXPECT_EQ(wipe.Out(255, 0), b(255));
    });
}

TEST(WipeEdgeCases, ColourOfTheBorder) {
    struct Case {
        std::uint32_t colour;
        int cb, y, cr;
    };
    // From 0.439 B - (0.148 R + 0.291 G) + 128.5, 0.098 B + 0.257 R + 0.504 G + 16.5,
    // 0.439 R - 0.368 G - 0.071 B + 128.5, truncated.
    constexpr Case kCases[] = {
        {0x12FFFFFFU, 128, 235, 128}, {0xFF000000U, 128, 16, 128},
        {0x00FF0000U, 90, 82, 240},   // red: 90.76, 82.035, 240.445
        {0x0000FF00U, 54, 145, 34},   // green: 54.295, 145.02, 34.66
        {0x000000FFU, 240, 41, 110},  // blue: 240.445, 41.49, 110.395
    };
    OnEveryPath([&](ZanCompositor& compositor, const Machine&, int style) {
        for (const Case& c : kCases) {
            const int alpha = static_cast<int>(c.colour >> 24);
            // The border is all that is seen: 255 times the threshold is -32768 + 33023 / 2 = -16256.5, so
            // that d = (g + 16256.5) * 255 / 32768, about the middle.
            Four words(Format::YCrCb(256, 2, Zan::k4444));
            ASSERT_EQ(words.Bordered(compositor, 0.5, 0, 32768, 0, c.colour, style), 0);
            EXPECT_EQ(words.Out(99, 0), c.cb);
            EXPECT_EQ(words.Out(99, 1), c.y);
            EXPECT_EQ(words.Out(99, 2), c.cr);
            EXPECT_EQ(words.Out(99, 3), alpha);
            Four pairs(kPairsAlpha);
            ASSERT_EQ(pairs.Bordered(compositor, 0.5, 0, 32768, 0, c.colour, style), 0);
            EXPECT_EQ(pairs.OutOfPair(98, 0), c.cb);
            EXPECT_EQ(pairs.OutOfPair(98, 1), c.y);
            EXPECT_EQ(pairs.OutOfPair(98, 2), c.cr);
            EXPECT_EQ(pairs.OutOfPair(98, 3), c.y);
            EXPECT_EQ(pairs.OutAlpha(99), alpha);
            // One picture of RGB among them, and the colour stays as it is.
            for (int other = 0; other < 3; ++other) {
                const Format yuv = Format::YCrCb(256, 2, Zan::k4444);
                Four mixed(other == 0 ? kRgb : yuv, other == 1 ? kRgb : yuv, Format::Grey(256, 2),
                           other == 2 ? kRgb : yuv);
                ASSERT_EQ(mixed.Bordered(compositor, 0.5, 0, 32768, 0, c.colour, style), 0);
                for (std::size_t i = 0; i < 4; ++i) {
                    EXPECT_EQ(mixed.Out(99, i), static_cast<int>(c.colour >> (8 * i) & 0xFF));
                }
            }
        }
    });
}

// One column of pairs: no colour, but alpha.
TEST(WipeEdgeCases, BorderOnOneColumn) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (const auto bits : {Zan::k8Bits, Zan::k16Bits}) {
            Four wipe(kPairsAlpha, kPairsAlpha, Format::Grey(256, 2).Bits(bits), kPairsAlpha);
            wipe.viewB = Part(wipe.b, 0, 0, 1, 2);
            const Bytes before = wipe.dst.Colour();
            ASSERT_EQ(wipe.Bordered(compositor, 0.5, 0, 32768, 0, 0x77000000U, style), 0);
            EXPECT_EQ(before, wipe.dst.Colour());
            EXPECT_EQ(wipe.OutAlpha(0), 0x77);
            EXPECT_EQ(wipe.OutAlpha(256), 0x77);
        }
    });
}

// With both sources' planes missing, alpha is full and the key is not looked at.
TEST(WipeEdgeCases, BorderWithoutAlphaInTheSources) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Four wipe(kPairs, kPairs, Format::Grey(256, 2), kPairsAlpha);
        ASSERT_EQ(wipe.Bordered(compositor, 0.5, 0, 32768, 0, 0x77000000U, style), 0);
        for (std::size_t x = 0; x < 512; ++x) {
            EXPECT_EQ(wipe.OutAlpha(x), 255);
        }
    });
}

// Two bytes of key a pixel step two rows a row: row 1 of the picture has row 2 of the key, and where the
// key's plane ends the picture keeps its colour.
TEST(WipeEdgeCases, WordsOfTheKeyStepTwoRows) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        const Format pairs = Format::YCrCb(8, 4, Zan::k422);
        Four wipe(pairs, pairs, Format::Grey(8, 4).Bits(Zan::k16Bits), pairs);
        for (std::size_t i = 0; i < 64; ++i) {
            // Rows of 0, 0xFFFF, 0xFFFF and 0.
            wipe.key.ColourMemory().Data()[i] = i / 16 == 1 || i / 16 == 2 ? 255 : 0;
        }
        const Bytes before = wipe.dst.Colour();
        ASSERT_EQ(wipe.Bordered(compositor, 0.5, 0, 1, 0, 0, style), 0);
        const std::size_t guard = wipe.dst.ColourMemory().GuardLength();
        const Bytes after = wipe.dst.Colour();
        for (std::size_t i = 0; i < 64; ++i) {
            const int row = static_cast<int>(i / 16);
            const int expected = row == 0   ? wipe.a.ColourMemory().Data()[i]
                                 : row == 1 ? wipe.b.ColourMemory().Data()[i]
                                            : before[guard + i];
            ASSERT_EQ(after[guard + i], expected) << i;
        }
    });
}

TEST(WipeEdgeCases, BorderRefuses) {
    const Format grey = Format::Grey(256, 2), planar = [] {
        Format format = Format::YCrCb(256, 2, Zan::k420);
        format.packing = Zan::kPlanar;
        format.order = Zan::kYCbCrPlanes;
        return format;
    }();
    Format threeBytes = kRgb;
    threeBytes.sampling = Zan::k444;
    struct Case {
        Format a, b, key, dst;
    };
    const Case cases[] = {
        {kPairs, kRgb, grey, kRgb},
        {kRgb, kPairs, grey, kRgb},
        {kRgb, kRgb, grey, kPairsAlpha},
        {kPairs, kPairs, grey, kRgb},
        {threeBytes, threeBytes, grey, threeBytes},
        {planar, planar, grey, planar},
        // Keys of one or two bytes a pixel that are no alpha: 4:2:2 has 2, 4:2:0 1.5, which is 2.
        {kRgb, kRgb, kPairs, kRgb},
        {kPairs, kPairs, kPairs, kPairs},
        {kPairs, kPairs, planar, kPairs},
    };
    OnEveryPath([&](ZanCompositor& compositor, const Machine&, int style) {
        int number = 0;
        for (const Case& c : cases) {
            SCOPED_TRACE(number++);
            Four wipe(c.a, c.b, c.key, c.dst);
            const Bytes colour = wipe.dst.Colour(), alpha = wipe.dst.Alpha();
            EXPECT_EQ(wipe.Bordered(compositor, 0.5, 1, 2, 3, 4, style), 4);
            EXPECT_EQ(colour, wipe.dst.Colour());
            EXPECT_EQ(alpha, wipe.dst.Alpha());
        }
    });
}

TEST(WipeEdgeCases, BorderOnViewsOfNothing) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (const Format& format : {kRgb, kPairsAlpha}) {
            for (int missing = 0; missing < 4; ++missing) {
                for (const bool noMemory : {false, true}) {
                    Four wipe(format);
                    Picture* const pictures[] = {&wipe.a, &wipe.b, &wipe.key, &wipe.dst};
                    ImageView* const views[] = {&wipe.viewA, &wipe.viewB, &wipe.viewKey, &wipe.viewDst};
                    if (noMemory) {
                        for (auto& channel : (*pictures[missing])->GetImageDescriptor()->channels) {
                            channel.memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
                        }
                    } else {
                        *views[missing] = ImageView();
                    }
                    const Bytes colour = wipe.dst.Colour(), alpha = wipe.dst.Alpha();
                    EXPECT_EQ(wipe.Bordered(compositor, 0.5, 1, 2, 3, 4, style), 1) << missing;
                    EXPECT_EQ(colour, wipe.dst.Colour());
                    EXPECT_EQ(alpha, wipe.dst.Alpha());
                }
            }
        }
    });
}

// Whatever widths and positions are handed in, nothing leaves the pictures and nothing is undefined.
TEST(WipeEdgeCases, WidthsThatAreNoWidths) {
    const double wild[] = {0.0,
                           -1.0,
                           1e300,
                           -1e300,
                           1e18,
                           -50.0,
                           50.0,
                           std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::quiet_NaN(),
                           -100.0,
                           1e-300};
    const auto any = [&wild] { return wild[RandomFrom<std::size_t>(0, 11)]; };
    OnEveryPath([&](ZanCompositor& compositor, const Machine&, int style) {
        for (int round = 0; round < 60; ++round) {
            const Format format = AnyOf({Format::Rgb(21, 2), Format::YCrCb(21, 2, Zan::k4224)});
            const Format key = Format::Grey(21, 4).Bits(AnyOf({Zan::k8Bits, Zan::k16Bits}));
            Four wipe(format, format, key, format);
            const Bytes colour = wipe.dst.Colour(), alpha = wipe.dst.Alpha();
            EXPECT_EQ(wipe.Bordered(compositor, any(), any(), any(), any(), 0x12345678U, style), 0);
            EXPECT_TRUE(wipe.dst.GuardsHold(colour, alpha));
            Four soft(format, format, Format::Grey(21, 4), format);
            const Bytes softColour = soft.dst.Colour(), softAlpha = soft.dst.Alpha();
            EXPECT_EQ(soft.Soft(compositor, any(), any(), style), 0);
            EXPECT_TRUE(soft.dst.GuardsHold(softColour, softAlpha));
        }
    });
}

}  // namespace
