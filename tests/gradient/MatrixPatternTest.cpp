#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <set>

#include "PatternChecks.h"

namespace {

struct Cell {
    int column, row;
    friend bool operator==(const Cell& a, const Cell& b) { return a.column == b.column && a.row == b.row; }
};
struct Grid {
    int columns, rows;
};
using Path = std::vector<Cell>;
constexpr Cell kLeftOut{-1, -1};

// ---- Paths, walked cell by cell

Path Rows(Grid g, bool turning) {
    Path path;
    for (int row = 0; row < g.rows; ++row) {
        for (int i = 0; i < g.columns; ++i) {
            path.push_back({turning && row % 2 == 1 ? g.columns - 1 - i : i, row});
        }
    }
    return path;
}

Path Transposed(Path path) {
    for (Cell& cell : path) {
        std::swap(cell.column, cell.row);
    }
    return path;
}

Path Columns(Grid g, bool turning) {
    return Transposed(Rows({g.rows, g.columns}, turning));
}

Path Diagonals(Grid g, int count) {
    Path path;
    for (int d = 0; d < count; ++d) {
        Path diagonal;
        for (int row = 0; row < g.rows; ++row) {
            if (d - row >= 0 && d - row < g.columns) {
                diagonal.push_back({d - row, row});
            }
        }
        if (d % 2 == 0) {
            std::reverse(diagonal.begin(), diagonal.end());
        }
        path.insert(path.end(), diagonal.begin(), diagonal.end());
    }
    return path;
}

// Straight on while there is an unvisited cell ahead, else to the right.
Path Spiral(Grid g) {
    std::vector<bool> visited(static_cast<std::size_t>(g.columns * g.rows));
    const auto isFree = [&](Cell c) {
        return c.column >= 0 && c.row >= 0 && c.column < g.columns && c.row < g.rows &&
               !visited[static_cast<std::size_t>(c.row * g.columns + c.column)];
    };
    Path path;
    Cell at{0, 0};
    int right = 1, down = 0;
    for (;;) {
        path.push_back(at);
        visited[static_cast<std::size_t>(at.row * g.columns + at.column)] = true;
        for (int turns = 0; turns < 2 && !isFree({at.column + right, at.row + down}); ++turns) {
            const int before = right;
            right = -down;
            down = before;
        }
        at = {at.column + right, at.row + down};
        if (!isFree(at)) {
            return path;
        }
    }
}

Path SpiralDown(Grid g) {
    return Transposed(Spiral({g.rows, g.columns}));
}

// ---- Which cells change together

using Paths = std::vector<Path>;

Path Image(Path path, Grid g, bool inX, bool inY) {
    for (Cell& cell : path) {
        if (cell == kLeftOut) {
            continue;
        }
        cell = {inX ? g.columns - 1 - cell.column : cell.column, inY ? g.rows - 1 - cell.row : cell.row};
    }
    return path;
}

Grid Half(Grid g, bool inX, bool inY) {
    return {inX ? (g.columns + 1) / 2 : g.columns, inY ? (g.rows + 1) / 2 : g.rows};
}

Paths Mirrored(const Path& path, Grid g, bool inX, bool inY) {
    return {path, Image(path, g, inX, false), Image(path, g, false, inY), Image(path, g, inX, inY)};
}

// The second path leaves to the first what both would visit.
Paths Opposed(const Path& path, Grid g) {
    Path second = Image(path, g, true, true);
    for (Cell& cell : second) {
        if (std::find(path.begin(), path.end(), cell) != path.end()) {
            cell = kLeftOut;
        }
    }
    return {path, second};
}

Paths PathsOf(unsigned number, Grid g) {
    const auto image = [g](Path path, bool inX, bool inY) { return Paths{Image(path, g, inX, inY)}; };
    const auto images = [g](const Paths& paths, bool inX, bool inY) {
        Paths all;
        for (const Path& path : paths) {
            all.push_back(Image(path, g, inX, inY));
        }
        return all;
    };
    const Grid left = Half(g, true, false), upper = Half(g, false, true), quarter = Half(g, true, true);
    const int diagonals = g.columns + g.rows - 1;
    switch (number) {
        case 301:
            return {Rows(g, true)};
        case 302:
            return {Columns(g, true)};
        case 303:
            return {Diagonals(g, diagonals)};
        case 304:
            return image(Diagonals(g, diagonals), true, false);
        case 305:
            return image(Diagonals(g, diagonals), true, true);
        case 306:
            return image(Diagonals(g, diagonals), false, true);
        case 310:  // clockwise from the top left: to the right
            return {Spiral(g)};
        case 311:  // from the top right: down
            return image(SpiralDown(g), true, false);
        case 312:  // from the bottom right: to the left
            return image(Spiral(g), true, true);
        case 313:  // from the bottom left: up
            return image(SpiralDown(g), false, true);
        case 314:  // counter-clockwise from the top left: down
            return {SpiralDown(g)};
        case 315:  // from the top right: to the left
            return image(Spiral(g), true, false);
        case 316:  // from the bottom right: up
            return image(SpiralDown(g), true, true);
        case 317:  // from the bottom left: to the right
            return image(Spiral(g), false, true);
        case 320:
            return Mirrored(Columns(left, true), g, true, false);
        case 321:
            return images(Mirrored(Columns(left, true), g, true, false), false, true);
        case 322:
            return Opposed(Columns(left, true), g);
        case 323:
            return images(Opposed(Columns(left, true), g), false, true);
        case 324:
            return Mirrored(Rows(upper, true), g, false, true);
        case 325:
            return images(Mirrored(Rows(upper, true), g, false, true), true, false);
        case 326:
            return Opposed(Rows(upper, true), g);
        case 327:
            return images(Opposed(Rows(upper, true), g), true, false);
        case 328:
            return images(Opposed(Diagonals(g, (diagonals + 1) / 2), g), true, false);
        case 329:
            return Opposed(Diagonals(g, (diagonals + 1) / 2), g);
        case 340:
            return Mirrored(SpiralDown(left), g, true, false);
        case 341:
            return images(Mirrored(SpiralDown(left), g, true, false), false, true);
        case 342:
            return Mirrored(Spiral(upper), g, false, true);
        case 343:
            return images(Mirrored(Spiral(upper), g, false, true), true, false);
        case 344:
            return Mirrored(SpiralDown(quarter), g, true, true);
        case 345:
            return Mirrored(Spiral(quarter), g, true, true);
        case 350:
            return {Columns(g, false)};
        case 351:
            return image(Columns(g, false), true, false);
        case 352:
            return {Rows(g, false)};
        default:
            return image(Rows(g, false), true, false);
    }
}

// A picture that `grid` divides into cells of 4x4 pixels.
GradientCanvas CanvasOf(Grid grid) {
    const auto columns = static_cast<unsigned>(grid.columns), rows = static_cast<unsigned>(grid.rows);
    GradientCanvas canvas(4 * columns, 4 * rows, 16, 65535);
    canvas.record.cellFraction = 1.0F / static_cast<float>(rows);
    canvas.record.aspectRatio = static_cast<float>(columns) / static_cast<float>(rows);
    return canvas;
}

TEST(MatrixPatterns, EveryCellIsVisitedOnceOnThePath) {
    for (int columns = 2; columns <= 40; ++columns) {
        for (int rows = 2; rows <= 30; ++rows) {
            const Grid grid{columns, rows};
            GradientCanvas canvas = CanvasOf(grid);
            for (const Zan::ULong32 number : MatrixPatterns()) {
                ASSERT_EQ(canvas.Draw(number), 0);
                const Paths paths = PathsOf(number, grid);
                const std::size_t n = paths[0].size();
                std::vector<bool> visited(static_cast<std::size_t>(columns * rows));
                for (const Path& path : paths) {
                    for (std::size_t k = 0; k < n; ++k) {
                        if (path[k] == kLeftOut) {
                            continue;
                        }
                        const auto x = static_cast<unsigned>(4 * path[k].column);
                        const auto y = static_cast<unsigned>(4 * path[k].row);
                        visited[static_cast<std::size_t>(path[k].row * columns + path[k].column)] = true;
                        const double fraction = static_cast<double>(n - k) / static_cast<double>(n);
                        const auto expected = static_cast<unsigned>(std::floor(fraction * 65535 + 0.5));
                        ASSERT_EQ(canvas.Sample(x, y), expected)
                            << number << ", " << columns << 'x' << rows << ", position " << k;
                        ASSERT_EQ(canvas.Sample(x + 3, y + 3), expected);
                    }
                }
                ASSERT_EQ(std::count(visited.begin(), visited.end(), false), 0) << number;
            }
        }
    }
}

TEST(MatrixPatterns, SnakeOnFourByFourCells) {
    GradientCanvas canvas(8, 8);
    ASSERT_EQ(canvas.Draw(301), 0);
    const unsigned rows[2][4] = {{255, 239, 223, 207}, {143, 159, 175, 191}};
    for (unsigned row = 0; row < 2; ++row) {
        for (unsigned column = 0; column < 4; ++column) {
            EXPECT_EQ(canvas.Sample(2 * column, 2 * row), rows[row][column]);
            EXPECT_EQ(canvas.Sample(2 * column + 1, 2 * row + 1), rows[row][column]);
        }
    }
}

TEST(MatrixPatterns, DiagonalSnakeBeginsAsDescribed) {
    GradientCanvas canvas = CanvasOf({10, 10});
    ASSERT_EQ(canvas.Draw(303), 0);
    const Cell first[] = {{0, 0}, {1, 0}, {0, 1}, {0, 2}, {1, 1}, {2, 0}};
    for (unsigned k = 0; k < 6; ++k) {
        const double expected = std::floor((100 - k) / 100.0 * 65535 + 0.5);
        EXPECT_EQ(canvas.Sample(static_cast<unsigned>(4 * first[k].column),
                                static_cast<unsigned>(4 * first[k].row)),
                  expected);
    }
}

// Lengths of equal samples along a row or a column.
std::vector<unsigned> Runs(const GradientCanvas& canvas, bool alongRow) {
    std::vector<unsigned> runs;
    const unsigned length = alongRow ? canvas.record.width : canvas.record.height;
    const auto at = [&](unsigned i) { return alongRow ? canvas.Sample(i, 0) : canvas.Sample(0, i); };
    for (unsigned i = 0; i < length; ++i) {
        if (i == 0 || at(i) != at(i - 1)) {
            runs.push_back(0);
        }
        ++runs.back();
    }
    return runs;
}

struct Division {
    unsigned width, height;
    float cell, aspect;
    std::vector<unsigned> columns, rows;
};

TEST(MatrixPatterns, OuterCellsTakeTheDifference) {
    const Division divisions[] = {
        {100, 60, 0.3F, 1.0F, {35, 30, 35}, {21, 18, 21}},
        // 2.5 columns are 2; 5 rows of 12.
        {100, 60, 0.2F, 0.5F, {50, 50}, {12, 12, 12, 12, 12}},
        {100, 60, 0.5F, 1.0F, {50, 50}, {30, 30}},
        {100, 60, 0.9F, 1.0F, {50, 50}, {30, 30}},
        // 100 / 18 = 5.56 are 6 columns; 60 / 18 = 3.33 are 3 rows.
        {100, 60, 0.3F, 5.0F / 3, {14, 18, 18, 18, 18, 14}, {21, 18, 21}},
        // Never fewer than one: cells of 50 / 0.1 = 500 columns.
        {100, 60, 0.5F, 0.1F, {100}, {30, 30}},
        // Cells have two pixels at least.
        {9, 8, 0.001F, 1.0F, {2, 2, 3, 2}, {2, 2, 2, 2}},
    };
    for (const Division& d : divisions) {
        SCOPED_TRACE(testing::Message()
                     << d.width << 'x' << d.height << ", cell " << d.cell << ", aspect " << d.aspect);
        GradientCanvas canvas(d.width, d.height, 16, 65535);
        canvas.record.cellFraction = d.cell;
        canvas.record.aspectRatio = d.aspect;
        ASSERT_EQ(canvas.Draw(352), 0);
        if (d.width != 9) {
            EXPECT_EQ(Runs(canvas, true), d.columns);
        }
        EXPECT_EQ(Runs(canvas, false), d.rows);
    }
}

TEST(MatrixPatterns, CellsAreMirroredWithThePattern) {
    for (auto [a, b, inX, inY] : {std::tuple{303U, 304U, true, false},
                                  {303U, 305U, true, true},
                                  {303U, 306U, false, true},
                                  {310U, 312U, true, true},
                                  {310U, 315U, true, false},
                                  {310U, 317U, false, true},
                                  {314U, 311U, true, false},
                                  {314U, 313U, false, true},
                                  {314U, 316U, true, true},
                                  {320U, 321U, false, true},
                                  {320U, 320U, true, false},
                                  {322U, 323U, false, true},
                                  {324U, 325U, true, false},
                                  {324U, 324U, false, true},
                                  {326U, 327U, true, false},
                                  {329U, 328U, true, false},
                                  {340U, 341U, false, true},
                                  {340U, 340U, true, false},
                                  {342U, 343U, true, false},
                                  {342U, 342U, false, true},
                                  {344U, 344U, true, true},
                                  {344U, 344U, true, false},
                                  {345U, 345U, true, false},
                                  {345U, 345U, false, true},
                                  {350U, 351U, true, false},
                                  {352U, 353U, true, false}}) {
        for (auto [w, h] : {std::pair{40U, 30U}, {100U, 60U}, {63U, 47U}}) {
            GradientCanvas first(w, h, 16, 65535), second(w, h, 16, 65535);
            first.record.cellFraction = second.record.cellFraction = 0.3F;
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
}

TEST(MatrixPatterns, DegenerateGridsDraw) {
    // One column, and cells of two pixels in a wide picture.
    for (const Zan::ULong32 number : MatrixPatterns()) {
        for (auto [cell, aspect] :
             {std::pair{0.5F, 0.01F}, {0.001F, 100.0F}, {0.001F, 0.01F}, {1.0F, 100.0F}}) {
            GradientCanvas canvas(331, 9, 16, 65535, 3, true);
            canvas.record.cellFraction = cell;
            canvas.record.aspectRatio = aspect;
            ASSERT_EQ(canvas.Draw(number), 0);
            EXPECT_EQ(canvas.TouchedGuards(), 0U);
            const std::vector<unsigned> samples = canvas.Samples();
            EXPECT_EQ(*std::max_element(samples.begin(), samples.end()), 65535U) << number;
            EXPECT_GT(*std::min_element(samples.begin(), samples.end()), 0U) << number;
        }
    }
}

}  // namespace
