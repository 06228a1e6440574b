// Times our operations beside those of other libraries, the plain loop, and the copy of as many bytes.

#include <TesselU/foundation/Version.h>
#include <benchmark/benchmark.h>
#include <gnu/libc-version.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <stdexcept>

#include "Contest.h"
#include "Options.h"
#include "Ours.h"
#include "Pictures.h"
#include "Processor.h"
#include "Table.h"
#include "Threads.h"
#include "Vectors.h"
#include "peers/Peers.h"
#include "plain/Entrants.h"
#include "simd/Targets.h"

namespace bench {

namespace {

/// Collects the repetitions of each benchmark, and hands them to the files that were asked for.
class Collector : public benchmark::BenchmarkReporter {
public:
    void Into(benchmark::BenchmarkReporter* reporter, const std::string& path) {
        files.emplace_back(path);
        if (!files.back()) {
            throw std::runtime_error(path + ": cannot be written");
        }
        reporter->SetOutputStream(&files.back());
        reporter->SetErrorStream(&nowhere);  // for the machine's description, which is in the heading
        writers.emplace_back(reporter);
    }

    bool ReportContext(const Context& context) override {
        for (const auto& writer : writers) {
            if (!started && !writer->ReportContext(context)) {
                return false;
            }
        }
        started = true;
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                seconds[run.run_name.function_name].push_back(run.cpu_accumulated_time /
                                                              static_cast<double>(run.iterations));
            }
        }
        for (const auto& writer : writers) {
            writer->ReportRuns(runs);
        }
    }

    void End() {
        for (const auto& writer : writers) {
            writer->Finalize();
        }
    }

    const std::vector<double>& Of(const std::string& name) { return seconds[name]; }

private:
    std::map<std::string, std::vector<double>> seconds;
    std::vector<std::unique_ptr<benchmark::BenchmarkReporter>> writers;
    std::list<std::ofstream> files;
    std::ostream nowhere{nullptr};
    bool started = false;
};

bool IsCall(const Size& size) {
    return size.pixels() <= kCallSize.pixels();
}

/// All entrants of a contest in one run, their repetitions in random order: whatever else the machine does
/// meets them all alike.
Row Run(const Contest& contest, const Size& size, const Options& options, Collector& collector) {
    benchmark::ClearRegisteredBenchmarks();
    const std::string prefix = std::string(contest.operation) + "/" + size.Text() + "/";
    for (const Entrant& entrant : contest.entrants) {
        if (!entrant.isAvailable) {
            continue;
        }
        // The time of all threads of the process: starting some gains nothing. A sixth of the time holds
        // enough calls on small pictures.
        benchmark::RegisterBenchmark((prefix + entrant.name).c_str(),
                                     [&entrant](benchmark::State& state) {
                                         for ([[maybe_unused]] auto _ : state) {
                                             entrant.run();
                                             benchmark::ClobberMemory();
                                         }
                                     })
            ->MeasureProcessCPUTime()
            ->MinTime(size.pixels() <= kSmallSize.pixels() ? options.seconds / 6 : options.seconds)
            ->Repetitions(options.repetitions)
            ->Unit(benchmark::kMicrosecond);
    }
    benchmark::RunSpecifiedBenchmarks(&collector, "all");

    const auto pixels = static_cast<double>(size.pixels());
    Row row = {contest.title, size, contest.aim, (contest.bytesRead + contest.bytesWritten) * pixels, {}};
    for (const Entrant& entrant : contest.entrants) {
        std::vector<double> times = collector.Of(prefix + entrant.name);
        if (times.empty()) {
            continue;
        }
        for (double& time : times) {
            time *= IsCall(size) ? 1e9 : 1e9 / pixels;
        }
        row.timings.push_back(Summarize(entrant, times));
    }
    return row;
}

void Progress(const std::string& name) {
    if (isatty(STDERR_FILENO) != 0) {
        std::cerr << "\r\033[K" << name << std::flush;
    }
}

/// The versions of all libraries, and the instructions that they may use.
void PrintHeading(std::ostream& out, const std::vector<Peer>& peers, const Options& options) {
    using namespace Zan::simd;
    const Level level = CurrentLevel();
    out << "TesselU " << Zan::Version() << " with " << TargetName(CurrentTarget()) << " on "
        << ProcessorName() << ", one thread;";
    for (const Cache& cache : Caches()) {
        out << " " << cache.name << " " << cache.bytes / 1024 << " KB";
    }
    out << "\nplain: " << PlainCompiler(level) << "\n";
    std::string missing;
    for (const Column column : {kLibyuv, kSwscale, kOpenCV, kPixman, kAvfilter}) {
        bool isThere = false;
        for (const Peer& peer : peers) {
            if (peer.column == column) {
                out << ColumnName(column) << " " << peer.version << ": " << peer.limit(level) << "\n";
                isThere = true;
            }
        }
        if (!isThere) {
            missing += std::string(missing.empty() ? "" : ", ") + ColumnName(column);
        }
    }
    const char* limits = std::getenv("GLIBC_TUNABLES");
    out << "copy: memcpy of the C library " << gnu_get_libc_version()
        << (limits != nullptr ? std::string(", ") + limits : "") << "\n";
    if (!missing.empty()) {
        out << "not there at build time: " << missing << "\n";
    }
    out << "photograph: "
        << (options.photo.empty() ? "none, a soft picture with grain in its place" : options.photo) << "\n";
    out << "processor time, median of " << options.repetitions
        << " repetitions in random order; ratio: how many times faster ours is; in: the smallest cache that "
           "holds all pictures of the operation\n\n";
}

