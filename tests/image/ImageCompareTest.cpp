#include <TesselU/image/ImageCompare.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "image/CompareSeam.h"
#include "support/FencedMemory.h"

namespace Zan {
namespace {

using test_support::Bytes;

constexpr ULong32 kWords = 0, kPlane = 1, kPairs = 2, kPairsAndAlpha = 3;
constexpr Miscompare kUnused = {77, 77, 77, 77};
std::vector<Miscompare> none;

/// A picture of words without gaps.
using Words = std::vector<ULong32>;

Long32 CompareRow(ImageCompare& compare, Words a, Words b, std::vector<Miscompare>& report = none,
                  ULong32 format = kWords) {
    const auto words = static_cast<ULong32>(a.size());
    const ULong32 width = format == kPairs ? 2 * words : words;
    return compare.AreImagesEqual(a.data(), b.data(), width, 1, 4 * words, 4 * words, format, format, report);
}

TEST(ImageCompareTest, EqualPicturesAreEqual) {
    ImageCompare compare(4);
    EXPECT_EQ(CompareRow(compare, {0x01020304, 0xFFFFFFFF}, {0x01020304, 0xFFFFFFFF}), 1);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 0);
    EXPECT_EQ(compare.GetLargestDiff(), 0);
    EXPECT_EQ(compare.GetAbsLargestDiff(), 0U);
}

TEST(ImageCompareTest, EveryByteIsAChannelTheLowestFirst) {
    for (unsigned channel = 0; channel < 4; ++channel) {
        // Only this channel is allowed nothing.
        ImageCompare compare(4);
        for (unsigned other = 0; other < 4; ++other) {
            if (other != channel) {
                compare.SetLargestAllowableError(other, 255, 255);
            }
        }
        EXPECT_EQ(CompareRow(compare, {ULong32{0x50} << (8 * channel)}, {ULong32{0x57} << (8 * channel)}), 0);
        EXPECT_EQ(compare.GetNumComponentDiffs(), 1);
        EXPECT_EQ(compare.GetLargestDiff(), -7);
        compare.ResetDiffs();
        EXPECT_EQ(CompareRow(compare, {~(ULong32{0xFF} << (8 * channel))}, {0}), 1) << channel;
    }
}

TEST(ImageCompareTest, ToleranceOfOnePassesAnyByteThatDiffersByOne) {
    ImageCompare compare(4);
    for (unsigned channel = 0; channel < 4; ++channel) {
        compare.SetLargestAllowableError(channel, 1, 1);
    }
    const ULong32 middle = 0x80808080;
    for (unsigned channel = 0; channel < 4; ++channel) {
        const ULong32 one = ULong32{1} << (8 * channel);
        EXPECT_EQ(CompareRow(compare, {middle, middle + one, middle}, {middle + one, middle, middle}), 1);
    }
    EXPECT_EQ(CompareRow(compare, {0x81818181}, {0x80808080}), 1);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 0);
    EXPECT_EQ(compare.GetLargestDiff(), 0);
    EXPECT_EQ(CompareRow(compare, {0x80820080}, {0x80800080}), 0);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 1);
}

TEST(ImageCompareTest, ATolerancesDirectionsAreApart) {
    ImageCompare compare(1);
    compare.SetLargestAllowableError(0, 0, 5);
    EXPECT_EQ(CompareRow(compare, {105}, {100}), 1);
    EXPECT_EQ(CompareRow(compare, {99}, {100}), 0);
    EXPECT_EQ(compare.GetLargestDiff(), -1);
    compare.ResetDiffs();
    EXPECT_EQ(CompareRow(compare, {106}, {100}), 0);
    EXPECT_EQ(compare.GetLargestDiff(), 6);
    compare.ResetDiffs();
    compare.SetLargestAllowableError(0, 5, 0);
    EXPECT_EQ(CompareRow(compare, {95}, {100}), 1);
    EXPECT_EQ(CompareRow(compare, {101}, {100}), 0);
}

TEST(ImageCompareTest, AWideToleranceTakesEverything) {
    ImageCompare compare(4);
    for (unsigned channel = 0; channel < 4; ++channel) {
        compare.SetLargestAllowableError(channel, 0xFFFFFFFF, 0xFFFFFFFF);
    }
    EXPECT_EQ(CompareRow(compare, {0x00FF00FF}, {0xFF00FF00}), 1);
}

