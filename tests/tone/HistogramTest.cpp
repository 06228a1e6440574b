#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/Histogram.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "simd/Targets.h"
#include "support/CountedAllocations.h"

namespace {

using namespace Zan;

Image Picture(ULong32 width, ULong32 height, ColorSpaceEnum space = kRGB,
              AggregateChannelSamplingEnum sampling = k4444, OriginEnum origin = kTopLeft) {
    return Image(ImageDescriptor(width, height, space, sampling, space == kYCrCb ? kCbYCrA : kBGRA, kPacked,
                                 kProgressive, kNoFields, origin, 1.0F, kUnshaped),
                 64);
}

unsigned char* Line(Image& image, ULong32 line) {
    return static_cast<unsigned char*>(image.GetMemoryPointer(0)) +
           static_cast<std::size_t>(line) * image.GetPitch(0);
}

/// What the bytes of a picture's lines add up to, one by one.
struct Counts {
    std::array<std::array<ULong32, 256>, 4> of{};

    void Add(Image& image, ULong32 left, ULong32 width, ULong32 top, ULong32 lines, ULong32 apart = 1) {
        for (ULong32 y = 0; y < lines; ++y) {
            const unsigned char* const row = Line(image, top + apart * y) + 4 * std::size_t{left};
            for (std::size_t x = 0; x < 4 * std::size_t{width}; ++x) {
                ++of[x % 4][row[x]];
            }
        }
    }

    void Expect(const Histogram& histogram, const char* what) const {
        for (ULong32 table = 0; table < histogram.GetNumberOfTables(); ++table) {
            for (ULong32 entry = 0; entry < 256; ++entry) {
                ASSERT_EQ(histogram.Get(table, entry), of[table][entry])
                    << what << ", table " << table << ", entry " << entry;
            }
        }
    }
};

std::mt19937& Random() {
    static std::mt19937 generator(4711);
    return generator;
}

void FillWithNoise(Image& image, ULong32 height) {
    for (ULong32 y = 0; y < height; ++y) {
        for (ULong32 x = 0; x < 4 * image.GetWidth(); ++x) {
            Line(image, y)[x] = static_cast<unsigned char>(Random()() >> 13);
        }
    }
}

TEST(Histogram, HasOneTableByDefault) {
    Histogram histogram;
    EXPECT_EQ(histogram.GetNumberOfTables(), 1U);
    EXPECT_EQ(histogram.GetNumberOfTableEntries(), 256U);
    Image image = Picture(4, 4);
    ImageView view(&image);
    EXPECT_EQ(histogram.Do(view, kBestAvailable), -1);
}

TEST(Histogram, StartsAtZero) {
    const Histogram histogram(5, 300);
    EXPECT_EQ(histogram.GetNumberOfTables(), 5U);
    EXPECT_EQ(histogram.GetNumberOfTableEntries(), 300U);
    for (ULong32 table = 0; table < 5; ++table) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(histogram.GetPointerToTable(table)) % 128, 0U);
        for (ULong32 entry = 0; entry < 300; ++entry) {
            EXPECT_EQ(histogram.Get(table, entry), 0U);
        }
    }
}

TEST(Histogram, CountsABlackPicture) {
    Image image = Picture(37, 11);
    for (ULong32 y = 0; y < 11; ++y) {
        std::memset(Line(image, y), 0, std::size_t{37} * 4);
    }
    ImageView view(&image);
    Histogram histogram(3, 256);
    EXPECT_EQ(histogram.Do(view, kBestAvailable), 0);
    for (ULong32 table = 0; table < 3; ++table) {
        EXPECT_EQ(histogram.Get(table, 0), 37U * 11U);
        for (ULong32 entry = 1; entry < 256; ++entry) {
            EXPECT_EQ(histogram.Get(table, entry), 0U);
        }
    }
}

