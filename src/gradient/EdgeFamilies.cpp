#include "gradient/EdgeFamilies.h"

#include "gradient/Profiles.h"

#include <cmath>

namespace GradientGenerator {

using Zan::Mix;
using Zan::ULong32;

namespace {

// One axis of a map as a profile that `Draw` takes.
template <double (*profile)(ULong32, ULong32)>
auto Axis(ULong32 n) noexcept {
    return [n](ULong32 i) { return profile(i, n); };
}

double DistanceFromCentre(ULong32 i, ULong32 n) noexcept {
    return std::fabs(Centred(i, n));
}
double CentredTent(ULong32 i, ULong32 n) noexcept {
    return 1.0 - std::fabs(Centred(i, n));
}
double FallingFromOne(ULong32 i, ULong32 n) noexcept {
    return 1.0 - Along(i, n);
}
double RisingToOne(ULong32 i, ULong32 n) noexcept {
    return (i + 1.0) / n;
}

// Each half has a tent of its own, and the second half is the image of the first.
double TwoTents(ULong32 i, ULong32 n) noexcept {
    const ULong32 half = FirstHalf(n);
    return SteppedTent(i < half ? i : n - 1 - i, half);
}

}  // namespace

void HorizontalBar(const GradientMap& map) noexcept {
    map.DrawColumns(Axis<Falling>(map.Width()));
}

void VerticalBar(const GradientMap& map) noexcept {
    map.DrawRows(Axis<Falling>(map.Height()));
}

void CornerBox(const GradientMap& map) noexcept {
    map.Draw(Axis<FallingFromOne>(map.Width()), Axis<FallingFromOne>(map.Height()), Mix::kSmaller);
}

void FourCorners(const GradientMap& map) noexcept {
    map.FoldY().Draw(Axis<DistanceFromCentre>(map.Width()), Axis<DistanceFromCentre>(map.Height()),
                     Mix::kSmaller);
}

void FourBoxes(const GradientMap& map) noexcept {
    map.FoldY().Draw(Axis<TwoTents>(map.Width()), Axis<TwoTents>(map.Height()), Mix::kSmaller);
}

void VerticalBarnDoor(const GradientMap& map) noexcept {
    map.DrawColumns(Axis<SteppedTent>(map.Width()));
}

void HorizontalBarnDoor(const GradientMap& map) noexcept {
    map.DrawRows(Axis<SteppedTent>(map.Height()));
}

void TopEdgeBox(const GradientMap& map) noexcept {
    map.Draw(Axis<SteppedTent>(map.Width()), Axis<FallingFromOne>(map.Height()), Mix::kSmaller);
}

void RightEdgeBox(const GradientMap& map) noexcept {
    map.FoldY().Draw(Axis<RisingToOne>(map.Width()), Axis<SteppedTent>(map.Height()), Mix::kSmaller);
}

void Diagonal(const GradientMap& map) noexcept {
    map.Draw(Axis<Along>(map.Width()), Axis<Along>(map.Height()), Mix::kFallingMean);
}

void VerticalBowTie(const GradientMap& map) noexcept {
    map.FoldY().Draw(Axis<CentredTent>(map.Width()), Axis<DistanceFromCentre>(map.Height()), Mix::kMean);
}

void HorizontalBowTie(const GradientMap& map) noexcept {
    map.FoldY().Draw(Axis<DistanceFromCentre>(map.Width()), Axis<CentredTent>(map.Height()), Mix::kMean);
}

void RisingDiagonalBarnDoor(const GradientMap& map) noexcept {
    map.Draw(Axis<Along>(map.Width()), Axis<Along>(map.Height()), Mix::kRidgeOfSum);
}

void FallingDiagonalBarnDoor(const GradientMap& map) noexcept {
    map.Draw(Axis<Along>(map.Width()), Axis<Along>(map.Height()), Mix::kRidge);
}

void DiagonalCross(const GradientMap& map) noexcept {
    map.FoldY().Draw(Axis<DistanceFromCentre>(map.Width()), Axis<DistanceFromCentre>(map.Height()),
                     Mix::kRidge);
}

void DiagonalDiamond(const GradientMap& map) noexcept {
    map.FoldY().Draw(Axis<DistanceFromCentre>(map.Width()), Axis<DistanceFromCentre>(map.Height()),
                     Mix::kRidgeOfSum);
}

void VeeDown(const GradientMap& map) noexcept {
    map.Draw(Axis<CentredTent>(map.Width()), Axis<Along>(map.Height()), Mix::kVee);
}

void VeeLeft(const GradientMap& map) noexcept {
    map.FoldY().Draw(Axis<Along>(map.Width()), Axis<CentredTent>(map.Height()), Mix::kMean);
}

void BarnVeeDown(const GradientMap& map) noexcept {
    const ULong32 height = map.Height();
    map.Draw(
        Axis<DistanceFromCentre>(map.Width()),
        [height](ULong32 y) { return (1.0 - Centred(y, height)) / 2.0; }, Mix::kRidge);
}

void BarnVeeLeft(const GradientMap& map) noexcept {
    const ULong32 width = map.Width();
    map.FoldY().Draw([width](ULong32 x) { return (1.0 + Centred(x, width)) / 2.0; },
                     Axis<DistanceFromCentre>(map.Height()), Mix::kRidge);
}

}  // namespace GradientGenerator
