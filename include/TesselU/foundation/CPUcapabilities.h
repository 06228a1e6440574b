#ifndef TESSELU_FOUNDATION_CPUCAPABILITIES_H
#define TESSELU_FOUNDATION_CPUCAPABILITIES_H

#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ProcessorProbe;
class CapabilitySeam;

/// What the processor offers, as the processing classes see it. A small value: default construction detects,
/// copies are plain. Every processing class keeps one of its own, found when the library is loaded.
class TESSELU_API CPUcapabilities {
public:
    /// Examines the processor. Never fails: what cannot be found out only lowers the answer.
    CPUcapabilities() noexcept;

    /// The best instruction set that passed detection; never below `kMMX` for a detected object.
    CPUinstructionSetEnum WhichInstructionSetIsSupported() const noexcept { return instructionSet; }
    bool IsScalarOnly() const noexcept { return instructionSet == kScalarOnly; }
    bool IsMMXsupported() const noexcept { return instructionSet >= kMMX && instructionSet <= kSSE2; }
    bool IsSSE_MMXsupported() const noexcept { return instructionSet >= kSSE_MMX && instructionSet <= kSSE2; }
    bool IsSIMDsupported() const noexcept { return instructionSet >= kSIMD && instructionSet <= kSSE2; }
    bool IsSSE2supported() const noexcept { return instructionSet == kSSE2; }

    ULong32 GetNumberOfPhysicalProcessors() const noexcept { return physicalProcessors; }
    ULong32 GetNumberOfLogicalProcessorsPerPhysical() const noexcept { return logicalPerPhysical; }
    /// Physical times logical. Twice the truth on a two-way package whose siblings could not be told apart.
    ULong32 GetNumberOfTotalProcessors() const noexcept {
        return static_cast<ULong32>(physicalProcessors) * logicalPerPhysical;
    }

private:
    friend class CapabilitySeam;

    explicit CPUcapabilities(const ProcessorProbe& probe) noexcept;

    CPUinstructionSetEnum instructionSet;
    std::uint8_t physicalProcessors;
    std::uint8_t logicalPerPhysical;
    std::uint8_t hyperThreadingState;
};

}  // namespace Zan

#endif  // TESSELU_FOUNDATION_CPUCAPABILITIES_H
