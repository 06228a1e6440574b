// All 65,536 pairs of samples through every formula of a blend, and where 0 and 255 stay what they are.

#include <algorithm>
#include <cmath>

#include "composite/ModelRuns.h"

using namespace composite_test;

namespace {

constexpr Machine kMmx = {Zan::kMMX, false}, kSse = {Zan::kSSE_MMX, false}, kSse2 = {Zan::kSSE2, false};

struct PathRun {
    Machine machine;
    int style;
};

/// Pictures in which sample a of the first meets sample b of the second at column a, row b.
class AllPairs {
public:
    explicit AllPairs(const Format& format)
        : a(Sized(format)), b(Sized(format)), key(Format::Grey(256, 256)), dst(Sized(format)) {
        FillSource(a, true);
        FillSource(b, false);
    }

    Picture a, b, key, dst;
    Zan::ImageView viewA{a}, viewB{b}, viewKey{key}, viewDst{dst};

    static void SetByte3(Picture& picture, int value) {
        std::uint8_t* const bytes = picture.ColourMemory().Data();
        for (std::size_t i = 3; i < kBytes; i += 4) {
            bytes[i] = static_cast<std::uint8_t>(value);
        }
    }
    void SetKey(int value) {
        std::fill_n(key.ColourMemory().Data(), 256 * 256, static_cast<std::uint8_t>(value));
    }

    /// `expected(a, b, byte)` for all pairs.
    template <class Expected>
    void Expect(Expected expected) {
        bytes.resize(kBytes);
        for (int valueB = 0, i = 0; valueB < 256; ++valueB) {
            for (int valueA = 0; valueA < 256; ++valueA) {
                for (int byte = 0; byte < 4; ++byte, ++i) {
                    bytes[static_cast<std::size_t>(i)] =
                        static_cast<std::uint8_t>(expected(valueA, valueB, byte));
                }
            }
        }
    }

