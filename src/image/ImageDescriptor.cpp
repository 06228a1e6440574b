#include <TesselU/image/ImageDescriptor.h>

namespace Zan {
namespace {

// No format has more than four channels: with room for them filling one in does not reallocate.
constexpr std::size_t kUsualChannels = 4;

}  // namespace

void ChannelDescriptor::SetColor(float newVersion, const Tuk::RCPtr<AlignedMemoryBuffer>& newMemory,
                                 ULong32 newWidth, ULong32 newHeight, ScanStyleEnum newScanStyle,
                                 FieldPackingEnum newFieldPacking, ULong32 bits,
                                 ChannelSamplingEnum newSampling, GammaCorrectionEnum newGamma, float black,
                                 float white, float low, float high) {
    version = newVersion;
    memory = newMemory;
    width = newWidth;
    height = newHeight;
    isAlpha = 0;
    bitsPerSample = bits;
    sampling = newSampling;
    gamma = newGamma;
    scanStyle = newScanStyle;
    fieldPacking = newFieldPacking;
    alphaDescription = kNoAlpha;
    blackLevel = black;
    whiteLevel = white;
    clampLowLevel = low;
    clampHighLevel = high;
}

void ChannelDescriptor::SetAlpha(float newVersion, const Tuk::RCPtr<AlignedMemoryBuffer>& newMemory,
                                 ULong32 newWidth, ULong32 newHeight, ScanStyleEnum newScanStyle,
                                 FieldPackingEnum newFieldPacking, ULong32 bits) {
    memory = newMemory;
    SetAlpha(newVersion, newWidth, newHeight, newScanStyle, newFieldPacking, bits);
}

void ChannelDescriptor::SetAlpha(float newVersion, ULong32 newWidth, ULong32 newHeight,
                                 ScanStyleEnum newScanStyle, FieldPackingEnum newFieldPacking, ULong32 bits) {
    version = newVersion;
    width = newWidth;
    height = newHeight;
    isAlpha = 1;
    bitsPerSample = bits;
    sampling = kFullSampling;
    gamma = kGammaNone;
    scanStyle = newScanStyle;
    fieldPacking = newFieldPacking;
    alphaDescription = kAlphaVarying;
    blackLevel = 0.0F;
    whiteLevel = 1.0F;
    clampLowLevel = 0.0F;
    clampHighLevel = 1.0F;
}

ImageDescriptor::ImageDescriptor() : aspectRatio(1.0F), fieldPacking(kNoFields) {
    channels.reserve(kUsualChannels);
}

ImageDescriptor::ImageDescriptor(ULong32 pixels, ULong32 lines, ColorSpaceEnum space,
                                 AggregateChannelSamplingEnum sampling, ComponentOrderEnum order,
                                 PixelPackingEnum packing, ScanStyleEnum scan, FieldPackingEnum fields,
                                 OriginEnum firstLine, float aspect, ShapedEnum shaping)
    : ImageDescriptor(pixels, lines, space, sampling, order, packing, scan, fields, firstLine, k8BitsDefault,
                      aspect, shaping) {}

ImageDescriptor::ImageDescriptor(ULong32 pixels, ULong32 lines, ColorSpaceEnum space,
                                 AggregateChannelSamplingEnum sampling, ComponentOrderEnum order,
                                 PixelPackingEnum packing, ScanStyleEnum scan, FieldPackingEnum fields,
                                 OriginEnum firstLine, AggregateBitsPerChannelEnum bits, float aspect,
                                 ShapedEnum shaping)
    : width(pixels),
      height(lines),
      aspectRatio(aspect),
      colorSpace(space),
      channelSampling(sampling),
      componentOrder(order),
      pixelPacking(packing),
      shaped(shaping),
      scanStyle(scan),
      fieldPacking(fields),
      origin(firstLine),
      aggregateBits(bits) {
    channels.reserve(kUsualChannels);
}

ImageDescriptor::ImageDescriptor(ULong32 pixels, ULong32 lines, ColorSpaceEnum space, ScanStyleEnum scan,
                                 FieldPackingEnum fields, OriginEnum firstLine, float aspect)
    : ImageDescriptor(pixels, lines, space, scan, fields, firstLine, k8BitsDefault, aspect) {}

ImageDescriptor::ImageDescriptor(ULong32 pixels, ULong32 lines, ColorSpaceEnum space, ScanStyleEnum scan,
                                 FieldPackingEnum fields, OriginEnum firstLine,
                                 AggregateBitsPerChannelEnum bits, float aspect)
    : ImageDescriptor(pixels, lines, space, k4444, space == kYCrCb ? kCbYCrA : kBGRA, kPacked, scan, fields,
                      firstLine, bits, aspect, kUnshaped) {}

ImageDescriptor::ImageDescriptor(const ImageDescriptor& other) : ImageDescriptor() {
    *this = other;
}

ImageDescriptor& ImageDescriptor::operator=(const ImageDescriptor& other) = default;

ImageDescriptor::~ImageDescriptor() = default;

}  // namespace Zan
