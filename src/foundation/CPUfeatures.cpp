#include <TesselU/foundation/CPUfeatures.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>

#include "foundation/CopyMethod.h"
#include "foundation/FeatureProbe.h"
#include "foundation/LazySingleton.h"
#include "foundation/ProcessorProbe.h"
#include "platform/Platform.h"

namespace Zan {
namespace {

constexpr std::size_t kExtendedVersionSize = 156;
constexpr std::size_t kPlainVersionSize = 148;
constexpr ULong32 kAcceptedPlatform = 2;

constexpr ULong32 kMxcsrFlushToZero = 0x8000;
constexpr ULong32 kMxcsrRounding = 0x6000;
constexpr ULong32 kMxcsrMaskedExceptions = 0x1900;
constexpr ULong32 kMxcsrDenormalsAreZero = 0x40;

// The bytes of a line of 720 pixels in 4:2:2.
constexpr Long32 kLineBytes = 1440;

constinit LazySingleton<CPUfeatures> singleton;

bool IsAligned(const void* pointer, std::uintptr_t alignment) {
    return reinterpret_cast<std::uintptr_t>(pointer) % alignment == 0;
}

}  // namespace

CPUfeatures* CPUfeatures::Instance() {
    return singleton.Get([] { return new (std::nothrow) CPUfeatures(SystemProcessorProbe()); });
}

CPUfeatures::CPUfeatures(const ProcessorProbe& processor)
    : processorCount(processor.SystemProcessorCount()), probe(processor) {
    hasExtendedVersionInfo = probe.ReadOperatingSystemVersion(kExtendedVersionSize, osVersion);
    if (!hasExtendedVersionInfo && !probe.ReadOperatingSystemVersion(kPlainVersionSize, osVersion)) {
        throw std::runtime_error("unknown OS");
    }
    if (osVersion.platformId != kAcceptedPlatform) {
        throw std::runtime_error("OS not supported");
    }

    hasMMX = probe.ReportsMMX();
    hasSSE = probe.ReportsSSE() && hasMMX;

    CpuidRegisters leaf1;
    if (const auto leaf0 = probe.Cpuid(0)) {
        const VendorString found(*leaf0);
        std::memcpy(vendor, found.text, sizeof vendor);
        vendorIsAMD = std::strcmp(vendor, amdVendor) == 0;
        vendorIsIntel = std::strcmp(vendor, intelVendor) == 0;
        leaf1 = probe.Cpuid(1).value_or(CpuidRegisters{});
        if (probe.Cpuid(0x80000000U).value_or(CpuidRegisters{}).eax >= 0x80000001U) {
            hasAMDmmxExtensions = Bit(probe.Cpuid(0x80000001U).value_or(CpuidRegisters{}).edx, 22);
        }
    }
    hasSSE2 = Bit(leaf1.edx, 26) && hasSSE;
    hasFXSR = Bit(leaf1.edx, 24);
    // "MMX" stands for the integer additions that came with SSE.
    hasMMX = hasMMX && (hasAMDmmxExtensions || hasSSE);
    if (vendorIsIntel) {
        hyperThreading = Bit(leaf1.edx, 28);
        if (hyperThreading) {
            logicalPerPackage = (leaf1.ebx >> 16) & 0xFF;
        }
    }
    if (hasSSE || hasSSE2) {
        TuneControlRegister();
    }
    useMMX = hasMMX;
    useSSE = hasSSE;
    useSSE2 = hasSSE2;
}

CPUfeatures::~CPUfeatures() {
    if (mxcsrChanged) {
        probe.WriteMXCSR(savedMXCSR);
    }
    if (fpuControlChanged) {
        probe.WriteFPUcontrol(savedFPUcontrol);
    }
}

void CPUfeatures::TuneControlRegister() {
    ULong32 before = 0;
    if (!probe.ReadMXCSR(before)) {
        return;
    }
    ULong32 tuned = before | kMxcsrFlushToZero;
    if (hasSSE2) {
        tuned |= kMxcsrDenormalsAreZero;
    }
    tuned &= ~kMxcsrRounding;
    tuned |= kMxcsrMaskedExceptions;
    if (tuned != before) {
        savedMXCSR = before;
        mxcsrChanged = probe.WriteMXCSR(tuned);
    }
}

void CPUfeatures::CopyBytes(unsigned char* dst, unsigned char* src, Long32 count) noexcept {
    if (ChooseCopyMethod(IsSSE2usable(), IsMMXusable(), dst, src, count) == CopyMethod::kNothing) {
        return;
    }
    // Every method moves the same bytes, and the run-time library's copy is fast on all these processors.
    std::memmove(dst, src, static_cast<std::size_t>(count));
}

void CPUfeatures::FillWords(ULong32* dst, ULong32 value, ULong32 count) noexcept {
    std::fill_n(dst, count, value);
}

CopyMethod ChooseCopyMethod(bool sse2, bool mmx, const void* dst, const void* src, Long32 count) noexcept {
    if (count <= 0) {
        return CopyMethod::kNothing;
    }
    const bool wholeLines = count % kLineBytes == 0;
    if (sse2) {
        return wholeLines && IsAligned(dst, 16) && IsAligned(src, 16) ? CopyMethod::kLinesSSE2
                                                                      : CopyMethod::kMaskedSSE2;
    }
    if (mmx) {
        if (!IsAligned(dst, 8) || !IsAligned(src, 8)) {
            return CopyMethod::kMaskedMMX;
        }
        return wholeLines ? CopyMethod::kLinesMMX : CopyMethod::kBlocksMMX;
    }
    return CopyMethod::kWords;
}

ULong32 ChooseFillStep(bool sse2, bool mmx, const void* dst, ULong32 count) noexcept {
    if (sse2 && IsAligned(dst, 16) && count >= 8) {
        return 8;
    }
    return mmx && count >= 4 ? 4 : 1;
}

}  // namespace Zan
