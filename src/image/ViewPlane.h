#ifndef TESSELU_SRC_IMAGE_VIEWPLANE_H
#define TESSELU_SRC_IMAGE_VIEWPLANE_H

#include <TesselU/foundation/Types.h>

#include <cstddef>
#include <cstdint>

namespace Zan {

class ImageView;

/// One channel of a view as a kernel walks it: the first selected byte and the signed pitch, and the bounds
/// of the memory behind it, which nothing may leave.
struct ViewPlane {
    std::uint8_t* first = nullptr;
    std::ptrdiff_t pitch = 0;
    const std::uint8_t* begin = nullptr;  ///< lowest byte of the channel's memory
    const std::uint8_t* end = nullptr;    ///< one past its highest byte

    /// True when `rows` rows of `rowBytes` bytes, from `first` in steps of `pitch`, lie inside the memory.
    /// Without a pitch there is one row. Nothing lies inside every memory.
    bool Holds(std::size_t rowBytes, std::size_t rows) const noexcept;

    /// How many of the `rowBytes` bytes from the start of row `row` lie inside the memory; 0 for a row that
    /// starts outside.
    std::size_t Clip(std::size_t rowBytes, std::size_t row) const noexcept;
};

/// The plane of `channel` in `view`; what the view answers as pitch and memory pointer is `pitch` and
/// `first`. A view without memory in that channel gives an empty plane; nothing is checked beyond that, so
/// `first` may lie outside the bounds. Addresses never wrap, whatever the view holds.
ViewPlane PlaneOf(const ImageView& view, ULong32 channel) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_IMAGE_VIEWPLANE_H
