#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/Histogram.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>
#include <new>

#include "foundation/ClassCapabilities.h"
#include "image/ViewFormat.h"
#include "image/ViewPlane.h"
#include "tone/kernels/Count.h"

namespace Zan {
namespace {

constexpr ULong32 kBytesPerEntry = 4;
constexpr ULong32 kValues = 256;  // that a byte can have
constexpr ULong32 kTableAlignment = 128;

/// Whether counting by pairs pays: not on small pictures, nor where colours are so many that their counts
/// leave the first-level cache. Some runs of pixels stand for all.
bool PairsPay(const CountJob& job, bool countsByte3) {
    constexpr std::size_t kLeastPixels = 65536, kRuns = 16, kPixelsOfRun = 256;
    if (job.width * job.height < kLeastPixels) {
        return false;
    }
    CountJob sample = job;
    sample.height = std::min(job.height, kRuns);
    sample.width = sample.whole = std::min(job.width, kPixelsOfRun);
    Plane& plane = sample.source[0];
    plane.pitch *= static_cast<std::ptrdiff_t>(job.height / sample.height);
    plane.first += 4 * ((job.width - sample.width) / 2);
    std::size_t lines = 0;
    kSpreadOfPairs(sample, countsByte3, lines);
    return lines <= sample.width * sample.height / 2;
}

}  // namespace

constinit CPUcapabilities& Histogram::CPUinstructionSet = classCapabilities[kOwnerHistogram];

Histogram::Histogram(ULong32 numberOfTables, ULong32 newNumberOfEntries) noexcept
    : numberOfEntries(newNumberOfEntries) {
    try {
        tables.resize(numberOfTables);
        if (numberOfEntries > std::numeric_limits<ULong32>::max() / kBytesPerEntry) {
            return;
        }
        for (Tuk::RCPtr<AlignedMemoryBuffer>& table : tables) {
            table = new AlignedMemoryBuffer(numberOfEntries * kBytesPerEntry, kTableAlignment,
                                            kNoAliasWorkAround);
        }
    } catch (const std::exception&) {
        // Tables that there is no memory for stay null.
    }
    Clear();
}

ULong32* Histogram::Entries(ULong32 table) const noexcept {
    return reinterpret_cast<ULong32*>(GetPointerToTable(table));
}

unsigned char* Histogram::GetPointerToTable(ULong32 table) const noexcept {
    return table < tables.size() && tables[table] ? tables[table]->GetAlignedPointer() : nullptr;
}

void Histogram::Set(ULong32 table, ULong32 entry, ULong32 value) noexcept {
    if (ULong32* const entries = Entries(table); entries != nullptr && entry < numberOfEntries) {
        entries[entry] = value;
    }
}

ULong32 Histogram::Get(ULong32 table, ULong32 entry) const noexcept {
    const ULong32* const entries = Entries(table);
    return entries != nullptr && entry < numberOfEntries ? entries[entry] : 0;
}

void Histogram::Clear(ULong32 table) noexcept {
    if (ULong32* const entries = Entries(table); entries != nullptr) {
        std::memset(entries, 0, std::size_t{numberOfEntries} * kBytesPerEntry);
    }
}

void Histogram::Clear() noexcept {
    for (ULong32 table = 0; table < tables.size(); ++table) {
        Clear(table);
    }
}

Long32 Histogram::Do(ImageView& view, ProcessingStyleEnum /*style*/) {
    const Image* const image = view.GetImage();
    if (image == nullptr) {
        return kStatusNullPointer;
    }
    if (!Is4444(*image) || image->GetBytesPerChannel(0) > 1.0F) {
        return kStatusUnsupportedFormat;
    }
    Plane plane;
    if (const Long32 status = SelectPlane(view, 0, view.GetHeight(), plane); status != kStatusOk) {
        return status;
    }
    if ((tables.size() != 3 && tables.size() != 4) || numberOfEntries < kValues) {
        return kStatusBadArgument;
    }
    ByteCounts counts;
    for (ULong32 table = 0; table < tables.size(); ++table) {
        counts.of[table] = Entries(table);
        if (counts.of[table] == nullptr) {
            return kStatusNullPointer;
        }
    }
    const std::size_t width = view.GetWidth();
    const CountJob job{{plane}, {}, width, view.GetHeight(), width};
    if (PairsPay(job, counts.of[3] != nullptr) && HasPairs()) {
        auto* const first = reinterpret_cast<std::uint32_t*>(pairs->GetAlignedPointer());
        kCountPairs(job, counts, {{first, first + PairCounts::kValues}});
    } else {
        kCountBytes(job, counts);
    }
    return kStatusOk;
}

bool Histogram::HasPairs() noexcept {
    if (!pairs) {
        pairs =
            new (std::nothrow) AlignedMemoryBuffer(PairCounts::kBytes, kTableAlignment, kNoAliasWorkAround);
        if (pairs && pairs->GetAlignedPointer() != nullptr) {
            std::memset(pairs->GetAlignedPointer(), 0, PairCounts::kBytes);
        }
    }
    return pairs && pairs->GetAlignedPointer() != nullptr;
}

}  // namespace Zan
