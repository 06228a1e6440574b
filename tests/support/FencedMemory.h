#ifndef TESSELU_TESTS_SUPPORT_FENCEDMEMORY_H
#define TESSELU_TESTS_SUPPORT_FENCEDMEMORY_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <random>
#include <vector>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#include <unistd.h>
#define TESSELU_TEST_FENCES 1
#endif

namespace test_support {

using Bytes = std::vector<std::uint8_t>;

/// Where all random pictures come from. The seed is printed once; TESSELU_TEST_SEED replays another.
inline std::mt19937& Random() {
    static std::mt19937 generator = [] {
        const char* given = std::getenv("TESSELU_TEST_SEED");
        const unsigned seed = given ? static_cast<unsigned>(std::strtoul(given, nullptr, 0)) : 20031105U;
        std::printf("pictures from TESSELU_TEST_SEED=%u\n", seed);
        return std::mt19937(seed);
    }();
    return generator;
}

/// Fills memory by a generator of its own, which is a good deal faster than the great one.
inline void FillRandom(std::uint8_t* bytes, std::size_t count) {
    std::uint32_t state = static_cast<std::uint32_t>(Random()()) | 1U;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1664525U + 1013904223U;
        bytes[i] = static_cast<std::uint8_t>(state >> 24);
    }
}

inline std::uint8_t RandomByte() {
    return static_cast<std::uint8_t>(Random()() >> 11);
}

/// Any of `least` to `most`, both included.
template <class Integer>
Integer RandomFrom(int least, int most) {
    return static_cast<Integer>(least +
                                static_cast<int>(Random()() % static_cast<unsigned>(most - least + 1)));
}

/// A block of memory that ends at a page nobody may touch, and begins after one, as far as its length allows:
/// the end is exact, before the beginning lie up to one page of guard bytes.
class FencedMemory {
public:
    explicit FencedMemory(std::size_t bytes) : length(bytes) {
        if (length == 0) {
            return;
        }
#ifdef TESSELU_TEST_FENCES
        const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        guard = (page - length % page) % page;
        mapped = guard + length + 2 * page;
        std::vector<std::uint8_t*>& used = Used()[mapped];
        if (used.empty()) {
            void* base = mmap(nullptr, mapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            if (base == MAP_FAILED) {
                throw std::bad_alloc();
            }
            used.push_back(static_cast<std::uint8_t*>(base));
            if (mprotect(used.back() + page, guard + length, PROT_READ | PROT_WRITE) != 0) {
                throw std::bad_alloc();
            }
        }
        block = used.back();
        used.pop_back();
        data = block + page + guard;
#else
        guard = 4096;
        heap.resize(guard + length);
        data = heap.data() + guard;
#endif
        FillRandom(data - guard, guard + length);
    }
    FencedMemory(const FencedMemory&) = delete;
    FencedMemory& operator=(const FencedMemory&) = delete;
    ~FencedMemory() {
#ifdef TESSELU_TEST_FENCES
        if (block) {
            Used()[mapped].push_back(block);
        }
#endif
    }

    std::uint8_t* Data() {
        return data;
    }
    std::size_t Length() const {
        return length;
    }
    /// The guard bytes before the block and the block itself.
    Bytes Snapshot() const {
        return Bytes(data - guard, data + length);
    }
    std::size_t GuardLength() const {
        return guard;
    }

private:
    std::size_t length;
    std::size_t guard = 0;
    std::uint8_t* data = nullptr;
#ifdef TESSELU_TEST_FENCES
    /// Blocks that were given back, by length: mapping takes longer than most tests.
    static std::map<std::size_t, std::vector<std::uint8_t*>>& Used() {
        static std::map<std::size_t, std::vector<std::uint8_t*>> blocks;
        return blocks;
    }

    std::uint8_t* block = nullptr;
    std::size_t mapped = 0;
#else
    Bytes heap;
#endif
};

}  // namespace test_support

#endif  // TESSELU_TESTS_SUPPORT_FENCEDMEMORY_H
