#ifndef TESSELU_CONVERT_COLORSPACECONVERTER_H
#define TESSELU_CONVERT_COLORSPACECONVERTER_H

#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>
#include <TesselU/image/ImageFormat.h>

#include <cstddef>

namespace Zan {

class ImageView;
struct ConversionPlan;
struct ConversionRequest;
class RememberedCall;

/// Converts pictures from one pixel format to another: between RGB and YCrCb, between packings and chroma
/// samplings, between level conventions, between shaped and unshaped alpha.
///
/// Each image is reduced to a `ConverterFormat`; a code path has kernels for certain pairs of them. The style
/// of a call picks the path. All arithmetic is on 8-bit samples. One object serves one thread at a time;
/// settings stay from call to call. Calls on pictures that are described alike cost less than the first of
/// them.
class TESSELU_API ColorSpaceConverter {
public:
    /// Alpha fill 255, plus function 0, identity matrix, no offsets.
    ColorSpaceConverter() noexcept;
    ColorSpaceConverter(const ColorSpaceConverter& other) noexcept;
    ColorSpaceConverter& operator=(const ColorSpaceConverter& other) noexcept;
    ~ColorSpaceConverter() = default;

    /// Converts the picture of `source` to the format of `destination`, over the smaller of the two widths
    /// and heights. Views on the same memory are converted in place without any check; in rows that overlap
    /// at a distance of less than 16 pixels any may come out.
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

    /// The same for callers who hold plain memory and no image: `source` and `destination` are the first
    /// samples of channel 0, the pitches the bytes from line to line, the formats `ConverterFormat` codes and
    /// the style a `ProcessingStyleEnum` value as numbers. Nothing is known of the memory, so nothing is
    /// checked but null addresses.
    ///
    /// Between packed 4:2:2 or 32-bit RGB and `kFmtPlanar420`, `kFmtPlanar420Interlaced`, from 32-bit RGB to
    /// `kFmtPlanar411` and from `kFmtCbYCrY` to `kFmtPlanar422` planes lie one behind the other without gaps:
    /// Cb `width * height` bytes behind Y, then Cr, their pitches the share of the first. Any other pair with
    /// several planes uses those of the last call with views.
    ///
    /// Returns what the other form returns; also 1 for a pair that needs planes of which none are known.
    Long32 Do(ULong32* source, ULong32* destination, ULong32 width, ULong32 height, Long32 sourcePitch,
              Long32 destinationPitch, ULong32 sourceFormat, ULong32 destinationFormat, ULong32 style,
              double* callMatrix, double* callOffset);

    /// Multiplies the colour of a picture by its alpha, in place, and marks the image as `kShaped`. Takes
    /// packed RGB `k4444`, c * a / 255 rounded, and packed YCrCb `k4224`, where luma is taken around 16 and
    /// chroma, which goes by the alpha of the even pixel, around 128. Opaque images, and transparent ones
    /// that are black, are marked only.
    ///
    /// Returns 0; 4 for another format; 1 without memory; 98 when the selection leaves its image. The result
    /// is the same for every style.
    Long32 Shape(ImageView& picture, ProcessingStyleEnum style);

    /// Divides by alpha, and marks the image as `kUnshaped`. In RGB (c * 255 / a rounded) colour above its
    /// alpha wraps, and is 0 where alpha is 0; in YCrCb the result is rounded down and limited, and neutral
    /// where alpha is 0. Opaque and transparent images are marked only. Returns what `Shape` returns.
    Long32 Unshape(ImageView& picture, ProcessingStyleEnum style);

    /// The alpha that conversions from a format without alpha write.
    void SetAlphaChannel(unsigned char value) noexcept { alphaFill = value; }

    /// What becomes of alpha in `kFmtRGB32NarrowClamp` and `kFmtRGB32Studio` to `kFmtCbYCrA`; no other pair
    /// looks at it. With C the converted colour, a the alpha and t = (255 - a) / 255: 0: C, a. 1: C, 255 - a.
    /// 2: C * a / 255, a. 3: C * t, 255 - a. 4: C less the share of black in t (128, 16, 128), a. 5: C less
    /// the share of white in t (128, 235, 128), a. 6: C, 255. Any other value makes `Do` return 5;
    /// the coefficients of the pair are left as if it had not.
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
    Long32 PlanOfViews(const ImageView& source, const ImageView& destination, ProcessingStyleEnum callStyle,
                       const double* callMatrix, const double* callOffset, ConversionPlan& plan) noexcept;
    Long32 MakePlan(ConversionRequest& request, const double* callMatrix, const double* callOffset,
                    ConversionPlan& plan) noexcept;
    void RememberMatrix(const double (&used)[4][4], bool isTransposed) noexcept;
    Long32 ChangeShaping(ImageView& picture, ShapedEnum shaped) noexcept;

    RememberedCall& Remembered() noexcept;

    /// A plane of the last call; the raw form takes from them what it is not given.
    struct KnownPlane {
        unsigned char* first = nullptr;
        std::ptrdiff_t pitch = 0;
    };
    KnownPlane knownSource[4];
    KnownPlane knownDestination[4];
    ULong32 plusFunction = 0;
    double matrix[4][4] = {};
    double offset[2][4] = {};
    bool mmxOnly = false;
    unsigned char alphaFill = 255;
    /// What a call on pictures like those of the last one need not find out again, in place: calls do not
    /// allocate.
    alignas(16) unsigned char remembered[1536];
};

}  // namespace Zan

#endif  // TESSELU_CONVERT_COLORSPACECONVERTER_H
