#ifndef TESSELU_SRC_FOUNDATION_PLANE_H
#define TESSELU_SRC_FOUNDATION_PLANE_H

#include <cstddef>
#include <cstdint>

namespace Zan {

/// What becomes of a pitch that is no whole number of 32-bit words.
enum class PitchUnit : unsigned char {
    kBytes,       ///< used as it stands
    kWords,       ///< shortened to whole words, toward zero
    kWordsBelow,  ///< the two low bits cleared, which lengthens a negative pitch
};

constexpr std::ptrdiff_t PitchIn(PitchUnit unit, std::ptrdiff_t pitch) noexcept {
    switch (unit) {
        case PitchUnit::kWords:
            return pitch / 4 * 4;
        case PitchUnit::kWordsBelow:
            return pitch & ~std::ptrdiff_t{3};
        case PitchUnit::kBytes:
            break;
    }
    return pitch;
}

/// A plane as a kernel walks it: its first byte and the signed distance between rows, and the bounds of the
/// memory behind it, which nothing may leave. Without bounds the caller is trusted.
struct Plane {
    std::uint8_t* first = nullptr;
    std::ptrdiff_t pitch = 0;
    const std::uint8_t* begin = nullptr;  ///< lowest byte of the memory
    const std::uint8_t* end = nullptr;    ///< one past its highest byte; null: unbounded

    bool IsBounded() const noexcept { return end != nullptr; }

    std::uint8_t* Row(std::size_t row) const noexcept {
        return first + static_cast<std::ptrdiff_t>(row) * pitch;
    }

    Plane In(PitchUnit unit) const noexcept { return {first, PitchIn(unit, pitch), begin, end}; }

    /// True when `rows` rows of `rowBytes` bytes, from `first` in steps of `pitch`, lie inside the memory.
    /// Without a pitch there is one row. An empty extent always fits.
    bool Holds(std::size_t rowBytes, std::size_t rows) const noexcept {
        if (rowBytes == 0 || rows == 0) {
            return true;
        }
        if (first == nullptr) {
            return false;
        }
        if (!IsBounded()) {
            return true;
        }
        const auto before = static_cast<std::size_t>(first - begin);
        const auto after = static_cast<std::size_t>(end - first);
        if (first < begin || first >= end || rowBytes > after) {
            return false;
        }
        // Without a pitch there is no second row.
        const std::size_t steps = rows - 1;
        return steps == 0 ||
               (pitch != 0 &&
                (pitch > 0 ? StepsFit(steps, static_cast<std::size_t>(pitch), after - rowBytes)
                           : StepsFit(steps, std::size_t{0} - static_cast<std::size_t>(pitch), before)));
    }

    /// How many of the `rowBytes` bytes from the start of row `row` lie inside the memory; 0 for a row that
    /// starts outside.
    std::size_t Clip(std::size_t rowBytes, std::size_t row) const noexcept;

private:
    /// `steps * distance <= room`, whatever the product.
    static bool StepsFit(std::size_t steps, std::size_t distance, std::size_t room) noexcept {
        // Sizes of real pictures: a product of 32-bit factors cannot wrap in 64 bits, and spares the
        // division.
        if constexpr (sizeof(std::size_t) == 8) {
            if (((steps | distance) >> 32) == 0) {
                return steps * distance <= room;
            }
        }
        return distance == 0 || steps <= room / distance;
    }
};

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_PLANE_H
