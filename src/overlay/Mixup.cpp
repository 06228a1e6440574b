#include <TesselU/foundation/CPUfeatures.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/overlay/Mixup.h>

#include <cmath>
#include <cstddef>
#include <span>

#include "overlay/Overlay.h"
#include "overlay/OverlayStatus.h"

namespace Zan::MixupPosition {
namespace {

/// A view of a call and the picture that it becomes; the last one of a call is the result.
struct Operand {
    ImageView& view;
    COverlayImage picture{};
    FormatHeader header{};
};

EdgeRectangle RegionOf(const ImageView& view) noexcept {
    const Rectangle region = view.GetRegionOfInterest();
    const std::int64_t left = region.getLeft(), top = region.getTop();
    return {left, top, left + region.getWidth(), top + region.getHeight()};
}

/// Colour spaces and memory, formats, alpha planes, in this order for all pictures.
Long32 Wrap(std::span<Operand> operands) {
    for (const Operand& operand : operands) {
        const Image* const image = operand.view.GetImage();
        if (image == nullptr || image->GetMemoryPointer(0) == nullptr) {
            return kStatusNullPointer;
        }
    }
    for (const Operand& operand : operands) {
        const ColorSpaceEnum space = operand.view.GetImage()->GetColorSpace();
        if (space != kRGB && space != kYCrCb) {
            return kStatusUnsupportedKind;
        }
    }
    for (const Operand& operand : operands) {
        if (operand.view.GetImage()->GetColorSpace() != operands[0].view.GetImage()->GetColorSpace()) {
            return kStatusMismatch;
        }
    }
    for (Operand& operand : operands) {
        if (const Long32 status = BuildFormatHeader(*operand.view.GetImage(), operand.header);
            status != kStatusOk) {
            return status;
        }
    }
    for (Operand& operand : operands) {
        if (const Long32 status = operand.picture.Wrap(*operand.view.GetImage(), operand.header);
            status != kStatusOk) {
            return status;
        }
    }
    return kStatusOk;
}

/// Where a picture lies on one that is `width` by `height`.
void Place(Operand& operand, std::int64_t width, std::int64_t height) noexcept {
    COverlayImage& picture = operand.picture;
    const std::int64_t left = (width - operand.header.width) / 2, top = (height - operand.header.height) / 2;
    picture.bounds = {left, top, left + operand.header.width, top + operand.header.height};
    picture.region = RegionOf(operand.view).Moved(left, top).Intersection(picture.bounds);
    // 4:2:2 starts on a pair.
    if (picture.GetColorspace() == FormatHeader::kYuv && left % 2 != 0) {
        for (EdgeRectangle* edges : {&picture.bounds, &picture.region}) {
            --edges->left;
            --edges->right;
        }
    }
}

struct Position {
    double x = 0, y = 0;
    bool subPixel = false;
};

/// `run(overlay, info)` on the pictures of a call, which are wrapped and placed. The last operand is the
/// result, the first may make it shaped.
template <class Run>
Long32 OnPictures(CPUfeatures& features, std::span<Operand> operands, const Run& run) {
    if (const Long32 status = Wrap(operands); status != kStatusOk) {
        return status;
    }
    Operand& result = operands.back();
    for (Operand& operand : operands) {
        Place(operand, result.header.width, result.header.height);
    }
    const WhichFieldEnum field = result.view.GetFieldOfInterest();
    Image& image = *result.view.GetImage();
    if (field != kFrame && field != kUpperField && field != kLowerField) {
        return kOverlayUnknownFormat;
    }
    using Info = COverlayRenderInfo;
    const Info info(field == kFrame ? Info::kFrameCall : Info::kFieldCall,
                    field == kFrame        ? Info::kBoth
                    : field == kUpperField ? Info::kUpper
                                           : Info::kLower,
                    field != kFrame && image.GetScanStyle() != kUpperFieldFirst ? 1 : 0, result.header);
    COverlay overlay(features);
    const Long32 status = run(overlay, info);
    if (operands.front().header.alphaMode != 0) {
        image.SetPixelShaping(operands.front().view.GetImage()->GetPixelShaping());
    }
    return status;
}

Long32 Overlay(ImageView& foreground, ImageView& background, ImageView& result, const Position& position) {
    CPUfeatures* const features = CPUfeatures::Instance();
    if (features == nullptr) {
        return kStatusNoProcessorFeatures;
    }
    if (!std::isfinite(position.x) || !std::isfinite(position.y)) {
        return kOverlayInvalidArgument;
    }
    try {
        Operand operands[] = {{foreground}, {background}, {result}};
        return OnPictures(*features, operands, [&](COverlay& overlay, const COverlayRenderInfo& info) {
            return overlay.Render(info, operands[2].picture, operands[0].picture, operands[1].picture,
                                  position.x, position.y, position.subPixel, position.subPixel,
                                  position.subPixel ? 1 : 0);
        });
    } catch (...) {
        return kOverlayException;
    }
}

}  // namespace

Long32 Mixup::Do(ImageView& foreground, ImageView& background, ImageView& result, ProcessingStyleEnum) {
    return Overlay(foreground, background, result, {});
}

Long32 Mixup::DoAt(ImageView& foreground, ImageView& background, ImageView& result, double x, double y,
                   bool subPixel, ProcessingStyleEnum) {
    return Overlay(foreground, background, result, {x, y, subPixel});
}

Long32 Mixup::Center(ImageView& source, ImageView& result, ProcessingStyleEnum) {
    CPUfeatures* const features = CPUfeatures::Instance();
    if (features == nullptr) {
        return kStatusNoProcessorFeatures;
    }
    try {
        Operand operands[] = {{source}, {result}};
        return OnPictures(*features, operands, [&](COverlay& overlay, const COverlayRenderInfo& info) {
            return overlay.Center(info, operands[0].picture, operands[1].picture);
        });
    } catch (...) {
        return kOverlayException;
    }
}

}  // namespace Zan::MixupPosition
