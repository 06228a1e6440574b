#ifndef TESSELU_SRC_GRADIENT_ROTARYFAMILIES_H
#define TESSELU_SRC_GRADIENT_ROTARYFAMILIES_H

#include "gradient/GradientMap.h"

namespace GradientGenerator {

// Patterns made of angles about pivots, in turns: 0 points down, 0.25 to the right. They see the picture in
// the shape that the aspect ratio gives it; only diagonal sweeps do not. What is drawn for a half of the
// picture only is completed by its image.

/// From `start` and half a turn on, `turns` times through 0 to 1 around the centre.
void Clock(const GradientMap& map, double start, double turns) noexcept;

// Once from 1 to 0 about a pivot in the centre of an edge, or in a corner.
void TopSweep(const GradientMap& map) noexcept;          ///< clockwise, 1 on the right
void RightSweep(const GradientMap& map) noexcept;        ///< clockwise, 1 at the bottom
void BottomSweep(const GradientMap& map) noexcept;       ///< clockwise, 1 on the left
void LeftSweep(const GradientMap& map) noexcept;         ///< clockwise, 1 at the top
void TopLeftSweep(const GradientMap& map) noexcept;      ///< clockwise, 1 along the top
void BottomLeftSweep(const GradientMap& map) noexcept;   ///< counter-clockwise, 1 along the bottom
void BottomRightSweep(const GradientMap& map) noexcept;  ///< clockwise, 1 along the bottom
void TopRightSweep(const GradientMap& map) noexcept;     ///< counter-clockwise, 1 along the top

// The sweep from an edge in that edge's half of the picture; the other half is turned about the centre if the
// sweeps are parallel, mirrored if they are opposite.
void ParallelTopSweeps(const GradientMap& map) noexcept;
void ParallelLeftSweeps(const GradientMap& map) noexcept;
void OppositeTopSweeps(const GradientMap& map) noexcept;
void OppositeLeftSweeps(const GradientMap& map) noexcept;
/// From the top edge down to the diagonal about the top left corner, from the bottom edge up about the other.
void DiagonalSweeps(const GradientMap& map) noexcept;

// The angle away from an axis, to both sides.
void CentreTopFan(const GradientMap& map) noexcept;    ///< 1 straight up, 0 straight down
void CentreRightFan(const GradientMap& map) noexcept;  ///< 1 to the right, 0 to the left
void TopFan(const GradientMap& map) noexcept;          ///< 0 straight down from the top edge, 0.5 along it
void LeftFan(const GradientMap& map) noexcept;         ///< 0 straight across from the left edge, 0.5 along it
/// 0 on the axis, `scale` / 4 across it; about the centre of the picture, or about those of two edges.
void VerticalFansFromCentre(const GradientMap& map, double scale) noexcept;
void HorizontalFansFromCentre(const GradientMap& map, double scale) noexcept;
void VerticalFansFromEdges(const GradientMap& map, double scale) noexcept;
void HorizontalFansFromEdges(const GradientMap& map, double scale) noexcept;

void TopSaloonDoor(const GradientMap& map) noexcept;   ///< about the upper corners, 1 along the top edge
void LeftSaloonDoor(const GradientMap& map) noexcept;  ///< about the left corners, 1 along the left edge
/// A whole turn about the middle of each half of the picture, 1 on the outer side of the ray to the right
/// (up).
void RightWindshield(const GradientMap& map) noexcept;
void UpWindshield(const GradientMap& map) noexcept;

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_ROTARYFAMILIES_H
