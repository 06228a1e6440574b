#include "gradient/RotaryFamilies.h"

#include "gradient/Profiles.h"
#include "gradient/kernels/Angles.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace GradientGenerator {

using Zan::ULong32;

namespace {

// Sums of turns are never negative here.
double Frac(double turns) noexcept {
    return turns - static_cast<std::int32_t>(turns);
}

// Offsets from pivots, in rows. A column is as wide as the aspect ratio makes it; if that is no number, no
// column has an offset.
class Offsets {
public:
    explicit Offsets(const GradientMap& map) noexcept
        : Offsets(map, map.AspectRatio() > 0.0 ? map.AspectRatio() : 0.0) {}

    auto Column(double pivot) const noexcept {
        return [pivot, step = columnWidth](ULong32 x) { return (x - pivot) * step; };
    }
    static auto Row(double pivot) noexcept {
        return [pivot](ULong32 y) { return y - pivot; };
    }
    auto ColumnFromCentre() const noexcept { return Column(Middle(width)); }
    auto RowFromCentre() const noexcept { return Row(Middle(height)); }

    auto ColumnAwayFromCentre() const noexcept {
        return [at = ColumnFromCentre()](ULong32 x) { return std::fabs(at(x)); };
    }
    auto RowAwayFromCentre() const noexcept {
        return [at = RowFromCentre()](ULong32 y) { return std::fabs(at(y)); };
    }
    auto ColumnFromEdge() const noexcept {
        return [n = width, step = columnWidth](ULong32 x) { return FromNearerEdge(x, n) * step; };
    }
    auto RowFromEdge() const noexcept {
        return [n = height](ULong32 y) { return FromNearerEdge(y, n); };
    }

    static double Middle(ULong32 n) noexcept { return (n - 1.0) / 2.0; }

private:
    Offsets(const GradientMap& map, double aspectRatio) noexcept
        : width(map.Width()), height(map.Height()), columnWidth(aspectRatio * height / width) {}

    static double FromNearerEdge(ULong32 i, ULong32 n) noexcept { return Smaller(i + 0.5, n - i - 0.5); }

    ULong32 width;
    ULong32 height;
    double columnWidth;
};

struct Pivot {
    double x;
    double y;
};

constexpr double kBeforeFirst = -0.5;
double BehindLast(ULong32 n) noexcept {
    return n - 0.5;
}
double Half(ULong32 n) noexcept {
    return n / 2;  // truncated
}

// What is measured of an angle: from straight down towards the right.
struct Direction {
    double right;
    double down;
};

constexpr auto kFromDown = [](double x, double y) { return Direction{x, y}; };
constexpr auto kFoldedFromDown = [](double x, double y) { return Direction{std::fabs(x), y}; };
constexpr auto kFoldedFromRight = [](double x, double y) { return Direction{std::fabs(y), x}; };
constexpr auto kFoldedFromLeft = [](double x, double y) { return Direction{std::fabs(y), -x}; };

// Fraction `fraction(turns)` of the angle of `direction(column(x), row(y))`. Turns are by the
// single-precision 1 / (2 pi), which lies just below the true value: half a turn comes out as less than a
// half.
template <class Column, class Row, class ToDirection, class Fraction>
void DrawAngles(const GradientMap& map, Span columns, Span rows, Column column, Row row,
                ToDirection direction, Fraction fraction) noexcept {
    constexpr double kTurnsPerRadian = static_cast<double>(0.15915494F);
    map.DrawRowwise(
        columns, rows, column, row,
        [=](const double* across, double down, double* angles, std::size_t n) {
            double rights[GradientMap::kChunk];
            double downs[GradientMap::kChunk];
            for (std::size_t i = 0; i < n; ++i) {
                const Direction d = direction(across[i], down);
                rights[i] = d.right;
                downs[i] = d.down;
            }
            Zan::kAngles(rights, downs, angles, n);
        },
        [=](double angle) { return fraction(angle * kTurnsPerRadian); });
}

template <class Column, class Row, class ToDirection, class Fraction>
void DrawAngles(const GradientMap& map, Column column, Row row, ToDirection direction,
                Fraction fraction) noexcept {
    DrawAngles(map, {0, map.Width()}, map.AllRows(), column, row, direction, fraction);
}

auto Scaled(double scale) noexcept {
    return [=](double turns) { return scale * turns; };
}

void SweepPart(const GradientMap& map, Span columns, Span rows, Pivot pivot, double start,
               double turns) noexcept {
    DrawAngles(map, columns, rows, Offsets(map).Column(pivot.x), Offsets::Row(pivot.y), kFromDown,
               [=](double angle) { return Frac(angle * turns + start); });
}

void Sweep(const GradientMap& map, Pivot pivot, double start, double turns) noexcept {
    SweepPart(map, {0, map.Width()}, map.AllRows(), pivot, start, turns);
}

// The sweep in the left half, an odd middle column with it, and its image in the right half.
void SweepLeftHalf(const GradientMap& map, const GradientMap& image, Pivot pivot, double start,
                   double turns) noexcept {
    const ULong32 width = map.Width();
    SweepPart(image, {0, width / 2}, {0, map.Height()}, pivot, start, turns);
    SweepPart(map, {0, FirstHalf(width)}, {0, map.Height()}, pivot, start, turns);
}

}  // namespace

