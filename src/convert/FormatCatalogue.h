#ifndef TESSELU_SRC_CONVERT_FORMATCATALOGUE_H
#define TESSELU_SRC_CONVERT_FORMATCATALOGUE_H

#include <TesselU/convert/ConverterFormat.h>

#include <cstddef>
#include <cstdint>

#include "image/ViewPlane.h"

namespace Zan {

class Image;

/// The code of an image's format; `kFmtUnknown` when it is none of the catalogue.
ConverterFormat ClassifyImage(const Image& image) noexcept;

/// Takes the shaping out of a pair of codes where the alpha of the source is constant, since shaped and
/// unshaped pictures are then the same.
void SimplifyPair(const Image& source, ConverterFormat& sourceFormat,
                  ConverterFormat& destinationFormat) noexcept;

/// True when every row that a picture of this format occupies in `planes` lies inside their memory.
bool PlanesHold(std::uint32_t format, const ViewPlane (&planes)[4], std::size_t width,
                std::size_t height) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_FORMATCATALOGUE_H
