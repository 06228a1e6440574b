// The adaptive filter over windows of space and time.

#include "filter/kernels/AdaptiveFilter.h"

#include <hwy/cache_control.h>

#include <cmath>
#include <cstring>

#include "filter/kernels/AdaptiveWindow.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/AdaptiveFilter.cpp"
#include "simd/Foreach.h"
// After it: this is compiled once per target.
#include "filter/kernels/AdaptiveStep-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;

/// Every pixel by its formula.
template <class Real>
void PairsByFormula(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    const AdaptiveFormula<Real> formula(settings, job.WindowSamples());
    for (std::size_t y = 0; y < job.height; ++y) {
        std::uint8_t* const to = job.destination.Row(y);
        for (std::size_t x = 0; x < job.width; ++x) {
            std::uint8_t made[3];
            AdaptPixel<PairWindow>(job, formula, x, y, made);
            if (x % 2 == 0) {
                to[2 * x] = made[0];
                to[2 * x + 1] = made[1];
                to[2 * x + 2] = made[2];
                to[2 * x + 3] = made[1];
            } else {
                to[2 * x + 1] = made[1];
            }
        }
    }
}

void PixelsByFormula(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    const AdaptiveFormula<double> formula(settings, job.WindowSamples());
    for (std::size_t y = 0; y < job.height; ++y) {
        std::uint8_t* const to = job.destination.Row(y);
        for (std::size_t x = 0; x < job.width; ++x) {
            std::uint8_t made[3];
            AdaptPixel<PixelWindow>(job, formula, x, y, made);
            for (std::size_t c = 0; c < 3; ++c) {
                to[4 * x + c] = made[c];
            }
            to[4 * x + 3] = job.Row(job.windowFrames / 2, y)[4 * x + 3];
        }
    }
}

#if HWY_TARGET != HWY_SCALAR

// ---- Rows -------------------------------------------------------------------------------------------------

/// The rows of a window around row y: of 4:2:2 the nearest ones, of 32-bit pixels those that there are.
template <Layout kLayout>
void TakeRows(const AdaptiveJob& job, std::size_t y, WindowRows& taken) {
    const WindowSide side(y, job.windowHeight, job.height);
    taken.count = 0;
    taken.missing = 0;
    for (std::size_t frame = 0; frame < job.windowFrames; ++frame) {
        if (frame == job.windowFrames / 2) {
            taken.centre = taken.count + (y - side.first);
        }
        if constexpr (kLayout == Layout::kPairs) {
            taken.centre += frame == job.windowFrames / 2 ? side.before : 0;
            for (std::size_t i = 0; i < side.before; ++i) {
                taken.rows[taken.count++] = job.Row(frame, side.first);
            }
        } else {
            taken.missing += side.before + side.beyond;
        }
        for (std::size_t j = side.first; j <= side.last; ++j) {
            taken.rows[taken.count++] = job.Row(frame, j);
        }
        if constexpr (kLayout == Layout::kPairs) {
            for (std::size_t i = 0; i < side.beyond; ++i) {
                taken.rows[taken.count++] = job.Row(frame, side.last);
            }
        }
    }
}

/// Copies of the columns where rows end, with what stands for those outside.
template <Layout kLayout>
class EdgeRows {
public:
    /// `bytes` of each row from byte `x`, and `reach` on either side.
    HWY_ATTR void Take(const AdaptiveJob& job, const WindowRows& from, std::size_t x, std::size_t reach,
                       WindowRows& taken) {
        const std::size_t words = kLayout == Layout::kPairs ? (job.width + 1) / 2 : job.width;
        const std::size_t length = kBytesAtOnce + 2 * reach, before = reach - std::min(reach, x);
        const std::size_t first = (x - (reach - before)) / 4;
        const std::size_t inside = std::min(words - first, (length - before) / 4);
        taken.count = from.count;
        taken.centre = from.centre;
        taken.missing = from.missing;
        for (std::size_t i = 0; i < from.count; ++i) {
            std::uint8_t* const to = memory + i * length;
            Copy(to + before, from.rows[i] + 4 * first, 4 * inside);
            if constexpr (kLayout == Layout::kPairs) {
                if (job.width % 2 == 1 && first + inside == words) {
                    std::uint8_t* const last = to + before + 4 * (inside - 1);
                    last[3] = last[1];
                }
                Repeat(to, to + before, to[before + 1], to + before);
                std::uint8_t* const end = to + before + 4 * inside;
                Repeat(end, to + length, end[-1], end - 4);
            } else {
                std::memset(to, 0, before);
                std::memset(to + before + 4 * inside, 0, length - before - 4 * inside);
            }
            taken.rows[i] = to;
        }
    }

private:
    HWY_INLINE HWY_ATTR static void Copy(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes) {
        if (bytes < kBytesAtOnce || bytes > 2 * kBytesAtOnce) {
            std::memcpy(to, from, bytes);
            return;
        }
        const DU8 d;
        const std::size_t last = bytes - kBytesAtOnce;
        const VU8 start = hn::LoadU(d, from), end = hn::LoadU(d, from + last);
        hn::StoreU(start, d, to);
        hn::StoreU(end, d, to + last);
    }

