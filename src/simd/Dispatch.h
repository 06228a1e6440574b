#ifndef TESSELU_SRC_SIMD_DISPATCH_H
#define TESSELU_SRC_SIMD_DISPATCH_H

#include <atomic>
#include <span>

#include "simd/Targets.h"

// One kernel in the forms of all targets, for use in the HWY_ONCE part of a kernel file:
//
//     TESSELU_KERNEL(TwoSourceKernel, kDissolve, RunDissolve);
//
// defines `constexpr TwoSourceKernel kDissolve`, which runs N_AVX2::RunDissolve or what else the target says.

namespace Zan::simd {

/// What is known of a kernel besides its code: tests hold the list of all against what they ran.
struct KernelRecord {
    const char* name;
    std::atomic<bool> hasRun[kTargetCount] = {};
};

/// All kernels of the program; empty where the linker cannot gather them.
std::span<KernelRecord* const> AllKernels() noexcept;

template <class Function>
struct Kernel;

template <class... Arguments>
struct Kernel<void(Arguments...)> {
    using Pointer = void (*)(Arguments...);

    Pointer of[kTargetCount];
    KernelRecord* record;

    void operator()(Arguments... arguments) const {
        const Target target = CurrentTarget();
        // Written once, so that threads do not fight for the line.
        if (!record->hasRun[target].load(std::memory_order_relaxed)) [[unlikely]] {
            record->hasRun[target].store(true, std::memory_order_relaxed);
        }
        of[target](arguments...);
    }
};

}  // namespace Zan::simd

// The slots in the order of Target. Highway has no targets above SSSE3 for 32-bit x86.
#if defined(__x86_64__) && !defined(TESSELU_LEAST_TARGETS)
#define TESSELU_FORMS(FN) \
    { &N_SCALAR::FN, &N_SSSE3::FN, &N_AVX2::FN, &N_AVX3::FN, &N_AVX3::FN, nullptr }
#elif defined(__i386__) || defined(__x86_64__)
#define TESSELU_FORMS(FN) \
    { &N_SCALAR::FN, &N_SSSE3::FN, nullptr, nullptr, nullptr, nullptr }
#elif defined(__aarch64__)
#define TESSELU_FORMS(FN) \
    { &N_SCALAR::FN, nullptr, nullptr, nullptr, nullptr, &N_NEON::FN }
#else
#define TESSELU_FORMS(FN) \
    { &N_SCALAR::FN, nullptr, nullptr, nullptr, nullptr, nullptr }
#endif

// The linker puts the pointers of all files one behind the other.
#if defined(__ELF__)
#define TESSELU_ENROL(RECORD) \
    [[gnu::section("tesselu_kernels"), gnu::used]] static simd::KernelRecord* const RECORD##Entry = &RECORD
#else
#define TESSELU_ENROL(RECORD) static_assert(true)
#endif

// One form for all targets, of which there is nothing to compare.
#define TESSELU_PORTABLE_KERNEL(TYPE, NAME, FN)              \
    static constinit simd::KernelRecord NAME##Record{#NAME}; \
    constexpr TYPE NAME = {{&FN, &FN, &FN, &FN, &FN, &FN}, &NAME##Record}

#define TESSELU_KERNEL(TYPE, NAME, FN)                       \
    static constinit simd::KernelRecord NAME##Record{#NAME}; \
    TESSELU_ENROL(NAME##Record);                             \
    constexpr TYPE NAME = {TESSELU_FORMS(FN), &NAME##Record}

#endif  // TESSELU_SRC_SIMD_DISPATCH_H
