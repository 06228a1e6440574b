#include <sys/utsname.h>
#include <unistd.h>
#if defined(__linux__)
#include <sched.h>
#endif
#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define TESSELU_X86 1
#else
#define TESSELU_X86 0
#endif

#include <array>
#include <string_view>

#include "foundation/ProcessorProbe.h"
#include "platform/Platform.h"
#include "platform/posix/ProcessorFiles.h"

namespace Zan {
namespace {

[[maybe_unused]] constexpr std::uint32_t kMmxBit = 1U << 23;
[[maybe_unused]] constexpr std::uint32_t kFxsrBit = 1U << 24;
[[maybe_unused]] constexpr std::uint32_t kSseBit = 1U << 25;
[[maybe_unused]] constexpr std::uint32_t kSse2Bit = 1U << 26;

#if TESSELU_X86
// Loading a reserved bit of MXCSR faults; FXSAVE tells which bits the processor has.
ULong32 WritableMxcsrBits() {
    alignas(16) std::array<std::uint32_t, 128> image{};
    asm volatile("fxsave %0" : "=m"(image));
    const std::uint32_t mask = image[7];
    return mask != 0 ? mask : 0xFFBF;
}
#endif

// CPUID answers for a trial execution of SSE: every POSIX system on a processor with SSE saves its state.
class PosixProcessorProbe final : public ProcessorProbe {
public:
    std::optional<CpuidRegisters> Cpuid(std::uint32_t leaf) const override {
#if TESSELU_X86
        CpuidRegisters registers;
#if defined(__i386__)
        if (__get_cpuid_max(0, nullptr) == 0) {
            return std::nullopt;
        }
#endif
        __cpuid_count(leaf, 0, registers.eax, registers.ebx, registers.ecx, registers.edx);
        return registers;
#else
        // A processor that is no x86 counts as one with SSE2: all SSE2 paths exist in portable form.
        switch (leaf) {
            case 0:
                return CpuidRegisters{1, 0, 0, 0};
            case 1:
                return CpuidRegisters{0, 0, 0, kMmxBit | kSseBit | kSse2Bit};
            default:
                return CpuidRegisters{};
        }
#endif
    }

    bool ExecutesSSE() const override {
        return HasFeature(kSseBit);
    }
    bool ExecutesSSE2() const override {
        return HasFeature(kSse2Bit);
    }

    ULong32 SystemProcessorCount() const override {
        const long count = ::sysconf(_SC_NPROCESSORS_ONLN);
        return count > 0 ? static_cast<ULong32>(count) : 1;
    }

    ProcessorSet ProcessAffinity() const override {
#if defined(__linux__)
        cpu_set_t mask;
        CPU_ZERO(&mask);
        if (::sched_getaffinity(0, sizeof mask, &mask) == 0) {
            ProcessorSet set;
            for (std::size_t bit = 0; bit < set.size() && bit < CPU_SETSIZE; ++bit) {
                set.set(bit, CPU_ISSET(bit, &mask) != 0);
            }
            return set;
        }
#endif
        return SystemAffinity();
    }

    ProcessorSet SystemAffinity() const override {
        ProcessorSet set = ReadProcessorList("/sys/devices/system/cpu/online");
        if (set.none()) {
            const std::size_t count = SystemProcessorCount();
            for (std::size_t bit = 0; bit < set.size() && bit < count; ++bit) {
                set.set(bit);
            }
        }
        return set;
    }

    Visit VisitProcessor(std::size_t bit, ProcessorIdentity& identity) const override {
        static const ApicIds apicIds("/proc/cpuinfo");
        std::uint8_t id = 0;
        if (!apicIds.Find(bit, id)) {
            return Visit::kUnreachable;
        }
        const auto leaf0 = Cpuid(0);
        const auto leaf1 = Cpuid(1);
        if (!leaf0 || !leaf1) {
            return Visit::kCpuidFaults;
        }
        // The processors of one system differ in their ids only.
        identity = {*leaf0, *leaf1};
        identity.leaf1.ebx = (identity.leaf1.ebx & 0x00FFFFFFU) | (std::uint32_t{id} << 24);
        return Visit::kIdentified;
    }

    bool ReadOperatingSystemVersion(std::size_t recordSize, OperatingSystemVersion& version) const override {
        utsname name;
        if (::uname(&name) != 0) {
            return false;
        }
        version = {};
        version.recordSize = static_cast<ULong32>(recordSize);
        std::string_view release = name.release;
        std::size_t number = 0;
        if (TakeNumber(release, number)) {
            version.majorVersion = static_cast<ULong32>(number);
        }
        if (!release.empty() && release.front() == '.') {
            release.remove_prefix(1);
            if (TakeNumber(release, number)) {
                version.minorVersion = static_cast<ULong32>(number);
            }
        }
        version.platformId = 2;  // the kind of system that the second detector accepts
        return true;
    }

    bool ReportsMMX() const override {
        return HasFeature(kMmxBit);
    }
    bool ReportsSSE() const override {
        return HasFeature(kSseBit);
    }

    bool ReadMXCSR([[maybe_unused]] ULong32& value) const override {
#if TESSELU_X86
        if (HasControlRegister()) {
            std::uint32_t read = 0;
            asm volatile("stmxcsr %0" : "=m"(read));
            value = read;
            return true;
        }
#endif
        return false;
    }

    bool WriteMXCSR([[maybe_unused]] ULong32 value) const override {
#if TESSELU_X86
        if (HasControlRegister() && (value & ~WritableMxcsrBits()) == 0) {
            const std::uint32_t written = value;
            asm volatile("ldmxcsr %0" : : "m"(written));
            return true;
        }
#endif
        return false;
    }

    void WriteFPUcontrol([[maybe_unused]] std::uint16_t value) const override {
#if TESSELU_X86
        asm volatile("fldcw %0" : : "m"(value));
#endif
    }

private:
    bool HasFeature(std::uint32_t bits) const {
        const auto leaf1 = Cpuid(1);
        return leaf1 && (leaf1->edx & bits) == bits;
    }
#if TESSELU_X86
    bool HasControlRegister() const {
        return HasFeature(kSseBit | kFxsrBit);
    }
#endif
};

}  // namespace

const ProcessorProbe& SystemProcessorProbe() noexcept {
    static const PosixProcessorProbe probe;
    return probe;
}

}  // namespace Zan
