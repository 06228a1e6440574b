#ifndef TESSELU_TESTS_VECTOR_MODELRUNS_H
#define TESSELU_TESTS_VECTOR_MODELRUNS_H

#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Types.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "simd/Targets.h"
#include "support/EveryTarget.h"
#include "support/FencedMemory.h"
#include "vector/model/Vectors.h"

// An operation on batches and its model, which get the same numbers, and the comparison of all that the
// operation may touch.

namespace vector_test {

using test_support::Targets;
using vector_model::Arithmetic;
using Floats = std::vector<float>;

/// In place of the floats of each vector: an array that holds one vector, whatever the count.
constexpr std::size_t kOneVector = 0;

struct Operation {
    std::string name;
    std::vector<std::size_t> inputs;   ///< floats of a vector, or `kOneVector`, for each array that is read
    std::vector<std::size_t> outputs;  ///< the same for each that is written
    bool hasSingle;                    ///< `kFlp_SIMD` has an arithmetic of its own
    bool inBlocks = false;             ///< vectors stand in blocks of four
    /// Which array is which: for each input, then for each output, the number of its memory.
    std::vector<std::vector<std::size_t>> places;
    std::function<Zan::Long32(float* const* in, float* const* out, Zan::ULong32 n, Zan::ProcessingStyleEnum)>
        call;
    /// What is written to each output, from its first float on.
    std::function<std::vector<Floats>(const std::vector<Floats>& in, std::size_t n, Arithmetic)> model;
};

inline Zan::ProcessingStyleEnum Style(int number) {
    return static_cast<Zan::ProcessingStyleEnum>(number);
}

// ---- Numbers to calculate with

/// A generator of numbers that is quick enough for millions.
class Draw {
public:
    Draw() : state(test_support::Random()() | 1ULL) {}
    std::uint32_t Bits() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return static_cast<std::uint32_t>(state >> 16);
    }
    std::size_t Below(std::size_t end) { return Bits() % end; }
    /// From 2^exponent on, below 2^(exponent + 1), of either sign.
    float WithExponent(int exponent) {
        const std::uint32_t bits = Bits();
        const float size = std::ldexp(1.0F + static_cast<float>(bits & 0x7FFFFFU) * 0x1p-23F, exponent);
        return (bits >> 31) != 0 ? -size : size;
    }

private:
    std::uint64_t state;
};

inline const Floats& SpecialFloats() {
    using Limits = std::numeric_limits<float>;
    static const Floats kSpecial = [] {
        Floats all = {0.0F,
                      1.0F,
                      Limits::infinity(),
                      Limits::quiet_NaN(),
                      Limits::max(),
                      Limits::min(),
                      Limits::denorm_min(),
                      vector_model::FloatOf(0x007FFFFFU),  // the largest small number
                      1e-9F,
                      std::nextafter(1e-9F, 0.0F),
                      std::nextafter(1e-9F, 1.0F),
                      1e-5F,
                      std::sqrt(1e-9F),
                      std::nextafter(std::sqrt(1e-9F), 0.0F),
                      std::nextafter(std::sqrt(1e-9F), 1.0F),
                      0x1p63F,
                      0x1p64F,  // its square is the first that no float holds
                      std::nextafter(0x1p64F, 0.0F),
                      1e-38F,
                      1e38F};
        const std::size_t positive = all.size();
        for (std::size_t i = 0; i < positive; ++i) {
            all.push_back(-all[i]);
        }
        return all;
    }();
    return kSpecial;
}

/// What kind of vector stands at each place of a batch, in all of its arrays.
class Moods {
public:
    Moods(std::size_t n, std::size_t oddPercent) : moods(n) {
        for (Mood& mood : moods) {
            mood.kind = draw.Below(100) < oddPercent ? static_cast<int>(1 + draw.Below(6)) : 0;
            mood.exponent = mood.kind == 1 ? static_cast<int>(draw.Below(254)) - 126 : 0;
        }
    }

