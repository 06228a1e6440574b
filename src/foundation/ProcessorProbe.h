#ifndef TESSELU_SRC_FOUNDATION_PROCESSORPROBE_H
#define TESSELU_SRC_FOUNDATION_PROCESSORPROBE_H

#include <TesselU/foundation/CPUfeatures.h>
#include <TesselU/foundation/Types.h>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace Zan {

/// The four registers that CPUID answers with.
struct CpuidRegisters {
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

/// Leaves 0 and 1 as one particular processor answers them; empty where CPUID faults.
struct ProcessorIdentity {
    CpuidRegisters leaf0;
    CpuidRegisters leaf1;
};

/// A set of the system's processors, one affinity bit each.
using ProcessorSet = std::bitset<1024>;

/// Everything that the detectors ask of the processor and the operating system. Detection itself is plain
/// code over this interface, so it runs on any machine against any imagined one.
class ProcessorProbe {
public:
    virtual ~ProcessorProbe() = default;

    /// Executes CPUID. Nothing where the instruction faults.
    virtual std::optional<CpuidRegisters> Cpuid(std::uint32_t leaf) const = 0;
    /// Does an SSE register instruction execute, that is, has the processor SSE and does the system save it?
    virtual bool ExecutesSSE() const = 0;
    /// The same for SSE2.
    virtual bool ExecutesSSE2() const = 0;

    /// The number of processors in the system.
    virtual ULong32 SystemProcessorCount() const = 0;
    /// The processors on which this process may run.
    virtual ProcessorSet ProcessAffinity() const = 0;
    /// The processors of the system.
    virtual ProcessorSet SystemAffinity() const = 0;
    enum class Visit { kUnreachable, kCpuidFaults, kIdentified };
    /// The identity of the processor behind one affinity bit. The process may be moved there and back for it.
    virtual Visit VisitProcessor(std::size_t bit, ProcessorIdentity& identity) const = 0;

    /// Reads the version record of the operating system, in its extended size of 156 bytes or its plain size
    /// of 148. False when the system has no such record.
    virtual bool ReadOperatingSystemVersion(std::size_t recordSize,
                                            OperatingSystemVersion& version) const = 0;
    /// Does the system report MMX instructions (its processor feature 3)?
    virtual bool ReportsMMX() const = 0;
    /// Does the system report SSE instructions (its processor feature 6)?
    virtual bool ReportsSSE() const = 0;

    /// The SSE control register of this thread. False where the access faults.
    virtual bool ReadMXCSR(ULong32& value) const = 0;
    virtual bool WriteMXCSR(ULong32 value) const = 0;
    /// Loads the FPU control word of this thread.
    virtual void WriteFPUcontrol(std::uint16_t value) const = 0;
};

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_PROCESSORPROBE_H
