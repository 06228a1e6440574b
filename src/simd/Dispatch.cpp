#include "simd/Dispatch.h"

namespace Zan::simd {

#if defined(__ELF__)
extern "C" {
// Made by the linker around the section.
[[gnu::weak, gnu::visibility("hidden")]] extern KernelRecord* const __start_tesselu_kernels[];
[[gnu::weak, gnu::visibility("hidden")]] extern KernelRecord* const __stop_tesselu_kernels[];
}

std::span<KernelRecord* const> AllKernels() noexcept {
    return {__start_tesselu_kernels, __stop_tesselu_kernels};
}
#else
std::span<KernelRecord* const> AllKernels() noexcept {
    return {};
}
#endif

}  // namespace Zan::simd
