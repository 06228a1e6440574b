#ifndef TESSELU_SRC_GRADIENT_RECORDCHECKS_H
#define TESSELU_SRC_GRADIENT_RECORDCHECKS_H

#include <cstdint>

namespace GradientGenerator {

enum GradientStatus : int {
    kDrawn = 0,
    kNullRecord = 1,
    kShortRecord = 2,
    kBadSampleWidth = 3,
    kBadRange = 4,
    kBadSize = 5,
    kNoGenerator = 9
};

/// What both records must hold of the buffer that they describe.
template <class Record>
GradientStatus CheckBuffer(const Record& data) noexcept {
    constexpr std::uint32_t kLeastSide = 8;
    if (data.bitsPerSample != 8 && data.bitsPerSample != 16)
        return kBadSampleWidth;
    if (data.significantBits > data.bitsPerSample || data.peakValue >= 1U << data.significantBits)
        return kBadRange;
    const std::int64_t pitch = data.pitch;
    const std::int64_t rowBytes = std::int64_t{data.width} * data.bitsPerSample / 8;
    if (data.width < kLeastSide || data.height < kLeastSide || (pitch < 0 ? -pitch : pitch) < rowBytes)
        return kBadSize;
    return kDrawn;
}

/// A NaN passes.
inline float Limit(float value, float least, float most) noexcept {
    return value < least ? least : value > most ? most : value;
}

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_RECORDCHECKS_H
