#include <TesselU/filter/DeepDefocusMT.h>
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "filter/BlurPicture.h"
#include "support/CountedAllocations.h"
#include "support/Streaming.h"
#include "support/Threads.h"

namespace {

using namespace Zan;
using namespace filter_test;

static_assert(std::is_base_of_v<DeepDefocus, DeepDefocusMT>);
static_assert(!std::is_copy_constructible_v<DeepDefocusMT>);

constexpr ULong32 kAll = 0xFFFFFFFFU;

Long32 Blur(DeepDefocusMT& filter, ImageView from, ImageView to, double horizontal, double vertical,
            ProcessingStyleEnum style = kBestAvailable, ULong32 yStart = 0, ULong32 yEnd = kAll,
            ULong32 xStart = 0, ULong32 xEnd = kAll) {
    return filter.Do(from, to, horizontal, vertical, xStart, xEnd, yStart, yEnd, style);
}

// ---- Workers ----

TEST(DeepDefocusMT, HasAWorkerForEachPhysicalProcessor) {
    // With the first thread a sanitizer starts one of its own.
    const DeepDefocusMT first(1, 8);
    const std::size_t before = ThreadsOfProcess().size();
    if (before == 0) {
        GTEST_SKIP() << "the system does not list threads";
    }
    const DeepDefocusMT filter(8);
    const std::size_t physical = CPUcapabilities().GetNumberOfPhysicalProcessors();
    EXPECT_EQ(ThreadsOfProcess().size() - before, std::min<std::size_t>(physical, 64));
}

TEST(DeepDefocusMT, HasAsManyWorkersAsAskedForAndEndsThem) {
    const DeepDefocusMT first(1, 8);
    const auto before = ThreadsOfProcess();
    if (before.empty()) {
        GTEST_SKIP() << "the system does not list threads";
    }
    for (const auto& [asked, had] :
         {std::pair{0U, 1U}, {1U, 1U}, {2U, 2U}, {8U, 8U}, {64U, 64U}, {65U, 64U}}) {
        {
            const DeepDefocusMT filter(asked, 8);
            EXPECT_EQ(ThreadsOfProcess().size() - before.size(), had) << asked;
        }
        EXPECT_TRUE(ThreadsBecome(before)) << asked;
    }
}

TEST(DeepDefocusMT, NeitherAllocatesNorStartsThreadsForAPicture) {
    BlurPicture from(640, 31), to(640, 31);
    DeepDefocusMT filter(3, 8);
    ImageView source(from.View()), destination(to.View());
    const auto threads = ThreadsOfProcess();
    const long before = Allocations();
    Long32 worst = 0;
    for (int i = 0; i < 10; ++i) {
        for (const ProcessingStyleEnum style : {kBestAvailable, kFlp_SIMD, kFlp}) {
            for (const double size : {5.0, 29.0}) {
                worst = std::max(worst, filter.Do(source, destination, size, size, 0, kAll, 0, kAll, style));
            }
        }
    }
    EXPECT_EQ(Allocations(), before);
    EXPECT_EQ(worst, 0);
    EXPECT_EQ(ThreadsOfProcess(), threads);
    // What counts does count.
    const long after = Allocations();
    // A function by this name, since an expression may be left out.
    void* const allocated = ::operator new(16);
    EXPECT_EQ(Allocations(), after < 0 ? after : after + 1);
    ::operator delete(allocated);
}

// ---- Bands ----

TEST(DeepDefocusMT, GivesTheBytesOfOneThread) {
    for (const bool aroundCache : {false, true}) {
        const ScopedStreaming streaming(aroundCache);
        for (ULong32 workers = 1; workers <= 8; ++workers) {
            DeepDefocusMT filter(workers, 8);
            for (const ProcessingStyleEnum style : {kBestAvailable, kInt_MMXorSIMD, kFP, kStyle4}) {
                for (const unsigned height : {8U, 27U, 50U}) {
                    BlurPicture from(45, height), one(45, height), many(45, height);
                    CopyMemory(one, many);
                    DeepDefocus plain;
                    ImageView source = from.View(), destination = one.View();
                    ASSERT_EQ(plain.Do(source, destination, 9, 7, 0, kAll, 0, kAll, style), 0);
                    // Twice, since workers sleep in between.
                    for (int i = 0; i < 2; ++i) {
                        ASSERT_EQ(Blur(filter, from.View(), many.View(), 9, 7, style), 0);
                        ASSERT_TRUE(SameMemory(one, many)) << workers << " workers, " << height << " rows";
                    }
                }
            }
        }
    }
}

TEST(DeepDefocusMT, WritesTheRectangleAlone) {
    for (const ULong32 workers : {1U, 3U, 8U}) {
        DeepDefocusMT filter(workers, 8);
        for (const auto& [yStart, yEnd] :
             {std::pair{0U, 30U}, {3U, 21U}, {29U, 30U}, {5U, 7U}, {11U, kAll}}) {
            BlurPicture from(33, 30), made(33, 30), expected(33, 30);
            CopyMemory(made, expected);
            ASSERT_EQ(Blur(filter, from.View(), made.View(), 5, 9, kBestAvailable, yStart, yEnd, 4, 22), 0);
            BlurPlainly(from.View(), expected.View(), 5, 9, {4, 22, yStart, yEnd}, Form::kSingle);
            ASSERT_TRUE(SameMemory(made, expected)) << workers << " workers, from " << yStart;
        }
    }
}

TEST(DeepDefocusMT, EmptyBandsWriteNothing) {
    BlurPicture from(33, 30), made(33, 30), expected(33, 30);
    CopyMemory(made, expected);
    for (const ULong32 workers : {1U, 4U}) {
        DeepDefocusMT filter(workers, 8);
        for (const auto& [yStart, yEnd] :
             {std::pair{5U, 5U}, {6U, 5U}, {kAll, 0U}, {30U, kAll}, {kAll - 1, kAll}}) {
            EXPECT_EQ(Blur(filter, from.View(), made.View(), 5, 9, kBestAvailable, yStart, yEnd), 0);
        }
    }
    EXPECT_TRUE(SameMemory(made, expected));
}

TEST(DeepDefocusMT, OfFewerRowsThanWorkersAreAllOfTheLast) {
    DeepDefocusMT filter(64, 8);
    BlurPicture from(33, 30), made(33, 30), expected(33, 30);
    CopyMemory(made, expected);
    ASSERT_EQ(Blur(filter, from.View(), made.View(), 5, 9, kFP, 2, 28), 0);
    BlurPlainly(from.View(), expected.View(), 5, 9, {0, SIZE_MAX, 2, 28}, Form::kShifts);
    EXPECT_TRUE(SameMemory(made, expected));
}

TEST(DeepDefocusMT, ViewsAreWholeForEveryWorker) {
    // Fields and regions, whose rows are counted by the image they are of.
    for (const ULong32 workers : {1U, 2U, 3U, 5U}) {
        DeepDefocusMT filter(workers, 8);
        for (const WhichFieldEnum field : {kFrame, kUpperField, kLowerField}) {
            BlurPicture from(40, 36), made(40, 36), expected(40, 36);
            CopyMemory(made, expected);
            const Rectangle region(3, 5, 31, 24);
            ASSERT_EQ(Blur(filter, from.View(region, field), made.View(region, field), 7, 5), 0);
            BlurPlainly(from.View(region, field), expected.View(region, field), 7, 5, {}, Form::kSingle);
            EXPECT_TRUE(SameMemory(made, expected)) << workers << " workers, field " << field;
        }
    }
}

TEST(DeepDefocusMT, RowsAreThoseOfTheImageOrOfTheBand) {
    // In place every pixel is open, but its row tells who made it: columns of an empty range are written in
    // each band that has rows. Of a region of 4 rows of 40, two workers get 20 rows each, and the first does
    // all that there are; the bytes are the same.
    DeepDefocusMT filter(2, 8);
    BlurPicture from(20, 40), made(20, 40), expected(20, 40);
    CopyMemory(made, expected);
    const Rectangle region(0, 10, 20, 6);
    ASSERT_EQ(Blur(filter, from.View(region), made.View(region), 3, 3), 0);
    BlurPlainly(from.View(region), expected.View(region), 3, 3, {}, Form::kSingle);
    EXPECT_TRUE(SameMemory(made, expected));
}

TEST(DeepDefocusMT, ReturnsTheStatusOfTheFirstWorker) {
    DeepDefocusMT filter(3, 8);
    BlurPicture from(33, 30), to(33, 30);
    EXPECT_EQ(Blur(filter, ImageView(), to.View(), 5, 5), 1);
    EXPECT_EQ(Blur(filter, from.View(), ImageView(), 5, 5), 1);
    EXPECT_EQ(Blur(filter, from.View(), to.View(), 1e9, 5), -10);
    EXPECT_EQ(Blur(filter, from.View(), to.View(), 0, 5, kFP), -1);
    EXPECT_EQ(Blur(filter, from.View(), to.View(), 4, 5, kFP), -2);
    EXPECT_EQ(Blur(filter, from.View(), to.View(), 5, 90), -3);
    // Also where no band has rows.
    EXPECT_EQ(Blur(filter, from.View(), to.View(), 4, 5, kFP, 9, 9), -2);
}

TEST(DeepDefocusMT, WorkersHaveTheBitsAskedForTheObjectHasEight) {
    // (2^9 - 1) * 16000001 is above the limit, 255 * 16000001 is not.
    DeepDefocusMT nine(2, 9), byItself(9);
    BlurPicture from(33, 30), to(33, 30);
    for (DeepDefocusMT* filter : {&nine, &byItself}) {
        EXPECT_EQ(Blur(*filter, from.View(), to.View(), 16000001, 1), -10);
        ImageView source = from.View(), destination = to.View();
        EXPECT_EQ(filter->DeepDefocus::Do(source, destination, 16000001, 1, 0, kAll, 0, kAll, kBestAvailable),
                  -3);
    }
    // With nine bits 3 by 3 samples are shifted the same as with eight, with twelve they are not.
    DeepDefocusMT twelve(2, 16);
    BlurPicture made(33, 30), expected(33, 30);
    CopyMemory(made, expected);
    ASSERT_EQ(Blur(twelve, from.View(), made.View(), 3, 3, kFP), 0);
    BlurPlainly(from.View(), expected.View(), 3, 3, {}, Form::kShifts, 16);
    EXPECT_TRUE(SameMemory(made, expected));
}

}  // namespace
