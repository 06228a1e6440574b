#ifndef TESSELU_GALLERY_GALLERY_H
#define TESSELU_GALLERY_GALLERY_H

#include <TesselU/TesselU.h>

#include <functional>
#include <string>

#include "media/PngEncoder.h"
#include "media/Reader.h"

namespace gallery {

using namespace Zan;
using tool::ImagePtr;
using tool::Line;
using tool::Whole;

constexpr double kHalfWay = 0.5;

/// Throws for any status but that of success.
void Check(Long32 status);

inline ULong32* Words(const ImagePtr& image, ULong32 channel = 0) {
    return static_cast<ULong32*>(image->GetMemoryPointer(channel));
}

inline Long32 Pitch(const ImagePtr& image, ULong32 channel = 0) {
    return static_cast<Long32>(image->GetPitch(channel));
}

/// Two pictures, and what operations make of them: a file in `folder` and a line of text for each.
class Gallery {
public:
    Gallery(const std::string& a, const std::string& b, std::string newFolder);

    // The families, each in a file of its own.
    void Compositing();
    void PlainMemory();
    void Conversions();
    /// Tone and colour, each beside the untouched picture.
    void Tone();
    void Masks();
    void Keys();
    void Overlays();
    void Filters();

private:
    // ---- Showing

    /// What `make` draws.
    void Show(const char* family, const char* operation, const std::function<void(ImageView&)>& make);
    /// The same beside the first picture.
    void Beside(const char* operation, const std::function<void(ImageView&)>& make);
    void Write(const char* family, const char* operation, const tool::Raster& raster);
    tool::Raster RasterOf(const Image& rgb) const;

    // ---- Pictures

    ImagePtr Load(tool::Reader& reader) const;
    ImagePtr New(ConverterFormat samples) const;
    ImagePtr WithAlpha(const ImagePtr& picture) const;
    ImagePtr Converted(const ImagePtr& picture, ConverterFormat samples);
    Long32 Side(double part) const;
    void Copy(const ImagePtr& from, ImageView& to) const;
    /// Grey to opaque RGB.
    void Spread(const Image& grey, ImageView& to) const;
    void DrawKey(ULong32 pattern);
    void DrawMask(Image& mask, ULong32 shape, float softness) const;

    // ---- What single families need

    void AoverB(ImageView& out);
    template <class Operation>
    void On422(Operation& operation, ImageView& out);
    void Corrected(const BaseCC::tagBASECOLORCORRINFO& record, ImageView& out);
    void Adjusted(ColorAdjustment& adjustment, ImageView& out);
    void ByAlpha(ImageView& out);
    void Measured(const char* operation, bool byColumn);
    void ForOpaque(ImageView& view) const;
    void Crossing();

    std::string folder;
    tool::PictureFormat format;
    ImagePtr rgbA, rgbB, key, oval;
    ZanCompositor compositor;
    ColorSpaceConverter converter;
    MixupPosition::Mixup mixup;
    int count = 0;
};

}  // namespace gallery

#endif  // TESSELU_GALLERY_GALLERY_H
