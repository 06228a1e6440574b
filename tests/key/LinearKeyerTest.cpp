#include <TesselU/key/LinearKeyer.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "key/KeyPictures.h"
#include "key/TableKeyers.h"
#include "support/CountedAllocations.h"

using namespace Zan;

namespace {

TEST(LinearKeyer, TablesOfSet) {
    TablesOfSet<LinearKeyer>();
}
TEST(LinearKeyer, InversionAndOffset) {
    InversionAndOffset<LinearKeyer>();
}
TEST(LinearKeyer, ArgumentsOutOfRange) {
    ArgumentsOutOfRange<LinearKeyer>();
}

TEST(LinearKeyer, CopiesAlphaAtFirst) {
    static_assert(!std::is_polymorphic_v<LinearKeyer>);
    KeyPicture source(38, 3, kYCrCb, k4224, 9, 3), key(40, 4, kAlphaOnly, k4444, 77, 5);
    ImageView from = source.Part(0, 0, 37, 3);
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t x = 0; x < 37; ++x) {
            source.Alpha(row, x) = static_cast<unsigned char>(100 * row + 2 * x);
        }
    }
    const LinearKeyer keyer;
    const auto style = static_cast<ProcessingStyleEnum>(12345);
    ASSERT_EQ(keyer.Do(from, key.view, style), 0);
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t x = 0; x < 45; ++x) {
            const bool made = row < 3 && x < 37;
            EXPECT_EQ(key.Byte(row, x), made ? (100 * row + 2 * x) % 256 : 77) << row << ", " << x;
        }
    }
}

TEST(LinearKeyer, TakesAlphaThroughTheTable) {
    KeyPicture source(256, 2, kYCrCb, k4224), key(256, 2, kAlphaOnly, k4444);
    for (std::size_t i = 0; i < 256; ++i) {
        source.Alpha(0, i) = static_cast<unsigned char>(i);
        source.Alpha(1, i) = static_cast<unsigned char>(255 - i);
    }
    LinearKeyer keyer;
    for (unsigned i = 0; i < 256; ++i) {
        keyer.SetLUT(static_cast<unsigned char>(i), static_cast<unsigned char>(i * 7 + 3));
    }
    const LinearKeyer copy = keyer;
    ASSERT_EQ(copy.Do(source.view, key.view, kBestAvailable), 0);
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(key.Byte(0, i), (i * 7 + 3) % 256);
        EXPECT_EQ(key.Byte(1, i), ((255 - i) * 7 + 3) % 256);
    }
}

TEST(LinearKeyer, FieldsRegionsAndUpwardRows) {
    KeyPicture source(20, 6, kYCrCb, k4224, 0, 2, kBottomLeft), key(20, 6, kAlphaOnly, k4444, 200, 1);
    for (std::size_t i = 0; i < source.alpha.size(); ++i) {
        source.alpha[i] = static_cast<unsigned char>(i);
    }
    const LinearKeyer keyer;
    // The lower field of the key has rows 1, 3, 5; rows of the source come from the end of its memory.
    ImageView from = source.Part(5, 2, 9, 4), to = key.Part(3, 0, 20, 6, kLowerField);
    ASSERT_EQ(from.GetRegionOfInterest().getLeft(), 4);
    ASSERT_EQ(keyer.Do(from, to, kFlp), 0);
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t x = 0; x < 20; ++x) {
            const bool made = row % 2 == 1 && x >= 3 && x < 12;
            const std::size_t fromRow = 5 - (2 + row / 2);
            EXPECT_EQ(key.Byte(row, x), made ? fromRow * 22 + 4 + (x - 3) : 200) << row << ", " << x;
        }
    }
    // The pointer of such a field lies beyond the buffer.
    ImageView field(&source.image, Rectangle(0, 0, 20, 6), kUpperField);
    const std::vector<unsigned char> before = key.colour;
    EXPECT_EQ(keyer.Do(field, key.view, kFlp), 98);
    EXPECT_EQ(key.colour, before);
}

TEST(LinearKeyer, Refusals) {
    const LinearKeyer keyer;
    KeyPicture source(8, 2, kYCrCb, k4224), pairs(8, 2, kYCrCb, k422), full(8, 2, kYCrCb, k4444),
        rgb(8, 2, kRGB, k4224), key(8, 2, kAlphaOnly, k4444, 1);
    const auto make = [&](ImageView from, ImageView to) { return keyer.Do(from, to, kFlp); };
    EXPECT_EQ(make(ImageView(), key.view), 1);
    EXPECT_EQ(make(source.view, ImageView()), 1);
    EXPECT_EQ(make(ImageView(), ImageView()), 1);
    EXPECT_EQ(make(pairs.view, key.view), 4);
    EXPECT_EQ(make(full.view, key.view), 4);
    EXPECT_EQ(make(rgb.view, key.view), 4);
    EXPECT_EQ(make(key.view, key.view), 4);
    EXPECT_EQ(make(source.view, source.view), 4);
    EXPECT_EQ(make(source.Part(-2, 0, 8, 2), key.view), 98);
    EXPECT_EQ(make(source.view, key.Part(0, 0, 8, 2)), 0);
    // Without an area nothing is looked at but the memory.
    EXPECT_EQ(make(source.Part(-2, 0, 8, 0), key.view), 0);
    unsigned char* nothing[2] = {nullptr, nullptr};
    ULong32 pitches[2] = {16, 8};
    Image empty(nothing, pitches, *source.image.GetImageDescriptor(), 1, 1);
    EXPECT_EQ(make(ImageView(&empty), key.view), 1);
    EXPECT_EQ(make(ImageView(&empty), key.Part(0, 0, 0, 0)), 1);
}

TEST(LinearKeyer, AllocatesNothing) {
    KeyPicture source(64, 4, kYCrCb, k4224), key(64, 4, kAlphaOnly, k4444);
    LinearKeyer keyer;
    keyer.Do(source.view, key.view, kFlp);
    const long before = test_support::Allocations();
    keyer.Set(0.3, 0.1, 0.1, 1, 0, false);
    EXPECT_EQ(keyer.Do(source.view, key.view, kFlp), 0);
    EXPECT_EQ(test_support::Allocations(), before);
}

}  // namespace
