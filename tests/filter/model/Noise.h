#ifndef TESSELU_TESTS_FILTER_MODEL_NOISE_H
#define TESSELU_TESTS_FILTER_MODEL_NOISE_H

#include <cstddef>
#include <cstdint>

namespace filter_model {

using Byte = std::uint8_t;

/// Noises as their definition reads, a byte at a time. Pictures are words of four bytes.
class Noise {
public:
    bool repeats = true;
    std::uint32_t seed = 2;
    std::uint32_t state = 0;  ///< of the process

    struct Size {
        std::size_t width, height, sourcePitch, destinationPitch;
    };

    int AddGaussian(const Byte* source, Byte* destination, const Size& size, double variance, double mean);
    int AddUniform(const Byte* source, Byte* destination, const Size& size, double low, double high);
    int UniformBitErrors(const Byte* source, Byte* destination, const Size& size, double probability);

    /// 0 to 32767.
    int Draw();

private:
    template <class Each>
    void ForEachByte(const Byte* source, Byte* destination, const Size& size, Each each);
};

}  // namespace filter_model

#endif  // TESSELU_TESTS_FILTER_MODEL_NOISE_H
