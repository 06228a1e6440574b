#ifndef TESSELU_SRC_CONVERT_KERNELTABLE_H
#define TESSELU_SRC_CONVERT_KERNELTABLE_H

#include <TesselU/convert/ConverterFormat.h>

#include <cstddef>
#include <cstdint>

#include "image/ViewPlane.h"

namespace Zan {

/// Everything numeric that an integer kernel of a matrix pair receives.
///
/// `matrix` and `offset` are the doubles in use, always in the sense of out = matrix * (in + offset[0]) +
/// offset[1]; the scalar columns at the end of a row compute from them. The fixed-point members are for the
/// vector columns: `matrixFixed` in 8192ths (transposed for `kFmtPlanar420`, `kFmtPlanar420Interlaced` and
/// `kFmtPlanar411` to 32-bit RGB, so that a row holds what one input sample contributes), `offsetFixed`
/// scaled as the pair's arithmetic wants it. The paired members hold each row twice over.
struct alignas(16) FixedPointCoefficients {
    double matrix[4][4];
    double offset[2][4];
    std::int16_t matrixFixed[4][4];
    std::int16_t offsetFixed[2][4];
    std::int16_t matrixPaired[4][8];
    std::int16_t offsetPaired[2][8];
};
static_assert(sizeof(FixedPointCoefficients) == 336);

/// One run of a kernel: a rectangle of `width` columns and `height` lines, from plane to plane.
///
/// The converter has made sure that every row of every plane which the two formats use lies inside its
/// memory: 4 or 3 bytes a column in packed formats, whole pixel pairs (4 bytes) in packed 4:2:2 also when
/// `width` is odd, one byte a column in an alpha or luma plane, and chroma planes with their counts rounded
/// up. Whatever a kernel would touch beyond that it clips by the bounds of the plane. Pitches are as the view
/// gave them; kernels that step by 32-bit words pass them through `WordPitch`.
struct ConversionJob {
    ViewPlane source[4];
    ViewPlane destination[4];
    std::size_t width;
    std::size_t height;
    const FixedPointCoefficients* coefficients;  ///< null when the two formats are equal
    std::uint8_t alphaFill;
    bool useSseMmx;  ///< the form with prefetch and streaming stores, in kernels that have both
    bool sse2;
};

/// A pitch in whole 32-bit words, toward zero.
constexpr std::ptrdiff_t WordPitch(std::ptrdiff_t pitch) noexcept {
    return pitch / 4 * 4;
}

using ConversionKernel = void (*)(const ConversionJob&);

/// A kernel and the name it goes by.
struct NamedKernel {
    ConversionKernel run;
    const char* name;
};

/// A row of the kernel table: what converts `source` to `destination` on the integer path. `run` is null
/// where the kernel does not exist.
struct KernelRow {
    ConverterFormat source;
    ConverterFormat destination;
    NamedKernel withoutSse2;
    NamedKernel withSse2;
};

/// The kernel of a pair on the integer path; `run` is null when the pair has none.
NamedKernel FindIntegerKernel(std::uint32_t source, std::uint32_t destination, bool sse2) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_KERNELTABLE_H
