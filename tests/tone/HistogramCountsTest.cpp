// Counts of pictures large enough for another way of counting, in every shape of rows, against a plain count.

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/Histogram.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "simd/Targets.h"
#include "support/Choices.h"

namespace {

using namespace Zan;
using namespace test_support;

/// What pixels are made of: the parts of a picture differ where its rows do.
enum Content { kOneColour, kTwoColours, kSixteenColours, kRuns, kNoise, kRowsInTurn, kNoiseBelow, kContents };

/// A picture in memory that ends where its last row does. What lies beside its rows is noise.
struct Canvas {
    Canvas(ULong32 width, ULong32 height, ULong32 padding, OriginEnum origin = kTopLeft,
           ScanStyleEnum scan = kProgressive)
        : pitch(4 * width + padding),
          memory(std::size_t{pitch} * height),
          image(memory.Data(), pitch,
                ImageDescriptor(width, height, kRGB, k4444, kBGRA, kPacked, scan, kInterleavedFields, origin,
                                1.0F, kUnshaped),
                1, 1) {}

    void Paint(Content content) {
        std::array<ULong32, 16> colours;
        for (ULong32& colour : colours) {
            colour = static_cast<ULong32>(Random()());
        }
        ULong32 run = colours[0];
        for (ULong32 y = 0; y < image.GetHeight(); ++y) {
            std::uint8_t* const row = memory.Data() + std::size_t{pitch} * y;
            const bool isNoise = content == kNoise || (content == kRowsInTurn && y % 2 == 0) ||
                                 (content == kNoiseBelow && y > image.GetHeight() / 3);
            for (ULong32 x = 0; x < image.GetWidth() && !isNoise; ++x) {
                const auto number = static_cast<ULong32>(Random()() >> 8);
                const ULong32 places = content == kTwoColours ? 2 : content == kSixteenColours ? 16 : 1;
                if (content == kRuns && number % 50 == 0) {
                    run = colours[number / 64 % 16];
                }
                const ULong32 colour = content == kRuns ? run : colours[number % places];
                std::memcpy(row + std::size_t{4} * x, &colour, 4);
            }
        }
    }

    ULong32 pitch;
    FencedMemory memory;
    Image image;
};

/// Counts that are kept by hand.
struct Counts {
    std::array<std::array<ULong32, 256>, 4> of{};

    void Add(ImageView& view) {
        const auto* const first = static_cast<const std::uint8_t*>(view.GetMemoryPointer(0));
        for (ULong32 y = 0; y < view.GetHeight(); ++y) {
            const std::uint8_t* const row = first + static_cast<std::ptrdiff_t>(y) * view.GetPitch(0);
            for (std::size_t i = 0; i < std::size_t{4} * view.GetWidth(); ++i) {
                ++of[i % 4][row[i]];
            }
        }
    }
    void Expect(const Histogram& histogram, const std::string& what) const {
        for (ULong32 table = 0; table < histogram.GetNumberOfTables(); ++table) {
            for (ULong32 entry = 0; entry < histogram.GetNumberOfTableEntries(); ++entry) {
                ASSERT_EQ(histogram.Get(table, entry), entry < 256 ? of[table][entry] : 0U)
                    << what << ", table " << table << ", entry " << entry;
            }
        }
    }
};

/// Two histograms, of three and of four tables, that go through the same calls.
struct Counters {
    explicit Counters(ULong32 entries = 256) : three(3, entries), four(4, entries) {}

    void Add(ImageView view, const std::string& what) {
        counts.Add(view);
        for (Histogram* histogram : {&three, &four}) {
            ASSERT_EQ(histogram->Do(view, kBestAvailable), 0) << what;
            ASSERT_NO_FATAL_FAILURE(counts.Expect(*histogram, what));
        }
    }

