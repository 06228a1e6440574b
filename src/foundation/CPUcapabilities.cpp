#include <TesselU/foundation/CPUcapabilities.h>

#include <cstddef>

#include "foundation/FeatureProbe.h"
#include "foundation/ProcessorProbe.h"
#include "platform/Platform.h"

namespace Zan {
namespace {

// Hosts copy these records: the size is part of the interface.
static_assert(sizeof(CPUcapabilities) == 8);

enum HyperThreadingState : std::uint8_t {
    kNotCapable = 0,
    kDivided = 1,
    kSingleLogical = 2,
    kNoLogicalSeen = 3,
    kRestrictedProcess = 4
};

struct ProcessorCount {
    std::uint8_t physical = 1;
    std::uint8_t logicalPerPhysical = 1;
    HyperThreadingState state = kNotCapable;
};

bool IsHyperThreadingCapable(const ProcessorIdentity& processor) {
    const std::uint32_t signature = processor.leaf1.eax;
    const bool recentFamily = (signature & 0xF00) == 0xF00 || (signature & 0xF00000) != 0;
    return recentFamily && VendorString(processor.leaf0).View() == kVendorIntel &&
           Bit(processor.leaf1.edx, 28);
}

// The bits of an APIC id that name the package; those below tell its logical processors apart.
std::uint8_t PackageMask(std::uint8_t logicalPerPhysical) {
    std::uint8_t mask = 0xFF;
    std::uint8_t reach = 1;
    // Beyond 128 logical processors the 8-bit reach wraps to 0, and by then no package bit is left.
    while (reach != 0 && reach < logicalPerPhysical) {
        reach = static_cast<std::uint8_t>(reach << 1);
        mask = static_cast<std::uint8_t>(mask << 1);
    }
    return mask;
}

bool SeesLogicalProcessor(const ProcessorProbe& probe, const ProcessorSet& processors,
                          std::uint8_t packageMask) {
    bool seen = false;
    for (std::size_t bit = 0; bit < processors.size(); ++bit) {
        if (!processors.test(bit)) {
            continue;
        }
        ProcessorIdentity processor;
        const auto visit = probe.VisitProcessor(bit, processor);
        if (visit == ProcessorProbe::Visit::kUnreachable) {
            continue;
        }
        const bool capable =
            visit == ProcessorProbe::Visit::kIdentified && IsHyperThreadingCapable(processor);
        const std::uint32_t apicId = capable ? processor.leaf1.ebx >> 24 : 0xFF;
        seen = seen || (apicId & ~std::uint32_t{packageMask}) != 0;
    }
    return seen;
}

ProcessorCount CountProcessors(const ProcessorProbe& probe) {
    const ULong32 systemCount = probe.SystemProcessorCount();
    ProcessorCount count;
    count.physical = static_cast<std::uint8_t>(systemCount);

    const auto leaf0 = probe.Cpuid(0);
    const auto leaf1 = probe.Cpuid(1);
    if (!leaf0 || !leaf1 || !IsHyperThreadingCapable({*leaf0, *leaf1})) {
        return count;
    }
    count.logicalPerPhysical = static_cast<std::uint8_t>(leaf1->ebx >> 16);
    if (count.logicalPerPhysical == 0) {
        return count;
    }
    const std::uint8_t packageMask = PackageMask(count.logicalPerPhysical);

    const ProcessorSet mine = probe.ProcessAffinity();
    if (mine != probe.SystemAffinity()) {
        count.state = kRestrictedProcess;
        return count;
    }
    const bool seen = SeesLogicalProcessor(probe, mine, packageMask);
    if (count.logicalPerPhysical == 1) {
        count.state = kSingleLogical;
    } else if (seen) {
        count.physical = static_cast<std::uint8_t>(systemCount / count.logicalPerPhysical);
        count.state = kDivided;
    } else {
        count.state = kNoLogicalSeen;
    }
    return count;
}

CPUinstructionSetEnum DetectInstructionSet(const ProcessorProbe& probe) {
    const std::uint32_t features = ProbeFeatures(probe);
    const auto leaf1 = probe.Cpuid(1);

    CPUinstructionSetEnum set = kMMX;
    if (features & kFeatureSseMmx) {
        set = kSSE_MMX;
    }
    if (((leaf1 && Bit(leaf1->edx, 25)) || (features & kFeatureSse)) && probe.ExecutesSSE()) {
        set = kSIMD;
    }
    if (probe.ExecutesSSE2()) {
        set = kSSE2;
    }
    return set;
}

}  // namespace

CPUcapabilities::CPUcapabilities() noexcept : CPUcapabilities(SystemProcessorProbe()) {}

CPUcapabilities::CPUcapabilities(const ProcessorProbe& probe) noexcept
    : instructionSet(DetectInstructionSet(probe)) {
    const ProcessorCount count = CountProcessors(probe);
    physicalProcessors = count.physical;
    logicalPerPhysical = count.logicalPerPhysical;
    hyperThreadingState = count.state;
    isDetected = true;
}

const CPUcapabilities& CPUcapabilities::OfThisProcessor() noexcept {
    static const CPUcapabilities detected;
    return detected;
}

}  // namespace Zan
