#include "gradient/model/Patterns.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace gradient_model {

namespace {

double Vx(int x, const Map& m) {
    return (2.0 * x + 1) / m.width - 1;
}
double Vy(int y, const Map& m) {
    return (2.0 * y + 1) / m.height - 1;
}
double U(int x, const Map& m) {
    return static_cast<double>(x) / m.width;
}
double V(int y, const Map& m) {
    return static_cast<double>(y) / m.height;
}
double Tent(double t) {
    return 1 - std::fabs(t);
}
/// The tent in whole steps.
double Steps(int i, int n) {
    const int half = n - n / 2;
    return (std::min(i, n - 1 - i) + 1.0) / half;
}

Fraction FlipX(const Fraction& f) {
    return [f](int x, int y, const Map& m) { return f(m.width - 1 - x, y, m); };
}
Fraction FlipY(const Fraction& f) {
    return [f](int x, int y, const Map& m) { return f(x, m.height - 1 - y, m); };
}

// ---- Angles

/// In turns: 0 points down, and grows towards +x.
double Turns(double x, double y) {
    constexpr float kOneOver2Pi = 0.15915494F;
    return std::atan2(x, y) * static_cast<double>(kOneOver2Pi);
}
/// A distance in pixels across as one in rows.
double Across(double pixels, const Map& m) {
    return pixels * m.aspect * m.height / m.width;
}
double Frac(double value) {
    return value - std::trunc(value);
}
double CentreX(int x, const Map& m) {
    return Across(x - (m.width - 1) / 2.0, m);
}
double CentreY(int y, const Map& m) {
    return y - (m.height - 1) / 2.0;
}

Fraction Clock(double start, double turns) {
    return [=](int x, int y, const Map& m) {
        return Frac(Turns(CentreX(x, m), CentreY(y, m)) * turns + start + 0.5);
    };
}

/// Where the pivot of a sweep lies on an axis of n pixels.
enum Pivot { kBefore, kMiddle, kBehind };
double At(Pivot pivot, int n) {
    return pivot == kBefore ? -0.5 : pivot == kBehind ? n - 0.5 : n / 2;
}
Fraction Sweep(Pivot pivotX, Pivot pivotY, double start, double turns) {
    return [=](int x, int y, const Map& m) {
        return Frac(Turns(Across(x - At(pivotX, m.width), m), y - At(pivotY, m.height)) * turns + start);
    };
}

double Folded(double x, double y) {
    return x == 0 && y == 0 ? -1 : 2 * std::fabs(Turns(x, y));
}

/// 2|a| about the middle of the top edge, 0 straight down.
double FromTop(int x, int y, const Map& m) {
    return Folded(CentreX(x, m), y + 0.5);
}
/// The same about the middle of the left edge, 0 straight to the right.
double FromLeft(int x, int y, const Map& m) {
    return Folded(CentreY(y, m), Across(x + 0.5, m));
}

/// An octant's angle about the centre: 0 on the upright axis, 0.5 across it.
double Upright(int x, int y, const Map& m) {
    return Folded(std::fabs(CentreX(x, m)), std::fabs(CentreY(y, m)));
}
double Level(int x, int y, const Map& m) {
    return Folded(std::fabs(CentreY(y, m)), std::fabs(CentreX(x, m)));
}

Fraction Times(const Fraction& f, double factor) {
    return [=](int x, int y, const Map& m) {
        const double value = f(x, y, m);
        return value < 0 ? value : value * factor;
    };
}

Fraction Ellipse(double k) {
    return [k](int x, int y, const Map& m) {
        return 1 - std::hypot(k * m.aspect * Vx(x, m), Vy(y, m)) / std::hypot(k * m.aspect, 1);
    };
}

}  // namespace

