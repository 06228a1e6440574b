#include "filter/model/Noise.h"

#include <cmath>
#include <vector>

#include "filter/model/Exact.h"

namespace filter_model {

namespace {

constexpr int kDraws = 32768;

Byte Limited(double value) {
    if (!(value > 0)) {
        return 0;
    }
    return static_cast<Byte>((value > 255 ? 255 : value) + 0.5);
}

/// A function of a draw, worked out where it is asked for.
class OfDraw {
public:
    explicit OfDraw(double (*of)(int)) : function(of), known(kDraws), values(kDraws) {}
    double operator()(int draw) {
        const auto at = static_cast<std::size_t>(draw);
        if (!known[at]) {
            values[at] = function(draw);
            known[at] = true;
        }
        return values[at];
    }

private:
    double (*function)(int);
    std::vector<bool> known;
    std::vector<double> values;
};

}  // namespace

int Noise::Draw() {
    state = state * 214013U + 2531011U;
    return static_cast<int>((state >> 16) & 32767U);
}

template <class Each>
void Noise::ForEachByte(const Byte* source, Byte* destination, const Size& size, Each each) {
    if (repeats) {
        state = seed;
    }
    for (std::size_t y = 0; y < size.height; ++y) {
        for (std::size_t x = 0; x < 4 * size.width; ++x) {
            destination[y * size.destinationPitch + x] = each(source[y * size.sourcePitch + x]);
        }
    }
}

int Noise::AddGaussian(const Byte* source, Byte* destination, const Size& size, double variance,
                       double mean) {
    if (source == nullptr || destination == nullptr) {
        return -1;
    }
    static OfDraw logarithm([](int draw) { return NearestLog(1.0 - draw * 3.0518416338339375e-05); });
    static OfDraw cosine(
        [](int draw) { return NearestCosine(draw * 0.00019175345011749627 - 3.141592653589793); });
    ForEachByte(source, destination, size, [&](Byte byte) {
        const double scaled = logarithm(Draw()) * variance;
        const double radius = std::sqrt(scaled * -2.0);
        const double shaped = cosine(Draw()) * radius;
        return Limited(shaped + mean + byte);
    });
    return 0;
}

int Noise::AddUniform(const Byte* source, Byte* destination, const Size& size, double low, double high) {
    if (source == nullptr || destination == nullptr) {
        return -1;
    }
    const double span = high - low;
    const bool taken = low >= -255.0 && high <= 255.0 && low <= high && span <= 255.0;
    if (!taken) {
        return -2;
    }
    ForEachByte(source, destination, size, [&](Byte byte) {
        const double fraction = Draw() * 3.051850947599719e-05;
        const double offset = fraction * span;
        return Limited(offset + low + byte);
    });
    return 0;
}

int Noise::UniformBitErrors(const Byte* source, Byte* destination, const Size& size, double probability) {
    if (source == nullptr || destination == nullptr) {
        return -1;
    }
    const bool taken = probability >= 0.0 && probability <= 1.0;
    if (!taken) {
        return -2;
    }
    const int threshold = static_cast<int>(probability * 32767.0 + 0.5);
    ForEachByte(source, destination, size, [&](Byte byte) {
        unsigned flips = 0;
        for (unsigned bit = 1; bit < 256; bit *= 2) {
            flips += Draw() <= threshold ? bit : 0;
        }
        return static_cast<Byte>(byte ^ flips);
    });
    return 0;
}

}  // namespace filter_model
