#ifndef TESSELU_SRC_IMAGE_VIEWPLANE_H
#define TESSELU_SRC_IMAGE_VIEWPLANE_H

#include <TesselU/foundation/Types.h>

#include <cstddef>
#include <cstdint>

namespace Zan {

class ImageView;

/// One channel of a view as a kernel walks it: the first selected byte and the signed pitch, and the bounds of
/// the memory behind it, which nothing may leave.
struct ViewPlane {
    std::uint8_t* first = nullptr;
    std::ptrdiff_t pitch = 0;
    const std::uint8_t* begin = nullptr;  ///< lowest byte of the channel's memory
    const std::uint8_t* end = nullptr;    ///< one past its highest byte

    /// True when `rows` rows of `rowBytes` bytes, from `first` in steps of `pitch`, lie inside the memory.
    bool Holds(std::size_t rowBytes, std::size_t rows) const noexcept;

    /// How many of the `rowBytes` bytes from the start of row `row` lie inside the memory. The row must
    /// start inside.
    std::size_t Clip(std::size_t rowBytes, std::size_t row) const noexcept;
};

/// The plane of `channel` in `view`. Null pointers give an empty plane; nothing is checked beyond that.
/// Address arithmetic is done in pointer width, so a plane never wraps whatever the view holds.
ViewPlane PlaneOf(ImageView& view, ULong32 channel) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_IMAGE_VIEWPLANE_H