TEST(ImageCompareTest, TheLargestDifferenceKeepsItsSignAndTheLowerChannelWinsATie) {
    ImageCompare compare(4);
    CompareRow(compare, {0x00000A0D}, {0x00000D0A});  // +3 in channel 0, -3 in channel 1
    EXPECT_EQ(compare.GetLargestDiff(), 3);
    compare.ResetDiffs();
    CompareRow(compare, {0x00000D0A}, {0x00000A0D});
    EXPECT_EQ(compare.GetLargestDiff(), -3);
    EXPECT_EQ(compare.GetAbsLargestDiff(), 3U);
    compare.ResetDiffs();
    CompareRow(compare, {0xFF000000}, {0x00000001});
    EXPECT_EQ(compare.GetLargestDiff(), 255);
    compare.ResetDiffs();
    // Within a channel the first of a magnitude stays.
    CompareRow(compare, {4, 0, 9}, {0, 4, 10});
    EXPECT_EQ(compare.GetLargestDiff(), 4);
}

TEST(ImageCompareTest, DifferencesWithinToleranceAreNoLargestOnes) {
    ImageCompare compare(2);
    compare.SetLargestAllowableError(0, 100, 100);
    EXPECT_EQ(CompareRow(compare, {0x0264}, {0x0100}), 0);  // 100, allowed, and 1
    EXPECT_EQ(compare.GetLargestDiff(), 1);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 1);
}

TEST(ImageCompareTest, ReportsHoldTheFirstDifferencesAndAreNotGrown) {
    ImageCompare compare(4);
    std::vector<Miscompare> report(2, kUnused);
    Words a = {1, 2, 3, 4, 5, 6}, b = {1, 9, 3, 4, 8, 7};
    EXPECT_EQ(compare.AreImagesEqual(a.data(), b.data(), 3, 2, 12, 12, kWords, kWords, report), 0);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 3);
    EXPECT_EQ(CompareSeam::PixelDiffs(compare), 3);
    ASSERT_EQ(report.size(), 2U);
    EXPECT_EQ(report[0].x, 1U);
    EXPECT_EQ(report[0].y, 0U);
    EXPECT_EQ(report[0].first, 2U);
    EXPECT_EQ(report[0].second, 9U);
    EXPECT_EQ(report[1].x, 1U);
    EXPECT_EQ(report[1].y, 1U);
    EXPECT_EQ(report[1].first, 5U);
    EXPECT_EQ(report[1].second, 8U);
}

TEST(ImageCompareTest, ReportsBeyondTheDifferencesStay) {
    ImageCompare compare(4);
    std::vector<Miscompare> report(3, kUnused);
    EXPECT_EQ(CompareRow(compare, {0, 0x01020304}, {0, 0x00000004}, report), 0);
    EXPECT_EQ(report[0].x, 1U);
    EXPECT_EQ(report[1].x, 77U);
    EXPECT_EQ(report[2].second, 77U);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 3);
}

TEST(ImageCompareTest, AnEmptyReportIsFine) {
    ImageCompare compare(4);
    std::vector<Miscompare> report;
    EXPECT_EQ(CompareRow(compare, {1, 2}, {3, 4}, report), 0);
    EXPECT_TRUE(report.empty());
    EXPECT_EQ(compare.GetNumComponentDiffs(), 2);
}

TEST(ImageCompareTest, CountsAddUpUntilTheyAreReset) {
    ImageCompare compare(4);
    compare.SetLargestAllowableError(0, 2, 2);
    std::vector<Miscompare> report(2);
    EXPECT_EQ(CompareRow(compare, {10}, {20}, report), 0);
    EXPECT_EQ(CompareRow(compare, {20}, {20}, report), 0) << "equal, but for the one before";
    EXPECT_EQ(CompareRow(compare, {21}, {30}, report), 0);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 2);
    EXPECT_EQ(report[0].first, 10U);
    EXPECT_EQ(report[1].first, 21U);
    compare.ResetDiffs();
    EXPECT_EQ(compare.GetNumComponentDiffs(), 0);
    EXPECT_EQ(compare.GetLargestDiff(), 0);
    EXPECT_EQ(CompareRow(compare, {20}, {20}), 1);
    EXPECT_EQ(CompareRow(compare, {20}, {22}), 1) << "the tolerance is kept";
}

TEST(ImageCompareTest, OnlyTheChannelsThatThereAreCount) {
    for (unsigned channels = 0; channels <= 6; ++channels) {
        ImageCompare compare(channels);
        EXPECT_EQ(CompareRow(compare, {0x01010101}, {0x02020202}), channels == 0 ? 1 : 0);
        EXPECT_EQ(compare.GetNumComponentDiffs(), std::min(channels, 4U));
    }
}

