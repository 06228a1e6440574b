// Counts the instructions of our operations and of libyuv's under callgrind, at two sizes: the slope is the
// instructions of a pixel, the rest those of a call. Other programs on the machine do not change the counts.

#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "Contest.h"
#include "Ours.h"
#include "Pictures.h"
#include "Processor.h"
#include "peers/Peers.h"
#include "simd/Job.h"
#include "simd/Targets.h"

#if __has_include(<hwy/highway.h>)
#include <hwy/highway.h>
#define TESSELU_BENCH_HIGHWAY \
    std::to_string(HWY_MAJOR) + "." + std::to_string(HWY_MINOR) + "." + std::to_string(HWY_PATCH)
#else
#define TESSELU_BENCH_HIGHWAY std::string("?")
#endif

namespace bench {

namespace {

namespace fs = std::filesystem;

/// Valgrind emulates a processor with AVX2, without AVX-512.
constexpr Zan::simd::Target kTargets[] = {Zan::simd::kSSSE3, Zan::simd::kAVX2};

constexpr Size kSmall = {720, 32}, kLarge = {720, 96};

/// Other compilers and versions of Highway make other instructions.
const std::string kMadeWith = "compiled by " TESSELU_BENCH_COMPILER " with Highway " + TESSELU_BENCH_HIGHWAY;

constexpr const char* kUpdate = "./scripts/bench --instructions --update";

/// By how much a count may exceed the table: a part of it; a count of calls also by a few instructions.
constexpr double kTolerance = 0.03, kFew = 5;

// ---- inside of valgrind ----

std::string Label(const std::string& target, const Contest& contest, Column column, const Size& size) {
    return target + "/" + contest.operation + "/" + ColumnName(column) + "/" + size.Text();
}

/// The label of a run that does nothing: what counting costs.
constexpr const char* kNothing = "nothing";

void Count(const std::function<int()>& run, const std::string& label) {
    CALLGRIND_ZERO_STATS;
    run();
    CALLGRIND_DUMP_STATS_AT(label.c_str());
}

void CountAll() {
    Zan::simd::ForceStreaming(0);
    for (int i = 0; i < 2; ++i) {
        Count([] { return 0; }, kNothing);
    }
    for (const Zan::simd::Target target : kTargets) {
        if (!Zan::simd::IsTargetAvailable(target)) {
            continue;
        }
        Zan::simd::LimitTarget(target);
        for (const Size& size : {kSmall, kLarge}) {
            const Pictures pictures(size);
            Contests contests;
            EnterOurs(contests, pictures);
#ifdef TESSELU_BENCH_LIBYUV
            LimitLibyuvForCounting(LevelOf(target));
            Libyuv().enter(contests, pictures);
#endif
            for (const Contest& contest : contests) {
                if (contest.bytesWritten == 0) {
                    continue;  // histograms choose their counters by the picture and its size
                }
                for (const Entrant& entrant : contest.entrants) {
                    // What happens only in the first call is not counted.
                    if (entrant.run() == 0) {
                        Count(entrant.run,
                              Label(Zan::simd::TargetName(target), contest, entrant.column, size));
                    }
                }
            }
        }
    }
}

// ---- outside ----

/// A temporary directory.
class Scratch {
public:
    Scratch() {
        std::string name = (fs::temp_directory_path() / "tesselu-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error(name + ": cannot be made");
        }
        path = name;
    }
    ~Scratch() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    fs::path path;
};

void RunUnderValgrind(const fs::path& folder) {
    const std::string out = "--callgrind-out-file=" + (folder / "count").string();
    const pid_t child = fork();
    if (child == 0) {
        // Functions of shared libraries are bound at the start, not by their first call.
        setenv("LD_BIND_NOW", "1", 1);
        // No string instructions in memcpy: they are counted once for every byte that they move.
        setenv("GLIBC_TUNABLES", "glibc.cpu.hwcaps=-ERMS,-FSRM", 1);
        execlp("valgrind", "valgrind", "-q", "--tool=callgrind", out.c_str(),
               fs::read_symlink("/proc/self/exe").c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        throw std::runtime_error("valgrind died");
    }
    if (WEXITSTATUS(status) != 0) {
        throw std::runtime_error("valgrind ended with " + std::to_string(WEXITSTATUS(status)));
    }
}

std::map<std::string, double> ReadDumps(const fs::path& folder) {
    static const std::string kTrigger = "desc: Trigger: Client Request: ", kTotal = "summary: ";
    std::map<std::string, double> counts;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::ifstream file(entry.path());
        std::string label;
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with(kTrigger)) {
                label = line.substr(kTrigger.size());
            } else if (line.starts_with(kTotal) && !label.empty()) {
                counts[label] = std::stod(line.substr(kTotal.size()));
            }
        }
    }
    return counts;
}

