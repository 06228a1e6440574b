#include <TesselU/gradient/GradientGenerator.h>

#include "kernels/Operations.h"

namespace kernelcheck {

namespace {

// A pattern, into a plane of at least its least size.
Operation Pattern(Zan::ULong32 number, Zan::ULong32 bits) {
    std::string name = "pattern ";
    name += std::to_string(number);
    name += bits == 8 ? " of bytes" : "";
    return {name, [number, bits](Case& c) -> Operation::Run {
                constexpr std::size_t kLeast = 8;
                GradientGenerator::WgrGradientData record{};
                record.structSize = sizeof record;
                record.width = static_cast<Zan::ULong32>(c.width + kLeast);
                record.height = static_cast<Zan::ULong32>(c.height + kLeast);
                record.bitsPerSample = record.significantBits = bits;
                record.peakValue = (1U << bits) - 1;
                record.aspectRatio = std::uniform_real_distribution<float>(0.3F, 3.0F)(c.random);
                record.cellFraction = 0.1F;
                Plane& out = c.Add(bits / 8 * (c.width + kLeast), c.height + kLeast);
                record.pitch = static_cast<Zan::Long32>(out.pitch());
                record.pixels = out.row();
                return [record, number]() mutable {
                    return GradientGenerator::WgrGenerateGradient(&record, number);
                };
            }};
}

}  // namespace

std::vector<Operation> GradientOperations() {
    std::vector<Operation> all;
    // A whole turn, folded angles, and directions that change along a row.
    for (const Zan::ULong32 number : {201U, 212U, 235U, 245U, 262U})
        all.push_back(Pattern(number, 16));
    // Each mix of column and row.
    for (const Zan::ULong32 number : {3U, 41U, 43U, 45U, 46U, 61U}) {
        all.push_back(Pattern(number, 8));
        all.push_back(Pattern(number, 16));
    }
    return all;
}

}  // namespace kernelcheck
