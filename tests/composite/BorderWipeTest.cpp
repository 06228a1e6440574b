#include <cmath>

#include "composite/Wipe.h"

using namespace composite_test;
using Zan::ZanCompositor;

namespace {

struct Band {
    double position, softnessA, width, softnessB;
};

constexpr Zan::ULong32 kColour = 0x5AC81464U;  // bytes 100, 20, 200, 90

Zan::Long32 WipeBand(ZanCompositor& compositor, Wipe& wipe, const Band& band, int style = Zan::kBestAvailable,
                     Zan::ULong32 colour = kColour) {
    return compositor.CompositeTwoSrcAndAlphaGradientWithBorder(
        wipe.viewA, wipe.viewB, wipe.viewKey, wipe.viewDst, band.position, band.softnessA, band.width,
        band.softnessB, colour, Style(style));
}

// ---- The model: the zones as they are told, sample by sample.

struct Zones {
    double threshold, total, e1, e2;

    explicit Zones(const Band& band) {
        const double sum = std::clamp(band.softnessA + band.width + band.softnessB, 0.0, 32768.0);
        const double position = std::clamp(band.position, 0.0, 1.0);
        threshold = std::min(1.0, -sum / 255 + (255 + sum) / 255 * position);
        const double s1 = band.softnessA > 0 ? band.softnessA : 1.0 / 255;
        const double s2 = band.softnessB > 0 ? band.softnessB : 1.0 / 255;
        total = s1 + band.width + s2;
        e1 = 255 * s1 / total;
        e2 = 255 * (s1 + band.width) / total;
    }
    double Depth(unsigned key) const { return Limit((key - 255 * threshold) * 255 / total); }
    double DepthOfTwoBytes(unsigned key) const {
        return Limit((key - 65535 * threshold) * static_cast<double>(1.0F / 255.0F) * 255 / total);
    }
    std::uint8_t Mix(double d, unsigned a, unsigned b, unsigned c) const {
        if (d <= e1) {
            return Share(255 * d / e1, a, c);
        }
        return d < e2 ? static_cast<std::uint8_t>(c) : Share(255 * (255 - d) / (255 - e2), b, c);
    }

private:
    static double Limit(double d) { return std::clamp(d, 0.0, 255.0); }
    static std::uint8_t Share(double share, unsigned source, unsigned c) {
        const auto m = static_cast<unsigned>(std::min(std::floor(share + 0.5), 255.0));
        return static_cast<std::uint8_t>(((256 - m) * source + m * c + 128) / 256);
    }
};

unsigned ToByte(double value) {
    return static_cast<unsigned>(std::clamp(std::trunc(value), 0.0, 255.0));
}

/// Runs the wipe, and compares every byte of the destination.
void Check(ZanCompositor& compositor, Wipe& wipe, const Band& band, int style, bool wideKey = false) {
    SCOPED_TRACE(::testing::Message()
                 << wipe.Width() << "x" << wipe.Height() << " sampling "
                 << wipe.viewDst.GetImage()->GetChannelSampling() << ", band " << band.position << " "
                 << band.softnessA << " " << band.width << " " << band.softnessB << ", style " << style);
    const Zones zones(band);
    const unsigned width = wipe.Width(), height = wipe.Height();
    const PlaneModel a = wipe.a.Model(wipe.viewA), b = wipe.b.Model(wipe.viewB);
    const PlaneModel key = wipe.key.Model(wipe.viewKey);
    PlaneModel dst = wipe.dst.Model(wipe.viewDst);
    Bytes alphaExpected = wipe.dst.Alpha();
    unsigned c[4] = {kColour & 255, kColour >> 8 & 255, kColour >> 16 & 255, kColour >> 24};
    const bool isYCrCb = wipe.viewA.GetImage()->GetColorSpace() == Zan::kYCrCb;
    if (isYCrCb) {
        const double blue = c[0], green = c[1], red = c[2];
        c[0] = ToByte(0.439 * blue - (0.148 * red + 0.291 * green) + 128.5);
        c[1] = ToByte(0.098 * blue + 0.257 * red + 0.504 * green + 16.5);
        c[2] = ToByte(0.439 * red - 0.368 * green - 0.071 * blue + 128.5);
    }
    const bool pixels = wipe.viewDst.GetImage()->GetChannelSampling() == Zan::k4444;
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; pixels ? x < width : x + 2 <= width; x += pixels ? 1 : 2) {
            for (unsigned i = 0; i < 4; ++i) {
                const unsigned at = pixels ? 4 * x + i : 2 * x + i, column = x + (!pixels && i == 3 ? 1 : 0);
                if (wideKey &&
                    key.first + static_cast<std::ptrdiff_t>(2 * y + 1) * key.pitch > wipe.key.End()) {
                    continue;
                }
                const double d = wideKey ? zones.DepthOfTwoBytes(key.At(2 * y, 2 * column) +
                                                                 256U * key.At(2 * y, 2 * column + 1))
                                         : zones.Depth(key.At(y, column));
                dst.At(y, at) = zones.Mix(d, a.At(y, at), b.At(y, at), c[!pixels && i == 3 ? 1 : i]);
            }
        }
    }
    if (!pixels && HasAlphaPlane(wipe.viewDst)) {
        PlaneModel out = wipe.dst.Model(wipe.viewDst, 3);
        const bool hasA = HasAlphaPlane(wipe.viewA), hasB = HasAlphaPlane(wipe.viewB);
        const PlaneModel planeA = hasA ? wipe.a.Model(wipe.viewA, 3) : PlaneModel{};
        const PlaneModel planeB = hasB ? wipe.b.Model(wipe.viewB, 3) : PlaneModel{};
        for (unsigned y = 0; y < height; ++y) {
            for (unsigned x = 0; x < width; ++x) {
                out.At(y, x) = !hasA && !hasB
                                   ? std::uint8_t{255}
                                   : zones.Mix(zones.Depth(key.At(y, x)), hasA ? planeA.At(y, x) : 255U,
                                               hasB ? planeB.At(y, x) : 255U, kColour >> 24);
            }
        }
        alphaExpected = out.bytes;
    }
    ASSERT_EQ(WipeBand(compositor, wipe, band, style), 0);
    ASSERT_TRUE(Matches(dst, wipe.dst.Colour()));
    ASSERT_EQ(alphaExpected, wipe.dst.Alpha()) << "alpha plane";
    ASSERT_TRUE(Matches(key, wipe.key.Colour())) << "the key changed";
}

