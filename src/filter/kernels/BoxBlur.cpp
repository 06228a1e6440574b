// Means of boxes of any size, by sums that go along with the pixels.

#include "filter/kernels/BoxBlur.h"

#include <new>
#include <type_traits>

#include "filter/kernels/BoxFormula.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/BoxBlur.cpp"
#include "simd/Foreach.h"

#include "filter/kernels/NarrowBox-inl.h"
#include "filter/kernels/RunningBox-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR
constexpr std::size_t kMostRows = 257;       ///< whose sum of bytes has 16 bits
constexpr std::size_t kMostShortRows = 128;  ///< and 15

/// False where sums or their scale take more than 16 bits.
bool FindShortForm(const SumToByte& rule, std::size_t area, ShortRounding& scale) {
    if (rule.form == SumToByte::Form::kSingle) {
        return FindShortRounding(area, scale);
    }
    scale = {0, rule.multiplier, rule.totalShift - 16};
    return area <= kMostRows && rule.preShift == 0 && rule.totalShift > 16;
}

template <bool Fused, Columns32 Kind>
void BlurByLongSums(const BoxJob& job, std::size_t area, BoxMemory& memory) {
    const auto blur = [&](auto fused, const auto& toBytes) {
        using ToBytes = std::decay_t<decltype(toBytes)>;
        Blur(job, LongSums<ToBytes, decltype(fused)::value, Kind>(toBytes, job.boxWidth), memory);
    };
    const std::bool_constant<Fused> often;
    const std::false_type seldom;
    if (job.toByte.form != SumToByte::Form::kSingle) {
        if (ShortProduct::Serves(job.toByte, area)) {
            blur(often, ShortProduct(job.toByte));
        } else {
            blur(seldom, WrappingProduct(job.toByte));
        }
    } else if (FusedRounding rounding{}; kFuses && FindFusedRounding(area, rounding)) {
        blur(often, FusedSingle(rounding));
    } else if (area <= SingleOfMantissa::kMostArea) {
        blur(often, SingleOfMantissa(job.toByte));
    } else {
        blur(seldom, SingleOfInteger(job.toByte));
    }
}

void RunBlurBox(const BoxJob& job, BoxMemory& memory) {
    const std::size_t area = job.boxWidth * job.boxHeight;
    if (area > SingleOfInteger::kMostArea) {
        BlurPlainly(job, memory);
    } else if (ShortRounding scale{}; FindShortForm(job.toByte, area, scale)) {
        if (!BlurNarrowly(job, scale, memory)) {
            Blur(job, ShortSums(scale), memory);
        }
    } else if (job.boxHeight > kMostRows) {
        BlurByLongSums<false, Columns32::kTall>(job, area, memory);
    } else if (job.boxHeight > kMostShortRows) {
        BlurByLongSums<false, Columns32::kLong>(job, area, memory);
    } else if (HWY_TARGET == HWY_AVX3 && simd::CurrentTarget() == simd::kAVX512DL) {
        BlurByLongSums<HWY_TARGET == HWY_AVX3, Columns32::kShort>(job, area, memory);
    } else {
        BlurByLongSums<false, Columns32::kShort>(job, area, memory);
    }
}

#else

void RunBlurBox(const BoxJob& job, BoxMemory& memory) {
    BlurPlainly(job, memory);
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

constexpr std::align_val_t kLine{64};

void BoxMemory::Free::operator()(std::uint8_t* memory) const noexcept {
    ::operator delete(memory, kLine);
}

std::uint8_t* BoxMemory::Get(std::size_t bytes) noexcept {
    if (bytes <= kOnStack) {
        return stack;
    }
    heap.reset();
    heap.reset(static_cast<std::uint8_t*>(::operator new(bytes, kLine, std::nothrow)));
    return heap.get();
}

TESSELU_KERNEL(simd::Kernel<void(const BoxJob&, BoxMemory&)>, kBlurBox, RunBlurBox);

}  // namespace Zan

#endif  // HWY_ONCE
