#ifndef TESSELU_TESTS_SUPPORT_CHOICES_H
#define TESSELU_TESTS_SUPPORT_CHOICES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "support/FencedMemory.h"
#include "support/Sanitized.h"

// What tests with random cases choose by.

namespace test_support {

#ifdef TESSELU_TEST_SANITIZED
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

inline bool OneIn(int cases) {
    return RandomFrom<int>(1, cases) == 1;
}

/// One of the given values.
template <class Value>
Value AnyOf(std::initializer_list<Value> values) {
    return values.begin()[RandomFrom<std::size_t>(0, static_cast<int>(values.size()) - 1)];
}

/// Half of the bytes become 0 or 255, which random bytes hardly ever are.
inline void Polarise(FencedMemory& memory) {
    std::uint8_t* const bytes = memory.Data();
    for (std::size_t i = 0; i < memory.Length(); ++i) {
        if ((bytes[i] & 0x11) == 0x11) {
            bytes[i] = 255;
        } else if ((bytes[i] & 0x11) == 0x01) {
            bytes[i] = 0;
        }
    }
}

/// Half of the bytes become runs of 0 and of 255, as keys of wipes have them.
inline void PutRuns(FencedMemory& memory) {
    for (std::size_t i = 0; i < memory.Length();) {
        const std::size_t run = std::min<std::size_t>(RandomFrom<std::size_t>(1, 300), memory.Length() - i);
        const int kind = RandomFrom<int>(0, 3);
        if (kind < 2) {
            std::memset(memory.Data() + i, kind == 0 ? 0 : 255, run);
        }
        i += run;
    }
}

}  // namespace test_support

#endif  // TESSELU_TESTS_SUPPORT_CHOICES_H
