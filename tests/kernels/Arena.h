#ifndef TESSELU_TESTS_KERNELS_ARENA_H
#define TESSELU_TESTS_KERNELS_ARENA_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

namespace kernelcheck {

using Random = std::mt19937;

inline std::size_t Pick(Random& random, std::size_t low, std::size_t high) {
    return std::uniform_int_distribution<std::size_t>(low, high)(random);
}

/// Memory that ends at pages which nobody may touch, on both sides.
class GuardedPages {
public:
    explicit GuardedPages(std::size_t bytes);
    ~GuardedPages();
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;

    std::uint8_t* begin() const { return memory; }
    std::size_t size() const { return bytes; }

private:
    std::uint8_t* mapping;
    std::size_t mapped;
    std::uint8_t* memory;
    std::size_t bytes;
};

/// One plane of a case: rows at an odd place, with a pitch of either sign, in memory full of noise. Its first
/// or its last byte lies at the edge of what may be touched.
class Plane {
public:
    enum class Kind {
        kMemory,  ///< rows of either direction
        kImage    ///< lines of an image, downwards
    };

    /// `rowBytes` are those that belong to a row; a kernel may write `reach` bytes of it.
    Plane(Random& random, std::size_t rowBytes, std::size_t rows, std::size_t alignment, std::size_t reach,
          Kind planeKind);

    std::uint8_t* row(std::size_t y = 0) const { return first + static_cast<std::ptrdiff_t>(y) * step; }
    std::ptrdiff_t pitch() const { return step; }
    std::size_t rowBytes() const { return bytes; }

    /// Makes half of the noise runs of 0 and of 255, as keys of wipes have them.
    void PutRuns(Random& random);

    void Reset() const;                          ///< back to the noise
    std::vector<std::uint8_t> Contents() const;  ///< all of the memory
    const std::vector<std::uint8_t>& Noise() const { return noise; }
    bool OnlyRowsChanged(std::size_t* at) const;  ///< against the noise
    std::size_t Offset(const std::uint8_t* p) const { return static_cast<std::size_t>(p - pages->begin()); }

private:
    std::shared_ptr<GuardedPages> pages;
    std::vector<std::uint8_t> noise;
    std::uint8_t* first;
    std::ptrdiff_t step;
    std::size_t bytes, lines, allowed;
};

}  // namespace kernelcheck

#endif  // TESSELU_TESTS_KERNELS_ARENA_H
