#include "commands/Patterns.h"

#include <TesselU/gradient/GradientGenerator.h>

#include <cstdio>
#include <vector>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/PatternNames.h"
#include "media/ContactSheet.h"
#include "media/DigitFont.h"
#include "media/PngEncoder.h"
#include "run/OutputFile.h"

namespace tool {
namespace {

constexpr unsigned kLastPattern = 353;
/// Repeating patterns have eight repeats over the height of the picture.
constexpr float kCellFraction = 0.125F;

GradientGenerator::WgrGradientData RecordOf(const Zan::Image& key, double aspect) {
    GradientGenerator::WgrGradientData record = {};
    record.structSize = sizeof record;
    record.width = key.GetWidth();
    record.height = key.GetHeight();
    record.pitch = static_cast<Zan::Long32>(key.GetPitch(0));
    record.bitsPerSample = 8;
    record.significantBits = 8;
    record.peakValue = 255;
    record.pixels = key.GetMemoryPointer(0);
    record.aspectRatio = static_cast<float>(aspect);
    record.cellFraction = kCellFraction;
    return record;
}

std::vector<unsigned> DrawnPatterns() {
    std::vector<unsigned> drawn;
    for (unsigned pattern = 1; pattern <= kLastPattern; ++pattern) {
        if (IsDrawn(pattern)) {
            drawn.push_back(pattern);
        }
    }
    return drawn;
}

/// "1-8, 21-26": the numbers with their runs drawn together.
std::string Ranges(const std::vector<unsigned>& numbers) {
    std::string text;
    for (std::size_t i = 0; i < numbers.size();) {
        std::size_t last = i;
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) {
            ++last;
        }
        if (!text.empty()) {
            text += ", ";
        }
        text += std::to_string(numbers[i]);
        if (last > i) {
            text += "-" + std::to_string(numbers[last]);
        }
        i = last + 1;
    }
    return text;
}

Raster Thumbnail(unsigned pattern) {
    constexpr unsigned kWidth = 128, kHeight = 72;
    PictureFormat format;
    format.width = kWidth;
    format.height = kHeight;
    const ImagePtr key = NewKey(format);
    DrawPattern(*key, pattern, format.Aspect());
    Raster picture(kWidth, kHeight);
    for (unsigned y = 0; y < kHeight; ++y) {
        for (unsigned x = 0; x < kWidth; ++x) {
            std::fill_n(picture.At(x, y), 3, Line(*key, y)[x]);
        }
    }
    DrawNumber(picture, pattern, 3, 3, 1);
    return picture;
}

void WriteSheet(const std::string& path) {
    OutputFile file(path);
    std::vector<Raster> cells;
    for (const unsigned pattern : DrawnPatterns()) {
        cells.push_back(Thumbnail(pattern));
    }
    constexpr unsigned kColumns = 8, kGap = 6;
    WritePng(file, Grid(cells, kColumns, kGap));
}

}  // namespace

bool IsDrawn(unsigned pattern) {
    if (pattern < 1 || pattern > kLastPattern) {
        return false;
    }
    PictureFormat format;
    format.width = format.height = 8;
    const ImagePtr key = NewKey(format);
    GradientGenerator::WgrGradientData record = RecordOf(*key, 1.0);
    record.flags = 1;  // check, draw nothing
    return GradientGenerator::WgrGenerateGradient(&record, pattern) == 0;
}

void RequireDrawn(unsigned pattern, const char* called) {
    if (!IsDrawn(pattern)) {
        throw UsageError(std::string(called) + " " + std::to_string(pattern) +
                         ": no such pattern; there are " + Ranges(DrawnPatterns()));
    }
}

void DrawPattern(Zan::Image& key, unsigned pattern, double aspect) {
    GradientGenerator::WgrGradientData record = RecordOf(key, aspect);
    const int result = GradientGenerator::WgrGenerateGradient(&record, pattern);
    if (result != 0) {
        throw Failure("pattern " + std::to_string(pattern) + ": the library returned " +
                      std::to_string(result));
    }
}

namespace {

/// Codes come in hundreds, each a kind of pattern.
const char* KindOf(unsigned pattern) {
    return pattern < 100 ? "edge" : pattern < 200 ? "shape" : pattern < 300 ? "rotary" : "matrix";
}

/// What comes before the comma of a name.
std::string FamilyOf(const PatternName& pattern) {
    const std::string name = pattern.name;
    return name.substr(0, name.find(','));
}

void PrintJson() {
    std::printf("[");
    const char* comma = "";
    for (const PatternName& pattern : kPatternNames) {
        std::printf("%s\n{\"number\":%u,\"kind\":\"%s\",\"family\":\"%s\",\"name\":\"%s\",\"drawn\":%s}",
                    comma, pattern.number, KindOf(pattern.number), FamilyOf(pattern).c_str(), pattern.name,
                    IsDrawn(pattern.number) ? "true" : "false");
        comma = ",";
    }
    std::printf("\n]\n");
}

int ListPatterns(const Arguments& arguments) {
    if (arguments.Has("sheet")) {
        WriteSheet(arguments.Text("sheet"));
    }
    if (arguments.Has("json")) {
        PrintJson();
        return kExitSuccess;
    }
    std::size_t drawn = 0;
    for (const PatternName& pattern : kPatternNames) {
        const bool exists = IsDrawn(pattern.number);
        drawn += exists ? 1 : 0;
        std::printf("%c %3u  %s\n", exists ? '*' : ' ', pattern.number, pattern.name);
    }
    std::printf("* drawn by this version: %zu of %zu\n", drawn, kPatternNames.size());
    return kExitSuccess;
}

}  // namespace

const Command kPatternsCommand = {
    .name = "patterns",
    .summary = "list the wipe patterns",
    .description =
        "Lists the wipe codes of SMPTE 258M by number and name, with a star before those that are "
        "drawn.",
    .options = {{.name = "sheet",
                 .kind = ValueKind::kPngPicture,
                 .value = "FILE.png",
                 .help = "write a picture of all that are drawn"},
                {.name = "json", .help = "list them as JSON, an object for each"}},
    .examples = {{"tesselu patterns", "the list"},
                 {"tesselu patterns --sheet patterns.png", "the list, and a picture of each"}},
    .execute = ListPatterns,
};

}  // namespace tool
