#include "composite/Pictures.h"

using namespace composite_test;

namespace {

// Path 1 walks image planes in whole pixels and writes every pixel; path 2 takes all pitches as they stand
// and writes whole blocks of eight.
void Expect(unsigned path, const PlaneModel& a, const PlaneModel& b, const PlaneModel& alpha, PlaneModel& dst,
            unsigned width, unsigned height) {
    const auto walked = [path](std::ptrdiff_t pitch) { return path == 1 ? pitch / 4 * 4 : pitch; };
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < (path == 1 ? width : width / 8 * 8); ++x) {
            for (unsigned c = 0; c < 4; ++c) {
                dst.AtPitch(walked(dst.pitch), y, 4 * x + c) =
                    Blend255(alpha.At(y, x), a.AtPitch(walked(a.pitch), y, 4 * x + c),
                             b.AtPitch(walked(b.pitch), y, 4 * x + c));
            }
        }
    }
}

void Check(Zan::ZanCompositor& compositor, unsigned path, unsigned width, unsigned height,
           std::ptrdiff_t pitchA, std::ptrdiff_t pitchB, std::ptrdiff_t pitchAlpha, std::ptrdiff_t pitchDst,
           std::size_t shift = 0) {
    SCOPED_TRACE(::testing::Message()
                 << "path " << path << ", " << width << "x" << height << ", pitches " << pitchA << " "
                 << pitchB << " " << pitchAlpha << " " << pitchDst << ", shift " << shift);
    RawPlane a(4 * width, height, pitchA, shift);
    RawPlane b(4 * width, height, pitchB, (shift * 7) % 64);
    RawPlane alpha(width, height, pitchAlpha, (shift * 11) % 64);
    RawPlane dst(4 * width, height, pitchDst, (shift * 3) % 64);
    const PlaneModel aBefore = a.Model();
    const PlaneModel bBefore = b.Model();
    const PlaneModel alphaBefore = alpha.Model();
    PlaneModel expected = dst.Model();
    Expect(path, aBefore, bBefore, alphaBefore, expected, width, height);
    ASSERT_EQ(
        compositor.CompositeTwoSrcAndAlpha(a.Words(), b.Words(), alpha.Words(), dst.Words(), width, height,
                                           a.Pitch(), b.Pitch(), alpha.Pitch(), dst.Pitch(), path),
        0);
    ASSERT_TRUE(Matches(expected, dst.Memory()));
    ASSERT_TRUE(Matches(aBefore, a.Memory())) << "the first source changed";
    ASSERT_TRUE(Matches(bBefore, b.Memory())) << "the second source changed";
    ASSERT_TRUE(Matches(alphaBefore, alpha.Memory())) << "the alpha plane changed";
}

TEST(CompositeAlpha, EveryWidth) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {1U, 2U}) {
            for (unsigned width = 0; width <= 70; ++width) {
                const std::ptrdiff_t row = 4 * static_cast<std::ptrdiff_t>(width);
                ASSERT_NO_FATAL_FAILURE(Check(compositor, path, width, 3, row, row + 12, width, row + 4));
            }
        }
    });
}

TEST(CompositeAlpha, WidthOf1002) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {1U, 2U}) {
            std::vector<Zan::ULong32> a(2004, 0);
            std::vector<Zan::ULong32> b(2004, 0x12345678U);
            std::vector<Zan::ULong32> alpha(501, 0xFFFFFFFFU);
            std::vector<Zan::ULong32> dst(2004, 0xDEADBEEFU);
            ASSERT_EQ(compositor.CompositeTwoSrcAndAlpha(a.data(), b.data(), alpha.data(), dst.data(), 1002,
                                                         2, 4008, 4008, 1002, 4008, path),
                      0);
            for (unsigned y = 0; y < 2; ++y) {
                for (unsigned x = 0; x < 1002; ++x) {
                    ASSERT_EQ(dst[1002 * y + x], x < 1000 || path == 1 ? 0x12345678U : 0xDEADBEEFU) << x;
                }
            }
        }
    });
}