TEST(ImageCompareTest, AChannelThatThereIsNotTakesNoTolerance) {
    ImageCompare compare(2);
    compare.SetLargestAllowableError(2, 255, 255);
    compare.SetLargestAllowableError(0xFFFFFFFF, 255, 255);
    EXPECT_EQ(CompareRow(compare, {0x0101}, {0x0202}), 0);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 2);
}

TEST(ImageCompareTest, WordsOfPairsCountTwoPixels) {
    ImageCompare compare(4);
    std::vector<Miscompare> report(1);
    EXPECT_EQ(CompareRow(compare, {1, 2, 0x55667788}, {1, 2, 0x55667708}, report, kPairs), 0);
    EXPECT_EQ(report[0].x, 4U);
    EXPECT_EQ(report[0].first, 0x55667788U);
    EXPECT_EQ(CompareSeam::PixelDiffs(compare), 1);
}

TEST(ImageCompareTest, PlanesOfBytesTakeAnyPitchAndAddress) {
    ImageCompare compare(1);
    std::vector<Miscompare> report(2);
    Bytes a(3 * 7 + 1, 5), b(3 * 5 + 2, 5);
    const auto at = [](Bytes& bytes, std::size_t offset) {
        return reinterpret_cast<ULong32*>(bytes.data() + offset);
    };
    // What lies between the rows does not count.
    a[1 + 5] = 99;
    EXPECT_EQ(compare.AreImagesEqual(at(a, 1), at(b, 2), 5, 3, 7, 5, kPlane, kPlane, report), 1);
    a[1 + 2 * 7 + 4] = 8;
    b[2 + 1 * 5 + 0] = 1;
    EXPECT_EQ(compare.AreImagesEqual(at(a, 1), at(b, 2), 5, 3, 7, 5, kPlane, kPlane, report), 0);
    EXPECT_EQ(report[0].x, 0U);
    EXPECT_EQ(report[0].y, 1U);
    EXPECT_EQ(report[0].first, 5U);
    EXPECT_EQ(report[0].second, 1U);
    EXPECT_EQ(report[1].x, 4U);
    EXPECT_EQ(report[1].y, 2U);
    EXPECT_EQ(report[1].first, 8U);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 2);
}

TEST(ImageCompareTest, RefusalsCountNothing) {
    ImageCompare compare(4);
    Words a(16, 1), b(16, 2);
    const auto status = [&](ULong32 width, ULong32 pitchA, ULong32 pitchB, ULong32 formatA, ULong32 formatB) {
        std::vector<Miscompare> report(1, kUnused);
        const Long32 result =
            compare.AreImagesEqual(a.data(), b.data(), width, 2, pitchA, pitchB, formatA, formatB, report);
        EXPECT_EQ(report[0].x, 77U);
        return result;
    };
    for (const ULong32 format : {kWords, kPairs}) {
        EXPECT_EQ(status(4, 18, 16, format, format), -1);
        EXPECT_EQ(status(4, 16, 17, format, format), -1);
        EXPECT_EQ(status(4, 19, 19, format, format), -1);
    }
    EXPECT_EQ(status(3, 16, 16, kPairs, kPairs), -2);
    EXPECT_EQ(status(3, 18, 16, kPairs, kPairs), -1);
    EXPECT_EQ(status(4, 16, 16, kWords, kPairs), -1);
    EXPECT_EQ(status(4, 16, 16, kPlane, kWords), -1);
    EXPECT_EQ(status(4, 16, 16, kPairsAndAlpha, kPairsAndAlpha), -1);
    EXPECT_EQ(status(4, 16, 16, 4, 4), -1);
    EXPECT_EQ(status(4, 16, 16, 0xFFFFFFFF, 0xFFFFFFFF), -1);
    EXPECT_EQ(compare.AreImagesEqual(nullptr, b.data(), 4, 1, 16, 16, kWords, kWords, none), -1);
    EXPECT_EQ(compare.AreImagesEqual(a.data(), nullptr, 4, 1, 16, 16, kPlane, kPlane, none), -1);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 0);
    EXPECT_EQ(compare.GetLargestDiff(), 0);
    // Odd widths and pitches are fine for bytes.
    a = b = Words(16, 0x02020202);
    EXPECT_EQ(status(3, 5, 7, kPlane, kPlane), 1);
}

