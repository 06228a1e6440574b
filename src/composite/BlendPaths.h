#ifndef TESSELU_SRC_COMPOSITE_BLENDPATHS_H
#define TESSELU_SRC_COMPOSITE_BLENDPATHS_H

#include "composite/kernels/Blend.h"
#include "foundation/PathSelection.h"

namespace Zan {

/// What becomes of the columns beyond the last whole block.
enum class Tail : unsigned char {
    kUnwritten,  ///< they stay as they were
    kByKernel,   ///< the kernel's own tail makes them
};

/// One code path of a blend.
template <class Kernel>
struct BlendPath {
    const Kernel* kernel;
    std::size_t block;  ///< in columns of the kernel
    Tail tail;
    PitchUnit pitch;  ///< of the image planes
};

using TwoSourcePath = BlendPath<TwoSourceKernel>;
using KeyedPath = BlendPath<KeyedKernel>;

/// Runs a job by one path.
template <class Kernel, class Job>
void Run(const BlendPath<Kernel>& path, Job job, const BlendSettings& settings) {
    job.whole = job.width - job.width % path.block;
    if (path.tail == Tail::kUnwritten) {
        job.width = job.whole;
    }
    (*path.kernel)(job, settings);
}

/// The job with the pitches of its planes as a path takes them.
template <class Kernel, class Job>
Job InPitchOf(const BlendPath<Kernel>& path, Job job) {
    for (Plane& plane : job.source) {
        plane = plane.In(path.pitch);
    }
    for (Plane& plane : job.destination) {
        plane = plane.In(path.pitch);
    }
    return job;
}

/// `fade`, limited to 0...1, as a weight out of `total`.
inline unsigned WeightOf(double fade, int total) noexcept {
    return static_cast<unsigned>((fade > 0 ? (fade < 1 ? fade : 1) : 0) * total + 0.5);
}

inline constexpr VectorRule kDissolveVectors = {true, Path::kSSE, Path::kMMX};

/// The dissolve by one path. Columns of the job are bytes.
void Dissolve(Path path, const TwoSourceJob& job, double fade);

/// The soft wipe of 32-bit pixels: in double precision on the scalar path, in 16-bit lanes on the SSE and
/// SSE2 paths, which leave the pixels beyond their last block of eight.
void WipePixels(Path path, const KeyedJob& job, double threshold, double gain);

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_BLENDPATHS_H
