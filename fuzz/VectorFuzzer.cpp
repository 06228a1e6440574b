// Vectors and transforms on floats and matrices of any bits, at any float, in place or not, in every style
// and on every processor: nothing outside of the arrays is touched, and instructions never show in a result.

#include "Calls.h"
#include "Input.h"

#include <TesselU/vector/Operations3D.h>
#include <TesselU/vector/Transform3D.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "foundation/CapabilitySeam.h"
#include "simd/Job.h"
#include "simd/Targets.h"

namespace {

using namespace Zan;

fuzz::Calls calls;

/// Floats that end where their memory ends, at any address that suits them.
class Floats {
public:
    Floats(fuzz::Input& input, std::size_t number)
        : before(input.Below(17)), count(number), memory(new float[before + count]) {
        std::uint32_t state = input.Raw<std::uint32_t>();
        const unsigned kind = input.Below(4), given = input.Below(9);
        for (std::size_t i = 0; i < before + count; ++i) {
            state = state * 1664525U + 1013904223U;
            // Of any bits, or in one of three ranges around 1.
            std::uint32_t bits = state ^ state >> 15;
            if (kind != 0) {
                const std::uint32_t width = 1U << (kind * 2),
                                    exponent = 127 - width / 2 + (bits >> 23) % width;
                bits = (bits & 0x807FFFFFU) | exponent << 23;
            }
            memory[i] = std::bit_cast<float>(i - before < given ? input.Raw<std::uint32_t>() : bits);
        }
    }
    Floats(const Floats& other)
        : before(other.before), count(other.count), memory(new float[before + count]) {
        std::memcpy(memory.get(), other.memory.get(), (before + count) * sizeof(float));
    }
    Floats& operator=(const Floats&) = delete;

    float* data() { return memory.get() + before; }

    /// Whether both hold the same bits, or what is not a number at the same places.
    bool Equals(const Floats& other) const {
        for (std::size_t i = 0; i < before + count; ++i) {
            const float a = memory[i], b = other.memory[i];
            const bool isSame = std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
            if (!isSame && (i < before || !std::isnan(a) || !std::isnan(b))) {
                return false;
            }
        }
        return true;
    }

private:
    std::size_t before, count;
    std::unique_ptr<float[]> memory;
};

/// Six arrays of three floats a vector, which the operations use as they need, and what they are used for.
struct Batch {
    explicit Batch(fuzz::Input& input) : n(input.Once(8) ? input.Below(700) : input.Below(70)) {
        for (unsigned i = 0; i < 6; ++i) {
            arrays.emplace_back(input, std::size_t{3} * n);
        }
    }

    ULong32 n;
    std::vector<Floats> arrays;
};

struct Settings {
    explicit Settings(fuzz::Input& input)
        : operation(input.Below(20)),
          style(input.Enumeration<ProcessingStyleEnum>(7)),
          s(input.Raw<float>()),
          t(input.Flip() ? input.Raw<float>() : 1.0F),
          out(input.Below(6)),
          more(input.Below(700)) {}

    unsigned operation;
    ProcessingStyleEnum style;
    float s, t;
    unsigned out;  ///< the array that is written, an operand or not
    ULong32 more;  ///< counted by one of two structures alone
};

Long32 Run(const Settings& settings, const Transform3D& transform, Batch& batch) {
    const auto at = [&](unsigned i) { return batch.arrays[i].data(); };
    float *a = at(0), *b = at(1), *sa = at(2), *sb = at(3), *out = at(settings.out);
    const ULong32 n = batch.n;
    const ProcessingStyleEnum style = settings.style;
    using O = Operations3D;
    switch (settings.operation) {
        case 0:
            return O::LengthOfVectors(a, out, n, style);
        case 1:
            return O::NormalizeVectors(a, n, style);
        case 2:
            return O::NormalizeVectors(a, out, n, style);
        case 3:
            return O::NormalizeVectors(SoA_3D{a, b, sa, n}, style);
        case 4: {
            // The smaller of both counts is one that the arrays have.
            const SoA_3D src = {a, b, sa, n}, dst = {sb, at(4), at(5), n + settings.more};
            return O::NormalizeVectors(src, dst, style);
        }
        case 5:
            return O::NormalizeVectors(SoA_3D{a, b, sa, n + settings.more}, SoA_3D{b, sa, a, n}, style);
        case 6:
            return O::NormalizeVectors_SoAoS(a, out, n, style);
        case 7:
            return O::ScaleVectors(settings.s, out, n, style);
        case 8:
            return O::DotProduct(a, b, out, n, style);
        case 9:
            return O::CrossProduct(a, b, out, n, style);
        case 10:
            return O::AddConstantVector(a, b, out, n, style);
        case 11:
            return O::SubtractConstantVector(a, b, out, n, style);
        case 12:
            return O::AddVectors(a, b, out, n, style);
        case 13:
            return O::AddScaledVectors(sa, a, sb, b, out, n, style);
        case 14:
            return O::AddScaledVectors(settings.s, a, sb, b, out, n, style);
        case 15:
            return O::AddScaledVectors(sa, a, settings.t, b, out, n, style);
        case 16:
            return O::AddScaledVectors(settings.s, a, settings.t, b, out, n, style);
        default:
            return transform.Do(a, out, n, style);
    }
}

/// A matrix of a block of any shape, which ends where its memory ends.
Transform3D AnyTransform(fuzz::Input& input) {
    Transform3D transform;
    const ULong32 columns = input.Below(7), rows = input.Below(7);
    std::vector<double> values(std::size_t{columns} * rows);
    const bool isAny = input.Flip();
    for (double& value : values) {
        value = isAny ? input.Real() : input.Pick({0.0, 0.0, -0.0, 1.0, 1.0, 0.5, -2.0, 1e-300});
    }
    if (input.Once(4)) {
        transform.SetMatrix(values.empty() ? nullptr : values.data(), columns, rows);
    } else {
        // Mostly a linear or an affine one.
        std::vector<double> block(12);
        const ULong32 width = 3 + input.Below(2);
        for (std::size_t i = 0; i < block.size(); ++i) {
            block[i] = values.empty() ? input.Real() : values[i % values.size()];
        }
        transform.SetMatrix(block.data(), width, 3);
    }
    const Transform3D copy(transform);
    transform.SetMatrix(nullptr, 4, 4);
    transform = copy;
    return transform;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const ScopedInstructionSet believing(
        input.Pick({kSSE2, kSSE2, kSSE2, kSIMD, kSSE_MMX, kMMX, kScalarOnly}));
    const Transform3D transform = AnyTransform(input);
    Batch first(input);
    for (unsigned round = 0; round < fuzz::kMostRounds && !input.Empty(); ++round) {
        const Settings settings(input);
        const auto target = static_cast<simd::Target>(1 + input.Below(simd::kTargetCount - 1));
        simd::ForceStreaming(input.Flip() ? 1 : 0);
        Batch second(first);
        {
            const simd::ScopedTarget scope(simd::kPortable);
            if (Run(settings, transform, first) != 0) {
                std::abort();
            }
        }
        {
            const simd::ScopedTarget scope(simd::IsTargetAvailable(target) ? target : simd::BestTarget());
            Run(settings, transform, second);
        }
        simd::ForceStreaming(-1);
        calls.Add(2);
        for (std::size_t i = 0; i < first.arrays.size(); ++i) {
            if (!first.arrays[i].Equals(second.arrays[i])) {
                std::abort();
            }
        }
    }
    return 0;
}
