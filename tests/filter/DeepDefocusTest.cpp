#include <TesselU/filter/DeepDefocus.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

#include "filter/BlurCalls.h"
#include "foundation/CapabilitySeam.h"

namespace {

using namespace Zan;
using namespace filter_test;

static_assert(std::is_copy_assignable_v<DeepDefocus> && sizeof(DeepDefocus) == 4);

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

// ---- Sizes ----

TEST(DeepDefocus, TruncatedSizesMustBeOdd) {
    BlurPicture from(12, 10), to(12, 10);
    std::vector<ProcessingStyleEnum> styles(std::begin(kTruncating), std::end(kTruncating));
    styles.insert(styles.end(), std::begin(kAfresh), std::end(kAfresh));
    for (const ProcessingStyleEnum style : styles) {
        const auto status = [&](double h, double v) { return Blur(from.View(), to.View(), h, v, style); };
        for (const double none : {0.3, 0.0, 0.999, -0.5, -1.0, -3.0, -1e300, kNotANumber}) {
            EXPECT_EQ(status(none, 3), -1) << none;
            EXPECT_EQ(status(3, none), -1) << none;
        }
        for (const double even : {4.0, 2.0, 2.999, 8.5}) {
            EXPECT_EQ(status(even, 3), -2) << even;
            EXPECT_EQ(status(3, even), -2) << even;
        }
        for (const double odd : {1.0, 1.999, 3.0, 9.9}) {
            EXPECT_EQ(status(odd, 1), 0) << odd;
        }
        // Above the working size it is that: even sizes stay even.
        EXPECT_EQ(status(500, 3), -2);
        EXPECT_EQ(status(3, 500), -2);
        EXPECT_EQ(status(12, 3), -2);
        EXPECT_EQ(status(12.5, 3), -2);
    }
}

TEST(DeepDefocus, TruncatedSizesAboveAnOddPictureAreTooLarge) {
    BlurPicture from(11, 9), to(11, 9);
    for (const ProcessingStyleEnum style : {kFlp, kFP, kStyle4}) {
        EXPECT_EQ(Blur(from.View(), to.View(), 500, 3, style), -3);
        EXPECT_EQ(Blur(from.View(), to.View(), 3, 500, style), -3);
        EXPECT_EQ(Blur(from.View(), to.View(), 11, 3, style), -3);
        EXPECT_EQ(Blur(from.View(), to.View(), 3, 9, style), -3);
        EXPECT_EQ(Blur(from.View(), to.View(), 9, 7, style), 0);
    }
}

TEST(DeepDefocus, RoundedSizesAreMadeOdd) {
    // A single bright pixel lights as many as the box is wide and high.
    const struct {
        double size;
        int box;
    } rows[] = {{-7, 1},  {-1e300, 1}, {0, 1},   {0.3, 1},  {0.999, 1}, {1, 1}, {1.49, 1},
                {1.5, 3}, {2, 3},      {3, 3},   {3.49, 3}, {3.5, 5},   {4, 5}, {4.4, 5},
                {4.5, 5}, {5.49, 5},   {5.5, 7}, {6.9, 7},  {7.4, 7}};
    for (const ProcessingStyleEnum style : kRounding) {
        for (const auto& row : rows) {
            BlurPicture from(19, 17), to(19, 17);
            from.Fill(0);
            from.At(9, 8) = 255;
            ASSERT_EQ(Blur(from.View(), to.View(), row.size, 1, style), 0);
            EXPECT_EQ(std::count_if(&to.At(0, 8), &to.At(0, 8) + 4 * 19, [](int v) { return v != 0; }),
                      row.box)
                << row.size;
            ASSERT_EQ(Blur(from.View(), to.View(), 1, row.size, style), 0);
            int lit = 0;
            for (unsigned y = 0; y < 17; ++y) {
                lit += to.At(9, y) != 0 ? 1 : 0;
            }
            EXPECT_EQ(lit, row.box) << row.size;
        }
    }
}

TEST(DeepDefocus, RoundedSizesAreCutToThePicture) {
    BlurPicture even(12, 10), odd(11, 9);
    for (const ProcessingStyleEnum style : kRounding) {
        // Cut to 12 it becomes 13, cut to 11 it is as large as the picture.
        for (const double size : {500.0, 12.0, 11.5, 10.6}) {
            EXPECT_EQ(Blur(even.View(), even.View(), size, 3, style), size == 10.6 ? 0 : -3) << size;
            EXPECT_EQ(Blur(odd.View(), odd.View(), size, 3, style), -3) << size;
            EXPECT_EQ(Blur(odd.View(), odd.View(), 3, size, style), -3) << size;
        }
        EXPECT_EQ(Blur(even.View(), even.View(), 11, 9, style), 0);
        EXPECT_EQ(Blur(even.View(), even.View(), kNotANumber, 3, style), -1);
        EXPECT_EQ(Blur(even.View(), even.View(), 3, kNotANumber, style), -1);
    }
}

TEST(DeepDefocus, RoundedSizesAreThoseOfTheStyleOnEveryProcessor) {
    // The integer form of the small processors keeps the rounded size.
    const ScopedInstructionSet believing(kSSE_MMX);
    BlurPicture from(12, 10), to(12, 10);
    for (const ProcessingStyleEnum style : kRounding) {
        EXPECT_EQ(Blur(from.View(), to.View(), 4.0, 0.3, style), 0);
        EXPECT_EQ(Blur(from.View(), to.View(), 500, 3, style), -3);
    }
}

// ---- Refusals ----

TEST(DeepDefocus, RefusesInOrder) {
    BlurPicture good(12, 10), bottomUp(12, 10, {0, kBottomLeft});
    Image other(ImageDescriptor(12, 10, kYCrCb, k422, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft,
                                1.0F, kUnshaped),
                1);
    Image three(ImageDescriptor(12, 10, kRGB, k444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft, 1.0F,
                                kUnshaped),
                1);
    Image alpha(ImageDescriptor(12, 10, kAlphaOnly, k4444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft,
                                1.0F, kUnshaped),
                1);
    Image noMemory(ImageDescriptor(12, 10, kRGB, kProgressive, kNoFields, kTopLeft, 1.0F), 3, 2);
    ASSERT_EQ(noMemory.GetMemoryPointer(0), nullptr);
    ASSERT_EQ(noMemory.GetNumberOfChannels(), 4U);
    const ImageView fine = good.View(), nothing, empty(&noMemory),
                    field = bottomUp.View({0, 0, 12, 10}, kUpperField);
    const double tooLarge = 1e9;
    for (const ProcessingStyleEnum style : AllStyles()) {
        const auto both = [&](const ImageView& view, double size) {
            const Long32 first = Blur(view, fine, size, size, style);
            EXPECT_EQ(Blur(fine, view, size, size, style), first);
            return first;
        };
        EXPECT_EQ(both(nothing, tooLarge), 1);
        for (Image* image : {&other, &three, &alpha}) {
            EXPECT_EQ(both(ImageView(image), tooLarge), 4);
            // The format is tested first.
            EXPECT_EQ(Blur(ImageView(image), empty, 3, 3, style), 4);
            EXPECT_EQ(Blur(empty, ImageView(image), 3, 3, style), 4);
        }
        EXPECT_EQ(both(empty, tooLarge), 1);
        EXPECT_EQ(Blur(field, empty, tooLarge, 3, style), 1);
        EXPECT_EQ(Blur(empty, field, tooLarge, 3, style), 1);
        EXPECT_EQ(both(field, tooLarge), 98);
        EXPECT_EQ(both(fine, tooLarge), -10);
        EXPECT_EQ(Blur(fine, fine, tooLarge, kNotANumber, style), -1);
    }
    for (const ProcessingStyleEnum style : {kFlp, kFP, kStyle4}) {
        // Both sizes are tried at each step.
        EXPECT_EQ(Blur(fine, fine, 4, 0, style), -1);
        EXPECT_EQ(Blur(fine, fine, 0, 4, style), -1);
        EXPECT_EQ(Blur(fine, fine, 500, 4, style), -2);
        EXPECT_EQ(Blur(fine, fine, 11, 4, style), -2);
        EXPECT_EQ(Blur(fine, fine, 4, 500, style), -2);
    }
}

TEST(DeepDefocus, WritesNothingWhenItRefuses) {
    BlurPicture from(13, 9);
    for (const ProcessingStyleEnum style : AllStyles()) {
        Compared to(13, 9);
        EXPECT_NE(Blur(from.View(), to.made.View(), 1e9, 1e9, style), 0);
        EXPECT_NE(Blur(from.View(), to.made.View(), kNotANumber, 3, style), 0);
        EXPECT_NE(Blur(from.View(), to.made.View(), 3, 9, style), 0);
        EXPECT_TRUE(SameMemory(to.made, to.expected));
    }
}

TEST(DeepDefocus, LimitsTheSumBeforeSizesAreRounded) {
    BlurPicture picture(12, 10);
    const auto status = [&](double h, double v, ULong32 bits, ProcessingStyleEnum style) {
        return Blur(picture.View(), picture.View(), h, v, style, {}, bits);
    };
    for (const ProcessingStyleEnum style : {kFP, kStyle4, kBestAvailable}) {
        // 255 * 16843009 is the limit itself, which passes, whatever the size becomes then.
        EXPECT_EQ(status(16843009, 1, 8, style), style == kBestAvailable ? -3 : -2);
        EXPECT_EQ(status(16843009.01, 1, 8, style), -10);
        EXPECT_EQ(status(1, 16843010, 8, style), -10);
        EXPECT_EQ(status(-1, -16843010, 8, style), -10);
        EXPECT_EQ(status(-16843010, 1, 8, style), style == kBestAvailable ? 0 : -1);
        EXPECT_EQ(status(3, 3, 28, style), 0);
        EXPECT_EQ(status(3, 3, 29, style), -10);  // (2^29 - 1) * 9 is above 2^32 - 1
        EXPECT_EQ(status(1, 1, 32, style), 0);
        EXPECT_EQ(status(1, 1, 33, style), -10);
        EXPECT_EQ(status(1, 1, 0xFFFFFFFF, style), -10);
        EXPECT_EQ(status(1.00001, 1, 32, style), -10);
        EXPECT_EQ(status(5, 5, 0, style), 0);
        EXPECT_EQ(status(5, 5, 1, style), 0);
    }
}

TEST(DeepDefocus, HasNoScaleForBoxesAbove65536) {
    // 257 * 255 = 65535; 1 / 65537 doubled 31 times is 32767.5.
    BlurPicture from(260, 262), to(260, 262);
    for (const ProcessingStyleEnum style : kTruncating) {
        EXPECT_EQ(Blur(from.View(), to.View(), 257, 255, style, {0, 3, 0, 1}), 0);
        EXPECT_EQ(Blur(from.View(), to.View(), 257, 257, style), -5);
        // Tested before the band is looked at.
        EXPECT_EQ(Blur(from.View(), to.View(), 257, 257, style, {0, 1, 5, 5}), -5);
    }
    EXPECT_EQ(Blur(from.View(), to.View(), 257, 257, kStyle4, {0, 1, 0, 1}), 0);
    EXPECT_EQ(Blur(from.View(), to.View(), 257, 257, kBestAvailable, {0, 1, 0, 1}), 0);
    const ScopedInstructionSet believing(kMMX);
    EXPECT_EQ(Blur(from.View(), to.View(), 257, 257, kBestAvailable, {0, 1, 0, 1}), -5);
}

// ---- Samples ----

TEST(DeepDefocus, BoxesOfOneCopy) {
    BlurPicture from(23, 7);
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        for (const ProcessingStyleEnum style : AllStyles()) {
            Compared to(23, 7);
            ASSERT_EQ(Blur(from.View(), to.made.View(), 1, 1, style), 0);
            CopyMemory(to.made, to.expected);
            for (unsigned y = 0; y < 7; ++y) {
                EXPECT_EQ(std::memcmp(to.made.Line(y), from.Line(y), 4 * 23), 0) << style << ", " << y;
            }
        }
    }
}

