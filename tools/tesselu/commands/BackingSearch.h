#ifndef TESSELU_TOOLS_COMMANDS_BACKINGSEARCH_H
#define TESSELU_TOOLS_COMMANDS_BACKINGSEARCH_H

#include <string>

#include "commands/BackingEstimate.h"
#include "commands/KeyOptions.h"
#include "media/Picture.h"
#include "media/Reader.h"

namespace tool {

/// The settings for the backing that the options tell: a colour, a place in the frame that is looked at, or
/// the border of it. `format` is that of the input's pictures. Throws `UsageError` where there is no colour.
BackingEstimate FindBacking(const KeyOptions& options, Reader& input, const PictureFormat& format);

/// Options that say the same.
std::string TextOf(const BackingEstimate& settings, double saturation);

/// The chroma plane at middle luma as a PNG file: what is keyed as it is, what is not, dark, and the axes of
/// neutral.
void DrawChromaPlane(const std::string& path, Zan::ChromaKeyerYUV& keyer, Zan::ProcessingStyleEnum style,
                     LumaWeights weights);

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_BACKINGSEARCH_H
