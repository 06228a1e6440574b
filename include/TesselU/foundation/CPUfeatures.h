#ifndef TESSELU_FOUNDATION_CPUFEATURES_H
#define TESSELU_FOUNDATION_CPUFEATURES_H

#include <TesselU/foundation/Types.h>

namespace Zan {

class ProcessorProbe;
class CapabilitySeam;

/// What the operating system says about itself, in the layout of its extended version record.
struct OperatingSystemVersion {
    ULong32 recordSize = 0;
    ULong32 majorVersion = 0;
    ULong32 minorVersion = 0;
    ULong32 buildNumber = 0;
    ULong32 platformId = 0;
    char servicePack[128] = {};
    // Only in the extended record:
    std::uint16_t servicePackMajor = 0;
    std::uint16_t servicePackMinor = 0;
    std::uint16_t suiteMask = 0;
    std::uint8_t productType = 0;
    std::uint8_t reserved = 0;
};
static_assert(sizeof(OperatingSystemVersion) == 156, "the extended version record has 156 bytes");

/// The second detector: a singleton with its own examination of the processor and its own copy and fill
/// routines. The overlay and the base colour correction use it; it shares nothing with `CPUcapabilities`.
class TESSELU_API CPUfeatures {
public:
    CPUfeatures(const CPUfeatures&) = delete;
    CPUfeatures& operator=(const CPUfeatures&) = delete;

    /// The singleton, built by the first call and never destroyed. Null for a thread that arrives while
    /// another one is building it, and when there was no memory for it; the caller then returns status 72.
    /// The building call also tunes the MXCSR of its own thread: flush to zero, round to nearest, and with
    /// SSE2 denormals are zero.
    /// @throws std::runtime_error "unknown OS" or "OS not supported". A later call tries again.
    static CPUfeatures* Instance();

    /// True when the ability was detected and is switched on. "MMX" here means the integer additions that
    /// came with SSE; a plain MMX processor has none.
    bool IsMMXusable() const noexcept { return hasMMX && useMMX; }
    bool IsSSEusable() const noexcept { return hasSSE && useSSE; }
    bool IsSSE2usable() const noexcept { return hasSSE2 && useSSE2; }

    /// Copies `count` bytes. Any alignment is taken; a count of 0 or less does nothing.
    void CopyBytes(unsigned char* dst, unsigned char* src, Long32 count) noexcept;

    /// Sets `count` 32-bit words to `value`.
    void FillWords(ULong32* dst, ULong32 value, ULong32 count) noexcept;

private:
    friend class CapabilitySeam;

    explicit CPUfeatures(const ProcessorProbe& processor);
    virtual ~CPUfeatures();

    void TuneControlRegister();

    OperatingSystemVersion osVersion;
    bool hasExtendedVersionInfo = false;
    bool hasMMX = false;
    bool hasSSE = false;
    bool hasSSE2 = false;
    bool hasFXSR = false;
    bool vendorIsAMD = false;
    bool vendorIsIntel = false;
    bool hasAMDmmxExtensions = false;
    bool hyperThreading = false;
    ULong32 processorCount = 0;
    ULong32 logicalPerPackage = 1;
    bool useMMX = false;
    bool useSSE = false;
    bool useSSE2 = false;
    std::uint16_t savedFPUcontrol = 0;
    bool fpuControlChanged = false;
    ULong32 savedMXCSR = 0;
    bool mxcsrChanged = false;
    char vendor[13] = {};
    char amdVendor[13] = "AuthenticAMD";
    char intelVendor[13] = "GenuineIntel";
    const ProcessorProbe& probe;
};

}  // namespace Zan

#endif  // TESSELU_FOUNDATION_CPUFEATURES_H
