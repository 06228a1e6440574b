// The comparison of pictures against a second, plain one, and what it promises in its corners.

#include <TesselU/image/ImageCompare.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "support/FencedMemory.h"

using namespace test_support;
using Zan::ImageCompare;
using Zan::Long32;
using Zan::Miscompare;
using Zan::ULong32;

namespace {

/// The comparison as it is told, one word at a time.
struct Model {
    unsigned channels;
    std::int64_t components = 0, pixels = 0;
    std::vector<long> largest;
    std::vector<std::pair<ULong32, ULong32>> allowed;

    explicit Model(unsigned numberOfChannels)
        : channels(numberOfChannels), largest(numberOfChannels), allowed(numberOfChannels) {}

    void Reset() {
        components = pixels = 0;
        largest.assign(channels, 0);
    }
    long Largest() const {
        long best = 0;
        for (const long each : largest) {
            if (std::labs(each) > std::labs(best)) {
                best = each;
            }
        }
        return best;
    }
    void Word(ULong32 x, ULong32 y, ULong32 first, ULong32 second, std::vector<Miscompare>& report) {
        int count = 0;
        for (unsigned i = 0; i < channels && first != second; ++i) {
            const int d =
                static_cast<int>(first >> (8 * i) & 0xFF) - static_cast<int>(second >> (8 * i) & 0xFF);
            const bool counts = d < 0   ? static_cast<ULong32>(-d) > allowed[i].first
                                : d > 0 ? static_cast<ULong32>(d) > allowed[i].second
                                        : false;
            if (counts) {
                ++count;
                if (std::labs(d) > std::labs(largest[i])) {
                    largest[i] = d;
                }
            }
        }
        components += count;
        if (count != 0) {
            ++pixels;
            if (static_cast<std::size_t>(pixels - 1) < report.size()) {
                report[static_cast<std::size_t>(pixels - 1)] = {x, y, first, second};
            }
        }
    }
    int Planes(const std::uint8_t* first, const std::uint8_t* second, ULong32 width, ULong32 height,
               ULong32 pitchFirst, ULong32 pitchSecond, ULong32 format, std::vector<Miscompare>& report) {
        if (format > 2 || (format != 1 && (pitchFirst % 4 != 0 || pitchSecond % 4 != 0))) {
            return -1;
        }
        if (format == 2 && width % 2 != 0) {
            return -2;
        }
        const ULong32 bytes = format == 1 ? 1 : 4, pixelsOfWord = format == 2 ? 2 : 1;
        for (ULong32 y = 0; y < height; ++y) {
            for (ULong32 i = 0; i < width / pixelsOfWord; ++i) {
                ULong32 a = 0, b = 0;
                std::memcpy(&a, first + std::size_t{y} * pitchFirst + std::size_t{i} * bytes, bytes);
                std::memcpy(&b, second + std::size_t{y} * pitchSecond + std::size_t{i} * bytes, bytes);
                Word(i * pixelsOfWord, y, a, b, report);
            }
        }
        return components == 0 && pixels == 0 ? 1 : 0;
    }
};

bool SameReport(const std::vector<Miscompare>& a, const std::vector<Miscompare>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0);
}

ULong32* Words(FencedMemory& memory) {
    return reinterpret_cast<ULong32*>(memory.Data());
}

/// A picture and one that differs from it in some bytes by little.
struct Twins {
    FencedMemory first, second;
    ULong32 pitchFirst, pitchSecond;

    Twins(ULong32 rowBytes, ULong32 height, ULong32 unit, int oneIn, int most)
        : Twins(rowBytes, height, rowBytes + unit * RandomFrom<ULong32>(0, 5),
                rowBytes + unit * RandomFrom<ULong32>(0, 5), oneIn, most) {}

