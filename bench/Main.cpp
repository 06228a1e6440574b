// Times our operations beside what else could do their work: other libraries, the plain loop, and the copy of
// as many bytes.

#include <TesselU/foundation/Version.h>
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
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

const char kUsage[] = R"(usage: scripts/bench [option...]

  --quick           a rough picture in half a minute: fewer and shorter repetitions
  --size WxH        instead of 720x486, 1920x1080 and 3840x2160; may be given several times
  --filter REGEX    only contests whose "operation/size" it matches
  --list            names the contests and who takes part
  --repetitions N   of each entrant, 21
  --seconds S       of one repetition, 0.03
  --target NAME     our instruction set at most: portable, SSSE3, AVX2 or AVX-512
  --stream MODE     our stores go around the cache: never, always or size (by size)
  --json FILE       all repetitions, as Google Benchmark writes them
  --csv FILE
)";

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

double ParseNumber(const std::string& option, const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != 0 || !(value > 0) || value > 10000)
        throw UsageError(option + " wants a number above 0, not '" + text + "'");
    return value;
}

void LimitTarget(const std::string& name) {
    using namespace Zan::simd;
    for (std::size_t target = 0; target < kTargetCount; ++target)
        if (name == TargetName(static_cast<Target>(target))) {
            if (!IsTargetAvailable(static_cast<Target>(target)))
                throw UsageError("this machine has no " + name);
            return LimitTarget(static_cast<Target>(target));
        }
    std::string names;
    for (std::size_t target = 0; target < kTargetCount; ++target)
        if (IsTargetAvailable(static_cast<Target>(target)))
            names += std::string(" ") + TargetName(static_cast<Target>(target));
    throw UsageError("--target: no '" + name + "' here; there are:" + names);
}

void ForceStreaming(const std::string& mode) {
    const std::map<std::string, int> modes = {{"never", 0}, {"always", 1}, {"size", -1}};
    if (!modes.contains(mode))
        throw UsageError("--stream wants never, always or size, not '" + mode + "'");
    Zan::simd::ForceStreaming(modes.at(mode));
}

Options Parse(int argc, char** argv) {
    Options options;
    bool sizesGiven = false;
    for (int i = 1; i < argc; ++i) {
        std::string option = argv[i];
        std::optional<std::string> given;
        if (const auto equals = option.find('='); equals != std::string::npos) {
            given = option.substr(equals + 1);
            option.resize(equals);
        }
        const auto value = [&] {
            if (given)
                return *given;
            if (i + 1 == argc)
                throw UsageError(option + " wants a value");
            return std::string(argv[++i]);
        };
        if (option == "--quick") {
            options.repetitions = 5;
            options.seconds = 0.01;
        } else if (option == "--size") {
            if (!sizesGiven)
                options.sizes.clear();
            sizesGiven = true;
            options.sizes.push_back(ParseSize(value()));
        } else if (option == "--filter") {
            options.filter = value();
        } else if (option == "--list") {
            options.list = true;
        } else if (option == "--repetitions") {
            options.repetitions = static_cast<int>(ParseNumber(option, value()));
        } else if (option == "--seconds") {
            options.seconds = ParseNumber(option, value());
        } else if (option == "--target") {
            LimitTarget(value());
        } else if (option == "--stream") {
            ForceStreaming(value());
        } else if (option == "--json") {
            options.json = value();
        } else if (option == "--csv") {
            options.csv = value();
        } else if (option == "--help" || option == "-h") {
            std::cout << kUsage;
            std::exit(0);
        } else {
            throw UsageError("no option '" + option + "'; --help names them");
        }
    }
    return options;
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
    const Options options = Parse(argc, argv);
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
