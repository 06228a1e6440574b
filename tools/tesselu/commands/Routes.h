#ifndef TESSELU_TOOLS_COMMANDS_ROUTES_H
#define TESSELU_TOOLS_COMMANDS_ROUTES_H

#include <TesselU/convert/ConverterFormat.h>
#include <TesselU/foundation/ProcessingStyle.h>

#include <optional>
#include <string>
#include <vector>

namespace tool {

// Which conversions the library has, by the records of its pairs, and how to get from one format to another
// that it has no pair for.

/// A code path as the program calls it: its style, its name on the command line and in lists.
struct PathName {
    Zan::ProcessingStyleEnum style;
    const char* name;
    const char* about;
};

/// The paths with a table of pairs: int, flp, fp, flp-simd.
const std::vector<PathName>& PathsWithPairs();

/// The path of that style has the pair.
bool HasPair(Zan::ProcessingStyleEnum path, Zan::ConverterFormat from, Zan::ConverterFormat to);
/// The destinations that a path has for a source.
std::vector<Zan::ConverterFormat> DestinationsOf(Zan::ProcessingStyleEnum path, Zan::ConverterFormat from);

/// The general path takes every pair without complaint; what it cannot read is black to it, and what it
/// cannot write stays as it was.
bool GeneralPathReads(Zan::ConverterFormat samples);
bool GeneralPathWrites(Zan::ConverterFormat samples);

/// One call of the converter.
struct Step {
    Zan::ConverterFormat from, to;
    Zan::ProcessingStyleEnum style;
};
using Route = std::vector<Step>;

/// The steps between two formats, none for equal ones; nothing if there is no way. Without a style steps may
/// lie in between: those of the integer and the floating-point path, else the general one.
std::optional<Route> RouteBetween(Zan::ConverterFormat from, Zan::ConverterFormat to,
                                  std::optional<Zan::ProcessingStyleEnum> style);

/// Between YCrCb and RGB.
enum class Sense { kNone, kToRgb, kFromRgb };
/// What the matrix of a step does; studio levels of RGB are told, too.
Sense SenseOf(const Step& step);

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_ROUTES_H