    Twins(ULong32 rowBytes, ULong32 height, ULong32 ofFirst, ULong32 ofSecond, int oneIn, int most)
        : first(Length(rowBytes, height, ofFirst)),
          second(Length(rowBytes, height, ofSecond)),
          pitchFirst(ofFirst),
          pitchSecond(ofSecond) {
        for (ULong32 y = 0; y < height; ++y) {
            for (ULong32 x = 0; x < rowBytes; ++x) {
                std::uint8_t* const to = second.Data() + std::size_t{y} * pitchSecond + x;
                *to = first.Data()[std::size_t{y} * pitchFirst + x];
                if (RandomFrom<int>(1, oneIn) == 1) {
                    *to = static_cast<std::uint8_t>(*to + RandomFrom<int>(-most, most));
                }
            }
        }
    }

private:
    // The last row ends at a fence.
    static std::size_t Length(ULong32 rowBytes, ULong32 height, ULong32 pitch) {
        return height == 0 ? 0 : std::size_t{pitch} * (height - 1) + rowBytes;
    }
};

TEST(ImageCompareModel, CountsReportsAndLargestDifferences) {
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const auto format = RandomFrom<ULong32>(0, 2);
        const unsigned channels = format == 1 ? 1 : RandomFrom<unsigned>(1, 4);
        ImageCompare compare(channels);
        Model model(channels);
        for (unsigned i = 0; i < channels; ++i) {
            const auto negative = RandomFrom<ULong32>(0, 4), positive = RandomFrom<ULong32>(0, 4);
            compare.SetLargestAllowableError(i, negative, positive);
            model.allowed[i] = {negative, positive};
        }
        const std::vector<Miscompare> empty(RandomFrom<std::size_t>(0, 12), Miscompare{91, 92, 93, 94});
        std::vector<Miscompare> report = empty, expected = empty;
        // Several pictures before the counts are forgotten.
        for (int picture = 0; picture < 3; ++picture) {
            const ULong32 width = RandomFrom<ULong32>(0, 20) * (format == 2 ? 2 : 1);
            const auto height = RandomFrom<ULong32>(0, 5);
            Twins twins(format == 0   ? 4 * width
                        : format == 1 ? width
                                      : 2 * width,
                        height, format == 1 ? 1 : 4, RandomFrom<int>(1, 60), RandomFrom<int>(1, 200));
            const Bytes firstBefore = twins.first.Snapshot(), secondBefore = twins.second.Snapshot();
            const int status = model.Planes(twins.first.Data(), twins.second.Data(), width, height,
                                            twins.pitchFirst, twins.pitchSecond, format, expected);
            // An empty picture has no memory.
            ULong32 nothing = 0;
            ULong32* const first = twins.first.Length() != 0 ? Words(twins.first) : &nothing;
            ULong32* const second = twins.second.Length() != 0 ? Words(twins.second) : &nothing;
            ASSERT_EQ(compare.AreImagesEqual(first, second, width, height, twins.pitchFirst,
                                             twins.pitchSecond, format, format, report),
                      status)
                << "format " << format << ", " << width << "x" << height;
            ASSERT_EQ(compare.GetNumComponentDiffs(), model.components);
            ASSERT_EQ(compare.GetLargestDiff(), model.Largest());
            ASSERT_EQ(compare.GetAbsLargestDiff(), static_cast<ULong32>(std::labs(model.Largest())));
            ASSERT_TRUE(SameReport(report, expected));
            ASSERT_EQ(firstBefore, twins.first.Snapshot());
            ASSERT_EQ(secondBefore, twins.second.Snapshot());
        }
        compare.ResetDiffs();
        model.Reset();
        ASSERT_EQ(compare.GetNumComponentDiffs(), 0);
        ASSERT_EQ(compare.GetLargestDiff(), 0);
        // Tolerances stay.
        Twins twins(40, 2, 4, 3, 6);
        const int status = model.Planes(twins.first.Data(), twins.second.Data(), 10, 2, twins.pitchFirst,
                                        twins.pitchSecond, 0, expected);
        ASSERT_EQ(compare.AreImagesEqual(Words(twins.first), Words(twins.second), 10, 2, twins.pitchFirst,
                                         twins.pitchSecond, 0, 0, report),
                  status);
        ASSERT_EQ(compare.GetNumComponentDiffs(), model.components);
        ASSERT_TRUE(SameReport(report, expected));
    }
}

