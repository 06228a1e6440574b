#include <TesselU/filter/NoiseReduction.h>
#include <TesselU/filter/NoiseSource.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>

#include "kernels/Operations.h"

namespace kernelcheck {

namespace {

using namespace Zan;

ULong32* Words(const Plane& plane, std::size_t row = 0) {
    return reinterpret_cast<ULong32*>(plane.row(row));
}

ULong32 PitchOf(const Plane& plane) {
    return static_cast<ULong32>(plane.pitch());
}

/// `Call` runs on source and destination of 32-bit pixels, a quarter of the time on one of both.
template <class Call>
Operation Noise(const std::string& name, Call call) {
    return {name, [=](Case& c) -> Operation::Run {
                const auto add = [&c]() -> Plane& {
                    return c.Add(4 * c.width, c.height, 1, 4 * c.width, Plane::Kind::kImage);
                };
                Plane& from = add();
                Plane& to = Pick(c.random, 0, 3) == 0 ? from : add();
                const auto seed = static_cast<ULong32>(c.random());
                const double a = std::uniform_real_distribution<double>(0, 1)(c.random);
                const double b = std::uniform_real_distribution<double>(0, 1)(c.random);
                return
                    [=, &from, &to, w = static_cast<ULong32>(c.width), h = static_cast<ULong32>(c.height)] {
                        NoiseSource source;
                        source.SetRandomSeed(seed);
                        return call(source, from, to, w, h, a, b);
                    };
            }};
}

/// Pictures whose windows are flat, hardly noisy or anything.
void Paint(const Plane& plane, std::uint32_t seed, std::size_t rows) {
    const std::uint32_t amplitudes[] = {256, 24, 6, 1};
    std::uint32_t state = seed | 1;
    for (std::size_t y = 0; y < rows; ++y) {
        std::uint8_t* const row = plane.row(y);
        for (std::size_t i = 0; i < plane.rowBytes(); ++i) {
            state = state * 1664525U + 1013904223U;
            // Stretches of 32 bytes.
            const std::uint32_t amplitude = amplitudes[(seed + i / 32) % 4];
            row[i] = static_cast<std::uint8_t>((seed & 0x7F) + (state >> 16) % amplitude);
        }
    }
}

struct Window {
    ULong32 width, height, frames;
};

Operation Adapted(ULong32 format, ULong32 implementation, const Window& window) {
    std::string name = "DoFilterSSF, format ";
    name += std::to_string(format) + ", implementation " + std::to_string(implementation) + ", " +
            std::to_string(window.width) + "x" + std::to_string(window.height) + "x" +
            std::to_string(window.frames);
    return {name, [=](Case& c) -> Operation::Run {
                const std::size_t words = format == 0 ? c.width : (c.width + 1) / 2;
                const std::size_t rows = c.height * window.frames;
                Plane& from = c.Add(4 * words, rows, 1, 0, Plane::Kind::kImage);
                Plane& to = c.Add(4 * words, c.height, 1, 4 * words, Plane::Kind::kImage);
                const auto seed = static_cast<std::uint32_t>(c.random());
                // The kinds of fractions in turn; mostly a filter that filters.
                const auto control = static_cast<NoiseReduction::AlphaControlEnum>(Pick(c.random, 0, 5));
                const bool limits = Pick(c.random, 0, 2) == 0, isWeighted = Pick(c.random, 0, 1) == 0;
                static constexpr double kStrengths[] = {1, 1, 0, 0.5, 0.875, 1.7, 40, -0.7};
                const double strength = kStrengths[Pick(c.random, 0, std::size(kStrengths) - 1)];
                std::array<double, 3> weights;
                for (double& weight : weights) {
                    weight = static_cast<double>(Pick(c.random, 0, 12)) / 8 - 0.2;
                }
                std::array<float, 3> levels;
                for (float& level : levels) {
                    level = static_cast<float>(Pick(c.random, 0, 3) == 0 ? 0 : Pick(c.random, 0, 80));
                }
                return
                    [=, &from, &to, w = static_cast<ULong32>(c.width), h = static_cast<ULong32>(c.height)] {
                        Paint(from, seed, rows);
                        std::vector<ULong32*> frames;
                        for (std::size_t i = 0; i < window.frames; ++i) {
                            frames.push_back(Words(from, i * h));
                        }
                        NoiseReduction filter;
                        auto givenLevels = levels;
                        auto givenWeights = weights;
                        filter.SetBaseNoiseLevel(givenLevels.data());
                        const Long32 status = filter.DoFilterSSF(
                            frames.data(), Words(to), w, h, PitchOf(from), PitchOf(to),
                            isWeighted ? givenWeights.data() : nullptr, window.width, window.height,
                            window.frames, control, limits, strength, format, implementation);
                        return status;
                    };
            }};
}

enum class Weights { kDefault, kFrames, kAll, kWild };

Operation Mixed(Weights kind) {
    return {
        std::string("DoFilterSAT, weights ").append(std::to_string(static_cast<int>(kind))),
        [=](Case& c) -> Operation::Run {
            const std::size_t bytes = (c.width + 1) / 2 * 4, written = c.width / 2 * 4;
            Plane& from = c.Add(bytes, 3 * c.height, 1, written, Plane::Kind::kImage);
            Plane& to = c.Add(bytes, c.height, 1, written, Plane::Kind::kImage);
            const std::size_t over = Pick(c.random, 0, 11);
            const auto seed = static_cast<std::uint32_t>(c.random());
            const auto low = static_cast<unsigned char>(Pick(c.random, 0, 60));
            const auto high = static_cast<unsigned char>(
                Pick(c.random, 0, 3) == 0 ? Pick(c.random, 0, 255) : low + 2 * Pick(c.random, 0, 60));
            std::array<double, 3> frames, channels;
            for (std::size_t i = 0; i < 3; ++i) {
                const double wild = kind == Weights::kWild ? 1000 : 1;
                frames[i] =
                    wild * (static_cast<double>(Pick(c.random, 0, 32)) / 48 - (kind == Weights::kWild));
                channels[i] = wild * static_cast<double>(Pick(c.random, 0, 20)) / 10;
            }
            return [=, &from, &to, w = static_cast<ULong32>(c.width), h = static_cast<ULong32>(c.height)] {
                Paint(from, seed, 3 * h);
                ULong32* const pictures[] = {Words(from), Words(from, h), Words(from, std::size_t{2} * h)};
                auto givenFrames = frames, givenChannels = channels;
                NoiseReduction filter;
                const bool isOver = over < 3;
                return filter.DoFilterSAT(
                    pictures[0], pictures[1], pictures[2], isOver ? pictures[over] : Words(to), w, h,
                    PitchOf(from), isOver ? PitchOf(from) : PitchOf(to), low, high,
                    kind != Weights::kDefault ? givenFrames.data() : nullptr,
                    kind == Weights::kAll || kind == Weights::kWild ? givenChannels.data() : nullptr, 0);
            };
        }};
}

}  // namespace

std::vector<Operation> NoiseOperations() {
    std::vector<Operation> operations;
    operations.push_back(Noise("AddGaussian", [](NoiseSource& source, Plane& from, Plane& to, ULong32 w,
                                                 ULong32 h, double a, double b) {
        return source.AddGaussian(Words(from), Words(to), w, h, PitchOf(from), PitchOf(to), 2000 * a * a,
                                  20 * b - 10);
    }));
    operations.push_back(Noise("AddGaussian of any size", [](NoiseSource& source, Plane& from, Plane& to,
                                                             ULong32 w, ULong32 h, double a, double b) {
        return source.AddGaussian(Words(from), Words(to), w, h, PitchOf(from), PitchOf(to),
                                  1 / (1e-9 + a * b), a < 0.1 ? 1e6 * (b - 0.5) : 0);
    }));
    operations.push_back(Noise("AddUniform", [](NoiseSource& source, Plane& from, Plane& to, ULong32 w,
                                                ULong32 h, double a, double b) {
        return source.AddUniform(Words(from), Words(to), w, h, PitchOf(from), PitchOf(to), -127 * a, 128 * b);
    }));
    operations.push_back(Noise("AddUniform between halves", [](NoiseSource& source, Plane& from, Plane& to,
                                                               ULong32 w, ULong32 h, double a, double b) {
        const double low = static_cast<int>(20 * a) / 2.0 - 10, span = static_cast<int>(8 * b) / 2.0;
        return source.AddUniform(Words(from), Words(to), w, h, PitchOf(from), PitchOf(to), low, low + span);
    }));
    operations.push_back(Noise("UniformBitErrors", [](NoiseSource& source, Plane& from, Plane& to, ULong32 w,
                                                      ULong32 h, double a, double b) {
        return source.UniformBitErrors(Words(from), Words(to), w, h, PitchOf(from), PitchOf(to),
                                       b < 0.1 ? 1 : a * a);
    }));
    const Window windows[] = {{1, 1, 3}, {1, 1, 9}, {3, 1, 1}, {3, 3, 1}, {3, 3, 3},   {5, 5, 1},
                              {7, 3, 1}, {1, 5, 1}, {9, 1, 3}, {5, 3, 5}, {15, 17, 1}, {17, 17, 1}};
    for (const Window& window : windows) {
        for (const ULong32 implementation : {0U, 2U, 3U}) {
            operations.push_back(Adapted(2, implementation, window));
        }
        operations.push_back(Adapted(0, 0, window));
    }
    for (const Weights kind : {Weights::kDefault, Weights::kFrames, Weights::kAll, Weights::kWild}) {
        operations.push_back(Mixed(kind));
    }
    return operations;
}

}  // namespace kernelcheck
