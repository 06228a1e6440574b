#include "HostilePicture.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace fuzz {

namespace {

using namespace Zan;

// More than this is refused as if memory had run out.
constexpr std::size_t kMostBytes = std::size_t{1} << 18;

ULong32 Side(Input& input) {
    return input.Once(32) ? input.Raw<ULong32>() : input.Below(input.Once(8) ? 300 : 48);
}

/// Of a format that the converter knows, or of any kind if `known` is null.
ImageDescriptor AnyDescriptor(Input& input, const FormatRecord* known) {
    ImageDescriptor format;
    format.width = Side(input);
    format.height = Side(input);
    if (known == nullptr) {
        format.colorSpace = input.Enumeration<ColorSpaceEnum>(4);
        format.channelSampling = input.Enumeration<AggregateChannelSamplingEnum>(6);
        format.componentOrder = input.Enumeration<ComponentOrderEnum>(6);
        format.pixelPacking = input.Enumeration<PixelPackingEnum>(2);
    } else {
        format.colorSpace = known->space;
        format.channelSampling = known->sampling;
        format.componentOrder = known->order;
        format.pixelPacking = known->packing;
    }
    format.shaped = input.Enumeration<ShapedEnum>(3);
    format.scanStyle = input.Enumeration<ScanStyleEnum>(3);
    format.fieldPacking = input.Enumeration<FieldPackingEnum>(3);
    format.origin = input.Enumeration<OriginEnum>(2);
    format.color = input.Enumeration<ColorEnum>(4);
    if (known != nullptr && !input.Once(4)) {
        using Record = FormatRecord;
        format.shaped = known->shaping == Record::Shaping::kOnlyShaped ? kShaped : kUnshaped;
        if (known->scan != Record::Scan::kAny) {
            format.scanStyle =
                known->scan == Record::Scan::kOnlyProgressive ? kProgressive : kUpperFieldFirst;
        }
        format.color = known->content == Record::Content::kOnlyMonochrome ? kMonochrome : kFullColor;
    }
    format.aggregateBits = input.Once(8) ? input.Enumeration<AggregateBitsPerChannelEnum>(5) : k8BitsDefault;
    return format;
}

ULong32 Alignment(Input& input) {
    return input.Once(16) ? input.Raw<ULong32>() : input.Pick<ULong32>({0, 1, 1, 1, 2, 3, 4, 16, 64});
}

}  // namespace

unsigned char* HostilePicture::Allocate(void* context, ULong32 totalSize, ULong32, ULong32) {
    if (totalSize == 0 || totalSize > kMostBytes) {
        return nullptr;
    }
    auto* memory = static_cast<unsigned char*>(std::malloc(totalSize));
    static_cast<HostilePicture*>(context)->blocks.push_back({memory, totalSize});
    return memory;
}

void HostilePicture::Free(void* context, void* memory) {
    std::vector<Block>& blocks = static_cast<HostilePicture*>(context)->blocks;
    const auto block = std::find_if(blocks.begin(), blocks.end(),
                                    [memory](const Block& each) { return each.memory == memory; });
    if (block == blocks.end()) {
        std::abort();
    }
    ASAN_UNPOISON_MEMORY_REGION(block->memory, block->size);
    std::free(memory);
    blocks.erase(block);
}

unsigned char* HostilePicture::HostPlane(std::size_t size, unsigned misaligned) {
    hostMemory.push_back(std::make_unique<unsigned char[]>(size + misaligned + 1));
    unsigned char* plane = hostMemory.back().get() + misaligned;
    blocks.push_back({hostMemory.back().get(), size + misaligned});
    return plane;
}

HostilePicture::HostilePicture(Input& input)
    : HostilePicture(input, input.Once(8) ? nullptr : &Formats()[input.Below(kConverterFormats)]) {}

