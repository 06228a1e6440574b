#ifndef TESSELU_TOOLS_MEDIA_DIGITFONT_H
#define TESSELU_TOOLS_MEDIA_DIGITFONT_H

#include <string>

#include "media/Raster.h"

namespace tool {

/// Writes at (left, top) in characters of 5 by 7 dots, each dot `scale` pixels wide, on a dark ground. There
/// are digits, and the letters of R, G, B, Y, Cb, Cr and A; others are blank.
void DrawText(Raster& picture, const std::string& text, unsigned left, unsigned top, unsigned scale);

/// How wide that is.
unsigned WidthOfText(const std::string& text, unsigned scale);

/// The same with a number.
void DrawNumber(Raster& picture, unsigned number, unsigned left, unsigned top, unsigned scale);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_DIGITFONT_H
