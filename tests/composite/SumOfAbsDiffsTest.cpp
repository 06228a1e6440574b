#include <algorithm>
#include <cstdlib>

#include "composite/Pictures.h"

using namespace composite_test;

namespace {

unsigned Difference(unsigned a, unsigned b) {
    return a > b ? a - b : b - a;
}

// Path 2 writes whole blocks of eight pixels only. Source pitches are cut to whole pixels on both paths.
void Expect(unsigned path, const PlaneModel& a, const PlaneModel& b, PlaneModel& dst, unsigned width,
            unsigned height) {
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < (path == 1 ? width : width / 8 * 8); ++x) {
            unsigned sum = 0;
            for (unsigned c = 0; c < 3; ++c) {
                sum += Difference(a.AtPitch(a.pitch / 4 * 4, y, 4 * x + c),
                                  b.AtPitch(b.pitch / 4 * 4, y, 4 * x + c));
            }
            dst.At(y, x) = static_cast<std::uint8_t>(std::min(sum, 255U));
        }
    }
}

void Check(Zan::ZanCompositor& compositor, unsigned path, unsigned width, unsigned height,
           std::ptrdiff_t pitchA, std::ptrdiff_t pitchB, std::ptrdiff_t pitchDst, std::size_t shift = 0) {
    SCOPED_TRACE(::testing::Message() << "path " << path << ", " << width << "x" << height << ", pitches "
                                      << pitchA << " " << pitchB << " " << pitchDst << ", shift " << shift);
    RawPlane a(4 * width, height, pitchA, shift);
    RawPlane b(4 * width, height, pitchB, (shift * 7) % 64);
    RawPlane dst(width, height, pitchDst, (shift * 3) % 64);
    // Half the samples near each other, so that not every sum is above 255.
    for (std::size_t i = 0; i < 4 * width && height > 0; ++i) {
        if (RandomByte() & 1U) {
            a.First()[i] = static_cast<std::uint8_t>(b.First()[i] + RandomByte() % 32);
        }
    }
    const PlaneModel aBefore = a.Model();
    const PlaneModel bBefore = b.Model();
    PlaneModel expected = dst.Model();
    Expect(path, aBefore, bBefore, expected, width, height);
    ASSERT_EQ(compositor.SumOfAbsDiffs(a.Words(), b.Words(), dst.First(), width, height, a.Pitch(), b.Pitch(),
                                       dst.Pitch(), path),
              0);
    ASSERT_TRUE(Matches(expected, dst.Memory()));
    ASSERT_TRUE(Matches(aBefore, a.Memory())) << "the first source changed";
    ASSERT_TRUE(Matches(bBefore, b.Memory())) << "the second source changed";
}

TEST(SumOfAbsDiffs, EveryWidth) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (unsigned width = 0; width <= 140; ++width) {
            const std::ptrdiff_t row = 4 * static_cast<std::ptrdiff_t>(width);
            ASSERT_NO_FATAL_FAILURE(Check(compositor, 1, width, 3, row, row + 12, width));
            if (machine.TakesSse() && width >= 8) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, 2, width, 3, row, row + 12, width + 1));
            }
        }
    });
}

TEST(SumOfAbsDiffs, PitchesAddressesAndHeights) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const unsigned path : {1U, 2U}) {
            if (path == 2 && !machine.TakesSse()) {
                continue;
            }
            for (std::ptrdiff_t odd = 0; odd < 4; ++odd) {
                for (const std::ptrdiff_t sign : {1, -1}) {
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, path, 27, 5, sign * (108 + odd),
                                                  -sign * (115 - odd), sign * (27 + (odd + 1) % 4)));
                }
            }
            for (std::size_t shift = 0; shift < 64; ++shift) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, path, 37, 2, 148, 152, 41, shift));
            }
            for (unsigned height = 0; height <= 5; ++height) {
                ASSERT_NO_FATAL_FAILURE(Check(compositor, path, 16, height, -64, 64, -16));
            }
        }
    });
}

