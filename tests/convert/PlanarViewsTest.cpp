// Fields and parts of 4:2:0 pictures. Chroma that the selection asks for, and that its plane has not got, is
// the last one there: the last line of the field, the last sample of the plane.

#include <algorithm>

#include "convert/KernelRuns.h"

namespace {

using namespace Zan;
using namespace convert_test;

struct Selection {
    Rectangle region;
    WhichFieldEnum field;
};

// Lines of a plane that a view walks: the first of them, and from line to line.
struct Lines {
    std::size_t first, step;
};

// Of a channel at full height `halving` is 1, of chroma 2. A field starts on the first line at or below the
// top that belongs to it.
Lines LinesOf(const Selection& selection, std::size_t halving) {
    const std::size_t top = static_cast<std::size_t>(selection.region.getTop()) / halving;
    if (selection.field == kFrame) {
        return {top, 1};
    }
    const std::size_t parity = selection.field == kLowerField ? 1 : 0;
    return {top + (top % 2 == parity ? 0 : 1), 2};
}

// The last line of a plane with so many that the walk can reach.
std::size_t LastLine(const Lines& lines, std::size_t count) {
    return lines.first + (count - 1 - lines.first) / lines.step * lines.step;
}

void ExpectPlanesConverted(const Size& size, const Selection& selection) {
    ConvertedPicture source(kFmtPlanar420, size.width, size.height);
    ImageView from(source, selection.region, selection.field);
    const std::size_t width = from.GetWidth(), height = from.GetHeight();
    ConvertedPicture destination(kFmtRGB32, width, height, {4, 4, false});
    ImageView to(destination);
    ExpectedPicture expected(destination);
    const ExpectedPicture untouched(source);

    const auto left = static_cast<std::size_t>(selection.region.getLeft());
    const Lines luma = LinesOf(selection, 1), chroma = LinesOf(selection, 2);
    const std::size_t chromaLines = source.PlaneAt(1).rows, chromaBytes = source.PlaneAt(1).rowBytes;
    const std::size_t last = LastLine(chroma, chromaLines);
    for (std::size_t y = 0; y < height; ++y) {
        const std::size_t chromaLine = std::min(chroma.first + y / 2 * chroma.step, last);
        for (std::size_t x = 0; x < width; ++x) {
            // A plane of chroma is addressed as if it were as wide as that of luma; beyond its end there is
            // nothing but the last sample.
            const std::size_t at =
                std::min(chromaLine * chromaBytes + left + x / 2, chromaLines * chromaBytes - 1);
            const Pixel in = {source.At(1, at, 0), source.At(0, left + x, luma.first + y * luma.step),
                              source.At(2, at, 0), 0};
            for (std::size_t i = 0; i < 3; ++i) {
                expected.Set(
                    0, 4 * x + i, y,
                    x < width / 16 * 16 ? PlanarSample(kToFullRgb, i, in) : TailSample(kToFullRgb, i, in, 3));
            }
            expected.Set(0, 4 * x + 3, y, 0);
        }
    }
    ColorSpaceConverter converter;
    ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0)
        << size.width << "x" << size.height << ", left " << left << ", top " << selection.region.getTop()
        << ", field " << selection.field;
    ASSERT_EQ(expected.FirstDifference(), "")
        << size.width << "x" << size.height << ", left " << left << ", top " << selection.region.getTop()
        << ", field " << selection.field;
    ASSERT_EQ(untouched.FirstDifference(), "");
}

Rectangle Whole(const Size& size) {
    return {0, 0, static_cast<Long32>(size.width), static_cast<Long32>(size.height)};
}

// 486 lines have 243 of chroma, 121 of them in the lower field, for 243 lines of luma: the last line of the
// field takes its chroma from line 241, where line 243 would be.
TEST(PlanarViews, FieldsTakeTheLastChromaOfTheirField) {
    ForEveryRun([](const RunsAs& run) {
        for (const unsigned height : {4U, 6U, 8U, 10U, 14U, 486U}) {
            if (height == 486 && run.set != kSSE2) {
                continue;
            }
            for (const unsigned width : {2U, 16U, 34U, 130U}) {
                for (const WhichFieldEnum field : {kUpperField, kLowerField}) {
                    const Size size = {width, height};
                    ASSERT_NO_FATAL_FAILURE(ExpectPlanesConverted(size, {Whole(size), field}));
                }
            }
        }
    });
}

TEST(PlanarViews, FieldsOfPartsTakeTheLastChromaOfTheirField) {
    ForEveryRun([](const RunsAs&) {
        const Size size = {48, 12};
        for (const Long32 top : {0, 2, 4, 6}) {
            for (const WhichFieldEnum field : {kUpperField, kLowerField}) {
                for (const Long32 height : {12 - top, 12 - top - 1}) {
                    ASSERT_NO_FATAL_FAILURE(
                        ExpectPlanesConverted(size, {Rectangle(0, top, 48, height), field}));
                }
            }
        }
    });
}

// The last line of chroma ends before the columns that a left edge asks for.
TEST(PlanarViews, PartsWithALeftEdgeTakeTheLastChromaOfThePlane) {
    ForEveryRun([](const RunsAs&) {
        for (const Size& size : {Size{64, 6}, Size{130, 4}}) {
            const auto width = static_cast<Long32>(size.width), height = static_cast<Long32>(size.height);
            for (Long32 left = 2; left < width / 2; left += left < 10 ? 2 : 6) {
                ASSERT_NO_FATAL_FAILURE(
                    ExpectPlanesConverted(size, {Rectangle(left, 0, width - left, height), kFrame}));
                // Above the last lines the next line follows, as it does in memory.
                ASSERT_NO_FATAL_FAILURE(
                    ExpectPlanesConverted(size, {Rectangle(left, 0, width - left, height - 2), kFrame}));
            }
        }
    });
}

}  // namespace
