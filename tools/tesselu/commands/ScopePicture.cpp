#include "commands/ScopePicture.h"

#include <algorithm>
#include <cmath>

#include "media/DigitFont.h"

namespace tool {
namespace {

constexpr unsigned kLevels = 256;
constexpr unsigned kScale[] = {0, 64, 128, 192, 255};

constexpr Rgb kGround = {24, 24, 24}, kPanel = {0, 0, 0}, kLine = {64, 64, 64};
constexpr Rgb kLimit = {255, 176, 0}, kIllegal = {255, 40, 40};

constexpr unsigned kMargin = 8;
constexpr unsigned kTextHeight = 9;  ///< of the font
constexpr unsigned kScaleWidth = 22;

void Fill(Raster& picture, unsigned left, unsigned top, unsigned width, unsigned height, Rgb colour) {
    for (unsigned y = top; y < top + height; ++y) {
        for (unsigned x = left; x < left + width; ++x) {
            std::copy(colour.begin(), colour.end(), picture.At(x, y));
        }
    }
}

/// The first and the last legal level.
std::array<unsigned, 2> LimitsOf(const Trace& trace) {
    return {trace.low, trace.high};
}

Counts Sum(const Trace& trace) {
    Counts sum{};
    for (const Counts& column : trace.columns) {
        for (unsigned level = 0; level < kLevels; ++level) {
            sum[level] += column[level];
        }
    }
    return sum;
}

bool IsLegal(const Trace& trace, unsigned level) {
    return level >= trace.low && level <= trace.high;
}

/// Numbers of a scale keep clear of those of the limits.
bool IsNearLimit(const Trace& trace, unsigned level, unsigned distance) {
    for (const unsigned limit : LimitsOf(trace)) {
        if (level != limit && std::max(level, limit) - std::min(level, limit) < distance) {
            return true;
        }
    }
    return false;
}

// ---- histograms ----

constexpr unsigned kBar = 2, kBarHeight = 120;

void DrawHistogram(Raster& picture, const Trace& trace, unsigned left, unsigned top) {
    const unsigned width = kLevels * kBar, bottom = top + kBarHeight;
    Fill(picture, left, top, width, kBarHeight, kPanel);
    for (const unsigned level : kScale) {
        Fill(picture, left + level * kBar, top, 1, kBarHeight, kLine);
    }
    const Counts counts = Sum(trace);
    const std::uint32_t most = *std::max_element(counts.begin(), counts.end());
    for (unsigned level = 0; level < kLevels; ++level) {
        if (counts[level] == 0) {
            continue;
        }
        const double part = std::sqrt(static_cast<double>(counts[level]) / most);
        const auto height = static_cast<unsigned>(std::max(1L, std::lround(part * kBarHeight)));
        Fill(picture, left + level * kBar, bottom - height, kBar, height,
             IsLegal(trace, level) ? trace.colour : kIllegal);
    }
    const auto number = [&](unsigned level) {
        const unsigned wide = WidthOfText(std::to_string(level), 1);
        const unsigned middle = left + level * kBar;
        DrawNumber(picture, level, std::min(middle - std::min(middle, wide / 2), left + width - wide),
                   bottom + 2, 1);
    };
    for (const unsigned level : kScale) {
        if (!IsNearLimit(trace, level, 16)) {
            number(level);
        }
    }
    for (const unsigned limit : LimitsOf(trace)) {
        // Legal levels lie between the two lines.
        const unsigned x = left + limit * kBar + (limit == trace.high ? kBar - 1 : 0);
        Fill(picture, x, top, 1, kBarHeight, kLimit);
        number(limit);
    }
    DrawText(picture, trace.name, left + 4, top + 4, 2);
}

// ---- waveforms ----

constexpr unsigned kMostColumns = 480;

/// What a level of a column is drawn in, which holds so many of the column's pixels.
Rgb Glow(Rgb colour, double part) {
    constexpr double kLeast = 0.18, kGain = 4;
    const double light = std::min(1.0, kLeast + kGain * std::sqrt(part));
    Rgb glow{};
    for (std::size_t i = 0; i < glow.size(); ++i) {
        glow[i] = static_cast<std::uint8_t>(std::lround(colour[i] * light));
    }
    return glow;
}

void DrawWaveform(Raster& picture, const Trace& trace, unsigned columns, unsigned left, unsigned top) {
    const auto lineOf = [top](unsigned level) { return top + kLevels - 1 - level; };
    Fill(picture, left, top, columns, kLevels, kPanel);
    for (const unsigned level : kScale) {
        Fill(picture, left, lineOf(level), columns, 1, kLine);
    }
    for (const unsigned limit : LimitsOf(trace)) {
        Fill(picture, left, lineOf(limit), columns, 1, kLimit);
    }
    const std::size_t all = trace.columns.size();
    for (unsigned x = 0; x < columns; ++x) {
        Counts together{};
        std::uint64_t pixels = 0;
        for (std::size_t i = x * all / columns; i < (x + 1) * all / columns; ++i) {
            for (unsigned level = 0; level < kLevels; ++level) {
                together[level] += trace.columns[i][level];
                pixels += trace.columns[i][level];
            }
        }
        for (unsigned level = 0; level < kLevels; ++level) {
            if (together[level] != 0) {
                const double part = static_cast<double>(together[level]) / static_cast<double>(pixels);
                const Rgb glow = Glow(IsLegal(trace, level) ? trace.colour : kIllegal, part);
                std::copy(glow.begin(), glow.end(), picture.At(left + x, lineOf(level)));
            }
        }
    }
    const auto number = [&](unsigned level) {
        const unsigned y = std::clamp(lineOf(level) - kTextHeight / 2, top, top + kLevels - kTextHeight);
        DrawNumber(picture, level, left - 2 - WidthOfText(std::to_string(level), 1), y, 1);
    };
    for (const unsigned level : kScale) {
        if (!IsNearLimit(trace, level, kTextHeight + 1)) {
            number(level);
        }
    }
    for (const unsigned limit : LimitsOf(trace)) {
        number(limit);
    }
    DrawText(picture, trace.name, left + 4, top + 4, 2);
}

}  // namespace

Raster DrawHistograms(const std::vector<Trace>& traces) {
    constexpr unsigned kStep = kBarHeight + 2 + kTextHeight + kMargin;
    Raster picture(kLevels * kBar + 2 * kMargin, static_cast<unsigned>(traces.size()) * kStep + kMargin,
                   kGround);
    unsigned top = kMargin;
    for (const Trace& trace : traces) {
        DrawHistogram(picture, trace, kMargin, top);
        top += kStep;
    }
    return picture;
}

Raster DrawWaveforms(const std::vector<Trace>& traces) {
    const auto columns = static_cast<unsigned>(std::min<std::size_t>(traces[0].columns.size(), kMostColumns));
    const unsigned step = columns + kScaleWidth + kMargin;
    Raster picture(static_cast<unsigned>(traces.size()) * step + kMargin, kLevels + 2 * kMargin, kGround);
    unsigned left = kMargin + kScaleWidth;
    for (const Trace& trace : traces) {
        DrawWaveform(picture, trace, columns, left, kMargin);
        left += step;
    }
    return picture;
}

}  // namespace tool
