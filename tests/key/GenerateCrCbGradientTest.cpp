#include <TesselU/key/GenerateCrCbGradient.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "key/KeyPictures.h"

using namespace Zan;

namespace {

void ExpectWord(KeyPicture& picture, std::size_t row, std::size_t word, int cb, int cr, int last) {
    EXPECT_EQ(picture.Byte(row, 4 * word), cb) << row << ", " << word;
    EXPECT_EQ(picture.Byte(row, 4 * word + 1), 128);
    EXPECT_EQ(picture.Byte(row, 4 * word + 2), cr) << row << ", " << word;
    EXPECT_EQ(picture.Byte(row, 4 * word + 3), last);
}

TEST(GenerateCrCbGradient, EveryChromaOnce) {
    KeyPicture picture(256, 256, kYCrCb, k4444, 7, 4);
    ASSERT_EQ(GenerateCrCbGradient(picture.view), 0);
    for (std::size_t y = 0; y < 256; ++y) {
        for (std::size_t x = 0; x < 256; ++x) {
            ExpectWord(picture, y, x, static_cast<int>(x), static_cast<int>(255 - y), 255);
        }
        EXPECT_EQ(picture.Byte(y, 1024), 7);
    }
}

TEST(GenerateCrCbGradient, StepsInPixels) {
    KeyPicture picture(5, 3, kYCrCb, k4444);
    ASSERT_EQ(GenerateCrCbGradient(picture.view), 0);
    const int cb[] = {0, 64, 128, 191, 255};  // 63.75, 127.5, 191.25
    const int cr[] = {255, 128, 0};           // 127.5
    for (std::size_t y = 0; y < 3; ++y) {
        for (std::size_t x = 0; x < 5; ++x) {
            ExpectWord(picture, y, x, cb[x], cr[y], 255);
        }
    }
}

TEST(GenerateCrCbGradient, OnePixel) {
    KeyPicture column(1, 2, kYCrCb, k4444), row(2, 1, kYCrCb, k4444);
    ASSERT_EQ(GenerateCrCbGradient(column.view), 0);
    ExpectWord(column, 0, 0, 0, 255, 255);
    ExpectWord(column, 1, 0, 0, 0, 255);
    ASSERT_EQ(GenerateCrCbGradient(row.view), 0);
    ExpectWord(row, 0, 0, 0, 255, 255);
    ExpectWord(row, 0, 1, 255, 255, 255);
}

TEST(GenerateCrCbGradient, StepsInPairs) {
    // Seven pixels are three pairs; the last pixel keeps its colour.
    KeyPicture picture(8, 5, kYCrCb, k422, 9);
    ImageView seven = picture.Part(0, 0, 7, 5);
    ASSERT_EQ(GenerateCrCbGradient(seven), 0);
    const int cb[] = {0, 128, 255}, cr[] = {255, 191, 128, 64, 0};  // 191.25, 127.5, 63.75
    for (std::size_t y = 0; y < 5; ++y) {
        for (std::size_t pair = 0; pair < 3; ++pair) {
            ExpectWord(picture, y, pair, cb[pair], cr[y], 128);
        }
        for (std::size_t byte = 12; byte < 16; ++byte) {
            EXPECT_EQ(picture.Byte(y, byte), 9);
        }
    }
}

TEST(GenerateCrCbGradient, OnePairAndOneRow) {
    KeyPicture pair(2, 1, kYCrCb, k422), four(4, 1, kYCrCb, k422), two(2, 1, kYCrCb, k4224, 5);
    ASSERT_EQ(GenerateCrCbGradient(pair.view), 0);
    ExpectWord(pair, 0, 0, 0, 255, 128);
    ASSERT_EQ(GenerateCrCbGradient(four.view), 0);
    ExpectWord(four, 0, 0, 0, 255, 128);
    ExpectWord(four, 0, 1, 255, 255, 128);
    ImageView pixel = two.Part(0, 0, 1, 1);
    ASSERT_EQ(GenerateCrCbGradient(pixel), 0);
    EXPECT_EQ(std::count(two.colour.begin(), two.colour.end(), 5), 4);
    EXPECT_EQ(two.Alpha(0, 0), 255);
    EXPECT_EQ(two.Alpha(0, 1), 5);
}

TEST(GenerateCrCbGradient, AlphaIsOpaqueOverTheWholeWidth) {
    KeyPicture picture(8, 4, kYCrCb, k4224, 9, 4);
    ImageView view = picture.Part(2, 0, 5, 4, kLowerField);
    ASSERT_EQ(GenerateCrCbGradient(view), 0);
    for (std::size_t y = 0; y < 4; ++y) {
        for (std::size_t x = 0; x < 12; ++x) {
            EXPECT_EQ(picture.Alpha(y, x), y % 2 == 1 && x >= 2 && x < 7 ? 255 : 9) << y << ", " << x;
        }
    }
    // Two rows of two pairs, from byte 4 of rows 1 and 3.
    ExpectWord(picture, 1, 1, 0, 255, 128);
    ExpectWord(picture, 1, 2, 255, 255, 128);
    ExpectWord(picture, 3, 1, 0, 0, 128);
    ExpectWord(picture, 3, 2, 255, 0, 128);
    EXPECT_EQ(std::count(picture.colour.begin(), picture.colour.end(), 9), 4 * 20 - 16);
}

TEST(GenerateCrCbGradient, BottomLeft) {
    KeyPicture picture(4, 3, kYCrCb, k4444, 0, 0, kBottomLeft);
    ASSERT_EQ(GenerateCrCbGradient(picture.view), 0);
    ExpectWord(picture, 0, 3, 255, 0, 255);
    ExpectWord(picture, 2, 0, 0, 255, 255);
    ImageView field = picture.Part(0, 0, 4, 3, kUpperField);
    EXPECT_EQ(GenerateCrCbGradient(field), 98);
}

TEST(GenerateCrCbGradient, Refusals) {
    ImageView none;
    EXPECT_EQ(GenerateCrCbGradient(none), 1);
    KeyPicture rgb(4, 4, kRGB, k4444, 1), alpha(4, 4, kAlphaOnly, k4444, 1), solid(4, 4, kYCrCb, k444, 1);
    for (KeyPicture* refused : {&rgb, &alpha, &solid}) {
        EXPECT_EQ(GenerateCrCbGradient(refused->view), 4);
        EXPECT_EQ(std::count(refused->colour.begin(), refused->colour.end(), 1),
                  static_cast<std::ptrdiff_t>(refused->colour.size()));
    }
    // Rows of 18 bytes: a frame has no whole words to a pitch, a field has.
    KeyPicture padded(4, 4, kYCrCb, k4444, 1, 2);
    EXPECT_EQ(GenerateCrCbGradient(padded.view), 2);
    EXPECT_EQ(std::count(padded.colour.begin(), padded.colour.end(), 1), 72);
    ImageView field = padded.Part(0, 0, 4, 4, kUpperField);
    EXPECT_EQ(GenerateCrCbGradient(field), 0);
    ExpectWord(padded, 0, 0, 0, 255, 255);
    ExpectWord(padded, 2, 0, 0, 0, 255);

    KeyPicture pairs(4, 4, kYCrCb, k422, 1);
    ImageView outside = pairs.Part(-2, 0, 4, 4), nothing = pairs.Part(-2, 0, 4, 0);
    EXPECT_EQ(GenerateCrCbGradient(outside), 98);
    EXPECT_EQ(GenerateCrCbGradient(nothing), 0);
    unsigned char* memory[2] = {nullptr, nullptr};
    ULong32 pitches[2] = {8, 4};
    Image empty(memory, pitches, *pairs.image.GetImageDescriptor(), 1, 1);
    ImageView ofEmpty(&empty);
    EXPECT_EQ(GenerateCrCbGradient(ofEmpty), 1);
    EXPECT_EQ(std::count(pairs.colour.begin(), pairs.colour.end(), 1), 32);
}

}  // namespace
