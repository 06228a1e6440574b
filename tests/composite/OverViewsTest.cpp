#include "composite/Shot.h"

using namespace composite_test;
using Zan::ImageView;
using Zan::ZanCompositor;

namespace {

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
