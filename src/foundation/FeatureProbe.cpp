#include "foundation/FeatureProbe.h"

#include <cstring>

namespace Zan {

VendorString::VendorString(const CpuidRegisters& leaf0) noexcept {
    std::memcpy(text, &leaf0.ebx, 4);
    std::memcpy(text + 4, &leaf0.edx, 4);
    std::memcpy(text + 8, &leaf0.ecx, 4);
}

std::uint32_t ProbeFeatures(const ProcessorProbe& probe) {
    const auto leaf0 = probe.Cpuid(0);
    const auto extended0 = probe.Cpuid(0x80000000U);
    if (!leaf0 || !extended0) {
        return 0;
    }
    const bool isAMD = VendorString(*leaf0).View() == kVendorAMD;
    std::uint32_t flags = kFeatureCpuid;
    const auto raise = [&flags](FeatureFlag flag, bool condition) {
        if (condition) {
            flags |= flag;
        }
    };

    if (leaf0->eax > 0) {
        const auto leaf1 = probe.Cpuid(1);
        if (!leaf1) {
            return 0;
        }
        const std::uint32_t signature = leaf1->eax & 0xFFF;
        raise(kFeatureLeaf1, true);
        raise(kFeatureTsc, Bit(leaf1->edx, 4));
        raise(kFeatureMmx, Bit(leaf1->edx, 23));
        raise(kFeatureCmov, Bit(leaf1->edx, 15));
        raise(kFeatureSseMmx, Bit(leaf1->edx, 25));
        raise(kFeatureSse, Bit(leaf1->edx, 25) && probe.ExecutesSSE());
        raise(kFeatureAmdEarlyK6, isAMD && signature >= 0x588 && signature < 0x600);
        raise(kFeatureMtrr, Bit(leaf1->edx, 12));
    }
    if (extended0->eax > 0x80000000U) {
        const auto extended1 = probe.Cpuid(0x80000001U);
        if (!extended1) {
            return 0;
        }
        raise(kFeatureExtendedLeaf, true);
        raise(kFeature3DNow, Bit(extended1->edx, 31));
        raise(kFeature3DNowExtended, isAMD && Bit(extended1->edx, 30));
        raise(kFeatureSseMmx, isAMD && Bit(extended1->edx, 22));
    }
    return flags;
}

}  // namespace Zan