std::vector<Pattern> PrintedPatterns() {
    const Fraction box = [](int x, int y, const Map& m) { return std::min(1 - U(x, m), 1 - V(y, m)); };
    const Fraction fromTop = [](int x, int y, const Map& m) {
        return std::min(Steps(x, m.width), 1 - V(y, m));
    };
    const Fraction fromRight = [](int x, int y, const Map& m) {
        return std::min((x + 1.0) / m.width, Steps(y, m.height));
    };
    const Fraction diagonal = [](int x, int y, const Map& m) { return 1 - (U(x, m) + V(y, m)) / 2; };
    const Fraction vee = [](int x, int y, const Map& m) { return (Tent(Vx(x, m)) + 1 - V(y, m)) / 2; };
    const Fraction lyingVee = [](int x, int y, const Map& m) { return (U(x, m) + Tent(Vy(y, m))) / 2; };
    const Fraction barnVee = [](int x, int y, const Map& m) {
        return 1 - std::fabs(std::fabs(Vx(x, m)) - (1 - Vy(y, m)) / 2);
    };
    const Fraction lyingBarnVee = [](int x, int y, const Map& m) {
        return 1 - std::fabs(std::fabs(Vy(y, m)) - (1 + Vx(x, m)) / 2);
    };
    return {
        {1, [](int x, int, const Map& m) { return (m.width - x) / static_cast<double>(m.width); }},
        {2, [](int, int y, const Map& m) { return (m.height - y) / static_cast<double>(m.height); }},
        {3, box},
        {4, FlipX(box)},
        {5, FlipX(FlipY(box))},
        {6, FlipY(box)},
        {7, [](int x, int y, const Map& m) { return std::min(std::fabs(Vx(x, m)), std::fabs(Vy(y, m))); }},
        // Four quarters of a picture whose sides are even; what an odd one does with its middle is open.
        {8,
         [](int x, int y, const Map& m) {
             const int w = m.width / 2, h = m.height / 2;
             return m.width % 2 + m.height % 2 != 0 ? -1 : std::min(Steps(x % w, w), Steps(y % h, h));
         }},
        {21, [](int x, int, const Map& m) { return Steps(x, m.width); }},
        {22, [](int, int y, const Map& m) { return Steps(y, m.height); }},
        {23, fromTop},
        {25, FlipY(fromTop)},
        {24, fromRight},
        {26, FlipX(fromRight)},
        {41, diagonal},
        {42, FlipX(diagonal)},
        {43, [](int x, int y, const Map& m) { return (Tent(Vx(x, m)) + std::fabs(Vy(y, m))) / 2; }},
        {44, [](int x, int y, const Map& m) { return (std::fabs(Vx(x, m)) + Tent(Vy(y, m))) / 2; }},
        {45, [](int x, int y, const Map& m) { return 1 - std::fabs(U(x, m) + V(y, m) - 1); }},
        {46, [](int x, int y, const Map& m) { return 1 - std::fabs(U(x, m) - V(y, m)); }},
        {47,
         [](int x, int y, const Map& m) { return 1 - std::fabs(std::fabs(Vx(x, m)) - std::fabs(Vy(y, m))); }},
        {48, [](int x, int y,
                const Map& m) { return 1 - std::fabs(std::fabs(Vx(x, m)) + std::fabs(Vy(y, m)) - 1); }},
        {61, vee},
        {63, FlipY(vee)},
        {62, lyingVee},
        {64, FlipX(lyingVee)},
        {65, barnVee},
        {67, FlipY(barnVee)},
        {66, lyingBarnVee},
        {68, FlipX(lyingBarnVee)},
        {101,
         [](int x, int y, const Map& m) {
             return 1 -
                    std::max(m.aspect * std::fabs(Vx(x, m)), std::fabs(Vy(y, m))) / std::max(m.aspect, 1.0);
         }},
        {102,
         [](int x, int y, const Map& m) {
             return 1 - (m.aspect * std::fabs(Vx(x, m)) + std::fabs(Vy(y, m))) / (m.aspect + 1);
         }},
        {119, Ellipse(1)},
        {120, Ellipse(0.5)},
        {121, Ellipse(2)},
        {201, Clock(0, 1), true},
        {202, Clock(0.25, 1), true},
        {203, Clock(0.5, 1), true},
        {204, Clock(0.75, 1), true},
        {205, Clock(0.5, 2), true},
        {206, Clock(1, 2), true},
        {207, Clock(1.5, 4), true},
        {211, [](int x, int y, const Map& m) { return Folded(CentreX(x, m), CentreY(y, m)); }},
        // 1 on the right, as the code says.
        {212, [](int x, int y, const Map& m) { return Folded(CentreY(y, m), -CentreX(x, m)); }},
        {213, Upright},
        {214, Level},
        {221, Sweep(kMiddle, kBefore, 0.5, 2), true},
        {222, Sweep(kBehind, kMiddle, 1, 2), true},
        {223, Sweep(kMiddle, kBehind, 1.5, 2), true},
        {224, Sweep(kBefore, kMiddle, 0, 2), true},
        {231, FromTop},
        {233, FlipY(FromTop)},
        {234, FromLeft},
        {232, FlipX(FromLeft)},
        {235, [](int x, int y, const Map& m) { return FromTop(x, std::min(y, m.height - 1 - y), m); }},
        {236, [](int x, int y, const Map& m) { return FromLeft(std::min(x, m.width - 1 - x), y, m); }},
        {241, Sweep(kBefore, kBefore, 1, 4), true},
        {242, Sweep(kBefore, kBehind, 5, -4), true},
        {243, Sweep(kBehind, kBehind, 2, 4), true},
        {244, Sweep(kBehind, kBefore, 5, -4), true},
        {263, Times(Upright, 2)},
        {264, Times(Level, 2)},
    };
}

