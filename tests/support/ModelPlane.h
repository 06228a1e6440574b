#ifndef TESSELU_TESTS_SUPPORT_MODELPLANE_H
#define TESSELU_TESTS_SUPPORT_MODELPLANE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace test_support {

using Byte = std::uint8_t;

/// One plane as a view selects it, in a copy of the memory around it.
struct ModelPlane {
    std::vector<Byte> memory;  ///< the plane and its guards
    std::ptrdiff_t first = 0;  ///< of the first row that is selected, in `memory`
    std::ptrdiff_t pitch = 0;
    std::ptrdiff_t begin = 0, end = 0;  ///< what belongs to the image
    bool isThere = false;

    bool Holds(std::ptrdiff_t index) const { return index >= begin && index < end; }
    Byte At(std::ptrdiff_t index) const { return memory.at(Checked(index)); }
    void Put(std::ptrdiff_t index, Byte value) { memory.at(Checked(index)) = value; }

    /// Whether `lines` rows of `bytes` bytes leave the image.
    bool IsLeftBy(std::ptrdiff_t bytes, std::ptrdiff_t lines) const {
        if (bytes == 0 || lines == 0) {
            return false;
        }
        const std::ptrdiff_t last = first + (lines - 1) * pitch;
        return std::min(first, last) < begin || std::max(first, last) + bytes > end;
    }

private:
    /// A model that leaves its image has been given a view that nobody may hand in.
    std::size_t Checked(std::ptrdiff_t index) const {
        if (!isThere || !Holds(index)) {
            throw std::out_of_range("the model left its plane");
        }
        return static_cast<std::size_t>(index);
    }
};

}  // namespace test_support

#endif  // TESSELU_TESTS_SUPPORT_MODELPLANE_H
