#ifndef TESSELU_SRC_COMPOSITE_VIEWROWS_H
#define TESSELU_SRC_COMPOSITE_VIEWROWS_H

#include <TesselU/foundation/Status.h>
#include <TesselU/image/ImageView.h>

#include <initializer_list>
#include <limits>

#include "image/ViewPlane.h"

namespace Zan {

/// The plane of a view that an operation is about to walk over `rows` rows: 1 without memory, 98 when the
/// selection itself leaves its plane (a field of a bottom-left image, a left edge outside).
inline Long32 SelectPlane(const ImageView& view, ULong32 channel, ULong32 rows, ViewPlane& plane) noexcept {
    plane = PlaneOf(view, channel);
    if (plane.first == nullptr)
        return kStatusNullPointer;
    if (view.GetRegionOfInterest().getLeft() < 0 || !plane.Holds(1, rows))
        return kStatusUnsupportedField;
    return kStatusOk;
}

/// A plane and the bytes that a kernel walks in each of its rows.
struct WalkedPlane {
    const ViewPlane* plane;
    std::size_t unitBytes;

    /// Bytes of a row of `units`. Where an address cannot count them it is the most that one can, which lies
    /// in no memory.
    std::size_t RowBytes(std::size_t units) const noexcept {
        constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
        return units > most / unitBytes ? most : unitBytes * units;
    }
};

/// Calls `walk(firstRow, rows, units)` for stretches of rows that lie inside all planes in full, and for
/// single rows with as many units as still do.
template <class Walk>
void WalkInside(std::initializer_list<WalkedPlane> planes, std::size_t units, std::size_t rows, Walk&& walk) {
    if (units == 0)
        return;
    const auto inside = [&](std::size_t count) {
        for (const WalkedPlane& p : planes)
            if (!p.plane->Holds(p.RowBytes(units), count))
                return false;
        return true;
    };
    if (inside(rows)) {
        walk(std::size_t{0}, rows, units);
        return;
    }
    for (std::size_t y = 0; y < rows; ++y) {
        std::size_t fitting = units;
        for (const WalkedPlane& p : planes) {
            const std::size_t here = p.plane->Clip(p.RowBytes(units), y) / p.unitBytes;
            fitting = here < fitting ? here : fitting;
        }
        if (fitting != 0)
            walk(y, std::size_t{1}, fitting);
    }
}

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_VIEWROWS_H
