#include "key/KeyRamp.h"

#include <TesselU/foundation/Status.h>

#include <algorithm>

namespace Zan {
namespace {

/// Limits an argument of `Set`; one that had to be leaves `mark` in `status`. What is not a number becomes
/// `low`.
double Limited(double value, double low, double high, Long32 mark, Long32& status) noexcept {
    if (value >= low && value <= high) {
        return value;
    }
    status = mark;
    return value > high ? high : low;
}

unsigned char Nearest(double value) noexcept {
    return static_cast<unsigned char>(std::clamp(value, 0.0, 255.0) + 0.5);
}

}  // namespace

void SetToIdentity(KeyRamp& table) noexcept {
    for (int i = 0; i < 256; ++i) {
        table[i] = static_cast<unsigned char>(i);
    }
}

Long32 SetRamp(KeyRamp& table, double center, double halfWidth, double softness, double level, double offset,
               bool invert) noexcept {
    Long32 status = kStatusOk;
    center = Limited(center, 0.0, 1.0, -1, status);
    halfWidth = Limited(halfWidth, 0.0, 1.0, -2, status);
    softness = Limited(softness, 0.0, 1.0, -3, status);
    level = Limited(level, 0.0, 1.0, -4, status);
    offset = Limited(offset, -1.0, 1.0, -5, status);

    const int first = Nearest(std::max(center - halfWidth, 0.0) * 255.0);
    const int last = Nearest(std::min(center + halfWidth, 1.0) * 255.0);
    // The half stays in, so that the entries of the slopes are rounded twice.
    const double plateau = std::min(level * 255.0 + 0.5, 255.0);
    const double step = plateau / (softness * 255.0 + 1.0);
    std::fill(table + first, table + last + 1, static_cast<unsigned char>(plateau));
    double value = plateau - step;
    for (int i = first - 1; i >= 0; --i, value -= step) {
        table[i] = Nearest(value);
    }
    value = plateau - step;
    for (int i = last + 1; i < 256; ++i, value -= step) {
        table[i] = Nearest(value);
    }

    const int moved = static_cast<int>(offset * 255.0 + (offset < 0.0 ? -0.5 : 0.5));
    for (unsigned char& entry : table) {
        const int key = invert ? 255 - entry : entry;
        entry = static_cast<unsigned char>(std::clamp(key + moved, 0, 255));
    }
    return status;
}

}  // namespace Zan
