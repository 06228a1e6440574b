#ifndef TESSELU_TOOLS_COMMANDS_SCOPEPICTURE_H
#define TESSELU_TOOLS_COMMANDS_SCOPEPICTURE_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "media/Raster.h"

namespace tool {

/// How often each of the 256 levels occurs.
using Counts = std::array<std::uint32_t, 256>;

/// One component of a picture.
struct Trace {
    std::string name;
    Rgb colour;                        ///< that it is drawn in
    unsigned low = 0, high = 255;      ///< legal levels
    std::vector<Counts> columns = {};  ///< of the picture, or one for all of it
};

/// A bar for each level of each component, one component above the other. A bar's height is the square root
/// of the count, and the highest fills the panel. Levels that are not legal are red.
Raster DrawHistograms(const std::vector<Trace>& traces);

/// Levels over the columns of the picture, one component beside the other, white at the top. A level is the
/// brighter the more often its column has it.
Raster DrawWaveforms(const std::vector<Trace>& traces);

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_SCOPEPICTURE_H
