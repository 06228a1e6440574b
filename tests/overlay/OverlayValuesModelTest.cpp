#include <cstring>
#include <functional>

#include "overlay/ModelScenes.h"

// Every value: all triples of alpha, foreground and background, and all pairs of alphas.

namespace {

using namespace overlay_test;

/// Every target, and each of the lower ones again as another processor would name its kernels.
template <class Body>
void OnEveryTarget(Body body) {
    for (std::size_t i = 0; i < Zan::simd::kTargetCount; ++i) {
        const auto target = static_cast<Zan::simd::Target>(i);
        if (Zan::simd::IsTargetAvailable(target)) {
            const Zan::simd::ScopedTarget limit(target);
            SCOPED_TRACE(Zan::simd::TargetName(target));
            body();
        }
    }
}

/// Foreground over background into a result, the bytes that are expected there, and the comparison.
struct Sweep {
    Canvas foreground, background, result;
    Bytes colour, alpha;  ///< expected

    Sweep(const Format& over, const Format& below) : foreground(over), background(below), result(below) {
        colour.resize(result.ColourMemory().Length());
        alpha.resize(result.AlphaMemory().Length());
    }
    void Expect() {
        OnEveryTarget([this] {
            Zan::ImageView over(foreground.Image()), below(background.Image()), into(result.Image());
            Mixup mixup;
            ASSERT_EQ(mixup.Do(over, below, into, Zan::kBestAvailable), 0);
            const std::uint8_t* const bytes = result.ColourMemory().Data();
            const bool same = std::memcmp(bytes, colour.data(), colour.size()) == 0;
            for (std::size_t i = 0; !same && i < colour.size(); ++i) {
                ASSERT_EQ(unsigned{bytes[i]}, unsigned{colour[i]})
                    << "byte " << i << ": " << unsigned{foreground.ColourMemory().Data()[i]} << " over "
                    << unsigned{background.ColourMemory().Data()[i]};
            }
            if (!alpha.empty()) {
                ASSERT_EQ(std::memcmp(result.AlphaMemory().Data(), alpha.data(), alpha.size()), 0);
            }
        });
    }
};

std::vector<int> Alphas() {
    std::vector<int> all;
    for (int alpha = 0; alpha < 256; ++alpha) {
        if (!kSanitized || alpha % 51 == 0 || alpha == 1 || alpha == 128 || alpha == 254) {
            all.push_back(alpha);
        }
    }
    return all;
}

using Arithmetic = std::function<std::uint8_t(int alpha, int foreground, int background)>;

// 256 columns of foregrounds; three backgrounds in each pixel, 86 lines.
void EveryTripleOfRgb(Zan::AggregateChannelSamplingEnum result, Zan::ShapedEnum shaping,
                      const Arithmetic& arithmetic) {
    const std::size_t pixelBytes = result == Zan::k444 ? 3 : 4;
    Sweep sweep(Rgb(Zan::k4444, 256, 86, shaping), Rgb(result, 256, 86));
    for (const int alpha : Alphas()) {
        for (Zan::ULong32 y = 0; y < 86; ++y) {
            for (Zan::ULong32 x = 0; x < 256; ++x) {
                std::uint8_t* const over = sweep.foreground.Pixel(x, y);
                std::uint8_t* const below = sweep.background.Pixel(x, y);
                std::uint8_t* const expected = sweep.colour.data() + (y * 256 + x) * pixelBytes;
                for (Zan::ULong32 i = 0; i < 3; ++i) {
                    over[i] = static_cast<std::uint8_t>(x);
                    below[i] = static_cast<std::uint8_t>(3 * y + i);
                    expected[i] = arithmetic(alpha, over[i], below[i]);
                }
                over[3] = static_cast<std::uint8_t>(alpha);
                if (result == Zan::k4444) {
                    // Beside full alpha the weight of the union is the foreground's alpha.
                    below[3] = 255;
                    expected[3] = 255;
                }
            }
        }
        ASSERT_NO_FATAL_FAILURE(sweep.Expect()) << "alpha " << alpha;
    }
}

TEST(OverlayValues, StraightOver24) {
    EveryTripleOfRgb(Zan::k444, Zan::kUnshaped,
                     [](int a, int f, int b) { return overlay_model::Straight(a, f, b, 0); });
}
TEST(OverlayValues, ShapedOver24) {
    EveryTripleOfRgb(Zan::k444, Zan::kShaped,
                     [](int a, int f, int b) { return overlay_model::Premultiplied(a, f, b, 0); });
}
TEST(OverlayValues, UnionOver32) {
    EveryTripleOfRgb(Zan::k4444, Zan::kUnshaped,
                     [](int a, int f, int b) { return overlay_model::UnionOfRgb(a, f, b); });
}
TEST(OverlayValues, ShapedOver32) {
    EveryTripleOfRgb(Zan::k4444, Zan::kShaped,
                     [](int a, int f, int b) { return overlay_model::Premultiplied(a, f, b, 0); });
}

// 256 pairs of columns, which are the foregrounds; four backgrounds in each pair, 64 lines. The second pixel
// has the alpha that the first one lacks.
void EveryTripleOfPairs(Zan::AggregateChannelSamplingEnum result, Zan::ShapedEnum shaping,
                        const std::function<std::uint8_t(int, int, int, int offset)>& arithmetic) {
    Sweep sweep(Pairs(Zan::k4224, 512, 64, shaping), Pairs(result, 512, 64));
    for (const int alpha : Alphas()) {
        for (Zan::ULong32 y = 0; y < 64; ++y) {
            for (Zan::ULong32 x = 0; x < 512; x += 2) {
                for (Zan::ULong32 i = 0; i < 4; ++i) {
                    std::uint8_t& over = sweep.foreground.Pixel(x, y)[i];
                    std::uint8_t& below = sweep.background.Pixel(x, y)[i];
                    over = static_cast<std::uint8_t>(x / 2);
                    below = static_cast<std::uint8_t>(4 * y + i);
                    sweep.colour[(y * 512 + x) * 2 + i] =
                        arithmetic(i == 3 ? 255 - alpha : alpha, over, below, i % 2 == 0 ? 128 : 16);
                }
                *sweep.foreground.PlaneAlpha(x, y) = static_cast<std::uint8_t>(alpha);
                *sweep.foreground.PlaneAlpha(x + 1, y) = static_cast<std::uint8_t>(255 - alpha);
                if (result == Zan::k4224) {
                    for (Zan::ULong32 i = 0; i < 2; ++i) {
                        *sweep.background.PlaneAlpha(x + i, y) = 255;
                        sweep.alpha[y * 512 + x + i] = 255;
                    }
                }
            }
        }
        ASSERT_NO_FATAL_FAILURE(sweep.Expect()) << "alpha " << alpha;
    }
}

TEST(OverlayValues, StraightOverPairs) {
    EveryTripleOfPairs(Zan::k422, Zan::kUnshaped, overlay_model::Straight);
}
TEST(OverlayValues, ShapedOverPairs) {
    EveryTripleOfPairs(Zan::k422, Zan::kShaped, overlay_model::Premultiplied);
}
TEST(OverlayValues, UnionOverPairsWithAlpha) {
    EveryTripleOfPairs(Zan::k4224, Zan::kUnshaped,
                       [](int a, int f, int b, int) { return overlay_model::UnionOfPairs(a, f, b); });
}
TEST(OverlayValues, ShapedOverPairsWithAlpha) {
    EveryTripleOfPairs(Zan::k4224, Zan::kShaped, overlay_model::Premultiplied);
}

// All 65,536 pairs of alphas, with colours of all kinds.

TEST(OverlayValues, EveryPairOfAlphas) {
    for (const Zan::ShapedEnum shaping : {Zan::kUnshaped, Zan::kShaped}) {
        Sweep sweep(Rgb(Zan::k4444, 256, 256, shaping), Rgb(Zan::k4444, 256, 256));
        for (int round = 0; round < (kSanitized ? 2 : 12); ++round) {
            FillRandom(sweep.foreground.ColourMemory().Data(), sweep.foreground.ColourMemory().Length());
            FillRandom(sweep.background.ColourMemory().Data(), sweep.background.ColourMemory().Length());
            if (round % 2 == 1) {
                Polarise(sweep.foreground.ColourMemory());
                Polarise(sweep.background.ColourMemory());
            }
            for (int y = 0; y < 256; ++y) {
                for (int x = 0; x < 256; ++x) {
                    const auto column = static_cast<Zan::ULong32>(x), line = static_cast<Zan::ULong32>(y);
                    std::uint8_t* const over = sweep.foreground.Pixel(column, line);
                    std::uint8_t* const below = sweep.background.Pixel(column, line);
                    std::uint8_t* const expected = sweep.colour.data() + (line * 256 + column) * 4;
                    over[3] = static_cast<std::uint8_t>(x);
                    below[3] = static_cast<std::uint8_t>(y);
                    for (int i = 0; i < 3; ++i) {
                        expected[i] = shaping == Zan::kShaped
                                          ? overlay_model::Premultiplied(x, over[i], below[i], 0)
                                          : overlay_model::UnionOfRgb(overlay_model::UnionWeight(x, y),
                                                                      over[i], below[i]);
                    }
                    expected[3] = shaping == Zan::kShaped
                                      ? overlay_model::Premultiplied(x, x, y, 0)
                                      : static_cast<std::uint8_t>(overlay_model::UnionAlpha(x, y));
                }
            }
            ASSERT_NO_FATAL_FAILURE(sweep.Expect());
        }
    }
}

TEST(OverlayValues, EveryPairOfAlphasInPairs) {
    for (const Zan::ShapedEnum shaping : {Zan::kUnshaped, Zan::kShaped}) {
        Sweep sweep(Pairs(Zan::k4224, 512, 256, shaping), Pairs(Zan::k4224, 512, 256));
        for (int round = 0; round < (kSanitized ? 2 : 12); ++round) {
            FillRandom(sweep.foreground.ColourMemory().Data(), sweep.foreground.ColourMemory().Length());
            FillRandom(sweep.background.ColourMemory().Data(), sweep.background.ColourMemory().Length());
            if (round % 2 == 1) {
                Polarise(sweep.foreground.ColourMemory());
                Polarise(sweep.background.ColourMemory());
            }
            for (int y = 0; y < 256; ++y) {
                for (int x = 0; x < 512; ++x) {
                    const auto column = static_cast<Zan::ULong32>(x), line = static_cast<Zan::ULong32>(y);
                    // All pairs for the even pixels, all of them turned round for the odd ones.
                    const int a = x % 2 == 0 ? x / 2 : y, ab = x % 2 == 0 ? y : x / 2;
                    *sweep.foreground.PlaneAlpha(column, line) = static_cast<std::uint8_t>(a);
                    *sweep.background.PlaneAlpha(column, line) = static_cast<std::uint8_t>(ab);
                    sweep.alpha[line * 512 + column] = static_cast<std::uint8_t>(
                        shaping == Zan::kShaped ? a + overlay_model::Divided((255 - a) * ab + 128)
                                                : overlay_model::UnionAlpha(a, ab));
                }
                for (int x = 0; x < 512; x += 2) {
                    const auto column = static_cast<Zan::ULong32>(x), line = static_cast<Zan::ULong32>(y);
                    for (std::size_t i = 0; i < 4; ++i) {
                        const int a = i < 3 ? x / 2 : y, ab = i < 3 ? y : x / 2;
                        const int over = sweep.foreground.Pixel(column, line)[i];
                        const int below = sweep.background.Pixel(column, line)[i];
                        sweep.colour[(line * 512 + column) * 2 + i] =
                            shaping == Zan::kShaped
                                ? overlay_model::Premultiplied(a, over, below, i % 2 == 0 ? 128 : 16)
                                : overlay_model::UnionOfPairs(overlay_model::UnionWeight(a, ab), over, below);
                    }
                }
            }
            ASSERT_NO_FATAL_FAILURE(sweep.Expect());
        }
    }
}

// Pictures without alpha count as full.
TEST(OverlayValues, FullAlphaIsTheForeground) {
    for (int f = 0; f < 256; ++f) {
        for (int b = 0; b < 256; ++b) {
            for (const int offset : {0, 16, 128}) {
                ASSERT_EQ(overlay_model::Straight(255, f, b, offset), f);
                ASSERT_EQ(overlay_model::Straight(0, f, b, offset), b);
                ASSERT_EQ(overlay_model::Premultiplied(255, f, b, offset), f);
                ASSERT_EQ(overlay_model::Premultiplied(0, offset, b, offset), b);
            }
            ASSERT_EQ(overlay_model::UnionOfPairs(255, f, b), f);
            ASSERT_EQ(overlay_model::UnionOfPairs(0, f, b), b);
        }
    }
}

// Numbers worked out by hand.
TEST(OverlayValues, SamplesOfTheArithmetic) {
    EXPECT_EQ(overlay_model::Divided(-128 + 128), 0);
    EXPECT_EQ(overlay_model::Divided(-383 + 128), -1);
    // 127 * 100 + 128 * 200 + 128 = 38428; + 150 = 38578; / 256 = 150.
    EXPECT_EQ(overlay_model::Straight(128, 200, 100, 0), 150);
    // 155 * 90 + 128 = 14078, which is 55 of 255; 100 + 55.
    EXPECT_EQ(overlay_model::Premultiplied(100, 100, 90, 0), 155);
    // 127 * 250 + 128 = 31878, 125; 200 + 125 = 325 = 256 + 69.
    EXPECT_EQ(overlay_model::Premultiplied(128, 200, 250, 0), 69);
    // 128 * 64 + 128 = 8320, 32; 128 + 64 - 32 = 160; 128 * 255 / 160 = 204.
    EXPECT_EQ(overlay_model::UnionAlpha(128, 64), 160);
    EXPECT_EQ(overlay_model::UnionWeight(128, 64), 204);
    EXPECT_EQ(overlay_model::UnionAlpha(0, 0), 0);
    EXPECT_EQ(overlay_model::UnionWeight(0, 0), 0);
    // Black stays black: 16 and 128 are what the offsets restore.
    EXPECT_EQ(overlay_model::Straight(77, 16, 16, 16), 16);
    EXPECT_EQ(overlay_model::Straight(77, 128, 128, 128), 128);
}

}  // namespace
