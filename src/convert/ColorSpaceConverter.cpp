#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ConversionMatrix.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <cstring>

#include "convert/ConversionPairs.h"
#include "convert/FormatCatalogue.h"
#include "convert/KernelTable.h"
#include "convert/kernels/ConversionFormulas.h"
#include "foundation/ClassCapabilities.h"

namespace Zan {
namespace {

// Columns of the result depend on the alpha by the plus function.
constexpr PairTable plusPairs{
    {3, {1}},
    {4, {1}},
};
constexpr ULong32 kPlusFunctions = 7;

// Kernels that multiply column by column: they want the matrix transposed and the offsets in 16ths.
constexpr PairTable columnWisePairs{
    {6, {0, 5}},
    {8, {0, 5}},
    {9, {0, 5}},
};

// Kernels that add their output offset after the last shift.
constexpr PairTable wholeOutputOffsetPairs{
    {0, {2, 12, 16, 17}},
    {5, {2, 12, 16}},
    {10, {2, 11}},
    {14, {2, 16, 17}},
};

constexpr double kMatrixScale = 8192;

std::int16_t RoundToWord(double value) noexcept {
    return TruncateToWord(value < 0 ? value - 0.5 : value + 0.5);
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

Long32 ColorSpaceConverter::TakePlanes(ImageView& view, unsigned char* (&plane)[4], Long32 (&pitch)[4],
                                       MemoryBounds (&bounds)[4]) {
    std::fill(std::begin(plane), std::end(plane), nullptr);
    const Image* image = view.GetImage();
    if (image == nullptr) {
        return kStatusNullPointer;
    }
    const bool leftOutside = view.GetRegionOfInterest().getLeft() < 0;
    const ULong32 channels = image->GetNumberOfChannels();
    for (ULong32 channel = 0; channel < channels; ++channel) {
        const ViewPlane found = PlaneOf(view, channel);
        if (channel < 4) {
            plane[channel] = found.first;
            pitch[channel] = view.GetPitch(channel);
            // The end of the line above is memory, but none of the selection's.
            bounds[channel] = {leftOutside ? found.end : found.begin, found.end};
        }
        if (found.first == nullptr) {
            return kStatusNullPointer;
        }
    }
    return channels == 0 ? kStatusNullPointer : kStatusOk;
}

Long32 ColorSpaceConverter::Do(ImageView& source, ImageView& destination, ProcessingStyleEnum callStyle,
                               double* callMatrix, double* callOffset) {
    rawPointerCall = false;
    if (const Long32 status = TakePlanes(source, sourcePlane, sourcePitch, sourceBounds);
        status != kStatusOk) {
        return status;
    }
    if (const Long32 status = TakePlanes(destination, destinationPlane, destinationPitch, destinationBounds);
        status != kStatusOk) {
        return status;
    }
    width = static_cast<Long32>(std::min(source.GetWidth(), destination.GetWidth()));
    height = std::min(source.GetHeight(), destination.GetHeight());

    const Image& sourceImage = *source.GetImage();
    const Image& destinationImage = *destination.GetImage();
    sourceShaping = sourceImage.GetPixelShaping();
    destinationShaping = destinationImage.GetPixelShaping();
    style = callStyle;
    ConverterFormat sourceCode = ClassifyImage(sourceImage);
    ConverterFormat destinationCode = ClassifyImage(destinationImage);
    SimplifyPair(sourceImage, sourceCode, destinationCode);
    sourceFormat = static_cast<ULong32>(sourceCode);
    destinationFormat = static_cast<ULong32>(destinationCode);

    matrixGiven = callMatrix != nullptr;
    if (matrixGiven) {
        std::memcpy(matrix, callMatrix, sizeof matrix);
    }
    offsetGiven = callOffset != nullptr;
    if (offsetGiven) {
        std::memcpy(offset, callOffset, sizeof offset);
    }
    return Route();
}

Long32 ColorSpaceConverter::Route() {
    switch (style) {
        case kFlp:
            return ColorSpaceConvertFlp();
        case kFP:
            return ColorSpaceConvertFP();
        case kFlp_SIMD:
            return ColorSpaceConvertFlp_SIMD();
        case kGeneralFormat:
            return ConvertGeneral();
        case kBestAvailable: {
            Long32 status = ColorSpaceConvertInt_MMXorSIMD();
            if (status == kStatusUnsupportedFormat) {
                status = ColorSpaceConvertFlp();
            }
            if (status == kStatusUnsupportedFormat) {
                status = ConvertGeneral();
            }
            return status;
        }
        default:
            return ColorSpaceConvertInt_MMXorSIMD();
    }
}

bool ColorSpaceConverter::HasPlanes() const noexcept {
    return sourcePlane[0] != nullptr && destinationPlane[0] != nullptr;
}

bool ColorSpaceConverter::LacksPlusFunction() const noexcept {
    return plusPairs.Has(sourceFormat, destinationFormat) && plusFunction >= kPlusFunctions;
}

Long32 ColorSpaceConverter::ColorSpaceConvertInt_MMXorSIMD() {
    if (!HasPlanes()) {
        return kStatusNullPointer;
    }
    if (width < 0) {
        return kStatusMismatch;
    }
    if (!integerPairs.Has(sourceFormat, destinationFormat)) {
        return kStatusUnsupportedFormat;
    }
    if (LacksPlusFunction()) {
        return kStatusUnsupportedFunction;
    }
    const bool sse2 = CPUinstructionSet.IsSSE2supported();
    const NamedKernel kernel = FindIntegerKernel(sourceFormat, destinationFormat, sse2);
    if (kernel.run == nullptr) {
        return kStatusUnsupportedFormat;
    }

    ConversionJob job{};
    for (std::size_t i = 0; i < 4; ++i) {
        job.source[i] = {sourcePlane[i], sourcePitch[i], sourceBounds[i].begin, sourceBounds[i].end};
        job.destination[i] = {destinationPlane[i], destinationPitch[i], destinationBounds[i].begin,
                              destinationBounds[i].end};
    }
    job.width = static_cast<std::size_t>(width);
    job.height = height;
    job.alphaFill = alphaFill;
    job.useSseMmx = CPUinstructionSet.IsSSE_MMXsupported() && !mmxOnly;
    job.sse2 = sse2;
    if (!PlanesHold(sourceFormat, job.source, job.width, job.height) ||
        !PlanesHold(destinationFormat, job.destination, job.width, job.height)) {
        return kStatusUnsupportedField;
    }

    FixedPointCoefficients coefficients{};
    if (sourceFormat != destinationFormat) {
        FillCoefficients(coefficients);
        job.coefficients = &coefficients;
    }
    if (job.width != 0 && job.height != 0) {
        kernel.run(job);
    }
    return kStatusOk;
}

void ColorSpaceConverter::FillCoefficients(FixedPointCoefficients& block) {
    if (!matrixGiven || !offsetGiven) {
        DefaultMatrixForFormats(&block.matrix[0][0], &block.offset[0][0], sourceFormat, destinationFormat);
    }
    if (matrixGiven) {
        std::memcpy(block.matrix, matrix, sizeof matrix);
    }
    if (offsetGiven) {
        std::memcpy(block.offset, offset, sizeof offset);
    }

    const bool columnWise = columnWisePairs.Has(sourceFormat, destinationFormat);
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            const double entry = block.matrix[i][j];
            const std::size_t row = columnWise ? j : i;
            const std::size_t column = columnWise ? i : j;
            const std::int16_t fixed = RoundToWord(entry * kMatrixScale);
            block.matrixFixed[row][column] = fixed;
            block.matrixPaired[row][column] = fixed;
            block.matrixPaired[row][column + 4] = fixed;
            if (!matrixGiven) {
                matrix[row][column] = entry;
            }
        }
    }

