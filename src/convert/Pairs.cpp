#include "convert/Pairs.h"

#include <array>
#include <cstdint>

#include "convert/Formats.h"

namespace Zan {
namespace {

// Integer kernels: the kernel, its columns a group, its names without and with SSE2, its group without.
// clang-format off
constexpr IntegerKernel kNoKernel{};
constexpr IntegerKernel kCopy32{&kCopyPixels32, 1, "CopyLines_MMX", "CopyLines_SSE2"};
constexpr IntegerKernel kCopy24{&kCopyPixels24, 1, "CopyBytes"};
constexpr IntegerKernel kCopy422{&kCopyPairs, 1, "CopyLines_MMX", "CopyLines_SSE2"};
constexpr IntegerKernel kCopy4224{&kCopyPairsAndAlpha, 1, "CopyLines_MMX", "CopyLines_SSE2"};
constexpr IntegerKernel kCopy422FillAlpha{&kCopyPairsAndFillAlpha, 1, "CopyLines_MMX", "CopyLines_SSE2"};
constexpr IntegerKernel kCopyAlpha{&kCopyBytePlane, 1, "CopyBytes"};
constexpr IntegerKernel kPixelsToPixels{&kConvertRGB32ToCbYCrA, 16, "ConvertRGB32ToCbYCrA_MMX", "ConvertRGB32ToCbYCrA_SSE2", 2};
constexpr IntegerKernel kPlus{&kConvertPlus, 2, "ConvertPlus0"};
constexpr IntegerKernel kCbYCrYToRGB32{&kConvertCbYCrYToRGB32, 16, "ConvertCbYCrYToRGB32_MMX", "ConvertCbYCrYToRGB32_SSE"};
constexpr IntegerKernel kYCbYCrToRGB32{&kConvertYCbYCrToRGB32, 16, "ConvertYCbYCrToRGB32"};
constexpr IntegerKernel kCbYCrYToRGB24{&kConvertCbYCrYToRGB24, 16, "ConvertCbYCrYToRGB24"};
constexpr IntegerKernel kYCbYCrToRGB24{&kConvertYCbYCrToRGB24, 16, "ConvertYCbYCrToRGB24"};
constexpr IntegerKernel kCbYCrY4ToRGB32{&kConvertCbYCrY4ToRGB32, 8, "ConvertCbYCrY4ToRGB32"};
constexpr IntegerKernel kCbYCrY4ShapedToRGB32{&kConvertCbYCrY4ShapedToRGB32, 8, "ConvertCbYCrY4ShapedToRGB32"};
constexpr IntegerKernel kCbYCrY4ToRGB32Shaped{&kConvertCbYCrY4ToRGB32Shaped, 8, "ConvertCbYCrY4ToRGB32Shaped"};
constexpr IntegerKernel kPlanar420ToRGB32{&kConvertPlanar420ToRGB32, 16, "ConvertPlanar420ToRGB32_MMX", "ConvertPlanar420ToRGB32_SSE"};
constexpr IntegerKernel kPlanar420InterlacedToRGB32{&kConvertPlanar420InterlacedToRGB32, 16, "ConvertPlanar420InterlacedToRGB32"};
constexpr IntegerKernel kPlanar411ToRGB32{&kConvertPlanar411ToRGB32, 16, "ConvertPlanar411ToRGB32"};
constexpr IntegerKernel kRGB32ToCbYCrY{&kConvertRGB32ToCbYCrY, 4, "ConvertRGB32ToCbYCrY"};
constexpr IntegerKernel kRGB24ToCbYCrY{&kConvertRGB24ToCbYCrY, 4, "ConvertRGB24ToCbYCrY"};
constexpr IntegerKernel kRGB24ToYCbYCr{&kConvertRGB24ToYCbYCr, 4, "ConvertRGB24ToYCbYCr"};
constexpr IntegerKernel kRGB32ToPlanar420{&kConvertRGB32ToPlanar420, 16, "ConvertRGB32ToPlanar420"};
constexpr IntegerKernel kRGB32ToPlanar420Interlaced{&kConvertRGB32ToPlanar420Interlaced, 16, "ConvertRGB32ToPlanar420Interlaced"};
constexpr IntegerKernel kRGB32ToPlanar411{&kConvertRGB32ToPlanar411, 16, "ConvertRGB32ToPlanar411"};
constexpr IntegerKernel kRGB32ToPlanarGrouped{&kConvertRGB32ToPlanarGrouped, 16, "ConvertRGB32ToPlanarGrouped"};
constexpr IntegerKernel kRGB32ToCbYCrY4{&kConvertRGB32ToCbYCrY4, 8, "ConvertRGB32ToCbYCrY4"};
constexpr IntegerKernel kRGB32ToCbYCrY4Shaped{&kConvertRGB32ToCbYCrY4Shaped, 8, "ConvertRGB32ToCbYCrY4Shaped"};
constexpr IntegerKernel kRGB32ShapedToCbYCrY4{&kConvertRGB32ShapedToCbYCrY4, 8, "ConvertRGB32ShapedToCbYCrY4"};
constexpr IntegerKernel kPackRGB32ToRGB24Kernel{&kPackRGB32ToRGB24, 1, "PackRGB32ToRGB24"};
constexpr IntegerKernel kUnpackRGB24ToRGB32Kernel{&kUnpackRGB24ToRGB32, 1, "UnpackRGB24ToRGB32"};
constexpr IntegerKernel kPackCbYCrAToCbYCrYKernel{&kPackCbYCrAToCbYCrY, 1, "PackCbYCrAToCbYCrY"};
constexpr IntegerKernel kUnpackCbYCrYToCbYCrAKernel{&kUnpackCbYCrYToCbYCrA, 1, "UnpackCbYCrYToCbYCrA"};
constexpr IntegerKernel kPackCbYCrYToPlanar420Kernel{&kPackCbYCrYToPlanar420, 1, "PackCbYCrYToPlanar420"};
constexpr IntegerKernel kPackCbYCrYToPlanar422Kernel{&kPackCbYCrYToPlanar422, 1, "PackCbYCrYToPlanar422"};
constexpr IntegerKernel kPackCbYCrYToPlanarGroupedKernel{&kPackCbYCrYToPlanarGrouped, 1, "PackCbYCrYToPlanarGrouped"};
constexpr IntegerKernel kUnpackPlanarGroupedToCbYCrYKernel{&kUnpackPlanarGroupedToCbYCrY, 1, "UnpackPlanarGroupedToCbYCrY"};
constexpr IntegerKernel kUnpackPlanar422ToCbYCrYKernel{&kUnpackPlanar422ToCbYCrY, 1, "UnpackPlanar422ToCbYCrY"};
constexpr IntegerKernel kPackYCbCrAToCbYCrY4Kernel{&kPackYCbCrAToCbYCrY4, 1, "PackYCbCrAToCbYCrY4"};
constexpr IntegerKernel kPackCbYCrAToCbYCrY4Kernel{&kPackCbYCrAToCbYCrY4, 1, "PackCbYCrAToCbYCrY4"};
constexpr IntegerKernel kUnpackCbYCrY4ToCbYCrAKernel{&kUnpackCbYCrY4ToCbYCrA, 1, "UnpackCbYCrY4ToCbYCrA"};
constexpr IntegerKernel kCbYCrYToYCbYCr{&kSwapCbYCrYToYCbYCr, 1, "SwapCbYCrYWithYCbYCr"};
constexpr IntegerKernel kYCbYCrToCbYCrY{&kSwapYCbYCrToCbYCrY, 1, "SwapCbYCrYWithYCbYCr"};
constexpr IntegerKernel kMono{&kMakeMonochromeLines, 1, "MakeMonochromeLines"};
constexpr IntegerKernel kMonoAlpha{&kMakeMonochromeLinesAndCopyAlpha, 1, "MakeMonochromeLines"};
constexpr IntegerKernel kShape{&kShapeRGB32, 1, "ShapeRGB32"};
constexpr IntegerKernel kUnshape{&kUnshapeRGB32, 1, "UnshapeRGB32Scalar", "UnshapeRGB32_SSE2"};
constexpr IntegerKernel kShape4224{&kShapeCbYCrY4, 1, "ShapeCbYCrY4_MMX"};
constexpr IntegerKernel kUnshape4224{&kUnshapeCbYCrY4, 1, "UnshapeCbYCrY4Scalar", "UnshapeCbYCrY4_SSE2"};

// Source, destination, default matrix, form of the coefficients, paths, integer kernel, traits, default matrix
// on the floating-point path and its kernel where it has its own. A line a pair.
constexpr PairRecord kPairs[] = {
    {kFmtRGB32, kFmtRGB32, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, kCopy32},
    {kFmtRGB32, kFmtCbYCrA, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint | kOnFloatSimd, kPixelsToPixels},
    {kFmtRGB32, kFmtCbYCrY, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB32ToCbYCrY},
    {kFmtRGB32, kFmtPlanar420, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, kRGB32ToPlanar420, kDerivesPlanes},
    {kFmtRGB32, kFmtPlanar420Interlaced, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, kRGB32ToPlanar420Interlaced, kDerivesPlanes},
    {kFmtRGB32, kFmtPlanar411, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, kRGB32ToPlanar411, kDerivesPlanes},
    {kFmtRGB32, kFmtRGB24, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kPackRGB32ToRGB24Kernel},
    {kFmtRGB32, kFmtPlanarGrouped, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB32ToPlanarGrouped},
    {kFmtRGB32, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindFullRGBToYCrCb, &kFloatRGB32ToYCbCrA},
    {kFmtRGB32, kFmtRGB32Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kShape},
    {kFmtRGB32, kFmtCbYCrY4Shaped, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB32ToCbYCrY4Shaped},
    {kFmtRGB32, kFmtCbYCrY4, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB32ToCbYCrY4},
    {kFmtRGB32, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindFullRGBToYCrCb, &kFloatRGB32ToYCbCrAShaped},
    {kFmtCbYCrA, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kPixelsToPixels},
    {kFmtCbYCrA, kFmtCbYCrA, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, kCopy32},
    {kFmtCbYCrA, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kPackCbYCrAToCbYCrYKernel},
    {kFmtCbYCrA, kFmtRGB32NarrowClamp, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnGeneral, kNoKernel},
    {kFmtCbYCrA, kFmtRGB32Studio, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnGeneral, kNoKernel},
    {kFmtCbYCrA, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kPixelsToPixels},
    {kFmtCbYCrA, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kPackCbYCrAToCbYCrY4Kernel},
    {kFmtCbYCrY, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrYToRGB32},
    {kFmtCbYCrY, kFmtCbYCrA, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kUnpackCbYCrYToCbYCrAKernel},
    {kFmtCbYCrY, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, kCopy422},
    {kFmtCbYCrY, kFmtRGB32Studio, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnGeneral, kNoKernel},
    {kFmtCbYCrY, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrYToRGB32},
    {kFmtCbYCrY, kFmtPlanar420, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kPackCbYCrYToPlanar420Kernel, kDerivesPlanes},
    {kFmtCbYCrY, kFmtPlanar422, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kPackCbYCrYToPlanar422Kernel, kDerivesPlanes},
    {kFmtCbYCrY, kFmtRGB24, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrYToRGB24},
    {kFmtCbYCrY, kFmtYCbYCr, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrYToYCbYCr},
    {kFmtCbYCrY, kFmtPlanarGrouped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kPackCbYCrYToPlanarGroupedKernel},
    {kFmtCbYCrY, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindIdentity, &kFloatCbYCrYToYCbCrA},
    {kFmtCbYCrY, kFmtRGB32Shaped, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger, kCbYCrYToRGB32},
    {kFmtCbYCrY, kFmtCbYCrY4Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger, kCopy422FillAlpha},
    {kFmtCbYCrY, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kCopy422FillAlpha},
    {kFmtCbYCrY, kFmtCbYCrYMono, kKindIdentity, kOffsetsIn16ths, kOnInteger, kMono},
    {kFmtCbYCrY, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindIdentity, &kFloatCbYCrYToYCbCrA},
    {kFmtCbYCrY, kFmtYCbCr24, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindIdentity, &kFloatCbYCrYToYCbCr24},
    {kFmtRGB32NarrowClamp, kFmtCbYCrA, kKindFullRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, kPlus, kPlusFunction},
    {kFmtRGB32NarrowClamp, kFmtRGB32NarrowClamp, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, kCopy32},
    {kFmtRGB32Studio, kFmtCbYCrA, kKindStudioRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, kPlus, kPlusFunction},
    {kFmtRGB32Studio, kFmtRGB32Studio, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, kCopy32},
    {kFmtRGB32StudioOpen, kFmtCbYCrA, kKindStudioRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, kPixelsToPixels},
    {kFmtRGB32StudioOpen, kFmtCbYCrY, kKindStudioRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB32ToCbYCrY},
    {kFmtRGB32StudioOpen, kFmtRGB32StudioOpen, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat | kOnFixedPoint, kCopy32},
    {kFmtRGB32StudioOpen, kFmtPlanar411, kKindStudioRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, kRGB32ToPlanar411, kDerivesPlanes},
    {kFmtRGB32StudioOpen, kFmtPlanarGrouped, kKindStudioRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB32ToPlanarGrouped},
    {kFmtRGB32StudioOpen, kFmtCbYCrY4Shaped, kKindStudioRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB32ToCbYCrY4Shaped},
    {kFmtRGB32StudioOpen, kFmtCbYCrY4, kKindStudioRGBToYCrCb, kOffsetsIn16ths, kOnInteger | kOnFloat, kRGB32ToCbYCrY4},
    {kFmtPlanar420, kFmtRGB32, kKindYCrCbToFullRGB, kTransposed, kOnInteger | kOnFloat, kPlanar420ToRGB32, kDerivesPlanes},
    {kFmtPlanar420, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kTransposed, kOnInteger | kOnFloat, kPlanar420ToRGB32, kDerivesPlanes},
    {kFmtPlanar422, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger, kUnpackPlanar422ToCbYCrYKernel},
    {kFmtPlanar420Interlaced, kFmtRGB32, kKindYCrCbToFullRGB, kTransposed, kOnInteger | kOnFloat, kPlanar420InterlacedToRGB32, kDerivesPlanes},
    {kFmtPlanar420Interlaced, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kTransposed, kOnInteger | kOnFloat, kPlanar420InterlacedToRGB32, kDerivesPlanes},
    {kFmtPlanar411, kFmtRGB32, kKindYCrCbToFullRGB, kTransposed, kOnInteger | kOnFloat, kPlanar411ToRGB32},
    {kFmtPlanar411, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kTransposed, kOnInteger | kOnFloat, kPlanar411ToRGB32},
    {kFmtRGB24, kFmtRGB32, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kUnpackRGB24ToRGB32Kernel},
    {kFmtRGB24, kFmtCbYCrY, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB24ToCbYCrY},
    {kFmtRGB24, kFmtRGB24, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kCopy24},
    {kFmtRGB24, kFmtYCbYCr, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB24ToYCbYCr},
    {kFmtRGB24, kFmtRGB32Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger, kUnpackRGB24ToRGB32Kernel},
    {kFmtRGB24, kFmtRGB32ShapedOpaque, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kUnpackRGB24ToRGB32Kernel},
    {kFmtYCbYCr, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kYCbYCrToRGB32},
    {kFmtYCbYCr, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kYCbYCrToCbYCrY},
    {kFmtYCbYCr, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kYCbYCrToRGB32},
    {kFmtYCbYCr, kFmtRGB24, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kYCbYCrToRGB24},
    {kFmtPlanarGrouped, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kUnpackPlanarGroupedToCbYCrYKernel},
    {kFmtPlanarGrouped, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnGeneral, kNoKernel},
    {kFmtYCbCrA, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kCopy32},
    {kFmtYCbCrA, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kPackYCbCrAToCbYCrY4Kernel},
    {kFmtRGB32Shaped, kFmtRGB32, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kUnshape},
    {kFmtRGB32Shaped, kFmtCbYCrY, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB32ToCbYCrY},
    {kFmtRGB32Shaped, kFmtRGB32Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kCopy32},
    {kFmtRGB32Shaped, kFmtCbYCrY4Shaped, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger, kRGB32ToCbYCrY4},
    {kFmtRGB32Shaped, kFmtCbYCrY4, kKindFullRGBToYCrCb, kWholeOffsets, kOnInteger | kOnFloat, kRGB32ShapedToCbYCrY4},
    {kFmtRGB32Shaped, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindFullRGBToYCrCb, &kFloatRGB32ToYCbCrA},
    {kFmtCbYCrAShaped, kFmtCbYCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kCopy32},
    {kFmtCbYCrAShaped, kFmtCbYCrY4Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kPackCbYCrAToCbYCrY4Kernel},
    {kFmtCbYCrY4Shaped, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrY4ShapedToRGB32},
    {kFmtCbYCrY4Shaped, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger, kCopy422, kDropsAlpha},
    {kFmtCbYCrY4Shaped, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrY4ShapedToRGB32},
    {kFmtCbYCrY4Shaped, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindIdentity, &kFloatCbYCrY4ShapedToYCbCrA},
    {kFmtCbYCrY4Shaped, kFmtRGB32Shaped, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger, kCbYCrY4ToRGB32},
    {kFmtCbYCrY4Shaped, kFmtCbYCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kUnpackCbYCrY4ToCbYCrAKernel},
    {kFmtCbYCrY4Shaped, kFmtCbYCrY4Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger, kCopy4224},
    {kFmtCbYCrY4Shaped, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kUnshape4224},
    {kFmtCbYCrY4Shaped, kFmtCbYCrY4MonoShaped, kKindIdentity, kOffsetsIn16ths, kOnInteger, kMonoAlpha},
    {kFmtCbYCrY4Shaped, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindIdentity, &kFloatCbYCrY4ToYCbCrA},
    {kFmtCbYCrY4, kFmtRGB32, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrY4ToRGB32},
    {kFmtCbYCrY4, kFmtCbYCrA, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kUnpackCbYCrY4ToCbYCrAKernel},
    {kFmtCbYCrY4, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kCopy422, kDropsAlpha},
    {kFmtCbYCrY4, kFmtRGB32StudioOpen, kKindYCrCbToStudioRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrY4ToRGB32},
    {kFmtCbYCrY4, kFmtRGB24, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrYToRGB24, kDropsAlpha},
    {kFmtCbYCrY4, kFmtYCbCrA, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindIdentity, &kFloatCbYCrY4ToYCbCrA},
    {kFmtCbYCrY4, kFmtRGB32Shaped, kKindYCrCbToFullRGB, kOffsetsIn16ths, kOnInteger | kOnFloat, kCbYCrY4ToRGB32Shaped},
    {kFmtCbYCrY4, kFmtCbYCrY4Shaped, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kShape4224},
    {kFmtCbYCrY4, kFmtCbYCrY4, kKindIdentity, kOffsetsIn16ths, kOnInteger | kOnFloat, kCopy4224},
    {kFmtCbYCrY4, kFmtCbYCrY4Mono, kKindIdentity, kOffsetsIn16ths, kOnInteger, kMonoAlpha},
    {kFmtCbYCrY4, kFmtYCbCrAShaped, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindIdentity, &kFloatCbYCrY4ToYCbCrAShaped},
    {kFmtCbYCrYMono, kFmtCbYCrYMono, kKindIdentity, kOffsetsIn16ths, kOnInteger, kMono},
    {kFmtCbYCrY4Mono, kFmtCbYCrY4Mono, kKindIdentity, kOffsetsIn16ths, kOnInteger, kMonoAlpha},
    {kFmtCbYCr24, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindIdentity, &kFloatCbYCr24ToCbYCrY},
    {kFmtYCbCr24, kFmtCbYCrY, kKindIdentity, kOffsetsIn16ths, kOnFloat, kNoKernel, kPlain, kKindIdentity, &kFloatYCbCr24ToCbYCrY},
    {kFmtAlpha8, kFmtAlpha8, kKindIdentity, kOffsetsIn16ths, kOnInteger, kCopyAlpha},
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
