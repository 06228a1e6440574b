// What the blends on views promise in their corners, in worked numbers.

#include <array>

#include "composite/ModelRuns.h"

using namespace composite_test;
using Zan::ImageView;
using Zan::ZanCompositor;

namespace {

constexpr int kVectorStyles[] = {Zan::kInt_MMXorSIMD, Zan::kFlp_SIMD, Zan::kBestAvailable};

/// Sets all bytes of a plane.
void Paint(FencedMemory& memory, int value) {
    std::fill_n(memory.Data(), memory.Length(), static_cast<std::uint8_t>(value));
}
/// Sets all words of a plane, from the low byte.
void PaintWords(FencedMemory& memory, std::array<int, 4> word) {
    for (std::size_t i = 0; i < memory.Length(); ++i) {
        memory.Data()[i] = static_cast<std::uint8_t>(word[i % 4]);
    }
}

/// Two sources and a destination with views on all of them.
struct Three {
    Picture a, b, dst;
    ImageView viewA{a}, viewB{b}, viewDst{dst};

    Three(const Format& ofA, const Format& ofB, const Format& ofDst) : a(ofA), b(ofB), dst(ofDst) {}
    explicit Three(const Format& ofAll) : Three(ofAll, ofAll, ofAll) {}

    int DstByte(std::size_t x, std::size_t y, std::size_t i) {
        return dst.ColourMemory().Data()[y * static_cast<std::size_t>(viewDst.GetPitch(0)) + 4 * x + i];
    }
    int DstAlpha(std::size_t x, std::size_t y) {
        return dst.AlphaMemory().Data()[y * static_cast<std::size_t>(viewDst.GetPitch(3)) + x];
    }
};

const Format kRgb = Format::Rgb(16, 4);
const Format kPairs = Format::YCrCb(16, 4, Zan::k422);
const Format kPairsAlpha = Format::YCrCb(16, 4, Zan::k4224);

TEST(BlendEdgeCases, TheRemainderOfTheDestinationKeepsItsContents) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Three t(Format::Rgb(16, 5), Format::Rgb(24, 3), Format::Rgb(40, 6));
        const Bytes before = t.dst.Colour();
        Paint(t.a.ColourMemory(), 0);
        Paint(t.b.ColourMemory(), 0);
        ASSERT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 0.5, Style(style)), 0);
        const Bytes after = t.dst.Colour();
        const std::size_t guard = t.dst.ColourMemory().GuardLength();
        for (std::size_t y = 0; y < 6; ++y) {
            for (std::size_t x = 0; x < 160; ++x) {
                const std::size_t at = guard + y * 160 + x;
                ASSERT_EQ(after[at], y < 3 && x < 64 ? 0 : before[at]) << x << ", " << y;
            }
        }
    });
}

TEST(BlendEdgeCases, FadeIsLimited) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (const double fade : {-0.5, 1.5}) {
            Three t(kRgb);
            ASSERT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, fade, Style(style)), 0);
            const std::uint8_t* const wanted = (fade < 0 ? t.b : t.a).ColourMemory().Data();
            for (std::size_t i = 0; i < t.dst.ColourMemory().Length(); ++i) {
                ASSERT_EQ(t.dst.ColourMemory().Data()[i], wanted[i]) << i;
            }
        }
    });
}

TEST(BlendEdgeCases, DissolvedAlphaWhereOnlyTheFirstSourceHasSome) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Three t(kPairsAlpha, kPairs, kPairsAlpha);
        ASSERT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 0.3, Style(style)), 0);
        const int w = 77;  // 0.3 * 256 + 0.5 = 77.3
        for (std::size_t i = 0; i < t.dst.AlphaMemory().Length(); ++i) {
            ASSERT_EQ(t.dst.AlphaMemory().Data()[i],
                      (w * t.a.AlphaMemory().Data()[i] + (256 - w) * 255 + 128) >> 8);
        }
    });
}

TEST(BlendEdgeCases, DissolvedAlphaWhereNoSourceHasAnyIsFull) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Three t(kPairs, kPairs, kPairsAlpha);
        ASSERT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 0.3, Style(style)), 0);
        for (std::size_t i = 0; i < t.dst.AlphaMemory().Length(); ++i) {
            ASSERT_EQ(t.dst.AlphaMemory().Data()[i], 255);
        }
    });
}

