#ifndef TESSELU_TOOLS_MEDIA_PICTURE_H
#define TESSELU_TOOLS_MEDIA_PICTURE_H

#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <cstdint>
#include <memory>
#include <optional>

#include "media/Libav.h"
#include "media/Rates.h"

namespace tool {

struct FrameSize {
    unsigned width = 0, height = 0;
};

constexpr unsigned kSmallestSide = 8;
constexpr unsigned kLargestSide = 16384;

/// The luma weights behind the YCrCb samples of a picture.
enum class LumaWeights { kBt601, kBt709, kBt2020 };

/// What pictures of one place in a run share: packed 4:2:2, in the order Cb, Y0, Cr, Y1, at video levels.
/// With alpha they have a plane of it beside, and colours that are multiplied with it (shaped), so that what
/// is transparent is black. With full chroma a pixel is Cb, Y, Cr and alpha, which is 255 where there is
/// none. An effect may ask for other samples on either side of it.
struct PictureFormat {
    unsigned width = 0;   ///< pixels, even
    unsigned height = 0;  ///< lines
    Zan::ScanStyleEnum scan = Zan::kProgressive;
    LumaWeights weights = LumaWeights::kBt601;
    AVRational rate{25, 1};        ///< pictures a second
    AVRational pixelAspect{1, 1};  ///< width of a pixel over its height
    bool hasAlpha = false;
    bool hasFullChroma = false;
    bool comesShaped = false;  ///< colours of inputs are multiplied by their alpha already
    std::optional<Zan::ConverterFormat> samples = {};  ///< else as told above

    Zan::ConverterFormat Samples() const noexcept {
        return samples         ? *samples
               : hasFullChroma ? (hasAlpha ? Zan::kFmtCbYCrAShaped : Zan::kFmtCbYCrA)
               : hasAlpha      ? Zan::kFmtCbYCrY4Shaped
                               : Zan::kFmtCbYCrY;
    }
    bool IsInterlaced() const noexcept { return scan != Zan::kProgressive; }
    double Aspect() const noexcept { return av_q2d(pixelAspect) * width / height; }
};

using ImagePtr = std::unique_ptr<Zan::Image>;

/// The channel of alpha in a picture that has it.
constexpr Zan::ULong32 kAlphaChannel = 3;

/// A picture with memory of its own. Throws `std::bad_alloc`.
ImagePtr NewPicture(const PictureFormat& format);

/// A picture of the run's own samples, without alpha, in memory that outlives it.
ImagePtr WrapPicture(const PictureFormat& format, std::uint8_t* memory, unsigned pitch);

/// A plane of one byte a pixel, of the size and scan of the pictures.
ImagePtr NewKey(const PictureFormat& format);

/// An RGB picture of 32 bits a pixel.
ImagePtr NewRgb(unsigned width, unsigned height);

/// Line `y` of the plane of a channel.
inline std::uint8_t* Line(const Zan::Image& image, unsigned y, Zan::ULong32 channel = 0) {
    return static_cast<std::uint8_t*>(image.GetMemoryPointer(channel)) +
           std::size_t{image.GetPitch(channel)} * y;
}

inline bool HasAlpha(const Zan::Image& image) {
    return image.GetChannelSampling() == Zan::k4224;
}

/// The whole of `image`, or one of its fields.
inline Zan::ImageView Whole(Zan::Image& image, Zan::WhichFieldEnum field = Zan::kFrame) {
    return {&image,
            {0, 0, static_cast<Zan::Long32>(image.GetWidth()), static_cast<Zan::Long32>(image.GetHeight())},
            field};
}

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_PICTURE_H