    float Number(std::size_t vector) {
        const Mood mood = vector < moods.size() ? moods[vector] : Mood();
        const int step = static_cast<int>(draw.Below(3)) - 1;
        switch (mood.kind) {
            case 1:
                return draw.WithExponent(mood.exponent);
            case 2:
                return vector_model::FloatOf(draw.Bits());
            case 3:
                return SpecialFloats()[draw.Below(SpecialFloats().size())];
            case 4:  // the length is near the limit
                return draw.WithExponent(-31 + step);
            case 5:  // its square is
                return draw.WithExponent(-16 + step);
            case 6:
                return draw.Bits() % 2 == 0 ? 0.0F : -0.0F;
            default:
                return draw.WithExponent(3 * step);
        }
    }

    Floats Array(std::size_t floatsPerVector, std::size_t floats, bool inBlocks) {
        Floats values(floats);
        for (std::size_t i = 0; i < floats; ++i) {
            const std::size_t vector =
                inBlocks ? i / 12 * 4 + i % 4 : i / std::max<std::size_t>(floatsPerVector, 1);
            values[i] = Number(vector);
        }
        return values;
    }

private:
    struct Mood {
        int kind = 0, exponent = 0;
    };
    Draw draw;
    std::vector<Mood> moods;
};

/// A number half way between two floats from 1 to 2.
inline double HalfWay(Draw& draw) {
    return 1.0 + static_cast<double>(draw.Bits() & 0x7FFFFFU) * 0x1p-23 + 0x1p-24;
}

/// A vector of about this length, with this x: y takes what is left of the square of the length, and z what
/// the rounding of y leaves of it, so that the length is right to some 50 bits.
inline vector_model::Vector OfLength(double length, float x) {
    const double wide = static_cast<double>(x);
    const double rest = length * length - wide * wide;
    const float y = std::nextafter(static_cast<float>(std::sqrt(rest)), 0.0F);
    const double last = rest - static_cast<double>(y) * static_cast<double>(y);
    return {x, y, static_cast<float>(std::sqrt(last))};
}

// ---- Memory

constexpr std::size_t kGuard = 32;    // floats before and behind an array
constexpr std::size_t kOffsets = 16;  // a cache line has so many addresses of a float

/// An array with guards, at any float of a cache line.
class Memory {
public:
    explicit Memory(std::size_t floats) : storage(floats + 2 * kGuard + 2 * kOffsets) {}

    void Place(const Floats& image, std::size_t offset) {
        const auto address = reinterpret_cast<std::uintptr_t>(storage.data()) / sizeof(float);
        first = storage.data() + (kOffsets - address % kOffsets) % kOffsets + offset;
        std::memcpy(first, image.data(), image.size() * sizeof(float));
    }
    float* Data() { return first + kGuard; }
    const float* Image() const { return first; }

private:
    Floats storage;
    float* first = nullptr;
};

/// The memories of a batch as they are before and as they must be behind it.
class Batch {
public:
    Batch(const Operation& tested, const std::vector<std::size_t>& where, std::size_t count,
          std::size_t oddPercent)
        : operation(tested), places(where), n(count) {
        const std::size_t memories = 1 + *std::max_element(places.begin(), places.end());
        std::vector<std::size_t> floatsPerVector(memories, 0), length(memories, 0);
        for (std::size_t role = 0; role < places.size(); ++role) {
            const std::size_t floats = FloatsOfRole(role);
            floatsPerVector[places[role]] = std::max(floatsPerVector[places[role]], floats);
            length[places[role]] = std::max(length[places[role]], floats == kOneVector ? 3 : floats * n);
        }
        Moods moods(n, oddPercent);
        for (std::size_t i = 0; i < memories; ++i) {
            contents.push_back(moods.Array(floatsPerVector[i], length[i], operation.inBlocks));
        }
    }

    /// The same with numbers of the caller's own, memory by memory.
    Batch(const Operation& tested, const std::vector<std::size_t>& where, std::size_t count,
          std::vector<Floats> numbers)
        : operation(tested), places(where), n(count), contents(std::move(numbers)) {}