HostilePicture::HostilePicture(Input& input, const FormatRecord* known) {
    const ImageDescriptor format = AnyDescriptor(input, known);
    const ULong32 bufferAlignment = Alignment(input);
    const ULong32 lineAlignment = input.Flip() ? bufferAlignment : Alignment(input);
    if (input.Once(4) && format.height < 512 && bufferAlignment < 512 && lineAlignment < 512) {
        // The host's own planes: a wrapped plane is as large as its pitch says and ends there.
        const ULong32 rows = (format.height + 1) & ~1U;
        unsigned char* planes[4];
        ULong32 pitches[4];
        for (int i = 0; i < 4; ++i) {
            pitches[i] = input.Below(input.Flip() ? 256 : 1024);
            const std::size_t line = pitches[i] + std::size_t{lineAlignment};
            planes[i] = HostPlane(line * rows + bufferAlignment, input.Below(8));
        }
        if (input.Once(16)) {
            planes[input.Below(4)] = nullptr;
        }
        if (input.Flip()) {
            image = std::make_unique<Image>(planes, pitches, format, bufferAlignment, lineAlignment);
        } else {
            image = std::make_unique<Image>(planes[0], pitches[0], format, bufferAlignment, lineAlignment);
        }
    } else if (input.Once(4)) {
        ULong32 pitches[4];
        for (ULong32& pitch : pitches) {
            pitch = input.Once(16) ? input.Raw<ULong32>() : input.Below(1024);
        }
        image =
            std::make_unique<Image>(this, &Allocate, &Free, pitches, format, bufferAlignment, lineAlignment);
    } else {
        image = std::make_unique<Image>(this, &Allocate, &Free, format, bufferAlignment, lineAlignment);
    }
    if (input.Once(8)) {
        AddAlpha(input);
    }
    FillAndGuard(input.Byte());
    if (known != nullptr) {
        Fit(*known);
    }
    Disturb(input);
}

void HostilePicture::AddAlpha(Input& input) {
    if (image->GetImageDescriptor() == nullptr) {
        return;
    }
    ChannelDescriptor alpha;
    alpha.SetAlpha(0.0F, Side(input), Side(input), kProgressive, kNoFields,
                   input.Pick<ULong32>({8, 8, 8, 16, 5, 0}));
    image->AddChannel(this, &Allocate, &Free, alpha, Alignment(input), 1);
    if (input.Once(4)) {
        image->DeleteChannel(input.Pick<ULong32>({0, 3, 4}) %
                             std::max<ULong32>(1, image->GetNumberOfChannels()));
    }
}

/// The levels by which formats of one layout are told apart.
void HostilePicture::Fit(const FormatRecord& format) {
    using Levels = FormatRecord::Levels;
    if (image->GetImageDescriptor() == nullptr || format.space != kRGB) {
        return;
    }
    const bool full = format.levels == Levels::kExtreme || format.levels == Levels::kFullNarrowClamp;
    const bool open = format.levels == Levels::kExtreme || format.levels == Levels::kStudioOpenClamp;
    for (ULong32 channel = 0; channel < 3; ++channel) {
        image->SetBlackAndWhiteLevel(full ? 0.0F : 16.0F / 255.0F, full ? 1.0F : 235.0F / 255.0F, channel);
        image->SetClampLowAndHighLevel(open ? 0.0F : 16.0F / 255.0F, open ? 1.0F : 235.0F / 255.0F, channel);
    }
}

