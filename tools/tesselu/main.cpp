#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <new>

#include "Errors.h"
#include "Info.h"
#include "Interrupt.h"
#include "Patterns.h"
#include "TestCard.h"
#include "Wipe.h"

namespace {

using tool::UsageError;

constexpr int kExitFailure = 1, kExitUsage = 2, kExitInterrupted = 130;

const std::map<std::string, Zan::ScanStyleEnum> kScans = {
    {"tff", Zan::kUpperFieldFirst}, {"bff", Zan::kLowerFieldFirst}, {"progressive", Zan::kProgressive}};

const std::map<std::string, Zan::ProcessingStyleEnum> kStyles = {{"flp", Zan::kFlp},
                                                                 {"fp", Zan::kFP},
                                                                 {"int", Zan::kInt_MMXorSIMD},
                                                                 {"flp-simd", Zan::kFlp_SIMD},
                                                                 {"best", Zan::kBestAvailable}};

template <typename Value>
Value Named(const std::map<std::string, Value>& names, const std::string& option, const std::string& name) {
    if (const auto found = names.find(name); found != names.end())
        return found->second;
    std::string known;
    for (const auto& entry : names)
        known += (known.empty() ? "" : ", ") + entry.first;
    throw UsageError(option + " " + name + ": unknown; there are " + known);
}

tool::FrameSize ParseSize(const std::string& text) {
    unsigned width = 0, height = 0;
    int used = 0;
    const bool digits = text.find_first_not_of("0123456789x") == std::string::npos && text.size() <= 11;
    if (!digits || std::sscanf(text.c_str(), "%ux%u%n", &width, &height, &used) != 2 ||
        static_cast<std::size_t>(used) != text.size())
        throw UsageError("--size " + text + ": not of the form WIDTHxHEIGHT");
    const auto fits = [](unsigned side) { return side >= 8 && side <= tool::kLargestSide && side % 2 == 0; };
    if (!fits(width) || !fits(height))
        throw UsageError("--size " + text + ": width and height must be even, from 8 to " +
                         std::to_string(tool::kLargestSide));
    return {width, height};
}

/// The options as they stand on the command line.
struct CommandLine {
    tool::WipeOptions wipe;
    std::string scan, size, style = "best";
    long frames = 0;
    std::string patternSheet;
    tool::TestCardOptions card;
    std::string cardSize = "1280x720";
    bool verbose = false;
};

constexpr long kMostFrames = 1000000;

void AddWipe(CLI::App& app, CommandLine& line, std::function<void()>& run) {
    CLI::App* wipe = app.add_subcommand("wipe", "wipe from one clip or picture to another");
    wipe->add_option("A", line.wipe.fileA, "video file or still picture to start from")->required();
    wipe->add_option("B", line.wipe.fileB, "video file or still picture to end with")->required();
    wipe->add_option("-o,--output", line.wipe.output,
                     "OUT.mkv (lossless FFV1), OUT.mp4 (H.264), OUT.y4m, or OUT-%04d.png")
        ->required();
    wipe->add_option("--pattern", line.wipe.pattern, "wipe code of SMPTE 258M, see 'tesselu patterns'")
        ->capture_default_str();
    wipe->add_option("--softness", line.wipe.softness,
                     "width of the edge in code values of the key, 0 is hard")
        ->capture_default_str();
    CLI::Option* frames =
        wipe->add_option("--frames", line.frames, "output frames [those of the shorter clip]");
    wipe->add_option("--scan", line.scan, "tff, bff or progressive [as A]");
    wipe->add_option("--size", line.size, "WIDTHxHEIGHT [as A]");
    wipe->add_option("--style", line.style, "code path: flp, fp, int, flp-simd or best")
        ->capture_default_str();
    wipe->add_option("--sheet", line.wipe.sheet, "FILE.png: twelve moments on one picture");
    wipe->callback([&line, &run, frames] {
        if (!std::isfinite(line.wipe.softness) || line.wipe.softness < 0 || line.wipe.softness > 32768)
            throw UsageError("--softness: a number from 0 to 32768");
        if (frames->count() > 0) {
            if (line.frames < 1 || line.frames > kMostFrames)
                throw UsageError("--frames " + std::to_string(line.frames) + ": a number from 1 to " +
                                 std::to_string(kMostFrames));
            line.wipe.frames = line.frames;
        }
        if (!line.scan.empty())
            line.wipe.scan = Named(kScans, "--scan", line.scan);
        if (!line.size.empty())
            line.wipe.size = ParseSize(line.size);
        line.wipe.style = Named(kStyles, "--style", line.style);
        run = [&line] { tool::RunWipe(line.wipe); };
    });
}

void AddTestCard(CLI::App& app, CommandLine& line, std::function<void()>& run) {
    CLI::App* card = app.add_subcommand("testcard", "write a clip of generated pictures");
    card->add_option("OUT", line.card.output, "as the output of wipe")->required();
    card->add_option("--kind", line.card.kind, "1 colour bars with a moving square, 2 moving zone plate")
        ->capture_default_str();
    card->add_option("--frames", line.card.frames)->capture_default_str();
    card->add_option("--size", line.cardSize, "WIDTHxHEIGHT")->capture_default_str();
    card->callback([&line, &run] {
        if (line.card.frames < 1 || line.card.frames > kMostFrames)
            throw UsageError("--frames " + std::to_string(line.card.frames) + ": a number from 1 to " +
                             std::to_string(kMostFrames));
        line.card.size = ParseSize(line.cardSize);
        run = [&line] { tool::RunTestCard(line.card); };
    });
}

/// One line, whatever the text.
int Complain(const std::string& text, int status) {
    std::string line = text;
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::fprintf(stderr, "tesselu: %s\n", line.c_str());
    return status;
}

int Run(int argc, char** argv) {
    CommandLine line;
    std::function<void()> run;
    CLI::App app{
        "Real-time video image processing: wipes between clips, wipe patterns, and what this machine "
        "offers."};
    app.name("tesselu");
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.add_flag("--verbose", line.verbose, "let the media libraries speak too");
    AddWipe(app, line, run);
    CLI::App* patterns = app.add_subcommand("patterns", "list the wipe patterns");
    patterns->add_option("--sheet", line.patternSheet, "FILE.png: a picture of all that are drawn");
    patterns->callback([&] { run = [&line] { tool::RunPatterns(line.patternSheet); }; });
    app.add_subcommand("info", "version, build, processor and code paths")->callback([&] {
        run = tool::RunInfo;
    });
    AddTestCard(app, line, run);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
            return app.exit(error);
        throw UsageError(error.what());
    }
    if (!run)
        throw UsageError("a command is needed: wipe, patterns, info or testcard");
    av_log_set_level(line.verbose ? AV_LOG_INFO : AV_LOG_QUIET);
    run();
    if (std::fflush(stdout) != 0)
        throw tool::Failure("standard output: cannot be written");
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    tool::CatchInterrupts();
    try {
        return Run(argc, argv);
    } catch (const UsageError& error) {
        return Complain(std::string(error.what()) + " (see tesselu --help)", kExitUsage);
    } catch (const tool::Interrupted& error) {
        return Complain(error.what(), kExitInterrupted);
    } catch (const std::bad_alloc&) {
        return Complain("out of memory", kExitFailure);
    } catch (const std::exception& error) {
        return Complain(error.what(), kExitFailure);
    }
}