TEST(Histogram, CountsEachByteInItsTable) {
    Image image = Picture(2, 1);
    const unsigned char pixels[8] = {1, 2, 3, 4, 1, 5, 255, 0};
    std::memcpy(Line(image, 0), pixels, sizeof pixels);
    ImageView view(&image);
    Histogram histogram(4, 256);
    ASSERT_EQ(histogram.Do(view, kBestAvailable), 0);
    EXPECT_EQ(histogram.Get(0, 1), 2U);
    EXPECT_EQ(histogram.Get(1, 2), 1U);
    EXPECT_EQ(histogram.Get(1, 5), 1U);
    EXPECT_EQ(histogram.Get(2, 3), 1U);
    EXPECT_EQ(histogram.Get(2, 255), 1U);
    EXPECT_EQ(histogram.Get(3, 4), 1U);
    EXPECT_EQ(histogram.Get(3, 0), 1U);
    EXPECT_EQ(histogram.Get(0, 0), 0U);
}

TEST(Histogram, CountsEveryStyleAlike) {
    Image image = Picture(3, 3);
    FillWithNoise(image, 3);
    Counts expected;
    expected.Add(image, 0, 3, 0, 3);
    for (int style = -1; style < 8; ++style) {
        for (const bool mmxOnly : {false, true}) {
            Histogram histogram(4, 256);
            histogram.SetMMXonlyStyle(mmxOnly);
            ImageView view(&image);
            ASSERT_EQ(histogram.Do(view, static_cast<ProcessingStyleEnum>(style)), 0);
            expected.Expect(histogram, "style");
        }
    }
}

TEST(Histogram, AddsUpOverCalls) {
    Image image = Picture(100, 7);
    FillWithNoise(image, 7);
    ImageView view(&image);
    Histogram histogram(4, 256);
    Counts expected;
    for (int times = 0; times < 3; ++times) {
        ASSERT_EQ(histogram.Do(view, kBestAvailable), 0);
        expected.Add(image, 0, 100, 0, 7);
        expected.Expect(histogram, "again");
    }
}

TEST(Histogram, CountsWrapAt32Bits) {
    Image image = Picture(5, 1);
    std::memset(Line(image, 0), 9, 20);
    ImageView view(&image);
    Histogram histogram(3, 256);
    histogram.Set(0, 9, 0xFFFFFFFDU);
    ASSERT_EQ(histogram.Do(view, kBestAvailable), 0);
    EXPECT_EQ(histogram.Get(0, 9), 2U);
    EXPECT_EQ(histogram.Get(1, 9), 5U);
}

/// Every kind of picture that a counter might be chosen by, in sizes below and above what that pays for.
TEST(Histogram, CountsAllPicturesOnAllTargets) {
    enum { kNoise, kFlat, kRuns, kFewColours, kHalfFlat, kOddFields, kContents };
    for (const auto& [width, height] : std::vector<std::pair<ULong32, ULong32>>{
             {1, 1}, {7, 3}, {64, 64}, {257, 255}, {720, 486}, {1023, 700}}) {
        for (int content = 0; content < kContents; ++content) {
            Image image = Picture(width, height);
            FillWithNoise(image, height);
            std::uint32_t colour = 0x80402010U;
            for (ULong32 y = 0; y < height; ++y) {
                for (ULong32 x = 0; x < width; ++x) {
                    const bool isNoise = content == kNoise || (content == kHalfFlat && y > height / 2) ||
                                         (content == kOddFields && y % 2 == 1);
                    if (isNoise) {
                        continue;
                    }
                    if (content == kFewColours || (content == kRuns && Random()() % 32 == 0)) {
                        colour = 0x80402010U + static_cast<ULong32>(Random()() % 8) * 0x00010101U;
                    }
                    std::memcpy(Line(image, y) + 4 * std::size_t{x}, &colour, 4);
                }
            }
            Counts expected;
            expected.Add(image, 0, width, 0, height);
            for (std::size_t target = 0; target < simd::kTargetCount; ++target) {
                if (!simd::IsTargetAvailable(static_cast<simd::Target>(target))) {
                    continue;
                }
                const simd::ScopedTarget scoped(static_cast<simd::Target>(target));
                for (const ULong32 tables : {3U, 4U}) {
                    ImageView view(&image);
                    Histogram histogram(tables, 256);
                    ASSERT_EQ(histogram.Do(view, kBestAvailable), 0);
                    expected.Expect(histogram, "picture");
                }
            }
        }
    }
}

