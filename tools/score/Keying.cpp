#include "Keying.h"

#include <TesselU/image/ImageView.h>
#include <TesselU/key/ChromaKeyerYUV.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "Errors.h"

namespace score {
namespace {

double Between(double low, double high, double share) {
    return low + (high - low) * share;
}

/// The digits of `index` in base `base`, behind the point in reverse.
double Halton(unsigned index, unsigned base) {
    double made = 0.0, digit = 1.0;
    for (; index > 0; index /= base) {
        digit /= base;
        made += digit * (index % base);
    }
    return made;
}

}  // namespace

Errors& Errors::operator+=(const Errors& other) {
    alpha += other.alpha;
    partial += other.partial;
    composite += other.composite;
    return *this;
}

Errors Errors::operator/(double count) const {
    return {alpha / count, partial / count, composite / count};
}

Errors Compare(const Frame& frame, const Made& made) {
    double alpha = 0.0, partial = 0.0, composite = 0.0;
    std::size_t partials = 0;
    const std::size_t pixels = frame.alpha.size();
    for (std::size_t row = 0; row < pixels; row += frame.width) {
        float ofAlpha = 0.0F, ofPartial = 0.0F, ofColours = 0.0F;
        for (std::size_t i = row; i < row + frame.width; ++i) {
            const float error = std::fabs(frame.alpha[i] - made.alpha[i]);
            ofAlpha += error;
            const bool isPartial = frame.alpha[i] > 2.5F && frame.alpha[i] < 252.5F;
            ofPartial += isPartial ? error : 0.0F;
            partials += isPartial ? 1 : 0;
            for (std::size_t k = 0; k < 3; ++k) {
                ofColours += std::fabs(frame.composite[k][i] - made.composite[k][i]);
            }
        }
        alpha += ofAlpha;
        partial += ofPartial;
        composite += ofColours;
    }
    const auto count = static_cast<double>(pixels);
    return {alpha / count, partials == 0 ? 0.0 : partial / static_cast<double>(partials),
            composite / (3.0 * count)};
}

Made KeyByOurs(const Frame& frame, Sampling sampling, const tool::BackingEstimate& settings,
               double saturationMinimum) {
    const bool isPairs = sampling == Sampling::kPairs;
    const tool::PictureFormat format = {
        .width = frame.width, .height = frame.height, .hasFullChroma = !isPairs};
    const tool::ImagePtr result = tool::NewPicture(format), key = tool::NewKey(format);
    Zan::ChromaKeyerYUV keyer;
    settings.ApplyTo(keyer);
    keyer.SetSaturationMinimum(saturationMinimum);
    keyer.SetInvertKeyAfterPostProcessing(true);
    Zan::ImageView foreground((isPairs ? frame.pairs : frame.pixels).get()), made(result.get()),
        background((isPairs ? frame.backgroundPairs : frame.backgroundPixels).get()), matte(key.get());
    if (keyer.Do(foreground, &background, made, &matte, Zan::kBestAvailable) != 0) {
        throw tool::Failure("the keyer refuses a scene");
    }
    Made all = {Samples(frame.alpha.size()), ToColours(*result)};
    for (unsigned y = 0; y < frame.height; ++y) {
        std::copy_n(tool::Line(*key, y), frame.width, all.alpha.begin() + std::ptrdiff_t{y} * frame.width);
    }
    return all;
}

tool::BackingEstimate Automatic(const Frame& frame, Sampling sampling) {
    const Zan::Image& picture = sampling == Sampling::kPairs ? *frame.pairs : *frame.pixels;
    const auto made = tool::EstimateBacking(tool::HeaviestPeak(tool::CountBorder(picture)));
    if (!made) {
        throw tool::Failure("no backing is found in a scene");
    }
    return *made;
}

Contestant Ours(const Scene& scene, Sampling sampling) {
    const PlateChroma plate = ChromaOf(scene.plate);
    const double b = (plate.cb - 128.0) / 128.0, r = (plate.cr - 128.0) / 128.0;
    const double hue = std::atan2(r, b) * 180.0 / std::numbers::pi, key = std::hypot(b, r);
    Contestant made;
    // Where the ranges below come to 80 degrees, 0.85, 0.2, 1 and no turns: about what is found by itself.
    made.start = {0.34, 0.5, 0.25, 0.4, 0.5, 0.5};
    made.score = [=](const Frame& frame, const std::vector<double>& at) {
        const auto degrees = [](double angle) { return angle < 0.0 ? angle + 360.0 : angle; };
        const double white = Between(0.6, 1.1, at[1]);
        const double black = std::min(Between(0.0, 0.8, at[2]), white - 0.05);
        tool::BackingEstimate settings;
        settings.acceptanceAngle = Between(30.0, 178.0, at[0]);
        settings.keyOffset = -black * key;
        settings.keyGain = 1.0 / ((white - black) * key);
        settings.spillGain = Between(0.6, 1.6, at[3]);
        settings.hueAngle = degrees(hue + Between(-15.0, 15.0, at[4]));
        settings.spillAngle = degrees(hue + Between(-25.0, 25.0, at[5]));
        return Compare(frame, KeyByOurs(frame, sampling, settings));
    };
    return made;
}

Contestant Filters(const Scene& scene, Sampling sampling) {
    Contestant made;
    // 0.034, 0.09, 0.6, 0.55, -1.4, 0.2: about the middle of what searches of these scenes end with.
    made.start = {0.16, 0.26, 0.6, 0.55, 0.1, 0.7};
    made.score = [plate = scene.plate, sampling](const Frame& frame, const std::vector<double>& at) {
        const FilterSettings settings = {.similarity = Between(0.01, 0.16, at[0]),
                                         .blend = Between(0.0, 0.35, at[1]),
                                         .mix = at[2],
                                         .expand = at[3],
                                         .scale = Between(-1.5, -0.5, at[4]),
                                         .brightness = Between(-0.5, 0.5, at[5])};
        return Compare(frame, KeyByFilters(frame, sampling, plate, settings));
    };
    return made;
}

std::vector<double> Search(const Contestant& contestant, const Frame& frame, unsigned trials) {
    static constexpr unsigned kPrimes[] = {2, 3, 5, 7, 11, 13};
    std::mt19937 random(1);
    const auto uniform = [&random] { return static_cast<double>(random()) * 0x1p-32; };
    std::vector<double> best = contestant.start;
    double least = contestant.score(frame, best).Sum();
    for (unsigned trial = 1; trial < trials; ++trial) {
        std::vector<double> at = best;
        const double share = static_cast<double>(trial) / trials;
        for (std::size_t i = 0; i < at.size(); ++i) {
            // Three uniform numbers are about normal.
            const double a = uniform(), b = uniform(), c = uniform();
            at[i] = share < 0.4 ? Halton(trial, kPrimes[i])
                                : std::clamp(best[i] + (a + b + c - 1.5) * 0.5 * (1.1 - share), 0.0, 1.0);
        }
        const double sum = contestant.score(frame, at).Sum();
        if (sum < least) {
            least = sum;
            best = at;
        }
    }
    return best;
}

}  // namespace score
