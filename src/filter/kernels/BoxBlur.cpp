// Means of boxes of any size.

#include "filter/kernels/BoxBlur.h"

#include <new>

#include "filter/kernels/BoxFormula.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/BoxBlur.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Extra-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

void RunBlurBox(const BoxJob& job, BoxMemory& memory) {
    BlurPlainly(job, memory);
}

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
