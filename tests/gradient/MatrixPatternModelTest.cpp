// Matrix wipes: grids, borders and sequences.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "gradient/GradientCanvas.h"
#include "gradient/model/Patterns.h"
#include "support/Sanitized.h"

using namespace gradient_model;

namespace {

unsigned SampleOfPlace(int place, int places, unsigned peak) {
    // (n - k) / n of the peak, to the nearest in whole numbers: halves go up.
    const long n = places, t = 2L * (n - place) * static_cast<long>(peak) + n;
    return static_cast<unsigned>(t / (2 * n));
}

// Every cell's place, each as often as a snake has partners, none left out.
void ExpectPermutation(unsigned number, int columns, int rows) {
    const Sequence sequence = SequenceOf(number, columns, rows);
    std::vector<int> visits(static_cast<std::size_t>(sequence.places), 0);
    for (const int place : sequence.place) {
        ASSERT_GE(place, 0) << number << " leaves a cell out";
        ++visits.at(static_cast<std::size_t>(place));
    }
    ASSERT_GE(*std::min_element(visits.begin(), visits.end()), 1) << number << ", " << columns << "x" << rows;
}

// The places of our own sequences are right by themselves.
TEST(MatrixPatternModel, SequencesVisitEveryCell) {
    for (const unsigned number : MatrixNumbers()) {
        for (int columns = 1; columns <= 13; ++columns) {
            for (int rows = 1; rows <= 13; ++rows) {
                ASSERT_NO_FATAL_FAILURE(ExpectPermutation(number, columns, rows));
            }
        }
    }
    // As it is told: (0,0), (1,0), (0,1), (0,2), (1,1), (2,0) as column and row.
    const Sequence diagonal = SequenceOf(303, 4, 4);
    const int cells[][2] = {{0, 0}, {1, 0}, {0, 1}, {0, 2}, {1, 1}, {2, 0}};
    for (int k = 0; k < 6; ++k) {
        EXPECT_EQ(diagonal.place[static_cast<std::size_t>(cells[k][1] * 4 + cells[k][0])], k);
    }
}

// All grids of cells of 4 by 4 pixels, or 8 where a buffer would be too small: every sample of every pixel.
TEST(MatrixPatternModel, AllGrids) {
#ifdef TESSELU_TEST_SANITIZED
    constexpr int kStep = 7;
#else
    constexpr int kStep = 1;
#endif
    for (int columns = 1; columns <= 40; columns += columns < 6 ? 1 : kStep) {
        for (int rows = 2; rows <= 30; rows += rows < 6 ? 1 : kStep) {
            const int cellWidth = columns == 1 ? 8 : 4, cellHeight = 4;
            const auto width = static_cast<unsigned>(columns * cellWidth);
            const auto height = static_cast<unsigned>(rows * cellHeight);
            GradientCanvas canvas(width, height, 16, 65535);
            canvas.record.cellFraction = 1.0F / static_cast<float>(rows);
            canvas.record.aspectRatio = static_cast<float>(columns) / static_cast<float>(rows);
            for (const unsigned number : MatrixNumbers()) {
                const Sequence sequence = SequenceOf(number, columns, rows);
                ASSERT_EQ(canvas.Draw(number), 0);
                for (unsigned y = 0; y < height; ++y) {
                    for (unsigned x = 0; x < width; ++x) {
                        const auto cell = static_cast<std::size_t>(
                            static_cast<int>(y) / cellHeight * columns + static_cast<int>(x) / cellWidth);
                        ASSERT_EQ(canvas.Sample(x, y),
                                  SampleOfPlace(sequence.place[cell], sequence.places, 65535))
                            << "pattern " << number << ", " << columns << "x" << rows << " cells, pixel " << x
                            << ", " << y;
                    }
                }
            }
        }
    }
}

TEST(MatrixPatternModel, WorkedExampleOfASnake) {
    GradientCanvas canvas(16, 16);
    canvas.record.cellFraction = 0.25F;
    ASSERT_EQ(canvas.Draw(301), 0);
    const unsigned first[] = {255, 239, 223, 207}, second[] = {143, 159, 175, 191};
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(canvas.Sample(4 * i, 0), first[i]);
        EXPECT_EQ(canvas.Sample(4 * i + 3, 7), second[i]);
    }
}

