#ifndef TESSELU_IMAGE_IMAGE_H
#define TESSELU_IMAGE_IMAGE_H

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>
#include <TesselU/image/ImageDescriptor.h>
#include <TesselU/image/ImageFormat.h>

namespace Zan {

/// A picture: its format, its channels and their memory. Pixel work happens in the processing classes,
/// through `ImageView`; an image must outlive the views on it.
///
/// Construction builds the channels that the format asks for; records that come with the descriptor are
/// dropped. It may adjust the format, so ask the image, not the descriptor that it was made from: the widths
/// of packed and planar 4:2:2 and of 4:2:0, and the height of 4:2:0, go up to even numbers; a width of planar
/// 4:1:1 that is no multiple of 4 becomes 0; alpha-only images become packed with the order `kBGRA`. These
/// formats have memory:
///
/// | Colour space | Packing | Sampling | Component order |
/// |---|---|---|---|
/// | `kRGB` | `kPacked` | `k4444`, `k444` | `kBGRA`, set by the image |
/// | `kYCrCb` | `kPacked` | `k4444`, `k444` | `kCbYCrA`, `kYCbCrA` |
/// | `kYCrCb` | `kPacked` | `k422` | `kCbYCrA`, `kYCbYCr` |
/// | `kYCrCb` | `kPacked` | `k4224` | `kCbYCrA` |
/// | `kYCrCb` | `kPlanar` | `k422` | `kYCbCrPlanes`, `kYPlaneCbCrPlane` |
/// | `kYCrCb` | `kPlanar` | `k420`, `k411` | any, laid out as `kYCbCrPlanes` |
/// | `kAlphaOnly` | any | any | any |
///
/// Samples have 8 bits, with `k4444` RGB and alpha-only images also 16 or 32.
///
/// Constructors never throw and report nothing. When one fails the image is empty: every accessor answers 0,
/// `GetAlphaChannelDescription` `kNoAlpha`. When only the memory could not be had, `GetMemoryPointer` is
/// null.
///
/// `bufferAlignment` and `lineAlignment` are the alignments, in bytes, of the start of each plane and of each
/// of its lines. The first must be a multiple of the second, otherwise the image has no memory.
///
/// Copies are shallow: they share one descriptor, its channels and their memory, so that what is changed
/// through one of them (an origin, a level, an added channel) is changed for all. The last of them frees it.
/// Moving leaves an empty image behind. Copies may be made and destroyed on any thread; changes are not
/// locked. A view names one object: it does not follow an image that is moved, as a growing vector does.
class TESSELU_API Image {
public:
    /// Allocates for the host and takes back, see `AlignedMemoryBuffer`.
    using AllocCallback = AlignedMemoryBuffer::AllocCallback;
    using FreeCallback = AlignedMemoryBuffer::FreeCallback;

    /// Found when the library is loaded.
    static CPUcapabilities& CPUinstructionSet;

    /// Memory of the library's own, lines on 64 bytes on a processor with SSE2, else on 32.
    Image(const ImageDescriptor& format, ULong32 bufferAlignment) noexcept;
    Image(const ImageDescriptor& format, ULong32 bufferAlignment, ULong32 lineAlignment) noexcept;
    /// One plane of the host's, `pitch` bytes a line. The image is empty if `memory` or `pitch` is 0, or if
    /// the format has further planes of colour; the alpha plane of `k4224` is allocated.
    Image(unsigned char* memory, ULong32 pitch, const ImageDescriptor& format, ULong32 bufferAlignment,
          ULong32 lineAlignment) noexcept;
    /// Planes of the host's: an address and the bytes of a line for each plane of the format. The image is
    /// empty if either array or a needed address is null. With `k4224` a null second address has the alpha
    /// plane allocated.
    Image(unsigned char** memory, ULong32* pitches, const ImageDescriptor& format, ULong32 bufferAlignment,
          ULong32 lineAlignment) noexcept;
    /// Memory from the host's callbacks. The image is empty if any of the three is null.
    Image(void* context, AllocCallback allocCallback, FreeCallback freeCallback,
          const ImageDescriptor& format, ULong32 bufferAlignment, ULong32 lineAlignment) noexcept;
    /// The same with the bytes of a line for each plane; a null array has them computed.
    Image(void* context, AllocCallback allocCallback, FreeCallback freeCallback, ULong32* pitches,
          const ImageDescriptor& format, ULong32 bufferAlignment, ULong32 lineAlignment) noexcept;
    /// The same with one number of bytes a line for every plane.
    Image(void* context, AllocCallback allocCallback, FreeCallback freeCallback, ULong32 pitch,
          const ImageDescriptor& format, ULong32 bufferAlignment, ULong32 lineAlignment) noexcept;

    Image(const Image& other) noexcept;
    Image(Image&& other) noexcept;
    Image& operator=(const Image& other) noexcept;
    Image& operator=(Image&& other) noexcept;
    ~Image();

