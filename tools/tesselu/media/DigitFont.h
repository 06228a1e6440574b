#ifndef TESSELU_TOOLS_MEDIA_DIGITFONT_H
#define TESSELU_TOOLS_MEDIA_DIGITFONT_H

#include "media/Raster.h"

namespace tool {

/// Writes a number at (left, top) in digits of 5 by 7 dots, each dot `scale` pixels wide, on a dark ground.
void DrawNumber(Raster& picture, unsigned number, unsigned left, unsigned top, unsigned scale);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_DIGITFONT_H
