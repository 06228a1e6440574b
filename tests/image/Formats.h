#ifndef TESSELU_TESTS_IMAGE_FORMATS_H
#define TESSELU_TESTS_IMAGE_FORMATS_H

#include <TesselU/image/ImageDescriptor.h>

namespace Zan::test {

inline ImageDescriptor Format(ULong32 width, ULong32 height, ColorSpaceEnum space,
                              AggregateChannelSamplingEnum sampling, ComponentOrderEnum order,
                              PixelPackingEnum packing = kPacked,
                              AggregateBitsPerChannelEnum bits = k8BitsDefault) {
    return ImageDescriptor(width, height, space, sampling, order, packing, kUpperFieldFirst,
                           kInterleavedFields, kTopLeft, bits, 1.0F, kUnshaped);
}

inline ImageDescriptor Rgb32(ULong32 width, ULong32 height,
                             AggregateBitsPerChannelEnum bits = k8BitsDefault) {
    return Format(width, height, kRGB, k4444, kBGRA, kPacked, bits);
}
inline ImageDescriptor Rgb24(ULong32 width, ULong32 height) {
    return Format(width, height, kRGB, k444, kBGRA);
}
inline ImageDescriptor Uyvy(ULong32 width, ULong32 height) {
    return Format(width, height, kYCrCb, k422, kCbYCrA);
}
inline ImageDescriptor UyvyWithAlpha(ULong32 width, ULong32 height) {
    return Format(width, height, kYCrCb, k4224, kCbYCrA);
}
inline ImageDescriptor Planar(ULong32 width, ULong32 height, AggregateChannelSamplingEnum sampling,
                              ComponentOrderEnum order = kYCbCrPlanes) {
    return Format(width, height, kYCrCb, sampling, order, kPlanar);
}
inline ImageDescriptor Alpha(ULong32 width, ULong32 height,
                             AggregateBitsPerChannelEnum bits = k8BitsDefault) {
    return Format(width, height, kAlphaOnly, k4444, kBGRA, kPacked, bits);
}

}  // namespace Zan::test

#endif  // TESSELU_TESTS_IMAGE_FORMATS_H
