// Differences, or-passes and the sub-pixel shift.

#include <cstring>

#include "composite/kernels/Blend.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "composite/kernels/Measure.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

struct Difference {
    using Place = simd::Place<2, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 64}, {.index = 1, .bytesPer16 = 64}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};

    void Unit(const Place& at, std::size_t x) const {
        at.out[0][0][x] = SumOfDifferences(at.in[0][0] + 4 * x, at.in[1][0] + 4 * x);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const DU32 d32;
        // Byte 3 of a pixel weighs nothing.
        const VI8 colour = hn::BitCast(DI8(), hn::Set(d32, 0x00010101U));
        const VI16 one = hn::Set(DI16(), 1);
        PutLine(at.out[0][0] + x, put, [&](std::size_t i) HWY_ATTR {
            VI32 sum[4];
            for (std::size_t k = 0; k < 4; ++k) {
                const std::size_t byte = 4 * x + (4 * i + k) * kVectorBytes;
                const VU8 a = hn::LoadU(d, at.in[0][0] + byte), b = hn::LoadU(d, at.in[1][0] + byte);
                const VU8 apart = hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
                sum[k] = MulAddPairs(MulAddPairs(apart, colour), one);
            }
            const VU8 packed = PackToBytes(PackToShorts(sum[0], sum[1]), PackToShorts(sum[2], sum[3]));
            // Packing dealt the groups of four pixels out to the blocks; they go back into order.
            return hn::BitCast(d, GatherFromBlocks(d32, hn::BitCast(d32, packed)));
        });
    }
#endif
};

struct OrOfTwo {
    using Place = simd::Place<2, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0}, {.index = 1}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};

    void Unit(const Place& at, std::size_t x) const {
        at.out[0][0][x] = static_cast<std::uint8_t>(at.in[0][0][x] | at.in[1][0][x]);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        PutLine(at.out[0][0] + x, put, [&](std::size_t i) HWY_ATTR {
            return hn::Or(hn::LoadU(DU8(), at.in[0][0] + x + i * kVectorBytes),
                          hn::LoadU(DU8(), at.in[1][0] + x + i * kVectorBytes));
        });
    }
#endif
};

struct ShiftSubPixel {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 64, .right = 1}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 64}};
    unsigned weight;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t* current = at.in[0][0] + 4 * x;
        for (std::size_t i = 0; i < 4; ++i) {
            at.out[0][0][4 * x + i] = SubPixel(current[i], current[4 + i], weight);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / 4;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const DU16 d16;
        const VU8 none = hn::Zero(d);
        const VU16 ofCurrent = hn::Set(d16, static_cast<std::uint16_t>(weight));
        const VU16 ofNext = hn::Set(d16, static_cast<std::uint16_t>(256 - weight));
        // (sum of sample * weight of 512) >> 8 is (sum of sample * weight of 256) >> 7, which 16 bits hold.
        const auto mix = [&](VU8 current, VU8 next) HWY_ATTR {
            const VU16 sum = hn::Add(hn::Mul(hn::BitCast(d16, current), ofCurrent),
                                     hn::Mul(hn::BitCast(d16, next), ofNext));
            return hn::BitCast(DI16(), hn::ShiftRight<1>(hn::Add(hn::ShiftRight<7>(sum), hn::Set(d16, 1))));
        };
        PutLine(at.out[0][0] + 4 * x, put, [&](std::size_t i) HWY_ATTR {
            const VU8 current = hn::LoadU(d, at.in[0][0] + 4 * x + i * kVectorBytes);
            const VU8 next = hn::LoadU(d, at.in[0][0] + 4 * x + 4 + i * kVectorBytes);
            return PackToBytes(
                mix(hn::InterleaveLower(d, current, none), hn::InterleaveLower(d, next, none)),
                mix(hn::InterleaveUpper(d, current, none), hn::InterleaveUpper(d, next, none)));
        });
    }
#endif
};

/// Columns are words. Of the first `groupWords` of a row, which come in groups of four, the first of each
/// group counts; then all do.
struct OrRows {
    using Place = simd::Place<1, 0>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 64}};
    static constexpr std::array<PlaneUse, 0> kDestinations = {};
    static constexpr bool kRowsJoin = false;
    std::size_t groupWords;
    std::uint32_t all = 0;

    void Unit(const Place& at, std::size_t x) {
        if (x >= groupWords || x % 4 == 0) {
            std::uint32_t word;
            std::memcpy(&word, at.in[0][0] + 4 * x, sizeof word);
            all |= word;
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;
    VU8 first = hn::Zero(DU8()), second = hn::Zero(DU8());

    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x) {
        const DU8 d;
        if (x + kStep > groupWords) {
            for (std::size_t i = 0; i < kStep; ++i) {
                Unit(at, x + i);
            }
            return;
        }
        const std::uint8_t* from = at.in[0][0] + 4 * x;
        first = hn::Or(first, hn::Or(hn::LoadU(d, from), hn::LoadU(d, from + kVectorBytes)));
        second = hn::Or(second,
                        hn::Or(hn::LoadU(d, from + 2 * kVectorBytes), hn::LoadU(d, from + 3 * kVectorBytes)));
    }

    HWY_INLINE HWY_ATTR std::uint32_t Result() const {
        alignas(64) std::uint32_t lanes[kVectorBytes / 4];
        hn::Store(hn::BitCast(DU32(), hn::Or(first, second)), DU32(), lanes);
        std::uint32_t result = all;
        for (std::size_t lane = 0; lane < kVectorBytes / 4; lane += 4) {
            result |= lanes[lane];
        }
        return result;
    }
#else
    std::uint32_t Result() const {
        return all;
    }
#endif
};

void RunDifference(const TwoSourceJob& job, const BlendSettings&) {
    Walk(Difference{}, job);
}
void RunOrOfTwo(const TwoSourceJob& job, const BlendSettings&) {
    Walk(OrOfTwo{}, job);
}
void RunShiftSubPixel(const simd::Job<1, 1>& job, const BlendSettings& set) {
    Walk(ShiftSubPixel{set.weight}, job);
}
HWY_ATTR void RunOrRows(const simd::Job<1, 0>& job, std::size_t groupWords, std::uint32_t& result) {
    OrRows rows{groupWords};
    Reduce(rows, job);
    result |= rows.Result();
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(TwoSourceKernel, kSumOfDifferences, RunDifference);
TESSELU_KERNEL(TwoSourceKernel, kOrBytes, RunOrOfTwo);
TESSELU_KERNEL(OneSourceKernel, kShiftSubPixel, RunShiftSubPixel);
TESSELU_KERNEL(OrKernel, kOrRows, RunOrRows);

}  // namespace Zan

#endif  // HWY_ONCE
