// Gradients from any record: a record that is refused is not followed to its pixels, and one that is taken is
// drawn inside the buffer that it honestly describes, its row gaps left alone.

#include "Calls.h"
#include "Input.h"
#include "SampleBuffer.h"

#include <TesselU/gradient/GradientGenerator.h>

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
    return fuzz::DrawRecord(
        record, kLeastStructSize, input, calls,
        [&](WgrGradientData* given) { return GradientGenerator::WgrGenerateGradient(given, pattern); },
        [&](const auto& buffer, int status) {
            buffer.Check(status == 0 && (record.flags & 1) == 0,
                         pattern >= kFirstShape && pattern <= kLastPattern);
        });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::DrawUntilEmpty(data, size, Draw);
}
