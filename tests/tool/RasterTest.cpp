#include "media/Raster.h"

#include <gtest/gtest.h>

#include "Errors.h"
#include "media/DigitFont.h"
#include "media/FileNames.h"

namespace tool {
namespace {

Raster Ramp(unsigned width, unsigned height) {
    Raster picture(width, height);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x)
            picture.At(x, y)[0] = static_cast<std::uint8_t>(10 * x + y);
    return picture;
}

TEST(RasterTest, ShrinkingByAWholeNumberTakesTheMeanOfEachBlock) {
    const Raster small = ShrinkToWidth(Ramp(4, 4), 2);
    ASSERT_EQ(small.width, 2U);
    ASSERT_EQ(small.height, 2U);
    // Block (0, 0): 0, 10, 1, 11, mean 5.5, rounded up.
    EXPECT_EQ(small.At(0, 0)[0], 6);
    EXPECT_EQ(small.At(1, 0)[0], 26);
    EXPECT_EQ(small.At(0, 1)[0], 8);
    EXPECT_EQ(small.At(1, 1)[0], 28);
}

TEST(RasterTest, ShrinkingBetweenPixelsWeighsByArea) {
    Raster picture(3, 3);
    for (unsigned y = 0; y < 3; ++y)
        for (unsigned x = 0; x < 3; ++x)
            picture.At(x, y)[1] = static_cast<std::uint8_t>(x * 90);
    const Raster small = ShrinkToWidth(picture, 2);
    ASSERT_EQ(small.height, 2U);
    // One pixel and a half each: (0 + 90 / 2) / 1.5 and (90 / 2 + 180) / 1.5.
    EXPECT_EQ(small.At(0, 0)[1], 30);
    EXPECT_EQ(small.At(1, 1)[1], 150);
}

TEST(RasterTest, NothingIsMadeLarger) {
    const Raster same = ShrinkToWidth(Ramp(4, 3), 100);
    EXPECT_EQ(same.width, 4U);
    EXPECT_EQ(same.samples, Ramp(4, 3).samples);
}

TEST(RasterTest, PlacingStaysInside) {
    Raster sheet(4, 4);
    const Raster white(3, 3, {255, 255, 255});
    Place(sheet, white, 2, 3);
    EXPECT_EQ(sheet.At(1, 3)[0], 0);
    EXPECT_EQ(sheet.At(2, 2)[0], 0);
    EXPECT_EQ(sheet.At(2, 3)[0], 255);
    EXPECT_EQ(sheet.At(3, 3)[2], 255);
    Place(sheet, white, 4, 0);
    Place(sheet, white, 0, 4);
}

TEST(RasterTest, NumbersStayInside) {
    Raster picture(8, 5, {9, 9, 9});
    DrawNumber(picture, 353, 2, 1, 3);
    EXPECT_EQ(picture.At(0, 0)[0], 9);
    EXPECT_EQ(picture.At(2, 1)[0], 0);
}

TEST(NumberedNameTest, PadsWithZeros) {
    EXPECT_EQ(NumberedName("a/out-%04d.png").At(7), "a/out-0007.png");
    EXPECT_EQ(NumberedName("%d.png").At(12), "12.png");
    EXPECT_EQ(NumberedName("x%2d.png").At(123), "x123.png");
}

TEST(NumberedNameTest, TakesExactlyOneNumber) {
    for (const char* pattern : {"out.png", "%s.png", "%d%d.png", "%04i.png", "%.png", "100%.png", "%12d.png"})
        EXPECT_THROW(NumberedName{pattern}, UsageError) << pattern;
}

}  // namespace
}  // namespace tool
