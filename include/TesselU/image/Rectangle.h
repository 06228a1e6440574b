#ifndef TESSELU_IMAGE_RECTANGLE_H
#define TESSELU_IMAGE_RECTANGLE_H

#include <TesselU/foundation/Types.h>

namespace Zan {

/// A rectangle of pixels: left and top edge, width and height.
class TESSELU_API Rectangle {
public:
    /// All zero.
    Rectangle() noexcept = default;
    Rectangle(Long32 left, Long32 top, Long32 width, Long32 height) noexcept;

    Long32 getLeft() const noexcept { return left; }
    Long32 getTop() const noexcept { return top; }
    Long32 getWidth() const noexcept { return width; }
    Long32 getHeight() const noexcept { return height; }

    void setLeft(Long32 newLeft) noexcept { left = newLeft; }
    void setTop(Long32 newTop) noexcept { top = newTop; }
    void setWidth(Long32 newWidth) noexcept { width = newWidth; }
    void setHeight(Long32 newHeight) noexcept { height = newHeight; }

    /// What both rectangles cover. An empty intersection has width or height 0 and keeps the larger left and
    /// top.
    Rectangle intersection(const Rectangle& other) const noexcept;

private:
    Long32 left = 0;
    Long32 top = 0;
    Long32 width = 0;
    Long32 height = 0;
};

}  // namespace Zan

#endif  // TESSELU_IMAGE_RECTANGLE_H
