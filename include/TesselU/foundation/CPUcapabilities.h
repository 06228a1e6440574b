#ifndef TESSELU_FOUNDATION_CPUCAPABILITIES_H
#define TESSELU_FOUNDATION_CPUCAPABILITIES_H

#include <TesselU/foundation/ProcessingStyle.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

class ProcessorProbe;
class CapabilitySeam;
struct ClassRecords;

/// What the processor offers, as the processing classes see it. A small value: default construction detects,
/// copies are plain. Every processing class keeps one of its own, found when the library is loaded, and right
/// for the initialisers of a host's global objects, too, in whatever order those run.
class TESSELU_API CPUcapabilities {
public:
    /// Examines the processor. Never fails: what cannot be found out only lowers the answer.
    CPUcapabilities() noexcept;

    /// The best instruction set that passed detection; never below `kMMX` for a detected object.
    CPUinstructionSetEnum WhichInstructionSetIsSupported() const noexcept { return Known().instructionSet; }
    bool IsScalarOnly() const noexcept { return WhichInstructionSetIsSupported() == kScalarOnly; }
    bool IsMMXsupported() const noexcept { return Has(kMMX); }
    bool IsSSE_MMXsupported() const noexcept { return Has(kSSE_MMX); }
    bool IsSIMDsupported() const noexcept { return Has(kSIMD); }
    bool IsSSE2supported() const noexcept { return Has(kSSE2); }

    ULong32 GetNumberOfPhysicalProcessors() const noexcept { return Known().physicalProcessors; }
    ULong32 GetNumberOfLogicalProcessorsPerPhysical() const noexcept { return Known().logicalPerPhysical; }
    /// Physical times logical. Twice the truth on a two-way package whose siblings could not be told apart.
    ULong32 GetNumberOfTotalProcessors() const noexcept {
        return GetNumberOfPhysicalProcessors() * GetNumberOfLogicalProcessorsPerPhysical();
    }

private:
    friend class CapabilitySeam;
    friend struct ClassRecords;

    struct NotYet {};
    /// What stands in static memory until the record is detected.
    constexpr explicit CPUcapabilities(NotYet) noexcept {}
    explicit CPUcapabilities(const ProcessorProbe& probe) noexcept;

    /// A class's record that is asked before it is detected leaves the answer to one that is.
    const CPUcapabilities& Known() const noexcept { return isDetected ? *this : OfThisProcessor(); }
    static const CPUcapabilities& OfThisProcessor() noexcept;

    bool Includes(CPUinstructionSetEnum set) const noexcept {
        return instructionSet >= set && instructionSet <= kSSE2;
    }
    /// The usual answer needs no look at `isDetected`: what stands in a record before is below every detected
    /// one.
    bool Has(CPUinstructionSetEnum least) const noexcept {
        return Includes(least) || (!isDetected && OfThisProcessor().Includes(least));
    }

    CPUinstructionSetEnum instructionSet = kMMX;  ///< detection never goes below
    std::uint8_t physicalProcessors = 1;
    std::uint8_t logicalPerPhysical = 1;
    std::uint8_t hyperThreadingState = 0;
    bool isDetected = false;
};

}  // namespace Zan

#endif  // TESSELU_FOUNDATION_CPUCAPABILITIES_H