void Clock(const GradientMap& map, double start, double turns) noexcept {
    const Offsets offsets(map);
    DrawAngles(map, offsets.ColumnFromCentre(), offsets.RowFromCentre(), kFromDown,
               [=](double angle) { return Frac(angle * turns + start + 0.5); });
}

// Starts are such that the sum of turns stays within one whole turn.

void TopSweep(const GradientMap& map) noexcept {
    Sweep(map, {Half(map.Width()), kBeforeFirst}, 0.5, 2.0);
}

void RightSweep(const GradientMap& map) noexcept {
    Sweep(map, {BehindLast(map.Width()), Half(map.Height())}, 1.0, 2.0);
}

void BottomSweep(const GradientMap& map) noexcept {
    Sweep(map, {Half(map.Width()), BehindLast(map.Height())}, 1.5, 2.0);
}

void LeftSweep(const GradientMap& map) noexcept {
    Sweep(map, {kBeforeFirst, Half(map.Height())}, 0.0, 2.0);
}

void TopLeftSweep(const GradientMap& map) noexcept {
    Sweep(map, {kBeforeFirst, kBeforeFirst}, 1.0, 4.0);
}

void BottomLeftSweep(const GradientMap& map) noexcept {
    Sweep(map, {kBeforeFirst, BehindLast(map.Height())}, 5.0, -4.0);
}

void BottomRightSweep(const GradientMap& map) noexcept {
    Sweep(map, {BehindLast(map.Width()), BehindLast(map.Height())}, 2.0, 4.0);
}

void TopRightSweep(const GradientMap& map) noexcept {
    Sweep(map, {BehindLast(map.Width()), kBeforeFirst}, 5.0, -4.0);
}

void ParallelTopSweeps(const GradientMap& map) noexcept {
    const ULong32 height = map.Height();
    const Pivot pivot{Half(map.Width()), kBeforeFirst};
    SweepPart(map.MirrorX().MirrorY(), {0, map.Width()}, {0, height / 2}, pivot, 0.5, 2.0);
    SweepPart(map, {0, map.Width()}, {0, FirstHalf(height)}, pivot, 0.5, 2.0);
}

void ParallelLeftSweeps(const GradientMap& map) noexcept {
    SweepLeftHalf(map, map.MirrorX().MirrorY(), {kBeforeFirst, Half(map.Height())}, 0.0, 2.0);
}

