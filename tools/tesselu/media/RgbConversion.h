#ifndef TESSELU_TOOLS_MEDIA_RGBCONVERSION_H
#define TESSELU_TOOLS_MEDIA_RGBCONVERSION_H

#include <TesselU/convert/ColorSpaceConverter.h>

#include "media/Picture.h"
#include "media/Raster.h"

namespace tool {

/// Pictures of a run, 4:2:2 or with full chroma, as RGB, by the library's converter.
class RgbConversion {
public:
    explicit RgbConversion(const PictureFormat& format);

    /// The picture as B, G, R and a fourth byte that says nothing, as it looks on black. Valid until the next
    /// call. Throws `Failure` with the status when the library refuses.
    const Zan::Image& Convert(const Zan::Image& picture);
    /// The same into a packed RGB format of 8 bits a sample. One with alpha gets the picture's, and the
    /// colours divided by it.
    void Fill(const Zan::Image& picture, AVFrame& samples);
    /// `Fill` serves this format.
    static bool Serves(AVPixelFormat format);
    /// The picture on black as a raster; one in RGB already is taken as it is.
    Raster ToRaster(const Zan::Image& picture);

    /// Time spent in the library so far.
    double Seconds() const noexcept { return seconds; }

private:
    PictureFormat colour;  ///< without alpha
    bool hasAlpha;
    ImagePtr rgb;
    Zan::ColorSpaceConverter converter;
    double seconds = 0;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_MEDIA_RGBCONVERSION_H
