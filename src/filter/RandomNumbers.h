#ifndef TESSELU_SRC_FILTER_RANDOMNUMBERS_H
#define TESSELU_SRC_FILTER_RANDOMNUMBERS_H

#include <cstdint>

namespace Zan {

/// A number of draws as one step: s becomes factor * s + summand, mod 2^32.
struct RandomLeap {
    std::uint32_t factor = 1, summand = 0;

    constexpr std::uint32_t operator()(std::uint32_t state) const noexcept {
        return factor * state + summand;
    }
};

constexpr RandomLeap kRandomStep = {214013, 2531011};

/// `first`, then `second`.
constexpr RandomLeap Then(const RandomLeap& first, const RandomLeap& second) noexcept {
    return {second.factor * first.factor, second.factor * first.summand + second.summand};
}

constexpr RandomLeap LeapOver(std::uint64_t draws) noexcept {
    RandomLeap leap, power = kRandomStep;
    for (; draws != 0; draws >>= 1) {
        if ((draws & 1) != 0) {
            leap = Then(leap, power);
        }
        power = Then(power, power);
    }
    return leap;
}

/// How many values a draw may have.
constexpr std::uint32_t kDrawnValues = 32768;

/// The draw that left this state behind.
constexpr std::uint32_t DrawnAt(std::uint32_t state) noexcept {
    return state >> 16 & (kDrawnValues - 1);
}

/// Draws the next number.
constexpr std::uint32_t Draw(std::uint32_t& state) noexcept {
    state = kRandomStep(state);
    return DrawnAt(state);
}

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_RANDOMNUMBERS_H