    const double scales[2] = {
        columnWise ? 16.0 : 128.0,
        wholeOutputOffsetPairs.Has(sourceFormat, destinationFormat) ? 1.0 : 16.0,
    };
    for (std::size_t row = 0; row < 2; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            const std::int16_t fixed = TruncateToWord(block.offset[row][column] * scales[row]);
            block.offsetFixed[row][column] = fixed;
            block.offsetPaired[row][column] = fixed;
            block.offsetPaired[row][column + 4] = fixed;
        }
    }
}

Long32 ColorSpaceConverter::ColorSpaceConvertFlp() {
    if (!HasPlanes()) {
        return kStatusNullPointer;
    }
    if (width < 0) {
        return kStatusMismatch;
    }
    if (!floatPairs.Has(sourceFormat, destinationFormat)) {
        return kStatusUnsupportedFormat;
    }
    if (LacksPlusFunction()) {
        return kStatusUnsupportedFunction;
    }
    // No pair of this path has its kernel yet.
    return kStatusUnsupportedFormat;
}

Long32 ColorSpaceConverter::ColorSpaceConvertFP() {
    if (!HasPlanes()) {
        return kStatusNullPointer;
    }
    if (((sourcePitch[0] | destinationPitch[0]) & 3) != 0) {
        return kStatusUnsupportedKind;
    }
    if (width < 0) {
        return kStatusMismatch;
    }
    if (!fixedPointPairs.Has(sourceFormat, destinationFormat)) {
        return kStatusUnsupportedFormat;
    }
    // No pair of this path has its kernel yet.
    return kStatusUnsupportedFormat;
}

Long32 ColorSpaceConverter::ColorSpaceConvertFlp_SIMD() {
    if (!HasPlanes()) {
        return kStatusNullPointer;
    }
    // Only this bit: an odd pitch passes.
    if (((sourcePitch[0] | destinationPitch[0]) & 2) != 0) {
        return kStatusUnsupportedKind;
    }
    if (width < 0) {
        return kStatusMismatch;
    }
    if (!floatSimdPairs.Has(sourceFormat, destinationFormat)) {
        return kStatusUnsupportedFormat;
    }
    if (!CPUinstructionSet.IsSIMDsupported()) {
        return kStatusUnsupportedFunction;
    }
    // The kernel of this path does not exist yet.
    return kStatusUnsupportedFormat;
}

Long32 ColorSpaceConverter::ConvertGeneral() {
    if (!HasPlanes()) {
        return kStatusNullPointer;
    }
    if (width < 0) {
        return kStatusMismatch;
    }
    // The stages of this path do not exist yet.
    return kStatusUnsupportedFormat;
}

}  // namespace Zan
