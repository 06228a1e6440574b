#ifndef TESSELU_IMAGE_IMAGEDESCRIPTOR_H
#define TESSELU_IMAGE_IMAGEDESCRIPTOR_H

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <TesselU/foundation/RCObject.h>
#include <TesselU/foundation/Types.h>
#include <TesselU/image/ImageFormat.h>

#include <vector>

namespace Zan {

/// One channel of an image. A plain record with value semantics; copies share the pixel memory by its
/// reference count.
struct TESSELU_API ChannelDescriptor {
    float version = -1.0F;                   ///< format version of the record
    Tuk::RCPtr<AlignedMemoryBuffer> memory;  ///< what holds the samples; channels may share a buffer
    ULong32 width = 0;                       ///< in samples of this channel
    ULong32 height = 0;                      ///< in lines of this channel
    ULong32 isAlpha = 0;                     ///< 1 marks the alpha channel, 0 a colour channel
    ULong32 bitsPerSample = 0;               ///< 8, 16 or 32
    ChannelSamplingEnum sampling = kFullSampling;
    GammaCorrectionEnum gamma = kGammaNone;
    ScanStyleEnum scanStyle = kProgressive;
    FieldPackingEnum fieldPacking = kInterleavedFields;
    AlphaDescriptionEnum alphaDescription = kAlphaVarying;
    float blackLevel = 0.0F;      ///< code value of black as a fraction of full scale
    float whiteLevel = 0.0F;      ///< code value of white, same scale
    float clampLowLevel = 0.0F;   ///< lower limit that samples stay in, same scale
    float clampHighLevel = 0.0F;  ///< upper limit, same scale

    /// Describes a colour channel: fills every field, with `isAlpha` 0 and `alphaDescription` `kNoAlpha`.
    void SetColor(float newVersion, const Tuk::RCPtr<AlignedMemoryBuffer>& newMemory, ULong32 newWidth,
                  ULong32 newHeight, ScanStyleEnum newScanStyle, FieldPackingEnum newFieldPacking,
                  ULong32 bits, ChannelSamplingEnum newSampling, GammaCorrectionEnum newGamma, float black,
                  float white, float low, float high);

    /// Describes an alpha channel at full rate, levels and clamps from 0 to 1, `kAlphaVarying`.
    void SetAlpha(float newVersion, const Tuk::RCPtr<AlignedMemoryBuffer>& newMemory, ULong32 newWidth,
                  ULong32 newHeight, ScanStyleEnum newScanStyle, FieldPackingEnum newFieldPacking,
                  ULong32 bits);

    /// The same with `memory` left alone: what a host hands to `Image::AddChannel`.
    void SetAlpha(float newVersion, ULong32 newWidth, ULong32 newHeight, ScanStyleEnum newScanStyle,
                  FieldPackingEnum newFieldPacking, ULong32 bits);
};

/// The format of an image and, once an `Image` has filled it, its channels. A plain record with value
/// semantics; copies share the channels' buffers.
struct TESSELU_API ImageDescriptor {
    float version = 0.0F;
    ULong32 width = 0;         ///< in pixels
    ULong32 height = 0;        ///< in lines
    float aspectRatio = 0.0F;  ///< of one pixel
    ColorSpaceEnum colorSpace = kRGB;
    AggregateChannelSamplingEnum channelSampling = k4444;
    ComponentOrderEnum componentOrder = kBGRA;
    PixelPackingEnum pixelPacking = kPacked;
    ShapedEnum shaped = kUnshaped;
    ScanStyleEnum scanStyle = kProgressive;
    FieldPackingEnum fieldPacking = kInterleavedFields;
    OriginEnum origin = kTopLeft;
    ColorEnum color = kFullColor;
    MemoryTypeEnum memoryType = kMemoryType0;
    AggregateBitsPerChannelEnum aggregateBits = k8BitsDefault;
    std::vector<ChannelDescriptor> channels;  ///< empty until an `Image` fills it

    /// An empty format: `aspectRatio` 1, `fieldPacking` `kNoFields`, all else 0.
    ImageDescriptor();

    /// A format in full, 8 bits a sample.
    ImageDescriptor(ULong32 width, ULong32 height, ColorSpaceEnum colorSpace,
                    AggregateChannelSamplingEnum channelSampling, ComponentOrderEnum componentOrder,
                    PixelPackingEnum pixelPacking, ScanStyleEnum scanStyle, FieldPackingEnum fieldPacking,
                    OriginEnum origin, float aspectRatio, ShapedEnum shaped);

    /// A format in full, with the bits of a sample.
    ImageDescriptor(ULong32 width, ULong32 height, ColorSpaceEnum colorSpace,
                    AggregateChannelSamplingEnum channelSampling, ComponentOrderEnum componentOrder,
                    PixelPackingEnum pixelPacking, ScanStyleEnum scanStyle, FieldPackingEnum fieldPacking,
                    OriginEnum origin, AggregateBitsPerChannelEnum aggregateBits, float aspectRatio,
                    ShapedEnum shaped);

    /// A packed `k4444` format, unshaped, 8 bits a sample; the order is `kCbYCrA` for `kYCrCb`, else `kBGRA`.
    ImageDescriptor(ULong32 width, ULong32 height, ColorSpaceEnum colorSpace, ScanStyleEnum scanStyle,
                    FieldPackingEnum fieldPacking, OriginEnum origin, float aspectRatio);

    /// The same with the bits of a sample.
    ImageDescriptor(ULong32 width, ULong32 height, ColorSpaceEnum colorSpace, ScanStyleEnum scanStyle,
                    FieldPackingEnum fieldPacking, OriginEnum origin,
                    AggregateBitsPerChannelEnum aggregateBits, float aspectRatio);

    ImageDescriptor(const ImageDescriptor& other);
    ImageDescriptor& operator=(const ImageDescriptor& other);
    ~ImageDescriptor();
};

}  // namespace Zan

#endif  // TESSELU_IMAGE_IMAGEDESCRIPTOR_H