TEST(Histogram, CountsMoreThan16BitsOfOneValue) {
    Image image = Picture(1000, 200);
    for (ULong32 y = 0; y < 200; ++y) {
        for (ULong32 x = 0; x < 1000; ++x) {
            const unsigned char pixel[4] = {7, static_cast<unsigned char>(x), 7, 255};
            std::memcpy(Line(image, y) + 4 * std::size_t{x}, pixel, 4);
        }
    }
    ImageView view(&image);
    Histogram histogram(4, 256);
    ASSERT_EQ(histogram.Do(view, kBestAvailable), 0);
    EXPECT_EQ(histogram.Get(0, 7), 200000U);
    EXPECT_EQ(histogram.Get(2, 7), 200000U);
    EXPECT_EQ(histogram.Get(3, 255), 200000U);
    // 1000 columns: the values up to 231 come four times a line, the others three times.
    EXPECT_EQ(histogram.Get(1, 231), 800U);
    EXPECT_EQ(histogram.Get(1, 232), 600U);
}

TEST(Histogram, CountsRegionsAndFields) {
    Image image = Picture(50, 20);
    FillWithNoise(image, 20);
    struct {
        Rectangle region;
        WhichFieldEnum field;
        ULong32 left, width, top, lines, apart;
    } const cases[] = {
        {Rectangle(0, 0, 50, 20), kUpperField, 0, 50, 0, 10, 2},
        {Rectangle(0, 0, 50, 20), kLowerField, 0, 50, 1, 10, 2},
        {Rectangle(3, 4, 10, 11), kFrame, 3, 10, 4, 11, 1},
        {Rectangle(3, 4, 10, 11), kLowerField, 3, 10, 5, 5, 2},
    };
    for (const auto& each : cases) {
        ImageView view(&image, each.region, each.field);
        ASSERT_EQ(view.GetHeight(), each.lines);
        Histogram histogram(4, 256);
        ASSERT_EQ(histogram.Do(view, kBestAvailable), 0);
        Counts expected;
        expected.Add(image, each.left, each.width, each.top, each.lines, each.apart);
        expected.Expect(histogram, "region");
    }
}

TEST(Histogram, CountsBottomLeftPictures) {
    Image image = Picture(31, 9, kRGB, k4444, kBottomLeft);
    FillWithNoise(image, 9);
    Histogram histogram(4, 256);
    ImageView view(&image);
    ASSERT_EQ(histogram.Do(view, kBestAvailable), 0);
    Counts expected;
    expected.Add(image, 0, 31, 0, 9);
    expected.Expect(histogram, "bottom-left");

    ImageView field(&image, Rectangle(0, 0, 31, 9), kUpperField);
    EXPECT_EQ(histogram.Do(field, kBestAvailable), 98);
    expected.Expect(histogram, "unchanged");
}

TEST(Histogram, CountsAnyColourSpaceOfFourSamples) {
    for (const ComponentOrderEnum order : {kCbYCrA, kYCbCrA}) {
        Image image(ImageDescriptor(13, 5, kYCrCb, k4444, order, kPacked, kProgressive, kNoFields, kTopLeft,
                                    1.0F, kUnshaped),
                    64);
        FillWithNoise(image, 5);
        Histogram histogram(3, 256);
        ImageView view(&image);
        ASSERT_EQ(histogram.Do(view, kBestAvailable), 0);
        Counts expected;
        expected.Add(image, 0, 13, 0, 5);
        expected.Expect(histogram, "YCrCb");
    }
}

TEST(Histogram, CountsNothingInAnEmptySelection) {
    Image image = Picture(13, 5);
    ImageView view(&image, Rectangle(4, 2, 0, 0), kFrame);
    Histogram histogram(4, 256);
    EXPECT_EQ(histogram.Do(view, kBestAvailable), 0);
    Counts().Expect(histogram, "nothing");
}

