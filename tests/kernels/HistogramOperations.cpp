#include <algorithm>
#include <array>
#include <memory>

#include "kernels/Operations.h"
#include "tone/kernels/Count.h"

namespace kernelcheck {

namespace {

using namespace Zan;

/// What pictures are made of, since each may be counted in another way.
enum class Content { kNoise, kFlat, kRuns, kFewColours };

void Paint(Content content, Random& random, std::uint8_t* row, std::size_t width) {
    const auto word = [&random] { return static_cast<std::uint32_t>(random()); };
    std::uint32_t colour = word();
    for (std::size_t x = 0; x < width; ++x) {
        const bool changes = content == Content::kNoise || (content == Content::kRuns && word() % 16 == 0) ||
                             content == Content::kFewColours;
        if (changes) {
            colour = content == Content::kFewColours ? 0xFF102030U + word() % 4 * 0x010201U : word();
        }
        for (std::size_t i = 0; i < 4; ++i) {
            row[4 * x + i] = static_cast<std::uint8_t>(colour >> 8 * i);
        }
    }
}

using Counts = std::array<std::array<ULong32, 256>, 4>;

/// One number for all counts of all tables.
Long32 SumOf(const Counts& counts) {
    std::uint32_t sum = 0;
    for (const auto& table : counts) {
        for (const ULong32 count : table) {
            sum = (sum ^ count) * 0x01000193U;
        }
    }
    return static_cast<Long32>(sum | 1);
}

/// A counter of `tables` tables on a picture; gives back a number for what it made.
template <class Run>
Operation Count(const std::string& name, Content content, Run run) {
    return {name + ", content " + std::to_string(static_cast<int>(content)),
            [=](Case& c) -> Operation::Run {
                const std::size_t rowBytes = 4 * c.width;
                const auto rows = std::make_shared<std::vector<std::uint8_t>>(rowBytes * c.height + 4);
                for (std::size_t y = 0; y < c.height; ++y) {
                    Paint(content, c.random, rows->data() + rowBytes * y, c.width);
                }
                Plane& plane = c.Add(rowBytes, c.height, 1);
                return [=, &plane, w = c.width, h = c.height]() -> Long32 {
                    for (std::size_t y = 0; y < h; ++y) {
                        std::copy_n(rows->data() + rowBytes * y, rowBytes, plane.row(y));
                    }
                    return run(CountJob{{Zan::Plane{plane.row(), plane.pitch()}}, {}, w, h, w});
                };
            },
            kSSE2, Operation::Proof::kReads};
}

Operation Bytes(std::size_t tables, Content content) {
    return Count("histogram by bytes, " + std::to_string(tables) + " tables", content,
                 [tables](const CountJob& job) {
                     Counts counts{};
                     ByteCounts to;
                     for (std::size_t i = 0; i < tables; ++i) {
                         to.of[i] = counts[i].data();
                     }
                     kCountBytes(job, to);
                     return SumOf(counts);
                 });
}

Operation Pairs(std::size_t tables, Content content) {
    const auto memory = std::make_shared<std::vector<std::uint32_t>>(2 * PairCounts::kValues);
    return Count("histogram by pairs, " + std::to_string(tables) + " tables", content,
                 [=](const CountJob& job) -> Long32 {
                     Counts counts{};
                     ByteCounts to;
                     for (std::size_t i = 0; i < tables; ++i) {
                         to.of[i] = counts[i].data();
                     }
                     kCountPairs(job, to, {{memory->data(), memory->data() + PairCounts::kValues}});
                     const bool isClean = std::all_of(memory->begin(), memory->end(),
                                                      [](std::uint32_t count) { return count == 0; });
                     return isClean ? SumOf(counts) : -1;
                 });
}

Operation Spread(bool countsByte3, Content content) {
    return Count(std::string("spread of pairs") + (countsByte3 ? " with byte 3" : ""), content,
                 [countsByte3](const CountJob& job) {
                     std::size_t lines = 0;
                     kSpreadOfPairs(job, countsByte3, lines);
                     return static_cast<Long32>(lines);
                 });
}

}  // namespace

std::vector<Operation> HistogramOperations() {
    std::vector<Operation> all;
    for (const Content content : {Content::kNoise, Content::kFlat, Content::kRuns, Content::kFewColours}) {
        for (const std::size_t tables : {3U, 4U}) {
            all.push_back(Bytes(tables, content));
            all.push_back(Pairs(tables, content));
            all.push_back(Spread(tables == 4, content));
        }
    }
    return all;
}

}  // namespace kernelcheck