TEST(ImageCompareTest, NothingIsEqualToNothing) {
    ImageCompare compare(4);
    for (const ULong32 format : {kWords, kPlane, kPairs}) {
        Words a = {1}, b = {2};
        EXPECT_EQ(compare.AreImagesEqual(a.data(), b.data(), 0, 5, 4, 4, format, format, none), 1);
        EXPECT_EQ(compare.AreImagesEqual(a.data(), b.data(), 6, 0, 4, 4, format, format, none), 1);
        EXPECT_EQ(compare.AreImagesEqual(a.data(), b.data(), 0, 0xFFFFFFFF, 4, 4, format, format, none), 1);
        ULong32* const null = nullptr;
        EXPECT_EQ(compare.AreImagesEqual(null, null, 0, 0, 0, 0, format, format, none), 1);
    }
}

TEST(ImageCompareTest, TheLimitEndsACallAfterTheWordThatReachesIt) {
    ImageCompare compare(4);
    EXPECT_EQ(CompareSeam::Limit(compare), 0xFFFFFFFFU);
    CompareSeam::Limit(compare) = 5;
    const Words a(5, 0x01010101), b(5, 0);
    EXPECT_EQ(CompareRow(compare, a, b), 0);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 8);
    EXPECT_EQ(CompareRow(compare, a, b), 0);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 16) << "each call has its own";
    compare.ResetDiffs();
    CompareSeam::Limit(compare) = 4;
    Words rowsA(4, 0x01010101), rowsB(4, 0);
    EXPECT_EQ(compare.AreImagesEqual(rowsA.data(), rowsB.data(), 1, 4, 4, 4, kWords, kWords, none), 0);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 4) << "nor does the next row count";
}

TEST(ImageCompareTest, CopiesAreOnTheirOwn) {
    ImageCompare compare(4);
    compare.SetLargestAllowableError(0, 1, 1);
    CompareRow(compare, {10}, {20});
    ImageCompare copy(compare);
    EXPECT_EQ(copy.GetNumComponentDiffs(), 1);
    EXPECT_EQ(copy.GetLargestDiff(), -10);
    copy.SetLargestAllowableError(0, 50, 50);
    copy.ResetDiffs();
    EXPECT_EQ(CompareRow(copy, {10}, {60}), 1);
    EXPECT_EQ(compare.GetLargestDiff(), -10);
    compare.ResetDiffs();
    EXPECT_EQ(CompareRow(compare, {10}, {12}), 0);
    compare = copy;
    compare = *&compare;
    EXPECT_EQ(CompareRow(compare, {10}, {60}), 1);
}

/// Pictures of two planes.
struct Planes {
    Words colour = Words(4, 0x80108010);
    Bytes alpha = Bytes(4 * 2 + 1, 255);
    ULong32* planes[2] = {colour.data(), reinterpret_cast<ULong32*>(alpha.data())};
    ULong32 pitches[2] = {8, 5};
};

TEST(ImageCompareTest, ColourIsComparedBeforeAlpha) {
    Planes a, b;
    ImageCompare compare(4);
    std::vector<Miscompare> report(4);
    const auto status = [&] {
        return compare.AreImagesEqual(a.planes, b.planes, 4, 2, a.pitches, b.pitches, kPairsAndAlpha,
                                      kPairsAndAlpha, report);
    };
    EXPECT_EQ(status(), 1);
    b.alpha[5 + 3] = 250;
    EXPECT_EQ(status(), 0);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 1);
    EXPECT_EQ(compare.GetLargestDiff(), 5);
    EXPECT_EQ(report[0].x, 3U);
    EXPECT_EQ(report[0].y, 1U);
    EXPECT_EQ(report[0].first, 255U);
    EXPECT_EQ(report[0].second, 250U);
    compare.ResetDiffs();
    b.colour[1] = 0x80108011;
    EXPECT_EQ(status(), 0);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 1) << "alpha was not looked at";
    EXPECT_EQ(report[0].x, 2U);
    EXPECT_EQ(report[0].y, 0U);
    // The byte between the rows of alpha is nobody's.
    compare.ResetDiffs();
    b = Planes();
    b.planes[0] = b.colour.data();
    b.planes[1] = reinterpret_cast<ULong32*>(b.alpha.data());
    b.alpha[4] = 0;
    EXPECT_EQ(status(), 1);
}

