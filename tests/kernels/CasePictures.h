#ifndef TESSELU_TESTS_KERNELS_CASEPICTURES_H
#define TESSELU_TESTS_KERNELS_CASEPICTURES_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <memory>
#include <vector>

#include "kernels/Operations.h"

namespace kernelcheck {

inline Zan::ULong32 Size(std::size_t n) {
    return static_cast<Zan::ULong32>(n);
}

/// An image on memory of a case, whose rows run downwards.
inline std::shared_ptr<Zan::Image> ImageOn(const std::vector<Plane*>& planes, Zan::ColorSpaceEnum space,
                                           Zan::AggregateChannelSamplingEnum sampling, std::size_t width,
                                           std::size_t height) {
    const Zan::ImageDescriptor format(Size(width), Size(height), space, sampling,
                                      space == Zan::kYCrCb ? Zan::kCbYCrA : Zan::kBGRA, Zan::kPacked,
                                      Zan::kProgressive, Zan::kNoFields, Zan::kTopLeft, 1.0F, Zan::kUnshaped);
    std::vector<unsigned char*> memory;
    std::vector<Zan::ULong32> pitches;
    for (const Plane* plane : planes) {
        memory.push_back(plane->row());
        pitches.push_back(static_cast<Zan::ULong32>(plane->pitch()));
    }
    return std::make_shared<Zan::Image>(memory.data(), pitches.data(), format, 1U, 1U);
}

/// A byte a pixel in pictures of an odd width too, that of a view.
inline std::size_t EvenWidth(const Case& c) {
    return (c.width + 1) / 2 * 2;
}

/// A picture of its own for a case, 32-bit pixels or 4:2:2.
inline std::shared_ptr<Zan::Image> PictureOf(Case& c, Zan::AggregateChannelSamplingEnum sampling,
                                             Zan::ColorSpaceEnum space,
                                             Zan::ShapedEnum shaped = Zan::kUnshaped) {
    const bool pairs = sampling != Zan::k4444;
    const std::size_t width = pairs ? EvenWidth(c) : c.width;
    std::vector<Plane*> planes = {&c.Add((pairs ? 2 : 4) * width, c.height, 4, 0, Plane::Kind::kImage)};
    if (sampling == Zan::k4224)
        planes.push_back(&c.Add(width, c.height, 1, 0, Plane::Kind::kImage));
    auto image = ImageOn(planes, space, sampling, width, c.height);
    image->SetPixelShaping(shaped);
    return image;
}

/// The part of a picture that the case is about.
inline Zan::ImageView ViewOf(const std::shared_ptr<Zan::Image>& image, const Case& c) {
    return {image.get(),
            Zan::Rectangle(0, 0, static_cast<Zan::Long32>(c.width), static_cast<Zan::Long32>(c.height)),
            Zan::kFrame};
}

}  // namespace kernelcheck

#endif  // TESSELU_TESTS_KERNELS_CASEPICTURES_H
