#include <TesselU/image/Image.h>

#include <array>
#include <atomic>
#include <limits>
#include <new>
#include <optional>
#include <utility>

#include "foundation/ClassCapabilities.h"
#include "image/DescriptorQueries.h"
#include "image/ImageLayout.h"

namespace Zan {
namespace {

using BufferPtr = Tuk::RCPtr<AlignedMemoryBuffer>;

/// What an image points to: its descriptor, and how many images share it.
struct SharedDescriptor : ImageDescriptor {
    explicit SharedDescriptor(const ImageDescriptor& format) : ImageDescriptor(format) {}

    std::atomic<std::size_t> owners{1};
};

ImageDescriptor* Share(ImageDescriptor* descriptor) noexcept {
    if (descriptor) {
        static_cast<SharedDescriptor*>(descriptor)->owners.fetch_add(1, std::memory_order_relaxed);
    }
    return descriptor;
}

void Release(ImageDescriptor* descriptor) noexcept {
    auto* const shared = static_cast<SharedDescriptor*>(descriptor);
    if (shared && shared->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete shared;
    }
}

/// Where the planes of an image come from: memory of the host's, callbacks of the host's, or the library.
struct MemorySource {
    unsigned char** memory;
    ULong32* pitches;
    void* context;
    Image::AllocCallback allocCallback;
    Image::FreeCallback freeCallback;
    ULong32 bufferAlignment;
    ULong32 lineAlignment;