// ---- Matrices

namespace {

struct Cell {
    int column, row;
};
using Path = std::vector<Cell>;

Path RowSnake(int columns, int rows) {
    Path path;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            path.push_back({r % 2 == 0 ? c : columns - 1 - c, r});
        }
    }
    return path;
}
Path ColumnSnake(int columns, int rows) {
    Path path;
    for (int c = 0; c < columns; ++c) {
        for (int r = 0; r < rows; ++r) {
            path.push_back({c, c % 2 == 0 ? r : rows - 1 - r});
        }
    }
    return path;
}
/// Anti-diagonals from the top left: odd ones run down and to the left, even ones up and to the right.
Path DiagonalSnake(int columns, int rows) {
    Path path;
    for (int d = 0; d <= columns + rows - 2; ++d) {
        Path diagonal;
        for (int r = 0; r <= d; ++r) {
            if (r < rows && d - r < columns) {
                diagonal.push_back({d - r, r});
            }
        }
        if (d % 2 == 0) {
            std::reverse(diagonal.begin(), diagonal.end());
        }
        path.insert(path.end(), diagonal.begin(), diagonal.end());
    }
    return path;
}

/// Inward from the top left: along the top row first and clockwise, or down the left column first and against
/// the clock.
Path Spiral(int columns, int rows, bool clockwise) {
    std::vector<bool> seen(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), false);
    const auto isFree = [&](Cell cell) {
        return cell.column >= 0 && cell.column < columns && cell.row >= 0 && cell.row < rows &&
               !seen[static_cast<std::size_t>(cell.row * columns + cell.column)];
    };
    Path path;
    Cell cell = {0, 0}, step = clockwise ? Cell{1, 0} : Cell{0, 1};
    while (true) {
        path.push_back(cell);
        seen[static_cast<std::size_t>(cell.row * columns + cell.column)] = true;
        const Cell turned = clockwise ? Cell{-step.row, step.column} : Cell{step.row, -step.column};
        if (!isFree({cell.column + step.column, cell.row + step.row})) {
            step = turned;
        }
        cell = {cell.column + step.column, cell.row + step.row};
        if (!isFree(cell)) {
            return path;
        }
    }
}

