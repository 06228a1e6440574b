#ifndef TESSELU_TOOLS_MEDIA_RASTER_H
#define TESSELU_TOOLS_MEDIA_RASTER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tool {

using Rgb = std::array<std::uint8_t, 3>;

/// A plain RGB picture, 24 bits a pixel in the order R, G, B, without padding.
struct Raster {
    Raster() = default;
    Raster(unsigned newWidth, unsigned newHeight, Rgb colour = {0, 0, 0});

    std::uint8_t* At(unsigned x, unsigned y) { return samples.data() + (std::size_t{y} * width + x) * 3; }
    const std::uint8_t* At(unsigned x, unsigned y) const {
        return samples.data() + (std::size_t{y} * width + x) * 3;
    }

    unsigned width = 0;
    unsigned height = 0;
    std::vector<std::uint8_t> samples;
};

/// Makes a picture smaller, each pixel the mean of the area that it covers. Never makes it larger.
Raster ShrinkToWidth(const Raster& picture, unsigned width);

/// Copies `picture` into `sheet` with its top left corner at (left, top), as far as it fits.
void Place(Raster& sheet, const Raster& picture, unsigned left, unsigned top);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_RASTER_H