TEST(Histogram, RefusesOtherFormats) {
    // Neither the number of tables nor their size is looked at before the format.
    for (Histogram histogram : {Histogram(), Histogram(4, 256), Histogram(4, 255)}) {
        for (const AggregateChannelSamplingEnum sampling : {k444, k422, k4224}) {
            Image image = Picture(8, 4, sampling == k444 ? kRGB : kYCrCb, sampling);
            ImageView view(&image);
            EXPECT_EQ(histogram.Do(view, kBestAvailable), 4);
        }
        Image alpha = Picture(8, 4, kAlphaOnly);
        ASSERT_EQ(alpha.GetChannelSampling(), k4444);
        ImageView view(&alpha);
        EXPECT_EQ(histogram.Do(view, kBestAvailable), 4);

        for (const AggregateBitsPerChannelEnum bits : {k16Bits, k32Bits}) {
            ImageDescriptor format(8, 4, kRGB, k4444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft, 1.0F,
                                   kUnshaped);
            format.aggregateBits = bits;
            Image deep(format, 64);
            ImageView deepView(&deep);
            EXPECT_EQ(histogram.Do(deepView, kBestAvailable), 4);
        }
    }
}

TEST(Histogram, RefusesViewsOnNothing) {
    Histogram histogram(4, 256);
    ImageView nothing;
    EXPECT_EQ(histogram.Do(nothing, kBestAvailable), 1);
    Image empty = Picture(8, 4, kRGB, k4444);
    empty = Image(ImageDescriptor(8, 4, kRGB, k4444, kBGRA, kPlanar, kProgressive, kNoFields, kTopLeft, 1.0F,
                                  kUnshaped),
                  64);
    ImageView view(&empty);
    EXPECT_EQ(histogram.Do(view, kBestAvailable), 1);
}

TEST(Histogram, RefusesOtherNumbersOfTablesAndEntries) {
    Image image = Picture(8, 4);
    ImageView view(&image);
    for (const ULong32 tables : {0U, 1U, 2U, 5U}) {
        EXPECT_EQ(Histogram(tables, 256).Do(view, kBestAvailable), -1) << tables;
    }
    for (const ULong32 tables : {3U, 4U}) {
        EXPECT_EQ(Histogram(tables, 255).Do(view, kBestAvailable), -1);
        EXPECT_EQ(Histogram(tables, 0).Do(view, kBestAvailable), -1);
        Histogram large(tables, 257);
        EXPECT_EQ(large.Do(view, kBestAvailable), 0);
        EXPECT_EQ(large.Get(0, 256), 0U);
    }
}

TEST(Histogram, SetsAndGetsInRange) {
    Histogram histogram(3, 16);
    histogram.Set(2, 15, 77);
    EXPECT_EQ(histogram.Get(2, 15), 77U);
    ULong32 stored = 0;
    std::memcpy(&stored, histogram.GetPointerToTable(2) + 15 * 4, 4);
    EXPECT_EQ(stored, 77U);
    histogram.Set(3, 0, 1);
    histogram.Set(0, 16, 1);
    histogram.Set(0xFFFFFFFFU, 0xFFFFFFFFU, 1);
    EXPECT_EQ(histogram.Get(3, 0), 0U);
    EXPECT_EQ(histogram.Get(0, 16), 0U);
    EXPECT_EQ(histogram.Get(5, 0), 0U);
    EXPECT_EQ(histogram.Get(0xFFFFFFFFU, 0), 0U);
    EXPECT_EQ(histogram.GetPointerToTable(3), nullptr);
    EXPECT_EQ(histogram.GetPointerToTable(0xFFFFFFFFU), nullptr);
    ULong32 sum = 0;
    for (ULong32 table = 0; table < 3; ++table) {
        for (ULong32 entry = 0; entry < 16; ++entry) {
            sum += histogram.Get(table, entry);
        }
    }
    EXPECT_EQ(sum, 77U);
}

