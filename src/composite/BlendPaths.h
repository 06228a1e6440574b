#ifndef TESSELU_SRC_COMPOSITE_BLENDPATHS_H
#define TESSELU_SRC_COMPOSITE_BLENDPATHS_H

#include <TesselU/foundation/Types.h>

#include "composite/kernels/Blend.h"
#include "foundation/PathSelection.h"
#include "simd/Rows.h"

namespace Zan {

/// What becomes of a pitch that is no whole number of 32-bit words.
enum class PitchUnit : unsigned char {
    kBytes,      ///< used as it stands
    kWords,      ///< shortened to whole words, toward zero
    kWordsBelow  ///< the two low bits cleared
};

constexpr std::ptrdiff_t InUnit(Long32 pitch, PitchUnit unit) noexcept {
    switch (unit) {
        case PitchUnit::kWords:
            return std::ptrdiff_t{pitch / 4} * 4;
        case PitchUnit::kWordsBelow:
            return std::ptrdiff_t{pitch} & ~std::ptrdiff_t{3};
        case PitchUnit::kBytes:
            break;
    }
    return pitch;
}

/// One code path of a blend: whole blocks by `body`, the columns beyond them by `tail`. Without a tail they
/// stay as they were.
template <class Kernel>
struct BlendPath {
    std::size_t block;  ///< in units of the kernels
    const Kernel* body;
    const Kernel* tail;
    PitchUnit pitch;  ///< of the image planes
};

using TwoSourcePath = BlendPath<TwoSourceKernel>;
using KeyedPath = BlendPath<KeyedKernel>;

/// Bytes that a job moves.
template <class Layout, std::size_t Sources>
std::size_t BytesMoved(const simd::RowJob<Sources>& job) noexcept {
    std::size_t unit = Layout::kDestinationBytes;
    for (std::size_t i = 0; i < Sources; ++i)
        unit += job.source[i].row != nullptr ? Layout::kSourceBytes[i] : 0;
    return unit * job.units * job.rows;
}

/// Runs a job whose kernels take units of `Layout`.
template <class Layout, class Kernel, std::size_t Sources>
void Run(const BlendPath<Kernel>& path, simd::RowJob<Sources> job, const BlendSettings& settings) {
    // Without rows there may be no planes to step in.
    if (job.rows == 0)
        return;
    job.stream = simd::ExceedsCache(BytesMoved<Layout>(job));
    const std::size_t whole = job.units - job.units % path.block;
    if (path.tail != nullptr && whole != job.units)
        (*path.tail)(job.template From<Layout>(whole), settings);
    job.units = whole;
    if (whole == 0)
        return;
    job.template JoinRows<Layout>();
    (*path.body)(job, settings);
}

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_BLENDPATHS_H