TEST(ImageCompareModel, TwoPlanes) {
    for (int round = 0; round < 1000; ++round) {
        SCOPED_TRACE(round);
        ImageCompare compare(4);
        Model model(4);
        const ULong32 width = 2 * RandomFrom<ULong32>(1, 12);
        const auto height = RandomFrom<ULong32>(1, 4);
        Twins colour(2 * width, height, 4, RandomFrom<int>(0, 1) == 0 ? 1000000 : 30, 9);
        Twins alpha(width, height, 1, RandomFrom<int>(0, 1) == 0 ? 1000000 : 10, 9);
        std::vector<Miscompare> report(5, Miscompare{1, 2, 3, 4}), expected = report;
        int status = model.Planes(colour.first.Data(), colour.second.Data(), width, height, colour.pitchFirst,
                                  colour.pitchSecond, 2, expected);
        if (status == 1) {
            status = model.Planes(alpha.first.Data(), alpha.second.Data(), width, height, alpha.pitchFirst,
                                  alpha.pitchSecond, 1, expected);
        }
        ULong32* first[] = {Words(colour.first), Words(alpha.first)};
        ULong32* second[] = {Words(colour.second), Words(alpha.second)};
        ULong32 pitchFirst[] = {colour.pitchFirst, alpha.pitchFirst};
        ULong32 pitchSecond[] = {colour.pitchSecond, alpha.pitchSecond};
        ASSERT_EQ(compare.AreImagesEqual(first, second, width, height, pitchFirst, pitchSecond, 3, 3, report),
                  status);
        ASSERT_EQ(compare.GetNumComponentDiffs(), model.components);
        ASSERT_EQ(compare.GetLargestDiff(), model.Largest());
        ASSERT_TRUE(SameReport(report, expected));
        for (const ULong32 format : {0U, 1U, 2U, 4U, 0xFFFFFFFFU}) {
            EXPECT_EQ(compare.AreImagesEqual(first, second, width, height, pitchFirst, pitchSecond, format, 3,
                                             report),
                      -1);
            EXPECT_EQ(compare.AreImagesEqual(first, second, width, height, pitchFirst, pitchSecond, 3, format,
                                             report),
                      -1);
            EXPECT_EQ(compare.AreImagesEqual(first, second, width, height, pitchFirst, pitchSecond, format,
                                             format, report),
                      -1);
        }
        // Refusals of the first plane come through, and count nothing.
        const std::int64_t counted = compare.GetNumComponentDiffs();
        EXPECT_EQ(
            compare.AreImagesEqual(first, second, width - 1, height, pitchFirst, pitchSecond, 3, 3, report),
            -2);
        pitchFirst[0] += 2;
        EXPECT_EQ(compare.AreImagesEqual(first, second, width, height, pitchFirst, pitchSecond, 3, 3, report),
                  -1);
        EXPECT_EQ(compare.GetNumComponentDiffs(), counted);
    }
}

TEST(ImageCompareModel, Refusals) {
    ULong32 a[16] = {}, b[16] = {1, 2, 3};
    std::vector<Miscompare> report(1, Miscompare{7, 7, 7, 7});
    ImageCompare compare(4);
    const auto run = [&](ULong32 width, ULong32 pitchFirst, ULong32 pitchSecond, ULong32 formatFirst,
                         ULong32 formatSecond) {
        return compare.AreImagesEqual(a, b, width, 2, pitchFirst, pitchSecond, formatFirst, formatSecond,
                                      report);
    };
    EXPECT_EQ(run(4, 17, 16, 0, 0), -1);
    EXPECT_EQ(run(4, 16, 18, 0, 0), -1);
    EXPECT_EQ(run(4, 19, 16, 2, 2), -1);
    EXPECT_EQ(run(3, 16, 16, 2, 2), -2);
    EXPECT_EQ(run(4, 16, 16, 3, 3), -1);
    EXPECT_EQ(run(4, 16, 16, 4, 4), -1);
    EXPECT_EQ(run(4, 16, 16, 0, 1), -1);
    EXPECT_EQ(run(4, 16, 16, 2, 0), -1);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 0);
    EXPECT_EQ(report[0].x, 7U);
    // A plane of bytes takes any pitch.
    EXPECT_EQ(run(3, 5, 7, 1, 1), 0);
}

