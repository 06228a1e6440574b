// The memory passes: they read, or read and write, and do next to nothing else.

#include <TesselU/composite/ZanCompositor.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>

#include "composite/BlendPaths.h"
#include "composite/ViewPlanes.h"

namespace Zan {
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
    return view.GetImage() != nullptr ? WordsOf(*view.GetImage(), view.GetWidth()) : 0;
}

/// Or-s a plane into `result`: per 16 of the words counted `groups` groups of 16 bytes, of each of which the
/// first word counts, and then a word for each that is left.
void OrPlane(const Plane& plane, std::size_t words, std::size_t rows, std::size_t groups,
             std::uint32_t& result) {
    const std::size_t groupWords = words / 16 * 4 * groups;
    const std::size_t columns = groupWords + words % 16;
    kOrRows({{plane}, {}, columns, rows, columns}, groupWords, result);
}

}  // namespace

Long32 ZanCompositor::ReadOnlySingleSource(ImageView& src, ULong32& result, ProcessingStyleEnum style) {
    if (!RunsPass(style, CPUinstructionSet)) {
        return kStatusUnsupportedStyle;
    }
    Plane plane;
    if (const Long32 status = SelectPlane(src, 0, src.GetHeight(), plane); status != kStatusOk) {
        return status;
    }
    std::uint32_t all = 0;
    OrPlane(plane, WordsPerRow(src), src.GetHeight(), 4, all);
    result = all;
    return kStatusOk;
}

Long32 ZanCompositor::ReadOnlyTwoSources(ImageView& srcA, ImageView& srcB, ULong32& result,
                                         ProcessingStyleEnum style) {
    if (!RunsPass(style, CPUinstructionSet)) {
        return kStatusUnsupportedStyle;
    }
    const ULong32 rows = srcA.GetHeight();
    Plane a, b;
    if (const Long32 status = SelectPlane(srcA, 0, rows, a); status != kStatusOk) {
        return status;
    }
    if (const Long32 status = SelectPlane(srcB, 0, std::min(rows, srcB.GetHeight()), b);
        status != kStatusOk) {
        return status;
    }
    // The blocks are uneven: five groups of the first source, three of the second.
    std::uint32_t all = 0;
    OrPlane(a, WordsPerRow(srcA), rows, 5, all);
    OrPlane(b, WordsPerRow(srcA), rows, 3, all);
    result = all;
    return kStatusOk;
}

Long32 ZanCompositor::ReadTwoSourcesWriteDst(ImageView& srcA, ImageView& srcB, ImageView& dst,
                                             ProcessingStyleEnum style) {
    if (!RunsPass(style, CPUinstructionSet)) {
        return kStatusUnsupportedStyle;
    }
    const ULong32 rows = srcA.GetHeight();
    Plane a, b, out;
    if (const Long32 status = SelectPlane(srcA, 0, rows, a); status != kStatusOk) {
        return status;
    }
    if (const Long32 status = SelectPlane(srcB, 0, std::min(rows, srcB.GetHeight()), b);
        status != kStatusOk) {
        return status;
    }
    if (const Long32 status = SelectPlane(dst, 0, std::min(rows, dst.GetHeight()), out);
        status != kStatusOk) {
        return status;
    }
    const std::size_t bytes = 4 * WordsPerRow(srcA);
    kOrBytes({{a, b}, {out}, bytes, rows, bytes}, {});
    return kStatusOk;
}

}  // namespace Zan