void OppositeTopSweeps(const GradientMap& map) noexcept {
    Sweep(map.FoldY(), {Half(map.Width()), kBeforeFirst}, 0.5, 2.0);
}

void OppositeLeftSweeps(const GradientMap& map) noexcept {
    SweepLeftHalf(map, map.MirrorX(), {kBeforeFirst, Half(map.Height())}, 0.0, 2.0);
}

void DiagonalSweeps(const GradientMap& map) noexcept {
    const ULong32 width = map.Width();
    const ULong32 height = map.Height();
    DrawAngles(
        map, [=](ULong32 x) { return Centred(x, width); }, [=](ULong32 y) { return Centred(y, height); },
        [](double x, double y) {
            const double sign = x >= y ? 1.0 : -1.0;
            return Direction{1.0 + sign * x, 1.0 + sign * y};
        },
        [](double angle) { return angle * 8.0 - 1.0; });
}

void CentreTopFan(const GradientMap& map) noexcept {
    const Offsets offsets(map);
    DrawAngles(map, offsets.ColumnFromCentre(), offsets.RowFromCentre(), kFoldedFromDown, Scaled(2.0));
}

void CentreRightFan(const GradientMap& map) noexcept {
    const Offsets offsets(map);
    DrawAngles(map.FoldY(), offsets.ColumnFromCentre(), offsets.RowFromCentre(), kFoldedFromLeft,
               Scaled(2.0));
}

void TopFan(const GradientMap& map) noexcept {
    DrawAngles(map, Offsets(map).ColumnFromCentre(), Offsets::Row(kBeforeFirst), kFoldedFromDown,
               Scaled(2.0));
}

void LeftFan(const GradientMap& map) noexcept {
    const Offsets offsets(map);
    DrawAngles(map.FoldY(), offsets.Column(kBeforeFirst), offsets.RowFromCentre(), kFoldedFromRight,
               Scaled(2.0));
}

void VerticalFansFromCentre(const GradientMap& map, double scale) noexcept {
    const Offsets offsets(map);
    DrawAngles(map.FoldY(), offsets.ColumnFromCentre(), offsets.RowAwayFromCentre(), kFoldedFromDown,
               Scaled(scale));
}

void HorizontalFansFromCentre(const GradientMap& map, double scale) noexcept {
    const Offsets offsets(map);
    DrawAngles(map.FoldY(), offsets.ColumnAwayFromCentre(), offsets.RowFromCentre(), kFoldedFromRight,
               Scaled(scale));
}

void VerticalFansFromEdges(const GradientMap& map, double scale) noexcept {
    const Offsets offsets(map);
    DrawAngles(map.FoldY(), offsets.ColumnFromCentre(), offsets.RowFromEdge(), kFoldedFromDown,
               Scaled(scale));
}

void HorizontalFansFromEdges(const GradientMap& map, double scale) noexcept {
    const Offsets offsets(map);
    DrawAngles(map.FoldY(), offsets.ColumnFromEdge(), offsets.RowFromCentre(), kFoldedFromRight,
               Scaled(scale));
}

void TopSaloonDoor(const GradientMap& map) noexcept {
    SweepLeftHalf(map, map.MirrorX(), {kBeforeFirst, kBeforeFirst}, 0.0, 4.0);
}

void LeftSaloonDoor(const GradientMap& map) noexcept {
    Sweep(map.FoldY(), {kBeforeFirst, kBeforeFirst}, 1.0, -4.0);
}

void RightWindshield(const GradientMap& map) noexcept {
    Sweep(map.FoldY(), {Offsets::Middle(map.Width()), Offsets::Middle(FirstHalf(map.Height()))}, 2.25, -1.0);
}

void UpWindshield(const GradientMap& map) noexcept {
    SweepLeftHalf(map, map.MirrorX(),
                  {Offsets::Middle(FirstHalf(map.Width())), Offsets::Middle(map.Height())}, 0.5, -1.0);
}

}  // namespace GradientGenerator
