#include <TesselU/filter/DeepDefocus.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "filter/BlurCalls.h"
#include "filter/kernels/BoxFormula.h"
#include "support/Streaming.h"

namespace {

using namespace Zan;
using namespace filter_test;

TEST(DeepDefocus, SmallMeansInSixteenBitsAreThoseOfSinglePrecision) {
    ShortRounding rounding{};
    for (const std::size_t area : {0U, 1U, 2U, 4U, 254U, 256U, 257U}) {
        EXPECT_FALSE(FindShortRounding(area, rounding)) << area;
    }
    for (unsigned area = 3; area <= 255; area += 2) {
        ASSERT_TRUE(FindShortRounding(area, rounding));
        ASSERT_LE(rounding.multiplier, 65535U);
        ASSERT_GE(rounding.shift, 1U);
        ASSERT_LE(255 * area + rounding.start, 65535U);
        const ByteOfSum expected(Form::kSingle, area);
        for (unsigned sum = 0; sum <= 255 * area; ++sum) {
            const unsigned high = (sum + rounding.start) * rounding.multiplier >> 16;
            ASSERT_EQ(high >> rounding.shift, unsigned{expected(sum)}) << sum << " of " << area;
        }
    }
}

TEST(DeepDefocus, FusedMeansAreThoseOfSinglePrecision) {
    FusedRounding rounding{};
    for (const std::size_t area : {2U, 258U, 1024U, 16385U, 65535U}) {
        EXPECT_FALSE(FindFusedRounding(area, rounding)) << area;
    }
    unsigned found = 0, asked = 0;
    for (unsigned area = 257; area <= 16383; area += 2) {
        ++asked;
        if (!FindFusedRounding(area, rounding)) {
            continue;
        }
        ++found;
        ASSERT_LT(rounding.added + 255 * area, std::bit_cast<std::uint32_t>(16777216.0F));
        const ByteOfSum expected(Form::kSingle, area);
        // The means rise with the sums: the last sum of each and the first of the next say all.
        for (unsigned mean = 0; mean < 255; ++mean) {
            const unsigned last = mean * area + area / 2;
            for (const unsigned sum : {last, last + 1}) {
                const auto value = std::bit_cast<float>(rounding.added + sum);
                const auto bits =
                    std::bit_cast<std::uint32_t>(std::fma(value, rounding.factor, rounding.last));
                const unsigned nearest = sum == last ? mean : mean + 1;
                ASSERT_EQ(bits & 0xFFFF, nearest) << sum << " of " << area;
                ASSERT_EQ(expected(sum), nearest) << sum << " of " << area;
            }
        }
    }
    EXPECT_GT(found, asked / 10 * 9);
}

// ---- Every path ----

struct Case {
    unsigned width, height;
    int boxWidth, boxHeight;
};

/// All forms of one box on all targets against the plain formula, which is slow where each box is summed by
/// itself: a corner of it.
void Compare(const Case& c, PictureOptions options = {}) {
    BlurPicture from(c.width, c.height, options);
    const BoxSums sums(from.View(), c.width, c.height, c.boxWidth, c.boxHeight);
    const int area = c.boxWidth * c.boxHeight;
    for (const ProcessingStyleEnum style : {kBestAvailable, kInt_MMXorSIMD, kFlp, kStyle4}) {
        const bool isSlow = style == kStyle4 && area > 200;
        const Limits limits = isSlow ? Limits{2, 6, 1, 3} : Limits();
        Compared to(c.width, c.height, options);
        BlurPicture before(c.width, c.height, options);
        CopyMemory(to.made, before);
        const Region region = {limits.xStart, limits.xEnd, limits.yStart, limits.yEnd};
        WritePlainly(sums, to.expected.View(), region, FormOf(style));
        for (const simd::Target target : Targets()) {
            const simd::ScopedTarget scoped(target);
            CopyMemory(before, to.made);
            const Long32 status = Blur(from.View(), to.made.View(), c.boxWidth, c.boxHeight, style, limits);
            if (style == kFlp && area > 65536) {
                ASSERT_EQ(status, -5);
                continue;
            }
            ASSERT_EQ(status, 0);
            ASSERT_TRUE(SameMemory(to.made, to.expected))
                << simd::TargetName(target) << ", " << c.boxWidth << " by " << c.boxHeight << " in "
                << c.width << " by " << c.height << ", style " << style;
        }
    }
}

TEST(DeepDefocus, EveryBoxInSmallPictures) {
    for (unsigned width = 2; width <= 35; width += width < 20 ? 1 : 3) {
        const unsigned height = 2 + width * 7 % 13;
        for (int boxWidth = 1; boxWidth < static_cast<int>(width); boxWidth += 2) {
            for (int boxHeight = 1; boxHeight < static_cast<int>(height); boxHeight += 2) {
                ASSERT_NO_FATAL_FAILURE(Compare({width, height, boxWidth, boxHeight}));
            }
        }
    }
}

TEST(DeepDefocus, LargeBoxes) {
    for (const Case& c : {Case{90, 40, 31, 31},
                          {40, 120, 17, 101},
                          {300, 12, 257, 1},
                          {300, 4, 255, 1},
                          {5, 300, 1, 257},
                          {5, 300, 3, 259},
                          {6, 300, 1, 255},
                          {261, 9, 259, 5},
                          {45, 280, 39, 271},
                          {131, 133, 129, 129},
                          {300, 260, 253, 255}}) {
        ASSERT_NO_FATAL_FAILURE(Compare(c));
    }
}

// Sums of 16 bits, differences of columns that need more than 15, and three widths that have a way of their
// own.
TEST(DeepDefocus, WhiteAndBlackAtTheLimits) {
    for (const Case& c : {Case{41, 90, 3, 85},
                          {41, 60, 5, 51},
                          {41, 40, 7, 35},
                          {41, 90, 3, 83},
                          {40, 60, 5, 49},
                          {300, 3, 257, 1},
                          {5, 300, 1, 257},
                          {41, 140, 9, 127},
                          {41, 140, 9, 129},
                          {41, 270, 31, 257},
                          {41, 270, 31, 259}}) {
        BlurPicture from(c.width, c.height);
        for (const unsigned period : {1U, 2U, 7U, c.height / 2}) {
            // White, then white and black in turn.
            for (unsigned y = 0; y < c.height; ++y) {
                std::fill_n(from.Line(y), 4 * c.width,
                            static_cast<std::uint8_t>(y / period % 2 == 0 || period == 1 ? 255 : 0));
            }
            for (const ProcessingStyleEnum style : {kBestAvailable, kFP}) {
                Compared to(c.width, c.height);
                BlurPlainly(from.View(), to.expected.View(), c.boxWidth, c.boxHeight, {}, FormOf(style));
                for (const simd::Target target : Targets()) {
                    const simd::ScopedTarget scoped(target);
                    to.made.Fill(1);
                    ASSERT_EQ(Blur(from.View(), to.made.View(), c.boxWidth, c.boxHeight, style), 0);
                    ASSERT_TRUE(SameMemory(to.made, to.expected))
                        << simd::TargetName(target) << ", " << c.boxWidth << " by " << c.boxHeight
                        << ", style " << style << ", period " << period;
                }
            }
        }
    }
}

// Columns left and right of what is written, mirrored or not, by less than a vector.
TEST(DeepDefocus, NarrowBoxesInEveryRangeOfColumns) {
    BlurPicture from(37, 9);
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        for (const int boxWidth : {3, 5, 7}) {
            for (ULong32 xStart = 0; xStart < 37; ++xStart) {
                for (ULong32 xEnd = xStart + 1; xEnd <= 37; ++xEnd) {
                    Compared to(37, 9);
                    ASSERT_EQ(
                        Blur(from.View(), to.made.View(), boxWidth, 3, kBestAvailable, {xStart, xEnd, 2, 7}),
                        0);
                    BlurPlainly(from.View(), to.expected.View(), boxWidth, 3, {xStart, xEnd, 2, 7},
                                Form::kSingle);
                    ASSERT_TRUE(SameMemory(to.made, to.expected))
                        << simd::TargetName(target) << ", " << boxWidth << ", " << xStart << " to " << xEnd;
                }
            }
        }
    }
}