TEST(BlendEdgeCases, DissolvesIntoAPictureWithoutAlphaAreDoneAfterTheColour) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        // Sixteen words, which are a block of every form.
        const Format withAlpha = Format::YCrCb(32, 4, Zan::k4224), without = Format::YCrCb(32, 4, Zan::k422);
        Three t(withAlpha, withAlpha, without);
        ASSERT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 1.0, Style(style)), 0);
        EXPECT_TRUE(std::equal(t.a.ColourMemory().Data(), t.a.ColourMemory().Data() + 256,
                               t.dst.ColourMemory().Data()));
    });
}

TEST(BlendEdgeCases, DissolvesLeaveAnOddLastPixel) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Three t(kPairsAlpha);
        t.viewB = Part(t.b, 0, 0, 7, 4);
        const Bytes before = t.dst.Colour();
        Paint(t.a.ColourMemory(), 90);
        Paint(t.b.ColourMemory(), 90);
        Paint(t.a.AlphaMemory(), 70);
        Paint(t.b.AlphaMemory(), 70);
        Paint(t.dst.AlphaMemory(), 1);
        ASSERT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 0.0, Style(style)), 0);
        const Bytes after = t.dst.Colour();
        for (std::size_t y = 0; y < 4; ++y) {
            for (std::size_t i = 0; i < 32; ++i) {
                const std::size_t at = t.dst.ColourMemory().GuardLength() + 32 * y + i;
                ASSERT_EQ(after[at], i < 12 ? 90 : before[at]) << y << ", " << i;
            }
            for (std::size_t x = 0; x < 16; ++x) {
                ASSERT_EQ(t.DstAlpha(x, y), x < 7 ? 70 : 1) << x << ", " << y;
            }
        }
    });
}

TEST(BlendEdgeCases, AoverBTakesAlphaFromTheFirstRowAlone) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Three t(kPairsAlpha);
        t.b->SetPixelShaping(Zan::kShaped2);
        t.dst->SetPixelShaping(Zan::kShaped2);
        Paint(t.a.AlphaMemory(), 0);
        std::fill_n(t.a.AlphaMemory().Data(), 16, std::uint8_t{255});
        Paint(t.dst.AlphaMemory(), 3);
        PaintWords(t.a.ColourMemory(), {16, 235, 240, 16});
        ASSERT_EQ(compositor.AoverB(t.viewA, t.viewB, t.viewDst, Style(style)), 0);
        for (std::size_t y = 0; y < 4; ++y) {
            for (std::size_t x = 0; x < 8; ++x) {
                EXPECT_EQ(t.DstByte(x, y, 0), 144);  // 16 - 128 as a byte
                EXPECT_EQ(t.DstByte(x, y, 1), 219);
                EXPECT_EQ(t.DstByte(x, y, 2), 112);
                EXPECT_EQ(t.DstByte(x, y, 3), 0);
            }
            for (std::size_t x = 0; x < 16; ++x) {
                EXPECT_EQ(t.DstAlpha(x, y), y == 0 ? 255 : 3) << x << ", " << y;
            }
        }
    });
}

TEST(BlendEdgeCases, AoverBOfAnOddWidthDoesTheWholePair) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Three t(kPairsAlpha);
        t.b->SetPixelShaping(Zan::kShaped2);
        t.dst->SetPixelShaping(Zan::kShaped2);
        t.viewA = Part(t.a, 0, 0, 5, 2);
        Paint(t.a.AlphaMemory(), 255);
        Paint(t.a.ColourMemory(), 200);
        Paint(t.dst.ColourMemory(), 7);
        Paint(t.dst.AlphaMemory(), 7);
        ASSERT_EQ(compositor.AoverB(t.viewA, t.viewB, t.viewDst, Style(style)), 0);
        for (std::size_t i = 0; i < 32; ++i) {
            const int expected = i >= 12 ? 7 : i % 2 == 0 ? 72 : 184;
            EXPECT_EQ(t.DstByte(0, 0, i), expected) << i;
            EXPECT_EQ(t.DstByte(0, 1, i), expected) << i;
            EXPECT_EQ(t.DstByte(0, 2, i), 7);
        }
        for (std::size_t x = 0; x < 16; ++x) {
            EXPECT_EQ(t.DstAlpha(x, 0), x < 6 ? 255 : 7);
            EXPECT_EQ(t.DstAlpha(x, 1), 7);
        }
    });
}

