#include <TesselU/gradient/GradientGenerator.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "commands/GreyMap.h"

namespace tool {
namespace {

/// In the order of the library's numbers, which begin with 1.
const std::vector<std::string> kShapes = {"half-plane", "rectangle", "ellipse"};
constexpr unsigned kHalfPlane = 1;
constexpr Zan::ULong32 kBottomUp = 2;

unsigned ShapeOf(const std::string& word) {
    const auto found = std::find(kShapes.begin(), kShapes.end(), word);
    if (found == kShapes.end()) {
        throw UsageError(word + ": no such shape; there are half-plane, rectangle, ellipse");
    }
    return static_cast<unsigned>(found - kShapes.begin()) + 1;
}

/// "X0,Y0,X1,Y1"
std::array<float, 4> PointsOf(const std::string& text) {
    constexpr float kFarthest = 1e6F;  // pixels
    std::array<float, 4> points{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto [next, error] = std::from_chars(at, end, points[i]);
        const bool isLast = i + 1 == points.size();
        if (error != std::errc() || !(std::abs(points[i]) <= kFarthest) ||
            (isLast ? next != end : next == end || *next != ',')) {
            throw UsageError("--points " + text + ": four numbers of pixels, X0,Y0,X1,Y1");
        }
        at = next + 1;
    }
    return points;
}

int DrawMask(const Arguments& arguments) {
    const unsigned shape = ShapeOf(arguments.Inputs()[0]);
    const std::array<float, 4> points = PointsOf(arguments.Text("points"));
    if (arguments.Has("bottom-up") && shape != kHalfPlane) {
        throw UsageError("--bottom-up: only a half plane can be drawn so");
    }
    OutputFile file(arguments.Text("output"));
    GreyMap map = NewMap(arguments);
    auto record = map.NewRecord<GradientGenerator::WgrMaskData>();
    record.aspectRatio = 1;
    record.flags = arguments.Has("bottom-up") ? kBottomUp : 0;
    record.x0 = points[0];
    record.y0 = points[1];
    record.x1 = points[2];
    record.y1 = points[3];
    record.softnessX = static_cast<float>(arguments.Real("softness"));
    record.softnessY =
        arguments.Has("softness-y") ? static_cast<float>(arguments.Real("softness-y")) : record.softnessX;
    const int status = GradientGenerator::WgrGenerateMask(&record, shape);
    if (status != 0) {
        throw Failure("mask: the library returned " + std::to_string(status));
    }
    WriteMap(file, map);
    return kExitSuccess;
}

std::vector<Option> Options() {
    std::vector<Option> options = MapOptions();
    options.push_back({.name = "points",
                       .kind = ValueKind::kText,
                       .value = "X0,Y0,X1,Y1",
                       .help = "corners of the rectangle or of the one around the ellipse, or two points of "
                               "the line, whose left is dark when it runs down; in pixels",
                       .initial = "160,120,480,360"});
    options.push_back({.name = "softness",
                       .kind = ValueKind::kReal,
                       .value = "S",
                       .help = "width of soft edges: of a half plane as a part of the longer side, else of "
                               "half the shape",
                       .initial = "0",
                       .least = 0,
                       .most = 1});
    options.push_back({.name = "softness-y",
                       .kind = ValueKind::kReal,
                       .value = "S",
                       .help = "the same for the upper and lower edge of a rectangle [as --softness]",
                       .least = 0,
                       .most = 1});
    options.push_back({.name = "bottom-up", .help = "count lines of a half plane from the bottom"});
    return options;
}

}  // namespace

const Command kMaskCommand = {
    .name = "mask",
    .summary = "draw a soft mask as a grey picture",
    .description = "Draws a half plane, a rectangle or an ellipse with soft edges, white on black.",
    .inputs =
        {{.name = "SHAPE", .help = "half-plane, rectangle or ellipse", .isMedia = false, .choices = kShapes}},
    .options = Options(),
    .examples = {{"tesselu mask ellipse -o mask.png --points 100,60,540,420 --softness 0.3", "a soft oval"},
                 {"tesselu mask half-plane -o mask.tga --points 320,0,320,480 --softness 0.1",
                  "the right half, 64 pixels soft"}},
    .execute = DrawMask,
};

}  // namespace tool
