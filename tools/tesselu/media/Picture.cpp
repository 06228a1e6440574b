#include "media/Picture.h"

#include <new>

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
            format.hasAlpha ? Zan::k4224 : Zan::k422,
            Zan::kCbYCrA,
            Zan::kPacked,
            format.scan,
            FieldsOf(format.scan),
            Zan::kTopLeft,
            static_cast<float>(av_q2d(format.pixelAspect)),
            format.hasAlpha ? Zan::kShaped : Zan::kUnshaped};
}

ImagePtr Checked(ImagePtr image) {
    if (image->GetMemoryPointer(0) == nullptr) {
        throw std::bad_alloc();
    }
    return image;
}

}  // namespace

ImagePtr NewPicture(const PictureFormat& format) {
    return Checked(std::make_unique<Zan::Image>(PackedFormat(format), kAlignment));
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
