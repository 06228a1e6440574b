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

/// Rows of all planes of a layout. The rest of a pair is left out where it is not whole.
template <const auto& Planes>
struct Copy {
    using Place = Rows;
    static constexpr auto kSources = Planes;
    static constexpr auto kDestinations = Planes;
    static constexpr std::size_t kUnit = kSources[0].columns;
    bool longRuns;

    void Unit(const Place& at, std::size_t x) const { CopyColumns(at, x, kUnit); }
    void Tail(const Place& at, std::size_t x, std::size_t columns) const { CopyColumns(at, x, columns); }

    bool Row(const Place& at, std::size_t columns) const {
        CopyColumns(at, 0, columns);
        return true;
    }

private:
    void CopyColumns(const Place& at, std::size_t x, std::size_t columns) const {
        for (const PlaneUse& use : kSources) {
            CopyRun(at.out[use.index][0] + use.Bytes(x), at.in[use.index][0] + use.Bytes(x),
                    use.Bytes(columns / use.columns * use.columns));
        }
    }

    /// The bytes may be the same memory, or overlap.
    void CopyRun(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes) const {
        // Shorter rows do not pay for the start of a long run.
        constexpr std::size_t kLeast = 1024;
        const auto apart = reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from);
        if (longRuns && bytes >= kLeast && apart >= bytes && std::uintptr_t{0} - apart >= bytes) {
            simd::CopyLongRun(to, from, bytes);
        } else {
            std::memmove(to, from, bytes);
        }
    }
};

template <const auto& Planes>
void RunCopy(const ConversionJob& job) {
    simd::Job<4, 4> planes = job.planes;
    planes.whole = planes.width;
    const std::size_t bytes = Planes[0].Bytes(planes.width) * planes.height;
    Walk(Copy<Planes>{simd::LongRunsPay(bytes)}, planes);
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
TESSELU_KERNEL(ConversionKernel, kCopyBytePlane, CopyBytePlane);

}  // namespace Zan

#endif  // HWY_ONCE
