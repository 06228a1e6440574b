#include "commands/BackingEstimate.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>

namespace tool {
namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;

/// Less chroma than this, of 1 at full scale, is grey.
constexpr double kLeastSaturation = 0.08;
/// Half the side of the square, in code values, that a peak is looked for with, and what belongs to it: no
/// less of its saturation than this, since uneven light moves chroma along its hue, and hues no further apart
/// than so many times what half of those within `kPeakHues` degrees are, or `kGrain` degrees.
constexpr int kPeakReach = 6;
constexpr double kPeakShare = 0.55, kPeakHues = 15.0, kPeakSpread = 4.0, kGrain = 2.0;

/// Of the hues of a sample this share lies within the wedge's core, where the key falls by `kCoreLoss` at
/// most.
constexpr double kCoreShare = 0.98, kCoreLoss = 0.1;
constexpr double kNarrowest = 80.0, kWidest = 150.0;
/// The part of the keys of a sample that need not become white, and the least share of the mean key that
/// still becomes black: grain and spill of the foreground.
constexpr double kLowKeys = 0.05, kBlackShare = 0.2;
constexpr double kLeastWhite = 0.3;

struct Chroma {
    double b, r;

    Chroma(unsigned cb, unsigned cr) : b((cb - 128.0) / 128.0), r((cr - 128.0) / 128.0) {}
    Chroma(double newB, double newR) : b(newB), r(newR) {}

    double Saturation() const { return std::hypot(b, r); }
    /// 0 to 360 degrees.
    double Hue() const {
        const double angle = std::atan2(r, b) * kDegrees;
        return angle < 0.0 ? angle + 360.0 : angle;
    }
};

double HuesApart(double a, double b) {
    const double difference = std::fabs(a - b);
    return std::min(difference, 360.0 - difference);
}

/// A value of a sample, and how often it occurs.
struct Weighted {
    double value;
    std::uint64_t times;
};

/// The value that `share` of all do not exceed.
double Percentile(std::vector<Weighted> values, double share) {
    std::sort(values.begin(), values.end(),
              [](const Weighted& a, const Weighted& b) { return a.value < b.value; });
    std::uint64_t total = 0, below = 0;
    for (const Weighted& each : values) {
        total += each.times;
    }
    for (const Weighted& each : values) {
        below += each.times;
        if (static_cast<double>(below) >= share * static_cast<double>(total)) {
            return each.value;
        }
    }
    return values.empty() ? 0.0 : values.back().value;
}

double Mean(const std::vector<Weighted>& values) {
    double sum = 0.0, total = 0.0;
    for (const Weighted& each : values) {
        sum += each.value * static_cast<double>(each.times);
        total += static_cast<double>(each.times);
    }
    return sum / total;
}

Chroma MeanChroma(const ChromaCount& of) {
    std::vector<Weighted> b, r;
    of.ForEach([&](unsigned cb, unsigned cr, std::uint32_t times) {
        b.push_back({Chroma(cb, cr).b, times});
        r.push_back({Chroma(cb, cr).r, times});
    });
    return b.empty() ? Chroma(0.0, 0.0) : Chroma(Mean(b), Mean(r));
}

double Rounded(double value, double digits) {
    return std::round(value * digits) / digits;
}

/// Calls `visit(x, y)` for the pixels of a picture that `wanted` says yes to, in 4:2:2 for each pair.
template <class Wanted>
ChromaCount CountWhere(const Zan::Image& picture, const Wanted& wanted) {
    ChromaCount count;
    const unsigned step = picture.GetChannelSampling() == Zan::k4444 ? 1 : 2;
    const auto* const memory = static_cast<const std::uint8_t*>(picture.GetMemoryPointer(0));
    for (unsigned y = 0; y < picture.GetHeight(); ++y) {
        const std::uint8_t* word = memory + std::size_t{picture.GetPitch(0)} * y;
        for (unsigned x = 0; x + step <= picture.GetWidth(); x += step, word += 4) {
            if (wanted(x, y)) {
                count.Add(word[0], word[2]);
            }
        }
    }
    return count;
}

}  // namespace

bool ChromaCount::IsEmpty() const {
    return std::all_of(counts.begin(), counts.end(), [](std::uint32_t times) { return times == 0; });
}

ChromaCount CountBorder(const Zan::Image& picture) {
    const unsigned width = picture.GetWidth(), height = picture.GetHeight();
    const unsigned depth = std::max(height / 30, 2U);
    return CountWhere(picture, [&](unsigned x, unsigned y) {
        return x < depth || y < depth || x + depth >= width || y + depth >= height;
    });
}

ChromaCount CountDisc(const Zan::Image& picture, unsigned x, unsigned y, unsigned radius) {
    const unsigned step = picture.GetChannelSampling() == Zan::k4444 ? 1 : 2;
    const std::int64_t centreX = x / step * step, centreY = y, reach = radius;
    return CountWhere(picture, [&](unsigned atX, unsigned atY) {
        const std::int64_t dx = atX - centreX, dy = atY - centreY;
        return dx * dx + dy * dy <= reach * reach;
    });
}

