// Compares every operation on every SIMD target with its portable formula, on random pictures of all awkward
// sizes, addresses and pitches. One difference of one byte anywhere, padding and sources included, fails.

#include <CLI/CLI.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>
#include <random>

#include "foundation/CapabilitySeam.h"
#include "kernels/Operations.h"
#include "simd/Dispatch.h"
#include "simd/Job.h"
#include "simd/Targets.h"

namespace kernelcheck {

namespace {

using Zan::simd::Target;

struct Options {
    unsigned seed = std::random_device{}();
    bool quick = false;
    bool selfTest = false;
    bool list = false;
    std::string only;
};

/// Widths from nothing to past three steps of the widest target, and some of real pictures.
std::vector<std::size_t> Widths(bool quick) {
    std::vector<std::size_t> widths;
    for (std::size_t w = 0; w <= 3 * 64 + 9; w += quick && w > 40 ? 7 : 1) {
        widths.push_back(w);
    }
    // Rows are aligned, and written around the cache, from some 256 columns on.
    for (const std::size_t w : {720U, 721U, 1001U, 2050U}) {
        widths.push_back(w);
    }
    return widths;
}

/// What runs, for the last words of a process that touched what it must not.
char runningNow[256];

void ReportCrash(int) {
    // Nothing but calls that are allowed in a signal handler.
    static constexpr char kBefore[] = "TOUCHED WHAT LIES OUTSIDE: ";
    [[maybe_unused]] ssize_t written = write(STDOUT_FILENO, kBefore, sizeof kBefore - 1);
    written = write(STDOUT_FILENO, runningNow, std::strlen(runningNow));
    _exit(1);
}

/// What all planes of a case look like after a run, and what the run returned.
struct Outcome {
    Zan::Long32 status;
    std::vector<std::vector<std::uint8_t>> planes;
};

Outcome RunOn(Target target, const Operation::Run& run, const Case& c) {
    const Zan::simd::ScopedTarget scoped(target);
    for (const Plane& plane : c.planes)
        plane.Reset();
    Outcome outcome = {run(), {}};
    for (const Plane& plane : c.planes)
        outcome.planes.push_back(plane.Contents());
    return outcome;
}

/// Why `got` is not what the formula made, if it is not.
std::optional<std::string> Difference(const Outcome& expected, const Outcome& got, const Case& c) {
    if (expected.status != got.status)
        return "returned " + std::to_string(got.status) + ", the formula " + std::to_string(expected.status);
    for (std::size_t p = 0; p < got.planes.size(); ++p)
        for (std::size_t i = 0; i < got.planes[p].size(); ++i)
            if (got.planes[p][i] != expected.planes[p][i])
                return "plane " + std::to_string(p) + ", byte " +
                       std::to_string(static_cast<std::ptrdiff_t>(i) -
                                      static_cast<std::ptrdiff_t>(c.planes[p].Offset(c.planes[p].row()))) +
                       " from its first: " + std::to_string(got.planes[p][i]) + ", the formula " +
                       std::to_string(expected.planes[p][i]);
    for (std::size_t p = 0; p < got.planes.size(); ++p)
        if (std::size_t at = 0; !c.planes[p].OnlyRowsChanged(&at))
            return "plane " + std::to_string(p) + " changed outside its rows";
    return std::nullopt;
}

struct Tally {
    std::size_t compared = 0;
    std::size_t failed = 0;
    bool proven[Zan::simd::kTargetCount] = {};
};

/// Whether a run shows that the operation does its work.
bool Proves(const Operation& operation, const Outcome& outcome, const Case& c) {
    if (operation.proof != Operation::Proof::kWrites) {
        return outcome.status != 0;
    }
    for (std::size_t p = 0; outcome.status == 0 && p < outcome.planes.size(); ++p) {
        if (outcome.planes[p] != c.planes[p].Noise()) {
            return true;
        }
    }
    return false;
}

/// Whether a run breaks what a refusal promises.
bool BreaksRefusal(const Operation& operation, const Outcome& outcome, const Case& c) {
    if (operation.proof != Operation::Proof::kRefuses) {
        return false;
    }
    for (std::size_t p = 0; p < outcome.planes.size(); ++p) {
        if (outcome.planes[p] != c.planes[p].Noise()) {
            return true;
        }
    }
    return outcome.status == 0;
}

/// Runs one operation over all sizes on all targets. Stops at its first difference.
Tally Check(const Operation& operation, const Options& options, bool silent) {
    Tally tally;
    const Zan::ScopedInstructionSet believing(operation.set);
    for (const std::size_t width : Widths(options.quick)) {
        for (std::size_t height = 0; height <= 5; ++height) {
            // Every height for narrow pictures, a few for the others.
            if (width > 40 && height != width % 6 && height != 1) {
                continue;
            }
            Random random(options.seed + static_cast<unsigned>(97 * width + height));
            Case c(random, width, height);
            const Operation::Run run = operation.prepare(c);
            Zan::simd::ForceStreaming(Pick(random, 0, 2) == 0 ? 1 : 0);
            std::snprintf(runningNow, sizeof runningNow, "%s (instruction set %d), the formula, %zu x %zu\n",
                          operation.name.c_str(), static_cast<int>(operation.set), width, height);
            const Outcome expected = RunOn(Zan::simd::kPortable, run, c);
            if (BreaksRefusal(operation, expected, c)) {
                tally.failed = 1;
                std::printf("DOES NOT REFUSE: %s", runningNow);
                return tally;
            }
            for (std::size_t t = Zan::simd::kPortable; t < Zan::simd::kTargetCount; ++t) {
                const auto target = static_cast<Target>(t);
                if (!Zan::simd::IsTargetAvailable(target)) {
                    continue;
                }
                std::snprintf(runningNow, sizeof runningNow, "%s (instruction set %d) on %s, %zu x %zu\n",
                              operation.name.c_str(), static_cast<int>(operation.set),
                              Zan::simd::TargetName(target), width, height);
                const Outcome got = RunOn(target, run, c);
                const auto difference = Difference(expected, got, c);
                ++tally.compared;
                tally.proven[t] = tally.proven[t] || Proves(operation, got, c);
                if (!difference) {
                    continue;
                }
                if (!silent) {
                    std::printf("DIFFERS: %s (instruction set %d) on %s, %zu x %zu: %s\n",
                                operation.name.c_str(), static_cast<int>(operation.set),
                                Zan::simd::TargetName(target), width, height, difference->c_str());
                }
                ++tally.failed;
                Zan::simd::ForceStreaming(-1);
                return tally;
            }
        }
    }
    Zan::simd::ForceStreaming(-1);
    for (std::size_t t = Zan::simd::kPortable; t < Zan::simd::kTargetCount; ++t) {
        const auto target = static_cast<Target>(t);
        if (Zan::simd::IsTargetAvailable(target) && !tally.proven[t]) {
            tally.failed = 1;
            if (!silent) {
                std::printf("NEVER DID ANYTHING: %s (instruction set %d) on %s\n", operation.name.c_str(),
                            static_cast<int>(operation.set), Zan::simd::TargetName(target));
            }
        }
    }
    return tally;
}

/// Kernels that no operation ran on a target of this machine.
std::size_t CountUnvisited() {
    std::size_t unvisited = 0;
    for (const Zan::simd::KernelRecord* kernel : Zan::simd::AllKernels()) {
        for (std::size_t t = Zan::simd::kPortable; t < Zan::simd::kTargetCount; ++t) {
            const auto target = static_cast<Target>(t);
            if (Zan::simd::IsTargetAvailable(target) && !kernel->hasRun[t]) {
                std::printf("NEVER RAN: %s on %s\n", kernel->name, Zan::simd::TargetName(target));
                ++unvisited;
            }
        }
    }
    return unvisited;
}

/// True when touching what lies behind a plane ends the process, as it must.
bool GuardsHold() {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGSEGV, SIG_DFL);
        const GuardedPages pages(1);
        volatile std::uint8_t* behind = pages.begin() + pages.size();
        [[maybe_unused]] const std::uint8_t value = *behind;
        _exit(0);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child &&
           !(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

int SelfTest(const Options& options) {
    std::size_t found = 0, missed = 0;
    for (const Operation& broken : BrokenOperations()) {
        const bool caught = Check(broken, options, true).failed != 0;
        if (!caught) {
            std::printf("NOT FOUND OUT: %s\n", broken.name.c_str());
        }
        ++(caught ? found : missed);
    }
    const bool guarded = GuardsHold();
    if (!guarded) {
        std::printf("NOT FOUND OUT: reading behind a plane\n");
    }
    ++(guarded ? found : missed);
    std::printf("self-test: %zu broken kernels found out, %zu missed\n", found, missed);
    return missed == 0 ? 0 : 1;
}

int CheckAll(const Options& options) {
    std::vector<Operation> operations = CompositeOperations();
    for (std::vector<Operation>& more :
         std::array{AdjustmentOperations(), ConvertOperations(), CorrectionOperations(), CubeOperations(),
                    DefocusOperations(), GradientOperations(), HistogramOperations(), KeyOperations(),
                    KeyTableOperations(), LookUpOperations(), NoiseOperations(), OverlayOperations(),
                    VectorOperations()}) {
        std::move(more.begin(), more.end(), std::back_inserter(operations));
    }

    std::size_t compared = 0, passed = 0, failed = 0;
    for (const Operation& operation : operations) {
        if (operation.name.find(options.only) == std::string::npos) {
            continue;
        }
        if (options.list) {
            std::printf("%s (instruction set %d)\n", operation.name.c_str(), static_cast<int>(operation.set));
            continue;
        }
        const Tally tally = Check(operation, options, false);
        compared += tally.compared;
        ++(tally.failed == 0 ? passed : failed);
    }
    if (options.list) {
        return 0;
    }
    if (options.only.empty()) {
        const std::size_t kernels = Zan::simd::AllKernels().size();
        const std::size_t unvisited = CountUnvisited();
        std::printf("%zu kernels, %zu times one never ran on a target\n", kernels, unvisited);
        ++(unvisited == 0 && kernels != 0 ? passed : failed);
    }
    std::printf("%zu comparisons\n%zu passed, %zu failed\n", compared, passed, failed);
    if (compared == 0) {
        std::printf("nothing was compared\n");
        return 1;
    }
    return failed == 0 ? 0 : 1;
}

}  // namespace

}  // namespace kernelcheck

int main(int argc, char** argv) {
    kernelcheck::Options options;
    CLI::App app("Compares every vector body with its portable formula");
    app.add_option("--seed", options.seed,
                   "seed of the pictures; printed, so that a failure can be had again");
    app.add_option("--only", options.only, "operations whose name has this in it");
    app.add_flag("--quick", options.quick, "fewer widths");
    app.add_flag("--list", options.list, "list the operations");
    app.add_flag("--self-test", options.selfTest, "prove that broken kernels are found out");
    CLI11_PARSE(app, argc, argv);

    std::signal(SIGSEGV, kernelcheck::ReportCrash);
    std::signal(SIGBUS, kernelcheck::ReportCrash);
    std::printf("seed %u, targets:", options.seed);
    for (std::size_t t = 0; t < Zan::simd::kTargetCount; ++t)
        if (Zan::simd::IsTargetAvailable(static_cast<Zan::simd::Target>(t)))
            std::printf(" %s", Zan::simd::TargetName(static_cast<Zan::simd::Target>(t)));
    std::printf("\n");
    std::fflush(stdout);
    return options.selfTest ? kernelcheck::SelfTest(options) : kernelcheck::CheckAll(options);
}
