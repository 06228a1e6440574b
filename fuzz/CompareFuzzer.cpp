// Comparisons of pictures in memory that ends where they do, with any tolerance and report, beside a plain
// loop over their samples.

#include "Input.h"

#include <TesselU/image/ImageCompare.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

using namespace Zan;

constexpr unsigned kChannels = 4;

std::uint64_t calls = 0;

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// Rows that end with the last one.
struct Memory {
    Memory(std::size_t rowBytes, std::size_t rows, std::size_t newPitch)
        : pitch(newPitch),
          size(rows > 0 && rowBytes > 0 ? pitch * (rows - 1) + rowBytes : 0),
          bytes(new std::uint8_t[size]) {}

    ULong32* Words() { return reinterpret_cast<ULong32*>(bytes.get()); }

    std::size_t pitch, size;
    std::unique_ptr<std::uint8_t[]> bytes;
};

struct Judged {
    std::int64_t components = 0;
    Long32 largest[kChannels] = {};
    std::vector<Miscompare> words;

    Long32 Largest() const {
        Long32 most = 0;
        for (const Long32 each : largest) {
            most = std::abs(each) > std::abs(most) ? each : most;
        }
        return most;
    }
};

struct Tolerances {
    ULong32 negative[kChannels] = {}, positive[kChannels] = {};
};

/// `bytes` of a word, which is `pixels` wide.
void Judge(const Memory& a, const Memory& b, std::size_t words, std::size_t rows, unsigned bytes,
           unsigned pixels, unsigned channels, const Tolerances& allowed, Judged& judged) {
    for (std::size_t y = 0; y < rows; ++y) {
        for (std::size_t x = 0; x < words; ++x) {
            ULong32 first = 0, second = 0;
            bool differs = false;
            for (unsigned i = 0; i < bytes; ++i) {
                const int sampleA = a.bytes[y * a.pitch + x * bytes + i];
                const int sampleB = b.bytes[y * b.pitch + x * bytes + i];
                first |= static_cast<ULong32>(sampleA) << (8 * i);
                second |= static_cast<ULong32>(sampleB) << (8 * i);
                const int difference = sampleA - sampleB;
                const ULong32 limit = difference < 0 ? allowed.negative[i] : allowed.positive[i];
                if (i<channels&& static_cast<ULong32>(std::abs(difference))> limit) {
                    differs = true;
                    ++judged.components;
                    if (std::abs(difference) > std::abs(judged.largest[i])) {
                        judged.largest[i] = difference;
                    }
                }
            }
            if (differs) {
                judged.words.push_back(
                    {static_cast<ULong32>(x * pixels), static_cast<ULong32>(y), first, second});
            }
        }
    }
}

void RequireReported(const std::vector<Miscompare>& report, const std::vector<Miscompare>& words) {
    for (std::size_t i = 0; i < report.size(); ++i) {
        const Miscompare expected = i < words.size() ? words[i] : Miscompare{9, 9, 9, 9};
        Require(report[i].x == expected.x && report[i].y == expected.y && report[i].first == expected.first &&
                report[i].second == expected.second);
    }
}

void TellCalls() {
    std::fprintf(stderr, "stat::number_of_calls: %llu\n", static_cast<unsigned long long>(calls));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int atEnd = std::atexit(TellCalls);
    static_cast<void>(atEnd);
    fuzz::Input input(data, size);
    const unsigned channels = input.Once(8) ? input.Below(9) : kChannels;
    ImageCompare compare(channels);
    Tolerances allowed;
    for (unsigned i = 0; i < kChannels; ++i) {
        allowed.negative[i] = input.Once(8) ? input.Raw<ULong32>() : input.Below(12);
        allowed.positive[i] = input.Once(8) ? input.Raw<ULong32>() : input.Below(12);
        compare.SetLargestAllowableError(i, allowed.negative[i], allowed.positive[i]);
    }
    compare.SetLargestAllowableError(input.Raw<std::uint32_t>() | kChannels << 1, 0, 0);
    Judged judged;
    std::vector<Miscompare> report(input.Below(6), {9, 9, 9, 9});

    // Counts and reports go on from call to call.
    const unsigned times = 1 + input.Below(16);
    for (unsigned time = 0; time < times; ++time) {
        const ULong32 formatA = input.Once(16) ? input.Raw<ULong32>() : input.Below(4);
        const ULong32 formatB = input.Once(16) ? input.Raw<ULong32>() : formatA;
        const ULong32 width = input.Below(input.Once(8) ? 700 : 20), height = input.Below(6);
        const unsigned bytes = formatA == 1 ? 1 : 4, pixels = formatA >= 2 ? 2 : 1;
        const std::size_t words = width / pixels;
        const auto pitch = [&] {
            return words * bytes + (input.Once(8) ? input.Below(9) : 4 * input.Below(3));
        };
        Memory a(words * bytes, height, pitch()), b(words * bytes, height, pitch());
        Memory alphaA(width, height, width + input.Below(3)), alphaB(width, height, width + input.Below(3));
        for (Memory* memory : {&a, &b, &alphaA, &alphaB}) {
            std::fill_n(memory->bytes.get(), memory->size, std::uint8_t{100});
            for (unsigned changes = input.Below(8); changes > 0 && memory->size > 0; --changes) {
                memory->bytes[input.Raw<std::uint16_t>() % memory->size] =
                    input.Once(4) ? input.Byte() : static_cast<std::uint8_t>(95 + input.Below(11));
            }
        }
        const bool hasWords = formatA != 1;
        const bool isOdd = hasWords && (a.pitch % 4 != 0 || b.pitch % 4 != 0);
        Long32 refusal = 0, result = 0;
        if (input.Flip() || formatA == 3) {
            ULong32* planesA[] = {a.Words(), alphaA.Words()};
            ULong32* planesB[] = {b.Words(), alphaB.Words()};
            ULong32 pitchesA[] = {static_cast<ULong32>(a.pitch), static_cast<ULong32>(alphaA.pitch)};
            ULong32 pitchesB[] = {static_cast<ULong32>(b.pitch), static_cast<ULong32>(alphaB.pitch)};
            refusal = formatA != 3 || formatB != 3 || isOdd ? -1 : width % 2 != 0 ? -2 : 0;
            result = compare.AreImagesEqual(planesA, planesB, width, height, pitchesA, pitchesB, formatA,
                                            formatB, report);
            if (refusal == 0) {
                Judge(a, b, words, height, 4, 2, channels, allowed, judged);
                if (judged.words.empty()) {
                    Judge(alphaA, alphaB, width, height, 1, 1, channels, allowed, judged);
                }
            }
        } else {
            refusal = formatA != formatB || formatA > 2 || isOdd ? -1
                      : formatA == 2 && width % 2 != 0           ? -2
                                                                 : 0;
            result =
                compare.AreImagesEqual(a.Words(), b.Words(), width, height, static_cast<ULong32>(a.pitch),
                                       static_cast<ULong32>(b.pitch), formatA, formatB, report);
            if (refusal == 0) {
                Judge(a, b, words, height, bytes, pixels, channels, allowed, judged);
            }
        }
        ++calls;
        Require(result == (refusal != 0 ? refusal : judged.words.empty() ? 1 : 0));
        Require(compare.GetNumComponentDiffs() == judged.components);
        Require(compare.GetLargestDiff() == judged.Largest());
        RequireReported(report, judged.words);
    }
    compare.ResetDiffs();
    Require(compare.GetNumComponentDiffs() == 0 && compare.GetAbsLargestDiff() == 0);
    return 0;
}
