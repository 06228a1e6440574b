#ifndef TESSELU_SRC_SIMD_DISPATCH_H
#define TESSELU_SRC_SIMD_DISPATCH_H

#include "simd/Targets.h"

// One kernel in the forms of all targets, for use in the HWY_ONCE part of a kernel file:
//
//     constexpr simd::Kernel<BlendRows> kDissolve = TESSELU_KERNEL(Dissolve);
//     kDissolve(job);

namespace Zan::simd {

template <class Function>
struct Kernel;

template <class... Arguments>
struct Kernel<void(Arguments...)> {
    using Pointer = void (*)(Arguments...);

    Pointer of[kTargetCount];

    Pointer Current() const noexcept { return of[CurrentTarget()]; }
    void operator()(Arguments... arguments) const { Current()(arguments...); }
};

}  // namespace Zan::simd

// The slots in the order of Target. Highway has no targets above SSSE3 for 32-bit x86.
#if defined(__x86_64__)
#define TESSELU_KERNEL(FN) \
    { &N_SCALAR::FN, &N_SSSE3::FN, &N_AVX2::FN, &N_AVX3::FN, nullptr }
#elif defined(__i386__)
#define TESSELU_KERNEL(FN) \
    { &N_SCALAR::FN, &N_SSSE3::FN, nullptr, nullptr, nullptr }
#elif defined(__aarch64__)
#define TESSELU_KERNEL(FN) \
    { &N_SCALAR::FN, nullptr, nullptr, nullptr, &N_NEON::FN }
#else
#define TESSELU_KERNEL(FN) \
    { &N_SCALAR::FN, nullptr, nullptr, nullptr, nullptr }
#endif

#endif  // TESSELU_SRC_SIMD_DISPATCH_H
