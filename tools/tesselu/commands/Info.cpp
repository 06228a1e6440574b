#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/Version.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "Commands.h"
#include "Errors.h"
#include "foundation/ClassCapabilities.h"
#include "foundation/PathSelection.h"
#include "media/Libav.h"
#include "platform/Platform.h"
#include "simd/Targets.h"

namespace tool {
namespace {

const char* NameOf(Zan::CPUinstructionSetEnum set) {
    switch (set) {
        case Zan::kMMX:
            return "MMX";
        case Zan::kSSE_MMX:
            return "MMX with the integer part of SSE";
        case Zan::kSIMD:
            return "SSE";
        case Zan::kSSE2:
            return "SSE2";
        default:
            return "scalar";
    }
}

const char* NameOf(Zan::Path path) {
    switch (path) {
        case Zan::Path::kFloat:
            return "scalar floating point";
        case Zan::Path::kScalar:
            return "scalar fixed point";
        case Zan::Path::kMMX:
            return "MMX form";
        case Zan::Path::kSSE:
            return "SSE form";
        case Zan::Path::kSSE2:
            return "SSE2 form";
        default:
            return "none";
    }
}

/// What kBestAvailable comes to on a class with forms for every instruction set.
Zan::Path BestPath(const Zan::CPUcapabilities& processor) {
    using Zan::Ask;
    constexpr Zan::StyleRule kStyles = {Ask::kFloat,  Ask::kScalar, Ask::kVector,
                                        Ask::kVector, Ask::kVector, Ask::kScalar};
    const Zan::Path otherwise = processor.IsMMXsupported() ? Zan::Path::kMMX : Zan::Path::kScalar;
    return Zan::ChoosePath(kStyles, {true, Zan::Path::kSSE, otherwise}, Zan::kBestAvailable, processor,
                           false);
}

/// The processor's own name where the system tells it.
std::string ProcessorName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("model name", 0) == 0 && line.find(": ") != std::string::npos) {
            return line.substr(line.find(": ") + 2);
        }
    }
    return "unnamed";
}

void PrintClass(const char* name, Zan::CapabilityOwner owner, bool hasPaths) {
    const Zan::CPUcapabilities& processor = Zan::classCapabilities[owner];
    std::printf("  %-20s %-6s %s\n", name, NameOf(processor.WhichInstructionSetIsSupported()),
                hasPaths ? NameOf(BestPath(processor)) : "-");
}

/// The classes of vectors, whose fast style is another.
void PrintVectorClass(const char* name, Zan::CapabilityOwner owner) {
    const Zan::CPUcapabilities& processor = Zan::classCapabilities[owner];
    std::printf("  %-20s %-6s %s; of kFlp_SIMD: %s\n", name,
                NameOf(processor.WhichInstructionSetIsSupported()), NameOf(Zan::Path::kFloat),
                NameOf(processor.IsSIMDsupported() ? Zan::Path::kSSE : Zan::Path::kFloat));
}

int PrintInfo(const Arguments&) {
    std::printf("TesselU %s\n", Zan::Version());
    std::printf("build: %s, %zu bits, %s, %s\n", TESSELU_BUILD_COMPILER, sizeof(void*) * 8,
                TESSELU_BUILD_TYPE, TESSELU_BUILD_FLAGS);
    std::printf("media: libavformat %d.%d, libavcodec %d.%d, libswscale %d.%d\n", LIBAVFORMAT_VERSION_MAJOR,
                LIBAVFORMAT_VERSION_MINOR, LIBAVCODEC_VERSION_MAJOR, LIBAVCODEC_VERSION_MINOR,
                LIBSWSCALE_VERSION_MAJOR, LIBSWSCALE_VERSION_MINOR);
    std::printf("processor: %s\n", ProcessorName().c_str());
    const Zan::CPUcapabilities detected;
    std::printf("detected: %s; %u physical, %u logical each, %u in all\n",
                NameOf(detected.WhichInstructionSetIsSupported()),
                static_cast<unsigned>(detected.GetNumberOfPhysicalProcessors()),
                static_cast<unsigned>(detected.GetNumberOfLogicalProcessorsPerPhysical()),
                static_cast<unsigned>(detected.GetNumberOfTotalProcessors()));
    std::printf("last-level cache: %zu KiB\n", Zan::LastLevelCacheBytes() / 1024);
    std::printf("SIMD target: %s\n", Zan::simd::TargetName(Zan::simd::CurrentTarget()));
    std::printf("  %-20s %-6s %s\n", "class", "set", "path of kBestAvailable");
    PrintClass("ZanCompositor", Zan::kOwnerZanCompositor, true);
    PrintClass("ColorSpaceConverter", Zan::kOwnerColorSpaceConverter, true);
    PrintClass("Image", Zan::kOwnerImage, false);
    PrintClass("AlignedMemoryBuffer", Zan::kOwnerAlignedMemoryBuffer, false);
    PrintVectorClass("Operations3D", Zan::kOwnerOperations3D);
    PrintVectorClass("Transform3D", Zan::kOwnerTransform3D);
    return kExitSuccess;
}

}  // namespace

const Command kInfoCommand = {
    .name = "info",
    .summary = "print version, build, processor and code paths",
    .description =
        "Prints what a report about a fault needs: the version, how it was built, the processor and "
        "the code paths that each class takes on it.",
    .examples = {{"tesselu info", "all of it"},
                 {"tesselu info | grep SIMD", "the instructions that the library uses"}},
    .execute = PrintInfo,
};

}  // namespace tool