Path MirrorX(Path path, int columns) {
    for (Cell& cell : path) {
        cell.column = columns - 1 - cell.column;
    }
    return path;
}
Path MirrorY(Path path, int rows) {
    for (Cell& cell : path) {
        cell.row = rows - 1 - cell.row;
    }
    return path;
}

/// Which cells share a place with one.
enum class Partner { kNone, kMirrorX, kMirrorY, kBoth, kTurned };

Sequence Along(const Path& path, int columns, int rows, Partner partner) {
    Sequence sequence;
    sequence.place.assign(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), -1);
    sequence.places = static_cast<int>(path.size());
    const auto put = [&](int column, int row, int place) {
        sequence.place.at(static_cast<std::size_t>(row * columns + column)) = place;
    };
    // From the end, so that cells on their own axis keep the earlier of two places: they have but one.
    for (int k = sequence.places - 1; k >= 0; --k) {
        const Cell cell = path[static_cast<std::size_t>(k)];
        const int otherColumn = columns - 1 - cell.column, otherRow = rows - 1 - cell.row;
        if (partner == Partner::kMirrorX || partner == Partner::kBoth) {
            put(otherColumn, cell.row, k);
        }
        if (partner == Partner::kMirrorY || partner == Partner::kBoth) {
            put(cell.column, otherRow, k);
        }
        if (partner == Partner::kTurned || partner == Partner::kBoth) {
            put(otherColumn, otherRow, k);
        }
    }
    for (int k = 0; k < sequence.places; ++k) {
        const Cell cell = path[static_cast<std::size_t>(k)];
        put(cell.column, cell.row, k);
    }
    return sequence;
}

/// The first snake of two that run towards each other by diagonals: all diagonals before the middle, and an
/// odd middle one.
Path HalfOfTheDiagonals(int columns, int rows) {
    const int diagonals = columns + rows - 1, own = diagonals - diagonals / 2;
    Path half;
    for (const Cell& cell : DiagonalSnake(columns, rows)) {
        if (cell.column + cell.row < own) {
            half.push_back(cell);
        }
    }
    return half;
}

}  // namespace

