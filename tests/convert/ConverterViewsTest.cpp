#include <gtest/gtest.h>

#include <cstring>

#include "convert/PackedPicture.h"

namespace {

using namespace Zan;
using namespace convert_test;

TEST(ConverterViews, ConvertsTheSmallerOfBothSizes) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(20, 3), to = Rgb32(24, 2, 0x77);
    from.Fill({128, 16, 128, 235});
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    for (unsigned y = 0; y < 2; ++y) {
        for (unsigned x = 0; x < 24; ++x) {
            // White is 9538 * 28032 >> 20 = 254 and 254.98 in the tail alike.
            const unsigned char grey = x % 2 == 0 ? 0 : 254;
            EXPECT_EQ(to.Pixel(x, y), x < 20 ? (Bytes{grey, grey, grey, 255}) : Bytes(4, 0x77)) << x;
        }
    }
    Packed narrow = Rgb32(6, 4, 0x77);
    EXPECT_EQ(Convert(converter, from.View(), narrow.View()), 0);
    EXPECT_EQ(narrow.Pixel(5, 2), (Bytes{254, 254, 254, 255}));
    EXPECT_EQ(narrow.Pixel(5, 3), Bytes(4, 0x77));
}

TEST(ConverterViews, EmptyViewsAreDone) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(8, 4), to = Rgb32(8, 4, 0x77);
    EXPECT_EQ(Convert(converter, from.View({0, 0, 0, 4}), to.View()), 0);
    EXPECT_EQ(Convert(converter, from.View({0, 0, 8, 0}), to.View()), 0);
    EXPECT_EQ(Convert(converter, from.View(), to.View({2, 2, 0, 0})), 0);
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x77));
}

TEST(ConverterViews, RegionsStayInside) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(8, 4), to = Rgb32(8, 4, 0x77);
    from.Fill({128, 235, 128, 235});
    EXPECT_EQ(Convert(converter, from.View(), to.View({3, 1, 4, 2})), 0);
    for (unsigned y = 0; y < 4; ++y) {
        for (unsigned x = 0; x < 8; ++x) {
            const bool inside = x >= 3 && x < 7 && y >= 1 && y < 3;
            EXPECT_EQ(to.Pixel(x, y), inside ? (Bytes{254, 254, 254, 255}) : Bytes(4, 0x77))
                << x << ", " << y;
        }
    }
}

TEST(ConverterViews, LeftEdgeOutsideIsRefused) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(8, 4), to = Rgb32(8, 4, 0x77);
    // Packed 4:2:2 keeps the edge that was asked for, two pixels left of the picture.
    EXPECT_EQ(Convert(converter, from.View({-2, 0, 8, 4}), to.View()), 98);
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x77));
    Packed back = Uyvy(8, 4);
    back.Fill({9, 9, 9, 9});
    EXPECT_EQ(Convert(converter, to.View(), back.View({-2, 0, 8, 4})), 98);
    EXPECT_EQ(back.bytes, Bytes(back.bytes.size(), 9));
    // Also where the line above would hold the columns that are missing.
    EXPECT_EQ(Convert(converter, from.View({-2, 1, 8, 2}), to.View()), 98);
    EXPECT_EQ(Convert(converter, from.View(), back.View({-2, 1, 8, 2})), 98);
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x77));
    EXPECT_EQ(back.bytes, Bytes(back.bytes.size(), 9));
    // RGB is cut to what lies inside.
    EXPECT_EQ(Convert(converter, from.View(), to.View({-2, 0, 8, 4})), 0);
}

TEST(ConverterViews, AlphaPlanesTooSmallAreRefused) {
    const ImageDescriptor format(8, 4, kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft,
                                 1.0F, kUnshaped);
    for (const bool source : {true, false}) {
        Image from(format, 64U), to(format, 64U);
        (source ? from : to).GetImageDescriptor()->channels[3].memory =
            Tuk::RCPtr<AlignedMemoryBuffer>(new AlignedMemoryBuffer(8, 3, 64, 1, kNoAliasWorkAround));
        ColorSpaceConverter converter;
        EXPECT_EQ(Convert(converter, ImageView(&from), ImageView(&to)), 98);
        // What is left of the plane will do for three lines.
        EXPECT_EQ(Convert(converter, ImageView(&from, Rectangle(0, 0, 8, 3), kFrame), ImageView(&to)), 0);
    }
}

TEST(ConverterViews, BottomUpFramesComeInPictureOrder) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(4, 3), to = Rgb32(4, 3);
    for (unsigned y = 0; y < 3; ++y) {
        for (unsigned x = 0; x < 2; ++x) {
            const unsigned char luma[] = {16, 126, 235};
            const unsigned char pair[4] = {128, luma[y], 128, luma[y]};
            std::memcpy(from.Row(y) + 4 * x, pair, 4);
        }
    }
    from.Get().SetOrigin(kBottomLeft);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 0)[0], 254);
    // 4769 * 110 / 4096 = 128.07.
    EXPECT_EQ(to.Pixel(0, 1)[0], 128);
    EXPECT_EQ(to.Pixel(0, 2)[0], 0);
    to.Get().SetOrigin(kBottomLeft);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 2)[0], 254);
}

