#include "convert/Pairs.h"

#include <array>
#include <cstdint>

#include "convert/Formats.h"

namespace Zan {
namespace {

// Source, destination, default matrix, form of the coefficients, paths, integer kernel with its names without
// and with SSE2, default matrix on the floating-point path if another, plus function. A line a pair.
// clang-format off
constexpr PairRecord kPairs[] = {
    {kFmtRGB32, kFmtRGB32, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, {&kCopyPixels32, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtRGB32, kFmtCbYCrA, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint | kOnFloatSimd, {nullptr, "ConvertRGB32ToCbYCrA_MMX", "ConvertRGB32ToCbYCrA_SSE2"}},
    {kFmtRGB32, kFmtCbYCrY, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {&kConvertRGB32ToCbYCrY, "ConvertRGB32ToCbYCrY"}},
    {kFmtRGB32, kFmtPlanar420, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToPlanar420"}},
    {kFmtRGB32, kFmtPlanar420Interlaced, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToPlanar420Interlaced"}},
    {kFmtRGB32, kFmtPlanar411, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToPlanar411"}},
    {kFmtRGB32, kFmtRGB24, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "PackRGB32ToRGB24"}},
    {kFmtRGB32, kFmtPlanarGrouped, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToPlanarGrouped"}},
    {kFmtRGB32, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}, kKindFullRGBToYCrCb},
    {kFmtRGB32, kFmtRGB32Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ShapeRGB32"}},
    {kFmtRGB32, kFmtCbYCrY4Shaped, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToCbYCrY4Shaped"}},
    {kFmtRGB32, kFmtCbYCrY4, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToCbYCrY4"}},
    {kFmtRGB32, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}, kKindFullRGBToYCrCb},
    {kFmtCbYCrA, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToCbYCrA_MMX", "ConvertRGB32ToCbYCrA_SSE2"}},
    {kFmtCbYCrA, kFmtCbYCrA, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, {&kCopyPixels32, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtCbYCrA, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "PackCbYCrAToCbYCrY"}},
    {kFmtCbYCrA, kFmtRGB32NarrowClamp, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnGeneral, {}},
    {kFmtCbYCrA, kFmtRGB32Studio, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnGeneral, {}},
    {kFmtCbYCrA, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToCbYCrA_MMX", "ConvertRGB32ToCbYCrA_SSE2"}},
    {kFmtCbYCrA, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "PackCbYCrAToCbYCrY4"}},
    {kFmtCbYCrY, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {&kConvertCbYCrYToRGB32, "ConvertCbYCrYToRGB32_MMX", "ConvertCbYCrYToRGB32_SSE"}},
    {kFmtCbYCrY, kFmtCbYCrA, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "UnpackCbYCrYToCbYCrA"}},
    {kFmtCbYCrY, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, {&kCopyPairs, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtCbYCrY, kFmtRGB32Studio, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnGeneral, {}},
    {kFmtCbYCrY, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {&kConvertCbYCrYToRGB32, "ConvertCbYCrYToRGB32_MMX", "ConvertCbYCrYToRGB32_SSE"}},
    {kFmtCbYCrY, kFmtPlanar420, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "PackCbYCrYToPlanar420"}},
    {kFmtCbYCrY, kFmtPlanar422, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "PackCbYCrYToPlanar422"}},
    {kFmtCbYCrY, kFmtRGB24, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertCbYCrYToRGB24"}},
    {kFmtCbYCrY, kFmtYCbYCr, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {&kSwapCbYCrYToYCbYCr, "SwapCbYCrYWithYCbYCr"}},
    {kFmtCbYCrY, kFmtPlanarGrouped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "PackCbYCrYToPlanarGrouped"}},
    {kFmtCbYCrY, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}},
    {kFmtCbYCrY, kFmtRGB32Shaped, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger, {&kConvertCbYCrYToRGB32, "ConvertCbYCrYToRGB32_MMX", "ConvertCbYCrYToRGB32_SSE"}},
    {kFmtCbYCrY, kFmtCbYCrY4Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger, {nullptr, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtCbYCrY, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtCbYCrY, kFmtCbYCrYMono, kKindIdentity, kOffsetsIn16ths, kOnInteger, {&kMakeMonochromeLines, "MakeMonochromeLines"}},
    {kFmtCbYCrY, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}},
    {kFmtCbYCrY, kFmtYCbCr24, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}},
    {kFmtRGB32NarrowClamp, kFmtCbYCrA, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertPlus0"}, kKindFullRGBToYCrCb, true},
    {kFmtRGB32NarrowClamp, kFmtRGB32NarrowClamp, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, {&kCopyPixels32, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtRGB32Studio, kFmtCbYCrA, kKindStudioRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertPlus0"}, kKindStudioRGBToYCrCb, true},
    {kFmtRGB32Studio, kFmtRGB32Studio, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, {&kCopyPixels32, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtRGB32StudioOpen, kFmtCbYCrA, kKindStudioRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToCbYCrA_MMX", "ConvertRGB32ToCbYCrA_SSE2"}},
    {kFmtRGB32StudioOpen, kFmtCbYCrY, kKindStudioRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {&kConvertRGB32ToCbYCrY, "ConvertRGB32ToCbYCrY"}},
    {kFmtRGB32StudioOpen, kFmtRGB32StudioOpen, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, {&kCopyPixels32, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtRGB32StudioOpen, kFmtPlanar411, kKindStudioRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToPlanar411"}},
    {kFmtRGB32StudioOpen, kFmtPlanarGrouped, kKindStudioRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToPlanarGrouped"}},
    {kFmtRGB32StudioOpen, kFmtCbYCrY4Shaped, kKindStudioRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToCbYCrY4Shaped"}},
    {kFmtRGB32StudioOpen, kFmtCbYCrY4, kKindStudioRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ToCbYCrY4"}},
    {kFmtPlanar420, kFmtRGB32, kKindYCrCbToFullRGB, kTransposed, kOnInteger | kOnFloat, {&kConvertPlanar420ToRGB32, "ConvertPlanar420ToRGB32_MMX", "ConvertPlanar420ToRGB32_SSE"}},
    {kFmtPlanar420, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kTransposed, kOnInteger | kOnFloat, {&kConvertPlanar420ToRGB32, "ConvertPlanar420ToRGB32_MMX", "ConvertPlanar420ToRGB32_SSE"}},
    {kFmtPlanar422, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger, {nullptr, "UnpackPlanar422ToCbYCrY"}},
    {kFmtPlanar420Interlaced, kFmtRGB32, kKindYCrCbToFullRGB, kTransposed, kOnInteger | kOnFloat, {nullptr, "ConvertPlanar420InterlacedToRGB32"}},
    {kFmtPlanar420Interlaced, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kTransposed, kOnInteger | kOnFloat, {nullptr, "ConvertPlanar420InterlacedToRGB32"}},
    {kFmtPlanar411, kFmtRGB32, kKindYCrCbToFullRGB, kTransposed, kOnInteger | kOnFloat, {nullptr, "ConvertPlanar411ToRGB32"}},
    {kFmtPlanar411, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kTransposed, kOnInteger | kOnFloat, {nullptr, "ConvertPlanar411ToRGB32"}},
    {kFmtRGB24, kFmtRGB32, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "UnpackRGB24ToRGB32"}},
    {kFmtRGB24, kFmtCbYCrY, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {nullptr, "ConvertRGB24ToCbYCrY"}},
    {kFmtRGB24, kFmtRGB24, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {&kCopyPixels24, "CopyBytes"}},
    {kFmtRGB24, kFmtYCbYCr, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {nullptr, "ConvertRGB24ToYCbYCr"}},
    {kFmtRGB24, kFmtRGB32Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger, {nullptr, "UnpackRGB24ToRGB32"}},
    {kFmtRGB24, kFmtRGB32ShapedOpaque, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "UnpackRGB24ToRGB32"}},
    {kFmtYCbYCr, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertYCbYCrToRGB32"}},
    {kFmtYCbYCr, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {&kSwapYCbYCrToCbYCrY, "SwapCbYCrYWithYCbYCr"}},
    {kFmtYCbYCr, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertYCbYCrToRGB32"}},
    {kFmtYCbYCr, kFmtRGB24, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertYCbYCrToRGB24"}},
    {kFmtPlanarGrouped, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "UnpackPlanarGroupedToCbYCrY"}},
    {kFmtPlanarGrouped, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnGeneral, {}},
    {kFmtYCbCrA, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {&kCopyPixels32, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtYCbCrA, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "PackYCbCrAToCbYCrY4"}},
    {kFmtRGB32Shaped, kFmtRGB32, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "UnshapeRGB32Scalar", "UnshapeRGB32_SSE2"}},
    {kFmtRGB32Shaped, kFmtCbYCrY, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {&kConvertRGB32ToCbYCrY, "ConvertRGB32ToCbYCrY"}},
    {kFmtRGB32Shaped, kFmtRGB32Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {&kCopyPixels32, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtRGB32Shaped, kFmtCbYCrY4Shaped, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger, {nullptr, "ConvertRGB32ToCbYCrY4"}},
    {kFmtRGB32Shaped, kFmtCbYCrY4, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, {nullptr, "ConvertRGB32ShapedToCbYCrY4"}},
    {kFmtRGB32Shaped, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}, kKindFullRGBToYCrCb},
    {kFmtCbYCrAShaped, kFmtCbYCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {&kCopyPixels32, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtCbYCrAShaped, kFmtCbYCrY4Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "PackCbYCrAToCbYCrY4"}},
    {kFmtCbYCrY4Shaped, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertCbYCrY4ShapedToRGB32"}},
    {kFmtCbYCrY4Shaped, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger, {nullptr, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtCbYCrY4Shaped, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertCbYCrY4ShapedToRGB32"}},
    {kFmtCbYCrY4Shaped, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}},
    {kFmtCbYCrY4Shaped, kFmtRGB32Shaped, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger, {nullptr, "ConvertCbYCrY4ToRGB32"}},
    {kFmtCbYCrY4Shaped, kFmtCbYCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "UnpackCbYCrY4ToCbYCrA"}},
    {kFmtCbYCrY4Shaped, kFmtCbYCrY4Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger, {&kCopyPairsAndAlpha, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtCbYCrY4Shaped, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "UnshapeCbYCrY4Scalar", "UnshapeCbYCrY4_SSE2"}},
    {kFmtCbYCrY4Shaped, kFmtCbYCrY4MonoShaped, kKindIdentity, kOffsetsIn16ths, kOnInteger, {&kMakeMonochromeLinesAndCopyAlpha, "MakeMonochromeLines"}},
    {kFmtCbYCrY4Shaped, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}},
    {kFmtCbYCrY4, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertCbYCrY4ToRGB32"}},
    {kFmtCbYCrY4, kFmtCbYCrA, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "UnpackCbYCrY4ToCbYCrA"}},
    {kFmtCbYCrY4, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtCbYCrY4, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertCbYCrY4ToRGB32"}},
    {kFmtCbYCrY4, kFmtRGB24, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertCbYCrYToRGB24"}},
    {kFmtCbYCrY4, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}},
    {kFmtCbYCrY4, kFmtRGB32Shaped, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ConvertCbYCrY4ToRGB32Shaped"}},
    {kFmtCbYCrY4, kFmtCbYCrY4Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {nullptr, "ShapeCbYCrY4_MMX"}},
    {kFmtCbYCrY4, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, {&kCopyPairsAndAlpha, "CopyLines_MMX", "CopyLines_SSE2"}},
    {kFmtCbYCrY4, kFmtCbYCrY4Mono, kKindIdentity, kOffsetsIn16ths, kOnInteger, {&kMakeMonochromeLinesAndCopyAlpha, "MakeMonochromeLines"}},
    {kFmtCbYCrY4, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}},
    {kFmtCbYCrYMono, kFmtCbYCrYMono, kKindIdentity, kOffsetsIn16ths, kOnInteger, {&kMakeMonochromeLines, "MakeMonochromeLines"}},
    {kFmtCbYCrY4Mono, kFmtCbYCrY4Mono, kKindIdentity, kOffsetsIn16ths, kOnInteger, {&kMakeMonochromeLinesAndCopyAlpha, "MakeMonochromeLines"}},
    {kFmtCbYCr24, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}},
    {kFmtYCbCr24, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnFloat, {}},
    {kFmtAlpha8, kFmtAlpha8, kKindIdentity, kOffsetsIn16ths, kOnInteger, {&kCopyBytePlane, "CopyBytes"}},
};
// clang-format on

constexpr std::uint8_t kNone = 255;
static_assert(std::size(kPairs) <= kNone);

using PairIndex = std::array<std::array<std::uint8_t, kConverterFormats>, kConverterFormats>;

constexpr PairIndex kRowOfPair = [] {
    PairIndex index{};
    for (auto& row : index) {
        row.fill(kNone);
    }
    for (std::size_t i = 0; i < std::size(kPairs); ++i) {
        std::uint8_t& row = index[static_cast<std::size_t>(kPairs[i].source)]
                                 [static_cast<std::size_t>(kPairs[i].destination)];
        row = row == kNone ? static_cast<std::uint8_t>(i) : throw "a pair has two records";
    }
    return index;
}();

}  // namespace

std::span<const PairRecord> Pairs() noexcept {
    return kPairs;
}

const PairRecord* FindPair(ConverterFormat source, ConverterFormat destination) noexcept {
    const auto from = static_cast<std::size_t>(source), to = static_cast<std::size_t>(destination);
    if (from >= kConverterFormats || to >= kConverterFormats || kRowOfPair[from][to] == kNone) {
        return nullptr;
    }
    return &kPairs[kRowOfPair[from][to]];
}

}  // namespace Zan