struct Instructions {
    double pixel, call;
};

/// A line of the table.
struct Line {
    std::string target, operation;
    std::optional<Instructions> ours, libyuv;
};

std::vector<Line> Measure() {
    const Scratch scratch;
    RunUnderValgrind(scratch.path);
    std::map<std::string, double> counts = ReadDumps(scratch.path);
    const auto line = [&](const std::string& target, const Contest& contest,
                          Column column) -> std::optional<Instructions> {
        const auto small = counts.find(Label(target, contest, column, kSmall));
        const auto large = counts.find(Label(target, contest, column, kLarge));
        if (small == counts.end() || large == counts.end()) {
            return std::nullopt;
        }
        const auto pixels = static_cast<double>(kSmall.pixels());
        const double pixel =
            (large->second - small->second) / (static_cast<double>(kLarge.pixels()) - pixels);
        return Instructions{pixel, small->second - counts[kNothing] - pixel * pixels};
    };
    std::vector<Line> lines;
    Contests contests;
    for (const Zan::simd::Target target : kTargets) {
        const std::string name = Zan::simd::TargetName(target);
        for (const Contest& contest : contests) {
            const auto ours = line(name, contest, kOurs), libyuv = line(name, contest, kLibyuv);
            if (ours.has_value() || libyuv.has_value()) {
                lines.push_back({name, contest.operation, ours, libyuv});
            }
        }
    }
    if (lines.empty()) {
        throw std::runtime_error("nothing was counted");
    }
    return lines;
}

// ---- the table ----

std::string Text(const std::optional<Instructions>& count) {
    char text[64];
    if (!count.has_value()) {
        std::snprintf(text, sizeof text, " %10s %8s", "-", "-");
    } else {
        // Without the sign of a zero.
        std::snprintf(text, sizeof text, " %10.4f %8.0f", count->pixel, std::round(count->call) + 0.0);
    }
    return text;
}

void Write(std::ostream& out, const std::vector<Line>& lines) {
    char heading[160];
    std::snprintf(heading, sizeof heading, "# %-6s %-24s %10s %8s %10s %8s\n", "target", "operation",
                  "a pixel", "a call", "libyuv:", "");
    out << "# Instructions of our operations and of libyuv's, counted by callgrind.\n"
        << "# Made by " << kUpdate << ", " << kMadeWith << "\n"
        << heading;
    for (const Line& line : lines) {
        char text[64];
        std::snprintf(text, sizeof text, "%-8s %-24s", line.target.c_str(), line.operation.c_str());
        out << text << Text(line.ours) << Text(line.libyuv) << "\n";
    }
}

struct Table {
    bool isOfThisCompiler = false;
    std::vector<Line> lines;
};

