#ifndef TESSELU_TOOLS_RUN_FIGURES_H
#define TESSELU_TOOLS_RUN_FIGURES_H

#include <cstdio>
#include <string>

#include "cli/Command.h"
#include "media/Picture.h"

namespace tool {

/// What a run took.
struct Figures {
    long pictures = 0;
    double seconds = 0;   ///< of the whole run, by the clock
    double effect = 0;    ///< processor time in the library
    double toRgb = 0;     ///< the same, for outputs in RGB
    double decoding = 0;  ///< by the clock, of the slowest input
    double encoding = 0;
};

/// `found`: options, without a character that JSON would have escaped.
void PrintJson(std::FILE* to, const Command& command, const PictureFormat& format, const Figures& figures,
               const std::string& found);
void PrintSummary(std::FILE* to, const Command& command, const PictureFormat& format, const Figures& figures);

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_FIGURES_H
