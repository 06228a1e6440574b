#ifndef TESSELU_TESTS_FILTER_MODEL_REDUCTION_H
#define TESSELU_TESTS_FILTER_MODEL_REDUCTION_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace filter_model {

using Byte = std::uint8_t;

/// Both denoisers as their definition reads, a sample at a time.
class Reduction {
public:
    struct Window {
        std::size_t width, height, frames;
    };
    struct Picture {
        std::size_t width, height, sourcePitch, destinationPitch;
    };
    struct Settings {
        const double* weights = nullptr;
        int control = 3;
        bool limit = false;
        double strength = 1;
        unsigned format = 2, implementation = 0;
    };

    bool automatic = false;
    std::array<float, 4> measured{};

    void SetBase(const float* levels);
    int Filter(const std::vector<const Byte*>& frames, Byte* destination, const Picture& picture,
               const Window& window, const Settings& settings);

private:
    std::array<std::array<float, 3>, 3> history{};  ///< newest first

    void Move();
    std::array<int, 3> Levels() const;
};

/// The temporal filter. Weights may be null.
int Temporal(const Byte* previous, const Byte* current, const Byte* next, Byte* destination,
             const Reduction::Picture& picture, int low, int high, const double* frameWeights,
             const double* channelWeights);

}  // namespace filter_model

#endif  // TESSELU_TESTS_FILTER_MODEL_REDUCTION_H
