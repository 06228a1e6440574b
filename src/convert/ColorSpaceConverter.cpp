#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <cstring>

#include "convert/ConversionPlan.h"
#include "foundation/ClassCapabilities.h"
#include "image/ViewPlane.h"

namespace Zan {
namespace {

/// The planes of a view. A channel without memory gives 1, those beyond the fourth too.
Long32 TakePlanes(const ImageView& view, ConversionSide& side) noexcept {
    const Image* image = view.GetImage();
    if (image == nullptr) {
        return kStatusNullPointer;
    }
    const ULong32 channels = image->GetNumberOfChannels();
    const Long32 left = view.GetRegionOfInterest().getLeft();
    side.selection = {left > 0, view.GetFieldOfInterest() != kFrame};
    for (ULong32 channel = 0; channel < channels; ++channel) {
        Plane plane = PlaneOf(view, channel);
        if (plane.first == nullptr) {
            return kStatusNullPointer;
        }
        if (left < 0) {
            // The end of the line above is memory, but none of the selection's.
            plane.begin = plane.end;
        }
        if (channel < 4) {
            side.plane[channel] = plane;
        }
    }
    return channels == 0 ? kStatusNullPointer : kStatusOk;
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
    ConversionRequest request;
    if (const Long32 status = TakePlanes(source, request.source); status != kStatusOk) {
        return status;
    }
    if (const Long32 status = TakePlanes(destination, request.destination); status != kStatusOk) {
        return status;
    }
    const FormatPair formats = ClassifyPair(*source.GetImage(), *destination.GetImage());
    request.source.format = formats.source;
    request.destination.format = formats.destination;
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
    Run(plan, 0, request.height);
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
