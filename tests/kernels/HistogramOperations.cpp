#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <TesselU/tone/Histogram.h>

#include <algorithm>
#include <memory>

#include "kernels/Operations.h"

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

/// One number for all counts of all tables.
Long32 SumOf(const Histogram& histogram) {
    std::uint32_t sum = 0;
    for (ULong32 table = 0; table < histogram.GetNumberOfTables(); ++table) {
        for (ULong32 entry = 0; entry < histogram.GetNumberOfTableEntries(); ++entry) {
            sum = (sum ^ histogram.Get(table, entry)) * 0x01000193U;
        }
    }
    return static_cast<Long32>(sum | 1);
}

Operation Count(ULong32 tables, Content content) {
    return {"Histogram, " + std::to_string(tables) + " tables, content " +
                std::to_string(static_cast<int>(content)),
            [=](Case& c) -> Operation::Run {
                // A few rows are too few for the counters of large pictures, so they are counted often.
                const std::size_t width = c.width;
                const auto rows = std::make_shared<std::vector<std::uint8_t>>(4 * width * c.height + 4);
                for (std::size_t y = 0; y < c.height; ++y) {
                    Paint(content, c.random, rows->data() + 4 * width * y, width);
                }
                Plane& plane = c.Add(4 * width, c.height, 4, 0, Plane::Kind::kImage);
                const ImageDescriptor format(static_cast<ULong32>(width), static_cast<ULong32>(c.height),
                                             kRGB, k4444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft,
                                             1.0F, kUnshaped);
                const auto image =
                    std::make_shared<Image>(plane.row(), static_cast<ULong32>(plane.pitch()), format, 1U, 1U);
                return [=, &plane, h = c.height]() -> Long32 {
                    for (std::size_t y = 0; y < h; ++y) {
                        std::copy_n(rows->data() + 4 * width * y, 4 * width, plane.row(y));
                    }
                    Histogram histogram(tables, 256);
                    ImageView view(image.get());
                    for (int times = 0; times < 3; ++times) {
                        if (const Long32 status = histogram.Do(view, kBestAvailable); status != 0) {
                            return status;
                        }
                    }
                    return SumOf(histogram);
                };
            },
            kSSE2, Operation::Proof::kReads};
}

}  // namespace

std::vector<Operation> HistogramOperations() {
    std::vector<Operation> all;
    for (const ULong32 tables : {3U, 4U}) {
        for (const Content content :
             {Content::kNoise, Content::kFlat, Content::kRuns, Content::kFewColours}) {
            all.push_back(Count(tables, content));
        }
    }
    return all;
}

}  // namespace kernelcheck
