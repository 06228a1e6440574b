#ifndef TESSELU_SRC_GRADIENT_EDGEFAMILIES_H
#define TESSELU_SRC_GRADIENT_EDGEFAMILIES_H

#include "gradient/GradientMap.h"

namespace GradientGenerator {

// Edge and diagonal wipes. They see the buffer's own shape: neither aspect ratio nor cell fraction enters.
// Each is drawn in the orientation that its comment tells; mirrored maps give the others.

void HorizontalBar(const GradientMap& map) noexcept;       ///< 1 at the left edge
void VerticalBar(const GradientMap& map) noexcept;         ///< 1 at the top edge
void CornerBox(const GradientMap& map) noexcept;           ///< 1 in the top left corner
void FourCorners(const GradientMap& map) noexcept;         ///< 1 in the corners, 0 in the centre
void FourBoxes(const GradientMap& map) noexcept;           ///< 1 in the centre of each quarter
void VerticalBarnDoor(const GradientMap& map) noexcept;    ///< 1 on the vertical centre line
void HorizontalBarnDoor(const GradientMap& map) noexcept;  ///< 1 on the horizontal centre line
void TopEdgeBox(const GradientMap& map) noexcept;          ///< 1 in the centre of the top edge
void RightEdgeBox(const GradientMap& map) noexcept;        ///< 1 in the centre of the right edge

void Diagonal(const GradientMap& map) noexcept;          ///< 1 in the top left corner
void VerticalBowTie(const GradientMap& map) noexcept;    ///< 1 in the middle of the top and bottom edges
void HorizontalBowTie(const GradientMap& map) noexcept;  ///< 1 in the middle of the side edges
void RisingDiagonalBarnDoor(const GradientMap& map) noexcept;   ///< 1 from bottom left to top right
void FallingDiagonalBarnDoor(const GradientMap& map) noexcept;  ///< 1 from top left to bottom right
void DiagonalCross(const GradientMap& map) noexcept;            ///< 1 on both diagonals
void DiagonalDiamond(const GradientMap& map) noexcept;          ///< 1 on the diamond through the edge centres
void VeeDown(const GradientMap& map) noexcept;                  ///< 1 in the middle of the top edge
void VeeLeft(const GradientMap& map) noexcept;                  ///< 1 in the middle of the right edge
void BarnVeeDown(const GradientMap& map) noexcept;  ///< 1 on the V from the top corners to the bottom centre
void BarnVeeLeft(const GradientMap& map) noexcept;  ///< 1 on the V from the right corners to the left centre

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_EDGEFAMILIES_H