TEST(BlendEdgeCases, AoverBRefuses) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        const auto run = [&](Three& t) {
            const Bytes colour = t.dst.Colour(), alpha = t.dst.Alpha();
            const Zan::Long32 status = compositor.AoverB(t.viewA, t.viewB, t.viewDst, Style(style));
            EXPECT_TRUE(status == 0 || (colour == t.dst.Colour() && alpha == t.dst.Alpha()));
            return status;
        };
        const auto shape = [](Three& t, Zan::ShapedEnum a, Zan::ShapedEnum b, Zan::ShapedEnum dst) {
            t.a->SetPixelShaping(a);
            t.b->SetPixelShaping(b);
            t.dst->SetPixelShaping(dst);
        };
        for (int a = 0; a < 3; ++a) {
            for (int b = 0; b < 3; ++b) {
                for (int dst = 0; dst < 3; ++dst) {
                    Three t(kPairsAlpha);
                    shape(t, static_cast<Zan::ShapedEnum>(a), static_cast<Zan::ShapedEnum>(b),
                          static_cast<Zan::ShapedEnum>(dst));
                    EXPECT_EQ(run(t), a == 0 && b == 2 && dst == 2 ? 0 : 4) << a << b << dst;
                }
            }
        }
        for (int other = 0; other < 3; ++other) {
            for (const Format& format :
                 {kPairs, kRgb, Format::YCrCb(16, 4, Zan::k4444), Format::Grey(16, 4)}) {
                Three t(other == 0 ? format : kPairsAlpha, other == 1 ? format : kPairsAlpha,
                        other == 2 ? format : kPairsAlpha);
                shape(t, Zan::kUnshaped, Zan::kShaped2, Zan::kShaped2);
                EXPECT_EQ(run(t), 4);
            }
            for (const bool alpha : {false, true}) {
                Three t(kPairsAlpha);
                shape(t, Zan::kUnshaped, Zan::kShaped2, Zan::kShaped2);
                Picture& without = other == 0 ? t.a : other == 1 ? t.b : t.dst;
                auto& channels = without->GetImageDescriptor()->channels;
                for (std::size_t i = 0; i < 4; ++i) {
                    if (alpha == (i == 3)) {
                        channels[i].memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
                    }
                }
                EXPECT_EQ(run(t), 1);
                // The format comes first.
                t.dst->SetPixelShaping(Zan::kShaped);
                EXPECT_EQ(run(t), 4);
            }
            // A fifth channel is one too many.
            Three t(kPairsAlpha);
            shape(t, Zan::kUnshaped, Zan::kShaped2, Zan::kShaped2);
            Zan::ChannelDescriptor more;
            more.SetAlpha(0.0F, 16, 4, Zan::kProgressive, Zan::kNoFields, 8);
            Picture& with = other == 0 ? t.a : other == 1 ? t.b : t.dst;
            ASSERT_EQ(with->AddChannel(more, 128), 4);
            EXPECT_EQ(run(t), 4);
        }
    });
}

TEST(BlendEdgeCases, UnshapedAoverBAtTheEndsOfTheFade) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (const bool opaque : {false, true}) {
            Three t(kRgb);
            t.dst->SetPixelShaping(Zan::kShaped);
            if (opaque) {
                t.b->SetAlphaChannelDescription(Zan::kAlphaOpaque);
            }
            ASSERT_EQ(
                compositor.CompositeUnshapedAoverBwithFadeOfA(t.viewA, t.viewB, t.viewDst, 0, Style(style)),
                0);
            for (std::size_t x = 0; x < 16; ++x) {
                const std::uint8_t* const b = t.b.ColourMemory().Data() + 4 * x;
                for (std::size_t i = 0; i < 3; ++i) {
                    EXPECT_EQ(t.DstByte(x, 0, i), opaque ? b[i] : (2 * b[i] * b[3] / 255 + 1) / 2);
                }
                EXPECT_EQ(t.DstByte(x, 0, 3), b[3]);
            }
            for (std::size_t i = 3; i < t.a.ColourMemory().Length(); i += 4) {
                t.a.ColourMemory().Data()[i] = 255;
            }
            ASSERT_EQ(
                compositor.CompositeUnshapedAoverBwithFadeOfA(t.viewA, t.viewB, t.viewDst, 1, Style(style)),
                0);
            for (std::size_t x = 0; x < 16; ++x) {
                for (std::size_t i = 0; i < 4; ++i) {
                    EXPECT_EQ(t.DstByte(x, 3, i), t.a.ColourMemory().Data()[64 * 3 + 4 * x + i]);
                }
            }
        }
    });
}

