#ifndef TESSELU_CONVERT_COLORSPACECONVERTER_H
#define TESSELU_CONVERT_COLORSPACECONVERTER_H

#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>
#include <TesselU/image/ImageFormat.h>

namespace Zan {

class ImageView;

/// Converts pictures from one pixel format to another: between RGB and YCrCb, between packings and chroma
/// samplings, between level conventions, between shaped and unshaped alpha.
///
/// Each image is reduced to a `ConverterFormat`; a code path has kernels for certain pairs of them. The style
/// of a call picks the path. All arithmetic is on 8-bit samples. One object serves one thread at a time;
/// settings stay from call to call.
class TESSELU_API ColorSpaceConverter {
public:
    /// Alpha fill 255, plus function 0, identity matrix, no offsets.
    ColorSpaceConverter() noexcept;
    ColorSpaceConverter(const ColorSpaceConverter&) noexcept = default;
    ColorSpaceConverter& operator=(const ColorSpaceConverter&) noexcept = default;
    ~ColorSpaceConverter() = default;

    /// Converts the picture of `source` to the format of `destination`, over the smaller of the two widths
    /// and heights. Views on the same memory are converted in place without any check.
    ///
    /// `callMatrix` is null or 16 doubles, row after row; `callOffset` is null or 8 doubles, first the row
    /// added before the matrix, then the row added after it, in code values. Samples are in memory order (B,
    /// G, R, A or Cb, Y, Cr, A). A null pointer asks for the default of the pair, each by itself.
    ///
    /// `callStyle` picks the path: `kFlp`, `kFP` and `kFlp_SIMD` their own, `kGeneralFormat` the general one,
    /// `kBestAvailable` the integer path, then the floating-point path, then the general path for a pair that
    /// the one before lacks; everything else the integer path.
    ///
    /// Returns 0; 1 when a channel of either image has no memory; 2 for a pitch that the path cannot step by;
    /// 3 for a negative width; 4 when the path does not have the pair; 5 for an unknown plus function, or a
    /// processor without the instructions of the path; 98 when a selection leaves its image.
    Long32 Do(ImageView& source, ImageView& destination, ProcessingStyleEnum callStyle, double* callMatrix,
              double* callOffset);

    /// The alpha that conversions from a format without alpha write.
    void SetAlphaChannel(unsigned char value) noexcept { alphaFill = value; }

    /// What becomes of alpha in `kFmtRGB32NarrowClamp` and `kFmtRGB32Studio` to `kFmtCbYCrA`; no other pair
    /// looks at it. With C the converted colour, a the alpha and t = (255 - a) / 255: 0: C, a. 1: C, 255 - a.
    /// 2: C * a / 255, a. 3: C * t, 255 - a. 4: C less the share of black in t (128, 16, 128), a. 5: C less
    /// the share of white in t (128, 235, 128), a. 6: C, 255. Any other value makes `Do` return 5.
    void SetPlusFunction(ULong32 function) noexcept { plusFunction = function; }

    /// Keeps conversions away from the integer-SSE form of their kernels. An SSE2 kernel is not held back.
    void SetMMXonlyStyle(bool only) noexcept { mmxOnly = only; }

    /// Copies the matrix that the last `Do` left, 16 doubles. After a default conversion from three planes
    /// with subsampled chroma to 32-bit RGB on the integer path it is the transposed one.
    void GetMatrixCoef(double* out) const noexcept;

    /// Copies the offsets that the last `Do` left, 8 doubles. Defaults of the integer path are not kept here.
    void GetOffset(double* out) const noexcept;

private:
    friend class ColorSpaceConverterMT;

    static CPUcapabilities& CPUinstructionSet;

    /// `isFollowed`: another strip is converted right below this one at the same time. A line of chroma that
    /// both have is left to it.
    Long32 DoStrip(ImageView& source, ImageView& destination, ProcessingStyleEnum callStyle,
                   double* callMatrix, double* callOffset, bool isFollowed);
    void RememberMatrix(const double (&used)[4][4], bool isTransposed) noexcept;

    ULong32 plusFunction = 0;
    double matrix[4][4] = {};
    double offset[2][4] = {};
    bool mmxOnly = false;
    unsigned char alphaFill = 255;
};

}  // namespace Zan

#endif  // TESSELU_CONVERT_COLORSPACECONVERTER_H
