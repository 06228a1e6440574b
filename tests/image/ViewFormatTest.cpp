#include <gtest/gtest.h>

#include "image/Formats.h"
#include "image/ViewFormat.h"

namespace Zan {
namespace {

using test::Alpha;
using test::Format;
using test::Planar;
using test::Rgb24;
using test::Rgb32;
using test::Uyvy;
using test::UyvyWithAlpha;

TEST(ViewFormat, SmallestWidthAndHeightAmongTheViews) {
    Image image(Rgb32(40, 30), 64);
    Image lower(Rgb32(60, 9), 64);
    ImageView whole(&image);
    ImageView narrow(&image, Rectangle(2, 0, 7, 30), kFrame);
    ImageView field(&lower, Rectangle(0, 0, 60, 9), kLowerField);
    EXPECT_EQ(SmallestSize(whole).width, 40U);
    EXPECT_EQ(SmallestSize(whole).height, 30U);
    const ViewSize size = SmallestSize(whole, narrow, field);
    EXPECT_EQ(size.width, 7U);
    EXPECT_EQ(size.height, 4U);
    EXPECT_EQ(SmallestSize(whole, ImageView()).width, 0U);
}

TEST(ViewFormat, TestsOfTheSampling) {
    const struct {
        ImageDescriptor format;
        bool is4444, is422, isPacked;
    } cases[] = {
        {Rgb32(8, 8), true, false, true},
        {Format(8, 8, kYCrCb, k4444, kCbYCrA), true, false, true},
        {Rgb24(8, 8), false, false, true},
        {Uyvy(8, 8), false, true, true},
        {UyvyWithAlpha(8, 8), false, true, true},
        {Planar(8, 8, k422), false, true, false},
        {Planar(8, 8, k420), false, false, false},
        // Whatever sampling is forced on it.
        {Alpha(8, 8), false, false, true},
        {Format(8, 8, kRGB, k4444, kBGRA, kPlanar), true, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const Image image(c.format, 64);
        EXPECT_EQ(Is4444(image), c.is4444);
        EXPECT_EQ(Is422Family(image), c.is422);
        EXPECT_EQ(IsPacked4444(image), c.is4444 && c.isPacked);
        EXPECT_EQ(IsPacked422Family(image), c.is422 && c.isPacked);
    }
}

TEST(ViewFormat, GreyOfOneByte) {
    EXPECT_TRUE(IsGrey8(Image(Alpha(8, 8), 64)));
    EXPECT_FALSE(IsGrey8(Image(Alpha(8, 8, k16Bits), 64)));
    EXPECT_FALSE(IsGrey8(Image(Alpha(8, 8, k32Bits), 64)));
    EXPECT_FALSE(IsGrey8(Image(Rgb32(8, 8), 64)));
    EXPECT_EQ(RoundedBytesPerPixel(Image(Planar(8, 8, k420), 64)), 2U) << "1.5 goes up";
    EXPECT_EQ(WholeBytesPerPixel(Image(Planar(8, 8, k420), 64)), 1U) << "1.5 is cut";
    EXPECT_EQ(RoundedBytesPerPixel(Image(UyvyWithAlpha(8, 8), 64)), 3U);
}

TEST(ViewFormat, ChannelsOfAnyDepth) {
    Image image(Alpha(8, 1), 64);
    unsigned char memory[64];
    ChannelDescriptor deep;
    deep.SetAlpha(0.0F, 8, 1, kProgressive, kNoFields, 0xFFFFFFFFU);
    // Nine times 2^29 bytes.
    for (Long32 channel = 1; channel <= 9; ++channel) {
        ASSERT_EQ(image.AddChannel(memory, 64, deep, 1, 1), channel);
    }
    EXPECT_GT(image.GetBytesPerPixel(), 4294967296.0F);
    EXPECT_EQ(WholeBytesPerPixel(image), 65536U);
    EXPECT_EQ(RoundedBytesPerPixel(image), 65536U);
    EXPECT_FALSE(IsGrey8(image));
}

}  // namespace
}  // namespace Zan
