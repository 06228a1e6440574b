#ifndef TESSELU_TONE_CUBELUT_H
#define TESSELU_TONE_CUBELUT_H

#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/tone/LookUpTable3D.h>

#include <cstddef>

namespace Zan {

class ImageView;

/// A colour table from a `.cube` file: three curves (1D), or a lattice of colours (3D) between whose points
/// colours are interpolated.
///
/// All arithmetic is on whole numbers, with one rounding. For an axis of n points and the domain lo...hi a
/// sample v stands at p = 16320 * (n - 1) * (v / 255 - lo) / (hi - lo), rounded, limited to 0 ... 16320 * (n
/// - 1): in cell p / 16320, f = p mod 16320 into it. With the default domain 0...1 that is exact, 64 * v * (n
/// - 1). A point's value, in single precision, is kept as e = value * 2^15 rounded, halves up, in 16 bits
/// from -16384 to 49151: values from -0.5 to just below 1.5. Where one does not fit, the whole table is kept
/// in steps of 2^14, or as few more halvings as it takes; with 2^10, the last, values are limited to that
/// range.
///
/// In a cell of the lattice, with f1 >= f2 >= f3 the fractions of its axes and e0, e1, e2, e3 the points at
/// the cell's origin, one step from there along the axis of f1, another along that of f2, and another along
/// that of f3 (tetrahedral interpolation), with k = 15 or the exponent above:
///
///     ((16320 - f1) * e0 + (f1 - f2) * e1 + (f2 - f3) * e2 + f3 * e3 + 2^(k + 5)) >> (k + 6)
///
/// limited to 0...255. On a curve, with e0 and e1 the points around: ((16320 - f) * e0 + f * e1 + 2^(k + 5))
/// >> (k + 6).
///
/// A table that has not been read is the identity. Reading needs memory; `Do` needs none. Copies share what
/// was read. Tables are read-only during `Do`, which may run on several threads.
class TESSELU_API CubeLUT : public LookUpTable3D {
public:
    /// What `Read` answers.
    enum ReadStatusEnum : int {
        kRead = 0,
        kNoText = 1,         ///< the address is null
        kUnknownLine = 2,    ///< neither a comment nor a keyword nor a row of three numbers
        kBadNumber = 3,      ///< no number, or one beyond single precision
        kBadSize = 4,        ///< not 2...65536 points of a curve, not 2...256 a side
        kBadDomain = 5,      ///< a lower end that is not below its upper end
        kBadTitle = 6,       ///< not in quotation marks
        kRepeated = 7,       ///< a keyword again, or a second size
        kOutOfPlace = 8,     ///< a row before the size, or a keyword behind the first row
        kTooFewRows = 9,     ///< the text ends early
        kTooManyRows = 10,   ///< a row more than the size says
        kNoSize = 11,        ///< the text ends without a size
        kNoTableMemory = 12  ///< the table does not fit
    };

    /// Takes a table from the text of a `.cube` file: lines that end in LF or CR LF, a byte order mark of
    /// UTF-8 in front or not. Empty lines, and lines that start with #, are passed over. Keywords, each once
    /// at most and before the rows:
    ///
    /// - `TITLE "text"`
    /// - `LUT_1D_SIZE n` (2 to 65536) or `LUT_3D_SIZE n` (2 to 256)
    /// - `DOMAIN_MIN r g b`, `DOMAIN_MAX r g b`, by default 0 0 0 and 1 1 1
    /// - `LUT_1D_INPUT_RANGE lo hi`, `LUT_3D_INPUT_RANGE lo hi`: the same for all three
    ///
    /// Then n, or n * n * n, rows of red, green and blue, in 3D with red changing fastest. Numbers have a
    /// point, whatever the locale.
    ///
    /// Returns a `ReadStatusEnum`. Unless it is 0 the table stays as it was, and `line` is the number of the
    /// offending line, the first being 1, or of the last one where something is missing; else 0.
    Long32 Read(const char* text, std::size_t size, ULong32& line) noexcept;

    /// A few words for what `Read` returned; null for anything else.
    static const char* ReadStatusText(Long32 status) noexcept;

    /// 3 for a lattice, 1 for curves, 0 for the identity of a table that has not been read.
    ULong32 GetDimensions() const noexcept;
    /// Points of a curve, or of a side of the lattice; 0 for the identity.
    ULong32 GetSize() const noexcept;
    /// The title without its quotation marks, "" if there is none. Valid until the table is read again.
    const char* GetTitle() const noexcept;

    using LookUpTable3D::Do;

    /// Maps the colours of `source` into `destination`, over the smaller of the two widths and heights, in
    /// place if wanted. Both must be packed RGB of 8 bits, both `k4444` or both `k444`. Alpha goes along
    /// unchanged, and colours are taken as they stand, shaped or not. `style` is ignored.
    ///
    /// Returns 0, or, tested in this order and with nothing written: 1 without an image; 4 for other formats;
    /// 1 without memory; 98 when a selection leaves its image.
    Long32 Do(ImageView& source, ImageView& destination, ProcessingStyleEnum style = kBestAvailable) const;
};

}  // namespace Zan

#endif  // TESSELU_TONE_CUBELUT_H
