#include <TesselU/gradient/GradientGenerator.h>

#include <charconv>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/GreyMap.h"
#include "commands/Patterns.h"

namespace tool {
namespace {

unsigned NumberOf(const std::string& word) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size()) {
        throw UsageError("pattern " + word +
                         ": a wipe code is a whole number; 'tesselu patterns' lists them");
    }
    return number;
}

void Check(const std::string& path, unsigned pattern, Zan::Long32 status) {
    constexpr Zan::Long32 kNoFile = 10, kNoMemory = 11;
    if (status == kNoMemory) {
        throw std::bad_alloc();
    }
    if (status == kNoFile) {
        throw Failure(path + ": cannot be written");
    }
    if (status != 0) {
        throw Failure("pattern " + std::to_string(pattern) + ": the library returned " +
                      std::to_string(status));
    }
}

int DrawPatternFile(const Arguments& arguments) {
    const unsigned pattern = NumberOf(arguments.Inputs()[0]);
    RequireDrawn(pattern, "pattern");
    OutputFile file(arguments.Text("output"));
    const std::string& path = file.Path();
    const bool hasOwnSettings = arguments.Has("aspect") || arguments.Has("cells");
    if (IsTga(path) && !hasOwnSettings) {
        const FrameSize size = arguments.Size("size");
        std::string place = file.PlaceNow();
        Check(path, pattern,
              GradientGenerator::writeGradientPatternToTGAfile(place.data(), pattern, size.width, size.height,
                                                               arguments.Choice("bits") == 1 ? 2 : 1));
        file.Keep();
        return kExitSuccess;
    }
    GreyMap map = NewMap(arguments);
    auto record = map.NewRecord<GradientGenerator::WgrGradientData>();
    record.aspectRatio = arguments.Has("aspect") ? static_cast<float>(arguments.Real("aspect"))
                         : IsTga(path)           ? 4.0F / 3.0F
                                       : static_cast<float>(map.width) / static_cast<float>(map.height);
    record.cellFraction = static_cast<float>(1 / arguments.Real("cells"));
    Check(path, pattern, GradientGenerator::WgrGenerateGradient(&record, pattern));
    WriteMap(file, map);
    return kExitSuccess;
}

std::vector<Option> Options() {
    std::vector<Option> options = MapOptions();
    options.push_back({.name = "aspect",
                       .kind = ValueKind::kReal,
                       .value = "RATIO",
                       .help =
                           "width over height of the picture as it is shown [that of --size; 4:3 of a TGA "
                           "file]; 1 stretches the pattern to the picture",
                       .least = 0.01,
                       .most = 100});
    options.push_back({.name = "cells",
                       .kind = ValueKind::kReal,
                       .value = "N",
                       .help = "repeats of a repeating pattern over the height",
                       .initial = "12",
                       .least = 1,
                       .most = 1000});
    return options;
}

}  // namespace

const Command kPatternCommand = {
    .name = "pattern",
    .summary = "draw a wipe pattern as a grey picture",
    .description =
        "Draws the map of a wipe: the lighter a pixel is, the earlier it changes. A TGA file without "
        "--aspect "
        "and --cells is the library's own.",
    .inputs = {{.name = "CODE", .help = "wipe code, see 'tesselu patterns'", .isMedia = false}},
    .options = Options(),
    .examples = {{"tesselu pattern 48 -o diamond.png --size 1920x1080", "the double diamond, undistorted"},
                 {"tesselu pattern 310 -o spiral.tga --bits 16 --cells 8", "a spiral of eight rows"}},
    .execute = DrawPatternFile,
};

}  // namespace tool
