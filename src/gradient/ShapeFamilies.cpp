#include "gradient/ShapeFamilies.h"

#include "gradient/Profiles.h"

#include <algorithm>
#include <cmath>

namespace GradientGenerator {

using Zan::ULong32;

namespace {

// A shape is the norm of a position (x, y): 1 on its outline, proportional to the distance from the centre in
// every direction. Positions are in half heights of the picture from its centre, y growing downwards.

constexpr double kSin36 = 0.58778525229247313;
constexpr double kCos36 = 0.80901699437494742;
constexpr double kSin60 = 0.86602540378443865;
constexpr double kSin72 = 0.95105651629515357;
constexpr double kCos72 = 0.30901699437494742;

double Larger(double a, double b) noexcept {
    return a > b ? a : b;
}

// A NaN is 0.
double Clamped(double fraction) noexcept {
    return fraction > 0.0 ? (fraction < 1.0 ? fraction : 1.0) : 0.0;
}

auto Across(const GradientMap& map) noexcept {
    return
        [aspect = map.AspectRatio(), width = map.Width()](ULong32 x) { return aspect * Centred(x, width); };
}
auto Down(const GradientMap& map) noexcept {
    return [height = map.Height()](ULong32 y) { return Centred(y, height); };
}

// 0 in the corner of the picture.
template <class Norm>
void DrawToCorner(const GradientMap& map, Norm norm) noexcept {
    const double corner = norm(map.AspectRatio(), 1.0);
    map.Draw(Across(map), Down(map), [=](double x, double y) { return Clamped(1.0 - norm(x, y) / corner); });
}

// 1 in the pixel at the centre and 0 in that which the growing shape reaches last.
template <class Norm>
void DrawToLast(const GradientMap& map, Norm norm) noexcept {
    const ULong32 width = map.Width();
    const ULong32 height = map.Height();
    const auto across = Across(map);
    const auto down = Down(map);
    // Along the frame and along the middle: where pixels are not square, the first one may lie beside the
    // centre.
    double first = norm(across(0), down(0));
    double last = first;
    const auto look = [&](ULong32 x, ULong32 y) {
        const double here = norm(across(x), down(y));
        first = Smaller(first, here);
        last = Larger(last, here);
    };
    for (ULong32 x = 0; x < width; ++x)
        for (const ULong32 y : {ULong32{0}, (height - 1) / 2, height / 2, height - 1})
            look(x, y);
    for (ULong32 y = 0; y < height; ++y)
        for (const ULong32 x : {ULong32{0}, (width - 1) / 2, width / 2, width - 1})
            look(x, y);
    map.Draw(across, down,
             [=, range = last - first](double x, double y) { return Clamped((last - norm(x, y)) / range); });
}

// Equilateral, the apex on the edge of the picture and the centre of gravity in its centre.
double Triangle(double side, double down) noexcept {
    return Larger(2.0 * kSin60 * std::fabs(side) - down, 2.0 * down);
}

// The sides of the triangle, down to the other edge of the picture; the notch ends half-way to the centre.
double Arrowhead(double side, double down) noexcept {
    return Larger(2.0 * kSin60 * std::fabs(side) - down, 2.0 * down - kSin60 * std::fabs(side));
}

double Pentagon(double side, double down) noexcept {
    const double upper = (kSin36 * std::fabs(side) - kCos36 * down) / kCos36;
    const double lower = (kSin72 * std::fabs(side) + kCos72 * down) / kCos36;
    return Larger(Larger(upper, lower), down / kCos36);
}

double Hexagon(double side, double down) noexcept {
    return Larger(std::fabs(down), kSin60 * std::fabs(side) + std::fabs(down) / 2.0);
}

// Two arcs of circles through (-1, 0) and (1, 0), up to `height` away from the axis between these.
auto Eye(double height) noexcept {
    const double radius = (1.0 + height * height) / (2.0 * height);
    const double centre = radius - height;
    return [=](double along, double across) {
        return centre * std::fabs(across) + std::sqrt(along * along + radius * radius * across * across);
    };
}

double EyeHeight(const GradientMap& map) noexcept {
    return 0.9 * std::sqrt(map.CellFraction());
}

// How steeply the sides of a star's points fall off: the outline lies where c + slope * d is 1, c the
// distance along the point and d that from its axis. The dents lie at `dent` of the points' radius.
constexpr double PointSlope(double sinHalf, double cosHalf, double dent) noexcept {
    return (1.0 / dent - cosHalf) / sinHalf;
}

// Position relative to one point of a star; a pixel belongs to the point that it is farthest along.
struct Ray {
    double along;
    double off;
};
Ray Farther(Ray a, Ray b) noexcept {
    const bool first = a.along > b.along;
    return {first ? a.along : b.along, first ? a.off : b.off};
}
double OutlineOf(Ray ray, double slope) noexcept {
    return ray.along + slope * std::fabs(ray.off);
}

double FourPoints(double x, double y) noexcept {
    constexpr double kHalf = 0.70710678118654752;
    constexpr double kSlope = PointSlope(kHalf, kHalf, 0.4);
    const double a = std::fabs(x);
    const double b = std::fabs(y);
    return Larger(a, b) + kSlope * Smaller(a, b);
}

// The dents of five and six points are those of the figures whose sides run from point to point.
double FivePoints(double x, double y) noexcept {
    constexpr double kSlope = PointSlope(kSin36, kCos36, kCos72 / kCos36);
    const double side = std::fabs(x);
    const Ray up{-y, side};
    const Ray arm{kSin72 * side - kCos72 * y, kCos72 * side + kSin72 * y};
    const Ray leg{kSin36 * side + kCos36 * y, kCos36 * side - kSin36 * y};
    return OutlineOf(Farther(Farther(up, arm), leg), kSlope);
}

double SixPoints(double x, double y) noexcept {
    constexpr double kSlope = PointSlope(0.5, kSin60, 0.5 / kSin60);
    const double a = std::fabs(x);
    const double b = std::fabs(y);
    const Ray up{b, a};
    const Ray arm{kSin60 * a + 0.5 * b, 0.5 * a - kSin60 * b};
    return OutlineOf(Farther(up, arm), kSlope);
}

// The same shape with its top to the right.
template <class Norm>
auto TurnedRight(Norm norm) noexcept {
    return [=](double x, double y) { return norm(y, -x); };
}

constexpr auto kTriangle = [](double x, double y) { return Triangle(x, y); };
constexpr auto kArrowhead = [](double x, double y) { return Arrowhead(x, y); };
constexpr auto kPentagon = [](double x, double y) { return Pentagon(x, y); };
constexpr auto kHexagon = [](double x, double y) { return Hexagon(x, y); };

}  // namespace

void RectangleIris(const GradientMap& map) noexcept {
    DrawToCorner(map.FoldY(), [](double x, double y) { return Larger(std::fabs(x), std::fabs(y)); });
}

void DiamondIris(const GradientMap& map) noexcept {
    DrawToCorner(map.FoldY(), [](double x, double y) { return std::fabs(x) + std::fabs(y); });
}

void TriangleUp(const GradientMap& map) noexcept {
    DrawToLast(map, kTriangle);
}

void TriangleRight(const GradientMap& map) noexcept {
    DrawToLast(map.FoldY(), TurnedRight(kTriangle));
}

void ArrowheadUp(const GradientMap& map) noexcept {
    DrawToLast(map, kArrowhead);
}

void ArrowheadRight(const GradientMap& map) noexcept {
    DrawToLast(map.FoldY(), TurnedRight(kArrowhead));
}

void PentagonUp(const GradientMap& map) noexcept {
    DrawToLast(map, kPentagon);
}

void FlatTopHexagon(const GradientMap& map) noexcept {
    DrawToLast(map.FoldY(), kHexagon);
}

void FlatSideHexagon(const GradientMap& map) noexcept {
    DrawToLast(map.FoldY(), TurnedRight(kHexagon));
}

void Ellipse(const GradientMap& map, double stretch) noexcept {
    DrawToCorner(map.FoldY(),
                 [=](double x, double y) { return std::sqrt(stretch * stretch * x * x + y * y); });
}

void LyingEye(const GradientMap& map) noexcept {
    DrawToLast(map.FoldY(), Eye(EyeHeight(map)));
}

void StandingEye(const GradientMap& map) noexcept {
    const auto eye = Eye(EyeHeight(map));
    DrawToLast(map.FoldY(), [=](double x, double y) { return eye(y, x); });
}

void FourPointStar(const GradientMap& map) noexcept {
    DrawToLast(map.FoldY(), [](double x, double y) { return FourPoints(x, y); });
}

void FivePointStar(const GradientMap& map) noexcept {
    DrawToLast(map, [](double x, double y) { return FivePoints(x, y); });
}

void SixPointStar(const GradientMap& map) noexcept {
    DrawToLast(map.FoldY(), [](double x, double y) { return SixPoints(x, y); });
}

}  // namespace GradientGenerator
