#ifndef TESSELU_BENCH_VECTORS_WORK_H
#define TESSELU_BENCH_VECTORS_WORK_H

#include <cstddef>
#include <functional>
#include <vector>

namespace bench::vectors {

enum Task : std::size_t {
    kSingleNormals,
    kSingleArrays,
    kSingleBlocks,
    kSingleLengths,
    kSingleLinear,
    kLengths,
    kNormals,
    kArrays,
    kDot,
    kCross,
    kScale,
    kAddConstant,
    kAdd,
    kAddScaled,
    kAddConstantScaled,
    kLinear,
    kAffine,
    kProjective,
    kTasks
};

/// Operands and results of `n` vectors, interleaved where they are not told one by one. Written by no
/// operation but `out`, of three floats a vector at most.
struct Work {
    std::size_t n;
    const float *a, *b, *sa, *sb;
    const float *x, *y, *z;    ///< the same vectors as `a`, in arrays
    float *out, *outY, *outZ;  ///< results in arrays have x in `out`
    const double* matrix;      ///< 4 by 4, projective; its upper left parts are the others
};

inline constexpr float kScaleA = 0.75F, kScaleB = -1.25F;

/// What another implementation has for an operation.
struct Entry {
    Task task;
    const char* name;
    std::function<void(const Work&)> run;
};

/// Compiled for this machine, and for processors with AVX2 and no more.
namespace native {
std::vector<Entry> PlainLoops();
std::vector<Entry> EigenEntries();
}  // namespace native
namespace avx2 {
std::vector<Entry> PlainLoops();
std::vector<Entry> EigenEntries();
}  // namespace avx2
std::vector<Entry> OpenCVEntries();

}  // namespace bench::vectors

#endif  // TESSELU_BENCH_VECTORS_WORK_H
