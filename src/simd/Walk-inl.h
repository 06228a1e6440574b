// The walk of a row kernel over its job, for one target. A kernel is a value with
//
//     using Layout = ...;                       // bytes of a unit in each source and in the destination
//     void Unit(sources, destination) const;    // the formula: one unit
//     static constexpr std::size_t kStep;       // units of one vector step
//     template <class Put> void Step(sources, destination, Put put) const;  // the same on kStep units
//
// where sources is a std::array of byte pointers. A step may write in place: it reads all before it writes.

#if defined(TESSELU_SRC_SIMD_WALK_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_SIMD_WALK_INL_H
#undef TESSELU_SRC_SIMD_WALK_INL_H
#else
#define TESSELU_SRC_SIMD_WALK_INL_H
#endif

#include <array>
#include <cstring>
#include <type_traits>

#include "simd/Rows.h"

HWY_BEFORE_NAMESPACE();
namespace Zan::simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <std::size_t Sources>
using Pointers = std::array<const std::uint8_t*, Sources>;

template <class Layout, std::size_t Sources>
HWY_INLINE Pointers<Sources> At(const RowJob<Sources>& job, std::size_t row) {
    Pointers<Sources> p;
    for (std::size_t i = 0; i < Sources; ++i)
        p[i] = job.source[i].row == nullptr
                   ? nullptr
                   : job.source[i].row + static_cast<std::ptrdiff_t>(row) * job.source[i].pitch;
    return p;
}

template <class Layout, std::size_t Sources>
HWY_INLINE void Advance(Pointers<Sources>& p, std::size_t units) {
    for (std::size_t i = 0; i < Sources; ++i)
        if (p[i] != nullptr)
            p[i] += units * Layout::kSourceBytes[i];
}

#if HWY_TARGET == HWY_SCALAR

template <class K, std::size_t Sources>
void Walk(const K& kernel, const RowJob<Sources>& job) {
    using Layout = typename K::Layout;
    for (std::size_t y = 0; y < job.rows; ++y) {
        Pointers<Sources> source = At<Layout>(job, y);
        std::uint8_t* destination =
            job.destination.row + static_cast<std::ptrdiff_t>(y) * job.destination.pitch;
        for (std::size_t x = 0; x < job.units; ++x) {
            kernel.Unit(source, destination);
            Advance<Layout>(source, 1);
            destination += Layout::kDestinationBytes;
        }
    }
}

#else

/// How a step hands over what it made.
struct PutInCache {
    template <class D, class V>
    HWY_INLINE HWY_ATTR void operator()(D d, V v, std::uint8_t* to) const {
        hn::StoreU(v, d, to);
    }
};
struct PutAroundCache {
    template <class D, class V>
    HWY_INLINE HWY_ATTR void operator()(D d, V v, std::uint8_t* to) const {
        hn::Stream(v, d, to);
    }
};

/// Fewer units than a step: through buffers, so that nothing beyond them is read or written.
template <class K, std::size_t Sources>
HWY_NOINLINE HWY_ATTR void PartialStep(const K& kernel, const Pointers<Sources>& source,
                                       std::uint8_t* destination, std::size_t units) {
    using Layout = typename K::Layout;
    constexpr std::size_t kWidest = 256;
    alignas(64) std::uint8_t in[Sources][kWidest];
    alignas(64) std::uint8_t out[kWidest];
    static_assert(K::kStep * Layout::kDestinationBytes <= kWidest);
    Pointers<Sources> p{};
    for (std::size_t i = 0; i < Sources; ++i) {
        if (source[i] == nullptr)
            continue;
        std::memset(in[i], 0, sizeof in[i]);
        std::memcpy(in[i], source[i], units * Layout::kSourceBytes[i]);
        p[i] = in[i];
    }
    kernel.Step(p, out, PutInCache{});
    std::memcpy(destination, out, units * Layout::kDestinationBytes);
}

/// What the next steps but a few will touch. Pictures beyond the second-level cache come a seventh faster.
template <class K, std::size_t Sources>
HWY_INLINE HWY_ATTR void FetchAhead(const Pointers<Sources>& source, const std::uint8_t* destination) {
    using Layout = typename K::Layout;
    constexpr std::size_t kAhead = 768, kLine = 64;
    for (std::size_t i = 0; i < Sources; ++i)
        for (std::size_t line = 0; line < K::kStep * Layout::kSourceBytes[i]; line += kLine)
            if (source[i] != nullptr)
                hwy::Prefetch(source[i] + kAhead + line);
    for (std::size_t line = 0; line < K::kStep * Layout::kDestinationBytes; line += kLine)
        hwy::Prefetch(destination + kAhead + line);
}

template <class K, std::size_t Sources, class Put>
HWY_INLINE HWY_ATTR void WalkWith(const K& kernel, const RowJob<Sources>& job, Put put) {
    using Layout = typename K::Layout;
    constexpr std::size_t kVector = HWY_LANES(std::uint8_t);
    constexpr std::size_t kUnit = Layout::kDestinationBytes;
    for (std::size_t y = 0; y < job.rows; ++y) {
        Pointers<Sources> source = At<Layout>(job, y);
        std::uint8_t* destination =
            job.destination.row + static_cast<std::ptrdiff_t>(y) * job.destination.pitch;
        std::size_t left = job.units;
        // Stores that straddle cache lines cost twice; streaming ones are not possible at all.
        const std::size_t off = reinterpret_cast<std::uintptr_t>(destination) % kVector;
        if (off != 0 && (kVector - off) % kUnit == 0 && left >= 4 * K::kStep) {
            const std::size_t head = (kVector - off) / kUnit;
            if (head <= K::kStep) {
                PartialStep(kernel, source, destination, head);
                Advance<Layout>(source, head);
                destination += head * kUnit;
                left -= head;
            }
        }
        for (; left >= K::kStep; left -= K::kStep) {
            if (!std::is_same_v<Put, PutAroundCache>)
                FetchAhead<K>(source, destination);
            kernel.Step(source, destination, put);
            Advance<Layout>(source, K::kStep);
            destination += K::kStep * kUnit;
        }
        if (left != 0)
            PartialStep(kernel, source, destination, left);
    }
}

template <class K, std::size_t Sources>
HWY_INLINE HWY_ATTR bool CanStream(const RowJob<Sources>& job) {
    constexpr std::size_t kVector = HWY_LANES(std::uint8_t);
    // A row either starts aligned or can be brought to it by a head of whole units.
    return job.stream && job.units >= 4 * K::kStep &&
           reinterpret_cast<std::uintptr_t>(job.destination.row) % K::Layout::kDestinationBytes == 0 &&
           job.destination.pitch % static_cast<std::ptrdiff_t>(K::Layout::kDestinationBytes) == 0 &&
           K::kStep * K::Layout::kDestinationBytes >= kVector;
}

template <class K, std::size_t Sources>
HWY_ATTR void Walk(const K& kernel, const RowJob<Sources>& job) {
    if (CanStream<K>(job)) {
        WalkWith(kernel, job, PutAroundCache{});
        hwy::FlushStream();
    } else {
        WalkWith(kernel, job, PutInCache{});
    }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace Zan::simd
HWY_AFTER_NAMESPACE();

#endif  // include guard