TEST(Histogram, ClearsOneTableOrAll) {
    Histogram histogram(3, 256);
    for (ULong32 table = 0; table < 3; ++table) {
        histogram.Set(table, 0, 1);
        histogram.Set(table, 255, 2);
    }
    histogram.Clear(5);
    histogram.Clear(1);
    EXPECT_EQ(histogram.Get(0, 0), 1U);
    EXPECT_EQ(histogram.Get(0, 255), 2U);
    EXPECT_EQ(histogram.Get(1, 0), 0U);
    EXPECT_EQ(histogram.Get(1, 255), 0U);
    EXPECT_EQ(histogram.Get(2, 255), 2U);
    histogram.Clear();
    EXPECT_EQ(histogram.Get(0, 0), 0U);
    EXPECT_EQ(histogram.Get(2, 255), 0U);
}

// With something in every entry: an index that is cut to a table that is there would show.
TEST(Histogram, IndicesOfNothingReadZeroAndChangeNothing) {
    Histogram histogram(3, 256);
    const auto stored = [](ULong32 table, ULong32 entry) { return 1 + 1000 * table + entry; };
    for (ULong32 table = 0; table < 3; ++table) {
        for (ULong32 entry = 0; entry < 256; ++entry) {
            histogram.Set(table, entry, stored(table, entry));
        }
    }
    for (const ULong32 none : {3U, 4U, 5U, 259U, 0x80000000U, 0xFFFFFFFFU}) {
        histogram.Clear(none);
        histogram.Set(none, 0, 77);
        EXPECT_EQ(histogram.Get(none, 0), 0U) << none;
    }
    for (const ULong32 none : {256U, 257U, 512U, 0x80000000U, 0xFFFFFFFFU}) {
        histogram.Set(1, none, 77);
        EXPECT_EQ(histogram.Get(1, none), 0U) << none;
    }
    for (ULong32 table = 0; table < 3; ++table) {
        for (ULong32 entry = 0; entry < 256; ++entry) {
            ASSERT_EQ(histogram.Get(table, entry), stored(table, entry)) << table << ", " << entry;
        }
    }
}

TEST(Histogram, CopiesShareTheirTables) {
    Histogram assigned(1, 4);
    {
        Histogram histogram(3, 256);
        Histogram copy(histogram);
        assigned = copy;
        EXPECT_EQ(copy.GetPointerToTable(1), histogram.GetPointerToTable(1));
        histogram.Set(1, 200, 5);
        EXPECT_EQ(copy.Get(1, 200), 5U);
    }
    EXPECT_EQ(assigned.GetNumberOfTables(), 3U);
    EXPECT_EQ(assigned.GetNumberOfTableEntries(), 256U);
    EXPECT_EQ(assigned.Get(1, 200), 5U);
    assigned.Clear();
    EXPECT_EQ(assigned.Get(1, 200), 0U);
}

TEST(Histogram, TablesWithoutMemoryAreOutOfRange) {
    // 4 bytes an entry are more than 32 bits can tell.
    Histogram histogram(3, 0x40000000U);
    EXPECT_EQ(histogram.GetNumberOfTables(), 3U);
    EXPECT_EQ(histogram.GetNumberOfTableEntries(), 0x40000000U);
    EXPECT_EQ(histogram.GetPointerToTable(0), nullptr);
    histogram.Set(0, 0, 1);
    EXPECT_EQ(histogram.Get(0, 0), 0U);
    histogram.Clear();
    histogram.Clear(0);
    Image image = Picture(8, 4);
    ImageView view(&image);
    EXPECT_EQ(histogram.Do(view, kBestAvailable), 1);
}

TEST(Histogram, AllocatesForTheFirstLargePictureOnly) {
    Image small = Picture(100, 100), large = Picture(512, 512);
    std::memset(Line(large, 0), 0, std::size_t{512} * large.GetPitch(0));
    ImageView smallView(&small), largeView(&large);
    Histogram histogram(4, 256);
    const auto allocated = [&histogram](ImageView& view) {
        const long before = test_support::Allocations();
        EXPECT_EQ(histogram.Do(view, kBestAvailable), 0);
        return test_support::Allocations() - before;
    };
    EXPECT_EQ(allocated(smallView), 0);
    allocated(largeView);
    EXPECT_EQ(allocated(largeView), 0);
    EXPECT_EQ(allocated(smallView), 0);
}

}  // namespace
