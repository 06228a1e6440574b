// Fills and the memory passes, on views.

#include <TesselU/composite/ZanCompositor.h>

#include <algorithm>
#include <cstring>

#include "composite/BlendPaths.h"
#include "composite/ViewRows.h"
#include "composite/kernels/Memory.h"
#include "image/ViewFormat.h"
#include "simd/LongRuns.h"

namespace Zan {

namespace {

constexpr StyleRule kByteFillStyles = {Ask::kScalar, Ask::kScalar, Ask::kVector,
                                       Ask::kVector, Ask::kVector, Ask::kScalar};
constexpr StyleRule kWordFillStyles = {Ask::kScalar, Ask::kScalar, Ask::kVector,
                                       Ask::kScalar, Ask::kVector, Ask::kScalar};
constexpr VectorRule kFillVectors = {true, Path::kSSE, Path::kMMX};

// Paths align a row before its blocks, and their single steps up to the boundary do not look at the row's
// length: a shorter row is written up to the boundary. 1 is no such step.
constexpr std::size_t kByteFillBoundary[kPaths] = {1, 1, 1, /* MMX */ 1, /* SSE */ 8, /* SSE2 */ 16};
constexpr std::size_t kWordFillBoundary[kPaths] = {1, 1, 1, /* MMX */ 1, /* SSE */ 1, /* SSE2 */ 16};

constexpr std::ptrdiff_t InWords(std::ptrdiff_t pitch) {
    return pitch & ~std::ptrdiff_t{3};
}

// Shorter rows do not pay for the start of a long run.
constexpr std::size_t kLeastLongRun = 1024;

/// Fills `rowBytes` bytes a row, and on to `boundary` where a row ends before it.
void FillPlane(const ViewPlane& plane, std::size_t rowBytes, std::size_t rows, std::uint32_t pattern,
               std::size_t boundary) {
    if (rowBytes >= boundary && plane.Holds(rowBytes, rows)) {
        if (plane.pitch > 0 && static_cast<std::size_t>(plane.pitch) == rowBytes) {
            rowBytes *= rows;
            rows = 1;
        }
        if (rowBytes >= kLeastLongRun && simd::LongRunsPay(rowBytes * rows)) {
            for (std::size_t y = 0; y < rows; ++y)
                simd::FillLongRun(plane.first + static_cast<std::ptrdiff_t>(y) * plane.pitch, rowBytes,
                                  pattern);
        } else {
            kFillRows({plane.first, plane.pitch}, rowBytes, rows, pattern,
                      simd::ExceedsCache(rowBytes * rows));
        }
        return;
    }
    for (std::size_t y = 0; y < rows; ++y) {
        std::uint8_t* row = plane.first + static_cast<std::ptrdiff_t>(y) * plane.pitch;
        const std::size_t toBoundary = -reinterpret_cast<std::uintptr_t>(row) % boundary;
        kFillRows({row, 0}, plane.Clip(std::max(rowBytes, toBoundary), y), 1, pattern, false);
    }
}

void FillBytes(const ViewPlane& plane, ULong32 width, ULong32 rows, ULong32 value, Path path) {
    FillPlane(plane, width, rows, (value & 0xFFU) * 0x01010101U,
              kByteFillBoundary[static_cast<std::size_t>(path)]);
}

void FillWords(ViewPlane plane, std::size_t wordsPerRow, ULong32 rows, ULong32 value, Path path) {
    plane.pitch = InWords(plane.pitch);
    // Steps of a word from an odd address never meet the boundary.
    const bool aligned =
        (reinterpret_cast<std::uintptr_t>(plane.first) | static_cast<std::size_t>(plane.pitch)) % 4 == 0;
    FillPlane(plane, 4 * wordsPerRow, rows, value,
              aligned ? kWordFillBoundary[static_cast<std::size_t>(path)] : 1);
}

/// One word for every two pixels, but at word positions that rise by two: every second word stays as it was,
/// and an odd last pixel takes three bytes.
void FillPairs(ViewPlane plane, ULong32 width, ULong32 rows, ULong32 value) {
    plane.pitch = InWords(plane.pitch);
    for (std::size_t y = 0; y < rows; ++y) {
        std::uint8_t* row = plane.first + static_cast<std::ptrdiff_t>(y) * plane.pitch;
        const std::size_t inside = plane.Clip(4 * std::size_t{width}, y);
        for (std::size_t i = 0; i < width; i += 2) {
            const std::size_t bytes = i + 2 <= width ? 4 : 3;
            if (4 * i >= inside)
                break;
            std::memcpy(row + 4 * i, &value, std::min(bytes, inside - 4 * i));
        }
    }
}

/// (old & ~mask) | (colour & mask) over whole elements.
template <class Element>
void FillUnderMask(const ViewPlane& plane, std::size_t elements, std::size_t rows, Element colour,
                   Element mask) {
    WalkInside({{&plane, sizeof(Element)}}, elements, rows,
               [&](std::size_t first, std::size_t count, std::size_t n) {
                   for (std::size_t y = first; y < first + count; ++y) {
                       std::uint8_t* row = plane.first + static_cast<std::ptrdiff_t>(y) * plane.pitch;
                       for (std::size_t x = 0; x < n; ++x) {
                           Element old;
                           std::memcpy(&old, row + x * sizeof old, sizeof old);
                           const auto mixed = static_cast<Element>((old & ~mask) | (colour & mask));
                           std::memcpy(row + x * sizeof mixed, &mixed, sizeof mixed);
                       }
                   }
               });
}

}  // namespace

Long32 ZanCompositor::Fill(ImageView& dst, ULong32 colour, ULong32 mask, ProcessingStyleEnum style) {
    const Image* image = dst.GetImage();
    if (image == nullptr || image->GetImageDescriptor() == nullptr)
        return kStatusNullPointer;
    const bool grey = image->GetColorSpace() == kAlphaOnly;
    const bool is422 = Is422Family(*image), is4444 = Is4444(*image);
    if (!is422 && !is4444 && !grey)
        return kStatusUnsupportedFormat;

    const ULong32 width = dst.GetWidth(), rows = dst.GetHeight();
    ViewPlane plane;
    if (const Long32 status = SelectPlane(dst, 0, rows, plane); status != kStatusOk)
        return status;

    const std::size_t bytesPerPixel = is422 ? 2 : is4444 ? 4 : WholeBytesPerPixel(*image);
    const std::size_t wordsPerRow = (width * bytesPerPixel) >> 2;
    const bool bytePlane = grey && image->GetBytesPerPixel() == 1.0F;

    if (mask != 0xFFFFFFFFU && !(bytePlane && mask == 255)) {
        if (bytePlane) {
            FillUnderMask(plane, width, rows, static_cast<std::uint8_t>(colour),
                          static_cast<std::uint8_t>(mask));
        } else {
            plane.pitch = InWords(plane.pitch);
            FillUnderMask<std::uint32_t>(plane, wordsPerRow, rows, colour, mask);
        }
        return kStatusOk;
    }
    const auto pathOf = [&](const StyleRule& styles) {
        return ChoosePath(styles, kFillVectors, static_cast<unsigned>(style), CPUinstructionSet, mmxOnly);
    };
    if (bytePlane)
        FillBytes(plane, width, rows, colour, pathOf(kByteFillStyles));
    else if (is4444 || (is422 && width % 2 == 0))
        FillWords(plane, wordsPerRow, rows, colour, pathOf(kWordFillStyles));
    else
        FillPairs(plane, width, rows, colour);
    return kStatusOk;
}

Long32 ZanCompositor::FillAlpha(ImageView& dst, ULong32 value, ProcessingStyleEnum style) {
    const Image* image = dst.GetImage();
    if (image == nullptr || image->GetImageDescriptor() == nullptr)
        return kStatusNullPointer;
    if (image->GetChannelSampling() != k4224)
        return kStatusUnsupportedFormat;
    ViewPlane plane;
    if (const Long32 status = SelectPlane(dst, 3, dst.GetHeight(), plane); status != kStatusOk)
        return status;
    FillBytes(
        plane, dst.GetWidth(), dst.GetHeight(), value,
        ChoosePath(kByteFillStyles, kFillVectors, static_cast<unsigned>(style), CPUinstructionSet, mmxOnly));
    return kStatusOk;
}

// ---- Memory passes ---------------------------------------------------------------------------------------

namespace {

constexpr StyleRule kPassStyles = {Ask::kRefuse, Ask::kRefuse, Ask::kVector,
                                   Ask::kRefuse, Ask::kVector, Ask::kRefuse};
constexpr VectorRule kPassVectors = {true, Path::kRefused, Path::kRefused};

/// The passes are there to measure the fast path, and have no other. The MMX-only flag has no say.
bool RunsPass(ProcessingStyleEnum style, const CPUcapabilities& processor) {
    return ChoosePath(kPassStyles, kPassVectors, static_cast<unsigned>(style), processor, false) !=
           Path::kRefused;
}

/// Words of a row, which the first view decides for all.
std::size_t WordsPerRow(const ImageView& view) {
    const Image* image = view.GetImage();
    const double bytesPerPixel = image != nullptr ? image->GetBytesPerPixel() : 0;
    // A host may add channels of any depth; no buffer holds more words than this.
    constexpr double kMost = 2147483648.0;
    return static_cast<std::size_t>(std::min(view.GetWidth() * bytesPerPixel * 0.25, kMost));
}

/// One source of an or pass: per 16 words counted it gives `groupBytes` in groups, then a word for each word
/// of the rest. What lies beyond the plane's end is left out.
struct OrSource {
    ViewPlane plane;
    std::size_t groupBytes;

