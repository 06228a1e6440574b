// Identical formats.

#include <cstring>

#include "convert/kernels/ConversionKernels.h"
#include "simd/LongRuns.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/kernels/Copy.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "convert/kernels/Conversion-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Rows of all planes of a layout; with `FillAlpha` the alpha plane is filled in place of copied. Of a pair
/// that is not whole the floating-point path copies nothing, the others what its pixel has: Cb, Y and Cr.
template <const auto& Planes, bool FillAlpha = false>
struct Copy {
    using Place = Rows;
    static constexpr auto kSources = [] {
        if constexpr (FillAlpha) {
            return kPairPlanes;
        } else {
            return Planes;
        }
    }();
    static constexpr auto kDestinations = Planes;
    static constexpr std::size_t kUnit = Planes[0].columns;
    bool longRuns;
    bool aroundCache;
    bool dropsRest;
    std::uint8_t alphaFill;

    void Unit(const Place& at, std::size_t x) const { CopyColumns(at, x, kUnit); }
    void Tail(const Place& at, std::size_t x, std::size_t columns) const { CopyColumns(at, x, columns); }

    bool Row(const Place& at, std::size_t columns) const {
        CopyColumns(at, 0, columns);
        return true;
    }

private:
    void CopyColumns(const Place& at, std::size_t x, std::size_t columns) const {
        for (const PlaneUse& use : kDestinations) {
            std::uint8_t* to = at.out[use.index][0] + use.Bytes(x);
            if (FillAlpha && use.index == 3) {
                std::memset(to, alphaFill, columns);
                continue;
            }
            const std::size_t whole = columns / use.columns * use.columns;
            const std::size_t rest = whole != columns && !dropsRest ? 3 : 0;
            CopyRun(to, at.in[use.index][0] + use.Bytes(x), use.Bytes(whole) + rest);
        }
    }

    /// The bytes may be the same memory, or overlap.
    void CopyRun(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes) const {
        // Shorter rows do not pay for the start of a long run.
        constexpr std::size_t kLeast = 1024;
        const auto apart = reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from);
        if (longRuns && bytes >= kLeast && apart >= bytes && std::uintptr_t{0} - apart >= bytes) {
            simd::CopyLongRun(to, from, bytes, aroundCache);
        } else {
            std::memmove(to, from, bytes);
        }
    }
};

template <const auto& Planes, bool FillAlpha = false>
void RunCopy(const ConversionJob& job) {
    const std::size_t bytes = Planes[0].Bytes(job.planes.width) * job.planes.height;
    Walk(Copy<Planes, FillAlpha>{simd::LongRunsPay(bytes), simd::ExceedsCache(2 * bytes), job.inDoubles,
                                 job.alphaFill},
         job.planes);
}

void CopyPixels32(const ConversionJob& job) {
    RunCopy<kPixels32Planes>(job);
}
void CopyPixels24(const ConversionJob& job) {
    RunCopy<kPixels24Planes>(job);
}
void CopyPairs(const ConversionJob& job) {
    RunCopy<kPairPlanes>(job);
}
void CopyPairsAndAlpha(const ConversionJob& job) {
    RunCopy<kPairAlphaPlanes>(job);
}
void CopyPairsAndFillAlpha(const ConversionJob& job) {
    RunCopy<kPairAlphaPlanes, true>(job);
}
void CopyBytePlane(const ConversionJob& job) {
    RunCopy<kBytePlanes>(job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConversionKernel, kCopyPixels32, CopyPixels32);
TESSELU_KERNEL(ConversionKernel, kCopyPixels24, CopyPixels24);
TESSELU_KERNEL(ConversionKernel, kCopyPairs, CopyPairs);
TESSELU_KERNEL(ConversionKernel, kCopyPairsAndAlpha, CopyPairsAndAlpha);
TESSELU_KERNEL(ConversionKernel, kCopyPairsAndFillAlpha, CopyPairsAndFillAlpha);
TESSELU_KERNEL(ConversionKernel, kCopyBytePlane, CopyBytePlane);

}  // namespace Zan

#endif  // HWY_ONCE
