#ifndef TESSELU_TONE_HISTOGRAM_H
#define TESSELU_TONE_HISTOGRAM_H

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/RCObject.h>
#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

#include <vector>

namespace Zan {

class ImageView;

/// Counts how often each value occurs in the bytes of 32-bit pixels: table 0 counts byte 0, the lowest, and
/// so on, so that on RGB tables 0, 1, 2, 3 are blue, green, red and alpha. Counts add up from call to call,
/// modulo 2^32, until `Clear`.
///
/// Copies share their tables; the last one frees them. An object, with its copies, serves one thread at a
/// time. It has half a megabyte of working memory from the first large picture on; without it `Do` takes
/// longer.
class TESSELU_API Histogram {
public:
    /// Tables of 32-bit counts, all 0. `Do` wants 3 or 4 tables of at least 256 entries. Tables that there is
    /// no memory for behave as if they were out of range; without memory for the object itself it has none.
    Histogram(ULong32 numberOfTables = 1, ULong32 numberOfEntries = 256) noexcept;

    /// Counts the pixels of a view on an image of packed `k4444`, 8 bits a sample, of any colour space with
    /// colour: bytes 0, 1 and 2 with 3 tables, byte 3 as well with 4. `style` is ignored.
    ///
    /// Returns 0, or, tested in this order and with nothing counted: 1 without an image; 4 for another
    /// format; 1 without memory; 98 when the selection leaves its image; -1 when there are neither 3 nor 4
    /// tables, or fewer than 256 entries; 1 when a table has no memory.
    Long32 Do(ImageView& view, ProcessingStyleEnum style);

    /// Stores a count. Out of range does nothing.
    void Set(ULong32 table, ULong32 entry, ULong32 value) noexcept;
    /// A count; 0 out of range.
    ULong32 Get(ULong32 table, ULong32 entry) const noexcept;
    /// The counts of a table, 32 bits each, at an address that is a multiple of 128; null out of range.
    unsigned char* GetPointerToTable(ULong32 table) const noexcept;

    ULong32 GetNumberOfTables() const noexcept { return static_cast<ULong32>(tables.size()); }
    ULong32 GetNumberOfTableEntries() const noexcept { return numberOfEntries; }

    /// Zeroes one table. Out of range does nothing.
    void Clear(ULong32 table) noexcept;
    /// Zeroes all tables.
    void Clear() noexcept;

    /// Kept; all counters are alike.
    void SetMMXonlyStyle(bool only) noexcept { mmxOnly = only; }

private:
    static CPUcapabilities& CPUinstructionSet;

    ULong32* Entries(ULong32 table) const noexcept;
    bool HasPairs() noexcept;

    ULong32 numberOfEntries = 0;
    std::vector<Tuk::RCPtr<AlignedMemoryBuffer>> tables;
    Tuk::RCPtr<AlignedMemoryBuffer> pairs;  ///< working memory of `Do`, from the first large picture on
    bool mmxOnly = false;
};

}  // namespace Zan

#endif  // TESSELU_TONE_HISTOGRAM_H
