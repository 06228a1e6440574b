#include "convert/KernelTable.h"

#include <array>

#include "convert/ConversionPairs.h"
#include "convert/kernels/ConversionKernels.h"
#include "convert/kernels/CopyKernels.h"

namespace Zan {
namespace {

// One kernel for every processor.
constexpr KernelRow Row(int source, int destination, NamedKernel kernel) {
    return {static_cast<ConverterFormat>(source), static_cast<ConverterFormat>(destination), kernel, kernel};
}

constexpr KernelRow Row(int source, int destination, NamedKernel withoutSse2, NamedKernel withSse2) {
    return {static_cast<ConverterFormat>(source), static_cast<ConverterFormat>(destination), withoutSse2,
            withSse2};
}

// A copy has one body whatever its name.
constexpr KernelRow Copy(int format, ConversionKernel lines) {
    return Row(format, format, {lines, "CopyLines_MMX"}, {lines, "CopyLines_SSE2"});
}

// One composition under the names of its MMX and SSE forms.
constexpr KernelRow Row(int source, int destination, ConversionKernel kernel, const char* mmx,
                        const char* sse) {
    return Row(source, destination, {kernel, mmx}, {kernel, sse});
}

// A kernel that does not exist yet.
constexpr NamedKernel Later(const char* name) {
    return {nullptr, name};
}

constexpr KernelRow kernelRows[] = {
    Copy(0, CopyWordsPerColumn),
    Copy(1, CopyWordsPerColumn),
    Copy(2, CopyWordsPerPair),
    Copy(3, CopyWordsPerColumn),
    Copy(4, CopyWordsPerColumn),
    Copy(5, CopyWordsPerColumn),
    Copy(13, CopyWordsPerColumn),
    Copy(14, CopyWordsPerColumn),
    Copy(15, CopyWordsPerColumn),
    Copy(16, CopyPairsAndAlpha),
    Copy(17, CopyPairsAndAlpha),
    Row(10, 10, {CopyTriples, "CopyBytes"}),
    Row(25, 25, {CopyBytesPerColumn, "CopyBytes"}),
    Row(16, 2, Later("CopyLines_MMX"), Later("CopyLines_SSE2")),
    Row(17, 2, Later("CopyLines_MMX"), Later("CopyLines_SSE2")),
    Row(2, 16, Later("CopyLines_MMX"), Later("CopyLines_SSE2")),
    Row(2, 17, Later("CopyLines_MMX"), Later("CopyLines_SSE2")),

    // Seven-bit input.
    Row(0, 1, Later("ConvertRGB32ToCbYCrA_MMX"), Later("ConvertRGB32ToCbYCrA_SSE2")),
    Row(1, 0, Later("ConvertRGB32ToCbYCrA_MMX"), Later("ConvertRGB32ToCbYCrA_SSE2")),
    Row(1, 5, Later("ConvertRGB32ToCbYCrA_MMX"), Later("ConvertRGB32ToCbYCrA_SSE2")),
    Row(5, 1, Later("ConvertRGB32ToCbYCrA_MMX"), Later("ConvertRGB32ToCbYCrA_SSE2")),
    Row(3, 1, Later("ConvertPlus0")),
    Row(4, 1, Later("ConvertPlus0")),
    Row(2, 0, ConvertCbYCrYToRGB32, "ConvertCbYCrYToRGB32_MMX", "ConvertCbYCrYToRGB32_SSE"),
    Row(2, 5, ConvertCbYCrYToRGB32, "ConvertCbYCrYToRGB32_MMX", "ConvertCbYCrYToRGB32_SSE"),
    Row(2, 14, ConvertCbYCrYToRGB32, "ConvertCbYCrYToRGB32_MMX", "ConvertCbYCrYToRGB32_SSE"),
    Row(11, 0, Later("ConvertYCbYCrToRGB32")),
    Row(11, 5, Later("ConvertYCbYCrToRGB32")),
    Row(2, 10, Later("ConvertCbYCrYToRGB24")),
    Row(17, 10, Later("ConvertCbYCrYToRGB24")),
    Row(11, 10, Later("ConvertYCbYCrToRGB24")),
    Row(17, 0, Later("ConvertCbYCrY4ToRGB32")),
    Row(17, 5, Later("ConvertCbYCrY4ToRGB32")),
    Row(16, 14, Later("ConvertCbYCrY4ToRGB32")),
    Row(16, 0, Later("ConvertCbYCrY4ShapedToRGB32")),
    Row(16, 5, Later("ConvertCbYCrY4ShapedToRGB32")),
    Row(17, 14, Later("ConvertCbYCrY4ToRGB32Shaped")),

    // Eight-bit input.
    Row(0, 2, {ConvertRGB32ToCbYCrY, "ConvertRGB32ToCbYCrY"}),
    Row(5, 2, {ConvertRGB32ToCbYCrY, "ConvertRGB32ToCbYCrY"}),
    Row(14, 2, {ConvertRGB32ToCbYCrY, "ConvertRGB32ToCbYCrY"}),
    Row(10, 2, Later("ConvertRGB24ToCbYCrY")),
    Row(10, 11, Later("ConvertRGB24ToYCbYCr")),
    Row(0, 6, Later("ConvertRGB32ToPlanar420")),
    Row(0, 8, Later("ConvertRGB32ToPlanar420Interlaced")),
    Row(0, 9, Later("ConvertRGB32ToPlanar411")),
    Row(5, 9, Later("ConvertRGB32ToPlanar411")),
    Row(0, 12, Later("ConvertRGB32ToPlanarGrouped")),
    Row(5, 12, Later("ConvertRGB32ToPlanarGrouped")),
    Row(0, 17, Later("ConvertRGB32ToCbYCrY4")),
    Row(5, 17, Later("ConvertRGB32ToCbYCrY4")),
    Row(14, 16, Later("ConvertRGB32ToCbYCrY4")),
    Row(0, 16, Later("ConvertRGB32ToCbYCrY4Shaped")),
    Row(5, 16, Later("ConvertRGB32ToCbYCrY4Shaped")),
    Row(14, 17, Later("ConvertRGB32ShapedToCbYCrY4")),

    // Planes with subsampled chroma.
    Row(6, 0, ConvertPlanar420ToRGB32, "ConvertPlanar420ToRGB32_MMX", "ConvertPlanar420ToRGB32_SSE"),
    Row(6, 5, ConvertPlanar420ToRGB32, "ConvertPlanar420ToRGB32_MMX", "ConvertPlanar420ToRGB32_SSE"),
    Row(8, 0, Later("ConvertPlanar420InterlacedToRGB32")),
    Row(8, 5, Later("ConvertPlanar420InterlacedToRGB32")),
    Row(9, 0, Later("ConvertPlanar411ToRGB32")),
    Row(9, 5, Later("ConvertPlanar411ToRGB32")),

    // Repacks.
    Row(0, 10, Later("PackRGB32ToRGB24")),
    Row(10, 0, Later("UnpackRGB24ToRGB32")),
    Row(10, 14, Later("UnpackRGB24ToRGB32")),
    Row(10, 20, Later("UnpackRGB24ToRGB32")),
    Row(1, 2, Later("PackCbYCrAToCbYCrY")),
    Row(2, 1, Later("UnpackCbYCrYToCbYCrA")),
    Row(2, 11, {SwapCbYCrYToYCbYCr, "SwapCbYCrYWithYCbYCr"}),
    Row(11, 2, {SwapYCbYCrToCbYCrY, "SwapCbYCrYWithYCbYCr"}),
    Row(2, 6, Later("PackCbYCrYToPlanar420")),
    Row(2, 7, Later("PackCbYCrYToPlanar422")),
    Row(2, 12, Later("PackCbYCrYToPlanarGrouped")),
    Row(12, 2, Later("UnpackPlanarGroupedToCbYCrY")),
    Row(7, 2, Later("UnpackPlanar422ToCbYCrY")),
    Row(13, 17, Later("PackYCbCrAToCbYCrY4")),
    Row(1, 17, Later("PackCbYCrAToCbYCrY4")),
    Row(15, 16, Later("PackCbYCrAToCbYCrY4")),
    Row(16, 15, Later("UnpackCbYCrY4ToCbYCrA")),
    Row(17, 1, Later("UnpackCbYCrY4ToCbYCrA")),
    Row(2, 18, {MakeMonochromeLines, "MakeMonochromeLines"}),
    Row(16, 22, {MakeMonochromeLinesAndCopyAlpha, "MakeMonochromeLines"}),
    Row(17, 19, {MakeMonochromeLinesAndCopyAlpha, "MakeMonochromeLines"}),
    Row(18, 18, {MakeMonochromeLines, "MakeMonochromeLines"}),
    Row(19, 19, {MakeMonochromeLinesAndCopyAlpha, "MakeMonochromeLines"}),

    // Shaping.
    Row(0, 14, Later("ShapeRGB32")),
    Row(14, 0, Later("UnshapeRGB32Scalar"), Later("UnshapeRGB32_SSE2")),
    Row(17, 16, Later("ShapeCbYCrY4_MMX")),
    Row(16, 17, Later("UnshapeCbYCrY4Scalar"), Later("UnshapeCbYCrY4_SSE2")),
};

// Every pair of the path has exactly one row, and no row stands for another pair.
consteval bool RowsMatchPairs() {
    PairTable seen{};
    int rows = 0;
    for (const KernelRow& row : kernelRows) {
        const auto source = static_cast<std::uint32_t>(row.source);
        const auto destination = static_cast<std::uint32_t>(row.destination);
        if (!integerPairs.Has(source, destination) || seen.Has(source, destination)) {
            return false;
        }
        seen.Add(source, destination);
        ++rows;
    }
    return rows == integerPairs.Count();
}
static_assert(RowsMatchPairs());

constexpr auto rowOfPair = [] {
    std::array<std::array<std::int8_t, kConverterFormats>, kConverterFormats> index{};
    for (auto& row : index) {
        row.fill(-1);
    }
    std::int8_t next = 0;
    for (const KernelRow& row : kernelRows) {
        index[static_cast<std::size_t>(row.source)][static_cast<std::size_t>(row.destination)] = next++;
    }
    return index;
}();
static_assert(std::size(kernelRows) <= 127);

}  // namespace

NamedKernel FindIntegerKernel(std::uint32_t source, std::uint32_t destination, bool sse2) noexcept {
    if (!integerPairs.Has(source, destination)) {
        return {nullptr, nullptr};
    }
    const KernelRow& row = kernelRows[static_cast<std::size_t>(rowOfPair[source][destination])];
    return sse2 ? row.withSse2 : row.withoutSse2;
}

}  // namespace Zan
