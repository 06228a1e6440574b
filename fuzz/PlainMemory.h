#ifndef TESSELU_FUZZ_PLAINMEMORY_H
#define TESSELU_FUZZ_PLAINMEMORY_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "convert/Formats.h"

namespace fuzz {

/// Memory that holds the rows of pictures and nothing else: around them all is poisoned, and what lies
/// between them must stay as it was.
class PlainMemory {
public:
    PlainMemory();
    ~PlainMemory();
    PlainMemory(const PlainMemory&) = delete;
    PlainMemory& operator=(const PlainMemory&) = delete;

    /// Forgets all rows; the pictures to come start at an address of any alignment.
    void Clear(unsigned misaligned);

    /// Adds what a picture takes that is described by the address of its first sample and one pitch: its
    /// first plane, and if `derived` the ones that follow it without gaps.
    void Add(const Zan::FormatRecord& format, std::size_t width, std::size_t height, std::ptrdiff_t pitch,
             bool derived);

    /// Fills the memory and opens it; the address of the first samples. Null when it would be too much.
    std::uint8_t* Open(unsigned char seed);

    /// True when no byte outside of the rows has changed.
    bool IsIntactAround() const;
    /// True when no byte has changed at all.
    bool IsUntouched() const;

private:
    struct Rows {
        std::ptrdiff_t first, pitch;
        std::size_t bytes, count;
    };

    std::size_t Offset(std::ptrdiff_t at) const { return start + static_cast<std::size_t>(at - lowest); }
    std::uint8_t Expected(std::size_t offset) const { return static_cast<std::uint8_t>(offset * 37 + fill); }
    template <class Visit>
    void ForEachRow(Visit visit) const;

    std::vector<std::uint8_t> memory;
    std::vector<Rows> planes;
    std::ptrdiff_t lowest = 0, highest = 0;
    std::size_t start = 0, size = 0;
    unsigned char fill = 0;
};

}  // namespace fuzz

#endif  // TESSELU_FUZZ_PLAINMEMORY_H