    /// Words with the chroma of one and one luma.
    static void Repeat(std::uint8_t* to, const std::uint8_t* end, std::uint8_t luma,
                       const std::uint8_t* word) {
        const std::uint8_t made[4] = {word[0], luma, word[2], luma};
        for (; to < end; to += 4) {
            std::memcpy(to, made, 4);
        }
    }

    // Windows hold at most kMostSamples: few rows if they are wide.
    std::uint8_t memory[kMostSamples * (kBytesAtOnce + 12)];
};

/// A single vector, apart from those that are made in turn: at an edge, or what is left before it.
struct Patch {
    const WindowRows* rows;
    std::size_t x;  ///< in them
    std::uint8_t* to;
    ColumnSums sums;
    WindowStatistics statistics;
};

template <Layout kLayout, class Real, bool kCombines, std::size_t Width, std::size_t Rows>
HWY_NOINLINE HWY_ATTR void RunSteps(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    using Step = AdaptiveStep<kLayout, Real, kCombines, Width, Rows>;
    const Step step(job, settings);
    const std::size_t reach = Step::Reach(job.windowWidth);
    constexpr bool kArePairs = kLayout == Layout::kPairs;
    const std::size_t bytes = 4 * (kArePairs ? (job.width + 1) / 2 : job.width);
    const bool isOdd = kArePairs && job.width % 2 == 1;
    const std::size_t whole = bytes - (isOdd ? 4 : 0);  // without a luma that does not count
    const bool isLong = whole >= kBytesAtOnce + 2 * reach;
    // Made in turn: bytes `inner` to `end`; beyond the latter windows reach over the edge.
    const std::size_t end = isLong ? whole - reach : 0;
    std::size_t inner = (reach + kBytesAtOnce - 1) / kBytesAtOnce * kBytesAtOnce;
    inner = std::min(inner, end - std::min(end, kBytesAtOnce));
    const std::size_t innerEnd = end - (end - inner) % kBytesAtOnce;

    constexpr std::size_t kMostPatches = 3;
    WindowRows rows, edges[kMostPatches];
    EdgeRows<kLayout> staged[kMostPatches];
    Patch patches[kMostPatches];
    std::size_t count = 0;
    ColumnSums sums;
    WindowStatistics statistics[ColumnSums::kBytes / kBytesAtOnce];
    // All of them together, and late, so that no step waits for the one before it.
    const auto finish = [&]() HWY_ATTR {
        for (std::size_t i = 0; i < count; ++i) {
            Patch& patch = patches[i];
            step.SumColumns(*patch.rows, patch.x - reach, kBytesAtOnce + 2 * reach, patch.sums);
        }
        for (std::size_t i = 0; i < count; ++i) {
            Patch& patch = patches[i];
            step.Measure(*patch.rows, patch.x, patch.sums, reach, patch.statistics);
        }
        for (std::size_t i = 0; i < count; ++i) {
            const Patch& patch = patches[i];
            step.Make(patch.statistics, patch.rows->rows[patch.rows->centre] + patch.x, patch.to);
        }
        count = 0;
    };
    const auto add = [&](const WindowRows& from, std::size_t x, std::uint8_t* to) HWY_ATTR {
        patches[count].rows = &from;
        patches[count].x = x;
        patches[count].to = to;
        if (++count == kMostPatches) {
            finish();
        }
    };
    const auto addEdge = [&](std::size_t x, std::uint8_t* to) HWY_ATTR {
        staged[count].Take(job, rows, x, reach, edges[count]);
        add(edges[count], reach, to);
    };
    for (std::size_t y = 0; y < job.height; ++y) {
        TakeRows<kLayout>(job, y, rows);
        std::uint8_t* const to = job.destination.Row(y);
        const std::size_t nextRow = y + job.windowHeight / 2 + 1;
        if (isLong) {
            // Nothing that is read is written: bytes may be made twice.
            for (std::size_t x = 0; x < inner; x += kBytesAtOnce) {
                addEdge(x, to + x);
            }
            for (std::size_t x = end; x < bytes; x += kBytesAtOnce) {
                const std::size_t at = std::min(x, bytes - kBytesAtOnce);
                addEdge(at, to + at);
            }
            for (std::size_t x = inner; x < innerEnd;) {
                const std::size_t stop = std::min(x + ColumnSums::kBytes, innerEnd);
                const std::size_t first = x - reach;
                if (job.windowHeight != 1 && nextRow < job.height) {
                    // The next row reads it first; rows that are read once come by themselves.
                    for (std::size_t frame = 0; frame < job.windowFrames; ++frame) {
                        const std::uint8_t* const next = job.Row(frame, nextRow);
                        for (std::size_t at = x; at < stop; at += 64) {
                            hwy::Prefetch(next + at);
                        }
                    }
                }
                step.SumColumns(rows, first, stop - x + 2 * reach, sums);
                WindowStatistics* made = statistics;
                for (std::size_t at = x; at < stop; at += kBytesAtOnce) {
                    step.Measure(rows, at, sums, at - first, *made++);
                }
                const WindowStatistics* of = statistics;
                const std::uint8_t* const centres = rows.rows[rows.centre];
                for (; x < stop; x += kBytesAtOnce) {
                    step.Make(*of++, centres + x, to + x);
                }
            }
            if (innerEnd != end) {
                add(rows, end - kBytesAtOnce, to + end - kBytesAtOnce);
            }
            finish();
        } else {
            for (std::size_t x = 0; x < bytes; x += kBytesAtOnce) {
                alignas(64) std::uint8_t made[kBytesAtOnce];
                addEdge(x, made);
                finish();
                std::memcpy(to + x, made, std::min(kBytesAtOnce, bytes - x));
            }
        }
        if (isOdd) {
            to[bytes - 1] = to[bytes - 3];
        }
    }
}

