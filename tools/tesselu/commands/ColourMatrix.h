#ifndef TESSELU_TOOLS_COMMANDS_COLOURMATRIX_H
#define TESSELU_TOOLS_COMMANDS_COLOURMATRIX_H

#include <TesselU/convert/ColorSpaceConverter.h>

#include <array>
#include <optional>
#include <string>

#include "commands/Routes.h"
#include "media/Picture.h"

namespace tool {

/// A matrix of the library, row after row, and its offsets before and after it.
struct ColourMatrix {
    std::array<double, 16> matrix{};
    std::optional<std::array<double, 8>> offsets = {};
};

/// Between YCrCb at video levels and RGB from `low` to `high`, with luma weights other than the library's
/// own, which are those of ITU-R BT.601. In memory order: Cb, Y, Cr, A and B, G, R, A.
ColourMatrix MatrixOf(LumaWeights weights, Sense sense, double low, double high);

/// The same between YCrCb and RGB from 0 to 255; none where the library's own does it.
std::optional<ColourMatrix> RgbMatrixOf(LumaWeights weights, Sense sense);

/// By the matrix, or by the library's own. Throws `Failure` naming the work when the library refused it.
void ConvertBy(const std::string& work, Zan::ColorSpaceConverter& converter, Zan::ImageView& from,
               Zan::ImageView& to, std::optional<ColourMatrix> matrix = {});

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_COLOURMATRIX_H
