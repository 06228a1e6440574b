#ifndef TESSELU_SRC_FILTER_KERNELS_TEMPORALFILTER_H
#define TESSELU_SRC_FILTER_KERNELS_TEMPORALFILTER_H

#include "filter/kernels/TemporalFormula.h"
#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

/// Columns are words of two pixels; the sources are the previous, the current and the next frame.
using TemporalJob = simd::Job<3, 1>;

extern const simd::Kernel<void(const TemporalJob& job, const TemporalFormula& formula)> kMixFrames;

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_KERNELS_TEMPORALFILTER_H