    bool HasCallbacks() const noexcept { return context && allocCallback && freeCallback; }
};

// A line alignment of 2 in a buffer alignment of 1 is refused, which leaves the buffer without memory.
AlignedMemoryBuffer* NewEmptyBuffer() noexcept {
    return new (std::nothrow) AlignedMemoryBuffer(0, 0, 1, 2, kNoAliasWorkAround);
}

/// A buffer for the plane `index`; a size beyond 32 bits, or memory that cannot be had, leaves it empty.
AlignedMemoryBuffer* NewPlane(const MemorySource& source, std::size_t index,
                              const PlaneLayout& plane) noexcept {
    if (source.memory) {
        return new (std::nothrow)
            AlignedMemoryBuffer(source.memory[index], source.pitches[index], plane.lines,
                                source.bufferAlignment, source.lineAlignment, kNoAliasWorkAround);
    }
    const bool pitchGiven = source.HasCallbacks() && source.pitches;
    if (!pitchGiven && plane.bytesPerLine > std::numeric_limits<ULong32>::max()) {
        return NewEmptyBuffer();
    }
    const ULong32 bytesPerLine =
        pitchGiven ? source.pitches[index] : static_cast<ULong32>(plane.bytesPerLine);
    if (source.HasCallbacks()) {
        return new (std::nothrow) AlignedMemoryBuffer(
            source.context, source.allocCallback, source.freeCallback, bytesPerLine, plane.lines,
            source.bufferAlignment, source.lineAlignment, kNoAliasWorkAround);
    }
    return new (std::nothrow) AlignedMemoryBuffer(bytesPerLine, plane.lines, source.bufferAlignment,
                                                  source.lineAlignment, kAliasWorkAround);
}

// A host must give all planes or none; only the alpha plane of 4:2:2:4 may be missing.
bool GivesPlane(const MemorySource& source, std::size_t index, const ImageDescriptor& format) noexcept {
    if (!source.memory) {
        return true;
    }
    const bool mayBeMissing = format.channelSampling == k4224 && index == 1;
    return source.pitches && (source.memory[index] || mayBeMissing);
}

void Describe(ChannelDescriptor& record, const ChannelLayout& channel, const BufferPtr& memory,
              const ImageDescriptor& format) {
    switch (channel.role) {
        case Role::kUndescribed:
            break;
        case Role::kAlpha:
            record.SetAlpha(0.0F, memory, channel.width, channel.height, format.scanStyle,
                            format.fieldPacking, channel.bits);
            break;
        default: {
            const bool isRgb = channel.role == Role::kRgb;
            const float black = isRgb ? 0.0F : kVideoBlack;
            const float white = isRgb                         ? 1.0F
                                : channel.role == Role::kLuma ? kVideoLumaWhite
                                                              : kVideoChromaWhite;
            record.SetColor(0.0F, memory, channel.width, channel.height, format.scanStyle,
                            format.fieldPacking, channel.bits, channel.sampling, kGammaVideo, black, white,
                            0.0F, 1.0F);
        }
    }
}

/// Builds the channels of `format` and their memory.
Long32 BuildChannels(ImageDescriptor& format, const MemorySource& source) {
    const std::optional<ImageLayout> layout = LayoutOf(format);
    if (!layout) {
        return kStatusBadArgument;
    }
    std::array<BufferPtr, 3> planes;
    for (std::size_t plane = 0; plane < layout->planeCount; ++plane) {
        if (!GivesPlane(source, plane, format)) {
            return kStatusBadArgument;
        }
        planes[plane] = NewPlane(source, plane, layout->planes[plane]);
    }
    format.channels.resize(layout->channelCount);
    for (std::size_t channel = 0; channel < layout->channelCount; ++channel) {
        const ChannelLayout& channelLayout = layout->channels[channel];
        Describe(format.channels[channel], channelLayout, planes[channelLayout.plane], format);
    }
    return kStatusOk;
}

ChannelDescriptor* ChannelOf(ImageDescriptor* descriptor, ULong32 channel) noexcept {
    return descriptor && channel < descriptor->channels.size() ? &descriptor->channels[channel] : nullptr;
}

const AlignedMemoryBuffer* MemoryOf(ImageDescriptor* descriptor, ULong32 channel) noexcept {
    const ChannelDescriptor* const record = ChannelOf(descriptor, channel);
    return record ? record->memory.get() : nullptr;
}

Long32 SetLevels(ChannelDescriptor* record, float ChannelDescriptor::*lowField, float low,
                 float ChannelDescriptor::*highField, float high) noexcept {
    if (!record) {
        return kStatusUnsupportedKind;
    }
    const auto isLevel = [](float level) { return level >= 0.0F && level <= 1.0F; };
    if (!isLevel(low) || !isLevel(high)) {
        return kStatusNullPointer;
    }
    record->*lowField = low;
    record->*highField = high;
    return kStatusOk;
}

// Bytes of a line, with the bits of a sample rounded up to whole bytes.
std::uint64_t LineBytes(const ChannelDescriptor& record) noexcept {
    const ULong32 bits = record.bitsPerSample;
    return std::uint64_t{record.width} * (bits / 8 + (bits % 8 != 0 ? 1 : 0));
}

/// Appends `record` with `memory` to the channels and returns its index.
Long32 AppendChannel(ImageDescriptor& descriptor, const ChannelDescriptor& record,
                     const BufferPtr& memory) noexcept {
    try {
        descriptor.channels.push_back(record);
    } catch (const std::bad_alloc&) {
        return kStatusNoPixelMemory;
    }
    descriptor.channels.back().memory = memory;
    if (descriptor.channelSampling == k422) {
        descriptor.channelSampling = k4224;
    }
    return static_cast<Long32>(descriptor.channels.size() - 1);
}

ULong32 DefaultLineAlignment(ULong32 withSSE2) noexcept {
    return Image::CPUinstructionSet.IsSSE2supported() ? withSSE2 : 32;
}

}  // namespace

constinit CPUcapabilities& Image::CPUinstructionSet = classCapabilities[kOwnerImage];

Image::Image(const ImageDescriptor& format, ULong32 bufferAlignment) noexcept
    : Image(format, bufferAlignment, DefaultLineAlignment(64)) {}

Image::Image(const ImageDescriptor& format, ULong32 bufferAlignment, ULong32 lineAlignment) noexcept {
    CreateNew(nullptr, nullptr, nullptr, nullptr, nullptr, format, bufferAlignment, lineAlignment);
}

Image::Image(unsigned char* memory, ULong32 pitch, const ImageDescriptor& format, ULong32 bufferAlignment,
             ULong32 lineAlignment) noexcept {
    if (memory && pitch != 0) {
        unsigned char* planes[] = {memory, nullptr, nullptr};
        ULong32 pitches[] = {pitch, pitch, pitch};
        CreateNew(planes, pitches, nullptr, nullptr, nullptr, format, bufferAlignment, lineAlignment);
    }
}

Image::Image(unsigned char** memory, ULong32* pitches, const ImageDescriptor& format, ULong32 bufferAlignment,
             ULong32 lineAlignment) noexcept {
    if (memory && pitches) {
        CreateNew(memory, pitches, nullptr, nullptr, nullptr, format, bufferAlignment, lineAlignment);
    }
}

Image::Image(void* context, AllocCallback allocCallback, FreeCallback freeCallback,
             const ImageDescriptor& format, ULong32 bufferAlignment, ULong32 lineAlignment) noexcept
    : Image(context, allocCallback, freeCallback, nullptr, format, bufferAlignment, lineAlignment) {}

Image::Image(void* context, AllocCallback allocCallback, FreeCallback freeCallback, ULong32* pitches,
             const ImageDescriptor& format, ULong32 bufferAlignment, ULong32 lineAlignment) noexcept {
    if (context && allocCallback && freeCallback) {
        CreateNew(nullptr, pitches, context, allocCallback, freeCallback, format, bufferAlignment,
                  lineAlignment);
    }
}

Image::Image(void* context, AllocCallback allocCallback, FreeCallback freeCallback, ULong32 pitch,
             const ImageDescriptor& format, ULong32 bufferAlignment, ULong32 lineAlignment) noexcept {
    if (context && allocCallback && freeCallback) {
        ULong32 pitches[] = {pitch, pitch, pitch};
        CreateNew(nullptr, pitches, context, allocCallback, freeCallback, format, bufferAlignment,
                  lineAlignment);
    }
}

Image::Image(const Image& other) noexcept : descriptor(Share(other.descriptor)) {}

Image::Image(Image&& other) noexcept : descriptor(std::exchange(other.descriptor, nullptr)) {}

Image& Image::operator=(const Image& other) noexcept {
    return *this = Image(other);
}

Image& Image::operator=(Image&& other) noexcept {
    Image taken(std::move(other));
    std::swap(descriptor, taken.descriptor);
    return *this;
}

Image::~Image() {
    Release(descriptor);
    ClearAll();
}

void Image::ClearAll() noexcept {
    descriptor = nullptr;
}

Long32 Image::CreateNew(unsigned char** memory, ULong32* pitches, void* context, AllocCallback allocCallback,
                        FreeCallback freeCallback, const ImageDescriptor& format, ULong32 bufferAlignment,
                        ULong32 lineAlignment) noexcept {
    ClearAll();
    Long32 status = kStatusBadArgument;
    try {
        descriptor = new SharedDescriptor(format);
        descriptor->version = 0.0F;
        descriptor->channels.clear();
        status = BuildChannels(*descriptor, {memory, pitches, context, allocCallback, freeCallback,
                                             bufferAlignment, lineAlignment});
    } catch (const std::bad_alloc&) {
        status = kStatusBadArgument;
    }
    if (status != kStatusOk) {
        Release(descriptor);
        ClearAll();
    }
    return status;
}

Long32 Image::AddChannel(const ChannelDescriptor& channel, ULong32 bufferAlignment) noexcept {
    return AddChannel(channel, bufferAlignment, DefaultLineAlignment(128));
}

Long32 Image::AddChannel(const ChannelDescriptor& channel, ULong32 bufferAlignment,
                         ULong32 lineAlignment) noexcept {
    if (!descriptor || !channel.isAlpha) {
        return kStatusBadArgument;
    }
    const std::uint64_t bytesPerLine = LineBytes(channel);
    if (bytesPerLine > std::numeric_limits<ULong32>::max()) {
        return kStatusNoPixelMemory;
    }
    const BufferPtr memory(new (std::nothrow)
                               AlignedMemoryBuffer(static_cast<ULong32>(bytesPerLine), channel.height,
                                                   bufferAlignment, lineAlignment, kNoAliasWorkAround));
    if (!memory || !memory->GetAlignedPointer()) {
        return kStatusNoPixelMemory;
    }
    return AppendChannel(*descriptor, channel, memory);
}

Long32 Image::AddChannel(unsigned char* memory, ULong32 pitch, const ChannelDescriptor& channel,
                         ULong32 bufferAlignment, ULong32 lineAlignment) noexcept {
    if (!descriptor || !channel.isAlpha) {
        return kStatusBadArgument;
    }
    if (!memory) {
        return kStatusNoPixelMemory;
    }
    const BufferPtr plane(new (std::nothrow) AlignedMemoryBuffer(
        memory, pitch, channel.height, bufferAlignment, lineAlignment, kNoAliasWorkAround));
    return plane ? AppendChannel(*descriptor, channel, plane) : kStatusNoPixelMemory;
}

Long32 Image::AddChannel(void* context, AllocCallback allocCallback, FreeCallback freeCallback,
                         const ChannelDescriptor& channel, ULong32 bufferAlignment,
                         ULong32 lineAlignment) noexcept {
    if (!descriptor || !channel.isAlpha) {
        return kStatusBadArgument;
    }
    if (!context || !allocCallback || !freeCallback) {
        return kStatusNoPixelMemory;
    }
    const std::uint64_t bytesPerLine = LineBytes(channel);
    const BufferPtr plane(bytesPerLine > std::numeric_limits<ULong32>::max()
                              ? NewEmptyBuffer()
                              : new (std::nothrow) AlignedMemoryBuffer(
                                    context, allocCallback, freeCallback, static_cast<ULong32>(bytesPerLine),
                                    channel.height, bufferAlignment, lineAlignment, kNoAliasWorkAround));
    return plane ? AppendChannel(*descriptor, channel, plane) : kStatusNoPixelMemory;
}

Long32 Image::DeleteChannel(ULong32 channel) noexcept {
    const ChannelDescriptor* const record = ChannelOf(descriptor, channel);
    if (record && record->isAlpha) {
        descriptor->channels.erase(descriptor->channels.begin() + static_cast<std::ptrdiff_t>(channel));
        if (descriptor->channelSampling == k4224) {
            descriptor->channelSampling = k422;
        }
    }
    return kStatusOk;
}

float Image::GetVersion() const noexcept {
    return descriptor ? descriptor->version : 0.0F;
}
ULong32 Image::GetWidth() const noexcept {
    return descriptor ? descriptor->width : 0;
}
ULong32 Image::GetHeight() const noexcept {
    return descriptor ? descriptor->height : 0;
}
float Image::GetAspectRatio() const noexcept {
    return descriptor ? descriptor->aspectRatio : 0.0F;
}
ColorSpaceEnum Image::GetColorSpace() const noexcept {
    return descriptor ? descriptor->colorSpace : kRGB;
}
AggregateChannelSamplingEnum Image::GetChannelSampling() const noexcept {
    return descriptor ? descriptor->channelSampling : k4444;
}
ComponentOrderEnum Image::GetComponentOrder() const noexcept {
    return descriptor ? descriptor->componentOrder : kBGRA;
}
PixelPackingEnum Image::GetPixelPacking() const noexcept {
    return descriptor ? descriptor->pixelPacking : kPacked;
}
ShapedEnum Image::GetPixelShaping() const noexcept {
    return descriptor ? descriptor->shaped : kUnshaped;
}
ScanStyleEnum Image::GetScanStyle() const noexcept {
    return descriptor ? descriptor->scanStyle : kProgressive;
}
FieldPackingEnum Image::GetFieldPacking() const noexcept {
    return descriptor ? descriptor->fieldPacking : kInterleavedFields;
}
OriginEnum Image::GetOrigin() const noexcept {
    return descriptor ? descriptor->origin : kTopLeft;
}
ColorEnum Image::GetColor() const noexcept {
    return descriptor ? descriptor->color : kFullColor;
}
MemoryTypeEnum Image::GetMemoryType() const noexcept {
    return descriptor ? descriptor->memoryType : kMemoryType0;
}
ULong32 Image::GetNumberOfChannels() const noexcept {
    return descriptor ? static_cast<ULong32>(descriptor->channels.size()) : 0;
}

void Image::SetOrigin(OriginEnum origin) noexcept {
    if (descriptor) {
        descriptor->origin = origin;
    }
}

void Image::SetPixelShaping(ShapedEnum shaped) noexcept {
    if (descriptor) {
        descriptor->shaped = shaped;
    }
}

void Image::SetColor(ColorEnum color) noexcept {
    if (descriptor) {
        descriptor->color = color;
    }
}

void Image::SetMemoryType(MemoryTypeEnum memoryType) noexcept {
    if (descriptor) {
        descriptor->memoryType = memoryType;
    }
}

void* Image::GetMemoryPointer(ULong32 channel) const noexcept {
    const AlignedMemoryBuffer* const memory = MemoryOf(descriptor, channel);
    return memory ? memory->GetAlignedPointer() : nullptr;
}

ULong32 Image::GetBufferAlignment(ULong32 channel) const noexcept {
    const AlignedMemoryBuffer* const memory = MemoryOf(descriptor, channel);
    return memory ? memory->GetBufferAlignment() : 0;
}

ULong32 Image::GetLineAlignment(ULong32 channel) const noexcept {
    const AlignedMemoryBuffer* const memory = MemoryOf(descriptor, channel);
    return memory ? memory->GetLineAlignment() : 0;
}

ULong32 Image::GetWidth(ULong32 channel) const noexcept {
    const ChannelDescriptor* const record = ChannelOf(descriptor, channel);
    return record ? record->width : 0;
}

ULong32 Image::GetHeight(ULong32 channel) const noexcept {
    const ChannelDescriptor* const record = ChannelOf(descriptor, channel);
    return record ? record->height : 0;
}

ULong32 Image::GetPitch(ULong32 channel) const noexcept {
    const AlignedMemoryBuffer* const memory = MemoryOf(descriptor, channel);
    return memory ? memory->GetPitch() : 0;
}

ULong32 Image::GetMemorySize(ULong32 channel) const noexcept {
    const AlignedMemoryBuffer* const memory = MemoryOf(descriptor, channel);
    return memory ? memory->size() : 0;
}

float Image::GetBytesPerChannel(ULong32 channel) const noexcept {
    const ChannelDescriptor* const record = ChannelOf(descriptor, channel);
    return record ? static_cast<float>(record->bitsPerSample) / 8.0F : 0.0F;
}

float Image::GetBytesPerPixel() const noexcept {
    return descriptor ? static_cast<float>(PixelBytesTimes128(*descriptor)) / 128.0F : 0.0F;
}

AlphaDescriptionEnum Image::GetAlphaChannelDescription() const noexcept {
    return descriptor ? AlphaDescriptionOf(*descriptor) : kNoAlpha;
}

Long32 Image::SetAlphaChannelDescription(AlphaDescriptionEnum description) noexcept {
    for (ULong32 channel = 0; channel < GetNumberOfChannels(); ++channel) {
        if (ChannelDescriptor& record = descriptor->channels[channel]; record.isAlpha) {
            record.alphaDescription = description;
            return kStatusOk;
        }
    }
    return kStatusBadArgument;
}

Long32 Image::SetBlackAndWhiteLevel(float black, float white, ULong32 channel) noexcept {
    return SetLevels(ChannelOf(descriptor, channel), &ChannelDescriptor::blackLevel, black,
                     &ChannelDescriptor::whiteLevel, white);
}

Long32 Image::SetClampLowAndHighLevel(float low, float high, ULong32 channel) noexcept {
    return SetLevels(ChannelOf(descriptor, channel), &ChannelDescriptor::clampLowLevel, low,
                     &ChannelDescriptor::clampHighLevel, high);
}

bool Image::IsBlackLevelAtZero(ULong32 first, ULong32 end) const noexcept {
    return descriptor && HaveLevel(*descriptor, &ChannelDescriptor::blackLevel, 0.0F, first, end);
}

bool Image::IsWhiteLevelAtMax(ULong32 first, ULong32 end) const noexcept {
    return descriptor && HaveLevel(*descriptor, &ChannelDescriptor::whiteLevel, 1.0F, first, end);
}

bool Image::IsClampLowLevelAtZero(ULong32 first, ULong32 end) const noexcept {
    return descriptor && HaveLevel(*descriptor, &ChannelDescriptor::clampLowLevel, 0.0F, first, end);
}

bool Image::IsClampHighLevelAtMax(ULong32 first, ULong32 end) const noexcept {
    return descriptor && HaveLevel(*descriptor, &ChannelDescriptor::clampHighLevel, 1.0F, first, end);
}

bool Image::AreYCrCbBlackAndWhiteLevelsAtITU601() const noexcept {
    return descriptor && HasVideoLevels(*descriptor);
}

}  // namespace Zan
