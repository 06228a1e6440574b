#include "Processor.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace bench {

namespace {

struct Variable {
    const char* name;
    const char* value;
};

// The variables of OpenCV, pixman and the C library that name what they must not use.
std::vector<Variable> EnvironmentOf(Level level) {
    switch (level) {
        case Level::kBaseline:
            return {
                {"OPENCV_CPU_DISABLE", "SSSE3,SSE4.1,SSE4.2,POPCNT,FP16,AVX,FMA3,AVX2,AVX512F,AVX512-SKX"},
                {"PIXMAN_DISABLE", "ssse3"},
                {"GLIBC_TUNABLES",
                 "glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX2,-AVX,-AVX_Fast_Unaligned_Load,-SSSE3,-ERMS"}};
        case Level::kSSSE3:
            return {{"OPENCV_CPU_DISABLE", "SSE4.1,SSE4.2,POPCNT,FP16,AVX,FMA3,AVX2,AVX512F,AVX512-SKX"},
                    {"GLIBC_TUNABLES",
                     "glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX2,-AVX,-AVX_Fast_Unaligned_Load,-ERMS"}};
        case Level::kAVX2:
            return {{"OPENCV_CPU_DISABLE", "AVX512F,AVX512-SKX"},
                    {"GLIBC_TUNABLES", "glibc.cpu.hwcaps=-AVX512F,-AVX512VL"}};
        case Level::kAll:
            break;
    }
    return {};
}

std::string FirstLine(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

std::vector<Cache> FindCaches() {
    std::vector<Cache> caches;
    for (int index = 0;; ++index) {
        const std::string folder = "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(index) + "/";
        const std::string type = FirstLine(folder + "type"), size = FirstLine(folder + "size");
        if (type.empty()) {
            return caches;
        }
        if (type == "Instruction" || size.empty()) {
            continue;
        }
        const std::size_t unit = size.back() == 'K' ? 1024 : size.back() == 'M' ? 1024 * 1024 : 1;
        std::string name = "L";
        name += FirstLine(folder + "level");
        name += type == "Data" ? "d" : "";
        caches.push_back({name, std::strtoul(size.c_str(), nullptr, 10) * unit});
    }
}

}  // namespace

Level LevelOf(Zan::simd::Target target) {
    using namespace Zan::simd;
    if (target == kPortable) {
        return Level::kBaseline;
    }
    return target < kAVX2 ? Level::kSSSE3 : target < kAVX512 ? Level::kAVX2 : Level::kAll;
}

Level CurrentLevel() {
    using namespace Zan::simd;
    return CurrentTarget() == BestTarget() ? Level::kAll : LevelOf(CurrentTarget());
}

void LimitTarget(const std::string& name) {
    using namespace Zan::simd;
    for (std::size_t t = 0; t < kTargetCount; ++t) {
        const auto target = static_cast<Target>(t);
        if (IsTargetAvailable(target) && name == TargetName(target)) {
            return LimitTarget(target);
        }
    }
    std::string names;
    for (const std::string& other : TargetNames()) {
        names += " " + other;
    }
    throw UsageError("no target '" + name + "' here; there are:" + names);
}

std::vector<std::string> TargetNames() {
    using namespace Zan::simd;
    std::vector<std::string> names;
    for (std::size_t t = kTargetCount; t-- > 0;) {
        if (IsTargetAvailable(static_cast<Target>(t))) {
            names.emplace_back(TargetName(static_cast<Target>(t)));
        }
    }
    return names;
}

void LimitByEnvironment(char** arguments) {
    bool changed = false;
    for (const auto& [name, value] : EnvironmentOf(CurrentLevel())) {
        const char* now = std::getenv(name);
        if (now == nullptr || std::string(now) != value) {
            setenv(name, value, 1);
            changed = true;
        }
    }
    if (changed) {
        execv("/proc/self/exe", arguments);
        throw std::runtime_error("cannot start itself again");
    }
}

std::string ProcessorName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

const std::vector<Cache>& Caches() {
    static const std::vector<Cache> kCaches = FindCaches();
    return kCaches;
}

std::string CacheOf(double bytes) {
    for (const auto& [name, size] : Caches()) {
        if (bytes <= static_cast<double>(size)) {
            return name;
        }
    }
    return Caches().empty() ? "?" : "mem";
}

}  // namespace bench
