#include <fcntl.h>
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

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "foundation/ProcessorProbe.h"
#include "platform/Platform.h"

namespace Zan {
namespace {

[[maybe_unused]] constexpr std::uint32_t kMmxBit = 1U << 23;
[[maybe_unused]] constexpr std::uint32_t kFxsrBit = 1U << 24;
[[maybe_unused]] constexpr std::uint32_t kSseBit = 1U << 25;
[[maybe_unused]] constexpr std::uint32_t kSse2Bit = 1U << 26;

// Hands the lines of a text file to `take`, without allocating; the probe runs while the library is loaded.
// Of a line that is longer than the buffer the rest is dropped.
template <typename Take>
bool ForEachLine(const char* path, Take&& take) {
    int file = -1;
    do {
        file = ::open(path, O_RDONLY | O_CLOEXEC);
    } while (file < 0 && errno == EINTR);
    if (file < 0) {
        return false;
    }
    std::array<char, 512> line;
    std::size_t length = 0;
    std::array<char, 4096> block;
    for (;;) {
        const ssize_t got = ::read(file, block.data(), block.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        for (const char c : std::string_view(block.data(), static_cast<std::size_t>(got))) {
            if (c == '\n') {
                take(std::string_view(line.data(), length));
                length = 0;
            } else if (length < line.size()) {
                line[length++] = c;
            }
        }
    }
    if (length != 0) {
        take(std::string_view(line.data(), length));
    }
    ::close(file);
    return true;
}

// The decimal number at the front of `text`, which moves behind it.
bool TakeNumber(std::string_view& text, std::size_t& number) {
    std::size_t digits = 0;
    number = 0;
    while (digits < text.size() && digits < 9 && text[digits] >= '0' && text[digits] <= '9') {
        number = number * 10 + static_cast<std::size_t>(text[digits] - '0');
        ++digits;
    }
    text.remove_prefix(digits);
    return digits != 0;
}

// "0-3,8,10-11"
ProcessorSet ParseProcessorList(std::string_view text) {
    ProcessorSet set;
    std::size_t first = 0;
    while (TakeNumber(text, first)) {
        std::size_t last = first;
        if (!text.empty() && text.front() == '-') {
            text.remove_prefix(1);
            if (!TakeNumber(text, last)) {
                break;
            }
        }
        for (std::size_t bit = first; bit <= last && bit < set.size(); ++bit) {
            set.set(bit);
        }
        if (text.empty() || text.front() != ',') {
            break;
        }
        text.remove_prefix(1);
    }
    return set;
}

// The APIC ids of the system's processors, as the kernel read them at start.
class ApicIds {
public:
    ApicIds() noexcept {
        ids.fill(kUnknown);
        std::size_t processor = ids.size();
        ForEachLine("/proc/cpuinfo", [&](std::string_view line) {
            const std::size_t colon = line.find(':');
            if (colon == std::string_view::npos) {
                return;
            }
            std::string_view key = line.substr(0, colon);
            key = key.substr(0, key.find_last_not_of(" \t") + 1);
            std::string_view value = line.substr(colon + 1);
            value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
            std::size_t number = 0;
            if (key == "processor" && TakeNumber(value, number)) {
                processor = number;
            } else if (key == "initial apicid" && TakeNumber(value, number) && processor < ids.size()) {
                ids[processor] = static_cast<std::int16_t>(number & 0xFF);
            }
        });
    }

    bool Find(std::size_t processor, std::uint8_t& id) const {
        if (processor >= ids.size() || ids[processor] == kUnknown) {
            return false;
        }
        id = static_cast<std::uint8_t>(ids[processor]);
        return true;
    }

private:
    static constexpr std::int16_t kUnknown = -1;
    std::array<std::int16_t, ProcessorSet().size()> ids;
};

#if TESSELU_X86
// Loading a reserved bit of MXCSR faults; FXSAVE tells which bits the processor has.
ULong32 WritableMxcsrBits() {
    alignas(16) std::array<std::uint32_t, 128> image{};
    asm volatile("fxsave %0" : "=m"(image));
    const std::uint32_t mask = image[7];
    return mask != 0 ? mask : 0xFFBF;
}
#endif

// A POSIX system has no guard to run a trial instruction under and needs none: every one that runs on a
// processor with SSE saves its state, so CPUID tells the same.
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
        // Everything the library does with these instruction sets exists here in another form, so that this
        // processor counts as one that has them.
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
        ProcessorSet set;
        ForEachLine("/sys/devices/system/cpu/online",
                    [&set](std::string_view line) { set |= ParseProcessorList(line); });
        if (set.none()) {
            for (std::size_t bit = 0; bit < set.size() && bit < SystemProcessorCount(); ++bit) {
                set.set(bit);
            }
        }
        return set;
    }

    Visit VisitProcessor(std::size_t bit, ProcessorIdentity& identity) const override {
        static const ApicIds apicIds;
        std::uint8_t id = 0;
        if (!apicIds.Find(bit, id)) {
            return Visit::kUnreachable;
        }
        const auto leaf0 = Cpuid(0);
        const auto leaf1 = Cpuid(1);
        if (!leaf0 || !leaf1) {
            return Visit::kCpuidFaults;
        }
        // The processors of one system are alike but for their ids.
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
