#include "foundation/CapabilitySeam.h"

namespace Zan {

CPUcapabilities CapabilitySeam::Detect(const ProcessorProbe& probe) noexcept {
    return CPUcapabilities(probe);
}

unsigned CapabilitySeam::HyperThreadingState(const CPUcapabilities& capabilities) noexcept {
    return capabilities.hyperThreadingState;
}

void CapabilitySeam::SetInstructionSet(CPUcapabilities& capabilities, CPUinstructionSetEnum set) noexcept {
    capabilities.instructionSet = set;
}

void CapabilitySeam::DestroyFeatures::operator()(CPUfeatures* features) const noexcept {
    delete features;
}

CapabilitySeam::FeaturesPtr CapabilitySeam::BuildFeatures(const ProcessorProbe& probe) {
    return FeaturesPtr(new CPUfeatures(probe));
}

CapabilitySeam::Features CapabilitySeam::State(const CPUfeatures& f) {
    return {f.osVersion,
            f.hasExtendedVersionInfo,
            f.hasMMX,
            f.hasSSE,
            f.hasSSE2,
            f.hasFXSR,
            f.vendorIsAMD,
            f.vendorIsIntel,
            f.hasAMDmmxExtensions,
            f.hyperThreading,
            f.processorCount,
            f.logicalPerPackage,
            f.useMMX,
            f.useSSE,
            f.useSSE2,
            f.savedFPUcontrol,
            f.fpuControlChanged,
            f.savedMXCSR,
            f.mxcsrChanged,
            f.vendor,
            f.amdVendor,
            f.intelVendor};
}

ScopedInstructionSet::ScopedInstructionSet(CPUinstructionSetEnum set) noexcept {
    for (std::size_t owner = 0; owner < kCapabilityOwners; ++owner) {
        before[owner] = classCapabilities[owner].WhichInstructionSetIsSupported();
        CapabilitySeam::SetInstructionSet(classCapabilities[owner], set);
    }
}

ScopedInstructionSet::~ScopedInstructionSet() {
    for (std::size_t owner = 0; owner < kCapabilityOwners; ++owner) {
        CapabilitySeam::SetInstructionSet(classCapabilities[owner], before[owner]);
    }
}

}  // namespace Zan