TEST(ImageCompareTest, PicturesOfTwoPlanesAreRefused) {
    Planes a, b;
    b.colour[0] = 0;
    ImageCompare compare(4);
    const auto status = [&](ULong32 width, ULong32 formatA, ULong32 formatB) {
        return compare.AreImagesEqual(a.planes, b.planes, width, 2, a.pitches, b.pitches, formatA, formatB,
                                      none);
    };
    EXPECT_EQ(status(4, kPairs, kPairs), -1);
    EXPECT_EQ(status(4, kPairsAndAlpha, kPairs), -1);
    EXPECT_EQ(status(4, kPairs, kPairsAndAlpha), -1);
    EXPECT_EQ(status(3, kPairsAndAlpha, kPairsAndAlpha), -2);
    a.pitches[0] = 9;
    EXPECT_EQ(status(4, kPairsAndAlpha, kPairsAndAlpha), -1);
    a.pitches[0] = 8;
    ULong32** const no = nullptr;
    EXPECT_EQ(compare.AreImagesEqual(no, b.planes, 4, 2, a.pitches, b.pitches, kPairsAndAlpha, kPairsAndAlpha,
                                     none),
              -1);
    EXPECT_EQ(compare.AreImagesEqual(a.planes, no, 4, 2, a.pitches, b.pitches, kPairsAndAlpha, kPairsAndAlpha,
                                     none),
              -1);
    EXPECT_EQ(compare.AreImagesEqual(a.planes, b.planes, 4, 2, nullptr, b.pitches, kPairsAndAlpha,
                                     kPairsAndAlpha, none),
              -1);
    a.planes[1] = nullptr;
    EXPECT_EQ(status(4, kPairsAndAlpha, kPairsAndAlpha), -1);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 0);
}

/// The same by a plain loop over pixels.
struct Counts {
    std::int64_t components = 0, words = 0;
    std::vector<Long32> largest = std::vector<Long32>(4, 0);
};

Counts CountsOf(const std::uint8_t* a, const std::uint8_t* b, std::size_t width, std::size_t height,
                std::size_t pitchA, std::size_t pitchB, unsigned bytes,
                const std::vector<std::pair<int, int>>& allowed) {
    Counts counts;
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            bool differs = false;
            for (unsigned i = 0; i < bytes; ++i) {
                const int d = int{a[y * pitchA + x * bytes + i]} - int{b[y * pitchB + x * bytes + i]};
                if (d < -allowed[i].first || d > allowed[i].second) {
                    ++counts.components;
                    differs = true;
                    if (std::abs(d) > std::abs(counts.largest[i])) {
                        counts.largest[i] = d;
                    }
                }
            }
            counts.words += differs ? 1 : 0;
        }
    }
    return counts;
}

TEST(ImageCompareTest, RandomPicturesOfManyWidthsAreJudgedAsByAPlainLoop) {
    for (unsigned width : {1U, 2U, 3U, 7U, 64U, 255U, 256U, 257U, 600U, 1025U, 2050U}) {
        for (const unsigned bytes : {1U, 4U}) {
            const unsigned height = 3, pitch = (width * bytes + 3) / 4 * 4 + 8;
            // The last row ends with the memory.
            test_support::FencedMemory a(pitch * (height - 1) + width * bytes),
                b(pitch * (height - 1) + width * bytes);
            std::memcpy(b.Data(), a.Data(), a.Length());
            for (unsigned i = 0; i < 40; ++i) {
                b.Data()[test_support::Random()() % b.Length()] = test_support::RandomByte();
            }
            ImageCompare compare(4);
            std::vector<std::pair<int, int>> allowed;
            for (unsigned i = 0; i < 4; ++i) {
                allowed.emplace_back(test_support::RandomFrom<int>(0, 90),
                                     test_support::RandomFrom<int>(0, 90));
                compare.SetLargestAllowableError(i, static_cast<ULong32>(allowed[i].first),
                                                 static_cast<ULong32>(allowed[i].second));
            }
            const Counts counts = CountsOf(a.Data(), b.Data(), width, height, pitch, pitch, bytes, allowed);
            const ULong32 format = bytes == 1 ? kPlane : kWords;
            const Long32 equal = compare.AreImagesEqual(reinterpret_cast<ULong32*>(a.Data()),
                                                        reinterpret_cast<ULong32*>(b.Data()), width, height,
                                                        pitch, pitch, format, format, none);
            EXPECT_EQ(equal, counts.words == 0 ? 1 : 0);
            EXPECT_EQ(compare.GetNumComponentDiffs(), counts.components) << width;
            EXPECT_EQ(CompareSeam::PixelDiffs(compare), counts.words) << width;
            const Long32 largest =
                *std::max_element(counts.largest.begin(), counts.largest.end(),
                                  [](Long32 x, Long32 y) { return std::abs(x) < std::abs(y); });
            EXPECT_EQ(compare.GetLargestDiff(), largest) << width;
        }
    }
}

}  // namespace
}  // namespace Zan
