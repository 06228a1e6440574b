#ifndef TESSELU_SRC_FOUNDATION_CAPABILITYSEAM_H
#define TESSELU_SRC_FOUNDATION_CAPABILITYSEAM_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/CPUfeatures.h>

#include <memory>
#include <string>

#include "foundation/ClassCapabilities.h"
#include "foundation/ProcessorProbe.h"

namespace Zan {

/// For our own tests, not exported: detection on an imagined processor, and records that say less than the
/// real one offers.
class CapabilitySeam {
public:
    /// Detection on `probe`.
    static CPUcapabilities Detect(const ProcessorProbe& probe) noexcept;
    static unsigned HyperThreadingState(const CPUcapabilities& capabilities) noexcept;
    /// Makes one record say `set`; for all classes at once use `ScopedInstructionSet`.
    static void SetInstructionSet(CPUcapabilities& capabilities, CPUinstructionSetEnum set) noexcept;

    struct DestroyFeatures {
        void operator()(CPUfeatures* features) const noexcept;
    };
    using FeaturesPtr = std::unique_ptr<CPUfeatures, DestroyFeatures>;
    /// The second detector on `probe`, which must outlive the object. Throws as construction does.
    static FeaturesPtr BuildFeatures(const ProcessorProbe& probe);

    /// The user-level switches of `features`.
    static void UseMMX(CPUfeatures& features, bool on) noexcept { features.useMMX = on; }
    static void UseSSE(CPUfeatures& features, bool on) noexcept { features.useSSE = on; }
    static void UseSSE2(CPUfeatures& features, bool on) noexcept { features.useSSE2 = on; }

    /// The whole state of the second detector.
    struct Features {
        OperatingSystemVersion osVersion;
        bool hasExtendedVersionInfo;
        bool hasMMX, hasSSE, hasSSE2, hasFXSR;
        bool vendorIsAMD, vendorIsIntel, hasAMDmmxExtensions, hyperThreading;
        ULong32 processorCount, logicalPerPackage;
        bool useMMX, useSSE, useSSE2;
        std::uint16_t savedFPUcontrol;
        bool fpuControlChanged;
        ULong32 savedMXCSR;
        bool mxcsrChanged;
        std::string vendor, amdVendor, intelVendor;
    };
    static Features State(const CPUfeatures& features);
};

/// Sets the instruction set of all nineteen classes for the life of the object. Not for use while other
/// threads work.
class ScopedInstructionSet {
public:
    explicit ScopedInstructionSet(CPUinstructionSetEnum set) noexcept;
    ~ScopedInstructionSet();
    ScopedInstructionSet(const ScopedInstructionSet&) = delete;
    ScopedInstructionSet& operator=(const ScopedInstructionSet&) = delete;

private:
    CPUinstructionSetEnum before[kCapabilityOwners];
};

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_CAPABILITYSEAM_H
