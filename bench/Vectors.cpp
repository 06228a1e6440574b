#include "Vectors.h"

#include <TesselU/vector/Operations3D.h>
#include <TesselU/vector/Transform3D.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>
#include <stdexcept>

#include "vectors/Work.h"

namespace bench {

namespace {

using namespace Zan;
using namespace vectors;

constexpr std::size_t kSizes[] = {4096, 1000000};

struct Contestant {
    Task task;
    const char* name;
    const char* title;
    bool isSingle;
    std::size_t results;  ///< floats that a vector makes
    std::size_t bytes;    ///< read and written for each
    double aimInCache, aimInMemory;
    bool copyIsEnough;  ///< in memory
    void (*run)(const Work&);
};

ULong32 Count(const Work& w) {
    return static_cast<ULong32>(w.n);
}
// The interface takes no pointers to constants; operands are only read.
float* In(const float* operand) {
    return const_cast<float*>(operand);
}

template <int Columns, int Rows, ProcessingStyleEnum Style>
void Transformed(const Work& w) {
    double block[Columns * Rows];
    for (int i = 0; i < Columns * Rows; ++i) {
        block[i] = w.matrix[i / Columns * 4 + i % Columns];
    }
    Transform3D transform;
    transform.SetMatrix(block, Columns, Rows);
    transform.Do(In(w.a), w.out, Count(w), Style);
}
template <ProcessingStyleEnum Style>
void Lengths(const Work& w) {
    Operations3D::LengthOfVectors(In(w.a), w.out, Count(w), Style);
}
template <ProcessingStyleEnum Style>
void Normals(const Work& w) {
    Operations3D::NormalizeVectors(In(w.a), w.out, Count(w), Style);
}
template <ProcessingStyleEnum Style>
void Arrays(const Work& w) {
    Operations3D::NormalizeVectors(SoA_3D{In(w.x), In(w.y), In(w.z), Count(w)},
                                   SoA_3D{w.out, w.outY, w.outZ, Count(w)}, Style);
}
void Blocks(const Work& w) {
    Operations3D::NormalizeVectors_SoAoS(In(w.a), w.out, Count(w), kFlp_SIMD);
}
void Dot(const Work& w) {
    Operations3D::DotProduct(In(w.a), In(w.b), w.out, Count(w), kFlp);
}
void Cross(const Work& w) {
    Operations3D::CrossProduct(In(w.a), In(w.b), w.out, Count(w), kFlp);
}
void Scale(const Work& w) {
    Operations3D::ScaleVectors(-1.0F, w.out, Count(w), kFlp);
}
void AddConstant(const Work& w) {
    Operations3D::AddConstantVector(In(w.a), In(w.b), w.out, Count(w), kFlp);
}
void Add(const Work& w) {
    Operations3D::AddVectors(In(w.a), In(w.b), w.out, Count(w), kFlp);
}
void AddScaled(const Work& w) {
    Operations3D::AddScaledVectors(In(w.sa), In(w.a), In(w.sb), In(w.b), w.out, Count(w), kFlp);
}
void AddConstantScaled(const Work& w) {
    Operations3D::AddScaledVectors(kScaleA, In(w.a), kScaleB, In(w.b), w.out, Count(w), kFlp);
}

constexpr Contestant kContestants[] = {
    {kSingleNormals, "NormalsSingle", "normals, kFlp_SIMD", true, 3, 24, 1.2, 1.2, true, Normals<kFlp_SIMD>},
    {kSingleArrays, "NormalsOfArraysSingle", "of arrays, kFlp_SIMD", true, 3, 24, 1.5, 1.2, true,
     Arrays<kFlp_SIMD>},
    {kSingleBlocks, "NormalsOfBlocks", "of blocks of four", true, 3, 24, 1.5, 1.2, true, Blocks},
    {kSingleLengths, "LengthsSingle", "lengths, kFlp_SIMD", true, 1, 16, 1.0, 1.0, true, Lengths<kFlp_SIMD>},
    {kSingleLinear, "LinearSingle", "linear, kFlp_SIMD", true, 3, 24, 1.0, 1.2, true,
     Transformed<3, 3, kFlp_SIMD>},
    {kLengths, "Lengths", "lengths", false, 1, 16, 1.0, 1.0, false, Lengths<kFlp>},
    {kNormals, "Normals", "normals", false, 3, 24, 1.0, 1.0, false, Normals<kFlp>},
    {kArrays, "NormalsOfArrays", "normals of arrays", false, 3, 24, 1.0, 1.0, false, Arrays<kFlp>},
    {kDot, "DotProducts", "dot products", false, 1, 28, 1.0, 1.0, false, Dot},
    {kCross, "CrossProducts", "cross products", false, 3, 36, 1.0, 1.0, false, Cross},
    {kScale, "Scale", "scaled in place", false, 3, 24, 1.0, 1.0, false, Scale},
    {kAddConstant, "AddConstant", "plus a constant", false, 3, 24, 1.0, 1.0, false, AddConstant},
    {kAdd, "Add", "sums", false, 3, 36, 1.0, 1.0, false, Add},
    {kAddScaled, "AddScaled", "scaled sums, each", false, 3, 44, 1.0, 1.0, false, AddScaled},
    {kAddConstantScaled, "AddConstantScaled", "scaled sums, one", false, 3, 36, 1.0, 1.0, false,
     AddConstantScaled},
    {kLinear, "Linear", "linear", false, 3, 24, 1.0, 1.0, false, Transformed<3, 3, kFlp>},
    {kAffine, "Affine", "affine", false, 3, 24, 1.0, 1.0, false, Transformed<4, 3, kFlp>},
    {kProjective, "Projective", "projective", false, 3, 24, 1.0, 1.0, false, Transformed<4, 4, kFlp>},
};

std::string NameOf(const Contestant& contestant, std::size_t n) {
    return std::string("Vectors") + contestant.name + "/" + std::to_string(n);
}

/// Arrays one behind the other, none at the same place of a page as another: reads that seem to follow a
/// write to it would wait.
class Memory {
public:
    explicit Memory(std::size_t n) : floats((kHeld + 1) * Pitch(n)), pitch(Pitch(n)) {
        std::mt19937 random(17);
        std::uniform_real_distribution<float> any(-2, 2);
        for (float& value : floats) {
            value = any(random);
        }
        work = {n, At(0), At(1), At(2), At(3), At(4), At(5), At(6), At(7), At(8), At(9), kMatrix};
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t c = 0; c < 3; ++c) {
                At(4 + c)[i] = work.a[3 * i + c];
            }
        }
    }