Sequence SequenceOf(unsigned number, int columns, int rows) {
    const auto alone = [&](const Path& path) { return Along(path, columns, rows, Partner::kNone); };
    // Halves with the middle column or row of an odd number.
    const int halfColumns = columns - columns / 2, halfRows = rows - rows / 2;
    switch (number) {
        case 301:
            return alone(RowSnake(columns, rows));
        case 302:
            return alone(ColumnSnake(columns, rows));
        case 303:
            return alone(DiagonalSnake(columns, rows));
        case 304:
            return alone(MirrorX(DiagonalSnake(columns, rows), columns));
        case 305:
            return alone(MirrorX(MirrorY(DiagonalSnake(columns, rows), rows), columns));
        case 306:
            return alone(MirrorY(DiagonalSnake(columns, rows), rows));
        // A spiral from another corner is a mirrored one that turns the other way, or turned by half.
        case 310:
            return alone(Spiral(columns, rows, true));
        case 311:
            return alone(MirrorX(Spiral(columns, rows, false), columns));
        case 312:
            return alone(MirrorX(MirrorY(Spiral(columns, rows, true), rows), columns));
        case 313:
            return alone(MirrorY(Spiral(columns, rows, false), rows));
        case 314:
            return alone(Spiral(columns, rows, false));
        case 315:
            return alone(MirrorX(Spiral(columns, rows, true), columns));
        case 316:
            return alone(MirrorX(MirrorY(Spiral(columns, rows, false), rows), columns));
        case 317:
            return alone(MirrorY(Spiral(columns, rows, true), rows));
        case 320:
            return Along(ColumnSnake(halfColumns, rows), columns, rows, Partner::kMirrorX);
        case 321:
            return Along(MirrorY(ColumnSnake(halfColumns, rows), rows), columns, rows, Partner::kMirrorX);
        case 322:
            return Along(ColumnSnake(halfColumns, rows), columns, rows, Partner::kTurned);
        case 323:
            return Along(MirrorY(ColumnSnake(halfColumns, rows), rows), columns, rows, Partner::kTurned);
        case 324:
            return Along(RowSnake(columns, halfRows), columns, rows, Partner::kMirrorY);
        case 325:
            return Along(MirrorX(RowSnake(columns, halfRows), columns), columns, rows, Partner::kMirrorY);
        case 326:
            return Along(RowSnake(columns, halfRows), columns, rows, Partner::kTurned);
        case 327:
            return Along(MirrorX(RowSnake(columns, halfRows), columns), columns, rows, Partner::kTurned);
        case 328:
            return Along(MirrorX(HalfOfTheDiagonals(columns, rows), columns), columns, rows,
                         Partner::kTurned);
        case 329:
            return Along(HalfOfTheDiagonals(columns, rows), columns, rows, Partner::kTurned);
        // Along the outer edge first: down the left column, along the top row.
        case 340:
            return Along(Spiral(halfColumns, rows, false), columns, rows, Partner::kMirrorX);
        case 341:
            return Along(MirrorY(Spiral(halfColumns, rows, false), rows), columns, rows, Partner::kMirrorX);
        case 342:
            return Along(Spiral(columns, halfRows, true), columns, rows, Partner::kMirrorY);
        case 343:
            return Along(MirrorX(Spiral(columns, halfRows, true), columns), columns, rows, Partner::kMirrorY);
        case 344:
            return Along(Spiral(halfColumns, halfRows, false), columns, rows, Partner::kBoth);
        case 345:
            return Along(Spiral(halfColumns, halfRows, true), columns, rows, Partner::kBoth);
        case 350:
        case 351: {
            Path path;
            for (int c = 0; c < columns; ++c) {
                for (int r = 0; r < rows; ++r) {
                    path.push_back({number == 350 ? c : columns - 1 - c, r});
                }
            }
            return alone(path);
        }
        case 352:
        case 353: {
            Path path;
            for (int r = 0; r < rows; ++r) {
                for (int c = 0; c < columns; ++c) {
                    path.push_back({number == 352 ? c : columns - 1 - c, r});
                }
            }
            return alone(path);
        }
        default:
            throw std::out_of_range("no matrix pattern");
    }
}

const std::vector<unsigned>& MatrixNumbers() {
    static const std::vector<unsigned> numbers = {301, 302, 303, 304, 305, 306, 310, 311, 312, 313, 314, 315,
                                                  316, 317, 320, 321, 322, 323, 324, 325, 326, 327, 328, 329,
                                                  340, 341, 342, 343, 344, 345, 350, 351, 352, 353};
    return numbers;
}

const std::vector<unsigned>& AllNumbers() {
    static const std::vector<unsigned> numbers = [] {
        std::vector<unsigned> all = {
            1,   2,   3,   4,   5,   6,   7,   8,   21,  22,  23,  24,  25,  26,  41,  42,  43,  44,  45,
            46,  47,  48,  61,  62,  63,  64,  65,  66,  67,  68,  71,  72,  73,  74,  101, 102, 103, 104,
            105, 106, 107, 108, 109, 110, 111, 112, 113, 114, 119, 120, 121, 122, 123, 127, 128, 129, 201,
            202, 203, 204, 205, 206, 207, 211, 212, 213, 214, 221, 222, 223, 224, 225, 226, 227, 228, 231,
            232, 233, 234, 235, 236, 241, 242, 243, 244, 245, 246, 251, 252, 253, 254, 261, 262, 263, 264};
        all.insert(all.end(), MatrixNumbers().begin(), MatrixNumbers().end());
        return all;
    }();
    return numbers;
}

}  // namespace gradient_model
