#include "foundation/Plane.h"

#include <algorithm>

namespace Zan {
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
