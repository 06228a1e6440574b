#include "filter/model/Reduction.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace filter_model {

namespace {

using Triple = std::array<int, 3>;
using Signed = std::ptrdiff_t;

/// Toward zero, within a byte; what is no number is 0.
template <class Real>
int Truncated(Real value) {
    if (!(value > 0)) {
        return 0;
    }
    return value >= 255 ? 255 : static_cast<int>(value);
}

/// Three channels of every sample of a window, and of its centre.
struct Samples {
    std::vector<Triple> all;
    Triple centre{};
};

/// What the channels of a setting are in memory: bytes of an even and of an odd pixel.
Triple BytesOf(unsigned format, unsigned implementation, bool odd) {
    if (format == 0) {
        return {0, 1, 2};
    }
    const int luma = odd ? 3 : 1;
    return implementation == 3 ? Triple{0, luma, 2} : Triple{luma, 0, 2};
}

Triple PixelAt(const Byte* frame, const Reduction::Picture& picture, const Reduction::Settings& settings,
               Signed x, Signed y) {
    const auto width = static_cast<Signed>(picture.width), height = static_cast<Signed>(picture.height);
    if (settings.format == 0) {
        if (x < 0 || y < 0 || x >= width || y >= height) {
            return {0, 0, 0};
        }
    } else {
        x = std::clamp<Signed>(x, 0, width - 1);
        y = std::clamp<Signed>(y, 0, height - 1);
    }
    const Byte* const line = frame + y * static_cast<Signed>(picture.sourcePitch);
    const Byte* const word = line + 4 * (settings.format == 0 ? x : x / 2);
    const Triple bytes = BytesOf(settings.format, settings.implementation, x % 2 != 0);
    return {word[bytes[0]], word[bytes[1]], word[bytes[2]]};
}

Samples Gather(const std::vector<const Byte*>& frames, const Reduction::Picture& picture,
               const Reduction::Window& window, const Reduction::Settings& settings, Signed x, Signed y) {
    Samples samples;
    for (std::size_t t = 0; t < window.frames; ++t) {
        for (std::size_t j = 0; j < window.height; ++j) {
            for (std::size_t i = 0; i < window.width; ++i) {
                samples.all.push_back(
                    PixelAt(frames[t], picture, settings,
                            x + static_cast<Signed>(i) - static_cast<Signed>(window.width / 2),
                            y + static_cast<Signed>(j) - static_cast<Signed>(window.height / 2)));
            }
        }
    }
    samples.centre = PixelAt(frames[window.frames / 2], picture, settings, x, y);
    return samples;
}

int Restrained(int result, int centre, int level) {
    if (std::abs(result - centre) <= level) {
        return result;
    }
    return std::clamp(result < centre ? centre - level : centre + level, 0, 255);
}

/// What `control` makes of three fractions. Not a number where one of them is none.
template <class Real>
void Combine(std::array<Real, 3>& fractions, const double* weights, int control, bool sums) {
    if (control != 0 && control != 1 && !(control == 2 && sums)) {
        return;
    }
    std::array<Real, 3> weighted{};
    for (std::size_t c = 0; c < 3; ++c) {
        const double byDefault = control == 2 ? (c == 0 ? 0.4 : 0.2) : 1.0;
        const Real weight = static_cast<Real>(weights != nullptr ? weights[c] : byDefault);
        weighted.at(c) = fractions.at(c) * weight;
    }
    Real one = control == 0   ? std::min({weighted[0], weighted[1], weighted[2]})
               : control == 1 ? std::max({weighted[0], weighted[1], weighted[2]})
                              : weighted[0] + weighted[1];
    if (control == 2) {
        one = one + weighted[2];
    }
    one = one < 0 ? Real{0} : one > 1 ? Real{1} : one;
    for (const Real value : weighted) {
        if (std::isnan(value)) {
            one = value;
        }
    }
    fractions = {one, one, one};
}

template <class Real>
int Mixed(Real fraction, double strength, Real mean, int centre) {
    Real keep = (1 - fraction) * static_cast<Real>(strength);
    if (keep > 1) {
        keep = 1;
    }
    const Real ofMean = (1 - keep) * mean;
    const Real ofCentre = keep * static_cast<Real>(centre);
    const Real sum = ofMean + ofCentre;
    return Truncated<Real>(sum + static_cast<Real>(0.5));
}

/// One pixel in double precision.
Triple Exactly(const Samples& samples, const Triple& levels, const Reduction::Settings& settings) {
    const auto n = static_cast<double>(samples.all.size());
    Triple means{};
    std::array<double, 3> fractions{};
    for (std::size_t c = 0; c < 3; ++c) {
        long long sum = 0, differences = 0;
        for (const Triple& sample : samples.all) {
            sum += sample.at(c);
        }
        means.at(c) = static_cast<int>(static_cast<double>(sum) / n + 0.5);
        for (const Triple& sample : samples.all) {
            differences += std::abs(sample.at(c) - means.at(c));
        }
        const int dev = static_cast<int>(static_cast<double>(differences) / n + 0.5);
        const int level = levels.at(c);
        fractions.at(c) = level == 0 ? 0.0 : level < dev ? static_cast<double>(level) / dev : 1.0;
    }
    Combine(fractions, settings.weights, settings.control,
            settings.format == 2 && settings.implementation == 2);
    Triple result{};
    for (std::size_t c = 0; c < 3; ++c) {
        result.at(c) = Mixed<double>(fractions.at(c), settings.strength, means.at(c), samples.centre.at(c));
    }
    return result;
}

/// One pixel in single precision, and its deviations.
Triple Singly(const Samples& samples, const Triple& levels, const Reduction::Settings& settings,
              std::array<float, 3>& deviations) {
    const float part = static_cast<float>(1.0 / static_cast<double>(samples.all.size()));
    std::array<float, 3> means{}, fractions{};
    for (std::size_t c = 0; c < 3; ++c) {
        int sum = 0, differences = 0;
        for (const Triple& sample : samples.all) {
            sum += sample.at(c);
        }
        means.at(c) = std::nearbyint(static_cast<float>(sum) * part);
        for (const Triple& sample : samples.all) {
            differences += std::abs(sample.at(c) - static_cast<int>(means.at(c)));
        }
        deviations.at(c) = static_cast<float>(differences) * part;
        const auto level = static_cast<float>(levels.at(c));
        fractions.at(c) = level / std::max(deviations.at(c), level);
    }
    Combine(fractions, settings.weights, settings.control, true);
    Triple result{};
    for (std::size_t c = 0; c < 3; ++c) {
        result.at(c) = Mixed<float>(fractions.at(c), settings.strength, means.at(c), samples.centre.at(c));
    }
    return result;
}

}  // namespace

