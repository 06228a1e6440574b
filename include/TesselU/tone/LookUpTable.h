#ifndef TESSELU_TONE_LOOKUPTABLE_H
#define TESSELU_TONE_LOOKUPTABLE_H

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/RCObject.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>
#include <TesselU/image/ImageFormat.h>

#include <vector>

namespace Zan {

class ImageView;

/// One-dimensional tables of equal size, and their application to packed 4:2:2 pictures: one table for each
/// byte position of a pair of pixels.
///
/// Tables are only read by `Do`, which may run on several threads; filling one meanwhile is the caller's
/// affair. Copies of an object share their tables: what is written through one is seen by all, and the last
/// owner releases them. `Init` gives an object tables of its own.
///
/// A table that could not get memory, or would exceed 32 bits, is treated as out of range by the accessors.
class TESSELU_API LookUpTable {
public:
    /// `numberOfLUTs` tables of `numberOfEntries` entries, all set to identity. Entries have `bitsPerEntry`
    /// bits (0 counts as 1) in whole bytes, little-endian; three bytes become four.
    LookUpTable(ULong32 numberOfLUTs = 1, ULong32 numberOfEntries = 256, ULong32 bitsPerEntry = 8);

    /// Drops all tables and makes new ones, all set to identity.
    void Init(ULong32 newNumberOfLUTs, ULong32 newNumberOfEntries, ULong32 newBitsPerEntry);

    /// Takes the bytes of packed YCrCb `k422` and `k4224` pictures through the tables, by their position
    /// whatever the component order: byte 0 of a pair of pixels through table 0, bytes 1 and 3 through table
    /// 1, byte 2 through table 2. An odd last pixel of a row stays as it was. With exactly four tables, and
    /// two views that have an alpha plane, all alpha bytes go through table 3; otherwise the destination's
    /// alpha stays as it was. With fewer than three tables nothing is done.
    ///
    /// Tables are read as bytes, whatever the depth of their entries; what lies beyond a small table reads as
    /// 0. The work area is the smallest width and height of the two views, which may be the same. The style
    /// does not matter.
    ///
    /// Returns 0; 1 without an image or its memory, or when a table has none; 4 for another format; 98 when a
    /// selection leaves its image.
    Long32 Do(ImageView& source, ImageView& destination, ProcessingStyleEnum style) const;

    /// `table[index]`, for callers who hold the raw pointer. Nothing is checked.
    ULong32 Do(unsigned char* table, ULong32 index) const noexcept { return table[index]; }
    ULong32 Do(unsigned short* table, ULong32 index) const noexcept { return table[index]; }
    ULong32 Do(ULong32* table, ULong32 index) const noexcept { return table[index]; }

    /// Takes 4:2:2 pixels in plain memory through tables of a component and its alpha: entry component * 256
    /// + alpha of three tables with 65536 entries of one byte; what a smaller table lacks reads as 0. The
    /// alpha plane, a byte a pixel, is copied first. Both chroma samples of a pair go by the alpha of its
    /// even pixel; an odd last pixel of a row stays as it was. Pitches are signed, in bytes. Memory is
    /// trusted; source and destination may be the same.
    ///
    /// Returns 0, with nothing done where there are fewer than three tables or no alpha on either side; 1
    /// when `source` or `destination` is null, or when a table has no memory.
    Long32 Do_ButUseComponentAndAlphaYCrCb4224(ULong32* source, unsigned char* sourceAlpha,
                                               ULong32* destination, unsigned char* destinationAlpha,
                                               ULong32 width, ULong32 height, Long32 sourcePitch,
                                               Long32 sourceAlphaPitch, Long32 destinationPitch,
                                               Long32 destinationAlphaPitch) const;

    /// Stores `value`, truncated to the bytes of an entry. Nothing happens out of range.
    void SetLUT(ULong32 lut, ULong32 entry, ULong32 value) noexcept;
    /// The entry; 0 out of range. Of entries wider than four bytes the lowest four.
    ULong32 GetLUT(ULong32 lut, ULong32 entry) const noexcept;
    /// The table itself, aligned to 128 bytes; null out of range.
    unsigned char* GetPointerToLUT(ULong32 lut) const noexcept;

    ULong32 GetNumberOfLUTs() const noexcept { return numberOfLUTs; }
    ULong32 GetNumberOfLUTentries() const noexcept { return numberOfEntries; }
    ULong32 GetNumberOfBitsPerEntry() const noexcept { return bitsPerEntry; }
    ULong32 GetNumberOfBytesPerEntry() const noexcept { return bytesPerEntry; }

    /// Entry i holds i, in one table or in all.
    void SetLUTtoIdentity(ULong32 lut) noexcept;
    void SetLUTtoIdentity() noexcept;

    /// Fills a table with the video transfer curve of `type` (ITU-R BT.601 and BT.709), out of range with the
    /// identity curve. `low` and `high` as in `SetLUTbyFunction`. `kGammaPower` has the exponent 1.
    void SetLUTtoGammaCorrect(ULong32 lut, TypeOfGamma type, double low, double high);

    /// Fills a table with a function of [0, 1], which spans the part from `low` to `high`, both as fractions
    /// of the last entry and of the greatest value, M = 2^bits - 1.
    ///
    /// With l = trunc(low * lastEntry) and o = trunc(low * M), entry i gets f((i - l) / (trunc(high *
    /// lastEntry) - l)), limited to 0 ... 1 (not a number: 0), times trunc(high * M) - o, rounded, plus o,
    /// and at most M. All but f is in unsigned 32 bits, which wrap: below l the argument is very large, so
    /// that the top of the curve stands there, and entries above the span take what f makes of more than 1.
    void SetLUTbyFunction(ULong32 lut, double (*function)(double), double low, double high);

    /// Stored; nothing here depends on it.
    void SetMMXonlyStyle(bool only) noexcept { mmxOnly = only; }

private:
    static CPUcapabilities& CPUinstructionSet;

    ULong32 TableBytes() const noexcept;
    template <class Curve>
    void Fill(ULong32 lut, const Curve& curve, double low, double high);

    ULong32 numberOfLUTs = 0;
    ULong32 numberOfEntries = 0;
    ULong32 bitsPerEntry = 1;
    ULong32 bytesPerEntry = 1;
    std::vector<Tuk::RCPtr<AlignedMemoryBuffer>> tables;
    bool mmxOnly = false;
};

}  // namespace Zan

#endif  // TESSELU_TONE_LOOKUPTABLE_H