TEST(CompositeAlpha, PitchesAddressesAndHeights) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {1U, 2U}) {
            for (std::ptrdiff_t odd = 0; odd < 4; ++odd) {
                for (const std::ptrdiff_t sign : {1, -1}) {
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, path, 27, 5, sign * (108 + odd),
                                                  -sign * (115 - odd), sign * (27 + odd),
                                                  sign * (120 + (odd + 1) % 4)));
                }
            }
            for (std::size_t shift = 0; shift < 64; ++shift) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, path, 37, 2, 148, 152, 40, 148, shift));
            }
            for (unsigned height = 0; height <= 5; ++height) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, path, 16, height, -64, 64, -16, 72));
            }
            // One row of alpha for all rows.
            ASSERT_NO_FATAL_FAILURE(Check(compositor, path, 16, 4, 64, 64, 0, 64));
        }
    });
}

TEST(CompositeAlpha, StreamedToAnyAddressAndPitch) {
    StreamingOnEveryTarget([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {1U, 2U}) {
            for (std::size_t shift = 0; shift < 64; shift += shift < 9 ? 1 : 7) {
                for (const std::ptrdiff_t odd : {0, 1, 2, 3}) {
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, path, 331, 3, 1324 + odd, 1324, 331 + odd,
                                                  shift % 2 == 0 ? 1324 + odd : -(1328 + odd), shift));
                }
            }
        }
    });
}

TEST(CompositeAlpha, AllAlphasOnAllSamples) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {1U, 2U}) {
            for (unsigned alpha = 0; alpha < 256; alpha += 17) {
                std::vector<Zan::ULong32> a(65536);
                std::vector<Zan::ULong32> b(65536);
                std::vector<Zan::ULong32> dst(65536);
                std::vector<Zan::ULong32> plane(64, 0x01010101U * alpha);
                for (unsigned y = 0; y < 256; ++y) {
                    for (unsigned x = 0; x < 256; ++x) {
                        a[y * 256 + x] = 0x01010101U * x;
                        b[y * 256 + x] = 0x01010101U * y;
                    }
                }
                ASSERT_EQ(compositor.CompositeTwoSrcAndAlpha(a.data(), b.data(), plane.data(), dst.data(),
                                                             256, 256, 1024, 1024, 0, 1024, path),
                          0);
                for (unsigned y = 0; y < 256; ++y) {
                    for (unsigned x = 0; x < 256; ++x) {
                        const unsigned t = (255 - alpha) * x + alpha * y;
                        ASSERT_EQ(dst[y * 256 + x], 0x01010101U * ((2 * t + 255) / 510))
                            << "a " << x << " b " << y << " alpha " << alpha;
                    }
                }
            }
        }
    });
}

TEST(CompositeAlpha, InPlace) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {1U, 2U}) {
            for (const bool intoA : {true, false}) {
                for (const unsigned width : {7U, 8U, 21U, 40U, 61U}) {
                    RawPlane a(4 * width, 3, 256);
                    RawPlane b(4 * width, 3, 256);
                    RawPlane alpha(width, 3, 64);
                    RawPlane& dst = intoA ? a : b;
                    PlaneModel expected = dst.Model();
                    Expect(path, a.Model(), b.Model(), alpha.Model(), expected, width, 3);
                    ASSERT_EQ(
                        compositor.CompositeTwoSrcAndAlpha(a.Words(), b.Words(), alpha.Words(), dst.Words(),
                                                           width, 3, 256, 256, 64, 256, path),
                        0);
                    ASSERT_TRUE(Matches(expected, dst.Memory())) << width;
                }
            }
        }
    });
}

TEST(CompositeAlpha, OtherPathsAreRefused) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {0U, 3U, 4U, 5U, 6U, 0xFFFFFFFFU}) {
            RawPlane a(64, 2, 64);
            RawPlane dst(64, 2, 64);
            const PlaneModel before = dst.Model();
            EXPECT_EQ(compositor.CompositeTwoSrcAndAlpha(a.Words(), a.Words(), a.Words(), dst.Words(), 16, 2,
                                                         64, 64, 16, 64, path),
                      100);
            EXPECT_TRUE(Matches(before, dst.Memory()));
        }
    });
}

}  // namespace