void Reduction::SetBase(const float* levels) {
    for (std::array<float, 3>& row : history) {
        for (std::size_t i = 0; i < 3; ++i) {
            row.at(i) = levels[i] < 255.0F ? levels[i] : 0.0F;
        }
    }
}

std::array<int, 3> Reduction::Levels() const {
    std::array<int, 3> levels{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double sum = double{history[0].at(i)} + double{history[1].at(i)} + double{history[2].at(i)};
        levels.at(i) = static_cast<int>(std::clamp(sum * 0.3333333333333333, 0.0, 255.0) + 0.5);
    }
    return levels;
}

void Reduction::Move() {
    if (!automatic) {
        return;
    }
    history[2] = history[1];
    history[1] = history[0];
    history[0] = {measured[0], measured[1], measured[2]};
}

int Reduction::Filter(const std::vector<const Byte*>& frames, Byte* destination, const Picture& picture,
                      const Window& window, const Settings& settings) {
    const bool measures = settings.format == 2 && settings.implementation == 3;
    int status = 0;
    if ((settings.format != 0 && settings.format != 2) || frames.empty() || destination == nullptr) {
        status = -1;
    } else if (window.width % 2 == 0 || window.height % 2 == 0 || window.frames % 2 == 0) {
        status = -2;
    } else if (settings.format == 2 && settings.implementation > 3) {
        return 100;
    }
    if (status != 0) {
        if (measures) {
            Move();
        }
        return status;
    }
    const std::array<int, 3> levels = Levels();
    std::array<float, 3> last = {1000000.0F, 1000000.0F, 1000000.0F};
    for (std::size_t y = 0; y < picture.height; ++y) {
        Byte* const line = destination + y * picture.destinationPitch;
        for (std::size_t x = 0; x < picture.width; ++x) {
            const Samples samples =
                Gather(frames, picture, window, settings, static_cast<Signed>(x), static_cast<Signed>(y));
            Triple result{};
            if (measures) {
                std::array<float, 3> deviations{};
                result = Singly(samples, levels, settings, deviations);
                if (x > 5 && x + 5 < picture.width && y > 5 && y + 5 < picture.height) {
                    last = deviations;
                }
            } else {
                result = Exactly(samples, levels, settings);
            }
            for (std::size_t c = 0; settings.limit && c < 3; ++c) {
                result.at(c) = Restrained(result.at(c), samples.centre.at(c), levels.at(c));
            }
            const bool odd = settings.format == 2 && x % 2 != 0;
            Byte* const word = line + 4 * (settings.format == 0 ? x : x / 2);
            const Triple bytes = BytesOf(settings.format, settings.implementation, odd);
            for (std::size_t c = 0; c < 3; ++c) {
                if (!odd || bytes.at(c) == 3) {
                    word[bytes.at(c)] = static_cast<Byte>(result.at(c));
                }
            }
            if (settings.format == 0) {
                word[3] = frames[window.frames / 2][y * picture.sourcePitch + 4 * x + 3];
            } else if (!odd) {
                word[3] = word[1];
            }
        }
    }
    if (measures) {
        for (std::size_t c = 0; c < 3; ++c) {
            measured.at(c) = std::min(last.at(c), 255.0F);
        }
        Move();
    }
    return 0;
}

