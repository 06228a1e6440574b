#ifndef TESSELU_BENCH_PLAIN_PLAIN_H
#define TESSELU_BENCH_PLAIN_PLAIN_H

#include <cstddef>
#include <cstdint>

/// The loops that one would write without a library: our arithmetic in the form that compilers turn into the
/// best vector code, without intrinsics. They give the very bytes that our kernels give. Their files are
/// compiled once for each processor that can be asked for, and include nothing with code that others share.
namespace bench::plain {

/// The key's mapping to alpha: (key * unit - threshold) * gain, as fractions of 32640 or 65280.
struct Ramp {
    int threshold;
    int gain;
};

struct Blends {
    void (*Dissolve)(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* out, std::size_t bytes,
                     int weight);
    void (*CompositeTwoSources)(const std::uint32_t* a, const std::uint32_t* b, std::uint32_t* out,
                                std::size_t pixels);
    void (*CompositeByPlane)(const std::uint32_t* a, const std::uint32_t* b, const std::uint8_t* alpha,
                             std::uint32_t* out, std::size_t pixels);
    void (*WipePixels)(const std::uint32_t* a, const std::uint32_t* b, const std::uint8_t* key,
                       std::uint32_t* out, std::size_t pixels, Ramp ramp);
    void (*WipePairs)(const std::uint32_t* a, const std::uint32_t* b, const std::uint8_t* key,
                      std::uint32_t* out, std::size_t pixels, Ramp ramp);
    void (*WipeBytes)(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* key,
                      std::uint8_t* out, std::size_t bytes, Ramp ramp);
    void (*SumOfAbsDiffs)(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* out,
                          std::size_t pixels);
    void (*Fill)(std::uint32_t* out, std::size_t pixels, std::uint32_t colour);
    void (*Copy)(const std::uint32_t* source, std::uint32_t* out, std::size_t words);
};

struct Conversions {
    void (*PairsToPixels)(const std::uint32_t* uyvy, std::uint32_t* bgra, std::size_t pixels);
    void (*PixelsToPairs)(const std::uint32_t* bgra, std::uint32_t* uyvy, std::size_t pixels);
    /// One line.
    void (*PlanarToPixels)(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr,
                           std::uint16_t* bgra, std::size_t pixels);
    void (*SwapPairs)(const std::uint32_t* uyvy, std::uint32_t* yuyv, std::size_t pixels);
};

}  // namespace bench::plain

#endif  // TESSELU_BENCH_PLAIN_PLAIN_H