    /// Runs `call(compositor, style)` and compares; on the best target alone, or on all.
    template <class Call>
    void Check(const std::vector<PathRun>& runs, bool onAllTargets, Call call) {
        for (const PathRun& run : runs) {
            for (std::size_t i = 0; i < Zan::simd::kTargetCount; ++i) {
                const auto target = static_cast<Zan::simd::Target>(i);
                if (!Zan::simd::IsTargetAvailable(target) ||
                    (!onAllTargets && target != Zan::simd::BestTarget())) {
                    continue;
                }
                auto body = [&](Zan::ZanCompositor& compositor, const Machine&) {
                    std::uint8_t* const out = dst.ColourMemory().Data();
                    std::fill_n(out, kBytes, std::uint8_t{0x5A});
                    ASSERT_EQ(call(compositor, Style(run.style)), 0);
                    if (!std::equal(bytes.begin(), bytes.end(), out)) {
                        const auto at = static_cast<int>(
                            std::mismatch(bytes.begin(), bytes.end(), out).first - bytes.begin());
                        FAIL() << "style " << run.style << ", a " << at / 4 % 256 << ", b " << at / 1024
                               << ", byte " << at % 4 << ": expected "
                               << int{bytes[static_cast<std::size_t>(at)]} << ", is " << int{out[at]};
                    }
                };
                internal::RunAs(run.machine, target, false, body);
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    }

private:
    static constexpr std::size_t kBytes = 256 * 256 * 4;

    static Format Sized(Format format) {
        format.width = format.sampling == Zan::k4444 ? 256U : 512U;
        format.height = 256;
        return format;
    }
    static void FillSource(Picture& picture, bool byColumn) {
        std::uint8_t* const out = picture.ColourMemory().Data();
        for (std::size_t i = 0; i < kBytes; ++i) {
            out[i] = static_cast<std::uint8_t>(byColumn ? i / 4 % 256 : i / 1024);
        }
    }

    Bytes bytes;
};

/// Every weight on the best target; the ends, the middle and some between on all of them.
template <class Body>
void ForWeights(int most, Body body) {
    for (int weight = 0; weight <= most; ++weight) {
        const bool special =
            weight < 3 || weight > most - 3 || weight == 127 || weight == 128 || weight % 61 == 0;
        if (kSanitized && !special) {
            continue;
        }
        SCOPED_TRACE(::testing::Message() << "weight " << weight);
        body(weight, special);
        if (::testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

int DivideRounded(int t) {
    // To the nearest; 255 is odd, so there are no halves.
    return (t + 127) / 255;
}
int Blend(int alpha, int a, int b) {
    return DivideRounded((255 - alpha) * a + alpha * b);
}

TEST(BlendPairs, TheRoundingDivision) {
    for (int t = 0; t <= 65025; ++t) {
        ASSERT_EQ(DivideRounded(t), ((2 * t) / 255 + 1) >> 1) << t;
    }
}

TEST(BlendPairs, CrossDissolve) {
    AllPairs pairs(Format::Rgb(0, 0));
    ForWeights(256, [&](int w, bool all) {
        const double fade = w / 256.0;
        const auto call = [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
            return by.CrossDissolve(pairs.viewA, pairs.viewB, pairs.viewDst, fade, style);
        };
        pairs.Expect([&](int a, int b, int) { return (w * a + (256 - w) * b + 128) >> 8; });
        pairs.Check({{kSse2, 1}, {kSse2, 2}}, all, call);
        pairs.Expect([&](int a, int b, int) { return static_cast<int>(b * (1 - fade) + a * fade + 0.5); });
        pairs.Check({{kSse2, 0}}, all, call);
    });
    ForWeights(255, [&](int w, bool all) {
        const double fade = w / 255.0;
        ASSERT_EQ(static_cast<int>(fade * 255 + 0.5), w);
        pairs.Expect([&](int a, int b, int) {
            const int t = w * a + (255 - w) * b + 128;
            return (t + (t >> 8)) >> 8;
        });
        pairs.Check({{kSse, 2}, {kMmx, 5}}, all, [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
            return by.CrossDissolve(pairs.viewA, pairs.viewB, pairs.viewDst, fade, style);
        });
    });
}

// Rows narrower than a block are tail from end to end: t >> 8, so that 255 on 255 gives 254.
TEST(BlendPairs, CrossDissolveBeyondTheBlocks) {
    constexpr Zan::ULong32 kWidth = 7, kHeight = (65536 + kWidth - 1) / kWidth;
    Picture a(Format::Rgb(kWidth, kHeight)), b(Format::Rgb(kWidth, kHeight)),
        dst(Format::Rgb(kWidth, kHeight));
    for (std::size_t i = 0; i < std::size_t{kWidth} * kHeight * 4; ++i) {
        a.ColourMemory().Data()[i] = static_cast<std::uint8_t>(i / 4 % 256);
        b.ColourMemory().Data()[i] = static_cast<std::uint8_t>(i / 1024 % 256);
    }
    Zan::ImageView viewA(a), viewB(b), viewDst(dst);
    ForWeights(255, [&](int w, bool) {
        for (const Machine& machine : {kSse, kMmx}) {
            auto body = [&](Zan::ZanCompositor& compositor, const Machine&) {
                ASSERT_EQ(compositor.CrossDissolve(viewA, viewB, viewDst, w / 255.0, Zan::kBestAvailable), 0);
                const std::uint8_t* const out = dst.ColourMemory().Data();
                for (std::size_t i = 0; i < 65536; ++i) {
                    const int valueA = static_cast<int>(i % 256), valueB = static_cast<int>(i / 256);
                    const int expected = (w * valueA + (255 - w) * valueB + 128) >> 8;
                    ASSERT_EQ(out[4 * i], expected) << "a " << valueA << ", b " << valueB;
                    ASSERT_EQ(out[4 * i + 3], expected);
                }
                ASSERT_EQ(out[4 * 65535], 254) << "255 on 255";
            };
            internal::RunAs(machine, Zan::simd::BestTarget(), false, body);
        }
    });
}

TEST(BlendPairs, CompositeTwoSources) {
    AllPairs pairs(Format::Rgb(0, 0));
    ForWeights(255, [&](int alpha, bool all) {
        AllPairs::SetByte3(pairs.b, alpha);
        pairs.Expect([&](int a, int b, int byte) { return Blend(alpha, a, byte == 3 ? alpha : b); });
        pairs.Check({{kSse2, 0}, {kSse2, 2}, {kSse, 5}, {kMmx, 5}}, all,
                    [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
                        return by.CompositeTwoSources(pairs.viewA, pairs.viewB, pairs.viewDst, style);
                    });
    });
}

TEST(BlendPairs, CompositeTwoSrcAndAlpha) {
    AllPairs pairs(Format::Rgb(0, 0));
    ForWeights(255, [&](int alpha, bool all) {
        pairs.SetKey(alpha);
        pairs.Expect([&](int a, int b, int) { return Blend(alpha, a, b); });
        pairs.Check({{kSse2, 1}, {kSse2, 2}, {kSse, 5}, {kMmx, 5}}, all,
                    [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
                        return by.CompositeTwoSrcAndAlpha(pairs.viewA, pairs.viewB, pairs.viewKey,
                                                          pairs.viewDst, style);
                    });
    });
}

// Luma counts from 16, chroma from 128; both come out counted from 0.
TEST(BlendPairs, AoverB) {
    AllPairs pairs(Format::YCrCb(0, 0, Zan::k4224));
    pairs.b->SetPixelShaping(Zan::kShaped2);
    pairs.dst->SetPixelShaping(Zan::kShaped2);
    ForWeights(255, [&](int alpha, bool all) {
        std::fill_n(pairs.a.AlphaMemory().Data(), 512, static_cast<std::uint8_t>(alpha));
        pairs.Expect([&](int a, int b, int byte) {
            const int zero = byte % 2 == 0 ? 128 : 16;
            const int x = (255 - alpha) * (b - zero) + alpha * (a - zero);
            const int doubled = 2 * x / 255;  // towards zero
            return static_cast<int>(std::floor((doubled + 1) / 2.0));
        });
        pairs.Check({{kSse2, 5}, {kMmx, 0}}, all,
                    [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
                        return by.AoverB(pairs.viewA, pairs.viewB, pairs.viewDst, style);
                    });
    });
}

TEST(BlendPairs, UnshapedAoverB) {
    AllPairs pairs(Format::Rgb(0, 0));
    pairs.dst->SetPixelShaping(Zan::kShaped);
    const auto call = [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
        return by.CompositeUnshapedAoverBwithFadeOfA(pairs.viewA, pairs.viewB, pairs.viewDst, 1.0, style);
    };
    const std::vector<PathRun> runs = {{kSse2, 0}, {kSse2, 2}};
    ForWeights(255, [&](int alpha, bool all) {
        AllPairs::SetByte3(pairs.a, alpha);
        // At a fade of 1 A has its own alpha. B keeps its row's number as alpha.
        pairs.b->SetAlphaChannelDescription(Zan::kAlphaOpaque);
        pairs.Expect([&](int a, int b, int byte) {
            return DivideRounded((255 - alpha) * b + alpha * (byte == 3 ? alpha : a));
        });
        pairs.Check(runs, all, call);
        // Colour of B times its alpha, both of which are the number of the row.
        pairs.b->SetAlphaChannelDescription(Zan::kAlphaVarying);
        pairs.Expect([&](int a, int b, int byte) {
            return byte == 3 ? DivideRounded((255 - alpha) * b + alpha * 255)
                             : DivideRounded((255 - alpha) * DivideRounded(b * b) + alpha * a);
        });
        pairs.Check(runs, all, call);
    });
}

// Colour of B and its alpha in all pairs under an A of any alpha.
TEST(BlendPairs, PremultiplicationOfB) {
    AllPairs pairs(Format::Rgb(0, 0));
    pairs.dst->SetPixelShaping(Zan::kShaped);
    ForWeights(255, [&](int alphaB, bool all) {
        AllPairs::SetByte3(pairs.b, alphaB);
        // A's colour and alpha are the number of the column.
        pairs.Expect([&](int a, int b, int byte) {
            return byte == 3 ? DivideRounded((255 - a) * alphaB + a * 255)
                             : DivideRounded((255 - a) * DivideRounded(b * alphaB) + a * a);
        });
        pairs.Check({{kSse2, 1}, {kSse2, 5}}, all,
                    [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
                        return by.CompositeUnshapedAoverBwithFadeOfA(pairs.viewA, pairs.viewB, pairs.viewDst,
                                                                     1.0, style);
                    });
    });
}

// A's alpha and the fade in all pairs: over black of no alpha, colour 255 becomes the faded alpha.
TEST(BlendPairs, FadeOfA) {
    AllPairs pairs(Format::Rgb(0, 0));
    pairs.dst->SetPixelShaping(Zan::kShaped);
    for (std::size_t i = 0; i < 256 * 256 * 4; ++i) {
        if (i % 4 != 3) {
            pairs.a.ColourMemory().Data()[i] = 255;
        }
        pairs.b.ColourMemory().Data()[i] = 0;
    }
    ForWeights(256, [&](int w, bool all) {
        pairs.Expect([&](int alphaA, int, int) { return (alphaA * w + 128) >> 8; });
        pairs.Check({{kSse2, 0}, {kSse2, 2}}, all,
                    [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
                        return by.CompositeUnshapedAoverBwithFadeOfA(pairs.viewA, pairs.viewB, pairs.viewDst,
                                                                     w / 256.0, style);
                    });
    });
}

// A key that is mapped to itself: softness 254 has a gain of 1/255, and at position 254/509 the threshold is
// 0.
TEST(BlendPairs, SoftWipe) {
    for (const auto sampling : {Zan::k4444, Zan::k422}) {
        AllPairs pairs(sampling == Zan::k4444 ? Format::Rgb(0, 0) : Format::YCrCb(0, 0, Zan::k422));
        Picture wide(Format::Grey(512, 256));
        Zan::ImageView viewKey(wide);
        ForWeights(255, [&](int g, bool all) {
            std::fill_n(wide.ColourMemory().Data(), 512 * 256, static_cast<std::uint8_t>(g));
            const auto call = [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
                return by.CompositeTwoSrcAndAlphaGradient(pairs.viewA, pairs.viewB, viewKey, pairs.viewDst,
                                                          254.0 / 509.0, 254.0, style);
            };
            // In double precision: g - T is within a hair of g, times 1, plus a half, truncated.
            pairs.Expect([&](int a, int b, int) { return Blend(g, a, b); });
            pairs.Check({{kSse2, 0}}, all, call);
            if (sampling == Zan::k422) {
                const int scale = static_cast<int>(1 / 255.0 * 65280);
                const int alpha = std::min(((g << 8) * scale + 32768) >> 16, 255);
                pairs.Expect([&](int a, int b, int) { return Blend(alpha, a, b); });
                pairs.Check({{kSse2, 1}, {kSse2, 5}, {kMmx, 2}}, all, call);
            } else {
                const int scale = static_cast<int>(1 / 255.0 * 32640);
                const int alpha = std::min((g << 7) * scale >> 14, 255);
                pairs.Expect([&](int a, int b, int) { return Blend(alpha, a, b); });
                pairs.Check({{kSse2, 5}, {kSse, 2}}, all, call);
            }
        });
    }
}

// The border's formula: weights of 256 of which 255 is the most.
TEST(BlendPairs, BorderWipe) {
    for (const auto sampling : {Zan::k4444, Zan::k422}) {
        AllPairs pairs(sampling == Zan::k4444 ? Format::Rgb(0, 0) : Format::YCrCb(0, 0, Zan::k422));
        Picture wide(Format::Grey(512, 256));
        Zan::ImageView viewKey(wide);
        const double softness = 100, width = 55, total = 255;
        const double e1 = 255 * softness / total, e2 = 255 * (softness + width) / total;
        // S is the key's range: at position 1/2 the threshold is -1 + 2/2 = 0 and d the key's value.
        for (int g = 0; g < 256;
             g += g < 5 || g > 250 || (g > 97 && g < 103) || (g > 152 && g < 158) ? 1 : 5) {
            std::fill_n(wide.ColourMemory().Data(), 512 * 256, static_cast<std::uint8_t>(g));
            const int ofA = static_cast<int>(255 * g / e1 + 0.5);
            const int ofB = static_cast<int>(255 * (255.0 - g) / (255 - e2) + 0.5);
            // Black of B, G, R is Y 16, Cb and Cr 128.
            const int border[] = {sampling == Zan::k4444 ? 0 : 128, sampling == Zan::k4444 ? 0 : 16,
                                  sampling == Zan::k4444 ? 0 : 128, sampling == Zan::k4444 ? 0 : 16};
            pairs.Expect([&](int a, int b, int byte) {
                const int c = border[byte];
                if (g <= e1) {
                    return ((256 - ofA) * a + ofA * c + 128) >> 8;
                }
                return g < e2 ? c : ((256 - ofB) * b + ofB * c + 128) >> 8;
            });
            pairs.Check({{kSse2, 0}, {kSse2, 1}, {kSse2, 5}, {kMmx, 2}}, g % 50 < 2,
                        [&](Zan::ZanCompositor& by, Zan::ProcessingStyleEnum style) {
                            return by.CompositeTwoSrcAndAlphaGradientWithBorder(
                                pairs.viewA, pairs.viewB, viewKey, pairs.viewDst, 0.5, softness, width,
                                softness, 0, style);
                        });
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

}  // namespace