constexpr Band kBands[] = {{0.5, 10, 20, 30},   {0, 10, 20, 30},   {1, 10, 20, 30}, {0.3, 0, 0, 0},
                           {0.7, 0, 40, 0},     {0.5, 100, 0, 90}, {0.2, -3, 5, 0}, {0.9, 300, 200, 100},
                           {0.4, 1000, 500, 1}, {0.6, 20, -15, 9}, {-1, 5, 5, 5},   {2, 5, 5, 5}};

TEST(BorderWipe, EveryWidthAndSampling) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const auto sampling : kSamplings) {
            for (Zan::ULong32 width = 1; width <= 70; ++width) {
                Wipe wipe(Colour(width, 3, sampling), Colour(width, 3, sampling).Padded(4),
                          Format::Grey(width, 3), Colour(width, 3, sampling));
                ASSERT_NO_FATAL_FAILURE(
                    Check(compositor, wipe, kBands[width % std::size(kBands)], static_cast<int>(width % 7)));
            }
        }
    });
}

TEST(BorderWipe, EveryKeyOfEveryBand) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const auto sampling : kSamplings) {
            for (const Band& band : kBands) {
                Wipe wipe(Colour(256, 2, sampling), Colour(256, 2, sampling), Format::Grey(256, 2),
                          Colour(256, 2, sampling));
                for (unsigned i = 0; i < 512; ++i) {
                    wipe.key.ColourMemory().Data()[i] = static_cast<std::uint8_t>(i);
                }
                ASSERT_NO_FATAL_FAILURE(Check(compositor, wipe, band, Zan::kFlp));
                ASSERT_NO_FATAL_FAILURE(Check(compositor, wipe, band, Zan::kBestAvailable));
            }
        }
    });
}