    const Work& Of() const { return work; }

private:
    static constexpr std::size_t kHeld = 10, kPage = 1024;
    static constexpr double kMatrix[16] = {0.8, -0.6, 0.1, 5,    0.6, 0.8,  -0.2, -7,
                                           0.3, 1.7,  0.9, 0.01, 0.1, -0.2, 0.3,  2};

    static std::size_t Pitch(std::size_t n) { return (3 * n + kPage - 1) / kPage * kPage + 176; }
    float* At(std::size_t array) {
        // Aligned to 64 bytes.
        const auto first = reinterpret_cast<std::uintptr_t>(floats.data());
        return floats.data() + ((64 - first % 64) % 64) / sizeof(float) + array * pitch;
    }

    std::vector<float> floats;
    std::size_t pitch;
    Work work;
};

/// All results, in the order of the arrays.
std::vector<float> Results(const Work& w, Task task, std::size_t results) {
    std::vector<float> all(w.out, w.out + (task == kArrays || task == kSingleArrays ? 1 : results) * w.n);
    if (task == kArrays || task == kSingleArrays) {
        all.insert(all.end(), w.outY, w.outY + w.n);
        all.insert(all.end(), w.outZ, w.outZ + w.n);
    }
    return all;
}

std::vector<float> Make(const std::function<void(const Work&)>& run, const Work& w,
                        const Contestant& contestant) {
    std::fill(w.out, w.out + 3 * w.n, 0.5F);
    run(w);
    return Results(w, contestant.task, contestant.results);
}

void Compare(const std::vector<float>& ours, const std::vector<float>& other, const Contestant& contestant) {
    for (std::size_t i = 0; i < ours.size(); ++i) {
        const float most = contestant.isSingle ? 2e-4F * std::max(1.0F, std::fabs(other[i])) : 0.0F;
        if (!(std::fabs(ours[i] - other[i]) <= most)) {
            throw std::runtime_error(std::string(contestant.title) +
                                     ": ours is not what the plain loop makes");
        }
    }
}

/// Nanoseconds of processor time a call, of as many calls as `least` seconds hold.
double Time(const std::function<void(const Work&)>& run, const Work& w, double least) {
    const std::clock_t start = std::clock();
    double passed = 0;
    int calls = 0;
    do {
        for (std::size_t i = 0; i < 1 + 100000 / w.n; ++i) {
            run(w);
            ++calls;
        }
        passed = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    } while (passed < least);
    return passed * 1e9 / calls;
}

void Append(std::vector<Entry>& to, const std::vector<Entry>& more) {
    to.insert(to.end(), more.begin(), more.end());
}

