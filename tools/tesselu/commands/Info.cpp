#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/CPUfeatures.h>
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

constexpr const char* kEveryStyle = "one arithmetic for every style";

void PrintRow(const char* name, const char* set, const char* path) {
    std::printf("  %-21s %-6s %s\n", name, set, path);
}

void PrintClass(const char* name, Zan::CapabilityOwner owner, const char* path) {
    PrintRow(name, NameOf(Zan::classCapabilities[owner].WhichInstructionSetIsSupported()), path);
}

/// A class with forms for every instruction set.
void PrintClassWithPaths(const char* name, Zan::CapabilityOwner owner) {
    PrintClass(name, owner, NameOf(BestPath(Zan::classCapabilities[owner])));
}

/// A class whose fast style is another.
void PrintVectorClass(const char* name, Zan::CapabilityOwner owner) {
    std::string path = NameOf(Zan::Path::kFloat);
    path += "; of kFlp_SIMD: ";
    path += NameOf(Zan::classCapabilities[owner].IsSIMDsupported() ? Zan::Path::kSSE : Zan::Path::kFloat);
    PrintClass(name, owner, path.c_str());
}

/// Blurs with the larger registers have one arithmetic, those without another.
void PrintBlurClass(const char* name, Zan::CapabilityOwner owner) {
    PrintClass(name, owner,
               Zan::classCapabilities[owner].IsSIMDsupported() ? "single precision" : "scalar fixed point");
}

/// The keyer of colours, whose form depends on the sampling.
void PrintChromaKeyer() {
    const auto owner = Zan::kOwnerChromaKeyerYUV;
    PrintClass("ChromaKeyerYUV", owner,
               Zan::classCapabilities[owner].IsSIMDsupported()
                   ? "double precision; of 4:2:2: single precision"
                   : "double precision");
}

/// A class that asks the second detector, which a host may hold back.
void PrintClassOfFeatures(const char* name, const char* otherwise) {
    const Zan::CPUfeatures* features = Zan::CPUfeatures::Instance();
    const bool hasSSE2 = features != nullptr && features->IsSSE2usable();
    PrintRow(name, hasSSE2 ? "SSE2" : "less", hasSSE2 ? NameOf(Zan::Path::kSSE2) : otherwise);
}

void PrintClasses() {
    PrintRow("class", "set", "path of kBestAvailable");
    PrintClassWithPaths("ZanCompositor", Zan::kOwnerZanCompositor);
    PrintClassWithPaths("ColorSpaceConverter", Zan::kOwnerColorSpaceConverter);
    PrintClassWithPaths("ColorSpaceConverterMT", Zan::kOwnerColorSpaceConverterMT);
    PrintClass("Image", Zan::kOwnerImage, "-");
    PrintClass("AlignedMemoryBuffer", Zan::kOwnerAlignedMemoryBuffer, "-");
    PrintClass("LookUpTable", Zan::kOwnerLookUpTable, kEveryStyle);
    PrintClass("InvertLUT", Zan::kOwnerInvertLUT, kEveryStyle);
    PrintClass("PosterizeLUT", Zan::kOwnerPosterizeLUT, kEveryStyle);
    PrintClass("Posterize", Zan::kOwnerPosterize, "scalar fixed point; of kFlp: scalar floating point");
    PrintRow("LookUpTable3D", "-", kEveryStyle);
    PrintRow("CubeLUT", "-", kEveryStyle);
    PrintClass("Histogram", Zan::kOwnerHistogram, kEveryStyle);
    PrintClass("ColorAdjustment", Zan::kOwnerColorAdjustment,
               "none; of kInt_MMXorSIMD: fixed point; of kFlp: floating point");
    PrintClassOfFeatures("BaseColorCorrection", "scalar form");
    PrintChromaKeyer();
    PrintClass("LinearKeyer", Zan::kOwnerLinearKeyer, kEveryStyle);
    PrintClass("LumaKeyer", Zan::kOwnerLumaKeyer, kEveryStyle);
    PrintClass("KeyerRGB", Zan::kOwnerKeyerRGB, "-");
    PrintClassOfFeatures("Mixup", "form for what is usable");
    PrintBlurClass("DeepDefocus", Zan::kOwnerDeepDefocus);
    PrintBlurClass("DeepDefocusMT", Zan::kOwnerDeepDefocusMT);
    PrintRow("NoiseReduction", "-",
             "one arithmetic for every implementation but 3, which is single precision");
    PrintVectorClass("Operations3D", Zan::kOwnerOperations3D);
    PrintVectorClass("Transform3D", Zan::kOwnerTransform3D);
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
    PrintClasses();
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
