#ifndef TESSELU_TOOLS_MEDIA_PLANES_H
#define TESSELU_TOOLS_MEDIA_PLANES_H

#include <array>

#include "media/Picture.h"

namespace tool {

/// Takes packed 4:2:2 apart into the planes Y, Cb and Cr; no sample changes.
inline void ToPlanes(const Zan::Image& picture, std::array<std::uint8_t*, 3> planes,
                     std::array<int, 3> pitches) {
    const unsigned pairs = picture.GetWidth() / 2;
    for (unsigned y = 0; y < picture.GetHeight(); ++y) {
        const std::uint8_t* in = Line(picture, y);
        std::uint8_t* luma = planes[0] + std::ptrdiff_t{pitches[0]} * y;
        std::uint8_t* cb = planes[1] + std::ptrdiff_t{pitches[1]} * y;
        std::uint8_t* cr = planes[2] + std::ptrdiff_t{pitches[2]} * y;
        for (unsigned i = 0; i < pairs; ++i) {
            cb[i] = in[4 * i];
            luma[2 * i] = in[4 * i + 1];
            cr[i] = in[4 * i + 2];
            luma[2 * i + 1] = in[4 * i + 3];
        }
    }
}

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PLANES_H
