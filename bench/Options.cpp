#include "Options.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>

#include "Processor.h"
#include "simd/Job.h"

namespace bench {

namespace {

Size ParseSize(const std::string& text) {
    Size size{};
    char rest = 0;
    if (std::sscanf(text.c_str(), "%zux%zu%c", &size.width, &size.height, &rest) != 2 || size.width == 0 ||
        size.height == 0 || size.width > 32768 || size.height > 32768) {
        throw UsageError("--size wants WIDTHxHEIGHT, not '" + text + "'");
    }
    // Beyond whole blocks some operations have another arithmetic or stop.
    if (size.width % 16 != 0 || size.height % 2 != 0) {
        throw UsageError(
            "--size wants a width that is a multiple of 16 and an even height: only then all do "
            "the same work");
    }
    return size;
}

}  // namespace

std::optional<int> Parse(int argc, char** argv, Options& options) {
    bool quick = false;
    std::vector<std::string> sizes;
    std::string target;
    int stream = -1;
    CLI::App app("Times our operations beside other libraries, the plain loop and the copy of as many bytes.",
                 "scripts/bench");
    app.add_flag("--quick", quick, "a rough picture in a minute: fewer and shorter repetitions");
    app.add_option("--size", sizes,
                   "WxH, several times; instead of 16x2, 128x96, 256x64, 720x486, 1920x1080 and 3840x2160");
    app.add_option("--filter", options.filter,
                   "only contests whose \"operation/size\" this expression matches");
    app.add_flag("--list", options.list, "name the contests and who takes part");
    app.add_option("--repetitions", options.repetitions, "of each entrant")->check(CLI::Range(1, 10000));
    app.add_option("--seconds", options.seconds, "of one repetition")->check(CLI::Range(1e-4, 60.0));
    app.add_option("--target", target,
                   "hold all to a processor: our instruction set at most, by name (portable, SSSE3, AVX2, "
                   "AVX-512), and what processors with it have for the others");
    app.add_option("--targets", options.targets,
                   "a table for each, as in AVX2,best; 'best' is what there is without --target")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->excludes("--target");
    app.add_option("--stream", stream, "whether our stores go around the cache")
        ->transform(
            CLI::CheckedTransformer(std::map<std::string, int>{{"never", 0}, {"always", 1}, {"size", -1}}));
    app.add_option("--photo", options.photo, "a picture file (P6) for the operations that depend on content")
        ->check(CLI::ExistingFile);
    app.add_option("--json", options.json, "FILE for all repetitions, as Google Benchmark writes them")
        ->excludes("--targets");
    app.add_option("--csv", options.csv, "FILE for the same")->excludes("--targets");
    app.footer(
        "scripts/bench --instructions counts instructions instead, which nothing disturbs; see its --help.");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (quick) {
        if (app.count("--repetitions") == 0) {
            options.repetitions = 5;
        }
        if (app.count("--seconds") == 0) {
            options.seconds = 0.01;
        }
    }
    if (!sizes.empty()) {
        options.sizes.clear();
        for (const std::string& size : sizes) {
            options.sizes.push_back(ParseSize(size));
        }
    }
    for (const std::string& name : options.targets) {
        if (name != "best") {
            LimitTarget(name);
        }
    }
    if (!target.empty()) {
        LimitTarget(target);
    }
    Zan::simd::ForceStreaming(stream);
    return std::nullopt;
}

}  // namespace bench
