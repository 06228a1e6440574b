#include <TesselU/image/Rectangle.h>

#include <algorithm>

namespace Zan {
namespace {

struct Span {
    Long32 start;
    Long32 length;
};

// Edges are compared in 64 bits: a start near the limit plus a length does not wrap.
Span Overlap(Long32 startA, Long32 lengthA, Long32 startB, Long32 lengthB) noexcept {
    const std::int64_t endA = std::int64_t{startA} + lengthA;
    const std::int64_t endB = std::int64_t{startB} + lengthB;
    const Long32 start = std::max(startA, startB);
    const std::int64_t length = std::min(endA, endB) - start;
    return {start, static_cast<Long32>(std::max<std::int64_t>(length, 0))};
}

}  // namespace

Rectangle::Rectangle(Long32 leftEdge, Long32 topEdge, Long32 pixels, Long32 lines) noexcept
    : left(leftEdge), top(topEdge), width(pixels), height(lines) {}

Rectangle Rectangle::intersection(const Rectangle& other) const noexcept {
    const Span columns = Overlap(left, width, other.left, other.width);
    const Span rows = Overlap(top, height, other.top, other.height);
    return {columns.start, rows.start, columns.length, rows.length};
}

}  // namespace Zan
