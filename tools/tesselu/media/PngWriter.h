#ifndef TESSELU_TOOLS_MEDIA_PNGWRITER_H
#define TESSELU_TOOLS_MEDIA_PNGWRITER_H

#include <string>

#include "media/Raster.h"

namespace tool {

/// Writes `picture` to a PNG file of that name. Throws `Failure`; the file is then left as it is.
void WritePng(const std::string& path, const Raster& picture);

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PNGWRITER_H