TEST(ConverterViews, FieldsAreConvertedAlone) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(16, 5), to = Rgb32(16, 5, 0x77);
    from.Fill({128, 235, 128, 235});
    EXPECT_EQ(Convert(converter, from.View({0, 0, 16, 5}, kUpperField), to.View({0, 0, 16, 5}, kLowerField)),
              0);
    for (unsigned y = 0; y < 5; ++y) {
        EXPECT_EQ(to.Pixel(15, y), y % 2 == 1 ? (Bytes{254, 254, 254, 255}) : Bytes(4, 0x77)) << y;
    }
}

TEST(ConverterViews, FieldsOfBottomUpPicturesAreRefused) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(16, 6), to = Rgb32(16, 6, 0x77);
    from.Get().SetOrigin(kBottomLeft);
    for (const WhichFieldEnum field : {kFirstField, kSecondField, kUpperField, kLowerField}) {
        EXPECT_EQ(Convert(converter, from.View({0, 0, 16, 6}, field), to.View()), 98) << field;
        Packed back = Uyvy(16, 6);
        EXPECT_EQ(Convert(converter, to.View(), from.View({0, 0, 16, 6}, field)), 98) << field;
    }
    EXPECT_EQ(to.bytes, Bytes(to.bytes.size(), 0x77));
    EXPECT_EQ(from.bytes, Bytes(from.bytes.size(), 0));
}

TEST(ConverterViews, ConvertsInPlace) {
    // Two images on one piece of memory, the one with chroma first and the other with luma.
    Packed memory = Uyvy(38, 3);
    for (std::size_t i = 0; i < memory.bytes.size(); ++i) {
        memory.bytes[i] = static_cast<unsigned char>(i * 13);
    }
    const Bytes before = memory.bytes;
    Image lumaFirst(memory.bytes.data(), memory.pitch,
                    ImageDescriptor(38, 3, kYCrCb, k422, kYCbYCr, kPacked, kProgressive, kNoFields, kTopLeft,
                                    1.0F, kUnshaped),
                    1U, 1U);
    ColorSpaceConverter converter;
    EXPECT_EQ(Convert(converter, memory.View(), ImageView(&lumaFirst)), 0);
    for (std::size_t i = 0; i < before.size(); ++i) {
        ASSERT_EQ(memory.bytes[i], before[i ^ 1]) << i;
    }
    EXPECT_EQ(Convert(converter, ImageView(&lumaFirst), memory.View()), 0);
    EXPECT_EQ(memory.bytes, before);
    EXPECT_EQ(Convert(converter, memory.View(), memory.View()), 0);
    EXPECT_EQ(memory.bytes, before);
}

TEST(ConverterViews, MonochromePicturesGetNeutralChroma) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(36, 2), to = Uyvy(36, 2);
    from.Fill({1, 2, 3, 4});
    from.Get().SetColor(kMonochrome);
    to.Get().SetColor(kMonochrome);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    for (std::size_t i = 0; i < to.bytes.size(); ++i) {
        ASSERT_EQ(to.bytes[i], i % 2 == 0 ? 128 : from.bytes[i]) << i;
    }
}

TEST(ConverterViews, SwapsChromaAndLuma) {
    ColorSpaceConverter converter;
    Packed from = Uyvy(6, 1), to = Yuyv(6, 1);
    from.Fill({1, 2, 3, 4});
    to.Fill({9, 9, 9, 9});
    // Five columns: the last pair gets its chroma and one luma.
    EXPECT_EQ(Convert(converter, from.View({0, 0, 5, 1}), to.View()), 0);
    EXPECT_EQ(to.bytes, (Bytes{2, 1, 4, 3, 2, 1, 4, 3, 2, 1, 9, 3}));
}

TEST(ConverterViews, PlanarPicturesHaveAlphaOfTheirOffset) {
    ColorSpaceConverter converter;
    converter.SetAlphaChannel(200);
    Image from(ImageDescriptor(18, 2, kYCrCb, k420, kYCbCrPlanes, kPlanar, kProgressive, kNoFields, kTopLeft,
                               1.0F, kUnshaped),
               64U);
    for (ULong32 channel = 0; channel < 3; ++channel) {
        std::memset(from.GetMemoryPointer(channel), 128, from.GetMemorySize(channel));
    }
    Packed to = Rgb32(18, 2, 0x77);
    EXPECT_EQ(Convert(converter, ImageView(&from), to.View()), 0);
    EXPECT_EQ(to.Pixel(0, 0)[3], 0);
    EXPECT_EQ(to.Pixel(17, 1)[3], 0);
    const Offsets8 offsets = {-128, -16, -128, 0, 0, 0, 0, 99.5};
    EXPECT_EQ(Convert(converter, ImageView(&from), to.View(), kInt_MMXorSIMD, nullptr, &offsets), 0);
    EXPECT_EQ(to.Pixel(0, 0)[3], 99);
    EXPECT_EQ(to.Pixel(17, 1)[3], 99);
}

}  // namespace
