#ifndef TESSELU_FILTER_NOISESOURCE_H
#define TESSELU_FILTER_NOISESOURCE_H

#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

namespace Zan {

/// Adds synthetic noise to plain memory: to test filters, or to degrade pictures on purpose.
///
/// Pixels are 32-bit words of four 8-bit samples, all four treated alike. `src` and `dst` point to the first
/// pixels and may be the same; other overlaps are not supported. `width` counts pixels, pitches are in bytes.
/// Memory is trusted.
///
/// Statuses: 0, -1 when `src` or `dst` is null, then -2 for parameters out of range. Nothing is written, and
/// nothing drawn, when a call is refused.
///
/// **Random numbers.** Rows are walked from the top, pixels from the left, and the four bytes of a pixel in
/// the order of memory; draws are made in that order. A draw is a whole number from 0 to 32767: bits 16 to 30
/// of s = 214013 * s + 2531011 mod 2^32. The state s is one for the whole process, set to the clock's seconds
/// by each constructor. A call with repeated noise, as all are at first, sets s to the seed before it draws,
/// so that it gives the same noise each time and on every machine. Otherwise it goes on from where the last
/// call ended; calls on several threads then draw numbers of their own, in no certain order.
///
/// With the seed 2 the first draws are 45, 29216, 24198, 17795. Neighbouring seeds look alike: mix what seeds
/// are made of.
class TESSELU_API NoiseSource {
public:
    /// Repeated noise, of seed 2.
    NoiseSource();

    /// Whether each call restarts the random numbers at the seed.
    void EnableSameRandomSeed(bool enable);

    /// The seed of calls that repeat their noise.
    void SetRandomSeed(ULong32 seed);

    /// Adds noise of a normal distribution (G. E. P. Box and M. E. Muller, "A note on the generation of
    /// random normal deviates", 1958). With two draws r1 and r2 for each byte, in doubles and from left to
    /// right:
    ///
    ///     u = 1 - r1 * 3.0518416338339375e-05
    ///     radius = sqrt(log(u) * variance * -2)
    ///     angle = r2 * 0.00019175345011749627 - pi
    ///     value = cos(angle) * radius + mean + byte
    ///
    /// limited to 0...255, plus 0.5, truncated. Logarithms and cosines are the nearest doubles on every
    /// machine. `variance` is the square of the standard deviation; neither parameter is tested. A value that
    /// is not a number writes 0.
    Long32 AddGaussian(ULong32* src, ULong32* dst, ULong32 width, ULong32 height, ULong32 srcPitch,
                       ULong32 dstPitch, double variance, double mean);

    /// Adds noise that lies evenly between `low` and `high`, both included. With one draw r for each byte:
    ///
    ///     value = r * 3.051850947599719e-05 * (high - low) + low + byte
    ///
    /// limited to 0...255, plus 0.5, truncated. -2: `low` below -255, `high` above 255, `low` above `high`,
    /// `high` - `low` above 255, or either is not a number.
    Long32 AddUniform(ULong32* src, ULong32* dst, ULong32 width, ULong32 height, ULong32 srcPitch,
                      ULong32 dstPitch, double low, double high);

    /// Flips bits. There is a draw for each of the 8 bits of a byte, from the lowest upwards; the bit is
    /// flipped if the draw is not above `probability` * 32767 + 0.5, truncated: at 0.0 still one bit of
    /// 32768. -2: `probability` below 0, above 1 or not a number.
    Long32 UniformBitErrors(ULong32* src, ULong32* dst, ULong32 width, ULong32 height, ULong32 srcPitch,
                            ULong32 dstPitch, double probability);

private:
    bool sameRandomSeed = true;
    ULong32 randomSeed = 2;
};

}  // namespace Zan

#endif  // TESSELU_FILTER_NOISESOURCE_H
