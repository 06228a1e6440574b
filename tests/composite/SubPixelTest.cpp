#include <algorithm>

#include "composite/Pictures.h"

using namespace composite_test;

namespace {

void Expect(const PlaneModel& src, PlaneModel& dst, unsigned width, unsigned height, double position) {
    const unsigned w = static_cast<unsigned>(std::clamp(position * 256.0, 0.0, 255.0)) & 255U;
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            for (unsigned c = 0; c < 4; ++c) {
                const unsigned cur = src.AtPitch(src.pitch / 4 * 4, y, 4 * x + c);
                const unsigned next = x + 1 < width ? src.AtPitch(src.pitch / 4 * 4, y, 4 * x + 4 + c) : 0U;
                dst.AtPitch(dst.pitch / 4 * 4, y, 4 * x + c) =
                    static_cast<std::uint8_t>((((next * (512 - 2 * w) + cur * (2 * w)) >> 8) + 1) >> 1);
            }
        }
    }
}

void Check(Zan::ZanCompositor& compositor, unsigned width, unsigned height, std::ptrdiff_t pitchSrc,
           std::ptrdiff_t pitchDst, double position, std::size_t shift = 0) {
    SCOPED_TRACE(::testing::Message() << width << "x" << height << ", pitches " << pitchSrc << " " << pitchDst
                                      << ", position " << position << ", shift " << shift);
    RawPlane src(4 * width, height, pitchSrc, shift);
    RawPlane dst(4 * width, height, pitchDst, (shift * 5) % 64);
    const PlaneModel srcBefore = src.Model();
    PlaneModel expected = dst.Model();
    Expect(srcBefore, expected, width, height, position);
    ASSERT_EQ(compositor.XSubPixelPosition(src.Words(), dst.Words(), width, height, src.Pitch(), dst.Pitch(),
                                           position, 1),
              0);
    ASSERT_TRUE(Matches(expected, dst.Memory()));
    ASSERT_TRUE(Matches(srcBefore, src.Memory())) << "the source changed";
}

TEST(SubPixel, EveryWidth) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (unsigned width = 0; width <= 70; ++width) {
            const std::ptrdiff_t row = 4 * static_cast<std::ptrdiff_t>(width);
            ASSERT_NO_FATAL_FAILURE(Check(compositor, width, 3, row, row + 4, width / 70.0));
        }
    });
}

TEST(SubPixel, EveryPosition) {
    Zan::ZanCompositor compositor;
    for (int step = -10; step <= 1034; ++step) {
        ASSERT_NO_FATAL_FAILURE(Check(compositor, 19, 2, 76, 76, step / 1024.0));
    }
    for (const double position : {-1e9, -0.5, 255.0 / 256.0, 255.4 / 256.0, 0.999, 1.0, 2.0, 1e9}) {
        ASSERT_NO_FATAL_FAILURE(Check(compositor, 19, 2, 76, 76, position));
    }
}

TEST(SubPixel, PitchesAddressesAndHeights) {
    Zan::ZanCompositor compositor;
    for (std::ptrdiff_t odd = 0; odd < 4; ++odd) {
        for (const std::ptrdiff_t sign : {1, -1}) {
            ASSERT_NO_FATAL_FAILURE(Check(compositor, 27, 5, sign * (108 + odd), -sign * (115 - odd), 0.3));
        }
    }
    for (std::size_t shift = 0; shift < 64; ++shift) {
        ASSERT_NO_FATAL_FAILURE(Check(compositor, 37, 2, 148, 152, 0.6, shift));
    }
    for (unsigned height = 0; height <= 5; ++height) {
        ASSERT_NO_FATAL_FAILURE(Check(compositor, 16, height, -64, 72, 0.8));
    }
}

TEST(SubPixel, ZeroMovesOnePixelLeft) {
    Zan::ZanCompositor compositor;
    Zan::ULong32 src[5] = {0x01020304U, 0xFFFFFFFFU, 0x80FE7F01U, 0x00000000U, 0xA5A5A5A5U};
    Zan::ULong32 dst[5] = {};
    ASSERT_EQ(compositor.XSubPixelPosition(src, dst, 5, 1, 20, 20, 0.0, 1), 0);
    for (int x = 0; x < 4; ++x) {
        EXPECT_EQ(dst[x], src[x + 1]);
    }
    EXPECT_EQ(dst[4], 0U);
}

TEST(SubPixel, LastPositionsAreAlike) {
    // 255/256: white fades to (255*510 >> 8 + 1) >> 1 = 254 at the right edge and is white before it.
    Zan::ZanCompositor compositor;
    for (const double position : {255.0 / 256.0, 0.9999, 1.0, 17.0}) {
        Zan::ULong32 src[3] = {0xFFFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU};
        Zan::ULong32 dst[3] = {};
        ASSERT_EQ(compositor.XSubPixelPosition(src, dst, 3, 1, 12, 12, position, 1), 0);
        EXPECT_EQ(dst[0], 0xFFFFFFFFU);
        EXPECT_EQ(dst[1], 0xFFFFFFFFU);
        EXPECT_EQ(dst[2], 0xFEFEFEFEU);
    }
}

TEST(SubPixel, InPlace) {
    Zan::ZanCompositor compositor;
    for (const unsigned width : {1U, 5U, 16U, 33U, 50U}) {
        RawPlane plane(4 * width, 3, 256);
        PlaneModel expected = plane.Model();
        Expect(plane.Model(), expected, width, 3, 0.3);
        ASSERT_EQ(compositor.XSubPixelPosition(plane.Words(), plane.Words(), width, 3, 256, 256, 0.3, 1), 0);
        EXPECT_TRUE(Matches(expected, plane.Memory())) << width;
    }
}

TEST(SubPixel, NothingBeyondTheRowIsRead) {
    Zan::ZanCompositor compositor;
    for (unsigned width = 1; width <= 40; ++width) {
        FencedMemory src(4 * width);
        std::vector<Zan::ULong32> dst(width);
        EXPECT_EQ(compositor.XSubPixelPosition(reinterpret_cast<Zan::ULong32*>(src.Data()), dst.data(), width,
                                               1, static_cast<Zan::Long32>(4 * width),
                                               static_cast<Zan::Long32>(4 * width), 0.5, 1),
                  0);
    }
}

TEST(SubPixel, OtherPathsAreRefused) {
    OnEveryMachine([](Zan::ZanCompositor& compositor, const Machine&) {
        for (const unsigned path : {0U, 2U, 3U, 4U, 5U, 0xFFFFFFFFU}) {
            RawPlane src(64, 2, 64);
            RawPlane dst(64, 2, 64);
            const PlaneModel before = dst.Model();
            EXPECT_EQ(compositor.XSubPixelPosition(src.Words(), dst.Words(), 16, 2, 64, 64, 0.5, path), 100);
            EXPECT_TRUE(Matches(before, dst.Memory()));
        }
    });
}

}  // namespace
