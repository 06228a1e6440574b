#ifndef TESSELU_TOOLS_MEDIA_RGBCONVERSION_H
#define TESSELU_TOOLS_MEDIA_RGBCONVERSION_H

#include <TesselU/convert/ColorSpaceConverter.h>

#include "media/Picture.h"
#include "media/Raster.h"

namespace tool {

/// 4:2:2 pictures as RGB, by the library's converter.
class RgbConversion {
public:
    explicit RgbConversion(const PictureFormat& format);

    /// Throws `Failure` with the status when the library refuses.
    Raster Convert(Zan::Image& picture);

    /// Time spent in the library so far.
    double Seconds() const noexcept { return seconds; }
    long Pictures() const noexcept { return pictures; }

private:
    LumaWeights weights;
    ImagePtr rgb;
    Zan::ColorSpaceConverter converter;
    double seconds = 0;
    long pictures = 0;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_RGBCONVERSION_H
