// The temporal filter over three frames.

#include <TesselU/filter/NoiseReduction.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "filter/ReductionCalls.h"

using namespace filter_test;

namespace {

ULong32 Word(int b0, int b1, int b2, int b3) {
    const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(b0), static_cast<std::uint8_t>(b1),
                                   static_cast<std::uint8_t>(b2), static_cast<std::uint8_t>(b3)};
    ULong32 word;
    std::memcpy(&word, bytes, 4);
    return word;
}

ULong32 Mixed(ULong32 a, ULong32 b, ULong32 c, int low, int high, double* frameWeights = nullptr,
              double* channelWeights = nullptr) {
    NoiseReduction filter;
    ULong32 out = 0;
    EXPECT_EQ(filter.DoFilterSAT(&a, &b, &c, &out, 2, 1, 4, 4, static_cast<unsigned char>(low),
                                 static_cast<unsigned char>(high), frameWeights, channelWeights, 0),
              0);
    return out;
}

}  // namespace

TEST(NoiseReduction, ThreeEqualFramesGiveTheCurrentOne) {
    Picture picture = Random(100, 5, 6);
    NoiseReduction filter;
    for (const unsigned char low : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{255}}) {
        Picture out(100, 5);
        EXPECT_EQ(filter.DoFilterSAT(picture.memory.data(), picture.memory.data(), picture.memory.data(),
                                     out.memory.data(), 200, 5, 400, 400, low, 100, nullptr, nullptr, 0),
                  0);
        EXPECT_EQ(out, picture);
    }
}

TEST(NoiseReduction, LumasOfAPairDecideSeparately) {
    // A large difference in byte 3 leaves that byte alone; the others are the mean of three.
    EXPECT_EQ(Mixed(Word(10, 20, 30, 0), Word(13, 23, 33, 200), Word(10, 20, 30, 100), 10, 20),
              Word(11, 21, 31, 200));
    // One in the even luma counts for the whole word but byte 3.
    EXPECT_EQ(Mixed(Word(10, 0, 30, 20), Word(13, 200, 33, 23), Word(10, 100, 30, 20), 10, 20),
              Word(13, 200, 33, 21));
    // And so does one in either chroma.
    EXPECT_EQ(Mixed(Word(0, 20, 30, 20), Word(200, 23, 33, 23), Word(0, 20, 30, 20), 10, 20),
              Word(200, 23, 33, 21));
    EXPECT_EQ(Mixed(Word(10, 20, 30, 20), Word(13, 23, 200, 23), Word(10, 20, 30, 20), 10, 20),
              Word(13, 23, 200, 21));
}

TEST(NoiseReduction, HalfWayBetweenThresholds) {
    // 239, 6 and 76, half way: (321 / 3 + 6) / 2 is 56.5, and the doubles lie below it. Motion 233 of
    // 232...234.
    const ULong32 made = Mixed(Word(239, 239, 239, 239), Word(6, 6, 6, 6), Word(76, 76, 76, 76), 232, 234);
    EXPECT_EQ(made, Word(56, 56, 56, 56));
    // 30, 60 and 60 half way: 50 and 60 give 55.
    EXPECT_EQ(Mixed(Word(30, 30, 30, 30), Word(60, 60, 60, 60), Word(60, 60, 60, 60), 20, 40),
              Word(55, 55, 55, 55));
    // A quarter of the way from 50 to 60: 52.5, rounded up.
    EXPECT_EQ(Mixed(Word(30, 30, 30, 30), Word(60, 60, 60, 60), Word(60, 60, 60, 60), 20, 60),
              Word(53, 53, 53, 53));
}

TEST(NoiseReduction, ThresholdsAreComparedAsGiven) {
    const ULong32 a = Word(100, 100, 100, 100), b = Word(130, 130, 130, 130);
    const ULong32 mean = Word(110, 110, 110, 110);  // of a, b and a
    EXPECT_EQ(Mixed(a, b, a, 30, 40), mean);
    EXPECT_EQ(Mixed(a, b, a, 29, 30), b);
    EXPECT_EQ(Mixed(a, b, a, 0, 30), b);
    EXPECT_EQ(Mixed(a, b, a, 0, 31), Word(129, 129, 129, 129));  // 110 / 31 + 130 * 30 / 31 = 129.35
    EXPECT_EQ(Mixed(a, b, a, 30, 30), mean);
    EXPECT_EQ(Mixed(a, b, a, 40, 30), mean);
    EXPECT_EQ(Mixed(a, b, a, 29, 20), b);
    EXPECT_EQ(Mixed(a, b, a, 29, 29), b);
    EXPECT_EQ(Mixed(Word(0, 0, 0, 0), Word(255, 255, 255, 255), Word(0, 0, 0, 0), 255, 0),
              Word(85, 85, 85, 85));
}