    const Operation& Tested() const { return operation; }
    const std::vector<std::size_t>& Places() const { return places; }
    std::size_t Count() const { return n; }
    std::size_t Memories() const { return contents.size(); }
    const Floats& Contents(std::size_t memory) const { return contents[memory]; }

    /// Guards, the contents before the call, guards.
    std::vector<Floats> Before() const {
        std::vector<Floats> images;
        for (const Floats& each : contents) {
            Floats image(each.size() + 2 * kGuard, kGuardValue);
            std::copy(each.begin(), each.end(), image.begin() + kGuard);
            images.push_back(std::move(image));
        }
        return images;
    }

    struct Expected {
        std::vector<Floats> images;
        std::vector<std::size_t> written;  ///< floats of each memory, from its first
    };
    Expected After(Arithmetic arithmetic) const {
        std::vector<Floats> in;
        for (std::size_t i = 0; i < operation.inputs.size(); ++i) {
            in.push_back(contents[places[i]]);
        }
        const std::vector<Floats> out = operation.model(in, n, arithmetic);
        Expected expected{Before(), std::vector<std::size_t>(contents.size(), 0)};
        for (std::size_t i = 0; i < out.size(); ++i) {
            const std::size_t memory = places[operation.inputs.size() + i];
            std::copy(out[i].begin(), out[i].end(), expected.images[memory].begin() + kGuard);
            expected.written[memory] = out[i].size();
        }
        return expected;
    }

private:
    std::size_t FloatsOfRole(std::size_t role) const {
        return role < operation.inputs.size() ? operation.inputs[role]
                                              : operation.outputs[role - operation.inputs.size()];
    }

    static constexpr float kGuardValue = -391.5322F;
    const Operation& operation;
    std::vector<std::size_t> places;
    std::size_t n;
    std::vector<Floats> contents;
};

inline std::string Words(float value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.9g (0x%08X)", static_cast<double>(value),
                  vector_model::BitsOf(value));
    return text;
}

/// The first float that is not as expected, in words; a NaN that is written is any NaN.
inline std::string FirstDifference(const float* image, const Floats& expected, std::size_t written) {
    if (std::memcmp(image, expected.data(), expected.size() * sizeof(float)) == 0) {
        return "";
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (vector_model::BitsOf(image[i]) == vector_model::BitsOf(expected[i])) {
            continue;
        }
        const bool isWritten = i >= kGuard && i - kGuard < written;
        if (isWritten && std::isnan(image[i]) && std::isnan(expected[i])) {
            continue;
        }
        return (isWritten ? "float " : "unwritten float ") +
               std::to_string(static_cast<long long>(i) - static_cast<long long>(kGuard)) + " is " +
               Words(image[i]) + " instead of " + Words(expected[i]);
    }
    return "";
}

/// Runs `batch` in memories at `offsets`; false where something is not as expected, which is reported.
inline bool RunsAsExpected(const Batch& batch, const std::vector<Floats>& before,
                           const Batch::Expected& after, std::vector<Memory>& memories,
                           const std::vector<std::size_t>& offsets, int style) {
    const Operation& operation = batch.Tested();
    std::vector<float*> arrays;
    for (std::size_t i = 0; i < memories.size(); ++i) {
        memories[i].Place(before[i], offsets[i]);
    }
    for (const std::size_t place : batch.Places()) {
        arrays.push_back(memories[place].Data());
    }
    const Zan::Long32 status = operation.call(arrays.data(), arrays.data() + operation.inputs.size(),
                                              static_cast<Zan::ULong32>(batch.Count()), Style(style));
    std::string what = status == 0 ? "" : "status " + std::to_string(status);
    for (std::size_t i = 0; what.empty() && i < memories.size(); ++i) {
        what = FirstDifference(memories[i].Image(), after.images[i], after.written[i]);
        if (!what.empty()) {
            what = "memory " + std::to_string(i) + ": " + what;
        }
    }
    if (what.empty()) {
        return true;
    }
    std::string circumstances = operation.name + ", " + std::to_string(batch.Count()) + " vectors, style " +
                                std::to_string(style) + " on " +
                                Zan::simd::TargetName(Zan::simd::CurrentTarget()) + ", places";
    for (const std::size_t place : batch.Places()) {
        circumstances += " " + std::to_string(place);
    }
    circumstances += ", offsets";
    for (const std::size_t offset : offsets) {
        circumstances += " " + std::to_string(offset);
    }
    ADD_FAILURE() << circumstances << "\n" << what;
    return false;
}

