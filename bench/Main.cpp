// Times our operations beside what else could do their work: other libraries, the plain loop, and the copy of
// as many bytes.

#include <TesselU/foundation/Version.h>
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <stdexcept>

#include "Contest.h"
#include "Ours.h"
#include "Pictures.h"
#include "Table.h"
#include "peers/Peers.h"
#include "platform/Platform.h"
#include "simd/Rows.h"
#include "simd/Targets.h"

namespace bench {

namespace {

struct Options {
    std::vector<Size> sizes = {{720, 486}, {1920, 1080}, {3840, 2160}};
    std::string filter;
    int repetitions = 21;
    double seconds = 0.03;  // of one repetition
    std::string json, csv;
    bool list = false;
};

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

Size ParseSize(const std::string& text) {
    Size size{};
    char rest = 0;
    if (std::sscanf(text.c_str(), "%zux%zu%c", &size.width, &size.height, &rest) != 2 || size.width == 0 ||
        size.height == 0 || size.width > 32768 || size.height > 32768)
        throw UsageError("--size wants WIDTHxHEIGHT, not '" + text + "'");
    // Beyond whole blocks some operations have another arithmetic or stop.
    if (size.width % 16 != 0 || size.height % 2 != 0)
        throw UsageError(
            "--size wants a width that is a multiple of 16 and an even height: only then all do "
            "the same work");
    return size;
}

void LimitTarget(const std::string& name) {
    using namespace Zan::simd;
    std::string names;
    for (std::size_t t = 0; t < kTargetCount; ++t) {
        const auto target = static_cast<Target>(t);
        if (!IsTargetAvailable(target))
            continue;
        if (name == TargetName(target))
            return LimitTarget(target);
        names += std::string(" ") + TargetName(target);
    }
    throw UsageError("--target: no '" + name + "' here; there are:" + names);
}

/// Fills `options`; an exit status when nothing is left to do.
std::optional<int> Parse(int argc, char** argv, Options& options) {
    bool quick = false;
    std::vector<std::string> sizes;
    std::string target;
    int stream = -1;
    CLI::App app("Times our operations beside other libraries, the plain loop and the copy of as many bytes.",
                 "scripts/bench");
    app.add_flag("--quick", quick, "a rough picture in half a minute: fewer and shorter repetitions");
    app.add_option("--size", sizes, "WxH, several times; instead of 720x486, 1920x1080 and 3840x2160");
    app.add_option("--filter", options.filter,
                   "only contests whose \"operation/size\" this expression matches");
    app.add_flag("--list", options.list, "name the contests and who takes part");
    app.add_option("--repetitions", options.repetitions, "of each entrant")->check(CLI::Range(1, 10000));
    app.add_option("--seconds", options.seconds, "of one repetition")->check(CLI::Range(1e-4, 60.0));
    app.add_option("--target", target, "our instruction set at most: portable, SSSE3, AVX2 or AVX-512");
    app.add_option("--stream", stream, "whether our stores go around the cache")
        ->transform(
            CLI::CheckedTransformer(std::map<std::string, int>{{"never", 0}, {"always", 1}, {"size", -1}}));
    app.add_option("--json", options.json, "FILE for all repetitions, as Google Benchmark writes them");
    app.add_option("--csv", options.csv, "FILE for the same");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (quick) {
        if (app.count("--repetitions") == 0)
            options.repetitions = 5;
        if (app.count("--seconds") == 0)
            options.seconds = 0.01;
    }
    if (!sizes.empty()) {
        options.sizes.clear();
        for (const std::string& size : sizes)
            options.sizes.push_back(ParseSize(size));
    }
    if (!target.empty())
        LimitTarget(target);
    Zan::simd::ForceStreaming(stream);
    return std::nullopt;
}

/// Collects the repetitions of each benchmark, and hands them to the files that were asked for.
class Collector : public benchmark::BenchmarkReporter {
public:
    void Into(benchmark::BenchmarkReporter* reporter, const std::string& path) {
        files.emplace_back(path);
        if (!files.back())
            throw std::runtime_error(path + ": cannot be written");
        reporter->SetOutputStream(&files.back());
        reporter->SetErrorStream(&nowhere);  // for the machine's description, which is in the heading
        writers.emplace_back(reporter);
    }

    bool ReportContext(const Context& context) override {
        if (!started)
            for (const auto& writer : writers)
                if (!writer->ReportContext(context))
                    return false;
        started = true;
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                seconds[run.run_name.function_name].push_back(run.cpu_accumulated_time /
                                                              static_cast<double>(run.iterations));
        for (const auto& writer : writers)
            writer->ReportRuns(runs);
    }

    void End() {
        for (const auto& writer : writers)
            writer->Finalize();
    }