Table Read(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error(path + ": cannot be read");
    }
    Table table;
    for (std::string text; std::getline(file, text);) {
        if (text.starts_with("#")) {
            table.isOfThisCompiler |= text.ends_with(kMadeWith);
            continue;
        }
        if (text.empty()) {
            continue;
        }
        std::istringstream words(text);
        Line line;
        std::string pixel, call;
        if (!(words >> line.target >> line.operation >> pixel >> call)) {
            throw std::runtime_error(path + ": not understood: " + text);
        }
        if (pixel != "-") {
            line.ours = {std::stod(pixel), std::stod(call)};
        }
        table.lines.push_back(line);
    }
    return table;
}

const Line* Find(const std::vector<Line>& lines, const Line& like) {
    for (const Line& line : lines) {
        if (line.target == like.target && line.operation == like.operation) {
            return &line;
        }
    }
    return nullptr;
}

/// Says what differs from the table; returns how many lines are worse, or in one of the two only.
int Compare(std::ostream& out, const std::vector<Line>& lines, const std::vector<Line>& before) {
    int worse = 0, better = 0;
    const auto name = [](const Line& line) { return line.target + " " + line.operation; };
    for (const Line& was : before) {
        const Line* is = Find(lines, was);
        if (was.ours.has_value() && (is == nullptr || !is->ours.has_value())) {
            out << "not counted any more: " << name(was) << "\n";
            ++worse;
        }
    }
    for (const Line& is : lines) {
        const Line* was = Find(before, is);
        if (!is.ours.has_value()) {
            continue;
        }
        if (was == nullptr || !was->ours.has_value()) {
            out << "not in the table: " << name(is) << "\n";
            ++worse;
            continue;
        }
        const auto compare = [&](const char* what, double now, double then, double few) {
            // The table has four digits behind the point.
            const double allowed = std::max(kTolerance * then, few) + 0.00005;
            if (std::abs(now - then) <= allowed) {
                return;
            }
            char text[160];
            std::snprintf(text, sizeof text, "%s: %s, %s: %.6g instructions, were %.6g (%+.1f %%)\n",
                          now > then ? "worse" : "better", name(is).c_str(), what, now, then,
                          then != 0 ? 100 * (now / then - 1) : 0);
            out << text;
            ++(now > then ? worse : better);
        };
        compare("a pixel", is.ours->pixel, was->ours->pixel, 0);
        compare("a call", is.ours->call, was->ours->call, kFew);
    }
    if (worse + better != 0) {
        out << "the table is brought up to date by " << kUpdate << "\n";
    }
    return worse;
}

int Main(int argc, char** argv) {
    if (RUNNING_ON_VALGRIND != 0) {
        CountAll();
        return 0;
    }
    std::string path;
    bool update = false;
    CLI::App app("Counts the instructions of our operations and of libyuv's, a pixel and a call.",
                 "scripts/bench --instructions");
    app.add_option("--table", path, "FILE to compare with: fails when a count is more than 3 % higher");
    app.add_flag("--update", update, "write the table instead")->needs("--table");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }

    const std::vector<Line> lines = Measure();
    Write(std::cout, lines);
    for (const Zan::simd::Target target : kTargets) {
        if (!Zan::simd::IsTargetAvailable(target)) {
            std::cout << "not counted: this processor has no " << Zan::simd::TargetName(target) << "\n";
        }
    }
    if (path.empty()) {
        return 0;
    }
    if (update) {
        std::ofstream file(path);
        Write(file, lines);
        if (!file.flush()) {
            throw std::runtime_error(path + ": cannot be written");
        }
        return 0;
    }
    Table table = Read(path);
    if (!table.isOfThisCompiler) {
        std::cout << "not compared with " << path << ": this is " << kMadeWith << "\n";
        return 0;
    }
    std::erase_if(table.lines, [](const Line& line) {
        for (const Zan::simd::Target target : kTargets) {
            if (line.target == Zan::simd::TargetName(target)) {
                return !Zan::simd::IsTargetAvailable(target);
            }
        }
        return false;
    });
    return Compare(std::cout, lines, table.lines) == 0 ? 0 : 1;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
    try {
        return bench::Main(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "instructions: " << error.what() << "\n";
        return 1;
    }
}