int Temporal(const Byte* previous, const Byte* current, const Byte* next, Byte* destination,
             const Reduction::Picture& picture, int low, int high, const double* frameWeights,
             const double* channelWeights) {
    if (previous == nullptr || current == nullptr || next == nullptr || destination == nullptr) {
        return -1;
    }
    const double third = 0.3333333333333333;
    const std::array<double, 3> frame =
        frameWeights != nullptr ? std::array<double, 3>{frameWeights[0], frameWeights[1], frameWeights[2]}
                                : std::array<double, 3>{third, third, third};
    const std::array<double, 3> channel =
        channelWeights != nullptr
            ? std::array<double, 3>{channelWeights[0], channelWeights[1], channelWeights[2]}
            : std::array<double, 3>{1, 1, 1};
    for (std::size_t y = 0; y < picture.height; ++y) {
        for (std::size_t x = 0; x + 2 <= picture.width; x += 2) {
            const std::size_t from = y * picture.sourcePitch + 2 * x;
            const auto difference = [&](std::size_t k, const Byte* other) {
                return std::abs(int{current[from + k]} - int{other[from + k]}) * channel.at(k == 3 ? 1 : k);
            };
            double largest = difference(0, previous);
            for (std::size_t k = 0; k < 3; ++k) {
                largest = std::max({largest, difference(k, previous), difference(k, next)});
            }
            const auto motion = static_cast<int>(largest);
            const auto motionOdd = static_cast<int>(std::max(difference(3, previous), difference(3, next)));
            std::array<Byte, 4> word{};
            for (std::size_t k = 0; k < 4; ++k) {
                const int a = previous[from + k], b = current[from + k], c = next[from + k];
                const int moved = k == 3 ? motionOdd : motion;
                const double ab = frame[0] * a + frame[1] * b;
                const double filtered = std::clamp(ab + frame[2] * c, 0.0, 255.0);
                if (moved <= low) {
                    word.at(k) = static_cast<Byte>(filtered + 0.5);
                } else if (moved < high) {
                    const double m = static_cast<double>(moved - low) / (high - low);
                    const double mixed = filtered * (1 - m) + b * m;
                    word.at(k) = static_cast<Byte>(mixed + 0.5);
                } else {
                    word.at(k) = static_cast<Byte>(b);
                }
            }
            for (std::size_t k = 0; k < 4; ++k) {
                destination[y * picture.destinationPitch + 2 * x + k] = word.at(k);
            }
        }
    }
    return 0;
}

}  // namespace filter_model