TEST(BorderWipe, KeysOfTwoBytes) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const auto sampling : {Zan::k422, Zan::k4224}) {
            for (const Band& band : kBands) {
                for (const Zan::ULong32 width : {1U, 2U, 19U, 66U, 130U}) {
                    // Twice the rows of the pictures, so that every second one is there, and fewer.
                    for (const Zan::ULong32 rows : {6U, 3U}) {
                        Wipe wipe(Colour(width, 3, sampling), Colour(width, 3, sampling),
                                  Format::Grey(width, rows).Bits(Zan::k16Bits), Colour(width, 3, sampling));
                        ASSERT_NO_FATAL_FAILURE(Check(compositor, wipe, band, Zan::kFP, true));
                    }
                }
            }
        }
    });
}

// All 65536 keys of two bytes.
TEST(BorderWipe, EveryKeyOfTwoBytes) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const Band& band : {kBands[0], kBands[6], kBands[7]}) {
            Wipe wipe(Format::YCrCb(256, 256, Zan::k422), Format::YCrCb(256, 256, Zan::k422),
                      Format::Grey(256, 512).Bits(Zan::k16Bits), Format::YCrCb(256, 256, Zan::k422));
            for (std::size_t i = 0; i < 256 * 512; ++i) {
                wipe.key.ColourMemory().Data()[2 * i] = static_cast<std::uint8_t>(i);
                wipe.key.ColourMemory().Data()[2 * i + 1] = static_cast<std::uint8_t>(i >> 9);
            }
            ASSERT_NO_FATAL_FAILURE(Check(compositor, wipe, band, Zan::kFP, true));
        }
    });
}

TEST(BorderWipe, FieldsPartsAndMissingAlpha) {
    OnEveryMachine([](ZanCompositor& compositor, const Machine&) {
        for (const auto samplingA : {Zan::k422, Zan::k4224}) {
            for (const auto samplingB : {Zan::k422, Zan::k4224}) {
                for (const auto field : {Zan::kUpperField, Zan::kLowerField}) {
                    Wipe wipe(Format::YCrCb(40, 8, samplingA).Interlaced(),
                              Format::YCrCb(40, 8, samplingB).BottomLeft(),
                              Format::Grey(41, 8).Interlaced().Padded(3),
                              Format::YCrCb(40, 8, Zan::k4224).Interlaced().Padded(0, 5));
                    wipe.b->SetAlphaChannelDescription(Zan::kAlphaOpaque);
                    wipe.viewA = Part(wipe.a, 2, 1, 37, 6, field);
                    wipe.viewB = Part(wipe.b, 4, 2, 36, 5);
                    wipe.viewKey = Part(wipe.key, 3, 1, 36, 7, field);
                    wipe.viewDst = Part(wipe.dst, 0, 1, 35, 7, field);
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, wipe, kBands[0], Zan::kBestAvailable));
                }
            }
        }
    });
}

TEST(BorderWipe, StreamedRows) {
    StreamingOnEveryTarget([](ZanCompositor& compositor, const Machine&) {
        for (const auto sampling : kSamplings) {
            for (std::size_t slack = 0; slack < 64; slack += slack < 9 ? 1 : 7) {
                Wipe wipe(Colour(531, 3, sampling).Padded(1), Colour(531, 3, sampling), Format::Grey(531, 3),
                          Colour(531, 3, sampling).Padded(static_cast<Zan::ULong32>(slack % 5)).Slack(slack));
                ASSERT_NO_FATAL_FAILURE(Check(compositor, wipe, kBands[0], Zan::kBestAvailable));
            }
        }
    });
}

// ---- Values worked out by hand

/// One row of pixels, painted, under the keys.
struct Strip {
    Wipe wipe;

    Strip(const Format& format, std::initializer_list<std::uint8_t> keys, std::uint8_t a, std::uint8_t b)
        : wipe(format, format, Format::Grey(static_cast<Zan::ULong32>(keys.size()), 1), format) {
        std::fill_n(wipe.a.ColourMemory().Data(), wipe.a.ColourMemory().Length(), a);
        std::fill_n(wipe.b.ColourMemory().Data(), wipe.b.ColourMemory().Length(), b);
        std::copy(keys.begin(), keys.end(), wipe.key.ColourMemory().Data());
    }
    unsigned Out(std::ptrdiff_t byte) { return wipe.dst.Model(wipe.viewDst).At(0, byte); }
};

