#include "gradient/ZigzagFamilies.h"

#include "gradient/Profiles.h"

#include <cmath>

namespace GradientGenerator {

using Zan::ULong32;

namespace {

// The triangle wave along an axis of n positions: from 0 up to `amplitude` and back, once a period.
class Wave {
public:
    Wave(double amplitude, double cellFraction, ULong32 n) noexcept
        : peak(amplitude), period(cellFraction * n) {}

    double operator()(ULong32 i) const noexcept {
        const double turns = i / period;
        return peak * (1.0 - std::fabs(2.0 * (turns - std::floor(turns)) - 1.0));
    }

private:
    double peak;
    double period;
};

// Ramp and wave share the fractions: the ramp takes what the amplitude leaves, so that both end at 0 and 1.
// An amplitude above 1 leaves a ramp that runs backwards and fractions on either side of 0...1.
double Bound(double amplitude) noexcept {
    return 1.0 + amplitude;
}

constexpr auto kSum = [](double column, double row) { return column + row; };

// A door's first half rises to the middle by steps, its wave added; the second half falls from 1 by the same
// steps, its wave taken away. So both edges of the door are the same wave, side by side.
auto DoorRise(double amplitude, ULong32 n) noexcept {
    return [=](ULong32 i) { return (1.0 - amplitude) * SteppedTent(i, n); };
}
auto DoorFall(double amplitude, ULong32 n) noexcept {
    return [=](ULong32 i) { return 1.0 - (1.0 - amplitude) * (1.0 - SteppedTent(i, n)); };
}

}  // namespace

void ZigzagAcross(const GradientMap& map) noexcept {
    const ULong32 width = map.Width();
    const ULong32 height = map.Height();
    const double amplitude = map.CellFraction() / 2.0 * map.AspectRatio() * height / width;
    map.DrawPart(
        {0, width}, {0, height}, Bound(amplitude),
        [=](ULong32 x) { return (1.0 - amplitude) * Falling(x, width); },
        Wave(amplitude, map.CellFraction(), height), kSum);
}

void ZigzagDown(const GradientMap& map) noexcept {
    const ULong32 width = map.Width();
    const ULong32 height = map.Height();
    const double amplitude = map.CellFraction() / 2.0 * width / (map.AspectRatio() * height);
    map.DrawPart(
        {0, width}, {0, height}, Bound(amplitude), Wave(amplitude, map.CellFraction(), width),
        [=](ULong32 y) { return (1.0 - amplitude) * Falling(y, height); }, kSum);
}

void BarnZigzagAcross(const GradientMap& map) noexcept {
    const ULong32 width = map.Width();
    const ULong32 height = map.Height();
    const ULong32 middle = FirstHalf(width);
    const double amplitude = map.CellFraction() * height * map.AspectRatio() / width;
    const Wave wave(amplitude, map.CellFraction(), height);
    map.DrawPart({0, middle}, {0, height}, Bound(amplitude), DoorRise(amplitude, width), wave, kSum);
    map.DrawPart({middle, width}, {0, height}, Bound(amplitude), DoorFall(amplitude, width), wave,
                 [](double column, double row) { return column - row; });
}

void BarnZigzagDown(const GradientMap& map) noexcept {
    const ULong32 width = map.Width();
    const ULong32 height = map.Height();
    const ULong32 middle = FirstHalf(height);
    const double amplitude = map.CellFraction() * width / (height * map.AspectRatio());
    const Wave wave(amplitude, map.CellFraction(), width);
    map.DrawPart({0, width}, {0, middle}, Bound(amplitude), wave, DoorRise(amplitude, height), kSum);
    map.DrawPart({0, width}, {middle, height}, Bound(amplitude), wave, DoorFall(amplitude, height),
                 [](double column, double row) { return row - column; });
}

}  // namespace GradientGenerator
