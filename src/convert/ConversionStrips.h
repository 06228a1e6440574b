#ifndef TESSELU_SRC_CONVERT_CONVERSIONSTRIPS_H
#define TESSELU_SRC_CONVERT_CONVERSIONSTRIPS_H

#include <TesselU/foundation/Types.h>

#include "convert/ConversionPlan.h"

// Strips of one picture that are converted at the same time. Where chroma has half height and a strip starts
// on an odd line, or has no whole number of bands, its first line of chroma is also the last one of the strip
// above. The lower strip alone writes it, as it would if the strips came one after the other.

namespace Zan {

/// True when a strip of `lines` lines from line `top` of the destination makes a line of chroma that the
/// strip below makes, too. There is never more than one.
bool SharesLastChroma(const ConversionPlan& plan, Long32 top, std::size_t lines) noexcept;

/// Runs a strip without its last line of chroma. The plan is good for no second run.
void RunButLastChroma(ConversionPlan& plan, std::size_t lines) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_CONVERSIONSTRIPS_H