// Where the samples of a row, or a column, change.
std::vector<unsigned> Borders(const GradientCanvas& canvas, bool inX) {
    std::vector<unsigned> borders;
    const unsigned length = inX ? canvas.record.width : canvas.record.height;
    for (unsigned i = 1; i < length; ++i) {
        const unsigned before = inX ? canvas.Sample(i - 1, 0) : canvas.Sample(0, i - 1);
        const unsigned now = inX ? canvas.Sample(i, 0) : canvas.Sample(0, i);
        if (before != now) {
            borders.push_back(i);
        }
    }
    return borders;
}

std::vector<unsigned> BordersOf(unsigned width, unsigned height, float cell, float aspect, bool inX) {
    GradientCanvas canvas(width, height, 16, 65535);
    canvas.record.cellFraction = cell;
    canvas.record.aspectRatio = aspect;
    EXPECT_EQ(canvas.Draw(301), 0);
    return Borders(canvas, inX);
}
using List = std::vector<unsigned>;

TEST(MatrixPatternModel, WorkedExamplesOfBorders) {
    EXPECT_EQ(BordersOf(100, 60, 0.3F, 1, true), (List{35, 65}));
    EXPECT_EQ(BordersOf(100, 60, 0.3F, 1, false), (List{21, 39}));
    // 2.5 columns are two.
    EXPECT_EQ(BordersOf(100, 60, 0.2F, 0.5F, true), (List{50}));
    EXPECT_EQ(BordersOf(100, 60, 0.2F, 0.5F, false), (List{12, 24, 36, 48}));
    // Half of the height and more are two by two.
    for (const float cell : {0.5F, 0.6F, 1.0F, 5.0F}) {
        EXPECT_EQ(BordersOf(100, 60, cell, 1, true), List{50});
        EXPECT_EQ(BordersOf(100, 60, cell, 1, false), List{30});
    }
    // Twelve cells down the height of 4:3, all square.
    EXPECT_EQ(BordersOf(640, 480, 0.083333336F, 1.3333334F, true).size(), 15U);
    EXPECT_EQ(BordersOf(640, 480, 0.083333336F, 1.3333334F, true)[0], 40U);
    EXPECT_EQ(BordersOf(640, 480, 0.083333336F, 1.3333334F, false),
              (List{40, 80, 120, 160, 200, 240, 280, 320, 360, 400, 440}));
}

// Counts follow from the size of a cell, which is no less than two pixels; borders lie at whole multiples of
// it from the centre for even counts and at odd halves for odd ones, to the pixel.
TEST(MatrixPatternModel, GridsOfAnySize) {
    for (const auto& [width, height] :
         {std::pair{100U, 60U}, {97U, 61U}, {64U, 64U}, {33U, 90U}, {720U, 97U}}) {
        for (const float cell :
             {0.001F, 0.021F, 0.05F, 0.09F, 0.13F, 0.19F, 0.25F, 0.31F, 0.37F, 0.45F, 0.5F}) {
            for (const float aspect : {0.02F, 0.5F, 1.0F, 1.3F, 1.7777778F, 3.0F}) {
                SCOPED_TRACE(::testing::Message()
                             << width << "x" << height << ", cell " << cell << ", aspect " << aspect);
                for (const bool inX : {true, false}) {
                    const double length = inX ? width : height;
                    const double size = std::max(
                        2.0, static_cast<double>(cell) * length / (inX ? static_cast<double>(aspect) : 1.0));
                    const double whole = std::floor(length / size + 1e-6), rest = length / size - whole;
                    if (std::fabs(rest - 0.5) < 1e-5) {
                        continue;  // a half in single precision
                    }
                    const int count = std::max(1, static_cast<int>(whole) + (rest > 0.5 ? 1 : 0));
                    // A column is seen along the first row, a row along the first column, in sequences that
                    // do not repeat there.
                    GradientCanvas canvas(width, height, 16, 65535);
                    canvas.record.cellFraction = cell;
                    canvas.record.aspectRatio = aspect;
                    ASSERT_EQ(canvas.Draw(inX ? 352 : 350), 0);
                    const List borders = Borders(canvas, inX);
                    ASSERT_EQ(borders.size(), static_cast<std::size_t>(count - 1));
                    for (int i = 1; i < count; ++i) {
                        const double expected = length / 2 + (i - count / 2.0) * size;
                        ASSERT_NEAR(borders[static_cast<std::size_t>(i - 1)], expected, 1.0);
                    }
                }
            }
        }
    }
}

}  // namespace
