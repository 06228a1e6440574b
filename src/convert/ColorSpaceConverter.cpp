#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <type_traits>

#include "convert/ConversionPlan.h"
#include "convert/ConversionStrips.h"
#include "convert/RememberedCall.h"
#include "foundation/ClassCapabilities.h"
#include "image/ViewPlane.h"

namespace Zan {
namespace {

/// The planes of the first four channels of a view. Returns how many those are; 0 when any channel of its
/// image has no memory, those that a format does not use too.
std::size_t TakePlanes(const ImageView& view, std::array<Plane, 4>& planes, Selection& selection) noexcept {
    const Image* image = view.GetImage();
    const ImageDescriptor* format = image != nullptr ? image->GetImageDescriptor() : nullptr;
    if (format == nullptr) {
        return 0;
    }
    const Long32 left = view.GetRegionOfInterest().getLeft();
    const bool isWhole = SelectsAll(view, *format);
    selection = {left > 0, view.GetFieldOfInterest() != kFrame};
    const AlignedMemoryBuffer* previous = nullptr;
    std::size_t i = 0;
    for (const ChannelDescriptor& channel : format->channels) {
        const AlignedMemoryBuffer* const memory = channel.memory.get();
        if (memory == nullptr || memory->GetAlignedPointer() == nullptr) {
            return 0;
        }
        if (i < planes.size()) {
            // Channels of packed formats share their plane.
            if (memory == previous) {
                planes[i] = planes[i - 1];
            } else {
                planes[i] = isWhole ? WholePlane(*memory) : PlaneOf(view, static_cast<ULong32>(i));
                if (left < 0) {
                    // The end of the line above is memory, but none of the selection's.
                    planes[i].begin = planes[i].end;
                }
            }
        }
        previous = memory;
        ++i;
    }
    return std::min(i, planes.size());
}

/// The planes of planar formats that lie one behind the other without gaps, from the first of them.
void DerivePlanes(ConverterFormat code, std::size_t width, std::size_t height,
                  std::array<Plane, 4>& planes) noexcept {
    if (planes[0].first == nullptr || (code != kFmtPlanar420 && code != kFmtPlanar422 &&
                                       code != kFmtPlanar420Interlaced && code != kFmtPlanar411)) {
        return;
    }
    const std::size_t luma = width * height, chroma = luma >> (code == kFmtPlanar422 ? 1 : 2);
    const std::ptrdiff_t pitch = planes[0].pitch / (code == kFmtPlanar411 ? 4 : 2);
    planes[1] = {planes[0].first + luma, pitch, nullptr, nullptr};
    planes[2] = {planes[0].first + luma + chroma, pitch, nullptr, nullptr};
}

}  // namespace

constinit CPUcapabilities& ColorSpaceConverter::CPUinstructionSet =
    classCapabilities[kOwnerColorSpaceConverter];

inline RememberedCall& ColorSpaceConverter::Remembered() noexcept {
    return *std::launder(reinterpret_cast<RememberedCall*>(&remembered));
}

ColorSpaceConverter::ColorSpaceConverter() noexcept {
    static_assert(sizeof(RememberedCall) <= sizeof remembered &&
                  std::is_trivially_destructible_v<RememberedCall>);
    new (&remembered) RememberedCall;
    for (std::size_t i = 0; i < 4; ++i) {
        matrix[i][i] = 1;
    }
}

ColorSpaceConverter::ColorSpaceConverter(const ColorSpaceConverter& other) noexcept : ColorSpaceConverter() {
    *this = other;
}

ColorSpaceConverter& ColorSpaceConverter::operator=(const ColorSpaceConverter& other) noexcept {
    std::copy_n(other.knownSource, 4, knownSource);
    std::copy_n(other.knownDestination, 4, knownDestination);
    plusFunction = other.plusFunction;
    std::memmove(matrix, other.matrix, sizeof matrix);
    std::memmove(offset, other.offset, sizeof offset);
    mmxOnly = other.mmxOnly;
    alphaFill = other.alphaFill;
    Remembered().Forget();
    return *this;
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
    RememberedCall& last = Remembered();
    const RememberedCall::Settings settings{callStyle, plusFunction, alphaFill,
                                            CPUinstructionSet.WhichInstructionSetIsSupported()};
    const bool hasDefaults = callMatrix == nullptr && callOffset == nullptr;
    const auto move = [](KnownPlane(&known)[4]) {
        return [&known](std::size_t channel, std::ptrdiff_t bytes) { known[channel].first += bytes; };
    };
    ConversionPlan* plan =
        hasDefaults ? last.Recall(source, destination, settings, move(knownSource), move(knownDestination))
                    : nullptr;
    if (plan == nullptr) {
        plan = &last.Begin();
        const Long32 status = PlanOfViews(source, destination, callStyle, callMatrix, callOffset, *plan);
        if (status != kStatusOk) {
            return status;
        }
        if (hasDefaults) {
            last.Keep(source, destination, settings);
        }
    }
    const std::size_t height = plan->job.planes.height;
    if (isFollowed && SharesLastChroma(*plan, destination.GetRegionOfInterest().getTop(), height)) {
        RunButLastChroma(*plan, height);
        last.Forget();
    } else {
        Run(*plan, 0, height);
    }
    return kStatusOk;
}

Long32 ColorSpaceConverter::PlanOfViews(const ImageView& source, const ImageView& destination,
                                        ProcessingStyleEnum callStyle, const double* callMatrix,
                                        const double* callOffset, ConversionPlan& plan) noexcept {
    ConversionRequest request;
    // Also planes that are read before one is found to be missing are known from then on. A channel that an
    // image does not have leaves what was known of it.
    const auto take = [](const ImageView& view, std::array<Plane, 4>& planes, Selection& selection,
                         KnownPlane(&known)[4]) {
        const std::size_t channels = TakePlanes(view, planes, selection);
        for (std::size_t i = 0; i < 4; ++i) {
            if (planes[i].first != nullptr) {
                known[i] = {planes[i].first, planes[i].pitch};
            }
        }
        return channels != 0;
    };
    if (!take(source, plan.job.planes.source, request.sourceSelection, knownSource) ||
        !take(destination, plan.job.planes.destination, request.destinationSelection, knownDestination)) {
        return kStatusNullPointer;
    }
    const FormatPair formats = ClassifyPair(*source.GetImage(), *destination.GetImage());
    request.source = formats.source;
    request.destination = formats.destination;
    request.width = static_cast<Long32>(std::min(source.GetWidth(), destination.GetWidth()));
    request.height = std::min(source.GetHeight(), destination.GetHeight());
    request.style = callStyle;
    return MakePlan(request, callMatrix, callOffset, plan);
}

Long32 ColorSpaceConverter::Do(ULong32* source, ULong32* destination, ULong32 width, ULong32 height,
                               Long32 callSourcePitch, Long32 callDestinationPitch, ULong32 sourceFormat,
                               ULong32 destinationFormat, ULong32 style, double* callMatrix,
                               double* callOffset) {
    Remembered().Forget();
    knownSource[0] = {reinterpret_cast<unsigned char*>(source), callSourcePitch};
    knownDestination[0] = {reinterpret_cast<unsigned char*>(destination), callDestinationPitch};

    ConversionPlan plan;
    for (std::size_t i = 0; i < 4; ++i) {
        plan.job.planes.source[i] = {knownSource[i].first, knownSource[i].pitch, nullptr, nullptr};
        plan.job.planes.destination[i] = {knownDestination[i].first, knownDestination[i].pitch, nullptr,
                                          nullptr};
    }
    const auto code = [](ULong32 number) {
        return number < kConverterFormats ? static_cast<ConverterFormat>(number) : kFmtUnknown;
    };
    ConversionRequest request;
    request.source = code(sourceFormat);
    request.destination = code(destinationFormat);
    request.width = static_cast<Long32>(width);
    request.height = height;
    request.style = style <= kGeneralFormat ? static_cast<ProcessingStyleEnum>(style) : kInt_MMXorSIMD;
    const PairRecord* pair = FindPair(request.source, request.destination);
    if (pair != nullptr && pair->Has(kDerivesPlanes) && request.style != kGeneralFormat) {
        DerivePlanes(request.source, width, height, plan.job.planes.source);
        DerivePlanes(request.destination, width, height, plan.job.planes.destination);
    }
    const Long32 status = MakePlan(request, callMatrix, callOffset, plan);
    if (status == kStatusOk) {
        Run(plan, 0, height);
    }
    return status;
}

Long32 ColorSpaceConverter::MakePlan(ConversionRequest& request, const double* callMatrix,
                                     const double* callOffset, ConversionPlan& plan) noexcept {
    request.plusFunction = plusFunction;
    request.alphaFill = alphaFill;
    // What the caller gives stays readable here, also after a refusal.
    if (callMatrix != nullptr) {
        std::memmove(matrix, callMatrix, sizeof matrix);
        request.matrix = &matrix[0][0];
    }
    if (callOffset != nullptr) {
        std::memmove(offset, callOffset, sizeof offset);
        request.offset = &offset[0][0];
    }
    const Long32 status = Prepare(request, CPUinstructionSet, plan);
    // That there is no such function shows when the coefficients are made already.
    const bool isFunctionUnknown = status == kStatusUnsupportedFunction && request.style != kFlp_SIMD;
    if (status != kStatusOk && !isFunctionUnknown) {
        return status;
    }
    // The general path and the single-precision one keep theirs to themselves.
    if (const FixedPointCoefficients* used = plan.job.coefficients;
        used != nullptr && plan.path != kOnFloatSimd) {
        if (callMatrix == nullptr) {
            RememberMatrix(used->matrix, plan.isTransposed);
        }
        if (callOffset == nullptr && plan.path != kOnInteger) {
            std::memcpy(offset, used->offset, sizeof offset);
        }
    }
    return status;
}

void ColorSpaceConverter::RememberMatrix(const double (&used)[4][4], bool isTransposed) noexcept {
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            matrix[i][j] = isTransposed ? used[j][i] : used[i][j];
        }
    }
}