TEST(SumOfAbsDiffs, StreamedToAnyAddressAndPitch) {
    StreamingOnEveryTarget([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const unsigned path : {1U, 2U}) {
            if (path == 2 && !machine.TakesSse()) {
                continue;
            }
            for (std::size_t shift = 0; shift < 64; shift += shift < 9 ? 1 : 7) {
                for (const std::ptrdiff_t odd : {0, 1, 2, 3}) {
                    ASSERT_NO_FATAL_FAILURE(Check(compositor, path, 411, 3, 1644 + odd, 1644,
                                                  shift % 2 == 0 ? 411 + odd : -(420 + odd), shift));
                }
            }
        }
    });
}

TEST(SumOfAbsDiffs, WorkedPixels) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        Zan::ULong32 a[8] = {0x00000000U, 0xFF000000U, 0x00102030U, 0x00FF0000U,
                             0x00FF0100U, 0x00005555U, 0x00555555U, 0x80555556U};
        Zan::ULong32 b[8] = {0x00FFFFFFU, 0x00000000U, 0x00302010U, 0x00000000U,
                             0x00000000U, 0x00000000U, 0x00000000U, 0x00000000U};
        const unsigned char expected[8] = {255, 0, 64, 255, 255, 170, 255, 255};
        for (const unsigned path : {1U, 2U}) {
            if (path == 2 && !machine.TakesSse()) {
                continue;
            }
            unsigned char dst[8] = {};
            ASSERT_EQ(compositor.SumOfAbsDiffs(a, b, dst, 8, 1, 32, 32, 8, path), 0);
            for (int i = 0; i < 8; ++i) {
                EXPECT_EQ(dst[i], expected[i]) << i << " path " << path;
            }
            ASSERT_EQ(compositor.SumOfAbsDiffs(b, a, dst, 8, 1, 32, 32, 8, path), 0);
            for (int i = 0; i < 8; ++i) {
                EXPECT_EQ(dst[i], expected[i]) << i << " path " << path;
            }
        }
    });
}

TEST(SumOfAbsDiffs, AllPairsInEachByte) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const unsigned path : {1U, 2U}) {
            if (path == 2 && !machine.TakesSse()) {
                continue;
            }
            for (unsigned byte = 0; byte < 4; ++byte) {
                std::vector<Zan::ULong32> a(65536);
                std::vector<Zan::ULong32> b(65536);
                std::vector<unsigned char> dst(65536);
                for (unsigned i = 0; i < 65536; ++i) {
                    a[i] = (i & 255U) << 8 * byte;
                    b[i] = (i >> 8) << 8 * byte;
                }
                ASSERT_EQ(compositor.SumOfAbsDiffs(a.data(), b.data(), dst.data(), 65536, 1, 0, 0, 0, path),
                          0);
                for (unsigned i = 0; i < 65536; ++i) {
                    ASSERT_EQ(dst[i], byte == 3 ? 0U : Difference(i & 255U, i >> 8)) << i << " byte " << byte;
                }
            }
        }
    });
}

TEST(SumOfAbsDiffs, NarrowerThanABlockStaysInsideTheRow) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        if (!machine.TakesSse()) {
            return;
        }
        for (unsigned width = 0; width < 8; ++width) {
            RawPlane a(32, 3, 64);
            RawPlane b(32, 3, 64);
            RawPlane dst(8, 3, 32);
            PlaneModel expected = dst.Model();
            ASSERT_EQ(compositor.SumOfAbsDiffs(a.Words(), b.Words(), dst.First(), width, 3, 64, 64, 32, 2),
                      0);
            for (unsigned y = 0; y < 3; ++y) {
                for (unsigned i = 0; i < width; ++i) {
                    expected.At(y, i) = dst.First()[32 * y + i];
                }
            }
            EXPECT_TRUE(Matches(expected, dst.Memory())) << width;
        }
    });
}

TEST(SumOfAbsDiffs, RefusedPaths) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine& machine) {
        for (const unsigned path : {0U, 2U, 3U, 4U, 5U, 0xFFFFFFFFU}) {
            if (path == 2 && machine.TakesSse()) {
                continue;
            }
            RawPlane a(64, 2, 64);
            RawPlane dst(16, 2, 16);
            const PlaneModel before = dst.Model();
            EXPECT_EQ(compositor.SumOfAbsDiffs(a.Words(), a.Words(), dst.First(), 16, 2, 64, 64, 16, path),
                      100);
            EXPECT_TRUE(Matches(before, dst.Memory()));
        }
    });
}

}  // namespace
