#ifndef TESSELU_SRC_FOUNDATION_FEATUREPROBE_H
#define TESSELU_SRC_FOUNDATION_FEATUREPROBE_H

#include <cstdint>
#include <string_view>

#include "foundation/ProcessorProbe.h"

namespace Zan {

/// Flags of the feature probe. Only `kFeatureSseMmx` and `kFeatureSse` decide anything.
enum FeatureFlag : std::uint32_t {
    kFeatureCpuid = 0x0001,
    kFeatureLeaf1 = 0x0002,
    kFeatureExtendedLeaf = 0x0004,
    kFeatureTsc = 0x0010,
    kFeatureMmx = 0x0020,
    kFeatureCmov = 0x0040,
    kFeature3DNow = 0x0080,
    kFeature3DNowExtended = 0x0100,
    kFeatureSseMmx = 0x0200,
    kFeatureSse = 0x0400,
    kFeatureAmdEarlyK6 = 0x0800,
    kFeatureMtrr = 0x1000
};

/// The flags of the processor behind `probe`; 0 where CPUID faults.
std::uint32_t ProbeFeatures(const ProcessorProbe& probe);

inline constexpr std::string_view kVendorAMD = "AuthenticAMD";
inline constexpr std::string_view kVendorIntel = "GenuineIntel";

/// The twelve characters of the vendor in the answer of leaf 0.
struct VendorString {
    char text[13] = "UnknownVendr";

    VendorString() noexcept = default;
    explicit VendorString(const CpuidRegisters& leaf0) noexcept;
    std::string_view View() const noexcept { return {text, 12}; }
};

constexpr bool Bit(std::uint32_t word, unsigned bit) noexcept {
    return ((word >> bit) & 1U) != 0;
}

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_FEATUREPROBE_H