    const std::vector<double>& Of(const std::string& name) { return seconds[name]; }

private:
    std::map<std::string, std::vector<double>> seconds;
    std::vector<std::unique_ptr<benchmark::BenchmarkReporter>> writers;
    std::list<std::ofstream> files;
    std::ostream nowhere{nullptr};
    bool started = false;
};

/// All entrants of a contest in one run, their repetitions in random order: whatever else the machine does
/// meets them all alike.
Row Run(const Contest& contest, const Size& size, const Options& options, Collector& collector) {
    benchmark::ClearRegisteredBenchmarks();
    const std::string prefix = std::string(contest.operation) + "/" + size.Text() + "/";
    for (const Entrant& entrant : contest.entrants)
        if (entrant.isHere)
            // The time of all threads of the process: nobody wins by starting some.
            benchmark::RegisterBenchmark((prefix + entrant.name).c_str(),
                                         [&entrant](benchmark::State& state) {
                                             for ([[maybe_unused]] auto _ : state) {
                                                 entrant.run();
                                                 benchmark::ClobberMemory();
                                             }
                                         })
                ->MeasureProcessCPUTime()
                ->MinTime(options.seconds)
                ->Repetitions(options.repetitions)
                ->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks(&collector, "all");

    Row row = {contest.title, size, contest.target, {}};
    for (const Entrant& entrant : contest.entrants) {
        std::vector<double> times = collector.Of(prefix + entrant.name);
        if (times.empty())
            continue;
        for (double& time : times)
            time *= 1e9 / static_cast<double>(size.pixels());
        row.timings.push_back(Summarize(entrant, times));
    }
    return row;
}

void Progress(const std::string& name) {
    if (isatty(STDERR_FILENO) != 0)
        std::cerr << "\r\033[K" << name << std::flush;
}

std::string Processor() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("model name"))
            return line.substr(line.find(':') + 2);
    return "unknown processor";
}

void PrintHeading(std::ostream& out, const std::vector<Peer>& peers, const Options& options) {
    using namespace Zan::simd;
    out << "TesselU " << Zan::Version() << " with " << TargetName(CurrentTarget()) << " on " << Processor()
        << ", one thread, last-level cache " << Zan::LastLevelCacheBytes() / 1024 << " KB\n"
        << "plain: " << TESSELU_BENCH_PLAIN_COMPILER << "\n";
    std::string missing;
    for (const Column column : {kLibyuv, kSwscale, kOpenCV, kPixman}) {
        std::string version;
        for (const Peer& peer : peers)
            if (peer.column == column)
                version = peer.version;
        if (version.empty())
            missing += std::string(missing.empty() ? "" : ", ") + ColumnName(column);
        else
            out << ColumnName(column) << " " << version << "  ";
    }
    if (!missing.empty())
        out << (missing.find(',') == std::string::npos ? "(this library was" : "(these libraries were")
            << " not there at build time: " << missing << ")";
    out << "\nprocessor time in ns a pixel, median of " << options.repetitions
        << " repetitions in random order; ratio: how many times faster ours is\n\n";
}

int Main(int argc, char** argv) {
    Options options;
    if (const std::optional<int> status = Parse(argc, argv, options))
        return *status;
    const std::regex filter(options.filter);
    const std::vector<Peer> peers = Peers();

    std::string interleave = "--benchmark_enable_random_interleaving=true";
    char* arguments[] = {argv[0], interleave.data(), nullptr};
    int count = 2;
    benchmark::Initialize(&count, arguments);

    Collector collector;
    if (!options.json.empty())
        collector.Into(new benchmark::JSONReporter, options.json);
    if (!options.csv.empty()) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        collector.Into(new benchmark::CSVReporter, options.csv);
#pragma GCC diagnostic pop
    }

    std::vector<Row> rows;
    for (const Size& size : options.sizes) {
        const Pictures pictures(size);
        Contests contests;
        EnterOurs(contests, pictures);
        for (const Peer& peer : peers)
            peer.enter(contests, pictures);
        for (Contest& contest : contests) {
            const std::string name = std::string(contest.operation) + "/" + size.Text();
            if (!std::regex_search(name, filter))
                continue;
            if (options.list) {
                std::cout << name << ":";
                for (const Entrant& entrant : contest.entrants)
                    std::cout << (&entrant == contest.entrants.data() ? " " : "; ") << entrant.name;
                std::cout << "\n";
                continue;
            }
            if (const std::string wrong = Compare(contest, size, pictures.out); !wrong.empty())
                throw std::runtime_error(name + ": our result is not that of '" + wrong +
                                         "', which is exact; nothing was timed");
            Progress(name);
            rows.push_back(Run(contest, size, options, collector));
        }
    }
    if (options.list)
        return 0;
    Progress("");
    collector.End();
    if (rows.empty())
        throw UsageError("nothing matches '" + options.filter + "'; --list names all");
    PrintHeading(std::cout, peers, options);
    PrintTable(std::cout, rows);
    std::cout << "\nWho stands in the columns, and how far from our result (pictures of noise: a chroma "
                 "filter of its "
                 "own shows):\n";
    PrintEntrants(std::cout, rows);
    return 0;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
    try {
        return bench::Main(argc, argv);
    } catch (const bench::UsageError& error) {
        std::cerr << "bench: " << error.what() << "\n";
        return 2;
    } catch (const std::regex_error&) {
        std::cerr << "bench: --filter wants a regular expression\n";
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "bench: " << error.what() << "\n";
        return 1;
    }
}
