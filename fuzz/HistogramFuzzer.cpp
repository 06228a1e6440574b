// Histograms of pictures and views of any kind: what is refused counts nothing, what is counted is every
// pixel in every table, and all counters count alike.

#include "Calls.h"
#include "HostilePicture.h"
#include "Input.h"
#include "Levels.h"

#include <TesselU/tone/Histogram.h>

#include <cstdlib>
#include <vector>

#include "image/ViewPlane.h"
#include "tone/kernels/Count.h"

namespace {

using namespace Zan;

fuzz::Calls calls;

/// All counts of all tables, one behind the other.
std::vector<ULong32> Counts(const Histogram& histogram) {
    std::vector<ULong32> counts;
    for (ULong32 table = 0; table < histogram.GetNumberOfTables(); ++table) {
        for (ULong32 entry = 0; entry < histogram.GetNumberOfTableEntries(); ++entry) {
            counts.push_back(histogram.Get(table, entry));
        }
    }
    return counts;
}

/// What a table counts, modulo 2^32.
ULong32 SumOfTable(const Histogram& histogram, ULong32 table) {
    ULong32 sum = 0;
    for (ULong32 entry = 0; entry < histogram.GetNumberOfTableEntries(); ++entry) {
        sum += histogram.Get(table, entry);
    }
    return sum;
}

/// Any number of tables, mostly one that `Do` takes.
Histogram AnyHistogram(fuzz::Input& input) {
    const ULong32 tables = input.Once(8) ? input.Below(7) : 3 + input.Below(2);
    return Histogram(tables, input.Once(8) ? input.Below(600) : 256);
}

void Change(fuzz::Input& input, Histogram& histogram) {
    const ULong32 table = input.Once(8) ? input.Raw<ULong32>() : input.Below(6);
    const ULong32 entry = input.Once(8) ? input.Raw<ULong32>() : input.Below(300);
    switch (input.Below(4)) {
        case 0:
            histogram.Clear(table);
            break;
        case 1:
            histogram.Clear();
            break;
        default: {
            const auto value = input.Raw<ULong32>();
            histogram.Set(table, entry, value);
            const bool isInRange =
                table < histogram.GetNumberOfTables() && entry < histogram.GetNumberOfTableEntries();
            if (histogram.Get(table, entry) != (isInRange ? value : 0)) {
                std::abort();
            }
        }
    }
}

/// The counters by themselves, since pictures here are too small for the choice between them.
void CompareCounters(const ImageView& view) {
    static std::vector<std::uint32_t> memory(2 * PairCounts::kValues);
    Plane plane;
    if (view.GetImage() == nullptr || SelectPlane(view, 0, view.GetHeight(), plane) != kStatusOk) {
        return;
    }
    const CountJob job{{plane}, {}, view.GetWidth(), view.GetHeight(), view.GetWidth()};
    for (std::size_t tables = 3; tables <= 4; ++tables) {
        std::vector<ULong32> counts[2] = {std::vector<ULong32>(4 * 256), std::vector<ULong32>(4 * 256)};
        ByteCounts to[2];
        for (std::size_t i = 0; i < 2; ++i) {
            for (std::size_t table = 0; table < tables; ++table) {
                to[i].of[table] = counts[i].data() + 256 * table;
            }
        }
        kCountBytes(job, to[0]);
        kCountPairs(job, to[1], {{memory.data(), memory.data() + PairCounts::kValues}});
        calls.Add(2);
        if (counts[0] != counts[1]) {
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const fuzz::Levels levels(input);
    Histogram histogram = AnyHistogram(input);
    histogram.SetMMXonlyStyle(input.Flip());
    fuzz::HostilePicture picture(input);
    const std::uint64_t pixels = picture.Sum();
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        if (input.Once(4)) {
            Change(input, histogram);
        }
        ImageView view = picture.View(input);
        const std::vector<ULong32> before = Counts(histogram);
        const ULong32 sumBefore = SumOfTable(histogram, 0);
        Histogram copy(histogram);
        const Long32 status = copy.Do(view, input.Enumeration<ProcessingStyleEnum>(7));
        calls.Add();
        if (status != 0) {
            if (Counts(histogram) != before) {
                std::abort();
            }
            continue;
        }
        const ULong32 counted = SumOfTable(histogram, 0) - sumBefore;
        if (counted > std::uint64_t{view.GetWidth()} * view.GetHeight()) {
            std::abort();
        }
        for (ULong32 table = 1; table < histogram.GetNumberOfTables(); ++table) {
            ULong32 sum = 0;
            for (ULong32 entry = 0; entry < histogram.GetNumberOfTableEntries(); ++entry) {
                sum += before[table * histogram.GetNumberOfTableEntries() + entry];
            }
            if (SumOfTable(histogram, table) - sum != counted) {
                std::abort();
            }
        }
        if (input.Once(8)) {
            CompareCounters(view);
        }
    }
    if (picture.Sum() != pixels) {
        std::abort();
    }
    return 0;
}
