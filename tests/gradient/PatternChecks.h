#ifndef TESSELU_TESTS_GRADIENT_PATTERNCHECKS_H
#define TESSELU_TESTS_GRADIENT_PATTERNCHECKS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <utility>

#include "GradientCanvas.h"

struct Picture {
    unsigned width, height, bits, peak;
};

inline constexpr Picture kPictures[] = {
    {8, 8, 8, 255},     {16, 8, 8, 255},    {64, 48, 8, 255},     {48, 64, 8, 200},
    {9, 11, 8, 255},    {41, 31, 8, 255},   {100, 60, 16, 16320}, {721, 33, 16, 65535},
    {720, 486, 8, 255}, {63, 64, 16, 1023}, {8, 200, 8, 255},     {1920, 9, 16, 65535},
};

// The sample of a fraction; what does not fit the sample wraps.
inline unsigned SampleOf(double fraction, const Picture& p) {
    const auto whole = static_cast<std::int64_t>(fraction * p.peak + 0.5);
    return static_cast<unsigned>(whole & (p.bits == 8 ? 0xFF : 0xFFFF));
}

// Fractions are summed up along a row or a column, so one that comes to lie on a rounding step may fall to
// either side of it. Everywhere else there is no tolerance.
inline constexpr double kSlack = 1e-6;

inline ::testing::AssertionResult Matches(unsigned sample, double fraction, const Picture& p) {
    for (double nudge : {0.0, -kSlack, kSlack}) {
        if (sample == SampleOf(fraction + nudge / p.peak, p)) {
            return ::testing::AssertionSuccess();
        }
    }
    return ::testing::AssertionFailure() << "sample " << sample << ", expected " << SampleOf(fraction, p);
}

using Formula = std::function<double(unsigned x, unsigned y, const Picture&)>;

inline void ExpectPattern(Zan::ULong32 number, const Formula& fraction, float aspectRatio = 1.0F) {
    for (const Picture& p : kPictures) {
        SCOPED_TRACE(testing::Message()
                     << "pattern " << number << ", " << p.width << 'x' << p.height << ", peak " << p.peak);
        GradientCanvas canvas(p.width, p.height, p.bits, p.peak, 13, p.width % 2 == 1);
        canvas.record.aspectRatio = aspectRatio;
        ASSERT_EQ(canvas.Draw(number), 0);
        EXPECT_EQ(canvas.TouchedGuards(), 0U);
        for (unsigned y = 0; y < p.height; ++y) {
            for (unsigned x = 0; x < p.width; ++x) {
                ASSERT_TRUE(Matches(canvas.Sample(x, y), fraction(x, y, p), p)) << "at " << x << ", " << y;
            }
        }
    }
}

inline Formula MirroredX(const Formula& f) {
    return [f](unsigned x, unsigned y, const Picture& p) { return f(p.width - 1 - x, y, p); };
}
inline Formula MirroredY(const Formula& f) {
    return [f](unsigned x, unsigned y, const Picture& p) { return f(x, p.height - 1 - y, p); };
}

/// Pattern `b` is the image of `a`, to the last code value.
inline void ExpectMirror(Zan::ULong32 a, Zan::ULong32 b, bool inX, bool inY) {
    for (auto [w, h] : {std::pair{40U, 30U}, {41U, 31U}, {8U, 65U}}) {
        GradientCanvas first(w, h, 16, 65535), second(w, h, 16, 65535);
        first.record.aspectRatio = second.record.aspectRatio = 1.3F;
        ASSERT_EQ(first.Draw(a), 0);
        ASSERT_EQ(second.Draw(b), 0);
        for (unsigned y = 0; y < h; ++y) {
            for (unsigned x = 0; x < w; ++x) {
                ASSERT_EQ(first.Sample(x, y), second.Sample(inX ? w - 1 - x : x, inY ? h - 1 - y : y))
                    << a << " and " << b << " at " << x << ", " << y;
            }
        }
    }
}

#endif  // TESSELU_TESTS_GRADIENT_PATTERNCHECKS_H
