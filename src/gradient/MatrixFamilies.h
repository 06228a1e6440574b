#ifndef TESSELU_SRC_GRADIENT_MATRIXFAMILIES_H
#define TESSELU_SRC_GRADIENT_MATRIXFAMILIES_H

#include "gradient/GradientMap.h"

namespace GradientGenerator {

// The picture in cells that change one after the other. The cell fraction is a cell's height over the
// picture's, at most a half; with the picture's true aspect ratio cells are square. The first cell is at 1,
// the last of n at 1/n. Where several paths run at once n counts the cells of one of them; an odd middle
// belongs to the path from the top left.

void RowSnake(const GradientMap& map) noexcept;
void ColumnSnake(const GradientMap& map) noexcept;
void DiagonalSnake(const GradientMap& map) noexcept;

void ClockwiseSpiral(const GradientMap& map) noexcept;         ///< inwards, along the top first
void CounterClockwiseSpiral(const GradientMap& map) noexcept;  ///< inwards, down the left side first

void MirroredColumnSnakes(const GradientMap& map) noexcept;  ///< from both top corners to the middle column
void MirroredRowSnakes(const GradientMap& map) noexcept;     ///< from both left corners to the middle row
void OpposedColumnSnakes(
    const GradientMap& map) noexcept;  ///< from the top left, and turned about the centre
void OpposedRowSnakes(const GradientMap& map) noexcept;
void OpposedDiagonalSnakes(const GradientMap& map) noexcept;

// Spirals from the outer corners of the halves or quarters of the picture.
void BoxesLeftAndRight(const GradientMap& map) noexcept;    ///< down the outer sides first
void BoxesAboveAndBelow(const GradientMap& map) noexcept;   ///< from the left, along the outer edges first
void FourBoxesVertical(const GradientMap& map) noexcept;    ///< along the outer sides first
void FourBoxesHorizontal(const GradientMap& map) noexcept;  ///< along the top and bottom edges first

void ColumnWaterfall(const GradientMap& map) noexcept;  ///< columns downwards, from the left
void RowWaterfall(const GradientMap& map) noexcept;     ///< rows to the right, from the top

}  // namespace GradientGenerator

#endif  // TESSELU_SRC_GRADIENT_MATRIXFAMILIES_H
