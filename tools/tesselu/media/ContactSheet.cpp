#include "media/ContactSheet.h"

#include <algorithm>

#include "media/PngEncoder.h"

namespace tool {

Raster Grid(const std::vector<Raster>& cells, unsigned columns, unsigned gap) {
    unsigned width = 0, height = 0;
    for (const Raster& cell : cells) {
        width = std::max(width, cell.width);
        height = std::max(height, cell.height);
    }
    const auto rows = (static_cast<unsigned>(cells.size()) + columns - 1) / columns;
    constexpr Rgb kBackground = {24, 24, 24};
    Raster sheet(columns * (width + gap) + gap, rows * (height + gap) + gap, kBackground);
    for (unsigned i = 0; i < cells.size(); ++i) {
        Place(sheet, cells[i], gap + i % columns * (width + gap), gap + i / columns * (height + gap));
    }
    return sheet;
}

ContactSheet::ContactSheet(const std::string& path, const PictureFormat& format, long newPictures)
    : pictures(newPictures), file(path), conversion(format) {}

void ContactSheet::Look(const Zan::Image& picture) {
    // A run of less than twelve pictures shows some of them more than once.
    const auto wanted = [this](long moment) {
        return (moment * (pictures - 1) * 2 + kMoments - 1) / (2 * (kMoments - 1));
    };
    const auto have = static_cast<long>(cells.size());
    if (have < kMoments && wanted(have) == seen) {
        const Raster cell = ShrinkToWidth(conversion.ToRaster(picture), kCellWidth);
        for (long moment = have; moment < kMoments && wanted(moment) == seen; ++moment) {
            cells.push_back(cell);
        }
    }
    ++seen;
}

void ContactSheet::Finish() {
    WritePng(file, Grid(cells, kColumns, kGap));
}

}  // namespace tool
