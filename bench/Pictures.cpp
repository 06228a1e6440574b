#include "Pictures.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <random>

namespace bench {

// The buffers are listed first, so that they exist before the first of them is made.
Pictures::Pictures(const Size& pictureSize)
    : size(pictureSize),
      a(Allocate(4 * size.pixels())),
      b(Allocate(4 * size.pixels())),
      key(Allocate(size.pixels())),
      planar(Allocate(size.pixels() + size.pixels() / 2)),
      out(Allocate(4 * size.pixels())),
      scratch(Allocate(4 * size.pixels())),
      shaped(Allocate(4 * size.pixels())) {
    for (std::size_t i = 0; i < 4 * size.pixels(); ++i) {
        const std::uint8_t alpha = shaped[i | 3];
        shaped[i] = static_cast<std::uint8_t>(i % 4 == 3 ? alpha : shaped[i] * alpha / 255);
    }
}

std::uint8_t* Pictures::Allocate(std::size_t bytes) {
    // Pictures that start at the same place of their pages hinder each other in the first-level cache.
    const std::size_t skew = buffers.size() * 9 * 64;
    const std::size_t whole = (skew + bytes + 63) / 64 * 64;
    auto* memory = static_cast<std::uint8_t*>(std::aligned_alloc(64, whole));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    buffers.emplace_back(memory);

    std::mt19937_64 random(buffers.size());
    for (std::size_t i = 0; i + 8 <= whole; i += 8) {
        const std::uint64_t word = random();
        std::memcpy(memory + i, &word, 8);
    }
    return memory + skew;
}

void Pictures::Release::operator()(std::uint8_t* memory) const {
    std::free(memory);
}

}  // namespace bench