/// Runs this program once for each of the targets that were asked for.
int RunEach(const std::vector<std::string>& targets, char** argv) {
    for (const std::string& target : targets) {
        std::vector<std::string> words;
        for (char** word = argv; *word != nullptr; ++word) {
            const std::string text = *word;
            if (text == "--targets") {
                ++word;
            } else if (!text.starts_with("--targets=")) {
                words.push_back(text);
            }
        }
        if (target != "best") {
            words.insert(words.end(), {"--target", target});
        }
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);

        if (&target != targets.data()) {
            std::cout << "\n\n";
        }
        std::cout.flush();
        const pid_t child = fork();
        if (child == 0) {
            execv("/proc/self/exe", arguments.data());
            _exit(127);
        }
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
            throw std::runtime_error("the run of " + target + " died");
        }
        if (WEXITSTATUS(status) != 0) {
            return WEXITSTATUS(status);
        }
    }
    return 0;
}

int Main(int argc, char** argv) {
    Options options;
    if (const std::optional<int> status = Parse(argc, argv, options)) {
        return *status;
    }
    if (!options.targets.empty()) {
        return RunEach(options.targets, argv);
    }
    LimitByEnvironment(argv);
    const std::regex filter(options.filter);
    const std::vector<Peer> peers = Peers();

    std::string interleave = "--benchmark_enable_random_interleaving=true";
    char* arguments[] = {argv[0], interleave.data(), nullptr};
    int count = 2;
    benchmark::Initialize(&count, arguments);

    Collector collector;
    if (!options.json.empty()) {
        collector.Into(new benchmark::JSONReporter, options.json);
    }
    if (!options.csv.empty()) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        collector.Into(new benchmark::CSVReporter, options.csv);
#pragma GCC diagnostic pop
    }

    std::vector<Row> rows, calls;
    std::vector<ThreadsRow> threads;
    for (const Size& size : options.sizes) {
        const Pictures pictures(size, options.photo);
        Contests contests;
        EnterOurs(contests, pictures);
        EnterPlain(contests, pictures, CurrentLevel());
        for (const Peer& peer : peers) {
            peer.limit(CurrentLevel());
            peer.enter(contests, pictures);
        }
        EnterCopies(contests, pictures);
        for (Contest& contest : contests) {
            const std::string name = std::string(contest.operation) + "/" + size.Text();
            if (!std::regex_search(name, filter)) {
                continue;
            }
            if (options.list) {
                std::cout << name << ":";
                for (const Entrant& entrant : contest.entrants) {
                    std::cout << (&entrant == contest.entrants.data() ? " " : "; ") << entrant.name;
                }
                std::cout << "\n";
                continue;
            }
            if (const std::string wrong = Compare(contest, size, pictures.out); !wrong.empty()) {
                throw std::runtime_error(name + ": our result is not that of '" + wrong +
                                         "', which is exact; nothing was timed");
            }
            Progress(name);
            (IsCall(size) ? calls : rows).push_back(Run(contest, size, options, collector));
        }
    }
    for (const Size& size : options.sizes) {
        for (const std::string& name : ThreadsNames(size)) {
            if (size.pixels() < 720 * 486 || !std::regex_search(name, filter)) {
                continue;
            }
            if (options.list) {
                std::cout << name << ": ours; 2 workers; copy; copy on 2 threads\n";
                continue;
            }
            Progress(name);
            threads.push_back(RunThreads(name, size, options));
        }
    }
    // Their loops are compiled for this machine and for AVX2 alone.
    std::vector<VectorsRow> vectors;
    for (const std::string& name : VectorsNames()) {
        if (!HasVectors(CurrentLevel()) || !std::regex_search(name, filter)) {
            continue;
        }
        if (options.list) {
            std::cout << name << ": ours; copy; others\n";
            continue;
        }
        Progress(name);
        vectors.push_back(RunVectors(name, options));
    }
    if (options.list) {
        return 0;
    }
    Progress("");
    collector.End();
    if (rows.empty() && calls.empty() && threads.empty() && vectors.empty()) {
        throw UsageError("nothing matches '" + options.filter + "'; --list names all");
    }
    PrintHeading(std::cout, peers, options);
    if (!rows.empty()) {
        std::cout << "In ns a pixel:\n\n";
        PrintTable(std::cout, rows);
        std::cout
            << "\nEntries of the columns, with the largest difference from our result (the pictures are "
               "noise, where another chroma filter shows):\n";
        PrintEntrants(std::cout, rows);
        std::cout << "\n";
    }
    if (!calls.empty()) {
        std::cout << "In ns a call, where a call has next to nothing to do:\n\n";
        PrintCalls(std::cout, calls);
    }
    if (!threads.empty()) {
        std::cout << (calls.empty() ? "" : "\n")
                  << "On one thread and on two, in ns a pixel by the clock on the wall:\n\n";
        PrintThreads(std::cout, threads);
    }
    if (!vectors.empty()) {
        std::cout << (calls.empty() && threads.empty() ? "" : "\n")
                  << "Vectors, in ns of processor time each, the least of all rounds in turn:\n\n";
        PrintVectors(std::cout, vectors);
    }
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
