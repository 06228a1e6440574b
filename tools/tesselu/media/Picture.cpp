#include "media/Picture.h"

#include <new>

#include "convert/Formats.h"

namespace tool {
namespace {

constexpr Zan::ULong32 kAlignment = 64;

Zan::FieldPackingEnum FieldsOf(Zan::ScanStyleEnum scan) {
    return scan == Zan::kProgressive ? Zan::kNoFields : Zan::kInterleavedFields;
}

Zan::ImageDescriptor PackedFormat(const PictureFormat& format) {
    return {format.width,
            format.height,
            Zan::kYCrCb,
            format.hasFullChroma ? Zan::k4444
            : format.hasAlpha    ? Zan::k4224
                                 : Zan::k422,
            Zan::kCbYCrA,
            Zan::kPacked,
            format.scan,
            FieldsOf(format.scan),
            Zan::kTopLeft,
            static_cast<float>(av_q2d(format.pixelAspect)),
            format.hasAlpha ? Zan::kShaped : Zan::kUnshaped};
}

constexpr float kLow = 16.0F / 255, kHigh = 235.0F / 255;  ///< of RGB at studio levels

/// An image that the converter takes for one of the format's, whatever the format.
ImagePtr NewSamples(const PictureFormat& format, Zan::ConverterFormat samples) {
    using Zan::FormatRecord;
    const FormatRecord& record = Zan::Formats()[static_cast<std::size_t>(samples)];
    const Zan::ScanStyleEnum scan = samples == Zan::kFmtPlanar420 ? Zan::kProgressive
                                    : samples == Zan::kFmtPlanar420Interlaced && !format.IsInterlaced()
                                        ? Zan::kUpperFieldFirst
                                        : format.scan;
    const Zan::ImageDescriptor descriptor(
        format.width, format.height, record.space, record.sampling, record.order, record.packing, scan,
        FieldsOf(scan), Zan::kTopLeft, static_cast<float>(av_q2d(format.pixelAspect)),
        record.shaping == FormatRecord::Shaping::kOnlyShaped ? Zan::kShaped : Zan::kUnshaped);
    auto image = std::make_unique<Zan::Image>(descriptor, kAlignment);
    if (record.content == FormatRecord::Content::kOnlyMonochrome) {
        image->SetColor(Zan::kMonochrome);
    }
    if (record.alpha == FormatRecord::Alpha::kOnlyOpaque) {
        image->SetAlphaChannelDescription(Zan::kAlphaOpaque);
    }
    using Levels = FormatRecord::Levels;
    for (Zan::ULong32 channel = 0; channel < 3; ++channel) {
        if (record.levels == Levels::kStudio || record.levels == Levels::kStudioOpenClamp) {
            image->SetBlackAndWhiteLevel(kLow, kHigh, channel);
        }
        if (record.levels == Levels::kStudio || record.levels == Levels::kFullNarrowClamp) {
            image->SetClampLowAndHighLevel(kLow, kHigh, channel);
        }
    }
    return image;
}

ImagePtr Checked(ImagePtr image) {
    if (image->GetMemoryPointer(0) == nullptr) {
        throw std::bad_alloc();
    }
    return image;
}

}  // namespace

ImagePtr NewPicture(const PictureFormat& format) {
    return Checked(format.samples ? NewSamples(format, *format.samples)
                                  : std::make_unique<Zan::Image>(PackedFormat(format), kAlignment));
}

ImagePtr WrapPicture(const PictureFormat& format, std::uint8_t* memory, unsigned pitch) {
    return Checked(std::make_unique<Zan::Image>(memory, pitch, PackedFormat(format), 1, 1));
}

ImagePtr NewKey(const PictureFormat& format) {
    const Zan::ImageDescriptor key(format.width, format.height, Zan::kAlphaOnly, format.scan,
                                   FieldsOf(format.scan), Zan::kTopLeft, 1.0F);
    return Checked(std::make_unique<Zan::Image>(key, kAlignment));
}

ImagePtr NewRgb(unsigned width, unsigned height) {
    const Zan::ImageDescriptor rgb(width, height, Zan::kRGB, Zan::kProgressive, Zan::kNoFields, Zan::kTopLeft,
                                   1.0F);
    return Checked(std::make_unique<Zan::Image>(rgb, kAlignment));
}

}  // namespace tool
