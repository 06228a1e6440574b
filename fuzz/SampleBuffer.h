#ifndef TESSELU_FUZZ_SAMPLEBUFFER_H
#define TESSELU_FUZZ_SAMPLEBUFFER_H

#include "Calls.h"
#include "Input.h"

#include <TesselU/foundation/Types.h>

#include <cstdlib>
#include <vector>

namespace fuzz {

/// The fields that records of gradients and of masks share: any buffer, more often than not one that is
/// taken.
template <class Record>
void FillBufferFields(Record& record, Zan::ULong32 leastStructSize, Input& input) {
    const auto side = [&input] {
        // Mostly small, for many runs; beyond a line buffer now and then.
        return input.Once(32) ? input.Raw<Zan::ULong32>()
                              : (input.Once(32) ? input.Below(1400) : 7 + input.Below(26));
    };
    record.structSize = input.Once(16) ? input.Raw<Zan::ULong32>() : leastStructSize + input.Below(16);
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
}

template <class Record>
std::uint64_t PitchMagnitude(const Record& record) {
    return static_cast<std::uint64_t>(std::llabs(record.pitch));
}

/// Whether the fields that `FillBufferFields` fills pass all tests.
template <class Record>
bool IsTaken(const Record& record, Zan::ULong32 leastStructSize) {
    return record.structSize >= leastStructSize &&
           (record.bitsPerSample == 8 || record.bitsPerSample == 16) &&
           record.significantBits <= record.bitsPerSample &&
           record.peakValue <= (1U << record.significantBits) - 1 && record.width >= 8 &&
           record.height >= 8 &&
           PitchMagnitude(record) >= std::uint64_t{record.width} * record.bitsPerSample / 8;
}

/// A buffer as a record honestly describes it, not a byte more. Ends the run when something else is written.
template <class Record>
class SampleBuffer {
public:
    static bool IsSmall(const Record& record) {
        constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 20;
        return PitchMagnitude(record) * record.height <= kMostBytes;
    }

    explicit SampleBuffer(Record& described)
        : record(described),
          pitch(static_cast<std::size_t>(PitchMagnitude(described))),
          rowBytes(std::size_t{described.width} * (described.bitsPerSample / 8)),
          bytes(pitch * (described.height - 1) + rowBytes, kUntouched) {
        described.pixels = bytes.data() + (described.pitch < 0 ? pitch * (described.height - 1) : 0);
        before = described;
    }

    /// To be called behind the drawing.
    void Check(bool mayDraw, bool isBoundedByPeak) const {
        if (std::memcmp(&before, &record, sizeof record) != 0) {
            std::abort();
        }
        for (std::size_t row = 0; row < record.height; ++row) {
            const std::size_t start = row * pitch;
            const std::size_t end = row + 1 < record.height ? start + pitch : bytes.size();
            for (std::size_t i = start + (mayDraw ? rowBytes : 0); i < end; ++i) {
                if (bytes[i] != kUntouched) {
                    std::abort();
                }
            }
            if (mayDraw && isBoundedByPeak) {
                CheckPeak(bytes.data() + start);
            }
        }
    }

private:
    static constexpr unsigned char kUntouched = 0xA5;

    void CheckPeak(const unsigned char* row) const {
        const std::size_t size = record.bitsPerSample / 8;
        for (std::size_t x = 0; x < record.width; ++x) {
            std::uint16_t sample = row[x];
            std::uint16_t untouched = kUntouched;
            if (size == 2) {
                std::memcpy(&sample, row + 2 * x, 2);
                untouched = kUntouched * 0x101;
            }
            if (sample > record.peakValue && sample != untouched) {
                std::abort();
            }
        }
    }

    const Record& record;
    Record before{};
    std::size_t pitch;
    std::size_t rowBytes;
    std::vector<unsigned char> bytes;
};

/// Draws by a record: one that is refused is not followed to its pixels, one that is taken gets a buffer.
/// `draw(record)` returns the status, `check(buffer, status)` looks at what was drawn. False if the record is
/// too large to be tried.
template <class Record, class Draw, class Check>
bool DrawRecord(Record& record, Zan::ULong32 leastStructSize, Input& input, Calls& calls, Draw draw,
                Check check) {
    if (!IsTaken(record, leastStructSize)) {
        // Any access ends the run.
        record.pixels = reinterpret_cast<void*>(std::uintptr_t{16});
        if (draw(input.Once(64) ? nullptr : &record) == 0) {
            std::abort();
        }
        return true;
    }
    if (!SampleBuffer<Record>::IsSmall(record)) {
        return false;
    }
    const SampleBuffer<Record> buffer(record);
    calls.Add();
    check(buffer, draw(&record));
    return true;
}

/// A run of `draw(input)`, which says whether the input is worth keeping.
template <class Draw>
int DrawUntilEmpty(const std::uint8_t* data, std::size_t size, Draw draw) {
    Input input(data, size);
    for (unsigned round = 0; round < kMostRounds && !input.Empty(); ++round) {
        if (!draw(input)) {
            return -1;
        }
    }
    return 0;
}

}  // namespace fuzz

#endif  // TESSELU_FUZZ_SAMPLEBUFFER_H