TEST(ImageCompareModel, TolerancesHaveDirections) {
    ULong32 a[] = {0x0A0A0A0A}, b[] = {0x05050505};
    std::vector<Miscompare> none;
    ImageCompare compare(4);
    for (unsigned i = 0; i < 4; ++i) {
        compare.SetLargestAllowableError(i, 0, 5);
    }
    // a = b + 5, then a = b - 1.
    EXPECT_EQ(compare.AreImagesEqual(a, b, 1, 1, 4, 4, 0, 0, none), 1);
    b[0] = 0x0A0B0A0A;
    EXPECT_EQ(compare.AreImagesEqual(a, b, 1, 1, 4, 4, 0, 0, none), 0);
    EXPECT_EQ(compare.GetLargestDiff(), -1);
    EXPECT_EQ(compare.GetAbsLargestDiff(), 1U);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 1);
    // Counts stay until they are reset.
    b[0] = a[0];
    EXPECT_EQ(compare.AreImagesEqual(a, b, 1, 1, 4, 4, 0, 0, none), 0);
    compare.ResetDiffs();
    EXPECT_EQ(compare.AreImagesEqual(a, b, 1, 1, 4, 4, 0, 0, none), 1);
}

TEST(ImageCompareModel, ToleranceOfOneInEveryDirection) {
    ImageCompare compare(4);
    for (unsigned i = 0; i < 4; ++i) {
        compare.SetLargestAllowableError(i, 1, 1);
    }
    ULong32 a[] = {0x80808080, 0x00FF00FF}, b[] = {0x817F8180, 0x01FE01FE};
    std::vector<Miscompare> none;
    EXPECT_EQ(compare.AreImagesEqual(a, b, 2, 1, 8, 8, 0, 0, none), 1);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 0);
    EXPECT_EQ(compare.GetLargestDiff(), 0);
}

TEST(ImageCompareModel, TheLowerChannelWinsATie) {
    ULong32 a[] = {0x00000300}, b[] = {0x00030000};
    std::vector<Miscompare> none;
    ImageCompare compare(4);
    EXPECT_EQ(compare.AreImagesEqual(a, b, 1, 1, 4, 4, 0, 0, none), 0);
    EXPECT_EQ(compare.GetLargestDiff(), 3);
    // Equal magnitude later does not take its place.
    compare.ResetDiffs();
    ULong32 c[] = {5, 0}, d[] = {0, 5};
    EXPECT_EQ(compare.AreImagesEqual(c, d, 2, 1, 8, 8, 0, 0, none), 0);
    EXPECT_EQ(compare.GetLargestDiff(), 5);
    EXPECT_EQ(compare.GetNumComponentDiffs(), 2);
}

TEST(ImageCompareModel, EmptyPicturesAreEqual) {
    ULong32 a = 1, b = 2;
    std::vector<Miscompare> none;
    for (const ULong32 format : {0U, 1U, 2U}) {
        ImageCompare compare(4);
        EXPECT_EQ(compare.AreImagesEqual(&a, &b, 0, 5, 4, 4, format, format, none), 1);
        EXPECT_EQ(compare.AreImagesEqual(&a, &b, 2, 0, 8, 8, format, format, none), 1);
    }
}

TEST(ImageCompareModel, CopiesAreDeep) {
    ULong32 a[] = {9}, b[] = {2};
    std::vector<Miscompare> none;
    ImageCompare original(2);
    original.SetLargestAllowableError(0, 1, 1);
    ImageCompare copy(original), assigned(1);
    assigned = original;
    EXPECT_EQ(original.AreImagesEqual(a, b, 1, 1, 4, 4, 0, 0, none), 0);
    EXPECT_EQ(original.GetLargestDiff(), 7);
    for (ImageCompare* each : {&copy, &assigned}) {
        EXPECT_EQ(each->GetLargestDiff(), 0);
        EXPECT_EQ(each->GetNumComponentDiffs(), 0);
        ULong32 c[] = {3};
        EXPECT_EQ(each->AreImagesEqual(c, b, 1, 1, 4, 4, 0, 0, none), 1);
    }
    const ImageCompare after(original);
    EXPECT_EQ(after.GetLargestDiff(), 7);
    EXPECT_EQ(after.GetNumComponentDiffs(), 1);
}

}  // namespace