    Histogram three, four;
    Counts counts;
};

/// The target changes from call to call: counts add up over all of them.
simd::Target NextTarget() {
    static std::size_t next = 0;
    do {
        next = (next + 1) % simd::kTargetCount;
    } while (!simd::IsTargetAvailable(static_cast<simd::Target>(next)));
    return static_cast<simd::Target>(next);
}

std::string Words(ULong32 width, ULong32 height, int content) {
    return std::to_string(width) + " x " + std::to_string(height) + ", content " + std::to_string(content) +
           " on " + simd::TargetName(simd::CurrentTarget());
}

constexpr ULong32 kMany = 65536;

TEST(HistogramCounts, NarrowPicturesOfManyPixels) {
    Counters counters;
    for (ULong32 width = 1; width <= 70; width += kSanitized ? 5 : 1) {
        const simd::ScopedTarget limited(NextTarget());
        const ULong32 height = kMany / width + width % 3;
        const auto content = static_cast<Content>(width % kContents);
        Canvas canvas(width, height, width % 4 == 0 ? 0 : 4 * (width % 5));
        canvas.Paint(content);
        ASSERT_NO_FATAL_FAILURE(counters.Add(ImageView(&canvas.image), Words(width, height, content)));
    }
}

// One pixel more or less than what the way of counting may change at, whatever the shape.
TEST(HistogramCounts, AroundManyPixels) {
    Counters counters(300);
    const std::vector<std::pair<ULong32, ULong32>> sizes = {{kMany - 1, 1}, {kMany, 1}, {kMany + 1, 1},
                                                            {256, 255},     {256, 256}, {257, 256},
                                                            {1, kMany},     {21845, 3}, {13107, 5}};
    for (const auto& [width, height] : sizes) {
        for (int content = 0; content < kContents; content += kSanitized ? 4 : 1) {
            const simd::ScopedTarget limited(NextTarget());
            Canvas canvas(width, height, 0);
            canvas.Paint(static_cast<Content>(content));
            ASSERT_NO_FATAL_FAILURE(counters.Add(ImageView(&canvas.image), Words(width, height, content)));
        }
    }
}

TEST(HistogramCounts, LargeRegionsFieldsAndTurnedPictures) {
    Counters counters;
    for (int content = 0; content < kContents; content += kSanitized ? 3 : 1) {
        for (const OriginEnum origin : {kTopLeft, kBottomLeft}) {
            const simd::ScopedTarget limited(NextTarget());
            Canvas canvas(613, 401, 12, origin, kUpperFieldFirst);
            canvas.Paint(static_cast<Content>(content));
            const Rectangle regions[] = {Rectangle(0, 0, 613, 401), Rectangle(1, 1, 612, 400),
                                         Rectangle(7, 3, 599, 201), Rectangle(611, 0, 2, 401),
                                         Rectangle(3, 400, 610, 1), Rectangle(5, 6, 0, 300)};
            for (const Rectangle& region : regions) {
                for (const WhichFieldEnum field : {kFrame, kUpperField, kLowerField}) {
                    if (origin == kBottomLeft && field != kFrame) {
                        continue;  // such a field is refused
                    }
                    ImageView view(&canvas.image, region, field);
                    ASSERT_NO_FATAL_FAILURE(
                        counters.Add(view, Words(view.GetWidth(), view.GetHeight(), content)));
                }
            }
        }
    }
}

// Two fields count what their frame counts.
TEST(HistogramCounts, FieldsAddUpToTheirFrame) {
    for (int content = 0; content < kContents; ++content) {
        Canvas canvas(411, 323, 4, kTopLeft, kLowerFieldFirst);
        canvas.Paint(static_cast<Content>(content));
        Histogram frame(4, 256), fields(4, 256);
        ImageView whole(&canvas.image);
        ASSERT_EQ(frame.Do(whole, kBestAvailable), 0);
        for (const WhichFieldEnum field : {kUpperField, kLowerField}) {
            ImageView view(&canvas.image, Rectangle(0, 0, 411, 323), field);
            ASSERT_EQ(fields.Do(view, kBestAvailable), 0);
        }
        for (ULong32 table = 0; table < 4; ++table) {
            ASSERT_EQ(std::memcmp(frame.GetPointerToTable(table), fields.GetPointerToTable(table), 1024), 0)
                << "content " << content << ", table " << table;
        }
    }
}

// What is in the tables stays in the sum, also where it is near the end of 32 bits.
TEST(HistogramCounts, LargePicturesAddToWhatIsThere) {
    for (const Content content : {kOneColour, kSixteenColours, kNoise}) {
        Counters counters;
        for (ULong32 table = 0; table < 4; ++table) {
            for (ULong32 entry = 0; entry < 256; ++entry) {
                const ULong32 start = 0xFFFFFFFFU - 37 * entry - table;
                counters.counts.of[table][entry] = start;
                counters.three.Set(table, entry, start);
                counters.four.Set(table, entry, start);
            }
        }
        Canvas canvas(300, 300, 8);
        canvas.Paint(content);
        ASSERT_NO_FATAL_FAILURE(counters.Add(ImageView(&canvas.image), Words(300, 300, content)));
        ASSERT_NO_FATAL_FAILURE(counters.Add(ImageView(&canvas.image), Words(300, 300, content)));
    }
}

// A copy shares tables with its origin and may be the first of both to meet a large picture.
TEST(HistogramCounts, CopiesCountIntoTheSameTables) {
    Canvas large(400, 300, 0), small(20, 20, 0);
    large.Paint(kTwoColours);
    small.Paint(kNoise);
    ImageView largeView(&large.image), smallView(&small.image);
    Histogram first(4, 256);
    Counts counts;
    {
        Histogram second(first);
        for (int times = 0; times < 2; ++times) {
            ASSERT_EQ(second.Do(largeView, kBestAvailable), 0);
            ASSERT_EQ(first.Do(smallView, kBestAvailable), 0);
            ASSERT_EQ(first.Do(largeView, kBestAvailable), 0);
            counts.Add(largeView);
            counts.Add(smallView);
            counts.Add(largeView);
            ASSERT_NO_FATAL_FAILURE(counts.Expect(second, "the copy"));
        }
    }
    ASSERT_NO_FATAL_FAILURE(counts.Expect(first, "the first"));
}

// Everything is wrong at first, and is put right one after the other.
TEST(HistogramCounts, StatusesComeInTheirOrder) {
    Histogram noMemory(5, 0x40000000U), wrongNumber(5, 0x40000000U), fewEntries(4, 255),
        tablesWithout(3, 0x40000000U), good(3, 256);
    ImageView nothing;
    EXPECT_EQ(noMemory.Do(nothing, kBestAvailable), 1);

    // Of another format, and without memory as well.
    Image other(ImageDescriptor(8, 4, kYCrCb, k4224, kYCbCrPlanes, kPlanar, kProgressive, kNoFields, kTopLeft,
                                1.0F, kUnshaped),
                64);
    ASSERT_EQ(other.GetMemoryPointer(0), nullptr);
    ImageView otherView(&other);
    EXPECT_EQ(wrongNumber.Do(otherView, kBestAvailable), 4);

    // Of the right format without memory.
    Image empty(ImageDescriptor(8, 4, kRGB, k4444, kBGRA, kPlanar, kProgressive, kNoFields, kTopLeft, 1.0F,
                                kUnshaped),
                64);
    ASSERT_EQ(empty.GetMemoryPointer(0), nullptr);
    ImageView emptyView(&empty);
    EXPECT_EQ(wrongNumber.Do(emptyView, kBestAvailable), 1);

    Canvas turned(8, 6, 0, kBottomLeft, kUpperFieldFirst);
    ImageView outside(&turned.image, Rectangle(0, 0, 8, 6), kUpperField);
    EXPECT_EQ(wrongNumber.Do(outside, kBestAvailable), 98);
    EXPECT_EQ(fewEntries.Do(outside, kBestAvailable), 98);
    EXPECT_EQ(tablesWithout.Do(outside, kBestAvailable), 98);

    Canvas canvas(8, 6, 0);
    ImageView view(&canvas.image);
    EXPECT_EQ(wrongNumber.Do(view, kBestAvailable), -1);
    EXPECT_EQ(fewEntries.Do(view, kBestAvailable), -1);
    EXPECT_EQ(tablesWithout.Do(view, kBestAvailable), 1);
    for (ULong32 entry = 0; entry < 255; ++entry) {
        EXPECT_EQ(fewEntries.Get(0, entry), 0U);
    }
    EXPECT_EQ(good.Do(view, kBestAvailable), 0);
}

}  // namespace
