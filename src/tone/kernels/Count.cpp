// How often bytes occur. An increment is a load and a store, of which a processor makes one or two at a time,
// so that their number is what counts.

#include "tone/kernels/Count.h"

#include <algorithm>
#include <bit>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tone/kernels/Count.cpp"
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

using Place = simd::Place<1, 0>;
constexpr PlaneUse kPixels[] = {{.index = 0, .bytesPer16 = 64}};

/// `Bytes` of each four.
template <std::size_t Bytes>
struct CountBytes {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels;
    static constexpr std::array<PlaneUse, 0> kDestinations = {};
    ULong32* of[4];

    void Unit(const Place& at, std::size_t x) {
        for (std::size_t i = 0; i < Bytes; ++i) {
            ++of[i][at.in[0][0][4 * x + i]];
        }
    }
};

#if HWY_TARGET != HWY_SCALAR

/// The same in tables that lie together, others for every second pixel: neighbours are often alike, and an
/// increment waits for the one before it.
template <std::size_t Bytes>
struct CountBytesApart {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels;
    static constexpr std::array<PlaneUse, 0> kDestinations = {};
    static constexpr std::size_t kStep = 4;
    ULong32 (*tables)[256];  ///< four, and four

    void Unit(const Place& at, std::size_t x) {
        for (std::size_t i = 0; i < Bytes; ++i) {
            ++tables[i][at.in[0][0][4 * x + i]];
        }
    }

    HWY_INLINE void Step(const Place& at, std::size_t x) {
        const std::uint8_t* const pixels = at.in[0][0] + 4 * x;
        for (std::size_t byte = 0; byte < 4 * kStep; ++byte) {
            if (byte % 4 < Bytes) {
                ++tables[byte % 8][pixels[byte]];
            }
        }
    }
};

/// Bytes 0 and 1, and byte 2 with or without byte 3.
template <bool CountsByte3>
struct CountPairs {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels;
    static constexpr std::array<PlaneUse, 0> kDestinations = {};
    static constexpr std::size_t kStep = 8;
    std::uint32_t *low, *high;

    // Each half is loaded by itself, which takes less than to part a word.
    void Unit(const Place& at, std::size_t x) {
        const std::uint8_t* const pixel = at.in[0][0] + 4 * x;
        std::uint16_t lower, upper;
        std::memcpy(&lower, pixel, sizeof lower);
        ++low[lower];
        std::memcpy(&upper, pixel + 2, sizeof upper);
        ++high[CountsByte3 ? upper : pixel[2]];
    }
    HWY_INLINE void Step(const Place& at, std::size_t x) {
        for (std::size_t i = 0; i < kStep; ++i) {
            Unit(at, x + i);
        }
    }
};

/// Adds counts of pairs to those of their lower and of their upper bytes, and zeroes them.
HWY_ATTR void Unpair(std::uint32_t* pairs, std::size_t uppers, ULong32* ofLower, ULong32* ofUpper) {
    const DU32 d;
    constexpr std::size_t kLanes = HWY_LANES(std::uint32_t), kValues = 256;
    alignas(64) std::uint32_t lower[kValues] = {};
    for (std::size_t upper = 0; upper < uppers; ++upper) {
        VU32 sum = hn::Zero(d);
        for (std::uint32_t *at = pairs + kValues * upper, *to = lower; to != lower + kValues;
             at += kLanes, to += kLanes) {
            const VU32 counts = hn::LoadU(d, at);
            hn::Store(hn::Add(hn::Load(d, to), counts), d, to);
            sum = hn::Add(sum, counts);
            hn::StoreU(hn::Zero(d), d, at);
        }
        if (ofUpper != nullptr) {
            ofUpper[upper] += hn::GetLane(hn::SumOfLanes(d, sum));
        }
    }
    for (std::size_t i = 0; i < kValues; ++i) {
        ofLower[i] += lower[i];
    }
}

#endif

