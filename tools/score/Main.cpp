// Scores keyers on scenes whose alpha is known: ours with settings that were searched, and with those that it
// finds by itself, beside FFmpeg's chromakey and despill. Prints tables in Markdown.
//
//   score_key STAMPS PHOTOGRAPHS
//
// are the folders of Debian's tuxpaint-stamps-default and libjxl-testdata. What is not there is done without.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

#include "Keying.h"
#include "Scenes.h"

namespace {

using namespace score;

constexpr unsigned kWidth = 1920, kHeight = 1080;
constexpr unsigned kFrames = 3;  // the first one for searches, the others for scores
constexpr unsigned kTrials = 32;

// Who is scored. Those of a sampling get the same frames.
enum Side : std::size_t { kOursOfPixels, kTheirsOfPixels, kOursOfPairs, kTheirsOfPairs, kSides };

struct Row {
    std::string name;
    bool isCutout = false;  ///< a real one
    Errors side[kSides];
};

struct Scenes {
    std::vector<Scene> all;
    std::size_t ofFiles = 0;  ///< these come first
    std::vector<std::string> missing;
};

Scenes AllScenes(const std::string& stamps, const std::string& photographs) {
    static constexpr struct {
        const char* name;
        const char* file;
        bool isPhotograph;
        float scale;
    } kCutouts[] = {
        {"bear", "/animals/mammals/bears/european-bear.png", false, 2.8F},
        {"palm", "/plants/trees/liberia-palm.png", false, 2.5F},
        {"candle", "/seasonal/candle.png", false, 1.5F},
        {"car", "/vehicles/race/indycar.png", false, 1.4F},
        {"flower", "/tmshre_riaphotographs_alpha.png", true, 2.0F},
    };
    Scenes made;
    std::vector<std::shared_ptr<const Raster>> backgrounds;
    const auto load = [&](const std::string& path) -> std::shared_ptr<const Raster> {
        if (!std::filesystem::exists(path)) {
            made.missing.push_back(path);
            return nullptr;
        }
        return std::make_shared<Raster>(LoadRaster(path));
    };
    for (const char* file : {"/u76c0g_bliznaca_srgb8.png", "/cvo9xd_keong_macan_srgb8.png"}) {
        if (auto picture = load(photographs + file)) {
            backgrounds.push_back(std::move(picture));
        }
    }
    if (backgrounds.empty()) {
        backgrounds.push_back(std::make_shared<Raster>(PaintedBackground(480, 270)));
    }
    const auto add = [&](const std::string& name, const std::shared_ptr<const Raster>& cutout, float scale) {
        for (const Plate plate : {Plate::kGreen, Plate::kBlue}) {
            const auto number = static_cast<unsigned>(made.all.size());
            made.all.push_back({name + (plate == Plate::kGreen ? ", green" : ", blue"), cutout,
                                backgrounds[number / 2 % backgrounds.size()], plate, scale, number + 1});
        }
    };
    for (const auto& cutout : kCutouts) {
        if (const auto picture = load((cutout.isPhotograph ? photographs : stamps) + cutout.file)) {
            add(cutout.name, picture, cutout.scale);
        }
    }
    made.ofFiles = made.all.size();
    add("disc", std::make_shared<Raster>(DiscCutout(800)), 1.0F);
    add("strands", std::make_shared<Raster>(StrandCutout(900, 900)), 1.0F);
    return made;
}

Row MeanOf(const std::vector<Row>& rows, bool cutoutsOnly) {
    Row mean;
    double count = 0;
    for (const Row& row : rows) {
        if (row.isCutout || !cutoutsOnly) {
            ++count;
            for (std::size_t i = 0; i < kSides; ++i) {
                mean.side[i] += row.side[i];
            }
        }
    }
    for (Errors& errors : mean.side) {
        errors = errors / count;
    }
    return mean;
}

void Print(const char* title, std::vector<Row> rows) {
    static constexpr struct {
        const char* name;
        double Errors::*member;
    } kColumns[] = {
        {"alpha", &Errors::alpha}, {"partial", &Errors::partial}, {"composite", &Errors::composite}};
    const bool hasCutouts = !rows.empty() && rows.front().isCutout;
    Row all = MeanOf(rows, false), cutouts = MeanOf(rows, true);
    all.name = "**mean**";
    cutouts.name = "**mean of the cut-outs**";

    std::printf("\n## %s\n\n|  | 4:4:4:4 |  |  |  |  |  | 4:2:2 |  |  |  |  |  |\n|---|", title);
    for (std::size_t i = 0; i < 12; ++i) {
        std::printf("---:|");
    }
    std::printf("\n| Scene |");
    for (std::size_t i = 0; i < 6; ++i) {
        std::printf(" %s | FFmpeg |", kColumns[i % 3].name);
    }
    rows.push_back(all);
    if (hasCutouts) {
        rows.push_back(cutouts);
    }
    std::string behind;
    for (const Row& row : rows) {
        std::printf("\n| %s |", row.name.c_str());
        std::string where;
        for (const Side ours : {kOursOfPixels, kOursOfPairs}) {
            for (const auto& column : kColumns) {
                const double mine = row.side[ours].*column.member, other = row.side[ours + 1].*column.member;
                std::printf(mine < other ? " **%.2f** | %.2f |" : " %.2f | %.2f |", mine, other);
                if (mine >= other) {
                    where += where.empty() ? "" : ", ";
                    where += column.name;
                    where += ours == kOursOfPixels ? " at 4:4:4:4" : " at 4:2:2";
                }
            }
        }
        if (!where.empty()) {
            behind += "- " + row.name + ": " + where + "\n";
        }
    }
    std::printf("\n\n%s%s", behind.empty() ? "" : "Behind:\n\n", behind.c_str());
    std::fflush(stdout);
}

/// One scene: the first frame decides on settings, the others count.
void Score(const Scene& scene, Row& searched, Row& automatic) {
    std::vector<Frame> frames;
    for (unsigned n = 0; n < kFrames; ++n) {
        frames.push_back(MakeFrame(scene, n, kWidth, kHeight));
    }
    constexpr double kScored = kFrames - 1.0;
    for (const Sampling sampling : {Sampling::kPixels, Sampling::kPairs}) {
        const std::size_t ours = sampling == Sampling::kPixels ? kOursOfPixels : kOursOfPairs;
        const Contestant contestants[] = {Ours(scene, sampling), Filters(scene, sampling)};
        for (std::size_t who = 0; who < 2; ++who) {
            const std::vector<double> best = Search(contestants[who], frames[0], kTrials);
            for (unsigned n = 1; n < kFrames; ++n) {
                searched.side[ours + who] += contestants[who].score(frames[n], best) / kScored;
            }
        }
        const tool::BackingEstimate estimate = Automatic(frames[0], sampling);
        for (unsigned n = 1; n < kFrames; ++n) {
            const Frame& frame = frames[n];
            automatic.side[ours] += Compare(frame, KeyByOurs(frame, sampling, estimate)) / kScored;
            automatic.side[ours + 1] +=
                Compare(frame, KeyByFilters(frame, sampling, scene.plate, {})) / kScored;
        }
    }
}

/// Calls `run(number)` for every number below `count`, on as many threads as there are processors. What one
/// of them throws is thrown when all have ended.
template <class Run>
void OnAllProcessors(std::size_t count, const Run& run) {
    std::atomic<std::size_t> next = 0;
    std::exception_ptr failure;
    std::mutex oneByOne;
    const auto work = [&] {
        try {
            for (std::size_t number = next++; number < count; number = next++) {
                run(number);
            }
        } catch (...) {
            const std::lock_guard lock(oneByOne);
            failure = std::current_exception();
        }
    };
    std::vector<std::thread> threads(std::max(std::thread::hardware_concurrency(), 1U));
    for (std::thread& thread : threads) {
        thread = std::thread(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: score_key STAMPS PHOTOGRAPHS\n");
        return 2;
    }
    try {
        const Scenes scenes = AllScenes(argv[1], argv[2]);
        std::vector<Row> searched(scenes.all.size()), automatic(scenes.all.size());
        OnAllProcessors(scenes.all.size(), [&](std::size_t number) {
            const Scene& scene = scenes.all[number];
            std::fprintf(stderr, "%zu of %zu: %s\n", number + 1, scenes.all.size(), scene.name.c_str());
            searched[number] = automatic[number] = {scene.name, number < scenes.ofFiles, {}};
            Score(scene, searched[number], automatic[number]);
        });
        for (const std::string& path : scenes.missing) {
            std::printf("Not there, and done without: `%s`\n\n", path.c_str());
        }
        if (scenes.ofFiles == 0) {
            std::printf("Generated cut-outs alone stand for those of the packages.\n");
        }
        Print("Settings searched", searched);
        Print("Settings found by themselves", automatic);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "score_key: %s\n", error.what());
        return 1;
    }
}