    OrStretch Row(std::size_t words, std::size_t y, bool clip) const {
        std::size_t groups = words / 16 * groupBytes, rest = words % 16 * 4;
        if (clip) {
            const std::size_t inside = plane.Clip(groups + rest, y) & ~std::size_t{3};
            if (inside == 0)
                return {};
            groups = std::min(groups, inside);
            rest = inside - groups;
        }
        return {{plane.first + static_cast<std::ptrdiff_t>(y) * plane.pitch, plane.pitch}, groups, rest};
    }
    bool Holds(std::size_t words, std::size_t rows) const {
        return plane.Holds(words / 16 * groupBytes + words % 16 * 4, rows);
    }
};

ULong32 OrPass(const OrSource& a, const OrSource* b, std::size_t words, std::size_t rows) {
    std::uint32_t result = 0;
    if (words == 0)
        return result;
    const auto second = [&](std::size_t y, bool clip) {
        return b != nullptr ? b->Row(words, y, clip) : OrStretch{};
    };
    if (a.Holds(words, rows) && (b == nullptr || b->Holds(words, rows))) {
        kOrRows(a.Row(words, 0, false), second(0, false), rows, result);
        return result;
    }
    for (std::size_t y = 0; y < rows; ++y)
        kOrRows(a.Row(words, y, true), second(y, true), 1, result);
    return result;
}

}  // namespace

Long32 ZanCompositor::ReadOnlySingleSource(ImageView& src, ULong32& result, ProcessingStyleEnum style) {
    if (!RunsPass(style, CPUinstructionSet))
        return kStatusUnsupportedStyle;
    OrSource source = {{}, 64};
    if (const Long32 status = SelectPlane(src, 0, src.GetHeight(), source.plane); status != kStatusOk)
        return status;
    result = OrPass(source, nullptr, WordsPerRow(src), src.GetHeight());
    return kStatusOk;
}

Long32 ZanCompositor::ReadOnlyTwoSources(ImageView& srcA, ImageView& srcB, ULong32& result,
                                         ProcessingStyleEnum style) {
    if (!RunsPass(style, CPUinstructionSet))
        return kStatusUnsupportedStyle;
    // The block is uneven: five groups of the first source, three of the second.
    OrSource a = {{}, 80}, b = {{}, 48};
    const ULong32 rows = srcA.GetHeight();
    if (const Long32 status = SelectPlane(srcA, 0, rows, a.plane); status != kStatusOk)
        return status;
    if (const Long32 status = SelectPlane(srcB, 0, std::min(rows, srcB.GetHeight()), b.plane);
        status != kStatusOk)
        return status;
    result = OrPass(a, &b, WordsPerRow(srcA), rows);
    return kStatusOk;
}

Long32 ZanCompositor::ReadTwoSourcesWriteDst(ImageView& srcA, ImageView& srcB, ImageView& dst,
                                             ProcessingStyleEnum style) {
    if (!RunsPass(style, CPUinstructionSet))
        return kStatusUnsupportedStyle;
    const ULong32 rows = srcA.GetHeight();
    ViewPlane a, b, out;
    if (const Long32 status = SelectPlane(srcA, 0, rows, a); status != kStatusOk)
        return status;
    if (const Long32 status = SelectPlane(srcB, 0, std::min(rows, srcB.GetHeight()), b); status != kStatusOk)
        return status;
    if (const Long32 status = SelectPlane(dst, 0, std::min(rows, dst.GetHeight()), out); status != kStatusOk)
        return status;

    static constexpr TwoSourcePath kRows = {1, &kOrBytes, nullptr, PitchUnit::kBytes};
    WalkInside({{&a, 4}, {&b, 4}, {&out, 4}}, WordsPerRow(srcA), rows,
               [&](std::size_t first, std::size_t count, std::size_t words) {
                   const auto y = static_cast<std::ptrdiff_t>(first);
                   TwoSourceJob job = {{{{a.first + y * a.pitch, a.pitch}, {b.first + y * b.pitch, b.pitch}}},
                                       {out.first + y * out.pitch, out.pitch},
                                       4 * words,
                                       count};
                   Run<ByteLayout>(kRows, job, {});
               });
    return kStatusOk;
}

}  // namespace Zan