TEST(NoiseReduction, WeightsOfFramesAndChannels) {
    const ULong32 a = Word(100, 50, 20, 10), b = Word(110, 60, 30, 20), c = Word(104, 54, 24, 14);
    double frames[3] = {0.25, 0.5, 0.25};
    // 25 + 55 + 26 = 106, ...
    EXPECT_EQ(Mixed(a, b, c, 10, 20, frames), Word(106, 56, 26, 16));
    double all[3] = {1, 1, 1}, none[3] = {-1, -1, -1}, huge[3] = {1e300, 1e300, 1e300}, nan[3] = {kNaN, 0, 0};
    EXPECT_EQ(Mixed(a, b, c, 10, 20, all), Word(255, 164, 74, 44));
    EXPECT_EQ(Mixed(a, b, c, 10, 20, none), Word(0, 0, 0, 0));
    EXPECT_EQ(Mixed(a, b, c, 10, 20, huge), Word(255, 255, 255, 255));
    EXPECT_EQ(Mixed(a, b, c, 10, 20, nan), Word(0, 0, 0, 0));
    // Motion is 10 times the weight, truncated: 9.99 is 9, not above it.
    double channels[3] = {0.999, 0.999, 0.999};
    EXPECT_EQ(Mixed(a, b, c, 9, 9, frames, channels), Word(106, 56, 26, 16));
    EXPECT_EQ(Mixed(a, b, c, 9, 9, frames), b);
    // The weight of luma decides byte 3 alone, and by byte 1 the others.
    double luma[3] = {0, 3, 0}, chroma[3] = {0, 0, 3};
    EXPECT_EQ(Mixed(a, b, c, 10, 10, frames, luma), b);
    EXPECT_EQ(Mixed(a, b, c, 10, 10, frames, chroma), Word(110, 60, 30, 16));
    // A motion beyond every threshold.
    double large[3] = {1e10, 1e10, 1e300};
    EXPECT_EQ(Mixed(a, b, c, 255, 255, frames, large), b);
    double negative[3] = {-5, -5, -5};
    EXPECT_EQ(Mixed(a, b, c, 0, 1, frames, negative), Word(106, 56, 26, 16));
}

TEST(NoiseReduction, AnOddWidthLeavesTheLastColumn) {
    for (const ULong32 width : {0U, 1U, 2U, 3U, 5U, 64U, 65U, 131U}) {
        Picture a = Random(70, 3, 7), b = Random(70, 3, 8), c = Random(70, 3, 9), out(70, 3, 0xEEEEEEEEU);
        NoiseReduction filter;
        EXPECT_EQ(filter.DoFilterSAT(a.memory.data(), b.memory.data(), c.memory.data(), out.memory.data(),
                                     width, 3, 280, 280, 10, 200, nullptr, nullptr, 5),
                  0);
        for (std::size_t i = 0; i < out.memory.size(); ++i) {
            EXPECT_EQ(out.memory[i], i % 70 < width / 2
                                         ? Mixed(a.memory[i], b.memory[i], c.memory[i], 10, 200)
                                         : 0xEEEEEEEEU);
        }
    }
}

TEST(NoiseReduction, MayWriteOverAFrame) {
    const Picture frames[] = {Random(100, 4, 11), Random(100, 4, 12), Random(100, 4, 13)};
    NoiseReduction filter;
    const auto run = [&](Picture& a, Picture& b, Picture& c, Picture& out) {
        filter.DoFilterSAT(a.memory.data(), b.memory.data(), c.memory.data(), out.memory.data(), 200, 4, 400,
                           400, 10, 250, nullptr, nullptr, 0);
    };
    Picture a = frames[0], b = frames[1], c = frames[2], expected(100, 4);
    run(a, b, c, expected);
    for (std::size_t over = 0; over < 3; ++over) {
        Picture given[] = {frames[0], frames[1], frames[2]};
        run(given[0], given[1], given[2], given[over]);
        EXPECT_EQ(given[over], expected) << over;
    }
}

TEST(NoiseReduction, EveryPictureOfTheTemporalFilterIsNeeded) {
    NoiseReduction filter;
    ULong32 word = 7;
    ULong32* const given[4] = {&word, &word, &word, &word};
    for (std::size_t missing = 0; missing < 4; ++missing) {
        ULong32* p[4] = {given[0], given[1], given[2], given[3]};
        p[missing] = nullptr;
        EXPECT_EQ(filter.DoFilterSAT(p[0], p[1], p[2], p[3], 2, 0, 4, 4, 0, 0, nullptr, nullptr, 0), -1);
    }
    EXPECT_EQ(filter.DoFilterSAT(&word, &word, &word, &word, 2, 0, 4, 4, 0, 0, nullptr, nullptr, 0), 0);
    EXPECT_EQ(word, 7U);
}