TEST(DeepDefocus, MirrorsWithoutRepeatingTheEdge) {
    BlurPicture from(5, 2), to(5, 2);
    for (unsigned x = 0; x < 5; ++x) {
        for (unsigned byte = 0; byte < 4; ++byte) {
            from.At(x, 0, byte) = from.At(x, 1, byte) = static_cast<std::uint8_t>(10 * (x + 1));
        }
    }
    // (20 + 10 + 20) / 3 and (40 + 50 + 40) / 3: 16 2/3 and 43 1/3.
    ASSERT_EQ(Blur(from.View(), to.View(), 3, 1, kBestAvailable), 0);
    EXPECT_EQ(to.At(0, 0, 0), 17);
    EXPECT_EQ(to.At(1, 0, 1), 20);
    EXPECT_EQ(to.At(4, 1, 2), 43);
    ASSERT_EQ(Blur(from.View(), to.View(), 3, 1, kStyle4), 0);
    EXPECT_EQ(to.At(0, 0, 3), 17);
    EXPECT_EQ(to.At(4, 0, 3), 43);
    // 1 / 3 is 43691 / 2^17, a bit too large: 50 * 43691 / 131072 is 16.67, 60 becomes 20 exactly.
    ASSERT_EQ(Blur(from.View(), to.View(), 3, 1, kFP), 0);
    EXPECT_EQ(to.At(0, 1, 0), 16);
    EXPECT_EQ(to.At(1, 0, 0), 20);
    EXPECT_EQ(to.At(4, 1, 3), 43);
}

