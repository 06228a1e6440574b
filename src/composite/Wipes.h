#ifndef TESSELU_SRC_COMPOSITE_WIPES_H
#define TESSELU_SRC_COMPOSITE_WIPES_H

#include "composite/BlendPaths.h"

namespace Zan {

/// The soft wipe of 32-bit pixels: in double precision on the scalar path, in 16-bit lanes on the SSE and
/// SSE2 paths, which leave the pixels beyond their last block of eight.
void WipePixels(Path path, const KeyedJob& job, double threshold, double gain);

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_WIPES_H
