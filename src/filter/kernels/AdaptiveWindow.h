#ifndef TESSELU_SRC_FILTER_KERNELS_ADAPTIVEWINDOW_H
#define TESSELU_SRC_FILTER_KERNELS_ADAPTIVEWINDOW_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "filter/kernels/AdaptiveFilter.h"

namespace Zan {

/// A side of a window: which rows or columns of the picture lie in it, and how many positions lie before the
/// first and beyond the last.
struct WindowSide {
    WindowSide(std::size_t centre, std::size_t length, std::size_t size)
        : before(length / 2 - std::min(length / 2, centre)),
          first(centre - std::min(length / 2, centre)),
          last(centre + std::min(length / 2, size - 1 - centre)),
          beyond(length / 2 - (last - centre)) {}

    std::size_t before, first, last, beyond;

    /// How often a row or column counts where those of the edge are repeated.
    std::size_t Times(std::size_t i) const {
        return 1 + (i == first ? before : 0) + (i == last ? beyond : 0);
    }
};

/// The windows of packed 4:2:2: positions outside are those of the nearest edge.
struct PairWindow {
    static constexpr std::size_t kChannels = 3;

    /// A channel's sample of pixel x.
    static std::size_t Offset(std::size_t channel, std::size_t x) {
        return channel == 1 ? 2 * x + 1 : x / 2 * 4 + channel;
    }
    static std::size_t Times(const WindowSide& side, std::size_t i) { return side.Times(i); }
    static std::uint64_t Outside(std::uint64_t) { return 0; }
};

/// The windows of 32-bit pixels: positions outside count as 0.
struct PixelWindow {
    static constexpr std::size_t kChannels = 3;

    static std::size_t Offset(std::size_t channel, std::size_t x) { return 4 * x + channel; }
    static std::size_t Times(const WindowSide&, std::size_t) { return 1; }
    static std::uint64_t Outside(std::uint64_t positions) { return positions; }
};

/// The samples of one channel around one pixel, each with how often it counts. Time goes by the size of the
/// picture, not that of the window.
template <class Window, class Visit>
void ForEachSample(const AdaptiveJob& job, std::size_t channel, std::size_t x, std::size_t y, Visit&& visit) {
    const WindowSide columns(x, job.windowWidth, job.width), rows(y, job.windowHeight, job.height);
    std::uint64_t visited = 0;
    for (std::size_t frame = 0; frame < job.windowFrames; ++frame) {
        for (std::size_t j = rows.first; j <= rows.last; ++j) {
            const std::uint8_t* const row = job.Row(frame, j);
            const std::uint64_t rowTimes = Window::Times(rows, j);
            for (std::size_t i = columns.first; i <= columns.last; ++i) {
                const std::uint64_t times = rowTimes * Window::Times(columns, i);
                visit(row[Window::Offset(channel, i)], times);
                visited += times;
            }
        }
    }
    visit(std::uint8_t{0}, Window::Outside(job.WindowSamples() - visited));
}

struct SampleStatistics {
    std::uint64_t differences;
    std::uint8_t mean, centre;
};

template <class Window, class Real>
SampleStatistics StatisticsOf(const AdaptiveJob& job, const AdaptiveFormula<Real>& formula,
                              std::size_t channel, std::size_t x, std::size_t y) {
    SampleStatistics made{};
    std::uint64_t sum = 0;
    ForEachSample<Window>(job, channel, x, y,
                          [&](std::uint8_t sample, std::uint64_t times) { sum += times * sample; });
    made.mean = formula.Mean(sum);
    ForEachSample<Window>(job, channel, x, y, [&](std::uint8_t sample, std::uint64_t times) {
        made.differences +=
            times * static_cast<std::uint64_t>(sample < made.mean ? made.mean - sample : sample - made.mean);
    });
    made.centre = job.Row(job.windowFrames / 2, y)[Window::Offset(channel, x)];
    return made;
}

/// The three results of one pixel.
template <class Window, class Real>
void AdaptPixel(const AdaptiveJob& job, const AdaptiveFormula<Real>& formula, std::size_t x, std::size_t y,
                std::uint8_t (&results)[3]) {
    SampleStatistics of[3];
    Real fractions[3];
    for (std::size_t c = 0; c < 3; ++c) {
        of[c] = StatisticsOf<Window>(job, formula, c, x, y);
        fractions[c] = formula.Fraction(c, formula.Deviation(of[c].differences));
    }
    if (formula.given.combine != Combine::kNot) {
        const Real combined = formula.Combined(fractions);
        for (Real& fraction : fractions) {
            fraction = combined;
        }
    }
    for (std::size_t c = 0; c < 3; ++c) {
        results[c] = formula.Result(c, fractions[c], of[c].mean, of[c].centre);
    }
}

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_KERNELS_ADAPTIVEWINDOW_H
