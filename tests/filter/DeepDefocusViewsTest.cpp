#include <TesselU/filter/DeepDefocus.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "filter/BlurCalls.h"

namespace {

using namespace Zan;
using namespace filter_test;

// ---- Views ----

TEST(DeepDefocus, WritesTheRectangleAlone) {
    BlurPicture from(37, 15);
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        for (const ProcessingStyleEnum style : {kBestAvailable, kFP, kStyle4}) {
            for (const Limits& limits : {Limits{0, 1, 0, 1},
                                         {36, 37, 14, 15},
                                         {5, 30, 3, 11},
                                         {1, 36, 0, 15},
                                         {9, 99, 13, 99},
                                         {36, kAll, 0, kAll},
                                         {17, 26, 2, 7},
                                         {0, 8, 14, 16}}) {
                Compared to(37, 15, {3});
                ASSERT_EQ(Blur(from.View(), to.made.View(), 7, 9, style, limits), 0);
                BlurPlainly(from.View(), to.expected.View(), 7, 9,
                            {limits.xStart, limits.xEnd, limits.yStart, limits.yEnd}, FormOf(style));
                ASSERT_TRUE(SameMemory(to.made, to.expected)) << limits.xStart << ", " << limits.yStart;
            }
        }
    }
}

TEST(DeepDefocus, RunningSumsWriteTheFirstColumnOfAnEmptyRange) {
    BlurPicture from(20, 12);
    for (const ProcessingStyleEnum style : AllStyles()) {
        const bool writes = FormOf(style) != Form::kAfresh;
        for (const ULong32 xEnd : {0U, 6U, 7U}) {
            Compared to(20, 12);
            ASSERT_EQ(Blur(from.View(), to.made.View(), 5, 5, style, {7, xEnd, 2, 9}), 0);
            if (writes) {
                BlurPlainly(from.View(), to.expected.View(), 5, 5, {7, 8, 2, 9}, FormOf(style));
            }
            EXPECT_TRUE(SameMemory(to.made, to.expected)) << style << ", " << xEnd;
        }
    }
}

TEST(DeepDefocus, EmptyBandsWriteNothing) {
    BlurPicture from(20, 12);
    for (const ProcessingStyleEnum style : AllStyles()) {
        Compared to(20, 12);
        for (const Limits& limits : {Limits{0, kAll, 3, 3},
                                     {0, kAll, 4, 3},
                                     {0, kAll, 12, kAll},
                                     {0, kAll, kAll, kAll},
                                     {20, kAll, 0, kAll},
                                     {20, 20, 0, kAll},
                                     {kAll, 0, 0, kAll},
                                     {kAll, kAll, kAll, kAll},
                                     {7, 7, 5, 5}}) {
            EXPECT_EQ(Blur(from.View(), to.made.View(), 5, 5, style, limits), 0);
        }
        EXPECT_TRUE(SameMemory(to.made, to.expected)) << style;
    }
}

TEST(DeepDefocus, WorksOnTheSmallerOfTwoViews) {
    BlurPicture from(31, 14, {8});
    for (const ProcessingStyleEnum style : {kBestAvailable, kFP, kStyle4}) {
        Compared narrow(19, 22), low(40, 9, {4});
        for (Compared* to : {&narrow, &low}) {
            ASSERT_EQ(Blur(from.View(), to->made.View(), 5, 7, style), 0);
            BlurPlainly(from.View(), to->expected.View(), 5, 7, {}, FormOf(style));
            EXPECT_TRUE(SameMemory(to->made, to->expected)) << style;
        }
        // The box must be smaller than the working size.
        EXPECT_EQ(Blur(from.View(), narrow.made.View(), 19, 3, style), -3);
        EXPECT_EQ(Blur(from.View(), low.made.View(), 3, 9, style), -3);
        EXPECT_EQ(Blur(low.made.View(), from.View(), 3, 9, style), -3);
    }
}

