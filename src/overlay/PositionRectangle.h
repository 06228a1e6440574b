#ifndef TESSELU_SRC_OVERLAY_POSITIONRECTANGLE_H
#define TESSELU_SRC_OVERLAY_POSITIONRECTANGLE_H

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Zan {

/// Edges in pixels; right and bottom lie outside.
struct EdgeRectangle {
    std::int64_t left = 0, top = 0, right = 0, bottom = 0;

    constexpr std::int64_t Width() const noexcept { return right - left; }
    constexpr std::int64_t Height() const noexcept { return bottom - top; }
    constexpr bool IsEmpty() const noexcept { return right <= left || bottom <= top; }

    constexpr EdgeRectangle Moved(std::int64_t x, std::int64_t y) const noexcept {
        return {left + x, top + y, right + x, bottom + y};
    }
    constexpr EdgeRectangle Intersection(const EdgeRectangle& other) const noexcept {
        return {std::max(left, other.left), std::max(top, other.top), std::min(right, other.right),
                std::min(bottom, other.bottom)};
    }
    friend constexpr bool operator==(const EdgeRectangle&, const EdgeRectangle&) noexcept = default;
};

/// A rectangle by its centre, which may lie between pixels, with whole width and height.
struct PositionRectangle {
    double x = 0, y = 0;
    std::int64_t width = 0, height = 0;

    PositionRectangle() noexcept = default;
    explicit PositionRectangle(const EdgeRectangle& edges) noexcept
        : x(Centre(edges.left, edges.Width())),
          y(Centre(edges.top, edges.Height())),
          width(edges.Width()),
          height(edges.Height()) {}

    bool IsEmpty() const noexcept { return width <= 0 || height <= 0; }

    /// What both cover, with every pixel counted that they share a part of.
    PositionRectangle Intersection(const PositionRectangle& other) const noexcept {
        PositionRectangle both;
        Share(x, width, other.x, other.width, both.x, both.width);
        Share(y, height, other.y, other.height, both.y, both.height);
        return both;
    }

private:
    static double Centre(std::int64_t from, std::int64_t size) noexcept {
        return static_cast<double>(from) + static_cast<double>(size - 1) / 2;
    }
    static void Share(double a, std::int64_t sizeA, double b, std::int64_t sizeB, double& centre,
                      std::int64_t& size) noexcept {
        const double halfA = static_cast<double>(sizeA - 1) / 2, halfB = static_cast<double>(sizeB - 1) / 2;
        const double near = std::max(a - halfA, b - halfB), far = std::min(a + halfA, b + halfB);
        size = static_cast<std::int64_t>(std::ceil(far - near + 1));
        centre = (near + far) / 2;
    }
};

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_POSITIONRECTANGLE_H
