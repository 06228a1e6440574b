#include <cmath>

#include "plain/Plain.h"

namespace bench::plain::TESSELU_PLAIN_BUILD {

namespace {

using U8 = std::uint8_t;
using U32 = std::uint32_t;

constexpr int kMostFrames = 9;

inline int Clamped(int i, int n) {
    return i < 0 ? 0 : i >= n ? n - 1 : i;
}

struct Fractions {
    float mean[3], centre[3], fraction[3];
};

/// Cb, Y, Cr of the window around a pixel.
inline Fractions Look(const U8* const* frames, int x, int y, int width, int height, Window window,
                      const float* levels) {
    const int n = window.width * window.height * window.frames;
    const float part = 1.0F / static_cast<float>(n);
    int samples[3][kMostFrames * 25];
    int at = 0;
    for (int t = 0; t < window.frames; ++t) {
        for (int j = -window.height / 2; j <= window.height / 2; ++j) {
            const U8* line = frames[t] + 2 * width * Clamped(y + j, height);
            for (int i = -window.width / 2; i <= window.width / 2; ++i) {
                const int column = Clamped(x + i, width);
                const U8* word = line + column / 2 * 4;
                samples[0][at] = word[0];
                samples[1][at] = word[1 + column % 2 * 2];
                samples[2][at] = word[2];
                ++at;
            }
        }
    }
    const U8* word = frames[window.frames / 2] + 2 * width * y + x / 2 * 4;
    Fractions made;
    for (int c = 0; c < 3; ++c) {
        int sum = 0;
        for (int i = 0; i < n; ++i) {
            sum += samples[c][i];
        }
        const int mean = static_cast<int>(std::nearbyint(static_cast<float>(sum) * part));
        int differences = 0;
        for (int i = 0; i < n; ++i) {
            const int difference = samples[c][i] - mean;
            differences += difference < 0 ? -difference : difference;
        }
        const float deviation = static_cast<float>(differences) * part;
        made.mean[c] = static_cast<float>(mean);
        made.centre[c] = static_cast<float>(word[c == 1 ? 1 + x % 2 * 2 : c]);
        made.fraction[c] = levels[c] / (deviation > levels[c] ? deviation : levels[c]);
    }
    return made;
}

inline U8 Kept(const Fractions& f, int c, float strength) {
    float keep = (1 - f.fraction[c]) * strength;
    keep = keep > 1 ? 1 : keep;
    return static_cast<U8>(static_cast<int>((1 - keep) * f.mean[c] + keep * f.centre[c] + 0.5F));
}

void Adaptive(const U8* const* frames, U8* out, std::size_t w, std::size_t h, Window window,
              const float* levels, float strength) {
    const int width = static_cast<int>(w), height = static_cast<int>(h);
    for (int y = 0; y < height; ++y) {
        U8* to = out + 2 * width * y;
        for (int x = 0; x < width; x += 2, to += 4) {
            const Fractions even = Look(frames, x, y, width, height, window, levels),
                            odd = Look(frames, x + 1, y, width, height, window, levels);
            to[0] = Kept(even, 0, strength);
            to[1] = Kept(even, 1, strength);
            to[2] = Kept(even, 2, strength);
            to[3] = Kept(odd, 1, strength);
        }
    }
}

inline int Difference(U8 a, U8 b) {
    return a > b ? a - b : b - a;
}
inline int Larger(int a, int b) {
    return a > b ? a : b;
}

inline U8 Faded(U8 a, U8 b, U8 c, int motion, int low, int high) {
    constexpr double kThird = 0.3333333333333333;
    double filtered = kThird * a + kThird * b + kThird * c;
    filtered = filtered > 255 ? 255 : filtered;
    if (motion <= low) {
        return static_cast<U8>(static_cast<int>(filtered + 0.5));
    }
    if (motion >= high) {
        return b;
    }
    const double m = static_cast<double>(motion - low) / (high - low);
    return static_cast<U8>(static_cast<int>(filtered * (1 - m) + b * m + 0.5));
}

void Temporal(const U8* previous, const U8* current, const U8* next, U8* out, std::size_t pixels, int low,
              int high) {
    for (std::size_t i = 0; i < 2 * pixels; i += 4) {
        const U8 *a = previous + i, *b = current + i, *c = next + i;
        int motion = 0;
        for (int k = 0; k < 3; ++k) {
            motion = Larger(motion, Larger(Difference(b[k], a[k]), Difference(b[k], c[k])));
        }
        const int motionOdd = Larger(Difference(b[3], a[3]), Difference(b[3], c[3]));
        for (int k = 0; k < 4; ++k) {
            out[i + static_cast<std::size_t>(k)] =
                Faded(a[k], b[k], c[k], k == 3 ? motionOdd : motion, low, high);
        }
    }
}

struct Generator {
    U32 state = 2;

    int Next() {
        state = 214013 * state + 2531011;
        return static_cast<int>(state >> 16 & 32767);
    }
};

inline U8 Limited(double value) {
    value = value < 0 ? 0 : value > 255 ? 255 : value;
    return static_cast<U8>(static_cast<int>(value + 0.5));
}

void Uniform(const U8* in, U8* out, std::size_t bytes, double low, double high) {
    Generator random;
    for (std::size_t i = 0; i < bytes; ++i) {
        out[i] = Limited(random.Next() * 3.051850947599719e-05 * (high - low) + low + in[i]);
    }
}

void Gaussian(const U8* in, U8* out, std::size_t bytes, double variance, double mean) {
    Generator random;
    for (std::size_t i = 0; i < bytes; ++i) {
        const double u = 1.0 - random.Next() * 3.0518416338339375e-05;
        const double radius = std::sqrt(std::log(u) * variance * -2.0);
        const double angle = random.Next() * 0.00019175345011749627 - 3.141592653589793;
        out[i] = Limited(std::cos(angle) * radius + mean + in[i]);
    }
}

void BitErrors(const U8* in, U8* out, std::size_t bytes, double probability) {
    Generator random;
    const int threshold = static_cast<int>(probability * 32767.0 + 0.5);
    for (std::size_t i = 0; i < bytes; ++i) {
        int flips = 0;
        for (int bit = 0; bit < 8; ++bit) {
            flips |= random.Next() <= threshold ? 1 << bit : 0;
        }
        out[i] = static_cast<U8>(in[i] ^ flips);
    }
}

}  // namespace

extern const Filters kFilters;
const Filters kFilters = {Adaptive, Temporal, Uniform, Gaussian, BitErrors};

}  // namespace bench::plain::TESSELU_PLAIN_BUILD
