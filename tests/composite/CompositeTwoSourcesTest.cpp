#include "composite/Pictures.h"

using namespace composite_test;

namespace {

// Only whole blocks of four pixels are written, and pitches are cut to whole pixels, on every processor.
void Expect(const PlaneModel& a, const PlaneModel& b, PlaneModel& dst, unsigned width, unsigned height) {
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width / 4 * 4; ++x) {
            const unsigned alpha = b.AtPitch(b.pitch / 4 * 4, y, 4 * x + 3);
            for (unsigned c = 0; c < 4; ++c) {
                dst.AtPitch(dst.pitch / 4 * 4, y, 4 * x + c) =
                    Blend255(alpha, a.AtPitch(a.pitch / 4 * 4, y, 4 * x + c),
                             b.AtPitch(b.pitch / 4 * 4, y, 4 * x + c));
            }
        }
    }
}

void Check(Zan::ZanCompositor& compositor, unsigned width, unsigned height, std::ptrdiff_t pitchA,
           std::ptrdiff_t pitchB, std::ptrdiff_t pitchDst, std::size_t shift = 0) {
    SCOPED_TRACE(::testing::Message() << width << "x" << height << ", pitches " << pitchA << " " << pitchB
                                      << " " << pitchDst << ", shift " << shift);
    RawPlane a(4 * width, height, pitchA, shift);
    RawPlane b(4 * width, height, pitchB, (shift * 7) % 64);
    RawPlane dst(4 * width, height, pitchDst, (shift * 3) % 64);
    const PlaneModel aBefore = a.Model();
    const PlaneModel bBefore = b.Model();
    PlaneModel expected = dst.Model();
    Expect(aBefore, bBefore, expected, width, height);
    ASSERT_EQ(compositor.CompositeTwoSources(a.Words(), b.Words(), dst.Words(), width, height, a.Pitch(),
                                             b.Pitch(), dst.Pitch(), 2),
              0);
    ASSERT_TRUE(Matches(expected, dst.Memory()));
    ASSERT_TRUE(Matches(aBefore, a.Memory())) << "the first source changed";
    ASSERT_TRUE(Matches(bBefore, b.Memory())) << "the second source changed";
}

TEST(CompositeTwoSources, EveryWidthFromOneBlock) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (unsigned width = 4; width <= 70; ++width) {
            const std::ptrdiff_t row = 4 * static_cast<std::ptrdiff_t>(width);
            ASSERT_NO_FATAL_FAILURE(Check(compositor, width, 3, row, row + 12, row + 4));
        }
    });
}

TEST(CompositeTwoSources, PitchesAddressesAndHeights) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (std::ptrdiff_t odd = 0; odd < 4; ++odd) {
            for (const std::ptrdiff_t sign : {1, -1}) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, 23, 5, sign * (92 + odd), -sign * (99 - odd),
                                              sign * (100 + (odd + 1) % 4)));
            }
        }
        for (std::size_t shift = 0; shift < 64; ++shift) {
            ASSERT_NO_FATAL_FAILURE(Check(compositor, 37, 2, 148, 152, 148, shift));
        }
        for (unsigned height = 0; height <= 5; ++height) {
            ASSERT_NO_FATAL_FAILURE(Check(compositor, 16, height, -64, 64, 72));
        }
    });
}

TEST(CompositeTwoSources, StreamedToAnyAddressAndPitch) {
    StreamingOnEveryTarget([](Zan::ZanCompositor& compositor, const Machine&) {
        for (std::size_t shift = 0; shift < 64; shift += shift < 9 ? 1 : 7) {
            for (const std::ptrdiff_t odd : {0, 1, 6}) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, 205, 3, 820 + odd, 820,
                                              shift % 2 == 0 ? 820 + odd : -(828 + odd), shift));
            }
        }
    });
}