Long32 ColorSpaceConverter::Shape(ImageView& picture, ProcessingStyleEnum) {
    return ChangeShaping(picture, kShaped);
}

Long32 ColorSpaceConverter::Unshape(ImageView& picture, ProcessingStyleEnum) {
    return ChangeShaping(picture, kUnshaped);
}

Long32 ColorSpaceConverter::ChangeShaping(ImageView& picture, ShapedEnum shaped) noexcept {
    Image* const image = picture.GetImage();
    if (image == nullptr || image->GetPixelPacking() != kPacked) {
        return kStatusUnsupportedFormat;
    }
    const bool isRgb = image->GetChannelSampling() == k4444 && image->GetColorSpace() == kRGB;
    const bool isYCrCb = image->GetChannelSampling() == k4224 && image->GetColorSpace() == kYCrCb;
    if (!isRgb && !isYCrCb) {
        return kStatusUnsupportedFormat;
    }
    // Where alpha is the same everywhere, shaped and unshaped pictures are the same.
    const AlphaDescriptionEnum alpha = image->GetAlphaChannelDescription();
    const bool isUniform = alpha == kAlphaOpaque || (alpha == kAlphaTransparent &&
                                                     (shaped == kUnshaped || image->GetColor() == kBlack));
    if (!isUniform) {
        const FormatRecord& format = Formats()[isRgb ? kFmtRGB32 : kFmtCbYCrY4];
        ConversionPlan plan;
        ConversionJob& job = plan.job;
        Selection selection;
        if (!TakePlanes(picture, job.planes.source, selection)) {
            return kStatusNullPointer;
        }
        job.source = job.destination = format.code;
        job.planes.width = picture.GetWidth();
        job.planes.height = picture.GetHeight();
        job.planes.whole = job.planes.width;
        job.inDoubles = job.hasDefaults = false;
        job.coefficients = nullptr;
        if (!PlanesHold(format, job.planes.source, job.planes.width, job.planes.height, selection)) {
            return kStatusUnsupportedField;
        }
        job.planes.source[0] = job.planes.source[0].In(format.pitch);
        job.planes.destination = job.planes.source;
        const ConversionKernel& rgb = shaped == kShaped ? kShapeRGB32 : kUnshapeRGB32;
        const ConversionKernel& yCrCb = shaped == kShaped ? kShapeCbYCrY4 : kUnshapeCbYCrY4;
        (isRgb ? rgb : yCrCb)(job);
    }
    image->SetPixelShaping(shaped);
    return kStatusOk;
}

}  // namespace Zan