// Pixels 8 and 9 of 10 are those of a fade of 0 on SSE2, and like all others elsewhere.
TEST(BlendEdgeCases, UnshapedAoverBBeyondTheBlocks) {
    OnEveryPath([](ZanCompositor& compositor, const Machine& machine, int style) {
        const bool blocks = machine.HasSse2() && std::find(std::begin(kVectorStyles), std::end(kVectorStyles),
                                                           style) != std::end(kVectorStyles);
        Three t(Format::Rgb(10, 3));
        t.dst->SetPixelShaping(Zan::kShaped);
        PaintWords(t.a.ColourMemory(), {200, 100, 50, 255});
        PaintWords(t.b.ColourMemory(), {10, 20, 30, 255});
        ASSERT_EQ(
            compositor.CompositeUnshapedAoverBwithFadeOfA(t.viewA, t.viewB, t.viewDst, 0.5, Style(style)), 0);
        // a' = (255 * 128 + 128) >> 8 = 128, r = 127:
        // (127 * 10 + 128 * 200) / 255 = 105.37, (127 * 20 + 128 * 100) / 255 = 60.16,
        // (127 * 30 + 128 * 50) / 255 = 40.04.
        const int mixed[] = {105, 60, 40, 255}, below[] = {10, 20, 30, 255};
        for (std::size_t y = 0; y < 3; ++y) {
            for (std::size_t x = 0; x < 10; ++x) {
                for (std::size_t i = 0; i < 4; ++i) {
                    EXPECT_EQ(t.DstByte(x, y, i), (blocks && x >= 8 ? below : mixed)[i]) << x << ", " << y;
                }
            }
        }
        // At a fade of 1 the tail's weight is 1: a' = (255 + 128) >> 8 = 1, r = 254:
        // (254 * 10 + 200) / 255 = 10.7, (254 * 20 + 100) / 255 = 20.3, (254 * 30 + 50) / 255 = 30.08.
        ASSERT_EQ(compositor.CompositeUnshapedAoverBwithFadeOfA(t.viewA, t.viewB, t.viewDst, 1, Style(style)),
                  0);
        const int whole[] = {200, 100, 50, 255}, tail[] = {11, 20, 30, 255};
        for (std::size_t x = 0; x < 10; ++x) {
            for (std::size_t i = 0; i < 4; ++i) {
                EXPECT_EQ(t.DstByte(x, 1, i), (blocks && x >= 8 ? tail : whole)[i]) << x;
            }
        }
    });
}

TEST(BlendEdgeCases, UnshapedAoverBRefuses) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        const auto run = [&](Three& t) {
            const Bytes colour = t.dst.Colour();
            const Zan::Long32 status =
                compositor.CompositeUnshapedAoverBwithFadeOfA(t.viewA, t.viewB, t.viewDst, 0.5, Style(style));
            EXPECT_TRUE(status == 0 || colour == t.dst.Colour());
            return status;
        };
        for (int a = 0; a < 3; ++a) {
            for (int b = 0; b < 3; ++b) {
                for (int dst = 0; dst < 3; ++dst) {
                    Three t(kRgb);
                    t.a->SetPixelShaping(static_cast<Zan::ShapedEnum>(a));
                    t.b->SetPixelShaping(static_cast<Zan::ShapedEnum>(b));
                    t.dst->SetPixelShaping(static_cast<Zan::ShapedEnum>(dst));
                    EXPECT_EQ(run(t), a == 0 && b == 0 && dst == 1 ? 0 : 4) << a << b << dst;
                }
            }
        }
        Format threeBytes = kRgb;
        threeBytes.sampling = Zan::k444;
        for (int other = 0; other < 3; ++other) {
            for (const Format& format :
                 {kPairs, kPairsAlpha, Format::YCrCb(16, 4, Zan::k4444), Format::Grey(16, 4), threeBytes}) {
                Three t(other == 0 ? format : kRgb, other == 1 ? format : kRgb, other == 2 ? format : kRgb);
                t.dst->SetPixelShaping(Zan::kShaped);
                EXPECT_EQ(run(t), 4);
            }
        }
    });
}