/// Marks the cache lines that hold the counts of pairs.
struct SpreadOfPairs {
    using Place = HWY_NAMESPACE::Place;
    static constexpr auto& kSources = kPixels;
    static constexpr std::array<PlaneUse, 0> kDestinations = {};
    static constexpr std::size_t kCountsOfLine = 64 / sizeof(std::uint32_t);
    static constexpr std::size_t kWords = PairCounts::kValues / kCountsOfLine / 64;
    std::uint64_t (*isUsed)[kWords];  ///< of either half of a pixel
    std::uint32_t highs;

    void Unit(const Place& at, std::size_t x) {
        std::uint32_t pixel;
        std::memcpy(&pixel, at.in[0][0] + 4 * x, sizeof pixel);
        Mark(0, pixel & 0xFFFF);
        Mark(1, pixel >> 16 & highs);
    }

private:
    void Mark(std::size_t half, std::size_t pair) {
        const std::size_t line = pair / kCountsOfLine;
        isUsed[half][line / 64] |= std::uint64_t{1} << line % 64;
    }
};

template <std::size_t Bytes>
HWY_ATTR void RunCountBytes(const CountJob& job, const ByteCounts& counts) {
#if HWY_TARGET != HWY_SCALAR
    // Fewer do not pay for the tables.
    constexpr std::size_t kLeastPixels = 8192;
    if (job.width * job.height >= kLeastPixels) {
        alignas(64) ULong32 tables[8][256] = {};
        CountBytesApart<Bytes> kernel{tables};
        Reduce(kernel, job);
        for (std::size_t i = 0; i < Bytes; ++i) {
            for (std::size_t value = 0; value < 256; ++value) {
                counts.of[i][value] += tables[i][value] + tables[i + 4][value];
            }
        }
        return;
    }
#endif
    ULong32* const* const of = counts.of;
    CountBytes<Bytes> kernel{{of[0], of[1], of[2], of[3]}};
    Reduce(kernel, job);
}

void RunCountBytes(const CountJob& job, const ByteCounts& counts) {
    (counts.of[3] == nullptr ? RunCountBytes<3> : RunCountBytes<4>)(job, counts);
}

HWY_ATTR void RunCountPairs(const CountJob& job, const ByteCounts& counts,
                            [[maybe_unused]] const PairCounts& pairs) {
#if HWY_TARGET == HWY_SCALAR
    RunCountBytes(job, counts);
#else
    ULong32* const* const of = counts.of;
    if (of[3] == nullptr) {
        CountPairs<false> kernel{pairs.of[0], pairs.of[1]};
        Reduce(kernel, job);
    } else {
        CountPairs<true> kernel{pairs.of[0], pairs.of[1]};
        Reduce(kernel, job);
    }
    Unpair(pairs.of[0], 256, of[0], of[1]);
    Unpair(pairs.of[1], of[3] == nullptr ? 1 : 256, of[2], of[3]);
#endif
}

void RunSpreadOfPairs(const CountJob& job, bool countsByte3, std::size_t& lines) {
    std::uint64_t isUsed[2][SpreadOfPairs::kWords] = {};
    SpreadOfPairs kernel{isUsed, countsByte3 ? 0xFFFFU : 0xFFU};
    Reduce(kernel, job);
    lines = 0;
    for (const auto& half : isUsed) {
        for (const std::uint64_t word : half) {
            lines += static_cast<std::size_t>(std::popcount(word));
        }
    }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(simd::Kernel<void(const CountJob&, const ByteCounts&)>, kCountBytes, RunCountBytes);
TESSELU_KERNEL(simd::Kernel<void(const CountJob&, const ByteCounts&, const PairCounts&)>, kCountPairs,
               RunCountPairs);
TESSELU_KERNEL(simd::Kernel<void(const CountJob&, bool, std::size_t&)>, kSpreadOfPairs, RunSpreadOfPairs);

}  // namespace Zan

#endif  // HWY_ONCE