ChromaCount HeaviestPeak(const ChromaCount& of) {
    // Sums over squares, from sums over rectangles that begin at 0.
    constexpr std::size_t kSide = 257;
    std::vector<std::uint64_t> sums(kSide * kSide);
    for (unsigned cb = 0; cb < 256; ++cb) {
        for (unsigned cr = 0; cr < 256; ++cr) {
            sums[(cb + 1) * kSide + cr + 1] = sums[cb * kSide + cr + 1] + sums[(cb + 1) * kSide + cr] -
                                              sums[cb * kSide + cr] + of.Of(cb, cr);
        }
    }
    std::uint64_t heaviest = 0;
    Chroma peak(0.0, 0.0);
    for (int cb = 0; cb < 256; ++cb) {
        for (int cr = 0; cr < 256; ++cr) {
            const Chroma here(static_cast<unsigned>(cb), static_cast<unsigned>(cr));
            const auto from = [](int at) { return static_cast<std::size_t>(std::max(at - kPeakReach, 0)); };
            const auto to = [](int at) {
                return static_cast<std::size_t>(std::min(at + kPeakReach, 255) + 1);
            };
            const std::uint64_t weight = sums[to(cb) * kSide + to(cr)] - sums[from(cb) * kSide + to(cr)] -
                                         sums[to(cb) * kSide + from(cr)] + sums[from(cb) * kSide + from(cr)];
            if (weight > heaviest && here.Saturation() >= kLeastSaturation) {
                heaviest = weight;
                peak = here;
            }
        }
    }
    ChromaCount found;
    if (heaviest == 0) {
        return found;
    }
    const auto apart = [&](unsigned cb, unsigned cr) {
        const Chroma here(cb, cr);
        return here.Saturation() >= kPeakShare * peak.Saturation() ? HuesApart(here.Hue(), peak.Hue())
                                                                   : 360.0;
    };
    // Foreground of about the same hue is spread wide; the backing is not.
    std::vector<Weighted> near;
    of.ForEach([&](unsigned cb, unsigned cr, std::uint32_t times) {
        if (apart(cb, cr) <= kPeakHues) {
            near.push_back({apart(cb, cr), times});
        }
    });
    const double reach = std::min(kPeakHues, std::max(kPeakSpread * Percentile(near, 0.5), kGrain));
    of.ForEach([&](unsigned cb, unsigned cr, std::uint32_t times) {
        if (apart(cb, cr) <= reach) {
            found.Add(cb, cr, times);
        }
    });
    return found;
}

void BackingEstimate::ApplyTo(Zan::ChromaKeyerYUV& keyer) const {
    keyer.SetHueAngle(hueAngle);
    keyer.SetAcceptanceAngle(acceptanceAngle);
    keyer.SetSpillSuppressionAngle(spillAngle);
    keyer.SetSpillSuppressionGain(spillGain);
    keyer.SetKeyOffset(keyOffset);
    keyer.SetKeyGain(keyGain);
}

std::optional<BackingEstimate> EstimateBacking(const ChromaCount& sample, const BackingWishes& wishes) {
    const Chroma mean = MeanChroma(sample);
    if (mean.Saturation() < kLeastSaturation) {
        return std::nullopt;
    }
    BackingEstimate made;
    made.hueAngle = made.spillAngle = Rounded(mean.Hue(), 10.0);

    std::vector<Weighted> apart;
    sample.ForEach([&](unsigned cb, unsigned cr, std::uint32_t times) {
        apart.push_back({HuesApart(Chroma(cb, cr).Hue(), made.hueAngle), times});
    });
    const double core = std::min(Percentile(apart, kCoreShare), 60.0) / kDegrees;
    const double half = std::atan(std::tan(core) / kCoreLoss) * kDegrees;
    made.acceptanceAngle =
        wishes.acceptance.value_or(Rounded(std::clamp(2.0 * half, kNarrowest, kWidest), 10.0));

    // The key of the backing as the keyer makes it.
    const double c = std::cos(made.hueAngle / kDegrees), s = std::sin(made.hueAngle / kDegrees);
    const double slope = std::clamp(1.0 / std::tan(made.acceptanceAngle / 2.0 / kDegrees), 0.0, 100.0);
    std::vector<Weighted> keys;
    sample.ForEach([&](unsigned cb, unsigned cr, std::uint32_t times) {
        const Chroma here(cb, cr);
        const double along = c * here.b + s * here.r, across = c * here.r - s * here.b;
        keys.push_back({std::clamp(along - std::fabs(across) * slope, 0.0, 1.0), times});
    });
    const double key = std::max(Mean(keys), 1.0 / 256.0);
    const double white = wishes.white.value_or(std::max(Percentile(keys, kLowKeys) / key, kLeastWhite));
    const double black = std::min(wishes.black.value_or(kBlackShare), white - 1.0 / 256.0);
    made.keyOffset = Rounded(-black * key, 10000.0);
    made.keyGain = Rounded(1.0 / ((white - black) * key), 1000.0);
    made.spillGain = Rounded(mean.Saturation() / key, 1000.0);
    return made;
}

}  // namespace tool