    /// Adds an alpha channel, as `ChannelDescriptor::SetAlpha` describes one, in a plane of its own, lines on
    /// 128 bytes on a processor with SSE2, else on 32, of which `bufferAlignment` must be a multiple. A
    /// `k422` image becomes `k4224`. Returns the index of the new channel; -1 if the record does not describe
    /// alpha or the image is empty, -2 if there is no memory for it.
    Long32 AddChannel(const ChannelDescriptor& channel, ULong32 bufferAlignment) noexcept;
    Long32 AddChannel(const ChannelDescriptor& channel, ULong32 bufferAlignment,
                      ULong32 lineAlignment) noexcept;
    /// The same in memory of the host's, `pitch` bytes a line; -2 if `memory` is null.
    Long32 AddChannel(unsigned char* memory, ULong32 pitch, const ChannelDescriptor& channel,
                      ULong32 bufferAlignment, ULong32 lineAlignment) noexcept;
    /// The same in memory from the host's callbacks; -2 if any of the three is null.
    Long32 AddChannel(void* context, AllocCallback allocCallback, FreeCallback freeCallback,
                      const ChannelDescriptor& channel, ULong32 bufferAlignment,
                      ULong32 lineAlignment) noexcept;

    /// Removes an alpha channel; later channels move down, and a `k4224` image becomes `k422`. Colour
    /// channels and indices out of range are left alone. Returns 0.
    Long32 DeleteChannel(ULong32 channel) noexcept;

    float GetVersion() const noexcept;
    ULong32 GetWidth() const noexcept;   ///< in pixels
    ULong32 GetHeight() const noexcept;  ///< in lines
    float GetAspectRatio() const noexcept;
    ColorSpaceEnum GetColorSpace() const noexcept;
    AggregateChannelSamplingEnum GetChannelSampling() const noexcept;
    ComponentOrderEnum GetComponentOrder() const noexcept;
    PixelPackingEnum GetPixelPacking() const noexcept;
    ShapedEnum GetPixelShaping() const noexcept;
    ScanStyleEnum GetScanStyle() const noexcept;
    FieldPackingEnum GetFieldPacking() const noexcept;
    OriginEnum GetOrigin() const noexcept;
    ColorEnum GetColor() const noexcept;
    MemoryTypeEnum GetMemoryType() const noexcept;
    /// The image's own record, with its channels; null for an empty image.
    ImageDescriptor* GetImageDescriptor() const noexcept { return descriptor; }
    ULong32 GetNumberOfChannels() const noexcept;

    /// Says in which direction the buffer holds the picture; no pixel moves.
    void SetOrigin(OriginEnum origin) noexcept;
    void SetPixelShaping(ShapedEnum shaped) noexcept;
    void SetColor(ColorEnum color) noexcept;
    void SetMemoryType(MemoryTypeEnum memoryType) noexcept;

    /// The first byte of the plane that holds `channel`.
    void* GetMemoryPointer(ULong32 channel) const noexcept;
    ULong32 GetBufferAlignment(ULong32 channel) const noexcept;
    ULong32 GetLineAlignment(ULong32 channel) const noexcept;
    ULong32 GetWidth(ULong32 channel) const noexcept;   ///< in samples of the channel
    ULong32 GetHeight(ULong32 channel) const noexcept;  ///< in lines of the channel
    /// Bytes from one line to the next; 0 for a plane of one line.
    ULong32 GetPitch(ULong32 channel) const noexcept;
    /// The same as `GetPitch`.
    ULong32 GetBytesPerLine(ULong32 channel) const noexcept { return GetPitch(channel); }
    /// Usable bytes of the plane that holds `channel`.
    ULong32 GetMemorySize(ULong32 channel) const noexcept;

    /// Bytes of one sample of `channel`.
    float GetBytesPerChannel(ULong32 channel) const noexcept;
    /// Bytes of one pixel over all channels: 4 for `k4444`, 3 for `k444` and `k4224`, 2 for `k422`, 1.5 for
    /// `k420` and `k411`, 1 for alpha only, each with 8 bits a sample.
    float GetBytesPerPixel() const noexcept;

    /// What the first alpha channel holds; `kNoAlpha` if there is none.
    AlphaDescriptionEnum GetAlphaChannelDescription() const noexcept;
    /// Returns -1 if there is no alpha channel.
    Long32 SetAlphaChannelDescription(AlphaDescriptionEnum description) noexcept;

    /// Levels are fractions of full scale. Return 2 for a channel out of range, else 1 for a level below 0,
    /// above 1 or not a number.
    Long32 SetBlackAndWhiteLevel(float black, float white, ULong32 channel) noexcept;
    Long32 SetClampLowAndHighLevel(float low, float high, ULong32 channel) noexcept;

    /// True when the level is exactly 0.0 (1.0) in channel `first`, which must exist, and in those after it
    /// below `end`.
    bool IsBlackLevelAtZero(ULong32 first, ULong32 end) const noexcept;
    bool IsWhiteLevelAtMax(ULong32 first, ULong32 end) const noexcept;
    bool IsClampLowLevelAtZero(ULong32 first, ULong32 end) const noexcept;
    bool IsClampHighLevelAtMax(ULong32 first, ULong32 end) const noexcept;

    /// True when the first three channels have the 8-bit levels of ITU-R BT.601, black 16 and white 235 for
    /// luma and 240 for chroma, within half a code value. The component order tells which channel is luma.
    bool AreYCrCbBlackAndWhiteLevelsAtITU601() const noexcept;

private:
    void ClearAll() noexcept;
    Long32 CreateNew(unsigned char** memory, ULong32* pitches, void* context, AllocCallback allocCallback,
                     FreeCallback freeCallback, const ImageDescriptor& format, ULong32 bufferAlignment,
                     ULong32 lineAlignment) noexcept;

    ImageDescriptor* descriptor = nullptr;
};

}  // namespace Zan

#endif  // TESSELU_IMAGE_IMAGE_H