TEST(CompositeTwoSources, AllAlphasOnAllSamples) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        // Column x: the sample of one source and, in byte 3, its alpha; row y: the alpha of the second.
        for (const unsigned other : {0U, 1U, 77U, 128U, 254U, 255U}) {
            std::vector<Zan::ULong32> a(65536);
            std::vector<Zan::ULong32> b(65536);
            std::vector<Zan::ULong32> dst(65536);
            for (unsigned y = 0; y < 256; ++y) {
                for (unsigned x = 0; x < 256; ++x) {
                    a[y * 256 + x] = x | other << 8 | (255 - x) << 16 | x << 24;
                    b[y * 256 + x] = other | x << 8 | y << 16 | y << 24;
                }
            }
            ASSERT_EQ(
                compositor.CompositeTwoSources(a.data(), b.data(), dst.data(), 256, 256, 1024, 1024, 1024, 2),
                0);
            for (unsigned y = 0; y < 256; ++y) {
                for (unsigned x = 0; x < 256; ++x) {
                    const auto blend = [y](unsigned p, unsigned q) { return unsigned{Blend255(y, p, q)}; };
                    ASSERT_EQ(dst[y * 256 + x], (blend(x, other) | blend(other, x) << 8 |
                                                 blend(255 - x, y) << 16 | blend(x, y) << 24))
                        << "x " << x << " alpha " << y;
                }
            }
        }
    });
}

TEST(CompositeTwoSources, EqualSamplesStay) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        // With equal colours every alpha leaves them as they are.
        std::vector<Zan::ULong32> a(65536);
        std::vector<Zan::ULong32> dst(65536);
        for (unsigned i = 0; i < 65536; ++i) {
            a[i] = 0x010101U * (i & 255U) | i >> 8 << 24;
        }
        ASSERT_EQ(compositor.CompositeTwoSources(a.data(), a.data(), dst.data(), 65536, 1, 0, 0, 0, 2), 0);
        EXPECT_EQ(dst, a);
    });
}

TEST(CompositeTwoSources, WorkedWords) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        Zan::ULong32 a[4] = {0x11223344U, 0x11223344U, 0x40000000U, 0xFF000000U};
        Zan::ULong32 b[4] = {0xFFABCDEFU, 0x00ABCDEFU, 0x80FFFFFFU, 0x80FFFFFFU};
        Zan::ULong32 dst[4] = {};
        ASSERT_EQ(compositor.CompositeTwoSources(a, b, dst, 4, 1, 16, 16, 16, 2), 0);
        EXPECT_EQ(dst[0], 0xFFABCDEFU);
        // The colour of the first source; its alpha 0x11 too, as 255/255 of it plus 0 of 0.
        EXPECT_EQ(dst[1], 0x11223344U);
        // Alpha (127*64 + 128*128)/255 = 96.1; colour 128*255/255.
        EXPECT_EQ(dst[2], 0x60808080U);
        // Alpha (127*255 + 128*128)/255 = 191.25.
        EXPECT_EQ(dst[3], 0xBF808080U);
    });
}

TEST(CompositeTwoSources, NarrowerThanABlockStaysInsideTheRow) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (unsigned width = 0; width < 4; ++width) {
            RawPlane a(16, 3, 64);
            RawPlane b(16, 3, 64);
            RawPlane dst(16, 3, 64);
            PlaneModel expected = dst.Model();
            ASSERT_EQ(
                compositor.CompositeTwoSources(a.Words(), b.Words(), dst.Words(), width, 3, 64, 64, 64, 2),
                0);
            // What the row itself then holds is open.
            for (unsigned y = 0; y < 3; ++y) {
                for (unsigned i = 0; i < 4 * width; ++i) {
                    expected.At(y, i) = dst.First()[64 * y + i];
                }
            }
            EXPECT_TRUE(Matches(expected, dst.Memory())) << width;
        }
    });
}

TEST(CompositeTwoSources, InPlace) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const bool intoA : {true, false}) {
            for (const unsigned width : {4U, 7U, 20U, 38U, 61U}) {
                RawPlane a(4 * width, 3, 256);
                RawPlane b(4 * width, 3, 256);
                RawPlane& dst = intoA ? a : b;
                PlaneModel expected = dst.Model();
                Expect(a.Model(), b.Model(), expected, width, 3);
                ASSERT_EQ(compositor.CompositeTwoSources(a.Words(), b.Words(), dst.Words(), width, 3, 256,
                                                         256, 256, 2),
                          0);
                ASSERT_TRUE(Matches(expected, dst.Memory())) << width;
            }
        }
    });
}

TEST(CompositeTwoSources, OtherPathsAreRefused) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {0U, 1U, 3U, 4U, 5U, 6U, 0xFFFFFFFFU}) {
            RawPlane a(64, 2, 64);
            RawPlane dst(64, 2, 64);
            const PlaneModel before = dst.Model();
            EXPECT_EQ(
                compositor.CompositeTwoSources(a.Words(), a.Words(), dst.Words(), 16, 2, 64, 64, 64, path),
                100);
            EXPECT_TRUE(Matches(before, dst.Memory()));
        }
    });
}

}  // namespace