TEST(DeepDefocus, MirrorsRowsAsColumns) {
    BlurPicture from(2, 5), to(2, 5);
    for (unsigned y = 0; y < 5; ++y) {
        for (unsigned byte = 0; byte < 8; ++byte) {
            from.At(0, y, byte) = static_cast<std::uint8_t>(10 * (y + 1));
        }
    }
    ASSERT_EQ(Blur(from.View(), to.View(), 1, 3, kBestAvailable), 0);
    EXPECT_EQ(to.At(0, 0), 17);
    EXPECT_EQ(to.At(1, 2, 3), 30);
    EXPECT_EQ(to.At(1, 4), 43);
}

TEST(DeepDefocus, RoundsInSinglePrecisionAndTruncatesInIntegers) {
    // 12 samples of 1 among 25 are 0.48, 13 are 0.52. In integers 1 / 25 is 41943 / 2^20, a bit too small:
    // even 25 * 41943 stays below 2^20.
    BlurPicture from(9, 9), to(9, 9);
    for (const auto& [ones, single, integer] : {std::tuple{12, 0, 0}, {13, 1, 0}, {24, 1, 0}, {25, 1, 0}}) {
        from.Fill(0);
        for (int i = 0; i < ones; ++i) {
            from.At(2 + static_cast<unsigned>(i % 5), 2 + static_cast<unsigned>(i / 5), 1) = 1;
        }
        ASSERT_EQ(Blur(from.View(), to.View(), 5, 5, kBestAvailable), 0);
        EXPECT_EQ(to.At(4, 4, 1), single) << ones;
        ASSERT_EQ(Blur(from.View(), to.View(), 5, 5, kStyle4), 0);
        EXPECT_EQ(to.At(4, 4, 1), single) << ones;
        ASSERT_EQ(Blur(from.View(), to.View(), 5, 5, kFP), 0);
        EXPECT_EQ(to.At(4, 4, 1), integer) << ones;
    }
}

