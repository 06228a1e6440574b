#include "simd/Job.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace Zan::simd {
namespace {

TEST(PlaneUse, BytesOfWholeColumns) {
    constexpr PlaneUse kPixels = {.bytesPer16 = 64}, kTriples = {.bytesPer16 = 48}, kBytes = {};
    constexpr PlaneUse kHalf = {.bytesPer16 = 8, .columns = 2}, kQuarter = {.bytesPer16 = 4, .columns = 4};
    EXPECT_EQ(kPixels.Bytes(7), 28U);
    EXPECT_EQ(kTriples.Bytes(7), 21U);
    EXPECT_EQ(kBytes.Bytes(7), 7U);
    EXPECT_EQ(kHalf.Bytes(8), 4U);
    EXPECT_EQ(kQuarter.Bytes(8), 2U);
}

// Columns that belong together are there together: 4:2:2 pairs take four bytes, also for one pixel.
TEST(PlaneUse, BytesUpCountsSharedColumnsWhole) {
    constexpr PlaneUse kPairs = {.bytesPer16 = 32, .columns = 2};
    constexpr PlaneUse kHalf = {.bytesPer16 = 8, .columns = 2}, kQuarter = {.bytesPer16 = 4, .columns = 4};
    constexpr PlaneUse kGroups = {.bytesPer16 = 16, .columns = 16};
    const struct {
        std::size_t columns, pairs, half, quarter, groups;
    } cases[] = {{0, 0, 0, 0, 0},    {1, 4, 1, 1, 16},   {2, 4, 1, 1, 16},
                 {3, 8, 2, 1, 16},   {4, 8, 2, 1, 16},   {5, 12, 3, 2, 16},
                 {15, 32, 8, 4, 16}, {16, 32, 8, 4, 16}, {17, 36, 9, 5, 32}};
    for (const auto& [columns, pairs, half, quarter, groups] : cases) {
        EXPECT_EQ(kPairs.BytesUp(columns), pairs) << columns;
        EXPECT_EQ(kHalf.BytesUp(columns), half) << columns;
        EXPECT_EQ(kQuarter.BytesUp(columns), quarter) << columns;
        EXPECT_EQ(kGroups.BytesUp(columns), groups) << columns;
        EXPECT_EQ(kPairs.RowBytes(columns), pairs) << columns;
    }
}

// A row whose bytes no address can count lies in no memory.
TEST(PlaneUse, RowBytesSaturate) {
    for (const std::size_t bytesPer16 : {4U, 8U, 16U, 32U, 48U, 64U}) {
        const PlaneUse use = {.bytesPer16 = bytesPer16};
        const std::size_t most = SIZE_MAX / bytesPer16;
        EXPECT_EQ(use.RowBytes(most), use.BytesUp(most)) << bytesPer16;
        EXPECT_EQ(use.RowBytes(most + 1), SIZE_MAX) << bytesPer16;
        EXPECT_EQ(use.RowBytes(SIZE_MAX), SIZE_MAX) << bytesPer16;
    }
}

TEST(PlaneUse, ColumnsInCountsWholeOnes) {
    constexpr PlaneUse kPixels = {.bytesPer16 = 64}, kTriples = {.bytesPer16 = 48};
    constexpr PlaneUse kPairs = {.bytesPer16 = 32, .columns = 2}, kHalf = {.bytesPer16 = 8, .columns = 2};
    EXPECT_EQ(kPixels.ColumnsIn(0), 0U);
    EXPECT_EQ(kPixels.ColumnsIn(11), 2U);
    EXPECT_EQ(kTriples.ColumnsIn(11), 3U);
    EXPECT_EQ(kPairs.ColumnsIn(3), 0U);
    EXPECT_EQ(kPairs.ColumnsIn(4), 2U);
    EXPECT_EQ(kPairs.ColumnsIn(7), 2U);
    EXPECT_EQ(kHalf.ColumnsIn(3), 6U);
}

}  // namespace
}  // namespace Zan::simd
