#ifndef TESSELU_TESTS_GRADIENT_GRADIENTCANVAS_H
#define TESSELU_TESTS_GRADIENT_GRADIENTCANVAS_H

#include <TesselU/gradient/GradientGenerator.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <utility>
#include <vector>

/// A buffer to draw a map into, with guard bytes around it and between its rows.
class GradientCanvas {
public:
    GradientGenerator::WgrGradientData record{};

    GradientCanvas(unsigned width, unsigned height, unsigned bits = 8, unsigned peak = 255,
                   unsigned padding = 0, bool upsideDown = false, unsigned misalignment = 0)
        : sampleBytes(bits / 8), rowBytes(static_cast<std::size_t>(width) * sampleBytes) {
        const std::size_t pitch = rowBytes + padding;
        memory.assign(2 * kGuard + misalignment + pitch * height, kUntouched);
        std::uint8_t* lowest = memory.data() + kGuard + misalignment;
        record.structSize = sizeof record;
        record.width = width;
        record.height = height;
        record.pitch = static_cast<Zan::Long32>(pitch);
        record.bitsPerSample = bits;
        record.significantBits = bits;
        record.peakValue = peak;
        record.pixels = lowest;
        record.aspectRatio = 1.0F;
        record.cellFraction = 0.25F;
        if (upsideDown) {
            record.pixels = lowest + pitch * (height - 1);
            record.pitch = -record.pitch;
        }
    }

    int Draw(Zan::ULong32 pattern) { return GradientGenerator::WgrGenerateGradient(&record, pattern); }

    unsigned Sample(unsigned x, unsigned y) const {
        const std::uint8_t* at = Row(y) + static_cast<std::size_t>(x) * sampleBytes;
        if (sampleBytes == 1) {
            return *at;
        }
        std::uint16_t word;
        std::memcpy(&word, at, sizeof word);
        return word;
    }

    std::vector<unsigned> Samples() const {
        std::vector<unsigned> all;
        for (unsigned y = 0; y < record.height; ++y) {
            for (unsigned x = 0; x < record.width; ++x) {
                all.push_back(Sample(x, y));
            }
        }
        return all;
    }

    bool IsUntouched() const { return CountTouchedOutside(false) == 0; }

    /// Bytes beyond the samples that no longer hold what they held.
    std::size_t TouchedGuards() const { return CountTouchedOutside(true); }

private:
    static constexpr std::size_t kGuard = 4096;
    static constexpr std::uint8_t kUntouched = 0xA5;

    const std::uint8_t* Row(unsigned y) const {
        return static_cast<const std::uint8_t*>(record.pixels) +
               static_cast<std::ptrdiff_t>(y) * record.pitch;
    }

    std::size_t CountTouchedOutside(bool skipSamples) const {
        std::vector<bool> isSample(memory.size(), false);
        if (skipSamples) {
            for (unsigned y = 0; y < record.height; ++y) {
                const auto start = static_cast<std::size_t>(Row(y) - memory.data());
                for (std::size_t i = 0; i < rowBytes; ++i) {
                    isSample[start + i] = true;
                }
            }
        }
        std::size_t touched = 0;
        for (std::size_t i = 0; i < memory.size(); ++i) {
            touched += !isSample[i] && memory[i] != kUntouched;
        }
        return touched;
    }

    std::size_t sampleBytes;
    std::size_t rowBytes;
    std::vector<std::uint8_t> memory;
};

/// All numbers of some ranges, both ends included.
inline std::vector<Zan::ULong32> Numbers(
    std::initializer_list<std::pair<Zan::ULong32, Zan::ULong32>> ranges) {
    std::vector<Zan::ULong32> all;
    for (const auto& [first, last] : ranges) {
        for (Zan::ULong32 n = first; n <= last; ++n) {
            all.push_back(n);
        }
    }
    return all;
}

/// Every number that has an edge, diagonal or zigzag wipe.
inline const std::vector<Zan::ULong32>& EdgePatterns() {
    static const auto numbers = Numbers({{1, 8}, {21, 26}, {41, 48}, {61, 68}, {71, 74}});
    return numbers;
}

inline const std::vector<Zan::ULong32>& ShapePatterns() {
    static const auto numbers = Numbers({{101, 114}, {119, 123}, {127, 129}});
    return numbers;
}

inline const std::vector<Zan::ULong32>& RotaryPatterns() {
    static const auto numbers =
        Numbers({{201, 207}, {211, 214}, {221, 228}, {231, 236}, {241, 246}, {251, 254}, {261, 264}});
    return numbers;
}

inline const std::vector<Zan::ULong32>& MatrixPatterns() {
    static const auto numbers = Numbers({{301, 306}, {310, 317}, {320, 329}, {340, 345}, {350, 353}});
    return numbers;
}

inline const std::vector<Zan::ULong32>& AllPatterns() {
    static const auto numbers = [] {
        std::vector<Zan::ULong32> all = EdgePatterns();
        for (const auto* group : {&ShapePatterns(), &RotaryPatterns(), &MatrixPatterns()}) {
            all.insert(all.end(), group->begin(), group->end());
        }
        return all;
    }();
    return numbers;
}

#endif  // TESSELU_TESTS_GRADIENT_GRADIENTCANVAS_H
