#include "convert/ConversionStrips.h"

#include <algorithm>

#include "simd/Lines.h"

namespace Zan {
namespace {

/// Lines of chroma that a strip makes; 0 for a format whose chroma has full height.
std::size_t ChromaLines(ConverterFormat format, std::size_t lines) noexcept {
    switch (format) {
        case kFmtPlanar420:
            return simd::LinePairs::Bands(lines);
        case kFmtPlanar420Interlaced:
            return simd::FieldLinePairs::Bands(lines);
        default:
            return 0;
    }
}

/// Puts rows from `row` on outside of the plane's memory.
void EndBefore(Plane& plane, std::size_t row) noexcept {
    if (plane.pitch > 0) {
        plane.end = std::min<const std::uint8_t*>(plane.end, plane.Row(row));
    } else if (row == 0) {
        plane.begin = plane.end = plane.first;
    } else {
        plane.begin = std::max<const std::uint8_t*>(plane.begin, plane.Row(row - 1));
    }
}

}  // namespace

bool SharesLastChroma(const ConversionPlan& plan, Long32 top, std::size_t lines) noexcept {
    const std::size_t made = ChromaLines(plan.job.destination, lines), first = static_cast<std::size_t>(top);
    return made != 0 && first / 2 + made > (first + lines) / 2;
}

void RunButLastChroma(ConversionPlan& plan, std::size_t lines) noexcept {
    // Only the lines that go into it are worth looking at row by row.
    const std::size_t period = StripLines(plan), before = (lines - 1) / period * period;
    if (before != 0) {
        Run(plan, 0, before);
    }
    const ConverterFormat format = plan.job.destination;
    for (const simd::PlaneUse& use : Formats()[static_cast<std::size_t>(format)].planes) {
        if (use.halfHeight) {
            EndBefore(plan.job.planes.destination[use.index], ChromaLines(format, lines) - 1);
        }
    }
    plan.job.planes.isInside = false;
    Run(plan, before, lines - before);
}

}  // namespace Zan
