// Masks from any record: a record that is refused is not followed to its pixels, and one that is taken is
// drawn inside the buffer that it honestly describes, wherever its shape lies.

#include "Calls.h"
#include "Input.h"
#include "SampleBuffer.h"

#include <TesselU/gradient/GradientGenerator.h>

#include <cstdlib>

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

    if (!fuzz::IsTaken(record, kLeastStructSize)) {
        // Any access ends the run.
        record.pixels = reinterpret_cast<void*>(std::uintptr_t{16});
        if (GradientGenerator::WgrGenerateMask(input.Once(64) ? nullptr : &record, type) == 0) {
            std::abort();
        }
        return true;
    }
    if (!fuzz::SampleBuffer<WgrMaskData>::IsSmall(record)) {
        return false;
    }
    const fuzz::SampleBuffer<WgrMaskData> buffer(record);
    calls.Add();
    const int status = GradientGenerator::WgrGenerateMask(&record, type);
    buffer.Check(status == 0, true);
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
