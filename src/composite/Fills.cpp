// Fills, on views.

#include <TesselU/composite/ZanCompositor.h>

#include "composite/kernels/Fill.h"
#include "foundation/PathSelection.h"
#include "image/ViewFormat.h"
#include "image/ViewPlane.h"

namespace Zan {
namespace {

constexpr StyleRule kByteFillStyles = {Ask::kScalar, Ask::kScalar, Ask::kVector,
                                       Ask::kVector, Ask::kVector, Ask::kScalar};
constexpr StyleRule kWordFillStyles = {Ask::kScalar, Ask::kScalar, Ask::kVector,
                                       Ask::kScalar, Ask::kVector, Ask::kScalar};
constexpr VectorRule kFillVectors = {true, Path::kSSE, Path::kMMX};

// Up to this alignment single elements are written without looking at the row's end, so that a shorter row is
// written on to the boundary; 1: none.
constexpr std::size_t kByteFillBoundary[kPaths] = {1, 1, 1, /* MMX */ 1, /* SSE */ 8, /* SSE2 */ 16};
constexpr std::size_t kWordFillBoundary[kPaths] = {1, 1, 1, /* MMX */ 1, /* SSE */ 1, /* SSE2 */ 16};

/// The low byte four times over.
constexpr std::uint32_t FourOf(ULong32 value) {
    return (value & 0xFFU) * 0x01010101U;
}

/// Fills `rowBytes` bytes a row, and on to `boundary` where a row ends before it.
void Fill(const FillKernel& kernel, std::size_t bytesOfColumn, const Plane& plane, std::size_t rowBytes,
          ULong32 rows, std::uint32_t pattern, std::size_t boundary) {
    const bool stopsShort = rowBytes < boundary;
    const std::size_t columns = stopsShort ? rowBytes : rowBytes / bytesOfColumn;
    const FillJob job = {{}, {plane}, columns, rows, columns};
    (stopsShort ? kFillToBoundary : kernel)(job, {.pattern = pattern, .boundary = boundary});
}

void FillBytes(const Plane& plane, ULong32 width, ULong32 rows, ULong32 value, Path path) {
    Fill(kFillBytes, 1, plane, width, rows, FourOf(value), kByteFillBoundary[static_cast<std::size_t>(path)]);
}

void FillWords(const Plane& plane, std::size_t wordsPerRow, ULong32 rows, ULong32 value, Path path) {
    // Steps of a word from an odd address never meet the boundary.
    const bool aligned =
        (reinterpret_cast<std::uintptr_t>(plane.first) | static_cast<std::size_t>(plane.pitch)) % 4 == 0;
    Fill(kFillWords, 4, plane, 4 * wordsPerRow, rows, value,
         aligned ? kWordFillBoundary[static_cast<std::size_t>(path)] : 1);
}

}  // namespace

Long32 ZanCompositor::Fill(ImageView& dst, ULong32 colour, ULong32 mask, ProcessingStyleEnum style) {
    const Image* image = dst.GetImage();
    if (image == nullptr || image->GetImageDescriptor() == nullptr) {
        return kStatusNullPointer;
    }
    const bool grey = image->GetColorSpace() == kAlphaOnly;
    const bool is422 = Is422Family(*image), is4444 = Is4444(*image);
    if (!is422 && !is4444 && !grey) {
        return kStatusUnsupportedFormat;
    }

    const ULong32 width = dst.GetWidth(), rows = dst.GetHeight();
    Plane plane;
    if (const Long32 status = SelectPlane(dst, 0, rows, plane); status != kStatusOk) {
        return status;
    }
    const Plane words = plane.In(PitchUnit::kWordsBelow);

    const std::size_t bytesPerPixel = is422 ? 2 : is4444 ? 4 : WholeBytesPerPixel(*image);
    const std::size_t wordsPerRow = (width * bytesPerPixel) >> 2;
    const bool bytePlane = grey && image->GetBytesPerPixel() == 1.0F;

    if (mask != 0xFFFFFFFFU && !(bytePlane && mask == 255)) {
        if (bytePlane) {
            kFillBytesUnderMask({{}, {plane}, width, rows, width},
                                {.pattern = FourOf(colour), .mask = FourOf(mask)});
        } else {
            kFillWordsUnderMask({{}, {words}, wordsPerRow, rows, wordsPerRow},
                                {.pattern = colour, .mask = mask});
        }
        return kStatusOk;
    }
    const auto pathOf = [&](const StyleRule& styles) {
        return ChoosePath(styles, kFillVectors, static_cast<unsigned>(style), CPUinstructionSet, mmxOnly);
    };
    if (bytePlane) {
        FillBytes(plane, width, rows, colour, pathOf(kByteFillStyles));
    } else if (is4444 || (is422 && width % 2 == 0)) {
        FillWords(words, wordsPerRow, rows, colour, pathOf(kWordFillStyles));
    } else {
        kFillPairs({{}, {words}, width, rows, width}, {.pattern = colour});
    }
    return kStatusOk;
}

Long32 ZanCompositor::FillAlpha(ImageView& dst, ULong32 value, ProcessingStyleEnum style) {
    const Image* image = dst.GetImage();
    if (image == nullptr || image->GetImageDescriptor() == nullptr) {
        return kStatusNullPointer;
    }
    if (image->GetChannelSampling() != k4224)
        return kStatusUnsupportedFormat;
    Plane plane;
    if (const Long32 status = SelectPlane(dst, 3, dst.GetHeight(), plane); status != kStatusOk) {
        return status;
    }
    FillBytes(
        plane, dst.GetWidth(), dst.GetHeight(), value,
        ChoosePath(kByteFillStyles, kFillVectors, static_cast<unsigned>(style), CPUinstructionSet, mmxOnly));
    return kStatusOk;
}

}  // namespace Zan
