// Fills with a word that is repeated.

#include "composite/kernels/Fill.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "simd/LongRuns.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "composite/kernels/Fill.cpp"
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

/// Columns are of 4 bytes or of 1.
template <std::size_t Bytes>
struct Filling {
    using Place = simd::Place<0, 1>;
    static constexpr std::array<PlaneUse, 0> kSources = {};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 16 * Bytes, .isClamped = true}};
    std::uint32_t pattern;
    bool longRuns;

    void Unit(const Place& at, std::size_t x) const {
        std::memcpy(at.out[0][0] + Bytes * x, &pattern, Bytes);
    }

    bool Row(const Place& at, std::size_t columns) const {
        // Shorter rows do not pay for the start of a long run.
        constexpr std::size_t kLeast = 1024;
        if (!longRuns || columns * Bytes < kLeast) {
            return false;
        }
        simd::FillLongRun(at.out[0][0], columns * Bytes, pattern);
        return true;
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = 4 * kVectorBytes / Bytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const VU8 filling = hn::BitCast(DU8(), hn::Set(DU32(), pattern));
        for (std::size_t i = 0; i < 4; ++i) {
            put(DU8(), filling, at.out[0][0] + Bytes * x + i * kVectorBytes);
        }
    }
#endif
};

template <std::size_t Bytes>
struct FillingUnderMask {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0, .bytesPer16 = 16 * Bytes}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 16 * Bytes}};
    std::uint32_t colour, mask;

    void Unit(const Place& at, std::size_t x) const {
        std::uint32_t word = 0;
        std::memcpy(&word, at.in[0][0] + Bytes * x, Bytes);
        word = (word & ~mask) | (colour & mask);
        std::memcpy(at.out[0][0] + Bytes * x, &word, Bytes);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / Bytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU32 d;
        const VU32 keep = hn::Set(d, ~mask), fill = hn::Set(d, colour & mask);
        PutLine(at.out[0][0] + Bytes * x, put, [&](std::size_t i) HWY_ATTR {
            const VU8 old = hn::LoadU(DU8(), at.in[0][0] + Bytes * x + i * kVectorBytes);
            return hn::BitCast(DU8(), hn::Or(hn::And(hn::BitCast(d, old), keep), fill));
        });
    }
#endif
};

struct FillingToBoundary {
    using Place = simd::Place<0, 1>;
    static constexpr std::array<PlaneUse, 0> kSources = {};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};
    std::uint32_t pattern;
    std::size_t boundary;

    std::size_t Columns(const Place& at, std::size_t columns) const {
        return std::max(columns, -reinterpret_cast<std::uintptr_t>(at.out[0][0]) % boundary);
    }
    void Unit(const Place& at, std::size_t x) const {
        at.out[0][0][x] = static_cast<std::uint8_t>(pattern >> (8 * (x % 4)));
    }
};

struct FillingPairs {
    using Place = simd::Place<0, 1>;
    static constexpr std::array<PlaneUse, 0> kSources = {};
    static constexpr PlaneUse kDestinations[] = {
        {.index = 0, .bytesPer16 = 64, .columns = 2, .isClamped = true}};
    static constexpr std::size_t kUnit = 2;
    std::uint32_t colour;

    void Unit(const Place& at, std::size_t x) const { std::memcpy(at.out[0][0] + 4 * x, &colour, 4); }
    void Tail(const Place& at, std::size_t x, std::size_t) const {
        std::memcpy(at.out[0][0] + 4 * x, &colour, 3);
    }
};

template <std::size_t Bytes>
void RunFill(const FillJob& job, const FillSettings& set) {
    const std::size_t bytes = job.width * Bytes * job.height;
    // Strings write through the cache, however much it is.
    Walk(Filling<Bytes>{set.pattern, simd::LongRunsPay(bytes) && !simd::ExceedsCache(bytes)}, job);
}
template <std::size_t Bytes>
void RunFillUnderMask(const FillJob& job, const FillSettings& set) {
    const simd::Job<1, 1> inPlace = {{job.destination[0]}, job.destination, job.width, job.height, job.whole};
    Walk(FillingUnderMask<Bytes>{set.pattern, set.mask}, inPlace);
}

void RunFillWords(const FillJob& job, const FillSettings& set) {
    RunFill<4>(job, set);
}
void RunFillBytes(const FillJob& job, const FillSettings& set) {
    RunFill<1>(job, set);
}
void RunFillWordsUnderMask(const FillJob& job, const FillSettings& set) {
    RunFillUnderMask<4>(job, set);
}
void RunFillBytesUnderMask(const FillJob& job, const FillSettings& set) {
    RunFillUnderMask<1>(job, set);
}
void RunFillToBoundary(const FillJob& job, const FillSettings& set) {
    Walk(FillingToBoundary{set.pattern, set.boundary}, job);
}
void RunFillPairs(const FillJob& job, const FillSettings& set) {
    Walk(FillingPairs{set.pattern}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(FillKernel, kFillWords, RunFillWords);
TESSELU_KERNEL(FillKernel, kFillBytes, RunFillBytes);
TESSELU_KERNEL(FillKernel, kFillWordsUnderMask, RunFillWordsUnderMask);
TESSELU_KERNEL(FillKernel, kFillBytesUnderMask, RunFillBytesUnderMask);
TESSELU_KERNEL(FillKernel, kFillToBoundary, RunFillToBoundary);
TESSELU_KERNEL(FillKernel, kFillPairs, RunFillPairs);

}  // namespace Zan

#endif  // HWY_ONCE
