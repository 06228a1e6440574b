#include "media/Raster.h"

#include <algorithm>
#include <cmath>

namespace tool {

Raster::Raster(unsigned newWidth, unsigned newHeight, Rgb colour)
    : width(newWidth), height(newHeight), samples(std::size_t{newWidth} * newHeight * 3) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = colour[i % 3];
    }
}

namespace {

/// The source pixels under one pixel of the smaller picture: `first` and `last` with part of their weight.
struct Span {
    unsigned first, last;
    double firstWeight, lastWeight;

    double Weight(unsigned i) const { return i == first ? firstWeight : i == last ? lastWeight : 1.0; }
};

std::vector<Span> Spans(unsigned from, unsigned to) {
    std::vector<Span> spans(to);
    for (unsigned i = 0; i < to; ++i) {
        const double begin = static_cast<double>(i) * from / to;
        const double end = static_cast<double>(i + 1) * from / to;
        const auto first = static_cast<unsigned>(begin);
        const auto last = std::clamp(static_cast<unsigned>(std::ceil(end)) - 1, first, from - 1);
        spans[i] = {first, last, std::min(first + 1.0, end) - begin, end - last};
    }
    return spans;
}

}  // namespace

Raster ShrinkToWidth(const Raster& picture, unsigned width) {
    if (picture.width <= width) {
        return picture;
    }
    const auto height = static_cast<unsigned>(
        std::max(1L, std::lround(static_cast<double>(picture.height) * width / picture.width)));
    Raster small(width, height);
    const std::vector<Span> columns = Spans(picture.width, width);
    const std::vector<Span> rows = Spans(picture.height, height);
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            double sum[3] = {}, weights = 0;
            for (unsigned j = rows[y].first; j <= rows[y].last; ++j) {
                for (unsigned i = columns[x].first; i <= columns[x].last; ++i) {
                    const double weight = rows[y].Weight(j) * columns[x].Weight(i);
                    const std::uint8_t* pixel = picture.At(i, j);
                    for (int c = 0; c < 3; ++c) {
                        sum[c] += weight * pixel[c];
                    }
                    weights += weight;
                }
            }
            for (int c = 0; c < 3; ++c) {
                small.At(x, y)[c] = static_cast<std::uint8_t>(sum[c] / weights + 0.5);
            }
        }
    }
    return small;
}

void Place(Raster& sheet, const Raster& picture, unsigned left, unsigned top) {
    if (left >= sheet.width || top >= sheet.height) {
        return;
    }
    const unsigned columns = std::min(picture.width, sheet.width - left);
    const unsigned rows = std::min(picture.height, sheet.height - top);
    for (unsigned y = 0; y < rows; ++y) {
        std::copy_n(picture.At(0, y), std::size_t{columns} * 3, sheet.At(left, top + y));
    }
}

}  // namespace tool
