// Gradients from any record: a record that is refused is not followed to its pixels, and one that is taken is
// drawn inside the buffer that it honestly describes, its row gaps left alone.

#include "Calls.h"
#include "Input.h"
#include "SampleBuffer.h"

#include <TesselU/gradient/GradientGenerator.h>

#include <cstdlib>

using GradientGenerator::WgrGradientData;

namespace {

fuzz::Calls calls;

constexpr Zan::ULong32 kLeastStructSize = 44;
constexpr unsigned kLastPattern = 353;
// Shapes, rotary and matrix wipes have no fraction above 1.
constexpr Zan::ULong32 kFirstShape = 101;

WgrGradientData AnyRecord(fuzz::Input& input) {
    WgrGradientData record{};
    fuzz::FillBufferFields(record, kLeastStructSize, input);
    record.aspectRatio = input.Flip() ? input.Raw<float>() : 1.0F;
    record.cellFraction = input.Flip() ? input.Raw<float>() : 0.1F;
    record.flags = input.Once(16) ? input.Raw<Zan::ULong32>() : 0;
    return record;
}

Zan::ULong32 AnyPattern(fuzz::Input& input) {
    if (input.Once(16)) {
        return input.Raw<Zan::ULong32>();
    }
    return input.Once(16) ? input.Pick<Zan::ULong32>({409, 501, 502, 503, 504})
                          : input.Below(kLastPattern + 1);
}

/// False if the record is too large to be tried.
bool Draw(fuzz::Input& input) {
    const Zan::ULong32 pattern = AnyPattern(input);
    WgrGradientData record = AnyRecord(input);

    if (!fuzz::IsTaken(record, kLeastStructSize)) {
        // Any access ends the run.
        record.pixels = reinterpret_cast<void*>(std::uintptr_t{16});
        if (GradientGenerator::WgrGenerateGradient(input.Once(64) ? nullptr : &record, pattern) == 0) {
            std::abort();
        }
        return true;
    }
    if (!fuzz::SampleBuffer<WgrGradientData>::IsSmall(record)) {
        return false;
    }
    const fuzz::SampleBuffer<WgrGradientData> buffer(record);
    calls.Add();
    const int status = GradientGenerator::WgrGenerateGradient(&record, pattern);
    buffer.Check(status == 0 && (record.flags & 1) == 0, pattern >= kFirstShape && pattern <= kLastPattern);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        if (!Draw(input)) {
            return -1;
        }
    }
    return 0;
}
