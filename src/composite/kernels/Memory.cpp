#include "composite/kernels/Memory.h"

#include <bit>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "composite/kernels/Memory.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {

using namespace simd::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
constexpr std::size_t kBytes = 1;
#else
constexpr std::size_t kBytes = HWY_LANES(std::uint8_t);
#endif

HWY_INLINE std::uint32_t WordAt(const std::uint8_t* p) {
    std::uint32_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

HWY_INLINE std::uint32_t OrWords(const std::uint8_t* p, std::size_t bytes, std::size_t step) {
    std::uint32_t all = 0;
    for (std::size_t i = 0; i < bytes; i += step)
        all |= WordAt(p + i);
    return all;
}

/// The first words of the groups.
HWY_INLINE HWY_ATTR std::uint32_t OrGroups(const std::uint8_t* p, std::size_t bytes) {
#if HWY_TARGET == HWY_SCALAR
    return OrWords(p, bytes, 16);
#else
    const DU32 d;
    VU32 first = hn::Zero(d), second = hn::Zero(d);
    std::size_t i = 0;
    for (; i + 4 * kBytes <= bytes; i += 4 * kBytes) {
        const std::uint8_t* from = p + i;
        const DU8 d8;
        first = hn::Or(first, hn::BitCast(d, hn::Or(hn::LoadU(d8, from), hn::LoadU(d8, from + kBytes))));
        second = hn::Or(second, hn::BitCast(d, hn::Or(hn::LoadU(d8, from + 2 * kBytes),
                                                      hn::LoadU(d8, from + 3 * kBytes))));
    }
    alignas(64) std::uint32_t lanes[kBytes / 4];
    hn::Store(hn::Or(first, second), d, lanes);
    std::uint32_t all = OrWords(p + i, bytes - i, 16);
    for (std::size_t lane = 0; lane < kBytes / 4; lane += 4)
        all |= lanes[lane];
    return all;
#endif
}

void RunOrRows(const OrStretch& a, const OrStretch& b, std::size_t rows, std::uint32_t& result) {
    std::uint32_t all = 0;
    for (std::size_t y = 0; y < rows; ++y) {
        for (const OrStretch* stretch : {&a, &b}) {
            if (stretch->plane.row == nullptr)
                continue;
            const std::uint8_t* row =
                stretch->plane.row + static_cast<std::ptrdiff_t>(y) * stretch->plane.pitch;
            all |= OrGroups(row, stretch->groupBytes);
            all |= OrWords(row + stretch->groupBytes, stretch->restBytes, 4);
        }
    }
    result |= all;
}

/// The pattern as it stands `offset` bytes after a place where it starts.
HWY_INLINE std::uint32_t Turned(std::uint32_t pattern, std::size_t offset) {
    return std::rotr(pattern, static_cast<int>(offset % 4) * 8);
}

HWY_INLINE void FillShort(std::uint8_t* to, std::size_t bytes, std::uint32_t pattern) {
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = static_cast<std::uint8_t>(Turned(pattern, i));
}

void RunFillRows(const simd::WritePlane& to, std::size_t bytes, std::size_t rows, std::uint32_t pattern,
                 [[maybe_unused]] bool stream) {
    for (std::size_t y = 0; y < rows; ++y) {
        std::uint8_t* row = to.row + static_cast<std::ptrdiff_t>(y) * to.pitch;
#if HWY_TARGET == HWY_SCALAR
        FillShort(row, bytes, pattern);
#else
        if (bytes < kBytes) {
            FillShort(row, bytes, pattern);
            continue;
        }
        // Unaligned stores at both ends, aligned ones between; they may overlap.
        const DU32 d;
        const DU8 d8;
        hn::StoreU(hn::BitCast(d8, hn::Set(d, pattern)), d8, row);
        hn::StoreU(hn::BitCast(d8, hn::Set(d, Turned(pattern, bytes - kBytes))), d8, row + bytes - kBytes);
        const std::size_t head = kBytes - reinterpret_cast<std::uintptr_t>(row) % kBytes;
        const VU8 filling = hn::BitCast(d8, hn::Set(d, Turned(pattern, head)));
        std::size_t i = head;
        if (stream) {
            for (; i + kBytes <= bytes; i += kBytes)
                hn::Stream(filling, d8, row + i);
        } else {
            for (; i + 4 * kBytes <= bytes; i += 4 * kBytes) {
                hn::Store(filling, d8, row + i);
                hn::Store(filling, d8, row + i + kBytes);
                hn::Store(filling, d8, row + i + 2 * kBytes);
                hn::Store(filling, d8, row + i + 3 * kBytes);
            }
            for (; i + kBytes <= bytes; i += kBytes)
                hn::Store(filling, d8, row + i);
        }
#endif
    }
#if HWY_TARGET != HWY_SCALAR
    if (stream)
        hwy::FlushStream();
#endif
}

struct OrOfTwo {
    using Layout = ByteLayout;
    static constexpr std::size_t kStep = kBytes < 64 && kBytes > 1 ? 64 : kBytes;

    void Unit(const Pointers<2>& s, std::uint8_t* out) const {
        *out = static_cast<std::uint8_t>(*s[0] | *s[1]);
    }

#if HWY_TARGET != HWY_SCALAR
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Pointers<2>& s, std::uint8_t* out, Put put) const {
        const DU8 d;
        VU8 made[kStep / kBytes];
        for (std::size_t i = 0; i < kStep / kBytes; ++i)
            made[i] = hn::Or(hn::LoadU(d, s[0] + i * kBytes), hn::LoadU(d, s[1] + i * kBytes));
        for (std::size_t i = 0; i < kStep / kBytes; ++i)
            put(d, made[i], out + i * kBytes);
    }
#endif
};

void RunOrBytes(const TwoSourceJob& job, const BlendSettings&) {
    Walk(OrOfTwo{}, job);
}

}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

constexpr OrKernel kOrRows = TESSELU_KERNEL(RunOrRows);
constexpr FillKernel kFillRows = TESSELU_KERNEL(RunFillRows);
constexpr TwoSourceKernel kOrBytes = TESSELU_KERNEL(RunOrBytes);

}  // namespace Zan

#endif  // HWY_ONCE
