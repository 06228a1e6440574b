#ifndef TESSELU_SRC_OVERLAY_OVERLAYROWS_H
#define TESSELU_SRC_OVERLAY_OVERLAYROWS_H

#include <cstddef>
#include <cstdint>

#include "foundation/Plane.h"

namespace Zan {

inline std::size_t Size(std::int64_t n) noexcept {
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

/// Calls `fill(first, bytes)` for what the memory holds of each row.
template <class Fill>
void FillRows(const Plane& plane, std::size_t rowBytes, std::size_t rows, const Fill& fill) noexcept {
    for (std::size_t row = 0; row < rows; ++row) {
        const std::size_t bytes = plane.first == nullptr ? 0 : plane.Clip(rowBytes, row);
        if (bytes != 0) {
            fill(plane.Row(row), bytes);
        }
    }
}

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_OVERLAYROWS_H
