#include "commands/NoiseEstimate.h"

#include <TesselU/image/FieldHelpers.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <numbers>
#include <vector>

#include "media/Picture.h"

namespace tool {
namespace {

/// Samples of one kind in a plane of their own.
struct Samples {
    Samples(std::size_t newWidth, std::size_t newHeight)
        : width(newWidth), height(newHeight), values(width * height) {}

    int At(std::size_t x, std::size_t y) const { return values[y * width + x]; }

    std::size_t width, height;
    std::vector<std::uint8_t> values;
};

Samples Collect(const Zan::ImageView& view, std::size_t first, std::size_t step) {
    const Zan::Image& image = *view.GetImage();
    const Zan::WhichFieldEnum field = view.GetFieldOfInterest();
    const bool isFrame = field == Zan::kFrame;
    const unsigned top = isFrame || Zan::GetSpatialField(&image, field) == Zan::kUpperField ? 0 : 1;
    const unsigned lines = isFrame ? 1 : 2;
    Samples samples(2 * std::size_t{image.GetWidth()} / step, image.GetHeight() / lines);
    for (std::size_t y = 0; y < samples.height; ++y) {
        const std::uint8_t* line = Line(image, top + static_cast<unsigned>(y) * lines);
        for (std::size_t x = 0; x < samples.width; ++x) {
            samples.values[y * samples.width + x] = line[first + step * x];
        }
    }
    return samples;
}

/// The part of all places that counts as edges.
constexpr double kEdges = 0.5;
constexpr int kGradients = 2041;  ///< of 8-bit samples, from 0

double Deviation(const Samples& s) {
    if (s.width < 3 || s.height < 3) {
        return 0;
    }
    // Gradients are Sobel's; what they leave is the part with the least.
    std::array<std::size_t, kGradients> places{};
    std::array<double, kGradients> responses{};
    for (std::size_t y = 1; y + 1 < s.height; ++y) {
        for (std::size_t x = 1; x + 1 < s.width; ++x) {
            const int corners[4] = {s.At(x - 1, y - 1), s.At(x + 1, y - 1), s.At(x - 1, y + 1),
                                    s.At(x + 1, y + 1)};
            const int left = s.At(x - 1, y), right = s.At(x + 1, y), up = s.At(x, y - 1),
                      down = s.At(x, y + 1), middle = s.At(x, y);
            // Clipped samples have lost their noise.
            if (middle <= 1 || middle >= 254) {
                continue;
            }
            const int across = corners[1] + 2 * right + corners[3] - corners[0] - 2 * left - corners[2];
            const int along = corners[2] + 2 * down + corners[3] - corners[0] - 2 * up - corners[1];
            const int mask = corners[0] + corners[1] + corners[2] + corners[3] -
                             2 * (left + right + up + down) + 4 * middle;
            const auto gradient = static_cast<std::size_t>(std::abs(across) + std::abs(along));
            ++places[gradient];
            responses[gradient] += std::abs(mask);
        }
    }
    std::size_t all = 0;
    for (const std::size_t n : places) {
        all += n;
    }
    const auto wanted = static_cast<std::size_t>(std::ceil(static_cast<double>(all) * (1 - kEdges)));
    std::size_t taken = 0;
    double sum = 0;
    for (std::size_t gradient = 0; gradient < kGradients && taken < wanted; ++gradient) {
        taken += places[gradient];
        sum += responses[gradient];
    }
    return taken == 0 ? 0 : std::sqrt(std::numbers::pi / 2) * sum / (6 * static_cast<double>(taken));
}

}  // namespace

NoiseEstimate EstimateNoise(const Zan::ImageView& view) {
    const double cb = Deviation(Collect(view, 0, 4)), cr = Deviation(Collect(view, 2, 4));
    return {Deviation(Collect(view, 1, 2)), std::min(cb, cr)};
}

}  // namespace tool
