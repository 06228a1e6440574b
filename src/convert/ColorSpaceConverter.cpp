#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <cstring>

#include "convert/ConversionPlan.h"
#include "convert/ConversionStrips.h"
#include "foundation/ClassCapabilities.h"
#include "image/ViewPlane.h"

namespace Zan {
namespace {

/// True when every channel of the view's image has memory, those that a format does not use too.
bool HasMemory(const ImageView& view) noexcept {
    const Image* image = view.GetImage();
    const ImageDescriptor* format = image != nullptr ? image->GetImageDescriptor() : nullptr;
    if (format == nullptr || format->channels.empty()) {
        return false;
    }
    for (const ChannelDescriptor& channel : format->channels) {
        if (!channel.memory || channel.memory->GetAlignedPointer() == nullptr) {
            return false;
        }
    }
    return true;
}

/// The planes that a format has in a view.
ConversionSide SideOf(const ImageView& view, ConverterFormat code) noexcept {
    const Long32 left = view.GetRegionOfInterest().getLeft();
    ConversionSide side{code, {}, {left > 0, view.GetFieldOfInterest() != kFrame}};
    const auto take = [&](ULong32 channel) {
        Plane& plane = side.plane[channel];
        plane = PlaneOf(view, channel);
        if (left < 0) {
            // The end of the line above is memory, but none of the selection's.
            plane.begin = plane.end;
        }
    };
    if (code == kFmtUnknown) {
        take(0);
    } else {
        for (const simd::PlaneUse& use : Formats()[static_cast<std::size_t>(code)].planes) {
            take(static_cast<ULong32>(use.index));
        }
    }
    return side;
}

}  // namespace

constinit CPUcapabilities& ColorSpaceConverter::CPUinstructionSet =
    classCapabilities[kOwnerColorSpaceConverter];

ColorSpaceConverter::ColorSpaceConverter() noexcept {
    for (std::size_t i = 0; i < 4; ++i) {
        matrix[i][i] = 1;
    }
}

void ColorSpaceConverter::GetMatrixCoef(double* out) const noexcept {
    std::memcpy(out, matrix, sizeof matrix);
}

void ColorSpaceConverter::GetOffset(double* out) const noexcept {
    std::memcpy(out, offset, sizeof offset);
}

Long32 ColorSpaceConverter::Do(ImageView& source, ImageView& destination, ProcessingStyleEnum callStyle,
                               double* callMatrix, double* callOffset) {
    return DoStrip(source, destination, callStyle, callMatrix, callOffset, false);
}

Long32 ColorSpaceConverter::DoStrip(ImageView& source, ImageView& destination, ProcessingStyleEnum callStyle,
                                    double* callMatrix, double* callOffset, bool isFollowed) {
    if (!HasMemory(source) || !HasMemory(destination)) {
        return kStatusNullPointer;
    }
    const FormatPair formats = ClassifyPair(*source.GetImage(), *destination.GetImage());
    ConversionRequest request;
    request.source = SideOf(source, formats.source);
    request.destination = SideOf(destination, formats.destination);
    request.width = static_cast<Long32>(std::min(source.GetWidth(), destination.GetWidth()));
    request.height = std::min(source.GetHeight(), destination.GetHeight());
    request.style = callStyle;
    request.plusFunction = plusFunction;
    request.alphaFill = alphaFill;

    // What the caller gives stays readable here, also after a refusal.
    if (callMatrix != nullptr) {
        std::memcpy(matrix, callMatrix, sizeof matrix);
        request.matrix = &matrix[0][0];
    }
    if (callOffset != nullptr) {
        std::memcpy(offset, callOffset, sizeof offset);
        request.offset = &offset[0][0];
    }

    ConversionPlan plan;
    if (const Long32 status = Prepare(request, CPUinstructionSet, plan); status != kStatusOk) {
        return status;
    }
    if (callMatrix == nullptr && plan.job.coefficients != nullptr) {
        RememberMatrix(plan.job.coefficients->matrix, plan.pair->form.isTransposed);
    }
    if (isFollowed && SharesLastChroma(plan, destination.GetRegionOfInterest().getTop(), request.height)) {
        RunButLastChroma(plan, request.height);
    } else {
        Run(plan, 0, request.height);
    }
    return kStatusOk;
}

void ColorSpaceConverter::RememberMatrix(const double (&used)[4][4], bool isTransposed) noexcept {
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            matrix[i][j] = isTransposed ? used[j][i] : used[i][j];
        }
    }
}

}  // namespace Zan
