// Masks from any record: a record that is refused is not followed to its pixels, and one that is taken is
// drawn inside the buffer that it honestly describes, wherever its shape lies.

#include "Calls.h"
#include "Input.h"
#include "SampleBuffer.h"

#include <TesselU/gradient/GradientGenerator.h>

using GradientGenerator::WgrMaskData;

namespace {

fuzz::Calls calls;

constexpr Zan::ULong32 kLeastStructSize = 64;

float AnyCoordinate(fuzz::Input& input) {
    return input.Once(4) ? input.Raw<float>()
                         : static_cast<float>(input.Raw<std::int16_t>()) / (input.Flip() ? 64.0F : 16.0F);
}

float AnySoftness(fuzz::Input& input) {
    return input.Once(4) ? input.Raw<float>() : static_cast<float>(input.Byte()) / 255.0F;
}

WgrMaskData AnyRecord(fuzz::Input& input) {
    WgrMaskData record{};
    fuzz::FillBufferFields(record, kLeastStructSize, input);
    record.aspectRatio = input.Raw<float>();
    record.flags = input.Raw<Zan::ULong32>();
    record.x0 = AnyCoordinate(input);
    record.y0 = AnyCoordinate(input);
    record.x1 = AnyCoordinate(input);
    record.y1 = AnyCoordinate(input);
    record.softnessX = AnySoftness(input);
    record.softnessY = AnySoftness(input);
    return record;
}

/// False if the record is too large to be tried.
bool Draw(fuzz::Input& input) {
    const Zan::ULong32 type = input.Once(16) ? input.Raw<Zan::ULong32>() : 1 + input.Below(3);
    WgrMaskData record = AnyRecord(input);
    return fuzz::DrawRecord(
        record, kLeastStructSize, input, calls,
        [&](WgrMaskData* given) { return GradientGenerator::WgrGenerateMask(given, type); },
        [](const auto& buffer, int status) { buffer.Check(status == 0, true); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::DrawUntilEmpty(data, size, Draw);
}
