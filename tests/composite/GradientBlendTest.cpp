#include <cmath>

#include "composite/Pictures.h"
#include "composite/WipeFormulas.h"

using namespace composite_test;

namespace {

unsigned Alpha(bool sse, unsigned g, double threshold, double gain) {
    return sse ? WordAlpha(g, threshold, gain) : FloatAlpha(g, threshold, gain);
}

// All pitches as they stand. The SSE form writes whole blocks of eight pixels, the scalar one every pixel.
void Expect(bool sse, const PlaneModel& a, const PlaneModel& b, const PlaneModel& key, PlaneModel& dst,
            unsigned width, unsigned height, double threshold, double gain) {
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < (sse ? width / 8 * 8 : width); ++x) {
            const unsigned alpha = Alpha(sse, key.At(y, x), threshold, gain);
            for (unsigned c = 0; c < 4; ++c) {
                dst.At(y, 4 * x + c) = Blend255(alpha, a.At(y, 4 * x + c), b.At(y, 4 * x + c));
            }
        }
    }
}

void Check(Zan::ZanCompositor& compositor, const Machine& machine, unsigned path, unsigned width,
           unsigned height, std::ptrdiff_t pitchA, std::ptrdiff_t pitchB, std::ptrdiff_t pitchKey,
           std::ptrdiff_t pitchDst, double threshold, double gain, std::size_t shift = 0) {
    SCOPED_TRACE(::testing::Message()
                 << "path " << path << ", " << width << "x" << height << ", pitches " << pitchA << " "
                 << pitchB << " " << pitchKey << " " << pitchDst << ", threshold " << threshold << ", gain "
                 << gain << ", shift " << shift);
    RawPlane a(4 * width, height, pitchA, shift);
    RawPlane b(4 * width, height, pitchB, (shift * 7) % 64);
    RawPlane key(width, height, pitchKey, (shift * 11) % 64);
    RawPlane dst(4 * width, height, pitchDst, (shift * 3) % 64);
    const PlaneModel aBefore = a.Model();
    const PlaneModel bBefore = b.Model();
    const PlaneModel keyBefore = key.Model();
    PlaneModel expected = dst.Model();
    Expect(path == 2 && machine.TakesSse(), aBefore, bBefore, keyBefore, expected, width, height, threshold,
           gain);
    ASSERT_EQ(compositor.CompositeTwoSrcAndAlphaGradient(a.Words(), b.Words(), key.Words(), dst.Words(),
                                                         width, height, a.Pitch(), b.Pitch(), key.Pitch(),
                                                         dst.Pitch(), threshold, gain, path),
              0);
    ASSERT_TRUE(Matches(expected, dst.Memory()));
    ASSERT_TRUE(Matches(aBefore, a.Memory())) << "the first source changed";
    ASSERT_TRUE(Matches(bBefore, b.Memory())) << "the second source changed";
    ASSERT_TRUE(Matches(keyBefore, key.Memory())) << "the key changed";
}

TEST(GradientBlend, EveryWidth) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const unsigned path : {1U, 2U}) {
            for (unsigned width = 0; width <= 70; ++width) {
                const std::ptrdiff_t row = 4 * static_cast<std::ptrdiff_t>(width);
                ASSERT_NO_FATAL_FAILURE(
                    Check(compositor, machine, path, width, 3, row, row + 12, width, row + 4, 0.3, 0.02));
            }
        }
    });
}

TEST(GradientBlend, PitchesAddressesAndHeights) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const unsigned path : {1U, 2U}) {
            for (std::ptrdiff_t odd = 0; odd < 4; ++odd) {
                for (const std::ptrdiff_t sign : {1, -1}) {
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, path, 27, 5, sign * (108 + odd),
                                                  -sign * (115 - odd), sign * (27 + odd),
                                                  sign * (120 + (odd + 1) % 4), 0.4, 0.01));
                }
            }
            for (std::size_t shift = 0; shift < 64; ++shift) {
                ASSERT_NO_FATAL_FAILURE(
                    Check(compositor, machine, path, 37, 2, 148, 152, 40, 148, 0.2, 0.005, shift));
            }
            for (unsigned height = 0; height <= 5; ++height) {
                ASSERT_NO_FATAL_FAILURE(
                    Check(compositor, machine, path, 16, height, -64, 64, -16, 72, 0.5, 1.0));
            }
        }
    });
}

