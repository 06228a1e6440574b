#include "overlay/FormatHeader.h"

#include <TesselU/image/Image.h>

#include <bit>

#include "overlay/OverlayStatus.h"

namespace Zan {
namespace {

static_assert(std::endian::native == std::endian::little);

/// Sampling, depth and the tags of YCrCb; false for what has none.
bool DescribeSamples(const Image& image, FormatHeader& header) noexcept {
    const AggregateChannelSamplingEnum sampling = image.GetChannelSampling();
    if (image.GetPixelPacking() != kPacked) {
        return false;
    }
    for (const ChannelDescriptor& channel : image.GetImageDescriptor()->channels) {
        if (channel.bitsPerSample > 8) {
            return false;
        }
    }
    switch (image.GetColorSpace()) {
        case kYCrCb: {
            header.compression = FormatHeader::kYuv;
            header.colorSpaceTag = 1;
            header.bitsPerSample = 8;
            header.sampling = FormatHeader::kPairs;
            const bool isPlain = image.GetNumberOfChannels() == 3 && sampling == k422;
            header.planes = isPlain ? 1 : 2;
            header.bitCount = isPlain ? 16 : 24;
            return isPlain || (image.GetNumberOfChannels() == 4 && sampling == k4224);
        }
        case kRGB:
            header.compression = FormatHeader::kRgb;
            header.planes = 1;
            header.bitCount = sampling == k4444 ? 32 : 24;
            return sampling == k4444 || sampling == k444;
        default:
            return false;
    }
}

}  // namespace

Long32 BuildFormatHeader(const Image& image, FormatHeader& header) noexcept {
    header = {};
    header.size = FormatHeader::kSize;
    header.width = image.GetWidth();
    header.height = image.GetHeight();
    header.lineAlignment = image.GetLineAlignment(0);
    if (image.GetImageDescriptor() == nullptr || !DescribeSamples(image, header)) {
        return kOverlayFormatNotSupported;
    }
    const bool hasAlpha = header.bitCount == (header.compression == FormatHeader::kRgb ? 32 : 24);
    if (hasAlpha && image.GetPixelShaping() == kShaped) {
        header.alphaMode = FormatHeader::kPremultiplied;
    }
    switch (image.GetFieldPacking()) {
        case kNoFields:
            header.noFields = 1;
            return kStatusOk;
        case kInterleavedFields:
            break;
        default:
            return kOverlayFormatNotSupported;
    }
    switch (image.GetScanStyle()) {
        case kUpperFieldFirst:
            header.fieldOrder = FormatHeader::kUpperFirst;
            return kStatusOk;
        case kLowerFieldFirst:
            header.fieldOrder = FormatHeader::kLowerFirst;
            return kStatusOk;
        default:
            return kOverlayFormatNotSupported;
    }
}

}  // namespace Zan