TEST(DeepDefocus, PicturesWiderThanAnyStackHas) {
    for (const Case& c : {Case{2079, 3, 5, 1},
                          {2080, 4, 31, 3},
                          {2081, 3, 3, 1},
                          {20000, 2, 3, 1},
                          {4097, 6, 301, 5},
                          {16500, 3, 3001, 1},
                          {1900, 700, 5, 601}}) {
        ASSERT_NO_FATAL_FAILURE(Compare(c));
    }
}

TEST(DeepDefocus, SumsAbove32Bits) {
    // 4103.5 rows and columns pass the limit and become 4105, whose sum of white is above 2^32.
    constexpr unsigned kSize = 4106;
    BlurPicture from(kSize, kSize), to(kSize, kSize);
    from.Fill(255);
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        to.Fill(0);
        ASSERT_EQ(Blur(from.View(), to.View(), 4103.5, 4103.5, kBestAvailable, {7, 9, 3, 4}), 0);
        EXPECT_EQ(to.At(7, 3, 1), 255);
        EXPECT_EQ(to.At(8, 3, 3), 255);
        EXPECT_EQ(to.At(6, 3), 0);
        EXPECT_EQ(to.At(9, 3), 0);
    }
    // Half of all bytes are 201, the others 100; the sum alone is above 2^31.
    for (unsigned y = 0; y < kSize; ++y) {
        for (unsigned x = 0; x < 4 * kSize; ++x) {
            from.At(0, y, x) = (x / 4 + y) % 2 == 0 ? 201 : 100;
        }
    }
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        ASSERT_EQ(Blur(from.View(), to.View(), 4001, 4003, kBestAvailable, {2050, 2052, 2051, 2052}), 0);
        // The centre's colour has one sample more: 150.5 plus or minus 3e-6 of 101 / 2, which single
        // precision does not tell from the half: to even.
        EXPECT_EQ(to.At(2050, 2051, 1), 150);
        EXPECT_EQ(to.At(2051, 2051, 1), 150);
    }
}

TEST(DeepDefocus, WritesAroundTheCacheTheSameBytes) {
    const ScopedStreaming streaming(true);
    for (unsigned padding = 0; padding < 20; padding += 3) {
        ASSERT_NO_FATAL_FAILURE(Compare({67, 11, 5, 3}, {padding}));
        ASSERT_NO_FATAL_FAILURE(Compare({67, 21, 15, 19}, {padding}));
    }
    // Lines of the cache: whole rows of them, and rows that end in one.
    for (unsigned width = 112; width <= 144; width += 4) {
        const std::size_t padding = 64 + (64 - 4 * width % 64) % 64;
        ASSERT_NO_FATAL_FAILURE(Compare({width, 16, 5, 3}, {padding})) << width;
        ASSERT_NO_FATAL_FAILURE(Compare({width, 37, 31, 19}, {padding})) << width;
    }
}

}  // namespace
