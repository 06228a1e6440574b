#include <TesselU/key/LumaKeyer.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "key/KeyPictures.h"
#include "key/TableKeyers.h"
#include "support/CountedAllocations.h"

using namespace Zan;

namespace {

TEST(LumaKeyer, TablesOfSet) {
    TablesOfSet<LumaKeyer>();
}
TEST(LumaKeyer, InversionAndOffset) {
    InversionAndOffset<LumaKeyer>();
}
TEST(LumaKeyer, ArgumentsOutOfRange) {
    ArgumentsOutOfRange<LumaKeyer>();
}

TEST(LumaKeyer, TakesLumaOfPairs) {
    KeyPicture source(8, 2, kYCrCb, k422), key(7, 2, kAlphaOnly, k4444, 50);
    for (std::size_t row = 0; row < 2; ++row) {
        for (std::size_t i = 0; i < 16; ++i) {
            source.Byte(row, i) = static_cast<unsigned char>(100 * row + i);
        }
    }
    LumaKeyer keyer;
    for (unsigned i = 0; i < 256; ++i) {
        keyer.SetLUT(static_cast<unsigned char>(i), static_cast<unsigned char>(255 - i));
    }
    ASSERT_EQ(keyer.Do(source.view, key.view, kFP), 0);
    for (std::size_t row = 0; row < 2; ++row) {
        // Bytes 1, 3, 5 ... of a row; the seventh pixel has no second half.
        for (std::size_t x = 0; x < 6; ++x) {
            EXPECT_EQ(key.Byte(row, x), 255 - (100 * row + 2 * x + 1));
        }
        EXPECT_EQ(key.Byte(row, 6), 50);
    }
}

TEST(LumaKeyer, EveryProduct) {
    // Luma g in row g, key d in column d.
    KeyPicture source(256, 256, kYCrCb, k4224, 3), key(256, 256, kAlphaOnly, k4444);
    for (std::size_t g = 0; g < 256; ++g) {
        for (std::size_t d = 0; d < 256; ++d) {
            source.Byte(g, 2 * d + 1) = static_cast<unsigned char>(g);
            key.Byte(g, d) = static_cast<unsigned char>(d);
        }
    }
    ASSERT_EQ(LumaKeyer().Do(source.view, key.view, kBestAvailable), 0);
    for (std::size_t g = 0; g < 256; ++g) {
        for (std::size_t d = 0; d < 256; ++d) {
            // What (t + (t >> 8)) >> 8 stands for: g * d / 255 to the nearest whole number.
            ASSERT_EQ(key.Byte(g, d), (2 * g * d + 255) / 510) << g << ", " << d;
        }
    }
    EXPECT_EQ(std::count(source.alpha.begin(), source.alpha.end(), 3), 65536);
}

TEST(LumaKeyer, AFullKeyIsTheTable) {
    KeyPicture source(256, 1, kYCrCb, k4224), key(257, 1, kAlphaOnly, k4444, 255);
    for (std::size_t i = 0; i < 256; ++i) {
        source.Byte(0, 2 * i + 1) = static_cast<unsigned char>(i);
    }
    LumaKeyer keyer;
    ASSERT_EQ(keyer.Set(0.25, 0.1, 0.5, 0.9, 0.05, true), 0);
    ASSERT_EQ(keyer.Do(source.view, key.view, kFlp_SIMD), 0);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(key.Byte(0, i), keyer.GetLUT(static_cast<unsigned char>(i)));
    }
    EXPECT_EQ(key.Byte(0, 256), 255);
    // Odd widths leave the last pixel of this form alone too.
    std::fill(key.colour.begin(), key.colour.end(), static_cast<unsigned char>(0));
    key.Byte(0, 2) = 255;
    keyer.SetLUT(0, 10);
    ImageView to = key.Part(0, 0, 3, 1);
    ASSERT_EQ(keyer.Do(source.view, to, kFlp), 0);
    EXPECT_EQ(key.Byte(0, 2), 255);
}

TEST(LumaKeyer, FieldsRegionsAndPaddedRows) {
    KeyPicture source(12, 5, kYCrCb, k422, 0, 7), key(9, 5, kAlphaOnly, k4444, 200, 2, kBottomLeft);
    for (std::size_t i = 0; i < source.colour.size(); ++i) {
        source.colour[i] = static_cast<unsigned char>(i);
    }
    // Rows 0, 2, 4 of the source from pixel 4 on, upwards into rows 4, 3, 2 of the key's memory.
    ImageView from = source.Part(4, 0, 8, 5, kUpperField), to = key.Part(1, 0, 6, 5);
    ASSERT_EQ(LumaKeyer().Do(from, to, kFlp), 0);
    for (std::size_t row = 0; row < 5; ++row) {
        for (std::size_t x = 0; x < 9; ++x) {
            const bool made = row >= 2 && x >= 1 && x < 7;
            const std::size_t fromRow = 2 * (4 - row);
            EXPECT_EQ(key.Byte(row, x), made ? (fromRow * 31 + 2 * (4 + x - 1) + 1) % 256 : 200)
                << row << ", " << x;
        }
    }
}

TEST(LumaKeyer, Refusals) {
    const LumaKeyer keyer;
    KeyPicture source(8, 2, kYCrCb, k4224), pairs(8, 2, kYCrCb, k422), full(8, 2, kYCrCb, k4444),
        rgb(8, 2, kRGB, k422), key(8, 2, kAlphaOnly, k4444, 1),
        upward(8, 2, kAlphaOnly, k4444, 1, 0, kBottomLeft);
    const auto make = [&](ImageView from, ImageView to) { return keyer.Do(from, to, kFlp); };
    for (const ImageView& from : {source.view, pairs.view}) {
        EXPECT_EQ(make(from, key.view), 0);
        EXPECT_EQ(make(from, ImageView()), 1);
        EXPECT_EQ(make(from, pairs.view), 4);
        EXPECT_EQ(make(from, full.view), 4);
        EXPECT_EQ(make(from, upward.Part(0, 0, 8, 2, kUpperField)), 98);
        EXPECT_EQ(make(from, upward.Part(0, 0, 0, 2, kUpperField)), 0);
    }
    EXPECT_EQ(make(pairs.Part(-2, 0, 8, 2), key.view), 98);
    EXPECT_EQ(make(ImageView(), key.view), 1);
    EXPECT_EQ(make(full.view, key.view), 4);
    EXPECT_EQ(make(rgb.view, key.view), 4);
    EXPECT_EQ(make(key.view, key.view), 4);
    unsigned char* nothing[2] = {nullptr, nullptr};
    ULong32 pitches[2] = {16, 8};
    Image empty(nothing, pitches, *pairs.image.GetImageDescriptor(), 1, 1);
    EXPECT_EQ(make(ImageView(&empty), key.view), 1);
}

TEST(LumaKeyer, AllocatesNothing) {
    KeyPicture source(64, 4, kYCrCb, k4224), pairs(64, 4, kYCrCb, k422), key(64, 4, kAlphaOnly, k4444);
    LumaKeyer keyer;
    keyer.Do(source.view, key.view, kFlp);
    const long before = test_support::Allocations();
    EXPECT_EQ(keyer.Do(source.view, key.view, kFlp), 0);
    EXPECT_EQ(keyer.Do(pairs.view, key.view, kFlp), 0);
    EXPECT_EQ(test_support::Allocations(), before);
}

}  // namespace
