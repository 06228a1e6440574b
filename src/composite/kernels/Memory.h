#ifndef TESSELU_SRC_COMPOSITE_KERNELS_MEMORY_H
#define TESSELU_SRC_COMPOSITE_KERNELS_MEMORY_H

#include "composite/kernels/Blend.h"

namespace Zan {

/// A stretch of a row that is or-ed: all of `groupBytes` in groups of 16 bytes, of each of which only the
/// first word counts in the end, then `restBytes` whose every word counts. Both are multiples of 4.
struct OrStretch {
    simd::ReadPlane plane;
    std::size_t groupBytes = 0;
    std::size_t restBytes = 0;
};

/// Or-s the words that count, over `rows` rows of both stretches, into `result`. The second may be empty.
using OrKernel =
    simd::Kernel<void(const OrStretch&, const OrStretch&, std::size_t rows, std::uint32_t& result)>;
extern const OrKernel kOrRows;

/// Writes `pattern` over and over, its low byte first: `bytes` bytes from `to`, in each of `rows` rows.
using FillKernel = simd::Kernel<void(const simd::WritePlane& to, std::size_t bytes, std::size_t rows,
                                     std::uint32_t pattern, bool stream)>;
extern const FillKernel kFillRows;

/// Source A or source B, in bytes.
extern const TwoSourceKernel kOrBytes;

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_KERNELS_MEMORY_H
