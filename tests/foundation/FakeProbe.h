#ifndef TESSELU_TESTS_FOUNDATION_FAKEPROBE_H
#define TESSELU_TESTS_FOUNDATION_FAKEPROBE_H

#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/ProcessorProbe.h"

namespace Zan::test {

constexpr std::uint32_t kEdxTsc = 1U << 4;
constexpr std::uint32_t kEdxMtrr = 1U << 12;
constexpr std::uint32_t kEdxCmov = 1U << 15;
constexpr std::uint32_t kEdxMmx = 1U << 23;
constexpr std::uint32_t kEdxFxsr = 1U << 24;
constexpr std::uint32_t kEdxSse = 1U << 25;
constexpr std::uint32_t kEdxSse2 = 1U << 26;
constexpr std::uint32_t kEdxHyperThreading = 1U << 28;
constexpr std::uint32_t kExtendedMmxAdditions = 1U << 22;

/// An imagined processor under an imagined system. Starts as a plain one without anything.
class FakeProbe : public ProcessorProbe {
public:
    bool cpuidFaults = false;
    /// Leaves that fault although the others answer.
    std::set<std::uint32_t> faultingLeaves;
    std::string vendor = "GenuineIntel";
    std::uint32_t highestLeaf = 1;
    std::uint32_t eax = 0x633;
    std::uint32_t ebx = 0;
    std::uint32_t edx = 0;
    std::uint32_t highestExtendedLeaf = 0;
    std::uint32_t extendedEdx = 0;
    bool executesSSE = false;
    bool executesSSE2 = false;

    ULong32 processorCount = 1;
    ProcessorSet processAffinity{1};
    ProcessorSet systemAffinity{1};
    /// The APIC id behind each affinity bit; a bit that is missing here cannot be reached.
    std::map<std::size_t, unsigned> apicIds;
    /// Bits whose processor faults on CPUID, and bits whose processor is not hyper-threaded.
    std::set<std::size_t> faultingBits;
    std::set<std::size_t> plainBits;

    bool givesExtendedVersion = true;
    bool givesPlainVersion = true;
    ULong32 platformId = 2;
    bool reportsMMX = false;
    bool reportsSSE = false;

    bool readsMXCSR = true;
    bool writesMXCSR = true;
    mutable ULong32 mxcsr = 0x1F80;
    mutable std::vector<ULong32> mxcsrWrites;
    mutable std::vector<std::uint16_t> fpuWrites;
    mutable std::vector<std::size_t> versionSizes;
    mutable std::vector<std::size_t> visits;

    /// Reports `count` processors, all of them open to the process.
    void SetProcessors(ULong32 count) {
        processorCount = count;
        processAffinity.reset();
        for (std::size_t bit = 0; bit < count && bit < processAffinity.size(); ++bit) {
            processAffinity.set(bit);
        }
        systemAffinity = processAffinity;
    }

    /// A hyper-threaded processor of family 15 with `logical` logical processors in its package.
    void MakeHyperThreaded(unsigned logical, const std::vector<unsigned>& ids) {
        vendor = "GenuineIntel";
        eax = 0xF29;
        edx |= kEdxHyperThreading;
        ebx = (ebx & ~0xFF0000U) | (logical << 16);
        SetProcessors(static_cast<ULong32>(ids.size()));
        apicIds.clear();
        for (std::size_t bit = 0; bit < ids.size(); ++bit) {
            apicIds[bit] = ids[bit];
        }
    }

    std::optional<CpuidRegisters> Cpuid(std::uint32_t leaf) const override {
        if (cpuidFaults || faultingLeaves.count(leaf) != 0) {
            return std::nullopt;
        }
        switch (leaf) {
            case 0:
                return Leaf0();
            case 1:
                return CpuidRegisters{eax, ebx, 0, edx};
            case 0x80000000U:
                return CpuidRegisters{highestExtendedLeaf, 0, 0, 0};
            case 0x80000001U:
                return CpuidRegisters{0, 0, 0, extendedEdx};
            default:
                return CpuidRegisters{};
        }
    }
    bool ExecutesSSE() const override { return executesSSE; }
    bool ExecutesSSE2() const override { return executesSSE2; }

    ULong32 SystemProcessorCount() const override { return processorCount; }
    ProcessorSet ProcessAffinity() const override { return processAffinity; }
    ProcessorSet SystemAffinity() const override { return systemAffinity; }

    Visit VisitProcessor(std::size_t bit, ProcessorIdentity& identity) const override {
        visits.push_back(bit);
        if (faultingBits.count(bit) != 0) {
            return Visit::kCpuidFaults;
        }
        const auto id = apicIds.find(bit);
        if (id == apicIds.end()) {
            return Visit::kUnreachable;
        }
        identity.leaf0 = Leaf0();
        identity.leaf1 = {eax, (ebx & 0x00FFFFFFU) | (id->second << 24), 0,
                          plainBits.count(bit) != 0 ? edx & ~kEdxHyperThreading : edx};
        return Visit::kIdentified;
    }

    bool ReadOperatingSystemVersion(std::size_t recordSize, OperatingSystemVersion& version) const override {
        versionSizes.push_back(recordSize);
        if (recordSize == 156 ? !givesExtendedVersion : !givesPlainVersion) {
            return false;
        }
        version.platformId = platformId;
        return true;
    }
    bool ReportsMMX() const override { return reportsMMX; }
    bool ReportsSSE() const override { return reportsSSE; }

    bool ReadMXCSR(ULong32& value) const override {
        if (readsMXCSR) {
            value = mxcsr;
        }
        return readsMXCSR;
    }
    bool WriteMXCSR(ULong32 value) const override {
        mxcsrWrites.push_back(value);
        if (writesMXCSR) {
            mxcsr = value;
        }
        return writesMXCSR;
    }
    void WriteFPUcontrol(std::uint16_t value) const override { fpuWrites.push_back(value); }

private:
    // The vendor's twelve characters lie in EBX, EDX, ECX.
    CpuidRegisters Leaf0() const {
        CpuidRegisters registers;
        registers.eax = highestLeaf;
        std::string text = vendor;
        text.resize(12, ' ');
        std::memcpy(&registers.ebx, text.data(), 4);
        std::memcpy(&registers.edx, text.data() + 4, 4);
        std::memcpy(&registers.ecx, text.data() + 8, 4);
        return registers;
    }
};

}  // namespace Zan::test

#endif  // TESSELU_TESTS_FOUNDATION_FAKEPROBE_H