std::vector<Entry> Others(Level level) {
    std::vector<Entry> entries;
#ifdef TESSELU_BENCH_VECTORS_AVX2
    if (level == Level::kAVX2) {
        Append(entries, avx2::PlainLoops());
#ifdef TESSELU_BENCH_EIGEN
        Append(entries, avx2::EigenEntries());
#endif
    }
#endif
    if (level == Level::kAll) {
        Append(entries, native::PlainLoops());
#ifdef TESSELU_BENCH_EIGEN
        Append(entries, native::EigenEntries());
#endif
    }
#ifdef TESSELU_BENCH_OPENCV
    Append(entries, OpenCVEntries());
#endif
    return entries;
}

}  // namespace

bool HasVectors(Level level) {
#ifdef TESSELU_BENCH_VECTORS_AVX2
    if (level == Level::kAVX2) {
        return true;
    }
#endif
    return level == Level::kAll;
}

std::vector<std::string> VectorsNames() {
    std::vector<std::string> names;
    for (const Contestant& contestant : kContestants) {
        for (const std::size_t n : kSizes) {
            names.push_back(NameOf(contestant, n));
        }
    }
    return names;
}

VectorsRow RunVectors(const std::string& name, const Options& options) {
    for (const Contestant& contestant : kContestants) {
        for (const std::size_t n : kSizes) {
            if (NameOf(contestant, n) != name) {
                continue;
            }
            const Memory memory(n);
            const Work& w = memory.Of();
            std::vector<Entry> entries = Others(CurrentLevel());
            std::erase_if(entries, [&](const Entry& entry) { return entry.task != contestant.task; });

            const std::vector<float> ours = Make(contestant.run, w, contestant);
            Compare(ours, Make(entries.front().run, w, contestant), contestant);

            std::vector<std::function<void(const Work&)>> runs = {
                contestant.run, [&](const Work& work) {
                    // A copy writes as many bytes as it reads. The arrays lie one behind the other.
                    const std::size_t floats = contestant.bytes * work.n / 8;
                    std::memcpy(work.out, work.a, std::min(floats, 3 * work.n) * sizeof(float));
                    if (floats > 3 * work.n) {
                        std::memcpy(work.outY, work.b, (floats - 3 * work.n) * sizeof(float));
                    }
                }};
            for (const Entry& entry : entries) {
                runs.push_back(entry.run);
            }
            std::vector<double> least(runs.size(), std::numeric_limits<double>::infinity());
            for (int round = 0; round < options.repetitions; ++round) {
                for (std::size_t i = 0; i < runs.size(); ++i) {
                    const std::size_t k = (i + static_cast<std::size_t>(round)) % runs.size();
                    least[k] =
                        std::min(least[k], Time(runs[k], w, options.seconds / 6) / static_cast<double>(n));
                }
            }
            VectorsRow row = {contestant.title,
                              n,
                              least[0],
                              least[1],
                              {},
                              n == kSizes[0] ? contestant.aimInCache : contestant.aimInMemory,
                              contestant.copyIsEnough && n != kSizes[0]};
            for (std::size_t i = 0; i < entries.size(); ++i) {
                row.others.push_back({entries[i].name, least[2 + i]});
            }
            return row;
        }
    }
    throw std::runtime_error(name + ": no such operation");
}

void PrintVectors(std::ostream& out, const std::vector<VectorsRow>& rows) {
    constexpr const char* kOthers[] = {"plain", "Eigen", "OpenCV"};
    char line[200];
    std::snprintf(line, sizeof line, "%-21s %8s %8s %8s %8s %8s %8s %7s %8s %6s", "operation", "vectors",
                  "ours", kOthers[0], kOthers[1], kOthers[2], "copy", "ratio", "of copy", "aim");
    out << line << "\n" << std::string(std::strlen(line) + 13, '-') << "\n";
    for (const VectorsRow& row : rows) {
        double best = std::numeric_limits<double>::infinity();
        std::snprintf(line, sizeof line, "%-21s %8zu %8.4f", row.title, row.vectors, row.ours);
        out << line;
        for (const char* other : kOthers) {
            const auto timing = std::find_if(row.others.begin(), row.others.end(),
                                             [&](const VectorsRow::Timing& t) { return t.name == other; });
            if (timing == row.others.end()) {
                out << "         ";
                continue;
            }
            best = std::min(best, timing->nanoseconds);
            std::snprintf(line, sizeof line, " %8.4f", timing->nanoseconds);
            out << line;
        }
        const double ratio = best / row.ours, ofCopy = row.copy / row.ours;
        const bool byCopy = row.copyIsEnough && ofCopy >= 0.95;
        // A hundredth is what a repetition differs by.
        std::snprintf(line, sizeof line, " %8.4f %7.2f %8.2f %6.2f  %s", row.copy, ratio, ofCopy, row.aim,
                      ratio >= row.aim - 0.01 ? "met"
                      : byCopy                ? "met by copy"
                                              : "short");
        out << line << "\n";
    }
}

}  // namespace bench