/// Whether vectors can make it: sums fit, and numbers stay far from the limits of their kind.
bool Suits(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    const auto isSmall = [](double x) { return std::fabs(x) <= 1e6; };
    const bool combines = settings.combine != Combine::kNot;
    return job.windowWidth <= kMostSamples && job.windowHeight <= kMostSamples &&
           job.windowFrames <= kMostSamples && job.WindowSamples() <= kMostSamples &&
           isSmall(settings.strength) &&
           (!combines ||
            (isSmall(settings.weights[0]) && isSmall(settings.weights[1]) && isSmall(settings.weights[2])));
}

template <Layout kLayout, class Real>
void RunVectors(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    const std::size_t count = job.windowHeight * job.windowFrames;
    const bool isPlain = kLayout == Layout::kPairs && settings.strength <= 1;
    if (settings.combine != Combine::kNot) {
        job.windowWidth == 1 ? RunSteps<kLayout, Real, true, 1, 0>(job, settings)
                             : RunSteps<kLayout, Real, true, 0, 0>(job, settings);
    } else if (job.windowWidth == 1) {
        isPlain&& count == 9 ? RunSteps<kLayout, Real, false, 1, 9>(job, settings)
                             : RunSteps<kLayout, Real, false, 1, 0>(job, settings);
    } else if (job.windowWidth == 3) {
        isPlain&& count == 3   ? RunSteps<kLayout, Real, false, 3, 3>(job, settings)
        : isPlain&& count == 9 ? RunSteps<kLayout, Real, false, 3, 9>(job, settings)
                               : RunSteps<kLayout, Real, false, 3, 0>(job, settings);
    } else {
        RunSteps<kLayout, Real, false, 0, 0>(job, settings);
    }
}

#else

bool Suits(const AdaptiveJob&, const AdaptiveSettings&) {
    return false;
}
template <Layout, class Real>
void RunVectors(const AdaptiveJob&, const AdaptiveSettings&) {}

#endif  // HWY_TARGET

void RunAdaptPairsInSingle(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    Suits(job, settings) ? RunVectors<Layout::kPairs, float>(job, settings)
                         : PairsByFormula<float>(job, settings);
}

void RunAdaptPairs(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    Suits(job, settings) ? RunVectors<Layout::kPairs, double>(job, settings)
                         : PairsByFormula<double>(job, settings);
}

void RunAdaptPixels(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    Suits(job, settings) ? RunVectors<Layout::kPixels, double>(job, settings)
                         : PixelsByFormula(job, settings);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(AdaptiveKernel, kAdaptPairsInSingle, RunAdaptPairsInSingle);
TESSELU_KERNEL(AdaptiveKernel, kAdaptPairs, RunAdaptPairs);
TESSELU_KERNEL(AdaptiveKernel, kAdaptPixels, RunAdaptPixels);

void DeviationsAround(const AdaptiveJob& job, std::size_t x, std::size_t y, float (&deviations)[3]) noexcept {
    const AdaptiveSettings none{};
    const AdaptiveFormula<float> formula(none, job.WindowSamples());
    for (std::size_t c = 0; c < 3; ++c) {
        deviations[c] = formula.Deviation(StatisticsOf<PairWindow>(job, formula, c, x, y).differences);
    }
}

}  // namespace Zan

#endif  // HWY_ONCE