TEST(BlendEdgeCases, CrossDissolveRefuses) {
    Format threeBytes = kRgb;
    threeBytes.sampling = Zan::k444;
    Format planar = Format::YCrCb(16, 4, Zan::k420);
    planar.packing = Zan::kPlanar;
    planar.order = Zan::kYCbCrPlanes;
    OnEveryPath([&](ZanCompositor& compositor, const Machine&, int style) {
        for (const Format& good : {kRgb, kPairs, kPairsAlpha}) {
            for (const Format& other : {good.sampling == Zan::k4444 ? kPairs : kRgb, threeBytes, planar}) {
                for (int which = 0; which < 3; ++which) {
                    Three t(which == 0 ? other : good, which == 1 ? other : good, which == 2 ? other : good);
                    const Bytes colour = t.dst.Colour(), alpha = t.dst.Alpha();
                    EXPECT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 0.5, Style(style)), 4);
                    EXPECT_EQ(colour, t.dst.Colour());
                    EXPECT_EQ(alpha, t.dst.Alpha());
                }
            }
        }
    });
}

// Styles that one of the blends has and another has not.
TEST(BlendEdgeCases, StylesThatAreRefused) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        Three t(kRgb);
        Picture key(Format::Grey(16, 4));
        ImageView viewKey(key);
        const Bytes before = t.dst.Colour();
        const bool two = style == 0 || style == 1 || style == 2 || style == 5;
        EXPECT_EQ(compositor.CompositeTwoSources(t.viewA, t.viewB, t.viewDst, Style(style)), two ? 0 : 100);
        if (!two) {
            EXPECT_EQ(before, t.dst.Colour());
        }
        const Bytes between = t.dst.Colour();
        EXPECT_EQ(compositor.CompositeTwoSrcAndAlpha(t.viewA, t.viewB, viewKey, t.viewDst, Style(style)),
                  style == Zan::kFlp_SIMD ? 100 : 0);
        EXPECT_EQ(between == t.dst.Colour(), style == Zan::kFlp_SIMD);
        EXPECT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 0.4, Style(style)), 0);
    });
}

// Fewer than four words a row are no block.
TEST(BlendEdgeCases, CompositeTwoSourcesOfThreeWords) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (const Zan::ULong32 width : {1U, 2U, 3U}) {
            Three t(Format::Rgb(width, 3));
            const Bytes before = t.dst.Colour();
            Paint(t.b.ColourMemory(), 255);
            Paint(t.dst.ColourMemory(), 1);
            const Bytes painted = t.dst.Colour();
            const Zan::Long32 status =
                compositor.CompositeTwoSources(t.viewA, t.viewB, t.viewDst, Style(style));
            if (style == 0 || style == 1) {
                EXPECT_EQ(status, 0);
                EXPECT_EQ(t.DstByte(width - 1, 2, 3), 255);
            } else {
                EXPECT_EQ(status, style == 2 || style == 5 ? 0 : 100);
                EXPECT_EQ(painted, t.dst.Colour());
            }
        }
    });
}

