#ifndef TESSELU_TOOLS_MEDIA_PICTURE_H
#define TESSELU_TOOLS_MEDIA_PICTURE_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <cstdint>
#include <memory>

#include "media/Libav.h"

namespace tool {

/// The luma weights behind the YCrCb samples of a picture.
enum class LumaWeights { kBt601, kBt709 };

/// What all pictures of one run share: packed 4:2:2, in the order Cb, Y0, Cr, Y1.
struct PictureFormat {
    unsigned width = 0;   ///< pixels, even
    unsigned height = 0;  ///< lines
    Zan::ScanStyleEnum scan = Zan::kProgressive;
    LumaWeights weights = LumaWeights::kBt601;
    AVRational rate{25, 1};        ///< pictures a second
    AVRational pixelAspect{1, 1};  ///< width of a pixel over its height

    bool IsInterlaced() const noexcept { return scan != Zan::kProgressive; }
    double Aspect() const noexcept { return av_q2d(pixelAspect) * width / height; }
};

constexpr unsigned kLargestSide = 16384;

using ImagePtr = std::unique_ptr<Zan::Image>;

/// An empty 4:2:2 picture. Throws `std::bad_alloc`.
ImagePtr NewPicture(const PictureFormat& format);

/// The 4:2:2 picture that lies in `frame`, which must outlive it.
ImagePtr WrapPicture(const PictureFormat& format, AVFrame& frame);

/// A plane of one byte a pixel, of the size and scan of the pictures.
ImagePtr NewKey(const PictureFormat& format);

/// An RGB picture of 32 bits a pixel.
ImagePtr NewRgb(unsigned width, unsigned height);

/// Line `y` of the first plane.
inline std::uint8_t* Line(const Zan::Image& image, unsigned y) {
    return static_cast<std::uint8_t*>(image.GetMemoryPointer(0)) + std::size_t{image.GetPitch(0)} * y;
}

/// The whole of `image`, or one of its fields.
inline Zan::ImageView Whole(Zan::Image& image, Zan::WhichFieldEnum field = Zan::kFrame) {
    return {&image,
            {0, 0, static_cast<Zan::Long32>(image.GetWidth()), static_cast<Zan::Long32>(image.GetHeight())},
            field};
}

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PICTURE_H
