#ifndef TESSELU_TOOLS_MEDIA_CONTACTSHEET_H
#define TESSELU_TOOLS_MEDIA_CONTACTSHEET_H

#include <string>
#include <vector>

#include "media/Raster.h"
#include "media/RgbConversion.h"
#include "run/OutputFile.h"

namespace tool {

/// Small pictures in a grid on one large one, row after row.
Raster Grid(const std::vector<Raster>& cells, unsigned columns, unsigned gap);

/// Twelve moments of a run, from its first picture to its last, four to a row, as a PNG file.
class ContactSheet {
public:
    static constexpr long kMoments = 12;
    static constexpr unsigned kColumns = 4;
    static constexpr unsigned kCellWidth = 320;  ///< wider pictures are made smaller
    static constexpr unsigned kGap = 4;

    ContactSheet(const std::string& path, const PictureFormat& format, long pictures);

    /// To be called with every picture of the run, in order.
    void Look(const Zan::Image& picture);
    void Finish();
    /// Time spent in the library so far.
    double LibrarySeconds() const noexcept { return conversion.Seconds(); }

private:
    long pictures;
    long seen = 0;
    OutputFile file;
    RgbConversion conversion;
    std::vector<Raster> cells;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_CONTACTSHEET_H
