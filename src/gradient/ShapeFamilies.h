#ifndef TESSELU_SRC_GRADIENT_SHAPEFAMILIES_H
#define TESSELU_SRC_GRADIENT_SHAPEFAMILIES_H

#include "gradient/GradientMap.h"

namespace GradientGenerator {

// Shapes that grow from the centre of the picture: the fraction falls linearly from 1 there to 0 where the
// growing shape has filled the picture. The aspect ratio makes them undistorted; 1.0 fits them to the buffer.

void RectangleIris(const GradientMap& map) noexcept;
void DiamondIris(const GradientMap& map) noexcept;

void TriangleUp(const GradientMap& map) noexcept;
void TriangleRight(const GradientMap& map) noexcept;
void ArrowheadUp(const GradientMap& map) noexcept;
void ArrowheadRight(const GradientMap& map) noexcept;
void PentagonUp(const GradientMap& map) noexcept;
void FlatTopHexagon(const GradientMap& map) noexcept;
void FlatSideHexagon(const GradientMap& map) noexcept;

/// `stretch` is height over width: below 1 the ellipse is wide.
void Ellipse(const GradientMap& map, double stretch) noexcept;

/// Eyes are the flatter the smaller the cell fraction is.
void LyingEye(const GradientMap& map) noexcept;
void StandingEye(const GradientMap& map) noexcept;

void FourPointStar(const GradientMap& map) noexcept;
void FivePointStar(const GradientMap& map) noexcept;
void SixPointStar(const GradientMap& map) noexcept;

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_SHAPEFAMILIES_H