// Views on no image, or on one without memory, are refused with nothing written.
TEST(BlendEdgeCases, ViewsOnNothing) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (int operation = 0; operation < 5; ++operation) {
            for (int missing = 0; missing < (operation == 2 ? 4 : 3); ++missing) {
                for (const bool noMemory : {false, true}) {
                    Three t(operation == 3 ? kPairsAlpha : kRgb);
                    Picture key(Format::Grey(16, 4));
                    ImageView viewKey(key);
                    if (operation == 3) {
                        t.b->SetPixelShaping(Zan::kShaped2);
                        t.dst->SetPixelShaping(Zan::kShaped2);
                    } else if (operation == 4) {
                        t.dst->SetPixelShaping(Zan::kShaped);
                    }
                    Picture* const pictures[] = {&t.a, &t.b, &t.dst, &key};
                    ImageView* const views[] = {&t.viewA, &t.viewB, &t.viewDst, &viewKey};
                    if (noMemory) {
                        for (auto& channel : (*pictures[missing])->GetImageDescriptor()->channels) {
                            channel.memory = Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
                        }
                    } else {
                        *views[missing] = ImageView();
                    }
                    const Bytes colour = t.dst.Colour(), alpha = t.dst.Alpha();
                    Zan::Long32 status = 0;
                    switch (operation) {
                        case 0:
                            status = compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 0.5, Style(style));
                            break;
                        case 1:
                            status =
                                compositor.CompositeTwoSources(t.viewA, t.viewB, t.viewDst, Style(style));
                            break;
                        case 2:
                            status = compositor.CompositeTwoSrcAndAlpha(t.viewA, t.viewB, viewKey, t.viewDst,
                                                                        Style(style));
                            break;
                        case 3:
                            status = compositor.AoverB(t.viewA, t.viewB, t.viewDst, Style(style));
                            break;
                        default:
                            status = compositor.CompositeUnshapedAoverBwithFadeOfA(
                                t.viewA, t.viewB, t.viewDst, 0.5, Style(style));
                    }
                    EXPECT_NE(status, 0) << operation << ", " << missing;
                    EXPECT_EQ(colour, t.dst.Colour());
                    EXPECT_EQ(alpha, t.dst.Alpha());
                }
            }
        }
    });
}

// The field of a bottom-left image lies beyond its buffer.
TEST(BlendEdgeCases, FieldsOfBottomLeftImagesAreRefused) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (int which = 0; which < 3; ++which) {
            Three t(which == 0 ? kRgb.BottomLeft() : kRgb, which == 1 ? kRgb.BottomLeft() : kRgb,
                    which == 2 ? kRgb.BottomLeft() : kRgb);
            t.dst->SetPixelShaping(Zan::kShaped);
            Picture* const pictures[] = {&t.a, &t.b, &t.dst};
            ImageView* const views[] = {&t.viewA, &t.viewB, &t.viewDst};
            *views[which] = Part(*pictures[which], 0, 0, 16, 4, Zan::kUpperField);
            const Bytes before = t.dst.Colour();
            EXPECT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 0.5, Style(style)), 98);
            EXPECT_EQ(
                compositor.CompositeUnshapedAoverBwithFadeOfA(t.viewA, t.viewB, t.viewDst, 0.5, Style(style)),
                98);
            const Zan::Long32 two = compositor.CompositeTwoSources(t.viewA, t.viewB, t.viewDst, Style(style));
            EXPECT_TRUE(two == 98 || two == 100);
            EXPECT_EQ(before, t.dst.Colour());
        }
    });
}

// A left edge outside of packed 4:2:2 is not cut off: the selection leaves its picture.
TEST(BlendEdgeCases, LeftEdgesOutsideAreRefused) {
    OnEveryPath([](ZanCompositor& compositor, const Machine&, int style) {
        for (int which = 0; which < 3; ++which) {
            Three t(kPairsAlpha);
            t.b->SetPixelShaping(Zan::kShaped2);
            t.dst->SetPixelShaping(Zan::kShaped2);
            Picture* const pictures[] = {&t.a, &t.b, &t.dst};
            ImageView* const views[] = {&t.viewA, &t.viewB, &t.viewDst};
            *views[which] = Part(*pictures[which], -3, 1, 12, 3);
            const Bytes colour = t.dst.Colour(), alpha = t.dst.Alpha();
            EXPECT_EQ(compositor.CrossDissolve(t.viewA, t.viewB, t.viewDst, 0.5, Style(style)), 98);
            EXPECT_EQ(compositor.AoverB(t.viewA, t.viewB, t.viewDst, Style(style)), 98);
            EXPECT_EQ(colour, t.dst.Colour());
            EXPECT_EQ(alpha, t.dst.Alpha());
        }
    });
}

}  // namespace
