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

/// A key's share of the border, out of 256, and all bits set where the second source lies under it.
struct Border {
    std::uint32_t share[256];
    std::uint32_t isB[256];
    std::uint32_t colour;
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
    void (*BorderPixels)(const std::uint32_t* a, const std::uint32_t* b, const std::uint8_t* key,
                         std::uint32_t* out, std::size_t pixels, const Border& border);
    void (*BorderPairs)(const std::uint32_t* a, const std::uint32_t* b, const std::uint8_t* key,
                        std::uint32_t* out, std::size_t pixels, const Border& border);
    /// Source a over b, its alpha times `fade` of 256.
    void (*OverStraight)(const std::uint32_t* a, const std::uint32_t* b, std::uint32_t* out,
                         std::size_t pixels, std::uint32_t fade);
    void (*OverShaping)(const std::uint32_t* a, const std::uint32_t* b, std::uint32_t* out,
                        std::size_t pixels, std::uint32_t fade);
    /// One line.
    void (*OverPairs)(const std::uint32_t* a, const std::uint32_t* b, const std::uint8_t* alpha,
                      std::uint32_t* out, std::size_t pixels);
    void (*SumOfAbsDiffs)(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* out,
                          std::size_t pixels);
    void (*Fill)(std::uint32_t* out, std::size_t pixels, std::uint32_t colour);
    void (*Copy)(const std::uint32_t* source, std::uint32_t* out, std::size_t words);
};

/// Pairs are four bytes for two pixels, UYVY or swapped YUYV.
struct Conversions {
    void (*PairsToPixels)(const std::uint32_t* uyvy, std::uint32_t* bgra, std::size_t pixels);
    void (*SwappedToPixels)(const std::uint32_t* yuyv, std::uint32_t* bgra, std::size_t pixels);
    void (*PairsAlphaToPixels)(const std::uint32_t* uyvy, const std::uint8_t* alpha, std::uint32_t* bgra,
                               std::size_t pixels);
    void (*YccToPixels)(const std::uint32_t* cbYCrA, std::uint32_t* bgra, std::size_t pixels);
    void (*PixelsToPairs)(const std::uint32_t* bgra, std::uint32_t* uyvy, std::size_t pixels);
    void (*PixelsToPairsAlpha)(const std::uint32_t* bgra, std::uint32_t* uyvy, std::uint8_t* alpha,
                               std::size_t pixels);
    void (*PixelsToYcc)(const std::uint32_t* bgra, std::uint32_t* cbYCrA, std::size_t pixels);
    /// One line.
    void (*Line420ToPixels)(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr,
                            std::uint16_t* bgra, std::size_t pixels);
    void (*Planar411ToPixels)(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr,
                              std::uint32_t* bgra, std::size_t pixels);
    /// Two lines, `pixels` apart in what has full height.
    void (*LinesTo420)(const std::uint32_t* bgra, std::uint8_t* y, std::uint8_t* cb, std::uint8_t* cr,
                       std::size_t pixels);
    void (*PixelsTo411)(const std::uint32_t* bgra, std::uint8_t* y, std::uint8_t* cb, std::uint8_t* cr,
                        std::size_t pixels);
    /// Two lines.
    void (*PairLinesTo420)(const std::uint32_t* uyvy, std::uint8_t* y, std::uint8_t* cb, std::uint8_t* cr,
                           std::size_t pixels);
    void (*PairsTo422)(const std::uint32_t* uyvy, std::uint8_t* y, std::uint8_t* cb, std::uint8_t* cr,
                       std::size_t pixels);
    void (*Planar422ToPairs)(const std::uint8_t* y, const std::uint8_t* cb, const std::uint8_t* cr,
                             std::uint8_t* uyvy, std::size_t pixels);
    void (*SwapPairs)(const std::uint32_t* pairs, std::uint32_t* swapped, std::size_t pixels);
    void (*PixelsTo24)(const std::uint8_t* bgra, std::uint8_t* bgr, std::size_t pixels);
    void (*Pixels24ToPixels)(const std::uint8_t* bgr, std::uint8_t* bgra, std::size_t pixels);
    void (*Shape)(const std::uint32_t* bgra, std::uint32_t* shaped, std::size_t pixels);
    /// `reciprocals`: 255 * 2^18 / alpha, rounded, for each alpha.
    void (*Unshape)(const std::uint32_t* shaped, std::uint32_t* bgra, std::size_t pixels,
                    const std::uint32_t* reciprocals);
};