TEST(DeepDefocus, FieldsRegionsAndOrigins) {
    struct Selected {
        Rectangle region;
        WhichFieldEnum field;
    };
    const Selected selections[] = {{{0, 0, 33, 22}, kFrame},      {{3, 2, 21, 17}, kFrame},
                                   {{0, 0, 33, 22}, kUpperField}, {{0, 0, 33, 22}, kLowerField},
                                   {{5, 3, 20, 18}, kLowerField}, {{1, 1, 32, 21}, kUpperField}};
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        for (const bool isSourceBottomUp : {false, true}) {
            for (const bool isBottomUp : {false, true}) {
                for (const Selected& s : selections) {
                    if (s.field != kFrame && (isSourceBottomUp || isBottomUp)) {
                        continue;  // refused
                    }
                    BlurPicture from(33, 22, {5, isSourceBottomUp ? kBottomLeft : kTopLeft});
                    Compared to(33, 22, {2, isBottomUp ? kBottomLeft : kTopLeft});
                    for (const ProcessingStyleEnum style : {kBestAvailable, kFP}) {
                        ASSERT_EQ(Blur(from.View(s.region, s.field), to.made.View(s.region, s.field), 5, 3,
                                       style, {2, 18, 1, 6}),
                                  0);
                        BlurPlainly(from.View(s.region, s.field), to.expected.View(s.region, s.field), 5, 3,
                                    {2, 18, 1, 6}, FormOf(style));
                        ASSERT_TRUE(SameMemory(to.made, to.expected));
                    }
                }
            }
        }
    }
}

TEST(DeepDefocus, ReadsWiderSamplesAsWords) {
    // Of 64 bits a pixel the first half of each line is taken as pixels of 32 bits.
    BlurPicture from(24, 9, {0, kTopLeft, k16Bits});
    ASSERT_EQ(from.Get().GetBytesPerPixel(), 8.0F);
    for (const ProcessingStyleEnum style : {kBestAvailable, kFP, kStyle4}) {
        Compared to(24, 9, {0, kTopLeft, k16Bits});
        ASSERT_EQ(Blur(from.View(), to.made.View(), 5, 5, style), 0);
        BlurPlainly(from.View(), to.expected.View(), 5, 5, {}, FormOf(style));
        EXPECT_TRUE(SameMemory(to.made, to.expected)) << style;
        // A region starts at a whole pixel.
        ASSERT_EQ(Blur(from.View({16, 1, 8, 8}), to.made.View({16, 1, 8, 8}), 3, 3, style), 0);
        BlurPlainly(from.View({16, 1, 8, 8}), to.expected.View({16, 1, 8, 8}), 3, 3, {}, FormOf(style));
        EXPECT_TRUE(SameMemory(to.made, to.expected)) << style;
    }
}

TEST(DeepDefocus, TakesYCrCbAlike) {
    BlurPicture from(24, 9, {0, kTopLeft, k8Bits, kYCrCb});
    Compared to(24, 9);
    ASSERT_EQ(Blur(from.View(), to.made.View(), 5, 5, kBestAvailable), 0);
    BlurPlainly(from.View(), to.expected.View(), 5, 5, {}, Form::kSingle);
    EXPECT_TRUE(SameMemory(to.made, to.expected));
}

TEST(DeepDefocus, StaysInsideThePlaneWhateverThePixels) {
    // Guards and padding are untouched when source and destination are one picture.
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        for (const ProcessingStyleEnum style : {kBestAvailable, kFP, kStyle4}) {
            Compared to(29, 13, {6});
            ASSERT_EQ(Blur(to.made.View(), to.made.View(), 5, 5, style), 0);
            for (unsigned y = 0; y < 13; ++y) {
                std::copy_n(to.made.Line(y), 4 * 29, to.expected.Line(y));
            }
            EXPECT_TRUE(SameMemory(to.made, to.expected));
        }
    }
}

TEST(DeepDefocus, BandsAgreeWithTheWhole) {
    BlurPicture from(61, 40);
    for (const ProcessingStyleEnum style : {kBestAvailable, kFlp_SIMD, kFlp, kStyle4}) {
        BlurPicture whole(61, 40), bands(61, 40);
        CopyMemory(whole, bands);
        ASSERT_EQ(Blur(from.View(), whole.View(), 11, 13, style), 0);
        ULong32 top = 0;
        for (const ULong32 rows : {1U, 2U, 3U, 5U, 7U, 9U, 20U}) {
            ASSERT_EQ(Blur(from.View(), bands.View(), 11, 13, style, {0, kAll, top, top + rows}), 0);
            top += rows;
        }
        EXPECT_TRUE(SameMemory(whole, bands)) << style;
    }
}

TEST(DeepDefocus, OneObjectServesSeveralThreads) {
    BlurPicture from(61, 40), whole(61, 40), bands(61, 40);
    CopyMemory(whole, bands);
    ASSERT_EQ(Blur(from.View(), whole.View(), 11, 13, kBestAvailable), 0);
    const DeepDefocus filter;
    std::vector<std::thread> threads;
    for (ULong32 i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            ImageView source = from.View(), destination = bands.View();
            filter.Do(source, destination, 11, 13, 0, kAll, 10 * i, 10 * i + 10, kBestAvailable);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(SameMemory(whole, bands));
}

}  // namespace
