#ifndef TESSELU_SRC_GRADIENT_ZIGZAGFAMILIES_H
#define TESSELU_SRC_GRADIENT_ZIGZAGFAMILIES_H

#include "gradient/GradientMap.h"

namespace GradientGenerator {

// Bars and barn doors whose edge is a triangle wave. The cell fraction is the wave's period over the length
// that it runs along; with the picture's true aspect ratio the teeth keep their slope whatever its shape.

void ZigzagAcross(const GradientMap& map) noexcept;      ///< a bar from the left edge, the wave down its side
void ZigzagDown(const GradientMap& map) noexcept;        ///< a bar from the top edge, the wave along its side
void BarnZigzagAcross(const GradientMap& map) noexcept;  ///< a door on the vertical centre line
void BarnZigzagDown(const GradientMap& map) noexcept;    ///< a door on the horizontal centre line

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_ZIGZAGFAMILIES_H
