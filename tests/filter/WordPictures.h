#ifndef TESSELU_TESTS_FILTER_WORDPICTURES_H
#define TESSELU_TESTS_FILTER_WORDPICTURES_H

#include <TesselU/foundation/Types.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "support/Choices.h"
#include "support/EveryTarget.h"
#include "support/FencedMemory.h"

// Pictures in plain memory, as the filters and noises of raw pointers take them.

namespace filter_test {

using namespace test_support;

/// Random words with guard bytes around them, at an address that is a multiple of 4.
struct WordPicture {
    std::size_t pitch, offset;
    Bytes memory;

    WordPicture(std::size_t width, std::size_t height) : WordPicture(width, height, AnyPitch(width)) {}
    WordPicture(std::size_t width, std::size_t height, std::size_t bytesOfLine) : pitch(bytesOfLine) {
        constexpr std::size_t kGuard = 128;
        memory.resize(2 * kGuard + 64 + (height == 0 ? 0 : (height - 1) * pitch + 4 * width));
        FillRandom(memory.data(), memory.size());
        offset = kGuard + (4 - reinterpret_cast<std::uintptr_t>(memory.data()) % 4) % 4 +
                 4 * RandomFrom<std::size_t>(0, 12);
    }
    WordPicture(const WordPicture&) = delete;
    WordPicture& operator=(const WordPicture&) = delete;

    Zan::ULong32* Words() { return reinterpret_cast<Zan::ULong32*>(memory.data() + offset); }
    std::uint8_t* Line(std::size_t y) { return memory.data() + offset + y * pitch; }
    const std::uint8_t* Line(std::size_t y) const { return memory.data() + offset + y * pitch; }

    static std::size_t AnyPitch(std::size_t width) {
        return 4 * width + (OneIn(3) ? std::size_t{0} : 4 * RandomFrom<std::size_t>(0, 9));
    }
};

inline ::testing::AssertionResult SameBytes(const Bytes& expected, const WordPicture& actual) {
    if (expected == actual.memory) {
        return ::testing::AssertionSuccess();
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (expected[i] != actual.memory[i]) {
            const std::ptrdiff_t at =
                static_cast<std::ptrdiff_t>(i) - static_cast<std::ptrdiff_t>(actual.offset);
            ::testing::AssertionResult failure = ::testing::AssertionFailure();
            failure << "byte " << at << " from the first word";
            if (at >= 0 && actual.pitch != 0) {
                const auto pitch = static_cast<std::ptrdiff_t>(actual.pitch);
                failure << " (line " << at / pitch << ", byte " << at % pitch << ")";
            }
            return failure << ": expected " << unsigned{expected[i]} << ", is " << unsigned{actual.memory[i]};
        }
    }
    return ::testing::AssertionFailure() << "sizes differ";
}

}  // namespace filter_test

#endif  // TESSELU_TESTS_FILTER_WORDPICTURES_H