inline std::vector<Memory> MemoriesFor(const Batch& batch) {
    std::vector<Memory> memories;
    for (std::size_t i = 0; i < batch.Memories(); ++i) {
        memories.emplace_back(batch.Contents(i).size());
    }
    return memories;
}

inline Arithmetic ArithmeticOf(const Operation& operation, int style, Zan::CPUinstructionSetEnum set) {
    return operation.hasSingle && style == Zan::kFlp_SIMD && set >= Zan::kSIMD ? Arithmetic::kSingle
                                                                               : Arithmetic::kDouble;
}

// ---- What every operation goes through; the instruction set is SSE2 where nothing else is said

/// Each memory at every float of a cache line by itself, all of them together, and some mixtures.
inline std::vector<std::vector<std::size_t>> EveryOffset(std::size_t memories) {
    std::vector<std::vector<std::size_t>> all(1, std::vector<std::size_t>(memories, 0));
    Draw draw;
    for (std::size_t offset = 1; offset < kOffsets; ++offset) {
        all.emplace_back(memories, offset);
        for (std::size_t i = 0; memories > 1 && i < memories; ++i) {
            all.emplace_back(memories, 0);
            all.back()[i] = offset;
        }
        all.emplace_back();
        for (std::size_t i = 0; i < memories; ++i) {
            all.back().push_back(draw.Below(kOffsets));
        }
    }
    return all;
}

/// Counts from 0 to `most` at every alignment of every array, in every place, on every target.
inline void RunCountsAndAlignments(const Operation& operation, std::size_t most) {
    const std::vector<Zan::simd::Target> targets = Targets();
    for (const std::vector<std::size_t>& places : operation.places) {
        for (std::size_t n = 0; n <= most; ++n) {
            const Batch batch(operation, places, n, n % 3 == 0 ? 0 : 40);
            const std::vector<Floats> before = batch.Before();
            const Batch::Expected doubles = batch.After(Arithmetic::kDouble);
            const Batch::Expected single =
                operation.hasSingle ? batch.After(Arithmetic::kSingle) : Batch::Expected();
            std::vector<Memory> memories = MemoriesFor(batch);
            int turn = 0;
            for (const std::vector<std::size_t>& offsets : EveryOffset(batch.Memories())) {
                for (const Zan::simd::Target target : targets) {
                    const Zan::simd::ScopedTarget limit(target);
                    bool holds;
                    if (operation.hasSingle) {
                        holds = RunsAsExpected(batch, before, doubles, memories, offsets, Zan::kFlp) &&
                                RunsAsExpected(batch, before, single, memories, offsets, Zan::kFlp_SIMD);
                    } else {
                        holds = RunsAsExpected(batch, before, doubles, memories, offsets,
                                               turn % 2 == 0 ? Zan::kFlp_SIMD : Zan::kFlp);
                    }
                    if (!holds) {
                        return;
                    }
                }
                ++turn;
            }
        }
    }
}