TEST(GradientBlend, StreamedToAnyAddressAndPitch) {
    StreamingOnEveryTarget([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const unsigned path : {1U, 2U}) {
            for (std::size_t shift = 0; shift < 64; shift += shift < 9 ? 1 : 7) {
                for (const std::ptrdiff_t odd : {0, 1, 2, 3}) {
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, machine, path, 331, 3, 1324 + odd, 1324,
                                                  331 + odd, shift % 2 == 0 ? 1324 + odd : -(1328 + odd), 0.3,
                                                  0.02, shift));
                }
            }
        }
    });
}

// The alpha that each key value got, read off a blend of black and white.
void CheckAlphas(Zan::ZanCompositor& compositor, const Machine& machine, double threshold, double gain) {
    std::vector<unsigned char> key(256);
    for (unsigned g = 0; g < 256; ++g) {
        key[g] = static_cast<unsigned char>(g);
    }
    std::vector<Zan::ULong32> a(256, 0);
    std::vector<Zan::ULong32> b(256, 0xFFFFFFFFU);
    std::vector<Zan::ULong32> dst(256);
    for (const unsigned path : {1U, 2U}) {
        ASSERT_EQ(compositor.CompositeTwoSrcAndAlphaGradient(
                      a.data(), b.data(), reinterpret_cast<Zan::ULong32*>(key.data()), dst.data(), 256, 1,
                      1024, 1024, 256, 1024, threshold, gain, path),
                  0);
        for (unsigned g = 0; g < 256; ++g) {
            ASSERT_EQ(dst[g], 0x01010101U * Alpha(path == 2 && machine.TakesSse(), g, threshold, gain))
                << "key " << g << ", path " << path << ", threshold " << threshold << ", gain " << gain;
        }
    }
}

TEST(GradientBlend, AlphaOfEveryKeyValue) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const double threshold : {-2.0, -1.0, -0.5, 0.0, 0.001, 0.25, 1.0 / 3.0, 0.5, 0.999, 1.0, 1.0039,
                                       1.00393, 1.5, 2.0, 3.0}) {
            for (const double gain : {-1.0, -0.01, 0.0, 0.0001, 1.0 / 255.0, 0.01, 0.1, 0.5, 1.0, 1.0039,
                                      1.00393, 1.5, 2.0, 2.5, 100.0}) {
                ASSERT_NO_FATAL_FAILURE(CheckAlphas(compositor, machine, threshold, gain));
            }
        }
    });
}

TEST(GradientBlend, AlphaOfRandomSettings) {
    std::uniform_real_distribution<double> thresholds(-0.2, 1.2);
    std::uniform_real_distribution<double> exponents(-9.0, 1.0);
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (int i = 0; i < 200; ++i) {
            const double threshold = thresholds(Random());
            const double gain = std::exp2(exponents(Random()));
            ASSERT_NO_FATAL_FAILURE(CheckAlphas(compositor, machine, threshold, gain));
        }
    });
}

TEST(GradientBlend, SettingsBeyond32BitsSaturate) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const double threshold : {-1e300, -1e6, -66000.0, 66000.0, 1e6, 1e300}) {
            ASSERT_NO_FATAL_FAILURE(CheckAlphas(compositor, machine, threshold, 0.5));
        }
        for (const double gain : {-1e300, -1e6, -66000.0, 66000.0, 1e6, 1e300}) {
            ASSERT_NO_FATAL_FAILURE(CheckAlphas(compositor, machine, 0.5, gain));
        }
    });
}

TEST(GradientBlend, WorkedAlphas) {
    // Threshold 0 and gain 1/255 hand the key through: the scalar kernel as it is, the other one scaled:
    // G16 = 128 and (128 g * 128) >> 14 = g.
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        std::vector<unsigned char> key{0, 1, 2, 127, 128, 200, 254, 255};
        std::vector<Zan::ULong32> a(8, 0);
        std::vector<Zan::ULong32> b(8, 0xFFFFFFFFU);
        std::vector<Zan::ULong32> dst(8);
        for (const unsigned path : {1U, 2U}) {
            ASSERT_EQ(compositor.CompositeTwoSrcAndAlphaGradient(
                          a.data(), b.data(), reinterpret_cast<Zan::ULong32*>(key.data()), dst.data(), 8, 1,
                          32, 32, 8, 32, 0.0, 1.0 / 255.0, path),
                      0);
            for (unsigned i = 0; i < 8; ++i) {
                EXPECT_EQ(dst[i], 0x01010101U * key[i]) << i << " path " << path;
            }
            // A hard edge just below one half of the range.
            ASSERT_EQ(compositor.CompositeTwoSrcAndAlphaGradient(
                          a.data(), b.data(), reinterpret_cast<Zan::ULong32*>(key.data()), dst.data(), 8, 1,
                          32, 32, 8, 32, 127.0 / 255.0, 1.0, path),
                      0);
            for (unsigned i = 0; i < 8; ++i) {
                EXPECT_EQ(dst[i], key[i] > 127 ? 0xFFFFFFFFU : 0U) << i << " path " << path;
            }
        }
    });
}