TEST(DeepDefocus, WhiteStaysWhite) {
    BlurPicture from(301, 33), to(301, 33);
    from.Fill(255);
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        for (int width = 1; width < 300; width += width < 20 ? 2 : 34) {
            for (const int height : {1, 3, 5, 15, 17, 31}) {
                for (const ProcessingStyleEnum style : {kBestAvailable, kFlp_SIMD, kStyle4}) {
                    to.Fill(0);
                    ASSERT_EQ(Blur(from.View(), to.View(), width, height, style, {0, 24, 4, 5}), 0);
                    ASSERT_EQ(to.At(3, 4, 3), 255) << width << " by " << height;
                    ASSERT_EQ(to.At(23, 4, 0), 255) << width << " by " << height;
                }
            }
        }
    }
}

TEST(DeepDefocus, BitsOfASampleEnterIntoTheScaleAlone) {
    BlurPicture from(21, 19);
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        for (const ULong32 bits : {0U, 1U, 4U, 7U, 8U, 9U, 12U, 15U, 16U, 17U, 20U, 24U, 28U}) {
            for (const int size : {1, 3}) {
                Compared to(21, 19);
                ASSERT_EQ(Blur(from.View(), to.made.View(), size, size, kFP, {}, bits), 0) << bits;
                BlurPlainly(from.View(), to.expected.View(), size, size, {}, Form::kShifts, bits);
                ASSERT_TRUE(SameMemory(to.made, to.expected)) << bits << " bits, " << size;
                ASSERT_EQ(Blur(from.View(), to.made.View(), size, size, kBestAvailable, {}, bits), 0);
                BlurPlainly(from.View(), to.expected.View(), size, size, {}, Form::kSingle);
                ASSERT_TRUE(SameMemory(to.made, to.expected)) << bits << " bits, " << size;
            }
        }
    }
    // With 1 bit the sum of a large box is not shifted before it is multiplied, and its product wraps.
    for (const simd::Target target : Targets()) {
        const simd::ScopedTarget scoped(target);
        for (const ULong32 bits : {0U, 1U, 3U}) {
            BlurPicture wide(60, 43);
            Compared to(60, 43);
            ASSERT_EQ(Blur(wide.View(), to.made.View(), 59, 41, kFlp, {}, bits), 0);
            BlurPlainly(wide.View(), to.expected.View(), 59, 41, {}, Form::kShifts, bits);
            EXPECT_TRUE(SameMemory(to.made, to.expected)) << bits;
        }
    }
}

TEST(DeepDefocus, WithoutPlacesForTheShiftSamplesAreZero) {
    // 2^32 - 1 must be halved 17 times to be 65535 or less, and has 15 places.
    BlurPicture from(5, 5), to(5, 5);
    ASSERT_EQ(Blur(from.View(), to.View(), 1, 1, kFP, {}, 32), 0);
    for (unsigned x = 0; x < 20; ++x) {
        EXPECT_EQ(to.At(0, 2, x), 0);
    }
}

}  // namespace