// Widths of 10, 20 and 30 are 60 in all: at half way they begin at key 97.5, at 4.25 a key. The edges end at
// 42.5 and begin at 127.5.
TEST(BorderWipe, AcrossTheEdge) {
    for (const int style : AllStyles()) {
        ZanCompositor compositor;
        Strip strip(Format::Rgb(8, 1), {0, 97, 100, 110, 127, 140, 157, 158}, 100, 50);
        ASSERT_EQ(WipeBand(compositor, strip.wipe, {0.5, 10, 20, 30}, style, 0xC8C8C8C8U), 0);
        // Key 100: 63.75 of 255 rounded, 64; key 140: 148.75, 149; key 157: 4.25, 4.
        const unsigned expected[] = {100, 100, 125, 200, 200, 137, 52, 50};
        for (std::ptrdiff_t x = 0; x < 8; ++x) {
            for (std::ptrdiff_t i = 0; i < 4; ++i) {
                EXPECT_EQ(strip.Out(4 * x + i), expected[x]) << x;
            }
        }
    }
}

TEST(BorderWipe, WithoutAnyWidthTheEdgeIsHard) {
    ZanCompositor compositor;
    Strip strip(Format::Rgb(4, 1), {0, 127, 128, 255}, 100, 50);
    ASSERT_EQ(WipeBand(compositor, strip.wipe, {0.5, 0, 0, 0}), 0);
    EXPECT_EQ(strip.Out(4), 100U);
    EXPECT_EQ(strip.Out(8), 50U);
    // A key on the threshold itself lies before the edge.
    ASSERT_EQ(WipeBand(compositor, strip.wipe, {0, 0, 0, 0}), 0);
    EXPECT_EQ(strip.Out(0), 100U);
    EXPECT_EQ(strip.Out(4), 50U);
    ASSERT_EQ(WipeBand(compositor, strip.wipe, {1, 0, 0, 0}), 0);
    EXPECT_EQ(strip.Out(12), 100U);
}

// Edges of a 255th on either side of a border of 40, which begins at 88.5.
TEST(BorderWipe, WithoutSoftnessTheBorderHasHardEdges) {
    ZanCompositor compositor;
    Strip strip(Format::Rgb(4, 1), {107, 108, 147, 148}, 100, 50);
    ASSERT_EQ(WipeBand(compositor, strip.wipe, {0.5, 0, 40, 0}, Zan::kBestAvailable, 0xC8C8C8C8U), 0);
    EXPECT_EQ(strip.Out(0), 100U);
    EXPECT_EQ(strip.Out(4), 200U);
    EXPECT_EQ(strip.Out(8), 200U);
    EXPECT_EQ(strip.Out(12), 50U);
}

TEST(BorderWipe, NegativeWidths) {
    ZanCompositor compositor;
    // 10 - 30 + 10 is less than nothing: all is the first source.
    Strip strip(Format::Rgb(4, 1), {0, 100, 200, 255}, 100, 50);
    for (const double position : {0.0, 0.5, 1.0}) {
        ASSERT_EQ(WipeBand(compositor, strip.wipe, {position, 10, -30, 10}), 0);
        for (std::ptrdiff_t x = 0; x < 4; ++x) {
            EXPECT_EQ(strip.Out(4 * x), 100U);
        }
    }
    // 30 - 20 + 10 leaves 20: the first edge ends at 382.5, beyond every key. Half way through the keys at
    // 255 * 255 / 382.5, 170 parts: 86 of 100 and 170 of the border.
    ASSERT_EQ(WipeBand(compositor, strip.wipe, {0, 30, -20, 10}, Zan::kFP, 0xC8C8C8C8U), 0);
    EXPECT_EQ(strip.Out(12), (86 * 100 + 170 * 200 + 128) / 256U);
}

