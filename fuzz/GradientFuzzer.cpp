// Gradients from any record: a record that is refused is not followed to its pixels, and one that is taken is
// drawn inside the buffer that it honestly describes, its row gaps left alone.

#include "Input.h"

#include <TesselU/gradient/GradientGenerator.h>

#include <cstdlib>
#include <vector>

using GradientGenerator::WgrGradientData;

namespace {

constexpr unsigned char kUntouched = 0xA5;

WgrGradientData AnyRecord(fuzz::Input& input) {
    WgrGradientData record{};
    const auto side = [&input] {
        return input.Once(16) ? input.Raw<Zan::ULong32>() : input.Below(input.Flip() ? 64 : 700);
    };
    record.structSize = input.Once(16) ? input.Raw<Zan::ULong32>() : 44 + input.Below(16);
    record.width = side();
    record.height = side();
    record.bitsPerSample = input.Once(16) ? input.Raw<Zan::ULong32>() : input.Pick<Zan::ULong32>({8, 16});
    record.significantBits =
        input.Once(16) ? input.Raw<Zan::ULong32>() : input.Below(record.bitsPerSample == 8 ? 9 : 17);
    record.peakValue = input.Once(8) ? input.Raw<Zan::ULong32>()
                                     : (record.significantBits < 32 ? (1U << record.significantBits) - 1 : 0);
    record.pitch = input.Once(16)
                       ? input.Raw<Zan::Long32>()
                       : static_cast<Zan::Long32>(record.width * (record.bitsPerSample / 8) + input.Below(9));
    if (input.Once(4)) {
        record.pitch = static_cast<Zan::Long32>(0U - static_cast<Zan::ULong32>(record.pitch));
    }
    record.aspectRatio = input.Flip() ? input.Raw<float>() : 1.0F;
    record.cellFraction = input.Flip() ? input.Raw<float>() : 0.1F;
    record.flags = input.Once(16) ? input.Raw<Zan::ULong32>() : 0;
    return record;
}

bool IsTaken(const WgrGradientData& record) {
    const std::uint64_t magnitude = static_cast<std::uint64_t>(std::llabs(record.pitch));
    return record.structSize >= 44 && (record.bitsPerSample == 8 || record.bitsPerSample == 16) &&
           record.significantBits <= record.bitsPerSample &&
           record.peakValue <= (1U << record.significantBits) - 1 && record.width >= 8 &&
           record.height >= 8 && magnitude >= std::uint64_t{record.width} * record.bitsPerSample / 8;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const Zan::ULong32 pattern =
        input.Once(16)
            ? input.Raw<Zan::ULong32>()
            : (input.Flip() ? input.Below(80) : input.Pick<Zan::ULong32>({409, 501, 502, 503, 504}));
    WgrGradientData record = AnyRecord(input);

    if (!IsTaken(record)) {
        // Any access ends the run.
        record.pixels = reinterpret_cast<void*>(std::uintptr_t{16});
        if (GradientGenerator::WgrGenerateGradient(input.Once(64) ? nullptr : &record, pattern) == 0) {
            std::abort();
        }
        return 0;
    }

    constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 20;
    if (static_cast<std::uint64_t>(std::llabs(record.pitch)) * record.height > kMostBytes) {
        return -1;
    }
    const std::size_t magnitude = static_cast<std::size_t>(std::llabs(record.pitch));
    const std::size_t rowBytes = std::size_t{record.width} * (record.bitsPerSample / 8);
    const std::size_t bytes = magnitude * (record.height - 1) + rowBytes;
    std::vector<unsigned char> buffer(bytes, kUntouched);
    record.pixels = buffer.data() + (record.pitch < 0 ? magnitude * (record.height - 1) : 0);
    const WgrGradientData before = record;
    const int status = GradientGenerator::WgrGenerateGradient(&record, pattern);
    if (std::memcmp(&before, &record, sizeof record) != 0) {
        std::abort();
    }
    const bool mayDraw = status == 0 && (record.flags & 1) == 0;
    for (std::size_t row = 0; row < record.height; ++row) {
        const std::size_t end = row + 1 < record.height ? (row + 1) * magnitude : bytes;
        for (std::size_t i = row * magnitude + (mayDraw ? rowBytes : 0); i < end; ++i) {
            if (buffer[i] != kUntouched) {
                std::abort();
            }
        }
    }
    return 0;
}
