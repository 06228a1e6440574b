#ifndef TESSELU_FILTER_DEEPDEFOCUS_H
#define TESSELU_FILTER_DEEPDEFOCUS_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ImageView;

/// Blurs pictures by the mean of a box of any odd size, at a cost that does not grow with it.
///
/// The four bytes of a 32-bit pixel are treated alike, whatever they are: BGRA as well as Cb, Y, Cr, A. Each
/// becomes the mean of the same byte in the `kw` by `kh` pixels around it. Beyond the edges the picture is
/// mirrored, and the pixels of the edge itself are not repeated: left of columns 0, 1, 2 ... lie columns 1, 2
/// ...
///
/// A plain value. One object may serve several threads at once, as long as they write separate rows.
class TESSELU_API DeepDefocus {
public:
    /// 8 bits a sample.
    DeepDefocus() noexcept = default;
    /// `bits` enters into the limit of the sum of a box and into the scale of the integer form; pixels are
    /// always four bytes.
    explicit DeepDefocus(ULong32 bits) noexcept : bitsPerSample(bits) {}

    /// Blurs the columns from `xStart` and the rows from `yStart`, up to but not including `xEnd` and `yEnd`,
    /// counted from the top left of the views. What lies at or beyond the smallest width and height of the
    /// two views, the working size, is left out. The boxes read all of the working size.
    ///
    /// `horizontalSize` and `verticalSize` are the size of the box in pixels and rows. The style says how
    /// they become whole numbers, and how the sum S of a byte over the box becomes a byte:
    ///
    /// - `kInt_MMXorSIMD`, `kFlp_SIMD`, `kBestAvailable`: the size is rounded, and one more where it is even
    ///   then; below 1 it is 1, above the working size that. The byte is S times 1 / (kw * kh), both and the
    ///   product in single precision, rounded to nearest, halves to even, and limited to 0 ... 255. On a
    ///   processor without SSE the size is the same, and the byte that of the next styles.
    /// - `kFlp`, `kFP`: the size is truncated; above the working size it is that. The byte is
    ///   ((S >> preShift) * multiplier) >> (totalShift - preShift), which truncates; sums and products have
    ///   32 bits. `preShift`, at most 32, is how often kw * kh * (2^bits - 1) is halved to be 65535 or less,
    ///   and `totalShift` how often 1 / (kw * kh) is doubled to be 32768 or more, which is the multiplier,
    ///   with halves rounded up where that stays below 65536. With a `totalShift` below `preShift` it is 0.
    /// - All others: the size is truncated, and every box is summed by itself, in 32 bits. The byte is S
    ///   times 1.0 / (kw * kh) plus 0.5, in double precision, truncated. Slow; for checking the others.
    ///
    /// Where `xEnd` is not above `xStart`, column `xStart` is written all the same, except in the last form.
    /// Nothing is written where `yEnd` is not above `yStart`, nor where a start lies beyond the working size.
    /// Source and destination must be different memory: in place no pixel is defined.
    ///
    /// Takes any `k4444` image with four channels, also with 16 or 32 bits a sample: of each line as many
    /// 32-bit words as the view has pixels. Returns 0, or, tested in this order:
    ///
    /// | Status | Meaning |
    /// |---|---|
    /// | 1 | no image |
    /// | 4 | an image that is not `k4444`, or has not four channels |
    /// | 1 | an image without memory |
    /// | 98 | a selection whose 32-bit words leave their image, as fields of a bottom-left one do |
    /// | -10 | (2^bits - 1) * `horizontalSize` * `verticalSize` is above 4294967295.0 |
    /// | -1 | a size is 0, or negative where it is truncated, or not a number |
    /// | -2 | a size is even |
    /// | -3 | a size is not smaller than the working size |
    /// | -4 | a working size above 2^31 |
    /// | -5 | in the integer form, kw * kh is above 65536, for which there is no scale |
    ///
    /// Nothing is written where the status is not 0.
    Long32 Do(ImageView& source, ImageView& destination, double horizontalSize, double verticalSize,
              ULong32 xStart, ULong32 xEnd, ULong32 yStart, ULong32 yEnd, ProcessingStyleEnum style) const;

private:
    static CPUcapabilities& CPUinstructionSet;

    ULong32 bitsPerSample = 8;
};

}  // namespace Zan

#endif  // TESSELU_FILTER_DEEPDEFOCUS_H