TEST(GradientBlend, AllPairsOfSamples) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        std::vector<Zan::ULong32> a(65536);
        std::vector<Zan::ULong32> b(65536);
        std::vector<Zan::ULong32> dst(65536);
        for (unsigned i = 0; i < 65536; ++i) {
            a[i] = 0x01010101U * (i & 255U);
            b[i] = 0x01010101U * (i >> 8);
        }
        for (const unsigned path : {1U, 2U}) {
            for (unsigned alpha = 0; alpha < 256; alpha += 15) {
                std::vector<Zan::ULong32> key(64, 0x01010101U * alpha);
                const unsigned mapped = Alpha(path == 2 && machine.TakesSse(), alpha, 0.0, 1.0 / 255.0);
                ASSERT_EQ(compositor.CompositeTwoSrcAndAlphaGradient(a.data(), b.data(), key.data(),
                                                                     dst.data(), 256, 256, 1024, 1024, 0,
                                                                     1024, 0.0, 1.0 / 255.0, path),
                          0);
                for (unsigned i = 0; i < 65536; ++i) {
                    ASSERT_EQ(dst[i], 0x01010101U * Blend255(mapped, i & 255U, i >> 8))
                        << i << " alpha " << alpha;
                }
            }
        }
    });
}

TEST(GradientBlend, InPlace) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const unsigned path : {1U, 2U}) {
            for (const bool intoA : {true, false}) {
                for (const unsigned width : {7U, 8U, 21U, 40U, 61U}) {
                    RawPlane a(4 * width, 3, 256);
                    RawPlane b(4 * width, 3, 256);
                    RawPlane key(width, 3, 64);
                    RawPlane& dst = intoA ? a : b;
                    PlaneModel expected = dst.Model();
                    Expect(path == 2 && machine.TakesSse(), a.Model(), b.Model(), key.Model(), expected,
                           width, 3, 0.1, 0.01);
                    ASSERT_EQ(compositor.CompositeTwoSrcAndAlphaGradient(a.Words(), b.Words(), key.Words(),
                                                                         dst.Words(), width, 3, 256, 256, 64,
                                                                         256, 0.1, 0.01, path),
                              0);
                    ASSERT_TRUE(Matches(expected, dst.Memory())) << width;
                }
            }
        }
    });
}

TEST(GradientBlend, NotANumberIsHarmless) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    OnEveryMachine([&](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {1U, 2U}) {
            for (const auto& [threshold, gain] : {std::pair{nan, 0.5}, {0.5, nan}, {nan, nan}}) {
                RawPlane a(64, 2, 64);
                RawPlane key(16, 2, 16);
                RawPlane dst(64, 2, 64);
                PlaneModel expected = dst.Model();
                ASSERT_EQ(
                    compositor.CompositeTwoSrcAndAlphaGradient(a.Words(), a.Words(), key.Words(), dst.Words(),
                                                               16, 2, 64, 64, 16, 64, threshold, gain, path),
                    0);
                // Whatever the alpha: between two equal sources there is only one blend.
                for (unsigned y = 0; y < 2; ++y) {
                    for (unsigned i = 0; i < 64; ++i) {
                        expected.At(y, i) = a.First()[64 * y + i];
                    }
                }
                EXPECT_TRUE(Matches(expected, dst.Memory()));
            }
        }
    });
}

TEST(GradientBlend, OtherPathsAreRefused) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {0U, 3U, 4U, 5U, 6U, 0xFFFFFFFFU}) {
            RawPlane a(64, 2, 64);
            RawPlane dst(64, 2, 64);
            const PlaneModel before = dst.Model();
            EXPECT_EQ(compositor.CompositeTwoSrcAndAlphaGradient(a.Words(), a.Words(), a.Words(), dst.Words(),
                                                                 16, 2, 64, 64, 16, 64, 0.5, 0.5, path),
                      100);
            EXPECT_TRUE(Matches(before, dst.Memory()));
        }
    });
}

}  // namespace
