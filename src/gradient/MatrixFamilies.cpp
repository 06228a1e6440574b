#include "gradient/MatrixFamilies.h"

#include "gradient/Profiles.h"

#include <algorithm>
#include <cstdint>

namespace GradientGenerator {

using Zan::ULong32;

namespace {

using Count = std::uint64_t;

struct Size {
    Count columns;
    Count rows;

    Count Cells() const noexcept { return columns * rows; }
};

struct Cell {
    Count column;
    Count row;
};

Count Mirrored(Count i, Count n) noexcept {
    return n - 1 - i;
}
bool IsOdd(Count n) noexcept {
    return n % 2 != 0;
}
Count FirstHalfOf(Count n) noexcept {
    return n - n / 2;
}
Cell Turned(Cell cell, Size size) noexcept {
    return {Mirrored(cell.column, size.columns), Mirrored(cell.row, size.rows)};
}
Cell Transposed(Cell cell) noexcept {
    return {cell.row, cell.column};
}
Size Transposed(Size size) noexcept {
    return {size.rows, size.columns};
}

// ---- Where in a path a cell comes

Count AlongRows(Cell cell, Size size) noexcept {
    return cell.row * size.columns + cell.column;
}

Count SnakeAlongRows(Cell cell, Size size) noexcept {
    return cell.row * size.columns + (IsOdd(cell.row) ? Mirrored(cell.column, size.columns) : cell.column);
}

Count SnakeAlongColumns(Cell cell, Size size) noexcept {
    return SnakeAlongRows(Transposed(cell), Transposed(size));
}

// The cells of the diagonals 0 to d - 1, which run from bottom left to top right and begin in the top left
// corner.
Count CellsBeforeDiagonal(Count d, Size size) noexcept {
    const Count shorter = std::min(size.columns, size.rows);
    const Count longer = std::max(size.columns, size.rows);
    if (d <= shorter)
        return d * (d + 1) / 2;
    if (d <= longer)
        return shorter * (shorter + 1) / 2 + (d - shorter) * shorter;
    const Count left = size.columns + size.rows - 1 - d;
    return size.Cells() - left * (left + 1) / 2;
}

Count SnakeAlongDiagonals(Cell cell, Size size) noexcept {
    const Count d = cell.column + cell.row;
    // Odd diagonals run downwards from the top row or the right column, even ones upwards.
    const Count step =
        IsOdd(d) ? std::min(d, size.columns - 1) - cell.column : std::min(d, size.rows - 1) - cell.row;
    return CellsBeforeDiagonal(d, size) + step;
}

// Clockwise from the top left, ring by ring.
Count Spiral(Cell cell, Size size) noexcept {
    const Count ring = std::min(std::min(cell.column, Mirrored(cell.column, size.columns)),
                                std::min(cell.row, Mirrored(cell.row, size.rows)));
    const Size inner{size.columns - 2 * ring, size.rows - 2 * ring};
    const Cell at{cell.column - ring, cell.row - ring};
    Count step;
    if (at.row == 0)
        step = at.column;
    else if (at.column == inner.columns - 1)
        step = inner.columns - 1 + at.row;
    else if (at.row == inner.rows - 1)
        step = inner.columns + inner.rows - 2 + Mirrored(at.column, inner.columns);
    else
        step = 2 * inner.columns + inner.rows - 3 + Mirrored(at.row, inner.rows);
    return size.Cells() - inner.Cells() + step;
}

Count SpiralDownFirst(Cell cell, Size size) noexcept {
    return Spiral(Transposed(cell), Transposed(size));
}

// ---- The picture in cells

double CellFraction(const GradientMap& map) noexcept {
    return map.CellFraction() < 0.5 ? map.CellFraction() : 0.5;
}

// `position(cell, size)` is where a cell comes among `positions(size)`.
template <class Positions, class Position>
void DrawPath(const GradientMap& map, Positions positions, Position position) noexcept {
    const double fraction = CellFraction(map);
    const CellAxis columns(map.Width(), fraction * map.Width() / map.AspectRatio());
    const CellAxis rows(map.Height(), fraction * map.Height());
    const Size size{columns.Count(), rows.Count()};
    const Count n = positions(size);
    map.DrawCells(columns, rows, [=](ULong32 column, ULong32 row) {
        return static_cast<double>(n - position(Cell{column, row}, size)) / static_cast<double>(n);
    });
}

template <class Position>
void DrawWhole(const GradientMap& map, Position position) noexcept {
    DrawPath(
        map, [](Size size) { return size.Cells(); }, position);
}

// The path in the left half, the upper half or the upper left quarter, and its mirror images.
template <class Position>
void DrawMirrored(const GradientMap& map, bool inX, bool inY, Position position) noexcept {
    const auto part = [=](Size size) {
        return Size{inX ? FirstHalfOf(size.columns) : size.columns, inY ? FirstHalfOf(size.rows) : size.rows};
    };
    DrawPath(
        map, [=](Size size) { return part(size).Cells(); },
        [=](Cell cell, Size size) {
            const Cell image = Turned(cell, size);
            const Cell at{inX ? std::min(cell.column, image.column) : cell.column,
                          inY ? std::min(cell.row, image.row) : cell.row};
            return position(at, part(size));
        });
}

}  // namespace

void RowSnake(const GradientMap& map) noexcept {
    DrawWhole(map, SnakeAlongRows);
}

void ColumnSnake(const GradientMap& map) noexcept {
    DrawWhole(map, SnakeAlongColumns);
}

void DiagonalSnake(const GradientMap& map) noexcept {
    DrawWhole(map, SnakeAlongDiagonals);
}

void ClockwiseSpiral(const GradientMap& map) noexcept {
    DrawWhole(map, Spiral);
}

void CounterClockwiseSpiral(const GradientMap& map) noexcept {
    DrawWhole(map, SpiralDownFirst);
}

void MirroredColumnSnakes(const GradientMap& map) noexcept {
    DrawMirrored(map, true, false, SnakeAlongColumns);
}

void MirroredRowSnakes(const GradientMap& map) noexcept {
    DrawMirrored(map, false, true, SnakeAlongRows);
}

void OpposedColumnSnakes(const GradientMap& map) noexcept {
    DrawPath(
        map, [](Size size) { return FirstHalfOf(size.columns) * size.rows; },
        [](Cell cell, Size size) {
            return SnakeAlongColumns(cell.column < FirstHalfOf(size.columns) ? cell : Turned(cell, size),
                                     size);
        });
}

void OpposedRowSnakes(const GradientMap& map) noexcept {
    DrawPath(
        map, [](Size size) { return FirstHalfOf(size.rows) * size.columns; },
        [](Cell cell, Size size) {
            return SnakeAlongRows(cell.row < FirstHalfOf(size.rows) ? cell : Turned(cell, size), size);
        });
}

void OpposedDiagonalSnakes(const GradientMap& map) noexcept {
    const auto diagonals = [](Size size) { return FirstHalfOf(size.columns + size.rows - 1); };
    DrawPath(
        map, [=](Size size) { return CellsBeforeDiagonal(diagonals(size), size); },
        [=](Cell cell, Size size) {
            const bool first = cell.column + cell.row < diagonals(size);
            return SnakeAlongDiagonals(first ? cell : Turned(cell, size), size);
        });
}

void BoxesLeftAndRight(const GradientMap& map) noexcept {
    DrawMirrored(map, true, false, SpiralDownFirst);
}

void BoxesAboveAndBelow(const GradientMap& map) noexcept {
    DrawMirrored(map, false, true, Spiral);
}

void FourBoxesVertical(const GradientMap& map) noexcept {
    DrawMirrored(map, true, true, SpiralDownFirst);
}

void FourBoxesHorizontal(const GradientMap& map) noexcept {
    DrawMirrored(map, true, true, Spiral);
}

void ColumnWaterfall(const GradientMap& map) noexcept {
    DrawWhole(map, [](Cell cell, Size size) { return AlongRows(Transposed(cell), Transposed(size)); });
}

void RowWaterfall(const GradientMap& map) noexcept {
    DrawWhole(map, AlongRows);
}

}  // namespace GradientGenerator