struct Tone {
    void (*TablesOfPairs)(const std::uint8_t* uyvy, std::uint8_t* out, std::size_t pixels,
                          const std::uint8_t* cb, const std::uint8_t* y, const std::uint8_t* cr);
    void (*Table)(const std::uint8_t* in, std::uint8_t* out, std::size_t bytes, const std::uint8_t* table);
    /// 256 counts for each byte of a pixel.
    void (*Histogram)(const std::uint8_t* bgra, std::size_t pixels, std::uint32_t* counts);
};

/// What a chroma key depends on, in full scale; the key is inverted at its end.
struct FloatKey {
    double cosine, sine, slope, minimum, offset, gain, spillB, spillR;
};
/// The same in fixed point.
struct FixedKey {
    int cosine, sine, slope, minimum, offset, gain, spillB, spillR;
};

/// A foreground of Cb, Y, Cr, Y or Cb, Y, Cr, A over a background by the key of its chroma, and that key.
struct Keys {
    /// In single precision.
    void (*Pairs)(const std::uint32_t* front, const std::uint32_t* back, std::uint32_t* out,
                  std::uint16_t* keys, std::size_t pixels, FloatKey key);
    /// In double precision.
    void (*Pixels)(const std::uint32_t* front, const std::uint32_t* back, std::uint32_t* out,
                   std::uint8_t* keys, std::size_t pixels, FloatKey key);
    void (*PairsFixed)(const std::uint32_t* front, const std::uint32_t* back, std::uint32_t* out,
                       std::uint16_t* keys, std::size_t pixels, FixedKey key);
    void (*PixelsFixed)(const std::uint32_t* front, const std::uint32_t* back, std::uint32_t* out,
                        std::uint8_t* keys, std::size_t pixels, FixedKey key);
    void (*TableOfLuma)(const std::uint8_t* uyvy, std::uint8_t* out, std::size_t pixels,
                        const std::uint8_t* table);
};

/// Pictures with alpha over others.
struct Overlays {
    void (*Shaped)(const std::uint32_t* front, const std::uint32_t* back, std::uint32_t* out,
                   std::size_t pixels);
    /// Four bytes a pixel over three.
    void (*Straight24)(const std::uint8_t* front, const std::uint8_t* back, std::uint8_t* out,
                       std::size_t pixels);
    void (*Union)(const std::uint32_t* front, const std::uint32_t* back, std::uint32_t* out,
                  std::size_t pixels);
    void (*Pairs)(const std::uint8_t* front, const std::uint8_t* alpha, const std::uint8_t* back,
                  std::uint8_t* out, std::size_t pixels);
    void (*PairsShaped)(const std::uint8_t* front, const std::uint8_t* alpha, const std::uint8_t* back,
                        std::uint8_t* out, std::size_t pixels);
    void (*PairsUnion)(const std::uint8_t* front, const std::uint8_t* alpha, const std::uint8_t* back,
                       const std::uint8_t* backAlpha, std::uint8_t* out, std::uint8_t* outAlpha,
                       std::size_t pixels);
};

/// Pixels and frames.
struct Window {
    int width, height, frames;
};

/// Pairs and bytes, moved towards what is around them or away from it.
struct Filters {
    /// `levels` of Cb, Y, Cr.
    void (*Adaptive)(const std::uint8_t* const* frames, std::uint8_t* out, std::size_t width,
                     std::size_t height, Window window, const float* levels, float strength);
    void (*Temporal)(const std::uint8_t* previous, const std::uint8_t* current, const std::uint8_t* next,
                     std::uint8_t* out, std::size_t pixels, int low, int high);
    void (*Uniform)(const std::uint8_t* in, std::uint8_t* out, std::size_t bytes, double low, double high);
    void (*Gaussian)(const std::uint8_t* in, std::uint8_t* out, std::size_t bytes, double variance,
                     double mean);
    void (*BitErrors)(const std::uint8_t* in, std::uint8_t* out, std::size_t bytes, double probability);
};

}  // namespace bench::plain

#endif  // TESSELU_BENCH_PLAIN_PLAIN_H
