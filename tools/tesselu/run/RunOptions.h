#ifndef TESSELU_TOOLS_RUN_RUNOPTIONS_H
#define TESSELU_TOOLS_RUN_RUNOPTIONS_H

#include <TesselU/foundation/ProcessingStyle.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "cli/Arguments.h"
#include "media/Decoder.h"
#include "media/Writer.h"

namespace tool {

/// The options that every command has which makes pictures.
const std::vector<Option>& CommonRunOptions();

struct CommonOption {
    const char* name;
    const char* help = nullptr;  ///< in place of its own
};
/// Takes some of them over into a command that makes no run.
void AddCommonOptions(std::vector<Option>& options, std::initializer_list<CommonOption> common);

/// What they say.
struct RunOptions {
    RunOptions(const Command& command, const Arguments& arguments);

    std::vector<std::string> inputs;
    std::string output;
    std::string sheet;  ///< empty: none
    InputOptions input;
    OutputOptions out;
    std::optional<Zan::ScanStyleEnum> scan;  ///< else that of the first clip
    std::optional<FrameSize> size;           ///< else that of the first input
    std::optional<AVRational> outputRate;    ///< else that of the first clip
    std::optional<long> length;              ///< else that of the shortest clip
    Interval part;
    bool isJson = false;
    bool isQuiet = false;

private:
    void TakeRawSamples(Zan::ConverterFormat samples);
};

/// The code path that an effect asks the library for.
Zan::ProcessingStyleEnum StyleOf(const Arguments& arguments);

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_RUNOPTIONS_H