/// What a host may change on a finished image.
void HostilePicture::Disturb(Input& input) {
    if (image->GetImageDescriptor() == nullptr) {
        return;
    }
    if (input.Once(8)) {
        image->SetOrigin(input.Enumeration<OriginEnum>(2));
    }
    if (input.Once(8)) {
        image->SetColor(input.Enumeration<ColorEnum>(4));
    }
    if (input.Once(4)) {
        image->SetAlphaChannelDescription(input.Enumeration<AlphaDescriptionEnum>(4));
    }
    if (input.Once(16)) {
        const bool studio = input.Flip();
        for (ULong32 channel = 0; channel < 4; ++channel) {
            if (studio) {
                image->SetBlackAndWhiteLevel(16.0F / 255.0F, 235.0F / 255.0F, channel);
            } else {
                image->SetBlackAndWhiteLevel(input.Raw<float>(), input.Raw<float>(), channel);
            }
            image->SetClampLowAndHighLevel(input.Flip() ? 0.0F : 0.1F, input.Flip() ? 1.0F : 0.9F, channel);
        }
    }
    if (input.Once(8)) {
        // The record is in the host's reach.
        ImageDescriptor& record = *image->GetImageDescriptor();
        if (input.Flip()) {
            record.width = std::min<ULong32>(Side(input), 4096);
        }
        if (input.Flip()) {
            record.height = std::min<ULong32>(Side(input), 4096);
        }
        if (input.Once(4)) {
            record.channelSampling = input.Enumeration<AggregateChannelSamplingEnum>(6);
        }
        if (input.Once(4)) {
            record.componentOrder = input.Enumeration<ComponentOrderEnum>(6);
        }
        if (input.Once(4)) {
            record.pixelPacking = input.Enumeration<PixelPackingEnum>(2);
        }
        if (input.Once(4)) {
            record.colorSpace = input.Enumeration<ColorSpaceEnum>(4);
        }
    }
}

void HostilePicture::FillAndGuard(unsigned char seed) {
    for (const Block& block : blocks) {
        ASAN_POISON_MEMORY_REGION(block.memory, block.size);
    }
    for (ULong32 channel = 0; channel < image->GetNumberOfChannels(); ++channel) {
        auto* plane = static_cast<unsigned char*>(image->GetMemoryPointer(channel));
        if (plane == nullptr) {
            continue;
        }
        const std::size_t size = image->GetMemorySize(channel);
        ASAN_UNPOISON_MEMORY_REGION(plane, size);
        for (std::size_t i = 0; i < size; ++i) {
            plane[i] = static_cast<unsigned char>(i * 37 + seed);
        }
    }
}

void HostilePicture::Suit(Zan::ColorSpaceEnum space, Zan::AggregateChannelSamplingEnum sampling) {
    if (Zan::ImageDescriptor* record = image->GetImageDescriptor(); record != nullptr) {
        record->colorSpace = space;
        record->channelSampling = sampling;
    }
}

std::uint64_t HostilePicture::Sum() const {
    std::uint64_t sum = 0xCBF29CE484222325U;
    const unsigned char* last = nullptr;
    for (ULong32 channel = 0; channel < image->GetNumberOfChannels(); ++channel) {
        const auto* plane = static_cast<const unsigned char*>(image->GetMemoryPointer(channel));
        // Channels of packed pictures lie in one plane.
        if (plane == nullptr || plane == last) {
            continue;
        }
        last = plane;
        const std::size_t size = image->GetMemorySize(channel);
        for (std::size_t i = 0; i < size; i += sizeof(std::uint64_t)) {
            std::uint64_t some = 0;
            std::memcpy(&some, plane + i, std::min(sizeof some, size - i));
            sum = (sum ^ some) * 0x100000001B3U;
            sum ^= sum >> 29;
        }
    }
    return sum;
}

HostilePicture::~HostilePicture() {
    for (const Block& block : blocks) {
        ASAN_UNPOISON_MEMORY_REGION(block.memory, block.size);
    }
}

ImageView HostilePicture::View(Input& input) {
    if (input.Once(32)) {
        return input.Flip() ? ImageView() : ImageView(nullptr);
    }
    switch (input.Below(4)) {
        case 0:
        case 1:
            return ImageView(image.get());
        default: {
            const ULong32 width = image->GetWidth(), height = image->GetHeight();
            const Rectangle region(input.Coordinate(width), input.Coordinate(height), input.Coordinate(width),
                                   input.Coordinate(height));
            ImageView view(image.get(), region, input.Enumeration<WhichFieldEnum>(5));
            if (input.Once(8)) {
                view.SetFieldOfInterest(input.Enumeration<WhichFieldEnum>(5));
            }
            return view;
        }
    }
}

}  // namespace fuzz
