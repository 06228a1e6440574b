#ifndef TESSELU_TESTS_FILTER_REDUCTIONCALLS_H
#define TESSELU_TESTS_FILTER_REDUCTIONCALLS_H

#include <TesselU/filter/NoiseReduction.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

// Small pictures, and calls of the noise reduction on them.

namespace filter_test {

using namespace Zan;

using Control = NoiseReduction::AlphaControlEnum;
inline constexpr auto kOwn = static_cast<Control>(3);
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Words in rows without gaps.
struct Picture {
    Picture(ULong32 wide, ULong32 high, ULong32 fill = 0)
        : words(wide), rows(high), memory(std::size_t{wide} * high, fill) {}

    std::uint8_t& Byte(std::size_t i, std::size_t y = 0) {
        return reinterpret_cast<std::uint8_t*>(memory.data())[4 * words * y + i];
    }
    bool operator==(const Picture& other) const { return memory == other.memory; }

    ULong32 words, rows;
    std::vector<ULong32> memory;
};

inline Picture Random(ULong32 wide, ULong32 high, unsigned seed, unsigned low = 0, unsigned range = 256) {
    Picture picture(wide, high);
    std::mt19937 random(seed);
    for (std::size_t i = 0; i < 4 * picture.memory.size(); ++i) {
        picture.Byte(i) = static_cast<std::uint8_t>(low + random() % range);
    }
    return picture;
}

/// A row of packed 4:2:2 with luma as given and chroma of 128.
inline Picture Lumas(const std::vector<int>& luma) {
    Picture picture(static_cast<ULong32>((luma.size() + 1) / 2), 1, 0);
    for (std::size_t x = 0; x < 2 * picture.words; ++x) {
        picture.Byte(2 * x) = 128;
        picture.Byte(2 * x + 1) = static_cast<std::uint8_t>(luma[std::min(x, luma.size() - 1)]);
    }
    return picture;
}

struct Call {
    ULong32 windowWidth = 1, windowHeight = 1, windowFrames = 1;
    Control control = kOwn;
    double* weights = nullptr;
    bool limits = false;
    double strength = 1;
    ULong32 format = 2, implementation = 0;
    ULong32 width = 0;  ///< 0: that of all words
};

/// Runs on frames in the order of time.
inline Long32 Filter(NoiseReduction& filter, std::vector<Picture>& frames, Picture& out, const Call& call) {
    std::vector<ULong32*> pointers;
    for (Picture& frame : frames) {
        pointers.push_back(frame.memory.data());
    }
    const ULong32 words = frames[0].words, width = call.width != 0    ? call.width
                                                   : call.format == 2 ? 2 * words
                                                                      : words;
    return filter.DoFilterSSF(pointers.data(), out.memory.data(), width, frames[0].rows, 4 * words, 4 * words,
                              call.weights, call.windowWidth, call.windowHeight, call.windowFrames,
                              call.control, call.limits, call.strength, call.format, call.implementation);
}

inline Picture Filtered(std::vector<Picture> frames, const std::array<float, 3>& levels, const Call& call) {
    NoiseReduction filter;
    std::array<float, 3> copy = levels;
    filter.SetBaseNoiseLevel(copy.data());
    Picture out(frames[0].words, frames[0].rows, 0xEEEEEEEEU);
    EXPECT_EQ(Filter(filter, frames, out, call), 0);
    return out;
}

inline std::vector<int> LumaOf(Picture picture) {
    std::vector<int> luma;
    for (std::size_t x = 0; x < 2 * picture.words; ++x) {
        luma.push_back(picture.Byte(2 * x + 1));
    }
    return luma;
}

/// Every form of the filter: 4:2:2 by four implementations, and 32-bit pixels.
inline std::vector<Call> AllForms(Call call = {}) {
    std::vector<Call> forms;
    for (const ULong32 implementation : {0U, 1U, 2U, 3U}) {
        call.implementation = implementation;
        forms.push_back(call);
    }
    call.format = 0;
    forms.push_back(call);
    return forms;
}

inline constexpr std::array<float, 3> kNoLevels = {0, 0, 0};

}  // namespace filter_test

#endif  // TESSELU_TESTS_FILTER_REDUCTIONCALLS_H