/// `n` vectors in every place with every style, whatever `set` the processor has.
inline void RunStyles(const Operation& operation, std::size_t n, Zan::CPUinstructionSetEnum set) {
    const Batch batch(operation, operation.places.back(), n, 20);
    const std::vector<Floats> before = batch.Before();
    std::vector<Memory> memories = MemoriesFor(batch);
    for (const int style : {0, 1, 2, 3, 4, 5, 6, 7, 19, -1, -3, 256 + 3, 65536 + 3,
                            std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        const Batch::Expected after = batch.After(ArithmeticOf(operation, style, set));
        for (const Zan::simd::Target target : Targets()) {
            const Zan::simd::ScopedTarget limit(target);
            if (!RunsAsExpected(batch, before, after, memories, std::vector<std::size_t>(batch.Memories(), 1),
                                style)) {
                return;
            }
        }
    }
}

/// A large batch at odd addresses.
inline void RunLarge(const Operation& operation, const std::vector<std::size_t>& places, std::size_t n,
                     const std::vector<Zan::simd::Target>& targets) {
    const Batch batch(operation, places, n, 10);
    const std::vector<Floats> before = batch.Before();
    std::vector<Memory> memories = MemoriesFor(batch);
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i < batch.Memories(); ++i) {
        offsets.push_back((5 * i + 3) % kOffsets);
    }
    for (const int style : {0, 3}) {
        if (style == Zan::kFlp && !operation.hasSingle) {
            continue;
        }
        const Batch::Expected after = batch.After(ArithmeticOf(operation, style, Zan::kSSE2));
        for (const Zan::simd::Target target : targets) {
            const Zan::simd::ScopedTarget limit(target);
            if (!RunsAsExpected(batch, before, after, memories, offsets, style)) {
                return;
            }
        }
    }
}

/// The numbers of `batch` on every target, in doubles.
inline void RunInDoubles(const Batch& batch) {
    const std::vector<Floats> before = batch.Before();
    const Batch::Expected after = batch.After(Arithmetic::kDouble);
    std::vector<Memory> memories = MemoriesFor(batch);
    for (const Zan::simd::Target target : Targets()) {
        const Zan::simd::ScopedTarget limit(target);
        if (!RunsAsExpected(batch, before, after, memories, std::vector<std::size_t>(batch.Memories(), 3),
                            Zan::kFlp)) {
            return;
        }
    }
}

/// Arrays that end at pages which nobody may touch, and such of whole pages, which begin behind one, too.
inline void RunFenced(const Operation& operation) {
    for (const std::vector<std::size_t>& places : operation.places) {
        for (const std::size_t n :
             {0U, 1U, 2U, 3U, 4U, 5U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 33U, 50U, 1024U}) {
            const Batch batch(operation, places, n, 0);
            for (const int style : {0, 3}) {
                const Batch::Expected after = batch.After(ArithmeticOf(operation, style, Zan::kSSE2));
                for (const Zan::simd::Target target : Targets()) {
                    const Zan::simd::ScopedTarget limit(target);
                    std::vector<std::unique_ptr<test_support::FencedMemory>> memories;
                    std::vector<float*> arrays;
                    for (std::size_t i = 0; i < batch.Memories(); ++i) {
                        const std::size_t bytes = batch.Contents(i).size() * sizeof(float);
                        memories.push_back(std::make_unique<test_support::FencedMemory>(bytes));
                        if (bytes != 0) {
                            std::memcpy(memories.back()->Data(), batch.Contents(i).data(), bytes);
                        }
                    }
                    for (const std::size_t place : places) {
                        arrays.push_back(reinterpret_cast<float*>(memories[place]->Data()));
                    }
                    ASSERT_EQ(operation.call(arrays.data(), arrays.data() + operation.inputs.size(),
                                             static_cast<Zan::ULong32>(n), Style(style)),
                              0);
                    for (std::size_t i = 0; i < memories.size(); ++i) {
                        const auto* floats = reinterpret_cast<const float*>(memories[i]->Data());
                        const Floats& image = after.images[i];
                        Floats now = image;
                        std::copy(floats, floats + batch.Contents(i).size(), now.begin() + kGuard);
                        ASSERT_EQ(FirstDifference(now.data(), image, after.written[i]), "")
                            << operation.name << ", " << n << " vectors, style " << style << ", memory " << i;
                    }
                }
            }
        }
    }
}

}  // namespace vector_test

#endif  // TESSELU_TESTS_VECTOR_MODELRUNS_H
