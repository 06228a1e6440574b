#include "foundation/Plane.h"

#include <algorithm>
#include <limits>

namespace Zan {
namespace {

/// `steps * pitch <= room`, whatever the product.
bool StepsFit(std::size_t steps, std::size_t pitch, std::size_t room) noexcept {
    // Sizes of real pictures: a product of 32-bit factors cannot wrap in 64 bits, and spares the division.
    if constexpr (sizeof(std::size_t) == 8) {
        if (((steps | pitch) >> 32) == 0) {
            return steps * pitch <= room;
        }
    }
    return pitch == 0 || steps <= room / pitch;
}

}  // namespace

bool Plane::Holds(std::size_t rowBytes, std::size_t rows) const noexcept {
    if (rowBytes == 0 || rows == 0) {
        return true;
    }
    if (first == nullptr) {
        return false;
    }
    if (!IsBounded()) {
        return true;
    }
    if (first < begin || first >= end) {
        return false;
    }
    const auto before = static_cast<std::size_t>(first - begin);
    const auto after = static_cast<std::size_t>(end - first);
    if (rowBytes > after) {
        return false;
    }
    const std::size_t steps = rows - 1;
    if (pitch > 0) {
        return StepsFit(steps, static_cast<std::size_t>(pitch), after - rowBytes);
    }
    if (pitch < 0) {
        return StepsFit(steps, std::size_t{0} - static_cast<std::size_t>(pitch), before);
    }
    return steps == 0;  // a plane of one line has no second row
}

std::size_t Plane::Clip(std::size_t rowBytes, std::size_t row) const noexcept {
    if (!Holds(1, 1)) {
        return 0;
    }
    if (!IsBounded()) {
        return rowBytes;
    }
    const auto before = static_cast<std::size_t>(first - begin);
    const auto after = static_cast<std::size_t>(end - first);
    if (pitch >= 0) {
        const auto step = static_cast<std::size_t>(pitch);
        if (step == 0 ? row != 0 : !StepsFit(row, step, after - 1)) {
            return 0;
        }
        return std::min(rowBytes, after - row * step);
    }
    const std::size_t step = std::size_t{0} - static_cast<std::size_t>(pitch);
    if (!StepsFit(row, step, before)) {
        return 0;
    }
    return std::min(rowBytes, after + row * step);
}

}  // namespace Zan