TEST(BorderWipe, ColourOfVideo) {
    ZanCompositor compositor;
    for (const auto sampling : {Zan::k4444, Zan::k422}) {
        Format format = Format::YCrCb(4, 1, sampling);
        Strip strip(format, {100, 100, 100, 100}, 1, 2);
        ASSERT_EQ(WipeBand(compositor, strip.wipe, {0.5, 0, 200, 0}, Zan::kFP, 0x77FFFFFFU), 0);
        EXPECT_EQ(strip.Out(0), 128U);
        EXPECT_EQ(strip.Out(1), 235U);
        EXPECT_EQ(strip.Out(2), 128U);
        EXPECT_EQ(strip.Out(3), sampling == Zan::k422 ? 235U : 0x77U);
    }
    // One picture of RGB among them: the colour stays as it is.
    Strip strip(Format::YCrCb(4, 1, Zan::k4444), {100, 100, 100, 100}, 1, 2);
    strip.wipe.b->GetImageDescriptor()->colorSpace = Zan::kRGB;
    ASSERT_EQ(WipeBand(compositor, strip.wipe, {0.5, 0, 200, 0}, Zan::kFP, 0x77FFFFFFU), 0);
    EXPECT_EQ(strip.Out(1), 255U);
}

TEST(BorderWipe, Formats) {
    const Format rgb = Format::Rgb(16, 4), grey = Format::Grey(16, 4),
                 pairs = Format::YCrCb(16, 4, Zan::k422);
    const Format three = Format::YCrCb(16, 4, Zan::k444);
    struct Case {
        Format a, b, key, dst;
        Zan::Long32 status;
    };
    const Case cases[] = {
        {rgb, rgb, grey, rgb, 0},
        {pairs, pairs, grey.Bits(Zan::k16Bits), pairs, 0},
        {rgb, rgb, grey.Bits(Zan::k16Bits), rgb, 0},
        // Other depths pass: four bytes a pixel, three.
        {rgb, rgb, rgb, rgb, 0},
        {pairs, pairs, three, pairs, 0},
        // Two bytes a pixel that are no alpha.
        {pairs, pairs, pairs, pairs, 4},
        {rgb, rgb, pairs, rgb, 4},
        {rgb, pairs, grey, rgb, 4},
        {rgb, rgb, grey, pairs, 4},
        {three, three, grey, three, 4},
        {grey, grey, grey, grey, 4},
    };
    OnEveryMachine([&](ZanCompositor& compositor, const Machine&) {
        for (const Case& c : cases) {
            for (const int style : AllStyles()) {
                Wipe wipe(c.a, c.b, c.key, c.dst);
                const Bytes before = wipe.dst.Colour();
                EXPECT_EQ(WipeBand(compositor, wipe, kBands[0], style), c.status);
                EXPECT_EQ(wipe.dst.Colour() == before, c.status != 0);
            }
        }
    });
}

// Pixels of 32 bits read a byte of the key each, of however many bytes its pixels are.
TEST(BorderWipe, PixelsReadBytes) {
    ZanCompositor compositor;
    Wipe wipe(Format::Rgb(16, 3), Format::Rgb(16, 3), Format::Grey(16, 3).Bits(Zan::k16Bits),
              Format::Rgb(16, 3));
    ASSERT_NO_FATAL_FAILURE(Check(compositor, wipe, kBands[0], Zan::kFP));
}

TEST(BorderWipe, WithoutMemory) {
    ZanCompositor compositor;
    for (int lacking = 0; lacking < 4; ++lacking) {
        Wipe wipe(Format::Rgb(16, 4), Format::Rgb(16, 4), Format::Grey(16, 4), Format::Rgb(16, 4));
        Picture* const pictures[] = {&wipe.a, &wipe.b, &wipe.key, &wipe.dst};
        const Bytes before = wipe.dst.Colour();
        (*pictures[lacking])->GetImageDescriptor()->channels[0].memory =
            Tuk::RCPtr<Zan::AlignedMemoryBuffer>();
        EXPECT_EQ(WipeBand(compositor, wipe, kBands[0]), 1);
        EXPECT_EQ(wipe.dst.Colour(), before);
    }
}

}  // namespace
