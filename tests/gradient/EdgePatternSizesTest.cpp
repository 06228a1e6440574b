// Edge and diagonal patterns in every narrow size, odd and even, and in large ones.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "PatternChecks.h"
#include "support/Choices.h"

namespace {

struct Size {
    unsigned width, height;
};

/// Every width from the least one on with some heights, and every height with some widths; of larger ones
/// some, odd and even.
const std::vector<Size>& NarrowSizes() {
    static const std::vector<Size> sizes = [] {
        std::vector<Size> made;
        for (unsigned length = 8; length <= 70; length += length < 24 && !test_support::kSanitized ? 1 : 7) {
            for (const unsigned other : {8U, 9U, 13U, 20U}) {
                made.push_back({length, other});
                made.push_back({other, length});
            }
        }
        return made;
    }();
    return sizes;
}

constexpr Size kLargeSizes[] = {{721, 86}, {320, 487}, {4097, 9}, {8, 2099}};

struct Mirror {
    unsigned first, second;
    bool inX, inY;
};

/// Pattern `second` is the image of `first`.
constexpr Mirror kMirrors[] = {
    {1, 1, false, true},   {2, 2, true, false},   {3, 4, true, false},   {3, 5, true, true},
    {3, 6, false, true},   {7, 7, true, false},   {7, 7, false, true},   {8, 8, true, false},
    {8, 8, false, true},   {21, 21, true, true},  {21, 21, true, false}, {22, 22, true, false},
    {22, 22, false, true}, {23, 23, true, false}, {23, 25, false, true}, {24, 24, false, true},
    {24, 26, true, false}, {41, 42, true, false}, {43, 43, true, false}, {43, 43, false, true},
    {44, 44, true, false}, {44, 44, false, true}, {47, 47, true, false}, {47, 47, false, true},
    {48, 48, true, false}, {48, 48, false, true}, {61, 61, true, false}, {61, 63, false, true},
    {62, 62, false, true}, {62, 64, true, false}, {65, 65, true, false}, {65, 67, false, true},
    {66, 66, false, true}, {66, 68, true, false},
};

GradientCanvas Drawn(unsigned number, const Size& size, unsigned bits, unsigned peak) {
    // Rows apart at an odd address, upwards in every second height.
    GradientCanvas canvas(size.width, size.height, bits, peak, bits == 8 ? 3 : 6, size.height % 2 == 1,
                          bits == 8 ? 1 : 2);
    EXPECT_EQ(canvas.Draw(number), 0) << number;
    EXPECT_EQ(canvas.TouchedGuards(), 0U) << number << ", " << size.width << " x " << size.height;
    return canvas;
}

void ExpectMirrors(const Size& size, unsigned bits, unsigned peak) {
    std::vector<std::vector<unsigned>> drawn(69);
    const auto of = [&](unsigned number) -> const std::vector<unsigned>& {
        if (drawn[number].empty()) {
            drawn[number] = Drawn(number, size, bits, peak).Samples();
        }
        return drawn[number];
    };
    for (const Mirror& mirror : kMirrors) {
        const std::vector<unsigned>& first = of(mirror.first);
        const std::vector<unsigned>& second = of(mirror.second);
        std::size_t differences = 0;
        for (unsigned y = 0; y < size.height; ++y) {
            const unsigned row = mirror.inY ? size.height - 1 - y : y;
            for (unsigned x = 0; x < size.width; ++x) {
                const unsigned column = mirror.inX ? size.width - 1 - x : x;
                differences +=
                    first[std::size_t{y} * size.width + x] != second[std::size_t{row} * size.width + column];
            }
        }
        ASSERT_EQ(differences, 0U) << mirror.first << " and " << mirror.second << (mirror.inX ? ", in x" : "")
                                   << (mirror.inY ? ", in y" : "") << ", " << size.width << " x "
                                   << size.height << ", " << bits << " bits";
    }
}

TEST(EdgePatternSizes, NarrowPicturesAreSymmetricToTheLastCodeValue) {
    for (const Size& size : NarrowSizes()) {
        ASSERT_NO_FATAL_FAILURE(ExpectMirrors(size, 8, 255));
        ASSERT_NO_FATAL_FAILURE(ExpectMirrors(size, 16, 65535));
    }
}

TEST(EdgePatternSizes, LargePicturesAreSymmetricToTheLastCodeValue) {
    for (const Size& size : kLargeSizes) {
        ASSERT_NO_FATAL_FAILURE(ExpectMirrors(size, 8, 255));
    }
    ASSERT_NO_FATAL_FAILURE(ExpectMirrors({1919, 31}, 16, 65535));
}

// ---- Values -------------------------------------------------------------------------------------------

/// Half of the length, rounded up, in steps up to 1 and down again.
double Steps(unsigned i, unsigned length) {
    const unsigned half = length - length / 2;
    return i < half ? (i + 1.0) / half : static_cast<double>(length - i) / half;
}

/// What a pattern is at a pixel. Twins are looked up in the first of them.
double Fraction(unsigned number, unsigned x, unsigned y, const Size& size) {
    const unsigned w = size.width, h = size.height;
    const unsigned mirroredX = w - 1 - x, mirroredY = h - 1 - y;
    const double u = static_cast<double>(x) / w, v = static_cast<double>(y) / h;
    const double vx = std::fabs((2.0 * x + 1) / w - 1), vy = std::fabs((2.0 * y + 1) / h - 1);
    const double signedX = (2.0 * x + 1) / w - 1, signedY = (2.0 * y + 1) / h - 1;
    switch (number) {
        case 1:
            return static_cast<double>(w - x) / w;
        case 2:
            return static_cast<double>(h - y) / h;
        case 3:
            return std::min(1 - u, 1 - v);
        case 4:
            return Fraction(3, mirroredX, y, size);
        case 5:
            return Fraction(3, mirroredX, mirroredY, size);
        case 6:
            return Fraction(3, x, mirroredY, size);
        case 7:
            return std::min(vx, vy);
        case 21:
            return Steps(x, w);
        case 22:
            return Steps(y, h);
        case 23:
            return std::min(Steps(x, w), 1 - v);
        case 24:
            return std::min((x + 1.0) / w, Steps(y, h));
        case 25:
            return Fraction(23, x, mirroredY, size);
        case 26:
            return Fraction(24, mirroredX, y, size);
        case 41:
            return 1 - (u + v) / 2;
        case 42:
            return Fraction(41, mirroredX, y, size);
        case 43:
            return (1 - vx + vy) / 2;
        case 44:
            return (vx + 1 - vy) / 2;
        case 45:
            return 1 - std::fabs(u + v - 1);
        case 46:
            return 1 - std::fabs(u - v);
        case 47:
            return 1 - std::fabs(vx - vy);
        case 48:
            return 1 - std::fabs(vx + vy - 1);
        case 61:
            return (1 - vx + 1 - v) / 2;
        case 62:
            return (u + 1 - vy) / 2;
        case 63:
            return Fraction(61, x, mirroredY, size);
        case 64:
            return Fraction(62, mirroredX, y, size);
        case 65:
            return 1 - std::fabs(vx - (1 - signedY) / 2);
        case 66:
            return 1 - std::fabs(vy - (1 + signedX) / 2);
        case 67:
            return Fraction(65, x, mirroredY, size);
        default:
            return Fraction(66, mirroredX, y, size);
    }
}

constexpr unsigned kByFormula[] = {1,  2,  3,  4,  5,  6,  7,  21, 22, 23, 24, 25, 26, 41, 42,
                                   43, 44, 45, 46, 47, 48, 61, 62, 63, 64, 65, 66, 67, 68};

void ExpectValues(const Size& size, unsigned bits, unsigned peak) {
    const Picture picture = {size.width, size.height, bits, peak};
    for (const unsigned number : kByFormula) {
        const GradientCanvas canvas = Drawn(number, size, bits, peak);
        for (unsigned y = 0; y < size.height; ++y) {
            for (unsigned x = 0; x < size.width; ++x) {
                ASSERT_TRUE(Matches(canvas.Sample(x, y), Fraction(number, x, y, size), picture))
                    << "pattern " << number << ", " << size.width << " x " << size.height << ", peak " << peak
                    << ", at " << x << ", " << y;
            }
        }
    }
}

TEST(EdgePatternSizes, NarrowPicturesAreTheirFormulas) {
    unsigned number = 0;
    for (const Size& size : NarrowSizes()) {
        // In turn, so that every length meets both.
        ++number;
        if ((number / 8 + number / 2) % 2 == 0) {
            ASSERT_NO_FATAL_FAILURE(ExpectValues(size, 8, 255));
        } else {
            ASSERT_NO_FATAL_FAILURE(ExpectValues(size, 16, 16320));
        }
    }
}

TEST(EdgePatternSizes, LargePicturesAreTheirFormulas) {
    ExpectValues({1919, 37}, 8, 255);
    ExpectValues({37, 1081}, 16, 65535);
}

// ---- Ranges -------------------------------------------------------------------------------------------

// Four boxes reach the peak in every quarter, and end one step above 0.
TEST(EdgePatternSizes, FourBoxesHaveTheirPeakInEveryQuarter) {
    for (const Size& size : NarrowSizes()) {
        const GradientCanvas canvas = Drawn(8, size, 16, 60000);
        const unsigned halfWidth = size.width / 2, halfHeight = size.height / 2;
        for (const bool right : {false, true}) {
            for (const bool lower : {false, true}) {
                unsigned most = 0, least = 60001;
                for (unsigned y = 0; y < halfHeight; ++y) {
                    for (unsigned x = 0; x < halfWidth; ++x) {
                        const unsigned sample =
                            canvas.Sample(right ? size.width - 1 - x : x, lower ? size.height - 1 - y : y);
                        most = std::max(most, sample);
                        least = std::min(least, sample);
                    }
                }
                ASSERT_EQ(most, 60000U) << size.width << " x " << size.height;
                // The longer side has the smaller step.
                const unsigned half = (std::max(halfWidth, halfHeight) + 1) / 2;
                ASSERT_LE(least, 60000U / half + 1) << size.width << " x " << size.height;
            }
        }
    }
}

}  // namespace
